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
// Layout: the count of extra holders (see SysShareString), then the length (in characters), each
// 4 bytes, immediately before the characters, then a terminating zero, so a BSTR can be handed to
// anything that expects a wide C string.

namespace {

constexpr std::size_t kPrefix = 2 * sizeof(std::uint32_t);
static_assert(kPrefix % alignof(OLECHAR) == 0);

std::uint32_t* lengthSlot(BSTR text) {
  return reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(text) - sizeof(std::uint32_t));
}

std::uint32_t* sharesSlot(BSTR text) {
  return reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(text) - kPrefix);
}

}  // namespace

namespace {

// Under the address sanitizer freed strings and arrays go back to malloc at once, so that a use
// after free is still caught.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kKeepFreed = false;
#else
constexpr bool kKeepFreed = true;
#endif

// Rows of the project database come out as arrays of short names and texts, made and freed by
// the hundred per row: freed short strings wait by size for the next row instead of going back to
// malloc.
constexpr std::size_t kKeptPerClass = kKeepFreed ? 4096 : 0;
constexpr std::uint32_t kClassChars = 16;  // capacity step of a class, in characters
constexpr std::uint32_t kClasses = 8;      // strings up to 128 characters are kept

struct BlockList {
  std::vector<char*> blocks;
};
// Never destroyed, so that strings freed by static objects at exit still find their lists.
BlockList* const gStrings = new BlockList[kClasses];

// The class of a string of `length` characters; kClasses when it is not kept.
std::uint32_t classOf(std::uint32_t length) {
  std::uint32_t c = length / kClassChars;
  return c < kClasses ? c : kClasses;
}

std::size_t blockBytes(std::uint32_t length) {
  std::uint32_t c = classOf(length);
  std::uint32_t capacity = c < kClasses ? (c + 1) * kClassChars - 1 : length;
  return kPrefix + (std::size_t(capacity) + 1) * sizeof(OLECHAR);
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, std::uint32_t length) {
  std::uint32_t c = classOf(length);
  char* block = nullptr;
  if (c < kClasses && !gStrings[c].blocks.empty()) {
    block = gStrings[c].blocks.back();
    gStrings[c].blocks.pop_back();
  } else {
    block = static_cast<char*>(std::malloc(blockBytes(length)));
  }
  if (!block) return nullptr;
  auto* chars = reinterpret_cast<BSTR>(block + kPrefix);
  *lengthSlot(chars) = length;
  *sharesSlot(chars) = 0;
  if (text) std::memcpy(chars, text, length * sizeof(OLECHAR));
  else std::memset(chars, 0, length * sizeof(OLECHAR));
  chars[length] = L'\0';
  return chars;
}

BSTR SysAllocString(const OLECHAR* text) {
  if (!text) return nullptr;
  return SysAllocStringLen(text, static_cast<std::uint32_t>(std::wcslen(text)));
}

BSTR SysShareString(BSTR text) {
  if (text) ++*sharesSlot(text);
  return text;
}

void SysFreeString(BSTR text) {
  if (!text) return;
  if (std::uint32_t& shares = *sharesSlot(text); shares > 0) {
    --shares;
    return;
  }
  char* block = reinterpret_cast<char*>(text) - kPrefix;
  std::uint32_t c = classOf(*lengthSlot(text));
  if (c < kClasses && gStrings[c].blocks.size() < kKeptPerClass) {
    gStrings[c].blocks.push_back(block);
    return;
  }
  std::free(block);
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

namespace {

// A walk over a table makes and frees one array of the same size per row: a few freed arrays
// wait, by element count, to be handed out again with their storage.
constexpr std::size_t kSpareArrays = kKeepFreed ? 8 : 0;

struct SpareArray {
  ULONG slots;
  SAFEARRAY* array;
};
// Never destroyed, like the string lists.
std::vector<SpareArray>* const gSpareArrays = new std::vector<SpareArray>;

SAFEARRAY* takeSpare(ULONG slots) {
  auto& spares = *gSpareArrays;
  for (std::size_t i = spares.size(); i-- > 0;) {
    if (spares[i].slots != slots) continue;
    SAFEARRAY* array = spares[i].array;
    spares.erase(spares.begin() + static_cast<std::ptrdiff_t>(i));
    return array;
  }
  return nullptr;
}

}  // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE vt, std::uint32_t cDims, const SAFEARRAYBOUND* bounds) {
  if (vt != VT_VARIANT || cDims != 1 || !bounds) return nullptr;
  ULONG n = bounds[0].cElements;
  ULONG slots = n == 0 ? 1 : n;
  SAFEARRAY* array = takeSpare(slots);
  if (!array) {
    array = new (std::nothrow) SAFEARRAY{};
    if (!array) return nullptr;
    array->pvData = new (std::nothrow) VARIANT[slots];
    if (!array->pvData) {
      delete array;
      return nullptr;
    }
  }
  array->cDims = 1;
  array->fFeatures = 0;
  array->cLocks = 0;
  array->cbElements = sizeof(VARIANT);
  array->rgsabound[0] = bounds[0];
  auto* items = static_cast<VARIANT*>(array->pvData);
  for (ULONG i = 0; i < slots; ++i) VariantInit(&items[i]);
  return array;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lowerBound, ULONG count) {
  SAFEARRAYBOUND bound{count, lowerBound};
  return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (!array) return S_OK;
  auto* items = static_cast<VARIANT*>(array->pvData);
  ULONG n = array->rgsabound[0].cElements;
  // Only what the items own is freed: the array goes away, or is made empty again when handed out.
  for (ULONG i = 0; i < n; ++i) {
    if (items[i].vt == VT_BSTR) SysFreeString(items[i].bstrVal);
    else if (items[i].vt == (VT_ARRAY | VT_VARIANT)) SafeArrayDestroy(items[i].parray);
  }
  if (gSpareArrays->size() < kSpareArrays) {
    gSpareArrays->push_back({n == 0 ? 1 : n, array});
    return S_OK;
  }
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
