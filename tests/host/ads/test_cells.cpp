// Building, copying and releasing result-buffer chains.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

#include "ads.h"

namespace {

std::vector<short> types(const resbuf* rb) {
  std::vector<short> t;
  for (; rb; rb = rb->rbnext) t.push_back(rb->restype);
  return t;
}

TEST(Cells, BuildListReadsEachValueKind) {
  ads_point p{1, 2, 3};
  ads_name n{7, 8};
  std::wstring text = L"duct";
  resbuf* rb = acutBuildList(RTSHORT, 5, RTLONG, 70000, RTREAL, 2.5, RTSTR, text.c_str(), RT3DPOINT, p, RTENAME, n,
                             RTLB, RTNIL, RTT, RTLE, RTDOTE, 0);
  ASSERT_NE(rb, nullptr);
  EXPECT_EQ(types(rb), (std::vector<short>{RTSHORT, RTLONG, RTREAL, RTSTR, RT3DPOINT, RTENAME, RTLB, RTNIL, RTT,
                                           RTLE, RTDOTE}));
  const resbuf* c = rb;
  EXPECT_EQ(c->resval.rint, 5);
  EXPECT_EQ((c = c->rbnext)->resval.rlong, 70000);
  EXPECT_EQ((c = c->rbnext)->resval.rreal, 2.5);
  c = c->rbnext;
  EXPECT_STREQ(c->resval.rstring, L"duct");
  EXPECT_NE(c->resval.rstring, text.c_str()) << "strings are copied";
  c = c->rbnext;
  EXPECT_EQ(c->resval.rpoint[2], 3.0);
  EXPECT_EQ((c = c->rbnext)->resval.rlname[1], 8);
  acutRelRb(rb);
}

TEST(Cells, GroupCodesTakeTheValueKindOfTheirRange) {
  ads_point p{4, 5, 6};
  ads_name n{1, 2};
  resbuf* rb = acutBuildList(RTDXF0, L"LINE", 8, L"0", 10, p, 40, 1.5, 70, 3, 90, 123456, -1, n, 1000, L"x", 1070, 4,
                             RTNONE);
  ASSERT_NE(rb, nullptr);
  EXPECT_STREQ(rb->resval.rstring, L"LINE");
  const resbuf* c = rb->rbnext->rbnext;
  EXPECT_EQ(c->resval.rpoint[1], 5.0);
  EXPECT_EQ((c = c->rbnext)->resval.rreal, 1.5);
  EXPECT_EQ((c = c->rbnext)->resval.rint, 3);
  EXPECT_EQ((c = c->rbnext)->resval.rlong, 123456);
  EXPECT_EQ((c = c->rbnext)->resval.rlname[0], 1);
  EXPECT_STREQ((c = c->rbnext)->resval.rstring, L"x");
  EXPECT_EQ((c = c->rbnext)->resval.rint, 4);
  acutRelRb(rb);

  EXPECT_EQ(kvads::dxfValueKind(5), kvads::DxfKind::String);
  EXPECT_EQ(kvads::dxfValueKind(17), kvads::DxfKind::Point);
  EXPECT_EQ(kvads::dxfValueKind(38), kvads::DxfKind::Real);
  EXPECT_EQ(kvads::dxfValueKind(330), kvads::DxfKind::Name);
  EXPECT_EQ(kvads::dxfValueKind(1071), kvads::DxfKind::Long);
  EXPECT_EQ(kvads::dxfValueKind(1100), kvads::DxfKind::Invalid);
}

TEST(Cells, UnknownCodeGivesNullAndReleasesWhatWasBuilt) {
  EXPECT_EQ(acutBuildList(RTSTR, L"leak?", 4999, 1.0, 0), nullptr);  // the sanitizer run sees no leak
  EXPECT_EQ(acutBuildList(0), nullptr);
  EXPECT_EQ(acutBuildList(RTNONE), nullptr);
}

TEST(Cells, NewCellIsEmptyAndCopiesAreDeep) {
  resbuf* rb = acutNewRb(RTSTR);
  EXPECT_EQ(rb->rbnext, nullptr);
  EXPECT_EQ(rb->resval.rstring, nullptr);
  rb->resval.rstring = kvads::dupString(L"a");
  rb->rbnext = acutBuildList(RTSTR, L"b", RTREAL, 1.0, 0);
  resbuf* copy = kvads::copyChain(rb);
  EXPECT_NE(copy->resval.rstring, rb->resval.rstring);
  EXPECT_STREQ(copy->rbnext->resval.rstring, L"b");
  EXPECT_EQ(types(copy), types(rb));
  acutRelRb(rb);
  acutRelRb(copy);
  EXPECT_EQ(kvads::copyChain(nullptr), nullptr);
  EXPECT_EQ(acutRelRb(nullptr), RTNORM);
}

// Released chains, short or past what the free list keeps, give cells back once each: the cells
// handed out next are empty and never the same cell twice.
TEST(Cells, ReleasedChainsComeBackAsDistinctEmptyCells) {
  for (int length : {3, 1000, 40000}) {
    resbuf* head = acutBuildList(RTSTR, L"first", 0);
    resbuf* tail = head;
    for (int i = 1; i < length; ++i)
      tail = tail->rbnext = i % 2 ? acutBuildList(RTREAL, 1.5, 0) : acutBuildList(RTSTR, L"s", 0);
    acutRelRb(head);
    std::set<resbuf*> seen;
    std::vector<resbuf*> taken;
    for (int i = 0; i < length + 10; ++i) {
      resbuf* cell = acutNewRb(RTSTR);
      EXPECT_EQ(cell->rbnext, nullptr);
      EXPECT_EQ(cell->resval.rstring, nullptr);
      EXPECT_TRUE(seen.insert(cell).second) << "cell " << i << " of " << length << " handed out twice";
      taken.push_back(cell);
    }
    for (resbuf* cell : taken) acutRelRb(cell);
  }
}

TEST(Cells, Utf8AndWideRoundTripAndBadBytesAreReplaced) {
  std::string s = "Ø 25 – €";
  EXPECT_EQ(kvads::toUtf8(kvads::toWide(s)), s);
  EXPECT_EQ(kvads::toWide("a\xC3"), L"a\uFFFD");  // a cut sequence at the end
  EXPECT_EQ(kvads::toWide("\x80z"), L"\uFFFDz");
  EXPECT_EQ(kvads::toWide("\xE2\x28\xA1"), L"\uFFFD(\uFFFD");
}

}  // namespace
