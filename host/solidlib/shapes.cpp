// Shape helpers shared by the building operations: frames, sections, lofts, cuts, fusion, and
// the exception guard that turns kernel failures into a refused operation.
#include <chrono>
#include <cmath>
#include <mutex>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_MakeSolid.hxx>
#include <BRepBuilderAPI_Sewing.hxx>
#include <BRepLib.hxx>
#include <Bnd_Box.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepGProp.hxx>
#include <BRepOffsetAPI_ThruSections.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <GC_MakeArcOfCircle.hxx>
#include <GProp_GProps.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_ProgressIndicator.hxx>
#include <Message_PrinterOStream.hxx>
#include <Precision.hxx>
#include <ShapeUpgrade_UnifySameDomain.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_ListOfShape.hxx>
#include <TopoDS.hxx>
#include <gp_Ax2.hxx>
#include <gp_Circ.hxx>
#include <gp_Ax3.hxx>
#include <gp_Pln.hxx>

#include "occt.h"

namespace kvsolid {

void quietKernel() {
  static std::once_flag once;
  std::call_once(once, [] {
    const Handle(Message_Messenger)& messenger = Message::DefaultMessenger();
    messenger->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));
  });
}

bool guarded(SolidBodies::Impl& impl, const char* operation, const std::function<void()>& work) {
  quietKernel();
  try {
    work();
    impl.error.clear();
    return true;
  } catch (const Refusal& r) {
    impl.error = std::string(operation) + ": " + r.what();
  } catch (const Standard_Failure& f) {
    const char* text = f.GetMessageString();
    impl.error = std::string(operation) + ": the modelling kernel failed (" + f.DynamicType()->Name() +
                 (text && *text ? std::string(": ") + text : std::string()) + ")";
  } catch (const std::exception& e) {
    impl.error = std::string(operation) + ": " + e.what();
  }
  return false;
}

bool commitBodies(SolidBodies::Impl& impl, const char* operation,
                  const std::function<void(std::vector<TopoDS_Shape>& made)>& build) {
  std::vector<TopoDS_Shape> made;
  if (!guarded(impl, operation, [&] { build(made); })) return false;
  impl.bodies.insert(impl.bodies.end(), made.begin(), made.end());
  return true;
}

namespace {

// Answers the kernel's polls: a break once the time is spent.
class Budget : public Message_ProgressIndicator {
 public:
  explicit Budget(double seconds)
      : deadline_(std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds))) {}
  Standard_Boolean UserBreak() override {
    spent_ = spent_ || std::chrono::steady_clock::now() > deadline_;
    return spent_;
  }
  void Show(const Message_ProgressScope&, const Standard_Boolean) override {}
  bool spent() const { return spent_; }

 private:
  std::chrono::steady_clock::time_point deadline_;
  bool spent_ = false;
};

bool finite(const gp_Vec& v) { return std::isfinite(v.X()) && std::isfinite(v.Y()) && std::isfinite(v.Z()); }

}  // namespace

void withinBudget(const char* what, const std::function<void(const Message_ProgressRange&)>& work, double seconds) {
  Handle(Budget) budget = new Budget(seconds);
  work(budget->Start());
  if (budget->spent()) throw Refusal(std::string(what) + " took the kernel longer than its limit and was stopped");
}

void checkPoint(const AcGePoint3d& p, const char* what) {
  for (double c : {p.x, p.y, p.z})
    if (!(std::fabs(c) <= kMaxCoordinate))
      throw Refusal(std::string("the ") + what + " point lies beyond the drawing's range (or is not a number)");
}

void checkLength(double length, const char* what) {
  if (!(length >= 0.0 && length <= kMaxLength)) throw Refusal(std::string("the ") + what + " is not a length from 0 to 1e6");
}

gp_Dir unit(const gp_Vec& v, const char* what) {
  if (!finite(v)) throw Refusal(std::string(what) + " is not a finite vector");
  if (v.Magnitude() < 1e-12) throw Refusal(std::string(what) + " is a zero vector");
  return gp_Dir(v);
}

Axes makeAxes(const AcGeVector3d* frame, const char* which) {
  if (frame == nullptr) throw Refusal(std::string("no ") + which + " frame");
  const gp_Dir run = unit(toVec(frame[0]), which);
  const gp_Vec w = toVec(frame[1]);
  if (!finite(w)) throw Refusal(std::string("the ") + which + " frame's width axis is not a finite vector");
  const gp_Vec across = w - gp_Vec(run) * w.Dot(gp_Vec(run));
  if (across.Magnitude() < 1e-9 * std::max(1.0, w.Magnitude()))
    throw Refusal(std::string("the ") + which + " frame has its width axis along its run");
  const gp_Dir width(across);
  return {run, width, run.Crossed(width)};
}

void checkSection(bool rect, double width, double depth, const char* which) {
  if (!(width >= kMinSize && width <= kMaxSize))
    throw Refusal(std::string("the ") + which + " width must be from 0.001 to 1e5");
  if (rect && !(depth >= kMinSize && depth <= kMaxSize))
    throw Refusal(std::string("the ") + which + " depth must be from 0.001 to 1e5");
}

TopoDS_Wire sectionWire(const gp_Pnt& c, const Axes& a, bool rect, double width, double depth) {
  const gp_Vec hw = gp_Vec(a.width) * (width / 2.0);
  if (rect) {
    const gp_Vec hd = gp_Vec(a.depth) * (depth / 2.0);
    BRepBuilderAPI_MakePolygon poly(c.Translated(-hw - hd), c.Translated(hw - hd), c.Translated(hw + hd),
                                    c.Translated(-hw + hd), Standard_True);
    return poly.Wire();
  }
  const double r = width / 2.0;
  const gp_Circ circle(gp_Ax2(c, a.run, a.width), r);
  BRepBuilderAPI_MakeWire wire;
  for (int k = 0; k < 4; ++k) {
    const double from = -M_PI * 0.75 + k * M_PI / 2.0;
    wire.Add(BRepBuilderAPI_MakeEdge(GC_MakeArcOfCircle(circle, from, from + M_PI / 2.0, Standard_True).Value()));
  }
  return wire.Wire();
}

TopoDS_Face sectionFace(const gp_Pnt& c, const Axes& a, bool rect, double width, double depth) {
  return BRepBuilderAPI_MakeFace(sectionWire(c, a, rect, width, depth), Standard_True).Face();
}

double sectionSizeAlong(const Axes& a, bool rect, double width, double depth, const gp_Dir& dir) {
  if (!rect) return width;
  return std::fabs(dir.Dot(a.width)) * width + std::fabs(dir.Dot(a.depth)) * depth;
}

TopoDS_Shape ruledLoft(const TopoDS_Wire& from, const TopoDS_Wire& to) {
  BRepOffsetAPI_ThruSections loft(Standard_True, Standard_True);
  loft.CheckCompatibility(Standard_False);
  loft.AddWire(from);
  loft.AddWire(to);
  withinBudget("the loft", [&](const Message_ProgressRange& r) { loft.Build(r); });
  if (!loft.IsDone()) throw Refusal("the sections cannot be lofted");
  return loft.Shape();
}

TopoDS_Shape prism(const TopoDS_Face& face, const gp_Vec& along) {
  BRepPrimAPI_MakePrism make(face, along);
  if (!make.IsDone()) throw Refusal("the section cannot be extruded");
  return make.Shape();
}

TopoDS_Shape polyhedron(const std::vector<std::vector<gp_Pnt>>& faces) {
  BRepBuilderAPI_Sewing sewing(1e-7);
  for (const std::vector<gp_Pnt>& corners : faces) {
    BRepBuilderAPI_MakePolygon outline;
    for (const gp_Pnt& p : corners) outline.Add(p);
    outline.Close();
    sewing.Add(BRepBuilderAPI_MakeFace(outline.Wire(), Standard_True).Face());
  }
  sewing.Perform();
  const TopoDS_Shape sewn = sewing.SewedShape();
  TopExp_Explorer shell(sewn, TopAbs_SHELL);
  if (!shell.More()) throw Refusal("the faces do not close a solid");
  BRepBuilderAPI_MakeSolid make(TopoDS::Shell(shell.Current()));
  TopoDS_Solid solid = make.Solid();
  BRepLib::OrientClosedSolid(solid);
  return solid;
}

TopoDS_Shape cutByPlane(const TopoDS_Shape& shape, const gp_Pnt& onPlane, const gp_Dir& normal, const gp_Pnt& keep) {
  const double side = gp_Vec(onPlane, keep).Dot(gp_Vec(normal));
  const gp_Dir away = side > 0 ? normal.Reversed() : normal;
  // A finite block on the far side, larger than the shape, cuts faster than a half-space.
  Bnd_Box box;
  BRepBndLib::Add(shape, box);
  if (box.IsVoid()) return shape;
  const double size = std::sqrt(box.SquareExtent()) + 1.0;
  const gp_Pnt mid((box.CornerMin().XYZ() + box.CornerMax().XYZ()) / 2.0);
  const gp_Pnt centre = mid.Translated(-gp_Vec(normal) * gp_Vec(onPlane, mid).Dot(gp_Vec(normal)));
  const gp_Ax2 frame(centre, away);
  const TopoDS_Face square = BRepBuilderAPI_MakeFace(gp_Pln(gp_Ax3(frame)), -size, size, -size, size).Face();
  const double depth = std::fabs(gp_Vec(onPlane, mid).Dot(gp_Vec(normal))) + size;
  const TopoDS_Shape block = BRepPrimAPI_MakePrism(square, gp_Vec(away) * depth).Shape();
  TopTools_ListOfShape args, tools;
  args.Append(shape);
  tools.Append(block);
  BRepAlgoAPI_Cut cut;
  cut.SetArguments(args);
  cut.SetTools(tools);
  cut.SetCheckInverted(Standard_False);
  cut.SetUseOBB(Standard_True);
  withinBudget("the cut", [&](const Message_ProgressRange& r) { cut.Build(r); });
  if (!cut.IsDone()) throw Refusal("the cut failed");
  const std::vector<TopoDS_Shape> left = solidsOf(cut.Shape());
  if (left.empty()) return TopoDS_Shape();
  return left.size() == 1 ? left.front() : cut.Shape();
}

TopoDS_Shape fuseAll(const std::vector<TopoDS_Shape>& shapes) {
  if (shapes.empty()) throw Refusal("nothing to fuse");
  if (shapes.size() == 1) return shapes.front();
  TopTools_ListOfShape args, tools;
  args.Append(shapes.front());
  for (std::size_t i = 1; i < shapes.size(); ++i) tools.Append(shapes[i]);
  BRepAlgoAPI_Fuse fuse;
  fuse.SetArguments(args);
  fuse.SetTools(tools);
  fuse.SetFuzzyValue(1e-7);
  withinBudget("the union", [&](const Message_ProgressRange& r) { fuse.Build(r); });
  if (!fuse.IsDone()) throw Refusal("the pieces cannot be fused");
  ShapeUpgrade_UnifySameDomain unify(fuse.Shape(), Standard_True, Standard_True, Standard_False);
  unify.Build();
  return unify.Shape();
}

std::vector<TopoDS_Shape> solidsOf(const TopoDS_Shape& shape) {
  std::vector<TopoDS_Shape> out;
  if (shape.IsNull()) return out;
  for (TopExp_Explorer ex(shape, TopAbs_SOLID); ex.More(); ex.Next()) out.push_back(ex.Current());
  return out;
}

double shapeVolume(const TopoDS_Shape& shape) {
  GProp_GProps props;
  BRepGProp::VolumeProperties(shape, props);
  return props.Mass();
}

gp_Pnt meetingPoint(const gp_Pnt& a, const gp_Dir& ua, const gp_Pnt& b, const gp_Dir& ub, double size) {
  const gp_Vec w(b, a);
  const double k = ua.Dot(ub);
  const double denom = 1.0 - k * k;
  if (denom < 1e-12) throw Refusal("the centre lines are parallel");
  const double d = gp_Vec(ua).Dot(w), e = gp_Vec(ub).Dot(w);
  const double s = (k * e - d) / denom;  // along ua from a
  const double t = (e - k * d) / denom;  // along ub from b
  const gp_Pnt pa = a.Translated(gp_Vec(ua) * s), pb = b.Translated(gp_Vec(ub) * t);
  if (pa.Distance(pb) > 1e-4 * std::max(1.0, size)) throw Refusal("the centre lines do not meet");
  return pa;
}

}  // namespace kvsolid
