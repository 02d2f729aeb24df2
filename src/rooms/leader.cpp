// KVLeader: the three-point leader with its arrow block, its filing, picture and curve behaviour.
#include <cmath>

#include "filing/filing.h"
#include "rooms.h"
#include "roomsimpl.h"

namespace {

const ACHAR* const kLeaderAppString = L"\"Leader|Kelvane Software, Inc|www.kelvane.example\"";

using kvfiling::kCurrent;

const kvfiling::FieldTable<KVLeaderFields>& LeaderTable() {
  using R = KVLeaderFields;
  static const kvfiling::FieldTable<R> table(
      KVLeader::kVersion,
      {
          kvfiling::point<R>("start", &R::start, 1, kCurrent, 10),
          kvfiling::point<R>("middle", &R::middle, 1, kCurrent, 11),
          kvfiling::point<R>("end", &R::end, 1, kCurrent, 12),
          kvfiling::real<R>("arrowSize", &R::arrowSize, 1, kCurrent, 40),
          kvfiling::objectId<R>("arrowBlockId", &R::arrowBlockId, 1),
      });
  return table;
}

}  // namespace

double WorkingDimscale() {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  return db ? db->dimscale() : 1.0;
}

// ---- class ----

AcRxClass* KVLeader::gpDesc = nullptr;

AcRxClass* KVLeader::desc() {
  if (gpDesc == nullptr) gpDesc = acrxFindAcRxClass(L"KVLeader");
  return gpDesc;
}

AcRxClass* KVLeader::isA() const { return KVLeader::desc(); }

void KVLeader::rxInit() {
  gpDesc = newAcRxClass(L"KVLeader", L"AcDbCurve", 1, 1, 1, []() -> AcRxObject* { return new KVLeader(); },
                        L"KVLEADER", kLeaderAppString);
}

KVLeader::KVLeader(const AcGePoint3d& start, const AcGePoint3d& middle, const AcGePoint3d& end, double size,
                   AcDbObjectId blockId, AcDbObjectId layerId) {
  f_.start = start;
  f_.middle = middle;
  f_.end = end;
  setLayer(layerId, true, false);
  f_.arrowBlockId = blockId;
  arrow_.setBlockTableRecord(blockId);
  arrow_.setLayer(layerId, true, false);
  syncArrow();
  setArrowSize(size);
}

KVLeader::~KVLeader() = default;

// ---- accessors ----

void KVLeader::getPoints(AcGePoint3d& start, AcGePoint3d& middle, AcGePoint3d& end) const {
  assertReadEnabled();
  start = f_.start;
  middle = f_.middle;
  end = f_.end;
}

void KVLeader::setPoints(const AcGePoint3d& start, const AcGePoint3d& middle, const AcGePoint3d& end) {
  assertWriteEnabled();
  f_.start = start;
  f_.middle = middle;
  f_.end = end;
  syncArrow();
}

void KVLeader::setStart(const AcGePoint3d& p) {
  assertWriteEnabled();
  f_.start = p;
  syncArrow();
}

void KVLeader::setMiddle(const AcGePoint3d& p) {
  assertWriteEnabled();
  f_.middle = p;
  syncArrow();
}

void KVLeader::setEnd(const AcGePoint3d& p) {
  assertWriteEnabled();
  f_.end = p;
  syncArrow();
}

void KVLeader::setArrowSize(double size) {
  assertWriteEnabled();
  f_.arrowSize = size;
  arrow_.setScaleFactors(AcGeScale3d(size, size, size));
}

double KVLeader::arrowSize() const {
  assertReadEnabled();
  return f_.arrowSize;
}

AcDbObjectId KVLeader::arrowBlockId() const {
  assertReadEnabled();
  return f_.arrowBlockId;
}

bool KVLeader::setArrowBlock(const ACHAR* name) {
  assertWriteEnabled();
  AcDbObjectId id;
  if (!ensureBlock(name, id)) return false;
  f_.arrowBlockId = id;
  arrow_.setBlockTableRecord(id);
  return true;
}

Acad::ErrorStatus KVLeader::setLayer(AcDbObjectId newVal, Adesk::Boolean doSubents, bool allowHiddenLayer) {
  Acad::ErrorStatus es = AcDbEntity::setLayer(newVal, doSubents, allowHiddenLayer);
  if (es == Acad::eOk && doSubents) arrow_.setLayer(newVal, true, allowHiddenLayer);
  return es;
}

void KVLeader::syncArrow() {
  arrow_.setPosition(f_.end);
  arrow_.setRotation(std::atan2(f_.end.y - f_.middle.y, f_.end.x - f_.middle.x));
}

AcGePoint3d KVLeader::trimPoint() const {
  AcGeVector3d back(f_.middle.x - f_.end.x, f_.middle.y - f_.end.y, 0.0);
  // An elbow on the arrow point gives no direction: the line then ends at the point itself.
  if (back.length() == 0.0) return f_.end;
  return f_.end + back.normal() * f_.arrowSize;
}

void KVLeader::segments(AcDbLine& first, AcDbLine& second) const {
  first.setStartPoint(f_.start);
  first.setEndPoint(f_.middle);
  second.setStartPoint(f_.middle);
  second.setEndPoint(trimPoint());
}

// ---- picture ----

Adesk::Boolean KVLeader::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  const AcGePoint3d first[2] = {f_.start, f_.middle};
  const AcGePoint3d second[2] = {f_.middle, trimPoint()};
  mode->geometry().polyline(2, first);
  mode->geometry().polyline(2, second);
  const Adesk::UInt16 color = mode->subEntityTraits().color();
  mode->subEntityTraits().setLayer(layerId());
  const Adesk::Boolean drawn = mode->geometry().draw(&arrow_);
  mode->subEntityTraits().setColor(color);
  return drawn;
}

Acad::ErrorStatus KVLeader::subExplode(AcDbVoidPtrArray& entitySet) const {
  assertReadEnabled();
  entitySet.append(new AcDbLine(f_.start, f_.middle));
  entitySet.append(new AcDbLine(f_.middle, trimPoint()));
  return arrow_.explode(entitySet);
}

Acad::ErrorStatus KVLeader::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  AcDbLine first, second;
  segments(first, second);
  if (Acad::ErrorStatus es = first.getGeomExtents(extents); es != Acad::eOk) return es;
  if (Acad::ErrorStatus es = second.getGeomExtents(extents); es != Acad::eOk) return es;
  return arrow_.getGeomExtents(extents);
}

Acad::ErrorStatus KVLeader::subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                              const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                              const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                              AcDbIntArray& geomIds) const {
  assertReadEnabled();
  AcDbLine first, second;
  segments(first, second);
  for (const AcDbEntity* part : {static_cast<const AcDbEntity*>(&first), static_cast<const AcDbEntity*>(&second),
                                 static_cast<const AcDbEntity*>(&arrow_)}) {
    Acad::ErrorStatus es =
        part->getOsnapPoints(osnapMode, gsSelectionMark, pickPoint, lastPoint, viewXform, snapPoints, geomIds);
    if (es != Acad::eOk) return es;
  }
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType,
                                             AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker,
                                             Adesk::GsMarker otherGsMarker) const {
  assertReadEnabled();
  AcDbLine first, second;
  segments(first, second);
  for (const AcDbEntity* part : {static_cast<const AcDbEntity*>(&first), static_cast<const AcDbEntity*>(&second),
                                 static_cast<const AcDbEntity*>(&arrow_)}) {
    Acad::ErrorStatus es = part->intersectWith(pEnt, intType, points, thisGsMarker, otherGsMarker);
    if (es != Acad::eOk) return es;
  }
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType,
                                             const AcGePlane& projPlane, AcGePoint3dArray& points,
                                             Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const {
  assertReadEnabled();
  AcDbLine first, second;
  segments(first, second);
  for (const AcDbEntity* part : {static_cast<const AcDbEntity*>(&first), static_cast<const AcDbEntity*>(&second),
                                 static_cast<const AcDbEntity*>(&arrow_)}) {
    Acad::ErrorStatus es = part->intersectWith(pEnt, intType, projPlane, points, thisGsMarker, otherGsMarker);
    if (es != Acad::eOk) return es;
  }
  return Acad::eOk;
}

void KVLeader::subList() const {
  assertReadEnabled();
  AcDbEntity::subList();
  acutPrintf(L"                   Starting point = %f, %f, %f\n", f_.start.x, f_.start.y, f_.start.z);
  acutPrintf(L"                   Middle point = %f, %f, %f\n", f_.middle.x, f_.middle.y, f_.middle.z);
  acutPrintf(L"                   End point = %f, %f, %f\n", f_.end.x, f_.end.y, f_.end.z);
  acutPrintf(L"\n\n");
  arrow_.list();
}

Acad::ErrorStatus KVLeader::audit(AcDbAuditInfo*) {
  assertReadEnabled();
  return Acad::eOk;
}

// ---- grips and transforms ----

Acad::ErrorStatus KVLeader::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  return subGetStretchPoints(gripPoints);
}

Acad::ErrorStatus KVLeader::subGetStretchPoints(AcGePoint3dArray& stretchPoints) const {
  assertReadEnabled();
  stretchPoints.append(f_.start);
  stretchPoints.append(f_.middle);
  stretchPoints.append(f_.end);
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return moveStretchPointsAt(indices, offset);
}

// A point listed twice still moves once: a window stretch can name the same grip more than once.
Acad::ErrorStatus KVLeader::subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  assertWriteEnabled();
  AcGePoint3d* points[3] = {&f_.start, &f_.middle, &f_.end};
  bool moved[3] = {false, false, false};
  for (int i = 0; i < indices.length(); ++i) {
    const int g = indices[i];
    if (g < 0 || g > 2 || moved[g]) continue;
    *points[g] += offset;
    moved[g] = true;
  }
  syncArrow();
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  f_.start.transformBy(xform);
  f_.middle.transformBy(xform);
  f_.end.transformBy(xform);
  syncArrow();
  return Acad::eOk;
}

// ---- curve: the chord from start to end ----

AcGeVector3d KVLeader::chordUnit() const {
  AcGeVector3d v = f_.end - f_.start;
  return v.length() == 0.0 ? v : v.normal();
}

Acad::ErrorStatus KVLeader::getStartParam(double& param) const {
  assertReadEnabled();
  param = 0.0;
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getEndParam(double& param) const {
  assertReadEnabled();
  param = f_.start.distanceTo(f_.end);
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getStartPoint(AcGePoint3d& point) const {
  assertReadEnabled();
  point = f_.start;
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getEndPoint(AcGePoint3d& point) const {
  assertReadEnabled();
  point = f_.end;
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getPointAtParam(double param, AcGePoint3d& point) const {
  assertReadEnabled();
  point = f_.start + chordUnit() * param;
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getParamAtPoint(const AcGePoint3d& point, double& param) const {
  assertReadEnabled();
  param = (point - f_.start).dotProduct(chordUnit());
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getDistAtParam(double param, double& dist) const {
  dist = param;
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getParamAtDist(double dist, double& param) const {
  param = dist;
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getDistAtPoint(const AcGePoint3d& point, double& dist) const {
  assertReadEnabled();
  dist = f_.start.distanceTo(point);
  return Acad::eOk;
}

Acad::ErrorStatus KVLeader::getPointAtDist(double dist, AcGePoint3d& point) const {
  return getPointAtParam(dist, point);
}

// ---- filing ----

Acad::ErrorStatus KVLeader::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
  return LeaderTable().dwgOut(filer, f_);
}

Acad::ErrorStatus KVLeader::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer); es != Acad::eOk) return es;
  int version = 0;
  if (Acad::ErrorStatus es = LeaderTable().dwgIn(filer, f_, &version); es != Acad::eOk) return es;
  if (version < 1) return filer->filerStatus();
  arrow_.setBlockTableRecord(f_.arrowBlockId);
  syncArrow();
  // The oldest leaders kept their size in plotted units; it is scaled once here and written
  // back in drawing units.
  setArrowSize(version == 1 ? f_.arrowSize * WorkingDimscale() : f_.arrowSize);
  if (version == 2) setLayer(layerId(), true, false);
  return filer->filerStatus();
}

Acad::ErrorStatus KVLeader::dxfOutFields(AcDbDxfFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  if (Acad::ErrorStatus es = filer->writeString(AcDb::kDxfSubclass, L"KVLeader"); es != Acad::eOk) return es;
  return LeaderTable().dxfOut(filer, f_);
}

Acad::ErrorStatus KVLeader::dxfInFields(AcDbDxfFiler* filer) {
  assertWriteEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubClassData(L"KVLeader")) return Acad::eBadDxfSequence;
  Acad::ErrorStatus es = LeaderTable().dxfIn(filer, f_);
  setArrowSize(f_.arrowSize);
  syncArrow();
  return es;
}
