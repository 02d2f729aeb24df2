// kvfuzz: the project's fuzzers. `kvfuzz lisp|dwg|dxf|kv KVHOST WORK [options]` runs batches;
// `kvfuzz replay KVHOST WORK CASE [--expect-fail]` replays one kept input (ctest does).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "filefuzz.h"
#include "lispfuzz.h"

namespace fs = std::filesystem;
using namespace kvfuzz;

namespace {

const char kUsage[] =
    "usage: kvfuzz lisp KVHOST WORK [--seed S] [--first B] [--batches N] [--calls M] [--rules FILE]...\n"
    "                               [--avoid-known] [--save DIR] [--seconds T]\n"
    "       kvfuzz dwg|dxf|kv KVHOST WORK [--seed S] [--first B] [--batches N] [--files M] [--avoid-known]\n"
    "                               [--save DIR] [--seconds T]\n"
    "       kvfuzz replay KVHOST WORK CASE [--expect-fail]\n"
    "A batch is reproduced exactly by its seed and number (--seed S --first B --batches 1).\n";

[[noreturn]] void usage() {
  std::fputs(kUsage, stderr);
  std::exit(2);
}

std::string self() {
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  return n > 0 ? std::string(buf, static_cast<std::size_t>(n)) : "kvfuzz";
}

struct Common {
  std::uint64_t seed = 1, first = 0, batches = 1;
  int perBatch = 0;
  bool avoidKnown = false, expectFail = false;
  std::string save;
  std::vector<std::string> rules;
  int seconds = 30;
};

Common options(int argc, char** argv, int from) {
  Common c;
  for (int i = from; i < argc; ++i) {
    std::string a = argv[i];
    auto next = [&]() -> std::string {
      if (i + 1 >= argc) usage();
      return argv[++i];
    };
    if (a == "--seed") c.seed = std::stoull(next());
    else if (a == "--first") c.first = std::stoull(next());
    else if (a == "--batches") c.batches = std::stoull(next());
    else if (a == "--calls" || a == "--files") c.perBatch = std::stoi(next());
    else if (a == "--rules") c.rules.push_back(next());
    else if (a == "--save") c.save = fs::absolute(next()).string();
    else if (a == "--seconds") c.seconds = std::stoi(next());
    else if (a == "--avoid-known") c.avoidKnown = true;
    else if (a == "--expect-fail") c.expectFail = true;
    else usage();
  }
  return c;
}

// A kept input: clean (or, for a known fault, still failing) gives 0.
int replay(const std::string& kvhost, const std::string& work, const std::string& kase, bool expectFail) {
  std::string name = fs::path(kase).stem().string();
  std::string folder = fs::absolute(work).string() + "/replay-" + name;
  Limits limits;
  Outcome out;
  if (fs::path(kase).extension() == ".lsp") {
    LispOptions o;
    o.kvhost = kvhost;
    out = runScript(o, readText(kase), folder);
  } else {
    FileKind kind;
    if (!fileKindNamed(fs::path(kase).extension().string().substr(1), kind)) usage();
    fs::remove_all(folder);
    fs::create_directories(folder);
    out = runChild({self(), "file-replay", extensionOf(kind), fs::absolute(kase).string()}, folder, limits);
  }
  if (!expectFail) {
    if (out.verdict == Verdict::Ok) return 0;
    std::printf("kvfuzz: %s fails: %s: %s (output in %s)\n", kase.c_str(), verdictName(out.verdict), out.detail.c_str(),
                folder.c_str());
    return 1;
  }
  if (out.verdict != Verdict::Ok) {
    std::printf("kvfuzz: %s still fails as known: %s: %s\n", kase.c_str(), verdictName(out.verdict), out.detail.c_str());
    return 0;
  }
  std::printf("kvfuzz: %s passes now: take it off the known faults in tests/fuzz/known-faults.txt\n", kase.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  // Run by hand in a sanitized build, the children still leave out the libraries' own
  // life-long allocations, as `make test` does.
  setenv("LSAN_OPTIONS", "suppressions=" KV_SOURCE_DIR "/tests/lsan.supp", 0);
  if (argc < 2) usage();
  std::string mode = argv[1];
  try {
    FileKind kind;
    if (mode == "file-worker" && argc == 7 && fileKindNamed(argv[2], kind))
      return fileWorker(kind, fs::current_path().string(), std::stoull(argv[3]), std::stoull(argv[4]),
                        std::stoi(argv[5]), std::string(argv[6]) == "avoid-known");
    if (mode == "file-replay" && argc == 4 && fileKindNamed(argv[2], kind))
      return fileReplay(kind, argv[3], fs::current_path().string());
    if (argc < 4) usage();
    std::string kvhost = fs::absolute(argv[2]).string(), work = fs::absolute(argv[3]).string();
    fs::create_directories(work);
    if (mode == "replay") {
      if (argc < 5) usage();
      Common c = options(argc, argv, 5);
      return replay(kvhost, work, argv[4], c.expectFail);
    }
    Common c = options(argc, argv, 4);
    Limits limits;
    limits.seconds = c.seconds;
    if (mode == "lisp") {
      LispOptions o;
      o.kvhost = kvhost, o.work = work, o.seed = c.seed, o.firstBatch = c.first, o.batches = c.batches;
      o.callsPerBatch = c.perBatch > 0 ? c.perBatch : 200;
      o.avoidKnown = c.avoidKnown, o.saveFolder = c.save, o.limits = limits;
      LispRules rules;
      for (const std::string& f : c.rules) readLispRules(f, rules);
      return runLispFuzzer(o, rules) == 0 ? 0 : 1;
    }
    if (!fileKindNamed(mode, kind)) usage();
    FileOptions o;
    o.kind = kind, o.self = self(), o.kvhost = kvhost, o.work = work, o.seed = c.seed, o.firstBatch = c.first;
    o.batches = c.batches, o.filesPerBatch = c.perBatch > 0 ? c.perBatch : 100, o.avoidKnown = c.avoidKnown;
    o.saveFolder = c.save, o.limits = limits;
    return runFileFuzzer(o) == 0 ? 0 : 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "kvfuzz: %s\n", e.what());
    return 2;
  }
}
