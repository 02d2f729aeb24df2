// LISP functions of the solid library: export of the current drawing's solids to STEP, STL, glTF,
// measuring solids (in the drawing, in a saved drawing, in a STEP file), and builders that put
// single pieces in model space so that scripts can test the library without the module.
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kvSolid.h"
#include "lisp.h"

namespace {

using kvlisp::Args;
using kvlisp::Environment;
using kvlisp::Error;
using kvlisp::Value;

std::wstring wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }

AcDbDatabase* currentDrawing() {
  AcDbDatabase* db = acdbCurDwg();
  if (db == nullptr) throw Error("no current drawing");
  return db;
}

// Calls `visit` with every kv_hvacSolid of the database's model space, open for read.
template <class F>
void forEachSolid(AcDbDatabase* db, F visit) {
  AcDbBlockTableRecord* space = nullptr;
  if (acdbOpenObject(space, db->modelSpaceId(), AcDb::kForRead) != Acad::eOk) throw Error("cannot open model space");
  AcDbBlockTableRecordIterator* raw = nullptr;
  space->newIterator(raw);
  std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
  space->close();
  for (; it && !it->done(); it->step()) {
    AcDbEntity* entity = nullptr;
    if (it->getEntity(entity, AcDb::kForRead) != Acad::eOk) continue;
    if (const kv_hvacSolid* solid = kv_hvacSolid::cast(entity)) visit(*solid);
    entity->close();
  }
}

Value volumeList(AcDbDatabase* db) {
  std::vector<Value> volumes;
  forEachSolid(db, [&](const kv_hvacSolid& s) { volumes.push_back(Value::real(s.bodies().volume())); });
  return Value::list(volumes);
}

// (kv_solid-volumes [drawing]): the volume of each solid in model space, in drawing order; of
// the current drawing, or of a saved drawing read afresh.
// A saved drawing read into a database of its own.
std::unique_ptr<AcDbDatabase> readDrawing(const std::string& path) {
  auto db = std::make_unique<AcDbDatabase>(false, true);
  const Acad::ErrorStatus es = db->readDwgFile(wide(path).c_str());
  if (es != Acad::eOk) throw Error("cannot read drawing \"" + path + "\" (status " + std::to_string(es) + ")");
  return db;
}

Value volumes(Environment&, Args args) {
  if (args.size() == 0 || args[0].isNil()) return volumeList(currentDrawing());
  return volumeList(readDrawing(kvlisp::argString(args, 0)).get());
}

void makeParentFolder(const std::string& path) {
  std::error_code ignored;
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  if (!parent.empty()) std::filesystem::create_directories(parent, ignored);
}

// Runs `write` over copies of all solids' bodies of the current drawing.
using SolidWriter = std::function<int(const std::vector<const SolidBodies*>&, const std::string&, std::string&)>;
Value exportSolids(Args args, const SolidWriter& write, const char* name) {
  const std::string& path = kvlisp::argString(args, 0);
  std::unique_ptr<AcDbDatabase> saved;
  if (args.size() > 1 && !args[1].isNil()) saved = readDrawing(kvlisp::argString(args, 1));
  std::vector<SolidBodies> copies;
  forEachSolid(saved ? saved.get() : currentDrawing(), [&](const kv_hvacSolid& s) { copies.push_back(s.bodies()); });
  makeParentFolder(path);
  std::vector<const SolidBodies*> all;
  for (const SolidBodies& b : copies) all.push_back(&b);
  std::string error;
  const int n = write(all, path, error);
  if (n < 0) throw Error(std::string(name) + ": " + error);
  return Value::integer(n);
}

Value exportStep(Environment&, Args args) {
  if (args.size() < 3 || args[2].isNil()) return exportSolids(args, kvWriteStep, "kv_solid-exportStep");
  const std::string unit = kvlisp::argString(args, 2);
  return exportSolids(args, [&unit](const std::vector<const SolidBodies*>& s, const std::string& p, std::string& e) {
    return kvWriteStepIn(s, p, unit, e);
  }, "kv_solid-exportStep");
}
Value exportStl(Environment&, Args args) { return exportSolids(args, kvWriteStl, "kv_solid-exportStl"); }
Value exportGltf(Environment&, Args args) { return exportSolids(args, kvWriteGltf, "kv_solid-exportGltf"); }

// (kv_solid-stepVolumes path): the volume of each solid of a STEP file, read with the kernel.
Value stepVolumes(Environment&, Args args) {
  std::vector<double> found;
  std::string error;
  if (!kvReadStepVolumes(kvlisp::argString(args, 0), found, error)) throw Error("kv_solid-stepVolumes: " + error);
  std::vector<Value> out;
  for (double v : found) out.push_back(Value::real(v));
  return Value::list(out);
}

// ---- builders for scripts ----

AcGePoint3d pointArg(Args args, std::size_t i) {
  const std::array<double, 3> p = kvlisp::argPoint(args, i);
  return {p[0], p[1], p[2]};
}

Value pointValue(const AcGePoint3d& p) { return Value::point(p.x, p.y, p.z); }

// The frame a duct along `dir` gets: width axis level and to the left of the run, depth axis
// run x width; a vertical run takes Y as its width axis.
struct Frame {
  AcGeVector3d v[3];
};

Frame frameAlong(const AcGeVector3d& dir) {
  const double len = dir.length();
  if (len < 1e-12) throw Error("a piece needs two distinct points");
  const AcGeVector3d run = dir / len;
  AcGeVector3d width(-run.y, run.x, 0.0);
  if (width.length() < 1e-9) width.set(0, 1, 0);
  width /= width.length();
  return {{run, width, run.crossProduct(width)}};
}

// Appends the solid to the current drawing's model space and answers its entity name; a solid
// whose building failed is deleted and the failure raised as a LISP error.
Value appendSolid(std::unique_ptr<kv_hvacSolid> solid, bool built, const char* name) {
  if (!built) throw Error(std::string(name) + ": " + solid->lastError());
  AcDbBlockTableRecord* space = nullptr;
  if (acdbOpenObject(space, currentDrawing()->modelSpaceId(), AcDb::kForWrite) != Acad::eOk)
    throw Error(std::string(name) + ": cannot open model space");
  AcDbObjectId id;
  const Acad::ErrorStatus es = space->appendAcDbEntity(id, solid.get());
  space->close();
  if (es != Acad::eOk) throw Error(std::string(name) + ": cannot append the solid");
  solid.release()->close();
  ads_name ename;
  acdbGetAdsName(ename, id);
  return Value::ename(ename[0], ename[1]);
}

// (kv_solid-test-duct start end width depth [round]): a straight piece.
Value testDuct(Environment&, Args args) {
  const AcGePoint3d s = pointArg(args, 0), e = pointArg(args, 1);
  const double w = kvlisp::argNumber(args, 2), d = kvlisp::argNumber(args, 3);
  const bool rect = !(args.size() > 4 && kvlisp::argBool(args, 4));
  const Frame f = frameAlong(e - s);
  auto solid = std::make_unique<kv_hvacSolid>();
  const bool ok = solid->addTransition(s, rect, w, d, e, rect, w, d, f.v, f.v, 0);
  return appendSolid(std::move(solid), ok, "kv_solid-test-duct");
}

// (kv_solid-test-transition start end width1 depth1 round1 width2 depth2 round2)
Value testTransition(Environment&, Args args) {
  const AcGePoint3d s = pointArg(args, 0), e = pointArg(args, 1);
  const Frame f = frameAlong(e - s);
  auto solid = std::make_unique<kv_hvacSolid>();
  const bool ok = solid->addTransition(s, !kvlisp::argBool(args, 4), kvlisp::argNumber(args, 2),
                                       kvlisp::argNumber(args, 3), e, !kvlisp::argBool(args, 7),
                                       kvlisp::argNumber(args, 5), kvlisp::argNumber(args, 6), f.v, f.v, 0);
  return appendSolid(std::move(solid), ok, "kv_solid-test-transition");
}

// (kv_solid-test-elbow kind start corner end width depth [ratio]): kind "SQUARE" or "RADIUS".
// Answers (ename start end) with the ends moved to where the elbow begins and ends.
Value testElbow(Environment&, Args args) {
  const std::string& kind = kvlisp::argString(args, 0);
  AcGePoint3d s = pointArg(args, 1), e = pointArg(args, 3);
  const AcGePoint3d corner = pointArg(args, 2);
  const double w = kvlisp::argNumber(args, 4), d = kvlisp::argNumber(args, 5);
  const Frame in = frameAlong(corner - s), out = frameAlong(e - corner);
  auto solid = std::make_unique<kv_hvacSolid>();
  bool ok = false;
  if (kind == "RADIUS") {
    const double ratio = args.size() > 6 ? kvlisp::argNumber(args, 6) : 1.5;
    ok = solid->addRadiusElbow(s, w, d, 0, 0, e, w, d, in.v, out.v, true, ratio, true, 0, true);
  } else if (kind == "SQUARE") {
    AModeler::Point3d a[8], b[8];
    AcGePoint3d layout[8];
    ok = solid->addSquareElbowPrep(s, w, d, e, w, d, in.v, out.v, true, a, b, layout, true, 3.0) &&
         solid->addSquareElbow(s, w, d, e, w, d, in.v, out.v, true, a, b, layout, 0);
  } else {
    throw Error("kv_solid-test-elbow: kind must be \"SQUARE\" or \"RADIUS\"");
  }
  const Value name = appendSolid(std::move(solid), ok, "kv_solid-test-elbow");
  return Value::list({name, pointValue(s), pointValue(e)});
}

// (kv_solid-test-wye start junction endB endC width depth): answers (ename start endB endC).
Value testWye(Environment&, Args args) {
  AcGePoint3d s = pointArg(args, 0), j = pointArg(args, 1), b = pointArg(args, 2), c = pointArg(args, 3);
  const double w = kvlisp::argNumber(args, 4), d = kvlisp::argNumber(args, 5);
  const Frame fa = frameAlong(j - s), fb = frameAlong(b - j), fc = frameAlong(c - j);
  AModeler::Point3d sa[8], sb[8], sc[8];
  AcGePoint3d la[8], lb[8], lc[8];
  auto solid = std::make_unique<kv_hvacSolid>();
  const bool ok = solid->addWyePrep(s, w, d, b, w, d, c, w, d, fa.v, fb.v, fc.v, true, sa, sb, sc, la, lb, lc, true,
                                    3.0) &&
                  solid->addWye(s, w, d, b, w, d, c, w, d, j, fa.v, fb.v, fc.v, true, sa, sb, sc, la, lb, lc, 0);
  const Value name = appendSolid(std::move(solid), ok, "kv_solid-test-wye");
  return Value::list({name, pointValue(s), pointValue(b), pointValue(c)});
}

// (kv_solid-test-flex (point ...) radius startDir endDir)
Value testFlex(Environment&, Args args) {
  AcGePoint3dArray points;
  for (Value p = kvlisp::argList(args, 0); p.isCons(); p = p.cdr()) {
    const Value one[] = {p.car()};
    const std::array<double, 3> q = kvlisp::argPoint(Args(one), 0);
    points.append({q[0], q[1], q[2]});
  }
  const AcGePoint3d d0 = pointArg(args, 2), d1 = pointArg(args, 3);
  auto solid = std::make_unique<kv_hvacSolid>();
  const bool ok = solid->addFlex(points, kvlisp::argNumber(args, 1), d0.asVector(), d1.asVector(), 0);
  return appendSolid(std::move(solid), ok, "kv_solid-test-flex");
}

// (kv_solid-test-diffuser position type width length neck): a ceiling diffuser with a round
// neck connected from above; answers (ename connection).
Value testDiffuser(Environment&, Args args) {
  const AcGePoint3d p = pointArg(args, 0);
  const int type = kvlisp::argInt(args, 1);
  const Frame g = frameAlong({1, 0, 0});
  AcGePoint3d connection;
  auto solid = std::make_unique<kv_hvacSolid>();
  const double neck = kvlisp::argNumber(args, 4);
  const bool ok = solid->addDiffuser(p, connection, static_cast<DiffuserType>(type), kvlisp::argNumber(args, 2),
                                     kvlisp::argNumber(args, 3), false, neck, neck, 0, false, 0, 0, false, true, g.v,
                                     g.v, 0);
  const Value name = appendSolid(std::move(solid), ok, "kv_solid-test-diffuser");
  return Value::list({name, pointValue(connection)});
}

const kvlisp::NativeDef kFunctions[] = {
    {"kv_solid-exportStep", "(kv_solid-exportStep path [drawing [unit]])", "Writes every solid of model space (of a saved drawing when named) to a STEP file, its coordinates in unit (\"MM\" when not given, \"INCH\", ...); the number of bodies.", exportStep},
    {"kv_solid-exportStl", "(kv_solid-exportStl path [drawing])", "Writes every solid of model space (of a saved drawing when named) to an STL file; the number of bodies.", exportStl},
    {"kv_solid-exportGltf", "(kv_solid-exportGltf path [drawing])", "Writes every solid of model space to glTF (binary for .glb); the number of bodies.", exportGltf},
    {"kv_solid-stepVolumes", "(kv_solid-stepVolumes path)", "The volume of each solid of a STEP file.", stepVolumes},
    {"kv_solid-volumes", "(kv_solid-volumes [drawing])", "The volume of each solid in model space (of a saved drawing when named).", volumes},
    {"kv_solid-test-duct", "(kv_solid-test-duct start end width depth [round])", "Appends a straight piece.", testDuct},
    {"kv_solid-test-transition", "(kv_solid-test-transition start end width1 depth1 round1 width2 depth2 round2)", "Appends a transition.", testTransition},
    {"kv_solid-test-elbow", "(kv_solid-test-elbow kind start corner end width depth [ratio])", "Appends a SQUARE or RADIUS elbow; (ename start end).", testElbow},
    {"kv_solid-test-wye", "(kv_solid-test-wye start junction endB endC width depth)", "Appends a wye; (ename start endB endC).", testWye},
    {"kv_solid-test-flex", "(kv_solid-test-flex points radius startDir endDir)", "Appends a flexible tube.", testFlex},
    {"kv_solid-test-diffuser", "(kv_solid-test-diffuser position type width length neck)", "Appends a ceiling diffuser; (ename connection).", testDiffuser},
};
const kvlisp::NativeRegistrar registrar(kFunctions);

}  // namespace
