// The header below is included first and alone: it must bring everything that it needs.
#include "src/ds_color_mode.h"

static_assert(sizeof(DsColorMode) == sizeof(uint32_t));
