// Fixture of the data dialog tests: a fresh project file on a real connection, the application
// layer's LISP loaded in an environment that answers the dialogs' calls, queued input, and the
// per-user settings in the test's own folder.
#pragma once

#include <string>
#include <vector>

#include "fixture.h"
#include "grid/gridctrl.h"
#include "inputqueue.h"
#include "lisp.h"

namespace kvtest {

// A picture of a dialog for the documentation, written under the build folder.
void DialogPicture(CWnd& dialog, const std::string& name);

class DialogTest : public ProjectFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  static void queue(const std::string& lines) { kvinput::InputQueue::instance().loadText(lines, "test"); }
  // Evaluates LISP in the layer's environment; the printed value.
  std::string Lisp(const std::string& source) { return env_.evalString(source).print(); }
  std::string take() { return std::exchange(printed_, std::string()); }
  // "#ID@x,y" at the middle of a cell's text, or of a tree row's box.
  static std::string CellPoint(CGridCtrl& grid, int id, int row, int col);
  static std::string BoxPoint(CGridCtrl& grid, int id, int row);

  kvlisp::Environment env_;
  std::string printed_;
};

}  // namespace kvtest
