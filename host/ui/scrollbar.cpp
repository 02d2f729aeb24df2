// The scroll-bar control class: arrows, page areas and thumb, sending WM_HSCROLL/WM_VSCROLL
// to its parent.
#include "impl.h"

using namespace kvui::detail;

namespace {

class ScrollBarControl : public Control {
 public:
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(h, &ps);
        CRect r;
        GetClientRect(h, &r);
        drawScrollBar(dc, r, vertical(h), h->scroll[SB_CTL], !(h->style & WS_DISABLED));
        EndPaint(h, &ps);
        return 0;
      }
      case WM_ERASEBKGND: return 1;
      case WM_LBUTTONDOWN: case WM_LBUTTONDBLCLK: {
        CRect r;
        GetClientRect(h, &r);
        UINT part = scrollBarPart(r, vertical(h), h->scroll[SB_CTL], CPoint(l));
        if (part == SB_ENDSCROLL || !isLive(h->parent)) return 0;
        UINT sm = vertical(h) ? WM_VSCROLL : WM_HSCROLL;
        if (part == SB_THUMBTRACK) part = SB_THUMBPOSITION;
        SendMessage(h->parent, sm, MAKEWPARAM(part, part == SB_THUMBPOSITION ? h->scroll[SB_CTL].info.nPos : 0), reinterpret_cast<LPARAM>(h));
        SendMessage(h->parent, sm, MAKEWPARAM(SB_ENDSCROLL, 0), reinterpret_cast<LPARAM>(h));
        return 0;
      }
      case WM_KEYDOWN: {
        UINT code = w == VK_UP || w == VK_LEFT ? SB_LINEUP : w == VK_DOWN || w == VK_RIGHT ? SB_LINEDOWN
                  : w == VK_PRIOR ? SB_PAGEUP : w == VK_NEXT ? SB_PAGEDOWN : w == VK_HOME ? SB_TOP : w == VK_END ? SB_BOTTOM : SB_ENDSCROLL;
        if (code != SB_ENDSCROLL && isLive(h->parent))
          SendMessage(h->parent, vertical(h) ? WM_VSCROLL : WM_HSCROLL, MAKEWPARAM(code, 0), reinterpret_cast<LPARAM>(h));
        return 0;
      }
      case WM_GETDLGCODE: return DLGC_WANTARROWS;
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  static bool vertical(HWND h) { return (h->style & SBS_VERT) != 0; }
};

}  // namespace

namespace kvui::detail {
std::unique_ptr<Control> makeScrollBar() { return std::make_unique<ScrollBarControl>(); }
}  // namespace kvui::detail
