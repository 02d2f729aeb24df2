// Tests of project files: what a new project holds, how opening answers for files that are not
// usable, read-only views, and the repair of damaged files.
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <set>

#include "fixture.h"

namespace kvtest {
namespace {

using ProjectFile = ProjectFixture;

int columnCount(ProjectDatabase* db, const wchar_t* table) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  db->SetTable(_bstr_t(table), _bstr_t(L""), &ok);
  SAFEARRAY* out = nullptr;
  db->MoveFirst(&out, &ok);
  SafeArrayPtr row(out);
  return row ? static_cast<int>(row->rgsabound[0].cElements / 2) : -1;
}

TEST_F(ProjectFile, NewProjectHoldsSchemaIndicesAndStartingRows) {
  CreateProject();
  // Column counts of the wide tables, seen through a row each.
  ASSERT_TRUE(SetTable(L"tblDuct"));
  Add({});
  ASSERT_TRUE(SetTable(L"tblLoadRoomCooling"));
  Add({});
  ASSERT_TRUE(SetTable(L"tblLoadRoomHeating"));
  Add({});
  EXPECT_EQ(columnCount(db_.Get(), L"tblDuct"), 62);
  EXPECT_EQ(columnCount(db_.Get(), L"tblLoadRoomCooling"), 58);
  EXPECT_EQ(columnCount(db_.Get(), L"tblLoadRoomHeating"), 37);
  EXPECT_EQ(columnCount(db_.Get(), L"tblLayerSystem"), 30);
  for (auto [table, index] : {std::pair{L"tblDuct", L"distance2"}, {L"tblDwgDiff", L"iSortOrder"},
                              {L"tblLoadRoomCooling", L"ixZoneiMonthiHour"}, {L"tblLoadRoomHeating", L"ixZone"},
                              {L"tblGlobal", L"sKey"}, {L"tblLayer", L"sName"}, {L"tblTextStyle", L"sKey"},
                              {L"tblDiffSGroup", L"ixDiffSGroup"}, {L"tblDiffL", L"ixDiffL"}})
    EXPECT_TRUE(SetTable(table, index)) << WideToUtf8(table) << "." << WideToUtf8(index);

  // Every layer key has its row for all systems, the keys resolved within a layer system have
  // one for the project's own system 1 too, and every key's layer exists.
  std::set<std::wstring> keys, systemOne;
  ASSERT_TRUE(SetTable(L"tblLayerKey"));
  for (SafeArrayPtr row = First(); row; row = Next()) {
    bool forAll = Get(row.get(), L"ixLayerSystem")->vt == VT_NULL;
    if (!forAll) {
      EXPECT_EQ(GetLong(row.get(), L"ixLayerSystem"), 1);
    }
    (forAll ? keys : systemOne).insert(GetText(row.get(), L"sKey"));
    EXPECT_FALSE(Query((L"select sName from tblLayer where ixLayer = " +
                        std::to_wstring(GetLong(row.get(), L"ixLayer"))).c_str()).empty());
  }
  EXPECT_EQ(keys, (std::set<std::wstring>{L"DEFAULT", L"ROOM OUTLINES", L"ROOM LABELS", L"ROOM LEADER",
                                          L"DUCTWORK CENTERLINE: SUPPLY", L"DUCTWORK CENTERLINE: RETURN",
                                          L"DUCTWORK CENTERLINE: EXHAUST", L"DUCTWORK CENTERLINE: OUTSIDE AIR"}));
  EXPECT_EQ(systemOne, (std::set<std::wstring>{L"DEFAULT", L"DUCTWORK CENTERLINE: SUPPLY", L"DUCTWORK CENTERLINE: RETURN",
                                               L"DUCTWORK CENTERLINE: EXHAUST", L"DUCTWORK CENTERLINE: OUTSIDE AIR"}));
  ASSERT_TRUE(SetTable(L"tblLayerSystem"));
  SafeArrayPtr standard = First();
  ASSERT_TRUE(standard);
  EXPECT_EQ(GetText(standard.get(), L"sDescription"), L"Standard");
  EXPECT_FALSE(Next()) << "one layer system, and its keys above";
  EXPECT_EQ(Query(L"select sKey from tblTextStyle order by sKey").size(), 2u);
  EXPECT_EQ(Query(L"select iMonth from tblMonth").size(), 12u);
  // Options: numbers numeric, texts not; a key per month and per air system.
  ASSERT_TRUE(SetTable(L"tblGlobal", L"sKey"));
  SafeArrayPtr radius = Seek(_variant_t(L"ELBOW RADIUS"));
  ASSERT_TRUE(radius);
  EXPECT_EQ(Get(radius.get(), L"bNumeric")->boolVal, VARIANT_TRUE);
  EXPECT_DOUBLE_EQ(Get(radius.get(), L"dNumber")->dblVal, 1.5);
  SafeArrayPtr arrows = Seek(_variant_t(L"REVERSEARROWS"));
  EXPECT_EQ(GetText(arrows.get(), L"sText"), L"NO");
  EXPECT_EQ(Get(arrows.get(), L"dNumber")->vt, VT_NULL);
  EXPECT_TRUE(Seek(_variant_t(L"DCONN-CLGSHAPE-OUTSIDE")));
  EXPECT_TRUE(Seek(_variant_t(L"bldg-calculateMonth11")));
  EXPECT_TRUE(Seek(_variant_t(L"AUTOFIT-RD4")));
}

// A project file from before the application's tables existed gets them, empty, when it is next
// opened for writing; its own rows stay, and a table it already has (an older tblKvTree with the
// tree name as its key) is left as it was.
TEST_F(ProjectFile, OlderFileGainsMissingTablesOnOpenAndKeepsItsRows) {
  KV_FILE_BACK_END_ONLY();
  CreateProject();
  ASSERT_TRUE(Execute(L"DROP TABLE tblRoomUse; DROP TABLE tblRoomSurface; DROP TABLE tblDesign; DROP TABLE tblKvTree"));
  ASSERT_TRUE(Execute(L"CREATE TABLE tblKvTree (sName TEXT PRIMARY KEY, sTree TEXT)"));
  ASSERT_TRUE(Execute(L"INSERT INTO tblKvTree (sName, sTree) VALUES ('zone', '((\"Zone 1\" . 1))')"));
  ASSERT_TRUE(Execute(L"INSERT INTO tblRoomL (ixRoomL, sName) VALUES (7, 'Lobby')"));
  VARIANT_BOOL closed = VARIANT_FALSE;
  db_->Close(&closed);
  EXPECT_EQ(Open(), Utf8ToWide(file_));
  for (const wchar_t* table : {L"tblRoomUse", L"tblRoomSurface", L"tblDesign"})
    EXPECT_TRUE(Query((std::wstring(L"select count(*) from ") + table).c_str()).size() == 1u) << WideToUtf8(table);
  EXPECT_TRUE(SetTable(L"tblRoomUse", L"ixRoomL"));
  EXPECT_EQ(Query(L"select sName from tblRoomL where ixRoomL = 7").size(), 1u);
  EXPECT_EQ(Query(L"select sTree from tblKvTree where sName = 'zone'").size(), 1u);
  EXPECT_TRUE(Execute(L"INSERT OR REPLACE INTO tblKvTree (sName, sTree) VALUES ('zone', '()')"));
  EXPECT_EQ(Query(L"select sTree from tblKvTree").size(), 1u);
}

TEST_F(ProjectFile, CreateRefusesExistingFileAndMissingFolder) {
  CreateProject();
  ProjectDatabasePtr second;
  ASSERT_EQ(CreateProjectDatabase(second), S_OK);
  VARIANT_BOOL ok = VARIANT_TRUE;
  ASSERT_EQ(second->CreateProject(_bstr_t(Utf8ToWide(file_)), &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_FALSE);
  EXPECT_EQ(LastError(second.Get()).first, 3049);
  ASSERT_EQ(second->CreateProject(_bstr_t(Utf8ToWide((folder_ / "no" / "x_kv_hvac.kv").string())), &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_FALSE);
  EXPECT_EQ(LastError(second.Get()).first, 3024);
  // The first project is untouched and still opens.
  EXPECT_NE(Open(second.Get()), L"");
}

TEST_F(ProjectFile, OpenAnswersEmptyWithAClearErrorForUnusableFiles) {
  EXPECT_EQ(Open(), L"");
  EXPECT_EQ(LastError().first, 3024);

  file_ = (folder_ / "office_kv_hvac.mdb").string();
  std::ofstream(file_, std::ios::binary) << std::string("\0\1\0\0Standard Jet DB\0", 20) << std::string(2000, 'x');
  EXPECT_EQ(Open(), L"");
  auto [code, text] = LastError();
  EXPECT_EQ(code, 3343);
  EXPECT_NE(text.find(L"Access (.mdb)"), std::wstring::npos);

  file_ = (folder_ / "notes_kv_hvac.kv").string();
  std::ofstream(file_) << "just some text, not a database at all";
  EXPECT_EQ(Open(), L"");
  EXPECT_EQ(LastError().first, 3049);
}

TEST_F(ProjectFile, OpenViewTellsReadOnlyFiles) {
  CreateProject();
  VARIANT_BOOL done;
  db_->Close(&done);
  VARIANT_BOOL readOnly = VARIANT_TRUE, ok = VARIANT_FALSE;
  ASSERT_EQ(db_->OpenView(_bstr_t(Utf8ToWide(file_)), &readOnly, &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_TRUE);
  EXPECT_EQ(readOnly, VARIANT_FALSE);
  db_->Close(&done);

  ::chmod(file_.c_str(), 0444);
  ASSERT_EQ(db_->OpenView(_bstr_t(Utf8ToWide(file_)), &readOnly, &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_TRUE);
  EXPECT_EQ(readOnly, VARIANT_TRUE);
  EXPECT_EQ(Query(L"select sKey from tblGlobal where sKey = \"TOP CON\"").size(), 1u);
  ::chmod(file_.c_str(), 0644);
}

std::string fileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A file made before the explorer's indices existed: a view leaves it untouched (even one that
// could write), the first open for writing adds what the file can hold, and no row is lost.
TEST_F(ProjectFile, AnOlderFileGetsTheMissingIndicesWhenOpenedForWriting) {
  KV_FILE_BACK_END_ONLY();
  CreateProject();
  ASSERT_TRUE(Execute(L"INSERT INTO tblDuct (DRAWING, AIRFLOW) VALUES (\"a.dwg\", \"sa\"), (\"b.dwg\", \"ra\")"));
  ASSERT_TRUE(Execute(L"DROP INDEX tblDuct__bDeletedAIRFLOWDRAWING"));
  ASSERT_TRUE(Execute(L"DROP INDEX tblDuct__bDeletedDRAWINGAIRFLOW"));
  // An older tblDiffL without DRAWING: its index has nothing to stand on and stays out.
  ASSERT_TRUE(Execute(L"DROP INDEX tblDiffL__bDeletedixDiffSDRAWING"));
  ASSERT_TRUE(Execute(L"ALTER TABLE tblDiffL DROP COLUMN DRAWING"));
  VARIANT_BOOL done;
  db_->Close(&done);
  const auto indexCount = [this] {
    return Query(L"select name from sqlite_schema where type = 'index' and name like 'tbl%__bDeleted%'").size();
  };

  const std::string before = fileBytes(file_);
  for (mode_t mode : {0644, 0444}) {
    ::chmod(file_.c_str(), mode);
    VARIANT_BOOL readOnly = VARIANT_FALSE, ok = VARIANT_FALSE;
    ASSERT_EQ(db_->OpenView(_bstr_t(Utf8ToWide(file_)), &readOnly, &ok), S_OK);
    ASSERT_EQ(ok, VARIANT_TRUE);
    EXPECT_EQ(indexCount(), 0u);
    db_->Close(&done);
    EXPECT_EQ(fileBytes(file_), before);
  }
  ::chmod(file_.c_str(), 0644);

  ASSERT_NE(Open(), L"");
  EXPECT_EQ(indexCount(), 2u);
  EXPECT_TRUE(SetTable(L"tblDuct", L"bDeletedAIRFLOWDRAWING"));
  EXPECT_FALSE(SetTable(L"tblDiffL", L"bDeletedixDiffSDRAWING"));
  EXPECT_EQ(Query(L"select DRAWING from tblDuct where AIRFLOW = \"ra\" and bDeleted = 0").size(), 1u);
  EXPECT_EQ(Query(L"select ixDuct from tblDuct").size(), 2u);
  db_->Close(&done);
  // Opened again, nothing is left to add and the file stays as it is.
  const std::string after = fileBytes(file_);
  ASSERT_NE(Open(), L"");
  db_->Close(&done);
  EXPECT_EQ(fileBytes(file_), after);
}

// Overwrites a stretch of pages in the middle of the file, where the bulk of tblDuct lies.
void damagePages(const std::string& file, int firstPage, int pages) {
  std::fstream f(file, std::ios::in | std::ios::out | std::ios::binary);
  f.seekp(static_cast<std::streamoff>(firstPage) * 4096);
  std::string junk(static_cast<std::size_t>(pages) * 4096, '\0');
  for (std::size_t i = 0; i < junk.size(); ++i) junk[i] = static_cast<char>((i * 7919) % 251);
  f.write(junk.data(), static_cast<std::streamsize>(junk.size()));
}

TEST_F(ProjectFile, DamagedPagesAskForRepairAndRepairKeepsReadableRows) {
  KV_FILE_BACK_END_ONLY();
  CreateProject();
  ASSERT_TRUE(SetTable(L"tblDuct"));
  ASSERT_TRUE(Execute(L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                      "INSERT INTO tblDuct (WIDTH, DRAWING) SELECT i, \"plan.dwg\" FROM n"));
  VARIANT_BOOL done;
  db_->Close(&done);
  auto pages = static_cast<int>(std::filesystem::file_size(file_) / 4096);
  ASSERT_GT(pages, 20);
  damagePages(file_, pages / 2, 2);

  EXPECT_EQ(Open(), L"*REPAIR*");
  VARIANT_BOOL open = VARIANT_TRUE;
  db_->IsOpen(&open);
  EXPECT_EQ(open, VARIANT_FALSE);

  LONG saved = 0;
  VARIANT_BOOL ok = VARIANT_FALSE;
  ASSERT_EQ(db_->Repair(_bstr_t(Utf8ToWide(file_)), &saved, &ok), S_OK);
  ASSERT_EQ(ok, VARIANT_TRUE) << WideToUtf8(LastError().second);
  EXPECT_TRUE(std::filesystem::exists(file_ + ".damaged"));
  ASSERT_NE(Open(), L"");
  ASSERT_NE(Open(), L"*REPAIR*");
  std::vector<_variant_t> widths = Query(L"select WIDTH from tblDuct order by ixDuct");
  // Some rows were on the damaged pages; those before and after them survive with their keys.
  EXPECT_GT(widths.size(), 2500u);
  EXPECT_LT(widths.size(), 3000u);
  EXPECT_GT(saved, static_cast<LONG>(widths.size()));  // the other tables' rows count too
  std::vector<_variant_t> keys = Query(L"select ixDuct from tblDuct order by ixDuct");
  EXPECT_EQ(keys.front().lVal, 1);
  EXPECT_EQ(keys.back().lVal, 3000);
  for (std::size_t i = 0; i < keys.size(); ++i) EXPECT_DOUBLE_EQ(widths[i].dblVal, keys[i].lVal);
  // The project is whole again: options and layers are there, new keys go on after the old ones.
  EXPECT_EQ(Query(L"select sKey from tblGlobal where sKey = \"ELBOW RADIUS\"").size(), 1u);
  ASSERT_TRUE(SetTable(L"tblDuct"));
  EXPECT_EQ(GetLong(Add({}).get(), L"ixDuct"), 3001);
}

TEST_F(ProjectFile, RepairOfMissingOrAccessFileFails) {
  KV_FILE_BACK_END_ONLY();
  LONG saved = 0;
  VARIANT_BOOL ok = VARIANT_TRUE;
  ASSERT_EQ(db_->Repair(_bstr_t(Utf8ToWide(file_)), &saved, &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_FALSE);
  EXPECT_EQ(LastError().first, 3024);
  std::string mdb = (folder_ / "x_kv_hvac.mdb").string();
  std::ofstream(mdb) << "x";
  ASSERT_EQ(db_->Repair(_bstr_t(Utf8ToWide(mdb)), &saved, &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_FALSE);
  EXPECT_EQ(LastError().first, 3343);
}

}  // namespace
}  // namespace kvtest
