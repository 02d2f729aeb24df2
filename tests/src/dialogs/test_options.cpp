// The Options dialog: stored values shown through the map, dependent greying, edits and the
// browse cell driven by queued input, and what OK and Cancel write.
#include <fstream>
#include <functional>
#include <map>

#include "database/database.h"
#include "dialog_fixture.h"
#include "dialogs/COptions.h"

namespace kvtest {
namespace {

// COptions with what the test reads: the value and greying of every key when the dialog stood
// open, taken at init and at its end.
class ProbeOptions : public COptions {
 public:
  std::map<std::wstring, std::wstring> atInit, atEnd;
  std::map<std::wstring, bool> greyAtEnd;
  std::string picture;
  std::function<void(ProbeOptions&)> onInit;

 protected:
  BOOL OnInitDialog() override {
    BOOL r = COptions::OnInitDialog();
    atInit = Values();
    if (onInit) onInit(*this);
    return r;
  }
  void OnOK() override {
    Finish();
    COptions::OnOK();
  }
  void OnCancel() override {
    Finish();
    COptions::OnCancel();
  }

 private:
  std::map<std::wstring, std::wstring> Values() {
    std::map<std::wstring, std::wstring> v;
    for (int row = 1; row < grid.GetRowCount(); ++row) v[grid.GetItemText(row, 2).str()] = grid.GetItemText(row, 1).str();
    return v;
  }
  void Finish() {
    atEnd = Values();
    for (int row = 1; row < grid.GetRowCount(); ++row)
      greyAtEnd[grid.GetItemText(row, 2).str()] = grid.GetCell(row, 1)->GetBackClr() == 0xC0C0C0;
    if (!picture.empty()) DialogPicture(*this, picture);
  }
  friend class Options;
};

class Options : public DialogTest {
 protected:
  void SetUp() override {
    DialogTest::SetUp();
    Exec(L"delete from tblGlobal");
  }
  void Text(const std::wstring& key, const std::wstring& text) {
    Exec(L"insert into tblGlobal (sKey, bNumeric, sText) values ('" + key + L"', 0, '" + text + L"')");
  }
  void Numeric(const std::wstring& key, const std::wstring& number) {
    Exec(L"insert into tblGlobal (sKey, bNumeric, dNumber) values ('" + key + L"', -1, " + number + L")");
  }
  // Runs the dialog at key over the queued lines.
  INT_PTR Run(ProbeOptions& dialog, const std::wstring& key, const std::string& lines, bool startEdit = false) {
    dialog.blockFolder = folder_.path().wstring() + L"/";
    dialog.selectedKey = key;
    dialog.bStartEdit = startEdit;
    dialog.SetConnection(real_);
    queue(lines);
    return dialog.DoModal();
  }
  std::wstring Stored(const std::wstring& key) {
    auto v = Query(L"select sText from tblGlobal where sKey = '" + key + L"'");
    if (v.empty()) return L"<none>";
    return v.front().vt == VT_BSTR && v.front().bstrVal ? std::wstring(v.front().bstrVal) : L"<null>";
  }
};

TEST_F(Options, StoredValuesShowThroughTheMapAndUnknownOnesFallBackOrStayEmpty) {
  Numeric(L"ELBOW RADIUS", L"1.23456");
  Exec(L"insert into tblGlobal (sKey, bNumeric) values ('TRANSITION ANGLE', -1)");
  Text(L"AUTOFIT-RC3", L"4");
  Text(L"AUTOFIT-RC4", L"9");
  Text(L"REVERSEARROWS", L"maybe");
  Text(L"DIFFCALLOUT_LOC", L"x");
  Text(L"TOP CON", L"?");
  Text(L"SHOW BK", L"yes");
  Text(L"SHOW4THROW", L"YES");
  Text(L"LINED OVAL DUCT LABEL FORMAT", L"L%W");
  Text(L"DIFFUSER CALLOUT FORMAT: RETURN", L"Same as supply");
  Text(L"TURNING VANES", L"YES");
  Text(L"DIFFCALLOUT", L"2");
  Text(L"bldg-setMaxOSAPercent", L"YES");
  ProbeOptions dialog;
  dialog.picture = "options-dialog.png";
  EXPECT_EQ(Run(dialog, L"", "click #2"), IDCANCEL);
  const std::map<std::wstring, std::wstring> want = {
      {L"ELBOW RADIUS", L"1.2346"}, {L"TRANSITION ANGLE", L"0"}, {L"AUTOFIT-RC3", L"Wye"}, {L"AUTOFIT-RC4", L""},
      {L"REVERSEARROWS", L"Flow direction"}, {L"DIFFCALLOUT_LOC", L"Not inserted"}, {L"TOP CON", L"Elbow"},
      {L"SHOW BK", L"No"}, {L"SHOW4THROW", L"Yes"}, {L"LINED OVAL DUCT LABEL FORMAT", L"L%W"},
      {L"LINED ROUND DUCT LABEL FORMAT", L"Same as non-lined duct label format"},
      {L"DIFFUSER CALLOUT FORMAT: RETURN", L"Same as supply"}, {L"TURNING VANES", L"Yes"},
      {L"DIFFCALLOUT", L"Circle"}, {L"AUTOFIT-RC2", L""}, {L"Default Fittings", L""}};
  for (const auto& [key, shown] : want) EXPECT_EQ(dialog.atInit[key], shown) << key;
  // With "Circle" none of the five custom format rows is live; the row below the maximum
  // ventilation switch is, since the switch says Yes.
  for (const wchar_t* key : {L"DIFFUSER CALLOUT LINE 1", L"DIFFUSER CALLOUT LINE 2", L"DIFFUSER CALLOUT FORMAT",
                             L"DIFFUSER CALLOUT FORMAT: RETURN", L"DIFFUSER CALLOUT FORMAT: EXHAUST"})
    EXPECT_TRUE(dialog.greyAtEnd[key]) << key;
  EXPECT_FALSE(dialog.greyAtEnd[L"CFM LABEL FORMAT"]);
  EXPECT_FALSE(dialog.greyAtEnd[L"bldg-maxOSAPercent"]);
  EXPECT_EQ(Number(L"select count(*) from tblGlobal"), 14) << "Cancel writes nothing";
}

TEST_F(Options, OkWritesEveryKeyNewRowsTakeTheirKindAndOldTextRowsKeepText) {
  Text(L"TURNING VANES", L"YES");
  Text(L"DIFFCALLOUT", L"2");
  Text(L"DIFFUSER CALLOUT LINE 1", L"kept");
  ProbeOptions dialog;
  // Typing into a greyed row does nothing; the row is still saved as it was.
  EXPECT_EQ(Run(dialog, L"DIFFUSER CALLOUT LINE 1", "type changed\nclick #1"), IDOK);
  EXPECT_EQ(dialog.atEnd[L"DIFFUSER CALLOUT LINE 1"], L"kept");
  EXPECT_EQ(Number(L"select count(*) from tblGlobal"), 101) << "a row for every key, none for a heading";
  EXPECT_EQ(Number(L"select count(*) from tblGlobal where sKey in ('Fittings', 'Supply', 'Miscellaneous')"), 0);
  EXPECT_EQ(Stored(L"DIFFUSER CALLOUT LINE 1"), L"kept");
  EXPECT_EQ(Number(L"select bNumeric from tblGlobal where sKey = 'TURNING VANES'"), 0);
  EXPECT_EQ(Stored(L"TURNING VANES"), L"YES");
  EXPECT_EQ(Number(L"select bNumeric from tblGlobal where sKey = 'ELBOW RADIUS'"), -1);
  EXPECT_EQ(Number(L"select dNumber from tblGlobal where sKey = 'ELBOW RADIUS'"), 0) << "an empty number cell stores 0";
  EXPECT_EQ(Stored(L"CFM LABEL FORMAT"), L"");
  EXPECT_EQ(Stored(L"SHOW BK"), L"NO");
  EXPECT_EQ(Stored(L"LINED ROUND DUCT LABEL FORMAT"), L"") << "the same-as choice stores empty text";
  EXPECT_EQ(Number(L"select dNumber from tblGlobal where sKey = '3DApproximation'"), 8);

  // A second run: a numeric cell taken as a whole number; typed text that is no number is 0.
  ProbeOptions again;
  Exec(L"delete from tblGlobal where sKey = 'TURNING VANES'");
  EXPECT_EQ(Run(again, L"3DApproximation", "type 12.7\nkey ENTER\nclick #1"), IDOK);
  EXPECT_EQ(Number(L"select dNumber from tblGlobal where sKey = '3DApproximation'"), 12);
  EXPECT_EQ(Number(L"select bNumeric from tblGlobal where sKey = 'TURNING VANES'"), -1) << "a new row is numeric";
  ProbeOptions third;
  EXPECT_EQ(Run(third, L"ELBOW RADIUS", "type wide\nkey ENTER\nclick #1"), IDOK);
  EXPECT_EQ(Number(L"select dNumber from tblGlobal where sKey = 'ELBOW RADIUS'"), 0);
}

TEST_F(Options, ACustomCalloutChoiceLightsItsRowsAndTheSelectionFollowsTheFocus) {
  Text(L"DIFFCALLOUT", L"2");
  ProbeOptions dialog;
  // The list drops with Circle chosen; ten rows down is "Custom two line", the last.
  std::string lines = "key F2\n";
  for (int i = 0; i < 10; ++i) lines += "key DOWN\n";
  lines += "key ENTER\nkey ENTER\nkey DOWN\nclick #1";
  EXPECT_EQ(Run(dialog, L"DIFFCALLOUT", lines), IDOK);
  EXPECT_EQ(dialog.atEnd[L"DIFFCALLOUT"], L"Custom two line");
  EXPECT_FALSE(dialog.greyAtEnd[L"DIFFUSER CALLOUT LINE 1"]);
  EXPECT_FALSE(dialog.greyAtEnd[L"DIFFUSER CALLOUT LINE 2"]);
  EXPECT_TRUE(dialog.greyAtEnd[L"DIFFUSER CALLOUT FORMAT"]);
  EXPECT_EQ(Stored(L"DIFFCALLOUT"), L"15");
  EXPECT_EQ(dialog.selectedKey, L"DIFFUSER CALLOUT LINE 1") << "the row below took the focus";

  // Headings and labels refuse editing; the key comes back after Cancel too.
  ProbeOptions heading;
  EXPECT_EQ(Run(heading, L"SHOW BK", "key LEFT\ntype x\nkey ESC"), IDCANCEL);
  EXPECT_EQ(heading.selectedKey, L"SHOW BK");
  EXPECT_EQ(heading.atEnd[L"SHOW BK"], L"No");
}

TEST_F(Options, BrowseCellTakesTheChosenBlockOrGoesBackWhenTheFileDialogIsCancelled) {
  Text(L"ELEVLABEL TOP BLOCK", L"OLD");
  // The edit is open at start; its one choice "Browse. . ." stands in the list under the text.
  auto browse = [](const std::string& answer) {
    return [answer](ProbeOptions& d) {
      auto* combo = dynamic_cast<CGridCellCombo*>(d.grid.GetCell(d.grid.GetFocusRow(), 1));
      CWnd* list = combo ? combo->GetOpenEditor() : nullptr;
      ASSERT_NE(list, nullptr);
      CRect r;
      list->GetWindowRect(&r);
      d.grid.ScreenToClient(&r);
      const int item = r.top + 2 + d.grid.GetRowHeight(d.grid.GetFocusRow()) * 3 / 2 + 2;
      queue("click #1048@" + std::to_string(r.left + 20) + "," + std::to_string(item) + "\n" + answer + "\nkey ENTER\nclick #1");
    };
  };
  ProbeOptions cancelled;
  cancelled.onInit = browse("file cancel");
  EXPECT_EQ(Run(cancelled, L"ELEVLABEL TOP BLOCK", "", true), IDOK);
  EXPECT_EQ(Stored(L"ELEVLABEL TOP BLOCK"), L"OLD");
  EXPECT_EQ(kvinput::InputQueue::instance().size(), 0u);
  std::ofstream(folder_.path() / "TEE-3.dwg") << "block";
  ProbeOptions chosen;
  chosen.onInit = browse("file " + (folder_.path() / "TEE-3.dwg").string());
  EXPECT_EQ(Run(chosen, L"ELEVLABEL TOP BLOCK", "", true), IDOK);
  EXPECT_EQ(Stored(L"ELEVLABEL TOP BLOCK"), L"TEE-3");
}

}  // namespace
}  // namespace kvtest
