// (kvhost-recover path): what can be read of a damaged drawing, opened as a new drawing beside
// it, with a report of what was dropped or repaired on the command line.
#include <filesystem>

#include "edimpl.h"
#include "lisp.h"

namespace {

using kvlisp::Args;
using kvlisp::Environment;
using kvlisp::Value;

// "<folder>/<name>_recovered.dwg", numbered when a drawing of that name is already open, so a
// second recovery never replaces the first one's unsaved work.
std::wstring recoveredName(const std::filesystem::path& damaged) {
  for (int n = 1;; ++n) {
    std::string suffix = n == 1 ? "_recovered" : "_recovered" + std::to_string(n);
    std::filesystem::path p = damaged.parent_path() / (damaged.stem().string() + suffix + ".dwg");
    std::wstring name = acrxFromUtf8(p.string());
    bool open = false;
    AcApDocumentIterator* it = acDocManager->newAcApDocumentIterator();
    for (; !it->done() && !open; it->step()) open = name == it->document()->fileName();
    delete it;
    if (!open) return name;
  }
}

void printReport(const std::string& path, const AcDbRecoverReport& r) {
  std::string text = "\nRecovered " + path + ": " + std::to_string(r.kept) + " of " + std::to_string(r.records) +
                     " objects kept, " + std::to_string(r.dropped) + " dropped, " + std::to_string(r.referencesCleared) +
                     " references cleared, " + std::to_string(r.ownersRebuilt) + " owners rebuilt, " +
                     std::to_string(r.bytesSkipped) + " damaged bytes skipped.";
  for (const std::string& note : r.notes) text += "\n  " + note;
  kvads::consoleWrite(text);
}

Value recover(Environment&, Args args) {
  std::filesystem::path path = std::filesystem::absolute(kvlisp::argString(args, 0)).lexically_normal();
  auto db = std::make_unique<AcDbDatabase>(true, false);
  AcDbRecoverReport report;
  Acad::ErrorStatus es = acdbRecoverDwgFile(db.get(), acrxFromUtf8(path.string()).c_str(), report);
  if (es != Acad::eOk) {
    kvads::consoleWrite("\nCannot recover " + path.string() + " (status " + std::to_string(static_cast<int>(es)) + ").");
    return Value();
  }
  printReport(path.string(), report);
  std::wstring name = recoveredName(path);
  if (acDocManager->adoptDocument(name.c_str(), std::move(db)) == nullptr) return Value();
  return Value::string(acrxToUtf8(name));
}

const kvlisp::NativeDef kFunctions[] = {
    {"kvhost-recover", "(kvhost-recover path)",
     "Reads what it can of a damaged drawing and opens it as a new drawing; its name, nil when nothing could be read.",
     recover},
};

const kvlisp::NativeRegistrar registrar(kFunctions);

}  // namespace
