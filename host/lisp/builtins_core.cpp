// Builtins (core).
#include "internal.h"
