// The solid library: duct-shaped B-rep bodies built over OpenCASCADE (SolidBodies), and the
// drawing entity kv_hvacSolid that holds, files, draws and explodes them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "db.h"
#include "ge.h"

// The plain point type in which the preparing operations lay out a fitting for the building one.
namespace AModeler {
struct Point3d {
  double x = 0.0, y = 0.0, z = 0.0;
  Point3d() = default;
  Point3d(double x_, double y_, double z_) : x(x_), y(y_), z(z_) {}
};
}  // namespace AModeler

// The face shapes of a diffuser; passed as an integer by the module.
enum class DiffuserType : int { Rectangular = 0, Round = 1, Slot = 2, Sidewall = 3 };

// A triangulated picture of bodies, for drawing: shell faces in the platform's face-list form
// (3, i, j, k per triangle) and every B-rep edge as a polyline.
struct SolidMesh {
  std::vector<AcGePoint3d> vertices;
  std::vector<std::int32_t> faceList;
  std::vector<std::vector<AcGePoint3d>> edges;
  std::size_t triangleCount() const { return faceList.size() / 4; }
};

// An axis-aligned box; empty until something is added.
struct SolidExtents {
  AcGePoint3d min, max;
  bool valid = false;
};

// One or more B-rep bodies with the building operations of a duct system. Every operation that
// answers bool leaves the bodies as they were when it answers false (the reason is in
// lastError()); a kernel failure never escapes as an exception. Frames are three vectors: run,
// width axis, depth axis. A round section is a circle of diameter `width` (its depth is ignored).
class SolidBodies {
 public:
  SolidBodies();
  ~SolidBodies();
  SolidBodies(const SolidBodies& other);
  SolidBodies& operator=(const SolidBodies& other);
  SolidBodies(SolidBodies&&) noexcept;
  SolidBodies& operator=(SolidBodies&&) noexcept;

  // A ruled loft from the start section to the end section, each placed by its frame. Equal
  // sections and frames give a prism along end - start: straight, or sheared for an offset.
  bool addTransition(const AcGePoint3d& start, bool startRect, double startWidth, double startDepth,
                     const AcGePoint3d& end, bool endRect, double endWidth, double endDepth,
                     const AcGeVector3d* startFrame, const AcGeVector3d* endFrame);
  // A round tube through the points (consecutive duplicates dropped), leaving the first along
  // startDir and arriving at the last along endDir.
  bool addFlex(const AcGePoint3dArray& points, double radius, const AcGeVector3d& startDir,
               const AcGeVector3d& endDir);
  // Lays out a mitred elbow: start and end lie on the incoming and outgoing centre lines, which
  // must meet. False when the sections differ (a mitre joins equal sections only), the lines do
  // not meet, or the turn is 0 or above 135 degrees. On true start and end are moved to the
  // elbow's ends (half the section's size times tan(turn/2), plus `collar` when `withCollar`),
  // and the arrays hold the layout: inSection/outSection the section corners at both ends of
  // each leg, layout[0..2] start, corner, end.
  bool addSquareElbowPrep(AcGePoint3d& start, double inWidth, double inDepth, AcGePoint3d& end,
                          double outWidth, double outDepth, const AcGeVector3d* inFrame,
                          const AcGeVector3d* outFrame, bool rect, AModeler::Point3d* inSection,
                          AModeler::Point3d* outSection, AcGePoint3d* layout, bool withCollar,
                          double collar);
  // Builds the elbow laid out by addSquareElbowPrep; false when the points are not those of the
  // layout.
  bool addSquareElbow(const AcGePoint3d& start, double inWidth, double inDepth, const AcGePoint3d& end,
                      double outWidth, double outDepth, const AcGeVector3d* inFrame,
                      const AcGeVector3d* outFrame, bool rect, const AModeler::Point3d* inSection,
                      const AModeler::Point3d* outSection, const AcGePoint3d* layout);
  // A bend of centre-line radius ratio * (the section's size in the plane of the bend) between
  // the two centre lines; the inlet section runs throughout and the outlet must match it.
  // Moves start and end to the tangent points. False for ratio <= 0.5 or lining that leaves no
  // clear section.
  bool addRadiusElbow(AcGePoint3d& start, double inWidth, double inDepth, double lining,
                      double exteriorLining, AcGePoint3d& end, double outWidth, double outDepth,
                      const AcGeVector3d* inFrame, const AcGeVector3d* outFrame, bool rect, double ratio);
  // The same bend for an open cable tray: a channel of the width, sides of the depth, open
  // towards the depth axis.
  bool addCableTraySquareRadiusElbow(AcGePoint3d& start, double width, double depth, AcGePoint3d& end,
                                     const AcGeVector3d* inFrame, const AcGeVector3d* outFrame,
                                     double ratio);
  // Lays out a wye, two mitred bends off the inlet's run: the inlet line and both leg lines
  // must meet in one point (the junction), the legs at least 10 degrees apart, neither turning
  // back more than 90 degrees. Moves start back over the mitres' inner corners plus the collar,
  // and each leg end out past the crotch where the legs part plus the collar. The arrays (8
  // each) hold the section corners and key points of inlet and legs.
  bool addWyePrep(AcGePoint3d& start, double width, double depth, AcGePoint3d& endB, double widthB,
                  double depthB, AcGePoint3d& endC, double widthC, double depthC,
                  const AcGeVector3d* frame, const AcGeVector3d* frameB, const AcGeVector3d* frameC,
                  bool rect, AModeler::Point3d* sections, AModeler::Point3d* sectionsB,
                  AModeler::Point3d* sectionsC, AcGePoint3d* layout, AcGePoint3d* layoutB,
                  AcGePoint3d* layoutC, bool withCollar, double collar);
  bool addWye(const AcGePoint3d& start, double width, double depth, const AcGePoint3d& endB,
              double widthB, double depthB, const AcGePoint3d& endC, double widthC, double depthC,
              const AcGePoint3d& junction, const AcGeVector3d* frame, const AcGeVector3d* frameB,
              const AcGeVector3d* frameC, bool rect, const AModeler::Point3d* sections,
              const AModeler::Point3d* sectionsB, const AModeler::Point3d* sectionsC,
              const AcGePoint3d* layout, const AcGePoint3d* layoutB, const AcGePoint3d* layoutC);
  // A ceiling (or sidewall) diffuser: face, plenum, neck and the transition to the duct; see
  // the README for the proportions. `connection` comes back where the duct must stop.
  bool addDiffuser(const AcGePoint3d& position, AcGePoint3d& connection, DiffuserType type,
                   double width, double length, bool neckRect, double neck1, double neck2,
                   double transitionLength, bool ductRect, double ductWidth, double ductDepth,
                   bool sideConnection, bool upright, const AcGeVector3d* diffuserFrame,
                   const AcGeVector3d* ductFrame);
  // A grille plate of width (along the run) by length (along the depth axis), centred on the
  // position, standing in the duct's side wall (its thickness along the width axis).
  bool addSidewallDiffuser(const AcGePoint3d& position, double width, double length,
                           const AcGeVector3d* ductFrame);

  // Cuts every body back to the plane through p1, p2, p3, keeping the side of `keep`; bodies
  // wholly on the other side vanish. False (nothing changed) for a degenerate plane or a `keep`
  // on the plane.
  bool sliceLast(const AcGePoint3d& p1, const AcGePoint3d& p2, const AcGePoint3d& p3, const AcGePoint3d& keep);
  // The same cut applied to the first body only (the trunk of a fitting).
  bool sliceFirst(const AcGePoint3d& p1, const AcGePoint3d& p2, const AcGePoint3d& p3, const AcGePoint3d& keep);
  // Fuses all bodies of both into one body of this; false (both unchanged) unless the result
  // is a single connected solid.
  bool doUnion(const SolidBodies& other);
  void clearBodies();
  bool transformBy(const AcGeMatrix3d& m);

  int bodyCount() const;
  bool isEmpty() const { return bodyCount() == 0; }
  double volume() const;
  double bodyVolume(int index) const;
  int faceCount() const;
  // Whether every body is a valid closed B-rep solid (the kernel's own check).
  bool isValid() const;
  SolidExtents extents() const;
  // One SolidBodies per B-rep face (each holding that face as its only shape).
  std::vector<SolidBodies> explodeFaces() const;
  // The picture for drawing; `relativeDeflection` is the chord error over the body's size.
  SolidMesh mesh(double relativeDeflection = 0.002) const;

  // The bodies as text (versioned B-rep); fromText answers false for a damaged text and
  // leaves the bodies unchanged.
  std::string toText() const;
  bool fromText(const std::string& text);

  const std::string& lastError() const;

  // Internal: the kernel side (OpenCASCADE shapes) of the bodies.
  struct Impl;
  Impl& impl() { return *impl_; }
  const Impl& impl() const { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

// STEP, STL and glTF files of many solids' bodies; each answers the number of bodies written, or -1
// with `error` filled.
int kvWriteStep(const std::vector<const SolidBodies*>& solids, const std::string& path, std::string& error);
// The same, the coordinates labelled in `unit` ("MM", "CM", "M", "INCH", "FT"); kvWriteStep is "MM".
int kvWriteStepIn(const std::vector<const SolidBodies*>& solids, const std::string& path, const std::string& unit,
                  std::string& error);
int kvWriteStl(const std::vector<const SolidBodies*>& solids, const std::string& path, std::string& error);
// glTF for viewers: binary (.glb) when the name ends so, else text glTF with a .bin beside it.
int kvWriteGltf(const std::vector<const SolidBodies*>& solids, const std::string& path, std::string& error);
// Reads a STEP file back with the kernel: the volume of each solid in it; false when unreadable.
bool kvReadStepVolumes(const std::string& path, std::vector<double>& volumes, std::string& error);

// The solid entity: one or more bodies, built by one of the operations below (each forwards to
// SolidBodies and answers false, with the bodies unchanged, for what cannot be built). The
// integer `option` that ends each building call belongs to the application and shapes nothing.
// Filed as a versioned record holding the B-rep text; drawn from its tessellation (edges in the
// standard wireframe pass, shells in hide/shade/render passes); explodes into one kv_hvacFace
// per B-rep face.
class kv_hvacSolid : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(kv_hvacSolid);
  kv_hvacSolid();
  ~kv_hvacSolid() override;

  bool addTransition(AcGePoint3d start, bool startRect, double startWidth, double startDepth, AcGePoint3d end,
                     bool endRect, double endWidth, double endDepth, const AcGeVector3d* startFrame,
                     const AcGeVector3d* endFrame, int option);
  bool addFlex(AcGePoint3dArray& points, double radius, AcGeVector3d startDir, AcGeVector3d endDir, int option);
  bool addSquareElbowPrep(AcGePoint3d& start, double inWidth, double inDepth, AcGePoint3d& end, double outWidth,
                          double outDepth, const AcGeVector3d* inFrame, const AcGeVector3d* outFrame, bool rect,
                          AModeler::Point3d* inSection, AModeler::Point3d* outSection, AcGePoint3d* layout,
                          bool withCollar, double collar);
  bool addSquareElbow(AcGePoint3d start, double inWidth, double inDepth, AcGePoint3d end, double outWidth,
                      double outDepth, const AcGeVector3d* inFrame, const AcGeVector3d* outFrame, bool rect,
                      AModeler::Point3d* inSection, AModeler::Point3d* outSection, AcGePoint3d* layout, int option);
  // `lining` and `exteriorLining` are the part of the (outside) section that is lining; the two
  // trailing flags are accepted as the caller passes them and change nothing.
  bool addRadiusElbow(AcGePoint3d& start, double inWidth, double inDepth, double lining, double exteriorLining,
                      AcGePoint3d& end, double outWidth, double outDepth, const AcGeVector3d* inFrame,
                      const AcGeVector3d* outFrame, bool rect, double ratio, bool withCollar, int option,
                      bool keepInletSize);
  bool addWyePrep(AcGePoint3d& start, double width, double depth, AcGePoint3d& endB, double widthB, double depthB,
                  AcGePoint3d& endC, double widthC, double depthC, const AcGeVector3d* frame,
                  const AcGeVector3d* frameB, const AcGeVector3d* frameC, bool rect, AModeler::Point3d* sections,
                  AModeler::Point3d* sectionsB, AModeler::Point3d* sectionsC, AcGePoint3d* layout,
                  AcGePoint3d* layoutB, AcGePoint3d* layoutC, bool withCollar, double collar);
  bool addWye(AcGePoint3d start, double width, double depth, AcGePoint3d endB, double widthB, double depthB,
              AcGePoint3d endC, double widthC, double depthC, AcGePoint3d& junction, const AcGeVector3d* frame,
              const AcGeVector3d* frameB, const AcGeVector3d* frameC, bool rect, AModeler::Point3d* sections,
              AModeler::Point3d* sectionsB, AModeler::Point3d* sectionsC, AcGePoint3d* layout,
              AcGePoint3d* layoutB, AcGePoint3d* layoutC, int option);
  bool addDiffuser(AcGePoint3d position, AcGePoint3d& connection, DiffuserType type, double width, double length,
                   bool neckRect, double neck1, double neck2, double transitionLength, bool ductRect,
                   double ductWidth, double ductDepth, bool sideConnection, bool upright,
                   const AcGeVector3d* diffuserFrame, const AcGeVector3d* ductFrame, int option);
  bool addSidewallDiffuser(AcGePoint3d position, double width, double length, const AcGeVector3d* ductFrame,
                           int option);
  bool sliceLast(AcGePoint3d p1, AcGePoint3d p2, AcGePoint3d p3, AcGePoint3d keep);
  bool sliceFirst(AcGePoint3d p1, AcGePoint3d p2, AcGePoint3d p3, AcGePoint3d keep);
  bool doUnion(kv_hvacSolid* other);
  void clearBodies();
  bool addCableTraySquareRadiusElbow(AcGePoint3d& start, double width, double depth, AcGePoint3d& end,
                                     const AcGeVector3d* inFrame, const AcGeVector3d* outFrame, double ratio,
                                     int option);

  const SolidBodies& bodies() const;
  // Why the last operation answered false ("" after a success).
  const std::string& lastError() const;

  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subViewportDraw(AcGiViewportDraw* mode) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;

 private:
  bool changed(bool ok);
  SolidBodies bodies_;
  mutable std::unique_ptr<SolidMesh> mesh_;  // the picture, made on first draw after a change
};

// One B-rep face of an exploded solid, drawn by its own tessellation and filed like the solid.
class kv_hvacFace : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(kv_hvacFace);
  kv_hvacFace();
  explicit kv_hvacFace(SolidBodies face);
  ~kv_hvacFace() override;
  const SolidBodies& bodies() const;

  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subViewportDraw(AcGiViewportDraw* mode) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;

 private:
  SolidBodies face_;
  mutable std::unique_ptr<SolidMesh> mesh_;
};

// Registers kv_hvacSolid and kv_hvacFace with the class registry (done when the library loads;
// calling it again does nothing).
void kvSolidRegisterClasses();
