// The header below is included first and alone: it must bring everything that it needs.
#include "src/span_fill.h"

static_assert(sizeof(gBlendColorMode) == sizeof(uint32_t));
