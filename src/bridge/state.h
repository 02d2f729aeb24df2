// Module-wide state shared by the bridge's own files: the registry's lifetime and the filter
// indices of the selection functions.
#pragma once

#include <memory>

#include "bridge.h"

class AcRxClass;

// Makes the registry (module start) or destroys it (module stop, with null).
void SetDocumentRegistry(std::unique_ptr<kvDocumentRegistry> registry);

// The index filters last given to ssgetx-duct and ssgetx-room; -1 passes every entity.
struct SelectionFilters {
  std::int32_t duct = -1;
  std::int32_t room = -1;
};
SelectionFilters& ModuleSelectionFilters();

// Connects the current document's project through the database hooks. Without hooks it says once
// that the project database is not built yet and counts as connected, so guarded bodies still run.
bool ConnectCurrentDocument(kvDocumentRegistry& registry, bool report);

// Registers a class through rxInit unless a class of that name is known; a known class must be
// the one in slot, else the host aborts with "Class mismatch".
void EnsureClass(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name);
// The module's entity classes, at start and stop.
void RegisterEntityClasses();
void UnregisterEntityClasses();
// Removes a command group from the host's command stack, if there is one.
void RemoveCommandGroup(const ACHAR* group);
