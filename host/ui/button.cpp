// The button and static classes: push buttons, check boxes, radio buttons, group boxes, and
// static text, frames and icons.
#include <algorithm>

#include "impl.h"

using namespace kvui::detail;

namespace kvui::detail {

HBRUSH controlColors(HWND control, HDC dc, UINT msg) {
  HWND parent = control->parent;
  HBRUSH b = nullptr;
  if (isLive(parent)) b = reinterpret_cast<HBRUSH>(SendMessage(parent, msg, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control)));
  if (!b) b = reinterpret_cast<HBRUSH>(DefWindowProc(control, msg, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control)));
  return b;
}

}  // namespace kvui::detail

namespace {

void drawLabel(HDC dc, HWND h, RECT r, UINT fmt) {
  CDC* c = CDC::FromHandle(dc);
  c->SetBkMode(TRANSPARENT);
  if (h->style & WS_DISABLED) {
    RECT shadow = r;
    OffsetRect(&shadow, 1, 1);
    c->SetTextColor(GetSysColor(COLOR_BTNHIGHLIGHT));
    c->DrawText(CString(h->text.c_str()), &shadow, fmt);
    c->SetTextColor(GetSysColor(COLOR_GRAYTEXT));
  }
  c->DrawText(CString(h->text.c_str()), &r, fmt);
}

class Button : public Control {
 public:
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_PAINT: paint(h); return 0;
      case WM_ERASEBKGND: return 1;
      case WM_LBUTTONDOWN: case WM_LBUTTONDBLCLK:
        if (type(h) == BS_GROUPBOX) return 0;
        SetFocus(h);
        pushed_ = tracking_ = true;
        SetCapture(h);
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      case WM_MOUSEMOVE:
        if (tracking_) {
          CRect c;
          GetClientRect(h, &c);
          bool in = c.PtInRect(CPoint(l));
          if (in != pushed_) { pushed_ = in; InvalidateRect(h, nullptr, TRUE); }
        }
        return 0;
      case WM_LBUTTONUP: {
        if (!tracking_) return 0;
        bool fire = pushed_;
        tracking_ = pushed_ = false;
        if (GetCapture() == h) ReleaseCapture();
        InvalidateRect(h, nullptr, TRUE);
        if (fire) click(h);
        return 0;
      }
      case WM_CAPTURECHANGED:
        if (tracking_) { tracking_ = pushed_ = false; InvalidateRect(h, nullptr, TRUE); }
        return 0;
      case WM_KEYDOWN:
        if (w == VK_SPACE) { pushed_ = true; InvalidateRect(h, nullptr, TRUE); }
        return 0;
      case WM_KEYUP:
        if (w == VK_SPACE && pushed_) { pushed_ = false; InvalidateRect(h, nullptr, TRUE); click(h); }
        return 0;
      case WM_SETFOCUS: case WM_KILLFOCUS: case WM_ENABLE:
        if (msg == WM_KILLFOCUS) pushed_ = false;
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      case WM_GETDLGCODE: {
        DWORD t = type(h);
        if (t == BS_GROUPBOX) return DLGC_STATIC;
        if (t == BS_RADIOBUTTON || t == BS_AUTORADIOBUTTON) return DLGC_BUTTON | DLGC_RADIOBUTTON;
        if (t == BS_DEFPUSHBUTTON) return DLGC_BUTTON | DLGC_DEFPUSHBUTTON;
        if (t == BS_PUSHBUTTON) return DLGC_BUTTON | DLGC_UNDEFPUSHBUTTON;
        return DLGC_BUTTON;
      }
      case BM_GETCHECK: return check_;
      case BM_SETCHECK: check_ = static_cast<int>(w); InvalidateRect(h, nullptr, TRUE); return 0;
      case BM_GETSTATE: return check_ | (pushed_ ? BST_PUSHED : 0) | (GetFocus() == h ? BST_FOCUS : 0);
      case BM_SETSTATE: pushed_ = w != 0; InvalidateRect(h, nullptr, TRUE); return 0;
      case BM_SETSTYLE: h->style = (h->style & ~0xFFFFu) | (static_cast<DWORD>(w) & 0xFFFF); if (l) InvalidateRect(h, nullptr, TRUE); return 0;
      case BM_CLICK: click(h); return 0;
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  static DWORD type(HWND h) { return h->style & BS_TYPEMASK; }

  void click(HWND h) {
    DWORD t = type(h);
    if (t == BS_AUTOCHECKBOX) check_ = check_ ? 0 : 1;
    else if (t == BS_AUTO3STATE) check_ = (check_ + 1) % 3;
    else if (t == BS_AUTORADIOBUTTON) checkRadio(h);
    InvalidateRect(h, nullptr, TRUE);
    notifyParent(h, BN_CLICKED);
  }

  // Unchecks the other automatic radio buttons of the group.
  static void checkRadio(HWND h) {
    auto& sib = h->parent->children;
    auto me = std::find(sib.begin(), sib.end(), h);
    auto first = me;
    while (first != sib.begin() && !((*first)->style & WS_GROUP)) --first;
    for (auto it = first; it != sib.end(); ++it) {
      if (it != first && ((*it)->style & WS_GROUP)) break;
      if ((*it)->cls->name == L"Button" && ((*it)->style & BS_TYPEMASK) == BS_AUTORADIOBUTTON)
        SendMessage(*it, BM_SETCHECK, *it == h ? BST_CHECKED : BST_UNCHECKED, 0);
    }
  }

  void paint(HWND h) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(h, &ps);
    CRect r;
    GetClientRect(h, &r);
    DWORD t = type(h);
    bool push = t == BS_PUSHBUTTON || t == BS_DEFPUSHBUTTON || t == BS_OWNERDRAW;
    HBRUSH brush = controlColors(h, dc, push ? WM_CTLCOLORBTN : WM_CTLCOLORSTATIC);
    FillRect(dc, &r, brush);
    if (push) paintPush(h, dc, r);
    else if (t == BS_GROUPBOX) paintGroup(h, dc, r);
    else paintCheck(h, dc, r, t);
    EndPaint(h, &ps);
  }

  void paintPush(HWND h, HDC dc, CRect r) {
    bool focused = GetFocus() == h;
    bool isDefault = type(h) == BS_DEFPUSHBUTTON;
    if (isDefault || focused) {
      FrameRect(dc, &r, GetSysColorBrush(COLOR_WINDOWFRAME));
      r.DeflateRect(1, 1);
    }
    if (pushed_) {
      FrameRect(dc, &r, GetSysColorBrush(COLOR_BTNSHADOW));
    } else {
      drawEdgeImpl(dc, r, (h->style & BS_FLAT) ? BDR_RAISEDINNER : EDGE_RAISED, BF_RECT | ((h->style & BS_FLAT) ? BF_FLAT : 0));
    }
    CRect text = r;
    if (pushed_) text.OffsetRect(1, 1);
    CDC::FromHandle(dc)->SetTextColor(GetSysColor(COLOR_BTNTEXT));
    drawLabel(dc, h, text, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    if (focused) {
      CRect f = r;
      f.DeflateRect(3, 3);
      DrawFocusRect(dc, &f);
    }
  }

  void paintCheck(HWND h, HDC dc, CRect r, DWORD t) {
    bool radio = t == BS_RADIOBUTTON || t == BS_AUTORADIOBUTTON;
    CRect box(r.left, r.top, r.left + 13, r.bottom);
    UINT state = (radio ? DFCS_BUTTONRADIO : DFCS_BUTTONCHECK) | (check_ ? DFCS_CHECKED : 0) |
                 (pushed_ ? DFCS_PUSHED : 0) | ((h->style & WS_DISABLED) ? DFCS_INACTIVE : 0) | ((h->style & BS_FLAT) ? DFCS_FLAT : 0);
    drawFrameControlImpl(dc, box, DFC_BUTTON, state);
    CRect text(r.left + 17, r.top, r.right, r.bottom);
    CDC::FromHandle(dc)->SetTextColor(GetSysColor(COLOR_BTNTEXT));
    drawLabel(dc, h, text, DT_LEFT | DT_VCENTER | DT_SINGLELINE);
    if (GetFocus() == h) {
      CRect calc = text;
      CDC::FromHandle(dc)->DrawText(CString(h->text.c_str()), &calc, DT_CALCRECT | DT_SINGLELINE);
      calc.OffsetRect(0, (text.Height() - calc.Height()) / 2);
      calc.InflateRect(1, 0);
      DrawFocusRect(dc, &calc);
    }
  }

  void paintGroup(HWND h, HDC dc, CRect r) {
    CDC* c = CDC::FromHandle(dc);
    CRect calc(0, 0, r.Width(), 0);
    c->DrawText(CString(h->text.c_str()), &calc, DT_CALCRECT | DT_SINGLELINE);
    CRect frame(r.left, r.top + calc.Height() / 2, r.right, r.bottom);
    drawEdgeImpl(dc, frame, EDGE_ETCHED, BF_RECT);
    if (h->text.empty()) return;
    CRect text(r.left + 8, r.top, r.left + 8 + calc.Width() + 4, r.top + calc.Height());
    c->FillSolidRect(&text, GetSysColor(COLOR_3DFACE));
    text.left += 2;
    c->SetTextColor(GetSysColor(COLOR_BTNTEXT));
    drawLabel(dc, h, text, DT_LEFT | DT_SINGLELINE);
  }

  int check_ = 0;
  bool pushed_ = false;
  bool tracking_ = false;
};

class Static : public Control {
 public:
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_PAINT: paint(h); return 0;
      case WM_ERASEBKGND: return 1;
      case STM_SETICON: {
        HICON old = icon_;
        icon_ = reinterpret_cast<HICON>(w);
        InvalidateRect(h, nullptr, TRUE);
        return reinterpret_cast<LRESULT>(old);
      }
      case STM_GETICON: return reinterpret_cast<LRESULT>(icon_);
      case WM_LBUTTONDOWN:
        if (h->style & SS_NOTIFY) notifyParent(h, STN_CLICKED);
        return 0;
      case WM_LBUTTONDBLCLK:
        if (h->style & SS_NOTIFY) notifyParent(h, STN_DBLCLK);
        return 0;
      case WM_GETDLGCODE: return DLGC_STATIC;
      case WM_ENABLE: InvalidateRect(h, nullptr, TRUE); return 0;
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  void paint(HWND h) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(h, &ps);
    CRect r;
    GetClientRect(h, &r);
    DWORD type = h->style & SS_TYPEMASK;
    CDC* c = CDC::FromHandle(dc);
    switch (type) {
      case SS_BLACKRECT: c->FillSolidRect(&r, GetSysColor(COLOR_WINDOWFRAME)); break;
      case SS_GRAYRECT: c->FillSolidRect(&r, GetSysColor(COLOR_BTNSHADOW)); break;
      case SS_WHITERECT: c->FillSolidRect(&r, GetSysColor(COLOR_WINDOW)); break;
      case SS_BLACKFRAME: FrameRect(dc, &r, GetSysColorBrush(COLOR_WINDOWFRAME)); break;
      case SS_ETCHEDHORZ: drawEdgeImpl(dc, CRect(r.left, r.top, r.right, r.top + 2), EDGE_ETCHED, BF_TOP); break;
      case SS_ETCHEDVERT: drawEdgeImpl(dc, CRect(r.left, r.top, r.left + 2, r.bottom), EDGE_ETCHED, BF_LEFT); break;
      case SS_ETCHEDFRAME: drawEdgeImpl(dc, r, EDGE_ETCHED, BF_RECT); break;
      case SS_ICON: {
        FillRect(dc, &r, controlColors(h, dc, WM_CTLCOLORSTATIC));
        HICON icon = icon_ ? icon_ : h->iconSmall;
        if (icon) DrawIconEx(dc, 0, 0, icon, 0, 0, 0, nullptr, DI_NORMAL);
        break;
      }
      default: paintText(h, dc, r, type); break;
    }
    EndPaint(h, &ps);
  }

  void paintText(HWND h, HDC dc, CRect r, DWORD type) {
    FillRect(dc, &r, controlColors(h, dc, WM_CTLCOLORSTATIC));
    UINT fmt = DT_EXPANDTABS;
    if (type == SS_CENTER) fmt |= DT_CENTER | DT_WORDBREAK;
    else if (type == SS_RIGHT) fmt |= DT_RIGHT | DT_WORDBREAK;
    else if (type == SS_LEFT) fmt |= DT_WORDBREAK;
    else fmt |= DT_SINGLELINE;
    if (h->style & SS_NOPREFIX) fmt |= DT_NOPREFIX;
    if (h->style & SS_CENTERIMAGE) fmt = (fmt & ~DT_WORDBREAK) | DT_VCENTER | DT_SINGLELINE;
    drawLabel(dc, h, r, fmt);
  }

  HICON icon_ = nullptr;
};

}  // namespace

namespace kvui::detail {
std::unique_ptr<Control> makeButton() { return std::make_unique<Button>(); }
std::unique_ptr<Control> makeStatic() { return std::make_unique<Static>(); }
}  // namespace kvui::detail
