// Speed of the loads folder: table look-ups, a twelve-month glass curve call and a 20-pair room
// store, the last two through the host's call frame as LISP reaches them.
#include <benchmark/benchmark.h>

#include <array>

#include "loads/loads.h"
#include "loads/loadslisp.h"

namespace {

const std::array<std::wstring_view, 16> kNames = {L"N", L"NNE", L"NE", L"ENE", L"E", L"ESE", L"SE", L"SSE",
                                                  L"S", L"SSW", L"SW", L"WSW", L"W", L"WNW", L"NW", L"NNW"};

// Arguments spread over the whole table, prepared outside the timed loop.
struct LookupArgs {
  int latitude, number, month, hour;
  std::wstring_view orientation;
};

const std::array<LookupArgs, 4096>& lookupArgs() {
  static const auto args = [] {
    std::array<LookupArgs, 4096> a{};
    unsigned x = 12345;
    for (auto& v : a) {
      x = x * 1103515245u + 12345u;
      v = {16 + static_cast<int>(x >> 8) % 56, 1 + static_cast<int>(x >> 12) % 16, static_cast<int>(x >> 16) % 12,
           static_cast<int>(x >> 20) % 24, kNames[(x >> 24) % 16]};
    }
    return a;
  }();
  return args;
}

void BM_WallCltd(benchmark::State& state) {
  const auto& args = lookupArgs();
  std::size_t i = 0;
  for (auto _ : state) {
    const LookupArgs& a = args[i++ & 4095];
    benchmark::DoNotOptimize(wallCltd(a.latitude, a.number, a.orientation, a.month, a.hour));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WallCltd);

// One day's curve, as the LISP functions read it: 24 neighbouring hours of one row.
void BM_WallCltdDay(benchmark::State& state) {
  const auto& args = lookupArgs();
  std::size_t i = 0;
  for (auto _ : state) {
    const LookupArgs& a = args[i++ & 4095];
    for (int hour = 0; hour < 24; ++hour)
      benchmark::DoNotOptimize(wallCltd(a.latitude, a.number, a.orientation, a.month, hour));
  }
  state.SetItemsProcessed(state.iterations() * 24);
}
BENCHMARK(BM_WallCltdDay);

void BM_RoofCltd(benchmark::State& state) {
  const auto& args = lookupArgs();
  std::size_t i = 0;
  for (auto _ : state) {
    const LookupArgs& a = args[i++ & 4095];
    benchmark::DoNotOptimize(roofCltd(a.latitude, a.number, a.month, a.hour));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RoofCltd);

// One LISP call of body: the host copies the arguments into a frame, the body answers, the
// result is released.
void callBody(LispBody body, const resbuf* args) {
  kvads::CallFrame frame(kvads::copyChain(args));
  benchmark::DoNotOptimize(body());
  acutRelRb(frame.takeResult());
}

void BM_GetGlassCltdDxf12Months(benchmark::State& state) {
  ResbufPtr args(acutBuildList(RTSHORT, 40, RTSTR, L"B", RTSTR, L"SSE", RTSHORT, 0, RTSHORT, 1, RTSHORT, 2, RTSHORT, 3,
                               RTSHORT, 4, RTSHORT, 5, RTSHORT, 6, RTSHORT, 7, RTSHORT, 8, RTSHORT, 9, RTSHORT, 10,
                               RTSHORT, 11, RTNONE));
  for (auto _ : state) callBody(lispGetGlassCltdDxf, args.get());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GetGlassCltdDxf12Months);

void BM_StoreRoomData20Pairs(benchmark::State& state) {
  ResbufPtr args(acutBuildList(RTSHORT, 3, RTSHORT, 2, RTSHORT, 1, RTNONE));
  resbuf* tail = args.get();
  while (tail->rbnext) tail = tail->rbnext;
  const auto fields = roomDataFields();
  for (int i = 0; i < 20; ++i) {
    const std::wstring_view name = fields[static_cast<std::size_t>(i * 53 / 19)].name;
    tail->rbnext = acutBuildList(RTSTR, name.data(), RTREAL, 1.5 * i, RTNONE);
    tail = tail->rbnext->rbnext;
  }
  for (auto _ : state) callBody(lispStoreRoomData, args.get());
  state.SetItemsProcessed(state.iterations());
  roomDataMap().clear();
}
BENCHMARK(BM_StoreRoomData20Pairs);

}  // namespace

BENCHMARK_MAIN();
