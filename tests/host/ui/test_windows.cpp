// Windows and messages: dispatch to handlers and reflection, subclassing, focus and capture,
// timers on the queue's clock, posted messages, destruction order, scroll bars, coordinates.
#include <string>
#include <vector>

#include "ui_fixture.h"

namespace {

// Records what reaches it, by message name.
class Recorder : public CWnd {
 public:
  std::vector<std::string>* log = nullptr;
  std::string name;
  void note(const std::string& what) {
    if (log) log->push_back(name + ":" + what);
  }
  void OnSetFocus(CWnd* old) override { note("setfocus"); CWnd::OnSetFocus(old); }
  void OnKillFocus(CWnd* next) override { note("killfocus"); CWnd::OnKillFocus(next); }
  void OnTimer(UINT_PTR id) override { note("timer" + std::to_string(id)); }
  void OnDestroy() override { note("destroy"); CWnd::OnDestroy(); }
  void OnNcDestroy() override { note("ncdestroy"); CWnd::OnNcDestroy(); }
  void OnCaptureChanged(CWnd* w) override { note("capturechanged"); CWnd::OnCaptureChanged(w); }
  void OnSize(UINT, int cx, int cy) override { note("size " + std::to_string(cx) + "x" + std::to_string(cy)); }
  LRESULT WindowProc(UINT msg, WPARAM w, LPARAM l) override {
    if (msg == WM_USER + 5) note("user " + std::to_string(w));
    return CWnd::WindowProc(msg, w, l);
  }
};

// A subclassed edit that swallows digits and lets everything else through to the edit itself.
class NoDigits : public CEdit {
 public:
  void OnChar(UINT ch, UINT repeat, UINT flags) override {
    if (ch >= '0' && ch <= '9') return;
    CEdit::OnChar(ch, repeat, flags);
  }
};

// A parent that sees notifications, and a child that takes reflected ones.
class Reflecting : public CButton {
 public:
  int reflected = 0;
  BOOL OnChildNotify(UINT msg, WPARAM w, LPARAM, LRESULT*) override {
    if (msg == WM_COMMAND && HIWORD(w) == BN_CLICKED) { ++reflected; return TRUE; }
    return FALSE;
  }
};

class Parent : public CWnd {
 public:
  int commands = 0;
  BOOL OnCommand(WPARAM w, LPARAM l) override {
    if (CWnd::OnCommand(w, l)) return TRUE;
    ++commands;
    return TRUE;
  }
};

}  // namespace

TEST_F(UiTest, SubclassedChildSeesMessagesFirstAndPassesTheRestOn) {
  HWND frame = makeFrame(200, 100);
  HWND edit = CreateWindowEx(0, L"Edit", L"", WS_CHILD | WS_VISIBLE, 5, 5, 100, 20, frame, reinterpret_cast<HMENU>(1), nullptr, nullptr);
  NoDigits sub;
  ASSERT_TRUE(sub.SubclassWindow(edit));
  SetFocus(edit);
  queue("type a1b2c");
  kvui::DeliverQueuedInput();
  CString text;
  sub.GetWindowText(text);
  EXPECT_EQ(text, CString(L"abc"));
  EXPECT_EQ(CWnd::FromHandlePermanent(edit), &sub);
  sub.UnsubclassWindow();
  EXPECT_EQ(CWnd::FromHandlePermanent(edit), nullptr);
  queue("type 7");
  kvui::DeliverQueuedInput();
  GetWindowText(edit, text.GetBuffer(32), 32);
  text.ReleaseBuffer();
  EXPECT_EQ(text, CString(L"abc7"));
}

TEST_F(UiTest, NotificationsAreOfferedToTheChildBeforeTheParent) {
  Parent parent;
  ASSERT_TRUE(parent.CreateEx(0, L"KvHostFrame", L"P", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 100), nullptr, 0));
  Reflecting taker;
  ASSERT_TRUE(taker.Create(L"Take", WS_CHILD | WS_VISIBLE, CRect(0, 0, 60, 20), &parent, 10));
  CButton plain;
  ASSERT_TRUE(plain.Create(L"Plain", WS_CHILD | WS_VISIBLE, CRect(70, 0, 130, 20), &parent, 11));
  taker.SendMessage(BM_CLICK);
  plain.SendMessage(BM_CLICK);
  EXPECT_EQ(taker.reflected, 1);
  EXPECT_EQ(parent.commands, 1);
}

TEST_F(UiTest, FocusCaptureAndDestructionSendTheirMessagesInOrder) {
  std::vector<std::string> log;
  HWND frame = makeFrame(200, 100);
  Recorder a, b;
  a.log = b.log = &log;
  a.name = "a";
  b.name = "b";
  ASSERT_TRUE(a.Create(L"KvHostFrame", L"", WS_CHILD | WS_VISIBLE, CRect(0, 0, 50, 50), CWnd::FromHandle(frame), 1));
  ASSERT_TRUE(b.Create(L"KvHostFrame", L"", WS_CHILD | WS_VISIBLE, CRect(60, 0, 110, 50), &a, 2));
  log.clear();
  a.SetFocus();
  b.SetFocus();
  a.SetCapture();
  b.SetCapture();
  ReleaseCapture();
  a.DestroyWindow();
  std::vector<std::string> want = {"a:setfocus", "a:killfocus", "b:setfocus", "a:capturechanged", "b:capturechanged",
                                   "b:killfocus", "a:destroy", "b:destroy", "b:ncdestroy", "a:ncdestroy"};
  EXPECT_EQ(log, want);
  EXPECT_EQ(a.m_hWnd, nullptr);
  EXPECT_EQ(b.m_hWnd, nullptr);
  EXPECT_EQ(GetFocus(), nullptr);
}

TEST_F(UiTest, TimersFireFromTheQueueClockAndPostedMessagesKeepTheirOrder) {
  std::vector<std::string> log;
  HWND frame = makeFrame(100, 100);
  Recorder r;
  r.log = &log;
  r.name = "r";
  ASSERT_TRUE(r.Create(L"KvHostFrame", L"", WS_CHILD | WS_VISIBLE, CRect(0, 0, 10, 10), CWnd::FromHandle(frame), 1));
  log.clear();
  r.SetTimer(7, 25);
  r.SetTimer(8, 60);
  r.PostMessage(WM_USER + 5, 1);
  r.PostMessage(WM_USER + 5, 2);
  EXPECT_TRUE(log.empty()) << "nothing runs before the loop takes messages";
  queue("wait 24");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(log, (std::vector<std::string>{"r:user 1", "r:user 2"}));
  queue("wait 40");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(log, (std::vector<std::string>{"r:user 1", "r:user 2", "r:timer7", "r:timer7", "r:timer8"}));
  r.KillTimer(7);
  queue("wait 100");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(std::count(log.begin(), log.end(), "r:timer7"), 2);
  EXPECT_EQ(std::count(log.begin(), log.end(), "r:timer8"), 2);
}

TEST_F(UiTest, ScrollBarsAppearWhenTheRangeExceedsAPageAndShrinkTheClientArea) {
  std::vector<std::string> log;
  Recorder r;
  r.log = &log;
  r.name = "r";
  ASSERT_TRUE(r.CreateEx(0, L"KvHostFrame", L"", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 100), nullptr, 0));
  log.clear();
  SCROLLINFO si{sizeof(si), SIF_RANGE | SIF_PAGE, 0, 99, 50, 0, 0};
  r.SetScrollInfo(SB_VERT, &si);
  EXPECT_TRUE(r.GetStyle() & WS_VSCROLL);
  CRect c;
  r.GetClientRect(&c);
  EXPECT_EQ(c.Width(), 200 - GetSystemMetrics(SM_CXVSCROLL));
  EXPECT_EQ(log, (std::vector<std::string>{"r:size 184x100"}));
  EXPECT_EQ(r.SetScrollPos(SB_VERT, 80), 0);
  EXPECT_EQ(r.GetScrollPos(SB_VERT), 50) << "the position stops where the last page begins";
  si.nPage = 100;
  r.SetScrollInfo(SB_VERT, &si);
  EXPECT_FALSE(r.GetStyle() & WS_VSCROLL);
}

TEST_F(UiTest, CoordinatesMapBetweenNestedClientsAndTheScreen) {
  HWND frame = CreateWindowEx(0, L"KvHostFrame", L"F", WS_POPUP | WS_VISIBLE | WS_BORDER, 100, 50, 300, 200, nullptr, nullptr, nullptr, nullptr);
  HWND child = CreateWindowEx(WS_EX_CLIENTEDGE, L"KvHostFrame", L"", WS_CHILD | WS_VISIBLE, 10, 20, 100, 80, frame, nullptr, nullptr, nullptr);
  POINT p{0, 0};
  ClientToScreen(child, &p);
  EXPECT_EQ(p.x, 100 + 1 + 10 + 2);
  EXPECT_EQ(p.y, 50 + 1 + 20 + 2);
  ScreenToClient(frame, &p);
  EXPECT_EQ(p.x, 12);
  EXPECT_EQ(p.y, 22);
  EXPECT_EQ(WindowFromPoint(POINT{100 + 1 + 10 + 5, 50 + 1 + 20 + 5}), child);
  EnableWindow(child, FALSE);
  EXPECT_EQ(WindowFromPoint(POINT{100 + 1 + 10 + 5, 50 + 1 + 20 + 5}), frame) << "a disabled child gives way to its parent";
}

TEST_F(UiTest, StaleHandlesAreRefusedQuietly) {
  HWND frame = makeFrame(10, 10);
  DestroyWindow(frame);
  EXPECT_FALSE(IsWindow(frame));
  EXPECT_EQ(SendMessage(frame, WM_GETTEXTLENGTH), 0);
  EXPECT_FALSE(DestroyWindow(frame));
  EXPECT_EQ(GetDC(frame), nullptr);
  EXPECT_EQ(CreateWindowEx(0, L"NoSuchClass", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(UiTest, ClicksAndDragsOnAWindowScrollBarBecomeScrollMessages) {
  class Scroller : public CWnd {
   public:
    std::vector<std::pair<UINT, int>> got;
    void OnVScroll(UINT code, UINT pos, CScrollBar*) override { got.push_back({code, static_cast<int>(pos)}); }
  } w;
  ASSERT_TRUE(w.CreateEx(0, L"KvHostFrame", L"Scroll", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 100), nullptr, 0));
  SCROLLINFO si{sizeof(si), SIF_RANGE | SIF_PAGE, 0, 99, 10, 0, 0};
  w.SetScrollInfo(SB_VERT, &si);
  queue("click 190,5\nclick 190,95\nclick 190,60\ndrag 190,20 to 190,84");
  kvui::DeliverQueuedInput();
  std::vector<std::pair<UINT, int>> want = {
      {SB_LINEUP, 0},      {SB_ENDSCROLL, 0},    {SB_LINEDOWN, 0},      {SB_ENDSCROLL, 0},  {SB_PAGEDOWN, 0},
      {SB_ENDSCROLL, 0},   {SB_THUMBTRACK, 24},  {SB_THUMBTRACK, 48},   {SB_THUMBTRACK, 72}, {SB_THUMBTRACK, 90},
      {SB_THUMBPOSITION, 90}, {SB_ENDSCROLL, 0}};
  EXPECT_EQ(w.got, want);
}
