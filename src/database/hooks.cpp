// Installs the database hooks as the module loads, before the host sends it any message. Nothing
// refers to this file: only the module, which links the folder whole, carries it; tests install
// the hooks themselves when they want them.
#include "database.h"

namespace {

[[maybe_unused]] const bool kHooksInstalled = (InstallProjectDatabaseHooks(), true);

}  // namespace
