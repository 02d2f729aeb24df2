#include "dialog_fixture.h"

#include <cstdlib>

namespace kvtest {

void DialogTest::SetUp() {
  ProjectFixture::SetUp();
  setenv("XDG_CONFIG_HOME", (folder_.path() / "config").c_str(), 1);
  kvinput::InputQueue::instance().clear();
  env_.load("lisp/projectdb.lsp");
  env_.load("lisp/kv_hvac-dialogs.lsp");
  env_.evalString("(defun getvar (name) \"" + folder_.path().string() + "/\")");
  kvads::setCurrentSession(&env_);
  kvads::setConsoleSink([this](std::string_view s) { printed_ += s; });
}

void DialogTest::TearDown() {
  kvads::setConsoleSink(nullptr);
  kvads::setCurrentSession(nullptr);
  kvinput::InputQueue::instance().clear();
  kvui::ResetWindowingState();
  ProjectFixture::TearDown();
}

std::string DialogTest::CellPoint(CGridCtrl& grid, int id, int row, int col) {
  CRect r;
  grid.GetCellRect(row, col, &r);
  return "#" + std::to_string(id) + "@" + std::to_string((r.left + r.right) / 2) + "," + std::to_string((r.top + r.bottom) / 2);
}

std::string DialogTest::BoxPoint(CGridCtrl& grid, int id, int row) {
  CRect r;
  grid.GetCellRect(row, 0, &r);
  const int x = r.left + 10 * (grid.m_TreeColumn.GetLevel(row) - 1) + 2 + 4, y = r.top + 4 + 4;
  return "#" + std::to_string(id) + "@" + std::to_string(x) + "," + std::to_string(y);
}

void DialogPicture(CWnd& dialog, const std::string& name) {
  kvui::RenderWindowToPng(dialog.m_hWnd, std::string(KV_BINARY_DIR) + "/" + name);
}

}  // namespace kvtest
