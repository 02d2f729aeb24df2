// The writer of the room and leader fixtures, shared by the tests and the program that made the
// committed files (kv_room_fixtures DIR).
#pragma once

#include <filesystem>
#include <vector>

#include "rooms/rooms.h"

// The outline every fixture room was written with, in stored order.
std::vector<RoomPoint> FixtureOutline();
// The bytes of a room's own record (after the entity's fields): versions 1 and 2, version 2 of a
// room without an index, and a version newer than the module reads.
std::vector<unsigned char> RoomVersionBytes(int version);
std::vector<unsigned char> UnindexedRoomBytes();
// The bytes of a leader's own record of that version.
std::vector<unsigned char> LeaderVersionBytes(int version);
// room-v1.bin, room-v2.bin, room-v2-noindex.bin, room-v3.bin, leader-v1.bin, leader-v2.bin,
// leader-v3.bin in dir.
bool WriteRoomFixtures(const std::filesystem::path& dir);
