// The evaluator: environments, dynamic binding, function calls and the special forms.
#include <sys/resource.h>

#include <fstream>
#include <sstream>

#include "reader.h"

namespace kvlisp {

using namespace detail;

int DepthGuard::depth_ = 0;
const char* DepthGuard::base_ = nullptr;

namespace {

// Half the native stack, so that evaluation stops well before it runs out, with or without the
// sanitizers' larger frames.
std::size_t stackBudget() {
  static const std::size_t budget = [] {
    rlimit rl{};
    std::size_t limit = 8u << 20;
    if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY) limit = rl.rlim_cur;
    return std::min<std::size_t>(limit, 64u << 20) / 2;
  }();
  return budget;
}

constexpr int kMaxDepth = 100000;

}  // namespace

DepthGuard::DepthGuard() {
  const char* here = static_cast<const char*>(__builtin_frame_address(0));
  if (depth_++ == 0) {
    base_ = here;
    return;
  }
  if (depth_ > kMaxDepth || static_cast<std::size_t>(base_ - here) > stackBudget()) {
    --depth_;
    stackLimit();
  }
}

void Bindings::bind(std::uint32_t id, Value v) {
  env_.saved.emplace_back(id, env_.value(id));
  env_.setValue(id, std::move(v));
}

Bindings::~Bindings() {
  while (env_.saved.size() > base_) {
    auto& [id, old] = env_.saved.back();
    env_.values[id] = std::move(old);
    env_.saved.pop_back();
  }
}

void ArgBuffer::spill() {
  more_.insert(more_.begin(), std::make_move_iterator(inline_), std::make_move_iterator(inline_ + kInline));
  spilled_ = true;
}

void write(std::string_view text) { kvads::consoleWrite(text); }

namespace {

bool isLambdaList(const Value& v) { return v.isCons() && v.car().isSymbol() && v.car().symbolId() == sym().lambda; }

std::size_t length(const Value& list) {
  std::size_t n = 0;
  for (const Value* p = &list; p->isCons(); p = &p->cdr()) ++n;
  return n;
}

[[noreturn]] void noFunction(const Value& symbol) {
  throw Error("no function definition: " + std::string(symbol.symbolName()));
}

}  // namespace

Value Environment::Impl::eval(const Value& x) {
  if (x.isSymbol()) return value(x.symbolId());
  if (!x.isCons()) return x;
  DepthGuard guard;
  const Value& head = x.car();
  Value fn;
  if (head.isSymbol()) {
    fn = value(head.symbolId());
    if (fn.isNil()) noFunction(head);
  } else if (head.isCons()) {
    fn = isLambdaList(head) ? head : eval(head);
  } else {
    throw Error("bad function: " + head.print());
  }
  if (fn.type() == Type::Subr && as<SubrObj>(fn)->special) return as<SubrObj>(fn)->special(*this, x.cdr());
  if (!fn.isFunction()) fn = resolve(fn);
  ArgBuffer args;
  for (const Value* a = &x.cdr(); a->isCons(); a = &a->cdr()) args.push(eval(a->car()));
  return applyResolved(fn, args.span());
}

Value Environment::Impl::evalBody(const Value& body) {
  Value last;
  for (const Value* p = &body; p->isCons(); p = &p->cdr()) last = eval(p->car());
  return last;
}

Value Environment::Impl::resolve(const Value& f) {
  if (f.isFunction()) return f;
  if (f.isSymbol()) {
    const Value& v = value(f.symbolId());
    if (v.isNil()) noFunction(f);
    if (v.isFunction()) return v;
    if (isLambdaList(v)) return resolve(v);
    throw Error("bad function: " + v.print());
  }
  if (isLambdaList(f)) {
    const Value& rest = f.cdr();
    if (!rest.isCons()) tooFew();
    return makeLambda(rest.car(), rest.cdr(), "-lambda-");
  }
  throw Error("bad function: " + f.print());
}

Value Environment::Impl::applyResolved(const Value& fn, Args args) {
  switch (fn.type()) {
    case Type::Subr: {
      auto* s = as<SubrObj>(fn);
      if (s->special && !s->fn) throw Error("bad function: " + fn.print());
      if (args.size() < static_cast<std::size_t>(s->minArgs)) tooFew();
      if (s->maxArgs >= 0 && args.size() > static_cast<std::size_t>(s->maxArgs)) tooMany();
      try {
        return s->fn(self, args);
      } catch (const Error&) {
        throw;
      } catch (const std::bad_alloc&) {
        throw Error("insufficient memory");
      } catch (const std::exception& e) {
        throw Error(e.what());
      }
    }
    case Type::Usubr: return callUsubr(*as<UsubrObj>(fn), args);
    case Type::Exsubr: return callExternal(*as<ExsubrObj>(fn), args);
    default: throw Error("bad function: " + fn.print());
  }
}

Value Environment::Impl::callUsubr(const UsubrObj& f, Args args) {
  if (args.size() < f.params.size()) tooFew();
  if (args.size() > f.params.size()) tooMany();
  DepthGuard guard;
  Bindings b(*this);
  for (std::size_t i = 0; i < args.size(); ++i) b.bind(f.params[i], args[i]);
  for (std::uint32_t id : f.locals) b.bind(id, Value());
  return evalBody(f.body);
}

Value Environment::Impl::makeLambda(const Value& params, const Value& body, std::string name) {
  if (!params.isList()) badArgument("listp", params);
  UsubrObj* u;
  Value v = newObject(Type::Usubr, u);
  u->name = std::move(name);
  u->body = body;
  bool locals = false;
  for (const Value* p = &params; p->isCons(); p = &p->cdr()) {
    const Value& s = p->car();
    if (!s.isSymbol()) badArgument("symbolp", s);
    if (s.symbolId() == sym().slash && !locals) {
      locals = true;
      continue;
    }
    (locals ? u->locals : u->params).push_back(s.symbolId());
  }
  return v;
}

void Environment::Impl::topLevelError(const std::string& message) {
  const Value& handler = value(sym().error);
  if (!handler.isNil()) {
    try {
      Value msg = Value::string(message);
      applyResolved(resolve(handler), Args(&msg, 1));
      return;
    } catch (const Error& inner) {
      write(std::string("; error: An error has occurred inside the *error* function") + inner.what() + "\n");
      return;
    }
  }
  if (!kvads::consoleAtLineStart()) write("\n");
  write("; error: " + message + "\n");
}

// ---------------------------------------------------------------------------------------------
// Special forms.

namespace {

using Impl = Environment::Impl;

// Checks the count of unevaluated arguments.
void arity(const Value& args, std::size_t min, std::size_t max) {
  std::size_t n = length(args);
  if (n < min) tooFew();
  if (n > max) tooMany();
}

const Value& nth(const Value& list, std::size_t i) {
  const Value* p = &list;
  while (i-- > 0) p = &p->cdr();
  return p->car();
}

Value fQuote(Impl&, const Value& args) {
  arity(args, 1, 1);
  return args.car();
}

Value fSetq(Impl& env, const Value& args) {
  if (args.isNil()) tooFew();
  Value last;
  for (const Value* p = &args; p->isCons(); p = &p->cdr().cdr()) {
    const Value& s = p->car();
    if (!s.isSymbol()) badArgument("symbolp", s);
    if (!p->cdr().isCons()) tooFew();
    last = env.eval(p->cdr().car());
    env.setValue(s.symbolId(), last);
  }
  return last;
}

Value fIf(Impl& env, const Value& args) {
  arity(args, 2, 3);
  if (!env.eval(args.car()).isNil()) return env.eval(nth(args, 1));
  return env.eval(nth(args, 2));
}

Value fCond(Impl& env, const Value& args) {
  for (const Value* p = &args; p->isCons(); p = &p->cdr()) {
    const Value& clause = p->car();
    if (!clause.isCons()) badArgument("listp", clause);
    Value test = env.eval(clause.car());
    if (test.isNil()) continue;
    return clause.cdr().isNil() ? test : env.evalBody(clause.cdr());
  }
  return Value();
}

Value fWhile(Impl& env, const Value& args) {
  arity(args, 1, SIZE_MAX);
  Value last;
  while (!env.eval(args.car()).isNil()) last = env.evalBody(args.cdr());
  return last;
}

Value fRepeat(Impl& env, const Value& args) {
  arity(args, 1, SIZE_MAX);
  Value n = env.eval(args.car());
  if (!n.isInt()) badArgument("fixnump:", n);
  Value last;
  for (std::int32_t i = n.asInt(); i > 0; --i) last = env.evalBody(args.cdr());
  return last;
}

Value fForeach(Impl& env, const Value& args) {
  arity(args, 2, SIZE_MAX);
  const Value& var = args.car();
  if (!var.isSymbol()) badArgument("symbolp", var);
  Value list = env.eval(args.cdr().car());
  if (!list.isList()) badArgument("listp", list);
  Bindings b(env);
  b.bind(var.symbolId(), Value());
  Value last;
  for (const Value* p = &list; p->isCons(); p = &p->cdr()) {
    env.setValue(var.symbolId(), p->car());
    last = env.evalBody(args.cdr().cdr());
  }
  return last;
}

Value fProgn(Impl& env, const Value& args) { return env.evalBody(args); }

Value fAnd(Impl& env, const Value& args) {
  for (const Value* p = &args; p->isCons(); p = &p->cdr())
    if (env.eval(p->car()).isNil()) return Value();
  return Value::t();
}

Value fOr(Impl& env, const Value& args) {
  for (const Value* p = &args; p->isCons(); p = &p->cdr())
    if (!env.eval(p->car()).isNil()) return Value::t();
  return Value();
}

// The applied forms: the arguments are values already, so nothing is left to short-circuit.
Value aAnd(Environment&, Args a) {
  for (const Value& v : a)
    if (v.isNil()) return Value();
  return Value::t();
}

Value aOr(Environment&, Args a) {
  for (const Value& v : a)
    if (!v.isNil()) return Value::t();
  return Value();
}

Value aProgn(Environment&, Args a) { return a.empty() ? Value() : a[a.size() - 1]; }

Value fDefun(Impl& env, const Value& args) {
  arity(args, 2, SIZE_MAX);
  const Value& name = args.car();
  if (!name.isSymbol()) badArgument("symbolp", name);
  env.setValue(name.symbolId(), env.makeLambda(args.cdr().car(), args.cdr().cdr(), std::string(name.symbolName())));
  return name;
}

Value fLambda(Impl& env, const Value& args) {
  arity(args, 1, SIZE_MAX);
  return env.makeLambda(args.car(), args.cdr(), "-lambda-");
}

const SpecialDef kSpecials[] = {
    {"quote", "(quote expr)", "EXPR unevaluated.", fQuote},
    {"function", "(function fn)", "FN unevaluated, as quote.", fQuote},
    {"setq", "(setq sym expr [sym expr]...)", "Sets each SYM to the value of its EXPR.", fSetq},
    {"if", "(if test then [else])", "THEN when TEST is not nil, else ELSE.", fIf},
    {"cond", "(cond [(test body...)]...)", "The first clause whose TEST holds.", fCond},
    {"while", "(while test body...)", "BODY while TEST holds.", fWhile},
    {"repeat", "(repeat n body...)", "BODY N times.", fRepeat},
    {"foreach", "(foreach sym list body...)", "BODY for each item of LIST bound to SYM.", fForeach},
    {"progn", "(progn [body...])", "Each expression; the value of the last.", fProgn, aProgn},
    {"and", "(and [expr...])", "T when no EXPR is nil; stops at the first nil.", fAnd, aAnd},
    {"or", "(or [expr...])", "T at the first EXPR that is not nil.", fOr, aOr},
    {"defun", "(defun sym (params [/ locals]) body...)", "Defines a function; dynamic scope.", fDefun},
    {"lambda", "(lambda (params [/ locals]) body...)", "An anonymous function.", fLambda},
};

struct SpecialRegistrar {
  SpecialRegistrar() { registerSpecials(kSpecials); }
} specialRegistrar;

}  // namespace

// ---------------------------------------------------------------------------------------------
// Environment.

Environment::Environment() : impl_(std::make_unique<Impl>(*this)) {
  installFunctions(*this);
  set(sym().t, Value::t());
  set(sym().pi, Value::real(3.14159265358979323846));
  trackEnvironment(this, true);
}

Environment::~Environment() {
  trackEnvironment(this, false);
  if (kvads::currentSession() == this) kvads::setCurrentSession(nullptr);
}

Value Environment::eval(const Value& form) { return impl_->eval(form); }

Value Environment::apply(const Value& function, Args args) {
  return impl_->applyResolved(impl_->resolve(function), args);
}

Value Environment::call(std::string_view name, std::initializer_list<Value> args) {
  return apply(Value::symbol(name), Args(args.begin(), args.size()));
}

Value Environment::evalString(std::string_view source) {
  Reader reader(source);
  Value form, last;
  while (reader.next(form)) last = impl_->eval(form);
  return last;
}

namespace {

bool readFile(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream ss;
  ss << in.rdbuf();
  text = ss.str();
  return true;
}

std::string folderOf(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

Value Environment::load(const std::string& path) {
  std::vector<std::string> candidates{path, path + ".lsp"};
  if (!path.empty() && path[0] != '/' && !impl_->loading.empty()) {
    std::string dir = folderOf(impl_->loading.back());
    candidates.push_back(dir + path);
    candidates.push_back(dir + path + ".lsp");
  }
  std::string text;
  for (const std::string& c : candidates) {
    if (!readFile(c, text)) continue;
    impl_->loading.push_back(c);
    struct Pop {
      std::vector<std::string>& v;
      ~Pop() { v.pop_back(); }
    } pop{impl_->loading};
    return evalString(text);
  }
  throw Error("LOAD failed: \"" + path + "\"");
}

bool Environment::runTopLevel(std::string_view source) {
  impl_->pendingExit = -1;  // one left by an acedInvoke outside any call is stale by now
  try {
    evalString(source);
    return true;
  } catch (const Error& e) {
    impl_->topLevelError(e.what());
    return false;
  }
}

bool Environment::evalTopLevel(const Value& form, Value& result) {
  impl_->pendingExit = -1;
  try {
    result = impl_->eval(form);
    return true;
  } catch (const Error& e) {
    impl_->topLevelError(e.what());
    return false;
  }
}

bool Environment::loadTopLevel(const std::string& path) {
  impl_->pendingExit = -1;
  try {
    load(path);
    return true;
  } catch (const Error& e) {
    impl_->topLevelError(e.what());
    return false;
  }
}

Value Environment::get(std::string_view name) const { return get(intern(name)); }
void Environment::set(std::string_view name, Value value) { set(intern(name), std::move(value)); }
Value Environment::get(std::uint32_t id) const { return impl_->value(id); }
void Environment::set(std::uint32_t id, Value value) { impl_->setValue(id, std::move(value)); }

}  // namespace kvlisp
