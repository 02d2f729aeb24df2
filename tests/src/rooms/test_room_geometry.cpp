// Room geometry: area against the shoelace formula, the two-ray point-in-room rule on edges and
// vertices, the label box and the default leader, grips and stretch, and transformation.
#include <cmath>

#include "room_test.h"

namespace {

constexpr double kTol = 1e-9;

// The shoelace formula, independent of the host's polyline.
double Shoelace(const std::vector<RoomPoint>& p) {
  double twice = 0.0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    const RoomPoint& a = p[i];
    const RoomPoint& b = p[(i + 1) % p.size()];
    twice += a.x * b.y - b.x * a.y;
  }
  return std::fabs(twice) / 2.0;
}

double AreaOf(const std::vector<RoomPoint>& outline) {
  auto room = MakeRoom(outline);
  double area = -1.0;
  EXPECT_EQ(room->getArea(area), Acad::eOk);
  return area;
}

bool Inside(const hvacRoom& room, double x, double y) { return room.containsPoint(AcGePoint3d(x, y, 0)); }

void ExpectAt(const AcGePoint3d& p, double x, double y) {
  EXPECT_NEAR(p.x, x, 1e-6);
  EXPECT_NEAR(p.y, y, 1e-6);
}

TEST(RoomArea, MatchesTheShoelaceFormulaForEveryKindOfOutline) {
  const std::vector<std::vector<RoomPoint>> outlines = {
      Outline({{0, 0}, {180, 0}, {180, 150}, {0, 150}}),                        // convex
      Outline({{0, 0}, {300, 0}, {300, 140}, {120, 140}, {120, 270}, {0, 270}}),  // concave L
      Outline({{0, 0}, {0, 150}, {180, 150}, {180, 0}}),                        // clockwise
      Outline({{0, 0}, {90, 0}, {180, 0}, {180, 150}, {0, 150}}),               // collinear point
      Outline({{0, 0}, {0.25, 0}, {0.25, 420}, {0, 420}}),                      // very thin
      Outline({{3, 7}, {41.5, -2.25}, {19, 33}}),                               // a skew triangle
  };
  for (const auto& o : outlines) {
    SCOPED_TRACE(o.size());
    EXPECT_NEAR(AreaOf(o), Shoelace(o), kTol);
  }
  EXPECT_NEAR(AreaOf(outlines[0]), 27000.0, kTol) << "a hand value";
  EXPECT_NEAR(AreaOf(outlines[1]), 300 * 140 + 120 * 130, kTol) << "a hand value";
}

TEST(RoomArea, AnOutlineOfNoOrTwoPointsHasNoArea) {
  EXPECT_NEAR(AreaOf({}), 0.0, kTol);
  EXPECT_NEAR(AreaOf(Outline({{0, 0}, {50, 0}})), 0.0, kTol);
}

TEST(RoomContains, BothRaysMustCrossAnOddNumberOfTimes) {
  for (const auto& outline : {Outline({{0, 0}, {10, 0}, {10, 10}, {0, 10}}), Outline({{0, 10}, {10, 10}, {10, 0}, {0, 0}})}) {
    auto room = MakeRoom(outline);
    EXPECT_TRUE(Inside(*room, 5, 5));
    EXPECT_FALSE(Inside(*room, 15, 5));
    EXPECT_FALSE(Inside(*room, -1, 5));
    EXPECT_FALSE(Inside(*room, 5, 11));
  }
  // The notch of an L lies outside it.
  auto l = MakeRoom(Outline({{0, 0}, {300, 0}, {300, 140}, {120, 140}, {120, 270}, {0, 270}}));
  EXPECT_TRUE(Inside(*l, 60, 200));
  EXPECT_FALSE(Inside(*l, 200, 200));
  EXPECT_TRUE(Inside(*l, 200, 70));
  // A thin room still holds the points between its walls.
  auto thin = MakeRoom(Outline({{0, 0}, {0.25, 0}, {0.25, 420}, {0, 420}}));
  EXPECT_TRUE(Inside(*thin, 0.125, 200));
  EXPECT_FALSE(Inside(*thin, 0.5, 200));
  EXPECT_FALSE(MakeRoom({})->containsPoint(AcGePoint3d(0, 0, 0)));
}

TEST(RoomContains, RaysThroughAVertexCountItOnce) {
  // Both rays from the centre of a diamond leave through a vertex shared by two segments.
  auto diamond = MakeRoom(Outline({{5, 0}, {10, 5}, {5, 10}, {0, 5}}));
  EXPECT_TRUE(Inside(*diamond, 5, 5));
  EXPECT_TRUE(Inside(*diamond, 5, 2));
}

TEST(RoomContains, EdgesAndVerticesFollowTheCrossingCounts) {
  // Counter-clockwise square from the origin. On the bottom edge both rays cross once (up
  // through the top, right through the right edge's start); on the other edges and at a vertex
  // one ray runs along an edge or leaves through a segment's own end, and the point is outside.
  auto room = MakeRoom(Outline({{0, 0}, {10, 0}, {10, 10}, {0, 10}}));
  EXPECT_TRUE(Inside(*room, 5, 0));
  EXPECT_FALSE(Inside(*room, 5, 10));
  EXPECT_FALSE(Inside(*room, 0, 5));
  EXPECT_FALSE(Inside(*room, 10, 5));
  EXPECT_FALSE(Inside(*room, 0, 0));
  EXPECT_FALSE(Inside(*room, 10, 10));
}

TEST(RoomLeader, DefaultLeaderRunsToTheNearestQuarterPoint) {
  WorkingDrawing drawing(10.0);
  auto room = MakeRoom(Outline({{0, 0}, {200, 0}, {200, 100}, {0, 100}}), L"Office");
  room->setLabelLocation(AcGePoint3d(150, 60, 4));
  ExpectAt(room->labelOrigin(), 147, 63);  // half the text height out, the location's Z dropped
  room->setLeaderOn(true);
  AcGePoint3d start, middle, end;
  room->getLeaderPoints(start, middle, end);
  // Quarter points: (0, 25) closing, (50, 0), (200, 25), (150, 100); the label sits near the last.
  ExpectAt(end, 150, 100);
  const AcGePoint2d top = room->nearestSideMidpoint(AcGePoint2d(150, 100));
  ExpectAt(start, top.x, top.y);
  ExpectAt(middle, top.x, top.y + 1.0);  // 0.1 x DIMSCALE, away from the label's centre

  // One point: the closing segment is the point itself.
  auto single = MakeRoom(Outline({{40, -30}}));
  single->setLabelLocation(AcGePoint3d(0, 0, 0));
  single->setLeaderOn(true);
  single->getLeaderPoints(start, middle, end);
  ExpectAt(end, 40, -30);
  EXPECT_TRUE(single->leaderOn());
}

TEST(RoomLeader, LeaderByTwoPointsLeavesItsSideSquare) {
  auto room = MakeRoom(Outline({{0, 0}, {200, 0}, {200, 100}, {0, 100}}), L"Office");
  room->setLabelLocation(AcGePoint3d(20, 80, 0));
  const AcGePoint2d c = room->labelCenter();
  AcGePoint3d start, middle, end;
  // Elbow to the right and below: the right side wins, the elbow takes the centre's Y.
  room->setLeaderOn(true);
  room->setLeaderLocation(AcGePoint3d(200, 40, 0), AcGePoint3d(160, c.y - 5, 0));
  room->getLeaderPoints(start, middle, end);
  ExpectAt(end, 200, 40);
  EXPECT_NEAR(middle.x, 160, 1e-9);
  EXPECT_NEAR(middle.y, c.y, 1e-9);
  EXPECT_NEAR(start.y, c.y, 1e-9);
  // Elbow far below: the bottom side wins, the elbow takes the centre's X.
  room->setLeaderLocation(AcGePoint3d(30, 0, 0), AcGePoint3d(c.x + 4, 10, 0));
  room->getLeaderPoints(start, middle, end);
  EXPECT_NEAR(middle.x, c.x, 1e-9);
  EXPECT_NEAR(middle.y, 10, 1e-9);
  // A longer label takes its centre away from the elbow: the left side is now nearest, and the
  // first segment turns to leave it level.
  room->setLabelText(L"A much longer label for the office");
  const AcGePoint2d c2 = room->labelCenter();
  room->getLeaderPoints(start, middle, end);
  EXPECT_NEAR(start.x, room->labelOrigin().x, 1e-9);
  EXPECT_NEAR(start.y, c2.y, 1e-9);
  EXPECT_NEAR(middle.y, c2.y, 1e-9);
  EXPECT_NEAR(middle.x, c.x, 1e-9);
}

struct Grips {
  AcGePoint3dArray points;
  explicit Grips(const hvacRoom& room) {
    AcDbIntArray modes, ids;
    room.getGripPoints(points, modes, ids);
  }
};

AcDbIntArray Indices(std::initializer_list<int> list) {
  AcDbIntArray out;
  for (int i : list) out.append(i);
  return out;
}

TEST(RoomGrips, OrderAndShiftWithTheLeader) {
  auto room = MakeRoom(Outline({{0, 0}, {100, 0}, {100, 50}, {0, 50}}));
  room->setLabelLocation(AcGePoint3d(10, 40, 0));
  Grips off(*room);
  ASSERT_EQ(off.points.length(), 1 + 4 + 1 + 3);
  ExpectAt(off.points[1], 0, 0);
  ExpectAt(off.points[5], 0, 25);  // the closing segment's midpoint
  ExpectAt(off.points[6], 50, 0);
  room->setLeaderOn(true);
  Grips on(*room);
  ASSERT_EQ(on.points.length(), 1 + 2 + 4 + 1 + 3);
  ExpectAt(on.points[3], 0, 0);  // the same vertex, two further on
  AcGePoint3d start, middle, end;
  room->getLeaderPoints(start, middle, end);
  ExpectAt(on.points[1], end.x, end.y);
  ExpectAt(on.points[2], middle.x, middle.y);
}

TEST(RoomGrips, LabelGripTakesTheLeaderStartButNotItsArrow) {
  auto room = MakeRoom(Outline({{0, 0}, {100, 0}, {100, 50}, {0, 50}}));
  room->setLabelLocation(AcGePoint3d(10, 40, 0));
  room->setLeaderOn(true);
  AcGePoint3d s0, m0, e0, s1, m1, e1;
  room->getLeaderPoints(s0, m0, e0);
  room->moveGripPointsAt(Indices({0}), AcGeVector3d(5, -3, 0));
  room->getLeaderPoints(s1, m1, e1);
  ExpectAt(room->fields().label.location(), 15, 37);
  ExpectAt(s1, s0.x + 5, s0.y - 3);
  ExpectAt(m1, m0.x + 5, m0.y - 3);
  ExpectAt(e1, e0.x, e0.y);
  room->moveGripPointsAt(Indices({1}), AcGeVector3d(0, 7, 0));
  room->getLeaderPoints(s1, m1, e1);
  ExpectAt(e1, e0.x, e0.y + 7);
}

TEST(RoomGrips, MidpointGripsDragTheirSegmentOnlyAsGrips) {
  const auto outline = Outline({{0, 0}, {100, 0}, {100, 50}, {0, 50}});
  auto room = MakeRoom(outline);
  // Leader off: 0 label, 1..4 vertices, 5 closing midpoint, 6..8 segment midpoints.
  room->moveStretchPointsAt(Indices({5, 6}), AcGeVector3d(-10, 0, 0));
  EXPECT_EQ(room->points(), outline) << "a stretch moves no midpoint";
  room->moveGripPointsAt(Indices({5}), AcGeVector3d(-10, 0, 0));
  EXPECT_EQ(room->points()[0], (RoomPoint{-10, 0, false}));
  EXPECT_EQ(room->points()[3], (RoomPoint{-10, 50, false}));
  EXPECT_EQ(room->points()[1], outline[1]);
  room->moveGripPointsAt(Indices({6}), AcGeVector3d(0, -5, 0));
  EXPECT_EQ(room->points()[0], (RoomPoint{-10, -5, false}));
  EXPECT_EQ(room->points()[1], (RoomPoint{100, -5, false}));
  room->moveStretchPointsAt(Indices({3}), AcGeVector3d(1, 1, 0));
  EXPECT_EQ(room->points()[2], (RoomPoint{101, 51, false}));
}

TEST(RoomTransform, RotationMovesTheLabelButKeepsItsTextAndLeaderSquare) {
  auto room = MakeRoom(Outline({{0, 0}, {100, 0}, {100, 50}, {0, 50}}), L"Office");
  room->setLabelLocation(AcGePoint3d(10, 40, 0));
  room->setLeaderOn(true);
  const double turn = std::acos(-1.0) / 2.0;
  room->transformBy(AcGeMatrix3d::rotation(turn, AcGeVector3d::kZAxis, AcGePoint3d::kOrigin));
  ExpectAt(AcGePoint3d(room->points()[1].x, room->points()[1].y, 0), 0, 100);
  ExpectAt(room->fields().label.location(), -40, 10);
  EXPECT_NEAR(room->fields().label.rotation(), 0.0, 1e-12);
  AcGePoint3d start, middle, end;
  room->getLeaderPoints(start, middle, end);
  const AcGePoint2d anchor = room->nearestSideMidpoint(AcGePoint2d(middle.x, middle.y));
  ExpectAt(start, anchor.x, anchor.y);
  EXPECT_TRUE(std::fabs(middle.x - start.x) < 1e-9 || std::fabs(middle.y - start.y) < 1e-9);
  // With the leader off the leader's points stay where they were.
  room->setLeaderOn(false);
  room->transformBy(AcGeMatrix3d::translation(AcGeVector3d(500, 0, 0)));
  AcGePoint3d s2, m2, e2;
  room->getLeaderPoints(s2, m2, e2);
  ExpectAt(e2, end.x, end.y);
}

TEST(Leader, CurveRunsAlongTheChordAndGripsMoveOnce) {
  KVLeader leader(AcGePoint3d(0, 0, 0), AcGePoint3d(0, 30, 0), AcGePoint3d(40, 30, 0), 0.0, AcDbObjectId(),
                  AcDbObjectId());
  double endParam = 0, param = 0;
  leader.getEndParam(endParam);
  EXPECT_NEAR(endParam, 50.0, kTol);
  leader.getParamAtPoint(AcGePoint3d(0, 30, 0), param);
  EXPECT_NEAR(param, 18.0, kTol) << "the elbow's parameter is shorter than the path to it (30)";
  AcGePoint3d p;
  leader.getPointAtDist(25.0, p);
  ExpectAt(p, 20, 15);
  EXPECT_TRUE(leader.trimPoint().isEqualTo(AcGePoint3d(40, 30, 0))) << "size 0 trims nothing";
  leader.setArrowSize(4.0);
  EXPECT_TRUE(leader.trimPoint().isEqualTo(AcGePoint3d(36, 30, 0)));
  EXPECT_NEAR(leader.arrow().scaleFactors().sx, 4.0, kTol);
  EXPECT_NEAR(leader.arrow().rotation(), 0.0, kTol);
  ExpectAt(leader.arrow().position(), 40, 30);

  leader.moveGripPointsAt(Indices({2, 2, 2}), AcGeVector3d(0, 10, 0));
  AcGePoint3d s, m, e;
  leader.getPoints(s, m, e);
  ExpectAt(e, 40, 40);
  EXPECT_NEAR(leader.arrow().rotation(), std::atan2(10.0, 40.0), kTol) << "the arrow follows its end";

}

}  // namespace
