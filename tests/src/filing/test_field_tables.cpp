// Field tables: which fields each version files, defaults for fields a version lacks, newer
// versions refused for a proxy, stops at the first failure, write limits, and DXF both ways.
#include <gtest/gtest.h>

#include "filing/filing.h"

namespace {

struct Sample {
  std::int32_t key = 7;
  bool flag = true;
  std::wstring name = L"none";
  AcGePoint3d at;
  double weight = 1.5;
  std::vector<double> marks;
  std::int32_t blockValue = 0;
};

Acad::ErrorStatus ReadBlock(AcDbDwgFiler* f, Sample& s) {
  Adesk::Int32 a = 0, b = 0;
  Acad::ErrorStatus es = f->readInt32(&a);
  if (es == Acad::eOk) es = f->readInt32(&b);
  s.blockValue = a * 100 + b;
  return es;
}

// Version 1 had key and flag; 2 a block of two numbers; 3 added name and point and lost the
// block; 4 the weight and marks, which the writer cuts to 3.
const kvfiling::FieldTable<Sample>& Table() {
  using S = Sample;
  static const kvfiling::FieldTable<S> t(
      4, {
             kvfiling::int32<S>("key", &S::key, 1, kvfiling::kCurrent, 90),
             kvfiling::boolean<S>("flag", &S::flag, 1, kvfiling::kCurrent, 91),
             kvfiling::block<S>("old", &ReadBlock, 2, 2),
             kvfiling::text<S>("name", &S::name, 3, kvfiling::kCurrent, 1),
             kvfiling::point<S>("at", &S::at, 3, kvfiling::kCurrent, 10),
             kvfiling::real<S>("weight", &S::weight, 4, kvfiling::kCurrent, 40),
             kvfiling::doubles<S>("marks", &S::marks, 4, kvfiling::kCurrent, 3),
         });
  return t;
}

Sample Filled() {
  Sample s;
  s.key = 42;
  s.flag = false;
  s.name = L"Zoë";
  s.at = {1, 2, 3};
  s.weight = -2.25;
  s.marks = {1, 2, 3, 4, 5};
  return s;
}

TEST(FieldTable, EachVersionWritesItsFieldsInOrderAndReadsBack) {
  // The bytes of every version as an old writer made them, call by call.
  struct Case {
    int version;
    std::function<void(AcDbDwgFiler&)> write;
    std::function<void(const Sample&)> check;
  };
  std::vector<Case> cases = {
      {1, [](AcDbDwgFiler& f) { f.writeInt32(1); f.writeInt32(42); f.writeBool(false); },
       [](const Sample& s) { EXPECT_EQ(s.key, 42); EXPECT_FALSE(s.flag); EXPECT_EQ(s.name, L"none"); EXPECT_TRUE(s.marks.empty()); }},
      {2, [](AcDbDwgFiler& f) { f.writeInt32(2); f.writeInt32(42); f.writeBool(true); f.writeInt32(3); f.writeInt32(4); },
       [](const Sample& s) { EXPECT_EQ(s.blockValue, 304); EXPECT_EQ(s.weight, 1.5); }},
      {3, [](AcDbDwgFiler& f) { f.writeInt32(3); f.writeInt32(42); f.writeBool(false); f.writeString(L"Zoë"); f.writePoint3d({1, 2, 3}); },
       [](const Sample& s) { EXPECT_EQ(s.name, L"Zoë"); EXPECT_EQ(s.at, AcGePoint3d(1, 2, 3)); EXPECT_EQ(s.weight, 1.5); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    AcDbDwgMemoryFiler old;
    c.write(old);
    // Reading over a filled record: what the version lacks goes back to its default.
    Sample s = Filled();
    s.blockValue = 0;
    old.rewind();
    int version = 0;
    ASSERT_EQ(Table().dwgIn(&old, s, &version), Acad::eOk);
    EXPECT_EQ(version, c.version);
    EXPECT_EQ(old.remaining(), 0u) << "every byte of the version is read";
    c.check(s);
    if (c.version != 2) {
      // The table writes that version again byte for byte.
      AcDbDwgMemoryFiler again;
      ASSERT_EQ(Table().dwgOut(&again, s, c.version), Acad::eOk);
      EXPECT_EQ(again.buffer(), old.buffer());
    }
  }
}

TEST(FieldTable, CurrentVersionCutsTheListOnWritingOnly) {
  AcDbDwgMemoryFiler f;
  ASSERT_EQ(Table().dwgOut(&f, Filled()), Acad::eOk);
  // version, key, flag, name (count + 4 UTF-8 bytes), point, weight, count, 3 doubles
  EXPECT_EQ(f.buffer().size(), 4u + 4 + 1 + 4 + 4 + 24 + 8 + 4 + 24);
  f.rewind();
  Sample back;
  ASSERT_EQ(Table().dwgIn(&f, back), Acad::eOk);
  EXPECT_EQ(back.marks, (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(back.name, L"Zoë");

  // A reader takes as many entries as the count says, more than the writer's limit included.
  AcDbDwgMemoryFiler longer;
  longer.writeInt32(4);
  longer.writeInt32(1);
  longer.writeBool(true);
  longer.writeString(L"");
  longer.writePoint3d({});
  longer.writeDouble(0);
  longer.writeInt32(5);
  for (int i = 0; i < 5; ++i) longer.writeDouble(i);
  longer.rewind();
  ASSERT_EQ(Table().dwgIn(&longer, back), Acad::eOk);
  EXPECT_EQ(back.marks.size(), 5u);
}

TEST(FieldTable, NewerVersionsAskForAProxyAndDamagedDataStops) {
  AcDbDwgMemoryFiler newer;
  newer.writeInt32(5);
  newer.writeInt32(99);
  newer.rewind();
  Sample s;
  EXPECT_EQ(Table().dwgIn(&newer, s), Acad::eMakeMeProxy);
  EXPECT_EQ(s.key, 7) << "nothing read after the version";

  AcDbDwgMemoryFiler none;
  none.writeInt32(0);
  none.writeInt32(99);
  none.rewind();
  EXPECT_EQ(Table().dwgIn(&none, s), Acad::eOk);
  EXPECT_EQ(s.key, 7) << "a version below 1 reads nothing more";

  // Cut inside the list: the reads that succeeded stay, the first failure is the answer.
  AcDbDwgMemoryFiler full;
  Table().dwgOut(&full, Filled());
  std::vector<unsigned char> cut(full.buffer().begin(), full.buffer().end() - 12);
  AcDbDwgMemoryFiler damaged;
  damaged.setBuffer(cut);
  Sample d;
  EXPECT_EQ(Table().dwgIn(&damaged, d), Acad::eEndOfFile);
  EXPECT_EQ(d.key, 42);
  EXPECT_EQ(d.marks, (std::vector<double>{1}));

  // Writing an old version with a block needs a writer for it.
  AcDbDwgMemoryFiler w;
  EXPECT_EQ(Table().dwgOut(&w, Filled(), 2), Acad::eNotImplementedYet);
  AcDbDwgMemoryFiler w2;
  auto block = [](AcDbDwgFiler* f, const Sample&) { f->writeInt32(1); return f->writeInt32(2); };
  ASSERT_EQ(Table().dwgOut(&w2, Filled(), 2, block), Acad::eOk);
  w2.rewind();
  ASSERT_EQ(Table().dwgIn(&w2, d), Acad::eOk);
  EXPECT_EQ(d.blockValue, 102);
}

TEST(FieldTable, DxfCarriesTheGroupedFieldsAndPassesOverOthers) {
  AcDbDxfMemoryFiler f;
  ASSERT_EQ(Table().dxfOut(&f, Filled()), Acad::eOk);
  std::vector<short> codes;
  for (const auto& g : f.groups()) codes.push_back(g.code);
  EXPECT_EQ(codes, (std::vector<short>{90, 91, 1, 10, 40})) << "table order, lists and blocks stay out";
  EXPECT_EQ(f.groups()[1].integer, 0) << "a bool travels as an integer";

  // An unknown group in between, a nonzero flag other than 1, and extended data after.
  AcDbDxfMemoryFiler::Group unknown;
  unknown.code = 62;
  unknown.integer = 3;
  f.groups().insert(f.groups().begin() + 2, unknown);
  f.groups()[1].integer = 5;
  AcDbDxfMemoryFiler::Group app;
  app.code = 1001;
  app.text = L"KELVANE";
  f.groups().push_back(app);
  f.rewind();
  Sample back;
  ASSERT_EQ(Table().dxfIn(&f, back), Acad::eOk);
  EXPECT_EQ(back.key, 42);
  EXPECT_TRUE(back.flag);
  EXPECT_EQ(back.name, L"Zoë");
  EXPECT_EQ(back.at, AcGePoint3d(1, 2, 3));
  EXPECT_EQ(back.weight, -2.25);
  EXPECT_TRUE(back.marks.empty());
  EXPECT_TRUE(f.atExtendedData()) << "extended data is left for the object";
}

}  // namespace
