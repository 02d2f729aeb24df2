// The grid control of the data dialogs: a spreadsheet-like child window of cell objects with
// fixed header rows and columns, in-place text and list editors, an outline column and printing.
//
// Addressing: rows and columns count from 0, fixed ones included. Out-of-range addresses make
// operations answer false, -1, null or an empty text. Notifications reach the owner as
// WM_NOTIFY with the control's id and an NM_GRIDVIEW (codes GVN_*).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ui.h"

// ---- Notification records and codes --------------------------------------------------------

struct NM_GRIDVIEW {
  NMHDR hdr;
  int iRow;
  int iColumn;
};
// Code 1 (a pick in an open list) and the editor's end carry a text.
struct GV_DISPINFO {
  NMHDR hdr;
  int iRow;
  int iColumn;
  CString text;
  UINT lastKey;
};
// Code -155: the key stands in place of the row and column.
struct NM_GRIDKEY {
  NMHDR hdr;
  UINT nVKey;
  UINT nRepeat;
  UINT nFlags;
};

inline constexpr UINT GVN_CLICK = 0u - 2u;
inline constexpr UINT GVN_DBLCLK = 0u - 3u;
inline constexpr UINT GVN_SELCHANGING = 0u - 100u;
inline constexpr UINT GVN_SELCHANGED = 0u - 101u;
inline constexpr UINT GVN_KEYDOWN = 0u - 155u;
inline constexpr UINT GVN_BEGINLABELEDIT = 0u - 175u;
inline constexpr UINT GVN_ENDLABELEDIT = 0u - 176u;
inline constexpr UINT GVN_COMBOSELCHANGE = 1;
inline constexpr UINT GVN_FIXEDROWCLICK = 4156;

// Cell state bits.
inline constexpr DWORD GVIS_FOCUSED = 0x01;
inline constexpr DWORD GVIS_SELECTED = 0x02;
inline constexpr DWORD GVIS_DROPHILITED = 0x04;
inline constexpr DWORD GVIS_READONLY = 0x08;
inline constexpr DWORD GVIS_FIXED = 0x10;
inline constexpr DWORD GVIS_FIXEDROW = 0x20;
inline constexpr DWORD GVIS_FIXEDCOL = 0x40;
inline constexpr DWORD GVIS_MODIFIED = 0x80;

// Column kinds.
inline constexpr int GVCK_PLAIN = 0;
inline constexpr int GVCK_CHECK = 1;
inline constexpr int GVCK_OPENLIST = 2;
inline constexpr int GVCK_CLOSEDLIST = 3;
inline constexpr int GVCK_TREE = 4;
inline constexpr int GVCK_BUTTON = 5;

// Mouse modes.
enum class GridMouseMode {
  Nothing = 0, SelectAll = 1, SelectCol = 2, SelectRow = 3, SelectCells = 4,
  OverRowDivide = 6, SizingRow = 7, OverColDivide = 8, SizingCol = 9, PrepareEdit = 10
};

inline constexpr UINT IDC_INPLACE_CONTROL = 8;
inline constexpr COLORREF CLR_DEFAULT = 0xFF000000;

class CGridCtrl;
class CGridDefaultCell;
class CTreeColumn;

// A cell's address.
struct CCellID {
  int row = -1, col = -1;
  CCellID() = default;
  CCellID(int r, int c) : row(r), col(c) {}
  bool IsValid() const { return row >= 0 && col >= 0; }
  bool operator==(const CCellID& o) const { return row == o.row && col == o.col; }
  bool operator!=(const CCellID& o) const { return !(*this == o); }
  bool operator<(const CCellID& o) const { return row != o.row ? row < o.row : col < o.col; }
};

// ---- Cells -------------------------------------------------------------------------------

// The abstract cell: state, merge data, drawing, editing and mouse hooks.
class CGridCellBase : public CObject {
  DECLARE_DYNAMIC(CGridCellBase)

 public:
  CGridCellBase() = default;
  ~CGridCellBase() override = default;

  virtual void SetText(LPCTSTR) {}
  virtual void SetImage(int) {}
  virtual void SetData(std::int64_t) {}
  virtual void SetState(DWORD state) { m_nState = state; }
  virtual void SetFormat(DWORD) {}
  virtual void SetTextClr(COLORREF) {}
  virtual void SetBackClr(COLORREF) {}
  virtual void SetFont(const LOGFONT*) {}
  virtual void SetMarginX(int) {}
  virtual void SetMarginY(int) {}
  virtual void SetGrid(CGridCtrl*) {}
  virtual void SetCoords(int, int) {}

  virtual LPCTSTR GetText() const { return L""; }
  virtual LPCTSTR GetTipText() const { return GetText(); }
  virtual int GetImage() const { return -1; }
  virtual std::int64_t GetData() const { return 0; }
  virtual DWORD GetState() const { return m_nState; }
  virtual DWORD GetFormat() const;
  virtual COLORREF GetTextClr() const { return CLR_DEFAULT; }
  virtual COLORREF GetBackClr() const { return CLR_DEFAULT; }
  virtual const LOGFONT* GetFont() const;
  virtual CGridCtrl* GetGrid() const { return nullptr; }
  virtual CWnd* GetEditWnd() const { return nullptr; }
  virtual int GetMarginX() const;
  virtual int GetMarginY() const;
  virtual CGridDefaultCell* GetDefaultCell() const;

  virtual BOOL IsDefaultFont() const { return TRUE; }
  virtual BOOL IsEditing() const { return FALSE; }
  BOOL IsFocused() const { return (GetState() & GVIS_FOCUSED) != 0; }
  BOOL IsFixed() const { return (GetState() & GVIS_FIXED) != 0; }
  BOOL IsFixedCol() const { return (GetState() & GVIS_FIXEDCOL) != 0; }
  BOOL IsFixedRow() const { return (GetState() & GVIS_FIXEDROW) != 0; }
  BOOL IsSelected() const { return (GetState() & GVIS_SELECTED) != 0; }
  BOOL IsReadOnly() const { return (GetState() & GVIS_READONLY) != 0; }
  BOOL IsModified() const { return (GetState() & GVIS_MODIFIED) != 0; }
  BOOL IsDropHighlighted() const { return (GetState() & GVIS_DROPHILITED) != 0; }

  // Copies text, image, data, state, format, colours, font and margins.
  virtual void operator=(const CGridCellBase& other);
  virtual void Reset();

  // Draws the cell into rect (the cell's whole rectangle, lines included). bEraseBkgnd fills it.
  virtual BOOL Draw(CDC* pDC, int nRow, int nCol, CRect rect, BOOL bEraseBkgnd = TRUE);
  virtual BOOL GetTextRect(LPRECT pRect);
  virtual BOOL GetTipTextRect(LPRECT pRect) { return GetTextRect(pRect); }
  virtual CSize GetTextExtent(LPCTSTR str, CDC* pDC = nullptr);
  virtual CSize GetCellExtent(CDC* pDC);

  // Opens the in-place editor; answers whether one is open.
  virtual BOOL Edit(int, int, CRect, CPoint, UINT, UINT) { return FALSE; }
  virtual BOOL ValidateEdit(LPCTSTR) { return TRUE; }
  virtual void EndEdit() {}
  virtual BOOL PrintCell(CDC* pDC, int nRow, int nCol, CRect rect);

  // Merge data: the range this cell heads, or the head it is merged into.
  CRect GetMergeRange() const { return m_MergeRange; }
  void SetMergeRange(const CRect& r) { m_MergeRange = r; }
  BOOL IsMergeHead() const { return m_MergeRange.left >= 0; }
  BOOL IsMerged() const { return m_bMergeWithOthers; }
  CCellID GetMergeCellID() const { return m_MergeCellID; }
  void SetMergeCellID(CCellID id) { m_MergeCellID = id; m_bMergeWithOthers = id.IsValid(); }
  BOOL IsShow() const { return m_bShow; }
  void Show(BOOL show) { m_bShow = show; }
  void UnMerge();

  CString GetOriginalText() const { return m_strInitText; }
  void SetOriginalText(const CString& s) { m_strInitText = s; }

  virtual void OnEndEdit() {}
  virtual void OnMouseEnter() {}
  virtual void OnMouseOver() {}
  virtual void OnMouseLeave() {}
  virtual void OnClick(CPoint) {}
  virtual void OnClickDown(CPoint) {}
  virtual void OnRClick(CPoint) {}
  virtual void OnDblClick(CPoint) {}
  virtual BOOL OnSetCursor() { return FALSE; }

 protected:
  // The effective colours and font: the cell's own, else its default cell's.
  COLORREF effectiveTextClr() const;
  COLORREF effectiveBackClr() const;
  void drawText(CDC* pDC, CRect rect, COLORREF textClr);

 private:
  DWORD m_nState = 0;
  CString m_strInitText;
  CRect m_MergeRange{-1, -1, -1, -1};  // left = first col, top = first row, right, bottom
  bool m_bMergeWithOthers = false;
  CCellID m_MergeCellID;
  bool m_bShow = true;
};

// A plain text cell.
class CGridCell : public CGridCellBase {
  DECLARE_DYNCREATE(CGridCell)

 public:
  CGridCell() = default;
  ~CGridCell() override;

  void SetText(LPCTSTR s) override { m_strText = s ? s : L""; }
  void SetImage(int i) override { m_nImage = i; }
  void SetData(std::int64_t d) override { m_lParam = d; }
  void SetFormat(DWORD f) override { m_nFormat = f; }
  void SetTextClr(COLORREF c) override { m_crFgClr = c; }
  void SetBackClr(COLORREF c) override { m_crBkClr = c; }
  void SetFont(const LOGFONT* lf) override;
  void SetMarginX(int m) override { m_nMarginX = m; }
  void SetMarginY(int m) override { m_nMarginY = m; }
  void SetGrid(CGridCtrl* g) override { m_pGrid = g; }
  void SetCoords(int r, int c) override { m_nRow = r; m_nCol = c; }

  LPCTSTR GetText() const override { return m_strText; }
  int GetImage() const override { return m_nImage; }
  std::int64_t GetData() const override { return m_lParam; }
  DWORD GetFormat() const override;
  COLORREF GetTextClr() const override { return m_crFgClr; }
  COLORREF GetBackClr() const override { return m_crBkClr; }
  const LOGFONT* GetFont() const override;
  BOOL IsDefaultFont() const override { return !m_font; }
  CGridCtrl* GetGrid() const override { return m_pGrid; }
  CWnd* GetEditWnd() const override { return m_pEditWnd; }
  int GetMarginX() const override;
  int GetMarginY() const override;
  BOOL IsEditing() const override { return m_bEditing; }
  void Reset() override;

  BOOL Edit(int nRow, int nCol, CRect rect, CPoint point, UINT nID, UINT nChar) override;
  void EndEdit() override;
  void OnEndEdit() override;

 protected:
  int row() const { return m_nRow; }
  int col() const { return m_nCol; }
  void setEditor(CWnd* w) { m_pEditWnd = w; m_bEditing = w != nullptr; }

 private:
  CString m_strText;
  std::int64_t m_lParam = 0;
  int m_nImage = -1;
  DWORD m_nFormat = static_cast<DWORD>(-1);
  COLORREF m_crFgClr = CLR_DEFAULT, m_crBkClr = CLR_DEFAULT;
  std::unique_ptr<LOGFONT> m_font;
  int m_nMarginX = -1, m_nMarginY = -1;
  bool m_bEditing = false;
  CGridCtrl* m_pGrid = nullptr;
  CWnd* m_pEditWnd = nullptr;
  int m_nRow = -1, m_nCol = -1;
};

// The template of defaults: format, size, font and margins.
class CGridDefaultCell : public CGridCell {
  DECLARE_DYNCREATE(CGridDefaultCell)

 public:
  CGridDefaultCell();
  int GetWidth() const { return m_Size.cx; }
  int GetHeight() const { return m_Size.cy; }
  void SetWidth(int w) { m_Size.cx = w; }
  void SetHeight(int h) { m_Size.cy = h; }
  // Measures the font: the margin across becomes one blank, the size " XXXXXXXXXXXX " + 3.
  void SetFont(const LOGFONT* lf) override;
  const LOGFONT* GetFont() const override { return &m_lf; }
  CFont* GetFontObject() const { return m_font.get(); }
  DWORD GetFormat() const override;
  int GetMarginX() const override { return m_nMarginX; }
  int GetMarginY() const override { return m_nMarginY; }
  void SetMarginX(int m) override { m_nMarginX = m; }
  void SetMarginY(int m) override { m_nMarginY = m; }

 private:
  CSize m_Size{30, 10};
  LOGFONT m_lf{};
  std::unique_ptr<CFont> m_font;
  int m_nMarginX = 3, m_nMarginY = 1;
};

// A cell edited through a list of choices (style CBS_SIMPLE: open, CBS_DROPDOWNLIST: closed).
class CGridCellCombo : public CGridCell {
  DECLARE_DYNCREATE(CGridCellCombo)

 public:
  void SetOptions(const CStringArray& ar) { m_Strings.Copy(ar); }
  void SetOptionData(const CDWordArray& ar) { m_Data.Copy(ar); }
  const CStringArray& GetOptions() const { return m_Strings; }
  void SetStyle(DWORD s) { m_dwStyle = s; }
  DWORD GetStyle() const { return m_dwStyle; }
  // The data of the choice equal to the text, 0 when none.
  DWORD GetCurrentData() const;
  // Makes the choice with this data the text; false when no choice has it.
  BOOL SelectByData(DWORD data);
  CWnd* GetOpenEditor() const { return GetEditWnd(); }

  BOOL Edit(int nRow, int nCol, CRect rect, CPoint point, UINT nID, UINT nChar) override;
  BOOL Draw(CDC* pDC, int nRow, int nCol, CRect rect, BOOL bEraseBkgnd = TRUE) override;
  CSize GetCellExtent(CDC* pDC) override;
  void operator=(const CGridCellBase& other) override;

 private:
  CStringArray m_Strings;
  CDWordArray m_Data;
  DWORD m_dwStyle = CBS_DROPDOWNLIST;
};

// Check-box and push-button cells: only their text is kept (kinds 1 and 5).
class CGridBtnCell : public CGridCell {
  DECLARE_DYNCREATE(CGridBtnCell)
};

// The outline cell: a level byte (low 7 bits the level, bit 7 shown), box and lines.
class CGridTreeCellBase : public CGridCellBase {
  DECLARE_DYNAMIC(CGridTreeCellBase)

 public:
  void SetLevelAndHide(unsigned char b) { m_ucLevelAndHide = b; }
  unsigned char GetLevelAndHide() const { return m_ucLevelAndHide; }
  int GetLevel() const { return m_ucLevelAndHide & 0x7F; }
  BOOL IsViewable() const { return (m_ucLevelAndHide & 0x80) != 0; }
  void SetViewable(BOOL v) { m_ucLevelAndHide = static_cast<unsigned char>(v ? (m_ucLevelAndHide | 0x80) : (m_ucLevelAndHide & 0x7F)); }
  void SetTreeColumn(CTreeColumn* t) { m_pTreeColumn = t; }
  CTreeColumn* GetTreeColumn() const { return m_pTreeColumn; }
  void Reset() override;

  void SetImage(int i) override { m_nImage = i; }
  int GetImage() const override { return m_nImage; }
  void SetGrid(CGridCtrl* g) override { m_pGrid = g; }
  CGridCtrl* GetGrid() const override { return m_pGrid; }
  void SetCoords(int r, int c) override { m_nRow = r; m_nCol = c; }
  void SetTextClr(COLORREF c) override { m_crFgClr = c; }
  void SetBackClr(COLORREF c) override { m_crBkClr = c; }
  COLORREF GetTextClr() const override { return m_crFgClr; }
  COLORREF GetBackClr() const override { return m_crBkClr; }
  BOOL IsEditing() const override { return m_bEditing; }

  BOOL Draw(CDC* pDC, int nRow, int nCol, CRect rect, BOOL bEraseBkgnd = TRUE) override;
  BOOL GetTextRect(LPRECT pRect) override;
  CSize GetCellExtent(CDC* pDC) override;
  // The box's hit area in cell coordinates: 9 by 9, widened by 2 to the right and the top.
  CRect GetBoxRect(const CRect& cell) const;
  void operator=(const CGridCellBase& other) override;

 protected:
  int row() const { return m_nRow; }
  int col() const { return m_nCol; }
  bool m_bEditing = false;

 private:
  void drawOutline(CDC* pDC, const CRect& rect);
  int textOffset() const;
  unsigned char m_ucLevelAndHide = 0x80;
  int m_nImage = -1;
  int m_nRow = -1, m_nCol = -1;
  COLORREF m_crFgClr = CLR_DEFAULT, m_crBkClr = CLR_DEFAULT;
  CGridCtrl* m_pGrid = nullptr;
  CTreeColumn* m_pTreeColumn = nullptr;
};

// The editable tree cell: the tree column's default class.
class CGridTreeCell : public CGridTreeCellBase {
  DECLARE_DYNCREATE(CGridTreeCell)

 public:
  ~CGridTreeCell() override;
  void SetText(LPCTSTR s) override { m_strText = s ? s : L""; }
  LPCTSTR GetText() const override { return m_strText; }
  void SetData(std::int64_t d) override { m_lParam = d; }
  std::int64_t GetData() const override { return m_lParam; }
  CWnd* GetEditWnd() const override { return m_pEditWnd; }
  BOOL Edit(int nRow, int nCol, CRect rect, CPoint point, UINT nID, UINT nChar) override;
  void EndEdit() override;
  void OnEndEdit() override { m_pEditWnd = nullptr; m_bEditing = false; }
  void Reset() override;

 private:
  CString m_strText;
  std::int64_t m_lParam = 0;
  CWnd* m_pEditWnd = nullptr;
};

// ---- The outline over one column ------------------------------------------------------------

class CTreeColumn {
 public:
  // Ties the outline to a column; rows of the tree start at the current fixed rows.
  BOOL TreeSetup(CGridCtrl* grid, int column, CRuntimeClass* cellClass);
  // Inserts one row for each level byte before `row` (-1: at the end); answers the first new
  // row, or -1 for a count below 1.
  int InsertTreeBranch(const unsigned char* levels, int count, int row, BOOL redraw);
  // Deletes `row` and the rows of deeper level below it; answers how many went.
  int DeleteTreeBranch(int row, BOOL redraw);
  void TreeCollapse(int row);
  void TreeExpandOneLevel(int row);
  void TreeSetRowShown(int row);
  void TreeRefreshRows();
  BOOL TreeHasPlusMinus(int row, BOOL& plus, BOOL& minus, BOOL& lastLeaf) const;
  // A press on a row's box (or the double click of a read-only cell): collapse or expand.
  void TreeToggle(int row);
  unsigned char GetLevelAndHide(int row) const;
  int GetLevel(int row) const { return GetLevelAndHide(row) & 0x7F; }

  int GetColumnWithTree() const { return m_nColumn; }
  int GetFixedRowCount() const { return m_nFixedRows; }
  int GetRowCount() const { return m_nEndRow; }
  void SetEndRow(int r) { m_nEndRow = r; }
  int GetIndent() const { return m_nIndent; }
  void SetIndent(int i) { m_nIndent = i; }
  BOOL GetTreeLines() const { return m_bTreeLines; }
  void SetTreeLines(BOOL b) { m_bTreeLines = b; }
  BOOL GetTreeUsesImages() const { return m_bTreeUsesImages; }
  void SetTreeUsesImages(BOOL b) { m_bTreeUsesImages = b; }
  COLORREF GetTreeLineColour() const { return m_crTreeLine; }
  BOOL IsAllowDraw() const { return m_bAllowDraw; }
  CRuntimeClass* GetCellClass() const { return m_pCellClass; }
  CGridCtrl* GetGrid() const { return m_pGrid; }

 private:
  void setLevel(int row, unsigned char b);
  CGridCtrl* m_pGrid = nullptr;
  int m_nColumn = -1;
  int m_nFixedRows = 0;
  int m_nEndRow = 0;
  int m_nIndent = 10;
  BOOL m_bTreeLines = FALSE;
  BOOL m_bTreeUsesImages = FALSE;
  COLORREF m_crTreeLine = 0;
  BOOL m_bAllowDraw = TRUE;
  CRuntimeClass* m_pCellClass = nullptr;
};

// ---- Editors and the title tip -------------------------------------------------------------

// Deletes an editor whose window could not be made; answers the editor or null.
template <class Editor>
Editor* KeepIfOpen(Editor* e) {
  if (e->m_hWnd) return e;
  delete e;
  return nullptr;
}

// The text box a cell opens; deletes itself when its window dies (one whose window could not be
// made has none, and its creator deletes it: see KeepIfOpen).
class CInPlaceEdit : public CEdit {
 public:
  CInPlaceEdit(CWnd* parent, const CRect& rect, DWORD style, UINT id, int row, int col,
               const CString& initText, UINT firstChar);
  void EndEdit();
  UINT LastKey() const { return m_nLastChar; }

 protected:
  void OnKeyDown(UINT key, UINT repeat, UINT flags) override;
  void OnChar(UINT ch, UINT repeat, UINT flags) override;
  void OnKillFocus(CWnd* next) override;
  UINT OnGetDlgCode() override;
  void PostNcDestroy() override;

 private:
  int m_nRow, m_nColumn;
  CString m_sInitText;
  UINT m_nLastChar = 0;
  BOOL m_bExitOnArrows;
};

class CInPlaceListForGridCell;

// The edit child (1001) of an open list.
class CComboEditForGridCell : public CEdit {
 public:
  explicit CComboEditForGridCell(CInPlaceListForGridCell* list) : m_pList(list) {}
  BOOL m_bExitOnArrows = FALSE;

 protected:
  void OnKeyDown(UINT key, UINT repeat, UINT flags) override;
  void OnChar(UINT ch, UINT repeat, UINT flags) override;
  void OnKillFocus(CWnd* next) override;
  UINT OnGetDlgCode() override;

 private:
  CInPlaceListForGridCell* m_pList;
};

// The list a CGridCellCombo opens; deletes itself when its window dies.
class CInPlaceListForGridCell : public CComboBox {
 public:
  CInPlaceListForGridCell(CWnd* parent, CRect rect, DWORD style, UINT id, int row, int col,
                          COLORREF crFore, COLORREF crBack, const CStringArray& items,
                          const CString& initText, UINT firstChar, int cellHeight);
  ~CInPlaceListForGridCell() override;
  void EndEdit();
  // Fixes the text that the edit ends with.
  void SetEditorText(const CString& s) { m_sEditorText = s; m_bEditorTextSet = true; }
  void SetLastKey(UINT k) { m_nLastChar = k; }
  void RestoreInitText() { SetWindowText(m_sInitText); }
  BOOL IsSelChangeRunning() const { return m_bSelChangeRunning; }

 protected:
  void OnKeyDown(UINT key, UINT repeat, UINT flags) override;
  void OnChar(UINT ch, UINT repeat, UINT flags) override;
  void OnKillFocus(CWnd* next) override;
  UINT OnGetDlgCode() override;
  BOOL OnChildNotify(UINT msg, WPARAM w, LPARAM l, LRESULT* result) override;
  void PostNcDestroy() override;

 private:
  void onSelChange();
  int m_nRow, m_nCol;
  CString m_sInitText, m_sEditorText;
  bool m_bEditorTextSet = false;
  UINT m_nLastChar = 0;
  bool m_bSelChangeRunning = false;
  bool m_bSelEndCancel = false;
  std::unique_ptr<CComboEditForGridCell> m_edit;
};

// The pop-up that shows the whole text of a cell too narrow for it.
class CTitleTip : public CWnd {
 public:
  BOOL Create(CWnd* parent);
  // Shows text over rect (client coordinates of the parent) in the font; false if it fits.
  BOOL Show(const CRect& rect, const CString& text, const LOGFONT* font);
  void Hide();
  BOOL IsShown() const { return m_bShown; }
  CString GetTipText() const { return m_text; }

 protected:
  void OnPaint() override;
  void OnLButtonDown(UINT flags, CPoint p) override;
  void OnRButtonDown(UINT flags, CPoint p) override;
  void OnKeyDown(UINT key, UINT repeat, UINT flags) override;

 private:
  void passOn(UINT msg, UINT flags, CPoint p);
  CWnd* m_pParentWnd = nullptr;
  CString m_text;
  LOGFONT m_lf{};
  bool m_bShown = false;
};

// ---- The control ---------------------------------------------------------------------------

class CGridCtrl : public CWnd {
  DECLARE_DYNAMIC(CGridCtrl)

 public:
  explicit CGridCtrl(int nRows = 0, int nCols = 0, int nFixedRows = 0, int nFixedCols = 0);
  ~CGridCtrl() override;

  BOOL Create(const RECT& rect, CWnd* parent, UINT id, DWORD style = WS_CHILD | WS_BORDER | WS_TABSTOP | WS_VISIBLE);

  // Structure.
  int GetRowCount() const { return m_nRows; }
  int GetColumnCount() const { return m_nCols; }
  int GetFixedRowCount() const { return m_nFixedRows; }
  int GetFixedColumnCount() const { return m_nFixedCols; }
  BOOL SetRowCount(int n);
  BOOL SetColumnCount(int n);
  BOOL SetFixedRowCount(int n);
  BOOL SetFixedColumnCount(int n);
  int InsertRow(LPCTSTR heading, int row = -1);
  BOOL DeleteRow(int row);
  BOOL DeleteAllItems();
  BOOL SwapRows(int a, int b);
  BOOL SetColumnWidth(int col, int width);
  BOOL SetRowHeight(int row, int height);
  int GetColumnWidth(int col) const;
  int GetRowHeight(int row) const;
  BOOL SetColumnName(int col, LPCTSTR name);
  int GetColumnByName(LPCTSTR name) const;
  void SetListMode(BOOL b);
  BOOL GetListMode() const { return m_bListMode; }
  BOOL SetCellType(int row, int col, CRuntimeClass* cls);
  BOOL SetDefCellType(CRuntimeClass* cls);
  BOOL SetComboColumn(int col, BOOL open);
  BOOL SetColumnOptions(int col, const CStringArray& options);
  BOOL SetColumnOptionData(int col, const CDWordArray& data);
  BOOL SetColumnKind(int col, int kind);
  int GetColumnKind(int col) const;
  BOOL SetColumnCaption(int col, LPCTSTR caption);

  // Cells.
  CGridCellBase* GetCell(int row, int col) const;
  CString GetItemText(int row, int col) const;
  BOOL SetItemText(int row, int col, LPCTSTR text);
  CString GetItemText(int row, LPCTSTR colName) const;
  BOOL SetItemText(int row, LPCTSTR colName, LPCTSTR text);
  BOOL SetItemBkColour(int row, int col, COLORREF c = CLR_DEFAULT);
  COLORREF GetItemBkColour(int row, int col) const;
  BOOL SetItemState(int row, int col, DWORD state);
  DWORD GetItemState(int row, int col) const;
  BOOL SetBold(int row, int col, BOOL bold);
  BOOL MergeCells(int r1, int c1, int r2, int c2);
  BOOL IsModified() const { return m_bModified; }
  void SetModified(BOOL b = TRUE) { m_bModified = b; }
  CGridDefaultCell* GetDefaultCell(BOOL fixedRow, BOOL fixedCol) const;
  void SetImageList(CImageList* list) { m_pImageList = list; }
  CImageList* GetImageList() const { return m_pImageList; }

  // Focus and view.
  CCellID SetFocusCell(int row, int col);
  CCellID GetFocusCell() const { return m_idCurrentCell; }
  int GetFocusRow() const { return m_idCurrentCell.row; }
  int GetFocusColumn() const { return m_idCurrentCell.col; }
  void SelectRow(int row);
  BOOL GetSelectedRange(int& r1, int& c1, int& r2, int& c2) const;
  BOOL IsCellSelected(int row, int col) const;
  void SelectAllCells();
  void EnsureVisible(int row, int col);
  void SetRedraw(BOOL allow, BOOL resetScrollBars = FALSE);
  BOOL GetRedraw() const { return m_bAllowDraw; }
  void Refresh();
  long GetVirtualWidth() const;
  long GetVirtualHeight() const;
  void AutoSizeColumns(int style = 0, BOOL shrink = TRUE);
  void AutoSizeColumn(int col, int style = 0, BOOL shrink = TRUE);
  void BeginEditFocusCell();
  // Prints the grid; with no context it asks the print dialog for one.
  void Print(CDC* pPrntDC = nullptr);
  BOOL GetCellRect(int row, int col, LPRECT rect);
  CCellID GetCellFromPt(CPoint p) const;
  CCellID GetTopleftNonFixedCell() const;
  void GetVisibleNonFixedCellRange(int& r1, int& c1, int& r2, int& c2) const;
  void EndEditing();

  // Settings.
  void SetEditable(BOOL b = TRUE) { m_bEditable = b; }
  BOOL IsEditable() const { return m_bEditable; }
  void SetHandleTabKey(BOOL b = TRUE) { m_bHandleTabKey = b; }
  void EnableTitleTips(BOOL b = TRUE) { m_bTitleTips = b; }
  BOOL GetTitleTips() const { return m_bTitleTips; }
  void SetAutoSizeStyle(int s) { m_nAutoSizeColumnStyle = s; }
  void SetColumnResize(BOOL b) { m_bAllowColumnResize = b; }
  void SetRowResize(BOOL b) { m_bAllowRowResize = b; }
  void SetSortColumn(int col) { m_nSortColumn = col; }
  int GetSortColumn() const { return m_nSortColumn; }
  void SetGridLineColor(COLORREF c) { m_crGridLineColour = c; }
  COLORREF GetGridBkColor() const { return m_crGridBkColour; }
  CFont* GetFont() const;
  const LOGFONT* GetGridLogFont() const;
  GridMouseMode GetMouseMode() const { return m_MouseMode; }
  CTitleTip& GetTitleTip() { return m_TitleTip; }
  // The cells the last paint visited (the visible ones): a measure, not a setting.
  int GetPaintedCellCount() const { return m_nPaintedCells; }
  int GetHScrollStep() const { return m_nHScrollPos; }
  int GetVScrollPos() const { return m_nVScrollPos; }

  // The outline column.
  BOOL SetupTreeColumn(int col);
  CTreeColumn m_TreeColumn;

  // Sends a notification to the owner; answers its result.
  LRESULT SendMessageToParent(int row, int col, int code) const;
  LRESULT SendKeyToParent(UINT key, UINT repeat, UINT flags) const;
  // Called by the cell editors at their end.
  void OnEndEditCell(int row, int col, const CString& text);
  // A cell's font as a drawable object (cached per distinct font).
  CFont* FontFor(const LOGFONT* lf);
  // The height of one line in that font (cached): what an empty cell measures.
  int LineHeightFor(const LOGFONT* lf);
  // Used by the tree: renumber the cells' coordinates from `row` down.
  void ResetCellCoords(int fromRow);
  int InsertRowFast(int row);
  void DeleteRowFast(int row);
  BOOL IsTreeBranchRunning() const { return m_bBranchRunning; }
  void SetTreeBranchRunning(BOOL b) { m_bBranchRunning = b; }
  // Renews scroll ranges and the column fill.
  void ResetScrollBars();

 protected:
  void OnPaint() override;
  BOOL OnEraseBkgnd(CDC*) override { return TRUE; }
  void OnSize(UINT type, int cx, int cy) override;
  void OnLButtonDown(UINT flags, CPoint p) override;
  void OnLButtonUp(UINT flags, CPoint p) override;
  void OnLButtonDblClk(UINT flags, CPoint p) override;
  void OnMouseMove(UINT flags, CPoint p) override;
  BOOL OnMouseWheel(UINT flags, short delta, CPoint screen) override;
  void OnKeyDown(UINT key, UINT repeat, UINT flags) override;
  void OnChar(UINT ch, UINT repeat, UINT flags) override;
  UINT OnGetDlgCode() override;
  void OnHScroll(UINT code, UINT pos, CScrollBar* bar) override;
  void OnVScroll(UINT code, UINT pos, CScrollBar* bar) override;
  BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result) override;
  void OnKillFocus(CWnd* next) override;
  void OnTimer(UINT_PTR id) override;
  // A grid taken over from a dialog template's custom control gets its tip and bars here.
  void PreSubclassWindow() override;

 private:
  using Row = std::vector<std::unique_ptr<CGridCellBase>>;
  std::unique_ptr<CGridCellBase> CreateCell(int row, int col);
  void setupNewCell(CGridCellBase* cell, int row, int col);
  void resetCellToDefaults(int row, int col);
  void OnEditCell(int row, int col, CPoint point, UINT key);
  void DrawCellAt(CDC* dc, int row, int col, CRect rect, std::set<CCellID>* mergeDone);
  void paintInto(CDC* dc, const CRect& client);
  void fillColumns();
  void applyScrollBars();
  void rebuildRowTops() const;
  int rowTop(int row) const;  // virtual y of a row (fixed rows start at 0)
  int fixedRowHeight() const;
  int fixedColumnWidth() const;
  int leftColumnForStep(int step) const;
  int hScrollRange() const;
  CCellID mergeHead(CCellID c) const;
  int nextVisibleRow(int row, int dir) const;
  int nextVisibleCol(int col, int dir) const;
  void moveFocusByKey(UINT key, bool ctrl, bool shift);
  void changeSelectionTo(CCellID cell);
  void clearSelection();
  void setSelected(CCellID c, bool on);
  void setVScroll(int pos);
  void setHScroll(int step);
  bool overColumnDivider(CPoint p, int& col) const;
  // Moves the inverted drag line of a divider to p (inverting twice restores what was beneath);
  // with erase, only takes the old line away.
  void trackSizingLine(CPoint p, bool erase);
  // Starts dragging a column (SizingCol) or row (SizingRow) divider pressed at p.
  void startSizing(GridMouseMode mode, int divider, CPoint p);
  bool overRowDivider(CPoint p, int& row) const;
  void showTitleTip(CPoint p);
  void extendSelectionTo(CPoint p);
  void printPage(CDC* dc, int page, int pages, const std::vector<int>& starts, double scale, const CRect& pageRect, int lineH);
  CString documentName() const;
  bool cellTextRect(int row, int col, CRect& r);

  int m_nRows = 0, m_nFixedRows = 0, m_nCols = 0, m_nFixedCols = 0;
  std::vector<int> m_arRowHeights, m_arColWidths;
  std::vector<Row> m_RowData;
  std::vector<int> m_arColOrder;
  std::vector<int> m_arColType;
  std::map<int, CStringArray> m_ColOptions;
  std::map<int, CDWordArray> m_ColOptionData;
  std::map<int, CString> m_ColCaptions;
  std::map<CString, int> m_ColNames;
  CGridDefaultCell m_cellDefault, m_cellFixedColDef, m_cellFixedRowDef, m_cellFixedRowColDef;
  CRuntimeClass* m_pRtcDefault = nullptr;
  CCellID m_idCurrentCell;
  std::set<CCellID> m_SelectedCells;
  CTitleTip m_TitleTip;
  GridMouseMode m_MouseMode = GridMouseMode::Nothing;
  int m_nSortColumn = -1;
  BOOL m_bModified = FALSE;
  BOOL m_bEditable = TRUE;
  BOOL m_bListMode = FALSE;
  BOOL m_bTitleTips = TRUE;
  BOOL m_bAllowDraw = TRUE;
  BOOL m_bHandleTabKey = FALSE;
  BOOL m_bAllowColumnResize = TRUE, m_bAllowRowResize = TRUE;
  BOOL m_bDoubleBuffer = TRUE;
  BOOL m_bBranchRunning = FALSE;
  int m_nResizeCaptureRange = 7;
  int m_nAutoSizeColumnStyle = 3;
  int m_nAutoScrollTimerMs = 25;
  COLORREF m_crGridLineColour, m_crGridBkColour = 0xC0C0C0;
  CImageList* m_pImageList = nullptr;
  int m_nVScrollPos = 0, m_nHScrollPos = 0;
  mutable std::vector<int> m_rowTops;  // prefix sums of heights; rebuilt when dirty
  mutable bool m_bRowTopsDirty = true;
  mutable std::optional<CCellID> m_topLeftCache;
  bool m_bInResize = false;
  bool m_bNoSelectOnNextPress = false;
  bool m_bClickDown = false;
  CCellID m_LeftClickDownCell;
  CPoint m_LeftClickDownPoint;
  int m_nSizingIndex = -1;
  CRect m_rcSizingLine;  // the inverted line drawn while a divider is dragged; empty when none
  int m_nPaintedCells = 0;
  CPoint m_LastMousePoint;
  bool m_bAutoScrolling = false;
  std::map<std::string, std::unique_ptr<CFont>> m_fontCache;
  std::map<std::string, int> m_lineHeights;
};
