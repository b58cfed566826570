// Puts PNG files together from their pieces.
#include "tests/support/png_maker.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <zlib.h>

namespace {

void append_big_endian(byte_vector& bytes, uint32_t word) {
    for (const int shift : {24, 16, 8, 0}) {
        bytes.push_back(static_cast<uint8_t>(word >> shift));
    }
}

int paeth_predictor(int left, int up, int up_left) {
    const int estimate = left + up - up_left;
    const int to_left = std::abs(estimate - left);
    const int to_up = std::abs(estimate - up);
    const int to_up_left = std::abs(estimate - up_left);
    if (to_left <= to_up && to_left <= to_up_left) {
        return left;
    }
    return to_up <= to_up_left ? up : up_left;
}

size_t big_endian_at(const byte_vector& bytes, size_t at) {
    size_t word = 0;
    for (size_t i = 0; i < 4; ++i) {
        word = word << 8 | bytes[at + i];
    }
    return word;
}

void put_big_endian(byte_vector& bytes, size_t at, uint32_t word) {
    for (size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<uint8_t>(word >> (24 - 8 * i));
    }
}

} // namespace

int predict_sample(uint8_t filter, int left, int up, int up_left) {
    switch (filter) {
    case kSub:
        return left;
    case kUp:
        return up;
    case kAverage:
        return (left + up) / 2;
    case kPaeth:
        return paeth_predictor(left, up, up_left);
    default:
        return 0;
    }
}

uint32_t samples_per_pixel(uint8_t color_type) {
    switch (color_type) {
    case kRgb:
        return 3;
    case kGrayAlpha:
        return 2;
    case kRgba:
        return 4;
    default:
        return 1;
    }
}

byte_vector chunk_bytes(const png_chunk& chunk) {
    byte_vector bytes;
    append_big_endian(bytes, static_cast<uint32_t>(chunk.data.size()));
    bytes.insert(bytes.end(), chunk.name.begin(), chunk.name.end());
    append(bytes, chunk.data);
    const uLong crc = crc32(0, bytes.data() + 4, static_cast<uInt>(bytes.size() - 4));
    append_big_endian(bytes, static_cast<uint32_t>(crc) ^ chunk.crc_flips);
    return bytes;
}

byte_vector png_file(const std::vector<png_chunk>& chunks) {
    byte_vector file{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    for (const png_chunk& chunk : chunks) {
        append(file, chunk_bytes(chunk));
    }
    return file;
}

byte_vector filter_rows(const byte_vector& samples, size_t row_bytes, uint32_t pixel_bytes,
                        const std::vector<uint8_t>& filters) {
    byte_vector filtered;
    for (size_t begin = 0, row = 0; begin < samples.size(); begin += row_bytes, ++row) {
        const uint8_t filter = filters[row % filters.size()];
        filtered.push_back(filter);
        for (size_t x = 0; x < row_bytes; ++x) {
            const size_t at = begin + x;
            const bool has_left = x >= pixel_bytes;
            const int left = has_left ? samples[at - pixel_bytes] : 0;
            const int up = row > 0 ? samples[at - row_bytes] : 0;
            const int up_left = row > 0 && has_left ? samples[at - row_bytes - pixel_bytes] : 0;
            filtered.push_back(
                static_cast<uint8_t>(samples[at] - predict_sample(filter, left, up, up_left)));
        }
    }
    return filtered;
}

byte_vector zlib_wrapped(const byte_vector& raw, const byte_vector& plain) {
    byte_vector bytes{0x78, 0x9C};
    append(bytes, raw);
    const uLong checksum = adler32(1, plain.data(), static_cast<uInt>(plain.size()));
    append_big_endian(bytes, static_cast<uint32_t>(checksum));
    return bytes;
}

png_maker::png_maker()
    : mFilters{kNone, kSub, kUp, kAverage, kPaeth} {}

png_maker png() {
    return {};
}

png_maker& png_maker::image(uint8_t color_type, uint32_t width, uint32_t height) {
    mType = color_type;
    mWidth = width;
    mHeight = height;
    if (color_type == kIndexed) {
        palette(256);
    }
    return declared_type(color_type).declared_size(width, height).pixels(data_kind::noise, 1);
}

png_maker& png_maker::declared_size(uint32_t width, uint32_t height) {
    mDeclaredWidth = width;
    mDeclaredHeight = height;
    return *this;
}

png_maker& png_maker::declared_type(uint8_t color_type) {
    mDeclaredType = color_type;
    return *this;
}

png_maker& png_maker::bit_depth(uint8_t bits) {
    mBitDepth = bits;
    return *this;
}

png_maker& png_maker::compression_method(uint8_t method) {
    mCompressionMethod = method;
    return *this;
}

png_maker& png_maker::filter_method(uint8_t method) {
    mFilterMethod = method;
    return *this;
}

png_maker& png_maker::interlace_method(uint8_t method) {
    mInterlaceMethod = method;
    return *this;
}

png_maker& png_maker::pixels(const byte_vector& samples) {
    mSamples = samples;
    return *this;
}

png_maker& png_maker::pixels(data_kind kind, uint32_t seed) {
    const size_t pixel_count = static_cast<size_t>(mWidth) * mHeight;
    return pixels(make_bytes(kind, pixel_count * samples_per_pixel(mType), seed));
}

png_maker& png_maker::filters(const std::vector<uint8_t>& row_filters) {
    mFilters = row_filters;
    return *this;
}

png_maker& png_maker::rows(const byte_vector& filtered) {
    mRows = filtered;
    return *this;
}

png_maker& png_maker::compression(const deflate_settings& settings) {
    mSettings = settings;
    return *this;
}

png_maker& png_maker::deflate_stream(const byte_vector& raw) {
    mRaw = raw;
    return *this;
}

png_maker& png_maker::idat_bytes(const byte_vector& bytes) {
    mIdatBytes = bytes;
    return *this;
}

png_maker& png_maker::idat_split_at(const std::vector<size_t>& splits) {
    mSplits = splits;
    return *this;
}

png_maker& png_maker::palette(size_t entries, uint32_t seed) {
    return plte(make_bytes(data_kind::noise, entries * 3, seed));
}

png_maker& png_maker::plte(const byte_vector& data) {
    mPaletteChunks.clear();
    return another_plte(data);
}

png_maker& png_maker::another_plte(const byte_vector& data) {
    mPaletteChunks.push_back({"PLTE", data});
    return *this;
}

png_maker& png_maker::trns(const byte_vector& data) {
    mPaletteChunks.push_back({"tRNS", data});
    return *this;
}

png_maker& png_maker::chunk_before_palette(const png_chunk& chunk) {
    mBeforePalette.push_back(chunk);
    return *this;
}

png_maker& png_maker::chunk_before_idat(const png_chunk& chunk) {
    mBeforeIdat.push_back(chunk);
    return *this;
}

png_maker& png_maker::chunk_between_idats(const png_chunk& chunk) {
    mBetweenIdats.push_back(chunk);
    return *this;
}

png_maker& png_maker::chunk_after_idat(const png_chunk& chunk) {
    mAfterIdat.push_back(chunk);
    return *this;
}

byte_vector png_maker::filtered() const {
    const uint32_t pixel_bytes = samples_per_pixel(mType);
    const size_t row_bytes = static_cast<size_t>(mWidth) * pixel_bytes;
    return mRows ? *mRows : filter_rows(mSamples, row_bytes, pixel_bytes, mFilters);
}

byte_vector png_maker::raw_stream() const {
    if (mRaw) {
        return *mRaw;
    }
    return mSettings ? raw_deflate(filtered(), *mSettings)
                     : deflate_without_fixed_codes(filtered(), {});
}

byte_vector png_maker::image_header() const {
    byte_vector header;
    append_big_endian(header, mDeclaredWidth);
    append_big_endian(header, mDeclaredHeight);
    append(header, {mBitDepth, mDeclaredType, mCompressionMethod, mFilterMethod, mInterlaceMethod});
    return header;
}

byte_vector png_maker::image_data() const {
    return mIdatBytes ? *mIdatBytes : zlib_wrapped(raw_stream(), filtered());
}

std::vector<png_chunk> png_maker::idat_chunks() const {
    const byte_vector data = image_data();
    std::vector<png_chunk> chunks;
    size_t begin = 0;
    for (const size_t split : mSplits) {
        const size_t end = std::min(split, data.size());
        chunks.push_back({"IDAT", slice(data, begin, end - begin)});
        chunks.insert(chunks.end(), mBetweenIdats.begin(), mBetweenIdats.end());
        begin = end;
    }
    chunks.push_back({"IDAT", slice(data, begin, data.size())});
    return chunks;
}

std::vector<png_chunk> png_maker::chunks() const {
    std::vector<png_chunk> all{{"IHDR", image_header()}};
    for (const std::vector<png_chunk>& part :
         {mBeforePalette, mPaletteChunks, mBeforeIdat, idat_chunks(), mAfterIdat}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    all.push_back({"IEND", {}});
    return all;
}

png_chunk& chunk_named(std::vector<png_chunk>& chunks, const std::string& name) {
    const auto found = std::find_if(chunks.begin(), chunks.end(),
                                    [&name](const png_chunk& chunk) { return chunk.name == name; });
    if (found == chunks.end()) {
        throw std::out_of_range("no chunk " + name);
    }
    return *found;
}

byte_vector with_mended_crcs(byte_vector file) {
    for (size_t at = 8; at + 12 <= file.size();) {
        const size_t length = big_endian_at(file, at);
        if (length > file.size() - at - 12) {
            break;
        }
        const uLong crc = crc32(0, file.data() + at + 4, static_cast<uInt>(length + 4));
        put_big_endian(file, at + 8 + length, static_cast<uint32_t>(crc));
        at += 12 + length;
    }
    return file;
}
