// Pins the drawing file's layout to the offset table in db.h: a saved drawing is taken apart by
// hand, field by field, so the format cannot drift without this test and the table changing.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "db.h"

namespace {

// Little-endian reads from a byte image; any read past the end fails the test.
class Bytes {
 public:
  explicit Bytes(std::vector<unsigned char> b) : b_(std::move(b)) {}
  std::size_t pos = 0;
  std::size_t size() const { return b_.size(); }
  template <class T>
  T get() {
    EXPECT_LE(pos + sizeof(T), b_.size());
    T v{};
    if (pos + sizeof(T) <= b_.size()) std::memcpy(&v, b_.data() + pos, sizeof(T));
    pos += sizeof(T);
    return v;
  }
  std::string text(std::size_t n) {
    std::string s(reinterpret_cast<const char*>(b_.data()) + pos, std::min(n, b_.size() - pos));
    pos += n;
    return s;
  }
  std::string string() { return text(get<std::uint32_t>()); }

 private:
  std::vector<unsigned char> b_;
};

std::vector<unsigned char> Slurp(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(DrawingFileLayout, HeaderClassesObjectsAndEndAreWhereTheTableSays) {
  auto path = std::filesystem::temp_directory_path() / "kv_header_layout.dwg";
  AcDbDatabase db;
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  db.setDimscale(48.0);
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* line = new AcDbLine({0, 0, 0}, {10, 0, 0});
  AcDbObjectId lineId;
  ASSERT_EQ(ms->appendAcDbEntity(lineId, line), Acad::eOk);
  line->close();
  ms->close();
  ASSERT_EQ(db.saveAs(acrxFromUtf8(path.string()).c_str()), Acad::eOk);

  Bytes f(Slurp(path));
  EXPECT_EQ(f.text(8), std::string("KVDWG1\r\n", 8));
  EXPECT_EQ(f.pos, 8u);
  EXPECT_EQ(f.get<std::uint32_t>(), 1u) << "format version";
  EXPECT_EQ(f.pos, 12u);
  std::uint64_t nextHandle = f.get<std::uint64_t>();
  EXPECT_EQ(f.pos, 20u);
  const AcDbObjectId roots[] = {db.blockTableId(),   db.layerTableId(),     db.textStyleTableId(),
                                db.linetypeTableId(), db.regAppTableId(),   db.modelSpaceId(),
                                db.paperSpaceId(),    db.byLayerLinetype(), db.byBlockLinetype(),
                                db.continuousLinetype()};
  for (const AcDbObjectId& id : roots) EXPECT_EQ(f.get<std::uint64_t>(), id.handle().value());
  f.get<std::uint64_t>();  // layer "0"
  f.get<std::uint64_t>();  // style "Standard"
  EXPECT_EQ(f.pos, 116u);

  std::uint32_t vars = f.get<std::uint32_t>();
  bool sawDimscale = false;
  for (std::uint32_t i = 0; i < vars; ++i) {
    std::string name = f.string();
    std::uint8_t kind = f.get<std::uint8_t>();
    ASSERT_GE(kind, 1);
    ASSERT_LE(kind, 5) << name;
    if (kind == 1) f.get<std::int32_t>();
    if (kind == 2) {
      double v = f.get<double>();
      if (name == "DIMSCALE") sawDimscale = v == 48.0;
    }
    if (kind == 3) f.string();
    if (kind == 4) f.pos += 16;
    if (kind == 5) f.pos += 24;
  }
  EXPECT_TRUE(sawDimscale);

  std::uint32_t classes = f.get<std::uint32_t>();
  std::vector<std::string> names;
  for (std::uint32_t i = 0; i < classes; ++i) {
    names.push_back(f.string());
    f.string();                // DXF name
    bool entity = f.get<std::uint8_t>() != 0;
    if (names.back() == "AcDbLine") {
      EXPECT_TRUE(entity);
    }
    if (names.back() == "AcDbLayerTable") {
      EXPECT_FALSE(entity);
    }
    f.pos += 12;               // DWG version, maintenance release, proxy flags
  }
  EXPECT_NE(std::find(names.begin(), names.end(), "AcDbLine"), names.end());

  std::uint64_t objects = f.get<std::uint64_t>();
  EXPECT_EQ(objects, db.numObjects());
  std::uint64_t last = 0;
  bool sawLine = false;
  for (std::uint64_t i = 0; i < objects; ++i) {
    std::uint32_t cls = f.get<std::uint32_t>();
    ASSERT_LT(cls, classes);
    std::uint64_t handle = f.get<std::uint64_t>();
    EXPECT_GT(handle, last) << "objects in handle order";
    EXPECT_LT(handle, nextHandle);
    last = handle;
    std::uint32_t size = f.get<std::uint32_t>();
    std::size_t body = f.pos;
    if (handle == lineId.handle().value()) {
      sawLine = true;
      EXPECT_EQ(names[cls], "AcDbLine");
      EXPECT_EQ(f.get<std::uint64_t>(), db.modelSpaceId().handle().value()) << "owner first";
      EXPECT_EQ(f.get<std::uint32_t>(), 0u) << "no extended data";
      f.pos += 8 + 8 + 1 + 2 + 3 + 2 + 8 + 1;  // layer, linetype, colour, line weight, scale, visible
      EXPECT_EQ(f.get<double>(), 0.0);           // the line's own fields follow: its start
    }
    f.pos = body + size;
    std::uint32_t lines = f.get<std::uint32_t>();
    EXPECT_EQ(lines, 0u) << "host classes file no proxy picture";
  }
  EXPECT_TRUE(sawLine);
  EXPECT_EQ(f.text(8), "KVDWGEND");
  EXPECT_EQ(f.pos, f.size());
  std::filesystem::remove(path);
}

}  // namespace
