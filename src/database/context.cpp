// The project context of a guarded call: resolved once by the guard, read by the bodies below it.
#include "database.h"

namespace {

const ProjectContext* gCurrent = nullptr;

}  // namespace

ProjectContext ContextOf(hvacPerDocData& document) {
  AcDbDatabase* drawing = document.database();
  if (!drawing) drawing = acdbHostApplicationServices()->workingDatabase();
  return ProjectContext{document.hvacProject(), DatabaseOf(document.hvacProject()), drawing};
}

const ProjectContext* CurrentProjectContext() { return gCurrent; }

ProjectContextScope::ProjectContextScope(const ProjectContext& context) : previous_(gCurrent) {
  gCurrent = &context;
}

ProjectContextScope::~ProjectContextScope() { gCurrent = previous_; }

ProjectDatabasePtr GetDatabaseObject(const ProjectContext& context) { return context.database.connection(); }
