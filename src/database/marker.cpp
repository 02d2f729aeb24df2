// The drawing marker on *Model_Space that makes a drawing take part in the project database, and
// the connection a new project makes at once when its first drawing carries it.
#include "ads.h"
#include "database.h"
#include "db.h"

namespace {

bool IsTextCell(const resbuf* cell) {
  return cell->restype == RTSTR || kvads::dxfValueKind(cell->restype) == kvads::DxfKind::String;
}

// Walks the application's cells from its name cell: a text cell equal to the key is followed by
// the value; any other text cell is a key and steps over its value too; other cells step one.
std::wstring ValueOfKey(const resbuf* cells, std::wstring_view key) {
  for (const resbuf* cell = cells; cell != nullptr;) {
    if (!IsTextCell(cell)) {
      cell = cell->rbnext;
      continue;
    }
    if (cell->resval.rstring && key == cell->resval.rstring) {
      const resbuf* value = cell->rbnext;
      return value && IsTextCell(value) && value->resval.rstring ? value->resval.rstring : L"";
    }
    cell = cell->rbnext ? cell->rbnext->rbnext : nullptr;
  }
  return {};
}

}  // namespace

std::wstring ReadDrawingMarker(AcDbDatabase* drawing, std::wstring_view key) {
  AcDbObjectPointer<AcDbBlockTableRecord> modelSpace;
  if (OpenModelSpace(drawing, AcDb::kForRead, modelSpace) != Acad::eOk) return {};
  ResbufPtr cells(modelSpace->xData(L"KELVANE"));
  return ValueOfKey(cells.get(), key);
}

void ConnectMarkedProject(hvacPerProjectData& project, AcDbDatabase* drawing) {
  if (ReadDrawingMarker(drawing, L"KV_HVAC") != L"YES") return;
  if (!OpenDatabase(project, project.folder(), L"kv_hvac", false)) return;
  // A component that could not be made, or a file whose repair must wait for the LISP layer,
  // leaves no open connection: no record objects then, so that the first guarded call makes
  // them on the connection it opens.
  kvProjectDatabase& state = DatabaseOf(project);
  if (IsConnectionOpen(state.connection().Get())) state.CreateCommonTables();
}
