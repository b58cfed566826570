// The header below is included first and alone: it must bring everything that it needs.
#include "png/png_crc32.h"

static_assert(sizeof(png_crc32(nullptr, 0, 0)) == sizeof(uint32_t));
