// Object ids, handles, colours, extents, and the object's open/close protocol and extended data.
#include <cstdio>
#include <cwctype>
#include <limits>

#include "dbimpl.h"

const AcDbObjectId AcDbObjectId::kNull;

// ---- handles and ids ----

AcDbHandle::AcDbHandle(const ACHAR* hex) {
  if (hex == nullptr || hex[0] == 0) return;
  Adesk::UInt64 v = 0;
  int digits = 0;
  for (const ACHAR* p = hex; *p; ++p, ++digits) {
    wchar_t c = static_cast<wchar_t>(std::towupper(*p));
    int d = (c >= L'0' && c <= L'9') ? c - L'0' : (c >= L'A' && c <= L'F') ? c - L'A' + 10 : -1;
    if (d < 0 || digits >= 16) return;
    v = (v << 4) | static_cast<Adesk::UInt64>(d);
  }
  value_ = v;
}

bool AcDbHandle::getIntoAsciiBuffer(ACHAR* pBuf, std::size_t nBufLen) const {
  wchar_t tmp[20];
  int n = std::swprintf(tmp, 20, L"%llX", static_cast<unsigned long long>(value_));
  if (n < 0 || static_cast<std::size_t>(n) + 1 > nBufLen) return false;
  std::wmemcpy(pBuf, tmp, static_cast<std::size_t>(n) + 1);
  return true;
}

bool AcDbObjectId::isValid() const { return stub_ != nullptr && stub_->object != nullptr; }
bool AcDbObjectId::isErased() const { return stub_ != nullptr && stub_->erased; }
AcDbHandle AcDbObjectId::handle() const { return AcDbHandle(stub_ ? stub_->handle : 0); }
AcDbDatabase* AcDbObjectId::database() const { return stub_ ? stub_->db : nullptr; }
AcRxClass* AcDbObjectId::objectClass() const {
  return stub_ && stub_->object ? stub_->object->isA() : nullptr;
}

// ---- colours and extents ----

Adesk::UInt16 AcCmColor::colorIndex() const {
  switch (method_) {
    case Method::ByLayer: return 256;
    case Method::ByBlock: return 0;
    case Method::ByACI: return index_;
    case Method::ByColor: return 7;
  }
  return 256;
}

Acad::ErrorStatus AcCmColor::setColorIndex(Adesk::UInt16 index) {
  if (index > 257) return Acad::eInvalidInput;
  if (index == 256) method_ = Method::ByLayer;
  else if (index == 0) method_ = Method::ByBlock;
  else method_ = Method::ByACI;
  index_ = index;
  return Acad::eOk;
}

Acad::ErrorStatus AcCmColor::setRGB(Adesk::UInt8 r, Adesk::UInt8 g, Adesk::UInt8 b) {
  method_ = Method::ByColor;
  r_ = r, g_ = g, b_ = b;
  return Acad::eOk;
}

bool AcCmColor::operator==(const AcCmColor& o) const {
  if (method_ != o.method_) return false;
  if (method_ == Method::ByACI) return index_ == o.index_;
  if (method_ == Method::ByColor) return r_ == o.r_ && g_ == o.g_ && b_ == o.b_;
  return true;
}

AcDbExtents::AcDbExtents() {
  constexpr double big = std::numeric_limits<double>::max();
  min_.set(big, big, big);
  max_.set(-big, -big, -big);
}

AcDbExtents::AcDbExtents(const AcGePoint3d& min, const AcGePoint3d& max) : min_(min), max_(max) {}

Acad::ErrorStatus AcDbExtents::set(const AcGePoint3d& min, const AcGePoint3d& max) {
  if (min.x > max.x || min.y > max.y || min.z > max.z) return Acad::eInvalidExtents;
  min_ = min, max_ = max;
  return Acad::eOk;
}

void AcDbExtents::addPoint(const AcGePoint3d& p) {
  min_.set(std::min(min_.x, p.x), std::min(min_.y, p.y), std::min(min_.z, p.z));
  max_.set(std::max(max_.x, p.x), std::max(max_.y, p.y), std::max(max_.z, p.z));
}

void AcDbExtents::addExt(const AcDbExtents& src) {
  if (!src.isValidExtents()) return;
  addPoint(src.min_);
  addPoint(src.max_);
}

void AcDbExtents::expandBy(const AcGeVector3d& v) {
  addPoint(min_ + v);
  addPoint(max_ + v);
}

void AcDbExtents::transformBy(const AcGeMatrix3d& m) {
  if (!isValidExtents()) return;
  AcDbExtents out;
  for (int i = 0; i < 8; ++i) {
    AcGePoint3d p((i & 1) ? max_.x : min_.x, (i & 2) ? max_.y : min_.y, (i & 4) ? max_.z : min_.z);
    out.addPoint(m * p);
  }
  *this = out;
}

// ---- objects ----

KV_DB_DEFINE_CLASS(AcDbObject, AcRxObject, L"", nullptr)

AcDbObject::AcDbObject() = default;

AcDbObject::~AcDbObject() {
  // An object deleted while its database lives leaves a slot that answers eUnknownHandle.
  if (stub_ != nullptr && stub_->object == this) stub_->object = nullptr;
}

AcDbObjectId AcDbObject::objectId() const { return AcDbObjectId(stub_); }
AcDbHandle AcDbObject::handle() const { return AcDbHandle(stub_ ? stub_->handle : 0); }
AcDbDatabase* AcDbObject::database() const { return stub_ ? stub_->db : nullptr; }

Acad::ErrorStatus AcDbObject::setOwnerId(AcDbObjectId owner) {
  assertWriteEnabled();
  owner_ = owner;
  return Acad::eOk;
}

void AcDbObject::hostOpen(AcDb::OpenMode mode) {
  if (mode == AcDb::kForWrite) {
    openState_ = OpenState::Write;
  } else if (mode == AcDb::kForNotify && openState_ == OpenState::Closed) {
    openState_ = OpenState::Notify;
  } else {
    openState_ = OpenState::Read;
    ++readers_;
  }
}

Acad::ErrorStatus AcDbObject::close() {
  if (stub_ == nullptr) return Acad::eOk;
  switch (openState_) {
    case OpenState::Closed: return Acad::eNotOpenForRead;
    case OpenState::Read:
      if (readers_ > 0) --readers_;
      if (readers_ == 0) openState_ = OpenState::Closed;
      return Acad::eOk;
    case OpenState::Notify: openState_ = OpenState::Closed; return Acad::eOk;
    case OpenState::Write: break;
  }
  openState_ = readers_ > 0 ? OpenState::Read : OpenState::Closed;
  if (modified_) {
    stub_->db->impl()->modified = true;
    stub_->db->impl()->markDirty(stub_);
    modified_ = false;
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::cancel() { return close(); }

Acad::ErrorStatus AcDbObject::upgradeOpen() {
  if (openState_ == OpenState::Write) return Acad::eWasOpenedForWrite;
  if (openState_ != OpenState::Read) return Acad::eNotOpenForRead;
  if (readers_ > 1) return Acad::eWasOpenedForRead;
  readers_ = 0;
  openState_ = OpenState::Write;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::downgradeOpen() {
  if (openState_ != OpenState::Write) return Acad::eWasNotOpenForWrite;
  if (stub_ == nullptr) return Acad::eNotInDatabase;
  if (modified_) {
    stub_->db->impl()->modified = true;
    stub_->db->impl()->markDirty(stub_);
    modified_ = false;
  }
  openState_ = OpenState::Read;
  readers_ = 1;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::erase(Adesk::Boolean erasing) {
  assertWriteEnabled();
  if (stub_ == nullptr) return Acad::eNotInDatabase;
  if (stub_->erased == erasing) return erasing ? Acad::eWasErased : Acad::eWasNotErased;
  stub_->erased = erasing;
  auto* impl = stub_->db->impl();
  impl->liveObjects += erasing ? -1 : 1;
  impl->markDirty(stub_);
  return Acad::eOk;
}

bool AcDbObject::isErased() const { return stub_ != nullptr && stub_->erased; }
bool AcDbObject::isReadEnabled() const { return openState_ != OpenState::Closed; }
bool AcDbObject::isWriteEnabled() const { return openState_ == OpenState::Write; }
bool AcDbObject::isNotifyEnabled() const { return openState_ == OpenState::Notify; }
bool AcDbObject::isNewObject() const { return stub_ == nullptr; }

void AcDbObject::assertReadEnabled() const {
  if (openState_ == OpenState::Closed)
    acrx_abort(L"%ls (handle %llX) used without being open for read", isA()->name(),
               static_cast<unsigned long long>(stub_ ? stub_->handle : 0));
}

void AcDbObject::assertWriteEnabled(Adesk::Boolean autoUndo, Adesk::Boolean recordModified) {
  if (openState_ != OpenState::Write)
    acrx_abort(L"%ls (handle %llX) changed without being open for write", isA()->name(),
               static_cast<unsigned long long>(stub_ ? stub_->handle : 0));
  if (recordModified) modified_ = true;
}

void AcDbObject::assertNotifyEnabled() const {
  if (openState_ == OpenState::Closed)
    acrx_abort(L"%ls used without being open for notify", isA()->name());
}

Adesk::Boolean AcDbObject::worldDraw(AcGiWorldDraw* mode) { return subWorldDraw(mode); }
void AcDbObject::viewportDraw(AcGiViewportDraw* mode) { subViewportDraw(mode); }
Adesk::Boolean AcDbObject::subWorldDraw(AcGiWorldDraw*) { return true; }
void AcDbObject::subViewportDraw(AcGiViewportDraw*) {}
Acad::ErrorStatus AcDbObject::audit(AcDbAuditInfo*) { return Acad::eOk; }

// ---- the open protocol ----

Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*& obj, AcDbObjectId id, AcDb::OpenMode mode, bool openErased,
                                     const AcRxClass* pClass) {
  obj = nullptr;
  AcDbStub* stub = id.stub();
  if (stub == nullptr) return Acad::eNullObjectId;
  AcDbObject* o = stub->object;
  if (o == nullptr) return Acad::eUnknownHandle;
  if (stub->erased && !openErased) return Acad::eWasErased;
  if (pClass != nullptr && !o->isKindOf(pClass)) return Acad::eNotThatKindOfClass;
  switch (o->openState()) {
    case AcDbObject::OpenState::Write: return Acad::eWasOpenedForWrite;
    case AcDbObject::OpenState::Notify: return Acad::eWasOpenedForNotify;
    case AcDbObject::OpenState::Read:
      if (mode == AcDb::kForWrite) return Acad::eWasOpenedForRead;
      if (o->readerCount() >= 256) return Acad::eAtMaxReaders;
      break;
    case AcDbObject::OpenState::Closed: break;
  }
  o->hostOpen(mode);
  obj = o;
  return Acad::eOk;
}

Acad::ErrorStatus acdbOpenAcDbEntity(AcDbEntity*& ent, AcDbObjectId id, AcDb::OpenMode mode, bool openErased) {
  return acdbOpenObject(ent, id, mode, openErased);
}

Acad::ErrorStatus acdbOpenObject(AcDbObject*& obj, AcDbObjectId id, AcDb::OpenMode mode, bool openErased) {
  return acdbOpenAcDbObject(obj, id, mode, openErased, nullptr);
}

namespace kvdb {
AcDbObject* objectOf(AcDbObjectId id) { return id.stub() ? id.stub()->object : nullptr; }
}  // namespace kvdb
