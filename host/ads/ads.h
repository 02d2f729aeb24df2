// The host's LISP bridge: result-buffer cells and the acut*/aced* calls a module uses to read its
// LISP arguments, set its result, define LISP functions and call LISP back.
#pragma once

#include <cstdint>
#include <cwchar>

using ACHAR = wchar_t;
#ifndef _T
#define _T(x) L##x
#endif
#ifndef ACRX_T
#define ACRX_T(x) L##x
#endif

using ads_real = double;
using ads_point = ads_real[3];
using ads_name = std::int64_t[2];
using ads_namep = std::int64_t*;

// Result type codes. A code below 1000 is a DXF group code.
enum : short {
  RTNONE = 5000,
  RTREAL = 5001,
  RTPOINT = 5002,
  RTSHORT = 5003,
  RTANG = 5004,
  RTSTR = 5005,
  RTENAME = 5006,
  RTPICKS = 5007,
  RTORINT = 5008,
  RT3DPOINT = 5009,
  RTLONG = 5010,
  RTVOID = 5014,
  RTLB = 5016,
  RTLE = 5017,
  RTDOTE = 5018,
  RTNIL = 5019,
  RTDXF0 = 5020,
  RTT = 5021,
  RTRESBUF = 5023,
};

// Status results of the bridge and editor calls.
enum : int {
  RTNORM = 5100,
  RTERROR = -5001,
  RTCAN = -5002,
  RTREJ = -5003,
  RTFAIL = -5004,
  RTKWORD = -5005,
  RTINPUT = -5008,
};

// What an entry function registered with acedRegFunc returns to the host.
enum : int {
  RSRSLT = 1,  // the value set by acedRet..., nil if none was set
  RSERR = 3,   // a LISP error
};

union ads_u_val {
  ads_real rreal;
  ads_real rpoint[3];
  short rint;
  ACHAR* rstring;
  std::int64_t rlname[2];
  std::int32_t rlong;
  std::int64_t mnInt64;
};

struct resbuf {
  resbuf* rbnext;
  short restype;
  ads_u_val resval;
};

// Builds a chain from (type, value) pairs ended by 0 or RTNONE. Values by type: RTREAL/RTANG
// double; RTPOINT/RT3DPOINT const double*; RTSHORT int; RTLONG int32; RTSTR const ACHAR*
// (copied); RTENAME/RTPICKS const int64_t*; RTLB/RTLE/RTDOTE/RTNIL/RTT/RTVOID no value; a DXF
// group code takes the value kind the platform gives that code range.
resbuf* acutBuildList(int rtype, ...);
resbuf* acutNewRb(int type);
// Releases a whole chain, strings included.
int acutRelRb(resbuf* rb);

// The arguments of the LISP call in progress (owned by the caller, released with acutRelRb).
resbuf* acedGetArgs();
int acedRetNil();
int acedRetT();
int acedRetInt(int value);
int acedRetReal(ads_real value);
int acedRetStr(const ACHAR* text);
int acedRetList(const resbuf* list);
int acedRetName(const ads_name name, int type);
int acedRetPoint(const ads_point point);
int acedRetVoid();

// Defines a LISP function in the current document's environment; its calls go to the entry
// registered for the same code with acedRegFunc.
int acedDefun(const ACHAR* name, int funcNumber);
int acedUndef(const ACHAR* name, int funcNumber);
int acedRegFunc(int (*entry)(), int funcNumber);
// Calls a LISP function: args' first cell is its name. RTNORM with *result the cells of one
// argument of the function's value; an error result when the function is undefined or fails.
int acedInvoke(const resbuf* args, resbuf** result);

// Writes to the command line. Formats follow the platform: %s takes a wide string, %c a wide
// character, as in the platform's wide printf.
int acutPrintf(const ACHAR* format, ...);
int acedTextScr();
int acedGraphScr();
