// The capture: a world and a viewport draw that record primitives in world coordinates.
#include <vector>

#include "db.h"
#include "gi.h"

namespace {

// The name of a layer record, "" when it cannot be read now.
std::wstring layerName(AcDbObjectId id) {
  if (id.isNull()) return L"";
  AcDbSymbolTableRecord* rec = nullptr;
  if (acdbOpenObject(rec, id, AcDb::kForRead, true) != Acad::eOk) return L"";
  std::wstring name = rec->getName();
  rec->close();
  return name;
}

class CaptureTraits : public AcGiDrawableTraits {
 public:
  void setColor(Adesk::UInt16 color) override { color_ = color; }
  Adesk::UInt16 color() const override { return color_; }
  void setLayer(const AcDbObjectId& layerId) override { layer_ = layerId; }
  AcDbObjectId layerId() const override { return layer_; }
  void setLineType(const AcDbObjectId& linetypeId) override { linetype_ = linetypeId; }
  AcDbObjectId lineTypeId() const override { return linetype_; }
  void setSelectionMarker(Adesk::LongPtr markerId) override { marker_ = markerId; }
  Adesk::LongPtr marker() const { return marker_; }
  void setFillType(AcGiFillType type) override { fill_ = type; }
  AcGiFillType fillType() const override { return fill_; }
  void setLineWeight(int lw) override { lineWeight_ = lw; }
  int lineWeight() const override { return lineWeight_; }

 private:
  Adesk::UInt16 color_ = 256;
  AcDbObjectId layer_, linetype_;
  Adesk::LongPtr marker_ = 0;
  AcGiFillType fill_ = kAcGiFillNever;
  int lineWeight_ = -1;
};

}  // namespace

struct AcGiCapture::Impl {
  AcGiRegenType regenType = kAcGiStandardDisplay;
  bool abort = false;
  bool inViewport = false;
  std::vector<AcGiCapturedPrimitive> prims;
  std::vector<AcGeMatrix3d> transforms{AcGeMatrix3d()};
  mutable CaptureTraits traits;

  AcGiCapturedPrimitive start(AcGiCapturedPrimitive::Kind kind) const {
    AcGiCapturedPrimitive p;
    p.kind = kind;
    p.color = traits.color();
    p.marker = traits.marker();
    p.viewport = inViewport;
    p.layer = layerName(traits.layerId());
    return p;
  }
  AcGePoint3d world(const AcGePoint3d& p) const { return transforms.back() * p; }
  AcGeVector3d worldVec(const AcGeVector3d& v) const { return transforms.back() * v; }
  void drawOne(AcGiDrawable* d, bool worldOnly);
};

namespace {

using Kind = AcGiCapturedPrimitive::Kind;

// One geometry for both passes; the pass decides which interface it is seen through.
template <class Base>
class CaptureGeometry : public Base {
 public:
  explicit CaptureGeometry(AcGiCapture::Impl& c) : c_(c) {}
  Adesk::Boolean circle(const AcGePoint3d& center, double radius, const AcGeVector3d& normal) override {
    auto p = c_.start(Kind::Circle);
    p.points.push_back(c_.world(center));
    p.radius = radius * c_.transforms.back().scale();
    p.normal = c_.worldVec(normal).normal();
    return add(std::move(p));
  }
  Adesk::Boolean circularArc(const AcGePoint3d& center, double radius, const AcGeVector3d& normal,
                             const AcGeVector3d& startVector, double sweepAngle) override {
    auto p = c_.start(Kind::Arc);
    p.points.push_back(c_.world(center));
    p.radius = radius * c_.transforms.back().scale();
    p.normal = c_.worldVec(normal).normal();
    p.direction = c_.worldVec(startVector).normal();
    p.sweep = sweepAngle;
    return add(std::move(p));
  }
  Adesk::Boolean polyline(Adesk::UInt32 n, const AcGePoint3d* pts, const AcGeVector3d*, Adesk::LongPtr) override {
    return points(Kind::Polyline, n, pts);
  }
  Adesk::Boolean polygon(Adesk::UInt32 n, const AcGePoint3d* pts) override { return points(Kind::Polygon, n, pts); }
  Adesk::Boolean shell(Adesk::UInt32 n, const AcGePoint3d* pts, Adesk::UInt32 faceListSize,
                       const Adesk::Int32* faces) override {
    auto p = c_.start(Kind::Shell);
    for (Adesk::UInt32 i = 0; i < n; ++i) p.points.push_back(c_.world(pts[i]));
    p.faces.assign(faces, faces + faceListSize);
    return add(std::move(p));
  }
  Adesk::Boolean text(const AcGePoint3d& position, const AcGeVector3d& normal, const AcGeVector3d& direction,
                      double height, double width, double oblique, const ACHAR* msg) override {
    auto p = c_.start(Kind::Text);
    p.points.push_back(c_.world(position));
    p.normal = c_.worldVec(normal).normal();
    p.direction = c_.worldVec(direction).normal();
    p.height = height * c_.transforms.back().scale();
    p.widthFactor = width;
    p.oblique = oblique;
    p.text = msg ? msg : L"";
    return add(std::move(p));
  }
  Adesk::Boolean draw(AcGiDrawable* d) override {
    c_.drawOne(d, false);
    return c_.abort;
  }
  Adesk::Boolean pushModelTransform(const AcGeMatrix3d& m) override {
    c_.transforms.push_back(c_.transforms.back() * m);
    return false;
  }
  Adesk::Boolean popModelTransform() override {
    if (c_.transforms.size() > 1) c_.transforms.pop_back();
    return false;
  }
  AcGeMatrix3d getModelToWorldTransform() const override { return c_.transforms.back(); }

 private:
  Adesk::Boolean points(Kind kind, Adesk::UInt32 n, const AcGePoint3d* pts) {
    if (n == 0 || pts == nullptr) return c_.abort;
    auto p = c_.start(kind);
    for (Adesk::UInt32 i = 0; i < n; ++i) p.points.push_back(c_.world(pts[i]));
    return add(std::move(p));
  }
  Adesk::Boolean add(AcGiCapturedPrimitive p) {
    c_.prims.push_back(std::move(p));
    return c_.abort;
  }
  AcGiCapture::Impl& c_;
};

class WorldView : public AcGiViewport {
 public:
  void getModelToEyeTransform(AcGeMatrix3d& m) const override { m.setToIdentity(); }
  void getCameraTarget(AcGePoint3d& p) const override { p = AcGePoint3d::kOrigin; }
  void getViewDirection(AcGeVector3d& v) const override { v = -AcGeVector3d::kZAxis; }
};

template <class Base, class Geometry>
class CaptureDraw : public Base {
 public:
  explicit CaptureDraw(AcGiCapture::Impl& c) : c_(c), geometry_(c) {}
  AcGiRegenType regenType() const override { return c_.regenType; }
  Adesk::Boolean regenAbort() const override { return c_.abort; }
  AcGiSubEntityTraits& subEntityTraits() const override { return c_.traits; }
  AcGiGeometry* rawGeometry() const override { return &geometry_; }
  Adesk::Boolean isDragging() const override { return false; }
  Geometry& geometry() const override { return geometry_; }

 protected:
  AcGiCapture::Impl& c_;
  mutable CaptureGeometry<Geometry> geometry_;
};

class CaptureWorldDraw : public CaptureDraw<AcGiWorldDraw, AcGiWorldGeometry> {
 public:
  using CaptureDraw::CaptureDraw;
};

class CaptureViewportDraw : public CaptureDraw<AcGiViewportDraw, AcGiViewportGeometry> {
 public:
  using CaptureDraw::CaptureDraw;
  AcGiViewport& viewport() const override { return view_; }

 private:
  mutable WorldView view_;
};

}  // namespace

// A nested drawable draws with its own properties; the traits come back afterwards.
void AcGiCapture::Impl::drawOne(AcGiDrawable* d, bool worldOnly) {
  if (d == nullptr) return;
  CaptureTraits saved = traits;
  if (auto* e = AcDbEntity::cast(d)) {
    if (e->visibility() == AcDb::kInvisible) return;
    traits.setColor(e->colorIndex());
    traits.setLayer(e->layerId());
    traits.setLineType(e->linetypeId());
    traits.setLineWeight(e->lineWeight());
  }
  d->setAttributes(&traits);
  CaptureTraits own = traits;  // each pass starts from the drawable's own properties
  CaptureWorldDraw world(*this);
  bool wasViewport = inViewport;
  inViewport = false;
  bool done = d->worldDraw(&world);
  if (!done && !worldOnly && !abort) {
    inViewport = true;
    traits = own;
    CaptureViewportDraw view(*this);
    d->viewportDraw(&view);
  }
  inViewport = wasViewport;
  traits = saved;
}

AcGiCapture::AcGiCapture(AcGiRegenType regenType) : impl_(new Impl) { impl_->regenType = regenType; }
AcGiCapture::~AcGiCapture() = default;
void AcGiCapture::draw(AcGiDrawable* drawable) { impl_->drawOne(drawable, false); }

void AcGiCapture::drawWorldOnly(AcGiDrawable* drawable) {
  AcGiRegenType saved = impl_->regenType;
  impl_->regenType = kAcGiSaveWorldDrawForProxy;
  impl_->drawOne(drawable, true);
  impl_->regenType = saved;
}

const std::vector<AcGiCapturedPrimitive>& AcGiCapture::primitives() const { return impl_->prims; }
void AcGiCapture::clear() { impl_->prims.clear(); }
void AcGiCapture::setAbort(bool abort) { impl_->abort = abort; }
