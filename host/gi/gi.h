// Drawing interface of the host: what an entity draws through (AcGiWorldDraw, AcGiViewportDraw,
// their geometry and sub-entity traits), and two consumers: a capture of primitives and a plot of
// a drawing's model space to SVG or PNG.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ge.h"
#include "rx.h"

class AcDbObjectId;
class AcDbDatabase;

enum AcGiRegenType {
  eAcGiRegenTypeInvalid = 0,
  kAcGiStandardDisplay = 2,
  kAcGiHideOrShadeCommand = 3,
  kAcGiRenderCommand = 4,
  kAcGiForExplode = 5,
  kAcGiSaveWorldDrawForProxy = 6,
};

enum AcGiFillType { kAcGiFillAlways = 1, kAcGiFillNever = 2 };

class AcGiWorldDraw;
class AcGiViewportDraw;
class AcGiDrawableTraits;

// Anything that draws itself. Entities are drawables.
class AcGiDrawable : public AcRxObject {
 public:
  // Draws what does not depend on the view; false asks for viewportDraw as well.
  virtual Adesk::Boolean worldDraw(AcGiWorldDraw* mode) = 0;
  virtual void viewportDraw(AcGiViewportDraw* mode) = 0;
  virtual Adesk::UInt32 setAttributes(AcGiDrawableTraits* traits) { return 0; }
};

// Properties of what is drawn next: colour index (256 by layer, 0 by block), layer, linetype,
// line weight, fill, and the selection marker that picks a part of the drawable.
class AcGiSubEntityTraits {
 public:
  virtual ~AcGiSubEntityTraits() = default;
  virtual void setColor(Adesk::UInt16 color) = 0;
  virtual Adesk::UInt16 color() const = 0;
  virtual void setLayer(const AcDbObjectId& layerId) = 0;
  virtual AcDbObjectId layerId() const = 0;
  virtual void setLineType(const AcDbObjectId& linetypeId) = 0;
  virtual AcDbObjectId lineTypeId() const = 0;
  virtual void setSelectionMarker(Adesk::LongPtr markerId) = 0;
  virtual void setFillType(AcGiFillType type) = 0;
  virtual AcGiFillType fillType() const = 0;
  virtual void setLineWeight(int lw) = 0;
  virtual int lineWeight() const = 0;
};

class AcGiDrawableTraits : public AcGiSubEntityTraits {};

// Primitives. Every call answers false when it was drawn and true when the pass should stop
// (the platform's convention: "aborted").
class AcGiGeometry {
 public:
  virtual ~AcGiGeometry() = default;
  virtual Adesk::Boolean circle(const AcGePoint3d& center, double radius, const AcGeVector3d& normal) = 0;
  virtual Adesk::Boolean circularArc(const AcGePoint3d& center, double radius, const AcGeVector3d& normal,
                                     const AcGeVector3d& startVector, double sweepAngle) = 0;
  virtual Adesk::Boolean polyline(Adesk::UInt32 nbPoints, const AcGePoint3d* pVertexList,
                                  const AcGeVector3d* pNormal = nullptr, Adesk::LongPtr lBaseSubEntMarker = -1) = 0;
  virtual Adesk::Boolean polygon(Adesk::UInt32 nbPoints, const AcGePoint3d* pVertexList) = 0;
  // Faces as in the platform: a count of vertex indices followed by the indices, per face.
  virtual Adesk::Boolean shell(Adesk::UInt32 nbVertex, const AcGePoint3d* pVertexList,
                               Adesk::UInt32 faceListSize, const Adesk::Int32* pFaceList) = 0;
  // Text of one line; `width` is the width factor, `oblique` the slant in radians.
  virtual Adesk::Boolean text(const AcGePoint3d& position, const AcGeVector3d& normal, const AcGeVector3d& direction,
                              double height, double width, double oblique, const ACHAR* pMsg) = 0;
  // Draws another drawable (with its own traits) inside this pass.
  virtual Adesk::Boolean draw(AcGiDrawable* pDrawable) = 0;
  virtual Adesk::Boolean pushModelTransform(const AcGeMatrix3d& xMat) = 0;
  virtual Adesk::Boolean popModelTransform() = 0;
  virtual AcGeMatrix3d getModelToWorldTransform() const = 0;
};

class AcGiWorldGeometry : public AcGiGeometry {};
class AcGiViewportGeometry : public AcGiGeometry {};

class AcGiCommonDraw {
 public:
  virtual ~AcGiCommonDraw() = default;
  virtual AcGiRegenType regenType() const = 0;
  virtual Adesk::Boolean regenAbort() const = 0;
  virtual AcGiSubEntityTraits& subEntityTraits() const = 0;
  virtual AcGiGeometry* rawGeometry() const = 0;
  virtual Adesk::Boolean isDragging() const = 0;
  virtual double deviation() const { return 0.0; }
};

class AcGiWorldDraw : public AcGiCommonDraw {
 public:
  virtual AcGiWorldGeometry& geometry() const = 0;
};

// The view a viewport pass draws for.
class AcGiViewport {
 public:
  virtual ~AcGiViewport() = default;
  virtual void getModelToEyeTransform(AcGeMatrix3d& m) const = 0;
  virtual void getCameraTarget(AcGePoint3d& p) const = 0;
  virtual void getViewDirection(AcGeVector3d& v) const = 0;
};

class AcGiViewportDraw : public AcGiCommonDraw {
 public:
  virtual AcGiViewportGeometry& geometry() const = 0;
  virtual AcGiViewport& viewport() const = 0;
  virtual Adesk::UInt32 sequenceNumber() const { return 0; }
};

// ---- Consumers (host extensions) ----

// One captured primitive, in world coordinates (model transforms applied).
struct AcGiCapturedPrimitive {
  enum class Kind { Polyline, Polygon, Circle, Arc, Shell, Text };
  Kind kind = Kind::Polyline;
  std::vector<AcGePoint3d> points;  // vertices; circle and arc: the centre
  double radius = 0.0;              // circle, arc
  AcGeVector3d normal{0, 0, 1}, direction{1, 0, 0};
  double sweep = 0.0;               // arc
  double height = 0.0, widthFactor = 1.0, oblique = 0.0;  // text
  std::wstring text;
  std::vector<Adesk::Int32> faces;  // shell
  Adesk::UInt16 color = 256;        // traits when drawn
  Adesk::LongPtr marker = 0;
  std::wstring layer;               // name of the traits' layer ("" if none)
  bool viewport = false;            // drawn by a viewport pass
};

// Records what drawables draw. Drawing runs the world pass and, when it answers false, the
// viewport pass, as the platform does; traits start from the entity's own properties.
class AcGiCapture {
 public:
  explicit AcGiCapture(AcGiRegenType regenType = kAcGiStandardDisplay);
  ~AcGiCapture();
  AcGiCapture(const AcGiCapture&) = delete;
  AcGiCapture& operator=(const AcGiCapture&) = delete;
  // Draws one drawable (an entity is drawn with its layer and colour as traits).
  void draw(AcGiDrawable* drawable);
  // Only the world pass, as a proxy picture is made (regen type kAcGiSaveWorldDrawForProxy).
  void drawWorldOnly(AcGiDrawable* drawable);
  const std::vector<AcGiCapturedPrimitive>& primitives() const;
  void clear();
  // Makes regenAbort() answer true from now on.
  void setAbort(bool abort);
  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

enum class AcGiPlotFormat { Svg, Png, Pdf };

// How colours meet white paper. Paper: colours by index, the light ones (yellow, cyan, light
// grey, ...) darkened until they read against white, as a pen plotter's colour table does.
// Screen: colours by index as the screen shows them. Monochrome: everything black.
enum class AcGiPlotStyle { Paper, Screen, Monochrome };

// The widest plot: a PNG page is about width x width pixels of 4 bytes, so 8192 keeps one plot
// at 256 MB at most.
constexpr int kAcGiPlotMaxWidth = 8192;

// Plots model space of `db` to a file: the view fits the drawing's extents with a margin, white
// paper, colours by index (7 draws black) in the given style, on layers that are on and not
// frozen. `widthPx` (16 to kAcGiPlotMaxWidth) sets the PNG width (SVG uses it as its nominal
// size). Returns eOk, eFileAccessErr when the file cannot be written, eInvalidInput for a null
// database or a width out of range.
Acad::ErrorStatus acgiPlotModelSpace(AcDbDatabase* db, const ACHAR* path, AcGiPlotFormat format, int widthPx = 1200,
                                     AcGiPlotStyle style = AcGiPlotStyle::Paper);
