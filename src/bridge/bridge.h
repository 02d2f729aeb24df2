// The module's bridge to its host: LISP argument readers and result builders, the guarded LISP
// function table, the module's entry state, and the per-document and per-project state.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ads.h"

// ---------------------------------------------------------------------------------------------
// Status of a LISP body
// ---------------------------------------------------------------------------------------------

// What a LISP body tells the guard. Values outside the named ones count as success.
enum class LispStatus : int {
  Success = 0,
  TooFewArguments = 1,
  WrongType = 2,
  BadData = 3,
  SilentFailure = 4,  // the body printed its own explanation
};

// A LISP body takes its arguments from acedGetArgs and sets its result with acedRet....
using LispBody = LispStatus (*)();

// Prints the status's text and gives the host's return code (RSRSLT or RSERR).
int MapLispStatus(LispStatus status);

// ---------------------------------------------------------------------------------------------
// Reading arguments
// ---------------------------------------------------------------------------------------------

// The next unread cell of an argument list; null when the list is used up. It never owns cells.
class ArgCursor {
 public:
  ArgCursor() = default;
  explicit ArgCursor(const resbuf* cell) : cell_(cell) {}

  const resbuf* cell() const { return cell_; }
  bool atEnd() const { return cell_ == nullptr; }
  // Type code of the current cell, RTNONE at the end.
  short type() const { return cell_ ? cell_->restype : static_cast<short>(RTNONE); }
  void step() {
    if (cell_) cell_ = cell_->rbnext;
  }
  bool operator==(const ArgCursor&) const = default;

 private:
  const resbuf* cell_ = nullptr;
};

// Owns the argument list of the LISP call in progress and releases it on every path out of a
// body, which the host requires.
class LispArgs {
 public:
  LispArgs() : head_(acedGetArgs()) {}
  explicit LispArgs(resbuf* head) : head_(head) {}
  ~LispArgs() { acutRelRb(head_); }
  LispArgs(const LispArgs&) = delete;
  LispArgs& operator=(const LispArgs&) = delete;

  ArgCursor cursor() const { return ArgCursor(head_); }
  const resbuf* head() const { return head_; }

 private:
  resbuf* head_;
};

// Readers: on success they move the cursor past what they read (unless noted) and set the output;
// on failure neither moves. An exhausted cursor fails them all.

// RTSTR.
bool ArgString(ArgCursor& cursor, std::wstring& out);
// RTSHORT (sign-extended), RTLONG, RTREAL truncated toward zero (a real outside the 32-bit range
// fails); a DXF group code (type below 1000) gives the code itself and stays on the cell.
bool ArgInt(ArgCursor& cursor, std::int32_t& out);
// RTREAL, and whatever ArgInt accepts, widened.
bool ArgNumber(ArgCursor& cursor, double& out);
// RTNIL false; RTLE false without moving, so a missing trailing flag inside a list reads false;
// RTLB fails; anything else true.
bool ArgBool(ArgCursor& cursor, bool& out);
// One point cell (RTPOINT, RT3DPOINT, group codes 10..17), or two RTREAL cells. Sets x and y
// only.
bool ArgPoint2d(ArgCursor& cursor, ads_point out);
// One point cell (RTPOINT gives z 0), or two or three numeric cells (RTREAL, RTSHORT, RTLONG);
// z is 0 when no third number follows.
bool ArgPoint3d(ArgCursor& cursor, ads_point out);
bool ArgListOpen(ArgCursor& cursor);
bool ArgListClose(ArgCursor& cursor);
// A dotted pair ("text" . int) as LISP passes it: RTLB, RTSTR, integer, RTDOTE.
bool ArgPair(ArgCursor& cursor, std::wstring& text, std::int32_t& value);
// Moves one cell; nothing at the end.
void ArgSkip(ArgCursor& cursor);

// ---------------------------------------------------------------------------------------------
// Building results
// ---------------------------------------------------------------------------------------------

// Gives LISP a 32-bit index: an integer when it fits 16 bits, else a real.
void RetIndex(std::int32_t value);

// A result list under construction: head is the opening RTLB, tail always the last cell.
// ResultOpen starts one; ResultClose ends it, hands it to LISP, releases it and clears both.
// A body that abandons a list it opened releases it with acutRelRb(head).
void ResultOpen(resbuf*& head, resbuf*& tail);
void ResultClose(resbuf*& head, resbuf*& tail);
// ("key" . n) with n as RTLONG.
void AppendStringInt(resbuf*& tail, const ACHAR* key, std::int32_t n);
// ("key" . x).
void AppendStringReal(resbuf*& tail, const ACHAR* key, double x);
// (x . n) with n as RTLONG.
void AppendRealInt(resbuf*& tail, double x, std::int32_t n);
// A bare string.
void AppendString(resbuf*& tail, const ACHAR* text);
// Links an already built chain behind tail and moves tail to its last cell.
void AppendCells(resbuf*& tail, resbuf* cells);

// Releases a whole chain when it goes out of scope.
struct ResbufRelease {
  void operator()(resbuf* rb) const { acutRelRb(rb); }
};
using ResbufPtr = std::unique_ptr<resbuf, ResbufRelease>;

// ---------------------------------------------------------------------------------------------
// Tree lists: a labelled tree between LISP and a tree control
// ---------------------------------------------------------------------------------------------

// The operations of a tree control that tree lists need. Items are opaque handles; 0 is none.
class LispTreeControl {
 public:
  using Item = std::uintptr_t;
  virtual ~LispTreeControl() = default;

  // The invisible root; never 0.
  virtual Item rootItem() const = 0;
  // Appends a child at the end of parent's children.
  virtual Item insertItem(const std::wstring& text, Item parent) = 0;
  virtual void setItemData(Item item, std::int32_t data) = 0;
  virtual void expand(Item item) = 0;
  virtual Item childItem(Item parent) const = 0;
  virtual Item nextSiblingItem(Item item) const = 0;
  virtual std::wstring itemText(Item item) const = 0;
  virtual std::int32_t itemData(Item item) const = 0;
};

// Fills control from a tree list: ("text" . data) and "text" [data] add items, a nested list holds
// the children of the item before it. Cells it cannot read are skipped. With parent 0 it first
// steps over the list's opening RTLB and adds under the root.
void ListToTree(LispTreeControl& control, ArgCursor& cursor, LispTreeControl::Item parent);
// Appends the tree list of first and its siblings (of the root's children when first is 0) behind
// tail; tail ends on the list's RTLE.
void TreeToList(const LispTreeControl& control, LispTreeControl::Item first, resbuf*& tail);

// ---------------------------------------------------------------------------------------------
// The guard and the LISP function table
// ---------------------------------------------------------------------------------------------

class kvDocumentRegistry;

// Runs one LISP body with the working document locked, connecting the project's database first
// when a registry is given. Gives the host's return code. Exceptions from the body are reported,
// the document is unlocked, and they travel on.
int LispGuard(LispBody body, kvDocumentRegistry* registry);

// One row of the LISP function table: its position is the function code.
struct LispFunctionRow {
  const ACHAR* name;
  int (*entry)();
};

inline constexpr int kLispFunctionCount = 54;

// The module's table, 54 rows.
const LispFunctionRow* LispFunctionTable();
// Defines count rows in the current document's LISP environment, codes from base.
void RegisterLispFunctions(const LispFunctionRow* table, int count, int base);
// Names of the rows whose function belongs to a part of the module that is not built yet.
std::vector<std::wstring> NotBuiltLispFunctions();

// ---------------------------------------------------------------------------------------------
// Module-wide state
// ---------------------------------------------------------------------------------------------

// "7.3.51 (26532)".
const ACHAR* ModuleVersionText();
// Whether activating a document runs the LISP layer's c:kv_hvac-doToDo; initially true.
bool DoDocumentActivated();
void SetDoDocumentActivated(bool on);
// The registry while the module is loaded, else null.
kvDocumentRegistry* DocumentRegistry();
