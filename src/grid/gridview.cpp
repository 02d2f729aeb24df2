// The grid's geometry and painting: row positions, the column fill, scrolling (columns across,
// pixels down), hit testing, auto-size, double-buffered painting of the visible cells only.
#include <algorithm>

#include "gridctrl.h"

// ---- Geometry ------------------------------------------------------------------------------

void CGridCtrl::rebuildRowTops() const {
  if (!m_bRowTopsDirty) return;
  m_rowTops.resize(static_cast<std::size_t>(m_nRows) + 1);
  int y = 0;
  for (int r = 0; r < m_nRows; ++r) {
    m_rowTops[static_cast<std::size_t>(r)] = y;
    y += m_arRowHeights[static_cast<std::size_t>(r)];
  }
  m_rowTops[static_cast<std::size_t>(m_nRows)] = y;
  m_bRowTopsDirty = false;
}

int CGridCtrl::rowTop(int row) const {
  rebuildRowTops();
  return m_rowTops[static_cast<std::size_t>(std::clamp(row, 0, m_nRows))];
}

int CGridCtrl::fixedRowHeight() const { return rowTop(m_nFixedRows); }

int CGridCtrl::fixedColumnWidth() const {
  int w = 0;
  for (int c = 0; c < m_nFixedCols; ++c) w += m_arColWidths[static_cast<std::size_t>(c)];
  return w;
}

long CGridCtrl::GetVirtualWidth() const {
  long w = 0;
  for (int v : m_arColWidths) w += v;
  return w;
}

long CGridCtrl::GetVirtualHeight() const { return rowTop(m_nRows); }

// The first free column shown at a horizontal step: steps count free columns of non-zero width.
int CGridCtrl::leftColumnForStep(int step) const {
  int c = m_nFixedCols;
  for (int seen = 0; c < m_nCols; ++c) {
    if (m_arColWidths[static_cast<std::size_t>(c)] == 0) continue;
    if (seen++ == step) return c;
  }
  return std::min(c, std::max(m_nCols - 1, m_nFixedCols));
}

// Steps across: 1 when all fits; else the free non-zero columns less the trailing ones that fit.
int CGridCtrl::hScrollRange() const {
  CRect client;
  if (m_hWnd) GetClientRect(&client);
  if (GetVirtualWidth() <= client.Width()) return 1;
  int room = client.Width() - fixedColumnWidth(), trailing = 0;
  for (int c = m_nCols - 1; c >= m_nFixedCols; --c) {
    int w = m_arColWidths[static_cast<std::size_t>(c)];
    if (w == 0) continue;
    if (room - w < 0) break;
    room -= w;
    ++trailing;
  }
  int steps = 0;
  for (int c = m_nFixedCols; c < m_nCols; ++c) steps += m_arColWidths[static_cast<std::size_t>(c)] > 0;
  return std::max(1, steps - trailing);
}

CCellID CGridCtrl::GetTopleftNonFixedCell() const {
  if (m_topLeftCache) return *m_topLeftCache;
  rebuildRowTops();
  int y = fixedRowHeight() + m_nVScrollPos;
  auto first = m_rowTops.begin() + m_nFixedRows, last = m_rowTops.begin() + m_nRows;
  auto it = std::upper_bound(first, last, y);
  int row = std::max(m_nFixedRows, static_cast<int>(it - m_rowTops.begin()) - 1);
  CCellID id(row, leftColumnForStep(m_nHScrollPos));
  m_topLeftCache = id;
  return id;
}

void CGridCtrl::GetVisibleNonFixedCellRange(int& r1, int& c1, int& r2, int& c2) const {
  CRect client;
  GetClientRect(&client);
  CCellID tl = GetTopleftNonFixedCell();
  r1 = tl.row;
  c1 = tl.col;
  int bottom = client.bottom + m_nVScrollPos;
  rebuildRowTops();
  auto it = std::lower_bound(m_rowTops.begin() + r1, m_rowTops.begin() + m_nRows, bottom);
  r2 = std::min(m_nRows - 1, static_cast<int>(it - m_rowTops.begin()));
  int x = fixedColumnWidth();
  c2 = c1;
  for (int c = c1; c < m_nCols && x < client.right; ++c) {
    c2 = c;
    x += m_arColWidths[static_cast<std::size_t>(c)];
  }
}

BOOL CGridCtrl::GetCellRect(int row, int col, LPRECT rect) {
  if (!GetCell(row, col)) return FALSE;
  CCellID tl = GetTopleftNonFixedCell();
  int x = 0;
  if (col < m_nFixedCols) {
    for (int c = 0; c < col; ++c) x += m_arColWidths[static_cast<std::size_t>(c)];
  } else {
    if (col < tl.col) return FALSE;
    x = fixedColumnWidth();
    for (int c = tl.col; c < col; ++c) x += m_arColWidths[static_cast<std::size_t>(c)];
  }
  int y = row < m_nFixedRows ? rowTop(row) : rowTop(row) - m_nVScrollPos;
  *rect = CRect(x, y, x + m_arColWidths[static_cast<std::size_t>(col)], y + m_arRowHeights[static_cast<std::size_t>(row)]);
  return TRUE;
}

// The cell under a client point: fixed parts first, merged cells give their head.
CCellID CGridCtrl::GetCellFromPt(CPoint p) const {
  if (p.x < 0 || p.y < 0) return CCellID();
  CCellID tl = GetTopleftNonFixedCell();
  int fixedW = fixedColumnWidth(), fixedH = fixedRowHeight();
  int col = -1, x = 0;
  if (p.x < fixedW) {
    for (int c = 0; c < m_nFixedCols; ++c) {
      x += m_arColWidths[static_cast<std::size_t>(c)];
      if (p.x < x) { col = c; break; }
    }
  } else {
    x = fixedW;
    for (int c = tl.col; c < m_nCols; ++c) {
      x += m_arColWidths[static_cast<std::size_t>(c)];
      if (p.x < x) { col = c; break; }
    }
  }
  int y = p.y < fixedH ? p.y : p.y + m_nVScrollPos;
  rebuildRowTops();
  auto it = std::upper_bound(m_rowTops.begin(), m_rowTops.begin() + m_nRows + 1, y);
  int row = static_cast<int>(it - m_rowTops.begin()) - 1;
  if (row >= m_nRows || col < 0 || row < 0) return CCellID();
  return mergeHead(CCellID(row, col));
}

// ---- Column fill and scroll bars --------------------------------------------------------------

// Widens the last shown column so the columns end at the window's right edge, directly or at
// the final scroll position.
void CGridCtrl::fillColumns() {
  if (m_nCols == 0 || !m_hWnd || m_bInResize) return;
  int last = -1;
  for (int c = m_nCols - 1; c >= 0 && last < 0; --c)
    if (m_arColWidths[static_cast<std::size_t>(c)] > 0) last = c;
  if (last < 0) return;
  m_bInResize = true;
  AutoSizeColumn(last, 0, TRUE);
  m_bInResize = false;
  CRect client;
  GetClientRect(&client);
  long total = GetVirtualWidth();
  int& w = m_arColWidths[static_cast<std::size_t>(last)];
  if (total < client.Width()) {
    w += client.Width() - static_cast<int>(total);
    m_nHScrollPos = 0;
  } else {
    int s = fixedColumnWidth();
    for (int c = m_nCols - 1; c >= m_nFixedCols; --c) {
      int cw = m_arColWidths[static_cast<std::size_t>(c)];
      if (s + cw >= client.Width()) break;
      s += cw;
    }
    w += client.Width() - s;
  }
  m_topLeftCache.reset();
}

// A bar that comes or goes changes the client width, so the column fill runs again then.
void CGridCtrl::ResetScrollBars() {
  if (!m_hWnd || !m_bAllowDraw) return;
  DWORD bars = GetStyle() & (WS_HSCROLL | WS_VSCROLL);
  applyScrollBars();
  for (int pass = 0; pass < 2 && (GetStyle() & (WS_HSCROLL | WS_VSCROLL)) != bars; ++pass) {
    bars = GetStyle() & (WS_HSCROLL | WS_VSCROLL);
    fillColumns();
    applyScrollBars();
  }
}

void CGridCtrl::applyScrollBars() {
  CRect client;
  GetClientRect(&client);
  // Positions run from 0 to the step count: the last shows just the trailing columns that fit.
  int range = hScrollRange();
  bool hbar = GetVirtualWidth() > client.Width();
  m_nHScrollPos = hbar ? std::min(m_nHScrollPos, range) : 0;
  SCROLLINFO si{};
  si.cbSize = sizeof(si);
  si.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  si.nMin = 0;
  si.nMax = hbar ? range : 0;
  si.nPage = hbar ? 1 : 0;
  si.nPos = m_nHScrollPos;
  ShowScrollBar(SB_HORZ, hbar);
  SetScrollInfo(SB_HORZ, &si, TRUE);
  int height = static_cast<int>(GetVirtualHeight()) - fixedRowHeight() + 20;
  int page = std::max(1, client.Height() - fixedRowHeight());
  bool vbar = height > page;
  m_nVScrollPos = vbar ? std::clamp(m_nVScrollPos, 0, height - page) : 0;
  si.nMax = vbar ? height - 1 : 0;
  si.nPage = static_cast<UINT>(page);
  si.nPos = m_nVScrollPos;
  ShowScrollBar(SB_VERT, vbar);
  SetScrollInfo(SB_VERT, &si, TRUE);
  m_topLeftCache.reset();
}

void CGridCtrl::setVScroll(int pos) {
  CRect client;
  GetClientRect(&client);
  int height = static_cast<int>(GetVirtualHeight()) - fixedRowHeight() + 20;
  int page = std::max(1, client.Height() - fixedRowHeight());
  pos = std::clamp(pos, 0, std::max(0, height - page));
  if (pos == m_nVScrollPos) return;
  m_nVScrollPos = pos;
  SetScrollPos(SB_VERT, pos);
  m_topLeftCache.reset();
  Refresh();
}

void CGridCtrl::setHScroll(int step) {
  CRect client;
  GetClientRect(&client);
  step = std::clamp(step, 0, GetVirtualWidth() > client.Width() ? hScrollRange() : 0);
  if (step == m_nHScrollPos) return;
  m_nHScrollPos = step;
  SetScrollPos(SB_HORZ, step);
  m_topLeftCache.reset();
  Refresh();
}

void CGridCtrl::OnVScroll(UINT code, UINT pos, CScrollBar*) {
  CRect client;
  GetClientRect(&client);
  int line = m_cellDefault.GetHeight(), page = std::max(1, client.Height() - fixedRowHeight());
  switch (code) {
    case SB_LINEDOWN: setVScroll(m_nVScrollPos + line); break;
    case SB_LINEUP: setVScroll(m_nVScrollPos - line); break;
    case SB_PAGEDOWN: setVScroll(m_nVScrollPos + page); break;
    case SB_PAGEUP: setVScroll(m_nVScrollPos - page); break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK: setVScroll(static_cast<int>(pos)); break;
    case SB_TOP: setVScroll(0); break;
    case SB_BOTTOM: setVScroll(INT32_MAX / 2); break;
    default: break;
  }
}

void CGridCtrl::OnHScroll(UINT code, UINT pos, CScrollBar*) {
  switch (code) {
    case SB_LINERIGHT: setHScroll(m_nHScrollPos + 1); break;
    case SB_LINELEFT: setHScroll(m_nHScrollPos - 1); break;
    case SB_PAGERIGHT: setHScroll(m_nHScrollPos + 10); break;
    case SB_PAGELEFT: setHScroll(m_nHScrollPos - 10); break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK: setHScroll(static_cast<int>(pos)); break;
    case SB_LEFT: setHScroll(0); break;
    case SB_RIGHT: setHScroll(INT32_MAX / 2); break;
    default: break;
  }
}

BOOL CGridCtrl::OnMouseWheel(UINT, short delta, CPoint) {
  UINT lines = 3;
  SystemParametersInfo(SPI_GETWHEELSCROLLLINES, 0, &lines, 0);
  int notches = delta / WHEEL_DELTA;
  setVScroll(m_nVScrollPos - notches * static_cast<int>(lines) * m_cellDefault.GetHeight());
  return TRUE;
}

void CGridCtrl::OnSize(UINT type, int cx, int cy) {
  EndEditing();
  CWnd::OnSize(type, cx, cy);
  fillColumns();
  ResetScrollBars();
}

void CGridCtrl::EnsureVisible(int row, int col) {
  if (!GetCell(row, col) || !m_hWnd) return;
  CRect client;
  GetClientRect(&client);
  if (row >= m_nFixedRows) {
    int top = rowTop(row) - fixedRowHeight(), bottom = top + GetRowHeight(row);
    int page = client.Height() - fixedRowHeight();
    if (top < m_nVScrollPos) setVScroll(top);
    else if (bottom > m_nVScrollPos + page) setVScroll(bottom - page);
  }
  if (col >= m_nFixedCols && GetColumnWidth(col) > 0) {
    int step = 0;
    for (int c = m_nFixedCols; c < col; ++c) step += m_arColWidths[static_cast<std::size_t>(c)] > 0;
    for (int guard = 0; guard < m_nCols; ++guard) {
      CRect r;
      if (step < m_nHScrollPos) setHScroll(step);
      else if (GetCellRect(row, col, &r) && r.right > client.right && m_nHScrollPos < step) setHScroll(m_nHScrollPos + 1);
      else break;
    }
  }
}

void CGridCtrl::SetRedraw(BOOL allow, BOOL resetScrollBars) {
  bool was = m_bAllowDraw;
  m_bAllowDraw = allow;
  if (allow && !was) {
    if (resetScrollBars) ResetScrollBars();
    Refresh();
  }
}

void CGridCtrl::Refresh() {
  if (m_hWnd && m_bAllowDraw) Invalidate(FALSE);
}

// ---- Auto-size -----------------------------------------------------------------------------

void CGridCtrl::AutoSizeColumn(int col, int style, BOOL shrink) {
  if (col < 0 || col >= m_nCols || m_arColWidths[static_cast<std::size_t>(col)] == 0) return;
  if (style == 0) style = m_nAutoSizeColumnStyle;
  int first = (style & 1) ? 0 : m_nFixedRows, last = (style & 2) ? m_nRows : m_nFixedRows;
  CDC dc;
  dc.CreateCompatibleDC(nullptr);
  int width = 0;
  for (int r = first; r < last; ++r) {
    CGridCellBase* cell = GetCell(r, col);
    if (cell->IsMergeHead()) continue;
    if (cell->IsMerged()) {
      CGridCellBase* head = GetCell(cell->GetMergeCellID().row, cell->GetMergeCellID().col);
      CRect range = head ? head->GetMergeRange() : CRect();
      if (range.left != col || range.right != col) continue;
    }
    width = std::max<int>(width, cell->GetCellExtent(&dc).cx);
  }
  width += m_cellDefault.GetHeight() / 2;
  if (GetColumnKind(col) == GVCK_BUTTON) width += 2 * m_cellDefault.GetHeight();
  int& w = m_arColWidths[static_cast<std::size_t>(col)];
  if (shrink || width > w) w = width;
}

void CGridCtrl::AutoSizeColumns(int style, BOOL shrink) {
  bool outer = !m_bInResize;
  m_bInResize = true;
  for (int c = 0; c < m_nCols; ++c) AutoSizeColumn(c, style, shrink);
  m_bInResize = !outer;
  if (outer) {
    fillColumns();
    ResetScrollBars();
    Refresh();
  }
}

// ---- Painting ------------------------------------------------------------------------------

void CGridCtrl::OnPaint() {
  CPaintDC dc(this);
  CRect client;
  GetClientRect(&client);
  if (client.IsRectEmpty()) return;
  CDC mem;
  CBitmap bmp;
  if (m_bDoubleBuffer && mem.CreateCompatibleDC(&dc) && bmp.CreateCompatibleBitmap(&dc, client.Width(), client.Height())) {
    CBitmap* old = mem.SelectObject(&bmp);
    paintInto(&mem, client);
    dc.BitBlt(0, 0, client.Width(), client.Height(), &mem, 0, 0, SRCCOPY);
    mem.SelectObject(old);
  } else {
    paintInto(&dc, client);
  }
}

// Draws one cell, or its merge head over the whole range once.
void CGridCtrl::DrawCellAt(CDC* dc, int row, int col, CRect rect, std::set<CCellID>* mergeDone) {
  CGridCellBase* cell = GetCell(row, col);
  ++m_nPaintedCells;
  if (!cell->IsShow() || cell->IsMergeHead()) {
    CCellID head = cell->IsMergeHead() ? CCellID(row, col) : cell->GetMergeCellID();
    if (!mergeDone->insert(head).second) return;
    CGridCellBase* h = GetCell(head.row, head.col);
    if (!h) return;
    CRect range = h->GetMergeRange(), a, b;
    if (!GetCellRect(range.top, range.left, &a)) a = rect;
    if (!GetCellRect(range.bottom, range.right, &b)) b = rect;
    CRect whole(a.left, a.top, b.right, b.bottom);
    h->Draw(dc, head.row, head.col, whole, TRUE);
    rect = whole;
  } else {
    cell->Draw(dc, row, col, rect, TRUE);
  }
  CPen pen(PS_SOLID, 0, m_crGridLineColour);
  CPen* oldPen = dc->SelectObject(&pen);
  dc->MoveTo(rect.left, rect.bottom - 1);
  dc->LineTo(rect.right - 1, rect.bottom - 1);
  dc->LineTo(rect.right - 1, rect.top - 1);
  dc->SelectObject(oldPen);
}

void CGridCtrl::paintInto(CDC* dc, const CRect& client) {
  dc->FillSolidRect(client, m_crGridBkColour);
  m_nPaintedCells = 0;
  if (m_nRows == 0 || m_nCols == 0) return;
  int r1, c1, r2, c2;
  GetVisibleNonFixedCellRange(r1, c1, r2, c2);
  std::set<CCellID> merged;
  int fixedW = fixedColumnWidth(), fixedH = fixedRowHeight();
  auto paintBlock = [&](int rowFrom, int rowTo, int colFrom, int colTo, CRect clip) {
    int saved = dc->SaveDC();
    dc->IntersectClipRect(clip);
    for (int r = rowFrom; r <= rowTo; ++r) {
      if (m_arRowHeights[static_cast<std::size_t>(r)] == 0) continue;
      for (int c = colFrom; c <= colTo; ++c) {
        CRect rect;
        if (m_arColWidths[static_cast<std::size_t>(c)] == 0 || !GetCellRect(r, c, &rect)) continue;
        DrawCellAt(dc, r, c, rect, &merged);
      }
    }
    dc->RestoreDC(saved);
  };
  if (m_nRows > m_nFixedRows && m_nCols > m_nFixedCols) paintBlock(r1, r2, c1, c2, CRect(fixedW, fixedH, client.right, client.bottom));
  if (m_nFixedRows > 0 && m_nCols > m_nFixedCols) paintBlock(0, m_nFixedRows - 1, c1, c2, CRect(fixedW, 0, client.right, fixedH));
  if (m_nFixedCols > 0 && m_nRows > m_nFixedRows) paintBlock(r1, r2, 0, m_nFixedCols - 1, CRect(0, fixedH, fixedW, client.bottom));
  if (m_nFixedRows > 0 && m_nFixedCols > 0) paintBlock(0, m_nFixedRows - 1, 0, m_nFixedCols - 1, CRect(0, 0, fixedW, fixedH));
}
