// Run-time classes the module registers at start and removes at stop.
#include "ed.h"
#include "module/module.h"
#include "rx.h"

// Entity classes of other folders.
#include "ductwork/KvDuct.h"
#include "rooms/rooms.h"

void EnsureClass(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name) {
  AcRxClass* known = acrxFindAcRxClass(name);
  if (slot && known) {
    // Two modules answering to one class name would file each other's objects wrongly.
    if (slot != known) acrx_abort(L"Class mismatch");
    return;
  }
  rxInit();
}

// The entity classes, each through EnsureClass at start and deleteAcRxClass at stop, duct first.
void RegisterEntityClasses() {
  RegisterDuctClass(EnsureClass);
  SetEntityIndexReader(L"KvDuct", DuctIndexOf);
  RegisterRoomClass(EnsureClass);
  // A leader lives inside its room, but a drawing may hold one alone.
  RegisterLeaderClass(EnsureClass);
  SetEntityIndexReader(L"hvacRoom", RoomIndexOf);
}

void UnregisterEntityClasses() {
  UnregisterDuctClass();
  UnregisterRoomClasses();
}

void RemoveCommandGroup(const ACHAR* group) {
  // Looked up anew for each group: removing one may replace the stack's entry.
  AcEdCommandStack* stack = AcEdCommandStack::cast(acrxSysRegistry()->at(ACRX_COMMAND_DOCK));
  if (stack) stack->removeGroup(group);
}
