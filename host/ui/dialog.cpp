// Dialogs: templates in dialog units, creation, the dialog manager (tab order, default button,
// Enter and Esc), CDialog with its modal run, CAcUiDialog's remembered size and resize rules,
// and data exchange.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <cwctype>
#include <cstdio>
#include <map>
#include <sstream>

#include "impl.h"

using namespace kvui::detail;

namespace {

std::map<UINT, DialogTemplate>& templates() {
  static std::map<UINT, DialogTemplate> t;
  return t;
}

// The dialog class: background, default button id, focus memory, Esc through IDCANCEL.
class DialogProc : public Control {
 public:
  ~DialogProc() override {
    if (font_) DeleteObject(font_);
  }
  void setFont(HFONT f) { font_ = f; }
  LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) override {
    switch (msg) {
      case WM_ERASEBKGND: {
        HDC dc = reinterpret_cast<HDC>(w);
        auto brush = reinterpret_cast<HBRUSH>(SendMessage(h, WM_CTLCOLORDLG, w, reinterpret_cast<LPARAM>(h)));
        CRect c;
        GetClientRect(h, &c);
        FillRect(dc, &c, brush ? brush : GetSysColorBrush(COLOR_3DFACE));
        return 1;
      }
      case DM_GETDEFID: return MAKELONG(h->defId, DC_HASDEFID);
      case DM_SETDEFID: setDefault(h, static_cast<UINT>(w)); return TRUE;
      case WM_CLOSE:
        SendMessage(h, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(h, IDCANCEL)));
        return 0;
      case WM_SETFOCUS: {
        HWND target = isLive(h->lastFocus) && IsChild(h, h->lastFocus) ? h->lastFocus : GetNextDlgTabItem(h, nullptr, FALSE);
        if (target) SetFocus(target);
        return 0;
      }
      case WM_NEXTDLGCTL: {
        HWND target = LOWORD(l) ? reinterpret_cast<HWND>(w) : GetNextDlgTabItem(h, GetFocus(), w != 0);
        if (target) focusDialogControl(target);
        return 0;
      }
      default: return DefWindowProc(h, msg, w, l);
    }
  }

 private:
  static void setDefault(HWND h, UINT id) {
    h->defId = id;
    for (HWND c : h->children) {
      if (c->cls->name != L"Button") continue;
      DWORD type = c->style & BS_TYPEMASK;
      if (type != BS_PUSHBUTTON && type != BS_DEFPUSHBUTTON) continue;
      DWORD want = static_cast<UINT>(c->id) == id ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
      if (type != want) SendMessage(c, BM_SETSTYLE, want, TRUE);
    }
  }
  HFONT font_ = nullptr;
};

int toPixelsX(int dlu, CSize base) { return (dlu * base.cx + 2) / 4; }
int toPixelsY(int dlu, CSize base) { return (dlu * base.cy + 4) / 8; }

HWND findById(HWND root, int id) {
  for (HWND c : root->children) {
    if (c->id == id) return c;
    if (HWND d = findById(c, id)) return d;
  }
  return nullptr;
}

}  // namespace

namespace kvui::detail {

std::unique_ptr<Control> makeDialogProc() { return std::make_unique<DialogProc>(); }

void focusDialogControl(HWND control) {
  if (!isLive(control)) return;
  SetFocus(control);
  UINT code = static_cast<UINT>(SendMessage(control, WM_GETDLGCODE, 0, 0));
  if (code & DLGC_HASSETSEL) SendMessage(control, EM_SETSEL, 0, -1);
}

}  // namespace kvui::detail

// ---- Templates ----------------------------------------------------------------------------------

namespace kvui {

void RegisterDialogTemplate(const DialogTemplate& t) { templates()[t.id] = t; }

const DialogTemplate* FindDialogTemplate(UINT id) {
  auto it = templates().find(id);
  return it == templates().end() ? nullptr : &it->second;
}

DialogItem Control(LPCTSTR text, UINT id, LPCTSTR className, DWORD style, short x, short y, short cx, short cy, DWORD exStyle) {
  DialogItem d;
  d.className = className;
  d.text = text ? text : L"";
  d.id = id;
  d.style = style;
  d.exStyle = exStyle;
  d.x = x;
  d.y = y;
  d.cx = cx;
  d.cy = cy;
  return d;
}
DialogItem PushButton(LPCTSTR text, UINT id, short x, short y, short cx, short cy, DWORD style) {
  return Control(text, id, L"Button", BS_PUSHBUTTON | style, x, y, cx, cy);
}
DialogItem DefPushButton(LPCTSTR text, UINT id, short x, short y, short cx, short cy, DWORD style) {
  return Control(text, id, L"Button", BS_DEFPUSHBUTTON | style, x, y, cx, cy);
}
DialogItem LText(LPCTSTR text, UINT id, short x, short y, short cx, short cy, DWORD style) {
  return Control(text, id, L"Static", SS_LEFT | style, x, y, cx, cy);
}
DialogItem EditText(UINT id, short x, short y, short cx, short cy, DWORD style) {
  return Control(L"", id, L"Edit", style | WS_BORDER, x, y, cx, cy, WS_EX_CLIENTEDGE);
}
DialogItem ComboBox(UINT id, short x, short y, short cx, short cy, DWORD style) {
  return Control(L"", id, L"ComboBox", style, x, y, cx, cy);
}
DialogItem ListBox(UINT id, short x, short y, short cx, short cy, DWORD style) {
  return Control(L"", id, L"ListBox", style, x, y, cx, cy, WS_EX_CLIENTEDGE);
}

}  // namespace kvui

BOOL MapDialogRect(HWND dialog, LPRECT r) {
  if (!isLive(dialog) || !r) return FALSE;
  LOGFONT lf = defaultGuiFont();
  if (HFONT__* f = asFont(dialog->font)) lf = f->lf;
  int pt = static_cast<int>(std::lround(emPixels(lf.lfHeight) * 72.0 / 96.0));
  CSize base = dialogBaseUnits(lf.lfFaceName, pt);
  *r = RECT{toPixelsX(r->left, base), toPixelsY(r->top, base), toPixelsX(r->right, base), toPixelsY(r->bottom, base)};
  return TRUE;
}

// ---- The dialog manager ----------------------------------------------------------------------------

HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous) {
  if (!isLive(dialog)) return nullptr;
  std::vector<HWND> stops;
  for (HWND c : dialog->children)
    if ((c->style & WS_TABSTOP) && (c->style & WS_VISIBLE) && !(c->style & WS_DISABLED)) stops.push_back(c);
  if (stops.empty()) return nullptr;
  while (control && control->parent != dialog && (control->style & WS_CHILD)) control = control->parent;
  auto it = std::find(stops.begin(), stops.end(), control);
  if (it == stops.end()) return previous ? stops.back() : stops.front();
  std::size_t i = static_cast<std::size_t>(it - stops.begin());
  std::size_t n = stops.size();
  return stops[previous ? (i + n - 1) % n : (i + 1) % n];
}

namespace {

wchar_t mnemonicOf(const std::wstring& text) {
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != L'&') continue;
    if (text[i + 1] != L'&') return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(text[i + 1])));
    ++i;
  }
  return 0;
}

// Alt and a letter: the control whose text underlines it is pressed, or, for a label, the control
// after it takes the focus.
BOOL mnemonic(HWND dialog, wchar_t ch) {
  wchar_t want = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(ch)));
  auto& kids = dialog->children;
  for (std::size_t i = 0; i < kids.size(); ++i) {
    HWND c = kids[i];
    if (!(c->style & WS_VISIBLE) || (c->style & WS_DISABLED) || mnemonicOf(c->text) != want) continue;
    if (c->cls->name == L"Button" && (c->style & BS_TYPEMASK) != BS_GROUPBOX) {
      SetFocus(c);
      SendMessage(c, BM_CLICK, 0, 0);
      return TRUE;
    }
    for (std::size_t k = i + 1; k < kids.size(); ++k)
      if ((kids[k]->style & WS_TABSTOP) && (kids[k]->style & WS_VISIBLE) && !(kids[k]->style & WS_DISABLED)) {
        focusDialogControl(kids[k]);
        return TRUE;
      }
  }
  return FALSE;
}

}  // namespace

BOOL IsDialogMessage(HWND dialog, LPMSG msg) {
  if (!isLive(dialog) || !msg) return FALSE;
  if (msg->message == WM_SYSCHAR && (msg->hwnd == dialog || IsChild(dialog, msg->hwnd)))
    return mnemonic(dialog, static_cast<wchar_t>(msg->wParam));
  if (msg->message != WM_KEYDOWN) return FALSE;
  if (!IsChild(dialog, msg->hwnd) && msg->hwnd != dialog) return FALSE;
  UINT code = static_cast<UINT>(SendMessage(msg->hwnd, WM_GETDLGCODE, msg->wParam, reinterpret_cast<LPARAM>(msg)));
  if (code & DLGC_WANTMESSAGE) return FALSE;
  switch (msg->wParam) {
    case VK_TAB: {
      if (code & DLGC_WANTTAB) return FALSE;
      HWND next = GetNextDlgTabItem(dialog, GetFocus(), GetKeyState(VK_SHIFT) < 0);
      if (next) focusDialogControl(next);
      return TRUE;
    }
    case VK_RETURN: {
      HWND focus = GetFocus();
      UINT id = dialog->defId;
      if (focus && focus->cls->name == L"Button" && ((focus->style & BS_TYPEMASK) <= BS_DEFPUSHBUTTON)) id = static_cast<UINT>(focus->id);
      HWND button = GetDlgItem(dialog, static_cast<int>(id));
      if (button && !IsWindowEnabled(button)) return TRUE;
      SendMessage(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
      return TRUE;
    }
    case VK_ESCAPE:
      SendMessage(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDCANCEL)));
      return TRUE;
    default: return FALSE;
  }
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
  if (!isLive(dialog)) return FALSE;
  dialog->dialogResult = result;
  dialog->dialogEnded = true;
  return TRUE;
}

BOOL SetDlgItemText(HWND dialog, int id, LPCTSTR text) { return SetWindowText(GetDlgItem(dialog, id), text); }
UINT GetDlgItemText(HWND dialog, int id, LPTSTR buffer, int max) {
  return static_cast<UINT>(GetWindowText(GetDlgItem(dialog, id), buffer, max));
}
LRESULT SendDlgItemMessage(HWND dialog, int id, UINT msg, WPARAM w, LPARAM l) { return SendMessage(GetDlgItem(dialog, id), msg, w, l); }
BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
  HWND b = GetDlgItem(dialog, id);
  if (!b) return FALSE;
  SendMessage(b, BM_SETCHECK, check, 0);
  return TRUE;
}
UINT IsDlgButtonChecked(HWND dialog, int id) { return static_cast<UINT>(SendMessage(GetDlgItem(dialog, id), BM_GETCHECK, 0, 0)); }

// ---- CDialog --------------------------------------------------------------------------------------

CDialog::CDialog(UINT templateId, CWnd* parent) : m_pParentWnd(parent), templateId_(templateId) {}
CDialog::~CDialog() = default;

bool CDialog::createFromTemplate(const DialogTemplate& t, HWND owner) {
  CSize base = dialogBaseUnits(t.fontFace, t.pointSize);
  int cw = toPixelsX(t.cx, base), ch = toPixelsY(t.cy, base);
  kvuiSetPendingAttach(this);
  HWND h = CreateWindowEx(t.exStyle, L"#32770", t.title, (t.style & ~WS_VISIBLE) | WS_CLIPCHILDREN, 0, 0, cw, ch, owner, nullptr, nullptr, nullptr);
  kvuiSetPendingAttach(nullptr);
  if (!h) return false;
  h->isDialog = true;
  CRect in = clientInsets(h);
  int w = cw + in.left + in.right, hh = ch + in.top + in.bottom;
  int x = (GetSystemMetrics(SM_CXSCREEN) - w) / 2, y = (GetSystemMetrics(SM_CYSCREEN) - hh) / 2;
  h->rect = CRect(x, y, x + w, y + hh);
  LOGFONT lf = defaultGuiFont();
  lf.lfHeight = -((t.pointSize * 96 + 36) / 72);
  std::wcsncpy(lf.lfFaceName, t.fontFace, LF_FACESIZE - 1);
  HFONT font = CreateFontIndirect(&lf);
  static_cast<DialogProc*>(h->control.get())->setFont(font);
  h->font = font;
  for (const DialogItem& item : t.items) {
    DWORD style = item.style | WS_CHILD | WS_VISIBLE;
    HWND c = CreateWindowEx(item.exStyle, item.className, item.text, style, toPixelsX(item.x, base), toPixelsY(item.y, base),
                            toPixelsX(item.cx, base), toPixelsY(item.cy, base), h, reinterpret_cast<HMENU>(static_cast<std::uintptr_t>(item.id)), nullptr, nullptr);
    if (!c) {
      std::fprintf(stderr, "dialog %u: the control %u of class \"%s\" could not be created\n", t.id, item.id, kvui::toUtf8(item.className.str()).c_str());
      ::DestroyWindow(h);
      return false;
    }
    ::SendMessage(c, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    if (item.className.CompareNoCase(L"Button") == 0 && (item.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON) h->defId = item.id;
  }
  ::SendMessage(h, WM_SIZE, SIZE_RESTORED, MAKELPARAM(cw, ch));
  return isLive(h);
}

INT_PTR CDialog::DoModal() {
  const DialogTemplate* t = kvui::FindDialogTemplate(templateId_);
  if (!t || m_hWnd) return -1;
  HWND owner = m_pParentWnd && m_pParentWnd->m_hWnd ? m_pParentWnd->m_hWnd : AfxGetMainWnd()->m_hWnd;
  if (!createFromTemplate(*t, owner)) return -1;
  HWND h = m_hWnd;
  bool ownerEnabled = ::IsWindowEnabled(owner);
  ::EnableWindow(owner, FALSE);
  pushModal(h);
  result_ = IDCANCEL;
  HWND first = ::GetNextDlgTabItem(h, nullptr, FALSE);
  LRESULT setFocus = ::SendMessage(h, WM_INITDIALOG, reinterpret_cast<WPARAM>(first), 0);
  if (isLive(h) && !h->dialogEnded) {
    ShowWindow(SW_SHOW);
    if (setFocus && first) focusDialogControl(first);
    kvui::PumpMessages();
    runModalLoop(h);
  }
  if (isLive(h)) result_ = h->dialogResult;
  popModal(h);
  if (ownerEnabled) ::EnableWindow(owner, TRUE);
  if (isLive(h)) ::DestroyWindow(h);
  return result_;
}

BOOL CDialog::Create(UINT templateId, CWnd* parent) {
  const DialogTemplate* t = kvui::FindDialogTemplate(templateId);
  if (!t || m_hWnd) return FALSE;
  templateId_ = templateId;
  m_pParentWnd = parent;
  if (!createFromTemplate(*t, parent ? parent->m_hWnd : AfxGetMainWnd()->m_hWnd)) return FALSE;
  HWND first = ::GetNextDlgTabItem(m_hWnd, nullptr, FALSE);
  if (SendMessage(WM_INITDIALOG, reinterpret_cast<WPARAM>(first), 0) && first) focusDialogControl(first);
  if (t->style & WS_VISIBLE) ShowWindow(SW_SHOW);
  return TRUE;
}

void CDialog::EndDialog(int result) {
  result_ = result;
  ::EndDialog(m_hWnd, result);
}

LRESULT CDialog::WindowProc(UINT msg, WPARAM w, LPARAM l) {
  if (msg == WM_INITDIALOG) return OnInitDialog();
  return CWnd::WindowProc(msg, w, l);
}

BOOL CDialog::OnInitDialog() {
  UpdateData(FALSE);
  return TRUE;
}
void CDialog::OnOK() {
  if (!UpdateData(TRUE)) return;
  EndDialog(IDOK);
}
void CDialog::OnCancel() { EndDialog(IDCANCEL); }
void CDialog::DoDataExchange(CDataExchange*) {}
BOOL CDialog::UpdateData(BOOL save) {
  CDataExchange dx(this, save);
  DoDataExchange(&dx);
  return TRUE;
}
DWORD CDialog::GetDefID() const { return static_cast<DWORD>(SendMessage(DM_GETDEFID)); }
void CDialog::SetDefID(UINT id) { SendMessage(DM_SETDEFID, id); }
void CDialog::NextDlgCtrl() const { SendMessage(WM_NEXTDLGCTL, 0, 0); }
void CDialog::PrevDlgCtrl() const { SendMessage(WM_NEXTDLGCTL, 1, 0); }
void CDialog::GotoDlgCtrl(CWnd* control) {
  if (control) SendMessage(WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control->m_hWnd), 1);
}

BOOL CDialog::PreTranslateMessage(MSG* msg) {
  if (msg && msg->message >= WM_KEYDOWN && msg->message <= WM_SYSCHAR && isLive(m_hWnd) &&
      (msg->hwnd == m_hWnd || ::IsChild(m_hWnd, msg->hwnd)))
    return IsDialogMessage(m_hWnd, msg);
  return FALSE;
}

BOOL CDialog::OnCommand(WPARAM w, LPARAM l) {
  if (CWnd::OnCommand(w, l)) return TRUE;
  UINT id = LOWORD(w), code = HIWORD(w);
  if (code != BN_CLICKED && l != 0) return FALSE;
  if (id == IDOK) {
    OnOK();
    return TRUE;
  }
  if (id == IDCANCEL) {
    OnCancel();
    return TRUE;
  }
  return FALSE;
}

// ---- CAcUiDialog -----------------------------------------------------------------------------------

namespace {
const wchar_t* kDialogKey = L"Software\\kvhost\\Dialogs";

bool loadPlacement(const CString& name, CRect& r) {
  HKEY key = nullptr;
  if (RegOpenKeyEx(HKEY_CURRENT_USER, kDialogKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  wchar_t buf[128] = {};
  DWORD size = sizeof(buf), type = 0;
  LSTATUS st = RegQueryValueEx(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(buf), &size);
  RegCloseKey(key);
  if (st != ERROR_SUCCESS || type != REG_SZ) return false;
  int x, y, w, h;
  if (std::swscanf(buf, L"%d %d %d %d", &x, &y, &w, &h) != 4 || w <= 0 || h <= 0) return false;
  r = CRect(x, y, x + w, y + h);
  return true;
}

void savePlacement(const CString& name, const CRect& r) {
  HKEY key = nullptr;
  if (RegCreateKeyEx(HKEY_CURRENT_USER, kDialogKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS) return;
  CString text;
  text.Format(L"%d %d %d %d", r.left, r.top, r.Width(), r.Height());
  RegSetValueEx(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.GetString()), static_cast<DWORD>((text.GetLength() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
}
}  // namespace

CAcUiDialog::CAcUiDialog(UINT templateId, CWnd* parent, HINSTANCE) : CDialog(templateId, parent) {}

void CAcUiDialog::SetDialogName(LPCTSTR name) { dialogName_ = name ? name : L""; }

BOOL CAcUiDialog::SetControlProperty(PDLGCTLINFO rules, DWORD count) {
  if (!rules) return FALSE;
  for (DWORD i = 0; i < count; ++i) {
    if (rules[i].flags < ELASTICX || rules[i].flags > MOVEY) return FALSE;
    rules_.push_back(Rule{rules[i].id, rules[i].flags, rules[i].pct});
  }
  if (baseline_.empty() && isLive(m_hWnd)) captureBaseline();
  applyRules();
  return TRUE;
}
void CAcUiDialog::StretchControlX(UINT id, UINT pct) { DLGCTLINFO r{id, ELASTICX, pct}; SetControlProperty(&r, 1); }
void CAcUiDialog::StretchControlY(UINT id, UINT pct) { DLGCTLINFO r{id, ELASTICY, pct}; SetControlProperty(&r, 1); }
void CAcUiDialog::MoveControlX(UINT id, UINT pct) { DLGCTLINFO r{id, MOVEX, pct}; SetControlProperty(&r, 1); }
void CAcUiDialog::MoveControlY(UINT id, UINT pct) { DLGCTLINFO r{id, MOVEY, pct}; SetControlProperty(&r, 1); }

// The layout of the template is what the rules measure from, whenever they are given.
void CAcUiDialog::captureBaseline() {
  baseline_.clear();
  CRect c;
  GetClientRect(&c);
  baseClient_ = c.Size();
  for (HWND child : m_hWnd->children) baseline_.push_back(Baseline{static_cast<UINT>(child->id), child->rect});
}

void CAcUiDialog::applyRules() {
  if (!isLive(m_hWnd) || baseline_.empty() || rules_.empty()) return;
  CRect c;
  GetClientRect(&c);
  int dx = c.Width() - baseClient_.cx, dy = c.Height() - baseClient_.cy;
  for (const Baseline& b : baseline_) {
    CRect r = b.rect;
    bool touched = false;
    for (const Rule& rule : rules_) {
      if (rule.id != b.id) continue;
      touched = true;
      int mx = dx * static_cast<int>(rule.pct) / 100, my = dy * static_cast<int>(rule.pct) / 100;
      switch (rule.flags) {
        case MOVEX: r.OffsetRect(mx, 0); break;
        case MOVEY: r.OffsetRect(0, my); break;
        case ELASTICX: r.right += mx; break;
        case ELASTICY: r.bottom += my; break;
        default: break;
      }
    }
    HWND child = ::GetDlgItem(m_hWnd, static_cast<int>(b.id));
    if (touched && child && CRect(child->rect) != r) ::MoveWindow(child, r.left, r.top, r.Width(), r.Height(), TRUE);
  }
}

BOOL CAcUiDialog::OnInitDialog() {
  if (baseline_.empty()) captureBaseline();
  BOOL result = CDialog::OnInitDialog();
  CRect saved;
  if (!dialogName_.IsEmpty() && loadPlacement(dialogName_, saved)) {
    CRect now;
    GetWindowRect(&now);
    // Never smaller than the template: the controls were laid out for that size.
    saved.right = saved.left + std::max(saved.Width(), now.Width());
    saved.bottom = saved.top + std::max(saved.Height(), now.Height());
    MoveWindow(&saved);
  }
  restored_ = true;
  applyRules();
  return result;
}

void CAcUiDialog::OnSize(UINT type, int cx, int cy) {
  CDialog::OnSize(type, cx, cy);
  applyRules();
}

void CAcUiDialog::OnDestroy() {
  if (!dialogName_.IsEmpty() && restored_) {
    CRect r;
    GetWindowRect(&r);
    savePlacement(dialogName_, r);
  }
  CDialog::OnDestroy();
}

// ---- Data exchange ---------------------------------------------------------------------------------

void DDX_Control(CDataExchange* dx, int id, CWnd& control) {
  if (!dx || control.m_hWnd) return;
  HWND h = ::GetDlgItem(dx->m_pDlgWnd->m_hWnd, id);
  if (!h || !control.SubclassWindow(h))
    std::fprintf(stderr, "dialog: control %d cannot be subclassed (missing or already attached)\n", id);
}
void DDX_Text(CDataExchange* dx, int id, CString& value) {
  if (dx->m_bSaveAndValidate) dx->m_pDlgWnd->GetDlgItemText(id, value);
  else dx->m_pDlgWnd->SetDlgItemText(id, value);
}
void DDX_Text(CDataExchange* dx, int id, int& value) {
  if (dx->m_bSaveAndValidate) value = static_cast<int>(dx->m_pDlgWnd->GetDlgItemInt(id));
  else dx->m_pDlgWnd->SetDlgItemInt(id, static_cast<UINT>(value));
}
void DDX_Check(CDataExchange* dx, int id, int& value) {
  if (dx->m_bSaveAndValidate) value = static_cast<int>(dx->m_pDlgWnd->IsDlgButtonChecked(id));
  else dx->m_pDlgWnd->CheckDlgButton(id, static_cast<UINT>(value));
}
void DDX_CBIndex(CDataExchange* dx, int id, int& index) {
  if (dx->m_bSaveAndValidate) index = static_cast<int>(dx->m_pDlgWnd->SendDlgItemMessage(id, CB_GETCURSEL));
  else dx->m_pDlgWnd->SendDlgItemMessage(id, CB_SETCURSEL, static_cast<WPARAM>(index));
}

HWND kvuiFindControl(HWND root, int id) { return isLive(root) ? findById(root, id) : nullptr; }
