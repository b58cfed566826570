// The scalar backend: the definition. Tests compare the other backends with it.
#include "src/internal/pixel_backend.h"

#include <cstring>

namespace ds_detail {

namespace {

constexpr auto kConvertRows =
    makeModePairTable<PixelRow>([]<DsColorMode target, DsColorMode source>() -> PixelRow {
        return scalarConvertRow<target, source>;
    });

constexpr auto kBlendRows =
    makeModePairTable<PixelRow>([]<DsColorMode target, DsColorMode source>() -> PixelRow {
        return scalarBlendRow<target, source>;
    });

// Fills in steps of 12 bytes, the smallest multiple of every pixel size from 1 to 4 bytes.
void fillRow(uint8_t* row, uint64_t byteCount, const uint8_t* pattern) {
    constexpr uint64_t kStep = 12;
    uint64_t done = 0;
    for (; done + kStep <= byteCount; done += kStep) {
        std::memcpy(row + done, pattern, kStep);
    }
    std::memcpy(row + done, pattern, static_cast<size_t>(byteCount - done));
}

} // namespace

constinit const PixelRows kScalarPixelRows = {kConvertRows, kBlendRows, fillRow};

} // namespace ds_detail
