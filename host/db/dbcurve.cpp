// Curves: the base answers, the line, and the lightweight polyline with bulges.
#include <cmath>

#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbCurve, AcDbEntity, L"", nullptr)
KV_DB_DEFINE_CLASS(AcDbLine, AcDbCurve, L"LINE", []() -> AcRxObject* { return new AcDbLine; })
KV_DB_DEFINE_CLASS(AcDbPolyline, AcDbCurve, L"LWPOLYLINE", []() -> AcRxObject* { return new AcDbPolyline; })

// ---- base curve: the platform's base answers "not implemented" ----

Acad::ErrorStatus AcDbCurve::getStartParam(double&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getEndParam(double&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getStartPoint(AcGePoint3d&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getEndPoint(AcGePoint3d&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getPointAtParam(double, AcGePoint3d&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getParamAtPoint(const AcGePoint3d&, double&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getDistAtParam(double, double&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getParamAtDist(double, double&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getDistAtPoint(const AcGePoint3d&, double&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getPointAtDist(double, AcGePoint3d&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getFirstDeriv(double, AcGeVector3d&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getFirstDeriv(const AcGePoint3d& point, AcGeVector3d& firstDeriv) const {
  double param = 0;
  Acad::ErrorStatus es = getParamAtPoint(point, param);
  return es == Acad::eOk ? getFirstDeriv(param, firstDeriv) : es;
}
Acad::ErrorStatus AcDbCurve::getSecondDeriv(double, AcGeVector3d&) const { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getSecondDeriv(const AcGePoint3d& point, AcGeVector3d& secDeriv) const {
  double param = 0;
  Acad::ErrorStatus es = getParamAtPoint(point, param);
  return es == Acad::eOk ? getSecondDeriv(param, secDeriv) : es;
}
Acad::ErrorStatus AcDbCurve::getClosestPointTo(const AcGePoint3d&, AcGePoint3d&, Adesk::Boolean) const {
  return Acad::eNotImplementedYet;
}
Acad::ErrorStatus AcDbCurve::getClosestPointTo(const AcGePoint3d&, const AcGeVector3d&, AcGePoint3d&,
                                               Adesk::Boolean) const {
  return Acad::eNotImplementedYet;
}
Acad::ErrorStatus AcDbCurve::extend(double) { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::extend(Adesk::Boolean, const AcGePoint3d&) { return Acad::eNotImplementedYet; }
Acad::ErrorStatus AcDbCurve::getArea(double&) const { return Acad::eNotImplementedYet; }

// ---- line ----

AcDbLine::AcDbLine() = default;
AcDbLine::AcDbLine(const AcGePoint3d& start, const AcGePoint3d& end) : start_(start), end_(end) {}

AcGePoint3d AcDbLine::startPoint() const { assertReadEnabled(); return start_; }
AcGePoint3d AcDbLine::endPoint() const { assertReadEnabled(); return end_; }
double AcDbLine::thickness() const { assertReadEnabled(); return thickness_; }
AcGeVector3d AcDbLine::normal() const { assertReadEnabled(); return normal_; }

Acad::ErrorStatus AcDbLine::setStartPoint(const AcGePoint3d& p) {
  assertWriteEnabled();
  start_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::setEndPoint(const AcGePoint3d& p) {
  assertWriteEnabled();
  end_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::setThickness(double t) {
  assertWriteEnabled();
  thickness_ = t;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::setNormal(const AcGeVector3d& n) {
  if (n.isZeroLength()) return Acad::eInvalidInput;
  assertWriteEnabled();
  normal_ = n.normal();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const {
  assertReadEnabled();
  plane.set(start_, normal_);
  planarity = AcDb::kLinear;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getStartParam(double& param) const { param = 0.0; return Acad::eOk; }
Acad::ErrorStatus AcDbLine::getEndParam(double& param) const {
  assertReadEnabled();
  param = start_.distanceTo(end_);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLine::getStartPoint(AcGePoint3d& point) const { point = startPoint(); return Acad::eOk; }
Acad::ErrorStatus AcDbLine::getEndPoint(AcGePoint3d& point) const { point = endPoint(); return Acad::eOk; }

// The parameter is the distance from the start; points off the line answer eInvalidInput.
Acad::ErrorStatus AcDbLine::getPointAtParam(double param, AcGePoint3d& point) const {
  assertReadEnabled();
  double len = start_.distanceTo(end_);
  if (param < -AcGeContext::gTol.equalPoint() || param > len + AcGeContext::gTol.equalPoint()) return Acad::eInvalidInput;
  point = len > 0 ? start_ + (end_ - start_) * (param / len) : start_;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getParamAtPoint(const AcGePoint3d& point, double& param) const {
  AcGePoint3d onLine;
  Acad::ErrorStatus es = getClosestPointTo(point, onLine, false);
  if (es != Acad::eOk) return es;
  if (!onLine.isEqualTo(point, AcGeTol())) {
    AcGeTol tol;
    tol.setEqualPoint(1e-8);
    if (!onLine.isEqualTo(point, tol)) return Acad::eInvalidInput;
  }
  param = start_.distanceTo(onLine);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getDistAtParam(double param, double& dist) const {
  double end = 0;
  getEndParam(end);
  if (param < -1e-10 || param > end + 1e-10) return Acad::eInvalidInput;
  dist = param;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getParamAtDist(double dist, double& param) const {
  double end = 0;
  getEndParam(end);
  if (dist < -1e-10 || dist > end + 1e-10) return Acad::eInvalidInput;
  param = dist;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getDistAtPoint(const AcGePoint3d& point, double& dist) const { return getParamAtPoint(point, dist); }
Acad::ErrorStatus AcDbLine::getPointAtDist(double dist, AcGePoint3d& point) const { return getPointAtParam(dist, point); }

Acad::ErrorStatus AcDbLine::getFirstDeriv(double, AcGeVector3d& firstDeriv) const {
  assertReadEnabled();
  firstDeriv = (end_ - start_).normal();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getFirstDeriv(const AcGePoint3d&, AcGeVector3d& firstDeriv) const { return getFirstDeriv(0.0, firstDeriv); }
Acad::ErrorStatus AcDbLine::getSecondDeriv(double, AcGeVector3d& secDeriv) const { secDeriv = AcGeVector3d(); return Acad::eOk; }
Acad::ErrorStatus AcDbLine::getSecondDeriv(const AcGePoint3d&, AcGeVector3d& secDeriv) const { secDeriv = AcGeVector3d(); return Acad::eOk; }

Acad::ErrorStatus AcDbLine::getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                              Adesk::Boolean extend) const {
  assertReadEnabled();
  AcGeVector3d d = end_ - start_;
  double len2 = d.lengthSqrd();
  double t = len2 > 0 ? (givenPnt - start_).dotProduct(d) / len2 : 0.0;
  if (!extend) t = std::clamp(t, 0.0, 1.0);
  pointOnCurve = start_ + d * t;
  return Acad::eOk;
}

// Closest along a projection direction: both are projected onto the plane normal to it.
Acad::ErrorStatus AcDbLine::getClosestPointTo(const AcGePoint3d& givenPnt, const AcGeVector3d& direction,
                                              AcGePoint3d& pointOnCurve, Adesk::Boolean extend) const {
  assertReadEnabled();
  AcGePlane plane(givenPnt, direction);
  AcGePoint3d s = start_.orthoProject(plane), e = end_.orthoProject(plane);
  AcGeVector3d d = e - s;
  double len2 = d.lengthSqrd();
  double t = len2 > 0 ? (givenPnt - s).dotProduct(d) / len2 : 0.0;
  if (!extend) t = std::clamp(t, 0.0, 1.0);
  pointOnCurve = start_ + (end_ - start_) * t;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::extend(double newParam) {
  assertWriteEnabled();
  AcGeVector3d u = (end_ - start_).normal();
  if (newParam < 0) start_ = start_ + u * newParam;
  else end_ = start_ + u * newParam;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::extend(Adesk::Boolean extendStart, const AcGePoint3d& toPoint) {
  assertWriteEnabled();
  (extendStart ? start_ : end_) = toPoint;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::getArea(double& area) const { area = 0.0; return Acad::eOk; }

Adesk::Boolean AcDbLine::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  AcGePoint3d pts[2] = {start_, end_};
  mode->geometry().polyline(2, pts, &normal_);
  return true;
}

void AcDbLine::subList() const {
  AcDbEntity::subList();
  acutPrintf(L"              from point, X=%10.4f  Y=%10.4f  Z=%10.4f\n", start_.x, start_.y, start_.z);
  acutPrintf(L"                to point, X=%10.4f  Y=%10.4f  Z=%10.4f\n", end_.x, end_.y, end_.z);
  acutPrintf(L"          Length =%10.4f\n", start_.distanceTo(end_));
}

Acad::ErrorStatus AcDbLine::subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker, const AcGePoint3d& pickPoint,
                                              const AcGePoint3d& lastPoint, const AcGeMatrix3d&,
                                              AcGePoint3dArray& snapPoints, AcDbIntArray&) const {
  assertReadEnabled();
  AcGePoint3d p;
  switch (osnapMode) {
    case AcDb::kOsModeEnd: snapPoints.append(start_); snapPoints.append(end_); break;
    case AcDb::kOsModeMid: snapPoints.append(start_ + (end_ - start_) * 0.5); break;
    case AcDb::kOsModeNear: getClosestPointTo(pickPoint, p); snapPoints.append(p); break;
    case AcDb::kOsModePerp: getClosestPointTo(lastPoint, p, true); snapPoints.append(p); break;
    default: break;
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  assertReadEnabled();
  gripPoints.append(start_);
  gripPoints.append(start_ + (end_ - start_) * 0.5);
  gripPoints.append(end_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  assertWriteEnabled();
  for (int i : indices) {
    if (i == 0 || i == 1) start_ += offset;
    if (i == 2 || i == 1) end_ += offset;
  }
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  start_.transformBy(xform);
  end_.transformBy(xform);
  normal_.transformBy(xform).normalize();
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::subExplode(AcDbVoidPtrArray&) const { return Acad::eNotApplicable; }

Acad::ErrorStatus AcDbLine::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  extents.addPoint(start_);
  extents.addPoint(end_);
  return Acad::eOk;
}

namespace {

// Intersection of two segments (or their extensions) in the plane of projection; the result
// lies on the first operand. extendA/extendB lift the bounds of each.
bool segmentHit(const AcGePoint3d& a0, const AcGePoint3d& a1, const AcGePoint3d& b0, const AcGePoint3d& b1,
                const AcGePlane& plane, bool extendA, bool extendB, AcGePoint3d& out) {
  AcGePoint2d p0 = plane.paramOf(a0), p1 = plane.paramOf(a1), q0 = plane.paramOf(b0), q1 = plane.paramOf(b1);
  AcGeVector2d r = p1 - p0, s = q1 - q0;
  double den = r.x * s.y - r.y * s.x;
  if (std::fabs(den) < 1e-14 * std::max(1.0, r.length() * s.length())) return false;
  AcGeVector2d w = q0 - p0;
  double t = (w.x * s.y - w.y * s.x) / den, u = (w.x * r.y - w.y * r.x) / den;
  constexpr double eps = 1e-10;
  if (!extendA && (t < -eps || t > 1 + eps)) return false;
  if (!extendB && (u < -eps || u > 1 + eps)) return false;
  out = a0 + (a1 - a0) * t;
  return true;
}

// The straight pieces of a host entity (lines and the line segments of polylines).
bool segmentsOf(const AcDbEntity* e, std::vector<std::pair<AcGePoint3d, AcGePoint3d>>& out) {
  if (auto* line = AcDbLine::cast(e)) {
    out.push_back({line->startPoint(), line->endPoint()});
    return true;
  }
  if (auto* pl = AcDbPolyline::cast(e)) {
    unsigned n = pl->numVerts();
    unsigned segs = pl->isClosed() ? n : (n > 0 ? n - 1 : 0);
    for (unsigned i = 0; i < segs; ++i) {
      AcGePoint3d a, b;
      pl->getPointAt(i, a);
      pl->getPointAt((i + 1) % n, b);
      out.push_back({a, b});
    }
    return true;
  }
  return false;
}

}  // namespace

Acad::ErrorStatus AcDbLine::subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                             Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const {
  return subIntersectWith(pEnt, intType, AcGePlane(start_, normal_), points, thisGsMarker, otherGsMarker);
}

// Lines and polylines are intersected here; other entities are asked with the roles swapped.
Acad::ErrorStatus AcDbLine::subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                             AcGePoint3dArray& points, Adesk::GsMarker, Adesk::GsMarker) const {
  assertReadEnabled();
  std::vector<std::pair<AcGePoint3d, AcGePoint3d>> other;
  if (!segmentsOf(pEnt, other)) {
    AcDb::Intersect swapped = intType == AcDb::kExtendThis ? AcDb::kExtendArg
                              : intType == AcDb::kExtendArg ? AcDb::kExtendThis : intType;
    return pEnt->intersectWith(this, swapped, projPlane, points);
  }
  bool extendThis = intType == AcDb::kExtendThis || intType == AcDb::kExtendBoth;
  bool extendArg = (intType == AcDb::kExtendArg || intType == AcDb::kExtendBoth) && AcDbLine::cast(pEnt) != nullptr;
  for (const auto& [b0, b1] : other) {
    AcGePoint3d hit;
    if (segmentHit(start_, end_, b0, b1, projPlane, extendThis, extendArg, hit) && !points.contains(hit)) points.append(hit);
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLine::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writePoint3d(start_);
  filer->writePoint3d(end_);
  filer->writeVector3d(normal_);
  filer->writeDouble(thickness_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbLine::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  filer->readPoint3d(&start_);
  filer->readPoint3d(&end_);
  filer->readVector3d(&normal_);
  filer->readDouble(&thickness_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbLine::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbLine");
  if (thickness_ != 0.0) filer->writeDouble(AcDb::kDxfThickness, thickness_);
  filer->writePoint3d(AcDb::kDxfXCoord, start_);
  filer->writePoint3d(static_cast<AcDb::DxfCode>(11), end_);
  if (!normal_.isEqualTo(AcGeVector3d::kZAxis)) filer->writeVector3d(AcDb::kDxfNormalX, normal_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbLine::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbLine")) return Acad::eBadDxfSequence;
  resbuf rb;
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    const double* p = rb.resval.rpoint;
    switch (rb.restype) {
      case 10: start_.set(p[0], p[1], p[2]); break;
      case 11: end_.set(p[0], p[1], p[2]); break;
      case 39: thickness_ = rb.resval.rreal; break;
      case 210: normal_.set(p[0], p[1], p[2]); break;
      default: break;
    }
  }
  return filer->filerStatus();
}
