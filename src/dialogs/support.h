// What the three data dialogs share inside this folder: where their connection comes from, the
// grid's default colours, and the application layer's query.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ProjectDatabase.h"
#include "grid/gridctrl.h"

namespace kvdialogs {

// The connection a dialog works on: the file at path, opened privately (and closed by the
// destructor, after the dialog), or else the current document's project, connected with report.
// Empty when the dialog must not open.
class DialogConnection {
 public:
  explicit DialogConnection(const std::optional<std::wstring>& path);
  ~DialogConnection();
  DialogConnection(const DialogConnection&) = delete;
  DialogConnection& operator=(const DialogConnection&) = delete;
  const ProjectDatabasePtr& get() const { return connection_; }
  explicit operator bool() const { return static_cast<bool>(connection_); }

 private:
  ProjectDatabasePtr connection_;
  bool private_ = false;
};

// The grid's own text and background colours, as a plain cell shows them.
COLORREF GridTextColour(const CGridCtrl& grid);
COLORREF GridBackColour(const CGridCtrl& grid);
// Cell (row, col) in the grid's colours the other way round and bold: the look of a heading.
void PaintHeading(CGridCtrl& grid, int row, int col);

// The application layer's hvac-projectExplorer_sqlQuery: the values of column for the rows of
// sql, ordered by sortColumn, each as text (a point gives its whole coordinates one by one). A
// failed call or an answer of no rows gives an empty list.
std::vector<std::wstring> LayerQuery(const std::wstring& sql, const std::wstring& column,
                                     const std::wstring& sortColumn);

// The dialog's stored icon, at 16 by 16.
void SetSmallIcon(CWnd& dialog);

}  // namespace kvdialogs
