// Selection filters: the group list of acedSSGet read into a tree of tests (entity type, layer,
// line type, colour, extended-data application, and the -4 logical groups and comparisons).
#include <cstdint>
#include <cwctype>

#include "edimpl.h"
#include "lisp.h"

namespace kved {

namespace {

std::wstring upper(std::wstring text) {
  for (auto& c : text) c = static_cast<wchar_t>(std::towupper(c));
  return text;
}

// The platform matches filter texts without regard to case.
bool matches(const std::wstring& upperPattern, const ACHAR* text) {
  return kvlisp::wildcardMatch(upper(text ? text : L""), upperPattern);
}

std::wstring dxfName(const AcRxClass* cls) {
  for (const AcRxClass* c = cls; c != nullptr; c = c->myParent())
    if (c->dxfName() != nullptr && c->dxfName()[0] != 0) return c->dxfName();
  return L"";
}

bool hasApplication(const AcDbEntity& e, const std::wstring& upperPattern) {
  for (const auto& item : e.xDataItems())
    if (item.code == 1001 && matches(upperPattern, item.text.c_str())) return true;
  return false;
}

bool compare(const std::wstring& op, long value, long wanted) {
  if (op == L"=") return value == wanted;
  if (op == L"!=" || op == L"/=" || op == L"<>") return value != wanted;
  if (op == L"<") return value < wanted;
  if (op == L"<=") return value <= wanted;
  if (op == L">") return value > wanted;
  if (op == L">=") return value >= wanted;
  if (op == L"&") return (value & wanted) != 0;
  if (op == L"&=") return (value & wanted) == wanted;
  return true;  // "*"
}

bool isComparison(const std::wstring& op) {
  static const wchar_t* const kOps[] = {L"=", L"!=", L"/=", L"<>", L"<", L"<=", L">", L">=", L"&", L"&=", L"*"};
  for (const wchar_t* known : kOps)
    if (op == known) return true;
  return false;
}

struct Group {
  const wchar_t* open;
  const wchar_t* close;
  SelectionFilter::Kind kind;
  std::size_t minOperands, maxOperands;
};
constexpr Group kGroups[] = {
    {L"<AND", L"AND>", SelectionFilter::Kind::And, 1, SIZE_MAX},
    {L"<OR", L"OR>", SelectionFilter::Kind::Or, 1, SIZE_MAX},
    {L"<NOT", L"NOT>", SelectionFilter::Kind::Not, 1, 1},
    {L"<XOR", L"XOR>", SelectionFilter::Kind::Xor, 2, 2},
};

class Parser {
 public:
  explicit Parser(const resbuf* rb) : rb_(rb) {}

  // The operands up to `close` (null: the end of the list), which is consumed.
  SelectionFilter::Status operands(const wchar_t* close, std::vector<SelectionFilter::Test>& out) {
    for (;;) {
      if (rb_ == nullptr) return close ? Status::Malformed : Status::Ok;
      if (rb_->restype == -4) {
        std::wstring op = upper(rb_->resval.rstring ? rb_->resval.rstring : L"");
        if (close && op == close) {
          rb_ = rb_->rbnext;
          return Status::Ok;
        }
        if (Status s = operator_(op, out); s != Status::Ok) return s;
        continue;
      }
      SelectionFilter::Test leaf;
      if (Status s = this->leaf(leaf); s != Status::Ok) return s;
      out.push_back(std::move(leaf));
    }
  }

 private:
  using Status = SelectionFilter::Status;

  // A logical group or a comparison for the group after it.
  Status operator_(const std::wstring& op, std::vector<SelectionFilter::Test>& out) {
    rb_ = rb_->rbnext;
    for (const Group& g : kGroups) {
      if (op != g.open) continue;
      SelectionFilter::Test group;
      group.kind = g.kind;
      if (Status s = operands(g.close, group.operands); s != Status::Ok) return s;
      if (group.operands.size() < g.minOperands || group.operands.size() > g.maxOperands) return Status::Malformed;
      out.push_back(std::move(group));
      return Status::Ok;
    }
    if (!isComparison(op) || rb_ == nullptr || rb_->restype == -4) return Status::Malformed;
    SelectionFilter::Test leaf;
    if (Status s = this->leaf(leaf); s != Status::Ok) return s;
    if (leaf.kind != SelectionFilter::Kind::Colour) return Status::Unsupported;
    leaf.comparison = op;
    out.push_back(std::move(leaf));
    return Status::Ok;
  }

  Status leaf(SelectionFilter::Test& out) {
    const resbuf* rb = rb_;
    rb_ = rb_->rbnext;
    code_ = rb->restype;
    const bool text = rb->restype == 0 || rb->restype == RTDXF0 || rb->restype == 8 || rb->restype == 6 || rb->restype == 1001;
    if (text) {
      if (rb->resval.rstring == nullptr) return Status::Malformed;
      out.pattern = upper(rb->resval.rstring);
      out.kind = rb->restype == 8      ? SelectionFilter::Kind::Layer
                 : rb->restype == 6    ? SelectionFilter::Kind::Linetype
                 : rb->restype == 1001 ? SelectionFilter::Kind::Application
                                       : SelectionFilter::Kind::Type;
      return Status::Ok;
    }
    if (rb->restype == 62) {
      out.kind = SelectionFilter::Kind::Colour;
      out.number = rb->resval.rint;
      return Status::Ok;
    }
    return Status::Unsupported;
  }

  const resbuf* rb_;
  int code_ = 0;

 public:
  // The group code last read, for the message on an unsupported one.
  int lastCode() const { return code_; }
};

bool passes(const SelectionFilter::Test& t, const AcDbEntity& e) {
  using Kind = SelectionFilter::Kind;
  switch (t.kind) {
    case Kind::Type: return matches(t.pattern, dxfName(e.isA()).c_str());
    case Kind::Layer: return matches(t.pattern, e.layer());
    case Kind::Linetype: return matches(t.pattern, e.linetype());
    case Kind::Application: return hasApplication(e, t.pattern);
    case Kind::Colour: return compare(t.comparison, e.colorIndex(), t.number);
    case Kind::And:
      for (const auto& o : t.operands)
        if (!passes(o, e)) return false;
      return true;
    case Kind::Or:
      for (const auto& o : t.operands)
        if (passes(o, e)) return true;
      return false;
    case Kind::Not: return !passes(t.operands[0], e);
    case Kind::Xor: return passes(t.operands[0], e) != passes(t.operands[1], e);
  }
  return false;
}

}  // namespace

SelectionFilter::SelectionFilter(const resbuf* groups) {
  Parser parser(groups);
  status_ = parser.operands(nullptr, all_);
  if (status_ == Status::Unsupported)
    kvads::consoleWrite("\nkvhost: selection filter group " + std::to_string(parser.lastCode()) + " is not supported.");
}

bool SelectionFilter::passes(const AcDbEntity& entity) const {
  for (const Test& t : all_)
    if (!kved::passes(t, entity)) return false;
  return true;
}

}  // namespace kved
