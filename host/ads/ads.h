// The host's LISP bridge: result-buffer cells and the acut*/aced* calls a module uses to read its
// LISP arguments, set its result, define LISP functions and call LISP back.
#pragma once

#include <cstdint>
#include <cwchar>

using ACHAR = wchar_t;
#ifndef _T
#define _T(x) L##x
#endif
#ifndef ACRX_T
#define ACRX_T(x) L##x
#endif

using ads_real = double;
using ads_point = ads_real[3];
using ads_name = std::int64_t[2];
using ads_namep = std::int64_t*;

// Result type codes. A code below 1000 is a DXF group code.
enum : short {
  RTNONE = 5000,
  RTREAL = 5001,
  RTPOINT = 5002,
  RTSHORT = 5003,
  RTANG = 5004,
  RTSTR = 5005,
  RTENAME = 5006,
  RTPICKS = 5007,
  RTORINT = 5008,
  RT3DPOINT = 5009,
  RTLONG = 5010,
  RTVOID = 5014,
  RTLB = 5016,
  RTLE = 5017,
  RTDOTE = 5018,
  RTNIL = 5019,
  RTDXF0 = 5020,
  RTT = 5021,
  RTRESBUF = 5023,
};

// Status results of the bridge and editor calls.
enum : int {
  RTNORM = 5100,
  RTERROR = -5001,
  RTCAN = -5002,
  RTREJ = -5003,
  RTFAIL = -5004,
  RTKWORD = -5005,
  RTINPUT = -5008,
};

// What an entry function registered with acedRegFunc returns to the host.
enum : int {
  RSRSLT = 1,  // the value set by acedRet..., nil if none was set
  RSERR = 3,   // a LISP error
};

union ads_u_val {
  ads_real rreal;
  ads_real rpoint[3];
  short rint;
  ACHAR* rstring;
  std::int64_t rlname[2];
  std::int32_t rlong;
  std::int64_t mnInt64;
};

struct resbuf {
  resbuf* rbnext;
  short restype;
  ads_u_val resval;
};

// Builds a chain from (type, value) pairs ended by 0 or RTNONE. Values by type: RTREAL/RTANG
// double; RTPOINT/RT3DPOINT const double*; RTSHORT int; RTLONG int32; RTSTR const ACHAR*
// (copied); RTENAME/RTPICKS const int64_t*; RTLB/RTLE/RTDOTE/RTNIL/RTT/RTVOID no value; a DXF
// group code takes the value kind the platform gives that code range.
resbuf* acutBuildList(int rtype, ...);
resbuf* acutNewRb(int type);
// Releases a whole chain, strings included.
int acutRelRb(resbuf* rb);

// The arguments of the LISP call in progress (owned by the caller, released with acutRelRb).
resbuf* acedGetArgs();
int acedRetNil();
int acedRetT();
int acedRetInt(int value);
int acedRetReal(ads_real value);
int acedRetStr(const ACHAR* text);
int acedRetList(const resbuf* list);
int acedRetName(const ads_name name, int type);
int acedRetPoint(const ads_point point);
int acedRetVoid();

// Defines a LISP function in the current document's environment; its calls go to the entry
// registered for the same code with acedRegFunc.
int acedDefun(const ACHAR* name, int funcNumber);
int acedUndef(const ACHAR* name, int funcNumber);
int acedRegFunc(int (*entry)(), int funcNumber);
// Calls a LISP function: args' first cell is its name. RTNORM with *result the cells of one
// argument of the function's value; an error result when the function is undefined or fails.
int acedInvoke(const resbuf* args, resbuf** result);

// Writes to the command line. Formats follow the platform: %s takes a wide string, %c a wide
// character, as in the platform's wide printf.
int acutPrintf(const ACHAR* format, ...);
int acedTextScr();
int acedGraphScr();

// ---------------------------------------------------------------------------------------------
// The host's side of the bridge: what the LISP interpreter, the document manager and the console
// plug into. Modules never call these.
#include <functional>
#include <string>
#include <string_view>

namespace kvads {

// A LISP environment as the bridge sees it. The interpreter implements it, one per document.
class LispSession {
 public:
  // acedDefun/acedUndef: (un)binds `name` in this environment to the entry of `funcNumber`.
  virtual int defun(const ACHAR* name, int funcNumber) = 0;
  virtual int undef(const ACHAR* name, int funcNumber) = 0;
  // acedInvoke in this environment; never throws.
  virtual int invoke(const resbuf* args, resbuf** result) = 0;

 protected:
  ~LispSession() = default;
};

// The environment that acedDefun defines into and acedInvoke calls in. The document manager sets
// it when a document becomes current; null means no document (both calls then answer RTERROR).
void setCurrentSession(LispSession* session);
LispSession* currentSession();

// The entry registered for a function code with acedRegFunc, null when none.
using EntryFunction = int (*)();
EntryFunction registeredEntry(int funcNumber);

// One LISP call of a registered entry in progress: acedGetArgs reads its arguments and the
// acedRet... calls set its result. Frames nest (an entry may acedInvoke LISP that calls another
// entry); the innermost is the one in progress.
class CallFrame {
 public:
  explicit CallFrame(resbuf* args);  // takes ownership of args
  // The arguments stay the caller's, who releases them after the frame ends: LISP builds them on
  // its stack, as the entry only reads them.
  struct Borrowed {};
  CallFrame(const resbuf* args, Borrowed);
  ~CallFrame();
  CallFrame(const CallFrame&) = delete;
  CallFrame& operator=(const CallFrame&) = delete;

  const resbuf* args() const { return args_; }
  bool hasResult() const { return hasResult_; }
  // The cells set by the last acedRet... (null with hasResult() for nil); they stay the frame's.
  const resbuf* result() const { return result_; }
  // The same, with ownership passing to the caller.
  resbuf* takeResult();
  // Replaces the result; takes ownership of cells.
  void setResult(resbuf* cells);
  // Replaces the result with the frame's own single cell, of `type` and no value yet, and gives
  // it to be filled: most entries answer one plain value, which then costs no allocation. A
  // string put in it is the frame's to free.
  resbuf* setOneCellResult(int type);
  // Replaces the result with cells in acedRetList's list form, not yet checked: LISP reads them as
  // one whole list when they are one, else as the items of a list. Takes ownership of cells.
  void setListResult(resbuf* cells);
  bool resultInListForm() const { return listForm_; }
  static CallFrame* current();

 private:
  void releaseResult();

  const resbuf* args_;
  resbuf* result_ = nullptr;
  resbuf one_{};
  bool ownsArgs_ = true;
  bool hasResult_ = false;
  bool listForm_ = false;
  CallFrame* outer_;
};

// The command line. Everything the host writes for the user (acutPrintf, princ, error texts)
// goes through here, so that it reaches standard output in order. A sink set by a test or a
// window receives the UTF-8 text instead; an empty function restores standard output.
void consoleWrite(std::string_view utf8);
void setConsoleSink(std::function<void(std::string_view)> sink);
void consoleFlush();
// True when nothing was written yet or the last text written ended a line.
bool consoleAtLineStart();

// What kind of value the platform gives a DXF group code (below 1000, and extended data codes
// 1000 to 1071). Unknown codes are Invalid.
enum class DxfKind { Invalid, String, Point, Real, Short, Long, Int64, Name };
DxfKind dxfValueKind(int groupCode);

// Copies one chain (strings included). Null gives null.
resbuf* copyChain(const resbuf* rb);
// Whether a cell of this type owns the string in its value.
inline bool holdsString(short type) {
  return type == RTSTR || type == RTDXF0 || (type < 5000 && dxfValueKind(type) == DxfKind::String);
}
// Host: the arguments of the LISP call in progress, read in place (null outside a call). They
// live until that call ends; the caller neither changes nor releases them.
const resbuf* callArgs();
// Host: acedRetList of a chain its caller gives up, which then must not touch or release it. The
// chain becomes the result as it stands, without acedRetList's copy or its walk.
int retListTaken(resbuf* list);
// UTF-8 to and from the bridge's wide strings.
std::wstring toWide(std::string_view utf8);
std::string toUtf8(std::wstring_view wide);
// The bytes of the one character that starts at `at` (at < utf8.size()), as toWide counts it: a
// stray or cut byte is a character of its own. Lets a caller step over characters without
// converting the whole text.
std::size_t utf8CharBytes(std::string_view utf8, std::size_t at);
// A string cell's text in a fresh malloc'ed copy, as acutRelRb frees it.
ACHAR* dupString(const ACHAR* text);

}  // namespace kvads
