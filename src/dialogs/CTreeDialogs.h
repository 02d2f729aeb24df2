// The floor and zone trees: a tree control with multiple selection and dragging of sibling
// groups, and the two modal dialogs over it that hand every change to the application layer.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bridge/bridge.h"
#include "ui.h"

class CDragEventListener {
 public:
  virtual ~CDragEventListener() = default;
  virtual void onDragOver(CPoint point) = 0;
  virtual void onDrop(CPoint point, HTREEITEM targetItem) = 0;
  virtual void onBeginDrag() = 0;
};

// The selection is kept beside the control's caret: every member is a sibling of the others and
// carries TVIS_SELECTED set by hand, in the order the user picked them.
class CDragDropTreeCtrl : public CTreeCtrl {
 public:
  ~CDragDropTreeCtrl() override;
  std::vector<CDragEventListener*> listeners;
  std::vector<HTREEITEM> selection;
  std::unique_ptr<CImageList> dragImage;  // while a drag runs
  bool dragging = false;
  HTREEITEM anchorItem = nullptr;
  HTREEITEM lastDropItem = nullptr;

  void ClearSelection();
  void AddToSelection(HTREEITEM item);
  bool IsSelected(HTREEITEM item) const;
  bool IsAncestor(HTREEITEM ancestor, HTREEITEM item) const;

 protected:
  void OnLButtonDown(UINT flags, CPoint point) override;
  void OnMouseMove(UINT flags, CPoint point) override;
  void OnLButtonUp(UINT flags, CPoint point) override;

 private:
  void Toggle(HTREEITEM item);
  void SelectRange(HTREEITEM item);
  bool SiblingOfSelection(HTREEITEM item) const;
  void MarkSelection();
  void BeginDrag(CPoint point);
  std::unique_ptr<CImageList> BuildDragImage();
  void EndDragImage();
  bool downReachedBase_ = false;
};

// What the two dialogs share; each says its names, its resource and its drop rule.
class CTreeDialog : public CAcUiDialog, public CDragEventListener {
 public:
  static constexpr int kCreateRoomResult = 100;
  ~CTreeDialog() override;

  // The list last given to the dialog; owned (and released) only when a callback made it.
  const resbuf* treeList = nullptr;
  bool ownsList = false;
  CDragDropTreeCtrl tree;

  void SetList(const resbuf* list, bool owned);
  // The tree as a tree list, as saveTree receives it. The caller releases it.
  resbuf* TreeAsList() const;
  virtual bool CanDrop(HTREEITEM target) const = 0;

  void onDragOver(CPoint point) override;
  void onDrop(CPoint point, HTREEITEM target) override;
  void onBeginDrag() override {}

 protected:
  CTreeDialog(UINT templateId, const wchar_t* prefix, UINT treeId);
  BOOL OnInitDialog() override;
  BOOL OnCommand(WPARAM w, LPARAM l) override;
  void OnOK() override;
  // The callback a button calls, or null for buttons with other work.
  virtual const wchar_t* CallbackOf(UINT button) const = 0;
  virtual const wchar_t* DialogName() const = 0;
  virtual UINT EditRoomsButton() const = 0;
  virtual const std::vector<DLGCTLINFO>& Layout() const = 0;

  std::wstring Name(const wchar_t* suffix) const { return prefix_ + suffix; }

 private:
  void SaveTree();
  void RunCallback(const wchar_t* name, bool rebuild);
  void Refresh(const resbuf* list, std::int32_t select);
  HTREEITEM CopyBranch(HTREEITEM item, HTREEITEM parent);
  std::wstring prefix_;
  UINT treeId_;
};

class CFloorTree : public CTreeDialog {
 public:
  static constexpr UINT kTemplate = 102;
  static constexpr UINT kTree = 1003;
  explicit CFloorTree(CWnd* parent = nullptr);
  bool CanDrop(HTREEITEM target) const override;

 protected:
  const wchar_t* CallbackOf(UINT button) const override;
  const wchar_t* DialogName() const override { return L"kv_elec:FloorTree"; }
  UINT EditRoomsButton() const override { return 5; }
  const std::vector<DLGCTLINFO>& Layout() const override;
};

class CZoneTree : public CTreeDialog {
 public:
  static constexpr UINT kTemplate = 9;
  static constexpr UINT kTree = 1001;
  explicit CZoneTree(CWnd* parent = nullptr);
  bool CanDrop(HTREEITEM target) const override;

 protected:
  const wchar_t* CallbackOf(UINT button) const override;
  const wchar_t* DialogName() const override { return L"kv_hvac:ZoneTree"; }
  UINT EditRoomsButton() const override { return 7; }
  const std::vector<DLGCTLINFO>& Layout() const override;
};
