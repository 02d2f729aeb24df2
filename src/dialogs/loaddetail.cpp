// Load Detail: the layout of the report rows, the refill of a cooling section when its month or
// hour changes, and the LISP body that reads the figures the load tables do not hold.
#include <cwchar>

#include "database/database.h"
#include "dialogs/CLoadDetail.h"
#include "dialogs/dialogs.h"
#include "dialogs/support.h"
#include "loads/loads.h"

namespace {

constexpr int kColumns = 8;
constexpr DWORD kWrapCentred = DT_CENTER | DT_WORDBREAK;

void RegisterTemplate() {
  static bool done = false;
  if (done) return;
  done = true;
  DialogTemplate t;
  t.id = CLoadDetail::kTemplate;
  t.title = L"Load Detail";
  t.style |= WS_THICKFRAME;
  t.cx = 386;
  t.cy = 337;
  t.items = {kvui::Control(L"", CLoadDetail::kGrid, L"MFCGridCtrl", WS_TABSTOP | WS_BORDER, 7, 7, 372, 302),
             kvui::PushButton(L"&Calculate This Load", CLoadDetail::kCalculate, 7, 316, 80, 14),
             kvui::DefPushButton(L"&OK", IDOK, 168, 316, 50, 14),
             kvui::PushButton(L"&Print. . .", CLoadDetail::kPrint, 329, 316, 50, 14)};
  kvui::RegisterDialogTemplate(t);
}

// The months the project calculated, by name, in month order.
std::vector<std::wstring> CalculatedMonths(ProjectDatabase* connection) {
  std::vector<std::wstring> out;
  for (const _variant_t& value : QueryColumn(connection, L"select iMonth from tblMonth where bDoCalculation = -1 order by iMonth")) {
    const long month = value.vt == VT_I4 ? value.lVal : value.vt == VT_I2 ? value.iVal
                       : value.vt == VT_R8 ? static_cast<long>(value.dblVal) : -1;
    if (const wchar_t* name = monthName(static_cast<int>(month))) out.emplace_back(name);
  }
  return out;
}

std::vector<std::wstring> AllHours() {
  std::vector<std::wstring> out;
  for (int h = 0; h < 24; ++h) out.emplace_back(hourName(h));
  return out;
}

CoolingLoad CoolingOf(const tblLoadRoomCooling& t) {
  CoolingLoad out;
#define KV_TAKE(n) out.n = t.Get##n();
  KV_TAKE(dRoof) KV_TAKE(dRoofPlenum) KV_TAKE(dFloor) KV_TAKE(dWall) KV_TAKE(dDoor) KV_TAKE(dGlass)
  KV_TAKE(dWallPartition) KV_TAKE(dDoorPartition) KV_TAKE(dGlassPartition)
  KV_TAKE(dInfiltrationSensible) KV_TAKE(dInfiltrationLatent) KV_TAKE(dVentilationSensible)
  KV_TAKE(dVentilationLatent) KV_TAKE(dVentilation62Sensible) KV_TAKE(dVentilation62Latent)
  KV_TAKE(dVentilationIMCSensible) KV_TAKE(dVentilationIMCLatent) KV_TAKE(dLights)
  KV_TAKE(dEquipmentSensible) KV_TAKE(dEquipmentLatent) KV_TAKE(dPeopleSensible) KV_TAKE(dPeopleLatent)
  KV_TAKE(dRoomTotalSensible) KV_TAKE(dRoomTotalLatent) KV_TAKE(dRoomTotal) KV_TAKE(dPlenumTotal)
  KV_TAKE(dSystemTotalSensible) KV_TAKE(dSystemTotalLatent) KV_TAKE(dSystemTotal)
  KV_TAKE(dSystem62TotalSensible) KV_TAKE(dSystem62TotalLatent) KV_TAKE(dSystem62Total)
  KV_TAKE(dSystemIMCTotalSensible) KV_TAKE(dSystemIMCTotalLatent) KV_TAKE(dSystemIMCTotal)
  KV_TAKE(iCoolingCFM) KV_TAKE(iOSACFM)
  return out;
}

HeatingLoad HeatingOf(const tblLoadRoomHeating& t) {
  HeatingLoad out;
  KV_TAKE(dRoof) KV_TAKE(dRoofPlenum) KV_TAKE(dWall) KV_TAKE(dDoor) KV_TAKE(dGlass) KV_TAKE(dWallPartition)
  KV_TAKE(dDoorPartition) KV_TAKE(dGlassPartition) KV_TAKE(dSlab) KV_TAKE(dEquipment) KV_TAKE(dFloor)
  KV_TAKE(dInfiltration) KV_TAKE(dVentilation) KV_TAKE(dVentilation62) KV_TAKE(dVentilationIMC)
  KV_TAKE(dRoomTotal) KV_TAKE(dPlenumTotal) KV_TAKE(dSystemTotal) KV_TAKE(dSystem62Total)
  KV_TAKE(dSystemIMCTotal) KV_TAKE(iHeatingCFM) KV_TAKE(iOSACFM)
#undef KV_TAKE
  return out;
}

std::wstring Degrees(const std::wstring& text) {
  if (text.empty()) return text;
  return text.substr(0, text.size() > 7 ? text.size() - 7 : 0) + L"\u00B0 F";
}

}  // namespace

CLoadDetail::CLoadDetail(ProjectDatabase* connection, tblLoadRoomCooling* cooling, tblLoadRoomHeating* heating,
                         CWnd* parent)
    : CAcUiDialog(kTemplate, parent),
      months(CalculatedMonths(connection)),
      hours(AllHours()),
      connection_(connection),
      cooling_(cooling),
      heating_(heating) {
  RegisterTemplate();
}

BOOL CLoadDetail::OnInitDialog() {
  SetDialogName(L"kv_hvac:LoadDetail");
  kvdialogs::SetSmallIcon(*this);
  DLGCTLINFO rules[] = {{kGrid, ELASTICX, 100}, {kGrid, ELASTICY, 100},   {IDOK, MOVEX, 50}, {IDOK, MOVEY, 100},
                        {kCalculate, MOVEY, 100}, {kPrint, MOVEX, 100}, {kPrint, MOVEY, 100}};
  SetControlProperty(rules, sizeof(rules) / sizeof(rules[0]));
  CAcUiDialog::OnInitDialog();
  grid.SubclassDlgItem(kGrid, this);
  FillGrid();
  grid.SetFocus();
  return FALSE;
}

BOOL CLoadDetail::OnCommand(WPARAM w, LPARAM l) {
  if (HIWORD(w) == BN_CLICKED) {
    switch (LOWORD(w)) {
      case kPrint: grid.Print(); return TRUE;
      case kCalculate: EndDialog(kCalculateResult); return TRUE;
      default: break;
    }
  }
  return CAcUiDialog::OnCommand(w, l);
}

int CLoadDetail::AddRow(int level) {
  const unsigned char levels[] = {static_cast<unsigned char>(level)};
  return grid.m_TreeColumn.InsertTreeBranch(levels, 1, -1, FALSE);
}

void CLoadDetail::Style(int row, int style) {
  const COLORREF text = kvdialogs::GridTextColour(grid), back = kvdialogs::GridBackColour(grid);
  COLORREF fixed = grid.GetDefaultCell(TRUE, FALSE)->GetBackClr();
  if (fixed == CLR_DEFAULT) fixed = GetSysColor(COLOR_BTNFACE);
  for (int col = 0; col < kColumns; ++col) {
    CGridCellBase* cell = grid.GetCell(row, col);
    if (!cell) continue;
    cell->SetTextClr(style == 2 ? text : back);
    cell->SetBackClr(style == 0 ? text : style == 1 ? GetSysColor(COLOR_APPWORKSPACE) : fixed);
    grid.SetBold(row, col, TRUE);
  }
}

int CLoadDetail::Line(int level, const std::vector<std::wstring>& texts) {
  const int row = AddRow(level);
  for (int col = 0; col < kColumns && col < static_cast<int>(texts.size()); ++col)
    grid.SetItemText(row, col, texts[col].c_str());
  return row;
}

int CLoadDetail::Heading(int level, const std::vector<std::wstring>& texts) {
  int row;
  if (texts.size() < 2 || texts[1].empty()) {
    row = AddRow(level);
    grid.SetItemText(row, 0, texts[0].c_str());
    grid.MergeCells(row, 0, row, kColumns - 1);
  } else {
    row = Line(level, texts);
  }
  Style(row, level);
  return row;
}

int CLoadDetail::TimeRow(int level, int month, int hour) {
  const int row = Line(level, {L"Time"});
  auto options = [](const std::vector<std::wstring>& names) {
    CStringArray out;
    for (const auto& n : names) out.Add(n.c_str());
    return out;
  };
  const wchar_t* shown[] = {monthName(month), hourName(hour)};
  const std::vector<std::wstring>* lists[] = {&months, &hours};
  for (int col = 1; col <= 2; ++col) {
    grid.SetCellType(row, col, RUNTIME_CLASS(CGridCellCombo));
    auto* combo = static_cast<CGridCellCombo*>(grid.GetCell(row, col));
    combo->SetOptions(options(*lists[col - 1]));
    combo->SetStyle(CBS_DROPDOWNLIST);
    if (shown[col - 1]) grid.SetItemText(row, col, shown[col - 1]);
  }
  return row;
}

void CLoadDetail::FillGrid() {
  grid.SetRowCount(1);
  grid.SetFixedRowCount(1);
  grid.SetColumnCount(kColumns);
  grid.SetupTreeColumn(0);
  Heading(0, {title});
  Line(2, {L"Area (sf)", displayNumber(area)});
  Line(2, {L"People", displayNumber(people)});
  Heading(1, {L"Supply Air Requirements"});
  Line(2, {L"Current Supply CFM", displayNumber(currentCFM)});
  Line(2, {L"Required Supply CFM", displayNumber(requiredSupplyAir(requiredCFM, shareFactor, shareDivisor, loadId))});
  Heading(2, {L"Cooling"});
  if (coolingNotCalculated) {
    Line(3, {L"Not calculated"});
  } else {
    const int t = TimeRow(3, coolingMonth, coolingHour);
    Line(3, {L"Supply Temperature", displayTemperature(supplyTemperature)});
    Line(3, {L"Load (btuh)"});
    Line(3, {L"Supply CFM"});
    Line(3, {L"OSA CFM"});
    FillCooling(t);
  }
  Heading(2, {L"Heating"});
  if (heatingNotCalculated) {
    Line(3, {L"Not Calculated"});
  } else {
    Line(3, {L"Heating Temperature Difference", displayTemperatureDifference(heatingDifference)});
    if (heating_ && heating_->FindResult(loadId)) {
      const HeatingLoad h = HeatingOf(*heating_);
      Line(3, {L"Load (btuh)", displayNumber(h.dRoomTotal)});
      Line(3, {L"Supply CFM", displayNumber(h.iHeatingCFM)});
      Line(3, {L"OSA CFM", displayNumber(h.iOSACFM), displayPercent(h.iOSACFM, h.iHeatingCFM)});
    } else {
      Line(3, {L"Load"});
      Line(3, {L"Supply CFM"});
      Line(3, {L"OSA CFM"});
    }
  }
  Heading(1, {L"Heating Load", L"btuh"});
  if (heatingNotCalculated)
    Line(2, {L"Not calculated"});
  else
    HeatingLines();
  Heading(1, {L"Cooling Load", L"Total btuh", L"", L"Sensible btuh", L"", L"Latent btuh"});
  if (coolingNotCalculated) {
    Line(2, {L"Not calculated"});
  } else {
    const int t = TimeRow(2, loadMonth, loadHour);
    CoolingLoadLabels();
    FillCoolingLoad(t);
  }
  if (psychrometrics && psychrometrics->restype == RTLB) Psychrometrics();
  grid.AutoSizeColumns(0, TRUE);
  if (grid.GetRowCount() >= 2) grid.SetFocusCell(1, 2);
}

void CLoadDetail::HeatingLines() {
  const VentilationMethod method = ventilationMethodOf(ventilationMethod);
  const bool found = heating_ && heating_->FindResult(loadId);
  const HeatingLoad h = found ? HeatingOf(*heating_) : HeatingLoad{};
  const double base = !showSystem && loadId < 0 ? h.dRoomTotal : heatingSystemTotal(h, method);
  auto hline = [&](const wchar_t* label, double value) {
    return Line(2, {label, displayNumber(value), displayPercent(value, base)});
  };
  if (SystemRows()) {
    const double total = heatingSystemTotal(h, method);
    Style(hline(L"System Total", total), 2);
    Line(2, {L"", displayKilowatts(total)});
    hline(L"Ventilation", heatingVentilation(h, method));
    hline(L"Plenum", h.dPlenumTotal);
  }
  Style(hline(L"Room Total", h.dRoomTotal), 2);
  Line(2, {L"", displayKilowatts(h.dRoomTotal)});
  if (found && h.dRoof == 0 && h.dRoofPlenum != 0)
    Line(2, {L"Roof", L"Plenum"});
  else
    hline(L"Roof", h.dRoof);
  hline(L"Wall", *heatingLine(h, LoadLine::Wall));
  hline(L"Glass", *heatingLine(h, LoadLine::Glass));
  hline(L"Slab", *heatingLine(h, LoadLine::Slab));
  hline(L"Horizontal Partitions", *heatingLine(h, LoadLine::HorizontalPartitions));
  hline(L"Vertical Partitions", *heatingLine(h, LoadLine::VerticalPartitions));
  if (found && h.dEquipment > 0) hline(L"Equipment", h.dEquipment);
  hline(L"Infiltration", *heatingLine(h, LoadLine::Infiltration));
}

void CLoadDetail::CoolingLoadLabels() {
  if (SystemRows()) {
    Style(Line(2, {L"System Total"}), 2);
    for (const wchar_t* label : {L"", L"Ventilation", L"Plenum"}) Line(2, {label});
  }
  Style(Line(2, {L"Room Total"}), 2);
  for (const wchar_t* label : {L"", L"Roof", L"Wall", L"Glass", L"Horizontal Partitions", L"Vertical Partitions",
                               L"Lighting", L"Equipment", L"People", L"Infiltration"})
    Line(2, {label});
}

bool CLoadDetail::FindCooling(int t, int col, const std::wstring* replacement) {
  const std::wstring month = col == 1 && replacement ? *replacement : grid.GetItemText(t, 1).str();
  const std::wstring hour = col == 2 && replacement ? *replacement : grid.GetItemText(t, 2).str();
  return cooling_ && cooling_->FindResult(loadId, monthIndex(month), hourIndex(hour));
}

void CLoadDetail::FillCooling(int t, int col, const std::wstring* replacement) {
  const bool found = FindCooling(t, col, replacement);
  for (int row = t + 2; row <= t + 4; ++row)
    for (int c = 1; c < kColumns; ++c) grid.SetItemText(row, c, L"");
  if (!found) return;
  const CoolingLoad c = CoolingOf(*cooling_);
  grid.SetItemText(t + 2, 1, displayNumber(c.dRoomTotal).c_str());
  grid.SetItemText(t + 3, 1, displayNumber(c.iCoolingCFM).c_str());
  grid.SetItemText(t + 4, 1, displayNumber(c.iOSACFM).c_str());
  grid.SetItemText(t + 4, 2, displayPercent(c.iOSACFM, c.iCoolingCFM).c_str());
}

void CLoadDetail::FillCoolingLoad(int t, int col, const std::wstring* replacement) {
  const bool found = FindCooling(t, col, replacement);
  const CoolingLoad c = found ? CoolingOf(*cooling_) : CoolingLoad{};
  const VentilationMethod method = ventilationMethodOf(ventilationMethod);
  const double base = !showSystem && loadId < 0 ? c.dRoomTotal : coolingPercentBase(c, method);
  int r = t + 1;
  auto set = [&](int column, const std::wstring& text) { grid.SetItemText(r, column, text.c_str()); };
  auto cline = [&](SensibleLatent v) {
    for (int column = 1; column < kColumns; ++column) set(column, L"");
    set(1, displayNumber(v.latent < 0 ? v.sensible : v.total()));
    if (v.sensible != 0) set(3, displayNumber(v.sensible));
    if (v.latent != 0) set(5, displayNumber(v.latent));
    if (v.sensible != 0 || v.latent != 0) set(2, displayPercent(v.total(), base));
    if (v.sensible != 0) set(4, displayPercent(v.sensible, base));
    if (v.latent != 0) set(6, displayPercent(v.latent, base));
    ++r;
  };
  auto tline = [&](SensibleLatent v) {
    set(1, displayTons(v.total()));
    set(3, displayTons(v.sensible));
    set(5, displayTons(v.latent));
    ++r;
  };
  if (SystemRows()) {
    const SensibleLatent system = coolingSystemTotal(c, method);
    cline(system);
    tline(system);
    cline(coolingVentilation(c, method));
    cline({c.dPlenumTotal, 0});
  }
  const SensibleLatent room{c.dRoomTotalSensible, c.dRoomTotalLatent};
  cline(room);
  tline(room);
  if (c.dRoof == 0 && c.dRoofPlenum != 0) {
    for (int column = 1; column < kColumns; ++column) set(column, L"");
    set(1, L"Plenum");
    ++r;
  } else {
    cline({c.dRoof, 0});
  }
  for (LoadLine line : {LoadLine::Wall, LoadLine::Glass, LoadLine::HorizontalPartitions, LoadLine::VerticalPartitions,
                        LoadLine::Lighting, LoadLine::Equipment, LoadLine::People, LoadLine::Infiltration})
    cline(*coolingLine(c, line));
}

void CLoadDetail::Psychrometrics() {
  const int head = Heading(1, {L"Psychrometrics", L"CFM", L"Dry Bulb\nTemperature", L"Wet Bulb\nTemperature",
                               L"Humidity\nRatio", L"Total\nLoad", L"Sensible\nLoad", L"Latent\nLoad"});
  grid.SetRowHeight(head, 2 * grid.GetRowHeight(head));
  for (int col = 1; col < kColumns; ++col)
    if (CGridCellBase* cell = grid.GetCell(head, col)) cell->SetFormat(kWrapCentred);
  const resbuf* cell = psychrometrics->rbnext;
  while (cell && cell->restype != RTLE) {
    std::vector<std::wstring> texts;
    for (int i = 0; i < kColumns; ++i, cell = cell->rbnext) {
      if (!cell || cell->restype != RTSTR) return;
      texts.emplace_back(cell->resval.rstring);
    }
    texts[2] = Degrees(texts[2]);
    texts[3] = Degrees(texts[3]);
    Line(2, texts);
  }
}

BOOL CLoadDetail::OnNotify(WPARAM w, LPARAM l, LRESULT* result) {
  if (w != kGrid) return CAcUiDialog::OnNotify(w, l, result);
  const auto* view = reinterpret_cast<const NM_GRIDVIEW*>(l);
  const int row = view->iRow, col = view->iColumn;
  auto label = [&](int r) { return r >= 0 ? grid.GetItemText(r, 0).str() : std::wstring(); };
  switch (view->hdr.code) {
    case GVN_BEGINLABELEDIT:
      if (label(row) != L"Time" || label(row - 1) == L"Psychrometrics" || (col != 1 && col != 2)) *result = -1;
      return TRUE;
    case GVN_COMBOSELCHANGE:
    case GVN_ENDLABELEDIT: {
      if (label(row) != L"Time") return TRUE;
      std::wstring chosen;
      const std::wstring* replacement = nullptr;
      if (view->hdr.code == GVN_COMBOSELCHANGE) {
        chosen = reinterpret_cast<const GV_DISPINFO*>(l)->text.str();
        replacement = &chosen;
      }
      const std::wstring section = label(row - 1);
      if (section == L"Cooling Load")
        FillCoolingLoad(row, col, replacement);
      else if (section == L"Cooling")
        FillCooling(row, col, replacement);
      else
        return TRUE;
      grid.Refresh();
      return TRUE;
    }
    default: return CAcUiDialog::OnNotify(w, l, result);
  }
}

LispStatus kv_hvac_loadDetail() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  const ProjectContext* context = CurrentProjectContext();
  ProjectDatabase* connection = context ? context->database.connection().Get() : nullptr;
  CLoadDetail dialog(connection, context ? context->database.table<tblLoadRoomCooling>() : nullptr,
                     context ? context->database.table<tblLoadRoomHeating>() : nullptr, acedGetAcadFrame());
  std::int32_t* const integers[] = {&dialog.coolingMonth,      &dialog.coolingHour,       &dialog.currentCFM,
                                    &dialog.requiredCFM,       &dialog.supplyTemperature, &dialog.heatingDifference,
                                    &dialog.shareFactor,       &dialog.shareDivisor,      &dialog.loadMonth,
                                    &dialog.loadHour};
  if (!ArgString(cursor, dialog.title) || !ArgInt(cursor, dialog.loadId) || !ArgBool(cursor, dialog.showSystem) ||
      !ArgString(cursor, dialog.ventilationMethod) || !ArgNumber(cursor, dialog.area) ||
      !ArgNumber(cursor, dialog.people))
    return LispStatus::WrongType;
  for (std::int32_t* value : integers)
    if (!ArgInt(cursor, *value)) return LispStatus::WrongType;
  if (!ArgBool(cursor, dialog.heatingNotCalculated) || !ArgBool(cursor, dialog.coolingNotCalculated))
    return LispStatus::WrongType;
  dialog.psychrometrics = cursor.cell();
  const int result = HandleDialogResult(static_cast<int>(dialog.DoModal()));
  acedRetInt(result == CLoadDetail::kCalculateResult ? 1 : 0);
  return LispStatus::Success;
}
