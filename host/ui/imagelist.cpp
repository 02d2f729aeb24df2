// Image lists: images of one size with transparency from a mask bitmap or a mask colour,
// drawing, and the single drag image shown over the screen.
#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <vector>

#include "impl.h"

using namespace kvui::detail;

struct _IMAGELIST {
  int cx = 0, cy = 0;
  UINT flags = 0;
  std::vector<cairo_surface_t*> images;  // ARGB32, premultiplied
  std::unique_ptr<CImageList> wrapper;
  ~_IMAGELIST() {
    for (auto* s : images) cairo_surface_destroy(s);
  }
};

namespace {

std::unordered_set<HIMAGELIST>& lists() {
  static std::unordered_set<HIMAGELIST> s;
  return s;
}
bool isList(HIMAGELIST h) { return h && lists().count(h); }

struct Drag {
  HIMAGELIST list = nullptr;  // a private copy of the dragged image
  int index = 0;
  POINT hotspot{0, 0};
  POINT at{0, 0};
  bool shown = false;
  HWND lock = nullptr;
} drag;

// Copies a bitmap's pixels into the list's format; a pixel is transparent where the mask says so.
cairo_surface_t* imageFrom(HBITMAP__* bmp, int x0, int cx, int cy, HBITMAP__* mask, const COLORREF* maskColor) {
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, cx, cy);
  cairo_surface_flush(bmp->surface);
  if (mask) cairo_surface_flush(mask->surface);
  auto* dst = cairo_image_surface_get_data(s);
  int ds = cairo_image_surface_get_stride(s);
  auto* src = cairo_image_surface_get_data(bmp->surface);
  int ss = cairo_image_surface_get_stride(bmp->surface);
  for (int y = 0; y < cy; ++y)
    for (int x = 0; x < cx; ++x) {
      std::uint32_t p = 0;
      if (x0 + x < bmp->width && y < bmp->height) p = reinterpret_cast<std::uint32_t*>(src + y * ss)[x0 + x] & 0xFFFFFF;
      bool clear = false;
      if (maskColor) clear = p == ((static_cast<std::uint32_t>(GetRValue(*maskColor)) << 16) | (static_cast<std::uint32_t>(GetGValue(*maskColor)) << 8) | GetBValue(*maskColor));
      if (mask && x0 + x < mask->width && y < mask->height) {
        auto* mp = cairo_image_surface_get_data(mask->surface) + y * cairo_image_surface_get_stride(mask->surface);
        clear = (reinterpret_cast<std::uint32_t*>(mp)[x0 + x] & 0xFFFFFF) != 0;
      }
      reinterpret_cast<std::uint32_t*>(dst + y * ds)[x] = clear ? 0 : (0xFF000000u | p);
    }
  cairo_surface_mark_dirty(s);
  return s;
}

int addImages(HIMAGELIST list, HBITMAP image, HBITMAP mask, const COLORREF* maskColor) {
  HBITMAP__* b = asBitmap(image);
  if (!isList(list) || !b || list->cx <= 0) return -1;
  int first = static_cast<int>(list->images.size());
  int n = std::max(1, b->width / list->cx);
  for (int i = 0; i < n; ++i) list->images.push_back(imageFrom(b, i * list->cx, list->cx, list->cy, asBitmap(mask), maskColor));
  return first;
}

}  // namespace

HIMAGELIST ImageList_Create(int cx, int cy, UINT flags, int, int) {
  if (cx <= 0 || cy <= 0) return nullptr;
  auto* l = new _IMAGELIST;
  l->cx = cx;
  l->cy = cy;
  l->flags = flags;
  lists().insert(l);
  return l;
}

BOOL ImageList_Destroy(HIMAGELIST list) {
  if (!isList(list)) return FALSE;
  if (drag.list == list) ImageList_EndDrag();
  lists().erase(list);
  delete list;
  return TRUE;
}

int ImageList_Add(HIMAGELIST list, HBITMAP image, HBITMAP mask) { return addImages(list, image, mask, nullptr); }
int ImageList_AddMasked(HIMAGELIST list, HBITMAP image, COLORREF mask) { return addImages(list, image, nullptr, &mask); }

int ImageList_ReplaceIcon(HIMAGELIST list, int index, HICON icon) {
  if (!isList(list) || !icon || !icon->surface) return -1;
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, list->cx, list->cy);
  cairo_t* cr = cairo_create(s);
  cairo_scale(cr, static_cast<double>(list->cx) / icon->width, static_cast<double>(list->cy) / icon->height);
  cairo_set_source_surface(cr, icon->surface, 0, 0);
  cairo_paint(cr);
  cairo_destroy(cr);
  if (index < 0 || index >= static_cast<int>(list->images.size())) {
    list->images.push_back(s);
    return static_cast<int>(list->images.size()) - 1;
  }
  cairo_surface_destroy(list->images[static_cast<std::size_t>(index)]);
  list->images[static_cast<std::size_t>(index)] = s;
  return index;
}
int ImageList_AddIcon(HIMAGELIST list, HICON icon) { return ImageList_ReplaceIcon(list, -1, icon); }

BOOL ImageList_Remove(HIMAGELIST list, int index) {
  if (!isList(list)) return FALSE;
  if (index == -1) {
    for (auto* s : list->images) cairo_surface_destroy(s);
    list->images.clear();
    return TRUE;
  }
  if (index < 0 || index >= static_cast<int>(list->images.size())) return FALSE;
  cairo_surface_destroy(list->images[static_cast<std::size_t>(index)]);
  list->images.erase(list->images.begin() + index);
  return TRUE;
}

int ImageList_GetImageCount(HIMAGELIST list) { return isList(list) ? static_cast<int>(list->images.size()) : 0; }
BOOL ImageList_GetIconSize(HIMAGELIST list, int* cx, int* cy) {
  if (!isList(list)) return FALSE;
  if (cx) *cx = list->cx;
  if (cy) *cy = list->cy;
  return TRUE;
}
BOOL ImageList_GetImageInfo(HIMAGELIST list, int index, IMAGEINFO* info) {
  if (!isList(list) || !info || index < 0 || index >= static_cast<int>(list->images.size())) return FALSE;
  *info = IMAGEINFO{};
  info->rcImage = RECT{0, 0, list->cx, list->cy};
  return TRUE;
}

BOOL ImageList_Draw(HIMAGELIST list, int index, HDC dc, int x, int y, UINT style) {
  if (!isList(list) || !isDc(dc) || index < 0 || index >= static_cast<int>(list->images.size())) return FALSE;
  double dx = x, dy = y;
  dcToDevice(dc, dx, dy);
  cairo_t* cr = dc->cr;
  dcDeviceMatrix(dc);
  cairo_save(cr);
  cairo_translate(cr, dx, dy);
  cairo_scale(cr, dcScaleX(dc), dcScaleY(dc));
  cairo_set_source_surface(cr, list->images[static_cast<std::size_t>(index)], 0, 0);
  if (style & ILD_MASK) cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_mask_surface(cr, list->images[static_cast<std::size_t>(index)], 0, 0);
  if (style & (ILD_BLEND50 | ILD_BLEND25)) {
    COLORREF hl = GetSysColor(COLOR_HIGHLIGHT);
    cairo_set_source_rgba(cr, GetRValue(hl) / 255.0, GetGValue(hl) / 255.0, GetBValue(hl) / 255.0, (style & ILD_BLEND50) ? 0.5 : 0.25);
    cairo_mask_surface(cr, list->images[static_cast<std::size_t>(index)], 0, 0);
  }
  cairo_restore(cr);
  return TRUE;
}

BOOL ImageList_BeginDrag(HIMAGELIST list, int index, int dx, int dy) {
  if (!isList(list) || index < 0 || index >= static_cast<int>(list->images.size())) return FALSE;
  ImageList_EndDrag();
  HIMAGELIST copy = ImageList_Create(list->cx, list->cy, list->flags, 1, 1);
  cairo_surface_t* src = list->images[static_cast<std::size_t>(index)];
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, list->cx, list->cy);
  cairo_t* cr = cairo_create(s);
  cairo_set_source_surface(cr, src, 0, 0);
  cairo_paint(cr);
  cairo_destroy(cr);
  copy->images.push_back(s);
  drag = Drag{copy, 0, POINT{dx, dy}, POINT{0, 0}, false, nullptr};
  return TRUE;
}

BOOL ImageList_DragEnter(HWND lock, int x, int y) {
  if (!drag.list) return FALSE;
  drag.lock = lock;
  drag.at = POINT{x, y};
  if (lock) ClientToScreen(lock, &drag.at);
  drag.shown = true;
  return TRUE;
}

BOOL ImageList_DragMove(int x, int y) {
  if (!drag.list) return FALSE;
  drag.at = POINT{x, y};
  if (drag.lock) ClientToScreen(drag.lock, &drag.at);
  return TRUE;
}

BOOL ImageList_DragLeave(HWND) {
  drag.shown = false;
  return TRUE;
}

void ImageList_EndDrag() {
  HIMAGELIST l = drag.list;
  drag = Drag{};
  if (l) ImageList_Destroy(l);
}

BOOL ImageList_DragShowNolock(BOOL show) {
  if (!drag.list) return FALSE;
  drag.shown = show != 0;
  return TRUE;
}

HIMAGELIST ImageList_GetDragImage(POINT* at, POINT* hotspot) {
  if (at) *at = drag.at;
  if (hotspot) *hotspot = drag.hotspot;
  return drag.list;
}

namespace kvui::detail {

void drawDragOverlay(cairo_t* cr, HWND, double topScreenX, double topScreenY) {
  if (!drag.list || !drag.shown || drag.list->images.empty()) return;
  double x = drag.at.x - drag.hotspot.x - topScreenX, y = drag.at.y - drag.hotspot.y - topScreenY;
  cairo_save(cr);
  cairo_set_source_surface(cr, drag.list->images.front(), x, y);
  cairo_paint_with_alpha(cr, 0.6);
  cairo_restore(cr);
}

}  // namespace kvui::detail

// ---- CImageList -----------------------------------------------------------------------------

CImageList::~CImageList() {
  if (m_hImageList && isList(m_hImageList) && m_hImageList->wrapper.get() != this) ImageList_Destroy(m_hImageList);
}
BOOL CImageList::Create(int cx, int cy, UINT flags, int initial, int grow) {
  if (m_hImageList) return FALSE;
  m_hImageList = ImageList_Create(cx, cy, flags, initial, grow);
  return m_hImageList != nullptr;
}
BOOL CImageList::DeleteImageList() {
  if (!m_hImageList) return FALSE;
  return ImageList_Destroy(Detach());
}
BOOL CImageList::Attach(HIMAGELIST h) {
  if (m_hImageList || !isList(h)) return FALSE;
  m_hImageList = h;
  return TRUE;
}
HIMAGELIST CImageList::Detach() {
  HIMAGELIST h = m_hImageList;
  m_hImageList = nullptr;
  return h;
}
CImageList* CImageList::FromHandle(HIMAGELIST h) {
  if (!isList(h)) return nullptr;
  if (!h->wrapper) {
    h->wrapper = std::make_unique<CImageList>();
    h->wrapper->m_hImageList = h;
  }
  return h->wrapper.get();
}
int CImageList::Add(CBitmap* image, CBitmap* mask) {
  return ImageList_Add(m_hImageList, image ? static_cast<HBITMAP>(image->m_hObject) : nullptr, mask ? static_cast<HBITMAP>(mask->m_hObject) : nullptr);
}
int CImageList::Add(CBitmap* image, COLORREF mask) {
  return ImageList_AddMasked(m_hImageList, image ? static_cast<HBITMAP>(image->m_hObject) : nullptr, mask);
}
int CImageList::Add(HICON icon) { return ImageList_AddIcon(m_hImageList, icon); }
BOOL CImageList::Remove(int index) { return ImageList_Remove(m_hImageList, index); }
int CImageList::GetImageCount() const { return ImageList_GetImageCount(m_hImageList); }
BOOL CImageList::GetImageInfo(int index, IMAGEINFO* info) const { return ImageList_GetImageInfo(m_hImageList, index, info); }
BOOL CImageList::Draw(CDC* dc, int index, POINT p, UINT style) {
  return ImageList_Draw(m_hImageList, index, dc ? dc->m_hDC : nullptr, p.x, p.y, style);
}
BOOL CImageList::BeginDrag(int index, CPoint hotspot) { return ImageList_BeginDrag(m_hImageList, index, hotspot.x, hotspot.y); }
BOOL CImageList::DragEnter(CWnd* lock, CPoint p) { return ImageList_DragEnter(lock ? lock->m_hWnd : nullptr, p.x, p.y); }
BOOL CImageList::DragMove(CPoint p) { return ImageList_DragMove(p.x, p.y); }
BOOL CImageList::DragLeave(CWnd* lock) { return ImageList_DragLeave(lock ? lock->m_hWnd : nullptr); }
void CImageList::EndDrag() { ImageList_EndDrag(); }
BOOL CImageList::DragShowNolock(BOOL show) { return ImageList_DragShowNolock(show); }
