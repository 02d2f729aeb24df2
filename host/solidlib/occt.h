// Private to the solid library: the kernel side of SolidBodies and the shape helpers that the
// building operations share. Only this folder includes it (it pulls in OpenCASCADE).
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <Message_ProgressRange.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Wire.hxx>
#include <gp_Dir.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>

#include "kvSolid.h"

struct SolidBodies::Impl {
  std::vector<TopoDS_Shape> bodies;
  std::string error;
};

namespace kvsolid {

// A refusal of our own (bad input, geometry that cannot be built); becomes lastError().
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Runs `build`, which fills `made` with new bodies; appends them only when it finishes without
// a refusal or a kernel exception. Answers whether it did; the reason goes to impl.error.
bool commitBodies(SolidBodies::Impl& impl, const char* operation,
                  const std::function<void(std::vector<TopoDS_Shape>& made)>& build);
// Runs `work` under the same exception guard, for operations that change bodies in place.
bool guarded(SolidBodies::Impl& impl, const char* operation, const std::function<void()>& work);

// Silences the kernel's console messages once per process.
void quietKernel();

// What a duct system can hold, in drawing units (inches or millimetres). The kernel's tolerances
// are absolute (1e-7), and coordinates or sizes far outside these make it loop, grow without end
// or crash, so such input is refused before the kernel sees any of it.
constexpr double kMaxCoordinate = 1e7;  // 10 km in millimetres
constexpr double kMinSize = 1e-3;       // the smallest side of a section
constexpr double kMaxSize = 1e5;        // the largest: 100 m in millimetres
constexpr double kMaxLength = 1e6;      // one run, tube, collar or transition
// The kernel's time for one lofting, sweeping or boolean call, polled by the kernel itself; a
// call that has not finished by then is stopped and its operation refused. A tessellation gets
// less a try, as a coarser one follows.
constexpr double kKernelSeconds = 10.0;
constexpr double kMeshSeconds = 1.5;

// The most triangles one body's tessellation may have.
constexpr std::size_t kMaxTriangles = 400000;

// Tessellates the shape in place with a chord error of `relativeDeflection` times its size,
// bounded in time and in triangles: past either bound it is made again coarser, and refused
// when the coarsest try fails too (the shape is then left without a tessellation). Answers the
// deflection used.
double meshShape(const TopoDS_Shape& shape, double relativeDeflection);

// Refuses a point with a coordinate that is not finite or lies beyond kMaxCoordinate.
void checkPoint(const AcGePoint3d& p, const char* what);
// Refuses a length that is not finite, negative or above kMaxLength.
void checkLength(double length, const char* what);
// Runs `work` with a progress range whose indicator asks the kernel to stop after `seconds`;
// refuses (naming `what`) when the kernel was stopped.
void withinBudget(const char* what, const std::function<void(const Message_ProgressRange&)>& work,
                  double seconds = kKernelSeconds);

inline gp_Pnt toPnt(const AcGePoint3d& p) { return {p.x, p.y, p.z}; }
inline gp_Vec toVec(const AcGeVector3d& v) { return {v.x, v.y, v.z}; }
inline AcGePoint3d toPoint(const gp_Pnt& p) { return {p.X(), p.Y(), p.Z()}; }

// An orthonormal frame: run, width axis, depth axis (depth = run x width).
struct Axes {
  gp_Dir run, width, depth;
};
// Orthonormalises a frame of three vectors (the run wins, then the width axis); refuses a null
// pointer, a zero run or a width axis parallel to the run.
Axes makeAxes(const AcGeVector3d* frame, const char* which);
// A unit vector; refuses a zero vector.
gp_Dir unit(const gp_Vec& v, const char* what);

// A closed section wire centred at `centre`: a rectangle (corners in the order -w-d, +w-d, +w+d,
// -w+d) or a circle of diameter `width` split into four arcs at the same diagonal directions,
// so that any two sections loft edge to edge.
TopoDS_Wire sectionWire(const gp_Pnt& centre, const Axes& axes, bool rect, double width, double depth);
TopoDS_Face sectionFace(const gp_Pnt& centre, const Axes& axes, bool rect, double width, double depth);
void checkSection(bool rect, double width, double depth, const char* which);
// The section's extent along a direction lying in its plane (half-size times two).
double sectionSizeAlong(const Axes& axes, bool rect, double width, double depth, const gp_Dir& dir);

TopoDS_Shape ruledLoft(const TopoDS_Wire& from, const TopoDS_Wire& to);
TopoDS_Shape prism(const TopoDS_Face& face, const gp_Vec& along);
// A closed solid from planar faces, each given by its corners in order.
TopoDS_Shape polyhedron(const std::vector<std::vector<gp_Pnt>>& faces);
// What remains of `shape` on the side of `keep` of the plane; may be empty (null shape).
TopoDS_Shape cutByPlane(const TopoDS_Shape& shape, const gp_Pnt& onPlane, const gp_Dir& normal, const gp_Pnt& keep);
// Fuses the shapes and merges coplanar faces.
TopoDS_Shape fuseAll(const std::vector<TopoDS_Shape>& shapes);
// The solids in a shape.
std::vector<TopoDS_Shape> solidsOf(const TopoDS_Shape& shape);
double shapeVolume(const TopoDS_Shape& shape);

// Where two lines meet (closest approach within a tolerance scaled to `size`); refuses parallel
// or skew lines.
gp_Pnt meetingPoint(const gp_Pnt& a, const gp_Dir& ua, const gp_Pnt& b, const gp_Dir& ub, double size);

}  // namespace kvsolid
