// One table per filed class drives its DWG and DXF filing in every version: which fields a
// version holds, in which order, of which kind, and which DXF group carries them.
#pragma once

#include <climits>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <variant>
#include <vector>

#include "db.h"

namespace kvfiling {

// What a field is on the filer. A list is a count then that many doubles; a block is a run of
// reads that a class gives itself (data of old versions that maps onto no single member, or an
// embedded object that files itself). An object id is a flag and, when the flag is set, a hard
// pointer: an erased object's id goes only to the undo filer, and on reading the id is null until
// its flag says otherwise, with a handle that no object has tolerated.
enum class Kind { Bool, Int32, Double, String, Point3d, DoubleList, Block, ObjectId };

// A field is filed from version `first` up to `last` inclusive.
constexpr int kCurrent = INT_MAX;

template <class R>
using BlockReader = Acad::ErrorStatus (*)(AcDbDwgFiler* filer, R& record);
template <class R>
using BlockWriter = std::function<Acad::ErrorStatus(AcDbDwgFiler* filer, const R& record)>;
template <class R>
using BlockOut = Acad::ErrorStatus (*)(AcDbDwgFiler* filer, const R& record);
// Whether the record ends after a field, in both directions, for a record of that version.
template <class R>
using EndsRecord = bool (*)(const R& record, int version);

template <class R>
struct Field {
  using Member = std::variant<bool R::*, std::int32_t R::*, double R::*, std::wstring R::*, AcGePoint3d R::*,
                              std::vector<double> R::*, BlockReader<R>, AcDbObjectId R::*>;
  const char* name;
  Kind kind;
  int first;
  int last;
  Member member;
  // The DXF group that carries the field; 0 when it does not travel through DXF. A bool goes
  // out as an integer and comes back set by any nonzero value.
  short dxfCode = 0;
  // At most this many list entries are written (0: no limit); reading takes what the count says.
  std::size_t writeLimit = 0;
  // A block's own writer, for blocks that the current version still writes.
  BlockOut<R> writer = nullptr;
  // When given and true, nothing after this field is filed.
  EndsRecord<R> endsAfter = nullptr;

  bool inVersion(int v) const { return v >= first && v <= last; }
};

// Field makers, so a table reads as one line per field.
template <class R> Field<R> boolean(const char* n, bool R::*m, int first, int last = kCurrent, short dxf = 0) {
  return {n, Kind::Bool, first, last, m, dxf};
}
template <class R> Field<R> int32(const char* n, std::int32_t R::*m, int first, int last = kCurrent, short dxf = 0) {
  return {n, Kind::Int32, first, last, m, dxf};
}
template <class R> Field<R> real(const char* n, double R::*m, int first, int last = kCurrent, short dxf = 0) {
  return {n, Kind::Double, first, last, m, dxf};
}
template <class R> Field<R> text(const char* n, std::wstring R::*m, int first, int last = kCurrent, short dxf = 0) {
  return {n, Kind::String, first, last, m, dxf};
}
template <class R> Field<R> point(const char* n, AcGePoint3d R::*m, int first, int last = kCurrent, short dxf = 0) {
  return {n, Kind::Point3d, first, last, m, dxf};
}
template <class R>
Field<R> doubles(const char* n, std::vector<double> R::*m, int first, int last = kCurrent, std::size_t limit = 0) {
  return {n, Kind::DoubleList, first, last, m, 0, limit};
}
template <class R>
Field<R> block(const char* n, BlockReader<R> reader, int first, int last, BlockOut<R> writer = nullptr) {
  return {n, Kind::Block, first, last, reader, 0, 0, writer};
}
template <class R> Field<R> objectId(const char* n, AcDbObjectId R::*m, int first, int last = kCurrent) {
  return {n, Kind::ObjectId, first, last, m};
}
// The same field, after which the record ends when `ends` says so.
template <class R> Field<R> endingIf(Field<R> f, EndsRecord<R> ends) {
  f.endsAfter = ends;
  return f;
}

// The fields of record type R (a plain struct whose default values are the defaults of the
// filed class), in file order, and the version its writer produces.
template <class R>
class FieldTable {
 public:
  FieldTable(int currentVersion, std::initializer_list<Field<R>> fields) : current_(currentVersion), fields_(fields) {}

  int currentVersion() const { return current_; }
  const std::vector<Field<R>>& fields() const { return fields_; }

  // Writes the version number and the fields of `version` (the current one by default). Stops at
  // the first failing write with its status, else answers the filer's status. A block has no
  // writer in the table, since only readers remain for such versions; `blockWriter` stands in
  // for it (eNotImplementedYet without one).
  Acad::ErrorStatus dwgOut(AcDbDwgFiler* filer, const R& rec, int version = 0,
                           const BlockWriter<R>& blockWriter = nullptr) const;
  // Reads the version number, then that version's fields. A version above the current one
  // answers eMakeMeProxy (the host keeps the object as a proxy); a version below 1 reads
  // nothing more. Fields the version lacks take their defaults. Stops at the first failing
  // read with its status, else answers the filer's status. `version` gets the number read.
  Acad::ErrorStatus dwgIn(AcDbDwgFiler* filer, R& rec, int* version = nullptr) const;
  // Writes the fields that have a DXF group, in table order.
  Acad::ErrorStatus dxfOut(AcDbDxfFiler* filer, const R& rec) const;
  // Reads groups until a read fails or extended data begins; known groups fill their fields,
  // others are passed over. Answers the filer's status.
  Acad::ErrorStatus dxfIn(AcDbDxfFiler* filer, R& rec) const;

 private:
  int current_;
  std::vector<Field<R>> fields_;
};

// Kind-level filing, shared by every table.
Acad::ErrorStatus writeDoubles(AcDbDwgFiler* f, const std::vector<double>& v, std::size_t limit);
Acad::ErrorStatus readDoubles(AcDbDwgFiler* f, std::vector<double>& v);
Acad::ErrorStatus writeObjectId(AcDbDwgFiler* f, AcDbObjectId id);
Acad::ErrorStatus readObjectId(AcDbDwgFiler* f, AcDbObjectId& id);
// The integer of a group, whichever integer width its code has.
std::int64_t integerOf(const resbuf& rb);

template <class R>
Acad::ErrorStatus FieldTable<R>::dwgOut(AcDbDwgFiler* filer, const R& rec, int version,
                                        const BlockWriter<R>& blockWriter) const {
  if (version == 0) version = current_;
  Acad::ErrorStatus es = filer->writeInt32(version);
  for (const Field<R>& f : fields_) {
    if (es != Acad::eOk) return es;
    if (!f.inVersion(version)) continue;
    switch (f.kind) {
      case Kind::Bool: es = filer->writeBool(rec.*std::get<bool R::*>(f.member)); break;
      case Kind::Int32: es = filer->writeInt32(rec.*std::get<std::int32_t R::*>(f.member)); break;
      case Kind::Double: es = filer->writeDouble(rec.*std::get<double R::*>(f.member)); break;
      case Kind::String: es = filer->writeString(rec.*std::get<std::wstring R::*>(f.member)); break;
      case Kind::Point3d: es = filer->writePoint3d(rec.*std::get<AcGePoint3d R::*>(f.member)); break;
      case Kind::DoubleList:
        es = writeDoubles(filer, rec.*std::get<std::vector<double> R::*>(f.member), f.writeLimit);
        break;
      case Kind::Block:
        es = f.writer ? f.writer(filer, rec) : blockWriter ? blockWriter(filer, rec) : Acad::eNotImplementedYet;
        break;
      case Kind::ObjectId: es = writeObjectId(filer, rec.*std::get<AcDbObjectId R::*>(f.member)); break;
    }
    if (es == Acad::eOk && f.endsAfter && f.endsAfter(rec, version)) break;
  }
  return es != Acad::eOk ? es : filer->filerStatus();
}

template <class R>
Acad::ErrorStatus FieldTable<R>::dwgIn(AcDbDwgFiler* filer, R& rec, int* versionOut) const {
  Adesk::Int32 version = 0;
  if (Acad::ErrorStatus es = filer->readInt32(&version); es != Acad::eOk) return es;
  if (versionOut) *versionOut = version;
  if (version > current_) return Acad::eMakeMeProxy;
  static const R defaults{};
  for (const Field<R>& f : fields_) {
    if (f.inVersion(version)) continue;
    std::visit([&](auto m) {
      if constexpr (std::is_member_object_pointer_v<decltype(m)>) rec.*m = defaults.*m;
    }, f.member);
  }
  for (const Field<R>& f : fields_) {
    if (!f.inVersion(version)) continue;
    Acad::ErrorStatus es = Acad::eOk;
    switch (f.kind) {
      case Kind::Bool: es = filer->readBool(&(rec.*std::get<bool R::*>(f.member))); break;
      case Kind::Int32: es = filer->readInt32(&(rec.*std::get<std::int32_t R::*>(f.member))); break;
      case Kind::Double: es = filer->readDouble(&(rec.*std::get<double R::*>(f.member))); break;
      case Kind::String: es = filer->readString(rec.*std::get<std::wstring R::*>(f.member)); break;
      case Kind::Point3d: es = filer->readPoint3d(&(rec.*std::get<AcGePoint3d R::*>(f.member))); break;
      case Kind::DoubleList: es = readDoubles(filer, rec.*std::get<std::vector<double> R::*>(f.member)); break;
      case Kind::Block: es = std::get<BlockReader<R>>(f.member)(filer, rec); break;
      case Kind::ObjectId: es = readObjectId(filer, rec.*std::get<AcDbObjectId R::*>(f.member)); break;
    }
    if (es != Acad::eOk) return es;
    if (f.endsAfter && f.endsAfter(rec, version)) break;
  }
  return filer->filerStatus();
}

template <class R>
Acad::ErrorStatus FieldTable<R>::dxfOut(AcDbDxfFiler* filer, const R& rec) const {
  Acad::ErrorStatus es = Acad::eOk;
  for (const Field<R>& f : fields_) {
    if (es != Acad::eOk) return es;
    if (f.dxfCode == 0) continue;
    auto code = static_cast<AcDb::DxfCode>(f.dxfCode);
    switch (f.kind) {
      case Kind::Bool: es = filer->writeInt32(code, rec.*std::get<bool R::*>(f.member) ? 1 : 0); break;
      case Kind::Int32: es = filer->writeInt32(code, rec.*std::get<std::int32_t R::*>(f.member)); break;
      case Kind::Double: es = filer->writeDouble(code, rec.*std::get<double R::*>(f.member)); break;
      case Kind::String: es = filer->writeString(code, (rec.*std::get<std::wstring R::*>(f.member)).c_str()); break;
      case Kind::Point3d: es = filer->writePoint3d(code, rec.*std::get<AcGePoint3d R::*>(f.member)); break;
      case Kind::DoubleList:
      case Kind::Block:
      case Kind::ObjectId: break;
    }
  }
  return es != Acad::eOk ? es : filer->filerStatus();
}

template <class R>
Acad::ErrorStatus FieldTable<R>::dxfIn(AcDbDxfFiler* filer, R& rec) const {
  resbuf rb;
  while (!filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    for (const Field<R>& f : fields_) {
      if (f.dxfCode == 0 || f.dxfCode != rb.restype) continue;
      const double* p = rb.resval.rpoint;
      switch (f.kind) {
        case Kind::Bool: rec.*std::get<bool R::*>(f.member) = integerOf(rb) != 0; break;
        case Kind::Int32: rec.*std::get<std::int32_t R::*>(f.member) = static_cast<std::int32_t>(integerOf(rb)); break;
        case Kind::Double: rec.*std::get<double R::*>(f.member) = rb.resval.rreal; break;
        case Kind::String:
          rec.*std::get<std::wstring R::*>(f.member) = rb.resval.rstring ? rb.resval.rstring : L"";
          break;
        case Kind::Point3d: rec.*std::get<AcGePoint3d R::*>(f.member) = AcGePoint3d(p[0], p[1], p[2]); break;
        case Kind::DoubleList:
        case Kind::Block:
        case Kind::ObjectId: break;
      }
    }
  }
  return filer->filerStatus();
}

}  // namespace kvfiling
