// The project's settings dialog: every key of tblGlobal as one tree-structured grid of label
// and value, read at open and written back only on OK.
#pragma once

#include <memory>
#include <string>

#include "ProjectDatabase.h"
#include "grid/gridctrl.h"

class tblGlobal;

class COptions : public CAcUiDialog {
 public:
  static constexpr UINT kTemplate = 103;
  static constexpr UINT kGrid = 1048;

  explicit COptions(CWnd* parent = nullptr);
  ~COptions() override;

  // The database the dialog reads and writes; makes its tblGlobal record object.
  void SetConnection(ProjectDatabasePtr connection);
  // Runs the dialog; the record object is gone afterwards.
  INT_PTR DoModal() override;

  std::wstring blockFolder;
  CGridCtrl grid;
  std::wstring selectedKey;  // in: the row to select at start; out: the last selected row
  bool bStartEdit = true;

 protected:
  BOOL OnInitDialog() override;
  void OnOK() override;
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override;

 private:
  void BuildTable();
  void LoadRow(int row);
  void SaveRow(int row);
  // Greys the rows that depend on row's value (given as shown); true when a colour changed.
  bool DependentColours(int row, const CString& value);
  void BlockBrowse(int row, int col);

  ProjectDatabasePtr connection_;
  std::unique_ptr<tblGlobal> tblGlobal_;
};
