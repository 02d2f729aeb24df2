// Helpers shared by the bridge's tests: console capture, a recording LISP session, and calls of
// entry functions as LISP makes them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bridge/bridge.h"
#include "module/module.h"

// Collects what the module prints while it lives.
class ConsoleCapture {
 public:
  ConsoleCapture() {
    kvads::setConsoleSink([this](std::string_view s) { text_ += s; });
  }
  ~ConsoleCapture() { kvads::setConsoleSink(nullptr); }
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;
  // What was printed since the last take.
  std::string take() { return std::exchange(text_, std::string()); }

 private:
  std::string text_;
};

// A LISP environment that records definitions and calls; invoked functions answer nil.
class RecordingSession : public kvads::LispSession {
 public:
  RecordingSession() { kvads::setCurrentSession(this); }
  ~RecordingSession() { kvads::setCurrentSession(nullptr); }
  RecordingSession(const RecordingSession&) = delete;
  RecordingSession& operator=(const RecordingSession&) = delete;

  int defun(const ACHAR* name, int funcNumber) override {
    defined[name] = funcNumber;
    ++defunCalls;
    return RTNORM;
  }
  int undef(const ACHAR* name, int) override { return defined.erase(name) ? RTNORM : RTERROR; }
  int invoke(const resbuf* args, resbuf** result) override {
    invoked.emplace_back(args->resval.rstring);
    *result = acutBuildList(RTNIL, 0);
    return RTNORM;
  }

  std::map<std::wstring, int> defined;
  int defunCalls = 0;
  std::vector<std::wstring> invoked;
};

// What one call of an entry function gave.
struct EntryCall {
  int code = 0;
  ResbufPtr result;
  bool hasResult = false;
};

// Calls an entry as the host does for a LISP call; takes ownership of args.
inline EntryCall CallEntry(int (*entry)(), resbuf* args) {
  kvads::CallFrame frame(args);
  EntryCall call;
  call.code = entry();
  call.hasResult = frame.hasResult();
  call.result.reset(frame.takeResult());
  return call;
}

// The entry function of a LISP name in the module's table; null when absent.
inline int (*EntryOf(const std::wstring& name))() {
  const LispFunctionRow* table = LispFunctionTable();
  for (int i = 0; i < kLispFunctionCount; ++i)
    if (name == table[i].name) return table[i].entry;
  return nullptr;
}
