// One record class per table of the project database, generated from the column tables.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "KvDuctDbInfo.h"
#include "record.h"

// Column traits and value blocks, one per table.
#define KV_TABLE tblDuct
#define KV_TABLE_DEF "tables/tblDuct.def"
#define KV_TABLE_VALUES KvDuctDbInfo
#include "table_traits.inc"
#define KV_TABLE tblDiffL
#define KV_TABLE_DEF "tables/tblDiffL.def"
#include "table_traits.inc"
#define KV_TABLE tblDiffS
#define KV_TABLE_DEF "tables/tblDiffS.def"
#include "table_traits.inc"
#define KV_TABLE tblDiffSGroup
#define KV_TABLE_DEF "tables/tblDiffSGroup.def"
#include "table_traits.inc"
#define KV_TABLE tblDwgDiff
#define KV_TABLE_DEF "tables/tblDwgDiff.def"
#include "table_traits.inc"
#define KV_TABLE tblLoadRoomCooling
#define KV_TABLE_DEF "tables/tblLoadRoomCooling.def"
#include "table_traits.inc"
#define KV_TABLE tblLoadRoomHeating
#define KV_TABLE_DEF "tables/tblLoadRoomHeating.def"
#include "table_traits.inc"
#define KV_TABLE tblGlobal
#define KV_TABLE_DEF "tables/tblGlobal.def"
#include "table_traits.inc"
#define KV_TABLE tblLayer
#define KV_TABLE_DEF "tables/tblLayer.def"
#include "table_traits.inc"
#define KV_TABLE tblLayerKey
#define KV_TABLE_DEF "tables/tblLayerKey.def"
#include "table_traits.inc"
#define KV_TABLE tblLayerSystem
#define KV_TABLE_DEF "tables/tblLayerSystem.def"
#include "table_traits.inc"
#define KV_TABLE tblTextStyle
#define KV_TABLE_DEF "tables/tblTextStyle.def"
#include "table_traits.inc"

// Accessors of one column, by its null rule. Get<Col>() / Set<Col>(v) for every column; a nullable
// column's getter is bool Get<Col>(out) (false when null, the value delivered anyway), and it has
// SetNull<Col>().
#define KV_GET_T(k) ::kvdb::GetT<::kvdb::ColumnKind::k>
#define KV_ARG_T(k) ::kvdb::ArgT<::kvdb::ColumnKind::k>
#define KV_FIELD_T(k) ::kvdb::FieldT<::kvdb::ColumnKind::k>
#define KV_ACCESS_Plain(n, k)                                      \
  KV_GET_T(k) Get##n() const { return values_.n; }                 \
  void Set##n(KV_ARG_T(k) v) { Assign(&Values::n, Traits::n, KV_FIELD_T(k)(v)); }
#define KV_ACCESS_AsEmpty(n, k) KV_ACCESS_Plain(n, k)
#define KV_ACCESS_Flag(n, k)                                                        \
  bool Get##n(KV_FIELD_T(k)& out) const { return Fetch(&Values::n, Traits::n, out); } \
  void Set##n(KV_ARG_T(k) v) { Assign(&Values::n, Traits::n, KV_FIELD_T(k)(v)); }   \
  void SetNull##n() { AssignNull(&Values::n, Traits::n); }
#define KV_ACCESS_Master(n, k) KV_ACCESS_Flag(n, k)
#define KV_COL(n, k, r) KV_ACCESS_##r(n, k)

// tblDuct: one length of duct. Info() is the row as a value block to copy.
class tblDuct : public kvdb::kvRecord<kvdb::tblDuctTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  const KvDuctDbInfo& Info() const { return values_; }
  // Seek on the integer search keys of a duct's start and end.
  bool FindByDistance1(std::int32_t value);
  bool FindByDistance2(std::int32_t value);
#include "tables/tblDuct.def"
};

class AcGePoint3d;
class AcGeVector3d;

// tblDiffL: one diffuser placed in a drawing. Rows end through SQL or bDeleted, never Delete.
class tblDiffL : public kvdb::kvRecord<kvdb::tblDiffLTraits> {
 public:
  using kvRecord::kvRecord;
  // The stored point (X, Y, Z); toDrawing passes it through the LISP layer's convert_rp_dp with
  // iAlignmentPointNumber, keeping the stored point when no usable answer comes back.
  AcGePoint3d GetPosition(bool toDrawing) const;
  // The diffuser's directions: x along ROTATION (converted by convert_ra_da with toDrawing), z up,
  // both reversed when TILT is 180 (it faces the other way); y = x cross z.
  void GetAxes(bool toDrawing, AcGeVector3d& x, AcGeVector3d& y, AcGeVector3d& z) const;
#include "tables/tblDiffL.def"
};

// tblDiffS: one diffuser type of the schedule. Rows end through SQL, never Delete.
class tblDiffS : public kvdb::kvRecord<kvdb::tblDiffSTraits> {
 public:
  using kvRecord::kvRecord;
  // Sizes in drawing units (x 25.4 for a metric project), made positive.
  double DrawingWidth(bool isMetric) const;
  double DrawingLength(bool isMetric) const;
  double DrawingNeck(bool isMetric) const;
  double DrawingNeck2(bool isMetric) const;
#include "tables/tblDiffS.def"
};

// tblDiffSGroup: a group of the diffuser schedule.
class tblDiffSGroup : public kvdb::kvRecord<kvdb::tblDiffSGroupTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
#include "tables/tblDiffSGroup.def"
};

// tblDwgDiff: the diffuser block kinds.
class tblDwgDiff : public kvdb::kvRecord<kvdb::tblDwgDiffTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  // The solid builders' diffuser kind of a block row: 0 rectangular, 1 round, 2 slot, 3 sidewall
  // (iBlockType numbers slot and sidewall the other way round); 1 when the row or type is unknown.
  int BlockKind(std::int32_t ixDwgDiff);
#include "tables/tblDwgDiff.def"
};

// tblLoadRoomCooling: cooling results of a room (id < 0) or zone (id > 0) by month and hour.
class tblLoadRoomCooling : public kvdb::kvRecord<kvdb::tblLoadRoomCoolingTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  // False for id 0 without touching the table.
  bool FindResult(std::int32_t id, std::int32_t iMonth, std::int32_t iHour);
#include "tables/tblLoadRoomCooling.def"
};

// tblLoadRoomHeating: heating results of a room (id < 0) or zone (id > 0).
class tblLoadRoomHeating : public kvdb::kvRecord<kvdb::tblLoadRoomHeatingTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  bool FindResult(std::int32_t id);
#include "tables/tblLoadRoomHeating.def"
};

// tblGlobal: one keyed project setting; see GetGlobalNumber and friends.
class tblGlobal : public kvdb::kvRecord<kvdb::tblGlobalTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  bool FindBySKey(std::wstring_view key);
#include "tables/tblGlobal.def"
};

// tblLayer: one drawing layer.
class tblLayer : public kvdb::kvRecord<kvdb::tblLayerTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  bool FindBySName(std::wstring_view name);
#include "tables/tblLayer.def"
};

// tblLayerKey: a layer key of the system mapped to a layer, for one layer system or all (null).
class tblLayerKey : public kvdb::kvRecord<kvdb::tblLayerKeyTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  bool FindBySKey(std::wstring_view key);
  // System 0 seeks the rows whose ixLayerSystem is null, which hold for every system.
  bool FindBySystemKey(std::int32_t system, std::wstring_view key);
#include "tables/tblLayerKey.def"
};

// tblLayerSystem: a layer system and its hatching by air type.
class tblLayerSystem : public kvdb::kvRecord<kvdb::tblLayerSystemTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
#include "tables/tblLayerSystem.def"
};

// tblTextStyle: a text style by key.
class tblTextStyle : public kvdb::kvRecord<kvdb::tblTextStyleTraits> {
 public:
  using kvRecord::kvRecord;
  bool Delete() { return DeleteCurrent(); }
  bool FindBySKey(std::wstring_view key);
#include "tables/tblTextStyle.def"
};

#undef KV_COL
#undef KV_ACCESS_Plain
#undef KV_ACCESS_AsEmpty
#undef KV_ACCESS_Flag
#undef KV_ACCESS_Master
#undef KV_GET_T
#undef KV_ARG_T
#undef KV_FIELD_T

// Keyed settings in tblGlobal. A null record or a missing key reads as 0.0 or "".
double GetGlobalNumber(tblGlobal* record, std::wstring_view key);
std::wstring GetGlobalText(tblGlobal* record, std::wstring_view key);
// Changes the key's row, or adds one; bNumeric tells which of the two values holds.
void SetGlobalNumber(tblGlobal* record, std::wstring_view key, double value);
void SetGlobalText(tblGlobal* record, std::wstring_view key, std::wstring_view text);
