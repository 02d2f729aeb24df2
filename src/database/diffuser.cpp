// Position and directions of a placed diffuser, in drawing coordinates when asked.
#include <cmath>

#include "ads.h"
#include "ge.h"
#include "tables.h"

namespace {

// Calls a LISP conversion function with a value and an alignment number; the answer cells, or
// null when the call failed (the caller keeps its stored value then).
resbuf* Convert(resbuf* args) {
  resbuf* result = nullptr;
  const int status = acedInvoke(args, &result);
  acutRelRb(args);
  if (status != RTNORM) {
    acutRelRb(result);
    return nullptr;
  }
  return result;
}

}  // namespace

AcGePoint3d tblDiffL::GetPosition(bool toDrawing) const {
  AcGePoint3d point(values_.X, values_.Y, values_.Z);
  if (!toDrawing) return point;
  const double stored[3] = {point.x, point.y, point.z};
  resbuf* answer = Convert(acutBuildList(RTSTR, L"convert_rp_dp", RT3DPOINT, stored, RTLONG,
                                         values_.iAlignmentPointNumber, 0));
  if (answer && answer->restype == RT3DPOINT) {
    point.set(answer->resval.rpoint[0], answer->resval.rpoint[1], answer->resval.rpoint[2]);
  }
  acutRelRb(answer);
  return point;
}

void tblDiffL::GetAxes(bool toDrawing, AcGeVector3d& x, AcGeVector3d& y, AcGeVector3d& z) const {
  double angle = values_.ROTATION;
  if (toDrawing) {
    resbuf* answer = Convert(acutBuildList(RTSTR, L"convert_ra_da", RTREAL, angle, RTLONG,
                                           values_.iAlignmentPointNumber, 0));
    if (answer && answer->restype == RTREAL) angle = answer->resval.rreal;
    acutRelRb(answer);
  }
  const double facing = values_.TILT == 180.0 ? -1.0 : 1.0;
  x = AcGeVector3d(facing * std::cos(angle), facing * std::sin(angle), 0.0);
  z = AcGeVector3d(0.0, 0.0, facing);
  y = x.crossProduct(z);
}
