// The host's drawing database: object ids and handles, the open/close protocol, the database with
// its symbol tables, system variables and extended data, the entities, and the DWG/DXF filers.
// Host extensions (not in the platform) are marked "Host:".
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ads.h"
#include "ge.h"
#include "gi.h"
#include "rx.h"

class AcDbDatabase;
class AcDbObject;
class AcDbEntity;
class AcDbDwgFiler;
class AcDbDxfFiler;
class AcDbAuditInfo;
struct AcDbStub;

namespace AcDb {
enum OpenMode { kForRead = 0, kForWrite = 1, kForNotify = 2 };
enum Planarity { kNotPlanar = 0, kPlanar = 1, kLinear = 2 };
enum Intersect { kOnBothOperands = 0, kExtendThis = 1, kExtendArg = 2, kExtendBoth = 3 };
enum OsnapMode {
  kOsModeEnd = 1, kOsModeMid = 2, kOsModeCen = 3, kOsModeNode = 4, kOsModeQuad = 5, kOsModeIns = 7,
  kOsModePerp = 8, kOsModeTan = 9, kOsModeNear = 10, kOsModeApint = 11, kOsModePar = 12, kOsModeStart = 13,
};
enum FilerType {
  kFileFiler = 0, kCopyFiler = 1, kUndoFiler = 2, kBagFiler = 3, kIdXlateFiler = 4, kPageFiler = 5,
  kDeepCloneFiler = 6, kIdFiler = 7, kPurgeFiler = 8, kWblockCloneFiler = 9,
};
enum SaveType { kR12Save = 0, kR13Save = 1, kR14Save = 2, k2000Save = 3, k2004Save = 4 };
enum Visibility { kInvisible = 1, kVisible = 0 };
enum LineWeight {
  kLnWt000 = 0, kLnWt005 = 5, kLnWt009 = 9, kLnWt013 = 13, kLnWt015 = 15, kLnWt018 = 18, kLnWt020 = 20,
  kLnWt025 = 25, kLnWt030 = 30, kLnWt035 = 35, kLnWt040 = 40, kLnWt050 = 50, kLnWt053 = 53, kLnWt060 = 60,
  kLnWt070 = 70, kLnWt080 = 80, kLnWt090 = 90, kLnWt100 = 100, kLnWt106 = 106, kLnWt120 = 120, kLnWt140 = 140,
  kLnWt158 = 158, kLnWt200 = 200, kLnWt211 = 211, kLnWtByLayer = -1, kLnWtByBlock = -2, kLnWtByLwDefault = -3,
};
// DXF group codes used by the host and modules.
enum DxfCode {
  kDxfInvalid = -9999, kDxfXDictionary = -6, kDxfPReactors = -5, kDxfEnd = -1, kDxfStart = 0,
  kDxfText = 1, kDxfXRefPath = 1, kDxfShapeName = 2, kDxfBlockName = 2, kDxfAttributeTag = 2,
  kDxfSymbolTableName = 2, kDxfMstyleName = 2, kDxfSymTableRecName = 2, kDxfAttributePrompt = 3,
  kDxfDimStyleName = 3, kDxfLinetypeProse = 3, kDxfTextFontFile = 3, kDxfDescription = 3,
  kDxfDimPostStr = 3, kDxfTextBigFontFile = 4, kDxfDimAPostStr = 4, kDxfCLShapeName = 4,
  kDxfSymTableRecComments = 4, kDxfHandle = 5, kDxfDimBlk = 5, kDxfLinetypeName = 6,
  kDxfTextStyleName = 7, kDxfLayerName = 8, kDxfCLShapeText = 9, kDxfXCoord = 10, kDxfYCoord = 20,
  kDxfZCoord = 30, kDxfElevation = 38, kDxfThickness = 39, kDxfReal = 40, kDxfTxtSize = 40,
  kDxfTxtStyleXScale = 41, kDxfViewWidth = 41, kDxfTxtStylePSize = 42, kDxfAngle = 50,
  kDxfViewportSnapAngle = 50, kDxfColor = 62, kDxfInt16 = 70, kDxfInt32 = 90, kDxfSubclass = 100,
  kDxfEmbeddedObjectStart = 101, kDxfControlString = 102, kDxfDimVarHandle = 105, kDxfUCSOrg = 110,
  kDxfUCSOriX = 111, kDxfUCSOriY = 112, kDxfReal2 = 140, kDxfInt64 = 160, kDxfInt8 = 280, kDxfBool = 290,
  kDxfLineWeight = 370, kDxfPlotStyleNameId = 390, kDxfSoftPointerId = 330, kDxfHardPointerId = 340,
  kDxfSoftOwnershipId = 350, kDxfHardOwnershipId = 360, kDxfNormalX = 210, kDxfNormalY = 220,
  kDxfNormalZ = 230, kDxfComment = 999, kDxfXdAsciiString = 1000, kDxfRegAppName = 1001,
  kDxfXdControlString = 1002, kDxfXdLayerName = 1003, kDxfXdBinaryChunk = 1004, kDxfXdHandle = 1005,
  kDxfXdXCoord = 1010, kDxfXdWorldXCoord = 1011, kDxfXdWorldXDisp = 1012, kDxfXdWorldXDir = 1013,
  kDxfXdReal = 1040, kDxfXdDist = 1041, kDxfXdScale = 1042, kDxfXdInteger16 = 1070, kDxfXdInteger32 = 1071,
};
}  // namespace AcDb

// ---------------------------------------------------------------------------------------------
// Ids and handles

// A drawing-wide 64-bit handle; 0 is null.
class AcDbHandle {
 public:
  AcDbHandle() = default;
  explicit AcDbHandle(Adesk::UInt64 v) : value_(v) {}
  // Parses hexadecimal digits ("1F"); an invalid text gives the null handle.
  explicit AcDbHandle(const ACHAR* hex);
  bool isNull() const { return value_ == 0; }
  Adesk::UInt64 value() const { return value_; }
  // Writes the hexadecimal digits in upper case (at least 1, at most 16) and a terminating 0.
  bool getIntoAsciiBuffer(ACHAR* pBuf, std::size_t nBufLen) const;
  AcDbHandle& operator++() { ++value_; return *this; }
  bool operator==(const AcDbHandle& o) const { return value_ == o.value_; }
  bool operator!=(const AcDbHandle& o) const { return value_ != o.value_; }
  bool operator<(const AcDbHandle& o) const { return value_ < o.value_; }

 private:
  Adesk::UInt64 value_ = 0;
};

// Names an object of a database for the database's lifetime. Cheap to copy; null by default.
class AcDbObjectId {
 public:
  AcDbObjectId() = default;
  static const AcDbObjectId kNull;
  bool isNull() const { return stub_ == nullptr; }
  void setNull() { stub_ = nullptr; }
  // Not null and its object exists (erased objects are still valid ids).
  bool isValid() const;
  bool isErased() const;
  bool isEffectivelyErased() const { return isErased(); }
  AcDbHandle handle() const;
  AcDbDatabase* database() const;
  // The class of the object; null for a null id or an id whose object is not loaded.
  AcRxClass* objectClass() const;
  Adesk::IntPtr asOldId() const { return reinterpret_cast<Adesk::IntPtr>(stub_); }
  bool operator==(const AcDbObjectId& o) const { return stub_ == o.stub_; }
  bool operator!=(const AcDbObjectId& o) const { return stub_ != o.stub_; }
  bool operator<(const AcDbObjectId& o) const { return stub_ < o.stub_; }
  // Host: the id's slot (used by the database and filers).
  AcDbStub* stub() const { return stub_; }
  explicit AcDbObjectId(AcDbStub* s) : stub_(s) {}

 private:
  AcDbStub* stub_ = nullptr;
};

// Pointer and ownership flavours, filed as handles.
class AcDbHardPointerId : public AcDbObjectId {
 public:
  AcDbHardPointerId() = default;
  AcDbHardPointerId(const AcDbObjectId& id) : AcDbObjectId(id) {}
};
class AcDbSoftPointerId : public AcDbObjectId {
 public:
  AcDbSoftPointerId() = default;
  AcDbSoftPointerId(const AcDbObjectId& id) : AcDbObjectId(id) {}
};
class AcDbHardOwnershipId : public AcDbObjectId {
 public:
  AcDbHardOwnershipId() = default;
  AcDbHardOwnershipId(const AcDbObjectId& id) : AcDbObjectId(id) {}
};
class AcDbSoftOwnershipId : public AcDbObjectId {
 public:
  AcDbSoftOwnershipId() = default;
  AcDbSoftOwnershipId(const AcDbObjectId& id) : AcDbObjectId(id) {}
};

using AcDbObjectIdArray = AcArray<AcDbObjectId>;
using AcDbIntArray = AcArray<int>;
using AcDbVoidPtrArray = AcArray<void*>;
using AcDbDoubleArray = AcArray<double>;

// A colour: by layer (256), by block (0), an index 1..255, or RGB.
class AcCmColor {
 public:
  enum class Method { ByLayer, ByBlock, ByACI, ByColor };
  AcCmColor() = default;
  Method colorMethod() const { return method_; }
  Adesk::UInt16 colorIndex() const;
  Acad::ErrorStatus setColorIndex(Adesk::UInt16 index);
  Acad::ErrorStatus setRGB(Adesk::UInt8 r, Adesk::UInt8 g, Adesk::UInt8 b);
  Adesk::UInt8 red() const { return r_; }
  Adesk::UInt8 green() const { return g_; }
  Adesk::UInt8 blue() const { return b_; }
  bool isByLayer() const { return method_ == Method::ByLayer; }
  bool isByBlock() const { return method_ == Method::ByBlock; }
  bool isByACI() const { return method_ == Method::ByACI; }
  void setByLayer() { method_ = Method::ByLayer; }
  void setByBlock() { method_ = Method::ByBlock; }
  bool operator==(const AcCmColor& o) const;

 private:
  Method method_ = Method::ByLayer;
  Adesk::UInt16 index_ = 256;
  Adesk::UInt8 r_ = 0, g_ = 0, b_ = 0;
};

// An axis-aligned box; empty until a point is added.
class AcDbExtents {
 public:
  AcDbExtents();
  AcDbExtents(const AcGePoint3d& min, const AcGePoint3d& max);
  AcGePoint3d minPoint() const { return min_; }
  AcGePoint3d maxPoint() const { return max_; }
  Acad::ErrorStatus set(const AcGePoint3d& min, const AcGePoint3d& max);
  void addPoint(const AcGePoint3d& pt);
  void addExt(const AcDbExtents& src);
  void expandBy(const AcGeVector3d& vec);
  void transformBy(const AcGeMatrix3d& mat);
  // Host: false until something was added.
  bool isValidExtents() const { return min_.x <= max_.x; }

 private:
  AcGePoint3d min_, max_;
};

class AcDbAuditInfo {
 public:
  bool fixErrors() const { return fixErrors_; }
  void setFixErrors(bool f) { fixErrors_ = f; }
  int numErrors() const { return errors_; }
  void errorsFound(int n) { errors_ += n; }

 private:
  bool fixErrors_ = false;
  int errors_ = 0;
};

// ---------------------------------------------------------------------------------------------
// Objects and the open/close protocol

// A database object. New objects are open for write until they are added to a database and
// closed; from then on they are reached by opening their id. Each override of a filing or
// drawing function starts with assertReadEnabled or assertWriteEnabled.
class AcDbObject : public AcGiDrawable {
 public:
  ACRX_DECLARE_MEMBERS(AcDbObject);
  AcDbObject();
  ~AcDbObject() override;
  AcDbObject(const AcDbObject&) = delete;
  AcDbObject& operator=(const AcDbObject&) = delete;

  AcDbObjectId objectId() const;
  AcDbObjectId ownerId() const { return owner_; }
  Acad::ErrorStatus setOwnerId(AcDbObjectId owner);
  AcDbHandle handle() const;
  void getAcDbHandle(AcDbHandle& h) const { h = handle(); }
  AcDbDatabase* database() const;

  // Ends this opening: a reader leaves, a writer commits. The object of an id stays owned by the
  // database; a new object that was never added must be deleted, not closed.
  Acad::ErrorStatus close();
  // Like close; changes are kept (the host keeps no undo).
  Acad::ErrorStatus cancel();
  Acad::ErrorStatus upgradeOpen();
  Acad::ErrorStatus downgradeOpen();
  // Marks the object erased (or unerased); it stays reachable by id with openErased.
  Acad::ErrorStatus erase(Adesk::Boolean erasing = true);

  bool isErased() const;
  bool isReadEnabled() const;
  bool isWriteEnabled() const;
  bool isNotifyEnabled() const;
  bool isNewObject() const;
  bool isModified() const { return modified_; }
  // Abort the process with a message when the object is not open in the needed mode: such a
  // call is a programming fault, as on the platform.
  void assertReadEnabled() const;
  void assertWriteEnabled(Adesk::Boolean autoUndo = true, Adesk::Boolean recordModified = true);
  void assertNotifyEnabled() const;

  // Extended data: a new chain (free with acutRelRb) with, per application, a 1001 cell with its
  // name and its cells; only the named application's when regappName is given. Null when none.
  resbuf* xData(const ACHAR* regappName = nullptr) const;
  // Replaces the data of each application named by a 1001 cell in the chain; an application
  // with no cells after its name loses its data. The application must be registered in the
  // database's regapp table (eInvalidInput otherwise, or for a malformed chain).
  Acad::ErrorStatus setXData(const resbuf* xdata);

  // Files the object: the header fields, then dwgOutFields / dwgInFields.
  Acad::ErrorStatus dwgOut(AcDbDwgFiler* filer) const;
  Acad::ErrorStatus dwgIn(AcDbDwgFiler* filer);
  Acad::ErrorStatus dxfOut(AcDbDxfFiler* filer) const;
  Acad::ErrorStatus dxfIn(AcDbDxfFiler* filer);

  // AcDbObject files its owner and extended data.
  virtual Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer);
  virtual Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const;
  virtual Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer);
  virtual Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const;
  virtual Acad::ErrorStatus audit(AcDbAuditInfo* pAuditInfo);

  Adesk::Boolean worldDraw(AcGiWorldDraw* mode) override;
  void viewportDraw(AcGiViewportDraw* mode) override;
  virtual Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode);
  virtual void subViewportDraw(AcGiViewportDraw* mode);

  // Host: the slot of this object in its database (null when not database-resident).
  AcDbStub* stub() const { return stub_; }
  void setStub(AcDbStub* s) { stub_ = s; }
  // Host: open-state bookkeeping used by acdbOpenObject and the database.
  enum class OpenState : Adesk::UInt8 { Closed, Read, Write, Notify };
  OpenState openState() const { return openState_; }
  int readerCount() const { return readers_; }
  void hostOpen(AcDb::OpenMode mode);
  void setModifiedFlag(bool m) { modified_ = m; }
  // Host: the raw extended data, kept as cells without the chain pointers.
  struct XDataItem {
    short code = 0;
    std::wstring text;
    double values[3] = {0, 0, 0};
    Adesk::Int64 integer = 0;
    std::vector<unsigned char> bytes;
  };
  const std::vector<XDataItem>& xDataItems() const { return xdata_; }
  void setXDataItems(std::vector<XDataItem> items) { xdata_ = std::move(items); }

 private:
  AcDbStub* stub_ = nullptr;
  AcDbObjectId owner_;
  std::vector<XDataItem> xdata_;
  OpenState openState_ = OpenState::Write;
  Adesk::UInt16 readers_ = 0;
  bool modified_ = false;
};

// Opens the object of `id`. Statuses: eNullObjectId; eUnknownHandle for an id whose object is
// gone; eWasErased unless openErased; eNotThatKindOfClass when the object is not of `pClass`;
// eWasOpenedForWrite when it is open for write; eWasOpenedForRead when a write is asked for an
// object open for read; eAtMaxReaders at 256 readers. `obj` is null on failure.
Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*& obj, AcDbObjectId id, AcDb::OpenMode mode,
                                     bool openErased = false, const AcRxClass* pClass = nullptr);
Acad::ErrorStatus acdbOpenAcDbEntity(AcDbEntity*& ent, AcDbObjectId id, AcDb::OpenMode mode,
                                     bool openErased = false);
Acad::ErrorStatus acdbOpenObject(AcDbObject*& obj, AcDbObjectId id, AcDb::OpenMode mode,
                                 bool openErased = false);
// Opens as class T (T::desc()); eNotThatKindOfClass for another class.
template <class T>
Acad::ErrorStatus acdbOpenObject(T*& obj, AcDbObjectId id, AcDb::OpenMode mode, bool openErased = false) {
  AcDbObject* o = nullptr;
  Acad::ErrorStatus es = acdbOpenAcDbObject(o, id, mode, openErased, T::desc());
  obj = es == Acad::eOk ? static_cast<T*>(o) : nullptr;
  return es;
}

// RAII: opens in the constructor, closes in the destructor.
template <class T>
class AcDbObjectPointer {
 public:
  AcDbObjectPointer() = default;
  AcDbObjectPointer(AcDbObjectId id, AcDb::OpenMode mode, bool openErased = false) { open(id, mode, openErased); }
  ~AcDbObjectPointer() { close(); }
  AcDbObjectPointer(const AcDbObjectPointer&) = delete;
  AcDbObjectPointer& operator=(const AcDbObjectPointer&) = delete;
  Acad::ErrorStatus open(AcDbObjectId id, AcDb::OpenMode mode, bool openErased = false) {
    close();
    status_ = acdbOpenObject(ptr_, id, mode, openErased);
    return status_;
  }
  Acad::ErrorStatus openStatus() const { return status_; }
  Acad::ErrorStatus close() {
    if (ptr_ == nullptr) return Acad::eNullObjectPointer;
    Acad::ErrorStatus es = ptr_->close();
    ptr_ = nullptr;
    status_ = Acad::eNullObjectPointer;
    return es;
  }
  T* object() const { return ptr_; }
  T* operator->() const { return ptr_; }
  operator T*() const { return ptr_; }

 private:
  T* ptr_ = nullptr;
  Acad::ErrorStatus status_ = Acad::eNullObjectPointer;
};

// ---------------------------------------------------------------------------------------------
// Filers

// Typed binary filing. Reads past the end of an object's data give eEndOfFile; a failure
// sticks (filerStatus) until resetFilerStatus.
class AcDbDwgFiler : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbDwgFiler);
  virtual Acad::ErrorStatus filerStatus() const = 0;
  virtual AcDb::FilerType filerType() const = 0;
  virtual void setFilerStatus(Acad::ErrorStatus es) = 0;
  virtual void resetFilerStatus() = 0;
  virtual AcDbDatabase* database() const = 0;

  virtual Acad::ErrorStatus readHardOwnershipId(AcDbHardOwnershipId* pVal) = 0;
  virtual Acad::ErrorStatus writeHardOwnershipId(const AcDbHardOwnershipId& val) = 0;
  virtual Acad::ErrorStatus readSoftOwnershipId(AcDbSoftOwnershipId* pVal) = 0;
  virtual Acad::ErrorStatus writeSoftOwnershipId(const AcDbSoftOwnershipId& val) = 0;
  // A handle that no object of the database has gives eUnknownHandle and a null id when the
  // filer cannot create it (copy filers); file filers create the id for a later object.
  virtual Acad::ErrorStatus readHardPointerId(AcDbHardPointerId* pVal) = 0;
  virtual Acad::ErrorStatus writeHardPointerId(const AcDbHardPointerId& val) = 0;
  virtual Acad::ErrorStatus readSoftPointerId(AcDbSoftPointerId* pVal) = 0;
  virtual Acad::ErrorStatus writeSoftPointerId(const AcDbSoftPointerId& val) = 0;

  // *pVal gets a new[] copy (free it with delete[]).
  virtual Acad::ErrorStatus readString(ACHAR** pVal) = 0;
  virtual Acad::ErrorStatus readString(std::wstring& val) = 0;
  virtual Acad::ErrorStatus writeString(const ACHAR* pVal) = 0;
  virtual Acad::ErrorStatus writeString(const std::wstring& val) = 0;
  virtual Acad::ErrorStatus readBytes(void* pDest, Adesk::UIntPtr nBytes) = 0;
  virtual Acad::ErrorStatus writeBytes(const void* pSrc, Adesk::UIntPtr nBytes) = 0;
  virtual Acad::ErrorStatus readBool(Adesk::Boolean* pVal) = 0;
  virtual Acad::ErrorStatus writeBool(Adesk::Boolean val) = 0;
  virtual Acad::ErrorStatus readInt8(Adesk::Int8* pVal) = 0;
  virtual Acad::ErrorStatus writeInt8(Adesk::Int8 val) = 0;
  virtual Acad::ErrorStatus readInt16(Adesk::Int16* pVal) = 0;
  virtual Acad::ErrorStatus writeInt16(Adesk::Int16 val) = 0;
  virtual Acad::ErrorStatus readInt32(Adesk::Int32* pVal) = 0;
  virtual Acad::ErrorStatus writeInt32(Adesk::Int32 val) = 0;
  virtual Acad::ErrorStatus readInt64(Adesk::Int64* pVal) = 0;
  virtual Acad::ErrorStatus writeInt64(Adesk::Int64 val) = 0;
  virtual Acad::ErrorStatus readUInt8(Adesk::UInt8* pVal) = 0;
  virtual Acad::ErrorStatus writeUInt8(Adesk::UInt8 val) = 0;
  virtual Acad::ErrorStatus readUInt16(Adesk::UInt16* pVal) = 0;
  virtual Acad::ErrorStatus writeUInt16(Adesk::UInt16 val) = 0;
  virtual Acad::ErrorStatus readUInt32(Adesk::UInt32* pVal) = 0;
  virtual Acad::ErrorStatus writeUInt32(Adesk::UInt32 val) = 0;
  virtual Acad::ErrorStatus readUInt64(Adesk::UInt64* pVal) = 0;
  virtual Acad::ErrorStatus writeUInt64(Adesk::UInt64 val) = 0;
  virtual Acad::ErrorStatus readDouble(double* pVal) = 0;
  virtual Acad::ErrorStatus writeDouble(double val) = 0;
  virtual Acad::ErrorStatus readPoint2d(AcGePoint2d* pVal) = 0;
  virtual Acad::ErrorStatus writePoint2d(const AcGePoint2d& val) = 0;
  virtual Acad::ErrorStatus readPoint3d(AcGePoint3d* pVal) = 0;
  virtual Acad::ErrorStatus writePoint3d(const AcGePoint3d& val) = 0;
  virtual Acad::ErrorStatus readVector2d(AcGeVector2d* pVal) = 0;
  virtual Acad::ErrorStatus writeVector2d(const AcGeVector2d& val) = 0;
  virtual Acad::ErrorStatus readVector3d(AcGeVector3d* pVal) = 0;
  virtual Acad::ErrorStatus writeVector3d(const AcGeVector3d& val) = 0;
  virtual Acad::ErrorStatus readScale3d(AcGeScale3d* pVal) = 0;
  virtual Acad::ErrorStatus writeScale3d(const AcGeScale3d& val) = 0;
  virtual Acad::ErrorStatus readHandle(AcDbHandle* pVal) = 0;
  virtual Acad::ErrorStatus writeHandle(const AcDbHandle& val) = 0;
};

// The drawing file (".dwg" by the platform's convention; the host's own format, not the
// commercial one), all little-endian, written by AcDbDatabase::saveAs:
//
// | offset | kind                 | meaning                                                        |
// |--------|----------------------|----------------------------------------------------------------|
// | 0      | 8 bytes              | "KVDWG1\r\n"                                                   |
// | 8      | UInt32               | format version, 1                                              |
// | 12     | UInt64               | next free handle                                               |
// | 20     | 12 x UInt64          | handles of the block, layer, text style, linetype and regapp   |
// |        |                      | tables, *Model_Space, *Paper_Space, ByLayer, ByBlock,          |
// |        |                      | Continuous, layer "0", style "Standard"                        |
// | 116    | UInt32 n             | header variables, then n x (String name, UInt8 kind 1 int /    |
// |        |                      | 2 real / 3 string / 4 point2d / 5 point3d, value)              |
// | ...    | UInt32 c             | classes, then c x (String class name, String DXF name, Bool is |
// |        |                      | entity, Int32 DWG version, Int32 maintenance, Int32 proxy flags)|
// | ...    | UInt64 m             | objects in handle order, then m x (UInt32 class index, UInt64  |
// |        |                      | handle, UInt32 byte count, the bytes of the object's dwgOut,   |
// |        |                      | UInt32 k proxy picture lines, k x (UInt32 n, n x Point3d)); the|
// |        |                      | picture is what a module class's saveAs draws (empty for host  |
// |        |                      | classes), so a proxy of it can still be drawn                  |
// | end-8  | 8 bytes              | "KVDWGEND"                                                     |
//
// An object's bytes: AcDbObject's fields (soft pointer owner, UInt32 count of extended data
// cells, each Int16 code and its value), then each class's dwgOutFields in class order; an
// entity's: layer and linetype (hard pointers), UInt8 colour method, UInt16 colour index, 3 x
// UInt8 RGB, Int16 line weight, Double linetype scale, Bool visible. A proxy writes back the
// bytes after the fields it understands exactly as they were read.
//
// Host: a DWG filer over a byte buffer in memory, for copies, undo-like snapshots and tests.
// Values are stored untagged, little-endian: bool 1 byte, integers their width, doubles 8,
// strings a UInt32 count of UTF-8 bytes then the bytes, points 2 or 3 doubles, ids the UInt64
// handle (0 for null).
class AcDbDwgMemoryFiler : public AcDbDwgFiler {
 public:
  explicit AcDbDwgMemoryFiler(AcDbDatabase* db = nullptr, AcDb::FilerType type = AcDb::kCopyFiler);
  ~AcDbDwgMemoryFiler() override;
  AcRxClass* isA() const override;
  // Starts reading from the beginning of what was written.
  void rewind();
  // Host: the bytes written so far, and a filer to read given bytes.
  const std::vector<unsigned char>& buffer() const;
  void setBuffer(std::vector<unsigned char> bytes);
  std::size_t position() const;
  std::size_t remaining() const;
  // Whether a handle read that no object has yet makes an id for it (file reading) or fails.
  void setCreateIdsOnRead(bool create);
  // Maps every handle read through `map` (copies between databases); a null answer reads as
  // eUnknownHandle.
  void setIdMap(std::function<AcDbObjectId(Adesk::UInt64)> map);

  Acad::ErrorStatus filerStatus() const override;
  AcDb::FilerType filerType() const override;
  void setFilerStatus(Acad::ErrorStatus es) override;
  void resetFilerStatus() override;
  AcDbDatabase* database() const override;
  Acad::ErrorStatus readHardOwnershipId(AcDbHardOwnershipId* pVal) override;
  Acad::ErrorStatus writeHardOwnershipId(const AcDbHardOwnershipId& val) override;
  Acad::ErrorStatus readSoftOwnershipId(AcDbSoftOwnershipId* pVal) override;
  Acad::ErrorStatus writeSoftOwnershipId(const AcDbSoftOwnershipId& val) override;
  Acad::ErrorStatus readHardPointerId(AcDbHardPointerId* pVal) override;
  Acad::ErrorStatus writeHardPointerId(const AcDbHardPointerId& val) override;
  Acad::ErrorStatus readSoftPointerId(AcDbSoftPointerId* pVal) override;
  Acad::ErrorStatus writeSoftPointerId(const AcDbSoftPointerId& val) override;
  Acad::ErrorStatus readString(ACHAR** pVal) override;
  Acad::ErrorStatus readString(std::wstring& val) override;
  Acad::ErrorStatus writeString(const ACHAR* pVal) override;
  Acad::ErrorStatus writeString(const std::wstring& val) override;
  Acad::ErrorStatus readBytes(void* pDest, Adesk::UIntPtr nBytes) override;
  Acad::ErrorStatus writeBytes(const void* pSrc, Adesk::UIntPtr nBytes) override;
  Acad::ErrorStatus readBool(Adesk::Boolean* pVal) override;
  Acad::ErrorStatus writeBool(Adesk::Boolean val) override;
  Acad::ErrorStatus readInt8(Adesk::Int8* pVal) override;
  Acad::ErrorStatus writeInt8(Adesk::Int8 val) override;
  Acad::ErrorStatus readInt16(Adesk::Int16* pVal) override;
  Acad::ErrorStatus writeInt16(Adesk::Int16 val) override;
  Acad::ErrorStatus readInt32(Adesk::Int32* pVal) override;
  Acad::ErrorStatus writeInt32(Adesk::Int32 val) override;
  Acad::ErrorStatus readInt64(Adesk::Int64* pVal) override;
  Acad::ErrorStatus writeInt64(Adesk::Int64 val) override;
  Acad::ErrorStatus readUInt8(Adesk::UInt8* pVal) override;
  Acad::ErrorStatus writeUInt8(Adesk::UInt8 val) override;
  Acad::ErrorStatus readUInt16(Adesk::UInt16* pVal) override;
  Acad::ErrorStatus writeUInt16(Adesk::UInt16 val) override;
  Acad::ErrorStatus readUInt32(Adesk::UInt32* pVal) override;
  Acad::ErrorStatus writeUInt32(Adesk::UInt32 val) override;
  Acad::ErrorStatus readUInt64(Adesk::UInt64* pVal) override;
  Acad::ErrorStatus writeUInt64(Adesk::UInt64 val) override;
  Acad::ErrorStatus readDouble(double* pVal) override;
  Acad::ErrorStatus writeDouble(double val) override;
  Acad::ErrorStatus readPoint2d(AcGePoint2d* pVal) override;
  Acad::ErrorStatus writePoint2d(const AcGePoint2d& val) override;
  Acad::ErrorStatus readPoint3d(AcGePoint3d* pVal) override;
  Acad::ErrorStatus writePoint3d(const AcGePoint3d& val) override;
  Acad::ErrorStatus readVector2d(AcGeVector2d* pVal) override;
  Acad::ErrorStatus writeVector2d(const AcGeVector2d& val) override;
  Acad::ErrorStatus readVector3d(AcGeVector3d* pVal) override;
  Acad::ErrorStatus writeVector3d(const AcGeVector3d& val) override;
  Acad::ErrorStatus readScale3d(AcGeScale3d* pVal) override;
  Acad::ErrorStatus writeScale3d(const AcGeScale3d& val) override;
  Acad::ErrorStatus readHandle(AcDbHandle* pVal) override;
  Acad::ErrorStatus writeHandle(const AcDbHandle& val) override;
  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

constexpr int kDfltPrec = -1;

// Group-coded filing. Reading: readItem gives the next group (strings stay owned by the filer
// until the next read); atSubclassData consumes a 100 group of that name when it is next.
class AcDbDxfFiler : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbDxfFiler);
  virtual Acad::ErrorStatus filerStatus() const = 0;
  virtual AcDb::FilerType filerType() const = 0;
  virtual void setFilerStatus(Acad::ErrorStatus es) = 0;
  virtual void resetFilerStatus() = 0;
  virtual AcDbDatabase* database() const = 0;
  virtual Acad::ErrorStatus setError(Acad::ErrorStatus es, const ACHAR* errMsg, ...);

  // The next group of this object; eEndOfObject at its end (the filer stays there).
  virtual Acad::ErrorStatus readResBuf(resbuf* pRb) = 0;
  Acad::ErrorStatus readItem(resbuf* pItem) { return readResBuf(pItem); }
  virtual Acad::ErrorStatus writeResBuf(const resbuf& rb) = 0;
  Acad::ErrorStatus writeItem(const resbuf& rb) { return writeResBuf(rb); }
  // Puts the last item read back, once.
  virtual Acad::ErrorStatus pushBackItem() = 0;
  virtual bool atEOF() = 0;
  virtual bool atEndOfObject() = 0;
  virtual bool atExtendedData() = 0;
  virtual bool atSubclassData(const ACHAR* subClassName) = 0;
  bool atSubClassData(const ACHAR* subClassName) { return atSubclassData(subClassName); }

  virtual Acad::ErrorStatus writeObjectId(AcDb::DxfCode code, const AcDbObjectId& id) = 0;
  virtual Acad::ErrorStatus writeString(AcDb::DxfCode code, const ACHAR* pVal) = 0;
  Acad::ErrorStatus writeString(AcDb::DxfCode code, const std::wstring& val) { return writeString(code, val.c_str()); }
  virtual Acad::ErrorStatus writeBool(AcDb::DxfCode code, bool val) = 0;
  virtual Acad::ErrorStatus writeInt8(AcDb::DxfCode code, Adesk::Int8 val) = 0;
  virtual Acad::ErrorStatus writeInt16(AcDb::DxfCode code, Adesk::Int16 val) = 0;
  virtual Acad::ErrorStatus writeInt32(AcDb::DxfCode code, Adesk::Int32 val) = 0;
  virtual Acad::ErrorStatus writeInt64(AcDb::DxfCode code, Adesk::Int64 val) = 0;
  virtual Acad::ErrorStatus writeUInt16(AcDb::DxfCode code, Adesk::UInt16 val) = 0;
  virtual Acad::ErrorStatus writeUInt32(AcDb::DxfCode code, Adesk::UInt32 val) = 0;
  virtual Acad::ErrorStatus writeDouble(AcDb::DxfCode code, double val, int prec = kDfltPrec) = 0;
  virtual Acad::ErrorStatus writePoint2d(AcDb::DxfCode code, const AcGePoint2d& val, int prec = kDfltPrec) = 0;
  virtual Acad::ErrorStatus writePoint3d(AcDb::DxfCode code, const AcGePoint3d& val, int prec = kDfltPrec) = 0;
  virtual Acad::ErrorStatus writeVector3d(AcDb::DxfCode code, const AcGeVector3d& val, int prec = kDfltPrec) = 0;
  Acad::ErrorStatus writeAngle(AcDb::DxfCode code, double val, int prec = kDfltPrec) { return writeDouble(code, val, prec); }
  Acad::ErrorStatus writeItem(AcDb::DxfCode code, const ACHAR* v) { return writeString(code, v); }
  Acad::ErrorStatus writeItem(AcDb::DxfCode code, const AcGePoint3d& v) { return writePoint3d(code, v); }
  Acad::ErrorStatus writeItem(AcDb::DxfCode code, double v) { return writeDouble(code, v); }
  Acad::ErrorStatus writeItem(AcDb::DxfCode code, Adesk::Int32 v) { return writeInt32(code, v); }
  Acad::ErrorStatus writeItem(AcDb::DxfCode code, const AcDbObjectId& v) { return writeObjectId(code, v); }
};

// Host: a DXF filer over a list of groups in memory (what an object writes is what it reads).
// Reading starts after rewind(); the end of the list is the end of the object.
class AcDbDxfMemoryFiler : public AcDbDxfFiler {
 public:
  struct Group {
    short code = 0;
    std::wstring text;                // strings, and handles of ids in hexadecimal
    double values[3] = {0, 0, 0};     // reals and points
    Adesk::Int64 integer = 0;         // integers and bools
  };
  explicit AcDbDxfMemoryFiler(AcDbDatabase* db = nullptr, AcDb::FilerType type = AcDb::kFileFiler);
  ~AcDbDxfMemoryFiler() override;
  AcRxClass* isA() const override;
  void rewind();
  std::vector<Group>& groups();
  const std::vector<Group>& groups() const;

  Acad::ErrorStatus filerStatus() const override;
  AcDb::FilerType filerType() const override;
  void setFilerStatus(Acad::ErrorStatus es) override;
  void resetFilerStatus() override;
  AcDbDatabase* database() const override;
  Acad::ErrorStatus readResBuf(resbuf* pRb) override;
  Acad::ErrorStatus writeResBuf(const resbuf& rb) override;
  Acad::ErrorStatus pushBackItem() override;
  bool atEOF() override;
  bool atEndOfObject() override;
  bool atExtendedData() override;
  bool atSubclassData(const ACHAR* subClassName) override;
  Acad::ErrorStatus writeObjectId(AcDb::DxfCode code, const AcDbObjectId& id) override;
  Acad::ErrorStatus writeString(AcDb::DxfCode code, const ACHAR* pVal) override;
  Acad::ErrorStatus writeBool(AcDb::DxfCode code, bool val) override;
  Acad::ErrorStatus writeInt8(AcDb::DxfCode code, Adesk::Int8 val) override;
  Acad::ErrorStatus writeInt16(AcDb::DxfCode code, Adesk::Int16 val) override;
  Acad::ErrorStatus writeInt32(AcDb::DxfCode code, Adesk::Int32 val) override;
  Acad::ErrorStatus writeInt64(AcDb::DxfCode code, Adesk::Int64 val) override;
  Acad::ErrorStatus writeUInt16(AcDb::DxfCode code, Adesk::UInt16 val) override;
  Acad::ErrorStatus writeUInt32(AcDb::DxfCode code, Adesk::UInt32 val) override;
  Acad::ErrorStatus writeDouble(AcDb::DxfCode code, double val, int prec = kDfltPrec) override;
  Acad::ErrorStatus writePoint2d(AcDb::DxfCode code, const AcGePoint2d& val, int prec = kDfltPrec) override;
  Acad::ErrorStatus writePoint3d(AcDb::DxfCode code, const AcGePoint3d& val, int prec = kDfltPrec) override;
  Acad::ErrorStatus writeVector3d(AcDb::DxfCode code, const AcGeVector3d& val, int prec = kDfltPrec) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// ---------------------------------------------------------------------------------------------
// Entities

// An object that is drawn, on a layer, with a colour, a linetype and a line weight. The public
// operations call the matching sub... virtual, which derived classes override.
class AcDbEntity : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbEntity);
  AcDbEntity();
  ~AcDbEntity() override;

  AcDbObjectId blockId() const { return ownerId(); }
  AcCmColor color() const;
  Acad::ErrorStatus setColor(const AcCmColor& color, Adesk::Boolean doSubents = true);
  Adesk::UInt16 colorIndex() const;
  Acad::ErrorStatus setColorIndex(Adesk::UInt16 color, Adesk::Boolean doSubents = true);
  // The layer's name; valid while the entity is open. "0" before a layer is set.
  const ACHAR* layer() const;
  AcDbObjectId layerId() const { return layerId_; }
  // By name: eKeyNotFound when the entity's (or working) database has no such layer.
  Acad::ErrorStatus setLayer(const ACHAR* newVal, Adesk::Boolean doSubents = true, bool allowHiddenLayer = false);
  Acad::ErrorStatus setLayer(AcDbObjectId newVal, Adesk::Boolean doSubents = true, bool allowHiddenLayer = false);
  const ACHAR* linetype() const;
  AcDbObjectId linetypeId() const { return linetypeId_; }
  Acad::ErrorStatus setLinetype(const ACHAR* newVal, Adesk::Boolean doSubents = true);
  Acad::ErrorStatus setLinetype(AcDbObjectId newVal, Adesk::Boolean doSubents = true);
  double linetypeScale() const { return linetypeScale_; }
  Acad::ErrorStatus setLinetypeScale(double newval, Adesk::Boolean doSubents = true);
  AcDb::LineWeight lineWeight() const { return lineWeight_; }
  Acad::ErrorStatus setLineWeight(AcDb::LineWeight newVal, Adesk::Boolean doSubents = true);
  AcDb::Visibility visibility() const { return visibility_; }
  Acad::ErrorStatus setVisibility(AcDb::Visibility newVal, Adesk::Boolean doSubents = true);
  Acad::ErrorStatus setPropertiesFrom(const AcDbEntity* pEntity, Adesk::Boolean doSubents = true);
  // Current layer, linetype and colour of `db` (the working database when null).
  void setDatabaseDefaults(AcDbDatabase* db = nullptr);

  void list() const;
  Acad::ErrorStatus getOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                   const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                   const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                   AcDbIntArray& geomIds) const;
  Acad::ErrorStatus getGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes, AcDbIntArray& geomIds) const;
  Acad::ErrorStatus moveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset);
  Acad::ErrorStatus getStretchPoints(AcGePoint3dArray& stretchPoints) const;
  Acad::ErrorStatus moveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset);
  Acad::ErrorStatus transformBy(const AcGeMatrix3d& xform);
  Acad::ErrorStatus getTransformedCopy(const AcGeMatrix3d& xform, AcDbEntity*& pEnt) const;
  // Appends new entities (the caller owns them) that together replace this one.
  Acad::ErrorStatus explode(AcDbVoidPtrArray& entitySet) const;
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const;
  Acad::ErrorStatus intersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                  Adesk::GsMarker thisGsMarker = 0, Adesk::GsMarker otherGsMarker = 0) const;
  Acad::ErrorStatus intersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                  AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker = 0,
                                  Adesk::GsMarker otherGsMarker = 0) const;
  virtual Adesk::Boolean isPlanar() const { return false; }
  virtual Acad::ErrorStatus getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const;
  // Draws the proxy picture of the entity (by default its world draw).
  virtual void saveAs(AcGiWorldDraw* mode, AcDb::SaveType st);
  // Marks the entity's picture stale (the selection index is refreshed on close).
  void recordGraphicsModified(Adesk::Boolean setModified = true);

  // AcDbEntity files layer, linetype, colour, line weight, linetype scale and visibility.
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

  // Overridables. The defaults: nothing drawn, nothing listed beyond the common properties,
  // no snap/grip/stretch points, eNotApplicable for transform, explode, extents, intersections.
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subViewportDraw(AcGiViewportDraw* mode) override;
  virtual void subList() const;
  virtual Acad::ErrorStatus subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                              const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                              const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                              AcDbIntArray& geomIds) const;
  virtual Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes, AcDbIntArray& geomIds) const;
  virtual Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset);
  // The default stretch points are the grip points.
  virtual Acad::ErrorStatus subGetStretchPoints(AcGePoint3dArray& stretchPoints) const;
  virtual Acad::ErrorStatus subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset);
  virtual Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform);
  virtual Acad::ErrorStatus subGetTransformedCopy(const AcGeMatrix3d& xform, AcDbEntity*& pEnt) const;
  virtual Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const;
  virtual Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const;
  virtual Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                             Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const;
  virtual Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                             AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker,
                                             Adesk::GsMarker otherGsMarker) const;
  // Host: a new entity of the same class with the same filed data (through a copy filer);
  // null when the class has no pseudo constructor.
  AcDbEntity* clone() const;

 private:
  AcDbObjectId layerId_, linetypeId_;
  AcCmColor color_;
  double linetypeScale_ = 1.0;
  AcDb::LineWeight lineWeight_ = AcDb::kLnWtByLayer;
  AcDb::Visibility visibility_ = AcDb::kVisible;
  mutable std::wstring nameCache_;
};

// A curve with a parameter. The defaults answer eNotImplementedYet, as the platform's base does.
class AcDbCurve : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbCurve);
  virtual Adesk::Boolean isClosed() const { return false; }
  virtual Adesk::Boolean isPeriodic() const { return false; }
  virtual Acad::ErrorStatus getStartParam(double& param) const;
  virtual Acad::ErrorStatus getEndParam(double& param) const;
  virtual Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const;
  virtual Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const;
  virtual Acad::ErrorStatus getPointAtParam(double param, AcGePoint3d& point) const;
  virtual Acad::ErrorStatus getParamAtPoint(const AcGePoint3d& point, double& param) const;
  virtual Acad::ErrorStatus getDistAtParam(double param, double& dist) const;
  virtual Acad::ErrorStatus getParamAtDist(double dist, double& param) const;
  virtual Acad::ErrorStatus getDistAtPoint(const AcGePoint3d& point, double& dist) const;
  virtual Acad::ErrorStatus getPointAtDist(double dist, AcGePoint3d& point) const;
  virtual Acad::ErrorStatus getFirstDeriv(double param, AcGeVector3d& firstDeriv) const;
  virtual Acad::ErrorStatus getFirstDeriv(const AcGePoint3d& point, AcGeVector3d& firstDeriv) const;
  virtual Acad::ErrorStatus getSecondDeriv(double param, AcGeVector3d& secDeriv) const;
  virtual Acad::ErrorStatus getSecondDeriv(const AcGePoint3d& point, AcGeVector3d& secDeriv) const;
  virtual Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                              Adesk::Boolean extend = false) const;
  virtual Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, const AcGeVector3d& direction,
                                              AcGePoint3d& pointOnCurve, Adesk::Boolean extend = false) const;
  virtual Acad::ErrorStatus extend(double newParam);
  virtual Acad::ErrorStatus extend(Adesk::Boolean extendStart, const AcGePoint3d& toPoint);
  virtual Acad::ErrorStatus getArea(double& area) const;
};

class AcDbLine : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLine);
  AcDbLine();
  AcDbLine(const AcGePoint3d& start, const AcGePoint3d& end);
  AcGePoint3d startPoint() const;
  Acad::ErrorStatus setStartPoint(const AcGePoint3d& p);
  AcGePoint3d endPoint() const;
  Acad::ErrorStatus setEndPoint(const AcGePoint3d& p);
  double thickness() const;
  Acad::ErrorStatus setThickness(double t);
  AcGeVector3d normal() const;
  Acad::ErrorStatus setNormal(const AcGeVector3d& n);

  Adesk::Boolean isPlanar() const override { return true; }
  Acad::ErrorStatus getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const override;
  Acad::ErrorStatus getStartParam(double& param) const override;
  Acad::ErrorStatus getEndParam(double& param) const override;
  Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getPointAtParam(double param, AcGePoint3d& point) const override;
  Acad::ErrorStatus getParamAtPoint(const AcGePoint3d& point, double& param) const override;
  Acad::ErrorStatus getDistAtParam(double param, double& dist) const override;
  Acad::ErrorStatus getParamAtDist(double dist, double& param) const override;
  Acad::ErrorStatus getDistAtPoint(const AcGePoint3d& point, double& dist) const override;
  Acad::ErrorStatus getPointAtDist(double dist, AcGePoint3d& point) const override;
  Acad::ErrorStatus getFirstDeriv(double param, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getFirstDeriv(const AcGePoint3d& point, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getSecondDeriv(double param, AcGeVector3d& secDeriv) const override;
  Acad::ErrorStatus getSecondDeriv(const AcGePoint3d& point, AcGeVector3d& secDeriv) const override;
  Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                      Adesk::Boolean extend = false) const override;
  Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, const AcGeVector3d& direction,
                                      AcGePoint3d& pointOnCurve, Adesk::Boolean extend = false) const override;
  Acad::ErrorStatus extend(double newParam) override;
  Acad::ErrorStatus extend(Adesk::Boolean extendStart, const AcGePoint3d& toPoint) override;
  Acad::ErrorStatus getArea(double& area) const override;

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subList() const override;
  Acad::ErrorStatus subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                      const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                      const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                      AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes, AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                     Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const override;
  Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                     AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker,
                                     Adesk::GsMarker otherGsMarker) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  AcGePoint3d start_, end_;
  AcGeVector3d normal_{0, 0, 1};
  double thickness_ = 0.0;
};

// A lightweight polyline in a plane (elevation along its normal), with bulges and widths.
// Parameter i is vertex i; an arc segment's parameter runs by its angle fraction.
class AcDbPolyline : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbPolyline);
  explicit AcDbPolyline(unsigned int num_verts = 0);
  // index beyond the end appends; eInvalidIndex for an index over numVerts.
  Acad::ErrorStatus addVertexAt(unsigned int index, const AcGePoint2d& pt, double bulge = 0.0,
                                double startWidth = -1.0, double endWidth = -1.0);
  Acad::ErrorStatus removeVertexAt(unsigned int index);
  unsigned int numVerts() const;
  Acad::ErrorStatus getPointAt(unsigned int index, AcGePoint2d& pt) const;
  Acad::ErrorStatus getPointAt(unsigned int index, AcGePoint3d& pt) const;
  Acad::ErrorStatus setPointAt(unsigned int index, const AcGePoint2d& pt);
  Acad::ErrorStatus getBulgeAt(unsigned int index, double& bulge) const;
  Acad::ErrorStatus setBulgeAt(unsigned int index, double bulge);
  Acad::ErrorStatus getWidthsAt(unsigned int index, double& startWidth, double& endWidth) const;
  Acad::ErrorStatus setWidthsAt(unsigned int index, double startWidth, double endWidth);
  Acad::ErrorStatus getConstantWidth(double& width) const;
  Acad::ErrorStatus setConstantWidth(double width);
  void setClosed(Adesk::Boolean closed);
  double elevation() const;
  void setElevation(double elev);
  AcGeVector3d normal() const;
  Acad::ErrorStatus setNormal(const AcGeVector3d& n);
  bool isOnlyLines() const;

  Adesk::Boolean isClosed() const override;
  Adesk::Boolean isPlanar() const override { return true; }
  Acad::ErrorStatus getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const override;
  Acad::ErrorStatus getStartParam(double& param) const override;
  Acad::ErrorStatus getEndParam(double& param) const override;
  Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getPointAtParam(double param, AcGePoint3d& point) const override;
  Acad::ErrorStatus getParamAtPoint(const AcGePoint3d& point, double& param) const override;
  Acad::ErrorStatus getDistAtParam(double param, double& dist) const override;
  Acad::ErrorStatus getParamAtDist(double dist, double& param) const override;
  Acad::ErrorStatus getDistAtPoint(const AcGePoint3d& point, double& dist) const override;
  Acad::ErrorStatus getPointAtDist(double dist, AcGePoint3d& point) const override;
  Acad::ErrorStatus getFirstDeriv(double param, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                      Adesk::Boolean extend = false) const override;
  // Area enclosed by the vertices (closing segment implied, bulges included), always positive.
  Acad::ErrorStatus getArea(double& area) const override;

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subList() const override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes, AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  struct Vertex {
    AcGePoint2d pt;
    double bulge = 0, startWidth = 0, endWidth = 0;
  };
  std::vector<Vertex> verts_;
  bool closed_ = false;
  double elevation_ = 0.0;
  AcGeVector3d normal_{0, 0, 1};
};

// An interpolating spline through fit points (with optional end tangents) over a B-spline of
// the geometry kernel; the parameter is the kernel's. A degenerate fit (fewer than two points,
// two equal consecutive points, order below 2) throws std::invalid_argument from the constructor.
class AcDbSpline : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbSpline);
  AcDbSpline();
  AcDbSpline(const AcGePoint3dArray& fitPoints, int order = 4, double fitTolerance = 0.0);
  AcDbSpline(const AcGePoint3dArray& fitPoints, const AcGeVector3d& startTangent, const AcGeVector3d& endTangent,
             int order = 4, double fitTolerance = 0.0);
  ~AcDbSpline() override;
  int numFitPoints() const;
  Acad::ErrorStatus getFitPointAt(int index, AcGePoint3d& point) const;
  Acad::ErrorStatus getFitTangents(AcGeVector3d& startTangent, AcGeVector3d& endTangent) const;
  Acad::ErrorStatus getFitData(AcGePoint3dArray& fitPoints, int& degree, double& fitTolerance,
                               Adesk::Boolean& tangentsExist, AcGeVector3d& startTangent, AcGeVector3d& endTangent) const;
  // Replaces the fit data; eInvalidInput for a degenerate fit (the spline is unchanged then).
  Acad::ErrorStatus setFitData(const AcGePoint3dArray& fitPoints, int degree, double fitTolerance,
                               const AcGeVector3d& startTangent, const AcGeVector3d& endTangent);
  int degree() const;
  bool hasFitData() const;

  Adesk::Boolean isClosed() const override;
  Adesk::Boolean isPlanar() const override;
  Acad::ErrorStatus getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const override;
  Acad::ErrorStatus getStartParam(double& param) const override;
  Acad::ErrorStatus getEndParam(double& param) const override;
  Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getPointAtParam(double param, AcGePoint3d& point) const override;
  Acad::ErrorStatus getParamAtPoint(const AcGePoint3d& point, double& param) const override;
  Acad::ErrorStatus getDistAtParam(double param, double& dist) const override;
  Acad::ErrorStatus getParamAtDist(double dist, double& param) const override;
  // Arc length from the start to the projection of `point` on the curve.
  Acad::ErrorStatus getDistAtPoint(const AcGePoint3d& point, double& dist) const override;
  Acad::ErrorStatus getPointAtDist(double dist, AcGePoint3d& point) const override;
  Acad::ErrorStatus getFirstDeriv(double param, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getFirstDeriv(const AcGePoint3d& point, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getSecondDeriv(double param, AcGeVector3d& secDeriv) const override;
  Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                      Adesk::Boolean extend = false) const override;

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The simple entities that drawings from other programs carry most. Their coordinates are kept
// in world coordinates with the normal alongside; drawings of this host only make them flat.
#define KV_DB_ENTITY_OVERRIDES                                                   \
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;                     \
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;          \
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;      \
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;                   \
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;            \
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;                   \
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

class AcDbPoint : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbPoint);
  AcDbPoint() = default;
  explicit AcDbPoint(const AcGePoint3d& position) : position_(position) {}
  AcGePoint3d position() const;
  Acad::ErrorStatus setPosition(const AcGePoint3d& p);
  KV_DB_ENTITY_OVERRIDES

 private:
  AcGePoint3d position_;
  AcGeVector3d normal_{0, 0, 1};
  double thickness_ = 0.0;
};

class AcDbCircle : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbCircle);
  AcDbCircle() = default;
  AcDbCircle(const AcGePoint3d& center, const AcGeVector3d& normal, double radius);
  AcGePoint3d center() const;
  Acad::ErrorStatus setCenter(const AcGePoint3d& p);
  double radius() const;
  Acad::ErrorStatus setRadius(double r);
  AcGeVector3d normal() const;
  Adesk::Boolean isPlanar() const override { return true; }
  KV_DB_ENTITY_OVERRIDES

 protected:
  // The groups of the circle's own subclass, shared with the arc that derives from it.
  void readCircleGroup(const resbuf& rb);
  AcGePoint3d center_;
  AcGeVector3d normal_{0, 0, 1};
  double radius_ = 0.0;
  double thickness_ = 0.0;
};

// Angles in radians, counter-clockwise about the normal from the X axis.
class AcDbArc : public AcDbCircle {
 public:
  ACRX_DECLARE_MEMBERS(AcDbArc);
  AcDbArc() = default;
  AcDbArc(const AcGePoint3d& center, double radius, double startAngle, double endAngle);
  double startAngle() const;
  double endAngle() const;
  Acad::ErrorStatus setStartAngle(double a);
  Acad::ErrorStatus setEndAngle(double a);
  KV_DB_ENTITY_OVERRIDES

 private:
  double startAngle_ = 0.0, endAngle_ = 0.0;
};

// Single-line text. The position is the left end of the base line; a justified text keeps its
// alignment point too, as the files give it.
class AcDbText : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbText);
  AcDbText() = default;
  AcDbText(const AcGePoint3d& position, const ACHAR* text, AcDbObjectId style = AcDbObjectId(), double height = 0.0,
           double rotation = 0.0);
  AcGePoint3d position() const;
  Acad::ErrorStatus setPosition(const AcGePoint3d& p);
  AcGePoint3d alignmentPoint() const;
  Acad::ErrorStatus setAlignmentPoint(const AcGePoint3d& p);
  const ACHAR* textStringConst() const;
  Acad::ErrorStatus setTextString(const ACHAR* text);
  double height() const;
  Acad::ErrorStatus setHeight(double h);
  double rotation() const;
  Acad::ErrorStatus setRotation(double angle);
  double widthFactor() const;
  Acad::ErrorStatus setWidthFactor(double f);
  AcDbObjectId textStyle() const;
  Acad::ErrorStatus setTextStyle(AcDbObjectId style);
  KV_DB_ENTITY_OVERRIDES

 protected:
  // The groups of the text's own subclasses; false for a group that is not the text's.
  bool readTextGroup(const resbuf& rb, AcDbDatabase* db);
  void writeTextGroups(AcDbDxfFiler* filer) const;
  Acad::ErrorStatus readTextFields(AcDbDwgFiler* filer);
  void writeTextFields(AcDbDwgFiler* filer) const;

  // What attribute definitions and attributes add to a text, filed the same way by both (an
  // attribute has no prompt, and its DXF form leaves it out).
  struct AttributeFields {
    std::wstring tag, prompt;
    Adesk::Int16 flags = 0;  // 1: invisible
  };
  Acad::ErrorStatus dwgOutAttribute(AcDbDwgFiler* filer, const AttributeFields& fields) const;
  Acad::ErrorStatus dwgInAttribute(AcDbDwgFiler* filer, AttributeFields& fields);
  Acad::ErrorStatus dxfOutAttribute(AcDbDxfFiler* filer, const AttributeFields& fields, const ACHAR* subclass) const;
  Acad::ErrorStatus dxfInAttribute(AcDbDxfFiler* filer, AttributeFields& fields);

  AcGePoint3d position_, alignment_;
  AcGeVector3d normal_{0, 0, 1};
  std::wstring text_;
  AcDbObjectId style_;
  double height_ = 0.0, rotation_ = 0.0, widthFactor_ = 1.0, oblique_ = 0.0, thickness_ = 0.0;
  Adesk::Int16 horizontal_ = 0, vertical_ = 0;
};

// A block's attribute template: a text with a tag and a prompt, drawn only in the block itself.
class AcDbAttributeDefinition : public AcDbText {
 public:
  ACRX_DECLARE_MEMBERS(AcDbAttributeDefinition);
  AcDbAttributeDefinition() = default;
  const ACHAR* tagConst() const;
  Acad::ErrorStatus setTag(const ACHAR* tag);
  const ACHAR* promptConst() const;
  Acad::ErrorStatus setPrompt(const ACHAR* prompt);
  bool isInvisible() const;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  AttributeFields fields_;
};

// The value of one attribute of an insert. An insert owns its attributes: they are filed, drawn,
// moved and exported with it.
class AcDbAttribute : public AcDbText {
 public:
  ACRX_DECLARE_MEMBERS(AcDbAttribute);
  AcDbAttribute() = default;
  AcDbAttribute(const AcGePoint3d& position, const ACHAR* text, const ACHAR* tag, AcDbObjectId style = AcDbObjectId());
  const ACHAR* tagConst() const;
  Acad::ErrorStatus setTag(const ACHAR* tag);
  bool isInvisible() const;
  Acad::ErrorStatus setInvisible(bool invisible);
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  AttributeFields fields_;
};

#undef KV_DB_ENTITY_OVERRIDES

// Multi-line text. Paragraphs are separated by "\P" in the contents; the size comes from real
// font metrics of the text style's font at the text height. Width 0 means as wide as the text.
class AcDbMText : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbMText);
  enum AttachmentPoint {
    kTopLeft = 1, kTopCenter = 2, kTopRight = 3, kMiddleLeft = 4, kMiddleCenter = 5, kMiddleRight = 6,
    kBottomLeft = 7, kBottomCenter = 8, kBottomRight = 9,
  };
  enum FlowDirection { kLtoR = 1, kRtoL = 2, kTtoB = 3, kBtoT = 4, kByStyle = 5 };
  AcDbMText();
  ~AcDbMText() override;
  AcGePoint3d location() const;
  Acad::ErrorStatus setLocation(const AcGePoint3d& p);
  AcGeVector3d normal() const;
  Acad::ErrorStatus setNormal(const AcGeVector3d& n);
  AcGeVector3d direction() const;
  Acad::ErrorStatus setDirection(const AcGeVector3d& d);
  double rotation() const;
  Acad::ErrorStatus setRotation(double angle);
  double width() const;
  Acad::ErrorStatus setWidth(double w);
  double textHeight() const;
  Acad::ErrorStatus setTextHeight(double h);
  AcDbObjectId textStyle() const;
  Acad::ErrorStatus setTextStyle(AcDbObjectId styleId);
  AttachmentPoint attachment() const;
  Acad::ErrorStatus setAttachment(AttachmentPoint a);
  FlowDirection flowDirection() const;
  Acad::ErrorStatus setFlowDirection(FlowDirection f);
  double lineSpacingFactor() const;
  Acad::ErrorStatus setLineSpacingFactor(double f);
  // The contents with their format codes; valid while the object lives and is unchanged.
  const ACHAR* contents() const;
  // Returns the number of characters taken.
  int setContents(const ACHAR* text);
  // The plain text: "\P" becomes a line break, other codes are dropped.
  std::wstring text() const;
  double actualHeight() const;
  double actualWidth() const;
  // Corners of the text box: top left, top right, bottom left, bottom right.
  Acad::ErrorStatus getBoundingPoints(AcGePoint3dArray& pts) const;

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subList() const override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes, AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  struct Layout;
  const Layout& layout() const;
  AcGePoint3d location_;
  AcGeVector3d normal_{0, 0, 1}, direction_{1, 0, 0};
  double width_ = 0.0, height_ = 0.2, lineSpacing_ = 1.0;
  AcDbObjectId style_;
  AttachmentPoint attachment_ = kTopLeft;
  FlowDirection flow_ = kLtoR;
  std::wstring contents_;
  mutable std::unique_ptr<Layout> layout_;
};

// An insertion of a block: position, rotation about the normal, scale factors.
class AcDbBlockReference : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbBlockReference);
  AcDbBlockReference();
  AcDbBlockReference(const AcGePoint3d& position, AcDbObjectId blockTableRec);
  AcDbObjectId blockTableRecord() const;
  Acad::ErrorStatus setBlockTableRecord(AcDbObjectId id);
  AcGePoint3d position() const;
  Acad::ErrorStatus setPosition(const AcGePoint3d& p);
  double rotation() const;
  Acad::ErrorStatus setRotation(double angle);
  AcGeScale3d scaleFactors() const;
  Acad::ErrorStatus setScaleFactors(const AcGeScale3d& scale);
  AcGeVector3d normal() const;
  Acad::ErrorStatus setNormal(const AcGeVector3d& n);
  // Block coordinates (relative to the block's origin) to world coordinates.
  AcGeMatrix3d blockTransform() const;
  // The insert's attributes, in world coordinates. appendAttribute takes ownership.
  Acad::ErrorStatus appendAttribute(AcDbAttribute* attribute);
  int attributeCount() const;
  const AcDbAttribute* attributeAt(int i) const;

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subList() const override;
  Acad::ErrorStatus subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                      const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                      const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                      AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes, AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  // Transformed copies of the block's entities.
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  AcDbObjectId block_;
  AcGePoint3d position_;
  double rotation_ = 0.0;
  AcGeScale3d scale_;
  AcGeVector3d normal_{0, 0, 1};
  std::vector<std::unique_ptr<AcDbAttribute>> attributes_;
};

// A leader: a chain of vertices (as much as older drawings need).
class AcDbLeader : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLeader);
  AcDbLeader();
  int numVertices() const;
  AcGePoint3d vertexAt(int index) const;
  Adesk::Boolean appendVertex(const AcGePoint3d& p);
  Adesk::Boolean setVertexAt(int index, const AcGePoint3d& p);
  void removeLastVertex();
  Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const override;
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  std::vector<AcGePoint3d> vertices_;
};

// Stand-ins for objects whose class refused to read them (eMakeMeProxy) or is not loaded: the
// data is kept as it was read and written back unchanged. A proxy entity knows its common
// entity properties and draws the picture stored with it.
class AcDbProxyObject : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbProxyObject);
  AcDbProxyObject();
  const ACHAR* originalClassName() const;
  const ACHAR* originalDxfName() const;
  // Host: the original class, and the bytes after the AcDbObject fields.
  void setOriginal(const std::wstring& className, const std::wstring& dxfName);
  const std::vector<unsigned char>& data() const { return data_; }
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  std::wstring className_, dxfName_;
  std::vector<unsigned char> data_;
};

class AcDbProxyEntity : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbProxyEntity);
  AcDbProxyEntity();
  const ACHAR* originalClassName() const;
  const ACHAR* originalDxfName() const;
  void setOriginal(const std::wstring& className, const std::wstring& dxfName);
  const std::vector<unsigned char>& data() const { return data_; }
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  // Host: the picture (world-draw polylines) recorded when the proxy was first saved.
  void setGraphics(std::vector<std::vector<AcGePoint3d>> polylines) { graphics_ = std::move(polylines); }
  const std::vector<std::vector<AcGePoint3d>>& graphics() const { return graphics_; }

 private:
  std::wstring className_, dxfName_;
  std::vector<unsigned char> data_;
  std::vector<std::vector<AcGePoint3d>> graphics_;
};

// ---------------------------------------------------------------------------------------------
// Symbol tables

class AcDbSymbolTableRecord : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbSymbolTableRecord);
  Acad::ErrorStatus getName(ACHAR*& pName) const;  // new[] copy, free with delete[]
  Acad::ErrorStatus getName(const ACHAR*& pName) const;  // valid while open
  const ACHAR* getName() const { return name_.c_str(); }
  // eInvalidSymbolTableName for an empty name or one with <>/\":;?*|,=`
  Acad::ErrorStatus setName(const ACHAR* pName);
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;

 private:
  std::wstring name_;
};

class AcDbSymbolTableIterator;
class AcDbBlockTableRecordIterator;

// A table of named records; names compare without regard to case.
class AcDbSymbolTable : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbSymbolTable);
  AcDbSymbolTable();
  ~AcDbSymbolTable() override;
  Acad::ErrorStatus getAt(const ACHAR* entryName, AcDbObjectId& recordId, bool getErasedRecord = false) const;
  Acad::ErrorStatus getAt(const ACHAR* entryName, AcDbSymbolTableRecord*& pRec, AcDb::OpenMode openMode,
                          bool openErasedRec = false) const;
  // The record's id; null when not found.
  AcDbObjectId getIdAt(const ACHAR* entryName, bool getErasedRecord = false) const;
  bool has(const ACHAR* name) const;
  bool has(AcDbObjectId id) const;
  // Adds a new record (the table must be open for write; the record gets an id and stays open
  // for write until closed). eDuplicateRecordName, eInvalidSymbolTableName, eAlreadyInDb.
  Acad::ErrorStatus add(AcDbSymbolTableRecord* pRecord);
  Acad::ErrorStatus add(AcDbObjectId& recordId, AcDbSymbolTableRecord* pRecord);
  Acad::ErrorStatus newIterator(AcDbSymbolTableIterator*& pIterator, bool atBeginning = true, bool skipDeleted = true) const;
  // Host: the class of this table's records (for DXF and checks).
  virtual AcRxClass* recordClass() const = 0;
  // Host: ids in order of addition, erased ones included.
  const std::vector<AcDbObjectId>& recordIds() const;
  // Host: renames keep the index right.
  void hostRename(AcDbObjectId id, const std::wstring& oldName, const std::wstring& newName);
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

class AcDbSymbolTableIterator {
 public:
  virtual ~AcDbSymbolTableIterator();
  void start(bool atBeginning = true, bool skipDeleted = true);
  bool done() const;
  void step(bool forward = true, bool skipDeleted = true);
  Acad::ErrorStatus getRecordId(AcDbObjectId& id) const;
  Acad::ErrorStatus getRecord(AcDbSymbolTableRecord*& pRecord, AcDb::OpenMode openMode, bool openErasedRec = false) const;
  // Host: made by the table.
  AcDbSymbolTableIterator(const AcDbSymbolTable* table, bool atBeginning, bool skipDeleted);

 private:
  void skip(bool forward, bool skipDeleted);
  std::vector<AcDbObjectId> ids_;
  long pos_ = 0;
};

class AcDbBlockTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbBlockTableRecord);
  AcDbBlockTableRecord();
  ~AcDbBlockTableRecord() override;
  // Adds the entity to the database and to this block (this record must be open for write and
  // in a database). The entity gets an id and stays open for write; close it afterwards.
  Acad::ErrorStatus appendAcDbEntity(AcDbEntity* pEntity);
  Acad::ErrorStatus appendAcDbEntity(AcDbObjectId& pOutputId, AcDbEntity* pEntity);
  Acad::ErrorStatus newIterator(AcDbBlockTableRecordIterator*& pIterator, bool atBeginning = true,
                                bool skipDeleted = true) const;
  AcGePoint3d origin() const { return origin_; }
  Acad::ErrorStatus setOrigin(const AcGePoint3d& p);
  bool isLayout() const;
  bool isAnonymous() const;
  bool hasEntities() const;
  // Host: ids of the entities in order of addition, erased ones included.
  const std::vector<AcDbObjectId>& entityIds() const;
  void hostAddEntityId(AcDbObjectId id);
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  AcGePoint3d origin_;
  std::vector<AcDbObjectId> entities_;
};

class AcDbBlockTableRecordIterator {
 public:
  ~AcDbBlockTableRecordIterator();
  void start(bool atBeginning = true, bool skipDeleted = true);
  bool done() const;
  void step(bool forward = true, bool skipDeleted = true);
  Acad::ErrorStatus getEntityId(AcDbObjectId& entityId) const;
  Acad::ErrorStatus getEntity(AcDbEntity*& pEntity, AcDb::OpenMode openMode, bool openErasedEntity = false) const;
  // Host: made by the record.
  AcDbBlockTableRecordIterator(const AcDbBlockTableRecord* rec, bool atBeginning, bool skipDeleted);

 private:
  void skip(bool forward, bool skipDeleted);
  std::vector<AcDbObjectId> ids_;
  long pos_ = 0;
};

class AcDbLayerTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLayerTableRecord);
  AcDbLayerTableRecord();
  bool isFrozen() const { return frozen_; }
  Acad::ErrorStatus setIsFrozen(bool frozen);
  bool isOff() const { return off_; }
  void setIsOff(bool off);
  bool isLocked() const { return locked_; }
  void setIsLocked(bool locked);
  bool isPlottable() const { return plottable_; }
  Acad::ErrorStatus setIsPlottable(bool plot);
  bool isHidden() const { return false; }
  AcCmColor color() const { return color_; }
  void setColor(const AcCmColor& color);
  AcDbObjectId linetypeObjectId() const { return linetype_; }
  void setLinetypeObjectId(AcDbObjectId id);
  AcDb::LineWeight lineWeight() const { return lineWeight_; }
  Acad::ErrorStatus setLineWeight(AcDb::LineWeight weight);
  const ACHAR* plotStyleName() const { return plotStyle_.c_str(); }
  Acad::ErrorStatus setPlotStyleName(const ACHAR* newName);
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  bool frozen_ = false, off_ = false, locked_ = false, plottable_ = true;
  AcCmColor color_;
  AcDbObjectId linetype_;
  AcDb::LineWeight lineWeight_ = AcDb::kLnWtByLwDefault;
  std::wstring plotStyle_ = L"Normal";
};

class AcDbTextStyleTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbTextStyleTableRecord);
  AcDbTextStyleTableRecord();
  Acad::ErrorStatus fileName(const ACHAR*& fileName) const;
  Acad::ErrorStatus setFileName(const ACHAR* fileName);
  Acad::ErrorStatus bigFontFileName(const ACHAR*& fileName) const;
  Acad::ErrorStatus setBigFontFileName(const ACHAR* fileName);
  double textSize() const { return textSize_; }
  Acad::ErrorStatus setTextSize(double size);
  double xScale() const { return xScale_; }
  Acad::ErrorStatus setXScale(double xScale);
  double obliquingAngle() const { return oblique_; }
  Acad::ErrorStatus setObliquingAngle(double angle);
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  std::wstring fileName_ = L"txt", bigFont_;
  double textSize_ = 0.0, xScale_ = 1.0, oblique_ = 0.0;
};

class AcDbLinetypeTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLinetypeTableRecord);
  AcDbLinetypeTableRecord();
  Acad::ErrorStatus comments(const ACHAR*& pString) const;
  Acad::ErrorStatus setComments(const ACHAR* pString);
  double patternLength() const { return patternLength_; }
  void setPatternLength(double len) { assertWriteEnabled(); patternLength_ = len; }
  int numDashes() const { return static_cast<int>(dashes_.size()); }
  void setNumDashes(int count);
  double dashLengthAt(int index) const;
  void setDashLengthAt(int index, double value);
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;

 private:
  std::wstring comments_;
  double patternLength_ = 0.0;
  std::vector<double> dashes_;
};

class AcDbRegAppTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbRegAppTableRecord);
  AcDbRegAppTableRecord();
};

#define KV_DB_DECLARE_TABLE(TABLE, RECORD)                                                  \
  class TABLE : public AcDbSymbolTable {                                                    \
   public:                                                                                  \
    ACRX_DECLARE_MEMBERS(TABLE);                                                            \
    using AcDbSymbolTable::getAt;                                                           \
    Acad::ErrorStatus getAt(const ACHAR* entryName, RECORD*& pRec, AcDb::OpenMode openMode, \
                            bool openErasedRec = false) const;                              \
    AcRxClass* recordClass() const override;                                                \
  }
KV_DB_DECLARE_TABLE(AcDbBlockTable, AcDbBlockTableRecord);
KV_DB_DECLARE_TABLE(AcDbLayerTable, AcDbLayerTableRecord);
KV_DB_DECLARE_TABLE(AcDbTextStyleTable, AcDbTextStyleTableRecord);
KV_DB_DECLARE_TABLE(AcDbLinetypeTable, AcDbLinetypeTableRecord);
KV_DB_DECLARE_TABLE(AcDbRegAppTable, AcDbRegAppTableRecord);
#undef KV_DB_DECLARE_TABLE

#define ACDB_MODEL_SPACE ACRX_T("*Model_Space")
#define ACDB_PAPER_SPACE ACRX_T("*Paper_Space")

// ---------------------------------------------------------------------------------------------
// The database

// Host: a system variable's value.
struct AcDbSysVarValue {
  enum class Kind { None, Int, Real, String, Point2d, Point3d };
  Kind kind = Kind::None;
  Adesk::Int32 integer = 0;
  double values[3] = {0, 0, 0};  // Real: values[0]
  std::wstring text;
};

// A drawing: the objects reachable by id and handle, the symbol tables, the header variables.
// With buildDefaultDrawing it holds *Model_Space, *Paper_Space, layer "0", text style
// "Standard" (font "txt"), linetypes "ByBlock", "ByLayer", "Continuous", and regapp "ACAD".
class AcDbDatabase : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbDatabase);
  enum OpenMode { kForReadAndReadShare = 1, kForReadAndWriteNoShare = 2, kForReadAndAllShare = 3, kTryForReadShare = 4 };
  explicit AcDbDatabase(bool buildDefaultDrawing = true, bool noDocument = false);
  ~AcDbDatabase() override;
  AcDbDatabase(const AcDbDatabase&) = delete;
  AcDbDatabase& operator=(const AcDbDatabase&) = delete;

  Acad::ErrorStatus getBlockTable(AcDbBlockTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getLayerTable(AcDbLayerTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getTextStyleTable(AcDbTextStyleTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getLinetypeTable(AcDbLinetypeTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getRegAppTable(AcDbRegAppTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getSymbolTable(AcDbBlockTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead) { return getBlockTable(pTable, mode); }
  Acad::ErrorStatus getSymbolTable(AcDbLayerTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead) { return getLayerTable(pTable, mode); }
  Acad::ErrorStatus getSymbolTable(AcDbTextStyleTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead) { return getTextStyleTable(pTable, mode); }
  Acad::ErrorStatus getSymbolTable(AcDbLinetypeTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead) { return getLinetypeTable(pTable, mode); }
  Acad::ErrorStatus getSymbolTable(AcDbRegAppTable*& pTable, AcDb::OpenMode mode = AcDb::kForRead) { return getRegAppTable(pTable, mode); }
  AcDbObjectId blockTableId() const;
  AcDbObjectId layerTableId() const;
  AcDbObjectId textStyleTableId() const;
  AcDbObjectId linetypeTableId() const;
  AcDbObjectId regAppTableId() const;
  // Host: *Model_Space and *Paper_Space.
  AcDbObjectId modelSpaceId() const;
  AcDbObjectId paperSpaceId() const;
  AcDbObjectId byLayerLinetype() const;
  AcDbObjectId byBlockLinetype() const;
  AcDbObjectId continuousLinetype() const;

  AcDbObjectId clayer() const;
  Acad::ErrorStatus setClayer(AcDbObjectId layerId);
  AcDbObjectId textstyle() const;
  Acad::ErrorStatus setTextstyle(AcDbObjectId styleId);
  AcDbObjectId celtype() const;
  Acad::ErrorStatus setCeltype(AcDbObjectId linetypeId);
  double dimscale() const;
  Acad::ErrorStatus setDimscale(double scale);
  double textsize() const;
  Acad::ErrorStatus setTextsize(double size);
  AcGePoint3d insbase() const;
  AcGePoint3d ucsorg() const;
  AcGeVector3d ucsxdir() const;
  AcGeVector3d ucsydir() const;
  // Host: the current user coordinate system (origin and axes in world coordinates).
  Acad::ErrorStatus setUcs(const AcGePoint3d& origin, const AcGeVector3d& xDir, const AcGeVector3d& yDir);
  AcGePoint3d extmin() const;
  AcGePoint3d extmax() const;
  // Recomputes EXTMIN/EXTMAX from model space.
  Acad::ErrorStatus updateExt(bool bExact = false);

  // Host: header and view variables by name (case-insensitive): DIMSCALE, TEXTSIZE, CLAYER,
  // TEXTSTYLE, CELTYPE, INSBASE, EXTMIN, EXTMAX, UCSORG, UCSXDIR, UCSYDIR, VIEWCTR, VIEWSIZE,
  // SCREENSIZE, DWGNAME, DWGPREFIX, SAVEFILE, DBMOD, LUNITS, LUPREC, ORTHOMODE, ... Unknown
  // names: false (get) or eInvalidInput (set); eInvalidInput also for a wrong kind of value.
  bool getSysVar(const ACHAR* name, AcDbSysVarValue& value) const;
  Acad::ErrorStatus setSysVar(const ACHAR* name, const AcDbSysVarValue& value);
  // Host: sets a variable the user may only read (SAVEFILE, SCREENSIZE), or adds one.
  void setSysVarHost(const ACHAR* name, const AcDbSysVarValue& value);
  // Host: model space entities whose extents overlap the box (XY), through the spatial index.
  void queryModelSpace(double minX, double minY, double maxX, double maxY, std::vector<AcDbObjectId>& out);

  // Reads a drawing saved by saveAs into this database, which must be empty (constructed with
  // buildDefaultDrawing false). eFileNotFound, eFileAccessErr, eInvalidDwgVersion for a file
  // that is not one of ours, eEndOfFile / eBrokenHandle for a damaged one.
  Acad::ErrorStatus readDwgFile(const ACHAR* fileName, int openMode = kForReadAndWriteNoShare,
                                bool bAllowCPConversion = false, const wchar_t* wszPassword = nullptr);
  Acad::ErrorStatus saveAs(const ACHAR* fileName, const void* pSecParams = nullptr);
  // Saves under the name it was read from or last saved as; eNotApplicable when it has none.
  Acad::ErrorStatus save();
  // Writes the whole drawing as DXF (AC1015 layout).
  Acad::ErrorStatus dxfOut(const ACHAR* fileName, int precision = 16, bool saveThumbnailImage = false);
  // Reads the entities, layers, text styles and linetypes of a DXF file into this database.
  Acad::ErrorStatus dxfIn(const ACHAR* dxfFilename, const ACHAR* logFilename = nullptr);
  // Copies model space of pDb as a new block named pBlockName (eDuplicateRecordName when a block
  // of that name exists); layers, styles and linetypes missing here are copied too.
  Acad::ErrorStatus insert(AcDbObjectId& blockId, const ACHAR* pBlockName, AcDbDatabase* pDb,
                           bool preserveSourceDatabase = true);
  Acad::ErrorStatus getFilename(const ACHAR*& pOutput) const;
  // Host: the name save() writes to (the document manager names new drawings this way).
  void setFilename(const ACHAR* name);
  const ACHAR* originalFileName() const;

  // The id of the object with this handle; with createIfNotFound a new empty id is made.
  Acad::ErrorStatus getAcDbObjectId(AcDbObjectId& retId, bool createIfNotFound, const AcDbHandle& objHandle,
                                    Adesk::UInt32 xRefId = 0);
  // Host: adds a new object (not an entity of a block; use appendAcDbEntity or table add) and
  // gives it an id; it stays open for write.
  Acad::ErrorStatus addAcDbObject(AcDbObjectId& objId, AcDbObject* pObj);
  // Host: whether something changed since the last save or read.
  bool isModified() const;
  void setModified(bool modified);
  // Host: count of live (not erased) objects.
  std::size_t numObjects() const;

  struct Impl;
  Impl* impl() const { return impl_; }

 private:
  Impl* impl_;
};

// Host: recovering a damaged drawing. Opening refuses a drawing with one unreadable object;
// recovery takes every record it can still read (skipping damaged stretches of the file up to
// the next record that makes sense), clears references to what was lost, gives entities and
// table records owners again (model space, their table), and reports what it dropped.
struct AcDbRecoverReport {
  std::size_t records = 0;            // object records found in the file
  std::size_t kept = 0;               // of them, in the recovered drawing
  std::size_t dropped = 0;            // unreadable, duplicated or with no place to go
  std::size_t referencesCleared = 0;  // references to objects that are gone
  std::size_t ownersRebuilt = 0;      // objects given a new owner
  std::size_t bytesSkipped = 0;       // damaged stretches passed over
  std::vector<std::string> notes;     // one line per thing dropped or repaired (UTF-8)
};

// Reads what it can of the drawing file into `db`, which must be a new database with its
// defaults (AcDbDatabase(true)). eOk when anything was recovered; eFileNotFound,
// eFileAccessErr, or eInvalidDwgVersion for a file that is not a drawing at all.
Acad::ErrorStatus acdbRecoverDwgFile(AcDbDatabase* db, const ACHAR* fileName, AcDbRecoverReport& report);

// ---------------------------------------------------------------------------------------------
// Services

class AcDbHostApplicationServices : public AcRxObject {
 public:
  enum FindFileHint { kDefault = 0, kFontFile, kCompiledShapeFile, kTrueTypeFontFile, kEmbeddedImageFile,
                      kXRefDrawing, kPatternFile, kARXApplication, kFontMapFile, kUnderlayFile };
  AcDbDatabase* workingDatabase() const { return working_; }
  void setWorkingDatabase(AcDbDatabase* pDatabase) { working_ = pDatabase; }
  // Looks for the file as given (when it has a folder), then in the folder of pDb's drawing (or
  // the working database's), then in each support folder. eFileNotFound; eBufferTooSmall when
  // the full path does not fit nBufferLength characters.
  Acad::ErrorStatus findFile(ACHAR* pcFullPathOut, int nBufferLength, const ACHAR* pcFilename,
                             AcDbDatabase* pDb = nullptr, FindFileHint hint = kDefault);
  // Host: the support folders, separated by ';' (also read from KV_SUPPORT_PATH at start).
  void setSupportPath(const ACHAR* folders);
  const ACHAR* supportPath() const;

 private:
  AcDbDatabase* working_ = nullptr;
  std::wstring supportPath_;
};

AcDbHostApplicationServices* acdbHostApplicationServices();
inline AcDbDatabase* acdbCurDwg() { return acdbHostApplicationServices()->workingDatabase(); }

// Entity names for LISP: the name holds the database and the handle, so a stale name of a
// destroyed database is refused (eInvalidAdsName), never followed.
Acad::ErrorStatus acdbGetAdsName(ads_name objName, AcDbObjectId objId);
// Whether `value` is one of the AcDb::LineWeight values. A number from a file, a project database
// or LISP is checked with it before it becomes a LineWeight, which cannot hold anything else.
bool acdbIsLineWeight(long value);
Acad::ErrorStatus acdbGetObjectId(AcDbObjectId& objId, const ads_name objName);

// The entity functions of LISP over the working database's model space. RTNORM or RTERROR.
int acdbEntNext(const ads_name ent, ads_name result);  // ent null or {0,0}: the first entity
int acdbEntLast(ads_name result);
int acdbEntDel(const ads_name ent);  // erases, or unerases an erased one
// The entity's groups: (-1 . name) (0 . dxf name) (5 . handle) (8 . layer) ... as its DXF
// output gives them. Free with acutRelRb. Null for a bad name.
resbuf* acdbEntGet(const ads_name ent);
