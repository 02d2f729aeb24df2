// Class descriptors and the class registry (by name and by DXF name).
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <map>
#include <string>

#include "rx.h"

namespace {

ACHAR* dupString(const ACHAR* s) {
  if (s == nullptr) s = L"";
  std::size_t n = std::wcslen(s);
  auto* out = new ACHAR[n + 1];
  std::wmemcpy(out, s, n + 1);
  return out;
}

std::wstring upper(const ACHAR* s) {
  std::wstring out = s ? s : L"";
  for (auto& c : out) c = static_cast<ACHAR>(std::towupper(c));
  return out;
}

struct ClassRegistry {
  std::map<std::wstring, AcRxClass*> byName;
  ~ClassRegistry() {
    for (auto& [name, cls] : byName) delete cls;
  }
};

// Function-local so that host libraries may register classes from their static initialisers.
ClassRegistry& registry() {
  static ClassRegistry r;
  return r;
}

}  // namespace

AcRxClass* AcRxObject::desc() {
  static AcRxClass* cls = newAcRxClass(L"AcRxObject", L"", 0, 0, 0, nullptr, L"", L"");
  return cls;
}

AcRxClass* AcRxObject::isA() const { return AcRxObject::desc(); }

bool AcRxObject::isKindOf(const AcRxClass* aClass) const {
  const AcRxClass* mine = isA();
  return mine != nullptr && mine->isDerivedFrom(aClass);
}

AcRxClass* AcRxClass::desc() {
  static AcRxClass* cls = (AcRxObject::desc(), newAcRxClass(L"AcRxClass", L"AcRxObject", 0, 0, 0, nullptr, L"", L""));
  return cls;
}

AcRxClass* AcRxClass::isA() const { return AcRxClass::desc(); }

AcRxClass::AcRxClass(const ACHAR* name, const ACHAR* parentName, int dwgVer, int maintVer, int proxyFlags,
                     AcRxPseudoConstructor ctor, const ACHAR* dxfName, const ACHAR* appName)
    : name_(dupString(name)),
      parentName_(dupString(parentName)),
      dxfName_(dupString(dxfName)),
      appName_(dupString(appName)),
      dwgVer_(dwgVer),
      maintVer_(maintVer),
      proxyFlags_(proxyFlags),
      ctor_(ctor) {}

AcRxClass::~AcRxClass() {
  delete[] name_;
  delete[] parentName_;
  delete[] dxfName_;
  delete[] appName_;
}

int AcRxClass::getClassVersion(int& maintVer) const {
  maintVer = maintVer_;
  return dwgVer_;
}

bool AcRxClass::isDerivedFrom(const AcRxClass* other) const {
  if (other == nullptr) return false;
  for (const AcRxClass* c = this; c != nullptr; c = c->parent_)
    if (c == other) return true;
  return false;
}

AcRxObject* AcRxClass::create() const { return ctor_ ? ctor_() : nullptr; }

bool AcRxClass::resolveParent() {
  if (parentName_[0] == 0) return true;
  parent_ = acrxFindAcRxClass(parentName_);
  return parent_ != nullptr;
}

AcRxClass* newAcRxClass(const ACHAR* className, const ACHAR* parentClassName, int dwgVer, int maintVer,
                        int proxyFlags, AcRxPseudoConstructor pseudoConstructor, const ACHAR* dxfName,
                        const ACHAR* appName) {
  if (className == nullptr || className[0] == 0) return nullptr;
  if (std::wcscmp(className, L"AcRxObject") != 0) AcRxObject::desc();  // the root is always there
  auto& r = registry().byName;
  auto it = r.find(className);
  if (it != r.end()) return it->second;
  auto* cls = new AcRxClass(className, parentClassName, dwgVer, maintVer, proxyFlags, pseudoConstructor,
                            dxfName, appName);
  r.emplace(className, cls);
  cls->resolveParent();
  return cls;
}

AcRxClass* newAcRxClass(const ACHAR* className, const ACHAR* parentClassName, int proxyFlags,
                        AcRxPseudoConstructor pseudoConstructor, const ACHAR* dxfName, const ACHAR* appName) {
  return newAcRxClass(className, parentClassName, 0, 0, proxyFlags, pseudoConstructor, dxfName, appName);
}

AcRxClass* acrxFindAcRxClass(const ACHAR* className) {
  if (className == nullptr) return nullptr;
  auto& r = registry().byName;
  auto it = r.find(className);
  return it == r.end() ? nullptr : it->second;
}

AcRxClass* acrxFindAcRxClassByDxfName(const ACHAR* dxfName) {
  std::wstring wanted = upper(dxfName);
  if (wanted.empty()) return nullptr;
  for (auto& [name, cls] : registry().byName)
    if (upper(cls->dxfName()) == wanted) return cls;
  return nullptr;
}

void deleteAcRxClass(AcRxClass* pClassObj) {
  if (pClassObj == nullptr) return;
  auto& r = registry().byName;
  auto it = r.find(pClassObj->name());
  if (it == r.end() || it->second != pClassObj) return;
  r.erase(it);
  // Children of a removed class lose their parent link until the hierarchy is rebuilt.
  for (auto& [name, cls] : r)
    if (cls->myParent() == pClassObj) cls->resolveParent();
  delete pClassObj;
}

bool acrxBuildClassHierarchy() {
  bool all = true;
  for (auto& [name, cls] : registry().byName) all = cls->resolveParent() && all;
  return all;
}

void acrx_abort(const ACHAR* format, ...) {
  va_list args;
  va_start(args, format);
  std::string text = acrxToUtf8(acrxFormat(format, args));
  va_end(args);
  std::fprintf(stderr, "kvhost: fatal: %s\n", text.c_str());
  std::fflush(stderr);
  std::abort();
}

void* acHeapAlloc(void*, std::size_t size) { return ::operator new(size); }
void acHeapFree(void*, void* p) { ::operator delete(p); }
