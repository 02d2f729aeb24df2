// Save, open and plot of drawings of 1,000 and 100,000 ducts (cost per duct, peak memory per
// duct), and worldDraw of one duct with 20 hangers and every letter (primitives per duct).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <filesystem>

#include "ductwork/KvDuct.h"

namespace {

struct Registered {
  Registered() {
    KvDuct::rxInit();
    acrxBuildClassHierarchy();
  }
};
const Registered registered;

double PeakMegabytes() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_maxrss) / 1024.0;
}
// The process's peak before any drawing was built; memory per duct is measured above it, so
// each size runs in a process of its own (bench/ductwork/memory.sh).
const double kStartPeak = PeakMegabytes();

// A run of ducts as a designer lays them out: ten-foot lengths on a grid at the same density
// for every size, sloping a little, every fifth with hangers, every seventh sized.
KvDuctFields DuctAt(int i, int side) {
  KvDuctFields f;
  double x = (i % side) * 150.0, y = (i / side) * 150.0;
  f.start = {x, y, 108.0};
  f.end = {x + 120.0, y + 10.0, 106.0};
  f.ixDuct = i + 1;
  if (i % 5 == 0) f.hangerDistances = {12, 60, 108};
  if (i % 7 == 0) f.sizeFor = L"V";
  return f;
}

std::unique_ptr<AcDbDatabase> Drawing(int n) {
  auto db = std::make_unique<AcDbDatabase>();
  db->setDimscale(48.0);
  AcDbBlockTableRecord* ms = nullptr;
  acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForWrite);
  int side = static_cast<int>(std::sqrt(static_cast<double>(n))) + 1;
  for (int i = 0; i < n; ++i) {
    auto* d = new KvDuct;
    d->fieldsForWrite() = DuctAt(i, side);
    ms->appendAcDbEntity(d);
    d->close();
  }
  ms->close();
  return db;
}

std::wstring File(const char* what, int n) {
  return acrxFromUtf8(
      (std::filesystem::temp_directory_path() / ("kv_bench_ducts_" + std::to_string(n) + what)).string());
}

void Counters(benchmark::State& state, int n) {
  state.counters["us_per_duct"] =
      benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["peak_MB"] = PeakMegabytes();
  state.counters["peak_KB_per_duct"] = (PeakMegabytes() - kStartPeak) * 1024.0 / n;
}

void BM_DuctSave(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  auto db = Drawing(n);
  for (auto _ : state) benchmark::DoNotOptimize(db->saveAs(File(".dwg", n).c_str()));
  Counters(state, n);
  state.counters["file_bytes_per_duct"] = static_cast<double>(std::filesystem::file_size(acrxToUtf8(File(".dwg", n)))) / n;
}

void BM_DuctOpen(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Drawing(n)->saveAs(File(".dwg", n).c_str());
  for (auto _ : state) {
    AcDbDatabase db(false, true);
    if (db.readDwgFile(File(".dwg", n).c_str()) != Acad::eOk) state.SkipWithError("drawing does not read");
  }
  Counters(state, n);
}

void BM_DuctPlot(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  auto db = Drawing(n);
  acdbHostApplicationServices()->setWorkingDatabase(db.get());
  for (auto _ : state)
    benchmark::DoNotOptimize(acgiPlotModelSpace(db.get(), File(".png", n).c_str(), AcGiPlotFormat::Png, 1600));
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
  Counters(state, n);
}

// The busiest plan duct: 20 hangers of both kinds, all three lock letters, a sizing letter and
// a link label.
void BM_DuctWorldDraw(benchmark::State& state) {
  AcDbDatabase db;
  db.setDimscale(48.0);
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  KvDuct duct;
  KvDuctFields& f = duct.fieldsForWrite();
  f.start = {0, 0, 120};
  f.end = {240, 0, 110};
  for (int i = 0; i < 20; ++i) f.hangerDistances.push_back((i % 2 ? -1 : 1) * (6.0 + i * 11.0));
  f.bLockWidth = f.bLockDepth = f.bLockShape = true;
  f.sizeFor = L"V";
  f.dwgStart = true;
  f.linkedDrawing = L"LEVEL2";
  std::size_t primitives = 0;
  for (auto _ : state) {
    AcGiCapture capture;
    capture.draw(&duct);
    primitives = capture.primitives().size();
    benchmark::DoNotOptimize(primitives);
  }
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
  state.counters["primitives_per_duct"] = static_cast<double>(primitives);
}

BENCHMARK(BM_DuctSave)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DuctOpen)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DuctPlot)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DuctWorldDraw)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
