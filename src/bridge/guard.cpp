// The guard round every LISP body: document lock, database connection, status mapping.
#include <exception>

#include "doclock.h"
#include "state.h"

int LispGuard(LispBody body, kvDocumentRegistry* registry) {
  // A function that needs the database has nothing to work on without a document.
  if (registry && !CurrentDocument(registry)) return RSRSLT;
  WorkingDocumentLock lock;
  try {
    // The connection prints its own failure; LISP then sees nil, not an error.
    if (registry && !ConnectCurrentDocument(*registry, true)) return RSRSLT;
    return MapLispStatus(body());
  } catch (const std::exception&) {
    acutPrintf(L"\nGeneral Exception");
    throw;
  } catch (...) {
    acutPrintf(L"\nError");
    throw;
  }
}

bool ConnectCurrentDocument(kvDocumentRegistry& registry, bool report) {
  hvacPerDocData* document = CurrentDocument(&registry);
  if (!document) return false;
  auto connect = GetProjectDatabaseHooks().connectDocument;
  if (connect) return connect(*document, report);
  static bool told = false;
  if (report && !told) {
    acutPrintf(L"\nThe project database is not built yet; no project is connected.\n");
    told = true;
  }
  return true;
}
