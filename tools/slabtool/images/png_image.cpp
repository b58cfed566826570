// Between setjmp and the end of its call nothing has a destructor that a jump would skip: the images and
// the message live in the caller's frame.
#include "tools/slabtool/images/png_image.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <new>
#include <png.h>
#include <zlib.h>

namespace {

constexpr uint32_t kMaxPixels = 0x7FFFFFFF; // each way: PNG's own limit

// Of all lines, each with its filter type: the product's decoder counts no further.
constexpr uint64_t kMaxFilteredBytes = 0xFFFFFFFF;

// Texts and suggested palettes may come any number of times, and libpng unpacks each to up to 8 MB. Of those, it keeps
// two fewer than this.
constexpr uint32_t kChunkCache = 3;

uint64_t filteredBytes(const PngImage& image) {
    return uint64_t{image.lineBytes() + 1} * image.height;
}

// ---- What libpng calls back

struct Transfer {
    ByteView input = {};
    size_t position = 0;
    bool keepsLines = true; // or each takes the place of the one before
    Bytes* output = nullptr;
    char message[128] = "";
};

void readBytes(png_structp png, png_bytep target, size_t count) {
    auto& transfer = *static_cast<Transfer*>(png_get_io_ptr(png));
    if (count > transfer.input.size() - transfer.position) {
        png_error(png, "the file ends too early");
    }
    std::memcpy(target, transfer.input.data() + transfer.position, count);
    transfer.position += count;
}

void writeBytes(png_structp png, png_bytep bytes, size_t count) {
    Bytes& output = *static_cast<Transfer*>(png_get_io_ptr(png))->output;
    bool fits = true;
    try {
        output.insert(output.end(), bytes, bytes + count);
    } catch (const std::bad_alloc&) {
        fits = false; // no exception may pass through libpng
    }
    if (!fits) {
        png_error(png, "not enough memory");
    }
}

// Never called; but without it libpng would take the transfer for a FILE.
void flushNothing(png_structp) {}

[[noreturn]] void leave(png_structp png, png_const_charp message) {
    auto& transfer = *static_cast<Transfer*>(png_get_error_ptr(png));
    std::strncpy(transfer.message, message, sizeof transfer.message - 1);
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

// libpng's two records of a file that is read or written; null if they could not be had, which no limit
// of memory that lets the program start brings about in a test.
struct Reader {
    png_structp png;
    png_infop info;

    explicit Reader(Transfer& transfer)
        : png(png_create_read_struct(PNG_LIBPNG_VER_STRING, &transfer, leave, ignoreWarning))
        , info(png_create_info_struct(png)) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct Writer {
    png_structp png;
    png_infop info;

    explicit Writer(Transfer& transfer)
        : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &transfer, leave, ignoreWarning))
        , info(png_create_info_struct(png)) {}
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&png, &info); }
};

// ---- Reading

// Fits the declared size to what the file can hold, before anything of that size is allocated.
void checkDeclaredSize(png_structp png, png_infop info, const Transfer& transfer) {
    const uint64_t rows = png_get_image_height(png, info);
    const uint64_t rowBytes = png_get_rowbytes(png, info);
    if (rowBytes > transfer.input.size() * kMaxExpansion / rows) {
        png_error(png, "the image data are too short for the declared size");
    }
}

uint8_t asEightBits(uint32_t sample, uint32_t depth) {
    if (depth == 16) {
        return static_cast<uint8_t>((sample * 255 + 32895) >> 16); // as png_set_scale_16 has it
    }
    return static_cast<uint8_t>(sample * 255 / ((1U << depth) - 1));
}

// Of a sample of a key color only the bits count that the image's samples have.
uint8_t asEightBitKey(uint32_t sample, uint32_t depth) {
    return asEightBits(sample & ((1U << depth) - 1), depth);
}

void readKeyColor(png_structp png, png_infop info, PngImage& image) {
    png_color_16p key = nullptr;
    png_get_tRNS(png, info, nullptr, nullptr, &key);
    const uint32_t depth = png_get_bit_depth(png, info);
    if (image.colorType == kGrayType) {
        const uint8_t gray = asEightBitKey(key->gray, depth);
        image.keyColor = {gray, gray, gray};
    } else {
        image.keyColor = {asEightBitKey(key->red, depth), asEightBitKey(key->green, depth),
                          asEightBitKey(key->blue, depth)};
    }
}

void readPalette(png_structp png, png_infop info, PngImage& image) {
    png_colorp colors = nullptr;
    int count = 0;
    png_get_PLTE(png, info, &colors, &count);
    for (int i = 0; i < count; ++i) {
        image.palette.push_back({colors[i].red, colors[i].green, colors[i].blue});
    }
    png_bytep alpha = nullptr;
    int alphaCount = 0;
    if (png_get_tRNS(png, info, &alpha, &alphaCount, nullptr) != 0) {
        image.paletteAlpha.assign(alpha, alpha + alphaCount);
    }
}

void readTransparency(png_structp png, png_infop info, const PngChanges& changes, PngImage& image) {
    if (image.colorType == kIndexedType) {
        if (changes.expandPalette) {
            png_set_palette_to_rgb(png);
        } else {
            readPalette(png, info, image);
        }
    } else if (png_get_valid(png, info, PNG_INFO_tRNS) != 0) {
        if (changes.keyToAlpha) {
            png_set_tRNS_to_alpha(png);
        } else {
            readKeyColor(png, info, image);
        }
    }
}

void askForEightBits(png_structp png, png_infop info) {
    const uint32_t depth = png_get_bit_depth(png, info);
    if (depth == 16) {
        png_set_scale_16(png);
    } else if (png_get_color_type(png, info) == kIndexedType) {
        png_set_packing(png);
    } else if (depth < 8) {
        png_set_expand_gray_1_2_4_to_8(png);
    }
}

void readLines(png_structp png, png_infop info, const Transfer& transfer, PngImage& image) {
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    image.colorType = png_get_color_type(png, info); // after the changes that were asked for
    if (filteredBytes(image) > kMaxFilteredBytes) {
        png_error(png, "the image takes more than 4 GiB");
    }
    const size_t step = transfer.keepsLines ? image.lineBytes() : 0;
    image.samples.resize(transfer.keepsLines ? step * image.height : image.lineBytes());
    for (int pass = 0; pass < passes; ++pass) {
        for (size_t y = 0; y < image.height; ++y) {
            png_read_row(png, image.samples.data() + y * step, nullptr);
        }
    }
    png_read_end(png, nullptr);
}

bool tryDecode(png_structp png, png_infop info, Transfer& transfer, const PngChanges& changes,
               PngImage& image) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_set_read_fn(png, &transfer, readBytes);
    png_set_user_limits(png, kMaxPixels, kMaxPixels);
    png_set_chunk_cache_max(png, kChunkCache);
    png_read_info(png, info);
    checkDeclaredSize(png, info, transfer);
    image.width = png_get_image_width(png, info);
    image.height = png_get_image_height(png, info);
    image.colorType = png_get_color_type(png, info);
    readTransparency(png, info, changes, image);
    askForEightBits(png, info);
    readLines(png, info, transfer, image);
    return true;
}

PngImage decode(Transfer& transfer, const PngChanges& changes) {
    const Reader reader(transfer);
    if (reader.info == nullptr) {
        throw std::bad_alloc();
    }
    PngImage image = {};
    if (!tryDecode(reader.png, reader.info, transfer, changes, image)) {
        throw Refusal(transfer.message);
    }
    return image;
}

// ---- Writing

void writeTransparency(png_structp png, png_infop info, const PngImage& image) {
    if (image.keyColor) {
        const auto& [red, green, blue] = *image.keyColor;
        const png_color_16 key = {0, red, green, blue, red};
        png_set_tRNS(png, info, nullptr, 0, &key);
    } else if (!image.paletteAlpha.empty()) {
        png_set_tRNS(png, info, image.paletteAlpha.data(),
                     static_cast<int>(image.paletteAlpha.size()), nullptr);
    }
}

void writePalette(png_structp png, png_infop info, const PngImage& image) {
    png_color colors[PNG_MAX_PALETTE_LENGTH];
    const auto toColor = [](const std::array<uint8_t, 3>& rgb) {
        return png_color{rgb[0], rgb[1], rgb[2]};
    };
    std::transform(image.palette.begin(), image.palette.end(), colors, toColor);
    png_set_PLTE(png, info, colors, static_cast<int>(image.palette.size()));
}

// Room for all image data in one chunk: the last of many could be one of a single byte, which pngslab
// does not take.
size_t chunkBytes(const PngImage& image) {
    return std::min<uint64_t>(compressBound(filteredBytes(image)), PNG_UINT_31_MAX);
}

void setEffort(png_structp png, const PngEffort& effort) {
    constexpr int kMaxMemory = 9; // the longest blocks, so the fewest
    png_set_compression_level(png, effort.level);
    png_set_compression_strategy(png, effort.strategy);
    png_set_compression_mem_level(png, kMaxMemory);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, effort.filters);
}

bool tryEncode(png_structp png, png_infop info, Transfer& transfer, const PngImage& image,
               const PngEffort& effort) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_set_write_fn(png, &transfer, writeBytes, flushNothing);
    png_set_user_limits(png, kMaxPixels, kMaxPixels);
    png_set_benign_errors(png, 1); // indices beyond the palette stay as they are
    setEffort(png, effort);
    png_set_compression_buffer_size(png, chunkBytes(image));
    png_set_IHDR(png, info, image.width, image.height, 8, image.colorType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    if (image.colorType == kIndexedType) {
        writePalette(png, info, image);
    }
    writeTransparency(png, info, image);
    png_write_info(png, info);
    for (size_t y = 0; y < image.height; ++y) {
        png_write_row(png, image.samples.data() + y * image.lineBytes());
    }
    png_write_end(png, nullptr);
    return true;
}

} // namespace

// Runs instead of matches take a fifth of the time of the second setting, for 3 to 4 % more bytes on photographs and
// wallpapers. The highest level takes up to twenty times as long as the sixth, for a tenth of the size.
const std::array<PngEffort, 4> kEfforts = {{
    {6, Z_RLE, PNG_ALL_FILTERS},
    {6, Z_FILTERED, PNG_ALL_FILTERS},
    {6, Z_DEFAULT_STRATEGY, PNG_FILTER_NONE},
    {6, Z_DEFAULT_STRATEGY, PNG_ALL_FILTERS},
}};
const PngEffort kStored = {Z_NO_COMPRESSION, Z_DEFAULT_STRATEGY, PNG_FILTER_NONE};

uint32_t channelsOf(uint8_t colorType) {
    switch (colorType) {
    case kRgbType:
        return 3;
    case kGrayAlphaType:
        return 2;
    case kRgbaType:
        return 4;
    default:
        return 1;
    }
}

PngImage decodePng(ByteView file, const PngChanges& changes) {
    Transfer transfer = {.input = file};
    return decode(transfer, changes);
}

void testPng(ByteView file) {
    Transfer transfer = {.input = file, .keepsLines = false};
    decode(transfer, {});
}

Bytes encodePng(const PngImage& image, const PngEffort& effort) {
    constexpr size_t kOtherChunks = 4096; // and more than there are
    Bytes file;
    file.reserve(chunkBytes(image) + kOtherChunks); // the last chunk would double it otherwise
    Transfer transfer = {.output = &file};
    const Writer writer(transfer);
    if (writer.info == nullptr) {
        throw std::bad_alloc();
    }
    if (!tryEncode(writer.png, writer.info, transfer, image, effort)) {
        throw Refusal(transfer.message);
    }
    return file;
}
