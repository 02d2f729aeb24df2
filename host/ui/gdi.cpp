// GDI objects (pens, brushes, fonts, bitmaps, regions), stock objects and their class-library
// wrappers.
#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "impl.h"

using namespace kvui::detail;

namespace {

// Never destroyed: stock objects stay reachable from it until the process ends.
std::unordered_map<const void*, GdiObject*>& registry() {
  static auto* r = new std::unordered_map<const void*, GdiObject*>;
  return *r;
}

void freeObject(GdiObject* o) {
  registry().erase(static_cast<const void*>(o));
  delete o;
}

template <class T>
T* registerNew(T* o) {
  registry()[static_cast<const void*>(o)] = o;
  return o;
}

template <class T>
T* stock(T* o) {
  o->stock = true;
  return registerNew(o);
}

HPEN__* makePen(int style, int width, COLORREF c) {
  auto* p = new HPEN__;
  p->style = style;
  p->width = width;
  p->color = c;
  return p;
}

HBRUSH__* makeBrush(UINT style, COLORREF c) {
  auto* b = new HBRUSH__;
  b->style = style;
  b->color = c;
  return b;
}

}  // namespace

namespace kvui::detail {

GdiObject* gdiLookup(HGDIOBJ h) {
  if (!h) return nullptr;
  auto it = registry().find(h);
  return it == registry().end() ? nullptr : it->second;
}

void gdiRegister(GdiObject* o) { registry()[o] = o; }

void gdiRelease(GdiObject* o) {
  if (!o || o->stock) return;
  if (o->selections > 0) --o->selections;
  if (o->selections == 0 && o->deletePending) freeObject(o);
}

HFONT__* asFont(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  return o && o->kind == GdiKind::Font ? static_cast<HFONT__*>(o) : nullptr;
}
HPEN__* asPen(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  return o && o->kind == GdiKind::Pen ? static_cast<HPEN__*>(o) : nullptr;
}
HBRUSH__* asBrush(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  return o && o->kind == GdiKind::Brush ? static_cast<HBRUSH__*>(o) : nullptr;
}
HBITMAP__* asBitmap(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  return o && o->kind == GdiKind::Bitmap ? static_cast<HBITMAP__*>(o) : nullptr;
}
HRGN__* asRegion(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  return o && o->kind == GdiKind::Region ? static_cast<HRGN__*>(o) : nullptr;
}

HFONT stockGuiFont() { return static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)); }

}  // namespace kvui::detail

HFONT__::~HFONT__() {
  if (desc) pango_font_description_free(desc);
}
HBITMAP__::~HBITMAP__() {
  if (surface) cairo_surface_destroy(surface);
}
HRGN__::~HRGN__() {
  if (region) cairo_region_destroy(region);
}

HGDIOBJ GetStockObject(int index) {
  static std::unordered_map<int, GdiObject*>* objects = [] {
    auto* mp = new std::unordered_map<int, GdiObject*>;
    auto& m = *mp;
    m[WHITE_BRUSH] = stock(makeBrush(BS_SOLID, RGB(255, 255, 255)));
    m[LTGRAY_BRUSH] = stock(makeBrush(BS_SOLID, RGB(192, 192, 192)));
    m[GRAY_BRUSH] = stock(makeBrush(BS_SOLID, RGB(128, 128, 128)));
    m[DKGRAY_BRUSH] = stock(makeBrush(BS_SOLID, RGB(64, 64, 64)));
    m[BLACK_BRUSH] = stock(makeBrush(BS_SOLID, RGB(0, 0, 0)));
    m[NULL_BRUSH] = stock(makeBrush(BS_NULL, 0));
    m[WHITE_PEN] = stock(makePen(PS_SOLID, 0, RGB(255, 255, 255)));
    m[BLACK_PEN] = stock(makePen(PS_SOLID, 0, RGB(0, 0, 0)));
    m[NULL_PEN] = stock(makePen(PS_NULL, 0, 0));
    for (int f : {ANSI_VAR_FONT, SYSTEM_FONT, DEFAULT_GUI_FONT}) {
      auto* font = new HFONT__;
      font->lf = defaultGuiFont();
      if (f == SYSTEM_FONT) font->lf.lfWeight = FW_BOLD;
      m[f] = stock(font);
    }
    return mp;
  }();
  auto it = objects->find(index);
  return it == objects->end() ? nullptr : static_cast<HGDIOBJ>(it->second);
}

HPEN CreatePen(int style, int width, COLORREF color) {
  return registerNew(makePen(style & PS_STYLE_MASK, std::max(width, 0), color));
}

HPEN ExtCreatePen(DWORD style, DWORD width, const LOGBRUSH* brush, DWORD, const DWORD*) {
  return registerNew(makePen(static_cast<int>(style & PS_STYLE_MASK), static_cast<int>(width), brush ? brush->lbColor : 0));
}

HBRUSH CreateSolidBrush(COLORREF color) { return registerNew(makeBrush(BS_SOLID, color)); }

HBRUSH CreateBrushIndirect(const LOGBRUSH* lb) {
  if (!lb) return nullptr;
  return registerNew(makeBrush(lb->lbStyle == BS_NULL ? BS_NULL : BS_SOLID, lb->lbColor));
}

HBRUSH GetSysColorBrush(int index) {
  static auto* brushes = new std::unordered_map<int, HBRUSH>;
  if (index < 0 || index > 30) return nullptr;
  auto it = brushes->find(index);
  if (it != brushes->end()) return it->second;
  HBRUSH b = stock(makeBrush(BS_SOLID, GetSysColor(index)));
  (*brushes)[index] = b;
  return b;
}

HFONT CreateFontIndirect(const LOGFONT* lf) {
  if (!lf) return nullptr;
  auto* f = new HFONT__;
  f->lf = *lf;
  f->lf.lfFaceName[LF_FACESIZE - 1] = 0;
  return registerNew(f);
}

static HBITMAP newBitmap(int cx, int cy, cairo_format_t format) {
  if (cx <= 0 || cy <= 0 || cx > 32767 || cy > 32767) return nullptr;
  cairo_surface_t* s = cairo_image_surface_create(format, cx, cy);
  if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(s);
    return nullptr;
  }
  auto* b = new HBITMAP__;
  b->surface = s;
  b->width = cx;
  b->height = cy;
  return registerNew(b);
}

HBITMAP CreateCompatibleBitmap(HDC, int cx, int cy) { return newBitmap(cx, cy, CAIRO_FORMAT_RGB24); }

HBITMAP CreateBitmap(int cx, int cy, UINT planes, UINT bitsPerPixel, const void* bits) {
  if (planes != 1 || bitsPerPixel != 32) return nullptr;
  HBITMAP b = newBitmap(cx, cy, CAIRO_FORMAT_RGB24);
  if (!b || !bits) return b;
  cairo_surface_flush(b->surface);
  unsigned char* data = cairo_image_surface_get_data(b->surface);
  int stride = cairo_image_surface_get_stride(b->surface);
  for (int y = 0; y < cy; ++y)
    std::memcpy(data + y * stride, static_cast<const unsigned char*>(bits) + static_cast<std::size_t>(y) * static_cast<std::size_t>(cx) * 4, static_cast<std::size_t>(cx) * 4);
  cairo_surface_mark_dirty(b->surface);
  return b;
}

HRGN CreateRectRgn(int l, int t, int r, int b) {
  auto* g = new HRGN__;
  cairo_rectangle_int_t rc{std::min(l, r), std::min(t, b), std::abs(r - l), std::abs(b - t)};
  g->region = cairo_region_create_rectangle(&rc);
  return registerNew(g);
}
HRGN CreateRectRgnIndirect(LPCRECT r) { return r ? CreateRectRgn(r->left, r->top, r->right, r->bottom) : nullptr; }

int CombineRgn(HRGN dest, HRGN a, HRGN b, int mode) {
  HRGN__* d = asRegion(dest);
  HRGN__* x = asRegion(a);
  HRGN__* y = asRegion(b);
  if (!d || !x || (mode != RGN_COPY && !y)) return ERROR;
  cairo_region_t* out = cairo_region_copy(x->region);
  switch (mode) {
    case RGN_AND: cairo_region_intersect(out, y->region); break;
    case RGN_OR: cairo_region_union(out, y->region); break;
    case RGN_XOR: cairo_region_xor(out, y->region); break;
    case RGN_DIFF: cairo_region_subtract(out, y->region); break;
    case RGN_COPY: break;
    default: cairo_region_destroy(out); return ERROR;
  }
  cairo_region_destroy(d->region);
  d->region = out;
  int n = cairo_region_num_rectangles(out);
  return n == 0 ? NULLREGION : n == 1 ? SIMPLEREGION : COMPLEXREGION;
}

BOOL PtInRegion(HRGN r, int x, int y) {
  HRGN__* g = asRegion(r);
  return g && cairo_region_contains_point(g->region, x, y);
}

int GetRgnBox(HRGN r, LPRECT box) {
  HRGN__* g = asRegion(r);
  if (!g || !box) return ERROR;
  cairo_rectangle_int_t e;
  cairo_region_get_extents(g->region, &e);
  *box = RECT{e.x, e.y, e.x + e.width, e.y + e.height};
  int n = cairo_region_num_rectangles(g->region);
  return n == 0 ? NULLREGION : n == 1 ? SIMPLEREGION : COMPLEXREGION;
}

BOOL DeleteObject(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  if (!o || o->stock) return FALSE;
  if (o->selections > 0) {
    o->deletePending = true;
    return FALSE;
  }
  freeObject(o);
  return TRUE;
}

int GetObject(HGDIOBJ h, int size, LPVOID out) {
  if (HFONT__* f = asFont(h)) {
    if (!out) return sizeof(LOGFONT);
    if (size < static_cast<int>(sizeof(LOGFONT))) return 0;
    std::memcpy(out, &f->lf, sizeof(LOGFONT));
    return sizeof(LOGFONT);
  }
  if (HBITMAP__* b = asBitmap(h)) {
    if (!out) return sizeof(BITMAP);
    if (size < static_cast<int>(sizeof(BITMAP))) return 0;
    BITMAP bm{0, b->width, b->height, b->width * 4, 1, 32, nullptr};
    std::memcpy(out, &bm, sizeof(BITMAP));
    return sizeof(BITMAP);
  }
  if (HPEN__* p = asPen(h)) {
    struct LOGPEN { UINT style; POINT width; COLORREF color; } lp{static_cast<UINT>(p->style), POINT{p->width, 0}, p->color};
    if (!out) return sizeof(lp);
    if (size < static_cast<int>(sizeof(lp))) return 0;
    std::memcpy(out, &lp, sizeof(lp));
    return sizeof(lp);
  }
  if (HBRUSH__* b = asBrush(h)) {
    LOGBRUSH lb{b->style, b->color, 0};
    if (!out) return sizeof(lb);
    if (size < static_cast<int>(sizeof(lb))) return 0;
    std::memcpy(out, &lb, sizeof(lb));
    return sizeof(lb);
  }
  return 0;
}

// ---- Class-library wrappers -------------------------------------------------------------------

CGdiObject::~CGdiObject() { DeleteObject(); }
BOOL CGdiObject::Attach(HGDIOBJ h) {
  if (m_hObject || !gdiLookup(h)) return FALSE;
  m_hObject = h;
  return TRUE;
}
HGDIOBJ CGdiObject::Detach() {
  HGDIOBJ h = m_hObject;
  m_hObject = nullptr;
  return h;
}
BOOL CGdiObject::DeleteObject() {
  if (!m_hObject) return FALSE;
  GdiObject* o = gdiLookup(m_hObject);
  // A FromHandle wrapper does not own its handle.
  if (o && o->wrapper.get() == this) {
    m_hObject = nullptr;
    return FALSE;
  }
  BOOL ok = ::DeleteObject(Detach());
  return ok;
}
BOOL CGdiObject::CreateStockObject(int index) { return Attach(GetStockObject(index)); }

template <class W>
static W* wrapperFor(HGDIOBJ h) {
  GdiObject* o = gdiLookup(h);
  if (!o) return nullptr;
  if (!o->wrapper) {
    o->wrapper = std::make_unique<W>();
    o->wrapper->m_hObject = h;
  }
  return dynamic_cast<W*>(o->wrapper.get());
}

CPen::CPen(int style, int width, COLORREF color) { CreatePen(style, width, color); }
CPen::CPen(int style, int width, const LOGBRUSH* brush, int count, const DWORD* styles) {
  CreatePen(style, width, brush, count, styles);
}
BOOL CPen::CreatePen(int style, int width, COLORREF color) { return Attach(::CreatePen(style, width, color)); }
BOOL CPen::CreatePen(int style, int width, const LOGBRUSH* brush, int count, const DWORD* styles) {
  return Attach(::ExtCreatePen(static_cast<DWORD>(style), static_cast<DWORD>(width), brush, static_cast<DWORD>(count), styles));
}
CPen* CPen::FromHandle(HPEN h) { return wrapperFor<CPen>(h); }

CBrush::CBrush(COLORREF color) { CreateSolidBrush(color); }
BOOL CBrush::CreateSolidBrush(COLORREF color) { return Attach(::CreateSolidBrush(color)); }
BOOL CBrush::CreateSysColorBrush(int index) { return Attach(::CreateSolidBrush(GetSysColor(index))); }
CBrush* CBrush::FromHandle(HBRUSH h) { return wrapperFor<CBrush>(h); }

BOOL CFont::CreateFontIndirect(const LOGFONT* lf) { return Attach(::CreateFontIndirect(lf)); }
BOOL CFont::CreatePointFont(int pointSize10, LPCTSTR face, CDC* dc) {
  LOGFONT lf{};
  int dpi = dc && dc->m_hDC ? dc->GetDeviceCaps(LOGPIXELSY) : 96;
  lf.lfHeight = -static_cast<LONG>((pointSize10 * dpi + 360) / 720);
  lf.lfWeight = FW_NORMAL;
  lf.lfCharSet = DEFAULT_CHARSET;
  std::wcsncpy(lf.lfFaceName, face ? face : L"MS Shell Dlg", LF_FACESIZE - 1);
  return CreateFontIndirect(&lf);
}
BOOL CFont::CreateFont(int height, int width, int escapement, int orientation, int weight, BYTE italic,
                       BYTE underline, BYTE strikeOut, BYTE charSet, BYTE outPrecision, BYTE clipPrecision,
                       BYTE quality, BYTE pitchAndFamily, LPCTSTR face) {
  LOGFONT lf{height, width, escapement, orientation, weight, italic, underline, strikeOut, charSet,
             outPrecision, clipPrecision, quality, pitchAndFamily, {}};
  std::wcsncpy(lf.lfFaceName, face ? face : L"", LF_FACESIZE - 1);
  return CreateFontIndirect(&lf);
}
int CFont::GetLogFont(LOGFONT* lf) const { return ::GetObject(m_hObject, sizeof(LOGFONT), lf); }
CFont* CFont::FromHandle(HFONT h) { return wrapperFor<CFont>(h); }

BOOL CBitmap::CreateCompatibleBitmap(CDC* dc, int cx, int cy) {
  return Attach(::CreateCompatibleBitmap(dc ? dc->m_hDC : nullptr, cx, cy));
}
BOOL CBitmap::CreateBitmap(int cx, int cy, UINT planes, UINT bpp, const void* bits) {
  return Attach(::CreateBitmap(cx, cy, planes, bpp, bits));
}
BOOL CBitmap::LoadBitmap(UINT) { return FALSE; }
int CBitmap::GetBitmap(BITMAP* out) const { return ::GetObject(m_hObject, sizeof(BITMAP), out); }
CSize CBitmap::GetBitmapDimension() const {
  HBITMAP__* b = asBitmap(m_hObject);
  return b ? CSize(b->width, b->height) : CSize();
}
CBitmap* CBitmap::FromHandle(HBITMAP h) { return wrapperFor<CBitmap>(h); }

BOOL CRgn::CreateRectRgn(int l, int t, int r, int b) { return Attach(::CreateRectRgn(l, t, r, b)); }
BOOL CRgn::CreateRectRgnIndirect(LPCRECT r) { return Attach(::CreateRectRgnIndirect(r)); }
int CRgn::CombineRgn(const CRgn* a, const CRgn* b, int mode) {
  return ::CombineRgn(static_cast<HRGN>(m_hObject), a ? static_cast<HRGN>(a->m_hObject) : nullptr,
                      b ? static_cast<HRGN>(b->m_hObject) : nullptr, mode);
}
BOOL CRgn::PtInRegion(POINT p) const { return ::PtInRegion(static_cast<HRGN>(m_hObject), p.x, p.y); }
int CRgn::GetRgnBox(LPRECT r) const { return ::GetRgnBox(static_cast<HRGN>(m_hObject), r); }
