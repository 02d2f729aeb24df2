// Helpers shared by the duct tests.
#include "duct_test.h"

#include <unistd.h>

#include <fstream>

namespace {

struct Registered {
  Registered() {
    KvDuct::rxInit();
    acrxBuildClassHierarchy();
  }
};
const Registered registered;

}  // namespace

KvDuct* MakeDuct(const KvDuctFields& fields) {
  auto* d = new KvDuct;
  d->fieldsForWrite() = fields;
  return d;
}

KvDuct* MakeDuct(const AcGePoint3d& start, const AcGePoint3d& end) {
  KvDuctFields f;
  f.start = start;
  f.end = end;
  return MakeDuct(f);
}

Acad::ErrorStatus ReadDuctRecord(KvDuct& duct, const std::vector<unsigned char>& record) {
  AcDbDwgMemoryFiler f;
  AcDbLine plain;
  plain.AcDbEntity::dwgOutFields(&f);
  f.writeBytes(record.data(), record.size());
  f.rewind();
  return duct.dwgInFields(&f);
}

std::vector<unsigned char> ReadFile(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::filesystem::path FixtureDir() { return std::filesystem::path(KV_SOURCE_DIR) / "tests/src/ductwork/fixtures"; }

std::filesystem::path TempDir() {
  auto dir = std::filesystem::temp_directory_path() / ("kv_duct_tests_" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  return dir;
}
