// Entity names in arguments and results, and points between the UCS and the world.
#include "bridge.h"
#include "ed.h"

bool ArgObjectId(ArgCursor& cursor, AcDbObjectId& out) {
  if (cursor.type() != RTENAME) return false;
  AcDbObjectId id;
  if (acdbGetObjectId(id, cursor.cell()->resval.rlname) != Acad::eOk) return false;
  out = id;
  cursor.step();
  return true;
}

void RetObjectId(AcDbObjectId id) {
  ads_name name;
  if (acdbGetAdsName(name, id) == Acad::eOk)
    acedRetName(name, RTENAME);
  else
    acedRetNil();
}

void RetObject(const AcDbObject* object) { RetObjectId(object ? object->objectId() : AcDbObjectId()); }

void AppendStringObject(resbuf*& tail, const ACHAR* key, const AcDbObject* object) {
  if (!object) {
    AppendCells(tail, acutBuildList(RTLB, RTSTR, key, RTDOTE, RTNIL, RTLE, 0));
    return;
  }
  ads_name name;
  if (acdbGetAdsName(name, object->objectId()) != Acad::eOk) return;
  AppendCells(tail, acutBuildList(RTLB, RTSTR, key, RTDOTE, RTENAME, name, RTLE, 0));
}

namespace {

bool Trans(AcGePoint3d& point, short from, short to) {
  resbuf fromRb{nullptr, RTSHORT, {}};
  resbuf toRb{nullptr, RTSHORT, {}};
  fromRb.resval.rint = from;
  toRb.resval.rint = to;
  ads_point in = {point.x, point.y, point.z};
  ads_point out;
  if (acedTrans(in, &fromRb, &toRb, 0, out) != RTNORM) return false;
  point.set(out[0], out[1], out[2]);
  return true;
}

}  // namespace

bool UcsToWcs(AcGePoint3d& point) { return Trans(point, 1, 0); }
bool WcsToUcs(AcGePoint3d& point) { return Trans(point, 0, 1); }
