// Loads: the hourly CLTD/SCL tables, the store of partial load sums kept for the LISP layer, and
// the reading and formatting of load figures that the Load Detail dialog shows. Plain arithmetic:
// the LISP bodies over it are in loadslisp.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

// ---------------------------------------------------------------------------------------------
// CLTD/SCL tables
// ---------------------------------------------------------------------------------------------

inline constexpr std::size_t kGlassTableEntries = 12 * 7 * 4 * 9 * 24;
inline constexpr std::size_t kWallTableEntries = 12 * 7 * 15 * 8 * 24;
inline constexpr std::size_t kRoofTableEntries = 12 * 7 * 10 * 24;
inline constexpr std::size_t kCltdBlockEntries = kGlassTableEntries + kWallTableEntries + kRoofTableEntries;

// The three tables in one constant block, generated at build time by tools/cltdgen.
extern const std::int16_t kvCltdBlock[kCltdBlockEntries];

// [month 12][latitude row 7][zone 4][position 9][hour 24], Btu/(h ft2).
inline constexpr const std::int16_t* glassTable = kvCltdBlock;
// [month 12][latitude row 7][wall row 15][position 8][hour 24], F.
inline constexpr const std::int16_t* wallTable = kvCltdBlock + kGlassTableEntries;
// [month 12][latitude row 7][roof row 10][hour 24], F.
inline constexpr const std::int16_t* roofTable = kvCltdBlock + kGlassTableEntries + kWallTableEntries;

// Table positions (a, b) of a compass orientation name: "NNE" is (N, NE). Exact and
// case-sensitive; an unknown name is (0, 0).
struct OrientationPair {
  int a = 0;
  int b = 0;
};
OrientationPair orientationPositions(std::wstring_view name);

// Table rows: latitude (16..71 -> 0..6, else -1), zone character, wall number, roof number.
int latitudeRow(int latitude);
int zoneRow(wchar_t zone);
int wallRow(int wallNumber);
int roofRow(int roofNumber);

// One hourly value. Latitudes outside 16..71, months outside 0..11 and hours outside 0..23 lie
// outside the tables: we answer 0 for them rather than read past the data, since the LISP layer
// keeps to the ranges and a zero curve is harmless in a sum.
std::int16_t glassCltd(int latitude, wchar_t zone, std::wstring_view orientation, int month, int hour);
std::int16_t wallCltd(int latitude, int wallNumber, std::wstring_view orientation, int month, int hour);
std::int16_t roofCltd(int latitude, int roofNumber, int month, int hour);

// ---------------------------------------------------------------------------------------------
// Room and wall load store
// ---------------------------------------------------------------------------------------------

struct wallData {
  double dWall = 0, dWallPlenum = 0, dDoor = 0, dGlass = 0;
  double dWallPartition = 0, dWallPlenumPartition = 0, dDoorPartition = 0, dGlassPartition = 0;
};

struct roomData {
  double dRoof = 0, dRoofPlenum = 0, dFloor = 0, dWall = 0, dWallPlenum = 0, dDoor = 0, dGlass = 0;
  double dWallPartition = 0, dWallPlenumPartition = 0, dDoorPartition = 0, dGlassPartition = 0;
  double dInfiltrationSensible = 0, dInfiltrationLatent = 0;
  double dVentilationSensible = 0, dVentilationLatent = 0;
  double dVentilationSensiblePeople = 0, dVentilationLatentPeople = 0;
  double dVentilation62Sensible = 0, dVentilation62Latent = 0;
  double dVentilation62SensiblePeople = 0, dVentilation62LatentPeople = 0;
  double dVentilationIMCSensible = 0, dVentilationIMCLatent = 0;
  std::int32_t iCoolingCFM = 0, iCoolingCFM62 = 0, iOSACFM = 0, iOSA62CFM = 0, iOSAIMCCFM = 0;
  std::int32_t iOSAPeopleCFM = 0, iOSA62PeopleCFM = 0;
  double dLights = 0, dLightsPlenum = 0, dEquipmentLatent = 0, dEquipmentSensible = 0;
  double dPeopleLatent = 0, dPeopleSensible = 0, dRoomTemperature = 0, dRoomHumidity = 0;
  double dRoomTotalSensible = 0, dRoomTotalLatent = 0, dRoomTotal = 0, dPlenumTotal = 0;
  double dSystemTotalSensible = 0, dSystemTotalLatent = 0, dSystemTotal = 0;
  double dSystem62TotalSensible = 0, dSystem62TotalLatent = 0, dSystem62Total = 0;
  double dSystemIMCTotalSensible = 0, dSystemIMCTotalLatent = 0, dSystemIMCTotal = 0;
  double dArea = 0, dPeople = 0, dPeopleRatio = 0;
};

// One field of a store record: its LISP name (a view of a literal, so also a C string) and
// exactly one of the two members.
template <class Record>
struct LoadField {
  std::wstring_view name;
  double Record::*real;
  std::int32_t Record::*integer;
};

// The fields in their fixed order (8 for walls, 54 for rooms).
std::span<const LoadField<wallData>> wallDataFields();
std::span<const LoadField<roomData>> roomDataFields();

// Adds value to the field called name (exact, case-sensitive): a double field adds it, an
// integer field adds it truncated toward zero (wrapping at 32 bits rather than overflowing).
// False when no field has that name.
bool addLoadValue(wallData& record, std::wstring_view name, double value);
bool addLoadValue(roomData& record, std::wstring_view name, double value);

// key1 x 10000 + key2 x 100 + key3, in 32-bit two's complement arithmetic.
std::int32_t loadStoreKey(std::int32_t key1, std::int32_t key2, std::int32_t key3);

// The two module-wide stores: empty at load, emptied by the reset functions and at unload.
std::unordered_map<std::int32_t, wallData>& wallDataMap();
std::unordered_map<std::int32_t, roomData>& roomDataMap();

// ---------------------------------------------------------------------------------------------
// Load figures
// ---------------------------------------------------------------------------------------------

// What a column of the cooling or heating result tables holds.
enum class LoadColumnGroup {
  Envelope,       // load through the outer surfaces
  PlenumShare,    // envelope and lighting loads that fall on the plenum, not the room
  Partitions,     // load through inner walls, doors and glass
  Internal,       // lights, equipment, people
  Infiltration,
  Ventilation,    // outside air, one set of columns per ventilation method
  AirQuantities,  // supply and outside air flows, CFM
  Conditions,     // room state used in the calculation
  Totals,         // sums made by the LISP layer
  Room,           // area and occupancy
};
// The group of a result column by its name (exact); nothing for keys, month, hour and the
// method's own percentages.
std::optional<LoadColumnGroup> loadColumnGroup(std::wstring_view column);

// Which ventilation columns count: the setting passed by the LISP layer, "YES" and "IMC" exactly;
// anything else is the plain method.
enum class VentilationMethod { Plain, Ashrae62, Imc };
VentilationMethod ventilationMethodOf(std::wstring_view setting);

struct SensibleLatent {
  double sensible = 0;
  double latent = 0;
  double total() const { return sensible + latent; }
};

// The columns of one cooling result row that the figures read.
struct CoolingLoad {
  double dRoof = 0, dRoofPlenum = 0, dFloor = 0, dWall = 0, dDoor = 0, dGlass = 0;
  double dWallPartition = 0, dDoorPartition = 0, dGlassPartition = 0;
  double dInfiltrationSensible = 0, dInfiltrationLatent = 0;
  double dVentilationSensible = 0, dVentilationLatent = 0;
  double dVentilation62Sensible = 0, dVentilation62Latent = 0;
  double dVentilationIMCSensible = 0, dVentilationIMCLatent = 0;
  double dLights = 0, dEquipmentSensible = 0, dEquipmentLatent = 0, dPeopleSensible = 0, dPeopleLatent = 0;
  double dRoomTotalSensible = 0, dRoomTotalLatent = 0, dRoomTotal = 0, dPlenumTotal = 0;
  double dSystemTotalSensible = 0, dSystemTotalLatent = 0, dSystemTotal = 0;
  double dSystem62TotalSensible = 0, dSystem62TotalLatent = 0, dSystem62Total = 0;
  double dSystemIMCTotalSensible = 0, dSystemIMCTotalLatent = 0, dSystemIMCTotal = 0;
  std::int32_t iCoolingCFM = 0, iOSACFM = 0;
};

// The columns of one heating result row that the figures read.
struct HeatingLoad {
  double dRoof = 0, dRoofPlenum = 0, dWall = 0, dDoor = 0, dGlass = 0;
  double dWallPartition = 0, dDoorPartition = 0, dGlassPartition = 0;
  double dSlab = 0, dEquipment = 0, dFloor = 0, dInfiltration = 0;
  double dVentilation = 0, dVentilation62 = 0, dVentilationIMC = 0;
  double dRoomTotal = 0, dPlenumTotal = 0, dSystemTotal = 0, dSystem62Total = 0, dSystemIMCTotal = 0;
  std::int32_t iHeatingCFM = 0, iOSACFM = 0;
};

SensibleLatent coolingSystemTotal(const CoolingLoad& row, VentilationMethod method);
double coolingPercentBase(const CoolingLoad& row, VentilationMethod method);
SensibleLatent coolingVentilation(const CoolingLoad& row, VentilationMethod method);
double heatingSystemTotal(const HeatingLoad& row, VentilationMethod method);
double heatingVentilation(const HeatingLoad& row, VentilationMethod method);

// The combined display lines. A line a section does not have (Slab in cooling; Lighting and
// People in heating) gives nothing.
enum class LoadLine { Wall, Glass, HorizontalPartitions, VerticalPartitions, Slab, Lighting, Equipment, People, Infiltration };
std::optional<SensibleLatent> coolingLine(const CoolingLoad& row, LoadLine line);
std::optional<double> heatingLine(const HeatingLoad& row, LoadLine line);

// A room's (negative loadId) share of the flow its system requires: required / denominator x
// numerator, truncated toward zero, when both are above 0; otherwise required as given.
std::int32_t requiredSupplyAir(std::int32_t required, std::int32_t numerator, std::int32_t denominator,
                               std::int32_t loadId);

// A load or flow figure to three significant digits above 1000 ("12,300"), grouped with commas.
// A value that is not finite gives the empty text.
std::wstring displayNumber(double value);
// a / b x 100 without decimals and "%". With b 0 (or a result that is not finite) there is no
// sound percentage and the text is empty, leaving the cell blank.
std::wstring displayPercent(double a, double b);
// value to decimals places (0..10, clamped), trailing zeros and a bare point removed.
std::wstring displayDecimal(double value, int decimals);
// "1.5 Tons", "3.52 kW", "55° F", "20° dT".
std::wstring displayTons(double btuh);
std::wstring displayKilowatts(double btuh);
std::wstring displayTemperature(std::int32_t degrees);
std::wstring displayTemperatureDifference(std::int32_t degrees);

// "January".."December" for 0..11 and "1 am".."midnight" for 0..23; null outside. The indices
// of names, -1 for a name that is not one.
const wchar_t* monthName(int index);
const wchar_t* hourName(int index);
int monthIndex(std::wstring_view name);
int hourIndex(std::wstring_view name);
