// ssgetx-duct and ssgetx-room: entities of one class in model space, by index.
#include <map>
#include <memory>
#include <string>

#include "bodies.h"
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

AcDbBlockTableRecord* OpenModelSpace(AcDbDatabase* database) {
  AcDbBlockTable* table = nullptr;
  if (!database || database->getBlockTable(table, AcDb::kForRead) != Acad::eOk) return nullptr;
  AcDbBlockTableRecord* modelSpace = nullptr;
  acdbOpenObject(modelSpace, table->getIdAt(ACDB_MODEL_SPACE), AcDb::kForRead);
  table->close();
  return modelSpace;
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
    AcDbEntity* entity = nullptr;
    if (it->getEntity(entity, AcDb::kForRead) != Acad::eOk) continue;
    ads_name name;
    if (Passes(*entity, cls, filter, reader) && acdbGetAdsName(name, entity->objectId()) == Acad::eOk)
      AppendCells(tail, acutBuildList(RTENAME, name, 0));
    entity->close();
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
  resbuf *head, *tail;
  ResultOpen(head, tail);
  const AcRxClass* cls = acrxFindAcRxClass(className);
  AcDbBlockTableRecord* modelSpace =
      cls ? OpenModelSpace(acdbHostApplicationServices()->workingDatabase()) : nullptr;
  if (modelSpace) {
    CollectNames(*modelSpace, cls, filter, tail);
    modelSpace->close();
  }
  ResultClose(head, tail);
}

LispStatus ssgetx_duct() { return SelectOfClass(L"KvDuct", ModuleSelectionFilters().duct); }
LispStatus ssgetx_room() { return SelectOfClass(L"hvacRoom", ModuleSelectionFilters().room); }
