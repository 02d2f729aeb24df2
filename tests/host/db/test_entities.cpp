// Curves, polylines, splines, text metrics, block references and the model space index.
#include <gtest/gtest.h>

#include <cmath>

#include "db.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

TEST(DbLine, ParametersAreDistancesAndClosestPointClamps) {
  AcDbLine line({0, 0, 0}, {3, 4, 0});
  double end = 0, dist = 0;
  ASSERT_EQ(line.getEndParam(end), Acad::eOk);
  EXPECT_DOUBLE_EQ(end, 5.0);
  AcGePoint3d p;
  ASSERT_EQ(line.getPointAtDist(2.5, p), Acad::eOk);
  EXPECT_TRUE(p.isEqualTo({1.5, 2, 0}));
  EXPECT_EQ(line.getPointAtDist(6.0, p), Acad::eInvalidInput);
  ASSERT_EQ(line.getDistAtPoint({3, 4, 0}, dist), Acad::eOk);
  EXPECT_DOUBLE_EQ(dist, 5.0);
  EXPECT_EQ(line.getDistAtPoint({3, 0, 0}, dist), Acad::eInvalidInput) << "off the line";
  ASSERT_EQ(line.getClosestPointTo({10, 10, 0}, p), Acad::eOk);
  EXPECT_TRUE(p.isEqualTo({3, 4, 0}));
  ASSERT_EQ(line.getClosestPointTo({10, 10, 0}, p, true), Acad::eOk);
  EXPECT_NEAR(p.distanceTo({0, 0, 0}), (3 * 10 + 4 * 10) / 5.0, 1e-12);
}

TEST(DbLine, IntersectionsWithExtension) {
  AcDbLine a({0, 0, 0}, {1, 0, 0});
  AcDbLine b({2, -1, 0}, {2, 1, 0});
  AcGePoint3dArray pts;
  EXPECT_EQ(a.intersectWith(&b, AcDb::kOnBothOperands, pts), Acad::eOk);
  EXPECT_TRUE(pts.isEmpty());
  EXPECT_EQ(a.intersectWith(&b, AcDb::kExtendThis, pts), Acad::eOk);
  ASSERT_EQ(pts.length(), 1);
  EXPECT_TRUE(pts[0].isEqualTo({2, 0, 0}));
  AcDbPolyline square;
  for (int i = 0; i < 4; ++i) square.addVertexAt(static_cast<unsigned>(i), AcGePoint2d((i == 1 || i == 2) ? 4 : 0, i >= 2 ? 4 : 0));
  square.setClosed(true);
  AcDbLine across({-1, 2, 0}, {5, 2, 0});
  pts.removeAll();
  across.intersectWith(&square, AcDb::kOnBothOperands, pts);
  EXPECT_EQ(pts.length(), 2);
}

TEST(DbPolyline, AreaLengthAndBulges) {
  AcDbPolyline square;
  square.addVertexAt(0, {0, 0});
  square.addVertexAt(1, {10, 0});
  square.addVertexAt(2, {10, 10});
  square.addVertexAt(3, {0, 10});
  square.setClosed(true);
  double area = 0, len = 0, end = 0;
  ASSERT_EQ(square.getArea(area), Acad::eOk);
  EXPECT_DOUBLE_EQ(area, 100.0);
  square.getEndParam(end);
  ASSERT_EQ(square.getDistAtParam(end, len), Acad::eOk);
  EXPECT_DOUBLE_EQ(len, 40.0);
  // A half circle of radius 5 on the bottom edge; in a counter-clockwise outline bulge 1 swings
  // it outward and -1 inward.
  square.setBulgeAt(0, -1.0);
  ASSERT_EQ(square.getArea(area), Acad::eOk);
  EXPECT_NEAR(area, 100.0 - kPi * 25 / 2, 1e-9);
  square.setBulgeAt(0, 1.0);
  ASSERT_EQ(square.getArea(area), Acad::eOk);
  EXPECT_NEAR(area, 100.0 + kPi * 25 / 2, 1e-9);
  AcGePoint3d mid;
  ASSERT_EQ(square.getPointAtParam(0.5, mid), Acad::eOk);
  EXPECT_TRUE(mid.isEqualTo({5, -5, 0}, AcGeTol()) || mid.distanceTo({5, -5, 0}) < 1e-9);
  AcDbPolyline empty;
  empty.setClosed(true);
  ASSERT_EQ(empty.getArea(area), Acad::eOk);
  EXPECT_EQ(area, 0.0);
  AcDbPolyline reversed;
  for (unsigned i = 0; i < 3; ++i) reversed.addVertexAt(0, AcGePoint2d(i == 1 ? 4 : 0, i == 2 ? 3 : 0), 0, -1, -1);
  reversed.setClosed(true);
  ASSERT_EQ(reversed.getArea(area), Acad::eOk);
  EXPECT_DOUBLE_EQ(area, 6.0) << "vertex order does not change the sign";
}

TEST(DbSpline, FitsPointsWithEndTangentsAndMeasuresArcLength) {
  AcGePoint3dArray pts;
  for (int i = 0; i <= 8; ++i) {
    double a = kPi / 2 * i / 8;
    pts.append(AcGePoint3d(10 * std::cos(a), 10 * std::sin(a), 0));
  }
  AcDbSpline arc(pts, AcGeVector3d(0, 1, 0), AcGeVector3d(-1, 0, 0), 4, 0.0);
  AcGePoint3d end;
  ASSERT_EQ(arc.getEndPoint(end), Acad::eOk);
  EXPECT_TRUE(end.isEqualTo({0, 10, 0}, AcGeTol()) || end.distanceTo({0, 10, 0}) < 1e-9);
  double len = 0;
  ASSERT_EQ(arc.getDistAtPoint(end, len), Acad::eOk);
  EXPECT_NEAR(len, 10 * kPi / 2, 1e-2) << "nearly a quarter circle";
  AcGePoint3d half;
  ASSERT_EQ(arc.getPointAtDist(len / 2, half), Acad::eOk);
  EXPECT_NEAR(half.x, 10 * std::cos(kPi / 4), 5e-3);
  EXPECT_NEAR(half.y, 10 * std::sin(kPi / 4), 5e-3);
  double back = 0;
  ASSERT_EQ(arc.getDistAtPoint(half, back), Acad::eOk);
  EXPECT_NEAR(back, len / 2, 1e-6);
}

TEST(DbSpline, DegenerateFitsThrow) {
  AcGePoint3dArray one;
  one.append({0, 0, 0});
  EXPECT_THROW(AcDbSpline(one, AcGeVector3d(1, 0, 0), AcGeVector3d(1, 0, 0), 4, 0.0), std::invalid_argument);
  AcGePoint3dArray twice;
  twice.append({1, 1, 0});
  twice.append({1, 1, 0});
  EXPECT_THROW(AcDbSpline(twice, AcGeVector3d(1, 0, 0), AcGeVector3d(1, 0, 0), 4, 0.0), std::invalid_argument);
}

TEST(DbMText, ParagraphsWrapAndSizeFromFontMetrics) {
  AcDbMText text;
  text.setTextHeight(2.0);
  text.setContents(L"ROOM 101\\P250 SF");
  EXPECT_EQ(text.text(), L"ROOM 101\n250 SF");
  EXPECT_NEAR(text.actualHeight(), 2.0 + 2.0 * 5.0 / 3.0, 1e-12);
  double wide = text.actualWidth();
  EXPECT_GT(wide, 8.0);
  EXPECT_LT(wide, 2.0 * 8 * 1.2);
  text.setContents(L"ROOM 101");
  EXPECT_NEAR(text.actualWidth(), wide, 1e-9) << "the wider line sets the width";
  text.setContents(L"ONE TWO THREE FOUR");
  double oneLine = text.actualWidth();
  text.setWidth(oneLine / 2);
  EXPECT_GT(text.actualHeight(), 2.0 * 2) << "words wrap at the defined width";
  EXPECT_LE(text.actualWidth(), oneLine / 2 + 1e-9);
  text.setWidth(0);
  text.setAttachment(AcDbMText::kMiddleCenter);
  text.setLocation({100, 100, 0});
  AcDbExtents ext;
  ASSERT_EQ(text.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR((ext.minPoint().x + ext.maxPoint().x) / 2, 100, 1e-9);
  EXPECT_NEAR((ext.minPoint().y + ext.maxPoint().y) / 2, 100, 1e-9);
}

TEST(DbIndex, CrossingQueriesSeeOnlyWhatTheBoxTouches) {
  AcDbDatabase db;
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  std::vector<AcDbObjectId> ids;
  for (int i = 0; i < 100; ++i) {
    auto* l = new AcDbLine(AcGePoint3d(i * 10.0, 0, 0), AcGePoint3d(i * 10.0 + 5, 5, 0));
    AcDbObjectId id;
    ms->appendAcDbEntity(id, l);
    l->close();
    ids.push_back(id);
  }
  auto* big = new AcDbLine(AcGePoint3d(-1000, -1, 0), AcGePoint3d(1000, -1, 0));
  AcDbObjectId bigId;
  ms->appendAcDbEntity(bigId, big);
  big->close();
  ms->close();
  std::vector<AcDbObjectId> hits;
  db.queryModelSpace(101, 1, 104, 2, hits);
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_EQ(hits[0], ids[10]);
  hits.clear();
  db.queryModelSpace(-500, -2, -499, 0, hits);
  ASSERT_EQ(hits.size(), 1u) << "a long entity is found far from its lower-left corner";
  EXPECT_EQ(hits[0], bigId);
  AcDbLine* l = nullptr;
  ASSERT_EQ(acdbOpenObject(l, ids[10], AcDb::kForWrite), Acad::eOk);
  l->erase();
  l->close();
  hits.clear();
  db.queryModelSpace(101, 1, 104, 2, hits);
  EXPECT_TRUE(hits.empty()) << "erased entities leave the index";

  // Entities out at the ends of the number range keep their place in the index (their cell
  // numbers once overflowed the integers they are kept in).
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* endless = new AcDbLine(AcGePoint3d(-1e308, 3, 0), AcGePoint3d(1e308, 3, 0));
  AcDbObjectId endlessId;
  ms->appendAcDbEntity(endlessId, endless);
  endless->close();
  auto* far = new AcDbLine(AcGePoint3d(1e300, 1e300, 0), AcGePoint3d(2e300, 2e300, 0));
  AcDbObjectId farId;
  ms->appendAcDbEntity(farId, far);
  far->close();
  ms->close();
  hits.clear();
  db.queryModelSpace(-500, 2, -499, 4, hits);
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_EQ(hits[0], endlessId);
  hits.clear();
  db.queryModelSpace(1.5e300, 1.5e300, 1.6e300, 1.6e300, hits);
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_EQ(hits[0], farId);
}

TEST(DbBlockReference, TransformExtentsAndExplode) {
  AcDbDatabase db;
  AcDbBlockTable* bt = nullptr;
  ASSERT_EQ(db.getBlockTable(bt, AcDb::kForWrite), Acad::eOk);
  auto* arrow = new AcDbBlockTableRecord;
  arrow->setName(L"ARROW");
  AcDbObjectId arrowId;
  ASSERT_EQ(bt->add(arrowId, arrow), Acad::eOk);
  bt->close();
  auto* seg = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0));
  ASSERT_EQ(arrow->appendAcDbEntity(seg), Acad::eOk);
  seg->close();
  arrow->close();
  AcDbBlockReference ref(AcGePoint3d(10, 10, 0), arrowId);
  ref.setRotation(kPi / 2);
  ref.setScaleFactors(AcGeScale3d(2));
  AcDbExtents ext;
  ASSERT_EQ(ref.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.maxPoint().y, 12, 1e-9);
  EXPECT_NEAR(ext.minPoint().x, 10, 1e-9);
  AcDbVoidPtrArray parts;
  ASSERT_EQ(ref.explode(parts), Acad::eOk);
  ASSERT_EQ(parts.length(), 1);
  auto* piece = static_cast<AcDbLine*>(parts[0]);
  EXPECT_TRUE(piece->endPoint().isEqualTo({10, 12, 0}, AcGeTol()) || piece->endPoint().distanceTo({10, 12, 0}) < 1e-9);
  delete piece;
}

}  // namespace
