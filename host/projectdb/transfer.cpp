// Moving a project between engines: every table's rows copied from one project to another (a file
// and a server project, either way), proved by row counts and a checksum per table on both sides.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>

#include "impl.h"
#include "lisp.h"

namespace kvprojectdb {
namespace {

using kvlisp::Args;
using kvlisp::Environment;
using kvlisp::Value;

[[noreturn]] void fail(std::string_view function, const std::string& text) {
  throw kvlisp::Error(std::string(function) + ": " + text);
}

std::vector<CellRow> select(std::string_view function, Backend& db, const std::string& sql,
                            const std::vector<std::string>& columns = {}) {
  std::vector<CellRow> rows;
  if (!db.QueryColumns(sql, columns, rows)) fail(function, db.LastErrorUtf8().second);
  return rows;
}

std::vector<std::string> tableNames(std::string_view function, Backend& db, bool server) {
  std::string sql = server ? "SELECT relname::text FROM pg_class WHERE relnamespace = current_schema()::regnamespace "
                             "AND relkind = 'r' ORDER BY relname"
                           : "SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite%' ORDER BY name";
  std::vector<std::string> names;
  for (CellRow& row : select(function, db, sql)) names.push_back(std::move(row[0].text));
  // In the order of their folded names, which both engines share.
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) { return LowerAscii(a) < LowerAscii(b); });
  return names;
}

struct Column {
  std::string name;
  std::string type;  // SQLite's word for it: INTEGER, REAL, BOOLEAN or TEXT
  bool key = false;
};

std::string sqlText(std::string_view text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("''") : std::string(1, c);
  return out + "'";
}

// The columns of a table in their order, with the type each engine's schema rendering started from.
std::vector<Column> describe(std::string_view function, Backend& db, bool server, const std::string& table) {
  std::string sql =
      server ? "SELECT a.attname::text AS name, format_type(a.atttypid, a.atttypmod) AS type, "
               "(SELECT count(*) FROM pg_index x WHERE x.indrelid = a.attrelid AND x.indisprimary "
               "AND a.attnum = ANY(x.indkey)) AS pk FROM pg_attribute a WHERE a.attrelid = " +
                   sqlText("\"" + LowerAscii(table) + "\"") + "::regclass AND a.attnum > 0 AND NOT a.attisdropped ORDER BY a.attnum"
             : "SELECT name, type, pk FROM pragma_table_info(" + sqlText(table) + ")";
  std::vector<Column> columns;
  for (const CellRow& row : select(function, db, sql, {"name", "type", "pk"})) {
    std::string type = LowerAscii(row[1].text);
    Column c{row[0].text, "TEXT", row[2].i != 0};
    if (type == "bigint" || type == "integer" || type == "numeric" || type.rfind("int", 0) == 0) c.type = "INTEGER";
    else if (type == "double precision" || type == "real" || type == "float") c.type = "REAL";
    else if (type == "smallint" || type == "boolean") c.type = "BOOLEAN";
    columns.push_back(std::move(c));
  }
  return columns;
}

std::string literal(const Cell& c) {
  char buffer[40];
  switch (c.type) {
    case SQLITE_INTEGER: return std::to_string(c.i);
    case SQLITE_FLOAT: std::snprintf(buffer, sizeof buffer, "%.17g", c.d); return buffer;
    case SQLITE_TEXT: return sqlText(c.text);
    default: return "NULL";
  }
}

// Rows in the order of all their columns, so both engines answer them alike.
std::vector<CellRow> readAll(std::string_view function, Backend& db, const std::string& table,
                             const std::vector<Column>& columns) {
  std::string list, order;
  std::vector<std::string> names;
  for (const Column& c : columns) {
    list += (list.empty() ? "\"" : ", \"") + c.name + "\"";
    order += (order.empty() ? "\"" : ", \"") + c.name + "\" NULLS FIRST";
    names.push_back(c.name);
  }
  return select(function, db, "SELECT " + list + " FROM \"" + table + "\" ORDER BY " + order, names);
}

// FNV-1a over a canonical text of the rows. A whole number counts the same stored as an integer or
// as a real, since the engines' number types differ where the values do not.
std::string checksum(const std::vector<CellRow>& rows) {
  std::uint64_t hash = 1469598103934665603ull;
  auto mix = [&](std::string_view text) {
    for (unsigned char ch : text) hash = (hash ^ ch) * 1099511628211ull;
  };
  char buffer[40];
  for (const CellRow& row : rows) {
    for (const Cell& c : row) {
      if (c.type == SQLITE_FLOAT && c.d == static_cast<double>(static_cast<std::int64_t>(c.d)) && c.d < 9e15 && c.d > -9e15)
        std::snprintf(buffer, sizeof buffer, "i%" PRId64, static_cast<std::int64_t>(c.d));
      else if (c.type == SQLITE_FLOAT) std::snprintf(buffer, sizeof buffer, "r%.17g", c.d);
      else if (c.type == SQLITE_INTEGER) std::snprintf(buffer, sizeof buffer, "i%" PRId64, c.i);
      else std::snprintf(buffer, sizeof buffer, c.type == SQLITE_TEXT ? "t" : "n");
      mix(buffer);
      if (c.type == SQLITE_TEXT) mix(c.text);
      mix("\x1f");
    }
    mix("\x1e");
  }
  std::snprintf(buffer, sizeof buffer, "%016" PRIx64, hash);
  return buffer;
}

void run(std::string_view function, Backend& db, const std::string& sql) {
  VARIANT_BOOL ok = VARIANT_FALSE;
  db.Execute(_bstr_t(Utf8ToWide(sql)), &ok);
  if (!ok) fail(function, db.LastErrorUtf8().second);
}

Value tableFigures(const std::string& table, std::size_t rows, const std::string& sum) {
  return Value::list({Value::string(table), Value::integer(static_cast<std::int32_t>(rows)), Value::string(sum)});
}

// (kvdb-checksum path): ((table rows checksum) ...) for every table of the project, by name.
Value checksums(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  Backend& db = ConnectProject("kvdb-checksum", path);
  bool server = IsLinkPath(path);
  std::vector<Value> out;
  for (const std::string& table : tableNames("kvdb-checksum", db, server)) {
    std::vector<CellRow> rows = readAll("kvdb-checksum", db, table, describe("kvdb-checksum", db, server, table));
    out.push_back(tableFigures(LowerAscii(table), rows.size(), checksum(rows)));
  }
  return Value::list(out);
}

// (kvdb-copy from to): replaces the rows of every table of project TO with those of project FROM
// (a table TO lacks is made first), then compares both table by table: the figures as
// kvdb-checksum gives them, or a LISP error naming the first table that differs.
Value copy(Environment&, Args args) {
  constexpr std::string_view kName = "kvdb-copy";
  const std::string& fromPath = kvlisp::argString(args, 0);
  const std::string& toPath = kvlisp::argString(args, 1);
  bool fromServer = IsLinkPath(fromPath), toServer = IsLinkPath(toPath);
  Backend& from = ConnectProject(kName, fromPath);
  Backend& to = ConnectProject(kName, toPath);
  std::vector<std::string> present = tableNames(kName, to, toServer);
  for (std::string& name : present) name = LowerAscii(name);
  std::vector<Value> figures;
  for (const std::string& table : tableNames(kName, from, fromServer)) {
    std::vector<Column> columns = describe(kName, from, fromServer, table);
    if (std::find(present.begin(), present.end(), LowerAscii(table)) == present.end()) {
      std::string create;
      for (const Column& c : columns) create += (create.empty() ? "" : ", ") + c.name + " " + c.type + (c.key ? " PRIMARY KEY" : "");
      run(kName, to, "CREATE TABLE " + table + " (" + create + ")");
    }
    std::vector<CellRow> rows = readAll(kName, from, table, columns);
    std::string head = "INSERT INTO [" + table + "] (";
    for (std::size_t i = 0; i < columns.size(); ++i) head += (i ? ", [" : "[") + columns[i].name + "]";
    head += ") VALUES ";
    run(kName, to, "DELETE FROM [" + table + "]");
    // A hundred rows a statement: few round trips, and within SQLite's limit on one VALUES list.
    for (std::size_t start = 0; start < rows.size(); start += 100) {
      std::string sql = head;
      for (std::size_t r = start; r < rows.size() && r < start + 100; ++r) {
        sql += r == start ? "(" : ", (";
        for (std::size_t i = 0; i < rows[r].size(); ++i) sql += (i ? ", " : "") + literal(rows[r][i]);
        sql += ")";
      }
      run(kName, to, sql);
    }
    std::vector<CellRow> copied = readAll(kName, to, table, describe(kName, to, toServer, table));
    std::string sum = checksum(rows), copiedSum = checksum(copied);
    if (copied.size() != rows.size() || sum != copiedSum)
      fail(kName, "table " + table + " differs after the copy: " + std::to_string(rows.size()) + " rows (" + sum +
                      ") against " + std::to_string(copied.size()) + " (" + copiedSum + ")");
    figures.push_back(tableFigures(LowerAscii(table), rows.size(), sum));
  }
  if (toServer && !ResyncServerKeys(to)) fail(kName, to.LastErrorUtf8().second);
  return Value::list(figures);
}

// (kvdb-retire path): closes the project at PATH and renames its file to PATH.moved (replacing an
// older one), so the finder no longer sees it; the new name, or a LISP error.
Value retire(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  ForgetProjectConnection(path);
  std::error_code error;
  std::filesystem::rename(path, path + ".moved", error);
  if (error) fail("kvdb-retire", "cannot rename '" + path + "': " + error.message());
  return Value::string(path + ".moved");
}

// (kvdb-drop link): drops the server schema of the project LINK names, closing this process's
// connection to it first; the schema's name, or a LISP error that names it and says how to drop it
// by hand. The link file stays.
Value drop(Environment&, Args args) {
  const std::string& path = kvlisp::argString(args, 0);
  if (!IsLinkPath(path)) fail("kvdb-drop", "'" + path + "' is no link to a server project.");
  ForgetProjectConnection(path);
  std::string schema, error;
  if (!DropServerProject(path, &schema, &error))
    fail("kvdb-drop", schema.empty() ? error
                                     : "the server keeps schema " + schema + " (" + error +
                                           "); its administrator can drop it with: DROP SCHEMA " + schema + " CASCADE");
  return Value::string(schema);
}

const kvlisp::NativeDef kFunctions[] = {
    {"kvdb-checksum", "(kvdb-checksum path)",
     "For every table of the project at PATH, by name: (table rows checksum).", checksums},
    {"kvdb-copy", "(kvdb-copy from to)",
     "Replaces every table's rows of project TO with those of project FROM (file or server, either way) and "
     "proves the copy by row counts and checksums; the figures, as kvdb-checksum gives them.",
     copy},
    {"kvdb-retire", "(kvdb-retire path)", "Closes the project at PATH and renames its file to PATH.moved.", retire},
    {"kvdb-drop", "(kvdb-drop link)",
     "Drops the server schema of the project LINK names (the link file stays); the schema's name.", drop},
};

const kvlisp::NativeRegistrar registrar(kFunctions);

}  // namespace
}  // namespace kvprojectdb
