// The tables' own operations and read rules, grouped by table.
#include "fixture.h"
#include "tables.h"

namespace {

using kvtest::ProjectFixture;

class DuctTable : public ProjectFixture {
 protected:
  std::int32_t AddDuct(std::int32_t d1, std::int32_t d2) {
    tblDuct duct(db_.Get());
    duct.StartNew();
    duct.SetDISTANCE1(d1);
    duct.SetDISTANCE2(d2);
    duct.SetDRAWING(L"a.dwg");
    duct.Update();
    return duct.GetixDuct();
  }
};

TEST_F(DuctTable, NullTextReadsEmptyAndAnUnchangedColumnIsNotSent) {
  const std::int32_t key = AddDuct(1, 2);
  Exec(L"update tblDuct set FIT1 = NULL, DRAWING2 = NULL, SIZEFOR = NULL, FITTING = 'T  ' where ixDuct = " +
       std::to_wstring(key));
  tblDuct duct(db_.Get());
  ASSERT_TRUE(duct.FindByKey(key));
  EXPECT_EQ(duct.GetFIT1(), L"");
  EXPECT_EQ(duct.GetDRAWING2(), L"");
  EXPECT_EQ(duct.GetSIZEFOR(), L"");
  EXPECT_EQ(duct.GetFITTING(), L"T");
  duct.StartEdit();
  duct.SetWIDTH(12.0);
  duct.Update();
  EXPECT_EQ(db_->LastSentNames(), std::vector<std::wstring>{L"WIDTH"});
  EXPECT_EQ(Number(L"select count(*) from tblDuct where FIT1 is null"), 1);
}

TEST_F(DuctTable, CfmReadsTruncatedAndBooleansAreMinusOne) {
  const std::int32_t key = AddDuct(1, 2);
  tblDuct duct(db_.Get());
  for (auto [stored, expected] : {std::pair{L"12.7", 12}, {L"-12.7", -12}, {L"300", 300}}) {
    Exec(std::wstring(L"update tblDuct set CFM = ") + stored + L" where ixDuct = " + std::to_wstring(key));
    ASSERT_TRUE(duct.FindByKey(key));
    EXPECT_EQ(duct.GetCFM(), expected) << WideToUtf8(stored);
  }
  duct.StartEdit();
  duct.SetbDeleted(1);  // any truth is stored as -1
  duct.SetbForceVertical(0);
  duct.Update();
  EXPECT_EQ(Number(L"select bDeleted from tblDuct where ixDuct = " + std::to_wstring(key)), -1);
  // A soft-deleted row is still found by its key.
  tblDuct again(db_.Get());
  ASSERT_TRUE(again.FindByKey(key));
  EXPECT_EQ(again.GetbDeleted(), -1);
  EXPECT_EQ(again.GetbForceVertical(), 0);
}

TEST_F(DuctTable, DistanceSeeksAndTheValueBlockCopies) {
  const std::int32_t a = AddDuct(100, 200);
  const std::int32_t b = AddDuct(201, 300);
  tblDuct duct(db_.Get());
  ASSERT_TRUE(duct.FindByDistance1(201));
  EXPECT_EQ(duct.GetixDuct(), b);
  ASSERT_TRUE(duct.FindByDistance2(200));
  EXPECT_EQ(duct.GetixDuct(), a);
  EXPECT_FALSE(duct.FindByDistance1(999));

  KvDuctDbInfo copy = duct.Info();
  ASSERT_TRUE(duct.FindByKey(b));
  EXPECT_EQ(copy.ixDuct, a);
  EXPECT_EQ(copy.DISTANCE2, 200);
  EXPECT_NE(copy, duct.Info());
}

TEST(DuctValueBlock, DefaultsOfADuctWithoutARow) {
  const KvDuctDbInfo info;
  EXPECT_EQ(info.FITTING, L" ");
  EXPECT_EQ(info.CFMDIVERSITY, 1.0);
  EXPECT_EQ(info.dHangerZ, 120.0);
  EXPECT_EQ(info.dHangerStartOffset, 36.0);
  EXPECT_EQ(info.dHangerEndOffset, 36.0);
  EXPECT_EQ(info.dHangerSize, 1.0);
  EXPECT_EQ(info.dHangerDepth, 1.0);
  EXPECT_EQ(info.dHangerSpacing, 1.0);
  tblDuct detached(nullptr);
  EXPECT_EQ(detached.Info(), info);
}

class DiffuserTables : public ProjectFixture {};

TEST_F(DiffuserTables, NullableKeysOfAPlacedDiffuser) {
  tblDiffL d(db_.Get());
  d.StartNew();
  d.SetixDuct(5);
  d.SetCFM(120.5);
  d.Update();
  const std::int32_t key = d.GetixDiffL();
  Exec(L"update tblDiffL set ixDuct = NULL where ixDiffL = " + std::to_wstring(key));
  tblDiffL again(db_.Get());
  ASSERT_TRUE(again.FindByKey(key));
  std::int32_t ixDuct = -1, ixRoom = -1;
  EXPECT_FALSE(again.GetixDuct(ixDuct));
  EXPECT_EQ(ixDuct, 0);
  EXPECT_FALSE(again.GetixRoomL(ixRoom));
  EXPECT_EQ(again.GetCFM(), 120.5);
}

TEST_F(DiffuserTables, SizesInDrawingUnitsArePositive) {
  tblDiffS s(db_.Get());
  s.StartNew();
  s.SetWIDTH(-24.0);
  s.SetLENGTH(12.0);
  s.SetNECK(10.0);
  s.SetNECK2(-8.0);
  s.Update();
  EXPECT_EQ(s.DrawingWidth(false), 24.0);
  EXPECT_EQ(s.DrawingNeck2(false), 8.0);
  EXPECT_DOUBLE_EQ(s.DrawingLength(true), 12.0 * 25.4);
  EXPECT_DOUBLE_EQ(s.DrawingNeck(true), 254.0);
}

TEST_F(DiffuserTables, BlockKindSwapsSlotAndSidewall) {
  tblDwgDiff d(db_.Get());
  std::vector<std::int32_t> keys;
  for (int type : {0, 1, 2, 3, 7}) {
    d.StartNew();
    d.SetiBlockType(type);
    d.Update();
    keys.push_back(d.GetixDwgDiff());
  }
  std::vector<int> kinds;
  for (auto k : keys) kinds.push_back(d.BlockKind(k));
  EXPECT_EQ(kinds, (std::vector<int>{0, 1, 3, 2, 1}));
  EXPECT_EQ(d.BlockKind(424242), 1);
}

class LoadTables : public ProjectFixture {
 protected:
  void AddCooling(const wchar_t* owner, int id, int month, int hour, double total) {
    Exec(std::wstring(L"insert into tblLoadRoomCooling (") + owner + L", iMonth, iHour, dRoomTotal) values (" +
         std::to_wstring(id) + L", " + std::to_wstring(month) + L", " + std::to_wstring(hour) + L", " +
         std::to_wstring(total) + L")");
  }
};

TEST_F(LoadTables, CoolingResultBySignedIdMonthAndHour) {
  AddCooling(L"ixZone", 12, 7, 15, 111.0);
  AddCooling(L"ixRoomL", 12, 7, 14, 222.0);
  AddCooling(L"ixRoomL", 12, 7, 15, 333.0);
  tblLoadRoomCooling c(db_.Get());
  ASSERT_TRUE(c.FindResult(-12, 7, 15));
  EXPECT_EQ(c.GetdRoomTotal(), 333.0);
  std::int32_t zone = -1;
  EXPECT_FALSE(c.GetixZone(zone));
  ASSERT_TRUE(c.FindResult(12, 7, 15));
  EXPECT_EQ(c.GetdRoomTotal(), 111.0);
  EXPECT_FALSE(c.FindResult(-12, 8, 15));

  db_->ResetCounts();
  EXPECT_FALSE(c.FindResult(0, 7, 15));
  EXPECT_EQ(db_->TotalCalls(), 0);
}

TEST_F(LoadTables, HeatingResultBySignedId) {
  Exec(L"insert into tblLoadRoomHeating (ixZone, dRoomTotal) values (4, 40.0)");
  Exec(L"insert into tblLoadRoomHeating (ixRoomL, dRoomTotal, iHeatingCFM) values (4, 50.0, 90)");
  tblLoadRoomHeating h(db_.Get());
  ASSERT_TRUE(h.FindResult(-4));
  EXPECT_EQ(h.GetdRoomTotal(), 50.0);
  EXPECT_EQ(h.GetiHeatingCFM(), 90);
  ASSERT_TRUE(h.FindResult(4));
  EXPECT_EQ(h.GetdRoomTotal(), 40.0);
  EXPECT_FALSE(h.FindResult(5));
  EXPECT_FALSE(h.FindResult(0));
}

class GlobalTable : public ProjectFixture {};

TEST_F(GlobalTable, SettingsReadWriteAndNulls) {
  tblGlobal g(db_.Get(), true);
  SetGlobalText(&g, L"NEW TEXT KEY", L"YES");
  EXPECT_EQ(Number(L"select count(*) from tblGlobal where sKey = \"NEW TEXT KEY\""), 1);
  EXPECT_EQ(Number(L"select count(*) from tblGlobal where sKey = \"NEW TEXT KEY\" and bNumeric = 0 and dNumber is null"), 1);
  EXPECT_EQ(GetGlobalText(&g, L"NEW TEXT KEY"), L"YES");
  EXPECT_EQ(GetGlobalNumber(&g, L"NEW TEXT KEY"), 0.0);  // null number, no error

  SetGlobalNumber(&g, L"NEW TEXT KEY", 2.5);  // the same row, now numeric
  EXPECT_EQ(Number(L"select count(*) from tblGlobal where sKey = \"NEW TEXT KEY\""), 1);
  EXPECT_EQ(GetGlobalNumber(&g, L"NEW TEXT KEY"), 2.5);
  EXPECT_EQ(Number(L"select bNumeric from tblGlobal where sKey = \"NEW TEXT KEY\""), -1);

  EXPECT_EQ(GetGlobalText(&g, L"NO SUCH KEY"), L"");
  EXPECT_EQ(GetGlobalNumber(nullptr, L"NEW TEXT KEY"), 0.0);
  EXPECT_EQ(GetGlobalText(nullptr, L"NEW TEXT KEY"), L"");
}

class LayerTables : public ProjectFixture {};

TEST_F(LayerTables, SystemZeroFindsOnlyRowsForAllSystems) {
  Exec(L"insert into tblLayerKey (ixLayerSystem, ixLayer, sKey) values (3, 1, \"ONLY THREE\")");
  tblLayerKey k(db_.Get());
  EXPECT_FALSE(k.FindBySystemKey(0, L"ONLY THREE"));
  ASSERT_TRUE(k.FindBySystemKey(3, L"ONLY THREE"));
  std::int32_t system = 0;
  EXPECT_TRUE(k.GetixLayerSystem(system));
  EXPECT_EQ(system, 3);

  // The rows a new project holds for every system.
  ASSERT_TRUE(k.FindBySystemKey(0, L"ROOM OUTLINES"));
  EXPECT_FALSE(k.GetixLayerSystem(system));
  tblLayer layer(db_.Get());
  ASSERT_TRUE(layer.FindByKey(k.GetixLayer()));
  EXPECT_FALSE(layer.GetsName().empty());
  ASSERT_TRUE(k.FindBySystemKey(0, L"DEFAULT"));
  EXPECT_FALSE(k.FindBySystemKey(3, L"ROOM OUTLINES"));
}

TEST_F(LayerTables, TextStylesOfANewProject) {
  tblTextStyle s(db_.Get(), true);
  EXPECT_TRUE(s.FindBySKey(L"ROOM LABELS"));
  EXPECT_TRUE(s.FindBySKey(L"DEFAULT"));
  EXPECT_FALSE(s.FindBySKey(L"NO SUCH STYLE"));
}

}  // namespace
