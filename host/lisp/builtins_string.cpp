// Builtins: strings and conversions. Positions and lengths count characters, not bytes.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cwctype>

#include "internal.h"

namespace kvlisp {

namespace {

std::wstring wide(const std::string& s) { return kvads::toWide(s); }
Value str(const std::wstring& w) { return Value::string(kvads::toUtf8(w)); }

[[noreturn]] void badValue(const char* what, const Value& v) {
  throw Error(std::string("bad argument value: ") + what + " " + v.print());
}

Value lStrcat(Environment&, Args a) {
  std::string s;
  for (std::size_t i = 0; i < a.size(); ++i) s += argString(a, i);
  return Value::string(std::move(s));
}

Value lStrlen(Environment&, Args a) {
  std::size_t n = 0;
  for (std::size_t i = 0; i < a.size(); ++i) n += wide(argString(a, i)).size();
  return Value::integer(static_cast<std::int32_t>(n));
}

constexpr std::size_t kMarkEvery = 64;

// The byte where character `chars` (counted from `from`) starts, or the end of the text.
std::size_t skipChars(std::string_view s, std::size_t from, std::size_t chars) {
  for (; chars > 0 && from < s.size(); --chars) from += kvads::utf8CharBytes(s, from);
  return std::min(from, s.size());
}

// The byte where character `index` of a string value starts (the end when it has fewer): at
// once for ASCII, else from the nearest mark, so that a walk over the text stays linear.
std::size_t charOffset(const Value& v, std::size_t index) {
  auto* o = detail::as<detail::StrObj>(v);
  const std::string& s = o->text;
  if (o->ascii < 0) {
    o->ascii = std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }) ? 1 : 0;
    for (std::size_t at = 0; o->ascii == 0 && at < s.size(); at = skipChars(s, at, kMarkEvery)) o->marks.push_back(at);
  }
  if (o->ascii == 1) return std::min(index, s.size());
  const std::size_t mark = index / kMarkEvery;
  if (mark >= o->marks.size()) return s.size();
  return skipChars(s, o->marks[mark], index % kMarkEvery);
}

// Touches only the piece (and at most 63 characters before it): a loop of substr over a long
// text stays linear. Only the piece is converted, and only when the text is not plain ASCII.
Value lSubstr(Environment&, Args a) {
  const std::string& s = argString(a, 0);
  std::int32_t start = argInt(a, 1);
  if (start < 1) badValue("positive", a[1]);
  std::size_t from = static_cast<std::size_t>(start - 1);
  std::size_t count = std::string::npos;
  if (a.size() > 2) {
    std::int32_t n = argInt(a, 2);
    if (n < 0) badValue("non-negative", a[2]);
    count = static_cast<std::size_t>(n);
  }
  std::size_t begin = charOffset(a[0], from);
  std::size_t end = count == std::string::npos ? s.size() : skipChars(s, begin, count);
  if (detail::as<detail::StrObj>(a[0])->ascii == 1) return Value::string(s.substr(begin, end - begin));
  return str(wide(s.substr(begin, end - begin)));
}

// Latin-1 letters are mapped here: the C locale the host runs in knows only ASCII.
wchar_t toCase(wchar_t c, bool lower) {
  bool latinUpper = c >= 0xC0 && c <= 0xDE && c != 0xD7;
  bool latinLower = c >= 0xE0 && c <= 0xFE && c != 0xF7;
  if (lower && latinUpper) return c + 0x20;
  if (!lower && latinLower) return c - 0x20;
  return static_cast<wchar_t>(lower ? std::towlower(c) : std::towupper(c));
}

Value lStrcase(Environment&, Args a) {
  std::wstring s = wide(argString(a, 0));
  bool lower = argBool(a, 1);
  for (wchar_t& c : s) c = toCase(c, lower);
  return str(s);
}

Value lItoa(Environment&, Args a) { return Value::string(std::to_string(argInt(a, 0))); }

// Leading digits as an integer, 0 when there are none; out of range saturates.
Value lAtoi(Environment&, Args a) {
  const std::string& s = argString(a, 0);
  errno = 0;
  long long v = std::strtoll(s.c_str(), nullptr, 10);
  if (v > INT32_MAX) v = INT32_MAX;
  if (v < INT32_MIN) v = INT32_MIN;
  return Value::integer(static_cast<std::int32_t>(v));
}

Value lAtof(Environment&, Args a) { return Value::real(std::strtod(argString(a, 0).c_str(), nullptr)); }

// Inches as feet and inches; the inches by the given formatter.
template <typename Inches>
std::string feetInches(double x, Inches inches) {
  std::string sign = x < 0 ? "-" : "";
  x = std::fabs(x);
  double feet = std::floor(x / 12.0);
  double rest = x - feet * 12.0;
  std::string in = inches(rest);
  if (in == "12") {  // rounding reached a whole foot
    feet += 1;
    in = inches(0.0);
  }
  if (feet == 0) return sign + in + "\"";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.0f'-", feet);
  return sign + buf + in + "\"";
}

// A value as a whole number and a fraction of 1/2^precision, reduced: "5 1/2", "3", "1/4".
std::string fraction(double x, int precision) {
  int denom = 1 << std::clamp(precision, 0, 8);
  long long n = std::llround(std::fabs(x) * denom);
  long long whole = n / denom, num = n % denom;
  int d = denom;
  while (num && num % 2 == 0) num /= 2, d /= 2;
  std::string s = x < 0 && n ? "-" : "";
  if (num == 0) return s + std::to_string(whole);
  std::string frac = std::to_string(num) + "/" + std::to_string(d);
  return s + (whole ? std::to_string(whole) + " " + frac : frac);
}

std::string fixed(double x, int precision) {
  char buf[400];
  std::snprintf(buf, sizeof buf, "%.*f", std::clamp(precision, 0, 16), x);
  return buf;
}

std::string scientific(double x, int precision) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*E", std::clamp(precision, 0, 16), x);
  return buf;
}

// (rtos number [mode [precision]]): 1 scientific, 2 decimal, 3 engineering, 4 architectural,
// 5 fractional; defaults 2 and 4.
Value lRtos(Environment&, Args a) {
  double x = argNumber(a, 0);
  int mode = a.size() > 1 ? argInt(a, 1) : 2;
  int precision = a.size() > 2 ? argInt(a, 2) : 4;
  if (precision < 0 || precision > 8) badValue("precision", a[2]);
  switch (mode) {
    case 1: return Value::string(scientific(x, precision));
    case 2: return Value::string(fixed(x, precision));
    case 3: return Value::string(feetInches(x, [&](double in) {
        std::string s = fixed(in, precision);
        return std::stod(s) >= 12.0 ? std::string("12") : s;
      }));
    case 4: return Value::string(feetInches(x, [&](double in) { return fraction(in, precision); }));
    case 5: return Value::string(fraction(x, precision));
    default: badValue("mode", a[1]);
  }
}

// Parses a number, a fraction "a/b" or "w a/b", or feet and inches "1'-5 1/2\"": nil otherwise.
bool parseDistance(std::string s, double& out) {
  while (!s.empty() && s.back() == ' ') s.pop_back();
  while (!s.empty() && s.front() == ' ') s.erase(0, 1);
  if (s.empty()) return false;
  double feet = 0;
  std::size_t q = s.find('\'');
  if (q != std::string::npos) {
    char* end;
    feet = std::strtod(s.c_str(), &end);
    if (end != s.c_str() + q) return false;
    s = s.substr(q + 1);
    if (!s.empty() && s[0] == '-') s.erase(0, 1);
    if (s.empty()) {
      out = feet * 12.0;
      return true;
    }
  }
  if (!s.empty() && s.back() == '"') s.pop_back();
  double inches = 0;
  const char* p = s.c_str();
  char* end;
  double first = std::strtod(p, &end);
  if (end == p) return false;
  if (*end == '/') {  // "a/b"
    double den = std::strtod(end + 1, &end);
    if (den == 0) return false;
    inches = first / den;
  } else if (*end == ' ') {  // "w a/b"
    const char* f = end + 1;
    double num = std::strtod(f, &end);
    if (end == f || *end != '/') return false;
    double den = std::strtod(end + 1, &end);
    if (den == 0) return false;
    inches = first + (first < 0 ? -num / den : num / den);
  } else {
    inches = first;
  }
  if (*end != '\0') return false;
  out = feet * 12.0 + (feet < 0 ? -inches : inches);
  return true;
}

Value lDistof(Environment&, Args a) {
  double v;
  if (a.size() > 1) argInt(a, 1);
  return parseDistance(argString(a, 0), v) ? Value::real(v) : Value();
}

Value lChr(Environment&, Args a) {
  std::int32_t code = argInt(a, 0);
  if (code <= 0) return Value::string("");
  if (code > 0x10FFFF) badValue("character code", a[0]);
  return str(std::wstring(1, static_cast<wchar_t>(code)));
}

Value lAscii(Environment&, Args a) {
  const std::string& s = argString(a, 0);
  if (s.empty()) return Value::integer(0);
  std::wstring first = wide(s.substr(0, kvads::utf8CharBytes(s, 0)));
  return Value::integer(static_cast<std::int32_t>(first[0]));
}

Value lSearch(Environment&, Args a) {
  std::wstring pat = wide(argString(a, 0)), s = wide(argString(a, 1));
  std::size_t start = 0;
  if (a.size() > 2) start = static_cast<std::size_t>(std::max(0, argInt(a, 2)));
  if (start > s.size()) return Value();
  std::size_t at = s.find(pat, start);
  return at == std::wstring::npos ? Value() : Value::integer(static_cast<std::int32_t>(at));
}

Value lStringSubst(Environment&, Args a) {
  std::wstring nu = wide(argString(a, 0)), pat = wide(argString(a, 1)), s = wide(argString(a, 2));
  std::size_t start = 0;
  if (a.size() > 3) start = static_cast<std::size_t>(std::max(0, argInt(a, 3)));
  if (start > s.size()) return a[2];
  std::size_t at = s.find(pat, start);
  if (at == std::wstring::npos) return a[2];
  return str(s.replace(at, pat.size(), nu));
}

Value trim(Args a, bool left, bool right) {
  std::wstring set = wide(argString(a, 0)), s = wide(argString(a, 1));
  std::size_t b = left ? s.find_first_not_of(set) : 0;
  if (b == std::wstring::npos) return Value::string("");
  std::size_t e = right ? s.find_last_not_of(set) : s.size() - 1;
  return str(s.substr(b, e - b + 1));
}

Value lTrim(Environment&, Args a) { return trim(a, true, true); }
Value lLeftTrim(Environment&, Args a) { return trim(a, true, false); }
Value lRightTrim(Environment&, Args a) { return trim(a, false, true); }

// A [...] class at pat[pi] (on '['): whether c is in it; pi moves to the closing ']'.
bool inClass(const std::wstring& pat, std::size_t& pi, wchar_t c) {
  std::size_t i = pi + 1;
  bool negate = i < pat.size() && pat[i] == L'~' && i + 1 < pat.size() && pat[i + 1] != L']';
  if (negate) ++i;
  bool found = false;
  bool first = true;
  for (; i < pat.size() && (pat[i] != L']' || first); ++i, first = false) {
    wchar_t lo = pat[i] == L'`' && i + 1 < pat.size() ? pat[++i] : pat[i];
    wchar_t hi = lo;
    if (i + 2 < pat.size() && pat[i + 1] == L'-' && pat[i + 2] != L']') {
      hi = pat[i + 2];
      i += 2;
    }
    if (c >= lo && c <= hi) found = true;
  }
  pi = i;
  return found != negate;
}

bool isLetter(wchar_t c) { return std::iswalpha(c) || (c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7); }

// Whether the one-character token at pat[pi] matches c; pi moves to the token's last character.
bool matchOne(const std::wstring& pat, std::size_t& pi, wchar_t c) {
  switch (pat[pi]) {
    case L'#': return c >= L'0' && c <= L'9';
    case L'@': return isLetter(c);
    case L'.': return !isLetter(c) && !(c >= L'0' && c <= L'9');
    case L'?': return true;
    case L'[': return inClass(pat, pi, c);
    case L'`': return pi + 1 < pat.size() && pat[++pi] == c;
    default: return pat[pi] == c;
  }
}

// One alternative against the whole text. Stars backtrack to the latest one only, which is
// enough for single-character tokens and keeps the match linear per star.
bool wildMatch(const std::wstring& pat, std::size_t p, const std::wstring& s) {
  std::size_t i = 0, starP = std::wstring::npos, starI = 0;
  while (i < s.size()) {
    if (p < pat.size() && pat[p] == L'*') {
      starP = p++;
      starI = i;
      continue;
    }
    std::size_t token = p;
    if (p < pat.size() && matchOne(pat, token, s[i])) {
      p = token + 1;
      ++i;
      continue;
    }
    if (starP == std::wstring::npos) return false;
    p = starP + 1;
    i = ++starI;
  }
  while (p < pat.size() && pat[p] == L'*') ++p;
  return p == pat.size();
}

// (wcmatch string pattern).
Value lWcmatch(Environment&, Args a) {
  return wildcardMatch(wide(argString(a, 0)), wide(argString(a, 1))) ? Value::t() : Value();
}

Value lStringPosition(Environment&, Args a) {
  std::int32_t code = argInt(a, 0);
  std::wstring s = wide(argString(a, 1));
  std::size_t start = a.size() > 2 && !a[2].isNil() ? static_cast<std::size_t>(std::max(0, argInt(a, 2))) : 0;
  bool fromEnd = argBool(a, 3);
  if (start > s.size()) return Value();
  std::size_t at = fromEnd ? s.rfind(static_cast<wchar_t>(code)) : s.find(static_cast<wchar_t>(code), start);
  if (at == std::wstring::npos || at < start) return Value();
  return Value::integer(static_cast<std::int32_t>(at));
}

Value lStringToList(Environment&, Args a) {
  std::vector<Value> codes;
  for (wchar_t c : wide(argString(a, 0))) codes.push_back(Value::integer(static_cast<std::int32_t>(c)));
  return Value::list(codes);
}

Value lListToString(Environment&, Args a) {
  std::wstring s;
  for (const Value* p = &argList(a, 0); p->isCons(); p = &p->cdr()) {
    if (!p->car().isInt()) badArgument("fixnump:", p->car());
    s.push_back(static_cast<wchar_t>(p->car().asInt()));
  }
  return str(s);
}

Value lStringTranslate(Environment&, Args a) {
  std::wstring from = wide(argString(a, 0)), to = wide(argString(a, 1)), s = wide(argString(a, 2));
  for (wchar_t& c : s) {
    std::size_t k = from.find(c);
    if (k != std::wstring::npos && k < to.size()) c = to[k];
  }
  return str(s);
}

Value lPrin1ToString(Environment&, Args a) { return Value::string(a[0].print(true)); }
Value lPrincToString(Environment&, Args a) { return Value::string(a[0].print(false)); }
Value lRead(Environment&, Args a) { return a.empty() ? Value() : readOne(argString(a, 0)); }

const NativeDef kStrings[] = {
    {"strcat", "(strcat [string...])", "The strings joined.", lStrcat},
    {"strlen", "(strlen [string...])", "The number of characters of all strings.", lStrlen},
    {"substr", "(substr string start [length])", "Characters from START (1 is the first).", lSubstr},
    {"strcase", "(strcase string [lower])", "Upper case, or lower case when LOWER is not nil.", lStrcase},
    {"itoa", "(itoa int)", "An integer as text.", lItoa},
    {"atoi", "(atoi string)", "The integer a text starts with; 0 if none.", lAtoi},
    {"atof", "(atof string)", "The real a text starts with; 0.0 if none.", lAtof},
    {"rtos", "(rtos number [mode [precision]])", "A number as text in a unit mode.", lRtos},
    {"distof", "(distof string [mode])", "A distance read from text; nil if it is none.", lDistof},
    {"chr", "(chr code)", "The character of a code as a string.", lChr},
    {"ascii", "(ascii string)", "The code of the first character; 0 for an empty text.", lAscii},
    {"vl-string-search", "(vl-string-search pattern string [start])", "Where PATTERN starts, from 0; nil if absent.",
     lSearch},
    {"vl-string-subst", "(vl-string-subst new pattern string [start])", "STRING with its first PATTERN replaced.",
     lStringSubst},
    {"vl-string-trim", "(vl-string-trim chars string)", "STRING without CHARS at either end.", lTrim},
    {"vl-string-left-trim", "(vl-string-left-trim chars string)", "STRING without CHARS at its start.", lLeftTrim},
    {"vl-string-right-trim", "(vl-string-right-trim chars string)", "STRING without CHARS at its end.", lRightTrim},
    {"vl-prin1-to-string", "(vl-prin1-to-string x)", "X as prin1 writes it.", lPrin1ToString},
    {"vl-princ-to-string", "(vl-princ-to-string x)", "X as princ writes it.", lPrincToString},
    {"read", "(read [string])", "The first expression of STRING.", lRead},
    {"wcmatch", "(wcmatch string pattern)", "T when STRING matches the wildcard PATTERN.", lWcmatch},
    {"vl-string-position", "(vl-string-position code string [start [from-end]])",
     "Where a character occurs, from 0; nil if absent.", lStringPosition},
    {"vl-string->list", "(vl-string->list string)", "The character codes of STRING.", lStringToList},
    {"vl-list->string", "(vl-list->string codes)", "The string of a list of character codes.", lListToString},
    {"vl-string-translate", "(vl-string-translate from to string)", "STRING with each character of FROM "
     "replaced by the one at the same place in TO.", lStringTranslate},
};

const NativeRegistrar registrar(kStrings);

}  // namespace

bool wildcardMatch(const std::wstring& s, const std::wstring& pats) {
  std::size_t start = 0;
  for (std::size_t i = 0; i <= pats.size(); ++i) {
    if (i < pats.size() && pats[i] == L'`') {
      ++i;
      continue;
    }
    if (i < pats.size() && pats[i] != L',') continue;
    std::wstring one = pats.substr(start, i - start);
    bool negate = !one.empty() && one[0] == L'~';
    if (wildMatch(one, negate ? 1 : 0, s) != negate) return true;
    start = i + 1;
  }
  return false;
}

}  // namespace kvlisp
