// A system of about 1,000 ducts (elbows, transitions, tees, wyes, a riser and flexible runs,
// repeated over a floor) turned into solids the way the application layer does it: every
// fitting, then every straight piece and flexible run. CPU time is kept per fitting family.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "../common/bench_project.h"
#include "ap.h"
#include "ductwork/ductrows.h"
#include "kvSolid.h"
#include "lisp.h"
#include "module/module.h"
#include "solids/solids.h"

namespace {

constexpr int kModules = 91;  // of 11 ducts each

struct Piece {
  double x1, y1, z1, x2, y2, z2, width;
  const wchar_t* material;
  int from;  // the piece it follows within the module, -1 for none
};

// One branch of the floor: main, elbow, transition, tee, wye, an elbow into a riser and out of
// it, and a flexible run off the wye.
const Piece kModule[] = {
    {0, 0, 108, 100, 0, 108, 24, L"GS", -1},        {100, 0, 108, 100, 100, 108, 24, L"GS", 0},
    {100, 100, 108, 100, 200, 108, 18, L"GS", 1},   {100, 200, 108, 100, 300, 108, 18, L"GS", 2},
    {100, 200, 108, 200, 200, 108, 18, L"GS", 2},   {100, 300, 108, 150, 350, 108, 18, L"GS", 3},
    {100, 300, 108, 50, 350, 108, 18, L"GS", 3},    {200, 200, 108, 200, 100, 108, 18, L"GS", 4},
    {200, 100, 108, 200, 100, 200, 18, L"GS", 7},   {200, 100, 200, 300, 100, 200, 18, L"GS", 8},
    {50, 350, 108, 0, 420, 108, 8, L"FX", 6},
};

class SolidSystem : public BenchProject {
 public:
  SolidSystem() : BenchProject("kv_bench_solids") {
    kvSolidRegisterClasses();
    RegisterEntityClasses();
    AddRows();
  }
  const std::vector<std::int32_t>& ducts() const { return ducts_; }

 private:
  void AddRows() {
    tblDuct& rows = *context().database.table<tblDuct>();
    std::string links;
    for (int m = 0; m < kModules; ++m) {
      const double ox = (m % 10) * 400.0, oy = (m / 10) * 500.0;
      std::vector<std::int32_t> made;
      for (const Piece& p : kModule) {
        rows.StartNew();
        rows.SetX1(ox + p.x1), rows.SetY1(oy + p.y1), rows.SetZ1(p.z1);
        rows.SetX2(ox + p.x2), rows.SetY2(oy + p.y2), rows.SetZ2(p.z2);
        rows.SetSHAPE(p.material == std::wstring(L"FX") ? L"rd" : L"RC");
        rows.SetWIDTH(p.width);
        rows.SetDEPTH(p.material == std::wstring(L"FX") ? p.width : 12.0);
        rows.SetMATERIAL(p.material);
        rows.SetOFFSET(L"c");
        rows.Update();
        made.push_back(rows.Info().ixDuct);
        if (p.from >= 0)
          links += "(ductgraph-connect " + std::to_string(made[p.from]) + " " + std::to_string(made.back()) + ")";
      }
      ducts_.insert(ducts_.end(), made.begin(), made.end());
    }
    env().runTopLevel(links);
  }

  std::vector<std::int32_t> ducts_;
};

double Cpu() { return double(std::clock()) / CLOCKS_PER_SEC; }

void BM_SystemToSolids(benchmark::State& state) {
  SolidSystem system;
  std::map<std::string, double> seconds;
  std::map<std::string, int> counts;
  double total = 0.0;
  for (auto _ : state) {
    const double start = Cpu();
    for (std::int32_t ix : system.ducts()) {
      std::wstring text, value;
      chooseFitting(ductOrDefaults(ix), text, value);
      const double t0 = Cpu();
      SolidPieces pieces;
      drawTripleFitting(ix, 0, false, L"", pieces);
      seconds[acrxToUtf8(text.c_str())] += Cpu() - t0;
      ++counts[acrxToUtf8(text.c_str())];
    }
    for (std::int32_t ix : system.ducts()) {
      const double t0 = Cpu();
      SolidPieces pieces;
      drawTripleCenter(ix, 0, false, pieces);
      seconds["(straight and flexible)"] += Cpu() - t0;
    }
    total = Cpu() - start;
  }
  for (const auto& [family, s] : seconds) {
    state.counters[family + " s"] = s;
    if (counts.count(family)) state.counters[family + " n"] = counts[family];
  }
  state.counters["ducts"] = double(system.ducts().size());
  state.counters["total CPU s"] = total;
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peak MiB"] = usage.ru_maxrss / 1024.0;
}
BENCHMARK(BM_SystemToSolids)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
