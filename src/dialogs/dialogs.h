// The data dialogs: what they share before the first of them is built (message boxes, the offer
// of the component installer after a dialog that could not be created, and a dialog's own
// connection to a project file).
#pragma once

#include <string_view>

#include "ProjectDatabase.h"
#include "bridge/bridge.h"

namespace kvdialogs {

enum class MessageBoxKind { Ok, YesNoError };
enum class MessageBoxAnswer { Ok, Yes, No };

// Shows a message box and restores the active window afterwards.
MessageBoxAnswer ShowMessageBox(const wchar_t* text, const wchar_t* title, MessageBoxKind kind);

}  // namespace kvdialogs

// A dialog's own connection to the database at path: false (with the user told, where the
// failure is worth telling) when the dialog must end. The caller Closes it after the dialog.
bool OpenPrivateConnection(std::wstring_view path, ProjectDatabasePtr& out);

// After a dialog's DoModal: for a dialog that could not be created (-1 or 3), offers the
// component installer. Gives result unchanged.
int HandleDialogResult(int result);

// LISP kv_hvac-options: block folder, [key to select], [start editing], [project file]; answers
// (selectedKey) after OK and Cancel alike.
LispStatus kv_hvac_options();
// LISP kv_hvac-ProjectExplorer: ixList, devType, drawing name, [project file]; answers
// (("state" . n) ("ixL" . ixList) ("devType" . devType)).
LispStatus kv_hvac_ProjectExplorer();
// LISP kv_hvac-dwgDiff: [project file]; edits the diffuser block kinds, answers nothing.
LispStatus kv_hvac_dwgDiff();
// LISP kv_hvac-loadDetail: title, loadId, showSystem, ventilation method, area, people, the ten
// integers of the two cooling times, flows and temperatures, the two not-calculated flags, then
// the psychrometric rows; answers 1 when the user asks for a fresh calculation, else 0.
LispStatus kv_hvac_loadDetail();
// LISP kv_hvac-floorTree and kv_hvac-zoneTree: the tree list to show; every change goes back
// through the application layer's callbacks. Answer T.
LispStatus kv_hvac_floorTree();
LispStatus kv_hvac_zoneTree();
