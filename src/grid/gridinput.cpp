// The grid's input: mouse modes (select, resize, arm an edit, toggle the outline), keys, the
// start and end of in-place edits, and title tips.
#include <algorithm>

#include "gridctrl.h"

namespace {
bool ctrlDown() { return GetKeyState(VK_CONTROL) < 0; }
bool shiftDown() { return GetKeyState(VK_SHIFT) < 0; }
}  // namespace

// ---- Resizing ------------------------------------------------------------------------------

bool CGridCtrl::overColumnDivider(CPoint p, int& col) const {
  if (!m_bAllowColumnResize || p.y >= fixedRowHeight()) return false;
  CCellID cell = GetCellFromPt(p);
  if (!cell.IsValid()) return false;
  CRect r;
  if (!const_cast<CGridCtrl*>(this)->GetCellRect(cell.row, cell.col, &r)) return false;
  if (p.x >= r.right - m_nResizeCaptureRange) {
    col = cell.col;
    return true;
  }
  if (p.x < r.left + m_nResizeCaptureRange) {
    col = nextVisibleCol(cell.col, -1);
    if (col < 0) for (col = cell.col - 1; col >= 0 && GetColumnWidth(col) == 0; --col) {}
    return col >= 0;
  }
  return false;
}

bool CGridCtrl::overRowDivider(CPoint p, int& row) const {
  if (!m_bAllowRowResize || p.x >= fixedColumnWidth()) return false;
  CCellID cell = GetCellFromPt(p);
  if (!cell.IsValid()) return false;
  CRect r;
  if (!const_cast<CGridCtrl*>(this)->GetCellRect(cell.row, cell.col, &r)) return false;
  if (p.y >= r.bottom - m_nResizeCaptureRange) {
    row = cell.row;
    return true;
  }
  if (p.y < r.top + m_nResizeCaptureRange && cell.row > 0) {
    row = cell.row - 1;
    return true;
  }
  return false;
}

// ---- Mouse ---------------------------------------------------------------------------------

bool CGridCtrl::cellTextRect(int row, int col, CRect& r) {
  CGridCellBase* cell = GetCell(row, col);
  if (!cell || !GetCellRect(row, col, &r)) return false;
  return cell->GetTextRect(&r) != FALSE;
}

void CGridCtrl::startSizing(GridMouseMode mode, int divider, CPoint p) {
  m_MouseMode = mode;
  m_nSizingIndex = divider;
  SetCapture();
  // The mouse stays over the grid until the release, so the divider cannot be lost off screen.
  CRect client;
  GetClientRect(&client);
  ClientToScreen(&client);
  ClipCursor(&client);
  trackSizingLine(p, false);
}

void CGridCtrl::OnLButtonDown(UINT flags, CPoint p) {
  m_TitleTip.Hide();
  if (GetFocus() != this) SetFocus();
  m_bClickDown = false;
  m_LeftClickDownPoint = p;
  int divider = -1;
  if (overColumnDivider(p, divider)) {
    startSizing(GridMouseMode::SizingCol, divider, p);
    return;
  }
  if (overRowDivider(p, divider)) {
    startSizing(GridMouseMode::SizingRow, divider, p);
    return;
  }
  CCellID cell = GetCellFromPt(p);
  if (!cell.IsValid()) return;
  m_LeftClickDownCell = cell;
  m_bClickDown = true;
  if (CGridCellBase* c = GetCell(cell.row, cell.col)) c->OnClickDown(p);
  // The outline toggles at the press, whatever happens to the edit afterwards.
  CRect rect;
  if (cell.col == m_TreeColumn.GetColumnWithTree() && cell.row >= m_nFixedRows && GetCellRect(cell.row, cell.col, &rect)) {
    auto* tree = dynamic_cast<CGridTreeCellBase*>(GetCell(cell.row, cell.col));
    BOOL plus = FALSE, minus = FALSE, last = FALSE;
    if (tree && m_TreeColumn.GetTreeLines() && m_TreeColumn.TreeHasPlusMinus(cell.row, plus, minus, last) &&
        tree->GetBoxRect(rect).PtInRect(p))
      m_TreeColumn.TreeToggle(cell.row);
  }
  CRect text;
  if (cell == m_idCurrentCell && !(flags & MK_CONTROL) && cellTextRect(cell.row, cell.col, text) && text.PtInRect(p) &&
      IsEditable() && !GetCell(cell.row, cell.col)->IsReadOnly()) {
    m_MouseMode = GridMouseMode::PrepareEdit;
    SetCapture();
    return;
  }
  if (m_bNoSelectOnNextPress) {
    m_bNoSelectOnNextPress = false;
    return;
  }
  if (cell.row < m_nFixedRows) {
    if (m_bListMode) SendMessageToParent(cell.row, cell.col, static_cast<int>(GVN_FIXEDROWCLICK));
    m_MouseMode = cell.col < m_nFixedCols ? GridMouseMode::SelectAll : GridMouseMode::SelectCol;
  } else if (cell.col < m_nFixedCols) {
    m_MouseMode = GridMouseMode::SelectRow;
  } else {
    m_MouseMode = m_bListMode ? GridMouseMode::SelectRow : GridMouseMode::SelectCells;
  }
  SendMessageToParent(cell.row, cell.col, static_cast<int>(GVN_SELCHANGING));
  if (m_MouseMode == GridMouseMode::SelectAll) {
    SelectAllCells();
  } else if (m_MouseMode == GridMouseMode::SelectCol && !m_bListMode) {
    clearSelection();
    for (int r = m_nFixedRows; r < m_nRows; ++r) setSelected(CCellID(r, cell.col), true);
  } else {
    SetFocusCell(cell.row, cell.col);
    changeSelectionTo(CCellID(std::max(cell.row, m_nFixedRows), std::max(cell.col, m_nFixedCols)));
  }
  Refresh();
  SetCapture();
}

void CGridCtrl::OnLButtonUp(UINT, CPoint p) {
  GridMouseMode mode = m_MouseMode;
  m_MouseMode = GridMouseMode::Nothing;
  if (m_bAutoScrolling) {
    KillTimer(1);
    m_bAutoScrolling = false;
  }
  if (GetCapture() == this) ReleaseCapture();
  ClipCursor(nullptr);
  bool wasDown = m_bClickDown;
  m_bClickDown = false;
  if (mode == GridMouseMode::SizingCol || mode == GridMouseMode::SizingRow) {
    trackSizingLine(p, true);
    CRect r;
    GetCellRect(mode == GridMouseMode::SizingCol ? 0 : m_nSizingIndex, mode == GridMouseMode::SizingCol ? m_nSizingIndex : 0, &r);
    if (mode == GridMouseMode::SizingCol) SetColumnWidth(m_nSizingIndex, std::max(0, static_cast<int>(p.x - r.left)));
    else SetRowHeight(m_nSizingIndex, std::max(0, static_cast<int>(p.y - r.top)));
    Refresh();
    return;
  }
  if (mode == GridMouseMode::PrepareEdit) {
    OnEditCell(m_idCurrentCell.row, m_idCurrentCell.col, p, VK_LBUTTON);
    return;
  }
  if (!wasDown || !m_LeftClickDownCell.IsValid()) return;
  if (mode != GridMouseMode::Nothing) SendMessageToParent(m_LeftClickDownCell.row, m_LeftClickDownCell.col, static_cast<int>(GVN_SELCHANGED));
  if (CGridCellBase* c = GetCell(m_LeftClickDownCell.row, m_LeftClickDownCell.col)) c->OnClick(p);
  SendMessageToParent(m_LeftClickDownCell.row, m_LeftClickDownCell.col, static_cast<int>(GVN_CLICK));
}

void CGridCtrl::OnLButtonDblClk(UINT, CPoint p) {
  m_TitleTip.Hide();
  int divider = -1;
  if (overColumnDivider(p, divider)) {
    while (divider >= 0 && GetColumnWidth(divider) == 0) --divider;
    AutoSizeColumn(divider, 0, TRUE);
    fillColumns();
    ResetScrollBars();
    Refresh();
    return;
  }
  CCellID cell = GetCellFromPt(p);
  if (!cell.IsValid()) return;
  m_LeftClickDownCell = cell;
  m_bClickDown = true;
  CGridCellBase* c = GetCell(cell.row, cell.col);
  CRect rect;
  if (cell.col == m_TreeColumn.GetColumnWithTree() && cell.row >= m_nFixedRows && (c->IsReadOnly() || !IsEditable()) &&
      GetCellRect(cell.row, cell.col, &rect)) {
    auto* tree = dynamic_cast<CGridTreeCellBase*>(c);
    if (tree && !tree->GetBoxRect(rect).PtInRect(p)) m_TreeColumn.TreeToggle(cell.row);
  }
  CRect text;
  if (m_bListMode && cell.row >= m_nFixedRows && cell.col >= m_nFixedCols && cellTextRect(cell.row, cell.col, text) && text.PtInRect(p)) {
    OnEditCell(cell.row, cell.col, p, VK_LBUTTON);
    m_bClickDown = false;
    return;
  }
  c->OnDblClick(p);
  SendMessageToParent(cell.row, cell.col, static_cast<int>(GVN_DBLCLK));
}

// Hovering marks the dividers; a drag in a selection mode stretches the selection from the
// pressed cell to the one under the mouse.
void CGridCtrl::OnMouseMove(UINT flags, CPoint p) {
  bool hovering = m_MouseMode == GridMouseMode::Nothing || m_MouseMode == GridMouseMode::OverColDivide ||
                  m_MouseMode == GridMouseMode::OverRowDivide;
  if (hovering && !(flags & MK_LBUTTON)) {
    int divider;
    m_MouseMode = GridMouseMode::Nothing;
    if (overColumnDivider(p, divider)) {
      m_MouseMode = GridMouseMode::OverColDivide;
      SetCursor(LoadCursor(nullptr, IDC_SIZEWE));
    } else if (overRowDivider(p, divider)) {
      m_MouseMode = GridMouseMode::OverRowDivide;
      SetCursor(LoadCursor(nullptr, IDC_SIZENS));
    } else if (m_bTitleTips) {
      showTitleTip(p);
    }
    return;
  }
  if (m_MouseMode == GridMouseMode::SizingCol || m_MouseMode == GridMouseMode::SizingRow) {
    trackSizingLine(p, false);
    return;
  }
  if ((m_MouseMode == GridMouseMode::SelectCells || m_MouseMode == GridMouseMode::SelectRow) && (flags & MK_LBUTTON)) {
    m_LastMousePoint = p;
    CRect client;
    GetClientRect(&client);
    // Past the edge the view follows the mouse on a timer until the button comes up.
    if (!client.PtInRect(p) && !m_bAutoScrolling) {
      m_bAutoScrolling = true;
      SetTimer(1, static_cast<UINT>(m_nAutoScrollTimerMs));
    }
    extendSelectionTo(p);
  }
}

void CGridCtrl::trackSizingLine(CPoint p, bool erase) {
  CClientDC dc(this);
  if (!m_rcSizingLine.IsRectEmpty()) dc.InvertRect(&m_rcSizingLine);
  m_rcSizingLine.SetRectEmpty();
  if (erase) return;
  CRect client;
  GetClientRect(&client);
  if (m_MouseMode == GridMouseMode::SizingCol) {
    int x = std::clamp(static_cast<int>(p.x), static_cast<int>(client.left), static_cast<int>(client.right) - 1);
    m_rcSizingLine.SetRect(x, client.top, x + 1, client.bottom);
  } else {
    int y = std::clamp(static_cast<int>(p.y), static_cast<int>(client.top), static_cast<int>(client.bottom) - 1);
    m_rcSizingLine.SetRect(client.left, y, client.right, y + 1);
  }
  dc.InvertRect(&m_rcSizingLine);
}

void CGridCtrl::OnTimer(UINT_PTR id) {
  if (id != 1) {
    CWnd::OnTimer(id);
    return;
  }
  CRect client;
  GetClientRect(&client);
  CPoint p = m_LastMousePoint;
  if (!m_bAutoScrolling || client.PtInRect(p)) {
    KillTimer(1);
    m_bAutoScrolling = false;
    return;
  }
  if (p.y >= client.bottom) OnVScroll(SB_LINEDOWN, 0, nullptr);
  else if (p.y < fixedRowHeight()) OnVScroll(SB_LINEUP, 0, nullptr);
  if (p.x >= client.right) OnHScroll(SB_LINERIGHT, 0, nullptr);
  else if (p.x < fixedColumnWidth()) OnHScroll(SB_LINELEFT, 0, nullptr);
  extendSelectionTo(CPoint(std::clamp<LONG>(p.x, fixedColumnWidth(), client.right - 1),
                           std::clamp<LONG>(p.y, fixedRowHeight(), client.bottom - 1)));
}

void CGridCtrl::extendSelectionTo(CPoint p) {
  CCellID to = GetCellFromPt(p);
  if (!to.IsValid() || !m_LeftClickDownCell.IsValid()) return;
  int r1 = std::max(m_nFixedRows, std::min(to.row, m_LeftClickDownCell.row)), r2 = std::max(to.row, m_LeftClickDownCell.row);
  int c1 = std::max(m_nFixedCols, std::min(to.col, m_LeftClickDownCell.col)), c2 = std::max(to.col, m_LeftClickDownCell.col);
  if (m_MouseMode == GridMouseMode::SelectRow) {
    c1 = m_nFixedCols;
    c2 = m_nCols - 1;
  }
  clearSelection();
  for (int r = r1; r <= r2; ++r)
    for (int c = c1; c <= c2; ++c) setSelected(CCellID(r, c), true);
  Refresh();
}

void CGridCtrl::showTitleTip(CPoint p) {
  CCellID cell = GetCellFromPt(p);
  CGridCellBase* c = GetCell(cell.row, cell.col);
  CRect text;
  if (!c || c->IsEditing() || !cellTextRect(cell.row, cell.col, text)) {
    m_TitleTip.Hide();
    return;
  }
  CRect tip = text;
  c->GetTipTextRect(&tip);
  CDC dc;
  dc.CreateCompatibleDC(nullptr);
  CSize ext = c->GetTextExtent(c->GetTipText(), &dc);
  if (ext.cx > tip.Width()) m_TitleTip.Show(tip, c->GetTipText(), c->GetFont());
  else m_TitleTip.Hide();
}

// ---- Keys ----------------------------------------------------------------------------------

UINT CGridCtrl::OnGetDlgCode() {
  UINT code = DLGC_WANTARROWS | DLGC_WANTCHARS;
  if (m_bHandleTabKey) code |= DLGC_WANTTAB;
  return code;
}

int CGridCtrl::nextVisibleRow(int row, int dir) const {
  for (int r = row + dir; r >= m_nFixedRows && r < m_nRows; r += dir)
    if (m_arRowHeights[static_cast<std::size_t>(r)] > 0) return r;
  return -1;
}

int CGridCtrl::nextVisibleCol(int col, int dir) const {
  for (int c = col + dir; c >= m_nFixedCols && c < m_nCols; c += dir)
    if (m_arColWidths[static_cast<std::size_t>(c)] > 0) return c;
  return -1;
}

// Moves the focus as a key says; a move that finds no shown row or column leaves it.
void CGridCtrl::moveFocusByKey(UINT key, bool ctrl, bool shift) {
  CCellID next = m_idCurrentCell;
  CRect client;
  GetClientRect(&client);
  int page = std::max(1, client.Height() - fixedRowHeight());
  auto firstRow = [&] { return nextVisibleRow(m_nFixedRows - 1, 1); };
  auto lastRow = [&] { return nextVisibleRow(m_nRows, -1); };
  auto firstCol = [&] { return nextVisibleCol(m_nFixedCols - 1, 1); };
  auto lastCol = [&] { return nextVisibleCol(m_nCols, -1); };
  auto pick = [](int v, int fallback) { return v >= 0 ? v : fallback; };
  switch (key) {
    case VK_DOWN: next.row = pick(nextVisibleRow(next.row, 1), next.row); break;
    case VK_UP: next.row = pick(nextVisibleRow(next.row, -1), next.row); break;
    case VK_RIGHT: next.col = pick(nextVisibleCol(next.col, 1), next.col); break;
    case VK_LEFT: next.col = pick(nextVisibleCol(next.col, -1), next.col); break;
    case VK_NEXT:
    case VK_PRIOR: {
      int dir = key == VK_NEXT ? 1 : -1, moved = 0;
      for (int r = nextVisibleRow(next.row, dir); r >= 0 && moved < page; r = nextVisibleRow(r, dir)) {
        moved += GetRowHeight(r);
        next.row = r;
      }
      break;
    }
    case VK_HOME:
      next.col = pick(firstCol(), next.col);
      if (ctrl) next.row = pick(firstRow(), next.row);
      break;
    case VK_END:
      next.col = pick(lastCol(), next.col);
      if (ctrl) next.row = pick(lastRow(), next.row);
      break;
    case VK_TAB:
      if (!shift) {
        int c = nextVisibleCol(next.col, 1), r = nextVisibleRow(next.row, 1);
        if (c >= 0) next.col = c;
        else if (r >= 0) next = CCellID(r, pick(firstCol(), next.col));
      } else {
        int c = nextVisibleCol(next.col, -1), r = nextVisibleRow(next.row, -1);
        if (c >= 0) next.col = c;
        else if (r >= 0) next = CCellID(r, pick(lastCol(), next.col));
      }
      break;
    default: return;
  }
  if (next == m_idCurrentCell) return;
  SendMessageToParent(next.row, next.col, static_cast<int>(GVN_SELCHANGING));
  SetFocusCell(next.row, next.col);
  changeSelectionTo(next);
  SendMessageToParent(next.row, next.col, static_cast<int>(GVN_SELCHANGED));
  EnsureVisible(next.row, next.col);
  Refresh();
}

void CGridCtrl::OnKeyDown(UINT key, UINT repeat, UINT flags) {
  m_TitleTip.Hide();
  if (!m_idCurrentCell.IsValid()) {
    CWnd::OnKeyDown(key, repeat, flags);
    return;
  }
  if (SendKeyToParent(key, repeat, flags) == -1) return;
  bool ctrl = ctrlDown(), shift = shiftDown();
  switch (key) {
    case VK_F2: OnEditCell(m_idCurrentCell.row, m_idCurrentCell.col, CPoint(-1, -1), VK_LBUTTON); return;
    case VK_DELETE: {
      CCellID c = m_idCurrentCell;
      CGridCellBase* cell = GetCell(c.row, c.col);
      if (!IsEditable() || !cell || cell->IsReadOnly()) return;
      cell->SetOriginalText(cell->GetText());
      if (SendMessageToParent(c.row, c.col, static_cast<int>(GVN_BEGINLABELEDIT)) < 0) return;
      OnEndEditCell(c.row, c.col, CString());
      cell->OnEndEdit();
      return;
    }
    case VK_ADD:
      if (ctrl) {
        AutoSizeColumns();
        Refresh();
      }
      return;
    case 'A':
      if (ctrl) SelectAllCells();
      return;
    default: moveFocusByKey(key, ctrl, shift);
  }
}

void CGridCtrl::OnChar(UINT ch, UINT repeat, UINT flags) {
  if (ctrlDown() || ch == VK_ESCAPE || ch == VK_TAB || m_MouseMode != GridMouseMode::Nothing) {
    CWnd::OnChar(ch, repeat, flags);
    return;
  }
  if (m_idCurrentCell.IsValid()) OnEditCell(m_idCurrentCell.row, m_idCurrentCell.col, CPoint(-1, -1), ch);
}

// ---- Editing -------------------------------------------------------------------------------

void CGridCtrl::BeginEditFocusCell() {
  CCellID c = m_idCurrentCell;
  CGridCellBase* cell = GetCell(c.row, c.col);
  CRect rect;
  if (!cell) return;
  EnsureVisible(c.row, c.col);
  if (!GetCellRect(c.row, c.col, &rect)) return;
  cell->SetOriginalText(cell->GetText());
  SendMessageToParent(c.row, c.col, static_cast<int>(GVN_BEGINLABELEDIT));
  cell->Edit(c.row, c.col, rect, CPoint(-1, -1), IDC_INPLACE_CONTROL, 0);
}

void CGridCtrl::OnEditCell(int row, int col, CPoint point, UINT key) {
  m_TitleTip.Hide();
  CGridCellBase* cell = GetCell(row, col);
  if (!cell || !IsEditable() || cell->IsReadOnly()) return;
  EnsureVisible(row, col);
  CRect rect;
  if (!GetCellRect(row, col, &rect)) return;
  bool button = GetColumnKind(col) == GVCK_CHECK || GetColumnKind(col) == GVCK_BUTTON;
  if (!(button && row >= m_nFixedRows) && !cell->IsEditing()) cell->SetOriginalText(cell->GetText());
  if (SendMessageToParent(row, col, static_cast<int>(GVN_BEGINLABELEDIT)) < 0) return;
  cell->Edit(row, col, rect, point, IDC_INPLACE_CONTROL, key);
}

void CGridCtrl::EndEditing() {
  CGridCellBase* cell = GetCell(m_idCurrentCell.row, m_idCurrentCell.col);
  if (cell && cell->IsEditing()) cell->EndEdit();
}

// Commits an editor's text: only a changed text is set, validated and announced with -176.
void CGridCtrl::OnEndEditCell(int row, int col, const CString& text) {
  CGridCellBase* cell = GetCell(row, col);
  if (!cell) return;
  CString old = cell->GetText();
  if (text != old) {
    cell->SetText(text);
    bool ok = cell->ValidateEdit(text) && SendMessageToParent(row, col, static_cast<int>(GVN_ENDLABELEDIT)) >= 0;
    if (ok) {
      cell->SetState(cell->GetState() | GVIS_MODIFIED);
      m_bModified = TRUE;
    } else {
      cell->SetText(cell->GetOriginalText());
      m_bNoSelectOnNextPress = true;
    }
  }
  Refresh();
}

BOOL CGridCtrl::OnNotify(WPARAM w, LPARAM l, LRESULT* result) {
  auto* hdr = reinterpret_cast<NMHDR*>(l);
  if (w == IDC_INPLACE_CONTROL && hdr && hdr->code == GVN_ENDLABELEDIT) {
    auto* info = reinterpret_cast<GV_DISPINFO*>(l);
    OnEndEditCell(info->iRow, info->iColumn, info->text);
    if (CGridCellBase* cell = GetCell(info->iRow, info->iColumn)) cell->OnEndEdit();
    UINT key = info->lastKey;
    if (key == VK_TAB || (key >= VK_PRIOR && key <= VK_DOWN)) OnKeyDown(key, 1, 0);
    *result = 0;
    return TRUE;
  }
  return CWnd::OnNotify(w, l, result);
}

void CGridCtrl::OnKillFocus(CWnd* next) {
  CWnd::OnKillFocus(next);
  if (next != &m_TitleTip) m_TitleTip.Hide();
}
