// Built-in commands run through acedCommandS (ZOOM, REGEN, REDRAW) and the registered commands
// of modules, by group.
#include <cstdarg>
#include <cwctype>
#include <map>
#include <vector>

#include "edimpl.h"

namespace {

struct Arg {
  int type = RTNONE;
  std::wstring text;
  double values[3] = {0, 0, 0};
};

std::vector<Arg> readArgs(int rtype, va_list args) {
  std::vector<Arg> out;
  for (int type = rtype; type != RTNONE && type != 0; type = va_arg(args, int)) {
    Arg a;
    a.type = type;
    switch (type) {
      case RTSTR: {
        const ACHAR* s = va_arg(args, const ACHAR*);
        a.text = s ? s : L"";
        break;
      }
      case RTREAL:
      case RTANG: a.values[0] = va_arg(args, double); break;
      case RTSHORT: a.values[0] = va_arg(args, int); break;
      case RTLONG: a.values[0] = va_arg(args, Adesk::Int32); break;
      case RTPOINT:
      case RT3DPOINT: {
        const double* p = va_arg(args, const double*);
        for (int i = 0; i < (type == RTPOINT ? 2 : 3); ++i) a.values[i] = p ? p[i] : 0.0;
        break;
      }
      default: a.type = -1; return out.push_back(a), out;
    }
    out.push_back(a);
  }
  return out;
}

// "_.ZOOM" -> "ZOOM": the prefixes for the global name and the built-in version drop out.
std::wstring bare(const std::wstring& s) {
  std::wstring out = s;
  while (!out.empty() && (out[0] == L'_' || out[0] == L'.')) out.erase(0, 1);
  for (auto& c : out) c = static_cast<wchar_t>(std::towupper(c));
  return out;
}

bool drawingExtents(double& minX, double& minY, double& maxX, double& maxY) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  if (db == nullptr) return false;
  db->updateExt();
  AcGePoint3d a = db->extmin(), b = db->extmax();
  minX = a.x, minY = a.y, maxX = b.x, maxY = b.y;
  return true;
}

int zoom(const std::vector<Arg>& args) {
  std::wstring opt = args.size() > 1 && args[1].type == RTSTR ? bare(args[1].text) : L"";
  double minX = 0, minY = 0, maxX = 0, maxY = 0;
  if (opt == L"P") {
    if (!kved::popView()) kvads::consoleWrite("\nNo previous view saved.");
    return RTNORM;
  }
  if (opt == L"E" || opt == L"A") {
    if (!drawingExtents(minX, minY, maxX, maxY)) return RTERROR;
  } else if (opt == L"V") {  // as far out as the drawing needs: extents and the current view
    double vx0, vy0, vx1, vy1;
    kved::viewBox(vx0, vy0, vx1, vy1);
    if (!drawingExtents(minX, minY, maxX, maxY)) return RTERROR;
    minX = std::min(minX, vx0), minY = std::min(minY, vy0), maxX = std::max(maxX, vx1), maxY = std::max(maxY, vy1);
  } else if (opt == L"W" && args.size() > 3) {
    AcGePoint3d a = kved::toWcs({args[2].values[0], args[2].values[1], 0});
    AcGePoint3d b = kved::toWcs({args[3].values[0], args[3].values[1], 0});
    minX = std::min(a.x, b.x), maxX = std::max(a.x, b.x), minY = std::min(a.y, b.y), maxY = std::max(a.y, b.y);
  } else if (opt == L"C" && args.size() > 3) {
    AcGePoint3d c = kved::toWcs({args[2].values[0], args[2].values[1], 0});
    double h = args[3].values[0] / 2;
    minX = c.x - h, maxX = c.x + h, minY = c.y - h, maxY = c.y + h;
  } else {
    kvads::consoleWrite("\nkvhost: ZOOM option \"" + acrxToUtf8(opt) + "\" is not supported.");
    return RTERROR;
  }
  kved::pushView();
  kved::showBox(minX, minY, maxX, maxY);
  return RTNORM;
}

}  // namespace

int acedCommandS(int rtype, ...) {
  va_list args;
  va_start(args, rtype);
  std::vector<Arg> list = readArgs(rtype, args);
  va_end(args);
  if (list.empty() || list[0].type != RTSTR) return RTERROR;
  for (const Arg& a : list)
    if (a.type < 0) return RTERROR;
  std::wstring name = bare(list[0].text);
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->commandWillStart(name.c_str()); });
  int result = RTERROR;
  if (name == L"ZOOM") {
    result = zoom(list);
  } else if (name == L"REGEN" || name == L"REDRAW" || name == L"REGENALL") {
    result = RTNORM;
  } else if (AcRxFunctionPtr fn = acedRegCmds()->lookupGlobalCmd(name.c_str())) {
    fn();
    result = RTNORM;
  } else {
    kvads::consoleWrite("\nUnknown command \"" + acrxToUtf8(name) + "\".");
  }
  acedEditorPtr()->forEachReactor([&](AcEditorReactor* r) { r->commandEnded(name.c_str()); });
  return result;
}

// ---- the command stack ----

struct AcEdCommandStack::Impl {
  struct Command {
    std::wstring local;
    Adesk::Int32 flags = 0;
    AcRxFunctionPtr fn = nullptr;
  };
  std::map<std::wstring, std::map<std::wstring, Command>> groups;  // upper-case names
};

AcRxClass* AcEdCommandStack::desc() {
  static AcRxClass* cls = newAcRxClass(L"AcEdCommandStack", L"AcRxObject", 0, 0, 0, nullptr, L"", L"");
  return cls;
}
AcRxClass* AcEdCommandStack::isA() const { return AcEdCommandStack::desc(); }
AcEdCommandStack::AcEdCommandStack() : impl_(new Impl) {}
AcEdCommandStack::~AcEdCommandStack() { delete impl_; }

Acad::ErrorStatus AcEdCommandStack::addCommand(const ACHAR* group, const ACHAR* global, const ACHAR* local,
                                               Adesk::Int32 flags, AcRxFunctionPtr fn) {
  if (group == nullptr || global == nullptr || fn == nullptr) return Acad::eInvalidInput;
  auto& cmds = impl_->groups[bare(group)];
  if (cmds.count(bare(global)) != 0) return Acad::eDuplicateKey;
  cmds[bare(global)] = {local ? local : global, flags, fn};
  return Acad::eOk;
}

Acad::ErrorStatus AcEdCommandStack::removeCmd(const ACHAR* group, const ACHAR* global) {
  if (group == nullptr || global == nullptr) return Acad::eInvalidInput;
  auto g = impl_->groups.find(bare(group));
  if (g == impl_->groups.end() || g->second.erase(bare(global)) == 0) return Acad::eKeyNotFound;
  return Acad::eOk;
}

Acad::ErrorStatus AcEdCommandStack::removeGroup(const ACHAR* groupName) {
  if (groupName == nullptr) return Acad::eInvalidInput;
  return impl_->groups.erase(bare(groupName)) == 0 ? Acad::eKeyNotFound : Acad::eOk;
}

AcRxFunctionPtr AcEdCommandStack::lookupGlobalCmd(const ACHAR* cmdName) const {
  if (cmdName == nullptr) return nullptr;
  for (const auto& [group, cmds] : impl_->groups) {
    auto it = cmds.find(bare(cmdName));
    if (it != cmds.end()) return it->second.fn;
  }
  return nullptr;
}

bool AcEdCommandStack::hasGroup(const ACHAR* groupName) const {
  return groupName != nullptr && impl_->groups.count(bare(groupName)) != 0;
}

AcEdCommandStack* acedRegCmds() {
  static AcEdCommandStack stack;
  return &stack;
}

namespace {
const bool registered = [] {
  acrxSysRegistry()->atPut(ACRX_COMMAND_DOCK, acedRegCmds());
  return true;
}();
}  // namespace
