// KvDuct as a curve: parameters as distance along the 3D line, snaps, grips, stretching,
// transforms, extending and intersections. Ordinary edits move X and Y only.
#include <cmath>

#include "KvDuct.h"
#include "ductplan.h"
#include "ed.h"

namespace {

double Tol() { return AcGeContext::gTol.equalPoint(); }

bool SamePlanPoint(const AcGePoint3d& a, const AcGePoint3d& b) {
  return std::fabs(a.x - b.x) <= Tol() && std::fabs(a.y - b.y) <= Tol();
}

AcGeVector3d PlanOnly(const AcGeVector3d& v) { return {v.x, v.y, 0.0}; }

}  // namespace

AcGeVector3d CurrentUcsNormal() {
  AcGeMatrix3d ucs;
  if (acedGetCurrentUCS(ucs) != Acad::eOk) return AcGeVector3d::kZAxis;
  AcGePoint3d o;
  AcGeVector3d x, y, z;
  ucs.getCoordSystem(o, x, y, z);
  return z.isZeroLength() ? AcGeVector3d::kZAxis : z.normal();
}

double KvDuct::length() const { return f_.start.distanceTo(f_.end); }

AcGeVector3d KvDuct::unit() const { return (f_.end - f_.start).normal(); }

// Hangers stand on the plan line; on a sloped duct their height follows the slope.
void KvDuct::hangerPoints(AcGePoint3dArray& out) const {
  double plan = PlanDistance(f_.start, f_.end);
  double run = AngleTo(f_.start, f_.end);
  for (double entry : f_.hangerDistances) {
    double d = std::fabs(entry);
    if (d >= plan) continue;
    out.append(HangerFoot(f_.start, f_.end, run, d, plan));
  }
}

// ---- simple answers ----

Adesk::Boolean KvDuct::isClosed() const {
  assertReadEnabled();
  return false;
}

Adesk::Boolean KvDuct::isPeriodic() const {
  assertReadEnabled();
  return false;
}

Adesk::Boolean KvDuct::isPlanar() const {
  assertReadEnabled();
  return true;
}

Acad::ErrorStatus KvDuct::getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const {
  assertReadEnabled();
  plane.set(f_.start, CurrentUcsNormal());
  planarity = AcDb::kLinear;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getStartParam(double& param) const {
  assertReadEnabled();
  param = 0.0;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getEndParam(double& param) const {
  assertReadEnabled();
  param = length();
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getStartPoint(AcGePoint3d& point) const {
  assertReadEnabled();
  point = f_.start;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getEndPoint(AcGePoint3d& point) const {
  assertReadEnabled();
  point = f_.end;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getPointAtParam(double param, AcGePoint3d& point) const {
  assertReadEnabled();
  point = f_.start + unit() * param;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getPointAtDist(double dist, AcGePoint3d& point) const {
  return getPointAtParam(dist, point);
}

Acad::ErrorStatus KvDuct::getParamAtPoint(const AcGePoint3d& point, double& param) const {
  assertReadEnabled();
  param = (point - f_.start).dotProduct(unit());
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getDistAtParam(double param, double& dist) const {
  assertReadEnabled();
  dist = param;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getParamAtDist(double dist, double& param) const {
  assertReadEnabled();
  param = dist;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getDistAtPoint(const AcGePoint3d& point, double& dist) const {
  assertReadEnabled();
  dist = f_.start.distanceTo(point);
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getFirstDeriv(double, AcGeVector3d& firstDeriv) const {
  assertReadEnabled();
  firstDeriv = f_.end - f_.start;
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::getFirstDeriv(const AcGePoint3d&, AcGeVector3d& firstDeriv) const {
  return getFirstDeriv(0.0, firstDeriv);
}

Acad::ErrorStatus KvDuct::getSecondDeriv(double param, AcGeVector3d& secDeriv) const {
  return getFirstDeriv(param, secDeriv);
}

// ---- closest points ----

Acad::ErrorStatus KvDuct::getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                            Adesk::Boolean extend) const {
  assertReadEnabled();
  double d = (givenPnt - f_.start).dotProduct(unit());
  if (!extend && (d < 0.0 || d > length())) return Acad::eInvalidInput;
  pointOnCurve = f_.start + unit() * d;
  return Acad::eOk;
}

// Measured in the view's plane through the given point, so a pick on a sloped duct seen from
// above lands where the user sees it, at the duct's own height there.
Acad::ErrorStatus KvDuct::getClosestPointTo(const AcGePoint3d& givenPnt, const AcGeVector3d& direction,
                                            AcGePoint3d& pointOnCurve, Adesk::Boolean extend) const {
  assertReadEnabled();
  AcGePlane plane(givenPnt, direction.normal());
  AcGePoint3d s = f_.start.orthoProject(plane), e = f_.end.orthoProject(plane);
  double projected = s.distanceTo(e);
  // Seen along its own line a duct is a point, and no point of it is nearer than another.
  if (projected <= 0.0) return Acad::eInvalidInput;
  double d = (givenPnt - s).dotProduct((e - s) / projected);
  if (!extend && (d < 0.0 || d > projected)) return Acad::eInvalidInput;
  pointOnCurve = f_.start + (f_.end - f_.start) * (d / projected);
  return Acad::eOk;
}

// ---- editing: X and Y only ----

Acad::ErrorStatus KvDuct::extend(Adesk::Boolean extendStart, const AcGePoint3d& toPoint) {
  assertWriteEnabled();
  if (extendStart) setStart(toPoint, false);
  else setEnd(toPoint, false);
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::extend(double newParam) {
  assertWriteEnabled();
  AcGePoint3d p = f_.start + unit() * newParam;
  if (newParam < 0.0) setStart(p, false);
  else setEnd(p, false);
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  AcGePoint3d s = f_.start, e = f_.end;
  s.transformBy(xform);
  e.transformBy(xform);
  setStart(s, false);
  setEnd(e, false);
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  assertReadEnabled();
  gripPoints.append(f_.start);
  gripPoints.append(f_.start + (f_.end - f_.start) * 0.5);
  gripPoints.append(f_.end);
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  assertWriteEnabled();
  AcGeVector3d move = PlanOnly(offset);
  for (int i = 0; i < indices.length(); ++i) {
    int grip = indices[i];
    if (grip == 0 || grip == 1) setStart(f_.start + move, false);
    if (grip == 1 || grip == 2) setEnd(f_.end + move, false);
  }
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::subGetStretchPoints(AcGePoint3dArray& stretchPoints) const {
  assertReadEnabled();
  AcGePoint3d s(f_.start.x, f_.start.y, 0.0), e(f_.end.x, f_.end.y, 0.0);
  stretchPoints.append(s);
  if (!s.isEqualTo(e)) stretchPoints.append(e);
  return Acad::eOk;
}

// A riser offers one stretch point, which stands for both ends.
Acad::ErrorStatus KvDuct::subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  assertWriteEnabled();
  AcGeVector3d move = PlanOnly(offset);
  if (SamePlanPoint(f_.start, f_.end)) {
    if (indices.length() > 0 && indices[0] == 0) {
      setStart(f_.start + move, false);
      setEnd(f_.end + move, false);
    }
    return Acad::eOk;
  }
  for (int i = 0; i < indices.length(); ++i) {
    if (indices[i] == 0) setStart(f_.start + move, false);
    else if (indices[i] == 1) setEnd(f_.end + move, false);
  }
  return Acad::eOk;
}

// A riser's extents are the flat extents of its start: what selection windows see in plan.
Acad::ErrorStatus KvDuct::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  extents.addPoint(f_.start);
  if (!SamePlanPoint(f_.start, f_.end)) extents.addPoint(f_.end);
  return Acad::eOk;
}

// ---- snaps ----

Acad::ErrorStatus KvDuct::subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker, const AcGePoint3d& pickPoint,
                                            const AcGePoint3d& lastPoint, const AcGeMatrix3d&,
                                            AcGePoint3dArray& snapPoints, AcDbIntArray&) const {
  assertReadEnabled();
  bool riser = SamePlanPoint(f_.start, f_.end);
  auto endSet = [&] {
    snapPoints.append(f_.start);
    if (!riser) snapPoints.append(f_.end);
    hangerPoints(snapPoints);
  };
  auto nearSet = [&](const AcGePoint3d& q) {
    if (riser) return endSet();
    AcGePoint3d on;
    if (getClosestPointTo(q, CurrentUcsNormal(), on, false) == Acad::eOk) snapPoints.append(on);
  };
  switch (osnapMode) {
    case AcDb::kOsModeEnd: endSet(); return Acad::eOk;
    case AcDb::kOsModeMid:
      snapPoints.append(f_.start + (f_.end - f_.start) * 0.5);
      hangerPoints(snapPoints);
      return Acad::eOk;
    case AcDb::kOsModeCen:
      if (!riser) return Acad::eInvalidInput;
      endSet();
      return Acad::eOk;
    case AcDb::kOsModePerp: nearSet(lastPoint); return Acad::eOk;
    case AcDb::kOsModeNear: nearSet(pickPoint); return Acad::eOk;
    default: return Acad::eInvalidInput;
  }
}

// ---- intersections, through a temporary line that the other entity knows ----

namespace {

AcDb::Intersect SwapSides(AcDb::Intersect t) {
  if (t == AcDb::kExtendThis) return AcDb::kExtendArg;
  if (t == AcDb::kExtendArg) return AcDb::kExtendThis;
  return t;
}

}  // namespace

Acad::ErrorStatus KvDuct::subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                           AcGePoint3dArray& points, Adesk::GsMarker, Adesk::GsMarker) const {
  assertReadEnabled();
  if (pEnt == nullptr) return Acad::eNullEntityPointer;
  auto line = std::make_unique<AcDbLine>(f_.start, f_.end);
  line->setNormal(CurrentUcsNormal());
  return pEnt->intersectWith(line.get(), SwapSides(intType), projPlane, points, 0, 0);
}

Acad::ErrorStatus KvDuct::subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                           Adesk::GsMarker, Adesk::GsMarker) const {
  assertReadEnabled();
  if (pEnt == nullptr) return Acad::eNullEntityPointer;
  auto line = std::make_unique<AcDbLine>(f_.start, f_.end);
  line->setNormal(CurrentUcsNormal());
  return pEnt->intersectWith(line.get(), SwapSides(intType), points, 0, 0);
}
