// The host's component-object layer: HRESULT, BSTR, VARIANT, one-dimensional SAFEARRAY of VARIANT,
// counted references, the COM error exception and a CoCreateInstance-style factory.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// ---- Status codes -------------------------------------------------------------------------------

using HRESULT = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005u);
inline constexpr HRESULT DISP_E_BADINDEX = static_cast<HRESULT>(0x8002000Bu);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);

inline constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
inline constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// ---- Strings --------------------------------------------------------------------------------------

using OLECHAR = wchar_t;
using BSTR = OLECHAR*;

// A BSTR carries its length in front of the characters and is zero-terminated, so a null BSTR
// and an empty one both read as "". Free every BSTR you receive with SysFreeString.
BSTR SysAllocString(const OLECHAR* text);
BSTR SysAllocStringLen(const OLECHAR* text, std::uint32_t length);
void SysFreeString(BSTR text);
std::uint32_t SysStringLen(BSTR text);
// Host: one more holder of a BSTR whose characters none of its holders changes (the column names
// that every row of a table hands out); each holder frees it once with SysFreeString, and the
// last of them frees the string. Gives text.
BSTR SysShareString(BSTR text);

// UTF-8 <-> wide conversion used wherever a BSTR meets a byte string (files, SQLite, LISP).
std::string WideToUtf8(std::wstring_view text);
std::wstring Utf8ToWide(std::string_view text);

// ---- VARIANT -------------------------------------------------------------------------------------

using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum VARENUM : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R8 = 5,
  VT_BSTR = 8,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_ARRAY = 0x2000,
};

struct SAFEARRAY;

struct VARIANT {
  VARTYPE vt;
  union {
    std::int16_t iVal;
    LONG lVal;
    double dblVal;
    BSTR bstrVal;
    VARIANT_BOOL boolVal;
    SAFEARRAY* parray;
  };
};

void VariantInit(VARIANT* v);
// Frees what the variant owns (its BSTR or array) and leaves it VT_EMPTY.
HRESULT VariantClear(VARIANT* v);
// Deep copy: dest is cleared first, then receives its own copy of src's string or array.
HRESULT VariantCopy(VARIANT* dest, const VARIANT* src);

// ---- SAFEARRAY (one dimension, elements of VARIANT) ------------------------------------------------

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

struct SAFEARRAY {
  std::uint16_t cDims;
  std::uint16_t fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
};

// Only VT_VARIANT elements and one dimension are supported; anything else answers null.
SAFEARRAY* SafeArrayCreate(VARTYPE vt, std::uint32_t cDims, const SAFEARRAYBOUND* bounds);
SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lowerBound, ULONG count);
// Clears every element, then frees the array. Null is accepted.
HRESULT SafeArrayDestroy(SAFEARRAY* array);
std::uint32_t SafeArrayGetDim(SAFEARRAY* array);
HRESULT SafeArrayGetLBound(SAFEARRAY* array, std::uint32_t dim, LONG* bound);
HRESULT SafeArrayGetUBound(SAFEARRAY* array, std::uint32_t dim, LONG* bound);
// Element access by index within the bounds; Get copies the element out (the caller clears it),
// Put copies the value in (the array keeps its own copy).
HRESULT SafeArrayGetElement(SAFEARRAY* array, const LONG* indices, void* out);
HRESULT SafeArrayPutElement(SAFEARRAY* array, const LONG* indices, const void* value);
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data);
HRESULT SafeArrayUnaccessData(SAFEARRAY* array);

// ---- C++ helpers over the C types ----------------------------------------------------------------

// Owns a BSTR. GetAddress() hands a slot to an out parameter after freeing the old string.
class _bstr_t {
 public:
  _bstr_t() = default;
  _bstr_t(const wchar_t* text);
  _bstr_t(std::wstring_view text);
  _bstr_t(const _bstr_t& other);
  _bstr_t(_bstr_t&& other) noexcept;
  _bstr_t& operator=(_bstr_t other) noexcept;
  ~_bstr_t();

  BSTR* GetAddress();
  BSTR GetBSTR() const { return text_; }
  operator BSTR() const { return text_; }
  std::wstring str() const;
  std::uint32_t length() const { return SysStringLen(text_); }
  // Takes ownership of a BSTR from elsewhere; Detach gives it away.
  void Attach(BSTR text);
  BSTR Detach();

 private:
  BSTR text_ = nullptr;
};

// Owns a VARIANT. Constructors make the kinds a row carries: VT_I4 from int, VT_I2 from short,
// VT_R8 from double, VT_BSTR from text, VT_BOOL from bool.
class _variant_t : public VARIANT {
 public:
  _variant_t();
  _variant_t(int value);
  _variant_t(long value);
  _variant_t(short value);
  _variant_t(double value);
  _variant_t(bool value);
  _variant_t(const wchar_t* text);
  _variant_t(std::wstring_view text);
  _variant_t(const VARIANT& other);
  _variant_t(const _variant_t& other);
  _variant_t(_variant_t&& other) noexcept;
  _variant_t& operator=(const _variant_t& other);
  _variant_t& operator=(_variant_t&& other) noexcept;
  ~_variant_t();

  static _variant_t Null();
  void Clear();
  // Takes over a VARIANT filled elsewhere (an out parameter, an element read from an array).
  void Attach(VARIANT& v);
};

// Owns an array received from an out parameter or built for a call.
struct SafeArrayDeleter {
  void operator()(SAFEARRAY* array) const { SafeArrayDestroy(array); }
};
using SafeArrayPtr = std::unique_ptr<SAFEARRAY, SafeArrayDeleter>;

// ---- Errors ----------------------------------------------------------------------------------------

// A failing HRESULT raised as an exception; Description() is the component's text.
class _com_error : public std::exception {
 public:
  explicit _com_error(HRESULT hr, std::wstring description = {});
  HRESULT Error() const { return hr_; }
  const std::wstring& Description() const { return description_; }
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  HRESULT hr_;
  std::wstring description_;
  std::string what_;
};

// Raises _com_error when hr fails; the calling convention for every component call.
inline void ComCheck(HRESULT hr, std::wstring_view description = {}) {
  if (FAILED(hr)) throw _com_error(hr, std::wstring(description));
}

// ---- Counted references --------------------------------------------------------------------------

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
  bool operator==(const GUID&) const = default;
};
using CLSID = GUID;
using IID = GUID;
using REFCLSID = const CLSID&;
using REFIID = const IID&;

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr DWORD CLSCTX_ALL = 23;

// Base of every component: the reference count starts at 1 for the creator and the object
// deletes itself at the last Release.
class IUnknown {
 public:
  virtual HRESULT QueryInterface(REFIID iid, void** out) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  virtual ~IUnknown() = default;
};

// The reference counting every host component shares; Derived lists the interfaces it answers
// through its own QueryInterface.
template <class Interface>
class ComObject : public Interface {
 public:
  ULONG AddRef() override { return ++refs_; }
  ULONG Release() override {
    ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
  }

 private:
  std::atomic<ULONG> refs_{1};
};

// A counted reference: copies AddRef, destruction releases. Attach adopts a reference that a
// factory or out parameter already counted.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  explicit ComPtr(T* p, bool addRef = true) : p_(p) {
    if (p_ && addRef) p_->AddRef();
  }
  ComPtr(const ComPtr& o) : p_(o.p_) {
    if (p_) p_->AddRef();
  }
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ComPtr& operator=(ComPtr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  ~ComPtr() { Reset(); }

  void Reset() {
    if (p_) std::exchange(p_, nullptr)->Release();
  }
  void Attach(T* p) {
    Reset();
    p_ = p;
  }
  T* Detach() { return std::exchange(p_, nullptr); }
  // For factories: the old reference is released, the slot filled by the callee is adopted.
  T** Put() {
    Reset();
    return &p_;
  }
  T* Get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  T* p_ = nullptr;
};

// ---- Object creation --------------------------------------------------------------------------------

// Makes one instance of a registered class (reference count 1) and answers it as iid in *out.
using ComClassFactory = HRESULT (*)(REFIID iid, void** out);

// Registers a class for CoCreateInstance; components call this from their library's start-up.
void ComRegisterClass(REFCLSID clsid, ComClassFactory factory);

// Creates an instance of a registered class. outer must be null; any class context is accepted.
// REGDB_E_CLASSNOTREG when nothing is registered under clsid.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** out);

// Test hook: while set to a failing code, every CoCreateInstance answers it and creates nothing,
// as on a machine where the component is not installed. S_OK restores normal creation.
void ComSimulateCreateFailure(HRESULT hr);
