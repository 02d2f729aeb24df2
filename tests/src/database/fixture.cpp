// Fixtures for the record tests: temporary project files and a call-counting connection.
#include "fixture.h"

#include "database/database.h"

#include <atomic>
#include <cstdlib>
#include <unistd.h>

namespace kvtest {

int CountingDatabase::TotalCalls() const {
  int total = 0;
  for (const auto& [op, n] : calls_) total += n;
  return total;
}

HRESULT CountingDatabase::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_ProjectDatabase) {
    AddRef();
    *out = static_cast<ProjectDatabase*>(this);
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

void CountingDatabase::Capture(SAFEARRAY* row) {
  lastSent_.clear();
  LONG lo = 0, hi = -1;
  SafeArrayGetLBound(row, 1, &lo);
  SafeArrayGetUBound(row, 1, &hi);
  for (LONG i = lo; i <= hi; i += 2) {
    VARIANT v;
    VariantInit(&v);
    SafeArrayGetElement(row, &i, &v);
    lastSent_.push_back(v.vt == VT_BSTR ? std::wstring(v.bstrVal, SysStringLen(v.bstrVal)) : L"?");
    VariantClear(&v);
  }
}

HRESULT CountingDatabase::Open(BSTR path, short a, short b, BSTR* result) {
  if (FAILED(failWith_)) return failWith_;
  Count("Open");
  return inner_->Open(path, a, b, result);
}
HRESULT CountingDatabase::SetTable(BSTR table, BSTR index, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("SetTable");
  return inner_->SetTable(table, index, ok);
}
HRESULT CountingDatabase::MoveFirst(SAFEARRAY** row, VARIANT_BOOL* found) {
  if (FAILED(failWith_)) return failWith_;
  Count("MoveFirst");
  return inner_->MoveFirst(row, found);
}
HRESULT CountingDatabase::MoveNext(LONG count, SAFEARRAY** row, VARIANT_BOOL* found) {
  if (FAILED(failWith_)) return failWith_;
  Count("MoveNext");
  return inner_->MoveNext(count, row, found);
}
HRESULT CountingDatabase::IsOpen(VARIANT_BOOL* open) {
  if (FAILED(failWith_)) return failWith_;
  Count("IsOpen");
  return inner_->IsOpen(open);
}
HRESULT CountingDatabase::AddRecord(SAFEARRAY* row, LONG flags, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("AddRecord");
  Capture(row);
  return inner_->AddRecord(row, flags, outRow, ok);
}
HRESULT CountingDatabase::CloseTables(VARIANT_BOOL* done) {
  if (FAILED(failWith_)) return failWith_;
  Count("CloseTables");
  return inner_->CloseTables(done);
}
HRESULT CountingDatabase::Close(VARIANT_BOOL* done) {
  if (FAILED(failWith_)) return failWith_;
  Count("Close");
  return inner_->Close(done);
}
HRESULT CountingDatabase::DeleteRecord(VARIANT_BOOL* done) {
  if (FAILED(failWith_)) return failWith_;
  Count("DeleteRecord");
  return inner_->DeleteRecord(done);
}
HRESULT CountingDatabase::GetLastError(LONG* code, BSTR* text) {
  if (FAILED(failWith_)) return failWith_;
  Count("GetLastError");
  return inner_->GetLastError(code, text);
}
HRESULT CountingDatabase::HasError(VARIANT_BOOL* hasError) {
  if (FAILED(failWith_)) return failWith_;
  Count("HasError");
  return inner_->HasError(hasError);
}
HRESULT CountingDatabase::UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("UpdateRecord");
  Capture(row);
  return inner_->UpdateRecord(row, outRow, ok);
}
HRESULT CountingDatabase::Seek(const VARIANT& key, SAFEARRAY** row, VARIANT_BOOL* found) {
  if (FAILED(failWith_)) return failWith_;
  Count("Seek");
  return inner_->Seek(key, row, found);
}
HRESULT CountingDatabase::Seek2(const VARIANT& k1, const VARIANT& k2, SAFEARRAY** row,
                                VARIANT_BOOL* found) {
  if (FAILED(failWith_)) return failWith_;
  Count("Seek2");
  return inner_->Seek2(k1, k2, row, found);
}
HRESULT CountingDatabase::Seek3(const VARIANT& k1, const VARIANT& k2, const VARIANT& k3,
                                SAFEARRAY** row, VARIANT_BOOL* found) {
  if (FAILED(failWith_)) return failWith_;
  Count("Seek3");
  return inner_->Seek3(k1, k2, k3, row, found);
}
HRESULT CountingDatabase::QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) {
  if (FAILED(failWith_)) return failWith_;
  Count("QueryRow");
  return inner_->QueryRow(sql, values, found);
}
HRESULT CountingDatabase::Execute(BSTR sql, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("Execute");
  return inner_->Execute(sql, ok);
}
HRESULT CountingDatabase::OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("OpenView");
  return inner_->OpenView(path, readOnly, ok);
}
HRESULT CountingDatabase::IsEof(VARIANT_BOOL* eof) {
  if (FAILED(failWith_)) return failWith_;
  Count("IsEof");
  return inner_->IsEof(eof);
}
HRESULT CountingDatabase::IsBof(VARIANT_BOOL* bof) {
  if (FAILED(failWith_)) return failWith_;
  Count("IsBof");
  return inner_->IsBof(bof);
}
HRESULT CountingDatabase::CreateProject(BSTR path, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("CreateProject");
  return inner_->CreateProject(path, ok);
}
HRESULT CountingDatabase::Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) {
  if (FAILED(failWith_)) return failWith_;
  Count("Repair");
  return inner_->Repair(path, rowsSaved, ok);
}

TempFolder::TempFolder() {
  static std::atomic<int> serial{0};
  path_ = std::filesystem::temp_directory_path() /
          ("kvdb-test-" + std::to_string(::getpid()) + "-" + std::to_string(serial++));
  std::filesystem::remove_all(path_);
  std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

void ProjectFixture::SetUp() {
  // Named a server for new projects, the tests run against a server project behind a link file.
  const char* server = std::getenv("KV_PROJECTDB_SERVER");
  file_ = folder_.path() / (server && *server ? "office_kv_hvac.kvlink" : "office_kv_hvac.kv");
  ASSERT_TRUE(SUCCEEDED(CreateProjectDatabase(real_)));
  VARIANT_BOOL ok = VARIANT_FALSE;
  _bstr_t path(file_.wstring());
  ASSERT_TRUE(SUCCEEDED(real_->CreateProject(path, &ok)));
  ASSERT_EQ(ok, VARIANT_TRUE) << "could not create " << file_;
  db_.Attach(new CountingDatabase(real_));
}

void ProjectFixture::TearDown() {
  VARIANT_BOOL done = VARIANT_FALSE;
  if (real_) real_->Close(&done);
}

void ProjectFixture::Exec(const std::wstring& sql) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  _bstr_t text(sql);
  ASSERT_TRUE(SUCCEEDED(real_->Execute(text, &ok)));
  ASSERT_EQ(ok, VARIANT_TRUE) << WideToUtf8(sql);
}

std::vector<_variant_t> ProjectFixture::Query(const std::wstring& sql) { return QueryColumn(real_.Get(), sql); }

double ProjectFixture::Number(const std::wstring& sql) {
  auto values = Query(sql);
  if (values.empty()) return -1;
  const VARIANT& v = values.front();
  switch (v.vt) {
    case VT_I4: return v.lVal;
    case VT_I2: return v.iVal;
    case VT_R8: return v.dblVal;
    default: return -1;
  }
}

}  // namespace kvtest
