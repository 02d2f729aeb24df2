// DXF export and import of a whole drawing.
#include "dbimpl.h"

Acad::ErrorStatus AcDbDatabase::dxfOut(const ACHAR*, int, bool) { return kvdb::notImplemented("AcDbDatabase::dxfOut"); }
Acad::ErrorStatus AcDbDatabase::dxfIn(const ACHAR*, const ACHAR*) { return kvdb::notImplemented("AcDbDatabase::dxfIn"); }

namespace kvdb {
Acad::ErrorStatus dxfGroupsOf(const AcDbObject* obj, AcDbDxfMemoryFiler& filer) {
  ReadScope open(const_cast<AcDbObject*>(obj));
  return obj->dxfOut(&filer);
}
}  // namespace kvdb
