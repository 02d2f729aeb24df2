// Message boxes of the database side, and the offer of the component installer after a dialog
// that could not be created.
#pragma once

namespace kvdb {

enum class MessageBoxKind { Ok, YesNoError };
enum class MessageBoxAnswer { Ok, Yes, No };

// Shows a message box. Until the host has a windowing layer the box is printed to the command
// line and answered as a person who closes it would: Ok, or No for a question.
MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind);

}  // namespace kvdb
