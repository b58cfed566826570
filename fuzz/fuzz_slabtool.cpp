// slabtool with arbitrary inputs. Its verdicts agree with the decoder. The decoder accepts prepared images, with the
// same pixels. No surface file makes slabtool, or the header for C, read outside the file. Converted surfaces are
// consistent, and without options they equal those of pngslab.
#include "fuzz/chunk_names.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/png_mutator.h"
#include "png/png_decode.h"
#include "png/surface_from_png.h"
#include "quillory_surface.h"
#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "tests/slabtool/made_surface.h"
#include "tools/slabtool/images/accepted_image.h"
#include "tools/slabtool/images/png_facts.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_reason.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/image_to_surface.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/embed_text.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>
#include <new>
#include <optional>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

constexpr uint64_t kMaxPixels = 1 << 17;
// The first byte is the kind of the input. If it is a PNG file to convert, a request comes before the file.
constexpr uint8_t kIsSurface = 1, kKeyToAlpha = 2, kExpandPalette = 4, kIsConverted = 8,
                  kIsSamples = 16;
constexpr size_t kRequestBytes = 12;

size_t bytesBeforePng(uint8_t decisions) {
    return 1 + ((decisions & kIsConverted) != 0 ? kRequestBytes : 0);
}

constexpr DsColorMode kPixelModes[] = {
    DsColorMode::ARGB8888, DsColorMode::RGB888, DsColorMode::RGB565, DsColorMode::ARGB1555,
    DsColorMode::ARGB4444, DsColorMode::I8,     DsColorMode::AI88,   DsColorMode::A8};

// ---- check

bool isAffordable(ByteView png) {
    png_info_t info = {};
    return png_decode(png.data(), png.size(), &info, nullptr) != kPngOk ||
           uint64_t{info.width} * info.height <= kMaxPixels;
}

bool decoderAccepts(ByteView png, bool alphaOnly) {
    const std::unique_ptr<DsSurface> surface(
        surface_from_png(png.data(), png.size(), alphaOnly, 0));
    return surface != nullptr;
}

// Of the images with too many pixels, these few are judged all the same. Each takes milliseconds.
bool isJudgedAtAnySize(ByteView png) {
    return png.size() % 64 == 0;
}

// Nothing if there are not enough addresses for a surface: then `check` reports too little memory.
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
            (!reason->text.empty() && reason->text.find("does not know") == std::string::npos));
    if (!isAffordable(png) && !isJudgedAtAnySize(png)) {
        return;
    }
    const auto verdict = judge(png, false);
    const auto alphaVerdict = judge(png, true);
    if (isAffordable(png)) {
        require(verdict && alphaVerdict);
        require(decoderAccepts(png, false) == !reason && verdict->isAccepted == !reason);
        require(decoderAccepts(png, true) == alphaVerdict->isAccepted);
    }
}

// ---- prepare

// The samples in the surface's order.
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
                            samples.data() + y * image.rowBytes(), image.rowBytes()) == 0);
    }
}

// Whether the converter accepts the file. If so, the pixels must be those of the image.
bool isAcceptedAs(ByteView file, const PngImage& image) {
    const std::unique_ptr<DsSurface> surface(surface_from_png(file.data(), file.size(), false, 0));
    if (surface != nullptr) {
        checkSurface(*surface, image);
    }
    return surface != nullptr;
}

bool survives(const PngImage& image, const PngEffort& effort) {
    const Bytes file = encodePng(image, effort);
    require(decodePng(file).samples == image.samples);
    return isAcceptedAs(file, image);
}

void checkPreparation(ByteView png, const PngChanges& changes) {
    PngImage image = {};
    try {
        image = decodePng(png, changes);
    } catch (const Rejection&) {
        return;
    }
    require(image.samples.size() == image.rowBytes() * image.height);
    require(!changes.expandPalette || image.colorType != kIndexedType);
    require(!changes.keyToAlpha || !image.keyColor);
    if (uint64_t{image.width} * image.height <= kMaxPixels) {
        survives(image, kEfforts[png.size() % kEfforts.size()]);
        require(survives(image, kStored));
        if (!changes.expandPalette && !changes.keyToAlpha && !hasChunkNameInOtherCase(png)) {
            isAcceptedAs(png, image);
        }
    }
}

// ---- info, view and compare, and the header for C

template <DsColorMode mode>
uint32_t argb(const uint8_t* pixel) {
    const uint32_t stored = ds_detail::loadPixel<mode>(pixel);
    ds_detail::DsColor color = ds_detail::ModeTraits<mode>::decode(stored, {});
    if constexpr (mode == DsColorMode::ARGB1555) {
        color.alpha = (stored >> 15) * 255; // drawing operations do not read this bit
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

void checkSurfaceFile(ByteView file) {
    const SurfaceFacts facts = inspectSurface(file, file.size());
    for (const auto* problems : {&facts.faults, &facts.oddities}) {
        require(std::find(problems->begin(), problems->end(), "") == problems->end());
    }
    quillory_surface surface;
    const quillory_verdict verdict = quillory_surface_open(&surface, file.data(), file.size());
    bool isRejected = false;
    try {
        checkPixels(SurfacePicture(Bytes(file.begin(), file.end())), surface);
    } catch (const Rejection&) {
        isRejected = true;
    }
    require(isRejected == !facts.faults.empty());
    require(isRejected == (verdict != QUILLORY_ACCEPTED));
}

// A path can have any bytes.
void checkTexts(ByteView bytes) {
    const auto isControl = [](char c) { return static_cast<uint8_t>(c) < 0x20; };
    const std::string text(bytes.begin(), bytes.end());
    JsonObject object;
    object.addText("text", text);
    for (const std::string& shown : {object.text(), printable(text)}) {
        require(std::none_of(shown.begin(), shown.end(), isControl));
    }
    require(shellWord(text).size() >= text.size());
}

// ---- convert

// Exactly kRequestBytes.
ConversionRequest takeRequest(FuzzInput& input) {
    const uint8_t flags = input.take<uint8_t>();
    const uint8_t mode = input.take<uint8_t>();
    const uint8_t dither = input.take<uint8_t>();
    const uint8_t rotation = input.take<uint8_t>();
    const uint32_t background = input.take<uint32_t>();
    const uint16_t alignment = input.take<uint16_t>();
    const uint16_t pixels = input.take<uint16_t>();
    ConversionRequest request;
    if ((flags & 1) != 0) {
        request.mode = kPixelModes[mode % std::size(kPixelModes)];
    }
    if ((flags & 2) != 0) {
        request.background = background % (1 << 24);
    }
    request.dither = static_cast<Dither>(dither % 3);
    request.alphaOnly = (flags & 4) != 0;
    request.keepColors = (flags & 8) != 0;
    request.palette = (flags & 16) != 0;
    request.rotation = rotation % 4 * 90;
    request.rowAlignment = 1U + alignment % ((flags & 32) != 0 ? 4096 : 1);
    request.maxPixels = pixels;
    return request;
}

struct Conversion {
    std::optional<ConvertedImage> image;
    Finding rejection;
};

Conversion converted(ByteView png, const ConversionRequest& request) {
    try {
        return {convertImage(png, request), {}};
    } catch (const RejectedImage& rejected) {
        return {std::nullopt, rejected.reason()};
    }
}

bool areEqual(const Conversion& a, const Conversion& b) {
    if (!a.image || !b.image) {
        return !a.image && !b.image && a.rejection.code == b.rejection.code &&
               a.rejection.text == b.rejection.text;
    }
    return a.image->surface == b.image->surface && a.image->palette == b.image->palette &&
           a.image->wasFixed == b.image->wasFixed &&
           a.image->losses.size() == b.image->losses.size();
}

void checkConverted(ByteView png, const ConvertedImage& image, const ConversionRequest& request) {
    const SurfaceFacts facts = inspectSurface(image.surface, image.surface.size());
    require(facts.header && facts.faults.empty() && facts.oddities.empty());
    const SurfaceHeader& header = *facts.header;
    require(uint64_t{header.width} * header.height <= request.maxPixels);
    require(header.rotation == (request.rotation == 90 ? 90 : 0));
    require(header.stride % request.rowAlignment == 0);
    require(!request.mode || header.colorMode() == *request.mode);
    require(image.palette.empty() || (request.palette && image.palette.size() <= 4 * size_t{256}));
    require(image.palette.empty() || factsOf(png).colorType == kIndexedType);
}

// Neither rotation nor alignment changes a picture.
void checkSamePicture(const Bytes& file, const Bytes& other) {
    const SurfacePicture picture(file), same(other);
    require(picture.width() == same.width() && picture.height() == same.height());
    const uint32_t size = bytesPerPixel(picture.header().colorMode());
    for (uint32_t y = 0; y < picture.height(); ++y) {
        for (uint32_t x = 0; x < picture.width(); ++x) {
            require(std::memcmp(picture.pixel(x, y), same.pixel(x, y), size) == 0);
        }
    }
}

void checkAgainstDecoder(ByteView png, const ConversionRequest& request) {
    const ConversionRequest simple = {.alphaOnly = request.alphaOnly,
                                      .rotation = request.rotation,
                                      .maxPixels = request.maxPixels};
    const Conversion conversion = converted(png, simple);
    const std::unique_ptr<DsSurface> surface(surface_from_png(
        png.data(), png.size(), simple.alphaOnly, static_cast<int32_t>(simple.rotation)));
    if (surface != nullptr) {
        Bytes expected(surface->serialize(nullptr));
        surface->serialize(expected.data());
        require(conversion.image && conversion.image->surface == expected);
    }
    require(!conversion.image || conversion.image->wasFixed == (surface == nullptr));
}

void checkDecoders(ByteView png, const PngChanges& changes) {
    const std::optional<PngImage> image = decodeAccepted(png, changes);
    if (!image || hasChunkNameInOtherCase(png)) {
        return;
    }
    try {
        const PngImage expected = decodePng(png, changes);
        require(image->width == expected.width && image->height == expected.height);
        require(image->colorType == expected.colorType && image->samples == expected.samples);
        require(image->palette == expected.palette);
        require(image->paletteAlpha == expected.paletteAlpha);
    } catch (const Rejection&) {
        return; // libpng rejects some images that pngslab accepts
    }
}

void checkConversion(ByteView png, const ConversionRequest& request) {
    const Conversion conversion = converted(png, request);
    require(areEqual(conversion, converted(png, request)));
    if (!conversion.image) {
        require(!conversion.rejection.code.empty() && !conversion.rejection.text.empty());
    }
    if (factsOf(png).pixels() > request.maxPixels) {
        require(!conversion.image);
        return;
    }
    if (conversion.image) {
        checkConverted(png, *conversion.image, request);
        ConversionRequest upright = request;
        upright.rotation = 0;
        upright.rowAlignment = 1;
        const Conversion other = converted(png, upright);
        require(other.image.has_value());
        checkSamePicture(conversion.image->surface, other.image->surface);
    }
    checkAgainstDecoder(png, request);
    for (const bool expandPalette : {false, true}) {
        checkDecoders(png, {.keyToAlpha = true, .expandPalette = expandPalette});
    }
}

// ---- Samples to modes of two bytes per pixel

// The max difference of a level from its channel's value, in units of 1/255 level.
uint32_t toleranceOf(Dither dither) {
    switch (dither) {
    case Dither::None:
        return 127;
    case Dither::Ordered:
        return 254;
    case Dither::FloydSteinberg:
        return 256; // half a level of received errors, half a level to the nearest level, and rounding
    }
    return 0;
}

void checkSamples(FuzzInput& input) {
    const PackedMode& mode = kPackedModes[input.below(kPackedModes.size())];
    const auto dither = static_cast<Dither>(input.below(3));
    const uint32_t width = 1 + input.below(40);
    const GuardedBytes bytes = input.rest();
    Picture picture = {width,
                       static_cast<uint32_t>(bytes.size() / 4 / width),
                       Samples::Kind::Rgba,
                       Bytes(bytes.begin(), bytes.end()),
                       {}};
    if (picture.height == 0) {
        return;
    }
    picture.bytes.resize(size_t{4} * width * picture.height);
    const MadeSurface surface = picture.made({.mode = mode.mode, .dither = dither});
    const uint8_t* sample = picture.bytes.data();
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < width; ++x, sample += 4) {
            const uint32_t stored = storedPixel(surface, 2, x, y);
            for (size_t channel = 0; channel < 3; ++channel) {
                const int64_t want = int64_t{sample[channel]} * mode.maxima[channel];
                const int64_t got = int64_t{mode.field(stored, channel)} * 255;
                require(std::abs(want - got) <= toleranceOf(dither));
            }
            const uint32_t alpha = stored & mode.alphaMask;
            if (sample[3] == 0 || sample[3] == 255) {
                require(alpha == (sample[3] == 0 ? 0 : mode.alphaMask));
            }
        }
    }
}

// ---- embed

void checkIdentifier(const std::string& identifier) {
    const auto isWord = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    };
    require(identifier.find("__") == std::string::npos);
    require(identifier.empty() || (isWord(identifier.front()) && isWord(identifier.back())));
    require(std::all_of(identifier.begin(), identifier.end(),
                        [&](char c) { return isWord(c) || c == '_'; }));
    require(identifierIn(identifier) == identifier);
}

// With any file names, sources have only ASCII, complete strings, and all bytes.
void checkEmbedding(ByteView bytes) {
    const std::string name(bytes.begin(), bytes.end());
    checkIdentifier(identifierIn(name));
    const EmbeddedSet set = {
        "set",
        "set",
        {{name, name, "set_a_surface", bytes.size(), 0, 1, 1, Bytes(bytes.begin(), bytes.end())}}};
    for (const std::string& text : {embedHeader(set), embedIndex(set), embedArraysAndIndex(set),
                                    embedArraysInAssembly(set)}) {
        require(std::all_of(text.begin(), text.end(),
                            [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
        require(std::count(text.begin(), text.end(), '"') % 2 == 0);
        require(text.find('?') == std::string::npos);
    }
    const std::string arrays = embedArraysAndIndex(set);
    size_t at = arrays.find("] = {") + 5;
    for (const uint8_t byte : bytes) {
        at = arrays.find("0x", at);
        require(at != std::string::npos && std::stoul(arrays.substr(at, 4), nullptr, 16) == byte);
        at += 4;
    }
    require(arrays.find("0x", at) == std::string::npos ||
            arrays.find("};", at) < arrays.find("0x", at));
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    return size > 0 && (data[0] & (kIsSurface | kIsSamples)) != 0
               ? LLVMFuzzerMutate(data, size, maxSize)
               : mutatePng(data, size, maxSize, seed, bytesBeforePng(size > 0 ? data[0] : 0));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    const uint8_t decisions = input.take<uint8_t>();
    if ((decisions & kIsSamples) != 0) {
        checkSamples(input);
        return 0;
    }
    if ((decisions & (kIsSurface | kIsConverted)) == kIsConverted) {
        const ConversionRequest request = takeRequest(input);
        checkConversion(input.rest(), request);
        return 0;
    }
    const GuardedBytes file = input.rest();
    if ((decisions & kIsSurface) != 0) {
        checkSurfaceFile(file);
        checkTexts(file);
        checkEmbedding(file);
    } else {
        checkVerdicts(file);
        checkPreparation(file, {.keyToAlpha = (decisions & kKeyToAlpha) != 0,
                                .expandPalette = (decisions & kExpandPalette) != 0});
    }
    return 0;
}
