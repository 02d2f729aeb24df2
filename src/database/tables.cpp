// The table operations beyond the record pattern: secondary seeks, result lookups, block kinds.
#include "tables.h"

#include <cmath>

namespace {

_variant_t KeyOf(std::int32_t value) { return _variant_t(static_cast<int>(value)); }

}  // namespace

bool tblDuct::FindByDistance1(std::int32_t value) { return SeekOn(L"distance1", KeyOf(value)); }

bool tblDuct::FindByDistance2(std::int32_t value) { return SeekOn(L"distance2", KeyOf(value)); }

namespace {

double DrawingSize(double inches, bool isMetric) { return std::fabs(isMetric ? inches * 25.4 : inches); }

}  // namespace

double tblDiffS::DrawingWidth(bool isMetric) const { return DrawingSize(values_.WIDTH, isMetric); }
double tblDiffS::DrawingLength(bool isMetric) const { return DrawingSize(values_.LENGTH, isMetric); }
double tblDiffS::DrawingNeck(bool isMetric) const { return DrawingSize(values_.NECK, isMetric); }
double tblDiffS::DrawingNeck2(bool isMetric) const { return DrawingSize(values_.NECK2, isMetric); }

int tblDwgDiff::BlockKind(std::int32_t ixDwgDiff) {
  if (!FindByKey(ixDwgDiff)) return 1;
  switch (values_.iBlockType) {
    case 0: return 0;
    case 2: return 3;
    case 3: return 2;
    default: return 1;
  }
}

bool tblLoadRoomCooling::FindResult(std::int32_t id, std::int32_t iMonth, std::int32_t iHour) {
  if (id == 0) return false;
  const std::wstring_view index = id < 0 ? L"ixRoomLiMonthiHour" : L"ixZoneiMonthiHour";
  // Negating INT32_MIN is undefined; no room or zone has such a key anyway.
  if (id == INT32_MIN) return false;
  return SeekOn3(index, KeyOf(std::abs(id)), KeyOf(iMonth), KeyOf(iHour));
}

bool tblLoadRoomHeating::FindResult(std::int32_t id) {
  if (id == 0 || id == INT32_MIN) return false;
  return SeekOn(id < 0 ? L"ixRoomL" : L"ixZone", KeyOf(std::abs(id)));
}

bool tblGlobal::FindBySKey(std::wstring_view key) { return SeekOn(L"sKey", _variant_t(key)); }

bool tblLayer::FindBySName(std::wstring_view name) { return SeekOn(L"sName", _variant_t(name)); }

bool tblLayerKey::FindBySKey(std::wstring_view key) { return SeekOn(L"sKey", _variant_t(key)); }

bool tblLayerKey::FindBySystemKey(std::int32_t system, std::wstring_view key) {
  const _variant_t first = system == 0 ? _variant_t::Null() : KeyOf(system);
  return SeekOn2(L"isxLayerSystemKey", first, _variant_t(key));
}

bool tblTextStyle::FindBySKey(std::wstring_view key) { return SeekOn(L"sKey", _variant_t(key)); }

double GetGlobalNumber(tblGlobal* record, std::wstring_view key) {
  if (record == nullptr || !record->FindBySKey(key)) return 0.0;
  double value = 0.0;
  return record->GetdNumber(value) ? value : 0.0;
}

std::wstring GetGlobalText(tblGlobal* record, std::wstring_view key) {
  if (record == nullptr || !record->FindBySKey(key)) return {};
  std::wstring text;
  return record->GetsText(text) ? text : std::wstring();
}

namespace {

// Positions the record on the key's row for an edit, or starts a new row with that key.
void EditOrAddSetting(tblGlobal& record, std::wstring_view key) {
  if (record.FindBySKey(key)) {
    record.StartEdit();
  } else {
    record.StartNew();
    record.SetsKey(key);
  }
}

}  // namespace

void SetGlobalNumber(tblGlobal* record, std::wstring_view key, double value) {
  if (record == nullptr) return;
  EditOrAddSetting(*record, key);
  record->SetdNumber(value);
  record->SetbNumeric(true);
  record->Update();
}

void SetGlobalText(tblGlobal* record, std::wstring_view key, std::wstring_view text) {
  if (record == nullptr) return;
  EditOrAddSetting(*record, key);
  record->SetsText(text);
  record->SetbNumeric(false);
  record->Update();
}
