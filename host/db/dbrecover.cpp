// Recovering a damaged drawing: a forgiving pass over the file's records, then every readable
// table record and entity moved into a fresh drawing with references to lost objects cleared.
// Opening stays strict (one bad object refuses the drawing); this is the designer's way out.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "dbimpl.h"

namespace {

constexpr char kMagic[8] = {'K', 'V', 'D', 'W', 'G', '1', '\r', '\n'};
constexpr char kEndMagic[8] = {'K', 'V', 'D', 'W', 'G', 'E', 'N', 'D'};
// The roots after the magic are not read: the new drawing has roots of its own.
constexpr std::size_t kVarsAt = 120;  // after the variables' count
// No record of a real drawing comes near these; past them a header is taken for damage.
constexpr std::uint64_t kMaxHandle = 1ull << 40;
constexpr std::uint32_t kMaxClasses = 4096, kMaxName = 1024;

// A bounds-checked little-endian reader: a read past the end fails instead of reading on.
class Cursor {
 public:
  Cursor(const std::vector<unsigned char>& bytes, std::size_t at) : b_(bytes), at_(at) {}
  template <typename T>
  bool get(T& out) {
    if (at_ > b_.size() || b_.size() - at_ < sizeof(T)) return false;
    std::memcpy(&out, b_.data() + at_, sizeof(T));
    at_ += sizeof(T);
    return true;
  }
  bool skip(std::size_t n) {
    if (at_ > b_.size() || b_.size() - at_ < n) return false;
    at_ += n;
    return true;
  }
  bool text(std::string& out, std::uint32_t limit) {
    std::uint32_t n = 0;
    if (!get(n) || n > limit || remaining() < n) return false;
    out.assign(reinterpret_cast<const char*>(b_.data() + at_), n);
    at_ += n;
    return true;
  }
  std::size_t at() const { return at_; }
  std::size_t remaining() const { return at_ > b_.size() ? 0 : b_.size() - at_; }

 private:
  const std::vector<unsigned char>& b_;
  std::size_t at_;
};

struct Record {
  std::uint32_t cls = 0;
  std::uint64_t handle = 0;
  std::vector<unsigned char> payload;
};

struct Scan {
  std::vector<std::pair<std::wstring, AcDbSysVarValue>> vars;
  std::vector<kvdb::RecordClass> classes;
  std::vector<Record> records;
};

bool readVar(Cursor& c, std::wstring& name, AcDbSysVarValue& v) {
  std::string n;
  std::uint8_t kind = 0;
  if (!c.text(n, kMaxName) || !c.get(kind) || kind > static_cast<std::uint8_t>(AcDbSysVarValue::Kind::Point3d))
    return false;
  name = acrxFromUtf8(n);
  v.kind = static_cast<AcDbSysVarValue::Kind>(kind);
  switch (v.kind) {
    case AcDbSysVarValue::Kind::Int: return c.get(v.integer);
    case AcDbSysVarValue::Kind::Real: return c.get(v.values[0]);
    case AcDbSysVarValue::Kind::String: {
      std::string t;
      if (!c.text(t, 1 << 20)) return false;
      v.text = acrxFromUtf8(t);
      return true;
    }
    case AcDbSysVarValue::Kind::Point2d: return c.get(v.values[0]) && c.get(v.values[1]);
    case AcDbSysVarValue::Kind::Point3d: return c.get(v.values[0]) && c.get(v.values[1]) && c.get(v.values[2]);
    case AcDbSysVarValue::Kind::None: return true;
  }
  return false;
}

// The class table at the cursor; false when it does not look like one. A damaged name is kept:
// its objects then fail to read one by one instead of losing the whole table.
bool readClass(Cursor& c, kvdb::RecordClass& out) {
  std::string name, dxf;
  std::uint8_t entity = 0;
  if (!c.text(name, kMaxName) || name.empty() || !c.text(dxf, kMaxName) || !c.get(entity) || entity > 1 || !c.skip(12))
    return false;
  out = {acrxFromUtf8(name), acrxFromUtf8(dxf), entity == 1};
  return true;
}

bool readClasses(Cursor& c, std::vector<kvdb::RecordClass>& out) {
  std::uint32_t n = 0;
  if (!c.get(n) || n == 0 || n > kMaxClasses) return false;
  out.assign(n, {});
  for (kvdb::RecordClass& entry : out)
    if (!readClass(c, entry)) return false;
  return true;
}

bool objectsFollow(const std::vector<unsigned char>& b, std::size_t at, std::size_t classes);

// A class table whose count is damaged: entries read one after another, and the longest run
// that the object count and a trusted record follow is taken.
bool readClassesWithoutCount(const std::vector<unsigned char>& b, std::size_t at, std::vector<kvdb::RecordClass>& out,
                             std::size_t& end) {
  Cursor c(b, at);
  std::vector<std::pair<kvdb::RecordClass, std::size_t>> run;
  for (kvdb::RecordClass entry; run.size() < kMaxClasses && readClass(c, entry);) run.emplace_back(entry, c.at());
  for (std::size_t n = run.size(); n > 0; --n) {
    if (!objectsFollow(b, run[n - 1].second, n)) continue;
    out.clear();
    for (std::size_t i = 0; i < n; ++i) out.push_back(run[i].first);
    end = run[n - 1].second;
    return true;
  }
  return false;
}

// Whether a record starts at the cursor: a known class, a plausible handle, bytes and a picture
// that fit. Leaves the cursor after it.
bool recordAt(Cursor& c, std::size_t classes, Record* out) {
  std::uint32_t cls = 0, size = 0, lines = 0;
  std::uint64_t handle = 0;
  if (!c.get(cls) || !c.get(handle) || !c.get(size)) return false;
  if (cls >= classes || handle == 0 || handle >= kMaxHandle || size > c.remaining()) return false;
  if (!c.skip(size) || !c.get(lines) || lines > c.remaining() / 4) return false;
  for (std::uint32_t i = 0; i < lines; ++i) {
    std::uint32_t points = 0;
    if (!c.get(points) || points > c.remaining() / 24 || !c.skip(std::size_t{points} * 24)) return false;
  }
  if (out != nullptr) *out = {cls, handle, {}};
  return true;
}

// A damaged first line still marks a drawing; another kind of file shares little of it.
bool looksLikeADrawing(const std::vector<unsigned char>& b) {
  int same = 0;
  for (std::size_t i = 0; i < sizeof kMagic; ++i) same += b[i] == static_cast<unsigned char>(kMagic[i]);
  return same >= 6;
}

bool endAt(const std::vector<unsigned char>& b, std::size_t at) {
  return at + 8 <= b.size() && std::memcmp(b.data() + at, kEndMagic, 8) == 0;
}

// A record that is followed by another record or the end mark: enough to trust a resync point.
bool trustedRecordAt(const std::vector<unsigned char>& b, std::size_t at, std::size_t classes) {
  Cursor c(b, at);
  if (!recordAt(c, classes, nullptr)) return false;
  if (endAt(b, c.at())) return true;
  Cursor next(b, c.at());
  return recordAt(next, classes, nullptr);
}

// The object count at `at`, then the end mark or a trusted record.
bool objectsFollow(const std::vector<unsigned char>& b, std::size_t at, std::size_t classes) {
  Cursor c(b, at);
  std::uint64_t count = 0;
  return c.get(count) && (endAt(b, c.at()) || trustedRecordAt(b, c.at(), classes));
}

// Header variables, then the class table; when the variables are damaged the class table is
// looked for further on, as its position is lost with them.
bool scanHeader(const std::vector<unsigned char>& b, Scan& s, AcDbRecoverReport& report, std::size_t& objectsAt) {
  Cursor c(b, kVarsAt - 4);
  std::uint32_t nvars = 0;
  bool varsOk = c.get(nvars) && nvars <= b.size() / 6;
  for (std::uint32_t i = 0; varsOk && i < nvars; ++i) {
    std::wstring name;
    AcDbSysVarValue v;
    if (!(varsOk = readVar(c, name, v))) break;
    s.vars.emplace_back(name, v);
  }
  std::uint64_t count = 0;
  if (varsOk && readClasses(c, s.classes) && c.get(count)) {
    objectsAt = c.at();
    return true;
  }
  report.notes.push_back("the header variables or the class table are damaged; looking further for the classes");
  s.vars.clear();
  for (std::size_t at = kVarsAt; at + 4 < b.size(); ++at) {
    Cursor probe(b, at);
    std::size_t end = 0;
    bool found = readClasses(probe, s.classes) && objectsFollow(b, end = probe.at(), s.classes.size());
    if (found || readClassesWithoutCount(b, at + 4, s.classes, end)) {
      report.bytesSkipped += at - kVarsAt;
      objectsAt = end + 8;
      return true;
    }
  }
  return false;
}

// Every record that makes sense, in file order; a damaged stretch is passed over to the next
// trusted record.
void scanRecords(const std::vector<unsigned char>& b, std::size_t at, Scan& s, AcDbRecoverReport& report) {
  while (at < b.size() && !endAt(b, at)) {
    Cursor c(b, at);
    Record r;
    if (recordAt(c, s.classes.size(), &r)) {
      Cursor body(b, at + 12);  // class index, handle, then the byte count
      std::uint32_t size = 0;
      body.get(size);
      r.payload.assign(b.begin() + static_cast<std::ptrdiff_t>(body.at()),
                       b.begin() + static_cast<std::ptrdiff_t>(body.at() + size));
      s.records.push_back(std::move(r));
      at = c.at();
      continue;
    }
    std::size_t from = at++;
    while (at < b.size() && !endAt(b, at) && !trustedRecordAt(b, at, s.classes.size())) ++at;
    report.bytesSkipped += at - from;
    report.notes.push_back("damaged bytes at offset " + std::to_string(from) + " (" + std::to_string(at - from) +
                           " bytes) skipped");
  }
}

// A handle as the reports elsewhere print it: hexadecimal, upper case.
std::string hex(std::uint64_t h) {
  std::ostringstream s;
  s << std::hex << std::uppercase << h;
  return s.str();
}

// Moves what was read into the new drawing: table records by name into the table of their
// kind, entities into the block that owned them (model space when that is gone), every handle
// through `map` so references to lost objects read as null and are cleared.
class Mover {
 public:
  Mover(AcDbDatabase* from, AcDbDatabase* to, AcDbRecoverReport& report) : from_(from), to_(to), report_(report) {}

  void moveAll() {
    std::vector<AcDbStub*> stubs;
    for (AcDbStub& s : from_->impl()->stubs)
      if (s.object != nullptr) stubs.push_back(&s);
    for (AcDbStub* s : stubs)
      if (AcDbSymbolTableRecord::cast(s->object) || AcDbSymbolTable::cast(s->object)) keep(s->handle, map(s->handle));
    for (AcDbStub* s : stubs) {
      auto* e = AcDbEntity::cast(s->object);
      if (e == nullptr) continue;
      if (AcDbProxyEntity::cast(e)) {
        drop(s->handle, "an entity of a class that is not loaded");
        continue;
      }
      moveEntity(s->handle, e);
    }
    for (AcDbStub* s : stubs)
      if (!placed_.contains(s->handle) && !dropped_.contains(s->handle))
        drop(s->handle, AcDbProxyObject::cast(s->object) ? "an object of a class that is not loaded" : "an object with no place");
  }

 private:
  void keep(std::uint64_t handle, AcDbObjectId id) {
    if (!id.isNull()) placed_.insert(handle);
  }
  void drop(std::uint64_t handle, const std::string& why) {
    dropped_.insert(handle);
    ++report_.dropped;
    report_.notes.push_back("object " + hex(handle) + " dropped: " + why);
  }

  // The id in the new drawing that a handle of the old one stands for: tables and records by
  // kind and name, nothing for the rest (a reference to it is cleared).
  AcDbObjectId map(std::uint64_t handle) {
    auto it = done_.find(handle);
    if (it != done_.end()) return it->second;
    AcDbObjectId out;
    AcDbStub* s = from_->impl()->stubFor(handle, false);
    AcDbObject* obj = s ? s->object : nullptr;
    if (auto* table = AcDbSymbolTable::cast(obj)) out = tableOfKind(table);
    else if (auto* rec = AcDbSymbolTableRecord::cast(obj)) out = record(handle, rec);
    done_[handle] = out;
    return out;
  }

  AcDbObjectId tableOfKind(const AcDbObject* obj) {
    if (AcDbBlockTable::cast(obj) || AcDbBlockTableRecord::cast(obj)) return to_->blockTableId();
    if (AcDbLayerTable::cast(obj) || AcDbLayerTableRecord::cast(obj)) return to_->layerTableId();
    if (AcDbTextStyleTable::cast(obj) || AcDbTextStyleTableRecord::cast(obj)) return to_->textStyleTableId();
    if (AcDbLinetypeTable::cast(obj) || AcDbLinetypeTableRecord::cast(obj)) return to_->linetypeTableId();
    if (AcDbRegAppTable::cast(obj) || AcDbRegAppTableRecord::cast(obj)) return to_->regAppTableId();
    return {};
  }

  // A record of the old drawing in the new one: the one of that name, else a copy.
  AcDbObjectId record(std::uint64_t handle, AcDbSymbolTableRecord* rec) {
    auto* table = AcDbSymbolTable::cast(kvdb::objectOf(tableOfKind(rec)));
    std::wstring name = rec->getName();
    if (table == nullptr || name.empty()) return {};
    AcDbObjectId existing = table->getIdAt(name.c_str());
    if (!existing.isNull()) return existing;
    done_[handle] = AcDbObjectId();  // a record that refers to itself must not copy twice
    AcRxObject* made = rec->isA()->create();
    auto* copy = AcDbSymbolTableRecord::cast(made);
    if (copy == nullptr) {
      delete made;
      return {};
    }
    if (!AcDbBlockTableRecord::cast(rec)) refile(rec, copy);
    if (copy->setName(name.c_str()) != Acad::eOk) {
      delete copy;
      return {};
    }
    copy->setOwnerId(AcDbObjectId());
    if (auto* block = AcDbBlockTableRecord::cast(copy)) block->setOrigin(AcDbBlockTableRecord::cast(rec)->origin());
    AcDbObjectId id;
    bool wasClosed = table->openState() == AcDbObject::OpenState::Closed;
    if (wasClosed) table->hostOpen(AcDb::kForWrite);
    else table->upgradeOpen();
    Acad::ErrorStatus es = table->add(id, copy);
    if (wasClosed) table->close();
    if (es != Acad::eOk) {
      delete copy;
      return {};
    }
    copy->close();
    return id;
  }

  // The old object's fields into the new one, handles mapped; a lost reference counts once.
  void refile(AcDbObject* from, AcDbObject* to) {
    AcDbDwgMemoryFiler out(from_, AcDb::kCopyFiler);
    {
      kvdb::ReadScope open(from);
      from->dwgOut(&out);
    }
    AcDbDwgMemoryFiler in(to_, AcDb::kCopyFiler);
    in.setBuffer(out.buffer());
    in.setIdMap([this](Adesk::UInt64 h) {
      AcDbObjectId id = map(h);
      if (id.isNull()) ++report_.referencesCleared;
      return id;
    });
    to->dwgIn(&in);
  }

  void moveEntity(std::uint64_t handle, AcDbEntity* e) {
    AcRxObject* made = e->isA()->create();
    auto* copy = AcDbEntity::cast(made);
    if (copy == nullptr) {
      delete made;
      drop(handle, "its class cannot be made");
      return;
    }
    refile(e, copy);
    if (copy->layerId().isNull()) copy->setLayer(to_->impl()->layer0);
    if (copy->linetypeId().isNull()) copy->setLinetype(to_->byLayerLinetype());
    copy->setOwnerId(AcDbObjectId());
    auto* block = AcDbBlockTableRecord::cast(kvdb::objectOf(ownerBlock(handle, e)));
    Acad::ErrorStatus es = block ? appendTo(block, copy) : Acad::eNullObjectId;
    if (es != Acad::eOk) {
      delete copy;
      drop(handle, "it could not be appended");
      return;
    }
    copy->close();
    placed_.insert(handle);
  }

  // The block an entity goes to: its own block when that survived, else model space.
  AcDbObjectId ownerBlock(std::uint64_t handle, AcDbEntity* e) {
    auto* owner = AcDbBlockTableRecord::cast(kvdb::objectOf(e->ownerId()));
    std::wstring name = owner ? owner->getName() : L"";
    if (owner != nullptr && kvdb::iequals(name, ACDB_PAPER_SPACE)) return to_->paperSpaceId();
    if (owner != nullptr && !kvdb::iequals(name, ACDB_MODEL_SPACE)) {
      AcDbObjectId id = map(owner->handle().value());
      if (!id.isNull()) return id;
    }
    if (owner == nullptr) {
      ++report_.ownersRebuilt;
      report_.notes.push_back("entity " + hex(handle) + " had lost its owner: now in model space");
    }
    return to_->modelSpaceId();
  }

  static Acad::ErrorStatus appendTo(AcDbBlockTableRecord* block, AcDbEntity* e) {
    bool wasClosed = block->openState() == AcDbObject::OpenState::Closed;
    if (wasClosed) block->hostOpen(AcDb::kForWrite);
    else block->upgradeOpen();
    Acad::ErrorStatus es = block->appendAcDbEntity(e);
    if (wasClosed) block->close();
    return es;
  }

  AcDbDatabase* from_;
  AcDbDatabase* to_;
  AcDbRecoverReport& report_;
  std::map<std::uint64_t, AcDbObjectId> done_;
  std::set<std::uint64_t> placed_, dropped_;
};

// Each record read into the scratch drawing; one that does not read is taken out again.
void readRecords(AcDbDatabase* scratch, const Scan& s, AcDbRecoverReport& report) {
  for (const Record& r : s.records) {
    AcDbStub* stub = scratch->impl()->stubFor(r.handle, true);
    if (stub->object != nullptr) {
      ++report.dropped;
      report.notes.push_back("object " + hex(r.handle) + " dropped: a second object with the same handle");
      continue;
    }
    Acad::ErrorStatus es = Acad::eOk;
    AcDbObject* obj = kvdb::readRecordObject(scratch, s.classes[r.cls], r.payload, stub, es);
    if (es != Acad::eOk) {
      stub->object = nullptr;
      obj->setStub(nullptr);
      delete obj;
      ++report.dropped;
      report.notes.push_back("object " + hex(r.handle) + " (" + acrxToUtf8(s.classes[r.cls].name) +
                             ") dropped: it does not read (status " + std::to_string(static_cast<int>(es)) + ")");
      continue;
    }
    obj->setModifiedFlag(false);
    obj->close();
    ++scratch->impl()->liveObjects;
  }
}

}  // namespace

Acad::ErrorStatus acdbRecoverDwgFile(AcDbDatabase* db, const ACHAR* fileName, AcDbRecoverReport& report) {
  report = AcDbRecoverReport();
  if (db == nullptr || fileName == nullptr || db->impl()->modelSpace.isNull()) return Acad::eInvalidInput;
  std::filesystem::path path(acrxToUtf8(fileName));
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) return Acad::eFileNotFound;
  std::ifstream in(path, std::ios::binary);
  if (!in) return Acad::eFileAccessErr;
  std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (bytes.size() < kVarsAt || !looksLikeADrawing(bytes)) return Acad::eInvalidDwgVersion;
  Scan scan;
  std::size_t objectsAt = 0;
  if (!scanHeader(bytes, scan, report, objectsAt)) {
    report.notes.push_back("no class table found: nothing can be read");
    return Acad::eInvalidDwgVersion;
  }
  scanRecords(bytes, objectsAt, scan, report);
  report.records = scan.records.size();
  AcDbDatabase scratch(false, false);
  readRecords(&scratch, scan, report);
  for (const auto& [name, value] : scan.vars) {
    auto it = db->impl()->sysvars.find(name);
    if (it != db->impl()->sysvars.end() && !it->second.readOnly && it->second.value.kind == value.kind)
      it->second.value = value;
  }
  Mover(&scratch, db, report).moveAll();
  report.kept = report.records > report.dropped ? report.records - report.dropped : 0;
  db->setModified(true);
  return Acad::eOk;
}
