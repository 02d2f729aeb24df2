// kv_duct_fixtures DIR: writes the duct fixtures into DIR (tests/src/ductwork/fixtures holds the
// committed ones; write them again only when a new version joins).
#include <cstdio>

#include "fixture_writer.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: kv_duct_fixtures DIR\n");
    return 2;
  }
  KvDuct::rxInit();
  acrxBuildClassHierarchy();
  Acad::ErrorStatus es = WriteDuctFixtures(argv[1]);
  if (es != Acad::eOk) std::fprintf(stderr, "kv_duct_fixtures: status %d\n", static_cast<int>(es));
  return es == Acad::eOk ? 0 : 1;
}
