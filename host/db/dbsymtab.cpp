// Symbol tables, their records and iterators, and block table records with their entities.
#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbSymbolTableRecord, AcDbObject, L"", nullptr)
KV_DB_DEFINE_CLASS(AcDbSymbolTable, AcDbObject, L"", nullptr)
KV_DB_DEFINE_CLASS(AcDbBlockTableRecord, AcDbSymbolTableRecord, L"BLOCK_RECORD", []() -> AcRxObject* { return new AcDbBlockTableRecord; })
KV_DB_DEFINE_CLASS(AcDbLayerTableRecord, AcDbSymbolTableRecord, L"LAYER", []() -> AcRxObject* { return new AcDbLayerTableRecord; })
KV_DB_DEFINE_CLASS(AcDbTextStyleTableRecord, AcDbSymbolTableRecord, L"STYLE", []() -> AcRxObject* { return new AcDbTextStyleTableRecord; })
KV_DB_DEFINE_CLASS(AcDbLinetypeTableRecord, AcDbSymbolTableRecord, L"LTYPE", []() -> AcRxObject* { return new AcDbLinetypeTableRecord; })
KV_DB_DEFINE_CLASS(AcDbRegAppTableRecord, AcDbSymbolTableRecord, L"APPID", []() -> AcRxObject* { return new AcDbRegAppTableRecord; })
KV_DB_DEFINE_CLASS(AcDbBlockTable, AcDbSymbolTable, L"TABLE", []() -> AcRxObject* { return new AcDbBlockTable; })
KV_DB_DEFINE_CLASS(AcDbLayerTable, AcDbSymbolTable, L"TABLE", []() -> AcRxObject* { return new AcDbLayerTable; })
KV_DB_DEFINE_CLASS(AcDbTextStyleTable, AcDbSymbolTable, L"TABLE", []() -> AcRxObject* { return new AcDbTextStyleTable; })
KV_DB_DEFINE_CLASS(AcDbLinetypeTable, AcDbSymbolTable, L"TABLE", []() -> AcRxObject* { return new AcDbLinetypeTable; })
KV_DB_DEFINE_CLASS(AcDbRegAppTable, AcDbSymbolTable, L"TABLE", []() -> AcRxObject* { return new AcDbRegAppTable; })

#define KV_DB_TABLE_MEMBERS(TABLE, RECORD)                                                                 \
  Acad::ErrorStatus TABLE::getAt(const ACHAR* entryName, RECORD*& pRec, AcDb::OpenMode openMode,          \
                                 bool openErasedRec) const {                                               \
    pRec = nullptr;                                                                                        \
    AcDbObjectId id;                                                                                       \
    Acad::ErrorStatus es = AcDbSymbolTable::getAt(entryName, id, openErasedRec);                           \
    return es != Acad::eOk ? es : acdbOpenObject(pRec, id, openMode, openErasedRec);                       \
  }                                                                                                        \
  AcRxClass* TABLE::recordClass() const { return RECORD::desc(); }
KV_DB_TABLE_MEMBERS(AcDbBlockTable, AcDbBlockTableRecord)
KV_DB_TABLE_MEMBERS(AcDbLayerTable, AcDbLayerTableRecord)
KV_DB_TABLE_MEMBERS(AcDbTextStyleTable, AcDbTextStyleTableRecord)
KV_DB_TABLE_MEMBERS(AcDbLinetypeTable, AcDbLinetypeTableRecord)
KV_DB_TABLE_MEMBERS(AcDbRegAppTable, AcDbRegAppTableRecord)

// ---- records ----

namespace {
bool validName(const std::wstring& name) {
  if (name.empty() || name.size() > 255) return false;
  return name.find_first_of(L"<>/\\\":;?*|,=`") == std::wstring::npos;
}

AcDbSymbolTable* ownerTable(const AcDbObject* rec) { return AcDbSymbolTable::cast(kvdb::objectOf(rec->ownerId())); }
}  // namespace

Acad::ErrorStatus AcDbSymbolTableRecord::getName(ACHAR*& pName) const {
  assertReadEnabled();
  pName = kvdb::dupWide(name_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTableRecord::getName(const ACHAR*& pName) const {
  assertReadEnabled();
  pName = name_.c_str();
  return Acad::eOk;
}

// Names starting with '*' are the host's own (*Model_Space) and pass the character check.
Acad::ErrorStatus AcDbSymbolTableRecord::setName(const ACHAR* pName) {
  std::wstring name = pName ? pName : L"";
  std::wstring check = !name.empty() && name[0] == L'*' ? name.substr(1) : name;
  if (!validName(check)) return Acad::eInvalidSymbolTableName;
  assertWriteEnabled();
  if (AcDbSymbolTable* table = ownerTable(this)) {
    if (!kvdb::iequals(name, name_) && table->has(pName)) return Acad::eDuplicateRecordName;
    table->hostRename(objectId(), name_, name);
  }
  name_ = name;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTableRecord::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbObject::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  return filer->writeString(name_);
}

Acad::ErrorStatus AcDbSymbolTableRecord::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbObject::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  return filer->readString(name_);
}

Acad::ErrorStatus AcDbSymbolTableRecord::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbObject::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbSymbolTableRecord");
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbSymbolTableRecord::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbObject::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  filer->atSubclassData(L"AcDbSymbolTableRecord");
  return filer->filerStatus();
}

// ---- tables ----

struct AcDbSymbolTable::Impl {
  std::vector<AcDbObjectId> ids;
  std::unordered_map<std::wstring, AcDbObjectId> byName;  // upper-case names
};

AcDbSymbolTable::AcDbSymbolTable() : impl_(new Impl) {}
AcDbSymbolTable::~AcDbSymbolTable() = default;

const std::vector<AcDbObjectId>& AcDbSymbolTable::recordIds() const { return impl_->ids; }

void AcDbSymbolTable::hostRename(AcDbObjectId id, const std::wstring& oldName, const std::wstring& newName) {
  auto it = impl_->byName.find(kvdb::upper(oldName));
  if (it != impl_->byName.end() && it->second == id) impl_->byName.erase(it);
  impl_->byName[kvdb::upper(newName)] = id;
}

Acad::ErrorStatus AcDbSymbolTable::getAt(const ACHAR* entryName, AcDbObjectId& recordId, bool getErasedRecord) const {
  assertReadEnabled();
  recordId = getIdAt(entryName, getErasedRecord);
  return recordId.isNull() ? Acad::eKeyNotFound : Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTable::getAt(const ACHAR* entryName, AcDbSymbolTableRecord*& pRec, AcDb::OpenMode openMode,
                                         bool openErasedRec) const {
  pRec = nullptr;
  AcDbObjectId id;
  Acad::ErrorStatus es = getAt(entryName, id, openErasedRec);
  return es != Acad::eOk ? es : acdbOpenObject(pRec, id, openMode, openErasedRec);
}

AcDbObjectId AcDbSymbolTable::getIdAt(const ACHAR* entryName, bool getErasedRecord) const {
  if (entryName == nullptr) return {};
  auto it = impl_->byName.find(kvdb::upper(entryName));
  if (it == impl_->byName.end()) return {};
  if (it->second.isErased() && !getErasedRecord) return {};
  return it->second;
}

bool AcDbSymbolTable::has(const ACHAR* name) const { return !getIdAt(name).isNull(); }

bool AcDbSymbolTable::has(AcDbObjectId id) const {
  for (const auto& i : impl_->ids)
    if (i == id) return !id.isErased();
  return false;
}

Acad::ErrorStatus AcDbSymbolTable::add(AcDbSymbolTableRecord* pRecord) {
  AcDbObjectId id;
  return add(id, pRecord);
}

Acad::ErrorStatus AcDbSymbolTable::add(AcDbObjectId& recordId, AcDbSymbolTableRecord* pRecord) {
  if (pRecord == nullptr) return Acad::eNullObjectPointer;
  if (!pRecord->isKindOf(recordClass())) return Acad::eWrongObjectType;
  if (pRecord->stub() != nullptr) return Acad::eAlreadyInDb;
  if (!isWriteEnabled()) return Acad::eNotOpenForWrite;
  if (database() == nullptr) return Acad::eNoDatabase;
  std::wstring name = pRecord->getName();
  if (name.empty()) return Acad::eInvalidSymbolTableName;
  if (!getIdAt(name.c_str(), true).isNull()) {
    if (!getIdAt(name.c_str(), true).isErased()) return Acad::eDuplicateRecordName;
  }
  recordId = database()->impl()->add(pRecord, objectId());
  impl_->ids.push_back(recordId);
  impl_->byName[kvdb::upper(name)] = recordId;
  assertWriteEnabled();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTable::newIterator(AcDbSymbolTableIterator*& pIterator, bool atBeginning,
                                               bool skipDeleted) const {
  assertReadEnabled();
  pIterator = new AcDbSymbolTableIterator(this, atBeginning, skipDeleted);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTable::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbObject::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  std::vector<AcDbObjectId> live;
  for (const auto& id : impl_->ids)
    if (!id.isErased() || filer->filerType() == AcDb::kUndoFiler) live.push_back(id);
  filer->writeUInt32(static_cast<Adesk::UInt32>(live.size()));
  for (const auto& id : live) filer->writeHardOwnershipId(id);
  return filer->filerStatus();
}

// The records come later in the file; names are indexed once they are read (see the reader).
Acad::ErrorStatus AcDbSymbolTable::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbObject::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  Adesk::UInt32 n = 0;
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  impl_->ids.clear();
  impl_->byName.clear();
  for (Adesk::UInt32 i = 0; i < n; ++i) {
    AcDbHardOwnershipId id;
    if ((es = filer->readHardOwnershipId(&id)) != Acad::eOk) return es;
    impl_->ids.push_back(id);
  }
  return filer->filerStatus();
}

// ---- iterators ----

AcDbSymbolTableIterator::AcDbSymbolTableIterator(const AcDbSymbolTable* table, bool atBeginning, bool skipDeleted)
    : ids_(table->recordIds()) {
  start(atBeginning, skipDeleted);
}
AcDbSymbolTableIterator::~AcDbSymbolTableIterator() = default;

void AcDbSymbolTableIterator::start(bool atBeginning, bool skipDeleted) {
  pos_ = atBeginning ? 0 : static_cast<long>(ids_.size()) - 1;
  skip(atBeginning, skipDeleted);
}

void AcDbSymbolTableIterator::skip(bool forward, bool skipDeleted) {
  while (skipDeleted && !done() && ids_[static_cast<std::size_t>(pos_)].isErased()) pos_ += forward ? 1 : -1;
}

bool AcDbSymbolTableIterator::done() const { return pos_ < 0 || pos_ >= static_cast<long>(ids_.size()); }

void AcDbSymbolTableIterator::step(bool forward, bool skipDeleted) {
  if (done()) return;
  pos_ += forward ? 1 : -1;
  skip(forward, skipDeleted);
}

Acad::ErrorStatus AcDbSymbolTableIterator::getRecordId(AcDbObjectId& id) const {
  if (done()) return Acad::eInvalidIndex;
  id = ids_[static_cast<std::size_t>(pos_)];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTableIterator::getRecord(AcDbSymbolTableRecord*& pRecord, AcDb::OpenMode openMode,
                                                     bool openErasedRec) const {
  pRecord = nullptr;
  AcDbObjectId id;
  Acad::ErrorStatus es = getRecordId(id);
  return es != Acad::eOk ? es : acdbOpenObject(pRecord, id, openMode, openErasedRec);
}

// ---- block table records ----

AcDbBlockTableRecord::AcDbBlockTableRecord() = default;
AcDbBlockTableRecord::~AcDbBlockTableRecord() = default;

Acad::ErrorStatus AcDbBlockTableRecord::appendAcDbEntity(AcDbEntity* pEntity) {
  AcDbObjectId id;
  return appendAcDbEntity(id, pEntity);
}

Acad::ErrorStatus AcDbBlockTableRecord::appendAcDbEntity(AcDbObjectId& pOutputId, AcDbEntity* pEntity) {
  if (pEntity == nullptr) return Acad::eNullEntityPointer;
  if (pEntity->stub() != nullptr) return Acad::eAlreadyInDb;
  if (!isWriteEnabled()) return Acad::eNotOpenForWrite;
  AcDbDatabase* db = database();
  if (db == nullptr) return Acad::eNotInDatabase;
  if (pEntity->layerId().isNull()) {
    AcDbObjectId lt = pEntity->linetypeId();
    AcCmColor color = pEntity->color();
    pEntity->setDatabaseDefaults(db);
    if (!lt.isNull()) pEntity->setLinetype(lt);
    pEntity->setColor(color);
  }
  pOutputId = db->impl()->add(pEntity, objectId());
  entities_.push_back(pOutputId);
  pEntity->setModifiedFlag(true);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecord::newIterator(AcDbBlockTableRecordIterator*& pIterator, bool atBeginning,
                                                    bool skipDeleted) const {
  assertReadEnabled();
  pIterator = new AcDbBlockTableRecordIterator(this, atBeginning, skipDeleted);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecord::setOrigin(const AcGePoint3d& p) {
  assertWriteEnabled();
  origin_ = p;
  return Acad::eOk;
}

bool AcDbBlockTableRecord::isLayout() const {
  return kvdb::iequals(getName(), ACDB_MODEL_SPACE) || kvdb::iequals(getName(), ACDB_PAPER_SPACE);
}
bool AcDbBlockTableRecord::isAnonymous() const { return getName()[0] == L'*' && !isLayout(); }
bool AcDbBlockTableRecord::hasEntities() const {
  for (const auto& id : entities_)
    if (!id.isErased()) return true;
  return false;
}
const std::vector<AcDbObjectId>& AcDbBlockTableRecord::entityIds() const { return entities_; }
void AcDbBlockTableRecord::hostAddEntityId(AcDbObjectId id) { entities_.push_back(id); }

Acad::ErrorStatus AcDbBlockTableRecord::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writePoint3d(origin_);
  std::vector<AcDbObjectId> live;
  for (const auto& id : entities_)
    if (!id.isErased() || filer->filerType() == AcDb::kUndoFiler) live.push_back(id);
  filer->writeUInt32(static_cast<Adesk::UInt32>(live.size()));
  for (const auto& id : live) filer->writeHardOwnershipId(id);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbBlockTableRecord::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  filer->readPoint3d(&origin_);
  Adesk::UInt32 n = 0;
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  entities_.clear();
  for (Adesk::UInt32 i = 0; i < n; ++i) {
    AcDbHardOwnershipId id;
    if ((es = filer->readHardOwnershipId(&id)) != Acad::eOk) return es;
    entities_.push_back(id);
  }
  return filer->filerStatus();
}

AcDbBlockTableRecordIterator::AcDbBlockTableRecordIterator(const AcDbBlockTableRecord* rec, bool atBeginning,
                                                           bool skipDeleted)
    : ids_(rec->entityIds()) {
  start(atBeginning, skipDeleted);
}
AcDbBlockTableRecordIterator::~AcDbBlockTableRecordIterator() = default;

void AcDbBlockTableRecordIterator::start(bool atBeginning, bool skipDeleted) {
  pos_ = atBeginning ? 0 : static_cast<long>(ids_.size()) - 1;
  skip(atBeginning, skipDeleted);
}

void AcDbBlockTableRecordIterator::skip(bool forward, bool skipDeleted) {
  while (skipDeleted && !done() && ids_[static_cast<std::size_t>(pos_)].isErased()) pos_ += forward ? 1 : -1;
}

bool AcDbBlockTableRecordIterator::done() const { return pos_ < 0 || pos_ >= static_cast<long>(ids_.size()); }

void AcDbBlockTableRecordIterator::step(bool forward, bool skipDeleted) {
  if (done()) return;
  pos_ += forward ? 1 : -1;
  skip(forward, skipDeleted);
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::getEntityId(AcDbObjectId& entityId) const {
  if (done()) return Acad::eInvalidIndex;
  entityId = ids_[static_cast<std::size_t>(pos_)];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::getEntity(AcDbEntity*& pEntity, AcDb::OpenMode openMode,
                                                          bool openErasedEntity) const {
  pEntity = nullptr;
  AcDbObjectId id;
  Acad::ErrorStatus es = getEntityId(id);
  return es != Acad::eOk ? es : acdbOpenObject(pEntity, id, openMode, openErasedEntity);
}

// ---- layer, style, linetype, regapp records ----

AcDbLayerTableRecord::AcDbLayerTableRecord() { color_.setColorIndex(7); }
Acad::ErrorStatus AcDbLayerTableRecord::setIsFrozen(bool frozen) { assertWriteEnabled(); frozen_ = frozen; return Acad::eOk; }
void AcDbLayerTableRecord::setIsOff(bool off) { assertWriteEnabled(); off_ = off; }
void AcDbLayerTableRecord::setIsLocked(bool locked) { assertWriteEnabled(); locked_ = locked; }
Acad::ErrorStatus AcDbLayerTableRecord::setIsPlottable(bool plot) { assertWriteEnabled(); plottable_ = plot; return Acad::eOk; }
void AcDbLayerTableRecord::setColor(const AcCmColor& color) { assertWriteEnabled(); color_ = color; }
void AcDbLayerTableRecord::setLinetypeObjectId(AcDbObjectId id) { assertWriteEnabled(); linetype_ = id; }
Acad::ErrorStatus AcDbLayerTableRecord::setLineWeight(AcDb::LineWeight weight) {
  if (!acdbIsLineWeight(static_cast<long>(weight))) return Acad::eInvalidInput;
  assertWriteEnabled();
  lineWeight_ = weight;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLayerTableRecord::setPlotStyleName(const ACHAR* newName) {
  if (newName == nullptr) return Acad::eInvalidInput;
  assertWriteEnabled();
  plotStyle_ = newName;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLayerTableRecord::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeUInt8(static_cast<Adesk::UInt8>((frozen_ ? 1 : 0) | (off_ ? 2 : 0) | (locked_ ? 4 : 0) | (plottable_ ? 8 : 0)));
  filer->writeUInt16(color_.colorIndex());
  filer->writeHardPointerId(linetype_);
  filer->writeInt16(static_cast<Adesk::Int16>(lineWeight_));
  filer->writeString(plotStyle_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbLayerTableRecord::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  Adesk::UInt8 flags = 0;
  Adesk::UInt16 color = 7;
  Adesk::Int16 lw = -3;
  AcDbHardPointerId lt;
  filer->readUInt8(&flags);
  filer->readUInt16(&color);
  es = filer->readHardPointerId(&lt);
  if (es == Acad::eUnknownHandle) filer->resetFilerStatus();
  filer->readInt16(&lw);
  filer->readString(plotStyle_);
  frozen_ = flags & 1, off_ = flags & 2, locked_ = flags & 4, plottable_ = flags & 8;
  color_.setColorIndex(color);
  linetype_ = lt;
  lineWeight_ = acdbIsLineWeight(lw) ? static_cast<AcDb::LineWeight>(lw) : AcDb::kLnWtByLwDefault;
  return filer->filerStatus();
}

AcDbTextStyleTableRecord::AcDbTextStyleTableRecord() = default;
Acad::ErrorStatus AcDbTextStyleTableRecord::fileName(const ACHAR*& fileName) const { assertReadEnabled(); fileName = fileName_.c_str(); return Acad::eOk; }
Acad::ErrorStatus AcDbTextStyleTableRecord::setFileName(const ACHAR* fileName) {
  if (fileName == nullptr) return Acad::eInvalidInput;
  assertWriteEnabled();
  fileName_ = fileName;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbTextStyleTableRecord::bigFontFileName(const ACHAR*& fileName) const { assertReadEnabled(); fileName = bigFont_.c_str(); return Acad::eOk; }
Acad::ErrorStatus AcDbTextStyleTableRecord::setBigFontFileName(const ACHAR* fileName) {
  if (fileName == nullptr) return Acad::eInvalidInput;
  assertWriteEnabled();
  bigFont_ = fileName;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbTextStyleTableRecord::setTextSize(double size) {
  if (size < 0) return Acad::eNegativeValueNotAllowed;
  assertWriteEnabled();
  textSize_ = size;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbTextStyleTableRecord::setXScale(double xScale) {
  if (!(xScale > 0)) return Acad::eInvalidInput;
  assertWriteEnabled();
  xScale_ = xScale;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbTextStyleTableRecord::setObliquingAngle(double angle) { assertWriteEnabled(); oblique_ = angle; return Acad::eOk; }

Acad::ErrorStatus AcDbTextStyleTableRecord::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(fileName_);
  filer->writeString(bigFont_);
  filer->writeDouble(textSize_);
  filer->writeDouble(xScale_);
  filer->writeDouble(oblique_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbTextStyleTableRecord::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  filer->readString(fileName_);
  filer->readString(bigFont_);
  filer->readDouble(&textSize_);
  filer->readDouble(&xScale_);
  filer->readDouble(&oblique_);
  return filer->filerStatus();
}

AcDbLinetypeTableRecord::AcDbLinetypeTableRecord() = default;
Acad::ErrorStatus AcDbLinetypeTableRecord::comments(const ACHAR*& pString) const { assertReadEnabled(); pString = comments_.c_str(); return Acad::eOk; }
Acad::ErrorStatus AcDbLinetypeTableRecord::setComments(const ACHAR* pString) {
  assertWriteEnabled();
  comments_ = pString ? pString : L"";
  return Acad::eOk;
}
void AcDbLinetypeTableRecord::setNumDashes(int count) { assertWriteEnabled(); dashes_.resize(static_cast<std::size_t>(std::max(count, 0))); }
double AcDbLinetypeTableRecord::dashLengthAt(int index) const {
  assertReadEnabled();
  return index >= 0 && static_cast<std::size_t>(index) < dashes_.size() ? dashes_[static_cast<std::size_t>(index)] : 0.0;
}
void AcDbLinetypeTableRecord::setDashLengthAt(int index, double value) {
  assertWriteEnabled();
  if (index >= 0 && static_cast<std::size_t>(index) < dashes_.size()) dashes_[static_cast<std::size_t>(index)] = value;
}

Acad::ErrorStatus AcDbLinetypeTableRecord::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(comments_);
  filer->writeDouble(patternLength_);
  filer->writeUInt32(static_cast<Adesk::UInt32>(dashes_.size()));
  for (double d : dashes_) filer->writeDouble(d);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbLinetypeTableRecord::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbSymbolTableRecord::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  Adesk::UInt32 n = 0;
  filer->readString(comments_);
  filer->readDouble(&patternLength_);
  if ((es = filer->readUInt32(&n)) != Acad::eOk) return es;
  if (n > 64) return Acad::eInvalidInput;
  dashes_.assign(n, 0.0);
  for (auto& d : dashes_) filer->readDouble(&d);
  return filer->filerStatus();
}

AcDbRegAppTableRecord::AcDbRegAppTableRecord() = default;
