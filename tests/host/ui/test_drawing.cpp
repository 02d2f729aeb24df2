// Drawing: fills, pens and their patterns, edges, inversion, clipping, bit blocks, image lists,
// and text with the DT_ flags measured with the pinned fonts.
#include <cstdio>
#include <filesystem>

#include "ui_fixture.h"

namespace {

// A white 60x40 memory DC.
struct Canvas {
  CDC dc;
  CBitmap bmp;
  CBitmap* old = nullptr;
  Canvas(int w = 60, int h = 40) {
    dc.CreateCompatibleDC(nullptr);
    bmp.CreateCompatibleBitmap(&dc, w, h);
    old = dc.SelectObject(&bmp);
    dc.FillSolidRect(0, 0, w, h, RGB(255, 255, 255));
  }
  ~Canvas() { dc.SelectObject(old); }
};

constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kRed = RGB(255, 0, 0);

LOGFONT face(LPCTSTR name, LONG height, LONG weight = FW_NORMAL) {
  LOGFONT lf{};
  lf.lfHeight = height;
  lf.lfWeight = weight;
  std::wcsncpy(lf.lfFaceName, name, LF_FACESIZE - 1);
  return lf;
}

}  // namespace

TEST_F(UiTest, RectangleOutlinesInsideItsRightAndBottomEdgesAndFillsWithTheBrush) {
  Canvas c;
  CPen pen(PS_SOLID, 1, kRed);
  CBrush brush(RGB(0, 0, 255));
  CPen* op = c.dc.SelectObject(&pen);
  CBrush* ob = c.dc.SelectObject(&brush);
  c.dc.Rectangle(10, 10, 20, 15);
  EXPECT_EQ(pixel(c.dc, 10, 10), kRed);
  EXPECT_EQ(pixel(c.dc, 19, 14), kRed);
  EXPECT_EQ(pixel(c.dc, 20, 14), kWhite);
  EXPECT_EQ(pixel(c.dc, 19, 15), kWhite);
  EXPECT_EQ(pixel(c.dc, 15, 12), RGB(0, 0, 255));
  c.dc.SelectObject(op);
  c.dc.SelectObject(ob);
}

TEST_F(UiTest, LineToLeavesOutItsEndPointAndPensKeepTheirPatterns) {
  Canvas c;
  CPen alternate(PS_ALTERNATE, 1, kRed);
  CPen* op = c.dc.SelectObject(&alternate);
  c.dc.MoveTo(0, 5);
  c.dc.LineTo(10, 5);
  for (int x = 0; x < 10; ++x) EXPECT_EQ(pixel(c.dc, x, 5), x % 2 == 0 ? kRed : kWhite) << x;
  EXPECT_EQ(pixel(c.dc, 10, 5), kWhite);
  CPen dot(PS_DOT, 1, kRed);
  c.dc.SelectObject(&dot);
  c.dc.MoveTo(0, 8);
  c.dc.LineTo(12, 8);
  EXPECT_EQ(pixel(c.dc, 2, 8), kRed);
  EXPECT_EQ(pixel(c.dc, 3, 8), kWhite);
  EXPECT_EQ(pixel(c.dc, 6, 8), kRed);
  CPen solid(PS_SOLID, 1, kRed);
  c.dc.SelectObject(&solid);
  c.dc.MoveTo(5, 20);
  c.dc.LineTo(5, 10);
  EXPECT_EQ(pixel(c.dc, 5, 20), kRed);
  EXPECT_EQ(pixel(c.dc, 5, 11), kRed);
  EXPECT_EQ(pixel(c.dc, 5, 10), kWhite);
  c.dc.SelectObject(op);
}

TEST_F(UiTest, InvertRectTwiceRestoresAndClippingConfinesDrawing) {
  Canvas c;
  c.dc.FillSolidRect(0, 0, 10, 10, RGB(10, 20, 30));
  CRect r(0, 0, 10, 10);
  c.dc.InvertRect(&r);
  EXPECT_EQ(pixel(c.dc, 5, 5), RGB(245, 235, 225));
  c.dc.InvertRect(&r);
  EXPECT_EQ(pixel(c.dc, 5, 5), RGB(10, 20, 30));
  int saved = c.dc.SaveDC();
  c.dc.IntersectClipRect(20, 20, 30, 30);
  c.dc.ExcludeClipRect(24, 24, 26, 26);
  c.dc.FillSolidRect(0, 0, 60, 40, kRed);
  EXPECT_EQ(pixel(c.dc, 19, 19), kWhite);
  EXPECT_EQ(pixel(c.dc, 20, 20), kRed);
  EXPECT_EQ(pixel(c.dc, 25, 25), kWhite);
  CRect box;
  EXPECT_EQ(c.dc.GetClipBox(&box), COMPLEXREGION);
  EXPECT_EQ(box, CRect(20, 20, 30, 30));
  c.dc.RestoreDC(saved);
  c.dc.FillSolidRect(40, 30, 1, 1, kRed);
  EXPECT_EQ(pixel(c.dc, 40, 30), kRed);
}

TEST_F(UiTest, BitBltCopiesBetweenMemoryDCsAndHonoursTheViewportOrigin) {
  Canvas src, dst;
  src.dc.FillSolidRect(5, 5, 4, 4, kRed);
  dst.dc.SetViewportOrg(10, 0);
  dst.dc.BitBlt(0, 0, 20, 20, &src.dc, 0, 0, SRCCOPY);
  EXPECT_EQ(pixel(dst.dc, 5, 5), kRed) << "read back through the same mapping";
  dst.dc.SetViewportOrg(0, 0);
  EXPECT_EQ(pixel(dst.dc, 15, 5), kRed);
  EXPECT_EQ(pixel(dst.dc, 5, 5), kWhite);
  dst.dc.BitBlt(30, 0, 10, 10, nullptr, 0, 0, DSTINVERT);
  EXPECT_EQ(pixel(dst.dc, 35, 5), RGB(0, 0, 0));
  CBitmap extra;
  extra.CreateCompatibleBitmap(&src.dc, 4, 4);
  CBitmap* previous = src.dc.SelectObject(&extra);
  ASSERT_NE(previous, nullptr);
  EXPECT_EQ(previous->m_hObject, src.bmp.m_hObject);
  src.dc.SelectObject(previous);
  EXPECT_TRUE(extra.DeleteObject()) << "deselected, it can go";
  CBitmap other;
  other.CreateCompatibleBitmap(&src.dc, 4, 4);
  CDC fresh;
  fresh.CreateCompatibleDC(nullptr);
  EXPECT_NE(fresh.SelectObject(&other), nullptr) << "a new memory DC holds its own one-pixel bitmap";
}

TEST_F(UiTest, EdgesUseTheClassicThreeDimensionalColours) {
  EXPECT_EQ(GetSysColor(COLOR_BTNFACE), RGB(192, 192, 192));
  EXPECT_EQ(GetSysColor(COLOR_HIGHLIGHT), RGB(0, 0, 128));
  EXPECT_EQ(GetSysColor(COLOR_APPWORKSPACE), RGB(128, 128, 128));
  EXPECT_EQ(GetSystemMetrics(SM_CXVSCROLL), 16);
  Canvas c;
  CRect r(0, 0, 20, 20);
  c.dc.DrawEdge(&r, EDGE_SUNKEN, BF_RECT | BF_ADJUST);
  EXPECT_EQ(r, CRect(2, 2, 18, 18));
  EXPECT_EQ(pixel(c.dc, 0, 5), GetSysColor(COLOR_BTNSHADOW));
  EXPECT_EQ(pixel(c.dc, 1, 5), GetSysColor(COLOR_3DDKSHADOW));
  EXPECT_EQ(pixel(c.dc, 19, 5), GetSysColor(COLOR_BTNHIGHLIGHT));
  EXPECT_EQ(pixel(c.dc, 18, 5), GetSysColor(COLOR_3DLIGHT));
}

TEST_F(UiTest, MaskedImagesAreTransparentWhereTheMaskColourWas) {
  Canvas c(40, 20);
  CDC mem;
  mem.CreateCompatibleDC(nullptr);
  CBitmap strip;
  strip.CreateCompatibleBitmap(&mem, 20, 10);
  CBitmap* old = mem.SelectObject(&strip);
  mem.FillSolidRect(0, 0, 20, 10, kWhite);
  mem.FillSolidRect(2, 2, 3, 3, kRed);
  mem.FillSolidRect(12, 2, 3, 3, RGB(0, 128, 0));
  mem.SelectObject(old);
  CImageList list;
  ASSERT_TRUE(list.Create(10, 10, ILC_MASK | ILC_COLOR32, 2, 1));
  EXPECT_EQ(list.Add(&strip, kWhite), 0);
  EXPECT_EQ(list.GetImageCount(), 2);
  c.dc.FillSolidRect(0, 0, 40, 20, RGB(0, 0, 255));
  list.Draw(&c.dc, 1, CPoint(20, 0), ILD_TRANSPARENT);
  EXPECT_EQ(pixel(c.dc, 23, 3), RGB(0, 128, 0));
  EXPECT_EQ(pixel(c.dc, 21, 1), RGB(0, 0, 255));
}

// The faces are pinned to DejaVu, so these sizes hold on every machine; they were measured once.
TEST_F(UiTest, TextSizesAreStableAndFollowTheFlags) {
  Canvas c(300, 100);
  CFont font;
  LOGFONT lf = face(L"MS Shell Dlg", -11);
  font.CreateFontIndirect(&lf);
  CFont* old = c.dc.SelectObject(&font);
  CRect r(0, 0, 0, 0);
  int h = c.dc.DrawText(CString(L"Supply Air Requirements"), &r, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
  EXPECT_EQ(r, CRect(0, 0, 137, 14));
  EXPECT_EQ(h, 14);
  CRect wrap(0, 0, 80, 0);
  c.dc.DrawText(CString(L"Heating Temperature Difference"), &wrap, DT_CALCRECT | DT_WORDBREAK);
  EXPECT_EQ(wrap, CRect(0, 0, 80, 42)) << "three lines";
  CRect prefix(0, 0, 0, 0), plain(0, 0, 0, 0);
  c.dc.DrawText(CString(L"&OK"), &prefix, DT_CALCRECT | DT_SINGLELINE);
  c.dc.DrawText(CString(L"OK"), &plain, DT_CALCRECT | DT_SINGLELINE);
  EXPECT_EQ(prefix, plain) << "the mnemonic marker takes no room";
  EXPECT_EQ(c.dc.GetTextExtent(CString(L"XXXXXXXXXXXX")).cx, 96);
  LOGFONT bold = face(L"Tahoma", -11, FW_BOLD);
  CFont boldFont;
  boldFont.CreateFontIndirect(&bold);
  c.dc.SelectObject(&boldFont);
  EXPECT_GT(c.dc.GetTextExtent(CString(L"Supply Air Requirements")).cx, 137) << "bold is wider";
  TEXTMETRIC tm;
  c.dc.GetTextMetrics(&tm);
  EXPECT_EQ(tm.tmHeight, 14);
  EXPECT_EQ(kvui::DialogBaseUnits(L"MS Shell Dlg", 8), CSize(7, 14));
  c.dc.SelectObject(old);
}

TEST_F(UiTest, EllipsisAndAlignmentPlaceTextInsideTheRectangle) {
  Canvas c(200, 40);
  c.dc.SetTextColor(RGB(0, 0, 0));
  c.dc.SetBkMode(TRANSPARENT);
  CRect r(0, 0, 200, 20);
  c.dc.DrawText(CString(L"W"), &r, DT_RIGHT | DT_SINGLELINE | DT_VCENTER);
  bool inkRight = false, inkLeft = false;
  for (int x = 0; x < 200; ++x)
    for (int y = 0; y < 20; ++y)
      if (pixel(c.dc, x, y) != kWhite) (x >= 185 ? inkRight : inkLeft) = true;
  EXPECT_TRUE(inkRight);
  EXPECT_FALSE(inkLeft);
  CRect narrow(0, 20, 40, 40);
  c.dc.DrawText(CString(L"A long label that cannot fit"), &narrow, DT_SINGLELINE | DT_END_ELLIPSIS);
  for (int y = 20; y < 40; ++y)
    for (int x = 40; x < 200; ++x) ASSERT_EQ(pixel(c.dc, x, y), kWhite) << "clipped at " << x << "," << y;
}

TEST_F(UiTest, AWindowRendersToAPngOfItsSize) {
  HWND frame = CreateWindowEx(0, L"KvHostFrame", L"Picture", WS_POPUP | WS_CAPTION | WS_VISIBLE, 0, 0, 160, 90, nullptr, nullptr, nullptr, nullptr);
  CreateWindowEx(0, L"Button", L"Press", WS_CHILD | WS_VISIBLE, 10, 10, 80, 24, frame, reinterpret_cast<HMENU>(1), nullptr, nullptr);
  std::string path = tempDir + "/frame.png";
  kvui::RenderWindowToPng(frame, path);
  FILE* f = std::fopen(path.c_str(), "rb");
  ASSERT_NE(f, nullptr);
  unsigned char head[24];
  ASSERT_EQ(std::fread(head, 1, 24, f), 24u);
  std::fclose(f);
  EXPECT_EQ(head[1], 'P');
  EXPECT_EQ((head[16] << 24) | (head[17] << 16) | (head[18] << 8) | head[19], 160);
  EXPECT_EQ((head[20] << 24) | (head[21] << 16) | (head[22] << 8) | head[23], 90);
  EXPECT_THROW(kvui::RenderWindowToPng(frame, tempDir + "/no/such/dir/x.png"), std::runtime_error);
  DestroyWindow(frame);
  EXPECT_THROW(kvui::RenderWindowToPng(frame, path), std::runtime_error);
}
