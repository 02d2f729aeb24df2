// Printing the grid: page layout in character units of a 10-point Arial, the grid scaled to the
// page width, pages split on row boundaries, header and footer on each page.
#include <algorithm>
#include <ctime>
#include <memory>
#include <vector>

#include "gridctrl.h"

namespace {
constexpr int kHeaderLines = 2, kFooterLines = 2, kSideChars = 4, kGapLines = 1;
}

namespace {
// The window text of the nearest ancestor that has one.
CString ancestorTitle(const CWnd* grid) {
  for (CWnd* w = grid->GetParent(); w; w = w->GetParent()) {
    CString t;
    w->GetWindowText(t);
    if (!t.IsEmpty()) return t;
  }
  return CString();
}
}  // namespace

// The application title, or else the nearest ancestor's.
CString CGridCtrl::documentName() const {
  CString app = AfxGetAppName() ? AfxGetAppName() : L"";
  return app.IsEmpty() ? ancestorTitle(this) : app;
}

void CGridCtrl::Print(CDC* pPrntDC) {
  std::unique_ptr<CDC> own;
  if (!pPrntDC) {
    CPrintDialog dlg(FALSE, 0x14000C, this);
    if (dlg.DoModal() != IDOK || !dlg.GetPrinterDC()) return;
    own = std::make_unique<CDC>();
    own->Attach(dlg.GetPrinterDC());
    own->m_bPrinting = TRUE;
    pPrntDC = own.get();
  }
  EndEditing();
  CFont font;
  font.CreatePointFont(100, L"Arial", pPrntDC);
  CFont* oldFont = pPrntDC->SelectObject(&font);
  const CString letters = L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSATUVWXYZ";
  CSize ext = pPrntDC->GetTextExtent(letters.Left(52));
  int charW = std::max(1, static_cast<int>(ext.cx / 52)), lineH = std::max(1, static_cast<int>(ext.cy));
  CRect page(0, 0, pPrntDC->GetDeviceCaps(HORZRES), pPrntDC->GetDeviceCaps(VERTRES));
  // The grid's pixels are scaled so its width and the margins fill the page width.
  double scale = static_cast<double>(page.Width() - 2 * kSideChars * charW) / std::max(1L, GetVirtualWidth());
  int bodyH = page.Height() - (kHeaderLines + kFooterLines + 2 * kGapLines) * lineH;
  int fixedH = static_cast<int>(fixedRowHeight() * scale);
  std::vector<int> starts{m_nFixedRows};
  int used = fixedH;
  for (int r = m_nFixedRows; r < m_nRows; ++r) {
    int h = static_cast<int>(GetRowHeight(r) * scale);
    if (used + h > bodyH && used > fixedH) {
      starts.push_back(r);
      used = fixedH;
    }
    used += h;
  }
  starts.push_back(m_nRows);
  int pages = static_cast<int>(starts.size()) - 1;
  pPrntDC->StartDoc(documentName());
  for (int p = 0; p < pages; ++p) {
    pPrntDC->StartPage();
    printPage(pPrntDC, p, pages, starts, scale, page, lineH);
    pPrntDC->EndPage();
  }
  pPrntDC->EndDoc();
  pPrntDC->SelectObject(oldFont);
  if (own) DeleteDC(own->Detach());
}

// One page: bold header and rule, fixed rows, the page's rows, rule and bold footer.
void CGridCtrl::printPage(CDC* dc, int page, int pages, const std::vector<int>& starts, double scale,
                          const CRect& pageRect, int lineH) {
  CSize one = dc->GetTextExtent(CString(L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSATUVWXYZ"));
  int charW = std::max(1, static_cast<int>(one.cx / 52));
  int left = kSideChars * charW, right = pageRect.right - kSideChars * charW;
  LOGFONT lf{};
  CFont* cur = dc->GetCurrentFont();
  if (cur) cur->GetLogFont(&lf);
  lf.lfWeight = FW_BOLD;
  CFont bold;
  bold.CreateFontIndirect(&lf);
  int saved = dc->SaveDC();
  dc->SelectObject(&bold);
  dc->SetBkMode(TRANSPARENT);
  CRect header(left, 0, right, kHeaderLines * lineH);
  dc->DrawText(ancestorTitle(this), header, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
  dc->DrawText(CString(AfxGetAppName()), header, DT_RIGHT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
  dc->MoveTo(left, header.bottom);
  dc->LineTo(right, header.bottom);
  int y = header.bottom + kGapLines * lineH;
  // The rows are drawn in the grid's own pixels, scaled onto the page by the mapping mode, so
  // cells print with their screen fonts and margins at the page's size.
  int body = dc->SaveDC();
  dc->SelectObject(cur);
  dc->SetMapMode(MM_ANISOTROPIC);
  dc->SetWindowExt(10000, 10000);
  dc->SetViewportExt(static_cast<int>(10000 * scale), static_cast<int>(10000 * scale));
  dc->SetViewportOrg(left, y);
  int gy = 0;
  auto printRow = [&](int r) {
    int h = GetRowHeight(r);
    if (h <= 0) return;
    int x = 0;
    for (int c = 0; c < m_nCols; ++c) {
      int w = GetColumnWidth(c);
      CGridCellBase* cell = GetCell(r, c);
      if (w > 0 && cell && (cell->IsShow() || cell->IsMergeHead())) {
        CRect rect(x, gy, x + w, gy + h);
        if (cell->IsMergeHead()) {
          CRect range = cell->GetMergeRange();
          for (int cc = c + 1; cc <= range.right; ++cc) rect.right += GetColumnWidth(cc);
        }
        cell->PrintCell(dc, r, c, rect);
      }
      x += w;
    }
    gy += h;
  };
  for (int r = 0; r < m_nFixedRows; ++r) printRow(r);
  for (int r = starts[static_cast<std::size_t>(page)]; r < starts[static_cast<std::size_t>(page) + 1]; ++r) printRow(r);
  dc->RestoreDC(body);
  dc->SelectObject(&bold);
  int footTop = pageRect.bottom - kFooterLines * lineH;
  dc->MoveTo(left, footTop);
  dc->LineTo(right, footTop);
  CRect footer(left, footTop, right, pageRect.bottom);
  CString num;
  num.Format(L"Page %d of %d", page + 1, pages);
  dc->DrawText(num, footer, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
  wchar_t when[128] = L"";
  std::time_t now = std::time(nullptr);
  std::wcsftime(when, 128, L"%c", std::localtime(&now));
  dc->DrawText(CString(when), footer, DT_RIGHT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
  dc->RestoreDC(saved);
}
