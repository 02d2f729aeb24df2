// Finding, opening, repairing, connecting and closing a project's database, and what the user is
// told when that fails.
#include <filesystem>
#include <fstream>

#include "database/database.h"
#include "db.h"
#include "fixture.h"

namespace {

namespace fs = std::filesystem;
using kvtest::TempFolder;

// Collects what the module prints.
class Console {
 public:
  Console() {
    kvads::setConsoleSink([this](std::string_view s) { text_ += s; });
  }
  ~Console() { kvads::setConsoleSink(nullptr); }
  std::string take() { return std::exchange(text_, std::string()); }

 private:
  std::string text_;
};

// Answers compactDatabase as the application layer does: repairs the file through a component
// (or refuses), and remembers the arguments.
class RepairingSession : public kvads::LispSession {
 public:
  RepairingSession() { kvads::setCurrentSession(this); }
  ~RepairingSession() { kvads::setCurrentSession(nullptr); }
  int defun(const ACHAR*, int) override { return RTNORM; }
  int undef(const ACHAR*, int) override { return RTNORM; }
  int invoke(const resbuf* args, resbuf** result) override {
    for (const resbuf* c = args; c; c = c->rbnext) call.push_back(c->restype == RTSTR ? c->resval.rstring : L"<nil>");
    bool repaired = false;
    if (repair) {
      ProjectDatabasePtr db;
      LONG saved = 0;
      VARIANT_BOOL ok = VARIANT_FALSE;
      repaired = SUCCEEDED(CreateProjectDatabase(db)) && SUCCEEDED(db->Repair(_bstr_t(call[1]), &saved, &ok)) &&
                 ok == VARIANT_TRUE;
    }
    *result = acutBuildList(repaired ? RTT : RTNIL, 0);
    return RTNORM;
  }
  bool repair = true;
  std::vector<std::wstring> call;
};

void Touch(const fs::path& file) { std::ofstream(file) << "x"; }

std::wstring CreateProjectFile(const fs::path& file) {
  ProjectDatabasePtr db;
  VARIANT_BOOL ok = VARIANT_FALSE;
  EXPECT_TRUE(SUCCEEDED(CreateProjectDatabase(db)));
  EXPECT_TRUE(SUCCEEDED(db->CreateProject(_bstr_t(file.wstring()), &ok)));
  EXPECT_EQ(ok, VARIANT_TRUE);
  VARIANT_BOOL done;
  db->Close(&done);
  return file.wstring();
}

TEST(FindDatabaseFile, OneCandidateOrNothing) {
  TempFolder dir;
  const std::wstring folder = dir.path().wstring();
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), L"");
  Touch(dir.path() / "office_kv_hvac.kv");
  Touch(dir.path() / "office_kv_hvac_MASTER.kv");
  Touch(dir.path() / "x_KV_HVAC_Standards.kv");
  Touch(dir.path() / "office_kv_hvac.kvx");
  Touch(dir.path() / "office_kv_elec.kv");
  fs::create_directory(dir.path() / "sub_kv_hvac.kv");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), (dir.path() / "office_kv_hvac.kv").wstring());
  // Two candidates are as good as none; the case of names does not matter.
  Touch(dir.path() / "ANNEX_KV_HVAC.KV");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), L"");
  EXPECT_EQ(FindDatabaseFile(dir.path().wstring() + L"/missing", L"kv_hvac"), L"");
}

TEST(FindDatabaseFile, KvBeforeMdbAndFiftyTwoKvFilesAreSkipped) {
  TempFolder dir;
  const std::wstring folder = dir.path().wstring();
  Touch(dir.path() / "52-KV_HVAC.kv");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), L"");
  Touch(dir.path() / "office_kv_hvac.mdb");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), (dir.path() / "office_kv_hvac.mdb").wstring());
  Touch(dir.path() / "office_kv_hvac.kv");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), (dir.path() / "office_kv_hvac.kv").wstring());
}

TEST(FindDatabaseFile, ALinkFileCompetesWithTheProjectFileUnderTheSameRules) {
  TempFolder dir;
  const std::wstring folder = dir.path().wstring();
  Touch(dir.path() / "office_kv_hvac.mdb");
  Touch(dir.path() / "office_kv_hvac_MASTER.kvlink");
  Touch(dir.path() / "52-KV_HVAC.kvlink");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), (dir.path() / "office_kv_hvac.mdb").wstring());
  Touch(dir.path() / "office_kv_hvac.KVLINK");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), (dir.path() / "office_kv_hvac.KVLINK").wstring());
  // A file and a link in one folder are two candidates, so neither counts, as for two files.
  Touch(dir.path() / "office_kv_hvac.kv");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), (dir.path() / "office_kv_hvac.mdb").wstring());
  fs::remove(dir.path() / "office_kv_hvac.mdb");
  EXPECT_EQ(FindDatabaseFile(folder, L"kv_hvac"), L"");
}

class Connection : public ::testing::Test {
 protected:
  void TearDown() override { ComSimulateCreateFailure(S_OK); }

  // A project of the temp folder (folderSuffix is appended, as a padded name would be) and one
  // document in it.
  void MakeProject(const std::wstring& folderSuffix = L"") {
    document_.reset();
    project_ = std::make_unique<hvacPerProjectData>(dir_.path().wstring() + folderSuffix);
    document_ = std::make_unique<hvacPerDocData>(dir_.path().wstring() + L"/a.dwg", *project_, nullptr);
  }
  kvProjectDatabase& State() { return DatabaseOf(*project_); }
  void TearDownProject() {
    document_.reset();
    project_.reset();
  }

  TempFolder dir_;
  Console console_;
  std::unique_ptr<hvacPerProjectData> project_;
  std::unique_ptr<hvacPerDocData> document_;
};

const char* const kNotFound =
    "\nError finding the HVAC database.\nCannot connect to the HVAC database (Connection Error Code 1).";

TEST_F(Connection, NoCandidateOrTwoCandidatesConnectNothing) {
  MakeProject();
  EXPECT_FALSE(ConnectDocument(*document_, true));
  EXPECT_EQ(console_.take(), kNotFound);
  EXPECT_EQ(State().table<tblDuct>(), nullptr);
  EXPECT_FALSE(ConnectDocument(*document_, false));
  EXPECT_EQ(console_.take(), "");

  CreateProjectFile(dir_.path() / "one_kv_hvac.kv");
  CreateProjectFile(dir_.path() / "two_kv_hvac.kv");
  EXPECT_FALSE(ConnectDocument(*document_, true));
  EXPECT_EQ(console_.take(), kNotFound);
  EXPECT_FALSE(State().connection());
}

TEST_F(Connection, ConnectsOnceWithEveryRecordObject) {
  CreateProjectFile(dir_.path() / "office_kv_hvac.kv");
  MakeProject(L"  ");  // a blank-padded folder name is trimmed before the search
  ASSERT_TRUE(ConnectDocument(*document_, true));
  EXPECT_EQ(console_.take(), "");
  EXPECT_EQ(project_->folder(), dir_.path().wstring());
  kvProjectDatabase& state = State();
  ProjectDatabase* first = state.connection().Get();
  ASSERT_TRUE(IsConnectionOpen(first));
  tblDuct* duct = state.table<tblDuct>();
  EXPECT_TRUE(duct && state.table<tblGlobal>() && state.table<tblLayer>() && state.table<tblLayerKey>() &&
              state.table<tblLayerSystem>() && state.table<tblTextStyle>() && state.table<tblDiffL>() &&
              state.table<tblDiffS>() && state.table<tblDwgDiff>() && state.table<tblLoadRoomCooling>() &&
              state.table<tblLoadRoomHeating>());
  EXPECT_TRUE(state.table<tblGlobal>()->IsMaster());
  // Everything open: the next guarded call opens nothing and keeps the record objects.
  ASSERT_TRUE(ConnectDocument(*document_, true));
  EXPECT_EQ(state.connection().Get(), first);
  EXPECT_EQ(state.table<tblDuct>(), duct);
  EXPECT_FALSE(OpenDatabase(*project_, project_->folder(), L"kv_hvac", true));
}

TEST_F(Connection, DisconnectClosesAndTheNextConnectOpensAgain) {
  CreateProjectFile(dir_.path() / "office_kv_hvac.kv");
  MakeProject();
  ASSERT_TRUE(ConnectDocument(*document_, true));
  project_->setIsMetric(true);
  ProjectDatabasePtr old = State().connection();
  DisconnectProject(*project_);
  EXPECT_EQ(State().table<tblDuct>(), nullptr);
  EXPECT_EQ(State().table<tblGlobal>(), nullptr);
  EXPECT_FALSE(IsConnectionOpen(old.Get()));
  EXPECT_EQ(State().connection().Get(), old.Get());  // kept, closed, until replaced
  EXPECT_FALSE(project_->isMetric());

  ASSERT_TRUE(ConnectDocument(*document_, true));
  EXPECT_NE(State().connection().Get(), old.Get());
  EXPECT_TRUE(IsConnectionOpen(State().connection().Get()));
  EXPECT_NE(State().table<tblDuct>(), nullptr);
  TearDownProject();  // the end of the project closes its database too
  EXPECT_EQ(console_.take(), "");
}

TEST_F(Connection, ComponentThatCannotBeMadeTellsOnlyCannotConnect) {
  CreateProjectFile(dir_.path() / "office_kv_hvac.kv");
  MakeProject();
  ComSimulateCreateFailure(REGDB_E_CLASSNOTREG);
  EXPECT_FALSE(ConnectDocument(*document_, true));
  EXPECT_EQ(console_.take(), "\nCannot connect to the HVAC database (Connection Error Code 1).");
  ComSimulateCreateFailure(S_OK);
  EXPECT_TRUE(ConnectDocument(*document_, true));
}

TEST_F(Connection, AnMdbFileIsFoundButItsOpenFailureIsReported) {
  Touch(dir_.path() / "old_kv_hvac.mdb");
  MakeProject();
  EXPECT_FALSE(ConnectDocument(*document_, true));
  const std::string text = console_.take();
  EXPECT_EQ(text.rfind("\nDatabase Error: Unrecognized database format", 0), 0u) << text;
  EXPECT_NE(text.find("Cannot connect to the HVAC database"), std::string::npos);
}

// Overwrites two pages in the middle of the file, where tblDuct's rows lie.
void DamageMiddlePages(const fs::path& file) {
  const auto pages = static_cast<std::streamoff>(fs::file_size(file) / 4096);
  std::fstream f(file, std::ios::in | std::ios::out | std::ios::binary);
  f.seekp(pages / 2 * 4096);
  std::string junk(2 * 4096, '\0');
  for (std::size_t i = 0; i < junk.size(); ++i) junk[i] = static_cast<char>((i * 7919) % 251);
  f.write(junk.data(), static_cast<std::streamsize>(junk.size()));
}

class DamagedProject : public Connection {
 protected:
  void SetUp() override {
    Connection::SetUp();
    file_ = dir_.path() / "office_kv_hvac.kv";
    CreateProjectFile(file_);
    ProjectDatabasePtr db;
    CreateProjectDatabase(db);
    _bstr_t text;
    db->Open(_bstr_t(file_.wstring()), 0, 0, text.GetAddress());
    VARIANT_BOOL ok = VARIANT_FALSE;
    db->Execute(_bstr_t(L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                        L"INSERT INTO tblDuct (WIDTH, DRAWING) SELECT i, \"plan.dwg\" FROM n"),
                &ok);
    ASSERT_EQ(ok, VARIANT_TRUE);
    db->Close(&ok);
    DamageMiddlePages(file_);
    MakeProject();
  }
  fs::path file_;
  RepairingSession lisp_;
};

TEST_F(DamagedProject, IsRepairedThroughTheLispLayerAndKeepsTheReadableRows) {
  ASSERT_TRUE(ConnectDocument(*document_, true)) << console_.take();
  EXPECT_EQ(lisp_.call, (std::vector<std::wstring>{L"compactDatabase", file_.wstring(), L"<nil>", L"Repair"}));
  tblDuct* duct = State().table<tblDuct>();
  ASSERT_TRUE(duct->FindByKey(1));
  EXPECT_EQ(duct->GetDRAWING(), L"plan.dwg");
  EXPECT_TRUE(duct->FindByKey(3000));
  EXPECT_TRUE(fs::exists(file_.string() + ".damaged"));
}

TEST_F(DamagedProject, ARefusedRepairConnectsNothing) {
  lisp_.repair = false;
  EXPECT_FALSE(ConnectDocument(*document_, true));
  EXPECT_NE(console_.take().find("Cannot connect to the HVAC database"), std::string::npos);
  EXPECT_EQ(lisp_.call.size(), 4u);
}

// The value of a setting as another connection reads it from the file.
std::wstring StoredText(const fs::path& file, const wchar_t* key) {
  ProjectDatabasePtr db;
  CreateProjectDatabase(db);
  _bstr_t opened;
  db->Open(_bstr_t(file.wstring()), 0, 0, opened.GetAddress());
  SAFEARRAY* raw = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  db->QueryRow(_bstr_t(L"select sText from tblGlobal where sKey = \"" + std::wstring(key) + L"\""), &raw, &found);
  SafeArrayPtr values(raw);
  std::wstring text;
  if (found == VARIANT_TRUE) {
    LONG at = 0;
    _variant_t v;
    SafeArrayGetElement(values.get(), &at, &v);
    if (v.vt == VT_BSTR) text = v.bstrVal;
  }
  VARIANT_BOOL done;
  db->Close(&done);
  return text;
}

// A marked drawing opens before the LISP layer can repair its project's file: the connection
// stays closed and no record object may stand on it, so that the first guarded call, which
// repairs, puts every record object on the live connection and no write is lost.
TEST_F(DamagedProject, RepairDeferredAtOpenPutsEveryRecordOnTheRepairedConnection) {
  TearDownProject();
  lisp_.repair = false;
  AcDbDatabase marked(true, true);
  kvtest::WriteMarker(&marked, L"YES");
  project_ = std::make_unique<hvacPerProjectData>(dir_.path().wstring());
  ConnectMarkedProject(*project_, &marked);
  document_ = std::make_unique<hvacPerDocData>(dir_.path().wstring() + L"/a.dwg", *project_, nullptr);
  EXPECT_FALSE(IsConnectionOpen(State().connection().Get()));
  EXPECT_EQ(State().table<tblGlobal>(), nullptr);

  lisp_.repair = true;
  ASSERT_TRUE(ConnectDocument(*document_, true)) << console_.take();
  ProjectDatabase* live = State().connection().Get();
  ASSERT_TRUE(IsConnectionOpen(live));
  EXPECT_EQ(State().table<tblGlobal>()->Connection(), live);
  EXPECT_EQ(State().table<tblLayerKey>()->Connection(), live);
  EXPECT_EQ(State().table<tblTextStyle>()->Connection(), live);
  EXPECT_TRUE(State().table<tblLayerKey>()->FindBySystemKey(0, L"DEFAULT"));
  SetGlobalText(State().table<tblGlobal>(), L"PROJECT NAME", L"Annex");
  EXPECT_EQ(GetGlobalText(State().table<tblGlobal>(), L"PROJECT NAME"), L"Annex");
  EXPECT_EQ(StoredText(file_, L"PROJECT NAME"), L"Annex");
}

class ErrorReport : public kvtest::ProjectFixture {
 protected:
  Console console_;
};

TEST_F(ErrorReport, PrintsTheLastErrorExceptNoCurrentRecord) {
  EXPECT_FALSE(ReportDatabaseError(real_));
  EXPECT_FALSE(ReportDatabaseError(nullptr));

  VARIANT_BOOL ok = VARIANT_TRUE;
  real_->Execute(_bstr_t(L"update nosuchtable set x = 1"), &ok);
  ASSERT_EQ(ok, VARIANT_FALSE);
  EXPECT_TRUE(ReportDatabaseError(real_));
  EXPECT_EQ(console_.take().rfind("\nDatabase Error: ", 0), 0u);

  real_->SetTable(_bstr_t(L"tblDuct"), _bstr_t(L""), &ok);
  real_->DeleteRecord(&ok);  // no current row: 3021, which is not told
  EXPECT_TRUE(ReportDatabaseError(real_));
  EXPECT_EQ(console_.take(), "");
}

// Reads on a closed connection find nothing, quietly; writes raise the component's error.
TEST_F(ErrorReport, WritesOnAClosedConnectionRaiseTheComponentsError) {
  tblGlobal global(real_.Get(), true);
  SetGlobalText(&global, L"KEEP", L"before");
  VARIANT_BOOL done = VARIANT_FALSE;
  real_->Close(&done);
  EXPECT_EQ(GetGlobalText(&global, L"KEEP"), L"");
  try {
    SetGlobalText(&global, L"KEEP", L"after");
    ADD_FAILURE() << "a write on a closed connection passed without a word";
  } catch (const _com_error& e) {
    EXPECT_EQ(e.Error(), PROJECTDB_E_NOTOPEN);
    EXPECT_NE(e.Description().find(L"not open"), std::wstring::npos);
  }
  global.StartEdit();
  global.SetsText(L"edited");
  EXPECT_THROW(global.Update(), _com_error);
  EXPECT_THROW(global.Delete(), _com_error);
  VARIANT_BOOL ok = VARIANT_TRUE;
  EXPECT_EQ(real_->Execute(_bstr_t(L"delete from tblGlobal"), &ok), PROJECTDB_E_NOTOPEN);
  EXPECT_EQ(ok, VARIANT_FALSE);
  EXPECT_TRUE(ReportDatabaseError(real_));
  EXPECT_EQ(console_.take().rfind("\nDatabase Error: Object invalid or no longer set", 0), 0u);
  EXPECT_EQ(StoredText(file_, L"KEEP"), L"before");
}
}  // namespace
