// ProjectDatabase: walking a table in index order and seeking on an index. A walk reads rows in
// batches after the current row's index values (keyset paging), so each batch costs one index
// descent whatever the table's size, and no statement stays open between calls.
#include "impl.h"

namespace kvprojectdb {

namespace {

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

// Steps a bound statement, appending up to limit rows to out; false on an SQLite error. Rows
// left in `spare` (those a walk has used up) lend their storage, so a long walk stops allocating.
int readRows(sqlite3_stmt* s, std::size_t limit, std::vector<CellRow>& out, std::vector<CellRow>* spare = nullptr) {
  int rc;
  while (out.size() < limit && (rc = sqlite3_step(s)) == SQLITE_ROW) {
    auto n = static_cast<std::size_t>(sqlite3_column_count(s));
    CellRow row;
    if (spare && !spare->empty()) {
      row = std::move(spare->back());
      spare->pop_back();
    }
    row.resize(n);
    for (std::size_t i = 0; i < n; ++i) row[i].ReadColumn(s, static_cast<int>(i));
    out.push_back(std::move(row));
  }
  return out.size() >= limit ? SQLITE_DONE : rc;
}

}  // namespace

std::string ProjectDatabaseImpl::SelectFrom(const TableInfo& table) const {
  return "SELECT rowid, * FROM " + quoted(table.name);
}

std::string ProjectDatabaseImpl::OrderBy(const Cursor& c) const {
  std::string order = " ORDER BY ";
  for (int column : c.index->columns) order += quoted(c.table->columns[static_cast<std::size_t>(column)]) + ", ";
  return order + "rowid";
}

bool ProjectDatabaseImpl::TableIsEmpty(const TableInfo& table) {
  sqlite3_stmt* s = Prepare("SELECT 1 FROM " + quoted(table.name) + " LIMIT 1");
  if (!s) return true;
  StmtScope scope(s);
  return sqlite3_step(s) != SQLITE_ROW;
}

bool ProjectDatabaseImpl::FetchFirst(Cursor& c, std::size_t limit, std::vector<CellRow>& out,
                                     std::vector<CellRow>* spare) {
  if (!c.index->first) c.index->first = Prepare(SelectFrom(*c.table) + OrderBy(c) + " LIMIT ?1");
  sqlite3_stmt* s = c.index->first;
  if (!s) return false;
  StmtScope scope(s);
  sqlite3_bind_int64(s, 1, static_cast<sqlite3_int64>(limit));
  int rc = readRows(s, limit, out, spare);
  return rc == SQLITE_DONE || Fail(rc, "Cannot read " + c.table->name);
}

// The rows after position (v0..vk-1, rowid) in the order (c0..ck-1, rowid), where a null sorts
// first: level k holds the rows equal in every column with a greater rowid, level L < k those equal
// in c0..cL-1 and greater in cL. Each level is one range of the index, read in order.
bool ProjectDatabaseImpl::FetchAfter(Cursor& c, std::size_t limit, std::vector<CellRow>& out,
                                     std::vector<CellRow>* spare) {
  const std::vector<int>& cols = c.index->columns;
  const std::size_t k = cols.size();
  auto value = [&](std::size_t j) -> const Cell& { return c.current[static_cast<std::size_t>(cols[j]) + 1]; };
  c.index->after.resize(2 * (k + 1), nullptr);
  for (std::size_t level = k + 1; level-- > 0 && out.size() < limit;) {
    bool nullAtLevel = level < k && value(level).type == SQLITE_NULL;
    sqlite3_stmt*& s = c.index->after[2 * level + (nullAtLevel ? 1 : 0)];
    if (!s) s = Prepare(AfterSql(c, level, nullAtLevel));
    if (!s) return false;
    StmtScope scope(s);
    for (std::size_t j = 0; j < level; ++j) value(j).Bind(s, static_cast<int>(j) + 1);
    if (level == k) sqlite3_bind_int64(s, static_cast<int>(k) + 1, c.current[0].i);
    else if (!nullAtLevel) value(level).Bind(s, static_cast<int>(level) + 1);
    sqlite3_bind_int64(s, static_cast<int>(k) + 2, static_cast<sqlite3_int64>(limit - out.size()));
    int rc = readRows(s, limit, out, spare);
    if (rc != SQLITE_DONE) return Fail(rc, "Cannot read " + c.table->name);
  }
  return true;
}

std::string ProjectDatabaseImpl::AfterSql(const Cursor& c, std::size_t level, bool nullAtLevel) const {
  const std::vector<int>& cols = c.index->columns;
  const std::size_t k = cols.size();
  auto column = [&](std::size_t j) { return quoted(c.table->columns[static_cast<std::size_t>(cols[j])]); };
  std::string where;
  for (std::size_t j = 0; j < level; ++j) where += column(j) + " IS ?" + std::to_string(j + 1) + " AND ";
  if (level == k) where += "rowid > ?" + std::to_string(k + 1);
  else if (nullAtLevel) where += column(level) + " IS NOT NULL";
  else where += column(level) + " > ?" + std::to_string(level + 1);
  return SelectFrom(*c.table) + " WHERE " + where + OrderBy(c) + " LIMIT ?" + std::to_string(k + 2);
}

bool ProjectDatabaseImpl::FetchBatch(Cursor& c, std::vector<CellRow>& batch) {
  return c.state == Cursor::State::Fresh ? FetchFirst(c, c.nextBatch, batch, &c.ahead)
                                         : FetchAfter(c, c.nextBatch, batch, &c.ahead);
}

bool ProjectDatabaseImpl::SeekRow(const Cursor& c, const std::vector<Cell>& keys, std::vector<CellRow>& rows) {
  const std::vector<int>& cols = c.index->columns;
  sqlite3_stmt*& s = c.index->seek[keys.size() - 1];
  if (!s) {
    std::string where;
    if (cols.empty()) where = "rowid = ?1";
    for (std::size_t j = 0; j < cols.size() && j < keys.size(); ++j)
      where += (j ? " AND " : "") + quoted(c.table->columns[static_cast<std::size_t>(cols[j])]) + " IS ?" +
               std::to_string(j + 1) + " COLLATE BINARY";
    s = Prepare(SelectFrom(*c.table) + " WHERE " + where + OrderBy(c) + " LIMIT 1");
  }
  if (!s) return false;
  StmtScope scope(s);
  for (std::size_t j = 0; j < keys.size(); ++j) keys[j].Bind(s, static_cast<int>(j) + 1);
  int rc = readRows(s, 1, rows);
  return rc == SQLITE_DONE || Fail(rc, "Cannot seek in " + c.table->name);
}

}  // namespace kvprojectdb
