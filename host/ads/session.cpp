// The bridge's state: the current LISP session, the registered entries, the call in progress
// with its arguments and result, and the console every message goes to.
#include <algorithm>
#include <cstdio>
#include <unordered_map>
#include <vector>

#include "ads.h"

namespace kvads {

namespace {

LispSession* gSession = nullptr;
CallFrame* gFrame = nullptr;

// Function codes are small numbers counted up from 0 by each module, and every LISP call of a
// module looks its entry up: a table by code, with a map for the odd large or negative code.
constexpr int kDirectCodes = 4096;

struct EntryTable {
  std::vector<EntryFunction> direct = std::vector<EntryFunction>(kDirectCodes, nullptr);
  std::unordered_map<int, EntryFunction> other;

  EntryFunction find(int code) const {
    if (code >= 0 && code < kDirectCodes) return direct[static_cast<std::size_t>(code)];
    auto it = other.find(code);
    return it == other.end() ? nullptr : it->second;
  }
  void set(int code, EntryFunction entry) {
    if (code >= 0 && code < kDirectCodes) direct[static_cast<std::size_t>(code)] = entry;
    else if (entry) other[code] = entry;
    else other.erase(code);
  }
};

EntryTable& entries() {
  static EntryTable table;
  return table;
}

std::function<void(std::string_view)>& sink() {
  static std::function<void(std::string_view)> s;
  return s;
}

// Sets the result of the call in progress; RTERROR when no call is in progress.
int setResult(resbuf* cells) {
  if (!gFrame) {
    acutRelRb(cells);
    return RTERROR;
  }
  gFrame->setResult(cells);
  return RTNORM;
}

}  // namespace

void setCurrentSession(LispSession* session) { gSession = session; }
LispSession* currentSession() { return gSession; }

EntryFunction registeredEntry(int funcNumber) {
  return entries().find(funcNumber);
}

CallFrame::CallFrame(resbuf* args) : args_(args), outer_(gFrame) { gFrame = this; }

CallFrame::CallFrame(const resbuf* args, Borrowed) : args_(args), ownsArgs_(false), outer_(gFrame) {
  gFrame = this;
}

CallFrame::~CallFrame() {
  gFrame = outer_;
  if (args_ && ownsArgs_) acutRelRb(const_cast<resbuf*>(args_));
  releaseResult();
}

void CallFrame::releaseResult() {
  if (result_ == &one_) {
    if (holdsString(one_.restype)) std::free(one_.resval.rstring);
    one_ = resbuf{};
  } else if (result_) {
    acutRelRb(result_);
  }
  result_ = nullptr;
}

resbuf* CallFrame::takeResult() {
  if (result_ == &one_) {
    resbuf* copy = copyChain(&one_);
    releaseResult();
    return copy;
  }
  resbuf* r = result_;
  result_ = nullptr;
  return r;
}

void CallFrame::setResult(resbuf* cells) {
  releaseResult();
  result_ = cells;
  hasResult_ = true;
  listForm_ = false;
}

resbuf* CallFrame::setOneCellResult(int type) {
  releaseResult();
  one_ = resbuf{nullptr, static_cast<short>(type), {}};
  result_ = &one_;
  hasResult_ = true;
  listForm_ = false;
  return &one_;
}

void CallFrame::setListResult(resbuf* cells) {
  setResult(cells);
  listForm_ = true;
}

CallFrame* CallFrame::current() { return gFrame; }

namespace {
bool gAtLineStart = true;
}  // namespace

bool consoleAtLineStart() { return gAtLineStart; }

void consoleWrite(std::string_view utf8) {
  if (utf8.empty()) return;
  gAtLineStart = utf8.back() == '\n';
  if (sink())
    sink()(utf8);
  else
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
}

void setConsoleSink(std::function<void(std::string_view)> s) {
  std::fflush(stdout);
  sink() = std::move(s);
}

void consoleFlush() { std::fflush(stdout); }

std::size_t utf8CharBytes(std::string_view s, std::size_t i) {
  auto c = static_cast<unsigned char>(s[i]);
  std::size_t extra = c < 0x80 ? 0 : c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : s.size();
  if (i + extra >= s.size()) return 1;  // a stray or cut byte, never read past the end
  for (std::size_t k = 1; k <= extra; ++k)
    if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return 1;
  return extra + 1;
}

std::wstring toWide(std::string_view s) {
  if (std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
    return std::wstring(s.begin(), s.end());
  std::wstring out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    auto c = static_cast<unsigned char>(s[i]);
    std::size_t n = utf8CharBytes(s, i);
    if (n == 1) {
      out.push_back(c < 0x80 ? static_cast<wchar_t>(c) : L'\uFFFD');  // a stray or cut byte: replaced
    } else {
      char32_t cp = c & (0x3F >> (n - 1));
      for (std::size_t k = 1; k < n; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
      out.push_back(static_cast<wchar_t>(cp));
    }
    i += n;
  }
  return out;
}

std::string toUtf8(std::wstring_view w) {
  if (std::all_of(w.begin(), w.end(), [](wchar_t c) { return c >= 0 && c < 0x80; }))
    return std::string(w.begin(), w.end());
  std::string out;
  out.reserve(w.size());
  for (wchar_t wc : w) {
    auto cp = static_cast<char32_t>(wc);
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) cp = 0xFFFD;  // not encodable: replaced
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

}  // namespace kvads

using kvads::CallFrame;

const resbuf* kvads::callArgs() { return CallFrame::current() ? CallFrame::current()->args() : nullptr; }

resbuf* acedGetArgs() {
  return CallFrame::current() ? kvads::copyChain(CallFrame::current()->args()) : nullptr;
}

namespace {

// The call in progress's own result cell, to be filled; null outside a call. These run once per
// module call, so a plain value costs no allocation.
resbuf* oneCell(int type) {
  kvads::CallFrame* frame = kvads::CallFrame::current();
  return frame ? frame->setOneCellResult(type) : nullptr;
}

}  // namespace

int acedRetNil() { return oneCell(RTNIL) ? RTNORM : RTERROR; }
int acedRetT() { return oneCell(RTT) ? RTNORM : RTERROR; }
int acedRetVoid() { return oneCell(RTVOID) ? RTNORM : RTERROR; }
int acedRetReal(ads_real value) {
  resbuf* rb = oneCell(RTREAL);
  if (!rb) return RTERROR;
  rb->resval.rreal = value;
  return RTNORM;
}
int acedRetPoint(const ads_point point) {
  resbuf* rb = oneCell(RT3DPOINT);
  if (!rb) return RTERROR;
  for (int i = 0; i < 3; ++i) rb->resval.rpoint[i] = point ? point[i] : 0.0;
  return RTNORM;
}
int acedRetStr(const ACHAR* text) {
  resbuf* rb = oneCell(RTSTR);
  if (!rb) return RTERROR;
  rb->resval.rstring = kvads::dupString(text);
  return RTNORM;
}

// The platform keeps an int result in 16 bits when it fits; wider values travel as a long.
int acedRetInt(int value) {
  const bool isShort = value >= -32768 && value <= 32767;
  resbuf* rb = oneCell(isShort ? RTSHORT : RTLONG);
  if (!rb) return RTERROR;
  if (isShort) rb->resval.rint = static_cast<short>(value);
  else rb->resval.rlong = static_cast<std::int32_t>(value);
  return RTNORM;
}

int acedRetName(const ads_name name, int type) {
  if (type != RTENAME && type != RTPICKS) return RTERROR;
  resbuf* rb = oneCell(type);
  if (!rb) return RTERROR;
  rb->resval.rlname[0] = name ? name[0] : 0;
  rb->resval.rlname[1] = name ? name[1] : 0;
  return RTNORM;
}

// The list form of the result: the cells are the list's items, without an enclosing RTLB/RTLE.
// A chain that is itself one whole list (RTLB ... its matching end, nothing after) is that list,
// as on the platform, so that a module's RTLB ... RTLE result is not nested once more. A pair ends
// at RTLE in a module's form (RTLB a RTDOTE b RTLE) but at the dot in LISP's own (RTLB a b RTDOTE):
// a dot after one item opens the tail, after several it ends the pair.
namespace {
// Items read so far in each open list: a few levels inline, as results seldom nest deeper.
class OpenCounts {
 public:
  bool empty() const { return n_ == 0; }
  int& back() { return n_ <= kInline ? inline_[n_ - 1] : more_.back(); }
  void push_back(int v) {
    if (n_ < kInline) inline_[n_] = v;
    else more_.push_back(v);
    ++n_;
  }
  void pop_back() {
    if (n_ > kInline) more_.pop_back();
    --n_;
  }

 private:
  static constexpr std::size_t kInline = 16;
  int inline_[kInline] = {};
  std::vector<int> more_;
  std::size_t n_ = 0;
};
}  // namespace

static bool isOneWholeList(const resbuf* rb) {
  if (!rb || rb->restype != RTLB) return false;
  OpenCounts open;
  for (; rb; rb = rb->rbnext) {
    bool closes = false;
    if (rb->restype == RTLB) {
      if (!open.empty()) ++open.back();
      open.push_back(0);
    } else if (rb->restype == RTLE) {
      closes = true;
    } else if (rb->restype == RTDOTE) {
      if (open.empty()) return false;
      closes = open.back() >= 2;
    } else if (!open.empty()) {
      ++open.back();
    }
    if (closes) {
      if (open.empty()) return false;
      open.pop_back();
      if (open.empty()) return rb->rbnext == nullptr;
    }
  }
  return false;
}

int acedRetList(const resbuf* list) {
  if (isOneWholeList(list)) return kvads::setResult(kvads::copyChain(list));
  resbuf* items = kvads::copyChain(list);
  resbuf* open = acutNewRb(RTLB);
  open->rbnext = items;
  resbuf* tail = open;
  while (tail->rbnext) tail = tail->rbnext;
  tail->rbnext = acutNewRb(RTLE);
  return kvads::setResult(open);
}

int kvads::retListTaken(resbuf* list) {
  if (!gFrame) {
    acutRelRb(list);
    return RTERROR;
  }
  gFrame->setListResult(list);
  return RTNORM;
}

int acedDefun(const ACHAR* name, int funcNumber) {
  if (!name || !kvads::currentSession()) return RTERROR;
  return kvads::currentSession()->defun(name, funcNumber);
}

int acedUndef(const ACHAR* name, int funcNumber) {
  if (!name || !kvads::currentSession()) return RTERROR;
  return kvads::currentSession()->undef(name, funcNumber);
}

int acedRegFunc(int (*entry)(), int funcNumber) {
  kvads::entries().set(funcNumber, entry);
  return RTNORM;
}

int acedInvoke(const resbuf* args, resbuf** result) {
  if (result) *result = nullptr;
  if (!args || !result || !kvads::currentSession()) return RTERROR;
  return kvads::currentSession()->invoke(args, result);
}

int acedTextScr() { return RTNORM; }
int acedGraphScr() { return RTNORM; }
