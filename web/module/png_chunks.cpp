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
    constexpr size_t kEntryBytes = 3, kMaxEntries = 256;
    const size_t size = chunk.content.size();
    if (size == 0 || size > kMaxEntries * kEntryBytes || size % kEntryBytes != 0) {
        if (image.colorType == kIndexedType || size == 0) {
            throw Rejection("PLTE: invalid");
        }
        return;
    }
    image.isKeyApplied = image.transparency.empty();
    const size_t usedEntries = std::min(size / kEntryBytes, size_t{1} << image.depth);
    for (size_t i = 0; i < usedEntries && image.colorType == kIndexedType; ++i) {
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

bool isName(const std::string& type) {
    return std::all_of(type.begin(), type.end(),
                       [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); });
}

// Reads the chunks of a file, one after the other.
class ChunkReader {
public:
    explicit ChunkReader(ByteView file)
        : mRest(file.subspan(kPngSignature.size())) {
        mImage.file.assign(kPngSignature.begin(), kPngSignature.end());
        mImage.file.reserve(file.size());
    }

    ImageChunks read() {
        const Chunk header = next();
        readHeader(header, mImage);
        checkHeader(header, mImage);
        keep(header);
        Chunk chunk = next();
        for (; chunk.type != "IEND"; chunk = next()) {
            note(chunk);
        }
        if (!mHasData) {
            throw Rejection("Missing IDAT before IEND");
        }
        keep(chunk);
        return std::move(mImage);
    }

private:
    // The next chunk. One with a wrong CRC has no content that counts.
    Chunk next() {
        const Chunk chunk = readChunk(mRest);
        mRest = mRest.subspan(chunk.whole.size());
        if (!isName(chunk.type)) {
            throw Rejection("invalid chunk type");
        }
        if (!chunk.isIntact && isCritical(chunk.type)) {
            throw Rejection(chunk.type + ": CRC error");
        }
        return chunk;
    }

    void note(const Chunk& chunk) {
        if (chunk.type == "IDAT") {
            noteData(chunk);
            return;
        }
        mDataHasEnded = mHasData;
        if (chunk.type == "PLTE") {
            notePalette(chunk);
        } else if (chunk.type == "tRNS" && chunk.isIntact && !mHasData) {
            readTransparency(chunk, mImage);
        } else if (isCritical(chunk.type)) {
            throw Rejection(chunk.type + ": unhandled critical chunk");
        }
    }

    // Like libpng, ignores image data after another chunk.
    void noteData(const Chunk& chunk) {
        if (mImage.colorType == kIndexedType && mImage.palette.empty()) {
            throw Rejection("Missing PLTE before IDAT");
        }
        if (!mDataHasEnded) {
            keep(chunk);
        }
        mHasData = true;
    }

    void notePalette(const Chunk& chunk) {
        if (mHasPalette) {
            throw Rejection("PLTE: duplicate");
        }
        if (mHasData) {
            return;
        }
        mHasPalette = true;
        if (mImage.colorType != kGrayType && mImage.colorType != kGrayAlphaType) {
            readPalette(chunk, mImage);
        }
    }

    void keep(const Chunk& chunk) {
        mImage.file.insert(mImage.file.end(), chunk.whole.begin(), chunk.whole.end());
    }

    ByteView mRest;
    ImageChunks mImage = {.isKeyApplied = true};
    bool mHasPalette = false, mHasData = false, mDataHasEnded = false;
};

} // namespace

ImageChunks readChunks(ByteView file) {
    if (file.size() < kPngSignature.size() ||
        !std::equal(kPngSignature.begin(), kPngSignature.end(), file.begin())) {
        throw Rejection("Not a PNG file");
    }
    return ChunkReader(file).read();
}
