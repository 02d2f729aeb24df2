// The two back ends of the project database side by side, through the component's interface:
// Seek + UpdateRecord (a record's FindByKey and Update) and AddRecord on tblDuct, and eight
// processes adding rows into one project at once. The server is a throw-away one started here,
// with its durable settings (every commit synced), as the file's commits are.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "../common/bench_rows.h"
#include "ProjectDatabase.h"

namespace {

namespace fs = std::filesystem;

fs::path workFolder() {
  const char* dir = std::getenv("KV_BENCH_DIR");
  return fs::path(dir ? dir : fs::temp_directory_path().string()) / ("kvpgsql-bench-" + std::to_string(getpid()));
}

// A project of `ducts` rows in a new folder: a file (server false) or a link to the server.
std::string newProject(bool server, const std::string& name, int ducts) {
  fs::path folder = workFolder() / name;
  fs::remove_all(folder);
  fs::create_directories(folder);
  std::string path = (folder / (server ? "office_kv_hvac.kvlink" : "office_kv_hvac.kv")).string();
  createBenchProject(path, ducts);
  return path;
}

ProjectDatabasePtr open(const std::string& path) {
  ProjectDatabasePtr db;
  _bstr_t opened;
  ComCheck(CreateProjectDatabase(db));
  ComCheck(db->Open(_bstr_t(Utf8ToWide(path)), 0, 0, opened.GetAddress()));
  if (opened.length() == 0) throw std::runtime_error("cannot open " + path);
  return db;
}

void setTable(ProjectDatabase* db) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  ComCheck(db->SetTable(_bstr_t(L"tblDuct"), _bstr_t(L"ixDuct"), &ok));
}

constexpr int kRows = 10000;

// Argument 0: the file, 1: the server.
void BM_FindByKeyUpdate(benchmark::State& state) {
  bool server = state.range(0) == 1;
  ProjectDatabasePtr db = open(newProject(server, "seek", kRows));
  int key = 0;
  for (auto _ : state) {
    key = key % kRows + 1;
    setTable(db.Get());
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    ComCheck(db->Seek(_variant_t(key), &out, &found));
    SafeArrayPtr row(out);
    if (!found) state.SkipWithError("row not found");
    SafeArrayPtr change = oneField(L"WIDTH", _variant_t(10.0 + key % 7));
    ComCheck(db->UpdateRecord(change.get(), &out, &found));
    SafeArrayPtr stored(out);
  }
  state.SetLabel(server ? "server" : "file");
}
BENCHMARK(BM_FindByKeyUpdate)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_Insert(benchmark::State& state) {
  bool server = state.range(0) == 1;
  ProjectDatabasePtr db = open(newProject(server, "insert", 0));
  setTable(db.Get());
  SafeArrayPtr fields = oneField(L"WIDTH", _variant_t(12.0));
  for (auto _ : state) {
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL ok = VARIANT_FALSE;
    ComCheck(db->AddRecord(fields.get(), 0, &out, &ok));
    SafeArrayPtr stored(out);
  }
  state.SetLabel(server ? "server" : "file");
}
BENCHMARK(BM_Insert)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();

// Eight processes each adding 500 rows into one project; the time is the wall time until the last
// one is done, the counters the rows per second of all and of each writer.
void BM_EightWriters(benchmark::State& state) {
  bool server = state.range(0) == 1;
  constexpr int kWriters = 8, kEach = 500;
  std::string path = newProject(server, "writers", 0);
  double seconds = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    std::vector<pid_t> pids;
    for (int w = 0; w < kWriters; ++w) {
      pid_t pid = fork();
      if (pid == 0) {
        ProjectDatabasePtr db = open(path);
        setTable(db.Get());
        for (int i = 0; i < kEach; ++i) {
          SafeArrayPtr fields = oneField(L"DISTANCE1", _variant_t(w * 100000 + i));
          SAFEARRAY* out = nullptr;
          VARIANT_BOOL ok = VARIANT_FALSE;
          if (FAILED(db->AddRecord(fields.get(), 0, &out, &ok)) || !ok) _exit(1);
          SafeArrayPtr stored(out);
        }
        db.Reset();
        _exit(0);
      }
      pids.push_back(pid);
    }
    for (pid_t pid : pids) {
      int status = 0;
      waitpid(pid, &status, 0);
      if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) state.SkipWithError("a writer failed");
    }
    double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(took);
    seconds += took;
  }
  double rows = static_cast<double>(state.iterations()) * kWriters * kEach;
  state.counters["rows_per_s"] = rows / seconds;
  state.counters["per_writer_rows_per_s"] = rows / seconds / kWriters;
  state.SetLabel(server ? "server" : "file");
}
BENCHMARK(BM_EightWriters)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

}  // namespace

// A durable throw-away server for the run, stopped at the end whatever happened.
int main(int argc, char** argv) {
  fs::path serverDir = workFolder() / "server";
  fs::create_directories(workFolder());
  // The server's data lives where the project files do, so both engines sync to one file system.
  std::string start = "KV_PG_FSYNC=on KV_PG_TMP='" + workFolder().string() + "' " + KV_PG_TEST_SERVER + " start " +
                      serverDir.string();
  FILE* pipe = popen(start.c_str(), "r");
  char conninfo[512] = {};
  if (!pipe || !std::fgets(conninfo, sizeof conninfo, pipe) || pclose(pipe) != 0) {
    std::fprintf(stderr, "bench_pgsql: cannot start a server\n");
    return 1;
  }
  std::string server(conninfo);
  while (!server.empty() && server.back() == '\n') server.pop_back();
  setenv("KV_PROJECTDB_SERVER", server.c_str(), 1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::string stop = std::string(KV_PG_TEST_SERVER) + " stop " + serverDir.string() + " >/dev/null";
  int stopped = std::system(stop.c_str());
  fs::remove_all(workFolder());
  return stopped == 0 ? 0 : 1;
}
