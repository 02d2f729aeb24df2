// Message boxes of the database side and the dialog-failure offer of the component installer.
#include "messages.h"

#include <string>

#include "ads.h"
#include "database.h"

namespace kvdb {

MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind) {
  acutPrintf(L"\n[%s] %s", title, text);
  return kind == MessageBoxKind::Ok ? MessageBoxAnswer::Ok : MessageBoxAnswer::No;
}

}  // namespace kvdb

namespace {

constexpr const wchar_t* kInstallerAddress = L"https://www.kelvane.example/support/downloads/KVComponents.exe";

// The host has no shell to hand an address to; the answer is that of a failed launch (32 or
// below), so the user is told to contact support rather than wait for a download.
int LaunchInstaller(const wchar_t* /*address*/) { return 0; }

}  // namespace

int HandleDialogResult(int result) {
  using kvdb::MessageBoxAnswer;
  using kvdb::MessageBoxKind;
  if (result != -1 && result != 3) return result;
  const MessageBoxAnswer answer = kvdb::ShowMessageBox(
      L"Dialog box could not be created.\nComponents need to be installed.\nWould you like to download a fix to this error?",
      L"Kelvane Error", MessageBoxKind::YesNoError);
  if (answer != MessageBoxAnswer::Yes) return result;
  if (LaunchInstaller(kInstallerAddress) <= 32) {
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
