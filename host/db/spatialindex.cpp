// The hierarchical hashed grid behind crossing-window selection.
#include "spatialindex.h"

#include <algorithm>
#include <cmath>

namespace kvdb {

namespace {

// Cell numbers stay well inside int64. An entity whose corner lies beyond them (1e300, an
// infinite or NaN extent) is kept apart, where every query tests it.
constexpr double kMaxCell = 4.0e18;

bool cellInRange(double c) { return c >= -kMaxCell && c <= kMaxCell; }

}  // namespace

int SpatialIndex::levelFor(const Box2& box) {
  double side = std::max(box.maxX - box.minX, box.maxY - box.minY);
  if (!(side > 0)) return kMinLevel;
  if (!(side <= std::ldexp(1.0, kMaxLevel))) return kMaxLevel;
  int level = static_cast<int>(std::ceil(std::log2(side)));
  return std::clamp(level, kMinLevel, kMaxLevel);
}

SpatialIndex::Cells SpatialIndex::cellsFor(const Box2& box, int level) {
  const double size = std::ldexp(1.0, level);
  const double x0 = std::floor(box.minX / size), x1 = std::floor(box.maxX / size);
  const double y0 = std::floor(box.minY / size), y1 = std::floor(box.maxY / size);
  Cells c;
  // More than two cells a side only happens to boxes larger than the coarsest cell.
  if (!cellInRange(x0) || !cellInRange(x1) || !cellInRange(y0) || !cellInRange(y1) || x1 - x0 > 1 ||
      y1 - y0 > 1 || x1 < x0 || y1 < y0) {
    c.far = true;
    return c;
  }
  c.ix0 = static_cast<std::int64_t>(x0);
  c.ix1 = static_cast<std::int64_t>(x1);
  c.iy0 = static_cast<std::int64_t>(y0);
  c.iy1 = static_cast<std::int64_t>(y1);
  return c;
}

std::size_t SpatialIndex::slotOf(std::int64_t ix, std::int64_t iy, std::size_t mask) {
  std::uint64_t h = static_cast<std::uint64_t>(ix) * 0x9E3779B97F4A7C15ull + static_cast<std::uint64_t>(iy);
  h ^= h >> 31;
  h *= 0xBF58476D1CE4E5B9ull;
  h ^= h >> 29;
  return static_cast<std::size_t>(h) & mask;
}

const SpatialIndex::Slot* SpatialIndex::Level::find(std::int64_t ix, std::int64_t iy) const {
  if (slots.empty()) return nullptr;
  const std::size_t mask = slots.size() - 1;
  for (std::size_t i = slotOf(ix, iy, mask);; i = (i + 1) & mask) {
    const Slot& s = slots[i];
    if (!s.full) return nullptr;
    if (s.ix == ix && s.iy == iy) return &s;
  }
}

void SpatialIndex::Level::grow() {
  std::vector<Slot> old = std::move(slots);
  slots = std::vector<Slot>(std::max<std::size_t>(16, old.size() * 2));
  const std::size_t mask = slots.size() - 1;
  for (Slot& s : old) {
    if (!s.full) continue;
    std::size_t i = slotOf(s.ix, s.iy, mask);
    while (slots[i].full) i = (i + 1) & mask;
    slots[i] = std::move(s);
  }
}

SpatialIndex::Slot& SpatialIndex::Level::obtain(std::int64_t ix, std::int64_t iy) {
  // Half full at most keeps probe runs short.
  if ((cells + 1) * 2 > slots.size()) grow();
  const std::size_t mask = slots.size() - 1;
  std::size_t i = slotOf(ix, iy, mask);
  for (; slots[i].full; i = (i + 1) & mask)
    if (slots[i].ix == ix && slots[i].iy == iy) return slots[i];
  Slot& s = slots[i];
  s.full = true;
  s.ix = ix;
  s.iy = iy;
  ++cells;
  return s;
}

void SpatialIndex::Level::erase(std::int64_t ix, std::int64_t iy) {
  if (slots.empty()) return;
  const std::size_t mask = slots.size() - 1;
  std::size_t i = slotOf(ix, iy, mask);
  for (;; i = (i + 1) & mask) {
    if (!slots[i].full) return;
    if (slots[i].ix == ix && slots[i].iy == iy) break;
  }
  slots[i] = Slot{};
  --cells;
  // Shift later members of the probe run back, so that no lookup stops at the hole.
  for (std::size_t j = (i + 1) & mask; slots[j].full; j = (j + 1) & mask) {
    const std::size_t home = slotOf(slots[j].ix, slots[j].iy, mask);
    const bool stays = (j > i) ? (home > i && home <= j) : (home > i || home <= j);
    if (stays) continue;
    slots[i] = std::move(slots[j]);
    slots[j] = Slot{};
    i = j;
  }
}

void SpatialIndex::insert(const void* key, const Box2& box) {
  remove(key);
  const int level = levelFor(box);
  const Cells c = cellsFor(box, level);
  where_[key] = {level, box};
  if (c.far) {
    far_.push_back({key, box});
    return;
  }
  Level& l = levels_[level - kMinLevel];
  for (std::int64_t ix = c.ix0; ix <= c.ix1; ++ix)
    for (std::int64_t iy = c.iy0; iy <= c.iy1; ++iy) l.obtain(ix, iy).entries.push_back({key, box});
  ++l.count;
}

bool SpatialIndex::remove(const void* key) {
  auto it = where_.find(key);
  if (it == where_.end()) return false;
  const int level = it->second.level;
  const Cells c = cellsFor(it->second.box, level);
  where_.erase(it);
  auto drop = [key](std::vector<Entry>& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].key != key) continue;
      entries[i] = entries.back();
      entries.pop_back();
      return;
    }
  };
  if (c.far) {
    drop(far_);
    return true;
  }
  Level& l = levels_[level - kMinLevel];
  for (std::int64_t ix = c.ix0; ix <= c.ix1; ++ix)
    for (std::int64_t iy = c.iy0; iy <= c.iy1; ++iy) {
      auto* s = const_cast<Slot*>(l.find(ix, iy));
      if (s == nullptr) continue;
      drop(s->entries);
      if (s->entries.empty()) l.erase(ix, iy);
    }
  --l.count;
  return true;
}

void SpatialIndex::query(const Box2& window, std::vector<const void*>& out) const {
  for (int level = kMinLevel; level <= kMaxLevel; ++level) {
    const Level& l = levels_[level - kMinLevel];
    if (l.count == 0) continue;
    const double size = std::ldexp(1.0, level);
    const double x0 = std::floor(window.minX / size), x1 = std::floor(window.maxX / size);
    const double y0 = std::floor(window.minY / size), y1 = std::floor(window.maxY / size);
    const double cells = (x1 - x0 + 1) * (y1 - y0 + 1);
    const bool inRange = cellInRange(x0) && cellInRange(x1) && cellInRange(y0) && cellInRange(y1);
    if (!inRange || !(cells < static_cast<double>(l.count) * 2)) {
      // Every item once: from its own first cell.
      for (const Slot& s : l.slots) {
        if (!s.full) continue;
        for (const Entry& e : s.entries) {
          if (!e.box.overlaps(window)) continue;
          const Cells c = cellsFor(e.box, level);
          if (c.ix0 == s.ix && c.iy0 == s.iy) out.push_back(e.key);
        }
      }
      continue;
    }
    const auto wx0 = static_cast<std::int64_t>(x0), wy0 = static_cast<std::int64_t>(y0);
    for (std::int64_t ix = wx0; ix <= static_cast<std::int64_t>(x1); ++ix)
      for (std::int64_t iy = wy0; iy <= static_cast<std::int64_t>(y1); ++iy) {
        const Slot* s = l.find(ix, iy);
        if (s == nullptr) continue;
        for (const Entry& e : s->entries) {
          if (!e.box.overlaps(window)) continue;
          // Only the first covered cell of the item reports it, so an item in two cells of the
          // window comes out once.
          const Cells c = cellsFor(e.box, level);
          if (ix == std::max(c.ix0, wx0) && iy == std::max(c.iy0, wy0)) out.push_back(e.key);
        }
      }
  }
  for (const Entry& e : far_)
    if (e.box.overlaps(window)) out.push_back(e.key);
}

void SpatialIndex::clear() {
  for (Level& l : levels_) l = Level{};
  far_.clear();
  where_.clear();
}

}  // namespace kvdb
