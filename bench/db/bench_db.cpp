// Save and open of drawings with 10,000 and 100,000 entities (time per entity, peak memory), and
// selections in drawings of 1,000 and 100,000 entities, with and without a filter.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <filesystem>

#include "ed.h"

namespace {

// A drawing of n entities on a grid: lines, with every fourth a closed polyline and every
// tenth a text, on a few layers, spread so a drawing of any size keeps the same density.
std::unique_ptr<AcDbDatabase> drawing(int n) {
  auto db = std::make_unique<AcDbDatabase>();
  AcDbLayerTable* lt = nullptr;
  db->getLayerTable(lt, AcDb::kForWrite);
  std::vector<AcDbObjectId> layers;
  for (int i = 0; i < 4; ++i) {
    auto* rec = new AcDbLayerTableRecord;
    rec->setName((L"LAYER" + std::to_wstring(i)).c_str());
    AcDbObjectId id;
    lt->add(id, rec);
    rec->close();
    layers.push_back(id);
  }
  lt->close();
  AcDbBlockTableRecord* ms = nullptr;
  acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForWrite);
  int side = static_cast<int>(std::sqrt(static_cast<double>(n))) + 1;
  for (int i = 0; i < n; ++i) {
    double x = (i % side) * 10.0, y = (i / side) * 10.0;
    AcDbEntity* e = nullptr;
    if (i % 10 == 9) {
      auto* t = new AcDbMText;
      t->setLocation({x, y, 0});
      t->setContents(L"ROOM\\P101");
      e = t;
    } else if (i % 4 == 3) {
      auto* p = new AcDbPolyline;
      p->addVertexAt(0, {x, y});
      p->addVertexAt(1, {x + 5, y});
      p->addVertexAt(2, {x + 5, y + 5});
      p->setClosed(true);
      e = p;
    } else {
      e = new AcDbLine(AcGePoint3d(x, y, 0), AcGePoint3d(x + 6, y + 3, 0));
    }
    e->setLayer(layers[static_cast<std::size_t>(i) % layers.size()]);
    ms->appendAcDbEntity(e);
    e->close();
  }
  ms->close();
  return db;
}

double peakMegabytes() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_maxrss) / 1024.0;
}

std::wstring file(int n) {
  return acrxFromUtf8((std::filesystem::temp_directory_path() / ("kv_bench_" + std::to_string(n) + ".dwg")).string());
}

void BM_Save(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  auto db = drawing(n);
  for (auto _ : state) benchmark::DoNotOptimize(db->saveAs(file(n).c_str()));
  state.counters["us_per_entity"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(acrxToUtf8(file(n)))) / 1e6;
  state.counters["peak_MB"] = peakMegabytes();
}

void BM_Open(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  drawing(n)->saveAs(file(n).c_str());
  for (auto _ : state) {
    AcDbDatabase db(false, true);
    benchmark::DoNotOptimize(db.readDwgFile(file(n).c_str()));
  }
  state.counters["us_per_entity"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["peak_MB"] = peakMegabytes();
}

// Opens the drawing of n entities as the current document, zoomed to its extents.
void openDrawing(int n) {
  acDocManagerPtr()->closeAll();
  AcApDocument* doc = acDocManagerPtr()->newDocument();
  drawing(n)->saveAs(file(n).c_str());
  acDocManagerPtr()->closeDocument(doc);
  acDocManagerPtr()->openDocument(file(n).c_str());
  acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_E", RTNONE);
}

// Three clauses as filter lists carry them: a type list, a layer wildcard, and a NOT group.
resbuf* threeClauseFilter() {
  return acutBuildList(RTDXF0, L"LINE,LWPOLYLINE", 8, L"LAYER[0-2]", -4, L"<NOT", 62, 1, -4, L"NOT>", RTNONE);
}

// Runs the selection once per iteration; what the last one found, and releases the filter.
Adesk::Int32 selectEach(benchmark::State& state, const ACHAR* mode, const double* a, const double* b, resbuf* filter) {
  ads_name ss;
  Adesk::Int32 found = 0;
  for (auto _ : state) {
    if (acedSSGet(mode, a, b, filter, ss) == RTNORM) {
      acedSSLength(ss, &found);
      acedSSFree(ss);
    }
  }
  acutRelRb(filter);
  return found;
}

// One crossing selection of a small window; the view shows the whole drawing. With the second
// argument 1 the selection carries the three-clause filter.
void BM_SSGetCrossing(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  openDrawing(n);
  resbuf* filter = state.range(1) ? threeClauseFilter() : nullptr;
  ads_point a = {12, 12, 0}, b = {28, 28, 0};
  ads_name ss;
  acedSSGet(L"C", a, b, filter, ss);  // the index is built on the first query
  acedSSFree(ss);
  state.counters["found"] = selectEach(state, L"C", a, b, filter);
  acDocManagerPtr()->closeAll();
}

// "X" with the three-clause filter: every entity of the drawing goes through the filter.
void BM_SSGetAllFiltered(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  openDrawing(n);
  state.counters["found"] = selectEach(state, L"X", nullptr, nullptr, threeClauseFilter());
  state.counters["us_per_entity"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  acDocManagerPtr()->closeAll();
}

}  // namespace

BENCHMARK(BM_Save)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Open)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SSGetCrossing)->Args({1000, 0})->Args({100000, 0})->Args({1000, 1})->Args({100000, 1})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SSGetAllFiltered)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
