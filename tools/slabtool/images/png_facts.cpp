// Reads one chunk after the other, and stops at the first one that does not fit the file.
#include "tools/slabtool/images/png_facts.h"

#include "tools/slabtool/images/exif_orientation.h"
#include "tools/slabtool/images/png_image.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr size_t kSignatureBytes = 8;
constexpr size_t kLengthBytes = 4, kTypeBytes = 4, kCrcBytes = 4;
constexpr size_t kHeaderBytes = 13, kHeightOffset = 4, kDepthOffset = 8, kColorTypeOffset = 9;
constexpr size_t kMaxPaletteBytes = 3 * size_t{256};

uint32_t bigEndian(ByteView bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
           uint32_t{bytes[3]};
}

std::vector<std::array<uint8_t, 3>> paletteIn(ByteView data) {
    std::vector<std::array<uint8_t, 3>> colors;
    for (size_t at = 0; at + 3 <= std::min(data.size(), kMaxPaletteBytes); at += 3) {
        colors.push_back({data[at], data[at + 1], data[at + 2]});
    }
    return colors;
}

std::string nameOf(ByteView bytes) {
    return {bytes.begin(), bytes.begin() + kTypeBytes};
}

// A chunk's type in upper case, because pngslab's decoder ignores the case.
std::string typeOf(ByteView bytes) {
    std::string type = nameOf(bytes);
    for (char& letter : type) {
        constexpr int kLetterCaseBit = 0x20;
        letter = static_cast<char>(letter & ~kLetterCaseBit);
    }
    return type;
}

// Like libpng, ignores repeated and misplaced palettes and tRNS chunks, and a tRNS chunk whose name has another case.
// libpng rejects a file whose palette has such a name.
void notePalette(PngFacts& facts, std::string_view name, std::string_view type, ByteView data) {
    if (type == "PLTE" && facts.palette.empty()) {
        facts.palette = paletteIn(data);
    } else if (name == "tRNS" && facts.colorType == kIndexedType && facts.transparency.empty() &&
               data.size() <= facts.palette.size()) {
        facts.transparency.assign(data.begin(), data.end());
    }
}

void note(PngFacts& facts, std::string_view type, ByteView data) {
    // Only the first header: a decoder has already allocated the pixels when it reads another one.
    if (type == "IHDR" && data.size() == kHeaderBytes && facts.pixels() == 0) {
        facts.width = bigEndian(data);
        facts.height = bigEndian(data.subspan(kHeightOffset));
        facts.bitDepth = data[kDepthOffset];
        facts.colorType = data[kColorTypeOffset];
    } else if (type == "TRNS") {
        facts.hasTransparency = true;
    } else if (type == "ICCP") {
        facts.hasProfile = true;
    } else if (type == "SRGB") {
        facts.isSrgb = true;
    } else if (type == "ACTL") {
        facts.isAnimated = true;
    } else if (type == "GAMA" && data.size() == sizeof(uint32_t)) {
        facts.gamma = bigEndian(data);
    } else if (type == "EXIF") {
        facts.orientation = exifOrientation(data);
    }
}

} // namespace

PngFacts factsOf(ByteView file) {
    PngFacts facts;
    size_t at = kSignatureBytes;
    bool isBeforeImage = true;
    while (at <= file.size() && file.size() - at >= kLengthBytes + kTypeBytes) {
        const size_t length = bigEndian(file.subspan(at));
        const ByteView rest = file.subspan(at + kLengthBytes + kTypeBytes);
        if (rest.size() < kCrcBytes || length > rest.size() - kCrcBytes) {
            break;
        }
        const std::string type = typeOf(file.subspan(at + kLengthBytes));
        if (type == "IEND") {
            break;
        }
        isBeforeImage = isBeforeImage && type != "IDAT";
        if (isBeforeImage) {
            notePalette(facts, nameOf(file.subspan(at + kLengthBytes)), type, rest.first(length));
        }
        note(facts, type, rest.first(length));
        at += kLengthBytes + kTypeBytes + length + kCrcBytes;
    }
    return facts;
}
