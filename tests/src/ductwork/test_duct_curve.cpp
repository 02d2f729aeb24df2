// A duct as a curve: parameters along the 3D line (risers included), closest points and their
// status, snaps with hangers, edits that hold elevations, extents, intersections and listing.
#include <memory>
#include <string>

#include "duct_test.h"

namespace {

using Duct = std::unique_ptr<KvDuct>;
constexpr double kRightAngleForTest = 1.5707963267948966;

AcGePoint3dArray Snaps(const KvDuct& d, AcDb::OsnapMode mode, const AcGePoint3d& pick, Acad::ErrorStatus& es,
                       const AcGePoint3d& last = AcGePoint3d()) {
  AcGePoint3dArray pts;
  AcDbIntArray ids;
  es = d.getOsnapPoints(mode, 0, pick, last, AcGeMatrix3d(), pts, ids);
  return pts;
}

void ExpectPoint(const AcGePoint3d& p, double x, double y, double z) {
  EXPECT_NEAR(p.x, x, 1e-9);
  EXPECT_NEAR(p.y, y, 1e-9);
  EXPECT_NEAR(p.z, z, 1e-9);
}

TEST(DuctCurve, ParametersRunAlongTheThreeDimensionalLineAndUpARiser) {
  Duct sloped(MakeDuct({0, 0, 100}, {30, 40, 100}));
  double p = 0;
  sloped->getEndParam(p);
  EXPECT_DOUBLE_EQ(p, 50.0);
  AcGePoint3d at;
  sloped->getPointAtParam(25, at);
  ExpectPoint(at, 15, 20, 100);
  sloped->getPointAtDist(60, at);
  ExpectPoint(at, 36, 48, 100);
  // A point off the line is projected, while the distance to a point is plain.
  sloped->getParamAtPoint({30, 0, 0}, p);
  EXPECT_DOUBLE_EQ(p, 18.0);
  sloped->getDistAtPoint({30, 0, 100}, p);
  EXPECT_DOUBLE_EQ(p, 30.0);
  AcGeVector3d deriv;
  sloped->getFirstDeriv(10.0, deriv);
  EXPECT_EQ(deriv, AcGeVector3d(30, 40, 0)) << "not normalised";

  Duct riser(MakeDuct({5, 5, 120}, {5, 5, 60}));
  riser->getEndParam(p);
  EXPECT_DOUBLE_EQ(p, 60.0) << "the difference of the elevations";
  riser->getPointAtParam(20, at);
  ExpectPoint(at, 5, 5, 100);
}

TEST(DuctCurve, ClosestPointsAnswerInvalidInputBeyondTheEndsUnlessExtended) {
  Duct d(MakeDuct({0, 0, 0}, {100, 0, 50}));
  AcGePoint3d out(-1, -1, -1);
  EXPECT_EQ(d->getClosestPointTo({200, 5, 0}, out), Acad::eInvalidInput);
  ExpectPoint(out, -1, -1, -1);
  EXPECT_EQ(d->getClosestPointTo({200, 5, 0}, out, true), Acad::eOk);
  EXPECT_GT(out.x, 100.0);
  // Seen from above, a pick at X 40 lands on the duct at X 40, at its height there.
  EXPECT_EQ(d->getClosestPointTo({40, 7, 999}, AcGeVector3d::kZAxis, out), Acad::eOk);
  ExpectPoint(out, 40, 0, 20);
  EXPECT_EQ(d->getClosestPointTo({140, 7, 0}, AcGeVector3d::kZAxis, out), Acad::eInvalidInput);
  EXPECT_EQ(d->getClosestPointTo({140, 7, 0}, AcGeVector3d::kZAxis, out, true), Acad::eOk);
  ExpectPoint(out, 140, 0, 70);
}

TEST(DuctCurve, SnapsOfferEndsMidpointsAndHangersOnThePlanLine) {
  KvDuctFields f;
  f.start = {0, 0, 100};
  f.end = {100, 0, 200};
  f.hangerDistances = {25, -50, 100, 150};  // the last two stand at or past the plan length
  Duct d(MakeDuct(f));
  Acad::ErrorStatus es;
  AcGePoint3dArray pts = Snaps(*d, AcDb::kOsModeEnd, {}, es);
  EXPECT_EQ(es, Acad::eOk);
  ASSERT_EQ(pts.length(), 4);
  ExpectPoint(pts[2], 25, 0, 125);
  ExpectPoint(pts[3], 50, 0, 150);
  pts = Snaps(*d, AcDb::kOsModeMid, {}, es);
  ASSERT_EQ(pts.length(), 3);
  ExpectPoint(pts[0], 50, 0, 150);
  Snaps(*d, AcDb::kOsModeCen, {}, es);
  EXPECT_EQ(es, Acad::eInvalidInput) << "centre only for a riser";
  pts = Snaps(*d, AcDb::kOsModeNear, {30, 10, 0}, es);
  ASSERT_EQ(pts.length(), 1);
  ExpectPoint(pts[0], 30, 0, 130);
  pts = Snaps(*d, AcDb::kOsModeNear, {130, 10, 0}, es);
  EXPECT_EQ(pts.length(), 0) << "beyond the end no near point";
  pts = Snaps(*d, AcDb::kOsModePerp, {}, es, {60, -20, 0});
  ASSERT_EQ(pts.length(), 1);
  ExpectPoint(pts[0], 60, 0, 160);
  Snaps(*d, AcDb::kOsModeQuad, {}, es);
  EXPECT_EQ(es, Acad::eInvalidInput);

  // A level duct keeps its hangers at its height; a riser offers its start for every kind.
  f.end.z = 100;
  Duct level(MakeDuct(f));
  pts = Snaps(*level, AcDb::kOsModeEnd, {}, es);
  ExpectPoint(pts[3], 50, 0, 100);
  Duct riser(MakeDuct({5, 5, 0}, {5, 5, 90}));
  for (AcDb::OsnapMode m : {AcDb::kOsModeEnd, AcDb::kOsModeCen, AcDb::kOsModeNear}) {
    pts = Snaps(*riser, m, {50, 50, 0}, es);
    EXPECT_EQ(es, Acad::eOk);
    ASSERT_EQ(pts.length(), 1);
    ExpectPoint(pts[0], 5, 5, 0);
  }
}

TEST(DuctCurve, GripsStretchingTransformsAndExtendNeverChangeElevation) {
  Duct d(MakeDuct({0, 0, 100}, {100, 0, 80}));
  AcGePoint3dArray grips;
  AcDbIntArray modes, ids;
  d->getGripPoints(grips, modes, ids);
  ASSERT_EQ(grips.length(), 3);
  ExpectPoint(grips[1], 50, 0, 90);
  AcDbIntArray mid;
  mid.append(1);
  d->moveGripPointsAt(mid, {10, 20, 30});
  AcGePoint3d s, e;
  d->getStart(s);
  d->getEnd(e);
  ExpectPoint(s, 10, 20, 100);
  ExpectPoint(e, 110, 20, 80);

  d->transformBy(AcGeMatrix3d::translation({0, 0, 10}));
  d->getStart(s);
  EXPECT_EQ(s.z, 100.0);
  d->transformBy(AcGeMatrix3d::rotation(kRightAngleForTest, AcGeVector3d::kZAxis));
  d->getEnd(e);
  ExpectPoint(e, -20, 110, 80);

  d->extend(false, {0, 300, 5});
  d->getEnd(e);
  ExpectPoint(e, 0, 300, 80);
  d->extend(-10.0);
  d->getStart(s);
  EXPECT_EQ(s.z, 100.0);
  EXPECT_LT(s.y, 20.0);

  AcGePoint3dArray stretch;
  d->getStretchPoints(stretch);
  ASSERT_EQ(stretch.length(), 2);
  EXPECT_EQ(stretch[0].z, 0.0);
  AcDbIntArray second;
  second.append(1);
  d->moveStretchPointsAt(second, {1, 1, 1});
  d->getEnd(e);
  ExpectPoint(e, 1, 301, 80);

  // A riser has one stretch point, and dragging it takes both ends along in plan.
  Duct riser(MakeDuct({5, 5, 0}, {5, 5, 90}));
  stretch.setLogicalLength(0);
  riser->getStretchPoints(stretch);
  ASSERT_EQ(stretch.length(), 1);
  AcDbIntArray first;
  first.append(0);
  riser->moveStretchPointsAt(first, {10, 0, 50});
  riser->getStart(s);
  riser->getEnd(e);
  ExpectPoint(s, 15, 5, 0);
  ExpectPoint(e, 15, 5, 90);
  riser->moveStretchPointsAt(second, {10, 0, 0});
  riser->getStart(s);
  EXPECT_EQ(s.x, 15.0) << "a riser moves only through its one point";

  // The accessors take Z only when asked.
  riser->setStart({0, 0, 7}, false);
  riser->getStart(s);
  EXPECT_EQ(s.z, 0.0);
  riser->setStart({0, 0, 7}, true);
  riser->getStart(s);
  EXPECT_EQ(s.z, 7.0);
}

TEST(DuctCurve, ExtentsIntersectionsExplodeAndListing) {
  Duct riser(MakeDuct({5, 5, 0}, {5, 5, 90}));
  AcDbExtents ext;
  ASSERT_EQ(riser->getGeomExtents(ext), Acad::eOk);
  EXPECT_EQ(ext.maxPoint().z, 0.0) << "a riser has the flat extents of its start";
  Duct d(MakeDuct({0, 0, 10}, {100, 0, 10}));
  AcDbExtents ext2;
  d->getGeomExtents(ext2);
  ExpectPoint(ext2.maxPoint(), 100, 0, 10);

  AcDbLine cross({50, -10, 10}, {50, 10, 10});
  AcGePoint3dArray hits;
  ASSERT_EQ(d->intersectWith(&cross, AcDb::kOnBothOperands, hits), Acad::eOk);
  ASSERT_EQ(hits.length(), 1);
  ExpectPoint(hits[0], 50, 0, 10);
  // The duct's own extension is asked for: the other entity sees it as its argument.
  AcDbLine beyond({150, -10, 10}, {150, 10, 10});
  hits.setLogicalLength(0);
  d->intersectWith(&beyond, AcDb::kOnBothOperands, hits);
  EXPECT_EQ(hits.length(), 0);
  d->intersectWith(&beyond, AcDb::kExtendThis, hits);
  EXPECT_EQ(hits.length(), 1);

  AcDbVoidPtrArray parts;
  EXPECT_EQ(d->explode(parts), Acad::eNotApplicable);
  AcDbAuditInfo info;
  EXPECT_EQ(d->audit(&info), Acad::eOk);

  std::string printed;
  kvads::setConsoleSink([&](std::string_view s) { printed += s; });
  KvDuctFields f;
  f.ixDuct = 42;
  f.start = {0, 0, 120.5};
  f.end = {10, 0, 96.126};
  Duct listed(MakeDuct(f));
  listed->list();
  kvads::setConsoleSink(nullptr);
  EXPECT_NE(printed.find("                   Duct ID = 42\n"), std::string::npos) << printed;
  EXPECT_NE(printed.find("                   Starting elevation = 120.5\n"), std::string::npos) << printed;
  EXPECT_NE(printed.find("                   Ending elevation = 96.13\n"), std::string::npos) << printed;
}

}  // namespace
