// Builtins (string).
#include "internal.h"
