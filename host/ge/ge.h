// Geometry of the host: points, vectors, matrices, planes, 2D lines and segments, tolerances, and
// the growable array used throughout the platform's interfaces.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

// A growable array with the platform's interface (logicalLength, append, removeAt, ...).
template <class T>
class AcArray {
 public:
  AcArray() = default;
  explicit AcArray(int physicalLength, int growLength = 8) { items_.reserve(std::max(physicalLength, 0)); }
  int length() const { return static_cast<int>(items_.size()); }
  int logicalLength() const { return length(); }
  int physicalLength() const { return static_cast<int>(items_.capacity()); }
  bool isEmpty() const { return items_.empty(); }
  T& operator[](int i) { return items_[static_cast<std::size_t>(i)]; }
  const T& operator[](int i) const { return items_[static_cast<std::size_t>(i)]; }
  T& at(int i) { return items_.at(static_cast<std::size_t>(i)); }
  const T& at(int i) const { return items_.at(static_cast<std::size_t>(i)); }
  T& first() { return items_.front(); }
  const T& first() const { return items_.front(); }
  T& last() { return items_.back(); }
  const T& last() const { return items_.back(); }
  // Returns the index of the new element.
  int append(const T& v) { items_.push_back(v); return length() - 1; }
  int append(const AcArray& other) { items_.insert(items_.end(), other.items_.begin(), other.items_.end()); return length(); }
  AcArray& insertAt(int i, const T& v) { items_.insert(items_.begin() + i, v); return *this; }
  AcArray& removeAt(int i) { items_.erase(items_.begin() + i); return *this; }
  AcArray& removeFirst() { return removeAt(0); }
  AcArray& removeLast() { items_.pop_back(); return *this; }
  AcArray& removeAll() { items_.clear(); return *this; }
  AcArray& setAt(int i, const T& v) { items_.at(static_cast<std::size_t>(i)) = v; return *this; }
  AcArray& setLogicalLength(int n) { items_.resize(static_cast<std::size_t>(std::max(n, 0))); return *this; }
  AcArray& setPhysicalLength(int n) { items_.reserve(static_cast<std::size_t>(std::max(n, 0))); return *this; }
  AcArray& reverse() { std::reverse(items_.begin(), items_.end()); return *this; }
  bool contains(const T& v, int start = 0) const { return indexFrom(v, start) >= 0; }
  // Index of the first element equal to v, or -1.
  int find(const T& v) const { return indexFrom(v, 0); }
  bool find(const T& v, int& foundAt, int start = 0) const { foundAt = indexFrom(v, start); return foundAt >= 0; }
  bool remove(const T& v, int start = 0) { int i = indexFrom(v, start); if (i < 0) return false; removeAt(i); return true; }
  T* asArrayPtr() { return items_.data(); }
  const T* asArrayPtr() const { return items_.data(); }
  auto begin() { return items_.begin(); }
  auto end() { return items_.end(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }
  bool operator==(const AcArray& o) const { return items_ == o.items_; }

 private:
  int indexFrom(const T& v, int start) const {
    for (int i = std::max(start, 0); i < length(); ++i)
      if (items_[static_cast<std::size_t>(i)] == v) return i;
    return -1;
  }
  std::vector<T> items_;
};

// Equality tolerances: points within equalPoint, vectors within equalVector.
class AcGeTol {
 public:
  AcGeTol() = default;
  double equalPoint() const { return equalPoint_; }
  double equalVector() const { return equalVector_; }
  void setEqualPoint(double v) { equalPoint_ = v; }
  void setEqualVector(double v) { equalVector_ = v; }

 private:
  double equalPoint_ = 1e-10;
  double equalVector_ = 1e-12;
};

struct AcGeContext {
  static AcGeTol gTol;  // the host's global tolerance
};

class AcGeMatrix3d;
class AcGeVector3d;

class AcGeVector2d {
 public:
  double x = 0, y = 0;
  AcGeVector2d() = default;
  AcGeVector2d(double x_, double y_) : x(x_), y(y_) {}
  static const AcGeVector2d kXAxis, kYAxis, kIdentity;
  double length() const { return std::hypot(x, y); }
  double lengthSqrd() const { return x * x + y * y; }
  AcGeVector2d normal(const AcGeTol& tol = AcGeContext::gTol) const;
  AcGeVector2d& normalize(const AcGeTol& tol = AcGeContext::gTol) { *this = normal(tol); return *this; }
  double dotProduct(const AcGeVector2d& v) const { return x * v.x + y * v.y; }
  double angle() const;  // from the X axis, in [0, 2 pi)
  bool isZeroLength(const AcGeTol& tol = AcGeContext::gTol) const { return length() <= tol.equalVector(); }
  bool isEqualTo(const AcGeVector2d& v, const AcGeTol& tol = AcGeContext::gTol) const { return (*this - v).length() <= tol.equalVector(); }
  AcGeVector2d operator+(const AcGeVector2d& v) const { return {x + v.x, y + v.y}; }
  AcGeVector2d operator-(const AcGeVector2d& v) const { return {x - v.x, y - v.y}; }
  AcGeVector2d operator-() const { return {-x, -y}; }
  AcGeVector2d operator*(double s) const { return {x * s, y * s}; }
  AcGeVector2d operator/(double s) const { return {x / s, y / s}; }
  AcGeVector2d& operator+=(const AcGeVector2d& v) { x += v.x; y += v.y; return *this; }
  AcGeVector2d& operator-=(const AcGeVector2d& v) { x -= v.x; y -= v.y; return *this; }
  AcGeVector2d& operator*=(double s) { x *= s; y *= s; return *this; }
  bool operator==(const AcGeVector2d& v) const { return isEqualTo(v); }
  double operator[](unsigned i) const { return i == 0 ? x : y; }
  double& operator[](unsigned i) { return i == 0 ? x : y; }
};
inline AcGeVector2d operator*(double s, const AcGeVector2d& v) { return v * s; }

class AcGePoint2d {
 public:
  double x = 0, y = 0;
  AcGePoint2d() = default;
  AcGePoint2d(double x_, double y_) : x(x_), y(y_) {}
  static const AcGePoint2d kOrigin;
  double distanceTo(const AcGePoint2d& p) const { return std::hypot(x - p.x, y - p.y); }
  bool isEqualTo(const AcGePoint2d& p, const AcGeTol& tol = AcGeContext::gTol) const { return distanceTo(p) <= tol.equalPoint(); }
  AcGePoint2d& set(double x_, double y_) { x = x_; y = y_; return *this; }
  AcGeVector2d asVector() const { return {x, y}; }
  AcGePoint2d operator+(const AcGeVector2d& v) const { return {x + v.x, y + v.y}; }
  AcGePoint2d operator-(const AcGeVector2d& v) const { return {x - v.x, y - v.y}; }
  AcGeVector2d operator-(const AcGePoint2d& p) const { return {x - p.x, y - p.y}; }
  AcGePoint2d& operator+=(const AcGeVector2d& v) { x += v.x; y += v.y; return *this; }
  AcGePoint2d& operator-=(const AcGeVector2d& v) { x -= v.x; y -= v.y; return *this; }
  bool operator==(const AcGePoint2d& p) const { return isEqualTo(p); }
  bool operator!=(const AcGePoint2d& p) const { return !isEqualTo(p); }
  double operator[](unsigned i) const { return i == 0 ? x : y; }
  double& operator[](unsigned i) { return i == 0 ? x : y; }
};

class AcGeVector3d {
 public:
  double x = 0, y = 0, z = 0;
  AcGeVector3d() = default;
  AcGeVector3d(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}
  static const AcGeVector3d kXAxis, kYAxis, kZAxis, kIdentity;
  double length() const { return std::sqrt(x * x + y * y + z * z); }
  double lengthSqrd() const { return x * x + y * y + z * z; }
  // The unit vector; the zero vector stays zero.
  AcGeVector3d normal(const AcGeTol& tol = AcGeContext::gTol) const;
  AcGeVector3d& normalize(const AcGeTol& tol = AcGeContext::gTol) { *this = normal(tol); return *this; }
  double dotProduct(const AcGeVector3d& v) const { return x * v.x + y * v.y + z * v.z; }
  AcGeVector3d crossProduct(const AcGeVector3d& v) const { return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x}; }
  // Angle to v in [0, pi].
  double angleTo(const AcGeVector3d& v) const;
  // Angle to v measured counter-clockwise about `reference`, in [0, 2 pi).
  double angleTo(const AcGeVector3d& v, const AcGeVector3d& reference) const;
  AcGeVector3d perpVector() const;
  bool isZeroLength(const AcGeTol& tol = AcGeContext::gTol) const { return length() <= tol.equalVector(); }
  bool isUnitLength(const AcGeTol& tol = AcGeContext::gTol) const { return std::fabs(length() - 1.0) <= tol.equalVector(); }
  bool isParallelTo(const AcGeVector3d& v, const AcGeTol& tol = AcGeContext::gTol) const;
  bool isPerpendicularTo(const AcGeVector3d& v, const AcGeTol& tol = AcGeContext::gTol) const;
  bool isEqualTo(const AcGeVector3d& v, const AcGeTol& tol = AcGeContext::gTol) const { return (*this - v).length() <= tol.equalVector(); }
  AcGeVector3d& transformBy(const AcGeMatrix3d& m);
  AcGeVector3d& set(double x_, double y_, double z_) { x = x_; y = y_; z = z_; return *this; }
  AcGeVector2d convert2d() const { return {x, y}; }
  AcGeVector3d operator+(const AcGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
  AcGeVector3d operator-(const AcGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
  AcGeVector3d operator-() const { return {-x, -y, -z}; }
  AcGeVector3d operator*(double s) const { return {x * s, y * s, z * s}; }
  AcGeVector3d operator/(double s) const { return {x / s, y / s, z / s}; }
  AcGeVector3d& operator+=(const AcGeVector3d& v) { x += v.x; y += v.y; z += v.z; return *this; }
  AcGeVector3d& operator-=(const AcGeVector3d& v) { x -= v.x; y -= v.y; z -= v.z; return *this; }
  AcGeVector3d& operator*=(double s) { x *= s; y *= s; z *= s; return *this; }
  AcGeVector3d& operator/=(double s) { x /= s; y /= s; z /= s; return *this; }
  bool operator==(const AcGeVector3d& v) const { return isEqualTo(v); }
  bool operator!=(const AcGeVector3d& v) const { return !isEqualTo(v); }
  double operator[](unsigned i) const { return i == 0 ? x : i == 1 ? y : z; }
  double& operator[](unsigned i) { return i == 0 ? x : i == 1 ? y : z; }
};
inline AcGeVector3d operator*(double s, const AcGeVector3d& v) { return v * s; }

class AcGePlane;

class AcGePoint3d {
 public:
  double x = 0, y = 0, z = 0;
  AcGePoint3d() = default;
  AcGePoint3d(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}
  // The point of the plane at its 2D parameters.
  AcGePoint3d(const AcGePlane& plane, const AcGePoint2d& pnt);
  static const AcGePoint3d kOrigin;
  double distanceTo(const AcGePoint3d& p) const { return std::sqrt((x - p.x) * (x - p.x) + (y - p.y) * (y - p.y) + (z - p.z) * (z - p.z)); }
  bool isEqualTo(const AcGePoint3d& p, const AcGeTol& tol = AcGeContext::gTol) const { return distanceTo(p) <= tol.equalPoint(); }
  AcGePoint3d& transformBy(const AcGeMatrix3d& m);
  AcGePoint3d& set(double x_, double y_, double z_) { x = x_; y = y_; z = z_; return *this; }
  AcGePoint2d convert2d() const { return {x, y}; }
  // Orthogonal projection onto the plane.
  AcGePoint3d orthoProject(const AcGePlane& plane) const;
  AcGeVector3d asVector() const { return {x, y, z}; }
  AcGePoint3d operator+(const AcGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
  AcGePoint3d operator-(const AcGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
  AcGeVector3d operator-(const AcGePoint3d& p) const { return {x - p.x, y - p.y, z - p.z}; }
  AcGePoint3d& operator+=(const AcGeVector3d& v) { x += v.x; y += v.y; z += v.z; return *this; }
  AcGePoint3d& operator-=(const AcGeVector3d& v) { x -= v.x; y -= v.y; z -= v.z; return *this; }
  bool operator==(const AcGePoint3d& p) const { return isEqualTo(p); }
  bool operator!=(const AcGePoint3d& p) const { return !isEqualTo(p); }
  double operator[](unsigned i) const { return i == 0 ? x : i == 1 ? y : z; }
  double& operator[](unsigned i) { return i == 0 ? x : i == 1 ? y : z; }
};

// Non-uniform scale factors (block references).
class AcGeScale3d {
 public:
  double sx = 1, sy = 1, sz = 1;
  AcGeScale3d() = default;
  explicit AcGeScale3d(double s) : sx(s), sy(s), sz(s) {}
  AcGeScale3d(double x, double y, double z) : sx(x), sy(y), sz(z) {}
  bool operator==(const AcGeScale3d& o) const { return sx == o.sx && sy == o.sy && sz == o.sz; }
  double operator[](unsigned i) const { return i == 0 ? sx : i == 1 ? sy : sz; }
};

// A 4x4 affine transformation acting on column vectors: p' = M p.
class AcGeMatrix3d {
 public:
  double entry[4][4];
  AcGeMatrix3d();  // identity
  static const AcGeMatrix3d kIdentity;
  AcGeMatrix3d& setToIdentity();
  bool isEqualTo(const AcGeMatrix3d& m, const AcGeTol& tol = AcGeContext::gTol) const;
  // this * m: m applies first.
  AcGeMatrix3d operator*(const AcGeMatrix3d& m) const;
  AcGeMatrix3d& preMultBy(const AcGeMatrix3d& left);
  AcGeMatrix3d& postMultBy(const AcGeMatrix3d& right);
  // The inverse; a singular matrix gives the identity.
  AcGeMatrix3d inverse() const;
  AcGeMatrix3d& invert() { *this = inverse(); return *this; }
  double det() const;
  bool isSingular(const AcGeTol& tol = AcGeContext::gTol) const;
  AcGeMatrix3d& setToTranslation(const AcGeVector3d& v);
  AcGeMatrix3d& setToRotation(double angle, const AcGeVector3d& axis, const AcGePoint3d& center = AcGePoint3d::kOrigin);
  AcGeMatrix3d& setToScaling(double scale, const AcGePoint3d& center = AcGePoint3d::kOrigin);
  AcGeMatrix3d& setToScaling(const AcGeScale3d& scale, const AcGePoint3d& center = AcGePoint3d::kOrigin);
  AcGeMatrix3d& setToMirroring(const AcGePlane& plane);
  // Maps the world coordinate system to the one given (origin and axes).
  AcGeMatrix3d& setCoordSystem(const AcGePoint3d& origin, const AcGeVector3d& xAxis, const AcGeVector3d& yAxis, const AcGeVector3d& zAxis);
  void getCoordSystem(AcGePoint3d& origin, AcGeVector3d& xAxis, AcGeVector3d& yAxis, AcGeVector3d& zAxis) const;
  // Maps the first coordinate system onto the second.
  AcGeMatrix3d& setToAlignCoordSys(const AcGePoint3d& fromOrigin, const AcGeVector3d& fromXAxis, const AcGeVector3d& fromYAxis, const AcGeVector3d& fromZAxis,
                                   const AcGePoint3d& toOrigin, const AcGeVector3d& toXAxis, const AcGeVector3d& toYAxis, const AcGeVector3d& toZAxis);
  AcGeVector3d translation() const { return {entry[0][3], entry[1][3], entry[2][3]}; }
  double scale() const;  // the largest axis scale
  bool isUniScaledOrtho(const AcGeTol& tol = AcGeContext::gTol) const;
  static AcGeMatrix3d translation(const AcGeVector3d& v);
  static AcGeMatrix3d rotation(double angle, const AcGeVector3d& axis, const AcGePoint3d& center = AcGePoint3d::kOrigin);
  static AcGeMatrix3d scaling(double scale, const AcGePoint3d& center = AcGePoint3d::kOrigin);
  static AcGeMatrix3d scaling(const AcGeScale3d& scale, const AcGePoint3d& center = AcGePoint3d::kOrigin);
  static AcGeMatrix3d mirroring(const AcGePlane& plane);
  static AcGeMatrix3d alignCoordSys(const AcGePoint3d& fromOrigin, const AcGeVector3d& fromXAxis, const AcGeVector3d& fromYAxis, const AcGeVector3d& fromZAxis,
                                    const AcGePoint3d& toOrigin, const AcGeVector3d& toXAxis, const AcGeVector3d& toYAxis, const AcGeVector3d& toZAxis);
  // World to the plane's coordinate system (X, Y in the plane, Z along its normal).
  static AcGeMatrix3d worldToPlane(const AcGeVector3d& normal);
  static AcGeMatrix3d planeToWorld(const AcGeVector3d& normal);
  bool operator==(const AcGeMatrix3d& m) const { return isEqualTo(m); }
  double operator()(unsigned r, unsigned c) const { return entry[r][c]; }
};

inline AcGePoint3d operator*(const AcGeMatrix3d& m, const AcGePoint3d& p) { AcGePoint3d q = p; return q.transformBy(m); }
inline AcGeVector3d operator*(const AcGeMatrix3d& m, const AcGeVector3d& v) { AcGeVector3d w = v; return w.transformBy(m); }

// An unbounded plane: a point on it and its unit normal; 2D parameters run along its U and V axes.
class AcGePlane {
 public:
  static const AcGePlane kXYPlane, kYZPlane, kZXPlane;
  AcGePlane();
  AcGePlane(const AcGePoint3d& origin, const AcGeVector3d& normal);
  AcGePlane(const AcGePoint3d& origin, const AcGeVector3d& uAxis, const AcGeVector3d& vAxis);
  AcGePlane& set(const AcGePoint3d& origin, const AcGeVector3d& normal);
  AcGePoint3d pointOnPlane() const { return origin_; }
  AcGeVector3d normal() const { return normal_; }
  void getCoordSystem(AcGePoint3d& origin, AcGeVector3d& axis1, AcGeVector3d& axis2) const;
  // Signed distance of p from the plane along the normal.
  double signedDistanceTo(const AcGePoint3d& p) const { return (p - origin_).dotProduct(normal_); }
  double distanceTo(const AcGePoint3d& p) const { return std::fabs(signedDistanceTo(p)); }
  bool isOn(const AcGePoint3d& p, const AcGeTol& tol = AcGeContext::gTol) const { return distanceTo(p) <= tol.equalPoint(); }
  AcGePoint2d paramOf(const AcGePoint3d& p) const;
  AcGePoint3d evalPoint(const AcGePoint2d& uv) const { return origin_ + u_ * uv.x + v_ * uv.y; }
  AcGePoint3d closestPointTo(const AcGePoint3d& p) const { return p - normal_ * signedDistanceTo(p); }
  AcGePlane& transformBy(const AcGeMatrix3d& m);

 private:
  AcGePoint3d origin_;
  AcGeVector3d normal_{0, 0, 1}, u_{1, 0, 0}, v_{0, 1, 0};
};

// An unbounded 2D line through a point along a direction.
class AcGeLinearEnt2d {
 public:
  AcGeLinearEnt2d() = default;
  AcGeLinearEnt2d(const AcGePoint2d& p, const AcGeVector2d& dir) : point_(p), dir_(dir) {}
  AcGePoint2d pointOnLine() const { return point_; }
  AcGeVector2d direction() const { return dir_.normal(); }
  bool isParallelTo(const AcGeLinearEnt2d& other, const AcGeTol& tol = AcGeContext::gTol) const;
  // The single intersection point of the two carriers within their bounds; false when they are
  // parallel (coincident ones included) or the point lies outside a bounded operand.
  bool intersectWith(const AcGeLinearEnt2d& other, AcGePoint2d& intPnt, const AcGeTol& tol = AcGeContext::gTol) const;
  virtual ~AcGeLinearEnt2d() = default;
  // Whether the parameter t along point_ + t * dir_ lies within this entity (tolerance in length).
  virtual bool containsParam(double t, double tolLength) const { return true; }

 protected:
  AcGePoint2d point_;
  AcGeVector2d dir_{1, 0};
};

class AcGeLine2d : public AcGeLinearEnt2d {
 public:
  AcGeLine2d() = default;
  AcGeLine2d(const AcGePoint2d& pnt, const AcGeVector2d& vec) : AcGeLinearEnt2d(pnt, vec) {}
  AcGeLine2d(const AcGePoint2d& pnt1, const AcGePoint2d& pnt2) : AcGeLinearEnt2d(pnt1, pnt2 - pnt1) {}
};

class AcGeLineSeg2d : public AcGeLinearEnt2d {
 public:
  AcGeLineSeg2d() = default;
  AcGeLineSeg2d(const AcGePoint2d& pnt1, const AcGePoint2d& pnt2) : AcGeLinearEnt2d(pnt1, pnt2 - pnt1) {}
  AcGePoint2d startPoint() const { return point_; }
  AcGePoint2d endPoint() const { return point_ + dir_; }
  AcGePoint2d midPoint() const { return point_ + dir_ * 0.5; }
  double length() const { return dir_.length(); }
  bool containsParam(double t, double tolLength) const override;
};

using AcGePoint2dArray = AcArray<AcGePoint2d>;
using AcGePoint3dArray = AcArray<AcGePoint3d>;
using AcGeVector2dArray = AcArray<AcGeVector2d>;
using AcGeVector3dArray = AcArray<AcGeVector3d>;
using AcGeDoubleArray = AcArray<double>;
using AcGeIntArray = AcArray<int>;

// Angle of the vector from p1 to p2 in the XY plane, in [0, 2 pi).
double acgeAngle2d(const AcGePoint3d& p1, const AcGePoint3d& p2);
