// The host's windowing layer: Win32/MFC-style windows, messages, device contexts over Cairo/Pango,
// dialogs, controls and the system services that dialogs call, headless and driven by the
// scripted input queue.
//
// How it differs from a desktop: there is no screen. Each top-level window owns a picture of
// itself that painting updates; kvui::RenderWindowToPng writes it out. Input comes only from
// kvinput::InputQueue: modal loops (CDialog::DoModal, MessageBox, CFileDialog, CPrintDialog)
// take events from it; with the queue empty a dialog ends with IDCANCEL and a message box gives
// its cancel-like answer. Timers fire from the queue's clock ("wait MS"), never from wall time.
// Invalid windows are painted when a dialog first shows, at UpdateWindow and
// RedrawWindow(RDW_UPDATENOW), at each "wait", at kvui::PumpMessages and before a picture is
// taken, not after every event. A point target of the queue ("click 20,30") is in the client
// coordinates of the active window: the innermost running dialog, else the last top-level window
// shown with activation.
//
// Message handling follows the class library without message maps: a CWnd subclass overrides
// the virtual On... handlers, OnCommand, OnNotify and OnChildNotify (reflection); every base
// handler passes the message on to the window's previous procedure (Default()). Notifications a
// control sends to its parent are first offered to the control's own OnChildNotify, as the class
// library reflects them; a parent overriding OnNotify/OnCommand calls the base for codes it does
// not handle.
//
// Strings are wide (wchar_t), like the host's ACHAR. CString::Format takes %s and %c as wide, as
// the platform's wide functions do.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// ---- Basic types ----------------------------------------------------------------------------

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using SHORT = std::int16_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using COLORREF = DWORD;
using WCHAR = wchar_t;
using TCHAR = wchar_t;
using LPCTSTR = const wchar_t*;
using LPTSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using LPWSTR = wchar_t*;
using LPVOID = void*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using LPINT = int*;
using HANDLE = void*;
using HGLOBAL = void*;
using HGDIOBJ = void*;
using LSTATUS = LONG;
using REGSAM = DWORD;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#ifndef _T
#define _T(x) L##x
#endif
#ifndef RGB
#define RGB(r, g, b) \
  ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#endif
#define GetRValue(rgb) ((BYTE)(rgb))
#define GetGValue(rgb) ((BYTE)(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) ((BYTE)((rgb) >> 16))
#define LOWORD(l) ((WORD)(((DWORD_PTR)(l)) & 0xffff))
#define HIWORD(l) ((WORD)((((DWORD_PTR)(l)) >> 16) & 0xffff))
#define MAKELONG(a, b) ((LONG)(((WORD)(((DWORD_PTR)(a)) & 0xffff)) | ((DWORD)((WORD)(((DWORD_PTR)(b)) & 0xffff))) << 16))
#define MAKEWPARAM(l, h) ((WPARAM)(DWORD)MAKELONG(l, h))
#define MAKELPARAM(l, h) ((LPARAM)(DWORD)MAKELONG(l, h))
#define GET_X_LPARAM(lp) ((int)(short)LOWORD(lp))
#define GET_Y_LPARAM(lp) ((int)(short)HIWORD(lp))
#define GET_WHEEL_DELTA_WPARAM(wParam) ((short)HIWORD(wParam))
#define MAKEINTRESOURCE(i) ((LPTSTR)((ULONG_PTR)((WORD)(i))))
#define IS_INTRESOURCE(p) ((((ULONG_PTR)(p)) >> 16) == 0)

struct HWND__;
struct HDC__;
struct HFONT__;
struct HPEN__;
struct HBRUSH__;
struct HBITMAP__;
struct HRGN__;
struct HICON__;
struct HKEY__;
struct HINSTANCE__;
struct HMENU__;
struct _IMAGELIST;
struct _TREEITEM;
using HWND = HWND__*;
using HDC = HDC__*;
using HFONT = HFONT__*;
using HPEN = HPEN__*;
using HBRUSH = HBRUSH__*;
using HBITMAP = HBITMAP__*;
using HRGN = HRGN__*;
using HICON = HICON__*;
using HCURSOR = HICON__*;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE__*;
using HMENU = HMENU__*;
using HIMAGELIST = _IMAGELIST*;
using HTREEITEM = _TREEITEM*;
using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);

struct POINT { LONG x, y; };
struct SIZE { LONG cx, cy; };
struct RECT { LONG left, top, right, bottom; };
using LPPOINT = POINT*;
using LPRECT = RECT*;
using LPCRECT = const RECT*;
using LPSIZE = SIZE*;

// ---- Geometry and strings -------------------------------------------------------------------

class CSize : public SIZE {
 public:
  CSize() : SIZE{0, 0} {}
  CSize(int x, int y) : SIZE{x, y} {}
  CSize(SIZE s) : SIZE(s) {}
  bool operator==(const CSize& o) const { return cx == o.cx && cy == o.cy; }
  bool operator!=(const CSize& o) const { return !(*this == o); }
};

class CPoint : public POINT {
 public:
  CPoint() : POINT{0, 0} {}
  CPoint(int x0, int y0) : POINT{x0, y0} {}
  CPoint(POINT p) : POINT(p) {}
  explicit CPoint(LPARAM lp) : POINT{GET_X_LPARAM(lp), GET_Y_LPARAM(lp)} {}
  void Offset(int dx, int dy) { x += dx; y += dy; }
  void Offset(POINT p) { Offset(p.x, p.y); }
  bool operator==(const CPoint& o) const { return x == o.x && y == o.y; }
  bool operator!=(const CPoint& o) const { return !(*this == o); }
  CPoint operator+(SIZE s) const { return CPoint(x + s.cx, y + s.cy); }
  CPoint operator-(SIZE s) const { return CPoint(x - s.cx, y - s.cy); }
  CSize operator-(POINT p) const { return CSize(x - p.x, y - p.y); }
  CPoint operator+(POINT p) const { return CPoint(x + p.x, y + p.y); }
  CPoint& operator+=(SIZE s) { x += s.cx; y += s.cy; return *this; }
  CPoint& operator-=(SIZE s) { x -= s.cx; y -= s.cy; return *this; }
};

class CRect : public RECT {
 public:
  CRect() : RECT{0, 0, 0, 0} {}
  CRect(int l, int t, int r, int b) : RECT{l, t, r, b} {}
  CRect(const RECT& r) : RECT(r) {}
  CRect(LPCRECT r) : RECT(r ? *r : RECT{0, 0, 0, 0}) {}
  CRect(POINT p, SIZE s) : RECT{p.x, p.y, p.x + s.cx, p.y + s.cy} {}
  CRect(POINT tl, POINT br) : RECT{tl.x, tl.y, br.x, br.y} {}
  int Width() const { return right - left; }
  int Height() const { return bottom - top; }
  CSize Size() const { return CSize(Width(), Height()); }
  CPoint& TopLeft() { return *reinterpret_cast<CPoint*>(&left); }
  CPoint& BottomRight() { return *reinterpret_cast<CPoint*>(&right); }
  CPoint TopLeft() const { return CPoint(left, top); }
  CPoint BottomRight() const { return CPoint(right, bottom); }
  CPoint CenterPoint() const { return CPoint((left + right) / 2, (top + bottom) / 2); }
  BOOL IsRectEmpty() const { return left >= right || top >= bottom; }
  BOOL IsRectNull() const { return left == 0 && right == 0 && top == 0 && bottom == 0; }
  BOOL PtInRect(POINT p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
  void SetRect(int l, int t, int r, int b) { left = l; top = t; right = r; bottom = b; }
  void SetRectEmpty() { SetRect(0, 0, 0, 0); }
  void CopyRect(LPCRECT r) { *this = *r; }
  BOOL EqualRect(LPCRECT r) const { return left == r->left && top == r->top && right == r->right && bottom == r->bottom; }
  void OffsetRect(int dx, int dy) { left += dx; right += dx; top += dy; bottom += dy; }
  void OffsetRect(POINT p) { OffsetRect(p.x, p.y); }
  void OffsetRect(SIZE s) { OffsetRect(s.cx, s.cy); }
  void MoveToX(int x) { right = x + Width(); left = x; }
  void MoveToY(int y) { bottom = y + Height(); top = y; }
  void MoveToXY(int x, int y) { MoveToX(x); MoveToY(y); }
  void InflateRect(int dx, int dy) { left -= dx; right += dx; top -= dy; bottom += dy; }
  void InflateRect(int l, int t, int r, int b) { left -= l; top -= t; right += r; bottom += b; }
  void DeflateRect(int dx, int dy) { InflateRect(-dx, -dy); }
  void DeflateRect(int l, int t, int r, int b) { InflateRect(-l, -t, -r, -b); }
  void NormalizeRect();
  BOOL IntersectRect(LPCRECT a, LPCRECT b);
  BOOL UnionRect(LPCRECT a, LPCRECT b);
  bool operator==(const RECT& r) const { return EqualRect(&r); }
  bool operator!=(const RECT& r) const { return !EqualRect(&r); }
  operator LPRECT() { return this; }
  operator LPCRECT() const { return this; }
};

BOOL IntersectRect(LPRECT out, LPCRECT a, LPCRECT b);
BOOL UnionRect(LPRECT out, LPCRECT a, LPCRECT b);
BOOL PtInRect(LPCRECT r, POINT p);
BOOL IsRectEmpty(LPCRECT r);
BOOL SetRect(LPRECT r, int l, int t, int right, int bottom);
BOOL OffsetRect(LPRECT r, int dx, int dy);
BOOL InflateRect(LPRECT r, int dx, int dy);
BOOL CopyRect(LPRECT to, LPCRECT from);
BOOL SetRectEmpty(LPRECT r);
BOOL EqualRect(LPCRECT a, LPCRECT b);

// A wide string with the class library's operations. Indexes are in characters.
class CString {
 public:
  CString() = default;
  CString(const wchar_t* s) : s_(s ? s : L"") {}
  CString(const wchar_t* s, int n) : s_(s ? std::wstring(s, static_cast<std::size_t>(n < 0 ? 0 : n)) : std::wstring()) {}
  CString(wchar_t c, int n = 1) : s_(static_cast<std::size_t>(n < 0 ? 0 : n), c) {}
  CString(std::wstring s) : s_(std::move(s)) {}
  CString(std::wstring_view s) : s_(s) {}

  int GetLength() const { return static_cast<int>(s_.size()); }
  BOOL IsEmpty() const { return s_.empty(); }
  void Empty() { s_.clear(); }
  operator const wchar_t*() const { return s_.c_str(); }
  const wchar_t* GetString() const { return s_.c_str(); }
  const std::wstring& str() const { return s_; }
  wchar_t GetAt(int i) const { return s_.at(static_cast<std::size_t>(i)); }
  void SetAt(int i, wchar_t c) { s_.at(static_cast<std::size_t>(i)) = c; }
  wchar_t operator[](int i) const { return GetAt(i); }

  CString& operator=(const wchar_t* s) { s_ = s ? s : L""; return *this; }
  CString& operator+=(const CString& o) { s_ += o.s_; return *this; }
  CString& operator+=(const wchar_t* s) { if (s) s_ += s; return *this; }
  CString& operator+=(wchar_t c) { s_ += c; return *this; }
  friend CString operator+(const CString& a, const CString& b) { return CString(a.s_ + b.s_); }
  friend CString operator+(const CString& a, const wchar_t* b) { return CString(a.s_ + (b ? b : L"")); }
  friend CString operator+(const wchar_t* a, const CString& b) { return CString((a ? a : L"") + b.s_); }
  friend CString operator+(const CString& a, wchar_t c) { return CString(a.s_ + c); }
  friend bool operator==(const CString& a, const CString& b) { return a.s_ == b.s_; }
  friend bool operator==(const CString& a, const wchar_t* b) { return a.s_ == (b ? b : L""); }
  friend bool operator!=(const CString& a, const CString& b) { return a.s_ != b.s_; }
  friend bool operator!=(const CString& a, const wchar_t* b) { return !(a == b); }
  friend bool operator<(const CString& a, const CString& b) { return a.s_ < b.s_; }

  int Compare(const wchar_t* o) const;
  int CompareNoCase(const wchar_t* o) const;
  CString Left(int n) const;
  CString Right(int n) const;
  CString Mid(int first) const;
  CString Mid(int first, int n) const;
  int Find(wchar_t c, int start = 0) const;
  int Find(const wchar_t* sub, int start = 0) const;
  int ReverseFind(wchar_t c) const;
  int FindOneOf(const wchar_t* set) const;
  int Replace(const wchar_t* from, const wchar_t* to);
  int Replace(wchar_t from, wchar_t to);
  int Remove(wchar_t c);
  int Insert(int index, const wchar_t* s);
  int Delete(int index, int count = 1);
  CString& Trim();
  CString& TrimLeft();
  CString& TrimRight();
  CString& Trim(const wchar_t* chars);
  CString& TrimLeft(const wchar_t* chars);
  CString& TrimRight(const wchar_t* chars);
  CString& MakeUpper();
  CString& MakeLower();
  CString Tokenize(const wchar_t* delims, int& start) const;
  void Format(const wchar_t* fmt, ...);
  void FormatV(const wchar_t* fmt, va_list args);
  void AppendFormat(const wchar_t* fmt, ...);
  // Raw access for C-style fillers; ReleaseBuffer(-1) takes the length up to the first NUL.
  wchar_t* GetBuffer(int minLength = 0);
  wchar_t* GetBufferSetLength(int length);
  void ReleaseBuffer(int newLength = -1);

 private:
  std::wstring s_;
};

// UTF-8 bridges for code that meets byte strings (Pango, files, the LISP layer).
namespace kvui {
std::string toUtf8(std::wstring_view text);
std::wstring fromUtf8(std::string_view text);
}  // namespace kvui

// ---- Class library run-time classes -------------------------------------------------------

class CObject;
struct CRuntimeClass {
  const char* m_lpszClassName;
  int m_nObjectSize;
  CObject* (*m_pfnCreateObject)();
  CRuntimeClass* m_pBaseClass;
  CObject* CreateObject() const;  // null for a class without DECLARE_DYNCREATE
  BOOL IsDerivedFrom(const CRuntimeClass* base) const;
  static CRuntimeClass* FromName(const char* name);  // among the classes that registered
};

struct CRuntimeClassRegistrar {
  explicit CRuntimeClassRegistrar(CRuntimeClass* c);
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)
#define DECLARE_DYNAMIC(class_name)        \
 public:                                   \
  static CRuntimeClass class##class_name;  \
  CRuntimeClass* GetRuntimeClass() const override;
#define DECLARE_DYNCREATE(class_name) \
  DECLARE_DYNAMIC(class_name)         \
  static CObject* CreateObject();
#define IMPLEMENT_RUNTIMECLASS_(class_name, base_name, creator)                                           \
  CRuntimeClass class_name::class##class_name = {#class_name, sizeof(class_name), creator,                 \
                                                 RUNTIME_CLASS(base_name)};                                \
  static CRuntimeClassRegistrar kvRegistrar##class_name(&class_name::class##class_name);                   \
  CRuntimeClass* class_name::GetRuntimeClass() const { return RUNTIME_CLASS(class_name); }
#define IMPLEMENT_DYNAMIC(class_name, base_name) IMPLEMENT_RUNTIMECLASS_(class_name, base_name, nullptr)
#define IMPLEMENT_DYNCREATE(class_name, base_name)                      \
  CObject* class_name::CreateObject() { return new class_name; }        \
  IMPLEMENT_RUNTIMECLASS_(class_name, base_name, class_name::CreateObject)

class CObject {
 public:
  virtual ~CObject() = default;
  static CRuntimeClass classCObject;
  virtual CRuntimeClass* GetRuntimeClass() const;
  BOOL IsKindOf(const CRuntimeClass* c) const { return GetRuntimeClass()->IsDerivedFrom(c); }
};

// Exceptions of the class library. ReportError shows the text in a message box.
class CException : public CObject {
 public:
  virtual BOOL GetErrorMessage(LPTSTR buffer, UINT max, UINT* helpId = nullptr) const;
  virtual int ReportError(UINT type = 0x30, UINT messageId = 0) const;
  void Delete() { delete this; }
};
class CMemoryException : public CException {
 public:
  BOOL GetErrorMessage(LPTSTR buffer, UINT max, UINT* helpId = nullptr) const override;
};

class CStringArray {
 public:
  int GetSize() const { return static_cast<int>(a_.size()); }
  int GetCount() const { return GetSize(); }
  int GetUpperBound() const { return GetSize() - 1; }
  BOOL IsEmpty() const { return a_.empty(); }
  void SetSize(int n) { a_.resize(static_cast<std::size_t>(n < 0 ? 0 : n)); }
  int Add(const CString& s) { a_.push_back(s); return GetSize() - 1; }
  const CString& GetAt(int i) const { return a_.at(static_cast<std::size_t>(i)); }
  void SetAt(int i, const CString& s) { a_.at(static_cast<std::size_t>(i)) = s; }
  CString& operator[](int i) { return a_.at(static_cast<std::size_t>(i)); }
  const CString& operator[](int i) const { return a_.at(static_cast<std::size_t>(i)); }
  void InsertAt(int i, const CString& s) { a_.insert(a_.begin() + i, s); }
  void RemoveAt(int i, int n = 1) { a_.erase(a_.begin() + i, a_.begin() + i + n); }
  void RemoveAll() { a_.clear(); }
  void Copy(const CStringArray& o) { a_ = o.a_; }
  int Append(const CStringArray& o) { a_.insert(a_.end(), o.a_.begin(), o.a_.end()); return GetSize(); }

 private:
  std::vector<CString> a_;
};

class CDWordArray {
 public:
  int GetSize() const { return static_cast<int>(a_.size()); }
  int GetCount() const { return GetSize(); }
  void SetSize(int n) { a_.resize(static_cast<std::size_t>(n < 0 ? 0 : n)); }
  int Add(DWORD v) { a_.push_back(v); return GetSize() - 1; }
  DWORD GetAt(int i) const { return a_.at(static_cast<std::size_t>(i)); }
  void SetAt(int i, DWORD v) { a_.at(static_cast<std::size_t>(i)) = v; }
  DWORD& operator[](int i) { return a_.at(static_cast<std::size_t>(i)); }
  DWORD operator[](int i) const { return a_.at(static_cast<std::size_t>(i)); }
  void InsertAt(int i, DWORD v) { a_.insert(a_.begin() + i, v); }
  void RemoveAt(int i, int n = 1) { a_.erase(a_.begin() + i, a_.begin() + i + n); }
  void RemoveAll() { a_.clear(); }
  void Copy(const CDWordArray& o) { a_ = o.a_; }

 private:
  std::vector<DWORD> a_;
};

// ---- Messages and their constants -----------------------------------------------------------

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_CREATE = 0x0001;
inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_MOVE = 0x0003;
inline constexpr UINT WM_SIZE = 0x0005;
inline constexpr UINT WM_ACTIVATE = 0x0006;
inline constexpr UINT WM_SETFOCUS = 0x0007;
inline constexpr UINT WM_KILLFOCUS = 0x0008;
inline constexpr UINT WM_ENABLE = 0x000A;
inline constexpr UINT WM_SETREDRAW = 0x000B;
inline constexpr UINT WM_SETTEXT = 0x000C;
inline constexpr UINT WM_GETTEXT = 0x000D;
inline constexpr UINT WM_GETTEXTLENGTH = 0x000E;
inline constexpr UINT WM_PAINT = 0x000F;
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_ERASEBKGND = 0x0014;
inline constexpr UINT WM_SYSCOLORCHANGE = 0x0015;
inline constexpr UINT WM_SHOWWINDOW = 0x0018;
inline constexpr UINT WM_SETTINGCHANGE = 0x001A;
inline constexpr UINT WM_CANCELMODE = 0x001F;
inline constexpr UINT WM_SETCURSOR = 0x0020;
inline constexpr UINT WM_MOUSEACTIVATE = 0x0021;
inline constexpr UINT WM_GETMINMAXINFO = 0x0024;
inline constexpr UINT WM_NEXTDLGCTL = 0x0028;
inline constexpr UINT WM_SETFONT = 0x0030;
inline constexpr UINT WM_GETFONT = 0x0031;
inline constexpr UINT WM_WINDOWPOSCHANGED = 0x0047;
inline constexpr UINT WM_NOTIFY = 0x004E;
inline constexpr UINT WM_CONTEXTMENU = 0x007B;
inline constexpr UINT WM_GETICON = 0x007F;
inline constexpr UINT WM_SETICON = 0x0080;
inline constexpr UINT WM_NCCREATE = 0x0081;
inline constexpr UINT WM_NCDESTROY = 0x0082;
inline constexpr UINT WM_NCHITTEST = 0x0084;
inline constexpr UINT WM_NCPAINT = 0x0085;
inline constexpr UINT WM_GETDLGCODE = 0x0087;
inline constexpr UINT WM_KEYDOWN = 0x0100;
inline constexpr UINT WM_KEYUP = 0x0101;
inline constexpr UINT WM_CHAR = 0x0102;
inline constexpr UINT WM_SYSKEYDOWN = 0x0104;
inline constexpr UINT WM_SYSKEYUP = 0x0105;
inline constexpr UINT WM_SYSCHAR = 0x0106;
inline constexpr UINT WM_INITDIALOG = 0x0110;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT WM_SYSCOMMAND = 0x0112;
inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT WM_HSCROLL = 0x0114;
inline constexpr UINT WM_VSCROLL = 0x0115;
inline constexpr UINT WM_CTLCOLOREDIT = 0x0133;
inline constexpr UINT WM_CTLCOLORLISTBOX = 0x0134;
inline constexpr UINT WM_CTLCOLORBTN = 0x0135;
inline constexpr UINT WM_CTLCOLORDLG = 0x0136;
inline constexpr UINT WM_CTLCOLORSCROLLBAR = 0x0137;
inline constexpr UINT WM_CTLCOLORSTATIC = 0x0138;
inline constexpr UINT WM_MOUSEMOVE = 0x0200;
inline constexpr UINT WM_LBUTTONDOWN = 0x0201;
inline constexpr UINT WM_LBUTTONUP = 0x0202;
inline constexpr UINT WM_LBUTTONDBLCLK = 0x0203;
inline constexpr UINT WM_RBUTTONDOWN = 0x0204;
inline constexpr UINT WM_RBUTTONUP = 0x0205;
inline constexpr UINT WM_RBUTTONDBLCLK = 0x0206;
inline constexpr UINT WM_MOUSEWHEEL = 0x020A;
inline constexpr UINT WM_SIZING = 0x0214;
inline constexpr UINT WM_CAPTURECHANGED = 0x0215;
inline constexpr UINT WM_CUT = 0x0300;
inline constexpr UINT WM_COPY = 0x0301;
inline constexpr UINT WM_PASTE = 0x0302;
inline constexpr UINT WM_CLEAR = 0x0303;
inline constexpr UINT WM_UNDO = 0x0304;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT WM_APP = 0x8000;

inline constexpr UINT MK_LBUTTON = 1;
inline constexpr UINT MK_RBUTTON = 2;
inline constexpr UINT MK_SHIFT = 4;
inline constexpr UINT MK_CONTROL = 8;
inline constexpr UINT MK_MBUTTON = 0x10;
inline constexpr int WHEEL_DELTA = 120;
inline constexpr UINT SIZE_RESTORED = 0;
inline constexpr UINT SIZE_MINIMIZED = 1;
inline constexpr UINT SIZE_MAXIMIZED = 2;

inline constexpr int VK_LBUTTON = 0x01;
inline constexpr int VK_RBUTTON = 0x02;
inline constexpr int VK_CANCEL = 0x03;
inline constexpr int VK_BACK = 0x08;
inline constexpr int VK_TAB = 0x09;
inline constexpr int VK_CLEAR = 0x0C;
inline constexpr int VK_RETURN = 0x0D;
inline constexpr int VK_SHIFT = 0x10;
inline constexpr int VK_CONTROL = 0x11;
inline constexpr int VK_MENU = 0x12;
inline constexpr int VK_PAUSE = 0x13;
inline constexpr int VK_CAPITAL = 0x14;
inline constexpr int VK_ESCAPE = 0x1B;
inline constexpr int VK_SPACE = 0x20;
inline constexpr int VK_PRIOR = 0x21;
inline constexpr int VK_NEXT = 0x22;
inline constexpr int VK_END = 0x23;
inline constexpr int VK_HOME = 0x24;
inline constexpr int VK_LEFT = 0x25;
inline constexpr int VK_UP = 0x26;
inline constexpr int VK_RIGHT = 0x27;
inline constexpr int VK_DOWN = 0x28;
inline constexpr int VK_SELECT = 0x29;
inline constexpr int VK_INSERT = 0x2D;
inline constexpr int VK_DELETE = 0x2E;
inline constexpr int VK_NUMPAD0 = 0x60;
inline constexpr int VK_MULTIPLY = 0x6A;
inline constexpr int VK_ADD = 0x6B;
inline constexpr int VK_SUBTRACT = 0x6D;
inline constexpr int VK_DECIMAL = 0x6E;
inline constexpr int VK_DIVIDE = 0x6F;
inline constexpr int VK_F1 = 0x70;
inline constexpr int VK_F2 = 0x71;
inline constexpr int VK_F3 = 0x72;
inline constexpr int VK_F4 = 0x73;
inline constexpr int VK_F5 = 0x74;
inline constexpr int VK_F6 = 0x75;
inline constexpr int VK_F7 = 0x76;
inline constexpr int VK_F8 = 0x77;
inline constexpr int VK_F9 = 0x78;
inline constexpr int VK_F10 = 0x79;
inline constexpr int VK_F11 = 0x7A;
inline constexpr int VK_F12 = 0x7B;
inline constexpr int VK_LSHIFT = 0xA0;
inline constexpr int VK_RSHIFT = 0xA1;
inline constexpr int VK_LCONTROL = 0xA2;
inline constexpr int VK_RCONTROL = 0xA3;
inline constexpr int VK_OEM_PLUS = 0xBB;
inline constexpr int VK_OEM_MINUS = 0xBD;

// Window styles.
inline constexpr DWORD WS_OVERLAPPED = 0x00000000;
inline constexpr DWORD WS_POPUP = 0x80000000;
inline constexpr DWORD WS_CHILD = 0x40000000;
inline constexpr DWORD WS_MINIMIZE = 0x20000000;
inline constexpr DWORD WS_VISIBLE = 0x10000000;
inline constexpr DWORD WS_DISABLED = 0x08000000;
inline constexpr DWORD WS_CLIPSIBLINGS = 0x04000000;
inline constexpr DWORD WS_CLIPCHILDREN = 0x02000000;
inline constexpr DWORD WS_MAXIMIZE = 0x01000000;
inline constexpr DWORD WS_CAPTION = 0x00C00000;
inline constexpr DWORD WS_BORDER = 0x00800000;
inline constexpr DWORD WS_DLGFRAME = 0x00400000;
inline constexpr DWORD WS_VSCROLL = 0x00200000;
inline constexpr DWORD WS_HSCROLL = 0x00100000;
inline constexpr DWORD WS_SYSMENU = 0x00080000;
inline constexpr DWORD WS_THICKFRAME = 0x00040000;
inline constexpr DWORD WS_GROUP = 0x00020000;
inline constexpr DWORD WS_TABSTOP = 0x00010000;
inline constexpr DWORD WS_MINIMIZEBOX = 0x00020000;
inline constexpr DWORD WS_MAXIMIZEBOX = 0x00010000;
inline constexpr DWORD WS_OVERLAPPEDWINDOW = 0x00CF0000;
inline constexpr DWORD WS_POPUPWINDOW = 0x80880000;
inline constexpr DWORD WS_EX_DLGMODALFRAME = 0x1;
inline constexpr DWORD WS_EX_NOPARENTNOTIFY = 0x4;
inline constexpr DWORD WS_EX_TOPMOST = 0x8;
inline constexpr DWORD WS_EX_TRANSPARENT = 0x20;
inline constexpr DWORD WS_EX_TOOLWINDOW = 0x80;
inline constexpr DWORD WS_EX_WINDOWEDGE = 0x100;
inline constexpr DWORD WS_EX_CLIENTEDGE = 0x200;
inline constexpr DWORD WS_EX_CONTROLPARENT = 0x10000;
inline constexpr DWORD WS_EX_STATICEDGE = 0x20000;
inline constexpr DWORD DS_3DLOOK = 0x4;
inline constexpr DWORD DS_SETFONT = 0x40;
inline constexpr DWORD DS_MODALFRAME = 0x80;
inline constexpr DWORD DS_CENTER = 0x800;
inline constexpr DWORD DS_SHELLFONT = 0x48;
inline constexpr UINT CS_VREDRAW = 0x1;
inline constexpr UINT CS_HREDRAW = 0x2;
inline constexpr UINT CS_DBLCLKS = 0x8;
inline constexpr UINT CS_SAVEBITS = 0x800;
inline constexpr UINT CS_DROPSHADOW = 0x20000;
inline constexpr int SW_HIDE = 0;
inline constexpr int SW_SHOWNORMAL = 1;
inline constexpr int SW_NORMAL = 1;
inline constexpr int SW_SHOWNOACTIVATE = 4;
inline constexpr int SW_SHOW = 5;
inline constexpr int SW_SHOWNA = 8;
inline constexpr UINT SWP_NOSIZE = 0x1;
inline constexpr UINT SWP_NOMOVE = 0x2;
inline constexpr UINT SWP_NOZORDER = 0x4;
inline constexpr UINT SWP_NOREDRAW = 0x8;
inline constexpr UINT SWP_NOACTIVATE = 0x10;
inline constexpr UINT SWP_FRAMECHANGED = 0x20;
inline constexpr UINT SWP_SHOWWINDOW = 0x40;
inline constexpr UINT SWP_HIDEWINDOW = 0x80;
#define HWND_TOP ((HWND)0)
#define HWND_BOTTOM ((HWND)1)
#define HWND_TOPMOST ((HWND)-1)
#define HWND_NOTOPMOST ((HWND)-2)
inline constexpr UINT RDW_INVALIDATE = 0x1;
inline constexpr UINT RDW_INTERNALPAINT = 0x2;
inline constexpr UINT RDW_ERASE = 0x4;
inline constexpr UINT RDW_VALIDATE = 0x8;
inline constexpr UINT RDW_NOINTERNALPAINT = 0x10;
inline constexpr UINT RDW_NOERASE = 0x20;
inline constexpr UINT RDW_NOCHILDREN = 0x40;
inline constexpr UINT RDW_ALLCHILDREN = 0x80;
inline constexpr UINT RDW_UPDATENOW = 0x100;
inline constexpr UINT RDW_ERASENOW = 0x200;
inline constexpr UINT RDW_FRAME = 0x400;
inline constexpr UINT RDW_NOFRAME = 0x800;
inline constexpr UINT GW_HWNDFIRST = 0;
inline constexpr UINT GW_HWNDLAST = 1;
inline constexpr UINT GW_HWNDNEXT = 2;
inline constexpr UINT GW_HWNDPREV = 3;
inline constexpr UINT GW_OWNER = 4;
inline constexpr UINT GW_CHILD = 5;
inline constexpr int GWL_WNDPROC = -4;
inline constexpr int GWLP_WNDPROC = -4;
inline constexpr int GWL_ID = -12;
inline constexpr int GWLP_ID = -12;
inline constexpr int GWL_STYLE = -16;
inline constexpr int GWL_EXSTYLE = -20;
inline constexpr int GWLP_USERDATA = -21;

// Dialog codes and dialog messages.
inline constexpr UINT DLGC_WANTARROWS = 0x1;
inline constexpr UINT DLGC_WANTTAB = 0x2;
inline constexpr UINT DLGC_WANTALLKEYS = 0x4;
inline constexpr UINT DLGC_WANTMESSAGE = 0x4;
inline constexpr UINT DLGC_HASSETSEL = 0x8;
inline constexpr UINT DLGC_DEFPUSHBUTTON = 0x10;
inline constexpr UINT DLGC_UNDEFPUSHBUTTON = 0x20;
inline constexpr UINT DLGC_RADIOBUTTON = 0x40;
inline constexpr UINT DLGC_WANTCHARS = 0x80;
inline constexpr UINT DLGC_STATIC = 0x100;
inline constexpr UINT DLGC_BUTTON = 0x2000;
inline constexpr UINT DM_GETDEFID = WM_USER + 0;
inline constexpr UINT DM_SETDEFID = WM_USER + 1;
inline constexpr UINT DC_HASDEFID = 0x534B;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;
inline constexpr int IDCLOSE = 8;
inline constexpr int IDHELP = 9;

// Buttons.
inline constexpr DWORD BS_PUSHBUTTON = 0x0;
inline constexpr DWORD BS_DEFPUSHBUTTON = 0x1;
inline constexpr DWORD BS_CHECKBOX = 0x2;
inline constexpr DWORD BS_AUTOCHECKBOX = 0x3;
inline constexpr DWORD BS_RADIOBUTTON = 0x4;
inline constexpr DWORD BS_3STATE = 0x5;
inline constexpr DWORD BS_AUTO3STATE = 0x6;
inline constexpr DWORD BS_GROUPBOX = 0x7;
inline constexpr DWORD BS_AUTORADIOBUTTON = 0x9;
inline constexpr DWORD BS_OWNERDRAW = 0xB;
inline constexpr DWORD BS_TYPEMASK = 0xF;
inline constexpr DWORD BS_ICON = 0x40;
inline constexpr DWORD BS_FLAT = 0x8000;
inline constexpr UINT BN_CLICKED = 0;
inline constexpr UINT BN_DOUBLECLICKED = 5;
inline constexpr UINT BN_SETFOCUS = 6;
inline constexpr UINT BN_KILLFOCUS = 7;
inline constexpr UINT BM_GETCHECK = 0xF0;
inline constexpr UINT BM_SETCHECK = 0xF1;
inline constexpr UINT BM_GETSTATE = 0xF2;
inline constexpr UINT BM_SETSTATE = 0xF3;
inline constexpr UINT BM_SETSTYLE = 0xF4;
inline constexpr UINT BM_CLICK = 0xF5;
inline constexpr UINT BST_UNCHECKED = 0;
inline constexpr UINT BST_CHECKED = 1;
inline constexpr UINT BST_INDETERMINATE = 2;
inline constexpr UINT BST_PUSHED = 4;
inline constexpr UINT BST_FOCUS = 8;

// Statics.
inline constexpr DWORD SS_LEFT = 0x0;
inline constexpr DWORD SS_CENTER = 0x1;
inline constexpr DWORD SS_RIGHT = 0x2;
inline constexpr DWORD SS_ICON = 0x3;
inline constexpr DWORD SS_BLACKRECT = 0x4;
inline constexpr DWORD SS_GRAYRECT = 0x5;
inline constexpr DWORD SS_WHITERECT = 0x6;
inline constexpr DWORD SS_BLACKFRAME = 0x7;
inline constexpr DWORD SS_SIMPLE = 0xB;
inline constexpr DWORD SS_LEFTNOWORDWRAP = 0xC;
inline constexpr DWORD SS_ETCHEDHORZ = 0x10;
inline constexpr DWORD SS_ETCHEDVERT = 0x11;
inline constexpr DWORD SS_ETCHEDFRAME = 0x12;
inline constexpr DWORD SS_TYPEMASK = 0x1F;
inline constexpr DWORD SS_NOPREFIX = 0x80;
inline constexpr DWORD SS_NOTIFY = 0x100;
inline constexpr DWORD SS_CENTERIMAGE = 0x200;
inline constexpr DWORD SS_SUNKEN = 0x1000;
inline constexpr UINT STN_CLICKED = 0;
inline constexpr UINT STN_DBLCLK = 1;
inline constexpr UINT STM_SETICON = 0x170;
inline constexpr UINT STM_GETICON = 0x171;

// Edits.
inline constexpr DWORD ES_LEFT = 0x0;
inline constexpr DWORD ES_CENTER = 0x1;
inline constexpr DWORD ES_RIGHT = 0x2;
inline constexpr DWORD ES_MULTILINE = 0x4;
inline constexpr DWORD ES_UPPERCASE = 0x8;
inline constexpr DWORD ES_LOWERCASE = 0x10;
inline constexpr DWORD ES_PASSWORD = 0x20;
inline constexpr DWORD ES_AUTOVSCROLL = 0x40;
inline constexpr DWORD ES_AUTOHSCROLL = 0x80;
inline constexpr DWORD ES_NOHIDESEL = 0x100;
inline constexpr DWORD ES_READONLY = 0x800;
inline constexpr DWORD ES_WANTRETURN = 0x1000;
inline constexpr DWORD ES_NUMBER = 0x2000;
inline constexpr UINT EM_GETSEL = 0xB0;
inline constexpr UINT EM_SETSEL = 0xB1;
inline constexpr UINT EM_GETRECT = 0xB2;
inline constexpr UINT EM_GETMODIFY = 0xB8;
inline constexpr UINT EM_SETMODIFY = 0xB9;
inline constexpr UINT EM_GETLINECOUNT = 0xBA;
inline constexpr UINT EM_REPLACESEL = 0xC2;
inline constexpr UINT EM_LIMITTEXT = 0xC5;
inline constexpr UINT EM_SETLIMITTEXT = 0xC5;
inline constexpr UINT EM_CANUNDO = 0xC6;
inline constexpr UINT EM_UNDO = 0xC7;
inline constexpr UINT EM_SETPASSWORDCHAR = 0xCC;
inline constexpr UINT EM_SETREADONLY = 0xCF;
inline constexpr UINT EM_SETMARGINS = 0xD3;
inline constexpr UINT EM_GETMARGINS = 0xD4;
inline constexpr UINT EM_GETLIMITTEXT = 0xD5;
inline constexpr UINT EM_POSFROMCHAR = 0xD6;
inline constexpr UINT EM_CHARFROMPOS = 0xD7;
inline constexpr UINT EN_SETFOCUS = 0x100;
inline constexpr UINT EN_KILLFOCUS = 0x200;
inline constexpr UINT EN_CHANGE = 0x300;
inline constexpr UINT EN_UPDATE = 0x400;
inline constexpr UINT EN_ERRSPACE = 0x500;
inline constexpr UINT EN_MAXTEXT = 0x501;
inline constexpr UINT EN_HSCROLL = 0x601;
inline constexpr UINT EN_VSCROLL = 0x602;
inline constexpr UINT EC_LEFTMARGIN = 1;
inline constexpr UINT EC_RIGHTMARGIN = 2;

// Combo boxes. The edit child of the simple and drop-down styles has the id 1001, the list of
// the simple style 1000. Notification order: a pick in the dropped list sends CBN_SELCHANGE (when
// the selection changed), CBN_SELENDOK, CBN_CLOSEUP; Esc or a click elsewhere sends
// CBN_SELENDCANCEL, CBN_CLOSEUP; arrows in a closed list send CBN_SELCHANGE.
inline constexpr DWORD CBS_SIMPLE = 0x1;
inline constexpr DWORD CBS_DROPDOWN = 0x2;
inline constexpr DWORD CBS_DROPDOWNLIST = 0x3;
inline constexpr DWORD CBS_OWNERDRAWFIXED = 0x10;
inline constexpr DWORD CBS_AUTOHSCROLL = 0x40;
inline constexpr DWORD CBS_SORT = 0x100;
inline constexpr DWORD CBS_HASSTRINGS = 0x200;
inline constexpr DWORD CBS_NOINTEGRALHEIGHT = 0x400;
inline constexpr DWORD CBS_DISABLENOSCROLL = 0x800;
inline constexpr UINT CB_GETEDITSEL = 0x140;
inline constexpr UINT CB_LIMITTEXT = 0x141;
inline constexpr UINT CB_SETEDITSEL = 0x142;
inline constexpr UINT CB_ADDSTRING = 0x143;
inline constexpr UINT CB_DELETESTRING = 0x144;
inline constexpr UINT CB_GETCOUNT = 0x146;
inline constexpr UINT CB_GETCURSEL = 0x147;
inline constexpr UINT CB_GETLBTEXT = 0x148;
inline constexpr UINT CB_GETLBTEXTLEN = 0x149;
inline constexpr UINT CB_INSERTSTRING = 0x14A;
inline constexpr UINT CB_RESETCONTENT = 0x14B;
inline constexpr UINT CB_FINDSTRING = 0x14C;
inline constexpr UINT CB_SELECTSTRING = 0x14D;
inline constexpr UINT CB_SETCURSEL = 0x14E;
inline constexpr UINT CB_SHOWDROPDOWN = 0x14F;
inline constexpr UINT CB_GETITEMDATA = 0x150;
inline constexpr UINT CB_SETITEMDATA = 0x151;
inline constexpr UINT CB_GETDROPPEDCONTROLRECT = 0x152;
inline constexpr UINT CB_SETITEMHEIGHT = 0x153;
inline constexpr UINT CB_GETITEMHEIGHT = 0x154;
inline constexpr UINT CB_GETDROPPEDSTATE = 0x157;
inline constexpr UINT CB_FINDSTRINGEXACT = 0x158;
inline constexpr UINT CB_GETDROPPEDWIDTH = 0x15F;
inline constexpr UINT CB_SETDROPPEDWIDTH = 0x160;
inline constexpr UINT CB_GETCOMBOBOXINFO = 0x164;
inline constexpr UINT CBN_SELCHANGE = 1;
inline constexpr UINT CBN_DBLCLK = 2;
inline constexpr UINT CBN_SETFOCUS = 3;
inline constexpr UINT CBN_KILLFOCUS = 4;
inline constexpr UINT CBN_EDITCHANGE = 5;
inline constexpr UINT CBN_EDITUPDATE = 6;
inline constexpr UINT CBN_DROPDOWN = 7;
inline constexpr UINT CBN_CLOSEUP = 8;
inline constexpr UINT CBN_SELENDOK = 9;
inline constexpr UINT CBN_SELENDCANCEL = 10;
inline constexpr int CB_OKAY = 0;
inline constexpr int CB_ERR = -1;
inline constexpr int CB_ERRSPACE = -2;
inline constexpr int LB_OKAY = 0;
inline constexpr int LB_ERR = -1;

// List boxes.
inline constexpr DWORD LBS_NOTIFY = 0x1;
inline constexpr DWORD LBS_SORT = 0x2;
inline constexpr DWORD LBS_NOREDRAW = 0x4;
inline constexpr DWORD LBS_MULTIPLESEL = 0x8;
inline constexpr DWORD LBS_OWNERDRAWFIXED = 0x10;
inline constexpr DWORD LBS_HASSTRINGS = 0x40;
inline constexpr DWORD LBS_USETABSTOPS = 0x80;
inline constexpr DWORD LBS_NOINTEGRALHEIGHT = 0x100;
inline constexpr DWORD LBS_EXTENDEDSEL = 0x800;
inline constexpr DWORD LBS_DISABLENOSCROLL = 0x1000;
inline constexpr UINT LB_ADDSTRING = 0x180;
inline constexpr UINT LB_INSERTSTRING = 0x181;
inline constexpr UINT LB_DELETESTRING = 0x182;
inline constexpr UINT LB_RESETCONTENT = 0x184;
inline constexpr UINT LB_SETSEL = 0x185;
inline constexpr UINT LB_SETCURSEL = 0x186;
inline constexpr UINT LB_GETSEL = 0x187;
inline constexpr UINT LB_GETCURSEL = 0x188;
inline constexpr UINT LB_GETTEXT = 0x189;
inline constexpr UINT LB_GETTEXTLEN = 0x18A;
inline constexpr UINT LB_GETCOUNT = 0x18B;
inline constexpr UINT LB_SELECTSTRING = 0x18C;
inline constexpr UINT LB_GETTOPINDEX = 0x18E;
inline constexpr UINT LB_FINDSTRING = 0x18F;
inline constexpr UINT LB_GETSELCOUNT = 0x190;
inline constexpr UINT LB_GETSELITEMS = 0x191;
inline constexpr UINT LB_SETTOPINDEX = 0x197;
inline constexpr UINT LB_GETITEMRECT = 0x198;
inline constexpr UINT LB_GETITEMDATA = 0x199;
inline constexpr UINT LB_SETITEMDATA = 0x19A;
inline constexpr UINT LB_SETITEMHEIGHT = 0x1A0;
inline constexpr UINT LB_GETITEMHEIGHT = 0x1A1;
inline constexpr UINT LB_FINDSTRINGEXACT = 0x1A2;
inline constexpr UINT LB_ITEMFROMPOINT = 0x1A9;
inline constexpr UINT LBN_SELCHANGE = 1;
inline constexpr UINT LBN_DBLCLK = 2;
inline constexpr UINT LBN_SELCANCEL = 3;
inline constexpr UINT LBN_SETFOCUS = 4;
inline constexpr UINT LBN_KILLFOCUS = 5;

// Scroll bars.
inline constexpr int SB_HORZ = 0;
inline constexpr int SB_VERT = 1;
inline constexpr int SB_CTL = 2;
inline constexpr int SB_BOTH = 3;
inline constexpr UINT SB_LINEUP = 0;
inline constexpr UINT SB_LINELEFT = 0;
inline constexpr UINT SB_LINEDOWN = 1;
inline constexpr UINT SB_LINERIGHT = 1;
inline constexpr UINT SB_PAGEUP = 2;
inline constexpr UINT SB_PAGELEFT = 2;
inline constexpr UINT SB_PAGEDOWN = 3;
inline constexpr UINT SB_PAGERIGHT = 3;
inline constexpr UINT SB_THUMBPOSITION = 4;
inline constexpr UINT SB_THUMBTRACK = 5;
inline constexpr UINT SB_TOP = 6;
inline constexpr UINT SB_LEFT = 6;
inline constexpr UINT SB_BOTTOM = 7;
inline constexpr UINT SB_RIGHT = 7;
inline constexpr UINT SB_ENDSCROLL = 8;
inline constexpr UINT SBS_HORZ = 0;
inline constexpr UINT SBS_VERT = 1;
inline constexpr UINT SIF_RANGE = 0x1;
inline constexpr UINT SIF_PAGE = 0x2;
inline constexpr UINT SIF_POS = 0x4;
inline constexpr UINT SIF_DISABLENOSCROLL = 0x8;
inline constexpr UINT SIF_TRACKPOS = 0x10;
inline constexpr UINT SIF_ALL = 0x17;
inline constexpr UINT ESB_ENABLE_BOTH = 0;
inline constexpr UINT ESB_DISABLE_LTUP = 1;
inline constexpr UINT ESB_DISABLE_RTDN = 2;
inline constexpr UINT ESB_DISABLE_BOTH = 3;
struct SCROLLINFO {
  UINT cbSize;
  UINT fMask;
  int nMin;
  int nMax;
  UINT nPage;
  int nPos;
  int nTrackPos;
};
using LPSCROLLINFO = SCROLLINFO*;

// Common-control notifications.
struct NMHDR {
  HWND hwndFrom;
  UINT_PTR idFrom;
  UINT code;
};
using LPNMHDR = NMHDR*;
inline constexpr UINT NM_CLICK = 0u - 2u;
inline constexpr UINT NM_DBLCLK = 0u - 3u;
inline constexpr UINT NM_RETURN = 0u - 4u;
inline constexpr UINT NM_RCLICK = 0u - 5u;
inline constexpr UINT NM_RDBLCLK = 0u - 6u;
inline constexpr UINT NM_SETFOCUS = 0u - 7u;
inline constexpr UINT NM_KILLFOCUS = 0u - 8u;

// Tree control.
inline constexpr DWORD TVS_HASBUTTONS = 0x1;
inline constexpr DWORD TVS_HASLINES = 0x2;
inline constexpr DWORD TVS_LINESATROOT = 0x4;
inline constexpr DWORD TVS_EDITLABELS = 0x8;
inline constexpr DWORD TVS_DISABLEDRAGDROP = 0x10;
inline constexpr DWORD TVS_SHOWSELALWAYS = 0x20;
inline constexpr DWORD TVS_NOTOOLTIPS = 0x80;
inline constexpr DWORD TVS_CHECKBOXES = 0x100;
inline constexpr DWORD TVS_TRACKSELECT = 0x200;
inline constexpr DWORD TVS_SINGLEEXPAND = 0x400;
inline constexpr DWORD TVS_FULLROWSELECT = 0x1000;
inline constexpr DWORD TVS_NOSCROLL = 0x2000;
inline constexpr DWORD TVS_NOHSCROLL = 0x8000;
inline constexpr UINT TVIF_TEXT = 0x1;
inline constexpr UINT TVIF_IMAGE = 0x2;
inline constexpr UINT TVIF_PARAM = 0x4;
inline constexpr UINT TVIF_STATE = 0x8;
inline constexpr UINT TVIF_HANDLE = 0x10;
inline constexpr UINT TVIF_SELECTEDIMAGE = 0x20;
inline constexpr UINT TVIF_CHILDREN = 0x40;
inline constexpr UINT TVIS_SELECTED = 0x2;
inline constexpr UINT TVIS_CUT = 0x4;
inline constexpr UINT TVIS_DROPHILITED = 0x8;
inline constexpr UINT TVIS_BOLD = 0x10;
inline constexpr UINT TVIS_EXPANDED = 0x20;
inline constexpr UINT TVIS_EXPANDEDONCE = 0x40;
inline constexpr UINT TVIS_STATEIMAGEMASK = 0xF000;
inline constexpr UINT TVGN_ROOT = 0x0;
inline constexpr UINT TVGN_NEXT = 0x1;
inline constexpr UINT TVGN_PREVIOUS = 0x2;
inline constexpr UINT TVGN_PARENT = 0x3;
inline constexpr UINT TVGN_CHILD = 0x4;
inline constexpr UINT TVGN_FIRSTVISIBLE = 0x5;
inline constexpr UINT TVGN_NEXTVISIBLE = 0x6;
inline constexpr UINT TVGN_PREVIOUSVISIBLE = 0x7;
inline constexpr UINT TVGN_DROPHILITE = 0x8;
inline constexpr UINT TVGN_CARET = 0x9;
inline constexpr UINT TVGN_LASTVISIBLE = 0xA;
inline constexpr UINT TVE_COLLAPSE = 0x1;
inline constexpr UINT TVE_EXPAND = 0x2;
inline constexpr UINT TVE_TOGGLE = 0x3;
inline constexpr UINT TVE_COLLAPSERESET = 0x8000;
inline constexpr UINT TVHT_NOWHERE = 0x1;
inline constexpr UINT TVHT_ONITEMICON = 0x2;
inline constexpr UINT TVHT_ONITEMLABEL = 0x4;
inline constexpr UINT TVHT_ONITEMINDENT = 0x8;
inline constexpr UINT TVHT_ONITEMBUTTON = 0x10;
inline constexpr UINT TVHT_ONITEMRIGHT = 0x20;
inline constexpr UINT TVHT_ONITEMSTATEICON = 0x40;
inline constexpr UINT TVHT_ONITEM = 0x46;
inline constexpr UINT TVHT_ABOVE = 0x100;
inline constexpr UINT TVHT_BELOW = 0x200;
inline constexpr UINT TVHT_TORIGHT = 0x400;
inline constexpr UINT TVHT_TOLEFT = 0x800;
inline constexpr UINT TVSIL_NORMAL = 0;
inline constexpr UINT TVSIL_STATE = 2;
inline constexpr UINT TVC_UNKNOWN = 0;
inline constexpr UINT TVC_BYMOUSE = 1;
inline constexpr UINT TVC_BYKEYBOARD = 2;
inline constexpr UINT TVM_INSERTITEM = 0x1132;
inline constexpr UINT TVM_DELETEITEM = 0x1101;
inline constexpr UINT TVM_EXPAND = 0x1102;
inline constexpr UINT TVM_GETITEMRECT = 0x1104;
inline constexpr UINT TVM_GETCOUNT = 0x1105;
inline constexpr UINT TVM_GETINDENT = 0x1106;
inline constexpr UINT TVM_SETINDENT = 0x1107;
inline constexpr UINT TVM_GETIMAGELIST = 0x1108;
inline constexpr UINT TVM_SETIMAGELIST = 0x1109;
inline constexpr UINT TVM_GETNEXTITEM = 0x110A;
inline constexpr UINT TVM_SELECTITEM = 0x110B;
inline constexpr UINT TVM_GETVISIBLECOUNT = 0x1110;
inline constexpr UINT TVM_HITTEST = 0x1111;
inline constexpr UINT TVM_CREATEDRAGIMAGE = 0x1112;
inline constexpr UINT TVM_ENSUREVISIBLE = 0x1114;
inline constexpr UINT TVM_SETITEMHEIGHT = 0x111B;
inline constexpr UINT TVM_GETITEMHEIGHT = 0x111C;
inline constexpr UINT TVM_GETITEMSTATE = 0x1127;
inline constexpr UINT TVM_GETITEM = 0x113E;
inline constexpr UINT TVM_SETITEM = 0x113F;
inline constexpr UINT TVN_KEYDOWN = 0u - 412u;
inline constexpr UINT TVN_SELCHANGING = 0u - 450u;
inline constexpr UINT TVN_SELCHANGED = 0u - 451u;
inline constexpr UINT TVN_ITEMEXPANDING = 0u - 454u;
inline constexpr UINT TVN_ITEMEXPANDED = 0u - 455u;
inline constexpr UINT TVN_BEGINDRAG = 0u - 456u;
inline constexpr UINT TVN_BEGINRDRAG = 0u - 457u;
inline constexpr UINT TVN_DELETEITEM = 0u - 458u;
#define TVI_ROOT ((HTREEITEM)(ULONG_PTR)-0x10000)
#define TVI_FIRST ((HTREEITEM)(ULONG_PTR)-0x0FFFF)
#define TVI_LAST ((HTREEITEM)(ULONG_PTR)-0x0FFFE)
#define TVI_SORT ((HTREEITEM)(ULONG_PTR)-0x0FFFD)

struct TVITEM {
  UINT mask;
  HTREEITEM hItem;
  UINT state;
  UINT stateMask;
  LPWSTR pszText;
  int cchTextMax;
  int iImage;
  int iSelectedImage;
  int cChildren;
  LPARAM lParam;
};
using LPTVITEM = TVITEM*;
struct TVINSERTSTRUCT {
  HTREEITEM hParent;
  HTREEITEM hInsertAfter;
  TVITEM item;
};
using LPTVINSERTSTRUCT = TVINSERTSTRUCT*;
struct TVHITTESTINFO {
  POINT pt;
  UINT flags;
  HTREEITEM hItem;
};
struct NMTREEVIEW {
  NMHDR hdr;
  UINT action;
  TVITEM itemOld;
  TVITEM itemNew;
  POINT ptDrag;
};
using LPNMTREEVIEW = NMTREEVIEW*;
struct NMTVKEYDOWN {
  NMHDR hdr;
  WORD wVKey;
  UINT flags;
};

// ---- Drawing constants ---------------------------------------------------------------------

inline constexpr UINT DT_TOP = 0x0;
inline constexpr UINT DT_LEFT = 0x0;
inline constexpr UINT DT_CENTER = 0x1;
inline constexpr UINT DT_RIGHT = 0x2;
inline constexpr UINT DT_VCENTER = 0x4;
inline constexpr UINT DT_BOTTOM = 0x8;
inline constexpr UINT DT_WORDBREAK = 0x10;
inline constexpr UINT DT_SINGLELINE = 0x20;
inline constexpr UINT DT_EXPANDTABS = 0x40;
inline constexpr UINT DT_TABSTOP = 0x80;
inline constexpr UINT DT_NOCLIP = 0x100;
inline constexpr UINT DT_EXTERNALLEADING = 0x200;
inline constexpr UINT DT_CALCRECT = 0x400;
inline constexpr UINT DT_NOPREFIX = 0x800;
inline constexpr UINT DT_INTERNAL = 0x1000;
inline constexpr UINT DT_EDITCONTROL = 0x2000;
inline constexpr UINT DT_PATH_ELLIPSIS = 0x4000;
inline constexpr UINT DT_END_ELLIPSIS = 0x8000;
inline constexpr UINT DT_MODIFYSTRING = 0x10000;
inline constexpr UINT DT_WORD_ELLIPSIS = 0x40000;
inline constexpr UINT BDR_RAISEDOUTER = 0x1;
inline constexpr UINT BDR_SUNKENOUTER = 0x2;
inline constexpr UINT BDR_RAISEDINNER = 0x4;
inline constexpr UINT BDR_SUNKENINNER = 0x8;
inline constexpr UINT EDGE_RAISED = 0x5;
inline constexpr UINT EDGE_SUNKEN = 0xA;
inline constexpr UINT EDGE_ETCHED = 0x6;
inline constexpr UINT EDGE_BUMP = 0x9;
inline constexpr UINT BF_LEFT = 0x1;
inline constexpr UINT BF_TOP = 0x2;
inline constexpr UINT BF_RIGHT = 0x4;
inline constexpr UINT BF_BOTTOM = 0x8;
inline constexpr UINT BF_TOPLEFT = 0x3;
inline constexpr UINT BF_BOTTOMRIGHT = 0xC;
inline constexpr UINT BF_RECT = 0xF;
inline constexpr UINT BF_MIDDLE = 0x800;
inline constexpr UINT BF_SOFT = 0x1000;
inline constexpr UINT BF_ADJUST = 0x2000;
inline constexpr UINT BF_FLAT = 0x4000;
inline constexpr UINT BF_MONO = 0x8000;
inline constexpr UINT DFC_CAPTION = 1;
inline constexpr UINT DFC_MENU = 2;
inline constexpr UINT DFC_SCROLL = 3;
inline constexpr UINT DFC_BUTTON = 4;
inline constexpr UINT DFCS_CAPTIONCLOSE = 0x0;
inline constexpr UINT DFCS_SCROLLUP = 0x0;
inline constexpr UINT DFCS_SCROLLDOWN = 0x1;
inline constexpr UINT DFCS_SCROLLLEFT = 0x2;
inline constexpr UINT DFCS_SCROLLRIGHT = 0x3;
inline constexpr UINT DFCS_SCROLLCOMBOBOX = 0x5;
inline constexpr UINT DFCS_SCROLLSIZEGRIP = 0x8;
inline constexpr UINT DFCS_BUTTONCHECK = 0x0;
inline constexpr UINT DFCS_BUTTONRADIO = 0x4;
inline constexpr UINT DFCS_BUTTON3STATE = 0x8;
inline constexpr UINT DFCS_BUTTONPUSH = 0x10;
inline constexpr UINT DFCS_INACTIVE = 0x100;
inline constexpr UINT DFCS_PUSHED = 0x200;
inline constexpr UINT DFCS_CHECKED = 0x400;
inline constexpr UINT DFCS_TRANSPARENT = 0x800;
inline constexpr UINT DFCS_HOT = 0x1000;
inline constexpr UINT DFCS_ADJUSTRECT = 0x2000;
inline constexpr UINT DFCS_FLAT = 0x4000;
inline constexpr UINT DFCS_MONO = 0x8000;
inline constexpr int PS_SOLID = 0;
inline constexpr int PS_DASH = 1;
inline constexpr int PS_DOT = 2;
inline constexpr int PS_DASHDOT = 3;
inline constexpr int PS_DASHDOTDOT = 4;
inline constexpr int PS_NULL = 5;
inline constexpr int PS_INSIDEFRAME = 6;
inline constexpr int PS_ALTERNATE = 8;
inline constexpr int PS_STYLE_MASK = 0xF;
inline constexpr int PS_COSMETIC = 0;
inline constexpr int PS_GEOMETRIC = 0x10000;
inline constexpr UINT BS_SOLID = 0;
inline constexpr UINT BS_NULL = 1;
inline constexpr UINT BS_HOLLOW = 1;
inline constexpr UINT BS_HATCHED = 2;
struct LOGBRUSH {
  UINT lbStyle;
  COLORREF lbColor;
  ULONG_PTR lbHatch;
};
inline constexpr int WHITE_BRUSH = 0;
inline constexpr int LTGRAY_BRUSH = 1;
inline constexpr int GRAY_BRUSH = 2;
inline constexpr int DKGRAY_BRUSH = 3;
inline constexpr int BLACK_BRUSH = 4;
inline constexpr int NULL_BRUSH = 5;
inline constexpr int HOLLOW_BRUSH = 5;
inline constexpr int WHITE_PEN = 6;
inline constexpr int BLACK_PEN = 7;
inline constexpr int NULL_PEN = 8;
inline constexpr int ANSI_VAR_FONT = 12;
inline constexpr int SYSTEM_FONT = 13;
inline constexpr int DEFAULT_GUI_FONT = 17;
inline constexpr int TRANSPARENT = 1;
inline constexpr int OPAQUE = 2;
inline constexpr int R2_BLACK = 1;
inline constexpr int R2_NOT = 6;
inline constexpr int R2_XORPEN = 7;
inline constexpr int R2_NOP = 11;
inline constexpr int R2_COPYPEN = 13;
inline constexpr int R2_WHITE = 16;
inline constexpr DWORD SRCCOPY = 0x00CC0020;
inline constexpr DWORD SRCPAINT = 0x00EE0086;
inline constexpr DWORD SRCAND = 0x008800C6;
inline constexpr DWORD SRCINVERT = 0x00660046;
inline constexpr DWORD NOTSRCCOPY = 0x00330008;
inline constexpr DWORD PATCOPY = 0x00F00021;
inline constexpr DWORD PATINVERT = 0x005A0049;
inline constexpr DWORD DSTINVERT = 0x00550009;
inline constexpr DWORD BLACKNESS = 0x00000042;
inline constexpr DWORD WHITENESS = 0x00FF0062;
inline constexpr UINT TA_LEFT = 0;
inline constexpr UINT TA_TOP = 0;
inline constexpr UINT TA_RIGHT = 2;
inline constexpr UINT TA_CENTER = 6;
inline constexpr UINT TA_BOTTOM = 8;
inline constexpr UINT TA_BASELINE = 24;
inline constexpr int MM_TEXT = 1;
inline constexpr int MM_LOMETRIC = 2;
inline constexpr int MM_HIMETRIC = 3;
inline constexpr int MM_LOENGLISH = 4;
inline constexpr int MM_ISOTROPIC = 7;
inline constexpr int MM_ANISOTROPIC = 8;
inline constexpr int TECHNOLOGY = 2;
inline constexpr int HORZSIZE = 4;
inline constexpr int VERTSIZE = 6;
inline constexpr int HORZRES = 8;
inline constexpr int VERTRES = 10;
inline constexpr int BITSPIXEL = 12;
inline constexpr int PLANES = 14;
inline constexpr int NUMCOLORS = 24;
inline constexpr int LOGPIXELSX = 88;
inline constexpr int LOGPIXELSY = 90;
inline constexpr int PHYSICALWIDTH = 110;
inline constexpr int PHYSICALHEIGHT = 111;
inline constexpr int PHYSICALOFFSETX = 112;
inline constexpr int PHYSICALOFFSETY = 113;
inline constexpr int DT_RASDISPLAY = 1;
inline constexpr int DT_RASPRINTER = 2;
inline constexpr int ERROR = 0;
inline constexpr int NULLREGION = 1;
inline constexpr int SIMPLEREGION = 2;
inline constexpr int COMPLEXREGION = 3;
inline constexpr int RGN_AND = 1;
inline constexpr int RGN_OR = 2;
inline constexpr int RGN_XOR = 3;
inline constexpr int RGN_DIFF = 4;
inline constexpr int RGN_COPY = 5;
inline constexpr UINT DI_MASK = 1;
inline constexpr UINT DI_IMAGE = 2;
inline constexpr UINT DI_NORMAL = 3;
inline constexpr int SP_ERROR = -1;
inline constexpr UINT ETO_OPAQUE = 0x2;
inline constexpr UINT ETO_CLIPPED = 0x4;

inline constexpr LONG FW_DONTCARE = 0;
inline constexpr LONG FW_THIN = 100;
inline constexpr LONG FW_LIGHT = 300;
inline constexpr LONG FW_NORMAL = 400;
inline constexpr LONG FW_MEDIUM = 500;
inline constexpr LONG FW_SEMIBOLD = 600;
inline constexpr LONG FW_BOLD = 700;
inline constexpr LONG FW_HEAVY = 900;
inline constexpr BYTE ANSI_CHARSET = 0;
inline constexpr BYTE DEFAULT_CHARSET = 1;
inline constexpr BYTE OUT_DEFAULT_PRECIS = 0;
inline constexpr BYTE CLIP_DEFAULT_PRECIS = 0;
inline constexpr BYTE DEFAULT_QUALITY = 0;
inline constexpr BYTE DEFAULT_PITCH = 0;
inline constexpr BYTE FIXED_PITCH = 1;
inline constexpr BYTE VARIABLE_PITCH = 2;
inline constexpr BYTE FF_DONTCARE = 0;
inline constexpr BYTE FF_ROMAN = 0x10;
inline constexpr BYTE FF_SWISS = 0x20;
inline constexpr BYTE FF_MODERN = 0x30;
inline constexpr int LF_FACESIZE = 32;
struct LOGFONT {
  LONG lfHeight;
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  WCHAR lfFaceName[LF_FACESIZE];
};
using LPLOGFONT = LOGFONT*;
struct TEXTMETRIC {
  LONG tmHeight, tmAscent, tmDescent, tmInternalLeading, tmExternalLeading, tmAveCharWidth,
      tmMaxCharWidth, tmWeight, tmOverhang, tmDigitizedAspectX, tmDigitizedAspectY;
  WCHAR tmFirstChar, tmLastChar, tmDefaultChar, tmBreakChar;
  BYTE tmItalic, tmUnderlined, tmStruckOut, tmPitchAndFamily, tmCharSet;
};
struct BITMAP {
  LONG bmType, bmWidth, bmHeight, bmWidthBytes;
  WORD bmPlanes, bmBitsPixel;
  LPVOID bmBits;
};
struct PAINTSTRUCT {
  HDC hdc;
  BOOL fErase;
  RECT rcPaint;
};
struct DOCINFO {
  int cbSize;
  LPCTSTR lpszDocName;
  LPCTSTR lpszOutput;
  LPCTSTR lpszDatatype;
  DWORD fwType;
};

// ---- System colours and metrics (classic defaults) ----------------------------------------

inline constexpr int COLOR_SCROLLBAR = 0;
inline constexpr int COLOR_BACKGROUND = 1;
inline constexpr int COLOR_ACTIVECAPTION = 2;
inline constexpr int COLOR_INACTIVECAPTION = 3;
inline constexpr int COLOR_MENU = 4;
inline constexpr int COLOR_WINDOW = 5;
inline constexpr int COLOR_WINDOWFRAME = 6;
inline constexpr int COLOR_MENUTEXT = 7;
inline constexpr int COLOR_WINDOWTEXT = 8;
inline constexpr int COLOR_CAPTIONTEXT = 9;
inline constexpr int COLOR_ACTIVEBORDER = 10;
inline constexpr int COLOR_INACTIVEBORDER = 11;
inline constexpr int COLOR_APPWORKSPACE = 12;
inline constexpr int COLOR_HIGHLIGHT = 13;
inline constexpr int COLOR_HIGHLIGHTTEXT = 14;
inline constexpr int COLOR_BTNFACE = 15;
inline constexpr int COLOR_3DFACE = 15;
inline constexpr int COLOR_BTNSHADOW = 16;
inline constexpr int COLOR_3DSHADOW = 16;
inline constexpr int COLOR_GRAYTEXT = 17;
inline constexpr int COLOR_BTNTEXT = 18;
inline constexpr int COLOR_INACTIVECAPTIONTEXT = 19;
inline constexpr int COLOR_BTNHIGHLIGHT = 20;
inline constexpr int COLOR_3DHILIGHT = 20;
inline constexpr int COLOR_3DHIGHLIGHT = 20;
inline constexpr int COLOR_3DDKSHADOW = 21;
inline constexpr int COLOR_3DLIGHT = 22;
inline constexpr int COLOR_INFOTEXT = 23;
inline constexpr int COLOR_INFOBK = 24;
inline constexpr int COLOR_HOTLIGHT = 26;
inline constexpr int COLOR_GRADIENTACTIVECAPTION = 27;
inline constexpr int COLOR_GRADIENTINACTIVECAPTION = 28;
inline constexpr int COLOR_MENUHILIGHT = 29;
inline constexpr int COLOR_MENUBAR = 30;
inline constexpr int SM_CXSCREEN = 0;
inline constexpr int SM_CYSCREEN = 1;
inline constexpr int SM_CXVSCROLL = 2;
inline constexpr int SM_CYHSCROLL = 3;
inline constexpr int SM_CYCAPTION = 4;
inline constexpr int SM_CXBORDER = 5;
inline constexpr int SM_CYBORDER = 6;
inline constexpr int SM_CXDLGFRAME = 7;
inline constexpr int SM_CXFIXEDFRAME = 7;
inline constexpr int SM_CYDLGFRAME = 8;
inline constexpr int SM_CYFIXEDFRAME = 8;
inline constexpr int SM_CYVTHUMB = 9;
inline constexpr int SM_CXHTHUMB = 10;
inline constexpr int SM_CXICON = 11;
inline constexpr int SM_CYICON = 12;
inline constexpr int SM_CXCURSOR = 13;
inline constexpr int SM_CYCURSOR = 14;
inline constexpr int SM_CYMENU = 15;
inline constexpr int SM_CXFULLSCREEN = 16;
inline constexpr int SM_CYFULLSCREEN = 17;
inline constexpr int SM_CYVSCROLL = 20;
inline constexpr int SM_CXHSCROLL = 21;
inline constexpr int SM_CXMIN = 28;
inline constexpr int SM_CYMIN = 29;
inline constexpr int SM_CXSIZE = 30;
inline constexpr int SM_CYSIZE = 31;
inline constexpr int SM_CXFRAME = 32;
inline constexpr int SM_CXSIZEFRAME = 32;
inline constexpr int SM_CYFRAME = 33;
inline constexpr int SM_CYSIZEFRAME = 33;
inline constexpr int SM_CXMINTRACK = 34;
inline constexpr int SM_CYMINTRACK = 35;
inline constexpr int SM_CXDOUBLECLK = 36;
inline constexpr int SM_CYDOUBLECLK = 37;
inline constexpr int SM_CXEDGE = 45;
inline constexpr int SM_CYEDGE = 46;
inline constexpr int SM_CXSMICON = 49;
inline constexpr int SM_CYSMICON = 50;
inline constexpr int SM_CYSMCAPTION = 51;
inline constexpr int SM_CXDRAG = 68;
inline constexpr int SM_CYDRAG = 69;
inline constexpr int SM_MOUSEWHEELPRESENT = 75;
DWORD GetSysColor(int index);
HBRUSH GetSysColorBrush(int index);  // a stock brush: never delete it
int GetSystemMetrics(int index);

struct NONCLIENTMETRICS {
  UINT cbSize;
  int iBorderWidth, iScrollWidth, iScrollHeight, iCaptionWidth, iCaptionHeight;
  LOGFONT lfCaptionFont;
  int iSmCaptionWidth, iSmCaptionHeight;
  LOGFONT lfSmCaptionFont;
  int iMenuWidth, iMenuHeight;
  LOGFONT lfMenuFont, lfStatusFont, lfMessageFont;
  int iPaddedBorderWidth;
};
inline constexpr UINT SPI_GETNONCLIENTMETRICS = 0x29;
inline constexpr UINT SPI_GETWORKAREA = 0x30;
inline constexpr UINT SPI_GETWHEELSCROLLLINES = 0x68;
BOOL SystemParametersInfo(UINT action, UINT param, LPVOID out, UINT winIni);

// ---- Handles: windows -----------------------------------------------------------------------

struct CREATESTRUCT {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy, cx, y, x;
  LONG style;
  LPCTSTR lpszName;
  LPCTSTR lpszClass;
  DWORD dwExStyle;
};
using LPCREATESTRUCT = CREATESTRUCT*;
struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
using LPMSG = MSG*;
struct WNDCLASS {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;  // a brush, or (HBRUSH)(COLOR_x + 1)
  LPCTSTR lpszMenuName;
  LPCTSTR lpszClassName;
};

// Classes: "Button", "Static", "Edit", "ComboBox", "ListBox", "SysTreeView32", "ScrollBar" and
// the dialog class "#32770" are built in; others come from RegisterClass/AfxRegisterClass.
BOOL RegisterClass(const WNDCLASS* wc);
BOOL GetClassInfo(HINSTANCE instance, LPCTSTR className, WNDCLASS* out);
BOOL UnregisterClass(LPCTSTR className, HINSTANCE instance);
HWND CreateWindowEx(DWORD exStyle, LPCTSTR className, LPCTSTR title, DWORD style, int x, int y, int cx,
                    int cy, HWND parent, HMENU idOrMenu, HINSTANCE instance, LPVOID param);
BOOL DestroyWindow(HWND h);
BOOL IsWindow(HWND h);
LRESULT DefWindowProc(HWND h, UINT msg, WPARAM w, LPARAM l);
LRESULT CallWindowProc(WNDPROC proc, HWND h, UINT msg, WPARAM w, LPARAM l);
LRESULT SendMessage(HWND h, UINT msg, WPARAM w = 0, LPARAM l = 0);
BOOL PostMessage(HWND h, UINT msg, WPARAM w = 0, LPARAM l = 0);
HWND GetParent(HWND h);
HWND GetWindow(HWND h, UINT cmd);
HWND GetDlgItem(HWND dialog, int id);
int GetDlgCtrlID(HWND h);
HWND GetFocus();
HWND SetFocus(HWND h);
HWND GetCapture();
HWND SetCapture(HWND h);
BOOL ReleaseCapture();
HWND GetActiveWindow();
HWND GetDesktopWindow();
BOOL IsChild(HWND parent, HWND h);
BOOL IsWindowVisible(HWND h);
BOOL IsWindowEnabled(HWND h);
BOOL EnableWindow(HWND h, BOOL enable);
BOOL ShowWindow(HWND h, int cmd);
BOOL MoveWindow(HWND h, int x, int y, int cx, int cy, BOOL repaint);
BOOL SetWindowPos(HWND h, HWND after, int x, int y, int cx, int cy, UINT flags);
BOOL GetWindowRect(HWND h, LPRECT r);  // screen coordinates
BOOL GetClientRect(HWND h, LPRECT r);
BOOL ClientToScreen(HWND h, LPPOINT p);
BOOL ScreenToClient(HWND h, LPPOINT p);
int MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count);
HWND WindowFromPoint(POINT screen);
HWND ChildWindowFromPoint(HWND parent, POINT client);
LONG_PTR GetWindowLongPtr(HWND h, int index);
LONG_PTR SetWindowLongPtr(HWND h, int index, LONG_PTR value);
LONG GetWindowLong(HWND h, int index);
LONG SetWindowLong(HWND h, int index, LONG value);
BOOL SetWindowText(HWND h, LPCTSTR text);
int GetWindowText(HWND h, LPTSTR buffer, int max);
int GetWindowTextLength(HWND h);
int GetClassName(HWND h, LPTSTR buffer, int max);
BOOL InvalidateRect(HWND h, LPCRECT r, BOOL erase);
BOOL ValidateRect(HWND h, LPCRECT r);
BOOL UpdateWindow(HWND h);
BOOL RedrawWindow(HWND h, LPCRECT r, HRGN region, UINT flags);
BOOL LockWindowUpdate(HWND h);
BOOL GetUpdateRect(HWND h, LPRECT r, BOOL erase);
HDC BeginPaint(HWND h, PAINTSTRUCT* ps);
BOOL EndPaint(HWND h, const PAINTSTRUCT* ps);
HDC GetDC(HWND h);
HDC GetWindowDC(HWND h);
int ReleaseDC(HWND h, HDC dc);
UINT_PTR SetTimer(HWND h, UINT_PTR id, UINT elapseMs, void* unusedProc);
BOOL KillTimer(HWND h, UINT_PTR id);
short GetKeyState(int vk);
short GetAsyncKeyState(int vk);
BOOL GetCursorPos(LPPOINT p);
BOOL SetCursorPos(int x, int y);
BOOL ClipCursor(LPCRECT r);
BOOL GetClipCursor(LPRECT r);
HCURSOR SetCursor(HCURSOR c);
HCURSOR LoadCursor(HINSTANCE instance, LPCTSTR name);
BOOL DragDetect(HWND h, POINT screen);
UINT GetDoubleClickTime();
BOOL IsDialogMessage(HWND dialog, LPMSG msg);
HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous);
BOOL EndDialog(HWND dialog, INT_PTR result);
BOOL SetDlgItemText(HWND dialog, int id, LPCTSTR text);
UINT GetDlgItemText(HWND dialog, int id, LPTSTR buffer, int max);
LRESULT SendDlgItemMessage(HWND dialog, int id, UINT msg, WPARAM w, LPARAM l);
BOOL CheckDlgButton(HWND dialog, int id, UINT check);
UINT IsDlgButtonChecked(HWND dialog, int id);
BOOL ScrollWindow(HWND h, int dx, int dy, LPCRECT scroll, LPCRECT clip);
int SetScrollInfo(HWND h, int bar, const SCROLLINFO* info, BOOL redraw);
BOOL GetScrollInfo(HWND h, int bar, LPSCROLLINFO info);
int SetScrollPos(HWND h, int bar, int pos, BOOL redraw);
int GetScrollPos(HWND h, int bar);
BOOL SetScrollRange(HWND h, int bar, int minPos, int maxPos, BOOL redraw);
BOOL GetScrollRange(HWND h, int bar, LPINT minPos, LPINT maxPos);
BOOL ShowScrollBar(HWND h, int bar, BOOL show);
BOOL EnableScrollBar(HWND h, int bar, UINT arrows);
BOOL SetForegroundWindow(HWND h);
HWND SetActiveWindow(HWND h);
BOOL BringWindowToTop(HWND h);

#define IDC_ARROW MAKEINTRESOURCE(32512)
#define IDC_IBEAM MAKEINTRESOURCE(32513)
#define IDC_WAIT MAKEINTRESOURCE(32514)
#define IDC_CROSS MAKEINTRESOURCE(32515)
#define IDC_SIZENWSE MAKEINTRESOURCE(32642)
#define IDC_SIZENESW MAKEINTRESOURCE(32643)
#define IDC_SIZEWE MAKEINTRESOURCE(32644)
#define IDC_SIZENS MAKEINTRESOURCE(32645)
#define IDC_SIZEALL MAKEINTRESOURCE(32646)
#define IDC_NO MAKEINTRESOURCE(32648)
#define IDC_HAND MAKEINTRESOURCE(32649)

// ---- GDI handles --------------------------------------------------------------------------

HPEN CreatePen(int style, int width, COLORREF color);
HPEN ExtCreatePen(DWORD style, DWORD width, const LOGBRUSH* brush, DWORD styleCount, const DWORD* styles);
HBRUSH CreateSolidBrush(COLORREF color);
HBRUSH CreateBrushIndirect(const LOGBRUSH* lb);
HFONT CreateFontIndirect(const LOGFONT* lf);
HBITMAP CreateCompatibleBitmap(HDC dc, int cx, int cy);
// A 32-bit top-down bitmap from BGRA pixels (bits may be null: black). Other depths are refused.
HBITMAP CreateBitmap(int cx, int cy, UINT planes, UINT bitsPerPixel, const void* bits);
HRGN CreateRectRgn(int l, int t, int r, int b);
HRGN CreateRectRgnIndirect(LPCRECT r);
int CombineRgn(HRGN dest, HRGN a, HRGN b, int mode);
BOOL PtInRegion(HRGN r, int x, int y);
int GetRgnBox(HRGN r, LPRECT box);
// An object still selected into a DC is not deleted at once: the call answers FALSE and the object
// goes when the last DC lets it go, so nothing outlives its owner. Stock objects never go.
BOOL DeleteObject(HGDIOBJ obj);
HGDIOBJ GetStockObject(int index);
int GetObject(HGDIOBJ obj, int size, LPVOID out);  // LOGFONT of a font, BITMAP of a bitmap
HDC CreateCompatibleDC(HDC dc);
BOOL DeleteDC(HDC dc);
HGDIOBJ SelectObject(HDC dc, HGDIOBJ obj);
int GetDeviceCaps(HDC dc, int index);
HICON LoadIcon(HINSTANCE instance, LPCTSTR name);
inline constexpr UINT IMAGE_BITMAP = 0;
inline constexpr UINT IMAGE_ICON = 1;
inline constexpr UINT IMAGE_CURSOR = 2;
inline constexpr UINT LR_DEFAULTCOLOR = 0;
inline constexpr UINT LR_SHARED = 0x8000;
HANDLE LoadImage(HINSTANCE instance, LPCTSTR name, UINT type, int cx, int cy, UINT flags);
BOOL DestroyIcon(HICON icon);
BOOL DrawIconEx(HDC dc, int x, int y, HICON icon, int cx, int cy, UINT step, HBRUSH flicker, UINT flags);
BOOL DrawIcon(HDC dc, int x, int y, HICON icon);
BOOL DrawEdge(HDC dc, LPRECT r, UINT edge, UINT flags);
BOOL DrawFrameControl(HDC dc, LPRECT r, UINT type, UINT state);
BOOL DrawFocusRect(HDC dc, LPCRECT r);
int FillRect(HDC dc, LPCRECT r, HBRUSH brush);
int FrameRect(HDC dc, LPCRECT r, HBRUSH brush);
BOOL InvertRect(HDC dc, LPCRECT r);
int DrawText(HDC dc, LPCTSTR text, int count, LPRECT r, UINT format);
BOOL BitBlt(HDC dest, int x, int y, int cx, int cy, HDC src, int xs, int ys, DWORD rop);
COLORREF SetTextColor(HDC dc, COLORREF c);
COLORREF SetBkColor(HDC dc, COLORREF c);
int SetBkMode(HDC dc, int mode);
BOOL GetTextExtentPoint32(HDC dc, LPCTSTR text, int count, SIZE* out);

// ---- Class library: GDI objects -----------------------------------------------------------

class CDC;
class CGdiObject : public CObject {
 public:
  CGdiObject() = default;
  ~CGdiObject() override;
  CGdiObject(const CGdiObject&) = delete;
  CGdiObject& operator=(const CGdiObject&) = delete;
  HGDIOBJ m_hObject = nullptr;
  HGDIOBJ GetSafeHandle() const { return m_hObject; }
  operator HGDIOBJ() const { return m_hObject; }
  BOOL Attach(HGDIOBJ h);
  HGDIOBJ Detach();
  BOOL DeleteObject();
  int GetObject(int size, LPVOID out) const { return ::GetObject(m_hObject, size, out); }
  BOOL CreateStockObject(int index);
};

class CPen : public CGdiObject {
 public:
  CPen() = default;
  CPen(int style, int width, COLORREF color);
  CPen(int style, int width, const LOGBRUSH* brush, int styleCount = 0, const DWORD* styles = nullptr);
  BOOL CreatePen(int style, int width, COLORREF color);
  BOOL CreatePen(int style, int width, const LOGBRUSH* brush, int styleCount = 0, const DWORD* styles = nullptr);
  operator HPEN() const { return static_cast<HPEN>(m_hObject); }
  static CPen* FromHandle(HPEN h);
};

class CBrush : public CGdiObject {
 public:
  CBrush() = default;
  explicit CBrush(COLORREF color);
  BOOL CreateSolidBrush(COLORREF color);
  BOOL CreateSysColorBrush(int index);
  operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }
  static CBrush* FromHandle(HBRUSH h);
};

class CFont : public CGdiObject {
 public:
  BOOL CreateFontIndirect(const LOGFONT* lf);
  // Height in tenths of a point at the screen's 96 dots per inch (or the DC's, when given).
  BOOL CreatePointFont(int pointSize10, LPCTSTR face, CDC* dc = nullptr);
  BOOL CreateFont(int height, int width, int escapement, int orientation, int weight, BYTE italic,
                  BYTE underline, BYTE strikeOut, BYTE charSet, BYTE outPrecision, BYTE clipPrecision,
                  BYTE quality, BYTE pitchAndFamily, LPCTSTR face);
  int GetLogFont(LOGFONT* lf) const;
  operator HFONT() const { return static_cast<HFONT>(m_hObject); }
  static CFont* FromHandle(HFONT h);
};

class CBitmap : public CGdiObject {
 public:
  BOOL CreateCompatibleBitmap(CDC* dc, int cx, int cy);
  BOOL CreateBitmap(int cx, int cy, UINT planes, UINT bitsPerPixel, const void* bits);
  // Bitmaps come from resources on the platform; the host has none and answers FALSE.
  BOOL LoadBitmap(UINT id);
  int GetBitmap(BITMAP* out) const;
  CSize GetBitmapDimension() const;
  operator HBITMAP() const { return static_cast<HBITMAP>(m_hObject); }
  static CBitmap* FromHandle(HBITMAP h);
};

class CRgn : public CGdiObject {
 public:
  BOOL CreateRectRgn(int l, int t, int r, int b);
  BOOL CreateRectRgnIndirect(LPCRECT r);
  int CombineRgn(const CRgn* a, const CRgn* b, int mode);
  BOOL PtInRegion(POINT p) const;
  int GetRgnBox(LPRECT r) const;
  operator HRGN() const { return static_cast<HRGN>(m_hObject); }
};

// ---- Class library: device context --------------------------------------------------------

// A device context: a window's client area (through CPaintDC/CClientDC), a memory bitmap
// (CreateCompatibleDC + SelectObject(CBitmap*)) or a printer whose pages go to a PDF file.
// Coordinates follow the mapping mode (MM_TEXT, MM_ISOTROPIC, MM_ANISOTROPIC with window and
// viewport origin and extent). Text uses Pango with the pinned DejaVu faces.
class CWnd;
class CDC : public CObject {
 public:
  CDC() = default;
  ~CDC() override;
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;

  HDC m_hDC = nullptr;
  HDC m_hAttribDC = nullptr;
  BOOL m_bPrinting = FALSE;
  HDC GetSafeHdc() const { return m_hDC; }
  operator HDC() const { return m_hDC; }
  BOOL Attach(HDC h);
  HDC Detach();
  BOOL DeleteDC();
  static CDC* FromHandle(HDC h);
  BOOL CreateCompatibleDC(CDC* dc);
  BOOL IsPrinting() const { return m_bPrinting; }

  CPen* SelectObject(CPen* pen);
  CBrush* SelectObject(CBrush* brush);
  CFont* SelectObject(CFont* font);
  CBitmap* SelectObject(CBitmap* bitmap);
  CGdiObject* SelectObject(CGdiObject* obj);
  HGDIOBJ SelectObject(HGDIOBJ obj);
  CGdiObject* SelectStockObject(int index);
  CFont* GetCurrentFont() const;
  CPen* GetCurrentPen() const;
  CBrush* GetCurrentBrush() const;
  CBitmap* GetCurrentBitmap() const;

  COLORREF SetTextColor(COLORREF c);
  COLORREF GetTextColor() const;
  COLORREF SetBkColor(COLORREF c);
  COLORREF GetBkColor() const;
  int SetBkMode(int mode);
  int GetBkMode() const;
  int SetROP2(int mode);
  int GetROP2() const;
  UINT SetTextAlign(UINT flags);
  UINT GetTextAlign() const;

  int SetMapMode(int mode);
  int GetMapMode() const;
  CPoint SetWindowOrg(int x, int y);
  CPoint SetWindowOrg(POINT p) { return SetWindowOrg(p.x, p.y); }
  CPoint GetWindowOrg() const;
  CPoint SetViewportOrg(int x, int y);
  CPoint SetViewportOrg(POINT p) { return SetViewportOrg(p.x, p.y); }
  CPoint GetViewportOrg() const;
  CPoint OffsetViewportOrg(int dx, int dy);
  CPoint OffsetWindowOrg(int dx, int dy);
  CSize SetWindowExt(int cx, int cy);
  CSize SetWindowExt(SIZE s) { return SetWindowExt(s.cx, s.cy); }
  CSize GetWindowExt() const;
  CSize SetViewportExt(int cx, int cy);
  CSize SetViewportExt(SIZE s) { return SetViewportExt(s.cx, s.cy); }
  CSize GetViewportExt() const;
  void LPtoDP(LPPOINT p, int count = 1) const;
  void LPtoDP(LPRECT r) const;
  void DPtoLP(LPPOINT p, int count = 1) const;
  void DPtoLP(LPRECT r) const;
  void LPtoDP(LPSIZE s) const;
  void DPtoLP(LPSIZE s) const;

  int SaveDC();
  BOOL RestoreDC(int saved);
  int GetDeviceCaps(int index) const;

  int IntersectClipRect(int l, int t, int r, int b);
  int IntersectClipRect(LPCRECT r) { return IntersectClipRect(r->left, r->top, r->right, r->bottom); }
  int ExcludeClipRect(int l, int t, int r, int b);
  int ExcludeClipRect(LPCRECT r) { return ExcludeClipRect(r->left, r->top, r->right, r->bottom); }
  int SelectClipRgn(CRgn* region);  // null: no clipping beyond the device's own
  int GetClipBox(LPRECT r) const;
  BOOL PtVisible(int x, int y) const;
  BOOL RectVisible(LPCRECT r) const;

  CPoint MoveTo(int x, int y);
  CPoint MoveTo(POINT p) { return MoveTo(p.x, p.y); }
  BOOL LineTo(int x, int y);
  BOOL LineTo(POINT p) { return LineTo(p.x, p.y); }
  CPoint GetCurrentPosition() const;
  BOOL Polyline(const POINT* points, int count);
  BOOL Polygon(const POINT* points, int count);
  BOOL Rectangle(int l, int t, int r, int b);
  BOOL Rectangle(LPCRECT r) { return Rectangle(r->left, r->top, r->right, r->bottom); }
  BOOL Ellipse(int l, int t, int r, int b);
  BOOL Ellipse(LPCRECT r) { return Ellipse(r->left, r->top, r->right, r->bottom); }
  COLORREF SetPixel(int x, int y, COLORREF c);
  COLORREF GetPixel(int x, int y) const;
  COLORREF GetPixel(POINT p) const { return GetPixel(p.x, p.y); }
  void FillSolidRect(LPCRECT r, COLORREF c);
  void FillSolidRect(int x, int y, int cx, int cy, COLORREF c);
  void FillRect(LPCRECT r, CBrush* brush);
  void FrameRect(LPCRECT r, CBrush* brush);
  void Draw3dRect(LPCRECT r, COLORREF topLeft, COLORREF bottomRight);
  void Draw3dRect(int x, int y, int cx, int cy, COLORREF topLeft, COLORREF bottomRight);
  BOOL DrawEdge(LPRECT r, UINT edge, UINT flags);
  BOOL DrawFrameControl(LPRECT r, UINT type, UINT state);
  void InvertRect(LPCRECT r);
  void DrawFocusRect(LPCRECT r);
  BOOL DrawIcon(int x, int y, HICON icon);
  BOOL DrawIcon(POINT p, HICON icon) { return DrawIcon(p.x, p.y, icon); }

  // Text. DrawText answers the height of the text; DT_CALCRECT sets the rectangle and draws
  // nothing. '&' marks a mnemonic (underlined, "&&" is '&') unless DT_NOPREFIX.
  int DrawText(const CString& text, LPRECT r, UINT format);
  int DrawText(LPCTSTR text, int count, LPRECT r, UINT format);
  BOOL TextOut(int x, int y, const CString& text);
  BOOL TextOut(int x, int y, LPCTSTR text, int count);
  BOOL ExtTextOut(int x, int y, UINT options, LPCRECT r, const CString& text, LPINT widths);
  CSize GetTextExtent(const CString& text) const;
  CSize GetTextExtent(LPCTSTR text, int count) const;
  CSize GetOutputTextExtent(const CString& text) const { return GetTextExtent(text); }
  BOOL GetTextMetrics(TEXTMETRIC* tm) const;
  int GetTextFace(int count, LPTSTR face) const;

  BOOL BitBlt(int x, int y, int cx, int cy, CDC* src, int xs, int ys, DWORD rop);
  BOOL StretchBlt(int x, int y, int cx, int cy, CDC* src, int xs, int ys, int cxs, int cys, DWORD rop);
  BOOL PatBlt(int x, int y, int cx, int cy, DWORD rop);

  // Printing: pages between StartPage and EndPage become pages of the PDF.
  int StartDoc(const DOCINFO* info);
  int StartDoc(LPCTSTR docName);
  int StartPage();
  int EndPage();
  int EndDoc();
  int AbortDoc();
};

class CPaintDC : public CDC {
 public:
  explicit CPaintDC(CWnd* wnd);
  ~CPaintDC() override;
  PAINTSTRUCT m_ps{};

 private:
  HWND hwnd_;
};

class CClientDC : public CDC {
 public:
  explicit CClientDC(CWnd* wnd);
  ~CClientDC() override;

 private:
  HWND hwnd_;
};

class CWindowDC : public CDC {
 public:
  explicit CWindowDC(CWnd* wnd);
  ~CWindowDC() override;

 private:
  HWND hwnd_;
};

// ---- Image lists ----------------------------------------------------------------------------

inline constexpr UINT ILC_MASK = 0x1;
inline constexpr UINT ILC_COLOR = 0x0;
inline constexpr UINT ILC_COLOR4 = 0x4;
inline constexpr UINT ILC_COLOR8 = 0x8;
inline constexpr UINT ILC_COLOR16 = 0x10;
inline constexpr UINT ILC_COLOR24 = 0x18;
inline constexpr UINT ILC_COLOR32 = 0x20;
inline constexpr UINT ILD_NORMAL = 0x0;
inline constexpr UINT ILD_TRANSPARENT = 0x1;
inline constexpr UINT ILD_BLEND25 = 0x2;
inline constexpr UINT ILD_FOCUS = 0x2;
inline constexpr UINT ILD_BLEND50 = 0x4;
inline constexpr UINT ILD_SELECTED = 0x4;
inline constexpr UINT ILD_MASK = 0x10;
struct IMAGEINFO {
  HBITMAP hbmImage;
  HBITMAP hbmMask;
  int Unused1, Unused2;
  RECT rcImage;
};
HIMAGELIST ImageList_Create(int cx, int cy, UINT flags, int initial, int grow);
BOOL ImageList_Destroy(HIMAGELIST list);
int ImageList_Add(HIMAGELIST list, HBITMAP image, HBITMAP mask);
int ImageList_AddMasked(HIMAGELIST list, HBITMAP image, COLORREF mask);
int ImageList_ReplaceIcon(HIMAGELIST list, int index, HICON icon);
int ImageList_AddIcon(HIMAGELIST list, HICON icon);
BOOL ImageList_Remove(HIMAGELIST list, int index);
int ImageList_GetImageCount(HIMAGELIST list);
BOOL ImageList_GetIconSize(HIMAGELIST list, int* cx, int* cy);
BOOL ImageList_GetImageInfo(HIMAGELIST list, int index, IMAGEINFO* info);
BOOL ImageList_Draw(HIMAGELIST list, int index, HDC dc, int x, int y, UINT style);
// The drag image: one at a time, drawn over the screen (in screen coordinates) until EndDrag.
BOOL ImageList_BeginDrag(HIMAGELIST list, int index, int dxHotspot, int dyHotspot);
BOOL ImageList_DragEnter(HWND lock, int x, int y);
BOOL ImageList_DragMove(int x, int y);
BOOL ImageList_DragLeave(HWND lock);
void ImageList_EndDrag();
BOOL ImageList_DragShowNolock(BOOL show);
// The image being dragged (null when none), where it was last put in screen coordinates, and its
// hot spot.
HIMAGELIST ImageList_GetDragImage(POINT* at, POINT* hotspot);

class CImageList : public CObject {
 public:
  CImageList() = default;
  ~CImageList() override;
  CImageList(const CImageList&) = delete;
  CImageList& operator=(const CImageList&) = delete;
  HIMAGELIST m_hImageList = nullptr;
  HIMAGELIST GetSafeHandle() const { return m_hImageList; }
  operator HIMAGELIST() const { return m_hImageList; }
  BOOL Create(int cx, int cy, UINT flags, int initial, int grow);
  BOOL DeleteImageList();
  BOOL Attach(HIMAGELIST h);
  HIMAGELIST Detach();
  static CImageList* FromHandle(HIMAGELIST h);
  int Add(CBitmap* image, CBitmap* mask);
  int Add(CBitmap* image, COLORREF mask);
  int Add(HICON icon);
  BOOL Remove(int index);
  int GetImageCount() const;
  BOOL GetImageInfo(int index, IMAGEINFO* info) const;
  BOOL Draw(CDC* dc, int index, POINT p, UINT style);
  BOOL BeginDrag(int index, CPoint hotspot);
  static BOOL DragEnter(CWnd* lock, CPoint p);
  static BOOL DragMove(CPoint p);
  static BOOL DragLeave(CWnd* lock);
  static void EndDrag();
  static BOOL DragShowNolock(BOOL show);
};

// ---- Class library: windows -----------------------------------------------------------------

class CScrollBar;
class CWnd : public CObject {
 public:
  CWnd() = default;
  ~CWnd() override;  // destroys the window if it still has one
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;

  HWND m_hWnd = nullptr;
  HWND GetSafeHwnd() const { return m_hWnd; }
  operator HWND() const { return m_hWnd; }

  // Places in the z-order for SetWindowPos.
  static const CWnd wndTop, wndBottom, wndTopMost, wndNoTopMost;

  // The attached object of a handle, or a wrapper owned by the window (freed with it).
  static CWnd* FromHandle(HWND h);
  static CWnd* FromHandlePermanent(HWND h);
  BOOL Attach(HWND h);
  HWND Detach();
  // Makes this object the window's procedure; the former one stays reachable as Default().
  BOOL SubclassWindow(HWND h);
  BOOL SubclassDlgItem(UINT id, CWnd* parent);
  HWND UnsubclassWindow();

  virtual BOOL Create(LPCTSTR className, LPCTSTR title, DWORD style, const RECT& r, CWnd* parent,
                      UINT id, void* context = nullptr);
  virtual BOOL CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR title, DWORD style, const RECT& r,
                        CWnd* parent, UINT id, LPVOID param = nullptr);
  BOOL CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR title, DWORD style, int x, int y, int cx,
                int cy, HWND parent, HMENU idOrMenu, LPVOID param = nullptr);
  virtual BOOL DestroyWindow();

  // Dispatch. WindowProc routes a message to OnWndMsg's handlers and, unhandled, to
  // DefWindowProc, which runs the window's previous procedure (the built-in control, or the
  // system default).
  virtual LRESULT WindowProc(UINT msg, WPARAM w, LPARAM l);
  virtual LRESULT DefWindowProc(UINT msg, WPARAM w, LPARAM l);
  LRESULT Default();
  static const MSG* GetCurrentMessage();
  virtual BOOL PreTranslateMessage(MSG* msg);
  virtual BOOL PreCreateWindow(CREATESTRUCT& cs);
  virtual void PreSubclassWindow();
  virtual void PostNcDestroy();
  virtual BOOL OnCommand(WPARAM w, LPARAM l);
  virtual BOOL OnNotify(WPARAM w, LPARAM l, LRESULT* result);
  virtual BOOL OnChildNotify(UINT msg, WPARAM w, LPARAM l, LRESULT* result);

  LRESULT SendMessage(UINT msg, WPARAM w = 0, LPARAM l = 0) const;
  BOOL PostMessage(UINT msg, WPARAM w = 0, LPARAM l = 0) const;
  void SendMessageToDescendants(UINT msg, WPARAM w = 0, LPARAM l = 0, BOOL deep = TRUE);

  CWnd* GetParent() const;
  CWnd* GetOwner() const;
  void SetOwner(CWnd* owner);
  CWnd* GetTopLevelParent() const;
  CWnd* GetWindow(UINT cmd) const;
  CWnd* GetNextWindow(UINT cmd = GW_HWNDNEXT) const { return GetWindow(cmd); }
  CWnd* GetDlgItem(int id) const;
  int GetDlgCtrlID() const;
  int SetDlgCtrlID(int id);
  BOOL IsChild(const CWnd* w) const;
  CWnd* ChildWindowFromPoint(POINT p) const;
  static CWnd* WindowFromPoint(POINT p);
  static CWnd* GetFocus();
  CWnd* SetFocus();
  static CWnd* GetCapture();
  CWnd* SetCapture();
  static CWnd* GetActiveWindow();
  CWnd* SetActiveWindow();
  BOOL SetForegroundWindow();
  void BringWindowToTop();
  CWnd* GetNextDlgTabItem(CWnd* control, BOOL previous = FALSE) const;

  DWORD GetStyle() const;
  DWORD GetExStyle() const;
  BOOL ModifyStyle(DWORD remove, DWORD add, UINT swpFlags = 0);
  BOOL ModifyStyleEx(DWORD remove, DWORD add, UINT swpFlags = 0);
  void SetWindowText(LPCTSTR text);
  int GetWindowText(LPTSTR buffer, int max) const;
  void GetWindowText(CString& text) const;
  int GetWindowTextLength() const;
  void SetDlgItemText(int id, LPCTSTR text);
  int GetDlgItemText(int id, CString& text) const;
  UINT GetDlgItemInt(int id, BOOL* ok = nullptr, BOOL isSigned = TRUE) const;
  void SetDlgItemInt(int id, UINT value, BOOL isSigned = TRUE);
  void CheckDlgButton(int id, UINT check);
  UINT IsDlgButtonChecked(int id) const;
  LRESULT SendDlgItemMessage(int id, UINT msg, WPARAM w = 0, LPARAM l = 0) const;
  void SetFont(CFont* font, BOOL redraw = TRUE);
  CFont* GetFont() const;
  HICON SetIcon(HICON icon, BOOL big);
  HICON GetIcon(BOOL big) const;

  void GetWindowRect(LPRECT r) const;
  void GetClientRect(LPRECT r) const;
  void ClientToScreen(LPPOINT p) const;
  void ClientToScreen(LPRECT r) const;
  void ScreenToClient(LPPOINT p) const;
  void ScreenToClient(LPRECT r) const;
  void MapWindowPoints(CWnd* to, LPPOINT p, UINT count) const;
  void MapWindowPoints(CWnd* to, LPRECT r) const;
  void MoveWindow(int x, int y, int cx, int cy, BOOL repaint = TRUE);
  void MoveWindow(LPCRECT r, BOOL repaint = TRUE);
  BOOL SetWindowPos(const CWnd* after, int x, int y, int cx, int cy, UINT flags);
  void CenterWindow(CWnd* alternate = nullptr);
  BOOL ShowWindow(int cmd);
  BOOL IsWindowVisible() const;
  BOOL IsWindowEnabled() const;
  BOOL EnableWindow(BOOL enable = TRUE);
  BOOL IsIconic() const { return FALSE; }
  BOOL IsZoomed() const { return FALSE; }

  void Invalidate(BOOL erase = TRUE);
  void InvalidateRect(LPCRECT r, BOOL erase = TRUE);
  void ValidateRect(LPCRECT r);
  void UpdateWindow();
  BOOL RedrawWindow(LPCRECT r = nullptr, CRgn* region = nullptr,
                    UINT flags = RDW_INVALIDATE | RDW_UPDATENOW | RDW_ERASE);
  BOOL LockWindowUpdate();
  void UnlockWindowUpdate();
  void SetRedraw(BOOL redraw = TRUE);
  BOOL GetUpdateRect(LPRECT r, BOOL erase = FALSE);
  CDC* GetDC();
  CDC* GetWindowDC();
  int ReleaseDC(CDC* dc);

  UINT_PTR SetTimer(UINT_PTR id, UINT elapseMs, void* unusedProc = nullptr);
  BOOL KillTimer(UINT_PTR id);

  int SetScrollInfo(int bar, LPSCROLLINFO info, BOOL redraw = TRUE);
  BOOL GetScrollInfo(int bar, LPSCROLLINFO info, UINT mask = SIF_ALL);
  int SetScrollPos(int bar, int pos, BOOL redraw = TRUE);
  int GetScrollPos(int bar) const;
  void SetScrollRange(int bar, int minPos, int maxPos, BOOL redraw = TRUE);
  void GetScrollRange(int bar, LPINT minPos, LPINT maxPos) const;
  int GetScrollLimit(int bar);
  void ShowScrollBar(UINT bar, BOOL show = TRUE);
  void EnableScrollBarCtrl(int bar, BOOL enable = TRUE);
  BOOL EnableScrollBar(int bar, UINT arrows = ESB_ENABLE_BOTH);
  void ScrollWindow(int dx, int dy, LPCRECT scroll = nullptr, LPCRECT clip = nullptr);

  // Handlers; each base version passes the message on (Default()).
  virtual int OnCreate(LPCREATESTRUCT cs);
  virtual void OnDestroy();
  virtual void OnNcDestroy();
  virtual void OnPaint();
  virtual BOOL OnEraseBkgnd(CDC* dc);
  virtual void OnSize(UINT type, int cx, int cy);
  virtual void OnMove(int x, int y);
  virtual void OnShowWindow(BOOL show, UINT status);
  virtual void OnSetFocus(CWnd* old);
  virtual void OnKillFocus(CWnd* next);
  virtual void OnEnable(BOOL enable);
  virtual void OnCaptureChanged(CWnd* wnd);
  virtual void OnCancelMode();
  virtual void OnLButtonDown(UINT flags, CPoint p);
  virtual void OnLButtonUp(UINT flags, CPoint p);
  virtual void OnLButtonDblClk(UINT flags, CPoint p);
  virtual void OnRButtonDown(UINT flags, CPoint p);
  virtual void OnRButtonUp(UINT flags, CPoint p);
  virtual void OnRButtonDblClk(UINT flags, CPoint p);
  virtual void OnMouseMove(UINT flags, CPoint p);
  virtual BOOL OnMouseWheel(UINT flags, short delta, CPoint screen);
  virtual BOOL OnSetCursor(CWnd* wnd, UINT hitTest, UINT message);
  virtual void OnKeyDown(UINT key, UINT repeat, UINT flags);
  virtual void OnKeyUp(UINT key, UINT repeat, UINT flags);
  virtual void OnChar(UINT ch, UINT repeat, UINT flags);
  virtual void OnSysKeyDown(UINT key, UINT repeat, UINT flags);
  virtual void OnSysChar(UINT ch, UINT repeat, UINT flags);
  virtual UINT OnGetDlgCode();
  virtual void OnTimer(UINT_PTR id);
  virtual void OnHScroll(UINT code, UINT pos, CScrollBar* bar);
  virtual void OnVScroll(UINT code, UINT pos, CScrollBar* bar);
  virtual void OnClose();
  virtual void OnSysColorChange();
  virtual void OnSettingChange(UINT flags, LPCTSTR section);
  virtual HBRUSH OnCtlColor(CDC* dc, CWnd* wnd, UINT ctlColor);
  virtual void OnContextMenu(CWnd* wnd, CPoint screen);

 private:
  friend struct CWndAccess;
  explicit CWnd(HWND place) : m_hWnd(place) {}
  BOOL OnWndMsg(UINT msg, WPARAM w, LPARAM l, LRESULT* result);
  BOOL dispatchReflection(UINT msg, HWND child, WPARAM w, LPARAM l, LRESULT* result);
  bool wrapper_ = false;  // created by FromHandle, owned by its window
};

inline constexpr UINT CTLCOLOR_MSGBOX = 0;
inline constexpr UINT CTLCOLOR_EDIT = 1;
inline constexpr UINT CTLCOLOR_LISTBOX = 2;
inline constexpr UINT CTLCOLOR_BTN = 3;
inline constexpr UINT CTLCOLOR_DLG = 4;
inline constexpr UINT CTLCOLOR_SCROLLBAR = 5;
inline constexpr UINT CTLCOLOR_STATIC = 6;

// ---- Controls ---------------------------------------------------------------------------------

class CButton : public CWnd {
 public:
  BOOL Create(LPCTSTR caption, DWORD style, const RECT& r, CWnd* parent, UINT id);
  int GetCheck() const { return static_cast<int>(SendMessage(BM_GETCHECK)); }
  void SetCheck(int check) { SendMessage(BM_SETCHECK, static_cast<WPARAM>(check)); }
  UINT GetState() const { return static_cast<UINT>(SendMessage(BM_GETSTATE)); }
  void SetState(BOOL pushed) { SendMessage(BM_SETSTATE, static_cast<WPARAM>(pushed)); }
  UINT GetButtonStyle() const { return GetStyle() & 0xFFFF; }
  void SetButtonStyle(UINT style, BOOL redraw = TRUE) { SendMessage(BM_SETSTYLE, style, redraw); }
  HICON SetIcon(HICON icon) { return CWnd::SetIcon(icon, FALSE); }
};

class CStatic : public CWnd {
 public:
  BOOL Create(LPCTSTR text, DWORD style, const RECT& r, CWnd* parent, UINT id = 0xFFFF);
  HICON SetIcon(HICON icon) { return reinterpret_cast<HICON>(SendMessage(STM_SETICON, reinterpret_cast<WPARAM>(icon))); }
  HICON GetIcon() const { return reinterpret_cast<HICON>(SendMessage(STM_GETICON)); }
};

class CEdit : public CWnd {
 public:
  BOOL Create(DWORD style, const RECT& r, CWnd* parent, UINT id);
  void SetSel(int start, int end, BOOL noScroll = FALSE);
  void SetSel(DWORD selection, BOOL noScroll = FALSE) { SetSel(static_cast<short>(LOWORD(selection)), static_cast<short>(HIWORD(selection)), noScroll); }
  DWORD GetSel() const;
  void GetSel(int& start, int& end) const;
  void ReplaceSel(LPCTSTR text, BOOL canUndo = FALSE);
  void LimitText(int max = 0) { SendMessage(EM_LIMITTEXT, static_cast<WPARAM>(max)); }
  void SetLimitText(UINT max) { SendMessage(EM_SETLIMITTEXT, max); }
  UINT GetLimitText() const { return static_cast<UINT>(SendMessage(EM_GETLIMITTEXT)); }
  BOOL SetReadOnly(BOOL readOnly = TRUE) { return static_cast<BOOL>(SendMessage(EM_SETREADONLY, readOnly)); }
  BOOL GetModify() const { return static_cast<BOOL>(SendMessage(EM_GETMODIFY)); }
  void SetModify(BOOL modified = TRUE) { SendMessage(EM_SETMODIFY, modified); }
  void SetMargins(UINT left, UINT right) { SendMessage(EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELONG(left, right)); }
  BOOL CanUndo() const { return static_cast<BOOL>(SendMessage(EM_CANUNDO)); }
  BOOL Undo() { return static_cast<BOOL>(SendMessage(EM_UNDO)); }
  void Copy() { SendMessage(WM_COPY); }
  void Cut() { SendMessage(WM_CUT); }
  void Paste() { SendMessage(WM_PASTE); }
  void Clear() { SendMessage(WM_CLEAR); }
  int CharFromPos(CPoint p) const { return static_cast<int>(SendMessage(EM_CHARFROMPOS, 0, MAKELPARAM(p.x, p.y))); }
  CPoint PosFromChar(UINT ch) const { return CPoint(static_cast<LPARAM>(SendMessage(EM_POSFROMCHAR, ch))); }
  int GetLineCount() const { return static_cast<int>(SendMessage(EM_GETLINECOUNT)); }
};

struct COMBOBOXINFO {
  DWORD cbSize;
  RECT rcItem;
  RECT rcButton;
  DWORD stateButton;
  HWND hwndCombo;
  HWND hwndItem;
  HWND hwndList;
};

class CComboBox : public CWnd {
 public:
  BOOL Create(DWORD style, const RECT& r, CWnd* parent, UINT id);
  int AddString(LPCTSTR s) { return static_cast<int>(SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(s))); }
  int InsertString(int i, LPCTSTR s) { return static_cast<int>(SendMessage(CB_INSERTSTRING, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(s))); }
  int DeleteString(UINT i) { return static_cast<int>(SendMessage(CB_DELETESTRING, i)); }
  void ResetContent() { SendMessage(CB_RESETCONTENT); }
  int GetCount() const { return static_cast<int>(SendMessage(CB_GETCOUNT)); }
  int GetCurSel() const { return static_cast<int>(SendMessage(CB_GETCURSEL)); }
  int SetCurSel(int i) { return static_cast<int>(SendMessage(CB_SETCURSEL, static_cast<WPARAM>(i))); }
  int GetLBText(int i, LPTSTR buffer) const { return static_cast<int>(SendMessage(CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(buffer))); }
  void GetLBText(int i, CString& s) const;
  int GetLBTextLen(int i) const { return static_cast<int>(SendMessage(CB_GETLBTEXTLEN, static_cast<WPARAM>(i))); }
  int FindString(int after, LPCTSTR s) const { return static_cast<int>(SendMessage(CB_FINDSTRING, static_cast<WPARAM>(after), reinterpret_cast<LPARAM>(s))); }
  int FindStringExact(int after, LPCTSTR s) const { return static_cast<int>(SendMessage(CB_FINDSTRINGEXACT, static_cast<WPARAM>(after), reinterpret_cast<LPARAM>(s))); }
  int SelectString(int after, LPCTSTR s) { return static_cast<int>(SendMessage(CB_SELECTSTRING, static_cast<WPARAM>(after), reinterpret_cast<LPARAM>(s))); }
  int SetItemData(int i, DWORD_PTR data) { return static_cast<int>(SendMessage(CB_SETITEMDATA, static_cast<WPARAM>(i), static_cast<LPARAM>(data))); }
  DWORD_PTR GetItemData(int i) const { return static_cast<DWORD_PTR>(SendMessage(CB_GETITEMDATA, static_cast<WPARAM>(i))); }
  // index -1: the selection field; 0: the list's items.
  int SetItemHeight(int index, UINT height) { return static_cast<int>(SendMessage(CB_SETITEMHEIGHT, static_cast<WPARAM>(index), height)); }
  int GetItemHeight(int index) const { return static_cast<int>(SendMessage(CB_GETITEMHEIGHT, static_cast<WPARAM>(index))); }
  int SetDroppedWidth(UINT width) { return static_cast<int>(SendMessage(CB_SETDROPPEDWIDTH, width)); }
  int GetDroppedWidth() const { return static_cast<int>(SendMessage(CB_GETDROPPEDWIDTH)); }
  void ShowDropDown(BOOL show = TRUE) { SendMessage(CB_SHOWDROPDOWN, show); }
  BOOL GetDroppedState() const { return static_cast<BOOL>(SendMessage(CB_GETDROPPEDSTATE)); }
  void GetDroppedControlRect(LPRECT r) const { SendMessage(CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(r)); }
  BOOL SetEditSel(int start, int end) { return static_cast<BOOL>(SendMessage(CB_SETEDITSEL, 0, MAKELPARAM(start, end))); }
  DWORD GetEditSel() const { return static_cast<DWORD>(SendMessage(CB_GETEDITSEL)); }
  BOOL LimitText(int max) { return static_cast<BOOL>(SendMessage(CB_LIMITTEXT, static_cast<WPARAM>(max))); }
  BOOL GetComboBoxInfo(COMBOBOXINFO* info) const { return static_cast<BOOL>(SendMessage(CB_GETCOMBOBOXINFO, 0, reinterpret_cast<LPARAM>(info))); }
};

class CListBox : public CWnd {
 public:
  BOOL Create(DWORD style, const RECT& r, CWnd* parent, UINT id);
  int AddString(LPCTSTR s) { return static_cast<int>(SendMessage(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(s))); }
  int InsertString(int i, LPCTSTR s) { return static_cast<int>(SendMessage(LB_INSERTSTRING, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(s))); }
  int DeleteString(UINT i) { return static_cast<int>(SendMessage(LB_DELETESTRING, i)); }
  void ResetContent() { SendMessage(LB_RESETCONTENT); }
  int GetCount() const { return static_cast<int>(SendMessage(LB_GETCOUNT)); }
  int GetCurSel() const { return static_cast<int>(SendMessage(LB_GETCURSEL)); }
  int SetCurSel(int i) { return static_cast<int>(SendMessage(LB_SETCURSEL, static_cast<WPARAM>(i))); }
  int GetSel(int i) const { return static_cast<int>(SendMessage(LB_GETSEL, static_cast<WPARAM>(i))); }
  int SetSel(int i, BOOL select = TRUE) { return static_cast<int>(SendMessage(LB_SETSEL, select, i)); }
  int GetSelCount() const { return static_cast<int>(SendMessage(LB_GETSELCOUNT)); }
  int GetSelItems(int max, LPINT items) const { return static_cast<int>(SendMessage(LB_GETSELITEMS, static_cast<WPARAM>(max), reinterpret_cast<LPARAM>(items))); }
  void GetText(int i, CString& s) const;
  int GetTextLen(int i) const { return static_cast<int>(SendMessage(LB_GETTEXTLEN, static_cast<WPARAM>(i))); }
  int FindString(int after, LPCTSTR s) const { return static_cast<int>(SendMessage(LB_FINDSTRING, static_cast<WPARAM>(after), reinterpret_cast<LPARAM>(s))); }
  int FindStringExact(int after, LPCTSTR s) const { return static_cast<int>(SendMessage(LB_FINDSTRINGEXACT, static_cast<WPARAM>(after), reinterpret_cast<LPARAM>(s))); }
  int SelectString(int after, LPCTSTR s) { return static_cast<int>(SendMessage(LB_SELECTSTRING, static_cast<WPARAM>(after), reinterpret_cast<LPARAM>(s))); }
  int SetItemData(int i, DWORD_PTR data) { return static_cast<int>(SendMessage(LB_SETITEMDATA, static_cast<WPARAM>(i), static_cast<LPARAM>(data))); }
  DWORD_PTR GetItemData(int i) const { return static_cast<DWORD_PTR>(SendMessage(LB_GETITEMDATA, static_cast<WPARAM>(i))); }
  int GetTopIndex() const { return static_cast<int>(SendMessage(LB_GETTOPINDEX)); }
  int SetTopIndex(int i) { return static_cast<int>(SendMessage(LB_SETTOPINDEX, static_cast<WPARAM>(i))); }
  int GetItemRect(int i, LPRECT r) const { return static_cast<int>(SendMessage(LB_GETITEMRECT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(r))); }
  int SetItemHeight(int i, UINT height) { return static_cast<int>(SendMessage(LB_SETITEMHEIGHT, static_cast<WPARAM>(i), height)); }
  int GetItemHeight(int i) const { return static_cast<int>(SendMessage(LB_GETITEMHEIGHT, static_cast<WPARAM>(i))); }
  UINT ItemFromPoint(CPoint p, BOOL& outside) const;
};

class CScrollBar : public CWnd {
 public:
  BOOL Create(DWORD style, const RECT& r, CWnd* parent, UINT id);
  int GetScrollPos() const { return ::GetScrollPos(m_hWnd, SB_CTL); }
  int SetScrollPos(int pos, BOOL redraw = TRUE) { return ::SetScrollPos(m_hWnd, SB_CTL, pos, redraw); }
  void GetScrollRange(LPINT minPos, LPINT maxPos) const { ::GetScrollRange(m_hWnd, SB_CTL, minPos, maxPos); }
  void SetScrollRange(int minPos, int maxPos, BOOL redraw = TRUE) { ::SetScrollRange(m_hWnd, SB_CTL, minPos, maxPos, redraw); }
  BOOL SetScrollInfo(LPSCROLLINFO info, BOOL redraw = TRUE) { return ::SetScrollInfo(m_hWnd, SB_CTL, info, redraw); }
  BOOL GetScrollInfo(LPSCROLLINFO info, UINT mask = SIF_ALL);
  int GetScrollLimit();
  void ShowScrollBar(BOOL show = TRUE) { ::ShowScrollBar(m_hWnd, SB_CTL, show); }
  BOOL EnableScrollBar(UINT arrows = ESB_ENABLE_BOTH) { return ::EnableScrollBar(m_hWnd, SB_CTL, arrows); }
};

class CTreeCtrl : public CWnd {
 public:
  BOOL Create(DWORD style, const RECT& r, CWnd* parent, UINT id);
  HTREEITEM InsertItem(LPTVINSERTSTRUCT insert);
  HTREEITEM InsertItem(UINT mask, LPCTSTR text, int image, int selectedImage, UINT state, UINT stateMask,
                       LPARAM param, HTREEITEM parent, HTREEITEM after);
  HTREEITEM InsertItem(LPCTSTR text, HTREEITEM parent = TVI_ROOT, HTREEITEM after = TVI_LAST);
  HTREEITEM InsertItem(LPCTSTR text, int image, int selectedImage, HTREEITEM parent = TVI_ROOT,
                       HTREEITEM after = TVI_LAST);
  BOOL DeleteItem(HTREEITEM item);
  BOOL DeleteAllItems() { return DeleteItem(TVI_ROOT); }
  BOOL Expand(HTREEITEM item, UINT code);
  UINT GetCount() const;
  UINT GetVisibleCount() const;
  UINT GetIndent() const;
  void SetIndent(UINT indent);
  int GetItemHeight() const;
  int SetItemHeight(int height);
  CImageList* GetImageList(int which) const;
  CImageList* SetImageList(CImageList* list, int which);
  HTREEITEM GetNextItem(HTREEITEM item, UINT code) const;
  HTREEITEM GetChildItem(HTREEITEM item) const { return GetNextItem(item, TVGN_CHILD); }
  HTREEITEM GetNextSiblingItem(HTREEITEM item) const { return GetNextItem(item, TVGN_NEXT); }
  HTREEITEM GetPrevSiblingItem(HTREEITEM item) const { return GetNextItem(item, TVGN_PREVIOUS); }
  HTREEITEM GetParentItem(HTREEITEM item) const { return GetNextItem(item, TVGN_PARENT); }
  HTREEITEM GetFirstVisibleItem() const { return GetNextItem(nullptr, TVGN_FIRSTVISIBLE); }
  HTREEITEM GetNextVisibleItem(HTREEITEM item) const { return GetNextItem(item, TVGN_NEXTVISIBLE); }
  HTREEITEM GetPrevVisibleItem(HTREEITEM item) const { return GetNextItem(item, TVGN_PREVIOUSVISIBLE); }
  HTREEITEM GetLastVisibleItem() const { return GetNextItem(nullptr, TVGN_LASTVISIBLE); }
  HTREEITEM GetSelectedItem() const { return GetNextItem(nullptr, TVGN_CARET); }
  HTREEITEM GetDropHilightItem() const { return GetNextItem(nullptr, TVGN_DROPHILITE); }
  HTREEITEM GetRootItem() const { return GetNextItem(nullptr, TVGN_ROOT); }
  BOOL ItemHasChildren(HTREEITEM item) const;
  BOOL GetItem(TVITEM* item) const;
  BOOL SetItem(TVITEM* item);
  CString GetItemText(HTREEITEM item) const;
  BOOL SetItemText(HTREEITEM item, LPCTSTR text);
  DWORD_PTR GetItemData(HTREEITEM item) const;
  BOOL SetItemData(HTREEITEM item, DWORD_PTR data);
  UINT GetItemState(HTREEITEM item, UINT mask) const;
  BOOL SetItemState(HTREEITEM item, UINT state, UINT mask);
  BOOL GetItemImage(HTREEITEM item, int& image, int& selectedImage) const;
  BOOL SetItemImage(HTREEITEM item, int image, int selectedImage);
  BOOL Select(HTREEITEM item, UINT code);
  BOOL SelectItem(HTREEITEM item) { return Select(item, TVGN_CARET); }
  BOOL SelectDropTarget(HTREEITEM item) { return Select(item, TVGN_DROPHILITE); }
  BOOL SelectSetFirstVisible(HTREEITEM item) { return Select(item, TVGN_FIRSTVISIBLE); }
  HTREEITEM HitTest(CPoint p, UINT* flags = nullptr) const;
  HTREEITEM HitTest(TVHITTESTINFO* info) const;
  BOOL GetItemRect(HTREEITEM item, LPRECT r, BOOL textOnly) const;
  BOOL EnsureVisible(HTREEITEM item);
  CImageList* CreateDragImage(HTREEITEM item);  // the caller deletes the list
};

// ---- Dialogs ----------------------------------------------------------------------------------

// One control of a dialog template; rectangles are in dialog units.
struct DialogItem {
  CString className;  // "Button", "Edit", "Static", "ComboBox", "ListBox", "SysTreeView32", "ScrollBar", or a registered class
  CString text;
  UINT id = 0;
  DWORD style = 0;  // WS_CHILD | WS_VISIBLE are added
  DWORD exStyle = 0;
  short x = 0, y = 0, cx = 0, cy = 0;
};

// A dialog resource written in code. Register it under its id; CDialog(id) finds it.
struct DialogTemplate {
  UINT id = 0;
  CString title;
  DWORD style = DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU;
  DWORD exStyle = 0;
  short x = 0, y = 0, cx = 0, cy = 0;
  CString fontFace = L"MS Shell Dlg";
  WORD pointSize = 8;
  std::vector<DialogItem> items;
};

namespace kvui {
void RegisterDialogTemplate(const DialogTemplate& t);  // replaces one of the same id
const DialogTemplate* FindDialogTemplate(UINT id);
// Resource-script-like item makers (dialog units).
DialogItem PushButton(LPCTSTR text, UINT id, short x, short y, short cx, short cy, DWORD style = WS_TABSTOP);
DialogItem DefPushButton(LPCTSTR text, UINT id, short x, short y, short cx, short cy, DWORD style = WS_TABSTOP);
DialogItem LText(LPCTSTR text, UINT id, short x, short y, short cx, short cy, DWORD style = 0);
DialogItem EditText(UINT id, short x, short y, short cx, short cy, DWORD style = ES_AUTOHSCROLL | WS_TABSTOP);
DialogItem ComboBox(UINT id, short x, short y, short cx, short cy, DWORD style = CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP);
DialogItem ListBox(UINT id, short x, short y, short cx, short cy, DWORD style = LBS_NOTIFY | WS_VSCROLL | WS_BORDER | WS_TABSTOP);
DialogItem Control(LPCTSTR text, UINT id, LPCTSTR className, DWORD style, short x, short y, short cx, short cy, DWORD exStyle = 0);
// The dialog units of a font: average character width and height in pixels.
CSize DialogBaseUnits(LPCTSTR face, WORD pointSize);
}  // namespace kvui

BOOL MapDialogRect(HWND dialog, LPRECT r);

class CDataExchange {
 public:
  CDataExchange(CWnd* dialog, BOOL save) : m_bSaveAndValidate(save), m_pDlgWnd(dialog) {}
  BOOL m_bSaveAndValidate;
  CWnd* m_pDlgWnd;
};
void DDX_Control(CDataExchange* dx, int id, CWnd& control);
void DDX_Text(CDataExchange* dx, int id, CString& value);
void DDX_Text(CDataExchange* dx, int id, int& value);
void DDX_Check(CDataExchange* dx, int id, int& value);
void DDX_CBIndex(CDataExchange* dx, int id, int& index);

class CDialog : public CWnd {
 public:
  CDialog() = default;
  explicit CDialog(UINT templateId, CWnd* parent = nullptr);
  ~CDialog() override;

  // Runs the dialog modally over the input queue. -1 when the template is missing or a control
  // could not be created (an unregistered class).
  virtual INT_PTR DoModal();
  BOOL Create(UINT templateId, CWnd* parent = nullptr);  // modeless
  void EndDialog(int result);
  virtual BOOL OnInitDialog();  // TRUE: the first tab stop takes the focus
  virtual void OnOK();
  virtual void OnCancel();
  virtual void DoDataExchange(CDataExchange* dx);
  BOOL UpdateData(BOOL save = TRUE);
  DWORD GetDefID() const;
  void SetDefID(UINT id);
  void NextDlgCtrl() const;
  void PrevDlgCtrl() const;
  void GotoDlgCtrl(CWnd* control);
  BOOL PreTranslateMessage(MSG* msg) override;
  BOOL OnCommand(WPARAM w, LPARAM l) override;
  LRESULT WindowProc(UINT msg, WPARAM w, LPARAM l) override;

  UINT m_nIDHelp = 0;
  LPCTSTR m_lpszTemplateName = nullptr;
  CWnd* m_pParentWnd = nullptr;

 protected:
  UINT templateId_ = 0;
  INT_PTR result_ = IDCANCEL;

 private:
  bool createFromTemplate(const DialogTemplate& t, HWND owner);
};

// The host's dialog base: the size and position are kept per user under the dialog's name, and
// controls follow resize rules given in percent of the change of the client size.
inline constexpr DWORD ELASTICX = 1;
inline constexpr DWORD ELASTICY = 2;
inline constexpr DWORD MOVEX = 3;
inline constexpr DWORD MOVEY = 4;
struct DLGCTLINFO {
  DWORD id;
  DWORD flags;  // ELASTICX, ELASTICY, MOVEX or MOVEY
  DWORD pct;
};
using PDLGCTLINFO = DLGCTLINFO*;

class CAcUiDialog : public CDialog {
 public:
  CAcUiDialog() = default;
  explicit CAcUiDialog(UINT templateId, CWnd* parent = nullptr, HINSTANCE resources = nullptr);
  void SetDialogName(LPCTSTR name);
  CString GetDialogName() const { return dialogName_; }
  BOOL SetControlProperty(PDLGCTLINFO rules, DWORD count);
  void StretchControlX(UINT id, UINT pct);
  void StretchControlY(UINT id, UINT pct);
  void MoveControlX(UINT id, UINT pct);
  void MoveControlY(UINT id, UINT pct);
  BOOL OnInitDialog() override;
  void OnSize(UINT type, int cx, int cy) override;
  void OnDestroy() override;

 private:
  struct Rule {
    UINT id;
    DWORD flags;
    DWORD pct;
  };
  struct Baseline {
    UINT id;
    CRect rect;
  };
  void captureBaseline();
  void applyRules();
  CString dialogName_;
  std::vector<Rule> rules_;
  std::vector<Baseline> baseline_;
  CSize baseClient_;
  bool restored_ = false;
};
using CAdUiDialog = CAcUiDialog;

// The platform keeps module resources apart from the host's; here there is one resource space,
// so switching is a scope with nothing to switch.
class CAcModuleResourceOverride {
 public:
  CAcModuleResourceOverride() = default;
  explicit CAcModuleResourceOverride(HINSTANCE) {}
};

// ---- System services --------------------------------------------------------------------------

inline constexpr UINT MB_OK = 0x0;
inline constexpr UINT MB_OKCANCEL = 0x1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 0x2;
inline constexpr UINT MB_YESNOCANCEL = 0x3;
inline constexpr UINT MB_YESNO = 0x4;
inline constexpr UINT MB_RETRYCANCEL = 0x5;
inline constexpr UINT MB_TYPEMASK = 0xF;
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr UINT MB_ICONSTOP = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONWARNING = 0x30;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_ICONINFORMATION = 0x40;
inline constexpr UINT MB_DEFBUTTON1 = 0x0;
inline constexpr UINT MB_DEFBUTTON2 = 0x100;
inline constexpr UINT MB_DEFBUTTON3 = 0x200;
inline constexpr UINT MB_APPLMODAL = 0x0;
inline constexpr UINT MB_SYSTEMMODAL = 0x1000;
inline constexpr UINT MB_TASKMODAL = 0x2000;
inline constexpr UINT MB_SETFOREGROUND = 0x10000;
inline constexpr UINT MB_TOPMOST = 0x40000;
// Prints "[TITLE] TEXT" to standard output and answers from the queue ("answer yes"); without an
// answer waiting it gives the cancel-like answer of its buttons (IDOK for MB_OK, IDNO for MB_YESNO,
// IDABORT for MB_ABORTRETRYIGNORE, IDCANCEL otherwise).
int MessageBox(HWND owner, LPCTSTR text, LPCTSTR title, UINT type);
int AfxMessageBox(LPCTSTR text, UINT type = MB_OK, UINT helpId = 0);
void MessageBeep(UINT type);

// Records the request (kvui::ShellRequests) and answers success (a value above 32).
HINSTANCE ShellExecute(HWND owner, LPCTSTR operation, LPCTSTR file, LPCTSTR parameters, LPCTSTR directory, int show);

// The registry of the current user, kept in $XDG_CONFIG_HOME/kvhvac/registry.txt (or
// ~/.config/kvhvac/registry.txt). HKEY_CURRENT_USER alone is writable.
#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)((LONG)0x80000000))
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))
inline constexpr DWORD KEY_QUERY_VALUE = 0x1;
inline constexpr DWORD KEY_SET_VALUE = 0x2;
inline constexpr DWORD KEY_CREATE_SUB_KEY = 0x4;
inline constexpr DWORD KEY_READ = 0x20019;
inline constexpr DWORD KEY_WRITE = 0x20006;
inline constexpr DWORD KEY_ALL_ACCESS = 0xF003F;
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;
inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_MORE_DATA = 234;
LSTATUS RegOpenKeyEx(HKEY parent, LPCTSTR subKey, DWORD options, REGSAM access, PHKEY out);
LSTATUS RegCreateKeyEx(HKEY parent, LPCTSTR subKey, DWORD reserved, LPTSTR className, DWORD options,
                       REGSAM access, void* security, PHKEY out, LPDWORD disposition);
LSTATUS RegQueryValueEx(HKEY key, LPCTSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS RegSetValueEx(HKEY key, LPCTSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
LSTATUS RegDeleteValue(HKEY key, LPCTSTR name);
LSTATUS RegCloseKey(HKEY key);

// The clipboard, within this process.
inline constexpr UINT CF_TEXT = 1;
inline constexpr UINT CF_UNICODETEXT = 13;
inline constexpr UINT GMEM_FIXED = 0;
inline constexpr UINT GMEM_MOVEABLE = 2;
inline constexpr UINT GMEM_ZEROINIT = 0x40;
inline constexpr UINT GHND = 0x42;
BOOL OpenClipboard(HWND owner);
BOOL CloseClipboard();
BOOL EmptyClipboard();
HANDLE SetClipboardData(UINT format, HANDLE data);  // the clipboard takes the memory
HANDLE GetClipboardData(UINT format);
BOOL IsClipboardFormatAvailable(UINT format);
HGLOBAL GlobalAlloc(UINT flags, std::size_t bytes);
LPVOID GlobalLock(HGLOBAL h);
BOOL GlobalUnlock(HGLOBAL h);
HGLOBAL GlobalFree(HGLOBAL h);
std::size_t GlobalSize(HGLOBAL h);

// File-open and file-save dialogs answer from the queue: "file PATH" or "file cancel".
inline constexpr DWORD OFN_READONLY = 0x1;
inline constexpr DWORD OFN_OVERWRITEPROMPT = 0x2;
inline constexpr DWORD OFN_HIDEREADONLY = 0x4;
inline constexpr DWORD OFN_NOCHANGEDIR = 0x8;
inline constexpr DWORD OFN_ALLOWMULTISELECT = 0x200;
inline constexpr DWORD OFN_PATHMUSTEXIST = 0x800;
inline constexpr DWORD OFN_FILEMUSTEXIST = 0x1000;
inline constexpr DWORD OFN_EXPLORER = 0x80000;
class CFileDialog {
 public:
  CFileDialog(BOOL openFileDialog, LPCTSTR defaultExt = nullptr, LPCTSTR fileName = nullptr,
              DWORD flags = OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT, LPCTSTR filter = nullptr,
              CWnd* parent = nullptr);
  virtual ~CFileDialog() = default;
  virtual INT_PTR DoModal();
  CString GetPathName() const { return path_; }
  CString GetFileName() const;
  CString GetFileTitle() const;
  CString GetFileExt() const;
  CString GetFolderPath() const;
  struct {
    DWORD Flags;
    LPCTSTR lpstrDefExt;
    LPCTSTR lpstrInitialDir;
    LPCTSTR lpstrTitle;
  } m_ofn{};

 private:
  BOOL open_;
  CString defaultExt_, initialFile_, filter_, path_;
};

// The print dialog answers from the queue: "print PATH.pdf" gives a printer whose pages go to
// that file, "print cancel" cancels.
inline constexpr DWORD PD_ALLPAGES = 0x0;
inline constexpr DWORD PD_SELECTION = 0x1;
inline constexpr DWORD PD_PAGENUMS = 0x2;
inline constexpr DWORD PD_NOSELECTION = 0x4;
inline constexpr DWORD PD_NOPAGENUMS = 0x8;
inline constexpr DWORD PD_COLLATE = 0x10;
inline constexpr DWORD PD_PRINTTOFILE = 0x20;
inline constexpr DWORD PD_PRINTSETUP = 0x40;
inline constexpr DWORD PD_RETURNDC = 0x100;
inline constexpr DWORD PD_RETURNDEFAULT = 0x400;
inline constexpr DWORD PD_USEDEVMODECOPIES = 0x40000;
inline constexpr DWORD PD_HIDEPRINTTOFILE = 0x100000;
inline constexpr DWORD PD_NONETWORKBUTTON = 0x200000;
struct PRINTDLG {
  DWORD lStructSize;
  HWND hwndOwner;
  HDC hDC;
  DWORD Flags;
  WORD nFromPage, nToPage, nMinPage, nMaxPage, nCopies;
};
class CPrintDialog {
 public:
  explicit CPrintDialog(BOOL printSetupOnly, DWORD flags = PD_ALLPAGES | PD_USEDEVMODECOPIES | PD_NOPAGENUMS | PD_HIDEPRINTTOFILE | PD_NOSELECTION,
                        CWnd* parent = nullptr);
  virtual ~CPrintDialog();
  virtual INT_PTR DoModal();
  HDC GetPrinterDC() const { return m_pd.hDC; }  // owned by the caller after DoModal (DeleteDC)
  HDC CreatePrinterDC();
  CString GetDeviceName() const { return L"PDF"; }
  CString GetPortName() const { return path_; }
  int GetCopies() const { return 1; }
  BOOL PrintAll() const { return TRUE; }
  PRINTDLG m_pd{};

 private:
  CString path_;
};

// ---- Application object -----------------------------------------------------------------------

class CWinApp : public CObject {
 public:
  LPCTSTR m_pszAppName = L"kvhost";
  CWnd* m_pMainWnd = nullptr;
  HCURSOR LoadStandardCursor(LPCTSTR name) const { return ::LoadCursor(nullptr, name); }
  HCURSOR LoadCursor(UINT id) const { return ::LoadCursor(nullptr, MAKEINTRESOURCE(id)); }
  HICON LoadIcon(UINT id) const { return ::LoadIcon(nullptr, MAKEINTRESOURCE(id)); }
};
CWinApp* AfxGetApp();
CWnd* AfxGetMainWnd();  // the host's main window: hidden, the owner of top-level dialogs
LPCTSTR AfxGetAppName();
HINSTANCE AfxGetInstanceHandle();
HINSTANCE AfxGetResourceHandle();
BOOL AfxRegisterClass(WNDCLASS* wc);
LPCTSTR AfxRegisterWndClass(UINT classStyle, HCURSOR cursor = nullptr, HBRUSH background = nullptr, HICON icon = nullptr);
HWND adsw_acadMainWnd();
CWnd* acedGetAcadFrame();

// ---- Host extras: pictures, queue delivery, records --------------------------------------------

namespace kvui {

// Writes the window (a top-level one with its frame, or a child cropped from its top-level) as it
// looks now, all children and open drop-down lists included. Throws std::runtime_error with the
// reason when the file cannot be written or the handle is not a window.
void RenderWindowToPng(HWND window, const std::string& path);
// The visible top-level window with this title, or null.
HWND FindTopLevelWindow(LPCTSTR title);

// Delivers queued input to the windows until the queue is empty or `maxEvents` were taken, outside
// any modal loop (a modeless window or a test). Answers how many events were taken.
std::size_t DeliverQueuedInput(std::size_t maxEvents = SIZE_MAX);
// Runs posted messages and timers that are due, then brings invalid windows up to date.
void PumpMessages();

struct ShellRequest {
  CString operation, file, parameters, directory;
  int show;
};
const std::vector<ShellRequest>& ShellRequests();
void ClearShellRequests();

// The folder of per-user settings ($XDG_CONFIG_HOME/kvhvac or ~/.config/kvhvac).
std::string ConfigFolder();

// Destroys every window and clears timers, posted messages, focus and capture: between tests.
void ResetWindowingState();

}  // namespace kvui
