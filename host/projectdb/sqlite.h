// Thin RAII layer over SQLite for the component: owned connection and statements, a cell value
// that outlives its statement, and the translation of Access-flavoured SQL. Private to the folder.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "com.h"

namespace kvprojectdb {

struct SqliteCloser {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using DbHandle = std::unique_ptr<sqlite3, SqliteCloser>;

struct StmtFinalizer {
  void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
};
using StmtHandle = std::unique_ptr<sqlite3_stmt, StmtFinalizer>;

// Resets a statement on scope exit, so no read transaction outlives the call that started it.
class StmtScope {
 public:
  explicit StmtScope(sqlite3_stmt* s) : s_(s) {}
  StmtScope(const StmtScope&) = delete;
  StmtScope& operator=(const StmtScope&) = delete;
  ~StmtScope() {
    sqlite3_reset(s_);
    sqlite3_clear_bindings(s_);
  }

 private:
  sqlite3_stmt* s_;
};

// One stored value, copied out of a statement.
struct Cell {
  int type = SQLITE_NULL;  // SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT or SQLITE_NULL
  std::int64_t i = 0;
  double d = 0;
  std::string text;

  static Cell FromColumn(sqlite3_stmt* s, int column);
  // FromColumn into this cell, keeping its text's storage for the next row of a walk.
  void ReadColumn(sqlite3_stmt* s, int column);
  // Binds to parameter index (1-based); a VARIANT's kind decides the type (booleans as -1/0).
  void Bind(sqlite3_stmt* s, int index) const;
  static bool FromVariant(const VARIANT& v, Cell& out);
};

using CellRow = std::vector<Cell>;

// Rewrites the Access dialect into SQLite's: "text" -> 'text' (with "" inside as one quote),
// [name] -> "name", the words True and False -> -1 and 0. Single-quoted text passes unchanged.
std::string TranslateSql(std::string_view sql);

}  // namespace kvprojectdb
