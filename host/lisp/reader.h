// Private to the interpreter: the reader, one expression at a time, so that a file's earlier
// expressions run before a later one turns out to be malformed.
#pragma once

#include <string_view>
#include <vector>

#include "internal.h"

namespace kvlisp {

class Reader {
 public:
  explicit Reader(std::string_view source) : src_(source) {}
  // The next expression into `out`; false at the end. Throws Error on malformed input.
  bool next(Value& out);

 private:
  struct Frame {
    std::vector<Value> items;
    Value tail;
    bool quote = false, afterDot = false, hasTail = false;
  };
  void skipSpace();
  Value readString();
  std::string_view readToken();
  bool deliver(Value v, Value& out);
  Value closeList();

  std::string_view src_;
  std::size_t pos_ = 0;
  std::vector<Frame> open_;
};

}  // namespace kvlisp
