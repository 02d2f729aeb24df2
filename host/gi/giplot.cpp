// Plots of model space: every entity drawn through the capture, then rendered by Cairo to an
// SVG or PNG page that fits the drawing with a margin.
#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <cmath>
#include <map>

#include "db.h"
#include "gi.h"

namespace {

struct Rgb {
  double r, g, b;
};

// The platform's first colours; higher indices are spread over the hue circle. Colour 7 is
// black on white paper.
Rgb aciColor(int index) {
  static const Rgb base[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 1}, {0, 0, 1}, {1, 0, 1}, {0, 0, 0},
                             {0.5, 0.5, 0.5}, {0.75, 0.75, 0.75}};
  if (index >= 0 && index <= 9) return base[index];
  double hue = std::fmod((index - 10) / 10 * 15.0, 360.0) / 60.0;
  double value = (index % 10) < 2 ? 1.0 : (index % 10) < 4 ? 0.8 : (index % 10) < 6 ? 0.6 : (index % 10) < 8 ? 0.5 : 0.3;
  double x = value * (1 - std::fabs(std::fmod(hue, 2.0) - 1));
  int sector = static_cast<int>(hue) % 6;
  Rgb table[] = {{value, x, 0}, {x, value, 0}, {0, value, x}, {0, x, value}, {x, 0, value}, {value, 0, x}};
  return table[sector];
}

double linear(double channel) { return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4); }

double luminance(const Rgb& c) { return 0.2126 * linear(c.r) + 0.7152 * linear(c.g) + 0.0722 * linear(c.b); }

// Darkens a colour, keeping its hue, until it stands at 3 : 1 against white, the contrast at
// which thin lines stay legible; red, blue and magenta already do and keep their shade.
Rgb onPaper(Rgb c) {
  constexpr double kMaxLuminance = 1.05 / 3.0 - 0.05;
  while (luminance(c) > kMaxLuminance) c = {c.r * 0.95, c.g * 0.95, c.b * 0.95};
  return c;
}

Rgb plotColor(int index, AcGiPlotStyle style) {
  switch (style) {
    case AcGiPlotStyle::Monochrome: return {0, 0, 0};
    case AcGiPlotStyle::Screen: return aciColor(index);
    case AcGiPlotStyle::Paper: break;
  }
  return onPaper(aciColor(index));
}

struct LayerLook {
  int color = 7;
  bool visible = true;
};

std::map<std::wstring, LayerLook> layerLooks(AcDbDatabase* db) {
  std::map<std::wstring, LayerLook> out;
  AcDbLayerTable* table = nullptr;
  if (db->getLayerTable(table, AcDb::kForRead) != Acad::eOk) return out;
  AcDbSymbolTableIterator* it = nullptr;
  table->newIterator(it);
  for (; !it->done(); it->step()) {
    AcDbSymbolTableRecord* rec = nullptr;
    if (it->getRecord(rec, AcDb::kForRead) != Acad::eOk) continue;
    auto* layer = AcDbLayerTableRecord::cast(rec);
    out[rec->getName()] = {layer->color().colorIndex(), !layer->isOff() && !layer->isFrozen()};
    rec->close();
  }
  delete it;
  table->close();
  return out;
}

// Everything model space draws, in world coordinates.
std::vector<AcGiCapturedPrimitive> captureModelSpace(AcDbDatabase* db) {
  AcGiCapture capture;
  AcDbBlockTableRecord* ms = nullptr;
  if (acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForRead) != Acad::eOk) return {};
  AcDbBlockTableRecordIterator* it = nullptr;
  ms->newIterator(it);
  for (; !it->done(); it->step()) {
    AcDbEntity* e = nullptr;
    if (it->getEntity(e, AcDb::kForRead) != Acad::eOk) continue;
    capture.draw(e);
    e->close();
  }
  delete it;
  ms->close();
  return capture.primitives();
}

void addExtents(const AcGiCapturedPrimitive& p, AcDbExtents& ext) {
  for (const auto& pt : p.points) ext.addPoint(pt);
  if (p.kind == AcGiCapturedPrimitive::Kind::Circle || p.kind == AcGiCapturedPrimitive::Kind::Arc) {
    ext.addPoint(p.points[0] + AcGeVector3d(p.radius, p.radius, 0));
    ext.addPoint(p.points[0] - AcGeVector3d(p.radius, p.radius, 0));
  }
  if (p.kind == AcGiCapturedPrimitive::Kind::Text && !p.points.empty()) {
    AcGeVector3d up = p.normal.crossProduct(p.direction).normal();
    ext.addPoint(p.points[0] + p.direction * (p.height * 0.7 * static_cast<double>(p.text.size())) + up * p.height);
  }
}

// Page mapping: world XY into the page with Y up, centred, 5 % margin.
struct Page {
  double scale = 1, offX = 0, offY = 0, width = 0, height = 0;
  void map(const AcGePoint3d& p, double& x, double& y) const {
    x = (p.x - offX) * scale;
    y = height - (p.y - offY) * scale;
  }
};

Page fitPage(const AcDbExtents& ext, int widthPx) {
  Page page;
  double w = std::max(ext.maxPoint().x - ext.minPoint().x, 1e-9), h = std::max(ext.maxPoint().y - ext.minPoint().y, 1e-9);
  page.width = widthPx;
  double margin = 0.05;
  page.scale = widthPx * (1 - 2 * margin) / std::max(w, h * 1.0);
  page.height = std::max(1.0, std::ceil(h * page.scale / (1 - 2 * margin)));
  if (h * page.scale > page.height) page.height = h * page.scale;
  page.offX = ext.minPoint().x - (widthPx / page.scale - w) / 2;
  page.offY = ext.minPoint().y - (page.height / page.scale - h) / 2;
  return page;
}

void renderOne(cairo_t* cr, const AcGiCapturedPrimitive& p, const Page& page, Rgb color) {
  using Kind = AcGiCapturedPrimitive::Kind;
  cairo_set_source_rgb(cr, color.r, color.g, color.b);
  double x = 0, y = 0;
  switch (p.kind) {
    case Kind::Polyline:
    case Kind::Polygon:
    case Kind::Shell:
      for (std::size_t i = 0; i < p.points.size(); ++i) {
        page.map(p.points[i], x, y);
        i == 0 ? cairo_move_to(cr, x, y) : cairo_line_to(cr, x, y);
      }
      if (p.kind != Kind::Polyline) cairo_close_path(cr);
      cairo_stroke(cr);
      break;
    case Kind::Circle:
    case Kind::Arc: {
      page.map(p.points[0], x, y);
      double start = p.kind == Kind::Arc ? std::atan2(p.direction.y, p.direction.x) : 0.0;
      double sweep = p.kind == Kind::Arc ? p.sweep : 2 * M_PI;
      cairo_new_sub_path(cr);
      cairo_arc_negative(cr, x, y, p.radius * page.scale, -start, -(start + sweep));
      cairo_stroke(cr);
      break;
    }
    case Kind::Text: {
      page.map(p.points[0], x, y);
      std::string utf8 = acrxToUtf8(p.text);
      cairo_save(cr);
      cairo_translate(cr, x, y);
      cairo_rotate(cr, -std::atan2(p.direction.y, p.direction.x));
      cairo_scale(cr, p.widthFactor > 0 ? p.widthFactor : 1.0, 1.0);
      cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
      cairo_set_font_size(cr, p.height * page.scale / 0.729);  // cap height of the font is 0.729 em
      cairo_move_to(cr, 0, 0);
      cairo_show_text(cr, utf8.c_str());
      cairo_restore(cr);
      break;
    }
  }
}

}  // namespace

Acad::ErrorStatus acgiPlotModelSpace(AcDbDatabase* db, const ACHAR* path, AcGiPlotFormat format, int widthPx, AcGiPlotStyle style) {
  if (db == nullptr || path == nullptr || widthPx < 16 || widthPx > kAcGiPlotMaxWidth) return Acad::eInvalidInput;
  std::vector<AcGiCapturedPrimitive> prims = captureModelSpace(db);
  auto looks = layerLooks(db);
  AcDbExtents ext;
  for (const auto& p : prims) addExtents(p, ext);
  if (!ext.isValidExtents()) ext = AcDbExtents(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 10, 0));
  Page page = fitPage(ext, widthPx);
  std::string file = acrxToUtf8(path);
  cairo_surface_t* surface =
      format == AcGiPlotFormat::Svg   ? cairo_svg_surface_create(file.c_str(), page.width, page.height)
      : format == AcGiPlotFormat::Pdf ? cairo_pdf_surface_create(file.c_str(), page.width, page.height)
                                      : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(page.width), static_cast<int>(page.height));
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return Acad::eFileAccessErr;
  }
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_line_width(cr, std::max(1.0, widthPx / 1000.0));
  for (const auto& p : prims) {
    auto look = looks.find(p.layer);
    LayerLook layer = look == looks.end() ? LayerLook{} : look->second;
    if (!layer.visible) continue;
    int index = p.color == 256 || p.color == 0 ? layer.color : p.color;
    renderOne(cr, p, page, plotColor(index, style));
  }
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  Acad::ErrorStatus es = Acad::eOk;
  if (format == AcGiPlotFormat::Png && cairo_surface_write_to_png(surface, file.c_str()) != CAIRO_STATUS_SUCCESS)
    es = Acad::eFileAccessErr;
  cairo_surface_finish(surface);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) es = Acad::eFileAccessErr;
  cairo_surface_destroy(surface);
  return es;
}
