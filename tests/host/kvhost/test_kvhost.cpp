// The host program as a user runs it: module messages, output order, exit status, start-up files,
// scripts and the input queue.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct HostRun {
  int status;
  std::string out;
};

// Runs kvhost through the shell with the stand-in module and an empty application layer unless
// the environment given says otherwise, after `prefix` (a shell command such as a cd); stdout
// captured, stderr appended after "--stderr--".
HostRun kvhost(const std::string& args, const std::string& env = "", const std::string& prefix = "") {
  std::string bin = KV_BINARY_DIR;
  static int calls = 0;  // test cases run in parallel processes: each call its own file
  fs::path err = fs::path(::testing::TempDir()) /
                 ("kvhost_stderr_" + std::to_string(getpid()) + "_" + std::to_string(++calls) + ".txt");
  std::string cmd = prefix + " KV_MODULE=" + bin + "/libkvhost_testmodule.so KV_LISP_DIR=/nonexistent " + env + " " +
                    bin + "/kvhost " + args + " 2>" + err.string();
  HostRun r{-1, ""};
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return r;
  char buf[4096];
  std::size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  int rc = pclose(p);
  r.status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  std::ifstream e(err);
  std::string errText((std::istreambuf_iterator<char>(e)), std::istreambuf_iterator<char>());
  if (!errText.empty()) r.out += "--stderr--" + errText;
  fs::remove(err);
  return r;
}

// What --project without --open says on standard error: how to open a drawing in the project.
std::string projectHint(const std::string& dir) {
  return "--stderr--kvhost: the unsaved drawing is not in the project; to work in it, open a drawing there: "
         "kvhost --project " + dir + " --open " + dir + "/NAME.dwg\n";
}

fs::path tempDir(const std::string& name) {
  fs::path d = fs::path(::testing::TempDir()) / name;
  fs::remove_all(d);
  fs::create_directories(d);
  return d;
}

TEST(Kvhost, ModuleMessagesAndOutputInOrder) {
  HostRun r = kvhost("-e '(princ \"a\")' -e '(test-mod-echo \"b\")' -e '(princ (strcat \"c\" (test-mod-echo \"d\")))'");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[init][load]abdcd[unload]");
}

TEST(Kvhost, ErrorsStopTheRunAndSetTheStatus) {
  HostRun r = kvhost("-e '(princ 1)' -e '(car 1)' -e '(princ 2)'");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "[init][load]1\n; error: bad argument type: consp 1\n[unload]");
  r = kvhost("-e '(test-mod-echo 5)'");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "[init][load]\n; error: ADS request error\n[unload]");
  r = kvhost("-e '(princ \"x\") (exit 5)' -e '(princ \"never\")'");
  EXPECT_EQ(r.status, 5);
  EXPECT_EQ(r.out, "[init][load]x[unload]");
  EXPECT_EQ(kvhost("-e '(exit 256)'").status, 1) << "a status the shell cannot carry is a failure";
  EXPECT_EQ(kvhost("-e '(exit -3)'").status, 1);
}

TEST(Kvhost, MissingModuleIsFatalUnlessAskedToGoOn) {
  HostRun r = kvhost("-e '(princ 1)'", "KV_MODULE=/no/such/libkv_hvac.so");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.out.find("cannot load the module /no/such/libkv_hvac.so"), std::string::npos) << r.out;
  r = kvhost("--no-module -e '(princ 1)'", "KV_MODULE=/no/such/libkv_hvac.so");
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.out.starts_with("1--stderr--")) << r.out;
}

TEST(Kvhost, ApplicationLayerLoadsSortedBeforeTheDrawingLoad) {
  fs::path dir = tempDir("kvhost_layer");
  std::ofstream(dir / "b.lsp") << "(princ \"B\") (defun layer-fn () \"L\")";
  std::ofstream(dir / "a.lsp") << "(princ \"A\")";
  std::ofstream(dir / "notes.txt") << "(princ \"not LISP\")";
  HostRun r = kvhost("-e '(princ (layer-fn))'", "KV_LISP_DIR=" + dir.string());
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[init]AB[load]L[unload]");
}

TEST(Kvhost, ScriptsRunInOrderWithExpressions) {
  fs::path dir = tempDir("kvhost_scripts");
  std::ofstream(dir / "one.lsp") << "(setq v (list 1))";
  std::ofstream(dir / "two.lsp") << "(setq v (cons 2 v)) (princ v)";
  HostRun r = kvhost((dir / "one.lsp").string() + " -e '(setq v (cons 9 v))' " + (dir / "two.lsp").string());
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[init][load](2 9 1)[unload]");
}

// The scenario runner relies on this: a scenario whose check fails makes kvhost fail.
TEST(Kvhost, AFailingScenarioFails) {
  fs::path dir = tempDir("kvhost_scenario");
  std::ofstream(dir / "bad.lsp") << "(defun check (what ok) (if (not ok) (progn (princ what) (exit 1))))\n"
                                    "(check \"arithmetic\" (= (+ 2 2) 5))\n(princ \"unreached\")";
  HostRun r = kvhost((dir / "bad.lsp").string());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "[init][load]arithmetic[unload]");
  std::ofstream(dir / "error.lsp") << "(car \"oops\")";
  EXPECT_EQ(kvhost((dir / "error.lsp").string()).status, 1);
  EXPECT_EQ(kvhost((dir / "missing.lsp").string()).status, 1);
}

TEST(Kvhost, CommandLine) {
  HostRun r = kvhost("--help");
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.out.starts_with("usage: kvhost [--project DIR] [--open DRAWING]...")) << r.out;
  EXPECT_EQ(kvhost("--frobnicate").status, 2);
  EXPECT_EQ(kvhost("-e").status, 2);
  fs::path dir = tempDir("kvhost_project");
  std::ofstream(dir / "script.lsp") << "(princ (findfile \"here.txt\"))";
  fs::create_directories(dir / "proj");
  std::ofstream(dir / "proj" / "here.txt") << "x";
  std::ofstream(dir / "proj" / "proj_kv_hvac.kv") << "";
  r = kvhost("--project proj script.lsp", "", "cd " + dir.string() + " &&");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[init][load]" + (dir / "proj" / "here.txt").string() + "[unload]" + projectHint("proj"))
      << "scripts named before the move still load; the project folder is where kvhost works";
  r = kvhost("--project new/sub -e '(princ 1)'", "", "cd " + dir.string() + " &&");
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(fs::is_directory(dir / "new" / "sub")) << "a missing project folder is made";
  r = kvhost("--open " + (dir / "plan.dwg").string() + " -e '(princ 1)'");
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.out.starts_with("[init][load]1[unload]")) << r.out;
}

// A project folder gets a project file when it has none, and only then: an existing one (even
// an old-format one) and several candidates are the module's to deal with.
TEST(Kvhost, ProjectFolderWithoutAProjectFileGetsOne) {
  fs::path dir = tempDir("kvhost_newproject");
  fs::path made = dir / "office" / "office_kv_hvac.kv";
  HostRun r = kvhost("--project " + (dir / "office").string() + " -e '(princ (kvdb-find \".\" \"kv_hvac\"))'");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(r.out, "kvhost: the project folder had no project file; created " + made.string() + "\n[init][load]" +
                       "./office_kv_hvac.kv[unload]" + projectHint((dir / "office").string()));
  EXPECT_EQ(kvhost("-e '(princ (kvdb-query \"" + made.string() + "\" \"SELECT COUNT(*) FROM tblMonth\"))'").out,
            "[init][load](12)[unload]")
      << "a full project, not an empty file";
  r = kvhost("--project " + (dir / "office").string() + " -e '(princ 1)'");
  EXPECT_EQ(r.out, "[init][load]1[unload]" + projectHint((dir / "office").string())) << "the second run finds it";
  r = kvhost("--project " + (dir / "office").string() + " --open " + (dir / "office" / "a.dwg").string() + " -e '(princ 1)'");
  EXPECT_EQ(r.out, "[init][load]1[unload]") << "with a drawing in the project there is nothing to say";

  fs::create_directories(dir / "old");
  std::ofstream(dir / "old" / "old_kv_hvac.mdb") << "";
  fs::create_directories(dir / "two");
  std::ofstream(dir / "two" / "a_kv_hvac.kv") << "";
  std::ofstream(dir / "two" / "b_kv_hvac.kv") << "";
  fs::create_directories(dir / "master");
  std::ofstream(dir / "master" / "x_MASTER_kv_hvac.kv") << "";
  for (const char* folder : {"old", "two"}) {
    r = kvhost("--project " + (dir / folder).string() + " -e '(princ 1)'");
    EXPECT_EQ(r.out, "[init][load]1[unload]" + projectHint((dir / folder).string())) << folder;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(dir / "two"), fs::directory_iterator()), 2);
  r = kvhost("--project " + (dir / "master").string() + " -e '(princ 1)'");
  EXPECT_TRUE(fs::exists(dir / "master" / "master_kv_hvac.kv")) << "a master file is not the project's: " << r.out;
}

TEST(Kvhost, InputFileFillsTheQueue) {
  fs::path dir = tempDir("kvhost_input");
  std::ofstream(dir / "ok.txt") << "# a session\npoint 10,20\nenter\n\ntext hello\n";
  std::ofstream(dir / "bad.txt") << "point 10\n";
  HostRun r = kvhost("--input " + (dir / "ok.txt").string() + " -e '(princ (kvhost-input \"esc\"))'");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[init][load]4[unload]");
  r = kvhost("--input " + (dir / "bad.txt").string());
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.out.find("bad.txt:1: bad point"), std::string::npos) << r.out;
  r = kvhost("-e '(kvhost-input \"point 1,2\" \"jump\")'");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("; error: kvhost-input: unknown event 'jump'"), std::string::npos) << r.out;
}

TEST(Kvhost, InteractiveConsoleReadsWholeExpressions) {
  HostRun r = kvhost("-i < /dev/null");
  EXPECT_EQ(r.status, 0);
  fs::path dir = tempDir("kvhost_repl");
  std::ofstream(dir / "in.txt") << "(setq a\n 5)\n(car 1)\n(+ a 1) \"s\"\n)\n(princ)\n";
  r = kvhost("-i < " + (dir / "in.txt").string());
  EXPECT_EQ(r.status, 0) << "errors at the console do not end the session";
  EXPECT_NE(r.out.find("5\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("; error: bad argument type: consp 1"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("6\n\"s\"\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("; error: extra right paren on input"), std::string::npos) << r.out;
}

}  // namespace
