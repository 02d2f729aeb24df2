// ProjectDatabase: the project database component. One instance is one connection to one project
// file (SQLite underneath), with table-by-table cursors, keyed seeks, rows as name/value arrays,
// SQL statements, and the creation and repair of project files.
#pragma once

#include "com.h"

// Class and interface ids for CoCreateInstance(CLSID_ProjectDatabase, nullptr, CLSCTX_ALL,
// IID_ProjectDatabase, ...). Linking kv_projectdb registers the class.
extern const CLSID CLSID_ProjectDatabase;
extern const IID IID_ProjectDatabase;

// Error codes of the last failing operation, as GetLastError reports them. The numbers are the
// ones callers already test for (a missing current record, a disk or network fault, ...).
enum class ProjectDbError : LONG {
  None = 0,
  NoCurrentRecord = 3021,     // "No current record."
  DuplicateKey = 3022,        // a unique index would hold the value twice
  FileNotFound = 3024,        // "Could not find file '<path>'."
  ReadOnly = 3027,            // written through a read-only connection
  DiskOrNetwork = 3043,       // I/O failure, full disk, or the file stayed locked past the timeout
  CannotOpen = 3049,          // not a database, or damaged beyond opening
  TableNotFound = 3078,       // unknown table in SetTable or SQL
  SyntaxError = 3075,         // SQL that does not prepare
  FieldNotFound = 3265,       // a row names a column the table does not have
  UnrecognizedFormat = 3343,  // an .mdb file: found by name but not a format this host reads
  NotAnIndex = 3800,          // SetTable with an index the table does not have
  NotOpen = 3420,             // an operation on a closed connection
};

// What a write (AddRecord, UpdateRecord, DeleteRecord, Execute) answers on a closed connection,
// with NotOpen recorded: a failing HRESULT in the control facility, as the platform's data access
// raises its error 3420. A lost write must never look like a refused one.
inline constexpr HRESULT PROJECTDB_E_NOTOPEN = static_cast<HRESULT>(0x800A0D5Cu);

// The connection interface. Every call answers an HRESULT: a failing one means the call itself was
// malformed (null out pointer, a row that is not a 1-D array of name/value VARIANT pairs,
// E_NOTIMPL for an operation this host does not offer); database failures are S_OK with the out
// flag false and the error recorded for HasError/GetLastError, except a write on a closed connection
// (PROJECTDB_E_NOTOPEN). Out BSTRs and arrays belong to the
// caller. Booleans are VARIANT_TRUE (-1) and VARIANT_FALSE (0). Every operation except HasError,
// GetLastError, IsOpen, IsEof and IsBof clears the recorded error first.
//
// Cursors: one per table per connection, so several record objects sharing this connection each
// name their table again with SetTable. A cursor walks its table in the order of its index (the
// primary key until another is set; rows equal in the index follow in insertion order). After a
// write through this connection every cursor sees the new state; writes by other connections are
// seen at the latest when a cursor next reads a fresh batch.
//
// Writes are durable when the call returns (committed with a full sync) and wait for other
// processes holding the file for up to ten seconds before failing with DiskOrNetwork.
class ProjectDatabase : public IUnknown {
 public:
  // Opens an existing project file for reading and writing. *result is "" on failure (see
  // GetLastError), "*REPAIR*" when the file fails its integrity check (it is then left closed),
  // and otherwise a non-empty text naming the open file. The two shorts are reserved, pass 0.
  virtual HRESULT Open(BSTR path, short reserved1, short reserved2, BSTR* result) = 0;

  // Selects the table for the moves, seeks and writes that follow. index names an index of the
  // table ("ixDuct", "distance1", "isxLayerSystemKey", ...); "" keeps the one in force. Choosing a
  // different index leaves the cursor with no current row.
  virtual HRESULT SetTable(BSTR table, BSTR index, VARIANT_BOOL* ok) = 0;

  // First row in index order; *row gets every column of it, names and values alternating from 0.
  virtual HRESULT MoveFirst(SAFEARRAY** row, VARIANT_BOOL* found) = 0;
  // Moves count rows on (count >= 1) from the current row; past the last row *found is false
  // and IsEof is true.
  virtual HRESULT MoveNext(LONG count, SAFEARRAY** row, VARIANT_BOOL* found) = 0;

  virtual HRESULT IsOpen(VARIANT_BOOL* open) = 0;

  // Inserts the given fields as a new row of the selected table; the key column is assigned by the
  // database whatever the row says. *outRow is the stored row with its new key, now current.
  // flags is reserved, pass 0.
  virtual HRESULT AddRecord(SAFEARRAY* row, LONG flags, SAFEARRAY** outRow, VARIANT_BOOL* ok) = 0;

  // Forgets every cursor; the connection stays open.
  virtual HRESULT CloseTables(VARIANT_BOOL* done) = 0;
  // Closes the file. Safe to call twice.
  virtual HRESULT Close(VARIANT_BOOL* done) = 0;

  // Removes the current row of the selected table; NoCurrentRecord without one. The cursor is then
  // between rows: MoveNext goes on with the row that followed.
  virtual HRESULT DeleteRecord(VARIANT_BOOL* done) = 0;

  virtual HRESULT GetLastError(LONG* code, BSTR* text) = 0;
  virtual HRESULT HasError(VARIANT_BOOL* hasError) = 0;

  // Writes the given fields to the current row (the key column is never changed); *outRow is the
  // whole row as stored. NoCurrentRecord without a current row.
  virtual HRESULT UpdateRecord(SAFEARRAY* row, SAFEARRAY** outRow, VARIANT_BOOL* ok) = 0;

  // First row, in index order, whose leading one, two or three index columns equal the keys; it
  // becomes current. A VT_NULL or VT_EMPTY key matches a null column (and only a null column).
  // Not found leaves no current row and IsEof true.
  virtual HRESULT Seek(const VARIANT& key, SAFEARRAY** row, VARIANT_BOOL* found) = 0;
  virtual HRESULT Seek2(const VARIANT& key1, const VARIANT& key2, SAFEARRAY** row,
                        VARIANT_BOOL* found) = 0;
  virtual HRESULT Seek3(const VARIANT& key1, const VARIANT& key2, const VARIANT& key3,
                        SAFEARRAY** row, VARIANT_BOOL* found) = 0;

  // Runs a SELECT and answers the first column of every row, in order, as a flat array (no names);
  // *found is false when no row came back or the statement failed. The SQL may be written in the
  // Access dialect: "double-quoted" strings, [bracketed] names, True/False as -1/0.
  virtual HRESULT QueryRow(BSTR sql, SAFEARRAY** values, VARIANT_BOOL* found) = 0;
  // Runs a statement that changes data (UPDATE, DELETE, INSERT), same dialect; durable on return.
  virtual HRESULT Execute(BSTR sql, VARIANT_BOOL* ok) = 0;

  // Opens a project file for a dialog. *readOnly is true when the file cannot be written (it is
  // then opened for reading only); *ok false on failure, as for Open.
  virtual HRESULT OpenView(BSTR path, VARIANT_BOOL* readOnly, VARIANT_BOOL* ok) = 0;

  // True when the cursor of the selected table has gone past its last row (or the table is empty),
  // or before its first (or the table is empty).
  virtual HRESULT IsEof(VARIANT_BOOL* eof) = 0;
  virtual HRESULT IsBof(VARIANT_BOOL* bof) = 0;

  // ---- Beyond the connection slots: project files ----

  // Creates a new project file at path with every table, primary key and named index, and the rows
  // a new project starts with, then leaves it open on this connection. Fails (FileNotFound for a
  // missing folder, CannotOpen for an existing file) without touching an existing file.
  virtual HRESULT CreateProject(BSTR path, VARIANT_BOOL* ok) = 0;

  // Rebuilds a damaged project file from what can still be read: the file is moved aside to
  // "<path>.damaged" (replacing an older one), a fresh file with the full schema takes its place,
  // and every readable row of every known table is copied in. *rowsSaved counts the rows copied.
  // Neither this connection nor any other process may have the file open: writes through a
  // connection opened before the repair would go to the damaged copy. *ok is false when nothing
  // could be rebuilt.
  virtual HRESULT Repair(BSTR path, LONG* rowsSaved, VARIANT_BOOL* ok) = 0;
};

using ProjectDatabasePtr = ComPtr<ProjectDatabase>;

// Convenience for the host's own code and tests: CoCreateInstance of the class above.
HRESULT CreateProjectDatabase(ProjectDatabasePtr& out);
