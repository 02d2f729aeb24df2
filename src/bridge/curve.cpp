// kv_hvac-getPlinePoints: evenly spaced points along a spline through the given fit points.
#include <cmath>
#include <memory>

#include "bridge.h"
#include "db.h"
#include "ge.h"

namespace {

constexpr double kNoAngle = -1.0;
constexpr int kMaxSegments = 100;

struct PlineRequest {
  double spacing = 0, startAngle = 0, endAngle = 0;
  AcGePoint3dArray points;
};

// The three reals and the points behind them. The caller is trusted to pass reals and points;
// what is not is refused here rather than read as whatever the cell holds.
LispStatus ReadRequest(ArgCursor cursor, PlineRequest& request) {
  if (!ArgNumber(cursor, request.spacing) || !ArgNumber(cursor, request.startAngle) ||
      !ArgNumber(cursor, request.endAngle))
    return LispStatus::BadData;
  while (!cursor.atEnd()) {
    ads_point p;
    if (!ArgPoint3d(cursor, p)) return LispStatus::BadData;
    request.points.append(AcGePoint3d(p[0], p[1], p[2]));
  }
  if (request.points.length() < 2 || !(request.spacing > 0) || !std::isfinite(request.spacing))
    return LispStatus::BadData;
  return LispStatus::Success;
}

AcGeVector3d Tangent(double angle, const AcGePoint3d& from, const AcGePoint3d& to) {
  if (angle != kNoAngle) return AcGeVector3d(std::cos(angle), std::sin(angle), 0.0);
  return to - from;
}

// The spline through the points, or the line from the first to the second when the spline
// cannot be made.
std::unique_ptr<AcDbCurve> MakeCurve(const PlineRequest& request) {
  const AcGePoint3dArray& pts = request.points;
  AcGeVector3d start = Tangent(request.startAngle, pts[0], pts[1]);
  AcGeVector3d end = Tangent(request.endAngle, pts[pts.length() - 2], pts[pts.length() - 1]);
  try {
    auto spline = std::make_unique<AcDbSpline>(pts, start, end, 4, 0.0);
    // A fit the host cannot make leaves the spline empty rather than throwing.
    if (spline->hasFitData()) return spline;
  } catch (...) {
    // Whatever the fit threw, the line below stands in for the curve.
  }
  return std::make_unique<AcDbLine>(pts[0], pts[1]);
}

// Count of steps: one more than fits the spacing, made even, at most kMaxSegments.
int SegmentCount(double length, double spacing) {
  double fits = std::trunc(length / spacing);
  if (!(fits < kMaxSegments)) return kMaxSegments;
  int count = static_cast<int>(fits) + 1;
  if (count % 2 != 0) ++count;
  return count > kMaxSegments ? kMaxSegments : count;
}

}  // namespace

LispStatus kv_hvac_getPlinePoints() {
  LispArgs args;
  PlineRequest request;
  if (LispStatus status = ReadRequest(args.cursor(), request); status != LispStatus::Success)
    return status;
  std::unique_ptr<AcDbCurve> curve = MakeCurve(request);
  AcGePoint3d endPoint;
  double length = 0;
  if (curve->getEndPoint(endPoint) != Acad::eOk ||
      curve->getDistAtPoint(endPoint, length) != Acad::eOk || !std::isfinite(length))
    return LispStatus::BadData;
  int count = SegmentCount(length, request.spacing);
  double step = length / count;
  ResultList list;
  for (int i = 0; i <= count; ++i) {
    AcGePoint3d p = endPoint;
    if (i < count && curve->getPointAtDist(i * step, p) != Acad::eOk) return LispStatus::BadData;
    ads_point cell = {p.x, p.y, p.z};
    AppendCells(list.tail(), acutBuildList(RT3DPOINT, cell, 0));
  }
  list.close();
  return LispStatus::Success;
}
