// The header below is included first and alone: it must bring everything that it needs.
#include "png/png_decode.h"

static_assert(sizeof(png_info_t) > sizeof(DsColorMode));
