// The open/close protocol, symbol tables, extended data, system variables and entity names.
#include <gtest/gtest.h>

#include "db.h"

namespace {

AcDbObjectId appendLine(AcDbDatabase& db, AcGePoint3d a, AcGePoint3d b) {
  AcDbBlockTableRecord* ms = nullptr;
  EXPECT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* line = new AcDbLine(a, b);
  AcDbObjectId id;
  EXPECT_EQ(ms->appendAcDbEntity(id, line), Acad::eOk);
  line->close();
  ms->close();
  return id;
}

TEST(DbOpenClose, StatusesFollowTheProtocol) {
  AcDbDatabase db;
  AcDbObjectId id = appendLine(db, {0, 0, 0}, {10, 0, 0});
  AcDbLine* r1 = nullptr;
  AcDbLine* r2 = nullptr;
  ASSERT_EQ(acdbOpenObject(r1, id, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(acdbOpenObject(r2, id, AcDb::kForRead), Acad::eOk) << "several readers";
  AcDbLine* w = nullptr;
  EXPECT_EQ(acdbOpenObject(w, id, AcDb::kForWrite), Acad::eWasOpenedForRead);
  EXPECT_EQ(w, nullptr);
  r1->close();
  r2->close();
  ASSERT_EQ(acdbOpenObject(w, id, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(acdbOpenObject(r1, id, AcDb::kForRead), Acad::eWasOpenedForWrite);
  AcDbPolyline* pl = nullptr;
  w->close();
  EXPECT_EQ(acdbOpenObject(pl, id, AcDb::kForRead), Acad::eNotThatKindOfClass);
  ASSERT_EQ(acdbOpenObject(w, id, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(w->erase(), Acad::eOk);
  w->close();
  EXPECT_EQ(acdbOpenObject(w, id, AcDb::kForRead), Acad::eWasErased);
  EXPECT_EQ(acdbOpenObject(w, id, AcDb::kForRead, true), Acad::eOk);
  w->close();
  EXPECT_EQ(acdbOpenObject(w, AcDbObjectId(), AcDb::kForRead), Acad::eNullObjectId);
}

TEST(DbOpenClose, AssertingWriteOnAReadOpenObjectAborts) {
  AcDbDatabase db;
  AcDbObjectId id = appendLine(db, {0, 0, 0}, {1, 0, 0});
  AcDbLine* line = nullptr;
  ASSERT_EQ(acdbOpenObject(line, id, AcDb::kForRead), Acad::eOk);
  EXPECT_DEATH(line->setStartPoint({5, 5, 0}), "changed without being open for write");
  line->close();
}

TEST(DbTables, DefaultDrawingAndRecordsByName) {
  AcDbDatabase db;
  AcDbBlockTable* bt = nullptr;
  ASSERT_EQ(db.getSymbolTable(bt, AcDb::kForRead), Acad::eOk);
  EXPECT_FALSE(bt->getIdAt(L"*MODEL_SPACE").isNull()) << "names ignore case";
  EXPECT_TRUE(bt->has(ACDB_PAPER_SPACE));
  bt->close();
  AcDbLayerTable* lt = nullptr;
  ASSERT_EQ(db.getLayerTable(lt, AcDb::kForWrite), Acad::eOk);
  EXPECT_TRUE(lt->has(L"0"));
  auto* rec = new AcDbLayerTableRecord;
  EXPECT_EQ(rec->setName(L"bad<name"), Acad::eInvalidSymbolTableName);
  ASSERT_EQ(rec->setName(L"ROOM OUTLINES"), Acad::eOk);
  AcCmColor red;
  red.setColorIndex(1);
  rec->setColor(red);
  rec->setIsLocked(true);
  AcDbObjectId layerId;
  ASSERT_EQ(lt->add(layerId, rec), Acad::eOk);
  rec->close();
  auto* dup = new AcDbLayerTableRecord;
  dup->setName(L"room outlines");
  EXPECT_EQ(lt->add(dup), Acad::eDuplicateRecordName);
  delete dup;
  AcDbSymbolTableIterator* it = nullptr;
  lt->newIterator(it);
  std::vector<std::wstring> names;
  for (; !it->done(); it->step()) {
    AcDbSymbolTableRecord* r = nullptr;
    ASSERT_EQ(it->getRecord(r, AcDb::kForRead), Acad::eOk);
    names.push_back(r->getName());
    r->close();
  }
  delete it;
  lt->close();
  EXPECT_EQ(names, (std::vector<std::wstring>{L"0", L"ROOM OUTLINES"}));
  AcDbLine line;
  EXPECT_EQ(line.setLayer(L"Room Outlines"), Acad::eKeyNotFound) << "a new entity resolves in the working database";
  acdbHostApplicationServices()->setWorkingDatabase(&db);
  EXPECT_EQ(line.setLayer(L"Room Outlines"), Acad::eOk);
  EXPECT_EQ(line.layerId(), layerId);
  EXPECT_STREQ(line.layer(), L"ROOM OUTLINES");
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
}

TEST(DbXData, PerApplicationReplaceAndRegistration) {
  AcDbDatabase db;
  AcDbRegAppTable* apps = nullptr;
  ASSERT_EQ(db.getRegAppTable(apps, AcDb::kForWrite), Acad::eOk);
  auto* app = new AcDbRegAppTableRecord;
  app->setName(L"KELVANE");
  apps->add(app);
  app->close();
  apps->close();
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  resbuf* data = acutBuildList(AcDb::kDxfRegAppName, L"KELVANE", AcDb::kDxfXdAsciiString, L"KV_HVAC",
                               AcDb::kDxfXdAsciiString, L"YES", AcDb::kDxfXdInteger32, 7, RTNONE);
  EXPECT_EQ(ms->setXData(data), Acad::eOk);
  acutRelRb(data);
  resbuf* unknown = acutBuildList(AcDb::kDxfRegAppName, L"NOBODY", AcDb::kDxfXdReal, 1.5, RTNONE);
  EXPECT_EQ(ms->setXData(unknown), Acad::eInvalidInput) << "the application must be registered";
  acutRelRb(unknown);
  resbuf* back = ms->xData(L"kelvane");
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->restype, AcDb::kDxfRegAppName);
  ASSERT_NE(back->rbnext, nullptr);
  EXPECT_STREQ(back->rbnext->rbnext->resval.rstring, L"YES");
  EXPECT_EQ(back->rbnext->rbnext->rbnext->resval.rlong, 7);
  acutRelRb(back);
  resbuf* clear = acutBuildList(AcDb::kDxfRegAppName, L"KELVANE", RTNONE);
  EXPECT_EQ(ms->setXData(clear), Acad::eOk);
  acutRelRb(clear);
  EXPECT_EQ(ms->xData(), nullptr);
  ms->close();
}

TEST(DbSysVars, KindsNamesAndRecords) {
  AcDbDatabase db;
  AcDbSysVarValue v;
  ASSERT_TRUE(db.getSysVar(L"dimscale", v));
  EXPECT_EQ(v.values[0], 1.0);
  AcDbSysVarValue two;
  two.kind = AcDbSysVarValue::Kind::Int;
  two.integer = 48;
  EXPECT_EQ(db.setSysVar(L"DIMSCALE", two), Acad::eOk) << "an integer is taken for a real";
  EXPECT_EQ(db.dimscale(), 48.0);
  AcDbSysVarValue text;
  text.kind = AcDbSysVarValue::Kind::String;
  text.text = L"0";
  EXPECT_EQ(db.setSysVar(L"DIMSCALE", text), Acad::eInvalidInput);
  EXPECT_EQ(db.setSysVar(L"SAVEFILE", text), Acad::eInvalidInput) << "read-only";
  EXPECT_EQ(db.setSysVar(L"NOSUCHVAR", two), Acad::eInvalidInput);
  EXPECT_FALSE(db.getSysVar(L"NOSUCHVAR", v));
  text.text = L"MISSING";
  EXPECT_EQ(db.setSysVar(L"CLAYER", text), Acad::eKeyNotFound);
  ASSERT_TRUE(db.getSysVar(L"CLAYER", v));
  EXPECT_EQ(v.text, L"0");
}

TEST(DbNames, EntityNamesRoundTripAndStaleNamesAreRefused) {
  ads_name name = {0, 0};
  AcDbObjectId id;
  {
    AcDbDatabase db;
    id = appendLine(db, {0, 0, 0}, {1, 1, 0});
    ASSERT_EQ(acdbGetAdsName(name, id), Acad::eOk);
    AcDbObjectId back;
    ASSERT_EQ(acdbGetObjectId(back, name), Acad::eOk);
    EXPECT_EQ(back, id);
  }
  AcDbObjectId stale;
  EXPECT_EQ(acdbGetObjectId(stale, name), Acad::eInvalidAdsName);
  ads_name garbage = {12345, 99};
  EXPECT_EQ(acdbGetObjectId(stale, garbage), Acad::eInvalidAdsName);
}

}  // namespace
