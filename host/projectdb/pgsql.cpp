// The server back end: a project kept in its own schema on a PostgreSQL server, reached through
// a link file in the project folder. It answers every slot as the file back end does (the same
// rows, orders, errors and codes), so a caller cannot tell the two apart.
#include <algorithm>
#include <libpq-fe.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <regex>
#include <sstream>

#include "impl.h"
#include "schema.h"

namespace kvprojectdb {

namespace {

struct ResultClear {
  void operator()(PGresult* r) const { PQclear(r); }
};
using Result = std::unique_ptr<PGresult, ResultClear>;

struct ConnFinish {
  void operator()(PGconn* c) const { PQfinish(c); }
};
using Conn = std::unique_ptr<PGconn, ConnFinish>;

std::string quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

bool fileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string folderOf(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// The connection string of a link file: its first line that is neither blank nor a # comment.
bool readLink(const std::string& path, std::string& conninfo) {
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    std::size_t start = line.find_first_not_of(" \t\r");
    if (start == std::string::npos || line[start] == '#') continue;
    std::size_t end = line.find_last_not_of(" \t\r");
    conninfo = line.substr(start, end - start + 1);
    return true;
  }
  return false;
}

// How long a write waits for rows another designer holds, as the file back end waits for the file.
long lockPatienceMs() {
  const char* text = std::getenv("KV_DB_BUSY_TIMEOUT_MS");
  long ms = text ? std::strtol(text, nullptr, 10) : 0;
  return ms > 0 ? ms : 10000;
}

void ignoreNotice(void*, const char*) {}

Conn connect(const std::string& conninfo, std::string* error) {
  Conn conn(PQconnectdb(conninfo.c_str()));
  if (!conn || PQstatus(conn.get()) != CONNECTION_OK) {
    *error = conn ? PQerrorMessage(conn.get()) : "out of memory";
    while (!error->empty() && (error->back() == '\n' || error->back() == ' ')) error->pop_back();
    return nullptr;
  }
  // CREATE TABLE IF NOT EXISTS and the like talk back; the file back end stays silent, so this does.
  PQsetNoticeProcessor(conn.get(), ignoreNotice, nullptr);
  return conn;
}

bool run(PGconn* conn, const std::string& sql, std::string* error) {
  Result r(PQexec(conn, sql.c_str()));
  ExecStatusType st = r ? PQresultStatus(r.get()) : PGRES_FATAL_ERROR;
  if (st == PGRES_COMMAND_OK || st == PGRES_TUPLES_OK) return true;
  *error = PQerrorMessage(conn) + std::string(" in: ") + sql.substr(0, 200);
  return false;
}

bool isWordChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Rows copied in with their keys leave the key generators behind them; this sets each one past
// the largest key, as SQLite's AUTOINCREMENT would be.
const char* const kResyncKeys =
    "DO $$DECLARE r record; BEGIN FOR r IN SELECT c.relname, a.attname FROM pg_attribute a "
    "JOIN pg_class c ON c.oid = a.attrelid WHERE c.relnamespace = current_schema()::regnamespace "
    "AND a.attidentity <> '' LOOP EXECUTE format('SELECT setval(pg_get_serial_sequence(%L, %L), "
    "coalesce(max(%I), 0) + 1, false) FROM %I', quote_ident(r.relname), r.attname, r.attname, "
    "r.relname); END LOOP; END$$";

}  // namespace

namespace {

// A column whose name the server reserves (OFFSET) is quoted where it stands as a name: not where
// the keyword's number follows it.
bool reservedColumnAt(std::string_view upper, std::string_view sql, std::size_t after) {
  static const char* const kReserved[] = {"OFFSET", "ORDER", "USER", "LIMIT", "DEFAULT", "END", "DESC", "CHECK"};
  bool reserved = false;
  for (const char* word : kReserved) reserved = reserved || upper == word;
  if (!reserved) return false;
  bool column = false;
  for (const TableDef& t : projectTables())
    for (const ColumnDef& c : t.columns) column = column || EqualsNoCase(c.name, upper);
  while (after < sql.size() && std::isspace(static_cast<unsigned char>(sql[after]))) ++after;
  bool valueFollows = after < sql.size() && (std::isdigit(static_cast<unsigned char>(sql[after])) || sql[after] == '$' ||
                                             sql[after] == '?' || sql[after] == '(');
  return column && !valueFollows;
}

}  // namespace

// SQLite's dialect, as the component's callers write it, into the server's: quoted names fold to
// lower case as the schema's did, LIKE ignores case as SQLite's does, IFNULL is COALESCE, and a
// CREATE TABLE gets the server's types for SQLite's.
std::string ServerSql(std::string_view sql) {
  std::string out;
  out.reserve(sql.size() + 16);
  bool creating = false;
  std::string previous;  // the last word, upper case
  std::size_t i = 0;
  while (i < sql.size()) {
    char c = sql[i];
    if (c == '\'') {
      std::size_t end = i + 1;
      while (end < sql.size() && !(sql[end] == '\'' && (end + 1 >= sql.size() || sql[end + 1] != '\'')))
        end += sql[end] == '\'' ? 2 : 1;
      out.append(sql.substr(i, end + 1 - i));
      i = end + 1;
    } else if (c == '"') {
      std::size_t end = sql.find('"', i + 1);
      if (end == std::string_view::npos) end = sql.size();
      out += '"';
      for (char ch : sql.substr(i + 1, end - i - 1)) out += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
      out += '"';
      i = end + 1;
    } else if (isWordChar(c)) {
      std::size_t end = i;
      while (end < sql.size() && isWordChar(sql[end])) ++end;
      std::string word(sql.substr(i, end - i));
      std::string up = word;
      for (char& ch : up) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
      if (up == "TABLE" && previous == "CREATE") creating = true;
      i = end;
      if (reservedColumnAt(up, sql, i)) word = "\"" + LowerAscii(word) + "\"";
      else if (up == "LIKE") word = "ILIKE";
      else if (up == "IFNULL") word = "COALESCE";
      else if (creating && up == "INTEGER") {
        // "INTEGER PRIMARY KEY" is SQLite's rowid: a key the database hands out.
        std::size_t probe = i;
        auto skipWord = [&](std::string_view expect) {
          std::size_t p = probe;
          while (p < sql.size() && std::isspace(static_cast<unsigned char>(sql[p]))) ++p;
          std::size_t e = p;
          while (e < sql.size() && isWordChar(sql[e])) ++e;
          std::string got(sql.substr(p, e - p));
          for (char& ch : got) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
          if (got != expect) return false;
          probe = e;
          return true;
        };
        if (skipWord("PRIMARY") && skipWord("KEY")) {
          skipWord("AUTOINCREMENT");
          word = columnType(ColumnKind::Key, Dialect::Server);
          i = probe;
        } else {
          word = columnType(ColumnKind::Integer, Dialect::Server);
        }
      } else if (creating && up == "REAL") word = columnType(ColumnKind::Real, Dialect::Server);
      else if (creating && up == "BOOLEAN") word = columnType(ColumnKind::Boolean, Dialect::Server);
      else if (creating && up == "TEXT") word = columnType(ColumnKind::Text, Dialect::Server);
      out += word;
      previous = up;
    } else {
      if (c == ';') creating = false;
      out += c;
      ++i;
    }
  }
  return out;
}

namespace {

// One value of a result as the file back end would hold it: whole numbers as integers (numeric
// is the server's INTEGER affinity), flags and truth values as numbers, the rest as text.
Cell cellOf(const PGresult* r, int row, int column) {
  Cell c;
  if (PQgetisnull(r, row, column)) return c;
  const char* text = PQgetvalue(r, row, column);
  switch (PQftype(r, column)) {
    case 20:  // int8
    case 21:  // int2
    case 23:  // int4
    case 26:  // oid
      c.type = SQLITE_INTEGER;
      c.i = std::strtoll(text, nullptr, 10);
      return c;
    case 700:  // float4
    case 701:  // float8
      c.type = SQLITE_FLOAT;
      c.d = std::strtod(text, nullptr);
      return c;
    case 1700:  // numeric
      if (!std::strpbrk(text, ".eEN")) {
        errno = 0;
        long long whole = std::strtoll(text, nullptr, 10);
        if (errno == 0) {
          c.type = SQLITE_INTEGER;
          c.i = whole;
          return c;
        }
      }
      c.type = SQLITE_FLOAT;
      c.d = std::strtod(text, nullptr);
      return c;
    case 16:  // bool
      c.type = SQLITE_INTEGER;
      c.i = text[0] == 't' ? 1 : 0;
      return c;
    default:
      c.type = SQLITE_TEXT;
      c.text.assign(text, static_cast<std::size_t>(PQgetlength(r, row, column)));
      return c;
  }
}

// A parameter's text; null for a null cell.
struct Params {
  std::vector<std::string> texts;
  std::vector<bool> nulls;
  void Add(const Cell& c) {
    nulls.push_back(c.type == SQLITE_NULL);
    if (c.type == SQLITE_INTEGER) texts.push_back(std::to_string(c.i));
    else if (c.type == SQLITE_FLOAT) {
      char buffer[32];
      std::snprintf(buffer, sizeof buffer, "%.17g", c.d);
      texts.emplace_back(buffer);
    } else texts.push_back(c.text);
  }
  std::vector<const char*> Pointers() const {
    std::vector<const char*> out;
    for (std::size_t i = 0; i < texts.size(); ++i) out.push_back(nulls[i] ? nullptr : texts[i].c_str());
    return out;
  }
};

// Where the statement starting at `from` ends: its ';' outside quotes, or the end of the text.
std::size_t statementEnd(const std::string& sql, std::size_t from) {
  char quote = 0;
  for (std::size_t i = from; i < sql.size(); ++i) {
    if (quote) {
      if (sql[i] == quote) quote = 0;
    } else if (sql[i] == '\'' || sql[i] == '"') {
      quote = sql[i];
    } else if (sql[i] == ';') {
      return i;
    }
  }
  return sql.size();
}

class ServerDatabase final : public Engine {
 public:
  ~ServerDatabase() override { CloseServer(); }

  HRESULT QueryInterface(REFIID iid, void** out) override { return QueryProjectDatabase(this, iid, out); }

  HRESULT Open(BSTR path, short, short, BSTR* result) override {
    if (!result) return E_POINTER;
    ClearError();
    std::string link = BstrToUtf8(path);
    bool opened = OpenLink(link, false);
    *result = SysAllocString(opened ? Utf8ToWide(link).c_str() : L"");
    return *result ? S_OK : E_OUTOFMEMORY;
  }

  HRESULT OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) override {
    if (!readOnly || !ok) return E_POINTER;
    ClearError();
    std::string link = BstrToUtf8(path);
    // Whoever may not change the link file may not change the project it names.
    struct stat info {};
    bool writable = stat(link.c_str(), &info) == 0 && (info.st_mode & 0222) != 0 && access(link.c_str(), W_OK) == 0;
    SetFlag(ok, OpenLink(link, !writable));
    SetFlag(readOnly, fileExists(link) && !writable);
    return S_OK;
  }

  HRESULT AddRecord(SAFEARRAY* row, LONG, SAFEARRAY** outRow, VARIANT_BOOL* ok) override {
    return WriteRow(row, outRow, ok, true);
  }

  HRESULT UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) override {
    return WriteRow(row, outRow, ok, false);
  }

  // A new row (adding) or the current row changed; the row as stored comes back whole.
  HRESULT WriteRow(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok, bool adding) {
    if (!outRow || !ok) return E_POINTER;
    *outRow = nullptr;
    SetFlag(ok, false);
    Fields fields;
    HRESULT hr;
    Cursor* cursor = StartWrite(row, &fields, !adding, hr);
    if (!cursor) return hr;
    const TableInfo& table = *cursor->table;
    Params params;
    for (const auto& field : fields) params.Add(field.second);
    std::string sql;
    if (adding) {
      sql = InsertSql(table, fields, '$') + " RETURNING " + ColumnList(table);
    } else {
      params.Add(cursor->current[0]);
      sql = fields.empty() ? SelectFrom(table) + " WHERE " + KeyName(table) + " = $1" : UpdateSql(table, fields, '$', KeyName(table)) + " RETURNING " + ColumnList(table);
    }
    std::vector<CellRow> stored;
    if (!Query(sql, params, stored)) return S_OK;
    if (stored.empty()) return RowGoneElsewhere();
    return FinishWrite(*cursor, std::move(stored.front()), adding, outRow, ok);
  }

  HRESULT DeleteRecord(VARIANT_BOOL* done) override {
    if (!done) return E_POINTER;
    SetFlag(done, false);
    HRESULT hr;
    Cursor* cursor = StartWrite(nullptr, nullptr, true, hr);
    if (!cursor) return hr;
    Params params;
    params.Add(cursor->current[0]);
    std::vector<CellRow> gone;
    std::string sql = "DELETE FROM " + quoted(cursor->table->name) + " WHERE " + KeyName(*cursor->table) +
                      " = $1 RETURNING 1";
    if (!Query(sql, params, gone)) return S_OK;
    return FinishDelete(*cursor, !gone.empty(), done);
  }

  HRESULT QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) override {
    return AnswerQueryRow(*this, sql, values, found);
  }

  bool QueryColumns(const std::string& sql, const std::vector<std::string>& columns,
                    std::vector<CellRow>& rows) override {
    ClearError();
    if (!RequireOpen()) return false;
    std::string text = ServerSql(sql);
    Reconnect();
    Result r(PQexec(conn_.get(), text.c_str()));
    if (!Succeeded(r.get(), "Cannot run \"" + sql + "\"")) return false;
    std::vector<int> picks;
    for (const std::string& column : columns) {
      int pick = -1;
      for (int i = 0; i < PQnfields(r.get()) && pick < 0; ++i)
        if (EqualsNoCase(PQfname(r.get(), i), column)) pick = i;
      if (pick < 0) {
        SetError(ProjectDbError::FieldNotFound, "Item not found in this collection: no column '" + column + "'.");
        return false;
      }
      picks.push_back(pick);
    }
    if (picks.empty()) {
      if (PQnfields(r.get()) == 0) return true;
      picks.push_back(0);
    }
    for (int row = 0; row < PQntuples(r.get()); ++row) {
      CellRow cells;
      for (int pick : picks) cells.push_back(cellOf(r.get(), row, pick));
      rows.push_back(std::move(cells));
    }
    return true;
  }

  HRESULT Execute(BSTR sql, VARIANT_BOOL* ok) override {
    if (!ok) return E_POINTER;
    SetFlag(ok, false);
    ClearError();
    if (!RequireOpen()) return PROJECTDB_E_NOTOPEN;
    std::string original = TranslateSql(BstrToUtf8(sql));
    std::string text = ServerSql(original);
    if (!RewriteUpserts(text)) return S_OK;
    // Several statements sent at once run as one transaction: all of them or none.
    Reconnect();
    Result r(PQexec(conn_.get(), text.c_str()));
    if (!Succeeded(r.get(), "Cannot run \"" + original + "\"")) return S_OK;
    Invalidate(nullptr, nullptr);
    std::string head = LowerAscii(text.substr(text.find_first_not_of(" \t\r\n") == std::string::npos ? 0 : text.find_first_not_of(" \t\r\n")));
    if (head.rfind("create", 0) == 0 || head.rfind("drop", 0) == 0 || head.rfind("alter", 0) == 0) {
      ForgetCursors();
      tables_.clear();
      replaceShapes_.clear();
      // A statement prepared on a table whose columns changed would no longer run.
      std::string ignored;
      run(conn_.get(), "DEALLOCATE ALL", &ignored);
      prepared_.clear();
    }
    SetFlag(ok, true);
    return S_OK;
  }

  // SQLite's INSERT OR IGNORE and INSERT OR REPLACE as the server writes them: IGNORE is ON
  // CONFLICT DO NOTHING; REPLACE is ReplaceInto's. False with the error recorded when a table's
  // columns or keys cannot be read.
  bool RewriteUpserts(std::string& sql) {
    static const std::regex pattern(R"(\bINSERT\s+OR\s+(REPLACE|IGNORE)\s+INTO\s+("[^"]+"|\w+)\s*\(([^)]*)\))",
                                    std::regex::icase);
    std::size_t from = 0;
    std::smatch m;
    while (from < sql.size() && std::regex_search(sql.cbegin() + static_cast<std::ptrdiff_t>(from), sql.cend(), m, pattern)) {
      std::size_t start = from + static_cast<std::size_t>(m.position(0));
      std::size_t sourceAt = start + static_cast<std::size_t>(m.length(0));
      std::size_t end = statementEnd(sql, start);
      std::string table = m[2].str(), columns = m[3].str(), source = sql.substr(sourceAt, end - sourceAt);
      std::string rewritten = "INSERT INTO " + table + " (" + columns + ")" + source + " ON CONFLICT DO NOTHING";
      if (EqualsNoCase(m[1].str(), "replace") && !ReplaceInto(table, columns, source, rewritten)) return false;
      sql = sql.substr(0, start) + rewritten + sql.substr(end);
      from = start + rewritten.size() + 1;
    }
    return true;
  }

  // A table's column types and unique keys, as ReplaceInto needs them: read once per connection
  // and schema, since a replace is often of one row, whose cost two more round trips would triple.
  struct ReplaceShape {
    std::vector<CellRow> types, keys;
  };

  const ReplaceShape* ShapeFor(const std::string& table) {
    std::string name = table.front() == '"' ? table : LowerAscii(table);
    auto known = replaceShapes_.find(name);
    if (known != replaceShapes_.end()) return &known->second;
    Params p;
    p.Add(Cell{SQLITE_TEXT, 0, 0, name});
    ReplaceShape shape;
    if (!Query("SELECT a.attname::text, format_type(a.atttypid, a.atttypmod) FROM pg_attribute a WHERE a.attrelid = "
               "to_regclass($1) AND a.attnum > 0 AND NOT a.attisdropped",
               p, shape.types) ||
        !Query("SELECT x.indexrelid::text, a.attname::text FROM pg_index x JOIN pg_attribute a ON a.attrelid = "
               "x.indrelid AND a.attnum = ANY(x.indkey) WHERE x.indrelid = to_regclass($1) AND x.indisunique "
               "ORDER BY x.indexrelid, a.attnum",
               p, shape.keys))
      return nullptr;
    return &replaceShapes_.emplace(name, std::move(shape)).first->second;
  }

  // INSERT OR REPLACE INTO table (columns) source, with SQLite's meaning, which no ON CONFLICT
  // clause has: every row that meets a new one on any unique key goes, then the new rows are
  // inserted whole, unlisted columns taking their defaults. The new rows are read once, given
  // their columns' types as a plain insert would (a quoted number into a number column), before
  // the delete could change what a SELECT among them reads; the insert waits for the delete
  // through its count. A unique key whose columns are not all listed is left out: they take their
  // defaults, and a default key is a new one.
  bool ReplaceInto(const std::string& table, const std::string& columns, const std::string& source, std::string& out) {
    const ReplaceShape* shape = ShapeFor(table);
    if (!shape) return false;
    const std::vector<CellRow>& types = shape->types;
    const std::vector<CellRow>& keys = shape->keys;
    std::vector<std::string> listed;
    std::string given, typed;
    std::istringstream list(columns);
    std::string column;
    while (std::getline(list, column, ',')) {
      column.erase(0, column.find_first_not_of(" \t"));
      column.erase(column.find_last_not_of(" \t") + 1);
      listed.push_back(LowerAscii(column.size() > 1 && column.front() == '"' ? column.substr(1, column.size() - 2) : column));
      std::string name = quoted(listed.back()), cast;
      for (const CellRow& t : types)
        if (t[0].text == listed.back()) cast = "::" + t[1].text;
      given += (given.empty() ? "" : ", ") + name;
      typed += std::string(typed.empty() ? "" : ", ") + "kv_given." + name + cast + " AS " + name;
    }
    // Whether row a meets row b on a listed unique key.
    auto meets = [&](const std::string& a, const std::string& b) {
      std::string any;
      for (std::size_t i = 0; i < keys.size();) {
        std::size_t j = i;
        bool covered = true;
        std::string key;
        for (; j < keys.size() && keys[j][0].text == keys[i][0].text; ++j) {
          const std::string& name = keys[j][1].text;
          covered = covered && std::find(listed.begin(), listed.end(), LowerAscii(name)) != listed.end();
          key += (key.empty() ? "" : " AND ") + (a + "." + quoted(name) + " = " + b + "." + quoted(name));
        }
        if (covered) any += (any.empty() ? "(" : " OR (") + key + ")";
        i = j;
      }
      return any;
    };
    if (meets("a", "b").empty()) {
      out = "INSERT INTO " + table + " (" + columns + ")" + source;
      return true;
    }
    // Of new rows that meet each other, the last one given stays, as each replaces those before.
    std::string kept;
    for (const std::string& name : listed) kept += (kept.empty() ? "kv_new." : ", kv_new.") + quoted(name);
    out = "WITH kv_new AS MATERIALIZED (SELECT " + typed + ", row_number() OVER () AS kv_n FROM (" + source +
          ") AS kv_given (" + given + ")), kv_gone AS (DELETE FROM " + table + " AS kv_old USING kv_new WHERE " +
          meets("kv_old", "kv_new") + " RETURNING 1) INSERT INTO " + table + " (" + columns + ") SELECT " + kept +
          " FROM kv_new WHERE (SELECT count(*) FROM kv_gone) >= 0 AND NOT EXISTS (SELECT 1 FROM kv_new AS kv_later "
          "WHERE kv_later.kv_n > kv_new.kv_n AND (" + meets("kv_later", "kv_new") + "))";
    return true;
  }

  HRESULT Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) override {
    if (!rowsSaved || !ok) return E_POINTER;
    *rowsSaved = 0;
    SetFlag(ok, false);
    ClearError();
    std::string link = BstrToUtf8(path);
    if (!fileExists(link)) SetError(ProjectDbError::FileNotFound, "Could not find file '" + link + "'.");
    else
      SetError(ProjectDbError::CannotOpen, "'" + link + "' links to a project on a database server, which keeps it "
                                           "whole; there is no file here to repair.");
    return S_OK;
  }

 protected:
  bool Connected() const override { return conn_ != nullptr; }
  void Disconnect() override { CloseServer(); }
  bool MakeProject(const std::string& path, ProjectDbError* code, std::string* error) override {
    return CreateServerProject(path, code, error);
  }
  bool OpenForWriting(const std::string& path) override { return OpenLink(path, false); }

 private:
  // The engine's error classes under the codes callers test for; false always.
  bool Fail(const PGresult* r, const std::string& what) {
    const char* state = r ? PQresultErrorField(r, PG_DIAG_SQLSTATE) : nullptr;
    std::string detail = r ? PQresultErrorMessage(r) : "";
    if (detail.empty()) detail = PQerrorMessage(conn_.get());
    while (!detail.empty() && (detail.back() == '\n' || detail.back() == ' ')) detail.pop_back();
    std::string code = state ? state : "";
    std::string text = what + ": " + detail;
    std::string cls = code.substr(0, 2);
    if (code.empty() || PQstatus(conn_.get()) != CONNECTION_OK || cls == "08" || cls == "53" || cls == "57" ||
        cls == "58" || code == "55P03" || code == "40P01" || code == "40001")
      SetError(ProjectDbError::DiskOrNetwork, "Disk or network error. " + text);
    else if (code == "23505") SetError(ProjectDbError::DuplicateKey, "The changes would create duplicate values in the index. " + text);
    else if (code == "25006") SetError(ProjectDbError::ReadOnly, "Cannot update. Database or object is read-only.");
    else if (code == "42P01") SetError(ProjectDbError::TableNotFound, text);
    else if (code == "42703") SetError(ProjectDbError::FieldNotFound, text);
    else SetError(ProjectDbError::SyntaxError, text);
    return false;
  }

  bool Succeeded(const PGresult* r, const std::string& what) {
    ExecStatusType st = r ? PQresultStatus(r) : PGRES_FATAL_ERROR;
    return st == PGRES_COMMAND_OK || st == PGRES_TUPLES_OK || Fail(r, what);
  }

  // Each statement the back end writes is prepared once per connection: the server then neither
  // parses nor plans it again, which is most of a keyed call's cost on a near server.
  bool Query(const std::string& sql, const Params& params, std::vector<CellRow>& rows) {
    Reconnect();
    std::vector<const char*> values = params.Pointers();
    auto found = prepared_.find(sql);
    if (found == prepared_.end()) {
      std::string name = "kv" + std::to_string(++statementsMade_);
      Result made(PQprepare(conn_.get(), name.c_str(), sql.c_str(), static_cast<int>(values.size()), nullptr));
      if (!Succeeded(made.get(), "Statement failed")) return false;
      found = prepared_.emplace(sql, name).first;
    }
    Result r(PQexecPrepared(conn_.get(), found->second.c_str(), static_cast<int>(values.size()), values.data(), nullptr,
                            nullptr, 0));
    if (!Succeeded(r.get(), "Statement failed")) return false;
    for (int row = 0; row < PQntuples(r.get()); ++row) {
      CellRow cells(static_cast<std::size_t>(PQnfields(r.get())));
      for (int i = 0; i < PQnfields(r.get()); ++i) cells[static_cast<std::size_t>(i)] = cellOf(r.get(), row, i);
      rows.push_back(std::move(cells));
    }
    return true;
  }

  bool OpenLink(const std::string& link, bool readOnly) {
    CloseServer();
    std::string conninfo;
    if (!fileExists(link)) {
      SetError(ProjectDbError::FileNotFound, "Could not find file '" + link + "'.");
      return false;
    }
    if (!readLink(link, conninfo)) {
      SetError(ProjectDbError::CannotOpen, "Cannot open database '" + link + "'. The link file names no server.");
      return false;
    }
    std::string error;
    Conn conn = connect(conninfo, &error);
    if (!conn) {
      SetError(ProjectDbError::DiskOrNetwork, "Disk or network error. Cannot reach the server of '" + link + "': " + error);
      return false;
    }
    std::string setup = "SET lock_timeout = " + std::to_string(lockPatienceMs()) + ";" +
                        (readOnly ? "SET default_transaction_read_only = on;" : "");
    Result check;
    if (run(conn.get(), setup, &error))
      check.reset(PQexec(conn.get(), ("SELECT to_regclass('" + quoted(LowerAscii(projectTables().front().name)) +
                                      "') IS NOT NULL").c_str()));
    if (!check || PQresultStatus(check.get()) != PGRES_TUPLES_OK || PQgetvalue(check.get(), 0, 0)[0] != 't') {
      SetError(ProjectDbError::CannotOpen, "Cannot open database '" + link + "'. It does not link to a project database.");
      return false;
    }
    conn_ = std::move(conn);
    link_ = link;
    setup_ = setup;
    return true;
  }

  // A connection the server or the network cut (a server restart, a dropped link) is made again
  // by the next call; the call that met the cut has failed with 3043, so no write is taken for
  // done that was not.
  void Reconnect() {
    if (!conn_ || PQstatus(conn_.get()) == CONNECTION_OK) return;
    PQreset(conn_.get());
    std::string ignored;
    if (PQstatus(conn_.get()) == CONNECTION_OK) run(conn_.get(), setup_, &ignored);
    prepared_.clear();
  }

  void CloseServer() {
    prepared_.clear();
    ForgetCursors();
    tables_.clear();
    replaceShapes_.clear();
    conn_.reset();
    link_.clear();
  }

  // ---- Tables --------------------------------------------------------------------------------------

  static const TableDef* Known(std::string_view lowerName) {
    for (const TableDef& t : projectTables())
      if (EqualsNoCase(t.name, lowerName)) return &t;
    return nullptr;
  }

  static std::string KeyName(const TableInfo& t) { return quoted(t.columns[static_cast<std::size_t>(t.keyColumn)]); }

  static const std::string& ColumnList(const TableInfo& t) { return t.serverColumns; }
  static std::string SelectFrom(const TableInfo& t) { return "SELECT " + ColumnList(t) + " FROM " + quoted(t.name); }

  const TableInfo* LoadTable(std::string_view name) override {
    std::string key = LowerAscii(name);
    auto found = tables_.find(key);
    if (found != tables_.end()) return found->second.get();
    Params p;
    p.Add(Cell{SQLITE_TEXT, 0, 0, key});
    std::vector<CellRow> rows;
    if (!Query("SELECT c.oid::bigint FROM pg_class c WHERE c.relnamespace = current_schema()::regnamespace "
               "AND c.relkind IN ('r', 'p') AND c.relname = $1",
               p, rows))
      return nullptr;
    if (rows.empty()) {
      SetError(ProjectDbError::TableNotFound, "Cannot find the input table '" + std::string(name) + "'.");
      return nullptr;
    }
    Params byOid;
    byOid.Add(rows[0][0]);
    std::vector<CellRow> columns, primary, indices;
    if (!Query("SELECT a.attname::text, t.typname::text FROM pg_attribute a JOIN pg_type t ON t.oid = a.atttypid "
               "WHERE a.attrelid = $1::bigint::oid AND a.attnum > 0 AND NOT a.attisdropped ORDER BY a.attnum",
               byOid, columns) ||
        !Query("SELECT a.attname::text FROM pg_index x JOIN pg_attribute a ON a.attrelid = x.indrelid "
               "AND a.attnum = x.indkey[0] WHERE x.indrelid = $1::bigint::oid AND x.indisprimary",
               byOid, primary) ||
        !Query("SELECT i.relname::text, a.attname::text FROM pg_index x JOIN pg_class i ON i.oid = x.indexrelid "
               "CROSS JOIN LATERAL unnest(x.indkey::int2[]) WITH ORDINALITY AS k(attnum, ord) "
               "JOIN pg_attribute a ON a.attrelid = x.indrelid AND a.attnum = k.attnum "
               "WHERE x.indrelid = $1::bigint::oid AND NOT x.indisprimary ORDER BY i.relname, k.ord",
               byOid, indices))
      return nullptr;
    const TableDef* def = Known(key);
    auto info = std::make_unique<TableInfo>();
    info->name = key;
    info->wideName = Utf8ToWide(def ? def->name : key);
    for (const CellRow& column : columns) {
      const std::string& stored = column[0].text;
      std::string shown = stored;
      if (def)
        for (const ColumnDef& c : def->columns)
          if (EqualsNoCase(c.name, stored)) shown = c.name;
      const std::string& type = column[1].text;
      bool isKey = !primary.empty() && primary[0][0].text == stored && (type == "int8" || type == "int4");
      if (isKey) info->keyColumn = static_cast<int>(info->columns.size());
      info->columnByLowerName.emplace(stored, static_cast<int>(info->columns.size()));
      info->columns.push_back(stored);
      info->wideColumns.push_back(Utf8ToWide(shown));
      info->boolean.push_back(type == "int2");
      info->real.push_back(type == "float8" || type == "float4");
    }
    if (info->keyColumn < 0) {
      SetError(ProjectDbError::TableNotFound, "The table '" + std::string(name) +
                                                  "' has no whole-number key, which rows need to be walked on the server.");
      return nullptr;
    }
    info->indices.emplace_back();
    info->indices.back().name = WideToUtf8(info->wideColumns[static_cast<std::size_t>(info->keyColumn)]);
    std::string prefix = key + "__";
    for (const CellRow& part : indices) {
      std::string stored = part[0].text;
      std::string ixName = stored.rfind(prefix, 0) == 0 ? stored.substr(prefix.size()) : stored;
      if (def)
        for (const IndexDef& ix : def->indices)
          if (EqualsNoCase(ix.name, ixName)) ixName = ix.name;
      if (info->indices.size() == 1 || info->indices.back().name != ixName) {
        info->indices.emplace_back();
        info->indices.back().name = ixName;
      }
      info->indices.back().columns.push_back(info->FindColumn(part[1].text));
    }
    for (IndexInfo& ix : info->indices) ix.wideName = Utf8ToWide(ix.name);
    // Every statement on the table names its columns; the list is long, so it is made once.
    info->serverColumns = KeyName(*info);
    for (const std::string& c : info->columns) info->serverColumns += ", " + quoted(c);
    return tables_.emplace(key, std::move(info)).first->second.get();
  }

  // ---- Walking --------------------------------------------------------------------------------------

  bool TableIsEmpty(const TableInfo& table) override {
    std::vector<CellRow> rows;
    return !Query("SELECT 1 FROM " + quoted(table.name) + " LIMIT 1", {}, rows) || rows.empty();
  }

  std::string OrderBy(const Cursor& c) const {
    std::string order = " ORDER BY ";
    for (int column : c.index->columns) order += quoted(c.table->columns[static_cast<std::size_t>(column)]) + " NULLS FIRST, ";
    return order + KeyName(*c.table);
  }

  std::string IndexColumn(const Cursor& c, std::size_t j) const {
    return quoted(c.table->columns[static_cast<std::size_t>(c.index->columns[j])]);
  }

  // "column = $n" with the value as a new parameter, or "column IS NULL": the form an index serves.
  static std::string Matches(const std::string& column, const Cell& value, Params& params) {
    if (value.type == SQLITE_NULL) return column + " IS NULL";
    params.Add(value);
    return column + " = $" + std::to_string(params.texts.size());
  }

  // The rows after the current one in index order, in one statement: those equal in the first L
  // index columns and past it in column L, for every L, and those equal in all with a later key.
  bool FetchBatch(Cursor& c, std::vector<CellRow>& out) override {
    const std::size_t k = c.index->columns.size();
    auto value = [&](std::size_t j) -> const Cell& { return c.current[static_cast<std::size_t>(c.index->columns[j]) + 1]; };
    Params params;
    std::string where;
    if (c.state != Cursor::State::Fresh) {
      for (std::size_t level = k + 1; level-- > 0;) {
        std::string term;
        for (std::size_t j = 0; j < level; ++j) term += Matches(IndexColumn(c, j), value(j), params) + " AND ";
        if (level == k) {
          params.Add(c.current[0]);
          term += KeyName(*c.table) + " > $" + std::to_string(params.texts.size());
        } else if (value(level).type == SQLITE_NULL) {
          term += IndexColumn(c, level) + " IS NOT NULL";
        } else {
          params.Add(value(level));
          term += IndexColumn(c, level) + " > $" + std::to_string(params.texts.size());
        }
        where += (where.empty() ? " WHERE (" : " OR (") + term + ")";
      }
    }
    std::string sql = SelectFrom(*c.table) + where + OrderBy(c) +
                      " LIMIT " + std::to_string(c.nextBatch);
    return Query(sql, params, out);
  }

  bool SeekRow(const Cursor& c, const std::vector<Cell>& keys, std::vector<CellRow>& rows) override {
    const std::vector<int>& cols = c.index->columns;
    Params params;
    std::string where;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      std::string column = cols.empty() ? KeyName(*c.table) : IndexColumn(c, i);
      where += (i ? " AND " : " WHERE ") + Matches(column, keys[i], params);
    }
    if (Query(SelectFrom(*c.table) + where + OrderBy(c) + " LIMIT 1",
              params, rows))
      return true;
    // A key that cannot be a value of its column (text for a number) matches no row, as in a file.
    if (errorCode_ != static_cast<LONG>(ProjectDbError::SyntaxError)) return false;
    ClearError();
    return true;
  }

  Conn conn_;
  std::unordered_map<std::string, std::string> prepared_;  // SQL to statement name
  long statementsMade_ = 0;
  std::string link_;
  std::string setup_;  // the session settings, given again after a reconnection
  std::map<std::string, std::unique_ptr<TableInfo>> tables_;
  std::map<std::string, ReplaceShape> replaceShapes_;  // by the table's name as statements give it
};

// A schema name from the project folder's name, unique on the server.
std::string newSchemaName(const std::string& link) {
  std::string base = link.substr(link.rfind('/') + 1);
  base = base.substr(0, base.find('.'));
  std::string clean;
  for (char c : LowerAscii(base))
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '_') clean += c;
  std::random_device random;
  char suffix[16];
  std::snprintf(suffix, sizeof suffix, "%08x", random());
  return "kvp_" + clean.substr(0, 40) + "_" + suffix;
}

}  // namespace

ComPtr<Backend> MakeServerBackend() {
  ComPtr<Backend> made;
  made.Attach(new ServerDatabase());
  return made;
}

bool CreateServerProject(const std::string& path, ProjectDbError* code, std::string* error,
                         const std::string& serverGiven) {
  if (fileExists(path)) {
    *code = ProjectDbError::CannotOpen;
    *error = "Cannot create '" + path + "': the file exists already.";
    return false;
  }
  if (!fileExists(folderOf(path))) {
    *code = ProjectDbError::FileNotFound;
    *error = "Could not find the folder of '" + path + "'.";
    return false;
  }
  const char* fromEnvironment = std::getenv("KV_PROJECTDB_SERVER");
  std::string server = !serverGiven.empty() ? serverGiven : fromEnvironment ? fromEnvironment : "";
  if (server.empty()) {
    *code = ProjectDbError::CannotOpen;
    *error = "Cannot create '" + path + "': no database server is named for new projects (KV_PROJECTDB_SERVER).";
    return false;
  }
  std::string detail;
  Conn conn = connect(server, &detail);
  if (!conn) {
    *code = ProjectDbError::DiskOrNetwork;
    *error = "Disk or network error. Cannot reach the database server: " + detail;
    return false;
  }
  std::string schema = newSchemaName(path);
  std::string script = "BEGIN; CREATE SCHEMA " + schema + "; SET LOCAL search_path TO " + schema + ";";
  for (const std::string& sql : schemaStatements(Dialect::Server)) script += sql + ";";
  for (const std::string& sql : startingRowStatements()) script += sql + ";";
  script += std::string(kResyncKeys) + "; COMMIT;";
  // The link is written under another name and renamed, so no link to a half-made project is seen.
  std::string building = path + ".building";
  std::string conninfo = server + " options='-csearch_path=" + schema + "'";
  bool linked = false;
  if (run(conn.get(), script, &detail)) {
    std::ofstream out(building, std::ios::trunc);
    out << conninfo << "\n";
    out.close();
    linked = out && std::rename(building.c_str(), path.c_str()) == 0;
    if (!linked) detail = "cannot write the link file";
  }
  if (!linked) {
    std::remove(building.c_str());
    std::string ignored;
    run(conn.get(), "ROLLBACK; DROP SCHEMA IF EXISTS " + schema + " CASCADE", &ignored);
    *code = ProjectDbError::DiskOrNetwork;
    *error = "Disk or network error while creating '" + path + "'. " + detail;
    return false;
  }
  return true;
}

bool DropServerProject(const std::string& path, std::string* schema, std::string* error) {
  std::string conninfo;
  if (!readLink(path, conninfo)) {
    *error = "'" + path + "' is no link to a server project.";
    return false;
  }
  std::string detail;
  Conn conn = connect(conninfo, &detail);
  if (!conn) {
    *error = "Cannot reach the database server: " + detail;
    return false;
  }
  Result named(PQexec(conn.get(), "SELECT current_schema()"));
  if (!named || PQresultStatus(named.get()) != PGRES_TUPLES_OK || PQntuples(named.get()) != 1 ||
      PQgetisnull(named.get(), 0, 0)) {
    *error = "The link names no schema on the server.";
    return false;
  }
  std::string name = PQgetvalue(named.get(), 0, 0);
  // A link written by hand may name a schema that holds more than one project's tables, or none
  // of ours: only a schema made for one project is dropped.
  if (name.rfind("kvp_", 0) != 0) {
    *error = "The schema " + name + " was not made for one project, so it is left for the server's administrator.";
    return false;
  }
  *schema = name;
  // A designer still working in the project holds its tables; the drop waits for them as a write
  // would, then gives up rather than hang.
  char* escaped = PQescapeIdentifier(conn.get(), name.c_str(), name.size());
  if (!escaped) {
    *error = PQerrorMessage(conn.get());
    return false;
  }
  std::string sql = "SET lock_timeout = " + std::to_string(lockPatienceMs()) + "; DROP SCHEMA " + escaped + " CASCADE";
  PQfreemem(escaped);
  return run(conn.get(), sql, error);
}

bool ResyncServerKeys(ProjectDatabase& server) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  server.Execute(_bstr_t(Utf8ToWide(kResyncKeys)), &ok);
  return ok == VARIANT_TRUE;
}

}  // namespace kvprojectdb
