// Message boxes of the dialogs and the dialog-failure offer of the component installer.
#include <cstdint>

#include "ads.h"
#include "dialogs/dialogs.h"
#include "ui.h"

namespace {

constexpr const wchar_t* kInstallerAddress = L"https://www.kelvane.example/support/downloads/KVComponents.exe";

// The shell's answer: above 32 when it took the request.
std::intptr_t LaunchInstaller() {
  return reinterpret_cast<std::intptr_t>(ShellExecute(nullptr, L"OPEN", kInstallerAddress, nullptr, nullptr, SW_SHOWNORMAL));
}

}  // namespace

namespace kvdialogs {

MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind) {
  HWND active = GetActiveWindow();
  const int answer = MessageBox(active, text, title, kind == MessageBoxKind::Ok ? MB_OK : MB_YESNO | MB_ICONERROR);
  SetActiveWindow(active);
  return answer == IDYES ? MessageBoxAnswer::Yes : answer == IDNO ? MessageBoxAnswer::No : MessageBoxAnswer::Ok;
}

}  // namespace kvdialogs

int HandleDialogResult(int result) {
  using kvdialogs::MessageBoxAnswer;
  using kvdialogs::MessageBoxKind;
  if (result != -1 && result != 3) return result;
  const MessageBoxAnswer answer = kvdialogs::ShowMessageBox(
      L"Dialog box could not be created.\nComponents need to be installed.\nWould you like to download a fix to this error?",
      L"Kelvane Error", MessageBoxKind::YesNoError);
  if (answer != MessageBoxAnswer::Yes) return result;
  if (LaunchInstaller() <= 32) {
    acutPrintf(L"\nError downloading %s", kInstallerAddress);
    acutPrintf(L"%s", L"\nContact Kelvane Software technical support: 1-800-555-0142");
    kvdialogs::ShowMessageBox(L"Error downloading KVComponents.exe.\nContact Kelvane Software technical support.\n1-800-555-0142",
                         L"Kelvane Error", MessageBoxKind::Ok);
  } else {
    acutPrintf(L"\nDownloading %s", kInstallerAddress);
    kvdialogs::ShowMessageBox(L"Finish downloading KVComponents.exe.\nClose AutoCAD.\nRun KVComponents.exe.\nRestart "
                         L"AutoCAD.\n\nIf you continue to have problems, contact Kelvane Software technical "
                         L"support.\n    1-800-555-0142",
                         L"Kelvane Error", MessageBoxKind::Ok);
  }
  return result;
}
