// The module with a few test questions added to kvhost's LISP, for scenarios that must see what
// no LISP function of the module shows: the fitting at a duct's end, a duct's row as the module
// reads it, a new row made the module's way, and the entity's flags that DXF groups leave out.
// kvhost loads it in place of the module (KV_MODULE); the module's own table is unchanged.
#include "ads.h"
#include "ductwork/KvDuct.h"
#include "ductwork/ductrows.h"
#include "lisp.h"

namespace {

using kvlisp::Args;
using kvlisp::Environment;
using kvlisp::Value;

// Runs a question as a guarded call of the current document's project; nil without one.
template <class F>
Value InProject(F question) {
  hvacPerDocData* document = CurrentDocument(DocumentRegistry());
  if (!document || !ConnectDocument(*document, true)) return Value();
  WorkingDocumentLock lock;
  const ProjectContext context = ContextOf(*document);
  ProjectContextScope scope(context);
  return question();
}

Value Text(const std::wstring& text) { return Value::string(kvads::toUtf8(text)); }

// (kvtest-fitting ixDuct): (text value), or nil when the choice fails.
Value Fitting(Environment&, Args args) {
  const std::int32_t ix = kvlisp::argInt(args, 0);
  return InProject([ix] {
    std::wstring text, value;
    if (!ductExists(ix) || !chooseFitting(ductOrDefaults(ix), text, value)) return Value();
    return Value::list({Text(text), Text(value)});
  });
}

// (kvtest-ductRecord ixDuct): (WIDTH DEPTH SHAPE) with inheritance and lining, or nil.
Value Record(Environment&, Args args) {
  const std::int32_t ix = kvlisp::argInt(args, 0);
  return InProject([ix] {
    KvDuctDbInfo record;
    if (!getDuctRecord(ix, record, true)) return Value();
    return Value::list({Value::real(record.WIDTH), Value::real(record.DEPTH), Text(record.SHAPE)});
  });
}

// (kvtest-newDuct [template]): a new row of the current drawing, filled from the template's row,
// or from the project's duct settings (asked of the layer) without one. Its index, or nil.
Value NewDuct(Environment&, Args args) {
  const bool hasTemplate = args.size() > 0 && !args[0].isNil();
  const std::int32_t from = hasTemplate ? kvlisp::argInt(args, 0) : 0;
  return InProject([=] {
    KvDuctDbInfo record;
    if (hasTemplate) {
      record = ductOrDefaults(from);
    } else {
      readDuctSettings();
      record = defaultDuctRecord();
    }
    std::int32_t ix = 0;
    if (!newDuctRow(record.ixLayerSystem, ix) || !copyDuctSettings(ix, record)) return Value();
    return Value::integer(ix);
  });
}

// (kvtest-diffuser ixDuct): the diffuser at the duct's end as the module asks for it, or nil.
Value Diffuser(Environment&, Args args) {
  std::int32_t ixDiffL = 0;
  if (!getDuctDiffuser(kvlisp::argInt(args, 0), ixDiffL)) return Value();
  return Value::integer(ixDiffL);
}

// (kvtest-ductFlags ename): (bLockWidth bLockDepth bLockShape reverseArrows) as T or nil.
Value Flags(Environment&, Args args) {
  const auto name = kvlisp::argEname(args, 0);
  ads_name ads = {name[0], name[1]};
  AcDbObjectId id;
  if (acdbGetObjectId(id, ads) != Acad::eOk) return Value();
  AcDbObjectPointer<KvDuct> duct(id, AcDb::kForRead);
  if (duct.openStatus() != Acad::eOk) return Value();
  const KvDuctFields& f = duct->fields();
  auto flag = [](bool on) { return on ? Value::t() : Value(); };
  return Value::list({flag(f.bLockWidth), flag(f.bLockDepth), flag(f.bLockShape), flag(f.reverseArrows)});
}

const kvlisp::NativeDef kQuestions[] = {
    {"kvtest-fitting", "(kvtest-fitting ixDuct)", "The fitting at the duct's end and its value.", Fitting},
    {"kvtest-ductRecord", "(kvtest-ductRecord ixDuct)", "The duct's section as the module reads it.", Record},
    {"kvtest-newDuct", "(kvtest-newDuct [template])", "A new row made as the module makes one.", NewDuct},
    {"kvtest-diffuser", "(kvtest-diffuser ixDuct)", "The diffuser at the duct's end.", Diffuser},
    {"kvtest-ductFlags", "(kvtest-ductFlags ename)", "The duct's locks and arrow flag.", Flags},
};
const kvlisp::NativeRegistrar registrar(kQuestions);

}  // namespace
