// The registry's reactors: how the host's document events reach the document and project lists.
#include <memory>

#include "ap.h"
#include "bridge.h"
#include "ed.h"

class kvDocReactor : public AcApDocManagerReactor {
 public:
  explicit kvDocReactor(kvDocumentRegistry& registry) : registry_(registry) {}
  void documentCreateStarted(AcApDocument* document) override {
    if (document) registry_.setCreatingDocument(true);
  }
  void documentCreated(AcApDocument* document) override {
    if (!document) return;
    registry_.setCreatingDocument(false);
    registry_.AddOrActivateDocument(document->fileName(), document->database());
  }
  void documentToBeActivated(AcApDocument* document) override {
    if (document) registry_.AddOrActivateDocument(document->fileName(), document->database());
  }
  void documentToBeDestroyed(AcApDocument* document) override {
    if (document) registry_.RemoveDocument(document->fileName());
  }
  // Every module call locks its document: hearing of it would only cost that call.
  bool wantsLockModeEvents() const override { return false; }

 private:
  kvDocumentRegistry& registry_;
};

class kvEditorReactor : public AcEditorReactor {
 public:
  explicit kvEditorReactor(kvDocumentRegistry& registry) : registry_(registry) {}
  void saveComplete(AcDbDatabase* database, const ACHAR* actualName) override {
    if (actualName) registry_.saveComplete(database, actualName);
  }

 private:
  kvDocumentRegistry& registry_;
};

// Lets the LISP layer finish work it left for a drawing when that drawing becomes active.
class HvacDocReactor : public AcApDocManagerReactor {
 public:
  HvacDocReactor() { acDocManagerPtr()->addReactor(this); }
  ~HvacDocReactor() override { acDocManagerPtr()->removeReactor(this); }
  HvacDocReactor(const HvacDocReactor&) = delete;
  HvacDocReactor& operator=(const HvacDocReactor&) = delete;

  void documentActivated(AcApDocument* document) override {
    if (!DoDocumentActivated() || !document || !document->isQuiescent()) return;
    ResbufPtr call(acutBuildList(RTSTR, L"c:kv_hvac-doToDo", 0));
    resbuf* answer = nullptr;
    acedInvoke(call.get(), &answer);
    acutRelRb(answer);
  }
  bool wantsLockModeEvents() const override { return false; }
};

namespace {

AcEditor* Editor() { return AcEditor::cast(acrxSysRegistry()->at(L"AcEditor")); }

// The "savefile" system variable: where automatic saves go.
std::wstring AutoSaveFile() {
  resbuf value{nullptr, RTNONE, {}};
  if (acedGetVar(L"savefile", &value) != RTNORM || value.restype != RTSTR) return {};
  std::wstring file = value.resval.rstring ? value.resval.rstring : L"";
  std::free(value.resval.rstring);
  return file;
}

}  // namespace

kvDocumentRegistry::kvDocumentRegistry(ProjectCreatedAction projectCreated)
    : projectCreated_(std::move(projectCreated)) {
  documentReactor_ = std::make_unique<kvDocReactor>(*this);
  acDocManagerPtr()->addReactor(documentReactor_.get());
  editorReactor_ = std::make_unique<kvEditorReactor>(*this);
  if (AcEditor* editor = Editor()) editor->addReactor(editorReactor_.get());
  try {
    std::unique_ptr<AcApDocumentIterator> it(acDocManagerPtr()->newAcApDocumentIterator());
    for (; it && !it->done(); it->step())
      AddOrActivateDocument(it->document()->fileName(), it->document()->database());
    hvacReactor_ = std::make_unique<HvacDocReactor>();
  } catch (...) {
    // No destructor runs for a registry that failed to construct: the host must not keep
    // reactors that point into it.
    DetachReactors();
    throw;
  }
}

kvDocumentRegistry::~kvDocumentRegistry() {
  DetachReactors();
  DestroyAll();
  hvacReactor_.reset();
}

void kvDocumentRegistry::DetachReactors() {
  acDocManagerPtr()->removeReactor(documentReactor_.get());
  documentReactor_.reset();
  if (AcEditor* editor = Editor()) editor->removeReactor(editorReactor_.get());
  editorReactor_.reset();
}

void kvDocumentRegistry::saveComplete(AcDbDatabase* database, const std::wstring& actualName) {
  AcApDocument* active = acDocManagerPtr()->mdiActiveDocument();
  if (!active || database != active->database()) return;
  hvacPerDocData* current = CurrentDocument(this);
  if (!current || current->path() == actualName || actualName == AutoSaveFile()) return;
  // Saved under another name: the drawing may now belong to another folder's project.
  std::wstring oldPath = current->path();
  RemoveDocument(oldPath);
  AddOrActivateDocument(actualName, database);
}
