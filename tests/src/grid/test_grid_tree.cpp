// The outline column: inserting and deleting branches, plus/minus, toggling by the box and by
// a double click, and hidden rows.
#include "grid_fixture.h"

namespace {
// Levels of a small outline: 1 heading, 2 two subheadings with leaves, then a second heading.
const unsigned char kLevels[] = {1, 2, 3, 3, 2, 3, 1, 2};

bool shown(CGridCtrl& g, int row) { return g.GetRowHeight(row) > 0; }
}  // namespace

class TreeTest : public GridTest {
 protected:
  void SetUp() override {
    GridTest::SetUp();
    grid.SetColumnCount(3);
    grid.SetFixedRowCount(1);
    grid.SetFixedColumnCount(0);
    grid.SetupTreeColumn(0);
    ASSERT_EQ(tree().InsertTreeBranch(kLevels, 8, -1, TRUE), 1);
    for (int r = 1; r <= 8; ++r) grid.SetItemText(r, 0, (L"row " + std::to_wstring(r)).c_str());
  }
  CTreeColumn& tree() { return grid.m_TreeColumn; }
  // "#ID@x,y" at the middle of a row's box.
  std::string box(int row) {
    CRect r;
    EXPECT_TRUE(grid.GetCellRect(row, 0, &r));
    int level = tree().GetLevel(row);
    int x = r.left + 10 * (level - 1) + 2 + 4, y = r.top + 4 + 4;
    return "#1007@" + std::to_string(x) + "," + std::to_string(y);
  }
};

TEST_F(TreeTest, BranchesInsertWithLevelsAndDeleteWholeSubtrees) {
  EXPECT_EQ(grid.GetRowCount(), 9);
  EXPECT_EQ(tree().GetRowCount(), 9);
  EXPECT_EQ(tree().GetLevelAndHide(3), 0x83);
  EXPECT_TRUE(grid.GetCell(3, 0)->IsKindOf(RUNTIME_CLASS(CGridTreeCell)));
  EXPECT_EQ(tree().InsertTreeBranch(kLevels, 0, -1, TRUE), -1);
  EXPECT_EQ(grid.GetRowCount(), 9) << "a count of 0 adds nothing";
  const unsigned char one[] = {3};
  EXPECT_EQ(tree().InsertTreeBranch(one, 1, 0, TRUE), 1) << "a point above the tree is raised to its first row";
  EXPECT_EQ(tree().DeleteTreeBranch(1, TRUE), 1);
  EXPECT_EQ(tree().InsertTreeBranch(one, 1, 5, TRUE), 5);
  EXPECT_EQ(grid.GetItemText(6, 0), CString(L"row 5"));
  EXPECT_EQ(tree().DeleteTreeBranch(5, TRUE), 1);
  // Deleting the second subheading takes its leaf and stops at the next heading.
  EXPECT_EQ(tree().DeleteTreeBranch(5, TRUE), 2);
  EXPECT_EQ(grid.GetItemText(5, 0), CString(L"row 7"));
  EXPECT_EQ(tree().GetRowCount(), 7);
  EXPECT_EQ(tree().DeleteTreeBranch(0, TRUE), 0) << "only rows of the tree";
  EXPECT_EQ(tree().DeleteTreeBranch(1, TRUE), 4);
  EXPECT_EQ(grid.GetRowCount(), 3);
  EXPECT_EQ(grid.GetItemText(1, 0), CString(L"row 7"));
}

TEST_F(TreeTest, PlusMinusCollapseAndExpand) {
  BOOL plus, minus, last;
  EXPECT_TRUE(tree().TreeHasPlusMinus(1, plus, minus, last));
  EXPECT_FALSE(plus);
  EXPECT_TRUE(minus);
  EXPECT_FALSE(last) << "row 7 is a shown sibling below";
  EXPECT_FALSE(tree().TreeHasPlusMinus(3, plus, minus, last));
  EXPECT_FALSE(plus || minus);
  EXPECT_FALSE(last) << "row 4 is a sibling";
  tree().TreeHasPlusMinus(4, plus, minus, last);
  EXPECT_TRUE(last);
  tree().TreeCollapse(1);
  for (int r = 2; r <= 6; ++r) EXPECT_FALSE(shown(grid, r)) << r;
  EXPECT_TRUE(shown(grid, 7));
  EXPECT_TRUE(tree().TreeHasPlusMinus(1, plus, minus, last));
  EXPECT_TRUE(plus);
  tree().TreeExpandOneLevel(1);
  tree().TreeRefreshRows();
  EXPECT_TRUE(shown(grid, 2));
  EXPECT_TRUE(shown(grid, 5));
  EXPECT_FALSE(shown(grid, 3)) << "deeper levels stay hidden";
  tree().TreeHasPlusMinus(2, plus, minus, last);
  EXPECT_TRUE(plus);
  EXPECT_FALSE(tree().TreeHasPlusMinus(0, plus, minus, last));
}

TEST_F(TreeTest, BoxClickTogglesAtThePressAndClickSeesTheNewState) {
  owner.clear();
  run("click " + box(1));
  EXPECT_FALSE(shown(grid, 2));
  ASSERT_FALSE(owner.heightBelowAtClick.empty());
  EXPECT_EQ(owner.heightBelowAtClick.back(), 0) << "-2 comes after the toggle";
  run("click " + box(1));
  EXPECT_TRUE(shown(grid, 2));
  EXPECT_FALSE(shown(grid, 3));
  // Keys skip the hidden rows.
  grid.SetFocusCell(2, 0);
  grid.SetFocus();
  run("key DOWN");
  EXPECT_EQ(grid.GetFocusRow(), 5);
  // A press on the box of a row with nothing below does nothing.
  run("click " + box(8));
  EXPECT_TRUE(shown(grid, 8));
  EXPECT_EQ(grid.GetRowCount(), 9);
}

TEST_F(TreeTest, RefusedEditsLeaveTheTreeTogglingAndReadOnlyCellsToggleOnDoubleClick) {
  owner.answers[int(GVN_BEGINLABELEDIT)] = -1;
  grid.SetFocusCell(1, 0);
  run("click " + box(1));
  EXPECT_FALSE(shown(grid, 2));
  run("type abc");
  EXPECT_EQ(grid.GetItemText(1, 0), CString(L"row 1"));
  owner.answers.clear();
  grid.SetEditable(FALSE);
  run("dblclick " + at(7, 0));
  EXPECT_FALSE(shown(grid, 8)) << "first toggle";
  EXPECT_TRUE(shown(grid, 2) == false);
  grid.SetEditable(TRUE);
  run("click " + box(1));
  EXPECT_TRUE(shown(grid, 2));
}
