// The choice of the active backend's row functions.
#include "src/internal/pixel_backend.h"

namespace ds_detail {

namespace {

constexpr BackendList<PixelRows> kPixelRows = [] {
    BackendList<PixelRows> list = {};
#if defined(DS_HAS_AVX2_AND_SSE2)
    list[kAvx2] = &kAvx2PixelRows;
    list[kSse2] = &kSse2PixelRows;
#elif defined(DS_HAS_NEON)
    list[kNeon] = &kNeonPixelRows;
#endif
    list[kScalar] = &kScalarPixelRows;
    return list;
}();

PixelRow rowOf(const ModePairTable<PixelRow>& rows, DsColorMode target, DsColorMode source) {
    return rows.at(static_cast<uint32_t>(target), static_cast<uint32_t>(source));
}

PixelRow activeRow(ModePairTable<PixelRow> PixelRows::*rows, DsColorMode target,
                   DsColorMode source) {
    if (bytesPerPixel(target) == 0) {
        return nullptr;
    }
    return activeValue(kPixelRows,
                       [=](const PixelRows& each) { return rowOf(each.*rows, target, source); });
}

} // namespace

const BackendList<PixelRows>& pixelRows() {
    return kPixelRows;
}

PixelRow activeConvertRow(DsColorMode target, DsColorMode source) {
    return activeRow(&PixelRows::convert, target, source);
}

PixelRow activeBlendRow(DsColorMode target, DsColorMode source) {
    return activeRow(&PixelRows::blend, target, source);
}

bool isScalarBlendRow(PixelRow row, DsColorMode target, DsColorMode source) {
    return row == rowOf(kScalarPixelRows.blend, target, source);
}

FillRow activeFillRow() {
    return activeValue(kPixelRows, [](const PixelRows& each) { return each.fill; });
}

} // namespace ds_detail
