// The branch fitting: a straight trunk along the inlet with collars where the branches leave it.
// The geometry of the tee is worked out here and handed to the library as plain pieces, sliced
// flat at the trunk's ends.
#include <algorithm>
#include <cmath>

#include "pieces.h"

namespace {

constexpr double kCollar = 3.0;
constexpr double kRightAngle = 1.570796325;  // as the rows round it

struct Outlet {
  LoadedDuct duct;
  AcGePoint3d start;  // on the centre line
  double w = 0.0, d = 0.0;
  // How far the branch's footprint reaches back (near) and on (far) along the trunk, and how
  // far its stub stands out of it.
  double nearReach = 0.0, farReach = 0.0, stub = 0.0;
  AcGePoint3d stubStart, stubEnd;
};

// Reach of branch x into a trunk of w by d along u with depth axis n; false for a branch that
// runs straight on.
bool MeasureBranch(const AcGeVector3d& u, const AcGeVector3d& n, double w, double d, Outlet& branch) {
  const AcGeVector3d& x = branch.duct.frame[0];
  const double theta = std::acos(std::clamp(u.dotProduct(x), -1.0, 1.0));
  const double psi = std::asin(std::clamp(n.dotProduct(x), -1.0, 1.0));
  if (theta == 0.0) return false;
  // Through the top or bottom of the trunk, the branch measures against its depth.
  const double limit = std::atan(d / w);
  const double m = (psi > limit || psi < -limit) ? d : w;
  double p = 0.0, q = 0.0;
  if (theta != kRightAngle) {
    p = (m / 2.0) / std::tan(theta);
    q = std::fabs((branch.w / 2.0) / std::tan(theta));
  }
  const double h = (std::fabs(n.dotProduct(x)) < 1.0 ? branch.w / 2.0 : branch.d / 2.0) / std::sin(theta);
  branch.nearReach = h - p;
  branch.farReach = h + p;
  branch.stub = q + (m / 2.0) / std::sin(theta);
  return true;
}

bool LoadOutlet(std::int32_t ix, bool convert, Outlet& outlet) {
  if (!LoadDuct(ix, convert, outlet.duct)) return false;
  outlet.start = ductStartPoint(outlet.duct.row, &outlet.duct.frame, convert);
  outlet.w = Width(outlet.duct.row);
  outlet.d = Depth(outlet.duct.row);
  return true;
}

bool AddStub(kv_hvacSolid& solid, const Outlet& branch, double depth, int option) {
  const bool rect = isRectangularShape(branch.duct.row.SHAPE);
  // Slightly smaller than the duct so that the stub never shares a face with the trunk.
  return solid.addTransition(branch.stubStart, rect, branch.w - 0.01, depth, branch.stubEnd, rect, branch.w - 0.01,
                             depth, Axes(branch.duct.frame), Axes(branch.duct.frame), option);
}

}  // namespace

bool BuildBranch(std::int32_t ixDuct, bool convert, int option, SolidPieces& pieces) {
  LoadedDuct inlet;
  std::int32_t n1 = 0, n2 = 0, n3 = 0;
  if (!LoadDuct(ixDuct, convert, inlet) || !getNextDucts(ixDuct, n1, n2, n3, true)) return false;
  Outlet a, b, c;
  const bool hasC = n3 != 0;
  if (!LoadOutlet(n1, convert, a) || !LoadOutlet(n2, convert, b) || (hasC && !LoadOutlet(n3, convert, c)))
    return false;
  DuctFrame& frame = inlet.frame;
  const AcGeVector3d u = frame[0], n = frame[2];
  const AcGePoint3d end = ductEndPoint(inlet.row, &frame, convert);
  // The trunk runs on along the most nearly straight outlet.
  const double dotA = u.dotProduct(a.duct.frame[0]), dotB = u.dotProduct(b.duct.frame[0]);
  const double dotC = hasC ? u.dotProduct(c.duct.frame[0]) : 0.0;
  if (dotB > dotA && dotB > dotC) {
    std::swap(a, b);
  } else if (hasC && dotC > dotA && dotC > dotB) {
    std::swap(a, c);
  }
  const double w = Width(inlet.row), d = Depth(inlet.row);
  const bool rectInlet = isRectangularDuct(inlet.row);
  carryFrame(frame, b.duct.frame, w, d, rectInlet, b.w, b.d);
  if (hasC) carryFrame(frame, c.duct.frame, w, d, rectInlet, c.w, c.d);
  if (!MeasureBranch(u, n, w, d, b) || (hasC && !MeasureBranch(u, n, w, d, c))) return false;

  const double aB = (b.start - end).dotProduct(u), aC = hasC ? (c.start - end).dotProduct(u) : 0.0;
  double back = aB, forward = aB;
  if (hasC) {
    back = (aB < 0.0 || aC < 0.0) ? std::min(aB, aC) : 0.0;
    forward = (aB > 0.0 || aC > 0.0) ? std::max(aB, aC) : 0.0;
  }
  const double nearReach = std::max(b.nearReach, c.nearReach), farReach = std::max(b.farReach, c.farReach);
  const AcGePoint3d trunkStart = end - u * (nearReach + kCollar - back);
  const AcGePoint3d trunkEnd = end + u * (farReach + kCollar + forward);
  AcGePoint3d mainEnd = a.start + u * (farReach + kCollar + forward);
  for (Outlet* branch : {&b, &c}) {
    if (branch == &c && !hasC) break;
    const AcGeVector3d& x = branch->duct.frame[0];
    branch->stubStart = branch->start + x * x.dotProduct(end - branch->start);
    branch->stubEnd = branch->stubStart + x * (branch->stub + kCollar);
  }

  if (d == b.d) b.d -= 0.001;
  if (hasC && d == c.d) c.d -= 0.001;
  SolidPtr solid = NewSolid();
  const bool rectShape = isRectangularShape(inlet.row.SHAPE);
  if (!solid->addTransition(trunkStart, rectShape, w, d, trunkEnd, rectShape, w, d, Axes(frame), Axes(frame), option) ||
      !AddStub(*solid, b, b.d, option) || (hasC && !AddStub(*solid, c, c.d, option)))
    return false;
  solid->sliceLast(trunkStart, trunkStart + frame[1], trunkStart + frame[2], trunkEnd);
  solid->sliceLast(trunkEnd, trunkEnd + frame[1], trunkEnd + frame[2], trunkStart);

  if (ductSizesDiffer(inlet.row, a.duct.row)) {
    SolidPtr lead = NewSolid();
    const double length = transitionLength(w, d, rectInlet, a.w, a.d, isRectangularDuct(a.duct.row), 15.0);
    mainEnd = mainEnd + u * length;
    if (!lead->addTransition(trunkEnd, rectShape, w, d, mainEnd, isRectangularShape(a.duct.row.SHAPE), a.w, a.d,
                             Axes(frame), Axes(frame), option))
      return false;
    pieces.transition1 = AppendSolid(std::move(lead));
  }
  pieces.solid = AppendSolid(std::move(solid));
  setHeadLength3d(inlet.ix, end.distanceTo(trunkStart));
  setTailLength3d(a.duct.ix, a.start.distanceTo(mainEnd));
  setTailLength3d(b.duct.ix, b.start.distanceTo(b.stubEnd));
  if (hasC) setTailLength3d(c.duct.ix, c.start.distanceTo(c.stubEnd));
  return true;
}
