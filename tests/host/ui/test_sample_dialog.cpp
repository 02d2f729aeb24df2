// The sample dialog: a tree, a drop-down list, an edit box and buttons, driven only by queued
// input; what it hears, in order, and what it ends with. It also leaves its picture.
#include <filesystem>
#include <string>
#include <vector>

#include "ui_fixture.h"

namespace {

constexpr UINT kSampleId = 9001;
constexpr UINT kTree = 1001, kKind = 1002, kName = 1003;

void registerSample() {
  DialogTemplate t;
  t.id = kSampleId;
  t.title = L"Sample";
  t.cx = 200;
  t.cy = 150;
  t.items = {
      kvui::Control(L"", kTree, L"SysTreeView32", TVS_HASLINES | TVS_HASBUTTONS | TVS_LINESATROOT | TVS_SHOWSELALWAYS | WS_BORDER | WS_TABSTOP, 7, 7, 90, 115, WS_EX_CLIENTEDGE),
      kvui::LText(L"&Kind:", 2000, 104, 7, 89, 8),
      kvui::ComboBox(kKind, 104, 17, 89, 80),
      kvui::LText(L"&Name:", 2001, 104, 37, 89, 8),
      kvui::EditText(kName, 104, 47, 89, 14),
      kvui::DefPushButton(L"&OK", IDOK, 89, 129, 50, 14),
      kvui::PushButton(L"&Cancel", IDCANCEL, 143, 129, 50, 14),
  };
  kvui::RegisterDialogTemplate(t);
}

std::string narrow(const CString& s) { return kvui::toUtf8(s.str()); }

class SampleDialog : public CDialog {
 public:
  SampleDialog() : CDialog(kSampleId) {}
  std::vector<std::string> log;
  long chosenData = 0;
  CString kind, name;
  std::string picture;

  void DoDataExchange(CDataExchange* dx) override {
    DDX_Control(dx, kTree, tree);
    DDX_Control(dx, kKind, combo);
    DDX_Control(dx, kName, edit);
  }

  BOOL OnInitDialog() override {
    CDialog::OnInitDialog();
    HTREEITEM f1 = tree.InsertItem(L"Floor 1");
    tree.SetItemData(f1, 1);
    tree.SetItemData(tree.InsertItem(L"Room 101", f1), static_cast<DWORD_PTR>(-101));
    tree.SetItemData(tree.InsertItem(L"Room 102", f1), static_cast<DWORD_PTR>(-102));
    HTREEITEM f2 = tree.InsertItem(L"Floor 2");
    tree.SetItemData(f2, 2);
    tree.SetItemState(f2, TVIS_BOLD, TVIS_BOLD);
    tree.SetItemData(tree.InsertItem(L"Room 201", f2), static_cast<DWORD_PTR>(-201));
    for (LPCTSTR s : {L"Supply", L"Return", L"Exhaust"}) combo.AddString(s);
    combo.SetCurSel(0);
    return TRUE;
  }

  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override {
    auto* hdr = reinterpret_cast<NMHDR*>(l);
    if (hdr->idFrom == kTree) {
      if (hdr->code == NM_CLICK) log.push_back("tree click");
      if (hdr->code == TVN_SELCHANGED) log.push_back("tree selected " + narrow(tree.GetItemText(reinterpret_cast<NMTREEVIEW*>(l)->itemNew.hItem)));
      if (hdr->code == TVN_ITEMEXPANDED) log.push_back("tree expanded " + narrow(tree.GetItemText(reinterpret_cast<NMTREEVIEW*>(l)->itemNew.hItem)));
    }
    return CDialog::OnNotify(w, l, result);
  }

  BOOL OnCommand(WPARAM w, LPARAM l) override {
    UINT id = LOWORD(w), code = HIWORD(w);
    if (id == kKind) {
      static const char* names[] = {"", "selchange", "", "setfocus", "killfocus", "", "", "dropdown", "closeup", "selendok", "selendcancel"};
      if (code < 11 && *names[code]) log.push_back(std::string("combo ") + names[code]);
    }
    if (id == kName && code == EN_CHANGE) {
      CString t;
      edit.GetWindowText(t);
      log.push_back("edit change " + narrow(t));
    }
    return CDialog::OnCommand(w, l);
  }

  void OnOK() override {
    HTREEITEM sel = tree.GetSelectedItem();
    chosenData = sel ? static_cast<long>(static_cast<LONG_PTR>(tree.GetItemData(sel))) : 0;
    int i = combo.GetCurSel();
    if (i >= 0) combo.GetLBText(i, kind);
    edit.GetWindowText(name);
    if (!picture.empty()) kvui::RenderWindowToPng(m_hWnd, picture);
    log.push_back("ok");
    CDialog::OnOK();
  }

  CTreeCtrl tree;
  CComboBox combo;
  CEdit edit;
};

}  // namespace

TEST_F(UiTest, SampleDialogDrivenByQueuedInputNotifiesInOrderAndEndsWithItsResults) {
  registerSample();
  // The tree's first row is "Floor 1"; its label starts right of the button column.
  queue(
      "click #1001@40,8\n"
      "key RIGHT\n"
      "key DOWN\n"
      "click #1002\n"
      "key DOWN\n"
      "key ENTER\n"
      "click #1003\n"
      "type Zone A\n"
      "key BACK\n"
      "type B\n"
      "key TAB\n"
      "key ENTER\n");
  SampleDialog dlg;
  dlg.picture = KV_BINARY_DIR "/ui-sample-dialog.png";
  ASSERT_EQ(dlg.DoModal(), IDOK);
  std::vector<std::string> want = {
      "tree click", "tree selected Floor 1", "tree expanded Floor 1", "tree selected Room 101",
      "combo setfocus", "combo dropdown", "combo selchange", "combo selendok", "combo closeup",
      "combo killfocus",
      "edit change Z", "edit change Zo", "edit change Zon", "edit change Zone", "edit change Zone ",
      "edit change Zone A", "edit change Zone ", "edit change Zone B", "ok"};
  EXPECT_EQ(dlg.log, want);
  EXPECT_EQ(dlg.chosenData, -101);
  EXPECT_EQ(dlg.kind, CString(L"Return"));
  EXPECT_EQ(dlg.name, CString(L"Zone B"));
  EXPECT_TRUE(std::filesystem::exists(dlg.picture));
  EXPECT_EQ(dlg.m_hWnd, nullptr) << "the window is gone after the modal run";
}

TEST_F(UiTest, SampleDialogEndsWithCancelOnEscapeOrAnEmptyQueue) {
  registerSample();
  SampleDialog quiet;
  EXPECT_EQ(quiet.DoModal(), IDCANCEL);
  queue("type x\nkey ESC\nclick #1");
  SampleDialog escaped;
  EXPECT_EQ(escaped.DoModal(), IDCANCEL);
  EXPECT_EQ(kvinput::InputQueue::instance().size(), 1u) << "events after the end stay queued";
  EXPECT_EQ(CDialog(4242).DoModal(), -1) << "no such template";
}

TEST_F(UiTest, AMouseClickPicksFromTheDroppedListAndAnOutsideClickCancels) {
  registerSample();
  // The list drops under the field; its second row lies about one and a half items below it.
  queue("click #1002\nclick #1002@30,40\nclick #1002\nclick 5,5\nclick #2\n");
  SampleDialog dlg;
  EXPECT_EQ(dlg.DoModal(), IDCANCEL);
  std::vector<std::string> want = {"combo setfocus", "combo dropdown", "combo selchange", "combo selendok", "combo closeup",
                                   "combo dropdown", "combo selendcancel", "combo closeup", "combo killfocus"};
  EXPECT_EQ(dlg.log, want);
}
