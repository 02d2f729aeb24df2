// ProjectDatabase: opening and closing a project file, its errors, table descriptions, and the
// whole file's operations (create, repair). Rows and SQL live in rows.cpp, walking and seeking in
// cursor.cpp, and what the file and server engines share in engine.cpp.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <thread>

#include "impl.h"
#include "schema.h"

const CLSID CLSID_ProjectDatabase = {0x6B76A1D0, 0x2F4E, 0x4C1B, {0x9A, 0x51, 0x70, 0x72, 0x6A, 0x64, 0x62, 0x01}};
const IID IID_ProjectDatabase = {0x6B76A1D1, 0x2F4E, 0x4C1B, {0x9A, 0x51, 0x70, 0x72, 0x6A, 0x64, 0x62, 0x01}};

namespace kvprojectdb {

namespace {

HRESULT createInstance(REFIID iid, void** out) {
  ComPtr<Backend> object = MakeRoutingBackend();
  return object->QueryInterface(iid, out);
}

// Linking the library makes the class creatable, as installing the component does.
const bool registered = (ComRegisterClass(CLSID_ProjectDatabase, createInstance), true);

bool fileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// The first bytes decide what a file is: SQLite's header, Access's, or neither.
enum class FileKind { Sqlite, Access, Other };

FileKind sniff(const std::string& path) {
  char head[32] = {};
  std::ifstream in(path, std::ios::binary);
  in.read(head, sizeof head);
  if (std::memcmp(head, "SQLite format 3", 16) == 0) return FileKind::Sqlite;
  if (std::memcmp(head + 4, "Standard Jet DB", 15) == 0 || std::memcmp(head + 4, "Standard ACE DB", 15) == 0)
    return FileKind::Access;
  return FileKind::Other;
}

std::string folderOf(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// A file: URI that opens path without any journal, for files in folders that cannot be written.
std::string immutableUri(const std::string& path) {
  std::string uri = "file:";
  for (char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
      uri += escaped;
    } else {
      uri += c;
    }
  }
  return uri + "?immutable=1";
}

}  // namespace

ComPtr<Backend> MakeFileBackend() {
  ComPtr<Backend> made;
  made.Attach(new ProjectDatabaseImpl());
  return made;
}

std::string LowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
    char y = b[i] >= 'A' && b[i] <= 'Z' ? static_cast<char>(b[i] - 'A' + 'a') : b[i];
    if (x != y) return false;
  }
  return true;
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && LowerAscii(text.substr(text.size() - suffix.size())) == LowerAscii(suffix);
}

namespace {

// How long a call waits for a file that another process is writing: ten seconds, or the
// milliseconds of KV_DB_BUSY_TIMEOUT_MS.
std::chrono::milliseconds lockPatience() {
  const char* text = std::getenv("KV_DB_BUSY_TIMEOUT_MS");
  long ms = text ? std::strtol(text, nullptr, 10) : 0;
  return std::chrono::milliseconds(ms > 0 ? ms : 10000);
}

// Waiting for a file another process is writing. SQLite's own timeout backs off to 100 ms
// sleeps, so a writer that commits back to back keeps the lock nearly all the time and starves
// the other; short sleeps with jitter give both their turns.
int waitForLock(void*, int attempt) {
  using Clock = std::chrono::steady_clock;
  thread_local Clock::time_point until;
  thread_local std::minstd_rand jitter(static_cast<unsigned>(getpid()));
  if (attempt == 0) until = Clock::now() + lockPatience();
  if (Clock::now() > until) return 0;
  std::this_thread::sleep_for(std::chrono::microseconds(50 + jitter() % 200));
  return 1;
}

}  // namespace

int ConfigureConnection(sqlite3* db, bool readOnly) {
  sqlite3_busy_handler(db, waitForLock, nullptr);
  sqlite3_extended_result_codes(db, 1);
  if (readOnly) return SQLITE_OK;
  // WAL lets readers in other processes go on while one writes; FULL makes every commit reach
  // the disk before the call that made it returns.
  const char* pragmas = "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;";
  return sqlite3_exec(db, pragmas, nullptr, nullptr, nullptr);
}

// ---- TableInfo ---------------------------------------------------------------------------------------

const IndexInfo* TableInfo::FindIndex(std::string_view name) const {
  for (const IndexInfo& ix : indices)
    if (EqualsNoCase(ix.name, name)) return &ix;
  return nullptr;
}

int TableInfo::FindColumn(std::string_view name) const {
  auto found = columnByLowerName.find(LowerAscii(name));
  return found == columnByLowerName.end() ? -1 : found->second;
}

// ---- Lifetime, errors ----------------------------------------------------------------------------------

ProjectDatabaseImpl::~ProjectDatabaseImpl() { CloseFile(); }

HRESULT QueryProjectDatabase(ProjectDatabase* self, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  if (iid == IID_ProjectDatabase || iid == IID_IUnknown) {
    *out = self;
    self->AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT ProjectDatabaseImpl::QueryInterface(REFIID iid, void** out) { return QueryProjectDatabase(this, iid, out); }

bool ProjectDatabaseImpl::Fail(int rc, std::string_view what) {
  std::string detail = db_ ? sqlite3_errmsg(db_.get()) : sqlite3_errstr(rc);
  std::string text = std::string(what) + ": " + detail;
  switch (rc & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
    case SQLITE_PROTOCOL: SetError(ProjectDbError::DiskOrNetwork, "Disk or network error. " + text); break;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB: SetError(ProjectDbError::CannotOpen, "The database is damaged and needs repair. " + text); break;
    case SQLITE_READONLY: SetError(ProjectDbError::ReadOnly, "Cannot update. Database or object is read-only."); break;
    case SQLITE_CONSTRAINT:
      SetError(ProjectDbError::DuplicateKey, "The changes would create duplicate values in the index. " + text);
      break;
    default:
      if (detail.find("no such table") != std::string::npos) SetError(ProjectDbError::TableNotFound, text);
      else if (detail.find("no such column") != std::string::npos) SetError(ProjectDbError::FieldNotFound, text);
      else SetError(ProjectDbError::SyntaxError, text);
  }
  return false;
}

sqlite3_stmt* ProjectDatabaseImpl::Prepare(const std::string& sql) {
  auto it = statements_.find(sql);
  if (it != statements_.end()) return it->second.get();
  sqlite3_stmt* s = nullptr;
  int rc = sqlite3_prepare_v3(db_.get(), sql.c_str(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &s, nullptr);
  if (rc != SQLITE_OK) {
    sqlite3_finalize(s);
    Fail(rc, "Cannot prepare \"" + sql + "\"");
    return nullptr;
  }
  statements_.emplace(sql, StmtHandle(s));
  return s;
}

bool ProjectDatabaseImpl::Run(sqlite3_stmt* s) {
  StmtScope scope(s);
  int rc;
  while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
  }
  return rc == SQLITE_DONE || Fail(rc, "Statement failed");
}

bool ProjectDatabaseImpl::RunReturning(sqlite3_stmt* s, const TableInfo& table, CellRow& out) {
  StmtScope scope(s);
  out.clear();
  int rc;
  while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
    if (!out.empty()) continue;
    int n = sqlite3_column_count(s);
    out.resize(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) out[static_cast<std::size_t>(i)] = Cell::FromColumn(s, i);
    for (std::size_t c = 0; c < table.real.size() && c + 1 < out.size(); ++c) {
      Cell& cell = out[c + 1];
      if (table.real[c] && cell.type == SQLITE_INTEGER) {
        cell.type = SQLITE_FLOAT;
        cell.d = static_cast<double>(cell.i);
      }
    }
  }
  return rc == SQLITE_DONE || Fail(rc, "Statement failed");
}

bool ProjectDatabaseImpl::Begin() {
  sqlite3_stmt* s = Prepare("BEGIN IMMEDIATE");
  return s && Run(s);
}

bool ProjectDatabaseImpl::Commit() {
  sqlite3_stmt* s = Prepare("COMMIT");
  if (s && Run(s)) return true;
  Rollback();
  return false;
}

void ProjectDatabaseImpl::Rollback() {
  if (db_ && !sqlite3_get_autocommit(db_.get())) sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

// ---- Open and close -----------------------------------------------------------------------------------

ProjectDatabaseImpl::OpenOutcome ProjectDatabaseImpl::OpenFile(const std::string& path, bool readOnly, bool viewOnly) {
  CloseFile();
  if (!fileExists(path)) {
    SetError(ProjectDbError::FileNotFound, "Could not find file '" + path + "'.");
    return OpenOutcome::Failed;
  }
  FileKind kind = sniff(path);
  if (kind == FileKind::Access || EndsWithNoCase(path, ".mdb")) {
    SetError(ProjectDbError::UnrecognizedFormat,
             "Unrecognized database format '" + path +
                 "'. This is an Access (.mdb) project database, which this host cannot read; "
                 "the project needs a .kv database.");
    return OpenOutcome::Failed;
  }
  if (kind != FileKind::Sqlite) {
    SetError(ProjectDbError::CannotOpen, "Cannot open database '" + path + "'. It is not a project database.");
    return OpenOutcome::Failed;
  }
  sqlite3* raw = nullptr;
  int flags = (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI;
  // In a folder nobody can write, no journal can exist beside the file and none could be made:
  // the file is read as it stands.
  bool sealed = readOnly && access(folderOf(path).c_str(), W_OK) != 0;
  std::string name = sealed ? immutableUri(path) : path;
  int rc = sqlite3_open_v2(name.c_str(), &raw, flags, nullptr);
  db_.reset(raw);
  if (rc == SQLITE_OK) rc = ConfigureConnection(raw, readOnly);
  if (rc != SQLITE_OK) {
    bool damaged = (rc & 0xFF) == SQLITE_CORRUPT || (rc & 0xFF) == SQLITE_NOTADB;
    Fail(rc, "Cannot open '" + path + "'");
    CloseFile();
    return damaged ? OpenOutcome::NeedsRepair : OpenOutcome::Failed;
  }
  path_ = path;
  readOnly_ = readOnly;
  if (!QuickCheckPasses()) return OpenOutcome::NeedsRepair;
  // A view leaves the file exactly as it stands; only a full open brings it up to the schema.
  if (!viewOnly) {
    if (!readOnly) AddMissingTables();
    if (!AddMissingIndices()) {
      CloseFile();
      return OpenOutcome::Failed;
    }
  }
  return OpenOutcome::Open;
}

// A file made before the schema gained a table gets it, empty, the first time it is opened for
// writing, so that every project answers the same SQL. If that cannot be written now (the file is
// locked past the wait), the file stays as it was and the next writable open tries again.
void ProjectDatabaseImpl::AddMissingTables() {
  std::vector<std::string> present;
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(db_.get(), "SELECT name FROM sqlite_master WHERE type = 'table'", -1, &raw, nullptr) != SQLITE_OK)
    return;
  {
    StmtHandle names(raw);
    while (sqlite3_step(raw) == SQLITE_ROW) present.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(raw, 0)));
  }
  std::vector<std::string> statements = missingTableStatements(present);
  if (statements.empty() || !Begin()) return;
  for (const std::string& sql : statements)
    if (sqlite3_exec(db_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
      Rollback();
      return;
    }
  Commit();
}

void ProjectDatabaseImpl::CloseFile() {
  ForgetCursors();
  tables_.clear();
  statements_.clear();
  db_.reset();
  path_.clear();
}

HRESULT ProjectDatabaseImpl::Open(BSTR path, short, short, BSTR* result) {
  if (!result) return E_POINTER;
  ClearError();
  std::string file = BstrToUtf8(path);
  OpenOutcome outcome = OpenFile(file, false);
  if (outcome == OpenOutcome::NeedsRepair) {
    CloseFile();
    SetError(ProjectDbError::CannotOpen, "The database '" + file + "' is damaged and needs repair.");
  }
  const wchar_t* answer = outcome == OpenOutcome::Open ? nullptr : outcome == OpenOutcome::Failed ? L"" : L"*REPAIR*";
  std::wstring opened = Utf8ToWide(file);
  *result = SysAllocString(answer ? answer : opened.c_str());
  return *result ? S_OK : E_OUTOFMEMORY;
}

HRESULT ProjectDatabaseImpl::OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) {
  if (!readOnly || !ok) return E_POINTER;
  ClearError();
  std::string file = BstrToUtf8(path);
  std::string folder = folderOf(file);
  // A file without write permission bits counts as read-only even for a user who could override
  // them, as the read-only attribute does on the platform's file systems.
  struct stat info {};
  bool writable = stat(file.c_str(), &info) == 0 && (info.st_mode & 0222) != 0 &&
                  access(file.c_str(), W_OK) == 0 && access(folder.c_str(), W_OK) == 0;
  OpenOutcome outcome = OpenFile(file, !writable, true);
  if (outcome == OpenOutcome::NeedsRepair) {
    CloseFile();
    SetError(ProjectDbError::CannotOpen, "The database '" + file + "' is damaged and needs repair.");
  }
  SetFlag(readOnly, fileExists(file) && !writable);
  SetFlag(ok, outcome == OpenOutcome::Open);
  return S_OK;
}

// ---- Tables -------------------------------------------------------------------------------------------

const TableInfo* ProjectDatabaseImpl::LoadTable(std::string_view name) {
  std::string key = LowerAscii(name);
  auto found = tables_.find(key);
  if (found != tables_.end()) return found->second.get();
  auto info = std::make_unique<TableInfo>();
  sqlite3_stmt* s = Prepare("SELECT name FROM sqlite_schema WHERE type = 'table' AND name = ?1 COLLATE NOCASE");
  if (!s) return nullptr;
  {
    StmtScope scope(s);
    sqlite3_bind_text(s, 1, key.c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(s) != SQLITE_ROW) {
      SetError(ProjectDbError::TableNotFound, "Cannot find the input table '" + std::string(name) + "'.");
      return nullptr;
    }
    info->name = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
  }
  if (!ReadColumns(*info) || !ReadIndices(*info)) return nullptr;
  info->wideName = Utf8ToWide(info->name);
  for (IndexInfo& ix : info->indices) ix.wideName = Utf8ToWide(ix.name);
  return tables_.emplace(key, std::move(info)).first->second.get();
}

bool ProjectDatabaseImpl::ReadColumns(TableInfo& info) {
  sqlite3_stmt* s = Prepare("SELECT name, type, pk FROM pragma_table_info(?1)");
  if (!s) return false;
  StmtScope scope(s);
  sqlite3_bind_text(s, 1, info.name.c_str(), -1, SQLITE_TRANSIENT);
  int rc;
  while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
    std::string column = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
    std::string type = LowerAscii(reinterpret_cast<const char*>(sqlite3_column_text(s, 1)));
    if (sqlite3_column_int(s, 2) == 1 && type == "integer") info.keyColumn = static_cast<int>(info.columns.size());
    info.columnByLowerName.emplace(LowerAscii(column), static_cast<int>(info.columns.size()));
    info.columns.push_back(column);
    info.wideColumns.push_back(Utf8ToWide(column));
    info.boolean.push_back(type == "boolean");
    info.real.push_back(type == "real" || type == "double" || type == "float");
  }
  return rc == SQLITE_DONE || Fail(rc, "Cannot read the columns of " + info.name);
}

// Named indices are stored as "<table>__<name>"; any other index of the table keeps its name.
bool ProjectDatabaseImpl::ReadIndices(TableInfo& info) {
  if (info.keyColumn >= 0) {
    info.indices.emplace_back();
    info.indices.back().name = info.columns[static_cast<std::size_t>(info.keyColumn)];
  }
  sqlite3_stmt* s = Prepare(
      "SELECT il.name, ii.name FROM pragma_index_list(?1) AS il, pragma_index_info(il.name) AS ii "
      "WHERE il.origin = 'c' ORDER BY il.name, ii.seqno");
  if (!s) return false;
  StmtScope scope(s);
  sqlite3_bind_text(s, 1, info.name.c_str(), -1, SQLITE_TRANSIENT);
  std::string prefix = info.name + "__";
  int rc;
  while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
    std::string stored = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
    std::string name = stored.rfind(prefix, 0) == 0 ? stored.substr(prefix.size()) : stored;
    const char* column = reinterpret_cast<const char*>(sqlite3_column_text(s, 1));
    if (info.indices.empty() || info.indices.back().name != name) {
      info.indices.emplace_back();
      info.indices.back().name = name;
    }
    info.indices.back().columns.push_back(info.FindColumn(column ? column : ""));
  }
  return rc == SQLITE_DONE || Fail(rc, "Cannot read the indices of " + info.name);
}

// ---- Project files ------------------------------------------------------------------------------------

bool ProjectDatabaseImpl::MakeProject(const std::string& path, ProjectDbError* code, std::string* error) {
  return CreateProjectFile(path, code, error);
}

HRESULT ProjectDatabaseImpl::Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) {
  if (!rowsSaved || !ok) return E_POINTER;
  *rowsSaved = 0;
  SetFlag(ok, false);
  ClearError();
  std::string file = BstrToUtf8(path);
  if (db_ && file == path_) {
    SetError(ProjectDbError::CannotOpen, "Cannot repair '" + file + "' while this connection has it open.");
    return S_OK;
  }
  ProjectDbError code = ProjectDbError::None;
  std::string error;
  long saved = 0;
  if (!RepairProjectFile(file, &saved, &code, &error)) {
    SetError(code, error);
    return S_OK;
  }
  *rowsSaved = static_cast<LONG>(saved);
  SetFlag(ok, true);
  return S_OK;
}

bool ProjectDatabaseImpl::QuickCheckPasses() {
  sqlite3_stmt* raw = nullptr;
  int rc = sqlite3_prepare_v2(db_.get(), "PRAGMA quick_check(1)", -1, &raw, nullptr);
  StmtHandle s(raw);
  if (rc == SQLITE_OK) rc = sqlite3_step(raw);
  bool passes = rc == SQLITE_ROW && std::strcmp(reinterpret_cast<const char*>(sqlite3_column_text(raw, 0)), "ok") == 0;
  if (!passes) {
    s.reset();
    CloseFile();
  }
  return passes;
}

// A file made before an index joined the schema gets it the first time it is opened for writing:
// only the index is built, the rows stay as they are. A table or column the file lacks keeps its
// indices out; a file that can only be read is read as it stands.
bool ProjectDatabaseImpl::AddMissingIndices() {
  if (readOnly_ || sqlite3_db_readonly(db_.get(), "main") == 1) return true;
  std::vector<std::string> missing;
  sqlite3_stmt* known = Prepare("SELECT count(*) FROM sqlite_schema WHERE type = 'index' AND name = ?1");
  sqlite3_stmt* column = Prepare("SELECT count(*) FROM pragma_table_info(?1) WHERE name = ?2 COLLATE NOCASE");
  if (!known || !column) return false;
  auto count = [](sqlite3_stmt* s, const std::string& a, const std::string* b) {
    StmtScope scope(s);
    sqlite3_bind_text(s, 1, a.c_str(), -1, SQLITE_TRANSIENT);
    if (b) sqlite3_bind_text(s, 2, b->c_str(), -1, SQLITE_TRANSIENT);
    return sqlite3_step(s) == SQLITE_ROW ? sqlite3_column_int(s, 0) : 0;
  };
  for (const TableDef& table : projectTables())
    for (const IndexDef& index : table.indices) {
      if (count(known, storedIndexName(table.name, index.name), nullptr) > 0) continue;
      const bool columnsThere = std::all_of(index.columns.begin(), index.columns.end(),
                                            [&](const std::string& c) { return count(column, table.name, &c) > 0; });
      if (columnsThere) missing.push_back(indexStatement(table, index));
    }
  if (missing.empty()) return true;
  if (!Begin()) return false;
  for (const std::string& sql : missing) {
    const int rc = sqlite3_exec(db_.get(), sql.c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
      Fail(rc, "Cannot add an index to '" + path_ + "' (" + sql + ")");
      Rollback();
      return false;
    }
  }
  return Commit();
}

}  // namespace kvprojectdb

HRESULT CreateProjectDatabase(ProjectDatabasePtr& out) {
  return CoCreateInstance(CLSID_ProjectDatabase, nullptr, CLSCTX_ALL, IID_ProjectDatabase,
                          reinterpret_cast<void**>(out.Put()));
}
