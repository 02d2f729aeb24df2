// A dialog's own connection to a project file, apart from the project's shared one.
#include "database/database.h"
#include "dialogs/dialogs.h"

bool OpenPrivateConnection(std::wstring_view path, ProjectDatabasePtr& out) {
  out.Reset();
  ProjectDatabasePtr db;
  if (FAILED(CreateProjectDatabase(db)) || !db) return false;
  _bstr_t bpath(path);
  VARIANT_BOOL readOnly = VARIANT_FALSE;
  VARIANT_BOOL ok = VARIANT_FALSE;
  ComCheck(db->OpenView(bpath, &readOnly, &ok));
  if (ok != VARIANT_TRUE) {
    ReportDatabaseError(db);
    return false;
  }
  if (readOnly == VARIANT_TRUE) {
    kvdialogs::ShowMessageBox(L"Database is read-only. Cannot be viewed at this time.", L"Kelvane",
                              kvdialogs::MessageBoxKind::Ok);
    return false;
  }
  out = std::move(db);
  return true;
}
