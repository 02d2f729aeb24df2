// kv_hvacSolid and kv_hvacFace: the drawing entities over SolidBodies: building calls, filing
// (DWG and DXF), drawing from the tessellation, transforming, extents and explode.
#include <algorithm>
#include <cstring>

#include "kvSolid.h"

ACRX_DXF_DEFINE_MEMBERS(kv_hvacSolid, AcDbEntity, 0, 0, 0, KV_HVACSOLID, KVSOLID);
ACRX_DXF_DEFINE_MEMBERS(kv_hvacFace, AcDbEntity, 0, 0, 0, KV_HVACFACE, KVSOLID);

void kvSolidRegisterClasses() {
  if (acrxFindAcRxClass(L"kv_hvacSolid") == nullptr) kv_hvacSolid::rxInit();
  if (acrxFindAcRxClass(L"kv_hvacFace") == nullptr) kv_hvacFace::rxInit();
  acrxBuildClassHierarchy();
}

namespace {

// The library's classes exist as soon as it is loaded, so that a drawing read before the
// module's first call still finds them.
const struct Registrar {
  Registrar() { kvSolidRegisterClasses(); }
} registrar;

// Record layout after the entity's common fields (DWG):
//   UInt16  version (1)
//   UInt32  n, the length of the B-rep text in bytes
//   n bytes the text of SolidBodies::toText (header line "KVSOLID 1 <bodies>", then the B-rep)
constexpr Adesk::UInt16 kRecordVersion = 1;
constexpr std::size_t kChunk = 1 << 20;

Acad::ErrorStatus writeBodies(AcDbDwgFiler* filer, const SolidBodies& bodies) {
  const std::string text = bodies.toText();
  filer->writeUInt16(kRecordVersion);
  filer->writeUInt32(static_cast<Adesk::UInt32>(text.size()));
  filer->writeBytes(text.data(), text.size());
  return filer->filerStatus();
}

Acad::ErrorStatus readBodies(AcDbDwgFiler* filer, SolidBodies& bodies) {
  Adesk::UInt16 version = 0;
  Adesk::UInt32 size = 0;
  if (filer->readUInt16(&version) != Acad::eOk) return filer->filerStatus();
  if (version > kRecordVersion) return Acad::eMakeMeProxy;
  if (filer->readUInt32(&size) != Acad::eOk) return filer->filerStatus();
  // Read in pieces, so that a damaged length ends at the end of the data, not in a huge buffer.
  std::string text;
  while (text.size() < size) {
    const std::size_t n = std::min<std::size_t>(kChunk, size - text.size());
    const std::size_t at = text.size();
    text.resize(at + n);
    if (filer->readBytes(text.data() + at, n) != Acad::eOk) return filer->filerStatus();
  }
  return bodies.fromText(text) ? Acad::eOk : Acad::eInvalidInput;
}

// DXF: subclass marker, 70 version, 90 body count, then the text line by line: group 1 starts
// a line, group 3 continues it (a group holds at most 250 characters).
constexpr std::size_t kDxfPiece = 250;

Acad::ErrorStatus writeBodiesDxf(AcDbDxfFiler* filer, const ACHAR* subclass, const SolidBodies& bodies) {
  filer->writeString(AcDb::kDxfSubclass, subclass);
  filer->writeInt16(AcDb::kDxfInt16, static_cast<Adesk::Int16>(kRecordVersion));
  filer->writeInt32(AcDb::kDxfInt32, bodies.bodyCount());
  const std::string text = bodies.toText();
  // Every line, the empty one after a final line break included, so that joining the lines
  // with line breaks gives the text back exactly (its checksum depends on it).
  for (std::size_t start = 0;;) {
    const std::size_t found = text.find('\n', start);
    const std::size_t end = found == std::string::npos ? text.size() : found;
    for (std::size_t at = start; at == start || at < end; at += kDxfPiece) {
      const std::string piece = text.substr(at, std::min(kDxfPiece, end - at));
      const std::wstring wide(piece.begin(), piece.end());
      filer->writeString(at == start ? AcDb::kDxfText : AcDb::kDxfAttributePrompt, wide.c_str());
    }
    if (found == std::string::npos) break;
    start = found + 1;
  }
  return filer->filerStatus();
}

Acad::ErrorStatus readBodiesDxf(AcDbDxfFiler* filer, const ACHAR* subclass, SolidBodies& bodies) {
  if (!filer->atSubclassData(subclass)) return Acad::eBadDxfSequence;
  std::string text;
  bool first = true;
  resbuf rb{};
  while (!filer->atEOF() && !filer->atEndOfObject() && filer->readResBuf(&rb) == Acad::eOk) {
    if (rb.restype == AcDb::kDxfInt16 && rb.resval.rint > static_cast<short>(kRecordVersion)) return Acad::eMakeMeProxy;
    if (rb.restype != AcDb::kDxfText && rb.restype != AcDb::kDxfAttributePrompt) continue;
    if (rb.restype == AcDb::kDxfText && !first) text += '\n';
    first = false;
    for (const ACHAR* c = rb.resval.rstring; c != nullptr && *c != 0; ++c) text += static_cast<char>(*c);
  }
  return bodies.fromText(text) ? Acad::eOk : Acad::eInvalidInput;
}

const SolidMesh& meshOf(const SolidBodies& bodies, std::unique_ptr<SolidMesh>& cache) {
  if (!cache) cache = std::make_unique<SolidMesh>(bodies.mesh());
  return *cache;
}

// Edges as polylines in the wireframe passes; shells in hide, shade and render passes.
void drawMesh(const AcGiCommonDraw& mode, AcGiGeometry& geometry, const SolidMesh& mesh) {
  const AcGiRegenType type = mode.regenType();
  if (type == kAcGiHideOrShadeCommand || type == kAcGiRenderCommand) {
    if (!mesh.faceList.empty())
      geometry.shell(static_cast<Adesk::UInt32>(mesh.vertices.size()), mesh.vertices.data(),
                     static_cast<Adesk::UInt32>(mesh.faceList.size()), mesh.faceList.data());
    return;
  }
  for (const std::vector<AcGePoint3d>& edge : mesh.edges) {
    if (mode.regenAbort()) return;
    geometry.polyline(static_cast<Adesk::UInt32>(edge.size()), edge.data());
  }
}

Acad::ErrorStatus extentsOf(const SolidBodies& bodies, AcDbExtents& extents) {
  const SolidExtents e = bodies.extents();
  if (!e.valid) return Acad::eInvalidExtents;
  extents.set(e.min, e.max);
  return Acad::eOk;
}

}  // namespace

kv_hvacSolid::kv_hvacSolid() = default;
kv_hvacSolid::~kv_hvacSolid() = default;

bool kv_hvacSolid::changed(bool ok) {
  if (ok) {
    mesh_.reset();
    recordGraphicsModified();
  }
  return ok;
}

bool kv_hvacSolid::addTransition(AcGePoint3d start, bool startRect, double startWidth, double startDepth,
                                 AcGePoint3d end, bool endRect, double endWidth, double endDepth,
                                 const AcGeVector3d* startFrame, const AcGeVector3d* endFrame, int) {
  assertWriteEnabled();
  return changed(bodies_.addTransition(start, startRect, startWidth, startDepth, end, endRect, endWidth, endDepth,
                                       startFrame, endFrame));
}

bool kv_hvacSolid::addFlex(AcGePoint3dArray& points, double radius, AcGeVector3d startDir, AcGeVector3d endDir, int) {
  assertWriteEnabled();
  return changed(bodies_.addFlex(points, radius, startDir, endDir));
}

bool kv_hvacSolid::addSquareElbowPrep(AcGePoint3d& start, double inWidth, double inDepth, AcGePoint3d& end,
                                      double outWidth, double outDepth, const AcGeVector3d* inFrame,
                                      const AcGeVector3d* outFrame, bool rect, AModeler::Point3d* inSection,
                                      AModeler::Point3d* outSection, AcGePoint3d* layout, bool withCollar,
                                      double collar) {
  assertReadEnabled();
  return bodies_.addSquareElbowPrep(start, inWidth, inDepth, end, outWidth, outDepth, inFrame, outFrame, rect,
                                    inSection, outSection, layout, withCollar, collar);
}

bool kv_hvacSolid::addSquareElbow(AcGePoint3d start, double inWidth, double inDepth, AcGePoint3d end,
                                  double outWidth, double outDepth, const AcGeVector3d* inFrame,
                                  const AcGeVector3d* outFrame, bool rect, AModeler::Point3d* inSection,
                                  AModeler::Point3d* outSection, AcGePoint3d* layout, int) {
  assertWriteEnabled();
  return changed(bodies_.addSquareElbow(start, inWidth, inDepth, end, outWidth, outDepth, inFrame, outFrame, rect,
                                        inSection, outSection, layout));
}

bool kv_hvacSolid::addRadiusElbow(AcGePoint3d& start, double inWidth, double inDepth, double lining,
                                  double exteriorLining, AcGePoint3d& end, double outWidth, double outDepth,
                                  const AcGeVector3d* inFrame, const AcGeVector3d* outFrame, bool rect, double ratio,
                                  bool, int, bool) {
  assertWriteEnabled();
  return changed(bodies_.addRadiusElbow(start, inWidth, inDepth, lining, exteriorLining, end, outWidth, outDepth,
                                        inFrame, outFrame, rect, ratio));
}

bool kv_hvacSolid::addWyePrep(AcGePoint3d& start, double width, double depth, AcGePoint3d& endB, double widthB,
                              double depthB, AcGePoint3d& endC, double widthC, double depthC,
                              const AcGeVector3d* frame, const AcGeVector3d* frameB, const AcGeVector3d* frameC,
                              bool rect, AModeler::Point3d* sections, AModeler::Point3d* sectionsB,
                              AModeler::Point3d* sectionsC, AcGePoint3d* layout, AcGePoint3d* layoutB,
                              AcGePoint3d* layoutC, bool withCollar, double collar) {
  assertReadEnabled();
  return bodies_.addWyePrep(start, width, depth, endB, widthB, depthB, endC, widthC, depthC, frame, frameB, frameC,
                            rect, sections, sectionsB, sectionsC, layout, layoutB, layoutC, withCollar, collar);
}

bool kv_hvacSolid::addWye(AcGePoint3d start, double width, double depth, AcGePoint3d endB, double widthB,
                          double depthB, AcGePoint3d endC, double widthC, double depthC, AcGePoint3d& junction,
                          const AcGeVector3d* frame, const AcGeVector3d* frameB, const AcGeVector3d* frameC,
                          bool rect, AModeler::Point3d* sections, AModeler::Point3d* sectionsB,
                          AModeler::Point3d* sectionsC, AcGePoint3d* layout, AcGePoint3d* layoutB,
                          AcGePoint3d* layoutC, int) {
  assertWriteEnabled();
  return changed(bodies_.addWye(start, width, depth, endB, widthB, depthB, endC, widthC, depthC, junction, frame,
                                frameB, frameC, rect, sections, sectionsB, sectionsC, layout, layoutB, layoutC));
}

bool kv_hvacSolid::addDiffuser(AcGePoint3d position, AcGePoint3d& connection, DiffuserType type, double width,
                               double length, bool neckRect, double neck1, double neck2, double transitionLength,
                               bool ductRect, double ductWidth, double ductDepth, bool sideConnection, bool upright,
                               const AcGeVector3d* diffuserFrame, const AcGeVector3d* ductFrame, int) {
  assertWriteEnabled();
  return changed(bodies_.addDiffuser(position, connection, type, width, length, neckRect, neck1, neck2,
                                     transitionLength, ductRect, ductWidth, ductDepth, sideConnection, upright,
                                     diffuserFrame, ductFrame));
}

bool kv_hvacSolid::addSidewallDiffuser(AcGePoint3d position, double width, double length,
                                       const AcGeVector3d* ductFrame, int) {
  assertWriteEnabled();
  return changed(bodies_.addSidewallDiffuser(position, width, length, ductFrame));
}

bool kv_hvacSolid::sliceLast(AcGePoint3d p1, AcGePoint3d p2, AcGePoint3d p3, AcGePoint3d keep) {
  assertWriteEnabled();
  return changed(bodies_.sliceLast(p1, p2, p3, keep));
}

bool kv_hvacSolid::sliceFirst(AcGePoint3d p1, AcGePoint3d p2, AcGePoint3d p3, AcGePoint3d keep) {
  assertWriteEnabled();
  return changed(bodies_.sliceFirst(p1, p2, p3, keep));
}

bool kv_hvacSolid::doUnion(kv_hvacSolid* other) {
  assertWriteEnabled();
  if (other == nullptr) return false;
  return changed(bodies_.doUnion(other->bodies_));
}

void kv_hvacSolid::clearBodies() {
  assertWriteEnabled();
  bodies_.clearBodies();
  changed(true);
}

bool kv_hvacSolid::addCableTraySquareRadiusElbow(AcGePoint3d& start, double width, double depth, AcGePoint3d& end,
                                                 const AcGeVector3d* inFrame, const AcGeVector3d* outFrame,
                                                 double ratio, int) {
  assertWriteEnabled();
  return changed(bodies_.addCableTraySquareRadiusElbow(start, width, depth, end, inFrame, outFrame, ratio));
}

const SolidBodies& kv_hvacSolid::bodies() const { return bodies_; }
const std::string& kv_hvacSolid::lastError() const { return bodies_.lastError(); }

Acad::ErrorStatus kv_hvacSolid::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  return es != Acad::eOk ? es : writeBodies(filer, bodies_);
}

Acad::ErrorStatus kv_hvacSolid::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  mesh_.reset();
  return es != Acad::eOk ? es : readBodies(filer, bodies_);
}

Acad::ErrorStatus kv_hvacSolid::dxfOutFields(AcDbDxfFiler* filer) const {
  assertReadEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  return es != Acad::eOk ? es : writeBodiesDxf(filer, L"kv_hvacSolid", bodies_);
}

Acad::ErrorStatus kv_hvacSolid::dxfInFields(AcDbDxfFiler* filer) {
  assertWriteEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  mesh_.reset();
  return es != Acad::eOk ? es : readBodiesDxf(filer, L"kv_hvacSolid", bodies_);
}

Adesk::Boolean kv_hvacSolid::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  drawMesh(*mode, mode->geometry(), meshOf(bodies_, mesh_));
  return true;
}

void kv_hvacSolid::subViewportDraw(AcGiViewportDraw* mode) {
  assertReadEnabled();
  drawMesh(*mode, mode->geometry(), meshOf(bodies_, mesh_));
}

Acad::ErrorStatus kv_hvacSolid::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  return changed(bodies_.transformBy(xform)) ? Acad::eOk : Acad::eInvalidInput;
}

Acad::ErrorStatus kv_hvacSolid::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  return extentsOf(bodies_, extents);
}

Acad::ErrorStatus kv_hvacSolid::subExplode(AcDbVoidPtrArray& entitySet) const {
  assertReadEnabled();
  for (SolidBodies& face : bodies_.explodeFaces()) {
    auto* entity = new kv_hvacFace(std::move(face));
    entity->setPropertiesFrom(this);
    entitySet.append(entity);
  }
  return Acad::eOk;
}

kv_hvacFace::kv_hvacFace() = default;
kv_hvacFace::kv_hvacFace(SolidBodies face) : face_(std::move(face)) {}
kv_hvacFace::~kv_hvacFace() = default;

const SolidBodies& kv_hvacFace::bodies() const { return face_; }

Acad::ErrorStatus kv_hvacFace::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  return es != Acad::eOk ? es : writeBodies(filer, face_);
}

Acad::ErrorStatus kv_hvacFace::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  mesh_.reset();
  return es != Acad::eOk ? es : readBodies(filer, face_);
}

Acad::ErrorStatus kv_hvacFace::dxfOutFields(AcDbDxfFiler* filer) const {
  assertReadEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  return es != Acad::eOk ? es : writeBodiesDxf(filer, L"kv_hvacFace", face_);
}

Acad::ErrorStatus kv_hvacFace::dxfInFields(AcDbDxfFiler* filer) {
  assertWriteEnabled();
  const Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  mesh_.reset();
  return es != Acad::eOk ? es : readBodiesDxf(filer, L"kv_hvacFace", face_);
}

Adesk::Boolean kv_hvacFace::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  drawMesh(*mode, mode->geometry(), meshOf(face_, mesh_));
  return true;
}

void kv_hvacFace::subViewportDraw(AcGiViewportDraw* mode) {
  assertReadEnabled();
  drawMesh(*mode, mode->geometry(), meshOf(face_, mesh_));
}

Acad::ErrorStatus kv_hvacFace::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  if (!face_.transformBy(xform)) return Acad::eInvalidInput;
  mesh_.reset();
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus kv_hvacFace::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  return extentsOf(face_, extents);
}
