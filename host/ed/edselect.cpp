// Selection sets: "X" over model space, "C" and "W" windows through the model space index and
// the entities' drawn geometry, filtered (edfilter.cpp).
#include <algorithm>
#include <array>
#include <cwctype>
#include <map>
#include <vector>

#include "edimpl.h"

namespace {

constexpr std::int64_t kSetTag = 0x5353;  // marks a selection set's name ("SS")

// A set keeps entity names, not object ids: a set outlives the drawing it was taken in, and a
// name of a closed drawing resolves to nothing where an id would point into freed memory.
using Name = std::array<std::int64_t, 2>;
using NameList = std::vector<Name>;

struct Sets {
  std::map<std::int64_t, NameList> byId;
  std::int64_t next = 1;
};
Sets& sets() {
  static Sets s;
  return s;
}

NameList* setOf(const ads_name name) {
  if (name == nullptr || name[0] != kSetTag) return nullptr;
  auto it = sets().byId.find(name[1]);
  return it == sets().byId.end() ? nullptr : &it->second;
}

struct Box {
  double minX, minY, maxX, maxY;
  bool contains(double x, double y) const { return x >= minX && x <= maxX && y >= minY && y <= maxY; }
};

// Liang-Barsky: whether the segment meets the box.
bool segmentMeets(const Box& b, const AcGePoint3d& p, const AcGePoint3d& q) {
  double t0 = 0, t1 = 1, dx = q.x - p.x, dy = q.y - p.y;
  double pk[4] = {-dx, dx, -dy, dy}, qk[4] = {p.x - b.minX, b.maxX - p.x, p.y - b.minY, b.maxY - p.y};
  for (int k = 0; k < 4; ++k) {
    if (pk[k] == 0) {
      if (qk[k] < 0) return false;
      continue;
    }
    double t = qk[k] / pk[k];
    if (pk[k] < 0) t0 = std::max(t0, t);
    else t1 = std::min(t1, t);
    if (t0 > t1) return false;
  }
  return true;
}

// Crossing: what is drawn meets the box (points, segments, circles by their bounding square,
// text by its position). Window: everything drawn lies inside.
bool drawnTouches(AcDbEntity* e, const Box& box, bool window) {
  AcGiCapture capture;
  capture.draw(e);
  bool any = false;
  for (const auto& p : capture.primitives()) {
    using Kind = AcGiCapturedPrimitive::Kind;
    std::vector<AcGePoint3d> pts = p.points;
    if (p.kind == Kind::Circle || p.kind == Kind::Arc) {
      const AcGePoint3d& c = p.points[0];
      pts = {c + AcGeVector3d(-p.radius, -p.radius, 0), c + AcGeVector3d(p.radius, -p.radius, 0),
             c + AcGeVector3d(p.radius, p.radius, 0), c + AcGeVector3d(-p.radius, p.radius, 0), c + AcGeVector3d(-p.radius, -p.radius, 0)};
    }
    for (std::size_t i = 0; i < pts.size(); ++i) {
      bool inside = box.contains(pts[i].x, pts[i].y);
      if (window && !inside) return false;
      any = true;
      if (!window && inside) return true;
      if (!window && i + 1 < pts.size() && segmentMeets(box, pts[i], pts[i + 1])) return true;
    }
  }
  return window && any;
}

Name nameOf(AcDbObjectId id) {
  ads_name n = {0, 0};
  acdbGetAdsName(n, id);
  return {n[0], n[1]};
}

int newSet(const std::vector<AcDbObjectId>& ids, ads_name ss) {
  if (ids.empty()) return RTERROR;
  NameList names;
  for (const AcDbObjectId& id : ids) names.push_back(nameOf(id));
  std::int64_t id = sets().next++;
  sets().byId[id] = std::move(names);
  ss[0] = kSetTag, ss[1] = id;
  return RTNORM;
}

// Mode letters as typed: "_C", "C", "c:" and so on.
std::wstring modeOf(const ACHAR* str) {
  std::wstring m = str ? str : L"";
  while (!m.empty() && (m[0] == L'_' || m[0] == L'.')) m.erase(0, 1);
  while (!m.empty() && m.back() == L':') m.pop_back();
  for (auto& c : m) c = static_cast<wchar_t>(std::towupper(c));
  return m;
}

std::vector<AcDbObjectId> byHandle(std::vector<AcDbObjectId> ids) {
  std::sort(ids.begin(), ids.end(), [](const AcDbObjectId& a, const AcDbObjectId& b) { return a.handle() < b.handle(); });
  return ids;
}

}  // namespace

int acedSSGet(const ACHAR* str, const void* pt1, const void* pt2, const resbuf* filter, ads_name ss) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  std::wstring mode = modeOf(str);
  if (db == nullptr || ss == nullptr) return RTERROR;
  const kved::SelectionFilter f(filter);
  // A malformed group list is refused as a request, which LISP reports as the platform does.
  if (f.status() == kved::SelectionFilter::Status::Malformed) return RTREJ;
  if (f.status() != kved::SelectionFilter::Status::Ok) return RTERROR;
  std::vector<AcDbObjectId> found;
  if (mode == L"X") {
    AcDbBlockTableRecord* ms = nullptr;
    if (acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForRead) != Acad::eOk) return RTERROR;
    std::vector<AcDbObjectId> all(ms->entityIds().begin(), ms->entityIds().end());
    ms->close();
    for (const AcDbObjectId& id : all) {
      AcDbEntity* e = nullptr;
      if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
      if (f.passes(*e)) found.push_back(id);
      e->close();
    }
    return newSet(found, ss);
  }
  if ((mode != L"C" && mode != L"W") || pt1 == nullptr || pt2 == nullptr) {
    kvads::consoleWrite("\nkvhost: selection mode \"" + acrxToUtf8(str ? str : L"") + "\" is not supported.");
    return RTERROR;
  }
  const auto* a = static_cast<const double*>(pt1);
  const auto* b = static_cast<const double*>(pt2);
  AcDbExtents corners;
  for (const AcGePoint3d& c : {AcGePoint3d(a[0], a[1], 0), AcGePoint3d(b[0], b[1], 0), AcGePoint3d(a[0], b[1], 0), AcGePoint3d(b[0], a[1], 0)})
    corners.addPoint(kved::toWcs(c));
  Box box{corners.minPoint().x, corners.minPoint().y, corners.maxPoint().x, corners.maxPoint().y};
  // Only what the current view shows can be picked.
  Box view{};
  kved::viewBox(view.minX, view.minY, view.maxX, view.maxY);
  Box clipped{std::max(box.minX, view.minX), std::max(box.minY, view.minY), std::min(box.maxX, view.maxX), std::min(box.maxY, view.maxY)};
  if (clipped.minX > clipped.maxX || clipped.minY > clipped.maxY) return RTERROR;
  std::vector<AcDbObjectId> candidates;
  db->queryModelSpace(clipped.minX, clipped.minY, clipped.maxX, clipped.maxY, candidates);
  for (const AcDbObjectId& id : byHandle(candidates)) {
    AcDbEntity* e = nullptr;
    if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
    if (f.passes(*e) && drawnTouches(e, mode == L"W" ? box : clipped, mode == L"W")) found.push_back(id);
    e->close();
  }
  return newSet(found, ss);
}

int acedSSLength(const ads_name sname, Adesk::Int32* len) {
  auto* set = setOf(sname);
  if (set == nullptr || len == nullptr) return RTERROR;
  *len = static_cast<Adesk::Int32>(set->size());
  return RTNORM;
}

// An entity whose drawing was closed, or which was deleted, is an error, as a bad index is.
int acedSSName(const ads_name ss, Adesk::Int32 i, ads_name entres) {
  auto* set = setOf(ss);
  if (set == nullptr || entres == nullptr || i < 0 || static_cast<std::size_t>(i) >= set->size()) return RTERROR;
  const Name& n = (*set)[static_cast<std::size_t>(i)];
  ads_name name = {n[0], n[1]};
  AcDbObjectId id;
  if (acdbGetObjectId(id, name) != Acad::eOk) return RTERROR;
  entres[0] = n[0], entres[1] = n[1];
  return RTNORM;
}

int acedSSFree(const ads_name sname) {
  if (setOf(sname) == nullptr) return RTERROR;
  sets().byId.erase(sname[1]);
  return RTNORM;
}

int acedSSAdd(const ads_name ename, const ads_name sname, ads_name result) {
  AcDbObjectId id;
  bool haveEnt = ename != nullptr && acdbGetObjectId(id, ename) == Acad::eOk;
  if (ename != nullptr && !haveEnt) return RTERROR;
  Name entity = haveEnt ? Name{ename[0], ename[1]} : Name{};
  if (sname == nullptr) {  // a new set, empty or holding the entity
    std::int64_t n = sets().next++;
    sets().byId[n] = haveEnt ? NameList{entity} : NameList{};
    result[0] = kSetTag, result[1] = n;
    return RTNORM;
  }
  auto* set = setOf(sname);
  if (set == nullptr) return RTERROR;
  if (haveEnt && std::find(set->begin(), set->end(), entity) == set->end()) set->push_back(entity);
  result[0] = sname[0], result[1] = sname[1];
  return RTNORM;
}

int acedSSDel(const ads_name ename, const ads_name ss) {
  auto* set = setOf(ss);
  if (set == nullptr || ename == nullptr) return RTERROR;
  auto it = std::find(set->begin(), set->end(), Name{ename[0], ename[1]});
  if (it == set->end()) return RTERROR;
  set->erase(it);
  return RTNORM;
}

int acedSSCount() { return static_cast<int>(sets().byId.size()); }
