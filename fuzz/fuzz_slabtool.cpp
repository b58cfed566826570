// What slabtool reads: its words agree with the decoder's verdict, images that it prepares are
// taken with their pixels, and no surface file leads it, or the header for C, outside of the file.
#include "fuzz/fuzz_input.h"
#include "fuzz/png_mutator.h"
#include "png/png_decode.h"
#include "png/surface_from_png.h"
#include "quillory_surface.h"
#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_reason.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <new>
#include <optional>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

constexpr uint64_t kMaxPixels = 1 << 17;
constexpr size_t kDecisionBytes = 1; // in front of the file
constexpr uint8_t kIsSurface = 1, kKeyToAlpha = 2, kExpandPalette = 4;

// ---- check

bool isAffordable(ByteView png) {
    png_info_t info = {};
    return png_decode(png.data(), png.size(), &info, nullptr) != kPngOk ||
           uint64_t{info.width} * info.height <= kMaxPixels;
}

bool decoderTakes(ByteView png, bool alphaOnly) {
    const std::unique_ptr<DsSurface> surface(
        surface_from_png(png.data(), png.size(), alphaOnly, 0));
    return surface != nullptr;
}

// Nothing where not even addresses can be had for a surface: check says then that memory is short.
std::optional<PngVerdict> judge(ByteView png, bool alphaOnly) {
    try {
        return judgePng(png, alphaOnly);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

void checkVerdicts(ByteView png) {
    const auto reason = whyRejected(png);
    require(!reason ||
            (!reason->words.empty() && reason->words.find("does not know") == std::string::npos));
    const auto verdict = judge(png, false);
    const auto alphaVerdict = judge(png, true);
    if (isAffordable(png)) {
        require(verdict && alphaVerdict);
        require(decoderTakes(png, false) == !reason && verdict->isAccepted == !reason);
        require(decoderTakes(png, true) == alphaVerdict->isAccepted);
    }
}

// ---- prepare

// As the surface has them.
Bytes storedSamples(const PngImage& image) {
    Bytes samples = image.samples;
    if (image.colorType == kRgbType || image.colorType == kRgbaType) {
        for (size_t at = 0; at < samples.size(); at += channelsOf(image.colorType)) {
            std::swap(samples[at], samples[at + 2]);
        }
    }
    return samples;
}

void checkSurface(const DsSurface& surface, const PngImage& image) {
    const Bytes samples = storedSamples(image);
    require(static_cast<uint32_t>(surface.getWidth()) == image.width &&
            static_cast<uint32_t>(surface.getHeight()) == image.height);
    for (uint32_t y = 0; y < image.height; ++y) {
        require(std::memcmp(surface.getPixels() + y * surface.getStride(),
                            samples.data() + y * image.lineBytes(), image.lineBytes()) == 0);
    }
}

// Whether the converter takes the file; then it finds the image's pixels there.
bool isTakenAs(ByteView file, const PngImage& image) {
    const std::unique_ptr<DsSurface> surface(surface_from_png(file.data(), file.size(), false, 0));
    if (surface != nullptr) {
        checkSurface(*surface, image);
    }
    return surface != nullptr;
}

bool survives(const PngImage& image, const PngEffort& effort) {
    const Bytes file = encodePng(image, effort);
    require(decodePng(file).samples == image.samples);
    return isTakenAs(file, image);
}

void checkPreparation(ByteView png, const PngChanges& changes) {
    PngImage image = {};
    try {
        image = decodePng(png, changes);
    } catch (const Refusal&) {
        return;
    }
    require(image.samples.size() == image.lineBytes() * image.height);
    require(!changes.expandPalette || image.colorType != kIndexedType);
    require(!changes.keyToAlpha || !image.keyColor);
    if (uint64_t{image.width} * image.height <= kMaxPixels) {
        survives(image, kEfforts[png.size() % kEfforts.size()]);
        require(survives(image, kStored));
        if (!changes.expandPalette && !changes.keyToAlpha) {
            isTakenAs(png, image);
        }
    }
}

// ---- info, view and compare, and the header for C

template <DsColorMode mode>
uint32_t argb(const uint8_t* pixel) {
    const uint32_t stored = ds_detail::loadPixel<mode>(pixel);
    ds_detail::DsColor color = ds_detail::ModeTraits<mode>::decode(stored, {});
    if constexpr (mode == DsColorMode::ARGB1555) {
        color.alpha = (stored >> 15) * 255; // which drawing operations do not read
    }
    return color.alpha << 24 | color.red << 16 | color.green << 8 | color.blue;
}

using ArgbOf = uint32_t (*)(const uint8_t* pixel);
constexpr auto kArgbOf =
    ds_detail::makePixelModeTable<ArgbOf>([]<DsColorMode mode>() -> ArgbOf { return argb<mode>; });

void checkPixels(const SurfacePicture& picture, const quillory_surface& surface) {
    const uint32_t size = bytesPerPixel(picture.header().colorMode());
    require(quillory_surface_mode(&surface) == picture.header().mode);
    require(quillory_surface_rotation(&surface) == picture.header().rotation);
    require(quillory_surface_width(&surface) == picture.width());
    require(quillory_surface_height(&surface) == picture.height());
    for (const uint32_t x : {0U, picture.width() / 2, picture.width() - 1}) {
        for (const uint32_t y : {0U, picture.height() / 2, picture.height() - 1}) {
            const Bytes pixel(picture.pixel(x, y), picture.pixel(x, y) + size);
            require(quillory_surface_pixel(&surface, x, y) ==
                    kArgbOf.at(picture.header().mode)(pixel.data()));
        }
    }
}

void checkSurfaceFile(const Bytes& file) {
    const SurfaceFacts facts = inspectSurface(file, file.size());
    for (const auto* problems : {&facts.faults, &facts.oddities}) {
        require(std::find(problems->begin(), problems->end(), "") == problems->end());
    }
    quillory_surface surface;
    const quillory_verdict verdict = quillory_surface_open(&surface, file.data(), file.size());
    bool isRefused = false;
    try {
        checkPixels(SurfacePicture(file), surface);
    } catch (const Refusal&) {
        isRefused = true;
    }
    require(isRefused == !facts.faults.empty());
    require(isRefused == (verdict != QUILLORY_ACCEPTED));
}

// A path can be any bytes.
void checkTexts(const Bytes& bytes) {
    const auto isControl = [](char c) { return static_cast<uint8_t>(c) < 0x20; };
    const std::string text(bytes.begin(), bytes.end());
    Json object;
    addText(object, "text", text);
    for (const std::string& shown : {jsonLine(object), printable(text)}) {
        require(std::none_of(shown.begin(), shown.end(), isControl));
    }
    require(shellWord(text).size() >= text.size());
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    return size > 0 && (data[0] & kIsSurface) != 0
               ? LLVMFuzzerMutate(data, size, maxSize)
               : mutatePng(data, size, maxSize, seed, kDecisionBytes);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    const uint8_t decisions = input.take<uint8_t>();
    const Bytes file = input.rest();
    if ((decisions & kIsSurface) != 0) {
        checkSurfaceFile(file);
        checkTexts(file);
    } else {
        checkVerdicts(file);
        checkPreparation(file, {.keyToAlpha = (decisions & kKeyToAlpha) != 0,
                                .expandPalette = (decisions & kExpandPalette) != 0});
    }
    return 0;
}
