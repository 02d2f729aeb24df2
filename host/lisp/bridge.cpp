// The LISP side of the bridge: values to result-buffer cells and back, calls of functions that
// modules define with acedDefun, and acedInvoke.
#include "internal.h"

namespace kvlisp {

using namespace detail;

namespace {

// Cells a module call's arguments take from the stack; most calls have a handful of values.
constexpr std::size_t kLocalArgCells = 8;

// Releases a chain whose first `local` cells are storage of the caller's (linked first, in
// order): only their strings are freed, the rest of the chain goes back as usual.
void releaseChain(resbuf* head, const resbuf* local, std::size_t localCount) {
  resbuf* rb = head;
  for (; rb && rb >= local && rb < local + localCount; rb = rb->rbnext)
    if (kvads::holdsString(rb->restype)) std::free(rb->resval.rstring);
  if (rb) acutRelRb(rb);
}

// Appends cells behind a tail pointer, taking them from the caller's storage while it lasts.
class Chain {
 public:
  Chain() = default;
  Chain(resbuf* local, std::size_t count) : local_(local), localCount_(count) {}
  ~Chain() {
    if (head_) releaseChain(head_, local_, localCount_);
  }
  resbuf* add(int type) {
    resbuf* rb;
    if (localUsed_ < localCount_) {
      rb = &local_[localUsed_++];
      *rb = resbuf{nullptr, static_cast<short>(type), {}};
    } else {
      rb = acutNewRb(type);
    }
    *link_ = rb;
    link_ = &rb->rbnext;
    return rb;
  }
  resbuf* head() const { return head_; }
  resbuf* release() {
    resbuf* h = head_;
    head_ = nullptr;
    link_ = &head_;
    return h;
  }

 private:
  resbuf* head_ = nullptr;
  resbuf** link_ = &head_;
  resbuf* local_ = nullptr;
  std::size_t localCount_ = 0;
  std::size_t localUsed_ = 0;
};

// A proper list of exactly two or three numbers travels as a point.
int pointSize(const Value& v) {
  int n = 0;
  const Value* p = &v;
  for (; p->isCons(); p = &p->cdr()) {
    if (!p->car().isNumber() || ++n > 3) return 0;
  }
  return p->isNil() && n >= 2 ? n : 0;
}

void appendCells(Chain& out, const Value& v, int depth) {
  if (depth > kMaxNesting) stackLimit();
  switch (v.type()) {
    case Type::Nil: out.add(RTNIL); return;
    case Type::Int: {
      std::int32_t n = v.asInt();
      if (n >= -32768 && n <= 32767) out.add(RTSHORT)->resval.rint = static_cast<short>(n);
      else out.add(RTLONG)->resval.rlong = n;
      return;
    }
    case Type::Real: out.add(RTREAL)->resval.rreal = v.asReal(); return;
    case Type::Str: out.add(RTSTR)->resval.rstring = kvads::dupString(kvads::toWide(v.asString()).c_str()); return;
    case Type::Sym:
      if (v.symbolId() == sym().t) out.add(RTT);
      else if (v.symbolId() == sym().voidSym) out.add(RTVOID);
      else out.add(RTSTR)->resval.rstring = kvads::dupString(kvads::toWide(v.symbolName()).c_str());
      return;
    case Type::Ename: case Type::Pickset: {
      resbuf* rb = out.add(v.type() == Type::Ename ? RTENAME : RTPICKS);
      auto n = v.asName();
      rb->resval.rlname[0] = n[0];
      rb->resval.rlname[1] = n[1];
      return;
    }
    case Type::List: break;
    default: throw Error("bad argument type: " + v.print());
  }
  if (int n = pointSize(v)) {
    resbuf* rb = out.add(n == 2 ? RTPOINT : RT3DPOINT);
    const Value* p = &v;
    for (int i = 0; i < n; ++i, p = &p->cdr()) rb->resval.rpoint[i] = p->car().asNumber();
    return;
  }
  out.add(RTLB);
  const Value* p = &v;
  for (; p->isCons(); p = &p->cdr()) appendCells(out, p->car(), depth + 1);
  if (p->isNil()) {
    out.add(RTLE);
  } else {  // (a . b) reaches a module as RTLB a b RTDOTE
    appendCells(out, *p, depth + 1);
    out.add(RTDOTE);
  }
}

// A value of one scalar cell (no list structure).
Value scalar(const resbuf* rb) {
  const ads_u_val& u = rb->resval;
  switch (rb->restype) {
    case RTNIL: return Value();
    case RTT: return Value::t();
    case RTSHORT: return Value::integer(u.rint);
    case RTLONG: return Value::integer(u.rlong);
    case RTREAL: case RTANG: case RTORINT: return Value::real(u.rreal);
    case RTSTR: return Value::string(kvads::toUtf8(u.rstring ? u.rstring : L""));
    case RTENAME: return Value::ename(u.rlname[0], u.rlname[1]);
    case RTPICKS: return Value::pickset(u.rlname[0], u.rlname[1]);
    case RTPOINT: return Value::point(u.rpoint[0], u.rpoint[1]);
    case RT3DPOINT: return Value::point(u.rpoint[0], u.rpoint[1], u.rpoint[2]);
    case RTVOID: return Value::symbol("");
    case RTDXF0: return Value::cons(Value::integer(0), Value::string(kvads::toUtf8(u.rstring ? u.rstring : L"")));
    default: break;
  }
  Value code = Value::integer(rb->restype);
  switch (rb->restype < 5000 ? kvads::dxfValueKind(rb->restype) : kvads::DxfKind::Invalid) {
    case kvads::DxfKind::String: return Value::cons(code, Value::string(kvads::toUtf8(u.rstring ? u.rstring : L"")));
    case kvads::DxfKind::Point: return Value::cons(code, Value::point(u.rpoint[0], u.rpoint[1], u.rpoint[2]));
    case kvads::DxfKind::Real: return Value::cons(code, Value::real(u.rreal));
    case kvads::DxfKind::Short: return Value::cons(code, Value::integer(u.rint));
    case kvads::DxfKind::Long: return Value::cons(code, Value::integer(u.rlong));
    case kvads::DxfKind::Int64: return Value::cons(code, Value::real(static_cast<double>(u.mnInt64)));
    case kvads::DxfKind::Name: return Value::cons(code, Value::ename(u.rlname[0], u.rlname[1]));
    case kvads::DxfKind::Invalid: break;
  }
  throw Error("bad result cell type " + std::to_string(rb->restype));
}

// A list being read from cells, built in place: items are linked behind its last cons as they
// come, so reading a long result makes no array per list and no second pass.
struct OpenList {
  Value head;
  ConsObj* last = nullptr;
  ConsObj* beforeLast = nullptr;
  std::size_t count = 0;
  bool afterDot = false, hasTail = false;

  void append(Value v) {
    ConsObj* cell;
    Value link = newObject(Type::List, cell);
    cell->car = std::move(v);
    beforeLast = last;
    if (last) last->cdr = std::move(link);
    else head = std::move(link);
    last = cell;
    ++count;
  }
  // LISP's own pair form ended by the dot: the last item becomes the tail of the one before.
  void lastItemToTail() {
    Value item = std::move(last->car);
    last = beforeLast;
    last->cdr = std::move(item);  // releases the cons that held the item
    beforeLast = nullptr;
  }
};

}  // namespace

resbuf* toCells(const Value& value) {
  Chain out;
  appendCells(out, value, 0);
  return out.release();
}

resbuf* toCells(Args values) {
  Chain out;
  for (const Value& v : values) appendCells(out, v, 0);
  return out.release();
}

namespace {

// Reads the values of a chain, handing each top-level one to `top`.
template <class Top>
void readCells(const resbuf* rb, Top&& top) {
  // The stack of open lists keeps its storage from one call to the next; a call made while
  // reading (none today) would simply start a stack of its own.
  static std::vector<OpenList> spare;
  std::vector<OpenList> open;
  open.swap(spare);
  struct GiveBack {
    std::vector<OpenList>& open;
    ~GiveBack() {
      open.clear();
      if (spare.capacity() < open.capacity()) spare.swap(open);
    }
  } giveBack{open};
  auto deliver = [&](Value v) {
    if (open.empty()) return top(std::move(v));
    OpenList& f = open.back();
    if (f.hasTail) throw Error("malformed dotted pair in result cells");
    if (f.afterDot) {
      f.last->cdr = std::move(v);
      f.hasTail = true;
    } else {
      f.append(std::move(v));
    }
  };
  auto close = [&] {
    Value list = std::move(open.back().head);
    open.pop_back();
    deliver(std::move(list));
  };
  for (; rb; rb = rb->rbnext) {
    if (rb->restype == RTLB) {
      open.emplace_back();
    } else if (rb->restype == RTLE) {
      if (open.empty()) throw Error("unbalanced list end in result cells");
      close();
    } else if (rb->restype == RTDOTE) {
      // A module writes RTLB a RTDOTE b RTLE; LISP's own form, RTLB a b RTDOTE, ends the pair
      // at the dot. One item before the dot is the first, more is the second.
      if (open.empty() || open.back().afterDot || open.back().count == 0)
        throw Error("malformed dotted pair in result cells");
      OpenList& f = open.back();
      if (f.count == 1) {
        f.afterDot = true;
        continue;
      }
      f.lastItemToTail();
      close();
    } else {
      deliver(scalar(rb));
    }
  }
  if (!open.empty()) throw Error("unbalanced list in result cells");
}

}  // namespace

namespace {

// A result in acedRetList's list form: a chain that is one whole list (RTLB ... its matching end,
// nothing after) is that list; any other chain holds the items of the list. Read once as it
// stands, which is right for the common whole list; only another chain is read again, inside an
// enclosing RTLB/RTLE, so that a pair's dot is read as acedRetList's copy would have it read.
Value listResult(resbuf* cells) {
  if (cells && cells->restype == RTLB) {
    OpenList items;
    bool readable = true;
    try {
      readCells(cells, [&](Value v) { items.append(std::move(v)); });
    } catch (const Error&) {
      readable = false;
    }
    if (readable && items.count == 1) return std::move(items.last->car);
  }
  resbuf close{nullptr, RTLE, {}};
  resbuf open{cells ? cells : &close, RTLB, {}};
  resbuf* last = cells;
  while (last && last->rbnext) last = last->rbnext;
  if (last) last->rbnext = &close;
  struct Unlink {
    resbuf* last;
    ~Unlink() {
      if (last) last->rbnext = nullptr;
    }
  } unlink{last};
  Value list;
  readCells(&open, [&](Value v) { list = std::move(v); });
  return list;
}

}  // namespace

std::vector<Value> fromCells(const resbuf* rb) {
  std::vector<Value> values;
  readCells(rb, [&](Value v) { values.push_back(std::move(v)); });
  return values;
}

Value Environment::Impl::callExternal(const ExsubrObj& f, Args args) {
  kvads::EntryFunction entry = kvads::registeredEntry(f.code);
  if (!entry) throw Error("no function definition: " + f.name);
  // The arguments' cells are built on the stack: the entry only reads them, and the chain ends
  // with this call. A call with more or larger arguments goes on in pooled cells.
  resbuf local[kLocalArgCells];
  Chain cells(local, kLocalArgCells);
  for (const Value& v : args) appendCells(cells, v, 0);
  kvads::CallFrame frame(cells.head(), kvads::CallFrame::Borrowed{});
  int rc;
  try {
    rc = entry();
  } catch (const std::exception& e) {
    throw Error(f.name + ": " + e.what());
  } catch (...) {
    throw Error(f.name + ": unexpected exception");
  }
  if (pendingExit >= 0) {
    int status = pendingExit;
    pendingExit = -1;
    throw ExitRequest{status};
  }
  if (rc == RSERR) throw Error("ADS request error");
  if (!frame.hasResult()) return Value();
  // The result's cells stay the frame's, released when it ends.
  const resbuf* result = frame.result();
  if (frame.resultInListForm()) return listResult(const_cast<resbuf*>(result));
  // Most calls answer one plain cell: it is the result as it stands.
  if (result && !result->rbnext && result->restype != RTLB && result->restype != RTLE && result->restype != RTDOTE)
    return scalar(result);
  // The result is the first value; the whole chain is still read, so a malformed one is an error.
  Value first;
  bool seen = false;
  readCells(result, [&](Value v) {
    if (!seen) first = std::move(v);
    seen = true;
  });
  return first;
}

int Environment::defun(const ACHAR* name, int funcNumber) {
  ExsubrObj* x;
  Value v = newObject(Type::Exsubr, x);
  std::uint32_t id = intern(kvads::toUtf8(name));
  x->name = symbolName(id);
  x->code = funcNumber;
  set(id, std::move(v));
  return RTNORM;
}

int Environment::undef(const ACHAR* name, int funcNumber) {
  std::uint32_t id = intern(kvads::toUtf8(name));
  const Value& v = impl_->value(id);
  if (v.type() != Type::Exsubr || as<ExsubrObj>(v)->code != funcNumber) return RTERROR;
  set(id, Value());
  return RTNORM;
}

int Environment::invoke(const resbuf* args, resbuf** result) {
  *result = nullptr;
  if (!args || args->restype != RTSTR || !args->resval.rstring) return RTERROR;
  if (impl_->pendingExit >= 0) return RTERROR;  // the module is on its way out to an (exit N)
  try {
    Value fn = impl_->resolve(Value::symbol(kvads::toUtf8(args->resval.rstring)));
    std::vector<Value> values = fromCells(args->rbnext);
    Value v = impl_->applyResolved(fn, values);
    *result = toCells(v);
    return RTNORM;
  } catch (const Error&) {
    return RTERROR;
  } catch (const ExitRequest& e) {
    impl_->pendingExit = e.status;
    return RTERROR;
  } catch (const std::exception&) {
    return RTERROR;
  }
}

}  // namespace kvlisp
