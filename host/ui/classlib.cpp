// The class library's value types: CString, rectangle helpers, run-time classes and exceptions.
#include <algorithm>
#include <cstring>
#include <cwctype>
#include <map>
#include <string>

#include "ads.h"
#include "ui.h"

// ---- UTF-8 ----------------------------------------------------------------------------------

namespace kvui {

// Window texts reach Pango as UTF-8 through the bridge's one codec.
std::string toUtf8(std::wstring_view text) { return kvads::toUtf8(text); }
std::wstring fromUtf8(std::string_view text) { return kvads::toWide(text); }

}  // namespace kvui

// ---- Rectangles -------------------------------------------------------------------------------

void CRect::NormalizeRect() {
  if (left > right) std::swap(left, right);
  if (top > bottom) std::swap(top, bottom);
}
BOOL CRect::IntersectRect(LPCRECT a, LPCRECT b) { return ::IntersectRect(this, a, b); }
BOOL CRect::UnionRect(LPCRECT a, LPCRECT b) { return ::UnionRect(this, a, b); }

BOOL IsRectEmpty(LPCRECT r) { return !r || r->left >= r->right || r->top >= r->bottom; }
BOOL IntersectRect(LPRECT out, LPCRECT a, LPCRECT b) {
  RECT r{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
         std::min(a->bottom, b->bottom)};
  if (IsRectEmpty(&r)) r = RECT{0, 0, 0, 0};
  *out = r;
  return !IsRectEmpty(out);
}
BOOL UnionRect(LPRECT out, LPCRECT a, LPCRECT b) {
  if (IsRectEmpty(a)) { *out = IsRectEmpty(b) ? RECT{0, 0, 0, 0} : *b; return !IsRectEmpty(out); }
  if (IsRectEmpty(b)) { *out = *a; return TRUE; }
  *out = RECT{std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
              std::max(a->bottom, b->bottom)};
  return TRUE;
}
BOOL PtInRect(LPCRECT r, POINT p) { return p.x >= r->left && p.x < r->right && p.y >= r->top && p.y < r->bottom; }
BOOL SetRect(LPRECT r, int l, int t, int rt, int b) { *r = RECT{l, t, rt, b}; return TRUE; }
BOOL OffsetRect(LPRECT r, int dx, int dy) { r->left += dx; r->right += dx; r->top += dy; r->bottom += dy; return TRUE; }
BOOL InflateRect(LPRECT r, int dx, int dy) { r->left -= dx; r->right += dx; r->top -= dy; r->bottom += dy; return TRUE; }
BOOL CopyRect(LPRECT to, LPCRECT from) { *to = *from; return TRUE; }
BOOL SetRectEmpty(LPRECT r) { *r = RECT{0, 0, 0, 0}; return TRUE; }
BOOL EqualRect(LPCRECT a, LPCRECT b) { return CRect(a).EqualRect(b); }

// ---- CString ----------------------------------------------------------------------------------

namespace {
std::size_t clampIndex(int i, std::size_t n) {
  return i < 0 ? 0 : std::min(static_cast<std::size_t>(i), n);
}
bool inSet(wchar_t c, const wchar_t* set) { return set && std::wcschr(set, c) && c != 0; }
}  // namespace

int CString::Compare(const wchar_t* o) const { return s_.compare(o ? o : L""); }
int CString::CompareNoCase(const wchar_t* o) const {
  std::wstring a = s_, b = o ? o : L"";
  for (auto& c : a) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  for (auto& c : b) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return a.compare(b) < 0 ? -1 : a == b ? 0 : 1;
}
CString CString::Left(int n) const { return CString(s_.substr(0, clampIndex(n, s_.size()))); }
CString CString::Right(int n) const {
  std::size_t k = clampIndex(n, s_.size());
  return CString(s_.substr(s_.size() - k));
}
CString CString::Mid(int first) const { return CString(s_.substr(clampIndex(first, s_.size()))); }
CString CString::Mid(int first, int n) const {
  std::size_t f = clampIndex(first, s_.size());
  return CString(s_.substr(f, clampIndex(n, s_.size() - f)));
}
int CString::Find(wchar_t c, int start) const {
  if (start < 0 || static_cast<std::size_t>(start) > s_.size()) return -1;
  auto p = s_.find(c, static_cast<std::size_t>(start));
  return p == std::wstring::npos ? -1 : static_cast<int>(p);
}
int CString::Find(const wchar_t* sub, int start) const {
  if (!sub || start < 0 || static_cast<std::size_t>(start) > s_.size()) return -1;
  auto p = s_.find(sub, static_cast<std::size_t>(start));
  return p == std::wstring::npos ? -1 : static_cast<int>(p);
}
int CString::ReverseFind(wchar_t c) const {
  auto p = s_.rfind(c);
  return p == std::wstring::npos ? -1 : static_cast<int>(p);
}
int CString::FindOneOf(const wchar_t* set) const {
  auto p = s_.find_first_of(set ? set : L"");
  return p == std::wstring::npos ? -1 : static_cast<int>(p);
}
int CString::Replace(const wchar_t* from, const wchar_t* to) {
  std::wstring f = from ? from : L"", t = to ? to : L"";
  if (f.empty()) return 0;
  int n = 0;
  for (std::size_t p = s_.find(f); p != std::wstring::npos; p = s_.find(f, p + t.size())) {
    s_.replace(p, f.size(), t);
    ++n;
  }
  return n;
}
int CString::Replace(wchar_t from, wchar_t to) {
  int n = 0;
  for (auto& c : s_) if (c == from) { c = to; ++n; }
  return n;
}
int CString::Remove(wchar_t c) {
  auto before = s_.size();
  s_.erase(std::remove(s_.begin(), s_.end(), c), s_.end());
  return static_cast<int>(before - s_.size());
}
int CString::Insert(int index, const wchar_t* s) {
  s_.insert(clampIndex(index, s_.size()), s ? s : L"");
  return GetLength();
}
int CString::Delete(int index, int count) {
  std::size_t i = clampIndex(index, s_.size());
  s_.erase(i, clampIndex(count, s_.size() - i));
  return GetLength();
}
CString& CString::TrimLeft(const wchar_t* chars) {
  std::size_t i = 0;
  while (i < s_.size() && inSet(s_[i], chars)) ++i;
  s_.erase(0, i);
  return *this;
}
CString& CString::TrimRight(const wchar_t* chars) {
  while (!s_.empty() && inSet(s_.back(), chars)) s_.pop_back();
  return *this;
}
CString& CString::Trim(const wchar_t* chars) { return TrimRight(chars).TrimLeft(chars); }
CString& CString::TrimLeft() { return TrimLeft(L" \t\r\n\v\f"); }
CString& CString::TrimRight() { return TrimRight(L" \t\r\n\v\f"); }
CString& CString::Trim() { return Trim(L" \t\r\n\v\f"); }
CString& CString::MakeUpper() {
  for (auto& c : s_) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  return *this;
}
CString& CString::MakeLower() {
  for (auto& c : s_) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return *this;
}
CString CString::Tokenize(const wchar_t* delims, int& start) const {
  if (start < 0) return CString();
  std::size_t i = static_cast<std::size_t>(start);
  while (i < s_.size() && inSet(s_[i], delims)) ++i;
  if (i >= s_.size()) { start = -1; return CString(); }
  std::size_t j = i;
  while (j < s_.size() && !inSet(s_[j], delims)) ++j;
  start = static_cast<int>(j < s_.size() ? j + 1 : j);
  return CString(s_.substr(i, j - i));
}

// The platform's wide printf reads %s and %c as wide; the C library's reads them as narrow.
// Rewriting the conversions keeps callers' format strings meaning what they meant there.
static std::wstring widenConversions(const wchar_t* fmt) {
  std::wstring out;
  for (const wchar_t* p = fmt; *p; ++p) {
    out += *p;
    if (*p != L'%') continue;
    if (p[1] == L'%') { out += *++p; continue; }
    ++p;
    while (*p && std::wcschr(L"-+ #0123456789.*", *p)) out += *p++;
    bool sized = false;
    while (*p && std::wcschr(L"hlLqjzt", *p)) { sized = true; out += *p++; }
    if (!*p) break;
    if (!sized && (*p == L's' || *p == L'c' || *p == L'S' || *p == L'C')) {
      out += L'l';
      out += static_cast<wchar_t>(std::towlower(static_cast<wint_t>(*p)));
    } else {
      out += *p;
    }
  }
  return out;
}

void CString::FormatV(const wchar_t* fmt, va_list args) {
  std::wstring f = widenConversions(fmt ? fmt : L"");
  std::vector<wchar_t> buf(256);
  for (;;) {
    va_list copy;
    va_copy(copy, args);
    int n = std::vswprintf(buf.data(), buf.size(), f.c_str(), copy);
    va_end(copy);
    if (n >= 0 && static_cast<std::size_t>(n) < buf.size()) { s_.assign(buf.data(), static_cast<std::size_t>(n)); return; }
    if (buf.size() > (1u << 24)) { s_.clear(); return; }  // a malformed format never fits
    buf.resize(buf.size() * 4);
  }
}
void CString::Format(const wchar_t* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  FormatV(fmt, args);
  va_end(args);
}
void CString::AppendFormat(const wchar_t* fmt, ...) {
  CString tail;
  va_list args;
  va_start(args, fmt);
  tail.FormatV(fmt, args);
  va_end(args);
  s_ += tail.s_;
}
wchar_t* CString::GetBuffer(int minLength) {
  if (minLength > GetLength()) s_.resize(static_cast<std::size_t>(minLength));
  return s_.data();
}
wchar_t* CString::GetBufferSetLength(int length) {
  s_.resize(clampIndex(length, SIZE_MAX));
  return s_.data();
}
void CString::ReleaseBuffer(int newLength) {
  if (newLength < 0) s_.resize(std::wcslen(s_.c_str()));
  else s_.resize(static_cast<std::size_t>(newLength));
}

// ---- Run-time classes ------------------------------------------------------------------------

CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), nullptr, nullptr};
CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

static std::map<std::string, CRuntimeClass*>& classRegistry() {
  static std::map<std::string, CRuntimeClass*> registry;
  return registry;
}
CRuntimeClassRegistrar::CRuntimeClassRegistrar(CRuntimeClass* c) { classRegistry()[c->m_lpszClassName] = c; }
CObject* CRuntimeClass::CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
  for (const CRuntimeClass* c = this; c; c = c->m_pBaseClass)
    if (c == base) return TRUE;
  return FALSE;
}
CRuntimeClass* CRuntimeClass::FromName(const char* name) {
  if (!name) return nullptr;
  if (std::strcmp(name, "CObject") == 0) return &CObject::classCObject;
  auto it = classRegistry().find(name);
  return it == classRegistry().end() ? nullptr : it->second;
}

// ---- Exceptions -------------------------------------------------------------------------------

BOOL CException::GetErrorMessage(LPTSTR buffer, UINT max, UINT*) const {
  if (!buffer || max == 0) return FALSE;
  std::wcsncpy(buffer, L"An unknown error occurred.", max - 1);
  buffer[max - 1] = 0;
  return TRUE;
}
int CException::ReportError(UINT type, UINT) const {
  wchar_t text[512];
  GetErrorMessage(text, 512);
  return AfxMessageBox(text, type);
}
BOOL CMemoryException::GetErrorMessage(LPTSTR buffer, UINT max, UINT*) const {
  if (!buffer || max == 0) return FALSE;
  std::wcsncpy(buffer, L"Out of memory.", max - 1);
  buffer[max - 1] = 0;
  return TRUE;
}
