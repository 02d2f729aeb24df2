// The printed form of values, as prin1 and princ write them.
#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "internal.h"

namespace kvlisp {

using namespace detail;

std::string formatReal(double x) {
  if (std::isnan(x)) return "-1.#IND";
  if (std::isinf(x)) return x > 0 ? "1.#INF" : "-1.#INF";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.6g", x);
  std::string s = buf;
  std::size_t e = s.find('e');
  std::string mantissa = s.substr(0, e);
  if (mantissa.find('.') == std::string::npos) mantissa += ".0";
  return e == std::string::npos ? mantissa : mantissa + s.substr(e);
}

namespace {

void printString(std::string& out, const std::string& s) {
  out.push_back('"');
  for (char c : s) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      case '\x1b': out += "\\e"; break;
      default:
        if (static_cast<unsigned char>(c) < 32) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\%03o", static_cast<unsigned>(static_cast<unsigned char>(c)));
          out += buf;
        } else {
          out.push_back(c);
        }
    }
  }
  out.push_back('"');
}

std::string tagged(const char* kind, const void* address, const std::string& name) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "#<%s @%016" PRIxPTR " ", kind, reinterpret_cast<std::uintptr_t>(address));
  return buf + name + ">";
}

// Everything but a cons.
void printAtom(std::string& out, const Value& v, bool escape) {
  char buf[64];
  switch (v.type()) {
    case Type::Nil: out += "nil"; break;
    case Type::Int: out += std::to_string(v.asInt()); break;
    case Type::Real: out += formatReal(v.asReal()); break;
    case Type::Str:
      if (escape) printString(out, v.asString());
      else out += v.asString();
      break;
    case Type::Sym: out += v.symbolName(); break;
    case Type::Subr: out += tagged("SUBR", v.object(), as<SubrObj>(v)->name); break;
    case Type::Usubr: out += tagged("USUBR", v.object(), as<UsubrObj>(v)->name); break;
    case Type::Exsubr: out += tagged("EXRXSUBR", v.object(), as<ExsubrObj>(v)->name); break;
    case Type::Ename:
      std::snprintf(buf, sizeof buf, "<Entity name: %" PRIx64 ">", v.asName()[0]);
      out += buf;
      break;
    case Type::Pickset:
      std::snprintf(buf, sizeof buf, "<Selection set: %" PRIx64 ">", v.asName()[0]);
      out += buf;
      break;
    case Type::File: out += "#<file \"" + as<FileObj>(v)->name + "\">"; break;
    case Type::CatchAllError: out += "#<%catch-all-apply-error%>"; break;
    case Type::List: break;
  }
}

}  // namespace

const Value kNil;

// Iterative, so that any nesting the reader accepts can be printed.
std::string Value::print(bool escape) const {
  std::string out;
  std::vector<const Value*> rest;  // the remaining spine of each open list
  const Value* v = this;
  for (;;) {
    if (v->isCons()) {
      out.push_back('(');
      rest.push_back(&v->cdr());
      v = &v->car();
      continue;
    }
    printAtom(out, *v, escape);
    for (;;) {
      if (rest.empty()) return out;
      const Value* tail = rest.back();
      if (tail->isNil()) {
        out.push_back(')');
        rest.pop_back();
        continue;
      }
      if (tail->isCons()) {
        out.push_back(' ');
        rest.back() = &tail->cdr();
        v = &tail->car();
      } else {
        out += " . ";
        rest.back() = &kNil;
        v = tail;
      }
      break;
    }
  }
}

}  // namespace kvlisp
