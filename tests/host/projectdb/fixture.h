// Shared fixture of the project database tests: a temporary project folder, a connection, and
// short forms of the calls with rows as name/value lists.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ProjectDatabase.h"

namespace kvtest {

using Field = std::pair<std::wstring, _variant_t>;

inline SafeArrayPtr MakeRow(const std::vector<Field>& fields) {
  SafeArrayPtr row(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(2 * fields.size())));
  LONG at = 0;
  for (const Field& f : fields) {
    _variant_t name(f.first);
    SafeArrayPutElement(row.get(), &at, &name);
    ++at;
    SafeArrayPutElement(row.get(), &at, &f.second);
    ++at;
  }
  return row;
}

// The value of a named column in a row array; nullopt when the row does not carry it.
inline std::optional<_variant_t> Get(SAFEARRAY* row, const std::wstring& name) {
  if (!row) return std::nullopt;
  auto* items = static_cast<VARIANT*>(row->pvData);
  for (ULONG i = 0; i + 1 < row->rgsabound[0].cElements; i += 2)
    if (items[i].vt == VT_BSTR && name == items[i].bstrVal) return _variant_t(items[i + 1]);
  return std::nullopt;
}

inline LONG GetLong(SAFEARRAY* row, const std::wstring& name) {
  auto v = Get(row, name);
  if (!v) return -999999;
  return v->vt == VT_I4 ? v->lVal : v->vt == VT_R8 ? static_cast<LONG>(v->dblVal) : -999999;
}

inline std::wstring GetText(SAFEARRAY* row, const std::wstring& name) {
  auto v = Get(row, name);
  return v && v->vt == VT_BSTR ? std::wstring(v->bstrVal) : L"<not text>";
}

// The tests' one parameter: with a server named for new projects, every project is made there,
// behind a link file, instead of in a file.
inline bool OnServer() {
  const char* server = std::getenv("KV_PROJECTDB_SERVER");
  return server && *server;
}

#define KV_FILE_BACK_END_ONLY() \
  if (OnServer()) GTEST_SKIP() << "about the project file itself"

class ProjectFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("kvprojectdb-" + std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    file_ = (folder_ / (OnServer() ? "office_kv_hvac.kvlink" : "office_kv_hvac.kv")).string();
    ASSERT_EQ(CreateProjectDatabase(db_), S_OK);
  }
  void TearDown() override {
    db_.Reset();
    std::filesystem::remove_all(folder_);
  }

  // Creates the project file and leaves it open on db_.
  void CreateProject() {
    VARIANT_BOOL ok = VARIANT_FALSE;
    ASSERT_EQ(db_->CreateProject(_bstr_t(Utf8ToWide(file_)), &ok), S_OK);
    ASSERT_EQ(ok, VARIANT_TRUE) << LastError().second;
  }

  std::wstring Open(ProjectDatabase* db = nullptr) {
    _bstr_t result;
    EXPECT_EQ((db ? db : db_.Get())->Open(_bstr_t(Utf8ToWide(file_)), 0, 0, result.GetAddress()), S_OK);
    return result.str();
  }

  std::pair<LONG, std::wstring> LastError(ProjectDatabase* db = nullptr) {
    LONG code = 0;
    _bstr_t text;
    (db ? db : db_.Get())->GetLastError(&code, text.GetAddress());
    return {code, text.str()};
  }

  bool SetTable(const wchar_t* table, const wchar_t* index = L"", ProjectDatabase* db = nullptr) {
    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ((db ? db : db_.Get())->SetTable(_bstr_t(table), _bstr_t(index), &ok), S_OK);
    return ok == VARIANT_TRUE;
  }

  SafeArrayPtr Add(const std::vector<Field>& fields, ProjectDatabase* db = nullptr) {
    SafeArrayPtr row = MakeRow(fields);
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ((db ? db : db_.Get())->AddRecord(row.get(), 0, &out, &ok), S_OK);
    return SafeArrayPtr(ok == VARIANT_TRUE ? out : nullptr);
  }

  SafeArrayPtr First() {
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(db_->MoveFirst(&out, &found), S_OK);
    return SafeArrayPtr(found == VARIANT_TRUE ? out : nullptr);
  }

  SafeArrayPtr Next() {
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(db_->MoveNext(1, &out, &found), S_OK);
    return SafeArrayPtr(found == VARIANT_TRUE ? out : nullptr);
  }

  SafeArrayPtr Seek(const _variant_t& key) {
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(db_->Seek(key, &out, &found), S_OK);
    return SafeArrayPtr(found == VARIANT_TRUE ? out : nullptr);
  }

  // Every value of column in the selected table's index order, by MoveFirst/MoveNext.
  std::vector<LONG> Scan(const std::wstring& column) {
    std::vector<LONG> values;
    for (SafeArrayPtr row = First(); row; row = Next()) values.push_back(GetLong(row.get(), column));
    return values;
  }

  std::vector<_variant_t> Query(const wchar_t* sql) {
    SAFEARRAY* out = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(db_->QueryRow(_bstr_t(sql), &out, &found), S_OK);
    SafeArrayPtr values(out);
    std::vector<_variant_t> result;
    if (found != VARIANT_TRUE) return result;
    auto* items = static_cast<VARIANT*>(values->pvData);
    for (ULONG i = 0; i < values->rgsabound[0].cElements; ++i) result.emplace_back(items[i]);
    return result;
  }

  bool Execute(const wchar_t* sql) {
    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ(db_->Execute(_bstr_t(sql), &ok), S_OK);
    return ok == VARIANT_TRUE;
  }

  bool Eof() {
    VARIANT_BOOL eof = VARIANT_FALSE;
    EXPECT_EQ(db_->IsEof(&eof), S_OK);
    return eof == VARIANT_TRUE;
  }

  std::filesystem::path folder_;
  std::string file_;
  ProjectDatabasePtr db_;
};

}  // namespace kvtest
