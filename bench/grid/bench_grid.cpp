// Grid benchmarks: building a large outline with redraw off, then one paint; scrolling by a page
// at two row counts (the cost must not follow the row count: only visible cells are visited).
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "gridctrl.h"

namespace {

struct Setup {
  CWnd owner;
  CGridCtrl grid;
  Setup() {
    owner.CreateEx(0, L"KvHostFrame", L"Bench", WS_POPUP | WS_VISIBLE, CRect(0, 0, 600, 400), nullptr, 0);
    grid.Create(CRect(0, 0, 600, 400), &owner, 1007);
    grid.SetColumnCount(5);
    grid.SetFixedRowCount(1);
    grid.SetFixedColumnCount(1);
    grid.SetupTreeColumn(0);
  }
  ~Setup() {
    grid.DestroyWindow();
    kvui::ResetWindowingState();
  }
};

std::vector<unsigned char> outline(int n) {
  std::vector<unsigned char> levels(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) levels[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i % 100 == 0 ? 1 : i % 10 == 1 ? 2 : 3);
  return levels;
}

void BM_InsertTreeBranchThenPaint(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  auto levels = outline(n);
  for (auto _ : state) {
    state.PauseTiming();
    auto s = std::make_unique<Setup>();
    state.ResumeTiming();
    s->grid.SetRedraw(FALSE);
    s->grid.m_TreeColumn.InsertTreeBranch(levels.data(), n, -1, FALSE);
    s->grid.SetRedraw(TRUE, TRUE);
    s->grid.UpdateWindow();
    benchmark::DoNotOptimize(s->grid.GetPaintedCellCount());
    state.PauseTiming();  // tearing down 500,000 cells is not the insertion's cost
    s.reset();
    state.ResumeTiming();
  }
  state.counters["rows"] = n;
}
BENCHMARK(BM_InsertTreeBranchThenPaint)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_PageDownPaint(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Setup s;
  s.grid.SetRedraw(FALSE);
  s.grid.SetRowCount(n + 1);
  for (int r = 1; r <= n; ++r) s.grid.GetCell(r, 1)->SetText(L"cell text");
  s.grid.SetRedraw(TRUE, TRUE);
  s.grid.UpdateWindow();
  int visited = 0;
  for (auto _ : state) {
    s.grid.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_PAGEDOWN, 0), 0);
    if (s.grid.GetTopleftNonFixedCell().row > n - 100) s.grid.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_TOP, 0), 0);
    s.grid.UpdateWindow();
    visited = s.grid.GetPaintedCellCount();
  }
  state.counters["cells_per_paint"] = visited;
  state.counters["paints_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PageDownPaint)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
