// Private to host/db: the slot behind an object id, the database's internals, the filer's
// buffer, and helpers shared by the database's source files.
#pragma once

#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "db.h"
#include "spatialindex.h"

// The slot of one object id. Slots live as long as their database; an object may be absent
// (a handle read before its object) or deleted (eUnknownHandle then).
struct AcDbStub {
  AcDbDatabase* db = nullptr;
  AcDbObject* object = nullptr;
  Adesk::UInt64 handle = 0;
  bool erased = false;
  bool indexed = false;      // in the model space spatial index
  bool indexDirty = false;   // queued for re-indexing
};

// Registers a host class: desc() makes the class once, after its parent; isA() answers it.
#define KV_DB_DEFINE_CLASS(CLS, PARENT, DXFNAME, CTOR)                                              \
  AcRxClass* CLS::desc() {                                                                         \
    static AcRxClass* cls = (PARENT::desc(), newAcRxClass(L"" #CLS, L"" #PARENT, 0, 0, 0, CTOR,     \
                                                           DXFNAME, L"ObjectDBX Classes"));        \
    return cls;                                                                                    \
  }                                                                                                \
  AcRxClass* CLS::isA() const { return CLS::desc(); }

// A header or view variable.
struct SysVarDef {
  AcDbSysVarValue value;
  bool readOnly = false;
};

struct AcDbDatabase::Impl {
  AcDbDatabase* self = nullptr;
  std::deque<AcDbStub> stubs;  // stable addresses for ids
  std::unordered_map<Adesk::UInt64, AcDbStub*> byHandle;
  Adesk::UInt64 nextHandle = 1;
  AcDbObjectId blockTable, layerTable, styleTable, linetypeTable, regAppTable;
  AcDbObjectId modelSpace, paperSpace, byLayerLt, byBlockLt, continuousLt, layer0, standardStyle;
  std::map<std::wstring, SysVarDef> sysvars;  // upper-case names
  std::wstring fileName, originalFileName;
  bool modified = false;
  std::size_t liveObjects = 0;
  kvdb::SpatialIndex index;
  std::vector<AcDbStub*> dirty;

  // A new slot with the next handle (or the given one), holding `obj` (which may be null).
  AcDbStub* newStub(AcDbObject* obj, Adesk::UInt64 handle = 0);
  AcDbStub* stubFor(Adesk::UInt64 handle, bool create);
  // Adds an object: it gets a slot and its owner; it stays open for write.
  AcDbObjectId add(AcDbObject* obj, AcDbObjectId owner);
  // The handle the next add should give, when no object has it: DXF import keeps a file's
  // handles where it can, so that references held by handle (in proxies' data, in extended
  // data) still find their objects. Used by one add, then forgotten.
  Adesk::UInt64 preferredHandle = 0;
  void buildDefaults();
  void initSysVars();
  // Keeps the model space index in step: queue, and apply the queue before a query.
  void markDirty(AcDbStub* stub);
  void flushIndex();
  void clear();
};

// The filer's byte buffer and its cursor; `limit` bounds reads to one object's record.
struct AcDbDwgMemoryFiler::Impl {
  AcDbDatabase* db = nullptr;
  AcDb::FilerType type = AcDb::kCopyFiler;
  Acad::ErrorStatus status = Acad::eOk;
  std::vector<unsigned char> bytes;
  std::size_t pos = 0;
  std::size_t limit = static_cast<std::size_t>(-1);
  bool createIds = true;
  // When set, handles read are mapped through it (copies between databases).
  std::function<AcDbObjectId(Adesk::UInt64)> idMap;
};

namespace kvdb {

// Host registry of live databases, so stale entity names are refused.
bool isLiveDatabase(const AcDbDatabase* db);
void addLiveDatabase(AcDbDatabase* db);
void removeLiveDatabase(const AcDbDatabase* db);
// The serial entity names carry for a live database (0 for none), and back.
std::int64_t serialOf(const AcDbDatabase* db);
AcDbDatabase* databaseOfSerial(std::int64_t serial);

std::wstring upper(const std::wstring& s);
bool iequals(const std::wstring& a, const std::wstring& b);
// A copy as the platform hands out strings that the caller frees with delete[].
ACHAR* dupWide(const std::wstring& s);
// Prints "kvhost: <what> is not implemented yet" and answers eNotImplementedYet.
Acad::ErrorStatus notImplemented(const char* what);

// Raw little-endian appends and reads used by the binary file writer.
void putBytes(std::vector<unsigned char>& out, const void* p, std::size_t n);

// Opens the object for the host's own bookkeeping without the protocol's checks.
AcDbObject* objectOf(AcDbObjectId id);

// Opens an object for read for the host's own use while it lives, when it is closed; an object
// already open in any mode is used as it is.
class ReadScope {
 public:
  explicit ReadScope(AcDbObject* obj) : obj_(obj) {
    if (obj_ != nullptr && obj_->openState() == AcDbObject::OpenState::Closed) {
      obj_->hostOpen(AcDb::kForRead);
      opened_ = true;
    }
  }
  ~ReadScope() {
    if (opened_) obj_->close();
  }
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;

 private:
  AcDbObject* obj_;
  bool opened_ = false;
};

// Entities of a block table record, in order, not erased.
std::vector<AcDbObjectId> liveEntities(const AcDbBlockTableRecord* btr);

// The DXF name of an object's class (its own or the nearest ancestor's that has one).
std::wstring dxfNameOf(const AcRxClass* cls);

// Writes one entity's or object's DXF groups (after the 0 group) into a memory filer.
Acad::ErrorStatus dxfGroupsOf(const AcDbObject* obj, AcDbDxfMemoryFiler& filer);

// A proxy's picture (world-draw polylines) as the bytes filed with it, and back; false for bytes
// that are not a picture.
std::vector<unsigned char> pictureBytes(const std::vector<std::vector<AcGePoint3d>>& lines);
bool pictureFromBytes(const std::vector<unsigned char>& bytes, std::vector<std::vector<AcGePoint3d>>& lines);

// After a drawing is read: name indexes of the tables, and model space queued for the index.
void afterLoad(AcDbDatabase::Impl* impl);

// The class of an object record of a drawing file, as its class table names it.
struct RecordClass {
  std::wstring name, dxfName;
  bool isEntity = false;
};
// The object of one record read from its bytes into its slot: the class's own, or a proxy. A
// status other than eOk leaves the object in the slot for the caller to take out.
AcDbObject* readRecordObject(AcDbDatabase* db, const RecordClass& c, const std::vector<unsigned char>& payload,
                             AcDbStub* stub, Acad::ErrorStatus& es);

}  // namespace kvdb
