// Drawing a duct between the ducts it meets, and filleting two ducts: a designer who draws on
// existing ducts never types a size or an elevation, and a run stays connected in three dimensions.
#include <list>
#include <optional>

#include "ductcmds.h"
#include "ductplan.h"

using namespace ductrows;
using namespace ductcmds;

namespace {

// The ducts met at one end of the new duct: each one's record beside the elevation it offers
// there, the latest first, so that the head is the last duct of the selection's order.
struct MetDucts {
  std::list<KvDuctDbInfo> records;
  std::list<double> elevations;
  void add(const KvDuctDbInfo& record, double z) {
    records.push_front(record);
    elevations.push_front(z);
  }
  std::size_t size() const { return records.size(); }
  bool allEqual() const {
    for (double z : elevations)
      if (z != elevations.front()) return false;
    return true;
  }
  const KvDuctDbInfo& at(int k) const { return *std::next(records.begin(), k); }
};

struct SelectionSet {
  ads_name name = {0, 0};
  bool valid = false;
  ~SelectionSet() {
    if (valid) acedSSFree(name);
  }
  Adesk::Int32 length() const {
    Adesk::Int32 n = 0;
    return valid && acedSSLength(name, &n) == RTNORM ? n : 0;
  }
  OpenedDuct open(Adesk::Int32 i) const {
    ads_name ename;
    if (acedSSName(name, i, ename) != RTNORM) return nullptr;
    return OpenDuctForWrite(ename);
  }
};

void SelectNear(const AcGePoint3d& point, SelectionSet& set) {
  set.valid = ductsNearPoint(point, set.name) == RTNORM;
}

using Template = std::optional<KvDuctDbInfo>;

// A duct that starts or ends on a point where exactly one duct lies: the new duct takes that
// duct's row as its pattern, and a landing on its middle splits it. False when a split failed.
bool MeetOneDuct(const SelectionSet& set, const AcGePoint3d& from, Template& pattern) {
  OpenedDuct near = set.open(0);
  if (!near) return true;
  AcGePoint3d s, e;
  near->getStart(s);
  near->getEnd(e);
  pattern = ductOrDefaults(near->getIxDuct());
  KvDuctDbInfo& t = *pattern;
  if (SamePlan(from, e)) {
    t.Z1 = t.Z2;
  } else if (SamePlan(from, s)) {
    t.Z2 = t.Z1;
  } else {
    AcGePoint3d on;
    if (near->getClosestPointTo(from, on, false) == Acad::eOk && SamePlan(from, on)) {
      NewDuct upstream(new KvDuct);
      const AcGePoint3d cut = WithZ(from, t.Z1);
      near->setStart(cut, true);
      std::int32_t ixNew = 0;
      if (!newDuctRow(t.ixLayerSystem, ixNew)) return false;
      t.FITTING = L" ";
      copyDuctSettings(ixNew, t);
      upstream->setIxDuct(ixNew);
      upstream->setStart(WithZ(s, t.Z1), true);
      upstream->setEnd(cut, true);
      SetCenterlineLayer(*upstream, t);
      upstream->fieldsForWrite().sizeFor = t.SIZEFOR;
      if (reverseForAirflow(t)) upstream->fieldsForWrite().reverseArrows = true;
      appendAndClose(upstream.release());
      clearDuctDamper(ixNew);
      near->fieldsForWrite().sizeFor = L"X";
      setDuctSizeFor(near->getIxDuct(), L"X");
    }
  }
  clearTemplateFields(t);
  return true;
}

// The elevation among several that the ducts at a point offer: the answer of 1 to the count
// names an entry counted from the head; anything else is no choice (-1).
int chooseElevation(const std::list<double>& elevations, const ACHAR* prompt, int count) {
  resbuf* args = acutBuildList(RTSTR, L"duct-elevationListDialog", RTLB, RTNONE);
  resbuf* tail = args;
  while (tail->rbnext) tail = tail->rbnext;
  for (double z : elevations) {
    tail->rbnext = acutBuildList(RTREAL, z, RTNONE);
    tail = tail->rbnext;
  }
  tail->rbnext = acutBuildList(RTLE, RTSTR, prompt, RTSHORT, -1, RTSHORT, 1, RTNONE);
  ResbufPtr answer = AskLisp(args);
  std::int32_t chosen = -1;
  if (!answer || !AnswerInt(answer.get(), chosen)) return -1;
  return chosen >= 1 && chosen <= count ? chosen - 1 : -1;
}

// The ducts of the set that end (atEnd) or start at the point, with the elevation of that end of
// their rows. Ducts that cannot be opened are passed over.
MetDucts CollectMet(const SelectionSet& set, const AcGePoint3d& point, bool atEnd) {
  MetDucts met;
  for (Adesk::Int32 i = 0, n = set.length(); i < n; ++i) {
    OpenedDuct duct = set.open(i);
    if (!duct) continue;
    AcGePoint3d end;
    if (atEnd) duct->getEnd(end);
    else duct->getStart(end);
    if (!SamePlan(end, point)) continue;
    const KvDuctDbInfo record = ductOrDefaults(duct->getIxDuct());
    met.add(record, atEnd ? record.Z2 : record.Z1);
  }
  return met;
}

// Several ducts near the start: those that end there offer their ending elevations.
void MeetDuctsEnding(const SelectionSet& set, const AcGePoint3d& from, Template& pattern) {
  const MetDucts met = CollectMet(set, from, true);
  const int k = static_cast<int>(met.size());
  if (k == 0) return;
  // Without a choice the duct is drawn on a bare record, at elevation 0, for the designer to see.
  pattern = KvDuctDbInfo();
  if (k == 1 || met.allEqual()) {
    pattern = met.at(0);
    clearTemplateFields(*pattern);
  } else if (int chosen = chooseElevation(met.elevations, L"Select Starting Elevation (ft-in)", k); chosen >= 0) {
    pattern = met.at(chosen);
    clearTemplateFields(*pattern);
  }
  pattern->Z1 = pattern->Z2;
}

// The ducts near the end that start there decide the ending elevation. False when the project
// gives no duct settings for a duct that meets nothing at all.
bool MeetDuctsStarting(const SelectionSet& set, const AcGePoint3d& to, Template& pattern) {
  const MetDucts met = CollectMet(set, to, false);
  const int k = static_cast<int>(met.size());
  KvDuctDbInfo endRecord;
  if (k == 0) {
    if (!pattern) {
      if (!readDuctSettings()) return false;
      pattern = defaultDuctRecord();
      return true;
    }
    endRecord.Z1 = pattern->Z1;
  } else if (k == 1 || met.allEqual()) {
    endRecord = met.at(0);
  } else if (int chosen = chooseElevation(met.elevations, L"Select Ending Elevation (ft-in)", k); chosen >= 0) {
    endRecord = met.at(chosen);
  }
  if (pattern) {
    pattern->Z2 = endRecord.Z1;
  } else {
    // Running into a duct, the new one takes that duct's row as it stands, text and damper too.
    pattern = endRecord;
    pattern->Z2 = pattern->Z1;
  }
  return true;
}

}  // namespace

std::int32_t drawDuctBetween(KvDuct& entity, const AcGePoint3d& p1, const AcGePoint3d& p2) {
  if (!ProjectDucts()) return 0;
  Template pattern;
  AcGePoint3d from = p1, to = p2;
  {
    SelectionSet first;
    SelectNear(p1, first);
    const Adesk::Int32 n = first.length();
    if (n == 1 && !MeetOneDuct(first, from, pattern)) return 0;
    if (n > 1) MeetDuctsEnding(first, from, pattern);
  }
  if (!SamePlan(from, to)) {
    SelectionSet second;
    SelectNear(p2, second);
    if (second.length() > 0 && !MeetDuctsStarting(second, to, pattern)) return 0;
  }
  if (!pattern) {
    if (!readDuctSettings()) return 0;
    pattern = defaultDuctRecord();
  }
  KvDuctDbInfo& t = *pattern;
  std::int32_t ixNew = 0;
  if (!newDuctRow(t.ixLayerSystem, ixNew)) return 0;
  t.FITTING = L" ";
  if (t.DOUBLE_LINE == L"n") t.DOUBLE_LINE.clear();
  copyDuctSettings(ixNew, t);
  entity.fieldsForWrite().sizeFor = t.SIZEFOR;
  if (reverseForAirflow(t)) entity.fieldsForWrite().reverseArrows = true;
  entity.setIxDuct(ixNew);
  entity.setStart(WithZ(from, t.Z1), true);
  entity.setEnd(WithZ(to, t.Z2), true);
  SetCenterlineLayer(entity, t);
  return ixNew;
}

LispStatus kvDuct() {
  LispArgs args;
  acedRetNil();
  CellValue v[2];
  if (!ReadCells(args.head(), {Cell::Point, Cell::Point}, v)) return LispStatus::WrongType;
  if (!ProjectDucts()) return LispStatus::WrongType;
  NewDuct duct(new KvDuct);
  const std::int32_t ixNew = drawDuctBetween(*duct, v[0].point, v[1].point);
  if (ixNew == 0) return LispStatus::Success;
  appendAndClose(duct.release());
  acedRedraw(nullptr, 1);
  RetIndex(ixNew);
  return LispStatus::Success;
}

// Moves the end of the duct that the fillet point x replaces, in X and Y alone. Elevations play
// no part in where ducts meet, so sides and distances are judged in plan.
void filletEnd(KvDuct& duct, const AcGePoint3d& pick, const AcGePoint3d& s, const AcGePoint3d& e,
               const AcGePoint3d& x) {
  if (SamePlan(x, s) || SamePlan(x, e)) return;
  auto planDirection = [](const AcGePoint3d& from, const AcGePoint3d& to) {
    return AcGeVector2d(to.x - from.x, to.y - from.y).normal();
  };
  if (!planDirection(e, x).isEqualTo(planDirection(s, x))) {
    // x lies between the ends: the picked side remains.
    AcGePoint3d onDuct = pick;
    if (duct.getClosestPointTo(pick, CurrentUcsNormal(), onDuct, false) != Acad::eOk) onDuct = pick;
    if (planDirection(s, x).isEqualTo(planDirection(onDuct, x))) duct.setEnd(x, false);
    else duct.setStart(x, false);
    return;
  }
  if (PlanDistance(x, s) > PlanDistance(x, e)) duct.setEnd(x, false);
  else duct.setStart(x, false);
}

namespace {

// The vertical duct that joins two filleted ducts meeting at different elevations.
void AddRiser(std::int32_t ixPattern, const AcGePoint3d& meeting, double upper, double lower) {
  NewDuct riser(new KvDuct);
  KvDuctDbInfo record = ductOrDefaults(ixPattern);
  std::int32_t ixNew = 0;
  if (!newDuctRow(record.ixLayerSystem, ixNew)) return;
  record.FITTING = L" ";
  record.SIZEFOR = L"X";
  copyDuctSettings(ixNew, record);
  riser->setIxDuct(ixNew);
  riser->setStart(WithZ(meeting, upper), true);
  riser->setEnd(WithZ(meeting, lower), true);
  SetCenterlineLayer(*riser, record);
  riser->fieldsForWrite().sizeFor = L"X";
  appendAndClose(riser.release());
}

}  // namespace

LispStatus kv_hvac_duct_fillet() {
  LispArgs args;
  acedRetNil();
  ArgCursor c = args.cursor();
  AcDbObjectId id1, id2;
  ads_point pick1, pick2;
  if (!ArgObjectId(c, id1) || !ArgPoint3d(c, pick1) || !ArgObjectId(c, id2) || !ArgPoint3d(c, pick2))
    return LispStatus::WrongType;
  KvDuct *raw1 = nullptr, *raw2 = nullptr;
  if (acdbOpenObject(raw1, id1, AcDb::kForWrite) != Acad::eOk) return LispStatus::Success;
  OpenedDuct duct1(raw1);
  if (acdbOpenObject(raw2, id2, AcDb::kForWrite) != Acad::eOk) return LispStatus::Success;
  OpenedDuct duct2(raw2);
  AcGePoint3d s1, e1, s2, e2;
  duct1->getStart(s1);
  duct1->getEnd(e1);
  duct2->getStart(s2);
  duct2->getEnd(e2);
  const AcGeVector3d normal = CurrentUcsNormal();
  AcDbLine line1(s1, e1), line2(s2, e2);
  line1.setNormal(normal);
  line2.setNormal(normal);
  AcGePoint3dArray points;
  if (line1.intersectWith(&line2, AcDb::kExtendBoth, AcGePlane(AcGePoint3d::kOrigin, normal), points) != Acad::eOk ||
      points.isEmpty()) {
    acutPrintf(L"\nDucts do not intersect.");
    return LispStatus::Success;
  }
  const AcGePoint3d x = points[0];
  filletEnd(*duct1, AcGePoint3d(pick1[0], pick1[1], pick1[2]), s1, e1, x);
  filletEnd(*duct2, AcGePoint3d(pick2[0], pick2[1], pick2[2]), s2, e2, x);
  duct1->getStart(s1);
  duct1->getEnd(e1);
  duct2->getStart(s2);
  duct2->getEnd(e2);
  const std::int32_t ixPattern = duct1->getIxDuct();
  duct1.reset();
  duct2.reset();
  // Whichever runs into the other, the riser stands where they meet, from the upstream duct's
  // end down (or up) to the downstream duct's start.
  const bool secondFirst = SamePlan(s1, e2);
  const double upper = secondFirst ? e2.z : e1.z;
  const double lower = secondFirst ? s1.z : s2.z;
  if (upper == lower) return LispStatus::Success;
  AddRiser(ixPattern, secondFirst ? s1 : e1, upper, lower);
  return LispStatus::Success;
}
