// The module's 54 LISP functions: names, function codes, guard kinds and bodies.
//
// Every row names its body, `LispStatus f()`, declared in the public header of the folder that
// owns it; the entry function, the guard and the function code follow from the row.
#include <array>
#include <utility>

#include "bridge/bridge.h"
#include "database/database.h"
#include "dialogs/dialogs.h"
#include "ductwork/ductrows.h"
#include "loads/loadslisp.h"
#include "module/module.h"
#include "rooms/rooms.h"
#include "solids/solids.h"

namespace {

// What the guard does around a row's body.
enum class Guard {
  Lock,     // lock the working document
  Connect,  // lock it and connect the current project's database first
  None,     // no lock; the body's status is mapped all the same
};

struct LispFunctionSpec {
  const ACHAR* name;
  Guard guard;
  LispBody body;
};

// Position is the function code; the order is fixed by the LISP layer that calls these names.
constexpr LispFunctionSpec kSpecs[kLispFunctionCount] = {
    /*  0 */ {L"kv_hvac-disconnect",                   Guard::Lock,     kv_hvac_disconnect},
    /*  1 */ {L"kv_hvac-solidUnion",                   Guard::Lock,     kv_hvac_solidUnion},
    /*  2 */ {L"kv_hvac-solidSlice",                   Guard::Lock,     kv_hvac_solidSlice},
    /*  3 */ {L"kv_hvac-drawTripleFitting",            Guard::Connect,  kv_hvac_drawTripleFitting},
    /*  4 */ {L"kv_hvac-drawTripleCenter",             Guard::Connect,  kv_hvac_drawTripleCenter},
    /*  5 */ {L"kv_hvac-drawTripleDiffuser",           Guard::Connect,  kv_hvac_drawTripleDiffuser},
    /*  6 */ {L"kv_hvac-ExplodeSolid",                 Guard::Lock,     kv_hvac_ExplodeSolid},
    /*  7 */ {L"kv_hvac-getPlinePoints",               Guard::Lock,     kv_hvac_getPlinePoints},
    /*  8 */ {L"kv_hvac-setDuctInfo",                  Guard::Lock,     kv_hvac_setDuctInfo},
    /*  9 */ {L"kv_hvac-getOldDuctInfo",               Guard::Lock,     kv_hvac_getOldDuctInfo},
    /* 10 */ {L"kv_hvac-duct-getHangerList",           Guard::Lock,     kv_hvac_duct_getHangerList},
    /* 11 */ {L"kv_hvac-room-draw",                    Guard::Connect,  kv_hvac_room_draw},
    /* 12 */ {L"kv_hvac-room-getPoints",               Guard::Lock,     kv_hvac_room_getPoints},
    /* 13 */ {L"kv_hvac-room-getLeaderPoints",         Guard::Lock,     kv_hvac_room_getLeaderPoints},
    /* 14 */ {L"kv_hvac-room-setPoints",               Guard::Lock,     kv_hvac_room_setPoints},
    /* 15 */ {L"kv_hvac-room-getArea",                 Guard::Lock,     kv_hvac_room_getArea},
    /* 16 */ {L"kv_hvac-room-updateIndex",             Guard::Lock,     kv_hvac_room_updateIndex},
    /* 17 */ {L"kv_hvac-room-find",                    Guard::Lock,     kv_hvac_room_find},
    /* 18 */ {L"kv_hvac-room-insertPoint",             Guard::Lock,     kv_hvac_room_insertPoint},
    /* 19 */ {L"kv_hvac-room-removePoint",             Guard::Lock,     kv_hvac_room_removePoint},
    /* 20 */ {L"kv_hvac-room-updateLabel",             Guard::Lock,     kv_hvac_room_updateLabel},
    /* 21 */ {L"kv_hvac-room-updateAttributes",        Guard::Connect,  kv_hvac_room_updateAttributes},
    /* 22 */ {L"kv_hvac-room-setPointInfo",            Guard::Lock,     kv_hvac_room_setPointInfo},
    /* 23 */ {L"kv_hvac-room-insert",                  Guard::Connect,  kv_hvac_room_insert},
    /* 24 */ {L"kv_hvac-addDuctToDwg",                 Guard::Lock,     kv_hvac_addDuctToDwg},
    /* 25 */ {L"kv_hvac-getWallCLTDDxf",               Guard::Lock,     lispGetWallCltdDxf},
    /* 26 */ {L"kv_hvac-getGlassCLTDDxf",              Guard::Lock,     lispGetGlassCltdDxf},
    /* 27 */ {L"kv_hvac-getRoofCLTDDxf",               Guard::Lock,     lispGetRoofCltdDxf},
    /* 28 */ {L"kv_hvac-zoneTree",                     Guard::Lock,     kv_hvac_zoneTree},
    /* 29 */ {L"kv_hvac-floorTree",                    Guard::Lock,     kv_hvac_floorTree},
    /* 30 */ {L"kvDuct",                               Guard::Connect,  kvDuct},
    /* 31 */ {L"kvbreak",                              Guard::Connect,  kvbreak},
    /* 32 */ {L"kvductforce",                          Guard::Connect,  kvductforce},
    /* 33 */ {L"kv_hvac-insertDuct-likePlumbing",      Guard::Connect,  kv_hvac_insertDuct_likePlumbing},
    /* 34 */ {L"kv_hvac-getDuctCoord",                 Guard::Connect,  kv_hvac_getDuctCoord},
    /* 35 */ {L"kv_hvac-getLayer",                     Guard::Connect,  kv_hvac_getLayer},
    /* 36 */ {L"kv_hvac-options",                      Guard::None,     kv_hvac_options},
    /* 37 */ {L"kv_hvac-dwgDiff",                      Guard::Lock,     kv_hvac_dwgDiff},
    /* 38 */ {L"kv_hvac-loadDetail",                   Guard::Connect,  kv_hvac_loadDetail},
    /* 39 */ {L"c:checkkv",                            Guard::Connect,  c_checkkv},
    /* 40 */ {L"kv_hvac-room-setLeaderLocation",       Guard::Lock,     kv_hvac_room_setLeaderLocation},
    /* 41 */ {L"kv_hvac-duct-fillet",                  Guard::Connect,  kv_hvac_duct_fillet},
    /* 42 */ {L"kv_hvac-setIsMetric",                  Guard::Connect,  kv_hvac_setIsMetric},
    /* 43 */ {L"kv_hvac-loads-storeWallData",          Guard::Lock,     lispStoreWallData},
    /* 44 */ {L"kv_hvac-loads-getWallData",            Guard::Lock,     lispGetWallData},
    /* 45 */ {L"kv_hvac-loads-resetWallData",          Guard::Lock,     lispResetWallData},
    /* 46 */ {L"kv_hvac-loads-storeRoomData",          Guard::Lock,     lispStoreRoomData},
    /* 47 */ {L"kv_hvac-loads-getRoomData",            Guard::Lock,     lispGetRoomData},
    /* 48 */ {L"kv_hvac-loads-resetRoomData",          Guard::Lock,     lispResetRoomData},
    /* 49 */ {L"kv_hvac-room-toggleLeader",            Guard::Connect,  kv_hvac_room_toggleLeader},
    /* 50 */ {L"kv_hvac-ProjectExplorer",              Guard::Connect,  kv_hvac_ProjectExplorer},
    /* 51 */ {L"ssgetx-duct",                          Guard::Lock,     ssgetx_duct},
    /* 52 */ {L"ssgetx-room",                          Guard::Lock,     ssgetx_room},
    /* 53 */ {L"kv_hvac-setDoDocumentActivated",       Guard::Lock,     kv_hvac_setDoDocumentActivated},
};

template <int Row>
int Entry() {
  constexpr const LispFunctionSpec& row = kSpecs[Row];
  if constexpr (row.guard == Guard::None) return MapLispStatus(row.body());
  return LispGuard(row.body, row.guard == Guard::Connect ? DocumentRegistry() : nullptr);
}

template <std::size_t... Rows>
constexpr std::array<LispFunctionRow, sizeof...(Rows)> MakeTable(std::index_sequence<Rows...>) {
  return {LispFunctionRow{kSpecs[Rows].name, &Entry<Rows>}...};
}

constexpr auto kTable = MakeTable(std::make_index_sequence<kLispFunctionCount>());

}  // namespace

const LispFunctionRow* LispFunctionTable() { return kTable.data(); }

void RegisterLispFunctions(const LispFunctionRow* table, int count, int base) {
  for (int i = 0; i < count; ++i) {
    acedDefun(table[i].name, base + i);
    acedRegFunc(table[i].entry, base + i);
  }
}
