// The three-dimensional model: the LISP bodies that turn one duct's rows into solids in model
// space (the fitting at its downstream end, its straight remainder or flexible run, a diffuser),
// and those that post-process solids already drawn. The application layer drives the loop over
// a system; see lisp/kv_hvac-solids.lsp.
#pragma once

#include <cstdint>
#include <string>

#include "bridge/bridge.h"
#include "db.h"

// What one building call leaves in model space; null ids for pieces it did not make.
struct SolidPieces {
  AcDbObjectId solid;
  AcDbObjectId transition1;
  AcDbObjectId transition2;
};

// The fitting at the downstream end of ixDuct; fitting, when not empty, replaces the row's
// FITTING. False when nothing could (or should, for an unknown duct) be built; the duct's
// HEADLENGTH3D and the TAILLENGTH3D of the ducts leaving it hold the fitting's reach.
bool drawTripleFitting(std::int32_t ixDuct, int option, bool convert, const std::wstring& fitting,
                       SolidPieces& pieces);
// The straight remainder of a rigid duct, or the whole flexible run that ends at ixDuct
// (pieces.solid the duct or tube, pieces.transition1 the piece at the run's start).
bool drawTripleCenter(std::int32_t ixDuct, int option, bool convert, SolidPieces& pieces);
// The diffuser ixDiffL, or the one at the end of ixDuct when ixDiffL is 0.
bool drawTripleDiffuser(std::int32_t ixDuct, std::int32_t ixDiffL, int option, bool convert,
                        SolidPieces& pieces);

// LISP bodies.
LispStatus kv_hvac_solidUnion();
LispStatus kv_hvac_solidSlice();
LispStatus kv_hvac_ExplodeSolid();
LispStatus kv_hvac_drawTripleFitting();
LispStatus kv_hvac_drawTripleCenter();
LispStatus kv_hvac_drawTripleDiffuser();
