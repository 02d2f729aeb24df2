// Private to kvhost: the open documents, each with its LISP environment, through the host's
// document manager.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lisp.h"

class Documents {
 public:
  // Runs in each new document with its environment current: the application layer and the
  // module's drawing load. False marks the start as failed.
  using Startup = std::function<bool(kvlisp::Environment&)>;

  explicit Documents(Startup startup);
  ~Documents();
  Documents(const Documents&) = delete;
  Documents& operator=(const Documents&) = delete;

  enum class Opened { Ok, StartupFailed, CannotOpen };
  // Opens the drawings in order (the last is current), or one unsaved drawing when none is given.
  Opened open(const std::vector<std::string>& drawings);
  // The current document's environment; null when no document is open.
  kvlisp::Environment* current();
  // Closes every document; their environments go with them.
  void closeAll();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
