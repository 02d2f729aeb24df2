// Running one fuzz batch in a child process: a watchdog on time and memory, and the verdict read
// from the exit status and the sanitizers' reports, so a batch that crashes or hangs is told
// apart from one whose calls merely failed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvfuzz {

struct Limits {
  int seconds = 30;                 // per batch; past it the batch is a hang
  std::uint64_t megabytes = 3072;   // resident memory; past it the batch runs away
};

enum class Verdict { Ok, Crash, Hang, Memory, Sanitizer, Status };

struct Outcome {
  Verdict verdict = Verdict::Ok;
  int status = 0;         // exit status, or the signal for a crash
  std::string detail;     // first line of a sanitizer report, or what went wrong
  double seconds = 0;
};

const char* verdictName(Verdict v);

// Runs argv in `folder` with stdin from /dev/null and stdout/stderr to files there
// (out.txt, err.txt). The child gets its own process group, killed whole at the limit.
// `expectStatus` is the exit status that counts as a clean run.
Outcome runChild(const std::vector<std::string>& argv, const std::string& folder, const Limits& limits,
                 int expectStatus = 0);

// The first line of a sanitizer's report in a text, empty when there is none.
std::string sanitizerLine(const std::string& text);

std::string readText(const std::string& path);
void writeText(const std::string& path, const std::string& text);

// A small deterministic generator: the same seed and batch give the same stream on every
// machine, which the standard distributions do not promise.
class Rng {
 public:
  Rng(std::uint64_t seed, std::uint64_t batch) : s_(seed * 0x9E3779B97F4A7C15ull ^ (batch + 0x632BE59BD9B4E019ull)) {
    next();
  }
  std::uint64_t next() {
    std::uint64_t z = (s_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // Uniform in [0, n); n > 0.
  std::uint64_t below(std::uint64_t n) { return next() % n; }
  bool chance(int percent) { return below(100) < static_cast<std::uint64_t>(percent); }
  double unit() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }

 private:
  std::uint64_t s_;
};

}  // namespace kvfuzz
