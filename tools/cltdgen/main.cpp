// cltdgen: computes the CLTD/SCL tables from the published reference data, writes them as C++
// source, and prints the fidelity report.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "cltdmodel.h"

namespace {

// Writes text to path, leaving an identical file untouched so the build does not recompile it.
void writeIfChanged(const std::string& path, const std::string& text) {
  {
    std::ifstream in(path, std::ios::binary);
    if (in) {
      std::string old((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      if (old == text) return;
    }
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out) throw std::runtime_error(path + ": cannot write");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 4) {
    std::fprintf(stderr, "usage: cltdgen DATA_DIR OUTPUT.cpp [REPORT.md]\n");
    return 2;
  }
  try {
    const cltd::Published data = cltd::loadPublished(argv[1]);
    const cltd::Generated g = cltd::generate(data);
    writeIfChanged(argv[2], cltd::emitSource(g));
    const std::string report = "# Load tables: fidelity report\n\n" + g.report;
    if (argc == 4) writeIfChanged(argv[3], report);
    std::cout << report;
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "cltdgen: %s\n", e.what());
    return 1;
  }
}
