// SolidBodies fittings: mitred and radius elbows, the cable tray bend, wyes, and diffusers.
#include <cmath>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <gp_Ax1.hxx>
#include <gp_Ax2.hxx>
#include <gp_Trsf.hxx>

#include "occt.h"

using namespace kvsolid;

namespace {

constexpr double kPi = 3.14159265358979323846;
// A bend's centre-line radius is at most this many sections: beyond, it is a run, not an elbow.
constexpr double kMaxRatio = 100.0;

// Where two runs turn into each other: the corner of their centre lines, the turn, and the
// sizes of both sections in the plane of the bend and across it.
struct Bend {
  Axes in, out;
  gp_Pnt corner;
  gp_Dir axis;                // in.run x out.run: the bend turns about it
  gp_Dir inToward, outToward; // in the bend plane, perpendicular to each run, towards the inside
  double angle = 0.0;
  double inPlaneIn = 0.0, acrossIn = 0.0, inPlaneOut = 0.0, acrossOut = 0.0;
};

Bend layBend(const AcGePoint3d& start, const AcGeVector3d* inFrame, bool inRect, double inW, double inD,
             const AcGePoint3d& end, const AcGeVector3d* outFrame, bool outRect, double outW, double outD) {
  checkPoint(start, "start");
  checkPoint(end, "end");
  checkSection(inRect, inW, inD, "incoming");
  checkSection(outRect, outW, outD, "outgoing");
  Bend b;
  b.in = makeAxes(inFrame, "incoming");
  b.out = makeAxes(outFrame, "outgoing");
  b.corner = meetingPoint(toPnt(start), b.in.run, toPnt(end), b.out.run, std::max({inW, inD, outW, outD}));
  b.angle = b.in.run.Angle(b.out.run);
  b.axis = gp_Dir(gp_Vec(b.in.run).Crossed(gp_Vec(b.out.run)));
  b.inToward = b.axis.Crossed(b.in.run);
  b.outToward = b.axis.Crossed(b.out.run);
  b.inPlaneIn = sectionSizeAlong(b.in, inRect, inW, inD, b.inToward);
  b.acrossIn = sectionSizeAlong(b.in, inRect, inW, inD, b.axis);
  b.inPlaneOut = sectionSizeAlong(b.out, outRect, outW, outD, b.outToward);
  b.acrossOut = sectionSizeAlong(b.out, outRect, outW, outD, b.axis);
  return b;
}

bool nearly(double a, double b) { return std::fabs(a - b) <= 1e-6 * std::max({1.0, std::fabs(a), std::fabs(b)}); }

void requireMatchingSections(const Bend& b, const char* what) {
  if (!nearly(b.inPlaneIn, b.inPlaneOut) || !nearly(b.acrossIn, b.acrossOut))
    throw Refusal(std::string(what) + " joins equal sections only");
}

// Four points of a section's outline: the corners of a rectangle, or the diagonal points of a
// circle, in the order of sectionWire.
void sectionCorners(const gp_Pnt& c, const Axes& a, bool rect, double w, double d, gp_Pnt out[4]) {
  const double hw = w / 2.0, hd = rect ? d / 2.0 : 0.0;
  const double sw = rect ? hw : hw * std::sqrt(0.5), sd = rect ? hd : hw * std::sqrt(0.5);
  const double signs[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
  for (int k = 0; k < 4; ++k)
    out[k] = c.Translated(gp_Vec(a.width) * (signs[k][0] * sw) + gp_Vec(a.depth) * (signs[k][1] * sd));
}

AModeler::Point3d toModeler(const gp_Pnt& p) { return {p.X(), p.Y(), p.Z()}; }

// Fills 4 entries of `dst` with the corners moved along `along` onto the plane (origin, normal).
void projectCorners(const gp_Pnt corners[4], const gp_Dir& along, const gp_Pnt& origin, const gp_Dir& normal,
                    AModeler::Point3d* dst) {
  for (int k = 0; k < 4; ++k) {
    const double t = gp_Vec(corners[k], origin).Dot(gp_Vec(normal)) / gp_Vec(along).Dot(gp_Vec(normal));
    dst[k] = toModeler(corners[k].Translated(gp_Vec(along) * t));
  }
}

void requireSame(const AcGePoint3d& given, const AcGePoint3d& laid, double size, const char* which) {
  if (toPnt(given).Distance(toPnt(laid)) > 1e-6 * std::max(1.0, size))
    throw Refusal(std::string("the ") + which + " is not where the preparing call laid it out");
}

// A leg of a mitred elbow: the section at `end` extruded towards the corner past the mitre, then
// cut by the mitre plane.
TopoDS_Shape mitreLeg(const gp_Pnt& end, const Axes& axes, const gp_Vec& towardCorner, bool rect, double w,
                      double d, const gp_Pnt& corner, const gp_Dir& mitreNormal) {
  const TopoDS_Shape leg = prism(sectionFace(end, axes, rect, w, d), towardCorner);
  return cutByPlane(leg, corner, mitreNormal, end);
}

// The leg's frame turned back onto `run` about the axis of the turn between them.
Axes axesAlongRun(const gp_Dir& run, const Axes& leg) {
  const gp_Vec axis = gp_Vec(leg.run).Crossed(gp_Vec(run));
  if (axis.Magnitude() < 1e-12) return {run, leg.width, run.Crossed(leg.width)};
  gp_Trsf turn;
  turn.SetRotation(gp_Ax1(gp_Pnt(0, 0, 0), gp_Dir(axis)), leg.run.Angle(run));
  const gp_Dir width = leg.width.Transformed(turn);
  return {run, width, run.Crossed(width)};
}

gp_Pnt projectAlong(const gp_Pnt& p, const gp_Dir& along, const gp_Pnt& origin, const gp_Dir& normal) {
  const double t = gp_Vec(p, origin).Dot(gp_Vec(normal)) / along.Dot(normal);
  return p.Translated(gp_Vec(along) * t);
}

// A mitred bend of a rectangular section as one polyhedron through three sections: the
// incoming end, the mitre plane and the outgoing end (the corners carried back along each run,
// so that the three correspond corner by corner and every face is a plane). Sewn from its ten
// faces, with no boolean operation, which keeps elbows and wyes cheap.
TopoDS_Shape mitredLoft(const gp_Pnt endCorners[4], const gp_Dir& outRun, const gp_Pnt& corner,
                        const gp_Dir& mitreNormal, const gp_Dir& inRun, const gp_Pnt& start) {
  gp_Pnt rings[3][4];
  for (int k = 0; k < 4; ++k) {
    rings[2][k] = endCorners[k];
    rings[1][k] = projectAlong(endCorners[k], outRun, corner, mitreNormal);
    rings[0][k] = projectAlong(rings[1][k], inRun, start, inRun);
  }
  std::vector<std::vector<gp_Pnt>> faces{{rings[0][0], rings[0][1], rings[0][2], rings[0][3]},
                                         {rings[2][0], rings[2][1], rings[2][2], rings[2][3]}};
  for (int r = 0; r < 2; ++r)
    for (int k = 0; k < 4; ++k)
      faces.push_back({rings[r][k], rings[r][(k + 1) % 4], rings[r + 1][(k + 1) % 4], rings[r + 1][k]});
  return polyhedron(faces);
}

// Sweeps `face` (standing at the bend's incoming tangent point) round the bend's axis.
TopoDS_Shape revolveBend(const TopoDS_Face& face, const Bend& b, const gp_Pnt& tangentIn, double radius) {
  const gp_Pnt centre = tangentIn.Translated(gp_Vec(b.inToward) * radius);
  BRepPrimAPI_MakeRevol revol(face, gp_Ax1(centre, b.axis), b.angle);
  if (!revol.IsDone()) throw Refusal("the bend cannot be swept");
  return revol.Shape();
}

}  // namespace

bool SolidBodies::addSquareElbowPrep(AcGePoint3d& start, double inWidth, double inDepth, AcGePoint3d& end,
                                     double outWidth, double outDepth, const AcGeVector3d* inFrame,
                                     const AcGeVector3d* outFrame, bool rect, AModeler::Point3d* inSection,
                                     AModeler::Point3d* outSection, AcGePoint3d* layout, bool withCollar,
                                     double collar) {
  return guarded(impl(), "addSquareElbowPrep", [&] {
    if (!inSection || !outSection || !layout) throw Refusal("the layout arrays are missing");
    if (withCollar) checkLength(collar, "collar");
    const Bend b = layBend(start, inFrame, rect, inWidth, inDepth, end, outFrame, rect, outWidth, outDepth);
    if (b.angle > kPi * 0.75 + 1e-9) throw Refusal("a mitred elbow turns 135 degrees at most");
    requireMatchingSections(b, "a mitred elbow");
    const double reach = b.inPlaneIn / 2.0 * std::tan(b.angle / 2.0) + (withCollar ? collar : 0.0);
    const gp_Pnt s = b.corner.Translated(-gp_Vec(b.in.run) * reach), e = b.corner.Translated(gp_Vec(b.out.run) * reach);
    const gp_Dir mitre(gp_Vec(b.in.run) + gp_Vec(b.out.run));
    gp_Pnt corners[4];
    sectionCorners(s, b.in, rect, inWidth, inDepth, corners);
    for (int k = 0; k < 4; ++k) inSection[k] = toModeler(corners[k]);
    projectCorners(corners, b.in.run, b.corner, mitre, inSection + 4);
    sectionCorners(e, b.out, rect, outWidth, outDepth, corners);
    projectCorners(corners, b.out.run, b.corner, mitre, outSection);
    for (int k = 0; k < 4; ++k) outSection[4 + k] = toModeler(corners[k]);
    for (int k = 0; k < 8; ++k) layout[k] = AcGePoint3d();
    layout[0] = toPoint(s);
    layout[1] = toPoint(b.corner);
    layout[2] = toPoint(e);
    layout[3] = toPoint(b.corner.Translated(gp_Vec(mitre)));
    start = layout[0];
    end = layout[2];
  });
}

bool SolidBodies::addSquareElbow(const AcGePoint3d& start, double inWidth, double inDepth, const AcGePoint3d& end,
                                 double outWidth, double outDepth, const AcGeVector3d* inFrame,
                                 const AcGeVector3d* outFrame, bool rect, const AModeler::Point3d* inSection,
                                 const AModeler::Point3d* outSection, const AcGePoint3d* layout) {
  return commitBodies(impl(), "addSquareElbow", [&](std::vector<TopoDS_Shape>& made) {
    if (!inSection || !outSection || !layout) throw Refusal("the layout arrays are missing");
    const Bend b = layBend(start, inFrame, rect, inWidth, inDepth, end, outFrame, rect, outWidth, outDepth);
    const double size = std::max(b.inPlaneIn, b.acrossIn);
    requireSame(start, layout[0], size, "start");
    requireSame(end, layout[2], size, "end");
    requireSame(toPoint(b.corner), layout[1], size, "corner");
    requireMatchingSections(b, "a mitred elbow");
    const gp_Dir mitre(gp_Vec(b.in.run) + gp_Vec(b.out.run));
    const double past = b.inPlaneIn * (std::tan(b.angle / 2.0) + 0.1);
    const gp_Pnt s = toPnt(start), e = toPnt(end);
    if (rect) {
      gp_Pnt corners[4];
      sectionCorners(e, b.out, true, outWidth, outDepth, corners);
      made.push_back(mitredLoft(corners, b.out.run, b.corner, mitre, b.in.run, s));
      return;
    }
    const TopoDS_Shape legIn = mitreLeg(s, b.in, gp_Vec(b.in.run) * (s.Distance(b.corner) + past), rect, inWidth,
                                        inDepth, b.corner, mitre);
    const TopoDS_Shape legOut = mitreLeg(e, b.out, -gp_Vec(b.out.run) * (e.Distance(b.corner) + past), rect,
                                         outWidth, outDepth, b.corner, mitre);
    const std::vector<TopoDS_Shape> solids = solidsOf(fuseAll({legIn, legOut}));
    if (solids.size() != 1) throw Refusal("the two legs of the elbow do not join");
    made.push_back(solids.front());
  });
}

bool SolidBodies::addRadiusElbow(AcGePoint3d& start, double inWidth, double inDepth, double lining,
                                 double exteriorLining, AcGePoint3d& end, double outWidth, double outDepth,
                                 const AcGeVector3d* inFrame, const AcGeVector3d* outFrame, bool rect, double ratio) {
  gp_Pnt s, e;
  const bool ok = commitBodies(impl(), "addRadiusElbow", [&](std::vector<TopoDS_Shape>& made) {
    if (!(ratio > 0.5 && ratio <= kMaxRatio)) throw Refusal("the radius ratio must exceed 0.5 and be at most 100");
    checkLength(lining, "lining");
    checkLength(exteriorLining, "exterior lining");
    const Bend b = layBend(start, inFrame, rect, inWidth, inDepth, end, outFrame, rect, outWidth, outDepth);
    if (b.angle > kPi * 179.0 / 180.0) throw Refusal("a bend turns less than 179 degrees");
    requireMatchingSections(b, "a radius elbow");
    if (std::min(b.inPlaneIn, b.acrossIn) - 2.0 * (lining + exteriorLining) <= 0.0)
      throw Refusal("the lining fills the whole section");
    const double radius = ratio * b.inPlaneIn, tangent = radius * std::tan(b.angle / 2.0);
    s = b.corner.Translated(-gp_Vec(b.in.run) * tangent);
    e = b.corner.Translated(gp_Vec(b.out.run) * tangent);
    const TopoDS_Shape outside = revolveBend(sectionFace(s, b.in, rect, inWidth, inDepth), b, s, radius);
    const double layer = lining + exteriorLining;
    if (layer <= 0.0) {
      made.push_back(outside);
      return;
    }
    // The sizes given are those of the insulated outside; the air runs in the bore that both
    // linings leave clear, so a lined bend is the layer around that bore and shows where it ends.
    const TopoDS_Shape bore =
        revolveBend(sectionFace(s, b.in, rect, inWidth - 2.0 * layer, inDepth - 2.0 * layer), b, s, radius);
    const std::vector<TopoDS_Shape> solids = solidsOf(BRepAlgoAPI_Cut(outside, bore).Shape());
    if (solids.size() != 1) throw Refusal("the lined bend does not come out as one body");
    made.push_back(solids.front());
  });
  if (ok) {
    start = toPoint(s);
    end = toPoint(e);
  }
  return ok;
}

namespace {

// The section of an open tray: floor and two sides, open towards +depth.
TopoDS_Face channelFace(const gp_Pnt& c, const Axes& a, double w, double d) {
  const double t = 0.05 * std::min(w, d);
  const double uv[8][2] = {{-w / 2, -d / 2}, {w / 2, -d / 2}, {w / 2, d / 2}, {w / 2 - t, d / 2},
                           {w / 2 - t, -d / 2 + t}, {-w / 2 + t, -d / 2 + t}, {-w / 2 + t, d / 2}, {-w / 2, d / 2}};
  BRepBuilderAPI_MakePolygon poly;
  for (const auto& p : uv) poly.Add(c.Translated(gp_Vec(a.width) * p[0] + gp_Vec(a.depth) * p[1]));
  poly.Close();
  return BRepBuilderAPI_MakeFace(poly.Wire(), Standard_True).Face();
}

}  // namespace

bool SolidBodies::addCableTraySquareRadiusElbow(AcGePoint3d& start, double width, double depth, AcGePoint3d& end,
                                                const AcGeVector3d* inFrame, const AcGeVector3d* outFrame,
                                                double ratio) {
  gp_Pnt s, e;
  const bool ok = commitBodies(impl(), "addCableTraySquareRadiusElbow", [&](std::vector<TopoDS_Shape>& made) {
    if (!(ratio > 0.5 && ratio <= kMaxRatio)) throw Refusal("the radius ratio must exceed 0.5 and be at most 100");
    const Bend b = layBend(start, inFrame, true, width, depth, end, outFrame, true, width, depth);
    if (b.angle > kPi * 179.0 / 180.0) throw Refusal("a bend turns less than 179 degrees");
    const double radius = ratio * b.inPlaneIn, tangent = radius * std::tan(b.angle / 2.0);
    s = b.corner.Translated(-gp_Vec(b.in.run) * tangent);
    e = b.corner.Translated(gp_Vec(b.out.run) * tangent);
    made.push_back(revolveBend(channelFace(s, b.in, width, depth), b, s, radius));
  });
  if (ok) {
    start = toPoint(s);
    end = toPoint(e);
  }
  return ok;
}

namespace {

// Where the inlet and both legs of a wye meet, and how far each part reaches from there. Each
// leg is a mitred bend off the inlet's run; the inlet reaches back far enough to hold the inner
// corners of both mitres, each leg out past the crotch where the legs part.
struct WyeLayout {
  Axes in, legB, legC;
  gp_Pnt junction, start, endB, endC;
  gp_Dir mitreB, mitreC;
};

double halfAcross(const Axes& leg, bool rect, double w, double d, const gp_Dir& toward) {
  return sectionSizeAlong(leg, rect, w, d, toward) / 2.0;
}

WyeLayout layWye(const AcGePoint3d& start, double w, double d, const AcGePoint3d& endB, double wB, double dB,
                 const AcGePoint3d& endC, double wC, double dC, const AcGeVector3d* frame,
                 const AcGeVector3d* frameB, const AcGeVector3d* frameC, bool rect, double collar) {
  for (const AcGePoint3d* p : {&start, &endB, &endC}) checkPoint(*p, "wye's");
  checkLength(collar, "collar");
  checkSection(rect, w, d, "inlet");
  checkSection(rect, wB, dB, "first leg");
  checkSection(rect, wC, dC, "second leg");
  WyeLayout y;
  y.in = makeAxes(frame, "inlet");
  y.legB = makeAxes(frameB, "first leg");
  y.legC = makeAxes(frameC, "second leg");
  const double size = std::max({w, d, wB, dB, wC, dC});
  y.junction = meetingPoint(toPnt(start), y.in.run, toPnt(endB), y.legB.run, size);
  const gp_Pnt onC = meetingPoint(toPnt(start), y.in.run, toPnt(endC), y.legC.run, size);
  if (onC.Distance(y.junction) > 1e-4 * std::max(1.0, size)) throw Refusal("the legs do not meet the inlet in one point");
  const double phi = y.legB.run.Angle(y.legC.run);
  if (phi < kPi / 18.0) throw Refusal("the legs are less than 10 degrees apart");
  const double thetaB = y.in.run.Angle(y.legB.run), thetaC = y.in.run.Angle(y.legC.run);
  if (thetaB > kPi / 2 + 1e-9 || thetaC > kPi / 2 + 1e-9) throw Refusal("a leg turns back by more than 90 degrees");
  y.mitreB = gp_Dir(gp_Vec(y.in.run) + gp_Vec(y.legB.run));
  y.mitreC = gp_Dir(gp_Vec(y.in.run) + gp_Vec(y.legC.run));
  const gp_Dir towardC = unit(gp_Vec(y.legC.run) - gp_Vec(y.legB.run) * y.legC.run.Dot(y.legB.run), "the leg plane");
  const gp_Dir towardB = unit(gp_Vec(y.legB.run) - gp_Vec(y.legC.run) * y.legB.run.Dot(y.legC.run), "the leg plane");
  const double gB = halfAcross(y.legB, rect, wB, dB, towardC), gC = halfAcross(y.legC, rect, wC, dC, towardB);
  // Along each leg the inner walls of the two legs cross at the crotch.
  const double crotchB = (gC + gB * std::cos(phi)) / std::sin(phi), crotchC = (gB + gC * std::cos(phi)) / std::sin(phi);
  const double mitreB = gB * std::tan(thetaB / 2.0), mitreC = gC * std::tan(thetaC / 2.0);
  y.start = y.junction.Translated(-gp_Vec(y.in.run) * (std::max(mitreB, mitreC) + collar));
  y.endB = y.junction.Translated(gp_Vec(y.legB.run) * (std::max(crotchB, mitreB) + collar));
  y.endC = y.junction.Translated(gp_Vec(y.legC.run) * (std::max(crotchC, mitreC) + collar));
  return y;
}

void fillSections(const gp_Pnt& a, const Axes& axesA, const gp_Pnt& b, const Axes& axesB, bool rect, double w,
                  double d, AModeler::Point3d* dst) {
  gp_Pnt corners[4];
  sectionCorners(a, axesA, rect, w, d, corners);
  for (int k = 0; k < 4; ++k) dst[k] = toModeler(corners[k]);
  sectionCorners(b, axesB, rect, w, d, corners);
  for (int k = 0; k < 4; ++k) dst[4 + k] = toModeler(corners[k]);
}

void fillLayout(const gp_Pnt& a, const gp_Pnt& b, AcGePoint3d* dst) {
  for (int k = 0; k < 8; ++k) dst[k] = AcGePoint3d();
  dst[0] = toPoint(a);
  dst[1] = toPoint(b);
}

// One leg of a wye: a mitred bend from the inlet's run at the junction.
TopoDS_Shape wyeLeg(const WyeLayout& y, const Axes& leg, const gp_Dir& mitre, const gp_Pnt& end, bool rect,
                    double w, double d) {
  if (rect) {
    gp_Pnt corners[4];
    sectionCorners(end, leg, true, w, d, corners);
    return mitredLoft(corners, leg.run, y.junction, mitre, y.in.run, y.start);
  }
  const double past = w * 2.0;
  const Axes along = axesAlongRun(y.in.run, leg);
  const TopoDS_Shape in = mitreLeg(y.start, along, gp_Vec(y.in.run) * (y.start.Distance(y.junction) + past), false, w, d,
                                   y.junction, mitre);
  const TopoDS_Shape out = mitreLeg(end, leg, -gp_Vec(leg.run) * (end.Distance(y.junction) + past), false, w, d,
                                    y.junction, mitre);
  return fuseAll({in, out});
}

}  // namespace

bool SolidBodies::addWyePrep(AcGePoint3d& start, double width, double depth, AcGePoint3d& endB, double widthB,
                             double depthB, AcGePoint3d& endC, double widthC, double depthC,
                             const AcGeVector3d* frame, const AcGeVector3d* frameB, const AcGeVector3d* frameC,
                             bool rect, AModeler::Point3d* sections, AModeler::Point3d* sectionsB,
                             AModeler::Point3d* sectionsC, AcGePoint3d* layout, AcGePoint3d* layoutB,
                             AcGePoint3d* layoutC, bool withCollar, double collar) {
  return guarded(impl(), "addWyePrep", [&] {
    if (!sections || !sectionsB || !sectionsC || !layout || !layoutB || !layoutC)
      throw Refusal("the layout arrays are missing");
    if (withCollar) checkLength(collar, "collar");
    const WyeLayout y = layWye(start, width, depth, endB, widthB, depthB, endC, widthC, depthC, frame, frameB,
                               frameC, rect, withCollar ? collar : 0.0);
    fillSections(y.start, y.in, y.junction, y.in, rect, width, depth, sections);
    fillSections(y.junction, y.legB, y.endB, y.legB, rect, widthB, depthB, sectionsB);
    fillSections(y.junction, y.legC, y.endC, y.legC, rect, widthC, depthC, sectionsC);
    fillLayout(y.start, y.junction, layout);
    fillLayout(y.endB, y.junction.Translated(gp_Vec(y.mitreB)), layoutB);
    fillLayout(y.endC, y.junction.Translated(gp_Vec(y.mitreC)), layoutC);
    start = toPoint(y.start);
    endB = toPoint(y.endB);
    endC = toPoint(y.endC);
  });
}

bool SolidBodies::addWye(const AcGePoint3d& start, double width, double depth, const AcGePoint3d& endB,
                         double widthB, double depthB, const AcGePoint3d& endC, double widthC, double depthC,
                         const AcGePoint3d& junction, const AcGeVector3d* frame, const AcGeVector3d* frameB,
                         const AcGeVector3d* frameC, bool rect, const AModeler::Point3d* sections,
                         const AModeler::Point3d* sectionsB, const AModeler::Point3d* sectionsC,
                         const AcGePoint3d* layout, const AcGePoint3d* layoutB, const AcGePoint3d* layoutC) {
  return commitBodies(impl(), "addWye", [&](std::vector<TopoDS_Shape>& made) {
    if (!sections || !sectionsB || !sectionsC || !layout || !layoutB || !layoutC)
      throw Refusal("the layout arrays are missing");
    const double size = std::max({width, depth, widthB, depthB, widthC, depthC});
    requireSame(start, layout[0], size, "start");
    requireSame(junction, layout[1], size, "junction");
    requireSame(endB, layoutB[0], size, "end of the first leg");
    requireSame(endC, layoutC[0], size, "end of the second leg");
    // The layout again from the laid-out points: the legs' ends stay where they are.
    WyeLayout y = layWye(start, width, depth, endB, widthB, depthB, endC, widthC, depthC, frame, frameB, frameC,
                         rect, 0.0);
    y.start = toPnt(start);
    y.endB = toPnt(endB);
    y.endC = toPnt(endC);
    const std::vector<TopoDS_Shape> pieces{prism(sectionFace(y.start, y.in, rect, width, depth), gp_Vec(y.start, y.junction)),
                                           wyeLeg(y, y.legB, y.mitreB, y.endB, rect, widthB, depthB),
                                           wyeLeg(y, y.legC, y.mitreC, y.endC, rect, widthC, depthC)};
    const std::vector<TopoDS_Shape> solids = solidsOf(fuseAll(pieces));
    if (solids.size() != 1) throw Refusal("the parts of the wye do not join");
    made.push_back(solids.front());
  });
}

namespace {

// A box standing on `base` (centre of its bottom face), `height` along axes.run, width along
// axes.width and length along axes.depth.
TopoDS_Shape boxOn(const gp_Pnt& base, const Axes& axes, double width, double length, double height) {
  return prism(sectionFace(base, axes, true, width, length), gp_Vec(axes.run) * height);
}

TopoDS_Shape cylinderOn(const gp_Pnt& base, const gp_Dir& up, double diameter, double height) {
  return BRepPrimAPI_MakeCylinder(gp_Ax2(base, up), diameter / 2.0, height).Shape();
}

// Half the size of a box (axes, full sizes along width, depth, run) measured along `dir`.
double boxReach(const Axes& a, double width, double length, double height, const gp_Dir& dir) {
  return 0.5 * (std::fabs(dir.Dot(a.width)) * width + std::fabs(dir.Dot(a.depth)) * length +
                std::fabs(dir.Dot(a.run)) * height);
}

// The frame of a section whose run is `run`, with its width axis as near `width` as it can be.
Axes axesAlong(const gp_Dir& run, const gp_Dir& width, const gp_Dir& fallback) {
  gp_Vec across = gp_Vec(width) - gp_Vec(run) * width.Dot(run);
  if (across.Magnitude() < 1e-6) across = gp_Vec(fallback) - gp_Vec(run) * fallback.Dot(run);
  const gp_Dir w(across);
  return {run, w, run.Crossed(w)};
}

// Grooves along the length of a slot diffuser's face, cut from its room side.
TopoDS_Shape cutSlots(const TopoDS_Shape& face, const gp_Pnt& roomSide, const Axes& axes, double width,
                      double length, double thickness) {
  TopoDS_Shape out = face;
  for (const double offset : {-width / 4.0, width / 4.0}) {
    const gp_Pnt at = roomSide.Translated(gp_Vec(axes.width) * offset);
    const TopoDS_Shape groove = boxOn(at, axes, width * 0.12, length * 0.8, thickness / 2.0);
    out = BRepAlgoAPI_Cut(out, groove).Shape();
  }
  return out;
}

}  // namespace

namespace {

// The fixed proportions of a diffuser, from its face size.
struct DiffuserSizes {
  double width, length, face, rim, small;
};

// The face and plenum (or boot) of a diffuser, and where on them the neck leaves along `nd`.
struct DiffuserBody {
  std::vector<TopoDS_Shape> parts;
  gp_Pnt neckBase;
};

// A vertical face looking along the diffuser's run with a boot behind it.
DiffuserBody sidewallBody(const gp_Pnt& p, const Axes& g, const gp_Dir& nd, double neckAcross, const DiffuserSizes& z) {
  const Axes faceAxes{g.run.Reversed(), g.width, g.run.Reversed().Crossed(g.width)};
  const double boot = std::max(0.3 * z.small, neckAcross + 2.0 * z.face);
  const double bw = z.width - 2 * z.rim, bl = z.length - 2 * z.rim;
  DiffuserBody body;
  body.parts.push_back(boxOn(p, faceAxes, z.width, z.length, z.face));
  const gp_Pnt bootBase = p.Translated(-gp_Vec(g.run) * z.face);
  body.parts.push_back(boxOn(bootBase, faceAxes, bw, bl, boot));
  const gp_Pnt centre = bootBase.Translated(-gp_Vec(g.run) * (boot / 2.0));
  body.neckBase = centre.Translated(gp_Vec(nd) * boxReach(faceAxes, bw, bl, boot, nd));
  return body;
}

// A ceiling face with a plenum above it (below when upside down). Connected from above, the
// face stands on the position; from the side, the plenum is centred on it so that the neck
// leaves along the duct's own line.
DiffuserBody ceilingBody(DiffuserType type, const gp_Pnt& p, const gp_Dir& up, const Axes& g, const gp_Dir& nd,
                         bool sideConnection, double neckAcross, const DiffuserSizes& z) {
  const Axes stack = axesAlong(up, g.width, g.run);
  const double hp = std::max(0.3 * z.small, (sideConnection ? neckAcross : 0.0) + 2.0 * z.face);
  const gp_Pnt faceBase = sideConnection ? p.Translated(-gp_Vec(up) * (hp / 2.0 + z.face)) : p;
  const gp_Pnt plenumBase = faceBase.Translated(gp_Vec(up) * z.face);
  const gp_Pnt centre = plenumBase.Translated(gp_Vec(up) * (hp / 2.0));
  DiffuserBody body;
  if (type == DiffuserType::Round) {
    body.parts.push_back(cylinderOn(faceBase, up, z.width, z.face));
    body.parts.push_back(cylinderOn(plenumBase, up, 0.8 * z.width, hp));
    const double c = std::fabs(nd.Dot(up));
    body.neckBase = centre.Translated(gp_Vec(nd) * (c * hp / 2.0 + 0.4 * z.width * std::sqrt(std::max(0.0, 1 - c * c))));
    return body;
  }
  const double pw = z.width - 2 * z.rim, pl = z.length - 2 * z.rim;
  TopoDS_Shape face = boxOn(faceBase, stack, z.width, z.length, z.face);
  if (type == DiffuserType::Slot) face = cutSlots(face, faceBase, stack, z.width, z.length, z.face);
  body.parts.push_back(face);
  body.parts.push_back(boxOn(plenumBase, stack, pw, pl, hp));
  body.neckBase = centre.Translated(gp_Vec(nd) * boxReach(stack, pw, pl, hp, nd));
  return body;
}

}  // namespace

bool SolidBodies::addDiffuser(const AcGePoint3d& position, AcGePoint3d& connection, DiffuserType type, double width,
                              double length, bool neckRect, double neck1, double neck2, double transitionLength,
                              bool ductRect, double ductWidth, double ductDepth, bool sideConnection, bool upright,
                              const AcGeVector3d* diffuserFrame, const AcGeVector3d* ductFrame) {
  gp_Pnt top;
  const bool ok = commitBodies(impl(), "addDiffuser", [&](std::vector<TopoDS_Shape>& made) {
    if (static_cast<int>(type) < 0 || static_cast<int>(type) > 3) throw Refusal("unknown diffuser type");
    if (type == DiffuserType::Round) length = width;
    checkPoint(position, "diffuser's");
    checkSection(true, width, length, "face");
    checkSection(neckRect, neck1, neck2, "neck");
    checkLength(transitionLength, "transition length");
    const Axes g = makeAxes(diffuserFrame, "diffuser");
    const Axes f = sideConnection || ductWidth > 0.0 ? makeAxes(ductFrame, "duct") : g;
    const gp_Dir up = upright ? g.depth : g.depth.Reversed();
    const DiffuserSizes z{width, length, 0.05 * std::min(width, length), 0.1 * std::min(width, length),
                          std::min(width, length)};
    // The neck leaves against the duct's run from the side, else upwards.
    const gp_Dir nd = sideConnection ? f.run.Reversed() : up;
    const Axes neckAxes = axesAlong(nd, sideConnection ? f.width : g.width, g.run);
    const double neckAcross = sectionSizeAlong(neckAxes, neckRect, neck1, neck2, up);
    DiffuserBody body = type == DiffuserType::Sidewall
                            ? sidewallBody(toPnt(position), g, nd, sideConnection ? neckAcross : neck1, z)
                            : ceilingBody(type, toPnt(position), up, g, nd, sideConnection, neckAcross, z);
    const double neckLength = std::max(2.0 * z.face, 0.25 * std::max(neck1, neckRect ? neck2 : neck1));
    body.parts.push_back(prism(sectionFace(body.neckBase, neckAxes, neckRect, neck1, neck2), gp_Vec(nd) * neckLength));
    top = body.neckBase.Translated(gp_Vec(nd) * neckLength);
    if (ductWidth > 0.0 && transitionLength > 0.0) {
      checkSection(ductRect, ductWidth, ductDepth, "duct");
      const gp_Pnt ductEnd = top.Translated(gp_Vec(nd) * transitionLength);
      body.parts.push_back(ruledLoft(sectionWire(top, neckAxes, neckRect, neck1, neck2),
                                     sectionWire(ductEnd, axesAlong(nd, f.width, neckAxes.width), ductRect, ductWidth, ductDepth)));
      top = ductEnd;
    }
    const std::vector<TopoDS_Shape> solids = solidsOf(fuseAll(body.parts));
    if (solids.size() != 1) throw Refusal("the parts of the diffuser do not join");
    made.push_back(solids.front());
  });
  if (ok) connection = toPoint(top);
  return ok;
}

bool SolidBodies::addSidewallDiffuser(const AcGePoint3d& position, double width, double length,
                                      const AcGeVector3d* ductFrame) {
  return commitBodies(impl(), "addSidewallDiffuser", [&](std::vector<TopoDS_Shape>& made) {
    checkPoint(position, "grille's");
    checkSection(true, width, length, "grille");
    const Axes f = makeAxes(ductFrame, "duct");
    const double t = 0.05 * std::min(width, length);
    // The plate's own frame: thickness across the duct's side, width along the run.
    const Axes plate{f.width, f.run, f.width.Crossed(f.run)};
    made.push_back(boxOn(toPnt(position).Translated(-gp_Vec(f.width) * (t / 2.0)), plate, width, length, t));
  });
}
