// Union, slice and explode of solids already in the drawing, as the application layer asks.
#include "ed.h"
#include "pieces.h"

namespace {

// ("FACE" . name) for an entity just appended.
void AppendFace(resbuf*& tail, AcDbObjectId id) {
  ads_name name;
  if (acdbGetAdsName(name, id) != Acad::eOk) return;
  AppendCells(tail, acutBuildList(RTLB, RTSTR, L"FACE", RTDOTE, RTENAME, name, RTLE, 0));
}

}  // namespace

LispStatus kv_hvac_solidUnion() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  AcDbObjectId targetId, sourceId;
  if (!ArgObjectId(cursor, targetId) || !ArgObjectId(cursor, sourceId)) return LispStatus::WrongType;
  AcDbObjectPointer<kv_hvacSolid> target(targetId, AcDb::kForWrite);
  if (target.openStatus() != Acad::eOk) return LispStatus::WrongType;
  AcDbObjectPointer<kv_hvacSolid> source(sourceId, AcDb::kForWrite);
  if (source.openStatus() != Acad::eOk) return LispStatus::WrongType;
  // The source goes only once its bodies live on in the target.
  if (target->doUnion(source.object())) source->erase();
  acedRetNil();
  return LispStatus::Success;
}

LispStatus kv_hvac_solidSlice() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  if (cursor.type() != RTPICKS) return LispStatus::WrongType;
  ads_name set;
  set[0] = cursor.cell()->resval.rlname[0];
  set[1] = cursor.cell()->resval.rlname[1];
  cursor.step();
  AcGePoint3d points[4];
  for (AcGePoint3d& point : points) {
    ads_point p;
    if (!ArgPoint3d(cursor, p)) return LispStatus::WrongType;
    point.set(p[0], p[1], p[2]);
  }
  Adesk::Int32 length = 0;
  if (acedSSLength(set, &length) != RTNORM) return LispStatus::WrongType;
  for (Adesk::Int32 i = 0; i < length; ++i) {
    ads_name name;
    AcDbObjectId id;
    if (acedSSName(set, i, name) != RTNORM || acdbGetObjectId(id, name) != Acad::eOk) continue;
    AcDbObjectPointer<kv_hvacSolid> solid(id, AcDb::kForWrite);
    if (solid.openStatus() != Acad::eOk) continue;
    solid->sliceFirst(points[0], points[1], points[2], points[3]);
  }
  acedRetT();
  return LispStatus::Success;
}

LispStatus kv_hvac_ExplodeSolid() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  if (cursor.atEnd()) return LispStatus::Success;
  AcDbObjectId id;
  if (!ArgObjectId(cursor, id)) return LispStatus::WrongType;
  AcDbObjectPointer<kv_hvacSolid> solid(id, AcDb::kForWrite);
  if (solid.openStatus() != Acad::eOk) return LispStatus::BadData;
  AcDbVoidPtrArray parts;
  solid->explode(parts);
  ResultList result;
  AcDbObjectPointer<AcDbBlockTableRecord> modelSpace;
  const bool reached = OpenModelSpace(solid->database(), AcDb::kForWrite, modelSpace) == Acad::eOk;
  for (int i = 0; i < parts.length(); ++i) {
    auto* part = static_cast<AcDbEntity*>(parts[i]);
    AcDbObjectId partId;
    if (!reached || modelSpace->appendAcDbEntity(partId, part) != Acad::eOk) {
      delete part;
      continue;
    }
    part->close();
    AppendFace(result.tail(), partId);
  }
  result.close();
  return LispStatus::Success;
}
