// STEP, STL and glTF files of solids, and reading a STEP file back to measure what it holds.
#include <mutex>

#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Builder.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <gp_Trsf.hxx>
#include <Bnd_Box.hxx>
#include <BRepBndLib.hxx>
#include <IFSelect_ReturnStatus.hxx>
#include <Interface_Static.hxx>
#include <Message_ProgressRange.hxx>
#include <RWGltf_CafWriter.hxx>
#include <TColStd_IndexedDataMapOfStringString.hxx>
#include <TDocStd_Document.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <STEPControl_Controller.hxx>
#include <STEPControl_Reader.hxx>
#include <STEPControl_Writer.hxx>
#include <StlAPI_Writer.hxx>
#include <TopoDS_Compound.hxx>

#include "occt.h"

using namespace kvsolid;

namespace {

std::vector<TopoDS_Shape> allBodies(const std::vector<const SolidBodies*>& solids) {
  std::vector<TopoDS_Shape> out;
  for (const SolidBodies* s : solids)
    if (s != nullptr) out.insert(out.end(), s->impl().bodies.begin(), s->impl().bodies.end());
  return out;
}

// Runs `work` with kernel exceptions turned into an error text; answers its count or -1.
template <class F>
int exchangeGuard(std::string& error, F work) {
  quietKernel();
  try {
    return work();
  } catch (const Standard_Failure& f) {
    error = std::string("the modelling kernel failed: ") + f.DynamicType()->Name();
  } catch (const std::exception& e) {
    error = e.what();
  }
  return -1;
}

void initStep() {
  static std::once_flag once;
  std::call_once(once, [] { STEPControl_Controller::Init(); });
}

// The drawing's numbers are in `unit`; the writer takes millimetres and writes them in its
// write unit, so the bodies go in scaled to millimetres and come out as the drawing's numbers
// labelled in its unit. The write unit is global to the kernel: put back afterwards.
class StepUnit {
 public:
  explicit StepUnit(const std::string& unit) { Interface_Static::SetCVal("write.step.unit", unit.c_str()); }
  ~StepUnit() { Interface_Static::SetCVal("write.step.unit", "MM"); }
  StepUnit(const StepUnit&) = delete;
  StepUnit& operator=(const StepUnit&) = delete;
};

double MillimetresPer(const std::string& unit) {
  if (unit == "MM") return 1.0;
  if (unit == "CM") return 10.0;
  if (unit == "M") return 1000.0;
  if (unit == "INCH") return 25.4;
  if (unit == "FT") return 304.8;
  throw Refusal("unknown STEP unit " + unit);
}

}  // namespace

int kvWriteStep(const std::vector<const SolidBodies*>& solids, const std::string& path, std::string& error) {
  return kvWriteStepIn(solids, path, "MM", error);
}

int kvWriteStepIn(const std::vector<const SolidBodies*>& solids, const std::string& path, const std::string& unit,
                  std::string& error) {
  return exchangeGuard(error, [&]() -> int {
    initStep();
    const double scale = MillimetresPer(unit);
    const StepUnit scope(unit);
    const std::vector<TopoDS_Shape> bodies = allBodies(solids);
    // One compound in one transfer: the writer's cost grows steeply with the number of roots.
    BRep_Builder builder;
    TopoDS_Compound all;
    builder.MakeCompound(all);
    for (const TopoDS_Shape& b : bodies) builder.Add(all, b);
    TopoDS_Shape written = all;
    if (scale != 1.0) {
      gp_Trsf toMillimetres;
      toMillimetres.SetScale(gp_Pnt(0, 0, 0), scale);
      written = BRepBuilderAPI_Transform(all, toMillimetres, true).Shape();
    }
    STEPControl_Writer writer;
    if (writer.Transfer(written, STEPControl_AsIs) != IFSelect_RetDone) throw Refusal("the bodies cannot be put into STEP form");
    if (writer.Write(path.c_str()) != IFSelect_RetDone) throw Refusal("cannot write " + path);
    return static_cast<int>(bodies.size());
  });
}

int kvWriteStl(const std::vector<const SolidBodies*>& solids, const std::string& path, std::string& error) {
  return exchangeGuard(error, [&]() -> int {
    const std::vector<TopoDS_Shape> bodies = allBodies(solids);
    BRep_Builder builder;
    TopoDS_Compound all;
    builder.MakeCompound(all);
    for (const TopoDS_Shape& b : bodies) builder.Add(all, b);
    for (const TopoDS_Shape& b : bodies) meshShape(b, 0.001);
    StlAPI_Writer writer;
    if (!writer.Write(all, path.c_str())) throw Refusal("cannot write " + path);
    return static_cast<int>(bodies.size());
  });
}

int kvWriteGltf(const std::vector<const SolidBodies*>& solids, const std::string& path, std::string& error) {
  return exchangeGuard(error, [&]() -> int {
    const std::vector<TopoDS_Shape> bodies = allBodies(solids);
    Handle(TDocStd_Document) doc;
    XCAFApp_Application::GetApplication()->NewDocument("MDTV-XCAF", doc);
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(doc->Main());
    for (const TopoDS_Shape& b : bodies) {
      meshShape(b, 0.002);
      shapes->AddShape(b, Standard_False);
    }
    const bool binary = path.size() >= 4 && path.compare(path.size() - 4, 4, ".glb") == 0;
    RWGltf_CafWriter writer(path.c_str(), binary);
    const bool written = writer.Perform(doc, TColStd_IndexedDataMapOfStringString(), Message_ProgressRange());
    XCAFApp_Application::GetApplication()->Close(doc);
    if (!written) throw Refusal("cannot write " + path);
    return static_cast<int>(bodies.size());
  });
}

bool kvReadStepVolumes(const std::string& path, std::vector<double>& volumes, std::string& error) {
  volumes.clear();
  return exchangeGuard(error, [&]() -> int {
    initStep();
    STEPControl_Reader reader;
    if (reader.ReadFile(path.c_str()) != IFSelect_RetDone) throw Refusal("cannot read " + path + " as STEP");
    reader.TransferRoots();
    for (int i = 1; i <= reader.NbShapes(); ++i)
      for (const TopoDS_Shape& s : solidsOf(reader.Shape(i))) volumes.push_back(shapeVolume(s));
    return static_cast<int>(volumes.size());
  }) >= 0;
}
