// Load figures: which columns each ventilation method reads, the combined display lines, the
// required supply air, number formats, and month and hour names.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "loads/loads.h"

namespace {

constexpr std::array<const wchar_t*, 12> kMonthNames = {L"January", L"February", L"March",     L"April",
                                                      L"May",     L"June",     L"July",      L"August",
                                                      L"September", L"October", L"November", L"December"};
constexpr std::array<const wchar_t*, 24> kHourNames = {
    L"1 am", L"2 am", L"3 am", L"4 am", L"5 am", L"6 am", L"7 am", L"8 am", L"9 am", L"10 am", L"11 am", L"noon",
    L"1 pm", L"2 pm", L"3 pm", L"4 pm", L"5 pm", L"6 pm", L"7 pm", L"8 pm", L"9 pm", L"10 pm", L"11 pm", L"midnight"};

constexpr double kTonsPerBtuh = 8.333333333333333e-05;
constexpr double kKilowattsPerBtuh = 0.0002929973630237328;
constexpr wchar_t kDegree = 176;

// Digits of a whole number with a comma before each group of three, counted from the right.
std::wstring grouped(const std::string& digits) {
  std::wstring out;
  const std::size_t start = digits[0] == '-' ? 1 : 0;
  out.append(digits.begin(), digits.begin() + static_cast<std::ptrdiff_t>(start));
  for (std::size_t i = start; i < digits.size(); ++i) {
    if (i > start && (digits.size() - i) % 3 == 0) out += L',';
    out += static_cast<wchar_t>(digits[i]);
  }
  return out;
}

template <std::size_t N>
int indexIn(const std::array<const wchar_t*, N>& names, std::wstring_view name) {
  for (std::size_t i = 0; i < N; ++i)
    if (name == names[i]) return static_cast<int>(i);
  return -1;
}

struct ColumnGroup {
  std::wstring_view name;
  LoadColumnGroup group;
};

using G = LoadColumnGroup;
constexpr ColumnGroup kColumnGroups[] = {
    {L"dRoof", G::Envelope}, {L"dWall", G::Envelope}, {L"dDoor", G::Envelope}, {L"dGlass", G::Envelope},
    {L"dFloor", G::Envelope}, {L"dSlab", G::Envelope},
    {L"dRoofPlenum", G::PlenumShare}, {L"dWallPlenum", G::PlenumShare}, {L"dLightsPlenum", G::PlenumShare},
    {L"dWallPlenumPartition", G::PlenumShare},
    {L"dWallPartition", G::Partitions}, {L"dDoorPartition", G::Partitions}, {L"dGlassPartition", G::Partitions},
    {L"dLights", G::Internal}, {L"dEquipmentSensible", G::Internal}, {L"dEquipmentLatent", G::Internal},
    {L"dPeopleSensible", G::Internal}, {L"dPeopleLatent", G::Internal}, {L"dEquipment", G::Internal},
    {L"dInfiltrationSensible", G::Infiltration}, {L"dInfiltrationLatent", G::Infiltration},
    {L"dInfiltration", G::Infiltration},
    {L"iCoolingCFM", G::AirQuantities}, {L"iHeatingCFM", G::AirQuantities}, {L"iOSACFM", G::AirQuantities},
    {L"iOSA62CFM", G::AirQuantities}, {L"iOSAIMCCFM", G::AirQuantities}, {L"iOSAPeopleCFM", G::AirQuantities},
    {L"iCoolingCFM62", G::AirQuantities}, {L"iOSA62PeopleCFM", G::AirQuantities},
    {L"dRoomTemperature", G::Conditions}, {L"dRoomHumidity", G::Conditions},
    {L"dRoomTotalSensible", G::Totals}, {L"dRoomTotalLatent", G::Totals}, {L"dRoomTotal", G::Totals},
    {L"dPlenumTotal", G::Totals},
    {L"dArea", G::Room}, {L"dPeople", G::Room}, {L"dPeopleRatio", G::Room},
};

}  // namespace

std::optional<LoadColumnGroup> loadColumnGroup(std::wstring_view column) {
  for (const ColumnGroup& c : kColumnGroups)
    if (c.name == column) return c.group;
  // Every method's ventilation columns and system totals share a prefix.
  if (column.starts_with(L"dVentilation")) return LoadColumnGroup::Ventilation;
  if (column.starts_with(L"dSystem")) return LoadColumnGroup::Totals;
  return std::nullopt;
}

VentilationMethod ventilationMethodOf(std::wstring_view setting) {
  if (setting == L"YES") return VentilationMethod::Ashrae62;
  if (setting == L"IMC") return VentilationMethod::Imc;
  return VentilationMethod::Plain;
}

SensibleLatent coolingSystemTotal(const CoolingLoad& r, VentilationMethod method) {
  switch (method) {
    case VentilationMethod::Ashrae62: return {r.dSystem62TotalSensible, r.dSystem62TotalLatent};
    case VentilationMethod::Imc: return {r.dSystemIMCTotalSensible, r.dSystemIMCTotalLatent};
    case VentilationMethod::Plain: break;
  }
  return {r.dSystemTotalSensible, r.dSystemTotalLatent};
}

double coolingPercentBase(const CoolingLoad& r, VentilationMethod method) {
  switch (method) {
    case VentilationMethod::Ashrae62: return r.dSystem62Total;
    case VentilationMethod::Imc: return r.dSystemIMCTotal;
    case VentilationMethod::Plain: break;
  }
  return r.dSystemTotal;
}

SensibleLatent coolingVentilation(const CoolingLoad& r, VentilationMethod method) {
  switch (method) {
    case VentilationMethod::Ashrae62: return {r.dVentilation62Sensible, r.dVentilation62Latent};
    case VentilationMethod::Imc: return {r.dVentilationIMCSensible, r.dVentilationIMCLatent};
    case VentilationMethod::Plain: break;
  }
  return {r.dVentilationSensible, r.dVentilationLatent};
}

double heatingSystemTotal(const HeatingLoad& r, VentilationMethod method) {
  switch (method) {
    case VentilationMethod::Ashrae62: return r.dSystem62Total;
    case VentilationMethod::Imc: return r.dSystemIMCTotal;
    case VentilationMethod::Plain: break;
  }
  return r.dSystemTotal;
}

double heatingVentilation(const HeatingLoad& r, VentilationMethod method) {
  switch (method) {
    case VentilationMethod::Ashrae62: return r.dVentilation62;
    case VentilationMethod::Imc: return r.dVentilationIMC;
    case VentilationMethod::Plain: break;
  }
  return r.dVentilation;
}

std::optional<SensibleLatent> coolingLine(const CoolingLoad& r, LoadLine line) {
  switch (line) {
    case LoadLine::Wall: return SensibleLatent{r.dWall + r.dDoor, 0};
    case LoadLine::Glass: return SensibleLatent{r.dGlass, 0};
    case LoadLine::HorizontalPartitions: return SensibleLatent{r.dFloor, 0};
    case LoadLine::VerticalPartitions: return SensibleLatent{r.dWallPartition + r.dDoorPartition + r.dGlassPartition, 0};
    case LoadLine::Lighting: return SensibleLatent{r.dLights, 0};
    case LoadLine::Equipment: return SensibleLatent{r.dEquipmentSensible, r.dEquipmentLatent};
    case LoadLine::People: return SensibleLatent{r.dPeopleSensible, r.dPeopleLatent};
    case LoadLine::Infiltration: return SensibleLatent{r.dInfiltrationSensible, r.dInfiltrationLatent};
    case LoadLine::Slab: break;
  }
  return std::nullopt;
}

std::optional<double> heatingLine(const HeatingLoad& r, LoadLine line) {
  switch (line) {
    case LoadLine::Wall: return r.dWall + r.dDoor;
    case LoadLine::Glass: return r.dGlass;
    case LoadLine::HorizontalPartitions: return r.dFloor;
    case LoadLine::VerticalPartitions: return r.dWallPartition + r.dDoorPartition + r.dGlassPartition;
    case LoadLine::Slab: return r.dSlab;
    case LoadLine::Equipment: return r.dEquipment;
    case LoadLine::Infiltration: return r.dInfiltration;
    case LoadLine::Lighting:
    case LoadLine::People: break;
  }
  return std::nullopt;
}

std::int32_t requiredSupplyAir(std::int32_t required, std::int32_t numerator, std::int32_t denominator,
                               std::int32_t loadId) {
  if (loadId >= 0 || numerator <= 0 || denominator <= 0) return required;
  // Numerator and denominator are both at least 1, so the share stays within the 32-bit range
  // unless the numerator exceeds the denominator by a large factor; hold it to the range then.
  const double share = std::trunc(static_cast<double>(required) / denominator * numerator);
  if (share >= 2147483647.0) return 2147483647;
  if (share <= -2147483648.0) return -2147483647 - 1;
  return static_cast<std::int32_t>(share);
}

std::wstring displayNumber(double value) {
  if (!std::isfinite(value)) return {};
  int divisions = 0;
  while (value > 1000.0) {
    value /= 10.0;
    ++divisions;
  }
  double whole = std::trunc(value + 0.5) + 0.0;  // + 0.0 turns -0 into 0
  for (int i = 0; i < divisions; ++i) whole *= 10.0;
  char digits[400];
  std::snprintf(digits, sizeof digits, "%.0f", whole);
  return grouped(digits);
}

std::wstring displayPercent(double a, double b) {
  const double percent = a / b * 100.0;
  if (b == 0.0 || !std::isfinite(percent)) return {};
  char text[400];
  std::snprintf(text, sizeof text, "%.0f%%", percent);
  return std::wstring(text, text + std::char_traits<char>::length(text));
}

std::wstring displayDecimal(double value, int decimals) {
  if (!std::isfinite(value)) return {};
  char text[400];
  std::snprintf(text, sizeof text, "%.*f", std::clamp(decimals, 0, 10), value);
  std::string s(text);
  if (s.find('.') != std::string::npos) {
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
  }
  if (s == "-0") s = "0";
  return std::wstring(s.begin(), s.end());
}

std::wstring displayTons(double btuh) { return displayDecimal(btuh * kTonsPerBtuh, 2) + L" Tons"; }
std::wstring displayKilowatts(double btuh) { return displayDecimal(btuh * kKilowattsPerBtuh, 2) + L" kW"; }
std::wstring displayTemperature(std::int32_t degrees) { return std::to_wstring(degrees) + kDegree + L" F"; }
std::wstring displayTemperatureDifference(std::int32_t degrees) { return std::to_wstring(degrees) + kDegree + L" dT"; }

const wchar_t* monthName(int index) { return index >= 0 && index < 12 ? kMonthNames[index] : nullptr; }
const wchar_t* hourName(int index) { return index >= 0 && index < 24 ? kHourNames[index] : nullptr; }
int monthIndex(std::wstring_view name) { return indexIn(kMonthNames, name); }
int hourIndex(std::wstring_view name) { return indexIn(kHourNames, name); }
