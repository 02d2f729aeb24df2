// The record pattern, by operation: modes, dirty tracking, Update, LoadRow, moves and detachment.
#include "fixture.h"
#include "tables.h"

namespace {

using kvtest::ProjectFixture;

// A name/value row array built by hand, as the component would answer it.
SafeArrayPtr MakeRow(std::initializer_list<std::pair<const wchar_t*, _variant_t>> cells) {
  SafeArrayPtr row(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(2 * cells.size())));
  LONG i = 0;
  for (const auto& [name, value] : cells) {
    _variant_t n(name);
    SafeArrayPutElement(row.get(), &i, &n);
    ++i;
    SafeArrayPutElement(row.get(), &i, &value);
    ++i;
  }
  return row;
}

class RecordPattern : public ProjectFixture {
 protected:
  // Adds a group row and answers its key.
  std::int32_t AddGroup(const wchar_t* name) {
    tblDiffSGroup g(db_.Get());
    g.StartNew();
    g.SetsName(name);
    g.Update();
    return g.GetixDiffSGroup();
  }
};

TEST_F(RecordPattern, StartNewAddsTheRowAndTheKeyComesFromTheComponent) {
  tblDiffSGroup g(db_.Get());
  g.StartNew();
  g.SetixDiffSGroup(9999);
  g.SetsName(L"Ceiling");
  g.SetbShowUnused(true);
  g.SetdMaxHeight(2.5);
  g.Update();
  EXPECT_FALSE(g.IsNew());
  EXPECT_FALSE(g.AnyDirty());
  EXPECT_NE(g.GetixDiffSGroup(), 9999);
  EXPECT_GT(g.GetixDiffSGroup(), 0);

  tblDiffSGroup again(db_.Get());
  ASSERT_TRUE(again.FindByKey(g.GetixDiffSGroup()));
  EXPECT_EQ(again.GetsName(), L"Ceiling");
  EXPECT_TRUE(again.GetbShowUnused());
  double h = -1;
  EXPECT_TRUE(again.GetdMaxHeight(h));
  EXPECT_EQ(h, 2.5);
  std::wstring note = L"x";
  EXPECT_FALSE(again.GetsScheduleNote(note));  // never set: null in the new row
  EXPECT_EQ(note, L"");
}

TEST_F(RecordPattern, UpdateWithoutChangesOrModeMakesNoCall) {
  const std::int32_t key = AddGroup(L"A");
  tblDiffSGroup g(db_.Get());
  ASSERT_TRUE(g.FindByKey(key));

  // A mode with nothing dirty: no call at all, and the mode survives for later setters.
  g.StartEdit();
  db_->ResetCounts();
  g.Update();
  EXPECT_EQ(db_->TotalCalls(), 0);
  EXPECT_TRUE(g.IsEdit());
  g.SetsName(L"B");
  g.Update();
  EXPECT_EQ(db_->Calls("UpdateRecord"), 1);

  // Setters outside any mode: nothing is sent and the dirty flags are dropped.
  g.SetsName(L"C");
  EXPECT_TRUE(g.AnyDirty());
  db_->ResetCounts();
  g.Update();
  EXPECT_EQ(db_->TotalCalls(), 0);
  EXPECT_FALSE(g.AnyDirty());
  tblDiffSGroup check(db_.Get());
  ASSERT_TRUE(check.FindByKey(key));
  EXPECT_EQ(check.GetsName(), L"B");
}

TEST_F(RecordPattern, UpdateSendsOnlyDirtyColumnsInSchemaOrder) {
  const std::int32_t key = AddGroup(L"A");
  tblDiffSGroup g(db_.Get());
  ASSERT_TRUE(g.FindByKey(key));
  g.StartEdit();
  g.SetdMaxHeight(4.0);
  g.SetsName(L"Renamed");
  g.Update();
  EXPECT_EQ(db_->LastSentNames(), (std::vector<std::wstring>{L"sName", L"dMaxHeight"}));
  EXPECT_EQ(g.GetsName(), L"Renamed");
}

TEST_F(RecordPattern, NullableColumnSetToNullReadsFalseAndZero) {
  const std::int32_t key = AddGroup(L"A");
  tblDiffSGroup g(db_.Get());
  ASSERT_TRUE(g.FindByKey(key));
  g.StartEdit();
  g.SetdMaxHeight(7.5);
  g.SetsScheduleNote(L"note");
  g.Update();
  g.StartEdit();
  g.SetNulldMaxHeight();
  g.Update();

  tblDiffSGroup again(db_.Get());
  ASSERT_TRUE(again.FindByKey(key));
  double h = -1;
  EXPECT_FALSE(again.GetdMaxHeight(h));
  EXPECT_EQ(h, 0.0);
  std::wstring note;
  EXPECT_TRUE(again.GetsScheduleNote(note));
  EXPECT_EQ(note, L"note");
  // A setter clears the null flag again.
  again.SetdMaxHeight(1.0);
  EXPECT_TRUE(again.GetdMaxHeight(h));
}

TEST_F(RecordPattern, EditOfARowDeletedMeanwhileRecreatesNothing) {
  const std::int32_t key = AddGroup(L"Gone");
  tblDiffSGroup g(db_.Get());
  ASSERT_TRUE(g.FindByKey(key));
  g.StartEdit();
  Exec(L"delete from tblDiffSGroup where ixDiffSGroup = " + std::to_wstring(key));
  g.SetsName(L"Back");
  g.Update();
  EXPECT_EQ(db_->Calls("UpdateRecord"), 0);
  EXPECT_FALSE(g.IsEdit());
  EXPECT_EQ(Number(L"select count(*) from tblDiffSGroup"), 0);
}

TEST_F(RecordPattern, LoadRowTakesKnownNamesTrimsTextAndKeepsTheRest) {
  tblDiffSGroup g(nullptr);
  SafeArrayPtr first = MakeRow({{L"ixDiffSGroup", _variant_t(5)},
                                {L"sName", _variant_t(L"Supply   \t")},
                                {L"dMaxHeight", _variant_t(3.0)}});
  g.LoadRow(first.get());
  SafeArrayPtr second = MakeRow({{L"NoSuchColumn", _variant_t(1)},
                                 {L"sname", _variant_t(L"wrong case")},
                                 {L"bShowUnused", _variant_t(static_cast<short>(-1))},
                                 {L"sScheduleNote", _variant_t::Null()}});
  g.SetsName(L"dirty");
  g.LoadRow(second.get());
  EXPECT_EQ(g.GetixDiffSGroup(), 5);
  EXPECT_EQ(g.GetsName(), L"dirty");  // "sname" matches nothing: names compare exactly
  EXPECT_FALSE(g.AnyDirty());
  EXPECT_TRUE(g.GetbShowUnused());
  double h = 0;
  EXPECT_TRUE(g.GetdMaxHeight(h));
  EXPECT_EQ(h, 3.0);
  std::wstring note = L"x";
  EXPECT_FALSE(g.GetsScheduleNote(note));

  // A boolean is true only as -1; a non-nullable text that is null or not text reads "".
  SafeArrayPtr third = MakeRow({{L"bShowUnused", _variant_t(static_cast<short>(1))},
                                {L"sName", _variant_t(12)}});
  g.LoadRow(third.get());
  EXPECT_FALSE(g.GetbShowUnused());
  EXPECT_EQ(g.GetsName(), L"");
  g.LoadRow(nullptr);  // a missing row changes nothing
  EXPECT_EQ(g.GetixDiffSGroup(), 5);
}

TEST_F(RecordPattern, DetachedRecordDoesNothing) {
  tblDiffSGroup g(nullptr);
  EXPECT_FALSE(g.First());
  EXPECT_FALSE(g.Next());
  EXPECT_TRUE(g.AtEnd());
  EXPECT_TRUE(g.AtStart());
  EXPECT_FALSE(g.FindByKey(1));
  EXPECT_FALSE(g.Delete());
  g.SetSortIndex(L"sName");
  g.StartNew();
  g.SetsName(L"x");
  g.Update();  // no connection: returns, nothing thrown
  EXPECT_FALSE(g.HasConnection());
}

TEST_F(RecordPattern, ScanFollowsTheSortIndexAndDeleteRemovesTheCurrentKey) {
  tblDwgDiff d(db_.Get());
  for (int order : {30, 10, 20}) {
    d.StartNew();
    d.SetiSortOrder(order);
    d.SetsDescription(L"D" + std::to_wstring(order));
    d.Update();
  }
  // Another record moving on the same connection in between does not disturb this table's cursor.
  tblDiffSGroup other(db_.Get());
  std::vector<int> seen;
  d.SetSortIndex(L"iSortOrder");
  for (bool ok = d.First(); ok && !d.AtEnd(); ok = d.Next()) {
    seen.push_back(d.GetiSortOrder());
    other.First();
  }
  EXPECT_EQ(seen, (std::vector<int>{10, 20, 30}));
  EXPECT_TRUE(d.AtEnd());

  d.SetSortIndex(L"iSortOrder");
  ASSERT_TRUE(d.First());
  EXPECT_TRUE(d.Delete());
  EXPECT_EQ(Number(L"select min(iSortOrder) from tblDwgDiff"), 20);
  EXPECT_FALSE(d.Delete());  // the row is gone already
}

TEST_F(RecordPattern, MasterColumnsAreWrittenOnlyByMasterRecords) {
  for (bool master : {false, true}) {
    tblTextStyle s(db_.Get(), master);
    s.StartNew();
    s.SetsKey(master ? L"M" : L"N");
    s.SetixMasterDatabase(4);
    s.Update();
    std::int32_t ix = 0;
    EXPECT_EQ(s.GetixMasterDatabase(ix), master);
    EXPECT_EQ(ix, master ? 4 : 0);
  }
}

TEST_F(RecordPattern, ComponentFailuresTravelAsComErrors) {
  tblDiffSGroup g(db_.Get());
  db_->FailWith(E_FAIL);
  EXPECT_THROW(g.First(), _com_error);
  EXPECT_THROW(g.FindByKey(1), _com_error);
  g.StartNew();
  g.SetsName(L"x");
  EXPECT_THROW(g.Update(), _com_error);
  db_->FailWith(S_OK);
}

}  // namespace
