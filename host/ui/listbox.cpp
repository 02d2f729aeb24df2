// The list box class, also the list of a combo box: items with data, single and multiple
// selection, scrolling, keys, type-ahead and the LBN_ notifications.
#include <algorithm>
#include <cwctype>

#include "impl.h"

using namespace kvui::detail;

int listItemHeight(HWND h) {
  HDC dc = CreateCompatibleDC(nullptr);
  if (h && h->font) SelectObject(dc, h->font);
  TEXTMETRIC tm;
  textMetricsImpl(dc, &tm);
  DeleteDC(dc);
  return tm.tmHeight + 1;
}

namespace {

std::wstring lower(std::wstring s) {
  for (auto& c : s) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return s;
}

struct Item {
  std::wstring text;
  LPARAM data = 0;
  bool selected = false;
};

class ListControl : public Control {
 public:
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_CREATE: itemHeight_ = listItemHeight(h); return 0;
      case WM_SETFONT: DefWindowProc(h, msg, w, l); itemHeight_ = listItemHeight(h); update(h); return 0;
      case KV_LB_SETCOMBO: combo_ = reinterpret_cast<HWND>(w); return 0;
      case LB_ADDSTRING: return insert(h, sorted(h) ? sortedPos(l) : count(), l);
      case LB_INSERTSTRING: return insert(h, static_cast<int>(static_cast<LONG_PTR>(w)) < 0 ? count() : static_cast<int>(w), l);
      case LB_DELETESTRING: return erase(h, static_cast<int>(w));
      case LB_RESETCONTENT: items_.clear(); cur_ = -1; top_ = 0; update(h); return 0;
      case LB_GETCOUNT: return count();
      case LB_GETTEXTLEN: return valid(static_cast<int>(w)) ? static_cast<LRESULT>(items_[w].text.size()) : LB_ERR;
      case LB_GETTEXT: {
        if (!valid(static_cast<int>(w)) || !l) return LB_ERR;
        std::wcscpy(reinterpret_cast<LPTSTR>(l), items_[w].text.c_str());
        return static_cast<LRESULT>(items_[w].text.size());
      }
      case LB_SETCURSEL: return setCur(h, static_cast<int>(static_cast<LONG_PTR>(w)), false);
      case LB_GETCURSEL: return cur_;
      case LB_SETSEL: {
        int i = static_cast<int>(l);
        for (int k = 0; k < count(); ++k)
          if (i == -1 || k == i) items_[static_cast<std::size_t>(k)].selected = w != 0;
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      }
      case LB_GETSEL: return valid(static_cast<int>(w)) ? isSelected(static_cast<int>(w)) : LB_ERR;
      case LB_GETSELCOUNT: {
        if (!multi(h)) return LB_ERR;
        return std::count_if(items_.begin(), items_.end(), [](const Item& it) { return it.selected; });
      }
      case LB_GETSELITEMS: {
        if (!multi(h)) return LB_ERR;
        int n = 0;
        for (int k = 0; k < count() && n < static_cast<int>(w); ++k)
          if (items_[static_cast<std::size_t>(k)].selected) reinterpret_cast<int*>(l)[n++] = k;
        return n;
      }
      case LB_FINDSTRING: return find(static_cast<int>(static_cast<LONG_PTR>(w)), reinterpret_cast<LPCTSTR>(l), false);
      case LB_FINDSTRINGEXACT: return find(static_cast<int>(static_cast<LONG_PTR>(w)), reinterpret_cast<LPCTSTR>(l), true);
      case LB_SELECTSTRING: {
        int i = find(static_cast<int>(static_cast<LONG_PTR>(w)), reinterpret_cast<LPCTSTR>(l), false);
        if (i >= 0) setCur(h, i, false);
        return i;
      }
      case LB_GETTOPINDEX: return top_;
      case LB_SETTOPINDEX: top_ = std::clamp(static_cast<int>(w), 0, std::max(0, count() - 1)); update(h); return 0;
      case LB_GETITEMRECT: {
        if (!l) return LB_ERR;
        CRect c;
        GetClientRect(h, &c);
        int i = static_cast<int>(w);
        *reinterpret_cast<RECT*>(l) = RECT{0, (i - top_) * itemHeight_, c.right, (i - top_ + 1) * itemHeight_};
        return 0;
      }
      case LB_GETITEMDATA: return valid(static_cast<int>(w)) ? items_[w].data : LB_ERR;
      case LB_SETITEMDATA: if (!valid(static_cast<int>(w))) return LB_ERR; items_[w].data = l; return 0;
      case LB_SETITEMHEIGHT: itemHeight_ = std::max(1, static_cast<int>(LOWORD(l))); update(h); return 0;
      case LB_GETITEMHEIGHT: return itemHeight_;
      case LB_ITEMFROMPOINT: {
        int i = indexAt(GET_Y_LPARAM(l));
        bool outside = i < 0 || i >= count();
        return MAKELONG(std::clamp(i, 0, std::max(0, count() - 1)), outside ? 1 : 0);
      }
      case WM_LBUTTONDOWN: return onDown(h, l);
      case WM_MOUSEMOVE: return onMove(h, l);
      case WM_LBUTTONUP: return onUp(h, l);
      case WM_LBUTTONDBLCLK:
        if (combo_) return onDown(h, l);
        if (h->style & LBS_NOTIFY) notifyParent(h, LBN_DBLCLK);
        return 0;
      case WM_KEYDOWN: onKey(h, static_cast<int>(w)); return 0;
      case WM_CHAR: typeAhead(h, static_cast<wchar_t>(w)); return 0;
      case WM_VSCROLL: onScroll(h, LOWORD(w), static_cast<short>(HIWORD(w))); return 0;
      case WM_MOUSEWHEEL: scrollTo(h, top_ - 3 * GET_WHEEL_DELTA_WPARAM(w) / WHEEL_DELTA); return 0;
      case WM_SIZE: update(h); return 0;
      case WM_SETFOCUS: InvalidateRect(h, nullptr, TRUE); if (h->style & LBS_NOTIFY) notifyParent(h, LBN_SETFOCUS); return 0;
      case WM_KILLFOCUS: InvalidateRect(h, nullptr, TRUE); if (h->style & LBS_NOTIFY) notifyParent(h, LBN_KILLFOCUS); return 0;
      case WM_GETDLGCODE: return DLGC_WANTARROWS | DLGC_WANTCHARS;
      case WM_PAINT: paint(h); return 0;
      case WM_ERASEBKGND: return 1;
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  int count() const { return static_cast<int>(items_.size()); }
  bool valid(int i) const { return i >= 0 && i < count(); }
  static bool sorted(HWND h) { return (h->style & LBS_SORT) != 0; }
  static bool multi(HWND h) { return (h->style & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL)) != 0; }
  bool isSelected(int i) const { return items_[static_cast<std::size_t>(i)].selected; }
  int indexAt(int y) const { return y < 0 ? top_ - 1 : top_ + y / std::max(1, itemHeight_); }
  int visible(HWND h) const {
    CRect c;
    GetClientRect(h, &c);
    return std::max(1, c.Height() / std::max(1, itemHeight_));
  }

  int sortedPos(LPARAM l) const {
    std::wstring s = lower(l ? reinterpret_cast<LPCTSTR>(l) : L"");
    int i = 0;
    while (i < count() && lower(items_[static_cast<std::size_t>(i)].text) <= s) ++i;
    return i;
  }

  LRESULT insert(HWND h, int at, LPARAM l) {
    if (at < 0 || at > count()) return LB_ERR;
    items_.insert(items_.begin() + at, Item{l ? reinterpret_cast<LPCTSTR>(l) : L"", 0, false});
    if (cur_ >= at) ++cur_;
    update(h);
    return at;
  }

  LRESULT erase(HWND h, int i) {
    if (!valid(i)) return LB_ERR;
    items_.erase(items_.begin() + i);
    if (cur_ == i) cur_ = -1;
    else if (cur_ > i) --cur_;
    update(h);
    return count();
  }

  int find(int after, LPCTSTR what, bool exact) const {
    if (!what || items_.empty()) return LB_ERR;
    std::wstring w = lower(what);
    int n = count();
    int start = after < 0 || after >= n ? 0 : after + 1;
    for (int k = 0; k < n; ++k) {
      int i = (start + k) % n;
      std::wstring t = lower(items_[static_cast<std::size_t>(i)].text);
      if (exact ? t == w : t.compare(0, w.size(), w) == 0) return i;
    }
    return LB_ERR;
  }

  LRESULT setCur(HWND h, int i, bool user) {
    if (i >= count()) return LB_ERR;
    if (!multi(h))
      for (auto& it : items_) it.selected = false;
    int before = cur_;
    cur_ = i < 0 ? -1 : i;
    if (cur_ >= 0 && !multi(h)) items_[static_cast<std::size_t>(cur_)].selected = true;
    if (cur_ >= 0) ensureVisible(h, cur_);
    InvalidateRect(h, nullptr, TRUE);
    if (user && before != cur_ && (h->style & LBS_NOTIFY) && !combo_) notifyParent(h, LBN_SELCHANGE);
    return i < 0 ? LB_ERR : cur_;
  }

  void ensureVisible(HWND h, int i) {
    int v = visible(h);
    if (i < top_) scrollTo(h, i);
    else if (i >= top_ + v) scrollTo(h, i - v + 1);
  }

  void scrollTo(HWND h, int t) {
    int maxTop = std::max(0, count() - visible(h));
    top_ = std::clamp(t, 0, maxTop);
    update(h);
  }

  void update(HWND h) {
    if (h->style & WS_VSCROLL || count() > visible(h)) {
      SCROLLINFO si{sizeof(si), SIF_RANGE | SIF_PAGE | SIF_POS, 0, std::max(0, count() - 1), static_cast<UINT>(visible(h)), top_, 0};
      SetScrollInfo(h, SB_VERT, &si, TRUE);
    }
    InvalidateRect(h, nullptr, TRUE);
  }

  LRESULT onDown(HWND h, LPARAM l) {
    CRect c;
    GetClientRect(h, &c);
    CPoint p(l);
    if (combo_) {
      if (!c.PtInRect(p)) SendMessage(combo_, KV_CB_CANCEL, 0, 0);
      else tracking_ = true;
      return 0;
    }
    SetFocus(h);
    int i = indexAt(p.y);
    if (!valid(i)) return 0;
    if (multi(h) && ((h->style & LBS_MULTIPLESEL) || GetKeyState(VK_CONTROL) < 0)) {
      items_[static_cast<std::size_t>(i)].selected = !items_[static_cast<std::size_t>(i)].selected;
      cur_ = i;
      InvalidateRect(h, nullptr, TRUE);
      if (h->style & LBS_NOTIFY) notifyParent(h, LBN_SELCHANGE);
    } else {
      if (multi(h))
        for (auto& it : items_) it.selected = false;
      setCur(h, i, true);
      if (multi(h)) { items_[static_cast<std::size_t>(i)].selected = true; InvalidateRect(h, nullptr, TRUE); }
    }
    return 0;
  }

  LRESULT onMove(HWND h, LPARAM l) {
    if (!combo_) return 0;
    CRect c;
    GetClientRect(h, &c);
    CPoint p(l);
    int i = indexAt(p.y);
    if (c.PtInRect(p) && valid(i) && i != cur_) {
      cur_ = i;
      for (auto& it : items_) it.selected = false;
      items_[static_cast<std::size_t>(i)].selected = true;
      InvalidateRect(h, nullptr, TRUE);
    }
    return 0;
  }

  LRESULT onUp(HWND h, LPARAM l) {
    if (!combo_ || !tracking_) return 0;
    tracking_ = false;
    CRect c;
    GetClientRect(h, &c);
    CPoint p(l);
    int i = indexAt(p.y);
    if (c.PtInRect(p) && valid(i)) SendMessage(combo_, KV_CB_PICK, static_cast<WPARAM>(i), 0);
    return 0;
  }

  void onKey(HWND h, int vk) {
    int v = visible(h), n = count();
    if (n == 0) return;
    int to = cur_;
    switch (vk) {
      case VK_UP: to = cur_ - 1; break;
      case VK_DOWN: to = cur_ + 1; break;
      case VK_PRIOR: to = cur_ - v + 1; break;
      case VK_NEXT: to = cur_ + v - 1; break;
      case VK_HOME: to = 0; break;
      case VK_END: to = n - 1; break;
      default: return;
    }
    setCur(h, std::clamp(to, 0, n - 1), true);
  }

  void typeAhead(HWND h, wchar_t c) {
    if (c < 32) return;
    int i = find(cur_, std::wstring(1, c).c_str(), false);
    if (i >= 0) setCur(h, i, true);
  }

  void onScroll(HWND h, UINT code, int pos) {
    int v = visible(h);
    switch (code) {
      case SB_LINEUP: scrollTo(h, top_ - 1); break;
      case SB_LINEDOWN: scrollTo(h, top_ + 1); break;
      case SB_PAGEUP: scrollTo(h, top_ - v); break;
      case SB_PAGEDOWN: scrollTo(h, top_ + v); break;
      case SB_THUMBPOSITION: case SB_THUMBTRACK: scrollTo(h, pos); break;
      case SB_TOP: scrollTo(h, 0); break;
      case SB_BOTTOM: scrollTo(h, count()); break;
      default: break;
    }
  }

  void paint(HWND h) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(h, &ps);
    CDC* c = CDC::FromHandle(dc);
    CRect r;
    GetClientRect(h, &r);
    HBRUSH b = combo_ ? GetSysColorBrush(COLOR_WINDOW) : controlColors(h, dc, WM_CTLCOLORLISTBOX);
    if (combo_) c->SetTextColor(GetSysColor(COLOR_WINDOWTEXT));
    COLORREF text = c->GetTextColor();
    FillRect(dc, &r, b);
    c->SetBkMode(TRANSPARENT);
    bool focused = GetFocus() == h;
    for (int i = top_; i < count() && (i - top_) * itemHeight_ < r.bottom; ++i) {
      CRect ir(0, (i - top_) * itemHeight_, r.right, (i - top_ + 1) * itemHeight_);
      bool sel = items_[static_cast<std::size_t>(i)].selected;
      if (sel) c->FillSolidRect(&ir, GetSysColor(COLOR_HIGHLIGHT));
      c->SetTextColor(sel ? GetSysColor(COLOR_HIGHLIGHTTEXT) : text);
      CRect tr = ir;
      tr.left += 2;
      c->DrawText(CString(items_[static_cast<std::size_t>(i)].text.c_str()), &tr, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
      if (focused && i == cur_) DrawFocusRect(dc, &ir);
    }
    EndPaint(h, &ps);
  }

  std::vector<Item> items_;
  int cur_ = -1, top_ = 0, itemHeight_ = 14;
  HWND combo_ = nullptr;
  bool tracking_ = false;
};

}  // namespace

namespace kvui::detail {
std::unique_ptr<Control> makeListBox() { return std::make_unique<ListControl>(); }
}  // namespace kvui::detail
