// The connected project and the test's LISP layer of the duct row tests.
#include "ductrows_fixture.h"

#include <stdlib.h>

namespace {

std::int32_t IntOf(const resbuf* cell) {
  if (!cell) return 0;
  if (cell->restype == RTSHORT) return cell->resval.rint;
  if (cell->restype == RTLONG) return cell->resval.rlong;
  return 0;
}

resbuf* ThreeDucts(const std::vector<std::int32_t>& ducts, bool asPoint) {
  std::int32_t n[3] = {0, 0, 0};
  for (std::size_t i = 0; i < ducts.size() && i < 3; ++i) n[i] = ducts[i];
  if (asPoint) {
    const double p[3] = {double(n[0]), double(n[1]), double(n[2])};
    return acutBuildList(RT3DPOINT, p, 0);
  }
  return acutBuildList(RTLB, RTLONG, n[0], RTLONG, n[1], RTLONG, n[2], RTLE, 0);
}

}  // namespace

int GraphSession::invoke(const resbuf* args, resbuf** result) {
  const std::wstring name = args->resval.rstring;
  ++calls[name];
  *result = nullptr;
  if (failing) return RTERROR;
  const resbuf* first = args->rbnext;
  if (name == L"getNextDuctsTransparent") {
    *result = ThreeDucts(next[IntOf(first)], nextAsPoint);
  } else if (name == L"getPrevDuct") {
    auto it = prev.find(IntOf(first));
    *result = it == prev.end() ? acutBuildList(RTNIL, 0) : acutBuildList(RTLONG, it->second, 0);
  } else if (name == L"duct-getIxDiffL") {
    auto it = diffuser.find(IntOf(first));
    *result = it == diffuser.end() ? acutBuildList(RTNIL, 0) : acutBuildList(RTLONG, it->second, 0);
  } else if (name == L"duct-getSettings") {
    *result = settings ? settings() : acutBuildList(RTNIL, 0);
  } else if (name == L"convert_rp_dp") {
    alignments.push_back(IntOf(first->rbnext));
    if (!shift) {
      *result = acutBuildList(RTNIL, 0);
    } else {
      const double p[3] = {first->resval.rpoint[0] + shift->x, first->resval.rpoint[1] + shift->y,
                           first->resval.rpoint[2] + shift->z};
      *result = acutBuildList(RT3DPOINT, p, 0);
    }
  } else if (name == L"convert_ra_da") {
    alignments.push_back(IntOf(first->rbnext));
    *result = turn ? acutBuildList(RTREAL, first->resval.rreal + *turn, 0) : acutBuildList(RTNIL, 0);
  } else {
    return RTERROR;
  }
  return RTNORM;
}

void DuctRowsTest::SetUp() {
  acDocManagerPtr()->closeAll();
  char pattern[] = "/tmp/kv_ductrows_XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  dir_ = pattern;
  ProjectDatabasePtr db;
  VARIANT_BOOL ok = VARIANT_FALSE;
  ASSERT_TRUE(SUCCEEDED(CreateProjectDatabase(db)));
  // Named a server for new projects, the tests run against a server project behind a link file.
  const char* server = std::getenv("KV_PROJECTDB_SERVER");
  const char* name = server && *server ? "office_kv_hvac.kvlink" : "office_kv_hvac.kv";
  ASSERT_TRUE(SUCCEEDED(db->CreateProject(_bstr_t((dir_ / name).wstring()), &ok)));
  db->Close(&ok);
  kvads::setConsoleSink([this](std::string_view s) { printed_ += s; });
  // The module's own registry, so that what asks for the current document finds this one.
  SetDocumentRegistry(std::make_unique<kvDocumentRegistry>(&ConnectMarkedProject));
  acDocManagerPtr()->openDocument((dir_ / "system.dwg").wstring().c_str());
  hvacPerDocData* document = CurrentDocument(DocumentRegistry());
  ASSERT_NE(document, nullptr);
  ASSERT_TRUE(ConnectDocument(*document, true));
  context_.emplace(ContextOf(*document));
  scope_ = std::make_unique<ProjectContextScope>(*context_);
  kvads::setCurrentSession(&session_);
}

void DuctRowsTest::TearDown() {
  kvads::setCurrentSession(nullptr);
  scope_.reset();
  context_.reset();
  acDocManagerPtr()->closeAll();
  SetDocumentRegistry(nullptr);
  kvads::setConsoleSink(nullptr);
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

std::int32_t DuctRowsTest::AddDuct(const AcGePoint3d& a, const AcGePoint3d& b, const wchar_t* shape, double width,
                                   double depth, const wchar_t* material) {
  tblDuct& ducts = Ducts();
  ducts.StartNew();
  ducts.SetX1(a.x);
  ducts.SetY1(a.y);
  ducts.SetZ1(a.z);
  ducts.SetX2(b.x);
  ducts.SetY2(b.y);
  ducts.SetZ2(b.z);
  ducts.SetSHAPE(shape);
  ducts.SetWIDTH(width);
  ducts.SetDEPTH(depth);
  ducts.SetMATERIAL(material);
  ducts.SetOFFSET(L"c");
  ducts.Update();
  return ducts.Info().ixDuct;
}

KvDuctDbInfo DuctRowsTest::Row(std::int32_t ixDuct) {
  EXPECT_TRUE(Ducts().FindByKey(ixDuct)) << ixDuct;
  return Ducts().Info();
}

void DuctRowsTest::Exec(const std::wstring& sql) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  GetDatabaseObject(*context_)->Execute(_bstr_t(sql.c_str()), &ok);
  ASSERT_EQ(ok, VARIANT_TRUE);
}

std::wstring DuctRowsTest::Fitting(std::int32_t ixDuct, std::wstring* value) {
  std::wstring text, fittingValue;
  if (!chooseFitting(Row(ixDuct), text, fittingValue)) return L"failed";
  if (value) *value = fittingValue;
  return text;
}
