// The plan picture of a duct: a band that widens with elevation, the flow arrow, hanger marks,
// lock letters, the sizing letter and link labels; a riser symbol where the duct has no plan
// length. Sizes follow the drawing's dimension scale and nothing else, and drawing asks
// neither the project database nor LISP for anything.
#include <cmath>
#include <string>

#include "KvDuct.h"
#include "ductplan.h"

AcGePoint3d Polar(const AcGePoint3d& p, double angle, double distance) {
  return {p.x + distance * std::cos(angle), p.y + distance * std::sin(angle), p.z};
}

double AngleTo(const AcGePoint3d& a, const AcGePoint3d& b) {
  double angle = std::atan2(b.y - a.y, b.x - a.x);
  return angle < 0.0 ? angle + 2.0 * M_PI : angle;
}

double PlanDistance(const AcGePoint3d& a, const AcGePoint3d& b) { return std::hypot(b.x - a.x, b.y - a.y); }

AcGePoint3d HangerFoot(const AcGePoint3d& start, const AcGePoint3d& end, double run, double d, double plan) {
  AcGePoint3d p = Polar(start, run, d);
  if (start.z != end.z) p.z = start.z + (end.z - start.z) * d / plan;
  return p;
}

namespace {

constexpr double kArrowHalfAngle = 0.39269908125;
constexpr double kTwelfthTurn = 0.523598775;
// Lock letters flip between these run angles so that they never read upside down.
constexpr double kFlipFrom = 1.5739379176500001;
constexpr double kFlipTo = 4.71553056765;
constexpr int kMaxLockRepeats = 20;
// Elevation per unit of band half width.
constexpr double kBandDivisor = 120.0;
// Below this plan length a duct draws as a riser.
constexpr double kRiserPlanLength = 0.001;

// The current document's dimension scale, read afresh for every pass.
double CurrentDimscale() {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  return db ? db->dimscale() : 1.0;
}

// One pass's drawing primitives over the geometry it was given.
class Pen {
 public:
  Pen(AcGiGeometry& g, double markSize) : g_(g), markSize_(markSize), normal_(CurrentUcsNormal()) {}
  void line(const AcGePoint3d& a, const AcGePoint3d& b) {
    AcGePoint3d pts[2] = {a, b};
    g_.polyline(2, pts);
  }
  // A closed 12-gon at the centre's height.
  void circle(const AcGePoint3d& c, double r) {
    AcGePoint3d pts[13];
    for (int i = 0; i <= 12; ++i) pts[i] = Polar(c, kTwelfthTurn * i, r);
    g_.polyline(13, pts);
  }
  void text(const AcGePoint3d& at, const std::wstring& s) {
    g_.text(at, normal_, AcGeVector3d::kXAxis, markSize_, 0.8, 0.0, s.c_str());
  }
  void setMarkSize(double m) { markSize_ = m; }
  AcGiGeometry& geometry() { return g_; }

 private:
  AcGiGeometry& g_;
  double markSize_;
  AcGeVector3d normal_;
};

struct Scale {
  double dimscale, markSize, tick, letterShift;
};

std::wstring LockText(const KvDuctFields& f) {
  std::wstring s;
  for (auto [on, letter] : {std::pair{f.bLockWidth, L"W"}, {f.bLockDepth, L"D"}, {f.bLockShape, L"S"}}) {
    if (!on) continue;
    if (!s.empty()) s += L"\\P";
    s += letter;
  }
  return s;
}

// The lock letters repeated along the first part of the duct; answers where the band begins.
AcGePoint3d DrawLocks(const KvDuct& duct, const KvDuctFields& f, AcGiCommonDraw* mode, Pen& pen, const Scale& s,
                      const AcGePoint3d& line0, const AcGePoint3d& line1, double run) {
  double h = s.markSize * 0.5;
  AcGePoint3d a = line0;
  AcGePoint3d b = s.tick > PlanDistance(line1, line0) ? line1 : Polar(line1, AngleTo(f.end, f.start), s.tick);
  AcGeVector3d dir(b.x - a.x, b.y - a.y, 0.0);
  if (run >= kFlipFrom && run <= kFlipTo) dir = -dir;
  AcDbMText text;
  text.setAttachment(AcDbMText::kMiddleCenter);
  text.setLayer(duct.layerId());
  text.setLinetype(duct.linetypeId());
  text.setTextHeight(h);
  text.setColorIndex(256);
  text.setContents(LockText(f).c_str());
  if (!dir.isZeroLength()) text.setDirection(dir.normal());
  double length = PlanDistance(b, a);
  // Written so that a height of 0 (a dimension scale of 0) gives the most repeats, not an
  // undefined conversion.
  double fits = length / (2.0 * h);
  int count = !(fits >= 1.0) ? 1 : fits > kMaxLockRepeats ? kMaxLockRepeats : static_cast<int>(fits);
  double pitch = length / count;
  AcGiSubEntityTraits& traits = mode->subEntityTraits();
  Adesk::UInt16 saved = traits.color();
  traits.setColor(256);
  traits.setLayer(duct.layerId());
  for (int i = 0; i < count; ++i) {
    text.setLocation(Polar(a, run, pitch * (0.5 + i)));
    pen.geometry().draw(&text);
  }
  traits.setColor(saved);
  pen.line(a, b);
  return b;
}

void DrawArrow(const KvDuctFields& f, Pen& pen, double tick, double w1, double back) {
  double dz = (f.start.z - f.end.z) * tick / PlanDistance(f.start, f.end);
  const AcGePoint3d& at = f.reverseArrows ? f.start : f.end;
  AcGePoint3d tip1 = Polar(at, back - kRightAngle, w1), tip2 = Polar(at, back + kRightAngle, w1);
  double a1 = f.reverseArrows ? back + kArrowHalfAngle + kHalfTurn : back - kArrowHalfAngle;
  double a2 = f.reverseArrows ? back - kArrowHalfAngle + kHalfTurn : back + kArrowHalfAngle;
  AcGePoint3d out1 = Polar(tip1, a1, tick), out2 = Polar(tip2, a2, tick);
  out1.z += dz;
  out2.z += dz;
  pen.line(tip1, out1);
  pen.line(tip2, out2);
}

// A plain hanger is a short cross line; one of the second kind (a negative entry) a narrow X.
void DrawHangers(const KvDuctFields& f, Pen& pen, double tick, double run) {
  double length = PlanDistance(f.start, f.end);
  double half = tick * 0.25, skew = tick * 0.025;
  for (double entry : f.hangerDistances) {
    double d = std::fabs(entry);
    if (d >= length) continue;
    AcGePoint3d p = HangerFoot(f.start, f.end, run, d, length);
    AcGePoint3d e1 = Polar(p, run + kRightAngle, half), e2 = Polar(p, run - kRightAngle, half);
    if (entry >= 0.0) {
      pen.line(e1, e2);
      continue;
    }
    pen.line(Polar(e1, run, skew), Polar(e2, run, -skew));
    pen.line(Polar(e1, run, -skew), Polar(e2, run, skew));
  }
}

void DrawPlan(const KvDuct& duct, const KvDuctFields& f, AcGiCommonDraw* mode, Pen& pen, const Scale& s,
              bool worldPass) {
  if (!f.visible) return;
  double run = AngleTo(f.start, f.end);
  double back = run + kHalfTurn;
  AcGePoint3d line0 = f.start, line1 = f.end;
  AcGePoint3d markCentre = Polar(f.start, run, s.markSize);
  bool sized = f.sizeFor != L"X";
  if (sized) line0 = Polar(f.start, run, 2.0 * s.markSize);
  double w0 = line0.z / kBandDivisor, w1 = line1.z / kBandDivisor;
  if (worldPass && (f.bLockWidth || f.bLockDepth || f.bLockShape))
    line0 = DrawLocks(duct, f, mode, pen, s, line0, line1, run);
  pen.line(line0, line1);
  for (auto [side, share] : {std::pair{kRightAngle, 0.5}, {kRightAngle, 1.0}, {-kRightAngle, 0.5}, {-kRightAngle, 1.0}})
    pen.line(Polar(line0, back + side, w0 * share), Polar(line1, back + side, w1 * share));
  DrawArrow(f, pen, s.tick, w1, back);
  DrawHangers(f, pen, s.tick, run);
  if (sized) {
    pen.circle(markCentre, s.markSize);
    pen.text(AcGePoint3d(markCentre.x - s.markSize * s.letterShift, markCentre.y - s.markSize / 2, markCentre.z),
             f.sizeFor);
  }
  std::wstring ix = std::to_wstring(f.ixDuct);
  if (f.dwgStart) pen.text(f.end, L"To " + f.linkedDrawing + L" (" + ix + L")");
  else if (f.dwgEnd) pen.text(f.start, L"From " + f.linkedDrawing + L" (" + ix + L")");
}

// Rising (towards the viewer, as the flow goes) shows rings; falling or level shows an X.
void DrawRiser(const KvDuctFields& f, Pen& pen, Scale s) {
  if (!f.visible) return;
  double r = s.dimscale / 8.0;
  bool sized = f.sizeFor != L"X";
  if (!sized) s.markSize = 0.01;
  pen.setMarkSize(s.markSize);
  pen.circle(f.start, r);
  pen.circle(f.end, r);
  pen.line(f.start, f.end);
  bool rising = (f.end.z > f.start.z && !f.reverseArrows) || (f.start.z > f.end.z && f.reverseArrows);
  if (rising && !sized) {
    r /= 3.0;
    for (double radius = r; radius > 0.0; radius -= 1.0) pen.circle(f.start, radius);
  } else if (rising) {
    pen.circle(f.start, s.markSize);
  } else {
    for (double angle : {0.7853981625, 3.9269908125, 2.3561944875, 5.4977871375})
      pen.line(Polar(f.start, angle, r), Polar(f.start, angle, s.markSize * 0.75));
  }
  if (sized) {
    AcGePoint3d at(f.start.x - s.markSize * s.letterShift, f.start.y - s.markSize * 0.5, f.start.z);
    pen.text(at, f.sizeFor);
    at.z = f.end.z;
    pen.text(at, f.sizeFor);
  }
}

}  // namespace

void KvDuct::drawPass(AcGiCommonDraw* mode, AcGiGeometry& geometry, bool worldPass) const {
  if (!worldPass && mode->regenType() == kAcGiHideOrShadeCommand) return;
  mode->subEntityTraits().setSelectionMarker(1);
  Scale s;
  s.dimscale = CurrentDimscale();
  s.markSize = s.dimscale * 0.05;
  s.tick = s.dimscale / 8.0;
  s.letterShift = f_.sizeFor == L"V" ? 0.4 : 0.25;
  Pen pen(geometry, s.markSize);
  if (PlanDistance(f_.start, f_.end) > kRiserPlanLength) DrawPlan(*this, f_, mode, pen, s, worldPass);
  else DrawRiser(f_, pen, s);
}

Adesk::Boolean KvDuct::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  AcGiRegenType type = mode->regenType();
  if (mode->regenAbort() || type == kAcGiHideOrShadeCommand || type == kAcGiRenderCommand) return false;
  drawPass(mode, mode->geometry(), true);
  return true;
}

void KvDuct::subViewportDraw(AcGiViewportDraw* mode) {
  assertReadEnabled();
  if (mode->regenAbort()) return;
  drawPass(mode, mode->geometry(), false);
}
