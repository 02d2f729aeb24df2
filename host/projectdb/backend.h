// The engines behind the component. The class callers create is a router: it hands every call to
// the back end that owns the project opened last, chosen by the path (a link file names a server
// project, anything else is a project file). Private to the folder.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ProjectDatabase.h"
#include "sqlite.h"

namespace kvprojectdb {

// The connection slots plus what the host's own LISP functions need of any engine.
class Backend : public ProjectDatabase {
 public:
  // Clears the recorded error, runs one SELECT (SQLite's dialect; a server back end rewrites it)
  // and collects, for every row, the named columns (any case), or the first column when none are
  // named. False with the error recorded when the statement fails or names a column the result
  // lacks.
  virtual bool QueryColumns(const std::string& sql, const std::vector<std::string>& columns,
                            std::vector<CellRow>& rows) = 0;
  virtual std::pair<LONG, std::string> LastErrorUtf8() const = 0;
};

// A link file: "<folder>_kv_hvac.kvlink", holding the connection string of a server project.
bool IsLinkPath(std::string_view path);

ComPtr<Backend> MakeFileBackend();
ComPtr<Backend> MakeServerBackend();
// A connection that follows the path it is given; what CoCreateInstance answers.
ComPtr<Backend> MakeRoutingBackend();

// A new server project behind a new link file at path, on server (a connection string), else on
// the one the environment variable KV_PROJECTDB_SERVER names; false with *code and *error filled.
bool CreateServerProject(const std::string& path, ProjectDbError* code, std::string* error,
                         const std::string& server = "");

// Drops the schema of the server project the link file at path names (only a schema such a link
// was made with: "kvp_..."); the link itself stays. The schema's name goes to *schema once it is
// known; false with *error filled, the schema kept, when it cannot be dropped.
bool DropServerProject(const std::string& path, std::string* schema, std::string* error);

// The LISP functions' connection to the project at path, opened on first use (a LISP error when it
// cannot be), and the end of it.
Backend& ConnectProject(std::string_view function, const std::string& path);
void ForgetProjectConnection(const std::string& path);
// Sets the key generators of an open server project past its largest keys, after rows were copied
// in with their keys.
bool ResyncServerKeys(ProjectDatabase& server);
// SQLite's dialect rewritten for the server (names folded, LIKE without case, SQLite's types).
std::string ServerSql(std::string_view sql);

}  // namespace kvprojectdb
