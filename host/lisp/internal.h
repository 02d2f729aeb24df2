// Private to the interpreter: the heap objects behind values, the registry of functions, and the
// state of one environment.
#pragma once

#include <cstdio>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "lisp.h"

namespace kvlisp {

namespace detail {

struct RealObj : Object {
  double value;
};
// Strings never change once made, so what positional access needs is found once, on the first
// such access: whether the text is all ASCII (a character per byte; -1 not yet known, 0 no,
// 1 yes), and for other texts the byte where every 64th character starts.
struct StrObj : Object {
  std::string text;
  signed char ascii = -1;
  std::vector<std::size_t> marks;
};
using ConsObj = ConsCell;
struct NameObj : Object {
  std::int64_t a, b;
};
struct ErrorObj : Object {
  std::string message;
};
struct FileObj : Object {
  std::FILE* file;
  std::string name;
  ~FileObj() {
    if (file) std::fclose(file);
  }
};

// A special form sees its arguments unevaluated. Some of them (and, or, progn) are also
// ordinary functions when apply or mapcar call them with values already evaluated: then `fn`
// holds that form, and a special form without it refuses to be applied.
using SpecialFn = Value (*)(Environment::Impl& env, const Value& args);

struct SubrObj : Object {
  std::string name;
  NativeFn fn = nullptr;
  SpecialFn special = nullptr;
  int minArgs = 0, maxArgs = -1;  // -1: any number
};
struct UsubrObj : Object {
  std::string name;
  std::vector<std::uint32_t> params, locals;
  Value body;
};
struct ExsubrObj : Object {
  std::string name;
  int code;
};

// Reals and conses are made and dropped by the thousand in one call (a result list of pairs is
// two conses and a real a pair): dropped ones wait on a free list of their size for the next,
// instead of going back to malloc. Capped, so that one huge list does not keep its memory for
// good; off under the address sanitizer, so that a use after release is still caught. LISP runs
// on the host's main thread only, so a plain global serves.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t kValuePoolCap = 0;
#else
inline constexpr std::size_t kValuePoolCap = 1 << 16;
#endif

template <std::size_t Bytes>
struct ValuePool {
  struct Slot {
    Slot* next;
  };
  static_assert(Bytes >= sizeof(Slot));
  Slot* free = nullptr;
  std::size_t count = 0;

  void* take() {
    if (!free) return ::operator new(Bytes);
    Slot* s = free;
    free = s->next;
    --count;
    return s;
  }
  void give(void* p) noexcept {
    if (count >= kValuePoolCap) return ::operator delete(p);
    auto* s = static_cast<Slot*>(p);
    s->next = free;
    free = s;
    ++count;
  }
};
inline ValuePool<sizeof(RealObj)> gRealPool;
inline ValuePool<sizeof(ConsObj)> gConsPool;

// Allocates a heap object of kind T; the returned value holds its one count.
template <typename T>
Value newObject(Type type, T*& out) {
  if constexpr (std::is_same_v<T, RealObj>)
    out = new (gRealPool.take()) T{};
  else if constexpr (std::is_same_v<T, ConsObj>)
    out = new (gConsPool.take()) T{};
  else
    out = new T{};
  out->refs = 1;
  out->type = type;
  return Value::adopt(out);
}

template <typename T>
T* as(const Value& v) {
  return static_cast<T*>(v.object());
}

}  // namespace detail

// The interned name of a symbol id.
const std::string& symbolName(std::uint32_t id);
std::uint32_t intern(std::string_view name);

// Well-known symbols, interned once.
struct Symbols {
  std::uint32_t t, quote, lambda, error, slash, pi, voidSym;
};
const Symbols& sym();

// Special forms of the evaluator, registered beside the natives.
struct SpecialDef {
  const char* name;
  const char* signature;
  const char* doc;
  detail::SpecialFn fn;
  NativeFn applied = nullptr;  // the form apply and mapcar call; null: not callable that way
};
void registerSpecials(std::span<const SpecialDef> table);
// Every environment's initial functions: (symbol id, function value).
void installFunctions(Environment& env);
// Registered functions reach environments that already exist through this list.
void trackEnvironment(Environment* env, bool alive);

// The nesting that recursive helpers (equal, cell conversion) allow before they give up.
inline constexpr int kMaxNesting = 10000;
[[noreturn]] void stackLimit();

// Arity errors with the platform's texts.
[[noreturn]] void tooFew();
[[noreturn]] void tooMany();

struct Environment::Impl {
  explicit Impl(Environment& e) : self(e) {}

  Environment& self;
  std::vector<Value> values;       // by symbol id
  std::vector<std::pair<std::uint32_t, Value>> saved;  // outer values of bindings in force
  std::vector<std::string> loading;  // files being loaded, innermost last
  int pendingExit = -1;  // an (exit N) that crossed acedInvoke, rethrown after the entry returns

  const Value& value(std::uint32_t id) const {
    static const Value nil;
    return id < values.size() ? values[id] : nil;
  }
  void setValue(std::uint32_t id, Value v) {
    if (id >= values.size()) values.resize(id + 64);
    values[id] = std::move(v);
  }

  Value eval(const Value& form);
  Value evalBody(const Value& body);  // progn
  // A callable value from a function value, a symbol naming one, or a (lambda ...) list.
  Value resolve(const Value& function);
  Value applyResolved(const Value& fn, Args args);
  Value callUsubr(const detail::UsubrObj& f, Args args);
  Value callExternal(const detail::ExsubrObj& f, Args args);
  Value makeLambda(const Value& params, const Value& body, std::string name);
  void topLevelError(const std::string& message);
};

// Holds dynamic bindings: restores the outer values when it goes out of scope.
class Bindings {
 public:
  explicit Bindings(Environment::Impl& env) : env_(env), base_(env.saved.size()) {}
  ~Bindings();
  Bindings(const Bindings&) = delete;
  Bindings& operator=(const Bindings&) = delete;
  void bind(std::uint32_t id, Value v);

 private:
  Environment::Impl& env_;
  std::size_t base_;
};

// Counts one level of evaluation; raises a LISP error before the native stack runs out.
class DepthGuard {
 public:
  DepthGuard();
  ~DepthGuard() { --depth_; }
  DepthGuard(const DepthGuard&) = delete;
  DepthGuard& operator=(const DepthGuard&) = delete;

 private:
  static int depth_;  // the host runs LISP on its main thread only
  static const char* base_;
};

// Arguments of one call: inline for the common few, on the heap beyond.
class ArgBuffer {
 public:
  void push(Value v) {
    if (n_ < kInline)
      inline_[n_] = std::move(v);
    else
      more_.push_back(std::move(v));
    ++n_;
  }
  Args span() {
    if (n_ > kInline && !spilled_) spill();
    return spilled_ ? Args(more_) : Args(inline_, n_);
  }

 private:
  void spill();
  static constexpr std::size_t kInline = 6;
  Value inline_[kInline];
  std::vector<Value> more_;
  std::size_t n_ = 0;
  bool spilled_ = false;
};

// Output of princ, prin1 and friends: the console.
void write(std::string_view text);

}  // namespace kvlisp
