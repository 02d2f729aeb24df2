// The edit class: one line of text with caret and selection, typing, deletion, word-less
// movement keys, the clipboard, undo of the last change and the EN_ notifications.
#include <algorithm>
#include <cwctype>

#include "impl.h"

using namespace kvui::detail;

namespace {

int measure(HWND h, const std::wstring& s) {
  HDC dc = CreateCompatibleDC(nullptr);
  if (h->font) SelectObject(dc, h->font);
  int w = textExtentImpl(dc, s).cx;
  DeleteDC(dc);
  return w;
}

class Edit : public Control {
 public:
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_SETTEXT:
        h->text = l ? reinterpret_cast<LPCTSTR>(l) : L"";
        anchor_ = caret_ = 0;
        scroll_ = 0;
        modified_ = false;
        changed(h);
        return TRUE;
      case EM_GETSEL: {
        if (w) *reinterpret_cast<DWORD*>(w) = static_cast<DWORD>(selStart());
        if (l) *reinterpret_cast<DWORD*>(l) = static_cast<DWORD>(selEnd());
        return MAKELONG(selStart(), selEnd());
      }
      case EM_SETSEL: setSel(h, static_cast<int>(static_cast<LONG_PTR>(w)), static_cast<int>(l)); return 0;
      case EM_REPLACESEL: replaceSel(h, l ? reinterpret_cast<LPCTSTR>(l) : L"", true); return 0;
      case EM_LIMITTEXT: limit_ = w ? static_cast<int>(w) : 0x7FFFFFFE; return 0;
      case EM_GETLIMITTEXT: return limit_;
      case EM_SETREADONLY:
        if (w) h->style |= ES_READONLY;
        else h->style &= ~ES_READONLY;
        InvalidateRect(h, nullptr, TRUE);
        return TRUE;
      case EM_GETMODIFY: return modified_;
      case EM_SETMODIFY: modified_ = w != 0; return 0;
      case EM_CANUNDO: return canUndo_;
      case EM_UNDO: case WM_UNDO: undo(h); return TRUE;
      case EM_SETMARGINS:
        if (w & EC_LEFTMARGIN) marginL_ = LOWORD(l);
        if (w & EC_RIGHTMARGIN) marginR_ = HIWORD(l);
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      case EM_GETMARGINS: return MAKELONG(marginL_, marginR_);
      case EM_CHARFROMPOS: return indexAt(h, GET_X_LPARAM(l));
      case EM_POSFROMCHAR: return MAKELONG(xOf(h, static_cast<int>(w)), 1);
      case EM_GETLINECOUNT: return 1 + std::count(h->text.begin(), h->text.end(), L'\n');
      case WM_COPY: copy(h); return 0;
      case WM_CUT: copy(h); replaceSel(h, L"", true); return 0;
      case WM_PASTE: paste(h); return 0;
      case WM_CLEAR: replaceSel(h, L"", true); return 0;
      case WM_CHAR: onChar(h, static_cast<wchar_t>(w)); return 0;
      case WM_KEYDOWN: onKey(h, static_cast<int>(w)); return 0;
      case WM_LBUTTONDOWN: {
        SetFocus(h);
        caret_ = indexAt(h, GET_X_LPARAM(l));
        if (!(GetKeyState(VK_SHIFT) < 0)) anchor_ = caret_;
        tracking_ = true;
        SetCapture(h);
        InvalidateRect(h, nullptr, TRUE);
        return 0;
      }
      case WM_MOUSEMOVE:
        if (tracking_) {
          caret_ = indexAt(h, GET_X_LPARAM(l));
          InvalidateRect(h, nullptr, TRUE);
        }
        return 0;
      case WM_LBUTTONUP:
        if (tracking_) {
          tracking_ = false;
          if (GetCapture() == h) ReleaseCapture();
        }
        return 0;
      case WM_CAPTURECHANGED: tracking_ = false; return 0;
      case WM_LBUTTONDBLCLK: selectWord(h, indexAt(h, GET_X_LPARAM(l))); return 0;
      case WM_SETFOCUS: InvalidateRect(h, nullptr, TRUE); notifyParent(h, EN_SETFOCUS); return 0;
      case WM_KILLFOCUS: InvalidateRect(h, nullptr, TRUE); notifyParent(h, EN_KILLFOCUS); return 0;
      case WM_GETDLGCODE:
        return DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS | ((h->style & ES_MULTILINE) ? DLGC_WANTALLKEYS : 0);
      case WM_PAINT: paint(h); return 0;
      case WM_ERASEBKGND: return 1;
      case WM_ENABLE: InvalidateRect(h, nullptr, TRUE); return 0;
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  int len(HWND h) const { return static_cast<int>(h->text.size()); }
  int selStart() const { return std::min(anchor_, caret_); }
  int selEnd() const { return std::max(anchor_, caret_); }

  void setSel(HWND h, int start, int end) {
    int n = len(h);
    if (start == -1) {
      anchor_ = caret_;
    } else {
      if (end < 0 || end > n) end = n;
      anchor_ = std::clamp(start, 0, n);
      caret_ = std::clamp(end, 0, n);
    }
    InvalidateRect(h, nullptr, TRUE);
  }

  std::wstring display(HWND h) const {
    if (h->style & ES_PASSWORD) return std::wstring(h->text.size(), L'*');
    return h->text;
  }

  int xOf(HWND h, int index) {
    index = std::clamp(index, 0, len(h));
    return marginL_ + 1 + measure(h, display(h).substr(0, static_cast<std::size_t>(index))) - scroll_;
  }

  int indexAt(HWND h, int x) {
    std::wstring d = display(h);
    int best = 0, bestDist = 1 << 30;
    for (int i = 0; i <= static_cast<int>(d.size()); ++i) {
      int dist = std::abs(xOf(h, i) - x);
      if (dist < bestDist) { bestDist = dist; best = i; }
    }
    return best;
  }

  void ensureCaretVisible(HWND h) {
    CRect c;
    GetClientRect(h, &c);
    int avail = c.Width() - marginL_ - marginR_ - 2;
    int x = measure(h, display(h).substr(0, static_cast<std::size_t>(caret_)));
    if (x - scroll_ > avail) scroll_ = x - avail + avail / 3;
    if (x < scroll_) scroll_ = std::max(0, x - avail / 3);
  }

  void changed(HWND h) {
    ensureCaretVisible(h);
    InvalidateRect(h, nullptr, TRUE);
    notifyParent(h, EN_UPDATE);
    notifyParent(h, EN_CHANGE);
  }

  bool replaceSel(HWND h, const std::wstring& with, bool user) {
    std::wstring& t = h->text;
    int s = selStart(), e = selEnd();
    std::wstring ins = with;
    int room = limit_ - (len(h) - (e - s));
    if (static_cast<int>(ins.size()) > room) {
      ins.resize(static_cast<std::size_t>(std::max(room, 0)));
      notifyParent(h, EN_MAXTEXT);
      if (ins.empty() && s == e) return false;
    }
    undoText_ = t;
    canUndo_ = true;
    t.replace(static_cast<std::size_t>(s), static_cast<std::size_t>(e - s), ins);
    anchor_ = caret_ = s + static_cast<int>(ins.size());
    if (user) modified_ = true;
    changed(h);
    return true;
  }

  void undo(HWND h) {
    if (!canUndo_) return;
    std::swap(h->text, undoText_);
    anchor_ = caret_ = len(h);
    changed(h);
  }

  void copy(HWND h) {
    if (selStart() == selEnd() || (h->style & ES_PASSWORD)) return;
    setClipboardText(h, h->text.substr(static_cast<std::size_t>(selStart()), static_cast<std::size_t>(selEnd() - selStart())));
  }

  void paste(HWND h) {
    if (h->style & ES_READONLY) return;
    std::wstring text;
    if (!clipboardText(text)) return;
    if (!(h->style & ES_MULTILINE)) {
      auto cut = text.find_first_of(L"\r\n");
      if (cut != std::wstring::npos) text.resize(cut);
    }
    replaceSel(h, text, true);
  }

  void selectWord(HWND h, int at) {
    const std::wstring& t = h->text;
    int s = at, e = at;
    while (s > 0 && !std::iswspace(static_cast<wint_t>(t[static_cast<std::size_t>(s - 1)]))) --s;
    while (e < len(h) && !std::iswspace(static_cast<wint_t>(t[static_cast<std::size_t>(e)]))) ++e;
    anchor_ = s;
    caret_ = e;
    InvalidateRect(h, nullptr, TRUE);
  }

  void onChar(HWND h, wchar_t c) {
    switch (c) {
      case 1: setSel(h, 0, -1); return;
      case 3: copy(h); return;
      case 22: paste(h); return;
      case 24: if (!(h->style & ES_READONLY)) { copy(h); replaceSel(h, L"", true); } return;
      case 26: undo(h); return;
      case 8:
        if (h->style & ES_READONLY) return;
        if (selStart() == selEnd() && caret_ > 0) anchor_ = caret_ - 1;
        replaceSel(h, L"", true);
        return;
      case L'\r':
        if ((h->style & ES_MULTILINE) && (h->style & ES_WANTRETURN) && !(h->style & ES_READONLY)) replaceSel(h, L"\r\n", true);
        return;
      default: break;
    }
    if (c < 32 || (h->style & ES_READONLY)) return;
    if ((h->style & ES_NUMBER) && !(c >= L'0' && c <= L'9')) return;
    if (h->style & ES_UPPERCASE) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
    if (h->style & ES_LOWERCASE) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    replaceSel(h, std::wstring(1, c), true);
  }

  void onKey(HWND h, int vk) {
    bool shift = GetKeyState(VK_SHIFT) < 0, ctrl = GetKeyState(VK_CONTROL) < 0;
    int n = len(h);
    auto moveTo = [&](int pos) {
      caret_ = std::clamp(pos, 0, n);
      if (!shift) anchor_ = caret_;
      ensureCaretVisible(h);
      InvalidateRect(h, nullptr, TRUE);
    };
    switch (vk) {
      case VK_LEFT: moveTo(!shift && selStart() != selEnd() ? selStart() : caret_ - 1); break;
      case VK_RIGHT: moveTo(!shift && selStart() != selEnd() ? selEnd() : caret_ + 1); break;
      case VK_HOME: moveTo(0); break;
      case VK_END: moveTo(n); break;
      case VK_DELETE:
        if (h->style & ES_READONLY) break;
        if (shift) { copy(h); replaceSel(h, L"", true); break; }
        if (selStart() == selEnd() && caret_ < n) anchor_ = caret_ + 1;
        replaceSel(h, L"", true);
        break;
      case VK_INSERT:
        if (ctrl) copy(h);
        else if (shift) paste(h);
        break;
      default: break;
    }
  }

  void paint(HWND h) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(h, &ps);
    CDC* c = CDC::FromHandle(dc);
    CRect r;
    GetClientRect(h, &r);
    bool grey = (h->style & (ES_READONLY | WS_DISABLED)) != 0;
    HBRUSH b = controlColors(h, dc, grey ? WM_CTLCOLORSTATIC : WM_CTLCOLOREDIT);
    FillRect(dc, &r, b);
    if (h->style & WS_DISABLED) c->SetTextColor(GetSysColor(COLOR_GRAYTEXT));
    c->SetBkMode(TRANSPARENT);
    std::wstring d = display(h);
    int x0 = xOf(h, 0);
    CRect text(x0, r.top, r.right + scroll_ + 1000, r.bottom);
    UINT vfmt = (h->style & ES_MULTILINE) ? DT_TOP : DT_VCENTER;
    int saved = c->SaveDC();
    c->IntersectClipRect(marginL_, 0, r.right - marginR_, r.bottom);
    c->DrawText(CString(d.c_str()), &text, DT_LEFT | DT_SINGLELINE | DT_NOPREFIX | vfmt);
    bool focused = GetFocus() == h;
    if (selStart() != selEnd() && (focused || (h->style & ES_NOHIDESEL))) {
      CRect sel(xOf(h, selStart()), r.top + 1, xOf(h, selEnd()), r.bottom - 1);
      c->FillSolidRect(&sel, GetSysColor(COLOR_HIGHLIGHT));
      c->SetTextColor(GetSysColor(COLOR_HIGHLIGHTTEXT));
      CRect part(sel.left, r.top, sel.right, r.bottom);
      std::wstring piece = d.substr(static_cast<std::size_t>(selStart()), static_cast<std::size_t>(selEnd() - selStart()));
      c->DrawText(CString(piece.c_str()), &part, DT_LEFT | DT_SINGLELINE | DT_NOPREFIX | vfmt);
    }
    if (focused) {
      int x = xOf(h, caret_);
      c->FillSolidRect(x, r.top + 2, 1, std::max(1, r.Height() - 4), GetSysColor(COLOR_WINDOWTEXT));
    }
    c->RestoreDC(saved);
    EndPaint(h, &ps);
  }

  int anchor_ = 0, caret_ = 0, scroll_ = 0;
  int limit_ = 30000;
  int marginL_ = 1, marginR_ = 1;
  bool modified_ = false, tracking_ = false, canUndo_ = false;
  std::wstring undoText_;
};

}  // namespace

namespace kvui::detail {
std::unique_ptr<Control> makeEdit() { return std::make_unique<Edit>(); }
}  // namespace kvui::detail
