// Finer behaviour of the controls and of painting: keyboard use of a drop-down list, list and
// edit limits, radio groups, tree notifications with a veto, held-back repainting, the clip that
// keeps a parent's painting off its children, and nested modal dialogs.
#include <string>
#include <vector>

#include "ui_fixture.h"

namespace {

class CodeLog : public CWnd {
 public:
  std::vector<std::string> log;
  BOOL vetoSelection = FALSE;
  BOOL OnCommand(WPARAM w, LPARAM l) override {
    log.push_back("cmd " + std::to_string(LOWORD(w)) + ":" + std::to_string(HIWORD(w)));
    return CWnd::OnCommand(w, l);
  }
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* r) override {
    auto* h = reinterpret_cast<NMHDR*>(l);
    log.push_back("notify " + std::to_string(static_cast<int>(h->code)));
    if (h->code == TVN_SELCHANGING) {
      *r = vetoSelection;
      return TRUE;
    }
    return CWnd::OnNotify(w, l, r);
  }
};

}  // namespace

TEST_F(UiTest, DropDownListAnswersF4ArrowsAndTypedLetters) {
  CodeLog owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Combo", WS_POPUP | WS_VISIBLE, CRect(0, 0, 300, 200), nullptr, 0));
  CComboBox combo;
  ASSERT_TRUE(combo.Create(WS_CHILD | WS_VISIBLE | CBS_DROPDOWNLIST | WS_VSCROLL, CRect(10, 10, 150, 110), &owner, 4));
  for (LPCTSTR s : {L"January", L"February", L"March", L"May"}) combo.AddString(s);
  combo.SetFocus();
  owner.log.clear();
  queue("type m\ntype m\nkey F4\nkey UP\nkey ESC\nkey alt+DOWN\nkey HOME\nkey ENTER");
  kvui::DeliverQueuedInput();
  std::vector<std::string> want = {"cmd 4:1", "cmd 4:1", "cmd 4:7", "cmd 4:1", "cmd 4:10", "cmd 4:8",
                                   "cmd 4:7", "cmd 4:1", "cmd 4:9", "cmd 4:8"};
  EXPECT_EQ(owner.log, want);
  EXPECT_EQ(combo.GetCurSel(), 0);
  EXPECT_FALSE(combo.GetDroppedState());
  CRect field;
  combo.GetWindowRect(&field);
  EXPECT_LT(field.Height(), 100) << "the template's height is the dropped list's, not the field's";
  CRect dropped;
  combo.GetDroppedControlRect(&dropped);
  EXPECT_EQ(dropped.Height(), 100);
  combo.ShowDropDown(TRUE);
  EXPECT_EQ(GetActiveWindow(), owner.m_hWnd) << "the dropped list does not take activation";
  combo.ShowDropDown(FALSE);
}

TEST_F(UiTest, EditLimitsAndStylesFilterWhatIsTyped) {
  CodeLog owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Edits", WS_POPUP | WS_VISIBLE, CRect(0, 0, 300, 100), nullptr, 0));
  CEdit number;
  ASSERT_TRUE(number.Create(WS_CHILD | WS_VISIBLE | ES_NUMBER, CRect(0, 0, 100, 20), &owner, 6));
  number.LimitText(3);
  number.SetFocus();
  owner.log.clear();
  queue("type 1a2345");
  kvui::DeliverQueuedInput();
  CString t;
  number.GetWindowText(t);
  EXPECT_EQ(t, CString(L"123"));
  EXPECT_EQ(std::count(owner.log.begin(), owner.log.end(), "cmd 6:" + std::to_string(EN_MAXTEXT)), 2);
  number.SetReadOnly(TRUE);
  queue("key BACK");
  kvui::DeliverQueuedInput();
  number.GetWindowText(t);
  EXPECT_EQ(t, CString(L"123"));
  CPoint three = number.PosFromChar(3);
  EXPECT_EQ(number.CharFromPos(three), 3);
}

TEST_F(UiTest, AutomaticRadioButtonsKeepOneCheckedInTheirGroup) {
  CodeLog owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Radios", WS_POPUP | WS_VISIBLE, CRect(0, 0, 300, 100), nullptr, 0));
  CButton a, b, c;
  a.Create(L"Rectangular", WS_CHILD | WS_VISIBLE | BS_AUTORADIOBUTTON | WS_GROUP, CRect(0, 0, 100, 16), &owner, 21);
  b.Create(L"Round", WS_CHILD | WS_VISIBLE | BS_AUTORADIOBUTTON, CRect(0, 20, 100, 36), &owner, 22);
  c.Create(L"Oval", WS_CHILD | WS_VISIBLE | BS_AUTORADIOBUTTON, CRect(0, 40, 100, 56), &owner, 23);
  queue("click #21\nclick #23");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(a.GetCheck(), BST_UNCHECKED);
  EXPECT_EQ(b.GetCheck(), BST_UNCHECKED);
  EXPECT_EQ(c.GetCheck(), BST_CHECKED);
  queue("drag #22@5,5 to 200,90");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(b.GetCheck(), BST_UNCHECKED) << "released outside, the press does not count";
}

TEST_F(UiTest, TreeSelectionCanBeVetoedAndDeletionsAreAnnounced) {
  CodeLog owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Tree", WS_POPUP | WS_VISIBLE, CRect(0, 0, 300, 200), nullptr, 0));
  CTreeCtrl tree;
  ASSERT_TRUE(tree.Create(WS_CHILD | WS_VISIBLE | TVS_HASBUTTONS | TVS_LINESATROOT, CRect(0, 0, 200, 150), &owner, 5));
  HTREEITEM a = tree.InsertItem(L"Alpha");
  tree.InsertItem(L"Beta", a);
  HTREEITEM g = tree.InsertItem(L"Gamma");
  tree.SetFocus();
  owner.vetoSelection = TRUE;
  owner.log.clear();
  queue("key DOWN");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(tree.GetSelectedItem(), nullptr);
  owner.vetoSelection = FALSE;
  queue("key DOWN\nkey END\nkey RIGHT\nkey g");
  kvui::DeliverQueuedInput();
  EXPECT_EQ(tree.GetSelectedItem(), g);
  owner.log.clear();
  tree.DeleteItem(a);
  EXPECT_EQ(owner.log, (std::vector<std::string>{"notify " + std::to_string(static_cast<int>(TVN_DELETEITEM)),
                                                  "notify " + std::to_string(static_cast<int>(TVN_DELETEITEM))}));
}

TEST_F(UiTest, ParentsPaintAroundTheirChildrenAndLockedWindowsWaitToRepaint) {
  HWND frame = makeFrame(100, 60, L"Clip");
  class Painter : public CWnd {
   public:
    int paints = 0;
    void OnPaint() override {
      CPaintDC dc(this);
      ++paints;
      CRect c;
      GetClientRect(&c);
      dc.FillSolidRect(&c, RGB(255, 0, 0));
    }
  } parent;
  ASSERT_TRUE(parent.Create(L"KvHostFrame", L"", WS_CHILD | WS_VISIBLE, CRect(0, 0, 100, 60), CWnd::FromHandle(frame), 1));
  HWND child = CreateWindowEx(0, L"Static", L"", WS_CHILD | WS_VISIBLE | SS_WHITERECT, 10, 10, 20, 20, parent.m_hWnd, nullptr, nullptr, nullptr);
  ASSERT_NE(child, nullptr);
  kvui::PumpMessages();
  CClientDC dc(&parent);
  EXPECT_EQ(dc.GetPixel(5, 5), RGB(255, 0, 0));
  EXPECT_EQ(dc.GetPixel(15, 15), RGB(255, 255, 255));
  int before = parent.paints;
  parent.LockWindowUpdate();
  parent.Invalidate();
  kvui::PumpMessages();
  EXPECT_EQ(parent.paints, before);
  parent.UnlockWindowUpdate();
  kvui::PumpMessages();
  EXPECT_EQ(parent.paints, before + 1);
  parent.SetRedraw(FALSE);
  parent.Invalidate();
  parent.UpdateWindow();
  EXPECT_EQ(parent.paints, before + 1);
  parent.SetRedraw(TRUE);
  parent.Invalidate();
  parent.UpdateWindow();
  EXPECT_EQ(parent.paints, before + 2);
}

TEST_F(UiTest, ADialogOpenedFromADialogTakesTheNextEventsAndAMessageBoxItsAnswer) {
  DialogTemplate outer;
  outer.id = 9200;
  outer.title = L"Outer";
  outer.cx = 100;
  outer.cy = 40;
  outer.items = {kvui::PushButton(L"&More", 100, 5, 5, 40, 14), kvui::DefPushButton(L"OK", IDOK, 50, 5, 40, 14)};
  kvui::RegisterDialogTemplate(outer);
  DialogTemplate inner = outer;
  inner.id = 9201;
  inner.title = L"Inner";
  kvui::RegisterDialogTemplate(inner);
  class Outer : public CDialog {
   public:
    Outer() : CDialog(9200) {}
    INT_PTR innerResult = 0;
    int box = 0;
    BOOL OnCommand(WPARAM w, LPARAM l) override {
      if (LOWORD(w) == 100) {
        innerResult = CDialog(9201, this).DoModal();
        box = MessageBox(m_hWnd, L"Keep it?", L"Outer", MB_YESNOCANCEL);
        return TRUE;
      }
      return CDialog::OnCommand(w, l);
    }
  } dlg;
  testing::internal::CaptureStdout();
  queue("click #100\nclick #1 in Inner\nanswer no\nkey ENTER");
  EXPECT_EQ(dlg.DoModal(), IDOK);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[Outer] Keep it?\n");
  EXPECT_EQ(dlg.innerResult, IDOK);
  EXPECT_EQ(dlg.box, IDNO);
}
