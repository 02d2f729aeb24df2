// The value block of one tblDuct row: plain data that commands copy so the table cursor may move on.
#pragma once

#include <cstdint>
#include <string>

// Fields stand in the order other code relies on (legacy duct records run parallel to it);
// the defaults are those of a duct that has no row yet.
struct KvDuctDbInfo {
  std::int32_t ixDuct = 0;
  std::int32_t ixLayerSystem = 0;
  std::wstring AIRFLOW;
  double LINING = 0.0;
  double dExteriorLining = 0.0;
  std::wstring SHAPE;
  std::wstring OFFSET;
  double WIDTH = 0.0;
  double DEPTH = 0.0;
  std::wstring MATERIAL;
  std::wstring FITTING = L" ";
  double TAILLENGTH = 0.0;
  double HEADLENGTH = 0.0;
  std::wstring FIT1;
  std::wstring FIT2;
  std::wstring FIT3;
  std::wstring FIT4;
  std::wstring DOUBLE_LINE;
  std::int32_t CFM = 0;
  std::wstring SIZEFOR;
  double SIZEVAL1 = 0.0;
  double SIZEVAL2 = 0.0;
  double SIZEVAL3 = 0.0;
  std::wstring SIZESHAPE;
  std::int32_t SIZEMAX = 0;
  double X1 = 0.0;
  double Y1 = 0.0;
  double Z1 = 0.0;
  double X2 = 0.0;
  double Y2 = 0.0;
  double Z2 = 0.0;
  std::int32_t DISTANCE1 = 0;
  std::int32_t DISTANCE2 = 0;
  double TEXTX = 0.0;
  double TEXTY = 0.0;
  std::wstring DRAWING;
  std::wstring DRAWING2;
  double PDROPFROMSTART = 0.0;
  double LASTVELOCITYPRESSURE = 0.0;
  double PDROPLOCK = 0.0;
  double STATICPRESSURE = 0.0;
  double PDROPTOEND = 0.0;
  double TOTALPRESSURE = 0.0;
  double HEADLENGTH3D = 0.0;
  double TAILLENGTH3D = 0.0;
  double CFMDIVERSITY = 1.0;
  std::wstring VERTICALOFFSET;
  std::int32_t DAMPERTYPE = 0;
  double DAMPERLOCATION = 0.0;
  std::int32_t bDeleted = 0;        // -1 true, 0 false
  std::int32_t bForceVertical = 0;  // -1 makes the duct count as vertical
  std::int32_t iAlignmentPointNumber1 = 0;
  std::int32_t iAlignmentPointNumber2 = 0;
  double dHangerZ = 120.0;
  double dHangerSize = 1.0;
  double dHangerDepth = 1.0;
  double dHangerStartOffset = 36.0;
  double dHangerSpacing = 1.0;
  double dHangerEndOffset = 36.0;
  double dHangerLeftExtension = 0.0;
  double dHangerRightExtension = 0.0;
  std::int32_t iHangerType = 0;

  bool operator==(const KvDuctDbInfo&) const = default;
};
