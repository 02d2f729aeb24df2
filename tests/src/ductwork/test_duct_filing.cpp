// Filing of ducts: every version's reader against the committed fixtures, the records of the
// oldest drawings, the hanger limit, drawings that reopen identical with newer ducts kept as
// proxies, and DXF.
#include <algorithm>
#include <cstring>
#include <filesystem>

#include "duct_test.h"
#include "fixture_writer.h"

namespace {

// What the reader of each version makes of the fixture duct of that version: fields the
// version lacks keep their defaults, version 1 clears both link flags, and version 3 takes its
// sizing letter and linked drawing from the old block.
KvDuctFields Expected(int v) {
  KvDuctFields written = FixtureFields(v), e;
  e.start = written.start;
  e.end = written.end;
  e.ixDuct = written.ixDuct;
  e.legacyFlag = written.legacyFlag;
  e.visible = written.visible;
  e.legacyPoint = written.legacyPoint;
  if (v >= 2) {
    e.dwgStart = written.dwgStart;
    e.dwgEnd = written.dwgEnd;
  }
  if (v == 3) {
    e.sizeFor = L"V";
    e.linkedDrawing = L"second.dwg";
  }
  if (v >= 4) {
    e.sizeFor = written.sizeFor;
    e.linkedDrawing = written.linkedDrawing;
  }
  if (v >= 5) {
    e.hangerDistances = written.hangerDistances;
    e.reverseArrows = written.reverseArrows;
  }
  if (v >= 6) {
    e.bLockWidth = written.bLockWidth;
    e.bLockDepth = written.bLockDepth;
    e.bLockShape = written.bLockShape;
  }
  return e;
}

// What travels through DXF: the ends with their elevations, the index, the link flags and the
// two texts; everything else comes back as a new duct has it.
KvDuctFields DxfPart(const KvDuctFields& f) {
  KvDuctFields d;
  d.start = f.start, d.end = f.end, d.ixDuct = f.ixDuct, d.dwgStart = f.dwgStart, d.dwgEnd = f.dwgEnd;
  d.sizeFor = f.sizeFor, d.linkedDrawing = f.linkedDrawing;
  return d;
}

std::filesystem::path Fixture(int v) { return FixtureDir() / ("kvduct-v" + std::to_string(v) + ".bin"); }

TEST(DuctFiling, EveryVersionReadsAsItsReaderDefinesIt) {
  for (int v = 1; v <= KvDuct::kVersion; ++v) {
    SCOPED_TRACE(v);
    std::vector<unsigned char> committed = ReadFile(Fixture(v));
    ASSERT_FALSE(committed.empty()) << Fixture(v);
    EXPECT_EQ(committed, DuctVersionBytes(v)) << "the fixture writer still writes the committed bytes";
    // Read over a duct whose fields all differ from the defaults, so a field a version lacks
    // shows whether it went back to its default.
    KvDuctFields busy = FixtureFields(6);
    busy.sizeFor = L"Q";
    busy.bLockDepth = true;
    std::unique_ptr<KvDuct> duct(MakeDuct(busy));
    ASSERT_EQ(ReadDuctRecord(*duct, committed), Acad::eOk);
    EXPECT_TRUE(duct->fields() == Expected(v));
  }
  std::unique_ptr<KvDuct> newer(new KvDuct);
  EXPECT_EQ(ReadDuctRecord(*newer, ReadFile(Fixture(kNewestFixtureVersion))), Acad::eMakeMeProxy);
}

TEST(DuctFiling, OldBlockFillsAKeyedRecordAtTheHeadOfTheList) {
  ClearOldDuctRecords();
  std::vector<unsigned char> bytes = ReadFile(Fixture(3));
  std::unique_ptr<KvDuct> first(new KvDuct);
  ASSERT_EQ(ReadDuctRecord(*first, bytes), Acad::eOk);
  // The same duct read again, its first value changed: both records stay, the later is found.
  std::vector<unsigned char> later = bytes;
  const std::size_t firstValue = 4 + 24 + 24 + 4 + 1 + 1 + 24 + 1 + 1 + 4;
  Adesk::Int32 changed = 999;
  std::memcpy(later.data() + firstValue, &changed, 4);
  std::unique_ptr<KvDuct> second(new KvDuct);
  ASSERT_EQ(ReadDuctRecord(*second, later), Acad::eOk);
  ASSERT_EQ(OldDuctRecords().size(), 2u);
  const oldDuctFields* found = FindOldDuctRecord(33, L"FIRST.DWG");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found, OldDuctRecords().front());
  EXPECT_EQ(FindOldDuctRecord(33, L"first.dwg"), nullptr) << "keys are kept in upper case and compared exactly";
  EXPECT_EQ(FindOldDuctRecord(34, L"FIRST.DWG"), nullptr);

  // Each position as the fixture wrote it: read n gives n x 10, n + 0.5 or "sn"; reads 5, 8,
  // 11, 27 to 37 are dropped, 38 and 39 name the drawings, and position 22 was never filed.
  using V = oldDuctFields::Value;
  const std::pair<int, V> spots[] = {{1, 999}, {2, L"s3"}, {3, 40}, {4, L"s6"}, {6, 90}, {8, L"s12"},
                                     {10, 14.5}, {16, L"s20"}, {17, 210}, {18, L"V"}, {21, 25.5},
                                     {22, L""}, {23, 260}, {24, 40.5}, {32, 48.5}, {33, L"s49"},
                                     {34, 500}, {35, 51.5}};
  ASSERT_EQ(found->values.size(), 35u);
  for (const auto& [position, value] : spots) EXPECT_EQ(found->values[position - 1], value) << position;

  // dwgEnd alone keys the record by the second drawing and links the first.
  KvDuctFields endOnly = FixtureFields(3);
  endOnly.dwgStart = false;
  AcDbDwgMemoryFiler f;
  WriteDuctVersion(f, endOnly, 3);
  std::unique_ptr<KvDuct> third(new KvDuct);
  ASSERT_EQ(ReadDuctRecord(*third, f.buffer()), Acad::eOk);
  EXPECT_NE(FindOldDuctRecord(33, L"SECOND.DWG"), nullptr);
  EXPECT_EQ(third->fields().linkedDrawing, L"first.dwg");

  // Cut short inside the block: the partly filled record stays, the failure is the answer.
  std::vector<unsigned char> cut(bytes.begin(), bytes.begin() + static_cast<long>(firstValue) + 10);
  std::unique_ptr<KvDuct> broken(new KvDuct);
  EXPECT_EQ(ReadDuctRecord(*broken, cut), Acad::eEndOfFile);
  EXPECT_EQ(OldDuctRecords().size(), 4u);
  EXPECT_EQ(std::get<std::int32_t>(OldDuctRecords().front()->values[0]), 20);
  ClearOldDuctRecords();
}

TEST(DuctFiling, OnlyTheFirstHundredHangersAreFiled) {
  KvDuctFields f;
  for (int i = 0; i < 150; ++i) f.hangerDistances.push_back(i);
  std::unique_ptr<KvDuct> duct(MakeDuct(f));
  AcDbDwgMemoryFiler out;
  ASSERT_EQ(duct->dwgOutFields(&out), Acad::eOk);
  out.rewind();
  std::unique_ptr<KvDuct> back(new KvDuct);
  ASSERT_EQ(back->dwgInFields(&out), Acad::eOk);
  ASSERT_EQ(back->fields().hangerDistances.size(), 100u);
  EXPECT_EQ(back->fields().hangerDistances.back(), 99.0);
  EXPECT_EQ(duct->fields().hangerDistances.size(), 150u) << "the duct itself keeps them all";
}

// Every KvDuct and proxy of a drawing, in handle order.
struct Contents {
  std::vector<KvDuctFields> ducts;
  std::vector<std::vector<unsigned char>> proxies;
};

Contents Read(const std::filesystem::path& path, AcDbDatabase& db) {
  Contents c;
  EXPECT_EQ(db.readDwgFile(acrxFromUtf8(path.string()).c_str()), Acad::eOk);
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  for (AcDbObjectId id : ms->entityIds()) {
    AcDbEntity* e = nullptr;
    if (acdbOpenObject(e, id, AcDb::kForRead) != Acad::eOk) continue;
    if (auto* d = KvDuct::cast(e)) c.ducts.push_back(d->fields());
    if (auto* p = AcDbProxyEntity::cast(e)) {
      EXPECT_STREQ(p->originalClassName(), L"KvDuct");
      EXPECT_EQ(p->graphics().size(), 1u) << "the proxy keeps its picture: the centre line";
      c.proxies.push_back(p->data());
    }
    e->close();
  }
  ms->close();
  return c;
}

TEST(DuctFiling, DrawingOfEveryVersionReopensIdenticalAndKeepsTheNewerAsAProxy) {
  ClearOldDuctRecords();
  std::filesystem::path committed = FixtureDir() / "ducts-every-version.dwg";
  AcDbDatabase first(false, true);
  Contents before = Read(committed, first);
  ASSERT_EQ(before.ducts.size(), static_cast<std::size_t>(KvDuct::kVersion));
  ASSERT_EQ(before.proxies.size(), 1u);
  for (int v = 1; v <= KvDuct::kVersion; ++v) {
    SCOPED_TRACE(v);
    EXPECT_TRUE(before.ducts[v - 1] == Expected(v));
  }
  EXPECT_EQ(OldDuctRecords().size(), 1u) << "the version 3 duct left its record";

  auto dir = TempDir();
  ASSERT_EQ(first.saveAs(acrxFromUtf8((dir / "once.dwg").string()).c_str()), Acad::eOk);
  AcDbDatabase second(false, true);
  Contents after = Read(dir / "once.dwg", second);
  ASSERT_EQ(after.ducts.size(), before.ducts.size());
  EXPECT_TRUE(after.ducts == before.ducts);
  EXPECT_EQ(after.proxies, before.proxies) << "the newer duct is written back unchanged";
  ASSERT_EQ(second.saveAs(acrxFromUtf8((dir / "twice.dwg").string()).c_str()), Acad::eOk);
  EXPECT_EQ(ReadFile(dir / "twice.dwg"), ReadFile(dir / "once.dwg")) << "a saved drawing saves the same";

  // The writer still makes the committed drawing.
  ASSERT_EQ(WriteDuctFixtures(dir / "fresh"), Acad::eOk);
  EXPECT_EQ(ReadFile(dir / "fresh" / "ducts-every-version.dwg"), ReadFile(committed));
  std::filesystem::remove_all(dir);
  ClearOldDuctRecords();
}

TEST(DuctFiling, DxfCarriesEndsIndexFlagsAndTexts) {
  KvDuctFields f = FixtureFields(6);
  f.dwgStart = true;
  std::unique_ptr<KvDuct> duct(MakeDuct(f));
  AcDbDxfMemoryFiler out;
  ASSERT_EQ(duct->dxfOutFields(&out), Acad::eOk);
  auto& groups = out.groups();
  auto marker = std::find_if(groups.begin(), groups.end(), [](const auto& g) { return g.code == 100 && g.text == L"KvDuct"; });
  ASSERT_NE(marker, groups.end());
  std::vector<short> codes;
  for (auto it = marker + 1; it != groups.end(); ++it) codes.push_back(it->code);
  EXPECT_EQ(codes, (std::vector<short>{10, 11, 90, 91, 92, 1, 2}));
  EXPECT_EQ((marker + 4)->integer, 1);

  out.rewind();
  std::unique_ptr<KvDuct> back(new KvDuct);
  ASSERT_EQ(back->dxfInFields(&out), Acad::eOk);
  EXPECT_TRUE(back->fields() == DxfPart(f));

  // Another class's data where the duct's subclass should be.
  AcDbDxfMemoryFiler wrong;
  AcDbLine line({0, 0, 0}, {1, 1, 1});
  line.dxfOutFields(&wrong);
  wrong.rewind();
  std::unique_ptr<KvDuct> refused(new KvDuct);
  EXPECT_EQ(refused->dxfInFields(&wrong), Acad::eBadDxfSequence);
}

}  // namespace

namespace {

// Runs a script of the independent DXF reader; its output is the answer.
std::string Python(const std::string& script, const std::filesystem::path& out, int& status) {
  std::string cmd = "/usr/bin/python3 -c \"" + script + "\" > '" + out.string() + "' 2>&1";
  status = std::system(cmd.c_str());
  std::vector<unsigned char> text = ReadFile(out);
  return std::string(text.begin(), text.end());
}

TEST(DuctDxf, ExportPassesTheIndependentAuditAndImportBringsDuctsBackWithElevations) {
  auto dir = TempDir();
  auto dxf = dir / "ducts.dxf";
  std::vector<KvDuctFields> made;
  {
    AcDbDatabase db;
    AcDbDatabase* saved = acdbHostApplicationServices()->workingDatabase();
    acdbHostApplicationServices()->setWorkingDatabase(&db);
    AcDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    for (int v = 1; v <= KvDuct::kVersion; ++v) {
      KvDuctFields f = FixtureFields(v);
      f.sizeFor = v % 2 ? L"V" : L"X";
      made.push_back(f);
      KvDuct* d = MakeDuct(f);
      ASSERT_EQ(ms->appendAcDbEntity(d), Acad::eOk);
      d->close();
    }
    ms->close();
    ASSERT_EQ(db.dxfOut(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
    acdbHostApplicationServices()->setWorkingDatabase(saved);
  }
  int status = 0;
  std::string audit = Python("from ezdxf import recover; d, a = recover.readfile('" + dxf.string() +
                                 "'); a.print_error_report(); print(len(a.errors), len(a.fixes)); "
                                 "print(sorted(set(e.dxftype() for e in d.modelspace())))",
                             dir / "audit.txt", status);
  EXPECT_EQ(status, 0) << audit;
  EXPECT_NE(audit.find("0 0\n['KVDUCT']"), std::string::npos) << audit;

  AcDbDatabase back(false, true);
  ASSERT_EQ(back.dxfIn(acrxFromUtf8(dxf.string()).c_str()), Acad::eOk);
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, back.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  std::size_t i = 0;
  for (AcDbObjectId id : ms->entityIds()) {
    AcDbEntity* e = nullptr;
    ASSERT_EQ(acdbOpenObject(e, id, AcDb::kForRead), Acad::eOk);
    auto* d = KvDuct::cast(e);
    ASSERT_NE(d, nullptr);
    ASSERT_LT(i, made.size());
    EXPECT_TRUE(d->fields() == DxfPart(made[i])) << "duct " << i << ", its elevations included";
    e->close();
    ++i;
  }
  ms->close();
  EXPECT_EQ(i, made.size());
  std::filesystem::remove_all(dir);
}

}  // namespace
