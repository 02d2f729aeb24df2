// Classic 3D drawing: system colours and metrics, edges, frame controls, scroll bars and icons.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "impl.h"

using namespace kvui::detail;

// ---- System colours and metrics -------------------------------------------------------------

DWORD GetSysColor(int index) {
  static const COLORREF classic[31] = {
      RGB(192, 192, 192), RGB(0, 128, 128),   RGB(0, 0, 128),     RGB(128, 128, 128), RGB(192, 192, 192),
      RGB(255, 255, 255), RGB(0, 0, 0),       RGB(0, 0, 0),       RGB(0, 0, 0),       RGB(255, 255, 255),
      RGB(192, 192, 192), RGB(192, 192, 192), RGB(128, 128, 128), RGB(0, 0, 128),     RGB(255, 255, 255),
      RGB(192, 192, 192), RGB(128, 128, 128), RGB(128, 128, 128), RGB(0, 0, 0),       RGB(192, 192, 192),
      RGB(255, 255, 255), RGB(0, 0, 0),       RGB(223, 223, 223), RGB(0, 0, 0),       RGB(255, 255, 225),
      RGB(181, 181, 181), RGB(0, 0, 255),     RGB(16, 132, 208),  RGB(181, 181, 181), RGB(0, 0, 128),
      RGB(192, 192, 192),
  };
  return index >= 0 && index < 31 ? classic[index] : 0;
}

int GetSystemMetrics(int index) {
  static const std::map<int, int> metrics = {
      {SM_CXSCREEN, 1024}, {SM_CYSCREEN, 768},   {SM_CXVSCROLL, 16},   {SM_CYHSCROLL, 16},  {SM_CYCAPTION, 19},
      {SM_CXBORDER, 1},    {SM_CYBORDER, 1},     {SM_CXDLGFRAME, 3},   {SM_CYDLGFRAME, 3},  {SM_CYVTHUMB, 16},
      {SM_CXHTHUMB, 16},   {SM_CXICON, 32},      {SM_CYICON, 32},      {SM_CXCURSOR, 32},   {SM_CYCURSOR, 32},
      {SM_CYMENU, 19},     {SM_CXFULLSCREEN, 1024}, {SM_CYFULLSCREEN, 749}, {SM_CYVSCROLL, 16}, {SM_CXHSCROLL, 16},
      {SM_CXMIN, 112},     {SM_CYMIN, 27},       {SM_CXSIZE, 18},      {SM_CYSIZE, 18},     {SM_CXFRAME, 4},
      {SM_CYFRAME, 4},     {SM_CXMINTRACK, 112}, {SM_CYMINTRACK, 27},  {SM_CXDOUBLECLK, 4}, {SM_CYDOUBLECLK, 4},
      {SM_CXEDGE, 2},      {SM_CYEDGE, 2},       {SM_CXSMICON, 16},    {SM_CYSMICON, 16},   {SM_CYSMCAPTION, 15},
      {SM_CXDRAG, 4},      {SM_CYDRAG, 4},       {SM_MOUSEWHEELPRESENT, 1},
  };
  auto it = metrics.find(index);
  return it == metrics.end() ? 0 : it->second;
}

BOOL SystemParametersInfo(UINT action, UINT, LPVOID out, UINT) {
  if (!out) return FALSE;
  switch (action) {
    case SPI_GETWHEELSCROLLLINES: *static_cast<UINT*>(out) = 3; return TRUE;
    case SPI_GETWORKAREA: *static_cast<RECT*>(out) = RECT{0, 0, 1024, 740}; return TRUE;
    case SPI_GETNONCLIENTMETRICS: {
      auto* m = static_cast<NONCLIENTMETRICS*>(out);
      UINT size = m->cbSize;
      std::memset(m, 0, sizeof(*m));
      m->cbSize = size;
      m->iBorderWidth = 1;
      m->iScrollWidth = m->iScrollHeight = 16;
      m->iCaptionWidth = m->iCaptionHeight = 18;
      m->iSmCaptionWidth = m->iSmCaptionHeight = 14;
      m->iMenuWidth = m->iMenuHeight = 18;
      m->lfCaptionFont = m->lfSmCaptionFont = messageFont();
      m->lfCaptionFont.lfWeight = m->lfSmCaptionFont.lfWeight = FW_BOLD;
      m->lfMenuFont = m->lfStatusFont = m->lfMessageFont = messageFont();
      return TRUE;
    }
    default: return FALSE;
  }
}

UINT GetDoubleClickTime() { return 500; }

// ---- Edges and frame controls -----------------------------------------------------------------

namespace {

void hline(HDC dc, int l, int r, int y, COLORREF c) {
  if (r > l) CDC::FromHandle(dc)->FillSolidRect(l, y, r - l, 1, c);
}
void vline(HDC dc, int x, int t, int b, COLORREF c) {
  if (b > t) CDC::FromHandle(dc)->FillSolidRect(x, t, 1, b - t, c);
}

// One ring of an edge: top-left colour and bottom-right colour.
void ring(HDC dc, RECT& r, UINT flags, COLORREF tl, COLORREF br) {
  COLORREF keep = CDC::FromHandle(dc)->GetBkColor();
  if (flags & BF_TOP) hline(dc, r.left, r.right, r.top, tl);
  if (flags & BF_LEFT) vline(dc, r.left, r.top, r.bottom, tl);
  if (flags & BF_BOTTOM) hline(dc, r.left, r.right, r.bottom - 1, br);
  if (flags & BF_RIGHT) vline(dc, r.right - 1, r.top, r.bottom, br);
  if (flags & BF_TOP) hline(dc, r.left, r.right - 1, r.top, tl);
  CDC::FromHandle(dc)->SetBkColor(keep);
  if (flags & BF_LEFT) ++r.left;
  if (flags & BF_TOP) ++r.top;
  if (flags & BF_RIGHT) --r.right;
  if (flags & BF_BOTTOM) --r.bottom;
}

void fillPolygon(HDC dc, const std::vector<std::pair<double, double>>& pts, COLORREF c) {
  cairo_t* cr = dc->cr;
  dcDeviceMatrix(dc);
  for (std::size_t i = 0; i < pts.size(); ++i) {
    double x = pts[i].first, y = pts[i].second;
    dcToDevice(dc, x, y);
    if (i == 0) cairo_move_to(cr, x, y);
    else cairo_line_to(cr, x, y);
  }
  cairo_close_path(cr);
  setSource(cr, c);
  cairo_fill(cr);
}

void drawCheckMark(HDC dc, const RECT& r, COLORREF c) {
  int x = r.left + (r.right - r.left - 7) / 2, y = r.top + (r.bottom - r.top - 7) / 2;
  for (int i = 0; i < 7; ++i) {
    int yy = i < 3 ? y + 2 + i : y + 4 - (i - 3);
    CDC::FromHandle(dc)->FillSolidRect(x + i, yy, 1, 3, c);
  }
}

}  // namespace

namespace kvui::detail {

void drawEdgeImpl(HDC dc, RECT r, UINT edge, UINT flags) {
  bool mono = flags & BF_MONO, flat = flags & BF_FLAT;
  COLORREF outerTL, outerBR, innerTL, innerBR;
  if (mono) {
    outerTL = outerBR = innerTL = innerBR = GetSysColor(COLOR_WINDOWFRAME);
  } else if (flat) {
    outerTL = outerBR = GetSysColor(COLOR_BTNSHADOW);
    innerTL = innerBR = GetSysColor(COLOR_3DFACE);
  } else {
    bool raisedOuter = edge & BDR_RAISEDOUTER, sunkenOuter = edge & BDR_SUNKENOUTER;
    bool raisedInner = edge & BDR_RAISEDINNER;
    outerTL = raisedOuter ? GetSysColor(COLOR_3DLIGHT) : GetSysColor(COLOR_BTNSHADOW);
    outerBR = raisedOuter ? GetSysColor(COLOR_3DDKSHADOW) : GetSysColor(COLOR_BTNHIGHLIGHT);
    if (!raisedOuter && !sunkenOuter) outerTL = outerBR = 0;
    innerTL = raisedInner ? GetSysColor(COLOR_BTNHIGHLIGHT) : GetSysColor(COLOR_3DDKSHADOW);
    innerBR = raisedInner ? GetSysColor(COLOR_BTNSHADOW) : GetSysColor(COLOR_3DLIGHT);
    if ((edge & (BDR_RAISEDOUTER | BDR_SUNKENOUTER)) && !(edge & (BDR_RAISEDINNER | BDR_SUNKENINNER)) && sunkenOuter) {
      outerTL = GetSysColor(COLOR_BTNSHADOW);
      outerBR = GetSysColor(COLOR_BTNHIGHLIGHT);
    }
  }
  RECT in = r;
  if (edge & (BDR_RAISEDOUTER | BDR_SUNKENOUTER)) ring(dc, in, flags, outerTL, outerBR);
  if (edge & (BDR_RAISEDINNER | BDR_SUNKENINNER)) ring(dc, in, flags, innerTL, innerBR);
  if (flags & BF_MIDDLE) CDC::FromHandle(dc)->FillSolidRect(&in, GetSysColor(COLOR_3DFACE));
}

void drawArrow(HDC dc, const RECT& r, int direction, COLORREF c) {
  double cx = (r.left + r.right) / 2.0, cy = (r.top + r.bottom) / 2.0;
  double s = std::max(2.0, std::floor(std::min(r.right - r.left, r.bottom - r.top) / 4.0));
  std::vector<std::pair<double, double>> p;
  switch (direction) {
    case 0: p = {{cx - s, cy + s / 2}, {cx + s, cy + s / 2}, {cx, cy - s / 2}}; break;
    case 1: p = {{cx - s, cy - s / 2}, {cx + s, cy - s / 2}, {cx, cy + s / 2}}; break;
    case 2: p = {{cx + s / 2, cy - s}, {cx + s / 2, cy + s}, {cx - s / 2, cy}}; break;
    default: p = {{cx - s / 2, cy - s}, {cx - s / 2, cy + s}, {cx + s / 2, cy}}; break;
  }
  fillPolygon(dc, p, c);
}

void drawFrameControlImpl(HDC dc, RECT r, UINT type, UINT state) {
  CDC* c = CDC::FromHandle(dc);
  bool pushed = state & DFCS_PUSHED, inactive = state & DFCS_INACTIVE;
  COLORREF arrow = GetSysColor(inactive ? COLOR_GRAYTEXT : COLOR_BTNTEXT);
  if (type == DFC_BUTTON && (state & 0xFF) != DFCS_BUTTONPUSH) {
    bool radio = (state & DFCS_BUTTONRADIO) != 0;
    RECT box{r.left, r.top + (r.bottom - r.top - 13) / 2, r.left + 13, r.top + (r.bottom - r.top - 13) / 2 + 13};
    if (radio) {
      CBrush face(GetSysColor(inactive ? COLOR_3DFACE : COLOR_WINDOW));
      CPen pen(PS_SOLID, 1, GetSysColor(COLOR_BTNSHADOW));
      CGdiObject* ob = c->SelectObject(static_cast<CGdiObject*>(&face));
      CGdiObject* op = c->SelectObject(static_cast<CGdiObject*>(&pen));
      c->Ellipse(&box);
      c->SelectObject(ob);
      c->SelectObject(op);
      if (state & DFCS_CHECKED) {
        CRect dot(box.left + 4, box.top + 4, box.right - 4, box.bottom - 4);
        c->FillSolidRect(&dot, arrow);
      }
      return;
    }
    c->FillSolidRect(&box, GetSysColor(inactive || pushed ? COLOR_3DFACE : COLOR_WINDOW));
    drawEdgeImpl(dc, box, (state & DFCS_FLAT) ? BDR_SUNKENOUTER : EDGE_SUNKEN, BF_RECT | ((state & DFCS_FLAT) ? BF_FLAT : 0));
    if (state & DFCS_CHECKED) drawCheckMark(dc, box, arrow);
    return;
  }
  c->FillSolidRect(&r, GetSysColor(COLOR_3DFACE));
  if (state & DFCS_FLAT) drawEdgeImpl(dc, r, BDR_RAISEDINNER, BF_RECT | BF_FLAT);
  else drawEdgeImpl(dc, r, pushed ? EDGE_SUNKEN : EDGE_RAISED, BF_RECT);
  RECT g = r;
  if (pushed) OffsetRect(&g, 1, 1);
  if (type == DFC_SCROLL) {
    UINT part = state & 0xFF;
    int dir = part == DFCS_SCROLLUP ? 0 : (part == DFCS_SCROLLDOWN || part == DFCS_SCROLLCOMBOBOX) ? 1 : part == DFCS_SCROLLLEFT ? 2 : 3;
    if (part == DFCS_SCROLLSIZEGRIP) return;
    drawArrow(dc, g, dir, arrow);
  } else if (type == DFC_CAPTION) {
    CPen pen(PS_SOLID, 1, GetSysColor(COLOR_BTNTEXT));
    CGdiObject* old = c->SelectObject(static_cast<CGdiObject*>(&pen));
    int m = 4;
    for (int d = 0; d < 2; ++d) {
      c->MoveTo(g.left + m + d, g.top + m);
      c->LineTo(g.right - m + d, g.bottom - m);
      c->MoveTo(g.right - m - 1 + d, g.top + m);
      c->LineTo(g.left + m - 1 + d, g.bottom - m);
    }
    c->SelectObject(old);
  }
}

RECT scrollThumb(const RECT& r, bool vertical, const ScrollBarState& sb) {
  int len = vertical ? r.bottom - r.top : r.right - r.left;
  int arrow = vertical ? std::min(GetSystemMetrics(SM_CYVSCROLL), len / 2) : std::min(GetSystemMetrics(SM_CXHSCROLL), len / 2);
  int track = len - 2 * arrow;
  const SCROLLINFO& si = sb.info;
  int range = si.nMax - si.nMin + 1;
  if (track < 8 || range <= 0 || (si.nPage && static_cast<int>(si.nPage) >= range)) return RECT{0, 0, 0, 0};
  int thumb = si.nPage ? std::max(8, static_cast<int>(static_cast<long long>(track) * si.nPage / range)) : GetSystemMetrics(SM_CXHTHUMB);
  thumb = std::min(thumb, track);
  int span = range - std::max<int>(static_cast<int>(si.nPage), 1);
  int pos = span > 0 ? static_cast<int>(static_cast<long long>(track - thumb) * (si.nPos - si.nMin) / span) : 0;
  int start = arrow + std::clamp(pos, 0, track - thumb);
  return vertical ? RECT{r.left, r.top + start, r.right, r.top + start + thumb}
                  : RECT{r.left + start, r.top, r.left + start + thumb, r.bottom};
}

void drawScrollBar(HDC dc, const RECT& r, bool vertical, const ScrollBarState& sb, bool enabled) {
  CDC* c = CDC::FromHandle(dc);
  int len = vertical ? r.bottom - r.top : r.right - r.left;
  int arrow = std::min(vertical ? GetSystemMetrics(SM_CYVSCROLL) : GetSystemMetrics(SM_CXHSCROLL), len / 2);
  RECT a1 = vertical ? RECT{r.left, r.top, r.right, r.top + arrow} : RECT{r.left, r.top, r.left + arrow, r.bottom};
  RECT a2 = vertical ? RECT{r.left, r.bottom - arrow, r.right, r.bottom} : RECT{r.right - arrow, r.top, r.right, r.bottom};
  RECT track = vertical ? RECT{r.left, a1.bottom, r.right, a2.top} : RECT{a1.right, r.top, a2.left, r.bottom};
  // The classic track: a dither of face and highlight, drawn here as its average.
  c->FillSolidRect(&track, RGB(224, 224, 224));
  bool live = enabled && !sb.disabled;
  UINT st = live ? 0 : DFCS_INACTIVE;
  drawFrameControlImpl(dc, a1, DFC_SCROLL, (vertical ? DFCS_SCROLLUP : DFCS_SCROLLLEFT) | st);
  drawFrameControlImpl(dc, a2, DFC_SCROLL, (vertical ? DFCS_SCROLLDOWN : DFCS_SCROLLRIGHT) | st);
  RECT thumb = scrollThumb(r, vertical, sb);
  if (live && !IsRectEmpty(&thumb)) {
    c->FillSolidRect(&thumb, GetSysColor(COLOR_3DFACE));
    drawEdgeImpl(dc, thumb, EDGE_RAISED, BF_RECT);
  }
}

UINT scrollBarPart(const RECT& r, bool vertical, const ScrollBarState& sb, POINT p) {
  int len = vertical ? r.bottom - r.top : r.right - r.left;
  int arrow = std::min(vertical ? GetSystemMetrics(SM_CYVSCROLL) : GetSystemMetrics(SM_CXHSCROLL), len / 2);
  int at = vertical ? p.y - r.top : p.x - r.left;
  if (at < arrow) return SB_LINEUP;
  if (at >= len - arrow) return SB_LINEDOWN;
  RECT thumb = scrollThumb(r, vertical, sb);
  if (IsRectEmpty(&thumb)) return SB_ENDSCROLL;
  int t0 = vertical ? thumb.top - r.top : thumb.left - r.left, t1 = vertical ? thumb.bottom - r.top : thumb.right - r.left;
  if (at < t0) return SB_PAGEUP;
  if (at >= t1) return SB_PAGEDOWN;
  return SB_THUMBTRACK;
}

}  // namespace kvui::detail

BOOL DrawEdge(HDC dc, LPRECT r, UINT edge, UINT flags) {
  if (!isDc(dc) || !r) return FALSE;
  RECT in = *r;
  drawEdgeImpl(dc, in, edge, flags);
  if (flags & BF_ADJUST) {
    int n = ((edge & (BDR_RAISEDOUTER | BDR_SUNKENOUTER)) ? 1 : 0) + ((edge & (BDR_RAISEDINNER | BDR_SUNKENINNER)) ? 1 : 0);
    if (flags & BF_LEFT) r->left += n;
    if (flags & BF_TOP) r->top += n;
    if (flags & BF_RIGHT) r->right -= n;
    if (flags & BF_BOTTOM) r->bottom -= n;
  }
  return TRUE;
}

BOOL DrawFrameControl(HDC dc, LPRECT r, UINT type, UINT state) {
  if (!isDc(dc) || !r) return FALSE;
  drawFrameControlImpl(dc, *r, type, state);
  if (state & DFCS_ADJUSTRECT) InflateRect(r, -2, -2);
  return TRUE;
}

// ---- Icons --------------------------------------------------------------------------------

HICON__::~HICON__() {
  if (surface) cairo_surface_destroy(surface);
}

namespace kvui::detail {


// The host has no resource files: an icon asked for by id is drawn here, a framed tile whose
// colour follows the id, so each dialog's icon is recognisable and stable.
HICON iconForId(int id, int cx, int cy) {
  static auto* icons = new std::map<std::tuple<int, int, int>, HICON>;  // shared for the process
  auto& cache = *icons;
  cx = cx > 0 ? cx : 32;
  cy = cy > 0 ? cy : 32;
  auto key = std::make_tuple(id, cx, cy);
  auto it = cache.find(key);
  if (it != cache.end()) return it->second;
  auto* icon = new HICON__;
  icon->width = cx;
  icon->height = cy;
  icon->shared = true;
  icon->surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, cx, cy);
  cairo_t* cr = cairo_create(icon->surface);
  double hue = (id * 47 % 360) / 360.0;
  double rC = 0.5 + 0.4 * std::cos(2 * M_PI * hue), gC = 0.5 + 0.4 * std::cos(2 * M_PI * (hue - 1.0 / 3)),
         bC = 0.5 + 0.4 * std::cos(2 * M_PI * (hue - 2.0 / 3));
  cairo_rectangle(cr, 1, 1, cx - 2, cy - 2);
  cairo_set_source_rgb(cr, rC, gC, bC);
  cairo_fill_preserve(cr);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_set_line_width(cr, 1);
  cairo_rectangle(cr, 1.5, 1.5, cx - 3, cy - 3);
  cairo_stroke(cr);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_rectangle(cr, cx * 0.3, cy * 0.3, cx * 0.4, cy * 0.4);
  cairo_fill(cr);
  cairo_destroy(cr);
  cache[key] = icon;
  return icon;
}

}  // namespace kvui::detail

HICON LoadIcon(HINSTANCE, LPCTSTR name) {
  int id = IS_INTRESOURCE(name) ? static_cast<int>(reinterpret_cast<ULONG_PTR>(name)) : 0;
  return iconForId(id, GetSystemMetrics(SM_CXICON), GetSystemMetrics(SM_CYICON));
}

HANDLE LoadImage(HINSTANCE, LPCTSTR name, UINT type, int cx, int cy, UINT) {
  if (type != IMAGE_ICON || !IS_INTRESOURCE(name)) return nullptr;
  return iconForId(static_cast<int>(reinterpret_cast<ULONG_PTR>(name)), cx, cy);
}

BOOL DestroyIcon(HICON) { return TRUE; }

BOOL DrawIconEx(HDC dc, int x, int y, HICON icon, int cx, int cy, UINT, HBRUSH flicker, UINT flags) {
  if (!isDc(dc) || !icon || !icon->surface) return FALSE;
  cx = cx > 0 ? cx : icon->width;
  cy = cy > 0 ? cy : icon->height;
  double dx = x, dy = y;
  dcToDevice(dc, dx, dy);
  cairo_t* cr = dc->cr;
  dcDeviceMatrix(dc);
  if (flicker) FillRect(dc, CRect(x, y, x + cx, y + cy), flicker);
  cairo_save(cr);
  cairo_translate(cr, dx, dy);
  cairo_scale(cr, cx * dcScaleX(dc) / icon->width, cy * dcScaleY(dc) / icon->height);
  cairo_set_source_surface(cr, icon->surface, 0, 0);
  if ((flags & DI_NORMAL) == DI_MASK) cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_mask_surface(cr, icon->surface, 0, 0);
  cairo_restore(cr);
  return TRUE;
}

BOOL DrawIcon(HDC dc, int x, int y, HICON icon) {
  return DrawIconEx(dc, x, y, icon, 0, 0, 0, nullptr, DI_NORMAL);
}

HCURSOR LoadCursor(HINSTANCE, LPCTSTR name) {
  int id = IS_INTRESOURCE(name) ? static_cast<int>(reinterpret_cast<ULONG_PTR>(name)) : 0;
  return iconForId(id, 32, 32);
}
