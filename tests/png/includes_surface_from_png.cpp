// The header below is included first and alone: it must bring everything that it needs.
#include "png/surface_from_png.h"

static_assert(sizeof(surface_from_png(nullptr, 0, false, 0)) == sizeof(void*));
