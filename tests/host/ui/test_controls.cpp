// Controls on their own: the edit's caret, selection and clipboard, the combo box's open style
// with its edit child, list boxes, the tree's navigation and geometry, and the host's dialog
// base with resize rules and a remembered size.
#include "ui_fixture.h"

TEST_F(UiTest, EditKeepsCaretAndSelectionThroughKeysAndClipboard) {
  HWND frame = makeFrame(200, 60);
  CEdit edit;
  ASSERT_TRUE(edit.Create(WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL, CRect(5, 5, 150, 25), CWnd::FromHandle(frame), 5));
  edit.SetWindowText(L"duct size");
  edit.SetFocus();
  edit.SetSel(0, -1);
  int s = 0, e = 0;
  edit.GetSel(s, e);
  EXPECT_EQ(s, 0);
  EXPECT_EQ(e, 9);
  queue("key HOME\nkey shift+RIGHT\nkey shift+RIGHT\nkey shift+RIGHT\nkey shift+RIGHT\nkey ctrl+C\nkey END\nkey ctrl+V\nkey DELETE\nkey LEFT\nkey BACK");
  kvui::DeliverQueuedInput();
  CString t;
  edit.GetWindowText(t);
  EXPECT_EQ(t, CString(L"duct sizedut"));
  EXPECT_TRUE(edit.GetModify());
  edit.Undo();
  edit.GetWindowText(t);
  EXPECT_EQ(t, CString(L"duct sizeduct"));
  edit.LimitText(14);
  edit.SetSel(-1, -1);
  edit.ReplaceSel(L"XYZ");
  edit.GetWindowText(t);
  EXPECT_EQ(t.GetLength(), 14);
}

TEST_F(UiTest, OpenComboHasItsEditChildAndReportsEditsAndPicks) {
  class Owner : public CWnd {
   public:
    std::vector<UINT> codes;
    BOOL OnCommand(WPARAM w, LPARAM) override {
      if (LOWORD(w) == 7) codes.push_back(HIWORD(w));
      return TRUE;
    }
  } owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Owner", WS_POPUP | WS_VISIBLE, CRect(0, 0, 300, 200), nullptr, 0));
  CComboBox combo;
  ASSERT_TRUE(combo.Create(WS_CHILD | WS_VISIBLE | CBS_SIMPLE | CBS_AUTOHSCROLL, CRect(10, 10, 160, 150), &owner, 7));
  CWnd* edit = combo.GetDlgItem(1001);
  ASSERT_NE(edit, nullptr);
  for (LPCTSTR s : {L"Same as supply", L"Browse. . ."}) combo.AddString(s);
  combo.SetItemHeight(0, 18);
  EXPECT_EQ(combo.GetItemHeight(0), 18);
  combo.SetDroppedWidth(250);
  EXPECT_EQ(combo.GetDroppedWidth(), 250);
  combo.SetCurSel(1);
  CString text;
  combo.GetWindowText(text);
  EXPECT_EQ(text, CString(L"Browse. . ."));
  EXPECT_TRUE(owner.codes.empty()) << "a program's change is not the user's";
  edit->SetFocus();
  queue("key ctrl+A\ntype ab\nkey UP");
  kvui::DeliverQueuedInput();
  std::vector<UINT> want = {CBN_SETFOCUS, CBN_EDITUPDATE, CBN_EDITCHANGE, CBN_EDITUPDATE, CBN_EDITCHANGE, CBN_SELCHANGE};
  EXPECT_EQ(owner.codes, want);
  EXPECT_EQ(combo.GetCurSel(), 0);
  EXPECT_EQ(combo.FindStringExact(-1, L"browse. . ."), 1);
}

TEST_F(UiTest, ListBoxSelectsByClickAndKeysAndTellsItsParent) {
  class Owner : public CWnd {
   public:
    int changes = 0, doubles = 0;
    BOOL OnCommand(WPARAM w, LPARAM) override {
      if (HIWORD(w) == LBN_SELCHANGE) ++changes;
      if (HIWORD(w) == LBN_DBLCLK) ++doubles;
      return TRUE;
    }
  } owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Lists", WS_POPUP | WS_VISIBLE, CRect(0, 0, 300, 200), nullptr, 0));
  CListBox list;
  ASSERT_TRUE(list.Create(WS_CHILD | WS_VISIBLE | LBS_NOTIFY | LBS_SORT | WS_VSCROLL, CRect(0, 0, 120, 60), &owner, 3));
  for (LPCTSTR s : {L"gamma", L"alpha", L"beta", L"delta", L"epsilon", L"zeta"}) list.AddString(s);
  CString first;
  list.GetText(0, first);
  EXPECT_EQ(first, CString(L"alpha"));
  int h = list.GetItemHeight(0);
  queue("click #3@10," + std::to_string(h + h / 2) + "\nkey END\ndblclick #3@10,2");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(owner.changes, 3);
  EXPECT_EQ(owner.doubles, 1);
  EXPECT_EQ(list.GetCurSel(), list.GetTopIndex());
  EXPECT_GT(list.GetTopIndex(), 0) << "the end scrolled into view";
}

TEST_F(UiTest, TreeNavigatesHitTestsAndKeepsStates) {
  HWND frame = makeFrame(300, 200);
  CTreeCtrl tree;
  ASSERT_TRUE(tree.Create(WS_CHILD | WS_VISIBLE | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT, CRect(0, 0, 200, 150), CWnd::FromHandle(frame), 9));
  HTREEITEM a = tree.InsertItem(L"A");
  HTREEITEM a1 = tree.InsertItem(L"A1", a);
  HTREEITEM a2 = tree.InsertItem(L"A2", a);
  HTREEITEM b = tree.InsertItem(L"B", TVI_ROOT, TVI_FIRST);
  EXPECT_EQ(tree.GetRootItem(), b);
  EXPECT_EQ(tree.GetNextSiblingItem(b), a);
  EXPECT_EQ(tree.GetChildItem(a), a1);
  EXPECT_EQ(tree.GetParentItem(a2), a);
  EXPECT_EQ(tree.GetNextVisibleItem(a), nullptr) << "children of a closed item are not visible";
  tree.Expand(a, TVE_EXPAND);
  EXPECT_EQ(tree.GetNextVisibleItem(a), a1);
  EXPECT_TRUE(tree.GetItemState(a, TVIS_EXPANDED));
  CRect r;
  ASSERT_TRUE(tree.GetItemRect(a2, &r, TRUE));
  UINT flags = 0;
  EXPECT_EQ(tree.HitTest(r.CenterPoint(), &flags), a2);
  EXPECT_EQ(flags, static_cast<UINT>(TVHT_ONITEMLABEL));
  CRect row;
  tree.GetItemRect(a, &row, TRUE);
  EXPECT_EQ(tree.HitTest(CPoint(row.left - 19 / 2 - 3, row.CenterPoint().y), &flags), a);
  EXPECT_EQ(flags, static_cast<UINT>(TVHT_ONITEMBUTTON));
  tree.SelectItem(a2);
  tree.SelectDropTarget(a1);
  EXPECT_EQ(tree.GetSelectedItem(), a2);
  EXPECT_TRUE(tree.GetItemState(a1, TVIS_DROPHILITED));
  tree.Expand(a, TVE_COLLAPSE);
  EXPECT_EQ(tree.GetSelectedItem(), a) << "collapsing hides the caret, which moves up";
  tree.DeleteItem(a);
  EXPECT_EQ(tree.GetCount(), 1u);
  EXPECT_EQ(tree.GetItemText(a1), CString()) << "a deleted item's handle reads as nothing";
  EXPECT_EQ(tree.GetSelectedItem(), nullptr);
}

namespace {

constexpr UINT kResizable = 9002;

class Resizable : public CAcUiDialog {
 public:
  Resizable() : CAcUiDialog(kResizable) {}
  CRect list, ok;
  BOOL OnInitDialog() override {
    SetDialogName(L"kv_hvac:Test");
    DLGCTLINFO rules[] = {{100, ELASTICX, 100}, {100, ELASTICY, 100}, {IDOK, MOVEX, 50}, {IDOK, MOVEY, 100}};
    SetControlProperty(rules, 4);
    BOOL r = CAcUiDialog::OnInitDialog();
    if (grow) {
      CRect w;
      GetWindowRect(&w);
      MoveWindow(w.left, w.top, w.Width() + 40, w.Height() + 20);
    }
    GetDlgItem(100)->GetWindowRect(&list);
    GetDlgItem(IDOK)->GetWindowRect(&ok);
    ScreenToClient(&list);
    ScreenToClient(&ok);
    return r;
  }
  bool grow = false;
};

}  // namespace

TEST_F(UiTest, HostDialogsFollowResizeRulesAndRememberTheirSize) {
  DialogTemplate t;
  t.id = kResizable;
  t.title = L"Resizable";
  t.style |= WS_THICKFRAME;
  t.cx = 120;
  t.cy = 80;
  t.items = {kvui::ListBox(100, 5, 5, 110, 50), kvui::DefPushButton(L"OK", IDOK, 35, 60, 50, 14)};
  kvui::RegisterDialogTemplate(t);
  Resizable plain;
  EXPECT_EQ(plain.DoModal(), IDCANCEL);
  Resizable grown;
  grown.grow = true;
  grown.DoModal();
  EXPECT_EQ(grown.list.Width(), plain.list.Width() + 40);
  EXPECT_EQ(grown.list.Height(), plain.list.Height() + 20);
  EXPECT_EQ(grown.ok.left, plain.ok.left + 20);
  EXPECT_EQ(grown.ok.top, plain.ok.top + 20);
  Resizable again;
  again.DoModal();
  EXPECT_EQ(again.list, grown.list) << "the size came back from the user's settings";
}
