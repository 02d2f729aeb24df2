// The LISP bodies of the loads folder (rows of the module's LISP function table): hourly CLTD
// curves, and the accumulate, read and reset operations of the two load stores.
#pragma once

#include "bridge/bridge.h"

LispStatus lispGetGlassCltdDxf();    // kv_hvac-getGlassCLTDDxf
LispStatus lispGetWallCltdDxf();     // kv_hvac-getWallCLTDDxf
LispStatus lispGetRoofCltdDxf();     // kv_hvac-getRoofCLTDDxf
LispStatus lispStoreWallData();      // kv_hvac-loads-storeWallData
LispStatus lispGetWallData();        // kv_hvac-loads-getWallData
LispStatus lispResetWallData();      // kv_hvac-loads-resetWallData
LispStatus lispStoreRoomData();      // kv_hvac-loads-storeRoomData
LispStatus lispGetRoomData();        // kv_hvac-loads-getRoomData
LispStatus lispResetRoomData();      // kv_hvac-loads-resetRoomData
