// One finding for each property that a surface file cannot store.
#include "tools/slabtool/images/png_loss.h"

#include "tools/slabtool/images/exif_orientation.h"
#include "tools/slabtool/images/png_image.h"

#include <cstdlib>

namespace {

constexpr int64_t kUsualGamma = 45455; // of sRGB, times 100,000
constexpr int64_t kGammaTolerance = kUsualGamma / 20;

bool hasAlpha(const PngFacts& facts) {
    return facts.colorType == kGrayAlphaType || facts.colorType == kRgbaType;
}

bool isUnusual(uint32_t gamma) {
    return std::abs(int64_t{gamma} - kUsualGamma) > kGammaTolerance;
}

} // namespace

const char* optionAgainst(const Finding& loss) {
    if (loss.code == kKeyColorLoss) {
        return "--key-to-alpha";
    }
    return loss.code == kPaletteLoss ? "--expand-palette" : nullptr;
}

std::vector<Finding> lossesOf(const PngFacts& facts) {
    std::vector<Finding> losses;
    if (facts.colorType == kIndexedType) {
        losses.push_back({kPaletteLoss, "the palette is not in the surface file"});
    } else if (facts.hasTransparency && !hasAlpha(facts)) {
        losses.push_back({kKeyColorLoss, "the key color, which means \"transparent\", is ignored"});
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
        losses.push_back({"animation", "only one frame of the animation is used"});
    }
    return losses;
}
