// Message boxes of the database side and the dialog-failure offer of the component installer.
#include "messages.h"

#include <cstdint>

#include "ads.h"
#include "database.h"
#if KV_HAVE_UI
#include "ui.h"
#endif

namespace {

constexpr const wchar_t* kInstallerAddress = L"https://www.kelvane.example/support/downloads/KVComponents.exe";

#if KV_HAVE_UI
// The shell's answer: above 32 when it took the request.
std::intptr_t LaunchInstaller() {
  return reinterpret_cast<std::intptr_t>(ShellExecute(nullptr, L"OPEN", kInstallerAddress, nullptr, nullptr, SW_SHOWNORMAL));
}
#else
// Without the windowing layer there is no shell to hand the address to: a failed launch.
std::intptr_t LaunchInstaller() { return 0; }
#endif

}  // namespace

namespace kvdb {

#if KV_HAVE_UI
MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind) {
  HWND active = GetActiveWindow();
  const int answer = MessageBox(active, text, title, kind == MessageBoxKind::Ok ? MB_OK : MB_YESNO | MB_ICONERROR);
  SetActiveWindow(active);
  return answer == IDYES ? MessageBoxAnswer::Yes : answer == IDNO ? MessageBoxAnswer::No : MessageBoxAnswer::Ok;
}
#else
MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind) {
  acutPrintf(L"\n[%s] %s", title, text);
  return kind == MessageBoxKind::Ok ? MessageBoxAnswer::Ok : MessageBoxAnswer::No;
}
#endif

}  // namespace kvdb

int HandleDialogResult(int result) {
  using kvdb::MessageBoxAnswer;
  using kvdb::MessageBoxKind;
  if (result != -1 && result != 3) return result;
  const MessageBoxAnswer answer = kvdb::ShowMessageBox(
      L"Dialog box could not be created.\nComponents need to be installed.\nWould you like to download a fix to this error?",
      L"Kelvane Error", MessageBoxKind::YesNoError);
  if (answer != MessageBoxAnswer::Yes) return result;
  if (LaunchInstaller() <= 32) {
    acutPrintf(L"\nError downloading %s", kInstallerAddress);
    acutPrintf(L"%s", L"\nContact Kelvane Software technical support: 1-800-555-0142");
    kvdb::ShowMessageBox(L"Error downloading KVComponents.exe.\nContact Kelvane Software technical support.\n1-800-555-0142",
                         L"Kelvane Error", MessageBoxKind::Ok);
  } else {
    acutPrintf(L"\nDownloading %s", kInstallerAddress);
    kvdb::ShowMessageBox(L"Finish downloading KVComponents.exe.\nClose AutoCAD.\nRun KVComponents.exe.\nRestart "
                         L"AutoCAD.\n\nIf you continue to have problems, contact Kelvane Software technical "
                         L"support.\n    1-800-555-0142",
                         L"Kelvane Error", MessageBoxKind::Ok);
  }
  return result;
}
