// The Project Explorer over a project of three drawings: the tree at open in both orders, lazy
// filling as a node opens, the pick handed back, the sort order kept, and the LISP loop.
#include <functional>

#include "database/database.h"
#include "dialog_fixture.h"
#include "dialogs/CDialogProjectExplorerHVAC.h"
#include "dialogs/dialogs.h"

namespace kvtest {
namespace {

// The tree as "level rowType value" lines, shown or not.
std::string Dump(const CGridCtrl& grid) {
  std::string out;
  for (int row = 1; row < grid.GetRowCount(); ++row)
    out += kvads::toUtf8((grid.GetItemText(row, L"level") + L" " + grid.GetItemText(row, L"rowType") + L" " +
                          grid.GetItemText(row, L"sValue")).str()) + "\n";
  return out;
}

int RowOf(const CGridCtrl& grid, const wchar_t* value, int from = 1) {
  for (int row = from; row < grid.GetRowCount(); ++row)
    if (grid.GetItemText(row, L"sValue") == CString(value)) return row;
  return -1;
}

// The explorer with hooks: at init and after each click of the grid it may queue more input;
// at its end it keeps the tree and the focused row's path from the heading down.
class ProbeExplorer : public CDialogProjectExplorerHVAC {
 public:
  using CDialogProjectExplorerHVAC::CDialogProjectExplorerHVAC;
  std::function<void(ProbeExplorer&)> onInit, onClick;
  std::string atInit, atEnd, picture;
  std::vector<std::wstring> path;

 protected:
  BOOL OnInitDialog() override {
    BOOL r = CDialogProjectExplorerHVAC::OnInitDialog();
    atInit = Dump(grid);
    if (onInit) onInit(*this);
    return r;
  }
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override {
    BOOL r = CDialogProjectExplorerHVAC::OnNotify(w, l, result);
    if (w == kGrid && reinterpret_cast<NMHDR*>(l)->code == GVN_CLICK && onClick) onClick(*this);
    return r;
  }
  void EndDialog(int result) {
    CDialogProjectExplorerHVAC::EndDialog(result);
  }
  void OnOK() override {
    Finish();
    CDialogProjectExplorerHVAC::OnOK();
  }
  BOOL OnCommand(WPARAM w, LPARAM l) override {
    if (LOWORD(w) == kFind) Finish();
    return CDialogProjectExplorerHVAC::OnCommand(w, l);
  }

 private:
  void Finish() {
    atEnd = Dump(grid);
    path.clear();
    int row = grid.GetFocusRow();
    for (int level = row >= 1 ? grid.m_TreeColumn.GetLevel(row) : 0; row >= 1 && level >= 1; --row)
      if (grid.m_TreeColumn.GetLevel(row) == level) {
        path.insert(path.begin(), grid.GetItemText(row, L"sValue").str());
        --level;
      }
    if (!picture.empty()) DialogPicture(*this, picture);
  }
};

class Explorer : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    for (const wchar_t* table : {L"tblDuct", L"tblDiffL", L"tblDiffS", L"tblDiffSGroup"}) Exec(std::wstring(L"delete from ") + table);
    Exec(L"insert into tblDiffSGroup (ixDiffSGroup, sName) values (1, 'Ceiling'), (2, 'Wall')");
    Exec(L"insert into tblDiffS (ixDiffS, ixDiffSGroup, CALLOUT) values (1, 1, 'S-1'), (2, 1, 'S-2')");
    Exec(L"insert into tblDiffL (ixDiffL, ixDiffS, DRAWING) values (11, 1, 'a.dwg'), (12, 1, 'a.dwg'), (13, 1, 'b.dwg'), "
         L"(14, 2, 'c.dwg')");
    Exec(L"insert into tblDuct (ixDuct, DRAWING, AIRFLOW) values (21, 'a.dwg', 'sa'), (22, 'b.dwg', 'sa'), "
         L"(23, 'b.dwg', 'ra'), (24, 'c.dwg', 'ea'), (25, 'c.dwg', 'xx')");
    Exec(L"insert into tblDuct (ixDuct, DRAWING, AIRFLOW, bDeleted) values (26, 'd.dwg', 'oa', -1)");
  }
  INT_PTR Run(ProbeExplorer& dialog, const std::string& lines = "") {
    dialog.SetConnection(real_);
    queue(lines);
    const INT_PTR result = dialog.DoModal();
    dialog.DestroyTables();
    return result;
  }
  // A click on a row's text, near the left of its (very wide) first column.
  static std::string TextPoint(CGridCtrl& grid, int row) {
    CRect r;
    grid.GetCellRect(row, 0, &r);
    return "#1090@" + std::to_string(r.left + 10 * grid.m_TreeColumn.GetLevel(row) + 20) + "," +
           std::to_string((r.top + r.bottom) / 2);
  }
};

TEST_F(Explorer, TheTreeAtOpenHoldsEveryGroupCalloutAndDrawingInBothOrders) {
  ProbeExplorer byCallout(L"a.dwg");
  EXPECT_EQ(Run(byCallout, "key ESC"), IDOK) << "Esc ends as Exit does";
  EXPECT_EQ(byCallout.atInit,
            "1 header Diffusers\n2 group Ceiling\n3 callout S-1\n4 drawing a.dwg\n5 device \n4 drawing b.dwg\n5 device \n"
            "3 callout S-2\n4 drawing c.dwg\n5 device \n2 group Wall\n4 device None on drawing\n"
            "1 header Ducts\n2 callout Supply\n3 drawing a.dwg\n4 device \n3 drawing b.dwg\n4 device \n"
            "2 callout Return\n3 drawing b.dwg\n4 device \n2 callout Outside Air\n3 device None on drawing\n"
            "2 callout Exhaust\n3 drawing c.dwg\n4 device \n");

  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyEx(HKEY_CURRENT_USER, L"Software\\Kelvane Software\\HVAC", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  RegSetValueEx(key, L"bCalloutFirst", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"0"), 2 * sizeof(wchar_t));
  RegCloseKey(key);
  ProbeExplorer byDrawing(L"a.dwg");
  EXPECT_EQ(byDrawing.bCalloutFirst, 0);
  Run(byDrawing);
  EXPECT_EQ(byDrawing.atInit,
            "1 header Diffusers\n2 group Ceiling\n3 drawing a.dwg\n4 callout S-1\n5 device \n3 drawing b.dwg\n4 callout S-1\n"
            "5 device \n3 drawing c.dwg\n4 callout S-2\n5 device \n2 group Wall\n4 device None on drawing\n"
            "1 header Ducts\n2 drawing a.dwg\n3 callout Supply\n4 device \n2 drawing b.dwg\n3 callout Supply\n4 device \n"
            "3 callout Return\n4 device \n2 drawing c.dwg\n3 callout Exhaust\n4 device \n")
      << "a duct of no air system shows under no system";
}

TEST_F(Explorer, OpeningANodeFillsItAndFindHandsThePickBack) {
  ProbeExplorer dialog(L"a.dwg");
  dialog.picture = "project-explorer.png";
  std::vector<const wchar_t*> steps = {L"Diffusers", L"Ceiling", L"S-1", L"a.dwg"};
  auto next = [&steps](ProbeExplorer& d) {
    if (steps.empty()) return;
    const int row = RowOf(d.grid, steps.front());
    steps.erase(steps.begin());
    if (!steps.empty()) {
      queue("click " + BoxPoint(d.grid, 1090, row));
    } else {
      queue("click " + BoxPoint(d.grid, 1090, row));
      d.onClick = [](ProbeExplorer& e) {
        e.onClick = nullptr;
        queue("click " + TextPoint(e.grid, RowOf(e.grid, L"12")) + "\nclick #1091");
      };
    }
  };
  dialog.onInit = next;
  dialog.onClick = next;
  EXPECT_EQ(Run(dialog), CDialogProjectExplorerHVAC::kFindResult);
  EXPECT_NE(dialog.atEnd.find("4 drawing a.dwg\n5 device 11\n5 device 12\n4 drawing b.dwg\n5 device \n"), std::string::npos)
      << dialog.atEnd;
  EXPECT_EQ(dialog.ixList, 12);
  EXPECT_EQ(dialog.devType, 2);
  EXPECT_EQ(dialog.path, (std::vector<std::wstring>{L"Diffusers", L"Ceiling", L"S-1", L"a.dwg", L"12"}));
  EXPECT_EQ(Number(L"select count(*) from tblDiffL"), 4) << "the explorer changes nothing";
}

TEST_F(Explorer, ChangingTheSortOrderKeepsTheFocusedDeviceAndIsStored) {
  ProbeExplorer dialog(L"b.dwg");
  dialog.state = L"device";
  dialog.devType = 1;
  dialog.ixList = 23;
  std::vector<std::wstring> before;
  dialog.onInit = [&before](ProbeExplorer& d) {
    before = {d.grid.GetItemText(d.grid.GetFocusRow(), L"sValue").str()};
    queue("click #2025\nkey DOWN\nkey ENTER\nkey ESC");
  };
  EXPECT_EQ(Run(dialog), IDOK);
  EXPECT_EQ(before, std::vector<std::wstring>{L"23"}) << "the device of the arguments has the focus at open";
  EXPECT_EQ(dialog.path, (std::vector<std::wstring>{L"Ducts", L"b.dwg", L"Return", L"23"}));
  EXPECT_EQ(dialog.ixList, 23);
  EXPECT_EQ(ProbeExplorer(L"b.dwg").bCalloutFirst, 0) << "Esc stored the order as Exit does";
}

TEST_F(Explorer, AProjectWithoutDuctsSaysSoAndFindOnItOrOnAHeadingDoesNothing) {
  Exec(L"delete from tblDuct");
  ProbeExplorer dialog(L"a.dwg");
  dialog.onInit = [](ProbeExplorer& d) {
    queue("click " + TextPoint(d.grid, RowOf(d.grid, L"Diffusers")) + "\nclick #1091\nclick #1092\nclick " +
          BoxPoint(d.grid, 1090, RowOf(d.grid, L"Ducts")) + "\nclick " + TextPoint(d.grid, RowOf(d.grid, L"Ducts") + 1) +
          "\nclick #1091\nclick #1092\nclick #1");
  };
  EXPECT_EQ(Run(dialog), IDOK);
  EXPECT_NE(dialog.atInit.find("1 header Ducts\n2 device None in database\n"), std::string::npos) << dialog.atInit;
  EXPECT_EQ(dialog.devType, -1);
  EXPECT_EQ(dialog.path, (std::vector<std::wstring>{L"Ducts", L"None in database"}));
}

TEST_F(Explorer, TheLispFunctionLoopsThroughQueriesAndAnswersThePick) {
  // Query on the duct runs the layer's query, the dialog opens again on the same duct, Find
  // picks it; a schedule query from a callout row runs the layer's schedule query.
  queue("click #1092\nclick #1091");
  const std::wstring path = file_.wstring();
  kvads::CallFrame frame(acutBuildList(RTSHORT, 23, RTSHORT, 1, RTSTR, L"b.dwg", RTSTR, path.c_str(), 0));
  EXPECT_EQ(kv_hvac_ProjectExplorer(), LispStatus::Success);
  resbuf* result = frame.takeResult();
  EXPECT_EQ(kvlisp::fromCells(result).front().print(), "((\"state\" . 101) (\"ixL\" . 23) (\"devType\" . 1))");
  acutRelRb(result);
  EXPECT_NE(take().find("Duct 23 on b.dwg: ra"), std::string::npos);

  Lisp("(projectExplorer-querySchedule-HVAC 1 2)");
  EXPECT_EQ(take(), "\nSchedule S-1: a.dwg 2 b.dwg 1") << "the layer's schedule query counts by drawing";

  kvads::CallFrame wrong(acutBuildList(RTSHORT, 23, RTSTR, L"1", 0));
  EXPECT_EQ(kv_hvac_ProjectExplorer(), LispStatus::WrongType);
}

}  // namespace
}  // namespace kvtest
