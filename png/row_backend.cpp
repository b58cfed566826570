// The choice of the active backend's row functions.
#include "png/internal/row_backend.h"

namespace png_detail {

namespace {

constexpr ds_detail::BackendList<row_backend_t> kRows = [] {
    ds_detail::BackendList<row_backend_t> list = {};
#if defined(DS_HAS_AVX2_AND_SSE2)
    list[ds_detail::kAvx2] = &kAvx2Rows;
    list[ds_detail::kSse2] = &kSse2Rows;
#elif defined(DS_HAS_NEON)
    list[ds_detail::kNeon] = &kNeonRows;
#endif
    list[ds_detail::kScalar] = &kScalarRows;
    return list;
}();

} // namespace

row_functions_t active_rows(uint32_t pixelBytes) {
    row_functions_t rows = {};
    for (uint32_t filter = 0; filter < kFilterCount; ++filter) {
        rows.first[filter] = ds_detail::activeValue(
            kRows, [=](const row_backend_t& each) { return each[pixelBytes].first[filter]; });
        rows.later[filter] = ds_detail::activeValue(
            kRows, [=](const row_backend_t& each) { return each[pixelBytes].later[filter]; });
    }
    for (uint32_t i = 0; i < kWavefrontSizes.size(); ++i) {
        rows.wavefronts[i] = ds_detail::activeValue(
            kRows, [=](const row_backend_t& each) { return each[pixelBytes].wavefronts[i]; });
    }
    return rows;
}

} // namespace png_detail
