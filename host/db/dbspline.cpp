// The interpolating spline over the geometry kernel's B-spline curve.
#include <GCPnts_AbscissaPoint.hxx>
#include <Geom_BSplineCurve.hxx>
#include <GeomAPI_Interpolate.hxx>
#include <GeomAPI_ProjectPointOnCurve.hxx>
#include <GeomAdaptor_Curve.hxx>
#include <Standard_Failure.hxx>
#include <TColgp_HArray1OfPnt.hxx>

#include <stdexcept>

#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbSpline, AcDbCurve, L"SPLINE", []() -> AcRxObject* { return new AcDbSpline; })

struct AcDbSpline::Impl {
  std::vector<AcGePoint3d> fit;
  AcGeVector3d startTangent, endTangent;
  int degree = 3;
  double fitTolerance = 0.0;
  Handle(Geom_BSplineCurve) curve;

  // Rebuilds the kernel curve; false (curve unchanged) for a degenerate fit.
  bool build(std::string& why);
  double length(double u0, double u1) const {
    GeomAdaptor_Curve adaptor(curve);
    return GCPnts_AbscissaPoint::Length(adaptor, u0, u1);
  }
};

namespace {
gp_Pnt toGp(const AcGePoint3d& p) { return gp_Pnt(p.x, p.y, p.z); }
AcGePoint3d fromGp(const gp_Pnt& p) { return {p.X(), p.Y(), p.Z()}; }
AcGeVector3d fromGp(const gp_Vec& v) { return {v.X(), v.Y(), v.Z()}; }
constexpr double kConfusion = 1e-9;
}  // namespace

bool AcDbSpline::Impl::build(std::string& why) {
  if (fit.size() < 2) return why = "a spline needs at least two fit points", false;
  for (std::size_t i = 1; i < fit.size(); ++i)
    if (fit[i].distanceTo(fit[i - 1]) <= kConfusion) return why = "two consecutive fit points coincide", false;
  try {
    Handle(TColgp_HArray1OfPnt) pts = new TColgp_HArray1OfPnt(1, static_cast<int>(fit.size()));
    for (std::size_t i = 0; i < fit.size(); ++i) pts->SetValue(static_cast<int>(i) + 1, toGp(fit[i]));
    GeomAPI_Interpolate interp(pts, Standard_False, kConfusion);
    if (!startTangent.isZeroLength() && !endTangent.isZeroLength())
      interp.Load(gp_Vec(startTangent.x, startTangent.y, startTangent.z),
                  gp_Vec(endTangent.x, endTangent.y, endTangent.z), Standard_True);
    interp.Perform();
    if (!interp.IsDone()) return why = "the fit points cannot be interpolated", false;
    curve = interp.Curve();
    return true;
  } catch (const Standard_Failure& f) {
    why = std::string("geometry kernel: ") + (f.GetMessageString() ? f.GetMessageString() : "failure");
    return false;
  }
}

AcDbSpline::AcDbSpline() : impl_(new Impl) {}

AcDbSpline::AcDbSpline(const AcGePoint3dArray& fitPoints, int order, double fitTolerance)
    : AcDbSpline(fitPoints, AcGeVector3d(), AcGeVector3d(), order, fitTolerance) {}

AcDbSpline::AcDbSpline(const AcGePoint3dArray& fitPoints, const AcGeVector3d& startTangent,
                       const AcGeVector3d& endTangent, int order, double fitTolerance)
    : impl_(new Impl) {
  if (order < 2 || order > 26) throw std::invalid_argument("AcDbSpline: order must be 2 to 26");
  impl_->fit.assign(fitPoints.begin(), fitPoints.end());
  impl_->startTangent = startTangent;
  impl_->endTangent = endTangent;
  impl_->degree = order - 1;
  impl_->fitTolerance = fitTolerance;
  std::string why;
  if (!impl_->build(why)) throw std::invalid_argument("AcDbSpline: " + why);
}

AcDbSpline::~AcDbSpline() = default;

int AcDbSpline::numFitPoints() const { assertReadEnabled(); return static_cast<int>(impl_->fit.size()); }

Acad::ErrorStatus AcDbSpline::getFitPointAt(int index, AcGePoint3d& point) const {
  assertReadEnabled();
  if (index < 0 || static_cast<std::size_t>(index) >= impl_->fit.size()) return Acad::eInvalidIndex;
  point = impl_->fit[static_cast<std::size_t>(index)];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getFitTangents(AcGeVector3d& startTangent, AcGeVector3d& endTangent) const {
  assertReadEnabled();
  startTangent = impl_->startTangent, endTangent = impl_->endTangent;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getFitData(AcGePoint3dArray& fitPoints, int& degree, double& fitTolerance,
                                         Adesk::Boolean& tangentsExist, AcGeVector3d& startTangent,
                                         AcGeVector3d& endTangent) const {
  assertReadEnabled();
  fitPoints.removeAll();
  for (const auto& p : impl_->fit) fitPoints.append(p);
  degree = impl_->degree, fitTolerance = impl_->fitTolerance;
  tangentsExist = !impl_->startTangent.isZeroLength() && !impl_->endTangent.isZeroLength();
  startTangent = impl_->startTangent, endTangent = impl_->endTangent;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::setFitData(const AcGePoint3dArray& fitPoints, int degree, double fitTolerance,
                                         const AcGeVector3d& startTangent, const AcGeVector3d& endTangent) {
  assertWriteEnabled();
  Impl next;
  next.fit.assign(fitPoints.begin(), fitPoints.end());
  next.degree = degree, next.fitTolerance = fitTolerance;
  next.startTangent = startTangent, next.endTangent = endTangent;
  std::string why;
  if (degree < 1 || !next.build(why)) return Acad::eInvalidInput;
  *impl_ = next;
  recordGraphicsModified();
  return Acad::eOk;
}

int AcDbSpline::degree() const { assertReadEnabled(); return impl_->degree; }
bool AcDbSpline::hasFitData() const { return !impl_->fit.empty(); }

Adesk::Boolean AcDbSpline::isClosed() const {
  assertReadEnabled();
  return impl_->fit.size() > 2 && impl_->fit.front().isEqualTo(impl_->fit.back());
}

Adesk::Boolean AcDbSpline::isPlanar() const {
  AcGePlane plane;
  AcDb::Planarity planarity;
  getPlane(plane, planarity);
  return planarity != AcDb::kNotPlanar;
}

// Planar when every fit point lies in the plane of the first three that are not collinear.
Acad::ErrorStatus AcDbSpline::getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const {
  assertReadEnabled();
  const auto& f = impl_->fit;
  planarity = AcDb::kLinear;
  if (f.size() < 2) return Acad::eOk;
  AcGeVector3d d = f[1] - f[0];
  for (std::size_t i = 2; i < f.size(); ++i) {
    AcGeVector3d n = d.crossProduct(f[i] - f[0]);
    if (n.length() <= 1e-9 * std::max(1.0, d.length())) continue;
    plane.set(f[0], n);
    planarity = AcDb::kPlanar;
    for (const auto& p : f)
      if (plane.distanceTo(p) > 1e-9) planarity = AcDb::kNotPlanar;
    return Acad::eOk;
  }
  plane.set(f[0], d.perpVector());
  return Acad::eOk;
}

#define KV_SPLINE_READY()                                              \
  assertReadEnabled();                                                 \
  if (impl_->curve.IsNull()) return Acad::eNotApplicable

Acad::ErrorStatus AcDbSpline::getStartParam(double& param) const { KV_SPLINE_READY(); param = impl_->curve->FirstParameter(); return Acad::eOk; }
Acad::ErrorStatus AcDbSpline::getEndParam(double& param) const { KV_SPLINE_READY(); param = impl_->curve->LastParameter(); return Acad::eOk; }
Acad::ErrorStatus AcDbSpline::getStartPoint(AcGePoint3d& point) const { KV_SPLINE_READY(); point = fromGp(impl_->curve->StartPoint()); return Acad::eOk; }
Acad::ErrorStatus AcDbSpline::getEndPoint(AcGePoint3d& point) const { KV_SPLINE_READY(); point = fromGp(impl_->curve->EndPoint()); return Acad::eOk; }

Acad::ErrorStatus AcDbSpline::getPointAtParam(double param, AcGePoint3d& point) const {
  KV_SPLINE_READY();
  const auto& c = impl_->curve;
  if (param < c->FirstParameter() - 1e-10 || param > c->LastParameter() + 1e-10) return Acad::eInvalidInput;
  point = fromGp(c->Value(param));
  return Acad::eOk;
}

// The parameter of the point's projection; eInvalidInput for a point not on the curve.
Acad::ErrorStatus AcDbSpline::getParamAtPoint(const AcGePoint3d& point, double& param) const {
  KV_SPLINE_READY();
  GeomAPI_ProjectPointOnCurve proj(toGp(point), impl_->curve);
  if (proj.NbPoints() == 0 || proj.LowerDistance() > 1e-6) return Acad::eInvalidInput;
  param = proj.LowerDistanceParameter();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getDistAtParam(double param, double& dist) const {
  KV_SPLINE_READY();
  const auto& c = impl_->curve;
  if (param < c->FirstParameter() - 1e-10 || param > c->LastParameter() + 1e-10) return Acad::eInvalidInput;
  dist = impl_->length(c->FirstParameter(), std::clamp(param, c->FirstParameter(), c->LastParameter()));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getParamAtDist(double dist, double& param) const {
  KV_SPLINE_READY();
  const auto& c = impl_->curve;
  double total = impl_->length(c->FirstParameter(), c->LastParameter());
  if (dist < -1e-10 || dist > total + 1e-9) return Acad::eInvalidInput;
  GeomAdaptor_Curve adaptor(c);
  GCPnts_AbscissaPoint ap(adaptor, std::clamp(dist, 0.0, total), c->FirstParameter());
  if (!ap.IsDone()) return Acad::eInvalidInput;
  param = ap.Parameter();
  return Acad::eOk;
}

// The point is projected onto the curve first (the nearest point of the curve counts).
Acad::ErrorStatus AcDbSpline::getDistAtPoint(const AcGePoint3d& point, double& dist) const {
  KV_SPLINE_READY();
  const auto& c = impl_->curve;
  double param = c->FirstParameter();
  GeomAPI_ProjectPointOnCurve proj(toGp(point), c);
  if (proj.NbPoints() > 0) param = proj.LowerDistanceParameter();
  if (point.distanceTo(fromGp(c->EndPoint())) <= 1e-9) param = c->LastParameter();
  else if (point.distanceTo(fromGp(c->StartPoint())) <= 1e-9) param = c->FirstParameter();
  dist = impl_->length(c->FirstParameter(), param);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getPointAtDist(double dist, AcGePoint3d& point) const {
  double param = 0;
  Acad::ErrorStatus es = getParamAtDist(dist, param);
  return es == Acad::eOk ? getPointAtParam(param, point) : es;
}

Acad::ErrorStatus AcDbSpline::getFirstDeriv(double param, AcGeVector3d& firstDeriv) const {
  KV_SPLINE_READY();
  firstDeriv = fromGp(impl_->curve->DN(param, 1));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getFirstDeriv(const AcGePoint3d& point, AcGeVector3d& firstDeriv) const {
  return AcDbCurve::getFirstDeriv(point, firstDeriv);
}

Acad::ErrorStatus AcDbSpline::getSecondDeriv(double param, AcGeVector3d& secDeriv) const {
  KV_SPLINE_READY();
  secDeriv = fromGp(impl_->curve->DN(param, 2));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                                Adesk::Boolean) const {
  KV_SPLINE_READY();
  const auto& c = impl_->curve;
  GeomAPI_ProjectPointOnCurve proj(toGp(givenPnt), c);
  AcGePoint3d s = fromGp(c->StartPoint()), e = fromGp(c->EndPoint());
  pointOnCurve = givenPnt.distanceTo(s) <= givenPnt.distanceTo(e) ? s : e;
  if (proj.NbPoints() > 0 && proj.LowerDistance() < givenPnt.distanceTo(pointOnCurve))
    pointOnCurve = fromGp(proj.NearestPoint());
  return Acad::eOk;
}

Adesk::Boolean AcDbSpline::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  if (impl_->curve.IsNull()) return true;
  const auto& c = impl_->curve;
  constexpr int kSamples = 64;
  std::vector<AcGePoint3d> pts;
  double u0 = c->FirstParameter(), u1 = c->LastParameter();
  for (int i = 0; i <= kSamples; ++i) pts.push_back(fromGp(c->Value(u0 + (u1 - u0) * i / kSamples)));
  mode->geometry().polyline(static_cast<Adesk::UInt32>(pts.size()), pts.data());
  return true;
}

Acad::ErrorStatus AcDbSpline::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  Impl next = *impl_;
  for (auto& p : next.fit) p.transformBy(xform);
  next.startTangent.transformBy(xform);
  next.endTangent.transformBy(xform);
  std::string why;
  if (!next.build(why)) return Acad::eInvalidInput;
  *impl_ = next;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::subGetGeomExtents(AcDbExtents& extents) const {
  KV_SPLINE_READY();
  const auto& c = impl_->curve;
  for (int i = 1; i <= c->NbPoles(); ++i) extents.addPoint(fromGp(c->Pole(i)));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeInt32(impl_->degree);
  filer->writeDouble(impl_->fitTolerance);
  filer->writeVector3d(impl_->startTangent);
  filer->writeVector3d(impl_->endTangent);
  filer->writeUInt32(static_cast<Adesk::UInt32>(impl_->fit.size()));
  for (const auto& p : impl_->fit) filer->writePoint3d(p);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbSpline::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  Impl next;
  Adesk::UInt32 n = 0;
  filer->readInt32(&next.degree);
  filer->readDouble(&next.fitTolerance);
  filer->readVector3d(&next.startTangent);
  filer->readVector3d(&next.endTangent);
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  for (Adesk::UInt32 i = 0; i < n && filer->filerStatus() == Acad::eOk; ++i) {
    AcGePoint3d p;
    filer->readPoint3d(&p);
    next.fit.push_back(p);
  }
  if (filer->filerStatus() != Acad::eOk) return filer->filerStatus();
  std::string why;
  if (!next.fit.empty() && !next.build(why)) return Acad::eInvalidInput;
  *impl_ = next;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSpline::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbSpline");
  const auto& c = impl_->curve;
  bool tangents = !impl_->startTangent.isZeroLength() && !impl_->endTangent.isZeroLength();
  filer->writeInt16(AcDb::kDxfInt16, static_cast<Adesk::Int16>(8 | 1024));  // planar flag off; fit data kept
  filer->writeInt16(static_cast<AcDb::DxfCode>(71), static_cast<Adesk::Int16>(c.IsNull() ? 3 : c->Degree()));
  filer->writeInt16(static_cast<AcDb::DxfCode>(72), static_cast<Adesk::Int16>(c.IsNull() ? 0 : c->NbKnots() == 0 ? 0 : c->KnotSequence().Length()));
  filer->writeInt16(static_cast<AcDb::DxfCode>(73), static_cast<Adesk::Int16>(c.IsNull() ? 0 : c->NbPoles()));
  filer->writeInt16(static_cast<AcDb::DxfCode>(74), static_cast<Adesk::Int16>(impl_->fit.size()));
  filer->writeDouble(static_cast<AcDb::DxfCode>(42), 1e-10);
  filer->writeDouble(static_cast<AcDb::DxfCode>(43), 1e-10);
  filer->writeDouble(static_cast<AcDb::DxfCode>(44), impl_->fitTolerance > 0 ? impl_->fitTolerance : 1e-10);
  if (tangents) {
    filer->writeVector3d(static_cast<AcDb::DxfCode>(12), impl_->startTangent.normal());
    filer->writeVector3d(static_cast<AcDb::DxfCode>(13), impl_->endTangent.normal());
  }
  if (!c.IsNull()) {
    TColStd_Array1OfReal knots(1, c->KnotSequence().Length());
    c->KnotSequence(knots);
    for (int i = knots.Lower(); i <= knots.Upper(); ++i) filer->writeDouble(AcDb::kDxfReal, knots(i));
    for (int i = 1; i <= c->NbPoles(); ++i) filer->writePoint3d(AcDb::kDxfXCoord, fromGp(c->Pole(i)));
  }
  for (const auto& p : impl_->fit) filer->writePoint3d(static_cast<AcDb::DxfCode>(11), p);
  return filer->filerStatus();
}

// Rebuilt from the fit points and end tangents; knots and poles are recomputed.
Acad::ErrorStatus AcDbSpline::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbSpline")) return Acad::eBadDxfSequence;
  Impl next;
  resbuf rb;
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    const double* p = rb.resval.rpoint;
    switch (rb.restype) {
      case 11: next.fit.push_back(AcGePoint3d(p[0], p[1], p[2])); break;
      case 12: next.startTangent.set(p[0], p[1], p[2]); break;
      case 13: next.endTangent.set(p[0], p[1], p[2]); break;
      case 71: next.degree = rb.resval.rint; break;
      default: break;
    }
  }
  std::string why;
  if (!next.build(why)) return Acad::eInvalidInput;
  *impl_ = next;
  return filer->filerStatus();
}
