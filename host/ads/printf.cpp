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

struct Spec {
  std::string flags;
  int width = -1;
  int precision = -1;
  enum class Length { None, Short, Long, LongLong } length = Length::None;
  wchar_t conv = 0;
};

// Pads text (counted in characters) to the field width, left or right.
void pad(std::wstring& out, std::wstring_view text, const Spec& spec) {
  bool left = spec.flags.find('-') != std::string::npos;
  std::size_t w = spec.width > 0 ? static_cast<std::size_t>(spec.width) : 0;
  std::size_t fill = w > text.size() ? w - text.size() : 0;
  if (!left) out.append(fill, L' ');
  out.append(text);
  if (left) out.append(fill, L' ');
}

// Formats one numeric conversion with the C library, from a narrow copy of the spec.
template <typename T>
void number(std::wstring& out, const Spec& spec, const char* length, char conv, T value) {
  std::string fmt = "%" + spec.flags;
  if (spec.width >= 0) fmt += std::to_string(spec.width);
  if (spec.precision >= 0) fmt += "." + std::to_string(spec.precision);
  fmt += length;
  fmt += conv;
  char buf[512];
  int n = std::snprintf(buf, sizeof buf, fmt.c_str(), value);
  if (n < 0) return;
  std::size_t len = std::min<std::size_t>(static_cast<std::size_t>(n), sizeof buf - 1);
  for (std::size_t i = 0; i < len; ++i) out.push_back(static_cast<unsigned char>(buf[i]));
}

// Reads flags, width, precision and length of one conversion starting after '%'.
const wchar_t* parseSpec(const wchar_t* p, Spec& spec, va_list& ap) {
  while (*p && std::wcschr(L"-+ #0", *p)) spec.flags.push_back(static_cast<char>(*p++));
  if (*p == L'*') {
    spec.width = va_arg(ap, int);
    if (spec.width < 0) {
      spec.flags.push_back('-');
      spec.width = -spec.width;
    }
    ++p;
  } else {
    for (spec.width = -1; *p >= L'0' && *p <= L'9'; ++p) spec.width = (spec.width < 0 ? 0 : spec.width * 10) + (*p - L'0');
  }
  if (*p == L'.') {
    ++p;
    spec.precision = 0;
    if (*p == L'*') {
      spec.precision = va_arg(ap, int);
      ++p;
    } else {
      for (; *p >= L'0' && *p <= L'9'; ++p) spec.precision = spec.precision * 10 + (*p - L'0');
    }
  }
  using L = Spec::Length;
  if (*p == L'h') { spec.length = L::Short; ++p; }
  else if (*p == L'l' && p[1] == L'l') { spec.length = L::LongLong; p += 2; }
  else if (*p == L'l' || *p == L'L' || *p == L'z') { spec.length = L::Long; ++p; }
  else if (*p == L'I' && p[1] == L'6' && p[2] == L'4') { spec.length = L::LongLong; p += 3; }
  spec.conv = *p;
  return *p ? p + 1 : p;
}

void integer(std::wstring& out, const Spec& spec, va_list& ap) {
  using L = Spec::Length;
  char c = static_cast<char>(spec.conv);
  bool isSigned = c == 'd' || c == 'i';
  if (spec.length == L::LongLong) {
    if (isSigned) number(out, spec, "ll", c, va_arg(ap, long long));
    else number(out, spec, "ll", c, va_arg(ap, unsigned long long));
  } else if (spec.length == L::Long) {
    if (isSigned) number(out, spec, "l", c, va_arg(ap, long));
    else number(out, spec, "l", c, va_arg(ap, unsigned long));
  } else if (spec.length == L::Short) {
    if (isSigned) number(out, spec, "", c, static_cast<int>(static_cast<short>(va_arg(ap, int))));
    else number(out, spec, "", c, static_cast<unsigned>(static_cast<unsigned short>(va_arg(ap, unsigned))));
  } else {
    if (isSigned) number(out, spec, "", c, va_arg(ap, int));
    else number(out, spec, "", c, va_arg(ap, unsigned));
  }
}

void text(std::wstring& out, const Spec& spec, va_list& ap) {
  std::wstring s;
  if (spec.length == Spec::Length::Short) {  // %hs: a narrow string
    const char* n = va_arg(ap, const char*);
    s = kvads::toWide(n ? n : "(null)");
  } else {
    const wchar_t* w = va_arg(ap, const wchar_t*);
    s = w ? w : L"(null)";
  }
  if (spec.precision >= 0 && static_cast<std::size_t>(spec.precision) < s.size()) s.resize(spec.precision);
  pad(out, s, spec);
}

void convert(std::wstring& out, const Spec& spec, va_list& ap) {
  switch (spec.conv) {
    case L'd': case L'i': case L'u': case L'x': case L'X': case L'o':
      integer(out, spec, ap);
      break;
    case L'f': case L'F': case L'e': case L'E': case L'g': case L'G': case L'a': case L'A':
      number(out, spec, "", static_cast<char>(spec.conv), va_arg(ap, double));
      break;
    case L'c': {
      wchar_t ch = static_cast<wchar_t>(spec.length == Spec::Length::Short ? static_cast<unsigned char>(va_arg(ap, int))
                                                                            : va_arg(ap, wint_t));
      pad(out, std::wstring_view(&ch, 1), spec);
      break;
    }
    case L's': text(out, spec, ap); break;
    case L'p': number(out, spec, "", 'p', va_arg(ap, void*)); break;
    case L'%': out.push_back(L'%'); break;
    default:  // an unknown conversion is written as it stands
      out.push_back(L'%');
      if (spec.conv) out.push_back(spec.conv);
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
    Spec spec;
    p = parseSpec(p + 1, spec, ap);
    convert(out, spec, ap);
  }
  va_end(ap);
  kvads::consoleWrite(kvads::toUtf8(out));
  return RTNORM;
}
