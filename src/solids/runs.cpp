// The straight remainder of a rigid duct between its fittings, and one continuous tube for a
// whole run of flexible duct, built from the run's last duct.
#include <deque>

#include "pieces.h"

namespace {

constexpr double kShortest = 0.01;  // shorter pieces are left to the fittings that meet there

bool BuildStraight(const KvDuctDbInfo& row, const DuctFrame& frame, bool convert, int option, SolidPieces& pieces) {
  AcGePoint3d s = ductStartPoint(row, &frame, convert), e = ductEndPoint(row, &frame, convert);
  if (s.distanceTo(e) < kShortest) return false;
  s = s + frame[0] * row.TAILLENGTH3D;
  e = e - frame[0] * row.HEADLENGTH3D;
  if (s.distanceTo(e) < kShortest) return false;
  const bool rect = isRectangularShape(row.SHAPE);
  SolidPtr solid = NewSolid();
  if (!solid->addTransition(s, rect, Width(row), Depth(row), e, rect, Width(row), Depth(row), Axes(frame), Axes(frame),
                            option))
    return false;
  pieces.solid = AppendSolid(std::move(solid));
  return true;
}

bool IsFlexible(std::int32_t ixDuct) {
  KvDuctDbInfo row;
  return getDuctRecord(ixDuct, row, true) && row.MATERIAL == L"FX";
}

// Where the tube ends: at the next duct's start, at the duct's own end, or short of a diffuser
// by the reach its builder left in HEADLENGTH3D.
bool TubeEnd(const KvDuctDbInfo& last, bool convert, AcGePoint3d& end, DuctFrame& frame) {
  std::int32_t ixDiffL = 0;
  getDuctDiffuser(last.ixDuct, ixDiffL);
  if (ixDiffL == 0) {
    std::int32_t n1 = 0, n2 = 0, n3 = 0;
    getNextDucts(last.ixDuct, n1, n2, n3, true);
    LoadedDuct next;
    if (n1 != 0) {
      setTailLength3d(n1, 0.0);
      if (!LoadDuct(n1, convert, next)) return false;
      frame = next.frame;
      end = ductStartPoint(next.row, &frame, convert);
      return true;
    }
    if (!LoadDuct(last.ixDuct, convert, next)) return false;
    frame = next.frame;
    end = ductEndPoint(next.row, &frame, convert);
    return true;
  }
  const ProjectContext* context = CurrentProjectContext();
  tblDiffL* placed = context ? context->database.table<tblDiffL>() : nullptr;
  tblDiffS* schedule = context ? context->database.table<tblDiffS>() : nullptr;
  if (!placed || !schedule || !placed->FindByKey(ixDiffL) || !schedule->FindByKey(placed->GetixDiffS())) return false;
  end = ductEndPoint(last, nullptr, convert);
  if (placed->GetCONTYPE() == L"T") {
    frame[0] = AcGeVector3d(0.0, 0.0, placed->GetTILT() == 180.0 ? 1.0 : -1.0);
  } else {
    ductFrame(last, frame, convert, true);
  }
  end = end - frame[0] * last.HEADLENGTH3D;
  return true;
}

bool BuildFlex(std::int32_t ixDuct, bool convert, int option, SolidPieces& pieces) {
  KvDuctDbInfo last;
  if (!getDuctRecord(ixDuct, last, true)) return false;
  std::deque<std::int32_t> chain{ixDuct};
  for (std::int32_t prev = 0; getPrevDuct(chain.front(), prev) && IsFlexible(prev);) {
    if (std::find(chain.begin(), chain.end(), prev) != chain.end()) break;  // a loop in the graph
    chain.push_front(prev);
  }
  const double diameter = Width(last);
  AcGePoint3d start;
  DuctFrame startFrame;
  std::int32_t before = 0;
  LoadedDuct upstream;
  if (getPrevDuct(chain.front(), before) && LoadDuct(before, convert, upstream)) {
    setHeadLength3d(before, 0.0);
    // A flexible section is round, of diameter WIDTH.
    last.DEPTH = last.WIDTH;
    last.SHAPE = L"RC";
    startFrame = upstream.frame;
    start = ductEndPoint(upstream.row, &startFrame, convert);
    if (ductSizesDiffer(last, upstream.row)) {
      const bool rect = isRectangularDuct(upstream.row);
      const double length = transitionLength(Width(upstream.row), Depth(upstream.row), rect, diameter, diameter,
                                             false, 15.0);
      if (length != 0.0) {
        const AcGePoint3d far = start + startFrame[0] * length;
        SolidPtr lead = NewSolid();
        if (lead->addTransition(start, isRectangularShape(upstream.row.SHAPE), Width(upstream.row),
                                Depth(upstream.row), far, false, diameter, diameter, Axes(startFrame),
                                Axes(startFrame), option))
          pieces.transition1 = AppendSolid(std::move(lead));
        start = far;
      }
    }
  } else {
    LoadedDuct first;
    if (!LoadDuct(chain.front(), convert, first)) return false;
    startFrame = first.frame;
    start = ductStartPoint(first.row, &startFrame, convert);
  }
  AcGePoint3d end;
  DuctFrame endFrame;
  if (!TubeEnd(last, convert, end, endFrame)) return false;
  AcGePoint3dArray points;
  points.append(start);
  for (std::int32_t ix : chain) {
    LoadedDuct piece;
    if (!LoadDuct(ix, convert, piece)) return false;
    const AcGePoint3d at = ductStartPoint(piece.row, &piece.frame, convert);
    // A transition from the duct before the run already covers the run's first point; going
    // back to it would fold the tube onto itself.
    if (points.length() == 1 && (at - start).dotProduct(startFrame[0]) < 0.0) continue;
    points.append(at);
  }
  points.append(end);
  SolidPtr tube = NewSolid();
  if (!tube->addFlex(points, diameter * 0.5, startFrame[0], endFrame[0], option)) return false;
  pieces.solid = AppendSolid(std::move(tube));
  return true;
}

}  // namespace

bool drawTripleCenter(std::int32_t ixDuct, int option, bool convert, SolidPieces& pieces) {
  LoadedDuct duct;
  if (!ductExists(ixDuct) || !getDuctRecord(ixDuct, duct.row, true)) return false;
  KvDuctDbInfo& row = duct.row;
  if (row.DOUBLE_LINE == L"n") return true;
  std::int32_t n1 = 0, n2 = 0, n3 = 0;
  if (row.MATERIAL != L"FX") {
    ductFrame(row, duct.frame, convert, true);
    // Reaches of fittings that are not there any more do not count.
    std::int32_t prev = 0;
    if (!getPrevDuct(ixDuct, prev)) row.TAILLENGTH3D = 0.0;
    const std::wstring fitting = TrimRight(row.FITTING);
    if (!getNextDucts(ixDuct, n1, n2, n3, true) && fitting != L"DCONN") row.HEADLENGTH3D = 0.0;
    if (fitting == L"NONE") row.HEADLENGTH3D = 0.0;
    return BuildStraight(row, duct.frame, convert, option, pieces);
  }
  if (!getNextDucts(ixDuct, n1, n2, n3, true)) return false;
  if (n1 != 0) {
    KvDuctDbInfo next;
    if (!getDuctRecord(n1, next, true)) return false;
    if (next.MATERIAL == L"FX") return true;  // the run is built from its last duct
  }
  return BuildFlex(ixDuct, convert, option, pieces);
}

LispStatus kv_hvac_drawTripleCenter() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t ixDuct = 0, option = 0;
  bool convert = false;
  if (!ReadSolidArgs(cursor, ixDuct, option, convert)) return LispStatus::WrongType;
  SolidPieces pieces;
  if (!drawTripleCenter(ixDuct, option, convert, pieces)) {
    acedRetNil();
    return LispStatus::Success;
  }
  ResultList result;
  AppendSolidPiece(result.tail(), L"duct", pieces.solid);
  AppendSolidPiece(result.tail(), L"transition", pieces.transition1);
  result.close();
  return LispStatus::Success;
}
