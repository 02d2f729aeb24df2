// In-place editing through the queue: F2, typing, Enter, Tab, Esc, Delete, refusals by -175,
// restores by -176, and the list cell with its pick notification.
#include "grid_fixture.h"

namespace {
std::vector<int> codesOf(std::initializer_list<UINT> c) {
  std::vector<int> out;
  for (UINT x : c) out.push_back(static_cast<int>(x));
  return out;
}
}  // namespace

TEST_F(GridTest, TypingReplacesF2AppendsAndEnterCommitsWithMinus176) {
  fill(5, 4);
  grid.SetFocusCell(1, 1);
  grid.SetFocus();
  owner.clear();
  run("type 42\nkey ENTER");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"42"));
  EXPECT_EQ(owner.codes(), codesOf({GVN_KEYDOWN, GVN_BEGINLABELEDIT, GVN_ENDLABELEDIT}));
  EXPECT_TRUE(grid.GetCell(1, 1)->IsModified());
  EXPECT_EQ(CWnd::GetFocus(), &grid);
  owner.clear();
  run("key F2\ntype 0\nkey TAB");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"420")) << "F2 puts the caret at the end";
  EXPECT_EQ(grid.GetFocusCell(), CCellID(1, 2)) << "Tab acts in the grid after the edit";
  EXPECT_EQ(owner.codes(), codesOf({GVN_KEYDOWN, GVN_BEGINLABELEDIT, GVN_ENDLABELEDIT, GVN_KEYDOWN, GVN_SELCHANGING, GVN_SELCHANGED}));
  owner.clear();
  run("key F2\nkey ENTER");
  EXPECT_EQ(owner.codes(), codesOf({GVN_KEYDOWN, GVN_BEGINLABELEDIT})) << "the same text commits without -176";
  run("type abc\nkey ESC");
  EXPECT_EQ(grid.GetItemText(1, 2), CString(L"r1c2")) << "Esc puts the first text back";
  // An edit begun by typing leaves on an arrow, which then moves the focus.
  run("type x\nkey DOWN");
  EXPECT_EQ(grid.GetItemText(1, 2), CString(L"x"));
  EXPECT_EQ(grid.GetFocusCell(), CCellID(2, 2));
  // One begun by F2 keeps arrows in the box.
  run("key F2\nkey LEFT\ntype y\nkey ENTER");
  EXPECT_EQ(grid.GetItemText(2, 2), CString(L"r2cy2"));
  EXPECT_EQ(grid.GetDlgItem(int(IDC_INPLACE_CONTROL)), nullptr) << "each editor closed itself";
  EXPECT_FALSE(grid.GetCell(2, 2)->IsEditing());
}

TEST_F(GridTest, RefusedBeginChangesNothingAndRefusedEndRestores) {
  fill(5, 4);
  grid.SetFocusCell(1, 1);
  grid.SetFocus();
  owner.answers[int(GVN_BEGINLABELEDIT)] = -1;
  run("type zz\nkey DELETE\nclick " + at(1, 1) + "\nclick " + at(1, 1));
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"r1c1"));
  EXPECT_EQ(CWnd::GetFocus(), &grid) << "no editor opened";
  EXPECT_FALSE(grid.GetCell(1, 1)->IsModified());
  owner.answers.clear();
  owner.answers[int(GVN_ENDLABELEDIT)] = -1;
  run("type new\nkey ENTER");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"r1c1")) << "a negative -176 restores the old text";
  EXPECT_FALSE(grid.GetCell(1, 1)->IsModified());
  // The next press starts no selection.
  owner.clear();
  run("click " + at(3, 2));
  EXPECT_EQ(grid.GetFocusCell(), CCellID(1, 1));
  owner.answers.clear();
  run("key DELETE");
  EXPECT_EQ(grid.GetItemText(1, 1), CString());
  EXPECT_TRUE(grid.GetCell(1, 1)->IsModified());
  // Read-only cells and a read-only grid open no editor.
  grid.GetCell(2, 1)->SetState(grid.GetCell(2, 1)->GetState() | GVIS_READONLY);
  grid.SetFocusCell(2, 1);
  owner.clear();
  run("type q");
  EXPECT_EQ(owner.codes(), codesOf({GVN_KEYDOWN}));
  grid.SetEditable(FALSE);
  grid.SetFocusCell(3, 1);
  run("key F2");
  EXPECT_EQ(CWnd::GetFocus(), &grid);
}

TEST_F(GridTest, ClickedEditStartsAtTheReleaseAndBeginEditIgnoresTheAnswer) {
  fill(5, 4);
  run("click " + at(2, 1));
  owner.clear();
  run("click " + at(2, 1) + "\ntype !\nkey ENTER");
  EXPECT_EQ(grid.GetItemText(2, 1), CString(L"r2c1!")) << "a click edit puts the caret at the end";
  owner.answers[int(GVN_BEGINLABELEDIT)] = -1;
  grid.SetFocusCell(3, 1);
  grid.BeginEditFocusCell();
  EXPECT_EQ(CWnd::GetFocus()->GetDlgCtrlID(), int(IDC_INPLACE_CONTROL));
  run("key ENTER");
}

TEST_F(GridTest, ClosedListShowsAForeignTextAndAPickAnnouncesBeforeTheChange) {
  grid.SetColumnCount(3);
  grid.SetFixedRowCount(1);
  grid.SetComboColumn(1, FALSE);
  CStringArray choices;
  for (LPCTSTR s : {L"Supply", L"Return", L"Exhaust"}) choices.Add(s);
  grid.SetColumnOptions(1, choices);
  grid.SetRowCount(4);
  grid.SetItemText(1, 1, L"Legacy");
  grid.SetFocusCell(1, 1);
  grid.SetFocus();
  owner.clear();
  run("key F2");
  auto* list = dynamic_cast<CComboBox*>(CWnd::GetFocus());
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->GetCount(), 4);
  CString first;
  list->GetLBText(0, first);
  EXPECT_EQ(first, CString(L"Legacy"));
  EXPECT_EQ(list->GetCurSel(), 0);
  EXPECT_TRUE(list->GetDroppedState()) << "the list opens at once";
  CRect cell, box;
  grid.GetCellRect(1, 1, &cell);
  list->GetWindowRect(&box);
  grid.ScreenToClient(&box);
  EXPECT_EQ(box.top, cell.top - 3);
  EXPECT_EQ(box.left, cell.left - 1);
  owner.clear();
  // In the dropped list: two down, Enter takes "Return"; a second Enter ends the edit.
  run("key DOWN\nkey DOWN\nkey ENTER");
  ASSERT_FALSE(owner.notes.empty());
  EXPECT_EQ(owner.notes.back().code, int(GVN_COMBOSELCHANGE));
  EXPECT_EQ(owner.notes.back().text, CString(L"Return"));
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"Legacy")) << "the cell is not yet changed";
  owner.clear();
  run("key ENTER");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"Return"));
  EXPECT_EQ(owner.codes(), codesOf({GVN_ENDLABELEDIT}));
  EXPECT_EQ(dynamic_cast<CGridCellCombo*>(grid.GetCell(1, 1))->GetOptions().GetSize(), 3) << "choices as they were";
  // Esc in a closed list restores the first text.
  run("key F2\nkey DOWN\nkey ESC\nkey ESC");
  EXPECT_EQ(grid.GetItemText(1, 1), CString(L"Return"));
}

TEST_F(GridTest, OpenListTakesTypedTextAndItsEditor) {
  grid.SetColumnCount(3);
  grid.SetFixedRowCount(1);
  grid.SetComboColumn(2, TRUE);
  CStringArray choices;
  for (LPCTSTR s : {L"6", L"8", L"10"}) choices.Add(s);
  grid.SetColumnOptions(2, choices);
  grid.SetRowCount(3);
  grid.SetItemText(1, 2, L"8");
  grid.SetFocusCell(1, 2);
  grid.SetFocus();
  run("type 12");
  CWnd* edit = CWnd::GetFocus();
  ASSERT_NE(edit, nullptr);
  EXPECT_EQ(edit->GetDlgCtrlID(), 1001);
  auto* cell = dynamic_cast<CGridCellCombo*>(grid.GetCell(1, 2));
  auto* list = dynamic_cast<CInPlaceListForGridCell*>(cell->GetOpenEditor());
  ASSERT_NE(list, nullptr);
  run("key ENTER");
  EXPECT_EQ(grid.GetItemText(1, 2), CString(L"12"));
  run("key F2");
  list = dynamic_cast<CInPlaceListForGridCell*>(cell->GetOpenEditor());
  ASSERT_NE(list, nullptr);
  list->SetEditorText(L"14");
  run("key ENTER");
  EXPECT_EQ(grid.GetItemText(1, 2), CString(L"14")) << "the editor's fixed text wins";
}

TEST(GridDialog, AGridInADialogTemplateEditsThroughTheModalLoop) {
  kvinput::InputQueue::instance().clear();
  DialogTemplate t;
  t.id = 4711;
  t.title = L"Grid Dialog";
  t.cx = 260;
  t.cy = 160;
  t.items = {kvui::Control(L"", 1007, L"MFCGridCtrl", WS_TABSTOP | WS_BORDER, 7, 7, 246, 120),
             kvui::DefPushButton(L"OK", IDOK, 105, 138, 50, 14)};
  kvui::RegisterDialogTemplate(t);
  class Dlg : public CDialog {
   public:
    Dlg() : CDialog(4711) {}
    CGridCtrl grid;
    CString kept;
    std::vector<int> codes;
    BOOL OnInitDialog() override {
      CDialog::OnInitDialog();
      grid.SubclassDlgItem(1007, this);
      grid.SetColumnCount(3);
      grid.SetFixedRowCount(1);
      grid.SetRowCount(4);
      grid.SetItemText(1, 1, L"old");
      return TRUE;
    }
    BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override {
      if (w == 1007) codes.push_back(static_cast<int>(reinterpret_cast<NMHDR*>(l)->code));
      return CDialog::OnNotify(w, l, result);
    }
    void OnOK() override {
      kept = grid.GetItemText(1, 1);
      CDialog::OnOK();
    }
  };
  Dlg dlg;
  // Once the dialog is up the grid is a child of it; its cell (1,1) sits past the first column.
  CGridCtrl probe;  // only to learn the default sizes for the click point
  int x = probe.GetDefaultCell(FALSE, FALSE)->GetWidth() + 10, y = probe.GetDefaultCell(FALSE, FALSE)->GetHeight() * 3 / 2;
  std::string cell = "#1007@" + std::to_string(x) + "," + std::to_string(y);
  kvinput::InputQueue::instance().loadText("click " + cell + "\ntype new\nkey TAB\nclick #1", "test");
  EXPECT_EQ(dlg.DoModal(), IDOK);
  EXPECT_EQ(dlg.kept, CString(L"new"));
  ASSERT_GE(dlg.codes.size(), 4u);
  EXPECT_EQ(dlg.codes[0], int(GVN_SELCHANGING));
  EXPECT_NE(std::find(dlg.codes.begin(), dlg.codes.end(), int(GVN_ENDLABELEDIT)), dlg.codes.end());
  kvui::ResetWindowingState();
}
