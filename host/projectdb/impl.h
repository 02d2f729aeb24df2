// The ProjectDatabase implementation's private declarations: table descriptions read from the
// file, cursors, and the connection object itself. Private to the folder.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "ProjectDatabase.h"
#include "backend.h"
#include "sqlite.h"

namespace kvprojectdb {

struct IndexInfo {
  std::string name;          // as callers name it
  std::wstring wideName;
  std::vector<int> columns;  // positions in TableInfo::columns; empty: the key (rowid) order
  // Statements prepared for this index, owned by the connection's statement cache.
  mutable sqlite3_stmt* seek[3] = {};
  mutable sqlite3_stmt* first = nullptr;
  mutable std::vector<sqlite3_stmt*> after;  // by level * 2 + (null at the level)
};

// A table as the file describes it; rows read with "SELECT rowid, *" put the rowid first.
// The column names that every row of a table hands out: made once, then shared with each row
// (SysShareString), so that a walk copies no name.
class SharedNames {
 public:
  SharedNames() = default;
  SharedNames(const SharedNames& other) : names_(other.names_) {
    for (BSTR name : names_) SysShareString(name);
  }
  SharedNames& operator=(SharedNames other) {
    names_.swap(other.names_);
    return *this;
  }
  ~SharedNames() {
    for (BSTR name : names_) SysFreeString(name);
  }
  bool empty() const { return names_.empty(); }
  void add(const std::wstring& name) {
    names_.push_back(SysAllocStringLen(name.data(), static_cast<std::uint32_t>(name.size())));
  }
  // One more holder of the name of column i.
  BSTR share(std::size_t i) const { return SysShareString(names_[i]); }

 private:
  std::vector<BSTR> names_;
};

struct TableInfo {
  std::string name;
  std::vector<std::string> columns;
  std::vector<std::wstring> wideColumns;
  mutable SharedNames rowNames;  // wideColumns as rows hand them out, made on the first row
  std::wstring wideName;
  std::vector<bool> boolean;  // declared BOOLEAN: answered as VT_BOOL
  std::vector<bool> real;     // declared REAL: a whole number comes back as a real
  int keyColumn = -1;         // the INTEGER PRIMARY KEY column
  std::vector<IndexInfo> indices;
  std::unordered_map<std::string, int> columnByLowerName;
  mutable sqlite3_stmt* byRowid = nullptr;
  // The server's select list, made once: the key where a file's rowid stands, then every column.
  std::string serverColumns;

  const IndexInfo* FindIndex(std::string_view name) const;
  int FindColumn(std::string_view name) const;  // case-insensitive, -1 if none
};

// The position of one table's walk. A cursor never keeps a statement open between calls: it holds
// the current row (which is also its position) and a batch of rows read ahead.
struct Cursor {
  enum class State { Fresh, OnRow, Gap, AfterLast, NoMatch };
  const TableInfo* table = nullptr;
  const IndexInfo* index = nullptr;
  State state = State::Fresh;
  bool emptyAtFirst = false;   // MoveFirst found nothing
  CellRow current;             // rowid, then the columns
  std::vector<CellRow> ahead;  // rows after current, in index order
  std::size_t aheadPos = 0;
  std::size_t nextBatch = 16;  // grows while a walk goes on, so a lone First reads little

  void Forget() {
    state = State::Fresh;
    emptyAtFirst = false;
    current.clear();
    ahead.clear();
    aheadPos = 0;
    nextBatch = 16;
  }

  // Moves the walk one row on, reading the next batch through fetch(batch) when the rows read
  // ahead are used up; each batch is twice the last, up to maxBatch. Past the last row the cursor
  // is AfterLast and found false. False only when fetch failed (its error recorded by it). Both
  // engines walk this way; only how a batch is read differs.
  template <class Fetch>
  bool Advance(bool& found, std::size_t maxBatch, Fetch&& fetch) {
    found = false;
    if (aheadPos >= ahead.size()) {
      std::vector<CellRow> batch;
      batch.reserve(nextBatch);
      if (!fetch(batch)) return false;
      nextBatch = std::min(maxBatch, nextBatch * 2);
      ahead = std::move(batch);
      aheadPos = 0;
    }
    if (aheadPos >= ahead.size()) {
      emptyAtFirst = state == State::Fresh;
      state = State::AfterLast;
      ahead.clear();
      aheadPos = 0;
      return true;
    }
    // The row given up keeps its storage in the used slot, for the next batch to fill.
    std::swap(current, ahead[aheadPos++]);
    state = State::OnRow;
    found = true;
    return true;
  }
};

using Fields = std::vector<std::pair<int, Cell>>;

// What both engines do alike above the rows they read: errors, a cursor per table and the one the
// calls work on, walking, seeking, and the checks before and the answer after a write. An engine
// says only how it describes a table, reads a batch of a walk and finds a key.
class Engine : public ComObject<Backend> {
 public:
  HRESULT SetTable(BSTR table, BSTR index, VARIANT_BOOL* ok) override;
  HRESULT MoveFirst(SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT MoveNext(LONG count, SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT Seek(const VARIANT& key, SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT Seek2(const VARIANT& key1, const VARIANT& key2, SAFEARRAY** row, VARIANT_BOOL* found) override;
  HRESULT Seek3(const VARIANT& key1, const VARIANT& key2, const VARIANT& key3, SAFEARRAY** row,
                VARIANT_BOOL* found) override;
  HRESULT IsEof(VARIANT_BOOL* eof) override;
  HRESULT IsBof(VARIANT_BOOL* bof) override;
  HRESULT CloseTables(VARIANT_BOOL* done) override;
  HRESULT IsOpen(VARIANT_BOOL* open) override;
  HRESULT Close(VARIANT_BOOL* done) override;
  HRESULT CreateProject(BSTR path, VARIANT_BOOL* ok) override;
  HRESULT HasError(VARIANT_BOOL* hasError) override;
  HRESULT GetLastError(LONG* code, BSTR* text) override;
  std::pair<LONG, std::string> LastErrorUtf8() const override { return {errorCode_, errorText_}; }

  // Rows and values as callers receive them, from whichever engine holds the project.
  static SAFEARRAY* MakeRow(const TableInfo& table, const CellRow& row);
  static VARIANT CellToVariant(const Cell& c, bool boolean);

 protected:
  static constexpr std::size_t kMaxBatch = 256;

  virtual bool Connected() const = 0;
  // Closes what is open; the cursors go with it.
  virtual void Disconnect() = 0;
  // A new project at path, with its schema and starting rows; false with *code and *error filled.
  virtual bool MakeProject(const std::string& path, ProjectDbError* code, std::string* error) = 0;
  // Opens a project for writing; false with the error recorded.
  virtual bool OpenForWriting(const std::string& path) = 0;
  // The table's description, read once per connection; null with the error recorded.
  virtual const TableInfo* LoadTable(std::string_view name) = 0;
  virtual bool TableIsEmpty(const TableInfo& table) = 0;
  // Appends the next c.nextBatch rows of c's walk (from its start when c is Fresh) to batch.
  virtual bool FetchBatch(Cursor& c, std::vector<CellRow>& batch) = 0;
  // The first row in c's order whose leading index columns (the key for an index of none) equal
  // keys, into rows; rows left empty when none does. False with the error recorded.
  virtual bool SeekRow(const Cursor& c, const std::vector<Cell>& keys, std::vector<CellRow>& rows) = 0;

  void ClearError();
  void SetError(ProjectDbError code, std::string text);
  bool RequireOpen();
  // Records NotOpen and gives the failing answer of a write on a closed connection.
  HRESULT RefuseClosedWrite();
  Cursor* Current();
  // Drops the rows read ahead by the cursors of table (all tables when null) except one, after a
  // write through this connection may have changed them.
  void Invalidate(const TableInfo* table, const Cursor* except);
  void ForgetCursors();
  // Moves one row on. Past the end the cursor is AfterLast; a move from there is an error, as
  // moving beyond the end always was for callers.
  bool StepForward(Cursor& c, bool& found);
  // The cursor a write works on and, unless fields is null, the fields row names. Null when the
  // write cannot go on; hr is then the call's answer (S_OK with the error recorded, or a failing
  // code for a malformed call). onRow: the write needs a current row.
  Cursor* StartWrite(SAFEARRAY* row, Fields* fields, bool onRow, HRESULT& hr);
  // The row a write stored becomes current and is answered whole.
  HRESULT FinishWrite(Cursor& c, CellRow&& stored, bool adding, SAFEARRAY** outRow, VARIANT_BOOL* ok);
  // After the delete of c's row; deleted false: another connection had deleted it first.
  HRESULT FinishDelete(Cursor& c, bool deleted, VARIANT_BOOL* done);
  // Records that the current row was deleted through another connection; answers S_OK.
  HRESULT RowGoneElsewhere();

  LONG errorCode_ = 0;
  std::string errorText_;
  std::map<const TableInfo*, Cursor> cursors_;
  Cursor* current_ = nullptr;

 private:
  HRESULT SeekKeys(const VARIANT* const* keys, int count, SAFEARRAY** row, VARIANT_BOOL* found);
  HRESULT Answer(Cursor& c, LONG count, SAFEARRAY** row, VARIANT_BOOL* found);
};

// The statements that write fields (parameters numbered in field order, written mark then number:
// "?1" for a file, "$1" for a server): an INSERT, and an UPDATE of the row whose key, named by
// key, is the parameter after them.
std::string InsertSql(const TableInfo& table, const Fields& fields, char mark);
std::string UpdateSql(const TableInfo& table, const Fields& fields, char mark, const std::string& key);

class ProjectDatabaseImpl final : public Engine {
 public:
  ProjectDatabaseImpl() = default;
  ~ProjectDatabaseImpl() override;

  HRESULT QueryInterface(REFIID iid, void** out) override;
  HRESULT Open(BSTR path, short reserved1, short reserved2, BSTR* result) override;
  HRESULT AddRecord(SAFEARRAY* row, LONG flags, SAFEARRAY** outRow, VARIANT_BOOL* ok) override;
  HRESULT DeleteRecord(VARIANT_BOOL* done) override;
  HRESULT UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) override;
  HRESULT QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) override;
  HRESULT Execute(BSTR sql, VARIANT_BOOL* ok) override;
  HRESULT OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) override;
  HRESULT Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) override;

  bool QueryColumns(const std::string& sql, const std::vector<std::string>& columns,
                    std::vector<CellRow>& rows) override;

 protected:
  bool Connected() const override { return db_ != nullptr; }
  void Disconnect() override { CloseFile(); }
  bool MakeProject(const std::string& path, ProjectDbError* code, std::string* error) override;
  bool OpenForWriting(const std::string& path) override { return OpenFile(path, false) == OpenOutcome::Open; }
  const TableInfo* LoadTable(std::string_view name) override;
  bool TableIsEmpty(const TableInfo& table) override;
  bool FetchBatch(Cursor& c, std::vector<CellRow>& batch) override;
  bool SeekRow(const Cursor& c, const std::vector<Cell>& keys, std::vector<CellRow>& rows) override;

 private:
  enum class OpenOutcome { Open, Failed, NeedsRepair };

  // Connection and errors (database.cpp).
  // A view (viewOnly) reads the file as it stands; any other open brings it up to the schema's
  // indices first.
  OpenOutcome OpenFile(const std::string& path, bool readOnly, bool viewOnly = false);
  void CloseFile();
  // Records the error of a failed SQLite call under the closest engine code; answers false.
  bool Fail(int rc, std::string_view what);
  sqlite3_stmt* Prepare(const std::string& sql);
  bool Run(sqlite3_stmt* s);  // steps to the end; false (error recorded) on failure
  // Steps a write with RETURNING to the end, keeping its first row (empty when none).
  // RETURNING reports a REAL column's whole number as an integer (the stored form); it is given the
  // column's type again, as a read would.
  bool RunReturning(sqlite3_stmt* s, const TableInfo& table, CellRow& out);
  bool Begin();
  bool Commit();
  void Rollback();

  // Tables and rows (database.cpp).
  bool QuickCheckPasses();  // false closes the file: it needs repair
  bool AddMissingIndices();  // false: the error is recorded, the file left as it was
  void AddMissingTables();
  bool ReadColumns(TableInfo& info);
  bool ReadIndices(TableInfo& info);
  bool ReadRowById(const TableInfo& table, std::int64_t rowid, CellRow& out);

  // Walking (cursor.cpp). Both append to out; used-up rows in spare lend their storage.
  bool FetchFirst(Cursor& c, std::size_t limit, std::vector<CellRow>& out, std::vector<CellRow>* spare = nullptr);
  bool FetchAfter(Cursor& c, std::size_t limit, std::vector<CellRow>& out, std::vector<CellRow>* spare = nullptr);
  std::string SelectFrom(const TableInfo& table) const;
  std::string OrderBy(const Cursor& c) const;
  // The statement of one level of FetchAfter.
  std::string AfterSql(const Cursor& c, std::size_t level, bool nullAtLevel) const;

  DbHandle db_;
  std::string path_;
  bool readOnly_ = false;
  std::unordered_map<std::string, StmtHandle> statements_;
  std::map<std::string, std::unique_ptr<TableInfo>> tables_;  // by lower-case name
};

// QueryRow on any engine: the first column of every row QueryColumns answers, as one array.
HRESULT AnswerQueryRow(Backend& db, BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found);

// The one interface every connection object answers to.
HRESULT QueryProjectDatabase(ProjectDatabase* self, REFIID iid, void** out);

// Project files (files.cpp). Each answers false with *error filled on failure.
bool CreateProjectFile(const std::string& path, ProjectDbError* code, std::string* error);
bool RepairProjectFile(const std::string& path, long* rowsSaved, ProjectDbError* code, std::string* error);
// Rewrites the file without its free pages (VACUUM); the page counts before and after.
bool CompactProjectFile(const std::string& path, long* pagesBefore, long* pagesAfter, std::string* error);
// Applies the settings every connection runs with (WAL, full sync, busy timeout).
int ConfigureConnection(sqlite3* db, bool readOnly);
std::string LowerAscii(std::string_view text);
inline std::string BstrToUtf8(BSTR text) { return WideToUtf8(std::wstring_view(text ? text : L"", SysStringLen(text))); }
inline void SetFlag(VARIANT_BOOL* out, bool value) { *out = value ? VARIANT_TRUE : VARIANT_FALSE; }
bool EqualsNoCase(std::string_view a, std::string_view b);
bool EndsWithNoCase(std::string_view text, std::string_view suffix);

}  // namespace kvprojectdb
