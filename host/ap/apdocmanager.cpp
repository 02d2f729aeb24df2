// The document manager: open, new, activate, save, save as, automatic save and close, each
// telling the document and editor reactors in the platform's order; nested document locks.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "ap.h"

struct AcApDocument::Impl {
  std::wstring path;
  std::unique_ptr<AcDbDatabase> db;
  kvads::LispSession* session = nullptr;
  std::vector<AcAp::DocLockMode> locks;
  int activity = 0;
  bool named = false;
};

AcRxClass* AcApDocument::desc() {
  static AcRxClass* cls = newAcRxClass(L"AcApDocument", L"AcRxObject", 0, 0, 0, nullptr, L"", L"");
  return cls;
}
AcRxClass* AcApDocument::isA() const { return AcApDocument::desc(); }
AcApDocument::AcApDocument(Impl* impl) : impl_(impl) {}
AcApDocument::~AcApDocument() { delete impl_; }
const ACHAR* AcApDocument::fileName() const { return impl_->path.c_str(); }

const ACHAR* AcApDocument::docTitle() const {
  std::size_t cut = impl_->path.find_last_of(L"/\\");
  return impl_->path.c_str() + (cut == std::wstring::npos ? 0 : cut + 1);
}

AcDbDatabase* AcApDocument::database() const { return impl_->db.get(); }
bool AcApDocument::isQuiescent() const { return impl_->activity == 0; }
AcAp::DocLockMode AcApDocument::lockMode(bool) const { return myLockMode(); }
AcAp::DocLockMode AcApDocument::myLockMode() const { return impl_->locks.empty() ? AcAp::kNone : impl_->locks.back(); }
bool AcApDocument::isNamed() const { return impl_->named; }
kvads::LispSession* AcApDocument::lispSession() const { return impl_->session; }
void AcApDocument::setLispSession(kvads::LispSession* session) { impl_->session = session; }
void AcApDocument::beginActivity() { ++impl_->activity; }
void AcApDocument::endActivity() {
  if (impl_->activity > 0) --impl_->activity;
}

// ---- the manager ----

struct AcApDocManager::Impl {
  std::vector<std::unique_ptr<AcApDocument>> docs;  // in order of opening
  std::vector<AcApDocument*> recent;                // most recently current first
  AcApDocument* current = nullptr;
  std::vector<AcApDocManagerReactor*> reactors;
  std::vector<AcApDocManagerReactor*> lockReactors;  // those of `reactors` that want lock events
  std::uint64_t reactorChanges = 0;  // counts additions and removals, so a walk sees when to check
  Hooks hooks;
  int untitled = 0;

  // Calls `fn` for each reactor; reactors added or removed during the walk are respected.
  template <class Fn>
  void fire(Fn fn) {
    fireTo(reactors, fn);
  }
  template <class Fn>
  void fireLock(Fn fn) {
    if (!lockReactors.empty()) fireTo(lockReactors, fn);
  }
  template <class Fn>
  void fireTo(const std::vector<AcApDocManagerReactor*>& list, Fn fn) {
    // A reactor may remove itself or another while being told, so the walk goes over a copy and,
    // once the list changed, tells only those still in it. Every LISP call of a module locks and
    // unlocks its document, four events: a copy of the usual handful stays on the stack.
    constexpr std::size_t kOnStack = 16;
    AcApDocManagerReactor* onStack[kOnStack];
    std::vector<AcApDocManagerReactor*> onHeap;
    AcApDocManagerReactor** copy = onStack;
    std::size_t n = list.size();
    if (n <= kOnStack) {
      std::copy(list.begin(), list.end(), onStack);
    } else {
      onHeap = list;
      copy = onHeap.data();
    }
    const std::uint64_t changesBefore = reactorChanges;
    for (std::size_t i = 0; i < n; ++i)
      if (reactorChanges == changesBefore || std::find(list.begin(), list.end(), copy[i]) != list.end())
        fn(copy[i]);
  }
  template <class Fn>
  void fireEditor(Fn fn) {
    acedEditorPtr()->forEachReactor(fn);
  }
  AcApDocument* create(const std::wstring& path, std::unique_ptr<AcDbDatabase> db, bool named, bool opened);
  void activate(AcApDocument* doc);
  // The current document first: it is the one every module call locks.
  bool has(const AcApDocument* doc) const { return doc == current ? doc != nullptr : hasOther(doc); }
  [[gnu::noinline]] bool hasOther(const AcApDocument* doc) const {
    return std::any_of(docs.begin(), docs.end(), [&](const auto& d) { return d.get() == doc; });
  }
};

AcRxClass* AcApDocManager::desc() {
  static AcRxClass* cls = newAcRxClass(L"AcApDocManager", L"AcRxObject", 0, 0, 0, nullptr, L"", L"");
  return cls;
}
AcRxClass* AcApDocManager::isA() const { return AcApDocManager::desc(); }
AcApDocManager::AcApDocManager() : impl_(new Impl) {}
AcApDocManager::~AcApDocManager() {
  closeAll();
  delete impl_;
}

AcApDocManager* acDocManagerPtr() {
  static AcApDocManager manager;
  return &manager;
}

AcApDocument* AcApDocManager::curDocument() const { return impl_->current; }
AcApDocument* AcApDocManager::mdiActiveDocument() const { return impl_->current; }

AcApDocument* AcApDocManager::document(const AcDbDatabase* pDb) const {
  if (impl_->current != nullptr && pDb != nullptr && impl_->current->database() == pDb) return impl_->current;
  for (const auto& d : impl_->docs)
    if (d->database() == pDb) return d.get();
  return nullptr;
}

int AcApDocManager::documentCount() const { return static_cast<int>(impl_->docs.size()); }

namespace {
// Walks a snapshot of the open documents.
class DocIterator : public AcApDocumentIterator {
 public:
  explicit DocIterator(std::vector<AcApDocument*> docs) : docs_(std::move(docs)) {}
  bool done() const override { return pos_ >= docs_.size(); }
  void step() override { ++pos_; }
  AcApDocument* document() override { return done() ? nullptr : docs_[pos_]; }

 private:
  std::vector<AcApDocument*> docs_;
  std::size_t pos_ = 0;
};
}  // namespace

AcApDocumentIterator* AcApDocManager::newAcApDocumentIterator() {
  std::vector<AcApDocument*> docs;
  for (const auto& d : impl_->docs) docs.push_back(d.get());
  return new DocIterator(std::move(docs));
}

// Every lock and unlock is told before and after, with the mode it leaves and the mode it gives.
Acad::ErrorStatus AcApDocManager::lockDocument(AcApDocument* pDoc, AcAp::DocLockMode lockMode,
                                               const ACHAR* pGlobalCmdName, const ACHAR*, bool) {
  if (!impl_->has(pDoc)) return Acad::eNoDocument;
  std::vector<AcAp::DocLockMode>& locks = pDoc->impl()->locks;
  if (impl_->lockReactors.empty()) {
    locks.push_back(lockMode);
    return Acad::eOk;
  }
  AcAp::DocLockMode before = locks.empty() ? AcAp::kNone : locks.back();
  impl_->fireLock([&](auto* r) { r->documentLockModeWillChange(pDoc, before, lockMode, before, pGlobalCmdName); });
  locks.push_back(lockMode);
  impl_->fireLock([&](auto* r) { r->documentLockModeChanged(pDoc, before, lockMode, lockMode, pGlobalCmdName); });
  return Acad::eOk;
}

Acad::ErrorStatus AcApDocManager::unlockDocument(AcApDocument* pDoc) {
  if (!impl_->has(pDoc)) return Acad::eNoDocument;
  std::vector<AcAp::DocLockMode>& locks = pDoc->impl()->locks;
  if (locks.empty()) return Acad::eNotApplicable;
  if (impl_->lockReactors.empty()) {
    locks.pop_back();
    return Acad::eOk;
  }
  AcAp::DocLockMode before = locks.back();
  AcAp::DocLockMode after = locks.size() > 1 ? locks[locks.size() - 2] : AcAp::kNone;
  impl_->fireLock([&](auto* r) { r->documentLockModeWillChange(pDoc, before, after, before, nullptr); });
  locks.pop_back();
  impl_->fireLock([&](auto* r) { r->documentLockModeChanged(pDoc, before, after, after, nullptr); });
  return Acad::eOk;
}

Acad::ErrorStatus AcApDocManager::setCurDocument(AcApDocument* pDoc, AcAp::DocLockMode mode, bool activate) {
  if (pDoc == nullptr || !impl_->has(pDoc)) return Acad::eNoDocument;
  impl_->activate(pDoc);
  if (mode != AcAp::kNone) lockDocument(pDoc, mode);
  return Acad::eOk;
}

Acad::ErrorStatus AcApDocManager::activateDocument(AcApDocument* pDoc, bool) {
  if (pDoc == nullptr || !impl_->has(pDoc)) return Acad::eNoDocument;
  impl_->activate(pDoc);
  return Acad::eOk;
}

void AcApDocManager::addReactor(AcApDocManagerReactor* r) {
  if (r == nullptr || std::find(impl_->reactors.begin(), impl_->reactors.end(), r) != impl_->reactors.end()) return;
  impl_->reactors.push_back(r);
  if (r->wantsLockModeEvents()) impl_->lockReactors.push_back(r);
  ++impl_->reactorChanges;
}

void AcApDocManager::removeReactor(AcApDocManagerReactor* r) {
  impl_->reactors.erase(std::remove(impl_->reactors.begin(), impl_->reactors.end(), r), impl_->reactors.end());
  impl_->lockReactors.erase(std::remove(impl_->lockReactors.begin(), impl_->lockReactors.end(), r),
                            impl_->lockReactors.end());
  ++impl_->reactorChanges;
}

void AcApDocManager::setHooks(Hooks hooks) { impl_->hooks = std::move(hooks); }

// Activation, also of the document already current (the platform repeats the events then).
void AcApDocManager::Impl::activate(AcApDocument* doc) {
  if (current != nullptr && current != doc) fire([&](auto* r) { r->documentToBeDeactivated(current); });
  fire([&](auto* r) { r->documentToBeActivated(doc); });
  current = doc;
  recent.erase(std::remove(recent.begin(), recent.end(), doc), recent.end());
  recent.insert(recent.begin(), doc);
  acdbHostApplicationServices()->setWorkingDatabase(doc->database());
  kvads::setCurrentSession(doc->lispSession());
  fire([&](auto* r) { r->documentBecameCurrent(doc); });
  fire([&](auto* r) { r->documentActivated(doc); });
}

AcApDocument* AcApDocManager::Impl::create(const std::wstring& path, std::unique_ptr<AcDbDatabase> db, bool named,
                                           bool opened) {
  auto* impl = new AcApDocument::Impl;
  impl->path = path;
  impl->named = named;
  impl->db = std::move(db);
  auto doc = std::make_unique<AcApDocument>(impl);
  AcApDocument* d = doc.get();
  docs.push_back(std::move(doc));
  AcDbSysVarValue savefile;
  savefile.kind = AcDbSysVarValue::Kind::String;
  savefile.text = acDocManagerPtr()->autoSavePath(d);
  d->database()->setSysVarHost(L"SAVEFILE", savefile);
  if (hooks.created) hooks.created(d);
  fire([&](auto* r) { r->documentCreateStarted(d); });
  if (opened) fireEditor([&](AcEditorReactor* r) { r->beginDwgOpen(path.c_str()); });
  fireEditor([&](AcEditorReactor* r) { r->databaseConstructed(d->database()); });
  if (opened) fireEditor([&](AcEditorReactor* r) { r->endDwgOpen(path.c_str(), d->database()); });
  fire([&](auto* r) { r->documentCreated(d); });
  activate(d);
  if (hooks.loaded) hooks.loaded(d);
  return d;
}

AcApDocument* AcApDocManager::openDocument(const ACHAR* path, Acad::ErrorStatus* status) {
  Acad::ErrorStatus dummy;
  Acad::ErrorStatus& es = status ? *status : dummy;
  es = Acad::eOk;
  if (path == nullptr || path[0] == 0) {
    es = Acad::eInvalidInput;
    return nullptr;
  }
  for (const auto& d : impl_->docs)
    if (d->impl()->path == path) {
      impl_->activate(d.get());
      return d.get();
    }
  std::error_code ec;
  bool exists = std::filesystem::exists(std::filesystem::path(acrxToUtf8(path)), ec);
  auto db = std::make_unique<AcDbDatabase>(!exists, false);
  if (exists && (es = db->readDwgFile(path)) != Acad::eOk) {
    std::printf("\nCannot open %s (status %d).", acrxToUtf8(path).c_str(), static_cast<int>(es));
    std::fflush(stdout);
    return nullptr;
  }
  db->setFilename(path);
  return impl_->create(path, std::move(db), true, exists);
}

AcApDocument* AcApDocManager::newDocument() {
  std::wstring name = L"Drawing" + std::to_wstring(++impl_->untitled) + L".dwg";
  return impl_->create(name, std::make_unique<AcDbDatabase>(true, false), false, false);
}

AcApDocument* AcApDocManager::adoptDocument(const ACHAR* path, std::unique_ptr<AcDbDatabase> db) {
  if (path == nullptr || path[0] == 0 || db == nullptr) return nullptr;
  for (const auto& d : impl_->docs)
    if (d->impl()->path == path) return nullptr;
  db->setFilename(path);
  return impl_->create(path, std::move(db), true, false);
}

std::wstring AcApDocManager::autoSavePath(AcApDocument* pDoc) const {
  std::filesystem::path title(acrxToUtf8(pDoc ? pDoc->docTitle() : L"Drawing"));
  std::error_code ec;
  std::filesystem::path dir = std::filesystem::temp_directory_path(ec);
  return acrxFromUtf8((dir / (title.stem().string() + "_kvhost.sv$")).string());
}

namespace {
// The one saving path: writes the database under `intended`, told to the editor reactors. A
// failure gives abortSave; a success runs `saved` (where the document takes its new name, before
// saveComplete is told, as its file now has it) and then saveComplete. keepName leaves the
// database its file name and modified flag, as an automatic save does.
Acad::ErrorStatus saveWithEvents(AcDbDatabase* db, const std::wstring& intended, bool keepName,
                                 const std::function<void()>& saved = {}) {
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->beginSave(db, intended.c_str()); });
  const ACHAR* old = nullptr;
  db->getFilename(old);
  std::wstring oldName = old ? old : L"";
  bool wasModified = db->isModified();
  Acad::ErrorStatus es = db->saveAs(intended.c_str());
  if (keepName) {
    db->setFilename(oldName.c_str());
    db->setModified(wasModified);
  }
  if (es != Acad::eOk) {
    acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->abortSave(db); });
    return es;
  }
  if (saved) saved();
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->saveComplete(db, intended.c_str()); });
  return Acad::eOk;
}
}  // namespace

Acad::ErrorStatus AcApDocManager::saveDocument(AcApDocument* pDoc) {
  if (pDoc == nullptr || !impl_->has(pDoc)) return Acad::eNoDocument;
  if (!pDoc->isNamed()) return Acad::eNotApplicable;
  return saveWithEvents(pDoc->database(), pDoc->impl()->path, false);
}

Acad::ErrorStatus AcApDocManager::saveDocumentAs(AcApDocument* pDoc, const ACHAR* path) {
  if (pDoc == nullptr || !impl_->has(pDoc)) return Acad::eNoDocument;
  if (path == nullptr || path[0] == 0) return Acad::eInvalidInput;
  return saveWithEvents(pDoc->database(), path, false, [&] {
    pDoc->impl()->path = path;
    pDoc->impl()->named = true;
    AcDbSysVarValue savefile;
    savefile.kind = AcDbSysVarValue::Kind::String;
    savefile.text = autoSavePath(pDoc);
    pDoc->database()->setSysVarHost(L"SAVEFILE", savefile);
  });
}

Acad::ErrorStatus AcApDocManager::autoSaveDocument(AcApDocument* pDoc) {
  if (pDoc == nullptr || !impl_->has(pDoc)) return Acad::eNoDocument;
  AcDbSysVarValue savefile;
  pDoc->database()->getSysVar(L"SAVEFILE", savefile);
  return saveWithEvents(pDoc->database(), savefile.text, true);
}

Acad::ErrorStatus AcApDocManager::closeDocument(AcApDocument* pDoc) {
  if (pDoc == nullptr || !impl_->has(pDoc)) return Acad::eNoDocument;
  AcDbDatabase* db = pDoc->database();
  std::wstring name = pDoc->impl()->path;
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->beginClose(db); });
  if (impl_->current == pDoc) impl_->fire([&](auto* r) { r->documentToBeDeactivated(pDoc); });
  impl_->fire([&](auto* r) { r->documentToBeDestroyed(pDoc); });
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->databaseToBeDestroyed(db); });
  if (impl_->hooks.destroyed) impl_->hooks.destroyed(pDoc);
  bool wasCurrent = impl_->current == pDoc;
  impl_->recent.erase(std::remove(impl_->recent.begin(), impl_->recent.end(), pDoc), impl_->recent.end());
  if (wasCurrent) {
    impl_->current = nullptr;
    acdbHostApplicationServices()->setWorkingDatabase(nullptr);
    kvads::setCurrentSession(nullptr);
  }
  auto it = std::find_if(impl_->docs.begin(), impl_->docs.end(), [&](const auto& d) { return d.get() == pDoc; });
  std::unique_ptr<AcApDocument> gone = std::move(*it);
  impl_->docs.erase(it);
  gone.reset();
  impl_->fire([&](auto* r) { r->documentDestroyed(name.c_str()); });
  if (wasCurrent && !impl_->recent.empty()) impl_->activate(impl_->recent.front());
  return Acad::eOk;
}

void AcApDocManager::closeAll() {
  while (!impl_->docs.empty()) {
    AcApDocument* doc = impl_->current ? impl_->current : impl_->docs.back().get();
    closeDocument(doc);
  }
}
