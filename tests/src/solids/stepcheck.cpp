// Reads a STEP file with OpenCASCADE alone, none of our code: counts its solids, checks each
// with the kernel, compares their total volume with the volumes the drawing reported, and draws
// the edges in an isometric view to a PNG.
//   stepcheck model.step volumes.txt picture.png [millimetres per drawing unit]
// The volumes file holds the number of bodies written, then one volume per line, in drawing
// units; the kernel reads the file in millimetres, whatever unit the file names.
#include <BRepAdaptor_Curve.hxx>
#include <BRepCheck_Analyzer.hxx>
#include <BRepGProp.hxx>
#include <GProp_GProps.hxx>
#include <STEPControl_Reader.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <vector>

namespace {

struct Flat {
  double x, y;
};

// Isometric: x to the lower right, y to the upper right, z up.
Flat Iso(const gp_Pnt& p) {
  const double c = std::cos(M_PI / 6), s = std::sin(M_PI / 6);
  return {(p.X() - p.Y()) * c, -((p.X() + p.Y()) * s + p.Z())};
}

std::vector<std::vector<Flat>> Edges(const TopoDS_Shape& shape) {
  std::vector<std::vector<Flat>> edges;
  for (TopExp_Explorer e(shape, TopAbs_EDGE); e.More(); e.Next()) {
    BRepAdaptor_Curve curve(TopoDS::Edge(e.Current()));
    std::vector<Flat> line;
    const int steps = curve.GetType() == GeomAbs_Line ? 1 : 24;
    for (int i = 0; i <= steps; ++i) {
      const double t = curve.FirstParameter() + (curve.LastParameter() - curve.FirstParameter()) * i / steps;
      line.push_back(Iso(curve.Value(t)));
    }
    edges.push_back(line);
  }
  return edges;
}

void Draw(const std::vector<std::vector<Flat>>& edges, const char* path) {
  double x0 = 1e300, y0 = 1e300, x1 = -1e300, y1 = -1e300;
  for (const auto& line : edges)
    for (const Flat& p : line) {
      x0 = std::min(x0, p.x), y0 = std::min(y0, p.y), x1 = std::max(x1, p.x), y1 = std::max(y1, p.y);
    }
  // The picture takes the model's own proportions, its longer side 1400 pixels.
  const int size = 1400, margin = 40;
  const double scale = (size - 2 * margin) / std::max({x1 - x0, y1 - y0, 1e-9});
  const int width = std::max(200, static_cast<int>(std::ceil((x1 - x0) * scale)) + 2 * margin);
  const int height = std::max(200, static_cast<int>(std::ceil((y1 - y0) * scale)) + 2 * margin);
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 0.1, 0.2, 0.45);
  cairo_set_line_width(cr, 0.8);
  for (const auto& line : edges) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      const double x = margin + (line[i].x - x0) * scale, y = margin + (line[i].y - y0) * scale;
      i == 0 ? cairo_move_to(cr, x, y) : cairo_line_to(cr, x, y);
    }
    cairo_stroke(cr);
  }
  cairo_surface_write_to_png(surface, path);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::cerr << "usage: stepcheck model.step volumes.txt picture.png [mm per unit]\n";
    return 2;
  }
  STEPControl_Reader reader;
  if (reader.ReadFile(argv[1]) != IFSelect_RetDone) {
    std::cerr << "FAIL cannot read " << argv[1] << "\n";
    return 1;
  }
  reader.TransferRoots();
  const TopoDS_Shape shape = reader.OneShape();
  int solids = 0, invalid = 0;
  double total = 0.0;
  for (TopExp_Explorer e(shape, TopAbs_SOLID); e.More(); e.Next()) {
    ++solids;
    if (!BRepCheck_Analyzer(e.Current()).IsValid()) ++invalid;
    GProp_GProps props;
    BRepGProp::VolumeProperties(e.Current(), props);
    total += props.Mass();
  }
  std::ifstream in(argv[2]);
  int written = 0;
  double expected = 0.0, v = 0.0;
  in >> written;
  while (in >> v) expected += v;
  const double scale = argc == 5 ? std::atof(argv[4]) : 1.0;
  expected *= scale * scale * scale;
  Draw(Edges(shape), argv[3]);
  std::cout << "solids " << solids << " (written " << written << "), invalid " << invalid << ", volume " << total
            << " (drawing " << expected << ", differs by " << 100.0 * std::fabs(total - expected) / expected
            << " %)\n";
  const bool ok = solids == written && invalid == 0 && std::fabs(total - expected) <= 1e-3 * expected;
  std::cout << (ok ? "PASS" : "FAIL") << "\n";
  return ok ? 0 : 1;
}
