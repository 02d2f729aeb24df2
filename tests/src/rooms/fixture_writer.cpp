// Writes the room and leader fixtures of every filed version call by call from their layouts, so
// that the files stand for what older modules wrote, not for what this one writes.
#include "fixture_writer.h"

#include <fstream>

namespace {

void WriteLabel(AcDbDwgFiler& f) {
  AcDbMText label;
  label.setContents(L"101 Office");
  label.setLocation(AcGePoint3d(20, 140, 0));
  label.setTextHeight(6.0);
  label.dwgOutFields(&f);
}

void WriteOutline(AcDbDwgFiler& f) {
  const std::vector<RoomPoint> outline = FixtureOutline();
  f.writeInt32(static_cast<Adesk::Int32>(outline.size()));
  for (const RoomPoint& p : outline) {
    f.writePoint2d(AcGePoint2d(p.x, p.y));
    f.writeBool(p.thick);
  }
}

void WriteLeaderBody(AcDbDwgFiler& f, int version) {
  f.writeInt32(version);
  f.writePoint3d(AcGePoint3d(10, 20, 0));
  f.writePoint3d(AcGePoint3d(30, 20, 0));
  f.writePoint3d(AcGePoint3d(30, 0, 0));
  f.writeDouble(2.0);
  f.writeBool(false);  // no arrow block in a drawing-free record
}

std::vector<unsigned char> Bytes(void (*write)(AcDbDwgFiler&, int), int version) {
  AcDbDwgMemoryFiler f;
  write(f, version);
  return f.buffer();
}

void WriteRoom(AcDbDwgFiler& f, int version) {
  f.writeInt32(version);
  if (version > hvacRoom::kVersion) {
    f.writeString(L"fields of a later version");
    return;
  }
  f.writeInt32(100 + version);
  WriteOutline(f);
  f.writeBool(false);  // label layer
  f.writeBool(false);  // label style
  f.writeDouble(6.0);
  WriteLabel(f);
  f.writeBool(true);  // leader on
  if (version == 1) {
    // The host leader that the oldest rooms kept, from the arrow back to the label.
    AcDbLeader old;
    old.appendVertex(AcGePoint3d(30, 0, 0));
    old.appendVertex(AcGePoint3d(30, 20, 0));
    old.appendVertex(AcGePoint3d(10, 20, 0));
    old.dwgOutFields(&f);
  } else {
    AcDbLine header;
    header.AcDbEntity::dwgOutFields(&f);
    WriteLeaderBody(f, 2);
  }
  f.writeBool(false);  // leader layer
  if (version == 1) f.writeBool(false);  // the id nothing uses
}

void WriteLeader(AcDbDwgFiler& f, int version) {
  if (version > KVLeader::kVersion) {
    f.writeInt32(version);
    f.writeString(L"fields of a later version");
    return;
  }
  WriteLeaderBody(f, version);
}

bool Save(const std::filesystem::path& p, const std::vector<unsigned char>& bytes) {
  std::ofstream out(p, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

}  // namespace

std::vector<RoomPoint> FixtureOutline() {
  return {{200, 150, false}, {0, 150, true}, {0, 0, false}, {200, 0, false}};
}

std::vector<unsigned char> RoomVersionBytes(int version) { return Bytes(&WriteRoom, version); }

std::vector<unsigned char> UnindexedRoomBytes() {
  AcDbDwgMemoryFiler f;
  f.writeInt32(2);
  f.writeInt32(-1);
  return f.buffer();
}

std::vector<unsigned char> LeaderVersionBytes(int version) { return Bytes(&WriteLeader, version); }

bool WriteRoomFixtures(const std::filesystem::path& dir) {
  bool ok = true;
  for (int v = 1; v <= 3; ++v) {
    ok &= Save(dir / ("room-v" + std::to_string(v) + ".bin"), RoomVersionBytes(v));
    ok &= Save(dir / ("leader-v" + std::to_string(v) + ".bin"), LeaderVersionBytes(v));
  }
  ok &= Save(dir / "room-v2-noindex.bin", UnindexedRoomBytes());
  return ok;
}
