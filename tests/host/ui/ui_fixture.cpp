// Shared fixture of the windowing tests.
#include "ui_fixture.h"

#include <cstdlib>
#include <filesystem>

void UiTest::SetUp() {
  tempDir = (std::filesystem::temp_directory_path() / ("kvui-" + std::to_string(::getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name())).string();
  std::filesystem::remove_all(tempDir);
  std::filesystem::create_directories(tempDir);
  ::setenv("XDG_CONFIG_HOME", tempDir.c_str(), 1);
  kvinput::InputQueue::instance().clear();
}

void UiTest::TearDown() {
  kvui::ResetWindowingState();
  kvinput::InputQueue::instance().clear();
  std::filesystem::remove_all(tempDir);
}

HWND makeFrame(int cx, int cy, LPCTSTR title) {
  return CreateWindowEx(0, L"KvHostFrame", title, WS_POPUP | WS_VISIBLE, 100, 100, cx, cy, nullptr, nullptr, nullptr, nullptr);
}

COLORREF pixel(CDC& dc, int x, int y) { return dc.GetPixel(x, y); }
