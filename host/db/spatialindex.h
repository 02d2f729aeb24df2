// Private to host/db: a hierarchical hashed grid over 2D boxes, so a window query costs what the
// window covers, not what the drawing holds.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace kvdb {

struct Box2 {
  double minX = 0, minY = 0, maxX = 0, maxY = 0;
  bool overlaps(const Box2& o) const { return minX <= o.maxX && o.minX <= maxX && minY <= o.maxY && o.minY <= maxY; }
};

// Each item sits in the level whose cell size is the first power of two not below the item's
// larger side, in every cell of that level it reaches (at most two by two), so a point costs one
// cell per level. A window query reports an item only from the first of its cells that the
// window covers, or scans a level that has fewer items than the window has cells. Items whose
// cells cannot be numbered (beyond the number range, or larger than the coarsest cell) are kept
// apart and tested by every query.
class SpatialIndex {
 public:
  void insert(const void* key, const Box2& box);
  // False when the key is not in the index.
  bool remove(const void* key);
  bool contains(const void* key) const { return where_.count(key) != 0; }
  // Calls out for every key whose box overlaps the window (each once).
  void query(const Box2& window, std::vector<const void*>& out) const;
  std::size_t size() const { return where_.size(); }
  void clear();

 private:
  struct Entry {
    const void* key;
    Box2 box;
  };
  // Cells live in one open-addressed table per level: a probe reads one slot instead of chasing a
  // bucket list, which is what a scattered search through a large drawing pays for.
  struct Slot {
    std::int64_t ix = 0, iy = 0;
    bool full = false;
    std::vector<Entry> entries;
  };
  struct Level {
    std::vector<Slot> slots;  // size zero or a power of two
    std::size_t cells = 0;
    std::size_t count = 0;    // items, not entries
    const Slot* find(std::int64_t ix, std::int64_t iy) const;
    Slot& obtain(std::int64_t ix, std::int64_t iy);
    void erase(std::int64_t ix, std::int64_t iy);
    void grow();
  };
  struct Cells {
    bool far = false;
    std::int64_t ix0 = 0, iy0 = 0, ix1 = 0, iy1 = 0;
  };
  struct Place {
    int level;
    Box2 box;
  };
  static constexpr int kMinLevel = -4;  // cells of 1/16 drawing unit at the finest
  static constexpr int kMaxLevel = 40;
  static int levelFor(const Box2& box);
  static Cells cellsFor(const Box2& box, int level);
  static std::size_t slotOf(std::int64_t ix, std::int64_t iy, std::size_t mask);
  std::array<Level, kMaxLevel - kMinLevel + 1> levels_;
  std::vector<Entry> far_;
  std::unordered_map<const void*, Place> where_;
};

}  // namespace kvdb
