// Extended data on objects: the platform's resbuf chains kept as plain cells per application.
#include "dbimpl.h"

namespace {

using Item = AcDbObject::XDataItem;

// Converts one cell of a chain to an item; false for a cell extended data cannot hold.
bool toItem(const resbuf* rb, Item& item) {
  item.code = rb->restype;
  if (rb->restype < 1000 || rb->restype > 1071) return false;
  switch (kvads::dxfValueKind(rb->restype)) {
    case kvads::DxfKind::String:
      if (rb->resval.rstring == nullptr) return false;
      item.text = rb->resval.rstring;
      return true;
    case kvads::DxfKind::Point:
      for (int i = 0; i < 3; ++i) item.values[i] = rb->resval.rpoint[i];
      return true;
    case kvads::DxfKind::Real: item.values[0] = rb->resval.rreal; return true;
    case kvads::DxfKind::Short: item.integer = rb->resval.rint; return true;
    case kvads::DxfKind::Long: item.integer = rb->resval.rlong; return true;
    default: return false;
  }
}

resbuf* toCell(const Item& item) {
  resbuf* rb = acutNewRb(item.code);
  if (rb == nullptr) return nullptr;
  switch (kvads::dxfValueKind(item.code)) {
    case kvads::DxfKind::String: rb->resval.rstring = kvads::dupString(item.text.c_str()); break;
    case kvads::DxfKind::Point:
      for (int i = 0; i < 3; ++i) rb->resval.rpoint[i] = item.values[i];
      break;
    case kvads::DxfKind::Real: rb->resval.rreal = item.values[0]; break;
    case kvads::DxfKind::Short: rb->resval.rint = static_cast<short>(item.integer); break;
    case kvads::DxfKind::Long: rb->resval.rlong = static_cast<Adesk::Int32>(item.integer); break;
    default: break;
  }
  return rb;
}

// The items of each application, in the order the applications were first given.
std::vector<std::pair<std::wstring, std::vector<Item>>> byApp(const std::vector<Item>& items) {
  std::vector<std::pair<std::wstring, std::vector<Item>>> out;
  for (const Item& it : items) {
    if (it.code == AcDb::kDxfRegAppName) out.push_back({it.text, {}});
    else if (!out.empty()) out.back().second.push_back(it);
  }
  return out;
}

bool appRegistered(AcDbDatabase* db, const std::wstring& app) {
  if (db == nullptr) return true;
  AcDbRegAppTable* table = nullptr;
  if (db->getRegAppTable(table, AcDb::kForRead) != Acad::eOk) return false;
  bool has = table->has(app.c_str());
  table->close();
  return has;
}

}  // namespace

resbuf* AcDbObject::xData(const ACHAR* regappName) const {
  assertReadEnabled();
  resbuf* head = nullptr;
  resbuf** tail = &head;
  for (const auto& [app, items] : byApp(xdata_)) {
    if (regappName != nullptr && !kvdb::iequals(app, regappName)) continue;
    Item name;
    name.code = AcDb::kDxfRegAppName;
    name.text = app;
    *tail = toCell(name);
    tail = &(*tail)->rbnext;
    for (const Item& it : items) {
      *tail = toCell(it);
      tail = &(*tail)->rbnext;
    }
  }
  return head;
}

Acad::ErrorStatus AcDbObject::setXData(const resbuf* xdata) {
  assertWriteEnabled();
  std::vector<Item> given;
  for (const resbuf* rb = xdata; rb != nullptr; rb = rb->rbnext) {
    Item item;
    if (!toItem(rb, item)) return Acad::eInvalidInput;
    if (given.empty() && item.code != AcDb::kDxfRegAppName) return Acad::eInvalidInput;
    given.push_back(std::move(item));
  }
  auto current = byApp(xdata_);
  for (auto& [app, items] : byApp(given)) {
    if (!appRegistered(database(), app)) return Acad::eInvalidInput;
    bool replaced = false;
    for (auto& entry : current)
      if (kvdb::iequals(entry.first, app)) entry.second = items, replaced = true;
    if (!replaced) current.push_back({app, items});
  }
  xdata_.clear();
  for (auto& [app, items] : current) {
    if (items.empty()) continue;
    Item name;
    name.code = AcDb::kDxfRegAppName;
    name.text = app;
    xdata_.push_back(name);
    xdata_.insert(xdata_.end(), items.begin(), items.end());
  }
  return Acad::eOk;
}
