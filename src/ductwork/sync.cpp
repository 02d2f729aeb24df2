// The paths over which duct data moves between LISP, the entity and the row, and the project's
// duct defaults. Nothing keeps entity and row in step by itself: the LISP layer does, with these.
#include <cwctype>
#include <variant>

#include "KvDuct.h"
#include "rowaccess.h"

using namespace ductrows;

// The duct defaults that duct-getSettings may give, by their keys (SIZEVAL3 has none).
#define KV_DUCT_SETTING_FIELDS(X)                                                                        \
  X(MATERIAL) X(SHAPE) X(OFFSET) X(VERTICALOFFSET) X(ixLayerSystem) X(AIRFLOW) X(DOUBLE_LINE) X(LINING)   \
  X(dExteriorLining) X(WIDTH) X(DEPTH) X(SIZEFOR) X(SIZESHAPE) X(SIZEVAL1) X(SIZEVAL2) X(SIZEMAX) X(Z1)    \
  X(Z2) X(dHangerZ) X(dHangerSize) X(dHangerDepth) X(dHangerStartOffset) X(dHangerSpacing)                \
  X(dHangerEndOffset) X(dHangerLeftExtension) X(dHangerRightExtension) X(iHangerType)

// What a new duct takes over from its template.
#define KV_DUCT_TEMPLATE_COLUMNS(X)                                                                       \
  X(ixLayerSystem) X(AIRFLOW) X(LINING) X(dExteriorLining) X(SHAPE) X(OFFSET) X(VERTICALOFFSET) X(WIDTH)  \
  X(DEPTH) X(Z1) X(Z2) X(MATERIAL) X(DOUBLE_LINE) X(SIZEFOR) X(SIZESHAPE) X(SIZEVAL1) X(SIZEVAL2)         \
  X(SIZEVAL3) X(SIZEMAX) X(FITTING) X(FIT1) X(FIT2) X(FIT3) X(FIT4) X(DAMPERLOCATION) X(DAMPERTYPE)       \
  X(iHangerType) X(dHangerEndOffset) X(dHangerSize) X(dHangerDepth) X(dHangerSpacing) X(dHangerStartOffset) \
  X(dHangerLeftExtension) X(dHangerRightExtension) X(dHangerZ)

namespace {

// The fixed text fields of the settings hold 19 characters; a longer text is cut there.
constexpr std::size_t kSettingTextLimit = 19;

using SettingField =
    std::variant<std::wstring KvDuctDbInfo::*, double KvDuctDbInfo::*, std::int32_t KvDuctDbInfo::*>;
struct Setting {
  std::wstring_view key;
  SettingField field;
};

#define KV_SETTING_ROW(name) Setting{L"" #name, &KvDuctDbInfo::name},
constexpr Setting kSettings[] = {KV_DUCT_SETTING_FIELDS(KV_SETTING_ROW)};
#undef KV_SETTING_ROW

const Setting* FindSetting(std::wstring_view key) {
  for (const Setting& setting : kSettings)
    if (setting.key == key) return &setting;
  return nullptr;
}

// Reads the value of one setting with the reader its kind asks for; a value of another kind
// leaves the default and is left to the walk.
void ReadSetting(ArgCursor& cursor, const Setting& setting, KvDuctDbInfo& defaults) {
  if (auto text = std::get_if<std::wstring KvDuctDbInfo::*>(&setting.field)) {
    std::wstring value;
    if (ArgString(cursor, value)) defaults.**text = value.substr(0, kSettingTextLimit);
  } else if (auto real = std::get_if<double KvDuctDbInfo::*>(&setting.field)) {
    double value = 0.0;
    if (ArgNumber(cursor, value)) defaults.**real = value;
  } else {
    std::int32_t value = 0;
    if (ArgInt(cursor, value)) defaults.*std::get<std::int32_t KvDuctDbInfo::*>(setting.field) = value;
  }
}

// Opens the entity an argument names as a duct; null when it is none or cannot be opened.
KvDuct* OpenDuct(AcDbObjectId id, AcDb::OpenMode mode) {
  KvDuct* duct = nullptr;
  return acdbOpenObject(duct, id, mode) == Acad::eOk ? duct : nullptr;
}

struct DuctCloser {
  void operator()(KvDuct* duct) const { duct->close(); }
};
using OpenedDuct = std::unique_ptr<KvDuct, DuctCloser>;

// Applies the value of one key of kv_hvac-setDuctInfo; the cursor stands on the value. A value
// its reader refuses changes nothing.
void ApplyDuctKey(KvDuct& duct, const std::wstring& key, ArgCursor& c) {
  ads_point p;
  double number = 0.0;
  std::int32_t integer = 0;
  std::wstring text;
  bool flag = false;
  AcGePoint3d at;
  if (key == L"P1" && ArgPoint3d(c, p)) duct.setStart(AcGePoint3d(p[0], p[1], p[2]), true);
  else if (key == L"P2" && ArgPoint3d(c, p)) duct.setEnd(AcGePoint3d(p[0], p[1], p[2]), true);
  else if (key == L"ixDuct" && ArgInt(c, integer)) duct.setIxDuct(integer);
  else if (key == L"Z1" && ArgNumber(c, number)) {
    duct.getStart(at);
    at.z = number;
    duct.setStart(at, true);
  } else if (key == L"Z2" && ArgNumber(c, number)) {
    duct.getEnd(at);
    at.z = number;
    duct.setEnd(at, true);
  } else if (key == L"SIZEFOR" && ArgString(c, text)) duct.fieldsForWrite().sizeFor = text;
  else if (key == L"DWG" && ArgString(c, text)) duct.fieldsForWrite().linkedDrawing = text;
  else if (key == L"DWGSTART" && ArgBool(c, flag)) duct.fieldsForWrite().dwgStart = flag;
  else if (key == L"DWGEND" && ArgBool(c, flag)) duct.fieldsForWrite().dwgEnd = flag;
  else if (key == L"REVERSEARROWS" && ArgBool(c, flag)) duct.fieldsForWrite().reverseArrows = flag;
  else if (key == L"bLockWidth" && ArgBool(c, flag)) duct.fieldsForWrite().bLockWidth = flag;
  else if (key == L"bLockDepth" && ArgBool(c, flag)) duct.fieldsForWrite().bLockDepth = flag;
  else if (key == L"bLockShape" && ArgBool(c, flag)) duct.fieldsForWrite().bLockShape = flag;
  else if (key == L"HANGERDIST") {
    std::vector<double>& distances = duct.fieldsForWrite().hangerDistances;
    distances.clear();
    // Up to the end of the key's list; what is no number is passed over.
    while (!c.atEnd() && !ArgListClose(c)) {
      if (ArgNumber(c, number)) distances.push_back(number);
      else ArgSkip(c);
    }
  }
}

std::wstring Upper(std::wstring text) {
  for (wchar_t& ch : text) ch = static_cast<wchar_t>(std::towupper(ch));
  return text;
}

resbuf* LegacyCell(const oldDuctFields::Value& value) {
  if (auto i = std::get_if<std::int32_t>(&value)) return acutBuildList(RTLONG, *i, 0);
  if (auto d = std::get_if<double>(&value)) return acutBuildList(RTREAL, *d, 0);
  return acutBuildList(RTSTR, std::get<std::wstring>(value).c_str(), 0);
}

}  // namespace

bool readDuctSettings() {
  hvacPerProjectData* project = CallProject();
  if (!project) return false;
  ResbufPtr answer = AskLisp(acutBuildList(RTSTR, L"duct-getSettings", RTNIL, 0));
  if (!answer || answer->restype == RTNIL) return false;
  KvDuctDbInfo& defaults = DatabaseOf(*project).ductDefaults();
  ArgCursor c(answer.get());
  while (!c.atEnd()) {
    std::wstring key;
    if (!ArgString(c, key)) {
      ArgSkip(c);
      continue;
    }
    if (c.type() == RTDOTE) c.step();
    const Setting* setting = FindSetting(key);
    if (!setting) continue;
    ReadSetting(c, *setting, defaults);
    // One key makes a flat duct.
    if (key == L"Z1") defaults.Z2 = defaults.Z1;
  }
  return true;
}

KvDuctDbInfo defaultDuctRecord() {
  KvDuctDbInfo record;
  hvacPerProjectData* project = CallProject();
  if (!project) return record;
  const KvDuctDbInfo& defaults = DatabaseOf(*project).ductDefaults();
#define KV_TAKE_DEFAULT(name) record.name = defaults.name;
  KV_DUCT_SETTING_FIELDS(KV_TAKE_DEFAULT)
#undef KV_TAKE_DEFAULT
  record.SIZEVAL3 = defaults.SIZEVAL3;
  return record;
}

KvDuctDbInfo ductOrDefaults(std::int32_t ixDuct) {
  tblDuct* ducts = ProjectDucts();
  if (!ducts) return defaultDuctRecord();
  KvDuctDbInfo record;
  if (ducts->FindByKey(ixDuct)) record = ducts->Info();
  return record;
}

bool newDuctRow(std::int32_t ixLayerSystem, std::int32_t& ixDuct) {
  tblDuct* ducts = ProjectDucts();
  if (!ducts) return false;
  const hvacPerDocData* document = CurrentDocument(DocumentRegistry());
  ducts->StartNew();
  ducts->SetixLayerSystem(ixLayerSystem);
  ducts->SetDRAWING(document ? document->fileName() : std::wstring());
  ducts->SetiAlignmentPointNumber1(0);
  ducts->Update();
  ixDuct = ducts->Info().ixDuct;
  return true;
}

bool copyDuctSettings(std::int32_t ixDuct, const KvDuctDbInfo& record) {
  tblDuct* ducts = ProjectDucts();
  if (!ducts || !ducts->FindByKey(ixDuct)) return false;
  ducts->StartEdit();
#define KV_COPY_COLUMN(name) ducts->Set##name(record.name);
  KV_DUCT_TEMPLATE_COLUMNS(KV_COPY_COLUMN)
#undef KV_COPY_COLUMN
  // One update: the row takes the whole template or, if the component refuses, none of it.
  ducts->Update();
  return true;
}

bool clearDuctDamper(std::int32_t ixDuct) {
  tblDuct* ducts = ProjectDucts();
  if (!ducts || !ducts->FindByKey(ixDuct)) return false;
  ducts->StartEdit();
  ducts->SetDAMPERTYPE(0);
  ducts->SetDAMPERLOCATION(0.0);
  ducts->Update();
  return true;
}

bool setDuctSizeFor(std::int32_t ixDuct, std::wstring_view text) {
  tblDuct* ducts = ProjectDucts();
  if (!ducts || !ducts->FindByKey(ixDuct)) return false;
  ducts->StartEdit();
  ducts->SetSIZEFOR(text);
  ducts->Update();
  return true;
}

LispStatus kv_hvac_setDuctInfo() {
  LispArgs args;
  ArgCursor c = args.cursor();
  AcDbObjectId id;
  if (!ArgObjectId(c, id)) return LispStatus::WrongType;
  acedRetNil();
  OpenedDuct duct(OpenDuct(id, AcDb::kForWrite));
  if (!duct) return LispStatus::Success;
  // Keys stand first in their lists; a list of lists and single lists read alike, and what is
  // not a key list is passed over.
  while (!c.atEnd()) {
    if (!ArgListOpen(c)) {
      ArgSkip(c);
      continue;
    }
    std::wstring key;
    if (ArgString(c, key)) ApplyDuctKey(*duct, key, c);
  }
  acedRetT();
  return LispStatus::Success;
}

LispStatus kv_hvac_getOldDuctInfo() {
  LispArgs args;
  ArgCursor c = args.cursor();
  std::int32_t ixDuct = 0;
  std::wstring drawing;
  if (!ArgInt(c, ixDuct) || !ArgString(c, drawing)) return LispStatus::WrongType;
  const oldDuctFields* old = FindOldDuctRecord(ixDuct, Upper(std::move(drawing)));
  if (!old) {
    acedRetNil();
    return LispStatus::Success;
  }
  ResultList list;
  for (const oldDuctFields::Value& value : old->values) AppendCells(list.tail(), LegacyCell(value));
  list.close();
  return LispStatus::Success;
}

LispStatus kv_hvac_duct_getHangerList() {
  LispArgs args;
  ArgCursor c = args.cursor();
  AcDbObjectId id;
  if (!ArgObjectId(c, id)) return LispStatus::WrongType;
  OpenedDuct duct(OpenDuct(id, AcDb::kForRead));
  if (!duct) {
    acedRetNil();
    return LispStatus::Success;
  }
  ResultList list;
  for (double distance : duct->fields().hangerDistances) AppendStringReal(list.tail(), L"d", distance);
  list.close();
  return LispStatus::Success;
}
