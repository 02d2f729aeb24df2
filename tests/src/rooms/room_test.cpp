// Helpers shared by the room tests.
#include "room_test.h"

#include <fstream>

namespace {

struct Registered {
  Registered() {
    hvacRoom::rxInit();
    KVLeader::rxInit();
    acrxBuildClassHierarchy();
  }
};
const Registered registered;

std::size_t EntityHeaderSize() {
  AcDbDwgMemoryFiler f;
  AcDbLine plain;
  plain.AcDbEntity::dwgOutFields(&f);
  return f.buffer().size();
}

}  // namespace

std::unique_ptr<hvacRoom> MakeRoom(const std::vector<RoomPoint>& outline, const ACHAR* label) {
  auto room = std::make_unique<hvacRoom>();
  room->setIxRoomL(1);
  room->setTextHeight(6.0);
  room->setPoints(outline);
  room->setLabelText(label);
  return room;
}

std::vector<RoomPoint> Outline(std::initializer_list<std::pair<double, double>> xy) {
  std::vector<RoomPoint> out;
  for (const auto& [x, y] : xy) out.push_back({x, y, false});
  return out;
}

WorkingDrawing::WorkingDrawing(double dimscale) : saved_(acdbHostApplicationServices()->workingDatabase()) {
  db_.setDimscale(dimscale);
  acdbHostApplicationServices()->setWorkingDatabase(&db_);
}

WorkingDrawing::Scope::Scope(AcDbDatabase& db) : saved_(acdbHostApplicationServices()->workingDatabase()) {
  acdbHostApplicationServices()->setWorkingDatabase(&db);
}

WorkingDrawing::Scope::~Scope() { acdbHostApplicationServices()->setWorkingDatabase(saved_); }

WorkingDrawing::~WorkingDrawing() { acdbHostApplicationServices()->setWorkingDatabase(saved_); }

Acad::ErrorStatus ReadRecord(AcDbEntity& entity, const std::vector<unsigned char>& record) {
  AcDbDwgMemoryFiler f;
  AcDbLine plain;
  plain.AcDbEntity::dwgOutFields(&f);
  f.writeBytes(record.data(), record.size());
  f.rewind();
  return entity.dwgInFields(&f);
}

std::vector<unsigned char> OwnRecord(const AcDbEntity& entity) {
  AcDbDwgMemoryFiler f;
  entity.dwgOutFields(&f);
  const std::vector<unsigned char>& all = f.buffer();
  return {all.begin() + static_cast<std::ptrdiff_t>(EntityHeaderSize()), all.end()};
}

std::vector<unsigned char> ReadFile(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::filesystem::path FixtureDir() { return std::filesystem::path(KV_SOURCE_DIR) / "tests/src/rooms/fixtures"; }
