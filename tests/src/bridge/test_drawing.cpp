// What the bridge does in a drawing: selections by class and index, entity names, appending,
// block definitions fetched from files, UCS transforms.
#include <gtest/gtest.h>

#include <filesystem>

#include "ap.h"
#include "ed.h"
#include "fixture.h"

namespace {

namespace fs = std::filesystem;

// Stands in for the room entity: registered under its class name, with an index.
class StandInRoom : public AcDbEntity {
 public:
  static AcRxClass* desc() { return gDesc; }
  AcRxClass* isA() const override { return gDesc; }
  static AcRxClass* gDesc;
  std::int32_t index = 0;
};
AcRxClass* StandInRoom::gDesc = nullptr;

class Drawing : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    StandInRoom::gDesc = newAcRxClass(L"hvacRoom", L"AcDbEntity", 0, 0, 0,
                                      [] { return static_cast<AcRxObject*>(new StandInRoom); },
                                      L"KV_HVACROOM", L"KVTEST");
    acrxBuildClassHierarchy();
    SetEntityIndexReader(L"hvacRoom", [](const AcDbEntity& e) {
      return static_cast<const StandInRoom&>(e).index;
    });
  }
  void SetUp() override {
    acDocManagerPtr()->closeAll();
    document_ = acDocManagerPtr()->newDocument();
    document_->setLispSession(&session_);
    kvads::setCurrentSession(&session_);
  }
  void TearDown() override { acDocManagerPtr()->closeAll(); }

  AcDbObjectId AddRoom(std::int32_t index) {
    auto* room = new StandInRoom;
    room->index = index;
    EXPECT_TRUE(appendToModelSpace(room));
    AcDbObjectId id = room->objectId();
    room->close();
    return id;
  }
  static std::vector<AcDbObjectId> Names(const resbuf* rb) {
    std::vector<AcDbObjectId> ids;
    for (; rb; rb = rb->rbnext) {
      if (rb->restype != RTENAME) continue;
      AcDbObjectId id;
      EXPECT_EQ(acdbGetObjectId(id, rb->resval.rlname), Acad::eOk);
      ids.push_back(id);
    }
    return ids;
  }
  EntryCall Call(const wchar_t* name, resbuf* args) { return CallEntry(EntryOf(name), args); }

  RecordingSession session_;
  ConsoleCapture console_;
  AcApDocument* document_ = nullptr;
};

TEST_F(Drawing, SsgetxSelectsByClassAndIndex) {
  AcDbObjectId r0 = AddRoom(0), r5 = AddRoom(5), r0b = AddRoom(0);
  appendAndClose(new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 1, 0)));
  auto all = Call(L"ssgetx-room", nullptr);
  EXPECT_EQ(Names(all.result.get()), (std::vector<AcDbObjectId>{r0, r5, r0b}));
  EXPECT_EQ(Names(Call(L"ssgetx-room", acutBuildList(RTSHORT, -1, 0)).result.get()).size(), 3u);
  EXPECT_EQ(Names(Call(L"ssgetx-room", acutBuildList(RTSHORT, 0, 0)).result.get()),
            (std::vector<AcDbObjectId>{r0, r0b}));
  EXPECT_EQ(Names(Call(L"ssgetx-room", acutBuildList(RTSTR, L"5", 0)).result.get()).size(), 3u);
  // No duct class in this drawing's session: an empty list, which LISP reads as nil.
  EntryCall ducts = Call(L"ssgetx-duct", acutBuildList(RTSHORT, 3, 0));
  EXPECT_EQ(ducts.code, RSRSLT);
  EXPECT_TRUE(Names(ducts.result.get()).empty());
}

TEST_F(Drawing, EntityNamesInAndOut) {
  AcDbObjectId id = AddRoom(1);
  ads_name name;
  ASSERT_EQ(acdbGetAdsName(name, id), Acad::eOk);
  ResbufPtr cells(acutBuildList(RTENAME, name, RTSTR, L"x", 0));
  ArgCursor c(cells.get());
  AcDbObjectId read;
  ASSERT_TRUE(ArgObjectId(c, read));
  EXPECT_EQ(read, id);
  EXPECT_FALSE(ArgObjectId(c, read));
  std::int64_t bogus[2] = {12345, 678};
  ResbufPtr stale(acutBuildList(RTENAME, bogus, 0));
  ArgCursor s(stale.get());
  EXPECT_FALSE(ArgObjectId(s, read));
  EXPECT_EQ(s.cell(), stale.get());

  kvads::CallFrame frame(nullptr);
  RetObjectId(id);
  ResbufPtr named(frame.takeResult());
  EXPECT_EQ(named->restype, RTENAME);
  RetObjectId(AcDbObjectId());
  ResbufPtr none(frame.takeResult());
  EXPECT_EQ(none->restype, RTNIL);

  // ("key" . nil) for a null object, in the module's pair form.
  resbuf *head, *tail;
  ResultOpen(head, tail);
  AppendStringObject(tail, L"Solid", nullptr);
  std::vector<int> types;
  for (const resbuf* rb = head; rb; rb = rb->rbnext) types.push_back(rb->restype);
  EXPECT_EQ(types, (std::vector<int>{RTLB, RTLB, RTSTR, RTDOTE, RTNIL, RTLE}));
  acutRelRb(head);
}

TEST_F(Drawing, AppendHelpers) {
  appendAndClose(nullptr);
  EXPECT_EQ(console_.take(), "");
  auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(2, 0, 0));
  ASSERT_TRUE(appendToModelSpace(line));
  EXPECT_FALSE(line->objectId().isNull());
  EXPECT_EQ(line->objectId().database(), document_->database());
  line->close();
  // The append's own lock is given back.
  EXPECT_EQ(document_->myLockMode(), AcAp::kNone);
}

TEST_F(Drawing, EnsureBlockReadsTheFileOnceAndTellsOfMissingOnes) {
  fs::path folder = fs::path(KV_BINARY_DIR) / "bridge-blocks";
  fs::remove_all(folder);
  fs::create_directories(folder);
  {
    AcDbDatabase source;
    AcDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(acdbOpenObject(ms, source.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    auto* l = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0));
    ASSERT_EQ(ms->appendAcDbEntity(l), Acad::eOk);
    l->close();
    ms->close();
    ASSERT_EQ(source.saveAs((folder / "VALVE.dwg").wstring().c_str()), Acad::eOk);
  }
  std::wstring oldPath = acdbHostApplicationServices()->supportPath();
  acdbHostApplicationServices()->setSupportPath(folder.wstring().c_str());
  AcDbObjectId id, again;
  EXPECT_TRUE(ensureBlock(L"VALVE", id));
  EXPECT_FALSE(id.isNull());
  fs::remove(folder / "VALVE.dwg");  // the drawing holds it now; the file is not looked at
  EXPECT_TRUE(ensureBlock(L"VALVE", again));
  EXPECT_EQ(again, id);

  session_.invoked.clear();
  AcDbObjectId kept = id;
  EXPECT_FALSE(ensureBlock(L"NOSUCHBLOCK", kept));
  EXPECT_EQ(kept, id);
  EXPECT_EQ(session_.invoked, std::vector<std::wstring>{L"kvBlock-alertMissing"});
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(document_->database()->getBlockTable(table, AcDb::kForRead), Acad::eOk);
  EXPECT_FALSE(table->has(L"NOSUCHBLOCK"));
  table->close();
  acdbHostApplicationServices()->setSupportPath(oldPath.c_str());
}

TEST_F(Drawing, UcsAndWorldRoundTrip) {
  AcGeMatrix3d ucs = AcGeMatrix3d::translation(AcGeVector3d(10, 20, 0));
  ASSERT_EQ(acedSetCurrentUCS(ucs), Acad::eOk);
  AcGePoint3d p(1, 2, 3);
  ASSERT_TRUE(UcsToWcs(p));
  EXPECT_TRUE(p.isEqualTo(AcGePoint3d(11, 22, 3)));
  ASSERT_TRUE(WcsToUcs(p));
  EXPECT_TRUE(p.isEqualTo(AcGePoint3d(1, 2, 3)));
  acedSetCurrentUCS(AcGeMatrix3d());
}

}  // namespace
