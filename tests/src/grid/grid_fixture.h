// Shared fixture of the grid tests: an owner window that records the grid's notifications in
// order and answers them as a test says, and a grid inside it.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "gridctrl.h"
#include "inputqueue.h"

struct Note {
  int code, row, col;
  CString text;
  bool operator==(const Note& o) const { return code == o.code && row == o.row && col == o.col; }
};
void PrintTo(const Note& n, std::ostream* os);

// Records WM_NOTIFY from the grid; answers[code] is returned for that code.
class NoteOwner : public CWnd {
 public:
  std::vector<Note> notes;
  std::map<int, LRESULT> answers;
  // Seen at each -2: the item text of the click's cell and the height of the row below it.
  std::vector<int> heightBelowAtClick;
  CGridCtrl* grid = nullptr;
  std::vector<int> codes() const;
  void clear() { notes.clear(); }

 protected:
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override;
};

class GridTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  static void queue(const std::string& lines) { kvinput::InputQueue::instance().loadText(lines, "test"); }
  // Queues lines and delivers them.
  static void run(const std::string& lines);
  // "#ID@x,y" at the middle of a cell's text rectangle (at dx from its left when dx >= 0).
  std::string at(int row, int col, int dx = -1);
  // A grid of rows x cols with one fixed row and one fixed column, texts "r<row>c<col>".
  void fill(int rows, int cols, int fixedRows = 1, int fixedCols = 1);

  NoteOwner owner;
  CGridCtrl grid;
  std::string tempDir;
};

inline constexpr int kGridId = 1007;
