// Combines parts into PNG files.
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

byte_vector chunk_bytes(const png_chunk_t& chunk) {
    byte_vector bytes;
    append_big_endian(bytes, static_cast<uint32_t>(chunk.data.size()));
    bytes.insert(bytes.end(), chunk.name.begin(), chunk.name.end());
    append(bytes, chunk.data);
    const uLong crc = crc32(0, bytes.data() + 4, static_cast<uInt>(bytes.size() - 4));
    append_big_endian(bytes, static_cast<uint32_t>(crc) ^ chunk.crc_flips);
    return bytes;
}

byte_vector png_file(const std::vector<png_chunk_t>& chunks) {
    byte_vector file{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    for (const png_chunk_t& chunk : chunks) {
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

byte_vector zlib_wrapped(const byte_vector& raw, const byte_vector& content) {
    byte_vector bytes{0x78, 0x9C};
    append(bytes, raw);
    const uLong checksum = adler32(1, content.data(), static_cast<uInt>(content.size()));
    append_big_endian(bytes, static_cast<uint32_t>(checksum));
    return bytes;
}

png_maker::png_maker()
    : m_filters{kNone, kSub, kUp, kAverage, kPaeth} {}

png_maker png() {
    return {};
}

png_maker& png_maker::image(uint8_t color_type, uint32_t width, uint32_t height) {
    m_type = color_type;
    m_width = width;
    m_height = height;
    if (color_type == kIndexed) {
        palette(256);
    }
    return declared_type(color_type).declared_size(width, height).pixels(data_kind::noise, 1);
}

png_maker& png_maker::declared_size(uint32_t width, uint32_t height) {
    m_declared_width = width;
    m_declared_height = height;
    return *this;
}

png_maker& png_maker::declared_type(uint8_t color_type) {
    m_declared_type = color_type;
    return *this;
}

png_maker& png_maker::bit_depth(uint8_t bits) {
    m_bit_depth = bits;
    return *this;
}

png_maker& png_maker::compression_method(uint8_t method) {
    m_compression_method = method;
    return *this;
}

png_maker& png_maker::filter_method(uint8_t method) {
    m_filter_method = method;
    return *this;
}

png_maker& png_maker::interlace_method(uint8_t method) {
    m_interlace_method = method;
    return *this;
}

png_maker& png_maker::pixels(const byte_vector& samples) {
    m_samples = samples;
    return *this;
}

png_maker& png_maker::pixels(data_kind kind, uint32_t seed) {
    const size_t pixel_count = static_cast<size_t>(m_width) * m_height;
    return pixels(make_bytes(kind, pixel_count * samples_per_pixel(m_type), seed));
}

png_maker& png_maker::filters(const std::vector<uint8_t>& row_filters) {
    m_filters = row_filters;
    return *this;
}

png_maker& png_maker::rows(const byte_vector& filtered) {
    m_rows = filtered;
    return *this;
}

png_maker& png_maker::compression(const deflate_settings_t& settings) {
    m_settings = settings;
    return *this;
}

png_maker& png_maker::deflate_stream(const byte_vector& raw) {
    m_raw = raw;
    return *this;
}

png_maker& png_maker::idat_bytes(const byte_vector& bytes) {
    m_idat_bytes = bytes;
    return *this;
}

png_maker& png_maker::idat_split_at(const std::vector<size_t>& splits) {
    m_splits = splits;
    return *this;
}

png_maker& png_maker::palette(size_t entries, uint32_t seed) {
    return plte(make_bytes(data_kind::noise, entries * 3, seed));
}

png_maker& png_maker::plte(const byte_vector& data) {
    m_palette_chunks.clear();
    return another_plte(data);
}

png_maker& png_maker::another_plte(const byte_vector& data) {
    m_palette_chunks.push_back({"PLTE", data});
    return *this;
}

png_maker& png_maker::trns(const byte_vector& data) {
    m_palette_chunks.push_back({"tRNS", data});
    return *this;
}

png_maker& png_maker::chunk_before_palette(const png_chunk_t& chunk) {
    m_before_palette.push_back(chunk);
    return *this;
}

png_maker& png_maker::chunk_before_idat(const png_chunk_t& chunk) {
    m_before_idat.push_back(chunk);
    return *this;
}

png_maker& png_maker::chunk_between_idats(const png_chunk_t& chunk) {
    m_between_idats.push_back(chunk);
    return *this;
}

png_maker& png_maker::chunk_after_idat(const png_chunk_t& chunk) {
    m_after_idat.push_back(chunk);
    return *this;
}

byte_vector png_maker::filtered() const {
    const uint32_t pixel_bytes = samples_per_pixel(m_type);
    const size_t row_bytes = static_cast<size_t>(m_width) * pixel_bytes;
    return m_rows ? *m_rows : filter_rows(m_samples, row_bytes, pixel_bytes, m_filters);
}

byte_vector png_maker::raw_stream() const {
    if (m_raw) {
        return *m_raw;
    }
    return m_settings ? raw_deflate(filtered(), *m_settings)
                      : deflate_without_fixed_codes(filtered(), {});
}

byte_vector png_maker::image_header() const {
    byte_vector header;
    append_big_endian(header, m_declared_width);
    append_big_endian(header, m_declared_height);
    append(header, {m_bit_depth, m_declared_type, m_compression_method, m_filter_method,
                    m_interlace_method});
    return header;
}

byte_vector png_maker::image_data() const {
    return m_idat_bytes ? *m_idat_bytes : zlib_wrapped(raw_stream(), filtered());
}

std::vector<png_chunk_t> png_maker::idat_chunks() const {
    const byte_vector data = image_data();
    std::vector<png_chunk_t> chunks;
    size_t begin = 0;
    for (const size_t split : m_splits) {
        const size_t end = std::min(split, data.size());
        chunks.push_back({"IDAT", slice(data, begin, end - begin)});
        chunks.insert(chunks.end(), m_between_idats.begin(), m_between_idats.end());
        begin = end;
    }
    chunks.push_back({"IDAT", slice(data, begin, data.size())});
    return chunks;
}

std::vector<png_chunk_t> png_maker::chunks() const {
    std::vector<png_chunk_t> all{{"IHDR", image_header()}};
    for (const std::vector<png_chunk_t>& part :
         {m_before_palette, m_palette_chunks, m_before_idat, idat_chunks(), m_after_idat}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    all.push_back({"IEND", {}});
    return all;
}

png_chunk_t& chunk_named(std::vector<png_chunk_t>& chunks, const std::string& name) {
    const auto found =
        std::find_if(chunks.begin(), chunks.end(),
                     [&name](const png_chunk_t& chunk) { return chunk.name == name; });
    if (found == chunks.end()) {
        throw std::out_of_range("no chunk " + name);
    }
    return *found;
}

byte_vector with_correct_crcs(byte_vector file) {
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
