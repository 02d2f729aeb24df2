// (atoms-family): the symbols an environment gives a value, so that scripts and tools can list
// every function a document offers (the host's, the module's, the application layer's) without
// a list of their own that would fall behind.
#include "internal.h"

namespace kvlisp {

using namespace detail;

namespace {

Value named(std::uint32_t id, bool asString) {
  return asString ? Value::string(symbolName(id)) : Value::symbol(symbolName(id));
}

// (atoms-family format [names]): format 0 gives symbols, 1 strings. With NAMES (strings), each
// name bound in this environment, nil for the others, in the order given.
Value lAtomsFamily(Environment& env, Args a) {
  std::int32_t format = argInt(a, 0);
  if (format != 0 && format != 1) badArgument("fixnump:", a[0]);
  std::vector<Value> out;
  if (a.size() > 1 && !a[1].isNil()) {
    for (const Value* p = &argList(a, 1); p->isCons(); p = &p->cdr()) {
      if (!p->car().isString()) badArgument("stringp", p->car());
      std::uint32_t id = intern(p->car().asString());
      out.push_back(env.get(id).isNil() ? Value() : named(id, format == 1));
    }
    return Value::list(out);
  }
  const auto& values = env.impl().values;
  for (std::uint32_t id = 0; id < values.size(); ++id)
    if (!values[id].isNil()) out.push_back(named(id, format == 1));
  return Value::list(out);
}

const NativeDef kAtoms[] = {
    {"atoms-family", "(atoms-family format [names])", "The symbols with a value (0) or their names (1).",
     lAtomsFamily},
};

const NativeRegistrar registrar(kAtoms);

}  // namespace

}  // namespace kvlisp
