// Block references, leaders, and the proxies that keep objects whose class cannot read them.
#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbBlockReference, AcDbEntity, L"INSERT", []() -> AcRxObject* { return new AcDbBlockReference; })
KV_DB_DEFINE_CLASS(AcDbLeader, AcDbCurve, L"LEADER", []() -> AcRxObject* { return new AcDbLeader; })
KV_DB_DEFINE_CLASS(AcDbProxyObject, AcDbObject, L"ACAD_PROXY_OBJECT", nullptr)
KV_DB_DEFINE_CLASS(AcDbProxyEntity, AcDbEntity, L"ACAD_PROXY_ENTITY", nullptr)

// ---- block reference ----

AcDbBlockReference::AcDbBlockReference() = default;
AcDbBlockReference::AcDbBlockReference(const AcGePoint3d& position, AcDbObjectId blockTableRec)
    : block_(blockTableRec), position_(position) {}

AcDbObjectId AcDbBlockReference::blockTableRecord() const { assertReadEnabled(); return block_; }
Acad::ErrorStatus AcDbBlockReference::setBlockTableRecord(AcDbObjectId id) {
  assertWriteEnabled();
  block_ = id;
  recordGraphicsModified();
  return Acad::eOk;
}
AcGePoint3d AcDbBlockReference::position() const { assertReadEnabled(); return position_; }
Acad::ErrorStatus AcDbBlockReference::setPosition(const AcGePoint3d& p) {
  assertWriteEnabled();
  position_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}
double AcDbBlockReference::rotation() const { assertReadEnabled(); return rotation_; }
Acad::ErrorStatus AcDbBlockReference::setRotation(double angle) {
  assertWriteEnabled();
  rotation_ = angle;
  recordGraphicsModified();
  return Acad::eOk;
}
AcGeScale3d AcDbBlockReference::scaleFactors() const { assertReadEnabled(); return scale_; }
Acad::ErrorStatus AcDbBlockReference::setScaleFactors(const AcGeScale3d& scale) {
  if (scale.sx == 0 || scale.sy == 0 || scale.sz == 0) return Acad::eInvalidInput;
  assertWriteEnabled();
  scale_ = scale;
  recordGraphicsModified();
  return Acad::eOk;
}
AcGeVector3d AcDbBlockReference::normal() const { assertReadEnabled(); return normal_; }
Acad::ErrorStatus AcDbBlockReference::setNormal(const AcGeVector3d& n) {
  if (n.isZeroLength()) return Acad::eInvalidInput;
  assertWriteEnabled();
  normal_ = n.normal();
  return Acad::eOk;
}

// Block coordinates: less the block's origin, scaled, rotated about the normal, moved.
AcGeMatrix3d AcDbBlockReference::blockTransform() const {
  AcGePoint3d origin;
  if (auto* btr = AcDbBlockTableRecord::cast(kvdb::objectOf(block_))) origin = btr->origin();
  AcGeMatrix3d m = AcGeMatrix3d::translation(position_.asVector()) * AcGeMatrix3d::planeToWorld(normal_) *
                   AcGeMatrix3d::rotation(rotation_, AcGeVector3d::kZAxis) * AcGeMatrix3d::scaling(scale_) *
                   AcGeMatrix3d::translation(-origin.asVector());
  if (normal_.isEqualTo(AcGeVector3d::kZAxis))
    m = AcGeMatrix3d::translation(position_.asVector()) * AcGeMatrix3d::rotation(rotation_, AcGeVector3d::kZAxis) *
        AcGeMatrix3d::scaling(scale_) * AcGeMatrix3d::translation(-origin.asVector());
  return m;
}

namespace {
// Entities of the referenced block, for drawing and exploding; empty for a missing block.
std::vector<AcDbEntity*> blockEntities(AcDbObjectId block) {
  std::vector<AcDbEntity*> out;
  auto* btr = AcDbBlockTableRecord::cast(kvdb::objectOf(block));
  if (btr == nullptr) return out;
  for (AcDbObjectId id : kvdb::liveEntities(btr))
    if (auto* e = AcDbEntity::cast(kvdb::objectOf(id))) out.push_back(e);
  return out;
}
}  // namespace

Adesk::Boolean AcDbBlockReference::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  mode->geometry().pushModelTransform(blockTransform());
  for (AcDbEntity* e : blockEntities(block_)) {
    kvdb::ReadScope open(e);
    mode->geometry().draw(e);
  }
  mode->geometry().popModelTransform();
  for (const auto& a : attributes_) mode->geometry().draw(a.get());
  return true;
}

Acad::ErrorStatus AcDbBlockReference::appendAttribute(AcDbAttribute* attribute) {
  if (attribute == nullptr) return Acad::eNullObjectPointer;
  assertWriteEnabled();
  attributes_.emplace_back(attribute);
  recordGraphicsModified();
  return Acad::eOk;
}

int AcDbBlockReference::attributeCount() const { return static_cast<int>(attributes_.size()); }

const AcDbAttribute* AcDbBlockReference::attributeAt(int i) const {
  return i >= 0 && i < attributeCount() ? attributes_[static_cast<std::size_t>(i)].get() : nullptr;
}

void AcDbBlockReference::subList() const {
  AcDbEntity::subList();
  auto* btr = AcDbSymbolTableRecord::cast(kvdb::objectOf(block_));
  acutPrintf(L"                  Block Name: \"%s\"\n", btr ? btr->getName() : L"");
  acutPrintf(L"                   at point, X=%10.4f  Y=%10.4f  Z=%10.4f\n", position_.x, position_.y, position_.z);
}

Acad::ErrorStatus AcDbBlockReference::subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker, const AcGePoint3d&,
                                                        const AcGePoint3d&, const AcGeMatrix3d&,
                                                        AcGePoint3dArray& snapPoints, AcDbIntArray&) const {
  if (osnapMode == AcDb::kOsModeIns) snapPoints.append(position_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockReference::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  gripPoints.append(position_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockReference::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  return indices.contains(0) ? setPosition(position_ + offset) : Acad::eOk;
}

Acad::ErrorStatus AcDbBlockReference::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  AcGeVector3d x = AcGeMatrix3d::planeToWorld(normal_) * AcGeVector3d(std::cos(rotation_), std::sin(rotation_), 0);
  position_.transformBy(xform);
  AcGeVector3d nx = xform * x;
  double s = nx.length();
  normal_ = (xform * normal_).normal();
  AcGeVector3d local = AcGeMatrix3d::worldToPlane(normal_) * nx;
  rotation_ = std::atan2(local.y, local.x);
  scale_ = AcGeScale3d(scale_.sx * s, scale_.sy * s, scale_.sz * s);
  for (auto& a : attributes_) a->transformBy(xform);
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockReference::subExplode(AcDbVoidPtrArray& entitySet) const {
  assertReadEnabled();
  AcGeMatrix3d m = blockTransform();
  for (AcDbEntity* e : blockEntities(block_)) {
    kvdb::ReadScope open(e);
    AcDbEntity* copy = nullptr;
    if (e->getTransformedCopy(m, copy) == Acad::eOk && copy != nullptr) entitySet.append(copy);
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockReference::subGetGeomExtents(AcDbExtents& extents) const {
  assertReadEnabled();
  AcGeMatrix3d m = blockTransform();
  bool any = false;
  for (AcDbEntity* e : blockEntities(block_)) {
    kvdb::ReadScope open(e);
    AcDbExtents ext;
    if (e->getGeomExtents(ext) != Acad::eOk) continue;
    ext.transformBy(m);
    extents.addExt(ext);
    any = true;
  }
  for (const auto& a : attributes_) {
    AcDbExtents ext;
    if (a->getGeomExtents(ext) == Acad::eOk) extents.addExt(ext), any = true;
  }
  if (!any) extents.addPoint(position_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockReference::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeHardPointerId(block_);
  filer->writePoint3d(position_);
  filer->writeDouble(rotation_);
  filer->writeScale3d(scale_);
  filer->writeVector3d(normal_);
  filer->writeInt32(static_cast<Adesk::Int32>(attributes_.size()));
  for (const auto& a : attributes_) a->dwgOutFields(filer);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbBlockReference::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  AcDbHardPointerId block;
  es = filer->readHardPointerId(&block);
  if (es == Acad::eUnknownHandle) filer->resetFilerStatus();
  block_ = block;
  filer->readPoint3d(&position_);
  filer->readDouble(&rotation_);
  filer->readScale3d(&scale_);
  filer->readVector3d(&normal_);
  // Drawings filed before inserts carried attributes end here.
  Adesk::Int32 count = 0;
  if (filer->readInt32(&count) == Acad::eEndOfFile) {
    filer->resetFilerStatus();
    count = 0;
  }
  attributes_.clear();
  for (Adesk::Int32 i = 0; i < count && filer->filerStatus() == Acad::eOk; ++i) {
    auto a = std::make_unique<AcDbAttribute>();
    if (a->dwgInFields(filer) != Acad::eOk) break;
    attributes_.push_back(std::move(a));
  }
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbBlockReference::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbBlockReference");
  // The attributes follow the insert in the file, announced here.
  if (!attributes_.empty()) filer->writeInt16(static_cast<AcDb::DxfCode>(66), 1);
  auto* btr = AcDbSymbolTableRecord::cast(kvdb::objectOf(block_));
  filer->writeString(AcDb::kDxfBlockName, btr ? btr->getName() : L"");
  filer->writePoint3d(AcDb::kDxfXCoord, position_);
  if (scale_.sx != 1.0) filer->writeDouble(AcDb::kDxfTxtStyleXScale, scale_.sx);
  if (scale_.sy != 1.0) filer->writeDouble(AcDb::kDxfTxtStylePSize, scale_.sy);
  if (scale_.sz != 1.0) filer->writeDouble(static_cast<AcDb::DxfCode>(43), scale_.sz);
  if (rotation_ != 0.0) filer->writeDouble(AcDb::kDxfAngle, rotation_ * 180.0 / 3.14159265358979323846);
  if (!normal_.isEqualTo(AcGeVector3d::kZAxis)) filer->writeVector3d(AcDb::kDxfNormalX, normal_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbBlockReference::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbBlockReference")) return Acad::eBadDxfSequence;
  resbuf rb;
  AcDbDatabase* db = filer->database();
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    const double* p = rb.resval.rpoint;
    switch (rb.restype) {
      case 2:
        if (db != nullptr) {
          AcDbBlockTable* t = nullptr;
          if (db->getBlockTable(t, AcDb::kForRead) == Acad::eOk) {
            block_ = t->getIdAt(rb.resval.rstring);
            t->close();
          }
        }
        break;
      case 10: position_.set(p[0], p[1], p[2]); break;
      case 41: scale_.sx = rb.resval.rreal; break;
      case 42: scale_.sy = rb.resval.rreal; break;
      case 43: scale_.sz = rb.resval.rreal; break;
      case 50: rotation_ = rb.resval.rreal * 3.14159265358979323846 / 180.0; break;
      case 210: normal_.set(p[0], p[1], p[2]); break;
      default: break;
    }
  }
  return filer->filerStatus();
}

// ---- leader ----

AcDbLeader::AcDbLeader() = default;
int AcDbLeader::numVertices() const { assertReadEnabled(); return static_cast<int>(vertices_.size()); }
AcGePoint3d AcDbLeader::vertexAt(int index) const {
  assertReadEnabled();
  return index >= 0 && static_cast<std::size_t>(index) < vertices_.size() ? vertices_[static_cast<std::size_t>(index)] : AcGePoint3d();
}
Adesk::Boolean AcDbLeader::appendVertex(const AcGePoint3d& p) {
  assertWriteEnabled();
  vertices_.push_back(p);
  return true;
}
Adesk::Boolean AcDbLeader::setVertexAt(int index, const AcGePoint3d& p) {
  assertWriteEnabled();
  if (index < 0 || static_cast<std::size_t>(index) >= vertices_.size()) return false;
  vertices_[static_cast<std::size_t>(index)] = p;
  return true;
}
void AcDbLeader::removeLastVertex() {
  assertWriteEnabled();
  if (!vertices_.empty()) vertices_.pop_back();
}
Acad::ErrorStatus AcDbLeader::getStartPoint(AcGePoint3d& point) const {
  if (vertices_.empty()) return Acad::eInvalidInput;
  point = vertices_.front();
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLeader::getEndPoint(AcGePoint3d& point) const {
  if (vertices_.empty()) return Acad::eInvalidInput;
  point = vertices_.back();
  return Acad::eOk;
}
Adesk::Boolean AcDbLeader::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  if (vertices_.size() >= 2) mode->geometry().polyline(static_cast<Adesk::UInt32>(vertices_.size()), vertices_.data());
  return true;
}
Acad::ErrorStatus AcDbLeader::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  for (auto& v : vertices_) v.transformBy(xform);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLeader::subGetGeomExtents(AcDbExtents& extents) const {
  if (vertices_.empty()) return Acad::eInvalidExtents;
  for (const auto& v : vertices_) extents.addPoint(v);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLeader::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeUInt32(static_cast<Adesk::UInt32>(vertices_.size()));
  for (const auto& v : vertices_) filer->writePoint3d(v);
  return filer->filerStatus();
}
Acad::ErrorStatus AcDbLeader::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  Adesk::UInt32 n = 0;
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  vertices_.clear();
  for (Adesk::UInt32 i = 0; i < n && filer->filerStatus() == Acad::eOk; ++i) {
    AcGePoint3d p;
    filer->readPoint3d(&p);
    vertices_.push_back(p);
  }
  return filer->filerStatus();
}
Acad::ErrorStatus AcDbLeader::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbLeader");
  filer->writeString(AcDb::kDxfDimStyleName, L"Standard");
  filer->writeInt16(static_cast<AcDb::DxfCode>(76), static_cast<Adesk::Int16>(vertices_.size()));
  for (const auto& v : vertices_) filer->writePoint3d(AcDb::kDxfXCoord, v);
  return filer->filerStatus();
}
Acad::ErrorStatus AcDbLeader::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbLeader")) return Acad::eBadDxfSequence;
  vertices_.clear();
  resbuf rb;
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk)
    if (rb.restype == 10) vertices_.push_back(AcGePoint3d(rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]));
  return filer->filerStatus();
}

// ---- proxies ----

namespace {
// The bytes the filer holds from here to the end of the object's record.
Acad::ErrorStatus takeRest(AcDbDwgFiler* filer, std::vector<unsigned char>& data) {
  auto* mem = dynamic_cast<AcDbDwgMemoryFiler*>(filer);
  if (mem == nullptr) return Acad::eNotApplicable;
  data.resize(mem->remaining());
  return data.empty() ? Acad::eOk : filer->readBytes(data.data(), data.size());
}
}  // namespace

AcDbProxyObject::AcDbProxyObject() = default;
const ACHAR* AcDbProxyObject::originalClassName() const { return className_.c_str(); }
const ACHAR* AcDbProxyObject::originalDxfName() const { return dxfName_.c_str(); }
void AcDbProxyObject::setOriginal(const std::wstring& className, const std::wstring& dxfName) {
  className_ = className, dxfName_ = dxfName;
}
Acad::ErrorStatus AcDbProxyObject::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbObject::dwgInFields(filer);
  return es != Acad::eOk ? es : takeRest(filer, data_);
}
Acad::ErrorStatus AcDbProxyObject::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbObject::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  return data_.empty() ? filer->filerStatus() : filer->writeBytes(data_.data(), data_.size());
}

AcDbProxyEntity::AcDbProxyEntity() = default;
const ACHAR* AcDbProxyEntity::originalClassName() const { return className_.c_str(); }
const ACHAR* AcDbProxyEntity::originalDxfName() const { return dxfName_.c_str(); }
void AcDbProxyEntity::setOriginal(const std::wstring& className, const std::wstring& dxfName) {
  className_ = className, dxfName_ = dxfName;
}
Acad::ErrorStatus AcDbProxyEntity::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  return es != Acad::eOk ? es : takeRest(filer, data_);
}
Acad::ErrorStatus AcDbProxyEntity::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  return data_.empty() ? filer->filerStatus() : filer->writeBytes(data_.data(), data_.size());
}
Adesk::Boolean AcDbProxyEntity::subWorldDraw(AcGiWorldDraw* mode) {
  for (const auto& line : graphics_)
    if (line.size() >= 2) mode->geometry().polyline(static_cast<Adesk::UInt32>(line.size()), line.data());
  return true;
}
Acad::ErrorStatus AcDbProxyEntity::subGetGeomExtents(AcDbExtents& extents) const {
  if (graphics_.empty()) return Acad::eInvalidExtents;
  for (const auto& line : graphics_)
    for (const auto& p : line) extents.addPoint(p);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbProxyEntity::subExplode(AcDbVoidPtrArray&) const { return Acad::eNotApplicable; }
