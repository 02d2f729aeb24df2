// The load store's records and the load figures: field tables, accumulation rules, keys, the
// method table, combined lines, required supply air and every number format.
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "loads/loads.h"

namespace {

TEST(LoadStoreRecords, FieldTablesReachEveryMemberOnceInOrder) {
  const auto rooms = roomDataFields();
  ASSERT_EQ(rooms.size(), 54u);
  EXPECT_EQ(rooms[0].name, L"dRoof");
  EXPECT_EQ(rooms[23].name, L"iCoolingCFM");
  EXPECT_EQ(rooms[29].name, L"iOSA62PeopleCFM");
  EXPECT_EQ(rooms[53].name, L"dPeopleRatio");
  // Storing a distinct value under every name must land in 54 distinct places.
  roomData room;
  for (std::size_t i = 0; i < rooms.size(); ++i) ASSERT_TRUE(addLoadValue(room, rooms[i].name, double(i + 1)));
  std::set<double> seen;
  int integers = 0;
  for (const auto& f : rooms) {
    seen.insert(f.real ? room.*f.real : room.*f.integer);
    integers += f.integer != nullptr;
    EXPECT_NE(f.real == nullptr, f.integer == nullptr) << f.name.data();
  }
  EXPECT_EQ(seen.size(), 54u);
  EXPECT_EQ(integers, 7);
  const auto walls = wallDataFields();
  ASSERT_EQ(walls.size(), 8u);
  wallData wall;
  for (std::size_t i = 0; i < walls.size(); ++i) addLoadValue(wall, walls[i].name, double(i + 1));
  EXPECT_EQ(wall.dWall, 1);
  EXPECT_EQ(wall.dGlassPartition, 8);
}

TEST(LoadStoreRecords, AddsTruncatedIntegersAndIgnoresUnknownNames) {
  roomData room;
  addLoadValue(room, L"iCoolingCFM", 10.9);
  addLoadValue(room, L"iCoolingCFM", 10.9);
  EXPECT_EQ(room.iCoolingCFM, 20);
  addLoadValue(room, L"iOSACFM", -10.9);
  EXPECT_EQ(room.iOSACFM, -10);
  addLoadValue(room, L"dRoof", 1.25);
  addLoadValue(room, L"dRoof", -0.5);
  EXPECT_DOUBLE_EQ(room.dRoof, 0.75);
  EXPECT_FALSE(addLoadValue(room, L"droof", 5));
  EXPECT_FALSE(addLoadValue(room, L"dRoof ", 5));
  EXPECT_DOUBLE_EQ(room.dRoof, 0.75);
  // Out-of-range and non-finite values never trap.
  addLoadValue(room, L"iOSA62CFM", 1e300);
  addLoadValue(room, L"iOSA62CFM", std::nan(""));
  addLoadValue(room, L"iOSAIMCCFM", 2147483647.0);
  addLoadValue(room, L"iOSAIMCCFM", 1.0);
  EXPECT_EQ(room.iOSAIMCCFM, -2147483647 - 1);
}

TEST(LoadStoreRecords, KeysCombineThreeNumbers) {
  EXPECT_EQ(loadStoreKey(1, 2, 3), 10203);
  EXPECT_EQ(loadStoreKey(0, 102, 3), 10203);
  EXPECT_EQ(loadStoreKey(-1, 0, 5), -9995);
  EXPECT_EQ(loadStoreKey(2147483647, 1, 1), static_cast<std::int32_t>(2147483647u * 10000u + 101u));
}

TEST(LoadFigures, MethodsReadTheirOwnColumns) {
  CoolingLoad c;
  c.dSystemTotalSensible = 1, c.dSystemTotalLatent = 2, c.dSystemTotal = 3;
  c.dSystem62TotalSensible = 10, c.dSystem62TotalLatent = 20, c.dSystem62Total = 30;
  c.dSystemIMCTotalSensible = 100, c.dSystemIMCTotalLatent = 200, c.dSystemIMCTotal = 300;
  c.dVentilationSensible = 4, c.dVentilation62Sensible = 40, c.dVentilationIMCLatent = 400;
  HeatingLoad h;
  h.dSystemTotal = 5, h.dSystem62Total = 50, h.dSystemIMCTotal = 500;
  h.dVentilation = 6, h.dVentilation62 = 60, h.dVentilationIMC = 600;
  const auto yes = ventilationMethodOf(L"YES"), imc = ventilationMethodOf(L"IMC");
  EXPECT_EQ(coolingSystemTotal(c, yes).total(), 30);
  EXPECT_EQ(coolingPercentBase(c, imc), 300);
  EXPECT_EQ(coolingVentilation(c, yes).sensible, 40);
  EXPECT_EQ(coolingVentilation(c, imc).latent, 400);
  EXPECT_EQ(heatingSystemTotal(h, imc), 500);
  EXPECT_EQ(heatingVentilation(h, yes), 60);
  for (const wchar_t* other : {L"NO", L"ASHRAE2007", L"IMC2009", L"yes", L""}) {
    const auto plain = ventilationMethodOf(other);
    EXPECT_EQ(plain, VentilationMethod::Plain) << other;
    EXPECT_EQ(coolingSystemTotal(c, plain).total(), 3);
    EXPECT_EQ(coolingPercentBase(c, plain), 3);
    EXPECT_EQ(heatingVentilation(h, plain), 6);
  }
}

TEST(LoadFigures, ColumnGroups) {
  EXPECT_EQ(loadColumnGroup(L"dSlab"), LoadColumnGroup::Envelope);
  EXPECT_EQ(loadColumnGroup(L"dLightsPlenum"), LoadColumnGroup::PlenumShare);
  EXPECT_EQ(loadColumnGroup(L"dLights"), LoadColumnGroup::Internal);
  EXPECT_EQ(loadColumnGroup(L"dVentilation62LatentPeople"), LoadColumnGroup::Ventilation);
  EXPECT_EQ(loadColumnGroup(L"dSystemIMCTotal"), LoadColumnGroup::Totals);
  EXPECT_EQ(loadColumnGroup(L"iHeatingCFM"), LoadColumnGroup::AirQuantities);
  EXPECT_EQ(loadColumnGroup(L"dPeopleRatio"), LoadColumnGroup::Room);
  EXPECT_FALSE(loadColumnGroup(L"iMonth"));
  EXPECT_FALSE(loadColumnGroup(L"ixRoomL"));
  EXPECT_FALSE(loadColumnGroup(L"dslab"));
  // Every store field of a room is a result column with a meaning.
  for (const auto& f : roomDataFields()) EXPECT_TRUE(loadColumnGroup(f.name)) << f.name.data();
}

TEST(LoadFigures, CombinedLines) {
  CoolingLoad c;
  c.dWall = 1, c.dDoor = 2, c.dWallPartition = 4, c.dDoorPartition = 8, c.dGlassPartition = 16;
  c.dEquipmentSensible = 32, c.dEquipmentLatent = 64, c.dLights = 128;
  EXPECT_EQ(coolingLine(c, LoadLine::Wall)->total(), 3);
  EXPECT_EQ(coolingLine(c, LoadLine::VerticalPartitions)->total(), 28);
  EXPECT_EQ(coolingLine(c, LoadLine::Equipment)->latent, 64);
  EXPECT_EQ(coolingLine(c, LoadLine::Lighting)->sensible, 128);
  EXPECT_FALSE(coolingLine(c, LoadLine::Slab));
  HeatingLoad h;
  h.dWall = 1, h.dDoor = 2, h.dSlab = 7, h.dEquipment = 9;
  EXPECT_EQ(*heatingLine(h, LoadLine::Wall), 3);
  EXPECT_EQ(*heatingLine(h, LoadLine::Slab), 7);
  EXPECT_EQ(*heatingLine(h, LoadLine::Equipment), 9);
  EXPECT_FALSE(heatingLine(h, LoadLine::People));
  EXPECT_FALSE(heatingLine(h, LoadLine::Lighting));
}

TEST(LoadFigures, RequiredSupplyAirIsARoomsShare) {
  EXPECT_EQ(requiredSupplyAir(1000, 1, 3, -5), 333);
  EXPECT_EQ(requiredSupplyAir(-1000, 1, 3, -5), -333);
  EXPECT_EQ(requiredSupplyAir(1000, 1, 0, -5), 1000);   // no divisor: as it came
  EXPECT_EQ(requiredSupplyAir(1000, 0, 3, -5), 1000);
  EXPECT_EQ(requiredSupplyAir(1000, 1, 3, 5), 1000);    // a zone takes the whole flow
  EXPECT_EQ(requiredSupplyAir(1000, 1, 3, 0), 1000);
  EXPECT_EQ(requiredSupplyAir(2000000000, 2000000000, 1, -1), 2147483647);
}

TEST(LoadFigures, DisplayNumberKeepsThreeDigitsAboveAThousand) {
  EXPECT_EQ(displayNumber(1000), L"1,000");
  EXPECT_EQ(displayNumber(1000.4), L"1,000");
  EXPECT_EQ(displayNumber(999.7), L"1,000");
  EXPECT_EQ(displayNumber(99.5), L"100");
  EXPECT_EQ(displayNumber(23456), L"23,500");
  EXPECT_EQ(displayNumber(12345.6), L"12,300");
  EXPECT_EQ(displayNumber(1234567), L"1,230,000");
  EXPECT_EQ(displayNumber(0), L"0");
  EXPECT_EQ(displayNumber(-0.7), L"0");
  EXPECT_EQ(displayNumber(-5.7), L"-5");
  EXPECT_EQ(displayNumber(-12345), L"-12,344");  // not reduced; add-and-truncate moves it up
  EXPECT_EQ(displayNumber(-123), L"-122");
  EXPECT_EQ(displayNumber(1e300).substr(0, 6), L"1,000,");
  EXPECT_EQ(displayNumber(INFINITY), L"");
  EXPECT_EQ(displayNumber(std::nan("")), L"");
}

TEST(LoadFigures, PercentDecimalAndUnits) {
  EXPECT_EQ(displayPercent(1, 3), L"33%");
  EXPECT_EQ(displayPercent(2, 3), L"67%");
  EXPECT_EQ(displayPercent(12345, 12345), L"100%");
  EXPECT_EQ(displayPercent(-1, 4), L"-25%");
  EXPECT_EQ(displayPercent(5, 0), L"");
  EXPECT_EQ(displayPercent(0, 0), L"");
  EXPECT_EQ(displayDecimal(1.5, 2), L"1.5");
  EXPECT_EQ(displayDecimal(2.0, 2), L"2");
  EXPECT_EQ(displayDecimal(0.123456, 3), L"0.123");
  EXPECT_EQ(displayDecimal(-0.001, 2), L"0");
  EXPECT_EQ(displayDecimal(1.0 / 3, 20), L"0.3333333333");
  EXPECT_EQ(displayDecimal(120, 0), L"120");
  EXPECT_EQ(displayTons(18000), L"1.5 Tons");
  EXPECT_EQ(displayTons(0), L"0 Tons");
  EXPECT_EQ(displayKilowatts(12000), L"3.52 kW");
  EXPECT_EQ(displayTemperature(55), std::wstring(L"55") + wchar_t(176) + L" F");
  EXPECT_EQ(displayTemperatureDifference(-20), std::wstring(L"-20") + wchar_t(176) + L" dT");
}

TEST(LoadFigures, MonthAndHourNamesAndIndices) {
  EXPECT_STREQ(monthName(0), L"January");
  EXPECT_STREQ(monthName(11), L"December");
  EXPECT_EQ(monthName(12), nullptr);
  EXPECT_EQ(monthName(-1), nullptr);
  EXPECT_STREQ(hourName(0), L"1 am");
  EXPECT_STREQ(hourName(10), L"11 am");
  EXPECT_STREQ(hourName(11), L"noon");
  EXPECT_STREQ(hourName(12), L"1 pm");
  EXPECT_STREQ(hourName(23), L"midnight");
  EXPECT_EQ(hourName(24), nullptr);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(monthIndex(monthName(i)), i);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(hourIndex(hourName(i)), i);
  EXPECT_EQ(monthIndex(L"january"), -1);
  EXPECT_EQ(hourIndex(L"12 pm"), -1);
}

}  // namespace
