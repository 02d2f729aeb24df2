// Cells of the grid: the abstract base with its drawing and measuring, the plain text cell, the
// default cell that measures its font, the check/button text cell and the list cell.
#include <algorithm>
#include <cstring>

#include "gridctrl.h"

IMPLEMENT_DYNAMIC(CGridCellBase, CObject)
IMPLEMENT_DYNCREATE(CGridCell, CGridCellBase)
IMPLEMENT_DYNCREATE(CGridDefaultCell, CGridCell)
IMPLEMENT_DYNCREATE(CGridCellCombo, CGridCell)
IMPLEMENT_DYNCREATE(CGridBtnCell, CGridCell)

// ---- CGridCellBase ---------------------------------------------------------------------------

CGridDefaultCell* CGridCellBase::GetDefaultCell() const {
  CGridCtrl* g = GetGrid();
  return g ? g->GetDefaultCell(IsFixedRow(), IsFixedCol()) : nullptr;
}

DWORD CGridCellBase::GetFormat() const {
  CGridDefaultCell* d = GetDefaultCell();
  return d ? d->GetFormat() : 0x8824;
}

const LOGFONT* CGridCellBase::GetFont() const {
  CGridDefaultCell* d = GetDefaultCell();
  return d ? d->GetFont() : nullptr;
}

int CGridCellBase::GetMarginX() const {
  CGridDefaultCell* d = GetDefaultCell();
  return d ? d->GetMarginX() : 3;
}

int CGridCellBase::GetMarginY() const {
  CGridDefaultCell* d = GetDefaultCell();
  return d ? d->GetMarginY() : 1;
}

void CGridCellBase::operator=(const CGridCellBase& o) {
  if (this == &o) return;
  SetGrid(o.GetGrid());
  SetText(o.GetText());
  SetImage(o.GetImage());
  SetData(o.GetData());
  SetState(o.GetState());
  SetTextClr(o.GetTextClr());
  SetBackClr(o.GetBackClr());
  if (!o.IsDefaultFont()) SetFont(o.GetFont());
  m_MergeRange = o.m_MergeRange;
  m_bMergeWithOthers = o.m_bMergeWithOthers;
  m_MergeCellID = o.m_MergeCellID;
  m_bShow = o.m_bShow;
}

void CGridCellBase::Reset() {
  m_nState = 0;
  m_strInitText.Empty();
  UnMerge();
}

void CGridCellBase::UnMerge() {
  m_MergeRange = CRect(-1, -1, -1, -1);
  m_bMergeWithOthers = false;
  m_MergeCellID = CCellID();
  m_bShow = true;
}

COLORREF CGridCellBase::effectiveTextClr() const {
  if (GetTextClr() != CLR_DEFAULT) return GetTextClr();
  CGridDefaultCell* d = GetDefaultCell();
  return d && d->GetTextClr() != CLR_DEFAULT ? d->GetTextClr() : GetSysColor(COLOR_WINDOWTEXT);
}

COLORREF CGridCellBase::effectiveBackClr() const {
  if (GetBackClr() != CLR_DEFAULT) return GetBackClr();
  CGridDefaultCell* d = GetDefaultCell();
  return d && d->GetBackClr() != CLR_DEFAULT ? d->GetBackClr() : GetSysColor(COLOR_WINDOW);
}

// Draws the background, edge, image, sort arrow and text; the grid lines are the grid's.
BOOL CGridCellBase::Draw(CDC* pDC, int nRow, int nCol, CRect rect, BOOL bEraseBkgnd) {
  CGridCtrl* grid = GetGrid();
  if (!grid || (!IsShow() && !IsMergeHead())) return FALSE;
  int saved = pDC->SaveDC();
  pDC->SetBkMode(TRANSPARENT);
  COLORREF text = effectiveTextClr(), back = effectiveBackClr();
  rect.right -= 1;
  rect.bottom -= 1;
  if (IsSelected() && !IsFixed()) {
    back = GetSysColor(COLOR_HIGHLIGHT);
    text = GetSysColor(COLOR_HIGHLIGHTTEXT);
  }
  if (bEraseBkgnd || IsSelected()) pDC->FillSolidRect(rect, back);
  if (IsFixed()) {
    CRect edge(rect.left, rect.top, rect.right + 1, rect.bottom + 1);
    pDC->Draw3dRect(edge, GetSysColor(COLOR_3DHIGHLIGHT), GetSysColor(COLOR_3DDKSHADOW));
  }
  if (IsFocused() && !IsFixed()) pDC->DrawFocusRect(rect);
  CImageList* images = grid->GetImageList();
  if (images && GetImage() >= 0) {
    IMAGEINFO info{};
    images->GetImageInfo(GetImage(), &info);
    images->Draw(pDC, GetImage(), CPoint(rect.left + GetMarginX(), rect.top + GetMarginY()), ILD_NORMAL);
    rect.left += CRect(info.rcImage).Width() + GetMarginX();
  }
  if (IsFixedRow() && nCol == grid->GetSortColumn() && nRow == 0) {
    int x = rect.right - 10, y = rect.top + rect.Height() / 2;
    POINT tri[3] = {{x, y + 3}, {x + 6, y + 3}, {x + 3, y - 3}};
    CBrush br(GetSysColor(COLOR_3DSHADOW));
    pDC->SelectObject(&br);
    pDC->Polygon(tri, 3);
    rect.right -= 12;
  }
  drawText(pDC, rect, text);
  pDC->RestoreDC(saved);
  return TRUE;
}

void CGridCellBase::drawText(CDC* pDC, CRect rect, COLORREF textClr) {
  CGridCtrl* grid = GetGrid();
  pDC->SetTextColor(textClr);
  if (CFont* f = grid->FontFor(GetFont())) pDC->SelectObject(f);
  rect.DeflateRect(GetMarginX(), GetMarginY());
  CString t = GetText();
  pDC->DrawText(t, rect, GetFormat() | DT_NOPREFIX);
}

BOOL CGridCellBase::GetTextRect(LPRECT pRect) {
  CRect r(pRect);
  if (GetImage() >= 0 && GetGrid() && GetGrid()->GetImageList()) {
    IMAGEINFO info{};
    GetGrid()->GetImageList()->GetImageInfo(GetImage(), &info);
    r.left += CRect(info.rcImage).Width() + GetMarginX();
  }
  *pRect = r;
  return TRUE;
}

CSize CGridCellBase::GetTextExtent(LPCTSTR str, CDC* pDC) {
  CGridCtrl* grid = GetGrid();
  // Empty cells are the common case of big outlines; their size needs no text layout.
  if (grid && (!str || !*str)) return CSize(2 * GetMarginX(), grid->LineHeightFor(GetFont()) + 2 * GetMarginY());
  std::unique_ptr<CDC> own;
  if (!pDC) {
    own = std::make_unique<CDC>();
    own->CreateCompatibleDC(nullptr);
    pDC = own.get();
  }
  int saved = pDC->SaveDC();
  if (grid)
    if (CFont* f = grid->FontFor(GetFont())) pDC->SelectObject(f);
  CRect r(0, 0, 0, 0);
  CString t = str ? str : L"";
  DWORD fmt = GetFormat();
  CSize size;
  if (fmt & DT_WORDBREAK) {
    r.right = 1 << 14;
    pDC->DrawText(t, r, fmt | DT_CALCRECT | DT_NOPREFIX);
    size = r.Size();
  } else {
    size = pDC->GetTextExtent(t.IsEmpty() ? CString(L" ") : t);
    if (t.IsEmpty()) size.cx = 0;
  }
  pDC->RestoreDC(saved);
  size.cx += 2 * GetMarginX();
  size.cy += 2 * GetMarginY();
  return size;
}

CSize CGridCellBase::GetCellExtent(CDC* pDC) {
  CSize s = GetTextExtent(GetText(), pDC);
  CGridCtrl* grid = GetGrid();
  if (grid && grid->GetImageList() && GetImage() >= 0) {
    IMAGEINFO info{};
    grid->GetImageList()->GetImageInfo(GetImage(), &info);
    s.cx += CRect(info.rcImage).Width() + GetMarginX();
    s.cy = std::max<LONG>(s.cy, CRect(info.rcImage).Height());
  }
  return s;
}

BOOL CGridCellBase::PrintCell(CDC* pDC, int, int, CRect rect) {
  int saved = pDC->SaveDC();
  pDC->SetBkMode(TRANSPARENT);
  if (IsFixed()) pDC->FillSolidRect(rect, effectiveBackClr());
  CPen pen(PS_SOLID, 0, GetSysColor(COLOR_3DSHADOW));
  pDC->SelectObject(&pen);
  pDC->MoveTo(rect.left, rect.bottom);
  pDC->LineTo(rect.right, rect.bottom);
  pDC->LineTo(rect.right, rect.top);
  drawText(pDC, rect, effectiveTextClr());
  pDC->RestoreDC(saved);
  return TRUE;
}

// ---- CGridCell -----------------------------------------------------------------------------

// An open editor is a child of the grid window and dies with it; it reaches the grid only by
// messages, so the cell has nothing to undo here.
CGridCell::~CGridCell() = default;

void CGridCell::SetFont(const LOGFONT* lf) {
  if (!lf) m_font.reset();
  else m_font = std::make_unique<LOGFONT>(*lf);
}

const LOGFONT* CGridCell::GetFont() const { return m_font ? m_font.get() : CGridCellBase::GetFont(); }

DWORD CGridCell::GetFormat() const {
  return m_nFormat == static_cast<DWORD>(-1) ? CGridCellBase::GetFormat() : m_nFormat;
}

int CGridCell::GetMarginX() const { return m_nMarginX < 0 ? CGridCellBase::GetMarginX() : m_nMarginX; }
int CGridCell::GetMarginY() const { return m_nMarginY < 0 ? CGridCellBase::GetMarginY() : m_nMarginY; }

void CGridCell::Reset() {
  CGridCellBase::Reset();
  m_strText.Empty();
  m_nImage = -1;
  m_lParam = 0;
  m_nFormat = static_cast<DWORD>(-1);
  m_crFgClr = m_crBkClr = CLR_DEFAULT;
  m_font.reset();
  m_nMarginX = m_nMarginY = -1;
}

BOOL CGridCell::Edit(int nRow, int nCol, CRect rect, CPoint, UINT nID, UINT nChar) {
  if (m_bEditing) {
    if (m_pEditWnd) m_pEditWnd->SendMessage(WM_CHAR, nChar);
    return TRUE;
  }
  DWORD style = ES_LEFT;
  DWORD fmt = GetFormat();
  if (fmt & DT_RIGHT) style = ES_RIGHT;
  else if (fmt & DT_CENTER) style = ES_CENTER;
  setEditor(KeepIfOpen(new CInPlaceEdit(m_pGrid, rect, style | ES_AUTOHSCROLL, nID, nRow, nCol, GetText(), nChar)));
  return IsEditing();
}

void CGridCell::EndEdit() {
  if (m_pEditWnd) static_cast<CInPlaceEdit*>(m_pEditWnd)->EndEdit();
}

void CGridCell::OnEndEdit() { setEditor(nullptr); }

// ---- CGridDefaultCell ------------------------------------------------------------------------

CGridDefaultCell::CGridDefaultCell() {
  SetFormat(DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
  NONCLIENTMETRICS ncm{};
  ncm.cbSize = sizeof(ncm);
  SystemParametersInfo(SPI_GETNONCLIENTMETRICS, sizeof(ncm), &ncm, 0);
  SetFont(&ncm.lfMessageFont);
}

DWORD CGridDefaultCell::GetFormat() const { return CGridCell::GetFormat(); }

void CGridDefaultCell::SetFont(const LOGFONT* lf) {
  if (!lf) return;
  m_lf = *lf;
  m_font = std::make_unique<CFont>();
  m_font->CreateFontIndirect(&m_lf);
  CDC dc;
  if (!dc.CreateCompatibleDC(nullptr)) {
    m_nMarginX = 3;
    m_nMarginY = 1;
    m_Size = CSize(40, 16);
    return;
  }
  dc.SelectObject(m_font.get());
  m_nMarginX = dc.GetTextExtent(CString(L" ")).cx;
  m_nMarginY = 1;
  m_Size = dc.GetTextExtent(CString(L" XXXXXXXXXXXX "));
  m_Size.cy += 3;
}

// ---- CGridCellCombo --------------------------------------------------------------------------

DWORD CGridCellCombo::GetCurrentData() const {
  CString text = GetText();
  for (int i = 0; i < m_Strings.GetSize() && i < m_Data.GetSize(); ++i)
    if (m_Strings[i] == text) return m_Data[i];
  return 0;
}

BOOL CGridCellCombo::SelectByData(DWORD data) {
  for (int i = 0; i < m_Data.GetSize() && i < m_Strings.GetSize(); ++i)
    if (m_Data[i] == data) {
      SetText(m_Strings[i]);
      return TRUE;
    }
  return FALSE;
}

void CGridCellCombo::operator=(const CGridCellBase& other) {
  CGridCellBase::operator=(other);
  if (auto* c = dynamic_cast<const CGridCellCombo*>(&other)) {
    m_Strings.Copy(c->m_Strings);
    m_Data.Copy(c->m_Data);
    m_dwStyle = c->m_dwStyle;
  }
}

// A closed list whose choices lack the text shows it as a temporary first choice.
BOOL CGridCellCombo::Edit(int nRow, int nCol, CRect rect, CPoint, UINT nID, UINT nChar) {
  if (IsEditing()) {
    if (GetEditWnd()) GetEditWnd()->SendMessage(WM_CHAR, nChar);
    return TRUE;
  }
  CString text = GetText();
  bool added = false;
  if (m_dwStyle == CBS_DROPDOWNLIST) {
    bool found = false;
    for (int i = 0; i < m_Strings.GetSize(); ++i) found = found || m_Strings[i] == text;
    if (!found) {
      m_Strings.InsertAt(0, text);
      added = true;
    }
  }
  int h = rect.Height();
  setEditor(KeepIfOpen(new CInPlaceListForGridCell(GetGrid(), rect, m_dwStyle, nID, nRow, nCol, effectiveTextClr(),
                                                   effectiveBackClr(), m_Strings, text, nChar, h)));
  if (added) m_Strings.RemoveAt(0);
  return IsEditing();
}

BOOL CGridCellCombo::Draw(CDC* pDC, int nRow, int nCol, CRect rect, BOOL bEraseBkgnd) {
  CGridCtrl* grid = GetGrid();
  bool arrow = grid && grid->IsEditable() && !IsReadOnly() && !IsFixed() && !IsEditing();
  if (!arrow) return CGridCell::Draw(pDC, nRow, nCol, rect, bEraseBkgnd);
  int cx = GetSystemMetrics(SM_CXVSCROLL), cy = GetSystemMetrics(SM_CYHSCROLL);
  CRect button(rect.right - 1 - cx, rect.top, rect.right - 1, rect.bottom - 1);
  if (button.Height() > cy) {
    button.top += (button.Height() - cy) / 2;
    button.bottom = button.top + cy;
  }
  CRect textPart(rect.left, rect.top, button.left + 1, rect.bottom);
  CGridCell::Draw(pDC, nRow, nCol, textPart, bEraseBkgnd);
  pDC->FillSolidRect(CRect(button.left, rect.top, rect.right - 1, rect.bottom - 1), effectiveBackClr());
  pDC->DrawFrameControl(button, DFC_SCROLL, DFCS_SCROLLCOMBOBOX);
  return TRUE;
}

CSize CGridCellCombo::GetCellExtent(CDC* pDC) {
  CSize s = CGridCell::GetCellExtent(pDC);
  s.cx += GetSystemMetrics(SM_CXVSCROLL);
  s.cy = std::max<LONG>(s.cy, GetSystemMetrics(SM_CYHSCROLL));
  return s;
}
