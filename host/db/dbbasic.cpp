// Points, circles, arcs, single-line texts and attributes: the common entities of drawings that
// other programs write, so that such a drawing comes in whole and goes out again.
#include <cmath>

#include "dbimpl.h"

KV_DB_DEFINE_CLASS(AcDbPoint, AcDbEntity, L"POINT", []() -> AcRxObject* { return new AcDbPoint; })
KV_DB_DEFINE_CLASS(AcDbCircle, AcDbCurve, L"CIRCLE", []() -> AcRxObject* { return new AcDbCircle; })
KV_DB_DEFINE_CLASS(AcDbArc, AcDbCircle, L"ARC", []() -> AcRxObject* { return new AcDbArc; })
KV_DB_DEFINE_CLASS(AcDbText, AcDbEntity, L"TEXT", []() -> AcRxObject* { return new AcDbText; })
KV_DB_DEFINE_CLASS(AcDbAttributeDefinition, AcDbText, L"ATTDEF", []() -> AcRxObject* { return new AcDbAttributeDefinition; })
KV_DB_DEFINE_CLASS(AcDbAttribute, AcDbText, L"ATTRIB", []() -> AcRxObject* { return new AcDbAttribute; })

namespace {

constexpr double kDegrees = 180.0 / 3.14159265358979323846;
constexpr double kTwoPi = 2.0 * 3.14159265358979323846;
// A text's extents without its font: a nominal character cell, as wide as 0.6 of the height.
constexpr double kNominalCharWidth = 0.6;

AcDb::DxfCode code(int c) { return static_cast<AcDb::DxfCode>(c); }

AcGePoint3d pointOf(const resbuf& rb) { return AcGePoint3d(rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]); }

// Reads the groups after the entity's own up to the end of the object; `take` sees each one.
template <class Take>
Acad::ErrorStatus readGroups(AcDbDxfFiler* filer, Take take) {
  resbuf rb;
  while (!filer->atEndOfObject() && !filer->atExtendedData() && filer->readItem(&rb) == Acad::eOk) take(rb);
  return filer->filerStatus();
}

AcDbObjectId styleNamed(AcDbDatabase* db, const ACHAR* name) {
  AcDbTextStyleTable* table = nullptr;
  if (db == nullptr || db->getTextStyleTable(table, AcDb::kForRead) != Acad::eOk) return AcDbObjectId();
  AcDbObjectId id = table->getIdAt(name);
  table->close();
  return id;
}

const ACHAR* styleName(AcDbObjectId id) {
  auto* style = AcDbSymbolTableRecord::cast(kvdb::objectOf(id));
  return style ? style->getName() : L"Standard";
}

// A copy of the DWG filer's string read, kept by the caller.
std::wstring readText(AcDbDwgFiler* filer) {
  std::wstring text;
  filer->readString(text);
  return text;
}

}  // namespace

// ---- point ----

AcGePoint3d AcDbPoint::position() const { assertReadEnabled(); return position_; }
Acad::ErrorStatus AcDbPoint::setPosition(const AcGePoint3d& p) {
  assertWriteEnabled();
  position_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}

Adesk::Boolean AcDbPoint::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  AcGePoint3d pts[2] = {position_, position_};
  mode->geometry().polyline(2, pts, &normal_);
  return true;
}

Acad::ErrorStatus AcDbPoint::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  position_.transformBy(xform);
  normal_ = (xform * normal_).normal();
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPoint::subGetGeomExtents(AcDbExtents& extents) const {
  extents.addPoint(position_);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPoint::dwgOutFields(AcDbDwgFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
  filer->writePoint3d(position_);
  filer->writeVector3d(normal_);
  filer->writeDouble(thickness_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbPoint::dwgInFields(AcDbDwgFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer); es != Acad::eOk) return es;
  filer->readPoint3d(&position_);
  filer->readVector3d(&normal_);
  filer->readDouble(&thickness_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbPoint::dxfOutFields(AcDbDxfFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbPoint");
  filer->writePoint3d(AcDb::kDxfXCoord, position_);
  if (thickness_ != 0.0) filer->writeDouble(AcDb::kDxfThickness, thickness_);
  if (!normal_.isEqualTo(AcGeVector3d::kZAxis)) filer->writeVector3d(AcDb::kDxfNormalX, normal_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbPoint::dxfInFields(AcDbDxfFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbPoint")) return Acad::eBadDxfSequence;
  return readGroups(filer, [&](const resbuf& rb) {
    if (rb.restype == 10) position_ = pointOf(rb);
    else if (rb.restype == 39) thickness_ = rb.resval.rreal;
    else if (rb.restype == 210) normal_ = pointOf(rb) - AcGePoint3d();
  });
}

// ---- circle ----

AcDbCircle::AcDbCircle(const AcGePoint3d& center, const AcGeVector3d& normal, double radius)
    : center_(center), normal_(normal), radius_(radius) {}
AcGePoint3d AcDbCircle::center() const { assertReadEnabled(); return center_; }
double AcDbCircle::radius() const { assertReadEnabled(); return radius_; }
AcGeVector3d AcDbCircle::normal() const { assertReadEnabled(); return normal_; }

Acad::ErrorStatus AcDbCircle::setCenter(const AcGePoint3d& p) {
  assertWriteEnabled();
  center_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbCircle::setRadius(double r) {
  if (!(r > 0.0)) return Acad::eInvalidInput;
  assertWriteEnabled();
  radius_ = r;
  recordGraphicsModified();
  return Acad::eOk;
}

Adesk::Boolean AcDbCircle::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  mode->geometry().circle(center_, radius_, normal_);
  return true;
}

// A uniform scale keeps a circle a circle; the radius follows the scale of the X axis.
Acad::ErrorStatus AcDbCircle::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  center_.transformBy(xform);
  radius_ *= (xform * AcGeVector3d::kXAxis).length();
  normal_ = (xform * normal_).normal();
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbCircle::subGetGeomExtents(AcDbExtents& extents) const {
  extents.addPoint(center_ - AcGeVector3d(radius_, radius_, 0));
  extents.addPoint(center_ + AcGeVector3d(radius_, radius_, 0));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbCircle::dwgOutFields(AcDbDwgFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
  filer->writePoint3d(center_);
  filer->writeVector3d(normal_);
  filer->writeDouble(radius_);
  filer->writeDouble(thickness_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbCircle::dwgInFields(AcDbDwgFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer); es != Acad::eOk) return es;
  filer->readPoint3d(&center_);
  filer->readVector3d(&normal_);
  filer->readDouble(&radius_);
  filer->readDouble(&thickness_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbCircle::dxfOutFields(AcDbDxfFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbCircle");
  if (thickness_ != 0.0) filer->writeDouble(AcDb::kDxfThickness, thickness_);
  filer->writePoint3d(AcDb::kDxfXCoord, center_);
  filer->writeDouble(AcDb::kDxfReal, radius_);
  if (!normal_.isEqualTo(AcGeVector3d::kZAxis)) filer->writeVector3d(AcDb::kDxfNormalX, normal_);
  return filer->filerStatus();
}

void AcDbCircle::readCircleGroup(const resbuf& rb) {
  switch (rb.restype) {
    case 10: center_ = pointOf(rb); break;
    case 40: radius_ = rb.resval.rreal; break;
    case 39: thickness_ = rb.resval.rreal; break;
    case 210: normal_ = pointOf(rb) - AcGePoint3d(); break;
    default: break;
  }
}

Acad::ErrorStatus AcDbCircle::dxfInFields(AcDbDxfFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbCircle")) return Acad::eBadDxfSequence;
  return readGroups(filer, [&](const resbuf& rb) { readCircleGroup(rb); });
}

// ---- arc ----

AcDbArc::AcDbArc(const AcGePoint3d& center, double radius, double startAngle, double endAngle)
    : AcDbCircle(center, AcGeVector3d::kZAxis, radius), startAngle_(startAngle), endAngle_(endAngle) {}
double AcDbArc::startAngle() const { assertReadEnabled(); return startAngle_; }
double AcDbArc::endAngle() const { assertReadEnabled(); return endAngle_; }

Acad::ErrorStatus AcDbArc::setStartAngle(double a) {
  assertWriteEnabled();
  startAngle_ = a;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbArc::setEndAngle(double a) {
  assertWriteEnabled();
  endAngle_ = a;
  recordGraphicsModified();
  return Acad::eOk;
}

Adesk::Boolean AcDbArc::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  double sweep = std::fmod(endAngle_ - startAngle_, kTwoPi);
  if (sweep <= 0.0) sweep += kTwoPi;
  AcGeVector3d start(std::cos(startAngle_), std::sin(startAngle_), 0.0);
  mode->geometry().circularArc(center_, radius_, normal_, start, sweep);
  return true;
}

// Rotations about the normal turn the angles with the centre; a mirror swaps the ends.
Acad::ErrorStatus AcDbArc::subTransformBy(const AcGeMatrix3d& xform) {
  AcGeVector3d start(std::cos(startAngle_), std::sin(startAngle_), 0.0), end(std::cos(endAngle_), std::sin(endAngle_), 0.0);
  start = xform * start;
  end = xform * end;
  bool mirrored = (xform * AcGeVector3d::kXAxis).crossProduct(xform * AcGeVector3d::kYAxis).z < 0.0;
  if (Acad::ErrorStatus es = AcDbCircle::subTransformBy(xform); es != Acad::eOk) return es;
  startAngle_ = std::atan2(start.y, start.x);
  endAngle_ = std::atan2(end.y, end.x);
  if (mirrored) std::swap(startAngle_, endAngle_);
  return Acad::eOk;
}

// The arc's own extremes: its ends and the quadrant points its sweep passes.
Acad::ErrorStatus AcDbArc::subGetGeomExtents(AcDbExtents& extents) const {
  double sweep = std::fmod(endAngle_ - startAngle_, kTwoPi);
  if (sweep <= 0.0) sweep += kTwoPi;
  auto at = [&](double a) { return center_ + AcGeVector3d(std::cos(a), std::sin(a), 0.0) * radius_; };
  extents.addPoint(at(startAngle_));
  extents.addPoint(at(startAngle_ + sweep));
  for (int q = 0; q < 8; ++q) {
    double quadrant = q * kTwoPi / 4.0;
    double offset = std::fmod(quadrant - startAngle_, kTwoPi);
    if (offset < 0.0) offset += kTwoPi;
    if (offset <= sweep) extents.addPoint(at(quadrant));
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbArc::dwgOutFields(AcDbDwgFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbCircle::dwgOutFields(filer); es != Acad::eOk) return es;
  filer->writeDouble(startAngle_);
  filer->writeDouble(endAngle_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbArc::dwgInFields(AcDbDwgFiler* filer) {
  if (Acad::ErrorStatus es = AcDbCircle::dwgInFields(filer); es != Acad::eOk) return es;
  filer->readDouble(&startAngle_);
  filer->readDouble(&endAngle_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbArc::dxfOutFields(AcDbDxfFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbCircle::dxfOutFields(filer); es != Acad::eOk) return es;
  filer->writeString(AcDb::kDxfSubclass, L"AcDbArc");
  filer->writeDouble(AcDb::kDxfAngle, startAngle_ * kDegrees);
  filer->writeDouble(code(51), endAngle_ * kDegrees);
  return filer->filerStatus();
}

// Angles travel in degrees.
Acad::ErrorStatus AcDbArc::dxfInFields(AcDbDxfFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbCircle")) return Acad::eBadDxfSequence;
  return readGroups(filer, [&](const resbuf& rb) {
    if (rb.restype == 50) startAngle_ = rb.resval.rreal / kDegrees;
    else if (rb.restype == 51) endAngle_ = rb.resval.rreal / kDegrees;
    else readCircleGroup(rb);
  });
}

// ---- text ----

AcDbText::AcDbText(const AcGePoint3d& position, const ACHAR* text, AcDbObjectId style, double height, double rotation)
    : position_(position), alignment_(position), text_(text ? text : L""), style_(style), height_(height), rotation_(rotation) {}

AcGePoint3d AcDbText::position() const { assertReadEnabled(); return position_; }
AcGePoint3d AcDbText::alignmentPoint() const { assertReadEnabled(); return alignment_; }
const ACHAR* AcDbText::textStringConst() const { assertReadEnabled(); return text_.c_str(); }
double AcDbText::height() const { assertReadEnabled(); return height_; }
double AcDbText::rotation() const { assertReadEnabled(); return rotation_; }
double AcDbText::widthFactor() const { assertReadEnabled(); return widthFactor_; }
AcDbObjectId AcDbText::textStyle() const { assertReadEnabled(); return style_; }

Acad::ErrorStatus AcDbText::setPosition(const AcGePoint3d& p) {
  assertWriteEnabled();
  position_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::setAlignmentPoint(const AcGePoint3d& p) {
  assertWriteEnabled();
  alignment_ = p;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::setTextString(const ACHAR* text) {
  assertWriteEnabled();
  text_ = text ? text : L"";
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::setHeight(double h) {
  if (!(h >= 0.0)) return Acad::eInvalidInput;
  assertWriteEnabled();
  height_ = h;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::setRotation(double angle) {
  assertWriteEnabled();
  rotation_ = angle;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::setWidthFactor(double f) {
  if (!(f > 0.0)) return Acad::eInvalidInput;
  assertWriteEnabled();
  widthFactor_ = f;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::setTextStyle(AcDbObjectId style) {
  assertWriteEnabled();
  style_ = style;
  recordGraphicsModified();
  return Acad::eOk;
}

Adesk::Boolean AcDbText::subWorldDraw(AcGiWorldDraw* mode) {
  assertReadEnabled();
  AcGeVector3d direction(std::cos(rotation_), std::sin(rotation_), 0.0);
  mode->geometry().text(position_, normal_, direction, height_, widthFactor_, oblique_, text_.c_str());
  return true;
}

Acad::ErrorStatus AcDbText::subTransformBy(const AcGeMatrix3d& xform) {
  assertWriteEnabled();
  AcGeVector3d direction = xform * AcGeVector3d(std::cos(rotation_), std::sin(rotation_), 0.0);
  double scale = direction.length();
  position_.transformBy(xform);
  alignment_.transformBy(xform);
  normal_ = (xform * normal_).normal();
  rotation_ = std::atan2(direction.y, direction.x);
  height_ *= scale > 0.0 ? scale : 1.0;
  recordGraphicsModified();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::subGetGeomExtents(AcDbExtents& extents) const {
  AcGeVector3d along(std::cos(rotation_), std::sin(rotation_), 0.0), up(-along.y, along.x, 0.0);
  double length = kNominalCharWidth * height_ * widthFactor_ * static_cast<double>(text_.size());
  extents.addPoint(position_);
  extents.addPoint(position_ + along * length);
  extents.addPoint(position_ + up * height_);
  extents.addPoint(position_ + along * length + up * height_);
  return Acad::eOk;
}

void AcDbText::writeTextFields(AcDbDwgFiler* filer) const {
  filer->writePoint3d(position_);
  filer->writePoint3d(alignment_);
  filer->writeVector3d(normal_);
  filer->writeString(text_);
  filer->writeHardPointerId(style_);
  for (double v : {height_, rotation_, widthFactor_, oblique_, thickness_}) filer->writeDouble(v);
  filer->writeInt16(horizontal_);
  filer->writeInt16(vertical_);
}

Acad::ErrorStatus AcDbText::readTextFields(AcDbDwgFiler* filer) {
  filer->readPoint3d(&position_);
  filer->readPoint3d(&alignment_);
  filer->readVector3d(&normal_);
  text_ = readText(filer);
  AcDbHardPointerId style;
  // A style the file no longer has leaves the text on the default style.
  if (filer->readHardPointerId(&style) == Acad::eUnknownHandle) filer->resetFilerStatus();
  style_ = style;
  for (double* v : {&height_, &rotation_, &widthFactor_, &oblique_, &thickness_}) filer->readDouble(v);
  filer->readInt16(&horizontal_);
  filer->readInt16(&vertical_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbText::dwgOutFields(AcDbDwgFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbEntity::dwgOutFields(filer); es != Acad::eOk) return es;
  writeTextFields(filer);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbText::dwgInFields(AcDbDwgFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dwgInFields(filer); es != Acad::eOk) return es;
  return readTextFields(filer);
}

// The groups of the first AcDbText subclass; the second (vertical justification) differs
// between texts and attributes, so each class writes its own.
void AcDbText::writeTextGroups(AcDbDxfFiler* filer) const {
  filer->writeString(AcDb::kDxfSubclass, L"AcDbText");
  if (thickness_ != 0.0) filer->writeDouble(AcDb::kDxfThickness, thickness_);
  filer->writePoint3d(AcDb::kDxfXCoord, position_);
  filer->writeDouble(AcDb::kDxfReal, height_);
  filer->writeString(AcDb::kDxfText, text_.c_str());
  if (rotation_ != 0.0) filer->writeDouble(AcDb::kDxfAngle, rotation_ * kDegrees);
  if (widthFactor_ != 1.0) filer->writeDouble(code(41), widthFactor_);
  if (oblique_ != 0.0) filer->writeDouble(code(51), oblique_ * kDegrees);
  filer->writeString(AcDb::kDxfTextStyleName, styleName(style_));
  if (horizontal_ != 0) filer->writeInt16(code(72), horizontal_);
  if (horizontal_ != 0 || vertical_ != 0) filer->writePoint3d(code(11), alignment_);
  if (!normal_.isEqualTo(AcGeVector3d::kZAxis)) filer->writeVector3d(AcDb::kDxfNormalX, normal_);
}

bool AcDbText::readTextGroup(const resbuf& rb, AcDbDatabase* db) {
  switch (rb.restype) {
    case 10: position_ = pointOf(rb); break;
    case 11: alignment_ = pointOf(rb); break;
    case 1: text_ = rb.resval.rstring ? rb.resval.rstring : L""; break;
    case 7: style_ = styleNamed(db, rb.resval.rstring); break;
    case 39: thickness_ = rb.resval.rreal; break;
    case 40: height_ = rb.resval.rreal; break;
    case 41: widthFactor_ = rb.resval.rreal > 0.0 ? rb.resval.rreal : 1.0; break;
    case 50: rotation_ = rb.resval.rreal / kDegrees; break;
    case 51: oblique_ = rb.resval.rreal / kDegrees; break;
    case 72: horizontal_ = rb.resval.rint; break;
    case 210: normal_ = pointOf(rb) - AcGePoint3d(); break;
    default: return false;
  }
  return true;
}

Acad::ErrorStatus AcDbText::dxfOutFields(AcDbDxfFiler* filer) const {
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  writeTextGroups(filer);
  filer->writeString(AcDb::kDxfSubclass, L"AcDbText");
  if (vertical_ != 0) filer->writeInt16(code(73), vertical_);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbText::dxfInFields(AcDbDxfFiler* filer) {
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbText")) return Acad::eBadDxfSequence;
  AcDbDatabase* db = filer->database();
  return readGroups(filer, [&](const resbuf& rb) {
    if (rb.restype == 73) vertical_ = rb.resval.rint;
    else readTextGroup(rb, db);
  });
}

// ---- attribute definition and attribute ----

Acad::ErrorStatus AcDbText::dwgOutAttribute(AcDbDwgFiler* filer, const AttributeFields& fields) const {
  if (Acad::ErrorStatus es = AcDbText::dwgOutFields(filer); es != Acad::eOk) return es;
  filer->writeString(fields.tag);
  filer->writeString(fields.prompt);
  filer->writeInt16(fields.flags);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbText::dwgInAttribute(AcDbDwgFiler* filer, AttributeFields& fields) {
  if (Acad::ErrorStatus es = AcDbText::dwgInFields(filer); es != Acad::eOk) return es;
  fields.tag = readText(filer);
  fields.prompt = readText(filer);
  filer->readInt16(&fields.flags);
  return filer->filerStatus();
}

Acad::ErrorStatus AcDbText::dxfOutAttribute(AcDbDxfFiler* filer, const AttributeFields& fields, const ACHAR* subclass) const {
  if (Acad::ErrorStatus es = AcDbEntity::dxfOutFields(filer); es != Acad::eOk) return es;
  writeTextGroups(filer);
  filer->writeString(AcDb::kDxfSubclass, subclass);
  if (isA() == AcDbAttributeDefinition::desc()) filer->writeString(code(3), fields.prompt.c_str());
  filer->writeString(code(2), fields.tag.c_str());
  filer->writeInt16(code(70), fields.flags);
  if (vertical_ != 0) filer->writeInt16(code(74), vertical_);
  return filer->filerStatus();
}

// An attribute's vertical justification is group 74; its 73 is a field length, not kept.
Acad::ErrorStatus AcDbText::dxfInAttribute(AcDbDxfFiler* filer, AttributeFields& fields) {
  if (Acad::ErrorStatus es = AcDbEntity::dxfInFields(filer); es != Acad::eOk) return es;
  if (!filer->atSubclassData(L"AcDbText")) return Acad::eBadDxfSequence;
  AcDbDatabase* db = filer->database();
  return readGroups(filer, [&](const resbuf& rb) {
    if (readTextGroup(rb, db)) return;
    if (rb.restype == 2) fields.tag = rb.resval.rstring ? rb.resval.rstring : L"";
    else if (rb.restype == 3) fields.prompt = rb.resval.rstring ? rb.resval.rstring : L"";
    else if (rb.restype == 70) fields.flags = rb.resval.rint;
    else if (rb.restype == 74) vertical_ = rb.resval.rint;
  });
}

const ACHAR* AcDbAttributeDefinition::tagConst() const { assertReadEnabled(); return fields_.tag.c_str(); }
const ACHAR* AcDbAttributeDefinition::promptConst() const { assertReadEnabled(); return fields_.prompt.c_str(); }
bool AcDbAttributeDefinition::isInvisible() const { assertReadEnabled(); return (fields_.flags & 1) != 0; }

Acad::ErrorStatus AcDbAttributeDefinition::setTag(const ACHAR* tag) {
  assertWriteEnabled();
  fields_.tag = tag ? tag : L"";
  return Acad::eOk;
}

Acad::ErrorStatus AcDbAttributeDefinition::setPrompt(const ACHAR* prompt) {
  assertWriteEnabled();
  fields_.prompt = prompt ? prompt : L"";
  return Acad::eOk;
}

Acad::ErrorStatus AcDbAttributeDefinition::dwgOutFields(AcDbDwgFiler* filer) const { return dwgOutAttribute(filer, fields_); }
Acad::ErrorStatus AcDbAttributeDefinition::dwgInFields(AcDbDwgFiler* filer) { return dwgInAttribute(filer, fields_); }
Acad::ErrorStatus AcDbAttributeDefinition::dxfOutFields(AcDbDxfFiler* filer) const {
  return dxfOutAttribute(filer, fields_, L"AcDbAttributeDefinition");
}
Acad::ErrorStatus AcDbAttributeDefinition::dxfInFields(AcDbDxfFiler* filer) { return dxfInAttribute(filer, fields_); }

AcDbAttribute::AcDbAttribute(const AcGePoint3d& position, const ACHAR* text, const ACHAR* tag, AcDbObjectId style)
    : AcDbText(position, text, style) {
  fields_.tag = tag ? tag : L"";
}
const ACHAR* AcDbAttribute::tagConst() const { assertReadEnabled(); return fields_.tag.c_str(); }
bool AcDbAttribute::isInvisible() const { assertReadEnabled(); return (fields_.flags & 1) != 0; }

Acad::ErrorStatus AcDbAttribute::setTag(const ACHAR* tag) {
  assertWriteEnabled();
  fields_.tag = tag ? tag : L"";
  return Acad::eOk;
}

Acad::ErrorStatus AcDbAttribute::setInvisible(bool invisible) {
  assertWriteEnabled();
  fields_.flags = static_cast<Adesk::Int16>(invisible ? (fields_.flags | 1) : (fields_.flags & ~1));
  recordGraphicsModified();
  return Acad::eOk;
}

Adesk::Boolean AcDbAttribute::subWorldDraw(AcGiWorldDraw* mode) {
  if (isInvisible()) return true;
  return AcDbText::subWorldDraw(mode);
}

Acad::ErrorStatus AcDbAttribute::dwgOutFields(AcDbDwgFiler* filer) const { return dwgOutAttribute(filer, fields_); }
Acad::ErrorStatus AcDbAttribute::dwgInFields(AcDbDwgFiler* filer) { return dwgInAttribute(filer, fields_); }
Acad::ErrorStatus AcDbAttribute::dxfOutFields(AcDbDxfFiler* filer) const {
  return dxfOutAttribute(filer, fields_, L"AcDbAttribute");
}
Acad::ErrorStatus AcDbAttribute::dxfInFields(AcDbDxfFiler* filer) { return dxfInAttribute(filer, fields_); }
