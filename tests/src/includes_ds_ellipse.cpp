// The header below is included first and alone: it must bring everything that it needs.
#include "src/ds_ellipse.h"

static_assert(sizeof(DsEllipse) == sizeof(void*) + 8 * sizeof(float));
