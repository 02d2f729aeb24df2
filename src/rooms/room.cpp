// hvacRoom as an object: its class, its accessors and outline edits, and its DWG and DXF filing in
// every version.
#include <algorithm>

#include "filing/filing.h"
#include "rooms.h"

namespace {

const ACHAR* const kRoomAppString = L"\"HVAC Room|Kelvane Software, Inc|www.kelvane.example\"";

using kvfiling::kCurrent;
using R = hvacRoomFields;

// A room saved before it had an index ends with that index; the oldest version read on.
bool EndsWithoutIndex(const R& room, int version) { return room.ixRoomL == -1 && version >= 2; }

// The outline grows point by point, so a count that a damaged file inflates costs only the reads
// that succeed.
Acad::ErrorStatus ReadPoints(AcDbDwgFiler* filer, R& room) {
  room.points.clear();
  Adesk::Int32 n = 0;
  Acad::ErrorStatus es = filer->readInt32(&n);
  for (Adesk::Int32 i = 0; i < n && es == Acad::eOk; ++i) {
    AcGePoint2d p;
    Adesk::Boolean thick = false;
    if ((es = filer->readPoint2d(&p)) != Acad::eOk) break;
    if ((es = filer->readBool(&thick)) != Acad::eOk) break;
    room.points.push_back({p.x, p.y, thick != 0});
  }
  return es;
}

Acad::ErrorStatus WritePoints(AcDbDwgFiler* filer, const R& room) {
  Acad::ErrorStatus es = filer->writeInt32(static_cast<Adesk::Int32>(room.points.size()));
  for (const RoomPoint& p : room.points) {
    if (es == Acad::eOk) es = filer->writePoint2d(AcGePoint2d(p.x, p.y));
    if (es == Acad::eOk) es = filer->writeBool(p.thick);
  }
  return es;
}

Acad::ErrorStatus ReadLabel(AcDbDwgFiler* filer, R& room) { return room.label.dwgInFields(filer); }
Acad::ErrorStatus WriteLabel(AcDbDwgFiler* filer, const R& room) { return room.label.dwgOutFields(filer); }
Acad::ErrorStatus ReadLeader(AcDbDwgFiler* filer, R& room) { return room.leader.dwgInFields(filer); }
Acad::ErrorStatus WriteLeader(AcDbDwgFiler* filer, const R& room) { return room.leader.dwgOutFields(filer); }

// The oldest rooms kept a host leader in its place; three vertices run from the arrow back to
// the label, the reverse of ours.
Acad::ErrorStatus ReadOldLeader(AcDbDwgFiler* filer, R& room) {
  AcDbLeader old;
  Acad::ErrorStatus es = static_cast<AcDbEntity&>(old).dwgInFields(filer);
  if (es == Acad::eOk && old.numVertices() == 3)
    room.leader.setPoints(old.vertexAt(2), old.vertexAt(1), old.vertexAt(0));
  return es;
}

const kvfiling::FieldTable<R>& RoomTable() {
  static const kvfiling::FieldTable<R> table(
      hvacRoom::kVersion,
      {
          kvfiling::endingIf(kvfiling::int32<R>("ixRoomL", &R::ixRoomL, 1, kCurrent, 90), &EndsWithoutIndex),
          kvfiling::block<R>("points", &ReadPoints, 1, kCurrent, &WritePoints),
          kvfiling::objectId<R>("labelLayerId", &R::labelLayerId, 1),
          kvfiling::objectId<R>("labelStyleId", &R::labelStyleId, 1),
          kvfiling::real<R>("textHeight", &R::textHeight, 1),
          kvfiling::block<R>("label", &ReadLabel, 1, kCurrent, &WriteLabel),
          kvfiling::boolean<R>("leaderOn", &R::leaderOn, 1),
          kvfiling::block<R>("leader", &ReadLeader, 2, kCurrent, &WriteLeader),
          kvfiling::block<R>("oldLeader", &ReadOldLeader, 1, 1),
          kvfiling::objectId<R>("leaderLayerId", &R::leaderLayerId, 1),
          kvfiling::objectId<R>("droppedId", &R::droppedId, 1, 1),
      });
  return table;
}

}  // namespace

// ---- class ----

AcRxClass* hvacRoom::gpDesc = nullptr;

AcRxClass* hvacRoom::desc() {
  if (gpDesc == nullptr) gpDesc = acrxFindAcRxClass(L"hvacRoom");
  return gpDesc;
}

AcRxClass* hvacRoom::isA() const { return hvacRoom::desc(); }

void hvacRoom::rxInit() {
  gpDesc = newAcRxClass(L"hvacRoom", L"AcDbEntity", 1, 1, 1, []() -> AcRxObject* { return new hvacRoom(); },
                        L"KV_HVACROOM", kRoomAppString);
}

void RegisterRoomClass(void (*ensure)(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name)) {
  ensure(hvacRoom::gpDesc, &hvacRoom::rxInit, L"hvacRoom");
}

void RegisterLeaderClass(void (*ensure)(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name)) {
  ensure(KVLeader::gpDesc, &KVLeader::rxInit, L"KVLeader");
}

void UnregisterRoomClasses() {
  if (AcRxClass* cls = acrxFindAcRxClass(L"hvacRoom")) deleteAcRxClass(cls);
  if (AcRxClass* cls = acrxFindAcRxClass(L"KVLeader")) deleteAcRxClass(cls);
  hvacRoom::gpDesc = nullptr;
  KVLeader::gpDesc = nullptr;
}

std::int32_t RoomIndexOf(const AcDbEntity& entity) {
  const hvacRoom* room = hvacRoom::cast(&entity);
  return room ? room->ixRoomL() : 0;
}

hvacRoom::~hvacRoom() = default;

// ---- accessors ----

std::int32_t hvacRoom::ixRoomL() const {
  assertReadEnabled();
  return f_.ixRoomL;
}

void hvacRoom::setIxRoomL(std::int32_t ix) {
  assertWriteEnabled(true, true);
  f_.ixRoomL = ix;
}

void hvacRoom::setLabelLayerId(AcDbObjectId id) {
  assertWriteEnabled(true, true);
  f_.labelLayerId = id;
}

void hvacRoom::setLabelStyleId(AcDbObjectId id) {
  assertWriteEnabled(true, true);
  f_.labelStyleId = id;
}

void hvacRoom::setTextHeight(double h) {
  assertWriteEnabled(true, true);
  f_.textHeight = h;
}

void hvacRoom::setLeaderLayerId(AcDbObjectId id) {
  assertWriteEnabled(true, true);
  if (id.isValid()) f_.leader.setLayer(id, true, false);
  f_.leaderLayerId = id;
}

void hvacRoom::setLabelText(const ACHAR* text) {
  assertWriteEnabled(true, true);
  f_.label.setContents(text);
  reanchorLeader();
}

void hvacRoom::setLabelLocation(const AcGePoint3d& point) {
  assertWriteEnabled(true, true);
  f_.label.setLocation(AcGePoint3d(point.x, point.y, 0.0));
}

void hvacRoom::setLabelWidth(bool hasWidth, double width) {
  assertWriteEnabled(true, true);
  f_.label.setWidth(hasWidth ? width : 0.0);
}

// A block that cannot be found leaves the old arrow; the size applies all the same.
void hvacRoom::setLeaderArrow(const ACHAR* blockName, double size) {
  assertWriteEnabled(true, true);
  f_.leader.setArrowBlock(blockName);
  f_.leader.setArrowSize(size);
}

void hvacRoom::setLeaderOn(bool on) {
  assertWriteEnabled(true, true);
  f_.leaderOn = on;
  if (on) layOutDefaultLeader();
}

bool hvacRoom::leaderOn() const {
  assertReadEnabled();
  return f_.leaderOn;
}

void hvacRoom::toggleLeader() { setLeaderOn(!leaderOn()); }

void hvacRoom::getLeaderPoints(AcGePoint3d& start, AcGePoint3d& middle, AcGePoint3d& end) const {
  assertReadEnabled();
  f_.leader.getPoints(start, middle, end);
}

const std::vector<RoomPoint>& hvacRoom::points() const {
  assertReadEnabled();
  return f_.points;
}

void hvacRoom::setPoints(std::vector<RoomPoint> points) {
  assertWriteEnabled(true, true);
  f_.points = std::move(points);
}

void hvacRoom::insertPoint(std::size_t index, const RoomPoint& point) {
  assertWriteEnabled(true, true);
  f_.points.insert(f_.points.begin() + static_cast<std::ptrdiff_t>(std::min(index, f_.points.size())), point);
}

void hvacRoom::removePoint(std::size_t index) {
  assertWriteEnabled(true, true);
  if (index < f_.points.size()) f_.points.erase(f_.points.begin() + static_cast<std::ptrdiff_t>(index));
}

void hvacRoom::setThick(std::size_t index, bool thick) {
  assertWriteEnabled(true, true);
  if (index < f_.points.size()) f_.points[index].thick = thick;
}

const hvacRoomFields& hvacRoom::fields() const {
  assertReadEnabled();
  return f_;
}

Acad::ErrorStatus hvacRoom::audit(AcDbAuditInfo*) {
  assertReadEnabled();
  return Acad::eOk;
}

// ---- filing ----

Acad::ErrorStatus hvacRoom::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
  return RoomTable().dwgOut(filer, f_);
}

Acad::ErrorStatus hvacRoom::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled(true, true);
  if (Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer); es != Acad::eOk) return es;
  int version = 0;
  Acad::ErrorStatus es = RoomTable().dwgIn(filer, f_, &version);
  if (es == Acad::eMakeMeProxy) return es;
  // No version below the first ever held a room.
  if (version < 1) return Acad::eEndOfFile;
  if (es != Acad::eOk) return es;
  // A room saved before it had its index is a drag that never finished: it does not survive.
  if (version == 2 && f_.ixRoomL == -1) erase(true);
  return Acad::eOk;
}

// Through DXF a room carries its index alone; the rest is rebuilt by the application layer.
Acad::ErrorStatus hvacRoom::dxfOutFields(AcDbDxfFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  return RoomTable().dxfOut(filer, f_);
}

Acad::ErrorStatus hvacRoom::dxfInFields(AcDbDxfFiler* filer) {
  assertWriteEnabled(true, true);
  return AcDbEntity::dxfInFields(filer);
}
