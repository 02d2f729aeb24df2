// kvhost: the stand-in host program. Loads the module, gives each document its LISP
// environment and the application layer, and runs expressions, scripts and a console.
#include <dirent.h>
#include <readline/history.h>
#include <readline/readline.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "documents.h"
#include "inputqueue.h"
#include "lisp.h"
#include "module.h"

namespace {

const char kUsage[] =
    "usage: kvhost [--project DIR] [--open DRAWING]... [--recover DRAWING]... [--input FILE]\n"
    "              [-e EXPR]... [-i] [--no-module] [SCRIPT.lsp]...\n"
    "\n"
    "Runs the HVAC module in the stand-in host.\n"
    "  --project DIR    works in DIR (made when missing); a new <DIR name>_kv_hvac.kv is made\n"
    "                   when DIR has no project file. Only drawings in DIR connect to it: give\n"
    "                   --open DIR/NAME.dwg too (an unsaved drawing has no folder, no project)\n"
    "  --open DRAWING   opens a drawing, or creates it (the last one is current)\n"
    "  --recover DRAWING  reads what it can of a damaged drawing and opens it as\n"
    "                   NAME_recovered.dwg beside it, reporting what was dropped\n"
    "  --input FILE     fills the user-input queue (grammar: host/kvhost/README.md)\n"
    "  -e EXPR          evaluates a LISP expression\n"
    "  -i               an interactive LISP console after everything else\n"
    "  --no-module      goes on without libkv_hvac.so when it cannot be loaded\n"
    "  SCRIPT.lsp       loads a LISP file\n"
    "-e expressions and scripts run in the order given, in the current document. The exit status is\n"
    "0, 1 after an uncaught LISP error, 2 for a usage or start-up fault, or N after (exit N).\n"
    "Environment: KV_LISP_DIR (the application layer folder), KV_MODULE (the module file).\n";

struct Action {
  bool isScript;
  std::string text;
};

struct Options {
  std::string project;
  std::vector<std::string> drawings;
  std::vector<std::string> inputs;
  std::vector<Action> actions;
  bool interactive = false;
  bool noModule = false;
};

// --recover runs the host's LISP recovery before the expressions and scripts that follow it.
std::string recoverExpression(const std::string& path) {
  std::string quoted;
  for (char c : std::filesystem::absolute(path).lexically_normal().string()) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return "(kvhost-recover \"" + quoted + "\")";
}

// Parses the command line; exits with 2 (or 0 for --help) when it cannot be followed.
Options parseArgs(int argc, char** argv) {
  Options o;
  auto value = [&](int& i) -> std::string {
    if (i + 1 >= argc) {
      std::fprintf(stderr, "kvhost: %s needs a value\n%s", argv[i], kUsage);
      std::exit(2);
    }
    return argv[++i];
  };
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--help" || a == "-h") {
      std::fputs(kUsage, stdout);
      std::exit(0);
    } else if (a == "--project") o.project = value(i);
    else if (a == "--open") o.drawings.push_back(value(i));
    else if (a == "--recover") o.actions.push_back({false, recoverExpression(value(i))});
    else if (a == "--input") o.inputs.push_back(value(i));
    else if (a == "-e") o.actions.push_back({false, value(i)});
    else if (a == "-i") o.interactive = true;
    else if (a == "--no-module") o.noModule = true;
    else if (a.size() > 1 && a[0] == '-') {
      std::fprintf(stderr, "kvhost: unknown option %s\n%s", a.c_str(), kUsage);
      std::exit(2);
    } else o.actions.push_back({true, a});
  }
  return o;
}

std::string exeFolder() {
  std::vector<char> buf(4096);
  ssize_t n = readlink("/proc/self/exe", buf.data(), buf.size() - 1);
  if (n <= 0) return ".";
  std::string path(buf.data(), static_cast<std::size_t>(n));
  return path.substr(0, path.rfind('/'));
}

std::string lispFolder() {
  if (const char* dir = std::getenv("KV_LISP_DIR")) return dir;
  return KV_DEFAULT_LISP_DIR;
}

// The application layer's files, sorted by name.
std::vector<std::string> applicationFiles(const std::string& folder) {
  std::vector<std::string> files;
  if (DIR* d = opendir(folder.c_str())) {
    while (dirent* e = readdir(d)) {
      std::string name = e->d_name;
      if (name.size() > 4 && name.ends_with(".lsp")) files.push_back(folder + "/" + name);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

// True for the reader's complaints about input that may go on on the next line.
bool unfinished(const kvlisp::Error& e) {
  std::string_view what = e.what();
  return what == "malformed list on input" || what == "malformed string on input";
}

// Reads complete expressions from the console and prints each value, until end of input.
void repl(kvlisp::Environment& env) {
  std::string pending;
  for (;;) {
    kvads::consoleFlush();
    char* line = readline(pending.empty() ? "_$ " : "  ");
    if (!line) break;
    std::string text = line;
    std::free(line);
    if (!text.empty()) add_history(text.c_str());
    pending += text + "\n";
    std::vector<kvlisp::Value> forms;
    try {
      forms = kvlisp::readAll(pending);
    } catch (const kvlisp::Error& e) {
      if (unfinished(e)) continue;
      kvads::consoleWrite(std::string("; error: ") + e.what() + "\n");
    }
    pending.clear();
    for (const kvlisp::Value& form : forms) {
      kvlisp::Value v;
      if (!env.evalTopLevel(form, v)) continue;
      bool nothing = v.isSymbol() && v.symbolName().empty();  // what (princ) answers
      if (!nothing) kvads::consoleWrite(v.print(true) + "\n");
    }
  }
  kvads::consoleWrite("\n");
}

// Runs the document's start-up: the application layer, then the module's drawing load.
bool startDocument(kvlisp::Environment& env, Module& module) {
  bool ok = true;
  for (const std::string& f : applicationFiles(lispFolder())) ok = env.loadTopLevel(f) && ok;
  if (!module.send(AcRx::kLoadDwgMsg)) {
    std::fprintf(stderr, "kvhost: the module refused the drawing load\n");
    ok = false;
  }
  return ok;
}

// Expressions and scripts in order, each in the document current when it starts; the first
// uncaught error ends them with 1 (the console, when asked for, opens all the same).
int runActions(const Options& o, Documents& docs) {
  int status = 0;
  for (const Action& a : o.actions) {
    kvlisp::Environment* env = docs.current();
    if (!env) {
      std::fprintf(stderr, "kvhost: no document is open\n");
      return 1;
    }
    if (!(a.isScript ? env->loadTopLevel(a.text) : env->runTopLevel(a.text))) {
      status = 1;
      break;
    }
  }
  if (o.interactive && docs.current()) repl(*docs.current());  // also after a failure: to look into it
  return status;
}

// Paths given relative to where kvhost was started, made absolute before --project moves there.
void anchorPaths(Options& o) {
  auto absolute = [](std::string& p) { p = std::filesystem::absolute(p).lexically_normal().string(); };
  for (auto& d : o.drawings) absolute(d);
  for (auto& i : o.inputs) absolute(i);
  for (auto& a : o.actions)
    if (a.isScript) absolute(a.text);
}

// --project DIR: the working folder, so that an unsaved drawing's project (the folder "") is DIR.
bool enterProject(const std::string& dir) {
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (chdir(dir.c_str()) != 0) {
    std::fprintf(stderr, "kvhost: cannot work in the project folder %s\n", dir.c_str());
    return false;
  }
  return true;
}

// A project folder without a project file gets a new one, named so that the finder picks it
// ("<folder>_kv_hvac.kv"): drawings opened in it connect instead of reporting that no database
// was found. A folder with several candidates is left alone, for the module to report. Without
// the project database component in this configuration nothing is made. False when the file
// was needed and could not be made.
bool ensureProjectFile() {
  if (!kvlisp::findNative("kvdb-candidates") || !kvlisp::findNative("kvdb-create") || !kvlisp::findNative("kvdb-newPath"))
    return true;
  const std::string folder = std::filesystem::current_path().string();
  kvlisp::Environment env;
  try {
    if (!env.call("kvdb-candidates", {kvlisp::Value::string(folder), kvlisp::Value::string("kv_hvac")}).isNil())
      return true;
    // A file, or a link when the office names a server for new projects.
    const std::string path =
        env.call("kvdb-newPath", {kvlisp::Value::string(folder), kvlisp::Value::string("kv_hvac")}).asString();
    env.call("kvdb-create", {kvlisp::Value::string(path)});
    std::printf("kvhost: the project folder had no project file; created %s\n", path.c_str());
    return true;
  } catch (const kvlisp::Error& e) {
    std::fprintf(stderr, "kvhost: cannot create the project file in %s: %s\n", folder.c_str(), e.what());
    return false;
  }
}

// Start, documents, actions, stop: the exit status.
int session(const Options& o, Module& module) {
  if (!module.send(AcRx::kInitAppMsg)) {
    std::fprintf(stderr, "kvhost: the module refused to start\n");
    return 2;
  }
  int status = 0;
  {
    Documents docs([&module](kvlisp::Environment& env) { return startDocument(env, module); });
    try {
      switch (docs.open(o.drawings)) {
        case Documents::Opened::CannotOpen: status = 2; break;
        case Documents::Opened::StartupFailed: status = 1; break;
        case Documents::Opened::Ok: status = runActions(o, docs); break;
      }
    } catch (const kvlisp::ExitRequest& e) {
      status = e.status >= 0 && e.status <= 255 ? e.status : 1;  // (exit 256) must not read as success
    }
    docs.closeAll();
  }
  module.send(AcRx::kUnloadAppMsg);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);  // a module that crashes still leaves what came before
  Options o = parseArgs(argc, argv);
  if (!o.project.empty()) {
    anchorPaths(o);
    if (!enterProject(o.project) || !ensureProjectFile()) return 2;
    if (o.drawings.empty())
      std::fprintf(stderr, "kvhost: the unsaved drawing is not in the project; to work in it, open a drawing there: "
                   "kvhost --project %s --open %s/NAME.dwg\n", o.project.c_str(), o.project.c_str());
  }
  try {
    for (const std::string& f : o.inputs) kvinput::InputQueue::instance().loadFile(f);
  } catch (const kvinput::ParseError& e) {
    std::fprintf(stderr, "kvhost: %s\n", e.what());
    return 2;
  }
  Module module;
  const char* override = std::getenv("KV_MODULE");
  std::string path = override ? override : exeFolder() + "/libkv_hvac.so";
  if (!module.load(path)) {
    std::fprintf(stderr, "kvhost: cannot load the module %s: %s%s\n", path.c_str(), module.error().c_str(),
                 o.noModule ? "; going on without it" : "");
    if (!o.noModule) return 2;
  }
  int status = session(o, module);
  kvads::consoleFlush();
  return status;
}
