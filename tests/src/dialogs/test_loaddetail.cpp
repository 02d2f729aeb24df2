// Load Detail: every figure of the report checked against numbers worked out by hand from the
// rows the test writes, per ventilation method; time rows moved by queued keys; printing.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "database/database.h"
#include "dialog_fixture.h"
#include "dialogs/CLoadDetail.h"

namespace kvtest {
namespace {

using Cells = std::vector<std::wstring>;

class ProbeLoadDetail : public CLoadDetail {
 public:
  using CLoadDetail::CLoadDetail;
  std::function<std::string(ProbeLoadDetail&)> script;  // queued once the grid is laid out
  std::vector<Cells> rows;
  int comboCells = 0;
  std::string picture;

  // The row of label at or after the row of section (both in column 0).
  Cells Row(const std::wstring& section, const std::wstring& label) const {
    std::size_t i = 0;
    while (i < rows.size() && rows[i][0] != section) ++i;
    while (i < rows.size() && rows[i][0] != label) ++i;
    return i < rows.size() ? rows[i] : Cells{};
  }
  int Find(const std::wstring& label) {
    for (int r = 0; r < grid.GetRowCount(); ++r)
      if (grid.GetItemText(r, 0) == CString(label.c_str())) return r;
    return -1;
  }

 protected:
  BOOL OnInitDialog() override {
    const BOOL result = CLoadDetail::OnInitDialog();
    if (script) kvinput::InputQueue::instance().loadText(script(*this), "probe");
    return result;
  }
  void OnOK() override {
    Finish();
    CLoadDetail::OnOK();
  }
  void OnCancel() override {
    Finish();
    CLoadDetail::OnCancel();
  }

 private:
  void Finish() {
    for (int r = 0; r < grid.GetRowCount(); ++r) {
      Cells cells;
      for (int c = 0; c < grid.GetColumnCount(); ++c) {
        cells.push_back(grid.GetItemText(r, c).str());
        if (dynamic_cast<CGridCellCombo*>(grid.GetCell(r, c))) ++comboCells;
      }
      rows.push_back(cells);
    }
    if (!picture.empty()) DialogPicture(*this, picture);
  }
};

// Month indices 5..7 are calculated (June to August); hour 14 is "3 pm".
class LoadDetail : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    Exec(L"update tblMonth set bDoCalculation = 0");
    Exec(L"update tblMonth set bDoCalculation = -1 where iMonth in (5, 6, 7)");
    Exec(L"delete from tblLoadRoomCooling");
    Exec(L"delete from tblLoadRoomHeating");
    const std::wstring figures =
        L"dRoof, dRoofPlenum, dWall, dDoor, dGlass, dFloor, dLights, dEquipmentSensible, dEquipmentLatent, "
        L"dPeopleSensible, dPeopleLatent, dInfiltrationSensible, dInfiltrationLatent, dRoomTotalSensible, "
        L"dRoomTotalLatent, dRoomTotal, dPlenumTotal, iCoolingCFM, iOSACFM, dVentilationSensible, dVentilationLatent, "
        L"dVentilation62Sensible, dVentilation62Latent, dVentilationIMCSensible, dVentilationIMCLatent, "
        L"dSystemTotalSensible, dSystemTotalLatent, dSystemTotal, dSystem62TotalSensible, dSystem62TotalLatent, "
        L"dSystem62Total, dSystemIMCTotalSensible, dSystemIMCTotalLatent, dSystemIMCTotal";
    const std::wstring july = L"3000, 0, 1000, 500, 2250, 0, 1500, 750, 0, 1000, -300, 1500, 600, 12345, 2655, 15000, "
                              L"2000, 600, 150, 3000, 1000, 5000, 2000, 7000, 2000, 20000, 5000, 25000, 22000, 6000, "
                              L"28000, 24000, 6000, 30000";
    // August: the room's load lies only in the plenum's roof.
    const std::wstring august = L"0, 800, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9000, 0, 9000, 800, 450, 90, "
                                L"0, 0, 0, 0, 0, 0, 9000, 0, 9000, 9000, 0, 9000, 9000, 0, 9000";
    Exec(L"insert into tblLoadRoomCooling (ixRoomL, iMonth, iHour, " + figures + L") values (5, 6, 14, " + july + L")");
    Exec(L"insert into tblLoadRoomCooling (ixRoomL, iMonth, iHour, " + figures + L") values (5, 7, 14, " + august + L")");
    Exec(L"insert into tblLoadRoomCooling (ixZone, iMonth, iHour, " + figures + L") values (3, 6, 14, " + july + L")");
    const std::wstring heating =
        L"dRoof, dRoofPlenum, dWall, dDoor, dGlass, dSlab, dFloor, dEquipment, dInfiltration, dRoomTotal, "
        L"dPlenumTotal, iHeatingCFM, iOSACFM, dVentilation, dVentilation62, dVentilationIMC, dSystemTotal, "
        L"dSystem62Total, dSystemIMCTotal) values (";
    const std::wstring values = L"0, 500, 1000, 600, 2000, 400, 0, 0, 1200, 8000, 500, 400, 100, 1000, 3000, 5000, "
                                L"10000, 12000, 16000)";
    Exec(L"insert into tblLoadRoomHeating (ixRoomL, " + heating + L"5, " + values);
    Exec(L"insert into tblLoadRoomHeating (ixZone, " + heating + L"3, " + values);
    cooling_ = std::make_unique<tblLoadRoomCooling>(real_.Get());
    heating_ = std::make_unique<tblLoadRoomHeating>(real_.Get());
  }
  void TearDown() override {
    cooling_.reset();
    heating_.reset();
    DialogTest::TearDown();
  }
  std::unique_ptr<ProbeLoadDetail> Make(std::int32_t loadId, const wchar_t* method = L"NO") {
    auto d = std::make_unique<ProbeLoadDetail>(real_.Get(), cooling_.get(), heating_.get());
    d->title = L"Room 101 Office";
    d->loadId = loadId;
    d->ventilationMethod = method;
    d->area = 250;
    d->people = 2;
    d->coolingMonth = d->loadMonth = 6;
    d->coolingHour = d->loadHour = 14;
    d->supplyTemperature = 55;
    d->heatingDifference = 70;
    d->currentCFM = 580;
    d->requiredCFM = 1200;
    d->shareFactor = 1;
    d->shareDivisor = 2;
    return d;
  }
  INT_PTR Run(ProbeLoadDetail& d, const std::string& lines = "click #1") {
    queue(lines);
    return d.DoModal();
  }
  std::unique_ptr<tblLoadRoomCooling> cooling_;
  std::unique_ptr<tblLoadRoomHeating> heating_;
};

TEST_F(LoadDetail, ARoomReadsItsOwnRowsAgainstTheRoomTotal) {
  auto d = Make(-5);
  d->picture = "load-detail-dialog.png";
  EXPECT_EQ(Run(*d), IDOK);
  EXPECT_EQ(d->rows[1][0], L"Room 101 Office");
  EXPECT_EQ(d->Row(L"", L"Area (sf)")[1], L"250");
  EXPECT_EQ(d->Row(L"", L"Required Supply CFM")[1], L"600") << "1200 / 2 x 1";
  // Cooling at July 3 pm.
  EXPECT_EQ(d->Row(L"Cooling", L"Time")[1], L"July");
  EXPECT_EQ(d->Row(L"Cooling", L"Time")[2], L"3 pm");
  EXPECT_EQ(d->Row(L"Cooling", L"Supply Temperature")[1], L"55\u00B0 F");
  EXPECT_EQ(d->Row(L"Cooling", L"Load (btuh)")[1], L"15,000");
  EXPECT_EQ(d->Row(L"Cooling", L"OSA CFM"), (Cells{L"OSA CFM", L"150", L"25%", L"", L"", L"", L"", L""}));
  // Heating: no system rows for a room unless asked.
  EXPECT_EQ(d->Row(L"Heating", L"Heating Temperature Difference")[1], L"70\u00B0 dT");
  EXPECT_EQ(d->Row(L"Heating Load", L"System Total"), Cells{});
  EXPECT_EQ(d->Row(L"Heating Load", L"Room Total")[1], L"8,000");
  EXPECT_EQ(d->Row(L"Heating Load", L"Roof")[1], L"Plenum");
  EXPECT_EQ(d->Row(L"Heating Load", L"Wall"), (Cells{L"Wall", L"1,600", L"20%", L"", L"", L"", L"", L""}));
  EXPECT_EQ(d->Row(L"Heating Load", L"Slab")[2], L"5%");
  EXPECT_EQ(d->Row(L"Heating Load", L"Infiltration")[2], L"15%");
  // Cooling Load: 12,345 shows as 12,300 but its share is worked from the exact value.
  const Cells total = d->Row(L"Cooling Load", L"Room Total");
  EXPECT_EQ(total, (Cells{L"Room Total", L"15,000", L"100%", L"12,300", L"82%", L"2,660", L"18%", L""}));
  std::size_t at = 0;
  while (d->rows[at][0] != L"Cooling Load") ++at;
  while (d->rows[at][0] != L"Room Total") ++at;
  EXPECT_EQ(d->rows[at + 1], (Cells{L"", L"1.25 Tons", L"", L"1.03 Tons", L"", L"0.22 Tons", L"", L""}));
  EXPECT_EQ(d->Row(L"Cooling Load", L"Roof"), (Cells{L"Roof", L"3,000", L"20%", L"3,000", L"20%", L"", L"", L""}));
  EXPECT_EQ(d->Row(L"Cooling Load", L"Equipment"), (Cells{L"Equipment", L"750", L"5%", L"750", L"5%", L"", L"", L""}))
      << "no latent, no latent columns";
  EXPECT_EQ(d->Row(L"Cooling Load", L"People"), (Cells{L"People", L"1,000", L"5%", L"1,000", L"7%", L"-299", L"-2%", L""}))
      << "a negative latent load shows alone, the total column the sensible; add-and-truncate lifts -300 to -299";
  EXPECT_EQ(d->comboCells, 4);
}

TEST_F(LoadDetail, AZoneShowsTheSystemOfEachVentilationMethod) {
  struct Method {
    const wchar_t* setting;
    Cells coolingSystem, coolingVentilation;
    std::wstring heatingSystem, heatingVentilationShare;
  };
  const Method methods[] = {
      {L"NO", {L"System Total", L"25,000", L"100%", L"20,000", L"80%", L"5,000", L"20%", L""},
       {L"Ventilation", L"4,000", L"16%", L"3,000", L"12%", L"1,000", L"4%", L""}, L"10,000", L"10%"},
      {L"YES", {L"System Total", L"28,000", L"100%", L"22,000", L"79%", L"6,000", L"21%", L""},
       {L"Ventilation", L"7,000", L"25%", L"5,000", L"18%", L"2,000", L"7%", L""}, L"12,000", L"25%"},
      {L"IMC", {L"System Total", L"30,000", L"100%", L"24,000", L"80%", L"6,000", L"20%", L""},
       {L"Ventilation", L"9,000", L"30%", L"7,000", L"23%", L"2,000", L"7%", L""}, L"16,000", L"31%"},
  };
  for (const Method& m : methods) {
    auto d = Make(3, m.setting);
    EXPECT_EQ(Run(*d), IDOK);
    EXPECT_EQ(d->Row(L"Cooling Load", L"System Total"), m.coolingSystem) << d->ventilationMethod;
    EXPECT_EQ(d->Row(L"Cooling Load", L"Ventilation"), m.coolingVentilation) << d->ventilationMethod;
    EXPECT_EQ(d->Row(L"Cooling Load", L"Plenum")[1], L"2,000");
    EXPECT_EQ(d->Row(L"Heating Load", L"System Total")[1], m.heatingSystem);
    EXPECT_EQ(d->Row(L"Heating Load", L"Ventilation")[2], m.heatingVentilationShare);
    EXPECT_EQ(d->Row(L"", L"Required Supply CFM")[1], L"1,200") << "a zone's requirement is its own";
  }
}

TEST_F(LoadDetail, MovingTheCoolingMonthRefillsOnlyThatSection) {
  auto d = Make(-5);
  d->script = [this](ProbeLoadDetail& self) {
    const int t = self.Find(L"Time");
    return "click " + CellPoint(self.grid, CLoadDetail::kGrid, t, 1) + "\nkey F2\nkey DOWN\nkey ENTER\nkey ENTER\nclick #1";
  };
  EXPECT_EQ(Run(*d, ""), IDOK);
  EXPECT_EQ(d->Row(L"Cooling", L"Time")[1], L"August");
  EXPECT_EQ(d->Row(L"Cooling", L"Load (btuh)")[1], L"9,000");
  EXPECT_EQ(d->Row(L"Cooling", L"OSA CFM")[2], L"20%");
  EXPECT_EQ(d->Row(L"Cooling Load", L"Time")[1], L"July");
  EXPECT_EQ(d->Row(L"Cooling Load", L"Room Total")[1], L"15,000");
}

TEST_F(LoadDetail, MovingTheLoadMonthToAPlenumOnlyRoofShowsPlenum) {
  auto d = Make(-5);
  d->script = [this](ProbeLoadDetail& self) {
    int t = self.Find(L"Cooling Load") + 1;
    return "click " + CellPoint(self.grid, CLoadDetail::kGrid, t, 1) + "\nkey F2\nkey DOWN\nkey ENTER\nkey ENTER\nclick #1";
  };
  EXPECT_EQ(Run(*d, ""), IDOK);
  EXPECT_EQ(d->Row(L"Cooling Load", L"Time")[1], L"August");
  EXPECT_EQ(d->Row(L"Cooling Load", L"Roof"), (Cells{L"Roof", L"Plenum", L"", L"", L"", L"", L"", L""}));
  EXPECT_EQ(d->Row(L"Cooling Load", L"Wall")[1], L"0");
  EXPECT_EQ(d->Row(L"Cooling", L"Load (btuh)")[1], L"15,000") << "the other section keeps its time";
}

TEST_F(LoadDetail, NothingFoundAndNothingCalculatedStillOpen) {
  auto none = Make(0);
  none->coolingMonth = 11;  // not a calculated month: the cell still names it
  EXPECT_EQ(Run(*none), IDOK);
  EXPECT_EQ(none->Row(L"Cooling", L"Load (btuh)")[1], L"");
  EXPECT_EQ(none->Row(L"Heating", L"Load"), (Cells{L"Load", L"", L"", L"", L"", L"", L"", L""}));
  EXPECT_EQ(none->Row(L"Cooling Load", L"Room Total")[1], L"0");
  std::size_t at = 0;
  while (none->rows[at][0] != L"Cooling Load") ++at;
  while (none->rows[at][0] != L"Room Total") ++at;
  EXPECT_EQ(none->rows[at + 1][1], L"0 Tons");
  EXPECT_EQ(std::count_if(none->rows.begin(), none->rows.end(), [](const Cells& c) { return c[0] == L"Equipment"; }), 1)
      << "no heating row, no heating equipment line";

  auto skipped = Make(-5);
  skipped->coolingNotCalculated = skipped->heatingNotCalculated = true;
  skipped->shareDivisor = 0;
  EXPECT_EQ(Run(*skipped), IDOK);
  EXPECT_EQ(skipped->comboCells, 0);
  EXPECT_EQ(skipped->Row(L"Cooling", L"Not calculated").size(), 8u);
  EXPECT_EQ(skipped->Row(L"Heating", L"Not Calculated").size(), 8u);
  EXPECT_EQ(skipped->Row(L"", L"Required Supply CFM")[1], L"1,200") << "no divisor: as it came";
}

TEST_F(LoadDetail, PsychrometricRowsPrintAndCalculateEndsWith101) {
  ResbufPtr rows(acutBuildList(RTLB, RTSTR, L"Supply", RTSTR, L"600", RTSTR, L"55.0000000", RTSTR, L"",
                               RTSTR, L"0.0090", RTSTR, L"15,000", RTSTR, L"12,300", RTSTR, L"2,660", RTLE, 0));
  auto d = Make(-5);
  d->psychrometrics = rows.get();
  const std::string pdf = (folder_.path() / "detail.pdf").string();
  EXPECT_EQ(Run(*d, "click #5\nprint " + pdf + "\nclick #1006"), CLoadDetail::kCalculateResult);
  ASSERT_TRUE(std::filesystem::exists(pdf));
  std::string text;
  {
    FILE* p = popen(("pdftotext -raw " + pdf + " -").c_str(), "r");
    ASSERT_NE(p, nullptr);
    char buffer[4096];
    while (std::size_t n = fread(buffer, 1, sizeof buffer, p)) text.append(buffer, n);
    pclose(p);
  }
  // Bold cells come out letter-spaced in the extracted text, so spaces are left out of the match.
  std::erase_if(text, [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
  for (const char* expected : {"Room101Office", "SupplyAirRequirements", "HorizontalPartitions", "12,300",
                               "Psychrometrics", "0.0090", "2,660"})
    EXPECT_NE(text.find(expected), std::string::npos) << expected;
}

}  // namespace
}  // namespace kvtest
