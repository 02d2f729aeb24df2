// Duct data between LISP, the entity and the row: the project's duct defaults, the row writers,
// and the LISP functions that set and read a duct.
#include <cstring>

#include "duct_test.h"
#include "ductrows_fixture.h"

namespace {

using DuctDefaultsTest = DuctRowsTest;

TEST_F(DuctDefaultsTest, SettingsFromTheLayerAndTheirResetOnDisconnect) {
  const KvDuctDbInfo fresh = defaultDuctRecord();
  EXPECT_EQ(fresh.MATERIAL, L"GS");
  EXPECT_EQ(fresh.SHAPE, L"rd");
  EXPECT_EQ(fresh.WIDTH, 12.0);
  EXPECT_EQ(fresh.SIZEMAX, 24);
  EXPECT_EQ(fresh.SIZEVAL1, 0.08);
  EXPECT_EQ(fresh.FITTING, L" ") << "fields without a default of the project keep a new duct's";
  EXPECT_FALSE(readDuctSettings()) << "the layer gives nil: no settings";

  // One key makes a flat duct; everything else stays.
  session_.settings = [] { return acutBuildList(RTLB, RTLB, RTSTR, L"Z1", RTDOTE, RTREAL, 10.0, RTLE, RTLE, 0); };
  ASSERT_TRUE(readDuctSettings());
  KvDuctDbInfo r = defaultDuctRecord();
  EXPECT_EQ(r.Z1, 10.0);
  EXPECT_EQ(r.Z2, 10.0);
  EXPECT_EQ(r.MATERIAL, L"GS");

  // Plain (key value) lists; "Z2" after "Z1" changes Z2 alone; a value of the wrong kind leaves
  // the default and the walk goes on; unknown keys are passed over; SIZEMAX is cut to a whole
  // number; a text longer than its field is cut at 19 characters.
  session_.settings = [] {
    return acutBuildList(RTLB, RTLB, RTSTR, L"Z1", RTSHORT, 4, RTLE, RTLB, RTSTR, L"Z2", RTREAL, 6.5, RTLE, RTLB,
                         RTSTR, L"WIDTH", RTSTR, L"wide", RTLE, RTLB, RTSTR, L"COLOUR", RTSTR, L"SHAPE", RTLE, RTLB,
                         RTSTR, L"SIZEMAX", RTREAL, 30.9, RTLE, RTLB, RTSTR, L"MATERIAL", RTSTR,
                         L"A material name far too long", RTLE, RTLB, RTSTR, L"iHangerType", RTSHORT, 2, RTLE,
                         RTLE, 0);
  };
  ASSERT_TRUE(readDuctSettings());
  r = defaultDuctRecord();
  EXPECT_EQ(r.Z1, 4.0);
  EXPECT_EQ(r.Z2, 6.5);
  EXPECT_EQ(r.WIDTH, 12.0);
  EXPECT_EQ(r.SIZEMAX, 30);
  EXPECT_EQ(r.MATERIAL, L"A material name far");
  EXPECT_EQ(r.iHangerType, 2);
  EXPECT_EQ(r.SHAPE, L"rd") << "an unknown key's value is no key of its own value";

  // The row, a new duct's record for a missing row, the project's defaults without a table.
  const std::int32_t ix = AddDuct(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 0, 0));
  EXPECT_EQ(ductOrDefaults(ix).ixDuct, ix);
  EXPECT_EQ(ductOrDefaults(ix + 100), KvDuctDbInfo{});

  // After a disconnect the project is back at its defaults until the layer is asked again.
  DisconnectProject(Project());
  EXPECT_EQ(defaultDuctRecord().Z1, 0.0);
  EXPECT_EQ(defaultDuctRecord().MATERIAL, L"GS");
  EXPECT_EQ(ductOrDefaults(ix).MATERIAL, L"GS") << "no table: the defaults";
  EXPECT_FALSE(ductExists(ix));
}

using DuctWriters = DuctRowsTest;

TEST_F(DuctWriters, NewRowsTemplatesAndSmallWrites) {
  std::int32_t ix = 0;
  ASSERT_TRUE(newDuctRow(3, ix));
  KvDuctDbInfo row = Row(ix);
  EXPECT_EQ(row.ixLayerSystem, 3);
  EXPECT_EQ(row.DRAWING, L"system.dwg");
  EXPECT_EQ(row.iAlignmentPointNumber1, 0);

  // A template writes its design data in one update; positions, pressures and lengths stay.
  KvDuctDbInfo t;
  t.ixLayerSystem = 5;
  t.AIRFLOW = L"ra";
  t.SHAPE = L"RC";
  t.WIDTH = 24;
  t.DEPTH = 10;
  t.Z1 = 96;
  t.Z2 = 90;
  t.FITTING = L"SQUARE ELBOW";
  t.FIT1 = L"YES";
  t.DAMPERTYPE = 2;
  t.DAMPERLOCATION = 0.5;
  t.dHangerSpacing = 60;
  t.X1 = 1234;
  t.CFM = 800;
  t.HEADLENGTH3D = 9;
  t.TOTALPRESSURE = 0.3;
  t.DRAWING2 = L"other.dwg";
  ASSERT_TRUE(copyDuctSettings(ix, t));
  row = Row(ix);
  EXPECT_EQ(row.ixLayerSystem, 5);
  EXPECT_EQ(row.AIRFLOW, L"ra");
  EXPECT_EQ(row.WIDTH, 24.0);
  EXPECT_EQ(row.Z2, 90.0);
  EXPECT_EQ(row.FITTING, L"SQUARE ELBOW");
  EXPECT_EQ(row.DAMPERTYPE, 2);
  EXPECT_EQ(row.dHangerSpacing, 60.0);
  EXPECT_EQ(row.X1, 0.0);
  EXPECT_EQ(row.CFM, 0);
  EXPECT_EQ(row.HEADLENGTH3D, 0.0);
  EXPECT_EQ(row.TOTALPRESSURE, 0.0);
  EXPECT_EQ(row.DRAWING2, L"");
  EXPECT_EQ(row.DRAWING, L"system.dwg");

  ASSERT_TRUE(clearDuctDamper(ix));
  ASSERT_TRUE(setDuctSizeFor(ix, L"V"));
  setHeadLength3d(ix, 4.5);
  setTailLength3d(ix, 2.5);
  setHeadLength3d(0, 1.0);
  row = Row(ix);
  EXPECT_EQ(row.DAMPERTYPE, 0);
  EXPECT_EQ(row.DAMPERLOCATION, 0.0);
  EXPECT_EQ(row.SIZEFOR, L"V");
  EXPECT_EQ(row.HEADLENGTH3D, 4.5);
  EXPECT_EQ(row.TAILLENGTH3D, 2.5);

  // A row deleted meanwhile: false, and nothing is written anywhere.
  Exec(L"DELETE FROM tblDuct WHERE ixDuct = " + std::to_wstring(ix));
  EXPECT_FALSE(copyDuctSettings(ix, t));
  EXPECT_FALSE(clearDuctDamper(ix));
  EXPECT_FALSE(setDuctSizeFor(ix, L"W"));
  setTailLength3d(ix, 1.0);
  EXPECT_FALSE(ductExists(ix));
  EXPECT_FALSE(Ducts().First()) << "no row was recreated";
}

class DuctLispFunctions : public DuctRowsTest {
 protected:
  void SetUp() override {
    DuctRowsTest::SetUp();
    AcDbBlockTableRecord* space = nullptr;
    AcDbDatabase* drawing = context_->drawing;
    AcDbBlockTable* table = nullptr;
    ASSERT_EQ(drawing->getBlockTable(table, AcDb::kForRead), Acad::eOk);
    ASSERT_EQ(table->getAt(ACDB_MODEL_SPACE, space, AcDb::kForWrite), Acad::eOk);
    table->close();
    KvDuct* duct = MakeDuct(AcGePoint3d(0.1, 0.7, 96), AcGePoint3d(120, 0, 90));
    ASSERT_EQ(space->appendAcDbEntity(id_, duct), Acad::eOk);
    duct->close();
    AcDbLine* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0));
    ASSERT_EQ(space->appendAcDbEntity(lineId_, line), Acad::eOk);
    line->close();
    space->close();
    ASSERT_EQ(acdbGetAdsName(name_, id_), Acad::eOk);
  }
  KvDuctFields Fields() {
    AcDbObjectPointer<KvDuct> duct(id_, AcDb::kForRead);
    return duct->fields();
  }
  // kv_hvac-setDuctInfo on the duct with the cells after its name.
  ResbufPtr Set(resbuf* pairs) {
    resbuf* args = acutBuildList(RTENAME, name_, 0);
    args->rbnext = pairs;
    return CallBody(kv_hvac_setDuctInfo, args);
  }

  AcDbObjectId id_;
  AcDbObjectId lineId_;
  ads_name name_{};
};

TEST_F(DuctLispFunctions, SetDuctInfoKeysOnTheEntityAlone) {
  ResbufPtr done = Set(acutBuildList(RTLB, RTLB, RTSTR, L"Z1", RTREAL, 100.0, RTLE, RTLB, RTSTR, L"Mystery", RTSHORT,
                                     1, RTLE, RTLB, RTSTR, L"SIZEFOR", RTSTR, L"W", RTLE, RTLE, 0));
  ASSERT_TRUE(done && done->restype == RTT);
  KvDuctFields f = Fields();
  EXPECT_EQ(std::memcmp(&f.start.x, &(const double&)0.1, sizeof(double)), 0) << "X kept to the last bit";
  EXPECT_EQ(f.start.y, 0.7);
  EXPECT_EQ(f.start.z, 100.0);
  EXPECT_EQ(f.sizeFor, L"W") << "keys after an unknown one still apply";

  // Single lists after the name; a value its reader refuses changes nothing; 0 is no nil; a
  // missing trailing flag reads false.
  Set(acutBuildList(RTLB, RTSTR, L"Z2", RTSTR, L"high", RTLE, RTLB, RTSTR, L"bLockDepth", RTSHORT, 0, RTLE, RTLB,
                    RTSTR, L"bLockShape", RTLE, 0));
  f = Fields();
  EXPECT_EQ(f.end.z, 90.0);
  EXPECT_TRUE(f.bLockDepth);
  EXPECT_FALSE(f.bLockShape);

  // Hangers: strings among the numbers are passed over; an empty list empties the array.
  Set(acutBuildList(RTLB, RTSTR, L"HANGERDIST", RTREAL, 12.0, RTSTR, L"x", RTSHORT, -24, RTREAL, 36.5, RTLE, 0));
  EXPECT_EQ(Fields().hangerDistances, (std::vector<double>{12.0, -24.0, 36.5}));
  Set(acutBuildList(RTLB, RTSTR, L"HANGERDIST", RTLE, 0));
  EXPECT_TRUE(Fields().hangerDistances.empty());
  // A list that never closes ends with the arguments.
  Set(acutBuildList(RTLB, RTSTR, L"HANGERDIST", RTREAL, 5.0, 0));
  EXPECT_EQ(Fields().hangerDistances, (std::vector<double>{5.0}));

  // What is no duct gives nil; what is no entity name is the wrong type.
  LispStatus status = LispStatus::Success;
  ResbufPtr none = CallBody(kv_hvac_setDuctInfo, acutBuildList(RTSTR, L"duct", 0), &status);
  EXPECT_EQ(status, LispStatus::WrongType);
  EXPECT_EQ(CallBody(kv_hvac_duct_getHangerList, acutBuildList(RTREAL, 1.0, 0), &status), nullptr);
  EXPECT_EQ(status, LispStatus::WrongType);
  ads_name lineName;
  acdbGetAdsName(lineName, lineId_);
  none = CallBody(kv_hvac_setDuctInfo, acutBuildList(RTENAME, lineName, RTLB, RTSTR, L"Z1", RTREAL, 1.0, RTLE, 0),
                  &status);
  EXPECT_EQ(status, LispStatus::Success);
  EXPECT_TRUE(IsNil(none));
}

TEST_F(DuctLispFunctions, LegacyDataByIndexAndDrawingInAnyCase) {
  ClearOldDuctRecords();
  std::unique_ptr<KvDuct> old(new KvDuct);
  ASSERT_EQ(ReadDuctRecord(*old, ReadFile(FixtureDir() / "kvduct-v3.bin")), Acad::eOk);
  LispStatus status = LispStatus::BadData;
  ResbufPtr found = CallBody(kv_hvac_getOldDuctInfo, acutBuildList(RTSHORT, 33, RTSTR, L"first.dwg", 0), &status);
  EXPECT_EQ(status, LispStatus::Success);
  ASSERT_TRUE(found && found->restype == RTLB);
  std::vector<short> kinds;
  for (const resbuf* c = found->rbnext; c && c->restype != RTLE; c = c->rbnext) kinds.push_back(c->restype);
  ASSERT_EQ(kinds.size(), 35u);
  EXPECT_EQ(kinds[0], RTLONG);
  EXPECT_EQ(kinds[1], RTSTR);
  EXPECT_EQ(kinds[9], RTREAL);
  // The same question, the same answer; another drawing, nil.
  ResbufPtr again = CallBody(kv_hvac_getOldDuctInfo, acutBuildList(RTSHORT, 33, RTSTR, L"FIRST.DWG", 0));
  EXPECT_EQ(again->rbnext->resval.rlong, found->rbnext->resval.rlong);
  EXPECT_TRUE(IsNil(CallBody(kv_hvac_getOldDuctInfo, acutBuildList(RTSHORT, 33, RTSTR, L"none.dwg", 0))));
  CallBody(kv_hvac_getOldDuctInfo, acutBuildList(RTSTR, L"33", 0), &status);
  EXPECT_EQ(status, LispStatus::WrongType);
  ClearOldDuctRecords();
}

}  // namespace
