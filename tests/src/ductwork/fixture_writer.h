// The writer of the duct fixtures, shared by the tests and the program that made the committed
// files (kv_duct_fixtures DIR).
#pragma once

#include <filesystem>
#include <vector>

#include "ductwork/KvDuct.h"

// One version past the newest the module reads: it must stay a proxy.
constexpr int kNewestFixtureVersion = KvDuct::kVersion + 1;

// The fields every fixture duct of that version was written with.
KvDuctFields FixtureFields(int version);
// The duct's own record in that version's layout (after the entity's fields).
Acad::ErrorStatus WriteDuctVersion(AcDbDwgFiler& f, const KvDuctFields& d, int version);
// The record of FixtureFields(version) alone.
std::vector<unsigned char> DuctVersionBytes(int version);
// kvduct-v1.bin ... and ducts-every-version.dwg in `dir`.
Acad::ErrorStatus WriteDuctFixtures(const std::filesystem::path& dir);
