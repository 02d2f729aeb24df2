// The combo box class in its three styles: a drop-down list, a drop-down with an edit child
// (id 1001) and the simple style whose list (id 1000) stands open under the edit; CBN_
// notifications, dropped width, item heights.
#include <algorithm>
#include <cwctype>

#include "impl.h"

using namespace kvui::detail;

namespace {

constexpr int kEditId = 1001;
constexpr int kListId = 1000;

LRESULT comboEditProc(HWND h, UINT msg, WPARAM w, LPARAM l);

struct Entry {
  std::wstring text;
  LPARAM data = 0;
};

class Combo : public Control {
 public:
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_CREATE: create(h); return 0;
      case WM_DESTROY: closeList(h); return 0;
      case WM_SETFONT:
        DefWindowProc(h, msg, w, l);
        if (edit_) SendMessage(edit_, WM_SETFONT, w, l);
        if (list_) SendMessage(list_, WM_SETFONT, w, l);
        fieldItem_ = listItemHeight(h) - 1;
        itemHeight_ = listItemHeight(h);
        layout(h);
        return 0;
      case WM_SIZE: layout(h); return 0;
      case WM_PAINT: paint(h); return 0;
      case WM_ERASEBKGND: return 1;
      case WM_LBUTTONDOWN: case WM_LBUTTONDBLCLK: onClick(h, CPoint(l)); return 0;
      case WM_KEYDOWN: onKey(h, static_cast<int>(w)); return 0;
      case WM_SYSKEYDOWN:
        if (w == VK_DOWN || w == VK_UP) toggle(h);
        return 0;
      case WM_CHAR: onChar(h, static_cast<wchar_t>(w)); return 0;
      case WM_SETFOCUS:
        if (edit_) SetFocus(edit_);
        else { InvalidateRect(h, nullptr, TRUE); notifyParent(h, CBN_SETFOCUS); }
        return 0;
      case WM_KILLFOCUS: focusLost(h, reinterpret_cast<HWND>(w)); return 0;
      case WM_COMMAND: fromChild(h, LOWORD(w), HIWORD(w), reinterpret_cast<HWND>(l)); return 0;
      case WM_GETDLGCODE: return dropped_ ? DLGC_WANTALLKEYS : DLGC_WANTARROWS | DLGC_WANTCHARS;
      case WM_SETTEXT: return setText(h, l ? reinterpret_cast<LPCTSTR>(l) : L"");
      case WM_GETTEXT: case WM_GETTEXTLENGTH: {
        if (edit_) return SendMessage(edit_, msg, w, l);
        h->text = cur_ >= 0 ? items_[static_cast<std::size_t>(cur_)].text : L"";
        return DefWindowProc(h, msg, w, l);
      }
      case KV_CB_PICK: pick(h, static_cast<int>(w)); return 0;
      case KV_CB_CANCEL: cancel(h); return 0;
      default: return message(h, msg, w, l);
    }
  }

  bool dropped() const { return dropped_; }
  HWND combo() const { return self_; }

 private:
  DWORD type(HWND h) const { return h->style & 0x3; }
  int count() const { return static_cast<int>(items_.size()); }
  bool valid(int i) const { return i >= 0 && i < count(); }
  int fieldHeight() const { return fieldItem_ + 8; }

  void create(HWND h) {
    self_ = h;
    // Scroll-bar styles belong to the list, never to the field.
    h->style &= ~(WS_VSCROLL | WS_HSCROLL);
    fieldItem_ = listItemHeight(h) - 1;
    itemHeight_ = listItemHeight(h);
    if (type(h) != CBS_SIMPLE) {
      droppedHeight_ = std::max(0, h->rect.Height() - fieldHeight());
      h->rect.bottom = h->rect.top + fieldHeight();
    }
    if (type(h) != CBS_DROPDOWNLIST) {
      DWORD es = WS_CHILD | WS_VISIBLE | ((h->style & CBS_AUTOHSCROLL) ? ES_AUTOHSCROLL : 0);
      edit_ = CreateWindowEx(0, L"Edit", L"", es, 0, 0, 10, 10, h, reinterpret_cast<HMENU>(static_cast<std::intptr_t>(kEditId)), nullptr, nullptr);
      if (edit_) SetWindowLongPtr(edit_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(comboEditProc));
    }
    if (type(h) == CBS_SIMPLE) {
      list_ = CreateWindowEx(WS_EX_CLIENTEDGE, L"ListBox", L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL, 0, 0, 10, 10, h,
                             reinterpret_cast<HMENU>(static_cast<std::intptr_t>(kListId)), nullptr, nullptr);
      if (list_) SendMessage(list_, KV_LB_SETCOMBO, reinterpret_cast<WPARAM>(h), 0);
    }
    layout(h);
  }

  CRect field(HWND h) const {
    CRect c;
    GetClientRect(h, &c);
    if (type(h) == CBS_SIMPLE) c.bottom = std::min<LONG>(c.bottom, fieldHeight());
    return c;
  }

  CRect button(HWND h) const {
    CRect f = field(h);
    f.DeflateRect(2, 2);
    return CRect(f.right - GetSystemMetrics(SM_CXVSCROLL), f.top, f.right, f.bottom);
  }

  void layout(HWND h) {
    if (type(h) != CBS_SIMPLE && h->rect.Height() != fieldHeight()) {
      droppedHeight_ = std::max(0, h->rect.Height() - fieldHeight());
      h->rect.bottom = h->rect.top + fieldHeight();
    }
    CRect f = field(h);
    if (edit_) {
      int right = type(h) == CBS_SIMPLE ? f.right - 3 : button(h).left - 1;
      MoveWindow(edit_, 3, 3, std::max(0, right - 3), std::max(0, f.Height() - 6), TRUE);
    }
    if (list_) {
      CRect c;
      GetClientRect(h, &c);
      MoveWindow(list_, 0, f.bottom, c.Width(), std::max(0, c.Height() - f.bottom), TRUE);
    }
    InvalidateRect(h, nullptr, TRUE);
  }

  void syncList(HWND list) {
    SendMessage(list, LB_RESETCONTENT, 0, 0);
    SendMessage(list, LB_SETITEMHEIGHT, 0, itemHeight_);
    for (auto& e : items_) SendMessage(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(e.text.c_str()));
    SendMessage(list, LB_SETCURSEL, static_cast<WPARAM>(cur_), 0);
  }

  void showSelection(HWND h) {
    if (edit_) {
      std::wstring t = valid(cur_) ? items_[static_cast<std::size_t>(cur_)].text : L"";
      SendMessage(edit_, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(t.c_str()));
      SendMessage(edit_, EM_SETSEL, 0, -1);
    }
    if (list_) SendMessage(list_, LB_SETCURSEL, static_cast<WPARAM>(cur_), 0);
    if (popup_) SendMessage(popup_, LB_SETCURSEL, static_cast<WPARAM>(cur_), 0);
    InvalidateRect(h, nullptr, TRUE);
  }

  // A user's change of the selection: the shown text follows and the parent hears of it.
  void select(HWND h, int i) {
    if (!valid(i) || i == cur_) return;
    cur_ = i;
    suppressEdit_ = true;
    showSelection(h);
    suppressEdit_ = false;
    notifyParent(h, CBN_SELCHANGE);
  }

  LRESULT setText(HWND h, LPCTSTR text) {
    if (edit_) return SendMessage(edit_, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    for (int i = 0; i < count(); ++i)
      if (items_[static_cast<std::size_t>(i)].text == text) {
        cur_ = i;
        showSelection(h);
        return TRUE;
      }
    return CB_ERR;
  }

  void drop(HWND h) {
    if (dropped_ || type(h) == CBS_SIMPLE) return;
    notifyParent(h, CBN_DROPDOWN);
    if (!isLive(h)) return;
    CRect wr;
    GetWindowRect(h, &wr);
    int lines = std::clamp(droppedHeight_ / std::max(1, itemHeight_), 1, std::max(1, count()));
    int width = std::max(static_cast<int>(wr.Width()), droppedWidth_);
    HWND owner = topLevelOf(h);
    popup_ = CreateWindowEx(WS_EX_TOOLWINDOW, L"ComboLBox", L"", WS_POPUP | WS_BORDER | WS_VSCROLL, wr.left, wr.bottom, width,
                            lines * itemHeight_ + 2, owner, nullptr, nullptr, nullptr);
    if (!popup_) return;
    SendMessage(popup_, WM_SETFONT, reinterpret_cast<WPARAM>(h->font), FALSE);
    SendMessage(popup_, KV_LB_SETCOMBO, reinterpret_cast<WPARAM>(h), 0);
    syncList(popup_);
    ShowWindow(popup_, SW_SHOWNA);
    SetCapture(popup_);
    dropped_ = true;
    InvalidateRect(h, nullptr, TRUE);
  }

  void closeList(HWND h) {
    if (!dropped_) return;
    dropped_ = false;
    HWND p = popup_;
    popup_ = nullptr;
    if (GetCapture() == p) ReleaseCapture();
    if (isLive(p)) DestroyWindow(p);
    if (isLive(h)) InvalidateRect(h, nullptr, TRUE);
  }

  void pick(HWND h, int i) {
    if (!dropped_ && type(h) != CBS_SIMPLE) return;
    if (type(h) == CBS_SIMPLE) {
      select(h, i);
      return;
    }
    closeList(h);
    select(h, i);
    notifyParent(h, CBN_SELENDOK);
    notifyParent(h, CBN_CLOSEUP);
  }

  void cancel(HWND h) {
    if (!dropped_) return;
    closeList(h);
    notifyParent(h, CBN_SELENDCANCEL);
    notifyParent(h, CBN_CLOSEUP);
  }

  // The highlighted item of the open list, taken as the pick (Enter).
  void accept(HWND h) {
    int i = popup_ ? static_cast<int>(SendMessage(popup_, LB_GETCURSEL, 0, 0)) : cur_;
    closeList(h);
    if (valid(i)) select(h, i);
    notifyParent(h, CBN_SELENDOK);
    notifyParent(h, CBN_CLOSEUP);
  }

  void toggle(HWND h) {
    if (dropped_) accept(h);
    else drop(h);
  }

  void onClick(HWND h, CPoint p) {
    if (type(h) == CBS_DROPDOWNLIST) SetFocus(h);
    else if (edit_ && GetFocus() != edit_) SetFocus(edit_);
    if (type(h) == CBS_SIMPLE) return;
    if (type(h) == CBS_DROPDOWNLIST || button(h).PtInRect(p)) {
      if (dropped_) cancel(h);
      else drop(h);
    }
  }

  void onKey(HWND h, int vk) {
    if (vk == VK_F4) return toggle(h);
    if (dropped_) {
      if (vk == VK_RETURN) return accept(h);
      if (vk == VK_ESCAPE) return cancel(h);
      if (vk == VK_UP || vk == VK_DOWN || vk == VK_HOME || vk == VK_END || vk == VK_PRIOR || vk == VK_NEXT) {
        SendMessage(popup_, WM_KEYDOWN, static_cast<WPARAM>(vk), 0);
        int i = static_cast<int>(SendMessage(popup_, LB_GETCURSEL, 0, 0));
        select(h, i);
      }
      return;
    }
    int to = cur_;
    switch (vk) {
      case VK_UP: case VK_LEFT: to = cur_ - 1; break;
      case VK_DOWN: case VK_RIGHT: to = cur_ + 1; break;
      case VK_HOME: to = 0; break;
      case VK_END: to = count() - 1; break;
      default: return;
    }
    if (type(h) != CBS_DROPDOWNLIST && (vk == VK_LEFT || vk == VK_RIGHT)) return;
    select(h, std::clamp(to, 0, count() - 1));
  }

  void onChar(HWND h, wchar_t c) {
    if (type(h) != CBS_DROPDOWNLIST || c < 32 || items_.empty()) return;
    wchar_t lc = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    for (int k = 1; k <= count(); ++k) {
      int i = (std::max(cur_, -1) + k) % count();
      const std::wstring& t = items_[static_cast<std::size_t>(i)].text;
      if (!t.empty() && std::towlower(static_cast<wint_t>(t[0])) == static_cast<wint_t>(lc)) {
        select(h, i);
        if (popup_) SendMessage(popup_, LB_SETCURSEL, static_cast<WPARAM>(i), 0);
        return;
      }
    }
  }

  void focusLost(HWND h, HWND to) {
    if (to && (to == h || to == edit_ || to == popup_ || to == list_)) return;
    if (dropped_) cancel(h);
    InvalidateRect(h, nullptr, TRUE);
    notifyParent(h, CBN_KILLFOCUS);
  }

  void fromChild(HWND h, int id, UINT code, HWND child) {
    if (id != kEditId || child != edit_) return;
    switch (code) {
      case EN_CHANGE: if (!suppressEdit_) notifyParent(h, CBN_EDITCHANGE); break;
      case EN_UPDATE: if (!suppressEdit_) notifyParent(h, CBN_EDITUPDATE); break;
      case EN_SETFOCUS: notifyParent(h, CBN_SETFOCUS); break;
      case EN_KILLFOCUS: focusLost(h, GetFocus()); break;
      default: break;
    }
  }

  LRESULT message(HWND h, UINT msg, WPARAM w, LPARAM l) {
    switch (msg) {
      case CB_ADDSTRING: {
        std::wstring s = l ? reinterpret_cast<LPCTSTR>(l) : L"";
        int at = count();
        if (h->style & CBS_SORT) {
          at = 0;
          while (at < count() && items_[static_cast<std::size_t>(at)].text < s) ++at;
        }
        return insertAt(h, at, s);
      }
      case CB_INSERTSTRING: {
        int at = static_cast<int>(static_cast<LONG_PTR>(w));
        return insertAt(h, at < 0 ? count() : at, l ? reinterpret_cast<LPCTSTR>(l) : L"");
      }
      case CB_DELETESTRING: {
        int i = static_cast<int>(w);
        if (!valid(i)) return CB_ERR;
        items_.erase(items_.begin() + i);
        if (cur_ == i) cur_ = -1;
        else if (cur_ > i) --cur_;
        if (list_) syncList(list_);
        InvalidateRect(h, nullptr, TRUE);
        return count();
      }
      case CB_RESETCONTENT:
        items_.clear();
        cur_ = -1;
        if (list_) syncList(list_);
        if (edit_) SendMessage(edit_, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L""));
        InvalidateRect(h, nullptr, TRUE);
        return CB_OKAY;
      case CB_GETCOUNT: return count();
      case CB_GETCURSEL: return cur_;
      case CB_SETCURSEL: {
        int i = static_cast<int>(static_cast<LONG_PTR>(w));
        cur_ = valid(i) ? i : -1;
        suppressEdit_ = true;
        if (cur_ >= 0 || edit_) showSelection(h);
        suppressEdit_ = false;
        return valid(i) ? i : CB_ERR;
      }
      case CB_GETLBTEXT: {
        int i = static_cast<int>(w);
        if (!valid(i) || !l) return CB_ERR;
        std::wcscpy(reinterpret_cast<LPTSTR>(l), items_[static_cast<std::size_t>(i)].text.c_str());
        return static_cast<LRESULT>(items_[static_cast<std::size_t>(i)].text.size());
      }
      case CB_GETLBTEXTLEN: return valid(static_cast<int>(w)) ? static_cast<LRESULT>(items_[w].text.size()) : CB_ERR;
      case CB_FINDSTRING: return find(static_cast<int>(static_cast<LONG_PTR>(w)), reinterpret_cast<LPCTSTR>(l), false);
      case CB_FINDSTRINGEXACT: return find(static_cast<int>(static_cast<LONG_PTR>(w)), reinterpret_cast<LPCTSTR>(l), true);
      case CB_SELECTSTRING: {
        int i = find(static_cast<int>(static_cast<LONG_PTR>(w)), reinterpret_cast<LPCTSTR>(l), false);
        if (i >= 0) { cur_ = i; suppressEdit_ = true; showSelection(h); suppressEdit_ = false; }
        return i;
      }
      case CB_GETITEMDATA: return valid(static_cast<int>(w)) ? items_[w].data : CB_ERR;
      case CB_SETITEMDATA: if (!valid(static_cast<int>(w))) return CB_ERR; items_[w].data = l; return CB_OKAY;
      case CB_SETITEMHEIGHT:
        if (static_cast<int>(static_cast<LONG_PTR>(w)) == -1) {
          fieldItem_ = std::max(1, static_cast<int>(l));
          h->rect.bottom = h->rect.top + (type(h) == CBS_SIMPLE ? h->rect.Height() : fieldHeight());
          layout(h);
        } else {
          itemHeight_ = std::max(1, static_cast<int>(l));
          if (list_) SendMessage(list_, LB_SETITEMHEIGHT, 0, itemHeight_);
        }
        return CB_OKAY;
      case CB_GETITEMHEIGHT: return static_cast<int>(static_cast<LONG_PTR>(w)) == -1 ? fieldItem_ : itemHeight_;
      case CB_SETDROPPEDWIDTH: droppedWidth_ = static_cast<int>(w); return droppedWidth_;
      case CB_GETDROPPEDWIDTH: {
        CRect wr;
        GetWindowRect(h, &wr);
        return std::max(static_cast<int>(wr.Width()), droppedWidth_);
      }
      case CB_SHOWDROPDOWN:
        if (w) drop(h);
        else if (dropped_) cancel(h);
        return TRUE;
      case CB_GETDROPPEDSTATE: return dropped_;
      case CB_GETDROPPEDCONTROLRECT: {
        if (!l) return CB_ERR;
        CRect wr;
        GetWindowRect(h, &wr);
        wr.bottom += droppedHeight_;
        *reinterpret_cast<RECT*>(l) = wr;
        return CB_OKAY;
      }
      case CB_SETEDITSEL: return edit_ ? (SendMessage(edit_, EM_SETSEL, static_cast<WPARAM>(static_cast<short>(LOWORD(l))), static_cast<short>(HIWORD(l))), TRUE) : CB_ERR;
      case CB_GETEDITSEL: return edit_ ? SendMessage(edit_, EM_GETSEL, w, l) : CB_ERR;
      case CB_LIMITTEXT: return edit_ ? (SendMessage(edit_, EM_LIMITTEXT, w, 0), TRUE) : CB_ERR;
      case CB_GETCOMBOBOXINFO: {
        auto* info = reinterpret_cast<COMBOBOXINFO*>(l);
        if (!info) return FALSE;
        info->rcItem = field(h);
        info->rcButton = type(h) == CBS_SIMPLE ? RECT{0, 0, 0, 0} : RECT(button(h));
        info->stateButton = 0;
        info->hwndCombo = h;
        info->hwndItem = edit_ ? edit_ : h;
        info->hwndList = list_ ? list_ : popup_;
        return TRUE;
      }
      default: return DefWindowProc(h, msg, w, l);
    }
  }

  LRESULT insertAt(HWND h, int at, const std::wstring& s) {
    if (at > count()) return CB_ERR;
    items_.insert(items_.begin() + at, Entry{s, 0});
    if (cur_ >= at) ++cur_;
    if (list_) syncList(list_);
    InvalidateRect(h, nullptr, TRUE);
    return at;
  }

  int find(int after, LPCTSTR what, bool exact) const {
    if (!what || items_.empty()) return CB_ERR;
    std::wstring w = what;
    for (auto& c : w) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    int n = count();
    int start = after < 0 || after >= n ? 0 : after + 1;
    for (int k = 0; k < n; ++k) {
      int i = (start + k) % n;
      std::wstring t = items_[static_cast<std::size_t>(i)].text;
      for (auto& c : t) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
      if (exact ? t == w : t.compare(0, w.size(), w) == 0) return i;
    }
    return CB_ERR;
  }

  void paint(HWND h) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(h, &ps);
    CDC* c = CDC::FromHandle(dc);
    CRect f = field(h);
    bool disabled = h->style & WS_DISABLED;
    HBRUSH b = controlColors(h, dc, type(h) == CBS_DROPDOWNLIST ? WM_CTLCOLORLISTBOX : WM_CTLCOLOREDIT);
    if (type(h) == CBS_SIMPLE) {
      CRect all;
      GetClientRect(h, &all);
      c->FillSolidRect(&all, GetSysColor(COLOR_3DFACE));
    }
    COLORREF text = c->GetTextColor();
    FillRect(dc, &f, disabled ? GetSysColorBrush(COLOR_3DFACE) : b);
    drawEdgeImpl(dc, f, EDGE_SUNKEN, BF_RECT);
    if (type(h) != CBS_SIMPLE) {
      CRect btn = button(h);
      drawFrameControlImpl(dc, btn, DFC_SCROLL, DFCS_SCROLLCOMBOBOX | (dropped_ ? DFCS_PUSHED | DFCS_FLAT : 0) | (disabled ? DFCS_INACTIVE : 0));
    }
    if (type(h) == CBS_DROPDOWNLIST) {
      CRect item(f.left + 3, f.top + 3, button(h).left - 1, f.bottom - 3);
      bool focused = GetFocus() == h && !dropped_;
      if (focused) c->FillSolidRect(&item, GetSysColor(COLOR_HIGHLIGHT));
      c->SetBkMode(TRANSPARENT);
      c->SetTextColor(disabled ? GetSysColor(COLOR_GRAYTEXT) : focused ? GetSysColor(COLOR_HIGHLIGHTTEXT) : text);
      CRect tr = item;
      tr.left += 2;
      if (valid(cur_)) c->DrawText(CString(items_[static_cast<std::size_t>(cur_)].text.c_str()), &tr, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
      if (focused) DrawFocusRect(dc, &item);
    }
    EndPaint(h, &ps);
  }

  std::vector<Entry> items_;
  int cur_ = -1;
  int itemHeight_ = 14, fieldItem_ = 13, droppedHeight_ = 100, droppedWidth_ = 0;
  bool dropped_ = false, suppressEdit_ = false;
  HWND self_ = nullptr, edit_ = nullptr, list_ = nullptr, popup_ = nullptr;
};

Combo* comboOf(HWND edit) {
  HWND parent = edit ? edit->parent : nullptr;
  return isLive(parent) && parent->control ? dynamic_cast<Combo*>(parent->control.get()) : nullptr;
}

// The edit child passes the list keys to its combo, as the platform's combo subclasses its edit.
LRESULT comboEditProc(HWND h, UINT msg, WPARAM w, LPARAM l) {
  Combo* combo = comboOf(h);
  if (combo) {
    HWND cb = h->parent;
    bool listKey = msg == WM_KEYDOWN && (w == VK_F4 || w == VK_UP || w == VK_DOWN || w == VK_PRIOR || w == VK_NEXT ||
                                         (combo->dropped() && (w == VK_RETURN || w == VK_ESCAPE)));
    if (listKey || (msg == WM_SYSKEYDOWN && (w == VK_UP || w == VK_DOWN))) return SendMessage(cb, msg, w, l);
    if (msg == WM_CHAR && combo->dropped() && (w == L'\r' || w == 27)) return 0;
    if (msg == WM_GETDLGCODE && combo->dropped()) return DLGC_WANTALLKEYS;
  }
  return h->control ? h->control->proc(h, msg, w, l) : DefWindowProc(h, msg, w, l);
}

}  // namespace

namespace kvui::detail {
std::unique_ptr<Control> makeComboBox() { return std::make_unique<Combo>(); }
}  // namespace kvui::detail
