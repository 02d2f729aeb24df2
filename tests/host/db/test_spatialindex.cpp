// The drawing's spatial index against a plain scan of the same boxes: every overlapping item
// once, through inserts, moves and removals, for points, windows of every size, boxes on cell
// edges, degenerate and enormous boxes.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>

#include "spatialindex.h"

namespace {

using kvdb::Box2;

std::vector<const void*> scan(const std::map<const void*, Box2>& items, const Box2& w) {
  std::vector<const void*> out;
  for (const auto& [k, b] : items)
    if (b.overlaps(w)) out.push_back(k);
  return out;
}

void expectSame(const kvdb::SpatialIndex& index, const std::map<const void*, Box2>& items, const Box2& w) {
  std::vector<const void*> got;
  index.query(w, got);
  std::vector<const void*> sorted = got;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end())
      << "an item reported twice for window " << w.minX << "," << w.minY << " " << w.maxX << "," << w.maxY;
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  EXPECT_EQ(sorted, scan(items, w)) << "window " << w.minX << "," << w.minY << " " << w.maxX << "," << w.maxY;
}

Box2 randomBox(std::mt19937& rng) {
  std::uniform_real_distribution<double> at(-3000, 3000);
  std::uniform_int_distribution<int> kind(0, 9);
  std::uniform_real_distribution<double> side(0, 300);
  double x = at(rng), y = at(rng);
  switch (kind(rng)) {
    case 0: return {x, y, x, y};                                                  // a point
    case 1: return {std::floor(x / 256) * 256, y, std::floor(x / 256) * 256 + 256, y + 10};  // on cell edges
    case 2: return {x, y, x + 5000, y + 1};                                       // long and thin
    default: return {x, y, x + side(rng), y + side(rng)};
  }
}

TEST(SpatialIndex, AgreesWithAScanThroughEditsAndQueriesOfEverySize) {
  std::mt19937 rng(20261124);
  kvdb::SpatialIndex index;
  std::map<const void*, Box2> items;
  std::vector<char> keys(3000);
  std::uniform_int_distribution<std::size_t> pick(0, keys.size() - 1);
  std::uniform_real_distribution<double> at(-3500, 3500);
  for (int round = 0; round < 6000; ++round) {
    const void* k = &keys[pick(rng)];
    if (round % 7 == 3) {
      EXPECT_EQ(index.remove(k), items.erase(k) == 1);
    } else {
      Box2 b = randomBox(rng);
      index.insert(k, b);  // a key already in moves
      items[k] = b;
    }
    if (round % 50 == 0) {
      double x = at(rng), y = at(rng);
      expectSame(index, items, {x, y, x, y});
      expectSame(index, items, {x, y, x + 700, y + 90});
      expectSame(index, items, {-1e6, -1e6, 1e6, 1e6});
    }
  }
  EXPECT_EQ(index.size(), items.size());
  for (int i = 0; i < 300; ++i) {
    double x = at(rng), y = at(rng);
    expectSame(index, items, {x, y, x, y});
    expectSame(index, items, {std::floor(x / 256) * 256, y, std::floor(x / 256) * 256, y});  // on a cell line
  }
}

TEST(SpatialIndex, BoxesBeyondTheCellsAreStillFoundAndRemoved) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  kvdb::SpatialIndex index;
  std::map<const void*, Box2> items;
  char keys[6];
  items[&keys[0]] = {-1e308, 3, 1e308, 3};  // wider than the coarsest cell
  items[&keys[1]] = {1e300, 1e300, 2e300, 2e300};
  items[&keys[2]] = {-inf, -1, inf, 1};
  items[&keys[3]] = {nan, 0, 1, 1};
  items[&keys[4]] = {0, 0, 1, 1};
  items[&keys[5]] = {-2e12, -1, 2e12, 1};  // clamped to the coarsest level
  for (const auto& [k, b] : items) index.insert(k, b);
  expectSame(index, items, {-500, 2, -499, 4});
  expectSame(index, items, {1.5e300, 1.5e300, 1.6e300, 1.6e300});
  expectSame(index, items, {0.5, 0.5, 0.5, 0.5});
  expectSame(index, items, {-inf, -inf, inf, inf});
  expectSame(index, items, {nan, nan, nan, nan});
  for (const auto& [k, b] : items) EXPECT_TRUE(index.remove(k));
  std::vector<const void*> left;
  index.query({-inf, -inf, inf, inf}, left);
  EXPECT_TRUE(left.empty());
  EXPECT_EQ(index.size(), 0u);
}

}  // namespace
