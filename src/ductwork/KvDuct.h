// The duct entity: the centre line of one straight length of duct, tied to its row by ixDuct.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "db.h"

// What a duct files, in declaration order; the defaults are those of a new duct.
struct KvDuctFields {
  std::wstring sizeFor = L"X";
  std::wstring linkedDrawing;
  bool bLockWidth = false;
  bool bLockDepth = false;
  bool bLockShape = false;
  AcGePoint3d start;
  AcGePoint3d end;
  std::int32_t ixDuct = 0;
  AcGePoint3d legacyPoint;
  bool legacyFlag = true;
  bool visible = true;
  bool reverseArrows = false;
  bool dwgStart = false;
  bool dwgEnd = false;
  std::vector<double> hangerDistances;
  // Points compare within the global tolerance.
  bool operator==(const KvDuctFields&) const = default;
};

// The design data that drawings of the oldest readable generation carried inside each duct.
// Positions 1 to 35 run parallel to the fields of KvDuctDbInfo after ixDuct; the key is the
// duct's index and the name of the drawing that holds it, in upper case.
struct oldDuctFields {
  using Value = std::variant<std::int32_t, double, std::wstring>;
  static constexpr int kPositions = 35;
  std::int32_t ixDuct = 0;
  std::wstring drawingKey;
  std::vector<Value> values;  // kPositions entries, each of its position's kind
  oldDuctFields();
};

// The module-wide list of such records, newest first. Entries are never removed, so that the
// same question keeps the same answer.
std::vector<const oldDuctFields*> OldDuctRecords();
// The newest record of that index and drawing key (compared exactly), or null.
const oldDuctFields* FindOldDuctRecord(std::int32_t ixDuct, const std::wstring& drawingKey);
// Empties the list (module stop).
void ClearOldDuctRecords();

class KvDuct : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(KvDuct);
  static constexpr Adesk::Int32 kVersion = 6;
  static constexpr std::size_t kMaxFiledHangers = 100;

  KvDuct() = default;
  ~KvDuct() override;

  void getStart(AcGePoint3d& p) const;
  void getEnd(AcGePoint3d& p) const;
  std::int32_t getIxDuct() const;
  void setIxDuct(std::int32_t ix);
  // Without withZ only X and Y are taken: ordinary edits never change a duct's elevation.
  void setStart(const AcGePoint3d& p, bool withZ);
  void setEnd(const AcGePoint3d& p, bool withZ);

  // The filed state as a whole, for the functions that read or set many fields at once.
  const KvDuctFields& fields() const;
  KvDuctFields& fieldsForWrite();

  Adesk::Boolean subWorldDraw(AcGiWorldDraw* mode) override;
  void subViewportDraw(AcGiViewportDraw* mode) override;
  Acad::ErrorStatus audit(AcDbAuditInfo* pAuditInfo) override;
  Acad::ErrorStatus dwgInFields(AcDbDwgFiler* filer) override;
  Acad::ErrorStatus dwgOutFields(AcDbDwgFiler* filer) const override;
  Acad::ErrorStatus dxfInFields(AcDbDxfFiler* filer) override;
  Acad::ErrorStatus dxfOutFields(AcDbDxfFiler* filer) const override;
  Adesk::Boolean isPlanar() const override;
  Acad::ErrorStatus getPlane(AcGePlane& plane, AcDb::Planarity& planarity) const override;
  void saveAs(AcGiWorldDraw* mode, AcDb::SaveType st) override;
  void subList() const override;
  Acad::ErrorStatus subGetOsnapPoints(AcDb::OsnapMode osnapMode, Adesk::GsMarker gsSelectionMark,
                                      const AcGePoint3d& pickPoint, const AcGePoint3d& lastPoint,
                                      const AcGeMatrix3d& viewXform, AcGePoint3dArray& snapPoints,
                                      AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subTransformBy(const AcGeMatrix3d& xform) override;
  Acad::ErrorStatus subExplode(AcDbVoidPtrArray& entitySet) const override;
  Acad::ErrorStatus subGetGripPoints(AcGePoint3dArray& gripPoints, AcDbIntArray& osnapModes,
                                     AcDbIntArray& geomIds) const override;
  Acad::ErrorStatus subMoveGripPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subGetStretchPoints(AcGePoint3dArray& stretchPoints) const override;
  Acad::ErrorStatus subMoveStretchPointsAt(const AcDbIntArray& indices, const AcGeVector3d& offset) override;
  Acad::ErrorStatus subGetGeomExtents(AcDbExtents& extents) const override;
  Adesk::Boolean isClosed() const override;
  Adesk::Boolean isPeriodic() const override;
  Acad::ErrorStatus getStartParam(double& param) const override;
  Acad::ErrorStatus getEndParam(double& param) const override;
  Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const override;
  Acad::ErrorStatus getPointAtParam(double param, AcGePoint3d& point) const override;
  Acad::ErrorStatus getParamAtPoint(const AcGePoint3d& point, double& param) const override;
  Acad::ErrorStatus getDistAtParam(double param, double& dist) const override;
  Acad::ErrorStatus getParamAtDist(double dist, double& param) const override;
  Acad::ErrorStatus getDistAtPoint(const AcGePoint3d& point, double& dist) const override;
  Acad::ErrorStatus getPointAtDist(double dist, AcGePoint3d& point) const override;
  Acad::ErrorStatus getFirstDeriv(const AcGePoint3d& point, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getFirstDeriv(double param, AcGeVector3d& firstDeriv) const override;
  Acad::ErrorStatus getSecondDeriv(double param, AcGeVector3d& secDeriv) const override;
  using AcDbCurve::getSecondDeriv;
  Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, const AcGeVector3d& direction,
                                      AcGePoint3d& pointOnCurve, Adesk::Boolean extend = false) const override;
  Acad::ErrorStatus getClosestPointTo(const AcGePoint3d& givenPnt, AcGePoint3d& pointOnCurve,
                                      Adesk::Boolean extend = false) const override;
  Acad::ErrorStatus extend(Adesk::Boolean extendStart, const AcGePoint3d& toPoint) override;
  Acad::ErrorStatus extend(double newParam) override;
  Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, const AcGePlane& projPlane,
                                     AcGePoint3dArray& points, Adesk::GsMarker thisGsMarker,
                                     Adesk::GsMarker otherGsMarker) const override;
  Acad::ErrorStatus subIntersectWith(const AcDbEntity* pEnt, AcDb::Intersect intType, AcGePoint3dArray& points,
                                     Adesk::GsMarker thisGsMarker, Adesk::GsMarker otherGsMarker) const override;

 private:
  void drawPass(AcGiCommonDraw* mode, AcGiGeometry& geometry, bool worldPass) const;
  double length() const;
  AcGeVector3d unit() const;
  void hangerPoints(AcGePoint3dArray& out) const;
  KvDuctFields f_;
};

// The ixDuct of an open duct, for selections filtered by index (0 for another entity).
std::int32_t DuctIndexOf(const AcDbEntity& entity);

// Registers KvDuct with the host unless a class of that name is known (then it must be ours),
// and removes it again.
void RegisterDuctClass(void (*ensure)(AcRxClass*& slot, void (*rxInit)(), const ACHAR* name));
void UnregisterDuctClass();
