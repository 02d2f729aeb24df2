// The module's entry point: start, drawing load and stop, each shielded from exceptions.
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <string>

#include "database/database.h"
#include "module/module.h"
#include "rx.h"

namespace {

const ACHAR* const kSolidLibrary = L"kv_kv-solid2019x64.dbx";

// Command groups of the maker's applications that may have been left on the command stack.
const ACHAR* const kCommandGroups[] = {L"KV_HVAC-DUCT_COMMANDS", L"KV_ELEC-COMMANDS",
                                       L"KV_BLDG-COMMANDS"};

std::wstring Widen(const char* text) {
  std::wstring wide;
  for (; text && *text; ++text) wide.push_back(static_cast<unsigned char>(*text));
  return wide;
}

void ModuleStart(void* appId) {
  // The module is linked against the solid library; loading it by name only registers it with
  // the host, so its answer changes nothing here.
  acrxLoadModule(kSolidLibrary, false, false);
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  acrxUnlockApplication(appId);
  acrxRegisterAppMDIAware(appId);
  SetDocumentRegistry(std::make_unique<kvDocumentRegistry>(&ConnectMarkedProject));
  if (hvacPerDocData* document = CurrentDocument(DocumentRegistry())) ConnectDocument(*document, false);
  RegisterEntityClasses();
  acrxBuildClassHierarchy();
}

void DrawingLoad() {
  acutPrintf(L"\nLoading Kelvane HVAC ARX %s", ModuleVersionText());
  RegisterLispFunctions(LispFunctionTable(), kLispFunctionCount, 0);
}

void ModuleStop() {
  SetDocumentRegistry(nullptr);
  for (const ACHAR* group : kCommandGroups) RemoveCommandGroup(group);
  UnregisterEntityClasses();
  acrxUnloadModule(kSolidLibrary);
}

}  // namespace

AcRx::AppRetCode Shielded(const std::function<void()>& action) {
  try {
    errno = 0;
    action();
    return AcRx::kRetOK;
  } catch (const std::exception& e) {
    acutPrintf(L"\nGeneral Error:  %s", Widen(e.what()).substr(0, 999).c_str());
  } catch (...) {
    int code = errno;
    if (code != 0)
      acutPrintf(L"\nSystem error %u.\n", static_cast<unsigned>(code));
    else
      acutPrintf(L"\nKelvane error.\nClosing AutoCAD and reopening it should fix this problem.\n"
                 L"If that doesn't work, try using the \"Database Utilities->Repair Database\" "
                 L"command.\n");
  }
  return AcRx::kRetError;
}

extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* appId) {
  switch (msg) {
    case AcRx::kInitAppMsg: return Shielded([appId] { ModuleStart(appId); });
    case AcRx::kUnloadAppMsg: return Shielded(ModuleStop);
    case AcRx::kLoadDwgMsg: return Shielded(DrawingLoad);
    default: return AcRx::kRetOK;
  }
}

extern "C" void* acrxGetApiVersion() {
  static char version[] = "kvhvac-arx 1";
  return version;
}
