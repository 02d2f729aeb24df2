// ProjectDatabase: rows between SQLite and name/value arrays, the writes on the current row, and
// SQL statements and queries.
#include <algorithm>

#include "impl.h"

namespace kvprojectdb {

namespace {

// Nearly all stored text is ASCII: it is widened straight into the BSTR, without a wide copy.
// One pass: the text is widened as it is checked, and only a text found not to be ASCII is
// converted again.
BSTR TextToBstr(const std::string& text) {
  BSTR out = SysAllocStringLen(nullptr, static_cast<std::uint32_t>(text.size()));
  if (!out) return out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto ch = static_cast<unsigned char>(text[i]);
    if (ch >= 0x80) {
      SysFreeString(out);
      std::wstring wide = Utf8ToWide(text);
      return SysAllocStringLen(wide.data(), static_cast<std::uint32_t>(wide.size()));
    }
    out[i] = static_cast<OLECHAR>(ch);
  }
  return out;
}

}  // namespace

// ---- Rows -------------------------------------------------------------------------------------------

VARIANT ProjectDatabaseImpl::CellToVariant(const Cell& c, bool boolean) {
  VARIANT v;
  VariantInit(&v);
  switch (c.type) {
    case SQLITE_INTEGER:
      if (boolean) {
        v.vt = VT_BOOL;
        v.boolVal = c.i ? VARIANT_TRUE : VARIANT_FALSE;
      } else if (c.i >= INT32_MIN && c.i <= INT32_MAX) {
        v.vt = VT_I4;
        v.lVal = static_cast<LONG>(c.i);
      } else {
        v.vt = VT_R8;
        v.dblVal = static_cast<double>(c.i);
      }
      break;
    case SQLITE_FLOAT:
      v.vt = VT_R8;
      v.dblVal = c.d;
      break;
    case SQLITE_TEXT:
      v.vt = VT_BSTR;
      v.bstrVal = TextToBstr(c.text);
      break;
    default: v.vt = VT_NULL;
  }
  return v;
}

SAFEARRAY* ProjectDatabaseImpl::MakeRow(const TableInfo& table, const CellRow& row) {
  std::size_t n = table.columns.size();
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(2 * n));
  if (!array) return nullptr;
  auto* items = static_cast<VARIANT*>(array->pvData);
  if (table.rowNames.empty())
    for (const std::wstring& name : table.wideColumns) table.rowNames.add(name);
  for (std::size_t i = 0; i < n; ++i) {
    items[2 * i].vt = VT_BSTR;
    items[2 * i].bstrVal = table.rowNames.share(i);
    if (i + 1 < row.size()) items[2 * i + 1] = CellToVariant(row[i + 1], table.boolean[i]);
  }
  return array;
}

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

// A malformed array is the caller's bug (E_INVALIDARG); an unknown name is a database error.
bool ReadRowFields(SAFEARRAY* row, const TableInfo& table, std::vector<std::pair<int, Cell>>& fields, HRESULT& hr,
                   std::string& unknown) {
  hr = S_OK;
  if (!row || row->cDims != 1 || row->rgsabound[0].cElements % 2 != 0) {
    hr = E_INVALIDARG;
    return false;
  }
  auto* items = static_cast<VARIANT*>(row->pvData);
  for (ULONG i = 0; i < row->rgsabound[0].cElements; i += 2) {
    if (items[i].vt != VT_BSTR) {
      hr = E_INVALIDARG;
      return false;
    }
    std::string name = BstrToUtf8(items[i].bstrVal);
    int column = table.FindColumn(name);
    if (column < 0) {
      unknown = name;
      return false;
    }
    Cell cell;
    if (!Cell::FromVariant(items[i + 1], cell)) {
      hr = DISP_E_TYPEMISMATCH;
      return false;
    }
    if (column != table.keyColumn) fields.emplace_back(column, std::move(cell));
  }
  return true;
}

bool ProjectDatabaseImpl::ReadFields(SAFEARRAY* row, const TableInfo& table,
                                     std::vector<std::pair<int, Cell>>& fields, HRESULT& hr) {
  std::string unknown;
  if (ReadRowFields(row, table, fields, hr, unknown)) return true;
  if (!unknown.empty())
    SetError(ProjectDbError::FieldNotFound, "Item not found in this collection: no field '" + unknown + "' in " + table.name + ".");
  return false;
}

// ---- Writes -------------------------------------------------------------------------------------------

HRESULT ProjectDatabaseImpl::AddRecord(SAFEARRAY* row, LONG, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  if (!outRow || !ok) return E_POINTER;
  *outRow = nullptr;
  SetFlag(ok, false);
  ClearError();
  if (!db_) return RefuseClosedWrite();
  Cursor* cursor = Current();
  if (!cursor) return S_OK;
  const TableInfo& table = *cursor->table;
  std::vector<std::pair<int, Cell>> fields;
  HRESULT hr;
  if (!ReadFields(row, table, fields, hr)) return hr;
  std::string names, marks;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    names += (i ? ", \"" : "\"") + table.columns[fields[i].first] + "\"";
    marks += i ? ", ?" : "?";
  }
  std::string sql = fields.empty() ? "INSERT INTO \"" + table.name + "\" DEFAULT VALUES"
                                   : "INSERT INTO \"" + table.name + "\" (" + names + ") VALUES (" + marks + ")";
  sqlite3_stmt* s = Prepare(sql + " RETURNING rowid, *");
  if (!s) return S_OK;
  for (std::size_t i = 0; i < fields.size(); ++i) fields[i].second.Bind(s, static_cast<int>(i) + 1);
  CellRow stored;
  if (!RunReturning(s, table, stored)) return S_OK;
  Invalidate(&table, cursor);
  cursor->Forget();
  cursor->state = Cursor::State::OnRow;
  cursor->current = std::move(stored);
  *outRow = MakeRow(table, cursor->current);
  SetFlag(ok, true);
  return *outRow ? S_OK : E_OUTOFMEMORY;
}

HRESULT ProjectDatabaseImpl::UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  if (!outRow || !ok) return E_POINTER;
  *outRow = nullptr;
  SetFlag(ok, false);
  ClearError();
  if (!db_) return RefuseClosedWrite();
  Cursor* cursor = Current();
  if (!cursor) return S_OK;
  const TableInfo& table = *cursor->table;
  std::vector<std::pair<int, Cell>> fields;
  HRESULT hr;
  if (!ReadFields(row, table, fields, hr)) return hr;
  if (cursor->state != Cursor::State::OnRow) {
    SetError(ProjectDbError::NoCurrentRecord, "No current record.");
    return S_OK;
  }
  std::int64_t rowid = cursor->current[0].i;
  std::string sets;
  for (std::size_t i = 0; i < fields.size(); ++i)
    sets += (i ? ", \"" : "\"") + table.columns[fields[i].first] + "\" = ?";
  CellRow stored;
  if (fields.empty()) {
    if (!ReadRowById(table, rowid, stored)) return S_OK;
  } else {
    sqlite3_stmt* s = Prepare("UPDATE \"" + table.name + "\" SET " + sets + " WHERE rowid = ?" +
                              std::to_string(fields.size() + 1) + " RETURNING rowid, *");
    if (!s) return S_OK;
    for (std::size_t i = 0; i < fields.size(); ++i) fields[i].second.Bind(s, static_cast<int>(i) + 1);
    sqlite3_bind_int64(s, static_cast<int>(fields.size()) + 1, rowid);
    if (!RunReturning(s, table, stored)) return S_OK;
    if (stored.empty()) {
      SetError(ProjectDbError::NoCurrentRecord, "No current record: the row was deleted elsewhere.");
      return S_OK;
    }
  }
  Invalidate(&table, cursor);
  cursor->current = std::move(stored);
  *outRow = MakeRow(table, cursor->current);
  SetFlag(ok, true);
  return *outRow ? S_OK : E_OUTOFMEMORY;
}

HRESULT ProjectDatabaseImpl::DeleteRecord(VARIANT_BOOL* done) {
  if (!done) return E_POINTER;
  SetFlag(done, false);
  ClearError();
  if (!db_) return RefuseClosedWrite();
  Cursor* cursor = Current();
  if (!cursor) return S_OK;
  if (cursor->state != Cursor::State::OnRow) {
    SetError(ProjectDbError::NoCurrentRecord, "No current record.");
    return S_OK;
  }
  sqlite3_stmt* s = Prepare("DELETE FROM \"" + cursor->table->name + "\" WHERE rowid = ?1");
  if (!s) return S_OK;
  sqlite3_bind_int64(s, 1, cursor->current[0].i);
  if (!Run(s)) return S_OK;
  if (sqlite3_changes(db_.get()) == 0) {
    SetError(ProjectDbError::NoCurrentRecord, "No current record: the row was deleted elsewhere.");
    return S_OK;
  }
  Invalidate(cursor->table, cursor);
  cursor->state = Cursor::State::Gap;
  SetFlag(done, true);
  return S_OK;
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
    cursors_.clear();
    current_ = nullptr;
    tables_.clear();
    statements_.clear();
  }
  SetFlag(ok, true);
  return S_OK;
}

}  // namespace kvprojectdb
