// The fill state and both span routines. A span is a blend whose source is the coverage, read as an
// A8 mask, with the colour's alpha multiplied in.
#include "src/span_fill.h"

#include "src/internal/pixel_loops.h"
#include "src/wide_loops.h"

#include <algorithm>
#include <cstring>

DsColorMode gBlendColorMode = DsColorMode::ARGB8888;
uint32_t gBlendColor = 0;
uint32_t gBlendBytesPerPixel = 0;

using namespace ds_detail;

namespace {

// Pixels apart from each other that it takes at a time.
constexpr uint32_t kGathered = 16;
constexpr uint32_t kMaxPixelSize = 4;
constexpr uint32_t kAlphaTimesColorAlpha = 2; // the alpha mode of a span

// One call's work: pixels `distance` bytes apart, and a coverage byte for each.
struct Span {
    uint8_t* destination;
    uint32_t distance;
    const uint8_t* coverage;
    uint32_t count;

    // Past the last pixel the destination stays: beyond it may lie the end of the array.
    void advance(uint32_t pixels) {
        count -= pixels;
        coverage += pixels;
        destination += count > 0 ? uint64_t{distance} * pixels : 0;
    }
};

template <DsColorMode mode>
void blendAdjacent(const Span& span, const SourceRule& rule) {
    blendLine<mode, DsColorMode::A8>(span.destination, span.coverage, span.count, rule);
}

template <DsColorMode mode>
void blendApart(const Span& span, const SourceRule& rule) {
    for (uint32_t i = 0; i < span.count; ++i) {
        blendPixel<mode, DsColorMode::A8>(span.destination + uint64_t{span.distance} * i,
                                          span.coverage + i, rule);
    }
}

// The plain loops of each mode; null for the modes without pixels.
struct SpanLoops {
    void (*adjacent)(const Span& span, const SourceRule& rule);
    void (*apart)(const Span& span, const SourceRule& rule);
};

constexpr auto kSpanLoops = makePixelModeTable<SpanLoops>([]<DsColorMode mode>() -> SpanLoops {
    return {blendAdjacent<mode>, blendApart<mode>};
});

// Whether the coverage lies apart from every byte that the span touches, so that it may be read
// ahead of the pixels.
bool coverageIsApart(const Span& span, uint32_t pixelSize) {
    const auto firstPixel = reinterpret_cast<uintptr_t>(span.destination);
    const auto coverage = reinterpret_cast<uintptr_t>(span.coverage);
    const uintptr_t pixelEnd = firstPixel + uint64_t{span.distance} * (span.count - 1) + pixelSize;
    return coverage + span.count <= firstPixel || pixelEnd <= coverage;
}

// The wide loop for this span, or null: pixels must not overlap each other or the coverage.
WideLine wideLineFor(const Span& span) {
    const uint32_t pixelSize = bytesPerPixel(gBlendColorMode);
    if (span.count < kMinBlended || span.distance < pixelSize ||
        !coverageIsApart(span, pixelSize)) {
        return nullptr;
    }
    return wideBlendLine(gBlendColorMode, DsColorMode::A8);
}

// Blends some pixels at the span's start by way of a buffer in which they are adjacent, and returns
// how many.
template <uint32_t pixelSize>
uint32_t blendGathered(const Span& span, const SourceRule& rule, WideLine wideLine) {
    uint8_t pixels[kGathered * kMaxPixelSize];
    const uint32_t count = std::min(span.count, kGathered);
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(pixels + uint64_t{i} * pixelSize,
                    span.destination + uint64_t{i} * span.distance, pixelSize);
    }
    const uint32_t done = wideLine(pixels, span.coverage, count, rule);
    for (uint32_t i = 0; i < done; ++i) {
        std::memcpy(span.destination + uint64_t{i} * span.distance,
                    pixels + uint64_t{i} * pixelSize, pixelSize);
    }
    return done;
}

using GatheringLoop = uint32_t (*)(const Span& span, const SourceRule& rule, WideLine wideLine);

GatheringLoop gatheringLoop(uint32_t pixelSize) {
    switch (pixelSize) {
    case 4:
        return blendGathered<4>;
    case 3:
        return blendGathered<3>;
    default:
        return blendGathered<2>;
    }
}

// Both span routines: the wide path as far as it goes, the plain loop for the rest.
void blendPixelsOf(Span span) {
    const auto mode = static_cast<uint32_t>(gBlendColorMode);
    if (mode >= kColorModeCount || kSpanLoops[mode].apart == nullptr || span.count == 0) {
        return;
    }
    const SourceRule rule = sourceRule(kAlphaTimesColorAlpha, gBlendColor);
    const bool isAdjacent = span.distance == kPixelBytes[mode];
    if (const WideLine wideLine = wideLineFor(span)) {
        const GatheringLoop blendSome = gatheringLoop(bytesPerPixel(gBlendColorMode));
        if (isAdjacent) {
            span.advance(wideLine(span.destination, span.coverage, span.count, rule));
        }
        while (span.count >= kMinBlended) {
            span.advance(blendSome(span, rule, wideLine));
        }
    }
    (isAdjacent ? kSpanLoops[mode].adjacent : kSpanLoops[mode].apart)(span, rule);
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
