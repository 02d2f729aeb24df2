// Registers every class of the database when the library loads, so they can be found by name
// (and by DXF name) before first use.
#include "dbimpl.h"

namespace {
const bool registered = [] {
  for (AcRxClass* c : {AcDbObject::desc(), AcDbEntity::desc(), AcDbCurve::desc(), AcDbLine::desc(),
                       AcDbPolyline::desc(), AcDbSpline::desc(), AcDbMText::desc(), AcDbBlockReference::desc(),
                       AcDbLeader::desc(), AcDbPoint::desc(), AcDbCircle::desc(), AcDbArc::desc(), AcDbText::desc(),
                       AcDbAttributeDefinition::desc(), AcDbAttribute::desc(), AcDbProxyObject::desc(), AcDbProxyEntity::desc(),
                       AcDbSymbolTable::desc(), AcDbSymbolTableRecord::desc(), AcDbBlockTable::desc(),
                       AcDbBlockTableRecord::desc(), AcDbLayerTable::desc(), AcDbLayerTableRecord::desc(),
                       AcDbTextStyleTable::desc(), AcDbTextStyleTableRecord::desc(), AcDbLinetypeTable::desc(),
                       AcDbLinetypeTableRecord::desc(), AcDbRegAppTable::desc(), AcDbRegAppTableRecord::desc(),
                       AcDbDatabase::desc(), AcDbDwgFiler::desc(), AcDbDxfFiler::desc()})
    (void)c;
  return true;
}();
}  // namespace
