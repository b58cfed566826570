// pngslab's decoder decides. If the surface would be too large, the decoder runs without one.
#include "tools/slabtool/images/png_verdict.h"

#include "png/internal/png_decoder.h"
#include "png/png_decode.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_reason.h"
#include "tools/slabtool/images/sparse_buffer.h"

#include <algorithm>
#include <memory>

namespace {

// A small surface is always made. A surface above the max size is never made.
constexpr uint64_t kSmallSurfaceBytes = 16 << 20;
constexpr uint64_t kMaxSurfaceBytes = 1 << 30;
constexpr uint64_t kSideLimit = 0x80000000; // pixels; DsSurface has signed 32-bit sizes

std::string sizeOf(const png_info_t& info) {
    return std::to_string(info.width) + " x " + std::to_string(info.height);
}

PngVerdict tooLarge(const char* text, const png_info_t& info) {
    return rejected("too-large", std::string(text) + ": " + sizeOf(info));
}

PngVerdict rejectedFor(ByteView file) {
    return {false, "", whyRejected(file).value_or(kUnknownReason), {}};
}

PngVerdict accepted(ByteView file, const png_info_t& info, bool alphaOnly) {
    const DsColorMode mode = alphaOnly ? DsColorMode::A8 : info.colorMode;
    return {true,
            std::string(ds_detail::kModeNames[static_cast<uint32_t>(mode)]) + ", " + sizeOf(info),
            {},
            lossesOf(factsOf(file))};
}

PngVerdict acceptedWith(ByteView file, const png_info_t& info, bool alphaOnly,
                        uint64_t surfaceBytes) {
    PngVerdict verdict = accepted(file, info, alphaOnly);
    verdict.surface += ", if pngslab can allocate " + std::to_string(surfaceBytes) + " bytes";
    return verdict;
}

// Decodes into a surface whose untouched pages need no memory.
bool decodesSparsely(ByteView file, png_info_t info, bool alphaOnly) {
    DsSurface surface(static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), 0,
                      alphaOnly ? DsColorMode::A8 : info.colorMode, info.paletteHasAlpha,
                      alphaOnly ? 0 : info.paletteSize, allocateSparse, releaseSparse, 1,
                      info.height);
    return png_decode(file.data(), file.size(), &info, &surface) == kPngOk;
}

// The decoder counts the bytes of the filtered rows in 32 bits. If the sum is larger, it inflates only as many bytes as
// the wrapped count. These bytes are enough if many rows have an unknown filter type: such a row has one byte, and its
// pixels stay untouched.
//
// Bound of the memory: a row of r bytes with a known filter type touches at most two pages of 4 KiB. The stride is at
// most 2 r. So p touched pages need p / 2 such rows, and have p * 4096 / (2 r) rows in all. These count at least
// p * (r / 2 + 2048 / r) >= 64 p bytes. The touched pages have at most 4096 / 64 times that: 64 * 16 MiB = 1 GiB.
PngVerdict judgeWrapped(ByteView file, const png_info_t& info, bool alphaOnly,
                        uint64_t surfaceBytes) {
    if (png_detail::filtered_size(info) > kSmallSurfaceBytes) {
        return tooLarge("more pixels than slabtool can test", info);
    }
    return decodesSparsely(file, info, alphaOnly)
               ? acceptedWith(file, info, alphaOnly, surfaceBytes)
               : tooLarge("more pixels than pngslab can count", info);
}

// Decodes without pixels. Finds every reason for a rejection except faults in the rows.
PngVerdict judgeWithoutSurface(ByteView file, const png_info_t& info, bool alphaOnly,
                               uint64_t surfaceBytes) {
    if (info.width >= kSideLimit || info.height >= kSideLimit) {
        return tooLarge("more pixels than pngslab can count", info);
    }
    if (const auto reason = whyRejected(file)) {
        return {false, "", *reason, {}};
    }
    if (png_detail::full_filtered_size(info) != png_detail::filtered_size(info)) {
        return judgeWrapped(file, info, alphaOnly, surfaceBytes);
    }
    return acceptedWith(file, info, alphaOnly, surfaceBytes);
}

} // namespace

PngVerdict rejected(const std::string& code, const std::string& text) {
    return {false, "", {code, text}, {}};
}

PngVerdict judgePng(ByteView file, bool alphaOnly) {
    png_info_t info = {};
    if (png_decode(file.data(), file.size(), &info, nullptr) != kPngOk) {
        return rejectedFor(file);
    }
    if (alphaOnly && info.colorType != kGrayType) {
        return rejected("not-grayscale", "not grayscale without alpha, which --alphaonly needs");
    }
    const uint64_t surfaceRowBytes = uint64_t{info.width} * bytesPerPixel(info.colorMode) + 1;
    const uint64_t maxBytes = std::min(
        kMaxSurfaceBytes, std::max<uint64_t>(kSmallSurfaceBytes, file.size() * kMaxExpansion));
    if (surfaceRowBytes > maxBytes / info.height) {
        return judgeWithoutSurface(file, info, alphaOnly, surfaceRowBytes * info.height);
    }
    const std::unique_ptr<DsSurface> surface(
        surface_from_png(file.data(), file.size(), alphaOnly, 0));
    return surface == nullptr ? rejectedFor(file) : accepted(file, info, alphaOnly);
}
