// Putting new entities into model space, and fetching block definitions from drawing files.
#include <memory>
#include <string>

#include "ap.h"
#include "bridge.h"
#include "ed.h"

namespace {

enum class AppendResult { Appended, NotReached, Refused };

AcDbDatabase* CurrentDatabase() {
  AcApDocument* document = acDocManagerPtr()->curDocument();
  return document ? document->database() : acdbHostApplicationServices()->workingDatabase();
}

// The three ways an append can end; only a refused entity has been deleted.
AppendResult Append(AcDbEntity* entity) {
  WorkingDocumentLock lock;
  AcDbObjectPointer<AcDbBlockTableRecord> modelSpace;
  bool tableRead = false;
  Acad::ErrorStatus es = OpenModelSpace(CurrentDatabase(), AcDb::kForWrite, modelSpace, &tableRead);
  if (!tableRead) {
    acedAlert(L"Failed to get block table!");
    return AppendResult::NotReached;
  }
  if (es != Acad::eOk) {
    acedAlert(L"Failed to get block table record!");
    acutPrintf(L"\n%i", static_cast<int>(es));
    return AppendResult::NotReached;
  }
  if (modelSpace->appendAcDbEntity(entity) != Acad::eOk) {
    acedAlert(L"Failed to append entity!");
    delete entity;
    return AppendResult::Refused;
  }
  return AppendResult::Appended;
}

// Asks the LISP layer to tell the user about a block no drawing file defines.
void AlertMissingBlock(const ACHAR* name) {
  ResbufPtr call(acutBuildList(RTSTR, L"kvBlock-alertMissing", RTSTR, name, 0));
  resbuf* answer = nullptr;
  acedInvoke(call.get(), &answer);
  acutRelRb(answer);
}

}  // namespace

Acad::ErrorStatus OpenModelSpace(AcDbDatabase* drawing, AcDb::OpenMode mode,
                                 AcDbObjectPointer<AcDbBlockTableRecord>& modelSpace, bool* tableRead) {
  if (tableRead) *tableRead = false;
  if (!drawing) return Acad::eNoDatabase;
  AcDbObjectPointer<AcDbBlockTable> table(drawing->blockTableId(), AcDb::kForRead);
  if (table.openStatus() != Acad::eOk) return table.openStatus();
  if (tableRead) *tableRead = true;
  return modelSpace.open(table->getIdAt(ACDB_MODEL_SPACE), mode);
}

bool appendToModelSpace(AcDbEntity* entity) { return Append(entity) == AppendResult::Appended; }

void appendAndClose(AcDbEntity* entity) {
  if (!entity) return;
  switch (Append(entity)) {
    case AppendResult::Appended: entity->close(); break;
    case AppendResult::NotReached: delete entity; break;
    case AppendResult::Refused: break;
  }
}

AcDbObjectId appendAndCloseId(AcDbEntity* entity) {
  if (!entity) return AcDbObjectId();
  switch (Append(entity)) {
    case AppendResult::Appended: {
      const AcDbObjectId id = entity->objectId();
      entity->close();
      return id;
    }
    case AppendResult::NotReached: delete entity; break;
    case AppendResult::Refused: break;  // the drawing deleted it
  }
  return AcDbObjectId();
}

bool ensureBlock(const ACHAR* name, AcDbObjectId& blockId) {
  AcDbDatabase* database = CurrentDatabase();
  if (!name || !database) return false;
  AcDbObjectId existing;
  {
    // The current database takes a new block record only with its table closed again.
    AcDbObjectPointer<AcDbBlockTable> table(database->blockTableId(), AcDb::kForRead);
    if (table.openStatus() != Acad::eOk) return false;
    existing = table->getIdAt(name);
  }
  if (!existing.isNull()) {
    blockId = existing;
    return true;
  }
  std::wstring file = std::wstring(name) + L".dwg";
  ACHAR path[4096];
  if (acdbHostApplicationServices()->findFile(path, 4096, file.c_str()) != Acad::eOk) {
    AlertMissingBlock(name);
    return false;
  }
  auto source = std::make_unique<AcDbDatabase>(false, false);
  if (source->readDwgFile(path, AcDbDatabase::kForReadAndAllShare) != Acad::eOk) return false;
  return database->insert(blockId, name, source.get(), true) == Acad::eOk;
}
