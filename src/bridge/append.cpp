// Putting new entities into model space, and fetching block definitions from drawing files.
#include <memory>
#include <string>

#include "ap.h"
#include "bridge.h"
#include "doclock.h"
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
  AcDbDatabase* database = CurrentDatabase();
  AcDbBlockTable* table = nullptr;
  if (!database || database->getSymbolTable(table, AcDb::kForRead) != Acad::eOk) {
    acedAlert(L"Failed to get block table!");
    return AppendResult::NotReached;
  }
  AcDbBlockTableRecord* modelSpace = nullptr;
  Acad::ErrorStatus es = acdbOpenObject(modelSpace, table->getIdAt(ACDB_MODEL_SPACE), AcDb::kForWrite);
  if (es != Acad::eOk) {
    acedAlert(L"Failed to get block table record!");
    acutPrintf(L"\n%i", static_cast<int>(es));
    table->close();
    return AppendResult::NotReached;
  }
  AppendResult result = AppendResult::Appended;
  if (modelSpace->appendAcDbEntity(entity) != Acad::eOk) {
    acedAlert(L"Failed to append entity!");
    delete entity;
    result = AppendResult::Refused;
  }
  modelSpace->close();
  table->close();
  return result;
}

// Asks the LISP layer to tell the user about a block no drawing file defines.
void AlertMissingBlock(const ACHAR* name) {
  ResbufPtr call(acutBuildList(RTSTR, L"kvBlock-alertMissing", RTSTR, name, 0));
  resbuf* answer = nullptr;
  acedInvoke(call.get(), &answer);
  acutRelRb(answer);
}

}  // namespace

bool appendToModelSpace(AcDbEntity* entity) { return Append(entity) == AppendResult::Appended; }

void appendAndClose(AcDbEntity* entity) {
  if (!entity) return;
  switch (Append(entity)) {
    case AppendResult::Appended: entity->close(); break;
    case AppendResult::NotReached: delete entity; break;
    case AppendResult::Refused: break;
  }
}

bool ensureBlock(const ACHAR* name, AcDbObjectId& blockId) {
  AcDbDatabase* database = CurrentDatabase();
  AcDbBlockTable* table = nullptr;
  if (!name || !database || database->getSymbolTable(table, AcDb::kForRead) != Acad::eOk) return false;
  AcDbObjectId existing = table->getIdAt(name);
  if (!existing.isNull()) {
    blockId = existing;
    table->close();
    return true;
  }
  std::wstring file = std::wstring(name) + L".dwg";
  ACHAR path[4096];
  if (acdbHostApplicationServices()->findFile(path, 4096, file.c_str()) != Acad::eOk) {
    AlertMissingBlock(name);
    table->close();
    return false;
  }
  auto source = std::make_unique<AcDbDatabase>(false, false);
  Acad::ErrorStatus read = source->readDwgFile(path, AcDbDatabase::kForReadAndAllShare);
  // The current database takes the new block record only with its table closed.
  table->close();
  if (read != Acad::eOk) return false;
  return database->insert(blockId, name, source.get(), true) == Acad::eOk;
}
