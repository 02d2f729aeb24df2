// The loads LISP bodies driven through the host's call frames: curve lists, the month loop and
// its failures, and store/get/reset of both stores.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "loads/loads.h"
#include "loads/loadslisp.h"

namespace {

struct Call {
  LispStatus status;
  ResbufPtr result;
  bool hasResult;
};

// Runs body with args (owned by the frame), as the host would.
Call run(LispBody body, resbuf* args) {
  kvads::CallFrame frame(args);
  const LispStatus status = body();
  const bool has = frame.hasResult();
  return {status, ResbufPtr(frame.takeResult()), has};
}

// (key . value) pairs of an association list of reals and integers.
std::vector<std::pair<double, int>> realIntPairs(const resbuf* rb) {
  std::vector<std::pair<double, int>> pairs;
  if (!rb) return pairs;
  EXPECT_EQ(rb->restype, RTLB);
  for (rb = rb->rbnext; rb && rb->restype == RTLB; rb = rb->rbnext->rbnext->rbnext->rbnext->rbnext) {
    const resbuf *key = rb->rbnext, *value = key->rbnext->rbnext;
    EXPECT_EQ(key->restype, RTREAL);
    EXPECT_EQ(key->rbnext->restype, RTDOTE);
    EXPECT_EQ(value->restype, RTLONG);
    EXPECT_EQ(value->rbnext->restype, RTLE);
    pairs.emplace_back(key->resval.rreal, value->resval.rlong);
  }
  EXPECT_TRUE(rb && rb->restype == RTLE);
  return pairs;
}

// ("name" . number) pairs as text and value.
std::vector<std::pair<std::wstring, double>> namedPairs(const resbuf* rb) {
  std::vector<std::pair<std::wstring, double>> pairs;
  if (!rb) return pairs;
  for (rb = rb->rbnext; rb && rb->restype == RTLB; rb = rb->rbnext->rbnext->rbnext->rbnext->rbnext) {
    const resbuf *key = rb->rbnext, *value = key->rbnext->rbnext;
    EXPECT_EQ(key->restype, RTSTR);
    pairs.emplace_back(key->resval.rstring,
                       value->restype == RTREAL ? value->resval.rreal : static_cast<double>(value->resval.rlong));
  }
  return pairs;
}

bool isNil(const Call& c) { return !c.result || c.result->restype == RTNIL; }

TEST(LoadsLisp, RoofCurvesForSeveralMonthsInOrder) {
  Call c = run(lispGetRoofCltdDxf, acutBuildList(RTSHORT, 40, RTSHORT, 1, RTSHORT, 0, RTSHORT, 5, RTNONE));
  ASSERT_EQ(c.status, LispStatus::Success);
  const auto pairs = realIntPairs(c.result.get());
  ASSERT_EQ(pairs.size(), 48u);
  for (int i = 0; i < 48; ++i) {
    const int month = i < 24 ? 0 : 5, hour = i % 24;
    EXPECT_DOUBLE_EQ(pairs[i].first, hour + month / 100.0);
    EXPECT_EQ(pairs[i].second, roofCltd(40, 1, month, hour));
  }
  EXPECT_EQ(pairs[13].second, 49);  // January's peak at 2 pm
}

TEST(LoadsLisp, MonthLoopEdgeCases) {
  // No month: the empty list, which LISP reads as nil.
  Call none = run(lispGetWallCltdDxf, acutBuildList(RTSHORT, 40, RTSHORT, 1, RTSTR, L"S", RTNONE));
  EXPECT_EQ(none.status, LispStatus::Success);
  EXPECT_TRUE(realIntPairs(none.result.get()).empty());
  // Month 12 of a wall: zeros keyed x.12; a repeated month repeats its pairs.
  Call twelve = run(lispGetWallCltdDxf, acutBuildList(RTSHORT, 40, RTSHORT, 1, RTSTR, L"S", RTSHORT, 12, RTSHORT, 6,
                                                      RTSHORT, 6, RTNONE));
  const auto pairs = realIntPairs(twelve.result.get());
  ASSERT_EQ(pairs.size(), 72u);
  EXPECT_DOUBLE_EQ(pairs[5].first, 5.12);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(pairs[i].second, 0);
  for (int i = 24; i < 48; ++i) EXPECT_EQ(pairs[i], pairs[i + 24]);
  EXPECT_DOUBLE_EQ(pairs[24 + 13].first, 13.06);
  // Glass reads the zone's first character and the orientation name.
  Call glass = run(lispGetGlassCltdDxf, acutBuildList(RTSHORT, 40, RTSTR, L"dense", RTSTR, L"UP", RTSHORT, 6, RTNONE));
  EXPECT_EQ(realIntPairs(glass.result.get())[0].second, 37);
}

TEST(LoadsLisp, WrongTypesFailWithNoResult) {
  Call month = run(lispGetRoofCltdDxf, acutBuildList(RTSHORT, 40, RTSHORT, 1, RTSHORT, 0, RTSTR, L"May", RTNONE));
  EXPECT_EQ(month.status, LispStatus::WrongType);
  EXPECT_TRUE(isNil(month));
  Call latitude = run(lispGetGlassCltdDxf, acutBuildList(RTSTR, L"40", RTSTR, L"A", RTSTR, L"N", RTSHORT, 1, RTNONE));
  EXPECT_EQ(latitude.status, LispStatus::WrongType);
  Call orientation = run(lispGetWallCltdDxf, acutBuildList(RTSHORT, 40, RTSHORT, 1, RTSHORT, 4, RTNONE));
  EXPECT_EQ(orientation.status, LispStatus::WrongType);
  Call keys = run(lispStoreRoomData, acutBuildList(RTSHORT, 1, RTSTR, L"x", RTSHORT, 3, RTNONE));
  EXPECT_EQ(keys.status, LispStatus::WrongType);
  Call missing = run(lispGetWallData, acutBuildList(RTSHORT, 1, RTSHORT, 2, RTNONE));
  EXPECT_EQ(missing.status, LispStatus::WrongType);
}

class LoadStoreLisp : public ::testing::Test {
 protected:
  void SetUp() override {
    run(lispResetRoomData, nullptr);
    run(lispResetWallData, nullptr);
  }
  void TearDown() override { SetUp(); }
};

TEST_F(LoadStoreLisp, StoresAddAndSkipWhatTheyCannotRead) {
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(run(lispStoreRoomData, acutBuildList(RTSHORT, 1, RTSHORT, 2, RTSHORT, 3, RTSTR, L"iCoolingCFM", RTREAL, 10.9,
                                                   RTREAL, 7.0, RTSTR, L"dRoof", RTSHORT, -4, RTSTR, L"DROOF", RTREAL,
                                                   99.0, RTSTR, L"dArea", RTSTR, L"dPeople", RTREAL, 2.5, RTNONE))
                  .status,
              LispStatus::Success);
  Call get = run(lispGetRoomData, acutBuildList(RTSHORT, 0, RTSHORT, 102, RTSHORT, 3, RTNONE));
  const auto pairs = namedPairs(get.result.get());
  ASSERT_EQ(pairs.size(), 54u);
  EXPECT_EQ(pairs[0], std::make_pair(std::wstring(L"dRoof"), -8.0));
  EXPECT_EQ(pairs[23], std::make_pair(std::wstring(L"iCoolingCFM"), 20.0));
  EXPECT_EQ(pairs[51].second, 0.0);  // "dArea" had no number
  EXPECT_EQ(pairs[52].second, 5.0);  // and "dPeople" after it was read as usual
  EXPECT_EQ(get.result->rbnext->rbnext->rbnext->rbnext->restype, RTREAL);  // dRoof stays a real
}

TEST_F(LoadStoreLisp, SuffixEmptyRecordsNilAndSeparateResets) {
  run(lispStoreRoomData, acutBuildList(RTSHORT, -1, RTSHORT, 0, RTSHORT, 0, RTNONE));
  run(lispStoreWallData, acutBuildList(RTSHORT, 5, RTSHORT, 0, RTSHORT, 0, RTSTR, L"dGlass", RTREAL, 1.5, RTNONE));
  Call suffixed = run(lispGetRoomData, acutBuildList(RTSHORT, -1, RTSHORT, 0, RTSHORT, 0, RTSTR, L"_peak", RTNONE));
  const auto pairs = namedPairs(suffixed.result.get());
  ASSERT_EQ(pairs.size(), 54u);
  EXPECT_EQ(pairs[0].first, L"dRoof_peak");
  for (const auto& p : pairs) EXPECT_EQ(p.second, 0.0);
  Call bare = run(lispGetRoomData, acutBuildList(RTSHORT, -1, RTSHORT, 0, RTSHORT, 0, RTSHORT, 7, RTNONE));
  EXPECT_EQ(namedPairs(bare.result.get())[53].first, L"dPeopleRatio");
  Call wall = run(lispGetWallData, acutBuildList(RTSHORT, 5, RTSHORT, 0, RTSHORT, 0, RTSTR, L"_x", RTNONE));
  const auto wallPairs = namedPairs(wall.result.get());
  ASSERT_EQ(wallPairs.size(), 8u);
  EXPECT_EQ(wallPairs[3], std::make_pair(std::wstring(L"dGlass"), 1.5));
  EXPECT_TRUE(isNil(run(lispGetRoomData, acutBuildList(RTSHORT, 9, RTSHORT, 9, RTSHORT, 9, RTNONE))));
  EXPECT_EQ(run(lispResetRoomData, nullptr).status, LispStatus::Success);
  EXPECT_TRUE(isNil(run(lispGetRoomData, acutBuildList(RTSHORT, -1, RTSHORT, 0, RTSHORT, 0, RTNONE))));
  EXPECT_FALSE(isNil(run(lispGetWallData, acutBuildList(RTSHORT, 5, RTSHORT, 0, RTSHORT, 0, RTNONE))));
}

}  // namespace

namespace {

// Builds one random cell of the kinds LISP can pass.
resbuf* randomCell(unsigned& seed) {
  seed = seed * 1103515245u + 12345u;
  static const wchar_t* const names[] = {L"dRoof", L"iCoolingCFM", L"dGlass", L"x", L""};
  static const ads_point pt = {1, 2, 3};
  switch ((seed >> 16) % 9) {
    case 0: return acutBuildList(RTSHORT, static_cast<int>((seed >> 8) % 30) - 5, RTNONE);
    case 1: return acutBuildList(RTLONG, static_cast<std::int32_t>(seed), RTNONE);
    case 2: return acutBuildList(RTREAL, ((seed >> 4) % 1000) / 7.0 - 50, RTNONE);
    case 3: return acutBuildList(RTSTR, names[(seed >> 8) % 5], RTNONE);
    case 4: return acutBuildList(RTLB, RTNONE);
    case 5: return acutBuildList(RTLE, RTNONE);
    case 6: return acutBuildList(RTDOTE, RTNONE);
    case 7: return acutBuildList(RT3DPOINT, pt, RTNONE);
    default: return acutBuildList(RTNIL, RTNONE);
  }
}

TEST_F(LoadStoreLisp, PairsInsideListsAddAndAnyCellsAreSurvived) {
  // ("dRoof" . 2.0) arrives as RTLB, name, value, RTDOTE: the walk skips the brackets.
  run(lispStoreWallData, acutBuildList(RTSHORT, 0, RTSHORT, 0, RTSHORT, 1, RTLB, RTSTR, L"dWall", RTREAL, 2.0, RTDOTE,
                                       RTLB, RTSTR, L"dWall", RTSHORT, 3, RTLE, RTNIL, RTNONE));
  Call get = run(lispGetWallData, acutBuildList(RTSHORT, 0, RTSHORT, 0, RTSHORT, 1, RTNONE));
  EXPECT_EQ(namedPairs(get.result.get())[0], std::make_pair(std::wstring(L"dWall"), 5.0));
  unsigned seed = 7;
  const LispBody bodies[] = {lispStoreRoomData, lispStoreWallData, lispGetRoomData, lispGetWallData,
                             lispGetGlassCltdDxf, lispGetWallCltdDxf, lispGetRoofCltdDxf};
  for (int trial = 0; trial < 3000; ++trial) {
    resbuf* head = randomCell(seed);
    resbuf* tail = head;
    for (int n = static_cast<int>(seed >> 20) % 12; n > 0; --n) tail = tail->rbnext = randomCell(seed);
    const LispStatus s = run(bodies[trial % 7], head).status;
    ASSERT_TRUE(s == LispStatus::Success || s == LispStatus::WrongType) << trial;
  }
}

}  // namespace
