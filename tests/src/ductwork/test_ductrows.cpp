// A duct's row with its inheritance, its frame, the fitting at its end, and what happens when
// the LISP layer's answers are missing, wrong or go round in circles.
#include <cmath>

#include "ductrows_fixture.h"

namespace {

const AcGePoint3d kO(0, 0, 100);

AcGePoint3d At(double x, double y, double z = 100) { return AcGePoint3d(x, y, z); }

// A point at distance r from p in the direction of deg degrees.
AcGePoint3d Toward(const AcGePoint3d& p, double deg, double r = 100) {
  const double a = deg * 3.14159265358979 / 180.0;
  return AcGePoint3d(p.x + r * std::cos(a), p.y + r * std::sin(a), p.z);
}

void ExpectVector(const AcGeVector3d& v, double x, double y, double z, const char* what) {
  EXPECT_NEAR(v.x, x, 1e-9) << what;
  EXPECT_NEAR(v.y, y, 1e-9) << what;
  EXPECT_NEAR(v.z, z, 1e-9) << what;
}

using DuctFitting = DuctRowsTest;

TEST_F(DuctFitting, EveryRuleOfTheChoiceWithTheNewProjectsOptions) {
  SetGlobalText(&Globals(), L"TURNING VANES", L"YES");
  SetGlobalText(&Globals(), L"ELBOW RADIUS", L"1.5");
  const std::int32_t main = AddDuct(kO, At(100, 0));
  // Nothing after it.
  std::wstring value = L"stale";
  EXPECT_EQ(Fitting(main, &value), L"END");
  EXPECT_EQ(value, L"");

  // One outlet in line, another size: a transition, sizes never compared.
  const std::int32_t inLine = AddDuct(At(100, 0), At(200, 0), L"RC", 20.0, 10.0);
  Link(main, inLine);
  EXPECT_EQ(Fitting(main), L"TRANSITION");
  // A turn of 180 degrees has no sine either.
  const std::int32_t back = AddDuct(At(200, 0), At(150, 0));
  Link(inLine, back);
  EXPECT_EQ(Fitting(inLine), L"TRANSITION");

  // An elbow: AUTOFIT-RC2 is "1" in a new project, with its value from ELBOW RADIUS; "0" is the
  // square elbow with the turning vanes.
  const std::int32_t turned = AddDuct(At(150, 0), At(150, 100));
  Link(back, turned);
  EXPECT_EQ(Fitting(back, &value), L"RADIUS ELBOW");
  EXPECT_EQ(value, L"1.5");
  SetGlobalText(&Globals(), L"AUTOFIT-RC2", L"0");
  EXPECT_EQ(Fitting(back, &value), L"SQUARE ELBOW");
  EXPECT_EQ(value, L"YES");
  SetGlobalText(&Globals(), L"AUTOFIT-RC2", L"7");
  EXPECT_EQ(Fitting(back), L"NONE");

  // Flexible duct reads the -RD keys whatever its shape.
  SetGlobalText(&Globals(), L"AUTOFIT-RD2", L"0");
  const std::int32_t flex = AddDuct(At(0, 700), At(100, 700), L"RC", 8, 8, L"FX");
  Link(flex, AddDuct(At(100, 700), At(100, 800)));
  EXPECT_EQ(Fitting(flex), L"SQUARE ELBOW");

  // Two outlets, one on at 3 degrees: a tee by option, not a wye.
  const std::int32_t tee = AddDuct(At(0, 1000), At(100, 1000));
  Link(tee, AddDuct(At(100, 1000), Toward(At(100, 1000), 3)));
  Link(tee, AddDuct(At(100, 1000), Toward(At(100, 1000), 90)));
  EXPECT_EQ(Fitting(tee), L"asym_branch");
  SetGlobalText(&Globals(), L"AUTOFIT-RC3", L"5");
  EXPECT_EQ(Fitting(tee, &value), L"BRANCH_ELBOW");
  EXPECT_EQ(value, L"") << "the upper-case transition tee has no value";

  // Three outlets: the cross option, angles never looked at (RC4 "0", RD4 "1").
  const std::int32_t cross = AddDuct(At(0, 1400), At(100, 1400));
  for (double deg : {0.0, 90.0, -90.0}) Link(cross, AddDuct(At(100, 1400), Toward(At(100, 1400), deg)));
  EXPECT_EQ(Fitting(cross), L"asym_branch");
  Exec(L"UPDATE tblDuct SET SHAPE = 'oo' WHERE ixDuct = " + std::to_wstring(cross));
  EXPECT_EQ(Fitting(cross), L"conical_branch");
  SetGlobalText(&Globals(), L"AUTOFIT-RD4", L"3");
  EXPECT_EQ(Fitting(cross), L"NONE") << "what the options dialog stores for a transition tee";
}

TEST_F(DuctFitting, AnEmptyGlobalTableAndMissingRowsAndASilentLayer) {
  Exec(L"DELETE FROM tblGlobal");
  const std::int32_t elbow = AddDuct(kO, At(100, 0));
  Link(elbow, AddDuct(At(100, 0), At(100, 100)));
  EXPECT_EQ(Fitting(elbow), L"NONE");
  const std::int32_t tee = AddDuct(At(0, 300), At(100, 300));
  Link(tee, AddDuct(At(100, 300), At(200, 300)));
  Link(tee, AddDuct(At(100, 300), At(100, 400)));
  EXPECT_EQ(Fitting(tee), L"NONE");
  const std::int32_t wye = AddDuct(At(0, 600), At(100, 600));
  Link(wye, AddDuct(At(100, 600), At(200, 700)));
  Link(wye, AddDuct(At(100, 600), At(200, 500)));
  EXPECT_EQ(Fitting(wye), L"WYE");

  // An outlet whose row went between the question and the lookup: "NONE" and false.
  const std::int32_t gone = AddDuct(At(0, 900), At(100, 900));
  Link(gone, 9999);
  std::wstring text, value;
  EXPECT_FALSE(chooseElbowFitting(Row(gone), 9999, true, text));
  EXPECT_EQ(text, L"NONE");
  EXPECT_EQ(Fitting(gone), L"failed");
  Link(tee, 9999);  // now a cross: its option alone, no row looked up
  EXPECT_EQ(Fitting(tee), L"NONE");
  session_.next[tee] = {Row(tee).ixDuct + 1, 9998};
  EXPECT_EQ(Fitting(tee), L"failed");

  // A layer that cannot be asked stops the choice; one that answers with a point is read too.
  session_.failing = true;
  EXPECT_EQ(Fitting(elbow), L"failed");
  session_.failing = false;
  session_.nextAsPoint = true;
  EXPECT_EQ(Fitting(elbow), L"NONE");
  EXPECT_EQ(Fitting(wye), L"WYE");
}

using DuctRecord = DuctRowsTest;

TEST_F(DuctRecord, InheritanceUpAChainWithLiningAddedOnce) {
  const std::int32_t top = AddDuct(kO, At(100, 0), L"RC", 20, 10);
  Exec(L"UPDATE tblDuct SET LINING = 1, dExteriorLining = 0.5, MATERIAL = 'AL' WHERE ixDuct = " +
       std::to_wstring(top));
  const std::int32_t middle = AddDuct(At(100, 0), At(200, 0), L"rd", 6, 6);
  const std::int32_t bottom = AddDuct(At(200, 0), At(300, 0), L"rd", 4, 4);
  Exec(L"UPDATE tblDuct SET OFFSET = 'p', FIT1 = 'own', Z2 = 7 WHERE ixDuct IN (" + std::to_wstring(middle) +
       L"," + std::to_wstring(bottom) + L")");
  Link(top, middle);
  Link(middle, bottom);

  KvDuctDbInfo r;
  ASSERT_TRUE(getDuctRecord(bottom, r, true));
  EXPECT_EQ(r.ixDuct, bottom) << "the duct's own fields stay its own";
  EXPECT_EQ(r.FIT1, L"own");
  EXPECT_EQ(r.Z2, 7.0);
  EXPECT_EQ(r.SHAPE, L"RC");
  EXPECT_EQ(r.MATERIAL, L"AL");
  EXPECT_EQ(r.OFFSET, L"c") << "the offset of the first duct with a section of its own";
  EXPECT_DOUBLE_EQ(r.WIDTH, 23.0);
  EXPECT_DOUBLE_EQ(r.DEPTH, 13.0);

  // Without lining only the section fields change, and nothing is added.
  KvDuctDbInfo kept;
  kept.FIT1 = L"mine";
  ASSERT_TRUE(getDuctRecord(bottom, kept, false));
  EXPECT_EQ(kept.FIT1, L"mine");
  EXPECT_EQ(kept.ixDuct, 0);
  EXPECT_EQ(kept.WIDTH, 20.0);

  // A "p" row with no upstream duct is a row of its own.
  session_.prev.erase(middle);
  ASSERT_TRUE(getDuctRecord(middle, r, true));
  EXPECT_EQ(r.SHAPE, L"rd");
  EXPECT_EQ(r.WIDTH, 6.0);

  // A missing upstream row fails the whole read, and the record is left as it was.
  session_.prev[middle] = 4242;
  KvDuctDbInfo untouched;
  untouched.FIT1 = L"before";
  EXPECT_FALSE(getDuctRecord(bottom, untouched, true));
  EXPECT_EQ(untouched.FIT1, L"before");
  EXPECT_FALSE(getDuctRecord(4242, untouched, true));

  // A chain that comes back to itself ends at the row already seen, as one with no upstream.
  session_.prev[middle] = bottom;
  ASSERT_TRUE(getDuctRecord(bottom, r, false));
  EXPECT_EQ(r.WIDTH, 6.0) << "bottom asks middle, whose upstream is bottom again";
  session_.prev[bottom] = bottom;
  ASSERT_TRUE(getDuctRecord(bottom, r, false));
  EXPECT_EQ(r.WIDTH, 4.0);
}

TEST_F(DuctRecord, NeighboursDiffusersAndShapes) {
  std::int32_t n1 = -1, n2 = -1, n3 = -1, prev = 77, diff = 5;
  session_.next[5] = {6, 7, 8};
  ASSERT_TRUE(getNextDucts(5, n1, n2, n3, true));
  EXPECT_EQ((std::vector<std::int32_t>{n1, n2, n3}), (std::vector<std::int32_t>{6, 7, 8}));
  session_.nextAsPoint = true;
  ASSERT_TRUE(getNextDucts(5, n1, n2, n3, false));
  EXPECT_EQ(n3, 8);
  EXPECT_FALSE(getPrevDuct(5, prev));
  EXPECT_EQ(prev, 77);
  EXPECT_FALSE(getDuctDiffuser(5, diff));
  EXPECT_EQ(diff, 0);
  session_.diffuser[5] = 31;
  EXPECT_TRUE(getDuctDiffuser(5, diff));
  EXPECT_EQ(diff, 31);
  session_.failing = true;
  EXPECT_FALSE(getNextDucts(5, n1, n2, n3, true));
  EXPECT_EQ(n1, 0) << "outputs start at 0";

  KvDuctDbInfo a, b;
  a.SHAPE = L"Rd";
  EXPECT_TRUE(isRectangularDuct(a)) << "only the listed spellings are round";
  EXPECT_FALSE(isRectangularShape(L"Rd"));
  a.SHAPE = L"RC";
  a.MATERIAL = L"FX";
  EXPECT_FALSE(isRectangularDuct(a));
  EXPECT_TRUE(isRectangularShape(a.SHAPE));
  b.SHAPE = L"ox";
  b.WIDTH = -a.WIDTH;
  EXPECT_FALSE(ductSizesDiffer(a, b)) << "flexible is round, sizes by their absolute value";
  b.DEPTH = 0.5;
  EXPECT_TRUE(ductSizesDiffer(a, b));
}

using DuctFrames = DuctRowsTest;

TEST_F(DuctFrames, LevelDuctsJustificationAndConversion) {
  const std::int32_t ix = AddDuct(At(0, 0, 10), At(0, 50, 20), L"RC", 20, 10);
  KvDuctDbInfo r = Row(ix);
  DuctFrame f;
  ductFrame(r, f, false, true);
  EXPECT_NEAR(f[0].length(), 1.0, 1e-12);
  ExpectVector(f[1], -1, 0, 0, "width axis to the left of the run");
  EXPECT_TRUE(f[1].isEqualTo(f[2].crossProduct(f[0]))) << "right-handed";
  EXPECT_NEAR(f[0].dotProduct(f[1]), 0.0, 1e-12);

  r.OFFSET = L"r";
  r.VERTICALOFFSET = L"t";
  AcGePoint3d p = ductStartPoint(r, &f, false);
  // The quarter turn is the system's 1.570796325, not full precision.
  EXPECT_NEAR(p.x, 10.0, 1e-6);
  EXPECT_NEAR(p.z, 10.0 - 5.0 * f[2].z, 1e-6);
  r.OFFSET = L"l";
  r.VERTICALOFFSET = L"h";
  r.iHangerType = 0;
  p = ductEndPoint(r, &f, false);
  EXPECT_NEAR(p.x, -10.0, 1e-6);
  EXPECT_NEAR(p.z, 20.0 + 5.0 * f[2].z, 1e-6);
  r.iHangerType = 2;
  r.dHangerDepth = 3.0;
  EXPECT_NEAR(ductEndPoint(r, &f, false).z, 20.0 + 8.0 * f[2].z, 1e-6);
  EXPECT_TRUE(ductEndPoint(r, nullptr, false).isEqualTo(At(0, 50, 20))) << "without a frame, the stored line";

  // Conversion passes both ends through alignment number 1; a layer without an answer keeps
  // the stored points.
  r.iAlignmentPointNumber1 = 4;
  r.iAlignmentPointNumber2 = 9;
  EXPECT_TRUE(ductStartPoint(r, nullptr, true).isEqualTo(At(0, 0, 10)));
  session_.shift = AcGeVector3d(1000, 0, 0);
  EXPECT_TRUE(ductEndPoint(r, nullptr, true).isEqualTo(At(1000, 50, 20)));
  EXPECT_EQ(session_.alignments, (std::vector<std::int32_t>{4, 4}));
}

TEST_F(DuctFrames, RisersTakeTheirAxesFromNeighboursAndLoopsEndInTheDefault) {
  const std::int32_t riser = AddDuct(At(50, 50, 0), At(50, 50, 120));
  DuctFrame f;
  // No neighbour: depth along X with conversion; without it, along the alignment's angle.
  ductFrame(Row(riser), f, true, true);
  ExpectVector(f[0], 0, 0, 1, "up");
  ExpectVector(f[2], 1, 0, 0, "default depth axis");
  ExpectVector(f[1], 0, -1, 0, "width = depth x run");
  session_.turn = 3.14159265 / 2;
  ductFrame(Row(riser), f, false, true);
  ExpectVector(f[2], std::cos(3.14159265 / 2), std::sin(3.14159265 / 2), 0, "depth along the turned X");
  session_.turn.reset();

  // Between a level duct upstream and anything downstream: the upstream width axis.
  const std::int32_t level = AddDuct(At(0, 50, 0), At(50, 50, 0));
  Link(level, riser);
  DuctFrame up;
  ductFrame(Row(level), up, false, true);
  ductFrame(Row(riser), f, false, true);
  EXPECT_TRUE(f[1].isEqualTo(up[1]));

  // Forced vertical: down, whatever the points say.
  Exec(L"UPDATE tblDuct SET bForceVertical = -1 WHERE ixDuct = " + std::to_wstring(level));
  ductFrame(Row(level), f, false, true);
  ExpectVector(f[0], 0, 0, -1, "forced down");

  // With nothing upstream, down through risers to the first level duct.
  Exec(L"UPDATE tblDuct SET bForceVertical = 0 WHERE ixDuct = " + std::to_wstring(level));
  session_.prev.clear();
  session_.next.clear();
  const std::int32_t riser2 = AddDuct(At(50, 50, 120), At(50, 50, 200));
  const std::int32_t out = AddDuct(At(50, 50, 200), At(50, 0, 200));
  Link(riser, riser2);
  session_.next[riser2] = {riser, out};  // a loop first, then the way out
  ductFrame(Row(riser), f, false, true);
  DuctFrame outFrame;
  ductFrame(Row(out), outFrame, false, true);
  EXPECT_TRUE(f[1].isEqualTo(outFrame[1]));

  // Risers that lead back to themselves, and one that names itself: the default, in a few
  // questions, never a hang.
  session_.next.clear();
  session_.prev = {{riser, riser2}, {riser2, riser}};
  session_.calls.clear();
  ductFrame(Row(riser), f, true, true);
  ExpectVector(f[2], 1, 0, 0, "loop up the chain");
  EXPECT_LE(session_.calls[L"getPrevDuct"], 3);
  session_.prev = {{riser, riser}};
  session_.next = {{riser, {riser, riser, riser}}};
  ductFrame(Row(riser), f, true, true);
  ExpectVector(f[2], 1, 0, 0, "its own neighbour");
}

TEST(DuctGeometry, CarryFrameAndTransitionLength) {
  // A rectangular section turned left: the frame turns with it and B's sizes swap when its
  // width axis stood where the carried depth axis is.
  DuctFrame a{AcGeVector3d(1, 0, 0), AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1)};
  DuctFrame b{AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(1, 0, 0)};
  double w = 20, d = 10;
  carryFrame(a, b, 20, 10, true, w, d);
  ExpectVector(b[1], -1, 0, 0, "carried width axis");
  EXPECT_EQ(w, 10.0) << "carried width against B's depth axis: sizes swap";
  EXPECT_EQ(d, 20.0);
  DuctFrame b2{AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(1, 0, 0)};
  DuctFrame a2{AcGeVector3d(1, 0, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(0, -1, 0)};
  w = 20;
  d = 10;
  carryFrame(a2, b2, 20, 10, true, w, d);
  EXPECT_EQ(w, 20.0);
  ExpectVector(b2[2], 1, 0, 0, "equal width axes leave B alone");
  DuctFrame b3{AcGeVector3d(0, 1, 0), AcGeVector3d(1, 0, 0), AcGeVector3d(0, 0, 1)};
  DuctFrame a3{AcGeVector3d(1, 0, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(0, -1, 0)};
  carryFrame(a3, b3, 20, 10, true, w, d);
  EXPECT_EQ(w, 10.0) << "carried width along B's depth axis: sizes swap";
  EXPECT_EQ(d, 20.0);
  ExpectVector(b3[1], 0, 0, 1, "and B takes the carried frame");

  // A round section is rebuilt in the plane of the bend, and A changes with it.
  DuctFrame ra{AcGeVector3d(1, 0, 0), AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1)};
  DuctFrame rb{AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(1, 0, 0)};
  w = 12;
  d = 12;
  carryFrame(ra, rb, 12, 12, false, w, d);
  ExpectVector(ra[1], 0, 0, 1, "A's width axis is now the bend's normal");
  ExpectVector(rb[1], 0, 0, 1, "B keeps its own, equal to it");
  EXPECT_EQ(w, 12.0);
  // In line there is no bend plane: the section is carried as it stands.
  DuctFrame sa{AcGeVector3d(1, 0, 0), AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1)};
  DuctFrame sb{AcGeVector3d(1, 0, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(0, -1, 0)};
  carryFrame(sa, sb, 12, 12, false, w, d);
  ExpectVector(sb[1], 0, 1, 0, "straight on");
  EXPECT_EQ(w, 12.0) << "round: the swap is L1 against B2 alone, and both sizes are 12";

  EXPECT_EQ(transitionLength(12, 12, true, 12, 12, true, 15), 0.0);
  EXPECT_DOUBLE_EQ(transitionLength(12, 12, true, 12, 12, false, 15), 6.0);
  EXPECT_NEAR(transitionLength(20, 10, true, 12, 10, true, 15), 4.0 / std::tan(15 * 3.14159265 / 180), 1e-12);
}

}  // namespace
