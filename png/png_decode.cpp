// The checks of a PNG file in order: signature, header, then chunk by chunk. The full pass also stores
// the content of the chunks in the surface. All state is on the stack.
//
// Each check returns its fault. The decoder always knows the current chunk, so that the record of a fault is written in
// one place, after the last check, and only if the caller requests it.
#include "png/png_decode.h"

#include "inflate/src/streams.h"
#include "png/internal/png_decoder.h"
#include "png/internal/png_rows.h"
#include "png/png_crc32.h"
#include "src/ds_surface.h"

#include <bit>
#include <cstring>
#include <iterator>

using namespace png_detail;

namespace {

constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

uint32_t load_big_endian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
           uint32_t{bytes[3]};
}

// ---- Chunks

// Chunk types are compared without the case of their letters.
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

constexpr uint32_t kLengthSize = 4; // the type, the data and the CRC follow
constexpr uint32_t kTypeSize = 4;
constexpr uint32_t kCrcSize = 4;
constexpr uint32_t kFrameSize = kLengthSize + kTypeSize + kCrcSize;

struct chunk_t {
    uint32_t index;  // 1 for the header
    uint64_t offset; // of the length field, in the file
    uint32_t type;   // letter case ignored
    bool ancillary;
    const uint8_t* name; // the type as in the file; null if the file ends before the frame does
    const uint8_t* data;
    uint32_t length; // of the data
    uint32_t storedCrc, actualCrc;

    uint64_t size() const { return uint64_t{kFrameSize} + length; }
};

// Reads the next chunk, which starts at `bytes`. `remaining` is the number of bytes to the end of the file.
fault_t read_chunk(const uint8_t* bytes, uint64_t remaining, chunk_t* chunk) {
    ++chunk->index;
    chunk->name = nullptr;
    chunk->length = 0;
    if (remaining == 0) {
        return fault_t::end_chunk_missing;
    }
    if (remaining < kFrameSize) {
        return fault_t::chunk_frame_truncated;
    }
    chunk->length = load_big_endian(bytes);
    chunk->name = bytes + kLengthSize;
    if (remaining < chunk->size()) {
        return fault_t::chunk_truncated;
    }
    chunk->type = load_big_endian(chunk->name) & ~kLetterCaseBits;
    chunk->ancillary = (chunk->name[0] & 0x20) != 0;
    chunk->data = chunk->name + kTypeSize;
    chunk->storedCrc = load_big_endian(chunk->data + chunk->length);
    chunk->actualCrc = png_crc32(chunk->name, uint64_t{kTypeSize} + chunk->length, 0);
    return chunk->storedCrc == chunk->actualCrc ? fault_t::none : fault_t::chunk_crc;
}

// ---- The header

constexpr uint32_t kIhdrLength = 13;
constexpr uint16_t kMaxPaletteSize = 256;

enum color_type_t : uint8_t { kGray = 0, kRgb = 2, kIndexed = 3, kGrayAlpha = 4, kRgba = 6 };

// The properties of a color type.
struct color_rules_t {
    uint32_t validDepths; // the sum of the valid bit depths; 0: an invalid type
    DsColorMode colorMode;
    uint32_t samplesPerPixel;
    uint16_t paletteSize;
};

// The only supported depth.
constexpr uint8_t kBitDepth = 8;
constexpr uint32_t kBytesPerSample = kBitDepth / 8;

constexpr color_rules_t kColorRules[] = {
    {1 + 2 + 4 + 8 + 16, DsColorMode::I8, 1, kMaxPaletteSize},
    {},
    {8 + 16, DsColorMode::RGB888, 3, 0},
    {1 + 2 + 4 + 8, DsColorMode::I8, 1, 0}, // PLTE sets the palette size
    {8 + 16, DsColorMode::AI88, 2, kMaxPaletteSize},
    {},
    {8 + 16, DsColorMode::ARGB8888, 4, 0},
};

uint32_t bytes_per_pixel(const png_info_t& info) {
    return kColorRules[info.colorType].samplesPerPixel * kBytesPerSample;
}

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

// Checks the header and sets the fields that depend on the color type.
fault_t read_header(const chunk_t& chunk, png_info_t* info) {
    if (chunk.type != kIhdr) {
        return fault_t::header_missing;
    }
    if (chunk.length != kIhdrLength) {
        return fault_t::header_length;
    }
    read_header_fields(chunk.data, info);
    if (info->width == 0 || info->height == 0) {
        return fault_t::size_zero;
    }
    if (info->colorType >= std::size(kColorRules) ||
        kColorRules[info->colorType].validDepths == 0) {
        return fault_t::color_type;
    }
    const color_rules_t& rules = kColorRules[info->colorType];
    if (!is_valid_depth(rules, info->bitDepth)) {
        return fault_t::bit_depth;
    }
    info->colorMode = rules.colorMode;
    info->paletteSize = rules.paletteSize;
    if (info->compressionMethod != 0) {
        return fault_t::compression_method;
    }
    if (info->filterMethod != 0) {
        return fault_t::filter_method;
    }
    if (info->interlaceMethod > 1) {
        return fault_t::interlace_method;
    }
    if (info->bitDepth != kBitDepth) {
        return fault_t::bit_depth_unsupported;
    }
    return info->interlaceMethod == 0 ? fault_t::none : fault_t::interlace_unsupported;
}

// ---- One decoding call

struct decoder_t {
    png_info_t* info;
    DsSurface* surface;            // null in the header pass
    const image_data_sink_t* sink; // null unless it receives the image data instead of the surface
    chunk_t chunk;                 // the current or the last one
    uint32_t rawSize;              // bytes of the filtered rows, see png_detail::filtered_size()
    bool idatSeen;
    uint64_t imageDataSize; // of the IDAT chunks so far
    int32_t inflateResult;
    inflate_detail::fault_t inflateFault;
    inflate_t inflate;
    bitstream_t input;
};

uint64_t raw_offset(const decoder_t& decoder) {
    return decoder.surface->getDataSize() - decoder.rawSize;
}

// Sets the output of inflate to the tail of the surface's pixel buffer.
fault_t prepare_pixels(decoder_t* decoder) {
    decoder->rawSize = filtered_size(*decoder->info);
    inflate_process(&decoder->inflate, nullptr);
    if (decoder->surface == nullptr || decoder->sink != nullptr) {
        return fault_t::none;
    }
    uint8_t* const pixels = decoder->surface->getPixels();
    if (pixels == nullptr) {
        return fault_t::pixel_buffer_missing;
    }
    if (decoder->surface->getDataSize() < decoder->rawSize) {
        return fault_t::pixel_buffer_too_small;
    }
    decoder->inflate.out = pixels + raw_offset(*decoder);
    decoder->inflate.outAvailable = decoder->rawSize;
    return fault_t::none;
}

uint8_t* palette_entry(const DsSurface& surface, uint32_t index) {
    return surface.getPalette() + uint64_t{index} * (3U + surface.getPaletteHasAlpha());
}

bool is_gray(const png_info_t& info) {
    return info.colorType == kGray || info.colorType == kGrayAlpha;
}

fault_t store_palette(decoder_t* decoder, const chunk_t& chunk) {
    if (decoder->info->paletteSize != 0) {
        return is_gray(*decoder->info) ? fault_t::palette_in_gray_image : fault_t::palette_repeated;
    }
    if (chunk.length % 3 != 0 || chunk.length > 3 * kMaxPaletteSize) {
        return fault_t::palette_length;
    }
    decoder->info->paletteSize = static_cast<uint16_t>(chunk.length / 3);
    if (decoder->surface == nullptr) {
        return fault_t::none;
    }
    // Kept on purpose: a suggested palette in an image of type 2 or 6 is rejected here, because
    // surfaces of their modes have no palette buffer.
    const DsSurface& surface = *decoder->surface;
    if (surface.getPaletteSize() < decoder->info->paletteSize) {
        return fault_t::palette_too_large;
    }
    if (surface.getPalette() == nullptr) {
        return fault_t::palette_buffer_missing;
    }
    for (uint32_t i = 0; i < decoder->info->paletteSize; ++i) {
        const uint8_t* const rgb = chunk.data + uint64_t{3} * i;
        uint8_t* const entry = palette_entry(surface, i);
        entry[0] = rgb[2];
        entry[1] = rgb[1];
        entry[2] = rgb[0];
    }
    return fault_t::none;
}

fault_t store_palette_alpha(decoder_t* decoder, const chunk_t& chunk) {
    if (chunk.length > decoder->info->paletteSize) {
        return fault_t::transparency_length;
    }
    decoder->info->paletteHasAlpha = 1;
    if (decoder->surface == nullptr) {
        return fault_t::none;
    }
    if (decoder->surface->getPaletteHasAlpha() == 0) {
        return fault_t::palette_without_alpha;
    }
    for (uint32_t i = 0; i < chunk.length; ++i) {
        palette_entry(*decoder->surface, i)[3] = chunk.data[i];
    }
    return fault_t::none;
}

// Kept on purpose: the key colors of types 0 and 2 change the color mode, but no pixel.
fault_t apply_key_color(decoder_t* decoder, const chunk_t& chunk, DsColorMode modeWithAlpha) {
    constexpr uint32_t kKeySampleSize = 2;

    const uint32_t samples = kColorRules[decoder->info->colorType].samplesPerPixel;
    if (chunk.length != samples * kKeySampleSize) {
        return fault_t::key_color_length;
    }
    decoder->info->colorMode = modeWithAlpha;
    return fault_t::none;
}

fault_t process_transparency(decoder_t* decoder, const chunk_t& chunk) {
    if (decoder->idatSeen) {
        return fault_t::transparency_after_image_data;
    }
    switch (decoder->info->colorType) {
    case kGray:
        return apply_key_color(decoder, chunk, DsColorMode::AI88);
    case kRgb:
        return apply_key_color(decoder, chunk, DsColorMode::ARGB8888);
    case kIndexed:
        return store_palette_alpha(decoder, chunk);
    default:
        return fault_t::transparency_beside_alpha;
    }
}

int32_t inflate_piece(decoder_t* decoder, const uint8_t* data, uint32_t size) {
    if (decoder->sink != nullptr) {
        const image_data_sink_t& sink = *decoder->sink;
        return sink.process(sink.context, data, size, &decoder->inflateFault);
    }
    decoder->input.data = data;
    decoder->input.available = size;
    return inflate_detail::process(&decoder->inflate, &decoder->input, &decoder->inflateFault);
}

fault_t process_image_data(decoder_t* decoder, const chunk_t& chunk) {
    if (chunk.length < kZlibHeaderSize) { // in later chunks, too
        return fault_t::image_data_length;
    }
    const uint32_t skipped = decoder->idatSeen ? 0 : kZlibHeaderSize;
    decoder->idatSeen = true;
    if (decoder->surface == nullptr) {
        return fault_t::none;
    }
    if (decoder->info->colorType == kIndexed && decoder->info->paletteSize == 0) {
        return fault_t::image_data_before_palette;
    }
    decoder->imageDataSize += chunk.length;
    decoder->inflateResult = inflate_piece(decoder, chunk.data + skipped, chunk.length - skipped);
    switch (decoder->inflateResult) {
    case kInflateNeedsOutput:
        return fault_t::image_data_overflow;
    case kInflateInvalid:
        return fault_t::image_data_invalid;
    default:
        return fault_t::none;
    }
}

fault_t process_chunk(decoder_t* decoder, const chunk_t& chunk) {
    switch (chunk.type) {
    case kPlte:
        return store_palette(decoder, chunk);
    case kTrns:
        return process_transparency(decoder, chunk);
    case kIdat:
        return process_image_data(decoder, chunk);
    default:
        if (chunk.ancillary) {
            return fault_t::none;
        }
        return chunk.type == kIhdr ? fault_t::header_repeated : fault_t::critical_chunk_unknown;
    }
}

// Processes every chunk from `offset` up to the end chunk. Data after that is ignored.
fault_t process_chunks(decoder_t* decoder, const uint8_t* file, uint64_t size, uint64_t offset) {
    chunk_t& chunk = decoder->chunk;
    for (;;) {
        chunk.offset = offset;
        fault_t fault = read_chunk(file + offset, size - offset, &chunk);
        if (fault != fault_t::none || chunk.type == kIend) {
            return fault;
        }
        fault = process_chunk(decoder, chunk);
        if (fault != fault_t::none) {
            return fault;
        }
        offset += chunk.size();
    }
}

// Checks, after the last chunk, that nothing is missing.
fault_t check_complete(const decoder_t& decoder) {
    if (!decoder.idatSeen) {
        return fault_t::image_data_missing;
    }
    if (decoder.inflateResult != kInflateDone) {
        return fault_t::image_data_truncated;
    }
    if (decoder.info->colorType == kIndexed && decoder.info->paletteSize == 0) {
        return fault_t::palette_missing;
    }
    return fault_t::none;
}

// Grayscale images get a palette in which entry i is the gray i.
fault_t fill_gray_ramp(const DsSurface& surface) {
    const uint32_t count = surface.getPaletteSize();
    if (count > 0 && surface.getPalette() == nullptr) {
        return fault_t::gray_ramp_buffer_missing;
    }
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t* const entry = palette_entry(surface, i);
        std::memset(entry, static_cast<int>(i), 3);
        if (surface.getPaletteHasAlpha() != 0) {
            entry[3] = 255;
        }
    }
    return fault_t::none;
}

fault_t convert_pixels(const decoder_t& decoder) {
    const DsSurface& surface = *decoder.surface;
    const png_info_t& info = *decoder.info;
    if (is_gray(info)) {
        const fault_t fault = fill_gray_ramp(surface);
        if (fault != fault_t::none) {
            return fault;
        }
    }
    return png_convert_rows({.buffer = surface.getPixels(),
                             .bufferSize = surface.getDataSize(),
                             .sourceOffset = raw_offset(decoder),
                             .stride = surface.getStride(),
                             .width = info.width,
                             .height = info.height,
                             .bytesPerPixel = bytes_per_pixel(info)});
}

// All checks in order.
fault_t run(decoder_t* decoder, const uint8_t* file, uint64_t size) {
    constexpr uint64_t kSignatureSize = sizeof kSignature;
    if (size < kSignatureSize || std::memcmp(file, kSignature, kSignatureSize) != 0) {
        return fault_t::signature;
    }
    chunk_t& header = decoder->chunk;
    header.offset = kSignatureSize;
    fault_t fault = read_chunk(file + kSignatureSize, size - kSignatureSize, &header);
    if (fault != fault_t::none) {
        return fault;
    }
    fault = read_header(header, decoder->info);
    if (fault != fault_t::none) {
        return fault;
    }
    fault = prepare_pixels(decoder);
    if (fault != fault_t::none) {
        return fault;
    }
    fault = process_chunks(decoder, file, size, kSignatureSize + header.size());
    if (fault != fault_t::none) {
        return fault;
    }
    fault = check_complete(*decoder);
    const bool hasRows = decoder->surface != nullptr && decoder->sink == nullptr;
    return fault == fault_t::none && hasRows ? convert_pixels(*decoder) : fault;
}

// The only place that writes a record.
void write_record(const decoder_t& decoder, fault_t fault, fault_record_t* record) {
    const chunk_t& chunk = decoder.chunk;
    *record = {};
    record->fault = fault;
    record->chunkIndex = chunk.index;
    record->chunkOffset = chunk.offset;
    record->chunkLength = chunk.length;
    if (chunk.name != nullptr) {
        std::memcpy(record->chunkType, chunk.name, kTypeSize);
    }
    if (fault == fault_t::chunk_crc) {
        record->storedCrc = chunk.storedCrc;
        record->actualCrc = chunk.actualCrc;
    }
    record->inflateFault = decoder.inflateFault;
    if (decoder.sink == nullptr) {
        const uint64_t left = uint64_t{decoder.input.available} * 8 + decoder.input.bitCount;
        record->imageDataOffset = (decoder.imageDataSize * 8 - left) / 8;
    }
}

int32_t finish(decoder_t* decoder, const uint8_t* file, uint64_t size, fault_record_t* record) {
    const fault_t fault = run(decoder, file, size);
    if (record != nullptr) {
        write_record(*decoder, fault, record);
    }
    return result_of(fault);
}

} // namespace

namespace png_detail {

uint64_t full_filtered_size(const png_info_t& info) {
    return (uint64_t{info.width} * bytes_per_pixel(info) + 1) * info.height;
}

uint32_t filtered_size(const png_info_t& info) {
    return static_cast<uint32_t>(full_filtered_size(info));
}

int32_t decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface,
               fault_record_t* record) {
    decoder_t decoder = {};
    decoder.info = info;
    decoder.surface = surface;
    return finish(&decoder, data, size, record);
}

int32_t decode_into_sink(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface,
                         const image_data_sink_t& sink, fault_record_t* record) {
    decoder_t decoder = {};
    decoder.info = info;
    decoder.surface = surface;
    decoder.sink = &sink;
    return finish(&decoder, data, size, record);
}

} // namespace png_detail

int32_t png_decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface) {
    return decode(data, size, info, surface, nullptr);
}
