// The diffuser blocks dialog: replacements chained through the application layer, schedule rows
// moved only on OK, new rows and their names, and the order stored at OK.
#include <functional>

#include "database/database.h"
#include "dialog_fixture.h"
#include "dialogs/CDialogDwgDiff.h"

namespace kvtest {
namespace {

class ProbeDwgDiff : public CDialogDwgDiff {
 public:
  std::vector<std::wstring> names;  // descriptions in grid order at the end
  std::string picture;

 protected:
  void OnOK() override {
    Finish();
    CDialogDwgDiff::OnOK();
  }
  void OnCancel() override {
    Finish();
    CDialogDwgDiff::OnCancel();
  }

 private:
  void Finish() {
    for (int row = 1; row < grid.GetRowCount(); ++row) names.push_back(grid.GetItemText(row, 2).str());
    if (!picture.empty()) DialogPicture(*this, picture);
  }
};

class DwgDiff : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    Exec(L"delete from tblDiffS");
    Exec(L"delete from tblDwgDiff");
    Exec(L"insert into tblDwgDiff (ixDwgDiff, iSortOrder, sDescription, iBlockNumber, iBlockType) values "
         L"(1, 1, 'Louvered face', 11, 0), (2, 2, 'Perforated face', 12, 0), (3, 3, 'Round cone', 13, 1)");
    Exec(L"insert into tblDiffS (ixDiffS, ixDiffSGroup, CALLOUT, ixDwgDiff) values (1, 1, 'A', 1), (2, 1, 'B', 2), (3, 1, 'C', 3)");
  }
  INT_PTR Run(ProbeDwgDiff& dialog, const std::string& lines) {
    dialog.SetConnection(real_);
    queue(lines);
    return dialog.DoModal();
  }
  std::vector<double> Column(const std::wstring& sql) {
    std::vector<double> out;
    for (const _variant_t& v : Query(sql)) out.push_back(v.vt == VT_I4 ? v.lVal : v.vt == VT_R8 ? v.dblVal : -99);
    return out;
  }
};

TEST_F(DwgDiff, AChainOfDeletionsEndsAtTheLastReplacementAndMovesScheduleRowsOnlyOnOk) {
  // A goes to B (same type), then B to C (no other of its type left): A's and B's rows end on C.
  ProbeDwgDiff cancelled;
  EXPECT_EQ(Run(cancelled, "click #1052\nclick #1052\nclick #2"), IDCANCEL);
  EXPECT_EQ(cancelled.names, std::vector<std::wstring>{L"Round cone"});
  EXPECT_EQ(cancelled.replacements, (std::vector<std::pair<double, double>>{{1, 3}, {2, 3}}));
  EXPECT_NE(take().find("they move to \"Round cone\""), std::string::npos) << "the layer told the user";
  EXPECT_EQ(Column(L"select ixDwgDiff from tblDiffS order by ixDiffS"), (std::vector<double>{1, 2, 3})) << "Cancel moves nothing";
  EXPECT_EQ(Number(L"select count(*) from tblDwgDiff"), 3);

  ProbeDwgDiff confirmed;
  EXPECT_EQ(Run(confirmed, "click #1052\nclick #1052\nclick #1"), IDOK);
  EXPECT_EQ(Column(L"select ixDwgDiff from tblDiffS order by ixDiffS"), (std::vector<double>{3, 3, 3}));
  EXPECT_EQ(Column(L"select ixDwgDiff from tblDwgDiff"), std::vector<double>{3});
  EXPECT_EQ(Column(L"select iSortOrder from tblDwgDiff"), std::vector<double>{1});
}

TEST_F(DwgDiff, NewRowsAreNamedApartStoredAtTheEndAndNeverAskTheLayerWhenDeleted) {
  Lisp("(setq asked 0)");
  Lisp("(defun util-deleteBlocks (ix app kind pairs) (setq asked (1+ asked)) nil)");
  ProbeDwgDiff dialog;
  dialog.picture = "dwgdiff-dialog.png";
  // Each New starts an edit of the name; the next button ends it unchanged.
  EXPECT_EQ(Run(dialog, "click #1051\nclick #1051\nclick #1051\nclick #1051\nclick #1052\nclick #1"), IDOK);
  EXPECT_EQ(dialog.names, (std::vector<std::wstring>{L"Louvered face", L"Perforated face", L"Round cone", L"New Diffuser Block",
                                                     L"New Diffuser Block (1)", L"New Diffuser Block (2)"}));
  EXPECT_EQ(Lisp("asked"), "0") << "a row not yet stored is deleted without the layer";
  EXPECT_EQ(Number(L"select count(*) from tblDwgDiff"), 6);
  EXPECT_EQ(Number(L"select iSortOrder from tblDwgDiff where sDescription = 'New Diffuser Block (2)'"), 6);
  // A new row copies the row above it: number and type of the round cone.
  EXPECT_EQ(Number(L"select iBlockType from tblDwgDiff where sDescription = 'New Diffuser Block'"), 1);
  EXPECT_EQ(Number(L"select iBlockNumber from tblDwgDiff where sDescription = 'New Diffuser Block'"), 13);

  // A refusal leaves the row; a stored row asks the layer.
  ProbeDwgDiff refused;
  EXPECT_EQ(Run(refused, "click #1052\nclick #1"), IDOK);
  EXPECT_EQ(Lisp("asked"), "1");
  EXPECT_EQ(refused.names.size(), 6u);
}

TEST_F(DwgDiff, ReorderedRowsStoreTheirOrderAndAReplyOfOldZeroDoesNothing) {
  Lisp("(defun util-deleteBlocks (ix app kind pairs) (list 0 ix))");
  ProbeDwgDiff dialog;
  // Down moves the first row below the second; Up on the first row does nothing.
  EXPECT_EQ(Run(dialog, "click #1054\nclick #1053\nclick #1053\nclick #1054\nclick #1054\nclick #1052\nclick #1"), IDOK);
  EXPECT_EQ(dialog.names, (std::vector<std::wstring>{L"Perforated face", L"Round cone"}));
  EXPECT_EQ(dialog.replacements, (std::vector<std::pair<double, double>>{{0, 1}}));
  EXPECT_EQ(Column(L"select iSortOrder from tblDwgDiff order by ixDwgDiff"), (std::vector<double>{1, 1, 2}))
      << "the kind answered with old 0 stays as it was; the others take their rows' order";
  EXPECT_EQ(Column(L"select ixDwgDiff from tblDiffS order by ixDiffS"), (std::vector<double>{1, 2, 3}));
}

}  // namespace
}  // namespace kvtest
