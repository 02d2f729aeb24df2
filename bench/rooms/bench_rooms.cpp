// The room at a point among 100 and 10,000 rooms (through the drawing's spatial index, and, for
// comparison, by a walk of model space), and area and point-in-room of a 1,000-vertex outline.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "rooms/rooms.h"

namespace {

struct Registered {
  Registered() {
    hvacRoom::rxInit();
    KVLeader::rxInit();
    acrxBuildClassHierarchy();
  }
};
const Registered registered;

constexpr double kPitch = 240.0;  // twenty-foot rooms on a square grid

// A floor of n labelled rooms with leaders, made the working drawing.
struct Floor {
  std::unique_ptr<AcDbDatabase> db = std::make_unique<AcDbDatabase>();
  int side = 0;
  explicit Floor(int n) {
    side = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(n))));
    AcDbBlockTableRecord* ms = nullptr;
    acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForWrite);
    for (int i = 0; i < n; ++i) {
      const double x = (i % side) * kPitch, y = (i / side) * kPitch;
      auto* room = new hvacRoom;
      room->setIxRoomL(i + 1);
      room->setTextHeight(9.0);
      room->setPoints({{x, y, false}, {x + kPitch, y, false}, {x + kPitch, y + kPitch, false}, {x, y + kPitch, false}});
      room->setLabelLocation(AcGePoint3d(x + 20, y + 200, 0));
      room->setLabelText(L"Office");
      room->setLeaderOn(true);
      ms->appendAcDbEntity(room);
      room->close();
    }
    ms->close();
    acdbHostApplicationServices()->setWorkingDatabase(db.get());
  }
  ~Floor() { acdbHostApplicationServices()->setWorkingDatabase(nullptr); }
  // The centre of the k-th room: stride 1 walks the floor room by room, as picks across a plan
  // do; a large prime stride scatters the questions over the whole floor.
  AcGePoint3d centreOf(long k, long stride) const {
    const long n = static_cast<long>(side) * side;
    const long i = (k * stride) % n;
    return {(i % side) * kPitch + 100, (i / side) * kPitch + 100, 0};
  }
};

// Arguments: rooms, stride.
void BM_FindRoom(benchmark::State& state) {
  Floor floor(static_cast<int>(state.range(0)));
  long k = 0, found = 0;
  for (auto _ : state) {
    std::int32_t ix = 0;
    found += FindRoomAt(floor.centreOf(k++, state.range(1)), 0, ix);
    benchmark::DoNotOptimize(ix);
  }
  state.counters["found"] = static_cast<double>(found) / static_cast<double>(k);
}
BENCHMARK(BM_FindRoom)->Args({100, 1})->Args({10000, 1})->Args({100, 7919})->Args({10000, 7919})
    ->Unit(benchmark::kMicrosecond);

// The same question by opening every entity of model space, as a plain walk of the block does.
void BM_FindRoomByWalk(benchmark::State& state) {
  Floor floor(static_cast<int>(state.range(0)));
  long k = 0;
  for (auto _ : state) {
    const AcGePoint3d at = floor.centreOf(k++, 7919);
    AcDbBlockTableRecord* ms = nullptr;
    acdbOpenObject(ms, floor.db->modelSpaceId(), AcDb::kForRead);
    AcDbBlockTableRecordIterator* raw = nullptr;
    ms->newIterator(raw);
    std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
    std::int32_t ix = 0;
    for (; !it->done() && ix == 0; it->step()) {
      AcDbObjectId id;
      it->getEntityId(id);
      AcDbObjectPointer<hvacRoom> room(id, AcDb::kForRead);
      if (room.openStatus() == Acad::eOk && room->containsPoint(at)) ix = room->ixRoomL();
    }
    ms->close();
    benchmark::DoNotOptimize(ix);
  }
}
BENCHMARK(BM_FindRoomByWalk)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);

// A star of 1,000 vertices: concave everywhere, as an outline traced from a survey might be.
std::unique_ptr<hvacRoom> Star() {
  auto room = std::make_unique<hvacRoom>();
  std::vector<RoomPoint> points;
  for (int i = 0; i < 1000; ++i) {
    const double a = 2 * std::acos(-1.0) * i / 1000, r = i % 2 ? 400.0 : 600.0;
    points.push_back({r * std::cos(a), r * std::sin(a), false});
  }
  room->setPoints(points);
  return room;
}

void BM_Area1000(benchmark::State& state) {
  auto room = Star();
  for (auto _ : state) {
    double area = 0;
    room->getArea(area);
    benchmark::DoNotOptimize(area);
  }
}
BENCHMARK(BM_Area1000)->Unit(benchmark::kMicrosecond);

void BM_ContainsPoint1000(benchmark::State& state) {
  auto room = Star();
  long k = 0;
  for (auto _ : state) {
    const double a = 0.001 * static_cast<double>(k++ % 6283);
    benchmark::DoNotOptimize(room->containsPoint(AcGePoint3d(300 * std::cos(a), 300 * std::sin(a), 0)));
  }
}
BENCHMARK(BM_ContainsPoint1000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
