// The table-independent half of the record pattern: modes, movement and writes over the connection.
#include "record.h"
#include "text.h"

namespace kvdb {

std::wstring TrimmedText(const VARIANT& value) {
  if (value.vt != VT_BSTR || value.bstrVal == nullptr) return {};
  std::wstring_view text(value.bstrVal, SysStringLen(value.bstrVal));
  const auto end = text.find_last_not_of(L" \t\r\n\v\f");
  return std::wstring(text.substr(0, end == std::wstring_view::npos ? 0 : end + 1));
}

RecordCore::RecordCore(ProjectDatabase* connection, std::wstring_view table,
                       std::wstring_view primaryIndex, bool master)
    : connection_(connection),
      table_(table),
      primaryIndex_(primaryIndex),
      tableBstr_(table),
      primaryBstr_(primaryIndex),
      emptyBstr_(L""),
      master_(master) {}

void RecordCore::StartNew() {
  isNew_ = true;
  isEdit_ = false;
  ClearDirty();
}

void RecordCore::StartEdit() {
  isNew_ = false;
  isEdit_ = true;
  ClearDirty();
  editKey_ = CurrentKey();
}

bool RecordCore::Select(std::wstring_view index) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  if (index.empty()) {
    ComCheck(connection_->SetTable(tableBstr_, emptyBstr_, &ok));
  } else if (index == primaryIndex_) {
    ComCheck(connection_->SetTable(tableBstr_, primaryBstr_, &ok));
  } else {
    _bstr_t name(index);
    ComCheck(connection_->SetTable(tableBstr_, name, &ok));
  }
  return IsTrue(ok);
}

bool RecordCore::IsClosed() const {
  VARIANT_BOOL open = VARIANT_FALSE;
  ComCheck(connection_->IsOpen(&open));
  return !IsTrue(open);
}

void RecordCore::CheckWrite(HRESULT hr) const {
  if (SUCCEEDED(hr)) return;
  LONG code = 0;
  _bstr_t text;
  connection_->GetLastError(&code, text.GetAddress());
  throw _com_error(hr, text.str());
}

bool RecordCore::TakeRow(SAFEARRAY* row, VARIANT_BOOL found) {
  SafeArrayPtr owned(row);
  if (!IsTrue(found)) return false;
  LoadRow(owned.get());
  return true;
}

void RecordCore::Update() {
  if (!connection_) return;
  SafeArrayPtr row = BuildDirtyRow();
  // Nothing to send: no call, and the mode stays for the setters still to come.
  if (!row) return;
  // A closed connection cannot select the table, but the write still goes to the component, which
  // refuses it with an error: dropped here, it would vanish without a word.
  if (isNew_) {
    if (Select(primaryIndex_) || IsClosed()) {
      SAFEARRAY* stored = nullptr;
      VARIANT_BOOL ok = VARIANT_FALSE;
      CheckWrite(connection_->AddRecord(row.get(), 0, &stored, &ok));
      TakeRow(stored, ok);
    }
  } else if (isEdit_) {
    if (FindByKey(editKey_) || IsClosed()) {
      SAFEARRAY* stored = nullptr;
      VARIANT_BOOL ok = VARIANT_FALSE;
      CheckWrite(connection_->UpdateRecord(row.get(), &stored, &ok));
      TakeRow(stored, ok);
    }
  }
  isNew_ = false;
  isEdit_ = false;
  ClearDirty();
}

bool RecordCore::FindByKey(std::int32_t key) {
  _variant_t k(static_cast<int>(key));
  return SeekOn(primaryIndex_, k);
}

void RecordCore::SetSortIndex(std::wstring_view index) {
  if (connection_) Select(index);
}

bool RecordCore::First() {
  if (!connection_ || !Select({})) return false;
  SAFEARRAY* row = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ComCheck(connection_->MoveFirst(&row, &found));
  return TakeRow(row, found);
}

bool RecordCore::Next() {
  if (!connection_ || !Select({})) return false;
  SAFEARRAY* row = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ComCheck(connection_->MoveNext(1, &row, &found));
  return TakeRow(row, found);
}

bool RecordCore::AtEnd() {
  if (!connection_ || !Select({})) return true;
  VARIANT_BOOL eof = VARIANT_TRUE;
  ComCheck(connection_->IsEof(&eof));
  return IsTrue(eof);
}

bool RecordCore::AtStart() {
  if (!connection_ || !Select({})) return true;
  VARIANT_BOOL bof = VARIANT_TRUE;
  ComCheck(connection_->IsBof(&bof));
  return IsTrue(bof);
}

bool RecordCore::SeekOn(std::wstring_view index, const VARIANT& key) {
  if (!connection_ || !Select(index)) return false;
  SAFEARRAY* row = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ComCheck(connection_->Seek(key, &row, &found));
  return TakeRow(row, found);
}

bool RecordCore::SeekOn2(std::wstring_view index, const VARIANT& key1, const VARIANT& key2) {
  if (!connection_ || !Select(index)) return false;
  SAFEARRAY* row = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ComCheck(connection_->Seek2(key1, key2, &row, &found));
  return TakeRow(row, found);
}

bool RecordCore::SeekOn3(std::wstring_view index, const VARIANT& key1, const VARIANT& key2,
                         const VARIANT& key3) {
  if (!connection_ || !Select(index)) return false;
  SAFEARRAY* row = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  ComCheck(connection_->Seek3(key1, key2, key3, &row, &found));
  return TakeRow(row, found);
}

bool RecordCore::DeleteCurrent() {
  if (!connection_ || (!FindByKey(CurrentKey()) && !IsClosed())) return false;
  VARIANT_BOOL done = VARIANT_FALSE;
  CheckWrite(connection_->DeleteRecord(&done));
  return IsTrue(done);
}

}  // namespace kvdb
