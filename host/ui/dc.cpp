// Device contexts over Cairo: state, mapping modes, clipping, lines and fills, bit blocks,
// printing pages, and the CDC family.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_set>

#include <cairo-pdf.h>

#include "impl.h"

using namespace kvui::detail;

namespace {

std::unordered_set<HDC>& liveDcs() {
  static std::unordered_set<HDC> s;
  return s;
}

void selectInto(HGDIOBJ obj, HGDIOBJ& slot) {
  if (GdiObject* o = gdiLookup(obj)) ++o->selections;
  GdiObject* old = gdiLookup(slot);
  slot = obj;
  gdiRelease(old);
}

void retainState(const DcState& s) {
  for (HGDIOBJ o : {static_cast<HGDIOBJ>(s.pen), static_cast<HGDIOBJ>(s.brush), static_cast<HGDIOBJ>(s.font)})
    if (GdiObject* g = gdiLookup(o)) ++g->selections;
}

void releaseState(DcState& s) {
  gdiRelease(gdiLookup(s.pen));
  gdiRelease(gdiLookup(s.brush));
  gdiRelease(gdiLookup(s.font));
  s.pen = nullptr;
  s.brush = nullptr;
  s.font = nullptr;
  if (s.userClip) cairo_region_destroy(s.userClip);
  s.userClip = nullptr;
}

cairo_region_t* extentRegion(HDC dc) {
  cairo_rectangle_int_t r{0, 0, dc->width, dc->height};
  return cairo_region_create_rectangle(&r);
}

// System clip, user clip and the device's extent, in device coordinates.
cairo_region_t* effectiveClip(HDC dc) {
  cairo_region_t* r = extentRegion(dc);
  if (dc->systemClip) cairo_region_intersect(r, dc->systemClip);
  if (dc->st.userClip) cairo_region_intersect(r, dc->st.userClip);
  return r;
}

void deviceRect(HDC dc, const RECT& lr, double& l, double& t, double& r, double& b) {
  l = lr.left;
  t = lr.top;
  r = lr.right;
  b = lr.bottom;
  dcToDevice(dc, l, t);
  dcToDevice(dc, r, b);
  if (l > r) std::swap(l, r);
  if (t > b) std::swap(t, b);
  l = std::round(l);
  t = std::round(t);
  r = std::round(r);
  b = std::round(b);
}

bool mapIsText(HDC dc) { return dc->st.mapMode == MM_TEXT; }

double penDeviceWidth(HDC dc, const HPEN__* pen) {
  if (pen->width <= 1) return 1.0;
  return std::max(1.0, pen->width * std::fabs(dcScaleX(dc)));
}

// On/off lengths of the cosmetic pen styles, in pixels.
std::vector<double> penPattern(int style) {
  switch (style) {
    case PS_DASH: return {18, 6};
    case PS_DOT: return {3, 3};
    case PS_DASHDOT: return {9, 6, 3, 6};
    case PS_DASHDOTDOT: return {9, 3, 3, 3, 3, 3};
    case PS_ALTERNATE: return {1, 1};
    default: return {};
  }
}

void paintPixelRun(HDC dc, double x0, double y0, double x1, double y1, COLORREF c) {
  if (dc->st.rop2 == R2_NOT) invertDeviceRect(dc, x0, y0, x1, y1);
  else if (dc->st.rop2 != R2_NOP) fillDeviceRect(dc, x0, y0, x1, y1, c);
}

// A one-pixel axis-aligned line without its end point, pixel exact, honouring the pattern.
void axisLine(HDC dc, double x0, double y0, double x1, double y1, const HPEN__* pen) {
  auto pattern = penPattern(pen->style);
  bool horizontal = y0 == y1;
  double a = horizontal ? x0 : y0, b = horizontal ? x1 : y1;
  double step = b >= a ? 1 : -1;
  double len = std::fabs(b - a);
  auto run = [&](double from, double n) {
    double s = a + step * from, e = a + step * (from + n);
    double lo = std::min(s, e), hi = std::max(s, e);
    if (step < 0) { lo += 1; hi += 1; }
    if (horizontal) paintPixelRun(dc, lo, y0, hi, y0 + 1, pen->color);
    else paintPixelRun(dc, x0, lo, x0 + 1, hi, pen->color);
  };
  if (pattern.empty()) { run(0, len); return; }
  double pos = 0;
  std::size_t i = 0;
  while (pos < len) {
    double n = std::min(pattern[i % pattern.size()], len - pos);
    if (i % 2 == 0) run(pos, n);
    pos += pattern[i % pattern.size()];
    ++i;
  }
}

void strokeLine(HDC dc, double x0, double y0, double x1, double y1) {
  HPEN__* pen = asPen(dc->st.pen);
  if (!pen || pen->style == PS_NULL || dc->st.rop2 == R2_NOP) return;
  double w = penDeviceWidth(dc, pen);
  if (w <= 1.0 && (x0 == x1 || y0 == y1) && std::floor(x0) == x0 && std::floor(y0) == y0) {
    axisLine(dc, x0, y0, x1, y1, pen);
    return;
  }
  cairo_t* cr = dc->cr;
  dcDeviceMatrix(dc);
  double off = std::fmod(w, 2.0) == 1.0 ? 0.5 : 0.0;
  cairo_move_to(cr, x0 + off, y0 + off);
  cairo_line_to(cr, x1 + off, y1 + off);
  cairo_set_line_width(cr, w);
  cairo_set_line_cap(cr, w <= 1.0 ? CAIRO_LINE_CAP_BUTT : CAIRO_LINE_CAP_ROUND);
  auto pattern = penPattern(pen->style);
  cairo_set_dash(cr, pattern.data(), static_cast<int>(pattern.size()), 0);
  if (dc->st.rop2 == R2_NOT) {
    cairo_set_operator(cr, CAIRO_OPERATOR_DIFFERENCE);
    cairo_set_source_rgb(cr, 1, 1, 1);
  } else {
    setSource(cr, pen->color);
  }
  cairo_stroke(cr);
  cairo_set_dash(cr, nullptr, 0, 0);
  cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
}

}  // namespace

namespace kvui::detail {

HDC newDc(DcKind kind) {
  HDC dc = new HDC__;
  dc->kind = kind;
  dc->st.pen = static_cast<HPEN>(GetStockObject(BLACK_PEN));
  dc->st.brush = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
  dc->st.font = stockGuiFont();
  liveDcs().insert(dc);
  return dc;
}

bool isDc(HDC h) { return h && liveDcs().count(h) != 0; }

void dcBindTarget(HDC dc, cairo_surface_t* target, double ox, double oy, int width, int height) {
  if (dc->cr) cairo_destroy(dc->cr);
  dc->target = target;
  dc->cr = cairo_create(target);
  dc->originX = ox;
  dc->originY = oy;
  dc->width = width;
  dc->height = height;
  dcApplyClip(dc);
}

void dcDeviceMatrix(HDC dc) {
  cairo_identity_matrix(dc->cr);
  cairo_translate(dc->cr, dc->originX, dc->originY);
  cairo_scale(dc->cr, dc->deviceScale, dc->deviceScale);
}

void dcApplyClip(HDC dc) {
  if (!dc->cr) return;
  cairo_reset_clip(dc->cr);
  dcDeviceMatrix(dc);
  cairo_region_t* r = effectiveClip(dc);
  int n = cairo_region_num_rectangles(r);
  for (int i = 0; i < n; ++i) {
    cairo_rectangle_int_t rc;
    cairo_region_get_rectangle(r, i, &rc);
    cairo_rectangle(dc->cr, rc.x, rc.y, rc.width, rc.height);
  }
  if (n == 0) cairo_rectangle(dc->cr, 0, 0, 0, 0);
  cairo_clip(dc->cr);
  cairo_region_destroy(r);
}

double dcScaleX(HDC dc) {
  const auto& s = dc->st;
  if (s.mapMode == MM_TEXT || s.winExt.cx == 0) return 1.0;
  return static_cast<double>(s.vpExt.cx) / s.winExt.cx;
}
double dcScaleY(HDC dc) {
  const auto& s = dc->st;
  if (s.mapMode == MM_TEXT || s.winExt.cy == 0) return 1.0;
  return static_cast<double>(s.vpExt.cy) / s.winExt.cy;
}

void dcToDevice(HDC dc, double& x, double& y) {
  const auto& s = dc->st;
  x = (x - s.winOrg.x) * dcScaleX(dc) + s.vpOrg.x;
  y = (y - s.winOrg.y) * dcScaleY(dc) + s.vpOrg.y;
}

void dcToLogical(HDC dc, double& x, double& y) {
  const auto& s = dc->st;
  double sx = dcScaleX(dc), sy = dcScaleY(dc);
  x = (x - s.vpOrg.x) / (sx == 0 ? 1 : sx) + s.winOrg.x;
  y = (y - s.vpOrg.y) / (sy == 0 ? 1 : sy) + s.winOrg.y;
}

void setSource(cairo_t* cr, COLORREF c) {
  cairo_set_source_rgb(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0);
}

void fillDeviceRect(HDC dc, double l, double t, double r, double b, COLORREF c) {
  if (r <= l || b <= t || !dc->cr) return;
  dcDeviceMatrix(dc);
  setSource(dc->cr, c);
  cairo_rectangle(dc->cr, l, t, r - l, b - t);
  cairo_fill(dc->cr);
}

void invertDeviceRect(HDC dc, double l, double t, double r, double b) {
  if (r <= l || b <= t || !dc->cr) return;
  dcDeviceMatrix(dc);
  cairo_set_operator(dc->cr, CAIRO_OPERATOR_DIFFERENCE);
  cairo_set_source_rgb(dc->cr, 1, 1, 1);
  cairo_rectangle(dc->cr, l, t, r - l, b - t);
  cairo_fill(dc->cr);
  cairo_set_operator(dc->cr, CAIRO_OPERATOR_OVER);
}

HFONT currentFont(HDC dc) {
  return asFont(dc->st.font) ? dc->st.font : stockGuiFont();
}

}  // namespace kvui::detail

HDC__::~HDC__() {
  releaseState(st);
  for (auto& s : saved) releaseState(s);
  if (systemClip) cairo_region_destroy(systemClip);
  if (cr) cairo_destroy(cr);
  if (ownSurface) cairo_surface_destroy(ownSurface);
  if (bitmap) gdiRelease(gdiLookup(bitmap));
}

// ---- Handles --------------------------------------------------------------------------------

// A memory DC starts on a shared 1x1 bitmap, so that selecting a caller's bitmap answers it and
// selecting it back lets the caller's bitmap go, as on the platform.
static HBITMAP defaultBitmap() {
  static HBITMAP b = [] {
    HBITMAP x = CreateCompatibleBitmap(nullptr, 1, 1);
    x->stock = true;
    return x;
  }();
  return b;
}

HDC CreateCompatibleDC(HDC) {
  HDC dc = newDc(DcKind::Memory);
  HBITMAP b = defaultBitmap();
  dc->bitmap = b;
  dcBindTarget(dc, b->surface, 0, 0, 1, 1);
  return dc;
}

BOOL DeleteDC(HDC dc) {
  if (!isDc(dc)) return FALSE;
  if (dc->kind == DcKind::Printer && dc->target && cairo_surface_status(dc->target) == CAIRO_STATUS_SUCCESS) {
    if (dc->pageOpen) cairo_show_page(dc->cr);
    cairo_surface_finish(dc->target);
  }
  liveDcs().erase(dc);
  delete dc;
  return TRUE;
}

static HGDIOBJ selectBitmap(HDC dc, HBITMAP__* b) {
  if (dc->kind != DcKind::Memory) return nullptr;
  HGDIOBJ old = dc->bitmap;
  ++b->selections;
  dc->bitmap = b;
  dcBindTarget(dc, b->surface, 0, 0, b->width, b->height);
  if (GdiObject* o = gdiLookup(old)) gdiRelease(o);
  return old;
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ obj) {
  if (!isDc(dc)) return nullptr;
  GdiObject* o = gdiLookup(obj);
  if (!o) return nullptr;
  HGDIOBJ old = nullptr;
  switch (o->kind) {
    case GdiKind::Pen: old = dc->st.pen; { HGDIOBJ s = dc->st.pen; selectInto(obj, s); dc->st.pen = static_cast<HPEN>(s); } break;
    case GdiKind::Brush: old = dc->st.brush; { HGDIOBJ s = dc->st.brush; selectInto(obj, s); dc->st.brush = static_cast<HBRUSH>(s); } break;
    case GdiKind::Font: old = dc->st.font; { HGDIOBJ s = dc->st.font; selectInto(obj, s); dc->st.font = static_cast<HFONT>(s); } break;
    case GdiKind::Bitmap: return selectBitmap(dc, static_cast<HBITMAP__*>(o));
    case GdiKind::Region: {
      if (dc->st.userClip) cairo_region_destroy(dc->st.userClip);
      dc->st.userClip = cairo_region_copy(static_cast<HRGN__*>(o)->region);
      dcApplyClip(dc);
      return reinterpret_cast<HGDIOBJ>(static_cast<std::intptr_t>(SIMPLEREGION));
    }
  }
  return old;
}

int GetDeviceCaps(HDC dc, int index) {
  if (!isDc(dc)) return 0;
  bool printer = dc->kind == DcKind::Printer;
  switch (index) {
    case TECHNOLOGY: return printer ? DT_RASPRINTER : DT_RASDISPLAY;
    case HORZRES: return printer ? dc->width : GetSystemMetrics(SM_CXSCREEN);
    case VERTRES: return printer ? dc->height : GetSystemMetrics(SM_CYSCREEN);
    case HORZSIZE: return printer ? dc->width * 254 / (dc->dpi * 10) : 270;
    case VERTSIZE: return printer ? dc->height * 254 / (dc->dpi * 10) : 203;
    case LOGPIXELSX: case LOGPIXELSY: return dc->dpi;
    case BITSPIXEL: return 32;
    case PLANES: return 1;
    case NUMCOLORS: return -1;
    case PHYSICALWIDTH: return printer ? dc->width : 0;
    case PHYSICALHEIGHT: return printer ? dc->height : 0;
    case PHYSICALOFFSETX: case PHYSICALOFFSETY: return 0;
    default: return 0;
  }
}

// ---- Drawing functions on handles ----------------------------------------------------------------

int FillRect(HDC dc, LPCRECT r, HBRUSH brush) {
  if (!isDc(dc) || !r) return 0;
  auto idx = reinterpret_cast<ULONG_PTR>(brush);
  if (idx > 0 && idx <= 31) brush = GetSysColorBrush(static_cast<int>(idx - 1));
  HBRUSH__* b = asBrush(brush);
  if (!b) return 0;
  if (b->style == BS_NULL) return 1;
  double l, t, rt, bt;
  deviceRect(dc, *r, l, t, rt, bt);
  fillDeviceRect(dc, l, t, rt, bt, b->color);
  return 1;
}

int FrameRect(HDC dc, LPCRECT r, HBRUSH brush) {
  if (!isDc(dc) || !r || IsRectEmpty(r)) return 0;
  RECT e[4] = {{r->left, r->top, r->right, r->top + 1}, {r->left, r->bottom - 1, r->right, r->bottom},
               {r->left, r->top, r->left + 1, r->bottom}, {r->right - 1, r->top, r->right, r->bottom}};
  for (auto& x : e) FillRect(dc, &x, brush);
  return 1;
}

BOOL InvertRect(HDC dc, LPCRECT r) {
  if (!isDc(dc) || !r) return FALSE;
  double l, t, rt, b;
  deviceRect(dc, *r, l, t, rt, b);
  invertDeviceRect(dc, l, t, rt, b);
  return TRUE;
}

// Every other pixel of the border inverted, so that drawing it twice restores the picture.
BOOL DrawFocusRect(HDC dc, LPCRECT r) {
  if (!isDc(dc) || !r || IsRectEmpty(r)) return FALSE;
  double l, t, rt, b;
  deviceRect(dc, *r, l, t, rt, b);
  for (double x = l; x < rt; x += 2) {
    invertDeviceRect(dc, x, t, x + 1, t + 1);
    if (b - 1 > t) invertDeviceRect(dc, x + (std::fmod(b - 1 - t, 2.0) ? 1 : 0), b - 1, x + (std::fmod(b - 1 - t, 2.0) ? 2 : 1), b);
  }
  for (double y = t + 2; y < b - 1; y += 2) {
    invertDeviceRect(dc, l, y, l + 1, y + 1);
    if (rt - 1 > l) invertDeviceRect(dc, rt - 1, y, rt, y + 1);
  }
  return TRUE;
}

namespace {

bool imageTarget(HDC dc) {
  return dc->target && cairo_surface_get_type(dc->target) == CAIRO_SURFACE_TYPE_IMAGE;
}

std::uint32_t* pixelAt(cairo_surface_t* s, int x, int y) {
  if (x < 0 || y < 0 || x >= cairo_image_surface_get_width(s) || y >= cairo_image_surface_get_height(s)) return nullptr;
  auto* data = cairo_image_surface_get_data(s);
  return reinterpret_cast<std::uint32_t*>(data + y * cairo_image_surface_get_stride(s)) + x;
}

std::uint32_t ropPixel(DWORD rop, std::uint32_t src, std::uint32_t dst, std::uint32_t pat) {
  switch (rop) {
    case SRCCOPY: return src;
    case SRCPAINT: return src | dst;
    case SRCAND: return src & dst;
    case SRCINVERT: return src ^ dst;
    case NOTSRCCOPY: return ~src;
    case PATCOPY: return pat;
    case PATINVERT: return pat ^ dst;
    case DSTINVERT: return ~dst;
    case BLACKNESS: return 0;
    case WHITENESS: return 0xFFFFFF;
    default: return dst;
  }
}

// Raster operations other than a plain copy work pixel by pixel on image surfaces.
BOOL rasterOp(HDC dc, int x, int y, int cx, int cy, HDC src, int xs, int ys, DWORD rop) {
  if (!imageTarget(dc) || (src && !imageTarget(src))) return FALSE;
  HBRUSH__* brush = asBrush(dc->st.brush);
  std::uint32_t pat = brush ? (GetRValue(brush->color) << 16 | GetGValue(brush->color) << 8 | GetBValue(brush->color)) : 0;
  double dx = x, dy = y;
  dcToDevice(dc, dx, dy);
  double sx = xs, sy = ys;
  if (src) dcToDevice(src, sx, sy);
  cairo_surface_flush(dc->target);
  if (src) cairo_surface_flush(src->target);
  cairo_region_t* clip = effectiveClip(dc);
  for (int j = 0; j < cy; ++j)
    for (int i = 0; i < cx; ++i) {
      int ddx = static_cast<int>(dx) + i, ddy = static_cast<int>(dy) + j;
      if (!cairo_region_contains_point(clip, ddx, ddy)) continue;
      std::uint32_t* d = pixelAt(dc->target, ddx + static_cast<int>(dc->originX), ddy + static_cast<int>(dc->originY));
      if (!d) continue;
      std::uint32_t s = 0;
      if (src) {
        std::uint32_t* sp = pixelAt(src->target, static_cast<int>(sx) + i + static_cast<int>(src->originX), static_cast<int>(sy) + j + static_cast<int>(src->originY));
        s = sp ? *sp : 0;
      }
      *d = 0xFF000000u | (ropPixel(rop, s & 0xFFFFFF, *d & 0xFFFFFF, pat) & 0xFFFFFF);
    }
  cairo_region_destroy(clip);
  cairo_surface_mark_dirty(dc->target);
  return TRUE;
}

}  // namespace

BOOL BitBlt(HDC dest, int x, int y, int cx, int cy, HDC src, int xs, int ys, DWORD rop) {
  if (!isDc(dest) || cx <= 0 || cy <= 0) return FALSE;
  bool needsSrc = rop != PATCOPY && rop != PATINVERT && rop != DSTINVERT && rop != BLACKNESS && rop != WHITENESS;
  if (needsSrc && !isDc(src)) return FALSE;
  if (rop != SRCCOPY) return rasterOp(dest, x, y, cx, cy, needsSrc ? src : nullptr, xs, ys, rop);
  double dx = x, dy = y, w = cx, h = cy;
  dcToDevice(dest, dx, dy);
  double sx = xs, sy = ys;
  dcToDevice(src, sx, sy);
  w *= dcScaleX(dest);
  h *= dcScaleY(dest);
  cairo_surface_t* from = src->target;
  bool copied = false;
  if (from == dest->target) {
    from = cairo_surface_create_similar_image(src->target, CAIRO_FORMAT_RGB24, static_cast<int>(std::ceil(w)), static_cast<int>(std::ceil(h)));
    cairo_t* c = cairo_create(from);
    cairo_set_source_surface(c, src->target, -(sx + src->originX), -(sy + src->originY));
    cairo_set_operator(c, CAIRO_OPERATOR_SOURCE);
    cairo_paint(c);
    cairo_destroy(c);
    sx = sy = 0;
    copied = true;
  }
  cairo_t* cr = dest->cr;
  dcDeviceMatrix(dest);
  double ox = copied ? 0 : src->originX, oy = copied ? 0 : src->originY;
  cairo_set_source_surface(cr, from, dx - sx - ox, dy - sy - oy);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  cairo_rectangle(cr, dx, dy, w, h);
  cairo_fill(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
  if (copied) cairo_surface_destroy(from);
  return TRUE;
}

// ---- CDC --------------------------------------------------------------------------------------

CDC::~CDC() {
  if (m_hDC && isDc(m_hDC) && m_hDC->wrapper.get() != this) ::DeleteDC(m_hDC);
}

BOOL CDC::Attach(HDC h) {
  if (m_hDC || !isDc(h)) return FALSE;
  m_hDC = m_hAttribDC = h;
  m_bPrinting = h->kind == DcKind::Printer;
  return TRUE;
}

HDC CDC::Detach() {
  HDC h = m_hDC;
  m_hDC = m_hAttribDC = nullptr;
  return h;
}

BOOL CDC::DeleteDC() {
  if (!m_hDC) return FALSE;
  return ::DeleteDC(Detach());
}

CDC* CDC::FromHandle(HDC h) {
  if (!isDc(h)) return nullptr;
  if (!h->wrapper) {
    h->wrapper = std::make_unique<CDC>();
    h->wrapper->m_hDC = h->wrapper->m_hAttribDC = h;
    h->wrapper->m_bPrinting = h->kind == DcKind::Printer;
  }
  return h->wrapper.get();
}

BOOL CDC::CreateCompatibleDC(CDC* dc) { return Attach(::CreateCompatibleDC(dc ? dc->m_hDC : nullptr)); }

CPen* CDC::SelectObject(CPen* pen) { return CPen::FromHandle(static_cast<HPEN>(::SelectObject(m_hDC, pen ? pen->m_hObject : nullptr))); }
CBrush* CDC::SelectObject(CBrush* brush) { return CBrush::FromHandle(static_cast<HBRUSH>(::SelectObject(m_hDC, brush ? brush->m_hObject : nullptr))); }
CFont* CDC::SelectObject(CFont* font) { return CFont::FromHandle(static_cast<HFONT>(::SelectObject(m_hDC, font ? font->m_hObject : nullptr))); }
CBitmap* CDC::SelectObject(CBitmap* bitmap) { return CBitmap::FromHandle(static_cast<HBITMAP>(::SelectObject(m_hDC, bitmap ? bitmap->m_hObject : nullptr))); }
HGDIOBJ CDC::SelectObject(HGDIOBJ obj) { return ::SelectObject(m_hDC, obj); }
CGdiObject* CDC::SelectObject(CGdiObject* obj) {
  HGDIOBJ old = ::SelectObject(m_hDC, obj ? obj->m_hObject : nullptr);
  GdiObject* o = gdiLookup(old);
  if (!o) return nullptr;
  switch (o->kind) {
    case GdiKind::Pen: return CPen::FromHandle(static_cast<HPEN>(old));
    case GdiKind::Brush: return CBrush::FromHandle(static_cast<HBRUSH>(old));
    case GdiKind::Font: return CFont::FromHandle(static_cast<HFONT>(old));
    case GdiKind::Bitmap: return CBitmap::FromHandle(static_cast<HBITMAP>(old));
    default: return nullptr;
  }
}
CGdiObject* CDC::SelectStockObject(int index) {
  HGDIOBJ old = ::SelectObject(m_hDC, GetStockObject(index));
  GdiObject* o = gdiLookup(old);
  if (!o) return nullptr;
  if (o->kind == GdiKind::Pen) return CPen::FromHandle(static_cast<HPEN>(old));
  if (o->kind == GdiKind::Brush) return CBrush::FromHandle(static_cast<HBRUSH>(old));
  if (o->kind == GdiKind::Font) return CFont::FromHandle(static_cast<HFONT>(old));
  return nullptr;
}
CFont* CDC::GetCurrentFont() const { return isDc(m_hDC) ? CFont::FromHandle(currentFont(m_hDC)) : nullptr; }
CPen* CDC::GetCurrentPen() const { return isDc(m_hDC) ? CPen::FromHandle(m_hDC->st.pen) : nullptr; }
CBrush* CDC::GetCurrentBrush() const { return isDc(m_hDC) ? CBrush::FromHandle(m_hDC->st.brush) : nullptr; }
CBitmap* CDC::GetCurrentBitmap() const { return isDc(m_hDC) ? CBitmap::FromHandle(m_hDC->bitmap) : nullptr; }

#define DC_SETTER(Name, field, Type)                           \
  Type CDC::Set##Name(Type v) {                                \
    if (!isDc(m_hDC)) return Type{};                           \
    Type old = static_cast<Type>(m_hDC->st.field);             \
    m_hDC->st.field = v;                                       \
    return old;                                                \
  }                                                            \
  Type CDC::Get##Name() const { return isDc(m_hDC) ? static_cast<Type>(m_hDC->st.field) : Type{}; }
DC_SETTER(TextColor, textColor, COLORREF)
DC_SETTER(BkColor, bkColor, COLORREF)
DC_SETTER(BkMode, bkMode, int)
DC_SETTER(ROP2, rop2, int)
DC_SETTER(TextAlign, textAlign, UINT)
#undef DC_SETTER

COLORREF SetTextColor(HDC dc, COLORREF c) { return CDC::FromHandle(dc) ? CDC::FromHandle(dc)->SetTextColor(c) : 0; }
COLORREF SetBkColor(HDC dc, COLORREF c) { return CDC::FromHandle(dc) ? CDC::FromHandle(dc)->SetBkColor(c) : 0; }

int CDC::SetMapMode(int mode) {
  if (!isDc(m_hDC)) return 0;
  int old = m_hDC->st.mapMode;
  m_hDC->st.mapMode = mode;
  if (mode == MM_TEXT) {
    m_hDC->st.winExt = SIZE{1, 1};
    m_hDC->st.vpExt = SIZE{1, 1};
  } else if (mode == MM_LOMETRIC || mode == MM_HIMETRIC || mode == MM_LOENGLISH) {
    int per = mode == MM_LOMETRIC ? 254 : mode == MM_HIMETRIC ? 2540 : 100;
    m_hDC->st.winExt = SIZE{per, per};
    m_hDC->st.vpExt = SIZE{m_hDC->dpi, -m_hDC->dpi};
  }
  return old;
}
int CDC::GetMapMode() const { return isDc(m_hDC) ? m_hDC->st.mapMode : 0; }
CPoint CDC::SetWindowOrg(int x, int y) {
  CPoint old = GetWindowOrg();
  if (isDc(m_hDC)) m_hDC->st.winOrg = POINT{x, y};
  return old;
}
CPoint CDC::GetWindowOrg() const { return isDc(m_hDC) ? CPoint(m_hDC->st.winOrg) : CPoint(); }
CPoint CDC::SetViewportOrg(int x, int y) {
  CPoint old = GetViewportOrg();
  if (isDc(m_hDC)) m_hDC->st.vpOrg = POINT{x, y};
  return old;
}
CPoint CDC::GetViewportOrg() const { return isDc(m_hDC) ? CPoint(m_hDC->st.vpOrg) : CPoint(); }
CPoint CDC::OffsetViewportOrg(int dx, int dy) {
  CPoint old = GetViewportOrg();
  SetViewportOrg(old.x + dx, old.y + dy);
  return old;
}
CPoint CDC::OffsetWindowOrg(int dx, int dy) {
  CPoint old = GetWindowOrg();
  SetWindowOrg(old.x + dx, old.y + dy);
  return old;
}
// Extents matter only in the two scalable modes, as on the platform.
CSize CDC::SetWindowExt(int cx, int cy) {
  CSize old = GetWindowExt();
  if (isDc(m_hDC) && cx != 0 && cy != 0 && (m_hDC->st.mapMode == MM_ANISOTROPIC || m_hDC->st.mapMode == MM_ISOTROPIC))
    m_hDC->st.winExt = SIZE{cx, cy};
  return old;
}
CSize CDC::GetWindowExt() const { return isDc(m_hDC) ? CSize(m_hDC->st.winExt) : CSize(); }
CSize CDC::SetViewportExt(int cx, int cy) {
  CSize old = GetViewportExt();
  if (isDc(m_hDC) && cx != 0 && cy != 0 && (m_hDC->st.mapMode == MM_ANISOTROPIC || m_hDC->st.mapMode == MM_ISOTROPIC)) {
    m_hDC->st.vpExt = SIZE{cx, cy};
    if (m_hDC->st.mapMode == MM_ISOTROPIC) {
      auto& s = m_hDC->st;
      double sx = std::fabs(static_cast<double>(s.vpExt.cx) / s.winExt.cx), sy = std::fabs(static_cast<double>(s.vpExt.cy) / s.winExt.cy);
      double k = std::min(sx, sy);
      s.vpExt.cx = static_cast<LONG>(std::lround(k * s.winExt.cx * (s.vpExt.cx < 0 ? -1 : 1)));
      s.vpExt.cy = static_cast<LONG>(std::lround(k * s.winExt.cy * (s.vpExt.cy < 0 ? -1 : 1)));
    }
  }
  return old;
}
CSize CDC::GetViewportExt() const { return isDc(m_hDC) ? CSize(m_hDC->st.vpExt) : CSize(); }
void CDC::LPtoDP(LPPOINT p, int count) const {
  for (int i = 0; i < count; ++i) {
    double x = p[i].x, y = p[i].y;
    dcToDevice(m_hDC, x, y);
    p[i] = POINT{static_cast<LONG>(std::lround(x)), static_cast<LONG>(std::lround(y))};
  }
}
void CDC::LPtoDP(LPRECT r) const { LPtoDP(reinterpret_cast<LPPOINT>(r), 2); }
void CDC::DPtoLP(LPPOINT p, int count) const {
  for (int i = 0; i < count; ++i) {
    double x = p[i].x, y = p[i].y;
    dcToLogical(m_hDC, x, y);
    p[i] = POINT{static_cast<LONG>(std::lround(x)), static_cast<LONG>(std::lround(y))};
  }
}
void CDC::DPtoLP(LPRECT r) const { DPtoLP(reinterpret_cast<LPPOINT>(r), 2); }
void CDC::LPtoDP(LPSIZE s) const {
  s->cx = static_cast<LONG>(std::lround(s->cx * std::fabs(dcScaleX(m_hDC))));
  s->cy = static_cast<LONG>(std::lround(s->cy * std::fabs(dcScaleY(m_hDC))));
}
void CDC::DPtoLP(LPSIZE s) const {
  double sx = std::fabs(dcScaleX(m_hDC)), sy = std::fabs(dcScaleY(m_hDC));
  s->cx = static_cast<LONG>(std::lround(s->cx / (sx == 0 ? 1 : sx)));
  s->cy = static_cast<LONG>(std::lround(s->cy / (sy == 0 ? 1 : sy)));
}

int CDC::SaveDC() {
  if (!isDc(m_hDC)) return 0;
  DcState copy = m_hDC->st;
  if (copy.userClip) copy.userClip = cairo_region_copy(copy.userClip);
  retainState(copy);
  m_hDC->saved.push_back(copy);
  return static_cast<int>(m_hDC->saved.size());
}

BOOL CDC::RestoreDC(int level) {
  if (!isDc(m_hDC)) return FALSE;
  auto& v = m_hDC->saved;
  int n = static_cast<int>(v.size());
  int target = level < 0 ? n + level + 1 : level;
  if (target < 1 || target > n) return FALSE;
  while (static_cast<int>(v.size()) > target) {
    releaseState(v.back());
    v.pop_back();
  }
  releaseState(m_hDC->st);
  m_hDC->st = v.back();
  v.pop_back();
  dcApplyClip(m_hDC);
  return TRUE;
}

int CDC::GetDeviceCaps(int index) const { return ::GetDeviceCaps(m_hDC, index); }

static int regionKind(cairo_region_t* r) {
  int n = cairo_region_num_rectangles(r);
  return n == 0 ? NULLREGION : n == 1 ? SIMPLEREGION : COMPLEXREGION;
}

int CDC::IntersectClipRect(int l, int t, int r, int b) {
  if (!isDc(m_hDC)) return ERROR;
  double dl, dt, dr, db;
  deviceRect(m_hDC, RECT{l, t, r, b}, dl, dt, dr, db);
  cairo_rectangle_int_t rc{static_cast<int>(dl), static_cast<int>(dt), static_cast<int>(dr - dl), static_cast<int>(db - dt)};
  if (!m_hDC->st.userClip) m_hDC->st.userClip = extentRegion(m_hDC);
  cairo_region_intersect_rectangle(m_hDC->st.userClip, &rc);
  dcApplyClip(m_hDC);
  return regionKind(m_hDC->st.userClip);
}

int CDC::ExcludeClipRect(int l, int t, int r, int b) {
  if (!isDc(m_hDC)) return ERROR;
  double dl, dt, dr, db;
  deviceRect(m_hDC, RECT{l, t, r, b}, dl, dt, dr, db);
  cairo_rectangle_int_t rc{static_cast<int>(dl), static_cast<int>(dt), static_cast<int>(dr - dl), static_cast<int>(db - dt)};
  if (!m_hDC->st.userClip) m_hDC->st.userClip = extentRegion(m_hDC);
  cairo_region_subtract_rectangle(m_hDC->st.userClip, &rc);
  dcApplyClip(m_hDC);
  return regionKind(m_hDC->st.userClip);
}

int CDC::SelectClipRgn(CRgn* region) {
  if (!isDc(m_hDC)) return ERROR;
  if (m_hDC->st.userClip) cairo_region_destroy(m_hDC->st.userClip);
  m_hDC->st.userClip = nullptr;
  if (region) {
    HRGN__* g = asRegion(region->m_hObject);
    if (g) m_hDC->st.userClip = cairo_region_copy(g->region);
  }
  dcApplyClip(m_hDC);
  cairo_region_t* e = effectiveClip(m_hDC);
  int k = regionKind(e);
  cairo_region_destroy(e);
  return k;
}

int CDC::GetClipBox(LPRECT r) const {
  if (!isDc(m_hDC) || !r) return ERROR;
  cairo_region_t* e = effectiveClip(m_hDC);
  cairo_rectangle_int_t x;
  cairo_region_get_extents(e, &x);
  int k = regionKind(e);
  cairo_region_destroy(e);
  double l = x.x, t = x.y, rt = x.x + x.width, b = x.y + x.height;
  dcToLogical(m_hDC, l, t);
  dcToLogical(m_hDC, rt, b);
  *r = RECT{static_cast<LONG>(std::floor(std::min(l, rt))), static_cast<LONG>(std::floor(std::min(t, b))),
            static_cast<LONG>(std::ceil(std::max(l, rt))), static_cast<LONG>(std::ceil(std::max(t, b)))};
  return k;
}

BOOL CDC::PtVisible(int x, int y) const {
  if (!isDc(m_hDC)) return FALSE;
  double dx = x, dy = y;
  dcToDevice(m_hDC, dx, dy);
  cairo_region_t* e = effectiveClip(m_hDC);
  bool in = cairo_region_contains_point(e, static_cast<int>(std::floor(dx)), static_cast<int>(std::floor(dy)));
  cairo_region_destroy(e);
  return in;
}

BOOL CDC::RectVisible(LPCRECT r) const {
  if (!isDc(m_hDC) || !r) return FALSE;
  double l, t, rt, b;
  deviceRect(m_hDC, *r, l, t, rt, b);
  cairo_rectangle_int_t rc{static_cast<int>(l), static_cast<int>(t), static_cast<int>(rt - l), static_cast<int>(b - t)};
  cairo_region_t* e = effectiveClip(m_hDC);
  bool in = cairo_region_contains_rectangle(e, &rc) != CAIRO_REGION_OVERLAP_OUT;
  cairo_region_destroy(e);
  return in;
}

CPoint CDC::MoveTo(int x, int y) {
  CPoint old = GetCurrentPosition();
  if (isDc(m_hDC)) m_hDC->st.pos = POINT{x, y};
  return old;
}
CPoint CDC::GetCurrentPosition() const { return isDc(m_hDC) ? CPoint(m_hDC->st.pos) : CPoint(); }

BOOL CDC::LineTo(int x, int y) {
  if (!isDc(m_hDC)) return FALSE;
  double x0 = m_hDC->st.pos.x, y0 = m_hDC->st.pos.y, x1 = x, y1 = y;
  dcToDevice(m_hDC, x0, y0);
  dcToDevice(m_hDC, x1, y1);
  if (mapIsText(m_hDC) || (std::floor(x0) == x0 && std::floor(y0) == y0 && std::floor(x1) == x1 && std::floor(y1) == y1))
    strokeLine(m_hDC, x0, y0, x1, y1);
  else
    strokeLine(m_hDC, std::round(x0), std::round(y0), std::round(x1), std::round(y1));
  m_hDC->st.pos = POINT{x, y};
  return TRUE;
}

BOOL CDC::Polyline(const POINT* points, int count) {
  if (!isDc(m_hDC) || !points || count < 2) return FALSE;
  CPoint keep = GetCurrentPosition();
  MoveTo(points[0].x, points[0].y);
  for (int i = 1; i < count; ++i) LineTo(points[i].x, points[i].y);
  MoveTo(keep);
  return TRUE;
}

BOOL CDC::Polygon(const POINT* points, int count) {
  if (!isDc(m_hDC) || !points || count < 2) return FALSE;
  HBRUSH__* b = asBrush(m_hDC->st.brush);
  if (b && b->style != BS_NULL) {
    dcDeviceMatrix(m_hDC);
    for (int i = 0; i < count; ++i) {
      double x = points[i].x, y = points[i].y;
      dcToDevice(m_hDC, x, y);
      if (i == 0) cairo_move_to(m_hDC->cr, x, y);
      else cairo_line_to(m_hDC->cr, x, y);
    }
    cairo_close_path(m_hDC->cr);
    setSource(m_hDC->cr, b->color);
    cairo_fill(m_hDC->cr);
  }
  std::vector<POINT> closed(points, points + count);
  closed.push_back(points[0]);
  return Polyline(closed.data(), static_cast<int>(closed.size()));
}

BOOL CDC::Rectangle(int l, int t, int r, int b) {
  if (!isDc(m_hDC)) return FALSE;
  HPEN__* pen = asPen(m_hDC->st.pen);
  bool outline = pen && pen->style != PS_NULL;
  HBRUSH__* brush = asBrush(m_hDC->st.brush);
  double dl, dt, dr, db;
  deviceRect(m_hDC, RECT{l, t, r, b}, dl, dt, dr, db);
  if (!outline) { dr -= 1; db -= 1; }
  if (brush && brush->style != BS_NULL) fillDeviceRect(m_hDC, dl, dt, dr, db, brush->color);
  if (!outline || dr - dl < 1 || db - dt < 1) return TRUE;
  strokeLine(m_hDC, dl, dt, dr - 1, dt);
  strokeLine(m_hDC, dr - 1, dt, dr - 1, db - 1);
  strokeLine(m_hDC, dr - 1, db - 1, dl, db - 1);
  strokeLine(m_hDC, dl, db - 1, dl, dt);
  return TRUE;
}

BOOL CDC::Ellipse(int l, int t, int r, int b) {
  if (!isDc(m_hDC)) return FALSE;
  double dl, dt, dr, db;
  deviceRect(m_hDC, RECT{l, t, r, b}, dl, dt, dr, db);
  if (dr - dl < 1 || db - dt < 1) return TRUE;
  cairo_t* cr = m_hDC->cr;
  dcDeviceMatrix(m_hDC);
  cairo_save(cr);
  cairo_translate(cr, (dl + dr) / 2, (dt + db) / 2);
  cairo_scale(cr, (dr - dl - 1) / 2, (db - dt - 1) / 2);
  cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
  cairo_restore(cr);
  HBRUSH__* brush = asBrush(m_hDC->st.brush);
  if (brush && brush->style != BS_NULL) {
    setSource(cr, brush->color);
    cairo_fill_preserve(cr);
  }
  HPEN__* pen = asPen(m_hDC->st.pen);
  if (pen && pen->style != PS_NULL) {
    setSource(cr, pen->color);
    cairo_set_line_width(cr, penDeviceWidth(m_hDC, pen));
    cairo_stroke(cr);
  }
  cairo_new_path(cr);
  return TRUE;
}

COLORREF CDC::SetPixel(int x, int y, COLORREF c) {
  if (!isDc(m_hDC)) return static_cast<COLORREF>(-1);
  double dx = x, dy = y;
  dcToDevice(m_hDC, dx, dy);
  fillDeviceRect(m_hDC, std::floor(dx), std::floor(dy), std::floor(dx) + 1, std::floor(dy) + 1, c);
  return c;
}

COLORREF CDC::GetPixel(int x, int y) const {
  if (!isDc(m_hDC) || !imageTarget(m_hDC)) return static_cast<COLORREF>(-1);
  double dx = x, dy = y;
  dcToDevice(m_hDC, dx, dy);
  if (dx < 0 || dy < 0 || dx >= m_hDC->width || dy >= m_hDC->height) return static_cast<COLORREF>(-1);
  cairo_surface_flush(m_hDC->target);
  std::uint32_t* p = pixelAt(m_hDC->target, static_cast<int>(dx + m_hDC->originX), static_cast<int>(dy + m_hDC->originY));
  if (!p) return static_cast<COLORREF>(-1);
  return RGB((*p >> 16) & 0xFF, (*p >> 8) & 0xFF, *p & 0xFF);
}

// The class library's FillSolidRect works through the background colour and leaves it set.
void CDC::FillSolidRect(LPCRECT r, COLORREF c) {
  if (!isDc(m_hDC) || !r) return;
  m_hDC->st.bkColor = c;
  double l, t, rt, b;
  deviceRect(m_hDC, *r, l, t, rt, b);
  fillDeviceRect(m_hDC, l, t, rt, b, c);
}
void CDC::FillSolidRect(int x, int y, int cx, int cy, COLORREF c) {
  CRect r(x, y, x + cx, y + cy);
  r.NormalizeRect();
  FillSolidRect(&r, c);
}
void CDC::FillRect(LPCRECT r, CBrush* brush) { ::FillRect(m_hDC, r, brush ? static_cast<HBRUSH>(brush->m_hObject) : nullptr); }
void CDC::FrameRect(LPCRECT r, CBrush* brush) { ::FrameRect(m_hDC, r, brush ? static_cast<HBRUSH>(brush->m_hObject) : nullptr); }
void CDC::Draw3dRect(LPCRECT r, COLORREF tl, COLORREF br) {
  Draw3dRect(r->left, r->top, r->right - r->left, r->bottom - r->top, tl, br);
}
void CDC::Draw3dRect(int x, int y, int cx, int cy, COLORREF tl, COLORREF br) {
  FillSolidRect(x, y, cx - 1, 1, tl);
  FillSolidRect(x, y, 1, cy - 1, tl);
  FillSolidRect(x + cx, y, -1, cy, br);
  FillSolidRect(x, y + cy, cx, -1, br);
}
BOOL CDC::DrawEdge(LPRECT r, UINT edge, UINT flags) { return ::DrawEdge(m_hDC, r, edge, flags); }
BOOL CDC::DrawFrameControl(LPRECT r, UINT type, UINT state) { return ::DrawFrameControl(m_hDC, r, type, state); }
void CDC::InvertRect(LPCRECT r) { ::InvertRect(m_hDC, r); }
void CDC::DrawFocusRect(LPCRECT r) { ::DrawFocusRect(m_hDC, r); }
BOOL CDC::DrawIcon(int x, int y, HICON icon) { return ::DrawIcon(m_hDC, x, y, icon); }

BOOL CDC::BitBlt(int x, int y, int cx, int cy, CDC* src, int xs, int ys, DWORD rop) {
  return ::BitBlt(m_hDC, x, y, cx, cy, src ? src->m_hDC : nullptr, xs, ys, rop);
}

BOOL CDC::StretchBlt(int x, int y, int cx, int cy, CDC* src, int xs, int ys, int cxs, int cys, DWORD rop) {
  if (!isDc(m_hDC) || !src || !isDc(src->m_hDC) || cxs == 0 || cys == 0) return FALSE;
  if (cx == cxs && cy == cys) return BitBlt(x, y, cx, cy, src, xs, ys, rop);
  if (rop != SRCCOPY) return FALSE;
  double dx = x, dy = y, sx = xs, sy = ys;
  dcToDevice(m_hDC, dx, dy);
  dcToDevice(src->m_hDC, sx, sy);
  cairo_t* cr = m_hDC->cr;
  dcDeviceMatrix(m_hDC);
  cairo_save(cr);
  cairo_rectangle(cr, dx, dy, cx * dcScaleX(m_hDC), cy * dcScaleY(m_hDC));
  cairo_clip(cr);
  cairo_translate(cr, dx, dy);
  cairo_scale(cr, cx * dcScaleX(m_hDC) / cxs, cy * dcScaleY(m_hDC) / cys);
  cairo_set_source_surface(cr, src->m_hDC->target, -(sx + src->m_hDC->originX), -(sy + src->m_hDC->originY));
  cairo_paint(cr);
  cairo_restore(cr);
  return TRUE;
}

BOOL CDC::PatBlt(int x, int y, int cx, int cy, DWORD rop) {
  if (!isDc(m_hDC)) return FALSE;
  if (rop == PATCOPY) {
    CRect r(x, y, x + cx, y + cy);
    r.NormalizeRect();
    return ::FillRect(m_hDC, &r, m_hDC->st.brush);
  }
  CRect r(x, y, x + cx, y + cy);
  r.NormalizeRect();
  if (rop == DSTINVERT) return ::InvertRect(m_hDC, &r);
  return rasterOp(m_hDC, r.left, r.top, r.Width(), r.Height(), nullptr, 0, 0, rop);
}

// ---- Printing ----------------------------------------------------------------------------------

int CDC::StartDoc(const DOCINFO* info) {
  if (!isDc(m_hDC) || m_hDC->kind != DcKind::Printer || m_hDC->docStarted) return SP_ERROR;
  if (cairo_surface_status(m_hDC->target) != CAIRO_STATUS_SUCCESS) return SP_ERROR;
  m_hDC->docStarted = true;
  if (info && info->lpszDocName)
    cairo_pdf_surface_set_metadata(m_hDC->target, CAIRO_PDF_METADATA_TITLE, kvui::toUtf8(info->lpszDocName).c_str());
  return 1;
}
int CDC::StartDoc(LPCTSTR docName) {
  DOCINFO d{sizeof(DOCINFO), docName, nullptr, nullptr, 0};
  return StartDoc(&d);
}
int CDC::StartPage() {
  if (!isDc(m_hDC) || m_hDC->kind != DcKind::Printer || !m_hDC->docStarted || m_hDC->pageOpen) return SP_ERROR;
  m_hDC->pageOpen = true;
  return 1;
}
int CDC::EndPage() {
  if (!isDc(m_hDC) || !m_hDC->pageOpen) return SP_ERROR;
  cairo_show_page(m_hDC->cr);
  m_hDC->pageOpen = false;
  ++m_hDC->pages;
  return cairo_surface_status(m_hDC->target) == CAIRO_STATUS_SUCCESS ? 1 : SP_ERROR;
}
int CDC::EndDoc() {
  if (!isDc(m_hDC) || !m_hDC->docStarted) return SP_ERROR;
  if (m_hDC->pageOpen) EndPage();
  cairo_surface_finish(m_hDC->target);
  m_hDC->docStarted = false;
  return cairo_surface_status(m_hDC->target) == CAIRO_STATUS_SUCCESS ? 1 : SP_ERROR;
}
int CDC::AbortDoc() {
  if (!isDc(m_hDC) || m_hDC->kind != DcKind::Printer) return SP_ERROR;
  cairo_surface_finish(m_hDC->target);
  std::remove(m_hDC->pdfPath.c_str());
  m_hDC->docStarted = false;
  m_hDC->pageOpen = false;
  return 1;
}
