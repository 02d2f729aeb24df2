// The host's drawing functions for LISP: documents (new, open, activate, save, save as,
// automatic save, close), export and plot, entities (entget, entnext, entlast, entdel, entmake),
// selection sets, system variables, commands and point prompts.
#include <cctype>
#include <filesystem>
#include <memory>

#include "edimpl.h"
#include "lisp.h"

namespace {

using kvlisp::Args;
using kvlisp::Environment;
using kvlisp::Value;

std::wstring wide(const std::string& s) { return acrxFromUtf8(s); }
Value text(const std::wstring& s) { return Value::string(acrxToUtf8(s)); }
Value truth(bool b) { return b ? Value::t() : Value(); }

AcApDocument* documentNamed(const std::wstring& path) {
  AcApDocumentIterator* it = acDocManager->newAcApDocumentIterator();
  AcApDocument* found = nullptr;
  for (; !it->done() && found == nullptr; it->step())
    if (path == it->document()->fileName()) found = it->document();
  delete it;
  return found;
}

AcApDocument* current() {
  AcApDocument* d = acDocManager->curDocument();
  if (d == nullptr) throw kvlisp::Error("no document is open");
  return d;
}

// Scripts lay out project trees: the folder of a file about to be written is made when missing.
void ensureFolder(const std::wstring& file) {
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(acrxToUtf8(file)).parent_path(), ec);
}

void report(const char* what, const std::wstring& path, Acad::ErrorStatus es) {
  kvads::consoleWrite(std::string("\n") + what + " " + acrxToUtf8(path) + " failed (status " + std::to_string(es) + ").");
}

// ---- documents ----

Value docNew(Environment&, Args) { return text(acDocManager->newDocument()->fileName()); }

Value docOpen(Environment&, Args args) {
  std::wstring path = wide(std::filesystem::absolute(kvlisp::argString(args, 0)).lexically_normal().string());
  return truth(acDocManager->openDocument(path.c_str()) != nullptr);
}

Value docActivate(Environment&, Args args) {
  AcApDocument* d = documentNamed(wide(kvlisp::argString(args, 0)));
  return truth(d != nullptr && acDocManager->activateDocument(d) == Acad::eOk);
}

Value docSave(Environment&, Args) {
  AcApDocument* d = current();
  ensureFolder(d->fileName());
  Acad::ErrorStatus es = acDocManager->saveDocument(d);
  if (es != Acad::eOk) report("Save of", d->fileName(), es);
  return truth(es == Acad::eOk);
}

// The target folder is made when missing, so scripts can lay out a project tree.
Value docSaveAs(Environment&, Args args) {
  std::filesystem::path target = std::filesystem::absolute(kvlisp::argString(args, 0)).lexically_normal();
  std::error_code ec;
  std::filesystem::create_directories(target.parent_path(), ec);
  std::wstring path = wide(target.string());
  Acad::ErrorStatus es = acDocManager->saveDocumentAs(current(), path.c_str());
  if (es != Acad::eOk) report("Save as", path, es);
  return truth(es == Acad::eOk);
}

Value docAutoSave(Environment&, Args) {
  AcApDocument* d = current();
  AcDbSysVarValue v;
  d->database()->getSysVar(L"SAVEFILE", v);
  return acDocManager->autoSaveDocument(d) == Acad::eOk ? text(v.text) : Value();
}

// A script cannot close the drawing it runs in: its environment would go from under it.
Value docClose(Environment& env, Args args) {
  AcApDocument* d = args.empty() ? current() : documentNamed(wide(kvlisp::argString(args, 0)));
  if (d == nullptr) return Value();
  if (d->lispSession() == &env) throw kvlisp::Error("cannot close the drawing this code runs in");
  return truth(acDocManager->closeDocument(d) == Acad::eOk);
}

Value docList(Environment&, Args) {
  std::vector<Value> paths;
  AcApDocumentIterator* it = acDocManager->newAcApDocumentIterator();
  for (; !it->done(); it->step()) paths.push_back(text(it->document()->fileName()));
  delete it;
  return Value::list(paths);
}

Value docCurrent(Environment&, Args) {
  AcApDocument* d = acDocManager->curDocument();
  return d ? text(d->fileName()) : Value();
}

Value exportDxf(Environment&, Args args) {
  std::wstring path = wide(kvlisp::argString(args, 0));
  ensureFolder(path);
  Acad::ErrorStatus es = current()->database()->dxfOut(path.c_str());
  if (es != Acad::eOk) report("DXF export to", path, es);
  return truth(es == Acad::eOk);
}

Value importDxf(Environment&, Args args) {
  std::wstring path = wide(kvlisp::argString(args, 0));
  Acad::ErrorStatus es = current()->database()->dxfIn(path.c_str());
  if (es != Acad::eOk) report("DXF import from", path, es);
  return truth(es == Acad::eOk);
}

AcGiPlotStyle plotStyle(const std::string& name) {
  if (name == "paper") return AcGiPlotStyle::Paper;
  if (name == "screen") return AcGiPlotStyle::Screen;
  if (name == "monochrome") return AcGiPlotStyle::Monochrome;
  throw kvlisp::Error("kvhost-plot: style \"" + name + "\" is none of \"paper\", \"screen\", \"monochrome\"");
}

// A width above the limit is refused with a line saying so, before any pixel is allocated.
Value plot(Environment&, Args args) {
  std::string path = kvlisp::argString(args, 0);
  bool svg = path.size() > 4 && (path.ends_with(".svg") || path.ends_with(".SVG"));
  bool pdf = path.size() > 4 && (path.ends_with(".pdf") || path.ends_with(".PDF"));
  int width = args.size() > 1 && !args[1].isNil() ? kvlisp::argInt(args, 1) : 1200;
  AcGiPlotStyle style = args.size() > 2 && !args[2].isNil() ? plotStyle(kvlisp::argString(args, 2)) : AcGiPlotStyle::Paper;
  if (width > kAcGiPlotMaxWidth) {
    kvads::consoleWrite("\nPlot width " + std::to_string(width) + " is above the limit of " + std::to_string(kAcGiPlotMaxWidth) + " pixels.");
    return Value();
  }
  ensureFolder(wide(path));
  Acad::ErrorStatus es = acgiPlotModelSpace(current()->database(), wide(path).c_str(),
                                            svg ? AcGiPlotFormat::Svg : pdf ? AcGiPlotFormat::Pdf : AcGiPlotFormat::Png,
                                            width, style);
  if (es != Acad::eOk) report("Plot to", wide(path), es);
  return truth(es == Acad::eOk);
}

// ---- entities ----

using CellChain = std::unique_ptr<resbuf, decltype(&acutRelRb)>;

Value nameValue(const ads_name n) { return Value::ename(n[0], n[1]); }

void toName(const std::array<std::int64_t, 2>& a, ads_name n) { n[0] = a[0], n[1] = a[1]; }

// One cell of an entity list as LISP shows it: (code . value), points as (code x y z).
Value pairOf(const resbuf* rb) {
  Value code = Value::integer(rb->restype);
  switch (kvads::dxfValueKind(rb->restype)) {
    case kvads::DxfKind::String: return Value::cons(code, Value::string(kvads::toUtf8(rb->resval.rstring ? rb->resval.rstring : L"")));
    case kvads::DxfKind::Point:
      return Value::cons(code, Value::point(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]));
    case kvads::DxfKind::Real: return Value::cons(code, Value::real(rb->resval.rreal));
    case kvads::DxfKind::Short: return Value::cons(code, Value::integer(rb->resval.rint));
    case kvads::DxfKind::Long: return Value::cons(code, Value::integer(rb->resval.rlong));
    case kvads::DxfKind::Int64: return Value::cons(code, Value::real(static_cast<double>(rb->resval.mnInt64)));
    case kvads::DxfKind::Name: return Value::cons(code, nameValue(rb->resval.rlname));
    default: return Value();
  }
}

// The extended data of the applications named, as (-3 ("APP" (1000 . "x") ...) ...).
Value xdataGroup(const ads_name n, const Value& apps) {
  AcDbObjectId id;
  AcDbObject* obj = nullptr;
  if (acdbGetObjectId(id, n) != Acad::eOk || acdbOpenObject(obj, id, AcDb::kForRead, true) != Acad::eOk) return Value();
  std::vector<Value> perApp;
  for (Value it = apps; it.isCons(); it = it.cdr()) {
    if (!it.car().isString()) continue;
    resbuf* x = obj->xData(wide(it.car().asString()).c_str());
    if (x == nullptr) continue;
    std::vector<Value> cells{Value::string(kvads::toUtf8(x->resval.rstring))};
    for (const resbuf* rb = x->rbnext; rb != nullptr; rb = rb->rbnext) cells.push_back(pairOf(rb));
    acutRelRb(x);
    perApp.push_back(Value::list(cells));
  }
  obj->close();
  return perApp.empty() ? Value() : Value::cons(Value::integer(-3), Value::list(perApp));
}

// Whether the name stands for an object of the drawing that can be opened now.
bool objectExists(const ads_name n) {
  AcDbObjectId id;
  AcDbObject* obj = nullptr;
  if (acdbGetObjectId(id, n) != Acad::eOk || acdbOpenObject(obj, id, AcDb::kForRead) != Acad::eOk) return false;
  obj->close();
  return true;
}

// A symbol table record (a block's, from tblobjname) has no entity list of its own, but its
// name and extended data are still asked for: the list is then (-1 . name) and the -3 group.
Value entget(Environment&, Args args) {
  ads_name n;
  toName(kvlisp::argEname(args, 0), n);
  resbuf* chain = acdbEntGet(n);
  if (chain == nullptr && !objectExists(n)) return Value();
  std::vector<Value> items;
  if (chain == nullptr) items.push_back(Value::cons(Value::integer(-1), nameValue(n)));
  for (const resbuf* rb = chain; rb != nullptr; rb = rb->rbnext) items.push_back(pairOf(rb));
  acutRelRb(chain);
  if (args.size() > 1) {
    Value x = xdataGroup(n, kvlisp::argList(args, 1));
    if (!x.isNil()) items.push_back(x);
  }
  return Value::list(items);
}

// (handent "1F"): the entity of a handle in the current drawing.
Value handent(Environment&, Args args) {
  AcDbObjectId id;
  ads_name n;
  AcDbHandle h(wide(kvlisp::argString(args, 0)).c_str());
  if (h.isNull() || current()->database()->getAcDbObjectId(id, false, h) != Acad::eOk || !id.isValid()) return Value();
  return acdbGetAdsName(n, id) == Acad::eOk ? nameValue(n) : Value();
}

// A symbol table record's name, or the fallback when it cannot be read now.
std::wstring recordName(AcDbObjectId id, const wchar_t* fallback) {
  AcDbSymbolTableRecord* rec = nullptr;
  if (acdbOpenObject(rec, id, AcDb::kForRead) != Acad::eOk) return fallback;
  std::wstring name = rec->getName();
  rec->close();
  return name;
}

// (tblsearch "LAYER" name): the record's definition list, nil when the table has no such name.
Value tblsearch(Environment&, Args args) {
  std::string table = kvlisp::argString(args, 0);
  for (auto& c : table) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  std::wstring name = wide(kvlisp::argString(args, 1));
  AcDbDatabase* db = current()->database();
  AcDbObjectId tableId = table == "LAYER" ? db->layerTableId() : table == "STYLE" ? db->textStyleTableId()
                         : table == "LTYPE" ? db->linetypeTableId() : table == "BLOCK" ? db->blockTableId()
                         : table == "APPID" ? db->regAppTableId() : AcDbObjectId();
  AcDbSymbolTable* t = nullptr;
  if (tableId.isNull() || acdbOpenObject(t, tableId, AcDb::kForRead) != Acad::eOk) return Value();
  AcDbObjectId id = t->getIdAt(name.c_str());
  t->close();
  AcDbSymbolTableRecord* rec = nullptr;
  if (id.isNull() || acdbOpenObject(rec, id, AcDb::kForRead) != Acad::eOk) return Value();
  std::vector<Value> items{Value::cons(Value::integer(0), Value::string(table)),
                           Value::cons(Value::integer(2), text(rec->getName()))};
  if (auto* layer = AcDbLayerTableRecord::cast(rec)) {
    int flags = (layer->isFrozen() ? 1 : 0) | (layer->isLocked() ? 4 : 0);
    int color = layer->color().colorIndex();
    items.push_back(Value::cons(Value::integer(70), Value::integer(flags)));
    items.push_back(Value::cons(Value::integer(62), Value::integer(layer->isOff() ? -color : color)));
    items.push_back(Value::cons(Value::integer(6), text(recordName(layer->linetypeObjectId(), L"Continuous"))));
  } else if (auto* style = AcDbTextStyleTableRecord::cast(rec)) {
    const ACHAR* font = L"";
    style->fileName(font);
    items.push_back(Value::cons(Value::integer(40), Value::real(style->textSize())));
    items.push_back(Value::cons(Value::integer(3), text(font)));
  }
  rec->close();
  return Value::list(items);
}

// (tblobjname "BLOCK_RECORD" "*Model_Space"): the record's name, for its extended data; also
// LAYER, STYLE, LTYPE, BLOCK and APPID. Nil when the table has no such name.
Value tblobjname(Environment&, Args args) {
  std::string table = kvlisp::argString(args, 0);
  for (auto& c : table) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  std::wstring name = wide(kvlisp::argString(args, 1));
  AcDbDatabase* db = current()->database();
  AcDbObjectId tableId = table == "LAYER" ? db->layerTableId() : table == "STYLE" ? db->textStyleTableId()
                         : table == "LTYPE" ? db->linetypeTableId()
                         : (table == "BLOCK" || table == "BLOCK_RECORD") ? db->blockTableId()
                         : table == "APPID" ? db->regAppTableId() : AcDbObjectId();
  AcDbSymbolTable* t = nullptr;
  if (tableId.isNull() || acdbOpenObject(t, tableId, AcDb::kForRead) != Acad::eOk) return Value();
  AcDbObjectId id = t->getIdAt(name.c_str());
  t->close();
  ads_name n;
  return !id.isNull() && acdbGetAdsName(n, id) == Acad::eOk ? nameValue(n) : Value();
}

// Appends to the chain the cells of one application's extended data, ("APP" (1000 . "x") ...):
// its 1001 cell, then one cell per pair. Each cell joins the chain as soon as it is made, so a
// bad value part way leaves nothing unowned. False for a value that does not fit its code.
bool xdataCells(const Value& perApp, CellChain& chain, resbuf**& tail) {
  if (!perApp.isCons() || !perApp.car().isString()) return false;
  auto add = [&](int code) {
    resbuf* rb = acutNewRb(static_cast<short>(code));
    if (chain == nullptr) chain.reset(rb);
    else *tail = rb;
    tail = &rb->rbnext;
    return rb;
  };
  add(AcDb::kDxfRegAppName)->resval.rstring = kvads::dupString(wide(perApp.car().asString()).c_str());
  for (Value it = perApp.cdr(); it.isCons(); it = it.cdr()) {
    const Value& pair = it.car();
    if (!pair.isCons() || !pair.car().isInt()) return false;
    int code = pair.car().asInt();
    const Value& v = pair.cdr();
    const kvads::DxfKind kind = kvads::dxfValueKind(code);
    bool fits = (kind == kvads::DxfKind::String && v.isString()) || (kind == kvads::DxfKind::Real && v.isNumber()) ||
                ((kind == kvads::DxfKind::Short || kind == kvads::DxfKind::Long) && v.isInt()) ||
                (kind == kvads::DxfKind::Point && v.isCons() && v.car().isNumber() && v.cdr().isCons() &&
                 v.cdr().car().isNumber());
    if (!fits) return false;
    resbuf* rb = add(code);
    switch (kind) {
      case kvads::DxfKind::String: rb->resval.rstring = kvads::dupString(wide(v.asString()).c_str()); break;
      case kvads::DxfKind::Real: rb->resval.rreal = v.asNumber(); break;
      case kvads::DxfKind::Short: rb->resval.rint = static_cast<short>(v.asInt()); break;
      case kvads::DxfKind::Long: rb->resval.rlong = v.asInt(); break;
      default: {
        Value rest = v;
        for (int k = 0; k < 3; ++k, rest = rest.isCons() ? rest.cdr() : rest)
          rb->resval.rpoint[k] = rest.isCons() && rest.car().isNumber() ? rest.car().asNumber() : 0.0;
      }
    }
  }
  return true;
}

// (entmod list): writes the extended data (the -3 group) of the object named by -1, application
// by application; an application given with no cells loses its data. kvhost changes no other
// group through entmod. The list when written, nil when refused.
Value entmod(Environment&, Args args) {
  const Value& list = kvlisp::argList(args, 0);
  Value name, xdata;
  for (Value it = list; it.isCons(); it = it.cdr()) {
    const Value& pair = it.car();
    if (!pair.isCons() || !pair.car().isInt()) continue;
    if (pair.car().asInt() == -1) name = pair.cdr();
    if (pair.car().asInt() == -3) xdata = pair.cdr();
  }
  if (name.type() != kvlisp::Type::Ename) return Value();
  ads_name n;
  toName(name.asName(), n);
  CellChain chain(nullptr, &acutRelRb);
  resbuf** tail = nullptr;
  bool good = true;
  for (Value it = xdata; good && it.isCons(); it = it.cdr()) good = xdataCells(it.car(), chain, tail);
  AcDbObjectId id;
  AcDbObject* obj = nullptr;
  if (!good || chain == nullptr || acdbGetObjectId(id, n) != Acad::eOk ||
      acdbOpenObject(obj, id, AcDb::kForWrite) != Acad::eOk)
    return Value();
  Acad::ErrorStatus es = obj->setXData(chain.get());
  obj->close();
  return es == Acad::eOk ? list : Value();
}

// (regapp "APP"): registers an application for extended data; nil when it was registered.
Value regapp(Environment&, Args args) {
  std::wstring name = wide(kvlisp::argString(args, 0));
  AcDbRegAppTable* t = nullptr;
  if (current()->database()->getRegAppTable(t, AcDb::kForWrite) != Acad::eOk) return Value();
  bool made = false;
  if (!t->has(name.c_str())) {
    auto* rec = new AcDbRegAppTableRecord;
    made = rec->setName(name.c_str()) == Acad::eOk && t->add(rec) == Acad::eOk;
    if (made) rec->close();
    else delete rec;
  }
  t->close();
  return made ? Value::string(kvlisp::argString(args, 0)) : Value();
}

// (trans pt from to [disp]): between the world (0) and the current user system (1).
Value trans(Environment&, Args args) {
  auto p = kvlisp::argPoint(args, 0);
  resbuf from{nullptr, RTSHORT, {}}, to{nullptr, RTSHORT, {}};
  from.resval.rint = static_cast<short>(kvlisp::argInt(args, 1));
  to.resval.rint = static_cast<short>(kvlisp::argInt(args, 2));
  ads_point in = {p[0], p[1], p[2]}, out;
  int disp = args.size() > 3 && !args[3].isNil() ? 1 : 0;
  if (acedTrans(in, &from, &to, disp, out) != RTNORM) throw kvlisp::Error("trans: bad coordinate system");
  return Value::point(out[0], out[1], out[2]);
}

Value entnext(Environment&, Args args) {
  ads_name from = {0, 0}, out;
  if (!args.empty()) toName(kvlisp::argEname(args, 0), from);
  return acdbEntNext(from, out) == RTNORM ? nameValue(out) : Value();
}

Value entlast(Environment&, Args) {
  ads_name out;
  return acdbEntLast(out) == RTNORM ? nameValue(out) : Value();
}

Value entdel(Environment&, Args args) {
  ads_name n;
  toName(kvlisp::argEname(args, 0), n);
  return acdbEntDel(n) == RTNORM ? nameValue(n) : Value();
}

// The groups of an entity list (less -1 and 0) as a filer holds them, with the subclass markers
// the classes read: AcDbEntity for the common groups, the class's own name before the rest.
bool groupsOf(const Value& list, const AcRxClass* cls, AcDbDxfMemoryFiler& f) {
  std::vector<AcDbDxfMemoryFiler::Group> common, own;
  bool marked = false;
  for (Value it = list; it.isCons(); it = it.cdr()) {
    const Value& pair = it.car();
    if (!pair.isCons() || !pair.car().isInt()) return false;
    int code = pair.car().asInt();
    const Value& v = pair.cdr();
    AcDbDxfMemoryFiler::Group g;
    g.code = static_cast<short>(code);
    switch (kvads::dxfValueKind(code)) {
      case kvads::DxfKind::String: if (!v.isString()) return false; g.text = wide(v.asString()); break;
      case kvads::DxfKind::Point:
        for (int k = 0; k < 3 && v.isCons(); ++k) {
          Value rest = v;
          for (int j = 0; j < k && rest.isCons(); ++j) rest = rest.cdr();
          if (rest.isCons() && rest.car().isNumber()) g.values[k] = rest.car().asNumber();
        }
        g.integer = (v.isCons() && v.cdr().isCons() && v.cdr().cdr().isCons()) ? 3 : 2;
        break;
      case kvads::DxfKind::Real: if (!v.isNumber()) return false; g.values[0] = v.asNumber(); break;
      case kvads::DxfKind::Short: case kvads::DxfKind::Long: case kvads::DxfKind::Int64:
        if (!v.isInt() || (code == AcDb::kDxfLineWeight && !acdbIsLineWeight(v.asInt()))) return false;
        g.integer = v.asInt();
        break;
      default: continue;
    }
    if (code <= 0 || code == 5 || code == 330) continue;
    if (code == 100) marked = true;
    bool isCommon = code == 8 || code == 6 || code == 62 || code == 370 || code == 48 || code == 60;
    (isCommon ? common : own).push_back(std::move(g));
  }
  AcDbDxfMemoryFiler::Group mark;
  mark.code = 100;
  mark.text = L"AcDbEntity";
  f.groups().push_back(mark);
  f.groups().insert(f.groups().end(), common.begin(), common.end());
  if (!marked) {
    mark.text = cls->name();
    f.groups().push_back(mark);
  }
  f.groups().insert(f.groups().end(), own.begin(), own.end());
  return true;
}

Value entmake(Environment&, Args args) {
  const Value& list = kvlisp::argList(args, 0);
  std::string type;
  for (Value it = list; it.isCons(); it = it.cdr())
    if (it.car().isCons() && it.car().car().isInt() && it.car().car().asInt() == 0 && it.car().cdr().isString())
      type = it.car().cdr().asString();
  AcDbDatabase* db = current()->database();
  AcRxClass* cls = acrxFindAcRxClassByDxfName(wide(type).c_str());
  AcRxObject* made = cls ? cls->create() : nullptr;
  auto* e = AcDbEntity::cast(made);
  AcDbDxfMemoryFiler f(db);
  if (e == nullptr || !groupsOf(list, cls, f)) {
    delete made;
    return Value();
  }
  f.rewind();
  AcDbBlockTableRecord* ms = nullptr;
  if (e->dxfIn(&f) != Acad::eOk || acdbOpenObject(ms, db->modelSpaceId(), AcDb::kForWrite) != Acad::eOk) {
    delete e;
    return Value();
  }
  Acad::ErrorStatus es = ms->appendAcDbEntity(e);
  ms->close();
  if (es != Acad::eOk) {
    delete e;
    return Value();
  }
  e->close();
  return list;
}

// (kvhost-layer name [colour]): makes the layer when it is missing; its name. Every argument is
// read before the table opens, so a bad one leaves nothing open and nothing half made.
Value makeLayer(Environment&, Args args) {
  const std::string& given = kvlisp::argString(args, 0);
  std::wstring name = wide(given);
  int colour = args.size() > 1 ? kvlisp::argInt(args, 1) : 7;
  if (colour < 1 || colour > 255) throw kvlisp::Error("kvhost-layer: colour " + std::to_string(colour) + " is not 1 to 255");
  AcDbObjectPointer<AcDbLayerTable> table(current()->database()->layerTableId(), AcDb::kForWrite);
  if (table.openStatus() != Acad::eOk) return Value();
  if (table->has(name.c_str())) return Value::string(given);
  auto rec = std::make_unique<AcDbLayerTableRecord>();
  AcCmColor c;
  c.setColorIndex(static_cast<Adesk::UInt16>(colour));
  rec->setColor(c);
  if (rec->setName(name.c_str()) != Acad::eOk || table->add(rec.get()) != Acad::eOk) throw kvlisp::Error("bad layer name: " + given);
  rec.release()->close();
  return Value::string(given);
}

// ---- selection, variables, commands, prompts ----

// The filter's cells: each (code . value) pair as the cell of its group code. A pair whose value
// is not of its code's kind is the platform's "bad SSGET list value".
CellChain filterCells(const Value& list) {
  CellChain head(nullptr, &acutRelRb);
  resbuf** tail = nullptr;
  for (Value it = list; it.isCons(); it = it.cdr()) {
    const Value& pair = it.car();
    int code = pair.isCons() && pair.car().isInt() ? pair.car().asInt() : AcDb::kDxfInvalid;
    const kvads::DxfKind kind = kvads::dxfValueKind(code);
    const Value& value = pair.isCons() ? pair.cdr() : pair;
    bool fits = (kind == kvads::DxfKind::String && value.isString()) ||
                ((kind == kvads::DxfKind::Short || kind == kvads::DxfKind::Long) && value.isInt()) ||
                (kind == kvads::DxfKind::Real && value.isNumber());
    if (!fits) throw kvlisp::Error("bad SSGET list value");
    resbuf* rb = acutNewRb(code == 0 ? RTDXF0 : code);
    if (tail == nullptr) head.reset(rb);
    else *tail = rb;
    tail = &rb->rbnext;
    switch (kind) {
      case kvads::DxfKind::String: rb->resval.rstring = kvads::dupString(wide(value.asString()).c_str()); break;
      case kvads::DxfKind::Short: rb->resval.rint = static_cast<short>(value.asInt()); break;
      case kvads::DxfKind::Long: rb->resval.rlong = value.asInt(); break;
      default: rb->resval.rreal = value.asNumber(); break;
    }
  }
  return head;
}

Value ssget(Environment&, Args args) {
  if (args.empty()) throw kvlisp::Error("ssget without a mode picks interactively, which kvhost does not do");
  std::wstring mode = wide(kvlisp::argString(args, 0));
  std::size_t next = 1;
  ads_point a{}, b{};
  bool points = args.size() >= 3 && args[1].isCons() && args[2].isCons();
  if (points) {
    auto p = kvlisp::argPoint(args, 1), q = kvlisp::argPoint(args, 2);
    for (int i = 0; i < 3; ++i) a[i] = p[static_cast<std::size_t>(i)], b[i] = q[static_cast<std::size_t>(i)];
    next = 3;
  }
  CellChain filter = args.size() > next ? filterCells(kvlisp::argList(args, next)) : CellChain(nullptr, &acutRelRb);
  ads_name ss;
  int rc = acedSSGet(mode.c_str(), points ? a : nullptr, points ? b : nullptr, filter.get(), ss);
  if (rc == RTREJ) throw kvlisp::Error("bad SSGET list");
  return rc == RTNORM ? Value::pickset(ss[0], ss[1]) : Value();
}

void setName(const Value& v, ads_name n) {
  if (v.type() != kvlisp::Type::Pickset) kvlisp::badArgument("lselsetp", v);
  toName(v.asName(), n);
}

Value sslength(Environment&, Args args) {
  ads_name ss;
  setName(args[0], ss);
  Adesk::Int32 n = 0;
  return acedSSLength(ss, &n) == RTNORM ? Value::integer(n) : Value();
}

Value ssname(Environment&, Args args) {
  ads_name ss, out;
  setName(args[0], ss);
  return acedSSName(ss, kvlisp::argInt(args, 1), out) == RTNORM ? nameValue(out) : Value();
}

Value getvar(Environment&, Args args) {
  resbuf rb;
  if (acedGetVar(wide(kvlisp::argString(args, 0)).c_str(), &rb) != RTNORM) return Value();
  rb.rbnext = nullptr;
  Value out;
  switch (rb.restype) {
    case RTSHORT: out = Value::integer(rb.resval.rint); break;
    case RTLONG: out = Value::integer(rb.resval.rlong); break;
    case RTREAL: out = Value::real(rb.resval.rreal); break;
    case RTSTR: out = Value::string(kvads::toUtf8(rb.resval.rstring)); std::free(rb.resval.rstring); break;
    case RTPOINT: out = Value::point(rb.resval.rpoint[0], rb.resval.rpoint[1]); break;
    case RT3DPOINT: out = Value::point(rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]); break;
    default: break;
  }
  return out;
}

Value setvar(Environment&, Args args) {
  std::string name = kvlisp::argString(args, 0);
  const Value& v = args[1];
  resbuf rb{nullptr, RTNONE, {}};
  std::wstring s;
  if (v.isInt()) rb.restype = RTSHORT, rb.resval.rint = static_cast<short>(v.asInt());
  else if (v.isReal()) rb.restype = RTREAL, rb.resval.rreal = v.asReal();
  else if (v.isString()) s = wide(v.asString()), rb.restype = RTSTR, rb.resval.rstring = s.data();
  else if (v.isCons()) {
    auto p = kvlisp::argPoint(args, 1);
    rb.restype = RT3DPOINT;
    for (int i = 0; i < 3; ++i) rb.resval.rpoint[i] = p[static_cast<std::size_t>(i)];
  }
  if (acedSetVar(wide(name).c_str(), &rb) != RTNORM) throw kvlisp::Error("AutoCAD variable setting rejected: \"" + name + "\"");
  return v;
}

// (command name [option] [point point | point height]): the forms ZOOM takes ("_E", "_P", "_V",
// "_W" with two corners, "_C" with a centre and a height), run by acedCommandS.
Value command(Environment&, Args args) {
  if (args.empty()) return Value();
  std::wstring name = wide(kvlisp::argString(args, 0));
  std::wstring opt = args.size() > 1 ? wide(kvlisp::argString(args, 1)) : L"";
  int rc = RTERROR;
  if (args.size() == 1) {
    rc = acedCommandS(RTSTR, name.c_str(), RTNONE);
  } else if (args.size() == 2) {
    rc = acedCommandS(RTSTR, name.c_str(), RTSTR, opt.c_str(), RTNONE);
  } else if (args.size() == 4) {
    std::array<double, 3> first = kvlisp::argPoint(args, 2);
    if (args[3].isCons()) {
      std::array<double, 3> second = kvlisp::argPoint(args, 3);
      rc = acedCommandS(RTSTR, name.c_str(), RTSTR, opt.c_str(), RT3DPOINT, first.data(), RT3DPOINT, second.data(), RTNONE);
    } else {
      rc = acedCommandS(RTSTR, name.c_str(), RTSTR, opt.c_str(), RT3DPOINT, first.data(), RTREAL, kvlisp::argNumber(args, 3), RTNONE);
    }
  } else {
    throw kvlisp::Error("command: this form is not supported by kvhost");
  }
  if (rc != RTNORM) throw kvlisp::Error("command failed: " + kvlisp::argString(args, 0));
  return Value();
}

Value getpoint(Environment&, Args args) {
  std::wstring promptText;
  for (const Value& a : args)
    if (a.isString()) promptText = wide(a.asString());
  ads_point p;
  int rc = acedGetPoint(nullptr, promptText.c_str(), p);
  if (rc == RTCAN) throw kvlisp::Error("Function cancelled");
  return rc == RTNORM ? Value::point(p[0], p[1], p[2]) : Value();
}

// Text typed at a prompt; Enter gives "". A cancel is an error, as it is for getpoint.
Value getstring(Environment&, Args args) {
  std::wstring promptText;
  for (const Value& a : args)
    if (a.isString()) promptText = wide(a.asString());
  ACHAR typed[512];
  int rc = acedGetString(0, promptText.c_str(), typed, sizeof typed / sizeof typed[0]);
  if (rc == RTCAN) throw kvlisp::Error("Function cancelled");
  return rc == RTNORM ? text(std::wstring(typed)) : Value();
}

const kvlisp::NativeDef kFunctions[] = {
    {"kvhost-new", "(kvhost-new)", "A new unsaved drawing, made current; its name.", docNew},
    {"kvhost-open", "(kvhost-open path)", "Opens a drawing (made when the file does not exist) and makes it current.", docOpen},
    {"kvhost-activate", "(kvhost-activate path)", "Makes the open drawing of that path current.", docActivate},
    {"kvhost-save", "(kvhost-save)", "Saves the current drawing under its name.", docSave},
    {"kvhost-save-as", "(kvhost-save-as path)", "Saves the current drawing under a new name.", docSaveAs},
    {"kvhost-autosave", "(kvhost-autosave)", "An automatic save of the current drawing; the file written.", docAutoSave},
    {"kvhost-close", "(kvhost-close [path])", "Closes a drawing (the current one by default) without saving.", docClose},
    {"kvhost-documents", "(kvhost-documents)", "The paths of the open drawings, in the order they were opened.", docList},
    {"kvhost-current", "(kvhost-current)", "The current drawing's path.", docCurrent},
    {"kvhost-export-dxf", "(kvhost-export-dxf path)", "Writes the current drawing as DXF.", exportDxf},
    {"kvhost-import-dxf", "(kvhost-import-dxf path)", "Adds what a DXF file holds to the current drawing.", importDxf},
    {"kvhost-plot", "(kvhost-plot path [width [style]])",
     "Plots model space to an SVG, PDF or PNG file (by extension), at most 8192 pixels wide; style \"paper\" (light colours darkened, the default), \"screen\" or \"monochrome\".", plot},
    {"kvhost-layer", "(kvhost-layer name [colour])", "Makes a layer when it is missing; its name.", makeLayer},
    {"entget", "(entget ename [applist])", "The entity's definition list.", entget},
    {"handent", "(handent handle)", "The entity of a handle (hexadecimal text).", handent},
    {"tblsearch", "(tblsearch table name [next])", "A LAYER, STYLE, LTYPE, BLOCK or APPID record's list.", tblsearch},
    {"tblobjname", "(tblobjname table name)", "The entity name of a symbol table record (BLOCK_RECORD too).", tblobjname},
    {"entmod", "(entmod list)", "Writes the extended data (-3) of the object named by -1; no other group.", entmod},
    {"regapp", "(regapp name)", "Registers an application for extended data.", regapp},
    {"trans", "(trans pt from to [disp])", "A point between the world (0) and user (1) systems.", trans},
    {"entnext", "(entnext [ename])", "The entity after this one in model space (the first without one).", entnext},
    {"entlast", "(entlast)", "The last entity of model space.", entlast},
    {"entdel", "(entdel ename)", "Erases the entity, or restores an erased one.", entdel},
    {"entmake", "(entmake list)", "Appends an entity made from a definition list to model space.", entmake},
    {"ssget", "(ssget [mode] [pt1] [pt2] [filter])", "A selection set: \"X\", or \"C\"/\"W\" with two points.", ssget},
    {"sslength", "(sslength ss)", "The number of entities in the set.", sslength},
    {"ssname", "(ssname ss index)", "The entity at that index of the set.", ssname},
    {"getvar", "(getvar name)", "A system variable's value.", getvar},
    {"setvar", "(setvar name value)", "Sets a system variable; the value.", setvar},
    {"command", "(command [arg...])", "Runs a built-in command with its options (ZOOM, REGEN).", command},
    {"getpoint", "(getpoint [pt] [prompt])", "A point picked (from the input queue).", getpoint},
    {"getstring", "(getstring [cr] [prompt])", "Text typed at a prompt (from the input queue).", getstring},
};

const kvlisp::NativeRegistrar registrar(kFunctions);

}  // namespace
