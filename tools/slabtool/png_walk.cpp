// The decoder's checks once more, with words for each. The decoder goes over all chunks before it looks
// at any image data, so what it finds only then is kept until the walk is over.
#include "tools/slabtool/png_walk.h"

#include "png/png_crc32.h"
#include "tools/slabtool/deflate_walk.h"
#include "tools/slabtool/png_image.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr uint64_t kChunkFrame = 12; // length, type and checksum
constexpr uint32_t kHeaderLength = 13;
constexpr size_t kMostPaletteEntries = 256;

uint32_t bigEndianAt(ByteView bytes, uint64_t at) {
    return uint32_t{bytes[at]} << 24 | uint32_t{bytes[at + 1]} << 16 |
           uint32_t{bytes[at + 2]} << 8 | uint32_t{bytes[at + 3]};
}

std::string number(uint64_t value) {
    return std::to_string(value);
}

std::string bitsASample(uint32_t depth) {
    return number(depth) + (depth == 1 ? " bit a sample" : " bits a sample");
}

struct Chunk {
    std::string name; // as in the file
    ByteView data;
    std::string place; // for messages

    // Letter case does not matter to the decoder.
    bool is(const char* other) const {
        return std::equal(name.begin(), name.end(), other, other + 4, [](char a, char b) {
            return (static_cast<uint8_t>(a) & ~0x20) == (static_cast<uint8_t>(b) & ~0x20);
        });
    }
    bool isAncillary() const { return (static_cast<uint8_t>(name[0]) & 0x20) != 0; }
};

std::string hex(uint32_t value) {
    char text[9];
    std::snprintf(text, sizeof text, "%08X", value);
    return text;
}

// Every check throws a Refusal with the reason.
class PngWalk {
public:
    explicit PngWalk(ByteView file)
        : mFile(file) {}

    void run() {
        if (mFile.size() < sizeof kSignature ||
            std::memcmp(mFile.data(), kSignature, sizeof kSignature) != 0) {
            throw Refusal("not a PNG file: its first 8 bytes are others");
        }
        checkHeader(nextChunk());
        for (Chunk chunk = nextChunk(); !chunk.is("IEND"); chunk = nextChunk()) {
            check(chunk);
        }
        checkEnd();
    }

private:
    // ---- Chunks

    std::string placeOfNext(const std::string& name, uint64_t bytes) const {
        std::string shown = name;
        std::replace_if(
            shown.begin(), shown.end(),
            [](char c) { return std::isalpha(static_cast<unsigned char>(c)) == 0; }, '?');
        return "chunk " + number(mChunks) + " (" + shown + ", bytes " + number(mNext) + " to " +
               number(mNext + bytes - 1) + ")";
    }

    Chunk nextChunk() {
        const uint64_t left = mFile.size() - mNext;
        ++mChunks;
        if (left == 0) {
            throw Refusal("the file ends behind chunk " + number(mChunks - 1) +
                          ", without an IEND chunk");
        }
        if (left < kChunkFrame) {
            throw Refusal("the file ends inside the frame of chunk " + number(mChunks));
        }
        const uint64_t length = bigEndianAt(mFile, mNext);
        const ByteView type = mFile.subspan(mNext + 4, 4);
        const std::string name(type.begin(), type.end());
        if (left < kChunkFrame + length) {
            throw Refusal("the file ends inside " + placeOfNext(name, kChunkFrame + length) + ", " +
                          number(kChunkFrame + length - left) + " bytes too early");
        }
        Chunk chunk = {name, mFile.subspan(mNext + 8, length),
                       placeOfNext(name, kChunkFrame + length)};
        const uint32_t stored = bigEndianAt(mFile, mNext + 8 + length);
        const uint32_t actual = png_crc32(type.data(), length + 4, 0);
        if (stored != actual) {
            throw Refusal("the checksum of " + chunk.place + " is " + hex(stored) +
                          ", but its bytes give " + hex(actual));
        }
        mNext += kChunkFrame + length;
        return chunk;
    }

    // ---- The header

    void checkHeader(const Chunk& chunk) {
        if (!chunk.is("IHDR") || chunk.data.size() != kHeaderLength) {
            throw Refusal("the file does not begin with an IHDR chunk of 13 bytes, but with " +
                          chunk.place);
        }
        mWidth = bigEndianAt(chunk.data, 0);
        mHeight = bigEndianAt(chunk.data, 4);
        const uint8_t depth = chunk.data[8];
        mColorType = chunk.data[9];
        if (mWidth == 0 || mHeight == 0) {
            throw Refusal("the header declares no pixels: " + number(mWidth) + " x " +
                          number(mHeight));
        }
        checkType(depth);
        checkMethods(chunk.data[10], chunk.data[11], chunk.data[12]);
        checkSupport(depth, chunk.data[12]);
    }

    void checkType(uint8_t depth) const {
        const bool isKnown = mColorType == kGreyType || mColorType == kRgbType ||
                             mColorType == kIndexedType || mColorType == kGreyAlphaType ||
                             mColorType == kRgbaType;
        if (!isKnown) {
            throw Refusal("the header has colour type " + number(mColorType) +
                          ", which does not exist");
        }
        const bool mayBeSmall = mColorType == kGreyType || mColorType == kIndexedType;
        const bool isSmall = depth == 1 || depth == 2 || depth == 4;
        const bool isLarge = depth == 16 && mColorType != kIndexedType;
        if (depth != 8 && !isLarge && !(isSmall && mayBeSmall)) {
            throw Refusal("the header has " + bitsASample(depth) + ", which colour type " +
                          number(mColorType) + " cannot have");
        }
    }

    static void checkMethods(uint8_t compression, uint8_t filter, uint8_t interlace) {
        if (compression != 0 || filter != 0 || interlace > 1) {
            throw Refusal("the header has compression, filter and interlace method " +
                          number(compression) + ", " + number(filter) + " and " +
                          number(interlace) + ", which do not all exist");
        }
    }

    static void checkSupport(uint8_t depth, uint8_t interlace) {
        std::string reason = depth == 8 ? "" : bitsASample(depth) + " instead of 8";
        if (interlace != 0) {
            reason += reason.empty() ? "interlaced" : ", and interlaced";
        }
        if (!reason.empty()) {
            throw Refusal(reason);
        }
    }

    // ---- The chunks behind it

    void check(const Chunk& chunk) {
        if (chunk.is("PLTE")) {
            checkPalette(chunk);
        } else if (chunk.is("tRNS")) {
            checkTransparency(chunk);
        } else if (chunk.is("IDAT")) {
            checkImageData(chunk);
        } else if (!chunk.isAncillary()) {
            throw Refusal(chunk.is("IHDR") ? "a second header: " + chunk.place
                                           : "a critical chunk of unknown meaning: " + chunk.place);
        }
    }

    void checkPalette(const Chunk& chunk) {
        if (mColorType == kGreyType || mColorType == kGreyAlphaType) {
            throw Refusal("a palette in a greyscale image: " + chunk.place);
        }
        if (mPaletteEntries != 0) {
            throw Refusal("a second palette: " + chunk.place);
        }
        if (chunk.data.size() % 3 != 0 || chunk.data.size() > 3 * kMostPaletteEntries) {
            throw Refusal("a palette of " + number(chunk.data.size()) +
                          " bytes, which are not up to 256 times 3: " + chunk.place);
        }
        mPaletteEntries = chunk.data.size() / 3;
        if (mColorType != kIndexedType) {
            keep("a suggested palette in a truecolour image: " + chunk.place);
        }
    }

    void checkTransparency(const Chunk& chunk) {
        if (!mImageData.empty()) {
            throw Refusal("transparency behind image data: " + chunk.place);
        }
        if (mColorType == kGreyAlphaType || mColorType == kRgbaType) {
            throw Refusal("transparency in an image that has alpha: " + chunk.place);
        }
        const size_t size = chunk.data.size();
        if (mColorType == kIndexedType ? size > mPaletteEntries
                                       : size != (mColorType == kGreyType ? 2U : 6U)) {
            throw Refusal("transparency of " + number(size) + " bytes, which does not fit " +
                          (mColorType == kIndexedType
                               ? "the palette of " + number(mPaletteEntries) + " entries: "
                               : std::string("the colour type: ")) +
                          chunk.place);
        }
    }

    void checkImageData(const Chunk& chunk) {
        if (chunk.data.size() < kZlibHeaderBytes) {
            throw Refusal("image data of fewer than 2 bytes: " + chunk.place);
        }
        if (mColorType == kIndexedType && mPaletteEntries == 0) {
            keep("image data in front of the palette: " + chunk.place);
        }
        mImageData.insert(mImageData.end(), chunk.data.begin(), chunk.data.end());
    }

    // ---- What only the decoding of pixels finds

    void keep(const std::string& reason) {
        if (mKept.empty()) {
            mKept = reason;
        }
    }

    void checkEnd() {
        if (mImageData.empty()) {
            throw Refusal("there are no image data");
        }
        if (mColorType == kIndexedType && mPaletteEntries == 0) {
            throw Refusal("an indexed image without a palette");
        }
        if (!mKept.empty()) {
            throw Refusal(mKept);
        }
        // In 32 bits, as the decoder counts.
        const uint32_t lineBytes = (mWidth * channelsOf(mColorType) + 1) * mHeight;
        if (const auto reason = whyDeflateRefused(mImageData, lineBytes)) {
            throw Refusal(*reason);
        }
    }

    ByteView mFile;
    uint64_t mNext = sizeof kSignature; // the byte that has not been looked at yet
    uint64_t mChunks = 0;               // the current one's number
    uint32_t mWidth = 0, mHeight = 0;
    uint8_t mColorType = 0;
    uint64_t mPaletteEntries = 0;
    Bytes mImageData;
    std::string mKept;
};

} // namespace

std::optional<std::string> whyPngRefused(ByteView file) {
    try {
        PngWalk(file).run();
        return std::nullopt;
    } catch (const Refusal& refusal) {
        return refusal.what();
    }
}
