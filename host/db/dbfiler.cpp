// The memory filers (binary and group-coded) and the object-level filing entry points.
#include <cstdarg>
#include <cstdio>

#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbDwgFiler, AcRxObject, L"", nullptr)
KV_DB_DEFINE_CLASS(AcDbDxfFiler, AcRxObject, L"", nullptr)

// ---- binary memory filer ----

AcDbDwgMemoryFiler::AcDbDwgMemoryFiler(AcDbDatabase* db, AcDb::FilerType type) : impl_(new Impl) {
  impl_->db = db;
  impl_->type = type;
}
AcDbDwgMemoryFiler::~AcDbDwgMemoryFiler() = default;
AcRxClass* AcDbDwgMemoryFiler::isA() const { return AcDbDwgFiler::desc(); }
void AcDbDwgMemoryFiler::rewind() {
  impl_->pos = 0;
  impl_->status = Acad::eOk;
}
const std::vector<unsigned char>& AcDbDwgMemoryFiler::buffer() const { return impl_->bytes; }
void AcDbDwgMemoryFiler::setBuffer(std::vector<unsigned char> bytes) {
  impl_->bytes = std::move(bytes);
  rewind();
}
std::size_t AcDbDwgMemoryFiler::position() const { return impl_->pos; }
std::size_t AcDbDwgMemoryFiler::remaining() const {
  std::size_t end = std::min(impl_->limit, impl_->bytes.size());
  return impl_->pos < end ? end - impl_->pos : 0;
}
void AcDbDwgMemoryFiler::setCreateIdsOnRead(bool create) { impl_->createIds = create; }
void AcDbDwgMemoryFiler::setIdMap(std::function<AcDbObjectId(Adesk::UInt64)> map) { impl_->idMap = std::move(map); }
Acad::ErrorStatus AcDbDwgMemoryFiler::filerStatus() const { return impl_->status; }
AcDb::FilerType AcDbDwgMemoryFiler::filerType() const { return impl_->type; }
void AcDbDwgMemoryFiler::setFilerStatus(Acad::ErrorStatus es) { impl_->status = es; }
void AcDbDwgMemoryFiler::resetFilerStatus() { impl_->status = Acad::eOk; }
AcDbDatabase* AcDbDwgMemoryFiler::database() const { return impl_->db; }

namespace {

template <class T>
Acad::ErrorStatus put(AcDbDwgMemoryFiler::Impl& f, const T& v) {
  if (f.status != Acad::eOk) return f.status;
  kvdb::putBytes(f.bytes, &v, sizeof v);
  return Acad::eOk;
}

template <class T>
Acad::ErrorStatus get(AcDbDwgMemoryFiler::Impl& f, T* v) {
  if (f.status != Acad::eOk) return f.status;
  std::size_t end = std::min(f.limit, f.bytes.size());
  if (f.pos + sizeof(T) > end) return f.status = Acad::eEndOfFile;
  std::memcpy(v, f.bytes.data() + f.pos, sizeof(T));
  f.pos += sizeof(T);
  return Acad::eOk;
}

Acad::ErrorStatus putId(AcDbDwgMemoryFiler::Impl& f, const AcDbObjectId& id) {
  Adesk::UInt64 h = id.isNull() ? 0 : id.handle().value();
  return put(f, h);
}

Acad::ErrorStatus getId(AcDbDwgMemoryFiler::Impl& f, AcDbObjectId* id) {
  Adesk::UInt64 h = 0;
  if (get(f, &h) != Acad::eOk) return f.status;
  *id = AcDbObjectId();
  if (h == 0) return Acad::eOk;
  if (f.idMap) {
    *id = f.idMap(h);
    return id->isNull() ? Acad::eUnknownHandle : Acad::eOk;
  }
  if (f.db == nullptr) return Acad::eUnknownHandle;
  if (f.db->getAcDbObjectId(*id, f.createIds, AcDbHandle(h)) != Acad::eOk) return Acad::eUnknownHandle;
  return Acad::eOk;
}

}  // namespace

#define KV_FILER_RW(NAME, TYPE)                                                                  \
  Acad::ErrorStatus AcDbDwgMemoryFiler::read##NAME(TYPE* pVal) { return get(*impl_, pVal); }     \
  Acad::ErrorStatus AcDbDwgMemoryFiler::write##NAME(TYPE val) { return put(*impl_, val); }
KV_FILER_RW(Int8, Adesk::Int8)
KV_FILER_RW(Int16, Adesk::Int16)
KV_FILER_RW(Int32, Adesk::Int32)
KV_FILER_RW(Int64, Adesk::Int64)
KV_FILER_RW(UInt8, Adesk::UInt8)
KV_FILER_RW(UInt16, Adesk::UInt16)
KV_FILER_RW(UInt32, Adesk::UInt32)
KV_FILER_RW(UInt64, Adesk::UInt64)
KV_FILER_RW(Double, double)
#undef KV_FILER_RW

#define KV_FILER_RW_REF(NAME, TYPE)                                                                  \
  Acad::ErrorStatus AcDbDwgMemoryFiler::read##NAME(TYPE* pVal) { return get(*impl_, pVal); }         \
  Acad::ErrorStatus AcDbDwgMemoryFiler::write##NAME(const TYPE& val) { return put(*impl_, val); }
KV_FILER_RW_REF(Point2d, AcGePoint2d)
KV_FILER_RW_REF(Point3d, AcGePoint3d)
KV_FILER_RW_REF(Vector2d, AcGeVector2d)
KV_FILER_RW_REF(Vector3d, AcGeVector3d)
KV_FILER_RW_REF(Scale3d, AcGeScale3d)
#undef KV_FILER_RW_REF

Acad::ErrorStatus AcDbDwgMemoryFiler::readBool(Adesk::Boolean* pVal) {
  Adesk::UInt8 b = 0;
  if (get(*impl_, &b) != Acad::eOk) return impl_->status;
  *pVal = b != 0;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbDwgMemoryFiler::writeBool(Adesk::Boolean val) { return put(*impl_, Adesk::UInt8(val ? 1 : 0)); }

Acad::ErrorStatus AcDbDwgMemoryFiler::readHandle(AcDbHandle* pVal) {
  Adesk::UInt64 h = 0;
  if (get(*impl_, &h) != Acad::eOk) return impl_->status;
  *pVal = AcDbHandle(h);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbDwgMemoryFiler::writeHandle(const AcDbHandle& val) { return put(*impl_, val.value()); }

#define KV_FILER_ID(NAME, TYPE)                                                                       \
  Acad::ErrorStatus AcDbDwgMemoryFiler::read##NAME(TYPE* pVal) {                                      \
    AcDbObjectId id;                                                                                  \
    Acad::ErrorStatus es = getId(*impl_, &id);                                                        \
    *pVal = id;                                                                                       \
    return es;                                                                                        \
  }                                                                                                   \
  Acad::ErrorStatus AcDbDwgMemoryFiler::write##NAME(const TYPE& val) { return putId(*impl_, val); }
KV_FILER_ID(HardOwnershipId, AcDbHardOwnershipId)
KV_FILER_ID(SoftOwnershipId, AcDbSoftOwnershipId)
KV_FILER_ID(HardPointerId, AcDbHardPointerId)
KV_FILER_ID(SoftPointerId, AcDbSoftPointerId)
#undef KV_FILER_ID

Acad::ErrorStatus AcDbDwgMemoryFiler::writeString(const std::wstring& val) {
  std::string utf8 = acrxToUtf8(val);
  if (put(*impl_, static_cast<Adesk::UInt32>(utf8.size())) != Acad::eOk) return impl_->status;
  kvdb::putBytes(impl_->bytes, utf8.data(), utf8.size());
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDwgMemoryFiler::writeString(const ACHAR* pVal) { return writeString(std::wstring(pVal ? pVal : L"")); }

Acad::ErrorStatus AcDbDwgMemoryFiler::readString(std::wstring& val) {
  Adesk::UInt32 n = 0;
  if (get(*impl_, &n) != Acad::eOk) return impl_->status;
  if (n > remaining()) return impl_->status = Acad::eEndOfFile;
  val = acrxFromUtf8(std::string(reinterpret_cast<const char*>(impl_->bytes.data() + impl_->pos), n));
  impl_->pos += n;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDwgMemoryFiler::readString(ACHAR** pVal) {
  std::wstring s;
  Acad::ErrorStatus es = readString(s);
  *pVal = es == Acad::eOk ? kvdb::dupWide(s) : nullptr;
  return es;
}

Acad::ErrorStatus AcDbDwgMemoryFiler::readBytes(void* pDest, Adesk::UIntPtr nBytes) {
  if (impl_->status != Acad::eOk) return impl_->status;
  if (nBytes > remaining()) return impl_->status = Acad::eEndOfFile;
  // An empty record's buffer has no address, and memcpy must not see a null pointer even for 0.
  if (nBytes == 0) return Acad::eOk;
  std::memcpy(pDest, impl_->bytes.data() + impl_->pos, nBytes);
  impl_->pos += nBytes;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDwgMemoryFiler::writeBytes(const void* pSrc, Adesk::UIntPtr nBytes) {
  if (impl_->status != Acad::eOk) return impl_->status;
  kvdb::putBytes(impl_->bytes, pSrc, nBytes);
  return Acad::eOk;
}

// ---- group-coded memory filer ----

struct AcDbDxfMemoryFiler::Impl {
  AcDbDatabase* db = nullptr;
  AcDb::FilerType type = AcDb::kFileFiler;
  Acad::ErrorStatus status = Acad::eOk;
  std::vector<Group> groups;
  std::size_t pos = 0;
  bool canPushBack = false;
  Acad::ErrorStatus add(Group g) {
    if (status != Acad::eOk) return status;
    groups.push_back(std::move(g));
    return Acad::eOk;
  }
};

AcDbDxfMemoryFiler::AcDbDxfMemoryFiler(AcDbDatabase* db, AcDb::FilerType type) : impl_(new Impl) {
  impl_->db = db;
  impl_->type = type;
}
AcDbDxfMemoryFiler::~AcDbDxfMemoryFiler() = default;
AcRxClass* AcDbDxfMemoryFiler::isA() const { return AcDbDxfFiler::desc(); }
void AcDbDxfMemoryFiler::rewind() {
  impl_->pos = 0;
  impl_->status = Acad::eOk;
  impl_->canPushBack = false;
}
std::vector<AcDbDxfMemoryFiler::Group>& AcDbDxfMemoryFiler::groups() { return impl_->groups; }
const std::vector<AcDbDxfMemoryFiler::Group>& AcDbDxfMemoryFiler::groups() const { return impl_->groups; }
Acad::ErrorStatus AcDbDxfMemoryFiler::filerStatus() const { return impl_->status; }
AcDb::FilerType AcDbDxfMemoryFiler::filerType() const { return impl_->type; }
void AcDbDxfMemoryFiler::setFilerStatus(Acad::ErrorStatus es) { impl_->status = es; }
void AcDbDxfMemoryFiler::resetFilerStatus() { impl_->status = Acad::eOk; }
AcDbDatabase* AcDbDxfMemoryFiler::database() const { return impl_->db; }

Acad::ErrorStatus AcDbDxfFiler::setError(Acad::ErrorStatus es, const ACHAR* errMsg, ...) {
  va_list args;
  va_start(args, errMsg);
  std::string text = acrxToUtf8(acrxFormat(errMsg, args));
  va_end(args);
  std::fprintf(stderr, "kvhost: DXF: %s\n", text.c_str());
  setFilerStatus(es);
  return es;
}

Acad::ErrorStatus AcDbDxfMemoryFiler::readResBuf(resbuf* pRb) {
  if (impl_->status != Acad::eOk) return impl_->status;
  if (impl_->pos >= impl_->groups.size()) return Acad::eEndOfObject;
  Group& g = impl_->groups[impl_->pos++];
  impl_->canPushBack = true;
  pRb->rbnext = nullptr;
  pRb->restype = g.code;
  switch (kvads::dxfValueKind(g.code)) {
    case kvads::DxfKind::String: pRb->resval.rstring = g.text.data(); break;
    case kvads::DxfKind::Point:
      for (int i = 0; i < 3; ++i) pRb->resval.rpoint[i] = g.values[i];
      break;
    case kvads::DxfKind::Real: pRb->resval.rreal = g.values[0]; break;
    case kvads::DxfKind::Short: pRb->resval.rint = static_cast<short>(g.integer); break;
    case kvads::DxfKind::Long: pRb->resval.rlong = static_cast<Adesk::Int32>(g.integer); break;
    case kvads::DxfKind::Int64: pRb->resval.mnInt64 = g.integer; break;
    case kvads::DxfKind::Name: {
      AcDbObjectId id;
      if (impl_->db != nullptr) impl_->db->getAcDbObjectId(id, false, AcDbHandle(g.text.c_str()));
      pRb->resval.rlname[0] = pRb->resval.rlname[1] = 0;
      if (!id.isNull()) acdbGetAdsName(pRb->resval.rlname, id);
      break;
    }
    case kvads::DxfKind::Invalid: return impl_->status = Acad::eInvalidDxfCode;
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDxfMemoryFiler::writeResBuf(const resbuf& rb) {
  Group g;
  g.code = rb.restype;
  switch (kvads::dxfValueKind(rb.restype)) {
    case kvads::DxfKind::String: g.text = rb.resval.rstring ? rb.resval.rstring : L""; break;
    case kvads::DxfKind::Point:
      for (int i = 0; i < 3; ++i) g.values[i] = rb.resval.rpoint[i];
      break;
    case kvads::DxfKind::Real: g.values[0] = rb.resval.rreal; break;
    case kvads::DxfKind::Short: g.integer = rb.resval.rint; break;
    case kvads::DxfKind::Long: g.integer = rb.resval.rlong; break;
    case kvads::DxfKind::Int64: g.integer = rb.resval.mnInt64; break;
    case kvads::DxfKind::Name: {
      AcDbObjectId id;
      acdbGetObjectId(id, rb.resval.rlname);
      return writeObjectId(static_cast<AcDb::DxfCode>(rb.restype), id);
    }
    case kvads::DxfKind::Invalid: return impl_->status = Acad::eInvalidDxfCode;
  }
  return impl_->add(std::move(g));
}

Acad::ErrorStatus AcDbDxfMemoryFiler::pushBackItem() {
  if (!impl_->canPushBack || impl_->pos == 0) return Acad::eInvalidInput;
  --impl_->pos;
  impl_->canPushBack = false;
  return Acad::eOk;
}

bool AcDbDxfMemoryFiler::atEOF() { return impl_->pos >= impl_->groups.size(); }
bool AcDbDxfMemoryFiler::atEndOfObject() { return atEOF(); }
bool AcDbDxfMemoryFiler::atExtendedData() { return !atEOF() && impl_->groups[impl_->pos].code >= 1000; }

bool AcDbDxfMemoryFiler::atSubclassData(const ACHAR* subClassName) {
  if (atEOF() || subClassName == nullptr) return false;
  const Group& g = impl_->groups[impl_->pos];
  if (g.code != AcDb::kDxfSubclass || g.text != subClassName) return false;
  ++impl_->pos;
  impl_->canPushBack = false;
  return true;
}

Acad::ErrorStatus AcDbDxfMemoryFiler::writeObjectId(AcDb::DxfCode code, const AcDbObjectId& id) {
  Group g;
  g.code = static_cast<short>(code);
  ACHAR buf[24] = L"0";
  if (!id.isNull()) id.handle().getIntoAsciiBuffer(buf, 24);
  g.text = buf;
  return impl_->add(std::move(g));
}

Acad::ErrorStatus AcDbDxfMemoryFiler::writeString(AcDb::DxfCode code, const ACHAR* pVal) {
  Group g;
  g.code = static_cast<short>(code);
  g.text = pVal ? pVal : L"";
  return impl_->add(std::move(g));
}

namespace {
AcDbDxfMemoryFiler::Group intGroup(AcDb::DxfCode code, Adesk::Int64 v) {
  AcDbDxfMemoryFiler::Group g;
  g.code = static_cast<short>(code);
  g.integer = v;
  return g;
}
AcDbDxfMemoryFiler::Group realGroup(AcDb::DxfCode code, double x, double y = 0, double z = 0) {
  AcDbDxfMemoryFiler::Group g;
  g.code = static_cast<short>(code);
  g.values[0] = x, g.values[1] = y, g.values[2] = z;
  return g;
}
}  // namespace

Acad::ErrorStatus AcDbDxfMemoryFiler::writeBool(AcDb::DxfCode code, bool val) { return impl_->add(intGroup(code, val ? 1 : 0)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeInt8(AcDb::DxfCode code, Adesk::Int8 val) { return impl_->add(intGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeInt16(AcDb::DxfCode code, Adesk::Int16 val) { return impl_->add(intGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeInt32(AcDb::DxfCode code, Adesk::Int32 val) { return impl_->add(intGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeInt64(AcDb::DxfCode code, Adesk::Int64 val) { return impl_->add(intGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeUInt16(AcDb::DxfCode code, Adesk::UInt16 val) { return impl_->add(intGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeUInt32(AcDb::DxfCode code, Adesk::UInt32 val) { return impl_->add(intGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeDouble(AcDb::DxfCode code, double val, int) { return impl_->add(realGroup(code, val)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writePoint2d(AcDb::DxfCode code, const AcGePoint2d& v, int) {
  auto g = realGroup(code, v.x, v.y);
  g.integer = 2;  // written without Z
  return impl_->add(g);
}
Acad::ErrorStatus AcDbDxfMemoryFiler::writePoint3d(AcDb::DxfCode code, const AcGePoint3d& v, int) { return impl_->add(realGroup(code, v.x, v.y, v.z)); }
Acad::ErrorStatus AcDbDxfMemoryFiler::writeVector3d(AcDb::DxfCode code, const AcGeVector3d& v, int) { return impl_->add(realGroup(code, v.x, v.y, v.z)); }

// ---- object-level filing ----

Acad::ErrorStatus AcDbObject::dwgOut(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = dwgOutFields(filer);
  return es != Acad::eOk ? es : filer->filerStatus();
}

Acad::ErrorStatus AcDbObject::dwgIn(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = dwgInFields(filer);
  return es != Acad::eOk ? es : filer->filerStatus();
}

Acad::ErrorStatus AcDbObject::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  filer->writeSoftPointerId(owner_);
  filer->writeUInt32(static_cast<Adesk::UInt32>(xdata_.size()));
  for (const XDataItem& it : xdata_) {
    filer->writeInt16(it.code);
    switch (kvads::dxfValueKind(it.code)) {
      case kvads::DxfKind::String: filer->writeString(it.text); break;
      case kvads::DxfKind::Point: filer->writePoint3d(AcGePoint3d(it.values[0], it.values[1], it.values[2])); break;
      case kvads::DxfKind::Real: filer->writeDouble(it.values[0]); break;
      default: filer->writeInt64(it.integer); break;
    }
  }
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbObject::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled();
  AcDbSoftPointerId owner;
  Acad::ErrorStatus es = filer->readSoftPointerId(&owner);
  if (es != Acad::eOk && es != Acad::eUnknownHandle) return es;
  owner_ = owner;
  Adesk::UInt32 n = 0;
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  std::vector<XDataItem> items;
  for (Adesk::UInt32 i = 0; i < n; ++i) {
    XDataItem it;
    if ((es = filer->readInt16(&it.code)) != Acad::eOk) return es;
    AcGePoint3d p;
    switch (kvads::dxfValueKind(it.code)) {
      case kvads::DxfKind::String: es = filer->readString(it.text); break;
      case kvads::DxfKind::Point:
        es = filer->readPoint3d(&p);
        it.values[0] = p.x, it.values[1] = p.y, it.values[2] = p.z;
        break;
      case kvads::DxfKind::Real: es = filer->readDouble(&it.values[0]); break;
      default: es = filer->readInt64(&it.integer); break;
    }
    if (es != Acad::eOk) return es;
    items.push_back(std::move(it));
  }
  xdata_ = std::move(items);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbObject::dxfOut(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  for (const XDataItem& it : xdata_) {
    auto code = static_cast<AcDb::DxfCode>(it.code);
    switch (kvads::dxfValueKind(it.code)) {
      case kvads::DxfKind::String: filer->writeString(code, it.text.c_str()); break;
      case kvads::DxfKind::Point: filer->writePoint3d(code, AcGePoint3d(it.values[0], it.values[1], it.values[2])); break;
      case kvads::DxfKind::Real: filer->writeDouble(code, it.values[0]); break;
      case kvads::DxfKind::Short: filer->writeInt16(code, static_cast<Adesk::Int16>(it.integer)); break;
      default: filer->writeInt32(code, static_cast<Adesk::Int32>(it.integer)); break;
    }
  }
  return filer->filerStatus();
}

// Reads the object's own groups, then any extended data that follows them.
Acad::ErrorStatus AcDbObject::dxfIn(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = dxfInFields(filer);
  if (es != Acad::eOk) return es;
  std::vector<XDataItem> items;
  resbuf rb;
  while (filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    XDataItem it;
    it.code = rb.restype;
    switch (kvads::dxfValueKind(rb.restype)) {
      case kvads::DxfKind::String: it.text = rb.resval.rstring ? rb.resval.rstring : L""; break;
      case kvads::DxfKind::Point:
        for (int i = 0; i < 3; ++i) it.values[i] = rb.resval.rpoint[i];
        break;
      case kvads::DxfKind::Real: it.values[0] = rb.resval.rreal; break;
      case kvads::DxfKind::Short: it.integer = rb.resval.rint; break;
      default: it.integer = rb.resval.rlong; break;
    }
    items.push_back(std::move(it));
  }
  if (!items.empty()) xdata_ = std::move(items);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::dxfOutFields(AcDbDxfFiler* filer) const {
  assertReadEnabled();
  filer->writeObjectId(AcDb::kDxfHandle, objectId());
  filer->writeObjectId(AcDb::kDxfSoftPointerId, owner_);
  return filer->filerStatus();
}

// Takes the handle and owner groups when they come first; anything else is left for the class.
Acad::ErrorStatus AcDbObject::dxfInFields(AcDbDxfFiler* filer) {
  assertWriteEnabled();
  resbuf rb;
  while (!filer->atEndOfObject()) {
    Acad::ErrorStatus es = filer->readItem(&rb);
    if (es != Acad::eOk) return es;
    if (rb.restype == AcDb::kDxfHandle || rb.restype == AcDb::kDxfSoftPointerId) continue;
    filer->pushBackItem();
    break;
  }
  return filer->filerStatus();
}
