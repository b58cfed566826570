// The kernels: a loop chosen once for the pair of modes, run line by line.
#include "src/pixel_kernels.h"

#include "src/internal/little_endian.h"
#include "src/internal/pixel_loops.h"
#include "src/wide_fill.h"
#include "src/wide_loops.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace ds_detail;

namespace {

using Line = void (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                      const SourceRule& rule);

constexpr auto kConvertLines = makeModePairTable<Line>(
    []<DsColorMode target, DsColorMode source>() -> Line { return convertLine<target, source>; });

constexpr auto kBlendLines = makeModePairTable<Line>(
    []<DsColorMode target, DsColorMode source>() -> Line { return blendLine<target, source>; });

// One side of a copy.
template <typename Byte>
struct Side {
    Byte* pixels;
    uint32_t pitch;
    DsColorMode mode;
};

// Lines without padding are one line, as long as it can be counted.
template <typename... Pitches>
void joinLines(uint32_t& width, uint32_t& height, Pitches... pitches) {
    if (((pitches == width) && ...) &&
        uint64_t{width} * height <= std::numeric_limits<uint32_t>::max()) {
        width *= height;
        height = std::min(height, 1U);
    }
}

// Copies a rectangle: the loops are chosen once, then every line takes the wide one as far as it
// goes and the plain one for the rest.
void copyPixels(Side<uint8_t> target, Side<const uint8_t> source, uint32_t width, uint32_t height,
                const SourceRule& rule, const ModePairTable<Line>& lines,
                WideLine (*wideLineFor)(DsColorMode target, DsColorMode source)) {
    const uint32_t targetPixelSize = bytesPerPixel(target.mode);
    const uint32_t sourcePixelSize = bytesPerPixel(source.mode);
    if (targetPixelSize == 0 || width == 0) {
        return;
    }
    const Line line =
        lines.at(static_cast<uint32_t>(target.mode), static_cast<uint32_t>(source.mode));
    const WideLine wideLine = wideLineFor(target.mode, source.mode);
    joinLines(width, height, target.pitch, source.pitch);
    const uint64_t targetStride = uint64_t{target.pitch} * targetPixelSize;
    const uint64_t sourceStride = uint64_t{source.pitch} * sourcePixelSize;
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const targetLine = target.pixels + y * targetStride;
        const uint8_t* const sourceLine = source.pixels + y * sourceStride;
        const uint32_t done =
            wideLine != nullptr ? wideLine(targetLine, sourceLine, width, rule) : 0;
        line(targetLine + uint64_t{done} * targetPixelSize,
             sourceLine + uint64_t{done} * sourcePixelSize, width - done, rule);
    }
}

void makePattern(uint8_t (&pattern)[kFillPattern], uint32_t pixelSize, uint32_t value) {
    for (uint32_t i = 0; i < kFillPattern; ++i) {
        pattern[i] = static_cast<uint8_t>(value >> (8 * (i % pixelSize)));
    }
}

void fillPlainly(uint8_t* line, uint64_t byteCount, uint64_t pixelSize, const uint8_t* pattern) {
    for (uint64_t i = 0; i < byteCount; i += pixelSize) {
        std::memcpy(line + i, pattern, pixelSize);
    }
}

} // namespace

void fillPixels(uint8_t* destination, uint32_t destinationPitch, uint32_t width, uint32_t height,
                DsColorMode mode, uint32_t value) {
    const uint64_t pixelSize = bytesPerPixel(mode);
    if (pixelSize == 0 || width == 0) {
        return;
    }
    joinLines(width, height, destinationPitch);
    uint8_t pattern[kFillPattern];
    makePattern(pattern, static_cast<uint32_t>(pixelSize), value);
    const bool isOneByte = std::memcmp(pattern, pattern + 1, pixelSize) == 0;
    const WideFill wide = wideFill();
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const line = destination + y * (destinationPitch * pixelSize);
        const uint64_t byteCount = width * pixelSize;
        if (wide == nullptr) {
            fillPlainly(line, byteCount, pixelSize, pattern);
        } else if (isOneByte) {
            std::memset(line, pattern[0], byteCount);
        } else {
            wide(line, byteCount, pattern);
        }
    }
}

void convertPixels(uint8_t* destination, uint32_t destinationPitch, DsColorMode destinationMode,
                   const uint8_t* source, uint32_t sourcePitch, DsColorMode sourceMode,
                   uint32_t width, uint32_t height, uint32_t alphaMode, uint32_t color) {
    copyPixels({destination, destinationPitch, destinationMode}, {source, sourcePitch, sourceMode},
               width, height, sourceRule(alphaMode, color), kConvertLines, wideConvertLine);
}

void blendPixels(uint8_t* destination, uint32_t destinationPitch, DsColorMode destinationMode,
                 const uint8_t* source, uint32_t sourcePitch, DsColorMode sourceMode,
                 uint32_t width, uint32_t height, uint32_t alphaMode, uint32_t color) {
    copyPixels({destination, destinationPitch, destinationMode}, {source, sourcePitch, sourceMode},
               width, height, sourceRule(alphaMode, color), kBlendLines, wideBlendLine);
}

void fillBytes(uint8_t* destination, uint8_t value, uint32_t count) {
    std::fill_n(destination, count, value);
}
