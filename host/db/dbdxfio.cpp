// DXF export of a whole drawing (the AC1015 layout other programs read) and import of the
// tables, blocks and entities such a file holds; proxies go out and come back as the platform's
// ACAD_PROXY_ENTITY and ACAD_PROXY_OBJECT with their class's data.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <type_traits>

#include "dbimpl.h"

namespace kvdb {
Acad::ErrorStatus dxfGroupsOf(const AcDbObject* obj, AcDbDxfMemoryFiler& filer) {
  ReadScope open(const_cast<AcDbObject*>(obj));
  return obj->dxfOut(&filer);
}
}  // namespace kvdb

namespace {

std::string hex(Adesk::UInt64 h) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "%llX", static_cast<unsigned long long>(h));
  return buf;
}

// Writes group pairs as text.
class DxfWriter {
 public:
  explicit DxfWriter(Adesk::UInt64 firstFreeHandle) : next_(firstFreeHandle) {}
  void str(int code, const std::string& v) { out_ << code << '\n' << v << '\n'; }
  void str(int code, const std::wstring& v) { str(code, acrxToUtf8(v)); }
  void integer(int code, long long v) { out_ << code << '\n' << v << '\n'; }
  void real(int code, double v) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.16g", v);
    std::string s = buf;
    if (s.find_first_of(".eEn") == std::string::npos) s += ".0";
    str(code, s);
  }
  void point(int code, const AcGePoint3d& p, bool withZ = true) {
    real(code, p.x);
    real(code + 10, p.y);
    if (withZ) real(code + 20, p.z);
  }
  // A handle for an object that only the file has (block begin/end, dictionaries, ...).
  std::string fresh() { return hex(next_++); }
  Adesk::UInt64 seed() const { return next_; }
  void groups(const AcDbDxfMemoryFiler& filer) {
    for (const auto& g : filer.groups()) {
      switch (kvads::dxfValueKind(g.code)) {
        case kvads::DxfKind::Point: point(g.code, AcGePoint3d(g.values[0], g.values[1], g.values[2]), g.integer != 2); break;
        case kvads::DxfKind::Real: real(g.code, g.values[0]); break;
        case kvads::DxfKind::Short:
        case kvads::DxfKind::Long:
        case kvads::DxfKind::Int64: integer(g.code, g.integer); break;
        default: str(g.code, g.text); break;
      }
    }
  }
  std::string text() const { return out_.str(); }

 private:
  std::ostringstream out_;
  Adesk::UInt64 next_;
};

std::string handleOf(AcDbObjectId id) { return id.isNull() ? "0" : hex(id.handle().value()); }

template <class Rec>
std::vector<Rec*> records(AcDbObjectId tableId) {
  std::vector<Rec*> out;
  auto* table = AcDbSymbolTable::cast(kvdb::objectOf(tableId));
  if (table == nullptr) return out;
  for (AcDbObjectId id : table->recordIds())
    if (!id.isErased())
      if (auto* r = Rec::cast(kvdb::objectOf(id))) out.push_back(r);
  return out;
}

void tableHead(DxfWriter& w, const char* name, AcDbObjectId id, std::size_t count, const char* subclass = nullptr) {
  w.str(0, "TABLE");
  w.str(2, name);
  w.str(5, id.isNull() ? w.fresh() : handleOf(id));
  w.str(330, "0");
  w.str(100, "AcDbSymbolTable");
  w.integer(70, static_cast<long long>(count));
  if (subclass != nullptr) w.str(100, subclass);
}

void recordHead(DxfWriter& w, const char* type, const std::string& handle, const std::string& owner, const char* subclass) {
  w.str(0, type);
  w.str(5, handle);
  w.str(330, owner);
  w.str(100, "AcDbSymbolTableRecord");
  w.str(100, subclass);
}

void writeHeader(DxfWriter& w, AcDbDatabase* db, Adesk::UInt64 seed) {
  db->updateExt();
  w.str(0, "SECTION");
  w.str(2, "HEADER");
  w.str(9, "$ACADVER");
  w.str(1, "AC1015");
  w.str(9, "$HANDSEED");
  w.str(5, hex(seed));
  w.str(9, "$INSBASE");
  w.point(10, db->insbase());
  w.str(9, "$EXTMIN");
  w.point(10, db->extmin());
  w.str(9, "$EXTMAX");
  w.point(10, db->extmax());
  w.str(9, "$DIMSCALE");
  w.real(40, db->dimscale());
  w.str(9, "$TEXTSIZE");
  w.real(40, db->textsize());
  auto* clayer = AcDbSymbolTableRecord::cast(kvdb::objectOf(db->clayer()));
  w.str(9, "$CLAYER");
  w.str(8, clayer ? clayer->getName() : L"0");
  w.str(0, "ENDSEC");
}

// One entry of the CLASSES section. Entities refer to it by number: 500 for the first entry.
struct ClassRow {
  std::wstring dxfName, name, app;
  int proxyFlags = 0;
  bool wasProxy = false;  // the class was not here when its objects were last saved
  bool entity = true;
};
constexpr int kFirstClassNumber = 500;
// The platform's numbers for the proxies' own classes, written before their original class's.
constexpr int kProxyEntityClass = 498;
constexpr int kProxyObjectClass = 499;

void writeClasses(DxfWriter& w, const std::vector<ClassRow>& classes) {
  w.str(0, "SECTION");
  w.str(2, "CLASSES");
  for (const ClassRow& c : classes) {
    w.str(0, "CLASS");
    w.str(1, c.dxfName);
    w.str(2, c.name);
    w.str(3, c.app);
    w.integer(90, c.proxyFlags);
    w.integer(91, 0);
    w.integer(280, c.wasProxy ? 1 : 0);
    w.integer(281, c.entity ? 1 : 0);
  }
  w.str(0, "ENDSEC");
}

void writeTables(DxfWriter& w, AcDbDatabase* db) {
  auto* impl = db->impl();
  w.str(0, "SECTION");
  w.str(2, "TABLES");
  std::string vportTable = w.fresh();
  w.str(0, "TABLE"), w.str(2, "VPORT"), w.str(5, vportTable), w.str(330, "0"), w.str(100, "AcDbSymbolTable"), w.integer(70, 1);
  recordHead(w, "VPORT", w.fresh(), vportTable, "AcDbViewportTableRecord");
  w.str(2, "*Active");
  w.integer(70, 0);
  w.point(10, AcGePoint3d(0, 0, 0), false);
  w.point(11, AcGePoint3d(1, 1, 0), false);
  AcDbSysVarValue ctr, size;
  db->getSysVar(L"VIEWCTR", ctr);
  db->getSysVar(L"VIEWSIZE", size);
  w.point(12, AcGePoint3d(ctr.values[0], ctr.values[1], 0), false);
  w.real(40, size.values[0]);
  w.real(41, 1.34);
  w.str(0, "ENDTAB");

  auto ltypes = records<AcDbLinetypeTableRecord>(impl->linetypeTable);
  tableHead(w, "LTYPE", impl->linetypeTable, ltypes.size());
  for (auto* lt : ltypes) {
    kvdb::ReadScope open(lt);
    recordHead(w, "LTYPE", handleOf(lt->objectId()), handleOf(impl->linetypeTable), "AcDbLinetypeTableRecord");
    const ACHAR* comments = L"";
    lt->comments(comments);
    w.str(2, lt->getName());
    w.integer(70, 0);
    w.str(3, comments);
    w.integer(72, 65);
    w.integer(73, lt->numDashes());
    w.real(40, lt->patternLength());
    for (int i = 0; i < lt->numDashes(); ++i) w.real(49, lt->dashLengthAt(i)), w.integer(74, 0);
  }
  w.str(0, "ENDTAB");

  auto layers = records<AcDbLayerTableRecord>(impl->layerTable);
  tableHead(w, "LAYER", impl->layerTable, layers.size());
  for (auto* l : layers) {
    recordHead(w, "LAYER", handleOf(l->objectId()), handleOf(impl->layerTable), "AcDbLayerTableRecord");
    auto* lt = AcDbSymbolTableRecord::cast(kvdb::objectOf(l->linetypeObjectId()));
    w.str(2, l->getName());
    w.integer(70, (l->isFrozen() ? 1 : 0) | (l->isLocked() ? 4 : 0));
    int color = l->color().colorIndex();
    w.integer(62, l->isOff() ? -color : color);
    w.str(6, lt ? lt->getName() : L"Continuous");
    w.integer(290, l->isPlottable() ? 1 : 0);
    w.integer(370, l->lineWeight());
  }
  w.str(0, "ENDTAB");

  auto styles = records<AcDbTextStyleTableRecord>(impl->styleTable);
  tableHead(w, "STYLE", impl->styleTable, styles.size());
  for (auto* s : styles) {
    kvdb::ReadScope open(s);
    recordHead(w, "STYLE", handleOf(s->objectId()), handleOf(impl->styleTable), "AcDbTextStyleTableRecord");
    const ACHAR* font = L"";
    const ACHAR* big = L"";
    s->fileName(font);
    s->bigFontFileName(big);
    w.str(2, s->getName());
    w.integer(70, 0);
    w.real(40, s->textSize());
    w.real(41, s->xScale());
    w.real(50, s->obliquingAngle() * 180 / 3.14159265358979323846);
    w.integer(71, 0);
    w.real(42, 2.5);
    w.str(3, font);
    w.str(4, big);
  }
  w.str(0, "ENDTAB");

  for (const char* empty : {"VIEW", "UCS"}) tableHead(w, empty, AcDbObjectId(), 0), w.str(0, "ENDTAB");

  auto apps = records<AcDbRegAppTableRecord>(impl->regAppTable);
  tableHead(w, "APPID", impl->regAppTable, apps.size());
  for (auto* a : apps) {
    recordHead(w, "APPID", handleOf(a->objectId()), handleOf(impl->regAppTable), "AcDbRegAppTableRecord");
    w.str(2, a->getName());
    w.integer(70, 0);
  }
  w.str(0, "ENDTAB");

  std::string dimTable = w.fresh();
  w.str(0, "TABLE"), w.str(2, "DIMSTYLE"), w.str(5, dimTable), w.str(330, "0"), w.str(100, "AcDbSymbolTable"), w.integer(70, 1);
  w.str(100, "AcDbDimStyleTable");
  w.integer(71, 0);
  w.str(0, "DIMSTYLE"), w.str(105, w.fresh()), w.str(330, dimTable), w.str(100, "AcDbSymbolTableRecord");
  w.str(100, "AcDbDimStyleTableRecord"), w.str(2, "Standard"), w.integer(70, 0);
  w.str(0, "ENDTAB");

  auto blocks = records<AcDbBlockTableRecord>(impl->blockTable);
  tableHead(w, "BLOCK_RECORD", impl->blockTable, blocks.size());
  for (auto* b : blocks) {
    recordHead(w, "BLOCK_RECORD", handleOf(b->objectId()), handleOf(impl->blockTable), "AcDbBlockTableRecord");
    w.str(2, b->getName());
  }
  w.str(0, "ENDTAB");
  w.str(0, "ENDSEC");
}

// The attributes of an insert, each under a handle of the file's own and owned by the insert,
// then the end of the sequence.
void writeAttributes(DxfWriter& w, const AcDbBlockReference& insert, AcDbDatabase* db) {
  const std::string owner = handleOf(insert.objectId());
  for (int i = 0; i < insert.attributeCount(); ++i) {
    AcDbDxfMemoryFiler filer(db);
    if (insert.attributeAt(i)->dxfOutFields(&filer) != Acad::eOk) continue;
    for (auto& g : filer.groups()) {
      if (g.code == AcDb::kDxfHandle) g.text = acrxFromUtf8(w.fresh());
      else if (g.code == AcDb::kDxfSoftPointerId) g.text = acrxFromUtf8(owner);
    }
    w.str(0, "ATTRIB");
    w.groups(filer);
  }
  w.str(0, "SEQEND"), w.str(5, w.fresh()), w.str(330, owner), w.str(100, "AcDbEntity"), w.str(8, "0");
}

// Binary data as the platform files it in DXF: the length (bytes, or bits for the class's data),
// then 310 groups of at most 127 bytes in hexadecimal.
void binaryGroups(DxfWriter& w, int sizeCode, long long size, const std::vector<unsigned char>& bytes) {
  static const char* const kDigits = "0123456789ABCDEF";
  w.integer(sizeCode, size);
  for (std::size_t at = 0; at < bytes.size(); at += 127) {
    std::string chunk;
    for (std::size_t i = at; i < bytes.size() && i < at + 127; ++i) {
      chunk += kDigits[bytes[i] >> 4];
      chunk += kDigits[bytes[i] & 15];
    }
    w.str(310, chunk);
  }
}

// A proxy's own groups, between the entity's and its extended data: the number of its original
// class, its picture and the class's data as filed, which another program keeps as they are.
void writeProxyGroups(DxfWriter& w, const AcDbProxyEntity& proxy, int classNumber) {
  w.str(100, "AcDbProxyEntity");
  w.integer(90, kProxyEntityClass);
  w.integer(91, classNumber);
  std::vector<unsigned char> picture = kvdb::pictureBytes(proxy.graphics());
  binaryGroups(w, 92, static_cast<long long>(picture.size()), picture);
  binaryGroups(w, 93, static_cast<long long>(proxy.data().size()) * 8, proxy.data());
  w.integer(94, 0);
  w.integer(95, 0);
  w.integer(70, 0);  // the data is in the binary form of a drawing, not DXF groups
}

template <class Proxy>
int classNumberOf(const std::vector<ClassRow>& classes, const Proxy& proxy) {
  for (std::size_t i = 0; i < classes.size(); ++i)
    if (classes[i].name == proxy.originalClassName()) return kFirstClassNumber + static_cast<int>(i);
  return 0;
}

// A proxy's groups as its filer gives them, parted before its extended data, which goes after
// the proxy's own groups.
void partXdata(AcDbDxfMemoryFiler& filer, AcDbDxfMemoryFiler& tail) {
  auto& groups = filer.groups();
  auto xdata = std::find_if(groups.begin(), groups.end(), [](const auto& g) { return g.code >= 1000; });
  tail.groups().assign(xdata, groups.end());
  groups.erase(xdata, groups.end());
}

// One entity: its type name, then its own groups; a proxy as the platform writes one.
void writeEntity(DxfWriter& w, AcDbEntity* e, const std::vector<ClassRow>& classes) {
  AcDbDxfMemoryFiler filer(e->database());
  if (kvdb::dxfGroupsOf(e, filer) != Acad::eOk) return;
  if (auto* proxy = AcDbProxyEntity::cast(e)) {
    AcDbDxfMemoryFiler tail(e->database());
    partXdata(filer, tail);
    w.str(0, "ACAD_PROXY_ENTITY");
    w.groups(filer);
    writeProxyGroups(w, *proxy, classNumberOf(classes, *proxy));
    w.groups(tail);
    return;
  }
  w.str(0, kvdb::dxfNameOf(e->isA()));
  w.groups(filer);
  if (auto* insert = AcDbBlockReference::cast(e); insert && insert->attributeCount() > 0)
    writeAttributes(w, *insert, e->database());
}

void writeBlocks(DxfWriter& w, AcDbDatabase* db, const std::vector<ClassRow>& classes) {
  w.str(0, "SECTION");
  w.str(2, "BLOCKS");
  for (auto* b : records<AcDbBlockTableRecord>(db->impl()->blockTable)) {
    std::string btr = handleOf(b->objectId());
    w.str(0, "BLOCK"), w.str(5, w.fresh()), w.str(330, btr), w.str(100, "AcDbEntity");
    if (kvdb::iequals(b->getName(), ACDB_PAPER_SPACE)) w.integer(67, 1);
    w.str(8, "0"), w.str(100, "AcDbBlockBegin"), w.str(2, b->getName()), w.integer(70, 0);
    w.point(10, b->origin());
    w.str(3, b->getName()), w.str(1, "");
    if (!b->isLayout())
      for (AcDbObjectId id : kvdb::liveEntities(b))
        if (auto* e = AcDbEntity::cast(kvdb::objectOf(id))) writeEntity(w, e, classes);
    w.str(0, "ENDBLK"), w.str(5, w.fresh()), w.str(330, btr), w.str(100, "AcDbEntity");
    if (kvdb::iequals(b->getName(), ACDB_PAPER_SPACE)) w.integer(67, 1);
    w.str(8, "0"), w.str(100, "AcDbBlockEnd");
  }
  w.str(0, "ENDSEC");
}

// The objects of the drawing that stand for a class not loaded: they are kept here, so that a
// drawing goes through DXF without losing them.
std::vector<AcDbProxyObject*> proxyObjects(AcDbDatabase* db) {
  std::vector<AcDbStub*> stubs;
  for (AcDbStub& s : db->impl()->stubs)
    if (!s.erased && AcDbProxyObject::cast(s.object)) stubs.push_back(&s);
  std::sort(stubs.begin(), stubs.end(), [](const AcDbStub* a, const AcDbStub* b) { return a->handle < b->handle; });
  std::vector<AcDbProxyObject*> out;
  for (AcDbStub* s : stubs) out.push_back(AcDbProxyObject::cast(s->object));
  return out;
}

// The root dictionary, then each proxy object as the platform writes one. One without an owner
// in the file is the root's, as every object of the section must have one.
void writeObjects(DxfWriter& w, AcDbDatabase* db, const std::vector<ClassRow>& classes) {
  std::string root = w.fresh(), groups = w.fresh();
  w.str(0, "SECTION");
  w.str(2, "OBJECTS");
  w.str(0, "DICTIONARY"), w.str(5, root), w.str(330, "0"), w.str(100, "AcDbDictionary"), w.integer(281, 1);
  w.str(3, "ACAD_GROUP"), w.str(350, groups);
  w.str(0, "DICTIONARY"), w.str(5, groups), w.str(330, root), w.str(100, "AcDbDictionary"), w.integer(281, 1);
  for (AcDbProxyObject* proxy : proxyObjects(db)) {
    AcDbDxfMemoryFiler filer(db);
    if (kvdb::dxfGroupsOf(proxy, filer) != Acad::eOk) continue;
    AcDbDxfMemoryFiler tail(db);
    partXdata(filer, tail);
    for (auto& g : filer.groups())
      if (g.code == AcDb::kDxfSoftPointerId && (g.text.empty() || g.text == L"0")) g.text = acrxFromUtf8(root);
    w.str(0, "ACAD_PROXY_OBJECT");
    w.groups(filer);
    w.str(100, "AcDbProxyObject");
    w.integer(90, kProxyObjectClass);
    w.integer(91, classNumberOf(classes, *proxy));
    binaryGroups(w, 93, static_cast<long long>(proxy->data().size()) * 8, proxy->data());
    w.integer(95, 0);
    w.integer(70, 0);  // the data is in the binary form of a drawing, not DXF groups
    w.groups(tail);
  }
  w.str(0, "ENDSEC");
}

// Classes of model space and block entities that the platform does not know by DXF name, and
// the original classes of proxies.
std::vector<ClassRow> customClasses(AcDbDatabase* db) {
  static const std::vector<std::wstring> builtin = {L"LINE",   L"LWPOLYLINE", L"SPLINE", L"MTEXT", L"INSERT", L"LEADER",
                                                    L"POINT",  L"CIRCLE",     L"ARC",    L"TEXT",  L"ATTDEF", L"ATTRIB"};
  std::vector<ClassRow> out;
  auto known = [&](const std::wstring& name) {
    return std::any_of(out.begin(), out.end(), [&](const ClassRow& c) { return c.name == name; });
  };
  for (auto* b : records<AcDbBlockTableRecord>(db->impl()->blockTable))
    for (AcDbObjectId id : kvdb::liveEntities(b)) {
      AcDbObject* o = kvdb::objectOf(id);
      if (auto* proxy = AcDbProxyEntity::cast(o)) {
        if (known(proxy->originalClassName())) continue;
        // The class may be here again by now: its numbers then go with it.
        const AcRxClass* cls = acrxFindAcRxClass(proxy->originalClassName());
        out.push_back({proxy->originalDxfName(), proxy->originalClassName(), cls ? cls->appName() : L"",
                       cls ? cls->proxyFlags() : 0, cls == nullptr, true});
        continue;
      }
      const AcRxClass* c = o ? o->isA() : nullptr;
      if (c == nullptr || known(c->name())) continue;
      if (std::find(builtin.begin(), builtin.end(), kvdb::dxfNameOf(c)) == builtin.end())
        out.push_back({kvdb::dxfNameOf(c), c->name(), c->appName(), c->proxyFlags(), false,
                       c->isDerivedFrom(AcDbEntity::desc())});
    }
  for (AcDbProxyObject* proxy : proxyObjects(db)) {
    if (known(proxy->originalClassName())) continue;
    const AcRxClass* cls = acrxFindAcRxClass(proxy->originalClassName());
    out.push_back({proxy->originalDxfName(), proxy->originalClassName(), cls ? cls->appName() : L"",
                   cls ? cls->proxyFlags() : 0, cls == nullptr, false});
  }
  return out;
}

}  // namespace

Acad::ErrorStatus AcDbDatabase::dxfOut(const ACHAR* fileName, int, bool) {
  if (fileName == nullptr || fileName[0] == 0) return Acad::eInvalidInput;
  impl_->flushIndex();
  DxfWriter w(impl_->nextHandle);
  std::vector<ClassRow> classes = customClasses(this);
  DxfWriter body(impl_->nextHandle);
  writeClasses(body, classes);
  writeTables(body, this);
  writeBlocks(body, this, classes);
  body.str(0, "SECTION");
  body.str(2, "ENTITIES");
  if (auto* ms = AcDbBlockTableRecord::cast(kvdb::objectOf(impl_->modelSpace)))
    for (AcDbObjectId id : kvdb::liveEntities(ms))
      if (auto* e = AcDbEntity::cast(kvdb::objectOf(id))) writeEntity(body, e, classes);
  body.str(0, "ENDSEC");
  writeObjects(body, this, classes);
  body.str(0, "EOF");
  writeHeader(w, this, body.seed());
  std::ofstream out(acrxToUtf8(fileName), std::ios::binary | std::ios::trunc);
  if (!out) return Acad::eFileAccessErr;
  out << w.text() << body.text();
  return out ? Acad::eOk : Acad::eFileAccessErr;
}

// ---- import ----

namespace {

struct RawGroup {
  int code;
  std::string value;
};

// Reads all group pairs; false for a file that is not group-coded text.
bool readGroups(const std::string& path, std::vector<RawGroup>& out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::string codeLine, value;
  while (std::getline(in, codeLine) && std::getline(in, value)) {
    if (!codeLine.empty() && codeLine.back() == '\r') codeLine.pop_back();
    if (!value.empty() && value.back() == '\r') value.pop_back();
    char* end = nullptr;
    long code = std::strtol(codeLine.c_str(), &end, 10);
    while (end && *end == ' ') ++end;
    if (end == codeLine.c_str() || (end && *end != 0)) return false;
    out.push_back({static_cast<int>(code), value});
  }
  return !out.empty();
}

double num(const std::string& s) { return std::strtod(s.c_str(), nullptr); }

// The groups of one object (after its 0 group) as a memory filer holds them; coordinates are
// joined into points.
void fillFiler(const std::vector<RawGroup>& g, std::size_t from, std::size_t to, AcDbDxfMemoryFiler& f) {
  for (std::size_t i = from; i < to; ++i) {
    AcDbDxfMemoryFiler::Group out;
    out.code = static_cast<short>(g[i].code);
    switch (kvads::dxfValueKind(g[i].code)) {
      case kvads::DxfKind::Point: {
        out.values[0] = num(g[i].value);
        out.integer = 2;
        if (i + 1 < to && g[i + 1].code == g[i].code + 10) out.values[1] = num(g[++i].value);
        if (i + 1 < to && g[i + 1].code == out.code + 20) {
          out.values[2] = num(g[++i].value);
          out.integer = 3;
        }
        break;
      }
      case kvads::DxfKind::Real: out.values[0] = num(g[i].value); break;
      case kvads::DxfKind::Short:
      case kvads::DxfKind::Long:
      case kvads::DxfKind::Int64: out.integer = std::strtoll(g[i].value.c_str(), nullptr, 10); break;
      case kvads::DxfKind::Invalid: continue;
      default: out.text = acrxFromUtf8(g[i].value); break;
    }
    f.groups().push_back(std::move(out));
  }
}

std::wstring valueOf(const std::vector<RawGroup>& g, std::size_t from, std::size_t to, int code) {
  for (std::size_t i = from; i < to; ++i)
    if (g[i].code == code) return acrxFromUtf8(g[i].value);
  return L"";
}

class DxfReader {
 public:
  DxfReader(AcDbDatabase* db, const std::vector<RawGroup>& g) : db_(db), g_(g) {}

  Acad::ErrorStatus run() {
    std::size_t i = 0;
    while (i < g_.size()) {
      if (g_[i].code == 0 && g_[i].value == "SECTION" && i + 1 < g_.size()) {
        std::string name = g_[i + 1].value;
        std::size_t end = sectionEnd(i + 2);
        if (name == "CLASSES") readClasses(i + 2, end);
        else if (name == "TABLES") tables(i + 2, end);
        else if (name == "BLOCKS") blocks(i + 2, end);
        else if (name == "ENTITIES") entities(i + 2, end, db_->modelSpaceId());
        else if (name == "OBJECTS") objects(i + 2, end);
        i = end + 1;
        continue;
      }
      ++i;
    }
    return Acad::eOk;
  }
  int skipped() const { return skipped_; }

 private:
  std::size_t sectionEnd(std::size_t from) const {
    for (std::size_t i = from; i < g_.size(); ++i)
      if (g_[i].code == 0 && g_[i].value == "ENDSEC") return i;
    return g_.size();
  }
  std::size_t nextObject(std::size_t from, std::size_t end) const {
    for (std::size_t i = from; i < end; ++i)
      if (g_[i].code == 0) return i;
    return end;
  }

  // The CLASSES section, in order: entities name their class by its place (from 500).
  void readClasses(std::size_t from, std::size_t end) {
    for (std::size_t i = nextObject(from, end); i < end;) {
      std::size_t next = nextObject(i + 1, end);
      if (g_[i].value == "CLASS") classes_.push_back({valueOf(g_, i + 1, next, 2), valueOf(g_, i + 1, next, 1)});
      i = next;
    }
  }

  // A proxy: the object's groups, then its own (from the AcDbProxyEntity or AcDbProxyObject
  // marker), then extended data. Its original class comes from the CLASSES section; an entity's
  // picture is kept when it is one this host wrote, and the class's data is kept as it was filed.
  template <class Proxy>
  std::unique_ptr<Proxy> proxyOf(std::size_t from, std::size_t to, const char* marker) {
    std::size_t own = from;
    while (own < to && !(g_[own].code == 100 && g_[own].value == marker)) ++own;
    std::size_t xdata = own;
    while (xdata < to && g_[xdata].code < 1000) ++xdata;
    auto proxy = std::make_unique<Proxy>();
    AcDbDxfMemoryFiler f(db_);
    fillFiler(g_, from, own, f);
    fillFiler(g_, xdata, to, f);
    f.rewind();
    if (proxy->dxfIn(&f) != Acad::eOk) return nullptr;
    long classNumber = 0;
    std::vector<unsigned char> picture, data;
    std::vector<unsigned char>* into = nullptr;
    for (std::size_t k = own + 1; k < xdata; ++k) {
      switch (g_[k].code) {
        case 91: classNumber = std::strtol(g_[k].value.c_str(), nullptr, 10); break;
        case 92: into = &picture; break;
        case 93: into = &data; break;
        case 310:
          if (into == nullptr || !appendHex(g_[k].value, *into)) return nullptr;
          break;
        default: into = nullptr; break;
      }
    }
    std::size_t place = static_cast<std::size_t>(classNumber - kFirstClassNumber);
    if (classNumber >= kFirstClassNumber && place < classes_.size())
      proxy->setOriginal(classes_[place].name, classes_[place].dxfName);
    if constexpr (std::is_same_v<Proxy, AcDbProxyEntity>) {
      std::vector<std::vector<AcGePoint3d>> lines;
      if (kvdb::pictureFromBytes(picture, lines)) proxy->setGraphics(std::move(lines));
    }
    // The class's data joins the proxy as it does from a drawing file: behind the object's part.
    AcDbDwgMemoryFiler out(db_);
    if (proxy->dwgOut(&out) != Acad::eOk) return nullptr;
    std::vector<unsigned char> bytes = out.buffer();
    bytes.insert(bytes.end(), data.begin(), data.end());
    AcDbDwgMemoryFiler in(db_);
    in.setBuffer(std::move(bytes));
    if (proxy->dwgIn(&in) != Acad::eOk) return nullptr;
    return proxy;
  }

  AcDbEntity* proxyEntity(std::size_t from, std::size_t to) {
    return proxyOf<AcDbProxyEntity>(from, to, "AcDbProxyEntity").release();
  }

  // Proxy objects come in without an owner, which the host cannot tell from the file. The
  // section's other objects are the file's own bookkeeping.
  void objects(std::size_t from, std::size_t end) {
    for (std::size_t i = nextObject(from, end); i < end;) {
      std::size_t next = nextObject(i + 1, end);
      if (g_[i].value == "ACAD_PROXY_OBJECT") {
        std::unique_ptr<AcDbProxyObject> proxy = proxyOf<AcDbProxyObject>(i + 1, next, "AcDbProxyObject");
        AcDbObjectId id;
        if (proxy) proxy->setOwnerId(AcDbObjectId());
        const Adesk::UInt64 handle = handleIn(i + 1, next);
        if (proxy && withHandle(handle, [&] { return db_->addAcDbObject(id, proxy.get()); }) == Acad::eOk)
          proxy.release()->close();
        else ++skipped_;
      }
      i = next;
    }
  }

  static bool appendHex(const std::string& text, std::vector<unsigned char>& out) {
    auto digit = [](char c) {
      if (c >= '0' && c <= '9') return c - '0';
      if (c >= 'A' && c <= 'F') return c - 'A' + 10;
      if (c >= 'a' && c <= 'f') return c - 'a' + 10;
      return -1;
    };
    if (text.size() % 2 != 0) return false;
    for (std::size_t i = 0; i < text.size(); i += 2) {
      int hi = digit(text[i]), lo = digit(text[i + 1]);
      if (hi < 0 || lo < 0) return false;
      out.push_back(static_cast<unsigned char>(hi * 16 + lo));
    }
    return true;
  }

  // The handle a group of an object's groups names (5: its own, 330: its owner's), 0 when it
  // has none or it is not hexadecimal.
  Adesk::UInt64 handleIn(std::size_t from, std::size_t to, int code = 5) const {
    return AcDbHandle(valueOf(g_, from, to, code).c_str()).value();
  }

  // Runs `add` with the file's handle offered to the object it adds; whatever add does, the
  // offer ends with it.
  template <class Add>
  Acad::ErrorStatus withHandle(Adesk::UInt64 handle, Add add) {
    struct Forget {
      AcDbDatabase* db;
      ~Forget() { db->impl()->preferredHandle = 0; }
    } forget{db_};
    db_->impl()->preferredHandle = handle;
    return add();
  }

  template <class Table, class Rec>
  void addRecord(Acad::ErrorStatus (AcDbDatabase::*get)(Table*&, AcDb::OpenMode), Rec* rec, Adesk::UInt64 handle) {
    Table* table = nullptr;
    if ((db_->*get)(table, AcDb::kForWrite) != Acad::eOk || table->has(rec->getName())) {
      delete rec;
    } else if (withHandle(handle, [&] { return table->add(rec); }) != Acad::eOk) {
      delete rec;
    } else {
      rec->close();
    }
    if (table) table->close();
  }

  void tables(std::size_t from, std::size_t end) {
    for (std::size_t i = nextObject(from, end); i < end;) {
      std::size_t next = nextObject(i + 1, end);
      const std::string& type = g_[i].value;
      std::wstring name = valueOf(g_, i + 1, next, 2);
      if (type == "LAYER" && !name.empty()) layer(name, i + 1, next);
      else if (type == "LTYPE" && !name.empty()) {
        auto* rec = new AcDbLinetypeTableRecord;
        rec->setName(name.c_str());
        rec->setComments(valueOf(g_, i + 1, next, 3).c_str());
        addRecord(&AcDbDatabase::getLinetypeTable, rec, handleIn(i + 1, next));
      } else if (type == "STYLE" && !name.empty()) {
        auto* rec = new AcDbTextStyleTableRecord;
        rec->setName(name.c_str());
        rec->setFileName(valueOf(g_, i + 1, next, 3).c_str());
        rec->setTextSize(num(acrxToUtf8(valueOf(g_, i + 1, next, 40))));
        addRecord(&AcDbDatabase::getTextStyleTable, rec, handleIn(i + 1, next));
      } else if (type == "APPID" && !name.empty()) {
        auto* rec = new AcDbRegAppTableRecord;
        rec->setName(name.c_str());
        addRecord(&AcDbDatabase::getRegAppTable, rec, handleIn(i + 1, next));
      }
      i = next;
    }
  }

  void layer(const std::wstring& name, std::size_t from, std::size_t to) {
    auto* rec = new AcDbLayerTableRecord;
    if (rec->setName(name.c_str()) != Acad::eOk) return delete rec;
    for (std::size_t k = from; k < to; ++k) {
      long v = std::strtol(g_[k].value.c_str(), nullptr, 10);
      AcCmColor c;
      switch (g_[k].code) {
        case 62:  // negative: the layer is off; a number no colour has leaves the default
          if (v < -257 || v > 257) break;
          c.setColorIndex(static_cast<Adesk::UInt16>(std::abs(v)));
          rec->setColor(c);
          rec->setIsOff(v < 0);
          break;
        case 70: rec->setIsFrozen(v & 1); rec->setIsLocked(v & 4); break;
        case 290: rec->setIsPlottable(v != 0); break;
        case 370:
          if (acdbIsLineWeight(v)) rec->setLineWeight(static_cast<AcDb::LineWeight>(v));
          break;
        case 6: {
          AcDbLinetypeTable* lt = nullptr;
          if (db_->getLinetypeTable(lt, AcDb::kForRead) == Acad::eOk) {
            AcDbObjectId id = lt->getIdAt(acrxFromUtf8(g_[k].value).c_str());
            lt->close();
            if (!id.isNull()) rec->setLinetypeObjectId(id);
          }
          break;
        }
        default: break;
      }
    }
    addRecord(&AcDbDatabase::getLayerTable, rec, handleIn(from, to));
  }

  // Block definitions other than the layouts, with their entities.
  void blocks(std::size_t from, std::size_t end) {
    for (std::size_t i = nextObject(from, end); i < end;) {
      std::size_t next = nextObject(i + 1, end);
      if (g_[i].value != "BLOCK") {
        i = next;
        continue;
      }
      std::wstring name = valueOf(g_, i + 1, next, 2);
      std::size_t close = i;
      while (close < end && !(g_[close].code == 0 && g_[close].value == "ENDBLK")) ++close;
      AcDbBlockTable* bt = nullptr;
      bool layout = kvdb::iequals(name, ACDB_MODEL_SPACE) || kvdb::iequals(name, ACDB_PAPER_SPACE);
      if (!layout && !name.empty() && db_->getBlockTable(bt, AcDb::kForWrite) == Acad::eOk) {
        AcDbObjectId id = bt->getIdAt(name.c_str());
        if (id.isNull()) {
          auto* btr = new AcDbBlockTableRecord;
          btr->setName(name.c_str());
          if (withHandle(handleIn(i + 1, next, 330), [&] { return bt->add(id, btr); }) == Acad::eOk) btr->close();
          else delete btr, id = AcDbObjectId();
        }
        bt->close();
        if (!id.isNull()) entities(next, close, id);
      }
      i = nextObject(close + 1, end);
    }
  }

  // An insert's attributes follow it up to a SEQEND; they become the insert's own.
  void entities(std::size_t from, std::size_t end, AcDbObjectId blockId) {
    for (std::size_t i = nextObject(from, end); i < end;) {
      std::size_t next = nextObject(i + 1, end);
      AcDbEntity* e = g_[i].value == "ACAD_PROXY_ENTITY" ? proxyEntity(i + 1, next)
                                                         : made(acrxFromUtf8(g_[i].value), i + 1, next);
      if (auto* insert = AcDbBlockReference::cast(e)) next = attributes(*insert, next, end);
      if (e != nullptr) append(e, blockId, handleIn(i + 1, next));
      else if (g_[i].value != "SEQEND") ++skipped_;  // a sequence end without its insert is no loss
      i = next;
    }
  }

  std::size_t attributes(AcDbBlockReference& insert, std::size_t at, std::size_t end) {
    while (at < end && g_[at].value == "ATTRIB") {
      std::size_t next = nextObject(at + 1, end);
      if (auto* a = AcDbAttribute::cast(made(L"ATTRIB", at + 1, next))) insert.appendAttribute(a);
      else ++skipped_;
      at = next;
    }
    if (at < end && g_[at].value == "SEQEND") at = nextObject(at + 1, end);
    return at;
  }

  // The entity of one object's groups, not yet in the database; null when the host has no class
  // for it or the groups do not fit.
  AcDbEntity* made(const std::wstring& type, std::size_t from, std::size_t to) {
    AcRxClass* cls = acrxFindAcRxClassByDxfName(type.c_str());
    AcRxObject* object = cls ? cls->create() : nullptr;
    auto* e = AcDbEntity::cast(object);
    if (e == nullptr) {
      delete object;
      return nullptr;
    }
    AcDbDxfMemoryFiler f(db_);
    fillFiler(g_, from, to, f);
    f.rewind();
    if (e->dxfIn(&f) != Acad::eOk) {
      delete e;
      return nullptr;
    }
    return e;
  }

  void append(AcDbEntity* e, AcDbObjectId blockId, Adesk::UInt64 handle) {
    AcDbBlockTableRecord* btr = nullptr;
    if (acdbOpenObject(btr, blockId, AcDb::kForWrite) != Acad::eOk) {
      delete e;
      ++skipped_;
      return;
    }
    if (withHandle(handle, [&] { return btr->appendAcDbEntity(e); }) == Acad::eOk) e->close();
    else delete e, ++skipped_;
    btr->close();
  }

  struct ClassName {
    std::wstring name, dxfName;
  };
  AcDbDatabase* db_;
  const std::vector<RawGroup>& g_;
  std::vector<ClassName> classes_;
  int skipped_ = 0;
};

}  // namespace

// Entities of classes this host does not know (or that refuse their groups) are left out and
// counted on the console; the rest is added to this database.
Acad::ErrorStatus AcDbDatabase::dxfIn(const ACHAR* dxfFilename, const ACHAR*) {
  if (dxfFilename == nullptr) return Acad::eInvalidInput;
  std::vector<RawGroup> groups;
  std::string path = acrxToUtf8(dxfFilename);
  std::ifstream probe(path);
  if (!probe) return Acad::eFileNotFound;
  if (!readGroups(path, groups)) return Acad::eInvalidDxfCode;
  if (impl_->blockTable.isNull()) impl_->buildDefaults();
  DxfReader reader(this, groups);
  Acad::ErrorStatus es = reader.run();
  if (reader.skipped() > 0) std::fprintf(stderr, "kvhost: %d DXF entities could not be read\n", reader.skipped());
  return es;
}
