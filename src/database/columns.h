// Column tables: what the record classes know of each table's columns, generated from tables/*.def.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvdb {

// How a column is stored and how its variant reads and writes.
enum class ColumnKind : std::uint8_t {
  Integer,            // VT_I4 both ways
  Boolean,            // VT_I2 -1/0, held as bool
  Boolean32,          // VT_I2 -1/0, held as a 32-bit -1/0 value
  Real,               // VT_R8 both ways
  Text,               // VT_BSTR; read right-trimmed
  IntegerReadAsReal,  // written as VT_I4, read as a double and truncated
};

// What a null in the database does to the field.
enum class NullRule : std::uint8_t {
  Plain,    // no special case: reads as 0 or ""
  AsEmpty,  // explicitly reset to 0 or ""
  Flag,     // nullable: a null flag of its own, written back as VT_NULL
  Master,   // nullable, and written only by a record built with the master flag
};

// The C++ type that holds a column of a given kind.
template <ColumnKind K> struct FieldType { using type = std::int32_t; };
template <> struct FieldType<ColumnKind::Boolean> { using type = bool; };
template <> struct FieldType<ColumnKind::Real> { using type = double; };
template <> struct FieldType<ColumnKind::Text> { using type = std::wstring; };
template <ColumnKind K> using FieldT = typename FieldType<K>::type;

// Setter argument: text by view, everything else by value.
template <ColumnKind K> struct ArgType { using type = FieldT<K>; };
template <> struct ArgType<ColumnKind::Text> { using type = std::wstring_view; };
template <ColumnKind K> using ArgT = typename ArgType<K>::type;

// Getter result: text by reference, everything else by value.
template <ColumnKind K> struct GetType { using type = FieldT<K>; };
template <> struct GetType<ColumnKind::Text> { using type = const std::wstring&; };
template <ColumnKind K> using GetT = typename GetType<K>::type;

// One column of a table whose values live in V: name, kind, null rule and the field that holds it.
template <class V> struct Column {
  std::wstring_view name;
  ColumnKind kind;
  NullRule rule;
  std::int32_t V::*i32 = nullptr;
  double V::*real = nullptr;
  std::wstring V::*text = nullptr;
  bool V::*flag = nullptr;

  constexpr bool Nullable() const { return rule == NullRule::Flag || rule == NullRule::Master; }
};

template <class V>
constexpr Column<V> MakeColumn(std::wstring_view n, ColumnKind k, NullRule r, std::int32_t V::*m) {
  Column<V> c{n, k, r};
  c.i32 = m;
  return c;
}
template <class V>
constexpr Column<V> MakeColumn(std::wstring_view n, ColumnKind k, NullRule r, double V::*m) {
  Column<V> c{n, k, r};
  c.real = m;
  return c;
}
template <class V>
constexpr Column<V> MakeColumn(std::wstring_view n, ColumnKind k, NullRule r, std::wstring V::*m) {
  Column<V> c{n, k, r};
  c.text = m;
  return c;
}
template <class V>
constexpr Column<V> MakeColumn(std::wstring_view n, ColumnKind k, NullRule r, bool V::*m) {
  Column<V> c{n, k, r};
  c.flag = m;
  return c;
}

// A column table is consistent when each kind has the member its kind needs.
template <class V> constexpr bool ColumnMatchesKind(const Column<V>& c) {
  switch (c.kind) {
    case ColumnKind::Integer:
    case ColumnKind::Boolean32:
    case ColumnKind::IntegerReadAsReal: return c.i32 != nullptr;
    case ColumnKind::Boolean: return c.flag != nullptr;
    case ColumnKind::Real: return c.real != nullptr;
    case ColumnKind::Text: return c.text != nullptr;
  }
  return false;
}

}  // namespace kvdb
