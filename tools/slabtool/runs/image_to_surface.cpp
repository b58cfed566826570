// Surfaces are made in two ways: with pngslab's own code, or from samples if the mode, colors or orientation differ
// from what pngslab makes of the image.
#include "tools/slabtool/runs/image_to_surface.h"

#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "tools/slabtool/images/accepted_image.h"
#include "tools/slabtool/images/accepted_png.h"
#include "tools/slabtool/images/orientation.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/large_bytes.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <utility>

namespace {

constexpr uint32_t kQuarterTurn = 90;
constexpr const char* kAlphaLoss = "alpha";

[[noreturn]] void reject(const char* code, const std::string& text) {
    throw RejectedImage({code, text});
}

// Decodes with libpng. If libpng rejects the image, throws the reason of pngslab's decoder, or else libpng's.
PngImage decodeByLibrary(ByteView file, const PngChanges& changes) {
    try {
        return decodePng(file, changes);
    } catch (const RejectedImage&) {
        throw;
    } catch (const Rejection& rejection) {
        const PngVerdict verdict = judgePng(file, false);
        const Finding reason =
            verdict.isAccepted
                ? Finding{"libpng", std::string(kPngLibrary) + " reports: " + rejection.what()}
                : verdict.reason;
        throw RejectedImage(reason);
    }
}

Bytes serialized(const DsSurface& surface) {
    Bytes file = largeBytes(static_cast<size_t>(surface.serialize(nullptr)));
    surface.serialize(file.data());
    return file;
}

// Padding can make short rows many times longer, so --max-pixels must also limit the padded size.
void checkPadding(uint64_t rows, const ConversionRequest& request) {
    constexpr uint64_t kMaxPixelBytes = 4;
    const uint64_t bytes = rows * request.rowAlignment;
    if (bytes / kMaxPixelBytes > request.maxPixels) {
        reject("too-large", "--row-alignment makes its rows at least " + std::to_string(bytes) +
                                " bytes, more than --max-pixels allows");
    }
}

// The same surface with rows at multiples of `alignment` bytes.
Bytes withRowAlignment(const DsSurface& surface, uint32_t alignment) {
    const auto allocate = [](size_t count) -> void* { return new uint8_t[count](); };
    const auto release = [](void* block) { delete[] static_cast<uint8_t*>(block); };
    int32_t callerWidth = 0;
    int32_t callerHeight = 0;
    surface.getSize(callerWidth, callerHeight); // the constructor exchanges them again
    DsSurface aligned(callerWidth, callerHeight, surface.getRotation(), surface.getColorMode(), 0,
                      0, allocate, release, alignment, 0);
    assert(aligned.getWidth() == surface.getWidth());
    const auto width = static_cast<uint64_t>(surface.getWidth());
    for (uint64_t y = 0; y < static_cast<uint64_t>(surface.getHeight()); ++y) {
        std::copy_n(surface.getPixels() + y * surface.getStride(),
                    width * surface.getBytesPerPixel(),
                    aligned.getPixels() + y * aligned.getStride());
    }
    return serialized(aligned);
}

// Makes the surface with pngslab's code, after fixing the image if pngslab rejects it.
ConvertedImage convertAsPngslab(ByteView file, const PngFacts& facts,
                                const ConversionRequest& request) {
    ConvertedImage converted = {};
    converted.losses = lossesOf(facts);
    const auto rotation = static_cast<int32_t>(request.rotation);
    std::unique_ptr<DsSurface> surface(
        surface_from_png(file.data(), file.size(), request.alphaOnly, rotation));
    if (surface == nullptr) {
        const PngImage image = decodeByLibrary(file, {});
        if (request.alphaOnly && image.colorType != kGrayType) {
            reject("not-grayscale", "not grayscale without alpha, which --alphaonly needs");
        }
        // The surface of an image with a key color contains remains of the filtered rows. So the file must be the same
        // as that of slabtool prepare.
        const Bytes fixed = image.keyColor ? encodeAccepted(image) : encodePng(image, kStored);
        surface.reset(surface_from_png(fixed.data(), fixed.size(), request.alphaOnly, rotation));
        assert(surface != nullptr); // pngslab accepts all files that slabtool writes
        converted.wasFixed = true;
    }
    checkPadding(static_cast<uint64_t>(surface->getHeight()), request);
    converted.surface = request.rowAlignment <= 1
                            ? serialized(*surface)
                            : withRowAlignment(*surface, request.rowAlignment);
    return converted;
}

Samples::Kind kindOf(uint8_t colorType) {
    switch (colorType) {
    case kRgbType:
        return Samples::Kind::Rgb;
    case kIndexedType:
        return Samples::Kind::Indexed;
    case kGrayAlphaType:
        return Samples::Kind::GrayAlpha;
    case kRgbaType:
        return Samples::Kind::Rgba;
    default:
        return Samples::Kind::Gray;
    }
}

// The mode of an image without --mode.
DsColorMode defaultMode(const PngImage& image, bool alphaOnly) {
    if (alphaOnly) {
        return DsColorMode::A8;
    }
    switch (image.colorType) {
    case kRgbType:
        return DsColorMode::RGB888;
    case kGrayAlphaType:
        return DsColorMode::AI88;
    case kRgbaType:
        return DsColorMode::ARGB8888;
    default:
        return DsColorMode::I8;
    }
}

bool isIndexMode(DsColorMode mode) {
    return mode == DsColorMode::I8 || mode == DsColorMode::AI88;
}

void removeLoss(std::vector<Finding>& losses, const char* code) {
    std::erase_if(losses, [=](const Finding& loss) { return loss.code == code; });
}

// Makes the surface from samples. Applies the key color, and the palette unless the mode stores indices.
ConvertedImage convertSamples(ByteView file, const PngFacts& facts,
                              const ConversionRequest& request) {
    ConvertedImage converted = {};
    converted.losses = lossesOf(facts);
    const bool keepsIndices = request.mode && isIndexMode(*request.mode);
    PngImage image = decodeImage(file, {.keyToAlpha = true, .expandPalette = !keepsIndices});
    removeLoss(converted.losses, kKeyColorLoss);
    if (!keepsIndices) {
        removeLoss(converted.losses, kPaletteLoss);
    }
    if (request.keepColors) {
        applyOrientation(image, facts.orientation);
        removeLoss(converted.losses, kOrientationLoss);
    }
    checkPadding(request.rotation == kQuarterTurn ? image.width : image.height, request);
    const Samples samples = {image.width, image.height, kindOf(image.colorType), image.samples,
                             image.paletteAlpha};
    const MadeSurface made =
        makeSurface(samples, {.mode = request.mode.value_or(defaultMode(image, request.alphaOnly)),
                              .background = request.background,
                              .dither = request.dither,
                              .alphaOnly = request.alphaOnly,
                              .rotation = request.rotation,
                              .rowAlignment = request.rowAlignment});
    if (made.lostAlpha) {
        converted.losses.push_back({kAlphaLoss, "translucent pixels became opaque"});
    }
    converted.surface = made.file;
    return converted;
}

ConvertedImage convertChecked(ByteView file, const PngFacts& facts,
                              const ConversionRequest& request) {
    const bool isAsPngslab = !request.mode && !request.keepColors;
    ConvertedImage converted =
        isAsPngslab ? convertAsPngslab(file, facts, request) : convertSamples(file, facts, request);
    const bool hasIndices = isAsPngslab || (request.mode && isIndexMode(*request.mode));
    if (request.palette && hasIndices && facts.colorType == kIndexedType) {
        converted.palette = paletteBytes(facts.palette, facts.transparency);
        removeLoss(converted.losses, kPaletteLoss);
        removeLoss(converted.losses, kAlphaLoss); // the palette file has the alpha
    }
    return converted;
}

} // namespace

std::string optionsText(const ConversionRequest& request) {
    const auto number = [](uint64_t value) { return std::to_string(value); };
    return "mode " + (request.mode ? number(static_cast<uint32_t>(*request.mode)) : "-") +
           ", background " + (request.background ? number(*request.background) : "-") +
           ", dither " + number(static_cast<uint32_t>(request.dither)) + ", alphaonly " +
           number(request.alphaOnly) + ", keep-colors " + number(request.keepColors) +
           ", palette " + number(request.palette) + ", rotation " + number(request.rotation) +
           ", row-alignment " + number(request.rowAlignment);
}

PngImage decodeImage(ByteView file, const PngChanges& changes) {
    std::optional<PngImage> image = decodeAccepted(file, changes);
    return image ? *std::move(image) : decodeByLibrary(file, changes);
}

ConvertedImage convertImage(ByteView file, const ConversionRequest& request) {
    if (file.empty()) {
        reject("not-png", "the file is empty");
    }
    const PngFacts facts = factsOf(file);
    if (facts.pixels() > request.maxPixels) {
        reject("too-large",
               "more pixels than --max-pixels allows: " + std::to_string(facts.pixels()));
    }
    try {
        return convertChecked(file, facts, request);
    } catch (const RejectedImage&) {
        throw;
    } catch (const Rejection& rejection) {
        reject("mode", rejection.what());
    }
}
