// The grid's structure and cell access: rows, columns, fixed parts, kinds, names, merging, the
// focus and selection, and the notifications to the owner.
#include <algorithm>
#include <cstring>
#include <new>

#include "gridctrl.h"

IMPLEMENT_DYNAMIC(CGridCtrl, CObject)  // the windowing layer keeps no class record for CWnd

namespace {

// Registers a window class once; the grid and its title tip each need one.
void registerClassOnce(LPCTSTR name, UINT style, HBRUSH background) {
  WNDCLASS wc{};
  if (GetClassInfo(AfxGetInstanceHandle(), name, &wc)) return;
  wc.style = style;
  wc.lpfnWndProc = ::DefWindowProc;
  wc.hCursor = LoadCursor(nullptr, IDC_ARROW);
  wc.hbrBackground = background;
  wc.lpszClassName = name;
  AfxRegisterClass(&wc);
}

}  // namespace

CGridCtrl::CGridCtrl(int nRows, int nCols, int nFixedRows, int nFixedCols) {
  registerClassOnce(L"MFCGridCtrl", CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW, reinterpret_cast<HBRUSH>(static_cast<ULONG_PTR>(COLOR_3DFACE + 1)));
  registerClassOnce(L"ZTitleTip", CS_SAVEBITS, reinterpret_cast<HBRUSH>(static_cast<ULONG_PTR>(COLOR_INFOBK + 1)));
  m_pRtcDefault = RUNTIME_CLASS(CGridCell);
  m_crGridLineColour = GetSysColor(COLOR_3DSHADOW);
  m_cellDefault.SetTextClr(GetSysColor(COLOR_WINDOWTEXT));
  m_cellDefault.SetBackClr(GetSysColor(COLOR_WINDOW));
  for (CGridDefaultCell* d : {&m_cellFixedColDef, &m_cellFixedRowDef, &m_cellFixedRowColDef}) {
    d->SetTextClr(GetSysColor(COLOR_WINDOWTEXT));
    d->SetBackClr(GetSysColor(COLOR_3DFACE));
  }
  SetRowCount(nRows);
  SetColumnCount(nCols);
  SetFixedRowCount(nFixedRows);
  SetFixedColumnCount(nFixedCols);
}

CGridCtrl::~CGridCtrl() {
  // Editors refer to the window; they go with it, before the cells do.
  if (m_hWnd) DestroyWindow();
}

BOOL CGridCtrl::Create(const RECT& rect, CWnd* parent, UINT id, DWORD style) {
  if (!CWnd::Create(L"MFCGridCtrl", L"", style | WS_HSCROLL | WS_VSCROLL, rect, parent, id)) return FALSE;
  m_TitleTip.Create(this);
  ResetScrollBars();
  return TRUE;
}

void CGridCtrl::PreSubclassWindow() {
  CWnd::PreSubclassWindow();
  if (!m_TitleTip.m_hWnd) m_TitleTip.Create(this);
  ResetScrollBars();
}

CGridDefaultCell* CGridCtrl::GetDefaultCell(BOOL fixedRow, BOOL fixedCol) const {
  auto* self = const_cast<CGridCtrl*>(this);
  if (fixedRow && fixedCol) return &self->m_cellFixedRowColDef;
  if (fixedRow) return &self->m_cellFixedRowDef;
  if (fixedCol) return &self->m_cellFixedColDef;
  return &self->m_cellDefault;
}

CFont* CGridCtrl::GetFont() const { return m_cellDefault.GetFontObject(); }
const LOGFONT* CGridCtrl::GetGridLogFont() const { return m_cellDefault.GetFont(); }

CFont* CGridCtrl::FontFor(const LOGFONT* lf) {
  if (!lf) lf = m_cellDefault.GetFont();
  std::string key(reinterpret_cast<const char*>(lf), sizeof(LOGFONT));
  auto& slot = m_fontCache[key];
  if (!slot) {
    slot = std::make_unique<CFont>();
    slot->CreateFontIndirect(lf);
  }
  return slot.get();
}

int CGridCtrl::LineHeightFor(const LOGFONT* lf) {
  if (!lf) lf = m_cellDefault.GetFont();
  std::string key(reinterpret_cast<const char*>(lf), sizeof(LOGFONT));
  auto it = m_lineHeights.find(key);
  if (it != m_lineHeights.end()) return it->second;
  CDC dc;
  dc.CreateCompatibleDC(nullptr);
  dc.SelectObject(FontFor(lf));
  int h = dc.GetTextExtent(CString(L" ")).cy;
  m_lineHeights[key] = h;
  return h;
}

// ---- Cells ---------------------------------------------------------------------------------

// The cell class of a position: fixed rows take the grid's class, others their column kind's.
std::unique_ptr<CGridCellBase> CGridCtrl::CreateCell(int row, int col) {
  CRuntimeClass* cls = m_pRtcDefault;
  int kind = row >= m_nFixedRows ? GetColumnKind(col) : GVCK_PLAIN;
  if (kind == GVCK_CHECK || kind == GVCK_BUTTON) cls = RUNTIME_CLASS(CGridBtnCell);
  else if (kind == GVCK_OPENLIST || kind == GVCK_CLOSEDLIST) cls = RUNTIME_CLASS(CGridCellCombo);
  else if (kind == GVCK_TREE && m_TreeColumn.GetCellClass()) cls = m_TreeColumn.GetCellClass();
  std::unique_ptr<CObject> obj(cls->CreateObject());
  auto* cell = dynamic_cast<CGridCellBase*>(obj.get());
  if (!cell) return nullptr;
  obj.release();
  std::unique_ptr<CGridCellBase> owned(cell);
  setupNewCell(cell, row, col);
  return owned;
}

void CGridCtrl::setupNewCell(CGridCellBase* cell, int row, int col) {
  cell->SetGrid(this);
  cell->SetCoords(row, col);
  DWORD state = cell->GetState() & ~(GVIS_FIXED | GVIS_FIXEDROW | GVIS_FIXEDCOL);
  if (col < m_nFixedCols) state |= GVIS_FIXED | GVIS_FIXEDCOL;
  if (row < m_nFixedRows) state |= GVIS_FIXED | GVIS_FIXEDROW;
  cell->SetState(state);
  if (auto* tree = dynamic_cast<CGridTreeCellBase*>(cell)) tree->SetTreeColumn(&m_TreeColumn);
  if (row < m_nFixedRows) return;
  int kind = GetColumnKind(col);
  if (auto* combo = dynamic_cast<CGridCellCombo*>(cell)) {
    if (auto it = m_ColOptions.find(col); it != m_ColOptions.end()) combo->SetOptions(it->second);
    if (auto it = m_ColOptionData.find(col); it != m_ColOptionData.end()) combo->SetOptionData(it->second);
    combo->SetStyle(kind == GVCK_OPENLIST ? CBS_SIMPLE : CBS_DROPDOWNLIST);
  } else if (kind == GVCK_CHECK) {
    cell->SetText(L"0");
  }
}

CGridCellBase* CGridCtrl::GetCell(int row, int col) const {
  if (row < 0 || row >= m_nRows || col < 0 || col >= m_nCols) return nullptr;
  return m_RowData[static_cast<std::size_t>(row)][static_cast<std::size_t>(m_arColOrder[static_cast<std::size_t>(col)])].get();
}

CString CGridCtrl::GetItemText(int row, int col) const {
  CGridCellBase* c = GetCell(row, col);
  if (!c) return CString();
  if (row >= m_nFixedRows && GetColumnKind(col) == GVCK_BUTTON) {
    auto it = m_ColCaptions.find(col);
    return it == m_ColCaptions.end() ? CString() : it->second;
  }
  return c->GetText();
}

BOOL CGridCtrl::SetItemText(int row, int col, LPCTSTR text) {
  CGridCellBase* c = GetCell(row, col);
  if (!c) return FALSE;
  int kind = row >= m_nFixedRows ? GetColumnKind(col) : GVCK_PLAIN;
  if (kind == GVCK_CHECK) c->SetText(CString(text ? text : L"") == L"0" ? L"0" : L"-1");
  else if (kind != GVCK_BUTTON) c->SetText(text);
  c->SetState(c->GetState() | GVIS_MODIFIED);
  m_bModified = TRUE;
  return TRUE;
}

CString CGridCtrl::GetItemText(int row, LPCTSTR colName) const {
  int col = GetColumnByName(colName);
  return col < 0 ? CString() : GetItemText(row, col);
}

BOOL CGridCtrl::SetItemText(int row, LPCTSTR colName, LPCTSTR text) {
  int col = GetColumnByName(colName);
  return col < 0 ? FALSE : SetItemText(row, col, text);
}

BOOL CGridCtrl::SetItemBkColour(int row, int col, COLORREF c) {
  CGridCellBase* cell = GetCell(row, col);
  if (!cell) return FALSE;
  cell->SetBackClr(c);
  return TRUE;
}

COLORREF CGridCtrl::GetItemBkColour(int row, int col) const {
  CGridCellBase* cell = GetCell(row, col);
  return cell ? cell->GetBackClr() : 0;
}

BOOL CGridCtrl::SetItemState(int row, int col, DWORD state) {
  CGridCellBase* cell = GetCell(row, col);
  if (!cell) return FALSE;
  cell->SetState(state);
  return TRUE;
}

DWORD CGridCtrl::GetItemState(int row, int col) const {
  CGridCellBase* cell = GetCell(row, col);
  return cell ? cell->GetState() : 0;
}

BOOL CGridCtrl::SetBold(int row, int col, BOOL bold) {
  CGridCellBase* cell = GetCell(row, col);
  if (!cell || !cell->GetFont()) return FALSE;
  LOGFONT lf = *cell->GetFont();
  lf.lfWeight = bold ? FW_BOLD : FW_NORMAL;
  cell->SetFont(&lf);
  return TRUE;
}

BOOL CGridCtrl::MergeCells(int r1, int c1, int r2, int c2) {
  if (!GetCell(r1, c1) || !GetCell(r2, c2) || r2 < r1 || c2 < c1) return FALSE;
  for (int r = r1; r <= r2; ++r)
    for (int c = c1; c <= c2; ++c) {
      CGridCellBase* cell = GetCell(r, c);
      cell->Show(FALSE);
      if (r == r1 && c == c1) cell->SetMergeRange(CRect(c1, r1, c2, r2));
      else cell->SetMergeCellID(CCellID(r1, c1));
    }
  Refresh();
  return TRUE;
}

CCellID CGridCtrl::mergeHead(CCellID c) const {
  CGridCellBase* cell = GetCell(c.row, c.col);
  if (cell && cell->IsMerged()) return cell->GetMergeCellID();
  return c;
}

// ---- Structure -----------------------------------------------------------------------------

BOOL CGridCtrl::SetRowCount(int n) {
  if (n < 0 || m_bInResize) return FALSE;
  if (n == m_nRows) return TRUE;
  m_bInResize = true;
  try {
    if (n < m_nFixedRows) m_nFixedRows = n;
    if (m_idCurrentCell.row >= n) SetFocusCell(-1, -1);
    int old = m_nRows;
    m_RowData.resize(static_cast<std::size_t>(n));
    m_arRowHeights.resize(static_cast<std::size_t>(n), m_cellDefault.GetHeight());
    m_nRows = n;
    for (int r = old; r < n; ++r) {
      Row& row = m_RowData[static_cast<std::size_t>(r)];
      row.resize(static_cast<std::size_t>(m_nCols));
      for (int c = 0; c < m_nCols; ++c) row[static_cast<std::size_t>(m_arColOrder[static_cast<std::size_t>(c)])] = CreateCell(r, c);
    }
    if (n < old) clearSelection();
  } catch (const std::bad_alloc&) {
    m_bInResize = false;
    CMemoryException().ReportError();
    return FALSE;
  }
  m_bInResize = false;
  m_bRowTopsDirty = true;
  m_topLeftCache.reset();
  ResetScrollBars();
  Refresh();
  return TRUE;
}

BOOL CGridCtrl::SetColumnCount(int n) {
  if (n < 0 || m_bInResize) return FALSE;
  if (n == m_nCols) return TRUE;
  m_bInResize = true;
  try {
    if (n < m_nFixedCols) m_nFixedCols = n;
    if (m_idCurrentCell.col >= n) SetFocusCell(-1, -1);
    int old = m_nCols;
    if (n < old) {
      // Physical columns of the removed logical ones go; the order renumbers the rest.
      std::vector<int> keep(m_arColOrder.begin(), m_arColOrder.begin() + n);
      for (auto& row : m_RowData) {
        Row kept;
        for (int phys : keep) kept.push_back(std::move(row[static_cast<std::size_t>(phys)]));
        row = std::move(kept);
      }
      m_arColOrder.resize(static_cast<std::size_t>(n));
      for (int i = 0; i < n; ++i) m_arColOrder[static_cast<std::size_t>(i)] = i;
      clearSelection();
    }
    m_arColWidths.resize(static_cast<std::size_t>(n), m_cellDefault.GetWidth());
    m_arColType.resize(static_cast<std::size_t>(n), GVCK_PLAIN);
    for (int c = old; c < n; ++c) m_arColOrder.push_back(c);
    m_nCols = n;
    for (int r = 0; r < m_nRows; ++r) {
      Row& row = m_RowData[static_cast<std::size_t>(r)];
      row.resize(static_cast<std::size_t>(n));
      for (int c = old; c < n; ++c) row[static_cast<std::size_t>(c)] = CreateCell(r, c);
    }
  } catch (const std::bad_alloc&) {
    m_bInResize = false;
    CMemoryException().ReportError();
    return FALSE;
  }
  m_bInResize = false;
  m_topLeftCache.reset();
  ResetScrollBars();
  Refresh();
  return TRUE;
}

void CGridCtrl::resetCellToDefaults(int row, int col) {
  CGridCellBase* cell = GetCell(row, col);
  if (!cell) return;
  DWORD state = cell->GetState() & ~(GVIS_FIXED | GVIS_FIXEDROW | GVIS_FIXEDCOL);
  if (col < m_nFixedCols) state |= GVIS_FIXED | GVIS_FIXEDCOL;
  if (row < m_nFixedRows) state |= GVIS_FIXED | GVIS_FIXEDROW;
  cell->SetState(state);
  cell->SetTextClr(CLR_DEFAULT);
  cell->SetBackClr(CLR_DEFAULT);
}

BOOL CGridCtrl::SetFixedRowCount(int n) {
  if (n < 0) return FALSE;
  if (n > m_nRows && !SetRowCount(n)) return FALSE;
  int lo = std::min(n, m_nFixedRows), hi = std::max(n, m_nFixedRows);
  m_nFixedRows = n;
  for (int r = lo; r < hi; ++r)
    for (int c = 0; c < m_nCols; ++c) resetCellToDefaults(r, c);
  if (m_idCurrentCell.IsValid() && m_idCurrentCell.row < n) SetFocusCell(-1, -1);
  m_bRowTopsDirty = true;
  m_topLeftCache.reset();
  ResetScrollBars();
  Refresh();
  return TRUE;
}

BOOL CGridCtrl::SetFixedColumnCount(int n) {
  if (n < 0) return FALSE;
  if (n > m_nCols && !SetColumnCount(n)) return FALSE;
  int lo = std::min(n, m_nFixedCols), hi = std::max(n, m_nFixedCols);
  m_nFixedCols = n;
  for (int r = 0; r < m_nRows; ++r)
    for (int c = lo; c < hi; ++c) resetCellToDefaults(r, c);
  if (m_idCurrentCell.IsValid() && m_idCurrentCell.col < n) SetFocusCell(-1, -1);
  m_topLeftCache.reset();
  ResetScrollBars();
  Refresh();
  return TRUE;
}

// Inserts the row's storage only; the caller renumbers and repaints.
int CGridCtrl::InsertRowFast(int row) {
  if (m_nCols == 0) SetColumnCount(1);
  if (row < 0 || row == m_nRows) row = m_nRows;
  m_RowData.emplace(m_RowData.begin() + row);
  m_arRowHeights.insert(m_arRowHeights.begin() + row, m_cellDefault.GetHeight());
  ++m_nRows;
  Row& data = m_RowData[static_cast<std::size_t>(row)];
  data.resize(static_cast<std::size_t>(m_nCols));
  for (int c = 0; c < m_nCols; ++c) data[static_cast<std::size_t>(m_arColOrder[static_cast<std::size_t>(c)])] = CreateCell(row, c);
  m_bRowTopsDirty = true;
  m_topLeftCache.reset();
  return row;
}

int CGridCtrl::InsertRow(LPCTSTR heading, int row) {
  if (row >= 0 && (row < m_nFixedRows || row > m_nRows)) return -1;
  if (row == m_nRows) row = -1;
  try {
    row = InsertRowFast(row);
  } catch (const std::bad_alloc&) {
    CMemoryException().ReportError();
    return -1;
  }
  clearSelection();
  if (m_idCurrentCell.row >= row && m_idCurrentCell.IsValid() && row < m_nRows - 1) m_idCurrentCell.row++;
  if (heading && *heading) {
    GetCell(row, 0)->SetText(heading);
    CSize ext = GetCell(row, 0)->GetCellExtent(nullptr);
    m_arRowHeights[static_cast<std::size_t>(row)] = ext.cy;
  }
  ResetCellCoords(row + 1);
  ResetScrollBars();
  Refresh();
  return row;
}

void CGridCtrl::DeleteRowFast(int row) {
  m_RowData.erase(m_RowData.begin() + row);
  m_arRowHeights.erase(m_arRowHeights.begin() + row);
  --m_nRows;
  if (row < m_nFixedRows) --m_nFixedRows;
  m_bRowTopsDirty = true;
  m_topLeftCache.reset();
}

BOOL CGridCtrl::DeleteRow(int row) {
  if (row < 0 || row >= m_nRows) return FALSE;
  if (CGridCellBase* editing = m_idCurrentCell.row == row ? GetCell(row, m_idCurrentCell.col) : nullptr)
    if (editing->IsEditing()) EndEditing();
  bool last = row == m_nRows - 1;
  DeleteRowFast(row);
  clearSelection();
  if (last && m_idCurrentCell.IsValid()) {
    m_idCurrentCell.row--;
    if (m_idCurrentCell.row < m_nFixedRows) m_idCurrentCell = CCellID();
  }
  if (CGridCellBase* f = GetCell(m_idCurrentCell.row, m_idCurrentCell.col)) f->SetState(f->GetState() | GVIS_FOCUSED);
  ResetCellCoords(row);
  ResetScrollBars();
  Refresh();
  return TRUE;
}

BOOL CGridCtrl::DeleteAllItems() {
  EndEditing();
  m_idCurrentCell = CCellID();
  m_SelectedCells.clear();
  m_RowData.clear();
  m_arRowHeights.clear();
  m_arColWidths.clear();
  m_arColOrder.clear();
  m_arColType.clear();
  m_nRows = m_nCols = m_nFixedRows = m_nFixedCols = 0;
  m_bRowTopsDirty = true;
  m_topLeftCache.reset();
  ResetScrollBars();
  Refresh();
  return TRUE;
}

void CGridCtrl::ResetCellCoords(int fromRow) {
  for (int r = std::max(0, fromRow); r < m_nRows; ++r)
    for (int c = 0; c < m_nCols; ++c) GetCell(r, c)->SetCoords(r, c);
}

BOOL CGridCtrl::SwapRows(int a, int b) {
  if (a < 0 || b < 0 || a >= m_nRows || b >= m_nRows) return FALSE;
  std::swap(m_RowData[static_cast<std::size_t>(a)], m_RowData[static_cast<std::size_t>(b)]);
  for (int r : {a, b})
    for (int c = 0; c < m_nCols; ++c) {
      CGridCellBase* cell = GetCell(r, c);
      cell->SetCoords(r, c);
      cell->SetState(cell->GetState() & ~GVIS_SELECTED);
      m_SelectedCells.erase(CCellID(r, c));
    }
  if (m_idCurrentCell.row == a) m_idCurrentCell.row = b;
  Refresh();
  return TRUE;
}

BOOL CGridCtrl::SetColumnWidth(int col, int width) {
  if (col < 0 || col >= m_nCols || width < 0) return FALSE;
  m_arColWidths[static_cast<std::size_t>(col)] = width;
  fillColumns();
  ResetScrollBars();
  return TRUE;
}

BOOL CGridCtrl::SetRowHeight(int row, int height) {
  if (row < 0 || row >= m_nRows || height < 0) return FALSE;
  m_arRowHeights[static_cast<std::size_t>(row)] = height;
  m_bRowTopsDirty = true;
  m_topLeftCache.reset();
  ResetScrollBars();
  return TRUE;
}

int CGridCtrl::GetColumnWidth(int col) const {
  return col < 0 || col >= m_nCols ? -1 : m_arColWidths[static_cast<std::size_t>(col)];
}

int CGridCtrl::GetRowHeight(int row) const {
  return row < 0 || row >= m_nRows ? -1 : m_arRowHeights[static_cast<std::size_t>(row)];
}

BOOL CGridCtrl::SetColumnName(int col, LPCTSTR name) {
  if (col < 0 || col >= m_nCols || !name) return FALSE;
  m_ColNames[CString(name)] = col;
  return TRUE;
}

int CGridCtrl::GetColumnByName(LPCTSTR name) const {
  if (!name) return -1;
  auto it = m_ColNames.find(CString(name));
  return it == m_ColNames.end() ? -1 : it->second;
}

void CGridCtrl::SetListMode(BOOL b) {
  clearSelection();
  m_nSortColumn = -1;
  m_bListMode = b;
  Refresh();
}

BOOL CGridCtrl::SetCellType(int row, int col, CRuntimeClass* cls) {
  CGridCellBase* old = GetCell(row, col);
  if (!old || !cls || !cls->IsDerivedFrom(RUNTIME_CLASS(CGridCellBase))) return FALSE;
  std::unique_ptr<CObject> obj(cls->CreateObject());
  auto* cell = dynamic_cast<CGridCellBase*>(obj.get());
  if (!cell) return FALSE;
  obj.release();
  std::unique_ptr<CGridCellBase> fresh(cell);
  *fresh = *old;
  setupNewCell(fresh.get(), row, col);
  m_RowData[static_cast<std::size_t>(row)][static_cast<std::size_t>(m_arColOrder[static_cast<std::size_t>(col)])] = std::move(fresh);
  return TRUE;
}

BOOL CGridCtrl::SetDefCellType(CRuntimeClass* cls) {
  if (!cls || !cls->IsDerivedFrom(RUNTIME_CLASS(CGridCellBase))) return FALSE;
  m_pRtcDefault = cls;
  return TRUE;
}

BOOL CGridCtrl::SetColumnKind(int col, int kind) {
  if (col < 0 || col >= m_nCols || kind < GVCK_PLAIN || kind > GVCK_BUTTON) return FALSE;
  m_arColType[static_cast<std::size_t>(col)] = kind;
  return TRUE;
}

int CGridCtrl::GetColumnKind(int col) const {
  return col < 0 || col >= m_nCols ? -1 : m_arColType[static_cast<std::size_t>(col)];
}

BOOL CGridCtrl::SetComboColumn(int col, BOOL open) { return SetColumnKind(col, open ? GVCK_OPENLIST : GVCK_CLOSEDLIST); }

BOOL CGridCtrl::SetColumnOptions(int col, const CStringArray& options) {
  if (col < 0 || col >= m_nCols) return FALSE;
  m_ColOptions[col].Copy(options);
  return TRUE;
}

BOOL CGridCtrl::SetColumnOptionData(int col, const CDWordArray& data) {
  if (col < 0 || col >= m_nCols) return FALSE;
  m_ColOptionData[col].Copy(data);
  return TRUE;
}

BOOL CGridCtrl::SetColumnCaption(int col, LPCTSTR caption) {
  if (col < 0 || col >= m_nCols) return FALSE;
  m_ColCaptions[col] = caption ? caption : L"";
  return TRUE;
}

BOOL CGridCtrl::SetupTreeColumn(int col) {
  if (!SetColumnKind(col, GVCK_TREE)) return FALSE;
  return m_TreeColumn.TreeSetup(this, col, RUNTIME_CLASS(CGridTreeCell));
}

// ---- Focus and selection -------------------------------------------------------------------

CCellID CGridCtrl::SetFocusCell(int row, int col) {
  CCellID prev = m_idCurrentCell;
  if (row >= 0 && row < m_nFixedRows) row = m_nFixedRows;
  if (col >= 0 && col < m_nFixedCols) col = m_nFixedCols;
  CCellID next(row, col);
  if (!GetCell(row, col)) next = CCellID();
  if (CGridCellBase* old = GetCell(prev.row, prev.col)) old->SetState(old->GetState() & ~GVIS_FOCUSED);
  m_idCurrentCell = next;
  if (CGridCellBase* now = GetCell(next.row, next.col)) now->SetState(now->GetState() | GVIS_FOCUSED);
  if (m_bListMode && next.IsValid()) {
    clearSelection();
    for (int c = m_nFixedCols; c < m_nCols; ++c) setSelected(CCellID(next.row, c), true);
  }
  Refresh();
  return prev;
}

void CGridCtrl::SelectRow(int row) { SetFocusCell(row, m_idCurrentCell.col); }

void CGridCtrl::setSelected(CCellID c, bool on) {
  CGridCellBase* cell = GetCell(c.row, c.col);
  if (!cell) return;
  cell->SetState(on ? cell->GetState() | GVIS_SELECTED : cell->GetState() & ~GVIS_SELECTED);
  if (on) m_SelectedCells.insert(c);
  else m_SelectedCells.erase(c);
}

void CGridCtrl::clearSelection() {
  for (const CCellID& c : m_SelectedCells)
    if (CGridCellBase* cell = GetCell(c.row, c.col)) cell->SetState(cell->GetState() & ~GVIS_SELECTED);
  m_SelectedCells.clear();
}

void CGridCtrl::changeSelectionTo(CCellID cell) {
  clearSelection();
  if (m_bListMode) {
    for (int c = m_nFixedCols; c < m_nCols; ++c) setSelected(CCellID(cell.row, c), true);
  } else {
    setSelected(cell, true);
  }
}

void CGridCtrl::SelectAllCells() {
  clearSelection();
  for (int r = m_nFixedRows; r < m_nRows; ++r)
    for (int c = m_nFixedCols; c < m_nCols; ++c) setSelected(CCellID(r, c), true);
  Refresh();
}

BOOL CGridCtrl::IsCellSelected(int row, int col) const { return m_SelectedCells.count(CCellID(row, col)) != 0; }

BOOL CGridCtrl::GetSelectedRange(int& r1, int& c1, int& r2, int& c2) const {
  if (m_SelectedCells.empty()) {
    r1 = c1 = r2 = c2 = 0;
    return FALSE;
  }
  r1 = c1 = INT32_MAX;
  r2 = c2 = -1;
  for (const CCellID& c : m_SelectedCells) {
    r1 = std::min(r1, c.row);
    r2 = std::max(r2, c.row);
    c1 = std::min(c1, c.col);
    c2 = std::max(c2, c.col);
  }
  return TRUE;
}

// ---- Notifications -------------------------------------------------------------------------

LRESULT CGridCtrl::SendMessageToParent(int row, int col, int code) const {
  if (!m_hWnd) return 0;
  NM_GRIDVIEW nm{};
  nm.hdr.hwndFrom = m_hWnd;
  nm.hdr.idFrom = static_cast<UINT_PTR>(GetDlgCtrlID());
  nm.hdr.code = static_cast<UINT>(code);
  nm.iRow = row;
  nm.iColumn = col;
  CWnd* owner = GetOwner();
  if (!owner || !::IsWindow(owner->m_hWnd)) return 0;
  return owner->SendMessage(WM_NOTIFY, nm.hdr.idFrom, reinterpret_cast<LPARAM>(&nm));
}

LRESULT CGridCtrl::SendKeyToParent(UINT key, UINT repeat, UINT flags) const {
  NM_GRIDKEY nm{};
  nm.hdr.hwndFrom = m_hWnd;
  nm.hdr.idFrom = static_cast<UINT_PTR>(GetDlgCtrlID());
  nm.hdr.code = GVN_KEYDOWN;
  nm.nVKey = key;
  nm.nRepeat = repeat;
  nm.nFlags = flags;
  CWnd* owner = GetOwner();
  if (!owner || !::IsWindow(owner->m_hWnd)) return 0;
  return owner->SendMessage(WM_NOTIFY, nm.hdr.idFrom, reinterpret_cast<LPARAM>(&nm));
}
