// Every column of every record class exists in a freshly created project with a compatible kind,
// and round-trips through the component: catches drift between the file schema and the classes.
#include <set>

#include "fixture.h"
#include "tables.h"

namespace {

using kvdb::ColumnKind;
using kvtest::ProjectFixture;

// A value for column c that no other column of the row shares.
template <class V> void FillDistinct(V& values, const kvdb::Column<V>& column, std::size_t c) {
  switch (column.kind) {
    case ColumnKind::Integer:
    case ColumnKind::IntegerReadAsReal: values.*column.i32 = 1000 + static_cast<int>(c); break;
    case ColumnKind::Boolean32: values.*column.i32 = -1; break;
    case ColumnKind::Boolean: values.*column.flag = true; break;
    case ColumnKind::Real: values.*column.real = static_cast<double>(c) + 0.25; break;
    case ColumnKind::Text: values.*column.text = L"t" + std::to_wstring(c); break;
  }
}

bool KindAccepts(ColumnKind kind, VARTYPE vt) {
  switch (kind) {
    case ColumnKind::Integer: return vt == VT_I4 || vt == VT_I2;
    case ColumnKind::IntegerReadAsReal: return vt == VT_I4 || vt == VT_R8;
    case ColumnKind::Boolean:
    case ColumnKind::Boolean32: return vt == VT_I2 || vt == VT_BOOL || vt == VT_I4;
    case ColumnKind::Real: return vt == VT_R8;
    case ColumnKind::Text: return vt == VT_BSTR;
  }
  return false;
}

// Inserts one row naming every column but the key (nullable ones null when asNull), straight
// through the component, and answers the stored row.
template <class Traits>
SafeArrayPtr InsertAll(ProjectDatabase& db, const typename Traits::Values& values, bool asNull) {
  const auto& cols = Traits::columns;
  SafeArrayPtr row(SafeArrayCreateVector(VT_VARIANT, 0, 2 * (cols.size() - 1)));
  VARIANT* cells = nullptr;
  SafeArrayAccessData(row.get(), reinterpret_cast<void**>(&cells));
  for (std::size_t c = 1; c < cols.size(); ++c) {
    VARIANT& name = cells[2 * (c - 1)];
    name.vt = VT_BSTR;
    name.bstrVal = SysAllocStringLen(cols[c].name.data(), static_cast<std::uint32_t>(cols[c].name.size()));
    kvdb::WriteColumn(values, cols[c], asNull && cols[c].Nullable(), cells[2 * (c - 1) + 1]);
  }
  SafeArrayUnaccessData(row.get());
  VARIANT_BOOL ok = VARIANT_FALSE;
  _bstr_t table(Traits::table), key(cols[0].name);
  EXPECT_TRUE(SUCCEEDED(db.SetTable(table, key, &ok)));
  EXPECT_EQ(ok, VARIANT_TRUE) << WideToUtf8(Traits::table);
  SAFEARRAY* stored = nullptr;
  ok = VARIANT_FALSE;
  EXPECT_TRUE(SUCCEEDED(db.AddRecord(row.get(), 0, &stored, &ok)));
  if (ok != VARIANT_TRUE) {
    LONG code = 0;
    _bstr_t text;
    db.GetLastError(&code, text.GetAddress());
    ADD_FAILURE() << WideToUtf8(Traits::table) << ": AddRecord refused, " << code << " " << WideToUtf8(text.str());
  }
  return SafeArrayPtr(stored);
}

// Checks that the stored row names every column with a variant its kind can read.
template <class Traits> void ExpectKinds(SAFEARRAY* stored) {
  std::set<std::wstring> seen;
  LONG lo = 0, hi = -1;
  SafeArrayGetLBound(stored, 1, &lo);
  SafeArrayGetUBound(stored, 1, &hi);
  VARIANT* cells = nullptr;
  SafeArrayAccessData(stored, reinterpret_cast<void**>(&cells));
  for (LONG i = 0; i + 1 <= hi - lo; i += 2) {
    std::wstring name(cells[i].bstrVal, SysStringLen(cells[i].bstrVal));
    for (const auto& col : Traits::columns) {
      if (col.name != name) continue;
      seen.insert(name);
      EXPECT_TRUE(KindAccepts(col.kind, cells[i + 1].vt))
          << WideToUtf8(Traits::table) << "." << WideToUtf8(name) << " came back as vt " << cells[i + 1].vt;
    }
  }
  SafeArrayUnaccessData(stored);
  for (const auto& col : Traits::columns) {
    EXPECT_TRUE(seen.count(std::wstring(col.name))) << WideToUtf8(Traits::table) << "." << WideToUtf8(col.name)
                                                    << " is missing from the stored row";
  }
}

template <class Record> void RoundTripEveryColumn(ProjectDatabase& db) {
  using Traits = typename Record::Traits;
  typename Traits::Values values{};
  for (std::size_t c = 1; c < Traits::columns.size(); ++c) FillDistinct(values, Traits::columns[c], c);

  SafeArrayPtr stored = InsertAll<Traits>(db, values, false);
  ASSERT_TRUE(stored) << WideToUtf8(Traits::table);
  ExpectKinds<Traits>(stored.get());

  Record record(&db, true);
  record.LoadRow(stored.get());
  const std::int32_t key = record.Data().*(Traits::columns[0].i32);
  Record fresh(&db, true);
  ASSERT_TRUE(fresh.FindByKey(key)) << WideToUtf8(Traits::table);
  values.*(Traits::columns[0].i32) = key;
  EXPECT_TRUE(fresh.Data() == values) << WideToUtf8(Traits::table) << ": a column did not round-trip";
  for (std::size_t c = 0; c < Traits::columns.size(); ++c) EXPECT_FALSE(fresh.IsNull(c));

  // Every nullable column also stores a null and reads it back as null. Texts change so that
  // unique indices (tblGlobal.sKey) take the second row.
  for (const auto& col : Traits::columns) {
    if (col.kind == ColumnKind::Text) values.*col.text += L"-2";
  }
  SafeArrayPtr nulls = InsertAll<Traits>(db, values, true);
  ASSERT_TRUE(nulls);
  Record withNulls(&db, true);
  withNulls.LoadRow(nulls.get());
  for (std::size_t c = 0; c < Traits::columns.size(); ++c) {
    EXPECT_EQ(withNulls.IsNull(c), Traits::columns[c].Nullable())
        << WideToUtf8(Traits::table) << "." << WideToUtf8(Traits::columns[c].name);
  }
}

class SchemaTest : public ProjectFixture {};

TEST_F(SchemaTest, EveryColumnOfEveryTableExistsAndRoundTrips) {
  RoundTripEveryColumn<tblDuct>(*db_);
  RoundTripEveryColumn<tblDiffL>(*db_);
  RoundTripEveryColumn<tblDiffS>(*db_);
  RoundTripEveryColumn<tblDiffSGroup>(*db_);
  RoundTripEveryColumn<tblDwgDiff>(*db_);
  RoundTripEveryColumn<tblLoadRoomCooling>(*db_);
  RoundTripEveryColumn<tblLoadRoomHeating>(*db_);
  RoundTripEveryColumn<tblGlobal>(*db_);
  RoundTripEveryColumn<tblLayer>(*db_);
  RoundTripEveryColumn<tblLayerKey>(*db_);
  RoundTripEveryColumn<tblLayerSystem>(*db_);
  RoundTripEveryColumn<tblTextStyle>(*db_);
}

TEST(ColumnTables, CountsAndKeysMatchTheSchemaOrder) {
  EXPECT_EQ(tblDuct::kColumnCount, 62u);
  EXPECT_EQ(tblDiffL::kColumnCount, 20u);
  EXPECT_EQ(tblDiffS::kColumnCount, 22u);
  EXPECT_EQ(tblDiffSGroup::kColumnCount, 5u);
  EXPECT_EQ(tblDwgDiff::kColumnCount, 5u);
  EXPECT_EQ(tblLoadRoomCooling::kColumnCount, 58u);
  EXPECT_EQ(tblLoadRoomHeating::kColumnCount, 37u);
  EXPECT_EQ(tblGlobal::kColumnCount, 5u);
  EXPECT_EQ(tblLayer::kColumnCount, 13u);
  EXPECT_EQ(tblLayerKey::kColumnCount, 6u);
  EXPECT_EQ(tblLayerSystem::kColumnCount, 30u);
  EXPECT_EQ(tblTextStyle::kColumnCount, 7u);
  // Each tblDuct column lands in its own field of the value block.
  std::set<const void*> fields;
  KvDuctDbInfo info;
  for (const auto& c : tblDuct::Columns()) {
    const void* where = c.i32 ? static_cast<const void*>(&(info.*c.i32))
                      : c.real ? static_cast<const void*>(&(info.*c.real))
                               : static_cast<const void*>(&(info.*c.text));
    fields.insert(where);
  }
  EXPECT_EQ(fields.size(), 62u);
}

}  // namespace
