// Filing of rooms and leaders: every version's reader against the committed fixtures, the upgrade
// of the oldest rooms and leaders, rooms without an index, newer versions kept as proxies, a
// drawing that keeps its rooms' ids through a save and reopen, and DXF.
#include <cstdio>
#include <filesystem>
#include <memory>

#include "fixture_writer.h"
#include "room_test.h"

namespace {

std::filesystem::path Fixture(const std::string& name) { return FixtureDir() / name; }

std::vector<unsigned char> Committed(const std::string& name, const std::vector<unsigned char>& written) {
  std::vector<unsigned char> bytes = ReadFile(Fixture(name));
  EXPECT_FALSE(bytes.empty()) << Fixture(name);
  EXPECT_EQ(bytes, written) << name << ": the fixture writer still writes the committed bytes";
  return bytes;
}

void ExpectLeader(const hvacRoom& room, double size) {
  AcGePoint3d start, middle, end;
  room.getLeaderPoints(start, middle, end);
  EXPECT_TRUE(start.isEqualTo(AcGePoint3d(10, 20, 0)));
  EXPECT_TRUE(middle.isEqualTo(AcGePoint3d(30, 20, 0)));
  EXPECT_TRUE(end.isEqualTo(AcGePoint3d(30, 0, 0)));
  EXPECT_DOUBLE_EQ(room.fields().leader.arrowSize(), size);
}

TEST(RoomFiling, EveryVersionReadsItsFieldsAndTheOldLeaderTurnsRound) {
  for (int v = 1; v <= 2; ++v) {
    SCOPED_TRACE(v);
    std::vector<unsigned char> bytes = Committed("room-v" + std::to_string(v) + ".bin", RoomVersionBytes(v));
    // Read over a room whose outline differs, so a reader that appends shows it.
    auto room = MakeRoom(Outline({{1, 1}, {2, 2}}));
    ASSERT_EQ(ReadRecord(*room, bytes), Acad::eOk);
    EXPECT_EQ(room->ixRoomL(), 100 + v);
    EXPECT_EQ(room->points(), FixtureOutline());
    EXPECT_DOUBLE_EQ(room->fields().textHeight, 6.0);
    EXPECT_STREQ(room->fields().label.contents(), L"101 Office");
    EXPECT_TRUE(room->leaderOn());
    // The oldest rooms carried no arrow size; the newer leader carries its own.
    ExpectLeader(*room, v == 1 ? 0.0 : 2.0);
    EXPECT_FALSE(room->fields().labelLayerId.isValid());
    // Whatever was read goes out in the current layout.
    std::vector<unsigned char> out = OwnRecord(*room);
    ASSERT_GE(out.size(), 4u);
    EXPECT_EQ(out[0], 2);
    auto again = std::make_unique<hvacRoom>();
    ASSERT_EQ(ReadRecord(*again, out), Acad::eOk);
    EXPECT_EQ(again->points(), FixtureOutline());
    ExpectLeader(*again, v == 1 ? 0.0 : 2.0);
  }
  auto newer = std::make_unique<hvacRoom>();
  EXPECT_EQ(ReadRecord(*newer, Committed("room-v3.bin", RoomVersionBytes(3))), Acad::eMakeMeProxy);
  AcDbDwgMemoryFiler zero;
  zero.writeInt32(0);
  EXPECT_EQ(ReadRecord(*newer, zero.buffer()), Acad::eEndOfFile) << "no version below the first";
}

TEST(RoomFiling, RoomWithoutIndexFilesOnlyItsVersionAndIndex) {
  auto room = MakeRoom(Outline({{0, 0}, {10, 0}, {10, 10}}));
  room->setIxRoomL(-1);
  EXPECT_EQ(OwnRecord(*room), Committed("room-v2-noindex.bin", UnindexedRoomBytes()));
  // Read in a drawing, such a room erases itself: a drag that never finished.
  AcDbDatabase db;
  AcDbObjectId id;
  auto* fresh = new hvacRoom;
  fresh->setIxRoomL(5);
  ASSERT_EQ(db.addAcDbObject(id, fresh), Acad::eOk);
  ASSERT_EQ(ReadRecord(*fresh, UnindexedRoomBytes()), Acad::eOk);
  EXPECT_TRUE(fresh->isErased());
  fresh->close();
  // The oldest version reads such a room to the end and keeps it.
  auto old = std::make_unique<hvacRoom>();
  std::vector<unsigned char> v1 = RoomVersionBytes(1);
  v1[4] = 0xff, v1[5] = 0xff, v1[6] = 0xff, v1[7] = 0xff;  // its index becomes -1
  ASSERT_EQ(ReadRecord(*old, v1), Acad::eOk);
  EXPECT_EQ(old->ixRoomL(), -1);
  EXPECT_EQ(old->points(), FixtureOutline());
}

TEST(LeaderFiling, OldSizesScaleOnceAndNewerLeadersStayProxies) {
  WorkingDrawing drawing(24.0);
  KVLeader old;
  ASSERT_EQ(ReadRecord(old, Committed("leader-v1.bin", LeaderVersionBytes(1))), Acad::eOk);
  EXPECT_DOUBLE_EQ(old.arrowSize(), 48.0) << "plotted size times DIMSCALE";
  KVLeader again;
  ASSERT_EQ(ReadRecord(again, OwnRecord(old)), Acad::eOk);
  EXPECT_DOUBLE_EQ(again.arrowSize(), 48.0) << "written back as the current version, scaled no more";
  KVLeader current;
  ASSERT_EQ(ReadRecord(current, Committed("leader-v2.bin", LeaderVersionBytes(2))), Acad::eOk);
  EXPECT_DOUBLE_EQ(current.arrowSize(), 2.0);
  EXPECT_DOUBLE_EQ(current.arrow().scaleFactors().sx, 2.0);
  EXPECT_TRUE(current.arrow().position().isEqualTo(AcGePoint3d(30, 0, 0)));
  KVLeader newer;
  EXPECT_EQ(ReadRecord(newer, Committed("leader-v3.bin", LeaderVersionBytes(3))), Acad::eMakeMeProxy);
}

TEST(RoomFiling, DrawingKeepsRoomsWithTheirLayersThroughSaveAndReopen) {
  const auto path = std::filesystem::temp_directory_path() / ("kv_rooms_" + std::to_string(::getpid()) + ".dwg");
  auto dxf = path;
  dxf.replace_extension(".dxf");
  std::vector<RoomPoint> outline = Outline({{0, 0}, {120, 0}, {120, 90}, {0, 90}});
  outline[2].thick = true;
  {
    AcDbDatabase db;
    WorkingDrawing::Scope scope(db);
    AcDbObjectId layer0;
    {
      AcDbObjectPointer<AcDbLayerTable> layers(db.layerTableId(), AcDb::kForRead);
      layer0 = layers->getIdAt(L"0");
    }
    auto* room = MakeRoom(outline, L"201 Lab").release();
    room->setIxRoomL(201);
    room->setLabelLayerId(layer0);
    room->setLeaderLayerId(layer0);
    room->setLabelLocation(AcGePoint3d(10, 80, 0));
    room->setLeaderOn(true);
    auto* unfinished = MakeRoom(outline).release();
    unfinished->setIxRoomL(-1);
    {
      AcDbObjectPointer<AcDbBlockTableRecord> ms(db.modelSpaceId(), AcDb::kForWrite);
      ASSERT_EQ(ms->appendAcDbEntity(room), Acad::eOk);
      ASSERT_EQ(ms->appendAcDbEntity(unfinished), Acad::eOk);
    }
    room->close();
    unfinished->close();
    ASSERT_EQ(db.saveAs(path.wstring().c_str()), Acad::eOk);
    ASSERT_EQ(db.dxfOut(dxf.wstring().c_str()), Acad::eOk);
  }
  AcDbDatabase back(false);
  ASSERT_EQ(back.readDwgFile(path.wstring().c_str()), Acad::eOk);
  std::vector<AcDbObjectId> rooms;
  {
    AcDbObjectPointer<AcDbBlockTableRecord> ms(back.modelSpaceId(), AcDb::kForRead);
    AcDbBlockTableRecordIterator* raw = nullptr;
    ASSERT_EQ(ms->newIterator(raw), Acad::eOk);
    std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
    for (; !it->done(); it->step()) {
      AcDbObjectId id;
      it->getEntityId(id);
      AcDbObjectPointer<hvacRoom> r(id, AcDb::kForRead);
      if (r.openStatus() == Acad::eOk) rooms.push_back(id);
    }
  }
  ASSERT_EQ(rooms.size(), 1u) << "the room without an index is gone";
  AcDbObjectPointer<hvacRoom> r(rooms[0], AcDb::kForRead);
  EXPECT_EQ(r->ixRoomL(), 201);
  EXPECT_EQ(r->points(), outline);
  EXPECT_TRUE(r->fields().labelLayerId.isValid());
  EXPECT_TRUE(r->fields().leaderLayerId.isValid());
  EXPECT_FALSE(r->fields().labelStyleId.isValid());
  EXPECT_TRUE(r->leaderOn());
  EXPECT_STREQ(r->fields().label.contents(), L"201 Lab");
  std::filesystem::remove(path);

  // The DXF of the same drawing passes an independent reader's audit; what comes back from it
  // are rooms with their defaults, index included, which the application layer sets again.
  const std::string cmd = "/usr/bin/python3 -c \"from ezdxf import recover; d, a = recover.readfile('" +
                          dxf.string() + "'); print(len(a.errors), sorted(e.dxftype() for e in d.modelspace()))\"";
  std::unique_ptr<FILE, int (*)(FILE*)> audit(popen(cmd.c_str(), "r"), pclose);
  ASSERT_TRUE(audit);
  char line[256] = {};
  ASSERT_NE(fgets(line, sizeof line, audit.get()), nullptr);
  EXPECT_STREQ(line, "0 ['KV_HVACROOM', 'KV_HVACROOM']\n");
  AcDbDatabase imported(false, true);
  ASSERT_EQ(imported.dxfIn(dxf.wstring().c_str()), Acad::eOk);
  AcDbObjectPointer<AcDbBlockTableRecord> ms(imported.modelSpaceId(), AcDb::kForRead);
  int count = 0;
  for (AcDbObjectId id : ms->entityIds()) {
    AcDbObjectPointer<hvacRoom> room(id, AcDb::kForRead);
    ASSERT_EQ(room.openStatus(), Acad::eOk);
    EXPECT_EQ(room->ixRoomL(), -1);
    EXPECT_TRUE(room->points().empty());
    ++count;
  }
  EXPECT_EQ(count, 2);
  std::filesystem::remove(dxf);
}

TEST(RoomFiling, DxfCarriesTheIndexAlone) {
  auto room = MakeRoom(Outline({{0, 0}, {10, 0}, {10, 10}}));
  room->setIxRoomL(77);
  AcDbDxfMemoryFiler out;
  ASSERT_EQ(room->dxfOutFields(&out), Acad::eOk);
  int own = 0;
  for (const auto& g : out.groups()) {
    if (g.code == 90) {
      EXPECT_EQ(g.integer, 77);
    }
    if (g.code == 90 || g.code == 10 || (g.code == 100 && g.text == L"hvacRoom")) ++own;
  }
  EXPECT_EQ(own, 1);
  out.rewind();
  auto back = std::make_unique<hvacRoom>();
  ASSERT_EQ(back->dxfInFields(&out), Acad::eOk);
  EXPECT_EQ(back->ixRoomL(), -1) << "a room from DXF has its defaults";
  EXPECT_TRUE(back->points().empty());
}

}  // namespace
