// Private to the duct command files: the pieces that the drawing, breaking and filleting of ducts
// share, and the argument rule of the commands that read their cells directly.
#pragma once

#include <memory>

#include "KvDuct.h"
#include "ed.h"
#include "rowaccess.h"

namespace ductcmds {

struct DuctCloser {
  void operator()(KvDuct* duct) const { duct->close(); }
};
// A duct opened from the drawing; closed when it goes.
using OpenedDuct = std::unique_ptr<KvDuct, DuctCloser>;
// A duct not yet in the drawing; deleted when it goes unless released to the drawing.
using NewDuct = std::unique_ptr<KvDuct>;

OpenedDuct OpenDuctForWrite(const ads_name ename);

// Ends meet when they coincide in X and Y; elevation plays no part.
bool SamePlan(const AcGePoint3d& a, const AcGePoint3d& b);
AcGePoint3d WithZ(AcGePoint3d p, double z);

// Puts the duct on the centre line layer of the record's air type; an empty name leaves it on the
// current layer.
void SetCenterlineLayer(KvDuct& duct, const KvDuctDbInfo& record);
// A row copy made ready to serve as the pattern of a new duct.
void clearTemplateFields(KvDuctDbInfo& record);
// Return and exhaust air runs against the arrows when the project asks for it.
bool reverseForAirflow(const KvDuctDbInfo& record);

// The ducts whose selection window holds the point, through the host's crossing selection in
// the current view (zoomed out for the search when the point is off screen). The acedSSGet status.
int ductsNearPoint(const AcGePoint3d& point, ads_name selectionSet);

// The direct reading of the drawing commands: exactly that many cells, each of its kind.
enum class Cell { Point, Number, Entity };
struct CellValue {
  AcGePoint3d point;
  double number = 0.0;
  ads_name ename = {0, 0};
};
bool ReadCells(const resbuf* args, std::initializer_list<Cell> kinds, CellValue* out);

}  // namespace ductcmds
