// The bridge's own LISP functions and drawing helpers, called as LISP calls them.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "ProjectDatabase.h"
#include "ap.h"
#include "ductwork/KvDuct.h"
#include "fixture.h"

namespace {

namespace fs = std::filesystem;

// Cells of a result list between its RTLB and RTLE (the host may wrap the list once more).
std::vector<const resbuf*> Items(const resbuf* rb) {
  std::vector<const resbuf*> items;
  while (rb && rb->restype == RTLB && rb->rbnext && rb->rbnext->restype == RTLB) rb = rb->rbnext;
  for (rb = rb ? rb->rbnext : nullptr; rb && rb->restype != RTLE; rb = rb->rbnext) items.push_back(rb);
  return items;
}

class Bodies : public ::testing::Test {
 protected:
  void SetUp() override {
    // The drawing lies in a project folder with a database, so that the rows that need one run
    // their bodies; each case has its folder, as ctest runs them side by side.
    folder_ = fs::path(KV_BINARY_DIR) / "bridge-bodies-unit" /
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    ProjectDatabasePtr file;
    VARIANT_BOOL made = VARIANT_FALSE;
    ASSERT_TRUE(SUCCEEDED(CreateProjectDatabase(file)));
    file->CreateProject(_bstr_t((folder_ / "office_kv_hvac.kv").wstring().c_str()), &made);
    ASSERT_EQ(made, VARIANT_TRUE);
    file->Close(&made);
    acDocManagerPtr()->closeAll();
    document_ = acDocManagerPtr()->openDocument((folder_ / "plan.dwg").wstring().c_str());
    registry_ = std::make_unique<kvDocumentRegistry>();
  }
  void TearDown() override {
    registry_.reset();
    acDocManagerPtr()->closeAll();
  }
  EntryCall Call(const wchar_t* name, resbuf* args) { return CallEntry(EntryOf(name), args); }

  fs::path folder_;
  AcApDocument* document_ = nullptr;
  std::unique_ptr<kvDocumentRegistry> registry_;
  ConsoleCapture console_;
};

resbuf* PlineArgs(double spacing) {
  ads_point a = {0, 0, 0}, b = {100, 50, 0}, c = {200, 0, 0};
  return acutBuildList(RTREAL, spacing, RTREAL, -1.0, RTREAL, -1.0, RT3DPOINT, a, RT3DPOINT, b,
                       RT3DPOINT, c, 0);
}

TEST_F(Bodies, PlinePointsAreCappedEvenAndEndOnTheLastPoint) {
  EntryCall fine = Call(L"kv_hvac-getPlinePoints", PlineArgs(0.5));
  ASSERT_EQ(fine.code, RSRSLT);
  std::vector<const resbuf*> points = Items(fine.result.get());
  ASSERT_EQ(points.size(), 101u);
  EXPECT_EQ(points.front()->restype, RT3DPOINT);
  EXPECT_NEAR(points.front()->resval.rpoint[0], 0.0, 1e-9);
  EXPECT_NEAR(points.back()->resval.rpoint[0], 200.0, 1e-9);
  // The curve passes through the middle fit point, so some point lies near it.
  double nearest = 1e9;
  for (const resbuf* p : points)
    nearest = std::min(nearest, std::hypot(p->resval.rpoint[0] - 100, p->resval.rpoint[1] - 50));
  EXPECT_LT(nearest, 3.0);

  EntryCall coarse = Call(L"kv_hvac-getPlinePoints", PlineArgs(50.0));
  std::size_t n = Items(coarse.result.get()).size();
  EXPECT_EQ(n % 2, 1u);
  EXPECT_GE(n, 5u);
  EXPECT_LE(n, 9u);

  // Given angles: the curve leaves along them, so the second point lies off the chord.
  ads_point a = {0, 0, 0}, b = {100, 0, 0};
  EntryCall bent = Call(L"kv_hvac-getPlinePoints",
                        acutBuildList(RTREAL, 10.0, RTREAL, 1.5707963, RTREAL, -1.5707963,
                                      RT3DPOINT, a, RT3DPOINT, b, 0));
  std::vector<const resbuf*> arc = Items(bent.result.get());
  ASSERT_GE(arc.size(), 3u);
  EXPECT_GT(arc[1]->resval.rpoint[1], 1.0);
}

TEST_F(Bodies, PlinePointsRefuseWhatCannotBeACurve) {
  ads_point a = {0, 0, 0};
  resbuf* cases[] = {
      acutBuildList(RTREAL, 1.0, RTREAL, -1.0, RTREAL, -1.0, RT3DPOINT, a, 0),
      acutBuildList(RTREAL, 1.0, RTREAL, -1.0, RTREAL, -1.0, RT3DPOINT, a, RTSTR, L"x", 0),
      acutBuildList(RTSTR, L"1", RTREAL, -1.0, RTREAL, -1.0, RT3DPOINT, a, RT3DPOINT, a, 0),
      acutBuildList(RTREAL, 0.0, RTREAL, -1.0, RTREAL, -1.0, RT3DPOINT, a, RTPOINT, a, 0),
      acutBuildList(RTREAL, 1.0, 0),
      nullptr,
  };
  for (resbuf* args : cases) {
    EntryCall call = Call(L"kv_hvac-getPlinePoints", args);
    EXPECT_EQ(call.code, RSERR);
    EXPECT_EQ(console_.take(), "\nBad data passed .\n");
  }
  // Two equal points make no spline; the line that stands in has no length to step along.
  ads_point b = {5, 5, 0};
  EntryCall same = Call(L"kv_hvac-getPlinePoints",
                        acutBuildList(RTREAL, 1.0, RTREAL, -1.0, RTREAL, -1.0, RT3DPOINT, b,
                                      RT3DPOINT, b, 0));
  EXPECT_TRUE(same.code == RSRSLT || same.code == RSERR);
}

TEST_F(Bodies, FlagsAndUnits) {
  SetDoDocumentActivated(true);
  EXPECT_EQ(Call(L"kv_hvac-setDoDocumentActivated", acutBuildList(RTNIL, 0)).code, RSRSLT);
  EXPECT_FALSE(DoDocumentActivated());
  // Unreadable or missing: the flag stays.
  Call(L"kv_hvac-setDoDocumentActivated", acutBuildList(RTLB, RTLE, 0));
  Call(L"kv_hvac-setDoDocumentActivated", nullptr);
  EXPECT_FALSE(DoDocumentActivated());
  Call(L"kv_hvac-setDoDocumentActivated", acutBuildList(RTSHORT, 0, 0));
  EXPECT_TRUE(DoDocumentActivated());

  // setIsMetric works on the registry of the running module; start it for this part.
  registry_.reset();
  ASSERT_EQ(acrxEntryPoint(AcRx::kInitAppMsg, nullptr), AcRx::kRetOK);
  EXPECT_EQ(ToDrawingUnits(2.0), 2.0);
  EXPECT_EQ(Call(L"kv_hvac-setIsMetric", acutBuildList(RTT, 0)).code, RSRSLT);
  EXPECT_DOUBLE_EQ(ToDrawingUnits(2.0), 50.8);
  EXPECT_DOUBLE_EQ(FromDrawingUnits(50.8), 2.0);
  EXPECT_EQ(Call(L"kv_hvac-setIsMetric", nullptr).code, RSERR);
  EXPECT_EQ(Call(L"kv_hvac-setIsMetric", acutBuildList(RTLB, RTLE, 0)).code, RSERR);
  EXPECT_NE(console_.take().find("\nWrong type of arguments passed.\n"), std::string::npos);
  EXPECT_TRUE(CurrentProject(DocumentRegistry())->isMetric());
  ASSERT_EQ(acrxEntryPoint(AcRx::kUnloadAppMsg, nullptr), AcRx::kRetOK);
  EXPECT_EQ(DocumentRegistry(), nullptr);
  EXPECT_EQ(ToDrawingUnits(2.0), 2.0);
}

TEST_F(Bodies, CheckkvListsDocumentsAndProjects) {
  registry_.reset();
  ASSERT_EQ(acrxEntryPoint(AcRx::kInitAppMsg, nullptr), AcRx::kRetOK);
  console_.take();
  EXPECT_EQ(Call(L"c:checkkv", nullptr).code, RSRSLT);
  std::string out = console_.take();
  std::string name = kvads::toUtf8(document_->fileName());
  EXPECT_EQ(out, "\nDocument list\n" + name + "\nProject list\n" + folder_.string());
  ASSERT_EQ(acrxEntryPoint(AcRx::kUnloadAppMsg, nullptr), AcRx::kRetOK);
}

TEST_F(Bodies, ModuleStartRegistersTheDuctClassAndStopRemovesIt) {
  registry_.reset();
  ASSERT_EQ(acrxEntryPoint(AcRx::kInitAppMsg, nullptr), AcRx::kRetOK);
  AcRxClass* duct = acrxFindAcRxClass(L"KvDuct");
  ASSERT_NE(duct, nullptr);
  EXPECT_EQ(KvDuct::desc(), duct);
  EXPECT_EQ(duct->myParent(), AcDbCurve::desc());
  EXPECT_STREQ(duct->dxfName(), L"KVDUCT");
  EXPECT_STREQ(duct->appName(), L"\"Kelvane Duct|Kelvane Software, Inc|www.kelvane.example\"");
  int maint = 0;
  EXPECT_EQ(duct->getClassVersion(maint), 1);
  EXPECT_EQ(maint, 1);
  EXPECT_EQ(duct->proxyFlags(), 1);
  ASSERT_EQ(acrxEntryPoint(AcRx::kUnloadAppMsg, nullptr), AcRx::kRetOK);
  EXPECT_EQ(acrxFindAcRxClass(L"KvDuct"), nullptr);

  // The registered class is not the one the module remembers (another module's under the same
  // name): filing would mix the two, so the host is stopped.
  EXPECT_DEATH(
      {
        acrxEntryPoint(AcRx::kInitAppMsg, nullptr);
        KvDuct::gpDesc = AcDbLine::desc();
        acrxEntryPoint(AcRx::kInitAppMsg, nullptr);
      },
      "Class mismatch");
}

TEST_F(Bodies, DrawingLoadAnnouncesTheVersionAndDefinesTheTable) {
  RecordingSession session;
  EXPECT_EQ(acrxEntryPoint(AcRx::kLoadDwgMsg, nullptr), AcRx::kRetOK);
  EXPECT_EQ(console_.take(), "\nLoading Kelvane HVAC ARX 7.3.51 (26532)");
  EXPECT_EQ(session.defined.size(), 54u);
  EXPECT_EQ(acrxEntryPoint(AcRx::kQuitMsg, nullptr), AcRx::kRetOK);
}

TEST_F(Bodies, CKVDataFilesEachKindAndItsFlags) {
  // The module leaves this class unregistered; filing needs it known.
  if (!CKVData::desc()) CKVData::rxInit();
  CKVData source(std::wstring(L"label"));
  AcDbDwgMemoryFiler filer;
  ASSERT_EQ(source.dwgOutFields(&filer), Acad::eOk);
  filer.rewind();
  CKVData copy(7);
  ASSERT_EQ(copy.dwgInFields(&filer), Acad::eOk);
  std::wstring text;
  std::int32_t n = 0;
  double x = 0;
  EXPECT_TRUE(copy.getString(text));
  EXPECT_EQ(text, L"label");
  EXPECT_FALSE(copy.getInt(n));  // the flag came from the file, not from the constructor
  EXPECT_FALSE(copy.getReal(x));
  CKVData real(2.5);
  EXPECT_TRUE(real.getReal(x));
  EXPECT_EQ(x, 2.5);
}

}  // namespace
