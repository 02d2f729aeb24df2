// The registry of functions every environment starts with (the interpreter's own and those host
// components add), arity from signatures, and the shared argument checks.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unordered_map>

#include "internal.h"

namespace kvlisp {

using namespace detail;

namespace {

struct Registry {
  std::vector<std::pair<std::uint32_t, Value>> functions;  // symbol id, SUBR value
  std::unordered_map<std::uint32_t, NativeDef> defs;
  std::vector<Environment*> environments;
};

Registry& registry() {
  static Registry r;
  return r;
}

// "(name a b [c d] rest...)": required, optional and rest words after the name.
bool parseArity(const char* signature, int& minArgs, int& maxArgs) {
  std::string_view s = signature ? signature : "";
  if (s.size() < 2 || s.front() != '(' || s.back() != ')') return false;
  s = s.substr(1, s.size() - 2);
  std::size_t nameEnd = s.find_first_of(" [");
  s = nameEnd == std::string_view::npos ? std::string_view() : s.substr(nameEnd);
  int required = 0, optional = 0, bracket = 0;
  bool rest = false;
  std::size_t i = 0;
  while (i < s.size()) {
    char c = s[i];
    if (c == ' ') { ++i; continue; }
    if (c == '[') { ++bracket; ++i; continue; }
    if (c == ']') { if (--bracket < 0) return false; ++i; continue; }
    std::size_t end = s.find_first_of(" []", i);
    std::string_view word = s.substr(i, end == std::string_view::npos ? s.size() - i : end - i);
    i += word.size();
    if (word.ends_with("...")) rest = true;
    else if (bracket > 0) ++optional;
    else ++required;
  }
  if (bracket != 0) return false;
  minArgs = required;
  maxArgs = rest ? -1 : required + optional;
  return true;
}

[[noreturn]] void badTable(const char* name) {
  std::fprintf(stderr, "kvlisp: malformed signature in the function table at \"%s\"\n", name ? name : "(null)");
  std::abort();
}

void add(std::uint32_t id, const Value& subr) {
  Registry& r = registry();
  auto it = std::find_if(r.functions.begin(), r.functions.end(), [id](const auto& f) { return f.first == id; });
  if (it != r.functions.end())
    it->second = subr;
  else
    r.functions.emplace_back(id, subr);
  for (Environment* env : r.environments) env->set(id, subr);
}

Value makeSubr(const char* name, const char* signature, NativeFn fn, SpecialFn special) {
  SubrObj* o;
  Value v = newObject(Type::Subr, o);
  o->name = kvlisp::symbolName(intern(name));
  o->fn = fn;
  o->special = special;
  if (!parseArity(signature, o->minArgs, o->maxArgs)) badTable(name);
  return v;
}

}  // namespace

void registerNatives(std::span<const NativeDef> table) {
  for (const NativeDef& d : table) {
    if (!d.name || !d.fn) badTable(d.name);
    std::uint32_t id = intern(d.name);
    registry().defs[id] = d;
    add(id, makeSubr(d.name, d.signature, d.fn, nullptr));
  }
}

void registerSpecials(std::span<const SpecialDef> table) {
  for (const SpecialDef& d : table) add(intern(d.name), makeSubr(d.name, d.signature, d.applied, d.fn));
}

const NativeDef* findNative(std::string_view name) {
  auto& defs = registry().defs;
  auto it = defs.find(intern(name));
  return it == defs.end() ? nullptr : &it->second;
}

void installFunctions(Environment& env) {
  for (auto& f : registry().functions) env.set(f.first, f.second);
}

void trackEnvironment(Environment* env, bool alive) {
  auto& list = registry().environments;
  if (alive) {
    list.push_back(env);
  } else {
    std::erase(list, env);
  }
}

[[noreturn]] void tooFew() { throw Error("too few arguments"); }
[[noreturn]] void tooMany() { throw Error("too many arguments"); }

[[noreturn]] void badArgument(std::string_view predicate, const Value& value) {
  std::string text = "bad argument type: ";
  text += predicate;
  text += ' ';
  text += value.print(true);
  throw Error(text);
}

namespace {
const Value& at(Args args, std::size_t i) {
  if (i >= args.size()) tooFew();
  return args[i];
}
}  // namespace

std::int32_t argInt(Args args, std::size_t i) {
  const Value& v = at(args, i);
  if (!v.isInt()) badArgument("fixnump:", v);
  return v.asInt();
}

double argNumber(Args args, std::size_t i) {
  const Value& v = at(args, i);
  if (!v.isNumber()) badArgument("numberp:", v);
  return v.asNumber();
}

const std::string& argString(Args args, std::size_t i) {
  const Value& v = at(args, i);
  if (!v.isString()) badArgument("stringp", v);
  return v.asString();
}

std::string_view argSymbol(Args args, std::size_t i) {
  const Value& v = at(args, i);
  if (!v.isSymbol()) badArgument("symbolp", v);
  return v.symbolName();
}

const Value& argList(Args args, std::size_t i) {
  const Value& v = at(args, i);
  if (!v.isList()) badArgument("listp", v);
  return v;
}

std::array<double, 3> argPoint(Args args, std::size_t i) {
  const Value& v = at(args, i);
  std::array<double, 3> p{0, 0, 0};
  std::size_t n = 0;
  const Value* x = &v;
  for (; x->isCons() && n < 3 && x->car().isNumber(); x = &x->cdr()) p[n++] = x->car().asNumber();
  if (n < 2 || !x->isNil()) badArgument("2D/3D point:", v);
  return p;
}

std::array<std::int64_t, 2> argEname(Args args, std::size_t i) {
  const Value& v = at(args, i);
  if (v.type() != Type::Ename) badArgument("lentityp", v);
  return v.asName();
}

bool argBool(Args args, std::size_t i) { return i < args.size() && !args[i].isNil(); }

}  // namespace kvlisp
