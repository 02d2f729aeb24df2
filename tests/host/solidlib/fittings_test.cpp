// SolidBodies fittings: elbows of both kinds, the cable tray bend, wyes and diffusers.
#include "solid_test_util.h"

using namespace soltest;

namespace {

struct Layout {
  AModeler::Point3d in[8], out[8];
  AcGePoint3d points[8];
};

}  // namespace

TEST(SolidSquareElbow, MitredQuarterTurn) {
  SolidBodies s;
  const Frame fi = alongX(), fo = alongY();
  AcGePoint3d start(-50, 0, 0), end(0, 50, 0);
  Layout l;
  ASSERT_TRUE(s.addSquareElbowPrep(start, 12, 8, end, 12, 8, fi, fo, true, l.in, l.out, l.points, true, 3.0))
      << s.lastError();
  EXPECT_EQ(s.bodyCount(), 0);  // preparing builds nothing
  // Half the width times tan(45 degrees) plus the collar, from the corner.
  expectPoint(start, {-9, 0, 0});
  expectPoint(end, {0, 9, 0});
  expectPoint(l.points[1], {0, 0, 0});
  ASSERT_TRUE(s.addSquareElbow(start, 12, 8, end, 12, 8, fi, fo, true, l.in, l.out, l.points)) << s.lastError();
  EXPECT_EQ(s.bodyCount(), 1);
  EXPECT_TRUE(s.isValid());
  expectRelNear(s.volume(), 96 * 18, 1e-9);
  expectBox(s, {-9, -6, -4}, {6, 9, 4});
}

TEST(SolidSquareElbow, RoundMitre) {
  SolidBodies s;
  AcGePoint3d start(-50, 0, 0), end(0, 50, 0);
  Layout l;
  ASSERT_TRUE(s.addSquareElbowPrep(start, 10, 10, end, 10, 10, alongX(), alongY(), false, l.in, l.out, l.points, true,
                                   3.0));
  ASSERT_TRUE(s.addSquareElbow(start, 10, 10, end, 10, 10, alongX(), alongY(), false, l.in, l.out, l.points))
      << s.lastError();
  expectRelNear(s.volume(), kPi * 25 * 16, 1e-6);
  expectBox(s, {-8, -5, -5}, {5, 8, 5}, 1e-6);
}

TEST(SolidSquareElbow, RefusesWhatAMitreCannotJoin) {
  SolidBodies s;
  const Frame fi = alongX(), fo = alongY();
  Layout l;
  AcGePoint3d start(-50, 0, 0), end(0, 50, 0);
  // A 24 by 12 duct into a 12 by 12 one: only an outlet of the inlet's size joins.
  EXPECT_FALSE(s.addSquareElbowPrep(start, 24, 12, end, 12, 12, fi, fo, true, l.in, l.out, l.points, true, 3.0));
  expectPoint(start, {-50, 0, 0});
  EXPECT_TRUE(s.addSquareElbowPrep(start, 24, 12, end, 24, 12, fi, fo, true, l.in, l.out, l.points, true, 3.0));
  // Building from points that the layout does not hold is refused.
  AcGePoint3d moved = start + AcGeVector3d(-1, 0, 0);
  EXPECT_FALSE(s.addSquareElbow(moved, 24, 12, end, 24, 12, fi, fo, true, l.in, l.out, l.points));
  EXPECT_EQ(s.bodyCount(), 0);
  // A turn of 150 degrees is beyond a mitre; parallel runs do not meet.
  const Frame steep({-0.8660254037844387, 0.5, 0}, {-0.5, -0.8660254037844387, 0}, {0, 0, 1});
  AcGePoint3d a(-50, 0, 0), b = AcGePoint3d(0, 0, 0) + AcGeVector3d(-0.8660254037844387, 0.5, 0) * 40;
  EXPECT_FALSE(s.addSquareElbowPrep(a, 12, 8, b, 12, 8, fi, steep, true, l.in, l.out, l.points, true, 3.0));
  AcGePoint3d c(-50, 0, 0), d(50, 0, 0);
  EXPECT_FALSE(s.addSquareElbowPrep(c, 12, 8, d, 12, 8, fi, fi, true, l.in, l.out, l.points, true, 3.0));
}

TEST(SolidRadiusElbow, BendRadiusFromTheSizeInTheBendPlane) {
  // Width in the plane of the bend: R = 1.5 * 12; the tangent points lie R from the corner.
  SolidBodies flat;
  AcGePoint3d start(-50, 0, 0), end(0, 50, 0);
  ASSERT_TRUE(flat.addRadiusElbow(start, 12, 8, 0, 0, end, 12, 8, alongX(), alongY(), true, 1.5)) << flat.lastError();
  expectPoint(start, {-18, 0, 0}, 1e-9);
  expectPoint(end, {0, 18, 0}, 1e-9);
  expectRelNear(flat.volume(), 96 * 18 * kPi / 2, 1e-6);
  EXPECT_TRUE(flat.isValid());
  expectBox(flat, {-18, -6, -4}, {6, 18, 4}, 1e-4);

  // Turning up, the depth lies in the plane of the bend: R = 1.5 * 8.
  SolidBodies up;
  const Frame rising({0, 0, 1}, {0, 1, 0}, {-1, 0, 0});
  AcGePoint3d s2(-50, 0, 0), e2(0, 0, 50);
  ASSERT_TRUE(up.addRadiusElbow(s2, 12, 8, 1, 0.5, e2, 12, 8, alongX(), rising, true, 1.5)) << up.lastError();
  expectPoint(s2, {-12, 0, 0}, 1e-9);
  // Lined 1 + 0.5 on every side: the 12 by 8 outside around a 9 by 5 bore.
  expectRelNear(up.volume(), (96 - 45) * 12 * kPi / 2, 1e-6);
  EXPECT_TRUE(up.isValid());
  expectBox(up, {-12, -6, -4}, {4, 6, 12}, 1e-4);

  // Forty-five degrees, round: tangent R tan(22.5 degrees).
  SolidBodies round;
  const double c = std::sqrt(0.5);
  const Frame diag({c, c, 0}, {-c, c, 0}, {0, 0, 1});
  AcGePoint3d s3(-50, 0, 0), e3(30 * c, 30 * c, 0);
  ASSERT_TRUE(round.addRadiusElbow(s3, 10, 10, 0, 0, e3, 10, 10, alongX(), diag, false, 2.0)) << round.lastError();
  expectPoint(s3, {-20 * std::tan(kPi / 8), 0, 0}, 1e-9);
  expectRelNear(round.volume(), kPi * 25 * 20 * kPi / 4, 1e-6);
}

TEST(SolidRadiusElbow, LiningLeavesTheBoreClear) {
  // The outside keeps its place and size; only the bore is taken out, so lined and unlined
  // bends meet the same ducts.
  SolidBodies plain, lined;
  AcGePoint3d s1(-50, 0, 0), e1(0, 50, 0), s2 = s1, e2 = e1;
  ASSERT_TRUE(plain.addRadiusElbow(s1, 12, 8, 0, 0, e1, 12, 8, alongX(), alongY(), true, 1.5));
  ASSERT_TRUE(lined.addRadiusElbow(s2, 12, 8, 1, 0, e2, 12, 8, alongX(), alongY(), true, 1.5)) << lined.lastError();
  expectPoint(s2, {-18, 0, 0}, 1e-9);
  expectPoint(e2, {0, 18, 0}, 1e-9);
  EXPECT_EQ(lined.bodyCount(), 1);
  EXPECT_TRUE(lined.isValid());
  // 12 by 8 around 10 by 6, on a centre line of radius 18 over a quarter turn.
  expectRelNear(lined.volume(), (96 - 60) * 18 * kPi / 2, 1e-6);
  expectBox(lined, {-18, -6, -4}, {6, 18, 4}, 1e-4);
  EXPECT_LT(lined.volume(), plain.volume());

  // Round, exterior lining alone: a ring of 10 around 8, at forty-five degrees on R = 20.
  SolidBodies round;
  const double c = std::sqrt(0.5);
  AcGePoint3d s3(-50, 0, 0), e3(30 * c, 30 * c, 0);
  const Frame diag({c, c, 0}, {-c, c, 0}, {0, 0, 1});
  ASSERT_TRUE(round.addRadiusElbow(s3, 10, 10, 0, 1, e3, 10, 10, alongX(), diag, false, 2.0)) << round.lastError();
  expectRelNear(round.volume(), kPi / 4 * (100 - 64) * 20 * kPi / 4, 1e-6);
  EXPECT_TRUE(round.isValid());

  // The lining fills the smaller side even when the side in the bend plane has room left.
  SolidBodies full;
  AcGePoint3d a(-50, 0, 0), b(0, 50, 0);
  EXPECT_FALSE(full.addRadiusElbow(a, 12, 8, 3, 1, b, 12, 8, alongX(), alongY(), true, 1.5));
  EXPECT_EQ(full.bodyCount(), 0);
  EXPECT_TRUE(full.addRadiusElbow(a, 12, 8, 3, 0.9, b, 12, 8, alongX(), alongY(), true, 1.5)) << full.lastError();
  expectRelNear(full.volume(), (96 - 4.2 * 0.2) * 18 * kPi / 2, 1e-6);
}

TEST(SolidRadiusElbow, Refusals) {
  SolidBodies s;
  AcGePoint3d start(-50, 0, 0), end(0, 50, 0);
  EXPECT_FALSE(s.addRadiusElbow(start, 12, 8, 0, 0, end, 12, 8, alongX(), alongY(), true, 0.5));
  EXPECT_TRUE(s.addRadiusElbow(start, 12, 8, 0, 0, end, 12, 8, alongX(), alongY(), true, 0.501)) << s.lastError();
  AcGePoint3d a(-50, 0, 0), b(0, 50, 0);
  EXPECT_FALSE(s.addRadiusElbow(a, 12, 8, 0, 0, b, 10, 8, alongX(), alongY(), true, 1.5));  // outlet differs
  EXPECT_FALSE(s.addRadiusElbow(a, 12, 8, 4, 2, b, 12, 8, alongX(), alongY(), true, 1.5));  // all lining
  AcGePoint3d skew(0, 50, 5);
  EXPECT_FALSE(s.addRadiusElbow(a, 12, 8, 0, 0, skew, 12, 8, alongX(), alongY(), true, 1.5));
  expectPoint(a, {-50, 0, 0});
  EXPECT_EQ(s.bodyCount(), 1);
  EXPECT_TRUE(s.isValid());
}

TEST(SolidCableTray, ChannelSweptRoundTheBend) {
  SolidBodies s;
  AcGePoint3d start(-100, 0, 0), end(0, 100, 0);
  ASSERT_TRUE(s.addCableTraySquareRadiusElbow(start, 24, 6, end, alongX(), alongY(), 2.0)) << s.lastError();
  const double t = 0.3, area = 24 * 6 - (24 - 2 * t) * (6 - t);
  expectRelNear(s.volume(), area * 48 * kPi / 2, 1e-6);
  expectPoint(start, {-48, 0, 0}, 1e-9);
  EXPECT_TRUE(s.isValid());
}

namespace {

struct WyeArrays {
  AModeler::Point3d s[3][8];
  AcGePoint3d g[3][8];
};

}  // namespace

TEST(SolidWye, TwoLegsAtFortyFiveDegrees) {
  const double c = std::sqrt(0.5), t = std::tan(kPi / 8);
  const Frame in = alongX(), legB({c, c, 0}, {-c, c, 0}, {0, 0, 1}), legC({c, -c, 0}, {c, c, 0}, {0, 0, 1});
  AcGePoint3d start(-40, 0, 0), endB(40 * c, 40 * c, 0), endC(40 * c, -40 * c, 0);
  WyeArrays a;
  SolidBodies s;
  ASSERT_TRUE(s.addWyePrep(start, 12, 8, endB, 12, 8, endC, 12, 8, in, legB, legC, true, a.s[0], a.s[1], a.s[2],
                           a.g[0], a.g[1], a.g[2], true, 3.0))
      << s.lastError();
  // The inlet reaches back over the inner corner of each leg's mitre (6 tan 22.5 degrees) and
  // the collar; the legs part at the crotch 6 along (their inner walls cross there) and go on
  // by the collar.
  const double back = 6 * t + 3;
  expectPoint(start, {-back, 0, 0}, 1e-9);
  expectPoint(endB, {9 * c, 9 * c, 0}, 1e-9);
  expectPoint(endC, {9 * c, -9 * c, 0}, 1e-9);
  const AcGePoint3d junction(0, 0, 0);
  ASSERT_TRUE(s.addWye(start, 12, 8, endB, 12, 8, endC, 12, 8, junction, in, legB, legC, true, a.s[0], a.s[1],
                       a.s[2], a.g[0], a.g[1], a.g[2]))
      << s.lastError();
  EXPECT_EQ(s.bodyCount(), 1);
  EXPECT_TRUE(s.isValid());
  expectBox(s, {-back, -15 * c, -4}, {15 * c, 15 * c, 4}, 1e-6);
  // Each leg alone is a mitred bend of centre-line length back + 9. Together they share the
  // inlet and more, and past the crotch the second leg adds at least its last 3.
  const double leg = 96 * (back + 9);
  EXPECT_LT(s.volume(), 2 * leg - 96 * back - 1.0);
  EXPECT_GT(s.volume(), leg + 96 * 3 - 1e-6);
}

TEST(SolidWye, RoundLegsJoinInOneBody) {
  const double c = std::sqrt(0.5);
  const Frame in = alongX(), legB({c, c, 0}, {-c, c, 0}, {0, 0, 1}), legC({0, -1, 0}, {1, 0, 0}, {0, 0, 1});
  AcGePoint3d start(-40, 0, 0), endB(40 * c, 40 * c, 0), endC(0, -40, 0);
  WyeArrays a;
  SolidBodies s;
  ASSERT_TRUE(s.addWyePrep(start, 10, 10, endB, 8, 8, endC, 8, 8, in, legB, legC, false, a.s[0], a.s[1], a.s[2],
                           a.g[0], a.g[1], a.g[2], true, 3.0))
      << s.lastError();
  ASSERT_TRUE(s.addWye(start, 10, 10, endB, 8, 8, endC, 8, 8, {0, 0, 0}, in, legB, legC, false, a.s[0], a.s[1],
                       a.s[2], a.g[0], a.g[1], a.g[2]))
      << s.lastError();
  EXPECT_EQ(s.bodyCount(), 1);
  EXPECT_TRUE(s.isValid());
  const SolidExtents e = s.extents();
  EXPECT_NEAR(e.min.x, start.x, 1e-6);
  EXPECT_NEAR(e.min.y, endC.y, 1e-6);  // the square leg ends flat at its end point
  EXPECT_NEAR(e.max.z, 5, 1e-6);
}

TEST(SolidWye, Refusals) {
  const double c = std::cos(2.5 * kPi / 180), n = std::sin(2.5 * kPi / 180);
  const Frame in = alongX(), legB({c, n, 0}, {-n, c, 0}, {0, 0, 1}), legC({c, -n, 0}, {n, c, 0}, {0, 0, 1});
  WyeArrays a;
  SolidBodies s;
  AcGePoint3d start(-40, 0, 0), endB(40 * c, 40 * n, 0), endC(40 * c, -40 * n, 0);
  EXPECT_FALSE(s.addWyePrep(start, 12, 8, endB, 12, 8, endC, 12, 8, in, legB, legC, true, a.s[0], a.s[1], a.s[2],
                            a.g[0], a.g[1], a.g[2], true, 3.0));
  EXPECT_NE(s.lastError().find("10 degrees"), std::string::npos) << s.lastError();
  AcGePoint3d offC(40 * c, -40 * n + 5, 0);
  EXPECT_FALSE(s.addWyePrep(start, 12, 8, endB, 12, 8, offC, 12, 8, in, legB, alongY(), true, a.s[0], a.s[1],
                            a.s[2], a.g[0], a.g[1], a.g[2], true, 3.0));
  expectPoint(start, {-40, 0, 0});
  EXPECT_EQ(s.bodyCount(), 0);
}

namespace {

const Frame kUp = alongX();  // diffuser frame: length along X, width along Y, up along Z

}  // namespace

TEST(SolidDiffuser, RectangularFaceWithPlenumAndNeck) {
  SolidBodies s;
  AcGePoint3d conn;
  // 24 x 24 face: thickness 1.2, rim 2.4, plenum 7.2 high, neck 2.5 long.
  ASSERT_TRUE(s.addDiffuser({0, 0, 0}, conn, DiffuserType::Rectangular, 24, 24, true, 10, 10, 0, false, 0, 0, false,
                            true, kUp, kUp))
      << s.lastError();
  const double bare = 24 * 24 * 1.2 + 19.2 * 19.2 * 7.2 + 100 * 2.5;
  expectRelNear(s.volume(), bare, 1e-9);
  expectPoint(conn, {0, 0, 10.9}, 1e-9);
  expectBox(s, {-12, -12, 0}, {12, 12, 10.9});

  // With a 12 x 8 duct and an 8 long transition the loft adds a prismatoid.
  SolidBodies d;
  const Frame duct({0, 0, -1}, {0, 1, 0}, {1, 0, 0});
  ASSERT_TRUE(d.addDiffuser({0, 0, 0}, conn, DiffuserType::Rectangular, 24, 24, true, 10, 10, 8, true, 12, 8, false,
                            true, kUp, duct))
      << d.lastError();
  expectRelNear(d.volume() - bare, 8.0 / 6 * (100 + 4 * 11 * 9 + 96), 1e-6);
  expectPoint(conn, {0, 0, 18.9}, 1e-9);
  EXPECT_TRUE(d.isValid());

  // Upside down, everything hangs below the position.
  SolidBodies low;
  ASSERT_TRUE(low.addDiffuser({0, 0, 0}, conn, DiffuserType::Rectangular, 24, 24, true, 10, 10, 0, false, 0, 0, false,
                              false, kUp, kUp));
  expectPoint(conn, {0, 0, -10.9}, 1e-9);
}

TEST(SolidDiffuser, RoundSlotAndSidewallShapes) {
  SolidBodies round;
  AcGePoint3d conn;
  ASSERT_TRUE(round.addDiffuser({0, 0, 0}, conn, DiffuserType::Round, 20, 0, false, 8, 8, 0, false, 0, 0, false, true,
                                kUp, kUp))
      << round.lastError();
  expectRelNear(round.volume(), kPi * (100 * 1.0 + 64 * 6.0 + 16 * 2.0), 1e-6);
  EXPECT_TRUE(round.isValid());

  SolidBodies rect, slot;
  ASSERT_TRUE(rect.addDiffuser({0, 0, 0}, conn, DiffuserType::Rectangular, 8, 48, true, 6, 6, 0, false, 0, 0, false,
                               true, kUp, kUp));
  ASSERT_TRUE(slot.addDiffuser({0, 0, 0}, conn, DiffuserType::Slot, 8, 48, true, 6, 6, 0, false, 0, 0, false, true,
                               kUp, kUp))
      << slot.lastError();
  expectRelNear(rect.volume() - slot.volume(), 2 * (8 * 0.12) * (48 * 0.8) * 0.2, 1e-6);
  EXPECT_TRUE(slot.isValid());

  SolidBodies wall;
  ASSERT_TRUE(wall.addDiffuser({0, 0, 0}, conn, DiffuserType::Sidewall, 20, 10, true, 6, 4, 0, false, 0, 0, false,
                               true, kUp, kUp))
      << wall.lastError();
  const SolidExtents e = wall.extents();
  EXPECT_NEAR(e.max.x, 0, 1e-9);  // the face looks along the diffuser's run, all else behind it
  EXPECT_NEAR(e.max.y - e.min.y, 20, 1e-9);
}

TEST(SolidDiffuser, SideConnectionStopsTheDuctOnItsOwnLine) {
  SolidBodies s;
  AcGePoint3d conn;
  const Frame duct = alongX();  // the duct arrives along +X at the position
  ASSERT_TRUE(s.addDiffuser({100, 50, 9}, conn, DiffuserType::Rectangular, 24, 24, true, 10, 8, 5, true, 12, 8, true,
                            true, kUp, duct))
      << s.lastError();
  EXPECT_NEAR(conn.y, 50, 1e-9);
  EXPECT_NEAR(conn.z, 9, 1e-9);
  EXPECT_LT(conn.x, 100 - 9.6 - 5);  // beyond the plenum's half and the transition
  EXPECT_EQ(s.bodyCount(), 1);
  EXPECT_TRUE(s.isValid());
}

TEST(SolidDiffuser, SidewallGrilleAndRefusals) {
  SolidBodies s;
  ASSERT_TRUE(s.addSidewallDiffuser({0, 6, 0}, 20, 10, alongX())) << s.lastError();
  expectRelNear(s.volume(), 20 * 10 * 0.5, 1e-9);
  expectBox(s, {-10, 5.75, -5}, {10, 6.25, 5});
  AcGePoint3d conn;
  EXPECT_FALSE(s.addDiffuser({0, 0, 0}, conn, DiffuserType::Rectangular, 0, 24, true, 10, 10, 0, false, 0, 0, false,
                             true, kUp, kUp));
  EXPECT_FALSE(s.addDiffuser({0, 0, 0}, conn, static_cast<DiffuserType>(7), 24, 24, true, 10, 10, 0, false, 0, 0,
                             false, true, kUp, kUp));
  EXPECT_FALSE(s.addSidewallDiffuser({0, 0, 0}, 20, 10, nullptr));
  EXPECT_EQ(s.bodyCount(), 1);
  EXPECT_TRUE(s.isValid());
}
