// Painting: each top-level window's picture, update regions, WM_PAINT/BeginPaint, window DCs
// with their visible region, the frame and the window scroll bars.
#include <algorithm>

#include "impl.h"

using namespace kvui::detail;

namespace {

bool chainVisible(HWND h) {
  for (HWND p = h; p && (p->style & WS_CHILD); p = p->parent)
    if (!(p->style & WS_VISIBLE)) return false;
  return true;
}

// The part of h's client (or window) area that painting may touch, in the DC's coordinates:
// inside every ancestor's client area, outside visible children.
cairo_region_t* visibleRegion(HWND h, bool client, const CRect& area) {
  cairo_rectangle_int_t a{area.left, area.top, area.Width(), area.Height()};
  cairo_region_t* r = cairo_region_create_rectangle(&a);
  if (!chainVisible(h)) {
    cairo_region_t* empty = cairo_region_create();
    cairo_region_destroy(r);
    return empty;
  }
  for (HWND p = h; p->parent && (p->style & WS_CHILD); p = p->parent) {
    CRect pc = clientRectInTop(p->parent);
    cairo_rectangle_int_t pr{pc.left, pc.top, pc.Width(), pc.Height()};
    cairo_region_intersect_rectangle(r, &pr);
  }
  if (client) {
    for (HWND c : h->children) {
      if (!(c->style & WS_VISIBLE)) continue;
      CRect cw = windowRectInTop(c);
      cairo_rectangle_int_t cr{cw.left, cw.top, cw.Width(), cw.Height()};
      cairo_region_subtract_rectangle(r, &cr);
    }
  }
  cairo_region_translate(r, -area.left, -area.top);
  return r;
}

}  // namespace

namespace kvui::detail {

void ensureScreen(HWND top) {
  int w = std::max(1, top->rect.Width()), h = std::max(1, top->rect.Height());
  if (top->screen && cairo_image_surface_get_width(top->screen) == w && cairo_image_surface_get_height(top->screen) == h) return;
  if (top->screen) cairo_surface_destroy(top->screen);
  top->screen = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
  cairo_t* cr = cairo_create(top->screen);
  setSource(cr, GetSysColor(COLOR_3DFACE));
  cairo_paint(cr);
  cairo_destroy(cr);
  invalidateAll(top);
}

HDC windowDc(HWND h, bool client, bool paint) {
  HWND top = topLevelOf(h);
  ensureScreen(top);
  HDC dc = newDc(DcKind::Window);
  dc->hwnd = h;
  CRect area = client ? clientRectInTop(h) : windowRectInTop(h);
  dc->systemClip = visibleRegion(h, client, area);
  if (paint && !h->invalid.IsRectEmpty()) {
    cairo_rectangle_int_t inv{h->invalid.left, h->invalid.top, h->invalid.Width(), h->invalid.Height()};
    cairo_region_intersect_rectangle(dc->systemClip, &inv);
  }
  dcBindTarget(dc, top->screen, area.left, area.top, area.Width(), area.Height());
  if (h->font) SelectObject(dc, h->font);
  return dc;
}

void releaseWindowDc(HDC dc) { DeleteDC(dc); }

void invalidateAll(HWND h) {
  if (!isLive(h)) return;
  RedrawWindow(h, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void paintNow(HWND h) {
  if (!isLive(h) || !chainVisible(h)) return;
  ensureScreen(topLevelOf(h));
  if (!h->invalid.IsRectEmpty()) {
    SendMessage(h, WM_NCPAINT, 1, 0);
    if (!isLive(h)) return;
    SendMessage(h, WM_PAINT, 0, 0);
    if (!isLive(h)) return;
    h->invalid.SetRectEmpty();  // a handler that painted nothing still counts as done
  }
  auto kids = h->children;
  for (auto it = kids.rbegin(); it != kids.rend(); ++it)
    if (isLive(*it) && ((*it)->style & WS_VISIBLE)) paintNow(*it);
}

void paintNonClient(HWND h, HDC dc) {
  CRect w(0, 0, h->rect.Width(), h->rect.Height());
  CRect in = clientInsets(h);
  int scrollRight = (h->style & WS_VSCROLL) ? GetSystemMetrics(SM_CXVSCROLL) : 0;
  int scrollBottom = (h->style & WS_HSCROLL) ? GetSystemMetrics(SM_CYHSCROLL) : 0;
  int captionH = (h->style & WS_CAPTION) == WS_CAPTION ? GetSystemMetrics(SM_CYCAPTION) : 0;
  CRect r = w;
  if ((h->style & WS_THICKFRAME) || (h->style & WS_DLGFRAME) || (h->exStyle & WS_EX_DLGMODALFRAME) ||
      ((h->style & DS_MODALFRAME) && !(h->style & WS_CHILD))) {
    drawEdgeImpl(dc, r, EDGE_RAISED, BF_RECT | BF_ADJUST);
    int extra = in.left - 2 - ((h->exStyle & WS_EX_CLIENTEDGE) ? 2 : 0);
    for (int i = 0; i < extra; ++i) {
      CBrush* face = CBrush::FromHandle(GetSysColorBrush(COLOR_3DFACE));
      CDC::FromHandle(dc)->FrameRect(&r, face);
      r.DeflateRect(1, 1);
    }
  } else if (h->style & WS_BORDER) {
    FrameRect(dc, &r, GetSysColorBrush(COLOR_WINDOWFRAME));
    r.DeflateRect(1, 1);
  }
  if (captionH) {
    CRect cap(r.left, r.top, r.right, r.top + captionH - 1);
    bool active = activeWindow() == h || (h->owner == nullptr && activeWindow() == nullptr);
    CDC* c = CDC::FromHandle(dc);
    c->FillSolidRect(&cap, GetSysColor(active ? COLOR_ACTIVECAPTION : COLOR_INACTIVECAPTION));
    int x = cap.left + 2;
    if (h->iconSmall) {
      DrawIconEx(dc, x, cap.top + (cap.Height() - 16) / 2, h->iconSmall, 16, 16, 0, nullptr, DI_NORMAL);
      x += 18;
    }
    LOGFONT lf = defaultGuiFont();
    lf.lfWeight = FW_BOLD;
    HFONT f = CreateFontIndirect(&lf);
    HGDIOBJ old = SelectObject(dc, f);
    c->SetBkMode(TRANSPARENT);
    c->SetTextColor(GetSysColor(active ? COLOR_CAPTIONTEXT : COLOR_INACTIVECAPTIONTEXT));
    CRect tr(x, cap.top, cap.right - 20, cap.bottom);
    c->DrawText(CString(h->text.c_str()), &tr, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
    SelectObject(dc, old);
    DeleteObject(f);
    if (h->style & WS_SYSMENU) {
      CRect b(cap.right - 18, cap.top + 2, cap.right - 2, cap.bottom - 2);
      drawFrameControlImpl(dc, b, DFC_CAPTION, DFCS_CAPTIONCLOSE);
    }
    r.top += captionH;
  }
  if (h->exStyle & WS_EX_CLIENTEDGE) {
    drawEdgeImpl(dc, r, EDGE_SUNKEN, BF_RECT | BF_ADJUST);
  } else if (h->exStyle & WS_EX_STATICEDGE) {
    drawEdgeImpl(dc, r, BDR_SUNKENOUTER, BF_RECT | BF_ADJUST);
  }
  RECT sb;
  bool enabled = !(h->style & WS_DISABLED);
  if (windowScrollBarRect(h, SB_VERT, &sb)) drawScrollBar(dc, sb, true, h->scroll[SB_VERT], enabled);
  if (windowScrollBarRect(h, SB_HORZ, &sb)) drawScrollBar(dc, sb, false, h->scroll[SB_HORZ], enabled);
  if (scrollRight && scrollBottom) {
    CRect corner(w.right - in.right, w.bottom - in.bottom, w.right - in.right + scrollRight, w.bottom - in.bottom + scrollBottom);
    CDC::FromHandle(dc)->FillSolidRect(&corner, GetSysColor(COLOR_3DFACE));
  }
}

bool windowScrollBarRect(HWND h, int bar, RECT* out) {
  DWORD flag = bar == SB_VERT ? WS_VSCROLL : WS_HSCROLL;
  if (!(h->style & flag)) return false;
  CRect in = clientInsets(h);
  CRect w(0, 0, h->rect.Width(), h->rect.Height());
  CRect client(in.left, in.top, w.right - in.right, w.bottom - in.bottom);
  if (bar == SB_VERT)
    *out = RECT{client.right, client.top, client.right + GetSystemMetrics(SM_CXVSCROLL), client.bottom};
  else
    *out = RECT{client.left, client.bottom, client.right, client.bottom + GetSystemMetrics(SM_CYHSCROLL)};
  return true;
}

}  // namespace kvui::detail

// ---- Update regions ---------------------------------------------------------------------------

BOOL RedrawWindow(HWND h, LPCRECT r, HRGN region, UINT flags) {
  if (!isLive(h)) return FALSE;
  if (flags & RDW_INVALIDATE) {
    if (!h->redrawOff && !kvuiHeldByLock(h)) {
      CRect c;
      GetClientRect(h, &c);
      CRect want = c;
      if (r) want.IntersectRect(r, &c);
      else if (region) {
        RECT box;
        GetRgnBox(region, &box);
        want.IntersectRect(&box, &c);
      }
      if (flags & RDW_FRAME) want = c.IsRectEmpty() ? CRect(0, 0, 1, 1) : c;
      if (!want.IsRectEmpty()) {
        h->invalid.UnionRect(&h->invalid, &want);
        if (flags & RDW_ERASE) h->erase = true;
      }
    }
    if (flags & RDW_ALLCHILDREN)
      for (HWND c : h->children) RedrawWindow(c, nullptr, nullptr, flags & ~RDW_UPDATENOW);
  }
  if (flags & RDW_VALIDATE) h->invalid.SetRectEmpty();
  if (flags & (RDW_UPDATENOW | RDW_ERASENOW)) paintNow(h);
  return TRUE;
}

BOOL InvalidateRect(HWND h, LPCRECT r, BOOL erase) {
  return RedrawWindow(h, r, nullptr, RDW_INVALIDATE | (erase ? RDW_ERASE : 0));
}

BOOL ValidateRect(HWND h, LPCRECT) {
  if (!isLive(h)) return FALSE;
  h->invalid.SetRectEmpty();
  return TRUE;
}

BOOL UpdateWindow(HWND h) {
  if (!isLive(h)) return FALSE;
  paintNow(h);
  return TRUE;
}

BOOL GetUpdateRect(HWND h, LPRECT r, BOOL) {
  if (!isLive(h)) return FALSE;
  if (r) *r = h->invalid;
  return !h->invalid.IsRectEmpty();
}

HDC BeginPaint(HWND h, PAINTSTRUCT* ps) {
  if (!isLive(h) || !ps) return nullptr;
  CRect c;
  GetClientRect(h, &c);
  if (h->invalid.IsRectEmpty()) h->invalid = c;
  HDC dc = windowDc(h, true, true);
  ps->hdc = dc;
  ps->rcPaint = h->invalid;
  ps->fErase = h->erase;
  h->invalid.SetRectEmpty();
  if (h->erase) {
    h->erase = false;
    ps->fErase = SendMessage(h, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0) == 0;
  }
  return dc;
}

BOOL EndPaint(HWND, const PAINTSTRUCT* ps) {
  if (ps && isDc(ps->hdc)) releaseWindowDc(ps->hdc);
  return TRUE;
}

HDC GetDC(HWND h) {
  if (!isLive(h)) return nullptr;
  return windowDc(h, true, false);
}

HDC GetWindowDC(HWND h) {
  if (!isLive(h)) return nullptr;
  return windowDc(h, false, false);
}

int ReleaseDC(HWND, HDC dc) {
  if (!isDc(dc)) return 0;
  releaseWindowDc(dc);
  return 1;
}

// Scrolling copies the client picture and invalidates what was uncovered.
BOOL ScrollWindow(HWND h, int dx, int dy, LPCRECT, LPCRECT) {
  if (!isLive(h)) return FALSE;
  for (HWND c : h->children) c->rect.OffsetRect(dx, dy);
  InvalidateRect(h, nullptr, TRUE);
  for (HWND c : h->children) invalidateAll(c);
  return TRUE;
}

// ---- Class-library DCs ------------------------------------------------------------------------

CPaintDC::CPaintDC(CWnd* wnd) : hwnd_(wnd ? wnd->m_hWnd : nullptr) {
  Attach(BeginPaint(hwnd_, &m_ps));
}
CPaintDC::~CPaintDC() {
  Detach();
  EndPaint(hwnd_, &m_ps);
}
CClientDC::CClientDC(CWnd* wnd) : hwnd_(wnd ? wnd->m_hWnd : nullptr) { Attach(::GetDC(hwnd_)); }
CClientDC::~CClientDC() { ::ReleaseDC(hwnd_, Detach()); }
CWindowDC::CWindowDC(CWnd* wnd) : hwnd_(wnd ? wnd->m_hWnd : nullptr) { Attach(::GetWindowDC(hwnd_)); }
CWindowDC::~CWindowDC() { ::ReleaseDC(hwnd_, Detach()); }

// ---- Window scroll bars -----------------------------------------------------------------------

namespace {

ScrollBarState* barOf(HWND h, int bar) {
  if (!isLive(h) || bar < SB_HORZ || bar > SB_CTL) return nullptr;
  return &h->scroll[bar];
}

void clampPos(SCROLLINFO& si) {
  int maxPos = si.nMax - std::max<int>(static_cast<int>(si.nPage) - 1, 0);
  si.nPos = std::clamp(si.nPos, si.nMin, std::max(si.nMin, maxPos));
}

// A window scroll bar shows while its range is larger than a page, as on the platform.
void updateVisibility(HWND h, int bar, bool disableNoScroll) {
  if (bar == SB_CTL) return;
  const SCROLLINFO& si = h->scroll[bar].info;
  bool needed = si.nMax > si.nMin && (si.nPage == 0 || static_cast<int>(si.nPage) <= si.nMax - si.nMin);
  DWORD flag = bar == SB_VERT ? WS_VSCROLL : WS_HSCROLL;
  bool shown = (h->style & flag) != 0;
  if (disableNoScroll) needed = true;
  if (needed != shown) ShowScrollBar(h, bar, needed);
}

void repaintBar(HWND h, int bar) {
  if (bar == SB_CTL) InvalidateRect(h, nullptr, FALSE);
  else invalidateAll(h);
}

}  // namespace

int SetScrollInfo(HWND h, int bar, const SCROLLINFO* info, BOOL redraw) {
  ScrollBarState* sb = barOf(h, bar);
  if (!sb || !info) return 0;
  SCROLLINFO& si = sb->info;
  if (info->fMask & SIF_RANGE) {
    si.nMin = info->nMin;
    si.nMax = std::max(info->nMin, info->nMax);
  }
  if (info->fMask & SIF_PAGE) si.nPage = std::min<UINT>(info->nPage, static_cast<UINT>(si.nMax - si.nMin + 1));
  if (info->fMask & SIF_POS) si.nPos = info->nPos;
  clampPos(si);
  updateVisibility(h, bar, (info->fMask & SIF_DISABLENOSCROLL) != 0);
  if (redraw) repaintBar(h, bar);
  return si.nPos;
}

BOOL GetScrollInfo(HWND h, int bar, LPSCROLLINFO info) {
  ScrollBarState* sb = barOf(h, bar);
  if (!sb || !info) return FALSE;
  UINT mask = info->fMask;
  if (mask & SIF_RANGE) { info->nMin = sb->info.nMin; info->nMax = sb->info.nMax; }
  if (mask & SIF_PAGE) info->nPage = sb->info.nPage;
  if (mask & SIF_POS) info->nPos = sb->info.nPos;
  if (mask & SIF_TRACKPOS) info->nTrackPos = sb->info.nTrackPos;
  return TRUE;
}

int SetScrollPos(HWND h, int bar, int pos, BOOL redraw) {
  ScrollBarState* sb = barOf(h, bar);
  if (!sb) return 0;
  int old = sb->info.nPos;
  sb->info.nPos = pos;
  clampPos(sb->info);
  if (redraw) repaintBar(h, bar);
  return old;
}

int GetScrollPos(HWND h, int bar) {
  ScrollBarState* sb = barOf(h, bar);
  return sb ? sb->info.nPos : 0;
}

BOOL SetScrollRange(HWND h, int bar, int minPos, int maxPos, BOOL redraw) {
  SCROLLINFO si{sizeof(SCROLLINFO), SIF_RANGE, minPos, maxPos, 0, 0, 0};
  SetScrollInfo(h, bar, &si, redraw);
  return barOf(h, bar) != nullptr;
}

BOOL GetScrollRange(HWND h, int bar, LPINT minPos, LPINT maxPos) {
  ScrollBarState* sb = barOf(h, bar);
  if (!sb) return FALSE;
  if (minPos) *minPos = sb->info.nMin;
  if (maxPos) *maxPos = sb->info.nMax;
  return TRUE;
}

BOOL ShowScrollBar(HWND h, int bar, BOOL show) {
  if (!isLive(h)) return FALSE;
  if (bar == SB_CTL) return ShowWindow(h, show ? SW_SHOW : SW_HIDE), TRUE;
  DWORD flags = (bar == SB_VERT ? WS_VSCROLL : bar == SB_HORZ ? WS_HSCROLL : WS_VSCROLL | WS_HSCROLL);
  DWORD before = h->style;
  if (show) h->style |= flags;
  else h->style &= ~flags;
  if (before != h->style) {
    CRect c;
    GetClientRect(h, &c);
    invalidateAll(h);
    SendMessage(h, WM_SIZE, SIZE_RESTORED, MAKELPARAM(c.Width(), c.Height()));
  }
  return TRUE;
}

BOOL EnableScrollBar(HWND h, int bar, UINT arrows) {
  ScrollBarState* sb = barOf(h, bar == SB_BOTH ? SB_VERT : bar);
  if (!sb) return FALSE;
  sb->disabled = arrows == ESB_DISABLE_BOTH;
  if (bar == SB_BOTH) h->scroll[SB_HORZ].disabled = sb->disabled;
  repaintBar(h, bar);
  return TRUE;
}
