// The LISP-call fuzzer: batches of calls of every function a document offers, with arguments
// of the kinds that break argument handling, run in kvhost under the watchdog.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "runner.h"

namespace kvfuzz {

// How a function is called on purpose rather than by chance (tests/fuzz/lisp-rules.txt), and
// which calls the CI budget leaves out while their faults are known (tests/fuzz/known-faults.txt).
struct LispRules {
  std::set<std::string> noArgs;        // called without arguments only
  std::set<std::string> plainSymbols;  // never handed the name of a function
  std::set<std::string> skipped;       // never called
  // "avoid FUNCTION KIND": a function (a trailing * matches a prefix, * alone any) and an
  // argument kind (* any) the generator leaves out when asked to.
  std::vector<std::pair<std::string, std::string>> avoid;
  bool avoided(const std::string& function, const std::string& kind) const;
};

// Reads a rules file: "name rule why..." lines, # comments. Unknown rules are an error.
void readLispRules(const std::string& path, LispRules& rules);

struct LispOptions {
  std::string kvhost;            // the program
  std::string work;              // a folder for the batches
  std::uint64_t seed = 1;
  std::uint64_t firstBatch = 0;
  std::uint64_t batches = 1;
  int callsPerBatch = 200;
  bool avoidKnown = false;       // leave out the known faults' calls
  std::string saveFolder;        // where failing inputs are kept; empty: not kept
  Limits limits;
};

// A function of a document and the argument counts it takes without an arity error.
struct LispFunction {
  std::string name;  // lower case
  std::vector<int> counts;
  std::vector<std::string> params;  // the words of a host function's signature, when it has one
};

// The functions of a fresh document (the host's subroutines and the module's), by asking
// kvhost itself, so the list never falls behind the registries.
std::vector<LispFunction> listFunctions(const LispOptions& o, const LispRules& rules);

// The script of one batch: prelude, calls, end marker. Same seed and batch, same text.
std::string batchScript(const LispOptions& o, const LispRules& rules, const std::vector<LispFunction>& functions,
                        std::uint64_t batch);

// Runs a script in a fresh folder under kvhost. Clean when kvhost ends with 0, printed the end
// marker and no sanitizer spoke.
Outcome runScript(const LispOptions& o, const std::string& script, const std::string& folder);

// Runs the batches; prints one line per failing batch (seed, batch, verdict) and the totals.
// The number of failing batches.
int runLispFuzzer(const LispOptions& o, const LispRules& rules);

}  // namespace kvfuzz
