// The room functions of the LISP layer: drawing a room by picks (the jig), inserting one, reading
// and editing its outline, label and leader, and finding the room at a point.
#include <memory>
#include <string>

#include "database/database.h"
#include "ed.h"
#include "rooms.h"

namespace {

// The drawing attributes a new or updated room takes from the project.
struct RoomAttributes {
  AcDbObjectId styleId, outlineLayer, labelLayer, leaderLayer;
  double textHeight = 0.0;
};

// Resolves the room keys in a fixed order and stops at the first that fails, with its message.
bool ResolveRoomAttributes(RoomAttributes& a) {
  const ProjectContext* context = CurrentProjectContext();
  if (!context || !ResolveTextStyle(*context, L"ROOM LABELS", a.styleId, a.textHeight)) {
    acutPrintf(L"\nCould not find ROOM LABELS text style.");
    return false;
  }
  struct Layer {
    const wchar_t* key;
    AcDbObjectId* id;
    const wchar_t* message;
  };
  const Layer layers[] = {
      {L"ROOM OUTLINES", &a.outlineLayer, L"\nCould not find ROOM OUTLINES layer definition."},
      {L"ROOM LABELS", &a.labelLayer, L"\nCould not find ROOM LABELS layer definition."},
      {L"ROOM LEADER", &a.leaderLayer, L"\nCould not find ROOM LEADER layer definition."},
  };
  for (const Layer& l : layers) {
    if (!ResolveLayer(*context, l.key, *l.id, false, 0)) {
      acutPrintf(l.message);
      return false;
    }
  }
  return true;
}

// The arguments that drawing and inserting share: index, arrow block, arrow size, label and an
// optional width (a real, or any one other argument that stands for none).
struct NewRoomArgs {
  std::int32_t index = 0;
  std::wstring arrowBlock;
  double arrowSize = 0.0;
  std::wstring label;
  bool hasWidth = false;
  double width = 0.0;
};

bool ReadOptionalWidth(ArgCursor& cursor, bool& hasWidth, double& width) {
  hasWidth = ArgNumber(cursor, width);
  if (!hasWidth) {
    width = 0.0;
    ArgSkip(cursor);
  }
  return true;
}

bool ReadNewRoomArgs(ArgCursor& cursor, NewRoomArgs& a) {
  return ArgInt(cursor, a.index) && ArgString(cursor, a.arrowBlock) && ArgNumber(cursor, a.arrowSize) &&
         ArgString(cursor, a.label) && ReadOptionalWidth(cursor, a.hasWidth, a.width);
}

// Gives a new room the project's attributes, in the order the drawing needs them.
void ApplyNewRoomAttributes(hvacRoom& room, const RoomAttributes& attr, const NewRoomArgs& a) {
  room.setLayer(attr.outlineLayer, true, false);
  room.setLabelStyleId(attr.styleId);
  room.setLabelLayerId(attr.labelLayer);
  room.setTextHeight(attr.textHeight);
  room.setLeaderLayerId(attr.leaderLayer);
  room.setLeaderArrow(a.arrowBlock.c_str(), a.arrowSize);
}

// Whether the layer opens and is not "0": a room keeps its old layer rather than fall to "0".
bool UsableLayer(AcDbObjectId id) {
  AcDbObjectPointer<AcDbLayerTableRecord> layer(id, AcDb::kForRead);
  if (layer.openStatus() != Acad::eOk) return false;
  const ACHAR* name = nullptr;
  layer->getName(name);
  return !name || std::wstring(name) != L"0";
}

// Runs body on the room named by the first argument, opened in mode. A wrong entity is no error:
// the call ends with nil and notARoom.
template <class Body>
LispStatus WithRoom(AcDb::OpenMode mode, LispStatus notARoom, Body body) {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  AcDbObjectId id;
  if (!ArgObjectId(cursor, id)) return LispStatus::WrongType;
  AcDbObjectPointer<hvacRoom> room(id, mode);
  if (room.openStatus() != Acad::eOk) return notARoom;
  return body(*room, cursor);
}

void AppendPoint2d(resbuf*& tail, double x, double y) {
  ads_point p = {x, y, 0.0};
  AppendCells(tail, acutBuildList(RTPOINT, p, 0));
}

// ---- the jig ----

// Drags a new room: outline points first (each new point goes in at the front, so the outline is
// stored in the reverse order of picking), then the label.
class hvacRoomJig : public AcEdJig {
 public:
  explicit hvacRoomJig(std::int32_t ix) : room_(new hvacRoom), ixRoomL_(ix) {}
  ~hvacRoomJig() override { delete room_; }
  hvacRoomJig(const hvacRoomJig&) = delete;
  hvacRoomJig& operator=(const hvacRoomJig&) = delete;

  hvacRoom& room() { return *room_; }
  // Runs the picks; sets the LISP result to the appended room, or leaves nil.
  void run();

  DragStatus sampler() override;
  Adesk::Boolean update() override;
  AcDbEntity* entity() const override { return room_; }

 private:
  hvacRoom* room_;
  std::int32_t ixRoomL_;
  AcGePoint2d currentPoint_{0, 0};
  bool pickingOutline_ = true;
  bool noPointYet_ = true;
};

AcEdJig::DragStatus hvacRoomJig::sampler() {
  const int controls = (!pickingOutline_ || noPointYet_) ? kNullResponseAccepted
                                                          : (kGovernedByOrthoMode | kNullResponseAccepted);
  setUserInputControls(static_cast<UserInputControls>(controls));
  AcGePoint3d p;
  const DragStatus status = acquirePoint(p);
  if (status != kNormal) return status;
  if (AcGePoint2d(p.x, p.y).isEqualTo(currentPoint_, AcGeContext::gTol)) return kNoChange;
  currentPoint_.set(p.x, p.y);
  return status;
}

Adesk::Boolean hvacRoomJig::update() {
  if (pickingOutline_) {
    std::vector<RoomPoint> points = room_->points();
    points[0].x = currentPoint_.x, points[0].y = currentPoint_.y;
    room_->setPoints(std::move(points));
  } else {
    room_->setLabelLocation(AcGePoint3d(currentPoint_.x, currentPoint_.y, 0.0));
  }
  return true;
}

void hvacRoomJig::run() {
  setDispPrompt(L"\nSpecify first room point:");
  for (;;) {
    room_->insertPoint(0, RoomPoint{});
    const DragStatus status = drag();
    if (status == kCancel) {
      acedRedraw(nullptr, 0);
      return;
    }
    if (status == kNull) break;
    noPointYet_ = false;
    setDispPrompt(L"\nSpecify next room point / <Finish>:");
  }
  if (noPointYet_) {
    acedRedraw(nullptr, 0);
    return;
  }
  room_->removePoint(0);
  room_->setIxRoomL(ixRoomL_);
  pickingOutline_ = false;
  // The label starts where the cursor last was, so Enter leaves it at the last point picked.
  update();
  setDispPrompt(L"\nSpecify room info location:");
  if (drag() == kCancel) {
    acedRedraw(nullptr, 0);
    return;
  }
  room_->layOutDefaultLeader();
  hvacRoom* done = room_;
  // From here the drawing owns the room (or the append deleted it); the jig keeps a fresh one
  // for its destructor.
  room_ = new hvacRoom;
  if (appendToModelSpace(done)) {
    RetObject(done);
    done->close();
  }
  acedRedraw(nullptr, 0);
}

}  // namespace

// ---- creating rooms ----

LispStatus kv_hvac_room_draw() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  NewRoomArgs a;
  if (!ReadNewRoomArgs(cursor, a)) return LispStatus::WrongType;
  RoomAttributes attr;
  if (!ResolveRoomAttributes(attr)) return LispStatus::Success;
  hvacRoomJig jig(a.index);
  ApplyNewRoomAttributes(jig.room(), attr, a);
  jig.room().setLabelText(a.label.c_str());
  jig.room().setLabelWidth(a.hasWidth, a.width);
  jig.run();
  return LispStatus::Success;
}

LispStatus kv_hvac_room_insert() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  NewRoomArgs a;
  if (!ReadNewRoomArgs(cursor, a)) return LispStatus::WrongType;
  RoomAttributes attr;
  if (!ResolveRoomAttributes(attr)) return LispStatus::Success;
  ads_point at;
  if (!ArgPoint3d(cursor, at)) return LispStatus::WrongType;
  auto room = std::make_unique<hvacRoom>();
  room->setIxRoomL(a.index);
  ApplyNewRoomAttributes(*room, attr, a);
  room->setLabelLocation(AcGePoint3d(at[0], at[1], at[2]));
  room->setLabelWidth(a.hasWidth, a.width);
  // A refused append has deleted the room already.
  hvacRoom* placed = room.release();
  if (appendToModelSpace(placed)) {
    RetObject(placed);
    placed->close();
  }
  return LispStatus::Success;
}

// ---- reading ----

LispStatus kv_hvac_room_getPoints() {
  return WithRoom(AcDb::kForRead, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    ResultList list;
    for (const RoomPoint& p : room.points()) AppendPoint2d(list.tail(), p.x, p.y);
    list.close();
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_getLeaderPoints() {
  return WithRoom(AcDb::kForRead, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    ResultList list;
    const AcGePoint3d origin = room.labelOrigin();
    AppendPoint2d(list.tail(), origin.x, origin.y);
    if (room.leaderOn()) {
      AcGePoint3d start, middle, end;
      room.getLeaderPoints(start, middle, end);
      AppendPoint2d(list.tail(), end.x, end.y);
      AppendPoint2d(list.tail(), middle.x, middle.y);
    } else {
      AppendCells(list.tail(), acutBuildList(RTNIL, RTNIL, 0));
    }
    list.close();
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_getArea() {
  return WithRoom(AcDb::kForRead, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    double area = 0.0;
    if (room.getArea(area) == Acad::eOk) acedRetReal(area);
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_find() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  ads_point at;
  if (!ArgPoint3d(cursor, at)) return LispStatus::WrongType;
  std::int32_t filter = 0;
  if (!ArgInt(cursor, filter)) filter = 0;
  std::int32_t found = 0;
  if (FindRoomAt(AcGePoint3d(at[0], at[1], at[2]), filter, found)) RetIndex(found);
  return LispStatus::Success;
}

// The candidates come from the drawing's spatial index (a room's extents hold its outline), and
// the first of them in the block's own order wins, as a walk of the block would find it.
bool FindRoomAt(const AcGePoint3d& point, std::int32_t filter, std::int32_t& ixRoomL) {
  AcDbDatabase* drawing = acdbHostApplicationServices()->workingDatabase();
  if (!drawing) return false;
  std::vector<AcDbObjectId> near;
  drawing->queryModelSpace(point.x, point.y, point.x, point.y, near);
  bool hit = false;
  AcDbObjectId first;
  std::int32_t firstIndex = 0;
  for (AcDbObjectId id : near) {
    AcDbObjectPointer<hvacRoom> room(id, AcDb::kForRead);
    if (room.openStatus() != Acad::eOk) continue;
    if (filter != 0 && room->ixRoomL() != filter) continue;
    if (!room->containsPoint(point)) continue;
    if (!hit || id.handle() < first.handle()) {
      hit = true;
      first = id;
      firstIndex = room->ixRoomL();
    }
  }
  if (hit) ixRoomL = firstIndex;
  return hit;
}

// ---- editing ----

LispStatus kv_hvac_room_setPoints() {
  return WithRoom(AcDb::kForWrite, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    room.setPoints({});
    ArgListOpen(cursor);
    while (!cursor.atEnd()) {
      ads_point p;
      bool thick = false;
      if (!ArgPoint2d(cursor, p) || !ArgBool(cursor, thick)) return LispStatus::WrongType;
      room.insertPoint(room.points().size(), RoomPoint{p[0], p[1], thick});
      ArgListClose(cursor);
    }
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_updateIndex() {
  return WithRoom(AcDb::kForWrite, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    std::int32_t index = 0;
    if (!ArgInt(cursor, index)) return LispStatus::WrongType;
    room.setIxRoomL(index);
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_insertPoint() {
  return WithRoom(AcDb::kForWrite, LispStatus::BadData, [](hvacRoom& room, ArgCursor& cursor) {
    std::int32_t index = 0;
    ads_point p;
    if (!ArgInt(cursor, index) || !ArgPoint3d(cursor, p)) return LispStatus::WrongType;
    const std::vector<RoomPoint>& points = room.points();
    const std::size_t n = points.size();
    // Both halves of a split segment keep its flag; at the front the first point's flag serves.
    if (index >= 0 && static_cast<std::size_t>(index) < n) {
      const bool thick = points[index > 0 ? index - 1 : 0].thick;
      room.insertPoint(static_cast<std::size_t>(index), RoomPoint{p[0], p[1], thick});
    } else {
      room.insertPoint(n, RoomPoint{p[0], p[1], n > 0 && points.back().thick});
    }
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_removePoint() {
  return WithRoom(AcDb::kForWrite, LispStatus::BadData, [](hvacRoom& room, ArgCursor& cursor) {
    std::int32_t index = 0;
    if (!ArgInt(cursor, index)) return LispStatus::WrongType;
    if (index >= 0) {
      const std::size_t n = room.points().size();
      room.removePoint(static_cast<std::size_t>(index) < n ? static_cast<std::size_t>(index) : 0);
    }
    room.recordGraphicsModified(true);
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_updateLabel() {
  return WithRoom(AcDb::kForWrite, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    std::wstring text;
    if (!ArgString(cursor, text)) return LispStatus::WrongType;
    room.setLabelText(text.c_str());
    room.recordGraphicsModified(true);
    acedRetT();
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_updateAttributes() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  AcDbObjectId id;
  std::wstring arrowBlock;
  double arrowSize = 0.0, width = 0.0;
  bool hasWidth = false;
  if (!ArgObjectId(cursor, id) || !ArgString(cursor, arrowBlock) || !ArgNumber(cursor, arrowSize))
    return LispStatus::WrongType;
  ReadOptionalWidth(cursor, hasWidth, width);
  AcDbObjectPointer<hvacRoom> room(id, AcDb::kForWrite);
  if (room.openStatus() != Acad::eOk) return LispStatus::Success;
  RoomAttributes attr;
  if (!ResolveRoomAttributes(attr)) return LispStatus::Success;
  if (UsableLayer(attr.outlineLayer)) room->setLayer(attr.outlineLayer, true, false);
  if (UsableLayer(attr.labelLayer)) room->setLabelLayerId(attr.labelLayer);
  if (UsableLayer(attr.leaderLayer)) room->setLeaderLayerId(attr.leaderLayer);
  room->setLabelStyleId(attr.styleId);
  room->setTextHeight(attr.textHeight);
  room->setLeaderArrow(arrowBlock.c_str(), arrowSize);
  room->setLabelWidth(hasWidth, width);
  room->recordGraphicsModified(true);
  acedRetT();
  return LispStatus::Success;
}

LispStatus kv_hvac_room_setPointInfo() {
  return WithRoom(AcDb::kForWrite, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    std::int32_t index = 0;
    bool thick = false;
    if (!ArgInt(cursor, index) || !ArgBool(cursor, thick)) return LispStatus::WrongType;
    if (index < 0 || static_cast<std::size_t>(index) >= room.points().size()) return LispStatus::Success;
    room.setThick(static_cast<std::size_t>(index), thick);
    room.recordGraphicsModified(true);
    acedRetT();
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_setLeaderLocation() {
  return WithRoom(AcDb::kForWrite, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    bool on = false;
    if (!ArgBool(cursor, on)) return LispStatus::WrongType;
    ads_point arrow, elbow;
    if (on && (!ArgPoint3d(cursor, arrow) || !ArgPoint3d(cursor, elbow))) return LispStatus::WrongType;
    room.setLeaderOn(on);
    if (on) room.setLeaderLocation(AcGePoint3d(arrow[0], arrow[1], arrow[2]), AcGePoint3d(elbow[0], elbow[1], elbow[2]));
    return LispStatus::Success;
  });
}

LispStatus kv_hvac_room_toggleLeader() {
  return WithRoom(AcDb::kForWrite, LispStatus::Success, [](hvacRoom& room, ArgCursor& cursor) {
    room.toggleLeader();
    acedRetT();
    return LispStatus::Success;
  });
}
