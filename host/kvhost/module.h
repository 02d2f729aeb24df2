// Private to kvhost: the module as the platform holds it, loaded by name with its entry point.
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <exception>
#include <string>

#include "rxdefs.h"

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
