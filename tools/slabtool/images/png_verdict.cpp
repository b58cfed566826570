// The product's decoder decides. Where a surface would be out of all proportion, it decides without one.
#include "tools/slabtool/images/png_verdict.h"

#include "png/internal/png_decoder.h"
#include "png/png_decode.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_reason.h"
#include "tools/slabtool/images/sparse_block.h"

#include <algorithm>
#include <memory>

namespace {

// Surfaces up to the first size are made whatever the file holds, none above the second one.
constexpr uint64_t kFreeSurfaceBytes = 16 << 20;
constexpr uint64_t kMaxSurfaceBytes = 1 << 30;
constexpr uint64_t kMinTooManyPixels = 0x80000000; // each way: sizes are signed there

std::string sizeOf(const png_info_t& info) {
    return std::to_string(info.width) + " x " + std::to_string(info.height);
}

PngVerdict tooLarge(const char* words, const png_info_t& info) {
    return rejected("too-large", std::string(words) + ": " + sizeOf(info));
}

PngVerdict rejectedFor(ByteView file) {
    const Finding unknown = {"unknown", "for a reason that slabtool does not know"};
    return {false, "", whyRejected(file).value_or(unknown), {}};
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
    verdict.surface += ", if pngslab can have " + std::to_string(surfaceBytes) + " bytes";
    return verdict;
}

// Decodes into a surface of which only the pages in use cost memory.
bool decodesSparsely(ByteView file, png_info_t info, bool alphaOnly) {
    DsSurface surface(static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), 0,
                      alphaOnly ? DsColorMode::A8 : info.colorMode, info.paletteHasAlpha,
                      alphaOnly ? 0 : info.paletteSize, allocateSparse, releaseSparse, 1,
                      info.height);
    return png_decode(file.data(), file.size(), &info, &surface) == kPngOk;
}

// The decoder counts the bytes of the filtered rows in 32 bits. Where they take more, it makes do with as
// many as that count says, which are enough if rows with an unknown filter type, of one byte each, make
// up for the difference. Each converted row takes its own bytes of them and touches its pages of the surface:
// one page of 4 KiB for at least 128 bytes, because rows are shorter than that only where more of them share a
// page. So the pages in use take no more than 32 times the counted bytes, 512 MiB.
PngVerdict judgeWrapped(ByteView file, const png_info_t& info, bool alphaOnly,
                        uint64_t surfaceBytes) {
    if (png_detail::filtered_size(info) > kFreeSurfaceBytes) {
        return tooLarge("more pixels than slabtool tries out", info);
    }
    return decodesSparsely(file, info, alphaOnly)
               ? acceptedWith(file, info, alphaOnly, surfaceBytes)
               : tooLarge("more pixels than pngslab can count", info);
}

// Without a surface of ordinary memory: what the decoder finds before it converts the rows, and whether there
// could be a surface at all.
PngVerdict judgeWithoutSurface(ByteView file, const png_info_t& info, bool alphaOnly,
                               uint64_t surfaceBytes) {
    if (info.width >= kMinTooManyPixels || info.height >= kMinTooManyPixels) {
        return tooLarge("more pixels than pngslab can count", info);
    }
    if (const auto reason = whyRejected(file)) {
        return {false, "", *reason, {}};
    }
    if (png_detail::uncut_filtered_size(info) != png_detail::filtered_size(info)) {
        return judgeWrapped(file, info, alphaOnly, surfaceBytes);
    }
    return acceptedWith(file, info, alphaOnly, surfaceBytes);
}

} // namespace

PngVerdict rejected(const std::string& code, const std::string& words) {
    return {false, "", {code, words}, {}};
}

PngVerdict judgePng(ByteView file, bool alphaOnly) {
    png_info_t info = {};
    if (png_decode(file.data(), file.size(), &info, nullptr) != kPngOk) {
        return rejectedFor(file);
    }
    if (alphaOnly && info.colorType != kGrayType) {
        return rejected("not-grayscale",
                        "not plain grayscale, which alpha-only surfaces are made of");
    }
    const uint64_t surfaceLine = uint64_t{info.width} * bytesPerPixel(info.colorMode) + 1;
    const uint64_t most = std::min(
        kMaxSurfaceBytes, std::max<uint64_t>(kFreeSurfaceBytes, file.size() * kMaxExpansion));
    if (surfaceLine > most / info.height) {
        return judgeWithoutSurface(file, info, alphaOnly, surfaceLine * info.height);
    }
    const std::unique_ptr<DsSurface> surface(
        surface_from_png(file.data(), file.size(), alphaOnly, 0));
    return surface == nullptr ? rejectedFor(file) : accepted(file, info, alphaOnly);
}
