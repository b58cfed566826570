// The pixel model.
#include "tests/src/pixel_model.h"

namespace {

uint32_t from5Bits(uint32_t c) {
    return (c * 527 + 23) >> 6;
}

uint32_t from6Bits(uint32_t c) {
    return (c * 259 + 33) >> 6;
}

uint32_t to4Bits(uint32_t v) {
    return (v * 15 + 135) >> 8;
}

uint32_t to5Bits(uint32_t v) {
    return (v * 249 + 1014) >> 11;
}

uint32_t to6Bits(uint32_t v) {
    return (v * 253 + 505) >> 10;
}

uint32_t field(uint32_t word, uint32_t lowestBit, uint32_t bitCount) {
    return (word >> lowestBit) % (1U << bitCount);
}

// The weight of the target in a painted pixel.
ModelColor targetTerms(DsColorMode mode, uint32_t p, uint32_t rest) {
    const auto terms = [rest](uint32_t alpha, uint32_t red, uint32_t green, uint32_t blue) {
        return ModelColor{alpha * rest, red * alpha * rest, green * alpha * rest,
                          blue * alpha * rest};
    };
    switch (mode) {
    case DsColorMode::ARGB8888:
        return terms(field(p, 24, 8), field(p, 16, 8), field(p, 8, 8), field(p, 0, 8));
    case DsColorMode::RGB888:
        return terms(255, field(p, 16, 8), field(p, 8, 8), field(p, 0, 8));
    case DsColorMode::RGB565:
        return terms(255, from5Bits(field(p, 11, 5)), from6Bits(field(p, 5, 6)),
                     from5Bits(field(p, 0, 5)));
    case DsColorMode::ARGB4444:
        return terms(field(p, 12, 4) * 17, field(p, 8, 4) * 17, field(p, 4, 4) * 17,
                     field(p, 0, 4) * 17);
    case DsColorMode::I8:
        return terms(255, p, p, p);
    case DsColorMode::AI88:
        return terms(field(p, 8, 8), field(p, 0, 8), field(p, 0, 8), field(p, 0, 8));
    case DsColorMode::A8:
        return {p * rest, 0, 0, 0};
    default: // ARGB1555: the target has no effect
        return {0, 0, 0, 0};
    }
}

} // namespace

ModelColor modelColor(uint32_t word) {
    return {field(word, 0, 8), field(word, 8, 8), field(word, 16, 8), field(word, 24, 8)};
}

uint32_t modelWord(const ModelColor& color) {
    return color.alpha + (color.red << 8) + (color.green << 16) + (color.blue << 24);
}

std::string modeName(DsColorMode mode) {
    constexpr const char* kNames[] = {"ARGB8888", "RGB888",    "RGB565", "ARGB1555",  "ARGB4444",
                                      "I8",       "Reserved6", "AI88",   "Reserved8", "A8"};
    const auto number = static_cast<uint32_t>(mode);
    return number <= 9 ? kNames[number] : "mode " + std::to_string(number);
}

uint32_t modelPixelSize(DsColorMode mode) {
    constexpr uint32_t kSizes[] = {4, 3, 2, 2, 2, 1, 0, 2, 0, 1};
    const auto number = static_cast<uint32_t>(mode);
    return number <= 9 ? kSizes[number] : 0;
}

uint32_t modelLoad(DsColorMode mode, const uint8_t* pixel) {
    uint32_t stored = 0;
    for (uint32_t i = modelPixelSize(mode); i-- > 0;) {
        stored = stored * 256 + pixel[i];
    }
    return stored;
}

void modelStore(DsColorMode mode, uint8_t* pixel, uint32_t stored) {
    for (uint32_t i = 0; i < modelPixelSize(mode); ++i) {
        pixel[i] = static_cast<uint8_t>(stored >> (8 * i));
    }
}

ModelColor modelDecode(DsColorMode mode, uint32_t stored, const ModelColor& constant) {
    const uint32_t low = field(stored, 0, 8);
    switch (mode) {
    case DsColorMode::ARGB8888:
        return {field(stored, 24, 8), field(stored, 16, 8), field(stored, 8, 8), low};
    case DsColorMode::RGB888:
        return {255, field(stored, 16, 8), field(stored, 8, 8), low};
    case DsColorMode::RGB565:
        return {255, from5Bits(field(stored, 11, 5)), from6Bits(field(stored, 5, 6)),
                from5Bits(field(stored, 0, 5))};
    case DsColorMode::ARGB1555:
        return {0, from5Bits(field(stored, 10, 5)), from5Bits(field(stored, 5, 5)),
                from5Bits(field(stored, 0, 5))};
    case DsColorMode::ARGB4444:
        return {field(stored, 12, 4) * 17, field(stored, 8, 4) * 17, field(stored, 4, 4) * 17,
                field(stored, 0, 4) * 17};
    case DsColorMode::I8:
        return {255, low, low, low};
    case DsColorMode::AI88:
        return {field(stored, 8, 8), low, low, low};
    case DsColorMode::A8:
        return {low, constant.red, constant.green, constant.blue};
    default:
        return {0, 0, 0, 0};
    }
}

uint32_t modelEncode(DsColorMode mode, const ModelColor& color) {
    const auto& [alpha, red, green, blue] = color;
    switch (mode) {
    case DsColorMode::ARGB8888:
        return (alpha << 24) + (red << 16) + (green << 8) + blue;
    case DsColorMode::RGB888:
        return (red << 16) + (green << 8) + blue;
    case DsColorMode::RGB565:
        return (to5Bits(red) << 11) + (to6Bits(green) << 5) + to5Bits(blue);
    case DsColorMode::ARGB1555: // the widening rule, and sums that overflow into other fields
        return ((alpha >= 128 ? 32768U : 0U) + (from5Bits(red) << 10) + (from5Bits(green) << 5) +
                from5Bits(blue)) %
               65536;
    case DsColorMode::ARGB4444:
        return (to4Bits(alpha) << 12) + (to4Bits(red) << 8) + (to4Bits(green) << 4) + to4Bits(blue);
    case DsColorMode::I8:
        return blue;
    case DsColorMode::AI88:
        return (alpha << 8) + blue;
    case DsColorMode::A8:
        return alpha;
    default:
        return 0;
    }
}

ModelColor modelOver(const ModelColor& below, const ModelColor& above) {
    const uint32_t ad = below.alpha;
    const uint32_t s = above.alpha;
    const auto channel = [=](uint32_t cd, uint32_t cs) {
        return (cd * ad * (255 - s) + cs * s * 255) / 65025;
    };
    return {(ad * (255 - s) + 255 * s) / 255, channel(below.red, above.red),
            channel(below.green, above.green), channel(below.blue, above.blue)};
}

ModelColor ModelCopy::sourceColor(uint32_t sourceStored) const {
    const ModelColor constant = modelColor(color);
    ModelColor decoded = modelDecode(source, sourceStored, constant);
    switch (alphaMode) {
    case 0:
        break;
    case 1:
        decoded.alpha = constant.alpha;
        break;
    case 2:
        decoded.alpha = decoded.alpha * constant.alpha / 255;
        break;
    default:
        decoded.alpha = 0;
    }
    return decoded;
}

uint32_t ModelCopy::converted(uint32_t /*targetStored*/, uint32_t sourceStored) const {
    return modelEncode(target, sourceColor(sourceStored));
}

uint32_t ModelCopy::blended(uint32_t targetStored, uint32_t sourceStored) const {
    return modelEncode(target,
                       modelOver(modelDecode(target, targetStored), sourceColor(sourceStored)));
}

uint32_t modelPainted(DsColorMode mode, uint32_t stored, uint32_t coverage, uint32_t color) {
    const auto [A, R, G, B] = modelColor(color);
    const uint32_t a = coverage * A / 255;
    const auto [DA, DR, DG, DB] = targetTerms(mode, stored, 255 - a);
    return modelEncode(mode, {(a * 255 + DA) / 255, (DR + R * a * 255) / 65025,
                              (DG + G * a * 255) / 65025, (DB + B * a * 255) / 65025});
}

byte_vector allStoredValues(DsColorMode mode) {
    const uint32_t size = modelPixelSize(mode);
    const uint32_t count = size == 1 ? 256 : 65536;
    byte_vector values(count * size);
    for (uint32_t value = 0; value < count; ++value) {
        modelStore(mode, &values[value * size], value);
    }
    return values;
}
