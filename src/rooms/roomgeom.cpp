// hvacRoom's geometry: the label box and its leader, area, point-in-room, the picture, snapping,
// grips and transformation.
#include <cmath>

#include "rooms.h"
#include "roomsimpl.h"

namespace {

constexpr double kQuarterTurn = 1.570796325;
constexpr double kHalfTurn = 3.14159265;
// A ray through a shared vertex meets both segments there; only the one that starts at the
// vertex counts it.
constexpr double kVertexGap = 0.001;

AcGePoint3d At0(const AcGePoint2d& p) { return {p.x, p.y, 0.0}; }
AcGePoint2d Flat(const RoomPoint& p) { return {p.x, p.y}; }

// The point a quarter of the way from a to b.
AcGePoint2d QuarterPoint(const RoomPoint& a, const RoomPoint& b) {
  return {a.x + (b.x - a.x) / 4.0, a.y + (b.y - a.y) / 4.0};
}

// Counts one segment's crossings with the two rays from q; `last` is the segment's end.
void CountCrossings(const AcGePoint2d& q, const AcGePoint2d& from, const AcGePoint2d& last, int& up, int& right) {
  // A segment of no length has no direction to cross; its point belongs to its neighbours.
  if (from.isEqualTo(last, AcGeContext::gTol)) return;
  const AcGeLineSeg2d segment(from, last);
  const AcGeLine2d vertical(q, AcGeVector2d(0, 1));
  const AcGeLine2d horizontal(q, AcGeVector2d(1, 0));
  AcGePoint2d x;
  if (segment.intersectWith(vertical, x, AcGeContext::gTol) && x.y > q.y && x.distanceTo(last) > kVertexGap) ++up;
  if (segment.intersectWith(horizontal, x, AcGeContext::gTol) && x.x > q.x && x.distanceTo(last) > kVertexGap)
    ++right;
}

}  // namespace

// ---- the label and its leader ----

// The label takes the room's text style and height before its size is measured, so that the box
// and the leader's anchors fit the text as it is drawn, from the first drawing on.
void hvacRoom::applyLabelFormat() {
  if (f_.labelStyleId.isValid()) f_.label.setTextStyle(f_.labelStyleId);
  if (f_.textHeight != 0.0) f_.label.setTextHeight(f_.textHeight);
}

hvacRoom::LabelFrame hvacRoom::labelFrame() const {
  const AcGePoint3d l = f_.label.location();
  const double w = f_.label.width() != 0.0 ? f_.label.width() : f_.label.actualWidth();
  return {AcGePoint2d(l.x, l.y), f_.textHeight / 2.0, w, f_.label.actualHeight()};
}

AcGePoint2d hvacRoom::labelCenter() const {
  const LabelFrame b = labelFrame();
  return {b.location.x + b.w / 2.0, b.location.y - b.h / 2.0};
}

void hvacRoom::labelBox(AcGePoint3d box[5]) const {
  const LabelFrame b = labelFrame();
  const AcGePoint2d p0(b.location.x - b.g, b.location.y + b.g);
  const AcGePoint2d p1(p0.x + b.w + 2 * b.g, p0.y);
  const AcGePoint2d p2(p1.x, p1.y - (b.h + 2 * b.g));
  const AcGePoint2d p3(p2.x - (b.w + 2 * b.g), p2.y);
  box[0] = At0(p0), box[1] = At0(p1), box[2] = At0(p2), box[3] = At0(p3), box[4] = At0(p0);
}

AcGePoint3d hvacRoom::labelOrigin() const {
  assertReadEnabled();
  const LabelFrame b = labelFrame();
  return {b.location.x - b.g, b.location.y + b.g, 0.0};
}

AcGePoint2d hvacRoom::nearestSideMidpoint(const AcGePoint2d& q) const {
  const LabelFrame b = labelFrame();
  const AcGePoint2d c = labelCenter();
  const AcGePoint2d sides[4] = {{c.x + b.w / 2 + b.g, c.y}, {c.x, c.y + b.h / 2 + b.g},
                                {c.x - (b.w / 2 + b.g), c.y}, {c.x, c.y - (b.h / 2 + b.g)}};
  AcGePoint2d best = sides[0];
  for (const AcGePoint2d& s : sides)
    if (s.distanceTo(q) < best.distanceTo(q)) best = s;
  return best;
}

// Needs at least one outline point.
void hvacRoom::layOutDefaultLeader() {
  assertWriteEnabled(true, true);
  f_.leaderOn = true;
  applyLabelFormat();
  const std::vector<RoomPoint>& p = f_.points;
  if (p.empty()) return;
  const AcGePoint2d centre = labelCenter();
  AcGePoint2d candidate = QuarterPoint(p.front(), p.back());
  double best = candidate.distanceTo(centre);
  for (std::size_t i = 0; i + 1 < p.size(); ++i) {
    const AcGePoint2d q = QuarterPoint(p[i], p[i + 1]);
    if (q.distanceTo(centre) < best) candidate = q, best = q.distanceTo(centre);
  }
  const AcGePoint2d start = nearestSideMidpoint(candidate);
  AcGeVector2d out = start - centre;
  if (out.length() > 0.0) out = out.normal();
  const AcGePoint2d middle = start + out * (0.1 * WorkingDimscale());
  f_.leader.setPoints(At0(start), At0(middle), At0(candidate));
}

// Keeps the first leader segment square to the side of the box it leaves.
void hvacRoom::reanchorLeader() {
  applyLabelFormat();
  AcGePoint3d start, middle, end;
  f_.leader.getPoints(start, middle, end);
  const AcGePoint2d a = nearestSideMidpoint(AcGePoint2d(middle.x, middle.y));
  const LabelFrame b = labelFrame();
  const AcGePoint2d c = labelCenter();
  const AcGePoint2d right(c.x + b.w / 2 + b.g, c.y), left(c.x - (b.w / 2 + b.g), c.y);
  if (a.isEqualTo(right, AcGeContext::gTol) || a.isEqualTo(left, AcGeContext::gTol))
    middle.y = a.y;
  else
    middle.x = a.x;
  f_.leader.setStart(At0(a));
  f_.leader.setMiddle(middle);
}

void hvacRoom::setLeaderLocation(const AcGePoint3d& arrowPoint, const AcGePoint3d& elbowPoint) {
  assertWriteEnabled(true, true);
  const AcGePoint2d start = nearestSideMidpoint(AcGePoint2d(elbowPoint.x, elbowPoint.y));
  f_.leader.setPoints(At0(start), elbowPoint, arrowPoint);
  reanchorLeader();
}

// ---- area and point-in-room ----

Acad::ErrorStatus hvacRoom::getArea(double& area) const {
  assertReadEnabled();
  // The polyline runs the outline backwards; appending from the last point gives that order
  // without shifting every vertex at each insertion.
  AcDbPolyline outline;
  for (auto p = f_.points.rbegin(); p != f_.points.rend(); ++p)
    outline.addVertexAt(outline.numVerts(), Flat(*p), 0.0, -1.0, -1.0);
  outline.setClosed(true);
  return outline.getArea(area);
}

bool hvacRoom::containsPoint(const AcGePoint3d& point) const {
  assertReadEnabled();
  const std::vector<RoomPoint>& p = f_.points;
  if (p.empty()) return false;
  const AcGePoint2d q(point.x, point.y);
  int up = 0, right = 0;
  for (std::size_t i = 0; i + 1 < p.size(); ++i) CountCrossings(q, Flat(p[i]), Flat(p[i + 1]), up, right);
  // The closing segment leaves the last point; its gap is measured at the first.
  CountCrossings(q, Flat(p.back()), Flat(p.front()), up, right);
  return up % 2 == 1 && right % 2 == 1;
}

// ---- picture ----

// One segment, and for a thick one six parallels on each side, one drawing unit apart whatever
// the scale.
void hvacRoom::drawSegment(AcGiWorldDraw* mode, std::size_t from, std::size_t to) const {
  const RoomPoint& a = f_.points[from];
  const RoomPoint& b = f_.points[to];
  const AcGePoint3d line[2] = {{a.x, a.y, 0.0}, {b.x, b.y, 0.0}};
  mode->geometry().polyline(2, line);
  if (!a.thick) return;
  const double angle = std::atan2(b.y - a.y, b.x - a.x) + kQuarterTurn;
  for (int k = 1; k <= 6; ++k) {
    for (double side : {angle, angle + kHalfTurn}) {
      const AcGeVector3d off(k * std::cos(side), k * std::sin(side), 0.0);
      const AcGePoint3d parallel[2] = {line[0] + off, line[1] + off};
      mode->geometry().polyline(2, parallel);
    }
  }
}

void hvacRoom::drawOutline(AcGiWorldDraw* mode, bool markers) const {
  const std::size_t n = f_.points.size();
  Adesk::LongPtr marker = 1;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    if (markers) mode->subEntityTraits().setSelectionMarker(marker++);
    drawSegment(mode, i, i + 1);
  }
  if (n > 2) {
    if (markers) mode->subEntityTraits().setSelectionMarker(marker++);
    drawSegment(mode, n - 1, 0);
  }
  if (markers) mode->subEntityTraits().setSelectionMarker(0);
}

Adesk::Boolean hvacRoom::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  drawOutline(mode, true);
  if (f_.ixRoomL == -1) return true;
  if (f_.leaderOn) {
    if (f_.leaderLayerId.isValid()) mode->subEntityTraits().setLayer(f_.leaderLayerId);
    f_.leader.worldDraw(mode);
  }
  if (f_.labelLayerId.isValid()) mode->subEntityTraits().setLayer(f_.labelLayerId);
  applyLabelFormat();
  AcGePoint3d box[5];
  labelBox(box);
  mode->geometry().polyline(5, box, nullptr, -1);
  // The label is drawn horizontally whatever was done to the room.
  f_.label.setDirection(AcGeVector3d(1, 0, 0));
  f_.label.setColorIndex(256, true);
  f_.label.setLayer(f_.labelLayerId, true, false);
  mode->geometry().draw(&f_.label);
  return true;
}

// Where this module is missing the outline still shows.
void hvacRoom::saveAs(AcGiWorldDraw* mode, AcDb::SaveType) {
  assertReadEnabled();
  drawOutline(mode, false);
}

Acad::ErrorStatus hvacRoom::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  for (const RoomPoint& p : f_.points) extents.addPoint(AcGePoint3d(p.x, p.y, 0.0));
  return f_.label.getGeomExtents(extents);
}

Acad::ErrorStatus hvacRoom::subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                              const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                              const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                              AcDbIntArray& geomIds) const {
  assertReadEnabled();
  std::vector<std::pair<AcGePoint3d, AcGePoint3d>> lines;
  const std::vector<RoomPoint>& p = f_.points;
  auto at = [](const RoomPoint& q) { return AcGePoint3d(q.x, q.y, 0.0); };
  for (std::size_t i = 0; i + 1 < p.size(); ++i) lines.emplace_back(at(p[i]), at(p[i + 1]));
  if (!p.empty()) lines.emplace_back(at(p.front()), at(p.back()));
  AcGePoint3d box[5];
  labelBox(box);
  for (int s = 0; s < 4; ++s) lines.emplace_back(box[s], box[s + 1]);
  for (const auto& [from, to] : lines) {
    const AcDbLine line(from, to);
    Acad::ErrorStatus es =
        line.getOsnapPoints(osnapMode, gsSelectionMark, pickPoint, lastPoint, viewXform, snapPoints, geomIds);
    if (es != Acad::eOk) return es;
  }
  return Acad::eOk;
}

// ---- grips, stretch and transformation ----

Acad::ErrorStatus hvacRoom::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  assertReadEnabled();
  gripPoints.append(labelOrigin());
  if (f_.leaderOn) {
    AcGePoint3d start, middle, end;
    f_.leader.getPoints(start, middle, end);
    gripPoints.append(end);
    gripPoints.append(middle);
  }
  const std::vector<RoomPoint>& p = f_.points;
  for (const RoomPoint& q : p) gripPoints.append(AcGePoint3d(q.x, q.y, 0.0));
  if (!p.empty()) gripPoints.append(AcGePoint3d((p.front().x + p.back().x) / 2, (p.front().y + p.back().y) / 2, 0.0));
  for (std::size_t i = 0; i + 1 < p.size(); ++i)
    gripPoints.append(AcGePoint3d((p[i].x + p[i + 1].x) / 2, (p[i].y + p[i + 1].y) / 2, 0.0));
  return Acad::eOk;
}

Acad::ErrorStatus hvacRoom::subGetStretchPoints(AcGePoint3dArray& stretchPoints) const {
  AcDbIntArray modes, ids;
  return getGripPoints(stretchPoints, modes, ids);
}

Acad::ErrorStatus hvacRoom::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return moveGrips(indices, offset, true);
}

Acad::ErrorStatus hvacRoom::subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return moveGrips(indices, offset, false);
}

// Grip indices follow the order of subGetGripPoints; segment midpoints drag their segment only
// as grips, since a stretch window already names the segment's two ends.
Acad::ErrorStatus hvacRoom::moveGrips(const AcDbIntArray& indices, const AcGeVector3d& v, bool gripMove) {
  assertWriteEnabled(true, true);
  std::vector<RoomPoint>& p = f_.points;
  const int n = static_cast<int>(p.size());
  auto shift = [&](int i) { p[i].x += v.x, p[i].y += v.y; };
  for (int i = 0; i < indices.length(); ++i) {
    AcGePoint3d start, middle, end;
    f_.leader.getPoints(start, middle, end);
    const int g = indices[i];
    if (g == 0) {
      f_.label.transformBy(AcGeMatrix3d::translation(v));
      if (f_.leaderOn) {
        f_.leader.setStart(start + v);
        f_.leader.setMiddle(middle + v);
      }
      continue;
    }
    int k = g - 1;
    if (f_.leaderOn && k == 0) {
      f_.leader.setEnd(end + v);
      continue;
    }
    if (f_.leaderOn && k == 1) {
      f_.leader.setMiddle(middle + v);
      reanchorLeader();
      continue;
    }
    if (f_.leaderOn) k -= 2;
    if (k < 0) continue;
    if (k < n) {
      shift(k);
    } else if (gripMove && k - n < n) {
      k -= n;
      const int j = k - 1 < 0 ? n - 1 : k - 1;
      shift(k);
      if (j != k) shift(j);
    }
  }
  return Acad::eOk;
}

Acad::ErrorStatus hvacRoom::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled(true, true);
  for (RoomPoint& p : f_.points) {
    AcGePoint3d q(p.x, p.y, 0.0);
    q.transformBy(xform);
    p.x = q.x, p.y = q.y;
  }
  AcGePoint3d at = f_.label.location();
  at.transformBy(xform);
  f_.label.setLocation(AcGePoint3d(at.x, at.y, 0.0));
  if (f_.leaderOn) {
    f_.leader.transformBy(xform);
    reanchorLeader();
  }
  return Acad::eOk;
}
