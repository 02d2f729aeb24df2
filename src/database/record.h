// The record pattern shared by every table class: a typed view of one row, dirty tracking, and
// movement through the table over a shared ProjectDatabase connection.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ProjectDatabase.h"
#include "columns.h"

namespace kvdb {

// Everything of a record that does not depend on the table's value block: the connection, the
// modes, dirty and null flags, and the component calls. The column-typed half is kvRecord below.
class RecordCore {
 public:
  RecordCore(const RecordCore&) = delete;
  RecordCore& operator=(const RecordCore&) = delete;
  virtual ~RecordCore() = default;

  // Modes: StartNew makes the next Update insert, StartEdit makes it change the current row.
  void StartNew();
  void StartEdit();
  // Sends the dirty columns (and only those), in schema order; without a dirty column nothing is
  // sent and the mode stays. Failures of the component are not reported (see ReportDatabaseError),
  // except a write on a closed connection, which raises the component's COM error.
  void Update();
  // Seeks the primary index; loads the row when found.
  bool FindByKey(std::int32_t key);
  // Selects the index for the next First/Next; the index stays in force for this table.
  void SetSortIndex(std::wstring_view index);
  bool First();
  bool Next();
  // True past the last row, and always true without a connection.
  bool AtEnd();
  bool AtStart();
  // Stores the values a row array names (names and values alternating); columns it does not name
  // keep their values. Clears the dirty flags, keeps the mode.
  virtual void LoadRow(SAFEARRAY* row) = 0;

  bool IsNew() const { return isNew_; }
  bool IsEdit() const { return isEdit_; }
  bool IsDirty(std::size_t column) const { return (dirty_ >> column) & 1u; }
  bool AnyDirty() const { return dirty_ != 0; }
  bool IsNull(std::size_t column) const { return (null_ >> column) & 1u; }
  bool HasConnection() const { return static_cast<bool>(connection_); }
  bool IsMaster() const { return master_; }
  ProjectDatabase* Connection() const { return connection_.Get(); }
  std::wstring_view Table() const { return table_; }

 protected:
  RecordCore(ProjectDatabase* connection, std::wstring_view table, std::wstring_view primaryIndex,
             bool master);

  // Value of the key column of the row in the fields.
  virtual std::int32_t CurrentKey() const = 0;
  // The dirty columns as a name/value array, or null when none is dirty.
  virtual SafeArrayPtr BuildDirtyRow() const = 0;

  // SetTable(this table, index); false when the component refuses it. Requires a connection.
  bool Select(std::wstring_view index);
  // The shape of every FindBy...: select the index, seek with one, two or three keys, load.
  bool SeekOn(std::wstring_view index, const VARIANT& key);
  bool SeekOn2(std::wstring_view index, const VARIANT& key1, const VARIANT& key2);
  bool SeekOn3(std::wstring_view index, const VARIANT& key1, const VARIANT& key2, const VARIANT& key3);
  // Removes the row with the current key; the component's answer, false if it is gone already.
  bool DeleteCurrent();

  void MarkSet(std::size_t column) {
    dirty_ |= Bit(column);
    null_ &= ~Bit(column);
  }
  void MarkNull(std::size_t column) {
    dirty_ |= Bit(column);
    null_ |= Bit(column);
  }
  void SetNullBit(std::size_t column, bool isNull) {
    null_ = isNull ? (null_ | Bit(column)) : (null_ & ~Bit(column));
  }
  void ClearDirty() { dirty_ = 0; }
  std::uint64_t DirtyBits() const { return dirty_; }
  std::uint64_t NullBits() const { return null_; }
  static constexpr std::uint64_t Bit(std::size_t column) { return std::uint64_t{1} << column; }

 private:
  // Whether the component says the connection is closed; asked only once a step has failed.
  bool IsClosed() const;
  // Raises a failed write as a COM error with the component's own text.
  void CheckWrite(HRESULT hr) const;
  // Loads the row an out parameter handed back when found; releases it in any case.
  bool TakeRow(SAFEARRAY* row, VARIANT_BOOL found);

  ProjectDatabasePtr connection_;
  std::wstring table_;
  std::wstring primaryIndex_;
  _bstr_t tableBstr_;
  _bstr_t primaryBstr_;
  _bstr_t emptyBstr_;
  bool master_;
  bool isNew_ = false;
  bool isEdit_ = false;
  std::int32_t editKey_ = 0;
  std::uint64_t dirty_ = 0;
  std::uint64_t null_ = 0;
};

// Reads one variant into the field a column names, by the column's kind and null rule; gives
// whether the column is now null (only nullable columns ever are).
template <class V> bool ReadColumn(V& values, const Column<V>& column, const VARIANT& value);
// Writes a column's field as its variant (VT_NULL when isNull).
template <class V> void WriteColumn(const V& values, const Column<V>& column, bool isNull, VARIANT& out);

// Right-trims blanks (space, tab, line ends) as text is read from the database.
std::wstring TrimmedText(const VARIANT& value);

// The column-typed half: Traits gives the table name, the value block type and the column table.
template <class T>
class kvRecord : public RecordCore {
 public:
  using Traits = T;
  using Values = typename Traits::Values;
  static constexpr std::size_t kColumnCount = Traits::columns.size();
  static_assert(kColumnCount <= 64, "dirty and null flags are one 64-bit word");

  // Takes a counted reference to connection (which may be null: a detached record). master makes
  // Update write the columns that only master records write.
  explicit kvRecord(ProjectDatabase* connection, bool master = false)
      : RecordCore(connection, Traits::table, Traits::columns[0].name, master) {}

  void LoadRow(SAFEARRAY* row) override;
  const Values& Data() const { return values_; }
  static constexpr const auto& Columns() { return Traits::columns; }

 protected:
  std::int32_t CurrentKey() const override { return values_.*(Traits::columns[0].i32); }
  SafeArrayPtr BuildDirtyRow() const override;

  template <class F> void Assign(F Values::*member, std::size_t column, F value) {
    values_.*member = std::move(value);
    MarkSet(column);
  }
  template <class F> void AssignNull(F Values::*member, std::size_t column) {
    values_.*member = F{};
    MarkNull(column);
  }
  template <class F> bool Fetch(F Values::*member, std::size_t column, F& out) const {
    out = values_.*member;
    return !IsNull(column);
  }

  Values values_{};

 private:
  // Index of the column named name, trying hint first; kColumnCount when none matches.
  static std::size_t FindColumn(const OLECHAR* name, std::uint32_t length, std::size_t hint);
};

}  // namespace kvdb

#include "record_impl.h"
