// The system registry (a dictionary of named host objects) and text conversion helpers.
#include <cwchar>
#include <map>
#include <string>
#include <vector>

#include "rx.h"

struct AcRxDictionary::Impl {
  std::map<std::wstring, AcRxObject*> entries;
};

AcRxClass* AcRxDictionary::desc() {
  static AcRxClass* cls = (AcRxObject::desc(), newAcRxClass(L"AcRxDictionary", L"AcRxObject", 0, 0, 0, nullptr, L"", L""));
  return cls;
}
AcRxClass* AcRxDictionary::isA() const { return AcRxDictionary::desc(); }

AcRxDictionary::AcRxDictionary() : impl_(new Impl) {}
AcRxDictionary::~AcRxDictionary() { delete impl_; }

AcRxObject* AcRxDictionary::at(const ACHAR* key) const {
  if (key == nullptr) return nullptr;
  auto it = impl_->entries.find(key);
  return it == impl_->entries.end() ? nullptr : it->second;
}

AcRxObject* AcRxDictionary::atPut(const ACHAR* key, AcRxObject* obj) {
  if (key == nullptr) return nullptr;
  AcRxObject*& slot = impl_->entries[key];
  AcRxObject* old = slot;
  slot = obj;
  return old;
}

AcRxObject* AcRxDictionary::remove(const ACHAR* key) {
  if (key == nullptr) return nullptr;
  auto it = impl_->entries.find(key);
  if (it == impl_->entries.end()) return nullptr;
  AcRxObject* old = it->second;
  impl_->entries.erase(it);
  return old;
}

bool AcRxDictionary::has(const ACHAR* key) const { return at(key) != nullptr; }
std::size_t AcRxDictionary::numEntries() const { return impl_->entries.size(); }

AcRxDictionary* acrxSysRegistry() {
  static AcRxDictionary dict;
  return &dict;
}

std::string acrxToUtf8(const std::wstring& text) {
  std::string out;
  out.reserve(text.size());
  for (wchar_t wc : text) {
    auto c = static_cast<char32_t>(wc);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

// Invalid sequences become U+FFFD rather than failing: text from files must never stop a load.
std::wstring acrxFromUtf8(const std::string& text) {
  std::wstring out;
  out.reserve(text.size());
  std::size_t i = 0, n = text.size();
  while (i < n) {
    auto b = static_cast<unsigned char>(text[i]);
    int extra = b < 0x80 ? 0 : (b >> 5) == 6 ? 1 : (b >> 4) == 14 ? 2 : (b >> 3) == 30 ? 3 : -1;
    if (extra < 0 || i + static_cast<std::size_t>(extra) >= n) {
      out += L'\uFFFD';
      ++i;
      continue;
    }
    char32_t c = extra == 0 ? b : extra == 1 ? (b & 0x1F) : extra == 2 ? (b & 0x0F) : (b & 0x07);
    bool ok = true;
    for (int k = 1; k <= extra; ++k) {
      auto cb = static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]);
      if ((cb >> 6) != 2) { ok = false; break; }
      c = (c << 6) | (cb & 0x3F);
    }
    if (!ok) { out += L'\uFFFD'; ++i; continue; }
    out += static_cast<wchar_t>(c);
    i += static_cast<std::size_t>(extra) + 1;
  }
  return out;
}

std::wstring acrxFormat(const ACHAR* format, va_list args) {
  std::vector<wchar_t> buf(256);
  for (;;) {
    va_list copy;
    va_copy(copy, args);
    int n = std::vswprintf(buf.data(), buf.size(), format, copy);
    va_end(copy);
    if (n >= 0 && static_cast<std::size_t>(n) < buf.size()) return std::wstring(buf.data(), static_cast<std::size_t>(n));
    if (buf.size() > (1u << 24)) return std::wstring(format);
    buf.resize(buf.size() * 4);
  }
}
