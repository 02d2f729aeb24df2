// The module's top: the guard round every LISP body, the LISP function table, and the classes
// and command groups the module registers and removes. It stands on every folder of the module;
// none of them includes it.
#pragma once

#include <functional>
#include <string>

#include "bridge/bridge.h"
#include "rx.h"

class AcRxClass;

// Runs one LISP body with the working document locked. With a registry, the current document's
// project is connected first and the body runs in its project context; without a current
// document the body does not run (nil). Gives the host's return code. Exceptions from the body
// are reported, the document is unlocked, and they travel on.
int LispGuard(LispBody body, kvDocumentRegistry* registry);

// One row of the LISP function table: its position is the function code.
struct LispFunctionRow {
  const ACHAR* name;
  int (*entry)();
};

inline constexpr int kLispFunctionCount = 54;

// The module's table, 54 rows.
const LispFunctionRow* LispFunctionTable();
// Defines count rows in the current document's LISP environment, codes from base.
void RegisterLispFunctions(const LispFunctionRow* table, int count, int base);

// Runs one step of the entry point (start, drawing load, stop): what escapes it is reported and
// refuses the message.
AcRx::AppRetCode Shielded(const std::function<void()>& action);

// Registers a class through rxInit unless a class of that name is known; a known class must be
// the one in slot, else the host aborts with "Class mismatch".
void EnsureClass(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name);
// The module's entity classes, at start and stop.
void RegisterEntityClasses();
void UnregisterEntityClasses();
// Removes a command group from the host's command stack, if there is one.
void RemoveCommandGroup(const ACHAR* group);
