// The bridge's own LISP bodies (rows of the function table that this folder builds).
#pragma once

#include "bridge.h"

LispStatus kv_hvac_disconnect();
LispStatus kv_hvac_getPlinePoints();
LispStatus c_checkkv();
LispStatus kv_hvac_setIsMetric();
LispStatus ssgetx_duct();
LispStatus ssgetx_room();
LispStatus kv_hvac_setDoDocumentActivated();
