// The data dialogs' shared pieces: connection, colours, the layer's query.
#include "dialogs/support.h"

#include <cmath>

#include "ads.h"
#include "database/database.h"
#include "dialogs/dialogs.h"

namespace kvdialogs {

DialogConnection::DialogConnection(const std::optional<std::wstring>& path) {
  if (path) {
    private_ = OpenPrivateConnection(*path, connection_);
    return;
  }
  hvacPerDocData* document = CurrentDocument(DocumentRegistry());
  if (!document || !ConnectDocument(*document, true)) return;
  connection_ = GetDatabaseObject(ContextOf(*document));
}

DialogConnection::~DialogConnection() {
  if (!private_ || !connection_) return;
  VARIANT_BOOL done = VARIANT_FALSE;
  connection_->Close(&done);
}

COLORREF GridTextColour(const CGridCtrl& grid) {
  const COLORREF c = grid.GetDefaultCell(FALSE, FALSE)->GetTextClr();
  return c == CLR_DEFAULT ? GetSysColor(COLOR_WINDOWTEXT) : c;
}

COLORREF GridBackColour(const CGridCtrl& grid) {
  const COLORREF c = grid.GetDefaultCell(FALSE, FALSE)->GetBackClr();
  return c == CLR_DEFAULT ? GetSysColor(COLOR_WINDOW) : c;
}

void PaintHeading(CGridCtrl& grid, int row, int col) {
  CGridCellBase* cell = grid.GetCell(row, col);
  if (!cell) return;
  cell->SetBackClr(GridTextColour(grid));
  cell->SetTextClr(GridBackColour(grid));
  grid.SetBold(row, col, TRUE);
}

namespace {

// One answer cell as the explorer's text: an integer or string as it is; a point is handled by
// the caller, a real is written without its fraction when it has none.
std::wstring CellText(const resbuf* cell) {
  switch (cell->restype) {
    case RTSTR: return cell->resval.rstring ? cell->resval.rstring : L"";
    case RTSHORT: return std::to_wstring(cell->resval.rint);
    case RTLONG: return std::to_wstring(cell->resval.rlong);
    case RTREAL: {
      const double v = cell->resval.rreal;
      return v == std::floor(v) ? std::to_wstring(static_cast<long long>(v)) : std::to_wstring(v);
    }
    default: return L"";
  }
}

}  // namespace

std::vector<std::wstring> LayerQuery(const std::wstring& sql, const std::wstring& column,
                                     const std::wstring& sortColumn) {
  resbuf* args = acutBuildList(RTSTR, L"hvac-projectExplorer_sqlQuery", RTSTR, sql.c_str(), RTSTR,
                               column.c_str(), RTSTR, sortColumn.c_str(), 0);
  resbuf* answer = nullptr;
  const int status = acedInvoke(args, &answer);
  acutRelRb(args);
  // A short answer of whole numbers arrives as a point: (1 5) is a count and one value. Points
  // are taken apart wherever they stand, so the answer reads as one run of values.
  std::vector<std::wstring> values;
  for (const resbuf* cell = status == RTNORM ? answer : nullptr; cell; cell = cell->rbnext) {
    if (cell->restype == RTPOINT || cell->restype == RT3DPOINT) {
      for (int i = 0; i < (cell->restype == RTPOINT ? 2 : 3); ++i)
        values.push_back(std::to_wstring(static_cast<long long>(cell->resval.rpoint[i])));
    } else if (cell->restype != RTLB && cell->restype != RTLE && cell->restype != RTDOTE) {
      values.push_back(CellText(cell));
    }
  }
  if (values.empty() || values.front() == L"0") values.clear();
  else values.erase(values.begin());
  acutRelRb(answer);
  return values;
}

void SetSmallIcon(CWnd& dialog) {
  HANDLE icon = LoadImage(AfxGetResourceHandle(), MAKEINTRESOURCE(109), IMAGE_ICON, 16, 16, LR_DEFAULTCOLOR);
  if (icon) dialog.SetIcon(static_cast<HICON>(icon), FALSE);
}

}  // namespace kvdialogs
