// Argument readers: what each accepts, what it leaves behind, and where the cursor stays on failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

#include "bridge/bridge.h"

namespace {

// Owns a chain built for one test.
struct Cells {
  ResbufPtr chain;
  explicit Cells(resbuf* rb) : chain(rb) {}
  ArgCursor cursor() const { return ArgCursor(chain.get()); }
  const resbuf* at(int n) const {
    const resbuf* c = chain.get();
    while (n-- > 0 && c) c = c->rbnext;
    return c;
  }
};

TEST(ArgString, ReadsStringsOnly) {
  Cells cells(acutBuildList(RTSTR, L"duct", RTSHORT, 3, RTSTR, L"", 0));
  ArgCursor c = cells.cursor();
  std::wstring s = L"untouched";
  ASSERT_TRUE(ArgString(c, s));
  EXPECT_EQ(s, L"duct");
  EXPECT_FALSE(ArgString(c, s));
  EXPECT_EQ(s, L"duct");
  EXPECT_EQ(c.cell(), cells.at(1));
  ArgSkip(c);
  ASSERT_TRUE(ArgString(c, s));
  EXPECT_EQ(s, L"");
  EXPECT_TRUE(c.atEnd());
  EXPECT_FALSE(ArgString(c, s));
}

TEST(ArgInt, WidthsTruncationGroupCodesAndRefusals) {
  Cells cells(acutBuildList(RTSHORT, -5, RTLONG, std::int32_t{100000}, RTREAL, 3.9, RTREAL, -3.9,
                            RTSTR, L"x", 0));
  ArgCursor c = cells.cursor();
  std::int32_t n = 0;
  ASSERT_TRUE(ArgInt(c, n));
  EXPECT_EQ(n, -5);  // sign-extended
  ASSERT_TRUE(ArgInt(c, n));
  EXPECT_EQ(n, 100000);
  ASSERT_TRUE(ArgInt(c, n));
  EXPECT_EQ(n, 3);
  ASSERT_TRUE(ArgInt(c, n));
  EXPECT_EQ(n, -3);
  n = 77;
  EXPECT_FALSE(ArgInt(c, n));
  EXPECT_EQ(n, 77);
  EXPECT_EQ(c.cell(), cells.at(4));

  // A group code answers itself and stays, so a caller can dispatch on it and read the value.
  Cells dxf(acutBuildList(8, L"LAYER1", 0));
  ArgCursor d = dxf.cursor();
  ASSERT_TRUE(ArgInt(d, n));
  EXPECT_EQ(n, 8);
  EXPECT_EQ(d.cell(), dxf.at(0));

  // A real without a 32-bit value is refused rather than converted into nonsense.
  Cells big(acutBuildList(RTREAL, 1e12, RTREAL, 2147483647.5, 0));
  ArgCursor b = big.cursor();
  EXPECT_FALSE(ArgInt(b, n));
  ArgSkip(b);
  ASSERT_TRUE(ArgInt(b, n));
  EXPECT_EQ(n, 2147483647);

  ArgCursor end;
  EXPECT_FALSE(ArgInt(end, n));
}

TEST(ArgNumber, WidensIntegersAndRefusesOthers) {
  Cells cells(acutBuildList(RTSHORT, 8, RTREAL, 8.5, RTLONG, std::int32_t{-70000}, RTT, 0));
  ArgCursor c = cells.cursor();
  double x = 0;
  ASSERT_TRUE(ArgNumber(c, x));
  EXPECT_EQ(x, 8.0);
  ASSERT_TRUE(ArgNumber(c, x));
  EXPECT_EQ(x, 8.5);
  ASSERT_TRUE(ArgNumber(c, x));
  EXPECT_EQ(x, -70000.0);
  EXPECT_FALSE(ArgNumber(c, x));
  EXPECT_EQ(x, -70000.0);
  EXPECT_EQ(c.cell(), cells.at(3));
}

TEST(ArgBool, NilListEndAndEverythingElse) {
  Cells cells(acutBuildList(RTLB, RTNIL, RTSHORT, 0, RTLE, 0));
  ArgCursor c = cells.cursor();
  bool b = true;
  EXPECT_FALSE(ArgBool(c, b));  // a list is not a flag
  EXPECT_EQ(c.cell(), cells.at(0));
  ASSERT_TRUE(ArgListOpen(c));
  ASSERT_TRUE(ArgBool(c, b));
  EXPECT_FALSE(b);
  ASSERT_TRUE(ArgBool(c, b));
  EXPECT_TRUE(b);  // 0 is not nil
  // The list's end reads as a missing flag and stays for the closing reader.
  b = true;
  ASSERT_TRUE(ArgBool(c, b));
  EXPECT_FALSE(b);
  EXPECT_EQ(c.cell(), cells.at(3));
  EXPECT_TRUE(ArgListClose(c));
  EXPECT_TRUE(c.atEnd());
  EXPECT_FALSE(ArgBool(c, b));
}

TEST(ArgPoint2d, CellFormsAndTwoReals) {
  ads_point p1 = {1, 2, 3}, p2 = {4, 5, 6}, p3 = {7, 8, 9};
  Cells cells(acutBuildList(RTPOINT, p1, RT3DPOINT, p2, 10, p3, RTREAL, 1.5, RTREAL, 2.5,
                            RTREAL, 9.0, RTSHORT, 2, 0));
  ArgCursor c = cells.cursor();
  ads_point out = {0, 0, -1};
  ASSERT_TRUE(ArgPoint2d(c, out));
  EXPECT_EQ(out[0], 1);
  EXPECT_EQ(out[1], 2);
  EXPECT_EQ(out[2], -1);  // z is not the 2D reader's to set
  ASSERT_TRUE(ArgPoint2d(c, out));
  EXPECT_EQ(out[0], 4);
  ASSERT_TRUE(ArgPoint2d(c, out));
  EXPECT_EQ(out[1], 8);
  ASSERT_TRUE(ArgPoint2d(c, out));
  EXPECT_EQ(out[0], 1.5);
  EXPECT_EQ(out[1], 2.5);
  // A real followed by an integer is not a 2D point.
  EXPECT_FALSE(ArgPoint2d(c, out));
  EXPECT_EQ(c.cell(), cells.at(5));
  EXPECT_EQ(out[0], 1.5);
}

TEST(ArgPoint3d, CellFormsNumberFormsAndFailures) {
  ads_point p2 = {1, 2, 99}, p3 = {4, 5, 6}, g = {7, 8, 9};
  Cells cells(acutBuildList(RTPOINT, p2, RT3DPOINT, p3, 17, g, 0));
  ArgCursor c = cells.cursor();
  ads_point out = {};
  ASSERT_TRUE(ArgPoint3d(c, out));
  EXPECT_EQ(out[2], 0.0);  // a 2D cell's third value is not meaningful
  ASSERT_TRUE(ArgPoint3d(c, out));
  EXPECT_EQ(out[2], 6.0);
  ASSERT_TRUE(ArgPoint3d(c, out));
  EXPECT_EQ(out[0], 7.0);
  EXPECT_EQ(out[2], 9.0);
  EXPECT_TRUE(c.atEnd());

  // (1 2 "x"): two numbers give z 0 and leave the cursor on the string.
  Cells two(acutBuildList(RTSHORT, 1, RTLONG, std::int32_t{2}, RTSTR, L"x", 0));
  ArgCursor t = two.cursor();
  ASSERT_TRUE(ArgPoint3d(t, out));
  EXPECT_EQ(out[0], 1.0);
  EXPECT_EQ(out[1], 2.0);
  EXPECT_EQ(out[2], 0.0);
  EXPECT_EQ(t.cell(), two.at(2));

  Cells three(acutBuildList(RTREAL, 1.5, RTSHORT, -2, RTREAL, 3.25, RTREAL, 4.0, 0));
  ArgCursor r = three.cursor();
  ASSERT_TRUE(ArgPoint3d(r, out));
  EXPECT_EQ(out[1], -2.0);
  EXPECT_EQ(out[2], 3.25);
  EXPECT_EQ(r.cell(), three.at(3));  // a fourth number belongs to the next reader

  // (1) alone fails and stays; so does a number followed by a string.
  Cells one(acutBuildList(RTSHORT, 1, 0));
  ArgCursor o = one.cursor();
  ads_point keep = {5, 5, 5};
  EXPECT_FALSE(ArgPoint3d(o, keep));
  EXPECT_EQ(o.cell(), one.at(0));
  EXPECT_EQ(keep[0], 5.0);
  Cells mixed(acutBuildList(RTREAL, 1.0, RTSTR, L"y", 0));
  ArgCursor m = mixed.cursor();
  EXPECT_FALSE(ArgPoint3d(m, keep));
  EXPECT_EQ(m.cell(), mixed.at(0));
}

TEST(ArgList, OpenAndCloseOnlyOnTheirCells) {
  Cells cells(acutBuildList(RTLB, RTLE, 0));
  ArgCursor c = cells.cursor();
  EXPECT_FALSE(ArgListClose(c));
  EXPECT_TRUE(ArgListOpen(c));
  EXPECT_FALSE(ArgListOpen(c));
  EXPECT_TRUE(ArgListClose(c));
  EXPECT_FALSE(ArgListClose(c));
  ArgSkip(c);  // at the end it does nothing
  EXPECT_TRUE(c.atEnd());
}

TEST(ArgPair, DottedPairsAndWhatIsNotOne) {
  Cells cells(acutBuildList(RTLB, RTSTR, L"A", RTSHORT, 1, RTDOTE, RTSTR, L"after", 0));
  ArgCursor c = cells.cursor();
  std::wstring text;
  std::int32_t n = 0;
  ASSERT_TRUE(ArgPair(c, text, n));
  EXPECT_EQ(text, L"A");
  EXPECT_EQ(n, 1);
  EXPECT_EQ(c.cell(), cells.at(4));

  // A plain list of two: the fourth cell is no dot, the cursor stays on the RTLB.
  Cells list(acutBuildList(RTLB, RTSTR, L"B", RTSHORT, 2, RTLE, 0));
  ArgCursor l = list.cursor();
  text = L"kept";
  EXPECT_FALSE(ArgPair(l, text, n));
  EXPECT_EQ(l.cell(), list.at(0));
  EXPECT_EQ(text, L"kept");

  // A dot where the parts cannot be read: (1 . "x") and ("x" . "y").
  Cells swapped(acutBuildList(RTLB, RTSHORT, 1, RTSTR, L"x", RTDOTE, 0));
  ArgCursor s = swapped.cursor();
  EXPECT_FALSE(ArgPair(s, text, n));
  EXPECT_EQ(s.cell(), swapped.at(0));
  Cells strings(acutBuildList(RTLB, RTSTR, L"x", RTSTR, L"y", RTDOTE, 0));
  ArgCursor t = strings.cursor();
  EXPECT_FALSE(ArgPair(t, text, n));
  EXPECT_EQ(t.cell(), strings.at(0));

  // Too short to hold a pair.
  Cells cut(acutBuildList(RTLB, RTSTR, L"x", 0));
  ArgCursor u = cut.cursor();
  EXPECT_FALSE(ArgPair(u, text, n));
  EXPECT_EQ(u.cell(), cut.at(0));
}

// Random chains read by random readers: every reader stays inside the chain and only ever moves
// forward, whatever the cells (run under the sanitizers this also proves no stray reads).
TEST(ArgReaders, RandomChainsAreReadSafely) {
  std::mt19937 rng(12345);
  const int kTypes[] = {RTREAL, RTPOINT, RTSHORT, RTSTR, RT3DPOINT, RTLONG, RTLB, RTLE,
                        RTDOTE, RTNIL,  RTT,     8,     10,        -1,    RTENAME};
  ads_point p = {1, 2, 3};
  std::int64_t name[2] = {0, 0};
  for (int round = 0; round < 300; ++round) {
    ResbufPtr head(acutBuildList(RTNIL, 0));
    resbuf* tail = head.get();
    int n = 1 + static_cast<int>(rng() % 40);
    for (int i = 0; i < n; ++i) {
      int type = kTypes[rng() % std::size(kTypes)];
      resbuf* cell = nullptr;
      switch (type) {
        case RTREAL: cell = acutBuildList(RTREAL, 2.5 * i, 0); break;
        case RTPOINT: case RT3DPOINT: case 10: cell = acutBuildList(type, p, 0); break;
        case RTSHORT: cell = acutBuildList(RTSHORT, i, 0); break;
        case RTLONG: cell = acutBuildList(RTLONG, std::int32_t{i}, 0); break;
        case RTSTR: case 8: cell = acutBuildList(type, L"s", 0); break;
        case RTENAME: case -1: cell = acutBuildList(type, name, 0); break;
        default: cell = acutBuildList(type, 0); break;
      }
      AppendCells(tail, cell);
    }
    std::vector<const resbuf*> order;
    for (const resbuf* c = head.get(); c; c = c->rbnext) order.push_back(c);
    auto position = [&](const ArgCursor& c) {
      if (c.atEnd()) return order.size();
      return static_cast<std::size_t>(std::find(order.begin(), order.end(), c.cell()) - order.begin());
    };
    ArgCursor cursor(head.get());
    for (int steps = 0; !cursor.atEnd() && steps < 400; ++steps) {
      std::size_t before = position(cursor);
      ASSERT_LT(before, order.size());
      std::wstring s;
      std::int32_t v;
      double x;
      bool b;
      ads_point q;
      bool ok = false;
      switch (rng() % 9) {
        case 0: ok = ArgString(cursor, s); break;
        case 1: ok = ArgInt(cursor, v); break;
        case 2: ok = ArgNumber(cursor, x); break;
        case 3: ok = ArgBool(cursor, b); break;
        case 4: ok = ArgPoint2d(cursor, q); break;
        case 5: ok = ArgPoint3d(cursor, q); break;
        case 6: ok = ArgListOpen(cursor) || ArgListClose(cursor); break;
        case 7: ok = ArgPair(cursor, s, v); break;
        default: break;
      }
      std::size_t after = position(cursor);
      ASSERT_LE(after, order.size());
      if (ok) ASSERT_GE(after, before);
      else ASSERT_EQ(after, before);
      if (after == before) ArgSkip(cursor);
    }
  }
}

}  // namespace
