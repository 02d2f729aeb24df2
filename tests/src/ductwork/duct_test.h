// Helpers shared by the duct tests: the class registered once, ducts made from fields, and
// reading a duct's own record from bytes.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "ductwork/KvDuct.h"

// A new duct (open for write, in no database) with these fields.
KvDuct* MakeDuct(const KvDuctFields& fields);
KvDuct* MakeDuct(const AcGePoint3d& start, const AcGePoint3d& end);
// Reads a duct from the bytes of its own record (the entity's fields are put in front).
Acad::ErrorStatus ReadDuctRecord(KvDuct& duct, const std::vector<unsigned char>& record);
std::vector<unsigned char> ReadFile(const std::filesystem::path& p);
std::filesystem::path FixtureDir();
std::filesystem::path TempDir();
