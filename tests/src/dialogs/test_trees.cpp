// The floor and zone trees driven by queued clicks and drags, with LISP callbacks that record
// what the module hands them: multi-selection, the drop rules, the buttons' item data and the
// tree the layer is given to store.
#include <functional>
#include <type_traits>

#include "dialog_fixture.h"
#include "dialogs/CTreeDialogs.h"

namespace kvtest {
namespace {

template <class Base>
class Probe : public Base {
 public:
  std::function<std::string(Probe&)> script;
  std::function<void(Probe&, CPoint)> duringDrag;
  std::string picture;
  void onDragOver(CPoint point) override {
    Base::onDragOver(point);
    if (duringDrag) duringDrag(*this, point);
  }
  // "#id@x,y" at the middle of the item's label.
  std::string At(const std::wstring& label) {
    for (HTREEITEM i = this->tree.GetRootItem(); i; i = this->tree.GetNextVisibleItem(i))
      if (this->tree.GetItemText(i) == CString(label.c_str())) {
        CRect r;
        this->tree.GetItemRect(i, &r, TRUE);
        return "#" + std::to_string(Base::kTree) + "@" + std::to_string((r.left + r.right) / 2) + "," +
               std::to_string((r.top + r.bottom) / 2);
      }
    return "#" + std::to_string(Base::kTree) + "@1,1";
  }

 protected:
  BOOL OnInitDialog() override {
    const BOOL result = Base::OnInitDialog();
    if (script) kvinput::InputQueue::instance().loadText(script(*this), "probe");
    return result;
  }
  void OnOK() override {
    if (!picture.empty()) DialogPicture(*this, picture);
    Base::OnOK();
  }
};

class Trees : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    Lisp("(setq plan '((\"Floor 1\" . 1) ((\"Room 101\" . -1) (\"Room 102\" . -2) (\"Room 103\" . -3))"
         " (\"Floor 2\" . 2) ((\"Room 201\" . -4))))");
    Lisp("(defun plan-list () plan)");
    for (const char* side : {"floorTree", "zoneTree"}) {
      const std::string p = std::string("kv_hvac-") + side;
      Lisp("(defun " + p + "-saveTree (tree) (setq saved tree) nil)");
      for (const char* b : {"edit", "rename", "editFloors", "editRooms", "editZones", "view"})
        Lisp("(defun " + p + "-" + b + " (item) (setq calls (append calls (list (list \"" + b +
             "\" item)))) (list -3 saved))");
    }
    Lisp("(setq calls nil saved nil)");
    Lisp("(defun room-hvac-tableIsEmpty () nil)");
  }
  // The tree list the layer holds, as the module receives it from LISP.
  resbuf* PlanCells() {
    resbuf* call = acutBuildList(RTSTR, L"plan-list", 0);
    resbuf* answer = nullptr;
    acedInvoke(call, &answer);
    acutRelRb(call);
    return answer;
  }
  template <class Dialog>
  INT_PTR Run(Probe<Dialog>& d, std::type_identity_t<std::function<std::string(Probe<Dialog>&)>> script) {
    ResbufPtr cells(PlanCells());
    d.SetList(cells.get(), false);
    d.script = std::move(script);
    const INT_PTR result = d.DoModal();
    d.SetList(nullptr, false);
    return result;
  }
};

const char* const kPlan =
    "((\"Floor 1\" . 1) ((\"Room 101\" . -1) (\"Room 102\" . -2) (\"Room 103\" . -3)) (\"Floor 2\" . 2) ((\"Room 201\" . -4)))";

TEST_F(Trees, TwoRoomsDraggedToAnotherFloorAndTheStoredTreeIsTheOneShown) {
  Probe<CFloorTree> d;
  d.picture = "floor-tree-dialog.png";
  EXPECT_EQ(Run(d, [](Probe<CFloorTree>& t) {
              return "click " + t.At(L"Room 101") + "\nclick ctrl+" + t.At(L"Room 102").substr(0) + "\ndrag " +
                     t.At(L"Room 102") + " to " + t.At(L"Room 201") + "\nclick #1";
            }),
            IDOK);
  EXPECT_EQ(Lisp("saved"),
            "((\"Floor 1\" . 1) ((\"Room 103\" . -3)) (\"Floor 2\" . 2) ((\"Room 201\" . -4) (\"Room 101\" . -1) (\"Room 102\" . -2)))")
      << "dropped on a room, the rooms go beside it, in the order they were picked";
}

// What one step of a drag shows: the drag image and where it stands, the highlighted target.
struct DragStep {
  HIMAGELIST image = nullptr;
  POINT at{}, hotspot{}, cursor{};
  int width = 0, height = 0;
  std::wstring highlighted;
  bool draggedMarked = false;
};

template <class Dialog>
DragStep Observe(Probe<Dialog>& d, const std::wstring& dragged) {
  DragStep step;
  step.image = ImageList_GetDragImage(&step.at, &step.hotspot);
  ImageList_GetIconSize(step.image, &step.width, &step.height);
  GetCursorPos(&step.cursor);
  if (HTREEITEM hot = d.tree.GetDropHilightItem()) step.highlighted = d.tree.GetItemText(hot).str();
  for (HTREEITEM i = d.tree.GetRootItem(); i; i = d.tree.GetNextVisibleItem(i))
    if (d.tree.GetItemText(i).str() == dragged) step.draggedMarked = d.tree.GetItemState(i, TVIS_SELECTED) != 0;
  return step;
}

TEST_F(Trees, ADragShowsTheDraggedItemsAtThePointerOverTheHighlightedTarget) {
  std::vector<DragStep> steps;
  Probe<CFloorTree> d;
  d.duringDrag = [&steps](Probe<CFloorTree>& t, CPoint) {
    steps.push_back(Observe(t, L"Room 102"));
    // The first move of the four starts the drag; the last stands over the drop target.
    if (steps.size() == 3) DialogPicture(t, "floor-tree-drag.png");
  };
  EXPECT_EQ(Run(d, [](Probe<CFloorTree>& t) {
              return "click " + t.At(L"Room 101") + "\nclick ctrl+" + t.At(L"Room 102") + "\ndrag " + t.At(L"Room 102") +
                     " to " + t.At(L"Room 201") + "\nclick #1";
            }),
            IDOK);
  ASSERT_EQ(steps.size(), 3u);
  int oneItemHeight = 0;
  for (const DragStep& step : steps) {
    ASSERT_NE(step.image, nullptr);
    EXPECT_EQ(step.at.x, step.cursor.x) << "the image follows the pointer";
    EXPECT_EQ(step.at.y, step.cursor.y);
    EXPECT_EQ(step.hotspot.x, -5);
    EXPECT_EQ(step.hotspot.y, -5);
    EXPECT_FALSE(step.draggedMarked) << "the selection's marks give way to the drop highlight";
    EXPECT_EQ(step.height % 2, 0) << "two bands of one height";
    oneItemHeight = step.height / 2;
  }
  EXPECT_EQ(steps.back().highlighted, L"Room 201");
  EXPECT_EQ(ImageList_GetDragImage(nullptr, nullptr), nullptr) << "the drop ends the drag image";

  // One item gives one band; a refused target (a floor dragged onto a floor) loses its highlight
  // while the image still follows.
  steps.clear();
  Probe<CFloorTree> refused;
  refused.duringDrag = [&steps](Probe<CFloorTree>& t, CPoint) { steps.push_back(Observe(t, L"Floor 2")); };
  EXPECT_EQ(Run(refused, [](Probe<CFloorTree>& t) {
              return "click " + t.At(L"Floor 2") + "\ndrag " + t.At(L"Floor 2") + " to " + t.At(L"Floor 1") + "\nclick #1";
            }),
            IDOK);
  ASSERT_EQ(steps.size(), 3u);
  EXPECT_NE(steps.back().image, nullptr);
  EXPECT_EQ(steps.back().height, oneItemHeight);
  EXPECT_EQ(steps.back().highlighted, L"");
  EXPECT_EQ(Lisp("saved"), kPlan);
}

TEST_F(Trees, RefusedDropsLeaveTheTreeAsItWas) {
  // A floor can't be dragged; a room on its own floor keeps its place; Ctrl-click on a room of
  // another floor leaves the selection as it was, so only Room 101 moves.
  Probe<CFloorTree> d;
  EXPECT_EQ(Run(d, [](Probe<CFloorTree>& t) {
              return "click " + t.At(L"Floor 2") + "\ndrag " + t.At(L"Floor 2") + " to " + t.At(L"Floor 1") +
                     "\nclick " + t.At(L"Room 101") + "\ndrag " + t.At(L"Room 101") + " to " + t.At(L"Floor 1") +
                     "\nclick #1";
            }),
            IDOK);
  EXPECT_EQ(Lisp("saved"), kPlan);
  Probe<CFloorTree> other;
  EXPECT_EQ(Run(other, [](Probe<CFloorTree>& t) {
              return "click " + t.At(L"Room 101") + "\nclick ctrl+" + t.At(L"Room 201") + "\ndrag " + t.At(L"Room 101") +
                     " to " + t.At(L"Floor 2") + "\nclick #1";
            }),
            IDOK);
  EXPECT_EQ(Lisp("saved"),
            "((\"Floor 1\" . 1) ((\"Room 102\" . -2) (\"Room 103\" . -3)) (\"Floor 2\" . 2) ((\"Room 201\" . -4) (\"Room 101\" . -1)))");
}

TEST_F(Trees, ShiftClickTakesTheRangeBetweenSiblingsInTreeOrder) {
  // Picked bottom first, the range still runs top down, and so do the moved rooms.
  Probe<CFloorTree> d;
  EXPECT_EQ(Run(d, [](Probe<CFloorTree>& t) {
              return "click " + t.At(L"Room 103") + "\nclick shift+" + t.At(L"Room 101") + "\ndrag " + t.At(L"Room 102") +
                     " to " + t.At(L"Floor 2") + "\nclick #1";
            }),
            IDOK);
  EXPECT_EQ(Lisp("saved"),
            "((\"Floor 1\" . 1) (\"Floor 2\" . 2) ((\"Room 201\" . -4) (\"Room 101\" . -1) (\"Room 102\" . -2) (\"Room 103\" . -3)))");
}

TEST_F(Trees, ButtonsPassTheCaretItemAndTheAnswerRebuildsTheTree) {
  Probe<CZoneTree> d;
  d.picture = "zone-tree-dialog.png";
  EXPECT_EQ(Run(d, [](Probe<CZoneTree>& t) {
              return std::string("click #3\nclick ") + t.At(L"Room 103") + "\nclick #10\nclick #6\nclick #7\nclick #5\n" +
                     "drag " + t.At(L"Floor 2") + " to " + t.At(L"Floor 1") + "\nclick #1";
            }),
            IDOK);
  // At start nothing is the caret (data 0); each answer selects item -3 again.
  EXPECT_EQ(Lisp("calls"),
            "((\"edit\" 0) (\"rename\" -3) (\"editZones\" -3) (\"editRooms\" -3) (\"view\" -3))");
  EXPECT_EQ(Lisp("saved"),
            "((\"Floor 1\" . 1) ((\"Room 101\" . -1) (\"Room 102\" . -2) (\"Room 103\" . -3) (\"Floor 2\" . 2) ((\"Room 201\" . -4))))")
      << "a zone can be dragged into another";
}

TEST_F(Trees, EmptyRoomTableCreatesARoomAndAnEmptyListSavesEmpty) {
  Lisp("(defun room-hvac-tableIsEmpty () T)");
  Probe<CFloorTree> d;
  EXPECT_EQ(Run(d, [](Probe<CFloorTree>&) { return std::string("click #5"); }), CTreeDialog::kCreateRoomResult);
  EXPECT_EQ(Lisp("calls"), "nil") << "Edit Rooms became Create Room";
  Lisp("(setq plan nil)");
  Probe<CFloorTree> empty;
  EXPECT_EQ(Run(empty, [](Probe<CFloorTree>&) { return std::string("click #1"); }), IDOK);
  EXPECT_EQ(Lisp("saved"), "nil");
}

}  // namespace
}  // namespace kvtest
