// The project file's schema, written once as compact column lists, and the rows a new project
// starts with (options, layers and layer keys, text styles, months, a layer system).
#include "schema.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace kvprojectdb {

namespace {

// Column lists: "name:kind" separated by blanks; kinds i integer, d real, s text, b boolean; a
// trailing '?' makes the column nullable. The first word is the key column.
struct CompactTable {
  const char* name;
  const char* columns;
  std::vector<IndexDef> indices;
};

const CompactTable kTables[] = {
    {"tblDuct",
     "ixDuct ixLayerSystem:i WIDTH:d DEPTH:d FITTING:s FIT1:s FIT2:s FIT3:s FIT4:s SIZEMAX:i "
     "TEXTX:d TEXTY:d SIZEVAL1:d SIZEVAL2:d SIZEVAL3:d SIZESHAPE:s bForceVertical:b "
     "TOTALPRESSURE:d STATICPRESSURE:d PDROPFROMSTART:d PDROPTOEND:d LASTVELOCITYPRESSURE:d "
     "PDROPLOCK:d LINING:d dExteriorLining:d TAILLENGTH:d HEADLENGTH:d CFM:d HEADLENGTH3D:d "
     "TAILLENGTH3D:d DAMPERLOCATION:d CFMDIVERSITY:d AIRFLOW:s SHAPE:s OFFSET:s VERTICALOFFSET:s "
     "MATERIAL:s DOUBLE_LINE:s SIZEFOR:s DAMPERTYPE:i X1:d Y1:d Z1:d X2:d Y2:d Z2:d DISTANCE1:i "
     "DISTANCE2:i DRAWING:s DRAWING2:s bDeleted:b iAlignmentPointNumber1:i "
     "iAlignmentPointNumber2:i dHangerSize:d dHangerDepth:d dHangerZ:d dHangerStartOffset:d "
     "dHangerSpacing:d dHangerEndOffset:d dHangerLeftExtension:d dHangerRightExtension:d "
     "iHangerType:i",
     {{"distance1", {"DISTANCE1"}, false},
      {"distance2", {"DISTANCE2"}, false},
      {"DRAWING", {"DRAWING"}, false},
      {"bDeletedAIRFLOWDRAWING", {"bDeleted", "AIRFLOW", "DRAWING"}, false},
      {"bDeletedDRAWINGAIRFLOW", {"bDeleted", "DRAWING", "AIRFLOW"}, false}}},
    {"tblDiffL",
     "ixDiffL ixDiffS:i ixDuct:i? ixRoomL:i? ixLayerSystem:i AIRFLOW:s? bDisplayCallout:b "
     "dXCallout:d? dYCallout:d? bFlipCalloutArrow:b CFM:d TILT:d CONTYPE:s X:d Y:d Z:d ROTATION:d "
     "DRAWING:s bDeleted:b iAlignmentPointNumber:i",
     {{"ixDiffS", {"ixDiffS"}, false}, {"ixDuct", {"ixDuct"}, false},
      {"bDeletedixDiffSDRAWING", {"bDeleted", "ixDiffS", "DRAWING"}, false}}},
    {"tblDiffS",
     "ixDiffS ixDiffSGroup:i CALLOUT:s ixDwgDiff:i WIDTH:d LENGTH:d NECK:d NECK2:d NOMINAL:s? "
     "MIN_CFM:d MAX_CFM:d MIN_THROW:d MAX_THROW:d MAX_NOISE:d PDROP:d TILT:d AIRFLOW:s CONTYPE:s "
     "MODEL:s? NOTES:s? DESCRP:s? bShowInSchedule:b",
     {{"ixDiffSGroup", {"ixDiffSGroup"}, false}, {"ixDwgDiff", {"ixDwgDiff"}, false}}},
    {"tblDiffSGroup", "ixDiffSGroup sName:s bShowUnused:b sScheduleNote:s? dMaxHeight:d?", {}},
    {"tblDwgDiff", "ixDwgDiff iSortOrder:i sDescription:s iBlockNumber:i iBlockType:i",
     {{"iSortOrder", {"iSortOrder"}, false}}},
    {"tblLoadRoomCooling",
     "ixLoadRoomCooling ixRoomL:i? ixZone:i? iMonth:i iHour:i dRoof:d dRoofPlenum:d dFloor:d "
     "dWall:d dWallPlenum:d dDoor:d dGlass:d dWallPartition:d dWallPlenumPartition:d "
     "dDoorPartition:d dGlassPartition:d dInfiltrationSensible:d dInfiltrationLatent:d "
     "dVentilationSensible:d dVentilationLatent:d dVentilation62Sensible:d dVentilation62Latent:d "
     "iCoolingCFM:i iOSACFM:i iOSA62CFM:i dLights:d dLightsPlenum:d dEquipmentLatent:d "
     "dEquipmentSensible:d dPeopleLatent:d dPeopleSensible:d dRoomTemperature:d dRoomHumidity:d "
     "dRoomTotalSensible:d dRoomTotalLatent:d dRoomTotal:d dPlenumTotal:d dSystemTotalSensible:d "
     "dSystemTotalLatent:d dSystemTotal:d dSystem62TotalSensible:d dSystem62TotalLatent:d "
     "dSystem62Total:d dArea:d dPeople:d dVentilationLatentPeople:d dVentilationSensiblePeople:d "
     "dPeopleRatio:d dVentilationIMCSensible:d dVentilationIMCLatent:d iOSAIMCCFM:i "
     "iOSAPeopleCFM:i dSystemIMCTotalSensible:d dSystemIMCTotalLatent:d dSystemIMCTotal:d "
     "dOSACriticalPercentageIMC:d dOSACorrectedPercentageIMC:d dOSASystemEfficiency62:d",
     {{"ixRoomLiMonthiHour", {"ixRoomL", "iMonth", "iHour"}, false},
      {"ixZoneiMonthiHour", {"ixZone", "iMonth", "iHour"}, false}}},
    {"tblLoadRoomHeating",
     "ixLoadRoomHeating ixRoomL:i? ixZone:i? dRoof:d dRoofPlenum:d dWall:d dWallPlenum:d dDoor:d "
     "dGlass:d dWallPartition:d dWallPlenumPartition:d dDoorPartition:d dGlassPartition:d dSlab:d "
     "dEquipment:d dFloor:d dInfiltration:d dVentilation:d dVentilation62:d iHeatingCFM:i "
     "iOSACFM:i iOSA62CFM:i dRoomTotal:d dPlenumTotal:d dSystemTotal:d dSystem62Total:d dArea:d "
     "dVentilationPeople:d dPeople:d dPeopleRatio:d dVentilationIMC:d iOSAIMCCFM:i "
     "iOSAPeopleCFM:i dSystemIMCTotal:d dOSACriticalPercentageIMC:d "
     "dOSACorrectedPercentageIMC:d dOSASystemEfficiency62:d",
     {{"ixRoomL", {"ixRoomL"}, false}, {"ixZone", {"ixZone"}, false}}},
    {"tblMonth", "ixMonth iMonth:i sName:s bDoCalculation:b", {{"iMonth", {"iMonth"}, true}}},
    {"tblGlobal", "ixGlobal sKey:s bNumeric:b sText:s? dNumber:d?", {{"sKey", {"sKey"}, true}}},
    {"tblLayer",
     "ixLayer sName:s bRGBColor:b iColor:i? iRed:i? iGreen:i? iBlue:i? sLinetype:s bPlot:b "
     "sLineweight:s? sPlotstyle:s? ixMasterDatabase:i? iMasterDatabaseIndex:i?",
     {{"sName", {"sName"}, false}}},
    {"tblLayerKey",
     "ixLayerKey ixLayerSystem:i? ixLayer:i sKey:s ixMasterDatabase:i? iMasterDatabaseIndex:i?",
     {{"sKey", {"sKey"}, false}, {"isxLayerSystemKey", {"ixLayerSystem", "sKey"}, false}}},
    {"tblLayerSystem",
     "ixLayerSystem sDescription:s iSortOrder:i bSolid:b sPrefix:s sSuffix:s supplyHatchOn:b "
     "supplyHatchType:s supplyHatchPattern:s supplyHatchAngle:d supplyHatchScale:d "
     "returnHatchOn:b returnHatchType:s returnHatchPattern:s returnHatchAngle:d "
     "returnHatchScale:d exhaustHatchOn:b exhaustHatchType:s exhaustHatchPattern:s "
     "exhaustHatchAngle:d exhaustHatchScale:d outsideHatchOn:b outsideHatchType:s "
     "outsideHatchPattern:s outsideHatchAngle:d outsideHatchScale:d bHatchFlexDucts:b "
     "dHatchOverhang:d ixMasterDatabase:i? iMasterDatabaseIndex:i?",
     {{"iSortOrder", {"iSortOrder"}, false}}},
    {"tblTextStyle",
     "ixTextStyle sKey:s sStyleName:s? dHeight:d? dScaleFactor:d? ixMasterDatabase:i? "
     "iMasterDatabaseIndex:i?",
     {{"sKey", {"sKey"}, false}}},
    // The application layer's own data: its rooms, their construction and use, the project's
    // design conditions and the floor and zone trees. The module never reads these.
    {"tblRoomL", "ixRoomL sName:s?", {}},
    {"tblRoomUse",
     "ixRoomUse ixRoomL:i dArea:d dPeople:d dPeopleSensible:d dPeopleLatent:d dLights:d "
     "dLightsFactor:d dEquipment:d dEquipmentLatent:d dCLF:d iOccupiedFrom:i iOccupiedTo:i "
     "dInfiltration:d dOutdoorAir:d",
     {{"ixRoomL", {"ixRoomL"}, true}}},
    {"tblRoomSurface",
     "ixRoomSurface ixRoomL:i sKind:s sOrientation:s? iNumber:i dArea:d dU:d dSC:d sZoneType:s? "
     "dCoolingDifference:d dHeatingDifference:d",
     {{"ixRoomL", {"ixRoomL"}, false}}},
    {"tblDesign",
     "ixDesign iLatitude:i dOutdoorCooling:d dDailyRange:d dIndoorCooling:d dIndoorHumidity:d "
     "dOutdoorGrains:d dIndoorGrains:d dOutdoorHeating:d dIndoorHeating:d dSupplyCooling:d "
     "dSupplyHeating:d",
     {}},
    {"tblKvTree", "ixKvTree sName:s sTree:s?", {{"sName", {"sName"}, true}}},
};

ColumnDef parseColumn(const std::string& word, bool first) {
  if (first) return {word, ColumnKind::Key, false};
  auto colon = word.find(':');
  std::string name = word.substr(0, colon);
  char kind = word[colon + 1];
  bool nullable = word.back() == '?';
  ColumnKind k = kind == 'i'   ? ColumnKind::Integer
                 : kind == 'd' ? ColumnKind::Real
                 : kind == 'b' ? ColumnKind::Boolean
                               : ColumnKind::Text;
  return {name, k, nullable};
}

std::vector<TableDef> expand() {
  std::vector<TableDef> tables;
  for (const CompactTable& compact : kTables) {
    TableDef table{compact.name, {}, compact.indices};
    std::istringstream words(compact.columns);
    std::string word;
    while (words >> word) table.columns.push_back(parseColumn(word, table.columns.empty()));
    tables.push_back(std::move(table));
  }
  return tables;
}

}  // namespace

// Declared types: BOOLEAN keeps its NUMERIC affinity but tells the component to answer VT_BOOL.
// Text keeps SQLite's binary collation: keys are compared exactly, case included, in lookups and
// in unique indices alike ("DEFAULT" and "Default" are two keys). On the server, numeric stands
// for SQLite's INTEGER affinity (a whole number stays whole, 2.5 stays 2.5), smallint marks a flag,
// and the "C" collation gives the same byte order as SQLite's.
std::string columnType(ColumnKind kind, Dialect dialect) {
  bool server = dialect == Dialect::Server;
  switch (kind) {
    case ColumnKind::Key:
      return server ? "bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY" : "INTEGER PRIMARY KEY AUTOINCREMENT";
    case ColumnKind::Integer: return server ? "numeric" : "INTEGER";
    case ColumnKind::Real: return server ? "double precision" : "REAL";
    case ColumnKind::Boolean: return server ? "smallint" : "BOOLEAN";
    case ColumnKind::Text: return server ? "text COLLATE \"C\"" : "TEXT";
  }
  return "";
}

namespace {

std::string nameIn(std::string_view name, Dialect dialect) {
  std::string out(name);
  if (dialect == Dialect::Server)
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return "\"" + out + "\"";
}

std::string columnSql(const ColumnDef& c, Dialect dialect) {
  std::string q = nameIn(c.name, dialect) + " " + columnType(c.kind, dialect);
  return c.nullable || c.kind == ColumnKind::Key || c.kind == ColumnKind::Text ? q : q + " DEFAULT 0";
}

std::string quoteText(std::string_view text) {
  std::string out = "'";
  for (char ch : text) out += ch == '\'' ? std::string("''") : std::string(1, ch);
  return out + "'";
}

// Options a new project starts with: key, numeric?, value.
struct GlobalDefault {
  const char* key;
  bool numeric;
  const char* value;
};

const GlobalDefault kGlobals[] = {
    {"AUTOFIT-RC2", false, "1"}, {"AUTOFIT-RC3", false, "1"}, {"AUTOFIT-RC4", false, "0"},
    {"AUTOFIT-RD2", false, "1"}, {"AUTOFIT-RD3", false, "2"}, {"AUTOFIT-RD4", false, "1"},
    {"nextTransparentFitting", false, "NONE"},
    {"ELBOW RADIUS", true, "1.5"}, {"TRANSITION ANGLE", true, "30"},
    {"TURNING VANES", false, "YES"},
    {"RECTANGULAR DUCT LABEL FORMAT", false, "W\"xD\""},
    {"LINED RECTANGULAR DUCT LABEL FORMAT", false, ""},
    {"ROUND DUCT LABEL FORMAT", false, "W\"%%c"},
    {"LINED ROUND DUCT LABEL FORMAT", false, ""},
    {"OVAL DUCT LABEL FORMAT", false, "W\"xD\" FO"},
    {"LINED OVAL DUCT LABEL FORMAT", false, ""},
    {"MAX SINGLE WIDTH", true, "0"}, {"LINING WIDTH", true, "1"},
    {"EXTERIOR LINING WIDTH", true, "1.5"}, {"SHOW BK", false, "NO"},
    {"REVERSEARROWS", false, "NO"}, {"duct-minSize", true, "4"},
    {"duct-oddBelowRect", true, "0"}, {"duct-oddBelowRound", true, "0"},
    {"duct-oddBelowOval", true, "0"},
    {"SHOW4THROW", false, "YES"}, {"DIFFCALLOUT", false, "0"},
    {"DIFFUSER CALLOUT LINE 1", false, "CALLOUT"}, {"DIFFUSER CALLOUT LINE 2", false, "CFM"},
    {"DIFFUSER CALLOUT FORMAT", false, "CALLOUT-CFM"},
    {"DIFFUSER CALLOUT FORMAT: RETURN", false, "Same as supply"},
    {"DIFFUSER CALLOUT FORMAT: EXHAUST", false, "Same as supply"},
    {"DIFFCALLOUT_LOC", false, "AUTO"}, {"CFM LABEL FORMAT", false, "CFM"},
    {"sizeDiffuserRunoutToNeck", false, "YES"}, {"DCONN-FLEXLENGTH", true, "60"},
    {"bDamperFarFromDiffuser", false, "NO"}, {"TOP CON", false, "FLEX"},
    {"DCONN-FLEXWIDTH", false, "SINGLE"}, {"DCONN-HARDWIDTH", false, "DOUBLE"},
    {"bldg-reserveHeatRoom", true, "0"}, {"bldg-reserveHeatOSA", true, "0"},
    {"bldg-reserveCoolRoom", true, "0"}, {"bldg-reserveCoolOSA", true, "0"},
    {"bldg-floorU", true, "0.1"}, {"bldg-ASHRAE62", false, "ASHRAE2010"},
    {"bldg-useActualSupplyCFM", false, "NO"}, {"bldg-setMaxOSAPercent", false, "NO"},
    {"bldg-maxOSAPercent", true, "100"}, {"bldg-fractionalPeople", false, "NO"},
    {"roomsAsZones", false, "NO"},
    {"ELEVLABEL LEADER BLOCK", false, ""}, {"ELEVLABEL LEADER LOCATION", false, "Center"},
    {"ELEVLABEL TOP BLOCK", false, ""}, {"ELEVLABEL BOTTOM BLOCK", false, ""},
    {"ELEVLABEL BOTH BLOCK", false, ""}, {"ELEVLABEL CENTERLINE BLOCK", false, ""},
    {"ELEVLABEL TOP LABEL", false, "TOD"}, {"ELEVLABEL BOTTOM LABEL", false, "BOD"},
    {"ELEVLABEL CENTERLINE LABEL", false, "CL"}, {"ELEVLABEL INCLUDE EXTERIOR", false, "NO"},
    {"3DApproximation", true, "24"}, {"DrawHangers3D", false, "NO"},
    {"MEQ-DRAW3D", false, "YES"}, {"3d-exportFlex", false, "YES"},
    {"3d-exportDiffusers", false, "All"},
    {"LEADER ARROW", false, "_CLOSEDFILLED"}, {"ArrowheadSize", true, "0.1875"},
    {"DrawHangers2D", false, "NO"}, {"pressureDropTag", false, ""},
    {"scheduleTitleJustification", false, "Center"},
    {"scheduleColumnJustification", false, "Center"},
    {"scheduleTitleContinued", false, "(CONTINUED)"},
};

// The four air systems, as the connection options name them.
const char* const kAirSystems[] = {"SUPPLY", "RETURN", "EXHAUST", "OUTSIDE"};

// The calculation months a new project starts with: the three summer months of peak cooling.
bool calculatedMonth(int month) { return month >= 6 && month <= 8; }

// `bySystem`: the key is resolved within a layer system (the ductwork's keys), so every layer
// system of a new project gets a row of its own; the others hold for every system (null).
struct LayerDefault {
  const char* key;
  const char* layer;
  int color;
  const char* linetype;
  bool bySystem;
};

const LayerDefault kLayers[] = {
    {"DEFAULT", "M-HVAC", 7, "CONTINUOUS", true},
    {"ROOM OUTLINES", "M-ROOM-OTLN", 3, "CONTINUOUS", false},
    {"ROOM LABELS", "M-ROOM-IDEN", 2, "CONTINUOUS", false},
    {"ROOM LEADER", "M-ROOM-LEAD", 1, "CONTINUOUS", false},
    {"DUCTWORK CENTERLINE: SUPPLY", "M-DUCT-SUPP-CNTR", 5, "CENTER", true},
    {"DUCTWORK CENTERLINE: RETURN", "M-DUCT-RETN-CNTR", 6, "CENTER", true},
    {"DUCTWORK CENTERLINE: EXHAUST", "M-DUCT-EXHS-CNTR", 4, "CENTER", true},
    {"DUCTWORK CENTERLINE: OUTSIDE AIR", "M-DUCT-OUTS-CNTR", 3, "CENTER", true},
};

struct LayerSystemDefault {
  int ixLayerSystem;
  const char* description;
};

const LayerSystemDefault kLayerSystems[] = {{1, "Standard"}};

const char* const kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                               "July",    "August",   "September", "October", "November", "December"};

void addGlobals(std::vector<std::string>& out) {
  auto add = [&](const std::string& key, bool numeric, const std::string& value) {
    out.push_back("INSERT INTO tblGlobal (sKey, bNumeric, sText, dNumber) VALUES (" + quoteText(key) +
                  (numeric ? ", -1, NULL, " + value + ")" : ", 0, " + quoteText(value) + ", NULL)"));
  };
  for (const GlobalDefault& g : kGlobals) add(g.key, g.numeric, g.value);
  for (const char* system : kAirSystems) {
    std::string s = system;
    add("DCONN-CLGTYPE-" + s, false, "FLEX");
    add("DCONN-CLGSHAPE-" + s, false, "NO");
    add("DCONN-SIDETYPE-" + s, false, "HARD");
    add("DCONN-DAMPER-" + s, false, "YES");
  }
  for (int m = 0; m < 12; ++m)
    add("bldg-calculateMonth" + std::to_string(m), false, calculatedMonth(m) ? "YES" : "NO");
}

void addLayers(std::vector<std::string>& out, bool layers, bool keys) {
  int ixLayer = 0;
  for (const LayerDefault& l : kLayers) {
    ++ixLayer;
    if (layers)
      out.push_back("INSERT INTO tblLayer (ixLayer, sName, bRGBColor, iColor, sLinetype, bPlot) VALUES (" +
                    std::to_string(ixLayer) + ", " + quoteText(l.layer) + ", 0, " + std::to_string(l.color) +
                    ", " + quoteText(l.linetype) + ", -1)");
    if (!keys) continue;
    auto addKey = [&](const std::string& system) {
      out.push_back("INSERT INTO tblLayerKey (ixLayerSystem, ixLayer, sKey) VALUES (" + system + ", " +
                    std::to_string(ixLayer) + ", " + quoteText(l.key) + ")");
    };
    addKey("NULL");
    if (l.bySystem)
      for (const LayerSystemDefault& s : kLayerSystems) addKey(std::to_string(s.ixLayerSystem));
  }
}

// SQLite's table names are case-blind.
bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y)); });
}

bool skipped(const std::vector<std::string>& skip, std::string_view table) {
  return std::find(skip.begin(), skip.end(), table) != skip.end();
}

}  // namespace

const std::vector<TableDef>& projectTables() {
  static const std::vector<TableDef> tables = expand();
  return tables;
}

std::string storedIndexName(std::string_view table, std::string_view index) {
  return std::string(table) + "__" + std::string(index);
}

std::string indexStatement(const TableDef& table, const IndexDef& index, Dialect dialect) {
  std::string cols;
  for (const std::string& c : index.columns) cols += (cols.empty() ? "" : ", ") + nameIn(c, dialect);
  return std::string("CREATE ") + (index.unique ? "UNIQUE " : "") + "INDEX IF NOT EXISTS " +
         nameIn(storedIndexName(table.name, index.name), dialect) + " ON " + nameIn(table.name, dialect) + " (" +
         cols + ")";
}

void addTableStatements(const TableDef& t, std::vector<std::string>& out, Dialect dialect) {
  std::string sql = "CREATE TABLE " + nameIn(t.name, dialect) + " (";
  for (std::size_t i = 0; i < t.columns.size(); ++i) sql += (i ? ", " : "") + columnSql(t.columns[i], dialect);
  // On the server, room left in every page lets an update that changes no indexed column (most
  // of a designer's edits) write the new row beside the old one and leave the indices alone.
  out.push_back(sql + (dialect == Dialect::Server ? ") WITH (fillfactor = 80)" : ")"));
  for (const IndexDef& ix : t.indices) out.push_back(indexStatement(t, ix, dialect));
}

std::vector<std::string> schemaStatements(Dialect dialect) {
  std::vector<std::string> out;
  for (const TableDef& t : projectTables()) addTableStatements(t, out, dialect);
  return out;
}

std::vector<std::string> missingTableStatements(const std::vector<std::string>& present) {
  std::vector<std::string> out;
  for (const TableDef& t : projectTables())
    if (std::none_of(present.begin(), present.end(), [&](const std::string& p) { return sameName(p, t.name); }))
      addTableStatements(t, out, Dialect::Sqlite);
  return out;
}

std::vector<std::string> startingRowStatements(const std::vector<std::string>& skipTables) {
  std::vector<std::string> out;
  if (!skipped(skipTables, "tblGlobal")) addGlobals(out);
  addLayers(out, !skipped(skipTables, "tblLayer"), !skipped(skipTables, "tblLayerKey"));
  if (!skipped(skipTables, "tblTextStyle")) {
    out.push_back("INSERT INTO tblTextStyle (sKey, sStyleName, dHeight, dScaleFactor) "
                  "VALUES ('DEFAULT', 'SIMPLEX', 0.1, 1.0)");
    out.push_back("INSERT INTO tblTextStyle (sKey, sStyleName, dHeight, dScaleFactor) "
                  "VALUES ('ROOM LABELS', 'ROMANS', 0.125, 1.0)");
  }
  if (!skipped(skipTables, "tblMonth"))
    for (int m = 0; m < 12; ++m)
      out.push_back("INSERT INTO tblMonth (iMonth, sName, bDoCalculation) VALUES (" + std::to_string(m) +
                    ", " + quoteText(kMonths[m]) + ", " + (calculatedMonth(m) ? "-1" : "0") + ")");
  if (!skipped(skipTables, "tblLayerSystem"))
    for (const LayerSystemDefault& s : kLayerSystems)
      out.push_back("INSERT INTO tblLayerSystem (ixLayerSystem, sDescription, iSortOrder, sPrefix, sSuffix) VALUES (" +
                    std::to_string(s.ixLayerSystem) + ", " + quoteText(s.description) + ", " +
                    std::to_string(s.ixLayerSystem) + ", '', '')");
  return out;
}

}  // namespace kvprojectdb
