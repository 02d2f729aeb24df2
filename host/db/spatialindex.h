// Private to host/db: a hierarchical hashed grid over 2D boxes, so a window query costs what the
// window covers, not what the drawing holds.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace kvdb {

struct Box2 {
  double minX = 0, minY = 0, maxX = 0, maxY = 0;
  bool overlaps(const Box2& o) const { return minX <= o.maxX && o.minX <= maxX && minY <= o.maxY && o.minY <= maxY; }
};

// Each item sits in the level whose cell size is the first power of two not below the item's
// larger side, in the cell of its lower-left corner; a query visits the cells of each level that
// the window (grown by one cell to the lower left) covers, or scans a level that has fewer items
// than such cells.
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
  struct Level {
    std::unordered_map<std::uint64_t, std::vector<Entry>> cells;
    std::size_t count = 0;
  };
  struct Place {
    int level;
    std::uint64_t cell;
  };
  static constexpr int kMinLevel = -4;  // cells of 1/16 drawing unit at the finest
  static constexpr int kMaxLevel = 40;
  static int levelFor(const Box2& box);
  static std::uint64_t cellKey(std::int64_t ix, std::int64_t iy);
  std::unordered_map<int, Level> levels_;
  std::unordered_map<const void*, Place> where_;
};

}  // namespace kvdb
