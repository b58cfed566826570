// From the bytes of one image to the bytes of its surface file.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/refusal.h"
#include "tools/slabtool/surfaces/surface_maker.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// How images become surfaces. By default as pngslab makes them.
struct ConversionRequest {
    std::optional<DsColorMode> mode = {}; ///< another mode than the image calls for
    std::optional<uint32_t> background = {};
    Dither dither = Dither::None;
    bool alphaOnly = false;
    bool keepColors =
        false; ///< palettes and key colors become colors and alpha, Exif orientation is applied
    bool palette = false; ///< indexed images get a palette file
    uint32_t rotation = 0;
    uint32_t rowAlignment = 1;
    uint64_t maxPixels = uint64_t{1} << 28;
};

/// All options that shape a surface, as a text that differs where they do.
std::string optionsText(const ConversionRequest& request);

struct ConvertedImage {
    Bytes surface;
    Bytes
        palette; ///< as the surface's palette block holds it; empty if there is none, or it was not asked for
    bool wasFixed; ///< pngslab rejects the image
    std::vector<Finding> losses;
};

/// An image that has no surface.
class RejectedImage : public Refusal {
public:
    explicit RejectedImage(Finding why)
        : Refusal(textOf(why))
        , mReason(std::move(why)) {}
    const Finding& reason() const { return mReason; }

private:
    Finding mReason;
};

/// Converts an image. What pngslab accepts goes through its decoder; the rest through libpng first, as slabtool
/// prepare does it. Depends on nothing but its arguments. @throws RejectedImage
ConvertedImage convertImage(ByteView file, const ConversionRequest& request);
