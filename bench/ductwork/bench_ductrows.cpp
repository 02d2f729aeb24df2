// The fitting at every end of a 10,000-duct system with the application layer's own LISP graph,
// and kv_hvac-setDuctInfo from LISP against a plain kvdb update of the same column.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "../common/bench_project.h"
#include "ap.h"
#include "ductwork/KvDuct.h"
#include "ductwork/ductrows.h"
#include "lisp.h"
#include "module/module.h"

namespace {

constexpr int kDucts = 10000;

// A project of kDucts ducts in a drawing of its folder, its graph in the LISP layer: duct i
// follows duct i / 2, so that half the ends are tees or wyes, one an elbow and the rest ends; a
// duct in fifty is a riser, whose frame comes from upstream.
class SystemProject : public BenchProject {
 public:
  SystemProject() : BenchProject("kv_bench_ductrows") {
    RegisterEntityClasses();
    RegisterLispFunctions(LispFunctionTable(), kLispFunctionCount, 0);
    AddRows();
    env().runTopLevel("(setq i 2) (repeat " + std::to_string(kDucts - 1) +
                      " (ductgraph-connect (/ i 2) i) (setq i (1+ i)))");
  }

 private:
  void AddRows() {
    tblDuct& ducts = *context().database.table<tblDuct>();
    for (int i = 1; i <= kDucts; ++i) {
      const double a = (i % 8) * 0.7853981625;
      const double x = (i % 100) * 150.0, y = (i / 100) * 150.0;
      ducts.StartNew();
      ducts.SetX1(x);
      ducts.SetY1(y);
      ducts.SetZ1(108);
      ducts.SetX2(i % 50 == 0 ? x : x + 120 * std::cos(a));
      ducts.SetY2(i % 50 == 0 ? y : y + 120 * std::sin(a));
      ducts.SetZ2(i % 50 == 0 ? 216 : 108);
      ducts.SetSHAPE(i % 3 == 0 ? L"rd" : L"RC");
      ducts.SetWIDTH(12);
      ducts.SetDEPTH(8);
      ducts.Update();
    }
  }
};

SystemProject& Project() {
  static SystemProject project;
  return project;
}

void BM_FittingAtEveryEnd(benchmark::State& state) {
  SystemProject& project = Project();
  std::map<std::wstring, int> counts;
  for (auto _ : state) {
    counts.clear();
    for (int ix = 1; ix <= kDucts; ++ix) {
      std::wstring text, value;
      chooseFitting(ductOrDefaults(ix), text, value);
      ++counts[text];
    }
  }
  state.SetItemsProcessed(state.iterations() * kDucts);
  for (const auto& [text, n] : counts) state.counters[acrxToUtf8(text.c_str())] = n;
  (void)project;
}
BENCHMARK(BM_FittingAtEveryEnd)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->ReportAggregatesOnly();

// One duct entity named by the LISP symbol `e`.
void DuctInDrawing(SystemProject& project) {
  static bool made = false;
  if (made) return;
  made = true;
  AcDbBlockTableRecord* space = nullptr;
  acdbOpenObject(space, project.drawing()->modelSpaceId(), AcDb::kForWrite);
  auto* duct = new KvDuct;
  duct->setStart(AcGePoint3d(0, 0, 108), true);
  duct->setEnd(AcGePoint3d(120, 0, 108), true);
  duct->setIxDuct(1);
  space->appendAcDbEntity(duct);
  duct->close();
  space->close();
  project.env().runTopLevel("(setq e (car (ssgetx-duct 1)))");
}

void BM_SetDuctInfoFromLisp(benchmark::State& state) {
  SystemProject& project = Project();
  DuctInDrawing(project);
  for (auto _ : state)
    if (!project.env().runTopLevel("(repeat 1000 (kv_hvac-setDuctInfo e '((\"Z1\" 110.0))))"))
      state.SkipWithError("kv_hvac-setDuctInfo failed");
  state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_SetDuctInfoFromLisp)->Unit(benchmark::kMillisecond)->Repetitions(3)->ReportAggregatesOnly();

void BM_KvdbUpdateOfTheColumnFromLisp(benchmark::State& state) {
  SystemProject& project = Project();
  project.env().set("file", kvlisp::Value::string(project.file()));
  for (auto _ : state)
    if (!project.env().runTopLevel("(repeat 20 (kvdb-execute file \"UPDATE tblDuct SET Z1 = 110 WHERE ixDuct = 1\"))"))
      state.SkipWithError("kvdb-execute failed");
  state.SetItemsProcessed(state.iterations() * 20);
}
BENCHMARK(BM_KvdbUpdateOfTheColumnFromLisp)->Unit(benchmark::kMillisecond)->Repetitions(3)->ReportAggregatesOnly();

}  // namespace

BENCHMARK_MAIN();
