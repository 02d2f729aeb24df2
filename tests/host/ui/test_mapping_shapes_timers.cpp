// Mapping modes as printing uses them, filled shapes, frame controls, multiple selection,
// timers and posted messages of destroyed windows, tab stops, and registry deletions.
#include "ui_fixture.h"

namespace {

struct Surface {
  CDC dc;
  CBitmap bmp;
  Surface(int w, int h) {
    dc.CreateCompatibleDC(nullptr);
    bmp.CreateCompatibleBitmap(&dc, w, h);
    dc.SelectObject(&bmp);
    dc.FillSolidRect(0, 0, w, h, RGB(255, 255, 255));
  }
};

}  // namespace

TEST_F(UiTest, AnisotropicMappingScalesShapesTextAndReadsBack) {
  Surface s(200, 200);
  s.dc.SetMapMode(MM_ANISOTROPIC);
  s.dc.SetWindowExt(100, 100);
  s.dc.SetViewportExt(200, 200);
  CPoint p(10, 20);
  s.dc.LPtoDP(&p);
  EXPECT_EQ(p, CPoint(20, 40));
  s.dc.DPtoLP(&p);
  EXPECT_EQ(p, CPoint(10, 20));
  s.dc.FillSolidRect(10, 10, 5, 5, RGB(0, 0, 255));
  s.dc.SetMapMode(MM_TEXT);
  EXPECT_EQ(s.dc.GetPixel(29, 29), RGB(0, 0, 255));
  EXPECT_EQ(s.dc.GetPixel(30, 30), RGB(255, 255, 255));
  s.dc.SetMapMode(MM_ANISOTROPIC);
  s.dc.SetWindowExt(1, 1);
  s.dc.SetViewportExt(2, 2);
  CSize doubled = s.dc.GetTextExtent(CString(L"XXXXXXXXXXXX"));
  s.dc.SetMapMode(MM_TEXT);
  CSize plain = s.dc.GetTextExtent(CString(L"XXXXXXXXXXXX"));
  EXPECT_NEAR(doubled.cx, plain.cx, plain.cx / 10) << "logical extents stay put (hinting aside) while the device doubles";
  CRect box;
  s.dc.SetMapMode(MM_ANISOTROPIC);
  s.dc.SetWindowExt(1, 1);
  s.dc.SetViewportExt(2, 2);
  s.dc.GetClipBox(&box);
  EXPECT_EQ(box, CRect(0, 0, 100, 100));
}

TEST_F(UiTest, PolygonsAndEllipsesFillInsideTheirOutline) {
  Surface s(40, 40);
  CBrush green(RGB(0, 128, 0));
  CPen none(PS_NULL, 0, RGB(0, 0, 0));
  CGdiObject* ob = s.dc.SelectObject(static_cast<CGdiObject*>(&green));
  CGdiObject* op = s.dc.SelectObject(static_cast<CGdiObject*>(&none));
  POINT tri[] = {{0, 0}, {20, 0}, {0, 20}};
  s.dc.Polygon(tri, 3);
  s.dc.Ellipse(20, 20, 40, 40);
  EXPECT_EQ(s.dc.GetPixel(3, 3), RGB(0, 128, 0));
  EXPECT_EQ(s.dc.GetPixel(18, 18), RGB(255, 255, 255));
  EXPECT_EQ(s.dc.GetPixel(30, 30), RGB(0, 128, 0));
  EXPECT_EQ(s.dc.GetPixel(21, 21), RGB(255, 255, 255)) << "the corner lies outside the ellipse";
  s.dc.SelectObject(ob);
  s.dc.SelectObject(op);
}

TEST_F(UiTest, FrameControlsShowTheirStateAndTheComboArrow) {
  Surface s(60, 20);
  CRect unchecked(0, 0, 13, 13), checked(20, 0, 33, 13), arrow(40, 0, 56, 16);
  s.dc.DrawFrameControl(&unchecked, DFC_BUTTON, DFCS_BUTTONCHECK);
  s.dc.DrawFrameControl(&checked, DFC_BUTTON, DFCS_BUTTONCHECK | DFCS_CHECKED);
  s.dc.DrawFrameControl(&arrow, DFC_SCROLL, DFCS_SCROLLCOMBOBOX);
  int inkUnchecked = 0, inkChecked = 0;
  for (int y = 3; y < 10; ++y)
    for (int x = 3; x < 10; ++x) {
      inkUnchecked += s.dc.GetPixel(x, y) == RGB(0, 0, 0);
      inkChecked += s.dc.GetPixel(20 + x, y) == RGB(0, 0, 0);
    }
  EXPECT_EQ(inkUnchecked, 0);
  EXPECT_GT(inkChecked, 10);
  EXPECT_EQ(s.dc.GetPixel(48, 8), RGB(0, 0, 0)) << "the arrow points down in the middle";
  EXPECT_EQ(s.dc.GetPixel(48, 3), GetSysColor(COLOR_3DFACE));
}

TEST_F(UiTest, ExtendedListsSelectSeveralWithCtrl) {
  CWnd owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Multi", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 200), nullptr, 0));
  CListBox list;
  ASSERT_TRUE(list.Create(WS_CHILD | WS_VISIBLE | LBS_EXTENDEDSEL, CRect(0, 0, 150, 150), &owner, 2));
  for (LPCTSTR s : {L"Room 101", L"Room 102", L"Room 103"}) list.AddString(s);
  int h = list.GetItemHeight(0);
  queue("click #2@5,2\nclick ctrl+#2@5," + std::to_string(2 * h + 2));
  kvui::DeliverQueuedInput();
  int items[3] = {};
  ASSERT_EQ(list.GetSelCount(), 2);
  list.GetSelItems(3, items);
  EXPECT_EQ(items[0], 0);
  EXPECT_EQ(items[1], 2);
  queue("click #2@5," + std::to_string(h + 2));
  kvui::DeliverQueuedInput();
  EXPECT_EQ(list.GetSelCount(), 1);
}

TEST_F(UiTest, DestroyedWindowsGetNoTimersOrPostedMessages) {
  class Counter : public CWnd {
   public:
    int* hits = nullptr;
    void OnTimer(UINT_PTR) override { ++*hits; }
    LRESULT WindowProc(UINT msg, WPARAM w, LPARAM l) override {
      if (msg == WM_APP) ++*hits;
      return CWnd::WindowProc(msg, w, l);
    }
  };
  int hits = 0;
  auto* c = new Counter;
  c->hits = &hits;
  ASSERT_TRUE(c->CreateEx(0, L"KvHostFrame", L"Gone", WS_POPUP, CRect(0, 0, 10, 10), nullptr, 0));
  c->SetTimer(1, 10);
  c->PostMessage(WM_APP);
  c->DestroyWindow();
  delete c;
  queue("wait 100");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(hits, 0);
}

TEST_F(UiTest, TabSkipsControlsThatAreHiddenDisabledOrNotTabStops) {
  HWND dlg = CreateWindowEx(0, L"#32770", L"Tabs", WS_POPUP, 0, 0, 200, 100, nullptr, nullptr, nullptr, nullptr);
  auto make = [&](int id, DWORD style) {
    return CreateWindowEx(0, L"Edit", L"", WS_CHILD | style, 0, id * 10, 50, 10, dlg, reinterpret_cast<HMENU>(static_cast<std::intptr_t>(id)), nullptr, nullptr);
  };
  HWND a = make(1, WS_VISIBLE | WS_TABSTOP);
  make(2, WS_VISIBLE);
  make(3, WS_TABSTOP);
  make(4, WS_VISIBLE | WS_TABSTOP | WS_DISABLED);
  HWND e = make(5, WS_VISIBLE | WS_TABSTOP);
  EXPECT_EQ(GetNextDlgTabItem(dlg, a, FALSE), e);
  EXPECT_EQ(GetNextDlgTabItem(dlg, e, FALSE), a) << "it wraps round";
  EXPECT_EQ(GetNextDlgTabItem(dlg, a, TRUE), e);
}

TEST_F(UiTest, RegistryValuesCanBeDeletedAndKeysNest) {
  HKEY root = nullptr, sub = nullptr;
  ASSERT_EQ(RegCreateKeyEx(HKEY_CURRENT_USER, L"Software\\Kelvane Software", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &root, nullptr), ERROR_SUCCESS);
  ASSERT_EQ(RegCreateKeyEx(root, L"HVAC", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr), ERROR_SUCCESS);
  DWORD one = 1;
  ASSERT_EQ(RegSetValueEx(sub, L"count", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&one), sizeof(one)), ERROR_SUCCESS);
  HKEY again = nullptr;
  ASSERT_EQ(RegOpenKeyEx(HKEY_CURRENT_USER, L"Software\\Kelvane Software\\HVAC", 0, KEY_READ, &again), ERROR_SUCCESS);
  DWORD got = 0, size = sizeof(got), type = 0;
  EXPECT_EQ(RegQueryValueEx(again, L"count", nullptr, &type, reinterpret_cast<LPBYTE>(&got), &size), ERROR_SUCCESS);
  EXPECT_EQ(got, 1u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(RegDeleteValue(sub, L"count"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValue(sub, L"count"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegQueryValueEx(again, L"count", nullptr, &type, nullptr, &size), ERROR_FILE_NOT_FOUND);
  for (HKEY k : {root, sub, again}) RegCloseKey(k);
}
