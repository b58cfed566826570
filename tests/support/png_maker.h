// Makes PNG files from named parts: valid ones, or with exactly one chosen error.
#pragma once

#include "tests/support/deflate_oracle.h"
#include "tests/support/test_bytes.h"

#include <string>

/// PNG's color types.
inline constexpr uint8_t kGray = 0, kRgb = 2, kIndexed = 3, kGrayAlpha = 4, kRgba = 6;
inline constexpr uint8_t kColorTypes[] = {kGray, kRgb, kIndexed, kGrayAlpha, kRgba};

/// PNG's row filters.
inline constexpr uint8_t kNone = 0, kSub = 1, kUp = 2, kAverage = 3, kPaeth = 4;

/// The prediction of a sample by the filters 0 to 4, from its neighbors.
int predict_sample(uint8_t filter, int left, int up, int up_left);

/// Bytes per pixel of `color_type` with 8 bits per sample.
uint32_t samples_per_pixel(uint8_t color_type);

struct png_chunk_t {
    std::string name;
    byte_vector data;
    uint32_t crc_flips = 0; ///< wrong bits of the CRC
};

/// A chunk with its length, name and CRC.
byte_vector chunk_bytes(const png_chunk_t& chunk);

/// A file of the signature and these chunks.
byte_vector png_file(const std::vector<png_chunk_t>& chunks);

/// Samples in filtered rows, each after its filter byte. The filters repeat as often as needed.
byte_vector filter_rows(const byte_vector& samples, size_t row_bytes, uint32_t pixel_bytes,
                        const std::vector<uint8_t>& filters);

/// A zlib header (`kZlibHeaderSize` bytes), the raw stream and a checksum.
byte_vector zlib_wrapped(const byte_vector& raw, const byte_vector& content);
inline constexpr size_t kZlibHeaderSize = 2;

/// Builds an image. Default: noise, with the filters in turn, compressed without fixed codes, in one IDAT
/// chunk; an indexed image has a palette of 256 random entries.
class png_maker {
public:
    png_maker();
    png_maker& image(uint8_t color_type, uint32_t width, uint32_t height);
    png_maker& gray(uint32_t width, uint32_t height) { return image(kGray, width, height); }
    png_maker& rgb(uint32_t width, uint32_t height) { return image(kRgb, width, height); }
    png_maker& indexed(uint32_t width, uint32_t height) { return image(kIndexed, width, height); }
    png_maker& gray_alpha(uint32_t width, uint32_t height) {
        return image(kGrayAlpha, width, height);
    }
    png_maker& rgba(uint32_t width, uint32_t height) { return image(kRgba, width, height); }

    // The fields of the header. They do not change the image data.
    png_maker& declared_size(uint32_t width, uint32_t height);
    png_maker& declared_type(uint8_t color_type);
    png_maker& bit_depth(uint8_t bits);
    png_maker& compression_method(uint8_t method);
    png_maker& filter_method(uint8_t method);
    png_maker& interlace_method(uint8_t method);

    png_maker& pixels(const byte_vector& samples);
    png_maker& pixels(data_kind kind, uint32_t seed);
    png_maker& filter(uint8_t row_filter) { return filters({row_filter}); }
    png_maker& filters(const std::vector<uint8_t>& row_filters);
    /// The uncompressed image data, with filter bytes.
    png_maker& rows(const byte_vector& filtered);
    /// zlib's settings. The result may have fixed codes.
    png_maker& compression(const deflate_settings_t& settings);
    png_maker& deflate_stream(const byte_vector& raw);
    /// All bytes of the IDAT chunks, instead of a zlib stream.
    png_maker& idat_bytes(const byte_vector& bytes);
    /// The offsets at which new IDAT chunks start, in ascending order.
    png_maker& idat_split_at(const std::vector<size_t>& splits);

    png_maker& palette(size_t entries, uint32_t seed = 1);
    png_maker& plte(const byte_vector& data);
    /// One more PLTE chunk after the existing ones.
    png_maker& another_plte(const byte_vector& data);
    png_maker& trns(const byte_vector& data);
    png_maker& chunk_before_palette(const png_chunk_t& chunk);
    png_maker& chunk_before_idat(const png_chunk_t& chunk);
    png_maker& chunk_between_idats(const png_chunk_t& chunk);
    png_maker& chunk_after_idat(const png_chunk_t& chunk);

    /// The samples in PNG's order, without filters.
    const byte_vector& samples() const { return m_samples; }
    /// The decompressed image data.
    byte_vector filtered() const;
    byte_vector raw_stream() const;
    byte_vector image_header() const;
    /// Bytes of all IDAT chunks.
    byte_vector image_data() const;
    std::vector<png_chunk_t> chunks() const;
    byte_vector bytes() const { return png_file(chunks()); }

private:
    std::vector<png_chunk_t> idat_chunks() const;

    uint8_t m_type = kGray;
    uint32_t m_width = 1, m_height = 1;
    uint8_t m_declared_type = kGray;
    uint32_t m_declared_width = 1, m_declared_height = 1;
    uint8_t m_bit_depth = 8, m_compression_method = 0, m_filter_method = 0, m_interlace_method = 0;
    byte_vector m_samples;
    std::vector<uint8_t> m_filters;
    std::optional<byte_vector> m_rows, m_raw, m_idat_bytes;
    std::optional<deflate_settings_t> m_settings;
    std::vector<size_t> m_splits;
    std::vector<png_chunk_t> m_before_palette, m_palette_chunks, m_before_idat, m_between_idats,
        m_after_idat;
};

png_maker png();

/// The chunk with the name `name` in a list.
png_chunk_t& chunk_named(std::vector<png_chunk_t>& chunks, const std::string& name);

/// Corrects the CRC of every complete chunk of a file.
byte_vector with_correct_crcs(byte_vector file);
