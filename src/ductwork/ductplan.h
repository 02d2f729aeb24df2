// Plan geometry shared by the duct's picture and its snaps (private to the folder).
#pragma once

#include "db.h"

// The constants of the plan picture, in the precision drawings have always been made with.
constexpr double kHalfTurn = 3.14159265;
constexpr double kRightAngle = 1.570796325;

// The point moved in X and Y by `distance` along `angle`; its Z stays.
AcGePoint3d Polar(const AcGePoint3d& p, double angle, double distance);
// The angle from a to b in the XY plane, from 0 up to a full turn.
double AngleTo(const AcGePoint3d& a, const AcGePoint3d& b);
// The distance in X and Y alone.
double PlanDistance(const AcGePoint3d& a, const AcGePoint3d& b);
// The foot of a hanger at plan distance d along a duct of plan length `plan`; on a sloped
// duct its height follows the slope.
AcGePoint3d HangerFoot(const AcGePoint3d& start, const AcGePoint3d& end, double run, double d, double plan);
// The Z axis of the current user coordinate system (world Z when there is none).
AcGeVector3d CurrentUcsNormal();
