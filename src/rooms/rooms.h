// Rooms: the three-point leader, the room entity (outline, boxed label, leader) and the LISP
// functions by which the application layer draws, reads, edits and finds rooms.
#pragma once

#include <cstdint>
#include <vector>

#include "bridge/bridge.h"
#include "db.h"

// What a leader files, in file order.
struct KVLeaderFields {
  AcGePoint3d start;   // at the label
  AcGePoint3d middle;  // the elbow
  AcGePoint3d end;     // the arrow point
  double arrowSize = 0.0;
  AcDbObjectId arrowBlockId;
};

// A leader from a label to a wall: two straight segments and a block reference as arrow head,
// which covers the last arrowSize of the line.
class KVLeader : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(KVLeader);
  static constexpr Adesk::Int32 kVersion = 2;

  KVLeader() = default;
  KVLeader(const AcGePoint3d& start, const AcGePoint3d& middle, const AcGePoint3d& end, double size,
           AcDbObjectId blockId, AcDbObjectId layerId);
  ~KVLeader() override;

  void getPoints(AcGePoint3d& start, AcGePoint3d& middle, AcGePoint3d& end) const;
  void setPoints(const AcGePoint3d& start, const AcGePoint3d& middle, const AcGePoint3d& end);
  void setStart(const AcGePoint3d& p);
  void setMiddle(const AcGePoint3d& p);
  void setEnd(const AcGePoint3d& p);
  void setArrowSize(double size);
  double arrowSize() const;
  AcDbObjectId arrowBlockId() const;
  // False (and nothing changes) when no drawing file defines the block.
  bool setArrowBlock(const ACHAR* name);
  const AcDbBlockReference& arrow() const { return arrow_; }
  // Where the visible line stops: arrowSize short of end, towards middle, in plan.
  AcGePoint3d trimPoint() const;

  using AcDbEntity::setLayer;
  // The arrow takes the layer too when doSubents is set.
  Acad::ErrorStatus setLayer(AcDbObjectId newVal, Adesk::Boolean doSubents = true, bool allowHiddenLayer = false);

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  Acad::ErrorStatus audit(AcDbAuditInfo* pAuditInfo) override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;
  void subList() const override;
  Acad::ErrorStatus subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                      const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                      const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                      AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes,
                                     AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subGetStretchPoints(AcGePoint3dArray& stretchPoints) const override;
  Acad::ErrorStatus subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus getStartParam(double& param) const override;
  Acad::ErrorStatus getEndParam(double& param) const override;
  Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getPointAtParam(double param, AcGePoint3d& point) const override;
  Acad::ErrorStatus getParamAtPoint(const AcGePoint3d& point, double& param) const override;
  Acad::ErrorStatus getDistAtParam(double param, double& dist) const override;
  Acad::ErrorStatus getParamAtDist(double dist, double& param) const override;
  Acad::ErrorStatus getDistAtPoint(const AcGePoint3d& point, double& dist) const override;
  Acad::ErrorStatus getPointAtDist(double dist, AcGePoint3d& point) const override;
  Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                     Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const override;
  Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                     AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker,
                                     Adesk::GsMarker otherGsMarker) const override;

 private:
  void syncArrow();
  AcGeVector3d chordUnit() const;
  // The two visible segments, for the operations that ask plain lines.
  void segments(AcDbLine& first, AcDbLine& second) const;
  KVLeaderFields f_;
  AcDbBlockReference arrow_;
};

// One outline vertex; thick belongs to the segment that leaves it.
struct RoomPoint {
  double x = 0.0, y = 0.0;
  bool thick = false;
  bool operator==(const RoomPoint&) const = default;
};

// What a room files, in file order, with the embedded label and leader.
struct hvacRoomFields {
  std::vector<RoomPoint> points;
  std::int32_t ixRoomL = -1;
  AcDbObjectId labelLayerId;
  AcDbObjectId labelStyleId;
  double textHeight = 0.0;
  AcDbMText label;
  bool leaderOn = false;
  KVLeader leader;
  AcDbObjectId leaderLayerId;
  AcDbObjectId droppedId;  // an id that the oldest rooms filed and nothing uses
};

// One room of a floor plan: an outline of straight segments in the world XY plane, a label in a
// box, an optional leader, and ixRoomL, which ties it to the application layer's room; -1 means
// the room has no index yet (it draws its outline alone and does not survive a load).
class hvacRoom : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(hvacRoom);
  static constexpr Adesk::Int32 kVersion = 2;

  hvacRoom() = default;
  ~hvacRoom() override;

  std::int32_t ixRoomL() const;
  void setIxRoomL(std::int32_t ix);
  void setLabelLayerId(AcDbObjectId id);
  void setLabelStyleId(AcDbObjectId id);
  void setTextHeight(double h);
  void setLeaderLayerId(AcDbObjectId id);
  void setLabelText(const ACHAR* text);
  void setLabelLocation(const AcGePoint3d& point);
  void setLabelWidth(bool hasWidth, double width);
  void setLeaderArrow(const ACHAR* blockName, double size);
  void setLeaderOn(bool on);
  bool leaderOn() const;
  void toggleLeader();
  void setLeaderLocation(const AcGePoint3d& arrowPoint, const AcGePoint3d& elbowPoint);
  void getLeaderPoints(AcGePoint3d& start, AcGePoint3d& middle, AcGePoint3d& end) const;
  AcGePoint3d labelOrigin() const;
  Acad::ErrorStatus getArea(double& area) const;
  bool containsPoint(const AcGePoint3d& point) const;

  // The outline as stored, and its editing.
  const std::vector<RoomPoint>& points() const;
  void setPoints(std::vector<RoomPoint> points);
  void insertPoint(std::size_t index, const RoomPoint& point);
  void removePoint(std::size_t index);
  void setThick(std::size_t index, bool thick);
  const hvacRoomFields& fields() const;

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  Acad::ErrorStatus audit(AcDbAuditInfo* pAuditInfo) override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;
  void saveAs(AcGiWorldDraw* mode, AcDb::SaveType st) override;
  Acad::ErrorStatus subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                      const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                      const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                      AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes,
                                     AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subGetStretchPoints(AcGePoint3dArray& stretchPoints) const override;
  Acad::ErrorStatus subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;

  // The label box: p0..p4, closing on itself, at Z 0.
  void labelBox(AcGePoint3d box[5]) const;
  AcGePoint2d labelCenter() const;
  // The side midpoint (right, top, left, bottom; ties keep the earlier) nearest to q.
  AcGePoint2d nearestSideMidpoint(const AcGePoint2d& q) const;
  // Lays out the default leader from the label to the nearest quarter point of the outline.
  void layOutDefaultLeader();

 private:
  struct LabelFrame {
    AcGePoint2d location;
    double g, w, h;
  };
  LabelFrame labelFrame() const;
  void applyLabelFormat();
  void reanchorLeader();
  void drawSegment(AcGiWorldDraw* mode, std::size_t from, std::size_t to) const;
  void drawOutline(AcGiWorldDraw* mode, bool markers) const;
  Acad::ErrorStatus moveGrips(const AcDbIntArray& indices, const AcGeVector3d& offset, bool gripMove);
  hvacRoomFields f_;
};

// The ixRoomL of an open entity, for selections filtered by index (0 for another entity).
std::int32_t RoomIndexOf(const AcDbEntity& entity);

// Registers hvacRoom with the host unless a class of that name is known (then it must be ours),
// and removes it again. KVLeader is registered only where a drawing must hold leaders alone.
void RegisterRoomClass(void (*ensure)(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name));
void RegisterLeaderClass(void (*ensure)(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name));
void UnregisterRoomClasses();

// The first room of model space of the working database, in the block's order, that contains
// point; filter 0 means any room, else only rooms of that index. False when none does.
bool FindRoomAt(const AcGePoint3d& point, std::int32_t filter, std::int32_t& ixRoomL);

// LISP bodies.
LispStatus kv_hvac_room_draw();
LispStatus kv_hvac_room_insert();
LispStatus kv_hvac_room_getPoints();
LispStatus kv_hvac_room_getLeaderPoints();
LispStatus kv_hvac_room_setPoints();
LispStatus kv_hvac_room_getArea();
LispStatus kv_hvac_room_updateIndex();
LispStatus kv_hvac_room_find();
LispStatus kv_hvac_room_insertPoint();
LispStatus kv_hvac_room_removePoint();
LispStatus kv_hvac_room_updateLabel();
LispStatus kv_hvac_room_updateAttributes();
LispStatus kv_hvac_room_setPointInfo();
LispStatus kv_hvac_room_setLeaderLocation();
LispStatus kv_hvac_room_toggleLeader();
