// The file fuzzers: drawings (.dwg), DXF and project files (.kv), damaged on purpose from seed
// files made by kvhost, then read by the host's own readers inside a worker process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "runner.h"

namespace kvfuzz {

enum class FileKind { Dwg, Dxf, Project };

bool fileKindNamed(const std::string& name, FileKind& kind);
const char* extensionOf(FileKind kind);

struct FileOptions {
  FileKind kind = FileKind::Dwg;
  std::string self;        // this program, run again as the worker
  std::string kvhost;      // makes the seeds
  std::string work;
  std::uint64_t seed = 1;
  std::uint64_t firstBatch = 0;
  std::uint64_t batches = 1;
  int filesPerBatch = 100;
  bool avoidKnown = false;
  std::string saveFolder;
  Limits limits;
};

// Makes seed.dwg, seed.dxf and seed_kv_hvac.kv in `folder` through kvhost; false with a message.
bool makeSeeds(const std::string& kvhost, const std::string& folder);

// The damaged copy number `index` of a seed: bit flips, truncation, inflated counts and lengths.
std::vector<unsigned char> mutate(FileKind kind, const std::vector<unsigned char>& seed, Rng& rng,
                                  bool avoidKnown);

// Totals a worker prints and the parent adds up (drawings: what normal opening and recovery make
// of each damaged file).
struct FileTally {
  std::uint64_t files = 0, opened = 0, refused = 0, recovered = 0, recoverFailed = 0;
  std::uint64_t objectsSeed = 0, objectsKept = 0, roundTripLost = 0;
  void add(const FileTally& t);
  std::string line() const;
  static FileTally parse(const std::string& text);
};

// The worker: one batch, in-process. Exit status 0 when every file was handled.
int fileWorker(FileKind kind, const std::string& folder, std::uint64_t seed, std::uint64_t batch, int files,
               bool avoidKnown);
// The worker on one file (a regression case).
int fileReplay(FileKind kind, const std::string& path, const std::string& folder);

// Batches in worker processes under the watchdog; failing files kept. The number of failures.
int runFileFuzzer(const FileOptions& o);

}  // namespace kvfuzz
