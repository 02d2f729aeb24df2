// Result builders: plain results, result lists and tree lists.
#include <limits>

#include "bridge.h"

namespace {

resbuf* LastCell(resbuf* cell) {
  while (cell->rbnext) cell = cell->rbnext;
  return cell;
}

}  // namespace

void RetIndex(std::int32_t value) {
  if (value >= std::numeric_limits<short>::min() && value <= std::numeric_limits<short>::max())
    acedRetInt(value);
  else
    acedRetReal(static_cast<double>(value));
}

void ResultOpen(resbuf*& head, resbuf*& tail) {
  head = tail = acutBuildList(RTLB, 0);
}

void AppendCells(resbuf*& tail, resbuf* cells) {
  if (!cells) return;
  tail->rbnext = cells;
  tail = LastCell(cells);
}

void ResultClose(resbuf*& head, resbuf*& tail) {
  AppendCells(tail, acutBuildList(RTLE, 0));
  resbuf* list = head;
  head = tail = nullptr;
  kvads::retListTaken(list);  // the list is ours alone: handed over, not copied
}

namespace {

// The pair builders run once per item of long result lists: their cells are linked one by one,
// without acutBuildList's reading of a variable argument list or a walk to the new tail.
resbuf* Link(resbuf*& tail, int type) {
  resbuf* cell = acutNewRb(type);
  tail->rbnext = cell;
  tail = cell;
  return cell;
}

void LinkString(resbuf*& tail, const ACHAR* text) {
  resbuf* cell = acutBuildList(RTSTR, text, 0);
  tail->rbnext = cell;
  tail = cell;
}

}  // namespace

void AppendStringInt(resbuf*& tail, const ACHAR* key, std::int32_t n) {
  Link(tail, RTLB);
  LinkString(tail, key);
  Link(tail, RTDOTE);
  Link(tail, RTLONG)->resval.rlong = n;
  Link(tail, RTLE);
}

void AppendStringReal(resbuf*& tail, const ACHAR* key, double x) {
  Link(tail, RTLB);
  LinkString(tail, key);
  Link(tail, RTDOTE);
  Link(tail, RTREAL)->resval.rreal = x;
  Link(tail, RTLE);
}

void AppendRealInt(resbuf*& tail, double x, std::int32_t n) {
  Link(tail, RTLB);
  Link(tail, RTREAL)->resval.rreal = x;
  Link(tail, RTDOTE);
  Link(tail, RTLONG)->resval.rlong = n;
  Link(tail, RTLE);
}

void AppendString(resbuf*& tail, const ACHAR* text) {
  AppendCells(tail, acutBuildList(RTSTR, text, 0));
}

namespace {

// Deeper nesting than any outline a person keeps is refused rather than allowed to exhaust the
// stack: such a list is read flat from there on.
constexpr int kMaxTreeDepth = 256;

void ListToTreeAt(LispTreeControl& control, ArgCursor& cursor, LispTreeControl::Item parent,
                  int depth) {
  if (parent == 0) {
    ArgListOpen(cursor);
    parent = control.rootItem();
  }
  LispTreeControl::Item last = 0;
  while (!cursor.atEnd()) {
    if (ArgListClose(cursor)) return;
    std::wstring text;
    std::int32_t data = 0;
    if (ArgPair(cursor, text, data)) {
      last = control.insertItem(text, parent);
      control.setItemData(last, data);
    } else if (ArgString(cursor, text)) {
      last = control.insertItem(text, parent);
      if (ArgInt(cursor, data)) control.setItemData(last, data);
    } else if (cursor.type() == RTLB && depth < kMaxTreeDepth) {
      // Without an item before it a nested list has no owner; it then lands under the root.
      if (last == 0) {
        ListToTreeAt(control, cursor, 0, depth + 1);
        continue;
      }
      cursor.step();
      ListToTreeAt(control, cursor, last, depth + 1);
      control.expand(last);
    } else {
      ArgSkip(cursor);
    }
  }
}

}  // namespace

void ListToTree(LispTreeControl& control, ArgCursor& cursor, LispTreeControl::Item parent) {
  ListToTreeAt(control, cursor, parent, 0);
}

void TreeToList(const LispTreeControl& control, LispTreeControl::Item first, resbuf*& tail) {
  AppendCells(tail, acutBuildList(RTLB, 0));
  LispTreeControl::Item item = first ? first : control.childItem(control.rootItem());
  for (; item != 0; item = control.nextSiblingItem(item)) {
    std::wstring text = control.itemText(item);
    std::int32_t data = control.itemData(item);
    if (data != 0)
      AppendCells(tail, acutBuildList(RTLB, RTSTR, text.c_str(), RTDOTE, RTLONG, data, RTLE, 0));
    else
      AppendCells(tail, acutBuildList(RTSTR, text.c_str(), 0));
    LispTreeControl::Item child = control.childItem(item);
    if (child != 0) TreeToList(control, child, tail);
  }
  AppendCells(tail, acutBuildList(RTLE, 0));
}
