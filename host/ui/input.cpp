// Delivery of queued input: keys and typed text to the focus, mouse events at window points or
// on controls (with capture, drag detection and scroll-bar hits), waits that run timers, and the
// modal loop that pulls events until its dialog ends.
#include <algorithm>
#include <cmath>
#include <cwctype>
#include <map>
#include <stdexcept>

#include "impl.h"

using namespace kvui::detail;

namespace kvui::detail {
unsigned modifierState = 0;
POINT cursorScreen{0, 0};
}  // namespace kvui::detail

namespace {

bool buttonDown = false;
struct DragState {
  bool active = false;
  POINT start{0, 0}, end{0, 0};
} drag;

struct Scope {
  unsigned saved;
  explicit Scope(unsigned mods) : saved(modifierState) { modifierState = mods; }
  ~Scope() { modifierState = saved; }
};

int vkFromName(const std::string& name) {
  static const std::map<std::string, int> keys = {
      {"ENTER", VK_RETURN}, {"RETURN", VK_RETURN}, {"ESC", VK_ESCAPE}, {"ESCAPE", VK_ESCAPE}, {"TAB", VK_TAB},
      {"SPACE", VK_SPACE}, {"BACK", VK_BACK}, {"BACKSPACE", VK_BACK}, {"DELETE", VK_DELETE}, {"DEL", VK_DELETE},
      {"INSERT", VK_INSERT}, {"INS", VK_INSERT}, {"HOME", VK_HOME}, {"END", VK_END}, {"PRIOR", VK_PRIOR},
      {"PGUP", VK_PRIOR}, {"PAGEUP", VK_PRIOR}, {"NEXT", VK_NEXT}, {"PGDN", VK_NEXT}, {"PAGEDOWN", VK_NEXT},
      {"LEFT", VK_LEFT}, {"RIGHT", VK_RIGHT}, {"UP", VK_UP}, {"DOWN", VK_DOWN}, {"ADD", VK_ADD}, {"PLUS", VK_ADD},
      {"SUBTRACT", VK_SUBTRACT}, {"MINUS", VK_SUBTRACT}, {"MULTIPLY", VK_MULTIPLY}, {"DIVIDE", VK_DIVIDE},
  };
  std::string n = name;
  for (auto& c : n) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  auto it = keys.find(n);
  if (it != keys.end()) return it->second;
  if (n.size() == 1 && ((n[0] >= 'A' && n[0] <= 'Z') || (n[0] >= '0' && n[0] <= '9'))) return n[0];
  if (n.size() >= 2 && n[0] == 'F') {
    int f = std::atoi(n.c_str() + 1);
    if (f >= 1 && f <= 12) return VK_F1 + f - 1;
  }
  return 0;
}

// The character a key produces, 0 for none.
wchar_t charOfKey(int vk, unsigned mods) {
  bool ctrl = mods & kvinput::kCtrl, shift = mods & kvinput::kShift;
  if (vk >= 'A' && vk <= 'Z') return ctrl ? static_cast<wchar_t>(vk - 'A' + 1) : static_cast<wchar_t>(shift ? vk : vk + 32);
  if (ctrl) return 0;
  if (vk >= '0' && vk <= '9') return static_cast<wchar_t>(vk);
  switch (vk) {
    case VK_SPACE: return L' ';
    case VK_RETURN: return L'\r';
    case VK_ESCAPE: return 27;
    case VK_TAB: return L'\t';
    case VK_BACK: return 8;
    case VK_ADD: return L'+';
    case VK_SUBTRACT: return L'-';
    case VK_MULTIPLY: return L'*';
    case VK_DIVIDE: return L'/';
    default: return 0;
  }
}

HWND keyTarget() {
  HWND f = GetFocus();
  return f ? f : activeWindow();
}

void keyPress(int vk, unsigned mods) {
  Scope scope(mods);
  HWND target = keyTarget();
  if (!target) {
    inputWarning("input", "a key press with no window to take it");
    return;
  }
  bool alt = mods & kvinput::kAlt;
  LPARAM lp = 1 | (alt ? (1 << 29) : 0);
  bool eaten = dispatchInput(target, alt ? WM_SYSKEYDOWN : WM_KEYDOWN, static_cast<WPARAM>(vk), lp);
  wchar_t ch = charOfKey(vk, mods);
  if (!eaten && ch && isLive(target)) dispatchInput(target, alt ? WM_SYSCHAR : WM_CHAR, ch, lp);
  firePending();
  HWND up = keyTarget();
  if (up) dispatchInput(up, alt ? WM_SYSKEYUP : WM_KEYUP, static_cast<WPARAM>(vk), lp | (1u << 30) | (1u << 31));
  firePending();
}

void typeChar(wchar_t c) {
  if (c >= L'a' && c <= L'z') return keyPress(c - 32, kvinput::kNone);
  if ((c >= L'A' && c <= L'Z')) return keyPress(c, kvinput::kShift);
  if ((c >= L'0' && c <= L'9') || c == L' ') return keyPress(c == L' ' ? VK_SPACE : c, kvinput::kNone);
  HWND target = keyTarget();
  if (!target) return;
  dispatchInput(target, WM_CHAR, c, 1);
  firePending();
}

HWND resolveTop(const kvinput::Target& t, const std::string& source) {
  HWND top = t.window.empty() ? activeWindow() : kvui::FindTopLevelWindow(kvui::fromUtf8(t.window).c_str());
  if (!top) inputWarning(source, t.window.empty() ? "no window is open to take the event" : "no window titled \"" + t.window + "\"");
  return top;
}

// Screen point of a target: a client point of the active window, or a control with an optional
// point inside it (its centre otherwise).
bool resolvePoint(const kvinput::Target& t, const std::string& source, POINT& screen) {
  HWND top = resolveTop(t, source);
  if (!top) return false;
  HWND base = top;
  POINT p{t.x, t.y};
  if (t.hasControl) {
    base = kvuiFindControl(top, t.controlId);
    for (HWND o : topLevelWindows())
      if (!base && o->owner == top) base = kvuiFindControl(o, t.controlId);
    if (!base) {
      inputWarning(source, "no control #" + std::to_string(t.controlId) + " in the window");
      return false;
    }
    if (!t.hasPoint) {
      CRect c;
      GetClientRect(base, &c);
      p = c.CenterPoint();
    }
  } else if (!t.hasPoint) {
    CRect c;
    GetClientRect(top, &c);
    p = c.CenterPoint();
  }
  ClientToScreen(base, &p);
  screen = p;
  return true;
}

UINT mouseFlags(unsigned mods) {
  UINT f = 0;
  if (mods & kvinput::kCtrl) f |= MK_CONTROL;
  if (mods & kvinput::kShift) f |= MK_SHIFT;
  if (buttonDown) f |= MK_LBUTTON;
  return f;
}

// Whether input may reach h while a modal window runs: only that window and what it owns.
bool reachable(HWND h) {
  HWND active = activeWindow();
  if (!active) return true;
  HWND top = topLevelOf(h);
  return top == active || top->owner == active || IsChild(active, h);
}

bool scrollBarHit(HWND h, POINT screen, UINT msg) {
  if (msg != WM_LBUTTONDOWN && msg != WM_LBUTTONDBLCLK) return false;
  CRect w;
  GetWindowRect(h, &w);
  POINT local{screen.x - w.left, screen.y - w.top};
  for (int bar : {SB_VERT, SB_HORZ}) {
    RECT r;
    if (!windowScrollBarRect(h, bar, &r) || !PtInRect(&r, local)) continue;
    UINT part = scrollBarPart(r, bar == SB_VERT, h->scroll[bar], local);
    if (part == SB_ENDSCROLL) return true;
    UINT sm = bar == SB_VERT ? WM_VSCROLL : WM_HSCROLL;
    if (part == SB_THUMBTRACK) part = SB_THUMBPOSITION;
    SendMessage(h, sm, MAKEWPARAM(part, part == SB_THUMBPOSITION ? h->scroll[bar].info.nPos : 0), 0);
    SendMessage(h, sm, MAKEWPARAM(SB_ENDSCROLL, 0), 0);
    return true;
  }
  return false;
}

void mouseAt(POINT screen, UINT msg, unsigned mods, const std::string& source) {
  Scope scope(mods);
  HWND target = GetCapture();
  if (!target) target = WindowFromPoint(screen);
  if (!target) {
    inputWarning(source, "the point lies outside every window");
    return;
  }
  if (!reachable(target) && !GetCapture()) {
    inputWarning(source, "the window is disabled while a dialog runs");
    return;
  }
  if (!GetCapture() && scrollBarHit(target, screen, msg)) return;
  POINT p = screen;
  ScreenToClient(target, &p);
  cursorScreen = screen;
  if (msg == WM_LBUTTONDOWN || msg == WM_LBUTTONDBLCLK) buttonDown = true;
  if (msg == WM_LBUTTONUP) buttonDown = false;
  UINT flags = mouseFlags(mods);
  if (msg == WM_RBUTTONDOWN) flags |= MK_RBUTTON;
  dispatchInput(target, msg, flags, MAKELPARAM(p.x, p.y));
  firePending();
}

void moveTo(POINT screen, unsigned mods, const std::string& source) {
  if (screen.x == cursorScreen.x && screen.y == cursorScreen.y) return;
  mouseAt(screen, WM_MOUSEMOVE, mods, source);
}

bool hasDoubleClicks(POINT screen) {
  HWND t = GetCapture() ? GetCapture() : WindowFromPoint(screen);
  return t && (t->cls->style & CS_DBLCLKS);
}

void click(const kvinput::Event& e) {
  POINT s;
  if (!resolvePoint(e.target, e.source, s)) return;
  moveTo(s, e.modifiers, e.source);
  if (e.kind == kvinput::EventKind::RightClick) {
    mouseAt(s, WM_RBUTTONDOWN, e.modifiers, e.source);
    mouseAt(s, WM_RBUTTONUP, e.modifiers, e.source);
    return;
  }
  mouseAt(s, WM_LBUTTONDOWN, e.modifiers, e.source);
  mouseAt(s, WM_LBUTTONUP, e.modifiers, e.source);
  if (e.kind == kvinput::EventKind::DoubleClick) {
    mouseAt(s, hasDoubleClicks(s) ? WM_LBUTTONDBLCLK : WM_LBUTTONDOWN, e.modifiers, e.source);
    mouseAt(s, WM_LBUTTONUP, e.modifiers, e.source);
  }
}

// Where a point lies along a window scroll bar's track, as a scroll position, the thumb having
// been grabbed `grab` pixels from its start.
int trackPosition(const RECT& r, bool vertical, const ScrollBarState& sb, POINT local, int grab) {
  RECT thumb = scrollThumb(r, vertical, sb);
  int len = vertical ? r.bottom - r.top : r.right - r.left;
  int arrow = std::min(vertical ? GetSystemMetrics(SM_CYVSCROLL) : GetSystemMetrics(SM_CXHSCROLL), len / 2);
  int thumbLen = vertical ? thumb.bottom - thumb.top : thumb.right - thumb.left;
  int room = len - 2 * arrow - thumbLen;
  const SCROLLINFO& si = sb.info;
  int span = si.nMax - si.nMin + 1 - std::max<int>(static_cast<int>(si.nPage), 1);
  int at = (vertical ? local.y - r.top : local.x - r.left) - arrow - grab;
  if (room <= 0 || span <= 0) return si.nPos;
  return si.nMin + std::clamp(at, 0, room) * span / room;
}

// A drag that starts on a window scroll bar's thumb tracks it: SB_THUMBTRACK at each step,
// SB_THUMBPOSITION where it ends.
bool thumbDrag(POINT a, POINT b) {
  if (GetCapture()) return false;
  HWND h = WindowFromPoint(a);
  if (!h || !reachable(h)) return false;
  CRect w;
  GetWindowRect(h, &w);
  for (int bar : {SB_VERT, SB_HORZ}) {
    RECT r;
    POINT la{a.x - w.left, a.y - w.top};
    if (!windowScrollBarRect(h, bar, &r) || !PtInRect(&r, la)) continue;
    bool vertical = bar == SB_VERT;
    if (scrollBarPart(r, vertical, h->scroll[bar], la) != SB_THUMBTRACK) return false;
    RECT thumb = scrollThumb(r, vertical, h->scroll[bar]);
    int grab = vertical ? la.y - thumb.top : la.x - thumb.left;
    UINT sm = vertical ? WM_VSCROLL : WM_HSCROLL;
    const int steps = 4;
    int pos = h->scroll[bar].info.nPos;
    for (int i = 1; i <= steps && isLive(h); ++i) {
      POINT p{a.x + (b.x - a.x) * i / steps - w.left, a.y + (b.y - a.y) * i / steps - w.top};
      pos = trackPosition(r, vertical, h->scroll[bar], p, grab);
      h->scroll[bar].info.nTrackPos = pos;
      SendMessage(h, sm, MAKEWPARAM(SB_THUMBTRACK, pos), 0);
    }
    if (isLive(h)) SendMessage(h, sm, MAKEWPARAM(SB_THUMBPOSITION, pos), 0);
    if (isLive(h)) SendMessage(h, sm, MAKEWPARAM(SB_ENDSCROLL, 0), 0);
    return true;
  }
  return false;
}

void dragEvent(const kvinput::Event& e) {
  POINT a, b;
  if (!resolvePoint(e.target, e.source, a) || !resolvePoint(e.target2, e.source, b)) return;
  if (thumbDrag(a, b)) return;
  moveTo(a, e.modifiers, e.source);
  drag = DragState{true, a, b};
  mouseAt(a, WM_LBUTTONDOWN, e.modifiers, e.source);
  const int steps = 4;
  for (int i = 1; i <= steps; ++i) {
    POINT p{a.x + (b.x - a.x) * i / steps, a.y + (b.y - a.y) * i / steps};
    mouseAt(p, WM_MOUSEMOVE, e.modifiers, e.source);
  }
  mouseAt(b, WM_LBUTTONUP, e.modifiers, e.source);
  drag.active = false;
}

void wheel(const kvinput::Event& e) {
  POINT s = cursorScreen;
  bool hasTarget = e.target.hasPoint || e.target.hasControl;
  if (hasTarget && !resolvePoint(e.target, e.source, s)) return;
  HWND target = hasTarget ? WindowFromPoint(s) : GetFocus();
  if (!target) target = activeWindow();
  if (!target) return;
  Scope scope(e.modifiers);
  dispatchInput(target, WM_MOUSEWHEEL, MAKEWPARAM(mouseFlags(e.modifiers), e.amount * WHEEL_DELTA), MAKELPARAM(s.x, s.y));
  firePending();
}

}  // namespace

namespace kvui::detail {

bool dragInProgress(POINT screenStart) {
  (void)screenStart;
  return drag.active && (std::abs(drag.end.x - drag.start.x) > GetSystemMetrics(SM_CXDRAG) ||
                         std::abs(drag.end.y - drag.start.y) > GetSystemMetrics(SM_CYDRAG));
}

bool dispatchInput(HWND target, UINT msg, WPARAM w, LPARAM l) {
  MSG m{target, msg, w, l, 0, cursorScreen};
  bool eaten = false;
  HWND top = nullptr;
  for (HWND p = target; p; p = (p->style & WS_CHILD) ? p->parent : nullptr) {
    top = p;
    CWnd* cw = CWnd::FromHandlePermanent(p);
    if (cw && cw->PreTranslateMessage(&m)) {
      eaten = true;
      break;
    }
  }
  if (!eaten && top && top->isDialog && !top->attached && msg >= WM_KEYDOWN && msg <= WM_SYSCHAR)
    eaten = IsDialogMessage(top, &m);
  if (!eaten && isLive(target)) SendMessage(target, msg, w, l);
  return eaten;
}

void deliverEvent(const kvinput::Event& e) {
  using K = kvinput::EventKind;
  switch (e.kind) {
    case K::Key: {
      int vk = vkFromName(e.text);
      if (!vk) inputWarning(e.source, "unknown key \"" + e.text + "\"");
      else keyPress(vk, e.modifiers);
      break;
    }
    case K::Chars:
      for (wchar_t c : kvui::fromUtf8(e.text)) typeChar(c);
      break;
    case K::Enter: keyPress(VK_RETURN, kvinput::kNone); break;
    case K::Escape: keyPress(VK_ESCAPE, kvinput::kNone); break;
    case K::Text:
      for (wchar_t c : kvui::fromUtf8(e.text)) typeChar(c);
      keyPress(VK_RETURN, kvinput::kNone);
      break;
    case K::Click: case K::DoubleClick: case K::RightClick: click(e); break;
    case K::Drag: dragEvent(e); break;
    case K::Move: {
      POINT s;
      if (resolvePoint(e.target, e.source, s)) mouseAt(s, WM_MOUSEMOVE, e.modifiers, e.source);
      break;
    }
    case K::Wheel: wheel(e); break;
    case K::Wait:
      advanceTime(static_cast<std::uint64_t>(std::max(e.amount, 0)));
      kvui::PumpMessages();
      break;
    case K::MessageBox: inputWarning(e.source, "an answer for a message box, but none is open"); break;
    case K::FileDialog: inputWarning(e.source, "an answer for a file dialog, but none is open"); break;
    case K::PrintDialog: inputWarning(e.source, "an answer for a print dialog, but none is open"); break;
    case K::Point: inputWarning(e.source, "a picked point, but a dialog is open"); break;
    case K::Picture:
      // A picture that cannot be written is the session file's fault, not the dialog's: it is
      // reported like any other input that fits nothing, and the dialog goes on.
      if (HWND active = activeWindow()) {
        try {
          kvui::RenderWindowToPng(active, e.text);
        } catch (const std::runtime_error& error) {
          inputWarning(e.source, error.what());
        }
      } else {
        inputWarning(e.source, "a picture, but no window is open");
      }
      break;
  }
}

void runModalLoop(HWND dialog) {
  auto& q = kvinput::InputQueue::instance();
  firePending();
  while (isLive(dialog) && !dialog->dialogEnded) {
    std::optional<kvinput::Event> e = q.pop();
    if (!e) {
      SendMessage(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDCANCEL)));
      if (isLive(dialog) && !dialog->dialogEnded) EndDialog(dialog, IDCANCEL);
      break;
    }
    deliverEvent(*e);
    firePending();
  }
}

}  // namespace kvui::detail

short GetKeyState(int vk) {
  bool down = false;
  switch (vk) {
    case VK_CONTROL: case VK_LCONTROL: case VK_RCONTROL: down = modifierState & kvinput::kCtrl; break;
    case VK_SHIFT: case VK_LSHIFT: case VK_RSHIFT: down = modifierState & kvinput::kShift; break;
    case VK_MENU: down = modifierState & kvinput::kAlt; break;
    case VK_LBUTTON: down = buttonDown; break;
    default: break;
  }
  return down ? static_cast<short>(0x8000) : 0;
}
short GetAsyncKeyState(int vk) { return GetKeyState(vk); }

BOOL GetCursorPos(LPPOINT p) {
  if (!p) return FALSE;
  *p = cursorScreen;
  return TRUE;
}
BOOL SetCursorPos(int x, int y) {
  cursorScreen = POINT{x, y};
  return TRUE;
}

namespace {
RECT clipCursorRect{0, 0, 0, 0};
HCURSOR currentCursor = nullptr;
}  // namespace
BOOL ClipCursor(LPCRECT r) {
  clipCursorRect = r ? *r : RECT{0, 0, 0, 0};
  return TRUE;
}
BOOL GetClipCursor(LPRECT r) {
  if (!r) return FALSE;
  *r = IsRectEmpty(&clipCursorRect) ? RECT{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)} : clipCursorRect;
  return TRUE;
}
HCURSOR SetCursor(HCURSOR c) {
  HCURSOR old = currentCursor;
  currentCursor = c;
  return old;
}

// A drag is what the queued event says: a "drag" whose ends lie further apart than the
// drag threshold.
BOOL DragDetect(HWND, POINT screen) { return dragInProgress(screen); }

namespace kvui {

std::size_t DeliverQueuedInput(std::size_t maxEvents) {
  auto& q = kvinput::InputQueue::instance();
  std::size_t n = 0;
  firePending();
  while (n < maxEvents) {
    auto e = q.pop();
    if (!e) break;
    deliverEvent(*e);
    firePending();
    ++n;
  }
  return n;
}

HWND FindTopLevelWindow(LPCTSTR title) {
  if (!title) return nullptr;
  for (HWND h : topLevelWindows())
    if ((h->style & WS_VISIBLE) && h->text == title) return h;
  return nullptr;
}

}  // namespace kvui
