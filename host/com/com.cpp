// The host's component-object layer: strings, variants, arrays, errors and class creation.
#include "com.h"

#include "ads.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

// ---- BSTR ----------------------------------------------------------------------------------------
// Layout: a 4-byte length (in characters) immediately before the characters, then a terminating
// zero, so a BSTR can be handed to anything that expects a wide C string.

namespace {

constexpr std::size_t kPrefix = sizeof(std::uint32_t) > alignof(OLECHAR) ? sizeof(std::uint32_t)
                                                                         : alignof(OLECHAR);

std::uint32_t* lengthSlot(BSTR text) {
  return reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(text) - kPrefix);
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, std::uint32_t length) {
  auto* block = static_cast<char*>(std::malloc(kPrefix + (std::size_t(length) + 1) * sizeof(OLECHAR)));
  if (!block) return nullptr;
  auto* chars = reinterpret_cast<BSTR>(block + kPrefix);
  *lengthSlot(chars) = length;
  if (text) std::memcpy(chars, text, length * sizeof(OLECHAR));
  else std::memset(chars, 0, length * sizeof(OLECHAR));
  chars[length] = L'\0';
  return chars;
}

BSTR SysAllocString(const OLECHAR* text) {
  if (!text) return nullptr;
  return SysAllocStringLen(text, static_cast<std::uint32_t>(std::wcslen(text)));
}

void SysFreeString(BSTR text) {
  if (text) std::free(reinterpret_cast<char*>(text) - kPrefix);
}

std::uint32_t SysStringLen(BSTR text) { return text ? *lengthSlot(text) : 0; }

// ---- UTF-8 ---------------------------------------------------------------------------------------

// BSTR text and file paths cross into SQLite as UTF-8 through the bridge's one codec.
std::string WideToUtf8(std::wstring_view text) { return kvads::toUtf8(text); }
std::wstring Utf8ToWide(std::string_view text) { return kvads::toWide(text); }

// ---- VARIANT -------------------------------------------------------------------------------------

void VariantInit(VARIANT* v) {
  v->vt = VT_EMPTY;
  v->dblVal = 0;
}

HRESULT VariantClear(VARIANT* v) {
  if (!v) return E_POINTER;
  if (v->vt == VT_BSTR) SysFreeString(v->bstrVal);
  else if (v->vt == (VT_ARRAY | VT_VARIANT)) SafeArrayDestroy(v->parray);
  VariantInit(v);
  return S_OK;
}

HRESULT VariantCopy(VARIANT* dest, const VARIANT* src) {
  if (!dest || !src) return E_POINTER;
  if (dest == src) return S_OK;
  VARIANT copy = *src;
  if (src->vt == VT_BSTR && src->bstrVal) {
    copy.bstrVal = SysAllocStringLen(src->bstrVal, SysStringLen(src->bstrVal));
    if (!copy.bstrVal) return E_OUTOFMEMORY;
  } else if (src->vt == (VT_ARRAY | VT_VARIANT) && src->parray) {
    SAFEARRAY* from = src->parray;
    copy.parray = SafeArrayCreate(VT_VARIANT, 1, from->rgsabound);
    if (!copy.parray) return E_OUTOFMEMORY;
    auto* in = static_cast<VARIANT*>(from->pvData);
    auto* out = static_cast<VARIANT*>(copy.parray->pvData);
    for (ULONG i = 0; i < from->rgsabound[0].cElements; ++i) VariantCopy(&out[i], &in[i]);
  }
  VariantClear(dest);
  *dest = copy;
  return S_OK;
}

// ---- SAFEARRAY -----------------------------------------------------------------------------------

SAFEARRAY* SafeArrayCreate(VARTYPE vt, std::uint32_t cDims, const SAFEARRAYBOUND* bounds) {
  if (vt != VT_VARIANT || cDims != 1 || !bounds) return nullptr;
  auto* array = new (std::nothrow) SAFEARRAY{};
  if (!array) return nullptr;
  array->cDims = 1;
  array->cbElements = sizeof(VARIANT);
  array->rgsabound[0] = bounds[0];
  ULONG n = bounds[0].cElements;
  array->pvData = new (std::nothrow) VARIANT[n == 0 ? 1 : n];
  if (!array->pvData) {
    delete array;
    return nullptr;
  }
  auto* items = static_cast<VARIANT*>(array->pvData);
  for (ULONG i = 0; i < (n == 0 ? 1 : n); ++i) VariantInit(&items[i]);
  return array;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lowerBound, ULONG count) {
  SAFEARRAYBOUND bound{count, lowerBound};
  return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (!array) return S_OK;
  auto* items = static_cast<VARIANT*>(array->pvData);
  for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) VariantClear(&items[i]);
  delete[] items;
  delete array;
  return S_OK;
}

std::uint32_t SafeArrayGetDim(SAFEARRAY* array) { return array ? array->cDims : 0; }

HRESULT SafeArrayGetLBound(SAFEARRAY* array, std::uint32_t dim, LONG* bound) {
  if (!array || !bound) return E_POINTER;
  if (dim != 1) return DISP_E_BADINDEX;
  *bound = array->rgsabound[0].lLbound;
  return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* array, std::uint32_t dim, LONG* bound) {
  if (!array || !bound) return E_POINTER;
  if (dim != 1) return DISP_E_BADINDEX;
  *bound = array->rgsabound[0].lLbound + static_cast<LONG>(array->rgsabound[0].cElements) - 1;
  return S_OK;
}

namespace {

VARIANT* elementAt(SAFEARRAY* array, const LONG* indices) {
  long long offset = static_cast<long long>(indices[0]) - array->rgsabound[0].lLbound;
  if (offset < 0 || offset >= static_cast<long long>(array->rgsabound[0].cElements)) return nullptr;
  return static_cast<VARIANT*>(array->pvData) + offset;
}

}  // namespace

HRESULT SafeArrayGetElement(SAFEARRAY* array, const LONG* indices, void* out) {
  if (!array || !indices || !out) return E_POINTER;
  VARIANT* item = elementAt(array, indices);
  if (!item) return DISP_E_BADINDEX;
  auto* dest = static_cast<VARIANT*>(out);
  VariantInit(dest);
  return VariantCopy(dest, item);
}

HRESULT SafeArrayPutElement(SAFEARRAY* array, const LONG* indices, const void* value) {
  if (!array || !indices || !value) return E_POINTER;
  VARIANT* item = elementAt(array, indices);
  if (!item) return DISP_E_BADINDEX;
  return VariantCopy(item, static_cast<const VARIANT*>(value));
}

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) {
  if (!array || !data) return E_POINTER;
  ++array->cLocks;
  *data = array->pvData;
  return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) {
  if (!array) return E_POINTER;
  if (array->cLocks == 0) return E_UNEXPECTED;
  --array->cLocks;
  return S_OK;
}

// ---- _bstr_t ---------------------------------------------------------------------------------------

_bstr_t::_bstr_t(const wchar_t* text) : text_(SysAllocString(text)) {}
_bstr_t::_bstr_t(std::wstring_view text)
    : text_(SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()))) {}
_bstr_t::_bstr_t(const _bstr_t& other)
    : text_(other.text_ ? SysAllocStringLen(other.text_, other.length()) : nullptr) {}
_bstr_t::_bstr_t(_bstr_t&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
_bstr_t& _bstr_t::operator=(_bstr_t other) noexcept {
  std::swap(text_, other.text_);
  return *this;
}
_bstr_t::~_bstr_t() { SysFreeString(text_); }

BSTR* _bstr_t::GetAddress() {
  SysFreeString(std::exchange(text_, nullptr));
  return &text_;
}

std::wstring _bstr_t::str() const { return text_ ? std::wstring(text_, length()) : std::wstring(); }

void _bstr_t::Attach(BSTR text) { SysFreeString(std::exchange(text_, text)); }

BSTR _bstr_t::Detach() { return std::exchange(text_, nullptr); }

// ---- _variant_t ------------------------------------------------------------------------------------

_variant_t::_variant_t() : VARIANT() { VariantInit(this); }
_variant_t::_variant_t(int value) : _variant_t() {
  vt = VT_I4;
  lVal = value;
}
_variant_t::_variant_t(long value) : _variant_t(static_cast<int>(value)) {}
_variant_t::_variant_t(short value) : _variant_t() {
  vt = VT_I2;
  iVal = value;
}
_variant_t::_variant_t(double value) : _variant_t() {
  vt = VT_R8;
  dblVal = value;
}
_variant_t::_variant_t(bool value) : _variant_t() {
  vt = VT_BOOL;
  boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
}
_variant_t::_variant_t(const wchar_t* text) : _variant_t(std::wstring_view(text ? text : L"")) {}
_variant_t::_variant_t(std::wstring_view text) : _variant_t() {
  vt = VT_BSTR;
  bstrVal = SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size()));
  if (!bstrVal) throw _com_error(E_OUTOFMEMORY);
}
_variant_t::_variant_t(const VARIANT& other) : _variant_t() { ComCheck(VariantCopy(this, &other)); }
_variant_t::_variant_t(const _variant_t& other) : _variant_t() { ComCheck(VariantCopy(this, &other)); }
_variant_t::_variant_t(_variant_t&& other) noexcept : VARIANT(other) { VariantInit(&other); }
_variant_t& _variant_t::operator=(const _variant_t& other) {
  ComCheck(VariantCopy(this, &other));
  return *this;
}
_variant_t& _variant_t::operator=(_variant_t&& other) noexcept {
  if (this != &other) {
    VariantClear(this);
    static_cast<VARIANT&>(*this) = other;
    VariantInit(&other);
  }
  return *this;
}
_variant_t::~_variant_t() { VariantClear(this); }

_variant_t _variant_t::Null() {
  _variant_t v;
  v.vt = VT_NULL;
  return v;
}

void _variant_t::Clear() { VariantClear(this); }

void _variant_t::Attach(VARIANT& v) {
  VariantClear(this);
  static_cast<VARIANT&>(*this) = v;
  VariantInit(&v);
}

// ---- _com_error ------------------------------------------------------------------------------------

_com_error::_com_error(HRESULT hr, std::wstring description)
    : hr_(hr), description_(std::move(description)) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(hr));
  what_ = "COM error " + std::string(code);
  if (!description_.empty()) what_ += ": " + WideToUtf8(description_);
}

// ---- Class creation -------------------------------------------------------------------------------

namespace {

struct ClassEntry {
  CLSID clsid;
  ComClassFactory factory;
};

struct ClassTable {
  std::mutex lock;
  std::vector<ClassEntry> classes;
  HRESULT simulatedFailure = S_OK;
};

ClassTable& classTable() {
  static ClassTable table;
  return table;
}

}  // namespace

void ComRegisterClass(REFCLSID clsid, ComClassFactory factory) {
  ClassTable& table = classTable();
  std::lock_guard guard(table.lock);
  for (ClassEntry& entry : table.classes) {
    if (entry.clsid == clsid) {
      entry.factory = factory;
      return;
    }
  }
  table.classes.push_back({clsid, factory});
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (outer) return E_INVALIDARG;
  ComClassFactory factory = nullptr;
  {
    ClassTable& table = classTable();
    std::lock_guard guard(table.lock);
    if (FAILED(table.simulatedFailure)) return table.simulatedFailure;
    for (const ClassEntry& entry : table.classes)
      if (entry.clsid == clsid) factory = entry.factory;
  }
  if (!factory) return REGDB_E_CLASSNOTREG;
  return factory(iid, out);
}

void ComSimulateCreateFailure(HRESULT hr) {
  ClassTable& table = classTable();
  std::lock_guard guard(table.lock);
  table.simulatedFailure = hr;
}
