// A connected project with one open drawing, and a LISP layer played by the test: it answers the
// duct graph, the settings and the conversions from maps, and counts what it is asked.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ads.h"
#include "ap.h"
#include "database/database.h"
#include "ductwork/ductrows.h"

class GraphSession : public kvads::LispSession {
 public:
  int defun(const ACHAR*, int) override { return RTNORM; }
  int undef(const ACHAR*, int) override { return RTNORM; }
  int invoke(const resbuf* args, resbuf** result) override;

  std::map<std::int32_t, std::vector<std::int32_t>> next;
  std::map<std::int32_t, std::int32_t> prev;
  std::map<std::int32_t, std::int32_t> diffuser;
  // The answer of duct-getSettings, built anew for each question; null answers nil.
  std::function<resbuf*()> settings;
  // convert_rp_dp adds this to a point, convert_ra_da this to an angle; unset answers nil.
  std::optional<AcGeVector3d> shift;
  std::optional<double> turn;
  bool nextAsPoint = false;  // three ducts as one point instead of a list of integers
  bool failing = false;      // every question fails as a missing function would
  std::map<std::wstring, int> calls;
  std::vector<std::int32_t> alignments;  // the alignment numbers the conversions were given
};

// Runs a LISP body with the given arguments as the host would, and hands back its result.
inline ResbufPtr CallBody(LispBody body, resbuf* args, LispStatus* status = nullptr) {
  kvads::CallFrame frame(args);
  const LispStatus s = body();
  if (status) *status = s;
  return ResbufPtr(frame.takeResult());
}

inline bool IsNil(const ResbufPtr& result) { return !result || result->restype == RTNIL; }

class DuctRowsTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  tblDuct& Ducts() { return *context_->database.table<tblDuct>(); }
  tblGlobal& Globals() { return *context_->database.table<tblGlobal>(); }
  hvacPerProjectData& Project() { return context_->project; }
  // A row from a to b with the section given; its key.
  std::int32_t AddDuct(const AcGePoint3d& a, const AcGePoint3d& b, const wchar_t* shape = L"RC",
                       double width = 12.0, double depth = 8.0, const wchar_t* material = L"GS");
  // The row as stored, copied.
  KvDuctDbInfo Row(std::int32_t ixDuct);
  // Sets one column of a row by SQL, as the LISP layer would.
  void Exec(const std::wstring& sql);
  // to follows from, in the order of the calls.
  void Link(std::int32_t from, std::int32_t to) {
    session_.next[from].push_back(to);
    session_.prev[to] = from;
  }
  // The fitting at a duct's end: text and value, or "failed".
  std::wstring Fitting(std::int32_t ixDuct, std::wstring* value = nullptr);

  std::filesystem::path dir_;
  std::optional<ProjectContext> context_;
  std::unique_ptr<ProjectContextScope> scope_;
  GraphSession session_;
  std::string printed_;
};
