// A duct's row and what the module reads from it: the row with its inheritance from upstream, the
// neighbours the LISP layer knows, the ends and frame of a duct, the fitting at its end, and the
// paths over which duct data moves between LISP, the entity and the row.
//
// Everything here works on the project of the guarded call in progress (CurrentProjectContext())
// and moves the current row of the project's one tblDuct record: copy what you need before the
// next lookup.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "bridge/bridge.h"
#include "database/database.h"
#include "ge.h"

// Run, width axis and depth axis of a duct; from ductFrame they are unit vectors with
// [1] = [2] x [0].
using DuctFrame = std::array<AcGeVector3d, 3>;

// ---------------------------------------------------------------------------------------------
// Rows and geometry
// ---------------------------------------------------------------------------------------------

// True when the project's tblDuct has the row; it is then the record's current row.
bool ductExists(std::int32_t ixDuct);
// Fills record from the row. With addLining the whole row is copied and the lining added to the
// section; without it only the section fields change. A row whose OFFSET is "p" takes its
// section from the first duct up its chain that has its own. False when the row, or an upstream
// row the LISP layer names, is missing; record is then untouched.
bool getDuctRecord(std::int32_t ixDuct, KvDuctDbInfo& record, bool addLining);
// The diffuser at the duct's end, asked of the LISP layer; ixDiffL is 0 without one.
bool getDuctDiffuser(std::int32_t ixDuct, std::int32_t& ixDiffL);
// Up to three ducts downstream (0 for none). False only when the LISP layer cannot be asked; an
// answer it cannot use counts as no next duct.
bool getNextDucts(std::int32_t ixDuct, std::int32_t& n1, std::int32_t& n2, std::int32_t& n3,
                  bool transparent);
// The duct upstream; false when there is none.
bool getPrevDuct(std::int32_t ixDuct, std::int32_t& prev);

bool isRectangularShape(std::wstring_view shape);
// Flexible duct is always round.
bool isRectangularDuct(const KvDuctDbInfo& record);
bool ductSizesDiffer(const KvDuctDbInfo& a, const KvDuctDbInfo& b);

// A duct's ends, through the LISP layer's alignment conversion with convert; with a frame, moved
// from the justified line to the centre line.
AcGePoint3d ductStartPoint(const KvDuctDbInfo& record, const DuctFrame* frame, bool convert);
AcGePoint3d ductEndPoint(const KvDuctDbInfo& record, const DuctFrame* frame, bool convert);
// The frame of a duct. A vertical duct takes its orientation from a neighbour; firstCall starts
// a new question (forgets the ducts visited by the last one).
void ductFrame(const KvDuctDbInfo& record, DuctFrame& frame, bool convert, bool firstCall);
// Carries the section of run A across a bend into run B so that B's width stays on the same side;
// B's frame and sizes change, and for a round A its frame too.
void carryFrame(DuctFrame& a, DuctFrame& b, double widthA, double depthA, bool rectangularA,
                double& widthB, double& depthB);
// Length of a transition between two sections at a half angle in degrees.
double transitionLength(double width1, double depth1, bool rectangular1, double width2, double depth2,
                        bool rectangular2, double halfAngle);
// Reach of the fitting at the duct's downstream (head) or upstream (tail) end, saved at once.
void setHeadLength3d(std::int32_t ixDuct, double length);
void setTailLength3d(std::int32_t ixDuct, double length);

// ---------------------------------------------------------------------------------------------
// Fitting choice
// ---------------------------------------------------------------------------------------------

// The fitting text of an AUTOFIT-... option key of tblGlobal; "NONE" for what it cannot name.
std::wstring fittingFromOption(std::wstring_view key);
// The fitting at the duct's downstream end and its value (ELBOW RADIUS or TURNING VANES). False
// when the LISP layer or a row fails; text is then "NONE" or left as it was.
bool chooseFitting(const KvDuctDbInfo& record, std::wstring& text, std::wstring& value);
bool chooseTeeFitting(const KvDuctDbInfo& record, std::int32_t n1, std::int32_t n2, bool rectangular,
                      std::wstring& text);
bool chooseElbowFitting(const KvDuctDbInfo& record, std::int32_t n1, bool rectangular, std::wstring& text);

// ---------------------------------------------------------------------------------------------
// Record synchronisation and duct defaults
// ---------------------------------------------------------------------------------------------

// Asks the LISP layer's duct-getSettings and stores what it gives in the project's duct
// defaults; false when there is no project or no settings.
bool readDuctSettings();
// A new duct's record with the project's duct defaults.
KvDuctDbInfo defaultDuctRecord();
// The row; a new duct's record when there is no such row; the project's defaults when the project
// has no duct table.
KvDuctDbInfo ductOrDefaults(std::int32_t ixDuct);
// Inserts a row for the current drawing; its key in ixDuct.
bool newDuctRow(std::int32_t ixLayerSystem, std::int32_t& ixDuct);
// Writes a template's design data into an existing row in one update.
bool copyDuctSettings(std::int32_t ixDuct, const KvDuctDbInfo& record);
bool clearDuctDamper(std::int32_t ixDuct);
bool setDuctSizeFor(std::int32_t ixDuct, std::wstring_view text);

// LISP kv_hvac-setDuctInfo: an entity name, then (key value) lists; T, or nil for an entity
// that is no duct.
LispStatus kv_hvac_setDuctInfo();
// LISP kv_hvac-getOldDuctInfo: ixDuct and drawing name; the legacy values, or nil.
LispStatus kv_hvac_getOldDuctInfo();
// LISP kv_hvac-duct-getHangerList: an entity name; (("d" . distance) ...).
LispStatus kv_hvac_duct_getHangerList();

// ---------------------------------------------------------------------------------------------
// Drawing, breaking and filleting ducts
// ---------------------------------------------------------------------------------------------

class KvDuct;
// Makes entity (not yet in the drawing) a new duct from p1 to p2 whose row, elevations and
// splits follow from the ducts at both ends; its new ixDuct, or 0 when no duct was made.
std::int32_t drawDuctBetween(KvDuct& entity, const AcGePoint3d& p1, const AcGePoint3d& p2);

// LISP kvDuct: two points; the new ixDuct, nil when no duct was made.
LispStatus kvDuct();
// LISP kvductforce: two points and a template ixDuct; a new duct on the template's pattern.
LispStatus kvductforce();
// LISP kvbreak: a duct's entity name and a point; the ixDuct of the new upstream piece, or 0.
LispStatus kvbreak();
// LISP kv_hvac-insertDuct-likePlumbing: ixDuct, two points, sizing text; the new entity.
LispStatus kv_hvac_insertDuct_likePlumbing();
// LISP kv_hvac-addDuctToDwg: ixDuct and two points; the new entity of an existing row.
LispStatus kv_hvac_addDuctToDwg();
// LISP kv_hvac-getDuctCoord: ixDuct; its frame as three lists of three reals, or nil.
LispStatus kv_hvac_getDuctCoord();
// LISP kv_hvac-duct-fillet: two (entity name, pick point) pairs; nil.
LispStatus kv_hvac_duct_fillet();
