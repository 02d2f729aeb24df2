// The Project Explorer: every duct and diffuser of the project, across its drawings, as a tree
// by group, callout and drawing, filled lazily as nodes open. It never changes the database.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ProjectDatabase.h"
#include "grid/gridctrl.h"

class tblDuct;
class tblDiffL;
class tblDiffS;
class tblDiffSGroup;

class CDialogProjectExplorerHVAC : public CAcUiDialog {
 public:
  static constexpr UINT kTemplate = 153;
  static constexpr UINT kGrid = 1090, kSortLabel = 2024, kSort = 2025, kFind = 1091, kQuery = 1092;
  static constexpr int kFindResult = 101, kQueryResult = 100, kScheduleResult = 102;

  CDialogProjectExplorerHVAC(std::wstring drawingName, CWnd* parent = nullptr);
  ~CDialogProjectExplorerHVAC() override;

  // Sets the database and makes the four record objects on it.
  void SetConnection(ProjectDatabasePtr connection);
  void DestroyTables();

  CGridCtrl grid;
  std::wstring drawingName;
  std::wstring state = L"callout";
  std::int32_t bCalloutFirst = 1;
  CComboBox sortCombo;
  std::int32_t devType = -1;
  std::int32_t ixList = -1;
  std::int32_t ixSch = 0;
  std::wstring dwg;
  std::wstring ixGroup;

 protected:
  BOOL OnInitDialog() override;
  void OnOK() override;
  void OnCancel() override;
  BOOL OnCommand(WPARAM w, LPARAM l) override;
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override;

 private:
  void Build();
  void ShowState();
  // Adds a row of a kind at row with the given level and device type; answers its row.
  int AddRow(int row, int level, std::int32_t type, const wchar_t* rowType, const std::wstring& value);
  void FetchChildren(int row);
  // Opens row (fetching its children) and answers its direct child that matches, or -1.
  int OpenToChild(int row, const std::function<bool(int)>& matches);
  int Heading(std::int32_t type) const;
  void FocusRow(int row);
  void TakeFocusedRow();
  void SaveSortOrder() const;
  void SortChanged();
  CString Text(int row, const wchar_t* column) const { return grid.GetItemText(row, column); }
  std::int32_t Number(int row, const wchar_t* column) const;

  ProjectDatabasePtr connection_;
  std::unique_ptr<tblDuct> tblDuct_;
  std::unique_ptr<tblDiffL> tblDiffL_;
  std::unique_ptr<tblDiffS> tblDiffS_;
  std::unique_ptr<tblDiffSGroup> tblDiffSGroup_;
};
