// The host's AutoLISP interpreter: the value model, one environment per document, and the
// registry through which host components add LISP functions of their own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ads.h"

namespace kvlisp {

// What (type x) names, plus Nil. Int is 32 bits and wraps as the platform's does.
enum class Type {
  Nil, Int, Real, Str, Sym, List, Subr, Usubr, Exsubr, Ename, Pickset, File, CatchAllError,
};

namespace detail {
// Header of every heap value; the rest of the object is private to the interpreter.
struct Object {
  std::uint32_t refs;
  Type type;
};
void destroy(Object* object) noexcept;
}  // namespace detail

// A LISP value: nil, a 32-bit integer, a symbol or a counted reference to a heap object.
// Copying is cheap (a count); values never form cycles, so counting frees everything.
class Value {
 public:
  Value() noexcept = default;  // nil
  Value(const Value& other) noexcept : bits_(other.bits_) { retain(); }
  Value(Value&& other) noexcept : bits_(other.bits_) { other.bits_ = 0; }
  // Inline: lists are built and taken apart by assignment, thousands of times per call.
  Value& operator=(const Value& other) noexcept {
    other.retain();
    release();
    bits_ = other.bits_;
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    if (this != &other) {
      release();
      bits_ = other.bits_;
      other.bits_ = 0;
    }
    return *this;
  }
  ~Value() { release(); }

  static Value nil() { return Value(); }
  static Value t();
  static Value integer(std::int32_t n);
  static Value real(double x);
  static Value string(std::string utf8);
  // Interned, case-insensitive: the name is kept in upper case.
  static Value symbol(std::string_view name);
  static Value cons(Value car, Value cdr);
  static Value list(std::initializer_list<Value> items);
  static Value list(std::span<const Value> items);
  static Value ename(std::int64_t a, std::int64_t b = 0);
  static Value pickset(std::int64_t a, std::int64_t b = 0);
  // A 2D or 3D point as a list of reals.
  static Value point(double x, double y);
  static Value point(double x, double y, double z);

  Type type() const;
  bool isNil() const { return bits_ == 0; }
  bool isInt() const { return (bits_ & 3) == 1; }
  bool isSymbol() const { return (bits_ & 3) == 2; }
  bool isReal() const { return heapType() == Type::Real; }
  bool isNumber() const { return isInt() || isReal(); }
  bool isString() const { return heapType() == Type::Str; }
  bool isCons() const { return heapType() == Type::List; }
  bool isList() const { return isNil() || isCons(); }
  bool isFunction() const;

  // Accessors; each requires the matching type (checked: a wrong type throws Error).
  std::int32_t asInt() const;
  double asReal() const;
  double asNumber() const;  // integers widened
  const std::string& asString() const;
  std::string_view symbolName() const;
  std::uint32_t symbolId() const;
  std::array<std::int64_t, 2> asName() const;  // Ename or Pickset
  // car/cdr of a cons; nil for nil. Other types throw Error.
  inline const Value& car() const;
  inline const Value& cdr() const;

  // Identity as (eq a b) sees it: the same object, symbol, or equal number of the same type.
  bool eq(const Value& other) const;
  // (equal a b fuzz): structure and contents, numbers within fuzz.
  bool equal(const Value& other, double fuzz = 0.0) const;
  // Printed form: prin1 (escaped strings) or princ (strings as they stand).
  std::string print(bool escape = true) const;

  // For the interpreter's own use.
  std::uintptr_t bits() const { return bits_; }
  detail::Object* object() const { return isHeap() ? reinterpret_cast<detail::Object*>(bits_) : nullptr; }
  static Value adopt(detail::Object* object) noexcept;  // takes one count already held

 private:
  bool isHeap() const { return bits_ != 0 && (bits_ & 3) == 0; }
  const Value& carSlow() const;
  const Value& cdrSlow() const;
  Type heapType() const { return isHeap() ? object()->type : Type::Nil; }
  void retain() const noexcept {
    if (isHeap()) ++object()->refs;
  }
  void release() noexcept {
    if (isHeap() && --object()->refs == 0) detail::destroy(object());
    bits_ = 0;
  }
  std::uintptr_t bits_ = 0;
};

namespace detail {
struct ConsCell : Object {
  Value car, cdr;
};
}  // namespace detail

// The evaluator walks lists constantly: the common case stays inline.
const Value& Value::car() const {
  if (isHeap() && object()->type == Type::List) return static_cast<const detail::ConsCell*>(object())->car;
  return carSlow();
}

const Value& Value::cdr() const {
  if (isHeap() && object()->type == Type::List) return static_cast<const detail::ConsCell*>(object())->cdr;
  return cdrSlow();
}

// A LISP error: the text after "; error: ", e.g. "bad argument type: numberp: \"x\"".
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// (exit N) with a status: leaves the program with that status. Deliberately not an Error, so that
// neither vl-catch-all-apply nor *error* stops it.
struct ExitRequest {
  int status;
};

// ---------------------------------------------------------------------------------------------
// Host functions. A component declares one static table and registers it once:
//
//   static const kvlisp::NativeDef kFunctions[] = {
//     {"entget", "(entget ename [applist])", "The entity's definition list.", entget},
//   };
//   static kvlisp::NativeRegistrar registrar(kFunctions);
//
// The signature fixes the arity, checked before the function runs ("too few arguments" /
// "too many arguments"): plain words are required, words in [ ] optional, a word ending in "..."
// takes any number. Every environment, existing or created later, gets every registered function.

class Environment;
using Args = std::span<const Value>;
using NativeFn = Value (*)(Environment& env, Args args);

struct NativeDef {
  const char* name;
  const char* signature;
  const char* doc;
  NativeFn fn;
};

void registerNatives(std::span<const NativeDef> table);

class NativeRegistrar {
 public:
  template <std::size_t N>
  explicit NativeRegistrar(const NativeDef (&table)[N]) : NativeRegistrar(std::span<const NativeDef>(table, N)) {}
  explicit NativeRegistrar(std::span<const NativeDef> table) { registerNatives(table); }
};

// The registered definition of a name (any case), null when none.
const NativeDef* findNative(std::string_view name);

// Argument checking with the platform's error texts. Each reads args[i], which must exist (the
// signature guarantees the required ones; test args.size() for optional ones).
[[noreturn]] void badArgument(std::string_view predicate, const Value& value);  // "bad argument type: P V"
std::int32_t argInt(Args args, std::size_t i);             // fixnump:
double argNumber(Args args, std::size_t i);                // numberp:
const std::string& argString(Args args, std::size_t i);    // stringp
std::string_view argSymbol(Args args, std::size_t i);      // symbolp
const Value& argList(Args args, std::size_t i);            // listp
std::array<double, 3> argPoint(Args args, std::size_t i);  // 2D/3D point: (z 0 for 2D)
std::array<std::int64_t, 2> argEname(Args args, std::size_t i);  // lentityp
bool argBool(Args args, std::size_t i);                    // anything but nil; false when absent

// ---------------------------------------------------------------------------------------------
// Reading and printing.

// Every expression of a source text, in order. Throws Error ("malformed list on input", ...).
std::vector<Value> readAll(std::string_view source);
// The first expression of a text; nil for an empty text.
Value readOne(std::string_view source);
// A real as the platform prints it: six significant digits, always a decimal point.
std::string formatReal(double x);

// The platform's wildcard match, as wcmatch and selection filters use it: commas separate
// alternatives, a leading ~ negates one, '`' escapes; case counts.
bool wildcardMatch(const std::wstring& text, const std::wstring& patterns);

// ---------------------------------------------------------------------------------------------
// Conversion between values and result-buffer cells (the bridge's one table).

// The cells of one argument of this value (a list keeps its RTLB ... RTLE; a dotted pair ends in
// RTDOTE). Throws Error for values with no cell form (functions, files).
resbuf* toCells(const Value& value);
// The cells of several arguments, chained.
resbuf* toCells(Args values);
// Every value of a chain of cells, in order. A module's dotted pair RTLB a RTDOTE b RTLE gives
// (a . b), and so does LISP's own RTLB a b RTDOTE (cells handed back as they came): a dot after
// one item opens the tail, a dot after several ends the pair. Throws Error on malformed chains.
std::vector<Value> fromCells(const resbuf* chain);

// ---------------------------------------------------------------------------------------------
// One LISP environment: the symbol values of one document.

class Environment final : public kvads::LispSession {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  Value eval(const Value& form);
  // Calls a function value, or the function a symbol names, with evaluated arguments.
  Value apply(const Value& function, Args args);
  Value call(std::string_view name, std::initializer_list<Value> args);
  // Reads and evaluates every expression; the value of the last. Throws Error.
  Value evalString(std::string_view source);
  // (load path): evaluates a file; throws Error "LOAD failed: \"path\"" when it cannot be read.
  Value load(const std::string& path);

  // Top level, as the command line runs things: an error that escapes calls *error* when it is
  // defined, else prints "; error: TEXT". False when an error escaped. ExitRequest passes through.
  bool runTopLevel(std::string_view source);
  bool loadTopLevel(const std::string& path);
  // One expression at top level, its value in `result` when no error escaped.
  bool evalTopLevel(const Value& form, Value& result);

  Value get(std::string_view name) const;
  void set(std::string_view name, Value value);
  Value get(std::uint32_t symbolId) const;
  void set(std::uint32_t symbolId, Value value);

  // kvads::LispSession
  int defun(const ACHAR* name, int funcNumber) override;
  int undef(const ACHAR* name, int funcNumber) override;
  int invoke(const resbuf* args, resbuf** result) override;

  struct Impl;
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace kvlisp
