// The diffuser blocks dialog: add, reorder and delete the block kinds of tblDwgDiff. Deleting a
// kind in use asks the application layer for a replacement; the schedule rows move to it only
// on OK.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "ProjectDatabase.h"
#include "grid/gridctrl.h"

class tblDwgDiff;

class CDialogDwgDiff : public CAcUiDialog {
 public:
  static constexpr UINT kTemplate = 105;
  static constexpr UINT kGrid = 1048, kNew = 1051, kDelete = 1052, kUp = 1053, kDown = 1054;

  explicit CDialogDwgDiff(CWnd* parent = nullptr);
  ~CDialogDwgDiff() override;

  void SetConnection(ProjectDatabasePtr connection);
  INT_PTR DoModal() override;

  CGridCtrl grid;
  // (deleted ixDwgDiff, its replacement), in order of deletion.
  std::vector<std::pair<double, double>> replacements;

 protected:
  BOOL OnInitDialog() override;
  void OnOK() override;
  BOOL OnCommand(WPARAM w, LPARAM l) override;

 private:
  void Fill();
  void AddRow();
  void DeleteSelection();
  void MoveFocusedRow(int by);
  // The layer's replacement for block ix: (old, new), or nothing when it refuses.
  bool AskReplacement(std::int32_t ix, std::pair<double, double>& pair);

  ProjectDatabasePtr connection_;
  std::unique_ptr<tblDwgDiff> tblDwgDiff_;
};
