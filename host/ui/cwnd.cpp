// CWnd: attachment to handles, subclassing, message dispatch to the virtual handlers and
// reflection, and the thin wrappers over the window functions.
#include <algorithm>
#include <cstdlib>

#include "impl.h"

using namespace kvui::detail;

const CWnd CWnd::wndTop(HWND_TOP);
const CWnd CWnd::wndBottom(HWND_BOTTOM);
const CWnd CWnd::wndTopMost(HWND_TOPMOST);
const CWnd CWnd::wndNoTopMost(HWND_NOTOPMOST);

CWnd::~CWnd() {
  if (m_hWnd && isLive(m_hWnd) && m_hWnd->attached == this) {
    HWND h = m_hWnd;
    // Handlers of the derived class are gone by now; the window dies with the base's.
    ::DestroyWindow(h);
  }
  m_hWnd = nullptr;
}

CWnd* CWnd::FromHandlePermanent(HWND h) { return isLive(h) ? h->attached : nullptr; }

CWnd* CWnd::FromHandle(HWND h) {
  if (!isLive(h)) return nullptr;
  if (h->attached) return h->attached;
  if (!h->wrapper) {
    h->wrapper = std::make_unique<CWnd>();
    h->wrapper->m_hWnd = h;
    h->wrapper->wrapper_ = true;
  }
  return h->wrapper.get();
}

BOOL CWnd::Attach(HWND h) {
  if (!isLive(h) || h->attached || m_hWnd) return FALSE;
  h->attached = this;
  m_hWnd = h;
  return TRUE;
}

HWND CWnd::Detach() {
  HWND h = m_hWnd;
  if (isLive(h) && h->attached == this) h->attached = nullptr;
  m_hWnd = nullptr;
  return h;
}

BOOL CWnd::SubclassWindow(HWND h) {
  if (!Attach(h)) return FALSE;
  PreSubclassWindow();
  return TRUE;
}

BOOL CWnd::SubclassDlgItem(UINT id, CWnd* parent) {
  if (!parent) return FALSE;
  return SubclassWindow(::GetDlgItem(parent->m_hWnd, static_cast<int>(id)));
}

HWND CWnd::UnsubclassWindow() { return Detach(); }

BOOL CWnd::Create(LPCTSTR className, LPCTSTR title, DWORD style, const RECT& r, CWnd* parent, UINT id, void*) {
  return CreateEx(0, className, title, style | WS_CHILD, r, parent, id);
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR title, DWORD style, const RECT& r, CWnd* parent,
                    UINT id, LPVOID param) {
  return CreateEx(exStyle, className, title, style, r.left, r.top, r.right - r.left, r.bottom - r.top,
                  parent ? parent->m_hWnd : nullptr, reinterpret_cast<HMENU>(static_cast<std::uintptr_t>(id)), param);
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR title, DWORD style, int x, int y, int cx, int cy,
                    HWND parent, HMENU idOrMenu, LPVOID param) {
  if (m_hWnd) return FALSE;
  CREATESTRUCT cs{param, nullptr, idOrMenu, parent, cy, cx, y, x, static_cast<LONG>(style), title, className, exStyle};
  if (!PreCreateWindow(cs)) return FALSE;
  kvuiSetPendingAttach(this);
  HWND h = ::CreateWindowEx(cs.dwExStyle, cs.lpszClass, cs.lpszName, static_cast<DWORD>(cs.style), cs.x, cs.y, cs.cx,
                            cs.cy, cs.hwndParent, cs.hMenu, nullptr, cs.lpCreateParams);
  kvuiSetPendingAttach(nullptr);
  return h != nullptr;
}

BOOL CWnd::DestroyWindow() { return m_hWnd ? ::DestroyWindow(m_hWnd) : FALSE; }

LRESULT CWnd::WindowProc(UINT msg, WPARAM w, LPARAM l) {
  LRESULT r = 0;
  if (!OnWndMsg(msg, w, l, &r)) r = DefWindowProc(msg, w, l);
  return r;
}

LRESULT CWnd::DefWindowProc(UINT msg, WPARAM w, LPARAM l) { return callDefault(m_hWnd, msg, w, l); }

LRESULT CWnd::Default() {
  const MSG* m = GetCurrentMessage();
  return m ? DefWindowProc(m->message, m->wParam, m->lParam) : 0;
}

BOOL CWnd::PreTranslateMessage(MSG*) { return FALSE; }
BOOL CWnd::PreCreateWindow(CREATESTRUCT&) { return TRUE; }
void CWnd::PreSubclassWindow() {}
void CWnd::PostNcDestroy() {}

BOOL CWnd::dispatchReflection(UINT msg, HWND child, WPARAM w, LPARAM l, LRESULT* result) {
  if (!isLive(child) || child == m_hWnd) return FALSE;
  CWnd* c = FromHandlePermanent(child);
  return c && c->OnChildNotify(msg, w, l, result);
}

BOOL CWnd::OnCommand(WPARAM w, LPARAM l) {
  LRESULT r = 0;
  return dispatchReflection(WM_COMMAND, reinterpret_cast<HWND>(l), w, l, &r);
}

BOOL CWnd::OnNotify(WPARAM w, LPARAM l, LRESULT* result) {
  auto* hdr = reinterpret_cast<NMHDR*>(l);
  return hdr && dispatchReflection(WM_NOTIFY, hdr->hwndFrom, w, l, result);
}

BOOL CWnd::OnChildNotify(UINT, WPARAM, LPARAM, LRESULT*) { return FALSE; }

namespace {
CPoint pointOf(LPARAM l) { return CPoint(GET_X_LPARAM(l), GET_Y_LPARAM(l)); }
}  // namespace

// Routes the messages that have handlers; the rest go to DefWindowProc.
BOOL CWnd::OnWndMsg(UINT msg, WPARAM w, LPARAM l, LRESULT* r) {
  *r = 0;
  switch (msg) {
    case WM_CREATE: *r = OnCreate(reinterpret_cast<LPCREATESTRUCT>(l)); return TRUE;
    case WM_DESTROY: OnDestroy(); return TRUE;
    case WM_NCDESTROY: OnNcDestroy(); return TRUE;
    case WM_PAINT: OnPaint(); return TRUE;
    case WM_ERASEBKGND: *r = OnEraseBkgnd(CDC::FromHandle(reinterpret_cast<HDC>(w))); return TRUE;
    case WM_SIZE: OnSize(static_cast<UINT>(w), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_MOVE: OnMove(GET_X_LPARAM(l), GET_Y_LPARAM(l)); return TRUE;
    case WM_SHOWWINDOW: OnShowWindow(static_cast<BOOL>(w), static_cast<UINT>(l)); return TRUE;
    case WM_SETFOCUS: OnSetFocus(FromHandle(reinterpret_cast<HWND>(w))); return TRUE;
    case WM_KILLFOCUS: OnKillFocus(FromHandle(reinterpret_cast<HWND>(w))); return TRUE;
    case WM_ENABLE: OnEnable(static_cast<BOOL>(w)); return TRUE;
    case WM_CAPTURECHANGED: OnCaptureChanged(FromHandle(reinterpret_cast<HWND>(l))); return TRUE;
    case WM_CANCELMODE: OnCancelMode(); return TRUE;
    case WM_LBUTTONDOWN: OnLButtonDown(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_LBUTTONUP: OnLButtonUp(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_LBUTTONDBLCLK: OnLButtonDblClk(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_RBUTTONDOWN: OnRButtonDown(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_RBUTTONUP: OnRButtonUp(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_RBUTTONDBLCLK: OnRButtonDblClk(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_MOUSEMOVE: OnMouseMove(static_cast<UINT>(w), pointOf(l)); return TRUE;
    case WM_MOUSEWHEEL: *r = OnMouseWheel(LOWORD(w), static_cast<short>(HIWORD(w)), pointOf(l)); return TRUE;
    case WM_SETCURSOR: *r = OnSetCursor(FromHandle(reinterpret_cast<HWND>(w)), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_KEYDOWN: OnKeyDown(static_cast<UINT>(w), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_KEYUP: OnKeyUp(static_cast<UINT>(w), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_CHAR: OnChar(static_cast<UINT>(w), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_SYSKEYDOWN: OnSysKeyDown(static_cast<UINT>(w), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_SYSCHAR: OnSysChar(static_cast<UINT>(w), LOWORD(l), HIWORD(l)); return TRUE;
    case WM_GETDLGCODE: *r = OnGetDlgCode(); return TRUE;
    case WM_TIMER: OnTimer(w); return TRUE;
    case WM_HSCROLL:
    case WM_VSCROLL: {
      HWND bar = reinterpret_cast<HWND>(l);
      if (bar && dispatchReflection(msg, bar, w, l, r)) return TRUE;
      auto* sb = static_cast<CScrollBar*>(bar ? FromHandle(bar) : nullptr);
      if (msg == WM_HSCROLL) OnHScroll(LOWORD(w), static_cast<short>(HIWORD(w)) & 0xFFFF, sb);
      else OnVScroll(LOWORD(w), static_cast<short>(HIWORD(w)) & 0xFFFF, sb);
      return TRUE;
    }
    case WM_CLOSE: OnClose(); return TRUE;
    case WM_SYSCOLORCHANGE: OnSysColorChange(); return TRUE;
    case WM_SETTINGCHANGE: OnSettingChange(static_cast<UINT>(w), reinterpret_cast<LPCTSTR>(l)); return TRUE;
    case WM_CONTEXTMENU: OnContextMenu(FromHandle(reinterpret_cast<HWND>(w)), pointOf(l)); return TRUE;
    case WM_COMMAND: return OnCommand(w, l);
    case WM_NOTIFY: return OnNotify(w, l, r);
    case WM_CTLCOLOREDIT: case WM_CTLCOLORLISTBOX: case WM_CTLCOLORBTN: case WM_CTLCOLORDLG:
    case WM_CTLCOLORSCROLLBAR: case WM_CTLCOLORSTATIC: {
      HWND child = reinterpret_cast<HWND>(l);
      *r = reinterpret_cast<LRESULT>(OnCtlColor(CDC::FromHandle(reinterpret_cast<HDC>(w)), FromHandle(child), msg - WM_CTLCOLOREDIT + CTLCOLOR_EDIT));
      return TRUE;
    }
    default: return FALSE;
  }
}

int CWnd::OnCreate(LPCREATESTRUCT) { return static_cast<int>(Default()); }
void CWnd::OnDestroy() { Default(); }
void CWnd::OnNcDestroy() { Default(); }
void CWnd::OnPaint() { Default(); }
BOOL CWnd::OnEraseBkgnd(CDC*) { return static_cast<BOOL>(Default()); }
void CWnd::OnSize(UINT, int, int) { Default(); }
void CWnd::OnMove(int, int) { Default(); }
void CWnd::OnShowWindow(BOOL, UINT) { Default(); }
void CWnd::OnSetFocus(CWnd*) { Default(); }
void CWnd::OnKillFocus(CWnd*) { Default(); }
void CWnd::OnEnable(BOOL) { Default(); }
void CWnd::OnCaptureChanged(CWnd*) { Default(); }
void CWnd::OnCancelMode() { Default(); }
void CWnd::OnLButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnLButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnLButtonDblClk(UINT, CPoint) { Default(); }
void CWnd::OnRButtonDown(UINT, CPoint) { Default(); }
void CWnd::OnRButtonUp(UINT, CPoint) { Default(); }
void CWnd::OnRButtonDblClk(UINT, CPoint) { Default(); }
void CWnd::OnMouseMove(UINT, CPoint) { Default(); }
BOOL CWnd::OnMouseWheel(UINT, short, CPoint) { return static_cast<BOOL>(Default()); }
BOOL CWnd::OnSetCursor(CWnd*, UINT, UINT) { return static_cast<BOOL>(Default()); }
void CWnd::OnKeyDown(UINT, UINT, UINT) { Default(); }
void CWnd::OnKeyUp(UINT, UINT, UINT) { Default(); }
void CWnd::OnChar(UINT, UINT, UINT) { Default(); }
void CWnd::OnSysKeyDown(UINT, UINT, UINT) { Default(); }
void CWnd::OnSysChar(UINT, UINT, UINT) { Default(); }
UINT CWnd::OnGetDlgCode() { return static_cast<UINT>(Default()); }
void CWnd::OnTimer(UINT_PTR) { Default(); }
void CWnd::OnHScroll(UINT, UINT, CScrollBar*) { Default(); }
void CWnd::OnVScroll(UINT, UINT, CScrollBar*) { Default(); }
void CWnd::OnClose() { Default(); }
void CWnd::OnSysColorChange() { Default(); }
void CWnd::OnSettingChange(UINT, LPCTSTR) { Default(); }
HBRUSH CWnd::OnCtlColor(CDC*, CWnd*, UINT) { return reinterpret_cast<HBRUSH>(Default()); }
void CWnd::OnContextMenu(CWnd*, CPoint) { Default(); }

// ---- Thin wrappers ------------------------------------------------------------------------------

LRESULT CWnd::SendMessage(UINT msg, WPARAM w, LPARAM l) const { return ::SendMessage(m_hWnd, msg, w, l); }
BOOL CWnd::PostMessage(UINT msg, WPARAM w, LPARAM l) const { return ::PostMessage(m_hWnd, msg, w, l); }
void CWnd::SendMessageToDescendants(UINT msg, WPARAM w, LPARAM l, BOOL deep) {
  if (!isLive(m_hWnd)) return;
  auto kids = m_hWnd->children;
  for (HWND c : kids) {
    ::SendMessage(c, msg, w, l);
    if (deep && isLive(c)) FromHandle(c)->SendMessageToDescendants(msg, w, l, TRUE);
  }
}

CWnd* CWnd::GetParent() const { return FromHandle(::GetParent(m_hWnd)); }
CWnd* CWnd::GetOwner() const { return isLive(m_hWnd) ? FromHandle(m_hWnd->owner ? m_hWnd->owner : ::GetParent(m_hWnd)) : nullptr; }
void CWnd::SetOwner(CWnd* owner) {
  if (isLive(m_hWnd)) m_hWnd->owner = owner ? owner->m_hWnd : nullptr;
}
CWnd* CWnd::GetTopLevelParent() const { return FromHandle(topLevelOf(m_hWnd)); }
CWnd* CWnd::GetWindow(UINT cmd) const { return FromHandle(::GetWindow(m_hWnd, cmd)); }
CWnd* CWnd::GetDlgItem(int id) const { return FromHandle(::GetDlgItem(m_hWnd, id)); }
int CWnd::GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
int CWnd::SetDlgCtrlID(int id) { return static_cast<int>(::SetWindowLongPtr(m_hWnd, GWL_ID, id)); }
BOOL CWnd::IsChild(const CWnd* w) const { return w && ::IsChild(m_hWnd, w->m_hWnd); }
CWnd* CWnd::ChildWindowFromPoint(POINT p) const { return FromHandle(::ChildWindowFromPoint(m_hWnd, p)); }
CWnd* CWnd::WindowFromPoint(POINT p) { return FromHandle(::WindowFromPoint(p)); }
CWnd* CWnd::GetFocus() { return FromHandle(::GetFocus()); }
CWnd* CWnd::SetFocus() { return FromHandle(::SetFocus(m_hWnd)); }
CWnd* CWnd::GetCapture() { return FromHandle(::GetCapture()); }
CWnd* CWnd::SetCapture() { return FromHandle(::SetCapture(m_hWnd)); }
CWnd* CWnd::GetActiveWindow() { return FromHandle(::GetActiveWindow()); }
CWnd* CWnd::SetActiveWindow() { return FromHandle(::SetActiveWindow(m_hWnd)); }
BOOL CWnd::SetForegroundWindow() { return ::SetForegroundWindow(m_hWnd); }
void CWnd::BringWindowToTop() { ::BringWindowToTop(m_hWnd); }
CWnd* CWnd::GetNextDlgTabItem(CWnd* control, BOOL previous) const {
  return FromHandle(::GetNextDlgTabItem(m_hWnd, control ? control->m_hWnd : nullptr, previous));
}

DWORD CWnd::GetStyle() const { return isLive(m_hWnd) ? m_hWnd->style : 0; }
DWORD CWnd::GetExStyle() const { return isLive(m_hWnd) ? m_hWnd->exStyle : 0; }
BOOL CWnd::ModifyStyle(DWORD remove, DWORD add, UINT swp) {
  if (!isLive(m_hWnd)) return FALSE;
  DWORD before = m_hWnd->style;
  m_hWnd->style = (before & ~remove) | add;
  if (swp) ::SetWindowPos(m_hWnd, nullptr, 0, 0, 0, 0, swp | SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER);
  return before != m_hWnd->style;
}
BOOL CWnd::ModifyStyleEx(DWORD remove, DWORD add, UINT swp) {
  if (!isLive(m_hWnd)) return FALSE;
  DWORD before = m_hWnd->exStyle;
  m_hWnd->exStyle = (before & ~remove) | add;
  if (swp) ::SetWindowPos(m_hWnd, nullptr, 0, 0, 0, 0, swp | SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER);
  return before != m_hWnd->exStyle;
}
void CWnd::SetWindowText(LPCTSTR text) { ::SetWindowText(m_hWnd, text); }
int CWnd::GetWindowText(LPTSTR buffer, int max) const { return ::GetWindowText(m_hWnd, buffer, max); }
void CWnd::GetWindowText(CString& text) const {
  int n = GetWindowTextLength();
  std::wstring buf(static_cast<std::size_t>(n) + 1, L'\0');
  int got = ::GetWindowText(m_hWnd, buf.data(), n + 1);
  buf.resize(static_cast<std::size_t>(std::max(got, 0)));
  text = CString(buf);
}
int CWnd::GetWindowTextLength() const { return ::GetWindowTextLength(m_hWnd); }
void CWnd::SetDlgItemText(int id, LPCTSTR text) { ::SetDlgItemText(m_hWnd, id, text); }
int CWnd::GetDlgItemText(int id, CString& text) const {
  CWnd* c = GetDlgItem(id);
  if (!c) { text.Empty(); return 0; }
  c->GetWindowText(text);
  return text.GetLength();
}
UINT CWnd::GetDlgItemInt(int id, BOOL* ok, BOOL isSigned) const {
  CString t;
  GetDlgItemText(id, t);
  wchar_t* end = nullptr;
  long v = std::wcstol(t.Trim(), &end, 10);
  bool good = !t.IsEmpty() && end && *end == 0 && (isSigned || v >= 0);
  if (ok) *ok = good;
  return good ? static_cast<UINT>(v) : 0;
}
void CWnd::SetDlgItemInt(int id, UINT value, BOOL isSigned) {
  CString t;
  if (isSigned) t.Format(L"%d", static_cast<int>(value));
  else t.Format(L"%u", value);
  SetDlgItemText(id, t);
}
void CWnd::CheckDlgButton(int id, UINT check) { ::CheckDlgButton(m_hWnd, id, check); }
UINT CWnd::IsDlgButtonChecked(int id) const { return ::IsDlgButtonChecked(m_hWnd, id); }
LRESULT CWnd::SendDlgItemMessage(int id, UINT msg, WPARAM w, LPARAM l) const { return ::SendDlgItemMessage(m_hWnd, id, msg, w, l); }
void CWnd::SetFont(CFont* font, BOOL redraw) {
  SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(font ? font->m_hObject : nullptr), redraw);
}
CFont* CWnd::GetFont() const { return CFont::FromHandle(reinterpret_cast<HFONT>(SendMessage(WM_GETFONT))); }
HICON CWnd::SetIcon(HICON icon, BOOL big) { return reinterpret_cast<HICON>(SendMessage(WM_SETICON, big, reinterpret_cast<LPARAM>(icon))); }
HICON CWnd::GetIcon(BOOL big) const { return reinterpret_cast<HICON>(SendMessage(WM_GETICON, big)); }

void CWnd::GetWindowRect(LPRECT r) const { ::GetWindowRect(m_hWnd, r); }
void CWnd::GetClientRect(LPRECT r) const { ::GetClientRect(m_hWnd, r); }
void CWnd::ClientToScreen(LPPOINT p) const { ::ClientToScreen(m_hWnd, p); }
void CWnd::ClientToScreen(LPRECT r) const {
  ::ClientToScreen(m_hWnd, reinterpret_cast<LPPOINT>(&r->left));
  ::ClientToScreen(m_hWnd, reinterpret_cast<LPPOINT>(&r->right));
}
void CWnd::ScreenToClient(LPPOINT p) const { ::ScreenToClient(m_hWnd, p); }
void CWnd::ScreenToClient(LPRECT r) const {
  ::ScreenToClient(m_hWnd, reinterpret_cast<LPPOINT>(&r->left));
  ::ScreenToClient(m_hWnd, reinterpret_cast<LPPOINT>(&r->right));
}
void CWnd::MapWindowPoints(CWnd* to, LPPOINT p, UINT count) const { ::MapWindowPoints(m_hWnd, to ? to->m_hWnd : nullptr, p, count); }
void CWnd::MapWindowPoints(CWnd* to, LPRECT r) const { ::MapWindowPoints(m_hWnd, to ? to->m_hWnd : nullptr, reinterpret_cast<LPPOINT>(r), 2); }
void CWnd::MoveWindow(int x, int y, int cx, int cy, BOOL repaint) { ::MoveWindow(m_hWnd, x, y, cx, cy, repaint); }
void CWnd::MoveWindow(LPCRECT r, BOOL repaint) { MoveWindow(r->left, r->top, r->right - r->left, r->bottom - r->top, repaint); }
BOOL CWnd::SetWindowPos(const CWnd* after, int x, int y, int cx, int cy, UINT flags) {
  return ::SetWindowPos(m_hWnd, after ? after->m_hWnd : nullptr, x, y, cx, cy, flags);
}
void CWnd::CenterWindow(CWnd* alternate) {
  if (!isLive(m_hWnd)) return;
  CRect me, around;
  GetWindowRect(&me);
  if (alternate && alternate->m_hWnd) alternate->GetWindowRect(&around);
  else around = CRect(0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
  int x = around.left + (around.Width() - me.Width()) / 2, y = around.top + (around.Height() - me.Height()) / 2;
  if (m_hWnd->style & WS_CHILD) {
    POINT p{x, y};
    ::ScreenToClient(m_hWnd->parent, &p);
    x = p.x;
    y = p.y;
  }
  ::SetWindowPos(m_hWnd, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
}
BOOL CWnd::ShowWindow(int cmd) { return ::ShowWindow(m_hWnd, cmd); }
BOOL CWnd::IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }
BOOL CWnd::IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
BOOL CWnd::EnableWindow(BOOL enable) { return ::EnableWindow(m_hWnd, enable); }

void CWnd::Invalidate(BOOL erase) { ::InvalidateRect(m_hWnd, nullptr, erase); }
void CWnd::InvalidateRect(LPCRECT r, BOOL erase) { ::InvalidateRect(m_hWnd, r, erase); }
void CWnd::ValidateRect(LPCRECT r) { ::ValidateRect(m_hWnd, r); }
void CWnd::UpdateWindow() { ::UpdateWindow(m_hWnd); }
BOOL CWnd::RedrawWindow(LPCRECT r, CRgn* region, UINT flags) {
  return ::RedrawWindow(m_hWnd, r, region ? static_cast<HRGN>(region->m_hObject) : nullptr, flags);
}
BOOL CWnd::LockWindowUpdate() { return ::LockWindowUpdate(m_hWnd); }
void CWnd::UnlockWindowUpdate() { ::LockWindowUpdate(nullptr); }
void CWnd::SetRedraw(BOOL redraw) { SendMessage(WM_SETREDRAW, redraw); }
BOOL CWnd::GetUpdateRect(LPRECT r, BOOL erase) { return ::GetUpdateRect(m_hWnd, r, erase); }
CDC* CWnd::GetDC() { return CDC::FromHandle(::GetDC(m_hWnd)); }
CDC* CWnd::GetWindowDC() { return CDC::FromHandle(::GetWindowDC(m_hWnd)); }
int CWnd::ReleaseDC(CDC* dc) { return dc ? ::ReleaseDC(m_hWnd, dc->m_hDC) : 0; }

UINT_PTR CWnd::SetTimer(UINT_PTR id, UINT ms, void* proc) { return ::SetTimer(m_hWnd, id, ms, proc); }
BOOL CWnd::KillTimer(UINT_PTR id) { return ::KillTimer(m_hWnd, id); }

int CWnd::SetScrollInfo(int bar, LPSCROLLINFO info, BOOL redraw) { return ::SetScrollInfo(m_hWnd, bar, info, redraw); }
BOOL CWnd::GetScrollInfo(int bar, LPSCROLLINFO info, UINT mask) {
  if (!info) return FALSE;
  info->fMask = mask;
  return ::GetScrollInfo(m_hWnd, bar, info);
}
int CWnd::SetScrollPos(int bar, int pos, BOOL redraw) { return ::SetScrollPos(m_hWnd, bar, pos, redraw); }
int CWnd::GetScrollPos(int bar) const { return ::GetScrollPos(m_hWnd, bar); }
void CWnd::SetScrollRange(int bar, int minPos, int maxPos, BOOL redraw) { ::SetScrollRange(m_hWnd, bar, minPos, maxPos, redraw); }
void CWnd::GetScrollRange(int bar, LPINT minPos, LPINT maxPos) const { ::GetScrollRange(m_hWnd, bar, minPos, maxPos); }
int CWnd::GetScrollLimit(int bar) {
  SCROLLINFO si{sizeof(si), SIF_ALL, 0, 0, 0, 0, 0};
  ::GetScrollInfo(m_hWnd, bar, &si);
  return std::max(si.nMin, si.nMax - std::max<int>(static_cast<int>(si.nPage) - 1, 0));
}
void CWnd::ShowScrollBar(UINT bar, BOOL show) { ::ShowScrollBar(m_hWnd, static_cast<int>(bar), show); }
void CWnd::EnableScrollBarCtrl(int bar, BOOL enable) {
  if (bar == SB_BOTH) {
    EnableScrollBarCtrl(SB_HORZ, enable);
    EnableScrollBarCtrl(SB_VERT, enable);
    return;
  }
  ::ShowScrollBar(m_hWnd, bar, enable);
}
BOOL CWnd::EnableScrollBar(int bar, UINT arrows) { return ::EnableScrollBar(m_hWnd, bar, arrows); }
void CWnd::ScrollWindow(int dx, int dy, LPCRECT scroll, LPCRECT clip) { ::ScrollWindow(m_hWnd, dx, dy, scroll, clip); }

// ---- Control wrappers ---------------------------------------------------------------------------

BOOL CButton::Create(LPCTSTR caption, DWORD style, const RECT& r, CWnd* parent, UINT id) {
  return CWnd::Create(L"Button", caption, style, r, parent, id);
}
BOOL CStatic::Create(LPCTSTR text, DWORD style, const RECT& r, CWnd* parent, UINT id) {
  return CWnd::Create(L"Static", text, style, r, parent, id);
}
BOOL CEdit::Create(DWORD style, const RECT& r, CWnd* parent, UINT id) { return CWnd::Create(L"Edit", L"", style, r, parent, id); }
void CEdit::SetSel(int start, int end, BOOL noScroll) {
  SendMessage(EM_SETSEL, static_cast<WPARAM>(start), static_cast<LPARAM>(end));
  (void)noScroll;
}
DWORD CEdit::GetSel() const { return static_cast<DWORD>(SendMessage(EM_GETSEL)); }
void CEdit::GetSel(int& start, int& end) const {
  DWORD s = 0, e = 0;
  SendMessage(EM_GETSEL, reinterpret_cast<WPARAM>(&s), reinterpret_cast<LPARAM>(&e));
  start = static_cast<int>(s);
  end = static_cast<int>(e);
}
void CEdit::ReplaceSel(LPCTSTR text, BOOL canUndo) { SendMessage(EM_REPLACESEL, canUndo, reinterpret_cast<LPARAM>(text)); }
BOOL CComboBox::Create(DWORD style, const RECT& r, CWnd* parent, UINT id) { return CWnd::Create(L"ComboBox", L"", style, r, parent, id); }
void CComboBox::GetLBText(int i, CString& s) const {
  int n = GetLBTextLen(i);
  if (n < 0) { s.Empty(); return; }
  std::wstring buf(static_cast<std::size_t>(n) + 1, L'\0');
  GetLBText(i, buf.data());
  buf.resize(static_cast<std::size_t>(n));
  s = CString(buf);
}
BOOL CListBox::Create(DWORD style, const RECT& r, CWnd* parent, UINT id) { return CWnd::Create(L"ListBox", L"", style, r, parent, id); }
void CListBox::GetText(int i, CString& s) const {
  int n = GetTextLen(i);
  if (n < 0) { s.Empty(); return; }
  std::wstring buf(static_cast<std::size_t>(n) + 1, L'\0');
  SendMessage(LB_GETTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(buf.data()));
  buf.resize(static_cast<std::size_t>(n));
  s = CString(buf);
}
UINT CListBox::ItemFromPoint(CPoint p, BOOL& outside) const {
  LRESULT r = SendMessage(LB_ITEMFROMPOINT, 0, MAKELPARAM(p.x, p.y));
  outside = HIWORD(r) != 0;
  return LOWORD(r);
}
BOOL CScrollBar::Create(DWORD style, const RECT& r, CWnd* parent, UINT id) { return CWnd::Create(L"ScrollBar", L"", style, r, parent, id); }
BOOL CScrollBar::GetScrollInfo(LPSCROLLINFO info, UINT mask) {
  if (!info) return FALSE;
  info->fMask = mask;
  return ::GetScrollInfo(m_hWnd, SB_CTL, info);
}
int CScrollBar::GetScrollLimit() {
  SCROLLINFO si{sizeof(si), SIF_ALL, 0, 0, 0, 0, 0};
  ::GetScrollInfo(m_hWnd, SB_CTL, &si);
  return std::max(si.nMin, si.nMax - std::max<int>(static_cast<int>(si.nPage) - 1, 0));
}

// ---- Application ----------------------------------------------------------------------------

CWinApp* AfxGetApp() {
  static CWinApp app;
  return &app;
}

CWnd* AfxGetMainWnd() {
  static HWND main = nullptr;
  if (!isLive(main)) main = ::CreateWindowEx(0, L"KvHostFrame", L"kvhost", WS_OVERLAPPEDWINDOW, 0, 0, 1024, 740, nullptr, nullptr, nullptr, nullptr);
  return CWnd::FromHandle(main);
}
LPCTSTR AfxGetAppName() { return AfxGetApp()->m_pszAppName; }
HINSTANCE AfxGetInstanceHandle() { return nullptr; }
HINSTANCE AfxGetResourceHandle() { return nullptr; }
BOOL AfxRegisterClass(WNDCLASS* wc) {
  WNDCLASS existing;
  if (wc && wc->lpszClassName && ::GetClassInfo(nullptr, wc->lpszClassName, &existing)) return TRUE;
  return ::RegisterClass(wc);
}
LPCTSTR AfxRegisterWndClass(UINT classStyle, HCURSOR cursor, HBRUSH background, HICON) {
  static std::vector<std::unique_ptr<std::wstring>> names;
  CString name;
  name.Format(L"Afx:%x:%p:%p", classStyle, static_cast<void*>(cursor), static_cast<void*>(background));
  for (auto& n : names)
    if (*n == name.str()) return n->c_str();
  names.push_back(std::make_unique<std::wstring>(name.str()));
  WNDCLASS wc{};
  wc.style = classStyle;
  wc.lpfnWndProc = ::DefWindowProc;
  wc.hCursor = cursor;
  wc.hbrBackground = background;
  wc.lpszClassName = names.back()->c_str();
  ::RegisterClass(&wc);
  return names.back()->c_str();
}
HWND adsw_acadMainWnd() { return AfxGetMainWnd()->m_hWnd; }
CWnd* acedGetAcadFrame() { return AfxGetMainWnd(); }
