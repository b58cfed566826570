// Converts the bytes of one image to the bytes of its surface file.
#pragma once

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/rejection.h"
#include "tools/slabtool/surfaces/surface_maker.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Options of a conversion. The default is the surface that pngslab makes.
struct ConversionRequest {
    std::optional<DsColorMode> mode = {}; ///< replaces the mode that follows from the image
    std::optional<uint32_t> background = {};
    Dither dither = Dither::None;
    bool alphaOnly = false;
    bool keepColors = false; ///< apply palettes, key colors and the Exif orientation
    bool palette = false;    ///< make a palette file for indexed images
    uint32_t rotation = 0;
    uint32_t rowAlignment = 1;
    uint64_t maxPixels = uint64_t{1} << 28;
};

/// All options that affect a surface as text. Different options give different texts.
std::string optionsText(const ConversionRequest& request);

struct ConvertedImage {
    Bytes surface;
    Bytes palette; ///< content of the palette file; empty without one
    bool wasFixed; ///< pngslab rejects the original image
    std::vector<Finding> losses;
};

/// An image cannot be converted.
class RejectedImage : public Rejection {
public:
    explicit RejectedImage(Finding why)
        : Rejection(textOf(why))
        , mReason(std::move(why)) {}
    const Finding& reason() const { return mReason; }

private:
    Finding mReason;
};

/// Reads the samples of any image: with pngslab's decoder if it accepts the image, else with libpng.
/// @throws RejectedImage
PngImage decodeImage(ByteView file, const PngChanges& changes);

/// Converts an image. An image that pngslab rejects is first read with libpng, as slabtool prepare does. The result
/// depends on the arguments only. @throws RejectedImage
ConvertedImage convertImage(ByteView file, const ConversionRequest& request);
