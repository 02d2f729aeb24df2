// Builtins: predicates and identity, output, errors, evaluation and loading.
#include <cstdio>

#include "internal.h"

namespace kvlisp {

using namespace detail;

namespace {

Value boolean(bool b) { return b ? Value::t() : Value(); }

// ---- predicates and identity

Value lNull(Environment&, Args a) { return boolean(a[0].isNil()); }
Value lAtom(Environment&, Args a) { return boolean(!a[0].isCons()); }
Value lListp(Environment&, Args a) { return boolean(a[0].isList()); }
Value lNumberp(Environment&, Args a) { return boolean(a[0].isNumber()); }
Value lEq(Environment&, Args a) { return boolean(a[0].eq(a[1])); }
Value lEqual(Environment&, Args a) { return boolean(a[0].equal(a[1], a.size() > 2 ? argNumber(a, 2) : 0.0)); }
Value lBoundp(Environment& env, Args a) {
  if (a[0].isNil()) return Value();
  return boolean(!env.get(Value(a[0]).symbolId()).isNil());
}

Value lType(Environment&, Args a) {
  static constexpr const char* kNames[] = {"", "INT", "REAL", "STR", "SYM", "LIST", "SUBR", "USUBR",
                                           "EXRXSUBR", "ENAME", "PICKSET", "FILE", "VL-CATCH-ALL-APPLY-ERROR"};
  Type t = a[0].type();
  return t == Type::Nil ? Value() : Value::symbol(kNames[static_cast<int>(t)]);
}

// ---- output

// Writes to the console, or to a file opened for writing when one is given.
void out(Args a, std::size_t fileArg, const std::string& text) {
  if (fileArg < a.size() && !a[fileArg].isNil()) {
    if (a[fileArg].type() != Type::File) badArgument("streamp", a[fileArg]);
    auto* f = as<FileObj>(a[fileArg]);
    if (!f->file) badArgument("streamp", a[fileArg]);
    std::fwrite(text.data(), 1, text.size(), f->file);
    return;
  }
  write(text);
}

Value lPrinc(Environment&, Args a) {
  if (a.empty()) return Value::symbol("");
  out(a, 1, a[0].print(false));
  return a[0];
}

Value lPrin1(Environment&, Args a) {
  if (a.empty()) return Value::symbol("");
  out(a, 1, a[0].print(true));
  return a[0];
}

Value lPrint(Environment&, Args a) {
  if (a.empty()) return Value::symbol("");
  out(a, 1, "\n" + a[0].print(true) + " ");
  return a[0];
}

Value lPrompt(Environment&, Args a) {
  write(argString(a, 0));
  return Value();
}

Value lTerpri(Environment&, Args) {
  write("\n");
  return Value();
}

Value lAlert(Environment&, Args a) {
  write("\n** " + argString(a, 0) + " **\n");
  return Value();
}

// ---- errors

Value lExit(Environment&, Args a) {
  if (!a.empty()) throw ExitRequest{argInt(a, 0)};
  throw Error("quit / exit abort");
}

Value catchAllError(const std::string& message) {
  ErrorObj* e;
  Value v = newObject(Type::CatchAllError, e);
  e->message = message;
  return v;
}

Value lCatchAllApply(Environment& env, Args a) {
  const Value& list = argList(a, 1);
  std::vector<Value> args;
  for (const Value* p = &list; p->isCons(); p = &p->cdr()) args.push_back(p->car());
  try {
    return env.apply(a[0], args);
  } catch (const Error& e) {
    return catchAllError(e.what());
  }
}

Value lCatchAllErrorP(Environment&, Args a) { return boolean(a[0].type() == Type::CatchAllError); }

Value lCatchAllErrorMessage(Environment&, Args a) {
  if (a[0].type() != Type::CatchAllError) badArgument("vl-catch-all-apply-error-p", a[0]);
  return Value::string(as<ErrorObj>(a[0])->message);
}

// ---- evaluation

Value lEval(Environment& env, Args a) { return env.eval(a[0]); }

Value lApply(Environment& env, Args a) {
  const Value& list = argList(a, 1);
  std::vector<Value> args;
  for (const Value* p = &list; p->isCons(); p = &p->cdr()) args.push_back(p->car());
  return env.apply(a[0], args);
}

// (mapcar fn list...): stops with the shortest list.
Value lMapcar(Environment& env, Args a) {
  Value fn = env.impl().resolve(a[0]);
  std::vector<const Value*> lists;
  for (std::size_t i = 1; i < a.size(); ++i) lists.push_back(&argList(a, i));
  std::vector<Value> results, args(lists.size());
  for (;;) {
    for (std::size_t i = 0; i < lists.size(); ++i) {
      if (!lists[i]->isCons()) return Value::list(results);
      args[i] = lists[i]->car();
      lists[i] = &lists[i]->cdr();
    }
    results.push_back(env.impl().applyResolved(fn, args));
  }
}

Value lSet(Environment& env, Args a) {
  if (!a[0].isSymbol()) badArgument("symbolp", a[0]);
  env.set(a[0].symbolId(), a[1]);
  return a[1];
}

Value lSymbolName(Environment&, Args a) { return Value::string(std::string(argSymbol(a, 0))); }

Value lLoad(Environment& env, Args a) {
  const std::string& path = argString(a, 0);
  if (a.size() < 2) return env.load(path);
  try {
    return env.load(path);
  } catch (const Error& e) {
    if (std::string_view(e.what()).starts_with("LOAD failed:")) return a[1];
    throw;
  }
}

Value lSymbolValue(Environment& env, Args a) {
  if (a[0].isNil()) return Value();
  if (!a[0].isSymbol()) badArgument("symbolp", a[0]);
  return env.get(a[0].symbolId());
}

Value lVer(Environment&, Args) { return Value::string("kvhost LISP 1.0"); }
Value lGc(Environment&, Args) { return Value(); }

const NativeDef kCore[] = {
    {"null", "(null x)", "T when X is nil.", lNull},
    {"not", "(not x)", "T when X is nil.", lNull},
    {"atom", "(atom x)", "T when X is not a list cell.", lAtom},
    {"listp", "(listp x)", "T when X is a list or nil.", lListp},
    {"numberp", "(numberp x)", "T when X is an integer or a real.", lNumberp},
    {"eq", "(eq a b)", "T when A and B are the same object.", lEq},
    {"equal", "(equal a b [fuzz])", "T when A and B are alike; numbers within FUZZ.", lEqual},
    {"boundp", "(boundp sym)", "T when SYM has a value.", lBoundp},
    {"type", "(type x)", "The type of X as a symbol; nil for nil.", lType},
    {"princ", "(princ [x [file]])", "Writes X as it stands.", lPrinc},
    {"prin1", "(prin1 [x [file]])", "Writes X as the reader reads it.", lPrin1},
    {"print", "(print [x [file]])", "A new line, X as prin1 writes it, then a space.", lPrint},
    {"prompt", "(prompt string)", "Writes STRING.", lPrompt},
    {"terpri", "(terpri)", "Writes a new line.", lTerpri},
    {"alert", "(alert string)", "Shows STRING on the console.", lAlert},
    {"exit", "(exit [status])", "Aborts the program; with STATUS, leaves the host with it.", lExit},
    {"quit", "(quit [status])", "As exit.", lExit},
    {"vl-catch-all-apply", "(vl-catch-all-apply fn list)", "FN applied to LIST; an error object on error.",
     lCatchAllApply},
    {"vl-catch-all-error-p", "(vl-catch-all-error-p x)", "T when X is an error object.", lCatchAllErrorP},
    {"vl-catch-all-error-message", "(vl-catch-all-error-message err)", "The text of an error object.",
     lCatchAllErrorMessage},
    {"eval", "(eval expr)", "The value of EXPR.", lEval},
    {"apply", "(apply fn list)", "FN called with the items of LIST.", lApply},
    {"mapcar", "(mapcar fn list lists...)", "FN over the items of the lists, in step.", lMapcar},
    {"set", "(set sym value)", "Sets the symbol SYM evaluates to.", lSet},
    {"vl-symbol-name", "(vl-symbol-name sym)", "The name of SYM.", lSymbolName},
    {"vl-symbol-value", "(vl-symbol-value sym)", "The value of SYM.", lSymbolValue},
    {"ver", "(ver)", "The interpreter's version text.", lVer},
    {"gc", "(gc)", "Nothing to do: values are freed when their last use goes.", lGc},
    {"load", "(load file [onfailure])", "Evaluates a LISP file; ONFAILURE when it cannot be read.", lLoad},
};

const NativeRegistrar registrar(kCore);

}  // namespace

}  // namespace kvlisp
