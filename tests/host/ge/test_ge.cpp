// Geometry: matrix composition and inverse, planes, 2D line intersections with tolerance.
#include <gtest/gtest.h>

#include <cmath>

#include "ge.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

TEST(GeMatrix, CompositionAppliesRightToLeftAndInverts) {
  AcGeMatrix3d rot = AcGeMatrix3d::rotation(kPi / 2, AcGeVector3d::kZAxis, AcGePoint3d(1, 0, 0));
  AcGeMatrix3d move = AcGeMatrix3d::translation(AcGeVector3d(0, 0, 5));
  AcGePoint3d p = (move * rot) * AcGePoint3d(2, 0, 0);
  EXPECT_TRUE(p.isEqualTo({1, 1, 5})) << "rotated about (1,0) first, then lifted";
  AcGeMatrix3d scale = AcGeMatrix3d::scaling(2.0, AcGePoint3d(1, 1, 1));
  EXPECT_TRUE((scale * AcGePoint3d(2, 1, 1)).isEqualTo({3, 1, 1}));
  AcGeMatrix3d all = move * rot * scale;
  EXPECT_TRUE((all.inverse() * (all * AcGePoint3d(3, -2, 7))).isEqualTo({3, -2, 7}));
  EXPECT_TRUE((all * all.inverse()).isEqualTo(AcGeMatrix3d::kIdentity));
  AcGeVector3d v(1, 0, 0);
  v.transformBy(move);
  EXPECT_TRUE(v.isEqualTo({1, 0, 0})) << "vectors ignore translation";
  AcGeMatrix3d mirror = AcGeMatrix3d::mirroring(AcGePlane(AcGePoint3d(0, 0, 2), AcGeVector3d::kZAxis));
  EXPECT_TRUE((mirror * AcGePoint3d(1, 1, 3)).isEqualTo({1, 1, 1}));
  EXPECT_LT(mirror.det(), 0);
}

TEST(GeMatrix, AlignCoordinateSystemsAndPlaneFrames) {
  AcGeMatrix3d m = AcGeMatrix3d::alignCoordSys(AcGePoint3d::kOrigin, AcGeVector3d::kXAxis, AcGeVector3d::kYAxis,
                                               AcGeVector3d::kZAxis, AcGePoint3d(10, 0, 0), AcGeVector3d::kYAxis,
                                               -AcGeVector3d::kXAxis, AcGeVector3d::kZAxis);
  EXPECT_TRUE((m * AcGePoint3d(1, 0, 0)).isEqualTo({10, 1, 0}));
  AcGeVector3d n(0, 1, 1);
  AcGeMatrix3d toWorld = AcGeMatrix3d::planeToWorld(n);
  EXPECT_TRUE((toWorld * AcGeVector3d::kZAxis).isEqualTo(n.normal()));
  EXPECT_NEAR(toWorld.det(), 1.0, 1e-12);
  AcGePlane plane(AcGePoint3d(0, 0, 3), AcGeVector3d(0, 0, 2));
  EXPECT_DOUBLE_EQ(plane.signedDistanceTo({5, 5, 1}), -2.0);
  AcGePoint2d uv = plane.paramOf({4, 5, 3});
  EXPECT_TRUE(plane.evalPoint(uv).isEqualTo({4, 5, 3}));
}

TEST(GeLines2d, SegmentIntersectionHonoursBoundsAndTolerance) {
  AcGeLine2d vertical(AcGePoint2d(2, 0), AcGeVector2d(0, 1));
  AcGeLineSeg2d seg(AcGePoint2d(0, 5), AcGePoint2d(4, 5));
  AcGePoint2d hit;
  ASSERT_TRUE(seg.intersectWith(vertical, hit, AcGeContext::gTol));
  EXPECT_TRUE(hit.isEqualTo({2, 5}));
  AcGeLineSeg2d shortSeg(AcGePoint2d(3, 5), AcGePoint2d(4, 5));
  EXPECT_FALSE(shortSeg.intersectWith(vertical, hit)) << "outside the segment";
  AcGeLineSeg2d touching(AcGePoint2d(2, 1), AcGePoint2d(5, 1));
  ASSERT_TRUE(touching.intersectWith(vertical, hit)) << "an end point on the line counts";
  EXPECT_TRUE(hit.isEqualTo({2, 1}));
  AcGeLine2d parallel(AcGePoint2d(7, 0), AcGeVector2d(0, 3));
  EXPECT_FALSE(vertical.intersectWith(parallel, hit));
  AcGeTol loose;
  loose.setEqualPoint(0.01);
  EXPECT_TRUE(AcGePoint2d(1, 1).isEqualTo({1.005, 1}, loose));
  EXPECT_FALSE(AcGePoint2d(1, 1).isEqualTo({1.005, 1}));
}

TEST(GeArray, PlatformInterface) {
  AcGePoint3dArray pts;
  EXPECT_EQ(pts.append(AcGePoint3d(1, 0, 0)), 0);
  pts.append(AcGePoint3d(2, 0, 0));
  pts.insertAt(0, AcGePoint3d(0, 0, 0));
  EXPECT_EQ(pts.logicalLength(), 3);
  EXPECT_EQ(pts.find(AcGePoint3d(2, 0, 0)), 2);
  int at = -1;
  EXPECT_TRUE(pts.find(AcGePoint3d(1, 0, 0), at));
  EXPECT_EQ(at, 1);
  pts.removeAt(1).reverse();
  EXPECT_TRUE(pts.first().isEqualTo({2, 0, 0}));
  EXPECT_THROW(pts.at(5), std::out_of_range);
}

}  // namespace
