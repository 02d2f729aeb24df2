// Project files as a whole: creating a new one with the full schema and starting rows, and
// rebuilding a damaged one from the rows that can still be read.
#include <unistd.h>

#include <cstdio>
#include <algorithm>
#include <limits>
#include <optional>

#include "impl.h"
#include "schema.h"

namespace kvprojectdb {

namespace {

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

void removeFile(const std::string& path) { std::remove(path.c_str()); }

void removeWithCompanions(const std::string& path) {
  removeFile(path);
  removeFile(path + "-wal");
  removeFile(path + "-shm");
}

std::string folderOf(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool exec(sqlite3* db, const std::string& sql, std::string* error) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return true;
  *error = std::string(message ? message : "unknown error") + " in: " + sql;
  sqlite3_free(message);
  return false;
}

DbHandle openFile(const std::string& path, int flags, std::string* error) {
  sqlite3* raw = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &raw, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  DbHandle db(raw);
  if (rc != SQLITE_OK) {
    *error = "Cannot open '" + path + "': " + (raw ? sqlite3_errmsg(raw) : sqlite3_errstr(rc));
    return nullptr;
  }
  return db;
}

// Writes the schema (and, when asked, the starting rows) into a new file at path.
bool buildFile(const std::string& path, bool startingRows, std::string* error) {
  DbHandle db = openFile(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, error);
  if (!db || ConfigureConnection(db.get(), false) != SQLITE_OK) {
    if (db) *error = sqlite3_errmsg(db.get());
    return false;
  }
  if (!exec(db.get(), "BEGIN IMMEDIATE", error)) return false;
  for (const std::string& sql : schemaStatements())
    if (!exec(db.get(), sql, error)) return false;
  if (startingRows)
    for (const std::string& sql : startingRowStatements())
      if (!exec(db.get(), sql, error)) return false;
  return exec(db.get(), "COMMIT", error);
}

// The columns of a table that the damaged file still declares, in the new schema's order; all
// of them when the damaged file's description of the table cannot be read.
std::vector<std::string> salvageColumns(sqlite3* from, const TableDef& table) {
  std::vector<std::string> present;
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(from, "SELECT name FROM pragma_table_info(?1)", -1, &raw, nullptr) == SQLITE_OK) {
    StmtHandle s(raw);
    sqlite3_bind_text(raw, 1, table.name.c_str(), -1, SQLITE_TRANSIENT);
    while (sqlite3_step(raw) == SQLITE_ROW) present.push_back(LowerAscii(reinterpret_cast<const char*>(sqlite3_column_text(raw, 0))));
  }
  std::vector<std::string> columns;
  for (const ColumnDef& c : table.columns)
    if (present.empty() || std::find(present.begin(), present.end(), LowerAscii(c.name)) != present.end())
      columns.push_back(c.name);
  return columns;
}

// Copies the readable rows of one table from a damaged file into the new one. A scan that runs into
// a damaged page resumes at the first rowid beyond it that can be read again.
class TableSalvage {
 public:
  TableSalvage(sqlite3* from, sqlite3* to, const TableDef& table) : from_(from), to_(to), table_(table) {}

  long Run() {
    if (!Prepare()) return 0;
    std::int64_t start = std::numeric_limits<std::int64_t>::min();
    std::int64_t last = 0;
    while (!CopyFrom(start, last)) {
      std::optional<std::int64_t> next = NextReadable(last);
      if (!next) break;
      start = *next;
    }
    return saved_;
  }

 private:
  bool Prepare() {
    std::vector<std::string> columns = salvageColumns(from_, table_);
    if (columns.empty()) return false;
    std::string list, marks;
    for (const std::string& c : columns) {
      list += (list.empty() ? "\"" : ", \"") + c + "\"";
      marks += marks.empty() ? "?" : ", ?";
    }
    std::string write = "INSERT OR IGNORE INTO \"" + table_.name + "\" (" + list + ") VALUES (" + marks + ")";
    std::string read = "SELECT " + list + " FROM \"" + table_.name + "\" WHERE rowid >= ?1 ORDER BY rowid";
    sqlite3_stmt* w = nullptr;
    sqlite3_stmt* r = nullptr;
    int rcWrite = sqlite3_prepare_v2(to_, write.c_str(), -1, &w, nullptr);
    int rcRead = sqlite3_prepare_v2(from_, read.c_str(), -1, &r, nullptr);
    insert_.reset(w);
    read_.reset(r);
    return rcWrite == SQLITE_OK && rcRead == SQLITE_OK;
  }

  // Copies the rows from rowid start on; true at the end of the table, false at a damaged page,
  // with last the last rowid read (unchanged when none was).
  bool CopyFrom(std::int64_t start, std::int64_t& last) {
    StmtScope scope(read_.get());
    sqlite3_bind_int64(read_.get(), 1, start);
    int rc;
    while ((rc = sqlite3_step(read_.get())) == SQLITE_ROW) {
      last = sqlite3_column_int64(read_.get(), 0);
      StmtScope insertScope(insert_.get());
      for (int i = 0; i < sqlite3_column_count(read_.get()); ++i)
        sqlite3_bind_value(insert_.get(), i + 1, sqlite3_column_value(read_.get(), i));
      if (sqlite3_step(insert_.get()) == SQLITE_DONE && sqlite3_changes(to_) > 0) ++saved_;
    }
    return rc == SQLITE_DONE;
  }

  bool Readable(std::int64_t start) {
    StmtScope scope(read_.get());
    sqlite3_bind_int64(read_.get(), 1, start);
    int rc = sqlite3_step(read_.get());
    return rc == SQLITE_ROW || rc == SQLITE_DONE;
  }

  // The smallest rowid above last from which a read works again: jumps double until one works,
  // then a bisection finds where the damaged stretch ends. None when nothing further can be read.
  std::optional<std::int64_t> NextReadable(std::int64_t last) {
    std::int64_t bad = last + 1, good = 0;
    for (std::int64_t jump = 1;; jump *= 2) {
      if (jump > (std::int64_t{1} << 40)) return std::nullopt;
      good = last + 1 + jump;
      if (Readable(good)) break;
      bad = good;
    }
    while (good - bad > 1) {
      std::int64_t mid = bad + (good - bad) / 2;
      (Readable(mid) ? good : bad) = mid;
    }
    return good;
  }

  sqlite3* from_;
  sqlite3* to_;
  const TableDef& table_;
  StmtHandle insert_;
  StmtHandle read_;
  long saved_ = 0;
};

// Rows of every known table of the damaged file into the (open, empty) new one; answers the count
// and, in emptyTables, the tables that ended up without rows.
long salvageAll(sqlite3* from, sqlite3* to, std::vector<std::string>& filledTables) {
  long saved = 0;
  for (const TableDef& table : projectTables()) {
    long rows = TableSalvage(from, to, table).Run();
    if (rows > 0) filledTables.push_back(table.name);
    saved += rows;
  }
  return saved;
}

bool moveFile(const std::string& from, const std::string& to) {
  return !exists(from) || std::rename(from.c_str(), to.c_str()) == 0;
}

// Builds the repaired file at target from the damaged copy; answers the rows saved, or -1.
long rebuild(const std::string& damaged, const std::string& target, std::string* error) {
  if (!buildFile(target, false, error)) return -1;
  DbHandle from = openFile(damaged, SQLITE_OPEN_READWRITE, error);
  DbHandle to = openFile(target, SQLITE_OPEN_READWRITE, error);
  if (!from || !to) return -1;
  ConfigureConnection(to.get(), false);
  if (!exec(to.get(), "BEGIN IMMEDIATE", error)) return -1;
  std::vector<std::string> filled;
  long saved = salvageAll(from.get(), to.get(), filled);
  for (const std::string& sql : startingRowStatements(filled))
    if (!exec(to.get(), sql, error)) return -1;
  return exec(to.get(), "COMMIT", error) ? saved : -1;
}

}  // namespace

bool CreateProjectFile(const std::string& path, ProjectDbError* code, std::string* error) {
  if (exists(path)) {
    *code = ProjectDbError::CannotOpen;
    *error = "Cannot create '" + path + "': the file exists already.";
    return false;
  }
  if (!exists(folderOf(path))) {
    *code = ProjectDbError::FileNotFound;
    *error = "Could not find the folder of '" + path + "'.";
    return false;
  }
  // Built under another name and renamed, so no half-made project file is ever found.
  std::string building = path + ".building";
  removeWithCompanions(building);
  std::string detail;
  if (!buildFile(building, true, &detail) || std::rename(building.c_str(), path.c_str()) != 0) {
    removeWithCompanions(building);
    *code = ProjectDbError::DiskOrNetwork;
    *error = "Disk or network error while creating '" + path + "'. " + detail;
    return false;
  }
  return true;
}

namespace {

long pageCount(sqlite3* db) {
  sqlite3_stmt* raw = nullptr;
  long pages = -1;
  if (sqlite3_prepare_v2(db, "PRAGMA page_count", -1, &raw, nullptr) == SQLITE_OK && sqlite3_step(raw) == SQLITE_ROW)
    pages = static_cast<long>(sqlite3_column_int64(raw, 0));
  sqlite3_finalize(raw);
  return pages;
}

}  // namespace

// VACUUM cannot run inside the transaction every statement of a connection gets, so the file is
// opened on its own here.
bool CompactProjectFile(const std::string& path, long* pagesBefore, long* pagesAfter, std::string* error) {
  if (!exists(path)) {
    *error = "Could not find file '" + path + "'.";
    return false;
  }
  DbHandle db = openFile(path, SQLITE_OPEN_READWRITE, error);
  if (!db || ConfigureConnection(db.get(), false) != SQLITE_OK) {
    if (db) *error = sqlite3_errmsg(db.get());
    return false;
  }
  *pagesBefore = pageCount(db.get());
  if (!exec(db.get(), "VACUUM", error)) return false;
  *pagesAfter = pageCount(db.get());
  return true;
}

bool RepairProjectFile(const std::string& path, long* rowsSaved, ProjectDbError* code, std::string* error) {
  if (!exists(path)) {
    *code = ProjectDbError::FileNotFound;
    *error = "Could not find file '" + path + "'.";
    return false;
  }
  if (EndsWithNoCase(path, ".mdb")) {
    *code = ProjectDbError::UnrecognizedFormat;
    *error = "Unrecognized database format '" + path + "': an Access (.mdb) file cannot be repaired here.";
    return false;
  }
  // The damaged file keeps its journal beside it, so what it committed last is read too.
  std::string damaged = path + ".damaged";
  removeWithCompanions(damaged);
  removeFile(path + "-shm");
  if (!moveFile(path, damaged) || !moveFile(path + "-wal", damaged + "-wal")) {
    *code = ProjectDbError::DiskOrNetwork;
    *error = "Disk or network error: cannot move '" + path + "' aside for the repair.";
    return false;
  }
  std::string building = path + ".building";
  removeWithCompanions(building);
  std::string detail;
  long saved = rebuild(damaged, building, &detail);
  if (saved < 0 || std::rename(building.c_str(), path.c_str()) != 0) {
    removeWithCompanions(building);
    moveFile(damaged, path);
    moveFile(damaged + "-wal", path + "-wal");
    *code = ProjectDbError::DiskOrNetwork;
    *error = "The database '" + path + "' could not be repaired. " + detail;
    return false;
  }
  *rowsSaved = saved;
  return true;
}

}  // namespace kvprojectdb
