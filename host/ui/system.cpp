// System services: message boxes and the file and print dialogs answered from the queue,
// ShellExecute requests, the per-user registry file, the in-process clipboard and printer
// contexts that write PDF.
#include <cairo-pdf.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <unordered_set>

#include "ads.h"
#include "impl.h"

using namespace kvui::detail;
namespace fs = std::filesystem;

// ---- Message boxes ----------------------------------------------------------------------------

namespace {

int defaultAnswer(UINT type) {
  switch (type & MB_TYPEMASK) {
    case MB_OK: return IDOK;
    case MB_YESNO: return IDNO;
    case MB_ABORTRETRYIGNORE: return IDABORT;
    default: return IDCANCEL;
  }
}

bool allowed(UINT type, int answer) {
  switch (type & MB_TYPEMASK) {
    case MB_OK: return answer == IDOK;
    case MB_OKCANCEL: return answer == IDOK || answer == IDCANCEL;
    case MB_ABORTRETRYIGNORE: return answer == IDABORT || answer == IDRETRY || answer == IDIGNORE;
    case MB_YESNOCANCEL: return answer == IDYES || answer == IDNO || answer == IDCANCEL;
    case MB_YESNO: return answer == IDYES || answer == IDNO;
    case MB_RETRYCANCEL: return answer == IDRETRY || answer == IDCANCEL;
    default: return false;
  }
}

int answerOf(const std::string& word) {
  static const std::map<std::string, int> words = {{"ok", IDOK}, {"cancel", IDCANCEL}, {"yes", IDYES}, {"no", IDNO},
                                                   {"abort", IDABORT}, {"retry", IDRETRY}, {"ignore", IDIGNORE}};
  std::string w = word;
  for (auto& c : w) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  auto it = words.find(w);
  return it == words.end() ? 0 : it->second;
}

// The next queued event when it is an answer of this kind; otherwise nothing is taken.
std::optional<kvinput::Event> takeAnswer(kvinput::EventKind kind) {
  auto& q = kvinput::InputQueue::instance();
  const kvinput::Event* e = q.peek();
  if (!e || e->kind != kind) return std::nullopt;
  return q.pop();
}

}  // namespace

// The box is shown on the command line, through the console like everything else the host
// writes, so that it keeps its place among acutPrintf's lines and console capture sees it.
int MessageBox(HWND, LPCTSTR text, LPCTSTR title, UINT type) {
  std::string line = "[" + kvui::toUtf8(title ? title : L"Error") + "] " + kvui::toUtf8(text ? text : L"") + "\n";
  kvads::consoleWrite(kvads::consoleAtLineStart() ? line : "\n" + line);
  auto e = takeAnswer(kvinput::EventKind::MessageBox);
  if (!e) return defaultAnswer(type);
  int a = answerOf(e->text);
  if (!allowed(type, a)) {
    inputWarning(e->source, "\"answer " + e->text + "\" is not a button of this message box");
    return defaultAnswer(type);
  }
  return a;
}

int AfxMessageBox(LPCTSTR text, UINT type, UINT) { return MessageBox(nullptr, text, AfxGetAppName(), type); }
void MessageBeep(UINT) {}

// ---- ShellExecute -----------------------------------------------------------------------------

namespace {
std::vector<kvui::ShellRequest>& shellLog() {
  static std::vector<kvui::ShellRequest> log;
  return log;
}
}  // namespace

HINSTANCE ShellExecute(HWND, LPCTSTR op, LPCTSTR file, LPCTSTR params, LPCTSTR dir, int show) {
  shellLog().push_back(kvui::ShellRequest{op ? op : L"", file ? file : L"", params ? params : L"", dir ? dir : L"", show});
  return reinterpret_cast<HINSTANCE>(static_cast<std::intptr_t>(42));
}

namespace kvui {
const std::vector<ShellRequest>& ShellRequests() { return shellLog(); }
void ClearShellRequests() { shellLog().clear(); }

std::string ConfigFolder() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && *xdg) return std::string(xdg) + "/kvhvac";
  const char* home = std::getenv("HOME");
  return std::string(home && *home ? home : ".") + "/.config/kvhvac";
}
}  // namespace kvui

// ---- Registry ---------------------------------------------------------------------------------

struct HKEY__ {
  std::wstring path;  // under HKEY_CURRENT_USER, lower case
  bool writable = false;
};

namespace {

// key path (lower case) -> value name (lower case) -> (type, bytes)
using Values = std::map<std::wstring, std::pair<DWORD, std::vector<BYTE>>>;
using Hive = std::map<std::wstring, Values>;

std::unordered_set<HKEY>& openKeys() {
  static std::unordered_set<HKEY> s;
  return s;
}

std::string hivePath() { return kvui::ConfigFolder() + "/registry.txt"; }

std::wstring lowerW(std::wstring s) {
  for (auto& c : s) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return s;
}

std::string hex(const std::vector<BYTE>& b) {
  static const char* d = "0123456789abcdef";
  std::string s;
  for (BYTE x : b) { s += d[x >> 4]; s += d[x & 15]; }
  return s;
}

std::vector<BYTE> unhex(const std::string& s) {
  std::vector<BYTE> b;
  for (std::size_t i = 0; i + 1 < s.size(); i += 2) b.push_back(static_cast<BYTE>(std::stoi(s.substr(i, 2), nullptr, 16)));
  return b;
}

// One line per value: "[key]" sections, then "type name=hex bytes". Hex keeps any text safe.
Hive loadHive() {
  Hive hive;
  std::ifstream in(hivePath());
  std::string line;
  std::wstring key;
  while (std::getline(in, line)) {
    if (line.size() > 2 && line.front() == '[' && line.back() == ']') {
      key = kvui::fromUtf8(line.substr(1, line.size() - 2));
      hive[key];
      continue;
    }
    auto sp = line.find(' '), eq = line.find('=');
    if (key.empty() || sp == std::string::npos || eq == std::string::npos || eq < sp) continue;
    DWORD type = static_cast<DWORD>(std::strtoul(line.substr(0, sp).c_str(), nullptr, 10));
    std::wstring name = kvui::fromUtf8(line.substr(sp + 1, eq - sp - 1));
    hive[key][name] = {type, unhex(line.substr(eq + 1))};
  }
  return hive;
}

bool saveHive(const Hive& hive) {
  std::error_code ec;
  fs::create_directories(kvui::ConfigFolder(), ec);
  std::string tmp = hivePath() + ".tmp";
  {
    std::ofstream out(tmp, std::ios::trunc);
    if (!out) return false;
    for (auto& [key, values] : hive) {
      out << "[" << kvui::toUtf8(key) << "]\n";
      for (auto& [name, v] : values) out << v.first << " " << kvui::toUtf8(name) << "=" << hex(v.second) << "\n";
    }
    if (!out) return false;
  }
  fs::rename(tmp, hivePath(), ec);
  return !ec;
}

bool predefined(HKEY k) { return k == HKEY_CURRENT_USER || k == HKEY_LOCAL_MACHINE || k == HKEY_CLASSES_ROOT; }

LSTATUS resolve(HKEY parent, LPCTSTR sub, std::wstring& path) {
  std::wstring s = sub ? lowerW(sub) : L"";
  while (!s.empty() && s.back() == L'\\') s.pop_back();
  if (parent == HKEY_CURRENT_USER) path = s;
  else if (openKeys().count(parent)) path = parent->path + (s.empty() ? L"" : L"\\" + s);
  else if (predefined(parent)) return ERROR_FILE_NOT_FOUND;
  else return ERROR_INVALID_HANDLE;
  return ERROR_SUCCESS;
}

HKEY newKey(const std::wstring& path, bool writable) {
  HKEY k = new HKEY__{path, writable};
  openKeys().insert(k);
  return k;
}

}  // namespace

LSTATUS RegOpenKeyEx(HKEY parent, LPCTSTR sub, DWORD, REGSAM access, PHKEY out) {
  if (!out) return ERROR_INVALID_PARAMETER;
  std::wstring path;
  LSTATUS st = resolve(parent, sub, path);
  if (st != ERROR_SUCCESS) return st;
  Hive hive = loadHive();
  if (!hive.count(path)) return ERROR_FILE_NOT_FOUND;
  *out = newKey(path, (access & KEY_SET_VALUE) != 0);
  return ERROR_SUCCESS;
}

LSTATUS RegCreateKeyEx(HKEY parent, LPCTSTR sub, DWORD, LPTSTR, DWORD, REGSAM, void*, PHKEY out, LPDWORD disposition) {
  if (!out) return ERROR_INVALID_PARAMETER;
  if (parent == HKEY_LOCAL_MACHINE || parent == HKEY_CLASSES_ROOT) return ERROR_ACCESS_DENIED;
  std::wstring path;
  LSTATUS st = resolve(parent, sub, path);
  if (st != ERROR_SUCCESS) return st;
  Hive hive = loadHive();
  bool existed = hive.count(path) != 0;
  if (!existed) {
    hive[path];
    if (!saveHive(hive)) return ERROR_ACCESS_DENIED;
  }
  if (disposition) *disposition = existed ? REG_OPENED_EXISTING_KEY : REG_CREATED_NEW_KEY;
  *out = newKey(path, true);
  return ERROR_SUCCESS;
}

LSTATUS RegQueryValueEx(HKEY key, LPCTSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
  if (!openKeys().count(key)) return ERROR_INVALID_HANDLE;
  Hive hive = loadHive();
  auto k = hive.find(key->path);
  if (k == hive.end()) return ERROR_FILE_NOT_FOUND;
  auto v = k->second.find(lowerW(name ? name : L""));
  if (v == k->second.end()) return ERROR_FILE_NOT_FOUND;
  if (type) *type = v->second.first;
  DWORD need = static_cast<DWORD>(v->second.second.size());
  if (!data) {
    if (size) *size = need;
    return ERROR_SUCCESS;
  }
  if (!size || *size < need) {
    if (size) *size = need;
    return ERROR_MORE_DATA;
  }
  std::copy(v->second.second.begin(), v->second.second.end(), data);
  *size = need;
  return ERROR_SUCCESS;
}

LSTATUS RegSetValueEx(HKEY key, LPCTSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  if (!openKeys().count(key)) return ERROR_INVALID_HANDLE;
  if (!key->writable) return ERROR_ACCESS_DENIED;
  Hive hive = loadHive();
  hive[key->path][lowerW(name ? name : L"")] = {type, std::vector<BYTE>(data, data + (data ? size : 0))};
  return saveHive(hive) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS RegDeleteValue(HKEY key, LPCTSTR name) {
  if (!openKeys().count(key)) return ERROR_INVALID_HANDLE;
  Hive hive = loadHive();
  auto& values = hive[key->path];
  if (!values.erase(lowerW(name ? name : L""))) return ERROR_FILE_NOT_FOUND;
  return saveHive(hive) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS RegCloseKey(HKEY key) {
  if (predefined(key)) return ERROR_SUCCESS;
  if (!openKeys().erase(key)) return ERROR_INVALID_HANDLE;
  delete key;
  return ERROR_SUCCESS;
}

// ---- Global memory and the clipboard ---------------------------------------------------------------

namespace {

struct Block {
  std::vector<char> bytes;
};

// Both live as long as the process, so what the clipboard holds at exit stays reachable.
std::unordered_set<Block*>& blocks() {
  static auto* s = new std::unordered_set<Block*>;
  return *s;
}

struct Clipboard {
  bool open = false;
  std::map<UINT, HGLOBAL> data;
};

Clipboard& clipboard() {
  static auto* c = new Clipboard;
  return *c;
}

}  // namespace

HGLOBAL GlobalAlloc(UINT, std::size_t bytes) {
  auto* b = new Block;
  b->bytes.assign(bytes, 0);
  blocks().insert(b);
  return b;
}
LPVOID GlobalLock(HGLOBAL h) {
  auto* b = static_cast<Block*>(h);
  return blocks().count(b) ? b->bytes.data() : nullptr;
}
BOOL GlobalUnlock(HGLOBAL h) { return blocks().count(static_cast<Block*>(h)) ? TRUE : FALSE; }
HGLOBAL GlobalFree(HGLOBAL h) {
  auto* b = static_cast<Block*>(h);
  if (!blocks().erase(b)) return h;
  delete b;
  return nullptr;
}
std::size_t GlobalSize(HGLOBAL h) {
  auto* b = static_cast<Block*>(h);
  return blocks().count(b) ? b->bytes.size() : 0;
}

BOOL OpenClipboard(HWND) {
  if (clipboard().open) return FALSE;
  clipboard().open = true;
  return TRUE;
}
BOOL CloseClipboard() {
  bool was = clipboard().open;
  clipboard().open = false;
  return was;
}
BOOL EmptyClipboard() {
  if (!clipboard().open) return FALSE;
  for (auto& [f, h] : clipboard().data) GlobalFree(h);
  clipboard().data.clear();
  return TRUE;
}
HANDLE SetClipboardData(UINT format, HANDLE data) {
  if (!clipboard().open || !blocks().count(static_cast<Block*>(data))) return nullptr;
  auto& slot = clipboard().data[format];
  if (slot && slot != data) GlobalFree(slot);
  slot = data;
  return data;
}
HANDLE GetClipboardData(UINT format) {
  if (!clipboard().open) return nullptr;
  auto it = clipboard().data.find(format);
  return it == clipboard().data.end() ? nullptr : it->second;
}
BOOL IsClipboardFormatAvailable(UINT format) { return clipboard().data.count(format) != 0; }

namespace kvui::detail {

void setClipboardText(HWND owner, const std::wstring& text) {
  if (!OpenClipboard(owner)) return;
  EmptyClipboard();
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
  std::copy(text.c_str(), text.c_str() + text.size() + 1, static_cast<wchar_t*>(GlobalLock(h)));
  GlobalUnlock(h);
  SetClipboardData(CF_UNICODETEXT, h);
  CloseClipboard();
}

bool clipboardText(std::wstring& out) {
  if (!OpenClipboard(nullptr)) return false;
  HANDLE h = GetClipboardData(CF_UNICODETEXT);
  bool ok = h != nullptr;
  if (ok) {
    auto* p = static_cast<const wchar_t*>(GlobalLock(h));
    std::size_t n = GlobalSize(h) / sizeof(wchar_t);
    out.assign(p, p + n);
    out.resize(std::wcslen(out.c_str()));
    GlobalUnlock(h);
  }
  CloseClipboard();
  return ok;
}

}  // namespace kvui::detail

// ---- File dialog ----------------------------------------------------------------------------

CFileDialog::CFileDialog(BOOL open, LPCTSTR defExt, LPCTSTR fileName, DWORD flags, LPCTSTR filter, CWnd*)
    : open_(open), defaultExt_(defExt ? defExt : L""), initialFile_(fileName ? fileName : L""), filter_(filter ? filter : L"") {
  m_ofn.Flags = flags;
  m_ofn.lpstrDefExt = defExt;
}

INT_PTR CFileDialog::DoModal() {
  for (;;) {
    auto e = takeAnswer(kvinput::EventKind::FileDialog);
    if (!e || e->text.empty()) return IDCANCEL;  // "file cancel" reads as an empty path
    CString path = kvui::fromUtf8(e->text);
    if (!defaultExt_.IsEmpty() && fs::path(kvui::toUtf8(path.str())).extension().empty()) path += CString(L".") + defaultExt_;
    if (open_ && (m_ofn.Flags & OFN_FILEMUSTEXIST) && !fs::exists(kvui::toUtf8(path.str()))) {
      MessageBox(nullptr, CString(path + L"\nFile not found.\nCheck the file name and try again."), open_ ? L"Open" : L"Save As", MB_OK | MB_ICONWARNING);
      continue;
    }
    path_ = path;
    return IDOK;
  }
}

CString CFileDialog::GetFileName() const { return kvui::fromUtf8(fs::path(kvui::toUtf8(path_.str())).filename().string()); }
CString CFileDialog::GetFileTitle() const { return kvui::fromUtf8(fs::path(kvui::toUtf8(path_.str())).stem().string()); }
CString CFileDialog::GetFileExt() const {
  std::string ext = fs::path(kvui::toUtf8(path_.str())).extension().string();
  return kvui::fromUtf8(ext.empty() ? ext : ext.substr(1));
}
CString CFileDialog::GetFolderPath() const { return kvui::fromUtf8(fs::path(kvui::toUtf8(path_.str())).parent_path().string()); }

// ---- Printing -------------------------------------------------------------------------------

namespace {

// A letter page at 300 dots per inch; the PDF's unit is the point.
HDC newPrinterDc(const CString& path) {
  std::string file = kvui::toUtf8(path.str());
  cairo_surface_t* s = cairo_pdf_surface_create(file.c_str(), 612, 792);
  if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(s);
    return nullptr;
  }
  HDC dc = newDc(DcKind::Printer);
  dc->ownSurface = s;
  dc->dpi = 300;
  dc->deviceScale = 72.0 / 300.0;
  dc->pdfPath = file;
  dcBindTarget(dc, s, 0, 0, 2550, 3300);
  return dc;
}

}  // namespace

CPrintDialog::CPrintDialog(BOOL, DWORD flags, CWnd* parent) {
  m_pd.lStructSize = sizeof(PRINTDLG);
  m_pd.hwndOwner = parent ? parent->m_hWnd : nullptr;
  m_pd.Flags = flags | PD_RETURNDC;
  m_pd.nCopies = 1;
}

CPrintDialog::~CPrintDialog() = default;

INT_PTR CPrintDialog::DoModal() {
  auto e = takeAnswer(kvinput::EventKind::PrintDialog);
  if (!e || e->text.empty()) return IDCANCEL;  // "print cancel" reads as an empty path
  path_ = kvui::fromUtf8(e->text);
  m_pd.hDC = newPrinterDc(path_);
  if (!m_pd.hDC) {
    MessageBox(nullptr, CString(L"The printer output cannot be written:\n") + path_, L"Print", MB_OK | MB_ICONERROR);
    return IDCANCEL;
  }
  return IDOK;
}

HDC CPrintDialog::CreatePrinterDC() {
  if (path_.IsEmpty()) return nullptr;
  m_pd.hDC = newPrinterDc(path_);
  return m_pd.hDC;
}
