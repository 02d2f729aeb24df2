// CKVData: one optional integer, real and string, filed in a fixed order.
#include "bridge.h"

ACRX_DXF_DEFINE_MEMBERS(CKVData, AcDbObject, 0, 0, 0, KV_DATA, KV_HVAC)

namespace {
constexpr Adesk::Int32 kVersion = 1;
}

CKVData::CKVData(std::int32_t value) : hasInt_(true), intValue_(value) {}
CKVData::CKVData(double value) : hasReal_(true), realValue_(value) {}
CKVData::CKVData(const std::wstring& value) : hasString_(true), stringValue_(value) {}

bool CKVData::getInt(std::int32_t& value) const {
  assertReadEnabled();
  if (hasInt_) value = intValue_;
  return hasInt_;
}

bool CKVData::getReal(double& value) const {
  assertReadEnabled();
  if (hasReal_) value = realValue_;
  return hasReal_;
}

bool CKVData::getString(std::wstring& value) const {
  assertReadEnabled();
  if (hasString_) value = stringValue_;
  return hasString_;
}

Acad::ErrorStatus CKVData::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbObject::dwgOutFields(filer); es != Acad::eOk) return es;
  filer->writeInt32(kVersion);
  filer->writeBool(hasInt_);
  filer->writeInt32(intValue_);
  filer->writeBool(hasReal_);
  filer->writeDouble(realValue_);
  filer->writeBool(hasString_);
  filer->writeString(stringValue_);
  return filer->filerStatus();
}

Acad::ErrorStatus CKVData::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled();
  if (Acad::ErrorStatus es = AcDbObject::dwgInFields(filer); es != Acad::eOk) return es;
  // Every version so far has had the same fields; the number is kept for later ones.
  Adesk::Int32 version = 0;
  filer->readInt32(&version);
  filer->readBool(&hasInt_);
  filer->readInt32(&intValue_);
  filer->readBool(&hasReal_);
  filer->readDouble(&realValue_);
  filer->readBool(&hasString_);
  filer->readString(stringValue_);
  return filer->filerStatus();
}
