// The class library's values, the dialog manager's keys, dragging in a tree with its drag image,
// and the LISP function that writes a window's picture.
#include <filesystem>

#include "lisp.h"
#include "ui_fixture.h"

namespace {

class Shape : public CObject {
  DECLARE_DYNCREATE(Shape)
};
IMPLEMENT_DYNCREATE(Shape, CObject)
class Duct : public Shape {
  DECLARE_DYNCREATE(Duct)
};
IMPLEMENT_DYNCREATE(Duct, Shape)

}  // namespace

TEST_F(UiTest, CStringAndRunTimeClassesBehaveAsTheClassLibrarys) {
  CString s;
  s.Format(L"%s is %d%c wide", L"Duct", 12, L'"');
  EXPECT_EQ(s, CString(L"Duct is 12\" wide")) << "%s and %c read wide text";
  EXPECT_EQ(s.Left(4), CString(L"Duct"));
  EXPECT_EQ(s.Mid(8, 2), CString(L"12"));
  EXPECT_EQ(s.Right(100), s);
  EXPECT_EQ(s.Find(L"is"), 5);
  EXPECT_EQ(s.ReverseFind(L' '), 11);
  CString t = L"  Room 101 \t";
  EXPECT_EQ(t.Trim(), CString(L"Room 101"));
  int pos = 0;
  CString list = L"a,,b";
  EXPECT_EQ(list.Tokenize(L",", pos), CString(L"a"));
  EXPECT_EQ(list.Tokenize(L",", pos), CString(L"b"));
  EXPECT_EQ(list.Tokenize(L",", pos), CString());
  EXPECT_EQ(pos, -1);
  EXPECT_EQ(CString(L"Zone").CompareNoCase(L"ZONE"), 0);
  EXPECT_EQ(kvui::fromUtf8(kvui::toUtf8(L"°F")), std::wstring(L"°F"));
  CObject* made = RUNTIME_CLASS(Duct)->CreateObject();
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(Shape)));
  EXPECT_FALSE(Shape().IsKindOf(RUNTIME_CLASS(Duct)));
  EXPECT_EQ(CRuntimeClass::FromName("Duct"), RUNTIME_CLASS(Duct));
  delete made;
}

TEST_F(UiTest, DialogKeysMoveByTabOrderAndEnterPressesTheDefaultButton) {
  DialogTemplate t;
  t.id = 9100;
  t.title = L"Keys";
  t.cx = 150;
  t.cy = 60;
  t.items = {kvui::EditText(10, 5, 5, 60, 12), kvui::LText(L"x", 11, 70, 5, 20, 8), kvui::EditText(12, 5, 20, 60, 12),
             kvui::PushButton(L"&Apply", 13, 5, 40, 40, 14), kvui::DefPushButton(L"OK", IDOK, 50, 40, 40, 14)};
  kvui::RegisterDialogTemplate(t);
  class Keys : public CDialog {
   public:
    Keys() : CDialog(9100) {}
    std::vector<int> pressed;
    CString second;
    BOOL OnCommand(WPARAM w, LPARAM l) override {
      if (HIWORD(w) == BN_CLICKED) pressed.push_back(LOWORD(w));
      if (LOWORD(w) == IDOK) GetDlgItemText(12, second);
      return CDialog::OnCommand(w, l);
    }
  } dlg;
  queue("type one\nkey TAB\ntype two\nkey shift+TAB\nkey TAB\nkey TAB\nkey SPACE\nkey alt+A\nkey TAB\nkey ENTER");
  EXPECT_EQ(dlg.DoModal(), IDOK);
  EXPECT_EQ(dlg.pressed, (std::vector<int>{13, 13, IDOK})) << "Space, then Alt+A, press Apply";
  EXPECT_EQ(dlg.second, CString(L"two")) << "Tab selects the next edit's text, so typing replaces it";
  CRect r(0, 0, 4, 8);
  HWND frame = CreateWindowEx(0, L"#32770", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  SendMessage(frame, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), 0);
  MapDialogRect(frame, &r);
  EXPECT_EQ(r, CRect(0, 0, 7, 14));
}

namespace {

// Starts a drag when the tree asks, shows the item's drag image, and drops on release.
class DragTree : public CTreeCtrl {
 public:
  HTREEITEM dragged = nullptr, dropTarget = nullptr;
  CImageList* image = nullptr;
  std::string picture;
  BOOL OnChildNotify(UINT msg, WPARAM, LPARAM l, LRESULT*) override {
    auto* nm = reinterpret_cast<NMTREEVIEW*>(l);
    if (msg != WM_NOTIFY || nm->hdr.code != TVN_BEGINDRAG) return FALSE;
    dragged = nm->itemNew.hItem;
    image = CreateDragImage(dragged);
    image->BeginDrag(0, CPoint(-5, -5));
    CPoint p = nm->ptDrag;
    ClientToScreen(&p);
    CImageList::DragEnter(nullptr, p);
    SetCapture();
    return TRUE;
  }
  void OnMouseMove(UINT flags, CPoint p) override {
    if (!image) return CTreeCtrl::OnMouseMove(flags, p);
    CPoint s = p;
    ClientToScreen(&s);
    CImageList::DragMove(s);
    UINT hit = 0;
    SelectDropTarget(HitTest(p, &hit));
  }
  void OnLButtonUp(UINT flags, CPoint p) override {
    if (!image) return CTreeCtrl::OnLButtonUp(flags, p);
    if (!picture.empty()) kvui::RenderWindowToPng(GetParent()->m_hWnd, picture);
    CImageList::DragLeave(nullptr);
    CImageList::EndDrag();
    ReleaseCapture();
    dropTarget = GetDropHilightItem();
    SelectDropTarget(nullptr);
    delete image;
    image = nullptr;
  }
};

}  // namespace

TEST_F(UiTest, DraggingATreeItemStartsADragAndDropsWhereTheButtonIsReleased) {
  CWnd frame;  // reflection needs a parent object, as in the class library
  ASSERT_TRUE(frame.CreateEx(0, L"KvHostFrame", L"Trees", WS_POPUP | WS_VISIBLE, CRect(0, 0, 220, 160), nullptr, 0));
  DragTree tree;
  ASSERT_TRUE(tree.Create(WS_CHILD | WS_VISIBLE | TVS_HASLINES | TVS_HASBUTTONS | TVS_LINESATROOT, CRect(0, 0, 200, 150), &frame, 1001));
  HTREEITEM zone = tree.InsertItem(L"Zone 1");
  HTREEITEM room = tree.InsertItem(L"Room 7");
  tree.InsertItem(L"Zone 2");
  CRect from, to;
  tree.GetItemRect(room, &from, TRUE);
  tree.GetItemRect(zone, &to, TRUE);
  tree.picture = tempDir + "/drag.png";
  queue("drag #1001@" + std::to_string(from.left + 5) + "," + std::to_string(from.top + 5) + " to #1001@" +
        std::to_string(to.left + 5) + "," + std::to_string(to.top + 5));
  kvui::DeliverQueuedInput();
  EXPECT_EQ(tree.dragged, room);
  EXPECT_EQ(tree.dropTarget, zone);
  EXPECT_EQ(tree.GetSelectedItem(), nullptr) << "a drag is not a click";
  EXPECT_TRUE(std::filesystem::exists(tree.picture));
  queue("click #1001@" + std::to_string(from.left + 5) + "," + std::to_string(from.top + 5));
  kvui::DeliverQueuedInput();
  EXPECT_EQ(tree.GetSelectedItem(), room);
}

TEST_F(UiTest, TheLispFunctionWritesTheNamedWindowsPicture) {
  makeFrame(80, 40, L"Named");
  kvlisp::Environment env;
  std::string path = tempDir + "/named.png";
  kvlisp::Value v = env.evalString("(kvhost-window-png \"Named\" \"" + path + "\")");
  EXPECT_EQ(v.asString(), path);
  EXPECT_TRUE(std::filesystem::exists(path));
  EXPECT_THROW(env.evalString("(kvhost-window-png \"Nobody\" \"x.png\")"), kvlisp::Error);
}
