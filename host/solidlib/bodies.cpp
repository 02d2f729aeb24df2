// SolidBodies: straight pieces, transitions and flexible tubes, cutting, fusing, transforming,
// measuring, exploding, tessellating and the text form of the bodies.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <sstream>

#include <BRepAdaptor_Curve.hxx>
#include <BRepBndLib.hxx>
#include <BRepCheck_Analyzer.hxx>
#include <BRepBuilderAPI_GTransform.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepOffsetAPI_MakePipe.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GCPnts_AbscissaPoint.hxx>
#include <GCPnts_TangentialDeflection.hxx>
#include <GeomAPI_Interpolate.hxx>
#include <GeomAdaptor_Curve.hxx>
#include <GeomLProp_CLProps.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Poly_Triangulation.hxx>
#include <TColgp_HArray1OfPnt.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <Poly_PolygonOnTriangulation.hxx>
#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_GTrsf.hxx>
#include <gp_Trsf.hxx>

#include "occt.h"

using namespace kvsolid;

SolidBodies::SolidBodies() : impl_(std::make_unique<Impl>()) {}
SolidBodies::~SolidBodies() = default;
SolidBodies::SolidBodies(const SolidBodies& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}
SolidBodies& SolidBodies::operator=(const SolidBodies& other) {
  if (this != &other) *impl_ = *other.impl_;
  return *this;
}
SolidBodies::SolidBodies(SolidBodies&& other) noexcept : impl_(std::move(other.impl_)) {
  other.impl_ = std::make_unique<Impl>();
}
SolidBodies& SolidBodies::operator=(SolidBodies&& other) noexcept {
  std::swap(impl_, other.impl_);
  return *this;
}

const std::string& SolidBodies::lastError() const { return impl_->error; }

namespace {

bool sameSection(bool rectA, double wA, double dA, bool rectB, double wB, double dB) {
  const double tol = 1e-9 * std::max({1.0, wA, dA});
  return rectA == rectB && std::fabs(wA - wB) <= tol && (!rectA || std::fabs(dA - dB) <= tol);
}

bool sameAxes(const Axes& a, const Axes& b) {
  return a.run.IsEqual(b.run, 1e-9) && a.width.IsEqual(b.width, 1e-9);
}

}  // namespace

bool SolidBodies::addTransition(const AcGePoint3d& start, bool startRect, double startWidth, double startDepth,
                                const AcGePoint3d& end, bool endRect, double endWidth, double endDepth,
                                const AcGeVector3d* startFrame, const AcGeVector3d* endFrame) {
  return commitBodies(*impl_, "addTransition", [&](std::vector<TopoDS_Shape>& made) {
    checkPoint(start, "start");
    checkPoint(end, "end");
    checkSection(startRect, startWidth, startDepth, "start");
    checkSection(endRect, endWidth, endDepth, "end");
    const Axes sa = makeAxes(startFrame, "start"), ea = makeAxes(endFrame, "end");
    const gp_Pnt s = toPnt(start), e = toPnt(end);
    const gp_Vec along(s, e);
    checkLength(along.Magnitude(), "run");
    if (std::fabs(along.Dot(gp_Vec(sa.run))) < 1e-6 || std::fabs(along.Dot(gp_Vec(ea.run))) < 1e-6)
      throw Refusal("start and end lie in one section plane");
    if (sameSection(startRect, startWidth, startDepth, endRect, endWidth, endDepth) && sameAxes(sa, ea)) {
      made.push_back(prism(sectionFace(s, sa, startRect, startWidth, startDepth), along));
      return;
    }
    made.push_back(ruledLoft(sectionWire(s, sa, startRect, startWidth, startDepth),
                             sectionWire(e, ea, endRect, endWidth, endDepth)));
  });
}

namespace {

constexpr int kMaxFlexPoints = 10000;

// Refuses a spine that a tube of `radius` cannot follow: longer than any run, kinked (a bend
// of less than a quarter of the radius; a gentler fold of the inner wall sweeps well enough),
// or coming back within a diameter of itself (end directions that turn the tube back along its
// own path). The swept tube would pass through itself, and the sweep then crashes or runs away.
// The spine is sampled at about a third of the radius (4000 samples at most), and every pair of
// samples further apart along it than half a turn is compared.
void checkSpine(const Handle(Geom_BSplineCurve)& curve, double radius) {
  GeomAdaptor_Curve adaptor(curve);
  const double length = GCPnts_AbscissaPoint::Length(adaptor);
  if (!(length <= kMaxLength)) throw Refusal("the tube is longer than 1e6");
  const int samples = std::clamp(static_cast<int>(length / (radius / 3.0)), 64, 4000);
  GeomLProp_CLProps props(curve, 2, 1e-9);
  const double u0 = curve->FirstParameter(), u1 = curve->LastParameter();
  std::vector<gp_Pnt> at;
  std::vector<double> along;
  for (int i = 0; i <= samples; ++i) {
    props.SetParameter(u0 + (u1 - u0) * i / samples);
    if (!props.IsTangentDefined() || props.Curvature() * radius >= 4.0)
      throw Refusal("the tube's path has a kink");
    along.push_back(at.empty() ? 0.0 : along.back() + at.back().Distance(props.Value()));
    at.push_back(props.Value());
  }
  for (std::size_t i = 0; i < at.size(); ++i)
    for (std::size_t j = i + 1; j < at.size(); ++j)
      if (along[j] - along[i] > M_PI * radius && at[i].Distance(at[j]) < 2.0 * radius)
        throw Refusal("the tube runs into itself");
}

}  // namespace

bool SolidBodies::addFlex(const AcGePoint3dArray& points, double radius, const AcGeVector3d& startDir,
                          const AcGeVector3d& endDir) {
  return commitBodies(*impl_, "addFlex", [&](std::vector<TopoDS_Shape>& made) {
    checkSection(false, 2.0 * radius, 0.0, "tube");
    if (points.length() > kMaxFlexPoints) throw Refusal("a tube takes at most 10000 points");
    std::vector<gp_Pnt> pts;
    for (const AcGePoint3d& p : points) {
      checkPoint(p, "tube's");
      if (pts.empty() || pts.back().Distance(toPnt(p)) > 1e-6 * std::max(1.0, radius)) pts.push_back(toPnt(p));
    }
    if (pts.size() < 2) throw Refusal("a tube needs two distinct points");
    const gp_Dir d0 = unit(toVec(startDir), "the start direction"), d1 = unit(toVec(endDir), "the end direction");
    Handle(TColgp_HArray1OfPnt) arr = new TColgp_HArray1OfPnt(1, static_cast<int>(pts.size()));
    for (std::size_t i = 0; i < pts.size(); ++i) arr->SetValue(static_cast<int>(i) + 1, pts[i]);
    GeomAPI_Interpolate interp(arr, Standard_False, 1e-7);
    interp.Load(gp_Vec(d0), gp_Vec(d1), Standard_True);
    interp.Perform();
    if (!interp.IsDone()) throw Refusal("no smooth curve passes through the points");
    checkSpine(interp.Curve(), radius);
    const TopoDS_Wire spine = BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(interp.Curve()).Edge()).Wire();
    const gp_Vec ref = std::fabs(d0.Z()) > 0.9 ? gp_Vec(1, 0, 0) : gp_Vec(0, 0, 1);
    const gp_Dir across(gp_Vec(d0).Crossed(ref));
    const Axes axes{d0, across, d0.Crossed(across)};
    // The discrete trihedron: the corrected Frenet frame crashes on spines that turn through
    // nearly straight stretches between far-apart points.
    BRepOffsetAPI_MakePipe pipe(spine, sectionFace(pts.front(), axes, false, 2.0 * radius, 0.0),
                                GeomFill_IsDiscreteTrihedron, Standard_False);
    withinBudget("the sweep", [&](const Message_ProgressRange& r) { pipe.Build(r); });
    if (!pipe.IsDone()) throw Refusal("the tube cannot be swept");
    made.push_back(pipe.Shape());
  });
}

namespace {

struct CutPlane {
  gp_Pnt origin;
  gp_Dir normal;
};

CutPlane planeThrough(const AcGePoint3d& p1, const AcGePoint3d& p2, const AcGePoint3d& p3, const AcGePoint3d& keep) {
  for (const AcGePoint3d* p : {&p1, &p2, &p3, &keep}) checkPoint(*p, "cutting plane's");
  const gp_Vec n = gp_Vec(toPnt(p1), toPnt(p2)).Crossed(gp_Vec(toPnt(p1), toPnt(p3)));
  const double scale = std::max(1.0, toPnt(p1).Distance(toPnt(p2)) * toPnt(p1).Distance(toPnt(p3)));
  if (n.Magnitude() < 1e-12 * scale) throw Refusal("the three points do not span a plane");
  const CutPlane plane{toPnt(p1), gp_Dir(n)};
  if (std::fabs(gp_Vec(plane.origin, toPnt(keep)).Dot(gp_Vec(plane.normal))) < 1e-9)
    throw Refusal("the point to keep lies on the cutting plane");
  return plane;
}

}  // namespace

bool SolidBodies::sliceLast(const AcGePoint3d& p1, const AcGePoint3d& p2, const AcGePoint3d& p3, const AcGePoint3d& keep) {
  std::vector<TopoDS_Shape> result;
  const bool ok = guarded(*impl_, "sliceLast", [&] {
    const CutPlane plane = planeThrough(p1, p2, p3, keep);
    for (const TopoDS_Shape& body : impl_->bodies) {
      const TopoDS_Shape left = cutByPlane(body, plane.origin, plane.normal, toPnt(keep));
      if (!left.IsNull()) result.push_back(left);
    }
  });
  if (ok) impl_->bodies = std::move(result);
  return ok;
}

bool SolidBodies::sliceFirst(const AcGePoint3d& p1, const AcGePoint3d& p2, const AcGePoint3d& p3, const AcGePoint3d& keep) {
  if (impl_->bodies.empty()) return true;
  TopoDS_Shape left;
  const bool ok = guarded(*impl_, "sliceFirst", [&] {
    const CutPlane plane = planeThrough(p1, p2, p3, keep);
    left = cutByPlane(impl_->bodies.front(), plane.origin, plane.normal, toPnt(keep));
  });
  if (!ok) return false;
  if (left.IsNull())
    impl_->bodies.erase(impl_->bodies.begin());
  else
    impl_->bodies.front() = left;
  return true;
}

bool SolidBodies::doUnion(const SolidBodies& other) {
  if (&other == this) {
    impl_->error = "doUnion: a solid cannot be merged with itself";
    return false;
  }
  TopoDS_Shape fused;
  const bool ok = guarded(*impl_, "doUnion", [&] {
    std::vector<TopoDS_Shape> all = impl_->bodies;
    all.insert(all.end(), other.impl_->bodies.begin(), other.impl_->bodies.end());
    if (other.impl_->bodies.empty() || impl_->bodies.empty()) throw Refusal("one of the solids has no body");
    const std::vector<TopoDS_Shape> solids = solidsOf(fuseAll(all));
    if (solids.size() != 1) throw Refusal("the bodies do not touch: the union would not be one body");
    fused = solids.front();
  });
  if (ok) impl_->bodies.assign(1, fused);
  return ok;
}

void SolidBodies::clearBodies() { impl_->bodies.clear(); }

bool SolidBodies::transformBy(const AcGeMatrix3d& m) {
  std::vector<TopoDS_Shape> moved;
  const bool ok = guarded(*impl_, "transformBy", [&] {
    const double a[3][4] = {{m(0, 0), m(0, 1), m(0, 2), m(0, 3)}, {m(1, 0), m(1, 1), m(1, 2), m(1, 3)},
                            {m(2, 0), m(2, 1), m(2, 2), m(2, 3)}};
    gp_GTrsf general;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) general.SetValue(r + 1, c + 1, a[r][c]);
      general.SetValue(r + 1, 4, a[r][3]);
    }
    for (const auto& row : a)
      for (double v : row)
        if (!std::isfinite(v)) throw Refusal("the matrix is not finite");
    const double det = general.VectorialPart().Determinant();
    if (std::fabs(det) < 1e-15) throw Refusal("the matrix is singular");
    const SolidExtents box = extents();
    if (box.valid)
      for (int corner = 0; corner < 8; ++corner)
        checkPoint(m * AcGePoint3d(corner & 1 ? box.max.x : box.min.x, corner & 2 ? box.max.y : box.min.y,
                                   corner & 4 ? box.max.z : box.min.z),
                   "moved body's");
    for (const TopoDS_Shape& body : impl_->bodies) {
      if (general.Form() != gp_Other) {
        gp_Trsf t;
        t.SetValues(a[0][0], a[0][1], a[0][2], a[0][3], a[1][0], a[1][1], a[1][2], a[1][3], a[2][0], a[2][1], a[2][2], a[2][3]);
        moved.push_back(BRepBuilderAPI_Transform(body, t, Standard_True).Shape());
      } else {
        moved.push_back(BRepBuilderAPI_GTransform(body, general, Standard_True).Shape());
      }
    }
  });
  if (ok) impl_->bodies = std::move(moved);
  return ok;
}

int SolidBodies::bodyCount() const { return static_cast<int>(impl_->bodies.size()); }

double SolidBodies::volume() const {
  double v = 0.0;
  for (const TopoDS_Shape& b : impl_->bodies) v += shapeVolume(b);
  return v;
}

double SolidBodies::bodyVolume(int index) const {
  if (index < 0 || index >= bodyCount()) return 0.0;
  return shapeVolume(impl_->bodies[static_cast<std::size_t>(index)]);
}

int SolidBodies::faceCount() const {
  int n = 0;
  for (const TopoDS_Shape& b : impl_->bodies)
    for (TopExp_Explorer ex(b, TopAbs_FACE); ex.More(); ex.Next()) ++n;
  return n;
}

bool SolidBodies::isValid() const {
  for (const TopoDS_Shape& b : impl_->bodies)
    if (b.ShapeType() != TopAbs_SOLID || !BRepCheck_Analyzer(b).IsValid() || shapeVolume(b) <= 0.0) return false;
  return true;
}

SolidExtents SolidBodies::extents() const {
  SolidExtents out;
  Bnd_Box box;
  for (const TopoDS_Shape& b : impl_->bodies) BRepBndLib::AddOptimal(b, box, Standard_False, Standard_False);
  if (box.IsVoid()) return out;
  double x0, y0, z0, x1, y1, z1;
  box.Get(x0, y0, z0, x1, y1, z1);
  out.min.set(x0, y0, z0);
  out.max.set(x1, y1, z1);
  out.valid = true;
  return out;
}

std::vector<SolidBodies> SolidBodies::explodeFaces() const {
  std::vector<SolidBodies> faces;
  for (const TopoDS_Shape& b : impl_->bodies)
    for (TopExp_Explorer ex(b, TopAbs_FACE); ex.More(); ex.Next()) {
      SolidBodies one;
      one.impl_->bodies.push_back(ex.Current());
      faces.push_back(std::move(one));
    }
  return faces;
}

namespace {

// Appends the triangles of every face of `shape` (meshed already) to the picture.
void addTriangles(const TopoDS_Shape& shape, SolidMesh& out) {
  for (TopExp_Explorer ex(shape, TopAbs_FACE); ex.More(); ex.Next()) {
    const TopoDS_Face& face = TopoDS::Face(ex.Current());
    TopLoc_Location loc;
    const Handle(Poly_Triangulation)& tri = BRep_Tool::Triangulation(face, loc);
    if (tri.IsNull()) continue;
    const auto base = static_cast<std::int32_t>(out.vertices.size());
    for (int i = 1; i <= tri->NbNodes(); ++i) out.vertices.push_back(toPoint(tri->Node(i).Transformed(loc.Transformation())));
    const bool reversed = face.Orientation() == TopAbs_REVERSED;
    for (int i = 1; i <= tri->NbTriangles(); ++i) {
      int n1, n2, n3;
      tri->Triangle(i).Get(n1, n2, n3);
      if (reversed) std::swap(n2, n3);
      out.faceList.insert(out.faceList.end(), {3, base + n1 - 1, base + n2 - 1, base + n3 - 1});
    }
  }
}

// The edge as the mesh sees it (its polygon on a face's triangulation), so that drawn edges lie
// exactly on the drawn shells; empty when the edge has none.
std::vector<AcGePoint3d> edgeOnMesh(const TopoDS_Edge& edge, const TopTools_ListOfShape& faces) {
  std::vector<AcGePoint3d> line;
  for (const TopoDS_Shape& f : faces) {
    TopLoc_Location loc;
    const Handle(Poly_Triangulation)& tri = BRep_Tool::Triangulation(TopoDS::Face(f), loc);
    if (tri.IsNull()) continue;
    const Handle(Poly_PolygonOnTriangulation)& poly = BRep_Tool::PolygonOnTriangulation(edge, tri, loc);
    if (poly.IsNull()) continue;
    for (int k = 1; k <= poly->NbNodes(); ++k)
      line.push_back(toPoint(tri->Node(poly->Node(k)).Transformed(loc.Transformation())));
    break;
  }
  return line;
}

void addEdges(const TopoDS_Shape& shape, double deflection, SolidMesh& out) {
  TopTools_IndexedDataMapOfShapeListOfShape edges;
  TopExp::MapShapesAndAncestors(shape, TopAbs_EDGE, TopAbs_FACE, edges);
  for (int i = 1; i <= edges.Extent(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(edges.FindKey(i));
    if (BRep_Tool::Degenerated(edge)) continue;
    std::vector<AcGePoint3d> line = edgeOnMesh(edge, edges.FindFromIndex(i));
    if (line.empty()) {
      BRepAdaptor_Curve curve(edge);
      GCPnts_TangentialDeflection points(curve, 0.3, deflection);
      for (int k = 1; k <= points.NbPoints(); ++k) line.push_back(toPoint(points.Value(k)));
    }
    if (line.size() >= 2) out.edges.push_back(std::move(line));
  }
}

std::size_t triangleCount(const TopoDS_Shape& shape) {
  std::size_t n = 0;
  for (TopExp_Explorer ex(shape, TopAbs_FACE); ex.More(); ex.Next()) {
    TopLoc_Location loc;
    const Handle(Poly_Triangulation)& tri = BRep_Tool::Triangulation(TopoDS::Face(ex.Current()), loc);
    if (!tri.IsNull()) n += static_cast<std::size_t>(tri->NbTriangles());
  }
  return n;
}

}  // namespace

namespace kvsolid {

// The chord error is a fraction of the body's size. The angular limit is what runs away: on a
// long, slender cone (a 60 m reducer to 1 cm) the kernel places rings of nodes at steps of
// angle x radius along the whole length, so a try that overruns its time or the triangle bound
// is made again with the angle three times as wide, which costs about a ninth.
double meshShape(const TopoDS_Shape& shape, double relativeDeflection) {
  Bnd_Box box;
  BRepBndLib::Add(shape, box);
  const double size = box.IsVoid() ? 1.0 : std::sqrt(box.SquareExtent());
  IMeshTools_Parameters params;
  params.Deflection = std::max(std::max(relativeDeflection, 1e-5) * size, 1e-6);
  params.InParallel = Standard_False;
  params.AllowQualityDecrease = Standard_True;
  for (double angle : {0.3, 0.9, 2.7}) {
    params.Angle = angle;
    BRepTools::Clean(shape);
    try {
      withinBudget("the tessellation", [&](const Message_ProgressRange& r) { BRepMesh_IncrementalMesh(shape, params, r); },
                   kMeshSeconds);
      if (triangleCount(shape) <= kMaxTriangles) return params.Deflection;
    } catch (const Refusal&) {
    }
  }
  BRepTools::Clean(shape);
  throw Refusal("the body cannot be tessellated within the bounds of time and triangles");
}

}  // namespace kvsolid

// A body the mesher cannot tessellate within its bounds is drawn by its edges alone, which
// are cheap to follow, so that drawing and saving always finish.
SolidMesh SolidBodies::mesh(double relativeDeflection) const {
  SolidMesh out;
  guarded(*impl_, "mesh", [&] {
    for (const TopoDS_Shape& b : impl_->bodies) {
      Bnd_Box box;
      BRepBndLib::Add(b, box);
      double deflection = std::max(relativeDeflection * (box.IsVoid() ? 1.0 : std::sqrt(box.SquareExtent())), 1e-6);
      try {
        deflection = meshShape(b, relativeDeflection);
        addTriangles(b, out);
      } catch (const Refusal&) {
      }
      addEdges(b, deflection, out);
    }
  });
  return out;
}

// Text form: a header line "KVSOLID <version> <bodies> <length> <checksum>", then the bodies as
// one B-rep compound of `length` bytes whose FNV-1a 64-bit hash is `checksum` (hexadecimal). The
// kernel's reader trusts its input (a damaged count can make it loop for ages), so damaged text
// is refused by its length and checksum before the kernel sees it.
static constexpr int kTextVersion = 1;

namespace {

std::uint64_t fnv1a(const char* data, std::size_t n) {
  std::uint64_t h = 1469598103934665603ull;
  for (std::size_t i = 0; i < n; ++i) h = (h ^ static_cast<unsigned char>(data[i])) * 1099511628211ull;
  return h;
}

// Keeps the kernel's reader from printing its complaints on the console.
class QuietStreams {
 public:
  QuietStreams() : out_(std::cout.rdbuf(&sink_)), err_(std::cerr.rdbuf(&sink_)) {}
  ~QuietStreams() {
    std::cout.rdbuf(out_);
    std::cerr.rdbuf(err_);
  }
  QuietStreams(const QuietStreams&) = delete;
  QuietStreams& operator=(const QuietStreams&) = delete;

 private:
  std::stringbuf sink_;
  std::streambuf* out_;
  std::streambuf* err_;
};

}  // namespace

std::string SolidBodies::toText() const {
  std::ostringstream brep;
  if (!impl_->bodies.empty()) {
    BRep_Builder builder;
    TopoDS_Compound all;
    builder.MakeCompound(all);
    for (const TopoDS_Shape& b : impl_->bodies) builder.Add(all, b);
    BRepTools::Write(all, brep, Standard_False, Standard_False, TopTools_FormatVersion_CURRENT);
  }
  const std::string body = brep.str();
  std::ostringstream out;
  out << "KVSOLID " << kTextVersion << ' ' << impl_->bodies.size() << ' ' << body.size() << ' ' << std::hex
      << fnv1a(body.data(), body.size()) << '\n'
      << body;
  return out.str();
}

bool SolidBodies::fromText(const std::string& text) {
  std::vector<TopoDS_Shape> read;
  const bool ok = guarded(*impl_, "fromText", [&] {
    const std::size_t eol = text.find('\n');
    std::istringstream header(text.substr(0, eol));
    std::string magic;
    int version = 0;
    std::size_t count = 0, length = 0;
    std::uint64_t checksum = 0;
    if (!(header >> magic >> version) || magic != "KVSOLID") throw Refusal("not the text of a solid");
    if (version > kTextVersion) throw Refusal("the solid was written by a newer version (" + std::to_string(version) + ")");
    if (!(header >> count >> length >> std::hex >> checksum) || eol == std::string::npos)
      throw Refusal("the solid's header is damaged");
    if (text.size() - eol - 1 != length || fnv1a(text.data() + eol + 1, length) != checksum)
      throw Refusal("the B-rep data is damaged (length or checksum)");
    if (count == 0) return;
    std::istringstream in(text.substr(eol + 1));
    TopoDS_Shape all;
    {
      const QuietStreams quiet;
      BRepTools::Read(all, in, BRep_Builder());
    }
    if (all.IsNull()) throw Refusal("the B-rep data is damaged");
    for (TopoDS_Iterator it(all); it.More(); it.Next()) read.push_back(it.Value());
    if (read.size() != count) throw Refusal("the B-rep data holds " + std::to_string(read.size()) + " bodies, not " + std::to_string(count));
  });
  if (ok) impl_->bodies = std::move(read);
  return ok;
}
