// What a room draws, captured: selection markers per segment, thick walls as thirteen parallels,
// no closing segment below three points, the outline alone without an index, the box, label and
// leader with one.
#include <algorithm>

#include "room_test.h"

namespace {

using Prim = AcGiCapturedPrimitive;

std::vector<Prim> Capture(hvacRoom& room) {
  AcGiCapture capture;
  capture.draw(&room);
  return capture.primitives();
}

std::size_t Count(const std::vector<Prim>& prims, std::size_t points, Prim::Kind kind = Prim::Kind::Polyline) {
  std::size_t n = 0;
  for (const Prim& p : prims) n += p.kind == kind && (kind != Prim::Kind::Polyline || p.points.size() == points);
  return n;
}

TEST(RoomPicture, SegmentsCarryMarkersAndThickWallsDrawThirteenLines) {
  WorkingDrawing drawing;
  std::vector<RoomPoint> outline = Outline({{0, 0}, {100, 0}, {100, 60}});
  outline[0].thick = true;
  auto room = MakeRoom(outline);
  room->setIxRoomL(-1);
  const std::vector<Prim> prims = Capture(*room);
  ASSERT_EQ(prims.size(), 13u + 1 + 1) << "a thick first segment, the second, the closing one";
  // The thick segment: the line itself, then six offsets on each side, one unit apart.
  std::vector<double> ys;
  for (int i = 0; i < 13; ++i) {
    EXPECT_EQ(prims[i].marker, 1);
    EXPECT_NEAR(prims[i].points[0].y, prims[i].points[1].y, 1e-6);
    ys.push_back(prims[i].points[0].y);
  }
  std::sort(ys.begin(), ys.end());
  for (int i = 0; i < 13; ++i) EXPECT_NEAR(ys[i], i - 6.0, 1e-6);
  EXPECT_EQ(prims[13].marker, 2);
  EXPECT_EQ(prims[14].marker, 3);
  EXPECT_EQ(Count(prims, 0, Prim::Kind::Text), 0u) << "no label without an index";
}

TEST(RoomPicture, TwoPointsDrawOneSegmentAndTheLastFlagWaitsForAThirdPoint) {
  WorkingDrawing drawing;
  std::vector<RoomPoint> outline = Outline({{0, 0}, {100, 0}});
  outline[1].thick = true;
  auto room = MakeRoom(outline);
  room->setIxRoomL(-1);
  EXPECT_EQ(Capture(*room).size(), 1u);
  outline.push_back({50, 50, false});
  outline[2].thick = false;
  room->setPoints(outline);
  EXPECT_EQ(Capture(*room).size(), 1u + 13 + 1) << "the flag now thickens the segment to the new point";
}

TEST(RoomPicture, IndexedRoomDrawsBoxLeaderAndAHorizontalLabel) {
  WorkingDrawing drawing;
  auto room = MakeRoom(Outline({{0, 0}, {100, 0}, {100, 60}, {0, 60}}), L"Office");
  room->setLabelLocation(AcGePoint3d(10, 50, 0));
  room->setLeaderOn(true);
  room->transformBy(AcGeMatrix3d::rotation(0.5, AcGeVector3d::kZAxis, AcGePoint3d::kOrigin));
  const std::vector<Prim> prims = Capture(*room);
  EXPECT_EQ(Count(prims, 5), 1u) << "the box";
  ASSERT_EQ(Count(prims, 0, Prim::Kind::Text), 1u);
  for (const Prim& p : prims) {
    if (p.kind != Prim::Kind::Text) continue;
    EXPECT_NEAR(p.direction.y, 0.0, 1e-12) << "text stays horizontal after a rotation";
    EXPECT_EQ(p.text, L"Office");
  }
  EXPECT_GE(Count(prims, 2), 4u + 2) << "four segments and the leader's two";
  room->setLeaderOn(false);
  EXPECT_EQ(Count(Capture(*room), 2), 4u);
}

}  // namespace
