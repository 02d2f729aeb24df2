// The plan picture, checked by capturing what a duct draws: band, arrow, hangers, lock letters,
// sizing letter, link labels and riser symbols, at several dimension scales.
#include <cmath>
#include <memory>

#include "duct_test.h"

namespace {

using Prim = AcGiCapturedPrimitive;
constexpr double kTol = 1e-6;

struct Picture {
  std::vector<Prim> lines;   // polylines of two points
  std::vector<Prim> rings;   // polylines of thirteen points
  std::vector<Prim> texts;
  std::size_t total = 0;
};

// Draws one duct the way the host does, in a drawing with that dimension scale.
Picture Draw(const KvDuctFields& f, double dimscale = 1.0, AcGiRegenType type = kAcGiStandardDisplay) {
  AcDbDatabase db;
  db.setDimscale(dimscale);
  AcDbDatabase* saved = acdbHostApplicationServices()->workingDatabase();
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  std::unique_ptr<KvDuct> duct(MakeDuct(f));
  AcGiCapture capture(type);
  capture.draw(duct.get());
  acdbHostApplicationServices()->setWorkingDatabase(saved);
  Picture p;
  for (const Prim& prim : capture.primitives()) {
    ++p.total;
    if (prim.kind == Prim::Kind::Text) p.texts.push_back(prim);
    else if (prim.points.size() == 2) p.lines.push_back(prim);
    else if (prim.points.size() == 13) p.rings.push_back(prim);
  }
  return p;
}

KvDuctFields Plan(const AcGePoint3d& s, const AcGePoint3d& e) {
  KvDuctFields f;
  f.start = s;
  f.end = e;
  return f;
}

void ExpectAt(const AcGePoint3d& p, double x, double y, double z) {
  EXPECT_NEAR(p.x, x, kTol);
  EXPECT_NEAR(p.y, y, kTol);
  EXPECT_NEAR(p.z, z, kTol);
}

double RingRadius(const Prim& ring) { return ring.points[0].distanceTo(ring.points[6]) / 2.0; }

TEST(DuctPicture, BandWidensWithElevationAndTheArrowPointsDownstream) {
  // Level at 0: the five band lines lie on each other.
  Picture flat = Draw(Plan({0, 0, 0}, {100, 0, 0}));
  ASSERT_EQ(flat.total, 7u) << "five band lines and two arrow wings";
  for (int i = 0; i < 5; ++i) {
    ExpectAt(flat.lines[i].points[0], 0, 0, 0);
    ExpectAt(flat.lines[i].points[1], 100, 0, 0);
  }
  EXPECT_EQ(flat.lines[0].marker, 1);

  // From 0 to 240: nothing at the start, half width 2 at the end; centre, half, full on one
  // side, then half and full on the other.
  Picture sloped = Draw(Plan({0, 0, 0}, {100, 0, 240}), 8.0);
  const double ends[] = {0, -1, -2, 1, 2};
  for (int i = 0; i < 5; ++i) {
    ExpectAt(sloped.lines[i].points[0], 0, 0, 0);
    ExpectAt(sloped.lines[i].points[1], 100, ends[i], 240);
  }
  // The wings leave the tips backwards at the arrow's half angle, one tick long (dimscale / 8),
  // falling as the duct rises.
  const Prim& wing = sloped.lines[5];
  ExpectAt(wing.points[0], 100, 2, 240);
  ExpectAt(wing.points[1], 100 - std::cos(0.39269908125), 2 + std::sin(0.39269908125), 240 - 2.4);
  ExpectAt(sloped.lines[6].points[0], 100, -2, 240);

  // Reversed: the arrow stands at the start and opens the other way (its tips still at the end's
  // half width).
  KvDuctFields rev = Plan({0, 0, 0}, {100, 0, 240});
  rev.reverseArrows = true;
  Picture back = Draw(rev, 8.0);
  ExpectAt(back.lines[5].points[0], 0, 2, 0);
  EXPECT_NEAR(back.lines[5].points[1].x, std::cos(0.39269908125), kTol);
}

TEST(DuctPicture, PlanLengthOfOneThousandthIsStillARiser) {
  Picture riser = Draw(Plan({0, 0, 0}, {0.001, 0, 10}));
  EXPECT_EQ(riser.rings.size(), 3u) << "both ends and one ring: it rises";
  Picture plan = Draw(Plan({0, 0, 0}, {0.0011, 0, 10}));
  EXPECT_TRUE(plan.rings.empty());
  EXPECT_EQ(plan.lines.size(), 7u);
}

TEST(DuctPicture, SizingLetterStandsInItsCircleAndTheLineBeginsBeyondIt) {
  for (auto [letter, shift] : {std::pair{L"V", 0.4}, {L"P", 0.25}, {L"Q", 0.25}}) {
    KvDuctFields f = Plan({0, 0, 0}, {0, 100, 0});
    f.sizeFor = letter;
    Picture p = Draw(f, 48.0);
    const double mark = 2.4;
    ASSERT_EQ(p.rings.size(), 1u);
    ExpectAt(p.rings[0].points[0], mark, mark, 0);  // centre (0, mark) plus the radius along X
    EXPECT_NEAR(RingRadius(p.rings[0]), mark, kTol);
    ASSERT_EQ(p.texts.size(), 1u);
    EXPECT_EQ(p.texts[0].text, letter);
    ExpectAt(p.texts[0].points[0], -mark * shift, mark / 2, 0);
    EXPECT_NEAR(p.texts[0].height, mark, kTol);
    EXPECT_NEAR(p.texts[0].widthFactor, 0.8, kTol);
    ExpectAt(p.lines[0].points[0], 0, 2 * mark, 0);
  }
  Picture none = Draw(Plan({0, 0, 0}, {0, 100, 0}), 48.0);
  EXPECT_TRUE(none.rings.empty());
  EXPECT_TRUE(none.texts.empty());
  ExpectAt(none.lines[0].points[0], 0, 0, 0);
}

TEST(DuctPicture, LockLettersRepeatAlongTheDuctAndNeverReadUpsideDown) {
  KvDuctFields f = Plan({0, 0, 0}, {100, 0, 0});
  f.bLockWidth = f.bLockDepth = f.bLockShape = true;
  Picture p = Draw(f);
  ASSERT_EQ(p.texts.size(), 60u) << "twenty repeats at most, three lines each";
  EXPECT_EQ(p.texts[0].text, L"W");
  EXPECT_EQ(p.texts[1].text, L"D");
  EXPECT_EQ(p.texts[2].text, L"S");
  EXPECT_NEAR(p.texts[0].height, 0.025, kTol);
  EXPECT_EQ(p.texts[0].color, 256);
  EXPECT_NEAR(p.texts[0].direction.x, 1.0, kTol);
  // The letters' own line stops one tick short of the end, where the band takes over.
  ExpectAt(p.lines[0].points[1], 99.875, 0, 0);
  ExpectAt(p.lines[1].points[0], 99.875, 0, 0);

  KvDuctFields west = Plan({100, 0, 0}, {0, 0, 0});
  west.bLockDepth = true;
  Picture w = Draw(west);
  ASSERT_FALSE(w.texts.empty());
  EXPECT_NEAR(w.texts[0].direction.x, 1.0, kTol) << "reversed so it reads left to right";
  KvDuctFields north = Plan({0, 0, 0}, {0, 100, 0});
  north.bLockDepth = true;
  Picture n = Draw(north);
  EXPECT_NEAR(n.texts[0].direction.y, 1.0, kTol) << "at 90 degrees the letters run up the page";

  // Shorter than a tick: the letters run to the end, the band shrinks to a point there.
  KvDuctFields shortDuct = Plan({0, 0, 0}, {0.1, 0, 0});
  shortDuct.bLockWidth = true;
  Picture s = Draw(shortDuct);
  EXPECT_GE(s.texts.size(), 1u);
  ExpectAt(s.lines[1].points[0], 0.1, 0, 0);
  ExpectAt(s.lines[1].points[1], 0.1, 0, 0);

  // A dimension scale of 0 gives letters of no height, and so as many repeats as allowed.
  EXPECT_EQ(Draw(f, 0.0).texts.size(), 60u);

  // A render pass goes through the viewport and shows no letters; a hide pass shows nothing.
  Picture rendered = Draw(f, 1.0, kAcGiRenderCommand);
  EXPECT_TRUE(rendered.texts.empty());
  ASSERT_EQ(rendered.lines.size(), 7u);
  EXPECT_TRUE(rendered.lines[0].viewport);
  EXPECT_EQ(Draw(f, 1.0, kAcGiHideOrShadeCommand).total, 0u);
}

TEST(DuctPicture, HangersLinksAndInvisibleDucts) {
  KvDuctFields f = Plan({0, 0, 0}, {100, 0, 0});
  f.hangerDistances = {30, -12, 100, 150};
  Picture p = Draw(f, 8.0);
  ASSERT_EQ(p.lines.size(), 7u + 3u) << "one line, one narrow X, nothing at or past the end";
  ExpectAt(p.lines[7].points[0], 30, 0.25, 0);
  ExpectAt(p.lines[7].points[1], 30, -0.25, 0);
  ExpectAt(p.lines[8].points[0], 12.025, 0.25, 0);
  ExpectAt(p.lines[8].points[1], 11.975, -0.25, 0);
  ExpectAt(p.lines[9].points[0], 11.975, 0.25, 0);

  f.linkedDrawing = L"LEVEL2.dwg";
  f.ixDuct = 17;
  f.dwgStart = f.dwgEnd = true;
  Picture both = Draw(f);
  ASSERT_EQ(both.texts.size(), 1u);
  EXPECT_EQ(both.texts[0].text, L"To LEVEL2.dwg (17)");
  ExpectAt(both.texts[0].points[0], 100, 0, 0);
  f.dwgStart = false;
  Picture from = Draw(f);
  EXPECT_EQ(from.texts[0].text, L"From LEVEL2.dwg (17)");
  ExpectAt(from.texts[0].points[0], 0, 0, 0);

  f.visible = false;
  EXPECT_EQ(Draw(f).total, 0u);
  f.end = f.start;
  EXPECT_EQ(Draw(f).total, 0u);
}

TEST(DuctPicture, RisersShowRingsWhenRisingAndAnXOtherwise) {
  KvDuctFields up = Plan({10, 10, 0}, {10, 10, 120});
  Picture rising = Draw(up, 48.0);
  // Circles of radius 6 at both ends, the line, then rings of 2 and 1 round the start.
  ASSERT_EQ(rising.rings.size(), 4u);
  EXPECT_NEAR(RingRadius(rising.rings[0]), 6.0, kTol);
  EXPECT_NEAR(rising.rings[1].points[0].z, 120.0, kTol);
  EXPECT_NEAR(RingRadius(rising.rings[2]), 2.0, kTol);
  EXPECT_NEAR(RingRadius(rising.rings[3]), 1.0, kTol);
  EXPECT_EQ(rising.lines.size(), 1u);

  KvDuctFields down = Plan({10, 10, 120}, {10, 10, 0});
  Picture falling = Draw(down, 48.0);
  ASSERT_EQ(falling.lines.size(), 5u) << "the riser line and the four arms of the X";
  ExpectAt(falling.lines[1].points[0], 10 + 6 * std::cos(0.7853981625), 10 + 6 * std::sin(0.7853981625), 120);
  EXPECT_NEAR(falling.lines[1].points[1].distanceTo(AcGePoint3d(10, 10, 120)), 0.0075, kTol);

  down.reverseArrows = true;
  EXPECT_EQ(Draw(down, 48.0).rings.size(), 4u) << "reversed, a falling duct shows as rising";
  KvDuctFields level = Plan({10, 10, 50}, {10, 10, 50});
  EXPECT_EQ(Draw(level, 48.0).lines.size(), 5u) << "level counts as not rising";

  up.sizeFor = L"V";
  Picture sized = Draw(up, 48.0);
  ASSERT_EQ(sized.rings.size(), 3u);
  EXPECT_NEAR(RingRadius(sized.rings[2]), 2.4, kTol);
  ASSERT_EQ(sized.texts.size(), 2u);
  ExpectAt(sized.texts[0].points[0], 10 - 2.4 * 0.4, 10 - 1.2, 0);
  ExpectAt(sized.texts[1].points[0], 10 - 2.4 * 0.4, 10 - 1.2, 120);
}

}  // namespace
