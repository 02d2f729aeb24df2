// Module-wide state shared by the bridge's own files: the filter indices of the selection
// functions.
#pragma once

#include <cstdint>

#include "bridge.h"

// The index filters last given to ssgetx-duct and ssgetx-room; -1 passes every entity.
struct SelectionFilters {
  std::int32_t duct = -1;
  std::int32_t room = -1;
};
SelectionFilters& ModuleSelectionFilters();
