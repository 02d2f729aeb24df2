// Saving and reading drawings in the host's binary format, and inserting one drawing into
// another as a block. The format's table is in db.h above AcDbDwgMemoryFiler.
#include <algorithm>
#include <cmath>
#include <cwchar>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "dbimpl.h"

namespace {

constexpr char kMagic[8] = {'K', 'V', 'D', 'W', 'G', '1', '\r', '\n'};
constexpr char kEndMagic[8] = {'K', 'V', 'D', 'W', 'G', 'E', 'N', 'D'};
constexpr Adesk::UInt32 kFormatVersion = 1;

// The root ids, in file order.
std::vector<AcDbObjectId*> roots(AcDbDatabase::Impl* d) {
  return {&d->blockTable, &d->layerTable, &d->styleTable, &d->linetypeTable, &d->regAppTable, &d->modelSpace,
          &d->paperSpace, &d->byLayerLt, &d->byBlockLt, &d->continuousLt, &d->layer0, &d->standardStyle};
}

void writeVar(AcDbDwgFiler& f, const std::wstring& name, const AcDbSysVarValue& v) {
  f.writeString(name);
  f.writeUInt8(static_cast<Adesk::UInt8>(v.kind));
  switch (v.kind) {
    case AcDbSysVarValue::Kind::Int: f.writeInt32(v.integer); break;
    case AcDbSysVarValue::Kind::Real: f.writeDouble(v.values[0]); break;
    case AcDbSysVarValue::Kind::String: f.writeString(v.text); break;
    case AcDbSysVarValue::Kind::Point2d: f.writePoint2d(AcGePoint2d(v.values[0], v.values[1])); break;
    case AcDbSysVarValue::Kind::Point3d: f.writePoint3d(AcGePoint3d(v.values[0], v.values[1], v.values[2])); break;
    case AcDbSysVarValue::Kind::None: break;
  }
}

Acad::ErrorStatus readVar(AcDbDwgFiler& f, std::wstring& name, AcDbSysVarValue& v) {
  Adesk::UInt8 kind = 0;
  f.readString(name);
  f.readUInt8(&kind);
  if (kind > static_cast<Adesk::UInt8>(AcDbSysVarValue::Kind::Point3d)) return Acad::eInvalidInput;
  v.kind = static_cast<AcDbSysVarValue::Kind>(kind);
  AcGePoint2d p2;
  AcGePoint3d p3;
  switch (v.kind) {
    case AcDbSysVarValue::Kind::Int: f.readInt32(&v.integer); break;
    case AcDbSysVarValue::Kind::Real: f.readDouble(&v.values[0]); break;
    case AcDbSysVarValue::Kind::String: f.readString(v.text); break;
    case AcDbSysVarValue::Kind::Point2d: f.readPoint2d(&p2); v.values[0] = p2.x, v.values[1] = p2.y; break;
    case AcDbSysVarValue::Kind::Point3d: f.readPoint3d(&p3); v.values[0] = p3.x, v.values[1] = p3.y, v.values[2] = p3.z; break;
    case AcDbSysVarValue::Kind::None: break;
  }
  return f.filerStatus();
}

struct ClassEntry {
  std::wstring name, dxfName;
  bool isEntity = false;
  AcRxClass* cls = nullptr;
};

// The class recorded for an object: a proxy keeps the class it stands for.
ClassEntry classEntryOf(const AcDbObject* obj) {
  ClassEntry e;
  if (auto* p = AcDbProxyEntity::cast(obj)) return {p->originalClassName(), p->originalDxfName(), true, nullptr};
  if (auto* p = AcDbProxyObject::cast(obj)) return {p->originalClassName(), p->originalDxfName(), false, nullptr};
  e.cls = obj->isA();
  e.name = e.cls->name();
  e.dxfName = kvdb::dxfNameOf(e.cls);
  e.isEntity = AcDbEntity::cast(obj) != nullptr;
  return e;
}

// The proxy picture of an entity: what its saveAs draws, as polylines in world coordinates
// (circles and arcs as chords; text is not kept).
class ProxyPicture : public AcGiWorldDraw, public AcGiWorldGeometry, public AcGiSubEntityTraits {
 public:
  using Lines = std::vector<std::vector<AcGePoint3d>>;
  explicit ProxyPicture(Lines& out) : out_(out) {}
  AcGiRegenType regenType() const override { return kAcGiSaveWorldDrawForProxy; }
  Adesk::Boolean regenAbort() const override { return false; }
  AcGiSubEntityTraits& subEntityTraits() const override { return const_cast<ProxyPicture&>(*this); }
  AcGiGeometry* rawGeometry() const override { return const_cast<ProxyPicture*>(this); }
  Adesk::Boolean isDragging() const override { return false; }
  AcGiWorldGeometry& geometry() const override { return const_cast<ProxyPicture&>(*this); }

  Adesk::Boolean circle(const AcGePoint3d& c, double r, const AcGeVector3d& n) override {
    return circularArc(c, r, n, n.perpVector(), 2 * 3.14159265358979323846);
  }
  Adesk::Boolean circularArc(const AcGePoint3d& c, double r, const AcGeVector3d& n, const AcGeVector3d& start,
                             double sweep) override {
    AcGeVector3d x = start.normal(), y = n.normal().crossProduct(x);
    std::vector<AcGePoint3d> pts;
    for (int i = 0; i <= 24; ++i) {
      double a = sweep * i / 24;
      pts.push_back(world(c + x * (r * std::cos(a)) + y * (r * std::sin(a))));
    }
    out_.push_back(std::move(pts));
    return false;
  }
  Adesk::Boolean polyline(Adesk::UInt32 n, const AcGePoint3d* p, const AcGeVector3d*, Adesk::LongPtr) override {
    return add(n, p, false);
  }
  Adesk::Boolean polygon(Adesk::UInt32 n, const AcGePoint3d* p) override { return add(n, p, true); }
  Adesk::Boolean shell(Adesk::UInt32 n, const AcGePoint3d* p, Adesk::UInt32 size, const Adesk::Int32* faces) override {
    for (Adesk::UInt32 i = 0; i < size;) {
      auto count = static_cast<Adesk::UInt32>(std::abs(faces[i++]));
      std::vector<AcGePoint3d> loop;
      for (Adesk::UInt32 k = 0; k < count && i < size; ++k, ++i)
        if (faces[i] >= 0 && static_cast<Adesk::UInt32>(faces[i]) < n) loop.push_back(p[faces[i]]);
      add(static_cast<Adesk::UInt32>(loop.size()), loop.data(), true);
    }
    return false;
  }
  Adesk::Boolean text(const AcGePoint3d&, const AcGeVector3d&, const AcGeVector3d&, double, double, double,
                      const ACHAR*) override {
    return false;
  }
  Adesk::Boolean draw(AcGiDrawable* d) override {
    if (d != nullptr) {
      kvdb::ReadScope open(AcDbObject::cast(d));
      d->worldDraw(this);
    }
    return false;
  }
  Adesk::Boolean pushModelTransform(const AcGeMatrix3d& m) override {
    stack_.push_back(stack_.back() * m);
    return false;
  }
  Adesk::Boolean popModelTransform() override {
    if (stack_.size() > 1) stack_.pop_back();
    return false;
  }
  AcGeMatrix3d getModelToWorldTransform() const override { return stack_.back(); }

  void setColor(Adesk::UInt16) override {}
  Adesk::UInt16 color() const override { return 256; }
  void setLayer(const AcDbObjectId&) override {}
  AcDbObjectId layerId() const override { return {}; }
  void setLineType(const AcDbObjectId&) override {}
  AcDbObjectId lineTypeId() const override { return {}; }
  void setSelectionMarker(Adesk::LongPtr) override {}
  void setFillType(AcGiFillType) override {}
  AcGiFillType fillType() const override { return kAcGiFillNever; }
  void setLineWeight(int) override {}
  int lineWeight() const override { return -1; }

 private:
  AcGePoint3d world(const AcGePoint3d& p) const { return stack_.back() * p; }
  Adesk::Boolean add(Adesk::UInt32 n, const AcGePoint3d* p, bool closed) {
    if (n < 2 || p == nullptr) return false;
    std::vector<AcGePoint3d> pts;
    for (Adesk::UInt32 i = 0; i < n; ++i) pts.push_back(world(p[i]));
    if (closed) pts.push_back(pts.front());
    out_.push_back(std::move(pts));
    return false;
  }
  Lines& out_;
  std::vector<AcGeMatrix3d> stack_{AcGeMatrix3d()};
};

// The picture filed with an entity of a module's class (drawn by its saveAs), or the one a proxy
// keeps; host classes need none.
std::vector<std::vector<AcGePoint3d>> proxyPicture(AcDbObject* obj) {
  std::vector<std::vector<AcGePoint3d>> lines;
  if (auto* proxy = AcDbProxyEntity::cast(obj)) return proxy->graphics();
  auto* e = AcDbEntity::cast(obj);
  if (e == nullptr || std::wcscmp(e->isA()->appName(), L"ObjectDBX Classes") == 0) return lines;
  kvdb::ReadScope open(e);
  ProxyPicture picture(lines);
  e->saveAs(&picture, AcDb::kR13Save);
  return lines;
}

void writePicture(AcDbDwgFiler& f, const std::vector<std::vector<AcGePoint3d>>& lines) {
  f.writeUInt32(static_cast<Adesk::UInt32>(lines.size()));
  for (const auto& line : lines) {
    f.writeUInt32(static_cast<Adesk::UInt32>(line.size()));
    for (const auto& p : line) f.writePoint3d(p);
  }
}

Acad::ErrorStatus readPicture(AcDbDwgFiler& f, std::vector<std::vector<AcGePoint3d>>& lines, std::size_t remaining) {
  Adesk::UInt32 n = 0;
  if (f.readUInt32(&n) != Acad::eOk) return f.filerStatus();
  if (n > remaining / 4) return Acad::eEndOfFile;
  for (Adesk::UInt32 i = 0; i < n; ++i) {
    Adesk::UInt32 m = 0;
    if (f.readUInt32(&m) != Acad::eOk || m > remaining / 24) return Acad::eEndOfFile;
    std::vector<AcGePoint3d> line(m);
    for (auto& p : line) f.readPoint3d(&p);
    lines.push_back(std::move(line));
  }
  return f.filerStatus();
}

}  // namespace

std::vector<unsigned char> kvdb::pictureBytes(const std::vector<std::vector<AcGePoint3d>>& lines) {
  AcDbDwgMemoryFiler f(nullptr, AcDb::kFileFiler);
  writePicture(f, lines);
  return f.buffer();
}

bool kvdb::pictureFromBytes(const std::vector<unsigned char>& bytes, std::vector<std::vector<AcGePoint3d>>& lines) {
  AcDbDwgMemoryFiler f(nullptr, AcDb::kFileFiler);
  f.setBuffer(bytes);
  return readPicture(f, lines, bytes.size()) == Acad::eOk && f.remaining() == 0;
}

namespace {

// Files one object, opening it for read for the time of filing when it is closed.
Acad::ErrorStatus fileObject(AcDbObject* obj, AcDbDwgFiler& f) {
  kvdb::ReadScope open(obj);
  return obj->dwgOut(&f);
}

}  // namespace


// Writes the whole drawing to memory first, then to a temporary file renamed over the target,
// so a failed save never leaves half a drawing behind.
Acad::ErrorStatus AcDbDatabase::saveAs(const ACHAR* fileName, const void*) {
  if (fileName == nullptr || fileName[0] == 0) return Acad::eInvalidInput;
  AcDbDwgMemoryFiler f(this, AcDb::kFileFiler);
  f.writeBytes(kMagic, sizeof kMagic);
  f.writeUInt32(kFormatVersion);
  f.writeUInt64(impl_->nextHandle);
  for (AcDbObjectId* id : roots(impl_)) f.writeHardPointerId(*id);
  f.writeUInt32(static_cast<Adesk::UInt32>(impl_->sysvars.size()));
  for (const auto& [name, def] : impl_->sysvars) writeVar(f, name, def.value);

  std::vector<ClassEntry> classes;
  std::map<std::pair<std::wstring, bool>, Adesk::UInt32> classIndex;
  std::vector<std::pair<Adesk::UInt32, AcDbObject*>> objects;
  // Handle order, so a drawing read and saved again comes out the same.
  std::vector<AcDbStub*> order;
  for (AcDbStub& s : impl_->stubs)
    if (s.object != nullptr && !s.erased) order.push_back(&s);
  std::sort(order.begin(), order.end(), [](const AcDbStub* a, const AcDbStub* b) { return a->handle < b->handle; });
  for (AcDbStub* s : order) {
    ClassEntry e = classEntryOf(s->object);
    auto [it, fresh] = classIndex.try_emplace({e.name, e.isEntity}, static_cast<Adesk::UInt32>(classes.size()));
    if (fresh) classes.push_back(e);
    objects.push_back({it->second, s->object});
  }
  f.writeUInt32(static_cast<Adesk::UInt32>(classes.size()));
  for (const ClassEntry& c : classes) {
    // A proxy's class may be registered again by now; its numbers are filed as the class has them.
    AcRxClass* cls = c.cls ? c.cls : acrxFindAcRxClass(c.name.c_str());
    int maint = 0, ver = cls ? cls->getClassVersion(maint) : 0;
    f.writeString(c.name);
    f.writeString(c.dxfName);
    f.writeBool(c.isEntity);
    f.writeInt32(ver);
    f.writeInt32(maint);
    f.writeInt32(cls ? cls->proxyFlags() : 0);
  }
  f.writeUInt64(objects.size());
  AcDbDwgMemoryFiler of(this, AcDb::kFileFiler);
  for (const auto& [cls, obj] : objects) {
    of.setBuffer({});
    Acad::ErrorStatus es = fileObject(obj, of);
    if (es != Acad::eOk) return es;
    f.writeUInt32(cls);
    f.writeUInt64(obj->handle().value());
    f.writeUInt32(static_cast<Adesk::UInt32>(of.buffer().size()));
    f.writeBytes(of.buffer().data(), of.buffer().size());
    writePicture(f, proxyPicture(obj));
  }
  f.writeBytes(kEndMagic, sizeof kEndMagic);
  if (f.filerStatus() != Acad::eOk) return f.filerStatus();

  namespace fs = std::filesystem;
  fs::path target(acrxToUtf8(fileName));
  fs::path temp = target;
  temp += ".kvtmp";
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    if (!out) return Acad::eFileAccessErr;
    out.write(reinterpret_cast<const char*>(f.buffer().data()), static_cast<std::streamsize>(f.buffer().size()));
    if (!out) return Acad::eFileAccessErr;
  }
  std::error_code ec;
  fs::rename(temp, target, ec);
  if (ec) {
    fs::remove(temp, ec);
    return Acad::eFileAccessErr;
  }
  impl_->fileName = fileName;
  impl_->modified = false;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::save() {
  if (impl_->fileName.empty()) return Acad::eNotApplicable;
  std::wstring name = impl_->fileName;
  return saveAs(name.c_str());
}

namespace {

// Makes the object of a record: its class's, or a proxy when the class is not here, has no
// constructor, or answers eMakeMeProxy.
AcDbObject* readObject(const ClassEntry& c, AcDbDatabase* db, const std::vector<unsigned char>& payload,
                       AcDbStub* stub, Acad::ErrorStatus& es) {
  AcDbDwgMemoryFiler of(db, AcDb::kFileFiler);
  auto attempt = [&](AcDbObject* obj) {
    obj->setStub(stub);
    stub->object = obj;
    of.setBuffer(payload);
    es = obj->dwgIn(&of);
    return es;
  };
  AcRxObject* made = c.cls ? c.cls->create() : nullptr;
  auto* obj = AcDbObject::cast(made);
  if (made != nullptr && obj == nullptr) delete made;
  if (obj != nullptr && attempt(obj) != Acad::eMakeMeProxy) return obj;
  if (obj != nullptr) {
    stub->object = nullptr;
    obj->setStub(nullptr);
    delete obj;
  }
  if (c.isEntity) {
    auto* proxy = new AcDbProxyEntity;
    proxy->setOriginal(c.name, c.dxfName);
    attempt(proxy);
    return proxy;
  }
  auto* proxy = new AcDbProxyObject;
  proxy->setOriginal(c.name, c.dxfName);
  attempt(proxy);
  return proxy;
}

Acad::ErrorStatus readFile(const ACHAR* fileName, std::vector<unsigned char>& bytes) {
  namespace fs = std::filesystem;
  fs::path path(acrxToUtf8(fileName));
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) return Acad::eFileNotFound;
  std::ifstream in(path, std::ios::binary);
  if (!in) return Acad::eFileAccessErr;
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return Acad::eOk;
}

}  // namespace

namespace {
// A damaged file may name any object as a table; the rest of the host relies on the kinds.
bool rootsHaveTheirClasses(AcDbDatabase::Impl* d) {
  auto is = [](AcDbObjectId id, AcRxClass* cls) { return kvdb::objectOf(id) && kvdb::objectOf(id)->isKindOf(cls); };
  return is(d->blockTable, AcDbBlockTable::desc()) && is(d->layerTable, AcDbLayerTable::desc()) &&
         is(d->styleTable, AcDbTextStyleTable::desc()) && is(d->linetypeTable, AcDbLinetypeTable::desc()) &&
         is(d->regAppTable, AcDbRegAppTable::desc()) && is(d->modelSpace, AcDbBlockTableRecord::desc()) &&
         is(d->paperSpace, AcDbBlockTableRecord::desc()) && is(d->byLayerLt, AcDbLinetypeTableRecord::desc()) &&
         is(d->byBlockLt, AcDbLinetypeTableRecord::desc()) && is(d->continuousLt, AcDbLinetypeTableRecord::desc()) &&
         is(d->layer0, AcDbLayerTableRecord::desc()) && is(d->standardStyle, AcDbTextStyleTableRecord::desc());
}
}  // namespace

// Reads into this database, replacing what it held. Objects come in handle order; ids met
// before their objects are made on the way and filled when the object's record arrives.
Acad::ErrorStatus AcDbDatabase::readDwgFile(const ACHAR* fileName, int, bool, const wchar_t*) {
  if (fileName == nullptr) return Acad::eInvalidInput;
  std::vector<unsigned char> bytes;
  Acad::ErrorStatus es = readFile(fileName, bytes);
  if (es != Acad::eOk) return es;
  if (bytes.size() < sizeof kMagic || std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0) return Acad::eInvalidDwgVersion;
  impl_->clear();
  impl_->initSysVars();
  AcDbDwgMemoryFiler f(this, AcDb::kFileFiler);
  f.setBuffer(std::move(bytes));
  char magic[8];
  Adesk::UInt32 version = 0, nvars = 0, nclasses = 0;
  Adesk::UInt64 nextHandle = 1, nobjects = 0;
  f.readBytes(magic, 8);
  f.readUInt32(&version);
  if (version != kFormatVersion) return Acad::eInvalidDwgVersion;
  f.readUInt64(&nextHandle);
  for (AcDbObjectId* id : roots(impl_)) {
    AcDbHardPointerId h;
    f.readHardPointerId(&h);
    *id = h;
  }
  f.readUInt32(&nvars);
  for (Adesk::UInt32 i = 0; i < nvars && f.filerStatus() == Acad::eOk; ++i) {
    std::wstring name;
    AcDbSysVarValue v;
    if ((es = readVar(f, name, v)) != Acad::eOk) return es;
    impl_->sysvars[name].value = v;
  }
  f.readUInt32(&nclasses);
  if (f.filerStatus() != Acad::eOk) return f.filerStatus();
  if (nclasses > f.remaining() / 16) return Acad::eEndOfFile;  // each class takes at least 16 bytes
  std::vector<ClassEntry> classes(nclasses);
  for (ClassEntry& c : classes) {
    Adesk::Int32 ver = 0, maint = 0, flags = 0;
    f.readString(c.name);
    f.readString(c.dxfName);
    f.readBool(&c.isEntity);
    f.readInt32(&ver);
    f.readInt32(&maint);
    f.readInt32(&flags);
    c.cls = acrxFindAcRxClass(c.name.c_str());
  }
  f.readUInt64(&nobjects);
  if (f.filerStatus() != Acad::eOk) return f.filerStatus();
  std::vector<unsigned char> payload;
  for (Adesk::UInt64 i = 0; i < nobjects; ++i) {
    Adesk::UInt32 cls = 0, size = 0;
    Adesk::UInt64 handle = 0;
    f.readUInt32(&cls);
    f.readUInt64(&handle);
    f.readUInt32(&size);
    if (f.filerStatus() != Acad::eOk) return f.filerStatus();
    if (cls >= classes.size() || handle == 0 || size > f.remaining()) return Acad::eBrokenHandle;
    payload.resize(size);
    f.readBytes(payload.data(), size);
    std::vector<std::vector<AcGePoint3d>> picture;
    if ((es = readPicture(f, picture, f.remaining())) != Acad::eOk) return es;
    AcDbStub* stub = impl_->stubFor(handle, true);
    if (stub->object != nullptr) return Acad::eHandleInUse;
    AcDbObject* obj = readObject(classes[cls], this, payload, stub, es);
    if (es != Acad::eOk) {
      std::fprintf(stderr, "kvhost: %s: object %llX (%s) does not read: status %d\n", acrxToUtf8(fileName).c_str(),
                   static_cast<unsigned long long>(handle), acrxToUtf8(classes[cls].name).c_str(), static_cast<int>(es));
      return es;
    }
    if (auto* proxy = AcDbProxyEntity::cast(obj)) proxy->setGraphics(std::move(picture));
    obj->setModifiedFlag(false);
    obj->close();
    ++impl_->liveObjects;
  }
  f.readBytes(magic, 8);
  if (f.filerStatus() != Acad::eOk || std::memcmp(magic, kEndMagic, 8) != 0) return Acad::eEndOfFile;
  impl_->nextHandle = std::max(impl_->nextHandle, nextHandle);
  for (AcDbObjectId* id : roots(impl_))
    if (!id->isValid()) return Acad::eMissingSymbolTable;
  if (!rootsHaveTheirClasses(impl_)) return Acad::eWrongObjectType;
  kvdb::afterLoad(impl_);
  impl_->fileName = impl_->originalFileName = fileName;
  impl_->modified = false;
  return Acad::eOk;
}


namespace kvdb {

// Indexes record names, links records that lost their objects out, and queues model space for
// the selection index.
void afterLoad(AcDbDatabase::Impl* impl) {
  for (AcDbObjectId tableId : {impl->blockTable, impl->layerTable, impl->styleTable, impl->linetypeTable, impl->regAppTable}) {
    auto* table = AcDbSymbolTable::cast(objectOf(tableId));
    if (table == nullptr) continue;
    for (AcDbObjectId id : table->recordIds())
      if (auto* rec = AcDbSymbolTableRecord::cast(objectOf(id))) table->hostRename(id, L"", rec->getName());
  }
  if (auto* ms = AcDbBlockTableRecord::cast(objectOf(impl->modelSpace)))
    for (AcDbObjectId id : ms->entityIds())
      if (id.stub() && id.stub()->object) impl->markDirty(id.stub());
}

}  // namespace kvdb

// ---- inserting a drawing as a block ----

namespace {

// Copies objects of one database into another: symbol table records by name (made when the
// target lacks them), block definitions with their entities, and entities through the copy
// filer with every id translated.
class Copier {
 public:
  Copier(AcDbDatabase* from, AcDbDatabase* to) : from_(from), to_(to) {}

  AcDbObjectId map(Adesk::UInt64 handle) {
    auto it = done_.find(handle);
    if (it != done_.end()) return it->second;
    AcDbObjectId src;
    if (from_->getAcDbObjectId(src, false, AcDbHandle(handle)) != Acad::eOk) return {};
    AcDbObjectId out = translate(src);
    done_[handle] = out;
    return out;
  }

  // A copy of the entity in the target database's terms; null when its class cannot copy.
  AcDbEntity* copyEntity(const AcDbEntity* e) {
    AcDbDwgMemoryFiler out(from_, AcDb::kCopyFiler);
    if (fileObject(const_cast<AcDbEntity*>(e), out) != Acad::eOk) return nullptr;
    AcRxObject* made = e->isA()->create();
    auto* copy = AcDbEntity::cast(made);
    if (copy == nullptr) {
      delete made;
      return nullptr;
    }
    AcDbDwgMemoryFiler in(to_, AcDb::kCopyFiler);
    in.setBuffer(out.buffer());
    in.setIdMap([this](Adesk::UInt64 h) { return map(h); });
    Acad::ErrorStatus es = copy->dwgIn(&in);
    if (es != Acad::eOk && es != Acad::eUnknownHandle) {
      delete copy;
      return nullptr;
    }
    copy->setOwnerId(AcDbObjectId());
    return copy;
  }

  // Appends copies of the source block's entities to the target block.
  void copyEntities(const AcDbBlockTableRecord* src, AcDbBlockTableRecord* dst) {
    for (AcDbObjectId id : kvdb::liveEntities(src)) {
      auto* e = AcDbEntity::cast(kvdb::objectOf(id));
      AcDbEntity* copy = e ? copyEntity(e) : nullptr;
      if (copy == nullptr) continue;
      if (dst->appendAcDbEntity(copy) != Acad::eOk) delete copy;
      else copy->close();
    }
  }

 private:
  AcDbObjectId translate(AcDbObjectId src) {
    AcDbObject* obj = kvdb::objectOf(src);
    auto* rec = AcDbSymbolTableRecord::cast(obj);
    auto* table = rec ? AcDbSymbolTable::cast(kvdb::objectOf(rec->ownerId())) : nullptr;
    if (table == nullptr) return {};
    AcDbObjectId targetTable = tableFor(table);
    auto* dstTable = AcDbSymbolTable::cast(kvdb::objectOf(targetTable));
    if (dstTable == nullptr) return {};
    AcDbObjectId existing = dstTable->getIdAt(rec->getName());
    if (!existing.isNull()) return existing;
    return copyRecord(rec, dstTable);
  }

  AcDbObjectId tableFor(const AcDbSymbolTable* t) {
    if (AcDbBlockTable::cast(t)) return to_->blockTableId();
    if (AcDbLayerTable::cast(t)) return to_->layerTableId();
    if (AcDbTextStyleTable::cast(t)) return to_->textStyleTableId();
    if (AcDbLinetypeTable::cast(t)) return to_->linetypeTableId();
    if (AcDbRegAppTable::cast(t)) return to_->regAppTableId();
    return {};
  }

  // A record missing from the target: copied through the filer (a block gets its entities).
  AcDbObjectId copyRecord(AcDbSymbolTableRecord* rec, AcDbSymbolTable* dstTable) {
    AcRxObject* made = rec->isA()->create();
    auto* copy = AcDbSymbolTableRecord::cast(made);
    if (copy == nullptr) {
      delete made;
      return {};
    }
    auto* srcBlock = AcDbBlockTableRecord::cast(rec);
    if (srcBlock == nullptr) {
      AcDbDwgMemoryFiler out(from_, AcDb::kCopyFiler);
      fileObject(rec, out);
      AcDbDwgMemoryFiler in(to_, AcDb::kCopyFiler);
      in.setBuffer(out.buffer());
      in.setIdMap([this](Adesk::UInt64 h) { return map(h); });
      copy->dwgIn(&in);
    }
    copy->setName(rec->getName());
    copy->setOwnerId(AcDbObjectId());
    dstTable->upgradeOpen();
    bool wasClosed = dstTable->openState() == AcDbObject::OpenState::Closed;
    if (wasClosed) dstTable->hostOpen(AcDb::kForWrite);
    AcDbObjectId id;
    Acad::ErrorStatus es = dstTable->add(id, copy);
    if (wasClosed) dstTable->close();
    if (es != Acad::eOk) {
      delete copy;
      return {};
    }
    done_[rec->handle().value()] = id;
    if (srcBlock != nullptr) {
      static_cast<AcDbBlockTableRecord*>(copy)->setOrigin(srcBlock->origin());
      copyEntities(srcBlock, static_cast<AcDbBlockTableRecord*>(copy));
    }
    copy->close();
    return id;
  }

  AcDbDatabase* from_;
  AcDbDatabase* to_;
  std::map<Adesk::UInt64, AcDbObjectId> done_;
};

}  // namespace

Acad::ErrorStatus AcDbDatabase::insert(AcDbObjectId& blockId, const ACHAR* pBlockName, AcDbDatabase* pDb, bool) {
  blockId = AcDbObjectId();
  if (pDb == nullptr || pBlockName == nullptr) return Acad::eInvalidInput;
  if (pDb == this) return Acad::eInvalidInput;
  auto* srcMs = AcDbBlockTableRecord::cast(kvdb::objectOf(pDb->modelSpaceId()));
  if (srcMs == nullptr) return Acad::eMissingSymbolTableRec;
  AcDbBlockTable* bt = nullptr;
  Acad::ErrorStatus es = getBlockTable(bt, AcDb::kForWrite);
  if (es != Acad::eOk) return es;
  if (bt->has(pBlockName)) {
    bt->close();
    return Acad::eDuplicateRecordName;
  }
  auto* btr = new AcDbBlockTableRecord;
  if ((es = btr->setName(pBlockName)) != Acad::eOk || (es = bt->add(blockId, btr)) != Acad::eOk) {
    delete btr;
    bt->close();
    return es;
  }
  bt->close();
  btr->setOrigin(pDb->insbase());
  Copier(pDb, this).copyEntities(srcMs, btr);
  btr->close();
  return Acad::eOk;
}

namespace kvdb {

// Recovery reads records the same way as opening does.
AcDbObject* readRecordObject(AcDbDatabase* db, const RecordClass& c, const std::vector<unsigned char>& payload,
                             AcDbStub* stub, Acad::ErrorStatus& es) {
  return readObject({c.name, c.dxfName, c.isEntity, acrxFindAcRxClass(c.name.c_str())}, db, payload, stub, es);
}

}  // namespace kvdb
