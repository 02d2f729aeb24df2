// The LISP bodies of the loads folder: hourly CLTD curves as association lists, and the
// accumulate, read and reset operations of the two load stores.
#include <string>

#include "loads/loads.h"
#include "loads/loadslisp.h"

namespace {

// Reads one integer and makes sure the cursor moves on, even over a cell ArgInt leaves in place.
bool nextInt(ArgCursor& cursor, std::int32_t& out) {
  const ArgCursor before = cursor;
  if (!ArgInt(cursor, out)) return false;
  if (cursor == before) cursor.step();
  return true;
}

// The month loop shared by the three curve functions: 24 pairs (hour + month/100 . value) per
// month argument, in order. A month that is not an integer abandons the whole list.
template <class Lookup>
LispStatus curvesForMonths(ArgCursor cursor, Lookup lookup) {
  ResultList list;
  while (!cursor.atEnd()) {
    std::int32_t month = 0;
    if (!nextInt(cursor, month)) return LispStatus::WrongType;
    for (int hour = 0; hour < 24; ++hour)
      AppendRealInt(list.tail(), hour + month / 100.0, lookup(static_cast<int>(month), hour));
  }
  list.close();
  return LispStatus::Success;
}

bool readKeys(ArgCursor& cursor, std::int32_t& key) {
  std::int32_t k1 = 0, k2 = 0, k3 = 0;
  if (!nextInt(cursor, k1) || !nextInt(cursor, k2) || !nextInt(cursor, k3)) return false;
  key = loadStoreKey(k1, k2, k3);
  return true;
}

// Walks name/value pairs into record: a cell that is not a name is skipped; a name without a
// number after it adds nothing and leaves that cell to the next turn.
template <class Record>
void addPairs(ArgCursor& cursor, Record& record) {
  std::wstring name;  // one buffer for every name of the call
  while (!cursor.atEnd()) {
    if (!ArgString(cursor, name)) {
      ArgSkip(cursor);
      continue;
    }
    double value = 0;
    if (ArgNumber(cursor, value)) addLoadValue(record, name, value);
  }
}

// key1 key2 key3 then name/value pairs: adds into the record of the key, creating it zeroed.
template <class Record>
LispStatus storeBody(std::unordered_map<std::int32_t, Record>& map) {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t key = 0;
  if (!readKeys(cursor, key)) return LispStatus::WrongType;
  auto found = map.find(key);
  Record record = found != map.end() ? found->second : Record{};
  addPairs(cursor, record);
  map.insert_or_assign(key, record);
  return LispStatus::Success;
}

// key1 key2 key3 [suffix]: the record as (("name" . value) ...) in field order, or nil.
template <class Record>
LispStatus getBody(const std::unordered_map<std::int32_t, Record>& map, std::span<const LoadField<Record>> fields,
                   bool takesSuffix) {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t key = 0;
  if (!readKeys(cursor, key)) return LispStatus::WrongType;
  std::wstring suffix;
  if (takesSuffix && !ArgString(cursor, suffix)) suffix.clear();
  const auto found = map.find(key);
  if (found == map.end()) return LispStatus::Success;
  ResultList list;
  std::wstring name;
  for (const LoadField<Record>& f : fields) {
    name.assign(f.name).append(suffix);
    if (f.real)
      AppendStringReal(list.tail(), name.c_str(), found->second.*f.real);
    else
      AppendStringInt(list.tail(), name.c_str(), found->second.*f.integer);
  }
  list.close();
  return LispStatus::Success;
}

// Empties one store; its arguments, if any, are ignored.
template <class Record>
LispStatus resetBody(std::unordered_map<std::int32_t, Record>& map) {
  LispArgs args;
  std::unordered_map<std::int32_t, Record>().swap(map);  // frees the buckets too
  acedRetNil();
  return LispStatus::Success;
}

}  // namespace

LispStatus lispGetGlassCltdDxf() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t latitude = 0;
  std::wstring zone, orientation;
  if (!nextInt(cursor, latitude) || !ArgString(cursor, zone) || !ArgString(cursor, orientation))
    return LispStatus::WrongType;
  const wchar_t z = zone.empty() ? L'\0' : zone[0];
  return curvesForMonths(cursor, [&](int month, int hour) { return glassCltd(latitude, z, orientation, month, hour); });
}

LispStatus lispGetWallCltdDxf() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t latitude = 0, wall = 0;
  std::wstring orientation;
  if (!nextInt(cursor, latitude) || !nextInt(cursor, wall) || !ArgString(cursor, orientation))
    return LispStatus::WrongType;
  return curvesForMonths(cursor, [&](int month, int hour) { return wallCltd(latitude, wall, orientation, month, hour); });
}

LispStatus lispGetRoofCltdDxf() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t latitude = 0, roof = 0;
  if (!nextInt(cursor, latitude) || !nextInt(cursor, roof)) return LispStatus::WrongType;
  return curvesForMonths(cursor, [&](int month, int hour) { return roofCltd(latitude, roof, month, hour); });
}

LispStatus lispStoreWallData() { return storeBody(wallDataMap()); }
LispStatus lispGetWallData() { return getBody(wallDataMap(), wallDataFields(), false); }
LispStatus lispResetWallData() { return resetBody(wallDataMap()); }
LispStatus lispStoreRoomData() { return storeBody(roomDataMap()); }
LispStatus lispGetRoomData() { return getBody(roomDataMap(), roomDataFields(), true); }
LispStatus lispResetRoomData() { return resetBody(roomDataMap()); }
