// LISP functions over project files for the application layer: find a project's file, query a
// column, run a statement, create a project, repair a damaged file.
#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <vector>

#include "impl.h"
#include "lisp.h"

namespace kvprojectdb {
namespace {

using kvlisp::Args;
using kvlisp::Environment;
using kvlisp::Value;

// One connection per file for the life of the process, so repeated queries do not check the file
// again each time. Creating or repairing a file drops its connection.
std::map<std::string, ComPtr<Backend>>& connections() {
  static std::map<std::string, ComPtr<Backend>> open;
  return open;
}

[[noreturn]] void fail(std::string_view function, const std::string& text) {
  throw kvlisp::Error(std::string(function) + ": " + text);
}

}  // namespace

void ForgetProjectConnection(const std::string& path) { connections().erase(path); }

Backend& ConnectProject(std::string_view function, const std::string& path) {
  auto found = connections().find(path);
  VARIANT_BOOL open = VARIANT_FALSE;
  if (found != connections().end() && SUCCEEDED(found->second->IsOpen(&open)) && open) return *found->second;
  ComPtr<Backend> db = MakeRoutingBackend();
  _bstr_t result;
  db->Open(_bstr_t(Utf8ToWide(path)), 0, 0, result.GetAddress());
  if (result.str() == L"*REPAIR*") fail(function, "the database '" + path + "' is damaged and needs repair");
  if (result.length() == 0) fail(function, db->LastErrorUtf8().second);
  return *(connections()[path] = db);
}

namespace {

Backend& connect(std::string_view function, const std::string& path) { return ConnectProject(function, path); }

Value toValue(const Cell& c) {
  switch (c.type) {
    case SQLITE_INTEGER:
      if (c.i >= INT32_MIN && c.i <= INT32_MAX) return Value::integer(static_cast<std::int32_t>(c.i));
      return Value::real(static_cast<double>(c.i));
    case SQLITE_FLOAT: return Value::real(c.d);
    case SQLITE_TEXT: return Value::string(c.text);
    default: return Value();
  }
}

// Order of sort keys: nulls, then numbers by value, then texts by their bytes.
bool cellLess(const Cell& a, const Cell& b) {
  auto rank = [](const Cell& c) { return c.type == SQLITE_NULL ? 0 : c.type == SQLITE_TEXT ? 2 : 1; };
  if (rank(a) != rank(b)) return rank(a) < rank(b);
  if (rank(a) == 2) return a.text < b.text;
  auto number = [](const Cell& c) { return c.type == SQLITE_INTEGER ? static_cast<double>(c.i) : c.d; };
  return number(a) < number(b);
}

std::string cellKey(const Cell& c) {
  if (c.type == SQLITE_TEXT) return "s" + c.text;
  if (c.type == SQLITE_NULL) return "n";
  return "d" + std::to_string(c.type == SQLITE_INTEGER ? static_cast<double>(c.i) : c.d);
}

// (kvdb-query path sql [column [sortColumn [distinct]]])
Value query(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  std::string sql = TranslateSql(kvlisp::argString(args, 1));
  std::vector<std::string> columns;
  if (args.size() > 2 && !args[2].isNil()) columns.push_back(kvlisp::argString(args, 2));
  if (args.size() > 3 && !args[3].isNil()) columns.push_back(kvlisp::argString(args, 3));
  bool distinct = kvlisp::argBool(args, 4);
  Backend& db = connect("kvdb-query", path);
  std::vector<CellRow> rows;
  if (!db.QueryColumns(sql, columns, rows)) fail("kvdb-query", db.LastErrorUtf8().second);
  if (columns.size() == 2)
    std::stable_sort(rows.begin(), rows.end(), [](const CellRow& a, const CellRow& b) { return cellLess(a[1], b[1]); });
  std::vector<Value> values;
  std::set<std::string> seen;
  for (const CellRow& row : rows)
    if (!distinct || seen.insert(cellKey(row[0])).second) values.push_back(toValue(row[0]));
  return Value::list(values);
}

// (kvdb-execute path sql)
Value execute(Environment&, Args args) {
  Backend& db = connect("kvdb-execute", kvlisp::argString(args, 0));
  VARIANT_BOOL ok = VARIANT_FALSE;
  db.Execute(_bstr_t(Utf8ToWide(kvlisp::argString(args, 1))), &ok);
  if (!ok) fail("kvdb-execute", db.LastErrorUtf8().second);
  return Value::t();
}

// (kvdb-create path [server])
Value create(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  connections().erase(path);
  ProjectDbError code = ProjectDbError::None;
  std::string error;
  std::string server = args.size() > 1 && !args[1].isNil() ? kvlisp::argString(args, 1) : "";
  bool made = IsLinkPath(path) ? CreateServerProject(path, &code, &error, server) : CreateProjectFile(path, &code, &error);
  if (!made) fail("kvdb-create", error);
  return Value::t();
}

// (kvdb-repair path): rows saved, or nil with the reason printed.
Value repair(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  connections().erase(path);
  ProjectDbError code = ProjectDbError::None;
  std::string error;
  long saved = 0;
  if (IsLinkPath(path)) error = "'" + path + "' links to a project on a database server: there is no file to repair.";
  if (IsLinkPath(path) || !RepairProjectFile(path, &saved, &code, &error)) {
    acutPrintf(L"\n%s", Utf8ToWide(error).c_str());
    return Value();
  }
  return Value::integer(static_cast<std::int32_t>(saved));
}

// (kvdb-compact path): (pages-before pages-after), or nil with the reason printed.
Value compact(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  connections().erase(path);
  long before = 0, after = 0;
  std::string error;
  if (IsLinkPath(path)) error = "'" + path + "' links to a project on a database server, which gives back free space itself.";
  if (IsLinkPath(path) || !CompactProjectFile(path, &before, &after, &error)) {
    acutPrintf(L"\n%s", Utf8ToWide(error).c_str());
    return Value();
  }
  return Value::list({Value::integer(static_cast<std::int32_t>(before)), Value::integer(static_cast<std::int32_t>(after))});
}

bool countsAsCandidate(const std::string& upperName) {
  return upperName.rfind("52-KV", 0) != 0 && upperName.find("_MASTER") == std::string::npos &&
         upperName.find("_STANDARDS") == std::string::npos;
}

std::string upper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

// Every file of folder named *key*.extension that counts as a project file, in directory order.
std::vector<std::string> candidates(const std::string& folder, const std::string& key, const std::string& extension) {
  std::vector<std::string> found;
  DIR* dir = opendir(folder.c_str());
  if (!dir) return found;
  std::string suffix = "." + upper(extension);
  while (dirent* entry = readdir(dir)) {
    std::string name = upper(entry->d_name);
    if (name.size() <= suffix.size() || name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) continue;
    if (name.find(upper(key)) == std::string::npos || !countsAsCandidate(name)) continue;
    found.push_back(folder + "/" + entry->d_name);
  }
  closedir(dir);
  return found;
}

// The one file of folder named *key*.extension that counts; "" for none or for two. A link file
// stands for a project file: a folder holding one of each has two candidates.
std::string findWithExtension(const std::string& folder, const std::string& key, const std::string& extension) {
  std::vector<std::string> found = candidates(folder, key, extension);
  if (extension == "kv")
    for (std::string& link : candidates(folder, key, "kvlink")) found.push_back(std::move(link));
  return found.size() == 1 ? found.front() : "";
}

std::string folderArgument(Args args) {
  std::string folder = kvlisp::argString(args, 0);
  while (!folder.empty() && (folder.back() == ' ' || folder.back() == '/' || folder.back() == '\\')) folder.pop_back();
  return folder;
}

// (kvdb-candidates folder key): every file the finder weighs, .kv and .mdb, to tell "none"
// from "several" (kvdb-find answers nil for both).
Value listCandidates(Environment&, Args args) {
  std::string folder = folderArgument(args);
  std::vector<Value> paths;
  if (folder.empty()) return Value();
  for (const char* extension : {"kv", "kvlink", "mdb"})
    for (std::string& path : candidates(folder, kvlisp::argString(args, 1), extension))
      paths.push_back(Value::string(std::move(path)));
  return Value::list(paths);
}

// (kvdb-find folder key): the project file of a folder by the finder's rule, or nil.
Value find(Environment&, Args args) {
  std::string folder = folderArgument(args);
  if (folder.empty()) return Value();
  const std::string& key = kvlisp::argString(args, 1);
  std::string path = findWithExtension(folder, key, "kv");
  if (path.empty()) path = findWithExtension(folder, key, "mdb");
  return path.empty() ? Value() : Value::string(path);
}

// (kvdb-newPath folder key): where a new project of FOLDER goes: "<folder>/<folder name>_KEY.kv",
// or ".kvlink" when a server is named for new projects (KV_PROJECTDB_SERVER).
Value newPath(Environment&, Args args) {
  std::string folder = kvlisp::argString(args, 0);
  while (folder.size() > 1 && (folder.back() == '/' || folder.back() == '\\')) folder.pop_back();
  const std::string& key = kvlisp::argString(args, 1);
  const std::size_t cut = folder.find_last_of("/\\");
  std::string name = cut == std::string::npos ? folder : folder.substr(cut + 1);
  if (name.empty()) name = "project";
  const char* server = std::getenv("KV_PROJECTDB_SERVER");
  return Value::string(folder + "/" + name + "_" + key + (server && *server ? ".kvlink" : ".kv"));
}

const kvlisp::NativeDef kFunctions[] = {
    {"kvdb-find", "(kvdb-find folder key)",
     "The one project file of FOLDER whose name holds KEY (.kv or .kvlink, else .mdb); nil for none or several.", find},
    {"kvdb-candidates", "(kvdb-candidates folder key)",
     "Every file of FOLDER whose name holds KEY that the finder weighs (.kv, .kvlink, then .mdb).", listCandidates},
    {"kvdb-query", "(kvdb-query path sql [column [sortColumn [distinct]]])",
     "The values of COLUMN (else the first) of every row of SQL, ordered by SORTCOLUMN, repeats dropped with "
     "DISTINCT.",
     query},
    {"kvdb-execute", "(kvdb-execute path sql)", "Runs a statement that changes data; T.", execute},
    {"kvdb-newPath", "(kvdb-newPath folder key)",
     "Where a new project of FOLDER goes: <folder name>_KEY.kv, or .kvlink when KV_PROJECTDB_SERVER names a server.",
     newPath},
    {"kvdb-create", "(kvdb-create path [server])",
     "Creates a new project file with its schema and starting rows; T. A .kvlink PATH makes the project on "
     "SERVER (a connection string; else the one KV_PROJECTDB_SERVER names) and links to it.",
     create},
    {"kvdb-repair", "(kvdb-repair path)",
     "Rebuilds a damaged project file, keeping it as PATH.damaged; the rows saved, or nil.", repair},
    {"kvdb-compact", "(kvdb-compact path)", "Rewrites a project file without its free pages; (pages-before pages-after), or nil.", compact},
};

const kvlisp::NativeRegistrar registrar(kFunctions);

}  // namespace
}  // namespace kvprojectdb
