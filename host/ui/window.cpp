// Window handles: classes, creation and destruction, the message path, the tree, geometry,
// focus, capture, timers, posted messages and the modal stack.
#include <algorithm>
#include <cstdio>
#include <deque>
#include <iostream>
#include <set>
#include <unordered_set>

#include "inputqueue.h"
#include "impl.h"

using namespace kvui::detail;

namespace {

struct Timer {
  HWND hwnd;
  UINT_PTR id;
  UINT interval;
  std::uint64_t due;
};

struct WindowingState {
  std::unordered_set<HWND> live;
  std::map<std::wstring, std::unique_ptr<WindowClass>> classes;
  HWND focus = nullptr;
  HWND capture = nullptr;
  HWND lastActive = nullptr;
  HWND locked = nullptr;
  bool lockedDirty = false;
  std::vector<HWND> modal;
  std::deque<MSG> posted;
  std::vector<Timer> timers;
  CWnd* pendingAttach = nullptr;
  std::vector<MSG> current;  // messages being handled, innermost last
};

WindowingState& state() {
  static WindowingState s;
  return s;
}

std::wstring lower(std::wstring s) {
  for (auto& c : s) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return s;
}

LRESULT controlThunk(HWND h, UINT msg, WPARAM w, LPARAM l) {
  return h->control ? h->control->proc(h, msg, w, l) : ::DefWindowProc(h, msg, w, l);
}

void registerBuiltin(const wchar_t* name, ControlFactory f, UINT style) {
  auto c = std::make_unique<WindowClass>();
  c->name = name;
  c->factory = f;
  c->style = style;
  state().classes[lower(name)] = std::move(c);
}

void registerBuiltins() {
  static bool done = false;
  if (done) return;
  done = true;
  registerBuiltin(L"Button", makeButton, CS_DBLCLKS);
  registerBuiltin(L"Static", makeStatic, 0);
  registerBuiltin(L"Edit", makeEdit, CS_DBLCLKS);
  registerBuiltin(L"ComboBox", makeComboBox, CS_DBLCLKS);
  registerBuiltin(L"ComboLBox", makeListBox, CS_DBLCLKS | CS_SAVEBITS);
  registerBuiltin(L"ListBox", makeListBox, CS_DBLCLKS);
  registerBuiltin(L"SysTreeView32", makeTree, CS_DBLCLKS);
  registerBuiltin(L"ScrollBar", makeScrollBar, CS_DBLCLKS);
  registerBuiltin(L"#32770", makeDialogProc, CS_DBLCLKS | CS_SAVEBITS);
  auto plain = std::make_unique<WindowClass>();
  plain->name = L"KvHostFrame";
  plain->proc = ::DefWindowProc;
  state().classes[lower(plain->name)] = std::move(plain);
}

void unlinkFromParent(HWND h) {
  if (!h->parent) return;
  auto& v = h->parent->children;
  v.erase(std::remove(v.begin(), v.end(), h), v.end());
}

bool inSubtree(HWND h, HWND root) {
  for (HWND p = h; p; p = p->parent)
    if (p == root) return true;
  return false;
}

void sendDestroyMessages(HWND h) {
  SendMessage(h, WM_DESTROY, 0, 0);
  auto kids = h->children;
  for (HWND c : kids)
    if (isLive(c)) sendDestroyMessages(c);
}

struct CWndDetach {
  static void detach(HWND h) {
    CWnd* w = h->attached;
    h->attached = nullptr;
    if (w) {
      w->m_hWnd = nullptr;
      w->PostNcDestroy();
    }
  }
};

void finalDestroy(HWND h) {
  auto kids = h->children;
  for (HWND c : kids)
    if (isLive(c)) finalDestroy(c);
  SendMessage(h, WM_NCDESTROY, 0, 0);
  unlinkFromParent(h);
  state().live.erase(h);
  CWndDetach::detach(h);
  if (h->wrapper) h->wrapper->m_hWnd = nullptr;
  delete h;
}

void sendSizeAndMove(HWND h) {
  CRect c;
  GetClientRect(h, &c);
  SendMessage(h, WM_SIZE, SIZE_RESTORED, MAKELPARAM(c.Width(), c.Height()));
  CRect in = clientInsets(h);
  SendMessage(h, WM_MOVE, 0, MAKELPARAM(h->rect.left + in.left, h->rect.top + in.top));
}

}  // namespace

namespace kvui::detail {

bool isLive(HWND h) { return h && state().live.count(h) != 0; }

WindowClass* findClass(const std::wstring& name) {
  registerBuiltins();
  auto it = state().classes.find(lower(name));
  return it == state().classes.end() ? nullptr : it->second.get();
}

HWND topLevelOf(HWND h) {
  while (h && h->parent && (h->style & WS_CHILD)) h = h->parent;
  return h;
}

CRect clientInsets(HWND h) {
  CRect in(0, 0, 0, 0);
  int frame = 0;
  if (h->style & WS_THICKFRAME) frame = GetSystemMetrics(SM_CXFRAME);
  else if ((h->style & WS_DLGFRAME) || (h->exStyle & WS_EX_DLGMODALFRAME) || ((h->style & DS_MODALFRAME) && !(h->style & WS_CHILD)))
    frame = GetSystemMetrics(SM_CXDLGFRAME);
  else if (h->style & WS_BORDER) frame = 1;
  if (h->exStyle & WS_EX_CLIENTEDGE) frame += 2;
  else if (h->exStyle & WS_EX_STATICEDGE) frame += 1;
  in.SetRect(frame, frame, frame, frame);
  if ((h->style & WS_CAPTION) == WS_CAPTION) in.top += GetSystemMetrics(SM_CYCAPTION);
  if (h->style & WS_VSCROLL) in.right += GetSystemMetrics(SM_CXVSCROLL);
  if (h->style & WS_HSCROLL) in.bottom += GetSystemMetrics(SM_CYHSCROLL);
  return in;  // left/top/right/bottom hold the widths of each side
}

CRect windowRectInTop(HWND h) {
  CRect r(0, 0, h->rect.Width(), h->rect.Height());
  for (HWND c = h; c && c->parent && (c->style & WS_CHILD); c = c->parent) {
    CRect in = clientInsets(c->parent);
    r.OffsetRect(c->rect.left + in.left, c->rect.top + in.top);
  }
  return r;
}

CRect clientRectInTop(HWND h) {
  CRect w = windowRectInTop(h);
  CRect in = clientInsets(h);
  CRect c(w.left + in.left, w.top + in.top, w.right - in.right, w.bottom - in.bottom);
  if (c.right < c.left) c.right = c.left;
  if (c.bottom < c.top) c.bottom = c.top;
  return c;
}

LRESULT callDefault(HWND h, UINT msg, WPARAM w, LPARAM l) {
  if (!isLive(h)) return 0;
  WNDPROC p = h->proc ? h->proc : ::DefWindowProc;
  return p(h, msg, w, l);
}

void notifyParent(HWND control, UINT code) {
  HWND parent = control->parent;
  if (!isLive(parent)) return;
  SendMessage(parent, WM_COMMAND, MAKEWPARAM(control->id, code), reinterpret_cast<LPARAM>(control));
}

LRESULT sendNotify(HWND control, NMHDR* header) {
  header->hwndFrom = control;
  header->idFrom = static_cast<UINT_PTR>(control->id);
  HWND parent = control->parent ? control->parent : control->owner;
  if (!isLive(parent)) return 0;
  return SendMessage(parent, WM_NOTIFY, static_cast<WPARAM>(control->id), reinterpret_cast<LPARAM>(header));
}

HWND activeWindow() {
  auto& s = state();
  for (auto it = s.modal.rbegin(); it != s.modal.rend(); ++it)
    if (isLive(*it)) return *it;
  if (isLive(s.lastActive)) return s.lastActive;
  return nullptr;
}

std::vector<HWND> topLevelWindows() {
  std::vector<HWND> out;
  for (HWND h : state().live)
    if (!(h->style & WS_CHILD) || !h->parent) out.push_back(h);
  return out;
}

void pushModal(HWND h) { state().modal.push_back(h); }
void popModal(HWND h) {
  auto& m = state().modal;
  auto it = std::find(m.rbegin(), m.rend(), h);
  if (it != m.rend()) m.erase(std::next(it).base());
}

void killTimers(HWND h) {
  auto& t = state().timers;
  t.erase(std::remove_if(t.begin(), t.end(), [h](const Timer& x) { return x.hwnd == h; }), t.end());
}

void dropPosted(HWND h) {
  auto& q = state().posted;
  q.erase(std::remove_if(q.begin(), q.end(), [h](const MSG& m) { return m.hwnd == h; }), q.end());
}

// Posted messages first, as the platform's queue hands them out before timers.
void firePending() {
  auto& s = state();
  std::size_t guard = 0;
  while (!s.posted.empty()) {
    MSG m = s.posted.front();
    s.posted.pop_front();
    if (isLive(m.hwnd)) {
      bool eaten = false;
      if (m.message >= WM_KEYDOWN && m.message <= WM_SYSCHAR) {
        for (HWND p = m.hwnd; p && !eaten; p = (p->style & WS_CHILD) ? p->parent : nullptr) {
          CWnd* pw = CWnd::FromHandlePermanent(p);
          if (pw && pw->PreTranslateMessage(&m)) eaten = true;
        }
      }
      if (!eaten && isLive(m.hwnd)) SendMessage(m.hwnd, m.message, m.wParam, m.lParam);
    }
    if (++guard > 100000) {
      inputWarning("windowing", "posted messages keep coming back; dropping the rest");
      s.posted.clear();
    }
  }
  auto now = kvinput::InputQueue::instance().clockMs();
  for (;;) {
    auto it = std::min_element(s.timers.begin(), s.timers.end(), [](const Timer& a, const Timer& b) { return a.due < b.due; });
    if (it == s.timers.end() || it->due > now) break;
    Timer t = *it;
    it->due = now + std::max<UINT>(t.interval, 10);
    SendMessage(t.hwnd, WM_TIMER, t.id, 0);
  }
}

// Timers fire at their own due times on the way, each seeing the clock at its moment.
void advanceTime(std::uint64_t ms) {
  auto& q = kvinput::InputQueue::instance();
  std::uint64_t target = q.clockMs() + ms;
  auto& s = state();
  for (;;) {
    firePending();
    auto it = std::min_element(s.timers.begin(), s.timers.end(), [](const Timer& a, const Timer& b) { return a.due < b.due; });
    if (it == s.timers.end() || it->due > target) break;
    if (it->due > q.clockMs()) q.advanceClock(it->due - q.clockMs());
    firePending();
  }
  if (target > q.clockMs()) q.advanceClock(target - q.clockMs());
  firePending();
}

void inputWarning(const std::string& source, const std::string& text) {
  std::cerr << (source.empty() ? std::string("input") : source) << ": " << text << std::endl;
}

}  // namespace kvui::detail

// ---- The message path ---------------------------------------------------------------------------

struct CWndAccess {
  static LRESULT dispatch(CWnd* w, HWND h, UINT msg, WPARAM wp, LPARAM lp) {
    auto& cur = state().current;
    cur.push_back(MSG{h, msg, wp, lp, 0, POINT{0, 0}});
    struct Pop {
      std::vector<MSG>& v;
      ~Pop() { v.pop_back(); }
    } pop{cur};
    return w->WindowProc(msg, wp, lp);
  }
  static const MSG* current() { return state().current.empty() ? nullptr : &state().current.back(); }
  static void setPending(CWnd* w) { state().pendingAttach = w; }
};

const MSG* CWnd::GetCurrentMessage() { return CWndAccess::current(); }
void kvuiSetPendingAttach(CWnd* w) { CWndAccess::setPending(w); }

LRESULT SendMessage(HWND h, UINT msg, WPARAM w, LPARAM l) {
  if (!isLive(h)) return 0;
  if (h->attached) return CWndAccess::dispatch(h->attached, h, msg, w, l);
  return callDefault(h, msg, w, l);
}

BOOL PostMessage(HWND h, UINT msg, WPARAM w, LPARAM l) {
  if (!isLive(h)) return FALSE;
  state().posted.push_back(MSG{h, msg, w, l, 0, POINT{0, 0}});
  return TRUE;
}

LRESULT CallWindowProc(WNDPROC proc, HWND h, UINT msg, WPARAM w, LPARAM l) {
  return proc ? proc(h, msg, w, l) : ::DefWindowProc(h, msg, w, l);
}

// ---- Classes -------------------------------------------------------------------------------------

BOOL RegisterClass(const WNDCLASS* wc) {
  registerBuiltins();
  if (!wc || !wc->lpszClassName || !*wc->lpszClassName) return FALSE;
  std::wstring key = lower(wc->lpszClassName);
  if (state().classes.count(key)) return FALSE;
  auto c = std::make_unique<WindowClass>();
  c->name = wc->lpszClassName;
  c->style = wc->style;
  c->proc = wc->lpfnWndProc ? wc->lpfnWndProc : ::DefWindowProc;
  c->background = wc->hbrBackground;
  c->cursor = wc->hCursor;
  state().classes[key] = std::move(c);
  return TRUE;
}

BOOL GetClassInfo(HINSTANCE, LPCTSTR className, WNDCLASS* out) {
  WindowClass* c = className ? findClass(className) : nullptr;
  if (!c) return FALSE;
  if (out) {
    *out = WNDCLASS{};
    out->style = c->style;
    out->lpfnWndProc = c->factory ? controlThunk : c->proc;
    out->hbrBackground = c->background;
    out->hCursor = c->cursor;
    out->lpszClassName = c->name.c_str();
  }
  return TRUE;
}

BOOL UnregisterClass(LPCTSTR className, HINSTANCE) {
  if (!className) return FALSE;
  WindowClass* c = findClass(className);
  if (!c || c->factory) return FALSE;
  for (HWND h : state().live)
    if (h->cls == c) return FALSE;
  state().classes.erase(lower(className));
  return TRUE;
}

// ---- Creation and destruction ---------------------------------------------------------------------

HWND CreateWindowEx(DWORD exStyle, LPCTSTR className, LPCTSTR title, DWORD style, int x, int y, int cx,
                    int cy, HWND parent, HMENU idOrMenu, HINSTANCE instance, LPVOID param) {
  CWnd* attach = state().pendingAttach;
  state().pendingAttach = nullptr;
  WindowClass* cls = className ? findClass(className) : nullptr;
  if (!cls) return nullptr;
  if ((style & WS_CHILD) && !isLive(parent)) return nullptr;
  HWND h = new HWND__;
  h->cls = cls;
  h->style = style;
  h->exStyle = exStyle;
  h->text = title ? title : L"";
  h->proc = cls->factory ? controlThunk : cls->proc;
  if (cls->factory) h->control = cls->factory();
  if (style & WS_CHILD) {
    h->parent = parent;
    h->id = static_cast<int>(reinterpret_cast<std::intptr_t>(idOrMenu));
    parent->children.push_back(h);
  } else {
    h->owner = isLive(parent) ? topLevelOf(parent) : nullptr;
  }
  h->rect = CRect(x, y, x + std::max(cx, 0), y + std::max(cy, 0));
  state().live.insert(h);
  if (attach) {
    attach->m_hWnd = h;
    h->attached = attach;
  }
  CREATESTRUCT cs{param, instance, idOrMenu, parent, cy, cx, y, x, static_cast<LONG>(style), title, className, exStyle};
  bool ok = SendMessage(h, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&cs)) != 0 && isLive(h);
  ok = ok && SendMessage(h, WM_CREATE, 0, reinterpret_cast<LPARAM>(&cs)) != -1 && isLive(h);
  if (!ok) {
    if (isLive(h)) DestroyWindow(h);
    return nullptr;
  }
  sendSizeAndMove(h);
  if (!isLive(h)) return nullptr;
  if (h->style & WS_VISIBLE) {
    if (!(h->style & WS_CHILD) && !(h->exStyle & WS_EX_TOOLWINDOW)) state().lastActive = h;
    invalidateAll(h);
  }
  return h;
}

BOOL DestroyWindow(HWND h) {
  if (!isLive(h)) return FALSE;
  if (h->destroying) return TRUE;
  h->destroying = true;
  auto& s = state();
  std::vector<HWND> owned;
  for (HWND o : s.live)
    if (o->owner == h && o != h) owned.push_back(o);
  for (HWND o : owned) DestroyWindow(o);
  if (h->parent && (h->style & WS_VISIBLE) && isLive(h->parent)) InvalidateRect(h->parent, &h->rect, TRUE);
  if (s.focus && inSubtree(s.focus, h)) {
    HWND f = s.focus;
    s.focus = nullptr;
    SendMessage(f, WM_KILLFOCUS, 0, 0);
  }
  if (s.capture && inSubtree(s.capture, h)) {
    HWND c = s.capture;
    s.capture = nullptr;
    SendMessage(c, WM_CAPTURECHANGED, 0, 0);
  }
  if (s.locked && inSubtree(s.locked, h)) s.locked = nullptr;
  std::function<void(HWND)> clean = [&](HWND w) {
    killTimers(w);
    dropPosted(w);
    for (HWND c : w->children) clean(c);
  };
  clean(h);
  sendDestroyMessages(h);
  if (isLive(h)) finalDestroy(h);
  if (s.lastActive == h) s.lastActive = nullptr;
  return TRUE;
}

HWND__::~HWND__() {
  if (screen) cairo_surface_destroy(screen);
}

BOOL IsWindow(HWND h) { return isLive(h); }

// ---- Tree -------------------------------------------------------------------------------------

HWND GetParent(HWND h) {
  if (!isLive(h)) return nullptr;
  return (h->style & WS_CHILD) ? h->parent : h->owner;
}

HWND GetWindow(HWND h, UINT cmd) {
  if (!isLive(h)) return nullptr;
  if (cmd == GW_CHILD) return h->children.empty() ? nullptr : h->children.front();
  if (cmd == GW_OWNER) return h->owner;
  if (!h->parent) return nullptr;
  auto& v = h->parent->children;
  auto it = std::find(v.begin(), v.end(), h);
  switch (cmd) {
    case GW_HWNDFIRST: return v.front();
    case GW_HWNDLAST: return v.back();
    case GW_HWNDNEXT: return (it == v.end() || it + 1 == v.end()) ? nullptr : *(it + 1);
    case GW_HWNDPREV: return (it == v.begin() || it == v.end()) ? nullptr : *(it - 1);
    default: return nullptr;
  }
}

HWND GetDlgItem(HWND dialog, int id) {
  if (!isLive(dialog)) return nullptr;
  for (HWND c : dialog->children)
    if (c->id == id) return c;
  return nullptr;
}

int GetDlgCtrlID(HWND h) { return isLive(h) ? h->id : 0; }

BOOL IsChild(HWND parent, HWND h) {
  if (!isLive(parent) || !isLive(h)) return FALSE;
  for (HWND p = h; p && (p->style & WS_CHILD); p = p->parent)
    if (p->parent == parent) return TRUE;
  return FALSE;
}

HWND GetDesktopWindow() { return nullptr; }

// ---- Focus, capture, activation --------------------------------------------------------------

HWND GetFocus() { return isLive(state().focus) ? state().focus : nullptr; }

HWND SetFocus(HWND h) {
  auto& s = state();
  if (h && !isLive(h)) return nullptr;
  HWND old = GetFocus();
  if (old == h) return old;
  s.focus = h;
  if (h) {
    HWND top = topLevelOf(h);
    if (top && top != h) top->lastFocus = h;
  }
  if (old) SendMessage(old, WM_KILLFOCUS, reinterpret_cast<WPARAM>(h), 0);
  if (h && s.focus == h && isLive(h)) SendMessage(h, WM_SETFOCUS, reinterpret_cast<WPARAM>(old), 0);
  return old;
}

HWND GetCapture() { return isLive(state().capture) ? state().capture : nullptr; }

HWND SetCapture(HWND h) {
  auto& s = state();
  HWND old = GetCapture();
  if (!isLive(h)) return old;
  s.capture = h;
  if (old && old != h) SendMessage(old, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(h));
  return old;
}

BOOL ReleaseCapture() {
  auto& s = state();
  HWND old = GetCapture();
  s.capture = nullptr;
  if (old) SendMessage(old, WM_CAPTURECHANGED, 0, 0);
  return TRUE;
}

HWND GetActiveWindow() { return activeWindow(); }
HWND SetActiveWindow(HWND h) {
  HWND old = activeWindow();
  if (isLive(h)) state().lastActive = topLevelOf(h);
  return old;
}
BOOL SetForegroundWindow(HWND h) { return SetActiveWindow(h) != nullptr || isLive(h); }
BOOL BringWindowToTop(HWND h) {
  if (!isLive(h)) return FALSE;
  if (h->parent && (h->style & WS_CHILD)) {
    auto& v = h->parent->children;
    v.erase(std::remove(v.begin(), v.end(), h), v.end());
    v.insert(v.begin(), h);
    InvalidateRect(h, nullptr, TRUE);
  }
  return TRUE;
}

// ---- Visibility and enabling --------------------------------------------------------------------

BOOL IsWindowVisible(HWND h) {
  if (!isLive(h)) return FALSE;
  for (HWND p = h; p; p = (p->style & WS_CHILD) ? p->parent : nullptr)
    if (!(p->style & WS_VISIBLE)) return FALSE;
  return TRUE;
}

BOOL IsWindowEnabled(HWND h) { return isLive(h) && !(h->style & WS_DISABLED); }

BOOL EnableWindow(HWND h, BOOL enable) {
  if (!isLive(h)) return FALSE;
  BOOL wasDisabled = (h->style & WS_DISABLED) != 0;
  if (wasDisabled == !enable) return wasDisabled;
  if (enable) h->style &= ~WS_DISABLED;
  else h->style |= WS_DISABLED;
  if (!enable && GetFocus() && inSubtree(GetFocus(), h) && (h->style & WS_CHILD)) SetFocus(nullptr);
  SendMessage(h, WM_ENABLE, enable ? 1 : 0, 0);
  invalidateAll(h);
  return wasDisabled;
}

BOOL ShowWindow(HWND h, int cmd) {
  if (!isLive(h)) return FALSE;
  BOOL was = (h->style & WS_VISIBLE) != 0;
  bool show = cmd != SW_HIDE;
  if (was == show) return was;
  SendMessage(h, WM_SHOWWINDOW, show ? 1 : 0, 0);
  if (!isLive(h)) return was;
  if (show) h->style |= WS_VISIBLE;
  else h->style &= ~WS_VISIBLE;
  if (show) {
    bool activates = cmd != SW_SHOWNA && cmd != SW_SHOWNOACTIVATE && !(h->exStyle & WS_EX_TOOLWINDOW);
    if (!(h->style & WS_CHILD) && activates) state().lastActive = h;
    invalidateAll(h);
  } else {
    if (h->parent && (h->style & WS_CHILD)) InvalidateRect(h->parent, &h->rect, TRUE);
    if (GetFocus() && inSubtree(GetFocus(), h)) SetFocus(nullptr);
  }
  return was;
}

// ---- Geometry ---------------------------------------------------------------------------------

BOOL SetWindowPos(HWND h, HWND after, int x, int y, int cx, int cy, UINT flags) {
  if (!isLive(h)) return FALSE;
  CRect old = h->rect;
  CRect r = old;
  if (!(flags & SWP_NOMOVE)) r.MoveToXY(x, y);
  if (!(flags & SWP_NOSIZE)) {
    r.right = r.left + std::max(cx, 0);
    r.bottom = r.top + std::max(cy, 0);
  }
  if (!(flags & SWP_NOZORDER) && after == HWND_TOP) BringWindowToTop(h);
  if (flags & SWP_SHOWWINDOW) ShowWindow(h, SW_SHOWNA);
  if (flags & SWP_HIDEWINDOW) ShowWindow(h, SW_HIDE);
  bool moved = r.TopLeft() != old.TopLeft(), sized = r.Size() != old.Size();
  if (!moved && !sized && !(flags & SWP_FRAMECHANGED)) return TRUE;
  if (h->parent && (h->style & WS_CHILD) && !(flags & SWP_NOREDRAW)) InvalidateRect(h->parent, &old, TRUE);
  h->rect = r;
  if (!(flags & SWP_NOREDRAW)) invalidateAll(h);
  if (sized || (flags & SWP_FRAMECHANGED)) {
    CRect c;
    GetClientRect(h, &c);
    SendMessage(h, WM_SIZE, SIZE_RESTORED, MAKELPARAM(c.Width(), c.Height()));
  }
  if (moved && isLive(h)) {
    CRect in = clientInsets(h);
    SendMessage(h, WM_MOVE, 0, MAKELPARAM(h->rect.left + in.left, h->rect.top + in.top));
  }
  return TRUE;
}

BOOL MoveWindow(HWND h, int x, int y, int cx, int cy, BOOL repaint) {
  return SetWindowPos(h, nullptr, x, y, cx, cy, SWP_NOZORDER | SWP_NOACTIVATE | (repaint ? 0 : SWP_NOREDRAW));
}

static POINT screenOfTop(HWND h) {
  HWND top = topLevelOf(h);
  return POINT{top->rect.left, top->rect.top};
}

BOOL GetWindowRect(HWND h, LPRECT r) {
  if (!isLive(h) || !r) return FALSE;
  CRect w = windowRectInTop(h);
  POINT o = screenOfTop(h);
  w.OffsetRect(o.x, o.y);
  *r = w;
  return TRUE;
}

BOOL GetClientRect(HWND h, LPRECT r) {
  if (!isLive(h) || !r) return FALSE;
  CRect c = clientRectInTop(h);
  *r = RECT{0, 0, c.Width(), c.Height()};
  return TRUE;
}

BOOL ClientToScreen(HWND h, LPPOINT p) {
  if (!isLive(h) || !p) return FALSE;
  CRect c = clientRectInTop(h);
  POINT o = screenOfTop(h);
  p->x += c.left + o.x;
  p->y += c.top + o.y;
  return TRUE;
}

BOOL ScreenToClient(HWND h, LPPOINT p) {
  if (!isLive(h) || !p) return FALSE;
  CRect c = clientRectInTop(h);
  POINT o = screenOfTop(h);
  p->x -= c.left + o.x;
  p->y -= c.top + o.y;
  return TRUE;
}

int MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count) {
  POINT a{0, 0}, b{0, 0};
  if (from) ClientToScreen(from, &a);
  if (to) ClientToScreen(to, &b);
  for (UINT i = 0; i < count; ++i) {
    points[i].x += a.x - b.x;
    points[i].y += a.y - b.y;
  }
  return MAKELONG(a.x - b.x, a.y - b.y);
}

// The deepest visible window under a client point; disabled children give way to their parent.
HWND ChildWindowFromPoint(HWND parent, POINT client) {
  if (!isLive(parent)) return nullptr;
  for (HWND c : parent->children) {
    if (!(c->style & WS_VISIBLE) || !c->rect.PtInRect(client)) continue;
    return c;
  }
  return parent;
}

HWND WindowFromPoint(POINT screen) {
  HWND top = activeWindow();
  std::vector<HWND> candidates;
  for (HWND h : topLevelWindows())
    if ((h->style & WS_VISIBLE) && h != top) candidates.push_back(h);
  if (top) candidates.insert(candidates.begin(), top);
  // Drop-down lists and other pop-ups owned by the active window lie above it.
  std::stable_sort(candidates.begin(), candidates.end(), [top](HWND a, HWND b) {
    return (a->owner == top && a != top) > (b->owner == top && b != top);
  });
  for (HWND h : candidates) {
    if (!(h->style & WS_VISIBLE) && h != top) continue;
    if (!CRect(h->rect).PtInRect(screen)) continue;
    HWND cur = h;
    for (;;) {
      POINT p = screen;
      ScreenToClient(cur, &p);
      HWND next = nullptr;
      for (HWND c : cur->children)
        if ((c->style & WS_VISIBLE) && c->rect.PtInRect(p)) { next = c; break; }
      if (!next) break;
      if (next->style & WS_DISABLED) break;
      cur = next;
    }
    return cur;
  }
  return nullptr;
}

// ---- Window data ----------------------------------------------------------------------------

LONG_PTR GetWindowLongPtr(HWND h, int index) {
  if (!isLive(h)) return 0;
  switch (index) {
    case GWL_STYLE: return static_cast<LONG_PTR>(h->style);
    case GWL_EXSTYLE: return static_cast<LONG_PTR>(h->exStyle);
    case GWL_ID: return h->id;
    case GWLP_USERDATA: return h->userData;
    case GWLP_WNDPROC: return reinterpret_cast<LONG_PTR>(h->proc);
    default: return 0;
  }
}

LONG_PTR SetWindowLongPtr(HWND h, int index, LONG_PTR value) {
  if (!isLive(h)) return 0;
  LONG_PTR old = GetWindowLongPtr(h, index);
  switch (index) {
    case GWL_STYLE: h->style = static_cast<DWORD>(value); break;
    case GWL_EXSTYLE: h->exStyle = static_cast<DWORD>(value); break;
    case GWL_ID: h->id = static_cast<int>(value); break;
    case GWLP_USERDATA: h->userData = value; break;
    case GWLP_WNDPROC: h->proc = value ? reinterpret_cast<WNDPROC>(value) : ::DefWindowProc; break;
    default: return 0;
  }
  return old;
}

LONG GetWindowLong(HWND h, int index) { return static_cast<LONG>(GetWindowLongPtr(h, index)); }
LONG SetWindowLong(HWND h, int index, LONG value) {
  return static_cast<LONG>(SetWindowLongPtr(h, index, index == GWL_STYLE || index == GWL_EXSTYLE ? static_cast<LONG_PTR>(static_cast<DWORD>(value)) : value));
}

BOOL SetWindowText(HWND h, LPCTSTR text) {
  return static_cast<BOOL>(SendMessage(h, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text ? text : L"")));
}
int GetWindowText(HWND h, LPTSTR buffer, int max) {
  return static_cast<int>(SendMessage(h, WM_GETTEXT, static_cast<WPARAM>(max), reinterpret_cast<LPARAM>(buffer)));
}
int GetWindowTextLength(HWND h) { return static_cast<int>(SendMessage(h, WM_GETTEXTLENGTH, 0, 0)); }
int GetClassName(HWND h, LPTSTR buffer, int max) {
  if (!isLive(h) || !buffer || max <= 0) return 0;
  std::wstring n = h->cls->name.substr(0, static_cast<std::size_t>(max - 1));
  std::wcscpy(buffer, n.c_str());
  return static_cast<int>(n.size());
}

// ---- Timers ---------------------------------------------------------------------------------

UINT_PTR SetTimer(HWND h, UINT_PTR id, UINT elapseMs, void*) {
  if (!isLive(h)) return 0;
  auto& t = state().timers;
  auto now = kvinput::InputQueue::instance().clockMs();
  UINT interval = std::max<UINT>(elapseMs, 10);
  for (auto& x : t)
    if (x.hwnd == h && x.id == id) { x.interval = interval; x.due = now + interval; return id; }
  t.push_back(Timer{h, id, interval, now + interval});
  return id;
}

BOOL KillTimer(HWND h, UINT_PTR id) {
  auto& t = state().timers;
  auto before = t.size();
  t.erase(std::remove_if(t.begin(), t.end(), [&](const Timer& x) { return x.hwnd == h && x.id == id; }), t.end());
  return before != t.size();
}

// ---- The system's default procedure --------------------------------------------------------------

namespace {

LRESULT defaultCtlColor(UINT msg, WPARAM w) {
  HDC dc = reinterpret_cast<HDC>(w);
  bool windowish = msg == WM_CTLCOLOREDIT || msg == WM_CTLCOLORLISTBOX;
  if (isDc(dc)) {
    SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
    SetBkColor(dc, GetSysColor(windowish ? COLOR_WINDOW : COLOR_3DFACE));
  }
  return reinterpret_cast<LRESULT>(GetSysColorBrush(windowish ? COLOR_WINDOW : COLOR_3DFACE));
}

LRESULT eraseWithClassBrush(HWND h, HDC dc) {
  HBRUSH b = h->cls->background;
  if (!b) return 0;
  auto idx = reinterpret_cast<ULONG_PTR>(b);
  if (idx > 0 && idx <= 31) b = GetSysColorBrush(static_cast<int>(idx - 1));
  CRect c;
  GetClientRect(h, &c);
  FillRect(dc, &c, b);
  return 1;
}

}  // namespace

LRESULT DefWindowProc(HWND h, UINT msg, WPARAM w, LPARAM l) {
  if (!isLive(h)) return 0;
  switch (msg) {
    case WM_NCCREATE: return TRUE;
    case WM_SETTEXT: {
      h->text = l ? reinterpret_cast<LPCTSTR>(l) : L"";
      invalidateAll(h);
      return TRUE;
    }
    case WM_GETTEXT: {
      auto* buf = reinterpret_cast<LPTSTR>(l);
      if (!buf || w == 0) return 0;
      std::size_t n = std::min<std::size_t>(h->text.size(), w - 1);
      std::wmemcpy(buf, h->text.data(), n);
      buf[n] = 0;
      return static_cast<LRESULT>(n);
    }
    case WM_GETTEXTLENGTH: return static_cast<LRESULT>(h->text.size());
    case WM_SETFONT:
      h->font = reinterpret_cast<HFONT>(w);
      if (LOWORD(l)) InvalidateRect(h, nullptr, TRUE);
      return 0;
    case WM_GETFONT: return reinterpret_cast<LRESULT>(h->font);
    case WM_PAINT: {
      PAINTSTRUCT ps;
      BeginPaint(h, &ps);
      EndPaint(h, &ps);
      return 0;
    }
    case WM_NCPAINT: {
      HDC dc = windowDc(h, false, false);
      paintNonClient(h, dc);
      releaseWindowDc(dc);
      return 0;
    }
    case WM_ERASEBKGND: return eraseWithClassBrush(h, reinterpret_cast<HDC>(w));
    case WM_CLOSE: DestroyWindow(h); return 0;
    case WM_MOUSEWHEEL:
    case WM_CONTEXTMENU:
      if ((h->style & WS_CHILD) && isLive(h->parent)) return SendMessage(h->parent, msg, w, l);
      return 0;
    case WM_SETCURSOR:
      if ((h->style & WS_CHILD) && isLive(h->parent) && SendMessage(h->parent, msg, w, l)) return TRUE;
      return FALSE;
    case WM_CTLCOLOREDIT: case WM_CTLCOLORLISTBOX: case WM_CTLCOLORBTN: case WM_CTLCOLORDLG:
    case WM_CTLCOLORSCROLLBAR: case WM_CTLCOLORSTATIC:
      return defaultCtlColor(msg, w);
    case WM_SETICON: {
      HICON& slot = w ? h->iconBig : h->iconSmall;
      HICON old = slot;
      slot = reinterpret_cast<HICON>(l);
      invalidateAll(h);
      return reinterpret_cast<LRESULT>(old);
    }
    case WM_GETICON: return reinterpret_cast<LRESULT>(w ? h->iconBig : h->iconSmall);
    case WM_SETREDRAW:
      h->redrawOff = w == 0;
      return 0;
    case WM_NCHITTEST: return 1;
    case WM_CANCELMODE:
      if (GetCapture() == h) ReleaseCapture();
      return 0;
    default: return 0;
  }
}

// ---- Kept for between-test resets ----------------------------------------------------------------

namespace kvui {

void ResetWindowingState() {
  auto& s = state();
  for (;;) {
    auto tops = topLevelWindows();
    if (tops.empty()) break;
    DestroyWindow(tops.front());
  }
  s.posted.clear();
  s.timers.clear();
  s.focus = s.capture = s.lastActive = s.locked = nullptr;
  s.modal.clear();
}

void PumpMessages() {
  firePending();
  for (HWND h : topLevelWindows()) paintNow(h);
}

}  // namespace kvui

// LockWindowUpdate: invalidation inside the locked window is held back and given at unlock.
BOOL LockWindowUpdate(HWND h) {
  auto& s = state();
  if (h) {
    if (s.locked && s.locked != h) return FALSE;
    s.locked = h;
    s.lockedDirty = false;
    return TRUE;
  }
  HWND was = s.locked;
  s.locked = nullptr;
  if (isLive(was) && s.lockedDirty) invalidateAll(was);
  return TRUE;
}

bool kvuiHeldByLock(HWND h) {
  auto& s = state();
  if (!isLive(s.locked) || !inSubtree(h, s.locked)) return false;
  s.lockedDirty = true;
  return true;
}
