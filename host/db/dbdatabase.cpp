// The database: slots and handles, the default drawing, header and view variables, the model
// space index, host services (working database, file search) and entity names for LISP.
#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <utility>

#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbDatabase, AcRxObject, L"", nullptr)

namespace kvdb {

namespace {
// Every database gets a serial that is never given again. Entity names carry the serial, not the
// address: a name of a closed drawing then finds nothing, even when a new drawing happens to be
// allocated where the old one was.
struct LiveDatabases {
  std::unordered_map<const AcDbDatabase*, std::int64_t> serials;
  std::unordered_map<std::int64_t, AcDbDatabase*> bySerial;
  std::int64_t next = std::int64_t{1} << 32;
};
LiveDatabases& liveDatabases() {
  static LiveDatabases s;
  return s;
}
}  // namespace

bool isLiveDatabase(const AcDbDatabase* db) { return db != nullptr && liveDatabases().serials.count(db) != 0; }

void addLiveDatabase(AcDbDatabase* db) {
  LiveDatabases& live = liveDatabases();
  std::int64_t serial = live.next++;
  live.serials[db] = serial;
  live.bySerial[serial] = db;
}

void removeLiveDatabase(const AcDbDatabase* db) {
  LiveDatabases& live = liveDatabases();
  auto it = live.serials.find(db);
  if (it == live.serials.end()) return;
  live.bySerial.erase(it->second);
  live.serials.erase(it);
}

std::int64_t serialOf(const AcDbDatabase* db) {
  auto it = liveDatabases().serials.find(db);
  return it == liveDatabases().serials.end() ? 0 : it->second;
}

AcDbDatabase* databaseOfSerial(std::int64_t serial) {
  auto it = liveDatabases().bySerial.find(serial);
  return it == liveDatabases().bySerial.end() ? nullptr : it->second;
}

std::wstring upper(const std::wstring& s) {
  std::wstring out = s;
  for (auto& c : out) c = static_cast<wchar_t>(std::towupper(c));
  return out;
}

bool iequals(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (std::towupper(a[i]) != std::towupper(b[i])) return false;
  return true;
}

ACHAR* dupWide(const std::wstring& s) {
  auto* out = new ACHAR[s.size() + 1];
  std::wmemcpy(out, s.c_str(), s.size() + 1);
  return out;
}

Acad::ErrorStatus notImplemented(const char* what) {
  std::fprintf(stderr, "kvhost: %s is not implemented yet\n", what);
  return Acad::eNotImplementedYet;
}

void putBytes(std::vector<unsigned char>& out, const void* p, std::size_t n) {
  const auto* b = static_cast<const unsigned char*>(p);
  out.insert(out.end(), b, b + n);
}

std::vector<AcDbObjectId> liveEntities(const AcDbBlockTableRecord* btr) {
  std::vector<AcDbObjectId> out;
  for (const auto& id : btr->entityIds())
    if (!id.isErased() && id.isValid()) out.push_back(id);
  return out;
}

std::wstring dxfNameOf(const AcRxClass* cls) {
  for (const AcRxClass* c = cls; c != nullptr; c = c->myParent())
    if (c->dxfName() && c->dxfName()[0]) return c->dxfName();
  return L"";
}

}  // namespace kvdb

// ---- slots ----

AcDbStub* AcDbDatabase::Impl::newStub(AcDbObject* obj, Adesk::UInt64 handle) {
  if (handle == 0) handle = nextHandle;
  nextHandle = std::max(nextHandle, handle + 1);
  stubs.push_back(AcDbStub{self, obj, handle});
  AcDbStub* s = &stubs.back();
  byHandle[handle] = s;
  return s;
}

AcDbStub* AcDbDatabase::Impl::stubFor(Adesk::UInt64 handle, bool create) {
  auto it = byHandle.find(handle);
  if (it != byHandle.end()) return it->second;
  return create && handle != 0 ? newStub(nullptr, handle) : nullptr;
}

AcDbObjectId AcDbDatabase::Impl::add(AcDbObject* obj, AcDbObjectId owner) {
  const Adesk::UInt64 wanted = std::exchange(preferredHandle, 0);
  AcDbStub* s = nullptr;
  if (wanted != 0) {
    auto it = byHandle.find(wanted);
    if (it == byHandle.end()) {
      s = newStub(obj, wanted);
    } else if (it->second->object == nullptr && !it->second->erased) {
      // A slot made for a reference read before its object: the object fills it.
      s = it->second;
      s->object = obj;
    }
  }
  if (s == nullptr) s = newStub(obj);
  obj->setStub(s);
  obj->setOwnerId(owner);
  ++liveObjects;
  modified = true;
  return AcDbObjectId(s);
}

void AcDbDatabase::Impl::markDirty(AcDbStub* stub) {
  if (stub->indexDirty || stub->object == nullptr || !AcDbEntity::cast(stub->object)) return;
  stub->indexDirty = true;
  dirty.push_back(stub);
}

// Entities of model space go into the index by their extents; erased ones and entities of other
// blocks leave it.
void AcDbDatabase::Impl::flushIndex() {
  for (AcDbStub* s : dirty) {
    s->indexDirty = false;
    auto* e = s->object ? AcDbEntity::cast(s->object) : nullptr;
    AcDbExtents ext;
    kvdb::ReadScope open(e);
    bool keep = e && !s->erased && e->ownerId() == modelSpace && e->getGeomExtents(ext) == Acad::eOk &&
                ext.isValidExtents();
    if (!keep) {
      index.remove(s);
      continue;
    }
    index.insert(s, {ext.minPoint().x, ext.minPoint().y, ext.maxPoint().x, ext.maxPoint().y});
  }
  dirty.clear();
}

void AcDbDatabase::Impl::clear() {
  for (auto& s : stubs) {
    AcDbObject* o = s.object;
    s.object = nullptr;
    if (o != nullptr) {
      o->setStub(nullptr);
      delete o;
    }
  }
  stubs.clear();
  byHandle.clear();
  dirty.clear();
  index.clear();
  liveObjects = 0;
}

namespace {

template <class Rec>
AcDbObjectId addRecord(AcDbSymbolTable* table, Rec* rec, const ACHAR* name) {
  rec->setName(name);
  AcDbObjectId id;
  table->add(id, rec);
  rec->close();
  return id;
}

template <class Table>
Table* newTable(AcDbDatabase::Impl* impl, AcDbObjectId& id) {
  auto* t = new Table;
  id = impl->add(t, AcDbObjectId());
  return t;
}

}  // namespace

void AcDbDatabase::Impl::buildDefaults() {
  auto* bt = newTable<AcDbBlockTable>(this, blockTable);
  auto* lt = newTable<AcDbLayerTable>(this, layerTable);
  auto* st = newTable<AcDbTextStyleTable>(this, styleTable);
  auto* ltt = newTable<AcDbLinetypeTable>(this, linetypeTable);
  auto* rt = newTable<AcDbRegAppTable>(this, regAppTable);
  byBlockLt = addRecord(ltt, new AcDbLinetypeTableRecord, L"ByBlock");
  byLayerLt = addRecord(ltt, new AcDbLinetypeTableRecord, L"ByLayer");
  auto* cont = new AcDbLinetypeTableRecord;
  cont->setComments(L"Solid line");
  continuousLt = addRecord(ltt, cont, L"Continuous");
  auto* l0 = new AcDbLayerTableRecord;
  l0->setLinetypeObjectId(continuousLt);
  layer0 = addRecord(lt, l0, L"0");
  standardStyle = addRecord(st, new AcDbTextStyleTableRecord, L"Standard");
  addRecord(rt, new AcDbRegAppTableRecord, L"ACAD");
  modelSpace = addRecord(bt, new AcDbBlockTableRecord, ACDB_MODEL_SPACE);
  paperSpace = addRecord(bt, new AcDbBlockTableRecord, ACDB_PAPER_SPACE);
  for (AcDbObject* t : std::initializer_list<AcDbObject*>{bt, lt, st, ltt, rt}) t->close();
  modified = false;
}

namespace {
AcDbSysVarValue intVar(Adesk::Int32 v) {
  AcDbSysVarValue s;
  s.kind = AcDbSysVarValue::Kind::Int;
  s.integer = v;
  return s;
}
AcDbSysVarValue realVar(double v) {
  AcDbSysVarValue s;
  s.kind = AcDbSysVarValue::Kind::Real;
  s.values[0] = v;
  return s;
}
AcDbSysVarValue pointVar(AcDbSysVarValue::Kind kind, double x, double y, double z = 0) {
  AcDbSysVarValue s;
  s.kind = kind;
  s.values[0] = x, s.values[1] = y, s.values[2] = z;
  return s;
}
AcDbSysVarValue textVar(const std::wstring& t) {
  AcDbSysVarValue s;
  s.kind = AcDbSysVarValue::Kind::String;
  s.text = t;
  return s;
}
}  // namespace

// Variables kept by value; CLAYER, TEXTSTYLE, CELTYPE, DWGNAME, DWGPREFIX, DBMOD and the
// extents are computed when read (see getSysVar).
void AcDbDatabase::Impl::initSysVars() {
  using K = AcDbSysVarValue::Kind;
  sysvars.clear();
  auto put = [this](const wchar_t* name, AcDbSysVarValue v, bool readOnly = false) { sysvars[name] = SysVarDef{v, readOnly}; };
  put(L"DIMSCALE", realVar(1.0));
  put(L"TEXTSIZE", realVar(0.2));
  put(L"LTSCALE", realVar(1.0));
  put(L"INSBASE", pointVar(K::Point3d, 0, 0, 0));
  put(L"UCSORG", pointVar(K::Point3d, 0, 0, 0));
  put(L"UCSXDIR", pointVar(K::Point3d, 1, 0, 0));
  put(L"UCSYDIR", pointVar(K::Point3d, 0, 1, 0));
  put(L"VIEWCTR", pointVar(K::Point3d, 6.2, 4.5, 0));
  put(L"VIEWSIZE", realVar(9.0));
  put(L"SCREENSIZE", pointVar(K::Point2d, 1024, 768), true);
  put(L"SAVEFILE", textVar(L""), true);
  put(L"LUNITS", intVar(2));
  put(L"LUPREC", intVar(4));
  put(L"AUNITS", intVar(0));
  put(L"AUPREC", intVar(0));
  put(L"ORTHOMODE", intVar(0));
  put(L"OSMODE", intVar(0));
  put(L"CMDECHO", intVar(1));
  put(L"MEASUREMENT", intVar(0));
  put(L"INSUNITS", intVar(1));
  put(L"TILEMODE", intVar(1));
  put(L"PDMODE", intVar(0));
  put(L"LIMMIN", pointVar(K::Point2d, 0, 0));
  put(L"LIMMAX", pointVar(K::Point2d, 12, 9));
  put(L"FILEDIA", intVar(1));
  put(L"SAVETIME", intVar(10));
  put(L"ANGBASE", realVar(0.0));
  put(L"ANGDIR", intVar(0));
}

// ---- the database ----

AcDbDatabase::AcDbDatabase(bool buildDefaultDrawing, bool) : impl_(new Impl) {
  impl_->self = this;
  impl_->initSysVars();
  kvdb::addLiveDatabase(this);
  if (buildDefaultDrawing) impl_->buildDefaults();
}

AcDbDatabase::~AcDbDatabase() {
  kvdb::removeLiveDatabase(this);
  auto* services = acdbHostApplicationServices();
  if (services->workingDatabase() == this) services->setWorkingDatabase(nullptr);
  impl_->clear();
  delete impl_;
}

namespace {
template <class Table>
Acad::ErrorStatus openTable(AcDbObjectId id, Table*& table, AcDb::OpenMode mode) {
  table = nullptr;
  if (id.isNull()) return Acad::eMissingSymbolTable;
  return acdbOpenObject(table, id, mode);
}
}  // namespace

Acad::ErrorStatus AcDbDatabase::getBlockTable(AcDbBlockTable*& t, AcDb::OpenMode m) { return openTable(impl_->blockTable, t, m); }
Acad::ErrorStatus AcDbDatabase::getLayerTable(AcDbLayerTable*& t, AcDb::OpenMode m) { return openTable(impl_->layerTable, t, m); }
Acad::ErrorStatus AcDbDatabase::getTextStyleTable(AcDbTextStyleTable*& t, AcDb::OpenMode m) { return openTable(impl_->styleTable, t, m); }
Acad::ErrorStatus AcDbDatabase::getLinetypeTable(AcDbLinetypeTable*& t, AcDb::OpenMode m) { return openTable(impl_->linetypeTable, t, m); }
Acad::ErrorStatus AcDbDatabase::getRegAppTable(AcDbRegAppTable*& t, AcDb::OpenMode m) { return openTable(impl_->regAppTable, t, m); }
AcDbObjectId AcDbDatabase::blockTableId() const { return impl_->blockTable; }
AcDbObjectId AcDbDatabase::layerTableId() const { return impl_->layerTable; }
AcDbObjectId AcDbDatabase::textStyleTableId() const { return impl_->styleTable; }
AcDbObjectId AcDbDatabase::linetypeTableId() const { return impl_->linetypeTable; }
AcDbObjectId AcDbDatabase::regAppTableId() const { return impl_->regAppTable; }
AcDbObjectId AcDbDatabase::modelSpaceId() const { return impl_->modelSpace; }
AcDbObjectId AcDbDatabase::paperSpaceId() const { return impl_->paperSpace; }
AcDbObjectId AcDbDatabase::byLayerLinetype() const { return impl_->byLayerLt; }
AcDbObjectId AcDbDatabase::byBlockLinetype() const { return impl_->byBlockLt; }
AcDbObjectId AcDbDatabase::continuousLinetype() const { return impl_->continuousLt; }

namespace {
// The id of a header variable that names a record, falling back to a default.
AcDbObjectId varRecord(const AcDbDatabase::Impl* impl, const ACHAR* var, AcDbObjectId fallback) {
  auto it = impl->sysvars.find(var);
  if (it == impl->sysvars.end() || it->second.value.kind != AcDbSysVarValue::Kind::Int) return fallback;
  AcDbStub* s = const_cast<AcDbDatabase::Impl*>(impl)->stubFor(static_cast<Adesk::UInt64>(it->second.value.integer), false);
  return s && s->object && !s->erased ? AcDbObjectId(s) : fallback;
}
void setVarRecord(AcDbDatabase::Impl* impl, const ACHAR* var, AcDbObjectId id) {
  impl->sysvars[var] = {intVar(static_cast<Adesk::Int32>(id.handle().value()))};
}
}  // namespace

AcDbObjectId AcDbDatabase::clayer() const { return varRecord(impl_, L"$CLAYER", impl_->layer0); }
AcDbObjectId AcDbDatabase::textstyle() const { return varRecord(impl_, L"$TEXTSTYLE", impl_->standardStyle); }
AcDbObjectId AcDbDatabase::celtype() const { return varRecord(impl_, L"$CELTYPE", impl_->byLayerLt); }

Acad::ErrorStatus AcDbDatabase::setClayer(AcDbObjectId id) {
  if (!AcDbLayerTableRecord::cast(kvdb::objectOf(id)) || id.database() != this) return Acad::eInvalidInput;
  setVarRecord(impl_, L"$CLAYER", id);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbDatabase::setTextstyle(AcDbObjectId id) {
  if (!AcDbTextStyleTableRecord::cast(kvdb::objectOf(id)) || id.database() != this) return Acad::eInvalidInput;
  setVarRecord(impl_, L"$TEXTSTYLE", id);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbDatabase::setCeltype(AcDbObjectId id) {
  if (!AcDbLinetypeTableRecord::cast(kvdb::objectOf(id)) || id.database() != this) return Acad::eInvalidInput;
  setVarRecord(impl_, L"$CELTYPE", id);
  return Acad::eOk;
}

namespace {
double realOf(const AcDbDatabase::Impl* impl, const ACHAR* name) {
  auto it = impl->sysvars.find(name);
  return it == impl->sysvars.end() ? 0.0 : it->second.value.values[0];
}
AcGePoint3d pointOf(const AcDbDatabase::Impl* impl, const ACHAR* name) {
  auto it = impl->sysvars.find(name);
  if (it == impl->sysvars.end()) return {};
  const double* v = it->second.value.values;
  return {v[0], v[1], v[2]};
}
}  // namespace

double AcDbDatabase::dimscale() const { return realOf(impl_, L"DIMSCALE"); }
Acad::ErrorStatus AcDbDatabase::setDimscale(double scale) { return setSysVar(L"DIMSCALE", realVar(scale)); }
double AcDbDatabase::textsize() const { return realOf(impl_, L"TEXTSIZE"); }
Acad::ErrorStatus AcDbDatabase::setTextsize(double size) { return setSysVar(L"TEXTSIZE", realVar(size)); }
AcGePoint3d AcDbDatabase::insbase() const { return pointOf(impl_, L"INSBASE"); }
AcGePoint3d AcDbDatabase::ucsorg() const { return pointOf(impl_, L"UCSORG"); }
AcGeVector3d AcDbDatabase::ucsxdir() const { return pointOf(impl_, L"UCSXDIR").asVector(); }
AcGeVector3d AcDbDatabase::ucsydir() const { return pointOf(impl_, L"UCSYDIR").asVector(); }

Acad::ErrorStatus AcDbDatabase::setUcs(const AcGePoint3d& origin, const AcGeVector3d& xDir, const AcGeVector3d& yDir) {
  if (!xDir.isPerpendicularTo(yDir, AcGeTol())) {
    AcGeTol tol;
    tol.setEqualVector(1e-9);
    if (!xDir.isPerpendicularTo(yDir, tol)) return Acad::eInvalidInput;
  }
  using K = AcDbSysVarValue::Kind;
  AcGeVector3d x = xDir.normal(), y = yDir.normal();
  impl_->sysvars[L"UCSORG"] = {pointVar(K::Point3d, origin.x, origin.y, origin.z)};
  impl_->sysvars[L"UCSXDIR"] = {pointVar(K::Point3d, x.x, x.y, x.z)};
  impl_->sysvars[L"UCSYDIR"] = {pointVar(K::Point3d, y.x, y.y, y.z)};
  return Acad::eOk;
}

AcGePoint3d AcDbDatabase::extmin() const { return pointOf(impl_, L"EXTMIN"); }
AcGePoint3d AcDbDatabase::extmax() const { return pointOf(impl_, L"EXTMAX"); }

Acad::ErrorStatus AcDbDatabase::updateExt(bool) {
  AcDbExtents total;
  auto* ms = AcDbBlockTableRecord::cast(kvdb::objectOf(impl_->modelSpace));
  if (ms != nullptr)
    for (AcDbObjectId id : kvdb::liveEntities(ms)) {
      auto* e = AcDbEntity::cast(kvdb::objectOf(id));
      AcDbExtents ext;
      kvdb::ReadScope open(e);
      if (e && e->getGeomExtents(ext) == Acad::eOk) total.addExt(ext);
    }
  using K = AcDbSysVarValue::Kind;
  if (!total.isValidExtents()) total = AcDbExtents(AcGePoint3d(0, 0, 0), AcGePoint3d(0, 0, 0));
  AcGePoint3d a = total.minPoint(), b = total.maxPoint();
  impl_->sysvars[L"EXTMIN"] = {pointVar(K::Point3d, a.x, a.y, a.z)};
  impl_->sysvars[L"EXTMAX"] = {pointVar(K::Point3d, b.x, b.y, b.z)};
  return Acad::eOk;
}

bool AcDbDatabase::getSysVar(const ACHAR* name, AcDbSysVarValue& value) const {
  if (name == nullptr) return false;
  std::wstring key = kvdb::upper(name);
  auto recordName = [&](AcDbObjectId id) {
    auto* rec = AcDbSymbolTableRecord::cast(kvdb::objectOf(id));
    value = textVar(rec ? rec->getName() : L"");
    return true;
  };
  if (key == L"CLAYER") return recordName(clayer());
  if (key == L"TEXTSTYLE") return recordName(textstyle());
  if (key == L"CELTYPE") return recordName(celtype());
  if (key == L"DBMOD") return value = intVar(impl_->modified ? 1 : 0), true;
  std::filesystem::path file(acrxToUtf8(impl_->fileName));
  if (key == L"DWGNAME") return value = textVar(acrxFromUtf8(file.filename().string())), true;
  if (key == L"DWGPREFIX") {
    std::string folder = file.has_parent_path() ? file.parent_path().string() + "/" : "";
    return value = textVar(acrxFromUtf8(folder)), true;
  }
  if (key == L"EXTMIN" || key == L"EXTMAX") const_cast<AcDbDatabase*>(this)->updateExt();
  auto it = impl_->sysvars.find(key);
  if (it == impl_->sysvars.end() || key[0] == L'$') return false;
  value = it->second.value;
  return true;
}

// Records named by CLAYER, TEXTSTYLE and CELTYPE must exist; other variables keep their kind.
Acad::ErrorStatus AcDbDatabase::setSysVar(const ACHAR* name, const AcDbSysVarValue& value) {
  if (name == nullptr) return Acad::eInvalidInput;
  std::wstring key = kvdb::upper(name);
  auto byName = [&](AcDbObjectId tableId, Acad::ErrorStatus (AcDbDatabase::*set)(AcDbObjectId)) {
    auto* table = AcDbSymbolTable::cast(kvdb::objectOf(tableId));
    if (value.kind != AcDbSysVarValue::Kind::String || table == nullptr) return Acad::eInvalidInput;
    AcDbObjectId id = table->getIdAt(value.text.c_str());
    return id.isNull() ? Acad::eKeyNotFound : (this->*set)(id);
  };
  if (key == L"CLAYER") return byName(impl_->layerTable, &AcDbDatabase::setClayer);
  if (key == L"TEXTSTYLE") return byName(impl_->styleTable, &AcDbDatabase::setTextstyle);
  if (key == L"CELTYPE") return byName(impl_->linetypeTable, &AcDbDatabase::setCeltype);
  auto it = impl_->sysvars.find(key);
  if (it == impl_->sysvars.end() || key[0] == L'$' || it->second.readOnly) return Acad::eInvalidInput;
  AcDbSysVarValue v = value;
  using K = AcDbSysVarValue::Kind;
  K want = it->second.value.kind;
  if (want == K::Real && v.kind == K::Int) v = realVar(v.integer);
  if (want == K::Point3d && v.kind == K::Point2d) v.kind = K::Point3d, v.values[2] = 0;
  if (want == K::Point2d && v.kind == K::Point3d) v.kind = K::Point2d;
  if (v.kind != want) return Acad::eInvalidInput;
  if (key == L"DIMSCALE" && v.values[0] < 0) return Acad::eInvalidInput;
  it->second.value = v;
  return Acad::eOk;
}

void AcDbDatabase::setSysVarHost(const ACHAR* name, const AcDbSysVarValue& value) {
  if (name != nullptr) impl_->sysvars[kvdb::upper(name)].value = value;
}

void AcDbDatabase::queryModelSpace(double minX, double minY, double maxX, double maxY, std::vector<AcDbObjectId>& out) {
  impl_->flushIndex();
  std::vector<const void*> keys;
  impl_->index.query({minX, minY, maxX, maxY}, keys);
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  for (const void* k : keys) out.push_back(AcDbObjectId(static_cast<AcDbStub*>(const_cast<void*>(k))));
}

Acad::ErrorStatus AcDbDatabase::getFilename(const ACHAR*& pOutput) const {
  pOutput = impl_->fileName.c_str();
  return impl_->fileName.empty() ? Acad::eNotApplicable : Acad::eOk;
}
void AcDbDatabase::setFilename(const ACHAR* name) { impl_->fileName = name ? name : L""; }
const ACHAR* AcDbDatabase::originalFileName() const { return impl_->originalFileName.c_str(); }

Acad::ErrorStatus AcDbDatabase::getAcDbObjectId(AcDbObjectId& retId, bool createIfNotFound, const AcDbHandle& objHandle,
                                                Adesk::UInt32) {
  retId = AcDbObjectId();
  if (objHandle.isNull()) return Acad::eNullHandle;
  AcDbStub* s = impl_->stubFor(objHandle.value(), createIfNotFound);
  if (s == nullptr) return Acad::eUnknownHandle;
  retId = AcDbObjectId(s);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::addAcDbObject(AcDbObjectId& objId, AcDbObject* pObj) {
  if (pObj == nullptr) return Acad::eNullObjectPointer;
  if (pObj->stub() != nullptr) return Acad::eAlreadyInDb;
  objId = impl_->add(pObj, AcDbObjectId());
  return Acad::eOk;
}

bool AcDbDatabase::isModified() const { return impl_->modified; }
void AcDbDatabase::setModified(bool modified) { impl_->modified = modified; }
std::size_t AcDbDatabase::numObjects() const { return impl_->liveObjects; }

// ---- host services ----

AcDbHostApplicationServices* acdbHostApplicationServices() {
  // Asked for on every module call: a local static's guard is one load once made, where
  // call_once went through thread-local storage each time.
  static AcDbHostApplicationServices* services = [] {
    static AcDbHostApplicationServices made;
    if (const char* env = std::getenv("KV_SUPPORT_PATH")) made.setSupportPath(acrxFromUtf8(env).c_str());
    return &made;
  }();
  return services;
}

void AcDbHostApplicationServices::setSupportPath(const ACHAR* folders) { supportPath_ = folders ? folders : L""; }
const ACHAR* AcDbHostApplicationServices::supportPath() const { return supportPath_.c_str(); }

Acad::ErrorStatus AcDbHostApplicationServices::findFile(ACHAR* pcFullPathOut, int nBufferLength, const ACHAR* pcFilename,
                                                        AcDbDatabase* pDb, FindFileHint) {
  namespace fs = std::filesystem;
  if (pcFilename == nullptr || pcFilename[0] == 0 || pcFullPathOut == nullptr) return Acad::eInvalidInput;
  fs::path name(acrxToUtf8(pcFilename));
  std::vector<fs::path> tries;
  if (name.has_parent_path() || name.is_absolute()) tries.push_back(name);
  AcDbDatabase* db = pDb ? pDb : working_;
  const ACHAR* dwg = nullptr;
  if (db != nullptr && db->getFilename(dwg) == Acad::eOk) tries.push_back(fs::path(acrxToUtf8(dwg)).parent_path() / name);
  std::wstring path = supportPath_;
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find(L';', start);
    std::wstring folder = path.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start);
    if (!folder.empty()) tries.push_back(fs::path(acrxToUtf8(folder)) / name);
    if (end == std::wstring::npos) break;
    start = end + 1;
  }
  for (const auto& p : tries) {
    std::error_code ec;
    if (!fs::is_regular_file(p, ec)) continue;
    std::wstring full = acrxFromUtf8(fs::absolute(p, ec).lexically_normal().string());
    if (static_cast<int>(full.size()) + 1 > nBufferLength) return Acad::eBufferTooSmall;
    std::wmemcpy(pcFullPathOut, full.c_str(), full.size() + 1);
    return Acad::eOk;
  }
  return Acad::eFileNotFound;
}

bool acdbIsLineWeight(long value) {
  static constexpr long kWeights[] = {-3, -2, -1, 0, 5, 9, 13, 15, 18, 20, 25, 30, 35, 40, 50, 53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
  return std::find(std::begin(kWeights), std::end(kWeights), value) != std::end(kWeights);
}

// ---- entity names ----

Acad::ErrorStatus acdbGetAdsName(ads_name objName, AcDbObjectId objId) {
  if (objId.isNull()) return Acad::eNullObjectId;
  std::int64_t serial = kvdb::serialOf(objId.database());
  if (serial == 0) return Acad::eNoDatabase;
  objName[0] = serial;
  objName[1] = static_cast<std::int64_t>(objId.handle().value());
  return Acad::eOk;
}

Acad::ErrorStatus acdbGetObjectId(AcDbObjectId& objId, const ads_name objName) {
  objId = AcDbObjectId();
  if (objName == nullptr) return Acad::eInvalidAdsName;
  AcDbDatabase* db = kvdb::databaseOfSerial(objName[0]);
  if (db == nullptr || objName[1] <= 0) return Acad::eInvalidAdsName;
  AcDbStub* s = db->impl()->stubFor(static_cast<Adesk::UInt64>(objName[1]), false);
  if (s == nullptr || s->object == nullptr) return Acad::eInvalidAdsName;
  objId = AcDbObjectId(s);
  return Acad::eOk;
}
