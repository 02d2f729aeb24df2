// The Project Explorer: the tree, its lazy filling through the application layer's query, the
// two sort orders, and the loop of the LISP function around it.
#include <cwchar>
#include <optional>

#include "database/database.h"
#include "dialogs/CDialogProjectExplorerHVAC.h"
#include "dialogs/dialogs.h"
#include "dialogs/support.h"

namespace {

const wchar_t* const kColumns[] = {L"sValue", L"devType", L"level",     L"ixGroup",    L"ixSch",
                                   L"ixList", L"dwg",     L"bExpanded", L"bIsCallout", L"rowType"};
constexpr int kDucts = 1, kDiffusers = 2, kNoDevice = -1;
const wchar_t* const kNoneInDatabase = L"None in database";
const wchar_t* const kNoneOnDrawing = L"None on drawing";
const wchar_t* const kSortKey = L"Software\\Kelvane Software\\HVAC";

struct AirSystem {
  const wchar_t* name;
  const wchar_t* code;
};
constexpr AirSystem kAirSystems[] = {{L"Supply", L"sa"}, {L"Return", L"ra"}, {L"Outside Air", L"oa"}, {L"Exhaust", L"ea"}};

std::wstring Quoted(const std::wstring& text) { return L"\"" + text + L"\""; }

// One row a fetch adds, before it is placed.
struct NewRow {
  const wchar_t* rowType;
  std::wstring value, group, sch, list, drawing;
  bool isCallout = false;
};

void RegisterTemplate() {
  static bool done = false;
  if (done) return;
  done = true;
  using Dlg = CDialogProjectExplorerHVAC;
  DialogTemplate t;
  t.id = Dlg::kTemplate;
  t.title = L"Project Explorer";
  t.style |= WS_THICKFRAME;
  t.cx = 260;
  t.cy = 250;
  t.items = {kvui::LText(L"Sort Order:", Dlg::kSortLabel, 7, 9, 40, 8),
             kvui::ComboBox(Dlg::kSort, 50, 7, 140, 80),
             kvui::Control(L"", Dlg::kGrid, L"MFCGridCtrl", WS_TABSTOP | WS_BORDER, 7, 25, 186, 200),
             kvui::PushButton(L"&Find <", Dlg::kFind, 203, 25, 50, 14),
             kvui::PushButton(L"&Query. . .", Dlg::kQuery, 203, 43, 50, 14),
             kvui::DefPushButton(L"Exit", IDOK, 105, 231, 50, 14)};
  kvui::RegisterDialogTemplate(t);
}

// Columns 0 to 2 of a row in the look of its kind.
void PaintKind(CGridCtrl& grid, int row, std::wstring_view kind) {
  for (int col = 0; col < 3; ++col) {
    if (kind == L"header")
      kvdialogs::PaintHeading(grid, row, col);
    else if (kind != L"device")
      grid.SetItemBkColour(row, col, kind == L"group" ? 0xBDBDBD : kind == L"callout" ? 0xA0A0A0 : 0xDBDBDB);
  }
}

// The stored sort order: true unless the value says "0".
bool ReadCalloutFirst() {
  HKEY key = nullptr;
  if (RegOpenKeyEx(HKEY_CURRENT_USER, kSortKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return true;
  wchar_t text[16] = {};
  DWORD size = sizeof(text) - sizeof(wchar_t);
  DWORD type = 0;
  const bool read = RegQueryValueEx(key, L"bCalloutFirst", nullptr, &type, reinterpret_cast<LPBYTE>(text), &size) == ERROR_SUCCESS;
  RegCloseKey(key);
  return !(read && std::wstring(text) == L"0");
}

}  // namespace

CDialogProjectExplorerHVAC::CDialogProjectExplorerHVAC(std::wstring name, CWnd* parent)
    : CAcUiDialog(kTemplate, parent), drawingName(std::move(name)), bCalloutFirst(ReadCalloutFirst() ? 1 : 0) {
  RegisterTemplate();
}

CDialogProjectExplorerHVAC::~CDialogProjectExplorerHVAC() = default;

void CDialogProjectExplorerHVAC::SetConnection(ProjectDatabasePtr connection) {
  connection_ = std::move(connection);
  DestroyTables();
  if (!connection_) return;
  tblDuct_ = std::make_unique<tblDuct>(connection_.Get());
  tblDiffL_ = std::make_unique<tblDiffL>(connection_.Get());
  tblDiffS_ = std::make_unique<tblDiffS>(connection_.Get());
  tblDiffSGroup_ = std::make_unique<tblDiffSGroup>(connection_.Get());
}

void CDialogProjectExplorerHVAC::DestroyTables() {
  tblDuct_.reset();
  tblDiffL_.reset();
  tblDiffS_.reset();
  tblDiffSGroup_.reset();
}

std::int32_t CDialogProjectExplorerHVAC::Number(int row, const wchar_t* column) const {
  return static_cast<std::int32_t>(std::wcstol(Text(row, column), nullptr, 10));
}

BOOL CDialogProjectExplorerHVAC::OnInitDialog() {
  SetDialogName(L"kv_elec:dwgSwitchCustomization");
  CAcUiDialog::OnInitDialog();
  kvdialogs::SetSmallIcon(*this);
  DLGCTLINFO rules[] = {{kGrid, ELASTICX, 100}, {kGrid, ELASTICY, 100}, {kFind, MOVEX, 100},
                        {kQuery, MOVEX, 100},   {IDOK, MOVEX, 50},      {IDOK, MOVEY, 100}};
  SetControlProperty(rules, sizeof(rules) / sizeof(rules[0]));
  sortCombo.SubclassDlgItem(kSort, this);
  sortCombo.SetItemData(sortCombo.AddString(L"Sort by callout, then drawing"), 1);
  sortCombo.SetItemData(sortCombo.AddString(L"Sort by drawing, then callout"), 0);
  sortCombo.SetCurSel(bCalloutFirst ? 0 : 1);
  grid.SubclassDlgItem(kGrid, this);
  Build();
  ShowState();
  int sum = 0;
  for (int col = 0; col < grid.GetColumnCount(); ++col) sum += grid.GetColumnWidth(col);
  grid.SetColumnWidth(0, 10 * sum);
  grid.SetFocus();
  return FALSE;
}

int CDialogProjectExplorerHVAC::AddRow(int row, int level, std::int32_t type, const wchar_t* rowType,
                                       const std::wstring& value) {
  const unsigned char levels[] = {static_cast<unsigned char>(level)};
  row = grid.m_TreeColumn.InsertTreeBranch(levels, 1, row, FALSE);
  grid.SetItemText(row, L"sValue", value.c_str());
  grid.SetItemText(row, L"devType", std::to_wstring(type).c_str());
  grid.SetItemText(row, L"level", std::to_wstring(level).c_str());
  grid.SetItemText(row, L"rowType", rowType);
  PaintKind(grid, row, rowType);
  return row;
}

void CDialogProjectExplorerHVAC::Build() {
  grid.DeleteAllItems();
  grid.SetColumnCount(10);
  grid.SetFixedRowCount(1);
  grid.SetFixedColumnCount(0);
  for (int col = 0; col < 10; ++col) {
    grid.SetColumnName(col, kColumns[col]);
    grid.SetItemText(0, col, col == 0 ? L"ID" : kColumns[col]);
    if (col > 0 && col < 9) grid.SetColumnWidth(col, 0);
  }
  grid.SetupTreeColumn(0);
  grid.SetRedraw(FALSE);
  AddRow(-1, 1, kDiffusers, L"header", L"Diffusers");
  AddRow(-1, 2, kDiffusers, L"device", L"");
  AddRow(-1, 1, kDucts, L"header", L"Ducts");
  AddRow(-1, 2, kDucts, L"device", L"");
  int lastLevel = 0;
  std::int32_t lastType = 0;
  for (int row = 1; row < grid.GetRowCount(); ++row) {
    const int level = Number(row, L"level");
    if (level == lastLevel) continue;
    lastLevel = level;
    const std::int32_t type = Number(row, L"devType");
    if (type != lastType) {
      lastType = type;
      const bool empty = type == kDucts     ? kvdialogs::LayerQuery(L"Select * from tblDuct where bDeleted = 0", L"ixDuct", L"ixDuct").empty()
                         : type == kDiffusers ? kvdialogs::LayerQuery(L"Select * from tblDiffL where bDeleted = 0", L"ixDiffL", L"ixDiffL").empty()
                                              : false;
      if (empty && level == 1) {
        grid.SetItemText(row, L"bExpanded", L"T");
        grid.m_TreeColumn.DeleteTreeBranch(row + 1, FALSE);
        AddRow(row + 1, 2, kNoDevice, L"device", kNoneInDatabase);
        ++row;
        lastLevel = 2;
        continue;
      }
    }
    if (level == 1 || level == 2 || (level == 3 && type == kDiffusers)) FetchChildren(row);
  }
  for (std::int32_t type : {kDiffusers, kDucts}) grid.m_TreeColumn.TreeCollapse(Heading(type));
  grid.SetRedraw(TRUE);
  grid.m_TreeColumn.TreeRefreshRows();
}

void CDialogProjectExplorerHVAC::FetchChildren(int row) {
  if (Text(row, L"bExpanded") == CString(L"T")) {
    grid.Invalidate();
    return;
  }
  grid.SetItemText(row, L"bExpanded", L"T");
  const int level = Number(row, L"level");
  const std::int32_t type = Number(row, L"devType");
  if (row + 1 < grid.GetRowCount() && Number(row + 1, L"level") == level + 1 && Text(row + 1, L"sValue").IsEmpty())
    grid.m_TreeColumn.DeleteTreeBranch(row + 1, FALSE);
  const std::wstring group = Text(row, L"ixGroup").str(), sch = Text(row, L"ixSch").str(), drawing = Text(row, L"dwg").str();
  const bool calloutFirst = bCalloutFirst != 0;
  std::vector<NewRow> rows;
  int noneLevel = 0;  // the level of a "None on drawing" row for an empty answer, 0 for none
  using kvdialogs::LayerQuery;
  if (type == kDiffusers && level == 1) {
    for (const std::wstring& v : LayerQuery(L"Select * from tblDiffSGroup", L"ixDiffSGroup", L"sName")) {
      const bool found = tblDiffSGroup_->FindByKey(std::stoi(v));
      rows.push_back({L"group", found ? tblDiffSGroup_->GetsName() : L"", v, L"", L"", L""});
    }
  } else if (type == kDiffusers && level == 2 && calloutFirst) {
    noneLevel = 4;
    for (const std::wstring& v : LayerQuery(L"Select * from tblDiffS  where ixDiffSGroup = " + group, L"ixDiffS", L"CALLOUT")) {
      const bool found = tblDiffS_->FindByKey(std::stoi(v));
      rows.push_back({L"callout", found ? tblDiffS_->GetCALLOUT() : L"", group, v, L"", L"", true});
    }
  } else if (type == kDiffusers && level == 2) {
    noneLevel = 4;
    for (const std::wstring& v : LayerQuery(L"Select * from tblDiffL, tblDiffS  where tblDiffL.ixDiffS = tblDiffS.ixDiffS and "
                                            L"tblDiffS.ixDiffSGroup = " + group + L" and tblDiffL.bDeleted = 0",
                                            L"DRAWING", L"DRAWING"))
      rows.push_back({L"drawing", v, group, L"", L"", v});
  } else if (type == kDiffusers && level == 3 && calloutFirst) {
    noneLevel = 5;
    for (const std::wstring& v : LayerQuery(L"Select * from tblDiffL where ixDiffS = " + sch + L" and bDeleted = 0", L"DRAWING", L"DRAWING"))
      rows.push_back({L"drawing", v, group, sch, L"", v});
  } else if (type == kDiffusers && level == 3) {
    for (const std::wstring& v : LayerQuery(L"Select tblDiffL.ixDiffS, tblDiffS.CALLOUT from tblDiffL, tblDiffS  where "
                                            L"tblDiffL.ixDiffS = tblDiffS.ixDiffS and tblDiffS.ixDiffSGroup = " + group +
                                            L" and tblDiffL.DRAWING = " + Quoted(drawing) + L" and tblDiffL.bDeleted = 0",
                                            L"ixDiffS", L"CALLOUT")) {
      const bool found = tblDiffS_->FindByKey(std::stoi(v));
      rows.push_back({L"callout", found ? tblDiffS_->GetCALLOUT() : L"", group, v, L"", drawing, true});
    }
  } else if (type == kDiffusers && level == 4) {
    for (const std::wstring& v : LayerQuery(L"Select * from tblDiffL where ixDiffS = " + sch + L" and DRAWING = " +
                                            Quoted(drawing) + L" and bDeleted = 0", L"ixDiffL", L"ixDiffL"))
      rows.push_back({L"device", v, L"", sch, v, drawing});
  } else if (type == kDucts && level == 1 && calloutFirst) {
    for (const AirSystem& system : kAirSystems) rows.push_back({L"callout", system.name, system.code, L"", L"", L""});
  } else if (type == kDucts && level == 1) {
    for (const std::wstring& v : LayerQuery(L"Select * from tblDuct where bDeleted = 0", L"DRAWING", L"DRAWING"))
      rows.push_back({L"drawing", v, L"", L"", L"", v});
  } else if (type == kDucts && level == 2 && calloutFirst) {
    noneLevel = 3;
    for (const std::wstring& v : LayerQuery(L"Select * from tblDuct where AIRFLOW= " + Quoted(group) + L" and bDeleted = 0", L"DRAWING", L"DRAWING"))
      rows.push_back({L"drawing", v, group, L"", L"", v});
  } else if (type == kDucts && level == 2) {
    for (const AirSystem& system : kAirSystems)
      if (!LayerQuery(L"Select AIRFLOW, ixDuct from tblDuct where DRAWING = " + Quoted(drawing) +
                      L" and bDeleted = 0 and AIRFLOW = " + Quoted(system.code), L"AIRFLOW", L"AIRFLOW").empty())
        rows.push_back({L"callout", system.name, system.code, L"", L"", drawing});
  } else if (type == kDucts && level == 3) {
    for (const std::wstring& v : LayerQuery(L"Select * from tblDuct where AIRFLOW = " + Quoted(group) + L" and DRAWING = " +
                                            Quoted(drawing) + L" and bDeleted = 0", L"ixDuct", L"ixDuct"))
      rows.push_back({L"device", v, group, L"", v, drawing});
  }
  if (rows.empty() && noneLevel > 0) {
    const int at = AddRow(row + 1, noneLevel, type, L"device", kNoneOnDrawing);
    if (type == kDucts) grid.SetItemText(at, L"ixGroup", group.c_str());
  }
  // All rows go in as one branch; each row that can open then gets its closed placeholder.
  std::vector<unsigned char> levels;
  for (const NewRow& r : rows) {
    levels.push_back(static_cast<unsigned char>(level + 1));
    if (std::wstring_view(r.rowType) != L"device") levels.push_back(static_cast<unsigned char>(level + 2));
  }
  if (!levels.empty()) grid.m_TreeColumn.InsertTreeBranch(levels.data(), static_cast<int>(levels.size()), row + 1, FALSE);
  int at = row + 1;
  std::vector<int> parents;
  for (const NewRow& r : rows) {
    auto set = [&](int target, const wchar_t* column, const std::wstring& text) {
      if (!text.empty()) grid.SetItemText(target, column, text.c_str());
    };
    const bool device = std::wstring_view(r.rowType) == L"device";
    for (int target = at; target <= at + (device ? 0 : 1); ++target) {
      const bool placeholder = target != at;
      grid.SetItemText(target, L"devType", std::to_wstring(type).c_str());
      grid.SetItemText(target, L"level", std::to_wstring(level + (placeholder ? 2 : 1)).c_str());
      grid.SetItemText(target, L"rowType", placeholder ? L"device" : r.rowType);
    }
    set(at, L"sValue", r.value);
    set(at, L"ixGroup", r.group);
    set(at, L"ixSch", r.sch);
    set(at, L"ixList", r.list);
    set(at, L"dwg", r.drawing);
    if (r.isCallout) grid.SetItemText(at, L"bIsCallout", L"true");
    PaintKind(grid, at, r.rowType);
    if (!device) parents.push_back(at);
    at += device ? 1 : 2;
  }
  for (int parent : parents) grid.m_TreeColumn.TreeCollapse(parent);
  grid.Invalidate();
}

int CDialogProjectExplorerHVAC::Heading(std::int32_t type) const {
  for (int row = 1; row < grid.GetRowCount(); ++row)
    if (Number(row, L"level") == 1 && Number(row, L"devType") == type) return row;
  return -1;
}

int CDialogProjectExplorerHVAC::OpenToChild(int row, const std::function<bool(int)>& matches) {
  if (row < 1) return -1;
  FetchChildren(row);
  grid.m_TreeColumn.TreeExpandOneLevel(row);
  grid.m_TreeColumn.TreeRefreshRows();
  const int level = Number(row, L"level");
  for (int child = row + 1; child < grid.GetRowCount() && Number(child, L"level") > level; ++child)
    if (Number(child, L"level") == level + 1 && matches(child)) return child;
  return -1;
}

void CDialogProjectExplorerHVAC::FocusRow(int row) {
  if (row < 1) return;
  grid.SetFocusCell(row, 0);
  grid.SelectRow(row);
  grid.EnsureVisible(row, 0);
}

// Opens the rows down to the one the state names and gives it the focus.
void CDialogProjectExplorerHVAC::ShowState() {
  const bool calloutFirst = bCalloutFirst != 0;
  using Step = std::function<bool(int)>;
  auto textIs = [this](const wchar_t* column, const std::wstring& value) -> Step {
    return [this, column, value](int row) { return Text(row, column).str() == value; };
  };
  auto firstOf = [](const std::wstring& sql, const wchar_t* column) {
    const std::vector<std::wstring> values = kvdialogs::LayerQuery(sql, column, column);
    return values.empty() ? std::wstring() : values.front();
  };
  // Walks down from the heading through rows matched in turn; answers the last row reached.
  auto walk = [this](std::int32_t type, const std::vector<std::function<bool(int)>>& path) {
    int row = Heading(type);
    for (const auto& step : path) {
      const int next = OpenToChild(row, step);
      if (next < 0) break;
      row = next;
    }
    return row;
  };
  std::wstring sch = std::to_wstring(ixSch), group = ixGroup, drawing = dwg;
  int target = -1;
  if (state == L"header") {
    target = Heading(devType);
  } else if (state == L"group") {
    return;
  } else if (devType == kDiffusers) {
    if (state == L"device") {
      if (!tblDiffL_->FindByKey(ixList)) return;
      sch = std::to_wstring(tblDiffL_->GetixDiffS());
      drawing = tblDiffL_->GetDRAWING();
    }
    if ((state == L"device" || state == L"callout") && tblDiffS_->FindByKey(std::stoi(sch)))
      group = std::to_wstring(tblDiffS_->GetixDiffSGroup());
    if (state == L"callout" && !calloutFirst && drawing.empty())
      drawing = firstOf(L"Select * from tblDiffL where bDeleted = 0 and ixDiffS = " + sch, L"DRAWING");
    if (state == L"drawing" && (group.empty() || (calloutFirst && ixSch < 1))) {
      const std::wstring sql = L"Select tblDiffSGroup.ixDiffSGroup, tblDiffSGroup.sName from tblDiffL, tblDiffS, tblDiffSGroup  "
                               L"where tblDiffL.ixDiffS = tblDiffS.ixDiffS and tblDiffS.ixDiffSGroup = tblDiffSGroup.ixDiffSGroup  "
                               L"and tblDiffL.DRAWING = " + Quoted(drawing) + L" and tblDiffL.bDeleted = 0";
      const std::vector<std::wstring> groups = kvdialogs::LayerQuery(sql, L"ixDiffSGroup", L"sName");
      if (!groups.empty()) group = groups.front();
    }
    if (state == L"drawing" && calloutFirst && ixSch < 1)
      sch = firstOf(L"Select tblDiffL.ixDiffS, tblDiffS.CALLOUT from tblDiffL, tblDiffS  where tblDiffL.ixDiffS = tblDiffS.ixDiffS "
                    L"and tblDiffS.ixDiffSGroup = " + group + L" and tblDiffL.DRAWING = " + Quoted(drawing) +
                    L" and tblDiffL.bDeleted = 0", L"ixDiffS");
    std::vector<Step> path = {textIs(L"ixGroup", group)};
    const auto bySch = textIs(L"ixSch", sch), byDrawing = textIs(L"dwg", drawing);
    if (state == L"callout" && calloutFirst) path.push_back(bySch);
    if (state == L"callout" && !calloutFirst) path.insert(path.end(), {byDrawing, bySch});
    if (state == L"drawing" && calloutFirst) path.insert(path.end(), {bySch, byDrawing});
    if (state == L"drawing" && !calloutFirst) path.push_back(byDrawing);
    if (state == L"device") path.insert(path.end(), {calloutFirst ? bySch : byDrawing, calloutFirst ? byDrawing : bySch});
    if (state == L"device") path.push_back(textIs(L"ixList", std::to_wstring(ixList)));
    target = walk(kDiffusers, path);
  } else if (devType == kDucts) {
    if (state == L"device") {
      if (!tblDuct_->FindByKey(ixList)) return;
      group = tblDuct_->GetAIRFLOW();
      drawing = tblDuct_->GetDRAWING();
    }
    if (state == L"callout" && !calloutFirst && drawing.empty())
      drawing = firstOf(L"Select * from tblDuct where AIRFLOW= " + Quoted(group) + L" and bDeleted = 0", L"DRAWING");
    if (state == L"drawing" && calloutFirst && group.empty())
      group = firstOf(L"Select AIRFLOW, ixDuct from tblDuct where DRAWING = " + Quoted(drawing) + L" and bDeleted = 0", L"AIRFLOW");
    const auto byGroup = textIs(L"ixGroup", group), byDrawing = textIs(L"dwg", drawing);
    std::vector<Step> path;
    if (state == L"callout") path = calloutFirst ? std::vector{byGroup} : std::vector{byDrawing, byGroup};
    if (state == L"drawing") path = calloutFirst ? std::vector{byGroup, byDrawing} : std::vector{byDrawing};
    if (state == L"device") path = calloutFirst ? std::vector{byGroup, byDrawing} : std::vector{byDrawing, byGroup};
    if (state == L"device") path.push_back(textIs(L"ixList", std::to_wstring(ixList)));
    target = walk(kDucts, path);
  }
  FocusRow(target);
}

// The chosen row's values, as the buttons and the sort change read them.
void CDialogProjectExplorerHVAC::TakeFocusedRow() {
  const int row = grid.GetFocusRow();
  if (row < 1) return;
  ixList = Number(row, L"ixList");
  devType = Number(row, L"devType");
  ixSch = Number(row, L"ixSch");
  dwg = Text(row, L"dwg").str();
  ixGroup = Text(row, L"ixGroup").str();
}

void CDialogProjectExplorerHVAC::SaveSortOrder() const {
  HKEY key = nullptr;
  if (RegCreateKeyEx(HKEY_CURRENT_USER, kSortKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS)
    return;
  const wchar_t* text = bCalloutFirst ? L"1" : L"0";
  RegSetValueEx(key, L"bCalloutFirst", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), 2 * sizeof(wchar_t));
  RegCloseKey(key);
}

void CDialogProjectExplorerHVAC::SortChanged() {
  const int choice = sortCombo.GetCurSel();
  if (choice < 0) return;
  const auto wanted = static_cast<std::int32_t>(sortCombo.GetItemData(choice));
  if (wanted == bCalloutFirst) return;
  bCalloutFirst = wanted;
  const int row = grid.GetFocusRow();
  if (row >= 1) {
    TakeFocusedRow();
    ixList = Number(row, L"sValue");
    state = Text(row, L"rowType").str();
  }
  Build();
  ShowState();
  grid.SetFocus();
}

void CDialogProjectExplorerHVAC::OnOK() {
  TakeFocusedRow();
  SaveSortOrder();
  EndDialog(IDOK);
}

void CDialogProjectExplorerHVAC::OnCancel() { OnOK(); }

BOOL CDialogProjectExplorerHVAC::OnCommand(WPARAM w, LPARAM l) {
  const UINT id = LOWORD(w), code = HIWORD(w);
  const int row = grid.GetFocusRow();
  const bool device = row >= 1 && Number(row, L"ixList") > 0 && Text(row, L"sValue") != CString(kNoneInDatabase);
  if (id == kSort && code == CBN_SELCHANGE) {
    SortChanged();
    return TRUE;
  }
  if (id == kFind && code == BN_CLICKED) {
    TakeFocusedRow();
    if (device) {
      SaveSortOrder();
      EndDialog(kFindResult);
    }
    return TRUE;
  }
  if (id == kQuery && code == BN_CLICKED) {
    TakeFocusedRow();
    if (device || (row >= 1 && Text(row, L"bIsCallout") == CString(L"true"))) {
      SaveSortOrder();
      EndDialog(device ? kQueryResult : kScheduleResult);
    }
    return TRUE;
  }
  return CAcUiDialog::OnCommand(w, l);
}

BOOL CDialogProjectExplorerHVAC::OnNotify(WPARAM w, LPARAM l, LRESULT* result) {
  if (w != kGrid) return CAcUiDialog::OnNotify(w, l, result);
  const auto* view = reinterpret_cast<const NM_GRIDVIEW*>(l);
  if (view->hdr.code == GVN_BEGINLABELEDIT) {
    *result = -1;
    return TRUE;
  }
  if (view->hdr.code == GVN_CLICK && view->iColumn == 0 && view->iRow >= 1) {
    BOOL plus, minus, last;
    if (grid.m_TreeColumn.TreeHasPlusMinus(view->iRow, plus, minus, last) && minus) {
      grid.SetRedraw(FALSE);
      FetchChildren(view->iRow);
      grid.SetRedraw(TRUE);
      grid.m_TreeColumn.TreeRefreshRows();
    }
    return TRUE;
  }
  return CAcUiDialog::OnNotify(w, l, result);
}

namespace {

// Calls a layer function that acts on its own (a query of the project); its answer is unused.
void CallLayer(const wchar_t* name, std::int32_t first, std::int32_t second) {
  resbuf* args = acutBuildList(RTSTR, name, RTSHORT, static_cast<short>(first), RTSHORT, static_cast<short>(second), 0);
  resbuf* answer = nullptr;
  acedInvoke(args, &answer);
  acutRelRb(args);
  acutRelRb(answer);
}

}  // namespace

LispStatus kv_hvac_ProjectExplorer() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t list = 0, type = 0;
  std::wstring name, path;
  if (!ArgInt(cursor, list) || !ArgInt(cursor, type) || !ArgString(cursor, name)) return LispStatus::WrongType;
  std::optional<std::wstring> file;
  if (ArgString(cursor, path)) file = path;
  acedRetNil();
  kvdialogs::DialogConnection connection(file);
  if (!connection) return LispStatus::Success;
  CDialogProjectExplorerHVAC dialog(name, acedGetAcadFrame());
  dialog.state = list > 0 ? L"device" : L"callout";
  dialog.devType = type;
  dialog.ixList = list;
  int result = 0;
  for (;;) {
    dialog.SetConnection(connection.get());
    result = HandleDialogResult(static_cast<int>(dialog.DoModal()));
    dialog.state = dialog.ixList > 0 ? L"device" : L"callout";
    if (result == CDialogProjectExplorerHVAC::kQueryResult)
      CallLayer(L"projectExplorer-query-HVAC", dialog.ixList, dialog.devType);
    else if (result == CDialogProjectExplorerHVAC::kScheduleResult && dialog.devType != 10)
      CallLayer(L"projectExplorer-querySchedule-HVAC", dialog.ixSch, dialog.devType);
    else if (result != CDialogProjectExplorerHVAC::kScheduleResult)
      break;
  }
  dialog.DestroyTables();
  ResultList answer;
  AppendStringInt(answer.tail(), L"state", result);
  AppendStringInt(answer.tail(), L"ixL", dialog.ixList);
  AppendStringInt(answer.tail(), L"devType", dialog.devType);
  answer.close();
  return LispStatus::Success;
}
