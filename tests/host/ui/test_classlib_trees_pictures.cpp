// The class library's values, the dialog manager's keys, dragging in a tree with its drag image,
// and the LISP function that writes a window's picture.
#include <cairo.h>

#include <cstdint>
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

namespace {

// One pixel of a PNG file, read back with Cairo.
COLORREF pngPixel(const std::string& path, int x, int y) {
  cairo_surface_t* s = cairo_image_surface_create_from_png(path.c_str());
  COLORREF c = static_cast<COLORREF>(-1);
  if (cairo_surface_status(s) == CAIRO_STATUS_SUCCESS && x < cairo_image_surface_get_width(s) && y < cairo_image_surface_get_height(s)) {
    cairo_surface_flush(s);
    auto p = reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s))[x];
    c = RGB((p >> 16) & 0xFF, (p >> 8) & 0xFF, p & 0xFF);
  }
  cairo_surface_destroy(s);
  return c;
}

}  // namespace

TEST_F(UiTest, PicturesShowOpenDropDownListsAndTheDragImage) {
  CWnd owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Shown", WS_POPUP | WS_VISIBLE, CRect(50, 50, 250, 200), nullptr, 0));
  CComboBox combo;
  ASSERT_TRUE(combo.Create(WS_CHILD | WS_VISIBLE | CBS_DROPDOWNLIST, CRect(10, 10, 150, 110), &owner, 3));
  for (LPCTSTR s : {L"Supply", L"Return", L"Exhaust"}) combo.AddString(s);
  CRect field;
  combo.GetWindowRect(&field);
  owner.ScreenToClient(&field);
  std::string path = tempDir + "/shown.png";
  kvui::RenderWindowToPng(owner.m_hWnd, path);
  EXPECT_EQ(pngPixel(path, 140, field.bottom + 5), GetSysColor(COLOR_3DFACE));
  combo.ShowDropDown(TRUE);
  kvui::RenderWindowToPng(owner.m_hWnd, path);
  EXPECT_EQ(pngPixel(path, 140, field.bottom + 5), RGB(255, 255, 255)) << "the open list lies over the window";
  combo.ShowDropDown(FALSE);
  CImageList image;
  image.Create(10, 10, ILC_COLOR32, 1, 1);
  CDC mem;
  mem.CreateCompatibleDC(nullptr);
  CBitmap red;
  red.CreateCompatibleBitmap(&mem, 10, 10);
  CBitmap* old = mem.SelectObject(&red);
  mem.FillSolidRect(0, 0, 10, 10, RGB(255, 0, 0));
  mem.SelectObject(old);
  image.Add(&red, static_cast<CBitmap*>(nullptr));
  image.BeginDrag(0, CPoint(0, 0));
  CImageList::DragEnter(nullptr, CPoint(50 + 100, 50 + 120));
  kvui::RenderWindowToPng(owner.m_hWnd, path);
  COLORREF dragged = pngPixel(path, 105, 125);
  EXPECT_GT(GetRValue(dragged), GetGValue(dragged) + 100) << "the drag image shows, half transparent";
  CImageList::EndDrag();
  kvui::RenderWindowToPng(owner.m_hWnd, path);
  EXPECT_EQ(pngPixel(path, 105, 125), GetSysColor(COLOR_3DFACE));
}

TEST_F(UiTest, TreeButtonsAndDoubleClicksExpandAndTheWheelScrolls) {
  CWnd owner;
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Wheel", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 120), nullptr, 0));
  CTreeCtrl tree;
  ASSERT_TRUE(tree.Create(WS_CHILD | WS_VISIBLE | TVS_HASBUTTONS | TVS_LINESATROOT, CRect(0, 0, 150, 60), &owner, 8));
  HTREEITEM top = tree.InsertItem(L"Systems");
  for (int i = 0; i < 20; ++i) tree.InsertItem(L"Duct", top);
  HTREEITEM other = tree.InsertItem(L"Other");
  tree.InsertItem(L"Leaf", other);
  CRect label;
  tree.GetItemRect(top, &label, TRUE);
  queue("click #8@" + std::to_string(label.left - 10) + "," + std::to_string(label.top + 4));
  kvui::DeliverQueuedInput();
  EXPECT_TRUE(tree.GetItemState(top, TVIS_EXPANDED)) << "a press on the button opens the item";
  EXPECT_EQ(tree.GetSelectedItem(), nullptr) << "and selects nothing";
  queue("wheel -1 #8");
  kvui::DeliverQueuedInput();
  EXPECT_NE(tree.GetFirstVisibleItem(), top) << "three lines down";
  tree.Expand(top, TVE_COLLAPSE);
  tree.SelectSetFirstVisible(top);
  CRect otherLabel;
  ASSERT_TRUE(tree.GetItemRect(other, &otherLabel, TRUE));
  queue("dblclick #8@" + std::to_string(otherLabel.left + 5) + "," + std::to_string(otherLabel.top + 4));
  kvui::DeliverQueuedInput();
  EXPECT_TRUE(tree.GetItemState(other, TVIS_EXPANDED));
  EXPECT_EQ(tree.GetSelectedItem(), other);
}

TEST_F(UiTest, DialogIconsComeByResourceIdAndShowInTheCaption) {
  auto icon = static_cast<HICON>(LoadImage(AfxGetResourceHandle(), MAKEINTRESOURCE(109), IMAGE_ICON, 16, 16, 0));
  ASSERT_NE(icon, nullptr);
  EXPECT_EQ(LoadImage(nullptr, MAKEINTRESOURCE(109), IMAGE_ICON, 16, 16, 0), icon) << "one shared icon per id and size";
  EXPECT_NE(LoadImage(nullptr, MAKEINTRESOURCE(110), IMAGE_ICON, 16, 16, 0), icon);
  CWnd dlg;
  ASSERT_TRUE(dlg.CreateEx(0, L"KvHostFrame", L"Load Detail", WS_POPUP | WS_CAPTION | WS_VISIBLE, CRect(0, 0, 200, 80), nullptr, 0));
  std::string path = tempDir + "/caption.png";
  kvui::RenderWindowToPng(dlg.m_hWnd, path);
  COLORREF before = pngPixel(path, 4 + 8, 2 + 9);
  dlg.SetIcon(icon, FALSE);
  EXPECT_EQ(dlg.GetIcon(FALSE), icon);
  kvui::RenderWindowToPng(dlg.m_hWnd, path);
  EXPECT_NE(pngPixel(path, 4 + 8, 2 + 9), before) << "the small icon sits at the caption's left";
}
