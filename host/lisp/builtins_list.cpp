// Builtins: lists.
#include <algorithm>

#include "internal.h"

namespace kvlisp {

namespace {

Value boolean(bool b) { return b ? Value::t() : Value(); }

// The items of a proper list; a dotted tail is ignored.
std::vector<Value> items(const Value& list) {
  std::vector<Value> v;
  for (const Value* p = &list; p->isCons(); p = &p->cdr()) v.push_back(p->car());
  return v;
}

const Value& checkedList(Args a, std::size_t i) { return argList(a, i); }

Value lCar(Environment&, Args a) { return a[0].car(); }
Value lCdr(Environment&, Args a) { return a[0].cdr(); }

// c[ad]{2,4}r: the path is applied from the right, as the name reads.
template <char... Path>
Value cxr(Environment&, Args a) {
  static constexpr char path[] = {Path...};
  Value v = a[0];
  for (std::size_t i = sizeof...(Path); i-- > 0;) {
    if (!v.isList()) badArgument("consp", v);
    v = path[i] == 'a' ? v.car() : v.cdr();
  }
  return v;
}

Value lCons(Environment&, Args a) { return Value::cons(a[0], a[1]); }
Value lList(Environment&, Args a) { return Value::list(a); }

Value lAppend(Environment&, Args a) {
  if (a.empty()) return Value();
  std::vector<Value> all;
  for (std::size_t i = 0; i + 1 < a.size(); ++i) {
    auto v = items(checkedList(a, i));
    all.insert(all.end(), v.begin(), v.end());
  }
  Value result = checkedList(a, a.size() - 1);
  for (auto it = all.rbegin(); it != all.rend(); ++it) result = Value::cons(*it, result);
  return result;
}

Value lAssoc(Environment&, Args a) {
  for (const Value* p = &checkedList(a, 1); p->isCons(); p = &p->cdr()) {
    const Value& item = p->car();
    if (item.isCons() && item.car().equal(a[0])) return item;
  }
  return Value();
}

Value lNth(Environment&, Args a) {
  std::int32_t n = argInt(a, 0);
  const Value* p = &checkedList(a, 1);
  if (n < 0) return Value();
  for (; n > 0 && p->isCons(); --n) p = &p->cdr();
  return p->isCons() ? p->car() : Value();
}

Value lLength(Environment&, Args a) {
  std::int32_t n = 0;
  const Value* p = &checkedList(a, 0);
  for (; p->isCons(); p = &p->cdr()) ++n;
  if (!p->isNil()) badArgument("listp", a[0]);
  return Value::integer(n);
}

Value lReverse(Environment&, Args a) {
  Value r;
  for (const Value* p = &checkedList(a, 0); p->isCons(); p = &p->cdr()) r = Value::cons(p->car(), r);
  return r;
}

Value lMember(Environment&, Args a) {
  for (const Value* p = &checkedList(a, 1); p->isCons(); p = &p->cdr())
    if (p->car().equal(a[0])) return *p;
  return Value();
}

// Replaces every item equal to OLD, at any depth.
Value substitute(const Value& x, const Value& nu, const Value& old, int depth) {
  if (depth > kMaxNesting) stackLimit();
  if (x.equal(old)) return nu;
  if (!x.isCons()) return x;
  std::vector<Value> v;
  const Value* p = &x;
  for (; p->isCons(); p = &p->cdr()) v.push_back(substitute(p->car(), nu, old, depth + 1));
  Value r = p->isNil() ? Value() : substitute(*p, nu, old, depth + 1);
  for (auto it = v.rbegin(); it != v.rend(); ++it) r = Value::cons(*it, r);
  return r;
}

Value lSubst(Environment&, Args a) { return substitute(checkedList(a, 2), a[0], a[1], 0); }

Value lLast(Environment&, Args a) {
  const Value* p = &checkedList(a, 0);
  if (p->isNil()) return Value();
  while (p->cdr().isCons()) p = &p->cdr();
  return p->car();
}

Value lRemove(Environment&, Args a) {
  std::vector<Value> kept;
  for (const Value* p = &checkedList(a, 1); p->isCons(); p = &p->cdr())
    if (!p->car().equal(a[0])) kept.push_back(p->car());
  return Value::list(kept);
}

Value lPosition(Environment&, Args a) {
  std::int32_t i = 0;
  for (const Value* p = &checkedList(a, 1); p->isCons(); p = &p->cdr(), ++i)
    if (p->car().equal(a[0])) return Value::integer(i);
  return Value();
}

// Stable; the comparison is a LISP function of two arguments.
Value lSort(Environment& env, Args a) {
  std::vector<Value> v = items(checkedList(a, 0));
  Value fn = env.impl().resolve(a[1]);
  std::stable_sort(v.begin(), v.end(), [&](const Value& x, const Value& y) {
    Value pair[2] = {x, y};
    return !env.impl().applyResolved(fn, Args(pair, 2)).isNil();
  });
  return Value::list(v);
}

Value filter(Environment& env, Args a, bool keepMatches) {
  Value fn = env.impl().resolve(a[0]);
  std::vector<Value> kept;
  for (const Value* p = &checkedList(a, 1); p->isCons(); p = &p->cdr()) {
    bool match = !env.impl().applyResolved(fn, Args(&p->car(), 1)).isNil();
    if (match == keepMatches) kept.push_back(p->car());
  }
  return Value::list(kept);
}

Value lRemoveIf(Environment& env, Args a) { return filter(env, a, false); }
Value lRemoveIfNot(Environment& env, Args a) { return filter(env, a, true); }
Value lConsp(Environment&, Args a) { return boolean(a[0].isCons()); }

// FN over the lists in step until the shortest ends or `done` takes a value of FN; then
// what `done` answered, else `atEnd`.
template <typename Done>
Value stepLists(Environment& env, Args a, Value atEnd, Done done) {
  Value fn = env.impl().resolve(a[0]);
  std::vector<const Value*> lists;
  for (std::size_t i = 1; i < a.size(); ++i) lists.push_back(&checkedList(a, i));
  std::vector<Value> args(lists.size());
  for (;;) {
    for (std::size_t i = 0; i < lists.size(); ++i) {
      if (!lists[i]->isCons()) return atEnd;
      args[i] = lists[i]->car();
      lists[i] = &lists[i]->cdr();
    }
    Value r = env.impl().applyResolved(fn, args);
    if (done(r)) return r;
  }
}

Value lEvery(Environment& env, Args a) {
  return stepLists(env, a, Value::t(), [](const Value& r) { return r.isNil(); });
}

Value lSome(Environment& env, Args a) {
  return stepLists(env, a, Value(), [](const Value& r) { return !r.isNil(); });
}

Value memberIf(Environment& env, Args a, bool want) {
  Value fn = env.impl().resolve(a[0]);
  for (const Value* p = &checkedList(a, 1); p->isCons(); p = &p->cdr())
    if (env.impl().applyResolved(fn, Args(&p->car(), 1)).isNil() != want) return *p;
  return Value();
}

Value lMemberIf(Environment& env, Args a) { return memberIf(env, a, true); }
Value lMemberIfNot(Environment& env, Args a) { return memberIf(env, a, false); }

Value lListStar(Environment&, Args a) {
  Value r = a.back();
  for (std::size_t i = a.size() - 1; i-- > 0;) r = Value::cons(a[i], r);
  return r;
}

Value lListLength(Environment&, Args a) {
  std::int32_t n = 0;
  const Value* p = &checkedList(a, 0);
  for (; p->isCons(); p = &p->cdr()) ++n;
  return p->isNil() ? Value::integer(n) : Value();
}

Value lStrlsort(Environment&, Args a) {
  std::vector<Value> v = items(checkedList(a, 0));
  for (const Value& x : v)
    if (!x.isString()) badArgument("stringp", x);
  std::stable_sort(v.begin(), v.end(), [](const Value& x, const Value& y) { return x.asString() < y.asString(); });
  return Value::list(v);
}

const NativeDef kLists[] = {
    {"car", "(car list)", "The first item.", lCar},
    {"cdr", "(cdr list)", "All but the first item.", lCdr},
    {"caar", "(caar list)", "", cxr<'a', 'a'>}, {"cadr", "(cadr list)", "", cxr<'a', 'd'>},
    {"cdar", "(cdar list)", "", cxr<'d', 'a'>}, {"cddr", "(cddr list)", "", cxr<'d', 'd'>},
    {"caaar", "(caaar list)", "", cxr<'a', 'a', 'a'>}, {"caadr", "(caadr list)", "", cxr<'a', 'a', 'd'>},
    {"cadar", "(cadar list)", "", cxr<'a', 'd', 'a'>}, {"caddr", "(caddr list)", "", cxr<'a', 'd', 'd'>},
    {"cdaar", "(cdaar list)", "", cxr<'d', 'a', 'a'>}, {"cdadr", "(cdadr list)", "", cxr<'d', 'a', 'd'>},
    {"cddar", "(cddar list)", "", cxr<'d', 'd', 'a'>}, {"cdddr", "(cdddr list)", "", cxr<'d', 'd', 'd'>},
    {"caaaar", "(caaaar list)", "", cxr<'a', 'a', 'a', 'a'>}, {"caaadr", "(caaadr list)", "", cxr<'a', 'a', 'a', 'd'>},
    {"caadar", "(caadar list)", "", cxr<'a', 'a', 'd', 'a'>}, {"caaddr", "(caaddr list)", "", cxr<'a', 'a', 'd', 'd'>},
    {"cadaar", "(cadaar list)", "", cxr<'a', 'd', 'a', 'a'>}, {"cadadr", "(cadadr list)", "", cxr<'a', 'd', 'a', 'd'>},
    {"caddar", "(caddar list)", "", cxr<'a', 'd', 'd', 'a'>}, {"cadddr", "(cadddr list)", "", cxr<'a', 'd', 'd', 'd'>},
    {"cdaaar", "(cdaaar list)", "", cxr<'d', 'a', 'a', 'a'>}, {"cdaadr", "(cdaadr list)", "", cxr<'d', 'a', 'a', 'd'>},
    {"cdadar", "(cdadar list)", "", cxr<'d', 'a', 'd', 'a'>}, {"cdaddr", "(cdaddr list)", "", cxr<'d', 'a', 'd', 'd'>},
    {"cddaar", "(cddaar list)", "", cxr<'d', 'd', 'a', 'a'>}, {"cddadr", "(cddadr list)", "", cxr<'d', 'd', 'a', 'd'>},
    {"cdddar", "(cdddar list)", "", cxr<'d', 'd', 'd', 'a'>}, {"cddddr", "(cddddr list)", "", cxr<'d', 'd', 'd', 'd'>},
    {"cons", "(cons item list)", "A new list cell; a dotted pair when LIST is an atom.", lCons},
    {"list", "(list [item...])", "A list of the items.", lList},
    {"append", "(append [list...])", "The lists joined.", lAppend},
    {"assoc", "(assoc key alist)", "The first item of ALIST whose car is equal to KEY.", lAssoc},
    {"nth", "(nth n list)", "Item N, from 0; nil beyond the end.", lNth},
    {"length", "(length list)", "The number of items.", lLength},
    {"reverse", "(reverse list)", "The items in reverse order.", lReverse},
    {"member", "(member item list)", "LIST from the first item equal to ITEM.", lMember},
    {"subst", "(subst new old list)", "LIST with each item equal to OLD replaced by NEW.", lSubst},
    {"last", "(last list)", "The last item.", lLast},
    {"vl-remove", "(vl-remove item list)", "LIST without the items equal to ITEM.", lRemove},
    {"vl-position", "(vl-position item list)", "The index of ITEM in LIST, or nil.", lPosition},
    {"vl-sort", "(vl-sort list fn)", "LIST sorted by the comparison FN; stable.", lSort},
    {"vl-remove-if", "(vl-remove-if fn list)", "LIST without the items FN holds for.", lRemoveIf},
    {"vl-remove-if-not", "(vl-remove-if-not fn list)", "The items of LIST that FN holds for.", lRemoveIfNot},
    {"vl-consp", "(vl-consp x)", "T when X is a list cell.", lConsp},
    {"vl-every", "(vl-every fn list lists...)", "T when FN holds for every step through the lists.", lEvery},
    {"vl-some", "(vl-some fn list lists...)", "The first value of FN that is not nil.", lSome},
    {"vl-member-if", "(vl-member-if fn list)", "LIST from the first item FN holds for.", lMemberIf},
    {"vl-member-if-not", "(vl-member-if-not fn list)", "LIST from the first item FN fails for.", lMemberIfNot},
    {"vl-list*", "(vl-list* item items...)", "A list of the items, the last one its tail.", lListStar},
    {"vl-list-length", "(vl-list-length list)", "The length of a proper list; nil for a dotted one.",
     lListLength},
    {"acad_strlsort", "(acad_strlsort list)", "A list of strings sorted.", lStrlsort},
};

const NativeRegistrar registrar(kLists);

}  // namespace

}  // namespace kvlisp
