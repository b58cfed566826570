// One call of a copying kernel on rectangles inside larger buffers, compared with the model byte by byte, on
// each backend. The bytes around the rectangles are compared, too.
#pragma once

#include "src/pixel_kernels.h"
#include "tests/src/pixel_model.h"
#include "tests/support/test_bytes.h"

#include <cstdint>

/// A copying kernel and its rule.
struct CopyKernel {
    decltype(&convertPixels) run;
    uint32_t (ModelCopy::*rule)(uint32_t targetStored, uint32_t sourceStored) const;
};

inline constexpr CopyKernel kConvert = {convertPixels, &ModelCopy::converted};
inline constexpr CopyKernel kBlend = {blendPixels, &ModelCopy::blended};

/// A rectangle of pixels in a buffer: its start, and the pixels from row to row.
struct PixelRect {
    byte_vector buffer;
    size_t start;
    uint32_t pitch;
};

/// The surroundings of a rectangle. Targets have bytes on all sides that must not change. Sources end with
/// their last pixel, so that AddressSanitizer detects a read after it.
enum class Surroundings { Guarded, Tight };

/// A rectangle of random pixels at a random, mostly unaligned position, with random padding. The pixels are
/// noise, or mostly 0 and 255, or (with four bytes) all opaque or nearly all.
PixelRect randomRect(test_rng& random, DsColorMode mode, uint32_t width, uint32_t height,
                     Surroundings surroundings);

/// Runs the kernel and compares the target's whole buffer with the result of the rule.
void expectCopy(const CopyKernel& kernel, const ModelCopy& copy, const PixelRect& target,
                const PixelRect& source, uint32_t width, uint32_t height);

/// Random rectangles of every width from 0 to 70, for every pair of modes and every alpha mode.
void expectCopiesOfAllModes(const CopyKernel& kernel, uint32_t seed);

/// The same with one rectangle as source and target.
void expectCopiesInPlace(const CopyKernel& kernel, uint32_t seed);

/// Runs the kernel on whole buffers of `height` rows of 256 pixels, and compares.
void expectCopyOfBuffers(const CopyKernel& kernel, const ModelCopy& copy, const byte_vector& target,
                         const byte_vector& source, uint32_t height);

/// A single pixel through a kernel: the new stored value.
uint32_t copied(const CopyKernel& kernel, const ModelCopy& copy, uint32_t targetStored,
                uint32_t sourceStored);

/// `count` pixels of `mode`. `storedAt` gives the stored value of each by its number.
template <typename StoredAt>
byte_vector makePixels(DsColorMode mode, uint32_t count, StoredAt storedAt) {
    const uint32_t size = modelPixelSize(mode);
    byte_vector pixels(size_t{count} * size);
    for (uint32_t i = 0; i < count; ++i) {
        modelStore(mode, pixels.data() + size_t{i} * size, storedAt(i));
    }
    return pixels;
}
