// Saving and reading drawings: round trips of every host class and of a custom class, proxies
// for objects that refuse to read, damaged files, and inserting a drawing as a block.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <fstream>
#include <sstream>

#include "db.h"

namespace {

// A custom entity as a module writes one: a versioned record after the entity's fields; a newer
// version than it knows answers eMakeMeProxy.
class TestMarker : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(TestMarker);
  static inline int version = 2;
  AcGePoint3d at;
  std::wstring tag;
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override {
    AcGePoint3d pts[2] = {at, at + AcGeVector3d(1, 1, 0)};
    mode->geometry().polyline(2, pts);
    return true;
  }
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& ext) const override {
    ext.addPoint(at);
    return Acad::eOk;
  }
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override {
    Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
    if (es != Acad::eOk) return es;
    filer->writeInt32(version);
    filer->writePoint3d(at);
    filer->writeString(tag);
    return filer->filerStatus();
  }
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override {
    Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
    if (es != Acad::eOk) return es;
    Adesk::Int32 v = 0;
    filer->readInt32(&v);
    if (v > 2) return Acad::eMakeMeProxy;
    filer->readPoint3d(&at);
    filer->readString(tag);
    return filer->filerStatus();
  }
};
ACRX_DXF_DEFINE_MEMBERS(TestMarker, AcDbEntity, 1, 1, 1, TESTMARKER, "Test|Marker")

// A custom object that is not an entity, versioned the same way, that refers to an entity.
class TestNote : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(TestNote);
  static inline int version = 2;
  std::wstring text;
  AcDbObjectId about;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override {
    Acad::ErrorStatus es = AcDbObject::dwgOutFields(filer);
    if (es != Acad::eOk) return es;
    filer->writeInt32(version);
    filer->writeString(text);
    filer->writeHardPointerId(about);
    return filer->filerStatus();
  }
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override {
    Acad::ErrorStatus es = AcDbObject::dwgInFields(filer);
    if (es != Acad::eOk) return es;
    Adesk::Int32 v = 0;
    filer->readInt32(&v);
    if (v > version) return Acad::eMakeMeProxy;
    filer->readString(text);
    AcDbHardPointerId id;
    filer->readHardPointerId(&id);
    about = id;
    return filer->filerStatus();
  }
};
ACRX_DXF_DEFINE_MEMBERS(TestNote, AcDbObject, 1, 1, 1, TESTNOTE, "Test|Note")

struct Registered {
  Registered() {
    TestNote::rxInit();
    TestMarker::rxInit();
    acrxBuildClassHierarchy();
  }
};
const Registered registered;

std::filesystem::path tempFile(const std::string& name) {
  // One folder per process: ctest runs the cases side by side, and several checkouts may test at once.
  // The folder goes when the process ends.
  struct Folder {
    std::filesystem::path path = std::filesystem::temp_directory_path() / ("kv_db_tests-" + std::to_string(getpid()));
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  };
  static const Folder folder;
  const std::filesystem::path& dir = folder.path;
  std::filesystem::create_directories(dir);
  return dir / name;
}

AcDbObjectId append(AcDbDatabase& db, AcDbEntity* e) {
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  AcDbObjectId id;
  EXPECT_EQ(ms->appendAcDbEntity(id, e), Acad::eOk);
  e->close();
  ms->close();
  return id;
}

// A readable digest of model space: class, layer and filed fields by the copy filer.
std::vector<std::string> digest(AcDbDatabase& db) {
  std::vector<std::string> out;
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  AcDbBlockTableRecordIterator* it = nullptr;
  ms->newIterator(it);
  for (; !it->done(); it->step()) {
    AcDbEntity* e = nullptr;
    it->getEntity(e, AcDb::kForRead);
    AcDbDxfMemoryFiler f(&db);
    e->dxfOut(&f);
    std::string line = acrxToUtf8(e->isA()->name());
    for (const auto& g : f.groups()) {
      char buf[200];
      std::snprintf(buf, sizeof buf, " %d:%s:%.6g,%.6g,%.6g:%lld", g.code, acrxToUtf8(g.text).c_str(), g.values[0],
                    g.values[1], g.values[2], static_cast<long long>(g.integer));
      line += buf;
    }
    out.push_back(line);
    e->close();
  }
  delete it;
  ms->close();
  return out;
}

void buildSample(AcDbDatabase& db) {
  acdbHostApplicationServices()->setWorkingDatabase(&db);  // new entities resolve names there
  AcDbLayerTable* lt = nullptr;
  db.getLayerTable(lt, AcDb::kForWrite);
  auto* layer = new AcDbLayerTableRecord;
  layer->setName(L"DUCT");
  AcCmColor c;
  c.setColorIndex(3);
  layer->setColor(c);
  lt->add(layer);
  layer->close();
  lt->close();
  auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 5, 2));
  line->setLayer(L"DUCT");
  append(db, line);
  auto* pl = new AcDbPolyline;
  pl->addVertexAt(0, {0, 0}, 0.5);
  pl->addVertexAt(1, {5, 0});
  pl->addVertexAt(2, {5, 5});
  pl->setClosed(true);
  append(db, pl);
  auto* text = new AcDbMText;
  text->setContents(L"ROOM\\P101");
  text->setLocation({3, 4, 0});
  text->setTextHeight(0.5);
  append(db, text);
  auto* marker = new TestMarker;
  marker->at = {7, 7, 0};
  marker->tag = L"tag é";
  append(db, marker);
  db.setDimscale(24);
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
}

TEST(DbFiling, SaveAndReadGivesTheSameDrawing) {
  auto path = tempFile("roundtrip.dwg");
  std::vector<std::string> before;
  {
    AcDbDatabase db;
    buildSample(db);
    before = digest(db);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  AcDbDatabase back(false, true);
  ASSERT_EQ(back.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  EXPECT_EQ(digest(back), before);
  EXPECT_EQ(back.dimscale(), 24.0);
  AcDbLayerTable* lt = nullptr;
  ASSERT_EQ(back.getLayerTable(lt, AcDb::kForRead), Acad::eOk);
  AcDbLayerTableRecord* duct = nullptr;
  ASSERT_EQ(lt->getAt(L"duct", duct, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(duct->color().colorIndex(), 3);
  duct->close();
  lt->close();
  auto again = tempFile("roundtrip2.dwg");
  ASSERT_EQ(back.saveAs(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  std::ifstream a(path, std::ios::binary), b(again, std::ios::binary);
  std::string da((std::istreambuf_iterator<char>(a)), {}), dbytes((std::istreambuf_iterator<char>(b)), {});
  EXPECT_EQ(da, dbytes) << "a drawing read and saved again is byte for byte the same";
}

TEST(DbFiling, NewerObjectsSurviveAsProxiesUnchanged) {
  auto path = tempFile("proxy.dwg"), again = tempFile("proxy2.dwg");
  TestMarker::version = 3;
  {
    AcDbDatabase db;
    auto* m = new TestMarker;
    m->at = {1, 2, 3};
    append(db, m);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  TestMarker::version = 2;
  {
    AcDbDatabase db(false, true);
    ASSERT_EQ(db.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
    AcDbObjectId id;
    AcDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead), Acad::eOk);
    id = ms->entityIds().at(0);
    ms->close();
    AcDbProxyEntity* proxy = nullptr;
    ASSERT_EQ(acdbOpenObject(proxy, id, AcDb::kForRead), Acad::eOk);
    EXPECT_STREQ(proxy->originalClassName(), L"TestMarker");
    EXPECT_STREQ(proxy->originalDxfName(), L"TESTMARKER");
    AcDbExtents ext;
    ASSERT_EQ(proxy->getGeomExtents(ext), Acad::eOk) << "the proxy keeps the picture its class drew";
    EXPECT_TRUE(ext.minPoint().isEqualTo({1, 2, 3}));
    EXPECT_TRUE(ext.maxPoint().isEqualTo({2, 3, 3}));
    proxy->close();
    ASSERT_EQ(db.saveAs(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  }
  std::ifstream a(path, std::ios::binary), b(again, std::ios::binary);
  std::string da((std::istreambuf_iterator<char>(a)), {}), dbytes((std::istreambuf_iterator<char>(b)), {});
  EXPECT_EQ(da, dbytes);
  TestMarker::version = 3;
  AcDbDatabase db(false, true);
  ASSERT_EQ(db.readDwgFile(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  TestMarker::version = 2;
}

TEST(DbFiling, DamagedAndForeignFilesAreRefused) {
  auto path = tempFile("damaged.dwg");
  {
    AcDbDatabase db;
    buildSample(db);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  auto size = std::filesystem::file_size(path);
  std::filesystem::resize_file(path, size / 2);
  AcDbDatabase db(false, true);
  EXPECT_NE(db.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  std::ofstream(path, std::ios::binary | std::ios::trunc) << "AC1032 not ours";
  EXPECT_EQ(db.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eInvalidDwgVersion);
  EXPECT_EQ(db.readDwgFile(L"/nonexistent/x.dwg"), Acad::eFileNotFound);
}

TEST(DbFiling, InsertCopiesModelSpaceAsABlockWithItsLayers) {
  AcDbDatabase source;
  buildSample(source);
  AcDbDatabase target;
  AcDbObjectId blockId;
  ASSERT_EQ(target.insert(blockId, L"SAMPLE", &source, true), Acad::eOk);
  EXPECT_EQ(target.insert(blockId, L"SAMPLE", &source, true), Acad::eDuplicateRecordName);
  AcDbBlockTable* bt = nullptr;
  target.getBlockTable(bt, AcDb::kForRead);
  AcDbObjectId id = bt->getIdAt(L"SAMPLE");
  bt->close();
  AcDbBlockTableRecord* btr = nullptr;
  ASSERT_EQ(acdbOpenObject(btr, id, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(btr->entityIds().size(), 4u);
  AcDbLine* line = nullptr;
  ASSERT_EQ(acdbOpenObject(line, btr->entityIds()[0], AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(line->database(), &target);
  EXPECT_EQ(line->layerId().database(), &target) << "the layer was copied into the target";
  EXPECT_STREQ(line->layer(), L"DUCT");
  line->close();
  btr->close();
}

TEST(DbFiling, FindFileLooksBesideTheDrawingThenOnTheSupportPath) {
  auto dir = tempFile("find");
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir / "support");
  std::ofstream(dir / "support" / "ARROW.dwg") << "x";
  AcDbDatabase db;
  ASSERT_EQ(db.saveAs(acrxFromUtf8((dir / "plan.dwg").string()).c_str()), Acad::eOk);
  auto* services = acdbHostApplicationServices();
  ACHAR found[512];
  EXPECT_EQ(services->findFile(found, 512, L"ARROW.dwg", &db), Acad::eFileNotFound);
  services->setSupportPath(acrxFromUtf8((dir / "support").string()).c_str());
  ASSERT_EQ(services->findFile(found, 512, L"ARROW.dwg", &db), Acad::eOk);
  EXPECT_EQ(std::filesystem::path(acrxToUtf8(found)), dir / "support" / "ARROW.dwg");
  EXPECT_EQ(services->findFile(found, 4, L"ARROW.dwg", &db), Acad::eBufferTooSmall);
  std::ofstream(dir / "ARROW.dwg") << "y";
  ASSERT_EQ(services->findFile(found, 512, L"ARROW.dwg", &db), Acad::eOk);
  EXPECT_EQ(std::filesystem::path(acrxToUtf8(found)), dir / "ARROW.dwg") << "the drawing's folder comes first";
  services->setSupportPath(L"");
}

}  // namespace

namespace {

std::string runAudit(const std::filesystem::path& dxf, int& status) {
  auto log = dxf;
  log += ".audit.txt";
  std::string cmd = "/usr/bin/python3 -m ezdxf audit '" + dxf.string() + "' > '" + log.string() + "' 2>&1";
  status = std::system(cmd.c_str());
  std::ifstream in(log);
  return std::string((std::istreambuf_iterator<char>(in)), {});
}

void expectCleanAudit(const std::filesystem::path& dxf) {
  int status = 0;
  std::string log = runAudit(dxf, status);
  EXPECT_EQ(status, 0) << log;
  EXPECT_NE(log.find("No errors found."), std::string::npos) << log;
}

// The model space's entity types as another program reads them, sorted.
std::string typesSeenByAnotherReader(const std::filesystem::path& dxf) {
  std::string count = "/usr/bin/python3 -c \"import ezdxf; d = ezdxf.readfile('" + dxf.string() +
                      "'); print(sorted(e.dxftype() for e in d.modelspace()))\" > '" + dxf.string() + ".types' 2>&1";
  if (std::system(count.c_str()) != 0) return "the reader failed";
  std::ifstream in(dxf.string() + ".types");
  return std::string((std::istreambuf_iterator<char>(in)), {});
}

TEST(DbDxf, ExportPassesAnIndependentAudit) {
  auto path = tempFile("sample.dxf");
  AcDbDatabase db;
  buildSample(db);
  ASSERT_EQ(db.dxfOut(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  expectCleanAudit(path);
  EXPECT_EQ(typesSeenByAnotherReader(path), "['LINE', 'LWPOLYLINE', 'MTEXT', 'TESTMARKER']\n")
      << "the other reader sees every entity";
}

// The first entity of a drawing's model space, open for read.
template <class T>
T* firstEntity(AcDbDatabase& db) {
  AcDbBlockTableRecord* ms = nullptr;
  if (acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead) != Acad::eOk) return nullptr;
  std::vector<AcDbObjectId> ids = ms->entityIds();
  ms->close();
  T* e = nullptr;
  if (ids.empty() || acdbOpenObject(e, ids.front(), AcDb::kForRead) != Acad::eOk) return nullptr;
  return e;
}

// A proxy goes out to DXF as the platform writes one, with its class's data and picture, and
// comes back the same proxy: its class, its bytes, its picture, its layer.
TEST(DbDxf, ProxiesTravelThroughDxf) {
  auto path = tempFile("proxy-dxf.dwg"), dxf = tempFile("proxy.dxf"), again = tempFile("proxy-dxf2.dwg");
  TestMarker::version = 3;
  {
    AcDbDatabase db;
    auto* m = new TestMarker;
    m->at = {1, 2, 3};
    m->tag = L"tag";
    append(db, m);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  TestMarker::version = 2;
  std::vector<unsigned char> data;
  {
    AcDbDatabase db(false, true);
    ASSERT_EQ(db.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
    AcDbProxyEntity* proxy = firstEntity<AcDbProxyEntity>(db);
    ASSERT_NE(proxy, nullptr);
    data = proxy->data();
    proxy->close();
    ASSERT_FALSE(data.empty());
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
  }
  std::ifstream in(dxf);
  std::string text((std::istreambuf_iterator<char>(in)), {});
  EXPECT_NE(text.find("\nACAD_PROXY_ENTITY\n"), std::string::npos);
  EXPECT_NE(text.find("\n91\n500\n"), std::string::npos) << "the first class of the CLASSES section";
  EXPECT_NE(text.find("\nCLASS\n1\nTESTMARKER\n2\nTestMarker\n"), std::string::npos);
  expectCleanAudit(dxf);
  EXPECT_EQ(typesSeenByAnotherReader(dxf), "['ACAD_PROXY_ENTITY']\n") << "the other reader sees the proxy";

  AcDbDatabase back;
  ASSERT_EQ(back.dxfIn(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
  AcDbProxyEntity* proxy = firstEntity<AcDbProxyEntity>(back);
  ASSERT_NE(proxy, nullptr) << "the proxy came back";
  EXPECT_STREQ(proxy->originalClassName(), L"TestMarker");
  EXPECT_STREQ(proxy->originalDxfName(), L"TESTMARKER");
  EXPECT_EQ(proxy->data(), data) << "the class's data, byte for byte";
  AcDbExtents ext;
  ASSERT_EQ(proxy->getGeomExtents(ext), Acad::eOk) << "and its picture";
  EXPECT_TRUE(ext.minPoint().isEqualTo({1, 2, 3}));
  EXPECT_TRUE(ext.maxPoint().isEqualTo({2, 3, 3}));
  EXPECT_STREQ(proxy->layer(), L"0");
  proxy->close();
  // Filed as a drawing again, it is the proxy it was.
  ASSERT_EQ(back.saveAs(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  AcDbDatabase db(false, true);
  ASSERT_EQ(db.readDwgFile(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  proxy = firstEntity<AcDbProxyEntity>(db);
  ASSERT_NE(proxy, nullptr);
  EXPECT_EQ(proxy->data(), data);
  proxy->close();
}

// The live objects of one class in a drawing, found by handle: objects that are not entities
// belong to no block.
template <class T>
std::vector<AcDbObjectId> objectsOf(AcDbDatabase& db) {
  std::vector<AcDbObjectId> out;
  for (Adesk::UInt64 h = 1; h < 4096; ++h) {
    AcDbObjectId id;
    if (db.getAcDbObjectId(id, false, AcDbHandle(h)) != Acad::eOk) continue;
    T* object = nullptr;
    if (acdbOpenObject(object, id, AcDb::kForRead) != Acad::eOk) continue;
    object->close();
    out.push_back(id);
  }
  return out;
}

// An object whose class is not loaded goes through DXF as the platform's ACAD_PROXY_OBJECT and
// comes back with its class and data, so that the class reads it again once it is here. What it
// refers to inside that data still answers, as a drawing's handles survive its DXF.
TEST(DbDxf, ProxyObjectsTravelThroughDxf) {
  auto path = tempFile("note.dwg"), dxf = tempFile("note.dxf"), again = tempFile("note2.dwg");
  TestNote::version = 3;
  Adesk::UInt64 lineHandle = 0;
  {
    AcDbDatabase db;
    // An entity erased before the drawing is saved leaves its handle unused.
    {
      const AcDbObjectId erased = append(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(9, 9, 0)));
      AcDbObjectPointer<AcDbLine> gone(erased, AcDb::kForWrite);
      ASSERT_EQ(gone->erase(), Acad::eOk);
    }
    append(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(5, 5, 0)));
    const AcDbObjectId line = append(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 1, 0)));
    lineHandle = line.handle().value();
    auto* note = new TestNote;
    note->text = L"kept";
    note->about = line;
    AcDbObjectId id;
    ASSERT_EQ(db.addAcDbObject(id, note), Acad::eOk);
    note->close();
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  TestNote::version = 2;
  std::vector<unsigned char> data;
  {
    AcDbDatabase db(false, true);
    ASSERT_EQ(db.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
    std::vector<AcDbObjectId> proxies = objectsOf<AcDbProxyObject>(db);
    ASSERT_EQ(proxies.size(), 1u);
    AcDbObjectPointer<AcDbProxyObject> proxy(proxies[0], AcDb::kForRead);
    data = proxy->data();
    ASSERT_FALSE(data.empty());
    proxy.close();
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
  }
  std::ifstream in(dxf);
  std::string text((std::istreambuf_iterator<char>(in)), {});
  EXPECT_NE(text.find("\nACAD_PROXY_OBJECT\n"), std::string::npos);
  EXPECT_NE(text.find("\nCLASS\n1\nTESTNOTE\n2\nTestNote\n"), std::string::npos);
  expectCleanAudit(dxf);

  AcDbDatabase back;
  ASSERT_EQ(back.dxfIn(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
  std::vector<AcDbObjectId> proxies = objectsOf<AcDbProxyObject>(back);
  ASSERT_EQ(proxies.size(), 1u) << "the proxy object came back";
  {
    AcDbObjectPointer<AcDbProxyObject> proxy(proxies[0], AcDb::kForRead);
    EXPECT_STREQ(proxy->originalClassName(), L"TestNote");
    EXPECT_STREQ(proxy->originalDxfName(), L"TESTNOTE");
    EXPECT_EQ(proxy->data(), data) << "the class's data, byte for byte";
  }
  std::vector<AcDbObjectId> lines = objectsOf<AcDbLine>(back);
  ASSERT_EQ(lines.size(), 2u) << "beside the drawing's entities";
  EXPECT_EQ(lines[1].handle().value(), lineHandle) << "the file's handles are kept";
  ASSERT_EQ(back.saveAs(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  // With its class here again, the object is what it was before it became a proxy.
  TestNote::version = 3;
  AcDbDatabase db(false, true);
  ASSERT_EQ(db.readDwgFile(acrxFromUtf8(again.string()).c_str()), Acad::eOk);
  std::vector<AcDbObjectId> notes = objectsOf<TestNote>(db);
  TestNote::version = 2;
  ASSERT_EQ(notes.size(), 1u);
  AcDbObjectPointer<TestNote> note(notes[0], AcDb::kForRead);
  EXPECT_EQ(note->text, L"kept");
  AcDbObjectPointer<AcDbLine> line(note->about, AcDb::kForRead);
  ASSERT_EQ(line.openStatus(), Acad::eOk) << "the entity it refers to";
  EXPECT_TRUE(line->endPoint().isEqualTo(AcGePoint3d(1, 1, 0)));
}

// Proxy data that is not hexadecimal is refused, not read as something else; the rest of the
// file still comes in.
TEST(DbDxf, ABrokenProxyInDxfIsSkipped) {
  auto dxf = tempFile("broken-proxy.dxf");
  std::ofstream(dxf) << "0\nSECTION\n2\nENTITIES\n"
                        "0\nACAD_PROXY_ENTITY\n5\n2A\n100\nAcDbEntity\n8\n0\n100\nAcDbProxyEntity\n90\n498\n91\n500\n"
                        "92\n0\n93\n16\n310\nZZ7\n94\n0\n"
                        "0\nLINE\n5\n2B\n100\nAcDbEntity\n8\n0\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n"
                        "0\nENDSEC\n0\nEOF\n";
  AcDbDatabase db;
  ASSERT_EQ(db.dxfIn(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
  AcDbLine* line = firstEntity<AcDbLine>(db);
  ASSERT_NE(line, nullptr);
  line->close();
}

}  // namespace

namespace {

std::string slurp(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), {});
}

// The ENTITIES section without handle and owner groups, which a reader gives anew.
std::string entitiesWithoutHandles(const std::string& dxf) {
  std::istringstream in(dxf.substr(dxf.find("ENTITIES")));
  std::string code, value, out;
  while (std::getline(in, code) && std::getline(in, value)) {
    if (code == "0" && value == "ENDSEC") break;
    if (code == "5" || code == "330") continue;
    out += code + " " + value + "\n";
  }
  return out;
}

TEST(DbDxf, ADrawingSavedAndReopenedGivesTheSameDxf) {
  auto dwg = tempFile("same.dwg"), a = tempFile("same-a.dxf"), b = tempFile("same-b.dxf");
  {
    AcDbDatabase db;
    buildSample(db);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(dwg.string()).c_str()), Acad::eOk);
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(a.string()).c_str()), Acad::eOk);
  }
  AcDbDatabase back(false, true);
  ASSERT_EQ(back.readDwgFile(acrxFromUtf8(dwg.string()).c_str()), Acad::eOk);
  ASSERT_EQ(back.dxfOut(acrxFromUtf8(b.string()).c_str()), Acad::eOk);
  EXPECT_EQ(slurp(a), slurp(b));
}

TEST(DbDxf, ImportReadsBackWhatExportWrote) {
  auto a = tempFile("in-a.dxf"), b = tempFile("in-b.dxf");
  {
    AcDbDatabase db;
    buildSample(db);
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(a.string()).c_str()), Acad::eOk);
  }
  AcDbDatabase imported;
  ASSERT_EQ(imported.dxfIn(acrxFromUtf8(a.string()).c_str()), Acad::eOk);
  ASSERT_EQ(imported.dxfOut(acrxFromUtf8(b.string()).c_str()), Acad::eOk);
  std::string before = entitiesWithoutHandles(slurp(a)), after = entitiesWithoutHandles(slurp(b));
  EXPECT_FALSE(before.empty());
  EXPECT_EQ(before, after);
  EXPECT_EQ(imported.dxfIn(L"/nonexistent/x.dxf"), Acad::eFileNotFound);
  std::ofstream(tempFile("garbage.dxf")) << "this is\nnot\ngroup coded\n";
  EXPECT_EQ(imported.dxfIn(acrxFromUtf8(tempFile("garbage.dxf").string()).c_str()), Acad::eInvalidDxfCode);
}

// A line weight is an enumeration: a number outside it, from a DXF file or a filer, reaches no
// entity or layer (the entity falls back to its layer's weight, the layer to the default); a
// layer colour beyond any number leaves the default colour. A record of no bytes reads as nothing.
TEST(DbDxf, LineWeightsOutsideTheirValuesAreRefusedAtTheDoor) {
  auto good = tempFile("weights.dxf"), bad = tempFile("weights-bad.dxf");
  {
    AcDbDatabase db;
    AcDbLayerTable* layers = nullptr;
    ASSERT_EQ(db.getLayerTable(layers, AcDb::kForWrite), Acad::eOk);
    auto* heavy = new AcDbLayerTableRecord;
    heavy->setName(L"HEAVY");
    ASSERT_EQ(heavy->setLineWeight(AcDb::kLnWt050), Acad::eOk);
    layers->add(heavy);
    heavy->close();
    layers->close();
    AcDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 1, 0));
    ASSERT_EQ(line->setLineWeight(AcDb::kLnWt050), Acad::eOk);
    ms->appendAcDbEntity(line);
    line->close();
    ms->close();
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(good.string()).c_str()), Acad::eOk);
  }
  std::istringstream in(slurp(good));
  std::string out, code, value;
  int replaced = 0;
  while (std::getline(in, code) && std::getline(in, value)) {
    const std::string trimmed = code.find_first_not_of(' ') == std::string::npos ? "" : code.substr(code.find_first_not_of(' '));
    bool weight = trimmed == "370";
    replaced += weight;
    out += code + "\n" + (weight ? std::string("9999") : trimmed == "62" ? std::string("-9223372036854775808") : value) + "\n";
  }
  ASSERT_GE(replaced, 2) << "the layers' and the line's weights";
  std::ofstream(bad, std::ios::binary) << out;
  AcDbDatabase imported;
  ASSERT_EQ(imported.dxfIn(acrxFromUtf8(bad.string()).c_str()), Acad::eOk);
  AcDbLayerTable* layers = nullptr;
  ASSERT_EQ(imported.getLayerTable(layers, AcDb::kForRead), Acad::eOk);
  AcDbLayerTableRecord* heavy = nullptr;
  ASSERT_EQ(layers->getAt(L"HEAVY", heavy, AcDb::kForRead), Acad::eOk);
  layers->close();
  EXPECT_EQ(heavy->lineWeight(), AcDb::kLnWtByLwDefault);
  EXPECT_EQ(heavy->color().colorIndex(), 7);
  heavy->close();
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, imported.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  AcDbEntity* line = nullptr;
  ASSERT_EQ(acdbOpenObject(line, ms->entityIds().front(), AcDb::kForWrite), Acad::eOk);
  ms->close();
  EXPECT_EQ(line->lineWeight(), AcDb::kLnWtByLayer);
  EXPECT_EQ(line->setLineWeight(static_cast<AcDb::LineWeight>(AcDb::kLnWt050 + 1)), Acad::eInvalidInput);
  EXPECT_EQ(line->lineWeight(), AcDb::kLnWtByLayer);
  line->close();
  EXPECT_TRUE(acdbIsLineWeight(211) && acdbIsLineWeight(-3) && !acdbIsLineWeight(-4) && !acdbIsLineWeight(9999));

  AcDbDwgMemoryFiler empty(&imported);
  EXPECT_EQ(empty.readBytes(nullptr, 0), Acad::eOk);
  char one = 0;
  EXPECT_EQ(empty.readBytes(&one, 1), Acad::eEndOfFile);
}

}  // namespace

namespace {

// Damaged drawings: every cut and a run of flipped bytes must read as an error or a drawing,
// never a crash (the sanitizer build checks the memory side).
TEST(DbFuzz, CutAndFlippedFilesNeverCrash) {
  auto path = tempFile("fuzz-source.dwg"), bad = tempFile("fuzz.dwg");
  {
    AcDbDatabase db;
    buildSample(db);
    ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  }
  std::string good = slurp(path);
  auto tryRead = [&](const std::string& bytes) {
    std::ofstream(bad, std::ios::binary | std::ios::trunc) << bytes;
    AcDbDatabase db(false, true);
    Acad::ErrorStatus es = db.readDwgFile(acrxFromUtf8(bad.string()).c_str());
    if (es == Acad::eOk) {
      AcDbBlockTableRecord* ms = nullptr;
      if (acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead) == Acad::eOk) ms->close();
    }
    return es;
  };
  int refused = 0;
  for (std::size_t cut = 0; cut < good.size(); cut += std::max<std::size_t>(1, good.size() / 150))
    refused += tryRead(good.substr(0, cut)) != Acad::eOk;
  EXPECT_GT(refused, 100);
  unsigned seed = 12345;
  for (int i = 0; i < 300; ++i) {
    std::string bytes = good;
    for (int k = 0; k < 4; ++k) {
      seed = seed * 1103515245u + 12345u;
      bytes[(seed >> 8) % bytes.size()] ^= static_cast<char>(1 + (seed >> 3) % 255);
    }
    tryRead(bytes);
  }
}

}  // namespace
