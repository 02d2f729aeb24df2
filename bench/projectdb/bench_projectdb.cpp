// Benchmarks of the project database component against raw prepared SQLite statements on the same
// file and settings: keyed read + update and inserts on tblDuct, and index-order walks.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "../common/bench_rows.h"
#include "ProjectDatabase.h"

namespace {

// Project files go to KV_BENCH_DIR (default: the system's temporary folder), so the cost of
// syncing to a real disk can be compared with a memory file system. Each benchmark's file is
// removed when the benchmark ends.
class BenchFile {
 public:
  explicit BenchFile(const std::string& name) {
    const char* dir = std::getenv("KV_BENCH_DIR");
    std::filesystem::path folder = dir ? dir : std::filesystem::temp_directory_path().string();
    folder /= "kvprojectdb-bench";
    std::filesystem::create_directories(folder);
    path_ = (folder / (name + "_kv_hvac.kv")).string();
    Remove();
  }
  BenchFile(const BenchFile&) = delete;
  BenchFile& operator=(const BenchFile&) = delete;
  ~BenchFile() { Remove(); }
  operator const std::string&() const { return path_; }

 private:
  void Remove() {
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path_ + suffix);
  }
  std::string path_;
};

ProjectDatabasePtr createProject(const std::string& file, int ducts) { return createBenchProject(file, ducts); }

bool setTable(ProjectDatabase* db, const wchar_t* table, const wchar_t* index) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  ComCheck(db->SetTable(_bstr_t(table), _bstr_t(index), &ok));
  return ok;
}

// Raw SQLite on the same file with the component's settings (WAL, full sync, busy timeout).
struct RawDb {
  sqlite3* db = nullptr;
  explicit RawDb(const std::string& file) {
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_busy_timeout(db, 10000);
    sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;", nullptr, nullptr, nullptr);
  }
  ~RawDb() { sqlite3_close_v2(db); }
  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &s, nullptr);
    return s;
  }
};

constexpr int kRows = 10000;

// The work of a keyed edit: read the whole row by key, write one column back.
void BM_RawSeekUpdate(benchmark::State& state) {
  BenchFile file("rawseek");
  createProject(file, kRows).Reset();
  RawDb raw(file);
  sqlite3_stmt* select = raw.prepare("SELECT * FROM tblDuct WHERE ixDuct = ?1");
  sqlite3_stmt* update = raw.prepare("UPDATE tblDuct SET WIDTH = ?1 WHERE ixDuct = ?2");
  int key = 0;
  for (auto _ : state) {
    key = key % kRows + 1;
    sqlite3_bind_int(select, 1, key);
    if (sqlite3_step(select) == SQLITE_ROW)
      for (int i = 0; i < sqlite3_column_count(select); ++i) benchmark::DoNotOptimize(sqlite3_column_value(select, i));
    sqlite3_reset(select);
    sqlite3_bind_double(update, 1, 10.0 + key % 7);
    sqlite3_bind_int(update, 2, key);
    sqlite3_step(update);
    sqlite3_reset(update);
  }
  sqlite3_finalize(select);
  sqlite3_finalize(update);
}
BENCHMARK(BM_RawSeekUpdate)->Unit(benchmark::kMicrosecond);

void BM_ComponentSeekUpdate(benchmark::State& state) {
  BenchFile file("comseek");
  ProjectDatabasePtr db = createProject(file, kRows);
  int key = 0;
  for (auto _ : state) {
    key = key % kRows + 1;
    setTable(db.Get(), L"tblDuct", L"ixDuct");
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    ComCheck(db->Seek(_variant_t(key), &out, &found));
    SafeArrayPtr row(out);
    SafeArrayPtr change = oneField(L"WIDTH", _variant_t(10.0 + key % 7));
    ComCheck(db->UpdateRecord(change.get(), &out, &found));
    SafeArrayPtr stored(out);
  }
}
BENCHMARK(BM_ComponentSeekUpdate)->Unit(benchmark::kMicrosecond);

void BM_RawInsert(benchmark::State& state) {
  BenchFile file("rawinsert");
  createProject(file, 0).Reset();
  RawDb raw(file);
  sqlite3_stmt* insert = raw.prepare("INSERT INTO tblDuct (WIDTH, AIRFLOW) VALUES (?1, 'sa')");
  sqlite3_stmt* select = raw.prepare("SELECT * FROM tblDuct WHERE ixDuct = ?1");
  for (auto _ : state) {
    sqlite3_bind_double(insert, 1, 12.0);
    sqlite3_step(insert);
    sqlite3_reset(insert);
    sqlite3_bind_int64(select, 1, sqlite3_last_insert_rowid(raw.db));
    if (sqlite3_step(select) == SQLITE_ROW) benchmark::DoNotOptimize(sqlite3_column_int(select, 0));
    sqlite3_reset(select);
  }
  sqlite3_finalize(insert);
  sqlite3_finalize(select);
}
BENCHMARK(BM_RawInsert)->Unit(benchmark::kMicrosecond);

void BM_ComponentInsert(benchmark::State& state) {
  BenchFile file("cominsert");
  ProjectDatabasePtr db = createProject(file, 0);
  for (auto _ : state) {
    setTable(db.Get(), L"tblDuct", L"ixDuct");
    SafeArrayPtr fields = oneField(L"WIDTH", _variant_t(12.0));
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL ok = VARIANT_FALSE;
    ComCheck(db->AddRecord(fields.get(), 0, &out, &ok));
    SafeArrayPtr stored(out);
  }
}
BENCHMARK(BM_ComponentInsert)->Unit(benchmark::kMicrosecond);

// A whole walk in the order of an index: the primary key, or the secondary "distance1".
void BM_ComponentScan(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  const wchar_t* index = state.range(1) ? L"distance1" : L"ixDuct";
  BenchFile file("scan" + std::to_string(rows));
  ProjectDatabasePtr db = createProject(file, rows);
  for (auto _ : state) {
    setTable(db.Get(), L"tblDuct", index);
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    int seen = 0;
    for (ComCheck(db->MoveFirst(&out, &found)); found; ComCheck(db->MoveNext(1, &out, &found))) {
      SafeArrayDestroy(out);
      setTable(db.Get(), L"tblDuct", L"");
      ++seen;
    }
    if (seen != rows) state.SkipWithError("walk lost rows");
  }
  state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(BM_ComponentScan)->Args({10000, 0})->Args({100000, 0})->Args({10000, 1})->Args({100000, 1})
    ->Unit(benchmark::kMillisecond);

void BM_RawScan(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  BenchFile file("rawscan" + std::to_string(rows));
  createProject(file, rows).Reset();
  RawDb raw(file);
  sqlite3_stmt* scan = raw.prepare("SELECT rowid, * FROM tblDuct ORDER BY DISTANCE1, rowid");
  for (auto _ : state) {
    while (sqlite3_step(scan) == SQLITE_ROW)
      for (int i = 0; i < sqlite3_column_count(scan); ++i) benchmark::DoNotOptimize(sqlite3_column_value(scan, i));
    sqlite3_reset(scan);
  }
  sqlite3_finalize(scan);
  state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(BM_RawScan)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
