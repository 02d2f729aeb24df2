// The generated CLTD/SCL tables: the July 40 N slice against the published rows, other months
// against the IP print, unit gain, ranges, the solar model, and the index rules of the look-ups.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

#include "cltdmodel.h"
#include "loads/loads.h"

namespace {

const cltd::Published& data() {
  static const cltd::Published p = cltd::loadPublished(std::string(KV_SOURCE_DIR) + "/tools/cltdgen/data");
  return p;
}

const cltd::Generated& generated() {
  static const cltd::Generated g = cltd::generate(data());
  return g;
}

constexpr int kJuly = 6;
const wchar_t* const kPositions[] = {L"N", L"NE", L"E", L"SE", L"S", L"SW", L"W", L"NW", L"UP"};
constexpr int kWallNumbers[] = {1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16};
constexpr int kPublishedRoofNumbers[] = {1, 2, 3, 4, 5, 8, 9, 10, 13, 14};

double mean(const cltd::Day& d) {
  double s = 0;
  for (double v : d) s += v;
  return s / 24;
}

std::vector<int> peakHours(const std::vector<int>& row) {
  const int top = *std::max_element(row.begin(), row.end());
  std::vector<int> hours;
  for (int h = 0; h < 24; ++h)
    if (row[h] == top) hours.push_back(h);
  return hours;
}

TEST(CltdTables, CompiledBlockIsTheGeneratorsOutput) {
  const auto& block = generated().block;
  ASSERT_EQ(block.size(), kCltdBlockEntries);
  EXPECT_TRUE(std::equal(block.begin(), block.end(), kvCltdBlock));
  EXPECT_EQ(glassTable + kGlassTableEntries, wallTable);
  EXPECT_EQ(wallTable + kWallTableEntries, roofTable);
}

TEST(CltdTables, JulyGlassSliceIsThePublishedTableExactly) {
  for (int z = 0; z < 4; ++z)
    for (int o = 0; o < 9; ++o)
      for (int h = 0; h < 24; ++h)
        ASSERT_EQ(glassCltd(40, static_cast<wchar_t>(L'A' + z), kPositions[o], kJuly, h), data().glassScl[z][o][h])
            << "zone " << z << " position " << o << " hour " << h;
  const int zoneAUp[] = {0, 0, 0, 0, 0, 24, 69, 120, 169, 211, 241, 257, 259, 245, 217, 176, 125, 70, 29, 14, 7, 3, 2, 1};
  const int zoneDUp[] = {37, 33, 30, 27, 24, 38, 64, 95, 124, 150, 171, 185, 191, 188, 176, 156, 128, 96, 72, 63, 56, 50, 45, 41};
  for (int h = 0; h < 24; ++h) {
    EXPECT_EQ(glassCltd(40, L'A', L"UP", kJuly, h), zoneAUp[h]);
    EXPECT_EQ(glassCltd(40, L'd', L"UP", kJuly, h), zoneDUp[h]);
  }
}

TEST(CltdTables, JulyWallsAndRoofsFollowThePublishedRows) {
  const int wall1S[] = {1, 0, -1, -2, -3, -2, 0, 4, 11, 21, 33, 43, 50, 52, 50, 44, 34, 27, 20, 14, 10, 7, 5, 3};
  const int wall16NW[] = {29, 27, 25, 23, 20, 18, 16, 14, 12, 11, 10, 9, 9, 10, 11, 12, 14, 16, 19, 23, 27, 29, 30, 30};
  for (int h = 0; h < 24; ++h) {
    EXPECT_EQ(wallCltd(40, 1, L"S", kJuly, h), wall1S[h]) << h;
    EXPECT_EQ(wallCltd(40, 16, L"NW", kJuly, h), wall16NW[h]) << h;
  }
  for (int w = 0; w < 15; ++w)
    for (int o = 0; o < 8; ++o)
      for (int h = 0; h < 24; ++h)
        ASSERT_LE(std::fabs(wallCltd(40, kWallNumbers[w], kPositions[o], kJuly, h) - 1.8 * data().wallSi[w][o][h]), 1.0)
            << "wall " << kWallNumbers[w] << " position " << o << " hour " << h;
  for (int r = 0; r < 10; ++r) {
    if (kPublishedRoofNumbers[r] == 9) continue;  // published, but not a row of the table
    for (int h = 0; h < 24; ++h)
      ASSERT_LE(std::fabs(roofCltd(40, kPublishedRoofNumbers[r], kJuly, h) - 1.8 * data().roofSi[r][h]), 1.0)
          << "roof " << kPublishedRoofNumbers[r] << " hour " << h;
  }
}

TEST(CltdTables, JanuaryAndJuneRoofOneMatchTheIpPrint) {
  for (int month : {0, 5}) {
    const cltd::Day& print = month == 0 ? data().roof1January : data().roof1June;
    std::vector<int> ours(24), theirs(24);
    for (int h = 0; h < 24; ++h) {
      ours[h] = roofCltd(40, 1, month, h);
      theirs[h] = static_cast<int>(print[h]);
      EXPECT_LE(std::abs(ours[h] - theirs[h]), 2) << "month " << month << " hour " << h;
    }
    // A tie in either row counts: one hour of greatest value must be shared.
    const auto a = peakHours(ours), b = peakHours(theirs);
    EXPECT_TRUE(std::find_first_of(a.begin(), a.end(), b.begin(), b.end()) != a.end()) << "month " << month;
  }
}

TEST(CltdTables, EveryOpaqueRowHasUnitGainAndStaysInRange) {
  const double longWave = generated().longWave;
  EXPECT_GT(longWave, 3.0);
  EXPECT_LT(longWave, 7.0);
  for (int m = 0; m < 12; ++m)
    for (int l = 0; l < 7; ++l) {
      const int latitude = 16 + 8 * l;
      for (int o = 0; o < 8; ++o) {
        const double air = mean(cltd::solAir(data(), m, l, 2 * o, 0.0)) - 78.0;
        for (int w : kWallNumbers) {
          double sum = 0;
          for (int h = 0; h < 24; ++h) {
            const int v = wallCltd(latitude, w, kPositions[o], m, h);
            ASSERT_GE(v, -3);
            ASSERT_LE(v, 93);
            sum += v;
          }
          ASSERT_NEAR(sum / 24, air, 0.5) << "wall " << w << " month " << m << " latitude " << latitude;
        }
      }
      const double air = mean(cltd::solAir(data(), m, l, cltd::kHorizontal, longWave)) - 78.0;
      for (int roof : {1, 2, 3, 4, 5, 6, 8, 10, 13, 14}) {
        double sum = 0;
        for (int h = 0; h < 24; ++h) {
          const int v = roofCltd(latitude, roof, m, h);
          ASSERT_GE(v, -9);
          ASSERT_LE(v, 95);
          sum += v;
        }
        ASSERT_NEAR(sum / 24, air, 0.5) << "roof " << roof << " month " << m << " latitude " << latitude;
      }
    }
  const auto [lo, hi] = std::minmax_element(glassTable, glassTable + kGlassTableEntries);
  EXPECT_GE(*lo, 0);
  EXPECT_LE(*hi, 283);
}

TEST(CltdTables, SolarModelReproducesThePublishedHeatGainFactors) {
  int compared = 0;
  for (int l = 0; l < 7; ++l)
    for (int m = 0; m < 12; ++m)
      for (int s = 0; s < cltd::kSurfaces; ++s)
        for (int h = 0; h < 24; ++h) {
          if (data().suspectAt(l, m, s, h)) continue;
          const double model = cltd::heatGain(data(), cltd::irradiance(data().sky[m], cltd::latitudeOfRow(l), s, h));
          const double published = data().shgfAt(l, m, s, h);
          ASSERT_LE(std::fabs(model - published), std::max(3.0, 0.02 * published))
              << "latitude row " << l << " month " << m << " surface " << s << " hour " << h;
          ++compared;
        }
  EXPECT_EQ(compared, 7 * 12 * 17 * 24 - 29);
}

TEST(CltdLookups, RowsFallBackToTheFirstRowAndLatitudesTakeTheirBand) {
  for (int h = 0; h < 24; ++h) {
    const int wall1 = wallCltd(40, 1, L"E", 3, h);
    EXPECT_EQ(wallCltd(40, 8, L"E", 3, h), wall1);
    EXPECT_EQ(wallCltd(40, 17, L"E", 3, h), wall1);
    EXPECT_EQ(wallCltd(47, 1, L"E", 3, h), wall1);
    EXPECT_EQ(roofCltd(40, 9, 3, h), roofCltd(40, 1, 3, h));
    EXPECT_EQ(glassCltd(40, L'x', L"E", 3, h), glassCltd(40, L'A', L"E", 3, h));
    EXPECT_EQ(glassCltd(40, L'c', L"E", 3, h), glassCltd(40, L'C', L"E", 3, h));
    EXPECT_EQ(wallCltd(40, 1, L"e", 3, h), wallCltd(40, 1, L"N", 3, h));  // names are case-sensitive
    EXPECT_EQ(glassCltd(40, L'A', L"UP", 3, h), glassTable[((3 * 7 + 3) * 4 + 0) * 9 * 24 + 8 * 24 + h]);
  }
  // The latitude bands differ, so a wrong row would show.
  EXPECT_NE(wallCltd(39, 1, L"S", 0, 12), wallCltd(40, 1, L"S", 0, 12));
  // Roof 6 lies between its neighbours at every hour.
  for (int h = 0; h < 24; ++h) {
    const int r5 = roofCltd(40, 5, kJuly, h), r6 = roofCltd(40, 6, kJuly, h), r8 = roofCltd(40, 8, kJuly, h);
    EXPECT_GE(r6, std::min(r5, r8) - 1);
    EXPECT_LE(r6, std::max(r5, r8) + 1);
  }
}

TEST(CltdLookups, HalfwayPointsAverageTowardZero) {
  int seenOdd = 0;
  for (int m = 0; m < 12; ++m)
    for (int h = 0; h < 24; ++h) {
      const int nw = wallCltd(64, 1, L"NW", m, h), n = wallCltd(64, 1, L"N", m, h);
      EXPECT_EQ(wallCltd(64, 1, L"NNW", m, h), (nw + n) / 2);
      const int e = glassCltd(16, L'B', L"E", m, h), se = glassCltd(16, L'B', L"SE", m, h);
      EXPECT_EQ(glassCltd(16, L'B', L"ESE", m, h), (e + se) / 2);
      if ((nw + n) < 0 && (nw + n) % 2 != 0) ++seenOdd;
    }
  EXPECT_GT(seenOdd, 0) << "no negative odd sum met: truncation toward zero untested";
}

TEST(CltdLookups, OutsideTheTablesIsZero) {
  for (int h = 0; h < 24; ++h) {
    EXPECT_EQ(wallCltd(40, 1, L"S", 12, h), 0);
    EXPECT_EQ(wallCltd(40, 1, L"S", -1, h), 0);
    EXPECT_EQ(roofCltd(15, 1, 6, h), 0);
    EXPECT_EQ(roofCltd(72, 1, 6, h), 0);
    EXPECT_EQ(glassCltd(-40, L'A', L"S", 6, h), 0);
    EXPECT_EQ(glassCltd(40, L'A', L"S", 12, h), 0);
  }
  EXPECT_NE(roofCltd(71, 1, 6, 13), 0);
  EXPECT_NE(roofCltd(16, 1, 6, 13), 0);
  EXPECT_EQ(roofCltd(40, 1, 6, 24), 0);
  EXPECT_EQ(wallCltd(40, 16, L"UP", 11, 3), wallCltd(40, 16, L"N", 11, 3));
}

TEST(CltdGenerator, IdentificationRecoversAKnownResponse) {
  // A heavy wall's kind of response: lag and damping, unit gain.
  const cltd::TransferFunction truth({0.05, 0.15, 0.1}, {-0.9, 0.2});
  std::vector<cltd::Day> in, out;
  for (int o = 0; o < 8; ++o) {
    cltd::Day u = cltd::solAir(data(), kJuly, 3, 2 * o, 0.0);
    for (double& v : u) v -= 78.0;
    in.push_back(u);
    out.push_back(truth.respond(u));
  }
  double gain = 0;
  for (double b : truth.b()) gain += b;
  EXPECT_NEAR(gain, 1 + truth.d()[0] + truth.d()[1], 1e-12);
  const cltd::TransferFunction found = cltd::identify(in, out, 2, 2);
  for (int o = 0; o < 8; ++o) {
    const cltd::Day y = found.respond(in[o]);
    for (int h = 0; h < 24; ++h) ASSERT_NEAR(y[h], out[o][h], 1e-4) << o << " " << h;
  }
  EXPECT_NEAR(found.d()[0], -0.9, 1e-3);
  // The periodic response of a unit-gain function keeps the daily mean of its input.
  EXPECT_NEAR(mean(found.respond(in[4])), mean(in[4]), 1e-9);
}

TEST(CltdGenerator, UnreadableDataIsReportedWithItsFile) {
  try {
    cltd::loadPublished(std::string(KV_SOURCE_DIR) + "/no-such-folder");
    FAIL() << "no error";
  } catch (const std::runtime_error& e) {
    EXPECT_NE(std::string(e.what()).find("ashrae_clear_sky_constants.txt: cannot open"), std::string::npos) << e.what();
  }
}

TEST(CltdGenerator, IsDeterministicAndEmitsMarkedSource) {
  const cltd::Generated again = cltd::generate(data());
  EXPECT_EQ(again.block, generated().block);
  EXPECT_EQ(again.report, generated().report);
  const std::string source = cltd::emitSource(again);
  EXPECT_EQ(source.rfind("// Generated by tools/cltdgen", 0), 0u);
  EXPECT_NE(source.find("kvCltdBlock[334656]"), std::string::npos);
}

}  // namespace

namespace {

TEST(CltdGenerator, TheKeptReportIsCurrent) {
  std::ifstream in(std::string(KV_SOURCE_DIR) + "/docs/load-tables.md");
  ASSERT_TRUE(in);
  const std::string doc((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(doc.find(generated().report), std::string::npos)
      << "docs/load-tables.md no longer holds the generator's report; copy it from build/src/loads/load-tables-report.md";
}

}  // namespace
