// Writes the duct fixtures of every filed version. Only the current version has a writer in the
// module, so the older ones are written here call by call from their format tables: the bytes
// of one duct per version, and one drawing that holds a duct of each version and one of a
// version newer than the module knows.
#include "fixture_writer.h"

#include <fstream>

#include "ductwork/KvDuct.h"

namespace {

// The old block of the oldest readable generation: the kind of each of its 51 reads
// (I int, S string, D double), with a value derived from its place.
constexpr const char* kOldBlockKinds = "IISIISSSIIISSDDSSSSSISDDDIDDDDDDIIDDDSSDDDDDDDDDSID";

void WriteOldBlock(AcDbDwgFiler& f) {
  for (int i = 0; kOldBlockKinds[i] != 0; ++i) {
    int n = i + 1;
    switch (kOldBlockKinds[i]) {
      case 'I': f.writeInt32(n == 1 ? 33 : n * 10); break;
      case 'D': f.writeDouble(n + 0.5); break;
      case 'S':
        if (n == 22) f.writeString(L"V");
        else if (n == 38) f.writeString(L"first.dwg");
        else if (n == 39) f.writeString(L"second.dwg");
        else f.writeString(L"s" + std::to_wstring(n));
        break;
    }
  }
}

}  // namespace

KvDuctFields FixtureFields(int version) {
  KvDuctFields f;
  f.start = {10.0 * version, 5.0, 96.0 + version};
  f.end = {10.0 * version + 120.0, 65.0, 120.0 + version};
  f.ixDuct = 100 + version;
  f.legacyFlag = false;
  f.visible = version != 2;
  f.legacyPoint = {1, 2, 3};
  f.dwgStart = version == 2 || version == 3;
  f.dwgEnd = version >= 3;
  f.sizeFor = L"P";
  f.linkedDrawing = L"linked-" + std::to_wstring(version) + L".dwg";
  f.hangerDistances = {12.0, -24.0, 400.0};
  f.reverseArrows = true;
  f.bLockWidth = true;
  f.bLockShape = true;
  return f;
}

Acad::ErrorStatus WriteDuctVersion(AcDbDwgFiler& f, const KvDuctFields& d, int version) {
  f.writeInt32(version);
  if (version > KvDuct::kVersion) {
    // A later generation: its layout is unknown here, only that it starts with its version.
    f.writePoint3d(d.start);
    f.writeString(L"fields of a later version");
    return f.filerStatus();
  }
  f.writePoint3d(d.start);
  f.writePoint3d(d.end);
  f.writeInt32(d.ixDuct);
  f.writeBool(d.legacyFlag);
  f.writeBool(d.visible);
  f.writePoint3d(d.legacyPoint);
  if (version >= 2) {
    f.writeBool(d.dwgStart);
    f.writeBool(d.dwgEnd);
  }
  if (version == 3) WriteOldBlock(f);
  if (version >= 4) {
    f.writeString(d.sizeFor);
    f.writeString(d.linkedDrawing);
  }
  if (version >= 5) {
    f.writeInt32(static_cast<Adesk::Int32>(d.hangerDistances.size()));
    for (double h : d.hangerDistances) f.writeDouble(h);
    f.writeBool(d.reverseArrows);
  }
  if (version >= 6) {
    f.writeBool(d.bLockWidth);
    f.writeBool(d.bLockDepth);
    f.writeBool(d.bLockShape);
  }
  return f.filerStatus();
}

namespace {

// A duct that files itself in a chosen version; it reports the duct's class, so the drawing
// records it as a duct.
class VersionedDuct : public KvDuct {
 public:
  explicit VersionedDuct(int version) : version_(version) {}
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override {
    if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
    return WriteDuctVersion(*filer, FixtureFields(version_), version_);
  }

 private:
  int version_;
};

void Write(const std::filesystem::path& p, const std::vector<unsigned char>& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

std::vector<unsigned char> DuctVersionBytes(int version) {
  AcDbDwgMemoryFiler f;
  WriteDuctVersion(f, FixtureFields(version), version);
  return f.buffer();
}

Acad::ErrorStatus WriteDuctFixtures(const std::filesystem::path& dir) {
  std::filesystem::create_directories(dir);
  for (int v = 1; v <= kNewestFixtureVersion; ++v)
    Write(dir / ("kvduct-v" + std::to_string(v) + ".bin"), DuctVersionBytes(v));
  AcDbDatabase db;
  AcDbDatabase* working = acdbHostApplicationServices()->workingDatabase();
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  AcDbBlockTableRecord* ms = nullptr;
  Acad::ErrorStatus es = acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite);
  for (int v = 1; v <= kNewestFixtureVersion && es == Acad::eOk; ++v) {
    auto* duct = new VersionedDuct(v);
    duct->setStart(FixtureFields(v).start, true);
    duct->setEnd(FixtureFields(v).end, true);
    if ((es = ms->appendAcDbEntity(duct)) == Acad::eOk) duct->close();
    else delete duct;
  }
  if (ms) ms->close();
  if (es == Acad::eOk) es = db.saveAs(acrxFromUtf8((dir / "ducts-every-version.dwg").string()).c_str());
  acdbHostApplicationServices()->setWorkingDatabase(working);
  return es;
}
