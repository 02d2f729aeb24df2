// The model built piece by piece: straight ducts, each fitting family, flexible runs and
// diffusers. Neighbouring pieces must meet (their union is one connected body) and must not
// overlap (its volume is the sum of theirs).
#include <cmath>
#include <vector>

#include "ductrows_fixture.h"
#include "ed.h"
#include "kvSolid.h"
#include "solids/solids.h"

namespace {

constexpr double kPi = 3.14159265358979;

AcGePoint3d At(double x, double y, double z = 100) { return AcGePoint3d(x, y, z); }

class Solids : public DuctRowsTest {
 protected:
  void SetUp() override {
    DuctRowsTest::SetUp();
    kvSolidRegisterClasses();
  }
  void Set(std::int32_t ix, const wchar_t* column, const std::wstring& value) {
    Exec(L"UPDATE tblDuct SET " + std::wstring(column) + L" = " + value + L" WHERE ixDuct = " + std::to_wstring(ix));
  }
  void SetText(std::int32_t ix, const wchar_t* column, const std::wstring& text) {
    Set(ix, column, L"'" + text + L"'");
  }
  SolidBodies Bodies(AcDbObjectId id) {
    AcDbObjectPointer<kv_hvacSolid> solid(id, AcDb::kForRead);
    EXPECT_EQ(solid.openStatus(), Acad::eOk);
    return solid.openStatus() == Acad::eOk ? solid->bodies() : SolidBodies();
  }
  // Every piece valid, all of them one connected body whose volume is the sum of theirs.
  void ExpectOneModel(const std::vector<AcDbObjectId>& ids) {
    SolidBodies all;
    double sum = 0.0;
    for (AcDbObjectId id : ids) {
      ASSERT_FALSE(id.isNull());
      SolidBodies piece = Bodies(id);
      EXPECT_TRUE(piece.isValid());
      // A fitting's own bodies may overlap one another (a tee's stubs start inside its trunk).
      SolidBodies fused = piece;
      EXPECT_TRUE(fused.doUnion(piece)) << fused.lastError();
      sum += fused.volume();
      if (all.isEmpty()) {
        all = piece;
      } else {
        EXPECT_TRUE(all.doUnion(piece)) << "pieces do not meet: " << all.lastError();
      }
    }
    EXPECT_NEAR(all.volume(), sum, 0.005 * sum) << "pieces overlap";
  }
  std::vector<AcDbObjectId> Built(const SolidPieces& p) {
    std::vector<AcDbObjectId> ids;
    for (AcDbObjectId id : {p.solid, p.transition1, p.transition2})
      if (!id.isNull()) ids.push_back(id);
    return ids;
  }
};

TEST_F(Solids, StraightDuctBetweenItsFittings) {
  const std::int32_t a = AddDuct(At(0, 0), At(120, 0));
  SolidPieces p;
  ASSERT_TRUE(drawTripleCenter(a, 0, false, p));
  SolidBodies duct = Bodies(p.solid);
  EXPECT_NEAR(duct.volume(), 12 * 8 * 120, 1e-6);
  EXPECT_NEAR(duct.extents().min.x, 0, 1e-9);
  EXPECT_NEAR(duct.extents().max.x, 120, 1e-9);
  EXPECT_NEAR(duct.extents().max.y - duct.extents().min.y, 12, 1e-9);

  // Reaches of fittings shorten it; with nothing upstream the tail reach does not count, and
  // "NONE" ignores a stored head reach.
  const std::int32_t b = AddDuct(At(120, 0), At(240, 0));
  Link(a, b);
  setTailLength3d(b, 10);
  setHeadLength3d(b, 20);
  ASSERT_TRUE(drawTripleCenter(b, 0, false, p = {}));
  EXPECT_NEAR(Bodies(p.solid).volume(), 12 * 8 * 90, 1e-6);
  SetText(b, L"FITTING", L"NONE");
  ASSERT_TRUE(drawTripleCenter(b, 0, false, p = {}));
  EXPECT_NEAR(Bodies(p.solid).volume(), 12 * 8 * 110, 1e-6) << "head reach kept, tail reach still counted";
  setTailLength3d(b, 119.995);
  EXPECT_FALSE(drawTripleCenter(b, 0, false, p = {})) << "fittings used the duct up";
  EXPECT_FALSE(drawTripleCenter(AddDuct(At(0, 50), At(0.005, 50)), 0, false, p = {}));
  EXPECT_FALSE(drawTripleCenter(9999, 0, false, p = {}));
  // No double line: no solid, and no failure.
  SetText(a, L"DOUBLE_LINE", L"n");
  EXPECT_TRUE(drawTripleCenter(a, 0, false, p = {}));
  EXPECT_TRUE(p.solid.isNull());
}

TEST_F(Solids, ElbowsTakeTheirReachAndMeetTheDucts) {
  const std::int32_t a = AddDuct(At(0, 0), At(120, 0));
  const std::int32_t b = AddDuct(At(120, 0), At(120, 100));
  Link(a, b);
  SetText(a, L"FITTING", L"SQUARE ELBOW");
  SolidPieces elbow, ductA, ductB;
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"", elbow));
  EXPECT_NEAR(Row(a).HEADLENGTH3D, 9.0, 1e-9) << "half the width plus the collar";
  EXPECT_NEAR(Row(b).TAILLENGTH3D, 9.0, 1e-9);
  ASSERT_TRUE(drawTripleCenter(a, 0, false, ductA));
  ASSERT_TRUE(drawTripleCenter(b, 0, false, ductB));
  ExpectOneModel({ductA.solid, elbow.solid, ductB.solid});

  // Radius ratios: (0, 0.5] is built as 0.501, 0 as 1.5, 0.6 as it stands. A right-angle bend
  // reaches its radius from the corner.
  SetText(a, L"FITTING", L"RADIUS ELBOW");
  for (auto [ratio, radius] : {std::pair{L"0.5", 0.501 * 12}, {L"0", 1.5 * 12}, {L"0.6", 0.6 * 12}}) {
    SetText(a, L"FIT1", ratio);
    ASSERT_TRUE(drawTripleFitting(a, 0, false, L"", elbow = {})) << ratio;
    EXPECT_NEAR(Row(a).HEADLENGTH3D, radius, 1e-6) << ratio;
    EXPECT_NEAR(Row(b).TAILLENGTH3D, radius, 1e-6) << ratio;
  }
  ASSERT_TRUE(drawTripleCenter(a, 0, false, ductA = {}));
  ASSERT_TRUE(drawTripleCenter(b, 0, false, ductB = {}));
  ExpectOneModel({ductA.solid, elbow.solid, ductB.solid});

  // A second outlet makes it no elbow.
  Link(a, AddDuct(At(120, 0), At(120, -100)));
  EXPECT_FALSE(drawTripleFitting(a, 0, false, L"", elbow = {}));
}

TEST_F(Solids, SquareElbowBetweenSizesFallsBackToTheInletSizeAndATransition) {
  const std::int32_t a = AddDuct(At(0, 0), At(120, 0), L"RC", 24, 12);
  const std::int32_t b = AddDuct(At(120, 0), At(120, 150), L"RC", 12, 12);
  Link(a, b);
  SolidPieces elbow, ductA, ductB;
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"SQUARE ELBOW", elbow));
  ASSERT_FALSE(elbow.transition1.isNull());
  const double lead = 12 * 0.5 / std::tan(15 * kPi / 180);
  EXPECT_NEAR(Row(b).TAILLENGTH3D, 15.0 + lead, 1e-6);
  ASSERT_TRUE(drawTripleCenter(a, 0, false, ductA));
  ASSERT_TRUE(drawTripleCenter(b, 0, false, ductB));
  ExpectOneModel({ductA.solid, elbow.solid, elbow.transition1, ductB.solid});
}

TEST_F(Solids, DispatchOnTheFittingText) {
  const std::int32_t a = AddDuct(At(0, 0), At(100, 0));
  const std::int32_t b = AddDuct(At(100, 0), At(150, 50));
  const std::int32_t c = AddDuct(At(100, 0), At(150, -50));
  Link(a, b);
  Link(a, c);
  SetText(a, L"FITTING", L"SQUARE ELBOW");
  SolidPieces p;
  EXPECT_FALSE(drawTripleFitting(a, 0, false, L"", p)) << "two outlets at an elbow";
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"WYE", p)) << "the argument overrides the row";
  EXPECT_FALSE(p.solid.isNull());
  SolidPieces ductA, ductB, ductC;
  ASSERT_TRUE(drawTripleCenter(a, 0, false, ductA));
  ASSERT_TRUE(drawTripleCenter(b, 0, false, ductB));
  ASSERT_TRUE(drawTripleCenter(c, 0, false, ductC));
  ExpectOneModel({ductA.solid, p.solid, ductB.solid, ductC.solid});

  // Fittings without a solid of their own, and "END" at the last duct of a run.
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"FIRE DAMPER", p = {}));
  EXPECT_TRUE(p.solid.isNull());
  EXPECT_FALSE(drawTripleFitting(b, 0, false, L"END", p = {}));
  EXPECT_FALSE(drawTripleFitting(a, 0, false, L"PAIR OF PANTS", p = {}));
  setTailLength3d(b, 5);
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"NONE", p = {}));
  EXPECT_EQ(Row(b).TAILLENGTH3D, 0.0);
  // Without a double line: nil, and the ducts leaving it lose their tail reach.
  setTailLength3d(c, 5);
  SetText(a, L"DOUBLE_LINE", L"n");
  EXPECT_FALSE(drawTripleFitting(a, 0, false, L"WYE", p = {}));
  EXPECT_EQ(Row(c).TAILLENGTH3D, 0.0);
  printed_.clear();
  SetText(a, L"DOUBLE_LINE", L"y");
  drawTripleFitting(a, 0, false, L"SPLIT FITTING", p = {});
  EXPECT_NE(printed_.find("Split fitting not currently supported in 3D."), std::string::npos);
}

TEST_F(Solids, TeeRunsItsTrunkAlongTheStraightestOutlet) {
  const std::int32_t inlet = AddDuct(At(0, 0), At(100, 0), L"RC", 12, 8);
  const std::int32_t branch = AddDuct(At(100, 0), At(100, 80), L"RC", 6, 8);
  const std::int32_t main = AddDuct(At(100, 0), At(200, 0), L"RC", 12, 8);
  Link(inlet, branch);  // listed first, yet not the main
  Link(inlet, main);
  SolidPieces tee;
  ASSERT_TRUE(drawTripleFitting(inlet, 0, false, L"strt_branch", tee));
  const SolidExtents box = Bodies(tee.solid).extents();
  // Trunk from E - (h + c) to E + (h + c) with h = 3 at right angles; stub out to w/2 + c.
  EXPECT_NEAR(box.min.x, 100 - 6, 1e-6);
  EXPECT_NEAR(box.max.x, 100 + 6, 1e-6);
  EXPECT_NEAR(box.max.y, 6 + 3, 1e-6);
  EXPECT_NEAR(Row(inlet).HEADLENGTH3D, 6, 1e-6);
  EXPECT_NEAR(Row(main).TAILLENGTH3D, 6, 1e-6);
  EXPECT_NEAR(Row(branch).TAILLENGTH3D, 9, 1e-6);
  SolidPieces d1, d2, d3;
  ASSERT_TRUE(drawTripleCenter(inlet, 0, false, d1));
  ASSERT_TRUE(drawTripleCenter(main, 0, false, d2));
  ASSERT_TRUE(drawTripleCenter(branch, 0, false, d3));
  ExpectOneModel({d1.solid, tee.solid, d2.solid, d3.solid});
}

TEST_F(Solids, TransitionAndOffsetReplaceDuctLength) {
  const std::int32_t a = AddDuct(At(0, 0), At(100, 0), L"RC", 24, 12);
  const std::int32_t b = AddDuct(At(100, 0), At(200, 0), L"RC", 12, 12);
  Link(a, b);
  SolidPieces t, da, db;
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"TRANSITION", t));
  const double lead = 12 * 0.5 / std::tan(15 * kPi / 180);
  EXPECT_NEAR(Row(b).TAILLENGTH3D, lead, 1e-6);
  ASSERT_TRUE(drawTripleCenter(a, 0, false, da));
  ASSERT_TRUE(drawTripleCenter(b, 0, false, db));
  ExpectOneModel({da.solid, t.solid, db.solid});
  // A length in FIT1 wins over the slope.
  SetText(a, L"FIT1", L"30");
  ASSERT_TRUE(drawTripleFitting(a, 0, false, L"TRANSITION", t = {}));
  EXPECT_NEAR(Row(b).TAILLENGTH3D, 30, 1e-9);

  // Offset: the middle duct's length goes into one sheared piece from a's end to c's start.
  const std::int32_t x = AddDuct(At(0, 200), At(100, 200), L"RC", 12, 12);
  const std::int32_t m = AddDuct(At(100, 200), At(130, 220), L"RC", 12, 12);
  const std::int32_t y = AddDuct(At(130, 220), At(230, 220), L"RC", 12, 12);
  Link(x, m);
  Link(m, y);
  setTailLength3d(y, 7);
  SolidPieces o;
  ASSERT_TRUE(drawTripleFitting(x, 0, false, L"OFFSET", o));
  EXPECT_EQ(Row(y).TAILLENGTH3D, 0.0);
  EXPECT_NEAR(Bodies(o.solid).volume(), 12 * 12 * 30, 1e-6);
}

TEST_F(Solids, FlexibleRunIsOneTubeBuiltFromItsLastDuct) {
  const std::int32_t f1 = AddDuct(At(0, 0), At(50, 0), L"RD", 8, 8, L"FX");
  const std::int32_t f2 = AddDuct(At(50, 0), At(100, 30), L"RD", 8, 8, L"FX");
  const std::int32_t f3 = AddDuct(At(100, 30), At(150, 30), L"RD", 8, 8, L"FX");
  Link(f1, f2);
  Link(f2, f3);
  SolidPieces p;
  ASSERT_TRUE(drawTripleCenter(f1, 0, false, p));
  EXPECT_TRUE(p.solid.isNull());
  ASSERT_TRUE(drawTripleCenter(f2, 0, false, p));
  EXPECT_TRUE(p.solid.isNull());
  ASSERT_TRUE(drawTripleCenter(f3, 0, false, p));
  const SolidBodies tube = Bodies(p.solid);
  EXPECT_TRUE(tube.isValid());
  const double path = 50 + std::hypot(50, 30) + 50;
  EXPECT_GT(tube.volume(), kPi * 16 * path * 0.98);
  EXPECT_LT(tube.volume(), kPi * 16 * path * 1.10);
  EXPECT_NEAR(tube.extents().max.x, 150, 1e-3);
  // A fitting on a flexible duct builds nothing.
  ASSERT_TRUE(drawTripleFitting(f1, 0, false, L"SQUARE ELBOW", p = {}));
  EXPECT_TRUE(p.solid.isNull());
}

class SolidFunctions : public Solids {
 protected:
  AcDbObjectId Straight(double y) {
    SolidPieces p;
    EXPECT_TRUE(drawTripleCenter(AddDuct(At(0, y), At(100, y)), 0, false, p));
    return p.solid;
  }
  static resbuf* Name(AcDbObjectId id) {
    ads_name name;
    acdbGetAdsName(name, id);
    return acutBuildList(RTENAME, name, 0);
  }
};

TEST_F(SolidFunctions, UnionSliceAndExplode) {
  const AcDbObjectId a = Straight(0), b = Straight(0), far = Straight(500);
  // Apart: doUnion refuses, both stay, the answer is nil all the same.
  resbuf* args = Name(a);
  args->rbnext = Name(far);
  LispStatus status;
  EXPECT_TRUE(IsNil(CallBody(kv_hvac_solidUnion, args, &status)));
  EXPECT_EQ(status, LispStatus::Success);
  EXPECT_FALSE(Bodies(far).isEmpty());
  args = Name(a);
  args->rbnext = Name(b);
  CallBody(kv_hvac_solidUnion, args, &status);
  {
    AcDbObjectPointer<kv_hvacSolid> gone(b, AcDb::kForRead);
    EXPECT_NE(gone.openStatus(), Acad::eOk) << "the merged source is erased";
  }
  CallBody(kv_hvac_solidUnion, Name(a), &status);
  EXPECT_EQ(status, LispStatus::WrongType);

  // Slice: a set with the solid cuts it at x = 40, keeping the side of the origin; a set
  // without solids still answers T.
  ads_name set, item;
  acdbGetAdsName(item, a);
  ASSERT_EQ(acedSSAdd(item, nullptr, set), RTNORM);
  const double p1[3] = {40, 0, 0}, p2[3] = {40, 1, 0}, p3[3] = {40, 0, 1}, keep[3] = {0, 0, 100};
  ResbufPtr sliced = CallBody(kv_hvac_solidSlice, acutBuildList(RTPICKS, set, RT3DPOINT, p1, RT3DPOINT, p2,
                                                                RT3DPOINT, p3, RT3DPOINT, keep, 0));
  ASSERT_TRUE(sliced && sliced->restype == RTT);
  EXPECT_NEAR(Bodies(a).volume(), 12 * 8 * 40, 1e-6);
  acedSSFree(set);
  CallBody(kv_hvac_solidSlice, acutBuildList(RTSTR, L"x", 0), &status);
  EXPECT_EQ(status, LispStatus::WrongType);

  // Explode: one ("FACE" . name) per face of a box; the solid stays.
  ResbufPtr faces = CallBody(kv_hvac_ExplodeSolid, Name(far), &status);
  int count = 0;
  for (const resbuf* cell = faces.get(); cell; cell = cell->rbnext)
    if (cell->restype == RTSTR && std::wstring(cell->resval.rstring) == L"FACE") ++count;
  EXPECT_EQ(count, 6);
  EXPECT_FALSE(Bodies(far).isEmpty());
  CallBody(kv_hvac_ExplodeSolid, acutBuildList(RTSTR, L"x", 0), &status);
  EXPECT_EQ(status, LispStatus::WrongType);
  CallBody(kv_hvac_ExplodeSolid, nullptr, &status);
  EXPECT_EQ(status, LispStatus::Success);
}

}  // namespace

namespace {

class DiffuserSolids : public Solids {
 protected:
  // A schedule row 601 of the neck sizes given, and the placed diffuser 501 at the end of
  // ixDuct (0: none) at (x, y, z).
  void Diffuser(std::int32_t ixDuct, double neck, double neck2, const AcGePoint3d& at = AcGePoint3d(0, 0, 0)) {
    Exec(L"DELETE FROM tblDiffS WHERE ixDiffS = 601");
    Exec(L"DELETE FROM tblDiffL WHERE ixDiffL = 501");
    Exec(L"INSERT INTO tblDiffS (ixDiffS, ixDiffSGroup, CALLOUT, ixDwgDiff, WIDTH, LENGTH, NECK, NECK2, TILT, "
         L"CONTYPE) VALUES (601, 1, 'A', 0, 24, 24, " + std::to_wstring(neck) + L", " + std::to_wstring(neck2) +
         L", 0, 'T')");
    Exec(L"INSERT INTO tblDiffL (ixDiffL, ixDiffS, ixDuct, ixLayerSystem, CFM, TILT, CONTYPE, X, Y, Z, ROTATION, "
         L"bDeleted, iAlignmentPointNumber) VALUES (501, 601, " +
         (ixDuct ? std::to_wstring(ixDuct) : std::wstring(L"NULL")) + L", 0, 100, 0, 'T', " + std::to_wstring(at.x) +
         L", " + std::to_wstring(at.y) + L", " + std::to_wstring(at.z) + L", 0, 0, 0)");
    if (ixDuct) session_.diffuser[ixDuct] = 501;
  }
};

TEST_F(DiffuserSolids, NeckAndTransitionFollowTheDuct) {
  // A round duct and a neck of 0: the neck is the duct's own size, no transition; the straight
  // piece stops where the diffuser's connection begins, and the two meet.
  const std::int32_t round = AddDuct(At(0, 0), At(100, 0), L"RD", 10, 10);
  SetText(round, L"FITTING", L"DCONN");
  Diffuser(round, 0, 0);
  SolidPieces diffuser, duct;
  ASSERT_TRUE(drawTripleFitting(round, 0, false, L"", diffuser));
  const double reach = Row(round).HEADLENGTH3D;
  EXPECT_GT(reach, 0.0);
  ASSERT_TRUE(drawTripleCenter(round, 0, false, duct));
  EXPECT_NEAR(Bodies(duct.solid).extents().max.x, 100 - reach, 1e-6);
  ExpectOneModel({duct.solid, diffuser.solid});

  // A round neck of 12 on a 12 by 8 duct: the transition's slope asks more than the change of kind.
  const std::int32_t rect = AddDuct(At(0, 200), At(100, 200), L"RC", 12, 8);
  SetText(rect, L"FITTING", L"DCONN");
  Diffuser(rect, 12, 0);
  ASSERT_TRUE(drawTripleFitting(rect, 0, false, L"", diffuser = {}));
  EXPECT_FALSE(Bodies(diffuser.solid).isEmpty());
  EXPECT_GT(Row(rect).HEADLENGTH3D, 4 * 0.5 / std::tan(15 * kPi / 180));
  // A flexible duct still gets its diffuser: the connection comes before the material.
  const std::int32_t flex = AddDuct(At(0, 400), At(100, 400), L"RD", 10, 10, L"FX");
  SetText(flex, L"FITTING", L"DCONN");
  Diffuser(flex, 0, 0);
  ASSERT_TRUE(drawTripleFitting(flex, 0, false, L"", diffuser = {}));
  EXPECT_FALSE(Bodies(diffuser.solid).isEmpty());

  // Without a duct: at its own position, and no reach written anywhere.
  Diffuser(0, 8, 0, AcGePoint3d(500, 500, 90));
  LispStatus status;
  ResbufPtr answer = CallBody(kv_hvac_drawTripleDiffuser, acutBuildList(RTSHORT, 501, RTSHORT, 0, RTNIL, 0), &status);
  ASSERT_EQ(status, LispStatus::Success);
  ASSERT_TRUE(answer && answer->restype == RTLB);
  ads_name name;
  AcDbObjectId id;
  const resbuf* cell = answer->rbnext->rbnext->rbnext->rbnext;  // ( ( "diffuser" . e
  ASSERT_EQ(cell->restype, RTENAME);
  name[0] = cell->resval.rlname[0];
  name[1] = cell->resval.rlname[1];
  ASSERT_EQ(acdbGetObjectId(id, name), Acad::eOk);
  const SolidExtents box = Bodies(id).extents();
  EXPECT_NEAR((box.min.x + box.max.x) / 2, 500, 1e-6);
  EXPECT_NEAR((box.min.y + box.max.y) / 2, 500, 1e-6);
  EXPECT_TRUE(IsNil(CallBody(kv_hvac_drawTripleDiffuser, acutBuildList(RTSHORT, 999, RTSHORT, 0, RTNIL, 0))));
}

}  // namespace
