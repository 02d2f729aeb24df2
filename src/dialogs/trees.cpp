// The floor and zone trees: multiple selection and drag and drop in the tree control, the drop
// rules of each dialog, and the round trip of every button through the application layer.
#include <algorithm>

#include "dialogs/CTreeDialogs.h"
#include "dialogs/dialogs.h"
#include "dialogs/support.h"

namespace {

HTREEITEM Handle(LispTreeControl::Item item) { return reinterpret_cast<HTREEITEM>(item); }
LispTreeControl::Item Id(HTREEITEM item) { return reinterpret_cast<LispTreeControl::Item>(item); }

// Tree lists read into and out of the dialog's tree control.
class TreeAdapter : public LispTreeControl {
 public:
  explicit TreeAdapter(CTreeCtrl& tree) : tree_(tree) {}
  Item rootItem() const override { return Id(TVI_ROOT); }
  Item insertItem(const std::wstring& text, Item parent) override { return Id(tree_.InsertItem(text.c_str(), Handle(parent))); }
  void setItemData(Item item, std::int32_t data) override { tree_.SetItemData(Handle(item), static_cast<DWORD_PTR>(data)); }
  void expand(Item item) override { tree_.Expand(Handle(item), TVE_EXPAND); }
  Item childItem(Item parent) const override {
    return Id(Handle(parent) == TVI_ROOT ? tree_.GetRootItem() : tree_.GetChildItem(Handle(parent)));
  }
  Item nextSiblingItem(Item item) const override { return Id(tree_.GetNextSiblingItem(Handle(item))); }
  std::wstring itemText(Item item) const override { return tree_.GetItemText(Handle(item)).str(); }
  std::int32_t itemData(Item item) const override { return static_cast<std::int32_t>(tree_.GetItemData(Handle(item))); }

 private:
  CTreeCtrl& tree_;
};

std::int32_t DataOf(const CTreeCtrl& tree, HTREEITEM item) { return static_cast<std::int32_t>(tree.GetItemData(item)); }

void RegisterTemplates() {
  static bool done = false;
  if (done) return;
  done = true;
  const DWORD treeStyle = TVS_HASLINES | TVS_HASBUTTONS | TVS_LINESATROOT | TVS_SHOWSELALWAYS | WS_BORDER | WS_HSCROLL | WS_TABSTOP;
  auto make = [&](UINT id, const wchar_t* title, UINT treeId, std::vector<DialogItem> buttons) {
    DialogTemplate t;
    t.id = id;
    t.title = title;
    t.style |= WS_THICKFRAME;
    t.cx = 278;
    t.cy = 284;
    t.items = {kvui::Control(L"", treeId, L"SysTreeView32", treeStyle, 7, 7, 190, 248),
               kvui::DefPushButton(L"&OK", IDOK, 84, 263, 50, 14), kvui::PushButton(L"&Cancel", IDCANCEL, 144, 263, 50, 14)};
    for (DialogItem& b : buttons) t.items.push_back(b);
    kvui::RegisterDialogTemplate(t);
  };
  make(CFloorTree::kTemplate, L"Floor Tree", CFloorTree::kTree,
       {kvui::PushButton(L"&Edit. . .", 3, 205, 7, 66, 14), kvui::PushButton(L"Re&name. . .", 10, 205, 25, 66, 14),
        kvui::PushButton(L"Edit &Floors. . .", 4, 205, 110, 66, 14), kvui::PushButton(L"Edit &Rooms. . .", 5, 205, 128, 66, 14),
        kvui::PushButton(L"&Create Room. . .", 8, 205, 146, 66, 14)});
  make(CZoneTree::kTemplate, L"Zone Tree", CZoneTree::kTree,
       {kvui::PushButton(L"&Edit. . .", 3, 205, 7, 66, 14), kvui::PushButton(L"Re&name. . .", 10, 205, 25, 66, 14),
        kvui::PushButton(L"&View Load. . .", 5, 205, 43, 66, 14), kvui::PushButton(L"Edit &Zones. . .", 6, 205, 110, 66, 14),
        kvui::PushButton(L"Edit &Rooms. . .", 7, 205, 128, 66, 14), kvui::PushButton(L"&Create Room. . .", 8, 205, 146, 66, 14)});
}

}  // namespace

// ---- The tree control ----------------------------------------------------------------------

bool CDragDropTreeCtrl::IsSelected(HTREEITEM item) const {
  return std::find(selection.begin(), selection.end(), item) != selection.end();
}

void CDragDropTreeCtrl::ClearSelection() {
  for (HTREEITEM item : selection) SetItemState(item, 0, TVIS_SELECTED);
  selection.clear();
}

void CDragDropTreeCtrl::AddToSelection(HTREEITEM item) {
  if (!item || IsSelected(item)) return;
  selection.push_back(item);
  SetItemState(item, TVIS_SELECTED, TVIS_SELECTED);
}

void CDragDropTreeCtrl::MarkSelection() {
  for (HTREEITEM item : selection) SetItemState(item, TVIS_SELECTED, TVIS_SELECTED);
}

bool CDragDropTreeCtrl::IsAncestor(HTREEITEM ancestor, HTREEITEM item) const {
  for (HTREEITEM p = item ? GetParentItem(item) : nullptr; p; p = GetParentItem(p))
    if (p == ancestor) return true;
  return false;
}

bool CDragDropTreeCtrl::SiblingOfSelection(HTREEITEM item) const {
  return selection.empty() || GetParentItem(selection.front()) == GetParentItem(item);
}

void CDragDropTreeCtrl::Toggle(HTREEITEM item) {
  if (!SiblingOfSelection(item)) return;
  if (IsSelected(item)) {
    SetItemState(item, 0, TVIS_SELECTED);
    std::erase(selection, item);
  } else {
    AddToSelection(item);
  }
}

void CDragDropTreeCtrl::SelectRange(HTREEITEM item) {
  if (!SiblingOfSelection(item)) return;
  HTREEITEM first = selection.front(), last = item;
  CRect a, b;
  GetItemRect(first, &a, FALSE);
  GetItemRect(item, &b, FALSE);
  if (b.top < a.top) std::swap(first, last);
  ClearSelection();
  for (HTREEITEM i = first; i; i = GetNextSiblingItem(i)) {
    AddToSelection(i);
    if (i == last) break;
  }
}

void CDragDropTreeCtrl::OnLButtonDown(UINT flags, CPoint point) {
  SetFocus();
  downReachedBase_ = false;
  UINT hit = 0;
  HTREEITEM item = HitTest(point, &hit);
  if (item && (hit & TVHT_ONITEMBUTTON)) {
    if (ItemHasChildren(item)) {
      downReachedBase_ = true;
      Default();
    }
    return;
  }
  if (!item) return;
  if (flags & MK_CONTROL) {
    Toggle(item);
  } else if (selection.empty()) {
    AddToSelection(item);
    SelectItem(item);
    MarkSelection();
  } else if (flags & MK_SHIFT) {
    SelectRange(item);
  } else {
    anchorItem = item;
    if (selection.size() < 2 || !IsSelected(item)) {
      ClearSelection();
      AddToSelection(item);
      SelectItem(item);
      MarkSelection();
    }
  }
}

// The selected items as a small piece of tree, in selection order: each label framed in a band
// of its own, joined by the tree's lines, over white, which the image list takes as transparent.
std::unique_ptr<CImageList> CDragDropTreeCtrl::BuildDragImage() {
  CImageList* icons = GetImageList(TVSIL_NORMAL);
  int iconWidth = 0, iconHeight = 0;
  if (icons && !ImageList_GetIconSize(icons->GetSafeHandle(), &iconWidth, &iconHeight)) icons = nullptr;
  CClientDC screen(this);
  CDC dc;
  dc.CreateCompatibleDC(&screen);
  // Measured in a fresh device context's font, the system font, which is bolder than the tree's:
  // the labels, drawn in the tree's font, get room to spare in their frames.
  CGdiObject* oldFont = dc.SelectStockObject(SYSTEM_FONT);
  int textWidth = 0, h = 0;
  for (HTREEITEM item : selection) {
    CRect r(0, 0, 0, 0);
    dc.DrawText(GetItemText(item), &r, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
    textWidth = std::max(textWidth, static_cast<int>(r.Width()));
    if (item == selection.front()) h = r.Height();
  }
  const int w = textWidth + iconWidth + 3, n = static_cast<int>(selection.size());
  CBitmap bitmap;
  if (h <= 0 || !bitmap.CreateCompatibleBitmap(&screen, w + 2, (h + 2) * n)) return nullptr;
  CBitmap* oldBitmap = dc.SelectObject(&bitmap);
  CFont* font = GetFont();
  if (font) dc.SelectObject(font);
  dc.FillSolidRect(0, 0, w + 2, (h + 2) * n, RGB(255, 255, 255));
  dc.SetBkMode(TRANSPARENT);
  dc.SetTextColor(RGB(0, 0, 0));
  for (int i = 0; i < n; ++i) {
    const HTREEITEM item = selection[static_cast<std::size_t>(i)];
    const int x = 1, y = 1 + i * (h + 2), right = w, bottom = h + 1 + i * (h + 2);
    dc.MoveTo(x, y);
    dc.LineTo(x, y + (i + 1 == n ? 8 : 18));
    dc.MoveTo(x, y + 8);
    dc.LineTo(x + 5, y + 8);
    int image = 0, selected = 0;
    if (icons && GetItemImage(item, image, selected)) icons->Draw(&dc, image, CPoint(x + 3, y), ILD_NORMAL);
    dc.Rectangle(x + 3 + iconWidth, y, right, bottom);
    CRect text(x + 3 + iconWidth + 3, y, right, bottom);
    dc.DrawText(GetItemText(item), &text, DT_SINGLELINE | DT_NOPREFIX);
  }
  dc.SelectObject(oldBitmap);
  if (oldFont) dc.SelectObject(oldFont);
  auto list = std::make_unique<CImageList>();
  if (!list->Create(w + 2, (h + 2) * n, ILC_MASK, 0, 1) || list->Add(&bitmap, RGB(255, 255, 255)) < 0) return nullptr;
  return list;
}

void CDragDropTreeCtrl::BeginDrag(CPoint point) {
  if (selection.empty()) return;
  dragging = true;
  HTREEITEM under = HitTest(point);
  dragImage = BuildDragImage();
  if (!dragImage) return;
  CRect itemRect;
  if (!under || !GetItemRect(under, &itemRect, TRUE)) itemRect = CRect(point, point);
  CPoint corner(itemRect.left + 5, itemRect.top + 5);
  // The selection's marks go while dragging so that the drop highlight can be seen.
  for (HTREEITEM item : selection) SetItemState(item, 0, TVIS_SELECTED);
  RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
  lastDropItem = nullptr;
  dragImage->BeginDrag(0, CPoint(-5, -5));
  ClientToScreen(&corner);
  CImageList::DragEnter(CWnd::FromHandle(GetDesktopWindow()), corner);
  SetCapture();
  for (CDragEventListener* l : listeners) l->onBeginDrag();
}

// A tree that goes while dragging (its dialog ended under the drag) takes its image along.
CDragDropTreeCtrl::~CDragDropTreeCtrl() {
  if (dragging && dragImage) CImageList::EndDrag();
}

void CDragDropTreeCtrl::EndDragImage() {
  CImageList::DragLeave(this);
  CImageList::DragLeave(GetParent());
  CImageList::EndDrag();
}

void CDragDropTreeCtrl::OnMouseMove(UINT flags, CPoint point) {
  if (!dragging) {
    CPoint screen = point;
    ClientToScreen(&screen);
    if ((flags & MK_LBUTTON) && ::DragDetect(m_hWnd, screen)) BeginDrag(point);
    return;
  }
  HTREEITEM item = HitTest(point);
  if (item != lastDropItem) {
    lastDropItem = item;
    SelectDropTarget(item);
    RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
  }
  CPoint screen = point;
  ClientToScreen(&screen);
  CImageList::DragMove(screen);
  for (CDragEventListener* l : listeners) l->onDragOver(point);
}

void CDragDropTreeCtrl::OnLButtonUp(UINT flags, CPoint point) {
  if (dragging) {
    dragging = false;
    ReleaseCapture();
    EndDragImage();
    SelectDropTarget(nullptr);
    dragImage.reset();
    HTREEITEM target = HitTest(point);
    for (CDragEventListener* l : listeners) l->onDrop(point, target);
    MarkSelection();
  } else if (!(flags & (MK_CONTROL | MK_SHIFT)) && selection.size() > 1 && anchorItem) {
    ClearSelection();
    AddToSelection(anchorItem);
    SelectItem(anchorItem);
    MarkSelection();
  }
  // Only a press the base control saw ends as its click, which clears our selection.
  if (downReachedBase_) {
    downReachedBase_ = false;
    Default();
    ClearSelection();
  }
}

// ---- The dialogs ---------------------------------------------------------------------------

CTreeDialog::CTreeDialog(UINT templateId, const wchar_t* prefix, UINT treeId)
    : CAcUiDialog(templateId), prefix_(prefix), treeId_(treeId) {
  RegisterTemplates();
}

CTreeDialog::~CTreeDialog() { SetList(nullptr, false); }

void CTreeDialog::SetList(const resbuf* list, bool owned) {
  if (ownsList) acutRelRb(const_cast<resbuf*>(treeList));
  treeList = list;
  ownsList = owned;
}

resbuf* CTreeDialog::TreeAsList() const {
  TreeAdapter adapter(const_cast<CDragDropTreeCtrl&>(tree));
  resbuf* head = acutBuildList(RTSTR, Name(L"-saveTree").c_str(), 0);
  resbuf* tail = head;
  TreeToList(adapter, 0, tail);
  return head;
}

void CTreeDialog::SaveTree() {
  resbuf* args = TreeAsList();
  resbuf* answer = nullptr;
  acedInvoke(args, &answer);
  acutRelRb(args);
  acutRelRb(answer);
}

BOOL CTreeDialog::OnInitDialog() {
  SetDialogName(DialogName());
  kvdialogs::SetSmallIcon(*this);
  std::vector<DLGCTLINFO> rules = Layout();
  SetControlProperty(rules.data(), static_cast<DWORD>(rules.size()));
  CAcUiDialog::OnInitDialog();
  tree.SubclassDlgItem(treeId_, this);
  Refresh(treeList, 0);
  tree.listeners.push_back(this);
  tree.SetFocus();
  return FALSE;
}

void CTreeDialog::Refresh(const resbuf* list, std::int32_t select) {
  tree.LockWindowUpdate();
  HTREEITEM dummy = nullptr;
  if (tree.GetRootItem()) {
    dummy = tree.InsertItem(L"dummy", TVI_ROOT, TVI_FIRST);
    while (HTREEITEM next = tree.GetNextSiblingItem(dummy)) tree.DeleteItem(next);
  }
  tree.selection.clear();
  tree.anchorItem = nullptr;
  if (list) {
    TreeAdapter adapter(tree);
    ArgCursor cursor(list);
    ListToTree(adapter, cursor, 0);
  }
  if (dummy) tree.DeleteItem(dummy);
  for (HTREEITEM item = tree.GetRootItem(); item; item = tree.GetNextVisibleItem(item))
    if (DataOf(tree, item) == select) {
      tree.SelectItem(item);
      tree.AddToSelection(item);
      break;
    }
  ::LockWindowUpdate(nullptr);
}

void CTreeDialog::RunCallback(const wchar_t* name, bool rebuild) {
  SaveTree();
  HTREEITEM caret = tree.GetSelectedItem();
  const std::int32_t item = caret ? DataOf(tree, caret) : 0;
  resbuf* args = acutBuildList(RTSTR, name, RTLONG, item, 0);
  resbuf* answer = nullptr;
  const int status = acedInvoke(args, &answer);
  acutRelRb(args);
  if (status != RTNORM || !rebuild) {
    acutRelRb(answer);
    tree.SetFocus();
    return;
  }
  // The answer is (item tree): the item to select, when given, then the tree list itself.
  ArgCursor cursor(answer);
  if (cursor.type() == RTLB) cursor.step();
  std::int32_t select = 0;
  if (cursor.type() == RTSHORT || cursor.type() == RTLONG) ArgInt(cursor, select);
  const resbuf* list = cursor.cell();
  Refresh(list, select);
  SetList(answer, true);
  tree.SetFocus();
}

BOOL CTreeDialog::OnCommand(WPARAM w, LPARAM l) {
  if (HIWORD(w) != BN_CLICKED) return CAcUiDialog::OnCommand(w, l);
  const UINT id = LOWORD(w);
  if (id == 8) {
    SaveTree();
    EndDialog(kCreateRoomResult);
    return TRUE;
  }
  if (id == EditRoomsButton()) {
    SaveTree();
    resbuf* args = acutBuildList(RTSTR, L"room-hvac-tableIsEmpty", 0);
    resbuf* answer = nullptr;
    const int status = acedInvoke(args, &answer);
    const bool empty = status == RTNORM && answer && answer->restype == RTT;
    acutRelRb(args);
    acutRelRb(answer);
    if (empty) {
      EndDialog(kCreateRoomResult);
      return TRUE;
    }
  }
  if (const wchar_t* callback = CallbackOf(id)) {
    RunCallback(callback, std::wstring_view(callback) != L"kv_hvac-zoneTree-view");
    return TRUE;
  }
  return CAcUiDialog::OnCommand(w, l);
}

void CTreeDialog::OnOK() {
  SaveTree();
  CAcUiDialog::OnOK();
}

void CTreeDialog::onDragOver(CPoint point) {
  if (!CanDrop(tree.HitTest(point))) tree.SelectDropTarget(nullptr);
}

HTREEITEM CTreeDialog::CopyBranch(HTREEITEM item, HTREEITEM parent) {
  if (item == parent) return nullptr;
  HTREEITEM copy = tree.InsertItem(tree.GetItemText(item), parent, TVI_LAST);
  int image = 0, selected = 0;
  if (tree.GetItemImage(item, image, selected)) tree.SetItemImage(copy, image, selected);
  tree.SetItemData(copy, tree.GetItemData(item));
  tree.SetItemState(copy, tree.GetItemState(item, TVIS_BOLD), TVIS_BOLD);
  for (HTREEITEM child = tree.GetChildItem(item); child; child = tree.GetNextSiblingItem(child)) CopyBranch(child, copy);
  if (tree.GetItemState(item, TVIS_EXPANDED) & TVIS_EXPANDED) tree.Expand(copy, TVE_EXPAND);
  return copy;
}

void CTreeDialog::onDrop(CPoint, HTREEITEM target) {
  if (!CanDrop(target)) return;
  if (DataOf(tree, target) < 0) target = tree.GetParentItem(target);
  const std::vector<HTREEITEM> moving = tree.selection;
  tree.ClearSelection();
  bool first = true;
  for (HTREEITEM item : moving) {
    HTREEITEM copy = CopyBranch(item, target);
    if (!copy) continue;
    tree.DeleteItem(item);
    if (first) tree.SelectItem(copy);
    first = false;
    tree.AddToSelection(copy);
  }
  tree.Expand(target, TVE_EXPAND);
}

// ---- Floor tree ----------------------------------------------------------------------------

CFloorTree::CFloorTree(CWnd* parent) : CTreeDialog(kTemplate, L"kv_hvac-floorTree", kTree) { (void)parent; }

const wchar_t* CFloorTree::CallbackOf(UINT button) const {
  switch (button) {
    case 3: return L"kv_hvac-floorTree-edit";
    case 10: return L"kv_hvac-floorTree-rename";
    case 4: return L"kv_hvac-floorTree-editFloors";
    case 5: return L"kv_hvac-floorTree-editRooms";
    default: return nullptr;
  }
}

const std::vector<DLGCTLINFO>& CFloorTree::Layout() const {
  static const std::vector<DLGCTLINFO> rules = {
      {kTree, ELASTICX, 100}, {kTree, ELASTICY, 100}, {IDOK, MOVEX, 50}, {IDOK, MOVEY, 100}, {IDCANCEL, MOVEX, 50},
      {IDCANCEL, MOVEY, 100}, {3, MOVEX, 100},        {4, MOVEX, 100},   {4, MOVEY, 50},     {5, MOVEX, 100},
      {5, MOVEY, 50},         {8, MOVEX, 100},        {8, MOVEY, 50}};
  return rules;
}

// Floors stay put; rooms go under a floor or a heading, never into a room or their own place.
bool CFloorTree::CanDrop(HTREEITEM target) const {
  if (!target || tree.selection.empty() || target == tree.GetRootItem()) return false;
  for (HTREEITEM item : tree.selection)
    if (DataOf(tree, item) > 0) return false;
  if (target == tree.GetParentItem(tree.selection.front()) || tree.IsSelected(target)) return false;
  for (HTREEITEM item : tree.selection)
    if (tree.IsAncestor(item, target)) return false;
  return DataOf(tree, target) >= 0 || CanDrop(tree.GetParentItem(target));
}

// ---- Zone tree -----------------------------------------------------------------------------

CZoneTree::CZoneTree(CWnd* parent) : CTreeDialog(kTemplate, L"kv_hvac-zoneTree", kTree) { (void)parent; }

const wchar_t* CZoneTree::CallbackOf(UINT button) const {
  switch (button) {
    case 3: return L"kv_hvac-zoneTree-edit";
    case 10: return L"kv_hvac-zoneTree-rename";
    case 5: return L"kv_hvac-zoneTree-view";
    case 6: return L"kv_hvac-zoneTree-editZones";
    case 7: return L"kv_hvac-zoneTree-editRooms";
    default: return nullptr;
  }
}

const std::vector<DLGCTLINFO>& CZoneTree::Layout() const {
  static const std::vector<DLGCTLINFO> rules = {
      {kTree, ELASTICX, 100}, {kTree, ELASTICY, 100}, {IDOK, MOVEX, 50}, {IDOK, MOVEY, 100}, {IDCANCEL, MOVEX, 50},
      {IDCANCEL, MOVEY, 100}, {3, MOVEX, 100},        {5, MOVEX, 100},   {6, MOVEX, 100},    {6, MOVEY, 50},
      {7, MOVEX, 100},        {7, MOVEY, 50},         {8, MOVEX, 100},   {8, MOVEY, 50}};
  return rules;
}

// Zones move too, and the first root is not kept in place.
bool CZoneTree::CanDrop(HTREEITEM target) const {
  if (!target || tree.selection.empty()) return false;
  if (target == tree.GetParentItem(tree.selection.front()) || tree.IsSelected(target)) return false;
  if (DataOf(tree, target) < 0) return CanDrop(tree.GetParentItem(target));
  for (HTREEITEM item : tree.selection)
    if (tree.IsAncestor(item, target)) return false;
  return true;
}

// ---- LISP ----------------------------------------------------------------------------------

namespace {

template <class Dialog>
LispStatus RunTree(const wchar_t* createRoom) {
  LispArgs args;
  Dialog dialog(acedGetAcadFrame());
  dialog.SetList(args.head(), false);
  for (;;) {
    if (HandleDialogResult(static_cast<int>(dialog.DoModal())) != CTreeDialog::kCreateRoomResult) break;
    resbuf* call = acutBuildList(RTSTR, createRoom, 0);
    resbuf* answer = nullptr;
    const int status = acedInvoke(call, &answer);
    acutRelRb(call);
    if (status == RTNORM)
      dialog.SetList(answer, true);
    else
      acutRelRb(answer);
  }
  acedRetT();
  return LispStatus::Success;
}

}  // namespace

LispStatus kv_hvac_floorTree() { return RunTree<CFloorTree>(L"kv_hvac-floorTree-createRoom"); }
LispStatus kv_hvac_zoneTree() { return RunTree<CZoneTree>(L"kv_hvac-zoneTree-createRoom"); }
