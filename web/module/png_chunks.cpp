#include "web/module/png_chunks.h"

#include "png/png_crc32.h"
#include "tools/slabtool/images/png_image.h"

#include <algorithm>
#include <string>

namespace {

constexpr size_t kHeaderBytes = 13;  // of IHDR
constexpr size_t kFramingBytes = 12; // length, type and CRC of a chunk

uint32_t readWord(ByteView bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

struct Chunk {
    std::string type;
    ByteView content;
    ByteView whole; // with length, type and CRC
    bool isIntact;  // the CRC is right
};

Chunk readChunk(ByteView rest) {
    const bool hasLength = rest.size() >= kFramingBytes;
    if (!hasLength || readWord(rest) > rest.size() - kFramingBytes) {
        throw Rejection("the file ends too early");
    }
    const size_t length = readWord(rest);
    const ByteView checked = rest.subspan(4, length + 4);
    return {std::string(checked.begin(), checked.begin() + 4), checked.subspan(4),
            rest.first(length + kFramingBytes),
            png_crc32(checked.data(), checked.size(), 0) == readWord(rest.subspan(length + 8))};
}

void readHeader(const Chunk& chunk, ImageChunks& image) {
    if (chunk.type != "IHDR" || chunk.content.size() != kHeaderBytes) {
        throw Rejection("IHDR is not the first chunk");
    }
    image.width = readWord(chunk.content);
    image.height = readWord(chunk.content.subspan(4));
    image.depth = chunk.content[8];
    image.colorType = chunk.content[9];
    image.isInterlaced = chunk.content[12] == 1;
}

bool isDepthOfType(uint8_t depth, uint8_t colorType) {
    switch (colorType) {
    case kGrayType:
        return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
    case kIndexedType:
        return depth == 1 || depth == 2 || depth == 4 || depth == 8;
    case kRgbType:
    case kGrayAlphaType:
    case kRgbaType:
        return depth == 8 || depth == 16;
    default:
        return false;
    }
}

void checkHeader(const Chunk& chunk, const ImageChunks& image) {
    constexpr uint32_t kMaxSide = 0x7FFFFFFF; // pixels; the limit of the PNG standard
    const ByteView content = chunk.content;
    if (image.width - 1 >= kMaxSide || image.height - 1 >= kMaxSide ||
        !isDepthOfType(image.depth, image.colorType) || content[10] != 0 || content[11] != 0 ||
        content[12] > 1) {
        throw Rejection("Invalid IHDR data");
    }
}

void readPalette(const Chunk& chunk, ImageChunks& image) {
    constexpr size_t kEntryBytes = 3;
    const size_t maxEntries = size_t{1} << image.depth;
    const size_t entries = std::min(chunk.content.size() / kEntryBytes, maxEntries);
    if (entries == 0 || chunk.content.size() % kEntryBytes != 0) {
        throw Rejection("PLTE: invalid");
    }
    for (size_t i = 0; i < entries; ++i) {
        const ByteView entry = chunk.content.subspan(i * kEntryBytes);
        image.palette.push_back({entry[0], entry[1], entry[2]});
    }
}

// A chunk of another size is ignored.
void readTransparency(const Chunk& chunk, ImageChunks& image) {
    constexpr size_t kSampleBytes = 2;
    const size_t size = chunk.content.size();
    const bool fits = (image.colorType == kGrayType && size == kSampleBytes) ||
                      (image.colorType == kRgbType && size == 3 * kSampleBytes) ||
                      (image.colorType == kIndexedType && size > 0 && size <= image.palette.size());
    if (fits && image.transparency.empty()) {
        image.transparency = chunk.content;
    }
}

bool isCritical(const std::string& type) {
    return (type[0] & 0x20) == 0;
}

void readContent(const Chunk& chunk, bool isBeforeData, ImageChunks& image) {
    if (!chunk.isIntact) {
        if (isCritical(chunk.type)) {
            throw Rejection(chunk.type + ": CRC error");
        }
        return;
    }
    if (chunk.type == "PLTE" && image.colorType == kIndexedType && image.palette.empty()) {
        readPalette(chunk, image);
    } else if (chunk.type == "tRNS" && isBeforeData) {
        readTransparency(chunk, image);
    } else if (isCritical(chunk.type) && chunk.type != "IDAT" && chunk.type != "IEND" &&
               chunk.type != "PLTE") {
        throw Rejection(chunk.type + ": unhandled critical chunk");
    }
}

} // namespace

ImageChunks readChunks(ByteView file) {
    if (file.size() < kPngSignature.size() ||
        !std::equal(kPngSignature.begin(), kPngSignature.end(), file.begin())) {
        throw Rejection("Not a PNG file");
    }
    ImageChunks image = {};
    image.file.assign(kPngSignature.begin(), kPngSignature.end());
    image.file.reserve(file.size());
    bool hasData = false;
    Chunk chunk = {};
    for (ByteView rest = file.subspan(kPngSignature.size()); chunk.type != "IEND";
         rest = rest.subspan(chunk.whole.size())) {
        const bool isFirst = rest.size() == file.size() - kPngSignature.size();
        chunk = readChunk(rest);
        if (isFirst) {
            readHeader(chunk, image);
            checkHeader(chunk, image);
        }
        if (!isFirst || !chunk.isIntact) {
            readContent(chunk, !hasData, image);
        }
        hasData = hasData || chunk.type == "IDAT";
        if (isFirst || chunk.type == "IDAT" || chunk.type == "IEND") {
            image.file.insert(image.file.end(), chunk.whole.begin(), chunk.whole.end());
        }
    }
    if (!hasData || (image.colorType == kIndexedType && image.palette.empty())) {
        throw Rejection(hasData ? "Missing PLTE before IDAT" : "Missing IDAT before IEND");
    }
    return image;
}
