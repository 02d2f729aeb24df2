// Finding, opening, repairing, connecting and closing the project database of a project folder.
#include <algorithm>
#include <filesystem>
#include <initializer_list>

#include "database.h"
#include "text.h"

namespace {

using kvdb::IsTrue;
using kvdb::Upper;

std::wstring RightTrimmed(std::wstring text) {
  const auto end = text.find_last_not_of(L" \t");
  text.erase(end == std::wstring::npos ? 0 : end + 1);
  return text;
}

// Master and standards copies, and the "52-KV" files, lie beside a project's database but are
// never it.
bool IsCandidateName(const std::wstring& upperName) {
  return upperName.compare(0, 5, L"52-KV") != 0 && upperName.find(L"_MASTER") == std::wstring::npos &&
         upperName.find(L"_STANDARDS") == std::wstring::npos;
}

// The single candidate of one extension: "*<key>*.<extension>", compared without regard to case
// as the platform's file search does.
// Files of any of the extensions compete as one set of candidates.
std::wstring FindWithExtension(const std::filesystem::path& folder, std::wstring_view key,
                               std::initializer_list<std::wstring_view> extensions) {
  const std::wstring upperKey = Upper(key);
  std::wstring hit;
  int hits = 0;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    const std::wstring name = Upper(it->path().filename().wstring());
    std::size_t stem = std::wstring::npos;
    for (std::wstring_view extension : extensions) {
      const std::wstring upperExt = L"." + Upper(extension);
      if (name.size() >= upperExt.size() && name.compare(name.size() - upperExt.size(), upperExt.size(), upperExt) == 0)
        stem = name.size() - upperExt.size();
    }
    if (stem == std::wstring::npos || name.substr(0, stem).find(upperKey) == std::wstring::npos) continue;
    if (!IsCandidateName(name)) continue;
    hit = it->path().wstring();
    if (++hits == 2) return {};
  }
  return hits == 1 ? hit : std::wstring();
}

const wchar_t* FindErrorText(std::wstring_view key) {
  if (key == L"kv_elec") return L"\nError finding the electrical database.";
  if (key == L"kv_hvac") return L"\nError finding the HVAC database.";
  if (key == L"kv_plumb") return L"\nError finding the plumbing database.";
  return nullptr;
}

const wchar_t* ConnectErrorText(std::wstring_view key) {
  if (key == L"kv_elec") return L"\nCannot connect to the electrical database (Connection Error Code 1).";
  if (key == L"kv_hvac") return L"\nCannot connect to the HVAC database (Connection Error Code 1).";
  if (key == L"kv_plumb") return L"\nCannot connect to the plumbing database (Connection Error Code 1).";
  return nullptr;
}

void PrintText(const wchar_t* text) {
  if (text) acutPrintf(L"%s", text);
}

std::wstring OpenPath(ProjectDatabase& db, const std::wstring& path) {
  _bstr_t bpath(path);
  _bstr_t text;
  ComCheck(db.Open(bpath, 0, 0, text.GetAddress()));
  return text.str();
}

// Asks the LISP layer to repair and compact the file; true when it says it did.
bool RepairThroughLisp(const std::wstring& path) {
  resbuf* args = acutBuildList(RTSTR, L"compactDatabase", RTSTR, path.c_str(), RTNIL, RTSTR, L"Repair", 0);
  resbuf* result = nullptr;
  const int status = acedInvoke(args, &result);
  acutRelRb(args);
  const bool repaired = status == RTNORM && result != nullptr && result->restype != RTNIL;
  acutRelRb(result);
  return repaired;
}

// The damaged-file path of OpenDatabase: close, repair, open once more (text is the answer of
// that open). False when the failure was reported and the instance must go.
bool RepairAndReopen(ProjectDatabasePtr& db, const std::wstring& path, std::wstring& text) {
  VARIANT_BOOL done = VARIANT_FALSE;
  ComCheck(db->Close(&done));
  if (RepairThroughLisp(path)) {
    text = OpenPath(*db, path);
    if (text == L"*REPAIR*" || text.empty()) return !ReportDatabaseError(db);
    return true;
  }
  return !ReportDatabaseError(db);
}

}  // namespace

kvProjectDatabase::~kvProjectDatabase() { Close(); }

void kvProjectDatabase::setConnection(ProjectDatabasePtr connection) {
  if (connection.Get() != connection_.Get()) DestroyTables();
  connection_ = std::move(connection);
}

template <class T> void kvProjectDatabase::Create() {
  auto& slot = std::get<std::unique_ptr<T>>(tables_);
  if (!slot) slot = std::make_unique<T>(connection_.Get(), true);
}

void kvProjectDatabase::CreateCommonTables() {
  Create<tblGlobal>();
  Create<tblLayer>();
  Create<tblLayerKey>();
  Create<tblLayerSystem>();
  Create<tblTextStyle>();
}

void kvProjectDatabase::CreateHvacTables() {
  Create<tblDuct>();
  Create<tblDiffL>();
  Create<tblDiffS>();
  Create<tblDwgDiff>();
  Create<tblLoadRoomCooling>();
  Create<tblLoadRoomHeating>();
}

void kvProjectDatabase::DestroyTables() {
  Destroy<tblGlobal>();
  Destroy<tblLayer>();
  Destroy<tblLayerKey>();
  Destroy<tblLayerSystem>();
  Destroy<tblTextStyle>();
  Destroy<tblDuct>();
  Destroy<tblDiffL>();
  Destroy<tblDiffS>();
  Destroy<tblDwgDiff>();
  Destroy<tblLoadRoomHeating>();
  Destroy<tblLoadRoomCooling>();
}

void kvProjectDatabase::Close() {
  DestroyTables();
  ProjectDatabase* db = connection_.Get();
  if (!db) return;
  VARIANT_BOOL done = VARIANT_FALSE;
  db->CloseTables(&done);
  VARIANT_BOOL open = VARIANT_FALSE;
  if (SUCCEEDED(db->IsOpen(&open)) && IsTrue(open)) db->Close(&done);
}

KvDuctDbInfo kvProjectDatabase::NewProjectDuctDefaults() {
  KvDuctDbInfo defaults;
  defaults.MATERIAL = L"GS";
  defaults.SHAPE = L"rd";
  defaults.OFFSET = L"c";
  defaults.VERTICALOFFSET = L"c";
  defaults.AIRFLOW = L"sa";
  defaults.DOUBLE_LINE = L"a";
  defaults.WIDTH = 12.0;
  defaults.DEPTH = 12.0;
  defaults.SIZEFOR = L"P";
  defaults.SIZESHAPE = L"RD2RC";
  defaults.SIZEVAL1 = 0.08;
  defaults.SIZEMAX = 24;
  return defaults;
}

kvProjectDatabase& DatabaseOf(kvPerProjectData& project) {
  if (auto* state = dynamic_cast<kvProjectDatabase*>(project.databaseState())) return *state;
  auto state = std::make_unique<kvProjectDatabase>();
  kvProjectDatabase& made = *state;
  project.setDatabaseState(std::move(state));
  return made;
}

bool IsConnectionOpen(ProjectDatabase* connection) {
  if (!connection) return false;
  VARIANT_BOOL open = VARIANT_FALSE;
  ComCheck(connection->IsOpen(&open));
  return IsTrue(open);
}

std::wstring FindDatabaseFile(std::wstring_view folder, std::wstring_view key) {
  const std::filesystem::path dir{std::wstring(folder)};
  // A link file to a server project stands where the project file would.
  std::wstring path = FindWithExtension(dir, key, {L"kv", L"kvlink"});
  return path.empty() ? FindWithExtension(dir, key, {L"mdb"}) : path;
}

bool OpenDatabase(kvPerProjectData& project, std::wstring folder, std::wstring_view key, bool report) {
  kvProjectDatabase& state = DatabaseOf(project);
  if (IsConnectionOpen(state.connection().Get())) return false;
  folder = RightTrimmed(std::move(folder));
  if (folder.empty()) return false;
  project.setFolder(folder);
  const std::wstring path = FindDatabaseFile(folder, key);
  if (path.empty()) {
    if (report) PrintText(FindErrorText(key));
    return false;
  }
  ProjectDatabasePtr db;
  if (FAILED(CreateProjectDatabase(db)) || !db) return true;  // ConnectDocument tells the user
  std::wstring text = OpenPath(*db, path);
  if (text == L"*REPAIR*" && !RepairAndReopen(db, path, text)) return false;
  if (text.empty() && ReportDatabaseError(db)) return false;
  state.setConnection(std::move(db));
  return true;
}

bool ConnectDocument(hvacPerDocData& document, bool report) {
  hvacPerProjectData& project = document.hvacProject();
  kvProjectDatabase& state = DatabaseOf(project);
  if (!IsConnectionOpen(state.connection().Get())) {
    OpenDatabase(project, project.folder(), L"kv_hvac", report);
    if (!IsConnectionOpen(state.connection().Get())) {
      if (report) PrintText(ConnectErrorText(L"kv_hvac"));
      return false;
    }
  }
  state.CreateCommonTables();
  state.CreateHvacTables();
  return true;
}

void DisconnectProject(hvacPerProjectData& project) {
  kvProjectDatabase& database = DatabaseOf(project);
  database.Close();
  database.resetDuctDefaults();
  project.setIsMetric(false);
}

LispStatus kv_hvac_disconnect() {
  LispArgs args;
  // The guard locks without connecting: a project never connected has nothing to close.
  if (hvacPerProjectData* project = CurrentProject(DocumentRegistry())) DisconnectProject(*project);
  acedRetNil();
  return LispStatus::Success;
}

bool ReportDatabaseError(ProjectDatabasePtr connection) {
  acedRetNil();
  if (!connection) return false;
  VARIANT_BOOL hasError = VARIANT_FALSE;
  ComCheck(connection->HasError(&hasError));
  if (!IsTrue(hasError)) return false;
  LONG code = 0;
  _bstr_t text;
  ComCheck(connection->GetLastError(&code, text.GetAddress()));
  if (code == 3043) {
    acutPrintf(L"%s", L"\nA disk or network error occurred while trying to access the database.");
    acutPrintf(L"%s", L"Try the command again. If it continues to not work, try restarting AutoCAD. If that "
                      L"does not fix the error, try restarting your computer.");
  } else if (code != 3021) {
    acutPrintf(L"\nDatabase Error: %s", text.str().c_str());
  }
  return true;
}


std::vector<_variant_t> QueryColumn(ProjectDatabase* connection, const std::wstring& sql) {
  std::vector<_variant_t> out;
  if (!connection) return out;
  SAFEARRAY* raw = nullptr;
  VARIANT_BOOL found = VARIANT_FALSE;
  _bstr_t text(sql);
  if (FAILED(connection->QueryRow(text, &raw, &found))) return out;
  SafeArrayPtr values(raw);
  if (found != VARIANT_TRUE || !values) return out;
  LONG lo = 0, hi = -1;
  SafeArrayGetLBound(values.get(), 1, &lo);
  SafeArrayGetUBound(values.get(), 1, &hi);
  for (LONG i = lo; i <= hi; ++i) {
    VARIANT v;
    VariantInit(&v);
    SafeArrayGetElement(values.get(), &i, &v);
    _variant_t owned;
    owned.Attach(v);
    out.push_back(std::move(owned));
  }
  return out;
}
