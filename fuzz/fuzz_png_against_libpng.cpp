// png_decode compared with libpng: a file that both accept has the same pixels.
#include "fuzz/chunk_names.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/png_mutator.h"
#include "png/png_decode.h"
#include "src/ds_surface.h"

#include <csetjmp>
#include <png.h>

namespace {

constexpr uint64_t kMaxBytes = 1 << 19;

void* allocate(size_t byteCount) {
    return std::memset(allocateGuarded(byteCount), 0, byteCount);
}

struct Reader {
    const GuardedBytes* file;
    size_t position;
};

void readBytes(png_structp png, png_bytep target, size_t count) {
    auto* const reader = static_cast<Reader*>(png_get_io_ptr(png));
    if (count > reader->file->size() - reader->position) {
        png_error(png, "end of file");
    }
    std::memcpy(target, reader->file->data() + reader->position, count);
    reader->position += count;
}

void ignoreWarning(png_structp /*png*/, png_const_charp /*text*/) {}

void leave(png_structp png, png_const_charp /*text*/) {
    png_longjmp(png, 1);
}

// Reads the rows in the surface's layout. Returns false if libpng rejects the file. Errors jump, so this
// function has no objects with destructors.
bool readRows(png_structp png, png_infop info, GuardedBytes& pixels) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_read_info(png, info);
    if ((png_get_color_type(png, info) & PNG_COLOR_MASK_COLOR) != 0) {
        png_set_bgr(png);
    }
    png_read_update_info(png, info);
    const size_t rowBytes = png_get_rowbytes(png, info);
    const uint32_t height = png_get_image_height(png, info);
    pixels.resize(rowBytes * height);
    for (uint32_t row = 0; row < height; ++row) {
        png_read_row(png, pixels.data() + row * rowBytes, nullptr);
    }
    png_read_end(png, nullptr);
    return true;
}

bool decodeWithLibpng(const GuardedBytes& file, GuardedBytes& pixels) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, leave, ignoreWarning);
    png_infop info = png_create_info_struct(png);
    Reader reader = {&file, 0};
    png_set_read_fn(png, &reader, readBytes);
    const bool read = readRows(png, info, pixels);
    png_destroy_read_struct(&png, &info, nullptr);
    return read;
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    return mutatePng(data, size, maxSize, seed, 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const GuardedBytes file(bytes, bytes + size);
    png_info_t info = {};
    if (png_decode(file.data(), file.size(), &info, nullptr) != kPngOk ||
        uint64_t{info.width} * info.height > kMaxBytes / 4 || hasChunkNameInOtherCase(file)) {
        return 0;
    }
    DsSurface surface(static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), 0,
                      info.colorMode, info.paletteHasAlpha, info.paletteSize, allocate, freeGuarded,
                      1, info.height);
    GuardedBytes pixels;
    if (png_decode(file.data(), file.size(), &info, &surface) != kPngOk ||
        !decodeWithLibpng(file, pixels)) {
        return 0;
    }
    const size_t rowBytes = pixels.size() / info.height;
    require(rowBytes * info.height == pixels.size() && rowBytes <= surface.getStride());
    for (uint32_t y = 0; y < info.height; ++y) {
        require(std::memcmp(surface.getPixels() + y * surface.getStride(),
                            pixels.data() + y * rowBytes, rowBytes) == 0);
    }
    return 0;
}
