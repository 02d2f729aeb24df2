// The reader: AutoLISP source text to values. Iterative, so that no input can exhaust the stack.
#include <charconv>
#include <cstdlib>
#include <string>

#include "reader.h"

namespace kvlisp {

namespace {

bool isDelimiter(char c) {
  return c == '(' || c == ')' || c == '\'' || c == '"' || c == ';' || c == ' ' || c == '\t' || c == '\n' ||
         c == '\r' || c == '\f' || c == '\v';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A number when the whole token is one: [+-]digits[.digits][e[+-]digits] or [+-].digits...
bool parseNumber(std::string_view tok, Value& out) {
  std::size_t i = 0, n = tok.size();
  if (i < n && (tok[i] == '+' || tok[i] == '-')) ++i;
  std::size_t intDigits = 0, fracDigits = 0;
  while (i < n && isDigit(tok[i])) ++i, ++intDigits;
  bool isReal = false;
  if (i < n && tok[i] == '.') {
    isReal = true;
    ++i;
    while (i < n && isDigit(tok[i])) ++i, ++fracDigits;
  }
  if (intDigits + fracDigits == 0) return false;
  if (i < n && (tok[i] == 'e' || tok[i] == 'E')) {
    isReal = true;
    ++i;
    if (i < n && (tok[i] == '+' || tok[i] == '-')) ++i;
    std::size_t expDigits = 0;
    while (i < n && isDigit(tok[i])) ++i, ++expDigits;
    if (expDigits == 0) return false;
  }
  if (i != n) return false;
  const char* first = tok.data() + (tok[0] == '+' ? 1 : 0);
  const char* last = tok.data() + n;
  if (!isReal) {
    std::int32_t v = 0;
    auto r = std::from_chars(first, last, v);
    if (r.ec == std::errc() && r.ptr == last) {  // a wider integer reads as a real
      out = Value::integer(v);
      return true;
    }
  }
  double x = 0;
  auto r = std::from_chars(first, last, x);
  if (r.ec == std::errc::result_out_of_range) x = std::strtod(std::string(tok).c_str(), nullptr);
  out = Value::real(x);
  return true;
}

}  // namespace

void Reader::skipSpace() {
  while (pos_ < src_.size()) {
    char c = src_[pos_];
    if (c == ';') {
      if (pos_ + 1 < src_.size() && src_[pos_ + 1] == '|') {
        std::size_t end = src_.find("|;", pos_ + 2);
        pos_ = end == std::string_view::npos ? src_.size() : end + 2;
      } else {
        std::size_t end = src_.find('\n', pos_);
        pos_ = end == std::string_view::npos ? src_.size() : end + 1;
      }
    } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
      ++pos_;
    } else {
      return;
    }
  }
}

Value Reader::readString() {
  std::string s;
  ++pos_;  // the opening quote
  while (pos_ < src_.size()) {
    char c = src_[pos_++];
    if (c == '"') return Value::string(std::move(s));
    if (c != '\\' || pos_ >= src_.size()) {
      s.push_back(c);
      continue;
    }
    char e = src_[pos_++];
    switch (e) {
      case 'n': s.push_back('\n'); break;
      case 'r': s.push_back('\r'); break;
      case 't': s.push_back('\t'); break;
      case 'e': s.push_back('\x1b'); break;
      default:
        if (e >= '0' && e <= '7') {  // up to three octal digits
          int code = e - '0';
          for (int k = 0; k < 2 && pos_ < src_.size() && src_[pos_] >= '0' && src_[pos_] <= '7'; ++k)
            code = code * 8 + (src_[pos_++] - '0');
          s.push_back(static_cast<char>(code));
        } else {
          s.push_back(e);  // \\, \" and any other character stand for themselves
        }
    }
  }
  throw Error("malformed string on input");
}

std::string_view Reader::readToken() {
  std::size_t start = pos_;
  while (pos_ < src_.size() && !isDelimiter(src_[pos_])) ++pos_;
  return src_.substr(start, pos_ - start);
}

// Hands a finished datum to the innermost open list or quote; true when a whole top-level
// expression is complete (then it is in `out`).
bool Reader::deliver(Value v, Value& out) {
  for (;;) {
    if (open_.empty()) {
      out = std::move(v);
      return true;
    }
    Frame& f = open_.back();
    if (f.quote) {
      open_.pop_back();
      v = Value::list({Value::symbol("QUOTE"), std::move(v)});
      continue;
    }
    if (f.afterDot) {
      if (f.hasTail) throw Error("invalid dotted pair");
      f.tail = std::move(v);
      f.hasTail = true;
    } else {
      if (f.hasTail) throw Error("invalid dotted pair");
      f.items.push_back(std::move(v));
    }
    return false;
  }
}

Value Reader::closeList() {
  Frame f = std::move(open_.back());
  open_.pop_back();
  if (f.afterDot && !f.hasTail) throw Error("invalid dotted pair");
  Value result = f.tail;
  for (auto it = f.items.rbegin(); it != f.items.rend(); ++it) result = Value::cons(std::move(*it), std::move(result));
  return result;
}

bool Reader::next(Value& out) {
  open_.clear();
  for (;;) {
    skipSpace();
    if (pos_ >= src_.size()) {
      if (open_.empty()) return false;
      open_.clear();
      throw Error("malformed list on input");
    }
    char c = src_[pos_];
    Value datum;
    if (c == '(') {
      ++pos_;
      open_.push_back(Frame{});
      continue;
    }
    if (c == '\'') {
      ++pos_;
      Frame q;
      q.quote = true;
      open_.push_back(std::move(q));
      continue;
    }
    if (c == ')') {
      ++pos_;
      if (open_.empty() || open_.back().quote) throw Error("extra right paren on input");
      datum = closeList();
    } else if (c == '"') {
      datum = readString();
    } else {
      std::string_view tok = readToken();
      if (tok == ".") {
        if (open_.empty() || open_.back().quote || open_.back().items.empty() || open_.back().afterDot)
          throw Error("invalid dotted pair");
        open_.back().afterDot = true;
        continue;
      }
      if (!parseNumber(tok, datum)) datum = Value::symbol(tok);
    }
    if (deliver(std::move(datum), out)) return true;
  }
}

std::vector<Value> readAll(std::string_view source) {
  Reader r(source);
  std::vector<Value> all;
  Value v;
  while (r.next(v)) all.push_back(std::move(v));
  return all;
}

Value readOne(std::string_view source) {
  Reader r(source);
  Value v;
  return r.next(v) ? v : Value();
}

}  // namespace kvlisp
