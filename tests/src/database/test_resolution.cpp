// Layer and text style keys resolved into the current drawing, created on demand from the project,
// and the automatic connection of a drawing that carries the project marker.
#include <filesystem>

#include "ap.h"
#include "database/database.h"
#include "db.h"
#include "fixture.h"

namespace {

namespace fs = std::filesystem;

class Resolution : public ::testing::Test {
 protected:
  void SetUp() override {
    acDocManagerPtr()->closeAll();
    file_ = dir_.path() / "office_kv_hvac.kv";
    ProjectDatabasePtr db;
    VARIANT_BOOL ok = VARIANT_FALSE;
    ASSERT_TRUE(SUCCEEDED(CreateProjectDatabase(db)));
    ASSERT_TRUE(SUCCEEDED(db->CreateProject(_bstr_t(file_.wstring()), &ok)));
    db->Close(&ok);
    kvads::setConsoleSink([this](std::string_view s) { printed_ += s; });
    registry_ = std::make_unique<kvDocumentRegistry>(&ConnectMarkedProject);
    acDocManagerPtr()->openDocument((dir_.path() / "a.dwg").wstring().c_str());
    ASSERT_TRUE(ConnectDocument(*CurrentDocument(registry_.get()), true));
  }
  void TearDown() override {
    acDocManagerPtr()->closeAll();
    registry_.reset();
    kvads::setConsoleSink(nullptr);
  }
  // The context the guard would hand a body of the current document.
  ProjectContext Context() { return ContextOf(*CurrentDocument(registry_.get())); }
  AcDbDatabase* Drawing() { return CurrentDocument(registry_.get())->database(); }
  void Exec(const std::wstring& sql) {
    VARIANT_BOOL ok = VARIANT_FALSE;
    GetDatabaseObject(Context())->Execute(_bstr_t(sql), &ok);
    ASSERT_EQ(ok, VARIANT_TRUE) << WideToUtf8(sql);
  }
  // The layer's name, or "" when the id opens no layer.
  static std::wstring NameOf(AcDbObjectId id) {
    AcDbLayerTableRecord* layer = nullptr;
    if (acdbOpenObject(layer, id, AcDb::kForRead) != Acad::eOk) return L"";
    std::wstring name = layer->getName();
    layer->close();
    return name;
  }
  AcDbObjectId LayerId(const wchar_t* name) {
    AcDbLayerTable* table = nullptr;
    Drawing()->getLayerTable(table, AcDb::kForRead);
    AcDbObjectId id = table->getIdAt(name);
    table->close();
    return id;
  }

  kvtest::TempFolder dir_;
  fs::path file_;
  std::string printed_;
  std::unique_ptr<kvDocumentRegistry> registry_;
};

TEST_F(Resolution, LayerIsCreatedFromItsRowOnceAndUnlocked) {
  Exec(L"update tblLayer set sLineweight = '35', sPlotstyle = 'Thin' where sName = 'M-ROOM-OTLN'");
  EXPECT_TRUE(LayerId(L"M-ROOM-OTLN").isNull());
  AcDbObjectId id;
  ASSERT_TRUE(ResolveLayer(Context(), L"ROOM OUTLINES", id, false, 0));
  EXPECT_EQ(id, LayerId(L"M-ROOM-OTLN"));
  {
    AcDbLayerTableRecord* layer = nullptr;
    ASSERT_EQ(acdbOpenObject(layer, id, AcDb::kForWrite), Acad::eOk);
    EXPECT_EQ(layer->color().colorIndex(), 3);
    EXPECT_TRUE(layer->isPlottable());
    EXPECT_EQ(layer->lineWeight(), 35);
    EXPECT_STREQ(layer->plotStyleName(), L"Thin");
    layer->setIsLocked(true);
    layer->close();
  }
  AcDbObjectId again;
  ASSERT_TRUE(ResolveLayer(Context(), L"ROOM OUTLINES", again, false, 0));
  EXPECT_EQ(again, id);
  AcDbLayerTableRecord* layer = nullptr;
  ASSERT_EQ(acdbOpenObject(layer, id, AcDb::kForRead), Acad::eOk);
  EXPECT_FALSE(layer->isLocked());
  layer->close();
  EXPECT_EQ(printed_, "");
}

TEST_F(Resolution, MissingKeysFallBackToDefaultThenToLayerZero) {
  Exec(L"insert into tblLayerKey (ixLayerSystem, ixLayer, sKey) select 3, ixLayer, \"ONLY THREE\" from tblLayer "
       L"where sName = \"M-ROOM-LEAD\"");
  AcDbObjectId id;
  ASSERT_TRUE(ResolveLayer(Context(), L"ONLY THREE", id, true, 3));
  EXPECT_EQ(NameOf(id), L"M-ROOM-LEAD");
  ASSERT_TRUE(ResolveLayer(Context(), L"ONLY THREE", id, false, 3));
  EXPECT_EQ(NameOf(id), L"M-HVAC");  // for all systems the key is unknown: DEFAULT decides
  EXPECT_EQ(printed_, "");

  Exec(L"delete from tblLayerKey where sKey = \"DEFAULT\"");
  ASSERT_TRUE(ResolveLayer(Context(), L"NO SUCH KEY", id, true, 2));
  EXPECT_EQ(NameOf(id), L"0");
  EXPECT_EQ(printed_, "\nLayer key NO SUCH KEY:2 does not exist in the database.");
  printed_.clear();

  Exec(L"delete from tblLayer where sName = \"M-ROOM-IDEN\"");
  ASSERT_TRUE(ResolveLayer(Context(), L"ROOM LABELS", id, false, 0));
  EXPECT_EQ(NameOf(id), L"0");
  EXPECT_EQ(printed_, "\nLayer corresponding to layer key ROOM LABELS:0 does not exist in the database.");
}

TEST_F(Resolution, LinetypeTheDrawingLacksLeavesTheDefault) {
  AcDbObjectId center, plain;
  ASSERT_TRUE(ResolveLayer(Context(), L"DUCTWORK CENTERLINE: SUPPLY", center, false, 0));
  ASSERT_TRUE(ResolveLayer(Context(), L"ROOM OUTLINES", plain, false, 0));
  AcDbLayerTableRecord* layer = nullptr;
  ASSERT_EQ(acdbOpenObject(layer, center, AcDb::kForRead), Acad::eOk);
  const AcDbObjectId centerLinetype = layer->linetypeObjectId();
  layer->close();
  ASSERT_EQ(acdbOpenObject(layer, plain, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(centerLinetype, layer->linetypeObjectId());  // "CENTER" is not in the drawing
  layer->close();
}

TEST_F(Resolution, CenterlineLayersByAirTypeAndSystem) {
  EXPECT_EQ(CenterlineLayerName(Context(), L"ra", 0), L"M-DUCT-RETN-CNTR");
  EXPECT_EQ(CenterlineLayerName(Context(), L"oa", 0), L"M-DUCT-OUTS-CNTR");
  EXPECT_EQ(CenterlineLayerName(Context(), L"xx", 0), L"M-HVAC");
  // A layer system looks up its own rows only.
  Exec(L"insert into tblLayerKey (ixLayerSystem, ixLayer, sKey) select 2, ixLayer, "
       L"\"DUCTWORK CENTERLINE: SUPPLY\" from tblLayer where sName = \"M-ROOM-LEAD\"");
  EXPECT_EQ(CenterlineLayerName(Context(), L"sa", 2), L"M-ROOM-LEAD");
  EXPECT_EQ(CenterlineLayerName(Context(), L"ea", 2), L"0");
  EXPECT_EQ(printed_, "\nLayer key DUCTWORK CENTERLINE: EXHAUST:2 does not exist in the database.");
}

TEST_F(Resolution, TextStyleHeightsAndDefaults) {
  Drawing()->setDimscale(48.0);
  AcDbObjectId id;
  double height = 0;
  ASSERT_TRUE(ResolveTextStyle(Context(), L"ROOM LABELS", id, height));
  EXPECT_DOUBLE_EQ(height, 0.125 * 48);
  AcDbTextStyleTableRecord* style = nullptr;
  ASSERT_EQ(acdbOpenObject(style, id, AcDb::kForRead), Acad::eOk);
  EXPECT_STREQ(style->getName(), L"ROMANS");
  const ACHAR* font = nullptr;
  style->fileName(font);
  EXPECT_STREQ(font, L"ROMANS.shx");
  style->close();

  // Values missing from a row come from DEFAULT; a height of 0 is 0.1.
  Exec(L"insert into tblTextStyle (sKey, sStyleName, dHeight) values (\"HALF\", NULL, 0.0)");
  height = 0;
  ASSERT_TRUE(ResolveTextStyle(Context(), L"HALF", id, height));
  EXPECT_DOUBLE_EQ(height, 0.1 * 48);
  ASSERT_EQ(acdbOpenObject(style, id, AcDb::kForRead), Acad::eOk);
  EXPECT_STREQ(style->getName(), L"SIMPLEX");
  style->close();

  // Both values null and no DEFAULT row: the drawing's standard style, 0.1 high.
  Exec(L"delete from tblTextStyle where sKey = \"DEFAULT\"");
  Exec(L"insert into tblTextStyle (sKey) values (\"BARE\")");
  height = 0;
  ASSERT_TRUE(ResolveTextStyle(Context(), L"BARE", id, height));
  EXPECT_DOUBLE_EQ(height, 0.1 * 48);
  ASSERT_EQ(acdbOpenObject(style, id, AcDb::kForRead), Acad::eOk);
  EXPECT_STREQ(style->getName(), L"Standard");
  style->close();
}

TEST_F(Resolution, TheContextFollowsTheCurrentDocument) {
  EXPECT_NE(Context().database.table<tblDuct>(), nullptr);
  EXPECT_TRUE(GetDatabaseObject(Context()));
  EXPECT_EQ(Context().drawing, Drawing());
  // A drawing of another folder without a database: its project is not connected, and nothing
  // resolves in it.
  kvtest::TempFolder other;
  acDocManagerPtr()->openDocument((other.path() / "b.dwg").wstring().c_str());
  EXPECT_EQ(Context().database.table<tblDuct>(), nullptr);
  EXPECT_FALSE(GetDatabaseObject(Context()));
  AcDbObjectId id;
  EXPECT_FALSE(ResolveLayer(Context(), L"ROOM OUTLINES", id, false, 0));
  double height = 0;
  EXPECT_FALSE(ResolveTextStyle(Context(), L"ROOM LABELS", id, height));
}

TEST_F(Resolution, MarkedDrawingConnectsItsNewProjectAtOnce) {
  AcDbDatabase marked(true, true);
  kvtest::WriteMarker(&marked, L"YES");
  EXPECT_EQ(ReadDrawingMarker(&marked, L"KV_HVAC"), L"YES");
  EXPECT_EQ(ReadDrawingMarker(&marked, L"KV_ELEC"), L"NO");
  EXPECT_EQ(ReadDrawingMarker(&marked, L"1"), L"");  // stands at an odd distance: a value
  hvacPerProjectData project(dir_.path().wstring());
  ConnectMarkedProject(project, &marked);
  kvProjectDatabase& state = DatabaseOf(project);
  EXPECT_TRUE(IsConnectionOpen(state.connection().Get()));
  EXPECT_NE(state.table<tblGlobal>(), nullptr);
  EXPECT_EQ(state.table<tblDuct>(), nullptr);  // the HVAC tables wait for the first guarded call

  AcDbDatabase unmarked(true, true);
  kvtest::WriteMarker(&unmarked, L"NO");
  hvacPerProjectData plain(dir_.path().wstring());
  ConnectMarkedProject(plain, &unmarked);
  EXPECT_FALSE(DatabaseOf(plain).connection());
  EXPECT_EQ(printed_, "");
}

}  // namespace
