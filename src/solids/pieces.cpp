// The solid ownership and small helpers the builders share.
#include <cmath>
#include <cwchar>


#include "ap.h"
#include "pieces.h"

AcDbObjectId AppendSolid(SolidPtr solid) {
  AcApDocument* document = acDocManagerPtr()->curDocument();
  AcDbDatabase* drawing = document ? document->database() : acdbHostApplicationServices()->workingDatabase();
  WorkingDocumentLock lock;
  AcDbObjectPointer<AcDbBlockTableRecord> modelSpace;
  if (OpenModelSpace(drawing, AcDb::kForWrite, modelSpace) != Acad::eOk) return AcDbObjectId();
  AcDbObjectId id;
  if (modelSpace->appendAcDbEntity(id, solid.get()) != Acad::eOk) return AcDbObjectId();
  solid.release()->close();
  return id;
}

double Width(const KvDuctDbInfo& record) { return std::fabs(record.WIDTH); }
double Depth(const KvDuctDbInfo& record) { return std::fabs(record.DEPTH); }
const AcGeVector3d* Axes(const DuctFrame& frame) { return frame.data(); }

std::wstring TrimRight(const std::wstring& text) {
  const std::size_t end = text.find_last_not_of(L" \t\r\n");
  return end == std::wstring::npos ? std::wstring() : text.substr(0, end + 1);
}

double NumberOf(const std::wstring& text) { return std::wcstod(text.c_str(), nullptr); }

bool LoadDuct(std::int32_t ixDuct, bool convert, LoadedDuct& duct) {
  duct.ix = ixDuct;
  if (ixDuct == 0 || !getDuctRecord(ixDuct, duct.row, true)) return false;
  ductFrame(duct.row, duct.frame, convert, true);
  return true;
}
