// kv_hvacSolid as a drawing entity: registration, DWG and DXF filing, drawing, transform,
// explode, and a drawing saved and reopened with its solids.
#include <filesystem>
#include <memory>

#include "solid_test_util.h"

using namespace soltest;

namespace {

// A straight 12 x 8 piece 100 long and a radius elbow after it.
std::unique_ptr<kv_hvacSolid> sampleSolid() {
  auto s = std::make_unique<kv_hvacSolid>();
  EXPECT_TRUE(s->addTransition({0, 0, 0}, true, 12, 8, {100, 0, 0}, true, 12, 8, alongX(), alongX(), 7));
  AcGePoint3d a(100, 0, 0), b(150, 50, 0);
  const Frame in = alongX(), out({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
  AcGePoint3d corner(150, 0, 0);
  a = corner - AcGeVector3d(10, 0, 0);
  EXPECT_TRUE(s->addRadiusElbow(a, 12, 8, 0, 0, b, 12, 8, in, out, true, 1.5, true, 7, true)) << s->lastError();
  return s;
}

double volumeOf(const kv_hvacSolid& s) { return s.bodies().volume(); }

}  // namespace

TEST(SolidEntity, RegisteredAsAnEntityWithADefaultConstructor) {
  AcRxClass* cls = kv_hvacSolid::desc();
  ASSERT_NE(cls, nullptr);
  EXPECT_TRUE(cls->isDerivedFrom(AcDbEntity::desc()));
  std::unique_ptr<AcRxObject> made(cls->create());
  ASSERT_NE(kv_hvacSolid::cast(made.get()), nullptr);
  EXPECT_TRUE(kv_hvacSolid::cast(made.get())->bodies().isEmpty());
  ASSERT_NE(kv_hvacFace::desc(), nullptr);
  kvSolidRegisterClasses();  // again: nothing changes
  EXPECT_EQ(kv_hvacSolid::desc(), cls);
  // The module loads the library by the platform's name.
  EXPECT_TRUE(acrxLoadModule(L"kv_kv-solid2019x64.dbx", false));
  EXPECT_EQ(kv_hvacSolid::desc(), cls);
}

TEST(SolidEntity, DwgRecordRoundTripsAndRefusesNewerVersions) {
  const auto s = sampleSolid();
  AcDbDwgMemoryFiler out;
  ASSERT_EQ(s->dwgOutFields(&out), Acad::eOk);
  kv_hvacSolid back;
  out.rewind();
  ASSERT_EQ(back.dwgInFields(&out), Acad::eOk);
  EXPECT_EQ(back.bodies().bodyCount(), 2);
  expectRelNear(volumeOf(back), volumeOf(*s), 1e-12);

  // The record's version sits right after the entity's own fields: find it by writing an
  // empty solid, then bump it.
  AcDbDwgMemoryFiler common;
  static_cast<const AcDbEntity&>(back).AcDbEntity::dwgOutFields(&common);
  std::vector<unsigned char> bytes = out.buffer();
  const std::size_t at = common.buffer().size();
  bytes[at] = 2;
  bytes[at + 1] = 0;
  AcDbDwgMemoryFiler newer;
  newer.setBuffer(bytes);
  kv_hvacSolid proxy;
  EXPECT_EQ(proxy.dwgInFields(&newer), Acad::eMakeMeProxy);

  // Damaged: the data cut short, or text that is no B-rep.
  std::vector<unsigned char> cut(out.buffer().begin(), out.buffer().begin() + static_cast<long>(out.buffer().size() / 2));
  AcDbDwgMemoryFiler shortFiler;
  shortFiler.setBuffer(cut);
  kv_hvacSolid damaged;
  EXPECT_NE(damaged.dwgInFields(&shortFiler), Acad::eOk);
  std::vector<unsigned char> garbled = out.buffer();
  for (std::size_t i = at + 6; i < at + 14; ++i) garbled[i] = 'x';
  AcDbDwgMemoryFiler garbledFiler;
  garbledFiler.setBuffer(garbled);
  EXPECT_EQ(damaged.dwgInFields(&garbledFiler), Acad::eInvalidInput);
}

TEST(SolidEntity, DxfRecordRoundTrips) {
  const auto s = sampleSolid();
  AcDbDxfMemoryFiler out;
  ASSERT_EQ(s->dxfOutFields(&out), Acad::eOk);
  for (const AcDbDxfMemoryFiler::Group& g : out.groups())
    if (g.code == 1 || g.code == 3) {
      EXPECT_LE(g.text.size(), 250u);
    }
  out.rewind();
  kv_hvacSolid back;
  ASSERT_EQ(back.dxfInFields(&out), Acad::eOk);
  EXPECT_EQ(back.bodies().bodyCount(), 2);
  expectRelNear(volumeOf(back), volumeOf(*s), 1e-9);
}

TEST(SolidEntity, DrawsEdgesInWireframeAndShellsWhenShaded) {
  kv_hvacSolid box;
  ASSERT_TRUE(box.addTransition({0, 0, 0}, true, 12, 8, {10, 0, 0}, true, 12, 8, alongX(), alongX(), 0));
  AcGiCapture wire;
  wire.draw(&box);
  std::size_t polylines = 0;
  for (const AcGiCapturedPrimitive& p : wire.primitives())
    if (p.kind == AcGiCapturedPrimitive::Kind::Polyline) ++polylines;
  EXPECT_EQ(polylines, 12u);
  AcGiCapture shaded(kAcGiHideOrShadeCommand);
  shaded.draw(&box);
  ASSERT_EQ(shaded.primitives().size(), 1u);
  EXPECT_EQ(shaded.primitives()[0].kind, AcGiCapturedPrimitive::Kind::Shell);
  EXPECT_EQ(shaded.primitives()[0].faces.size(), 12u * 4);
}

TEST(SolidEntity, TransformExtentsAndExplode) {
  const auto s = sampleSolid();
  AcDbExtents before;
  ASSERT_EQ(s->getGeomExtents(before), Acad::eOk);
  ASSERT_EQ(s->transformBy(AcGeMatrix3d::translation({0, 0, 30})), Acad::eOk);
  AcDbExtents after;
  ASSERT_EQ(s->getGeomExtents(after), Acad::eOk);
  EXPECT_NEAR(after.minPoint().z - before.minPoint().z, 30, 1e-6);
  EXPECT_NEAR(after.maxPoint().x, before.maxPoint().x, 1e-6);

  // Explode: one face entity per B-rep face, each with its own extents and picture, each
  // appendable to model space.
  AcDbVoidPtrArray parts;
  ASSERT_EQ(s->explode(parts), Acad::eOk);
  EXPECT_EQ(parts.length(), s->bodies().faceCount());
  AcDbDatabase db(true, true);
  AcDbBlockTableRecord* space = nullptr;
  ASSERT_EQ(acdbOpenObject(space, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  for (void* p : parts) {
    std::unique_ptr<kv_hvacFace> face(static_cast<kv_hvacFace*>(p));
    AcDbExtents e;
    EXPECT_EQ(face->getGeomExtents(e), Acad::eOk);
    EXPECT_GE(e.minPoint().z, 30 - 4 - 1e-6);
    AcGiCapture picture;
    picture.draw(face.get());
    EXPECT_FALSE(picture.primitives().empty());
    ASSERT_EQ(space->appendAcDbEntity(face.get()), Acad::eOk);
    face.release()->close();
  }
  space->close();
  kv_hvacSolid empty;
  AcDbExtents none;
  EXPECT_EQ(empty.getGeomExtents(none), Acad::eInvalidExtents);
}

TEST(SolidEntity, SavedAndReopenedDrawingKeepsTheVolumes) {
  const std::string dir = std::string(KV_BINARY_DIR) + "/test_solid_out";
  std::filesystem::create_directories(dir);
  const std::wstring path = std::filesystem::path(dir + "/entity.dwg").wstring();
  std::vector<double> volumes;
  {
    AcDbDatabase db(true, true);
    AcDbBlockTableRecord* space = nullptr;
    ASSERT_EQ(acdbOpenObject(space, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    auto s = sampleSolid();
    volumes.push_back(volumeOf(*s));
    ASSERT_EQ(space->appendAcDbEntity(s.get()), Acad::eOk);
    s.release()->close();
    auto flex = std::make_unique<kv_hvacSolid>();
    AcGePoint3dArray pts;
    pts.append({0, 100, 0});
    pts.append({50, 120, 10});
    pts.append({100, 100, 0});
    ASSERT_TRUE(flex->addFlex(pts, 4, {1, 0, 0}, {1, 0, 0}, 0));
    volumes.push_back(volumeOf(*flex));
    ASSERT_EQ(space->appendAcDbEntity(flex.get()), Acad::eOk);
    flex.release()->close();
    space->close();
    ASSERT_EQ(db.saveAs(path.c_str()), Acad::eOk);
  }
  AcDbDatabase back(false, true);
  ASSERT_EQ(back.readDwgFile(path.c_str()), Acad::eOk);
  AcDbBlockTableRecord* space = nullptr;
  ASSERT_EQ(acdbOpenObject(space, back.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  AcDbBlockTableRecordIterator* raw = nullptr;
  space->newIterator(raw);
  std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
  space->close();
  std::vector<double> read;
  for (; !it->done(); it->step()) {
    kv_hvacSolid* s = nullptr;
    AcDbObjectId id;
    it->getEntityId(id);
    ASSERT_EQ(acdbOpenObject(s, id, AcDb::kForRead), Acad::eOk);
    read.push_back(volumeOf(*s));
    s->close();
  }
  ASSERT_EQ(read.size(), volumes.size());
  for (std::size_t i = 0; i < read.size(); ++i) expectRelNear(read[i], volumes[i], 1e-9);
}

TEST(SolidEntity, UnionAndRefusals) {
  kv_hvacSolid a, b, far;
  ASSERT_TRUE(a.addTransition({0, 0, 0}, true, 12, 8, {100, 0, 0}, true, 12, 8, alongX(), alongX(), 0));
  ASSERT_TRUE(b.addTransition({50, 0, 0}, true, 12, 8, {150, 0, 0}, true, 12, 8, alongX(), alongX(), 0));
  ASSERT_TRUE(far.addTransition({0, 90, 0}, true, 12, 8, {10, 90, 0}, true, 12, 8, alongX(), alongX(), 0));
  EXPECT_FALSE(a.doUnion(nullptr));
  EXPECT_FALSE(a.doUnion(&far));
  EXPECT_FALSE(a.lastError().empty());
  ASSERT_TRUE(a.doUnion(&b));
  expectRelNear(volumeOf(a), 96 * 150, 1e-9);
  a.clearBodies();
  EXPECT_TRUE(a.bodies().isEmpty());
}
