// The header below is included first and alone: it must bring everything that it needs.
#include "src/ds_surface.h"

static_assert(sizeof(DsSurface) > sizeof(DsRect));
