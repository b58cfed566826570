// Reads PNG files in the browser, in place of tools/slabtool/images/png_image.cpp. A library of JavaScript decodes the
// rows (worker/png_library.js); this file converts their samples as libpng does.
#include "tools/slabtool/images/png_image.h"

#include "web/module/js_bytes.h"
#include "web/module/png_chunks.h"

#include <algorithm>
#include <emscripten/val.h>
#include <string>
#include <utility>

using emscripten::val;

namespace {

// With this many pixels no size in bytes reaches 2^32, so none wraps: 16-bit samples in four channels have 8 bytes.
constexpr uint64_t kMaxPixels = uint64_t{1} << 28;

// Rejects a declared size that the file is too small to fill, before anything of that size is allocated.
void checkDeclaredSize(const ImageChunks& image, size_t fileBytes) {
    const uint64_t bits = uint64_t{image.width} * channelsOf(image.colorType) * image.depth;
    const uint64_t rowBytes = (bits + 7) / 8;
    if (rowBytes > fileBytes * kMaxExpansion / image.height) {
        throw Rejection("the image data are too short for the declared size");
    }
    if (uint64_t{image.width} * image.height > kMaxPixels) {
        throw Rejection("the image has more pixels than the page can decode");
    }
}

// Unpacks samples of less than 8 bits. Gray samples are widened, indices keep their value.
Bytes unpacked(const Bytes& packed, const ImageChunks& image) {
    const size_t rowBytes = (size_t{image.width} * image.depth + 7) / 8;
    const uint32_t mask = (1U << image.depth) - 1;
    const uint32_t perByte = 8U / image.depth;
    const uint32_t scale = image.colorType == kIndexedType ? 1 : 255 / mask;
    Bytes samples(size_t{image.width} * image.height);
    uint8_t* sample = samples.data();
    for (uint32_t y = 0; y < image.height; ++y) {
        const uint8_t* const row = packed.data() + y * rowBytes;
        for (uint32_t x = 0; x < image.width; ++x) {
            const uint32_t shift = (perByte - 1 - x % perByte) * image.depth;
            *sample++ = static_cast<uint8_t>((row[x / perByte] >> shift & mask) * scale);
        }
    }
    return samples;
}

struct Key {
    uint32_t samples[3]; // at the depth of the image
};

Key keyOf(const ImageChunks& image) {
    const uint32_t mask = (1U << image.depth) - 1;
    Key key = {};
    const size_t count = image.transparency.size() / 2;
    for (size_t i = 0; i < 3; ++i) {
        const ByteView sample = image.transparency.subspan(count == 3 ? i * 2 : 0, 2);
        key.samples[i] = (uint32_t{sample[0]} << 8 | sample[1]) & mask;
    }
    return key;
}

// The samples at the depth of the file, each in 8 or 16 bits; low depths are packed.
struct RawSamples {
    Bytes bytes;
    uint32_t bytesPerSample;

    uint32_t at(size_t index) const {
        return bytesPerSample == 1
                   ? bytes[index]
                   : uint32_t{bytes[index * 2 + 1]} << 8 | bytes[index * 2]; // little-endian
    }
};

RawSamples readRows(const ImageChunks& image) {
    const val result = val::module_property("decodeRows")(bytesToJs(image.file));
    if (result["error"].isString()) {
        throw Rejection(result["error"].as<std::string>());
    }
    return {bytesFromJs(result["bytes"]), image.depth == 16 ? 2U : 1U};
}

// Adds an alpha channel that is 0 for pixels of the key color. Like libpng, it compares samples before they lose bits.
PngImage withAlphaForKey(const RawSamples& raw, const ImageChunks& source, PngImage image) {
    const size_t channels = channelsOf(source.colorType);
    const Key key = keyOf(source);
    const uint32_t scale = source.depth < 8 ? 255 / ((1U << source.depth) - 1) : 1;
    Bytes samples;
    samples.reserve(image.samples.size() / channels * (channels + 1));
    for (size_t at = 0; at < image.samples.size(); at += channels) {
        bool isKey = true;
        for (size_t i = 0; i < channels; ++i) {
            const uint32_t sample = source.depth < 8 ? image.samples[at + i] : raw.at(at + i);
            isKey = isKey && sample == key.samples[i] * scale;
            samples.push_back(image.samples[at + i]);
        }
        samples.push_back(isKey ? 0 : 255);
    }
    image.samples = std::move(samples);
    image.colorType = channels == 1 ? kGrayAlphaType : kRgbaType;
    return image;
}

// Like libpng: indices beyond the palette become opaque black.
PngImage withColors(const ImageChunks& source, PngImage image) {
    const size_t channels = source.transparency.empty() ? 3 : 4;
    Bytes samples;
    samples.reserve(image.samples.size() * channels);
    for (const uint8_t index : image.samples) {
        const auto color =
            index < source.palette.size() ? source.palette[index] : std::array<uint8_t, 3>{};
        samples.insert(samples.end(), color.begin(), color.end());
        if (channels == 4) {
            samples.push_back(index < source.transparency.size() ? source.transparency[index]
                                                                 : 255);
        }
    }
    image.samples = std::move(samples);
    image.colorType = channels == 4 ? kRgbaType : kRgbType;
    return image;
}

void keepTransparency(const ImageChunks& source, PngImage& image) {
    if (source.colorType == kIndexedType) {
        image.palette = source.palette;
        image.paletteAlpha.assign(source.transparency.begin(), source.transparency.end());
    } else if (!source.transparency.empty()) {
        const Key key = keyOf(source);
        image.keyColor.emplace();
        std::transform(std::begin(key.samples), std::end(key.samples), image.keyColor->begin(),
                       [&](uint32_t sample) { return asEightBits(sample, source.depth); });
    }
}

Bytes eightBitSamples(const RawSamples& raw, const ImageChunks& image) {
    if (image.depth < 8) {
        return unpacked(raw.bytes, image);
    }
    if (image.depth == 8) {
        return raw.bytes;
    }
    Bytes samples(raw.bytes.size() / 2);
    for (size_t i = 0; i < samples.size(); ++i) {
        samples[i] = asEightBits(raw.at(i), 16);
    }
    return samples;
}

} // namespace

const char* const kPngLibrary = "the page's PNG library";

PngImage decodePng(ByteView file, const PngChanges& changes) {
    const ImageChunks source = readChunks(file);
    checkDeclaredSize(source, file.size());
    const RawSamples raw = readRows(source);
    PngImage image = {
        source.width, source.height, source.colorType, eightBitSamples(raw, source), {}, {}, {}};
    if (changes.expandPalette && image.colorType == kIndexedType) {
        return withColors(source, std::move(image));
    }
    if (changes.keyToAlpha && image.colorType != kIndexedType && !source.transparency.empty()) {
        if (!source.isKeyApplied) {
            return image;
        }
        return withAlphaForKey(raw, source, std::move(image));
    }
    keepTransparency(source, image);
    return image;
}

void testPng(ByteView file) {
    decodePng(file);
}
