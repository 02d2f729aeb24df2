// Test fixtures for the record classes: a fresh project file per test, and a connection wrapper
// that counts the component calls a record makes and keeps the last row it sent.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "ProjectDatabase.h"

class AcDbDatabase;

namespace kvtest {

// Forwards every call to a real connection, counting them by operation name.
class CountingDatabase : public ComObject<ProjectDatabase> {
 public:
  explicit CountingDatabase(ProjectDatabasePtr inner) : inner_(std::move(inner)) {}

  int Calls(const std::string& op) const {
    auto it = calls_.find(op);
    return it == calls_.end() ? 0 : it->second;
  }
  int TotalCalls() const;
  void ResetCounts() { calls_.clear(); }
  // Every later call fails with hr (S_OK restores forwarding), as a broken component would.
  void FailWith(HRESULT hr) { failWith_ = hr; }
  // Column names of the last row handed to AddRecord or UpdateRecord, in the order sent.
  const std::vector<std::wstring>& LastSentNames() const { return lastSent_; }

  HRESULT QueryInterface(REFIID iid, void** out) override;
  HRESULT Open(BSTR path, short a, short b, BSTR* result) override;
  HRESULT SetTable(BSTR table, BSTR index, VARIANT_BOOL* ok) override;
  HRESULT MoveFirst(SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT MoveNext(LONG count, SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT IsOpen(VARIANT_BOOL* open) override;
  HRESULT AddRecord(SAFEARRAY* row, LONG flags, SAFEARRAY** outRow, VARIANT_BOOL* ok) override;
  HRESULT CloseTables(VARIANT_BOOL* done) override;
  HRESULT Close(VARIANT_BOOL* done) override;
  HRESULT DeleteRecord(VARIANT_BOOL* done) override;
  HRESULT GetLastError(LONG* code, BSTR* text) override;
  HRESULT HasError(VARIANT_BOOL* hasError) override;
  HRESULT UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) override;
  HRESULT Seek(const VARIANT& key, SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT Seek2(const VARIANT& k1, const VARIANT& k2, SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT Seek3(const VARIANT& k1, const VARIANT& k2, const VARIANT& k3, SAFEARRAY** row,
                VARIANT_BOOL* found) override;
  HRESULT QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) override;
  HRESULT Execute(BSTR sql, VARIANT_BOOL* ok) override;
  HRESULT OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) override;
  HRESULT IsEof(VARIANT_BOOL* eof) override;
  HRESULT IsBof(VARIANT_BOOL* bof) override;
  HRESULT CreateProject(BSTR path, VARIANT_BOOL* ok) override;
  HRESULT Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) override;

 private:
  void Count(const char* op) { ++calls_[op]; }
  void Capture(SAFEARRAY* row);

  ProjectDatabasePtr inner_;
  std::map<std::string, int> calls_;
  std::vector<std::wstring> lastSent_;
  HRESULT failWith_ = S_OK;
};

// Writes the marker that makes a drawing take part in the project database: "KV_HVAC" = value,
// behind another key, as the application layer leaves it.
void WriteMarker(AcDbDatabase* drawing, const wchar_t* value);

// A temporary folder removed at the end of the test.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// A freshly created project file, opened on a real connection wrapped in a counter.
class ProjectFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Runs SQL on the connection and fails the test when the component refuses it.
  void Exec(const std::wstring& sql);
  // The first-column values of a query.
  std::vector<_variant_t> Query(const std::wstring& sql);
  // The number a one-value query answers (count(*) and the like); -1 when it answers nothing.
  double Number(const std::wstring& sql);

  TempFolder folder_;
  std::filesystem::path file_;
  ProjectDatabasePtr real_;
  ComPtr<CountingDatabase> db_;
};

}  // namespace kvtest
