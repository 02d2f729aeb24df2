// Blocks across files: definitions with references filed, inserted and exchanged through DXF;
// entity functions over model space; extended data and variables through a save.
#include <gtest/gtest.h>

#include <filesystem>

#include "db.h"

namespace {

std::filesystem::path tempPath(const std::string& name) {
  auto dir = std::filesystem::temp_directory_path() / "kv_db_blocks";
  std::filesystem::create_directories(dir);
  return dir / name;
}

AcDbObjectId addBlock(AcDbDatabase& db, const ACHAR* name, std::initializer_list<AcDbEntity*> parts) {
  AcDbBlockTable* bt = nullptr;
  EXPECT_EQ(db.getBlockTable(bt, AcDb::kForWrite), Acad::eOk);
  auto* btr = new AcDbBlockTableRecord;
  btr->setName(name);
  AcDbObjectId id;
  EXPECT_EQ(bt->add(id, btr), Acad::eOk);
  bt->close();
  for (AcDbEntity* e : parts) {
    EXPECT_EQ(btr->appendAcDbEntity(e), Acad::eOk);
    e->close();
  }
  btr->close();
  return id;
}

AcDbObjectId appendTo(AcDbDatabase& db, AcDbEntity* e) {
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  AcDbObjectId id;
  EXPECT_EQ(ms->appendAcDbEntity(id, e), Acad::eOk);
  e->close();
  ms->close();
  return id;
}

AcDbExtents extentsOf(AcDbObjectId id) {
  AcDbEntity* e = nullptr;
  AcDbExtents ext;
  EXPECT_EQ(acdbOpenObject(e, id, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(e->getGeomExtents(ext), Acad::eOk);
  e->close();
  return ext;
}

TEST(DbBlocks, NestedBlocksSurviveASaveAndAnInsert) {
  auto path = tempPath("nested.dwg");
  AcDbHandle refHandle;
  {
    AcDbDatabase db;
    AcDbObjectId arrow = addBlock(db, L"ARROW", {new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0))});
    auto* inner = new AcDbBlockReference(AcGePoint3d(10, 0, 0), arrow);
    AcDbObjectId sign = addBlock(db, L"SIGN", {inner});
    auto* outer = new AcDbBlockReference(AcGePoint3d(0, 5, 0), sign);
    outer->setScaleFactors(AcGeScale3d(2));
    AcDbObjectId refId = appendTo(db, outer);
    refHandle = refId.handle();
    AcDbExtents ext = extentsOf(refId);
    EXPECT_TRUE(ext.maxPoint().isEqualTo({22, 5, 0})) << "scale applies to the nested insertion";
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  AcDbDatabase back(false, true);
  ASSERT_EQ(back.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  AcDbObjectId again;
  ASSERT_EQ(back.getAcDbObjectId(again, false, refHandle), Acad::eOk) << "handles are kept";
  EXPECT_TRUE(extentsOf(again).maxPoint().isEqualTo({22, 5, 0}));

  AcDbDatabase target;
  AcDbObjectId plan;
  ASSERT_EQ(target.insert(plan, L"PLAN", &back, true), Acad::eOk);
  AcDbBlockTable* bt = nullptr;
  ASSERT_EQ(target.getBlockTable(bt, AcDb::kForRead), Acad::eOk);
  EXPECT_TRUE(bt->has(L"SIGN")) << "blocks that the inserted drawing uses come along";
  EXPECT_TRUE(bt->has(L"ARROW"));
  bt->close();
  auto* use = new AcDbBlockReference(AcGePoint3d(100, 0, 0), plan);
  AcDbObjectId useId = appendTo(target, use);
  EXPECT_TRUE(extentsOf(useId).maxPoint().isEqualTo({122, 5, 0}));
}

TEST(DbBlocks, DxfCarriesBlockDefinitionsAndInsertions) {
  auto path = tempPath("blocks.dxf");
  {
    AcDbDatabase db;
    AcDbObjectId arrow = addBlock(db, L"ARROW", {new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(2, 1, 0))});
    auto* ref = new AcDbBlockReference(AcGePoint3d(5, 5, 0), arrow);
    ref->setRotation(3.14159265358979323846 / 2);
    appendTo(db, ref);
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  AcDbDatabase in;
  ASSERT_EQ(in.dxfIn(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, in.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  ASSERT_EQ(ms->entityIds().size(), 1u);
  AcDbObjectId refId = ms->entityIds()[0];
  ms->close();
  AcDbExtents ext = extentsOf(refId);
  EXPECT_NEAR(ext.minPoint().x, 4, 1e-9);
  EXPECT_NEAR(ext.maxPoint().y, 7, 1e-9) << "rotation read back in degrees";
}

TEST(DbBlocks, EntityFunctionsWalkModelSpace) {
  AcDbDatabase db;
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  AcDbObjectId a = appendTo(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0)));
  AcDbObjectId b = appendTo(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(0, 1, 0)));
  ads_name first, next, last, none = {0, 0};
  ASSERT_EQ(acdbEntNext(none, first), RTNORM);
  AcDbObjectId id;
  acdbGetObjectId(id, first);
  EXPECT_EQ(id, a);
  ASSERT_EQ(acdbEntNext(first, next), RTNORM);
  ASSERT_EQ(acdbEntLast(last), RTNORM);
  EXPECT_EQ(next[1], last[1]);
  EXPECT_EQ(acdbEntNext(last, next), RTERROR);
  resbuf* groups = acdbEntGet(last);
  ASSERT_NE(groups, nullptr);
  EXPECT_EQ(groups->restype, -1);
  EXPECT_STREQ(groups->rbnext->resval.rstring, L"LINE");
  bool sawEnd = false;
  for (resbuf* rb = groups; rb; rb = rb->rbnext)
    if (rb->restype == 11) sawEnd = AcGePoint3d(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]).isEqualTo({0, 1, 0});
  EXPECT_TRUE(sawEnd);
  acutRelRb(groups);
  ASSERT_EQ(acdbEntDel(last), RTNORM);
  EXPECT_TRUE(b.isErased());
  ASSERT_EQ(acdbEntLast(last), RTNORM);
  acdbGetObjectId(id, last);
  EXPECT_EQ(id, a) << "an erased entity is passed over";
  ads_name erased;
  acdbGetAdsName(erased, b);
  ASSERT_EQ(acdbEntDel(erased), RTNORM) << "entdel again brings it back";
  EXPECT_FALSE(b.isErased());
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
}

TEST(DbBlocks, ExtendedDataAndVariablesAreFiled) {
  auto path = tempPath("xdata.dwg");
  AcDbHandle lineHandle;
  {
    AcDbDatabase db;
    AcDbRegAppTable* apps = nullptr;
    db.getRegAppTable(apps, AcDb::kForWrite);
    auto* app = new AcDbRegAppTableRecord;
    app->setName(L"KELVANE");
    apps->add(app);
    app->close();
    apps->close();
    auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 1, 0));
    AcDbObjectId id = appendTo(db, line);
    lineHandle = id.handle();
    AcDbLine* open = nullptr;
    acdbOpenObject(open, id, AcDb::kForWrite);
    resbuf* data = acutBuildList(AcDb::kDxfRegAppName, L"KELVANE", AcDb::kDxfXdAsciiString, L"KV_HVAC",
                                 AcDb::kDxfXdAsciiString, L"YES", AcDb::kDxfXdReal, 2.5, AcDb::kDxfXdWorldXCoord,
                                 std::array<double, 3>{1, 2, 3}.data(), RTNONE);
    ASSERT_EQ(open->setXData(data), Acad::eOk);
    acutRelRb(data);
    open->close();
    ASSERT_EQ(db.setUcs(AcGePoint3d(5, 0, 0), AcGeVector3d(0, 1, 0), AcGeVector3d(-1, 0, 0)), Acad::eOk);
    EXPECT_EQ(db.setUcs(AcGePoint3d(), AcGeVector3d(1, 0, 0), AcGeVector3d(1, 1, 0)), Acad::eInvalidInput);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  AcDbDatabase back(false, true);
  ASSERT_EQ(back.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  EXPECT_TRUE(back.ucsxdir().isEqualTo({0, 1, 0}));
  EXPECT_TRUE(back.ucsorg().isEqualTo({5, 0, 0}));
  AcDbObjectId id;
  ASSERT_EQ(back.getAcDbObjectId(id, false, lineHandle), Acad::eOk);
  AcDbLine* line = nullptr;
  ASSERT_EQ(acdbOpenObject(line, id, AcDb::kForRead), Acad::eOk);
  resbuf* x = line->xData(L"KELVANE");
  line->close();
  ASSERT_NE(x, nullptr);
  int cells = 0;
  const resbuf* point = nullptr;
  for (const resbuf* rb = x; rb; rb = rb->rbnext, ++cells)
    if (rb->restype == AcDb::kDxfXdWorldXCoord) point = rb;
  EXPECT_EQ(cells, 5);
  ASSERT_NE(point, nullptr);
  EXPECT_EQ(point->resval.rpoint[2], 3.0);
  acutRelRb(x);
}

TEST(DbBlocks, CurvesTransformKeepingTheirKind) {
  AcDbPolyline pl;
  pl.addVertexAt(0, {0, 0});
  pl.addVertexAt(1, {10, 0}, 1.0);
  pl.addVertexAt(2, {10, 10});
  double before = 0, after = 0;
  pl.getArea(before);
  ASSERT_EQ(pl.transformBy(AcGeMatrix3d::rotation(0.7, AcGeVector3d::kZAxis) * AcGeMatrix3d::translation({3, 4, 2})), Acad::eOk);
  pl.getArea(after);
  EXPECT_NEAR(after, before, 1e-9);
  EXPECT_DOUBLE_EQ(pl.elevation(), 2.0);
  ASSERT_EQ(pl.transformBy(AcGeMatrix3d::mirroring(AcGePlane(AcGePoint3d(), AcGeVector3d::kXAxis))), Acad::eOk);
  double bulge = 0;
  pl.getBulgeAt(1, bulge);
  EXPECT_EQ(bulge, -1.0) << "a mirror turns arcs the other way";
  pl.getArea(after);
  EXPECT_NEAR(after, before, 1e-9);

  AcGePoint3dArray fit;
  fit.append({0, 0, 0});
  fit.append({5, 5, 0});
  fit.append({10, 0, 0});
  AcDbSpline spline(fit, AcGeVector3d(1, 1, 0), AcGeVector3d(1, -1, 0), 4, 0.0);
  double len = 0, moved = 0;
  AcGePoint3d end;
  spline.getEndPoint(end);
  spline.getDistAtPoint(end, len);
  ASSERT_EQ(spline.transformBy(AcGeMatrix3d::scaling(2.0)), Acad::eOk);
  spline.getEndPoint(end);
  EXPECT_TRUE(end.isEqualTo({20, 0, 0}));
  spline.getDistAtPoint(end, moved);
  EXPECT_NEAR(moved, 2 * len, 1e-6);
  AcDbVoidPtrArray pieces;
  ASSERT_EQ(pl.explode(pieces), Acad::eOk);
  EXPECT_EQ(pieces.length(), 2);
  for (void* p : pieces) delete static_cast<AcDbEntity*>(p);
}

}  // namespace
