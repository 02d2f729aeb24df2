// The diffuser blocks dialog over tblDwgDiff.
#include <cmath>
#include <optional>

#include "database/database.h"
#include "dialogs/CDialogDwgDiff.h"
#include "dialogs/dialogs.h"
#include "dialogs/support.h"

namespace {

constexpr int kIndexCol = 1, kDescriptionCol = 2, kNumberCol = 3, kTypeCol = 4;
const wchar_t* const kNewName = L"New Diffuser Block";

void RegisterTemplate() {
  static bool done = false;
  if (done) return;
  done = true;
  DialogTemplate t;
  t.id = CDialogDwgDiff::kTemplate;
  t.title = L"Diffuser Blocks";
  t.style |= WS_THICKFRAME;
  t.cx = 300;
  t.cy = 180;
  t.items = {kvui::Control(L"", CDialogDwgDiff::kGrid, L"MFCGridCtrl", WS_TABSTOP | WS_BORDER, 7, 7, 226, 146),
             kvui::PushButton(L"Move &Up", CDialogDwgDiff::kUp, 243, 7, 50, 14),
             kvui::PushButton(L"Move Do&wn", CDialogDwgDiff::kDown, 243, 25, 50, 14),
             kvui::PushButton(L"&New", CDialogDwgDiff::kNew, 243, 51, 50, 14),
             kvui::PushButton(L"&Delete", CDialogDwgDiff::kDelete, 243, 69, 50, 14),
             kvui::DefPushButton(L"&OK", IDOK, 96, 159, 50, 14),
             kvui::PushButton(L"&Cancel", IDCANCEL, 154, 159, 50, 14)};
  kvui::RegisterDialogTemplate(t);
}

std::int32_t IntOf(const CString& text) { return static_cast<std::int32_t>(std::wcstol(text, nullptr, 10)); }

// A chain of deletions ends at the last replacement: whatever pointed at old now points at new.
void FollowReplacement(std::vector<std::pair<double, double>>& pairs, std::pair<double, double> added) {
  for (auto& pair : pairs)
    if (pair.second == added.first) pair.second = added.second;
  pairs.push_back(added);
}

}  // namespace

CDialogDwgDiff::CDialogDwgDiff(CWnd* parent) : CAcUiDialog(kTemplate, parent) { RegisterTemplate(); }

CDialogDwgDiff::~CDialogDwgDiff() = default;

void CDialogDwgDiff::SetConnection(ProjectDatabasePtr connection) {
  connection_ = std::move(connection);
  tblDwgDiff_ = connection_ ? std::make_unique<tblDwgDiff>(connection_.Get()) : nullptr;
}

INT_PTR CDialogDwgDiff::DoModal() {
  replacements.clear();
  const INT_PTR result = CAcUiDialog::DoModal();
  tblDwgDiff_.reset();
  connection_.Reset();
  return result;
}

BOOL CDialogDwgDiff::OnInitDialog() {
  SetDialogName(L"kv_hvac:dwgEquCustomization");
  CAcUiDialog::OnInitDialog();
  kvdialogs::SetSmallIcon(*this);
  DLGCTLINFO rules[] = {{kGrid, ELASTICX, 100}, {kGrid, ELASTICY, 100}, {IDOK, MOVEX, 50},   {IDOK, MOVEY, 100},
                        {IDCANCEL, MOVEX, 50},  {IDCANCEL, MOVEY, 100}, {kNew, MOVEX, 100},  {kDelete, MOVEX, 100},
                        {kUp, MOVEX, 100},      {kDown, MOVEX, 100}};
  SetControlProperty(rules, sizeof(rules) / sizeof(rules[0]));
  grid.SubclassDlgItem(kGrid, this);
  grid.SetColumnCount(5);
  grid.SetFixedRowCount(1);
  grid.SetFixedColumnCount(1);
  grid.SetListMode(TRUE);
  grid.SetItemText(0, kDescriptionCol, L"Description");
  grid.SetItemText(0, kNumberCol, L"Block Number");
  grid.SetItemText(0, kTypeCol, L"Type");
  grid.SetComboColumn(kTypeCol, FALSE);
  CStringArray types;
  CDWordArray data;
  for (LPCTSTR type : {L"Rectangular", L"Round", L"Sidewall", L"Slot"}) types.Add(type);
  for (DWORD d : {0u, 1u, 2u, 3u}) data.Add(d);
  grid.SetColumnOptions(kTypeCol, types);
  grid.SetColumnOptionData(kTypeCol, data);
  Fill();
  grid.SetColumnWidth(0, 0);
  grid.SetColumnWidth(kIndexCol, 0);
  return FALSE;
}

void CDialogDwgDiff::Fill() {
  tblDwgDiff_->SetSortIndex(L"iSortOrder");
  for (bool more = tblDwgDiff_->First(); more; more = tblDwgDiff_->Next()) {
    const int row = grid.InsertRow(L"");
    grid.SetItemText(row, kIndexCol, std::to_wstring(tblDwgDiff_->GetixDwgDiff()).c_str());
    grid.SetItemText(row, kDescriptionCol, tblDwgDiff_->GetsDescription().c_str());
    grid.SetItemText(row, kNumberCol, std::to_wstring(tblDwgDiff_->GetiBlockNumber()).c_str());
    dynamic_cast<CGridCellCombo*>(grid.GetCell(row, kTypeCol))->SelectByData(static_cast<DWORD>(tblDwgDiff_->GetiBlockType()));
  }
  grid.AutoSizeColumns();
  if (grid.GetRowCount() >= 2) {
    grid.SetFocusCell(1, kDescriptionCol);
    grid.SelectRow(1);
  }
  grid.SetFocus();
}

BOOL CDialogDwgDiff::OnCommand(WPARAM w, LPARAM l) {
  if (HIWORD(w) == BN_CLICKED) {
    switch (LOWORD(w)) {
      case kNew: AddRow(); return TRUE;
      case kDelete: DeleteSelection(); return TRUE;
      case kUp: MoveFocusedRow(-1); return TRUE;
      case kDown: MoveFocusedRow(1); return TRUE;
      default: break;
    }
  }
  return CAcUiDialog::OnCommand(w, l);
}

void CDialogDwgDiff::AddRow() {
  grid.SetRedraw(FALSE);
  const int row = grid.InsertRow(L"");
  if (row > 1)
    for (int col = kDescriptionCol; col < grid.GetColumnCount(); ++col)
      grid.SetItemText(row, col, grid.GetItemText(row - 1, col));
  grid.SetItemText(row, kIndexCol, L"-1");
  std::wstring name = kNewName;
  for (int n = 1, r = 1; r < grid.GetRowCount(); ++r) {
    if (r == row || grid.GetItemText(r, kDescriptionCol).str() != name) continue;
    name = std::wstring(kNewName) + L" (" + std::to_wstring(n++) + L")";
    r = 0;
  }
  grid.SetItemText(row, kDescriptionCol, name.c_str());
  grid.SetRedraw(TRUE);
  grid.SetFocusCell(row, kDescriptionCol);
  grid.SelectRow(row);
  grid.EnsureVisible(row, kDescriptionCol);
  grid.SetFocus();
  grid.BeginEditFocusCell();
}

bool CDialogDwgDiff::AskReplacement(std::int32_t ix, std::pair<double, double>& pair) {
  resbuf* args = acutBuildList(RTSTR, L"util-deleteBlocks", RTLONG, ix, RTSTR, L"hvac", RTSTR, L"Diff", RTLB, 0);
  resbuf* tail = args;
  while (tail->rbnext) tail = tail->rbnext;
  for (const auto& [old, replacement] : replacements)
    AppendCells(tail, acutBuildList(RTLB, RTLONG, static_cast<std::int32_t>(old), RTLONG,
                                    static_cast<std::int32_t>(replacement), RTLE, 0));
  AppendCells(tail, acutBuildList(RTLE, 0));
  EnableWindow(FALSE);
  resbuf* answer = nullptr;
  const int status = acedInvoke(args, &answer);
  EnableWindow(TRUE);
  SetActiveWindow();
  acutRelRb(args);
  const bool ok = status == RTNORM && answer && answer->restype == RTPOINT;
  if (ok) pair = {answer->resval.rpoint[0], answer->resval.rpoint[1]};
  acutRelRb(answer);
  return ok;
}

void CDialogDwgDiff::DeleteSelection() {
  int r1, c1, r2, c2;
  if (!grid.GetSelectedRange(r1, c1, r2, c2) || r1 < 1) return;
  int row = r1;
  for (int n = r1; n <= r2; ++n) {
    const std::int32_t ix = IntOf(grid.GetItemText(row, kIndexCol));
    if (!tblDwgDiff_->FindByKey(ix)) {
      grid.DeleteRow(row);
      continue;
    }
    std::pair<double, double> pair;
    if (!AskReplacement(ix, pair)) {
      ++row;
      continue;
    }
    grid.DeleteRow(row);
    FollowReplacement(replacements, pair);
  }
  grid.Invalidate();
  int focus = r1 < grid.GetRowCount() ? r1 : r1 - 1;
  if (focus >= 1) {
    grid.SetFocusCell(focus, c1);
    grid.SelectRow(focus);
  }
}

void CDialogDwgDiff::MoveFocusedRow(int by) {
  const int row = grid.GetFocusRow();
  const int other = row + by;
  if (row < 1 || other < 1 || other >= grid.GetRowCount()) return;
  grid.SwapRows(row, other);
  grid.SetFocusCell(other, grid.GetFocusColumn());
  grid.SelectRow(other);
  grid.EnsureVisible(other, grid.GetFocusColumn());
  grid.Invalidate();
}

void CDialogDwgDiff::OnOK() {
  grid.EndEditing();
  // A statement the component refuses is told as the component tells it; the rest goes on.
  auto execute = [this](const std::wstring& sql) {
    VARIANT_BOOL ok = VARIANT_FALSE;
    ComCheck(connection_->Execute(_bstr_t(sql), &ok));
    if (ok != VARIANT_TRUE) ReportDatabaseError(connection_);
  };
  for (const auto& [old, replacement] : replacements) {
    if (old == 0) continue;
    const std::wstring from = std::to_wstring(static_cast<std::int64_t>(old));
    if (replacement != 0)
      execute(L"update tblDiffS set ixDwgDiff = " + std::to_wstring(static_cast<std::int64_t>(replacement)) +
              L" where ixDwgDiff = " + from);
    execute(L"delete from tblDwgDiff where ixDwgDiff = " + from);
  }
  tblDwgDiff_->SetSortIndex(L"ixDwgDiff");
  for (int row = 1; row < grid.GetRowCount(); ++row) {
    const std::int32_t ix = IntOf(grid.GetItemText(row, kIndexCol));
    if (ix == -1) {
      tblDwgDiff_->StartNew();
    } else {
      if (!tblDwgDiff_->FindByKey(ix)) continue;
      tblDwgDiff_->StartEdit();
    }
    tblDwgDiff_->SetsDescription(grid.GetItemText(row, kDescriptionCol).str());
    tblDwgDiff_->SetiBlockNumber(IntOf(grid.GetItemText(row, kNumberCol)));
    const auto* type = dynamic_cast<CGridCellCombo*>(grid.GetCell(row, kTypeCol));
    tblDwgDiff_->SetiBlockType(type ? static_cast<std::int32_t>(type->GetCurrentData()) : 0);
    tblDwgDiff_->SetiSortOrder(row);
    tblDwgDiff_->Update();
  }
  CAcUiDialog::OnOK();
}

LispStatus kv_hvac_dwgDiff() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::optional<std::wstring> file;
  std::wstring path;
  if (ArgString(cursor, path)) file = path;
  acedRetNil();
  kvdialogs::DialogConnection connection(file);
  if (!connection) return LispStatus::Success;
  CDialogDwgDiff dialog(acedGetAcadFrame());
  dialog.SetConnection(connection.get());
  HandleDialogResult(static_cast<int>(dialog.DoModal()));
  acedRetVoid();
  return LispStatus::Success;
}
