// Load Detail: the computed load of one room or zone laid out as an engineer's report in a grid,
// with the month and hour of the two cooling sections open to change.
#pragma once

#include <string>
#include <vector>

#include "ProjectDatabase.h"
#include "grid/gridctrl.h"

class tblLoadRoomCooling;
class tblLoadRoomHeating;

class CLoadDetail : public CAcUiDialog {
 public:
  static constexpr UINT kTemplate = 107;
  static constexpr UINT kGrid = 1007;
  static constexpr UINT kCalculate = 1006;
  static constexpr UINT kPrint = 5;
  static constexpr int kCalculateResult = 101;

  // The month list comes from connection (the months that were calculated); the two tables are
  // read while the grid is filled and when a time row changes. Any of them may be null: the
  // dialog then shows no figures rather than failing.
  CLoadDetail(ProjectDatabase* connection, tblLoadRoomCooling* cooling, tblLoadRoomHeating* heating,
              CWnd* parent = nullptr);

  std::vector<std::wstring> months;
  std::vector<std::wstring> hours;
  std::wstring title;
  CGridCtrl grid;
  std::int32_t loadId = 0;
  double area = 0, people = 0;
  std::int32_t coolingMonth = 0, coolingHour = 0, loadMonth = 0, loadHour = 0;
  std::int32_t supplyTemperature = 0, heatingDifference = 0, currentCFM = 0, requiredCFM = 0;
  std::int32_t shareDivisor = 0, shareFactor = 0;
  const resbuf* psychrometrics = nullptr;  // read in place; the caller keeps the list alive
  std::wstring ventilationMethod = L"NO";
  bool showSystem = false, heatingNotCalculated = false, coolingNotCalculated = false;

  // Lays out every row; public so that the layout can be read without running the dialog.
  void FillGrid();

 protected:
  BOOL OnInitDialog() override;
  BOOL OnCommand(WPARAM w, LPARAM l) override;
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override;

 private:
  int AddRow(int level);
  void Style(int row, int style);
  int Heading(int level, const std::vector<std::wstring>& texts);
  int Line(int level, const std::vector<std::wstring>& texts);
  int TimeRow(int level, int month, int hour);
  void HeatingLines();
  void CoolingLoadLabels();
  void Psychrometrics();
  bool SystemRows() const { return showSystem || loadId >= 1; }
  // The time row t's month and hour, the cell of column `col` read as `replacement` if given.
  bool FindCooling(int t, int col, const std::wstring* replacement);
  void FillCooling(int t, int col = -1, const std::wstring* replacement = nullptr);
  void FillCoolingLoad(int t, int col = -1, const std::wstring* replacement = nullptr);

  ProjectDatabase* connection_;
  tblLoadRoomCooling* cooling_;
  tblLoadRoomHeating* heating_;
};
