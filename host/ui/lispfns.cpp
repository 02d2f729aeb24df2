// LISP functions of the windowing layer: a window's picture as PNG.
#include <stdexcept>

#include "impl.h"
#include "lisp.h"

namespace {

// (kvhost-window-png title path): the open window with that title, or the active one when the
// title is nil or "", written to path. Answers the path.
kvlisp::Value windowPng(kvlisp::Environment&, kvlisp::Args args) {
  std::wstring title = args[0].isNil() ? L"" : kvui::fromUtf8(kvlisp::argString(args, 0));
  const std::string& path = kvlisp::argString(args, 1);
  HWND h = title.empty() ? GetActiveWindow() : kvui::FindTopLevelWindow(title.c_str());
  if (!h) throw kvlisp::Error(title.empty() ? "kvhost-window-png: no window is open" : "kvhost-window-png: no window titled \"" + kvui::toUtf8(title) + "\"");
  try {
    kvui::RenderWindowToPng(h, path);
  } catch (const std::runtime_error& e) {
    throw kvlisp::Error(e.what());
  }
  return kvlisp::Value::string(path);
}

const kvlisp::NativeDef kFunctions[] = {
    {"kvhost-window-png", "(kvhost-window-png title path)", "Writes the window with that title (nil: the active one) as a PNG file.", windowPng},
};
kvlisp::NativeRegistrar registrar(kFunctions);

}  // namespace
