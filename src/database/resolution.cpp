// Layer and text style keys of the system, resolved into symbol table records of the current
// drawing; missing records are created on demand from the project's tables.
#include <algorithm>
#include <string>

#include "ap.h"
#include "database.h"
#include "db.h"
#include "text.h"

namespace {

// A write lock on the working database's document, taken only around a symbol table change;
// document locks nest, so this is safe inside the guard's own lock.
class SymbolTableLock {
 public:
  SymbolTableLock()
      : document_(acDocManagerPtr()->document(acdbHostApplicationServices()->workingDatabase())) {
    acDocManagerPtr()->lockDocument(document_, AcAp::kWrite, nullptr, nullptr, true);
  }
  ~SymbolTableLock() { acDocManagerPtr()->unlockDocument(document_); }
  SymbolTableLock(const SymbolTableLock&) = delete;
  SymbolTableLock& operator=(const SymbolTableLock&) = delete;

 private:
  AcApDocument* document_;
};

using kvdb::Upper;

// A drawn layer is always unlocked when it is asked for; a failure to open it changes nothing.
void Unlock(AcDbObjectId layerId) {
  AcDbObjectPointer<AcDbLayerTableRecord> layer(layerId, AcDb::kForWrite);
  if (layer.openStatus() == Acad::eOk) layer->setIsLocked(false);
}

// The name of a layer, or "" when the id opens none.
std::wstring LayerName(AcDbObjectId layerId) {
  AcDbObjectPointer<AcDbLayerTableRecord> layer(layerId, AcDb::kForRead);
  return layer.openStatus() == Acad::eOk ? std::wstring(layer->getName()) : std::wstring();
}

// The name of the layer a key maps to: the key's row, else the DEFAULT row, else "0". Leaves the
// project's tblLayer on that layer's row when there is one.
std::wstring LayerNameOfKey(tblLayerKey& keys, tblLayer& layers, std::wstring_view key, std::int32_t system) {
  const std::wstring where = std::wstring(key) + L":" + std::to_wstring(system);
  if (!keys.FindBySystemKey(system, key) && !keys.FindBySystemKey(system, L"DEFAULT")) {
    acutPrintf(L"\nLayer key %s does not exist in the database.", where.c_str());
    return L"0";
  }
  if (!layers.FindByKey(keys.GetixLayer())) {
    acutPrintf(L"\nLayer corresponding to layer key %s does not exist in the database.", where.c_str());
    return L"0";
  }
  return layers.GetsName();
}

// A new layer record from the current tblLayer row; null when its linetype table cannot be read.
AcDbLayerTableRecord* NewLayerFromRow(AcDbDatabase* drawing, const tblLayer& row) {
  auto* record = new AcDbLayerTableRecord();
  std::int32_t color = 0;
  if (row.GetiColor(color)) {
    AcCmColor c;
    c.setColorIndex(static_cast<Adesk::UInt16>(color));
    record->setColor(c);
  }
  record->setName(row.GetsName().c_str());
  record->setIsPlottable(row.GetbPlot());
  const std::wstring linetype = Upper(row.GetsLinetype());
  if (linetype != L"CONTINUOUS") {
    AcDbObjectPointer<AcDbLinetypeTable> linetypes(drawing->linetypeTableId(), AcDb::kForRead);
    if (linetypes.openStatus() != Acad::eOk) {
      delete record;
      return nullptr;
    }
    AcDbObjectId id = linetypes->getIdAt(linetype.c_str());
    // The module loads no linetype: one the drawing lacks leaves the default.
    if (!id.isNull()) record->setLinetypeObjectId(id);
  }
  std::wstring weight;
  if (row.GetsLineweight(weight) && !weight.empty()) {
    // A row whose text names no line weight leaves the layer's default.
    long value = std::wcstol(weight.c_str(), nullptr, 10);
    if (acdbIsLineWeight(value)) record->setLineWeight(static_cast<AcDb::LineWeight>(value));
  }
  return record;
}

// Adds a layer made from the current tblLayer row to the open layer table; true when added.
bool AddLayer(AcDbDatabase* drawing, AcDbLayerTable* table, const tblLayer& row) {
  AcDbLayerTableRecord* record = NewLayerFromRow(drawing, row);
  if (!record) return false;
  SymbolTableLock lock;
  if (table->upgradeOpen() != Acad::eOk) {
    delete record;
    return false;
  }
  if (table->add(record) != Acad::eOk) {
    delete record;
    table->downgradeOpen();
    return false;
  }
  std::wstring plotStyle;
  if (row.GetsPlotstyle(plotStyle)) record->setPlotStyleName(plotStyle.c_str());
  record->close();
  table->downgradeOpen();
  return true;
}

}  // namespace

bool ResolveLayer(const ProjectContext& context, std::wstring_view key, AcDbObjectId& layerId,
                  bool bySystem, std::int32_t layerSystem) {
  tblLayerKey* keys = context.database.table<tblLayerKey>();
  tblLayer* layers = context.database.table<tblLayer>();
  if (!keys || !layers || !context.drawing) return false;
  const std::wstring name = LayerNameOfKey(*keys, *layers, key, bySystem ? layerSystem : 0);

  AcDbObjectPointer<AcDbLayerTable> table(context.drawing->layerTableId(), AcDb::kForRead);
  if (table.openStatus() != Acad::eOk) return false;
  layerId = table->getIdAt(name.c_str());
  if (layerId.isNull()) {
    if (!AddLayer(context.drawing, table, *layers)) return false;
    layerId = table->getIdAt(name.c_str());
    if (layerId.isNull()) return false;
  }
  Unlock(layerId);
  return true;
}

namespace {

// Style name and height of a key; a value missing from the key's row comes from the DEFAULT row.
void TextStyleOfKey(tblTextStyle& styles, std::wstring_view key, std::wstring& styleName, double& height) {
  if (!styles.FindBySKey(key)) return;
  const bool hasName = styles.GetsStyleName(styleName);
  const bool hasHeight = styles.GetdHeight(height);
  if ((hasName && hasHeight) || !styles.FindBySKey(L"DEFAULT")) return;
  if (!hasName && !styles.GetsStyleName(styleName)) styleName = L"SIMPLEX";
  if (!hasHeight && !styles.GetdHeight(height)) height = 0.1;
}

// Adds a text style of that name (font file name + ".shx"); its id, or null on any failure.
AcDbObjectId AddTextStyle(AcDbTextStyleTable* table, const std::wstring& styleName) {
  SymbolTableLock lock;
  auto* record = new AcDbTextStyleTableRecord();
  if (record->setName(styleName.c_str()) != Acad::eOk ||
      record->setFileName((styleName + L".shx").c_str()) != Acad::eOk || table->upgradeOpen() != Acad::eOk) {
    delete record;
    return AcDbObjectId();
  }
  if (table->add(record) != Acad::eOk) {
    delete record;
    return AcDbObjectId();
  }
  record->close();
  return table->getIdAt(styleName.c_str());
}

}  // namespace

bool ResolveTextStyle(const ProjectContext& context, std::wstring_view key, AcDbObjectId& styleId,
                      double& height) {
  tblTextStyle* styles = context.database.table<tblTextStyle>();
  if (!styles || !context.drawing) return false;
  std::wstring styleName;
  TextStyleOfKey(*styles, key, styleName, height);
  if (styleName.empty()) styleName = L"Standard";
  if (height == 0.0) height = 0.1;
  height *= context.drawing->dimscale();

  AcDbObjectPointer<AcDbTextStyleTable> table(context.drawing->textStyleTableId(), AcDb::kForRead);
  if (table.openStatus() != Acad::eOk) return false;
  styleId = table->getIdAt(styleName.c_str());
  if (styleId.isNull()) styleId = AddTextStyle(table, styleName);
  return !styleId.isNull();
}

std::wstring CenterlineLayerName(const ProjectContext& context, std::wstring_view airflow,
                                 std::int32_t layerSystem) {
  std::wstring key = L"DUCTWORK CENTERLINE: ";
  if (airflow == L"sa") key += L"SUPPLY";
  else if (airflow == L"ra") key += L"RETURN";
  else if (airflow == L"ea") key += L"EXHAUST";
  else if (airflow == L"oa") key += L"OUTSIDE AIR";
  AcDbObjectId layerId;
  if (!ResolveLayer(context, key, layerId, true, layerSystem)) return {};
  return LayerName(layerId);
}

LispStatus kv_hvac_getLayer() {
  acedRetNil();
  LispArgs args;
  ArgCursor cursor = args.cursor();
  std::wstring key;
  if (!ArgString(cursor, key)) return LispStatus::Success;
  bool bySystem = true;
  std::int32_t layerSystem = 0;
  if (!ArgInt(cursor, layerSystem)) {
    // A nil second argument asks for the key of all systems; anything else gives nil.
    bool flag = true;
    if (!ArgBool(cursor, flag) || flag) return LispStatus::Success;
    bySystem = false;
  }
  const ProjectContext* context = CurrentProjectContext();
  AcDbObjectId layerId;
  if (!context || !ResolveLayer(*context, key, layerId, bySystem, layerSystem)) return LispStatus::Success;
  const std::wstring name = LayerName(layerId);
  if (!name.empty()) acedRetStr(name.c_str());
  return LispStatus::Success;
}
