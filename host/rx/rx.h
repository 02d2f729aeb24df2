// Run-time classes of the host: error statuses, basic types, class descriptors and their registry,
// the system registry, and loading of application modules by name.
#pragma once

#include <cstddef>
#include <cstdarg>
#include <cstdint>
#include <cwchar>
#include <string>

#include "rxdefs.h"

using ACHAR = wchar_t;
#ifndef _T
#define _T(x) L##x
#endif
#ifndef ACRX_T
#define ACRX_T(x) L##x
#endif

namespace Adesk {
using Int8 = std::int8_t;
using Int16 = std::int16_t;
using Int32 = std::int32_t;
using Int64 = std::int64_t;
using UInt8 = std::uint8_t;
using UInt16 = std::uint16_t;
using UInt32 = std::uint32_t;
using UInt64 = std::uint64_t;
using Boolean = bool;
using IntPtr = std::intptr_t;
using UIntPtr = std::uintptr_t;
using LongPtr = std::intptr_t;
using ULongPtr = std::uintptr_t;
using GsMarker = std::intptr_t;
constexpr bool kTrue = true;
constexpr bool kFalse = false;
}  // namespace Adesk

namespace Acad {
// The platform's status codes; the numbers are part of the contract (modules compare them).
enum ErrorStatus {
  eOk = 0,
  eNotImplementedYet = 1,
  eNotApplicable = 2,
  eInvalidInput = 3,
  eAmbiguousInput = 4,
  eAmbiguousOutput = 5,
  eOutOfMemory = 6,
  eBufferTooSmall = 7,
  eInvalidOpenState = 8,
  eEntityInInactiveLayout = 9,
  eHandleExists = 10,
  eNullHandle = 11,
  eBrokenHandle = 12,
  eUnknownHandle = 13,
  eHandleInUse = 14,
  eNullObjectPointer = 15,
  eNullObjectId = 16,
  eNullBlockName = 17,
  eContainerNotEmpty = 18,
  eNullEntityPointer = 19,
  eIllegalEntityType = 20,
  eKeyNotFound = 21,
  eDuplicateKey = 22,
  eInvalidIndex = 23,
  eDuplicateIndex = 24,
  eAlreadyInDb = 25,
  eOutOfDisk = 26,
  eDeletedEntry = 27,
  eNegativeValueNotAllowed = 28,
  eInvalidExtents = 29,
  eInvalidAdsName = 30,
  eInvalidSymbolTableName = 31,
  eInvalidKey = 32,
  eWrongObjectType = 33,
  eWrongDatabase = 34,
  eObjectToBeDeleted = 35,
  eInvalidDwgVersion = 36,
  eAnonymousEntry = 37,
  eIllegalReplacement = 38,
  eEndOfObject = 39,
  eEndOfFile = 40,
  eIsReading = 41,
  eIsWriting = 42,
  eNotOpenForRead = 43,
  eNotOpenForWrite = 44,
  eNotThatKindOfClass = 45,
  eInvalidBlockName = 46,
  eMissingDxfField = 47,
  eDuplicateDxfField = 48,
  eInvalidDxfCode = 49,
  eInvalidResBuf = 50,
  eFilerError = 51,
  eBadDxfSequence = 52,
  eNotInDatabase = 53,
  eNoDatabase = 54,
  eFileNotFound = 55,
  eFileAccessErr = 56,
  eFileSharingViolation = 57,
  eWasOpenedForRead = 80,
  eWasOpenedForWrite = 81,
  eWasOpenedForUndo = 82,
  eWasNotifying = 83,
  eWasOpenedForNotify = 84,
  eOnLockedLayer = 85,
  eWasErased = 86,
  eAtMaxReaders = 88,
  eIsWriteProtected = 89,
  eNotAnEntity = 91,
  eDuplicateRecordName = 93,
  eMissingSymbolTable = 96,
  eMissingSymbolTableRec = 97,
  eWasNotOpenForWrite = 98,
  eWasNotErased = 105,
  eNotNewlyCreated = 110,
  eNotCurrentDatabase = 120,
  eNoDocument = 130,
  eLockViolation = 254,
  eLockConflict = 255,
  eMakeMeProxy = 301,
};
}  // namespace Acad

class AcRxClass;

// Root of every run-time typed object of the host and of modules.
class AcRxObject {
 public:
  virtual ~AcRxObject() = default;
  static AcRxClass* desc();
  static AcRxObject* cast(const AcRxObject* inPtr) { return const_cast<AcRxObject*>(inPtr); }
  virtual AcRxClass* isA() const;
  // True when this object's class is `aClass` or derives from it.
  bool isKindOf(const AcRxClass* aClass) const;
};

using AcRxPseudoConstructor = AcRxObject* (*)();

// Declares the run-time class members of CLASS_NAME (desc, cast, isA).
#define ACRX_DECLARE_MEMBERS(CLASS_NAME)                                                    \
  static AcRxClass* desc();                                                                 \
  static CLASS_NAME* cast(const AcRxObject* inPtr) {                                        \
    return (inPtr == nullptr || !inPtr->isKindOf(CLASS_NAME::desc()))                       \
               ? nullptr                                                                    \
               : const_cast<CLASS_NAME*>(static_cast<const CLASS_NAME*>(inPtr));            \
  }                                                                                         \
  static AcRxClass* gpDesc;                                                                 \
  static void rxInit();                                                                     \
  AcRxClass* isA() const override

// Defines desc (looked up by name on first use and remembered), isA and rxInit (registration by
// newAcRxClass with a pseudo constructor `new CLASS_NAME`). After deleteAcRxClass a module clears
// CLASS_NAME::gpDesc itself.
#define ACRX_DXF_DEFINE_MEMBERS(CLASS_NAME, PARENT_CLASS, DWG_VERSION, MAINTENANCE_VERSION,     \
                                PROXY_FLAGS, DXF_NAME, APP)                                     \
  AcRxClass* CLASS_NAME::gpDesc = nullptr;                                                      \
  AcRxClass* CLASS_NAME::desc() {                                                               \
    if (gpDesc == nullptr) gpDesc = acrxFindAcRxClass(L"" #CLASS_NAME);                         \
    return gpDesc;                                                                              \
  }                                                                                             \
  AcRxClass* CLASS_NAME::isA() const { return CLASS_NAME::desc(); }                             \
  void CLASS_NAME::rxInit() {                                                                   \
    gpDesc = newAcRxClass(L"" #CLASS_NAME, L"" #PARENT_CLASS, DWG_VERSION, MAINTENANCE_VERSION, \
                          PROXY_FLAGS, []() -> AcRxObject* { return new CLASS_NAME(); },        \
                          L"" #DXF_NAME, L"" #APP);                                             \
  }

// A class descriptor: name, parent, versions, proxy flags, DXF name, application string and the
// pseudo constructor that makes a default instance.
class AcRxClass : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcRxClass);

  const ACHAR* name() const { return name_; }
  const ACHAR* dxfName() const { return dxfName_; }
  const ACHAR* appName() const { return appName_; }
  AcRxClass* myParent() const { return parent_; }
  int proxyFlags() const { return proxyFlags_; }
  // Returns the DWG version; the maintenance release goes to `maintVer`.
  int getClassVersion(int& maintVer) const;
  // True when this class is `other` or one of its descendants.
  bool isDerivedFrom(const AcRxClass* other) const;
  // A new default instance; null when the class has no pseudo constructor.
  AcRxObject* create() const;

  // Host use: resolves the parent by name (called by acrxBuildClassHierarchy).
  bool resolveParent();
  const ACHAR* parentName() const { return parentName_; }

  AcRxClass(const ACHAR* name, const ACHAR* parentName, int dwgVer, int maintVer, int proxyFlags,
            AcRxPseudoConstructor ctor, const ACHAR* dxfName, const ACHAR* appName);
  ~AcRxClass() override;
  AcRxClass(const AcRxClass&) = delete;
  AcRxClass& operator=(const AcRxClass&) = delete;

 private:
  ACHAR* name_;
  ACHAR* parentName_;
  ACHAR* dxfName_;
  ACHAR* appName_;
  AcRxClass* parent_ = nullptr;
  int dwgVer_, maintVer_, proxyFlags_;
  AcRxPseudoConstructor ctor_;
};

// Registers a class (or returns the class of that name when one exists already). The parent is
// linked at once when it is registered, else by acrxBuildClassHierarchy.
AcRxClass* newAcRxClass(const ACHAR* className, const ACHAR* parentClassName, int dwgVer,
                        int maintVer, int proxyFlags = 0,
                        AcRxPseudoConstructor pseudoConstructor = nullptr,
                        const ACHAR* dxfName = nullptr, const ACHAR* appName = nullptr);
AcRxClass* newAcRxClass(const ACHAR* className, const ACHAR* parentClassName, int proxyFlags = 0,
                        AcRxPseudoConstructor pseudoConstructor = nullptr,
                        const ACHAR* dxfName = nullptr, const ACHAR* appName = nullptr);
// The class of that name, or null.
AcRxClass* acrxFindAcRxClass(const ACHAR* className);
// The class whose DXF name is `dxfName` (case-insensitive), or null.
AcRxClass* acrxFindAcRxClassByDxfName(const ACHAR* dxfName);
// Removes the class from the registry and deletes it.
void deleteAcRxClass(AcRxClass* pClassObj);
// Links every registered class to its parent; false when some parent is not registered.
bool acrxBuildClassHierarchy();
// Prints the formatted message to standard error and ends the process.
[[noreturn]] void acrx_abort(const ACHAR* format, ...);

// A dictionary of named run-time objects; the system registry is one. Entries are not owned.
class AcRxDictionary : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcRxDictionary);
  AcRxDictionary();
  ~AcRxDictionary() override;
  AcRxObject* at(const ACHAR* key) const;
  // Stores `obj` under `key`; returns the object stored there before, or null.
  AcRxObject* atPut(const ACHAR* key, AcRxObject* obj);
  AcRxObject* remove(const ACHAR* key);
  bool has(const ACHAR* key) const;
  std::size_t numEntries() const;

 private:
  struct Impl;
  Impl* impl_;
};

// The system registry: "AcEditor" (host/ap), "ACAD_REGISTERED_COMMANDS" (host/ed).
AcRxDictionary* acrxSysRegistry();
#define ACRX_COMMAND_DOCK ACRX_T("ACAD_REGISTERED_COMMANDS")

// Loads a shared library by name from the folder of the host's libraries (also tried: the name
// with ".so" for ".dbx"/".arx", and with a "lib" prefix), then sends it kInitAppMsg when it has an
// entry point. A module already loaded counts as success.
bool acrxLoadModule(const ACHAR* moduleName, bool printit, bool asCmd = false);
// Sends kUnloadAppMsg to a module loaded by acrxLoadModule and unloads it.
bool acrxUnloadModule(const ACHAR* moduleName, bool asCmd = false);
// Host use: the entry points the host knows of a loaded module (by its app id).
bool acrxUnlockApplication(void* appId);
bool acrxApplicationIsLocked(const ACHAR* modName);
bool acrxRegisterAppMDIAware(void* appId);
bool acrxIsAppMDIAware(void* appId);

// The host's heap, for objects that the host may delete.
void* acHeapAlloc(void* heap, std::size_t size);
void acHeapFree(void* heap, void* p);

// Host: text conversions between the platform's wide strings and UTF-8 (files, consoles).
std::string acrxToUtf8(const std::wstring& text);
std::wstring acrxFromUtf8(const std::string& text);
// Host: formats like swprintf (%s takes a wide string) into a std::wstring.
std::wstring acrxFormat(const ACHAR* format, va_list args);
