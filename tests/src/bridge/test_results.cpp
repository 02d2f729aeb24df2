// Result builders and tree lists, read back through the host's call frame.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "bridge/bridge.h"

namespace {

// Types of a chain's cells, in order.
std::vector<int> TypesOf(const resbuf* rb) {
  std::vector<int> types;
  for (; rb; rb = rb->rbnext) types.push_back(rb->restype);
  return types;
}

// Runs `fill` as if inside a LISP call and gives the result cells it set.
template <class F>
ResbufPtr ResultOf(F fill) {
  kvads::CallFrame frame(nullptr);
  fill();
  return ResbufPtr(frame.takeResult());
}

TEST(RetIndex, SixteenBitsAsIntegerWiderAsReal) {
  ResbufPtr small = ResultOf([] { RetIndex(32767); });
  ASSERT_NE(small, nullptr);
  EXPECT_EQ(small->restype, RTSHORT);
  EXPECT_EQ(small->resval.rint, 32767);
  ResbufPtr big = ResultOf([] { RetIndex(32768); });
  EXPECT_EQ(big->restype, RTREAL);
  EXPECT_EQ(big->resval.rreal, 32768.0);
  ResbufPtr low = ResultOf([] { RetIndex(-32769); });
  EXPECT_EQ(low->restype, RTREAL);
  ResbufPtr lowest = ResultOf([] { RetIndex(-32768); });
  EXPECT_EQ(lowest->restype, RTSHORT);
}

TEST(ResultList, AppendFamilyBuildsPairsAndClosesTheList) {
  resbuf* head = nullptr;
  resbuf* tail = nullptr;
  ResbufPtr result = ResultOf([&] {
    ResultOpen(head, tail);
    AppendStringInt(tail, L"n", 70000);
    AppendStringReal(tail, L"x", 2.5);
    AppendRealInt(tail, 1.25, 7);
    AppendString(tail, L"bare");
    EXPECT_EQ(tail->rbnext, nullptr);
    EXPECT_EQ(tail->restype, RTSTR);
    ResultClose(head, tail);
  });
  EXPECT_EQ(head, nullptr);
  EXPECT_EQ(tail, nullptr);
  // The host hands LISP the list as it was built (its own wrapping aside).
  std::vector<int> types = TypesOf(result.get());
  std::vector<int> pairs = {RTLB, RTSTR, RTDOTE, RTLONG, RTLE, RTLB, RTSTR, RTDOTE, RTREAL, RTLE,
                            RTLB, RTREAL, RTDOTE, RTLONG, RTLE, RTSTR};
  ASSERT_GE(types.size(), pairs.size() + 2);
  auto found = std::search(types.begin(), types.end(), pairs.begin(), pairs.end());
  ASSERT_NE(found, types.end());
  const resbuf* cell = result.get();
  for (auto it = types.begin(); it != found + 3; ++it) cell = cell->rbnext;
  EXPECT_EQ(cell->restype, RTLONG);
  EXPECT_EQ(cell->resval.rlong, 70000);
}

// A tree control kept in memory: items are 1-based indices into a vector; 1 is the root.
class MemoryTree : public LispTreeControl {
 public:
  MemoryTree() { nodes_.push_back({L"<root>", 0, 0, {}, false}); }
  Item rootItem() const override { return 1; }
  Item insertItem(const std::wstring& text, Item parent) override {
    nodes_.push_back({text, 0, parent, {}, false});
    nodes_[parent - 1].children.push_back(nodes_.size());
    return nodes_.size();
  }
  void setItemData(Item item, std::int32_t data) override { nodes_[item - 1].data = data; }
  void expand(Item item) override { nodes_[item - 1].expanded = true; }
  Item childItem(Item parent) const override {
    const auto& c = nodes_[parent - 1].children;
    return c.empty() ? 0 : c.front();
  }
  Item nextSiblingItem(Item item) const override {
    const auto& c = nodes_[nodes_[item - 1].parent - 1].children;
    for (std::size_t i = 0; i + 1 < c.size(); ++i)
      if (c[i] == item) return c[i + 1];
    return 0;
  }
  std::wstring itemText(Item item) const override { return nodes_[item - 1].text; }
  std::int32_t itemData(Item item) const override { return nodes_[item - 1].data; }

  // The tree as text: text[:data][+ if expanded]{children}.
  std::wstring dump(Item item = 1) const {
    std::wstring s;
    for (Item c : nodes_[item - 1].children) {
      const Node& n = nodes_[c - 1];
      s += n.text;
      if (n.data) s += L":" + std::to_wstring(n.data);
      if (n.expanded) s += L"+";
      if (!n.children.empty()) s += L"{" + dump(c) + L"}";
      s += L" ";
    }
    return s;
  }

 private:
  struct Node {
    std::wstring text;
    std::int32_t data;
    Item parent;
    std::vector<Item> children;
    bool expanded;
  };
  std::vector<Node> nodes_;
};

// (("A" . 1) ("B" ("C" . 2))) as LISP passes it (pairs end with their dot): A(1) with the
// children B and C(2).
resbuf* SampleTreeList() {
  return acutBuildList(RTLB, RTLB, RTSTR, L"A", RTSHORT, 1, RTDOTE, RTLB, RTSTR, L"B", RTLB, RTSTR,
                       L"C", RTSHORT, 2, RTDOTE, RTLE, RTLE, 0);
}

TEST(TreeList, ListToTreeReadsPairsLabelsNestingAndSkipsTheRest) {
  MemoryTree tree;
  ResbufPtr cells(SampleTreeList());
  ArgCursor c(cells.get());
  ListToTree(tree, c, 0);
  EXPECT_TRUE(c.atEnd());
  EXPECT_EQ(tree.dump(), L"A:1+{B C:2 } ");

  // A label followed by an int takes it as data; nil and reals are skipped; a pair whose fourth
  // cell is no dot is read as a nested list of the item before it.
  MemoryTree odd;
  ResbufPtr mixed(acutBuildList(RTLB, RTSTR, L"X", RTSHORT, 5, RTNIL, RTREAL, 1.5, RTSTR, L"Y",
                                RTLB, RTSTR, L"Z", RTSHORT, 3, RTLE, RTLE, 0));
  ArgCursor m(mixed.get());
  ListToTree(odd, m, 0);
  EXPECT_EQ(odd.dump(), L"X:5 Y+{Z:3 } ");

  // A list cut short ends where the cells end.
  MemoryTree cut;
  ResbufPtr open(acutBuildList(RTLB, RTSTR, L"P", RTLB, RTSTR, L"Q", 0));
  ArgCursor o(open.get());
  ListToTree(cut, o, 0);
  EXPECT_EQ(cut.dump(), L"P+{Q } ");
}

TEST(TreeList, TreeToListRoundTripsThroughListToTree) {
  MemoryTree tree;
  ResbufPtr cells(SampleTreeList());
  ArgCursor c(cells.get());
  ListToTree(tree, c, 0);

  ResbufPtr out(acutBuildList(RTSTR, L"kv_hvac-zoneTree-saveTree", 0));
  resbuf* tail = out.get();
  TreeToList(tree, 0, tail);
  EXPECT_EQ(tail->rbnext, nullptr);
  EXPECT_EQ(tail->restype, RTLE);
  // The module's own pairs put the dot between the parts and close with RTLE.
  std::vector<int> expected = {RTSTR, RTLB, RTLB, RTSTR, RTDOTE, RTLONG, RTLE, RTLB, RTSTR,
                               RTLB, RTSTR, RTDOTE, RTLONG, RTLE, RTLE, RTLE};
  EXPECT_EQ(TypesOf(out.get()), expected);
}

TEST(TreeList, DeepNestingDoesNotExhaustTheStack) {
  std::vector<resbuf*> parts;
  ResbufPtr cells(acutBuildList(RTLB, 0));
  resbuf* tail = cells.get();
  for (int i = 0; i < 100000; ++i) AppendCells(tail, acutBuildList(RTSTR, L"n", RTLB, 0));
  MemoryTree tree;
  ArgCursor c(cells.get());
  ListToTree(tree, c, 0);
  EXPECT_TRUE(c.atEnd());
}

}  // namespace
