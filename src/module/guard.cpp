// The guard round every LISP body: document lock, database connection and project context,
// status mapping.
#include <exception>

#include "database/database.h"
#include "module/module.h"

int LispGuard(LispBody body, kvDocumentRegistry* registry) {
  hvacPerDocData* document = registry ? CurrentDocument(registry) : nullptr;
  // A function that needs the database has nothing to work on without a document.
  if (registry && !document) return RSRSLT;
  WorkingDocumentLock lock;
  try {
    if (!document) return MapLispStatus(body());
    // The connection prints its own failure; LISP then sees nil, not an error.
    if (!ConnectDocument(*document, true)) return RSRSLT;
    const ProjectContext context = ContextOf(*document);
    ProjectContextScope scope(context);
    return MapLispStatus(body());
  } catch (const std::exception&) {
    acutPrintf(L"\nGeneral Exception");
    throw;
  } catch (...) {
    acutPrintf(L"\nError");
    throw;
  }
}
