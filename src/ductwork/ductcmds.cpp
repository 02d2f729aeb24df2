// The LISP functions that put ducts into a drawing and break them, and the selection with which
// a new duct finds the ducts it meets.
#include "ductcmds.h"

#include <cmath>

#include "ductplan.h"
#include "ed.h"

using namespace ductrows;

namespace ductcmds {

OpenedDuct OpenDuctForWrite(const ads_name ename) {
  AcDbObjectId id;
  KvDuct* duct = nullptr;
  if (acdbGetObjectId(id, ename) != Acad::eOk) return nullptr;
  if (acdbOpenObject(duct, id, AcDb::kForWrite) != Acad::eOk) return nullptr;
  return OpenedDuct(duct);
}

bool SamePlan(const AcGePoint3d& a, const AcGePoint3d& b) {
  return AcGePoint2d(a.x, a.y).isEqualTo(AcGePoint2d(b.x, b.y));
}

AcGePoint3d WithZ(AcGePoint3d p, double z) {
  p.z = z;
  return p;
}

void SetCenterlineLayer(KvDuct& duct, const KvDuctDbInfo& record) {
  const ProjectContext* context = CurrentProjectContext();
  if (!context) return;
  const std::wstring layer = CenterlineLayerName(*context, record.AIRFLOW, record.ixLayerSystem);
  // A refused layer leaves the duct where it is; the drawing stays usable either way.
  if (!layer.empty()) duct.setLayer(layer.c_str(), true, false);
}

void clearTemplateFields(KvDuctDbInfo& record) {
  record.TEXTX = 0.0;
  record.TEXTY = 0.0;
  record.SIZEFOR = L"X";
  record.DAMPERTYPE = 0;
  record.DAMPERLOCATION = 0.0;
}

bool reverseForAirflow(const KvDuctDbInfo& record) {
  if (record.AIRFLOW != L"ea" && record.AIRFLOW != L"ra") return false;
  return GetGlobalText(ProjectGlobals(), L"REVERSEARROWS") == L"YES";
}

namespace {

constexpr double kWindowReach = 6.0;
constexpr double kUpRight = 0.7853981625;
constexpr double kDownLeft = 3.9269908125;

AcGePoint3d WindowCorner(const AcGePoint3d& point, double angle) {
  ads_point world = {point.x + kWindowReach * std::cos(angle), point.y + kWindowReach * std::sin(angle),
                     point.z};
  resbuf from{}, to{};
  from.restype = to.restype = RTSHORT;
  from.resval.rint = kAcedWcs;
  to.resval.rint = kAcedUcs;
  ads_point user;
  if (acedTrans(world, &from, &to, 0, user) != RTNORM) return AcGePoint3d(world[0], world[1], world[2]);
  return AcGePoint3d(user[0], user[1], user[2]);
}

// A point on the edge of the view counts as outside: the window round it would be cut.
bool InsideCurrentView(const AcGePoint3d& point) {
  const AcEdView view = acedCurrentView();
  AcGePoint3d centre = view.center;
  UcsToWcs(centre);
  const double height = view.height;
  const double width = view.screenHeight > 0.0 ? height * view.screenWidth / view.screenHeight : height;
  return std::fabs(point.x - centre.x) < width / 2.0 && std::fabs(point.y - centre.y) < height / 2.0;
}

}  // namespace

int ductsNearPoint(const AcGePoint3d& point, ads_name selectionSet) {
  ResbufPtr filter(acutBuildList(RTDXF0, L"KVDUCT", RTNONE));
  const AcGePoint3d c1 = WindowCorner(point, kUpRight);
  const AcGePoint3d c2 = WindowCorner(point, kDownLeft);
  ads_point p1 = {c1.x, c1.y, c1.z}, p2 = {c2.x, c2.y, c2.z};
  acedRedraw(nullptr, 1);
  // The host selects only what the view shows, so a point off screen needs the view widened.
  const bool zoomed = !InsideCurrentView(point);
  if (zoomed) acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_V", RTNONE);
  const int status = acedSSGet(L"C", p1, p2, filter.get(), selectionSet);
  if (zoomed) acedCommandS(RTSTR, L"_.ZOOM", RTSTR, L"_P", RTNONE);
  return status;
}

bool ReadCells(const resbuf* args, std::initializer_list<Cell> kinds, CellValue* out) {
  const resbuf* cell = args;
  for (Cell kind : kinds) {
    if (!cell) return false;
    CellValue& value = *out++;
    switch (kind) {
      case Cell::Point:
        if (cell->restype == RT3DPOINT)
          value.point.set(cell->resval.rpoint[0], cell->resval.rpoint[1], cell->resval.rpoint[2]);
        else if (cell->restype == RTPOINT)
          value.point.set(cell->resval.rpoint[0], cell->resval.rpoint[1], 0.0);
        else
          return false;
        break;
      case Cell::Number:
        if (cell->restype == RTSHORT) value.number = cell->resval.rint;
        else if (cell->restype == RTLONG) value.number = cell->resval.rlong;
        else if (cell->restype == RTREAL) value.number = std::trunc(cell->resval.rreal);
        else return false;
        break;
      case Cell::Entity:
        if (cell->restype != RTENAME) return false;
        value.ename[0] = cell->resval.rlname[0];
        value.ename[1] = cell->resval.rlname[1];
        break;
    }
    cell = cell->rbnext;
  }
  return cell == nullptr;
}

}  // namespace ductcmds

using namespace ductcmds;

namespace {

std::int32_t AsIndex(double number) {
  return std::fabs(number) < 2147483647.0 ? static_cast<std::int32_t>(number) : 0;
}

// A duct of a row that exists already; no row is touched and the layer is the current one.
LispStatus InsertDuctOfRow(bool withText) {
  LispArgs args;
  ArgCursor c = args.cursor();
  std::int32_t ixDuct = 0;
  ads_point p1, p2;
  std::wstring text = L"X";
  if (!ArgInt(c, ixDuct) || !ArgPoint3d(c, p1) || !ArgPoint3d(c, p2)) return LispStatus::WrongType;
  if (withText && !ArgString(c, text)) return LispStatus::WrongType;
  NewDuct duct(new KvDuct);
  duct->setIxDuct(ixDuct);
  duct->setStart(AcGePoint3d(p1[0], p1[1], p1[2]), true);
  duct->setEnd(AcGePoint3d(p2[0], p2[1], p2[2]), true);
  duct->fieldsForWrite().sizeFor = text;
  const AcDbObjectId id = appendAndCloseId(duct.release());
  if (id.isNull()) acedRetNil();
  else RetObjectId(id);
  return LispStatus::Success;
}

// Step 3 of a break: where the duct is cut. A pick beyond the ends stays where it was given, and
// a vertical duct is cut at the height of the pick.
AcGePoint3d BreakPoint(const KvDuct& duct, const AcGePoint3d& s, const AcGePoint3d& e, const AcGePoint3d& point) {
  if (s.x == e.x && s.y == e.y) return WithZ(s, point.z);
  AcGePoint3d b = point;
  if (duct.getClosestPointTo(point, CurrentUcsNormal(), b, false) != Acad::eOk) b = point;
  return b;
}

}  // namespace

LispStatus kvductforce() {
  LispArgs args;
  acedRetNil();
  CellValue v[3];
  if (!ReadCells(args.head(), {Cell::Point, Cell::Point, Cell::Number}, v)) return LispStatus::WrongType;
  if (!ProjectDucts()) return LispStatus::WrongType;
  NewDuct duct(new KvDuct);
  KvDuctDbInfo record = ductOrDefaults(AsIndex(v[2].number));
  std::int32_t ixNew = 0;
  if (!newDuctRow(record.ixLayerSystem, ixNew)) return LispStatus::Success;
  copyDuctSettings(ixNew, record);
  duct->setIxDuct(ixNew);
  duct->setStart(v[0].point, true);
  duct->setEnd(v[1].point, true);
  SetCenterlineLayer(*duct, record);
  duct->fieldsForWrite().sizeFor = record.SIZEFOR;
  appendAndClose(duct.release());
  RetIndex(ixNew);
  return LispStatus::Success;
}

LispStatus kvbreak() {
  LispArgs args;
  acedRetNil();
  CellValue v[2];
  if (!ReadCells(args.head(), {Cell::Entity, Cell::Point}, v)) return LispStatus::WrongType;
  if (!CurrentProjectContext()) return LispStatus::WrongType;
  RetIndex(0);
  if (!ProjectDucts()) return LispStatus::Success;
  OpenedDuct old = OpenDuctForWrite(v[0].ename);
  if (!old) return LispStatus::Success;
  AcGePoint3d s, e;
  old->getStart(s);
  old->getEnd(e);
  KvDuctDbInfo record = ductOrDefaults(old->getIxDuct());
  // A duct that links two drawings is the seam between them and stays whole.
  if (record.FITTING == L"DWGTODWG") return LispStatus::Success;
  const AcGePoint3d b = BreakPoint(*old, s, e, v[1].point);
  NewDuct upstream(new KvDuct);
  std::int32_t ixNew = 0;
  if (!newDuctRow(record.ixLayerSystem, ixNew)) return LispStatus::Success;
  // The old row keeps the fitting and damper at its far end; the sizing letter belongs to the
  // upstream end of the run, which is now the new piece.
  const std::wstring sizeFor = record.SIZEFOR;
  record.SIZEFOR = L"X";
  copyDuctSettings(old->getIxDuct(), record);
  old->setStart(b, true);
  old->fieldsForWrite().sizeFor = L"X";
  old.reset();
  record.SIZEFOR = sizeFor;
  record.FITTING = L" ";
  record.DAMPERTYPE = 0;
  record.DAMPERLOCATION = 0.0;
  copyDuctSettings(ixNew, record);
  upstream->setIxDuct(ixNew);
  upstream->setStart(s, true);
  upstream->setEnd(b, true);
  SetCenterlineLayer(*upstream, record);
  upstream->fieldsForWrite().sizeFor = sizeFor;
  appendAndClose(upstream.release());
  RetIndex(ixNew);
  return LispStatus::Success;
}

LispStatus kv_hvac_insertDuct_likePlumbing() { return InsertDuctOfRow(true); }

LispStatus kv_hvac_addDuctToDwg() { return InsertDuctOfRow(false); }

LispStatus kv_hvac_getDuctCoord() {
  LispArgs args;
  acedRetNil();
  ArgCursor c = args.cursor();
  std::int32_t ixDuct = 0;
  if (!ArgInt(c, ixDuct)) return LispStatus::WrongType;
  // The guard has entered and connected the document; without a duct table there is no row.
  if (!ProjectDucts() || !ProjectDucts()->FindByKey(ixDuct)) return LispStatus::Success;
  const KvDuctDbInfo record = ProjectDucts()->Info();
  DuctFrame frame;
  ductFrame(record, frame, true, true);
  ResultList list;
  for (const AcGeVector3d& axis : frame)
    AppendCells(list.tail(), acutBuildList(RTLB, RTREAL, axis.x, RTREAL, axis.y, RTREAL, axis.z, RTLE, RTNONE));
  list.close();
  return LispStatus::Success;
}
