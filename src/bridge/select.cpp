// ssgetx-duct and ssgetx-room: entities of one class in model space, by index.
#include <map>
#include <memory>
#include <string>

#include "bridge.h"
#include "state.h"

namespace {

std::map<std::wstring, EntityIndexReader>& IndexReaders() {
  static std::map<std::wstring, EntityIndexReader> readers;
  return readers;
}

// Whether an open entity goes into the selection.
bool Passes(const AcDbEntity& entity, const AcRxClass* cls, std::int32_t filter,
            EntityIndexReader reader) {
  if (!entity.isKindOf(cls)) return false;
  return filter < 0 || (reader && reader(entity) == filter);
}

// Appends the name of every passing entity of model space behind tail.
void CollectNames(AcDbBlockTableRecord& modelSpace, const AcRxClass* cls, std::int32_t filter,
                  resbuf*& tail) {
  EntityIndexReader reader = nullptr;
  if (auto found = IndexReaders().find(cls->name()); found != IndexReaders().end())
    reader = found->second;
  AcDbBlockTableRecordIterator* raw = nullptr;
  if (modelSpace.newIterator(raw) != Acad::eOk) return;
  std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
  for (; !it->done(); it->step()) {
    AcDbObjectId id;
    if (it->getEntityId(id) != Acad::eOk) continue;
    AcDbObjectPointer<AcDbEntity> entity(id, AcDb::kForRead);
    ads_name name;
    if (entity.openStatus() == Acad::eOk && Passes(*entity, cls, filter, reader) &&
        acdbGetAdsName(name, id) == Acad::eOk)
      AppendCells(tail, acutBuildList(RTENAME, name, 0));
  }
}

LispStatus SelectOfClass(const ACHAR* className, std::int32_t& filterSlot) {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t filter = -1;
  filterSlot = ArgInt(cursor, filter) ? filter : -1;
  RetModelSpaceEntities(className, filterSlot);
  return LispStatus::Success;
}

}  // namespace

void SetEntityIndexReader(const ACHAR* className, EntityIndexReader reader) {
  IndexReaders()[className] = reader;
}

void RetModelSpaceEntities(const ACHAR* className, std::int32_t filter) {
  ResultList list;
  const AcRxClass* cls = acrxFindAcRxClass(className);
  AcDbObjectPointer<AcDbBlockTableRecord> modelSpace;
  if (cls && OpenModelSpace(acdbHostApplicationServices()->workingDatabase(), AcDb::kForRead, modelSpace) == Acad::eOk)
    CollectNames(*modelSpace, cls, filter, list.tail());
  list.close();
}

LispStatus ssgetx_duct() { return SelectOfClass(L"KvDuct", ModuleSelectionFilters().duct); }
LispStatus ssgetx_room() { return SelectOfClass(L"hvacRoom", ModuleSelectionFilters().room); }
