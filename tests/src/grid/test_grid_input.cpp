// Mouse and keys through the input queue: the order of notifications, the focus moving over
// hidden rows and columns, Tab wrapping, swallowed keys, resizing, scrolling.
#include "grid_fixture.h"

TEST_F(GridTest, ClickSelectsWithNotificationsInOrderAndASecondClickArmsAnEdit) {
  fill(6, 4);
  run("click " + at(2, 2));
  std::vector<Note> want = {{int(GVN_SELCHANGING), 2, 2, {}}, {int(GVN_SELCHANGED), 2, 2, {}}, {int(GVN_CLICK), 2, 2, {}}};
  EXPECT_EQ(owner.notes, want);
  EXPECT_EQ(grid.GetFocusCell(), CCellID(2, 2));
  EXPECT_TRUE(grid.IsCellSelected(2, 2));
  owner.clear();
  run("click " + at(2, 2));
  EXPECT_EQ(owner.codes(), std::vector<int>{int(GVN_BEGINLABELEDIT)}) << "no -101 and no -2 for the second click";
  CWnd* edit = CWnd::GetFocus();
  ASSERT_NE(edit, nullptr);
  EXPECT_EQ(edit->GetDlgCtrlID(), int(IDC_INPLACE_CONTROL));
  run("key ESC");
  EXPECT_EQ(CWnd::GetFocus(), &grid);
  owner.clear();
  run("dblclick " + at(3, 1));
  EXPECT_EQ(owner.codes(), (std::vector<int>{int(GVN_SELCHANGING), int(GVN_SELCHANGED), int(GVN_CLICK), int(GVN_DBLCLK), int(GVN_CLICK)}));
  // The list mode selects whole rows, and a fixed row click is announced.
  grid.SetListMode(TRUE);
  owner.clear();
  run("click " + at(4, 2));
  EXPECT_TRUE(grid.IsCellSelected(4, 1));
  EXPECT_TRUE(grid.IsCellSelected(4, 3));
  int r1, c1, r2, c2;
  grid.GetSelectedRange(r1, c1, r2, c2);
  EXPECT_EQ(CRect(c1, r1, c2, r2), CRect(1, 4, 3, 4));
  owner.clear();
  run("click " + at(0, 2));
  ASSERT_FALSE(owner.notes.empty());
  EXPECT_EQ(owner.notes.front().code, int(GVN_FIXEDROWCLICK));
}

TEST_F(GridTest, ArrowsSkipHiddenRowsAndColumnsAndAStuckFocusStays) {
  fill(8, 5);
  grid.SetRowHeight(3, 0);
  grid.SetRowHeight(4, 0);
  grid.SetColumnWidth(3, 0);
  grid.SetFocusCell(2, 2);
  grid.SetFocus();
  run("key DOWN");
  EXPECT_EQ(grid.GetFocusRow(), 5);
  run("key UP");
  EXPECT_EQ(grid.GetFocusRow(), 2);
  run("key RIGHT");
  EXPECT_EQ(grid.GetFocusColumn(), 4);
  run("key LEFT\nkey LEFT\nkey LEFT");
  EXPECT_EQ(grid.GetFocusColumn(), 1) << "the fixed column is not entered";
  grid.SetRowHeight(7, 0);
  grid.SetRowHeight(6, 0);
  grid.SetFocusCell(5, 1);
  owner.clear();
  run("key DOWN");
  EXPECT_EQ(grid.GetFocusRow(), 5);
  EXPECT_EQ(owner.codes(), std::vector<int>{int(GVN_KEYDOWN)}) << "a focus that cannot move changes no selection";
  run("key ctrl+HOME");
  EXPECT_EQ(grid.GetFocusCell(), CCellID(1, 1));
  run("key ctrl+END");
  EXPECT_EQ(grid.GetFocusCell(), CCellID(5, 4));
}

TEST_F(GridTest, TabRunsIntoTheNextRowAndAnsweredKeysAreSwallowed) {
  fill(5, 4);
  grid.SetFocusCell(1, 3);
  grid.SetFocus();
  owner.clear();
  run("key TAB");
  EXPECT_EQ(grid.GetFocusCell(), CCellID(2, 1));
  EXPECT_EQ(owner.codes(), (std::vector<int>{int(GVN_KEYDOWN), int(GVN_SELCHANGING), int(GVN_SELCHANGED)}));
  run("key shift+TAB");
  EXPECT_EQ(grid.GetFocusCell(), CCellID(1, 3));
  owner.answers[int(GVN_KEYDOWN)] = -1;
  run("key DOWN");
  EXPECT_EQ(grid.GetFocusCell(), CCellID(1, 3));
  owner.answers.clear();
  owner.clear();
  grid.SetFocusCell(-1, -1);
  EXPECT_EQ(grid.GetFocusCell(), CCellID());
  EXPECT_TRUE(owner.notes.empty()) << "clearing the focus says nothing";
  run("key DOWN");
  EXPECT_TRUE(owner.notes.empty()) << "no focus cell: no key notification";
  grid.SetFocusCell(0, 0);
  EXPECT_EQ(grid.GetFocusCell(), CCellID(1, 1)) << "raised out of the fixed part";
}

TEST_F(GridTest, DraggingAColumnDividerResizesAtTheRelease) {
  fill(4, 4);
  grid.SetColumnWidth(1, 60);
  CRect r;
  ASSERT_TRUE(grid.GetCellRect(0, 1, &r));
  int y = (r.top + r.bottom) / 2;
  owner.clear();
  run("drag #1007@" + std::to_string(r.right - 2) + "," + std::to_string(y) + " to #1007@" + std::to_string(r.right + 38) + "," + std::to_string(y));
  EXPECT_EQ(grid.GetColumnWidth(1), r.Width() + 38) << "the divider goes where the button is released";
  EXPECT_TRUE(owner.notes.empty()) << "a resize is no click";
}

TEST_F(GridTest, VerticalScrollGoesByPixelsAndPaintsOnlyVisibleCells) {
  fill(1000, 4);
  grid.UpdateWindow();
  int visited = grid.GetPaintedCellCount();
  EXPECT_GT(visited, 10);
  EXPECT_LT(visited, 200);
  grid.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_PAGEDOWN, 0), 0);
  CRect client;
  grid.GetClientRect(&client);
  EXPECT_EQ(grid.GetVScrollPos(), client.Height() - grid.GetRowHeight(0));
  grid.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_LINEDOWN, 0), 0);
  EXPECT_EQ(grid.GetVScrollPos(), client.Height() - grid.GetRowHeight(0) + grid.GetDefaultCell(FALSE, FALSE)->GetHeight());
  grid.UpdateWindow();
  EXPECT_LE(std::abs(grid.GetPaintedCellCount() - visited), 8);
  grid.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_BOTTOM, 0), 0);
  CCellID tl = grid.GetTopleftNonFixedCell();
  EXPECT_GT(tl.row, 950);
  grid.EnsureVisible(5, 1);
  EXPECT_LE(grid.GetTopleftNonFixedCell().row, 5);
  grid.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_TOP, 0), 0);
  run("wheel -1 #1007");
  EXPECT_EQ(grid.GetVScrollPos(), 3 * grid.GetDefaultCell(FALSE, FALSE)->GetHeight());
}

TEST_F(GridTest, DragSelectsARangeAndADividerDoubleClickAutoSizes) {
  fill(8, 5);
  owner.clear();
  run("drag " + at(2, 1) + " to " + at(4, 3));
  int r1, c1, r2, c2;
  ASSERT_TRUE(grid.GetSelectedRange(r1, c1, r2, c2));
  EXPECT_EQ(CRect(c1, r1, c2, r2), CRect(1, 2, 3, 4));
  EXPECT_EQ(grid.GetFocusCell(), CCellID(2, 1));
  EXPECT_EQ(owner.codes(), (std::vector<int>{int(GVN_SELCHANGING), int(GVN_SELCHANGED), int(GVN_CLICK)}));
  grid.SetItemText(3, 2, L"a text that needs a much wider column");
  grid.SetColumnWidth(2, 30);
  CRect r;
  ASSERT_TRUE(grid.GetCellRect(0, 2, &r));
  run("dblclick #1007@" + std::to_string(r.right - 2) + "," + std::to_string((r.top + r.bottom) / 2));
  EXPECT_GT(grid.GetColumnWidth(2), 150);
}

TEST_F(GridTest, RedrawOffHoldsPaintingAndListModeEditsOnDoubleClick) {
  fill(6, 3);
  grid.UpdateWindow();
  grid.SetRedraw(FALSE);
  grid.InsertRow(L"held", 1);
  CRect update;
  EXPECT_FALSE(grid.GetUpdateRect(&update)) << "no repaint while redraw is off";
  grid.SetRedraw(TRUE, TRUE);
  EXPECT_TRUE(grid.GetUpdateRect(&update));
  grid.UpdateWindow();
  grid.SetListMode(TRUE);
  owner.clear();
  run("dblclick " + at(3, 2) + "\ntype Z\nkey ENTER");
  EXPECT_EQ(grid.GetItemText(3, 2), CString(L"r2c2Z"));
  grid.SetItemText(4, 1, L"a rather long text for the first free column");
  grid.AutoSizeColumns();
  EXPECT_GT(grid.GetColumnWidth(1), 200);
}

TEST_F(GridTest, DraggingPastTheBottomScrollsOnTheTimerUntilRelease) {
  fill(100, 3);
  CRect client, start;
  grid.GetClientRect(&client);
  ASSERT_TRUE(grid.GetCellRect(2, 1, &start));
  grid.SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(start.left + 5, start.top + 5));
  grid.SendMessage(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(start.left + 5, client.bottom + 20));
  run("wait 100");
  int h = grid.GetDefaultCell(FALSE, FALSE)->GetHeight();
  EXPECT_EQ(grid.GetVScrollPos(), 4 * h) << "one line every 25 ms";
  int r1, c1, r2, c2;
  grid.GetSelectedRange(r1, c1, r2, c2);
  EXPECT_GT(r2, 10);
  grid.SendMessage(WM_LBUTTONUP, 0, MAKELPARAM(start.left + 5, client.bottom + 20));
  run("wait 100");
  EXPECT_EQ(grid.GetVScrollPos(), 4 * h) << "the release stops it";
}

TEST_F(GridTest, CtrlPadPlusAutoSizesEveryColumn) {
  fill(4, 3);
  grid.SetItemText(2, 1, L"a text that needs a much wider column");
  grid.SetItemText(3, 2, L"another text wider than thirty pixels");
  grid.SetColumnWidth(1, 30);
  grid.SetColumnWidth(2, 30);
  run("click " + at(1, 1) + "\nkey ctrl+add");
  EXPECT_GT(grid.GetColumnWidth(1), 150);
  EXPECT_GT(grid.GetColumnWidth(2), 150);
}

TEST_F(GridTest, ADividerDragShowsAnInvertedLineThatTheReleaseTakesAway) {
  fill(4, 4);
  grid.SetColumnWidth(1, 60);
  grid.UpdateWindow();
  CRect head, r;
  ASSERT_TRUE(grid.GetCellRect(0, 1, &head));
  ASSERT_TRUE(grid.GetCellRect(2, 1, &r));
  // The divider is taken in the heading; the line runs the whole height of the grid.
  int y = (r.top + r.bottom) / 2, x = r.right + 20;
  COLORREF before = CClientDC(&grid).GetPixel(x, y);
  grid.SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(head.right - 2, (head.top + head.bottom) / 2));
  grid.SendMessage(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(x, y));
  COLORREF during = CClientDC(&grid).GetPixel(x, y);
  EXPECT_EQ(during, before ^ 0x00FFFFFF) << "the line at the mouse is the inverse of the cell";
  EXPECT_EQ(grid.GetColumnWidth(1), 60) << "nothing is resized before the release";
  grid.SendMessage(WM_LBUTTONUP, 0, MAKELPARAM(x, y));
  EXPECT_EQ(grid.GetColumnWidth(1), x - head.left);
  grid.UpdateWindow();
  ASSERT_TRUE(grid.GetCellRect(2, 2, &r));
  COLORREF after = CClientDC(&grid).GetPixel(r.left + 5, y);
  EXPECT_NE(after, during) << "no inverted line is left behind";
}
