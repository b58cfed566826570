// The order of the fields in the image's record, checked by the compiler.
#include "png/png_decode.h"
#include "tests/support/field_order.h"

#include <type_traits>

namespace {

#define AT(field) offsetof(png_info_t, field)
static_assert(std::is_standard_layout_v<png_info_t>);
static_assert(ascend({AT(width), AT(height), AT(bitDepth), AT(colorType), AT(compressionMethod),
                      AT(filterMethod), AT(interlaceMethod), AT(paletteHasAlpha), AT(colorMode),
                      AT(paletteSize)}));
#undef AT

} // namespace
