// A project for benchmarks that work through the module: a new project file in a temporary folder
// (under KV_BENCH_DIR when set), one drawing of that folder open and connected, its project
// context in force, and a LISP session with the application layer's database and duct graph.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <string>

#include "ap.h"
#include "database/database.h"
#include "lisp.h"
#include "module/module.h"

class BenchProject {
 public:
  explicit BenchProject(const std::string& name) {
    const char* base = std::getenv("KV_BENCH_DIR");
    std::string dir = std::string(base ? base : "/tmp") + "/" + name + "_XXXXXX";
    dir_ = mkdtemp(dir.data());
    ProjectDatabasePtr db;
    VARIANT_BOOL ok = VARIANT_FALSE;
    CreateProjectDatabase(db);
    db->CreateProject(_bstr_t((dir_ / "bench_kv_hvac.kv").wstring().c_str()), &ok);
    db->Close(&ok);
    acDocManagerPtr()->closeAll();
    SetDocumentRegistry(std::make_unique<kvDocumentRegistry>(&ConnectMarkedProject));
    acDocManagerPtr()->openDocument((dir_ / "system.dwg").wstring().c_str());
    hvacPerDocData* document = CurrentDocument(DocumentRegistry());
    ConnectDocument(*document, false);
    context_.emplace(ContextOf(*document));
    scope_.emplace(*context_);
    kvads::setCurrentSession(&env_);
    env_.loadTopLevel(KV_SOURCE_DIR "/lisp/projectdb.lsp");
    env_.loadTopLevel(KV_SOURCE_DIR "/lisp/kv_hvac-ducts.lsp");
  }
  ~BenchProject() {
    kvads::setCurrentSession(nullptr);
    scope_.reset();
    context_.reset();
    acDocManagerPtr()->closeAll();
    SetDocumentRegistry(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }
  BenchProject(const BenchProject&) = delete;
  BenchProject& operator=(const BenchProject&) = delete;

  kvlisp::Environment& env() { return env_; }
  ProjectContext& context() { return *context_; }
  std::string file() const { return (dir_ / "bench_kv_hvac.kv").string(); }
  AcDbDatabase* drawing() const { return context_->drawing; }

 private:
  std::filesystem::path dir_;
  std::optional<ProjectContext> context_;
  std::optional<ProjectContextScope> scope_;
  kvlisp::Environment env_;
};
