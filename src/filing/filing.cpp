// The kinds of field that need more than one filer call.
#include "filing.h"

namespace kvfiling {

Acad::ErrorStatus writeDoubles(AcDbDwgFiler* f, const std::vector<double>& v, std::size_t limit) {
  std::size_t n = limit != 0 && v.size() > limit ? limit : v.size();
  Acad::ErrorStatus es = f->writeInt32(static_cast<Adesk::Int32>(n));
  for (std::size_t i = 0; i < n && es == Acad::eOk; ++i) es = f->writeDouble(v[i]);
  return es;
}

// The list is emptied first and grows entry by entry, so a count that a damaged file inflates
// costs only the reads that succeed, never a huge allocation up front.
Acad::ErrorStatus readDoubles(AcDbDwgFiler* f, std::vector<double>& v) {
  Adesk::Int32 n = 0;
  Acad::ErrorStatus es = f->readInt32(&n);
  v.clear();
  for (Adesk::Int32 i = 0; i < n && es == Acad::eOk; ++i) {
    double d = 0.0;
    if ((es = f->readDouble(&d)) == Acad::eOk) v.push_back(d);
  }
  return es;
}

// An erased object may come back only by undo, so only the undo filer keeps its id.
Acad::ErrorStatus writeObjectId(AcDbDwgFiler* f, AcDbObjectId id) {
  const bool filed = id.isValid() && (!id.isErased() || f->filerType() == AcDb::kUndoFiler);
  Acad::ErrorStatus es = f->writeBool(filed);
  if (es == Acad::eOk && filed) es = f->writeHardPointerId(AcDbHardPointerId(id));
  return es;
}

// A handle that names no object of the drawing leaves the id null and the read goes on: the
// object it named was lost, not the rest of the record.
Acad::ErrorStatus readObjectId(AcDbDwgFiler* f, AcDbObjectId& id) {
  id = AcDbObjectId();
  Adesk::Boolean filed = false;
  Acad::ErrorStatus es = f->readBool(&filed);
  if (es != Acad::eOk || !filed) return es;
  AcDbHardPointerId read;
  es = f->readHardPointerId(&read);
  if (es == Acad::eUnknownHandle) return Acad::eOk;
  if (es == Acad::eOk) id = read;
  return es;
}

std::int64_t integerOf(const resbuf& rb) {
  switch (kvads::dxfValueKind(rb.restype)) {
    case kvads::DxfKind::Short: return rb.resval.rint;
    case kvads::DxfKind::Long: return rb.resval.rlong;
    case kvads::DxfKind::Int64: return rb.resval.mnInt64;
    case kvads::DxfKind::Real: return static_cast<std::int64_t>(rb.resval.rreal);
    default: return 0;
  }
}

}  // namespace kvfiling
