// The Options dialog: which keys of tblGlobal exist, how each is shown, and how the shown text
// maps to what is stored.
#include <algorithm>
#include <cmath>
#include <cwchar>
#include <filesystem>
#include <optional>
#include <vector>

#include "database/database.h"
#include "dialogs/COptions.h"
#include "dialogs/dialogs.h"
#include "dialogs/support.h"

namespace {

const CString browseText = L"Browse. . .";
CString cellBeforeEdit;  // a browse cell's text while it is edited

constexpr COLORREF kDisabledBack = 0xC0C0C0;
constexpr int kKeyCol = 2, kNumericCol = 3, kYesNoCol = 4;

enum class Kind { Heading, Subheading, Text, Numeric, YesNo, NumericYesNo, List, OpenList };

struct Choice {
  const wchar_t* shown;
  const wchar_t* stored;  // null: stored as shown
};

// The choices of a list and how an unknown stored value reads: empty, or a fixed choice.
struct ValueMap {
  std::vector<Choice> choices;
  const wchar_t* fallback = nullptr;
  bool keepOther = false;  // any other text shows and stores unchanged
};

const ValueMap kElbow{{{L"Square elbow", L"0"}, {L"Radius elbow", L"1"}}};
const ValueMap kBranch{{{L"Any angle tee", L"0"}, {L"Boot tee", L"1"}, {L"Conical tee", L"2"},
                        {L"Straight takeoff", L"3"}, {L"Wye", L"4"}, {L"Transition tee", L"5"}}};
const ValueMap kCross{{{L"Boot tee", L"0"}, {L"Conical tee", L"1"}, {L"Straight takeoff", L"2"}, {L"Transition tee", L"3"}}};
const ValueMap kTransparent{{{L"End cap", L"END"}, {L"None", L"NONE"}}};
const ValueMap kArrows{{{L"Toward diffusers", L"NO"}, {L"Flow direction", L"YES"}}, L"Flow direction"};
const ValueMap kCallout{{{L"Single line (callout-CFM)", L"12"}, {L"Two line (callout, CFM)", L"0"},
                         {L"Two line (callout, CFM, neck size)", L"11"}, {L"Three line box", L"5"},
                         {L"Three line box (rounded)", L"6"}, {L"Circle", L"2"}, {L"Square with neck dimension", L"3"},
                         {L"Hexagon", L"4"}, {L"Triangle", L"7"}, {L"CFM only", L"8"},
                         {L"Show neck, face, and throw", L"9"}, {L"Dome", L"10"}, {L"Flow arrow underline", L"1"},
                         {L"Custom block", L"14"}, {L"Custom single line", L"13"}, {L"Custom two line", L"15"}}};
const ValueMap kCalloutLoc{{{L"Automatic", L"AUTO"}, {L"Manual", L"MANUAL"}, {L"Not inserted", L"NONE"}}, L"Not inserted"};
const ValueMap kTopCon{{{L"Flex / elbow", L"FLEX"}, {L"Elbow", L"ELBOW"}, {L"Tee", L"TEE"}}, L"Elbow"};
const ValueMap kWidth{{{L"Single", L"SINGLE"}, {L"Double", L"DOUBLE"}, {L"Single & double", L"BOTH"}}};
const ValueMap kDuctType{{{L"Flexible", L"FLEX"}, {L"Hard", L"HARD"}}};
const ValueMap kShape{{{L"No", L"NO"}, {L"Round", L"ROUND"}, {L"Rectangular", L"RECTANGULAR"}, {L"Flat oval", L"FLAT OVAL"}}};
const ValueMap kVentilation{{{L"Minimum", L"NO"}, {L"2006 International Mechanical Code", L"IMC"},
                             {L"2009 International Mechanical Code", L"IMC2009"}, {L"ASHRAE 62.1-2004", L"YES"},
                             {L"ASHRAE 62.1-2007", L"ASHRAE2007"}, {L"ASHRAE 62.1-2010", L"ASHRAE2010"}}};
const ValueMap kSameAsLabel{{{L"Same as non-lined duct label format", L""}}, nullptr, true};
const ValueMap kSameAsSupply{{{L"Same as supply", nullptr}}, nullptr, true};
const ValueMap kBrowse{{{L"Browse. . .", nullptr}}, nullptr, true};
const ValueMap kLeaderLocation{{{L"Center", nullptr}, {L"Edge", nullptr}}, nullptr, true};
const ValueMap kExportDiffusers{{{L"All", nullptr}, {L"Ceiling only", nullptr}, {L"Sidewall only", nullptr},
                                 {L"Connected to hard ducts", nullptr}, {L"None", nullptr}}, nullptr, true};
const ValueMap kJustification{{{L"Left", nullptr}, {L"Center", nullptr}}, nullptr, true};
const ValueMap kArrowBlocks{{{L"_CLOSEDFILLED", nullptr}, {L"_DOT", nullptr}, {L"_DOTSMALL", nullptr}, {L"_DOTBLANK", nullptr},
                             {L"_ORIGIN", nullptr}, {L"_ORIGIN2", nullptr}, {L"_OPEN", nullptr}, {L"_OPEN90", nullptr},
                             {L"_OPEN30", nullptr}, {L"_CLOSED", nullptr}, {L"_SMALL", nullptr}, {L"_NONE", nullptr},
                             {L"_OBLIQUE", nullptr}, {L"_BOXFILLED", nullptr}, {L"_BOXBLANK", nullptr},
                             {L"_CLOSEDBLANK", nullptr}, {L"_DATUMFILLED", nullptr}, {L"_DATUMBLANK", nullptr},
                             {L"_INTEGRAL", nullptr}, {L"_ARCHTICK", nullptr}, {L"Browse. . .", nullptr}},
                            nullptr, true};

struct Setting {
  std::wstring key;  // empty for a heading or subheading
  std::wstring label;
  Kind kind;
  const ValueMap* map = nullptr;
  int level = 2;
};

// The rows of the dialog in order, built once.
const std::vector<Setting>& Settings() {
  static const std::vector<Setting> rows = [] {
    std::vector<Setting> s;
    auto heading = [&](const wchar_t* label) { s.push_back({L"", label, Kind::Heading, nullptr, 1}); };
    auto add = [&](const wchar_t* key, const wchar_t* label, Kind kind, const ValueMap* map = nullptr, int level = 2) {
      s.push_back({key, label, kind, map, level});
    };
    heading(L"Default Fittings");
    add(L"AUTOFIT-RC2", L"Rectangular elbow", Kind::List, &kElbow);
    add(L"AUTOFIT-RC3", L"Rectangular branch", Kind::List, &kBranch);
    add(L"AUTOFIT-RC4", L"Rectangular cross", Kind::List, &kCross);
    add(L"AUTOFIT-RD2", L"Round elbow", Kind::List, &kElbow);
    add(L"AUTOFIT-RD3", L"Round branch", Kind::List, &kBranch);
    add(L"AUTOFIT-RD4", L"Round cross", Kind::List, &kCross);
    add(L"nextTransparentFitting", L"Transparent ducts", Kind::List, &kTransparent);
    heading(L"Fittings");
    add(L"ELBOW RADIUS", L"Radius for elbows", Kind::Numeric);
    add(L"TRANSITION ANGLE", L"Angle of transitions", Kind::Numeric);
    add(L"TURNING VANES", L"Turning vanes on square elbows and wyes", Kind::NumericYesNo);
    heading(L"Ductwork");
    add(L"RECTANGULAR DUCT LABEL FORMAT", L"Rectangular duct label format", Kind::Text);
    add(L"LINED RECTANGULAR DUCT LABEL FORMAT", L"Lined rectangular duct label format", Kind::OpenList, &kSameAsLabel);
    add(L"ROUND DUCT LABEL FORMAT", L"Round duct label format", Kind::Text);
    add(L"LINED ROUND DUCT LABEL FORMAT", L"Lined round duct label format", Kind::OpenList, &kSameAsLabel);
    add(L"OVAL DUCT LABEL FORMAT", L"Oval duct label format", Kind::Text);
    add(L"LINED OVAL DUCT LABEL FORMAT", L"Lined oval duct label format", Kind::OpenList, &kSameAsLabel);
    add(L"MAX SINGLE WIDTH", L"Maximum single line width (in)", Kind::Numeric);
    add(L"LINING WIDTH", L"Default interior lining width (in)", Kind::Numeric);
    add(L"EXTERIOR LINING WIDTH", L"Default exterior lining width (in)", Kind::Numeric);
    add(L"SHOW BK", L"Show background below ductwork", Kind::YesNo);
    add(L"REVERSEARROWS", L"Return and exhaust arrow direction", Kind::List, &kArrows);
    add(L"duct-minSize", L"Minimum duct size (in)", Kind::Numeric);
    add(L"duct-oddBelowRect", L"Use odd rectangular duct sizes below this size (in)", Kind::Numeric);
    add(L"duct-oddBelowRound", L"Use odd round duct sizes below this size (in)", Kind::Numeric);
    add(L"duct-oddBelowOval", L"Use odd flat oval duct sizes below this size (in)", Kind::Numeric);
    heading(L"Diffusers");
    add(L"SHOW4THROW", L"Show arrows on 4 way throw patterns", Kind::YesNo);
    add(L"DIFFCALLOUT", L"Diffuser callout", Kind::List, &kCallout);
    add(L"DIFFUSER CALLOUT LINE 1", L"Custom diffuser callout format line 1", Kind::Text);
    add(L"DIFFUSER CALLOUT LINE 2", L"Custom diffuser callout format line 2", Kind::Text);
    add(L"DIFFUSER CALLOUT FORMAT", L"Custom diffuser callout format (supply)", Kind::Text);
    add(L"DIFFUSER CALLOUT FORMAT: RETURN", L"Custom diffuser callout format (return)", Kind::OpenList, &kSameAsSupply);
    add(L"DIFFUSER CALLOUT FORMAT: EXHAUST", L"Custom Diffuser callout format (exhaust)", Kind::OpenList, &kSameAsSupply);
    add(L"DIFFCALLOUT_LOC", L"Diffuser callout insertion", Kind::List, &kCalloutLoc);
    add(L"CFM LABEL FORMAT", L"Diffuser CFM label format", Kind::Text);
    heading(L"Diffuser Connections");
    add(L"sizeDiffuserRunoutToNeck", L"Size diffuser runout to match diffuser neck size", Kind::YesNo);
    add(L"DCONN-FLEXLENGTH", L"Default flex length (in)", Kind::Numeric);
    add(L"bDamperFarFromDiffuser", L"Damper far from diffuser", Kind::YesNo);
    add(L"TOP CON", L"Ceiling Connection: Fitting graphics", Kind::List, &kTopCon);
    add(L"DCONN-FLEXWIDTH", L"Connection Graphics: Flex", Kind::List, &kWidth);
    add(L"DCONN-HARDWIDTH", L"Connection Graphics: Hard", Kind::List, &kWidth);
    for (const wchar_t* system : {L"Supply", L"Return", L"Exhaust", L"Outside"}) {
      s.push_back({L"", system, Kind::Subheading, nullptr, 2});
      std::wstring upper = system;
      std::transform(upper.begin(), upper.end(), upper.begin(), ::towupper);
      add((L"DCONN-CLGTYPE-" + upper).c_str(), L"Ceiling Connection: Duct type", Kind::List, &kDuctType, 3);
      add((L"DCONN-CLGSHAPE-" + upper).c_str(), L"Ceiling Connection: Lock duct shape", Kind::List, &kShape, 3);
      add((L"DCONN-SIDETYPE-" + upper).c_str(), L"Sidewall Connection: Duct type", Kind::List, &kDuctType, 3);
      add((L"DCONN-DAMPER-" + upper).c_str(), L"Insert balancing dampers", Kind::YesNo, nullptr, 3);
    }
    heading(L"Building Project Information");
    add(L"bldg-reserveHeatRoom", L"Heating safety factor (room)", Kind::Numeric);
    add(L"bldg-reserveHeatOSA", L"Heating safety factor (ventilation)", Kind::Numeric);
    add(L"bldg-reserveCoolRoom", L"Cooling safety factor (room)", Kind::Numeric);
    add(L"bldg-reserveCoolOSA", L"Cooling safety factor (ventilation)", Kind::Numeric);
    add(L"bldg-floorU", L"Floor heat loss coefficient", Kind::Numeric);
    add(L"bldg-ASHRAE62", L"Ventilation calculation method", Kind::List, &kVentilation);
    add(L"bldg-useActualSupplyCFM", L"Use actual supplied airflow in ventilation and psychrometric calculations", Kind::YesNo);
    add(L"bldg-setMaxOSAPercent", L"Set maximum room ventilation percentage", Kind::YesNo);
    add(L"bldg-maxOSAPercent", L"Maximum room ventilation percentage", Kind::Numeric);
    add(L"bldg-fractionalPeople", L"Allow fractional people", Kind::YesNo);
    add(L"roomsAsZones", L"Print system loads for rooms", Kind::YesNo);
    static const wchar_t* const months[] = {L"January", L"February", L"March", L"April", L"May", L"June", L"July",
                                            L"August", L"September", L"October", L"November", L"December"};
    for (int m = 0; m < 12; ++m)
      add((L"bldg-calculateMonth" + std::to_wstring(m)).c_str(), (std::wstring(L"Calculate cooling in ") + months[m]).c_str(),
          Kind::YesNo);
    heading(L"Elevation Labels");
    add(L"ELEVLABEL LEADER BLOCK", L"Leader graphic", Kind::OpenList, &kBrowse);
    add(L"ELEVLABEL LEADER LOCATION", L"Leader location", Kind::List, &kLeaderLocation);
    add(L"ELEVLABEL TOP BLOCK", L"Top block", Kind::OpenList, &kBrowse);
    add(L"ELEVLABEL BOTTOM BLOCK", L"Bottom block", Kind::OpenList, &kBrowse);
    add(L"ELEVLABEL BOTH BLOCK", L"Both block", Kind::OpenList, &kBrowse);
    add(L"ELEVLABEL CENTERLINE BLOCK", L"Centerline block", Kind::OpenList, &kBrowse);
    add(L"ELEVLABEL TOP LABEL", L"Top label", Kind::Text);
    add(L"ELEVLABEL BOTTOM LABEL", L"Bottom label ", Kind::Text);
    add(L"ELEVLABEL CENTERLINE LABEL", L"Centerline label ", Kind::Text);
    add(L"ELEVLABEL INCLUDE EXTERIOR", L"Include exterior insulation thickness in elevation", Kind::YesNo);
    heading(L"3D-BIM");
    add(L"3DApproximation", L"3D circle approximation", Kind::Numeric);
    add(L"DrawHangers3D", L"Draw hangers in 3D", Kind::YesNo);
    add(L"MEQ-DRAW3D", L"Draw mechanical equipment in 3D", Kind::YesNo);
    add(L"3d-exportFlex", L"Export flex duct", Kind::YesNo);
    add(L"3d-exportDiffusers", L"Export diffusers", Kind::List, &kExportDiffusers);
    heading(L"Miscellaneous");
    add(L"LEADER ARROW", L"Leader arrow block", Kind::OpenList, &kArrowBlocks);
    add(L"ArrowheadSize", L"Leader arrow length", Kind::Numeric);
    add(L"DrawHangers2D", L"Draw hangers in 2D", Kind::YesNo);
    add(L"pressureDropTag", L"Pressure drop report duct ID block", Kind::OpenList, &kBrowse);
    add(L"scheduleTitleJustification", L"Schedule title justification", Kind::List, &kJustification);
    add(L"scheduleColumnJustification", L"Schedule column label justification", Kind::List, &kJustification);
    add(L"scheduleTitleContinued", L"Schedule title continued label", Kind::Text);
    return s;
  }();
  return rows;
}

const ValueMap kYesNo{{{L"Yes", nullptr}, {L"No", nullptr}}, nullptr, true};

const Setting* SettingOf(const CString& key) {
  for (const Setting& s : Settings())
    if (!s.key.empty() && key.str() == s.key) return &s;
  return nullptr;
}

// Stored to shown: the map's choice, else the fallback, else empty (or the text itself).
CString ShownOf(const ValueMap* map, const std::wstring& stored) {
  if (!map) return stored.c_str();
  for (const Choice& c : map->choices)
    if (stored == (c.stored ? c.stored : c.shown)) return c.shown;
  if (map->fallback) return map->fallback;
  return map->keepOther ? CString(stored.c_str()) : CString();
}

// Shown to stored: anything outside the map is stored as shown.
std::wstring StoredOf(const ValueMap* map, const CString& shown) {
  if (map)
    for (const Choice& c : map->choices)
      if (shown.str() == c.shown) return c.stored ? c.stored : c.shown;
  return shown.str();
}

// At most four decimals, trailing zeros cut.
CString NumberText(double value) {
  wchar_t text[64];
  std::swprintf(text, 64, L"%.4f", value);
  std::wstring s = text;
  s.erase(s.find_last_not_of(L'0') + 1);
  if (!s.empty() && s.back() == L'.') s.pop_back();
  if (s == L"-0") s = L"0";
  return s.c_str();
}

// A numeric cell's text as a number; a text that is no number counts as 0.
double NumberOf(const CString& text) {
  wchar_t* end = nullptr;
  const double value = std::wcstod(text, &end);
  return end == text.GetString() ? 0.0 : value;
}

bool IsDisabled(const CGridCtrl& grid, int row, int col) {
  const CGridCellBase* cell = grid.GetCell(row, col);
  return cell && cell->GetTextClr() == GetSysColor(COLOR_GRAYTEXT) && cell->GetBackClr() == kDisabledBack;
}

// Paints a row's label and value greyed or back in the grid's colours; true when it changed.
bool PaintRow(CGridCtrl& grid, int row, bool disabled) {
  if (row >= grid.GetRowCount()) return false;
  bool changed = false;
  for (int col = 0; col < 2; ++col) {
    CGridCellBase* cell = grid.GetCell(row, col);
    const COLORREF text = disabled ? GetSysColor(COLOR_GRAYTEXT) : CLR_DEFAULT;
    const COLORREF back = disabled ? kDisabledBack : CLR_DEFAULT;
    changed |= cell->GetTextClr() != text || cell->GetBackClr() != back;
    cell->SetTextClr(text);
    cell->SetBackClr(back);
  }
  return changed;
}

void RegisterTemplate() {
  static bool done = false;
  if (done) return;
  done = true;
  DialogTemplate t;
  t.id = COptions::kTemplate;
  t.title = L"Kelvane HVAC Options";
  t.style |= WS_THICKFRAME;
  t.cx = 460;
  t.cy = 300;
  t.items = {kvui::Control(L"", COptions::kGrid, L"MFCGridCtrl", WS_TABSTOP | WS_BORDER, 7, 7, 446, 266),
             kvui::DefPushButton(L"&OK", IDOK, 176, 279, 50, 14),
             kvui::PushButton(L"&Cancel", IDCANCEL, 234, 279, 50, 14)};
  kvui::RegisterDialogTemplate(t);
}

}  // namespace

COptions::COptions(CWnd* parent) : CAcUiDialog(kTemplate, parent) { RegisterTemplate(); }

COptions::~COptions() = default;

void COptions::SetConnection(ProjectDatabasePtr connection) {
  connection_ = std::move(connection);
  tblGlobal_ = connection_ ? std::make_unique<tblGlobal>(connection_.Get()) : nullptr;
}

INT_PTR COptions::DoModal() {
  const INT_PTR result = CAcUiDialog::DoModal();
  tblGlobal_.reset();
  connection_.Reset();
  return result;
}

BOOL COptions::OnInitDialog() {
  SetDialogName(L"kv_hvac:Options");
  CAcUiDialog::OnInitDialog();
  kvdialogs::SetSmallIcon(*this);
  DLGCTLINFO rules[] = {{kGrid, ELASTICX, 100}, {kGrid, ELASTICY, 100}, {IDOK, MOVEX, 50},
                        {IDOK, MOVEY, 100},     {IDCANCEL, MOVEX, 50}, {IDCANCEL, MOVEY, 100}};
  SetControlProperty(rules, sizeof(rules) / sizeof(rules[0]));
  grid.SubclassDlgItem(kGrid, this);
  BuildTable();
  for (int row = 1; row < grid.GetRowCount(); ++row)
    if (!grid.GetItemText(row, kKeyCol).IsEmpty()) LoadRow(row);
  grid.AutoSizeColumns();
  if (grid.GetRowCount() >= 3) grid.SetFocusCell(2, 1);
  grid.SetFocus();
  if (!selectedKey.empty()) {
    for (int row = 1; row < grid.GetRowCount(); ++row) {
      if (grid.GetItemText(row, kKeyCol).str() != selectedKey) continue;
      grid.EnsureVisible(row, 1);
      grid.SetFocusCell(row, 1);
      if (bStartEdit) grid.BeginEditFocusCell();
      break;
    }
  }
  return FALSE;
}

void COptions::BuildTable() {
  const std::vector<Setting>& settings = Settings();
  grid.SetColumnCount(5);
  grid.SetFixedRowCount(1);
  grid.SetFixedColumnCount(0);
  const wchar_t* headers[] = {L"Key", L"Value", L"Database Key", L"bIsNumeric", L"bIsYesNo"};
  for (int col = 0; col < 5; ++col) grid.SetItemText(0, col, headers[col]);
  grid.SetupTreeColumn(0);
  std::vector<unsigned char> levels;
  for (const Setting& s : settings) levels.push_back(static_cast<unsigned char>(s.level));
  grid.m_TreeColumn.InsertTreeBranch(levels.data(), static_cast<int>(levels.size()), -1, FALSE);
  for (std::size_t i = 0; i < settings.size(); ++i) {
    const Setting& s = settings[i];
    const int row = static_cast<int>(i) + 1;
    grid.SetItemText(row, 0, s.label.c_str());
    if (s.kind == Kind::Heading || s.kind == Kind::Subheading) {
      grid.SetItemText(row, kKeyCol, s.label.c_str());
      if (s.kind == Kind::Heading) {
        kvdialogs::PaintHeading(grid, row, 0);
        kvdialogs::PaintHeading(grid, row, 1);
      }
      grid.MergeCells(row, 0, row, 1);
      continue;
    }
    grid.SetItemText(row, kKeyCol, s.key.c_str());
    const bool numeric = s.kind == Kind::Numeric || s.kind == Kind::NumericYesNo;
    const bool yesNo = s.kind == Kind::YesNo || s.kind == Kind::NumericYesNo;
    grid.SetItemText(row, kNumericCol, numeric ? L"-1" : L"0");
    grid.SetItemText(row, kYesNoCol, yesNo ? L"-1" : L"0");
    const ValueMap* map = yesNo ? &kYesNo : s.map;
    if (!map) continue;
    if (s.kind == Kind::OpenList && map->choices.size() == 1) grid.SetItemText(row, kYesNoCol, map->choices[0].shown);
    grid.SetCellType(row, 1, RUNTIME_CLASS(CGridCellCombo));
    auto* combo = static_cast<CGridCellCombo*>(grid.GetCell(row, 1));
    CStringArray options;
    for (const Choice& c : map->choices) options.Add(c.shown);
    combo->SetOptions(options);
    combo->SetStyle(s.kind == Kind::OpenList ? CBS_SIMPLE : CBS_DROPDOWNLIST);
  }
  for (int col = kKeyCol; col < 5; ++col) grid.SetColumnWidth(col, 0);
}

// Headings carry their label in the key column; only a key of the table is a setting.
void COptions::LoadRow(int row) {
  const CString key = grid.GetItemText(row, kKeyCol);
  const Setting* setting = SettingOf(key);
  if (!setting || !tblGlobal_) return;
  CString shown;
  if (!tblGlobal_->FindBySKey(key.str())) {
    if (setting->map == &kSameAsLabel) shown = kSameAsLabel.choices[0].shown;
  } else if (tblGlobal_->GetbNumeric()) {
    double number = 0;
    tblGlobal_->GetdNumber(number);
    shown = NumberText(number);
  } else {
    std::wstring text;
    if (!tblGlobal_->GetsText(text)) text.clear();
    if (grid.GetItemText(row, kYesNoCol) == CString(L"-1"))
      shown = text == L"YES" ? L"Yes" : L"No";
    else
      shown = ShownOf(setting->map, text);
  }
  grid.SetItemText(row, 1, shown);
  DependentColours(row, shown);
}

bool COptions::DependentColours(int row, const CString& value) {
  const CString key = grid.GetItemText(row, kKeyCol);
  bool changed = false;
  if (key == CString(L"DIFFCALLOUT")) {
    const bool single = value == CString(L"Custom single line"), twoLine = value == CString(L"Custom two line");
    for (int i = 1; i <= 2; ++i) changed |= PaintRow(grid, row + i, !twoLine);
    for (int i = 3; i <= 5; ++i) changed |= PaintRow(grid, row + i, !single);
  } else if (key == CString(L"bldg-setMaxOSAPercent")) {
    changed = PaintRow(grid, row + 1, value != CString(L"Yes"));
  }
  if (changed) grid.Invalidate();
  return changed;
}

void COptions::SaveRow(int row) {
  const CString key = grid.GetItemText(row, kKeyCol);
  const Setting* setting = SettingOf(key);
  if (!setting) return;
  if (!tblGlobal_->FindBySKey(key.str())) {
    tblGlobal_->StartNew();
    tblGlobal_->SetsKey(key.str());
    tblGlobal_->SetbNumeric(grid.GetItemText(row, kNumericCol) == CString(L"-1"));
  } else {
    tblGlobal_->StartEdit();
  }
  const CString shown = grid.GetItemText(row, 1);
  if (tblGlobal_->GetbNumeric()) {
    double number = NumberOf(shown);
    if (key == CString(L"3DApproximation")) number = std::max(8.0, std::trunc(number));
    tblGlobal_->SetdNumber(number);
  } else if (grid.GetItemText(row, kYesNoCol) == CString(L"-1")) {
    tblGlobal_->SetsText(shown == CString(L"Yes") ? L"YES" : L"NO");
  } else {
    tblGlobal_->SetsText(StoredOf(setting->map, shown));
  }
  tblGlobal_->Update();
}

void COptions::OnOK() {
  grid.EndEditing();
  if (tblGlobal_)
    for (int row = 1; row < grid.GetRowCount(); ++row)
      if (!grid.GetItemText(row, kKeyCol).IsEmpty()) SaveRow(row);
  CAcUiDialog::OnOK();
}

BOOL COptions::OnNotify(WPARAM w, LPARAM l, LRESULT* result) {
  const auto* view = reinterpret_cast<const NM_GRIDVIEW*>(l);
  if (w != kGrid) return CAcUiDialog::OnNotify(w, l, result);
  const int row = view->iRow, col = view->iColumn;
  switch (view->hdr.code) {
    case GVN_BEGINLABELEDIT:
      if (col == 0 || (col == 1 && (IsDisabled(grid, row, 1) || grid.GetItemText(row, kKeyCol).IsEmpty() ||
                                    !SettingOf(grid.GetItemText(row, kKeyCol))))) {
        *result = -1;
        return TRUE;
      }
      if (col == 1 && grid.GetItemText(row, kYesNoCol) == browseText) cellBeforeEdit = grid.GetItemText(row, col);
      return TRUE;
    case GVN_COMBOSELCHANGE: {
      const CString text = reinterpret_cast<const GV_DISPINFO*>(l)->text;
      if (text == browseText)
        BlockBrowse(row, col);
      else
        DependentColours(row, text);
      return TRUE;
    }
    case GVN_SELCHANGED:
      if (row > 0) selectedKey = grid.GetItemText(row, kKeyCol).str();
      return TRUE;
    default: return CAcUiDialog::OnNotify(w, l, result);
  }
}

// Lets the user pick a block drawing in the block folder; the cell takes its name, or goes back
// to what it held before the edit.
void COptions::BlockBrowse(int row, int col) {
  std::wstring name = grid.GetItemText(row, col).str();
  name.erase(name.find_last_not_of(L" \t\r\n") + 1);
  if (name == L"<2D Block Name>-3d") name.clear();
  std::error_code error;
  if (name.empty())
    for (const auto& entry : std::filesystem::directory_iterator(blockFolder, error))
      if (entry.path().extension() == ".dwg") {
        name = entry.path().filename().wstring();
        break;
      }
  std::erase_if(name, [](wchar_t c) { return std::wstring_view(L"<>|\"\\:/").find(c) != std::wstring_view::npos; });
  const std::wstring initial = name.empty() ? std::wstring() : blockFolder + name;
  CFileDialog files(TRUE, L"dwg", initial.empty() ? nullptr : initial.c_str(), OFN_HIDEREADONLY | OFN_FILEMUSTEXIST,
                    L"Drawing (*.dwg)|*.dwg||", this);
  const CString text = files.DoModal() == IDOK ? files.GetFileTitle() : cellBeforeEdit;
  auto* combo = dynamic_cast<CGridCellCombo*>(grid.GetCell(row, col));
  if (auto* list = combo ? dynamic_cast<CInPlaceListForGridCell*>(combo->GetOpenEditor()) : nullptr) {
    list->SetEditorText(text);
    list->SetWindowText(text);
  }
  grid.SetItemText(row, col, text);
  grid.Invalidate();
}

LispStatus kv_hvac_options() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::wstring blockFolder, key, path;
  if (!ArgString(cursor, blockFolder)) {
    acutPrintf(L"\nWrong type of arguments passed.\n");
    return LispStatus::SilentFailure;
  }
  if (!cursor.atEnd() && !ArgString(cursor, key)) cursor.step();
  bool startEdit = false;
  if (!cursor.atEnd()) ArgBool(cursor, startEdit);
  std::optional<std::wstring> file;
  if (!cursor.atEnd() && ArgString(cursor, path)) file = path;
  acedRetNil();
  kvdialogs::DialogConnection connection(file);
  if (!connection) return LispStatus::Success;
  COptions dialog(acedGetAcadFrame());
  dialog.blockFolder = blockFolder;
  dialog.selectedKey = key;
  dialog.bStartEdit = startEdit;
  dialog.SetConnection(connection.get());
  HandleDialogResult(static_cast<int>(dialog.DoModal()));
  ResultList result;
  AppendString(result.tail(), dialog.selectedKey.c_str());
  result.close();
  return LispStatus::Success;
}
