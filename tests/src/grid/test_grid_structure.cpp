// The grid's structure and cell access: counts, fixed parts, inserting and deleting rows with
// the focus, column kinds and names, cell classes, merging and the column fill.
#include "grid_fixture.h"

TEST_F(GridTest, CountsFixedPartsAndOutOfRangeAnswers) {
  fill(5, 4, 1, 1);
  EXPECT_EQ(grid.GetRowCount(), 5);
  EXPECT_EQ(grid.GetColumnCount(), 4);
  EXPECT_TRUE(grid.GetCell(0, 2)->IsFixedRow());
  EXPECT_TRUE(grid.GetCell(3, 0)->IsFixedCol());
  EXPECT_FALSE(grid.GetCell(3, 2)->IsFixed());
  EXPECT_EQ(grid.GetCell(5, 0), nullptr);
  EXPECT_EQ(grid.GetCell(0, -1), nullptr);
  EXPECT_EQ(grid.GetItemText(9, 9), CString());
  EXPECT_FALSE(grid.SetItemText(9, 0, L"x"));
  EXPECT_EQ(grid.GetColumnWidth(4), -1);
  EXPECT_EQ(grid.GetRowHeight(-1), -1);
  EXPECT_FALSE(grid.SetItemBkColour(7, 1, RGB(1, 2, 3)));
  EXPECT_EQ(grid.GetItemBkColour(7, 1), 0u);
  // Fewer rows than fixed lowers the fixed count; a fixed cell freed goes back to plain.
  grid.SetItemBkColour(1, 1, RGB(255, 0, 0));
  grid.SetFixedRowCount(2);
  EXPECT_TRUE(grid.GetCell(1, 1)->IsFixedRow());
  EXPECT_EQ(grid.GetItemBkColour(1, 1), CLR_DEFAULT);
  grid.SetRowCount(1);
  EXPECT_EQ(grid.GetFixedRowCount(), 1);
  int r1 = 9, c1 = 9, r2 = 9, c2 = 9;
  EXPECT_FALSE(grid.GetSelectedRange(r1, c1, r2, c2));
  EXPECT_EQ(r1 + c1 + r2 + c2, 0);
}

TEST_F(GridTest, InsertAndDeleteRowsMoveTheFocusAsDocumented) {
  fill(6, 3);
  grid.SetFocusCell(3, 1);
  EXPECT_EQ(grid.InsertRow(L"new", 2), 2);
  EXPECT_EQ(grid.GetFocusRow(), 4) << "a focus below the new row moves down";
  EXPECT_EQ(grid.GetItemText(2, 0), CString(L"new"));
  EXPECT_EQ(grid.GetItemText(3, 0), CString(L"r2c0"));
  EXPECT_EQ(grid.InsertRow(L"x", 0), -1) << "inside the fixed rows";
  EXPECT_EQ(grid.InsertRow(L"x", 99), -1);
  EXPECT_EQ(grid.InsertRow(L"", grid.GetRowCount()), 7) << "the row count means the end";
  EXPECT_EQ(grid.GetRowHeight(7), grid.GetDefaultCell(FALSE, FALSE)->GetHeight());
  EXPECT_TRUE(grid.DeleteRow(2));
  EXPECT_EQ(grid.GetFocusRow(), 4) << "deleting another row keeps the focus row's number";
  grid.SetFocusCell(6, 1);
  EXPECT_TRUE(grid.DeleteRow(6));
  EXPECT_EQ(grid.GetFocusRow(), 5) << "deleting the last row lowers the focus row";
  EXPECT_FALSE(grid.DeleteRow(6));
  EXPECT_TRUE(grid.DeleteRow(0));
  EXPECT_EQ(grid.GetFixedRowCount(), 0);
  // The cells know their new places.
  for (int r = 0; r < grid.GetRowCount(); ++r) {
    CRect rect;
    ASSERT_TRUE(grid.GetCellRect(r, 0, &rect)) << r;
    EXPECT_EQ(grid.GetCellFromPt(CPoint(rect.left + 2, rect.top + 1)).row, r) << r;
  }
}

TEST_F(GridTest, SwapRowsMovesCellsNotHeightsAndTheFocusFollows) {
  fill(5, 3);
  grid.SetRowHeight(1, 40);
  grid.SetFocusCell(1, 2);
  EXPECT_TRUE(grid.SwapRows(1, 3));
  EXPECT_EQ(grid.GetItemText(3, 1), CString(L"r1c1"));
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"r3c1"));
  EXPECT_EQ(grid.GetRowHeight(1), 40);
  EXPECT_EQ(grid.GetFocusRow(), 3);
  EXPECT_EQ(grid.GetFocusColumn(), 2);
  EXPECT_FALSE(grid.SwapRows(1, 5));
}

TEST_F(GridTest, ColumnKindsNamesAndCellClasses) {
  grid.SetColumnCount(6);
  grid.SetFixedRowCount(1);
  grid.SetColumnKind(1, GVCK_CHECK);
  grid.SetColumnKind(5, GVCK_BUTTON);
  grid.SetColumnCaption(5, L"Browse");
  CStringArray choices;
  choices.Add(L"Round");
  choices.Add(L"Square");
  CDWordArray data;
  data.Add(10);
  data.Add(20);
  grid.SetComboColumn(2, TRUE);
  grid.SetComboColumn(3, FALSE);
  grid.SetColumnOptions(3, choices);
  grid.SetColumnOptionData(3, data);
  grid.SetRowCount(3);
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"0"));
  grid.SetItemText(1, 1, L"yes");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"-1")) << "any text but 0 checks it";
  grid.SetItemText(1, 1, L"0");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"0"));
  EXPECT_EQ(grid.GetItemText(1, 5), CString(L"Browse"));
  EXPECT_TRUE(grid.SetItemText(1, 5, L"ignored"));
  EXPECT_TRUE(grid.GetCell(1, 5)->IsModified());
  EXPECT_EQ(grid.GetItemText(1, 5), CString(L"Browse"));
  auto* open = dynamic_cast<CGridCellCombo*>(grid.GetCell(1, 2));
  auto* closed = dynamic_cast<CGridCellCombo*>(grid.GetCell(2, 3));
  ASSERT_NE(open, nullptr);
  ASSERT_NE(closed, nullptr);
  EXPECT_EQ(open->GetStyle(), CBS_SIMPLE);
  EXPECT_EQ(closed->GetStyle(), CBS_DROPDOWNLIST);
  EXPECT_EQ(dynamic_cast<CGridCellCombo*>(grid.GetCell(0, 3)), nullptr) << "fixed rows take the grid's class";
  EXPECT_TRUE(closed->SelectByData(20));
  EXPECT_EQ(grid.GetItemText(2, 3), CString(L"Square"));
  EXPECT_EQ(closed->GetCurrentData(), 20u);
  closed->SetText(L"Oval");
  EXPECT_EQ(closed->GetCurrentData(), 0u);
  EXPECT_FALSE(closed->SelectByData(99));
  EXPECT_TRUE(grid.SetColumnName(3, L"SHAPE"));
  EXPECT_EQ(grid.GetColumnByName(L"SHAPE"), 3);
  EXPECT_EQ(grid.GetColumnByName(L"shape"), -1);
  EXPECT_TRUE(grid.SetItemText(1, L"SHAPE", L"Round"));
  EXPECT_EQ(grid.GetItemText(1, L"SHAPE"), CString(L"Round"));
  EXPECT_FALSE(grid.SetItemText(1, L"NOPE", L"x"));
  EXPECT_EQ(grid.GetItemText(1, L"NOPE"), CString());
  // A new class keeps the cell's attributes; a class outside the cell tree is refused.
  grid.SetItemText(2, 4, L"kept");
  grid.GetCell(2, 4)->SetState(grid.GetCell(2, 4)->GetState() | GVIS_READONLY);
  EXPECT_TRUE(grid.SetCellType(2, 4, RUNTIME_CLASS(CGridCellCombo)));
  EXPECT_EQ(grid.GetItemText(2, 4), CString(L"kept"));
  EXPECT_TRUE(grid.GetCell(2, 4)->IsReadOnly());
  EXPECT_FALSE(grid.SetCellType(2, 4, RUNTIME_CLASS(CGridCtrl)));
  EXPECT_TRUE(grid.SetBold(2, 4, TRUE));
  EXPECT_EQ(grid.GetCell(2, 4)->GetFont()->lfWeight, FW_BOLD);
  EXPECT_EQ(grid.GetCell(2, 1)->GetFont()->lfWeight, FW_NORMAL);
}

TEST_F(GridTest, MergedCellsHitTestToTheirHeadAndAutoSizeSkipsThem) {
  fill(4, 4);
  grid.SetItemText(0, 1, L"A heading much wider than one column ever is");
  EXPECT_TRUE(grid.MergeCells(0, 1, 0, 3));
  EXPECT_FALSE(grid.MergeCells(0, 3, 0, 1));
  CRect r;
  ASSERT_TRUE(grid.GetCellRect(0, 3, &r));
  CCellID hit = grid.GetCellFromPt(r.CenterPoint());
  EXPECT_EQ(hit, CCellID(0, 1));
  EXPECT_TRUE(grid.GetCell(0, 2)->IsMerged());
  EXPECT_EQ(grid.GetCell(0, 1)->GetMergeRange(), CRect(1, 0, 3, 0));
  grid.SetColumnWidth(2, 0);
  grid.AutoSizeColumns(0, TRUE);
  EXPECT_LT(grid.GetColumnWidth(1), 150) << "a heading of a merge does not widen its column";
  EXPECT_EQ(grid.GetColumnWidth(2), 0) << "a hidden column stays hidden";
  EXPECT_EQ(grid.GetItemText(2, 2), CString(L"r2c2")) << "and keeps its text";
}

TEST_F(GridTest, ColumnFillEndsTheColumnsAtTheRightEdge) {
  fill(3, 4);
  CRect client;
  grid.GetClientRect(&client);
  grid.SetColumnWidth(3, 0);
  grid.SetColumnWidth(1, 50);
  EXPECT_EQ(grid.GetVirtualWidth(), client.Width()) << "the last shown column takes the gap";
  EXPECT_EQ(grid.GetColumnWidth(3), 0);
  EXPECT_FALSE(grid.GetStyle() & WS_HSCROLL) << "everything fits: no horizontal bar";
  grid.SetColumnCount(12);
  for (int c = 0; c < 12; ++c) grid.SetColumnWidth(c, 60);
  EXPECT_TRUE(grid.GetStyle() & WS_HSCROLL);
  // At the last step the last column ends exactly at the window's edge.
  grid.SendMessage(WM_HSCROLL, MAKEWPARAM(SB_RIGHT, 0), 0);
  CRect last;
  ASSERT_TRUE(grid.GetCellRect(1, 11, &last));
  EXPECT_EQ(last.right, client.right);
  EXPECT_GT(grid.GetHScrollStep(), 0);
}
