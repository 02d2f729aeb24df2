// ProjectDatabase on a file: reading a row by its key, the writes on the current row, and SQL
// statements and queries (the rows callers receive are made in engine.cpp, for both engines).
#include "impl.h"

namespace kvprojectdb {

// ---- Rows -------------------------------------------------------------------------------------------

bool ProjectDatabaseImpl::ReadRowById(const TableInfo& table, std::int64_t rowid, CellRow& out) {
  if (!table.byRowid) table.byRowid = Prepare(SelectFrom(table) + " WHERE rowid = ?1");
  sqlite3_stmt* s = table.byRowid;
  if (!s) return false;
  StmtScope scope(s);
  sqlite3_bind_int64(s, 1, rowid);
  int rc = sqlite3_step(s);
  if (rc == SQLITE_DONE) {
    SetError(ProjectDbError::NoCurrentRecord, "No current record.");
    return false;
  }
  if (rc != SQLITE_ROW) return Fail(rc, "Cannot read the row of " + table.name);
  int n = sqlite3_column_count(s);
  out.resize(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) out[static_cast<std::size_t>(i)] = Cell::FromColumn(s, i);
  return true;
}

// ---- Writes -------------------------------------------------------------------------------------------

HRESULT ProjectDatabaseImpl::AddRecord(SAFEARRAY* row, LONG, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  if (!outRow || !ok) return E_POINTER;
  *outRow = nullptr;
  SetFlag(ok, false);
  Fields fields;
  HRESULT hr;
  Cursor* cursor = StartWrite(row, &fields, false, hr);
  if (!cursor) return hr;
  sqlite3_stmt* s = Prepare(InsertSql(*cursor->table, fields, '?') + " RETURNING rowid, *");
  if (!s) return S_OK;
  for (std::size_t i = 0; i < fields.size(); ++i) fields[i].second.Bind(s, static_cast<int>(i) + 1);
  CellRow stored;
  if (!RunReturning(s, *cursor->table, stored)) return S_OK;
  return FinishWrite(*cursor, std::move(stored), true, outRow, ok);
}

HRESULT ProjectDatabaseImpl::UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  if (!outRow || !ok) return E_POINTER;
  *outRow = nullptr;
  SetFlag(ok, false);
  Fields fields;
  HRESULT hr;
  Cursor* cursor = StartWrite(row, &fields, true, hr);
  if (!cursor) return hr;
  const TableInfo& table = *cursor->table;
  std::int64_t rowid = cursor->current[0].i;
  CellRow stored;
  if (fields.empty()) {
    if (!ReadRowById(table, rowid, stored)) return S_OK;
  } else {
    sqlite3_stmt* s = Prepare(UpdateSql(table, fields, '?', "rowid") + " RETURNING rowid, *");
    if (!s) return S_OK;
    for (std::size_t i = 0; i < fields.size(); ++i) fields[i].second.Bind(s, static_cast<int>(i) + 1);
    sqlite3_bind_int64(s, static_cast<int>(fields.size()) + 1, rowid);
    if (!RunReturning(s, table, stored)) return S_OK;
    if (stored.empty()) return RowGoneElsewhere();
  }
  return FinishWrite(*cursor, std::move(stored), false, outRow, ok);
}

HRESULT ProjectDatabaseImpl::DeleteRecord(VARIANT_BOOL* done) {
  if (!done) return E_POINTER;
  SetFlag(done, false);
  HRESULT hr;
  Cursor* cursor = StartWrite(nullptr, nullptr, true, hr);
  if (!cursor) return hr;
  sqlite3_stmt* s = Prepare("DELETE FROM \"" + cursor->table->name + "\" WHERE rowid = ?1");
  if (!s) return S_OK;
  sqlite3_bind_int64(s, 1, cursor->current[0].i);
  if (!Run(s)) return S_OK;
  return FinishDelete(*cursor, sqlite3_changes(db_.get()) != 0, done);
}

// ---- SQL ----------------------------------------------------------------------------------------------

HRESULT AnswerQueryRow(Backend& db, BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) {
  if (!values || !found) return E_POINTER;
  *values = nullptr;
  SetFlag(found, false);
  std::vector<CellRow> rows;
  if (!db.QueryColumns(TranslateSql(BstrToUtf8(sql)), {}, rows) || rows.empty()) return S_OK;
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(rows.size()));
  if (!array) return E_OUTOFMEMORY;
  auto* items = static_cast<VARIANT*>(array->pvData);
  for (std::size_t i = 0; i < rows.size(); ++i) items[i] = ProjectDatabaseImpl::CellToVariant(rows[i][0], false);
  *values = array;
  SetFlag(found, true);
  return S_OK;
}

HRESULT ProjectDatabaseImpl::QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) {
  return AnswerQueryRow(*this, sql, values, found);
}

bool ProjectDatabaseImpl::QueryColumns(const std::string& sql, const std::vector<std::string>& columns,
                                       std::vector<CellRow>& rows) {
  ClearError();
  if (!RequireOpen()) return false;
  sqlite3_stmt* raw = nullptr;
  int rc = sqlite3_prepare_v2(db_.get(), sql.c_str(), static_cast<int>(sql.size()), &raw, nullptr);
  StmtHandle s(raw);
  if (rc != SQLITE_OK) return Fail(rc, "Cannot run \"" + sql + "\"");
  if (!s) return true;
  std::vector<int> picks;
  for (const std::string& column : columns) {
    int pick = -1;
    for (int i = 0; i < sqlite3_column_count(raw) && pick < 0; ++i)
      if (LowerAscii(sqlite3_column_name(raw, i)) == LowerAscii(column)) pick = i;
    if (pick < 0) {
      SetError(ProjectDbError::FieldNotFound, "Item not found in this collection: no column '" + column + "'.");
      return false;
    }
    picks.push_back(pick);
  }
  if (picks.empty()) picks.push_back(0);
  while ((rc = sqlite3_step(raw)) == SQLITE_ROW) {
    CellRow row;
    row.reserve(picks.size());
    for (int pick : picks) row.push_back(Cell::FromColumn(raw, pick));
    rows.push_back(std::move(row));
  }
  return rc == SQLITE_DONE || Fail(rc, "Query failed");
}

HRESULT ProjectDatabaseImpl::Execute(BSTR sql, VARIANT_BOOL* ok) {
  if (!ok) return E_POINTER;
  SetFlag(ok, false);
  ClearError();
  if (!RequireOpen()) return PROJECTDB_E_NOTOPEN;
  std::string text = TranslateSql(BstrToUtf8(sql));
  bool ownTransaction = sqlite3_get_autocommit(db_.get()) != 0;
  if (ownTransaction && !Begin()) return S_OK;
  const char* next = text.c_str();
  bool schemaChanged = false;
  while (next && *next) {
    sqlite3_stmt* raw = nullptr;
    int rc = sqlite3_prepare_v2(db_.get(), next, -1, &raw, &next);
    StmtHandle s(raw);
    if (rc != SQLITE_OK) {
      Fail(rc, "Cannot run \"" + text + "\"");
      Rollback();
      return S_OK;
    }
    if (!s) continue;
    std::string head = LowerAscii(std::string_view(sqlite3_sql(raw)).substr(0, 6));
    schemaChanged = schemaChanged || head.rfind("create", 0) == 0 || head.rfind("drop", 0) == 0 ||
                    head.rfind("alter", 0) == 0;
    while ((rc = sqlite3_step(raw)) == SQLITE_ROW) {
    }
    if (rc != SQLITE_DONE) {
      Fail(rc, "Statement failed");
      Rollback();
      return S_OK;
    }
  }
  if (ownTransaction && !Commit()) return S_OK;
  Invalidate(nullptr, nullptr);
  if (schemaChanged) {
    ForgetCursors();
    tables_.clear();
    statements_.clear();
  }
  SetFlag(ok, true);
  return S_OK;
}

}  // namespace kvprojectdb
