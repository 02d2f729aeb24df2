// The LISP entity functions over the working database's model space.
#include <algorithm>

#include "dbimpl.h"

namespace {

AcDbBlockTableRecord* workingModelSpace() {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  return db ? AcDbBlockTableRecord::cast(kvdb::objectOf(db->modelSpaceId())) : nullptr;
}

}  // namespace

// Entities are kept in the order they were added, which is handle order; the current one is
// found by a binary search when that order holds, else by a walk.
int acdbEntNext(const ads_name ent, ads_name result) {
  AcDbBlockTableRecord* ms = workingModelSpace();
  if (ms == nullptr) return RTERROR;
  const std::vector<AcDbObjectId>& ids = ms->entityIds();
  std::size_t next = 0;
  if (ent != nullptr && (ent[0] != 0 || ent[1] != 0)) {
    AcDbObjectId cur;
    if (acdbGetObjectId(cur, ent) != Acad::eOk) return RTERROR;
    auto byHandle = [](const AcDbObjectId& a, const AcDbObjectId& b) { return a.handle() < b.handle(); };
    auto it = std::lower_bound(ids.begin(), ids.end(), cur, byHandle);
    if (it == ids.end() || *it != cur) it = std::find(ids.begin(), ids.end(), cur);
    if (it == ids.end()) return RTERROR;
    next = static_cast<std::size_t>(it - ids.begin()) + 1;
  }
  while (next < ids.size() && (ids[next].isErased() || !ids[next].isValid())) ++next;
  if (next >= ids.size()) return RTERROR;
  return acdbGetAdsName(result, ids[next]) == Acad::eOk ? RTNORM : RTERROR;
}

int acdbEntLast(ads_name result) {
  AcDbBlockTableRecord* ms = workingModelSpace();
  if (ms == nullptr) return RTERROR;
  std::vector<AcDbObjectId> ids = kvdb::liveEntities(ms);
  if (ids.empty()) return RTERROR;
  return acdbGetAdsName(result, ids.back()) == Acad::eOk ? RTNORM : RTERROR;
}

int acdbEntDel(const ads_name ent) {
  AcDbObjectId id;
  if (acdbGetObjectId(id, ent) != Acad::eOk) return RTERROR;
  AcDbObject* obj = nullptr;
  if (acdbOpenObject(obj, id, AcDb::kForWrite, true) != Acad::eOk) return RTERROR;
  Acad::ErrorStatus es = obj->erase(!obj->isErased());
  obj->close();
  return es == Acad::eOk ? RTNORM : RTERROR;
}

// (-1 . name) (0 . dxf name) then the entity's own DXF groups (handle, owner, layer, ...).
resbuf* acdbEntGet(const ads_name ent) {
  AcDbObjectId id;
  if (acdbGetObjectId(id, ent) != Acad::eOk) return nullptr;
  AcDbObject* obj = kvdb::objectOf(id);
  AcDbDxfMemoryFiler filer(id.database());
  // An erased entity has no definition list until entdel brings it back.
  if (obj == nullptr || obj->isErased() || kvdb::dxfGroupsOf(obj, filer) != Acad::eOk) return nullptr;
  resbuf* head = acutNewRb(-1);
  head->resval.rlname[0] = ent[0];
  head->resval.rlname[1] = ent[1];
  resbuf* tail = head;
  auto append = [&](resbuf* rb) { tail = tail->rbnext = rb; };
  resbuf* type = acutNewRb(0);
  type->resval.rstring = kvads::dupString(kvdb::dxfNameOf(obj->isA()).c_str());
  append(type);
  filer.rewind();
  resbuf item;
  while (!filer.atEOF() && filer.readItem(&item) == Acad::eOk) {
    resbuf* rb = acutNewRb(item.restype);
    rb->resval = item.resval;
    if (kvads::dxfValueKind(item.restype) == kvads::DxfKind::String)
      rb->resval.rstring = kvads::dupString(item.resval.rstring ? item.resval.rstring : L"");
    append(rb);
  }
  return head;
}
