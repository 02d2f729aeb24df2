// ProjectDatabase: what the file and server engines share above the rows they read. The cursor
// rules, the walk, the checks before a write and the rows handed back live here once, so that the
// two engines cannot drift apart in what callers see.
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

std::string displayName(const TableInfo& table) { return WideToUtf8(table.wideName); }

// A malformed array is the caller's bug (E_INVALIDARG); an unknown name is a database error,
// reported through unknown. The key column is left out, since the database owns it.
bool readRowFields(SAFEARRAY* row, const TableInfo& table, Fields& fields, HRESULT& hr, std::string& unknown) {
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

std::string quotedColumn(const TableInfo& table, int column) {
  return "\"" + table.columns[static_cast<std::size_t>(column)] + "\"";
}

}  // namespace

// ---- Rows -------------------------------------------------------------------------------------------

VARIANT Engine::CellToVariant(const Cell& c, bool boolean) {
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

SAFEARRAY* Engine::MakeRow(const TableInfo& table, const CellRow& row) {
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

std::string InsertSql(const TableInfo& table, const Fields& fields, char mark) {
  std::string sql = "INSERT INTO \"" + table.name + "\"";
  if (fields.empty()) return sql + " DEFAULT VALUES";
  std::string names, marks;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    names += (i ? ", " : "") + quotedColumn(table, fields[i].first);
    marks += (i ? ", " : "") + std::string(1, mark) + std::to_string(i + 1);
  }
  return sql + " (" + names + ") VALUES (" + marks + ")";
}

std::string UpdateSql(const TableInfo& table, const Fields& fields, char mark, const std::string& key) {
  std::string sets;
  for (std::size_t i = 0; i < fields.size(); ++i)
    sets += (i ? ", " : "") + quotedColumn(table, fields[i].first) + " = " + mark + std::to_string(i + 1);
  return "UPDATE \"" + table.name + "\" SET " + sets + " WHERE " + key + " = " + mark + std::to_string(fields.size() + 1);
}

// ---- Errors -------------------------------------------------------------------------------------------

void Engine::ClearError() {
  errorCode_ = 0;
  errorText_.clear();
}

void Engine::SetError(ProjectDbError code, std::string text) {
  errorCode_ = static_cast<LONG>(code);
  errorText_ = std::move(text);
}

bool Engine::RequireOpen() {
  if (Connected()) return true;
  SetError(ProjectDbError::NotOpen, "Object invalid or no longer set: the database is not open.");
  return false;
}

HRESULT Engine::RefuseClosedWrite() {
  RequireOpen();
  return PROJECTDB_E_NOTOPEN;
}

HRESULT Engine::HasError(VARIANT_BOOL* hasError) {
  if (!hasError) return E_POINTER;
  SetFlag(hasError, errorCode_ != 0);
  return S_OK;
}

HRESULT Engine::GetLastError(LONG* code, BSTR* text) {
  if (!code || !text) return E_POINTER;
  *code = errorCode_;
  *text = SysAllocString(Utf8ToWide(errorText_).c_str());
  return *text ? S_OK : E_OUTOFMEMORY;
}

// ---- Cursors -------------------------------------------------------------------------------------------

HRESULT Engine::SetTable(BSTR table, BSTR index, VARIANT_BOOL* ok) {
  if (!ok) return E_POINTER;
  ClearError();
  SetFlag(ok, false);
  if (!RequireOpen()) return S_OK;
  // Record objects name their table before every step: the same table again costs no lookup.
  std::wstring_view tableName(table ? table : L"", SysStringLen(table));
  std::wstring_view indexWide(index ? index : L"", SysStringLen(index));
  if (current_ && tableName == current_->table->wideName &&
      (indexWide.empty() || (current_->index && indexWide == current_->index->wideName))) {
    SetFlag(ok, true);
    return S_OK;
  }
  const TableInfo* info = LoadTable(BstrToUtf8(table));
  if (!info) return S_OK;
  Cursor& cursor = cursors_[info];
  if (!cursor.table) {
    cursor.table = info;
    cursor.index = info->indices.empty() ? nullptr : &info->indices.front();
  }
  std::string indexName = BstrToUtf8(index);
  if (!indexName.empty()) {
    const IndexInfo* ix = info->FindIndex(indexName);
    if (!ix) {
      SetError(ProjectDbError::NotAnIndex, "'" + indexName + "' isn't an index in table '" + displayName(*info) + "'.");
      return S_OK;
    }
    if (ix != cursor.index) {
      cursor.index = ix;
      cursor.Forget();
    }
  }
  current_ = &cursor;
  SetFlag(ok, true);
  return S_OK;
}

HRESULT Engine::IsOpen(VARIANT_BOOL* open) {
  if (!open) return E_POINTER;
  SetFlag(open, Connected());
  return S_OK;
}

HRESULT Engine::Close(VARIANT_BOOL* done) {
  if (!done) return E_POINTER;
  ClearError();
  Disconnect();
  SetFlag(done, true);
  return S_OK;
}

HRESULT Engine::CreateProject(BSTR path, VARIANT_BOOL* ok) {
  if (!ok) return E_POINTER;
  SetFlag(ok, false);
  ClearError();
  Disconnect();
  std::string target = BstrToUtf8(path);
  ProjectDbError code = ProjectDbError::None;
  std::string error;
  if (!MakeProject(target, &code, &error)) {
    SetError(code, error);
    return S_OK;
  }
  SetFlag(ok, OpenForWriting(target));
  return S_OK;
}

HRESULT Engine::CloseTables(VARIANT_BOOL* done) {
  if (!done) return E_POINTER;
  ClearError();
  ForgetCursors();
  SetFlag(done, true);
  return S_OK;
}

void Engine::ForgetCursors() {
  cursors_.clear();
  current_ = nullptr;
}

Cursor* Engine::Current() {
  if (!RequireOpen()) return nullptr;
  if (!current_) SetError(ProjectDbError::NoCurrentRecord, "No current record: no table is selected.");
  return current_;
}

void Engine::Invalidate(const TableInfo* table, const Cursor* except) {
  for (auto& [info, cursor] : cursors_)
    if ((!table || info == table) && &cursor != except) {
      cursor.ahead.clear();
      cursor.aheadPos = 0;
    }
}

// ---- Walking and seeking -------------------------------------------------------------------------------

bool Engine::StepForward(Cursor& c, bool& found) {
  found = false;
  using State = Cursor::State;
  if (c.state == State::AfterLast || c.state == State::NoMatch) {
    SetError(ProjectDbError::NoCurrentRecord, "No current record.");
    return false;
  }
  return c.Advance(found, kMaxBatch, [&](std::vector<CellRow>& batch) { return FetchBatch(c, batch); });
}

HRESULT Engine::Answer(Cursor& c, LONG count, SAFEARRAY** row, VARIANT_BOOL* found) {
  bool got = false;
  for (LONG i = 0; i < count; ++i)
    if (!StepForward(c, got) || !got) return S_OK;
  *row = MakeRow(*c.table, c.current);
  SetFlag(found, true);
  return *row ? S_OK : E_OUTOFMEMORY;
}

HRESULT Engine::MoveFirst(SAFEARRAY** row, VARIANT_BOOL* found) {
  if (!row || !found) return E_POINTER;
  *row = nullptr;
  SetFlag(found, false);
  ClearError();
  Cursor* c = Current();
  if (!c) return S_OK;
  c->Forget();
  return Answer(*c, 1, row, found);
}

HRESULT Engine::MoveNext(LONG count, SAFEARRAY** row, VARIANT_BOOL* found) {
  if (!row || !found) return E_POINTER;
  *row = nullptr;
  SetFlag(found, false);
  if (count < 1) return E_NOTIMPL;  // moving backwards is not offered by this host
  ClearError();
  Cursor* c = Current();
  if (!c) return S_OK;
  return Answer(*c, count, row, found);
}

HRESULT Engine::SeekKeys(const VARIANT* const* keys, int count, SAFEARRAY** row, VARIANT_BOOL* found) {
  if (!row || !found) return E_POINTER;
  *row = nullptr;
  SetFlag(found, false);
  ClearError();
  Cursor* c = Current();
  if (!c) return S_OK;
  std::size_t columns = c->index ? c->index->columns.size() : 0;
  if (count > static_cast<int>(std::max<std::size_t>(columns, 1))) return E_INVALIDARG;
  std::vector<Cell> values(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    if (!Cell::FromVariant(*keys[i], values[static_cast<std::size_t>(i)])) return DISP_E_TYPEMISMATCH;
  std::vector<CellRow> rows;
  if (!SeekRow(*c, values, rows)) return S_OK;
  c->Forget();
  if (rows.empty()) {
    c->state = Cursor::State::NoMatch;
    return S_OK;
  }
  c->state = Cursor::State::OnRow;
  c->current = std::move(rows.front());
  *row = MakeRow(*c->table, c->current);
  SetFlag(found, true);
  return *row ? S_OK : E_OUTOFMEMORY;
}

HRESULT Engine::Seek(const VARIANT& key, SAFEARRAY** row, VARIANT_BOOL* found) {
  const VARIANT* keys[] = {&key};
  return SeekKeys(keys, 1, row, found);
}

HRESULT Engine::Seek2(const VARIANT& key1, const VARIANT& key2, SAFEARRAY** row, VARIANT_BOOL* found) {
  const VARIANT* keys[] = {&key1, &key2};
  return SeekKeys(keys, 2, row, found);
}

HRESULT Engine::Seek3(const VARIANT& key1, const VARIANT& key2, const VARIANT& key3, SAFEARRAY** row,
                      VARIANT_BOOL* found) {
  const VARIANT* keys[] = {&key1, &key2, &key3};
  return SeekKeys(keys, 3, row, found);
}

HRESULT Engine::IsEof(VARIANT_BOOL* eof) {
  if (!eof) return E_POINTER;
  using State = Cursor::State;
  State st = current_ ? current_->state : State::AfterLast;
  SetFlag(eof, !Connected() || !current_ || st == State::AfterLast || st == State::NoMatch ||
                   (st == State::Fresh && TableIsEmpty(*current_->table)));
  return S_OK;
}

HRESULT Engine::IsBof(VARIANT_BOOL* bof) {
  if (!bof) return E_POINTER;
  using State = Cursor::State;
  State st = current_ ? current_->state : State::AfterLast;
  SetFlag(bof, !Connected() || !current_ || (st == State::AfterLast && current_->emptyAtFirst) ||
                   (st == State::Fresh && TableIsEmpty(*current_->table)));
  return S_OK;
}

// ---- Writes -------------------------------------------------------------------------------------------

Cursor* Engine::StartWrite(SAFEARRAY* row, Fields* fields, bool onRow, HRESULT& hr) {
  hr = S_OK;
  ClearError();
  if (!Connected()) {
    hr = RefuseClosedWrite();
    return nullptr;
  }
  Cursor* cursor = Current();
  if (!cursor) return nullptr;
  std::string unknown;
  if (fields && !readRowFields(row, *cursor->table, *fields, hr, unknown)) {
    if (!unknown.empty())
      SetError(ProjectDbError::FieldNotFound, "Item not found in this collection: no field '" + unknown + "' in " +
                                                  displayName(*cursor->table) + ".");
    return nullptr;
  }
  if (onRow && cursor->state != Cursor::State::OnRow) {
    SetError(ProjectDbError::NoCurrentRecord, "No current record.");
    return nullptr;
  }
  return cursor;
}

HRESULT Engine::FinishWrite(Cursor& c, CellRow&& stored, bool adding, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  Invalidate(c.table, &c);
  if (adding) c.Forget();
  c.state = Cursor::State::OnRow;
  c.current = std::move(stored);
  *outRow = MakeRow(*c.table, c.current);
  SetFlag(ok, true);
  return *outRow ? S_OK : E_OUTOFMEMORY;
}

HRESULT Engine::FinishDelete(Cursor& c, bool deleted, VARIANT_BOOL* done) {
  if (!deleted) return RowGoneElsewhere();
  Invalidate(c.table, &c);
  c.state = Cursor::State::Gap;
  SetFlag(done, true);
  return S_OK;
}

HRESULT Engine::RowGoneElsewhere() {
  SetError(ProjectDbError::NoCurrentRecord, "No current record: the row was deleted elsewhere.");
  return S_OK;
}

}  // namespace kvprojectdb
