// Multi-line text: contents with paragraph codes, layout from real font metrics, filing.
#include <cairo.h>

#include <cmath>

#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbMText, AcDbEntity, L"MTEXT", []() -> AcRxObject* { return new AcDbMText; })

namespace {

// Line pitch of multi-line text at spacing factor 1, in text heights (the platform's 5/3).
constexpr double kLinePitch = 5.0 / 3.0;

// Measures text in the host's plotting font. Heights are cap heights, as in drawings.
class FontMetrics {
 public:
  static FontMetrics& instance() {
    static FontMetrics m;
    return m;
  }
  // Advance width of `text` at cap height `height`.
  double width(const std::wstring& text, double height) {
    if (text.empty() || height <= 0) return 0.0;
    cairo_text_extents_t ext;
    std::string utf8 = acrxToUtf8(text);
    cairo_text_extents(cr_, utf8.c_str(), &ext);
    return ext.x_advance * height / capHeight_;
  }
  FontMetrics(const FontMetrics&) = delete;
  FontMetrics& operator=(const FontMetrics&) = delete;

 private:
  FontMetrics() {
    surface_ = cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1);
    cr_ = cairo_create(surface_);
    cairo_select_font_face(cr_, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr_, 100.0);
    cairo_text_extents_t ext;
    cairo_text_extents(cr_, "H", &ext);
    capHeight_ = ext.height > 0 ? ext.height : 72.9;
  }
  ~FontMetrics() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
  }
  cairo_surface_t* surface_ = nullptr;
  cairo_t* cr_ = nullptr;
  double capHeight_ = 72.9;
};

// Plain text of the contents: "\P" breaks a paragraph; formatting codes and braces drop out.
std::wstring plainText(const std::wstring& s) {
  std::wstring out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    wchar_t c = s[i];
    if (c == L'{' || c == L'}') continue;
    if (c != L'\\' || i + 1 >= s.size()) {
      out += c;
      continue;
    }
    wchar_t code = s[++i];
    if (code == L'P') out += L'\n';
    else if (code == L'~') out += L' ';
    else if (code == L'\\' || code == L'{' || code == L'}') out += code;
    else if (code == L'L' || code == L'l' || code == L'O' || code == L'o' || code == L'K' || code == L'k') continue;
    else {
      std::size_t end = s.find(L';', i);  // codes with an argument end at ';'
      if (end == std::wstring::npos) break;
      i = end;
    }
  }
  return out;
}

}  // namespace

struct AcDbMText::Layout {
  std::vector<std::wstring> lines;
  std::vector<double> widths;
  double width = 0, height = 0;
};

AcDbMText::AcDbMText() = default;
AcDbMText::~AcDbMText() = default;

// Words wrap at the defined width; a word wider than the width stands alone on its line.
const AcDbMText::Layout& AcDbMText::layout() const {
  if (layout_) return *layout_;
  auto lay = std::make_unique<Layout>();
  FontMetrics& fm = FontMetrics::instance();
  std::wstring text = plainText(contents_);
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(L'\n', start);
    std::wstring para = text.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start);
    std::wstring line;
    std::size_t p = 0;
    while (p <= para.size()) {
      std::size_t sp = para.find(L' ', p);
      std::wstring word = para.substr(p, sp == std::wstring::npos ? std::wstring::npos : sp - p);
      std::wstring trial = line.empty() ? word : line + L" " + word;
      if (width_ > 0 && !line.empty() && fm.width(trial, height_) > width_) {
        lay->lines.push_back(line);
        line = word;
      } else {
        line = trial;
      }
      if (sp == std::wstring::npos) break;
      p = sp + 1;
    }
    lay->lines.push_back(line);
    if (end == std::wstring::npos) break;
    start = end + 1;
  }
  for (const auto& l : lay->lines) {
    lay->widths.push_back(fm.width(l, height_));
    lay->width = std::max(lay->width, lay->widths.back());
  }
  bool empty = contents_.empty();
  lay->height = empty ? 0.0 : height_ * (1 + kLinePitch * lineSpacing_ * static_cast<double>(lay->lines.size() - 1));
  layout_ = std::move(lay);
  return *layout_;
}

#define KV_MTEXT_SET(FIELD, VALUE) \
  assertWriteEnabled();            \
  FIELD = VALUE;                   \
  layout_.reset();                 \
  recordGraphicsModified();        \
  return Acad::eOk

AcGePoint3d AcDbMText::location() const { assertReadEnabled(); return location_; }
Acad::ErrorStatus AcDbMText::setLocation(const AcGePoint3d& p) { KV_MTEXT_SET(location_, p); }
AcGeVector3d AcDbMText::normal() const { assertReadEnabled(); return normal_; }
Acad::ErrorStatus AcDbMText::setNormal(const AcGeVector3d& n) {
  if (n.isZeroLength()) return Acad::eInvalidInput;
  KV_MTEXT_SET(normal_, n.normal());
}
AcGeVector3d AcDbMText::direction() const { assertReadEnabled(); return direction_; }
Acad::ErrorStatus AcDbMText::setDirection(const AcGeVector3d& d) {
  if (d.isZeroLength()) return Acad::eInvalidInput;
  KV_MTEXT_SET(direction_, d.normal());
}
// Rotation about the normal, from the plane's X axis.
double AcDbMText::rotation() const {
  assertReadEnabled();
  AcGeVector3d local = AcGeMatrix3d::worldToPlane(normal_) * direction_;
  double a = std::atan2(local.y, local.x);
  return a < 0 ? a + 6.283185307179586 : a;
}
Acad::ErrorStatus AcDbMText::setRotation(double angle) {
  AcGeVector3d local(std::cos(angle), std::sin(angle), 0);
  KV_MTEXT_SET(direction_, (AcGeMatrix3d::planeToWorld(normal_) * local).normal());
}
double AcDbMText::width() const { assertReadEnabled(); return width_; }
Acad::ErrorStatus AcDbMText::setWidth(double w) {
  if (w < 0) return Acad::eNegativeValueNotAllowed;
  KV_MTEXT_SET(width_, w);
}
double AcDbMText::textHeight() const { assertReadEnabled(); return height_; }
Acad::ErrorStatus AcDbMText::setTextHeight(double h) {
  if (!(h > 0)) return Acad::eInvalidInput;
  KV_MTEXT_SET(height_, h);
}
AcDbObjectId AcDbMText::textStyle() const { assertReadEnabled(); return style_; }
Acad::ErrorStatus AcDbMText::setTextStyle(AcDbObjectId styleId) { KV_MTEXT_SET(style_, styleId); }
AcDbMText::AttachmentPoint AcDbMText::attachment() const { assertReadEnabled(); return attachment_; }
Acad::ErrorStatus AcDbMText::setAttachment(AttachmentPoint a) {
  if (a < kTopLeft || a > kBottomRight) return Acad::eInvalidInput;
  KV_MTEXT_SET(attachment_, a);
}
AcDbMText::FlowDirection AcDbMText::flowDirection() const { assertReadEnabled(); return flow_; }
Acad::ErrorStatus AcDbMText::setFlowDirection(FlowDirection f) { KV_MTEXT_SET(flow_, f); }
double AcDbMText::lineSpacingFactor() const { assertReadEnabled(); return lineSpacing_; }
Acad::ErrorStatus AcDbMText::setLineSpacingFactor(double f) {
  if (f < 0.25 || f > 4.0) return Acad::eInvalidInput;
  KV_MTEXT_SET(lineSpacing_, f);
}
const ACHAR* AcDbMText::contents() const { assertReadEnabled(); return contents_.c_str(); }
int AcDbMText::setContents(const ACHAR* text) {
  assertWriteEnabled();
  contents_ = text ? text : L"";
  layout_.reset();
  recordGraphicsModified();
  return static_cast<int>(contents_.size());
}
std::wstring AcDbMText::text() const { assertReadEnabled(); return plainText(contents_); }
double AcDbMText::actualHeight() const { assertReadEnabled(); return layout().height; }
double AcDbMText::actualWidth() const { assertReadEnabled(); return layout().width; }

namespace {
struct Frame {
  AcGeVector3d x, y;
  AcGePoint3d topLeft;
  double boxWidth = 0;
};
}  // namespace

// The text box: the attachment point is at its row (top/middle/bottom) and column.
static Frame frameOf(const AcGePoint3d& location, const AcGeVector3d& normal, const AcGeVector3d& direction,
                     int attachment, double boxWidth, double boxHeight) {
  Frame f;
  f.x = direction.normal();
  f.y = normal.normal().crossProduct(f.x).normal();
  int col = (attachment - 1) % 3, row = (attachment - 1) / 3;
  f.topLeft = location - f.x * (col * boxWidth / 2) + f.y * (row * boxHeight / 2);
  f.boxWidth = boxWidth;
  return f;
}

Acad::ErrorStatus AcDbMText::getBoundingPoints(AcGePoint3dArray& pts) const {
  assertReadEnabled();
  const Layout& l = layout();
  double w = width_ > 0 ? width_ : l.width;
  Frame f = frameOf(location_, normal_, direction_, attachment_, w, l.height);
  pts.removeAll();
  pts.append(f.topLeft);
  pts.append(f.topLeft + f.x * w);
  pts.append(f.topLeft - f.y * l.height);
  pts.append(f.topLeft + f.x * w - f.y * l.height);
  return Acad::eOk;
}

Adesk::Boolean AcDbMText::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  const Layout& l = layout();
  double w = width_ > 0 ? width_ : l.width;
  Frame f = frameOf(location_, normal_, direction_, attachment_, w, l.height);
  int col = (attachment_ - 1) % 3;
  for (std::size_t i = 0; i < l.lines.size(); ++i) {
    if (l.lines[i].empty()) continue;
    double shift = col == 0 ? 0.0 : col == 1 ? (w - l.widths[i]) / 2 : w - l.widths[i];
    AcGePoint3d base = f.topLeft + f.x * shift - f.y * (height_ + height_ * kLinePitch * lineSpacing_ * static_cast<double>(i));
    mode->geometry().text(base, normal_, f.x, height_, 1.0, 0.0, l.lines[i].c_str());
  }
  return true;
}

void AcDbMText::subList() const {
  AcDbEntity::subList();
  acutPrintf(L"                Location: X=%10.4f  Y=%10.4f  Z=%10.4f\n", location_.x, location_.y, location_.z);
  acutPrintf(L"                Contents: %s\n", contents_.c_str());
}

Acad::ErrorStatus AcDbMText::subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray&, AcDbIntArray&) const {
  assertReadEnabled();
  gripPoints.append(location_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbMText::subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) {
  if (indices.contains(0)) return setLocation(location_ + offset);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbMText::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  location_.transformBy(xform);
  double scale = (xform * direction_).length();
  direction_ = (xform * direction_).normal();
  normal_ = (xform * normal_).normal();
  height_ *= scale > 0 ? scale : 1.0;
  width_ *= scale > 0 ? scale : 1.0;
  layout_.reset();
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbMText::subGetGeomExtents(AcDbExtents& extents) const {
  AcGePoint3dArray pts;
  getBoundingPoints(pts);
  for (const auto& p : pts) extents.addPoint(p);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbMText::dwgOutFields(AcDbDwgFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writePoint3d(location_);
  filer->writeVector3d(normal_);
  filer->writeVector3d(direction_);
  filer->writeDouble(width_);
  filer->writeDouble(height_);
  filer->writeDouble(lineSpacing_);
  filer->writeHardPointerId(style_);
  filer->writeInt16(static_cast<Adesk::Int16>(attachment_));
  filer->writeInt16(static_cast<Adesk::Int16>(flow_));
  filer->writeString(contents_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbMText::dwgInFields(AcDbDwgFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer);
  if (es != Acad::eOk) return es;
  AcDbHardPointerId style;
  Adesk::Int16 attach = 1, flow = 1;
  filer->readPoint3d(&location_);
  filer->readVector3d(&normal_);
  filer->readVector3d(&direction_);
  filer->readDouble(&width_);
  filer->readDouble(&height_);
  filer->readDouble(&lineSpacing_);
  es = filer->readHardPointerId(&style);
  if (es == Acad::eUnknownHandle) filer->resetFilerStatus();
  filer->readInt16(&attach);
  filer->readInt16(&flow);
  filer->readString(contents_);
  style_ = style;
  attachment_ = (attach >= 1 && attach <= 9) ? static_cast<AttachmentPoint>(attach) : kTopLeft;
  flow_ = (flow >= 1 && flow <= 5) ? static_cast<FlowDirection>(flow) : kLtoR;
  layout_.reset();
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbMText::dxfOutFields(AcDbDxfFiler* filer) const {
  Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer);
  if (es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbMText");
  filer->writePoint3d(AcDb::kDxfXCoord, location_);
  filer->writeDouble(AcDb::kDxfReal, height_);
  filer->writeDouble(static_cast<AcDb::DxfCode>(41), width_);
  filer->writeInt16(static_cast<AcDb::DxfCode>(71), static_cast<Adesk::Int16>(attachment_));
  filer->writeInt16(static_cast<AcDb::DxfCode>(72), static_cast<Adesk::Int16>(flow_));
  // Contents travel in pieces of 250 characters: 3 for each but the last, 1 for the last.
  std::size_t pos = 0;
  while (contents_.size() - pos > 250) {
    filer->writeString(static_cast<AcDb::DxfCode>(3), contents_.substr(pos, 250));
    pos += 250;
  }
  filer->writeString(AcDb::kDxfText, contents_.substr(pos));
  auto* style = AcDbSymbolTableRecord::cast(kvdb::objectOf(style_));
  filer->writeString(AcDb::kDxfTextStyleName, style ? style->getName() : L"Standard");
  filer->writeVector3d(AcDb::kDxfNormalX, normal_);
  filer->writeVector3d(static_cast<AcDb::DxfCode>(11), direction_);
  filer->writeDouble(static_cast<AcDb::DxfCode>(44), lineSpacing_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbMText::dxfInFields(AcDbDxfFiler* filer) {
  Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer);
  if (es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbMText")) return Acad::eBadDxfSequence;
  std::wstring pieces, last;
  resbuf rb;
  AcDbDatabase* db = filer->database();
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) {
    const double* p = rb.resval.rpoint;
    switch (rb.restype) {
      case 10: location_.set(p[0], p[1], p[2]); break;
      case 11: direction_.set(p[0], p[1], p[2]); break;
      case 210: normal_.set(p[0], p[1], p[2]); break;
      case 40: height_ = rb.resval.rreal; break;
      case 41: width_ = rb.resval.rreal; break;
      case 44: lineSpacing_ = rb.resval.rreal; break;
      case 71: attachment_ = (rb.resval.rint >= 1 && rb.resval.rint <= 9) ? static_cast<AttachmentPoint>(rb.resval.rint) : kTopLeft; break;
      case 3: pieces += rb.resval.rstring; break;
      case 1: last = rb.resval.rstring; break;
      case 7:
        if (db != nullptr) {
          AcDbTextStyleTable* t = nullptr;
          if (db->getTextStyleTable(t, AcDb::kForRead) == Acad::eOk) {
            style_ = t->getIdAt(rb.resval.rstring);
            t->close();
          }
        }
        break;
      default: break;
    }
  }
  contents_ = pieces + last;
  layout_.reset();
  return filer->filerStatus();
}
