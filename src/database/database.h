// The project database of the module: one record class per table, the project's connection and
// record objects, and the resolution of layer and text style keys into the current drawing.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "ProjectDatabase.h"
#include "bridge/bridge.h"
#include "tables.h"

// ---------------------------------------------------------------------------------------------
// The database side of a project: its connection and its record objects
// ---------------------------------------------------------------------------------------------

class kvProjectDatabase : public ProjectDatabaseState {
 public:
  kvProjectDatabase() = default;
  // Closes as Close does: the end of a project closes its database.
  ~kvProjectDatabase() override;
  kvProjectDatabase(const kvProjectDatabase&) = delete;
  kvProjectDatabase& operator=(const kvProjectDatabase&) = delete;

  // Null until the first open; may be closed (asked with IsConnectionOpen).
  const ProjectDatabasePtr& connection() const { return connection_; }
  // Record objects stand on the connection they were made on: a new connection drops them, so
  // that the next ConnectDocument makes them anew on the live one.
  void setConnection(ProjectDatabasePtr connection);

  // The project's record object of table T (tblGlobal ... tblLoadRoomHeating), or null.
  template <class T> T* table() const { return std::get<std::unique_ptr<T>>(tables_).get(); }

  // Creates, on the connection, whichever record objects are still missing, in the project's
  // order: the five common tables, then the six HVAC tables.
  void CreateCommonTables();
  void CreateHvacTables();
  // Destroys every record object, common tables first.
  void DestroyTables();

  // The project's duct defaults: what a duct drawn with no template takes, as the LISP layer's
  // duct-getSettings last gave them, else those of a new project.
  KvDuctDbInfo& ductDefaults() { return ductDefaults_; }
  void resetDuctDefaults() { ductDefaults_ = NewProjectDuctDefaults(); }
  static KvDuctDbInfo NewProjectDuctDefaults();
  // Destroys the record objects, then closes the connection's tables and the connection, which
  // stays, closed, until the next one replaces it. Failures to close are not raised: this runs
  // while projects end, also from destructors.
  void Close();

 private:
  template <class T> void Create();
  template <class T> void Destroy() { std::get<std::unique_ptr<T>>(tables_).reset(); }

  ProjectDatabasePtr connection_;
  KvDuctDbInfo ductDefaults_ = NewProjectDuctDefaults();
  std::tuple<std::unique_ptr<tblGlobal>, std::unique_ptr<tblLayer>, std::unique_ptr<tblLayerKey>,
             std::unique_ptr<tblLayerSystem>, std::unique_ptr<tblTextStyle>, std::unique_ptr<tblDuct>,
             std::unique_ptr<tblDiffL>, std::unique_ptr<tblDiffS>, std::unique_ptr<tblDwgDiff>,
             std::unique_ptr<tblLoadRoomCooling>, std::unique_ptr<tblLoadRoomHeating>>
      tables_;
};

// The project's database side, made on first use.
kvProjectDatabase& DatabaseOf(kvPerProjectData& project);

// True when connection is set and the component says it is open.
bool IsConnectionOpen(ProjectDatabase* connection);

// The first column of every row of a SELECT, in order; empty when no row came back, the
// statement failed or there is no connection.
std::vector<_variant_t> QueryColumn(ProjectDatabase* connection, const std::wstring& sql);

// What a guarded call that needs the database works on, resolved once by the guard after it has
// connected the current document: the project, its database side and the drawing. Record objects
// are fetched from it anew in each call, never kept across calls.
struct ProjectContext {
  hvacPerProjectData& project;
  kvProjectDatabase& database;
  AcDbDatabase* drawing;  // the document's drawing, else the working one
};
ProjectContext ContextOf(hvacPerDocData& document);

// The context of the guarded call in progress; null outside one, and in a call that does not
// connect. A scope sets it for one call; scopes nest.
const ProjectContext* CurrentProjectContext();
class ProjectContextScope {
 public:
  explicit ProjectContextScope(const ProjectContext& context);
  ~ProjectContextScope();
  ProjectContextScope(const ProjectContextScope&) = delete;
  ProjectContextScope& operator=(const ProjectContextScope&) = delete;

 private:
  const ProjectContext* previous_;
};

// ---------------------------------------------------------------------------------------------
// Finding, opening, connecting and closing
// ---------------------------------------------------------------------------------------------

// The one database file of kind key ("kv_hvac", "kv_elec", "kv_plumb") in folder: a "kv" file or
// a "kvlink" file (one of the two, not one of each), else an "mdb" file, whose name holds the key and is no master or standards copy. "" when there
// is none, or more than one candidate.
std::wstring FindDatabaseFile(std::wstring_view folder, std::wstring_view key);

// Opens the project's database of kind key in folder (stored, right-trimmed, as the project's
// folder), repairing it through the LISP layer when the component asks for that. False when
// already open, the folder is blank, no file is found, or the open failed and was reported;
// failures print only with report.
bool OpenDatabase(kvPerProjectData& project, std::wstring folder, std::wstring_view key, bool report);

// Makes sure the document's project is connected and all its record objects exist: one IsOpen
// call when it is. Prints "Cannot connect" with report when it cannot.
bool ConnectDocument(hvacPerDocData& document, bool report);

// Destroys the record objects, resets the project's settings (unit flag, duct defaults), and closes the connection (which
// stays, closed, until the next connection replaces it).
void DisconnectProject(hvacPerProjectData& project);

// Prints the connection's last error, if any, and releases the reference. Sets nil as the LISP
// result. True when there was an error.
bool ReportDatabaseError(ProjectDatabasePtr connection);

// A counted reference to the context's connection; null when there is none.
ProjectDatabasePtr GetDatabaseObject(const ProjectContext& context);

// The value of a key in the drawing's marker (extended data of "KELVANE" on *Model_Space, keys
// at even distances from the name cell); "" when absent. "KV_HVAC" = "YES" marks a drawing of
// the HVAC database.
std::wstring ReadDrawingMarker(AcDbDatabase* drawing, std::wstring_view key);

// What a new project does at once (the registry runs it): when the drawing carries the marker,
// open the project's database and, if it is open, make the common record objects.
void ConnectMarkedProject(hvacPerProjectData& project, AcDbDatabase* drawing);

// LISP kv_hvac-disconnect: closes the current project's database; nil.
LispStatus kv_hvac_disconnect();

// ---------------------------------------------------------------------------------------------
// Layer and text style keys
// ---------------------------------------------------------------------------------------------


// The layer of a key ("ROOM OUTLINES", ...) in the current drawing, created from the project's
// tblLayer row when the drawing lacks it, and unlocked. bySystem false looks the key up for all
// systems. A missing key falls back to "DEFAULT", then to layer "0" (with a message).
bool ResolveLayer(const ProjectContext& context, std::wstring_view key, AcDbObjectId& layerId,
                  bool bySystem, std::int32_t layerSystem);
// The text style of a key in the current drawing, created when missing; height is in and out:
// the caller passes 0, and gets the text height in drawing units (scaled by dimscale).
bool ResolveTextStyle(const ProjectContext& context, std::wstring_view key, AcDbObjectId& styleId,
                      double& height);
// Name of the centre line layer of an air type ("sa", "ra", "ea", "oa") in a layer system; "" on
// any failure.
std::wstring CenterlineLayerName(const ProjectContext& context, std::wstring_view airflow,
                                 std::int32_t layerSystem);

// LISP kv_hvac-getLayer: key, then a layer system or nil (all systems). The layer name, or nil.
LispStatus kv_hvac_getLayer();
