// KvDuct as an object: its class, its accessors, its DWG and DXF filing in every version, the
// records that the oldest drawings carried, and what it answers to list, audit and explode.
#include <cmath>
#include <cwctype>
#include <list>
#include <memory>

#include "KvDuct.h"
#include "filing/filing.h"

namespace {

const ACHAR* const kAppString = L"\"Kelvane Duct|Kelvane Software, Inc|www.kelvane.example\"";

// ---- the records of old drawings ----

std::list<oldDuctFields>& OldList() {
  static std::list<oldDuctFields> list;
  return list;
}

// One read of the old block: its kind and where the value goes. Positions 1 to 35 fill the
// record; the other targets are the record's key, the two drawing names and the duct's sizeFor.
enum class OldKind { Int, Double, String };
enum class OldTarget { Dropped, Position, Key, Drawing1, Drawing2, SizeFor };
struct OldStep {
  OldKind kind;
  OldTarget target;
  int position;  // for Position and SizeFor (which also fills its position)
};

constexpr OldStep kOldSteps[] = {
    {OldKind::Int, OldTarget::Key, 0},
    {OldKind::Int, OldTarget::Position, 1},
    {OldKind::String, OldTarget::Position, 2},
    {OldKind::Int, OldTarget::Position, 3},
    {OldKind::Int, OldTarget::Dropped, 0},
    {OldKind::String, OldTarget::Position, 4},
    {OldKind::String, OldTarget::Position, 5},
    {OldKind::String, OldTarget::Dropped, 0},
    {OldKind::Int, OldTarget::Position, 6},
    {OldKind::Int, OldTarget::Position, 7},
    {OldKind::Int, OldTarget::Dropped, 0},
    {OldKind::String, OldTarget::Position, 8},
    {OldKind::String, OldTarget::Position, 9},
    {OldKind::Double, OldTarget::Position, 10},
    {OldKind::Double, OldTarget::Position, 11},
    {OldKind::String, OldTarget::Position, 12},
    {OldKind::String, OldTarget::Position, 13},
    {OldKind::String, OldTarget::Position, 14},
    {OldKind::String, OldTarget::Position, 15},
    {OldKind::String, OldTarget::Position, 16},
    {OldKind::Int, OldTarget::Position, 17},
    {OldKind::String, OldTarget::SizeFor, 18},
    {OldKind::Double, OldTarget::Position, 19},
    {OldKind::Double, OldTarget::Position, 20},
    {OldKind::Double, OldTarget::Position, 21},
    // Position 22 (the sizing shape) was never in these files and stays empty.
    {OldKind::Int, OldTarget::Position, 23},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Int, OldTarget::Dropped, 0},
    {OldKind::Int, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::Double, OldTarget::Dropped, 0},
    {OldKind::String, OldTarget::Drawing1, 0},
    {OldKind::String, OldTarget::Drawing2, 0},
    {OldKind::Double, OldTarget::Position, 24},
    {OldKind::Double, OldTarget::Position, 25},
    {OldKind::Double, OldTarget::Position, 26},
    {OldKind::Double, OldTarget::Position, 27},
    {OldKind::Double, OldTarget::Position, 28},
    {OldKind::Double, OldTarget::Position, 29},
    {OldKind::Double, OldTarget::Position, 30},
    {OldKind::Double, OldTarget::Position, 31},
    {OldKind::Double, OldTarget::Position, 32},
    {OldKind::String, OldTarget::Position, 33},
    {OldKind::Int, OldTarget::Position, 34},
    {OldKind::Double, OldTarget::Position, 35},
};

// The kind each position holds, so a record that a damaged file cut short still answers with
// values of the right kinds.
OldKind KindOfPosition(int position) {
  for (const OldStep& s : kOldSteps)
    if (s.position == position) return s.kind;
  return OldKind::String;
}

std::wstring Upper(std::wstring s) {
  for (wchar_t& c : s) c = static_cast<wchar_t>(std::towupper(c));
  return s;
}

Acad::ErrorStatus ReadOldValue(AcDbDwgFiler* filer, OldKind kind, oldDuctFields::Value& out) {
  Acad::ErrorStatus es = Acad::eOk;
  switch (kind) {
    case OldKind::Int: {
      Adesk::Int32 v = 0;
      es = filer->readInt32(&v);
      out = std::int32_t(v);
      break;
    }
    case OldKind::Double: {
      double v = 0.0;
      es = filer->readDouble(&v);
      out = v;
      break;
    }
    case OldKind::String: {
      std::wstring v;
      es = filer->readString(v);
      out = v;
      break;
    }
  }
  return es;
}

// The block of the old generation, read into a new record at the head of the list. The record
// goes in first, so a read that fails half way leaves what was read.
Acad::ErrorStatus ReadOldBlock(AcDbDwgFiler* filer, KvDuctFields& duct) {
  oldDuctFields& rec = OldList().emplace_front();
  std::wstring drawing1, drawing2;
  for (const OldStep& step : kOldSteps) {
    oldDuctFields::Value v;
    if (Acad::ErrorStatus es = ReadOldValue(filer, step.kind, v); es != Acad::eOk) return es;
    switch (step.target) {
      case OldTarget::Dropped: break;
      case OldTarget::Position: rec.values[step.position - 1] = v; break;
      case OldTarget::Key: rec.ixDuct = std::get<std::int32_t>(v); break;
      case OldTarget::Drawing1: drawing1 = std::get<std::wstring>(v); break;
      case OldTarget::Drawing2: drawing2 = std::get<std::wstring>(v); break;
      case OldTarget::SizeFor:
        rec.values[step.position - 1] = v;
        duct.sizeFor = std::get<std::wstring>(v);
        break;
    }
  }
  if (duct.dwgStart) {
    rec.drawingKey = Upper(drawing1);
    duct.linkedDrawing = drawing2;
  } else if (duct.dwgEnd) {
    rec.drawingKey = Upper(drawing2);
    duct.linkedDrawing = drawing1;
  } else {
    rec.drawingKey = Upper(drawing1);
    duct.linkedDrawing.clear();
  }
  return filer->filerStatus();
}

// ---- the field table ----

using kvfiling::kCurrent;

const kvfiling::FieldTable<KvDuctFields>& DuctTable() {
  using R = KvDuctFields;
  static const kvfiling::FieldTable<R> table(
      KvDuct::kVersion,
      {
          kvfiling::point<R>("start", &R::start, 1, kCurrent, 10),
          kvfiling::point<R>("end", &R::end, 1, kCurrent, 11),
          kvfiling::int32<R>("ixDuct", &R::ixDuct, 1, kCurrent, 90),
          kvfiling::boolean<R>("legacyFlag", &R::legacyFlag, 1),
          kvfiling::boolean<R>("visible", &R::visible, 1),
          kvfiling::point<R>("legacyPoint", &R::legacyPoint, 1),
          kvfiling::boolean<R>("dwgStart", &R::dwgStart, 2, kCurrent, 91),
          kvfiling::boolean<R>("dwgEnd", &R::dwgEnd, 2, kCurrent, 92),
          kvfiling::block<R>("oldDuctFields", &ReadOldBlock, 3, 3),
          kvfiling::text<R>("sizeFor", &R::sizeFor, 4, kCurrent, 1),
          kvfiling::text<R>("linkedDrawing", &R::linkedDrawing, 4, kCurrent, 2),
          kvfiling::doubles<R>("hangerDistances", &R::hangerDistances, 5, kCurrent, KvDuct::kMaxFiledHangers),
          kvfiling::boolean<R>("reverseArrows", &R::reverseArrows, 5),
          kvfiling::boolean<R>("bLockWidth", &R::bLockWidth, 6),
          kvfiling::boolean<R>("bLockDepth", &R::bLockDepth, 6),
          kvfiling::boolean<R>("bLockShape", &R::bLockShape, 6),
      });
  return table;
}

// Elevations print as plain decimals of at most two places.
std::wstring Elevation(double z) {
  wchar_t buf[64];
  std::swprintf(buf, 64, L"%.2f", z);
  std::wstring s = buf;
  while (!s.empty() && s.back() == L'0') s.pop_back();
  if (!s.empty() && s.back() == L'.') s.pop_back();
  if (s == L"-0") s = L"0";
  return s;
}

}  // namespace

// ---- class ----

AcRxClass* KvDuct::gpDesc = nullptr;

AcRxClass* KvDuct::desc() {
  if (gpDesc == nullptr) gpDesc = acrxFindAcRxClass(L"KvDuct");
  return gpDesc;
}

AcRxClass* KvDuct::isA() const { return KvDuct::desc(); }

void KvDuct::rxInit() {
  gpDesc = newAcRxClass(L"KvDuct", L"AcDbCurve", 1, 1, 1, []() -> AcRxObject* { return new KvDuct(); }, L"KVDUCT",
                        kAppString);
}

void RegisterDuctClass(void (*ensure)(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name)) {
  ensure(KvDuct::gpDesc, &KvDuct::rxInit, L"KvDuct");
}

void UnregisterDuctClass() {
  if (AcRxClass* cls = acrxFindAcRxClass(L"KvDuct")) deleteAcRxClass(cls);
  KvDuct::gpDesc = nullptr;
  ClearOldDuctRecords();
}

std::int32_t DuctIndexOf(const AcDbEntity& entity) {
  const KvDuct* duct = KvDuct::cast(&entity);
  return duct ? duct->getIxDuct() : 0;
}

// ---- old records ----

oldDuctFields::oldDuctFields() {
  values.reserve(kPositions);
  for (int p = 1; p <= kPositions; ++p) {
    switch (KindOfPosition(p)) {
      case OldKind::Int: values.emplace_back(std::int32_t(0)); break;
      case OldKind::Double: values.emplace_back(0.0); break;
      case OldKind::String: values.emplace_back(std::wstring()); break;
    }
  }
}

std::vector<const oldDuctFields*> OldDuctRecords() {
  std::vector<const oldDuctFields*> out;
  for (const oldDuctFields& r : OldList()) out.push_back(&r);
  return out;
}

const oldDuctFields* FindOldDuctRecord(std::int32_t ixDuct, const std::wstring& drawingKey) {
  for (const oldDuctFields& r : OldList())
    if (r.ixDuct == ixDuct && r.drawingKey == drawingKey) return &r;
  return nullptr;
}

void ClearOldDuctRecords() { OldList().clear(); }

// ---- accessors ----

KvDuct::~KvDuct() = default;

void KvDuct::getStart(AcGePoint3d& p) const {
  assertReadEnabled();
  p = f_.start;
}

void KvDuct::getEnd(AcGePoint3d& p) const {
  assertReadEnabled();
  p = f_.end;
}

std::int32_t KvDuct::getIxDuct() const {
  assertReadEnabled();
  return f_.ixDuct;
}

void KvDuct::setIxDuct(std::int32_t ix) {
  assertWriteEnabled();
  f_.ixDuct = ix;
  recordGraphicsModified(true);
}

void KvDuct::setStart(const AcGePoint3d& p, bool withZ) {
  assertWriteEnabled();
  f_.start.set(p.x, p.y, withZ ? p.z : f_.start.z);
  recordGraphicsModified(true);
}

void KvDuct::setEnd(const AcGePoint3d& p, bool withZ) {
  assertWriteEnabled();
  f_.end.set(p.x, p.y, withZ ? p.z : f_.end.z);
  recordGraphicsModified(true);
}

const KvDuctFields& KvDuct::fields() const {
  assertReadEnabled();
  return f_;
}

KvDuctFields& KvDuct::fieldsForWrite() {
  assertWriteEnabled();
  recordGraphicsModified(true);
  return f_;
}

// ---- filing ----

Acad::ErrorStatus KvDuct::dwgOutFields(AcDbDwgFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
  return DuctTable().dwgOut(filer, f_);
}

Acad::ErrorStatus KvDuct::dwgInFields(AcDbDwgFiler* filer) {
  assertWriteEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer); es != Acad::eOk) return es;
  return DuctTable().dwgIn(filer, f_);
}

Acad::ErrorStatus KvDuct::dxfOutFields(AcDbDxfFiler* filer) const {
  assertReadEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  if (Acad::ErrorStatus es = filer->writeString(AcDb::kDxfSubclass, L"KvDuct"); es != Acad::eOk) return es;
  return DuctTable().dxfOut(filer, f_);
}

Acad::ErrorStatus KvDuct::dxfInFields(AcDbDxfFiler* filer) {
  assertWriteEnabled();
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubClassData(L"KvDuct")) return Acad::eBadDxfSequence;
  return DuctTable().dxfIn(filer, f_);
}

// ---- what a duct answers besides its curve and its picture ----

Acad::ErrorStatus KvDuct::audit(AcDbAuditInfo*) {
  assertReadEnabled();
  return Acad::eOk;
}

Acad::ErrorStatus KvDuct::subExplode(AcDbVoidPtrArray&) const {
  assertReadEnabled();
  return Acad::eNotApplicable;
}

// The proxy picture: a host without this module still sees where the duct runs.
void KvDuct::saveAs(AcGiWorldDraw* mode, AcDb::SaveType) {
  assertReadEnabled();
  AcGePoint3d pts[2] = {f_.start, f_.end};
  mode->geometry().polyline(2, pts);
}

void KvDuct::subList() const {
  assertReadEnabled();
  AcDbEntity::subList();
  acutPrintf(L"                   Duct ID = %d\n", f_.ixDuct);
  acutPrintf(L"                   Starting elevation = %s\n", Elevation(f_.start.z).c_str());
  acutPrintf(L"                   Ending elevation = %s\n", Elevation(f_.end.z).c_str());
}
