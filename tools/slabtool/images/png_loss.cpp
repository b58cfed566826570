// Chunks are looked at one by one; what does not fit its frame ends the walk.
#include "tools/slabtool/images/png_loss.h"

#include "tools/slabtool/images/exif_orientation.h"
#include "tools/slabtool/images/png_image.h"

#include <cstdlib>
#include <optional>
#include <string_view>

namespace {

constexpr size_t kSignatureBytes = 8;
constexpr size_t kLengthBytes = 4, kTypeBytes = 4, kCrcBytes = 4;
constexpr size_t kHeaderBytes = 13, kHeightAt = 4, kDepthAt = 8, kColorTypeAt = 9;
constexpr int64_t kUsualGamma = 45455; // of sRGB, times 100,000
constexpr int64_t kGammaTolerance = kUsualGamma / 20;

uint32_t bigEndian(ByteView bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
           uint32_t{bytes[3]};
}

// What stands in a file beside its pixels.
struct Facts {
    uint32_t width = 0, height = 0;
    uint8_t bitDepth = 0, colorType = 0;
    bool hasTransparency = false, hasProfile = false, isSrgb = false, isAnimated = false;
    std::optional<uint32_t> gamma;
    uint32_t orientation = kUpright;
};

void note(Facts& facts, std::string_view type, ByteView data) {
    if (type == "IHDR" && data.size() == kHeaderBytes) {
        facts.width = bigEndian(data);
        facts.height = bigEndian(data.subspan(kHeightAt));
        facts.bitDepth = data[kDepthAt];
        facts.colorType = data[kColorTypeAt];
    } else if (type == "tRNS") {
        facts.hasTransparency = true;
    } else if (type == "iCCP") {
        facts.hasProfile = true;
    } else if (type == "sRGB") {
        facts.isSrgb = true;
    } else if (type == "acTL") {
        facts.isAnimated = true;
    } else if (type == "gAMA" && data.size() == sizeof(uint32_t)) {
        facts.gamma = bigEndian(data);
    } else if (type == "eXIf") {
        facts.orientation = exifOrientation(data);
    }
}

Facts factsOf(ByteView file) {
    Facts facts;
    size_t at = kSignatureBytes;
    while (at <= file.size() && file.size() - at >= kLengthBytes + kTypeBytes) {
        const size_t length = bigEndian(file.subspan(at));
        const ByteView rest = file.subspan(at + kLengthBytes + kTypeBytes);
        if (length + kCrcBytes > rest.size()) {
            break;
        }
        const std::string_view type(reinterpret_cast<const char*>(file.data()) + at + kLengthBytes,
                                    kTypeBytes);
        if (type == "IEND") {
            break;
        }
        note(facts, type, rest.first(length));
        at += kLengthBytes + kTypeBytes + length + kCrcBytes;
    }
    return facts;
}

bool hasAlpha(const Facts& facts) {
    return facts.colorType == kGreyAlphaType || facts.colorType == kRgbaType;
}

bool isUnusual(uint32_t gamma) {
    return std::abs(int64_t{gamma} - kUsualGamma) > kGammaTolerance;
}

} // namespace

std::string textOf(const Finding& finding) {
    return finding.words + " [" + finding.code + "]";
}

const char* optionAgainst(const Finding& loss) {
    if (loss.code == kKeyColorLoss) {
        return "--key-to-alpha";
    }
    return loss.code == kPaletteLoss ? "--expand-palette" : nullptr;
}

std::vector<Finding> lossesOf(ByteView file) {
    const Facts facts = factsOf(file);
    std::vector<Finding> losses;
    if (facts.colorType == kIndexedType) {
        losses.push_back({kPaletteLoss, "the palette is not in the surface file"});
    } else if (facts.hasTransparency && !hasAlpha(facts)) {
        losses.push_back({kKeyColorLoss, "the color that means \"transparent\" is not applied"});
    }
    if (facts.bitDepth == 16) {
        losses.push_back({"16-bit", "16 bits a sample become 8"});
    }
    if (facts.hasProfile) {
        losses.push_back({"icc-profile", "the ICC profile is ignored"});
    } else if (facts.gamma && !facts.isSrgb && isUnusual(*facts.gamma)) {
        losses.push_back({"gamma", "the gamma value is ignored"});
    }
    if (facts.orientation != kUpright) {
        losses.push_back({kOrientationLoss, "the Exif orientation " +
                                                std::to_string(facts.orientation) + " is ignored"});
    }
    if (facts.isAnimated) {
        losses.push_back({"animation", "one frame of the animation is used"});
    }
    return losses;
}

uint32_t orientationOf(ByteView file) {
    return factsOf(file).orientation;
}

uint64_t declaredPixels(ByteView file) {
    const Facts facts = factsOf(file);
    return uint64_t{facts.width} * facts.height;
}

uint8_t declaredColorType(ByteView file) {
    return factsOf(file).colorType;
}
