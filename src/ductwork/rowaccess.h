// Private to the duct row files: the project tables of the call in progress and the questions put
// to the LISP layer.
#pragma once

#include "ductrows.h"

namespace ductrows {

// The record objects of the guarded call's project; null outside a connected call.
tblDuct* ProjectDucts();
tblGlobal* ProjectGlobals();
// The project of the call: the guarded call's, else the current document's; null without one.
hvacPerProjectData* CallProject();

// Puts one question to the LISP layer (args are released). The answer's cells, or null when the
// call failed; an answer of nil is handed back as its RTNIL cell.
ResbufPtr AskLisp(resbuf* args);
// An answer's integer (RTSHORT, RTLONG, or a real truncated); false for anything else.
bool AnswerInt(const resbuf* answer, std::int32_t& out);

}  // namespace ductrows
