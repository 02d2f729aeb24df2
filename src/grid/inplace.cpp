// The short-lived editors of a cell (a text box, a list with its edit child) and the title tip.
#include <algorithm>

#include "gridctrl.h"

namespace {

// One end of a text edit at a time: the focus change that ends it can re-enter.
bool g_bEndingEdit = false;

bool ctrlDown() { return GetKeyState(VK_CONTROL) < 0; }
bool isMoveKey(UINT key) { return key == VK_PRIOR || key == VK_NEXT || key == VK_DOWN || key == VK_UP || key == VK_LEFT || key == VK_RIGHT; }

// Tells the grid the edit ended: -176 as child 8 with the text and the last key.
void notifyEnd(CWnd* grid, HWND from, int row, int col, const CString& text, UINT lastKey) {
  GV_DISPINFO info{};
  info.hdr.hwndFrom = from;
  info.hdr.idFrom = IDC_INPLACE_CONTROL;
  info.hdr.code = GVN_ENDLABELEDIT;
  info.iRow = row;
  info.iColumn = col;
  info.text = text;
  info.lastKey = lastKey;
  if (grid && ::IsWindow(grid->m_hWnd)) grid->SendMessage(WM_NOTIFY, IDC_INPLACE_CONTROL, reinterpret_cast<LPARAM>(&info));
}

// The start-key rules shared by the text box and the open list's edit.
void applyFirstKey(CEdit* edit, UINT key) {
  int len = edit->GetWindowTextLength();
  if (key == VK_LBUTTON || key == VK_RETURN || key == VK_BACK) {
    edit->SetSel(len, len);
    if (key == VK_BACK) edit->PostMessage(WM_CHAR, key, 1);
    return;
  }
  edit->SetSel(0, -1);
  if (key == VK_TAB || (key >= 32 && key <= 40) || key == 0) return;
  edit->PostMessage(WM_CHAR, key, 1);
}

}  // namespace

// ---- CInPlaceEdit --------------------------------------------------------------------------

CInPlaceEdit::CInPlaceEdit(CWnd* parent, const CRect& rect, DWORD style, UINT id, int row, int col,
                           const CString& initText, UINT firstChar)
    : m_nRow(row), m_nColumn(col), m_sInitText(initText), m_bExitOnArrows(firstChar != VK_LBUTTON && firstChar != 0) {
  CRect r = rect;
  r.right -= 1;
  r.bottom -= 1;
  if (!Create(style | WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL, r, parent, id)) return;  // the caller deletes it
  auto* grid = dynamic_cast<CGridCtrl*>(parent);
  if (grid && grid->GetFont()) SetFont(grid->GetFont());
  SetWindowText(initText);
  SetFocus();
  applyFirstKey(this, firstChar);
}

void CInPlaceEdit::OnKeyDown(UINT key, UINT repeat, UINT flags) {
  if (isMoveKey(key) && (m_bExitOnArrows || ctrlDown())) {
    m_nLastChar = key;
    GetParent()->SetFocus();
    return;
  }
  CEdit::OnKeyDown(key, repeat, flags);
}

void CInPlaceEdit::OnChar(UINT ch, UINT repeat, UINT flags) {
  if (ch == VK_TAB || ch == VK_RETURN) {
    m_nLastChar = ch;
    GetParent()->SetFocus();
    return;
  }
  if (ch == VK_ESCAPE) {
    SetWindowText(m_sInitText);
    m_nLastChar = ch;
    GetParent()->SetFocus();
    return;
  }
  CEdit::OnChar(ch, repeat, flags);
}

UINT CInPlaceEdit::OnGetDlgCode() { return DLGC_WANTALLKEYS; }

void CInPlaceEdit::OnKillFocus(CWnd* next) {
  CEdit::OnKillFocus(next);
  EndEdit();
}

// Takes the text, tells the grid and closes; the guard stops the focus change re-entering.
void CInPlaceEdit::EndEdit() {
  if (g_bEndingEdit || !m_hWnd) return;
  g_bEndingEdit = true;
  CString text;
  GetWindowText(text);
  HWND self = m_hWnd;
  notifyEnd(GetParent(), self, m_nRow, m_nColumn, text, m_nLastChar);
  g_bEndingEdit = false;
  if (::IsWindow(self)) ::PostMessage(self, WM_CLOSE, 0, 0);
}

void CInPlaceEdit::PostNcDestroy() { delete this; }

// ---- CComboEditForGridCell -----------------------------------------------------------------

void CComboEditForGridCell::OnKeyDown(UINT key, UINT repeat, UINT flags) {
  if (isMoveKey(key) && (m_bExitOnArrows || ctrlDown())) {
    m_pList->SetLastKey(key);
    m_pList->GetParent()->SetFocus();
    return;
  }
  CEdit::OnKeyDown(key, repeat, flags);
}

void CComboEditForGridCell::OnChar(UINT ch, UINT repeat, UINT flags) {
  if (ch == VK_TAB || ch == VK_RETURN || ch == VK_ESCAPE) {
    if (ch == VK_ESCAPE) m_pList->RestoreInitText();
    m_pList->SetLastKey(ch);
    m_pList->GetParent()->SetFocus();
    return;
  }
  CEdit::OnChar(ch, repeat, flags);
}

void CComboEditForGridCell::OnKillFocus(CWnd* next) {
  CEdit::OnKillFocus(next);
  if (m_pList->IsSelChangeRunning()) return;
  if (next && (next == m_pList || m_pList->IsChild(next))) return;
  m_pList->EndEdit();
}

UINT CComboEditForGridCell::OnGetDlgCode() { return DLGC_WANTALLKEYS; }

// ---- CInPlaceListForGridCell ---------------------------------------------------------------

// Places the list over the cell, fills it, selects the text and opens it at once.
CInPlaceListForGridCell::CInPlaceListForGridCell(CWnd* parent, CRect rect, DWORD style, UINT id, int row, int col,
                                                 COLORREF, COLORREF, const CStringArray& items,
                                                 const CString& initText, UINT firstChar, int cellHeight)
    : m_nRow(row), m_nCol(col), m_sInitText(initText) {
  CRect client;
  parent->GetClientRect(&client);
  if (style == CBS_SIMPLE) {
    rect.top -= 2;
    rect.left -= 3;
    rect.right += 1;
    int lines = std::min(items.GetSize() + 1, 15);
    rect.bottom += lines * cellHeight;
    if (rect.bottom > client.bottom) rect.OffsetRect(0, -std::min<LONG>(rect.bottom - client.bottom, rect.top));
  } else {
    rect.top -= 3;
    rect.left -= 1;
    rect.right += 1;
    rect.bottom += 4 * cellHeight;
  }
  rect.right = std::min(rect.right, client.right);
  if (!Create(WS_CHILD | WS_VISIBLE | WS_BORDER | WS_VSCROLL | CBS_AUTOHSCROLL | style, rect, parent, id)) return;
  auto* grid = dynamic_cast<CGridCtrl*>(parent);
  if (grid && grid->GetFont()) SetFont(grid->GetFont());
  CDC dc;
  dc.CreateCompatibleDC(nullptr);
  if (grid && grid->GetFont()) dc.SelectObject(grid->GetFont());
  int widest = 0;
  for (int i = 0; i < items.GetSize(); ++i) {
    AddString(items[i]);
    widest = std::max<int>(widest, dc.GetTextExtent(items[i]).cx);
  }
  SetItemHeight(-1, static_cast<UINT>(cellHeight));
  SetItemHeight(0, static_cast<UINT>(cellHeight));
  int dropped = widest + GetSystemMetrics(SM_CXVSCROLL) + dc.GetTextExtent(CString(L"0")).cx;
  SetDroppedWidth(static_cast<UINT>(std::min(dropped, 400)));
  int found = FindStringExact(-1, initText);
  if (found >= 0 && GetCount() > 0) {
    CString t;
    GetLBText(found, t);
    if (t != initText) found = -1;
  }
  if (found >= 0) SetCurSel(found);
  else SetWindowText(initText);
  if (style == CBS_SIMPLE) {
    m_edit = std::make_unique<CComboEditForGridCell>(this);
    if (CWnd* child = GetDlgItem(1001)) {
      m_edit->SubclassWindow(child->m_hWnd);
      m_edit->m_bExitOnArrows = firstChar != VK_LBUTTON && firstChar != 0;
      m_edit->SetFocus();
      applyFirstKey(m_edit.get(), firstChar);
    }
  } else {
    SetFocus();
    ShowDropDown(TRUE);
  }
}

CInPlaceListForGridCell::~CInPlaceListForGridCell() {
  if (m_edit && m_edit->m_hWnd) m_edit->UnsubclassWindow();
}

void CInPlaceListForGridCell::onSelChange() {
  int i = GetCurSel();
  if (i < 0) return;
  GV_DISPINFO info{};
  CWnd* grid = GetParent();
  auto* g = dynamic_cast<CGridCtrl*>(grid);
  info.hdr.hwndFrom = grid->m_hWnd;
  info.hdr.idFrom = static_cast<UINT_PTR>(grid->GetDlgCtrlID());
  info.hdr.code = GVN_COMBOSELCHANGE;
  info.iRow = m_nRow;
  info.iColumn = m_nCol;
  GetLBText(i, info.text);
  CWnd* owner = g ? g->GetOwner() : nullptr;
  m_bSelChangeRunning = true;
  if (owner) owner->SendMessage(WM_NOTIFY, info.hdr.idFrom, reinterpret_cast<LPARAM>(&info));
  m_bSelChangeRunning = false;
}

BOOL CInPlaceListForGridCell::OnChildNotify(UINT msg, WPARAM w, LPARAM l, LRESULT* result) {
  if (msg != WM_COMMAND) return CComboBox::OnChildNotify(msg, w, l, result);
  switch (HIWORD(w)) {
    case CBN_SELCHANGE: onSelChange(); return TRUE;
    case CBN_SELENDCANCEL: m_bSelEndCancel = true; return TRUE;
    case CBN_CLOSEUP:
      if (m_bSelEndCancel) {
        m_bSelEndCancel = false;
        GetParent()->SetFocus();
      }
      return TRUE;
    default: return CComboBox::OnChildNotify(msg, w, l, result);
  }
}

// Enter in a dropped list takes the highlighted choice and stays; otherwise Enter, Tab and Esc
// end the edit (Esc with the first text back).
void CInPlaceListForGridCell::OnKeyDown(UINT key, UINT repeat, UINT flags) {
  bool dropped = GetDroppedState();
  if (isMoveKey(key) && ctrlDown()) {
    m_nLastChar = key;
    GetParent()->SetFocus();
    return;
  }
  if (key == VK_RETURN && dropped) {
    CComboBox::OnKeyDown(key, repeat, flags);
    return;
  }
  if (key == VK_ESCAPE || key == VK_RETURN || key == VK_TAB) {
    m_nLastChar = key;
    if (key == VK_ESCAPE) RestoreInitText();
    if (key == VK_ESCAPE && dropped) m_bSelEndCancel = false;
    GetParent()->SetFocus();
    return;
  }
  CComboBox::OnKeyDown(key, repeat, flags);
}

void CInPlaceListForGridCell::OnChar(UINT ch, UINT repeat, UINT flags) {
  if (ch == VK_ESCAPE || ch == VK_RETURN || ch == VK_TAB) return;
  CComboBox::OnChar(ch, repeat, flags);
}

UINT CInPlaceListForGridCell::OnGetDlgCode() { return DLGC_WANTALLKEYS; }

void CInPlaceListForGridCell::OnKillFocus(CWnd* next) {
  CComboBox::OnKillFocus(next);
  if ((GetStyle() & 0x3) == CBS_SIMPLE) return;  // the edit child's loss of focus decides
  if (m_bSelChangeRunning) return;
  if (next && (next == this || IsChild(next))) return;
  EndEdit();
}

void CInPlaceListForGridCell::EndEdit() {
  if (g_bEndingEdit || !m_hWnd) return;
  g_bEndingEdit = true;
  CString text;
  if (m_bEditorTextSet) text = m_sEditorText;
  else GetWindowText(text);
  HWND self = m_hWnd;
  notifyEnd(GetParent(), self, m_nRow, m_nCol, text, m_nLastChar);
  g_bEndingEdit = false;
  if (::IsWindow(self)) ::PostMessage(self, WM_CLOSE, 0, 0);
}

void CInPlaceListForGridCell::PostNcDestroy() { delete this; }

// ---- CTitleTip -----------------------------------------------------------------------------

BOOL CTitleTip::Create(CWnd* parent) {
  m_pParentWnd = parent;
  return CreateEx(WS_EX_TOOLWINDOW | WS_EX_TOPMOST, L"ZTitleTip", L"", WS_POPUP | WS_BORDER, CRect(0, 0, 10, 10),
                  parent, 0);
}

BOOL CTitleTip::Show(const CRect& rect, const CString& text, const LOGFONT* font) {
  if (!m_hWnd || text.IsEmpty()) return FALSE;
  m_text = text;
  if (font) m_lf = *font;
  CDC dc;
  dc.CreateCompatibleDC(nullptr);
  CFont f;
  f.CreateFontIndirect(&m_lf);
  dc.SelectObject(&f);
  CSize ext = dc.GetTextExtent(text);
  CRect r = rect;
  m_pParentWnd->ClientToScreen(&r);
  r.right = r.left + ext.cx + 6;
  SetWindowPos(&wndTopMost, r.left, r.top, r.Width(), r.Height(), SWP_SHOWWINDOW | SWP_NOACTIVATE);
  m_bShown = true;
  Invalidate();
  return TRUE;
}

void CTitleTip::Hide() {
  if (m_hWnd && m_bShown) ShowWindow(SW_HIDE);
  m_bShown = false;
}

void CTitleTip::OnPaint() {
  CPaintDC dc(this);
  CRect r;
  GetClientRect(&r);
  dc.FillSolidRect(r, GetSysColor(COLOR_INFOBK));
  CFont f;
  f.CreateFontIndirect(&m_lf);
  dc.SelectObject(&f);
  dc.SetBkMode(TRANSPARENT);
  dc.SetTextColor(GetSysColor(COLOR_INFOTEXT));
  r.left += 2;
  dc.DrawText(m_text, r, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
}

// A press on the tip goes to the window below it, as if the tip were not there.
void CTitleTip::passOn(UINT msg, UINT flags, CPoint p) {
  Hide();
  ClientToScreen(&p);
  CWnd* below = CWnd::WindowFromPoint(p);
  if (!below || below == this) below = m_pParentWnd;
  below->ScreenToClient(&p);
  below->SendMessage(msg, flags, MAKELPARAM(p.x, p.y));
}

void CTitleTip::OnLButtonDown(UINT flags, CPoint p) { passOn(WM_LBUTTONDOWN, flags, p); }
void CTitleTip::OnRButtonDown(UINT flags, CPoint p) { passOn(WM_RBUTTONDOWN, flags, p); }

void CTitleTip::OnKeyDown(UINT key, UINT repeat, UINT flags) {
  Hide();
  m_pParentWnd->SendMessage(WM_KEYDOWN, key, MAKELPARAM(repeat, flags));
}
