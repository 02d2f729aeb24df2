// A write lock on the document of the working database, held for one scope.
#pragma once

class AcApDocument;

class WorkingDocumentLock {
 public:
  // Locks for write; the lock's own result is not looked at, as nothing can be done about it.
  WorkingDocumentLock();
  ~WorkingDocumentLock();
  WorkingDocumentLock(const WorkingDocumentLock&) = delete;
  WorkingDocumentLock& operator=(const WorkingDocumentLock&) = delete;

 private:
  AcApDocument* document_;
};
