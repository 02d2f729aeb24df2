// Cost of the record pattern over the project database component against the same work done with
// raw prepared SQLite statements on the same file, and the per-row cost of a full table scan.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tables.h"

namespace {

namespace fs = std::filesystem;

// A project file in a temporary folder, with `ducts` rows in tblDuct (inserted in one raw
// transaction: filling is not what is measured).
class BenchProject {
 public:
  explicit BenchProject(int ducts) {
    folder_ = fs::temp_directory_path() / ("kvdb-bench-" + std::to_string(::getpid()) + "-" + std::to_string(ducts));
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    file_ = (folder_ / "bench_kv_hvac.kv").string();
    ProjectDatabasePtr db;
    VARIANT_BOOL ok = VARIANT_FALSE;
    _bstr_t path(Utf8ToWide(file_));
    if (FAILED(CreateProjectDatabase(db)) || FAILED(db->CreateProject(path, &ok)) || ok != VARIANT_TRUE)
      throw std::runtime_error("cannot create the project file");
    VARIANT_BOOL done;
    db->Close(&done);
    Fill(ducts);
  }
  ~BenchProject() {
    std::error_code ec;
    fs::remove_all(folder_, ec);
  }
  const std::string& file() const { return file_; }

  // A connection of the component, open on the file.
  ProjectDatabasePtr Connect() const {
    ProjectDatabasePtr db;
    _bstr_t path(Utf8ToWide(file_)), text;
    if (FAILED(CreateProjectDatabase(db)) || FAILED(db->Open(path, 0, 0, text.GetAddress())) || text.length() == 0)
      throw std::runtime_error("cannot open the project file");
    return db;
  }

 private:
  void Fill(int ducts) {
    sqlite3* raw = nullptr;
    sqlite3_open(file_.c_str(), &raw);
    sqlite3_exec(raw, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(raw,
                       "INSERT INTO tblDuct (WIDTH, DEPTH, AIRFLOW, SHAPE, DISTANCE1, DISTANCE2, DRAWING, X1, Y1, X2, Y2) "
                       "VALUES (12, 8, 'sa', 'RC', ?1, ?1 + 1, 'a.dwg', ?1, 0, ?1 + 10, 0)",
                       -1, &insert, nullptr);
    for (int i = 0; i < ducts; ++i) {
      sqlite3_bind_int(insert, 1, i * 3);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(raw, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(raw);
  }

  fs::path folder_;
  std::string file_;
};

// Raw SQLite on the file with the component's settings (WAL, full sync: every write durable).
class RawConnection {
 public:
  explicit RawConnection(const std::string& file) {
    sqlite3_open(file.c_str(), &db_);
    sqlite3_exec(db_, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;", nullptr, nullptr, nullptr);
  }
  ~RawConnection() { sqlite3_close(db_); }
  sqlite3_stmt* Prepare(const char* sql) {
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db_, sql, -1, &s, nullptr) != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db_));
    return s;
  }
  sqlite3* get() const { return db_; }

 private:
  sqlite3* db_ = nullptr;
};

// Reads every column of the current result row, as a record load does.
double ConsumeRow(sqlite3_stmt* s) {
  double sum = 0;
  for (int c = 0, n = sqlite3_column_count(s); c < n; ++c) {
    if (sqlite3_column_type(s, c) == SQLITE_TEXT) {
      sum += static_cast<double>(sqlite3_column_bytes(s, c));
    } else {
      sum += sqlite3_column_double(s, c);
    }
  }
  return sum;
}

constexpr int kEditRows = 1000;

void BM_RecordEdit(benchmark::State& state) {
  BenchProject project(kEditRows);
  ProjectDatabasePtr db = project.Connect();
  tblDuct duct(db.Get());
  int i = 0;
  for (auto _ : state) {
    const int key = 1 + (i++ % kEditRows);
    if (!duct.FindByKey(key)) state.SkipWithError("row not found");
    duct.StartEdit();
    duct.SetWIDTH(10.0 + i % 7);
    duct.Update();
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_RawEdit(benchmark::State& state) {
  BenchProject project(kEditRows);
  RawConnection raw(project.file());
  sqlite3_stmt* select = raw.Prepare("SELECT * FROM tblDuct WHERE ixDuct = ?1");
  sqlite3_stmt* update = raw.Prepare("UPDATE tblDuct SET WIDTH = ?1 WHERE ixDuct = ?2");
  int i = 0;
  for (auto _ : state) {
    const int key = 1 + (i++ % kEditRows);
    sqlite3_bind_int(select, 1, key);
    if (sqlite3_step(select) != SQLITE_ROW) state.SkipWithError("row not found");
    benchmark::DoNotOptimize(ConsumeRow(select));
    sqlite3_reset(select);
    sqlite3_bind_double(update, 1, 10.0 + i % 7);
    sqlite3_bind_int(update, 2, key);
    sqlite3_step(update);
    sqlite3_reset(update);
  }
  sqlite3_finalize(select);
  sqlite3_finalize(update);
  state.SetItemsProcessed(state.iterations());
}

void BM_RecordInsert(benchmark::State& state) {
  BenchProject project(0);
  ProjectDatabasePtr db = project.Connect();
  tblDuct duct(db.Get());
  for (auto _ : state) {
    duct.StartNew();
    duct.SetixLayerSystem(1);
    duct.SetDRAWING(L"a.dwg");
    duct.SetiAlignmentPointNumber1(0);
    duct.Update();
    benchmark::DoNotOptimize(duct.GetixDuct());
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_RawInsert(benchmark::State& state) {
  BenchProject project(0);
  RawConnection raw(project.file());
  sqlite3_stmt* insert =
      raw.Prepare("INSERT INTO tblDuct (ixLayerSystem, DRAWING, iAlignmentPointNumber1) VALUES (?1, ?2, ?3)");
  for (auto _ : state) {
    sqlite3_bind_int(insert, 1, 1);
    sqlite3_bind_text(insert, 2, "a.dwg", -1, SQLITE_STATIC);
    sqlite3_bind_int(insert, 3, 0);
    sqlite3_step(insert);
    sqlite3_reset(insert);
    benchmark::DoNotOptimize(sqlite3_last_insert_rowid(raw.get()));
  }
  sqlite3_finalize(insert);
  state.SetItemsProcessed(state.iterations());
}

// A full scan in index order; items/s is rows per second, and should not fall as rows grow.
void BM_RecordScan(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  BenchProject project(rows);
  ProjectDatabasePtr db = project.Connect();
  tblDuct duct(db.Get());
  for (auto _ : state) {
    int seen = 0;
    duct.SetSortIndex(L"distance1");
    for (bool ok = duct.First(); ok && !duct.AtEnd(); ok = duct.Next()) ++seen;
    if (seen != rows) state.SkipWithError("scan missed rows");
  }
  state.SetItemsProcessed(state.iterations() * rows);
}

void BM_RawScan(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  BenchProject project(rows);
  RawConnection raw(project.file());
  sqlite3_stmt* scan = raw.Prepare("SELECT * FROM tblDuct ORDER BY DISTANCE1");
  for (auto _ : state) {
    int seen = 0;
    while (sqlite3_step(scan) == SQLITE_ROW) {
      benchmark::DoNotOptimize(ConsumeRow(scan));
      ++seen;
    }
    sqlite3_reset(scan);
    if (seen != rows) state.SkipWithError("scan missed rows");
  }
  sqlite3_finalize(scan);
  state.SetItemsProcessed(state.iterations() * rows);
}

BENCHMARK(BM_RecordEdit)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawEdit)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RecordInsert)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawInsert)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RecordScan)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawScan)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
