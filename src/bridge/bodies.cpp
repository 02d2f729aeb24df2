// The bridge's own LISP bodies over module and project state.
#include "bridge.h"

LispStatus kv_hvac_setDoDocumentActivated() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  bool on = true;
  if (ArgBool(cursor, on)) SetDoDocumentActivated(on);
  acedRetNil();
  return LispStatus::Success;
}

LispStatus kv_hvac_setIsMetric() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  bool metric = false;
  if (!ArgBool(cursor, metric)) return LispStatus::WrongType;
  // The guard has made sure of a current document before this runs.
  if (hvacPerProjectData* project = CurrentProject(DocumentRegistry())) project->setIsMetric(metric);
  acedRetNil();
  return LispStatus::Success;
}

LispStatus c_checkkv() {
  LispArgs args;
  const kvDocumentRegistry* registry = DocumentRegistry();
  acutPrintf(L"\nDocument list");
  if (registry)
    for (const auto& document : registry->documents()) acutPrintf(L"\n%s", document->path().c_str());
  acutPrintf(L"\nProject list");
  if (registry)
    for (const auto& project : registry->projects()) acutPrintf(L"\n%s", project->folder().c_str());
  acedRetNil();
  return LispStatus::Success;
}
