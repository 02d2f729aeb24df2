// The module's bridge to its host, a lower library that every folder of the module stands on: LISP
// argument readers and result builders, the status of a LISP body, the per-document and
// per-project state, and the drawing helpers. It includes nothing of the module above it.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "ads.h"
#include "db.h"

// ---------------------------------------------------------------------------------------------
// Status of a LISP body
// ---------------------------------------------------------------------------------------------

// What a LISP body tells the guard. Values outside the named ones count as success.
enum class LispStatus : int {
  Success = 0,
  TooFewArguments = 1,
  WrongType = 2,
  BadData = 3,
  SilentFailure = 4,  // the body printed its own explanation
};

// A LISP body takes its arguments from acedGetArgs and sets its result with acedRet....
using LispBody = LispStatus (*)();

// Prints the status's text and gives the host's return code (RSRSLT or RSERR).
int MapLispStatus(LispStatus status);

// ---------------------------------------------------------------------------------------------
// Reading arguments
// ---------------------------------------------------------------------------------------------

// The next unread cell of an argument list; null when the list is used up. It never owns cells.
class ArgCursor {
 public:
  ArgCursor() = default;
  explicit ArgCursor(const resbuf* cell) : cell_(cell) {}

  const resbuf* cell() const { return cell_; }
  bool atEnd() const { return cell_ == nullptr; }
  // Type code of the current cell, RTNONE at the end.
  short type() const { return cell_ ? cell_->restype : static_cast<short>(RTNONE); }
  void step() {
    if (cell_) cell_ = cell_->rbnext;
  }
  bool operator==(const ArgCursor&) const = default;

 private:
  const resbuf* cell_ = nullptr;
};

// The argument list of the LISP call in progress. A body only reads it and ends before the call
// does, so it reads the call's own cells in place rather than the copy acedGetArgs hands out
// (which every module call would otherwise make and release). Given a list, it owns that list and
// releases it on every path out of a body.
class LispArgs {
 public:
  LispArgs() : head_(const_cast<resbuf*>(kvads::callArgs())), owned_(false) {}
  explicit LispArgs(resbuf* head) : head_(head) {}
  ~LispArgs() {
    if (owned_) acutRelRb(head_);
  }
  LispArgs(const LispArgs&) = delete;
  LispArgs& operator=(const LispArgs&) = delete;

  ArgCursor cursor() const { return ArgCursor(head_); }
  const resbuf* head() const { return head_; }

 private:
  resbuf* head_;
  bool owned_ = true;
};

// Readers: on success they move the cursor past what they read (unless noted) and set the output;
// on failure neither moves. An exhausted cursor fails them all.

// RTSTR.
bool ArgString(ArgCursor& cursor, std::wstring& out);
// RTSHORT (sign-extended), RTLONG, RTREAL truncated toward zero (a real outside the 32-bit range
// fails); a DXF group code (type below 1000) gives the code itself and stays on the cell.
bool ArgInt(ArgCursor& cursor, std::int32_t& out);
// RTREAL, and whatever ArgInt accepts, widened.
bool ArgNumber(ArgCursor& cursor, double& out);
// RTNIL false; RTLE false without moving, so a missing trailing flag inside a list reads false;
// RTLB fails; anything else true.
bool ArgBool(ArgCursor& cursor, bool& out);
// One point cell (RTPOINT, RT3DPOINT, group codes 10..17), or two RTREAL cells. Sets x and y
// only.
bool ArgPoint2d(ArgCursor& cursor, ads_point out);
// One point cell (RTPOINT gives z 0), or two or three numeric cells (RTREAL, RTSHORT, RTLONG);
// z is 0 when no third number follows.
bool ArgPoint3d(ArgCursor& cursor, ads_point out);
// RTENAME naming an object of a loaded drawing.
bool ArgObjectId(ArgCursor& cursor, AcDbObjectId& out);
bool ArgListOpen(ArgCursor& cursor);
bool ArgListClose(ArgCursor& cursor);
// A dotted pair ("text" . int) as LISP passes it: RTLB, RTSTR, integer, RTDOTE.
bool ArgPair(ArgCursor& cursor, std::wstring& text, std::int32_t& value);
// Moves one cell; nothing at the end.
void ArgSkip(ArgCursor& cursor);

// ---------------------------------------------------------------------------------------------
// Building results
// ---------------------------------------------------------------------------------------------

// Gives LISP a 32-bit index: an integer when it fits 16 bits, else a real.
void RetIndex(std::int32_t value);

// A result list under construction: head is the opening RTLB, tail always the last cell.
// ResultOpen starts one; ResultClose ends it, hands it to LISP, releases it and clears both.
// A body that abandons a list it opened releases it with acutRelRb(head).
void ResultOpen(resbuf*& head, resbuf*& tail);
void ResultClose(resbuf*& head, resbuf*& tail);
// The result builder of the bodies: a list opened at construction, handed to LISP by close, and
// released on any path out of a body that abandons it.
class ResultList {
 public:
  ResultList() { ResultOpen(head_, tail_); }
  ~ResultList() { acutRelRb(head_); }
  ResultList(const ResultList&) = delete;
  ResultList& operator=(const ResultList&) = delete;
  resbuf*& tail() { return tail_; }
  void close() { ResultClose(head_, tail_); }

 private:
  resbuf* head_ = nullptr;
  resbuf* tail_ = nullptr;
};

// ("key" . n) with n as RTLONG.
void AppendStringInt(resbuf*& tail, const ACHAR* key, std::int32_t n);
// ("key" . x).
void AppendStringReal(resbuf*& tail, const ACHAR* key, double x);
// (x . n) with n as RTLONG.
void AppendRealInt(resbuf*& tail, double x, std::int32_t n);
// A bare string.
void AppendString(resbuf*& tail, const ACHAR* text);
// Links an already built chain behind tail and moves tail to its last cell.
void AppendCells(resbuf*& tail, resbuf* cells);

// ("key" . <entity name>); ("key" . nil) for a null object; nothing when no name can be had.
void AppendStringObject(resbuf*& tail, const ACHAR* key, const AcDbObject* object);

// The object's entity name as the result; nil when it has none.
void RetObject(const AcDbObject* object);
void RetObjectId(AcDbObjectId id);

// Releases a whole chain when it goes out of scope.
struct ResbufRelease {
  void operator()(resbuf* rb) const { acutRelRb(rb); }
};
using ResbufPtr = std::unique_ptr<resbuf, ResbufRelease>;

// Changes a point in place between the current UCS and the world; false when the host refuses.
bool UcsToWcs(AcGePoint3d& point);
bool WcsToUcs(AcGePoint3d& point);

// ---------------------------------------------------------------------------------------------
// Tree lists: a labelled tree between LISP and a tree control
// ---------------------------------------------------------------------------------------------

// The operations of a tree control that tree lists need. Items are opaque handles; 0 is none.
class LispTreeControl {
 public:
  using Item = std::uintptr_t;
  virtual ~LispTreeControl() = default;

  // The invisible root; never 0.
  virtual Item rootItem() const = 0;
  // Appends a child at the end of parent's children.
  virtual Item insertItem(const std::wstring& text, Item parent) = 0;
  virtual void setItemData(Item item, std::int32_t data) = 0;
  virtual void expand(Item item) = 0;
  virtual Item childItem(Item parent) const = 0;
  virtual Item nextSiblingItem(Item item) const = 0;
  virtual std::wstring itemText(Item item) const = 0;
  virtual std::int32_t itemData(Item item) const = 0;
};

// Fills control from a tree list: ("text" . data) and "text" [data] add items, a nested list holds
// the children of the item before it. Cells it cannot read are skipped. With parent 0 it first
// steps over the list's opening RTLB and adds under the root.
void ListToTree(LispTreeControl& control, ArgCursor& cursor, LispTreeControl::Item parent);
// Appends the tree list of first and its siblings (of the root's children when first is 0) behind
// tail; tail ends on the list's RTLE.
void TreeToList(const LispTreeControl& control, LispTreeControl::Item first, resbuf*& tail);

// ---------------------------------------------------------------------------------------------
// Documents and projects
// ---------------------------------------------------------------------------------------------

class AcDbDatabase;
class AcApDocument;
class AcApDocManager;
class kvDocReactor;
class kvEditorReactor;
class HvacDocReactor;
class hvacPerProjectData;

// What the project database keeps for one project (its connection and record objects). The
// database side derives from it; the project owns it, and ending it closes the connection.
class ProjectDatabaseState {
 public:
  virtual ~ProjectDatabaseState() = default;
};

// State of one project: the folder that its drawings lie in, and its database side, which closes
// what it opened when the project ends.
class kvPerProjectData {
 public:
  explicit kvPerProjectData(std::wstring folder);
  virtual ~kvPerProjectData();
  kvPerProjectData(const kvPerProjectData&) = delete;
  kvPerProjectData& operator=(const kvPerProjectData&) = delete;

  const std::wstring& folder() const { return folder_; }
  void setFolder(std::wstring folder) { folder_ = std::move(folder); }
  std::int32_t documentCount() const { return documentCount_; }
  void addDocument() { ++documentCount_; }
  void removeDocument() { --documentCount_; }

  ProjectDatabaseState* databaseState() const { return database_.get(); }
  void setDatabaseState(std::unique_ptr<ProjectDatabaseState> state) { database_ = std::move(state); }

 private:
  std::wstring folder_;
  std::int32_t documentCount_ = 0;
  std::unique_ptr<ProjectDatabaseState> database_;
};

// The HVAC project: the common project plus the unit flag.
class hvacPerProjectData : public kvPerProjectData {
 public:
  explicit hvacPerProjectData(std::wstring folder) : kvPerProjectData(std::move(folder)) {}

  bool isMetric() const { return isMetric_; }
  void setIsMetric(bool metric) { isMetric_ = metric; }

 private:
  bool isMetric_ = false;
};

// State of one open drawing.
class kvPerDocData {
 public:
  // Counts itself in project's documents.
  kvPerDocData(std::wstring path, kvPerProjectData& project, AcDbDatabase* database);
  virtual ~kvPerDocData();
  kvPerDocData(const kvPerDocData&) = delete;
  kvPerDocData& operator=(const kvPerDocData&) = delete;

  // The document's file name as the host gives it; "" for a drawing never saved.
  const std::wstring& path() const { return path_; }
  // The part of path behind its last separator.
  const std::wstring& fileName() const { return fileName_; }
  kvPerProjectData& project() const { return project_; }
  AcDbDatabase* database() const { return database_; }

 private:
  std::wstring path_;
  std::wstring fileName_;
  kvPerProjectData& project_;
  AcDbDatabase* database_;
};

class hvacPerDocData : public kvPerDocData {
 public:
  hvacPerDocData(std::wstring path, hvacPerProjectData& project, AcDbDatabase* database)
      : kvPerDocData(std::move(path), project, database), hvacProject_(project) {}
  hvacPerProjectData& hvacProject() const { return hvacProject_; }

 private:
  hvacPerProjectData& hvacProject_;
};

// What the layer above does with a project the registry has just made for a drawing (the module
// connects one whose drawing carries the project marker).
using ProjectCreatedAction = std::function<void(hvacPerProjectData& project, AcDbDatabase* drawing)>;

// Every open document and every project with an open document. The head of the document list
// is the current document. It follows the host's document events through its reactors.
class kvDocumentRegistry {
 public:
  // Adds the reactors and enters every document that is open already; projectCreated runs for
  // each project it makes, from then on.
  explicit kvDocumentRegistry(ProjectCreatedAction projectCreated = {});
  // Removes the reactors and destroys all document and project state.
  ~kvDocumentRegistry();
  kvDocumentRegistry(const kvDocumentRegistry&) = delete;
  kvDocumentRegistry& operator=(const kvDocumentRegistry&) = delete;

  // Makes the document of `path` current, entering it (and its folder's project) when new.
  void AddOrActivateDocument(const std::wstring& path, AcDbDatabase* database);
  // Forgets the document; its project goes with its last document.
  void RemoveDocument(const std::wstring& path);
  // After a save: a save under a new name moves the document to that name's project.
  void saveComplete(AcDbDatabase* database, const std::wstring& actualName);

  bool creatingDocument() const { return creatingDocument_; }
  void setCreatingDocument(bool on) { creatingDocument_ = on; }
  const std::list<std::unique_ptr<hvacPerDocData>>& documents() const { return documents_; }
  const std::list<std::unique_ptr<hvacPerProjectData>>& projects() const { return projects_; }

 private:
  void DetachReactors();
  void DestroyAll();

  ProjectCreatedAction projectCreated_;
  bool creatingDocument_ = false;
  std::unique_ptr<kvEditorReactor> editorReactor_;
  std::unique_ptr<kvDocReactor> documentReactor_;
  std::list<std::unique_ptr<hvacPerProjectData>> projects_;
  std::list<std::unique_ptr<hvacPerDocData>> documents_;
  std::unique_ptr<HvacDocReactor> hvacReactor_;
};

// The head of the document list, or null.
hvacPerDocData* CurrentDocument(const kvDocumentRegistry* registry);
// The current document's project, or null.
hvacPerProjectData* CurrentProject(const kvDocumentRegistry* registry);

// Inches to drawing units and back, by the current project's unit flag.
double ToDrawingUnits(double x);
double FromDrawingUnits(double x);

// ---------------------------------------------------------------------------------------------
// Selections over model space
// ---------------------------------------------------------------------------------------------

// How a class of entity tells its index (ixDuct, ixRoomL), set by the folder that defines it.
using EntityIndexReader = std::int32_t (*)(const AcDbEntity& entity);
void SetEntityIndexReader(const ACHAR* className, EntityIndexReader reader);

// Sets the result to the list of entity names of the working database's model space entities of
// the class named `className` (or derived from it); with filter >= 0 only those whose index is
// filter. A class without an index reader passes no entity through a filter.
void RetModelSpaceEntities(const ACHAR* className, std::int32_t filter);

// ---------------------------------------------------------------------------------------------
// Drawing helpers
// ---------------------------------------------------------------------------------------------

class AcApDocument;

// A write lock on the document of the working database, held for one scope. The lock's own
// result is not looked at, as nothing can be done about it.
class WorkingDocumentLock {
 public:
  WorkingDocumentLock();
  ~WorkingDocumentLock();
  WorkingDocumentLock(const WorkingDocumentLock&) = delete;
  WorkingDocumentLock& operator=(const WorkingDocumentLock&) = delete;

 private:
  AcApDocManager* manager_;  // asked once: every module call takes this lock
  AcApDocument* document_;
};

// Opens the drawing's model space in mode into modelSpace, which closes it when it goes. On a
// failure tableRead (when given) tells whether the block table could be read at all.
Acad::ErrorStatus OpenModelSpace(AcDbDatabase* drawing, AcDb::OpenMode mode,
                                 AcDbObjectPointer<AcDbBlockTableRecord>& modelSpace, bool* tableRead = nullptr);

// Appends a new entity to model space of the current document. On false the entity either
// stays the caller's (model space could not be reached) or was refused and deleted; see
// appendAndClose for a caller that does not care which.
bool appendToModelSpace(AcDbEntity* entity);
// Appends and closes the entity; on failure it is gone. Null does nothing.
void appendAndClose(AcDbEntity* entity);
// As appendAndClose; the new entity's id, null when it is gone.
AcDbObjectId appendAndCloseId(AcDbEntity* entity);
// Makes sure the current drawing defines the block `name`, reading it from "<name>.dwg" on the
// host's search path when it does not. Missing file: the LISP layer is told and false.
bool ensureBlock(const ACHAR* name, AcDbObjectId& blockId);

// A small optional value of each kind that drawings can carry; filed, never made by the module.
class CKVData : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(CKVData);
  CKVData() = default;
  explicit CKVData(std::int32_t value);
  explicit CKVData(double value);
  explicit CKVData(const std::wstring& value);

  bool getInt(std::int32_t& value) const;
  bool getReal(double& value) const;
  bool getString(std::wstring& value) const;

  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  bool hasInt_ = false;
  std::int32_t intValue_ = 0;
  bool hasReal_ = false;
  double realValue_ = 0.0;
  bool hasString_ = false;
  std::wstring stringValue_;
};

// ---------------------------------------------------------------------------------------------
// Module-wide state
// ---------------------------------------------------------------------------------------------

// "7.3.51 (26532)".
const ACHAR* ModuleVersionText();
// Whether activating a document runs the LISP layer's c:kv_hvac-doToDo; initially true.
bool DoDocumentActivated();
void SetDoDocumentActivated(bool on);
// The registry while the module is loaded, else null.
kvDocumentRegistry* DocumentRegistry();
// Makes the registry (module start) or destroys it (module stop, with null).
void SetDocumentRegistry(std::unique_ptr<kvDocumentRegistry> registry);

// ---------------------------------------------------------------------------------------------
// LISP bodies of the bridge (rows of the module's LISP function table)
// ---------------------------------------------------------------------------------------------

LispStatus kv_hvac_getPlinePoints();
LispStatus c_checkkv();
LispStatus kv_hvac_setIsMetric();
LispStatus ssgetx_duct();
LispStatus ssgetx_room();
LispStatus kv_hvac_setDoDocumentActivated();
