// Writes a PNG file into memory with libpng.
#include "tests/support/png_writer.h"

#include "tests/support/png_maker.h"

#include <png.h>
#include <stdexcept>

namespace {

void append_bytes(png_structp context, png_bytep bytes, size_t count) {
    auto& file = *static_cast<byte_vector*>(png_get_io_ptr(context));
    file.insert(file.end(), bytes, bytes + count);
}

void flush_nothing(png_structp) {}

[[noreturn]] void throw_error(png_structp, png_const_charp message) {
    throw std::runtime_error(message);
}

void write_chunks(png_structp context, png_infop info, const written_image_t& image) {
    png_set_IHDR(context, info, image.width, image.height, image.bit_depth, image.color_type,
                 image.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    std::vector<png_color> colors;
    for (size_t i = 0; i + 2 < image.palette.size(); i += 3) {
        colors.push_back({image.palette[i], image.palette[i + 1], image.palette[i + 2]});
    }
    if (!colors.empty()) {
        png_set_PLTE(context, info, colors.data(), static_cast<int>(colors.size()));
    }
    png_write_info(context, info);
    if (!image.trns.empty()) {
        const png_byte name[] = {'t', 'R', 'N', 'S', 0};
        png_write_chunk(context, name, image.trns.data(), image.trns.size());
    }
}

} // namespace

size_t packed_row_bytes(const written_image_t& image) {
    return (size_t{image.width} * samples_per_pixel(image.color_type) * image.bit_depth + 7) / 8;
}

written_image_t noise_image(uint8_t color_type, uint8_t bit_depth, bool interlaced, uint32_t width,
                            uint32_t height) {
    written_image_t image = {color_type, bit_depth, interlaced, width, height, {}};
    image.rows = make_bytes(data_kind::noise, packed_row_bytes(image) * height, 7);
    if (color_type == kIndexed) {
        image.palette = make_bytes(data_kind::noise, size_t{3} << bit_depth, 8);
    }
    return image;
}

std::vector<uint32_t> samples_of(const written_image_t& image) {
    std::vector<uint32_t> samples;
    const size_t row_bytes = packed_row_bytes(image);
    const size_t row_samples = size_t{image.width} * samples_per_pixel(image.color_type);
    for (size_t row = 0; row < image.height; ++row) {
        for (size_t bit = 0; bit < row_samples * image.bit_depth; bit += image.bit_depth) {
            uint32_t sample = 0;
            for (size_t at = bit; at < bit + image.bit_depth; ++at) {
                sample = sample << 1 | (image.rows[row * row_bytes + at / 8] >> (7 - at % 8) & 1U);
            }
            samples.push_back(sample);
        }
    }
    return samples;
}

byte_vector libpng_encode(const written_image_t& image) {
    byte_vector file;
    png_structp context =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, throw_error, nullptr);
    png_infop info = png_create_info_struct(context);
    png_set_write_fn(context, &file, append_bytes, flush_nothing);
    write_chunks(context, info, image);
    const int passes = png_set_interlace_handling(context);
    const size_t row_bytes = packed_row_bytes(image);
    for (size_t row = 0; row < image.height * static_cast<size_t>(passes); ++row) {
        png_write_row(context, image.rows.data() + row % image.height * row_bytes);
    }
    png_write_end(context, nullptr);
    png_destroy_write_struct(&context, &info);
    return file;
}
