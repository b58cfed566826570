// The header below is included first and alone: it must bring everything that it needs.
#include "src/pixel_kernels.h"

static_assert(sizeof(&fillBytes) == sizeof(void (*)(uint8_t*, uint8_t, uint32_t)));
