// A dialog that could not be created offers the component installer through a message box.
#include <gtest/gtest.h>

#include <string>

#include "ads.h"
#include "dialogs/dialogs.h"
#include "inputqueue.h"
#include "ui.h"

namespace {

void Answer(const char* button) {
  kvinput::InputQueue::instance().loadText(std::string("answer ") + button, "test");
}

TEST(DialogFailure, OffersTheInstallerOnlyForADialogThatCouldNotBeCreated) {
  kvinput::InputQueue::instance().clear();
  kvui::ClearShellRequests();
  EXPECT_EQ(HandleDialogResult(1), 1);
  EXPECT_EQ(HandleDialogResult(2), 2);

  Answer("no");  // declined: the result passes on and nothing is launched
  EXPECT_EQ(HandleDialogResult(-1), -1);
  EXPECT_TRUE(kvui::ShellRequests().empty());
  EXPECT_TRUE(kvinput::InputQueue::instance().empty());

  Answer("yes");
  EXPECT_EQ(HandleDialogResult(3), 3);
  ASSERT_EQ(kvui::ShellRequests().size(), 1u);
  const std::wstring file = kvui::ShellRequests()[0].file.GetString();
  EXPECT_EQ(std::wstring(kvui::ShellRequests()[0].operation.GetString()), L"OPEN");
  EXPECT_TRUE(file.ends_with(L"support/downloads/KVComponents.exe")) << kvads::toUtf8(file);
  kvui::ClearShellRequests();
}

}  // namespace
