// The editor of the host: selection sets, coordinate transforms between UCS and WCS, built-in
// commands through acedCommandS (ZOOM), system variables, prompts and jigs fed by the scripted
// input queue, and the command stack registered as "ACAD_REGISTERED_COMMANDS".
#pragma once

#include <string>

#include "ads.h"
#include "ap.h"
#include "db.h"
#include "ge.h"
#include "rx.h"

// acedTrans coordinate systems (the `restype RTSHORT` value of `from` / `to`).
enum { kAcedWcs = 0, kAcedUcs = 1, kAcedDcs = 2 };

// Selection. Modes: "X" (all of model space, erased excluded), "C" (crossing window from pt1
// to pt2, in UCS coordinates, through a spatial index), "W" (window: entirely inside), "_"
// prefixes and ":" suffixes are accepted. `filter` is a chain of groups that all have to pass:
// 0 (DXF name; RTDXF0 in built lists), 8 (layer), 6 (line type) and 1001 (an extended-data
// application) match with wildcards as wcmatch does, case ignored; 62 is a colour number; -4
// opens and closes the logical groups "<AND" "AND>", "<OR" "OR>", "<NOT" (one operand) "NOT>",
// "<XOR" (two) "XOR>", or sets a comparison ("=", "!=", "/=", "<>", "<", "<=", ">", ">=", "&",
// "&=", "*") for the colour group after it. RTNORM with a new set in ss; RTERROR with no match, a
// bad mode or an unsupported group; RTREJ for a malformed filter; RTCAN when the scripted queue
// cancels.
int acedSSGet(const ACHAR* str, const void* pt1, const void* pt2, const resbuf* filter, ads_name ss);
int acedSSLength(const ads_name sname, Adesk::Int32* len);
// The i-th entity of the set; RTERROR past the end or for a bad set.
int acedSSName(const ads_name ss, Adesk::Int32 i, ads_name entres);
int acedSSFree(const ads_name sname);
int acedSSAdd(const ads_name ename, const ads_name sname, ads_name result);
int acedSSDel(const ads_name ename, const ads_name ss);
// Host: the number of sets not yet freed.
int acedSSCount();

// Transforms a point (disp 0) or displacement (disp 1) between WCS (0), UCS (1) and DCS (2,
// the same as UCS in this host). `from`/`to` are RTSHORT cells. RTNORM or RTERROR.
int acedTrans(const ads_point pt, const resbuf* from, const resbuf* to, int disp, ads_point result);
Acad::ErrorStatus acedGetCurrentUCS(AcGeMatrix3d& mat);
Acad::ErrorStatus acedSetCurrentUCS(const AcGeMatrix3d& mat);

// Runs a built-in command with its arguments as (type, value) pairs ended by RTNONE:
// "_.ZOOM" with "_E" (extents), "_V" (the view of the next acedGetPoint-free window: zooms out
// to the drawing's extents and the previous view), "_P" (previous view), "_C" center+height,
// "_W" two points; "_.REGEN", "_.REDRAW". RTNORM, or RTERROR (message printed) for anything else.
int acedCommandS(int rtype, ...);
int acedRedraw(const ads_name ent, int mode);
// System variables of the working database (see AcDbDatabase::getSysVar). RTNORM or RTERROR.
int acedGetVar(const ACHAR* sym, resbuf* result);
int acedSetVar(const ACHAR* sym, const resbuf* val);
// Prints the text to the console as an alert box would show it.
int acedAlert(const ACHAR* string);
// Prompts (printed) and takes the next scripted event: a point gives RTNORM, Enter RTNONE,
// Esc or an empty queue RTCAN, typed text RTKWORD (with acedGetInput), anything else RTERROR.
int acedGetPoint(const ads_point pt, const ACHAR* prompt, ads_point result);
int acedGetString(int cronly, const ACHAR* prompt, ACHAR* result, std::size_t bufLen);
int acedGetInput(ACHAR* str, std::size_t bufLen);
int acedInitGet(int val, const ACHAR* kwl);

// Host: the view of the current document (centre in UCS, height, screen size in pixels).
struct AcEdView {
  AcGePoint3d center;
  double height = 0.0;
  double screenWidth = 1024, screenHeight = 768;
};
AcEdView acedCurrentView();
void acedSetCurrentView(const AcEdView& view);

// A drag sequence driven by scripted points. drag() calls sampler until it answers something
// other than kNoChange or kOther, then update and entity; Enter gives kNull, Esc kCancel.
class AcEdJig {
 public:
  enum DragStatus {
    kModeless = -17, kNoChange = -6, kCancel = -4, kOther = -3, kNull = -1, kNormal = 0,
    kKW1 = 1, kKW2, kKW3, kKW4, kKW5, kKW6, kKW7, kKW8, kKW9,
  };
  enum UserInputControls {
    kGovernedByOrthoMode = 0x0001, kNullResponseAccepted = 0x0002, kDontEchoCancelForCtrlC = 0x0004,
    kDontUpdateLastPoint = 0x0008, kNoDwgLimitsChecking = 0x0010, kNoZeroResponseAccepted = 0x0020,
    kNoNegativeResponseAccepted = 0x0040, kAccept3dCoordinates = 0x0080, kAcceptMouseUpAsPoint = 0x0100,
    kAnyBlankTerminatesInput = 0x0200, kInitialBlankTerminatesInput = 0x0400,
  };
  enum CursorType { kNoSpecialCursor = -1, kCrosshair = 0, kRectCursor, kRubberBand };
  AcEdJig();
  virtual ~AcEdJig();
  DragStatus drag();
  virtual DragStatus sampler() = 0;
  virtual Adesk::Boolean update() = 0;
  virtual AcDbEntity* entity() const = 0;
  // Appends entity() to model space of the working database and closes it.
  AcDbObjectId append();
  const ACHAR* dispPrompt() const;
  void setDispPrompt(const ACHAR* prompt, ...);
  // Takes the next scripted event: a point (in WCS) gives kNormal; Enter kNull when null input
  // is accepted, else it is ignored; Esc or an empty queue kCancel; text kOther.
  DragStatus acquirePoint(AcGePoint3d& point);
  DragStatus acquirePoint(AcGePoint3d& point, const AcGePoint3d& basePoint);
  DragStatus acquireDist(double& distance);
  DragStatus acquireAngle(double& angle);
  DragStatus acquireString(ACHAR (&str)[2049]);
  UserInputControls userInputControls() const;
  void setUserInputControls(UserInputControls controls);
  CursorType specialCursorType() const;
  void setSpecialCursorType(CursorType type);
  void setKeywordList(const ACHAR* kwList);

 private:
  std::wstring prompt_, keywords_;
  UserInputControls controls_ = static_cast<UserInputControls>(0);
  CursorType cursor_ = kNoSpecialCursor;
  bool haveLast_ = false;
  AcGePoint3d last_;
};

using AcRxFunctionPtr = void (*)();

// The registered commands, by group. Registered as "ACAD_REGISTERED_COMMANDS".
class AcEdCommandStack : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcEdCommandStack);
  // eDuplicateKey when the group already has the global name.
  Acad::ErrorStatus addCommand(const ACHAR* cmdGroupName, const ACHAR* cmdGlobalName, const ACHAR* cmdLocalName,
                               Adesk::Int32 commandFlags, AcRxFunctionPtr functionAddr);
  Acad::ErrorStatus removeCmd(const ACHAR* cmdGroupName, const ACHAR* cmdGlobalName);
  // eKeyNotFound when there is no such group.
  Acad::ErrorStatus removeGroup(const ACHAR* groupName);
  // The function of a command by global name (any group), or null.
  AcRxFunctionPtr lookupGlobalCmd(const ACHAR* cmdName) const;
  bool hasGroup(const ACHAR* groupName) const;
  AcEdCommandStack();
  ~AcEdCommandStack() override;

 private:
  struct Impl;
  Impl* impl_;
};
AcEdCommandStack* acedRegCmds();
