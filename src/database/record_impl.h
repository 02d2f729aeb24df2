// Template half of the record pattern: column-driven reading and writing of row arrays.
#pragma once

#include <bit>
#include <cmath>
#include <cwchar>
#include <limits>

namespace kvdb {

namespace detail {

inline bool IsNullVariant(const VARIANT& v) { return v.vt == VT_EMPTY || v.vt == VT_NULL; }

// A number out of whatever numeric variant the component handed back; 0 for anything else.
inline double NumberOf(const VARIANT& v) {
  switch (v.vt) {
    case VT_I4: return v.lVal;
    case VT_I2:
    case VT_BOOL: return v.iVal;
    case VT_R8: return v.dblVal;
    default: return 0.0;
  }
}

// Truncates toward zero; values outside the 32-bit range (and NaN) read as 0 rather than as UB.
inline std::int32_t TruncatedInt(double d) {
  if (!(d > -2147483649.0 && d < 2147483648.0)) return 0;
  return static_cast<std::int32_t>(d);
}

inline std::int32_t IntegerOf(const VARIANT& v) {
  if (v.vt == VT_I4) return v.lVal;
  return TruncatedInt(NumberOf(v));
}

// A database boolean is true only as -1.
inline bool TruthOf(const VARIANT& v) {
  switch (v.vt) {
    case VT_I2:
    case VT_BOOL: return v.iVal == -1;
    case VT_I4: return v.lVal == -1;
    case VT_R8: return v.dblVal == -1.0;
    default: return false;
  }
}

}  // namespace detail

template <class V> bool ReadColumn(V& values, const Column<V>& column, const VARIANT& value) {
  const bool isNull = detail::IsNullVariant(value);
  switch (column.kind) {
    case ColumnKind::Integer: values.*column.i32 = isNull ? 0 : detail::IntegerOf(value); break;
    case ColumnKind::IntegerReadAsReal:
      values.*column.i32 = isNull ? 0 : detail::TruncatedInt(detail::NumberOf(value));
      break;
    case ColumnKind::Boolean: values.*column.flag = !isNull && detail::TruthOf(value); break;
    case ColumnKind::Boolean32: values.*column.i32 = (!isNull && detail::TruthOf(value)) ? -1 : 0; break;
    case ColumnKind::Real: values.*column.real = isNull ? 0.0 : detail::NumberOf(value); break;
    case ColumnKind::Text:
      if (isNull) {
        (values.*column.text).clear();
      } else {
        values.*column.text = TrimmedText(value);
      }
      break;
  }
  return isNull && column.Nullable();
}

template <class V> void WriteColumn(const V& values, const Column<V>& column, bool isNull, VARIANT& out) {
  VariantInit(&out);
  if (isNull) {
    out.vt = VT_NULL;
    return;
  }
  switch (column.kind) {
    case ColumnKind::Integer:
    case ColumnKind::IntegerReadAsReal:
      out.vt = VT_I4;
      out.lVal = values.*column.i32;
      break;
    case ColumnKind::Boolean:
      out.vt = VT_I2;
      out.iVal = (values.*column.flag) ? -1 : 0;
      break;
    case ColumnKind::Boolean32:
      out.vt = VT_I2;
      out.iVal = (values.*column.i32 != 0) ? -1 : 0;
      break;
    case ColumnKind::Real:
      out.vt = VT_R8;
      out.dblVal = values.*column.real;
      break;
    case ColumnKind::Text: {
      const std::wstring& text = values.*column.text;
      out.vt = VT_BSTR;
      out.bstrVal = SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()));
      break;
    }
  }
}

template <class T>
std::size_t kvRecord<T>::FindColumn(const OLECHAR* name, std::uint32_t length, std::size_t hint) {
  auto matches = [&](std::size_t i) {
    const std::wstring_view n = Traits::columns[i].name;
    return n.size() == length && std::wmemcmp(n.data(), name, length) == 0;
  };
  // Rows come back in schema order, so the column after the last match is nearly always it.
  if (hint < kColumnCount && matches(hint)) return hint;
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    if (matches(i)) return i;
  }
  return kColumnCount;
}

template <class T> void kvRecord<T>::LoadRow(SAFEARRAY* row) {
  LONG lower = 0;
  LONG upper = -1;
  VARIANT* cells = nullptr;
  if (row == nullptr || FAILED(SafeArrayGetLBound(row, 1, &lower)) ||
      FAILED(SafeArrayGetUBound(row, 1, &upper)) ||
      FAILED(SafeArrayAccessData(row, reinterpret_cast<void**>(&cells)))) {
    ClearDirty();
    return;
  }
  std::size_t hint = 0;
  for (LONG i = lower; i + 1 <= upper; i += 2) {
    const VARIANT& name = cells[i - lower];
    if (name.vt != VT_BSTR || name.bstrVal == nullptr) continue;
    const std::size_t c = FindColumn(name.bstrVal, SysStringLen(name.bstrVal), hint);
    if (c == kColumnCount) continue;
    SetNullBit(c, ReadColumn(values_, Traits::columns[c], cells[i + 1 - lower]));
    hint = c + 1;
  }
  SafeArrayUnaccessData(row);
  ClearDirty();
}

template <class T> SafeArrayPtr kvRecord<T>::BuildDirtyRow() const {
  std::uint64_t send = DirtyBits();
  if (!IsMaster()) {
    for (std::size_t c = 0; c < kColumnCount; ++c) {
      if (Traits::columns[c].rule == NullRule::Master) send &= ~Bit(c);
    }
  }
  if (send == 0) return nullptr;
  const auto count = static_cast<ULONG>(std::popcount(send));
  SafeArrayPtr row(SafeArrayCreateVector(VT_VARIANT, 0, 2 * count));
  VARIANT* cells = nullptr;
  ComCheck(row ? SafeArrayAccessData(row.get(), reinterpret_cast<void**>(&cells)) : E_OUTOFMEMORY);
  std::size_t at = 0;
  for (std::size_t c = 0; c < kColumnCount; ++c) {
    if (!(send & Bit(c))) continue;
    const Column<Values>& column = Traits::columns[c];
    cells[at].vt = VT_BSTR;
    cells[at].bstrVal = SysAllocStringLen(column.name.data(), static_cast<std::uint32_t>(column.name.size()));
    WriteColumn(values_, column, column.Nullable() && IsNull(c), cells[at + 1]);
    at += 2;
  }
  SafeArrayUnaccessData(row.get());
  return row;
}

}  // namespace kvdb
