// Builtins (list).
#include "internal.h"
