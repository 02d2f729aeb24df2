// Benchmarks of the solid library: building straight pieces, elbows of both kinds and wyes with
// their slices; saving and reopening a drawing of them; exporting it as STEP.
#include <sys/resource.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kvSolid.h"

namespace {

struct Frame {
  AcGeVector3d v[3];
};
const Frame kX{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
const Frame kY{{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}};
const double kC = std::sqrt(0.5);
const Frame kB{{{kC, kC, 0}, {-kC, kC, 0}, {0, 0, 1}}};
const Frame kCLeg{{{kC, -kC, 0}, {kC, kC, 0}, {0, 0, 1}}};

// Each builder adds the piece number i at its own place (rows 100 apart) to `s`.
bool straight(kv_hvacSolid& s, int i) {
  const AcGePoint3d a(0, 100.0 * i, 0), b(120, 100.0 * i, 0);
  return s.addTransition(a, true, 12, 8, b, true, 12, 8, kX.v, kX.v, 0);
}

bool squareElbow(kv_hvacSolid& s, int i) {
  AcGePoint3d a(-50, 100.0 * i, 0), b(0, 100.0 * i + 50, 0);
  AModeler::Point3d in[8], out[8];
  AcGePoint3d layout[8];
  return s.addSquareElbowPrep(a, 12, 8, b, 12, 8, kX.v, kY.v, true, in, out, layout, true, 3.0) &&
         s.addSquareElbow(a, 12, 8, b, 12, 8, kX.v, kY.v, true, in, out, layout, 0);
}

bool radiusElbow(kv_hvacSolid& s, int i) {
  AcGePoint3d a(-50, 100.0 * i, 0), b(0, 100.0 * i + 50, 0);
  return s.addRadiusElbow(a, 12, 8, 0, 0, b, 12, 8, kX.v, kY.v, true, 1.5, true, 0, true);
}

bool wyeWithSlices(kv_hvacSolid& s, int i) {
  const double y = 100.0 * i;
  AcGePoint3d a(-40, y, 0), b(40 * kC, y + 40 * kC, 0), c(40 * kC, y - 40 * kC, 0), j(0, y, 0);
  AModeler::Point3d sa[8], sb[8], sc[8];
  AcGePoint3d la[8], lb[8], lc[8];
  return s.addWyePrep(a, 12, 8, b, 12, 8, c, 12, 8, kX.v, kB.v, kCLeg.v, true, sa, sb, sc, la, lb, lc, true, 3.0) &&
         s.addWye(a, 12, 8, b, 12, 8, c, 12, 8, j, kX.v, kB.v, kCLeg.v, true, sa, sb, sc, la, lb, lc, 0) &&
         s.sliceLast({-2, y, 0}, {-2, y + 1, 0}, {-2, y, 1}, {5, y, 0}) &&
         s.sliceLast({0, y + 9, 0}, {1, y + 9, 0}, {0, y + 9, 1}, {0, y, 0});
}

using Builder = bool (*)(kv_hvacSolid&, int);

void buildMany(benchmark::State& state, Builder build, int count) {
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) {
      kv_hvacSolid s;
      if (!build(s, i)) state.SkipWithError(s.lastError().c_str());
      benchmark::DoNotOptimize(s.bodies().bodyCount());
    }
  }
  state.counters["pieces/s"] = benchmark::Counter(count, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Straight1000(benchmark::State& st) { buildMany(st, straight, 1000); }
void BM_SquareElbow200(benchmark::State& st) { buildMany(st, squareElbow, 200); }
void BM_RadiusElbow200(benchmark::State& st) { buildMany(st, radiusElbow, 200); }
void BM_WyeWithSlices100(benchmark::State& st) { buildMany(st, wyeWithSlices, 100); }
BENCHMARK(BM_Straight1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SquareElbow200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RadiusElbow200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WyeWithSlices100)->Unit(benchmark::kMillisecond);

// The drawing of all 1,500 pieces, built once per process.
struct Drawing {
  std::unique_ptr<AcDbDatabase> db = std::make_unique<AcDbDatabase>(true, true);
  std::string dir = std::string(KV_BINARY_DIR) + "/bench_solids_out";
  Drawing() {
    std::filesystem::create_directories(dir);
    acdbHostApplicationServices()->setWorkingDatabase(db.get());
    AcDbBlockTableRecord* space = nullptr;
    acdbOpenObject(space, db->modelSpaceId(), AcDb::kForWrite);
    add(space, straight, 1000);
    add(space, squareElbow, 200);
    add(space, radiusElbow, 200);
    add(space, wyeWithSlices, 100);
    space->close();
  }
  static void add(AcDbBlockTableRecord* space, Builder build, int count) {
    for (int i = 0; i < count; ++i) {
      auto* s = new kv_hvacSolid;
      build(*s, i);
      space->appendAcDbEntity(s);
      s->close();
    }
  }
  static Drawing& get() {
    static Drawing d;
    return d;
  }
};

long peakKiB() {
  rusage use{};
  getrusage(RUSAGE_SELF, &use);
  return use.ru_maxrss;
}

void BM_BuildDrawing1500(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Drawing::get().db.get());
  state.counters["peak_MiB"] = static_cast<double>(peakKiB()) / 1024.0;
}
BENCHMARK(BM_BuildDrawing1500)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_SaveDrawing1500(benchmark::State& state) {
  Drawing& d = Drawing::get();
  const std::wstring path = std::filesystem::path(d.dir + "/run.dwg").wstring();
  for (auto _ : state)
    if (d.db->saveAs(path.c_str()) != Acad::eOk) state.SkipWithError("saveAs failed");
  state.counters["MiB"] = static_cast<double>(std::filesystem::file_size(path)) / (1 << 20);
}
BENCHMARK(BM_SaveDrawing1500)->Unit(benchmark::kMillisecond);

void BM_ReopenDrawing1500(benchmark::State& state) {
  Drawing& d = Drawing::get();
  const std::wstring path = std::filesystem::path(d.dir + "/run.dwg").wstring();
  d.db->saveAs(path.c_str());
  for (auto _ : state) {
    AcDbDatabase back(false, true);
    if (back.readDwgFile(path.c_str()) != Acad::eOk) state.SkipWithError("readDwgFile failed");
  }
}
BENCHMARK(BM_ReopenDrawing1500)->Unit(benchmark::kMillisecond);

void BM_StepExport1500(benchmark::State& state) {
  Drawing& d = Drawing::get();
  std::vector<const SolidBodies*> all;
  AcDbBlockTableRecord* space = nullptr;
  acdbOpenObject(space, d.db->modelSpaceId(), AcDb::kForRead);
  AcDbBlockTableRecordIterator* raw = nullptr;
  space->newIterator(raw);
  std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
  std::vector<SolidBodies> copies;
  for (; !it->done(); it->step()) {
    AcDbEntity* e = nullptr;
    it->getEntity(e, AcDb::kForRead);
    if (auto* s = kv_hvacSolid::cast(e)) copies.push_back(s->bodies());
    e->close();
  }
  space->close();
  for (const SolidBodies& b : copies) all.push_back(&b);
  std::string error;
  for (auto _ : state)
    if (kvWriteStep(all, d.dir + "/run.step", error) < 0) state.SkipWithError(error.c_str());
  state.counters["MiB"] = static_cast<double>(std::filesystem::file_size(d.dir + "/run.step")) / (1 << 20);
}
BENCHMARK(BM_StepExport1500)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
