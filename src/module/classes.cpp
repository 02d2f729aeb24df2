// Run-time classes the module registers at start and removes at stop.
#include "ed.h"
#include "module/module.h"
#include "rx.h"

void EnsureClass(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name) {
  AcRxClass* known = acrxFindAcRxClass(name);
  if (slot && known) {
    // Two modules answering to one class name would file each other's objects wrongly.
    if (slot != known) acrx_abort(L"Class mismatch");
    return;
  }
  rxInit();
}

// The duct and room entities join both lists, each with EnsureClass and deleteAcRxClass in this
// order (duct first), once their folders define them; until then nothing is registered.
void RegisterEntityClasses() {}

void UnregisterEntityClasses() {}

void RemoveCommandGroup(const ACHAR* group) {
  // Looked up anew for each group: removing one may replace the stack's entry.
  AcEdCommandStack* stack = AcEdCommandStack::cast(acrxSysRegistry()->at(ACRX_COMMAND_DOCK));
  if (stack) stack->removeGroup(group);
}
