// Reads a PNG file in memory with libpng.
#include "tests/support/png_oracle.h"

#include <algorithm>
#include <csetjmp>
#include <png.h>

namespace {

struct file_reader_t {
    const byte_vector& file;
    size_t position = 0;
};

void read_bytes(png_structp context, png_bytep target, size_t count) {
    auto& reader = *static_cast<file_reader_t*>(png_get_io_ptr(context));
    if (count > reader.file.size() - reader.position) {
        png_error(context, "end of file");
    }
    std::copy_n(reader.file.begin() + static_cast<ptrdiff_t>(reader.position), count, target);
    reader.position += count;
}

void ignore_warning(png_structp, png_const_charp) {}

void leave_on_error(png_structp context, png_const_charp) {
    png_longjmp(context, 1);
}

void read_palette(png_structp context, png_infop info, byte_vector& palette) {
    png_colorp entries = nullptr;
    int count = 0;
    png_get_PLTE(context, info, &entries, &count);
    for (int i = 0; i < count; ++i) {
        append(palette, {entries[i].blue, entries[i].green, entries[i].red});
    }
}

void request_8_bits(png_structp context, png_infop info, oracle_reading reading) {
    const bool is_indexed = png_get_color_type(context, info) == PNG_COLOR_TYPE_PALETTE;
    png_set_scale_16(context);
    if (is_indexed) {
        png_set_packing(context);
    } else {
        png_set_expand_gray_1_2_4_to_8(context);
    }
    if (!is_indexed && reading == oracle_reading::with_key_alpha) {
        png_set_tRNS_to_alpha(context);
    }
}

// Errors of libpng jump out of this function, so it must have no objects with destructors.
void read_image(png_structp context, png_infop info, oracle_image_t& image,
                oracle_reading reading) {
    png_read_info(context, info);
    image.width = png_get_image_width(context, info);
    image.height = png_get_image_height(context, info);
    if (png_get_color_type(context, info) & PNG_COLOR_MASK_COLOR) {
        png_set_bgr(context);
    }
    if (reading != oracle_reading::as_stored) {
        request_8_bits(context, info, reading);
    }
    const int passes = png_set_interlace_handling(context);
    png_read_update_info(context, info);
    const size_t row_bytes = png_get_rowbytes(context, info);
    image.pixels.resize(row_bytes * image.height);
    for (uint32_t row = 0; row < image.height * static_cast<uint32_t>(passes); ++row) {
        png_read_row(context, image.pixels.data() + row % image.height * row_bytes, nullptr);
    }
    png_read_end(context, nullptr);
    read_palette(context, info, image.palette);
}

bool try_read_image(png_structp context, png_infop info, oracle_image_t& image,
                    oracle_reading reading) {
    if (setjmp(png_jmpbuf(context)) != 0) {
        return false;
    }
    read_image(context, info, image, reading);
    return true;
}

} // namespace

pixel_layout_t layout_of(const oracle_image_t& image) {
    const uint64_t row_bytes = image.pixels.size() / image.height;
    return {image.width, image.height, row_bytes, row_bytes / image.width};
}

std::optional<oracle_image_t> oracle_decode_png(const byte_vector& file, oracle_reading reading) {
    png_structp context =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, leave_on_error, ignore_warning);
    png_infop info = png_create_info_struct(context);
    file_reader_t reader{file};
    png_set_read_fn(context, &reader, read_bytes);
    oracle_image_t image{};
    const bool read = try_read_image(context, info, image, reading);
    png_destroy_read_struct(&context, &info, nullptr);
    return read ? std::optional(image) : std::nullopt;
}
