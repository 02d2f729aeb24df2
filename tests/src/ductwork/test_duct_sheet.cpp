// The picture sheet: one drawing with a duct for every feature of the plan picture, plotted to
// PNG and SVG (build/duct-sheet/, the PNG of dimension scale 48 is docs/duct-picture-sheet.png)
// and checked by what model space draws, at three dimension scales.
#include <cmath>
#include <filesystem>
#include <map>

#include "duct_test.h"

namespace {

struct Sample {
  const wchar_t* label;
  KvDuctFields fields;
};

// Each feature once, in rows of four cells 80 by 60 units: a plan duct of 60 (40 where a label
// follows it) or a riser, with its elevations and what sets it apart.
std::vector<Sample> Samples() {
  struct Row {
    const wchar_t* label;
    double dx, z0, z1;
    void (*set)(KvDuctFields&);
  };
  const Row rows[] = {
      {L"sloped 0 to 240", 60, 0, 240, [](KvDuctFields&) {}},
      {L"level 120", 60, 120, 120, [](KvDuctFields&) {}},
      {L"reversed", 60, 120, 120, [](KvDuctFields& f) { f.reverseArrows = true; }},
      {L"falling 240 to 60", 60, 240, 60, [](KvDuctFields&) {}},
      {L"lock W", 60, 96, 96, [](KvDuctFields& f) { f.bLockWidth = true; }},
      {L"lock D", 60, 96, 96, [](KvDuctFields& f) { f.bLockDepth = true; }},
      {L"lock S", 60, 96, 96, [](KvDuctFields& f) { f.bLockShape = true; }},
      {L"locks W D S", 60, 96, 96, [](KvDuctFields& f) { f.bLockWidth = f.bLockDepth = f.bLockShape = true; }},
      {L"locks, running west", 60, 96, 96,
       [](KvDuctFields& f) { std::swap(f.start, f.end), f.bLockWidth = f.bLockShape = true; }},
      {L"sized V", 60, 120, 120, [](KvDuctFields& f) { f.sizeFor = L"V"; }},
      {L"sized P", 60, 120, 120, [](KvDuctFields& f) { f.sizeFor = L"P"; }},
      {L"sized F", 60, 120, 120, [](KvDuctFields& f) { f.sizeFor = L"F"; }},
      {L"link to", 40, 120, 120, [](KvDuctFields& f) { f.dwgStart = true, f.linkedDrawing = L"LEVEL2", f.ixDuct = 12; }},
      {L"link from", 60, 120, 120, [](KvDuctFields& f) { f.dwgEnd = true, f.linkedDrawing = L"LEVEL1", f.ixDuct = 13; }},
      {L"hangers", 60, 120, 120, [](KvDuctFields& f) { f.hangerDistances = {10, 25, 40, 55, 70}; }},
      {L"hangers, second kind", 60, 120, 120, [](KvDuctFields& f) { f.hangerDistances = {-10, -30, -50}; }},
      {L"riser up", 0, 0, 120, [](KvDuctFields&) {}},
      {L"riser down", 0, 120, 0, [](KvDuctFields&) {}},
      {L"riser up, sized V", 0, 0, 120, [](KvDuctFields& f) { f.sizeFor = L"V"; }},
      {L"riser down, reversed", 0, 120, 0, [](KvDuctFields& f) { f.reverseArrows = true; }},
  };
  std::vector<Sample> out;
  for (int i = 0; i < static_cast<int>(std::size(rows)); ++i) {
    double x = (i % 4) * 80.0, y = -(i / 4) * 60.0;
    KvDuctFields f;
    f.start = {x, y, rows[i].z0};
    f.end = {x + rows[i].dx, y, rows[i].z1};
    rows[i].set(f);
    out.push_back({rows[i].label, f});
  }
  return out;
}

void Append(AcDbBlockTableRecord* ms, AcDbEntity* e) {
  ASSERT_EQ(ms->appendAcDbEntity(e), Acad::eOk);
  e->close();
}

void BuildSheet(AcDbDatabase& db, double dimscale) {
  db.setDimscale(dimscale);
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  for (const Sample& s : Samples()) {
    Append(ms, MakeDuct(s.fields));
    auto* label = new AcDbMText;
    label->setContents(s.label);
    label->setTextHeight(3.0);
    label->setLocation({s.fields.start.x < s.fields.end.x ? s.fields.start.x : s.fields.end.x, s.fields.start.y - 12, 0});
    Append(ms, label);
  }
  ms->close();
}

// What the sheet's ducts draw, by kind of primitive.
struct Tally {
  std::map<std::wstring, int> texts;
  int lines = 0, rings = 0;
};

Tally Capture(AcDbDatabase& db) {
  Tally t;
  AcGiCapture capture;
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  for (AcDbObjectId id : ms->entityIds()) {
    AcDbEntity* e = nullptr;
    if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
    if (KvDuct::cast(e)) capture.draw(e);
    e->close();
  }
  ms->close();
  for (const auto& p : capture.primitives()) {
    if (p.kind == AcGiCapturedPrimitive::Kind::Text) ++t.texts[p.text];
    else if (p.points.size() == 2) ++t.lines;
    else if (p.points.size() == 13) ++t.rings;
  }
  return t;
}

TEST(DuctSheet, EveryFeaturePlotsAtEachDimensionScale) {
  auto dir = std::filesystem::path(KV_BINARY_DIR) / "duct-sheet";
  std::filesystem::create_directories(dir);
  AcDbDatabase* saved = acdbHostApplicationServices()->workingDatabase();
  for (double dimscale : {12.0, 24.0, 48.0}) {
    SCOPED_TRACE(dimscale);
    AcDbDatabase db;
    acdbHostApplicationServices()->setWorkingDatabase(&db);
    BuildSheet(db, dimscale);
    Tally t = Capture(db);
    // Lock letters: W on two plain ducts and the westward one, D on two, S on three.
    const int repeats = 20;
    EXPECT_EQ(t.texts[L"W"], 3 * repeats);
    EXPECT_EQ(t.texts[L"D"], 2 * repeats);
    EXPECT_EQ(t.texts[L"S"], 3 * repeats);
    EXPECT_EQ(t.texts[L"V"], 1 + 2) << "a plan duct once, a riser at both ends";
    EXPECT_EQ(t.texts[L"P"], 1);
    EXPECT_EQ(t.texts[L"F"], 1);
    EXPECT_EQ(t.texts[L"To LEVEL2 (12)"], 1);
    EXPECT_EQ(t.texts[L"From LEVEL1 (13)"], 1);
    // Sizing circles on three plan ducts; risers: two end circles each, rings of dimscale / 24
    // (one while below 1), the sized riser's circle.
    int ringsOfRisingPlain = 1 + static_cast<int>(std::ceil(dimscale / 24.0 - 1.0));
    EXPECT_EQ(t.rings, 3 + 4 * 2 + 2 * ringsOfRisingPlain + 1);

    std::string name = "duct-sheet-" + std::to_string(static_cast<int>(dimscale));
    for (auto [format, ext] : {std::pair{AcGiPlotFormat::Png, ".png"}, {AcGiPlotFormat::Svg, ".svg"}}) {
      auto path = dir / (name + ext);
      ASSERT_EQ(acgiPlotModelSpace(&db, acrxFromUtf8(path.string()).c_str(), format, 1600), Acad::eOk);
      EXPECT_GT(std::filesystem::file_size(path), 1000u) << path;
    }
  }
  acdbHostApplicationServices()->setWorkingDatabase(saved);
}

}  // namespace
