// The lightweight polyline: vertices in its plane with bulges (arc segments) and widths.
#include <cmath>

#include "dbimpl.h"

namespace {


// An arc segment from a to b with bulge (tan of a quarter of the included angle, positive
// counter-clockwise): centre, radius, start angle and signed sweep.
struct Arc {
  AcGePoint2d center;
  double radius = 0, start = 0, sweep = 0;
};

Arc arcOf(const AcGePoint2d& a, const AcGePoint2d& b, double bulge) {
  Arc arc;
  arc.sweep = 4 * std::atan(bulge);
  AcGeVector2d c = b - a;
  double chord = c.length();
  double half = arc.sweep / 2;
  arc.radius = chord / (2 * std::fabs(std::sin(half)));
  AcGeVector2d left(-c.y / chord, c.x / chord);
  arc.center = a + c * 0.5 + left * (chord / 2 / std::tan(half));
  arc.start = (a - arc.center).angle();
  return arc;
}

bool isArc(double bulge, const AcGePoint2d& a, const AcGePoint2d& b) {
  return std::fabs(bulge) > 1e-12 && a.distanceTo(b) > 1e-12;
}

AcGePoint2d onArc(const Arc& arc, double fraction) {
  double ang = arc.start + arc.sweep * fraction;
  return arc.center + AcGeVector2d(std::cos(ang), std::sin(ang)) * arc.radius;
}

double segmentLength(const AcGePoint2d& a, const AcGePoint2d& b, double bulge) {
  if (!isArc(bulge, a, b)) return a.distanceTo(b);
  Arc arc = arcOf(a, b, bulge);
  return std::fabs(arc.sweep) * arc.radius;
}

}  // namespace

AcDbPolyline::AcDbPolyline(unsigned int num_verts) { verts_.reserve(num_verts); }

Acad::ErrorStatus AcDbPolyline::addVertexAt(unsigned int index, const AcGePoint2d& pt, double bulge, double startWidth,
                                            double endWidth) {
  assertWriteEnabled();
  if (index > verts_.size()) index = static_cast<unsigned>(verts_.size());
  Vertex v{pt, bulge, startWidth < 0 ? 0.0 : startWidth, endWidth < 0 ? 0.0 : endWidth};
  verts_.insert(verts_.begin() + index, v);
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::removeVertexAt(unsigned int index) {
  assertWriteEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  verts_.erase(verts_.begin() + index);
  recordGraphicsModified();
  return Acad::eOk;
}

unsigned int AcDbPolyline::numVerts() const { assertReadEnabled(); return static_cast<unsigned>(verts_.size()); }

Acad::ErrorStatus AcDbPolyline::getPointAt(unsigned int index, AcGePoint2d& pt) const {
  assertReadEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  pt = verts_[index].pt;
  return Acad::eOk;
}

// World point of a vertex: the plane's coordinates are taken at the elevation along the normal.
Acad::ErrorStatus AcDbPolyline::getPointAt(unsigned int index, AcGePoint3d& pt) const {
  AcGePoint2d p;
  Acad::ErrorStatus es = getPointAt(index, p);
  if (es != Acad::eOk) return es;
  pt = AcGeMatrix3d::planeToWorld(normal_) * AcGePoint3d(p.x, p.y, elevation_);
  if (normal_.isEqualTo(AcGeVector3d::kZAxis)) pt.set(p.x, p.y, elevation_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setPointAt(unsigned int index, const AcGePoint2d& pt) {
  assertWriteEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  verts_[index].pt = pt;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getBulgeAt(unsigned int index, double& bulge) const {
  assertReadEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  bulge = verts_[index].bulge;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setBulgeAt(unsigned int index, double bulge) {
  assertWriteEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  verts_[index].bulge = bulge;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getWidthsAt(unsigned int index, double& startWidth, double& endWidth) const {
  assertReadEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  startWidth = verts_[index].startWidth, endWidth = verts_[index].endWidth;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setWidthsAt(unsigned int index, double startWidth, double endWidth) {
  assertWriteEnabled();
  if (index >= verts_.size()) return Acad::eInvalidIndex;
  verts_[index].startWidth = startWidth, verts_[index].endWidth = endWidth;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getConstantWidth(double& width) const {
  assertReadEnabled();
  width = verts_.empty() ? 0.0 : verts_[0].startWidth;
  for (const Vertex& v : verts_)
    if (v.startWidth != width || v.endWidth != width) return Acad::eNotApplicable;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setConstantWidth(double width) {
  assertWriteEnabled();
  for (Vertex& v : verts_) v.startWidth = v.endWidth = width;
  return Acad::eOk;
}

void AcDbPolyline::setClosed(Adesk::Boolean closed) { assertWriteEnabled(); closed_ = closed; }
Adesk::Boolean AcDbPolyline::isClosed() const { assertReadEnabled(); return closed_; }
double AcDbPolyline::elevation() const { assertReadEnabled(); return elevation_; }
void AcDbPolyline::setElevation(double elev) { assertWriteEnabled(); elevation_ = elev; }
AcGeVector3d AcDbPolyline::normal() const { assertReadEnabled(); return normal_; }

Acad::ErrorStatus AcDbPolyline::setNormal(const AcGeVector3d& n) {
  if (n.isZeroLength()) return Acad::eInvalidInput;
  assertWriteEnabled();
  normal_ = n.normal();
  return Acad::eOk;
}

bool AcDbPolyline::isOnlyLines() const {
  for (const Vertex& v : verts_)
    if (std::fabs(v.bulge) > 1e-12) return false;
  return true;
}

Acad::ErrorStatus AcDbPolyline::getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const {
  AcGePoint3d origin;
  if (!verts_.empty()) getPointAt(0, origin);
  plane.set(origin, normal_);
  planarity = AcDb::kPlanar;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getStartParam(double& param) const { param = 0.0; return Acad::eOk; }

Acad::ErrorStatus AcDbPolyline::getEndParam(double& param) const {
  assertReadEnabled();
  if (verts_.empty()) return Acad::eInvalidInput;
  param = static_cast<double>(closed_ ? verts_.size() : verts_.size() - 1);
  return Acad::eOk;
}

namespace {

// Plane coordinates to world: the plane of the normal at the elevation.
AcGePoint3d toWorld(const AcGePoint2d& p, double elevation, const AcGeVector3d& normal) {
  if (normal.isEqualTo(AcGeVector3d::kZAxis)) return {p.x, p.y, elevation};
  return AcGeMatrix3d::planeToWorld(normal) * AcGePoint3d(p.x, p.y, elevation);
}

AcGePoint2d toPlane(const AcGePoint3d& p, const AcGeVector3d& normal) {
  if (normal.isEqualTo(AcGeVector3d::kZAxis)) return {p.x, p.y};
  return (AcGeMatrix3d::worldToPlane(normal) * p).convert2d();
}

}  // namespace

// Point of segment i at fraction f, in plane coordinates.
static AcGePoint2d segmentPoint(const AcGePoint2d& a, const AcGePoint2d& b, double bulge, double f) {
  if (!isArc(bulge, a, b)) return a + (b - a) * f;
  return onArc(arcOf(a, b, bulge), f);
}

Acad::ErrorStatus AcDbPolyline::getStartPoint(AcGePoint3d& point) const { return getPointAt(0, point); }

Acad::ErrorStatus AcDbPolyline::getEndPoint(AcGePoint3d& point) const {
  assertReadEnabled();
  if (verts_.empty()) return Acad::eInvalidInput;
  return getPointAt(closed_ ? 0 : static_cast<unsigned>(verts_.size() - 1), point);
}

Acad::ErrorStatus AcDbPolyline::getPointAtParam(double param, AcGePoint3d& point) const {
  double end = 0;
  if (getEndParam(end) != Acad::eOk || param < -1e-10 || param > end + 1e-10) return Acad::eInvalidInput;
  std::size_t n = verts_.size();
  std::size_t i = std::min(static_cast<std::size_t>(std::max(param, 0.0)), n > 1 && !closed_ ? n - 2 : n - 1);
  const Vertex& a = verts_[i];
  const Vertex& b = verts_[(i + 1) % n];
  point = toWorld(segmentPoint(a.pt, b.pt, a.bulge, std::clamp(param - static_cast<double>(i), 0.0, 1.0)), elevation_, normal_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getDistAtParam(double param, double& dist) const {
  double end = 0;
  if (getEndParam(end) != Acad::eOk || param < -1e-10 || param > end + 1e-10) return Acad::eInvalidInput;
  std::size_t n = verts_.size();
  dist = 0;
  for (std::size_t i = 0; i + 1 <= static_cast<std::size_t>(end) && static_cast<double>(i) < param; ++i) {
    const Vertex& a = verts_[i];
    const Vertex& b = verts_[(i + 1) % n];
    double f = std::min(1.0, param - static_cast<double>(i));
    dist += segmentLength(a.pt, b.pt, a.bulge) * f;
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getParamAtDist(double dist, double& param) const {
  double end = 0;
  if (getEndParam(end) != Acad::eOk || dist < -1e-10) return Acad::eInvalidInput;
  std::size_t n = verts_.size();
  double walked = 0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(end); ++i) {
    const Vertex& a = verts_[i];
    double len = segmentLength(a.pt, verts_[(i + 1) % n].pt, a.bulge);
    if (dist <= walked + len + 1e-10) {
      param = static_cast<double>(i) + (len > 0 ? std::min(1.0, (dist - walked) / len) : 0.0);
      return Acad::eOk;
    }
    walked += len;
  }
  if (end == 0 && dist <= 1e-10) return param = 0, Acad::eOk;
  return Acad::eInvalidInput;
}

Acad::ErrorStatus AcDbPolyline::getPointAtDist(double dist, AcGePoint3d& point) const {
  double param = 0;
  Acad::ErrorStatus es = getParamAtDist(dist, param);
  return es == Acad::eOk ? getPointAtParam(param, point) : es;
}

// Nearest point of each segment; the parameter of the nearest one over all segments.
Acad::ErrorStatus AcDbPolyline::getParamAtPoint(const AcGePoint3d& point, double& param) const {
  double end = 0;
  if (getEndParam(end) != Acad::eOk) return Acad::eInvalidInput;
  AcGePoint2d q = toPlane(point, normal_);
  std::size_t n = verts_.size();
  double best = 1e300;
  for (std::size_t i = 0; i < static_cast<std::size_t>(end); ++i) {
    const Vertex& a = verts_[i];
    const Vertex& b = verts_[(i + 1) % n];
    constexpr int kSteps = 64;
    for (int k = 0; k <= kSteps; ++k) {
      double f = static_cast<double>(k) / kSteps;
      double d = segmentPoint(a.pt, b.pt, a.bulge, f).distanceTo(q);
      if (d < best) best = d, param = static_cast<double>(i) + f;
    }
    if (!isArc(a.bulge, a.pt, b.pt)) {
      AcGeVector2d s = b.pt - a.pt;
      double f = s.lengthSqrd() > 0 ? std::clamp((q - a.pt).dotProduct(s) / s.lengthSqrd(), 0.0, 1.0) : 0.0;
      double d = (a.pt + s * f).distanceTo(q);
      if (d <= best) best = d, param = static_cast<double>(i) + f;
    }
  }
  if (end == 0 && n == 1) best = verts_[0].pt.distanceTo(q), param = 0;
  return best < 1e-6 ? Acad::eOk : Acad::eInvalidInput;
}

Acad::ErrorStatus AcDbPolyline::getDistAtPoint(const AcGePoint3d& point, double& dist) const {
  double param = 0;
  Acad::ErrorStatus es = getParamAtPoint(point, param);
  return es == Acad::eOk ? getDistAtParam(param, dist) : es;
}

Acad::ErrorStatus AcDbPolyline::getFirstDeriv(double param, AcGeVector3d& firstDeriv) const {
  AcGePoint3d a, b;
  double end = 0;
  if (getEndParam(end) != Acad::eOk || end == 0) return Acad::eInvalidInput;
  double h = 1e-6;
  double p0 = std::max(0.0, param - h), p1 = std::min(end, param + h);
  getPointAtParam(p0, a);
  getPointAtParam(p1, b);
  firstDeriv = (b - a) / (p1 - p0);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                                  Adesk::Boolean) const {
  double end = 0;
  if (getEndParam(end) != Acad::eOk) return Acad::eInvalidInput;
  AcGePoint2d q = toPlane(givenPnt, normal_);
  std::size_t n = verts_.size();
  double best = 1e300;
  AcGePoint2d bestPt = verts_[0].pt;
  for (std::size_t i = 0; i < static_cast<std::size_t>(end); ++i) {
    const Vertex& a = verts_[i];
    const Vertex& b = verts_[(i + 1) % n];
    AcGePoint2d c;
    if (isArc(a.bulge, a.pt, b.pt)) {
      constexpr int kSteps = 256;
      for (int k = 0; k <= kSteps; ++k) {
        AcGePoint2d p = segmentPoint(a.pt, b.pt, a.bulge, static_cast<double>(k) / kSteps);
        if (p.distanceTo(q) < best) best = p.distanceTo(q), bestPt = p;
      }
      continue;
    }
    AcGeVector2d s = b.pt - a.pt;
    double f = s.lengthSqrd() > 0 ? std::clamp((q - a.pt).dotProduct(s) / s.lengthSqrd(), 0.0, 1.0) : 0.0;
    c = a.pt + s * f;
    if (c.distanceTo(q) < best) best = c.distanceTo(q), bestPt = c;
  }
  pointOnCurve = toWorld(bestPt, elevation_, normal_);
  return Acad::eOk;
}

// Shoelace over the vertices plus the signed circular segment of each arc.
Acad::ErrorStatus AcDbPolyline::getArea(double& area) const {
  assertReadEnabled();
  double sum = 0;
  std::size_t n = verts_.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Vertex& a = verts_[i];
    const Vertex& b = verts_[(i + 1) % n];
    sum += a.pt.x * b.pt.y - b.pt.x * a.pt.y;
    if (isArc(a.bulge, a.pt, b.pt) && (closed_ || i + 1 < n)) {
      Arc arc = arcOf(a.pt, b.pt, a.bulge);
      double seg = 0.5 * arc.radius * arc.radius * (std::fabs(arc.sweep) - std::sin(std::fabs(arc.sweep)));
      sum += 2 * (arc.sweep > 0 ? seg : -seg);
    }
  }
  area = std::fabs(sum) / 2;
  return Acad::eOk;
}

Adesk::Boolean AcDbPolyline::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  std::vector<AcGePoint3d> pts;
  std::size_t n = verts_.size();
  std::size_t segs = closed_ ? n : (n > 0 ? n - 1 : 0);
  if (n > 0) pts.push_back(toWorld(verts_[0].pt, elevation_, normal_));
  for (std::size_t i = 0; i < segs; ++i) {
    const Vertex& a = verts_[i];
    const Vertex& b = verts_[(i + 1) % n];
    int steps = isArc(a.bulge, a.pt, b.pt) ? 16 : 1;
    for (int k = 1; k <= steps; ++k)
      pts.push_back(toWorld(segmentPoint(a.pt, b.pt, a.bulge, static_cast<double>(k) / steps), elevation_, normal_));
  }
  if (pts.size() >= 2) mode->geometry().polyline(static_cast<Adesk::UInt32>(pts.size()), pts.data(), &normal_);
  return true;
}

void AcDbPolyline::subList() const {
  AcDbEntity::subList();
  acutPrintf(L"              %s\n", closed_ ? L"Closed" : L"Open");
  for (const Vertex& v : verts_) acutPrintf(L"          at point  X=%10.4f  Y=%10.4f\n", v.pt.x, v.pt.y);
}

Acad::ErrorStatus AcDbPolyline::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  assertReadEnabled();
  for (unsigned i = 0; i < verts_.size(); ++i) gripPoints.append(toWorld(verts_[i].pt, elevation_, normal_));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  assertWriteEnabled();
  AcGeVector3d local = normal_.isEqualTo(AcGeVector3d::kZAxis) ? offset : AcGeMatrix3d::worldToPlane(normal_) * offset;
  for (int i : indices)
    if (i >= 0 && static_cast<std::size_t>(i) < verts_.size()) verts_[static_cast<std::size_t>(i)].pt += local.convert2d();
  recordGraphicsModified();
  return Acad::eOk;
}

// Keeps the polyline in its own kind: each vertex is moved, the plane follows the matrix.
Acad::ErrorStatus AcDbPolyline::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  AcGeVector3d newNormal = (xform * normal_).normal();
  bool mirrored = xform.det() < 0;
  for (Vertex& v : verts_) {
    AcGePoint3d w = xform * toWorld(v.pt, elevation_, normal_);
    v.pt = toPlane(w, newNormal);
    if (mirrored) v.bulge = -v.bulge;
  }
  if (!verts_.empty()) {
    AcGePoint3d w = xform * toWorld(AcGePoint2d(), elevation_, normal_);
    elevation_ = (normal_.isEqualTo(AcGeVector3d::kZAxis) && newNormal.isEqualTo(AcGeVector3d::kZAxis))
                     ? w.z
                     : (AcGeMatrix3d::worldToPlane(newNormal) * w).z;
  }
  normal_ = newNormal;
  double scale = xform.scale();
  for (Vertex& v : verts_) v.startWidth *= scale, v.endWidth *= scale;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::subExplode(AcDbVoidPtrArray& entitySet) const {
  assertReadEnabled();
  std::size_t n = verts_.size();
  std::size_t segs = closed_ ? n : (n > 0 ? n - 1 : 0);
  for (std::size_t i = 0; i < segs; ++i) {
    AcGePoint3d a, b;
    getPointAt(static_cast<unsigned>(i), a);
    getPointAt(static_cast<unsigned>((i + 1) % n), b);
    auto* line = new AcDbLine(a, b);
    line->setPropertiesFrom(this);
    entitySet.append(line);
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  if (verts_.empty()) return Acad::eInvalidExtents;
  std::size_t n = verts_.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Vertex& a = verts_[i];
    extents.addPoint(toWorld(a.pt, elevation_, normal_));
    bool last = i + 1 == n;
    if (last && !closed_) break;
    const Vertex& b = verts_[(i + 1) % n];
    if (isArc(a.bulge, a.pt, b.pt))
      for (int k = 1; k < 32; ++k) extents.addPoint(toWorld(segmentPoint(a.pt, b.pt, a.bulge, k / 32.0), elevation_, normal_));
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeBool(closed_);
  filer->writeDouble(elevation_);
  filer->writeVector3d(normal_);
  filer->writeUInt32(static_cast<Adesk::UInt32>(verts_.size()));
  for (const Vertex& v : verts_) {
    filer->writePoint2d(v.pt);
    filer->writeDouble(v.bulge);
    filer->writeDouble(v.startWidth);
    filer->writeDouble(v.endWidth);
  }
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbPolyline::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  Adesk::UInt32 n = 0;
  filer->readBool(&closed_);
  filer->readDouble(&elevation_);
  filer->readVector3d(&normal_);
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  verts_.clear();
  for (Adesk::UInt32 i = 0; i < n && filer->filerStatus() == Acad::eOk; ++i) {
    Vertex v;
    filer->readPoint2d(&v.pt);
    filer->readDouble(&v.bulge);
    filer->readDouble(&v.startWidth);
    filer->readDouble(&v.endWidth);
    verts_.push_back(v);
  }
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbPolyline::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbPolyline");
  filer->writeInt32(AcDb::kDxfInt32, static_cast<Adesk::Int32>(verts_.size()));
  filer->writeInt16(AcDb::kDxfInt16, closed_ ? 1 : 0);
  if (elevation_ != 0.0) filer->writeDouble(AcDb::kDxfElevation, elevation_);
  for (const Vertex& v : verts_) {
    filer->writePoint2d(AcDb::kDxfXCoord, v.pt);
    if (v.startWidth != 0.0) filer->writeDouble(AcDb::kDxfReal, v.startWidth);
    if (v.endWidth != 0.0) filer->writeDouble(static_cast<AcDb::DxfCode>(41), v.endWidth);
    if (v.bulge != 0.0) filer->writeDouble(static_cast<AcDb::DxfCode>(42), v.bulge);
  }
  if (!normal_.isEqualTo(AcGeVector3d::kZAxis)) filer->writeVector3d(AcDb::kDxfNormalX, normal_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbPolyline::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbPolyline")) return Acad::eBadDxfSequence;
  verts_.clear();
  resbuf rb;
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    switch (rb.restype) {
      case 10: verts_.push_back({AcGePoint2d(rb.resval.rpoint[0], rb.resval.rpoint[1]), 0, 0, 0}); break;
      case 40: if (!verts_.empty()) verts_.back().startWidth = rb.resval.rreal; break;
      case 41: if (!verts_.empty()) verts_.back().endWidth = rb.resval.rreal; break;
      case 42: if (!verts_.empty()) verts_.back().bulge = rb.resval.rreal; break;
      case 70: closed_ = (rb.resval.rint & 1) != 0; break;
      case 38: elevation_ = rb.resval.rreal; break;
      case 210: normal_.set(rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]); break;
      default: break;
    }
  }
  return filer->filerStatus();
}
