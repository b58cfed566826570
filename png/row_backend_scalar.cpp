// The scalar backend: the definition. Tests compare the other backends with it.
#include "png/internal/row_backend.h"
#include "png/internal/scalar_rows.h"

namespace png_detail {

namespace {

template <uint32_t pixelBytes, typename filter_t, bool hasAbove>
void convert_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t rowBytes) {
    convert_rest_of_row<pixelBytes, filter_t, hasAbove>(target, source, above, 0, rowBytes);
}

template <uint32_t pixelBytes, bool hasAbove>
constexpr std::array<filter_row_t, kFilterCount> kByFilter = {
    convert_row<pixelBytes, no_filter_t, hasAbove>, convert_row<pixelBytes, sub_filter_t, hasAbove>,
    convert_row<pixelBytes, up_filter_t, hasAbove>,
    convert_row<pixelBytes, average_filter_t, hasAbove>,
    convert_row<pixelBytes, paeth_filter_t, hasAbove>};

template <uint32_t pixelBytes>
constexpr row_functions_t kFunctions = {
    kByFilter<pixelBytes, false>, kByFilter<pixelBytes, true>, {}};

} // namespace

constinit const row_backend_t kScalarRows = {
    {{}, kFunctions<1>, kFunctions<2>, kFunctions<3>, kFunctions<4>}};

} // namespace png_detail
