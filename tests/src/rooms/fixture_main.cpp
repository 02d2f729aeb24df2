// kv_room_fixtures DIR: writes the room and leader fixtures into DIR (tests/src/rooms/fixtures holds
// the committed ones; write them again only when a new version joins).
#include <cstdio>

#include "fixture_writer.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: kv_room_fixtures DIR\n");
    return 2;
  }
  hvacRoom::rxInit();
  KVLeader::rxInit();
  acrxBuildClassHierarchy();
  return WriteRoomFixtures(argv[1]) ? 0 : 1;
}
