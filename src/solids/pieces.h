// Private to src/solids: a solid under construction, owned until it reaches model space, and
// the small geometry the builders share.
#pragma once

#include <memory>
#include <string>

#include "ductwork/ductrows.h"
#include "kvSolid.h"
#include "solids.h"

// Deletes a solid that never reached the drawing.
using SolidPtr = std::unique_ptr<kv_hvacSolid>;
inline SolidPtr NewSolid() { return std::make_unique<kv_hvacSolid>(); }

// Appends the solid to model space of the current drawing and closes it; its id, or null when
// the drawing refused it (the solid is gone either way).
AcDbObjectId AppendSolid(SolidPtr solid);

// The rows' sizes are signed in places; the model wants magnitudes.
double Width(const KvDuctDbInfo& record);
double Depth(const KvDuctDbInfo& record);
const AcGeVector3d* Axes(const DuctFrame& frame);
// Trailing blanks cut, as the fitting columns are padded.
std::wstring TrimRight(const std::wstring& text);
// A number at the front of the text; 0 when there is none.
double NumberOf(const std::wstring& text);

// The duct's row with lining, and its frame.
struct LoadedDuct {
  std::int32_t ix = 0;
  KvDuctDbInfo row;
  DuctFrame frame;
};
bool LoadDuct(std::int32_t ixDuct, bool convert, LoadedDuct& duct);

// ("key" . entity name), or ("key" . nil) for a piece not made.
void AppendSolidPiece(resbuf*& tail, const ACHAR* key, AcDbObjectId id);
// The duct or diffuser index, iSolidOption and bConvert that every drawing function starts with.
bool ReadSolidArgs(ArgCursor& cursor, std::int32_t& index, std::int32_t& option, bool& convert);

// Builders of the fitting families.
bool BuildBranch(std::int32_t ixDuct, bool convert, int option, SolidPieces& pieces);
