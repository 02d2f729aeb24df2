// Documents of the host: the document manager with several open drawings, document locks that
// nest, the document and editor reactors fired in the platform's order, and the editor object
// registered as "AcEditor" in the system registry.
#pragma once

#include <functional>
#include <string>

#include "db.h"
#include "rx.h"

namespace AcAp {
enum DocLockMode {
  kNone = 0x00,
  kAutoWrite = 0x01,
  kNotLocked = 0x02,
  kWrite = 0x04,
  kProtectedAutoWrite = 0x14,
  kRead = 0x20,
  kXWrite = 0x40,
};
}  // namespace AcAp

// One open drawing. Owned by the document manager.
class AcApDocument : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcApDocument);
  // The drawing's path as given when it was opened or last saved as; for a drawing never saved
  // its name alone ("Drawing1.dwg").
  const ACHAR* fileName() const;
  const ACHAR* docTitle() const;
  AcDbDatabase* database() const;
  // True when no command or LISP call is in progress in this document.
  bool isQuiescent() const;
  AcAp::DocLockMode lockMode(bool bIncludeMyLocks = false) const;
  AcAp::DocLockMode myLockMode() const;
  bool isReadOnly() const { return false; }
  // Host: whether the drawing has a file on disk.
  bool isNamed() const;
  // Host: the document's LISP environment (owned by whoever set it, normally kvhost); it becomes
  // the bridge's current session whenever this document becomes current.
  kvads::LispSession* lispSession() const;
  void setLispSession(kvads::LispSession* session);
  // Host: counts LISP calls or commands in progress (isQuiescent is false while > 0).
  void beginActivity();
  void endActivity();

  struct Impl;
  explicit AcApDocument(Impl* impl);
  ~AcApDocument() override;
  Impl* impl() const { return impl_; }

 private:
  Impl* impl_;
};

class AcApDocumentIterator : public AcRxObject {
 public:
  virtual bool done() const = 0;
  virtual void step() = 0;
  virtual AcApDocument* document() = 0;
};

// Events of the document manager. Order for a new or opened drawing: documentCreateStarted,
// (the editor's beginDwgOpen, endDwgOpen, databaseConstructed), documentCreated,
// documentToBeActivated, documentBecameCurrent, documentActivated. For a close:
// documentToBeDeactivated (when active), documentToBeDestroyed, documentDestroyed, then the
// activation events of the document that becomes current. Each lock and unlock:
// documentLockModeWillChange, documentLockModeChanged.
class AcApDocManagerReactor : public AcRxObject {
 public:
  virtual void documentCreateStarted(AcApDocument* pDocCreating) {}
  virtual void documentCreated(AcApDocument* pDocCreating) {}
  virtual void documentToBeDestroyed(AcApDocument* pDocToDestroy) {}
  virtual void documentDestroyed(const ACHAR* fileName) {}
  virtual void documentCreateCanceled(AcApDocument* pDocCreateCancelled) {}
  virtual void documentLockModeWillChange(AcApDocument*, AcAp::DocLockMode myCurrentMode, AcAp::DocLockMode myNewMode,
                                          AcAp::DocLockMode currentMode, const ACHAR* pGlobalCmdName) {}
  virtual void documentLockModeChanged(AcApDocument*, AcAp::DocLockMode myPreviousMode, AcAp::DocLockMode myCurrentMode,
                                       AcAp::DocLockMode currentMode, const ACHAR* pGlobalCmdName) {}
  virtual void documentBecameCurrent(AcApDocument*) {}
  virtual void documentToBeActivated(AcApDocument* pActivatingDoc) {}
  virtual void documentToBeDeactivated(AcApDocument* pDeActivatedDoc) {}
  virtual void documentActivationModified(bool bActivation) {}
  virtual void documentActivated(AcApDocument* pActivatedDoc) {}
  // Host: whether this reactor is told of lock mode changes, asked once when it is added. Every
  // LISP call of a module locks and unlocks its document; when no reactor listens, a lock raises
  // no events at all.
  virtual bool wantsLockModeEvents() const { return true; }
};

// Events of the editor. Save: beginSave, saveComplete (or abortSave). Open: beginDwgOpen,
// endDwgOpen, databaseConstructed. Close: beginClose, databaseToBeDestroyed.
class AcEditorReactor : public AcRxObject {
 public:
  virtual void beginSave(AcDbDatabase* pDwg, const ACHAR* pIntendedName) {}
  virtual void saveComplete(AcDbDatabase* pDwg, const ACHAR* pActualName) {}
  virtual void abortSave(AcDbDatabase* pDwg) {}
  virtual void beginDwgOpen(const ACHAR* filename) {}
  virtual void endDwgOpen(const ACHAR* filename, AcDbDatabase* pDb) {}
  virtual void databaseConstructed(AcDbDatabase* pDb) {}
  virtual void databaseToBeDestroyed(AcDbDatabase* pDwg) {}
  virtual void beginClose(AcDbDatabase* pDwg) {}
  virtual void commandWillStart(const ACHAR* cmdStr) {}
  virtual void commandEnded(const ACHAR* cmdStr) {}
  virtual void sysVarChanged(const ACHAR* varName, Adesk::Boolean success) {}
};

// The editor, registered as "AcEditor" in acrxSysRegistry(); reactors are not owned.
class AcEditor : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcEditor);
  void addReactor(AcEditorReactor* reactor);
  void removeReactor(AcEditorReactor* reactor);
  // Host: calls `fn` for each reactor, in the order they were added.
  void forEachReactor(const std::function<void(AcEditorReactor*)>& fn) const;
};
AcEditor* acedEditorPtr();
#define acedEditor acedEditorPtr()

class AcApDocManager : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcApDocManager);
  // The document that commands and LISP work in.
  AcApDocument* curDocument() const;
  // The document the user sees (the same as curDocument in this host).
  AcApDocument* mdiActiveDocument() const;
  // The document whose database is pDb, or null.
  AcApDocument* document(const AcDbDatabase* pDb) const;
  int documentCount() const;
  AcApDocumentIterator* newAcApDocumentIterator();
  // Locks nest: each lock needs an unlock. eNoDocument for null, eLockConflict when another
  // document holds a write lock... (this host never refuses a lock of the current document).
  Acad::ErrorStatus lockDocument(AcApDocument* pDoc, AcAp::DocLockMode lockMode = AcAp::kWrite,
                                 const ACHAR* pGlobalCmdName = nullptr, const ACHAR* pLocalCmdName = nullptr,
                                 bool prompt = true);
  // eNotApplicable when the document holds no lock.
  Acad::ErrorStatus unlockDocument(AcApDocument* pDoc);
  Acad::ErrorStatus setCurDocument(AcApDocument* pDoc, AcAp::DocLockMode = AcAp::kNone, bool activate = false);
  Acad::ErrorStatus activateDocument(AcApDocument* pAcTargetDocument, bool bPassScript = false);
  void addReactor(AcApDocManagerReactor* pReactor);
  void removeReactor(AcApDocManagerReactor* pReactor);
  bool isApplicationContext() const { return false; }

  // Host: opens a drawing file (or creates a new drawing named by `path` when the file does not
  // exist) and makes it current. Null with a message on a file that cannot be read.
  AcApDocument* openDocument(const ACHAR* path, Acad::ErrorStatus* status = nullptr);
  // Host: a new unsaved drawing "DrawingN.dwg", made current.
  AcApDocument* newDocument();
  // Host: a drawing made elsewhere (a recovered one) as a new document named `path`, not yet
  // saved there, made current. Null when a document of that name is open.
  AcApDocument* adoptDocument(const ACHAR* path, std::unique_ptr<AcDbDatabase> db);
  // Host: saves under its name (eNotApplicable when unnamed), as another name, or automatically
  // to the SAVEFILE path; each fires beginSave/saveComplete with the name actually written.
  Acad::ErrorStatus saveDocument(AcApDocument* pDoc);
  Acad::ErrorStatus saveDocumentAs(AcApDocument* pDoc, const ACHAR* path);
  Acad::ErrorStatus autoSaveDocument(AcApDocument* pDoc);
  // Host: closes without saving; the next document becomes current.
  Acad::ErrorStatus closeDocument(AcApDocument* pDoc);
  // Host: closes every document (at exit).
  void closeAll();
  // Host: what the program does around a document's life. `created` runs when the document and
  // its database exist, before any reactor hears of it (make its LISP environment there);
  // `loaded` runs once it is current after creation (send kLoadDwgMsg, load start-up LISP);
  // `destroyed` runs after the reactors heard of its end, before it is deleted.
  struct Hooks {
    std::function<void(AcApDocument*)> created, loaded, destroyed;
  };
  void setHooks(Hooks hooks);
  // Host: folder where unnamed drawings' automatic saves go (default: the temp folder).
  std::wstring autoSavePath(AcApDocument* pDoc) const;

  struct Impl;
  AcApDocManager();
  ~AcApDocManager() override;

 private:
  Impl* impl_;
};

AcApDocManager* acDocManagerPtr();
#define acDocManager acDocManagerPtr()
