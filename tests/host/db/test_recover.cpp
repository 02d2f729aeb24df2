// Recovering damaged drawings: what opening refuses, recovery reads, with lost references
// cleared, damaged stretches skipped, and a result that saves and reads back unchanged.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <unistd.h>
#include <fstream>
#include <sstream>

#include "db.h"

namespace {

namespace fs = std::filesystem;

fs::path tempPath(const std::string& name) {
  // One folder per process: ctest runs the cases of this file side by side, and they share names.
  // The folder goes when the process ends.
  struct Folder {
    fs::path path = fs::temp_directory_path() / ("kv_db_recover_tests-" + std::to_string(getpid()));
    ~Folder() {
      std::error_code ignored;
      fs::remove_all(path, ignored);
    }
  };
  static const Folder folder;
  const fs::path& dir = folder.path;
  fs::create_directories(dir);
  return dir / name;
}

std::wstring w(const fs::path& p) { return acrxFromUtf8(p.string()); }

std::string slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void spill(const fs::path& p, const std::string& bytes) { std::ofstream(p, std::ios::binary | std::ios::trunc) << bytes; }

void append(AcDbDatabase& db, AcDbEntity* e) {
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  ASSERT_EQ(ms->appendAcDbEntity(e), Acad::eOk);
  e->close();
  ms->close();
}

// Layer DOOMED with a line on it, two more lines, and two texts whose contents are easy to find
// in the file's bytes.
std::string sampleDrawing() {
  AcDbDatabase db;
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  AcDbLayerTable* lt = nullptr;
  db.getLayerTable(lt, AcDb::kForWrite);
  auto* layer = new AcDbLayerTableRecord;
  layer->setName(L"DOOMED");
  lt->add(layer);
  layer->close();
  lt->close();
  auto* onDoomed = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0));
  onDoomed->setLayer(L"DOOMED");
  append(db, onDoomed);
  append(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(0, 1, 0)));
  for (const wchar_t* text : {L"FIRST-MARKER", L"SECOND-MARKER"}) {
    auto* t = new AcDbMText;
    t->setContents(text);
    t->setTextHeight(1);
    append(db, t);
  }
  append(db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 1, 0)));
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
  fs::path p = tempPath("sample.dwg");
  EXPECT_EQ(db.saveAs(w(p).c_str()), Acad::eOk);
  return slurp(p);
}

// Model space as "class@layer" lines, in order.
std::vector<std::string> modelSpace(AcDbDatabase& db) {
  std::vector<std::string> out;
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  for (AcDbObjectId id : ms->entityIds()) {
    AcDbEntity* e = nullptr;
    if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
    AcDbLayerTableRecord* layer = nullptr;
    std::string name = "?";
    if (acdbOpenObject(layer, e->layerId(), AcDb::kForRead) == Acad::eOk) {
      name = acrxToUtf8(layer->getName());
      layer->close();
    }
    out.push_back(acrxToUtf8(e->isA()->name()) + "@" + name);
    e->close();
  }
  ms->close();
  return out;
}

struct Recovered {
  Acad::ErrorStatus opened, recovered;
  AcDbRecoverReport report;
  std::vector<std::string> entities;
};

Recovered tryBoth(const std::string& bytes, const std::string& name) {
  fs::path p = tempPath(name);
  spill(p, bytes);
  Recovered r;
  AcDbDatabase plain(false, false);
  r.opened = plain.readDwgFile(w(p).c_str());
  AcDbDatabase db;
  r.recovered = acdbRecoverDwgFile(&db, w(p).c_str(), r.report);
  if (r.recovered != Acad::eOk) return r;
  r.entities = modelSpace(db);
  fs::path again = tempPath(name + ".saved.dwg");
  EXPECT_EQ(db.saveAs(w(again).c_str()), Acad::eOk);
  AcDbDatabase back(false, false);
  EXPECT_EQ(back.readDwgFile(w(again).c_str()), Acad::eOk) << "a recovered drawing opens normally once saved";
  EXPECT_EQ(modelSpace(back), r.entities) << "and keeps all it held";
  EXPECT_EQ(back.numObjects(), db.numObjects());
  return r;
}

// The string's length field in front of a text, set past the end of the file.
std::string withBrokenText(std::string bytes, const std::string& text) {
  std::size_t at = bytes.find(text);
  EXPECT_NE(at, std::string::npos);
  bytes.replace(at - 4, 4, "\xFF\xFF\xFF\x7F");
  return bytes;
}

bool mentions(const AcDbRecoverReport& r, const std::string& words) {
  for (const std::string& n : r.notes)
    if (n.find(words) != std::string::npos) return true;
  return false;
}

TEST(DbRecover, AnIntactDrawingComesBackWhole) {
  Recovered r = tryBoth(sampleDrawing(), "intact.dwg");
  EXPECT_EQ(r.opened, Acad::eOk);
  ASSERT_EQ(r.recovered, Acad::eOk);
  EXPECT_EQ(r.report.kept, r.report.records);
  EXPECT_EQ(r.report.dropped + r.report.referencesCleared + r.report.ownersRebuilt + r.report.bytesSkipped, 0u);
  EXPECT_EQ(r.entities, (std::vector<std::string>{"AcDbLine@DOOMED", "AcDbLine@0", "AcDbMText@0", "AcDbMText@0",
                                                  "AcDbLine@0"}));
}

// One object that does not read: opening refuses the drawing, recovery drops that object only.
TEST(DbRecover, AnUnreadableObjectIsDroppedAndTheRestKept) {
  Recovered r = tryBoth(withBrokenText(sampleDrawing(), "FIRST-MARKER"), "unreadable.dwg");
  EXPECT_NE(r.opened, Acad::eOk);
  ASSERT_EQ(r.recovered, Acad::eOk);
  EXPECT_EQ(r.report.dropped, 1u);
  EXPECT_EQ(r.report.kept, r.report.records - 1);
  EXPECT_TRUE(mentions(r.report, "(AcDbMText) dropped: it does not read")) << r.report.notes.front();
  EXPECT_EQ(r.entities, (std::vector<std::string>{"AcDbLine@DOOMED", "AcDbLine@0", "AcDbMText@0", "AcDbLine@0"}));
}

// A lost layer: the entity that referred to it stays, on layer 0.
TEST(DbRecover, AReferenceToALostObjectIsCleared) {
  Recovered r = tryBoth(withBrokenText(sampleDrawing(), "DOOMED"), "lostlayer.dwg");
  EXPECT_NE(r.opened, Acad::eOk);
  ASSERT_EQ(r.recovered, Acad::eOk);
  EXPECT_GE(r.report.referencesCleared, 1u);
  EXPECT_EQ(r.entities.front(), "AcDbLine@0");
  EXPECT_EQ(r.entities.size(), 5u);
}

// Model space itself lost: its entities are given the new drawing's model space as owner.
TEST(DbRecover, EntitiesWhoseBlockIsLostGoToModelSpace) {
  Recovered r = tryBoth(withBrokenText(sampleDrawing(), "*Model_Space"), "lostmodelspace.dwg");
  EXPECT_NE(r.opened, Acad::eOk);
  ASSERT_EQ(r.recovered, Acad::eOk);
  EXPECT_EQ(r.report.ownersRebuilt, 5u);
  EXPECT_TRUE(mentions(r.report, "had lost its owner: now in model space"));
  EXPECT_EQ(r.entities.size(), 5u);
}

// Garbage over a record's header and a cut-off end: the stretch is skipped to the next record
// that makes sense, and what comes before a cut is kept.
TEST(DbRecover, DamagedStretchesAreSkippedAndCutFilesKeepTheirStart) {
  std::string bytes = sampleDrawing();
  std::size_t at = bytes.find("SECOND-MARKER");
  std::string smashed = bytes;
  for (std::size_t i = at - 300; i < at - 20; ++i) smashed[i] = '\xAB';
  Recovered r = tryBoth(smashed, "smashed.dwg");
  EXPECT_NE(r.opened, Acad::eOk);
  ASSERT_EQ(r.recovered, Acad::eOk);
  EXPECT_GT(r.report.bytesSkipped, 0u);
  EXPECT_TRUE(mentions(r.report, "damaged bytes at offset"));
  EXPECT_EQ(r.entities.back(), "AcDbLine@0") << "the record after the damage is found again";
  EXPECT_LT(r.entities.size(), 5u);

  Recovered cut = tryBoth(bytes.substr(0, at), "cut.dwg");
  EXPECT_NE(cut.opened, Acad::eOk);
  ASSERT_EQ(cut.recovered, Acad::eOk);
  EXPECT_EQ(cut.entities, (std::vector<std::string>{"AcDbLine@DOOMED", "AcDbLine@0", "AcDbMText@0"}));
}

// The class table's count inflated: the table is found by its entries, and nothing is lost.
TEST(DbRecover, AClassTableWithADamagedCountIsReadByItsEntries) {
  std::string bytes = sampleDrawing();
  std::size_t at = bytes.find("AcDbBlockTable");
  ASSERT_NE(at, std::string::npos);
  bytes.replace(at - 8, 4, "\xFF\xFF\x00\x00");
  Recovered r = tryBoth(bytes, "classcount.dwg");
  EXPECT_NE(r.opened, Acad::eOk);
  ASSERT_EQ(r.recovered, Acad::eOk);
  EXPECT_EQ(r.report.dropped, 0u);
  EXPECT_EQ(r.entities.size(), 5u);
}

TEST(DbRecover, WhatIsNoDrawingIsRefused) {
  EXPECT_EQ(tryBoth("not a drawing at all, just some text that is long enough to pass for one" + std::string(100, 'x'),
                    "text.dwg").recovered,
            Acad::eInvalidDwgVersion);
  EXPECT_EQ(tryBoth(sampleDrawing().substr(0, 200), "header-only.dwg").recovered, Acad::eInvalidDwgVersion)
      << "a drawing cut inside its class table has nothing to give";
  AcDbDatabase db;
  AcDbRecoverReport report;
  EXPECT_EQ(acdbRecoverDwgFile(&db, w(tempPath("missing.dwg")).c_str(), report), Acad::eFileNotFound);
}

}  // namespace
