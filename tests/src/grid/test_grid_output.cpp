// What the grid shows and prints: the demo grid (fixed columns, a three-level outline, merged
// headings, both list styles, a hidden data column) as a picture and as printed pages, cell
// colours, and the title tip.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "grid_fixture.h"

namespace {

// Builds the demo: 2 fixed rows (a merged heading over them), 3 fixed columns, 200 rows of
// outline, an open list, a closed list and a hidden data column.
void buildDemo(CGridCtrl& g) {
  g.SetColumnCount(7);
  g.SetFixedRowCount(2);
  g.SetFixedColumnCount(3);
  g.SetupTreeColumn(0);
  g.SetComboColumn(4, TRUE);
  g.SetComboColumn(5, FALSE);
  CStringArray sizes, systems;
  for (LPCTSTR s : {L"6 x 6", L"8 x 8", L"10 x 8", L"12 x 10"}) sizes.Add(s);
  for (LPCTSTR s : {L"Supply", L"Return", L"Exhaust"}) systems.Add(s);
  g.SetColumnOptions(4, sizes);
  g.SetColumnOptions(5, systems);
  const wchar_t* heads[] = {L"Room", L"Floor", L"Zone", L"Airflow", L"Size", L"System", L"ix"};
  g.SetItemText(0, 0, L"Location");
  g.SetItemText(0, 3, L"Air side");
  g.MergeCells(0, 0, 0, 2);
  g.MergeCells(0, 3, 0, 5);
  for (int c = 0; c < 7; ++c) g.SetItemText(1, c, heads[c]);
  std::vector<unsigned char> levels;
  for (int i = 0; i < 200; ++i) levels.push_back(static_cast<unsigned char>(i % 20 == 0 ? 1 : i % 5 == 1 ? 2 : 3));
  g.SetRedraw(FALSE);
  g.m_TreeColumn.InsertTreeBranch(levels.data(), 200, -1, FALSE);
  for (int i = 0; i < 200; ++i) {
    int r = i + 2;
    int level = levels[static_cast<std::size_t>(i)];
    g.SetItemText(r, 0, level == 1 ? (L"Floor " + std::to_wstring(i / 20 + 1)).c_str()
                       : level == 2 ? (L"Zone " + std::to_wstring(i / 5 + 1)).c_str() : (L"Room " + std::to_wstring(100 + i)).c_str());
    g.SetItemText(r, 1, std::to_wstring(i / 20 + 1).c_str());
    g.SetItemText(r, 2, std::to_wstring(i / 5 + 1).c_str());
    g.SetItemText(r, 3, std::to_wstring(120 + 15 * (i % 7)).c_str());
    g.SetItemText(r, 4, sizes[i % 4]);
    g.SetItemText(r, 5, systems[i % 3]);
    g.SetItemText(r, 6, std::to_wstring(5000 + i).c_str());
  }
  g.SetColumnWidth(6, 0);
  g.AutoSizeColumns();
  g.SetRedraw(TRUE, TRUE);
  g.SetItemBkColour(4, 3, RGB(255, 255, 200));
  g.m_TreeColumn.TreeCollapse(2 + 20);
}

std::string shell(const std::string& cmd) {
  std::unique_ptr<FILE, int (*)(FILE*)> p(popen(cmd.c_str(), "r"), pclose);
  std::string out;
  char buf[4096];
  while (p && fgets(buf, sizeof buf, p.get())) out += buf;
  return out;
}

}  // namespace

TEST_F(GridTest, DemoRendersWithColoursOutlineAndMergedHeadings) {
  owner.MoveWindow(50, 50, 520, 320);
  grid.MoveWindow(0, 0, 500, 300);
  buildDemo(grid);
  EXPECT_EQ(grid.GetColumnWidth(6), 0);
  CRect client, last;
  grid.GetClientRect(&client);
  ASSERT_TRUE(grid.GetCellRect(5, 5, &last));
  EXPECT_EQ(last.right, client.right) << "the last shown column ends at the edge";
  EXPECT_FALSE(grid.GetStyle() & WS_HSCROLL);
  EXPECT_EQ(grid.GetItemText(5, 6), CString(L"5003")) << "hidden data keeps its text";
  grid.SetFocusCell(3, 3);
  grid.UpdateWindow();
  std::string png = tempDir + "/demo.png";
  kvui::RenderWindowToPng(grid.m_hWnd, png);
  EXPECT_GT(std::filesystem::file_size(png), 2000u);
  if (const char* keep = std::getenv("KV_GRID_PICTURE")) std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
  // Pixels: a plain cell is the window colour, a fixed cell the face colour, the coloured one its own.
  CClientDC dc(&grid);
  CRect plain, fixed, yellow;
  grid.GetCellRect(5, 3, &plain);
  grid.GetCellRect(1, 4, &fixed);
  grid.GetCellRect(4, 3, &yellow);
  EXPECT_EQ(dc.GetPixel(plain.right - 3, plain.top + 2), GetSysColor(COLOR_WINDOW));
  EXPECT_EQ(dc.GetPixel(fixed.left + 3, fixed.top + 3), GetSysColor(COLOR_3DFACE));
  EXPECT_EQ(dc.GetPixel(yellow.right - 3, yellow.top + 2), RGB(255, 255, 200));
  EXPECT_EQ(dc.GetPixel(plain.right - 1, plain.top + 2), GetSysColor(COLOR_3DSHADOW)) << "grid line";
  CRect sel;
  grid.GetCellRect(3, 3, &sel);
  grid.SetItemState(3, 3, grid.GetItemState(3, 3) | GVIS_SELECTED);
  grid.RedrawWindow();
  EXPECT_EQ(dc.GetPixel(sel.right - 3, sel.top + 2), GetSysColor(COLOR_HIGHLIGHT));
  // The merged heading is one cell over its range: no line inside it.
  CRect head;
  grid.GetCellRect(0, 3, &head);
  EXPECT_NE(dc.GetPixel(head.right - 1, head.top + 3), GetSysColor(COLOR_3DSHADOW));
}

TEST_F(GridTest, DemoPrintsPagesWithHeaderFooterAndRows) {
  owner.SetWindowText(L"Project Explorer");
  buildDemo(grid);
  std::string pdf = tempDir + "/grid.pdf";
  queue("print " + pdf);
  grid.Print();
  ASSERT_TRUE(std::filesystem::exists(pdf));
  if (const char* keep = std::getenv("KV_GRID_PDF")) std::filesystem::copy_file(pdf, keep, std::filesystem::copy_options::overwrite_existing);
  std::string info = shell("pdfinfo '" + pdf + "'");
  int pages = 0;
  std::istringstream lines(info);
  for (std::string l; std::getline(lines, l);)
    if (l.rfind("Pages:", 0) == 0) pages = std::stoi(l.substr(6));
  EXPECT_GE(pages, 2);
  std::string text = shell("pdftotext -layout '" + pdf + "' -");
  EXPECT_NE(text.find("Project Explorer"), std::string::npos);
  EXPECT_NE(text.find("kvhost"), std::string::npos);
  EXPECT_NE(text.find("Page 1 of " + std::to_string(pages)), std::string::npos);
  EXPECT_NE(text.find("Page " + std::to_string(pages) + " of " + std::to_string(pages)), std::string::npos);
  EXPECT_NE(text.find("Floor 1"), std::string::npos);
  EXPECT_NE(text.find("Airflow"), std::string::npos);
  EXPECT_EQ(text.find("Room 121"), std::string::npos) << "a collapsed branch prints no rows";
  EXPECT_NE(text.find("Room 199"), std::string::npos) << "the last row is on the last page";
  EXPECT_EQ(text.find("5003"), std::string::npos) << "the hidden column prints nothing";
  // Every page repeats the fixed rows.
  std::size_t heads = 0;
  for (std::size_t at = text.find("Airflow"); at != std::string::npos; at = text.find("Airflow", at + 1)) ++heads;
  EXPECT_EQ(heads, static_cast<std::size_t>(pages));
  queue("print cancel");
  grid.Print();
}

TEST_F(GridTest, TitleTipShowsTheWholeTextOfANarrowCellAndHidesOnAPress) {
  fill(4, 3);
  grid.SetColumnWidth(1, 40);
  grid.SetItemText(2, 1, L"A text far too long for forty pixels");
  run("move " + at(2, 1));
  ASSERT_TRUE(grid.GetTitleTip().IsShown());
  EXPECT_EQ(grid.GetTitleTip().GetTipText(), CString(L"A text far too long for forty pixels"));
  run("move " + at(3, 2));
  EXPECT_FALSE(grid.GetTitleTip().IsShown()) << "a text that fits needs no tip";
  run("move " + at(2, 1) + "\nclick " + at(2, 1));
  EXPECT_FALSE(grid.GetTitleTip().IsShown());
  EXPECT_EQ(grid.GetFocusCell(), CCellID(2, 1)) << "the press went on to the grid";
}
