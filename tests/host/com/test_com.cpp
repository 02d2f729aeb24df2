// Tests of the component-object layer: strings, variants, arrays, references, creation, errors.
#include <gtest/gtest.h>

#include <string>

#include "com.h"

namespace {

TEST(Bstr, LengthPrefixNullAndEmbeddedZero) {
  BSTR s = SysAllocStringLen(L"ab\0cd", 5);
  EXPECT_EQ(SysStringLen(s), 5u);
  EXPECT_EQ(s[5], L'\0');
  SysFreeString(s);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  SysFreeString(nullptr);
  _bstr_t empty;
  EXPECT_EQ(empty.str(), L"");
  _bstr_t copy = _bstr_t(L"text");
  _bstr_t other = copy;
  EXPECT_NE(copy.GetBSTR(), other.GetBSTR());
  EXPECT_EQ(other.str(), L"text");
}

// A shared string lives until its last holder frees it, and a freed one comes back unshared.
TEST(Bstr, SharedUntilTheLastHolderFrees) {
  for (int round = 0; round < 2; ++round) {
    BSTR name = SysAllocString(L"ixDuct");
    EXPECT_EQ(SysShareString(name), name);
    EXPECT_EQ(SysShareString(name), name);
    SysFreeString(name);
    SysFreeString(name);
    EXPECT_EQ(std::wstring(name), L"ixDuct") << "one holder left";
    EXPECT_EQ(SysStringLen(name), 6u);
    BSTR other = SysAllocString(L"WIDTH1");  // must not be the block still held
    EXPECT_NE(other, name);
    SysFreeString(other);
    SysFreeString(name);
  }
  EXPECT_EQ(SysShareString(nullptr), nullptr);
}

TEST(Utf8, RoundTripAndMalformedInput) {
  std::wstring text = L"Caf\u00e9 \u2013 \U0001F600 x";
  EXPECT_EQ(Utf8ToWide(WideToUtf8(text)), text);
  EXPECT_EQ(WideToUtf8(L"\u00e9"), "\xC3\xA9");
  // A lone continuation byte and a cut-off sequence each become one replacement character.
  EXPECT_EQ(Utf8ToWide("a\x80" "b\xE2\x82"), L"a\uFFFDb\uFFFD\uFFFD");
}

TEST(Variant, DeepCopyAndClear) {
  _variant_t text(L"abc");
  _variant_t copy = text;
  ASSERT_EQ(copy.vt, VT_BSTR);
  EXPECT_NE(copy.bstrVal, text.bstrVal);
  copy.Clear();
  EXPECT_EQ(copy.vt, VT_EMPTY);
  EXPECT_EQ(std::wstring(text.bstrVal), L"abc");

  EXPECT_EQ(_variant_t(7).vt, VT_I4);
  EXPECT_EQ(_variant_t(short(-1)).vt, VT_I2);
  EXPECT_EQ(_variant_t(2.5).vt, VT_R8);
  _variant_t flag(true);
  EXPECT_EQ(flag.vt, VT_BOOL);
  EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
  EXPECT_EQ(_variant_t::Null().vt, VT_NULL);

  _variant_t moved(std::move(text));
  EXPECT_EQ(text.vt, VT_EMPTY);
  EXPECT_EQ(std::wstring(moved.bstrVal), L"abc");
}

TEST(SafeArray, BoundsElementsAndOwnership) {
  SafeArrayPtr array(SafeArrayCreateVector(VT_VARIANT, 1, 3));
  ASSERT_TRUE(array);
  LONG lo = 0, hi = 0;
  ASSERT_EQ(SafeArrayGetLBound(array.get(), 1, &lo), S_OK);
  ASSERT_EQ(SafeArrayGetUBound(array.get(), 1, &hi), S_OK);
  EXPECT_EQ(lo, 1);
  EXPECT_EQ(hi, 3);
  EXPECT_EQ(SafeArrayGetDim(array.get()), 1u);
  EXPECT_EQ(SafeArrayGetLBound(array.get(), 2, &lo), DISP_E_BADINDEX);

  _variant_t name(L"WIDTH");
  LONG at = 3;
  ASSERT_EQ(SafeArrayPutElement(array.get(), &at, &name), S_OK);
  name.Clear();  // the array holds its own copy
  VARIANT out;
  ASSERT_EQ(SafeArrayGetElement(array.get(), &at, &out), S_OK);
  EXPECT_EQ(std::wstring(out.bstrVal), L"WIDTH");
  VariantClear(&out);

  LONG outside[] = {0, 4};
  EXPECT_EQ(SafeArrayGetElement(array.get(), &outside[0], &out), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayPutElement(array.get(), &outside[1], &name), DISP_E_BADINDEX);

  // Only one-dimensional arrays of VARIANT exist here.
  EXPECT_EQ(SafeArrayCreateVector(VT_I4, 0, 2), nullptr);
  SAFEARRAYBOUND two[2] = {{2, 0}, {2, 0}};
  EXPECT_EQ(SafeArrayCreate(VT_VARIANT, 2, two), nullptr);
}

// A component that notes its own destruction.
class Probe : public ComObject<IUnknown> {
 public:
  explicit Probe(bool* gone) : gone_(gone) {}
  ~Probe() override { *gone_ = true; }
  HRESULT QueryInterface(REFIID iid, void** out) override {
    if (!(iid == IID_IUnknown)) return E_NOINTERFACE;
    AddRef();
    *out = this;
    return S_OK;
  }

 private:
  bool* gone_;
};

constexpr CLSID kProbeClass = {0x1234, 1, 2, {1, 2, 3, 4, 5, 6, 7, 8}};
bool probeGone = false;

HRESULT makeProbe(REFIID iid, void** out) {
  auto* p = new Probe(&probeGone);
  HRESULT hr = p->QueryInterface(iid, out);
  p->Release();
  return hr;
}

// Freed strings and arrays are handed out again (a table walk makes and frees them per row):
// what comes back must be what was asked for, never what the last owner left in it.
TEST(SafeArray, ReusedStringsAndArraysComeBackAsNew) {
  for (int round = 0; round < 3; ++round) {
    BSTR longer = SysAllocString(L"DISTANCE1");
    SysFreeString(longer);
    BSTR shorter = SysAllocStringLen(nullptr, 3);
    EXPECT_EQ(SysStringLen(shorter), 3u);
    EXPECT_EQ(std::wstring(shorter, 3), std::wstring(3, L'\0')) << "no characters of the freed string";
    EXPECT_EQ(shorter[3], L'\0');
    SysFreeString(shorter);

    SAFEARRAY* first = SafeArrayCreateVector(VT_VARIANT, 0, 4);
    auto* items = static_cast<VARIANT*>(first->pvData);
    items[1].vt = VT_BSTR;
    items[1].bstrVal = SysAllocString(L"kept?");
    items[2].vt = VT_I4;
    items[2].lVal = 7;
    first->cLocks = 1;
    EXPECT_EQ(SafeArrayDestroy(first), S_OK);
    SAFEARRAY* again = SafeArrayCreateVector(VT_VARIANT, 5, 4);
    LONG lower = 0, upper = 0;
    SafeArrayGetLBound(again, 1, &lower);
    SafeArrayGetUBound(again, 1, &upper);
    EXPECT_EQ(lower, 5);
    EXPECT_EQ(upper, 8);
    EXPECT_EQ(again->cLocks, 0u);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(static_cast<VARIANT*>(again->pvData)[i].vt, VT_EMPTY) << i;
    SafeArrayDestroy(again);
  }
}

TEST(ComPtr, LastReleaseDestroys) {
  bool gone = false;
  {
    ComPtr<Probe> first;
    first.Attach(new Probe(&gone));
    ComPtr<Probe> second = first;
    first.Reset();
    EXPECT_FALSE(gone);
  }
  EXPECT_TRUE(gone);
}

TEST(CoCreateInstance, RegisteredUnknownAndSimulatedFailure) {
  ComRegisterClass(kProbeClass, makeProbe);
  ComPtr<IUnknown> made;
  ASSERT_EQ(CoCreateInstance(kProbeClass, nullptr, CLSCTX_ALL, IID_IUnknown, reinterpret_cast<void**>(made.Put())), S_OK);
  probeGone = false;
  made.Reset();
  EXPECT_TRUE(probeGone);

  constexpr CLSID unknown = {0x9999, 0, 0, {}};
  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(CoCreateInstance(unknown, nullptr, CLSCTX_ALL, IID_IUnknown, &out), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(out, nullptr);

  ComSimulateCreateFailure(E_OUTOFMEMORY);
  EXPECT_EQ(CoCreateInstance(kProbeClass, nullptr, CLSCTX_ALL, IID_IUnknown, &out), E_OUTOFMEMORY);
  ComSimulateCreateFailure(S_OK);
  EXPECT_EQ(CoCreateInstance(kProbeClass, nullptr, CLSCTX_ALL, IID_IUnknown, &out), S_OK);
  static_cast<IUnknown*>(out)->Release();
}

TEST(ComError, CarriesCodeAndText) {
  try {
    ComCheck(E_INVALIDARG, L"bad row");
    FAIL() << "no exception";
  } catch (const _com_error& e) {
    EXPECT_EQ(e.Error(), E_INVALIDARG);
    EXPECT_EQ(e.Description(), L"bad row");
    EXPECT_STREQ(e.what(), "COM error 0x80070057: bad row");
  }
  EXPECT_NO_THROW(ComCheck(S_FALSE));
}

}  // namespace
