// Look-ups in the constant CLTD/SCL tables: index rules for latitude, zone, wall, roof and
// orientation, and the averaging of the half-way compass points.
#include <array>
#include <cstdint>

#include "loads/loads.h"

namespace {

constexpr int kLatitudeRows = 7, kZones = 4, kGlassPositions = 9, kWallRows = 15, kWallPositions = 8;
constexpr int kRoofRows = 10, kHours = 24, kMonths = 12;

// Packs a name of up to three ASCII letters into one number, so a name is recognised with a
// single switch instead of string compares; anything else packs to 0.
constexpr std::uint32_t pack(std::wstring_view name) {
  if (name.empty() || name.size() > 3) return 0;
  std::uint32_t code = 0;
  for (wchar_t c : name) {
    if (c <= 0 || c > 127) return 0;
    code = code << 8 | static_cast<std::uint32_t>(c);
  }
  return code;
}

bool inDay(int month, int hour) { return month >= 0 && month < kMonths && hour >= 0 && hour < kHours; }

// The entry at a, averaged with the entry at b (truncating toward zero) when they differ.
std::int16_t pairValue(const std::int16_t* row, OrientationPair p, int hour) {
  const int first = row[p.a * kHours + hour];
  if (p.a == p.b) return static_cast<std::int16_t>(first);
  return static_cast<std::int16_t>((first + row[p.b * kHours + hour]) / 2);
}


OrientationPair positionsOf(std::wstring_view name) {
  switch (pack(name)) {
    case pack(L"N"): return {0, 0};
    case pack(L"NNE"): return {0, 1};
    case pack(L"NE"): return {1, 1};
    case pack(L"ENE"): return {1, 2};
    case pack(L"E"): return {2, 2};
    case pack(L"ESE"): return {2, 3};
    case pack(L"SE"): return {3, 3};
    case pack(L"SSE"): return {3, 4};
    case pack(L"S"): return {4, 4};
    case pack(L"SSW"): return {4, 5};
    case pack(L"SW"): return {5, 5};
    case pack(L"WSW"): return {5, 6};
    case pack(L"W"): return {6, 6};
    case pack(L"WNW"): return {6, 7};
    case pack(L"NW"): return {7, 7};
    case pack(L"NNW"): return {7, 0};
    case pack(L"UP"): return {8, 8};
    default: return {};
  }
}

int rowOfLatitude(int latitude) { return latitude >= 16 && latitude <= 71 ? latitude / 8 - 2 : -1; }

int rowOfZone(wchar_t zone) {
  switch (zone) {
    case L'B': case L'b': return 1;
    case L'C': case L'c': return 2;
    case L'D': case L'd': return 3;
    default: return 0;
  }
}

int rowOfWall(int wallNumber) {
  if (wallNumber >= 1 && wallNumber <= 7) return wallNumber - 1;
  if (wallNumber >= 9 && wallNumber <= 16) return wallNumber - 2;
  return 0;
}

int rowOfRoof(int roofNumber) {
  static constexpr int kNumbers[kRoofRows] = {1, 2, 3, 4, 5, 6, 8, 10, 13, 14};
  for (int r = 0; r < kRoofRows; ++r)
    if (kNumbers[r] == roofNumber) return r;
  return 0;
}

}  // namespace

// The public rules are the ones the look-ups inline; a shared library could otherwise interpose
// them, which keeps the compiler from inlining a call to a public function.
OrientationPair orientationPositions(std::wstring_view name) { return positionsOf(name); }
int latitudeRow(int latitude) { return rowOfLatitude(latitude); }
int zoneRow(wchar_t zone) { return rowOfZone(zone); }
int wallRow(int wallNumber) { return rowOfWall(wallNumber); }
int roofRow(int roofNumber) { return rowOfRoof(roofNumber); }

std::int16_t glassCltd(int latitude, wchar_t zone, std::wstring_view orientation, int month, int hour) {
  const int lat = rowOfLatitude(latitude);
  if (lat < 0 || !inDay(month, hour)) return 0;
  const std::size_t row = ((static_cast<std::size_t>(month) * kLatitudeRows + lat) * kZones + rowOfZone(zone)) *
                          kGlassPositions * kHours;
  return pairValue(glassTable + row, positionsOf(orientation), hour);
}

std::int16_t wallCltd(int latitude, int wallNumber, std::wstring_view orientation, int month, int hour) {
  const int lat = rowOfLatitude(latitude);
  if (lat < 0 || !inDay(month, hour)) return 0;
  OrientationPair p = positionsOf(orientation);
  // Walls have no horizontal position; "UP" would read into the next wall's row.
  if (p.a >= kWallPositions) p = {};
  const std::size_t row = ((static_cast<std::size_t>(month) * kLatitudeRows + lat) * kWallRows + rowOfWall(wallNumber)) *
                          kWallPositions * kHours;
  return pairValue(wallTable + row, p, hour);
}

std::int16_t roofCltd(int latitude, int roofNumber, int month, int hour) {
  const int lat = rowOfLatitude(latitude);
  if (lat < 0 || !inDay(month, hour)) return 0;
  return roofTable[((static_cast<std::size_t>(month) * kLatitudeRows + lat) * kRoofRows + rowOfRoof(roofNumber)) * kHours + hour];
}
