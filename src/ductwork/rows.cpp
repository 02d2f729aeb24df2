// A duct's row with its inheritance from upstream, its neighbours as the LISP layer knows them,
// its ends and its frame.
#include <algorithm>
#include <cmath>
#include <cwctype>
#include <limits>
#include <vector>

#include "rowaccess.h"

namespace ductrows {

tblDuct* ProjectDucts() {
  const ProjectContext* context = CurrentProjectContext();
  return context ? context->database.table<tblDuct>() : nullptr;
}

tblGlobal* ProjectGlobals() {
  const ProjectContext* context = CurrentProjectContext();
  return context ? context->database.table<tblGlobal>() : nullptr;
}

hvacPerProjectData* CallProject() {
  if (const ProjectContext* context = CurrentProjectContext()) return &context->project;
  return CurrentProject(DocumentRegistry());
}

ResbufPtr AskLisp(resbuf* args) {
  resbuf* result = nullptr;
  const int status = acedInvoke(args, &result);
  acutRelRb(args);
  ResbufPtr answer(result);
  if (status != RTNORM) return nullptr;
  return answer;
}

bool AnswerInt(const resbuf* answer, std::int32_t& out) {
  if (!answer) return false;
  switch (answer->restype) {
    case RTSHORT: out = answer->resval.rint; return true;
    case RTLONG: out = answer->resval.rlong; return true;
    case RTREAL: {
      const double value = answer->resval.rreal;
      if (!(std::fabs(value) < 2147483647.0)) return false;
      out = static_cast<std::int32_t>(value);
      return true;
    }
    default: return false;
  }
}

}  // namespace ductrows

using namespace ductrows;

namespace {

constexpr double kQuarterTurn = 1.570796325;

// The fields a duct takes over from the first duct up its chain that has a section of its own.
void TakeSection(const KvDuctDbInfo& from, KvDuctDbInfo& to) {
  to.MATERIAL = from.MATERIAL;
  to.SHAPE = from.SHAPE;
  to.OFFSET = from.OFFSET;
  to.VERTICALOFFSET = from.VERTICALOFFSET;
  to.ixLayerSystem = from.ixLayerSystem;
  to.AIRFLOW = from.AIRFLOW;
  to.DOUBLE_LINE = from.DOUBLE_LINE;
  to.LINING = from.LINING;
  to.dExteriorLining = from.dExteriorLining;
  to.WIDTH = from.WIDTH;
  to.DEPTH = from.DEPTH;
}

bool Contains(const std::vector<std::int32_t>& list, std::int32_t ix) {
  return std::find(list.begin(), list.end(), ix) != list.end();
}

// The current row of the project's duct table, copied: the next lookup moves it.
KvDuctDbInfo CurrentRow() { return ProjectDucts()->Info(); }

// A real from a LISP point coordinate as an index; 0 for what is no index.
std::int32_t IndexOf(double value) {
  if (!(std::fabs(value) < 2147483647.0)) return 0;
  return static_cast<std::int32_t>(value);
}

AcGePoint3d ConvertPoint(const AcGePoint3d& point, std::int32_t alignment) {
  const double stored[3] = {point.x, point.y, point.z};
  ResbufPtr answer = AskLisp(acutBuildList(RTSTR, L"convert_rp_dp", RT3DPOINT, stored, RTLONG, alignment, 0));
  if (!answer || answer->restype != RT3DPOINT) return point;
  return {answer->resval.rpoint[0], answer->resval.rpoint[1], answer->resval.rpoint[2]};
}

// The angle in drawing coordinates; false when the LISP layer gives no real.
bool ConvertAngle(double angle, std::int32_t alignment, double& out) {
  ResbufPtr answer = AskLisp(acutBuildList(RTSTR, L"convert_ra_da", RTREAL, angle, RTLONG, alignment, 0));
  if (!answer || answer->restype != RTREAL) return false;
  out = answer->resval.rreal;
  return true;
}

// From the justified line on which the row's points lie to the duct's centre line.
AcGeVector3d JustificationOffset(const KvDuctDbInfo& r, const DuctFrame& frame) {
  const double halfWidth = std::fabs(r.WIDTH) / 2.0;
  const double halfDepth = std::fabs(r.DEPTH) / 2.0;
  AcGeVector3d move;
  if (r.VERTICALOFFSET == L"t") move -= frame[2] * halfDepth;
  else if (r.VERTICALOFFSET == L"b") move += frame[2] * halfDepth;
  else if (r.VERTICALOFFSET == L"h") move += frame[2] * (halfDepth + (r.iHangerType == 0 ? 0.0 : r.dHangerDepth));
  if (r.OFFSET == L"r") move -= frame[1] * halfWidth;
  else if (r.OFFSET == L"l") move += frame[1] * halfWidth;
  return move;
}

AcGePoint3d RowPoint(const KvDuctDbInfo& r, AcGePoint3d point, const DuctFrame* frame, bool convert) {
  if (convert) point = ConvertPoint(point, r.iAlignmentPointNumber1);
  if (frame) point += JustificationOffset(r, *frame);
  return point;
}

// The run of a duct and whether it counts as vertical.
struct Run {
  AcGePoint3d start;
  AcGePoint3d end;
  AcGeVector3d direction;
  bool vertical = false;
};

Run RunOf(const KvDuctDbInfo& r, bool convert) {
  Run run;
  run.start = ductStartPoint(r, nullptr, convert);
  run.end = ductEndPoint(r, nullptr, convert);
  if (r.bForceVertical == -1) {
    run.start.x = run.end.x;
    run.start.y = run.end.y;
    run.direction = AcGeVector3d(0.0, 0.0, -1.0);
    run.vertical = true;
    return run;
  }
  run.direction = run.end - run.start;
  run.vertical = AcGePoint2d(run.start.x, run.start.y).isEqualTo(AcGePoint2d(run.end.x, run.end.y));
  return run;
}

// Every frame ends this way, whatever gave its depth axis.
void Finish(DuctFrame& frame) {
  frame[1] = frame[2].crossProduct(frame[0]);
  for (AcGeVector3d& v : frame) v.normalize();
}

DuctFrame LevelFrame(const Run& run) {
  const double angle = std::atan2(run.end.y - run.start.y, run.end.x - run.start.x) + kQuarterTurn;
  DuctFrame frame{run.direction, AcGeVector3d(std::cos(angle), std::sin(angle), 0.0), AcGeVector3d()};
  frame[2] = frame[0].crossProduct(frame[1]);
  Finish(frame);
  return frame;
}

// A vertical duct with no neighbour to follow: its depth axis from the drawing's X axis, or from
// the alignment of its row when stored values are used.
DuctFrame DefaultFrame(const KvDuctDbInfo& r, const Run& run, bool convert) {
  DuctFrame frame{run.direction, AcGeVector3d(), AcGeVector3d(1.0, 0.0, 0.0)};
  if (!convert) {
    double angle = 0.0;
    if (!ConvertAngle(0.0, r.iAlignmentPointNumber1, angle)) angle = 0.0;
    frame[2] = AcGeVector3d(std::cos(angle), std::sin(angle), 0.0);
  }
  Finish(frame);
  return frame;
}

DuctFrame Inherit(const Run& run, const DuctFrame& neighbour) {
  DuctFrame frame{run.direction, neighbour[1], run.direction.crossProduct(neighbour[1])};
  Finish(frame);
  return frame;
}

// The ducts visited by the question in progress: one list up the chain, one down through risers.
std::vector<std::int32_t>& VisitedUpstream() {
  static std::vector<std::int32_t> visited;
  return visited;
}
std::vector<std::int32_t>& VisitedDownstream() {
  static std::vector<std::int32_t> visited;
  return visited;
}

// Depth first through the vertical ducts downstream of ixDuct, in the order the LISP layer names
// them, to the first duct that is not vertical; its frame in found.
bool FollowDownstream(std::int32_t ixDuct, bool convert, DuctFrame& found) {
  std::vector<std::int32_t>& visited = VisitedDownstream();
  visited.assign(1, ixDuct);
  std::vector<std::int32_t> pending{ixDuct};
  while (!pending.empty()) {
    const std::int32_t ix = pending.back();
    pending.pop_back();
    std::int32_t next[3] = {0, 0, 0};
    if (!getNextDucts(ix, next[0], next[1], next[2], true)) continue;
    // Pushed last first, so that the first output is walked first.
    for (int i = 2; i >= 0; --i) {
      if (next[i] == 0 || Contains(visited, next[i])) continue;
      visited.push_back(next[i]);
      if (!ductExists(next[i])) continue;
      const KvDuctDbInfo row = CurrentRow();
      const Run run = RunOf(row, convert);
      if (!run.vertical) {
        found = LevelFrame(run);
        return true;
      }
      pending.push_back(next[i]);
    }
  }
  return false;
}

AcGeVector3d Rotated(const AcGeVector3d& v, const AcGeVector3d& unitAxis, double angle) {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return v * c + unitAxis.crossProduct(v) * s + unitAxis * (unitAxis.dotProduct(v) * (1.0 - c));
}

void SaveLength(std::int32_t ixDuct, double length, bool head) {
  tblDuct* ducts = ProjectDucts();
  if (ixDuct == 0 || !ducts || !ducts->FindByKey(ixDuct)) return;
  ducts->StartEdit();
  if (head) ducts->SetHEADLENGTH3D(length);
  else ducts->SetTAILLENGTH3D(length);
  ducts->Update();
}

}  // namespace

bool ductExists(std::int32_t ixDuct) {
  tblDuct* ducts = ProjectDucts();
  return ducts && ducts->FindByKey(ixDuct);
}

bool getDuctRecord(std::int32_t ixDuct, KvDuctDbInfo& record, bool addLining) {
  if (!ductExists(ixDuct)) return false;
  KvDuctDbInfo source = CurrentRow();
  KvDuctDbInfo result = addLining ? source : record;
  // Up the chain of rows that take their section from upstream. A chain that comes back to a
  // row already seen ends there, as if that row had nothing upstream.
  std::vector<std::int32_t> chain{ixDuct};
  while (source.OFFSET == L"p") {
    std::int32_t prev = 0;
    if (!getPrevDuct(source.ixDuct, prev) || Contains(chain, prev)) break;
    if (!ductExists(prev)) return false;
    source = CurrentRow();
    chain.push_back(prev);
  }
  TakeSection(source, result);
  if (addLining && (result.LINING != 0.0 || result.dExteriorLining != 0.0)) {
    const double lining = 2.0 * result.LINING + 2.0 * result.dExteriorLining;
    result.WIDTH = std::fabs(result.WIDTH) + lining;
    result.DEPTH = std::fabs(result.DEPTH) + lining;
  }
  record = std::move(result);
  return true;
}

bool getDuctDiffuser(std::int32_t ixDuct, std::int32_t& ixDiffL) {
  ixDiffL = 0;
  ResbufPtr answer = AskLisp(acutBuildList(RTSTR, L"duct-getIxDiffL", RTLONG, ixDuct, 0));
  return AnswerInt(answer.get(), ixDiffL);
}

bool getNextDucts(std::int32_t ixDuct, std::int32_t& n1, std::int32_t& n2, std::int32_t& n3, bool transparent) {
  n1 = n2 = n3 = 0;
  resbuf* question =
      acutBuildList(RTSTR, L"getNextDuctsTransparent", RTLONG, ixDuct, RTNIL, transparent ? RTT : RTNIL, 0);
  resbuf* result = nullptr;
  const int status = acedInvoke(question, &result);
  acutRelRb(question);
  ResbufPtr answer(result);
  if (status != RTNORM) return false;
  std::int32_t next[3] = {0, 0, 0};
  const resbuf* cell = answer.get();
  if (cell && (cell->restype == RT3DPOINT || cell->restype == RTPOINT)) {
    next[0] = IndexOf(cell->resval.rpoint[0]);
    next[1] = IndexOf(cell->resval.rpoint[1]);
    next[2] = cell->restype == RT3DPOINT ? IndexOf(cell->resval.rpoint[2]) : 0;
  } else if (cell && cell->restype == RTLB) {
    ArgCursor c(cell->rbnext);
    for (std::int32_t& n : next)
      if (c.type() < 1000 || !ArgInt(c, n)) return true;  // an answer it cannot use: no next duct
  }
  n1 = next[0];
  n2 = next[1];
  n3 = next[2];
  return true;
}

bool getPrevDuct(std::int32_t ixDuct, std::int32_t& prev) {
  ResbufPtr answer = AskLisp(acutBuildList(RTSTR, L"getPrevDuct", RTLONG, ixDuct, RTNIL, 0));
  std::int32_t value = 0;
  if (!AnswerInt(answer.get(), value) || value == 0) return false;
  prev = value;
  return true;
}

bool isRectangularShape(std::wstring_view shape) {
  std::wstring upper(shape);
  for (wchar_t& ch : upper) ch = static_cast<wchar_t>(std::towupper(ch));
  return upper != L"RD" && upper != L"OO" && upper != L"DX" && upper != L"OX";
}

bool isRectangularDuct(const KvDuctDbInfo& record) {
  static constexpr std::wstring_view kRound[] = {L"RD", L"OO", L"DX", L"OX", L"rd", L"oo", L"dx", L"ox"};
  if (record.MATERIAL == L"FX") return false;
  return std::find(std::begin(kRound), std::end(kRound), record.SHAPE) == std::end(kRound);
}

bool ductSizesDiffer(const KvDuctDbInfo& a, const KvDuctDbInfo& b) {
  return isRectangularDuct(a) != isRectangularDuct(b) || std::fabs(a.WIDTH) != std::fabs(b.WIDTH) ||
         std::fabs(a.DEPTH) != std::fabs(b.DEPTH);
}

AcGePoint3d ductStartPoint(const KvDuctDbInfo& record, const DuctFrame* frame, bool convert) {
  return RowPoint(record, AcGePoint3d(record.X1, record.Y1, record.Z1), frame, convert);
}

AcGePoint3d ductEndPoint(const KvDuctDbInfo& record, const DuctFrame* frame, bool convert) {
  return RowPoint(record, AcGePoint3d(record.X2, record.Y2, record.Z2), frame, convert);
}

void ductFrame(const KvDuctDbInfo& record, DuctFrame& frame, bool convert, bool firstCall) {
  std::vector<std::int32_t>& visited = VisitedUpstream();
  if (firstCall) visited.clear();
  const Run own = RunOf(record, convert);
  if (!own.vertical) {
    frame = LevelFrame(own);
    return;
  }
  // A vertical run has no orientation of its own. Walk up through the risers above it until a
  // duct that has one, and let each riser on the way inherit from the one before it. The visited
  // list spans the whole question, so that a chain leading back to itself ends in the default.
  std::vector<std::pair<KvDuctDbInfo, Run>> waiting{{record, own}};
  DuctFrame source;
  for (;;) {
    const auto& [current, run] = waiting.back();
    if (Contains(visited, current.ixDuct)) {
      source = DefaultFrame(current, run, convert);
      waiting.pop_back();
      break;
    }
    visited.push_back(current.ixDuct);
    std::int32_t prev = 0;
    if (getPrevDuct(current.ixDuct, prev) && ductExists(prev)) {
      KvDuctDbInfo up = CurrentRow();
      const Run upRun = RunOf(up, convert);
      if (!upRun.vertical) {
        source = LevelFrame(upRun);
        break;
      }
      waiting.emplace_back(std::move(up), upRun);
      continue;
    }
    if (FollowDownstream(current.ixDuct, convert, source)) break;
    source = DefaultFrame(current, run, convert);
    waiting.pop_back();
    break;
  }
  for (auto it = waiting.rbegin(); it != waiting.rend(); ++it) source = Inherit(it->second, source);
  frame = source;
}

void carryFrame(DuctFrame& a, DuctFrame& b, double widthA, double depthA, bool rectangularA, double& widthB,
                double& depthB) {
  DuctFrame carried;
  const AcGeVector3d turnAxis = a[0].crossProduct(b[0]);
  const bool round = !rectangularA && widthA == depthA;
  if (!round || turnAxis.isZeroLength()) {
    // Runs in line have no plane of their own: a section is carried as it stands, and a U-turn
    // turns it about its depth axis.
    const double angle = std::acos(std::clamp(a[0].dotProduct(b[0]), -1.0, 1.0));
    const AcGeVector3d axis = (turnAxis.isZeroLength() ? a[2] : turnAxis).normal();
    for (int i = 0; i < 3; ++i) carried[i] = Rotated(a[i], axis, angle);
  } else {
    a[1] = a[0].crossProduct(b[0]).normal();
    a[2] = a[0].crossProduct(a[1]).normal();
    carried[0] = b[0];
    carried[1] = a[1];
    carried[2] = carried[0].crossProduct(carried[1]).normal();
  }
  AcGeTol tol;
  tol.setEqualVector(0.01);
  if (carried[1].isEqualTo(b[1], tol)) return;
  if (carried[1].isEqualTo(b[2], tol) || carried[1].isEqualTo(-b[2], tol)) std::swap(widthB, depthB);
  b = carried;
}

double transitionLength(double width1, double depth1, bool rectangular1, double width2, double depth2,
                        bool rectangular2, double halfAngle) {
  double length = std::max(std::fabs(width1 - width2), std::fabs(depth1 - depth2)) * 0.5 /
                  std::tan(halfAngle * 3.14159265 / 180.0);
  if (rectangular1 != rectangular2) length = std::max(length, 0.5 * std::max(width1, depth1));
  return length;
}

void setHeadLength3d(std::int32_t ixDuct, double length) { SaveLength(ixDuct, length, true); }
void setTailLength3d(std::int32_t ixDuct, double length) { SaveLength(ixDuct, length, false); }
