// The room and wall load store: field tables that drive both accumulation and read-back, the key
// rule, and the two module-wide maps.
#include <array>
#include <cmath>

#include "loads/loads.h"

namespace {

#define KV_REAL(R, f) LoadField<R>{L## #f, &R::f, nullptr}
#define KV_INT(R, f) LoadField<R>{L## #f, nullptr, &R::f}

constexpr std::array<LoadField<wallData>, 8> kWallFields = {{
    KV_REAL(wallData, dWall), KV_REAL(wallData, dWallPlenum), KV_REAL(wallData, dDoor),
    KV_REAL(wallData, dGlass), KV_REAL(wallData, dWallPartition), KV_REAL(wallData, dWallPlenumPartition),
    KV_REAL(wallData, dDoorPartition), KV_REAL(wallData, dGlassPartition),
}};

constexpr std::array<LoadField<roomData>, 54> kRoomFields = {{
    KV_REAL(roomData, dRoof), KV_REAL(roomData, dRoofPlenum), KV_REAL(roomData, dFloor),
    KV_REAL(roomData, dWall), KV_REAL(roomData, dWallPlenum), KV_REAL(roomData, dDoor),
    KV_REAL(roomData, dGlass), KV_REAL(roomData, dWallPartition), KV_REAL(roomData, dWallPlenumPartition),
    KV_REAL(roomData, dDoorPartition), KV_REAL(roomData, dGlassPartition),
    KV_REAL(roomData, dInfiltrationSensible), KV_REAL(roomData, dInfiltrationLatent),
    KV_REAL(roomData, dVentilationSensible), KV_REAL(roomData, dVentilationLatent),
    KV_REAL(roomData, dVentilationSensiblePeople), KV_REAL(roomData, dVentilationLatentPeople),
    KV_REAL(roomData, dVentilation62Sensible), KV_REAL(roomData, dVentilation62Latent),
    KV_REAL(roomData, dVentilation62SensiblePeople), KV_REAL(roomData, dVentilation62LatentPeople),
    KV_REAL(roomData, dVentilationIMCSensible), KV_REAL(roomData, dVentilationIMCLatent),
    KV_INT(roomData, iCoolingCFM), KV_INT(roomData, iCoolingCFM62), KV_INT(roomData, iOSACFM),
    KV_INT(roomData, iOSA62CFM), KV_INT(roomData, iOSAIMCCFM), KV_INT(roomData, iOSAPeopleCFM),
    KV_INT(roomData, iOSA62PeopleCFM),
    KV_REAL(roomData, dLights), KV_REAL(roomData, dLightsPlenum), KV_REAL(roomData, dEquipmentLatent),
    KV_REAL(roomData, dEquipmentSensible), KV_REAL(roomData, dPeopleLatent), KV_REAL(roomData, dPeopleSensible),
    KV_REAL(roomData, dRoomTemperature), KV_REAL(roomData, dRoomHumidity),
    KV_REAL(roomData, dRoomTotalSensible), KV_REAL(roomData, dRoomTotalLatent), KV_REAL(roomData, dRoomTotal),
    KV_REAL(roomData, dPlenumTotal), KV_REAL(roomData, dSystemTotalSensible),
    KV_REAL(roomData, dSystemTotalLatent), KV_REAL(roomData, dSystemTotal),
    KV_REAL(roomData, dSystem62TotalSensible), KV_REAL(roomData, dSystem62TotalLatent),
    KV_REAL(roomData, dSystem62Total), KV_REAL(roomData, dSystemIMCTotalSensible),
    KV_REAL(roomData, dSystemIMCTotalLatent), KV_REAL(roomData, dSystemIMCTotal),
    KV_REAL(roomData, dArea), KV_REAL(roomData, dPeople), KV_REAL(roomData, dPeopleRatio),
}};

#undef KV_REAL
#undef KV_INT

// Truncates toward zero into 32 bits; values beyond the range wrap as the platform's conversion
// of an in-range value would, and a value that is not a number adds nothing.
std::int32_t truncated(double value) {
  if (!std::isfinite(value)) return 0;
  const double t = std::trunc(std::fmod(value, 4294967296.0));
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(t)));
}

template <class Record>
bool addField(std::span<const LoadField<Record>> fields, Record& record, std::wstring_view name, double value) {
  for (const LoadField<Record>& f : fields) {
    if (name != f.name) continue;
    if (f.real) {
      record.*f.real += value;
    } else {
      const std::uint32_t sum = static_cast<std::uint32_t>(record.*f.integer) + static_cast<std::uint32_t>(truncated(value));
      record.*f.integer = static_cast<std::int32_t>(sum);
    }
    return true;
  }
  return false;
}

}  // namespace

std::span<const LoadField<wallData>> wallDataFields() { return kWallFields; }
std::span<const LoadField<roomData>> roomDataFields() { return kRoomFields; }

bool addLoadValue(wallData& record, std::wstring_view name, double value) {
  return addField(wallDataFields(), record, name, value);
}

bool addLoadValue(roomData& record, std::wstring_view name, double value) {
  return addField(roomDataFields(), record, name, value);
}

std::int32_t loadStoreKey(std::int32_t key1, std::int32_t key2, std::int32_t key3) {
  const std::uint32_t key = static_cast<std::uint32_t>(key1) * 10000u + static_cast<std::uint32_t>(key2) * 100u +
                            static_cast<std::uint32_t>(key3);
  return static_cast<std::int32_t>(key);
}

std::unordered_map<std::int32_t, wallData>& wallDataMap() {
  static std::unordered_map<std::int32_t, wallData> map;
  return map;
}

std::unordered_map<std::int32_t, roomData>& roomDataMap() {
  static std::unordered_map<std::int32_t, roomData> map;
  return map;
}
