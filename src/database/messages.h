// Message boxes of the database side, and the offer of the component installer after a dialog
// that could not be created.
#pragma once

namespace kvdb {

enum class MessageBoxKind { Ok, YesNoError };
enum class MessageBoxAnswer { Ok, Yes, No };

// Shows a message box and restores the active window afterwards. Without the windowing layer in
// the configuration the box is printed on the command line and answered as closed (Ok, or No).
MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind);

}  // namespace kvdb
