// The hierarchical hashed grid behind crossing-window selection.
#include "spatialindex.h"

#include <algorithm>
#include <cmath>

namespace kvdb {

namespace {

// Cell numbers stay well inside int64. An entity whose corner lies beyond them (1e300, an
// infinite or NaN extent) goes to one far cell past the range, which every query also tests.
constexpr double kMaxCell = 4.0e18;
constexpr auto kFarCell = static_cast<std::int64_t>(kMaxCell) + 1;

bool cellInRange(double c) { return c >= -kMaxCell && c <= kMaxCell; }

}  // namespace

int SpatialIndex::levelFor(const Box2& box) {
  double side = std::max(box.maxX - box.minX, box.maxY - box.minY);
  if (!(side > 0)) return kMinLevel;
  if (!(side <= std::ldexp(1.0, kMaxLevel))) return kMaxLevel;
  int level = static_cast<int>(std::ceil(std::log2(side)));
  return std::clamp(level, kMinLevel, kMaxLevel);
}

std::uint64_t SpatialIndex::cellKey(std::int64_t ix, std::int64_t iy) {
  return (static_cast<std::uint64_t>(ix) * 0x9E3779B97F4A7C15ull) ^ static_cast<std::uint64_t>(iy);
}

void SpatialIndex::insert(const void* key, const Box2& box) {
  remove(key);
  int level = levelFor(box);
  double size = std::ldexp(1.0, level);
  const double x = std::floor(box.minX / size), y = std::floor(box.minY / size);
  const bool near = cellInRange(x) && cellInRange(y);
  std::int64_t ix = near ? static_cast<std::int64_t>(x) : kFarCell, iy = near ? static_cast<std::int64_t>(y) : kFarCell;
  std::uint64_t cell = cellKey(ix, iy);
  Level& l = levels_[level];
  l.cells[cell].push_back({key, box});
  ++l.count;
  where_[key] = {level, cell};
}

bool SpatialIndex::remove(const void* key) {
  auto it = where_.find(key);
  if (it == where_.end()) return false;
  Level& l = levels_[it->second.level];
  auto& bucket = l.cells[it->second.cell];
  for (std::size_t i = 0; i < bucket.size(); ++i) {
    if (bucket[i].key != key) continue;
    bucket[i] = bucket.back();
    bucket.pop_back();
    break;
  }
  if (bucket.empty()) l.cells.erase(it->second.cell);
  --l.count;
  where_.erase(it);
  return true;
}

void SpatialIndex::query(const Box2& window, std::vector<const void*>& out) const {
  for (const auto& [level, l] : levels_) {
    if (l.count == 0) continue;
    double size = std::ldexp(1.0, level);
    // An item's cell holds its lower-left corner and it is at most one cell wide, so cells one
    // to the left and below the window can still reach into it.
    double x0 = std::floor(window.minX / size) - 1, x1 = std::floor(window.maxX / size);
    double y0 = std::floor(window.minY / size) - 1, y1 = std::floor(window.maxY / size);
    double cells = (x1 - x0 + 1) * (y1 - y0 + 1);
    bool inRange = cellInRange(x0) && cellInRange(x1) && cellInRange(y0) && cellInRange(y1);
    if (!inRange || !(cells < static_cast<double>(l.count) * 2)) {
      for (const auto& [key, bucket] : l.cells)
        for (const Entry& e : bucket)
          if (e.box.overlaps(window)) out.push_back(e.key);
      continue;
    }
    auto visit = [&](std::int64_t ix, std::int64_t iy) {
      auto it = l.cells.find(cellKey(ix, iy));
      if (it == l.cells.end()) return;
      for (const Entry& e : it->second)
        if (e.box.overlaps(window)) out.push_back(e.key);
    };
    for (auto ix = static_cast<std::int64_t>(x0); ix <= static_cast<std::int64_t>(x1); ++ix)
      for (auto iy = static_cast<std::int64_t>(y0); iy <= static_cast<std::int64_t>(y1); ++iy) visit(ix, iy);
    visit(kFarCell, kFarCell);
  }
}

void SpatialIndex::clear() {
  levels_.clear();
  where_.clear();
}

}  // namespace kvdb
