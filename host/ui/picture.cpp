// Pictures of windows: a window (a dialog with all its controls, open drop-down lists and the
// drag image over it) brought up to date and written as PNG.
#include <stdexcept>

#include "impl.h"

using namespace kvui::detail;

namespace {

void repaintAll(HWND top) {
  ensureScreen(top);
  invalidateAll(top);
  paintNow(top);
}

}  // namespace

namespace kvui {

void RenderWindowToPng(HWND window, const std::string& path) {
  if (!isLive(window)) throw std::runtime_error("window picture: the handle is not a window");
  HWND top = topLevelOf(window);
  firePending();
  repaintAll(top);
  int w = top->rect.Width(), h = top->rect.Height();
  cairo_surface_t* out = cairo_image_surface_create(CAIRO_FORMAT_RGB24, std::max(1, w), std::max(1, h));
  cairo_t* cr = cairo_create(out);
  cairo_set_source_surface(cr, top->screen, 0, 0);
  cairo_paint(cr);
  for (HWND o : topLevelWindows()) {
    if (o == top || o->owner != top || !(o->style & WS_VISIBLE)) continue;
    repaintAll(o);
    cairo_set_source_surface(cr, o->screen, o->rect.left - top->rect.left, o->rect.top - top->rect.top);
    cairo_paint(cr);
  }
  drawDragOverlay(cr, top, top->rect.left, top->rect.top);
  cairo_destroy(cr);
  cairo_surface_t* picture = out;
  if (window != top) {
    CRect r = windowRectInTop(window);
    picture = cairo_image_surface_create(CAIRO_FORMAT_RGB24, std::max(1, r.Width()), std::max(1, r.Height()));
    cairo_t* c2 = cairo_create(picture);
    cairo_set_source_surface(c2, out, -r.left, -r.top);
    cairo_paint(c2);
    cairo_destroy(c2);
  }
  cairo_status_t st = cairo_surface_write_to_png(picture, path.c_str());
  if (picture != out) cairo_surface_destroy(picture);
  cairo_surface_destroy(out);
  if (st != CAIRO_STATUS_SUCCESS)
    throw std::runtime_error("window picture: cannot write " + path + ": " + cairo_status_to_string(st));
}

}  // namespace kvui
