// Geometry: the parts of vectors, matrices, planes and 2D lines that are not inline.
#include "ge.h"

#include <cmath>

AcGeTol AcGeContext::gTol;

const AcGeVector2d AcGeVector2d::kXAxis(1, 0);
const AcGeVector2d AcGeVector2d::kYAxis(0, 1);
const AcGeVector2d AcGeVector2d::kIdentity(1, 1);
const AcGePoint2d AcGePoint2d::kOrigin(0, 0);
const AcGeVector3d AcGeVector3d::kXAxis(1, 0, 0);
const AcGeVector3d AcGeVector3d::kYAxis(0, 1, 0);
const AcGeVector3d AcGeVector3d::kZAxis(0, 0, 1);
const AcGeVector3d AcGeVector3d::kIdentity(1, 1, 1);
const AcGePoint3d AcGePoint3d::kOrigin(0, 0, 0);
const AcGeMatrix3d AcGeMatrix3d::kIdentity;
const AcGePlane AcGePlane::kXYPlane(AcGePoint3d(0, 0, 0), AcGeVector3d(1, 0, 0), AcGeVector3d(0, 1, 0));
const AcGePlane AcGePlane::kYZPlane(AcGePoint3d(0, 0, 0), AcGeVector3d(0, 1, 0), AcGeVector3d(0, 0, 1));
const AcGePlane AcGePlane::kZXPlane(AcGePoint3d(0, 0, 0), AcGeVector3d(0, 0, 1), AcGeVector3d(1, 0, 0));

namespace {
constexpr double kTwoPi = 6.283185307179586476925286766559;
}

AcGeVector2d AcGeVector2d::normal(const AcGeTol& tol) const {
  double len = length();
  return len <= tol.equalVector() ? AcGeVector2d() : AcGeVector2d(x / len, y / len);
}

double AcGeVector2d::angle() const {
  double a = std::atan2(y, x);
  return a < 0 ? a + kTwoPi : a;
}

AcGeVector3d AcGeVector3d::normal(const AcGeTol& tol) const {
  double len = length();
  return len <= tol.equalVector() ? AcGeVector3d() : AcGeVector3d(x / len, y / len, z / len);
}

double AcGeVector3d::angleTo(const AcGeVector3d& v) const {
  double c = crossProduct(v).length();
  return std::atan2(c, dotProduct(v));
}

double AcGeVector3d::angleTo(const AcGeVector3d& v, const AcGeVector3d& reference) const {
  double a = angleTo(v);
  if (crossProduct(v).dotProduct(reference) < 0) a = kTwoPi - a;
  return a >= kTwoPi ? 0.0 : a;
}

AcGeVector3d AcGeVector3d::perpVector() const {
  // The arbitrary axis rule: a vector near the Z axis takes the world Y axis as its partner.
  if (std::fabs(x) < 1.0 / 64 && std::fabs(y) < 1.0 / 64) return AcGeVector3d::kYAxis.crossProduct(*this).normal();
  return AcGeVector3d::kZAxis.crossProduct(*this).normal();
}

bool AcGeVector3d::isParallelTo(const AcGeVector3d& v, const AcGeTol& tol) const {
  AcGeVector3d a = normal(tol), b = v.normal(tol);
  if (a.isZeroLength(tol) || b.isZeroLength(tol)) return false;
  return a.crossProduct(b).length() <= tol.equalVector();
}

bool AcGeVector3d::isPerpendicularTo(const AcGeVector3d& v, const AcGeTol& tol) const {
  AcGeVector3d a = normal(tol), b = v.normal(tol);
  if (a.isZeroLength(tol) || b.isZeroLength(tol)) return false;
  return std::fabs(a.dotProduct(b)) <= tol.equalVector();
}

AcGeVector3d& AcGeVector3d::transformBy(const AcGeMatrix3d& m) {
  double nx = m.entry[0][0] * x + m.entry[0][1] * y + m.entry[0][2] * z;
  double ny = m.entry[1][0] * x + m.entry[1][1] * y + m.entry[1][2] * z;
  double nz = m.entry[2][0] * x + m.entry[2][1] * y + m.entry[2][2] * z;
  x = nx, y = ny, z = nz;
  return *this;
}

AcGePoint3d::AcGePoint3d(const AcGePlane& plane, const AcGePoint2d& pnt) { *this = plane.evalPoint(pnt); }

AcGePoint3d& AcGePoint3d::transformBy(const AcGeMatrix3d& m) {
  double nx = m.entry[0][0] * x + m.entry[0][1] * y + m.entry[0][2] * z + m.entry[0][3];
  double ny = m.entry[1][0] * x + m.entry[1][1] * y + m.entry[1][2] * z + m.entry[1][3];
  double nz = m.entry[2][0] * x + m.entry[2][1] * y + m.entry[2][2] * z + m.entry[2][3];
  x = nx, y = ny, z = nz;
  return *this;
}

AcGePoint3d AcGePoint3d::orthoProject(const AcGePlane& plane) const { return plane.closestPointTo(*this); }

AcGeMatrix3d::AcGeMatrix3d() { setToIdentity(); }

AcGeMatrix3d& AcGeMatrix3d::setToIdentity() {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) entry[r][c] = r == c ? 1.0 : 0.0;
  return *this;
}

bool AcGeMatrix3d::isEqualTo(const AcGeMatrix3d& m, const AcGeTol& tol) const {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c)
      if (std::fabs(entry[r][c] - m.entry[r][c]) > tol.equalVector()) return false;
  return true;
}

AcGeMatrix3d AcGeMatrix3d::operator*(const AcGeMatrix3d& m) const {
  AcGeMatrix3d out;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) {
      double s = 0;
      for (int k = 0; k < 4; ++k) s += entry[r][k] * m.entry[k][c];
      out.entry[r][c] = s;
    }
  return out;
}

AcGeMatrix3d& AcGeMatrix3d::preMultBy(const AcGeMatrix3d& left) { return *this = left * *this; }
AcGeMatrix3d& AcGeMatrix3d::postMultBy(const AcGeMatrix3d& right) { return *this = *this * right; }

double AcGeMatrix3d::det() const {
  const auto& e = entry;
  return e[0][0] * (e[1][1] * e[2][2] - e[1][2] * e[2][1]) - e[0][1] * (e[1][0] * e[2][2] - e[1][2] * e[2][0]) +
         e[0][2] * (e[1][0] * e[2][1] - e[1][1] * e[2][0]);
}

bool AcGeMatrix3d::isSingular(const AcGeTol& tol) const { return std::fabs(det()) <= tol.equalVector(); }

AcGeMatrix3d AcGeMatrix3d::inverse() const {
  double d = det();
  if (std::fabs(d) < 1e-300) return AcGeMatrix3d();
  const auto& e = entry;
  AcGeMatrix3d out;
  out.entry[0][0] = (e[1][1] * e[2][2] - e[1][2] * e[2][1]) / d;
  out.entry[0][1] = (e[0][2] * e[2][1] - e[0][1] * e[2][2]) / d;
  out.entry[0][2] = (e[0][1] * e[1][2] - e[0][2] * e[1][1]) / d;
  out.entry[1][0] = (e[1][2] * e[2][0] - e[1][0] * e[2][2]) / d;
  out.entry[1][1] = (e[0][0] * e[2][2] - e[0][2] * e[2][0]) / d;
  out.entry[1][2] = (e[0][2] * e[1][0] - e[0][0] * e[1][2]) / d;
  out.entry[2][0] = (e[1][0] * e[2][1] - e[1][1] * e[2][0]) / d;
  out.entry[2][1] = (e[0][1] * e[2][0] - e[0][0] * e[2][1]) / d;
  out.entry[2][2] = (e[0][0] * e[1][1] - e[0][1] * e[1][0]) / d;
  for (int r = 0; r < 3; ++r)
    out.entry[r][3] = -(out.entry[r][0] * e[0][3] + out.entry[r][1] * e[1][3] + out.entry[r][2] * e[2][3]);
  return out;
}

AcGeMatrix3d& AcGeMatrix3d::setToTranslation(const AcGeVector3d& v) {
  setToIdentity();
  entry[0][3] = v.x, entry[1][3] = v.y, entry[2][3] = v.z;
  return *this;
}

// Rodrigues' rotation about an axis through `center`.
AcGeMatrix3d& AcGeMatrix3d::setToRotation(double angle, const AcGeVector3d& axis, const AcGePoint3d& center) {
  AcGeVector3d u = axis.normal();
  double c = std::cos(angle), s = std::sin(angle), t = 1 - c;
  setToIdentity();
  entry[0][0] = t * u.x * u.x + c;
  entry[0][1] = t * u.x * u.y - s * u.z;
  entry[0][2] = t * u.x * u.z + s * u.y;
  entry[1][0] = t * u.x * u.y + s * u.z;
  entry[1][1] = t * u.y * u.y + c;
  entry[1][2] = t * u.y * u.z - s * u.x;
  entry[2][0] = t * u.x * u.z - s * u.y;
  entry[2][1] = t * u.y * u.z + s * u.x;
  entry[2][2] = t * u.z * u.z + c;
  AcGeVector3d cv = center.asVector();
  AcGeVector3d rc = cv;
  rc.transformBy(*this);
  AcGeVector3d tr = cv - rc;
  entry[0][3] = tr.x, entry[1][3] = tr.y, entry[2][3] = tr.z;
  return *this;
}

AcGeMatrix3d& AcGeMatrix3d::setToScaling(double scale, const AcGePoint3d& center) {
  return setToScaling(AcGeScale3d(scale), center);
}

AcGeMatrix3d& AcGeMatrix3d::setToScaling(const AcGeScale3d& scale, const AcGePoint3d& center) {
  setToIdentity();
  entry[0][0] = scale.sx, entry[1][1] = scale.sy, entry[2][2] = scale.sz;
  entry[0][3] = center.x * (1 - scale.sx);
  entry[1][3] = center.y * (1 - scale.sy);
  entry[2][3] = center.z * (1 - scale.sz);
  return *this;
}

AcGeMatrix3d& AcGeMatrix3d::setToMirroring(const AcGePlane& plane) {
  AcGeVector3d n = plane.normal();
  AcGePoint3d p = plane.pointOnPlane();
  setToIdentity();
  for (unsigned r = 0; r < 3; ++r)
    for (unsigned c = 0; c < 3; ++c) entry[r][c] -= 2 * n[r] * n[c];
  double d = p.asVector().dotProduct(n);
  for (unsigned r = 0; r < 3; ++r) entry[r][3] = 2 * d * n[r];
  return *this;
}

AcGeMatrix3d& AcGeMatrix3d::setCoordSystem(const AcGePoint3d& origin, const AcGeVector3d& xAxis,
                                           const AcGeVector3d& yAxis, const AcGeVector3d& zAxis) {
  setToIdentity();
  for (unsigned r = 0; r < 3; ++r) {
    entry[r][0] = xAxis[r], entry[r][1] = yAxis[r], entry[r][2] = zAxis[r], entry[r][3] = origin[r];
  }
  return *this;
}

void AcGeMatrix3d::getCoordSystem(AcGePoint3d& origin, AcGeVector3d& xAxis, AcGeVector3d& yAxis,
                                  AcGeVector3d& zAxis) const {
  for (unsigned r = 0; r < 3; ++r) {
    xAxis[r] = entry[r][0], yAxis[r] = entry[r][1], zAxis[r] = entry[r][2], origin[r] = entry[r][3];
  }
}

AcGeMatrix3d& AcGeMatrix3d::setToAlignCoordSys(const AcGePoint3d& fromOrigin, const AcGeVector3d& fromXAxis,
                                               const AcGeVector3d& fromYAxis, const AcGeVector3d& fromZAxis,
                                               const AcGePoint3d& toOrigin, const AcGeVector3d& toXAxis,
                                               const AcGeVector3d& toYAxis, const AcGeVector3d& toZAxis) {
  AcGeMatrix3d from, to;
  from.setCoordSystem(fromOrigin, fromXAxis, fromYAxis, fromZAxis);
  to.setCoordSystem(toOrigin, toXAxis, toYAxis, toZAxis);
  return *this = to * from.inverse();
}

double AcGeMatrix3d::scale() const {
  double best = 0;
  for (unsigned c = 0; c < 3; ++c) {
    AcGeVector3d col(entry[0][c], entry[1][c], entry[2][c]);
    best = std::max(best, col.length());
  }
  return best;
}

bool AcGeMatrix3d::isUniScaledOrtho(const AcGeTol& tol) const {
  AcGeVector3d a(entry[0][0], entry[1][0], entry[2][0]), b(entry[0][1], entry[1][1], entry[2][1]),
      c(entry[0][2], entry[1][2], entry[2][2]);
  double la = a.length();
  return std::fabs(la - b.length()) <= tol.equalVector() && std::fabs(la - c.length()) <= tol.equalVector() &&
         a.isPerpendicularTo(b, tol) && b.isPerpendicularTo(c, tol) && a.isPerpendicularTo(c, tol);
}

AcGeMatrix3d AcGeMatrix3d::translation(const AcGeVector3d& v) { return AcGeMatrix3d().setToTranslation(v); }
AcGeMatrix3d AcGeMatrix3d::rotation(double angle, const AcGeVector3d& axis, const AcGePoint3d& center) {
  return AcGeMatrix3d().setToRotation(angle, axis, center);
}
AcGeMatrix3d AcGeMatrix3d::scaling(double scale, const AcGePoint3d& center) {
  return AcGeMatrix3d().setToScaling(scale, center);
}
AcGeMatrix3d AcGeMatrix3d::scaling(const AcGeScale3d& scale, const AcGePoint3d& center) {
  return AcGeMatrix3d().setToScaling(scale, center);
}
AcGeMatrix3d AcGeMatrix3d::mirroring(const AcGePlane& plane) { return AcGeMatrix3d().setToMirroring(plane); }
AcGeMatrix3d AcGeMatrix3d::alignCoordSys(const AcGePoint3d& fromOrigin, const AcGeVector3d& fromXAxis,
                                         const AcGeVector3d& fromYAxis, const AcGeVector3d& fromZAxis,
                                         const AcGePoint3d& toOrigin, const AcGeVector3d& toXAxis,
                                         const AcGeVector3d& toYAxis, const AcGeVector3d& toZAxis) {
  return AcGeMatrix3d().setToAlignCoordSys(fromOrigin, fromXAxis, fromYAxis, fromZAxis, toOrigin, toXAxis, toYAxis,
                                           toZAxis);
}

AcGeMatrix3d AcGeMatrix3d::planeToWorld(const AcGeVector3d& normal) {
  AcGeVector3d z = normal.normal();
  if (z.isZeroLength()) z = AcGeVector3d::kZAxis;
  AcGeVector3d x = z.perpVector();
  AcGeVector3d y = z.crossProduct(x).normal();
  return AcGeMatrix3d().setCoordSystem(AcGePoint3d::kOrigin, x, y, z);
}

AcGeMatrix3d AcGeMatrix3d::worldToPlane(const AcGeVector3d& normal) { return planeToWorld(normal).inverse(); }

AcGePlane::AcGePlane() = default;

AcGePlane::AcGePlane(const AcGePoint3d& origin, const AcGeVector3d& normal) { set(origin, normal); }

AcGePlane::AcGePlane(const AcGePoint3d& origin, const AcGeVector3d& uAxis, const AcGeVector3d& vAxis)
    : origin_(origin), normal_(uAxis.crossProduct(vAxis).normal()), u_(uAxis), v_(vAxis) {}

AcGePlane& AcGePlane::set(const AcGePoint3d& origin, const AcGeVector3d& normal) {
  origin_ = origin;
  normal_ = normal.normal();
  if (normal_.isZeroLength()) normal_ = AcGeVector3d::kZAxis;
  u_ = normal_.perpVector();
  v_ = normal_.crossProduct(u_).normal();
  return *this;
}

void AcGePlane::getCoordSystem(AcGePoint3d& origin, AcGeVector3d& axis1, AcGeVector3d& axis2) const {
  origin = origin_, axis1 = u_, axis2 = v_;
}

// Solves p - origin = a u + b v + c n in the least-squares sense for non-orthogonal axes.
AcGePoint2d AcGePlane::paramOf(const AcGePoint3d& p) const {
  AcGeVector3d d = p - origin_;
  double uu = u_.dotProduct(u_), uv = u_.dotProduct(v_), vv = v_.dotProduct(v_);
  double du = d.dotProduct(u_), dv = d.dotProduct(v_);
  double den = uu * vv - uv * uv;
  if (std::fabs(den) < 1e-300) return {};
  return {(du * vv - dv * uv) / den, (dv * uu - du * uv) / den};
}

AcGePlane& AcGePlane::transformBy(const AcGeMatrix3d& m) {
  origin_.transformBy(m);
  u_.transformBy(m);
  v_.transformBy(m);
  normal_ = u_.crossProduct(v_).normal();
  return *this;
}

bool AcGeLinearEnt2d::isParallelTo(const AcGeLinearEnt2d& other, const AcGeTol& tol) const {
  AcGeVector2d a = direction(), b = other.direction();
  return std::fabs(a.x * b.y - a.y * b.x) <= tol.equalVector();
}

bool AcGeLinearEnt2d::intersectWith(const AcGeLinearEnt2d& other, AcGePoint2d& intPnt, const AcGeTol& tol) const {
  double den = dir_.x * other.dir_.y - dir_.y * other.dir_.x;
  double scale = dir_.length() * other.dir_.length();
  if (scale == 0.0 || std::fabs(den) <= tol.equalVector() * scale) return false;
  AcGeVector2d w = other.point_ - point_;
  double t = (w.x * other.dir_.y - w.y * other.dir_.x) / den;
  double s = (w.x * dir_.y - w.y * dir_.x) / den;
  if (!containsParam(t, tol.equalPoint()) || !other.containsParam(s, tol.equalPoint())) return false;
  intPnt = point_ + dir_ * t;
  return true;
}

bool AcGeLineSeg2d::containsParam(double t, double tolLength) const {
  double len = dir_.length();
  double slack = len > 0 ? tolLength / len : 0.0;
  return t >= -slack && t <= 1.0 + slack;
}

double acgeAngle2d(const AcGePoint3d& p1, const AcGePoint3d& p2) {
  return AcGeVector2d(p2.x - p1.x, p2.y - p1.y).angle();
}
