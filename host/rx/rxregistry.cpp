// The system registry (a dictionary of named host objects) and text conversion helpers.
#include <cwchar>
#include <map>
#include <string>
#include <vector>

#include "ads.h"
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

// Names and paths cross into files and dlopen as UTF-8 through the bridge's one codec.
std::string acrxToUtf8(const std::wstring& text) { return kvads::toUtf8(text); }
std::wstring acrxFromUtf8(const std::string& text) { return kvads::toWide(text); }

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
