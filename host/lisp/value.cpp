// Values: the tagged representation, interned symbols, heap objects and their release, and
// the identity and equality tests.
#include <cmath>
#include <unordered_map>

#include "internal.h"

namespace kvlisp {

namespace {

struct SymbolTable {
  std::vector<std::string> names;
  std::unordered_map<std::string, std::uint32_t> ids;
};

SymbolTable& symbols() {
  static SymbolTable table;
  return table;
}


}  // namespace

// The reader interns every symbol it meets: one reused buffer, no allocation for known names.
std::uint32_t intern(std::string_view name) {
  SymbolTable& t = symbols();
  static std::string key;
  key.assign(name);
  for (char& c : key)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  auto it = t.ids.find(key);
  if (it != t.ids.end()) return it->second;
  auto id = static_cast<std::uint32_t>(t.names.size());
  t.names.push_back(key);
  t.ids.emplace(key, id);
  return id;
}

namespace {
bool isNilName(std::string_view name) {
  return name.size() == 3 && (name[0] | 0x20) == 'n' && (name[1] | 0x20) == 'i' && (name[2] | 0x20) == 'l';
}
}  // namespace

const std::string& symbolName(std::uint32_t id) { return symbols().names.at(id); }

const Symbols& sym() {
  static const Symbols s{intern("T"), intern("QUOTE"), intern("LAMBDA"), intern("*ERROR*"),
                         intern("/"), intern("PI"), intern("")};
  return s;
}

[[noreturn]] void stackLimit() { throw Error("internal stack limit reached"); }

namespace detail {

namespace {
void destroyOne(Object* o) noexcept {
  switch (o->type) {
    case Type::Real:
      static_cast<RealObj*>(o)->~RealObj();
      gRealPool.give(o);
      break;
    case Type::List:
      static_cast<ConsObj*>(o)->~ConsObj();
      gConsPool.give(o);
      break;
    case Type::Str: delete static_cast<StrObj*>(o); break;
    case Type::Ename: case Type::Pickset: delete static_cast<NameObj*>(o); break;
    case Type::CatchAllError: delete static_cast<ErrorObj*>(o); break;
    case Type::File: delete static_cast<FileObj*>(o); break;
    case Type::Subr: delete static_cast<SubrObj*>(o); break;
    case Type::Usubr: delete static_cast<UsubrObj*>(o); break;
    case Type::Exsubr: delete static_cast<ExsubrObj*>(o); break;
    default: break;
  }
}
}  // namespace

// Releases iteratively: a long list or a deeply nested one must not recurse once per cell. Only
// conses and user functions hold other values; every other object goes at once, without the
// queue.
void destroy(Object* object) noexcept {
  // LISP runs on the host's main thread only. Never destroyed, so that values held by static
  // objects can still be released at exit.
  static auto& queue = *new std::vector<Object*>;
  static bool draining = false;
  const Type type = object->type;
  if (type == Type::Real) {
    static_cast<RealObj*>(object)->~RealObj();
    return gRealPool.give(object);
  }
  if (draining) {
    queue.push_back(object);
    return;
  }
  if (type != Type::List && type != Type::Usubr) return destroyOne(object);
  draining = true;
  queue.push_back(object);
  while (!queue.empty()) {
    Object* o = queue.back();
    queue.pop_back();
    destroyOne(o);  // members of a cons or a body land in the queue
  }
  draining = false;
}

}  // namespace detail

using namespace detail;

Value Value::adopt(Object* object) noexcept {
  Value v;
  v.bits_ = reinterpret_cast<std::uintptr_t>(object);
  return v;
}

Value Value::t() {
  Value v;
  v.bits_ = (static_cast<std::uintptr_t>(sym().t) << 2) | 2;
  return v;
}

Value Value::integer(std::int32_t n) {
  Value v;
  v.bits_ = (static_cast<std::uintptr_t>(static_cast<std::uint32_t>(n)) << 32) | 1;
  return v;
}

Value Value::symbol(std::string_view name) {
  if (isNilName(name)) return Value();
  Value v;
  v.bits_ = (static_cast<std::uintptr_t>(intern(name)) << 2) | 2;
  return v;
}

Value Value::real(double x) {
  RealObj* o;
  Value v = newObject(Type::Real, o);
  o->value = x;
  return v;
}

Value Value::string(std::string utf8) {
  StrObj* o;
  Value v = newObject(Type::Str, o);
  o->text = std::move(utf8);
  return v;
}

Value Value::cons(Value car, Value cdr) {
  ConsObj* o;
  Value v = newObject(Type::List, o);
  o->car = std::move(car);
  o->cdr = std::move(cdr);
  return v;
}

Value Value::list(std::span<const Value> items) {
  Value result;
  for (auto it = items.rbegin(); it != items.rend(); ++it) result = cons(*it, std::move(result));
  return result;
}

Value Value::list(std::initializer_list<Value> items) { return list(std::span<const Value>(items.begin(), items.size())); }

static Value makeName(Type type, std::int64_t a, std::int64_t b) {
  NameObj* o;
  Value v = newObject(type, o);
  o->a = a;
  o->b = b;
  return v;
}

Value Value::ename(std::int64_t a, std::int64_t b) { return makeName(Type::Ename, a, b); }
Value Value::pickset(std::int64_t a, std::int64_t b) { return makeName(Type::Pickset, a, b); }
Value Value::point(double x, double y) { return list({real(x), real(y)}); }
Value Value::point(double x, double y, double z) { return list({real(x), real(y), real(z)}); }

Type Value::type() const {
  if (isNil()) return Type::Nil;
  if (isInt()) return Type::Int;
  if (isSymbol()) return Type::Sym;
  return object()->type;
}

bool Value::isFunction() const {
  Type t = type();
  return t == Type::Subr || t == Type::Usubr || t == Type::Exsubr;
}

std::int32_t Value::asInt() const {
  if (!isInt()) badArgument("fixnump:", *this);
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits_ >> 32));
}

double Value::asReal() const {
  if (!isReal()) badArgument("realp:", *this);
  return static_cast<RealObj*>(object())->value;
}

double Value::asNumber() const {
  if (isInt()) return asInt();
  if (!isReal()) badArgument("numberp:", *this);
  return static_cast<RealObj*>(object())->value;
}

const std::string& Value::asString() const {
  if (!isString()) badArgument("stringp", *this);
  return static_cast<StrObj*>(object())->text;
}

std::uint32_t Value::symbolId() const {
  if (!isSymbol()) badArgument("symbolp", *this);
  return static_cast<std::uint32_t>(bits_ >> 2);
}

std::string_view Value::symbolName() const {
  if (isNil()) return "NIL";
  return kvlisp::symbolName(symbolId());
}

std::array<std::int64_t, 2> Value::asName() const {
  Type t = type();
  if (t != Type::Ename && t != Type::Pickset) badArgument("lentityp", *this);
  auto* o = static_cast<NameObj*>(object());
  return {o->a, o->b};
}

const Value& Value::carSlow() const {
  static const Value nil;
  if (!isNil()) badArgument("consp", *this);
  return nil;
}

const Value& Value::cdrSlow() const {
  static const Value nil;
  if (!isNil()) badArgument("consp", *this);
  return nil;
}

bool Value::eq(const Value& other) const {
  if (bits_ == other.bits_) return true;
  if (isReal() && other.isReal()) return asReal() == other.asReal();
  Type t = type();
  if ((t == Type::Ename || t == Type::Pickset) && other.type() == t) return asName() == other.asName();
  return false;
}

namespace {

bool equalAt(const Value& a, const Value& b, double fuzz, int depth) {
  if (a.bits() == b.bits()) return true;
  if (depth > kMaxNesting) stackLimit();
  const Value* x = &a;
  const Value* y = &b;
  while (x->isCons() && y->isCons()) {  // along the spine without recursion
    if (!equalAt(x->car(), y->car(), fuzz, depth + 1)) return false;
    x = &x->cdr();
    y = &y->cdr();
  }
  if (x->isNumber() && y->isNumber()) {
    if (x->isInt() && y->isInt()) return std::abs(static_cast<double>(x->asInt()) - y->asInt()) <= fuzz;
    return std::fabs(x->asNumber() - y->asNumber()) <= fuzz;
  }
  if (x->isString() && y->isString()) return x->asString() == y->asString();
  return x->eq(*y);
}

}  // namespace

bool Value::equal(const Value& other, double fuzz) const { return equalAt(*this, other, fuzz, 0); }

}  // namespace kvlisp
