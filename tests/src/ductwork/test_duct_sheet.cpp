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

KvDuctFields Duct(double x, double y, double z0, double dx, double dy, double z1) {
  KvDuctFields f;
  f.start = {x, y, z0};
  f.end = {x + dx, y + dy, z1};
  return f;
}

// Each feature once, in rows of four, 80 units apart.
std::vector<Sample> Samples() {
  std::vector<Sample> s;
  auto at = [&](const wchar_t* label, KvDuctFields f) { s.push_back({label, std::move(f)}); };
  auto cell = [](int i) { return std::pair<double, double>{(i % 4) * 80.0, -(i / 4) * 60.0}; };
  int i = 0;
  auto next = [&](double dx, double dy, double z0, double z1) {
    auto [x, y] = cell(i++);
    return Duct(x, y, z0, dx, dy, z1);
  };
  at(L"sloped 0 to 240", next(60, 0, 0, 240));
  at(L"level 120", next(60, 0, 120, 120));
  KvDuctFields rev = next(60, 0, 120, 120);
  rev.reverseArrows = true;
  at(L"reversed", rev);
  at(L"falling 240 to 60", next(60, 0, 240, 60));
  for (auto [label, w, d, sh] : {std::tuple{L"lock W", true, false, false}, {L"lock D", false, true, false},
                                 {L"lock S", false, false, true}, {L"locks W D S", true, true, true}}) {
    KvDuctFields f = next(60, 0, 96, 96);
    f.bLockWidth = w, f.bLockDepth = d, f.bLockShape = sh;
    at(label, f);
  }
  KvDuctFields westward = next(60, 0, 96, 96);
  std::swap(westward.start, westward.end);
  westward.bLockWidth = westward.bLockShape = true;
  at(L"locks, running west", westward);
  for (const wchar_t* letter : {L"V", L"P", L"F"}) {
    KvDuctFields f = next(60, 0, 120, 120);
    f.sizeFor = letter;
    at(letter[0] == L'V' ? L"sized V" : letter[0] == L'P' ? L"sized P" : L"sized F", f);
  }
  KvDuctFields to = next(40, 0, 120, 120);  // room for its label before the next cell
  to.dwgStart = true, to.linkedDrawing = L"LEVEL2", to.ixDuct = 12;
  at(L"link to", to);
  KvDuctFields from = next(60, 0, 120, 120);
  from.dwgEnd = true, from.linkedDrawing = L"LEVEL1", from.ixDuct = 13;
  at(L"link from", from);
  KvDuctFields hung = next(60, 0, 120, 120);
  hung.hangerDistances = {10, 25, 40, 55, 70};
  at(L"hangers", hung);
  KvDuctFields crossed = next(60, 0, 120, 120);
  crossed.hangerDistances = {-10, -30, -50};
  at(L"hangers, second kind", crossed);
  at(L"riser up", next(0, 0, 0, 120));
  at(L"riser down", next(0, 0, 120, 0));
  KvDuctFields upSized = next(0, 0, 0, 120);
  upSized.sizeFor = L"V";
  at(L"riser up, sized V", upSized);
  KvDuctFields downRev = next(0, 0, 120, 0);
  downRev.reverseArrows = true;
  at(L"riser down, reversed", downRev);
  return s;
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
