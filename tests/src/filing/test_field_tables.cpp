// Field tables beyond what the duct's filing shows: a version's bytes written again exactly,
// blocks that only a stand-in writer can write, versions below 1, and DXF integers of any width
// with extended data left to the object, object ids (erased ones only for undo), and records that
// end early.
#include <gtest/gtest.h>

#include "filing/filing.h"

namespace {

struct Sample {
  std::int32_t key = 7;
  bool flag = true;
  std::wstring name = L"none";
  std::int32_t fromBlock = 0;
};

Acad::ErrorStatus ReadBlock(AcDbDwgFiler* f, Sample& s) { return f->readInt32(&s.fromBlock); }

// Version 1 had a block after the key; version 2 replaced it by the flag and the name.
const kvfiling::FieldTable<Sample>& Table() {
  using S = Sample;
  static const kvfiling::FieldTable<S> t(
      2, {kvfiling::int32<S>("key", &S::key, 1, kvfiling::kCurrent, 90), kvfiling::block<S>("old", &ReadBlock, 1, 1),
          kvfiling::boolean<S>("flag", &S::flag, 2, kvfiling::kCurrent, 290),
          kvfiling::text<S>("name", &S::name, 2, kvfiling::kCurrent, 1)});
  return t;
}

TEST(FieldTable, OldVersionsNeedTheirBlockWriterAndReadBackToDefaults) {
  Sample s{42, false, L"Zoë", 0};
  AcDbDwgMemoryFiler refused;
  EXPECT_EQ(Table().dwgOut(&refused, s, 1), Acad::eNotImplementedYet);
  AcDbDwgMemoryFiler old;
  ASSERT_EQ(Table().dwgOut(&old, s, 1, [](AcDbDwgFiler* f, const Sample&) { return f->writeInt32(9); }), Acad::eOk);
  EXPECT_EQ(old.buffer().size(), 12u) << "version, key, block";
  old.rewind();
  ASSERT_EQ(Table().dwgIn(&old, s), Acad::eOk);
  EXPECT_EQ(s.fromBlock, 9);
  EXPECT_TRUE(s.flag) << "fields the version lacks take their defaults";
  EXPECT_EQ(s.name, L"none");

  AcDbDwgMemoryFiler below;
  below.writeInt32(0);
  below.writeInt32(5);
  below.rewind();
  EXPECT_EQ(Table().dwgIn(&below, s), Acad::eOk);
  EXPECT_EQ(s.key, 7) << "a version below 1 reads nothing";
}

TEST(FieldTable, DxfTakesIntegersOfAnyWidthAndStopsAtExtendedData) {
  AcDbDxfMemoryFiler f;
  ASSERT_EQ(Table().dxfOut(&f, Sample{42, true, L"a", 3}), Acad::eOk);
  ASSERT_EQ(f.groups().size(), 3u) << "no block in DXF";
  EXPECT_EQ(f.groups()[1].code, 290);
  f.groups()[1].integer = 0;
  AcDbDxfMemoryFiler::Group other, app;
  other.code = 62;
  app.code = 1001;
  app.text = L"KELVANE";
  f.groups().insert(f.groups().begin(), other);
  f.groups().push_back(app);
  f.rewind();
  Sample back;
  ASSERT_EQ(Table().dxfIn(&f, back), Acad::eOk);
  EXPECT_EQ(back.key, 42);
  EXPECT_FALSE(back.flag);
  EXPECT_EQ(back.name, L"a");
  EXPECT_TRUE(f.atExtendedData());
}

struct Linked {
  std::int32_t key = 0;
  AcGePoint3d at;
  AcDbObjectId target;
};

// A record that ends after its key when the key is negative, as an unfinished object does.
const kvfiling::FieldTable<Linked>& LinkedTable() {
  static const kvfiling::FieldTable<Linked> t(
      1, {kvfiling::endingIf(kvfiling::int32<Linked>("key", &Linked::key, 1),
                             +[](const Linked& l, int) { return l.key < 0; }),
          kvfiling::point<Linked>("at", &Linked::at, 1), kvfiling::objectId<Linked>("target", &Linked::target, 1)});
  return t;
}

TEST(FieldTable, ErasedIdsGoOnlyToUndoAndRecordsEndWhereTheTableSays) {
  AcDbDatabase db;
  AcDbObjectId lineId;
  auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0));
  {
    AcDbObjectPointer<AcDbBlockTableRecord> ms(db.modelSpaceId(), AcDb::kForWrite);
    ASSERT_EQ(ms->appendAcDbEntity(lineId, line), Acad::eOk);
  }
  line->erase();
  line->close();
  const Linked rec{3, {1, 2, 3}, lineId};
  AcDbDwgMemoryFiler file(&db, AcDb::kFileFiler), undo(&db, AcDb::kUndoFiler);
  ASSERT_EQ(LinkedTable().dwgOut(&file, rec), Acad::eOk);
  ASSERT_EQ(LinkedTable().dwgOut(&undo, rec), Acad::eOk);
  EXPECT_LT(file.buffer().size(), undo.buffer().size()) << "the file keeps the flag alone";
  undo.rewind();
  Linked back;
  ASSERT_EQ(LinkedTable().dwgIn(&undo, back), Acad::eOk);
  EXPECT_EQ(back.target, lineId);

  // Read where no object has that handle: the id stays null and the read goes on.
  AcDbDatabase other(false, true);
  AcDbDwgMemoryFiler elsewhere(&other, AcDb::kFileFiler);
  elsewhere.setCreateIdsOnRead(false);
  elsewhere.setBuffer(undo.buffer());
  back.target = lineId;
  EXPECT_EQ(LinkedTable().dwgIn(&elsewhere, back), Acad::eOk);
  EXPECT_TRUE(back.target.isNull());

  AcDbDwgMemoryFiler unfinished;
  ASSERT_EQ(LinkedTable().dwgOut(&unfinished, Linked{-1, {}, lineId}), Acad::eOk);
  EXPECT_EQ(unfinished.buffer().size(), 8u) << "version and key";
}

}  // namespace
