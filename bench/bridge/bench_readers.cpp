// Throughput of the argument readers over long argument lists.
#include <benchmark/benchmark.h>

#include "bridge/bridge.h"

namespace {

// A chain of n items built by `add` (which appends one item's cells behind tail).
template <class Add>
ResbufPtr Chain(int n, Add add) {
  ResbufPtr head(acutBuildList(RTNIL, 0));
  resbuf* tail = head.get();
  for (int i = 0; i < n; ++i) add(tail, i);
  return head;
}

void BM_ArgPoint3d_Cells(benchmark::State& state) {
  ResbufPtr args = Chain(static_cast<int>(state.range(0)), [](resbuf*& tail, int i) {
    ads_point p = {double(i), 2.0 * i, 0.5};
    AppendCells(tail, acutBuildList(RT3DPOINT, p, 0));
  });
  for (auto _ : state) {
    ArgCursor cursor(args->rbnext);
    ads_point p;
    double sum = 0;
    while (ArgPoint3d(cursor, p)) sum += p[0];
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArgPoint3d_Cells)->Arg(1000)->Arg(100000);

void BM_ArgPoint3d_Numbers(benchmark::State& state) {
  ResbufPtr args = Chain(static_cast<int>(state.range(0)), [](resbuf*& tail, int i) {
    AppendCells(tail, acutBuildList(RTREAL, double(i), RTSHORT, 2, RTLONG, std::int32_t{3}, RTSTR, L"x", 0));
  });
  for (auto _ : state) {
    ArgCursor cursor(args->rbnext);
    ads_point p;
    double sum = 0;
    while (ArgPoint3d(cursor, p)) {
      sum += p[2];
      ArgSkip(cursor);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArgPoint3d_Numbers)->Arg(1000)->Arg(100000);

void BM_ArgPair(benchmark::State& state) {
  ResbufPtr args = Chain(static_cast<int>(state.range(0)), [](resbuf*& tail, int i) {
    AppendCells(tail, acutBuildList(RTLB, RTSTR, L"room key", RTSHORT, i % 30000, RTDOTE, 0));
  });
  for (auto _ : state) {
    ArgCursor cursor(args->rbnext);
    std::wstring text;
    std::int32_t n = 0;
    std::int64_t sum = 0;
    while (ArgPair(cursor, text, n)) sum += n;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArgPair)->Arg(1000)->Arg(100000);

}  // namespace

BENCHMARK_MAIN();
