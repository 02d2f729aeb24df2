// The common entity: layer, linetype, colour, line weight, visibility, their filing, and the
// default answers of the overridable operations.
#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbEntity, AcDbObject, L"", nullptr)

AcDbEntity::AcDbEntity() = default;
AcDbEntity::~AcDbEntity() = default;

namespace {

// The database an entity's names resolve in: its own, else the working one.
AcDbDatabase* nameDatabase(const AcDbEntity* e) {
  return e->database() ? e->database() : acdbHostApplicationServices()->workingDatabase();
}

const ACHAR* recordName(AcDbObjectId id, std::wstring& cache, const ACHAR* fallback) {
  auto* rec = AcDbSymbolTableRecord::cast(kvdb::objectOf(id));
  cache = rec ? rec->getName() : fallback;
  return cache.c_str();
}

template <class Table>
AcDbObjectId lookUp(AcDbDatabase* db, Acad::ErrorStatus (AcDbDatabase::*get)(Table*&, AcDb::OpenMode),
                    const ACHAR* name) {
  Table* table = nullptr;
  if (db == nullptr || name == nullptr || (db->*get)(table, AcDb::kForRead) != Acad::eOk) return {};
  AcDbObjectId id = table->getIdAt(name);
  table->close();
  return id;
}

}  // namespace

AcCmColor AcDbEntity::color() const { return color_; }

Acad::ErrorStatus AcDbEntity::setColor(const AcCmColor& color, Adesk::Boolean) {
  assertWriteEnabled();
  color_ = color;
  return Acad::eOk;
}

Adesk::UInt16 AcDbEntity::colorIndex() const { return color_.colorIndex(); }

Acad::ErrorStatus AcDbEntity::setColorIndex(Adesk::UInt16 color, Adesk::Boolean) {
  assertWriteEnabled();
  return color_.setColorIndex(color);
}

const ACHAR* AcDbEntity::layer() const { return recordName(layerId_, nameCache_, L"0"); }

Acad::ErrorStatus AcDbEntity::setLayer(const ACHAR* newVal, Adesk::Boolean doSubents, bool allowHiddenLayer) {
  AcDbObjectId id = lookUp(nameDatabase(this), &AcDbDatabase::getLayerTable, newVal);
  if (id.isNull()) return Acad::eKeyNotFound;
  return setLayer(id, doSubents, allowHiddenLayer);
}

Acad::ErrorStatus AcDbEntity::setLayer(AcDbObjectId newVal, Adesk::Boolean, bool) {
  if (newVal.isNull()) return Acad::eNullObjectId;
  if (!AcDbLayerTableRecord::cast(kvdb::objectOf(newVal))) return Acad::eWrongObjectType;
  assertWriteEnabled();
  layerId_ = newVal;
  return Acad::eOk;
}

const ACHAR* AcDbEntity::linetype() const { return recordName(linetypeId_, nameCache_, L"ByLayer"); }

Acad::ErrorStatus AcDbEntity::setLinetype(const ACHAR* newVal, Adesk::Boolean doSubents) {
  AcDbObjectId id = lookUp(nameDatabase(this), &AcDbDatabase::getLinetypeTable, newVal);
  if (id.isNull()) return Acad::eKeyNotFound;
  return setLinetype(id, doSubents);
}

Acad::ErrorStatus AcDbEntity::setLinetype(AcDbObjectId newVal, Adesk::Boolean) {
  if (newVal.isNull()) return Acad::eNullObjectId;
  if (!AcDbLinetypeTableRecord::cast(kvdb::objectOf(newVal))) return Acad::eWrongObjectType;
  assertWriteEnabled();
  linetypeId_ = newVal;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setLinetypeScale(double newval, Adesk::Boolean) {
  if (!(newval > 0)) return Acad::eInvalidInput;
  assertWriteEnabled();
  linetypeScale_ = newval;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setLineWeight(AcDb::LineWeight newVal, Adesk::Boolean) {
  if (!acdbIsLineWeight(static_cast<long>(newVal))) return Acad::eInvalidInput;
  assertWriteEnabled();
  lineWeight_ = newVal;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setVisibility(AcDb::Visibility newVal, Adesk::Boolean) {
  assertWriteEnabled();
  visibility_ = newVal;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setPropertiesFrom(const AcDbEntity* pEntity, Adesk::Boolean) {
  if (pEntity == nullptr) return Acad::eNullEntityPointer;
  assertWriteEnabled();
  layerId_ = pEntity->layerId_;
  linetypeId_ = pEntity->linetypeId_;
  color_ = pEntity->color_;
  linetypeScale_ = pEntity->linetypeScale_;
  lineWeight_ = pEntity->lineWeight_;
  visibility_ = pEntity->visibility_;
  return Acad::eOk;
}

void AcDbEntity::setDatabaseDefaults(AcDbDatabase* db) {
  if (db == nullptr) db = nameDatabase(this);
  if (db == nullptr) return;
  assertWriteEnabled();
  layerId_ = db->clayer();
  linetypeId_ = db->celtype();
  color_ = AcCmColor();
}

void AcDbEntity::list() const {
  assertReadEnabled();
  subList();
}

void AcDbEntity::subList() const {
  ACHAR handle[24] = L"0";
  this->handle().getIntoAsciiBuffer(handle, 24);
  std::wstring name = kvdb::upper(kvdb::dxfNameOf(isA()));
  acutPrintf(L"\n                  %s    Layer: \"%s\"\n", name.c_str(), layer());
  acutPrintf(L"                            Space: Model space\n");
  acutPrintf(L"                   Handle = %s\n", handle);
}

Acad::ErrorStatus AcDbEntity::getOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                             const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                             const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                             AcDbIntArray& geomIds) const {
  assertReadEnabled();
  return subGetOsnapPoints(osnapMode, gsSelectionMark, pickPoint, lastPoint, viewXform, snapPoints, geomIds);
}

Acad::ErrorStatus AcDbEntity::getGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes,
                                            AcDbIntArray& geomIds) const {
  assertReadEnabled();
  return subGetGripPoints(gripPoints, osnapModes, geomIds);
}

Acad::ErrorStatus AcDbEntity::moveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return subMoveGripPointsAt(indices, offset);
}

Acad::ErrorStatus AcDbEntity::getStretchPoints(AcGePoint3dArray& stretchPoints) const {
  assertReadEnabled();
  return subGetStretchPoints(stretchPoints);
}

Acad::ErrorStatus AcDbEntity::moveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return subMoveStretchPointsAt(indices, offset);
}

Acad::ErrorStatus AcDbEntity::transformBy(const AcGeMatrix3d& xform) { return subTransformBy(xform); }

Acad::ErrorStatus AcDbEntity::getTransformedCopy(const AcGeMatrix3d& xform, AcDbEntity*& pEnt) const {
  return subGetTransformedCopy(xform, pEnt);
}

Acad::ErrorStatus AcDbEntity::explode(AcDbVoidPtrArray& entitySet) const {
  assertReadEnabled();
  return subExplode(entitySet);
}

Acad::ErrorStatus AcDbEntity::getGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  return subGetGeomExtents(extents);
}

Acad::ErrorStatus AcDbEntity::intersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType,
                                            AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker,
                                            Adesk::GsMarker otherGsMarker) const {
  if (pEnt == nullptr) return Acad::eNullEntityPointer;
  return subIntersectWith(pEnt, intType, points, thisGsMarker, otherGsMarker);
}

Acad::ErrorStatus AcDbEntity::intersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType,
                                            const AcGePlane& projPlane, AcGePoint3dArray& points,
                                            Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const {
  if (pEnt == nullptr) return Acad::eNullEntityPointer;
  return subIntersectWith(pEnt, intType, projPlane, points, thisGsMarker, otherGsMarker);
}

Acad::ErrorStatus AcDbEntity::getPlane(AcGePlane&, AcDb::Planarity& planarity) const {
  planarity = AcDb::kNotPlanar;
  return Acad::eOk;
}

void AcDbEntity::saveAs(AcGiWorldDraw* mode, AcDb::SaveType) { worldDraw(mode); }

void AcDbEntity::recordGraphicsModified(Adesk::Boolean setModified) {
  if (setModified) setModifiedFlag(true);
}

Adesk::Boolean AcDbEntity::subWorldDraw(AcGiWorldDraw*) { return true; }
void AcDbEntity::subViewportDraw(AcGiViewportDraw*) {}

Acad::ErrorStatus AcDbEntity::subGetOsnapPoints(AcDb::OsnapMode, Adesk::GsMarker, const AcGePoint3d&,
                                                const AcGePoint3d&, const AcGeMatrix3d&, AcGePoint3dArray&,
                                                AcDbIntArray&) const {
  return Acad::eOk;
}
Acad::ErrorStatus AcDbEntity::subGetGripPoints(AcGePoint3dArray&, AcDbIntArray&, AcDbIntArray&) const {
  return Acad::eOk;
}
Acad::ErrorStatus AcDbEntity::subMoveGripPointsAt(const AcDbIntArray&, const AcGeVector3d&) { return Acad::eOk; }
Acad::ErrorStatus AcDbEntity::subGetStretchPoints(AcGePoint3dArray& stretchPoints) const {
  AcDbIntArray modes, ids;
  return subGetGripPoints(stretchPoints, modes, ids);
}
Acad::ErrorStatus AcDbEntity::subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return subMoveGripPointsAt(indices, offset);
}
Acad::ErrorStatus AcDbEntity::subTransformBy(const AcGeMatrix3d&) { return Acad::eNotApplicable; }

Acad::ErrorStatus AcDbEntity::subGetTransformedCopy(const AcGeMatrix3d& xform, AcDbEntity*& pEnt) const {
  pEnt = clone();
  if (pEnt == nullptr) return Acad::eNotApplicable;
  Acad::ErrorStatus es = pEnt->transformBy(xform);
  if (es != Acad::eOk) {
    delete pEnt;
    pEnt = nullptr;
  }
  return es;
}

Acad::ErrorStatus AcDbEntity::subExplode(AcDbVoidPtrArray&) const { return Acad::eNotApplicable; }
Acad::ErrorStatus AcDbEntity::subGetGeomExtents(AcDbExtents&) const { return Acad::eNotApplicable; }
Acad::ErrorStatus AcDbEntity::subIntersectWith(const AcDbEntity*, AcDb::Intersect, AcGePoint3dArray&, Adesk::GsMarker,
                                               Adesk::GsMarker) const {
  return Acad::eNotApplicable;
}
Acad::ErrorStatus AcDbEntity::subIntersectWith(const AcDbEntity*, AcDb::Intersect, const AcGePlane&, AcGePoint3dArray&,
                                               Adesk::GsMarker, Adesk::GsMarker) const {
  return Acad::eNotApplicable;
}

// Copies through the copy filer, so a class's own filing decides what a copy holds; ids are
// taken over as they are (same database).
AcDbEntity* AcDbEntity::clone() const {
  AcRxObject* made = isA()->create();
  auto* copy = AcDbEntity::cast(made);
  if (copy == nullptr) {
    delete made;
    return nullptr;
  }
  AcDbDatabase* db = database() ? database() : layerId_.database();
  AcDbDwgMemoryFiler out(db, AcDb::kCopyFiler);
  if (dwgOut(&out) != Acad::eOk) {
    delete copy;
    return nullptr;
  }
  AcDbDwgMemoryFiler in(db, AcDb::kCopyFiler);
  in.setBuffer(out.buffer());
  in.setCreateIdsOnRead(false);
  if (copy->dwgIn(&in) != Acad::eOk) {
    delete copy;
    return nullptr;
  }
  copy->setOwnerId(AcDbObjectId());
  return copy;
}

// ---- filing ----

Acad::ErrorStatus AcDbEntity::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbObject::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeHardPointerId(layerId_);
  filer->writeHardPointerId(linetypeId_);
  filer->writeUInt8(static_cast<Adesk::UInt8>(color_.colorMethod()));
  filer->writeUInt16(color_.colorIndex());
  filer->writeUInt8(color_.red());
  filer->writeUInt8(color_.green());
  filer->writeUInt8(color_.blue());
  filer->writeInt16(static_cast<Adesk::Int16>(lineWeight_));
  filer->writeDouble(linetypeScale_);
  filer->writeBool(visibility_ == AcDb::kVisible);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbEntity::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbObject::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  AcDbHardPointerId layer, ltype;
  Adesk::UInt8 method = 0, r = 0, g = 0, b = 0;
  Adesk::UInt16 index = 256;
  Adesk::Int16 lw = -1;
  bool visible = true;
  // A layer or linetype that is gone reads as null; the entity then uses the defaults.
  es = filer->readHardPointerId(&layer);
  if (es != Acad::eOk && es != Acad::eUnknownHandle) return es;
  filer->resetFilerStatus();
  es = filer->readHardPointerId(&ltype);
  if (es != Acad::eOk && es != Acad::eUnknownHandle) return es;
  filer->resetFilerStatus();
  filer->readUInt8(&method);
  filer->readUInt16(&index);
  filer->readUInt8(&r);
  filer->readUInt8(&g);
  filer->readUInt8(&b);
  filer->readInt16(&lw);
  filer->readDouble(&linetypeScale_);
  if ((es = filer->readBool(&visible)) != Acad::eOk) return es;
  layerId_ = layer;
  linetypeId_ = ltype;
  color_ = AcCmColor();
  if (method == static_cast<Adesk::UInt8>(AcCmColor::Method::ByColor)) color_.setRGB(r, g, b);
  else color_.setColorIndex(index);
  // A weight no LineWeight names (damaged or foreign data) falls back to the layer's.
  lineWeight_ = acdbIsLineWeight(lw) ? static_cast<AcDb::LineWeight>(lw) : AcDb::kLnWtByLayer;
  visibility_ = visible ? AcDb::kVisible : AcDb::kInvisible;
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbEntity::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbObject::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbEntity");
  filer->writeString(AcDb::kDxfLayerName, layer());
  if (!linetypeId_.isNull()) filer->writeString(AcDb::kDxfLinetypeName, linetype());
  if (color_.colorIndex() != 256) filer->writeInt16(AcDb::kDxfColor, static_cast<Adesk::Int16>(color_.colorIndex()));
  if (lineWeight_ != AcDb::kLnWtByLayer) filer->writeInt16(AcDb::kDxfLineWeight, static_cast<Adesk::Int16>(lineWeight_));
  if (linetypeScale_ != 1.0) filer->writeDouble(static_cast<AcDb::DxfCode>(48), linetypeScale_);
  if (visibility_ == AcDb::kInvisible) filer->writeInt16(static_cast<AcDb::DxfCode>(60), 1);
  return filer->filerStatus();
}

// Layer and linetype names that the database lacks leave the entity on layer "0" / ByLayer.
Acad::ErrorStatus AcDbEntity::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbObject::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbEntity")) return Acad::eBadDxfSequence;
  AcDbDatabase* db = filer->database() ? filer->database() : nameDatabase(this);
  resbuf rb;
  while (!filer->atEndOfObject() && filer->readItem(&rb) == Acad::eOk) {
    switch (rb.restype) {
      case 8: layerId_ = lookUp(db, &AcDbDatabase::getLayerTable, rb.resval.rstring); break;
      case 6: linetypeId_ = lookUp(db, &AcDbDatabase::getLinetypeTable, rb.resval.rstring); break;
      case 62: color_.setColorIndex(static_cast<Adesk::UInt16>(rb.resval.rint)); break;
      case 370: lineWeight_ = acdbIsLineWeight(rb.resval.rint) ? static_cast<AcDb::LineWeight>(rb.resval.rint) : AcDb::kLnWtByLayer; break;
      case 48: linetypeScale_ = rb.resval.rreal; break;
      case 60: visibility_ = rb.resval.rint ? AcDb::kInvisible : AcDb::kVisible; break;
      case 67: case 410: case 347: case 440: case 390: case 284: break;
      default: filer->pushBackItem(); return filer->filerStatus();
    }
  }
  if (layerId_.isNull() && db) layerId_ = db->impl()->layer0;
  return filer->filerStatus();
}
