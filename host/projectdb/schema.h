// The project file's schema: every table with its columns, key, named indices and starting rows.
// Private to the component; the one place where the layout of a project file is written down.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvprojectdb {

enum class ColumnKind { Key, Integer, Real, Text, Boolean };

struct ColumnDef {
  std::string name;
  ColumnKind kind;
  bool nullable;  // true: no default, a fresh row holds null; false: numbers and flags start at 0
};

struct IndexDef {
  std::string name;  // the name callers pass to SetTable
  std::vector<std::string> columns;
  bool unique;
};

struct TableDef {
  std::string name;
  std::vector<ColumnDef> columns;  // columns[0] is the key, named like the primary index
  std::vector<IndexDef> indices;
};

// Every table of a project file, in creation order.
const std::vector<TableDef>& projectTables();

// The SQLite index name for a named index: index names are per table for callers but global in
// the file, so the stored name carries the table.
std::string storedIndexName(std::string_view table, std::string_view index);

// The engines a project can live in. Names on the server are folded to lower case, as unquoted
// names are there, so that SQL written without quotes finds them.
enum class Dialect { Sqlite, Server };

// The declared type of a column kind on an engine: the one place where kinds become types.
std::string columnType(ColumnKind kind, Dialect dialect);

// CREATE INDEX for one named index of a table; nothing happens when the file has it already.
std::string indexStatement(const TableDef& table, const IndexDef& index, Dialect dialect = Dialect::Sqlite);

// CREATE TABLE and CREATE INDEX statements for the whole schema, one per element.
std::vector<std::string> schemaStatements(Dialect dialect = Dialect::Sqlite);

// CREATE statements for the tables of the schema that a file made by an older version lacks,
// given the names of the tables it has.
std::vector<std::string> missingTableStatements(const std::vector<std::string>& present);

// INSERT statements for the rows a new project starts with. A table listed in skipTables (already
// holding rows, as after a repair) is left alone.
std::vector<std::string> startingRowStatements(const std::vector<std::string>& skipTables = {});

}  // namespace kvprojectdb
