// Loading application modules by name from the folder of the host's libraries.
#include <dlfcn.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <vector>
#include <string>

#include "rx.h"

namespace {

using EntryPoint = AcRx::AppRetCode (*)(AcRx::AppMsgCode, void*);

struct LoadedModule {
  void* handle = nullptr;
  EntryPoint entry = nullptr;
};

std::map<std::wstring, LoadedModule>& modules() {
  static std::map<std::wstring, LoadedModule> m;
  return m;
}

std::set<void*>& mdiAware() {
  static std::set<void*> s;
  return s;
}

std::set<void*>& unlocked() {
  static std::set<void*> s;
  return s;
}

// The folder of this library: the host's outputs (kvhost, modules, libraries) sit together.
std::filesystem::path hostFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&hostFolder), &info) != 0 && info.dli_fname != nullptr)
    return std::filesystem::path(info.dli_fname).parent_path();
  return std::filesystem::current_path();
}

// Candidate file names for a module name as the platform spells it ("x.dbx", "x.arx").
std::vector<std::filesystem::path> candidates(const std::wstring& name) {
  std::filesystem::path given(acrxToUtf8(name));
  std::vector<std::filesystem::path> out;
  std::filesystem::path folder = given.has_parent_path() ? given.parent_path() : hostFolder();
  std::string file = given.filename().string();
  std::string stem = given.stem().string();
  out.push_back(folder / file);
  out.push_back(folder / (stem + ".so"));
  out.push_back(folder / ("lib" + stem + ".so"));
  return out;
}

}  // namespace

bool acrxLoadModule(const ACHAR* moduleName, bool printit, bool asCmd) {
  if (moduleName == nullptr || moduleName[0] == 0) return false;
  if (modules().count(moduleName) != 0) return true;
  for (const auto& path : candidates(moduleName)) {
    if (!std::filesystem::exists(path)) continue;
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (handle == nullptr) {
      std::fprintf(stderr, "kvhost: cannot load %s: %s\n", path.c_str(), dlerror());
      return false;
    }
    LoadedModule m{handle, reinterpret_cast<EntryPoint>(dlsym(handle, "acrxEntryPoint"))};
    modules().emplace(moduleName, m);
    if (m.entry != nullptr) m.entry(AcRx::kInitAppMsg, handle);
    if (printit) std::printf("\n%s loaded.", path.filename().c_str());
    return true;
  }
  if (printit) std::printf("\nUnable to load %s.", acrxToUtf8(moduleName).c_str());
  return false;
}

bool acrxUnloadModule(const ACHAR* moduleName, bool asCmd) {
  if (moduleName == nullptr) return false;
  auto it = modules().find(moduleName);
  if (it == modules().end()) return false;
  LoadedModule m = it->second;
  modules().erase(it);
  if (m.entry != nullptr) m.entry(AcRx::kUnloadAppMsg, m.handle);
  dlclose(m.handle);
  return true;
}

bool acrxUnlockApplication(void* appId) {
  unlocked().insert(appId);
  return true;
}

bool acrxApplicationIsLocked(const ACHAR* modName) {
  auto it = modName ? modules().find(modName) : modules().end();
  return it != modules().end() && unlocked().count(it->second.handle) == 0;
}

bool acrxRegisterAppMDIAware(void* appId) {
  mdiAware().insert(appId);
  return true;
}

bool acrxIsAppMDIAware(void* appId) { return mdiAware().count(appId) != 0; }
