// kvhost: the stand-in host program. Loads the module, gives each document its LISP
// environment and the application layer, and runs expressions, scripts and a console.
#include <dirent.h>
#include <dlfcn.h>
#include <readline/history.h>
#include <readline/readline.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "inputqueue.h"
#include "lisp.h"
#include "rxdefs.h"

namespace {

const char kUsage[] =
    "usage: kvhost [--project DIR] [--open DRAWING]... [--input FILE] [-e EXPR]... [-i]\n"
    "              [--no-module] [SCRIPT.lsp]...\n"
    "\n"
    "Runs the HVAC module in the stand-in host.\n"
    "  --project DIR    the project folder of the unsaved drawing\n"
    "  --open DRAWING   opens a drawing, or creates it (the last one is current)\n"
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

// The module as the platform holds it: the library and its entry point.
class Module {
 public:
  using Entry = AcRx::AppRetCode (*)(AcRx::AppMsgCode, void*);

  // Loads it; false with a message in error() when it cannot.
  bool load(const std::string& path) {
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) return fail(dlerror());
    entry_ = reinterpret_cast<Entry>(dlsym(handle_, "acrxEntryPoint"));
    if (!entry_) return fail(path + " exports no acrxEntryPoint");
    return true;
  }
  bool loaded() const { return entry_ != nullptr; }
  const std::string& error() const { return error_; }
  // Sends a message; false when the module refuses it or lets an exception out.
  bool send(AcRx::AppMsgCode msg) {
    if (!entry_) return true;
    try {
      return entry_(msg, handle_) == AcRx::kRetOK;
    } catch (const std::exception& e) {
      std::fprintf(stderr, "kvhost: the module failed on message %d: %s\n", static_cast<int>(msg), e.what());
    } catch (...) {
      std::fprintf(stderr, "kvhost: the module failed on message %d\n", static_cast<int>(msg));
    }
    return false;
  }

 private:
  bool fail(const std::string& why) {
    error_ = why;
    return false;
  }
  void* handle_ = nullptr;  // kept open to the end: functions it defined stay callable
  Entry entry_ = nullptr;
  std::string error_;
};

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
      if (env.evalTopLevel(form, v)) kvads::consoleWrite(v.print(true) + "\n");
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

int run(const Options& o, kvlisp::Environment& env, Module& module) {
  int status = startDocument(env, module) ? 0 : 1;
  for (const Action& a : o.actions) {
    if (status != 0) break;
    bool ok = a.isScript ? env.loadTopLevel(a.text) : env.runTopLevel(a.text);
    if (!ok) status = 1;
  }
  if (o.interactive) repl(env);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Options o = parseArgs(argc, argv);
  try {
    for (const std::string& f : o.inputs) kvinput::InputQueue::instance().loadFile(f);
  } catch (const kvinput::ParseError& e) {
    std::fprintf(stderr, "kvhost: %s\n", e.what());
    return 2;
  }
  for (const std::string& d : o.drawings)
    std::fprintf(stderr, "kvhost: drawings are not built yet; --open %s is ignored\n", d.c_str());

  Module module;
  const char* override = std::getenv("KV_MODULE");
  std::string path = override ? override : exeFolder() + "/libkv_hvac.so";
  if (!module.load(path)) {
    std::fprintf(stderr, "kvhost: cannot load the module %s: %s%s\n", path.c_str(), module.error().c_str(),
                 o.noModule ? "; going on without it" : "");
    if (!o.noModule) return 2;
  }

  kvlisp::Environment env;  // the one unsaved document
  kvads::setCurrentSession(&env);
  int status = 0;
  try {
    if (!module.send(AcRx::kInitAppMsg)) {
      std::fprintf(stderr, "kvhost: the module refused to start\n");
      return 2;
    }
    status = run(o, env, module);
  } catch (const kvlisp::ExitRequest& e) {
    status = e.status;
  }
  module.send(AcRx::kUnloadAppMsg);
  kvads::consoleFlush();
  return status;
}
