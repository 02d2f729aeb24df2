// Diffuser bodies: face, neck and the transition to the duct, or a grille in a duct's side.
#include <cmath>

#include "pieces.h"

namespace {

constexpr double kRightAngle = 1.570796325;

// A grille's edge follows the duct's justification rather than its centre line.
AcGePoint3d SidewallPosition(AcGePoint3d p, const KvDuctDbInfo& duct, const DuctFrame& frame, double width,
                             double length) {
  const std::wstring vertical = TrimRight(duct.VERTICALOFFSET), offset = TrimRight(duct.OFFSET);
  if (vertical == L"t") {
    p.z -= length / 2.0;
  } else if (vertical == L"b") {
    p.z += length / 2.0;
  } else if (vertical == L"h" && duct.iHangerType != 0) {
    p.z += length / 2.0 + duct.dHangerDepth;
  }
  if (offset == L"l") p = p + frame[1] * (width / 2.0);
  if (offset == L"r") p = p - frame[1] * (width / 2.0);
  return p;
}

}  // namespace

bool drawTripleDiffuser(std::int32_t ixDuct, std::int32_t ixDiffL, int option, bool convert, SolidPieces& pieces) {
  LoadedDuct duct;
  if (ixDuct != 0 && !getDuctRecord(ixDuct, duct.row, true)) return false;
  if (ixDiffL == 0 && (!getDuctDiffuser(ixDuct, ixDiffL) || ixDiffL == 0)) return false;
  const ProjectContext* context = CurrentProjectContext();
  if (!context) return false;
  tblDiffL* placed = context->database.table<tblDiffL>();
  tblDiffS* schedule = context->database.table<tblDiffS>();
  tblDwgDiff* blocks = context->database.table<tblDwgDiff>();
  if (!placed || !schedule || !placed->FindByKey(ixDiffL)) return false;
  if (ixDuct == 0) {
    std::int32_t own = 0;
    if (placed->GetixDuct(own) && own != 0) {
      ixDuct = own;
      if (!getDuctRecord(ixDuct, duct.row, true)) return false;
      placed->FindByKey(ixDiffL);
    }
  }
  duct.ix = ixDuct;
  const std::wstring contype = placed->GetCONTYPE();
  const double tilt = placed->GetTILT(), rotation = placed->GetROTATION();
  DuctFrame diffuserFrame;
  placed->GetAxes(convert, diffuserFrame[0], diffuserFrame[1], diffuserFrame[2]);
  AcGePoint3d position = placed->GetPosition(convert);
  if (!schedule->FindByKey(placed->GetixDiffS())) return false;
  const bool metric = context->project.isMetric();
  const double width = schedule->DrawingWidth(metric), length = schedule->DrawingLength(metric);
  double neck1 = schedule->DrawingNeck(metric), neck2 = schedule->DrawingNeck2(metric);
  const std::int32_t ixDwgDiff = schedule->GetixDwgDiff();
  const int kind = blocks ? blocks->BlockKind(ixDwgDiff) : 1;

  const bool hasDuct = ixDuct != 0;
  DuctFrame frame;
  if (hasDuct) {
    ductFrame(duct.row, frame, convert, true);
    position = ductEndPoint(duct.row, nullptr, convert);
  } else {
    frame[0] = AcGeVector3d(std::cos(rotation), std::sin(rotation), 0.0);
    frame[1] = AcGeVector3d(std::cos(rotation + kRightAngle), std::sin(rotation + kRightAngle), 0.0);
    frame[2] = AcGeVector3d(0.0, 0.0, 1.0);
  }
  SolidPtr solid = NewSolid();
  if (kind != 3) {
    const bool ductRect = hasDuct && isRectangularDuct(duct.row);
    const double ductW = hasDuct ? Width(duct.row) : 0.0, ductD = hasDuct ? Depth(duct.row) : 0.0;
    if (neck1 == 0.0 && hasDuct) {
      // The neck follows the duct.
      neck1 = ductW;
      neck2 = ductRect ? ductD : 0.0;
    }
    const bool neckRect = neck2 != 0.0;
    if (!neckRect) neck2 = neck1;
    const double lead = hasDuct ? transitionLength(neck1, neck2, neckRect, ductW, ductD, ductRect, 15.0) : 0.0;
    AcGePoint3d connection(0.0, 0.0, 0.0);
    solid->addDiffuser(position, connection, static_cast<DiffuserType>(kind), width, length, neckRect, neck1, neck2,
                       lead, ductRect, ductW, ductD, contype != L"T", tilt != 180.0, Axes(diffuserFrame), Axes(frame),
                       option);
    if (hasDuct) setHeadLength3d(ixDuct, position.distanceTo(connection));
  } else {
    if (hasDuct) position = SidewallPosition(position, duct.row, frame, width, length);
    solid->addSidewallDiffuser(position, width, length, Axes(frame), option);
    if (hasDuct) setHeadLength3d(ixDuct, 0.0);
  }
  pieces.solid = AppendSolid(std::move(solid));
  return true;
}

LispStatus kv_hvac_drawTripleDiffuser() {
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::int32_t ixDiffL = 0, option = 0;
  bool convert = false;
  if (!ReadSolidArgs(cursor, ixDiffL, option, convert)) return LispStatus::WrongType;
  SolidPieces pieces;
  if (!drawTripleDiffuser(0, ixDiffL, option, convert, pieces)) {
    acedRetNil();
    return LispStatus::Success;
  }
  ResultList result;
  AppendSolidPiece(result.tail(), L"diffuser", pieces.solid);
  result.close();
  return LispStatus::Success;
}
