// Documents and projects following the host's document events, and the guard around them.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "ap.h"
#include "database/database.h"
#include "fixture.h"

namespace {

namespace fs = std::filesystem;

int gDisconnects = 0;
int gCreated = 0;

// A project's database side that counts its end, which is where a project closes its database.
class CountingState : public ProjectDatabaseState {
 public:
  ~CountingState() override { ++gDisconnects; }
};

void CountProject(hvacPerProjectData& project, AcDbDatabase*) {
  ++gCreated;
  project.setDatabaseState(std::make_unique<CountingState>());
}

class Documents : public ::testing::Test {
 protected:
  void SetUp() override {
    acDocManagerPtr()->closeAll();
    // ctest runs the cases in parallel, beside the LISP scenario of documents: each its own folder.
    root_ = fs::path(KV_BINARY_DIR) / "bridge-documents-unit" /
            ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(root_);
    fs::create_directories(root_ / "one");
    fs::create_directories(root_ / "two");
    gDisconnects = gCreated = 0;
  }
  void TearDown() override {
    acDocManagerPtr()->closeAll();
    SetDoDocumentActivated(true);
  }
  std::wstring Path(const char* relative) const { return (root_ / relative).wstring(); }
  AcApDocument* Open(const char* relative) {
    return acDocManagerPtr()->openDocument(Path(relative).c_str());
  }
  static std::vector<std::wstring> DocumentPaths(const kvDocumentRegistry& r) {
    std::vector<std::wstring> paths;
    for (const auto& d : r.documents()) paths.push_back(d->path());
    return paths;
  }
  static std::vector<std::wstring> ProjectFolders(const kvDocumentRegistry& r) {
    std::vector<std::wstring> folders;
    for (const auto& p : r.projects()) folders.push_back(p->folder());
    return folders;
  }

  fs::path root_;
};

TEST_F(Documents, DrawingsOfOneFolderShareAProjectThatEndsWithTheLast) {
  kvDocumentRegistry registry(CountProject);
  AcApDocument* a = Open("one/a.dwg");
  AcApDocument* b = Open("one/b.dwg");
  Open("two/c.dwg");
  EXPECT_EQ(DocumentPaths(registry),
            (std::vector<std::wstring>{Path("two/c.dwg"), Path("one/b.dwg"), Path("one/a.dwg")}));
  EXPECT_EQ(ProjectFolders(registry), (std::vector<std::wstring>{Path("two"), Path("one")}));
  EXPECT_EQ(gCreated, 2);
  EXPECT_EQ(CurrentDocument(&registry)->fileName(), L"c.dwg");

  acDocManagerPtr()->closeDocument(b);
  EXPECT_EQ(ProjectFolders(registry).size(), 2u);
  EXPECT_EQ(gDisconnects, 0);
  acDocManagerPtr()->closeDocument(a);
  EXPECT_EQ(ProjectFolders(registry), (std::vector<std::wstring>{Path("two")}));
  EXPECT_EQ(gDisconnects, 1);
}

TEST_F(Documents, ActivationMovesToTheHeadWithoutGrowingTheList) {
  kvDocumentRegistry registry(CountProject);
  AcApDocument* a = Open("one/a.dwg");
  Open("one/b.dwg");
  for (int i = 0; i < 2; ++i) {
    acDocManagerPtr()->activateDocument(a);
    EXPECT_EQ(DocumentPaths(registry),
              (std::vector<std::wstring>{Path("one/a.dwg"), Path("one/b.dwg")}));
  }
  // Direct calls: an unknown path is entered, removing an unknown one does nothing.
  registry.AddOrActivateDocument(L"Drawing9.dwg", nullptr);
  EXPECT_EQ(CurrentDocument(&registry)->path(), L"Drawing9.dwg");
  EXPECT_EQ(CurrentProject(&registry)->folder(), L"");
  registry.RemoveDocument(L"no such drawing");
  EXPECT_EQ(registry.documents().size(), 3u);
}

TEST_F(Documents, SaveAsMovesTheDrawingAutomaticSaveDoesNot) {
  kvDocumentRegistry registry(CountProject);
  AcApDocument* a = Open("one/a.dwg");
  ASSERT_EQ(acDocManagerPtr()->autoSaveDocument(a), Acad::eOk);
  EXPECT_EQ(DocumentPaths(registry), (std::vector<std::wstring>{Path("one/a.dwg")}));
  ASSERT_EQ(acDocManagerPtr()->saveDocument(a), Acad::eOk);
  EXPECT_EQ(DocumentPaths(registry), (std::vector<std::wstring>{Path("one/a.dwg")}));
  EXPECT_EQ(gDisconnects, 0);

  ASSERT_EQ(acDocManagerPtr()->saveDocumentAs(a, Path("two/a2.dwg").c_str()), Acad::eOk);
  EXPECT_EQ(DocumentPaths(registry), (std::vector<std::wstring>{Path("two/a2.dwg")}));
  EXPECT_EQ(ProjectFolders(registry), (std::vector<std::wstring>{Path("two")}));
  EXPECT_EQ(gDisconnects, 1);  // the old folder's only drawing left it
}

TEST_F(Documents, RegistryEntersOpenDrawingsAndLeavesNothingBehind) {
  Open("one/a.dwg");
  Open("two/b.dwg");
  {
    kvDocumentRegistry registry(CountProject);
    EXPECT_EQ(registry.documents().size(), 2u);
    EXPECT_EQ(CurrentDocument(&registry)->path(), Path("two/b.dwg"));
  }
  EXPECT_EQ(gDisconnects, 2);
  // With the registry gone its reactors are gone: events reach nothing.
  Open("one/c.dwg");
}

TEST_F(Documents, ActivationRunsTheLispLayersWorkOnlyWhenAllowedAndQuiet) {
  RecordingSession session;
  kvDocumentRegistry registry(CountProject);
  AcApDocument* a = Open("one/a.dwg");
  AcApDocument* b = Open("one/b.dwg");
  a->setLispSession(&session);
  b->setLispSession(&session);
  session.invoked.clear();
  acDocManagerPtr()->activateDocument(a);
  EXPECT_EQ(session.invoked, std::vector<std::wstring>{L"c:kv_hvac-doToDo"});

  session.invoked.clear();
  SetDoDocumentActivated(false);
  acDocManagerPtr()->activateDocument(b);
  EXPECT_TRUE(session.invoked.empty());

  SetDoDocumentActivated(true);
  a->beginActivity();
  acDocManagerPtr()->activateDocument(a);
  a->endActivity();
  EXPECT_TRUE(session.invoked.empty());
}

int gBodyRuns = 0;
AcAp::DocLockMode gLockInBody = AcAp::kNone;
// What the body saw of its project context: the context itself lives only for the call.
bool gContextInBody = false;
hvacPerProjectData* gProjectInBody = nullptr;
AcDbDatabase* gDrawingInBody = nullptr;

LispStatus LockProbe() {
  ++gBodyRuns;
  gLockInBody = acDocManagerPtr()->curDocument()->myLockMode();
  const ProjectContext* context = CurrentProjectContext();
  gContextInBody = context != nullptr;
  gProjectInBody = context ? &context->project : nullptr;
  gDrawingInBody = context ? context->drawing : nullptr;
  return LispStatus::WrongType;
}
LispStatus Throws() { throw std::runtime_error("boom"); }
LispStatus ThrowsOther() { throw 42; }

TEST_F(Documents, GuardLocksConnectsAndAlwaysUnlocks) {
  ProjectDatabasePtr file;
  VARIANT_BOOL made = VARIANT_FALSE;
  ASSERT_TRUE(SUCCEEDED(CreateProjectDatabase(file)));
  file->CreateProject(_bstr_t(Path("one/office_kv_hvac.kv").c_str()), &made);
  ASSERT_EQ(made, VARIANT_TRUE);
  file->Close(&made);
  ConsoleCapture console;
  kvDocumentRegistry registry;
  gBodyRuns = 0;
  // No document: a database function gives nil at once, says nothing and runs nothing.
  EXPECT_EQ(LispGuard(LockProbe, &registry), RSRSLT);
  EXPECT_EQ(gBodyRuns, 0);
  EXPECT_EQ(console.take(), "");

  // The body runs locked, in the context of the project the guard connected.
  AcApDocument* a = Open("one/a.dwg");
  EXPECT_EQ(LispGuard(LockProbe, &registry), RSERR);
  EXPECT_EQ(gBodyRuns, 1);
  EXPECT_EQ(gLockInBody, AcAp::kWrite);
  ASSERT_TRUE(gContextInBody);
  EXPECT_EQ(gProjectInBody, CurrentProject(&registry));
  EXPECT_EQ(gDrawingInBody, a->database());
  EXPECT_EQ(console.take(), "\nWrong type of arguments passed.\n");
  EXPECT_EQ(a->myLockMode(), AcAp::kNone);
  EXPECT_EQ(CurrentProjectContext(), nullptr);  // only for the call

  // A row that only locks runs without a project context.
  EXPECT_EQ(LispGuard(LockProbe, nullptr), RSERR);
  EXPECT_FALSE(gContextInBody);
  console.take();

  // A folder without a database: the connection prints its own failure; LISP sees nil.
  AcApDocument* b = Open("two/b.dwg");
  EXPECT_EQ(LispGuard(LockProbe, &registry), RSRSLT);
  EXPECT_EQ(gBodyRuns, 2);
  EXPECT_EQ(console.take(),
            "\nError finding the HVAC database.\nCannot connect to the HVAC database (Connection Error Code 1).");
  EXPECT_EQ(b->myLockMode(), AcAp::kNone);

  EXPECT_THROW(LispGuard(Throws, nullptr), std::runtime_error);
  EXPECT_EQ(console.take(), "\nGeneral Exception");
  EXPECT_EQ(a->myLockMode(), AcAp::kNone);
  EXPECT_THROW(LispGuard(ThrowsOther, nullptr), int);
  EXPECT_EQ(console.take(), "\nError");
  EXPECT_EQ(a->myLockMode(), AcAp::kNone);
}

TEST_F(Documents, ARegistryThatFailsToStartLeavesNoReactorBehind) {
  Open("one/a.dwg");
  auto throwing = [](hvacPerProjectData&, AcDbDatabase*) { throw std::runtime_error("boom"); };
  EXPECT_THROW(kvDocumentRegistry registry(throwing), std::runtime_error);
  // The failed registry's reactors are gone: document events after it reach nothing of it.
  Open("two/b.dwg");
  acDocManagerPtr()->closeAll();
}

TEST_F(Documents, EntryPointStepsReportWhatEscapesThem) {
  ConsoleCapture console;
  EXPECT_EQ(Shielded([] {}), AcRx::kRetOK);
  EXPECT_EQ(Shielded([] { throw std::runtime_error("boom"); }), AcRx::kRetError);
  EXPECT_EQ(console.take(), "\nGeneral Error:  boom");
  EXPECT_EQ(Shielded([] { throw 42; }), AcRx::kRetError);
  EXPECT_NE(console.take().find("\nKelvane error.\nClosing AutoCAD and reopening it should fix this problem.\n"),
            std::string::npos);
  EXPECT_EQ(Shielded([] {
              errno = 13;
              throw 42;
            }),
            AcRx::kRetError);
  EXPECT_EQ(console.take(), "\nSystem error 13.\n");
}

}  // namespace
