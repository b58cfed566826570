// The header below is included first and alone: it must bring everything that it needs.
#include "src/ds_region.h"

static_assert(sizeof(DsFRect) == sizeof(void*) + 4 * sizeof(float));
