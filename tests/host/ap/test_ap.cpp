// Documents: the order of document and editor events, locks, the iterator and saving.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "ap.h"

namespace {

std::vector<std::string> events;

std::string nameOf(AcApDocument* d) { return d ? acrxToUtf8(d->docTitle()) : "null"; }

class DocLog : public AcApDocManagerReactor {
 public:
  void documentCreateStarted(AcApDocument* d) override { events.push_back("createStarted " + nameOf(d)); }
  void documentCreated(AcApDocument* d) override { events.push_back("created " + nameOf(d)); }
  void documentToBeDestroyed(AcApDocument* d) override { events.push_back("toBeDestroyed " + nameOf(d)); }
  void documentDestroyed(const ACHAR* f) override { events.push_back("destroyed " + acrxToUtf8(f)); }
  void documentToBeActivated(AcApDocument* d) override { events.push_back("toBeActivated " + nameOf(d)); }
  void documentToBeDeactivated(AcApDocument* d) override { events.push_back("toBeDeactivated " + nameOf(d)); }
  void documentActivated(AcApDocument* d) override { events.push_back("activated " + nameOf(d)); }
  void documentLockModeChanged(AcApDocument* d, AcAp::DocLockMode from, AcAp::DocLockMode to, AcAp::DocLockMode,
                               const ACHAR*) override {
    events.push_back("lock " + nameOf(d) + " " + std::to_string(from) + ">" + std::to_string(to));
  }
};

class EdLog : public AcEditorReactor {
 public:
  void beginSave(AcDbDatabase*, const ACHAR* n) override { events.push_back("beginSave " + acrxToUtf8(n)); }
  void saveComplete(AcDbDatabase*, const ACHAR* n) override { events.push_back("saveComplete " + acrxToUtf8(n)); }
  void beginDwgOpen(const ACHAR*) override { events.push_back("beginDwgOpen"); }
  void endDwgOpen(const ACHAR*, AcDbDatabase*) override { events.push_back("endDwgOpen"); }
  void beginClose(AcDbDatabase*) override { events.push_back("beginClose"); }
};

class ApTest : public ::testing::Test {
 protected:
  void SetUp() override {
    events.clear();
    acDocManagerPtr()->addReactor(&docs_);
    auto* editor = AcEditor::cast(acrxSysRegistry()->at(L"AcEditor"));
    ASSERT_NE(editor, nullptr);
    editor->addReactor(&ed_);
    // ctest runs cases in parallel processes: each gets its own folder.
    dir_ = std::filesystem::temp_directory_path() /
           ("kv_ap_tests_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_ / "a");
    std::filesystem::create_directories(dir_ / "b");
  }
  void TearDown() override {
    acDocManagerPtr()->closeAll();
    std::filesystem::remove_all(dir_);
    acDocManagerPtr()->removeReactor(&docs_);
    acedEditor->removeReactor(&ed_);
  }
  std::wstring path(const std::string& rel) { return acrxFromUtf8((dir_ / rel).string()); }
  DocLog docs_;
  EdLog ed_;
  std::filesystem::path dir_;
};

TEST_F(ApTest, NewOpenActivateAndCloseTellReactorsInOrder) {
  AcApDocManager* dm = acDocManagerPtr();
  AcApDocument* first = dm->newDocument();
  EXPECT_EQ(acrxToUtf8(first->fileName()).rfind("Drawing", 0), 0u);
  EXPECT_FALSE(first->isNamed());
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), first->database());
  events.clear();
  AcApDocument* second = dm->openDocument(path("a/one.dwg").c_str());
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(events, (std::vector<std::string>{"createStarted one.dwg", "created one.dwg", "toBeDeactivated " + nameOf(first),
                                              "toBeActivated one.dwg", "activated one.dwg"}))
      << "a drawing that does not exist yet is created";
  EXPECT_EQ(dm->curDocument(), second);
  EXPECT_EQ(dm->document(second->database()), second);
  events.clear();
  ASSERT_EQ(dm->activateDocument(first), Acad::eOk);
  EXPECT_EQ(events, (std::vector<std::string>{"toBeDeactivated one.dwg", "toBeActivated " + nameOf(first), "activated " + nameOf(first)}));
  events.clear();
  std::string firstName = nameOf(first);
  ASSERT_EQ(dm->closeDocument(first), Acad::eOk);
  EXPECT_EQ(events, (std::vector<std::string>{"beginClose", "toBeDeactivated " + firstName, "toBeDestroyed " + firstName,
                                              "destroyed " + firstName, "toBeActivated one.dwg", "activated one.dwg"}));
  EXPECT_EQ(dm->curDocument(), second);
  EXPECT_EQ(dm->documentCount(), 1);
  EXPECT_EQ(dm->closeDocument(first), Acad::eNoDocument);
}

TEST_F(ApTest, SaveSaveAsAndAutomaticSaveNameWhatWasWritten) {
  AcApDocManager* dm = acDocManagerPtr();
  AcApDocument* doc = dm->newDocument();
  EXPECT_EQ(dm->saveDocument(doc), Acad::eNotApplicable) << "a drawing never saved needs a name";
  events.clear();
  ASSERT_EQ(dm->saveDocumentAs(doc, path("b/plan.dwg").c_str()), Acad::eOk);
  EXPECT_EQ(events, (std::vector<std::string>{"beginSave " + acrxToUtf8(path("b/plan.dwg")), "saveComplete " + acrxToUtf8(path("b/plan.dwg"))}));
  EXPECT_EQ(std::wstring(doc->fileName()), path("b/plan.dwg"));
  EXPECT_TRUE(std::filesystem::exists(dir_ / "b/plan.dwg"));
  events.clear();
  ASSERT_EQ(dm->autoSaveDocument(doc), Acad::eOk);
  AcDbSysVarValue savefile;
  ASSERT_TRUE(doc->database()->getSysVar(L"SAVEFILE", savefile));
  EXPECT_EQ(events.back(), "saveComplete " + acrxToUtf8(savefile.text));
  EXPECT_EQ(std::wstring(doc->fileName()), path("b/plan.dwg")) << "an automatic save keeps the drawing's name";
  const ACHAR* dbName = nullptr;
  doc->database()->getFilename(dbName);
  EXPECT_EQ(std::wstring(dbName), path("b/plan.dwg"));
  // Reopening the saved file reads it back.
  dm->closeDocument(doc);
  AcApDocument* again = dm->openDocument(path("b/plan.dwg").c_str());
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(events[events.size() - 5], "beginDwgOpen");
}

// A reactor that declines lock events hears every other event, and those that listen still hear
// each lock; one that declines and one that listens side by side do not disturb each other.
class QuietLog : public DocLog {
 public:
  bool wantsLockModeEvents() const override { return false; }
  void documentLockModeWillChange(AcApDocument* d, AcAp::DocLockMode, AcAp::DocLockMode, AcAp::DocLockMode,
                                  const ACHAR*) override {
    events.push_back("quiet heard a lock of " + nameOf(d));
  }
  void documentActivated(AcApDocument* d) override { events.push_back("quiet activated " + nameOf(d)); }
};

TEST_F(ApTest, OnlyReactorsThatListenHearLocks) {
  AcApDocManager* dm = acDocManagerPtr();
  QuietLog quiet;
  dm->addReactor(&quiet);
  AcApDocument* a = dm->openDocument(path("a/x.dwg").c_str());
  EXPECT_NE(std::find(events.begin(), events.end(), "quiet activated x.dwg"), events.end());
  events.clear();
  ASSERT_EQ(dm->lockDocument(a, AcAp::kWrite), Acad::eOk);
  ASSERT_EQ(dm->unlockDocument(a), Acad::eOk);
  EXPECT_EQ(events, (std::vector<std::string>{"lock x.dwg 0>4", "lock x.dwg 4>0"}));
  // With only the quiet one left, a lock still nests and counts as before.
  dm->removeReactor(&docs_);
  events.clear();
  ASSERT_EQ(dm->lockDocument(a, AcAp::kWrite), Acad::eOk);
  EXPECT_EQ(a->myLockMode(), AcAp::kWrite);
  ASSERT_EQ(dm->unlockDocument(a), Acad::eOk);
  EXPECT_EQ(dm->unlockDocument(a), Acad::eNotApplicable);
  EXPECT_TRUE(events.empty());
  dm->addReactor(&docs_);
  dm->removeReactor(&quiet);
}

TEST_F(ApTest, LocksNestAndIteratorWalksAllDocuments) {
  AcApDocManager* dm = acDocManagerPtr();
  AcApDocument* a = dm->openDocument(path("a/x.dwg").c_str());
  AcApDocument* b = dm->openDocument(path("a/y.dwg").c_str());
  events.clear();
  EXPECT_EQ(dm->lockDocument(a, AcAp::kWrite, nullptr, nullptr, true), Acad::eOk);
  EXPECT_EQ(dm->lockDocument(a, AcAp::kRead), Acad::eOk);
  EXPECT_EQ(a->myLockMode(), AcAp::kRead);
  EXPECT_EQ(dm->unlockDocument(a), Acad::eOk);
  EXPECT_EQ(a->myLockMode(), AcAp::kWrite);
  EXPECT_EQ(dm->unlockDocument(a), Acad::eOk);
  EXPECT_EQ(dm->unlockDocument(a), Acad::eNotApplicable);
  EXPECT_EQ(events, (std::vector<std::string>{"lock x.dwg 0>4", "lock x.dwg 4>32", "lock x.dwg 32>4", "lock x.dwg 4>0"}));
  EXPECT_EQ(dm->lockDocument(nullptr), Acad::eNoDocument);
  std::vector<AcApDocument*> seen;
  AcApDocumentIterator* it = dm->newAcApDocumentIterator();
  for (; !it->done(); it->step()) seen.push_back(it->document());
  delete it;
  EXPECT_EQ(seen, (std::vector<AcApDocument*>{a, b}));
  EXPECT_EQ(dm->openDocument(path("a/x.dwg").c_str()), a) << "opening an open drawing activates it";
  EXPECT_EQ(dm->curDocument(), a);
  a->beginActivity();
  EXPECT_FALSE(a->isQuiescent());
  a->endActivity();
  EXPECT_TRUE(a->isQuiescent());
}

TEST_F(ApTest, AnUnreadableFileIsRefused) {
  std::filesystem::path bad = dir_ / "a" / "bad.dwg";
  FILE* f = std::fopen(bad.c_str(), "w");
  std::fputs("not a drawing", f);
  std::fclose(f);
  Acad::ErrorStatus es = Acad::eOk;
  EXPECT_EQ(acDocManagerPtr()->openDocument(acrxFromUtf8(bad.string()).c_str(), &es), nullptr);
  EXPECT_EQ(es, Acad::eInvalidDwgVersion);
  EXPECT_EQ(acDocManagerPtr()->documentCount(), 0);
}

}  // namespace

namespace {

TEST_F(ApTest, HooksFollowADocumentsLifeAndSessionsSwitch) {
  std::vector<std::string> order;
  AcApDocManager::Hooks hooks;
  hooks.created = [&](AcApDocument* d) { order.push_back("created " + nameOf(d)); };
  hooks.loaded = [&](AcApDocument* d) {
    order.push_back("loaded " + nameOf(d) + (acDocManager->curDocument() == d ? " current" : ""));
  };
  hooks.destroyed = [&](AcApDocument* d) { order.push_back("destroyed " + nameOf(d)); };
  acDocManager->setHooks(hooks);
  AcApDocument* a = acDocManager->openDocument(path("a/p.dwg").c_str());
  AcApDocument* b = acDocManager->openDocument(path("a/q.dwg").c_str());
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), b->database());
  acDocManager->closeDocument(b);
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), a->database()) << "the previous drawing comes back";
  acDocManager->closeDocument(a);
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), nullptr);
  acDocManager->setHooks({});
  EXPECT_EQ(order, (std::vector<std::string>{"created p.dwg", "loaded p.dwg current", "created q.dwg",
                                             "loaded q.dwg current", "destroyed q.dwg", "destroyed p.dwg"}));
  EXPECT_EQ(events.front(), "createStarted p.dwg") << "the created hook runs before any reactor";
}

TEST_F(ApTest, AFailedSaveAbortsAndKeepsTheName) {
  AcApDocument* doc = acDocManager->openDocument(path("a/keep.dwg").c_str());
  events.clear();
  EXPECT_NE(acDocManager->saveDocumentAs(doc, L"/nonexistent-folder/x.dwg"), Acad::eOk);
  EXPECT_EQ(std::wstring(doc->fileName()), path("a/keep.dwg"));
  EXPECT_EQ(events.size(), 1u) << "beginSave, and no saveComplete";
}

}  // namespace
