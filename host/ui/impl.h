// Private to host/ui: the records behind window, DC and GDI handles, and the helpers the files of
// the windowing layer share. Never included from outside this folder.
#pragma once

#include <cairo.h>
#include <pango/pangocairo.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "inputqueue.h"
#include "ui.h"

namespace kvui::detail {

// ---- GDI objects ----------------------------------------------------------------------------

enum class GdiKind { Pen, Brush, Font, Bitmap, Region };

struct GdiObject {
  explicit GdiObject(GdiKind k) : kind(k) {}
  virtual ~GdiObject() = default;
  GdiKind kind;
  bool stock = false;
  int selections = 0;          // DCs that have it selected
  bool deletePending = false;  // DeleteObject while selected: freed when the last DC lets go
  std::unique_ptr<CGdiObject> wrapper;  // FromHandle's object
};

// Looks up a live GDI object; null for anything else (stale or foreign handles).
GdiObject* gdiLookup(HGDIOBJ h);
void gdiRegister(GdiObject* o);
// Drops one selection; frees an object whose deletion was pending.
void gdiRelease(GdiObject* o);

}  // namespace kvui::detail

struct HPEN__ : kvui::detail::GdiObject {
  HPEN__() : GdiObject(kvui::detail::GdiKind::Pen) {}
  int style = PS_SOLID;
  int width = 0;
  COLORREF color = 0;
};
struct HBRUSH__ : kvui::detail::GdiObject {
  HBRUSH__() : GdiObject(kvui::detail::GdiKind::Brush) {}
  UINT style = BS_SOLID;
  COLORREF color = 0;
};
struct HFONT__ : kvui::detail::GdiObject {
  HFONT__() : GdiObject(kvui::detail::GdiKind::Font) {}
  ~HFONT__() override;
  LOGFONT lf{};
  PangoFontDescription* desc = nullptr;  // at the font's own pixel size
};
struct HBITMAP__ : kvui::detail::GdiObject {
  HBITMAP__() : GdiObject(kvui::detail::GdiKind::Bitmap) {}
  ~HBITMAP__() override;
  cairo_surface_t* surface = nullptr;  // CAIRO_FORMAT_RGB24 or ARGB32
  int width = 0, height = 0;
};
struct HRGN__ : kvui::detail::GdiObject {
  HRGN__() : GdiObject(kvui::detail::GdiKind::Region) {}
  ~HRGN__() override;
  cairo_region_t* region = nullptr;
};
struct HICON__ {
  ~HICON__();
  cairo_surface_t* surface = nullptr;  // ARGB32; transparent where the mask is
  int width = 0, height = 0;
  bool shared = false;  // loaded by id: lives as long as the process
};

namespace kvui::detail {

HFONT__* asFont(HGDIOBJ h);
HPEN__* asPen(HGDIOBJ h);
HBRUSH__* asBrush(HGDIOBJ h);
HBITMAP__* asBitmap(HGDIOBJ h);
HRGN__* asRegion(HGDIOBJ h);

// ---- Text ------------------------------------------------------------------------------------

// The one Pango context every DC lays text out with. Fonts are pinned: the fontconfig behind it
// knows only the DejaVu files, so metrics are the same on every machine.
PangoContext* pangoContext();
// "MS Shell Dlg", "Tahoma", "Arial", ... to the DejaVu family that stands in for them.
std::string mapFace(const wchar_t* face);
// A description of the font at `pixels` em size (device pixels).
PangoFontDescription* describeFont(const LOGFONT& lf, double pixels);
// Em size in pixels of a LOGFONT height (negative: character height; positive: cell height).
double emPixels(LONG lfHeight);
LOGFONT defaultGuiFont();   // "MS Shell Dlg" at 8 points
LOGFONT messageFont();      // the system message font, "Tahoma" at 8 points

// ---- Device contexts ------------------------------------------------------------------------

struct DcState {
  HPEN pen = nullptr;
  HBRUSH brush = nullptr;
  HFONT font = nullptr;
  COLORREF textColor = 0;
  COLORREF bkColor = RGB(255, 255, 255);
  int bkMode = OPAQUE;
  int rop2 = R2_COPYPEN;
  UINT textAlign = TA_LEFT;
  int mapMode = MM_TEXT;
  POINT winOrg{0, 0}, vpOrg{0, 0};
  SIZE winExt{1, 1}, vpExt{1, 1};
  POINT pos{0, 0};
  cairo_region_t* userClip = nullptr;  // device coordinates of the DC; null: none
};

enum class DcKind { Window, Memory, Printer };

}  // namespace kvui::detail

struct HDC__ {
  ~HDC__();
  kvui::detail::DcKind kind = kvui::detail::DcKind::Memory;
  HWND hwnd = nullptr;
  HBITMAP bitmap = nullptr;               // memory DC: the selected bitmap (null: the 1x1 default)
  cairo_surface_t* ownSurface = nullptr;  // memory DC's default surface, printer's PDF
  cairo_surface_t* target = nullptr;      // what cr draws on
  cairo_t* cr = nullptr;
  double originX = 0, originY = 0;  // where device (0,0) lies on the target, in target units
  double deviceScale = 1.0;         // target units per device pixel (PDF points per printer dot)
  int width = 0, height = 0;        // device extent
  int dpi = 96;
  cairo_region_t* systemClip = nullptr;  // device coordinates; null: the whole extent
  kvui::detail::DcState st;
  std::vector<kvui::detail::DcState> saved;
  std::unique_ptr<CDC> wrapper;
  // Printing.
  std::string pdfPath;
  bool docStarted = false;
  bool pageOpen = false;
  int pages = 0;
};

namespace kvui::detail {

HDC newDc(DcKind kind);
bool isDc(HDC h);
// Re-creates the cairo context after the target changed; reapplies clip.
void dcBindTarget(HDC dc, cairo_surface_t* target, double originX, double originY, int width, int height);
void dcApplyClip(HDC dc);
// Logical to device coordinates (doubles) and scale factors of the mapping.
void dcToDevice(HDC dc, double& x, double& y);
void dcToLogical(HDC dc, double& x, double& y);
double dcScaleX(HDC dc);
double dcScaleY(HDC dc);
// Sets cr's matrix to device coordinates.
void dcDeviceMatrix(HDC dc);
void setSource(cairo_t* cr, COLORREF c);
// A device-coordinate rectangle filled in one colour, honouring R2_NOT.
void fillDeviceRect(HDC dc, double l, double t, double r, double b, COLORREF c);
void invertDeviceRect(HDC dc, double l, double t, double r, double b);
int drawTextImpl(HDC dc, const std::wstring& text, RECT* r, UINT format);
CSize textExtentImpl(HDC dc, const std::wstring& text);
void textMetricsImpl(HDC dc, TEXTMETRIC* tm);
HFONT currentFont(HDC dc);
HFONT stockGuiFont();

// ---- Windows --------------------------------------------------------------------------------

// Behaviour of a built-in window class; one object per window.
class Control {
 public:
  virtual ~Control() = default;
  virtual LRESULT proc(HWND h, UINT msg, WPARAM w, LPARAM l) = 0;
};
using ControlFactory = std::unique_ptr<Control> (*)();

struct WindowClass {
  std::wstring name;
  UINT style = 0;
  WNDPROC proc = nullptr;
  HBRUSH background = nullptr;
  HCURSOR cursor = nullptr;
  ControlFactory factory = nullptr;  // built-in classes
};
WindowClass* findClass(const std::wstring& name);

struct ScrollBarState {
  SCROLLINFO info{sizeof(SCROLLINFO), SIF_ALL, 0, 100, 0, 0, 0};
  bool shown = false;
  bool disabled = false;
};

}  // namespace kvui::detail

struct HWND__ {
  ~HWND__();
  kvui::detail::WindowClass* cls = nullptr;
  HWND parent = nullptr;
  HWND owner = nullptr;
  std::vector<HWND> children;  // creation order: the first is the top of the z-order
  int id = 0;
  DWORD style = 0;
  DWORD exStyle = 0;
  CRect rect;  // in the parent's client coordinates; screen coordinates for a top-level window
  std::wstring text;
  HFONT font = nullptr;
  HICON iconSmall = nullptr;
  HICON iconBig = nullptr;
  CWnd* attached = nullptr;
  std::unique_ptr<CWnd> wrapper;
  WNDPROC proc = nullptr;  // the procedure a raw SetWindowLongPtr installed
  std::unique_ptr<kvui::detail::Control> control;
  CRect invalid;  // client coordinates; empty: valid
  bool erase = false;
  bool redrawOff = false;
  kvui::detail::ScrollBarState scroll[3];  // SB_HORZ, SB_VERT, SB_CTL
  LONG_PTR userData = 0;
  cairo_surface_t* screen = nullptr;  // top-level windows: their picture
  bool destroying = false;
  // Dialogs.
  bool isDialog = false;
  INT_PTR dialogResult = 0;
  bool dialogEnded = false;
  HWND lastFocus = nullptr;
  UINT defId = IDOK;
};

namespace kvui::detail {

bool isLive(HWND h);
HWND topLevelOf(HWND h);
// Window rectangle and client rectangle of h in its top-level window's coordinates.
CRect windowRectInTop(HWND h);
CRect clientRectInTop(HWND h);
// Client area inside the frame, relative to the window rectangle's top-left corner.
CRect clientInsets(HWND h);
// Calls the window's procedure chain below any attached CWnd.
LRESULT callDefault(HWND h, UINT msg, WPARAM w, LPARAM l);
// Sends WM_COMMAND or WM_NOTIFY from a control to its parent.
void notifyParent(HWND control, UINT code);
LRESULT sendNotify(HWND control, NMHDR* header);
HWND activeWindow();  // top of the modal stack, else the last shown top-level window
std::vector<HWND> topLevelWindows();

// Painting.
void ensureScreen(HWND top);
void paintNow(HWND h);           // h and its descendants that are invalid
void paintNonClient(HWND h, HDC windowDc);
void invalidateAll(HWND h);      // h, its frame and all descendants
HDC windowDc(HWND h, bool client, bool paint);
void releaseWindowDc(HDC dc);

// Frame drawing shared by controls and non-client painting.
void drawEdgeImpl(HDC dc, RECT r, UINT edge, UINT flags);
void drawFrameControlImpl(HDC dc, RECT r, UINT type, UINT state);
void drawArrow(HDC dc, const RECT& r, int direction, COLORREF c);  // 0 up, 1 down, 2 left, 3 right
void drawScrollBar(HDC dc, const RECT& r, bool vertical, const ScrollBarState& sb, bool enabled);
// Which part of a scroll bar a point hits: SB_LINEUP, SB_PAGEUP, SB_THUMBTRACK, SB_PAGEDOWN, SB_LINEDOWN.
UINT scrollBarPart(const RECT& r, bool vertical, const ScrollBarState& sb, POINT p);
RECT scrollThumb(const RECT& r, bool vertical, const ScrollBarState& sb);
// Non-client rectangles of the window scroll bars, relative to the window's top-left.
bool windowScrollBarRect(HWND h, int bar, RECT* out);

// Brush and colours a control paints with, as its parent answers WM_CTLCOLOR...
HBRUSH controlColors(HWND control, HDC dc, UINT msg);

// Timers and posted messages.
void firePending();         // posted messages, then timers due at the queue's clock
void advanceTime(std::uint64_t ms);
void killTimers(HWND h);
void dropPosted(HWND h);

// Input state.
extern unsigned modifierState;  // kvinput::Modifier bits of the event being delivered
extern POINT cursorScreen;
bool dragInProgress(POINT screenStart);

// The modal stack: dialogs and message boxes whose loop is running.
void pushModal(HWND h);
void popModal(HWND h);

// Shared icon and cursor handles.
HICON iconForId(int id, int cx, int cy);

// Control factories.
std::unique_ptr<Control> makeButton();
std::unique_ptr<Control> makeStatic();
std::unique_ptr<Control> makeEdit();
std::unique_ptr<Control> makeComboBox();
std::unique_ptr<Control> makeListBox();
std::unique_ptr<Control> makeTree();
std::unique_ptr<Control> makeScrollBar();
std::unique_ptr<Control> makeDialogProc();

// Drag image overlay (image lists).
void drawDragOverlay(cairo_t* cr, HWND top, double topScreenX, double topScreenY);

// Clipboard text helpers (edit controls).
void setClipboardText(HWND owner, const std::wstring& text);
bool clipboardText(std::wstring& out);

// Dialog units.
CSize dialogBaseUnits(const wchar_t* face, int pointSize);

// Diagnostics about input that cannot be delivered: one line on standard error.
void inputWarning(const std::string& source, const std::string& text);

}  // namespace kvui::detail

// Set by CWnd::CreateEx so that the new window is attached before its first message.
void kvuiSetPendingAttach(CWnd* w);
// True when h lies in the window of LockWindowUpdate (its invalidation is held back).
bool kvuiHeldByLock(HWND h);

namespace kvui::detail {
// Runs the modal loop of a dialog or message-box-like window until it ends; with the queue
// empty the dialog gets IDCANCEL.
void runModalLoop(HWND dialog);
// Delivers one queued event to the windows.
void deliverEvent(const kvinput::Event& e);
// Sends a keyboard or mouse message the way the message loop dispatches it: offered to
// PreTranslateMessage up the parent chain (and the dialog manager) first. True when eaten.
bool dispatchInput(HWND target, UINT msg, WPARAM w, LPARAM l);
// Moves the focus as the dialog manager does (an edit's text gets selected).
void focusDialogControl(HWND control);
}  // namespace kvui::detail

// The descendant of root with this control id, depth first.
HWND kvuiFindControl(HWND root, int id);

// Private messages between a combo box and its list.
inline constexpr UINT KV_LB_SETCOMBO = WM_APP + 0x3F00;  // wParam: the combo that owns the list
inline constexpr UINT KV_CB_PICK = WM_APP + 0x3F01;      // wParam: index picked in the list
inline constexpr UINT KV_CB_CANCEL = WM_APP + 0x3F02;    // a click outside the dropped list
// Height of one item in a list drawn with this window's font.
int listItemHeight(HWND h);
