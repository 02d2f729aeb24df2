// Builtins (math).
#include "internal.h"
