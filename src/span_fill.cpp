// The fill state and both span functions. A span is a blend whose source is the coverage, as an A8
// mask, multiplied by the color's alpha.
#include "src/span_fill.h"

#include "src/internal/pixel_backend.h"

#include <algorithm>
#include <cstring>

DsColorMode gBlendColorMode = DsColorMode::ARGB8888;
uint32_t gBlendColor = 0;
uint32_t gBlendBytesPerPixel = 0;

using namespace ds_detail;

namespace {

// Strided pixels that are gathered into a buffer at a time.
constexpr uint32_t kGatheredPixels = 16;
constexpr uint32_t kAlphaTimesColorAlpha = 2; // the alpha mode of a span

// The arguments of one call: pixels at a distance of `distance` bytes, and a coverage byte for each.
struct Span {
    uint8_t* destination;
    uint32_t distance;
    const uint8_t* coverage;
    uint32_t count;

    // After the last pixel the destination does not move: the result could be outside the array.
    void advance(uint32_t pixels) {
        count -= pixels;
        coverage += pixels;
        destination += count > 0 ? uint64_t{distance} * pixels : 0;
    }
};

template <DsColorMode mode>
void blendPixelByPixel(const Span& span, const SourceRule& rule) {
    for (uint32_t i = 0; i < span.count; ++i) {
        blendPixel<mode, DsColorMode::A8>(span.destination + uint64_t{span.distance} * i,
                                          span.coverage + i, rule);
    }
}

// The scalar loop of each mode. It reads each coverage byte just before it writes the pixel.
using SpanLoop = void (*)(const Span& span, const SourceRule& rule);
constexpr auto kSpanLoops = makePixelModeTable<SpanLoop>(
    []<DsColorMode mode>() -> SpanLoop { return blendPixelByPixel<mode>; });

// Whether the coverage overlaps no byte between the span's first and last pixel, so that it may be
// read before the pixels are written.
bool coverageIsDisjoint(const Span& span, uint32_t pixelSize) {
    const auto firstPixel = reinterpret_cast<uintptr_t>(span.destination);
    const auto coverage = reinterpret_cast<uintptr_t>(span.coverage);
    const uint64_t pixelEnd = firstPixel + uint64_t{span.distance} * (span.count - 1) + pixelSize;
    return coverage + span.count <= firstPixel || pixelEnd <= coverage;
}

// Whether the span's pixels overlap neither each other nor the coverage, so that several may be blended at once.
bool mayBeGathered(const Span& span, uint32_t pixelSize) {
    return span.distance >= pixelSize && coverageIsDisjoint(span, pixelSize);
}

// Blends the span's first `count` pixels in a buffer in which they are adjacent.
template <uint32_t pixelSize>
void blendGathered(const Span& span, uint32_t count, const SourceRule& rule, PixelRow row) {
    uint8_t pixels[kGatheredPixels * kMaxPixelBytes];
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(pixels + uint64_t{i} * pixelSize,
                    span.destination + uint64_t{i} * span.distance, pixelSize);
    }
    row(pixels, span.coverage, count, rule);
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(span.destination + uint64_t{i} * span.distance,
                    pixels + uint64_t{i} * pixelSize, pixelSize);
    }
}

using GatheringLoop = void (*)(const Span& span, uint32_t count, const SourceRule& rule,
                               PixelRow row);

GatheringLoop gatheringLoop(uint32_t pixelSize) {
    switch (pixelSize) {
    case 4:
        return blendGathered<4>;
    case 3:
        return blendGathered<3>;
    case 2:
        return blendGathered<2>;
    default:
        return blendGathered<1>;
    }
}

void blendPixelsOf(Span span) {
    const PixelRow row = activeBlendRow(gBlendColorMode, DsColorMode::A8);
    if (row == nullptr || span.count == 0) {
        return;
    }
    const SourceRule rule = sourceRule(kAlphaTimesColorAlpha, gBlendColor);
    const uint32_t pixelSize = bytesPerPixel(gBlendColorMode);
    if (isScalarBlendRow(row, gBlendColorMode, DsColorMode::A8) ||
        !mayBeGathered(span, pixelSize)) {
        kSpanLoops[static_cast<uint32_t>(gBlendColorMode)](span, rule);
    } else if (span.distance == pixelSize) {
        row(span.destination, span.coverage, span.count, rule);
    } else {
        const GatheringLoop blendSome = gatheringLoop(pixelSize);
        while (span.count > 0) {
            const uint32_t count = std::min(span.count, kGatheredPixels);
            blendSome(span, count, rule, row);
            span.advance(count);
        }
    }
}

} // namespace

uint32_t setBlendColor(DsColorMode mode, uint32_t color) {
    gBlendColorMode = mode;
    gBlendColor = color;
    gBlendBytesPerPixel = bytesPerPixel(mode);
    return gBlendBytesPerPixel;
}

void blendSpan(uint8_t* destination, const uint8_t* coverage, uint32_t count) {
    blendPixelsOf({destination, gBlendBytesPerPixel, coverage, count});
}

void blendSpanStrided(uint8_t* destination, uint32_t step, const uint8_t* coverage,
                      uint32_t count) {
    blendPixelsOf({destination, step * gBlendBytesPerPixel, coverage, count});
}
