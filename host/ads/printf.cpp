// acutPrintf: the platform's wide printf (%s a wide string, %c a wide character), written to
// the console as UTF-8.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

#include "ads.h"

namespace {

struct FormatSpec {
  std::string flags;
  int width = -1;
  int precision = -1;
  enum class Length { None, Short, Long, LongLong } length = Length::None;
  wchar_t conv = 0;
};

// Pads text (counted in characters) to the field width, left or right.
void pad(std::wstring& out, std::wstring_view text, const FormatSpec& fmt_spec) {
  bool left = fmt_spec.flags.find('-') != std::string::npos;
  std::size_t w = fmt_spec.width > 0 ? static_cast<std::size_t>(fmt_spec.width) : 0;
  std::size_t fill = w > text.size() ? w - text.size() : 0;
  if (!left) out.append(fill, L' ');
  out.append(text);
  if (left) out.append(fill, L' ');
}

// Formats one numeric conversion with the C library, from a narrow copy of the fmt_spec.
template <typename T>
void number(std::wstring& out, const FormatSpec& fmt_spec, const char* length, char conv, T value) {
  std::string fmt = "%" + fmt_spec.flags;
  if (fmt_spec.width >= 0) fmt += std::to_string(fmt_spec.width);
  // Appended piece by piece: "." + to_string(...) inserts at the front of a temporary, which GCC 12
  // at -O3 misreads as an overlapping copy (-Wrestrict).
  if (fmt_spec.precision >= 0) {
    fmt += '.';
    fmt += std::to_string(fmt_spec.precision);
  }
  fmt += length;
  fmt += conv;
  char buf[512];
  int n = std::snprintf(buf, sizeof buf, fmt.c_str(), value);
  if (n < 0) return;
  std::size_t len = std::min<std::size_t>(static_cast<std::size_t>(n), sizeof buf - 1);
  for (std::size_t i = 0; i < len; ++i) out.push_back(static_cast<unsigned char>(buf[i]));
}

// Reads flags, width, precision and length of one conversion starting after '%'.
const wchar_t* parseSpec(const wchar_t* p, FormatSpec& fmt_spec, va_list& ap) {
  while (*p && std::wcschr(L"-+ #0", *p)) fmt_spec.flags.push_back(static_cast<char>(*p++));
  if (*p == L'*') {
    fmt_spec.width = va_arg(ap, int);
    if (fmt_spec.width < 0) {
      fmt_spec.flags.push_back('-');
      fmt_spec.width = -fmt_spec.width;
    }
    ++p;
  } else {
    for (fmt_spec.width = -1; *p >= L'0' && *p <= L'9'; ++p) fmt_spec.width = (fmt_spec.width < 0 ? 0 : fmt_spec.width * 10) + (*p - L'0');
  }
  if (*p == L'.') {
    ++p;
    fmt_spec.precision = 0;
    if (*p == L'*') {
      fmt_spec.precision = va_arg(ap, int);
      ++p;
    } else {
      for (; *p >= L'0' && *p <= L'9'; ++p) fmt_spec.precision = fmt_spec.precision * 10 + (*p - L'0');
    }
  }
  using L = FormatSpec::Length;
  if (*p == L'h') { fmt_spec.length = L::Short; ++p; }
  else if (*p == L'l' && p[1] == L'l') { fmt_spec.length = L::LongLong; p += 2; }
  else if (*p == L'l' || *p == L'L' || *p == L'z') { fmt_spec.length = L::Long; ++p; }
  else if (*p == L'I' && p[1] == L'6' && p[2] == L'4') { fmt_spec.length = L::LongLong; p += 3; }
  fmt_spec.conv = *p;
  return *p ? p + 1 : p;
}

void integer(std::wstring& out, const FormatSpec& fmt_spec, va_list& ap) {
  using L = FormatSpec::Length;
  char c = static_cast<char>(fmt_spec.conv);
  bool isSigned = c == 'd' || c == 'i';
  if (fmt_spec.length == L::LongLong) {
    if (isSigned) number(out, fmt_spec, "ll", c, va_arg(ap, long long));
    else number(out, fmt_spec, "ll", c, va_arg(ap, unsigned long long));
  } else if (fmt_spec.length == L::Long) {
    if (isSigned) number(out, fmt_spec, "l", c, va_arg(ap, long));
    else number(out, fmt_spec, "l", c, va_arg(ap, unsigned long));
  } else if (fmt_spec.length == L::Short) {
    if (isSigned) number(out, fmt_spec, "", c, static_cast<int>(static_cast<short>(va_arg(ap, int))));
    else number(out, fmt_spec, "", c, static_cast<unsigned>(static_cast<unsigned short>(va_arg(ap, unsigned))));
  } else {
    if (isSigned) number(out, fmt_spec, "", c, va_arg(ap, int));
    else number(out, fmt_spec, "", c, va_arg(ap, unsigned));
  }
}

void text(std::wstring& out, const FormatSpec& fmt_spec, va_list& ap) {
  std::wstring s;
  if (fmt_spec.length == FormatSpec::Length::Short) {  // %hs: a narrow string
    const char* n = va_arg(ap, const char*);
    s = kvads::toWide(n ? n : "(null)");
  } else {
    const wchar_t* w = va_arg(ap, const wchar_t*);
    s = w ? w : L"(null)";
  }
  if (fmt_spec.precision >= 0 && static_cast<std::size_t>(fmt_spec.precision) < s.size()) s.resize(fmt_spec.precision);
  pad(out, s, fmt_spec);
}

void convert(std::wstring& out, const FormatSpec& fmt_spec, va_list& ap) {
  switch (fmt_spec.conv) {
    case L'd': case L'i': case L'u': case L'x': case L'X': case L'o':
      integer(out, fmt_spec, ap);
      break;
    case L'f': case L'F': case L'e': case L'E': case L'g': case L'G': case L'a': case L'A':
      number(out, fmt_spec, "", static_cast<char>(fmt_spec.conv), va_arg(ap, double));
      break;
    case L'c': {
      wchar_t ch = static_cast<wchar_t>(fmt_spec.length == FormatSpec::Length::Short ? static_cast<unsigned char>(va_arg(ap, int))
                                                                            : va_arg(ap, wint_t));
      pad(out, std::wstring_view(&ch, 1), fmt_spec);
      break;
    }
    case L's': text(out, fmt_spec, ap); break;
    case L'p': number(out, fmt_spec, "", 'p', va_arg(ap, void*)); break;
    case L'%': out.push_back(L'%'); break;
    default:  // an unknown conversion is written as it stands
      out.push_back(L'%');
      if (fmt_spec.conv) out.push_back(fmt_spec.conv);
  }
}

}  // namespace

int acutPrintf(const ACHAR* format, ...) {
  if (!format) return RTERROR;
  va_list ap;
  va_start(ap, format);
  std::wstring out;
  for (const wchar_t* p = format; *p;) {
    if (*p != L'%') {
      out.push_back(*p++);
      continue;
    }
    FormatSpec fmt_spec;
    p = parseSpec(p + 1, fmt_spec, ap);
    convert(out, fmt_spec, ap);
  }
  va_end(ap);
  kvads::consoleWrite(kvads::toUtf8(out));
  return RTNORM;
}
