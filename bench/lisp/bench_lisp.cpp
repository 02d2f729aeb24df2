// The interpreter's costs: a call of a plain LISP function against a call through the bridge
// (acedDefun/acedRegFunc) of the same arity, and reader throughput.
#include <benchmark/benchmark.h>

#include <string>

#include "lisp.h"

namespace {

constexpr int kCallsPerLoop = 1000;

// A bridge entry of arity 1 that reads its argument and answers nil, as the smallest module body.
int readAndAnswerNil() {
  resbuf* args = acedGetArgs();
  bool ok = args && args->restype == RTSHORT;
  acutRelRb(args);
  acedRetNil();
  return ok ? RSRSLT : RSERR;
}

// An environment with both functions and a console that discards output.
struct Fixture {
  Fixture() {
    kvads::setCurrentSession(&env);
    env.evalString("(defun plain-one (x) nil)");
    acedDefun(L"bridge-one", 7001);
    acedRegFunc(readAndAnswerNil, 7001);
  }
  ~Fixture() { kvads::setCurrentSession(nullptr); }
  kvlisp::Environment env;
};

void runLoop(benchmark::State& state, const char* source) {
  Fixture f;
  kvlisp::Value form = kvlisp::readOne(source);
  for (auto _ : state) benchmark::DoNotOptimize(f.env.eval(form));
  state.SetItemsProcessed(state.iterations() * kCallsPerLoop);
}

void BM_EmptyLoop(benchmark::State& state) { runLoop(state, "(repeat 1000 (setq x 1))"); }
void BM_PlainLispCall(benchmark::State& state) { runLoop(state, "(repeat 1000 (plain-one 1))"); }
void BM_BridgeCall(benchmark::State& state) { runLoop(state, "(repeat 1000 (bridge-one 1))"); }
void BM_BridgeCallPointArg(benchmark::State& state) {
  runLoop(state, "(progn (defun point-one (p) (bridge-one 1)) (repeat 1000 (point-one '(1.0 2.0 3.0))))");
}

// A source of duct-like records: definitions, nested lists, strings, reals, comments.
std::string bigSource(std::size_t bytes) {
  std::string chunk =
      "(defun duct-row (ix / w d) ; a row\n"
      "  (setq w 12.5 d 8)\n"
      "  (list (cons \"ixDuct\" ix) (cons \"WIDTH\" w) '(\"DEPTH\" . 8) (list 0.0 10.5 -3.25)\n"
      "        \"Supply \\\"main\\\" run\" 'kv_hvac-setDuctInfo))\n";
  std::string s;
  while (s.size() < bytes) s += chunk;
  return s;
}

void BM_ReaderThroughput(benchmark::State& state) {
  std::string source = bigSource(1 << 20);
  for (auto _ : state) benchmark::DoNotOptimize(kvlisp::readAll(source));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(source.size()));
}

void BM_PrintThroughput(benchmark::State& state) {
  std::vector<kvlisp::Value> forms = kvlisp::readAll(bigSource(1 << 20));
  std::int64_t bytes = 0;
  for (auto _ : state)
    for (const auto& v : forms) {
      std::string s = v.print(true);
      bytes += static_cast<std::int64_t>(s.size());
    }
  state.SetBytesProcessed(bytes);
}

// A walk over a text one character at a time with substr, as the application's parsers do; the
// argument is the text's length in characters (ASCII, or with every fourth character "Ø").
// Linear string builtins give the same cost per character at both lengths.
void substrWalk(benchmark::State& state, const char* unit) {
  Fixture f;
  std::string text;
  while (static_cast<std::int64_t>(kvads::toWide(text).size()) < state.range(0)) text += unit;
  f.env.set("text", kvlisp::Value::string(text));
  kvlisp::Value form = kvlisp::readOne("(progn (setq i 1 n (strlen text)) (while (<= i n) (substr text i 1) (setq i (1+ i))))");
  for (auto _ : state) benchmark::DoNotOptimize(f.env.eval(form));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
void BM_SubstrWalkAscii(benchmark::State& state) { substrWalk(state, "abcd"); }
void BM_SubstrWalkUtf8(benchmark::State& state) { substrWalk(state, "abc\xC3\x98"); }

BENCHMARK(BM_EmptyLoop);
BENCHMARK(BM_PlainLispCall);
BENCHMARK(BM_BridgeCall);
BENCHMARK(BM_BridgeCallPointArg);
BENCHMARK(BM_ReaderThroughput);
BENCHMARK(BM_PrintThroughput);
BENCHMARK(BM_SubstrWalkAscii)->Arg(4096)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SubstrWalkUtf8)->Arg(4096)->Arg(65536)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
