// The capture (traits, nested draws, model transforms, both passes) and plots to files.
#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdint>
#include <filesystem>
#include <fstream>

#include "gi.h"
#include "db.h"

namespace {

// Draws through both passes and a nested entity, as custom entities do.
class TwoPass : public AcDbEntity {
 public:
  AcDbLine inner{AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0)};
  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override {
    if (mode->regenAbort()) return true;
    mode->subEntityTraits().setColor(1);
    mode->subEntityTraits().setSelectionMarker(7);
    mode->geometry().circle(AcGePoint3d(5, 5, 0), 2, AcGeVector3d::kZAxis);
    mode->geometry().pushModelTransform(AcGeMatrix3d::translation(AcGeVector3d(10, 0, 0)));
    mode->geometry().draw(&inner);
    mode->geometry().popModelTransform();
    return mode->regenType() == kAcGiSaveWorldDrawForProxy;
  }
  void subViewportDraw(AcGiViewportDraw* mode) override {
    mode->geometry().text(AcGePoint3d(0, 0, 0), AcGeVector3d::kZAxis, AcGeVector3d::kXAxis, 1, 0.8, 0, L"VP");
  }
};

TEST(GiCapture, TraitsNestedDrawsTransformsAndPasses) {
  TwoPass e;
  e.inner.setColorIndex(3);
  AcGiCapture capture;
  capture.draw(&e);
  const auto& prims = capture.primitives();
  ASSERT_EQ(prims.size(), 3u);
  EXPECT_EQ(prims[0].kind, AcGiCapturedPrimitive::Kind::Circle);
  EXPECT_EQ(prims[0].color, 1);
  EXPECT_EQ(prims[0].marker, 7);
  EXPECT_EQ(prims[1].kind, AcGiCapturedPrimitive::Kind::Polyline);
  EXPECT_EQ(prims[1].color, 3) << "a nested entity draws with its own colour";
  EXPECT_TRUE(prims[1].points[1].isEqualTo({11, 0, 0})) << "the model transform applies";
  EXPECT_EQ(prims[2].kind, AcGiCapturedPrimitive::Kind::Text);
  EXPECT_TRUE(prims[2].viewport);
  EXPECT_EQ(prims[2].color, 256) << "traits come back after the world pass";
  capture.clear();
  capture.drawWorldOnly(&e);
  EXPECT_EQ(capture.primitives().size(), 2u) << "a proxy picture has no viewport pass";
  capture.clear();
  capture.setAbort(true);
  capture.draw(&e);
  EXPECT_TRUE(capture.primitives().empty());
}

void addLine(AcDbDatabase& db, const AcGePoint3d& from, const AcGePoint3d& to, int colour) {
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* line = new AcDbLine(from, to);
  line->setColorIndex(static_cast<Adesk::UInt16>(colour));
  ms->appendAcDbEntity(line);
  line->close();
  ms->close();
}

TEST(GiPlot, ModelSpaceToSvgAndPng) {
  AcDbDatabase db;
  addLine(db, AcGePoint3d(0, 0, 0), AcGePoint3d(100, 50, 0), 1);
  AcDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* pl = new AcDbPolyline;
  pl->addVertexAt(0, {10, 10});
  pl->addVertexAt(1, {60, 10}, 0.5);
  pl->addVertexAt(2, {60, 40});
  pl->setClosed(true);
  pl->setColorIndex(5);
  ms->appendAcDbEntity(pl);
  pl->close();
  auto* text = new AcDbMText;
  text->setContents(L"ROOM 101\\P250 SF");
  text->setTextHeight(4);
  text->setLocation({20, 35, 0});
  ms->appendAcDbEntity(text);
  text->close();
  ms->close();
  auto dir = std::filesystem::temp_directory_path() / "kv_gi_tests";
  std::filesystem::create_directories(dir);
  auto svg = dir / "plot.svg", png = dir / "plot.png";
  ASSERT_EQ(acgiPlotModelSpace(&db, acrxFromUtf8(svg.string()).c_str(), AcGiPlotFormat::Svg, 800), Acad::eOk);
  ASSERT_EQ(acgiPlotModelSpace(&db, acrxFromUtf8(png.string()).c_str(), AcGiPlotFormat::Png, 800), Acad::eOk);
  std::ifstream in(svg);
  std::string content((std::istreambuf_iterator<char>(in)), {});
  EXPECT_NE(content.find("<svg"), std::string::npos);
  EXPECT_NE(content.find("rgb(100%,0%,0%)"), std::string::npos) << "the red line is there";
  std::ifstream pin(png, std::ios::binary);
  char sig[8] = {};
  pin.read(sig, 8);
  EXPECT_EQ(std::string(sig + 1, 3), "PNG");
  EXPECT_EQ(acgiPlotModelSpace(&db, L"/nonexistent-dir/x.png", AcGiPlotFormat::Png), Acad::eFileAccessErr);

  // An entity on a layer that is off is left out; by-layer colour follows the layer.
  AcDbLayerTable* lt = nullptr;
  ASSERT_EQ(db.getLayerTable(lt, AcDb::kForWrite), Acad::eOk);
  auto* hidden = new AcDbLayerTableRecord;
  hidden->setName(L"HIDDEN");
  hidden->setIsOff(true);
  lt->add(hidden);
  hidden->close();
  auto* green = new AcDbLayerTableRecord;
  green->setName(L"GREEN");
  AcCmColor c;
  c.setColorIndex(3);
  green->setColor(c);
  lt->add(green);
  green->close();
  lt->close();
  ASSERT_EQ(acdbOpenObject(ms, db.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
  auto* byLayer = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(0, 50, 0));
  ms->appendAcDbEntity(byLayer);
  byLayer->setLayer(L"GREEN");
  byLayer->close();
  AcDbLine* red = nullptr;
  ms->close();
  AcDbBlockTableRecord* read = nullptr;
  ASSERT_EQ(acdbOpenObject(read, db.modelSpaceId(), AcDb::kForRead), Acad::eOk);
  AcDbObjectId redId = read->entityIds()[0];
  read->close();
  ASSERT_EQ(acdbOpenObject(red, redId, AcDb::kForWrite), Acad::eOk);
  red->setLayer(L"HIDDEN");
  red->close();
  ASSERT_EQ(acgiPlotModelSpace(&db, acrxFromUtf8(svg.string()).c_str(), AcGiPlotFormat::Svg, 800, AcGiPlotStyle::Screen), Acad::eOk);
  std::ifstream again(svg);
  content.assign((std::istreambuf_iterator<char>(again)), {});
  EXPECT_EQ(content.find("rgb(100%,0%,0%)"), std::string::npos) << "the red line is on a layer that is off";
  EXPECT_NE(content.find("rgb(0%,100%,0%)"), std::string::npos) << "by layer: green";
  EXPECT_EQ(acgiPlotModelSpace(nullptr, L"x.png", AcGiPlotFormat::Png), Acad::eInvalidInput);
}

// The darkest pixel of a PNG plot: the ink a yellow line left on the paper.
double darkestLuminance(const std::filesystem::path& png, unsigned& rgb) {
  cairo_surface_t* s = cairo_image_surface_create_from_png(png.string().c_str());
  EXPECT_EQ(cairo_surface_status(s), CAIRO_STATUS_SUCCESS);
  double best = 2;
  const unsigned char* data = cairo_image_surface_get_data(s);
  for (int y = 0; y < cairo_image_surface_get_height(s); ++y)
    for (int x = 0; x < cairo_image_surface_get_width(s); ++x) {
      unsigned px = *reinterpret_cast<const std::uint32_t*>(data + y * cairo_image_surface_get_stride(s) + x * 4) & 0xFFFFFF;
      double l = (0.2126 * (px >> 16) + 0.7152 * ((px >> 8) & 0xFF) + 0.0722 * (px & 0xFF)) / 255.0;
      if (l < best) best = l, rgb = px;
    }
  cairo_surface_destroy(s);
  return best;
}

// Light colours read on white paper by default; the screen style keeps them, monochrome inks
// everything black; widths beyond the limit are refused before any pixel is allocated.
TEST(GiPlot, StylesForWhitePaperAndTheSizeLimit) {
  AcDbDatabase db;
  addLine(db, AcGePoint3d(0, 0, 0), AcGePoint3d(100, 100, 0), 2);
  auto png = std::filesystem::temp_directory_path() / "kv_gi_tests" / "yellow.png";
  std::filesystem::create_directories(png.parent_path());
  const std::wstring path = acrxFromUtf8(png.string());
  unsigned rgb = 0;
  ASSERT_EQ(acgiPlotModelSpace(&db, path.c_str(), AcGiPlotFormat::Png, 200, AcGiPlotStyle::Screen), Acad::eOk);
  EXPECT_GT(darkestLuminance(png, rgb), 0.8) << "screen colours: yellow stays light";
  ASSERT_EQ(acgiPlotModelSpace(&db, path.c_str(), AcGiPlotFormat::Png, 200), Acad::eOk);
  double paper = darkestLuminance(png, rgb);
  EXPECT_LT(paper, 0.6) << "the default paper style darkens yellow";
  EXPECT_EQ((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF) << "and keeps its hue (red and green equal)";
  EXPECT_GT((rgb >> 16) & 0xFF, rgb & 0xFF) << "yellow, not grey";
  ASSERT_EQ(acgiPlotModelSpace(&db, path.c_str(), AcGiPlotFormat::Png, 200, AcGiPlotStyle::Monochrome), Acad::eOk);
  EXPECT_LT(darkestLuminance(png, rgb), paper / 2) << "monochrome: black ink";
  EXPECT_EQ((rgb >> 16) & 0xFF, rgb & 0xFF) << "grey, no hue";
  EXPECT_EQ(acgiPlotModelSpace(&db, path.c_str(), AcGiPlotFormat::Png, kAcGiPlotMaxWidth + 1), Acad::eInvalidInput);
  EXPECT_EQ(acgiPlotModelSpace(&db, path.c_str(), AcGiPlotFormat::Png, 15), Acad::eInvalidInput);
}

}  // namespace
