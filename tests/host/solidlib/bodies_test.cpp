// SolidBodies: straight pieces, transitions, flex, slicing, union, explode, text and exchange.
#include <cstdio>
#include <filesystem>
#include <limits>
#include <random>

#include "solid_test_util.h"

using namespace soltest;

namespace {

SolidBodies straight(double x0, double x1, double w = 12, double d = 8) {
  SolidBodies s;
  const Frame f = alongX();
  EXPECT_TRUE(s.addTransition({x0, 0, 0}, true, w, d, {x1, 0, 0}, true, w, d, f, f)) << s.lastError();
  return s;
}

}  // namespace

TEST(SolidTransition, StraightPiecesRectangularAndRound) {
  const SolidBodies rect = straight(0, 100);
  EXPECT_EQ(rect.bodyCount(), 1);
  expectRelNear(rect.volume(), 12 * 8 * 100, 1e-9);
  expectBox(rect, {0, -6, -4}, {100, 6, 4});

  SolidBodies round;
  const Frame f = alongX();
  ASSERT_TRUE(round.addTransition({0, 0, 0}, false, 10, 0, {50, 0, 0}, false, 10, 0, f, f)) << round.lastError();
  expectRelNear(round.volume(), kPi * 25 * 50, 1e-6);
  expectBox(round, {0, -5, -5}, {50, 5, 5});
}

TEST(SolidTransition, RectangleToRoundIsARuledLoft) {
  // A square of half-side a lofted edge by edge into a circle of radius r over h: the section
  // area is quadratic along the run, so V = h (A_square + A_circle + M) / 3 with the mixed
  // area M = 8 sqrt(2) a r / pi of this edge-to-quarter-arc pairing.
  const double a = 6, r = 6, h = 30;
  SolidBodies s;
  const Frame f = alongX();
  ASSERT_TRUE(s.addTransition({0, 0, 0}, true, 2 * a, 2 * a, {h, 0, 0}, false, 2 * r, 0, f, f)) << s.lastError();
  const double mixed = 8 * std::sqrt(2.0) * a * r / kPi;
  expectRelNear(s.volume(), h * (4 * a * a + kPi * r * r + mixed) / 3, 1e-6);
  EXPECT_TRUE(s.isValid());
  expectBox(s, {0, -6, -6}, {30, 6, 6}, 1e-4);
}

TEST(SolidTransition, OffsetPieceKeepsTheVolumeOfItsRun) {
  SolidBodies s;
  const Frame f = alongX();
  ASSERT_TRUE(s.addTransition({0, 0, 0}, true, 12, 8, {60, 10, 0}, true, 12, 8, f, f)) << s.lastError();
  expectRelNear(s.volume(), 96 * 60, 1e-9);
  expectBox(s, {0, -6, -4}, {60, 16, 4});
}

TEST(SolidTransition, RefusalsLeaveNoBody) {
  SolidBodies s = straight(0, 10);
  const Frame f = alongX();
  const AcGeVector3d bad[3] = {{0, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const AcGeVector3d parallel[3] = {{1, 0, 0}, {2, 0, 0}, {0, 0, 1}};
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 0, 8, {10, 0, 0}, true, 12, 8, f, f));
  EXPECT_NE(s.lastError().find("width must be from"), std::string::npos) << s.lastError();
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 12, 8, {0, 5, 0}, true, 12, 8, f, f));  // no run at all
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 12, 8, {10, 0, 0}, true, 12, 8, nullptr, f));
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 12, 8, {10, 0, 0}, true, 12, 8, bad, f));
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 12, 8, {10, 0, 0}, true, 12, 8, parallel, f));
  EXPECT_EQ(s.bodyCount(), 1);
  expectRelNear(s.volume(), 960, 1e-9);
}

TEST(SolidFlex, TubeFollowsItsPointsAndEndDirections) {
  SolidBodies line;
  AcGePoint3dArray pts;
  for (const double x : {0.0, 0.0, 50.0, 100.0}) pts.append({x, 0, 0});  // first point twice
  ASSERT_TRUE(line.addFlex(pts, 4, {1, 0, 0}, {1, 0, 0})) << line.lastError();
  expectRelNear(line.volume(), kPi * 16 * 100, 1e-3);
  expectBox(line, {0, -4, -4}, {100, 4, 4}, 1e-3);

  // A quarter circle of radius 100 through seven points, tangent at both ends.
  SolidBodies arc;
  AcGePoint3dArray quarter;
  for (int k = 0; k <= 6; ++k) {
    const double t = kPi / 2 * k / 6;
    quarter.append({100 * std::cos(t), 100 * std::sin(t), 0});
  }
  ASSERT_TRUE(arc.addFlex(quarter, 4, {0, 1, 0}, {-1, 0, 0})) << arc.lastError();
  expectRelNear(arc.volume(), kPi * 16 * (kPi * 50), 1e-2);
  EXPECT_TRUE(arc.isValid());
  const SolidExtents e = arc.extents();
  EXPECT_NEAR(e.max.x, 104, 0.5);
  EXPECT_NEAR(e.max.y, 104, 0.5);

  SolidBodies none;
  AcGePoint3dArray one;
  one.append({1, 1, 1});
  one.append({1, 1, 1});
  EXPECT_FALSE(none.addFlex(one, 4, {1, 0, 0}, {1, 0, 0}));
  EXPECT_FALSE(none.addFlex(quarter, 0, {0, 1, 0}, {-1, 0, 0}));
  EXPECT_EQ(none.bodyCount(), 0);
}

TEST(SolidSlice, KeepsTheSideOfTheFourthPoint) {
  SolidBodies s = straight(0, 100);
  ASSERT_TRUE(s.sliceLast({40, 0, 0}, {40, 1, 0}, {40, 0, 1}, {0, 0, 0})) << s.lastError();
  expectRelNear(s.volume(), 96 * 40, 1e-9);
  expectBox(s, {0, -6, -4}, {40, 6, 4});
  EXPECT_TRUE(s.isValid());

  SolidBodies other = straight(0, 100);
  ASSERT_TRUE(other.sliceLast({40, 0, 0}, {40, 1, 0}, {40, 0, 1}, {99, 0, 0}));
  expectRelNear(other.volume(), 96 * 60, 1e-9);

  // A plane beyond the body on the far side of `keep` removes it; a bad plane changes nothing.
  SolidBodies gone = straight(0, 100);
  ASSERT_TRUE(gone.sliceLast({200, 0, 0}, {200, 1, 0}, {200, 0, 1}, {300, 0, 0}));
  EXPECT_EQ(gone.bodyCount(), 0);
  SolidBodies kept = straight(0, 100);
  EXPECT_FALSE(kept.sliceLast({0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {5, 5, 5}));
  EXPECT_FALSE(kept.sliceLast({40, 0, 0}, {40, 1, 0}, {40, 0, 1}, {40, 3, 3}));
  expectRelNear(kept.volume(), 9600, 1e-9);
}

TEST(SolidSlice, FirstReachesOnlyTheFirstBody) {
  SolidBodies s = straight(0, 100);
  const Frame f = alongX();
  ASSERT_TRUE(s.addTransition({0, 20, 0}, true, 12, 8, {100, 20, 0}, true, 12, 8, f, f));
  ASSERT_TRUE(s.sliceFirst({50, 0, 0}, {50, 1, 0}, {50, 0, 1}, {0, 0, 0}));
  EXPECT_EQ(s.bodyCount(), 2);
  expectRelNear(s.bodyVolume(0), 96 * 50, 1e-9);
  expectRelNear(s.bodyVolume(1), 96 * 100, 1e-9);
  ASSERT_TRUE(s.sliceLast({25, 0, 0}, {25, 1, 0}, {25, 0, 1}, {0, 0, 0}));
  expectRelNear(s.volume(), 2 * 96 * 25, 1e-9);
}

TEST(SolidUnion, OverlappingSolidsBecomeOneBody) {
  SolidBodies a = straight(0, 100), b = straight(50, 150);
  ASSERT_TRUE(a.doUnion(b)) << a.lastError();
  EXPECT_EQ(a.bodyCount(), 1);
  expectRelNear(a.volume(), 96 * 150, 1e-9);
  EXPECT_EQ(a.faceCount(), 6);  // coplanar faces merged
  EXPECT_TRUE(a.isValid());

  SolidBodies c = straight(0, 10), far = straight(500, 510);
  EXPECT_FALSE(c.doUnion(far));
  EXPECT_FALSE(c.doUnion(c));
  EXPECT_EQ(c.bodyCount(), 1);
  expectRelNear(c.volume(), 960, 1e-9);
}

TEST(SolidExplode, OneEntryPerFace) {
  const SolidBodies box = straight(0, 10);
  const std::vector<SolidBodies> faces = box.explodeFaces();
  ASSERT_EQ(faces.size(), 6u);
  for (const SolidBodies& f : faces) {
    EXPECT_EQ(f.faceCount(), 1);
    EXPECT_DOUBLE_EQ(f.volume(), 0.0);
  }
  SolidBodies round;
  const Frame f = alongX();
  ASSERT_TRUE(round.addTransition({0, 0, 0}, true, 12, 12, {30, 0, 0}, false, 12, 0, f, f));
  EXPECT_EQ(round.explodeFaces().size(), static_cast<std::size_t>(round.faceCount()));
}

TEST(SolidTransform, MovesAndTurnsTheBodies) {
  SolidBodies s = straight(0, 100);
  AcGeMatrix3d m;  // a quarter turn about Z, then a shift
  m.entry[0][0] = 0, m.entry[0][1] = -1, m.entry[1][0] = 1, m.entry[1][1] = 0;
  m.entry[0][3] = 5, m.entry[2][3] = 2;
  ASSERT_TRUE(s.transformBy(m)) << s.lastError();
  expectBox(s, {-1, 0, -2}, {11, 100, 6});
  expectRelNear(s.volume(), 9600, 1e-9);
  AcGeMatrix3d flat;
  flat.entry[2][2] = 0;
  EXPECT_FALSE(s.transformBy(flat));
  expectRelNear(s.volume(), 9600, 1e-9);
}

TEST(SolidMesh, TrianglesAndEdgesOfABox) {
  const SolidMesh m = straight(0, 10).mesh();
  EXPECT_EQ(m.triangleCount(), 12u);
  EXPECT_EQ(m.edges.size(), 12u);
  for (std::size_t i = 0; i < m.faceList.size(); i += 4) {
    EXPECT_EQ(m.faceList[i], 3);
    for (int k = 1; k <= 3; ++k) EXPECT_LT(static_cast<std::size_t>(m.faceList[i + k]), m.vertices.size());
  }
}

TEST(SolidText, RoundTripAndDamage) {
  SolidBodies s = straight(0, 100);
  AcGePoint3dArray pts;
  pts.append({0, 50, 0});
  pts.append({40, 60, 10});
  pts.append({80, 50, 0});
  ASSERT_TRUE(s.addFlex(pts, 3, {1, 0, 0}, {1, 0, 0}));
  const std::string text = s.toText();
  SolidBodies back;
  ASSERT_TRUE(back.fromText(text)) << back.lastError();
  EXPECT_EQ(back.bodyCount(), 2);
  expectRelNear(back.volume(), s.volume(), 1e-9);
  const SolidExtents a = s.extents(), b = back.extents();
  expectPoint(b.min, a.min, 1e-9);
  expectPoint(b.max, a.max, 1e-9);

  EXPECT_FALSE(back.fromText("KVSOLID 2 1 0 0\n"));
  EXPECT_NE(back.lastError().find("newer version"), std::string::npos);
  EXPECT_FALSE(back.fromText("garbage"));
  EXPECT_FALSE(back.fromText(text.substr(0, text.size() / 2)));
  // Damage anywhere in the B-rep is refused before the kernel reads it (a damaged count could
  // make the kernel's reader run for ages): a digit changed, characters cut out, digits inserted.
  const std::size_t body = text.find('\n') + 1;
  std::mt19937 rng(7);
  for (int i = 0; i < 60; ++i) {
    std::string t = text;
    const std::size_t at = body + rng() % (t.size() - body - 1);
    if (i % 3 == 0) t[at] = t[at] == '7' ? '8' : '7';
    if (i % 3 == 1) t.erase(at, 1 + rng() % 20);
    if (i % 3 == 2) t.insert(at, "9999");
    EXPECT_FALSE(back.fromText(t)) << "damage " << i;
  }
  EXPECT_EQ(back.bodyCount(), 2);
  SolidBodies empty;
  ASSERT_TRUE(empty.fromText(SolidBodies().toText()));
  EXPECT_TRUE(empty.isEmpty());
}

// Input the kernel cannot take (numbers out of any drawing's range, sizes no duct has, zero
// or infinite directions, a tube that doubles back on itself) is refused with the bodies left
// as they were; each of these once crashed the kernel or ran it out of time and memory.
TEST(SolidRefusals, DegenerateInputNeverReachesTheKernel) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const Frame f = alongX();
  SolidBodies s = straight(0, 10);
  EXPECT_FALSE(s.addTransition({-1.654795e97, 98.72, -130.04}, true, 100, 100, {-7.31, 0, 389.17}, true, 100, 100, f, f));
  EXPECT_NE(s.lastError().find("start point"), std::string::npos) << s.lastError();
  EXPECT_FALSE(s.addTransition({56.91, -41.98, inf}, true, 10, 10, {450.49, -347.66, 33}, true, 10, 10, f, f));
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 10, 314030413, {100, 0, 0}, true, 10, 10, f, f));
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, nan, 10, {100, 0, 0}, true, 10, 10, f, f));
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 10, 10, {5e6, 0, 0}, true, 10, 10, f, f)) << "a run longer than any";
  const Frame infinite({inf, 0, 0}, {0, 1, 0}, {0, 0, 1});
  EXPECT_FALSE(s.addTransition({0, 0, 0}, true, 10, 10, {100, 0, 0}, true, 10, 10, infinite, f));
  AcGePoint3dArray twoPoints;
  twoPoints.append({0, 0, 0});
  twoPoints.append({1000, 0, 0});
  EXPECT_FALSE(s.addFlex(twoPoints, 12, {-1, 0, 0}, {1, 0, 0})) << "turned back along its own path";
  EXPECT_NE(s.lastError().find("runs into itself"), std::string::npos) << s.lastError();
  EXPECT_FALSE(s.addFlex(twoPoints, 12, {0, 0, 0}, {1, 0, 0}));
  EXPECT_FALSE(s.addFlex(twoPoints, 12, {nan, 1, 0}, {1, 0, 0}));
  EXPECT_FALSE(s.addFlex(twoPoints, 1e9, {1, 0, 0}, {1, 0, 0}));
  EXPECT_FALSE(s.sliceLast({0, 0, 0}, {0, 1, 0}, {0, 0, inf}, {1, 0, 0}));
  AcGeMatrix3d far = AcGeMatrix3d::translation({1e12, 0, 0});
  EXPECT_FALSE(s.transformBy(far));
  EXPECT_EQ(s.bodyCount(), 1);
  expectRelNear(s.volume(), 960, 1e-9);
  // Far-apart points with nearly opposed end directions once crashed the sweep: it builds now.
  AcGePoint3dArray wide;
  wide.append({76075.628, 0.0, 1e-9});
  wide.append({-1e-9, -0.22, 92568.852});
  SolidBodies tube;
  EXPECT_TRUE(tube.addFlex(wide, 12, {1e-9, -79900.346, 0.0}, {-1e-9, 22196.162, -1e-9})) << tube.lastError();
  EXPECT_TRUE(tube.isValid());
}

// A 60 m reducer to 1 cm: its picture and its STL and glTF files come out with the triangles
// bounded (the mesher once ran without end on it); the drawing keeps its edges at least.
TEST(SolidMesh, LongSlenderBodyMeshesWithinItsBounds) {
  SolidBodies cone;
  const Frame f = alongX();
  ASSERT_TRUE(cone.addTransition({0, 0, 0}, false, 1.0, 1.0, {60000, 0, 0}, false, 0.01, 0.01, f, f)) << cone.lastError();
  const SolidMesh m = cone.mesh();
  EXPECT_LE(m.triangleCount(), 400000u);
  EXPECT_FALSE(m.edges.empty());
  const std::string dir = std::string(KV_BINARY_DIR) + "/test_solid_out";
  std::filesystem::create_directories(dir);
  std::string error;
  EXPECT_EQ(kvWriteStl({&cone}, dir + "/cone.stl", error), 1) << error;
  EXPECT_LT(std::filesystem::file_size(dir + "/cone.stl"), 400000u * 50 + 84) << "binary STL: 50 bytes a triangle";
  EXPECT_EQ(kvWriteGltf({&cone}, dir + "/cone.glb", error), 1) << error;
}

TEST(SolidExchange, StepReadsBackWithTheSameVolumes) {
  const SolidBodies a = straight(0, 100);
  SolidBodies b;
  const Frame f = alongX();
  ASSERT_TRUE(b.addTransition({0, 30, 0}, true, 12, 12, {30, 30, 0}, false, 12, 0, f, f));
  const std::string dir = std::string(KV_BINARY_DIR) + "/test_solid_out";
  std::filesystem::create_directories(dir);
  std::string error;
  ASSERT_EQ(kvWriteStep({&a, &b}, dir + "/two.step", error), 2) << error;
  std::vector<double> volumes;
  ASSERT_TRUE(kvReadStepVolumes(dir + "/two.step", volumes, error)) << error;
  ASSERT_EQ(volumes.size(), 2u);
  expectRelNear(volumes[0], a.volume(), 1e-3);
  expectRelNear(volumes[1], b.volume(), 1e-3);
  ASSERT_EQ(kvWriteStl({&a, &b}, dir + "/two.stl", error), 2) << error;
  EXPECT_GT(std::filesystem::file_size(dir + "/two.stl"), 1000u);
  ASSERT_EQ(kvWriteGltf({&a, &b}, dir + "/two.glb", error), 2) << error;
  EXPECT_GT(std::filesystem::file_size(dir + "/two.glb"), 1000u);
  char magic[5] = {};
  std::FILE* glb = std::fopen((dir + "/two.glb").c_str(), "rb");
  ASSERT_NE(glb, nullptr);
  EXPECT_EQ(std::fread(magic, 1, 4, glb), 4u);
  std::fclose(glb);
  EXPECT_STREQ(magic, "glTF");
  EXPECT_EQ(kvWriteStep({&a}, "/nonexistent-dir/x.step", error), -1);
  EXPECT_FALSE(kvReadStepVolumes(dir + "/missing.step", volumes, error));
}
