// The checks of a PNG file in their order: signature, header, then chunk by chunk; and in the full
// pass what the chunks bring, on its way into the surface. All state lives in the call's own frame.
#include "png/png_decode.h"

#include "inflate/src/streams.h"
#include "png/png_crc32.h"
#include "png/png_rows.h"
#include "src/ds_surface.h"

#include <bit>
#include <cstring>
#include <iterator>

namespace {

constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

uint32_t load_big_endian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
           uint32_t{bytes[3]};
}

// ---- Chunks

// A chunk's type with the case of its letters ignored, which is how the known names are compared.
constexpr uint32_t kLetterCaseBits = 0x20202020;

consteval uint32_t chunk_type(const char (&name)[5]) {
    uint32_t type = 0;
    for (int i = 0; i < 4; ++i) {
        type = type << 8 | static_cast<uint32_t>(name[i]);
    }
    return type & ~kLetterCaseBits;
}

constexpr uint32_t kIhdr = chunk_type("IHDR");
constexpr uint32_t kPlte = chunk_type("PLTE");
constexpr uint32_t kTrns = chunk_type("tRNS");
constexpr uint32_t kIdat = chunk_type("IDAT");
constexpr uint32_t kIend = chunk_type("IEND");

constexpr uint32_t kLengthSize = 4; // then follow the type, the data, and the CRC
constexpr uint32_t kTypeSize = 4;
constexpr uint32_t kCrcSize = 4;

struct chunk_t {
    uint32_t type; // letter case ignored
    bool ancillary;
    const uint8_t* data;
    uint32_t length; // of the data

    uint64_t size() const { return uint64_t{kLengthSize} + kTypeSize + length + kCrcSize; }
};

// Reads the chunk at the start of `remaining` bytes; false if it is cut short or its CRC is wrong.
bool read_chunk(const uint8_t* bytes, uint64_t remaining, chunk_t* chunk) {
    if (remaining < kLengthSize) {
        return false;
    }
    chunk->length = load_big_endian(bytes);
    if (remaining < chunk->size()) {
        return false;
    }
    const uint8_t* const type = bytes + kLengthSize;
    chunk->type = load_big_endian(type) & ~kLetterCaseBits;
    chunk->ancillary = (type[0] & 0x20) != 0;
    chunk->data = type + kTypeSize;
    return png_crc32(type, uint64_t{kTypeSize} + chunk->length, 0) ==
           load_big_endian(chunk->data + chunk->length);
}

// ---- The header

constexpr uint32_t kIhdrLength = 13;
constexpr uint16_t kMaxPaletteSize = 256;

enum color_type_t : uint8_t { kGrey = 0, kRgb = 2, kIndexed = 3, kGreyAlpha = 4, kRgba = 6 };

// What follows from a colour type.
struct color_rules_t {
    uint32_t validDepths; // the sum of the bit depths that the PNG standard allows; 0: no such type
    DsColorMode colorMode;
    uint16_t paletteSize;
    uint32_t channels; // bytes a pixel at 8 bits a sample
};

constexpr color_rules_t kColorRules[] = {
    {1 + 2 + 4 + 8 + 16, DsColorMode::I8, kMaxPaletteSize, 1},
    {},
    {8 + 16, DsColorMode::RGB888, 0, 3},
    {1 + 2 + 4 + 8, DsColorMode::I8, 0, 1}, // PLTE sets the palette size
    {8 + 16, DsColorMode::AI88, kMaxPaletteSize, 2},
    {},
    {8 + 16, DsColorMode::ARGB8888, 0, 4},
};

void read_header_fields(const uint8_t* data, png_info_t* info) {
    info->width = load_big_endian(data);
    info->height = load_big_endian(data + 4);
    info->bitDepth = data[8];
    info->colorType = data[9];
    info->compressionMethod = data[10];
    info->filterMethod = data[11];
    info->interlaceMethod = data[12];
    info->paletteHasAlpha = 0;
    info->paletteSize = 0;
}

bool is_valid_depth(const color_rules_t& rules, uint8_t depth) {
    return std::has_single_bit(depth) && (rules.validDepths & depth) != 0;
}

// Checks the header and sets what follows from the colour type.
int32_t read_header(const chunk_t& chunk, png_info_t* info) {
    if (chunk.type != kIhdr || chunk.length != kIhdrLength) {
        return kPngMalformed;
    }
    read_header_fields(chunk.data, info);
    if (info->width == 0 || info->height == 0 || info->colorType >= std::size(kColorRules)) {
        return kPngMalformed;
    }
    const color_rules_t& rules = kColorRules[info->colorType];
    if (!is_valid_depth(rules, info->bitDepth)) {
        return kPngMalformed;
    }
    info->colorMode = rules.colorMode;
    info->paletteSize = rules.paletteSize;
    if (info->compressionMethod != 0 || info->filterMethod != 0 || info->interlaceMethod > 1) {
        return kPngMalformed;
    }
    return info->bitDepth == 8 && info->interlaceMethod == 0 ? kPngOk : kPngUnsupported;
}

// ---- One decoding call

struct decoder_t {
    png_info_t* info;
    DsSurface* surface; // null in the header pass
    uint32_t rawSize;   // bytes of the filtered lines, cut to 32 bits as the inflate record counts
    bool idatSeen;
    int32_t inflateResult;
    inflate_t inflate;
    bitstream_t input;
};

uint64_t raw_offset(const decoder_t& decoder) {
    return decoder.surface->getDataSize() - decoder.rawSize;
}

// Makes the tail of the surface's pixel block the place of the inflated lines.
int32_t prepare_pixels(decoder_t* decoder) {
    const png_info_t& info = *decoder->info;
    decoder->rawSize = (info.width * kColorRules[info.colorType].channels + 1) * info.height;
    inflate_process(&decoder->inflate, nullptr);
    if (decoder->surface == nullptr) {
        return kPngOk;
    }
    uint8_t* const pixels = decoder->surface->getPixels();
    if (pixels == nullptr || decoder->surface->getDataSize() < decoder->rawSize) {
        return kPngDoesNotFit;
    }
    decoder->inflate.out = pixels + raw_offset(*decoder);
    decoder->inflate.outAvailable = decoder->rawSize;
    return kPngOk;
}

uint8_t* palette_entry(const DsSurface& surface, uint32_t index) {
    return surface.getPalette() + uint64_t{index} * (3U + surface.getPaletteHasAlpha());
}

int32_t take_palette(decoder_t* decoder, const chunk_t& chunk) {
    if (decoder->info->paletteSize != 0 || chunk.length % 3 != 0 ||
        chunk.length > 3 * kMaxPaletteSize) {
        return kPngMalformed;
    }
    decoder->info->paletteSize = static_cast<uint16_t>(chunk.length / 3);
    if (decoder->surface == nullptr) {
        return kPngOk;
    }
    // Kept on purpose: a suggested palette in an image of type 2 or 6 ends here, since surfaces of
    // their modes have no palette block.
    const DsSurface& surface = *decoder->surface;
    if (surface.getPaletteSize() < decoder->info->paletteSize || surface.getPalette() == nullptr) {
        return kPngDoesNotFit;
    }
    for (uint32_t i = 0; i < decoder->info->paletteSize; ++i) {
        const uint8_t* const rgb = chunk.data + uint64_t{3} * i;
        uint8_t* const entry = palette_entry(surface, i);
        entry[0] = rgb[2];
        entry[1] = rgb[1];
        entry[2] = rgb[0];
    }
    return kPngOk;
}

int32_t take_palette_alpha(decoder_t* decoder, const chunk_t& chunk) {
    if (chunk.length > decoder->info->paletteSize) {
        return kPngMalformed;
    }
    decoder->info->paletteHasAlpha = 1;
    if (decoder->surface == nullptr) {
        return kPngOk;
    }
    if (decoder->surface->getPaletteHasAlpha() == 0) {
        return kPngDoesNotFit;
    }
    for (uint32_t i = 0; i < chunk.length; ++i) {
        palette_entry(*decoder->surface, i)[3] = chunk.data[i];
    }
    return kPngOk;
}

// Kept on purpose: the key colours of types 0 and 2 change the colour mode, but no pixel.
int32_t take_transparency(decoder_t* decoder, const chunk_t& chunk) {
    if (decoder->idatSeen) {
        return kPngMalformed;
    }
    switch (decoder->info->colorType) {
    case kGrey:
        if (chunk.length != 2) {
            return kPngMalformed;
        }
        decoder->info->colorMode = DsColorMode::AI88;
        return kPngOk;
    case kRgb:
        if (chunk.length != 6) {
            return kPngMalformed;
        }
        decoder->info->colorMode = DsColorMode::ARGB8888;
        return kPngOk;
    case kIndexed:
        return take_palette_alpha(decoder, chunk);
    default:
        return kPngMalformed;
    }
}

int32_t take_image_data(decoder_t* decoder, const chunk_t& chunk) {
    constexpr uint32_t kZlibHeaderSize = 2; // in the first chunk only, and not looked at

    if (chunk.length < kZlibHeaderSize) {
        return kPngMalformed;
    }
    const uint32_t skipped = decoder->idatSeen ? 0 : kZlibHeaderSize;
    decoder->idatSeen = true;
    if (decoder->surface == nullptr) {
        return kPngOk;
    }
    if (decoder->info->colorType == kIndexed && decoder->info->paletteSize == 0) {
        return kPngMalformed;
    }
    decoder->input.data = chunk.data + skipped;
    decoder->input.available = chunk.length - skipped;
    decoder->inflateResult = inflate_process(&decoder->inflate, &decoder->input);
    const bool goesOn =
        decoder->inflateResult == kInflateDone || decoder->inflateResult == kInflateNeedsInput;
    return goesOn ? kPngOk : kPngMalformed;
}

int32_t take_chunk(decoder_t* decoder, const chunk_t& chunk) {
    switch (chunk.type) {
    case kPlte:
        return take_palette(decoder, chunk);
    case kTrns:
        return take_transparency(decoder, chunk);
    case kIdat:
        return take_image_data(decoder, chunk);
    default:
        // A second header counts as unknown.
        return chunk.ancillary ? kPngOk : kPngUnsupported;
    }
}

// Takes every chunk up to the end chunk; what follows that is ignored.
int32_t walk_chunks(decoder_t* decoder, const uint8_t* bytes, uint64_t remaining) {
    for (;;) {
        chunk_t chunk;
        if (!read_chunk(bytes, remaining, &chunk)) {
            return kPngMalformed;
        }
        if (chunk.type == kIend) {
            return kPngOk;
        }
        const int32_t result = take_chunk(decoder, chunk);
        if (result != kPngOk) {
            return result;
        }
        bytes += chunk.size();
        remaining -= chunk.size();
    }
}

// Checks that nothing is missing once all chunks have been taken.
int32_t check_complete(const decoder_t& decoder) {
    if (!decoder.idatSeen || decoder.inflateResult != kInflateDone) {
        return kPngMalformed;
    }
    if (decoder.info->colorType == kIndexed && decoder.info->paletteSize == 0) {
        return kPngMalformed;
    }
    return kPngOk;
}

// Greyscale images get a palette in which every index is its own grey.
int32_t fill_grey_ramp(const DsSurface& surface) {
    const uint32_t count = surface.getPaletteSize();
    if (count > 0 && surface.getPalette() == nullptr) {
        return kPngDoesNotFit;
    }
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t* const entry = palette_entry(surface, i);
        std::memset(entry, static_cast<int>(i), 3);
        if (surface.getPaletteHasAlpha() != 0) {
            entry[3] = 255;
        }
    }
    return kPngOk;
}

int32_t convert_pixels(const decoder_t& decoder) {
    const DsSurface& surface = *decoder.surface;
    const png_info_t& info = *decoder.info;
    if (info.colorType == kGrey || info.colorType == kGreyAlpha) {
        const int32_t result = fill_grey_ramp(surface);
        if (result != kPngOk) {
            return result;
        }
    }
    return png_convert_rows({.block = surface.getPixels(),
                             .blockSize = surface.getDataSize(),
                             .sourceOffset = raw_offset(decoder),
                             .stride = surface.getStride(),
                             .width = info.width,
                             .height = info.height,
                             .channels = kColorRules[info.colorType].channels});
}

} // namespace

int32_t png_decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface) {
    constexpr uint64_t kSignatureSize = sizeof kSignature;
    if (size < kSignatureSize || std::memcmp(data, kSignature, kSignatureSize) != 0) {
        return kPngMalformed;
    }
    chunk_t header;
    if (!read_chunk(data + kSignatureSize, size - kSignatureSize, &header)) {
        return kPngMalformed;
    }
    int32_t result = read_header(header, info);
    if (result != kPngOk) {
        return result;
    }

    decoder_t decoder = {};
    decoder.info = info;
    decoder.surface = surface;
    result = prepare_pixels(&decoder);
    if (result != kPngOk) {
        return result;
    }
    const uint64_t walked = kSignatureSize + header.size();
    result = walk_chunks(&decoder, data + walked, size - walked);
    if (result != kPngOk) {
        return result;
    }
    result = check_complete(decoder);
    return result == kPngOk && surface != nullptr ? convert_pixels(decoder) : result;
}
