// The fitting at a duct's downstream end: the dispatch on its fitting text and the builders of
// elbows, transitions, offsets and wyes. Each fitting takes its reach out of the ducts it joins
// and records it at once, so that the straight pieces built later stop where it begins.
#include <cmath>
#include <vector>

#include "pieces.h"

namespace {

constexpr double kHalfAngle = 15.0;  // the slope of every transition the model adds

struct NextDucts {
  std::int32_t n[3] = {0, 0, 0};
};

bool NextOf(std::int32_t ixDuct, NextDucts& next, bool transparent = true) {
  return getNextDucts(ixDuct, next.n[0], next.n[1], next.n[2], transparent);
}

void ClearTails(const NextDucts& next) {
  for (std::int32_t ix : next.n)
    if (ix != 0) setTailLength3d(ix, 0.0);
}

// A transition piece from one section to another along dir; the far point.
AcGePoint3d AddLeadOut(const AcGePoint3d& from, bool rect1, double w1, double d1, bool rect2, double w2, double d2,
                       const DuctFrame& frame, int option, AcDbObjectId& id) {
  const double length = transitionLength(w1, d1, rect1, w2, d2, rect2, kHalfAngle);
  const AcGePoint3d to = from + frame[0] * length;
  SolidPtr piece = NewSolid();
  // The fitting stands even when its lead-out cannot be built.
  if (piece->addTransition(from, rect1, w1, d1, to, rect2, w2, d2, Axes(frame), Axes(frame), option))
    id = AppendSolid(std::move(piece));
  return to;
}

bool BuildElbow(std::int32_t ixDuct, bool square, double ratio, bool convert, int option, SolidPieces& pieces) {
  if (ratio > 0.0 && ratio <= 0.5) ratio = 0.501;
  LoadedDuct a, b;
  NextDucts next;
  if (!LoadDuct(ixDuct, convert, a) || !NextOf(ixDuct, next) || next.n[1] != 0 || next.n[2] != 0) return false;
  if (!LoadDuct(next.n[0], convert, b)) return false;
  const AcGePoint3d aStart = ductStartPoint(a.row, &a.frame, convert), e = ductEndPoint(a.row, &a.frame, convert);
  const AcGePoint3d s = ductStartPoint(b.row, &b.frame, convert);
  AcGePoint3d start = aStart, end = ductEndPoint(b.row, &b.frame, convert);
  const double wA = Width(a.row), dA = Depth(a.row);
  double keptW = Width(b.row), keptD = Depth(b.row);
  carryFrame(a.frame, b.frame, wA, dA, isRectangularDuct(a.row), keptW, keptD);
  const bool rectA = isRectangularDuct(a.row), rectB = isRectangularDuct(b.row);
  const bool shapeA = isRectangularShape(a.row.SHAPE);
  double outW = keptW, outD = keptD;
  bool needTransition = false;
  SolidPtr solid = NewSolid();
  if (!square) {
    // A bend keeps its inlet section throughout.
    if (!(wA == outW && dA == outD && rectA == rectB)) {
      outW = wA;
      outD = dA;
      needTransition = true;
    }
    if (ratio == 0.0) ratio = 1.5;
    if (!solid->addRadiusElbow(start, wA, dA, a.row.LINING, a.row.dExteriorLining, end, outW, outD, Axes(a.frame),
                               Axes(b.frame), shapeA, ratio, true, option, true))
      return false;
  } else {
    AModeler::Point3d inSection[8], outSection[8];
    AcGePoint3d layout[8];
    const double widths[4] = {keptW, wA, keptW, wA}, depths[4] = {keptD, keptD, dA, dA};
    int attempt = 0;
    for (; attempt < 4; ++attempt) {
      AcGePoint3d tryStart = aStart, tryEnd = end;
      if (solid->addSquareElbowPrep(tryStart, wA, dA, tryEnd, widths[attempt], depths[attempt], Axes(a.frame),
                                    Axes(b.frame), shapeA, inSection, outSection, layout, true, 3.0)) {
        start = tryStart;
        end = tryEnd;
        break;
      }
    }
    if (attempt == 4) return false;
    outW = widths[attempt];
    outD = depths[attempt];
    needTransition = attempt > 0;
    if (!solid->addSquareElbow(start, wA, dA, end, outW, outD, Axes(a.frame), Axes(b.frame), shapeA, inSection,
                               outSection, layout, option))
      return false;
  }
  if (needTransition)
    end = AddLeadOut(end, rectA, outW, outD, rectB, keptW, keptD, b.frame, option, pieces.transition1);
  pieces.solid = AppendSolid(std::move(solid));
  setHeadLength3d(a.ix, (e - start).dotProduct(a.frame[0]));
  setTailLength3d(b.ix, (end - s).dotProduct(b.frame[0]));
  return true;
}

bool BuildTransition(std::int32_t ixDuct, bool convert, int option, SolidPieces& pieces) {
  LoadedDuct a, b;
  NextDucts next;
  if (!LoadDuct(ixDuct, convert, a) || !NextOf(ixDuct, next, false) || next.n[1] != 0 || next.n[2] != 0) return false;
  const std::wstring fit1 = a.row.FIT1;
  if (!LoadDuct(next.n[0], convert, b)) return false;
  const AcGePoint3d p = ductEndPoint(a.row, &a.frame, convert);
  AcGePoint3d q = ductStartPoint(b.row, &b.frame, convert);
  double length = NumberOf(TrimRight(fit1));
  if (length == 0.0)
    length = transitionLength(Width(a.row), Depth(a.row), isRectangularDuct(a.row), Width(b.row), Depth(b.row),
                              isRectangularDuct(b.row), kHalfAngle);
  setHeadLength3d(a.ix, 0.0);
  if (length <= 0.0) {
    setTailLength3d(b.ix, 0.0);
    return true;
  }
  q = q + b.frame[0] * length;
  SolidPtr solid = NewSolid();
  if (solid->addTransition(p, isRectangularShape(a.row.SHAPE), Width(a.row), Depth(a.row), q,
                           isRectangularShape(b.row.SHAPE), Width(b.row), Depth(b.row), Axes(a.frame), Axes(b.frame),
                           option))
    pieces.solid = AppendSolid(std::move(solid));
  setTailLength3d(b.ix, length);
  return true;
}

// The short duct between two close bends is replaced by one sheared piece.
bool BuildOffset(std::int32_t ixDuct, bool convert, int option, SolidPieces& pieces) {
  LoadedDuct a, b;
  NextDucts middle, far;
  if (!LoadDuct(ixDuct, convert, a) || !NextOf(ixDuct, middle) || !NextOf(middle.n[0], far)) return false;
  if (!LoadDuct(far.n[0], convert, b)) return false;
  const AcGePoint3d p = ductEndPoint(a.row, &a.frame, convert), q = ductStartPoint(b.row, &b.frame, convert);
  SolidPtr solid = NewSolid();
  if (solid->addTransition(p, isRectangularShape(a.row.SHAPE), Width(a.row), Depth(a.row), q,
                           isRectangularShape(b.row.SHAPE), Width(b.row), Depth(b.row), Axes(a.frame), Axes(b.frame),
                           option))
    pieces.solid = AppendSolid(std::move(solid));
  setHeadLength3d(a.ix, 0.0);
  setTailLength3d(b.ix, 0.0);
  return true;
}

// A wye leg may be narrower than the inlet but not shallower; what the wye cannot take is
// brought back to the leg's size by a transition. True when the leg needs one.
bool WyeLegSize(const KvDuctDbInfo& inlet, const KvDuctDbInfo& leg, double& w, double& d) {
  const double wA = Width(inlet), dA = Depth(inlet);
  if (w != wA && d != dA) {
    w = wA;
    d = dA;
    return true;
  }
  if (isRectangularDuct(inlet) == isRectangularDuct(leg)) {
    if (d == dA) return false;
    d = dA;
    return true;
  }
  w = wA;
  d = dA;
  return true;
}

bool BuildWye(std::int32_t ixDuct, bool convert, int option, SolidPieces& pieces) {
  LoadedDuct a, b, c;
  NextDucts next;
  if (!LoadDuct(ixDuct, convert, a) || !NextOf(ixDuct, next) || next.n[2] != 0) return false;
  if (!LoadDuct(next.n[0], convert, b) || !LoadDuct(next.n[1], convert, c)) return false;
  AcGePoint3d start = ductStartPoint(a.row, &a.frame, convert);
  const AcGePoint3d e = ductEndPoint(a.row, &a.frame, convert);
  const AcGePoint3d sB = ductStartPoint(b.row, &b.frame, convert), sC = ductStartPoint(c.row, &c.frame, convert);
  AcGePoint3d endB = ductEndPoint(b.row, &b.frame, convert), endC = ductEndPoint(c.row, &c.frame, convert);
  const double wA = Width(a.row), dA = Depth(a.row);
  const double firstWB = Width(b.row), firstDB = Depth(b.row), firstWC = Width(c.row), firstDC = Depth(c.row);
  double wB = firstWB, dB = firstDB, wC = firstWC, dC = firstDC;
  const bool transB = WyeLegSize(a.row, b.row, wB, dB), transC = WyeLegSize(a.row, c.row, wC, dC);
  const bool rectA = isRectangularDuct(a.row);
  AModeler::Point3d sections[3][8];
  AcGePoint3d layouts[3][8];
  SolidPtr solid = NewSolid();
  if (!solid->addWyePrep(start, wA, dA, endB, wB, dB, endC, wC, dC, Axes(a.frame), Axes(b.frame), Axes(c.frame),
                         rectA, sections[0], sections[1], sections[2], layouts[0], layouts[1], layouts[2], true, 3.0))
    return false;
  AcGePoint3d junction = e;
  if (!solid->addWye(start, wA, dA, endB, wB, dB, endC, wC, dC, junction, Axes(a.frame), Axes(b.frame),
                     Axes(c.frame), rectA, sections[0], sections[1], sections[2], layouts[0], layouts[1], layouts[2],
                     option))
    return false;
  if (transB)
    endB = AddLeadOut(endB, rectA, wB, dB, isRectangularDuct(b.row), firstWB, firstDB, b.frame, option,
                      pieces.transition1);
  if (transC)
    endC = AddLeadOut(endC, rectA, wC, dC, isRectangularDuct(c.row), firstWC, firstDC, c.frame, option,
                      pieces.transition2);
  pieces.solid = AppendSolid(std::move(solid));
  setHeadLength3d(a.ix, e.distanceTo(start));
  setTailLength3d(b.ix, sB.distanceTo(endB));
  setTailLength3d(c.ix, sC.distanceTo(endC));
  return true;
}

// Clears the reach of a fitting that builds nothing.
bool BuildNone(std::int32_t ixDuct) {
  NextDucts next;
  if (!NextOf(ixDuct, next)) return false;
  setHeadLength3d(ixDuct, 0.0);
  ClearTails(next);
  return true;
}

bool DispatchFitting(std::int32_t ixDuct, const std::wstring& text, const std::wstring& value, bool convert,
                     int option, SolidPieces& pieces) {
  if (text == L"SQUARE ELBOW") return BuildElbow(ixDuct, true, 0.0, convert, option, pieces);
  if (text == L"RADIUS ELBOW") return BuildElbow(ixDuct, false, NumberOf(value), convert, option, pieces);
  if (text == L"strt_branch" || text == L"asym_branch" || text == L"conical_branch" || text == L"TRANS TEE" ||
      text == L"ANYANGLE")
    return BuildBranch(ixDuct, convert, option, pieces);
  if (text == L"TRANSITION") return BuildTransition(ixDuct, convert, option, pieces);
  if (text == L"OFFSET") return BuildOffset(ixDuct, convert, option, pieces);
  if (text == L"WYE") return BuildWye(ixDuct, convert, option, pieces);
  if (text == L"SPLIT FITTING") {
    acutPrintf(L"\nSplit fitting not currently supported in 3D.\nPlease draw it manually with a wyes, takeoffs, "
               L"and elbows.\n");
    return BuildWye(ixDuct, convert, option, pieces);
  }
  if (text == L"NONE") return BuildNone(ixDuct);
  if (text == L"PAIR OF PANTS") {
    acedRetStr(L"PAIR OF PANTS");
    return false;
  }
  return true;
}

}  // namespace

bool drawTripleFitting(std::int32_t ixDuct, int option, bool convert, const std::wstring& fitting,
                       SolidPieces& pieces) {
  setHeadLength3d(ixDuct, 0.0);
  KvDuctDbInfo duct;
  if (!getDuctRecord(ixDuct, duct, true)) return false;
  if (duct.DOUBLE_LINE == L"n") {
    NextDucts next;
    if (NextOf(ixDuct, next)) ClearTails(next);
    return false;
  }
  std::wstring text = TrimRight(duct.FITTING), value = TrimRight(duct.FIT1);
  if (!fitting.empty()) {
    text = fitting;
  } else if (text.empty() && !chooseFitting(duct, text, value)) {
    return false;
  }
  if (text == L"DCONN" || text == L"PDIF_CON") return drawTripleDiffuser(ixDuct, 0, option, convert, pieces);
  // Flexible runs are built whole from their last duct.
  if (duct.MATERIAL == L"FX") return true;
  NextDucts next;
  KvDuctDbInfo first;
  if (!NextOf(ixDuct, next) || !getDuctRecord(next.n[0], first, true)) return false;
  if (first.MATERIAL == L"FX") return true;
  return DispatchFitting(ixDuct, text, value, convert, option, pieces);
}

void AppendSolidPiece(resbuf*& tail, const ACHAR* key, AcDbObjectId id) {
  ads_name name;
  if (!id.isNull() && acdbGetAdsName(name, id) == Acad::eOk) {
    AppendCells(tail, acutBuildList(RTLB, RTSTR, key, RTDOTE, RTENAME, name, RTLE, 0));
  } else {
    AppendCells(tail, acutBuildList(RTLB, RTSTR, key, RTDOTE, RTNIL, RTLE, 0));
  }
}

bool ReadSolidArgs(ArgCursor& cursor, std::int32_t& index, std::int32_t& option, bool& convert) {
  return ArgInt(cursor, index) && ArgInt(cursor, option) && ArgBool(cursor, convert);
}

LispStatus kv_hvac_drawTripleFitting() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t ixDuct = 0, option = 0;
  bool convert = false;
  if (!ReadSolidArgs(cursor, ixDuct, option, convert)) return LispStatus::WrongType;
  std::wstring fitting;
  if (!ArgString(cursor, fitting)) fitting.clear();
  SolidPieces pieces;
  if (!drawTripleFitting(ixDuct, option, convert, fitting, pieces)) {
    acedRetNil();
    return LispStatus::Success;
  }
  ResultList result;
  AppendSolidPiece(result.tail(), L"Solid", pieces.solid);
  AppendSolidPiece(result.tail(), L"Transition1", pieces.transition1);
  AppendSolidPiece(result.tail(), L"Transition2", pieces.transition2);
  result.close();
  return LispStatus::Success;
}
