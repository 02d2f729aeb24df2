// The editor object with its reactors, registered as "AcEditor" when the library loads.
#include <algorithm>
#include <vector>

#include "ap.h"

namespace {
std::vector<AcEditorReactor*>& editorReactors() {
  static std::vector<AcEditorReactor*> r;
  return r;
}
}  // namespace

AcRxClass* AcEditor::desc() {
  static AcRxClass* cls = newAcRxClass(L"AcEditor", L"AcRxObject", 0, 0, 0, nullptr, L"", L"");
  return cls;
}
AcRxClass* AcEditor::isA() const { return AcEditor::desc(); }

void AcEditor::addReactor(AcEditorReactor* reactor) {
  auto& r = editorReactors();
  if (reactor != nullptr && std::find(r.begin(), r.end(), reactor) == r.end()) r.push_back(reactor);
}

void AcEditor::removeReactor(AcEditorReactor* reactor) {
  auto& r = editorReactors();
  r.erase(std::remove(r.begin(), r.end(), reactor), r.end());
}

// A reactor may remove itself while it is called, so the walk runs over a copy.
void AcEditor::forEachReactor(const std::function<void(AcEditorReactor*)>& fn) const {
  std::vector<AcEditorReactor*> copy = editorReactors();
  for (AcEditorReactor* r : copy)
    if (std::find(editorReactors().begin(), editorReactors().end(), r) != editorReactors().end()) fn(r);
}

AcEditor* acedEditorPtr() {
  static AcEditor editor;
  return &editor;
}

namespace {
const bool registered = [] {
  acrxSysRegistry()->atPut(L"AcEditor", acedEditorPtr());
  return true;
}();
}  // namespace
