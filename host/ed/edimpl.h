// Private to host/ed: helpers shared by the editor's source files.
#pragma once

#include "ed.h"

namespace kved {

AcGePoint3d toWcs(const AcGePoint3d& ucs);
AcGePoint3d toUcs(const AcGePoint3d& wcs);
// The current view's box in world XY.
void viewBox(double& minX, double& minY, double& maxX, double& maxY);
void pushView();
bool popView();
void showBox(double minX, double minY, double maxX, double maxY);

}  // namespace kved
