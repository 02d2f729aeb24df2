// The working document's write lock.
#include "bridge.h"

#include "ap.h"
#include "db.h"

namespace {

AcApDocument* WorkingDocument() {
  AcDbDatabase* database = acdbHostApplicationServices()->workingDatabase();
  return database ? acDocManagerPtr()->document(database) : nullptr;
}

}  // namespace

WorkingDocumentLock::WorkingDocumentLock() : document_(WorkingDocument()) {
  if (document_) acDocManagerPtr()->lockDocument(document_, AcAp::kWrite, nullptr, nullptr, true);
}

WorkingDocumentLock::~WorkingDocumentLock() {
  if (document_) acDocManagerPtr()->unlockDocument(document_);
}
