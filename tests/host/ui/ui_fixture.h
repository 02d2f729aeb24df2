// Shared fixture of the windowing tests: a private config folder, an empty input queue and no
// windows left behind.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "inputqueue.h"
#include "ui.h"

class UiTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Queues lines of the input grammar.
  static void queue(const std::string& lines) { kvinput::InputQueue::instance().loadText(lines, "test"); }
  std::string tempDir;
};

// Readable values in failure messages.
inline void PrintTo(const CRect& r, std::ostream* os) { *os << "(" << r.left << "," << r.top << "," << r.right << "," << r.bottom << ")"; }
inline void PrintTo(const CString& s, std::ostream* os) { *os << '"' << kvui::toUtf8(s.str()) << '"'; }
inline void PrintTo(const CSize& s, std::ostream* os) { *os << s.cx << "x" << s.cy; }

// A top-level window of the plain frame class with a client area of the given size.
HWND makeFrame(int cx, int cy, LPCTSTR title = L"Frame");
// The colour of one pixel of a memory DC.
COLORREF pixel(CDC& dc, int x, int y);
