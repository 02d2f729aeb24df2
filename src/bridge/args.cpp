// Argument readers over the host's result-buffer chains.
#include <cmath>
#include <limits>

#include "bridge.h"

namespace {

bool IsGroupCode(short type) { return type < 1000; }

bool IsPointCell(short type) {
  return type == RTPOINT || type == RT3DPOINT || (type >= 10 && type <= 17);
}

bool IsNumberCell(const resbuf* cell) {
  return cell && (cell->restype == RTREAL || cell->restype == RTSHORT || cell->restype == RTLONG);
}

// A numeric cell by its own width; callers have checked IsNumberCell.
double NumberOf(const resbuf* cell) {
  switch (cell->restype) {
    case RTSHORT: return cell->resval.rint;
    case RTLONG: return cell->resval.rlong;
    default: return cell->resval.rreal;
  }
}

// Truncates toward zero; false when the real has no 32-bit integer value.
bool TruncateToInt(double value, std::int32_t& out) {
  double t = std::trunc(value);
  if (!(t >= std::numeric_limits<std::int32_t>::min() && t <= std::numeric_limits<std::int32_t>::max()))
    return false;
  out = static_cast<std::int32_t>(t);
  return true;
}

}  // namespace

bool ArgString(ArgCursor& cursor, std::wstring& out) {
  if (cursor.type() != RTSTR) return false;
  const ACHAR* text = cursor.cell()->resval.rstring;
  out = text ? text : L"";
  cursor.step();
  return true;
}

bool ArgInt(ArgCursor& cursor, std::int32_t& out) {
  if (cursor.atEnd()) return false;
  const resbuf* cell = cursor.cell();
  switch (cell->restype) {
    case RTSHORT: out = cell->resval.rint; break;
    case RTLONG: out = cell->resval.rlong; break;
    case RTREAL:
      if (!TruncateToInt(cell->resval.rreal, out)) return false;
      break;
    default:
      if (!IsGroupCode(cell->restype)) return false;
      // An association list's group code is what a caller scanning for codes wants to see; the
      // value behind it is read by the reader of its kind.
      out = cell->restype;
      return true;
  }
  cursor.step();
  return true;
}

bool ArgNumber(ArgCursor& cursor, double& out) {
  if (cursor.type() == RTREAL) {
    out = cursor.cell()->resval.rreal;
    cursor.step();
    return true;
  }
  std::int32_t n = 0;
  if (!ArgInt(cursor, n)) return false;
  out = n;
  return true;
}

bool ArgBool(ArgCursor& cursor, bool& out) {
  if (cursor.atEnd()) return false;
  switch (cursor.type()) {
    case RTLB: return false;
    case RTLE: out = false; return true;
    case RTNIL: out = false; break;
    default: out = true; break;
  }
  cursor.step();
  return true;
}

bool ArgPoint2d(ArgCursor& cursor, ads_point out) {
  const resbuf* cell = cursor.cell();
  if (!cell) return false;
  if (IsPointCell(cell->restype)) {
    out[0] = cell->resval.rpoint[0];
    out[1] = cell->resval.rpoint[1];
    cursor.step();
    return true;
  }
  const resbuf* second = cell->rbnext;
  if (cell->restype != RTREAL || !second || second->restype != RTREAL) return false;
  out[0] = cell->resval.rreal;
  out[1] = second->resval.rreal;
  cursor = ArgCursor(second->rbnext);
  return true;
}

bool ArgPoint3d(ArgCursor& cursor, ads_point out) {
  const resbuf* cell = cursor.cell();
  if (!cell) return false;
  if (IsPointCell(cell->restype)) {
    out[0] = cell->resval.rpoint[0];
    out[1] = cell->resval.rpoint[1];
    out[2] = cell->restype == RTPOINT ? 0.0 : cell->resval.rpoint[2];
    cursor.step();
    return true;
  }
  const resbuf* second = cell->rbnext;
  if (!IsNumberCell(cell) || !IsNumberCell(second)) return false;
  const resbuf* third = second->rbnext;
  out[0] = NumberOf(cell);
  out[1] = NumberOf(second);
  if (IsNumberCell(third)) {
    out[2] = NumberOf(third);
    cursor = ArgCursor(third->rbnext);
  } else {
    out[2] = 0.0;
    cursor = ArgCursor(third);
  }
  return true;
}

bool ArgListOpen(ArgCursor& cursor) {
  if (cursor.type() != RTLB) return false;
  cursor.step();
  return true;
}

bool ArgListClose(ArgCursor& cursor) {
  if (cursor.type() != RTLE) return false;
  cursor.step();
  return true;
}

bool ArgPair(ArgCursor& cursor, std::wstring& text, std::int32_t& value) {
  const resbuf* open = cursor.cell();
  if (!open || open->restype != RTLB) return false;
  const resbuf* first = open->rbnext;
  const resbuf* second = first ? first->rbnext : nullptr;
  const resbuf* dot = second ? second->rbnext : nullptr;
  if (!dot || dot->restype != RTDOTE) return false;
  if (first->restype != RTSTR) return false;
  // The integer must be the cell just before the dot: a group code is read in place by ArgInt,
  // which would leave the pair half read.
  ArgCursor number(second);
  std::int32_t v = 0;
  if (!ArgInt(number, v) || number.cell() != dot) return false;
  // Assigned in place, so a caller reading many pairs into one string reuses its storage.
  const ACHAR* t = first->resval.rstring;
  text.assign(t ? t : L"");
  value = v;
  cursor = ArgCursor(dot->rbnext);
  return true;
}

void ArgSkip(ArgCursor& cursor) { cursor.step(); }
