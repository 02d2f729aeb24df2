// The outline column: level bytes on the cells of one column, rows hidden by a height of 0,
// the branch operations, the plus/minus query and the drawing of boxes and dotted lines.
#include <algorithm>

#include "gridctrl.h"

IMPLEMENT_DYNAMIC(CGridTreeCellBase, CGridCellBase)
IMPLEMENT_DYNCREATE(CGridTreeCell, CGridTreeCellBase)

// ---- CTreeColumn ---------------------------------------------------------------------------

BOOL CTreeColumn::TreeSetup(CGridCtrl* grid, int column, CRuntimeClass* cellClass) {
  if (!grid || column < 0 || column >= grid->GetColumnCount() || !cellClass ||
      !cellClass->IsDerivedFrom(RUNTIME_CLASS(CGridTreeCellBase)))
    return FALSE;
  m_pGrid = grid;
  m_nColumn = column;
  m_nFixedRows = grid->GetFixedRowCount();
  m_nEndRow = m_nFixedRows;
  m_bTreeLines = TRUE;
  m_bTreeUsesImages = FALSE;
  m_crTreeLine = GetSysColor(COLOR_3DSHADOW);
  m_pCellClass = cellClass;
  return TRUE;
}

unsigned char CTreeColumn::GetLevelAndHide(int row) const {
  if (!m_pGrid) return 0;
  auto* cell = dynamic_cast<CGridTreeCellBase*>(m_pGrid->GetCell(row, m_nColumn));
  return cell ? cell->GetLevelAndHide() : 0;
}

void CTreeColumn::setLevel(int row, unsigned char b) {
  if (auto* cell = dynamic_cast<CGridTreeCellBase*>(m_pGrid->GetCell(row, m_nColumn))) cell->SetLevelAndHide(b);
}

int CTreeColumn::InsertTreeBranch(const unsigned char* levels, int count, int row, BOOL redraw) {
  if (!m_pGrid || m_nColumn < 0 || !levels || count < 1) return -1;
  if (row < 0 || m_nEndRow <= m_nFixedRows || row > m_nEndRow) row = m_nEndRow;
  if (row < m_nFixedRows) row = m_nFixedRows;
  m_bAllowDraw = FALSE;
  m_pGrid->SetTreeBranchRunning(TRUE);
  for (int i = 0; i < count; ++i) {
    int at = m_pGrid->InsertRowFast(row + i);
    m_pGrid->SetCellType(at, m_nColumn, m_pCellClass);
    setLevel(at, static_cast<unsigned char>(levels[i] | 0x80));
    ++m_nEndRow;
  }
  m_pGrid->ResetCellCoords(row);
  m_pGrid->SetTreeBranchRunning(FALSE);
  m_bAllowDraw = TRUE;
  TreeRefreshRows();
  m_pGrid->ResetScrollBars();
  if (redraw) m_pGrid->Refresh();
  return row;
}

int CTreeColumn::DeleteTreeBranch(int row, BOOL redraw) {
  if (!m_pGrid || row < m_nFixedRows || row >= m_nEndRow) return 0;
  int level = GetLevel(row);
  m_bAllowDraw = FALSE;
  int gone = 0;
  m_pGrid->DeleteRow(row);
  --m_nEndRow;
  ++gone;
  while (row < m_nEndRow && GetLevel(row) > level) {
    m_pGrid->DeleteRow(row);
    --m_nEndRow;
    ++gone;
  }
  m_bAllowDraw = TRUE;
  TreeRefreshRows();
  if (redraw) m_pGrid->Refresh();
  return gone;
}

void CTreeColumn::TreeCollapse(int row) {
  if (!m_pGrid || row < m_nFixedRows || row >= m_nEndRow) return;
  int level = GetLevel(row);
  TreeSetRowShown(row);
  for (int r = row + 1; r < m_nEndRow && GetLevel(r) > level; ++r) setLevel(r, GetLevelAndHide(r) & 0x7F);
  TreeRefreshRows();
}

void CTreeColumn::TreeExpandOneLevel(int row) {
  if (!m_pGrid || row < m_nFixedRows || row >= m_nEndRow) return;
  int level = GetLevel(row);
  for (int r = row + 1; r < m_nEndRow && GetLevel(r) > level; ++r) {
    unsigned char b = GetLevelAndHide(r);
    setLevel(r, GetLevel(r) == level + 1 ? (b | 0x80) : (b & 0x7F));
  }
}

void CTreeColumn::TreeSetRowShown(int row) {
  unsigned char b = GetLevelAndHide(row);
  if (b & 0x7F) setLevel(row, b | 0x80);
}

void CTreeColumn::TreeRefreshRows() {
  if (!m_pGrid) return;
  int def = m_pGrid->GetDefaultCell(FALSE, FALSE)->GetHeight();
  for (int r = m_nFixedRows; r < m_nEndRow; ++r) {
    unsigned char b = GetLevelAndHide(r);
    int h = m_pGrid->GetRowHeight(r);
    if ((b & 0x80) && h < def) m_pGrid->SetRowHeight(r, def);
    else if (!(b & 0x80) && h > 0) m_pGrid->SetRowHeight(r, 0);
  }
  if (m_bAllowDraw) m_pGrid->Refresh();
}

// Walks the deeper rows below: a hidden direct child means plus; rows and no plus mean minus.
BOOL CTreeColumn::TreeHasPlusMinus(int row, BOOL& plus, BOOL& minus, BOOL& lastLeaf) const {
  plus = minus = lastLeaf = FALSE;
  int level = GetLevel(row);
  if (level == 0 || row < m_nFixedRows || row >= m_nEndRow) return FALSE;
  int r = row + 1;
  bool walked = false;
  for (; r < m_nEndRow && GetLevel(r) > level; ++r) {
    walked = true;
    if (GetLevel(r) == level + 1 && !(GetLevelAndHide(r) & 0x80)) plus = TRUE;
  }
  if (walked && !plus) minus = TRUE;
  bool sibling = r < m_nEndRow && GetLevel(r) == level && (GetLevelAndHide(r) & 0x80);
  lastLeaf = !sibling;
  return plus || minus;
}

void CTreeColumn::TreeToggle(int row) {
  if (!m_pGrid || row < m_nFixedRows || row + 1 >= m_nEndRow) return;
  if (GetLevel(row + 1) <= GetLevel(row)) return;
  if (GetLevelAndHide(row + 1) & 0x80) TreeCollapse(row);
  else TreeExpandOneLevel(row);
  TreeRefreshRows();
}

// ---- Tree cells ----------------------------------------------------------------------------

void CGridTreeCellBase::Reset() {
  CGridCellBase::Reset();
  m_ucLevelAndHide = 0x80;
  m_nImage = -1;
  m_crFgClr = m_crBkClr = CLR_DEFAULT;
}

void CGridTreeCellBase::operator=(const CGridCellBase& other) {
  CGridCellBase::operator=(other);
  if (auto* t = dynamic_cast<const CGridTreeCellBase*>(&other)) {
    m_ucLevelAndHide = t->m_ucLevelAndHide;
    m_pTreeColumn = t->m_pTreeColumn;
  }
}

int CGridTreeCellBase::textOffset() const {
  int level = GetLevel();
  if (!m_pTreeColumn || level == 0) return 0;
  int l = m_pTreeColumn->GetTreeLines() ? level : level - 1;
  CGridDefaultCell* d = GetDefaultCell();
  return l * m_pTreeColumn->GetIndent() + 2 * (d ? d->GetMarginX() : 3);
}

BOOL CGridTreeCellBase::GetTextRect(LPRECT pRect) {
  CGridCellBase::GetTextRect(pRect);
  pRect->left += textOffset();
  return TRUE;
}

CSize CGridTreeCellBase::GetCellExtent(CDC* pDC) {
  CSize s = CGridCellBase::GetCellExtent(pDC);
  s.cx += textOffset();
  return s;
}

CRect CGridTreeCellBase::GetBoxRect(const CRect& cell) const {
  int indent = m_pTreeColumn ? m_pTreeColumn->GetIndent() : 10;
  int x = cell.left + indent * (GetLevel() - 1) + 2, y = cell.top + 4;
  CRect box(x, y, x + 9, y + 9);
  box.right += 2;
  box.top -= 2;
  return box;
}

BOOL CGridTreeCellBase::Draw(CDC* pDC, int nRow, int nCol, CRect rect, BOOL bEraseBkgnd) {
  int offset = textOffset();
  CRect whole = rect;
  if (!CGridCellBase::Draw(pDC, nRow, nCol, CRect(rect.left + offset, rect.top, rect.right, rect.bottom), bEraseBkgnd)) return FALSE;
  COLORREF back = effectiveBackClr();
  if (IsSelected() && !IsFixed()) back = GetSysColor(COLOR_HIGHLIGHT);
  pDC->FillSolidRect(CRect(whole.left, whole.top, whole.left + offset, whole.bottom - 1), back);
  if (m_pTreeColumn && GetLevel() > 0 && m_pTreeColumn->GetTreeLines()) drawOutline(pDC, whole);
  return TRUE;
}

// The box with its plus or minus and the dotted lines to the text, to the next sibling and
// down each ancestor level that continues below.
void CGridTreeCellBase::drawOutline(CDC* pDC, const CRect& rect) {
  CTreeColumn* tc = m_pTreeColumn;
  int indent = tc->GetIndent(), level = GetLevel();
  BOOL plus = FALSE, minus = FALSE, last = FALSE;
  BOOL box = tc->TreeHasPlusMinus(m_nRow, plus, minus, last);
  int saved = pDC->SaveDC();
  CRect b(rect.left + indent * (level - 1) + 2, rect.top + 4, 0, 0);
  b.right = b.left + 9;
  b.bottom = b.top + 9;
  int midX = b.left + 4, midY = rect.top + rect.Height() / 2;
  if (indent >= 6) {
    CPen dotted(PS_ALTERNATE, 1, tc->GetTreeLineColour());
    pDC->SelectObject(&dotted);
    pDC->MoveTo(box ? b.right : midX, midY);
    pDC->LineTo(rect.left + textOffset() - 2, midY);
    pDC->MoveTo(midX, box ? b.bottom : midY);
    if (!last) pDC->LineTo(midX, rect.bottom);
    if (m_nRow > tc->GetFixedRowCount() && tc->GetLevel(m_nRow - 1) >= level) {
      pDC->MoveTo(midX, rect.top);
      pDC->LineTo(midX, box ? b.top : midY);
    }
    for (int anc = level - 1; anc >= 1; --anc) {
      // An ancestor level continues if a row of that level follows before a shallower one.
      bool continues = false;
      for (int r = m_nRow + 1; r < tc->GetRowCount(); ++r) {
        int l = tc->GetLevel(r);
        if (l < anc) break;
        if (l == anc) { continues = (tc->GetLevelAndHide(r) & 0x80) != 0; break; }
      }
      if (!continues) continue;
      int x = rect.left + indent * (anc - 1) + 6;
      pDC->MoveTo(x, rect.top);
      pDC->LineTo(x, rect.bottom);
    }
  }
  if (box) {
    CPen solid(PS_SOLID, 1, tc->GetTreeLineColour());
    pDC->SelectObject(&solid);
    CBrush fill(effectiveBackClr());
    pDC->SelectObject(&fill);
    pDC->Rectangle(b);
    CGridDefaultCell* d = GetDefaultCell();
    CPen mark(PS_SOLID, 1, d && d->GetTextClr() != CLR_DEFAULT ? d->GetTextClr() : GetSysColor(COLOR_WINDOWTEXT));
    pDC->SelectObject(&mark);
    pDC->MoveTo(b.left + 2, b.top + 4);
    pDC->LineTo(b.right - 2, b.top + 4);
    if (plus) {
      pDC->MoveTo(b.left + 4, b.top + 2);
      pDC->LineTo(b.left + 4, b.bottom - 2);
    }
  }
  pDC->RestoreDC(saved);
}

CGridTreeCell::~CGridTreeCell() = default;

void CGridTreeCell::Reset() {
  CGridTreeCellBase::Reset();
  m_strText.Empty();
  m_lParam = 0;
}

BOOL CGridTreeCell::Edit(int nRow, int nCol, CRect rect, CPoint, UINT nID, UINT nChar) {
  if (m_bEditing) {
    if (m_pEditWnd) m_pEditWnd->SendMessage(WM_CHAR, nChar);
    return TRUE;
  }
  CRect text = rect;
  GetTextRect(&text);
  m_pEditWnd = KeepIfOpen(new CInPlaceEdit(GetGrid(), text, ES_LEFT, nID, nRow, nCol, GetText(), nChar));
  m_bEditing = m_pEditWnd != nullptr;
  return m_bEditing;
}

void CGridTreeCell::EndEdit() {
  if (m_pEditWnd) static_cast<CInPlaceEdit*>(m_pEditWnd)->EndEdit();
}
