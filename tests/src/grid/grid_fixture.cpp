// Shared fixture of the grid tests.
#include "grid_fixture.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

void PrintTo(const Note& n, std::ostream* os) { *os << "{" << n.code << "," << n.row << "," << n.col << "}"; }

std::vector<int> NoteOwner::codes() const {
  std::vector<int> out;
  for (const Note& n : notes) out.push_back(n.code);
  return out;
}

BOOL NoteOwner::OnNotify(WPARAM w, LPARAM l, LRESULT* result) {
  if (w != static_cast<WPARAM>(kGridId)) return CWnd::OnNotify(w, l, result);
  auto* nm = reinterpret_cast<NM_GRIDVIEW*>(l);
  Note n{static_cast<int>(nm->hdr.code), nm->iRow, nm->iColumn, CString()};
  if (nm->hdr.code == GVN_COMBOSELCHANGE) n.text = reinterpret_cast<GV_DISPINFO*>(l)->text;
  notes.push_back(n);
  if (nm->hdr.code == GVN_CLICK && grid) heightBelowAtClick.push_back(grid->GetRowHeight(nm->iRow + 1));
  auto it = answers.find(n.code);
  *result = it == answers.end() ? 0 : it->second;
  return TRUE;
}

void GridTest::SetUp() {
  tempDir = (std::filesystem::temp_directory_path() / ("kvgrid-" + std::to_string(::getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name())).string();
  std::filesystem::create_directories(tempDir);
  ::setenv("XDG_CONFIG_HOME", tempDir.c_str(), 1);
  kvinput::InputQueue::instance().clear();
  ASSERT_TRUE(owner.CreateEx(0, L"KvHostFrame", L"Grid Owner", WS_POPUP | WS_VISIBLE, CRect(50, 50, 450, 350), nullptr, 0));
  ASSERT_TRUE(grid.Create(CRect(0, 0, 400, 300), &owner, kGridId));
  owner.grid = &grid;
}

void GridTest::TearDown() {
  grid.DestroyWindow();
  kvui::ResetWindowingState();
  kvinput::InputQueue::instance().clear();
  std::filesystem::remove_all(tempDir);
}

void GridTest::run(const std::string& lines) {
  queue(lines);
  kvui::DeliverQueuedInput();
}

std::string GridTest::at(int row, int col, int dx) {
  CRect r;
  EXPECT_TRUE(grid.GetCellRect(row, col, &r)) << "cell " << row << "," << col << " is not on screen";
  grid.GetCell(row, col)->GetTextRect(&r);
  int x = dx >= 0 ? r.left + dx : (r.left + r.right) / 2;
  return "#" + std::to_string(kGridId) + "@" + std::to_string(x) + "," + std::to_string((r.top + r.bottom) / 2);
}

void GridTest::fill(int rows, int cols, int fixedRows, int fixedCols) {
  grid.SetRowCount(rows);
  grid.SetColumnCount(cols);
  grid.SetFixedRowCount(fixedRows);
  grid.SetFixedColumnCount(fixedCols);
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < cols; ++c) grid.GetCell(r, c)->SetText((L"r" + std::to_wstring(r) + L"c" + std::to_wstring(c)).c_str());
}
