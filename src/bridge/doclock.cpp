// The working document's write lock.
#include "bridge.h"

#include "ap.h"
#include "db.h"

WorkingDocumentLock::WorkingDocumentLock() : manager_(acDocManagerPtr()), document_(nullptr) {
  AcDbDatabase* database = acdbHostApplicationServices()->workingDatabase();
  if (database) document_ = manager_->document(database);
  if (document_) manager_->lockDocument(document_, AcAp::kWrite, nullptr, nullptr, true);
}

WorkingDocumentLock::~WorkingDocumentLock() {
  if (document_) manager_->unlockDocument(document_);
}
