// Tests of one connection's operations: rows in and out, seeks, index-order walks, SQL, errors.
#include <algorithm>

#include "fixture.h"

namespace kvtest {
namespace {

class Connection : public ProjectFixture {
 protected:
  void SetUp() override {
    ProjectFixture::SetUp();
    CreateProject();
  }
};

TEST_F(Connection, AddAssignsKeyAndAnswersWholeStoredRow) {
  ASSERT_TRUE(SetTable(L"tblDuct", L"ixDuct"));
  // A key given by the caller is ignored: the database owns it.
  SafeArrayPtr first = Add({{L"ixDuct", _variant_t(500)}, {L"WIDTH", _variant_t(12.0)}, {L"AIRFLOW", _variant_t(L"sa")}});
  SafeArrayPtr second = Add({{L"CFM", _variant_t(250)}, {L"bDeleted", _variant_t(short(-1))}});
  ASSERT_TRUE(first && second);
  EXPECT_EQ(GetLong(first.get(), L"ixDuct"), 1);
  EXPECT_EQ(GetLong(second.get(), L"ixDuct"), 2);
  EXPECT_EQ(first->rgsabound[0].cElements, 2u * 62);
  EXPECT_EQ(GetText(first.get(), L"AIRFLOW"), L"sa");
  // Unset numbers start at 0, unset texts are null, flags come back as VT_BOOL.
  EXPECT_EQ(Get(first.get(), L"DEPTH")->vt, VT_R8);
  EXPECT_EQ(Get(first.get(), L"FIT1")->vt, VT_NULL);
  EXPECT_EQ(Get(second.get(), L"bDeleted")->vt, VT_BOOL);
  EXPECT_EQ(Get(second.get(), L"bDeleted")->boolVal, VARIANT_TRUE);
  EXPECT_EQ(Get(first.get(), L"bDeleted")->boolVal, VARIANT_FALSE);
}

TEST_F(Connection, UpdateAndDeleteWorkOnTheCurrentRowOnly) {
  ASSERT_TRUE(SetTable(L"tblDuct", L"ixDuct"));
  for (int i = 0; i < 3; ++i) Add({{L"WIDTH", _variant_t(10.0 + i)}});
  SafeArrayPtr row = Seek(_variant_t(2));
  ASSERT_TRUE(row);
  SAFEARRAY* out = nullptr;
  VARIANT_BOOL ok = VARIANT_FALSE;
  // CFM keeps a fraction; the reader truncates, not the store.
  SafeArrayPtr change = MakeRow({{L"CFM", _variant_t(99.75)}, {L"FIT1", _variant_t(L"x  ")}});
  ASSERT_EQ(db_->UpdateRecord(change.get(), &out, &ok), S_OK);
  SafeArrayPtr updated(out);
  ASSERT_EQ(ok, VARIANT_TRUE);
  EXPECT_DOUBLE_EQ(Get(updated.get(), L"CFM")->dblVal, 99.75);
  EXPECT_EQ(GetText(updated.get(), L"FIT1"), L"x  ");  // trimming is the reader's business
  EXPECT_DOUBLE_EQ(Get(updated.get(), L"WIDTH")->dblVal, 11.0);

  ASSERT_EQ(db_->DeleteRecord(&ok), S_OK);
  EXPECT_EQ(ok, VARIANT_TRUE);
  // The deleted row is no longer current: a second delete or an update has no current record.
  ASSERT_EQ(db_->DeleteRecord(&ok), S_OK);
  EXPECT_EQ(ok, VARIANT_FALSE);
  EXPECT_EQ(LastError().first, 3021);
  ASSERT_EQ(db_->UpdateRecord(change.get(), &out, &ok), S_OK);
  EXPECT_EQ(LastError().first, 3021);
  // A walk goes on after the deleted row.
  SafeArrayPtr after = Next();
  ASSERT_TRUE(after);
  EXPECT_EQ(GetLong(after.get(), L"ixDuct"), 3);
  EXPECT_FALSE(Seek(_variant_t(2)));
  EXPECT_TRUE(Eof());
}

TEST_F(Connection, WalkFollowsIndexOrderAcrossBatchesAndTies) {
  ASSERT_TRUE(SetTable(L"tblDuct"));
  // 700 rows, DISTANCE1 descending with runs of ties, so batches end inside runs.
  for (int i = 0; i < 700; ++i) Add({{L"DISTANCE1", _variant_t(1000 - (i / 7))}});
  ASSERT_TRUE(SetTable(L"tblDuct", L"distance1"));
  std::vector<LONG> keys = Scan(L"ixDuct");
  ASSERT_EQ(keys.size(), 700u);
  std::vector<LONG> expected;
  for (int run = 99; run >= 0; --run)
    for (int k = 1; k <= 7; ++k) expected.push_back(run * 7 + k);
  EXPECT_EQ(keys, expected);
  EXPECT_TRUE(Eof());
  // Moving on past the end is the caller's mistake, reported as no current record.
  EXPECT_FALSE(Next());
  EXPECT_EQ(LastError().first, 3021);
  // "" keeps distance1 in force; naming the key index goes back to key order.
  ASSERT_TRUE(SetTable(L"tblDuct", L""));
  EXPECT_EQ(GetLong(First().get(), L"ixDuct"), 694);
  ASSERT_TRUE(SetTable(L"tblDuct", L"ixDuct"));
  EXPECT_EQ(GetLong(First().get(), L"ixDuct"), 1);
  EXPECT_FALSE(SetTable(L"tblDuct", L"noSuchIndex"));
  EXPECT_EQ(LastError().first, 3800);
}

TEST_F(Connection, CursorsArePerTableAndSeeOwnWrites) {
  ASSERT_TRUE(SetTable(L"tblDuct"));
  for (int i = 0; i < 40; ++i) Add({{L"DISTANCE1", _variant_t(i)}});
  ASSERT_TRUE(SetTable(L"tblMonth", L"iMonth"));
  ASSERT_TRUE(First());
  ASSERT_TRUE(SetTable(L"tblDuct", L"ixDuct"));
  ASSERT_TRUE(First());
  ASSERT_TRUE(Next());
  // Another table's walk leaves this one where it was.
  ASSERT_TRUE(SetTable(L"tblMonth"));
  EXPECT_EQ(GetLong(Next().get(), L"iMonth"), 1);
  ASSERT_TRUE(SetTable(L"tblDuct"));
  EXPECT_EQ(GetLong(Next().get(), L"ixDuct"), 3);
  // A row deleted by SQL ahead of the walk is not met again.
  ASSERT_TRUE(Execute(L"DELETE FROM tblDuct WHERE ixDuct = 4"));
  EXPECT_EQ(GetLong(Next().get(), L"ixDuct"), 5);
}

TEST_F(Connection, SeeksOnTwoAndThreeColumnsWithNullMatchingNull) {
  ASSERT_TRUE(SetTable(L"tblLayerKey"));
  Add({{L"ixLayerSystem", _variant_t(3)}, {L"ixLayer", _variant_t(2)}, {L"sKey", _variant_t(L"ROOM OUTLINES")}});
  ASSERT_TRUE(SetTable(L"tblLayerKey", L"isxLayerSystemKey"));
  SAFEARRAY* out = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ASSERT_EQ(db_->Seek2(_variant_t::Null(), _variant_t(L"ROOM OUTLINES"), &out, &found), S_OK);
  SafeArrayPtr forAll(out);
  ASSERT_EQ(found, VARIANT_TRUE);
  EXPECT_EQ(Get(forAll.get(), L"ixLayerSystem")->vt, VT_NULL);
  ASSERT_EQ(db_->Seek2(_variant_t(3), _variant_t(L"ROOM OUTLINES"), &out, &found), S_OK);
  SafeArrayPtr forThree(out);
  EXPECT_EQ(GetLong(forThree.get(), L"ixLayerSystem"), 3);
  ASSERT_EQ(db_->Seek2(_variant_t(4), _variant_t(L"ROOM OUTLINES"), &out, &found), S_OK);
  EXPECT_EQ(found, VARIANT_FALSE);
  // The walk over an index with nulls holds every row, nulls first.
  std::vector<LONG> systems;
  for (SafeArrayPtr row = First(); row; row = Next())
    systems.push_back(Get(row.get(), L"ixLayerSystem")->vt == VT_NULL ? 0 : GetLong(row.get(), L"ixLayerSystem"));
  EXPECT_EQ(systems.size(), 14u) << "eight keys for all systems, five for system 1, the row added";
  EXPECT_TRUE(std::is_sorted(systems.begin(), systems.end()));

  ASSERT_TRUE(SetTable(L"tblLoadRoomCooling"));
  Add({{L"ixZone", _variant_t(12)}, {L"iMonth", _variant_t(7)}, {L"iHour", _variant_t(15)}, {L"dRoof", _variant_t(1.0)}});
  Add({{L"ixRoomL", _variant_t(12)}, {L"iMonth", _variant_t(7)}, {L"iHour", _variant_t(15)}, {L"dRoof", _variant_t(2.0)}});
  ASSERT_TRUE(SetTable(L"tblLoadRoomCooling", L"ixRoomLiMonthiHour"));
  ASSERT_EQ(db_->Seek3(_variant_t(12), _variant_t(7), _variant_t(15), &out, &found), S_OK);
  SafeArrayPtr room(out);
  ASSERT_EQ(found, VARIANT_TRUE);
  EXPECT_DOUBLE_EQ(Get(room.get(), L"dRoof")->dblVal, 2.0);
  // More keys than the index has columns is a malformed call.
  ASSERT_TRUE(SetTable(L"tblLoadRoomCooling", L"ixLoadRoomCooling"));
  EXPECT_EQ(db_->Seek2(_variant_t(1), _variant_t(1), &out, &found), E_INVALIDARG);
}

TEST_F(Connection, WalkOnThreeColumnsGoesOnFromASeekThroughNulls) {
  ASSERT_TRUE(SetTable(L"tblLoadRoomCooling"));
  // Zone rows leave ixRoomL null; they sort before every room, by month and hour.
  struct Row { int room, month, hour; };
  const Row rows[] = {{2, 6, 14}, {0, 7, 15}, {1, 7, 15}, {0, 6, 16}, {1, 6, 15}, {0, 7, 15}, {2, 6, 13}};
  for (const Row& r : rows) {
    std::vector<Field> fields = {{L"iMonth", _variant_t(r.month)}, {L"iHour", _variant_t(r.hour)}};
    fields.push_back(r.room ? Field{L"ixRoomL", _variant_t(r.room)} : Field{L"ixZone", _variant_t(9)});
    Add(fields);
  }
  ASSERT_TRUE(SetTable(L"tblLoadRoomCooling", L"ixRoomLiMonthiHour"));
  EXPECT_EQ(Scan(L"ixLoadRoomCooling"), (std::vector<LONG>{4, 2, 6, 5, 3, 7, 1}));
  SAFEARRAY* out = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ASSERT_EQ(db_->Seek3(_variant_t::Null(), _variant_t(7), _variant_t(15), &out, &found), S_OK);
  SafeArrayPtr zone(out);
  ASSERT_EQ(found, VARIANT_TRUE);
  EXPECT_EQ(GetLong(zone.get(), L"ixLoadRoomCooling"), 2);
  // Two rows on: past the tie (row 6) to the first room (row 5).
  ASSERT_EQ(db_->MoveNext(2, &out, &found), S_OK);
  SafeArrayPtr room(out);
  EXPECT_EQ(GetLong(room.get(), L"ixLoadRoomCooling"), 5);
  // A seek on the leading column alone finds the first row of that room.
  EXPECT_EQ(GetLong(Seek(_variant_t(2)).get(), L"ixLoadRoomCooling"), 7);
}

// Rows share their column names with the table: a row kept past the connection still reads
// them, and a row given back as input names its fields as it was read.
TEST_F(Connection, RowsKeepTheirNamesPastTheConnection) {
  ASSERT_TRUE(SetTable(L"tblDuct"));
  Add({{L"DRAWING", _variant_t(L"a.dwg")}});
  SafeArrayPtr first = First();
  SafeArrayPtr again = First();
  ASSERT_TRUE(first && again);
  auto* items = static_cast<VARIANT*>(first->pvData);
  auto* other = static_cast<VARIANT*>(again->pvData);
  ASSERT_EQ(items[0].vt, VT_BSTR);
  EXPECT_EQ(std::wstring(items[0].bstrVal), L"ixDuct");
  EXPECT_EQ(std::wstring(other[0].bstrVal), L"ixDuct");
  again.reset();
  SAFEARRAY* out = nullptr;
  VARIANT_BOOL ok = VARIANT_FALSE;
  ASSERT_EQ(db_->AddRecord(first.get(), 0, &out, &ok), S_OK);
  EXPECT_EQ(ok, VARIANT_TRUE) << "a row read is a row that can be written";
  SafeArrayPtr added(out);
  EXPECT_EQ(GetLong(added.get(), L"ixDuct"), 2) << "the key column is the database's";
  db_.Reset();
  EXPECT_EQ(std::wstring(items[0].bstrVal), L"ixDuct");
  EXPECT_EQ(SysStringLen(items[0].bstrVal), 6u);
}

TEST_F(Connection, SqlInTheAccessDialectRunsAsWritten) {
  std::vector<_variant_t> months = Query(L"select iMonth from tblMonth where bDoCalculation = -1 order by iMonth");
  ASSERT_EQ(months.size(), 3u);
  EXPECT_EQ(months[0].lVal, 6);
  ASSERT_TRUE(SetTable(L"tblDuct"));
  Add({{L"AIRFLOW", _variant_t(L"sa")}, {L"DRAWING", _variant_t(L"a \"b\" 'c'.dwg")}});
  Add({{L"AIRFLOW", _variant_t(L"ra")}, {L"DRAWING", _variant_t(L"other.dwg")}});
  // A double-quoted literal that names a column stays a literal.
  EXPECT_TRUE(Execute(L"update tblDuct set AIRFLOW = \"DRAWING\" where DRAWING = \"a \"\"b\"\" 'c'.dwg\""));
  std::vector<_variant_t> ducts = Query(L"Select ixDuct from tblDuct where AIRFLOW = \"DRAWING\" and bDeleted = False");
  ASSERT_EQ(ducts.size(), 1u);
  EXPECT_EQ(ducts[0].lVal, 1);
  EXPECT_EQ(Query(L"Select [ixDuct] from tblDuct where AIRFLOW = \"zz\"").size(), 0u);
  // Quotes of either kind inside literals, True/False only as whole words, case of keywords.
  std::vector<_variant_t> texts = Query(L"select \"it's\" union all select 'say \"hi\"' union all select 'TRUE story'");
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(std::wstring(texts[0].bstrVal), L"it's");
  EXPECT_EQ(std::wstring(texts[1].bstrVal), L"say \"hi\"");
  EXPECT_EQ(std::wstring(texts[2].bstrVal), L"TRUE story");
  EXPECT_EQ(Query(L"select TRUE + false")[0].lVal, -1);
  EXPECT_EQ(Query(L"select count(*) as trueCount from tblDuct where AIRFLOW = 'ra'")[0].lVal, 1);
  // Text compares exactly, case included, in SQL as in seeks.
  EXPECT_EQ(Query(L"select ixDuct from tblDuct where DRAWING = \"OTHER.DWG\"").size(), 0u);
  EXPECT_EQ(Query(L"select ixDuct from tblDuct where DRAWING = \"other.dwg\"").size(), 1u);
  // Failures are reported through the error slots, never as a failing call.
  EXPECT_FALSE(Execute(L"update tblNothing set x = 1"));
  EXPECT_EQ(LastError().first, 3078);
  EXPECT_TRUE(Query(L"select nope from tblDuct").empty());
  EXPECT_EQ(LastError().first, 3265);
  EXPECT_TRUE(Query(L"selec 1").empty());
  EXPECT_EQ(LastError().first, 3075);
  EXPECT_TRUE(Query(L"select 1").size() == 1);
  EXPECT_EQ(LastError().first, 0);  // the next call clears the error
}

// INSERT OR REPLACE removes every row the new one meets on any unique key, then inserts it whole:
// columns it does not list are not kept from a replaced row but take their defaults.
TEST_F(Connection, InsertOrReplaceRemovesEveryConflictingRowAndKeepsNoUnlistedColumn) {
  ASSERT_TRUE(Execute(L"INSERT INTO tblGlobal (ixGlobal, sKey, bNumeric, sText, dNumber) VALUES (900, 'K1', 0, 'one', 5); "
                      L"INSERT INTO tblGlobal (ixGlobal, sKey, bNumeric, sText) VALUES (901, 'K2', 0, 'two')"));
  long before = Query(L"select count(*) from tblGlobal")[0].lVal;
  // Meets row 900 on the key and row 901 on sKey: both go, one row comes.
  ASSERT_TRUE(Execute(L"INSERT OR REPLACE INTO tblGlobal (ixGlobal, sKey, bNumeric) VALUES (900, 'K2', -1)"));
  EXPECT_EQ(Query(L"select count(*) from tblGlobal")[0].lVal, before - 1);
  std::vector<_variant_t> key = Query(L"select sKey from tblGlobal where ixGlobal = 900");
  ASSERT_EQ(key.size(), 1u);
  EXPECT_EQ(std::wstring(key[0].bstrVal), L"K2");
  EXPECT_EQ(Query(L"select ixGlobal from tblGlobal where sKey = 'K1' or ixGlobal = 901").size(), 0u);
  EXPECT_EQ(Query(L"select sText from tblGlobal where ixGlobal = 900")[0].vt, VT_NULL);
  EXPECT_EQ(Query(L"select dNumber from tblGlobal where ixGlobal = 900")[0].vt, VT_NULL);
  // Meeting nothing, it is a plain insert; meeting on the text key alone, the new row has a new key.
  ASSERT_TRUE(Execute(L"INSERT OR REPLACE INTO tblGlobal (sKey, bNumeric, sText) VALUES ('K3', 0, 'three')"));
  ASSERT_TRUE(Execute(L"INSERT OR REPLACE INTO tblGlobal (sKey, bNumeric) VALUES ('K2', 0)"));
  EXPECT_EQ(Query(L"select count(*) from tblGlobal")[0].lVal, before);
  EXPECT_EQ(Query(L"select ixGlobal from tblGlobal where ixGlobal = 900").size(), 0u);
  EXPECT_EQ(Query(L"select sText from tblGlobal where sKey = 'K2'")[0].vt, VT_NULL);
  // Values are stored as a plain insert would store them: a quoted number in a number column.
  ASSERT_TRUE(Execute(L"INSERT OR REPLACE INTO tblGlobal (ixGlobal, sKey, bNumeric, dNumber) VALUES ('950', 'K4', '0', '2.5')"));
  std::vector<_variant_t> number = Query(L"select dNumber from tblGlobal where ixGlobal = 950");
  ASSERT_EQ(number.size(), 1u);
  EXPECT_EQ(number[0].vt, VT_R8);
  EXPECT_EQ(number[0].dblVal, 2.5);
  // New rows that meet each other: the last one given stays.
  ASSERT_TRUE(Execute(L"INSERT OR REPLACE INTO tblGlobal (sKey, bNumeric, sText) VALUES ('K5', 0, 'a'), ('K6', 0, 'b'), "
                      L"('K5', 0, 'c')"));
  std::vector<_variant_t> k5 = Query(L"select sText from tblGlobal where sKey = 'K5'");
  ASSERT_EQ(k5.size(), 1u);
  EXPECT_EQ(std::wstring(k5[0].bstrVal), L"c");
  EXPECT_EQ(Query(L"select sText from tblGlobal where sKey = 'K6'").size(), 1u);
  // Several statements with a replace among them still commit together or not at all.
  EXPECT_FALSE(Execute(L"INSERT OR REPLACE INTO tblGlobal (sKey, bNumeric) VALUES ('K3', 0); update tblNothing set x = 1"));
  EXPECT_EQ(std::wstring(Query(L"select sText from tblGlobal where sKey = 'K3'")[0].bstrVal), L"three");
}

TEST_F(Connection, MalformedCallsFailAndDatabaseErrorsAreRecorded) {
  ASSERT_TRUE(SetTable(L"tblDuct"));
  SAFEARRAY* out = nullptr;
  VARIANT_BOOL ok = VARIANT_FALSE;
  SafeArrayPtr odd(SafeArrayCreateVector(VT_VARIANT, 0, 3));
  EXPECT_EQ(db_->AddRecord(odd.get(), 0, &out, &ok), E_INVALIDARG);
  EXPECT_EQ(db_->AddRecord(nullptr, 0, &out, &ok), E_INVALIDARG);
  EXPECT_EQ(db_->MoveFirst(nullptr, &ok), E_POINTER);
  EXPECT_EQ(db_->MoveNext(-1, &out, &ok), E_NOTIMPL);
  EXPECT_FALSE(Add({{L"NOSUCHFIELD", _variant_t(1)}}));
  EXPECT_EQ(LastError().first, 3265);
  VARIANT_BOOL has = VARIANT_FALSE;
  db_->HasError(&has);
  EXPECT_EQ(has, VARIANT_TRUE);
  EXPECT_FALSE(SetTable(L"tblNoSuchTable"));
  EXPECT_EQ(LastError().first, 3078);
  // A settings key is unique: a second row for it is refused.
  ASSERT_TRUE(SetTable(L"tblGlobal"));
  EXPECT_FALSE(Add({{L"sKey", _variant_t(L"ELBOW RADIUS")}}));
  EXPECT_EQ(LastError().first, 3022);
  db_->Close(&ok);
  EXPECT_FALSE(SetTable(L"tblDuct"));
  EXPECT_EQ(LastError().first, 3420);
  db_->IsOpen(&ok);
  EXPECT_EQ(ok, VARIANT_FALSE);
}

// Keys differing only in case are two keys: a seek finds only its own, and the unique index of
// the settings takes both.
TEST_F(Connection, TextKeysAreExactCaseIncluded) {
  ASSERT_TRUE(SetTable(L"tblGlobal", L"sKey"));
  EXPECT_TRUE(Seek(_variant_t(L"ELBOW RADIUS")));
  EXPECT_FALSE(Seek(_variant_t(L"Elbow Radius")));
  EXPECT_TRUE(Add({{L"sKey", _variant_t(L"Elbow Radius")}, {L"sText", _variant_t(L"mine")}}));
  SafeArrayPtr mine = Seek(_variant_t(L"Elbow Radius"));
  ASSERT_TRUE(mine);
  EXPECT_EQ(GetText(mine.get(), L"sText"), L"mine");
  SafeArrayPtr theirs = Seek(_variant_t(L"ELBOW RADIUS"));
  ASSERT_TRUE(theirs);
  EXPECT_DOUBLE_EQ(Get(theirs.get(), L"dNumber")->dblVal, 1.5);
  ASSERT_TRUE(SetTable(L"tblLayerKey", L"isxLayerSystemKey"));
  SAFEARRAY* out = nullptr;
  VARIANT_BOOL found = VARIANT_TRUE;
  ASSERT_EQ(db_->Seek2(_variant_t::Null(), _variant_t(L"room outlines"), &out, &found), S_OK);
  EXPECT_EQ(found, VARIANT_FALSE);
}

TEST_F(Connection, EofAndBofOnEmptyAndFreshTables) {
  ASSERT_TRUE(SetTable(L"tblDiffS"));
  EXPECT_TRUE(Eof());
  VARIANT_BOOL bof = VARIANT_FALSE;
  db_->IsBof(&bof);
  EXPECT_EQ(bof, VARIANT_TRUE);
  EXPECT_FALSE(First());
  EXPECT_TRUE(Eof());
  ASSERT_TRUE(SetTable(L"tblMonth"));
  EXPECT_FALSE(Eof());
  ASSERT_TRUE(First());
  db_->IsBof(&bof);
  EXPECT_EQ(bof, VARIANT_FALSE);
}

TEST_F(Connection, TwoConnectionsSeeEachOthersCommittedRows) {
  ProjectDatabasePtr other;
  ASSERT_EQ(CreateProjectDatabase(other), S_OK);
  ASSERT_NE(Open(other.Get()), L"");
  ASSERT_TRUE(SetTable(L"tblDuct"));
  ASSERT_TRUE(SetTable(L"tblDuct", L"", other.Get()));
  Add({{L"WIDTH", _variant_t(1.0)}});
  SafeArrayPtr theirs = Add({{L"WIDTH", _variant_t(2.0)}}, other.Get());
  EXPECT_EQ(GetLong(theirs.get(), L"ixDuct"), 2);
  EXPECT_EQ(Scan(L"ixDuct"), (std::vector<LONG>{1, 2}));
}

}  // namespace
}  // namespace kvtest
