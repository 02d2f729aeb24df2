// Coordinate systems, the view (VIEWCTR, VIEWSIZE, SCREENSIZE) and ZOOM, system variables,
// redraw and alerts.
#include <cstdarg>
#include <map>
#include <vector>

#include "ed.h"
#include "edimpl.h"

namespace {

AcDbDatabase* working() { return acdbHostApplicationServices()->workingDatabase(); }

AcGeMatrix3d ucsToWcs(AcDbDatabase* db) {
  if (db == nullptr) return AcGeMatrix3d();
  AcGeVector3d x = db->ucsxdir(), y = db->ucsydir();
  return AcGeMatrix3d().setCoordSystem(db->ucsorg(), x, y, x.crossProduct(y).normal());
}

// Previous views per drawing, for ZOOM "_P".
std::map<const AcDbDatabase*, std::vector<AcEdView>>& previousViews() {
  static std::map<const AcDbDatabase*, std::vector<AcEdView>> m;
  return m;
}

}  // namespace

namespace kved {

AcGePoint3d toWcs(const AcGePoint3d& ucs) { return ucsToWcs(working()) * ucs; }
AcGePoint3d toUcs(const AcGePoint3d& wcs) { return ucsToWcs(working()).inverse() * wcs; }

// The view's box in world XY: VIEWCTR is in UCS, the box spans VIEWSIZE high and the screen's
// proportion wide.
void viewBox(double& minX, double& minY, double& maxX, double& maxY) {
  AcEdView v = acedCurrentView();
  AcGePoint3d c = toWcs(v.center);
  double h = v.height, w = v.height * v.screenWidth / std::max(v.screenHeight, 1.0);
  minX = c.x - w / 2, maxX = c.x + w / 2, minY = c.y - h / 2, maxY = c.y + h / 2;
}

}  // namespace kved

Acad::ErrorStatus acedGetCurrentUCS(AcGeMatrix3d& mat) {
  if (working() == nullptr) return Acad::eNoDatabase;
  mat = ucsToWcs(working());
  return Acad::eOk;
}

Acad::ErrorStatus acedSetCurrentUCS(const AcGeMatrix3d& mat) {
  if (working() == nullptr) return Acad::eNoDatabase;
  AcGePoint3d o;
  AcGeVector3d x, y, z;
  mat.getCoordSystem(o, x, y, z);
  return working()->setUcs(o, x, y);
}

namespace {
// The system of a cell: RTSHORT 0 WCS, 1 UCS, 2 DCS (the same as UCS here).
bool systemOf(const resbuf* rb, int& sys) {
  if (rb == nullptr || rb->restype != RTSHORT || rb->resval.rint < 0 || rb->resval.rint > 2) return false;
  sys = rb->resval.rint;
  return true;
}
}  // namespace

int acedTrans(const ads_point pt, const resbuf* from, const resbuf* to, int disp, ads_point result) {
  int f = 0, t = 0;
  if (pt == nullptr || result == nullptr || !systemOf(from, f) || !systemOf(to, t)) return RTERROR;
  AcGeMatrix3d m = ucsToWcs(working());
  AcGeMatrix3d toWorld = f == 0 ? AcGeMatrix3d() : m;
  AcGeMatrix3d fromWorld = t == 0 ? AcGeMatrix3d() : m.inverse();
  AcGeMatrix3d all = fromWorld * toWorld;
  AcGePoint3d p(pt[0], pt[1], pt[2]);
  if (disp != 0) {
    AcGeVector3d v = all * AcGeVector3d(pt[0], pt[1], pt[2]);
    p.set(v.x, v.y, v.z);
  } else {
    p = all * p;
  }
  result[0] = p.x, result[1] = p.y, result[2] = p.z;
  return RTNORM;
}

AcEdView acedCurrentView() {
  AcEdView v;
  AcDbDatabase* db = working();
  AcDbSysVarValue val;
  if (db == nullptr) return v;
  if (db->getSysVar(L"VIEWCTR", val)) v.center.set(val.values[0], val.values[1], val.values[2]);
  if (db->getSysVar(L"VIEWSIZE", val)) v.height = val.values[0];
  if (db->getSysVar(L"SCREENSIZE", val)) v.screenWidth = val.values[0], v.screenHeight = val.values[1];
  return v;
}

void acedSetCurrentView(const AcEdView& view) {
  AcDbDatabase* db = working();
  if (db == nullptr) return;
  AcDbSysVarValue v;
  v.kind = AcDbSysVarValue::Kind::Point3d;
  v.values[0] = view.center.x, v.values[1] = view.center.y, v.values[2] = view.center.z;
  db->setSysVarHost(L"VIEWCTR", v);
  v.kind = AcDbSysVarValue::Kind::Real;
  v.values[0] = view.height;
  db->setSysVarHost(L"VIEWSIZE", v);
  v.kind = AcDbSysVarValue::Kind::Point2d;
  v.values[0] = view.screenWidth, v.values[1] = view.screenHeight;
  db->setSysVarHost(L"SCREENSIZE", v);
}

namespace kved {

void pushView() {
  if (working() != nullptr) previousViews()[working()].push_back(acedCurrentView());
}

bool popView() {
  auto& stack = previousViews()[working()];
  if (stack.empty()) return false;
  acedSetCurrentView(stack.back());
  stack.pop_back();
  return true;
}

// A view that shows the box (world XY) whole, keeping the screen's proportion.
void showBox(double minX, double minY, double maxX, double maxY) {
  AcEdView v = acedCurrentView();
  double aspect = v.screenWidth / std::max(v.screenHeight, 1.0);
  double w = std::max(maxX - minX, 1e-9), h = std::max(maxY - minY, 1e-9);
  v.height = std::max(h, w / aspect) * 1.02;
  v.center = toUcs(AcGePoint3d((minX + maxX) / 2, (minY + maxY) / 2, 0));
  v.center.z = 0;
  acedSetCurrentView(v);
}

}  // namespace kved

int acedRedraw(const ads_name, int) { return RTNORM; }

int acedAlert(const ACHAR* string) {
  kvads::consoleWrite("\n** " + acrxToUtf8(string ? string : L"") + " **\n");
  return RTNORM;
}

int acedGetVar(const ACHAR* sym, resbuf* result) {
  AcDbDatabase* db = working();
  AcDbSysVarValue v;
  if (db == nullptr || result == nullptr || !db->getSysVar(sym, v)) return RTERROR;
  result->rbnext = nullptr;
  switch (v.kind) {
    case AcDbSysVarValue::Kind::Int:
      if (v.integer >= -32768 && v.integer <= 32767) result->restype = RTSHORT, result->resval.rint = static_cast<short>(v.integer);
      else result->restype = RTLONG, result->resval.rlong = v.integer;
      break;
    case AcDbSysVarValue::Kind::Real: result->restype = RTREAL, result->resval.rreal = v.values[0]; break;
    case AcDbSysVarValue::Kind::String: result->restype = RTSTR, result->resval.rstring = kvads::dupString(v.text.c_str()); break;
    case AcDbSysVarValue::Kind::Point2d:
    case AcDbSysVarValue::Kind::Point3d:
      result->restype = v.kind == AcDbSysVarValue::Kind::Point2d ? RTPOINT : RT3DPOINT;
      for (int i = 0; i < 3; ++i) result->resval.rpoint[i] = v.values[i];
      break;
    case AcDbSysVarValue::Kind::None: return RTERROR;
  }
  return RTNORM;
}

int acedSetVar(const ACHAR* sym, const resbuf* val) {
  AcDbDatabase* db = working();
  if (db == nullptr || val == nullptr || sym == nullptr) return RTERROR;
  AcDbSysVarValue v;
  switch (val->restype) {
    case RTSHORT: v.kind = AcDbSysVarValue::Kind::Int, v.integer = val->resval.rint; break;
    case RTLONG: v.kind = AcDbSysVarValue::Kind::Int, v.integer = val->resval.rlong; break;
    case RTREAL: v.kind = AcDbSysVarValue::Kind::Real, v.values[0] = val->resval.rreal; break;
    case RTSTR: v.kind = AcDbSysVarValue::Kind::String, v.text = val->resval.rstring ? val->resval.rstring : L""; break;
    case RTPOINT:
    case RT3DPOINT:
      v.kind = val->restype == RTPOINT ? AcDbSysVarValue::Kind::Point2d : AcDbSysVarValue::Kind::Point3d;
      for (int i = 0; i < 3; ++i) v.values[i] = val->resval.rpoint[i];
      break;
    default: return RTERROR;
  }
  Acad::ErrorStatus es = db->setSysVar(sym, v);
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->sysVarChanged(sym, es == Acad::eOk); });
  return es == Acad::eOk ? RTNORM : RTERROR;
}
