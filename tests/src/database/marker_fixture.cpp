// The project marker as the application layer writes it on *Model_Space, for the connection tests.
#include "db.h"
#include "fixture.h"

namespace kvtest {

void WriteMarker(AcDbDatabase* drawing, const wchar_t* value) {
  AcDbRegAppTable* apps = nullptr;
  ASSERT_EQ(drawing->getRegAppTable(apps, AcDb::kForWrite), Acad::eOk);
  if (!apps->has(L"KELVANE")) {
    auto* app = new AcDbRegAppTableRecord();
    app->setName(L"KELVANE");
    ASSERT_EQ(apps->add(app), Acad::eOk);
    app->close();
  }
  apps->close();
  AcDbBlockTable* blocks = nullptr;
  drawing->getBlockTable(blocks, AcDb::kForRead);
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(blocks->getAt(ACDB_MODEL_SPACE, model, AcDb::kForWrite), Acad::eOk);
  blocks->close();
  resbuf* cells = acutBuildList(1001, L"KELVANE", 1000, L"1", 1000, L"KV_ELEC", 1000, L"NO", 1000, L"KV_HVAC",
                                1000, value, 0);
  EXPECT_EQ(model->setXData(cells), Acad::eOk);
  acutRelRb(cells);
  model->close();
}

}  // namespace kvtest
