// Module-wide state: the registry pointer, the activation flag, the version text, the filters.
#include "state.h"

namespace {

std::unique_ptr<kvDocumentRegistry>& RegistrySlot() {
  static std::unique_ptr<kvDocumentRegistry> registry;
  return registry;
}

bool gDoDocumentActivated = true;

}  // namespace

const ACHAR* ModuleVersionText() { return L"7.3.51 (26532)"; }

bool DoDocumentActivated() { return gDoDocumentActivated; }
void SetDoDocumentActivated(bool on) { gDoDocumentActivated = on; }

kvDocumentRegistry* DocumentRegistry() { return RegistrySlot().get(); }

void SetDocumentRegistry(std::unique_ptr<kvDocumentRegistry> registry) {
  // The old registry goes first, so that its reactors are gone before new ones are added.
  RegistrySlot().reset();
  RegistrySlot() = std::move(registry);
}

SelectionFilters& ModuleSelectionFilters() {
  static SelectionFilters filters;
  return filters;
}
