// Result-buffer cells: building, copying and releasing chains, and the kinds of DXF group codes.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

#include "ads.h"

namespace kvads {

DxfKind dxfValueKind(int code) {
  struct Range {
    int from, to;
    DxfKind kind;
  };
  // The platform's group code ranges; extended data (1000 up) last. -4 is a selection filter's
  // operator ("<OR"), text like group 0.
  static constexpr Range kRanges[] = {
      {-5, -5, DxfKind::Name},      {-4, -4, DxfKind::String},   {-3, -1, DxfKind::Name},      {0, 9, DxfKind::String},     {10, 37, DxfKind::Point},
      {38, 59, DxfKind::Real},      {60, 79, DxfKind::Short},    {90, 99, DxfKind::Long},
      {100, 109, DxfKind::String},  {110, 119, DxfKind::Point},  {120, 149, DxfKind::Real},
      {160, 169, DxfKind::Int64},   {170, 179, DxfKind::Short},  {210, 219, DxfKind::Point},
      {220, 239, DxfKind::Real},    {270, 289, DxfKind::Short},  {290, 299, DxfKind::Short},
      {300, 319, DxfKind::String},  {320, 369, DxfKind::Name},   {370, 389, DxfKind::Short},
      {390, 399, DxfKind::String},  {400, 409, DxfKind::Short},  {410, 419, DxfKind::String},
      {420, 429, DxfKind::Long},    {430, 439, DxfKind::String}, {440, 459, DxfKind::Long},
      {460, 469, DxfKind::Real},    {470, 479, DxfKind::String}, {480, 481, DxfKind::Name},
      {999, 1009, DxfKind::String}, {1010, 1013, DxfKind::Point}, {1040, 1042, DxfKind::Real},
      {1070, 1070, DxfKind::Short}, {1071, 1071, DxfKind::Long},
  };
  for (const Range& r : kRanges)
    if (code >= r.from && code <= r.to) return r.kind;
  return DxfKind::Invalid;
}

ACHAR* dupString(const ACHAR* text) {
  if (!text) text = L"";
  std::size_t n = std::wcslen(text) + 1;
  auto* copy = static_cast<ACHAR*>(std::malloc(n * sizeof(ACHAR)));
  if (!copy) throw std::bad_alloc();
  std::wmemcpy(copy, text, n);
  return copy;
}

namespace {

// A LISP call makes and releases its argument and result cells by the hundred, all of one size;
// released cells wait on a free list for the next call instead of going back to malloc, which
// was most of a module call's cost. The list is capped so that one huge result does not keep its
// memory for good. Under the address sanitizer every cell goes back to malloc, so that a use after
// release is still caught.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kPoolCap = 0;
#else
constexpr std::size_t kPoolCap = 1 << 14;
#endif

// A plain global, not thread-local: cells belong to LISP calls, which run on the one thread the
// documents live on, and a thread-local costs a look-up per cell in a shared library. It has no
// destructor on purpose, so that cells released by other static objects at exit still find it.
struct CellPool {
  resbuf* free = nullptr;
  std::size_t count = 0;

  resbuf* take() {
    if (!free) {
      auto* rb = static_cast<resbuf*>(std::malloc(sizeof(resbuf)));
      if (!rb) throw std::bad_alloc();
      return rb;
    }
    resbuf* rb = free;
    free = rb->rbnext;
    --count;
    return rb;
  }
  void give(resbuf* rb) {
    if (count >= kPoolCap) return std::free(rb);
    rb->rbnext = free;
    free = rb;
    ++count;
  }
};

CellPool gPool;

CellPool& pool() { return gPool; }

resbuf* newCell(int type) {
  resbuf* rb = pool().take();
  rb->rbnext = nullptr;
  rb->restype = static_cast<short>(type);
  rb->resval = ads_u_val{};
  rb->resval.rpoint[1] = rb->resval.rpoint[2] = 0.0;
  return rb;
}

// Reads the value of one acutBuildList item; false for a code with no known value kind.
bool readValue(resbuf* rb, int type, va_list& ap) {
  DxfKind kind = DxfKind::Invalid;
  switch (type) {
    case RTREAL: case RTANG: case RTORINT: kind = DxfKind::Real; break;
    case RTPOINT: case RT3DPOINT: kind = DxfKind::Point; break;
    case RTSHORT: kind = DxfKind::Short; break;
    case RTLONG: kind = DxfKind::Long; break;
    case RTSTR: case RTDXF0: kind = DxfKind::String; break;  // RTDXF0: group 0, as 0 ends the list
    case RTENAME: case RTPICKS: kind = DxfKind::Name; break;
    case RTLB: case RTLE: case RTDOTE: case RTNIL: case RTT: case RTVOID: return true;
    default: kind = type < 5000 ? dxfValueKind(type) : DxfKind::Invalid;
  }
  switch (kind) {
    case DxfKind::Real: rb->resval.rreal = va_arg(ap, double); return true;
    case DxfKind::Point: {
      const double* p = va_arg(ap, const double*);
      for (int i = 0; i < 3; ++i) rb->resval.rpoint[i] = p ? p[i] : 0.0;
      return true;
    }
    case DxfKind::Short: rb->resval.rint = static_cast<short>(va_arg(ap, int)); return true;
    case DxfKind::Long: rb->resval.rlong = va_arg(ap, std::int32_t); return true;
    case DxfKind::Int64: rb->resval.mnInt64 = va_arg(ap, std::int64_t); return true;
    case DxfKind::String: rb->resval.rstring = dupString(va_arg(ap, const ACHAR*)); return true;
    case DxfKind::Name: {
      const std::int64_t* n = va_arg(ap, const std::int64_t*);
      rb->resval.rlname[0] = n ? n[0] : 0;
      rb->resval.rlname[1] = n ? n[1] : 0;
      return true;
    }
    case DxfKind::Invalid: break;
  }
  return false;
}

}  // namespace

resbuf* copyChain(const resbuf* rb) {
  resbuf* head = nullptr;
  resbuf** link = &head;
  for (; rb; rb = rb->rbnext) {
    resbuf* cell = newCell(rb->restype);
    cell->resval = rb->resval;
    if (holdsString(rb->restype) && rb->resval.rstring) cell->resval.rstring = dupString(rb->resval.rstring);
    *link = cell;
    link = &cell->rbnext;
  }
  return head;
}

}  // namespace kvads

using kvads::holdsString;

resbuf* acutNewRb(int type) {
  return kvads::newCell(type);
}

// A long result goes back to the free list whole, in one splice, once its strings are freed.
int acutRelRb(resbuf* rb) {
  if (!rb) return RTNORM;
  kvads::CellPool& cells = kvads::pool();
  resbuf* last = rb;
  std::size_t n = 0;
  for (resbuf* cell = rb; cell; cell = cell->rbnext) {
    if (holdsString(cell->restype)) std::free(cell->resval.rstring);
    last = cell;
    ++n;
  }
  if (cells.count + n <= kvads::kPoolCap) {
    last->rbnext = cells.free;
    cells.free = rb;
    cells.count += n;
    return RTNORM;
  }
  while (rb) {
    resbuf* next = rb->rbnext;
    cells.give(rb);
    rb = next;
  }
  return RTNORM;
}

// A list is ended by 0 or RTNONE; an unknown code releases what was built and gives null.
resbuf* acutBuildList(int rtype, ...) {
  va_list ap;
  va_start(ap, rtype);
  resbuf* head = nullptr;
  resbuf** link = &head;
  for (int type = rtype; type != 0 && type != RTNONE; type = va_arg(ap, int)) {
    resbuf* cell = kvads::newCell(type);
    *link = cell;
    link = &cell->rbnext;
    if (!kvads::readValue(cell, type, ap)) {
      acutRelRb(head);
      head = nullptr;
      break;
    }
  }
  va_end(ap);
  return head;
}
