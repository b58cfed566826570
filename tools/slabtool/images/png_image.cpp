// libpng reports errors by longjmp, which skips destructors. So a function that calls setjmp has no local object with
// a destructor: the image and the message live in the caller's frame.
#include "tools/slabtool/images/png_image.h"

#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <new>
#include <png.h>
#include <utility>
#include <zlib.h>

namespace {

constexpr uint32_t kMaxSide = 0x7FFFFFFF; // pixels; the limit of the PNG standard

// Of all rows with their filter types: pngslab's decoder counts them in 32 bits.
constexpr uint64_t kMaxFilteredBytes = 0xFFFFFFFF;

// A file may have any number of texts and suggested palettes, and libpng unpacks up to 8 MB of each. With this limit
// libpng keeps one of them (the limit minus 2).
constexpr uint32_t kChunkCache = 3;

constexpr size_t kNoLimit = SIZE_MAX;

// Bytes of one allocation while libpng reads chunks. libpng allocates as many bytes as a chunk declares, even if the file
// has fewer. A chunk that fits the file needs less than this: a suggested palette takes 10 bytes for 6 in the file, and
// libpng unpacks at most 8 MB.
size_t chunkAllocation(size_t fileSize) {
    constexpr size_t kUnpacked = 1 << 24;
    return 2 * fileSize + kUnpacked;
}

uint64_t filteredBytes(const PngImage& image) {
    return uint64_t{image.rowBytes() + 1} * image.height;
}

// ---- Callbacks of libpng

struct Transfer {
    ByteView input = {};
    size_t position = 0;
    bool keepsRows = true; // false: each row overwrites the previous one
    Bytes* output = nullptr;
    char message[128] = "";
    size_t maxAllocation = kNoLimit;
    bool isOutOfMemory =
        false; // an allocation has failed since the last call of readBytes or writeBytes
};

// An error after a failed allocation is not the fault of the file.
[[noreturn]] void throwError(const Transfer& transfer) {
    if (transfer.isOutOfMemory) {
        throw std::bad_alloc();
    }
    throw Rejection(transfer.message);
}

constexpr const char* kTruncated = "the file ends too early";

png_voidp allocate(png_structp png, png_alloc_size_t size) {
    auto& transfer = *static_cast<Transfer*>(png_get_mem_ptr(png));
    if (size > transfer.maxAllocation) {
        png_error(png, kTruncated);
    }
    void* const memory = std::malloc(size);
    transfer.isOutOfMemory |= memory == nullptr;
    return memory;
}

void readBytes(png_structp png, png_bytep target, size_t count) {
    auto& transfer = *static_cast<Transfer*>(png_get_io_ptr(png));
    transfer.isOutOfMemory = false; // libpng goes on without a text or a profile
    if (count > transfer.input.size() - transfer.position) {
        png_error(png, kTruncated);
    }
    std::memcpy(target, transfer.input.data() + transfer.position, count);
    transfer.position += count;
}

void writeBytes(png_structp png, png_bytep bytes, size_t count) {
    auto& transfer = *static_cast<Transfer*>(png_get_io_ptr(png));
    transfer.isOutOfMemory = false;
    try {
        transfer.output->insert(transfer.output->end(), bytes, bytes + count);
    } catch (const std::bad_alloc&) {
        transfer.isOutOfMemory = true; // an exception must not pass through libpng
    }
    if (transfer.isOutOfMemory) {
        png_error(png, "not enough memory");
    }
}

// Never called. Without it, libpng would set its default, which expects a FILE.
void flushNothing(png_structp) {}

[[noreturn]] void jumpToCaller(png_structp png, png_const_charp message) {
    auto& transfer = *static_cast<Transfer*>(png_get_error_ptr(png));
    std::strncpy(transfer.message, message, sizeof transfer.message - 1);
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

// The two libpng records for reading or writing a file. They are null if the allocation failed.
struct Reader {
    png_structp png;
    png_infop info;

    explicit Reader(Transfer& transfer)
        : png(png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &transfer, jumpToCaller,
                                       ignoreWarning, &transfer, allocate, nullptr))
        , info(png_create_info_struct(png)) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct Writer {
    png_structp png;
    png_infop info;

    explicit Writer(Transfer& transfer)
        : png(png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &transfer, jumpToCaller,
                                        ignoreWarning, &transfer, allocate, nullptr))
        , info(png_create_info_struct(png)) {}
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&png, &info); }
};

// ---- Reading

// Rejects a declared size that the file is too small to fill, before anything of that size is allocated.
void checkDeclaredSize(png_structp png, png_infop info, const Transfer& transfer) {
    const uint64_t rows = png_get_image_height(png, info);
    const uint64_t rowBytes = png_get_rowbytes(png, info);
    if (rowBytes > transfer.input.size() * kMaxExpansion / rows) {
        png_error(png, "the image data are too short for the declared size");
    }
}

// A key color has 16 bits per sample. Only the lowest `depth` bits count.
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

void requestEightBits(png_structp png, png_infop info) {
    const uint32_t depth = png_get_bit_depth(png, info);
    if (depth == 16) {
        png_set_scale_16(png);
    } else if (png_get_color_type(png, info) == kIndexedType) {
        png_set_packing(png);
    } else if (depth < 8) {
        png_set_expand_gray_1_2_4_to_8(png);
    }
}

void readRows(png_structp png, png_infop info, Transfer& transfer, PngImage& image) {
    const int passes = png_set_interlace_handling(png);
    const size_t maxAllocation = std::exchange(transfer.maxAllocation, kNoLimit);
    png_read_update_info(png, info); // allocates rows
    transfer.maxAllocation = maxAllocation;
    image.colorType = png_get_color_type(png, info); // after the requested conversions
    if (filteredBytes(image) > kMaxFilteredBytes) {
        png_error(png, "the image needs more than 4 GiB");
    }
    const size_t step = transfer.keepsRows ? image.rowBytes() : 0;
    image.samples.resize(transfer.keepsRows ? step * image.height : image.rowBytes());
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
    png_set_user_limits(png, kMaxSide, kMaxSide);
    png_set_chunk_cache_max(png, kChunkCache);
    transfer.maxAllocation = chunkAllocation(transfer.input.size());
    png_read_info(png, info);
    checkDeclaredSize(png, info, transfer);
    image.width = png_get_image_width(png, info);
    image.height = png_get_image_height(png, info);
    image.colorType = png_get_color_type(png, info);
    readTransparency(png, info, changes, image);
    requestEightBits(png, info);
    readRows(png, info, transfer, image);
    return true;
}

PngImage decode(Transfer& transfer, const PngChanges& changes) {
    const Reader reader(transfer);
    if (reader.info == nullptr) {
        throw std::bad_alloc();
    }
    PngImage image = {};
    if (!tryDecode(reader.png, reader.info, transfer, changes, image)) {
        throwError(transfer);
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

// A max length that puts all image data into one chunk. With several chunks the last one could have a single byte,
// which pngslab rejects.
size_t chunkBytes(const PngImage& image) {
    return std::min<uint64_t>(compressBound(filteredBytes(image)), PNG_UINT_31_MAX);
}

void setEffort(png_structp png, const PngEffort& effort) {
    constexpr int kMaxMemory = 9; // the longest blocks
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
    png_set_user_limits(png, kMaxSide, kMaxSide);
    png_set_benign_errors(png, 1); // keeps indices beyond the palette
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
        png_write_row(png, image.samples.data() + y * image.rowBytes());
    }
    png_write_end(png, nullptr);
    return true;
}

} // namespace

// Z_RLE needs a fifth of the time of the second setting, for 3 to 4 % larger files of photographs and wallpapers.
// Level 9 was rejected: it needs up to 20 times the time of level 6 for files that are a tenth smaller.
const std::array<PngEffort, 4> kEfforts = {{
    {6, Z_RLE, PNG_ALL_FILTERS},
    {6, Z_FILTERED, PNG_ALL_FILTERS},
    {6, Z_DEFAULT_STRATEGY, PNG_FILTER_NONE},
    {6, Z_DEFAULT_STRATEGY, PNG_ALL_FILTERS},
}};
const PngEffort kStored = {Z_NO_COMPRESSION, Z_DEFAULT_STRATEGY, PNG_FILTER_NONE};

const char* const kPngLibrary = "libpng";

PngImage decodePng(ByteView file, const PngChanges& changes) {
    Transfer transfer = {.input = file};
    return decode(transfer, changes);
}

void testPng(ByteView file) {
    Transfer transfer = {.input = file, .keepsRows = false};
    decode(transfer, {});
}

Bytes encodePng(const PngImage& image, const PngEffort& effort) {
    constexpr size_t kOtherChunks = 4096; // an upper bound of their bytes
    Bytes file;
    file.reserve(chunkBytes(image) + kOtherChunks); // growing would double the buffer
    Transfer transfer = {.output = &file};
    const Writer writer(transfer);
    if (writer.info == nullptr) {
        throw std::bad_alloc();
    }
    if (!tryEncode(writer.png, writer.info, transfer, image, effort)) {
        throwError(transfer);
    }
    return file;
}
