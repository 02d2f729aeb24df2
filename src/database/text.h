// Small text and flag helpers shared by the database folder's own files (not part of its
// public header).
#pragma once

#include <algorithm>
#include <cwctype>
#include <string>
#include <string_view>

#include "com.h"

namespace kvdb {

inline bool IsTrue(VARIANT_BOOL b) { return b == VARIANT_TRUE; }

// Upper case, for the comparisons the platform makes without regard to case (file names,
// linetype names); the database's own text is compared exactly.
inline std::wstring Upper(std::wstring_view text) {
  std::wstring out(text);
  std::transform(out.begin(), out.end(), out.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towupper(c)); });
  return out;
}

}  // namespace kvdb
