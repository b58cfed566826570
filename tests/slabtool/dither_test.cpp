// Ordered dithering and error diffusion, compared with models that compute one pixel at a time.
#include "tools/slabtool/surfaces/dither.h"

#include "tests/slabtool/made_surface.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <cmath>
#include <functional>

namespace {

using Kind = Samples::Kind;

constexpr Dither kDithers[] = {Dither::Ordered, Dither::FloydSteinberg};

constexpr int32_t kBayer[8][8] = {{0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
                                  {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
                                  {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
                                  {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21}};

std::string caseName(const PackedMode& mode, Dither dither) {
    return std::string(mode.name) + (dither == Dither::Ordered ? ", ordered" : ", Floyd-Steinberg");
}

// A sample of an RGB or RGBA picture.
uint32_t sampleOf(const Picture& picture, uint32_t x, uint32_t y, size_t channel) {
    return picture.bytes[(size_t{y} * picture.width + x) * picture.samples().channels() + channel];
}

using LevelOf = std::function<uint32_t(uint32_t x, uint32_t y)>;

// Expects the levels of one channel of a made surface.
void expectLevels(const MadeSurface& surface, const Picture& picture, const PackedMode& mode,
                  size_t channel, const LevelOf& levelOf) {
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            ASSERT_EQ(levelOf(x, y), mode.field(storedPixel(surface, 2, x, y), channel))
                << "row " << y << ", column " << x << ", channel " << channel;
        }
    }
}

// floor(v * max / 255 + (bayer + 1/2) / 64) over the common denominator.
uint32_t orderedLevel(uint32_t value, uint32_t max, uint32_t x, uint32_t y) {
    return (value * max * 128 + (2 * static_cast<uint32_t>(kBayer[y % 8][x % 8]) + 1) * 255) /
           (255 * 128);
}

// The levels of one channel by error diffusion, row by row.
std::vector<uint32_t> diffusedLevels(const Picture& picture, size_t channel, uint32_t max) {
    const int64_t width = picture.width, height = picture.height;
    std::vector<int64_t> shares(picture.width * picture.height);
    std::vector<uint32_t> levels(shares.size());
    const auto give = [&](int64_t x, int64_t y, int64_t share) {
        if (x >= 0 && x < width && y < height) {
            shares[static_cast<size_t>(y * width + x)] += share;
        }
    };
    for (int64_t y = 0; y < height; ++y) {
        const int64_t step = y % 2 == 0 ? 1 : -1;
        for (int64_t i = 0; i < width; ++i) {
            const int64_t x = step == 1 ? i : width - 1 - i;
            const auto at = static_cast<size_t>(y * width + x);
            const int64_t value =
                sampleOf(picture, static_cast<uint32_t>(x), static_cast<uint32_t>(y), channel);
            const int64_t want = value * max * 16 + shares[at];
            int64_t level = 0; // the nearest level; the upper one if two are equally near
            while (level < max && want >= level * 4080 + 2040) {
                ++level;
            }
            levels[at] = static_cast<uint32_t>(level);
            const int64_t error = want - level * 4080;
            const int64_t next = error * 7 / 16, belowPrevious = error * 3 / 16,
                          below = error * 5 / 16;
            give(x + step, y, next);
            give(x - step, y + 1, belowPrevious);
            give(x, y + 1, below);
            give(x + step, y + 1, error - next - belowPrevious - below);
        }
    }
    return levels;
}

TEST(Dither, OrderedGivesTheExactLevelOfEveryValueAtEveryPosition) {
    const Picture picture = rgbaPicture(8 * 256, 8, [](uint32_t x, uint32_t) {
        const uint32_t value = x / 8;
        return std::array{value, 255 - value, value ^ 0x55, value};
    });
    for (const PackedMode& mode : kPackedModes) {
        SCOPED_TRACE(mode.name);
        const MadeSurface surface = picture.made({.mode = mode.mode, .dither = Dither::Ordered});
        for (size_t channel = 0; channel < 3; ++channel) {
            expectLevels(surface, picture, mode, channel, [&](uint32_t x, uint32_t y) {
                return orderedLevel(sampleOf(picture, x, y, channel), mode.maxima[channel], x, y);
            });
        }
    }
}

TEST(Dither, OrderedRestartsInEveryRowForAllWidths) {
    for (const uint32_t width : {1U, 3U, 8U, 15U, 63U, 64U, 65U, 130U}) {
        SCOPED_TRACE(testing::Message() << "width " << width);
        const Picture picture = noisePicture(width, 18, Kind::Rgb, width);
        const PackedMode& mode = kPackedModes[0];
        const MadeSurface surface = picture.made({.mode = mode.mode, .dither = Dither::Ordered});
        expectLevels(surface, picture, mode, 1, [&](uint32_t x, uint32_t y) {
            return orderedLevel(sampleOf(picture, x, y, 1), 63, x, y);
        });
    }
}

TEST(Dither, ErrorDiffusionGivesTheLevelsOfTheModel) {
    const Picture gradient = rgbaPicture(256, 20, [](uint32_t x, uint32_t y) {
        return std::array{x, 255 - x, x / 16 + y, uint32_t{255}};
    });
    // Extreme values beside values between two levels give the largest errors.
    const Picture extremes = rgbaPicture(64, 64, [](uint32_t x, uint32_t y) {
        return std::array{(x + y) % 3 == 0 ? 4U : 0U, x % 2 == 0 ? 255U : 251U, (x * y) % 256, 9U};
    });
    for (const Picture& picture :
         {noisePicture(1, 1, Kind::Rgb), noisePicture(1, 40, Kind::Rgb),
          noisePicture(40, 1, Kind::Rgb), noisePicture(2, 2, Kind::Rgba),
          noisePicture(67, 33, Kind::Rgb), noisePicture(64, 32, Kind::Rgba), gradient, extremes}) {
        for (const PackedMode& mode : kPackedModes) {
            SCOPED_TRACE(testing::Message()
                         << mode.name << ", " << picture.width << " x " << picture.height);
            const MadeSurface surface =
                picture.made({.mode = mode.mode, .dither = Dither::FloydSteinberg});
            for (size_t channel = 0; channel < 3; ++channel) {
                const auto levels = diffusedLevels(picture, channel, mode.maxima[channel]);
                expectLevels(surface, picture, mode, channel, [&](uint32_t x, uint32_t y) {
                    return levels[size_t{y} * picture.width + x];
                });
            }
        }
    }
}

TEST(Dither, KeepsTheMeanOfFlatAreas) {
    constexpr uint32_t kSide = 128;
    for (const PackedMode& mode : kPackedModes) {
        for (const Dither dither : kDithers) {
            SCOPED_TRACE(caseName(mode, dither));
            for (uint32_t value = 0; value < 256; value += 3) {
                const Picture picture = rgbaPicture(kSide, kSide, [&](uint32_t, uint32_t) {
                    return std::array{value, value, value, 255U};
                });
                const MadeSurface surface = picture.made({.mode = mode.mode, .dither = dither});
                for (size_t channel = 0; channel < 2; ++channel) {
                    double sum = 0;
                    for (uint32_t y = 0; y < kSide; ++y) {
                        for (uint32_t x = 0; x < kSide; ++x) {
                            sum += mode.field(storedPixel(surface, 2, x, y), channel);
                        }
                    }
                    const double mean = sum / (kSide * kSide);
                    ASSERT_LT(std::abs(mean - value * mode.maxima[channel] / 255.0), 1 / 64.0)
                        << "value " << value << ", channel " << channel;
                }
            }
        }
    }
}

TEST(Dither, KeepsBlackWhiteAndPrimaryColorsExact) {
    for (const PackedMode& mode : kPackedModes) {
        for (const Dither dither : kDithers) {
            SCOPED_TRACE(caseName(mode, dither));
            for (uint32_t color = 0; color < 8; ++color) {
                const Picture picture = rgbaPicture(21, 17, [&](uint32_t, uint32_t) {
                    return std::array{color / 4 * 255, color / 2 % 2 * 255, color % 2 * 255, 0U};
                });
                const MadeSurface surface = picture.made({.mode = mode.mode, .dither = dither});
                for (size_t channel = 0; channel < 3; ++channel) {
                    const uint32_t isFull = color >> (2 - channel) & 1;
                    expectLevels(surface, picture, mode, channel,
                                 [&](uint32_t, uint32_t) { return isFull * mode.maxima[channel]; });
                }
            }
        }
    }
}

TEST(Dither, KeepsAlpha) {
    const Picture picture = rgbaPicture(256, 9, [](uint32_t x, uint32_t y) {
        return std::array{y * 28, x, 77U, x};
    });
    for (const PackedMode& mode : kPackedModes) {
        const MadeSurface undithered = picture.made({.mode = mode.mode});
        for (const Dither dither : kDithers) {
            SCOPED_TRACE(caseName(mode, dither));
            const MadeSurface surface = picture.made({.mode = mode.mode, .dither = dither});
            for (uint32_t y = 0; y < picture.height; ++y) {
                for (uint32_t x = 0; x < picture.width; ++x) {
                    ASSERT_EQ(storedPixel(undithered, 2, x, y) & mode.alphaMask,
                              storedPixel(surface, 2, x, y) & mode.alphaMask)
                        << "row " << y << ", column " << x;
                }
            }
        }
    }
}

TEST(Dither, ChangesNothingInModesOfEightBitsAChannel) {
    for (const DsColorMode mode : {DsColorMode::ARGB8888, DsColorMode::RGB888, DsColorMode::I8,
                                   DsColorMode::AI88, DsColorMode::A8}) {
        const Picture picture = noisePicture(30, 20, Kind::GrayAlpha);
        for (const Dither dither : kDithers) {
            EXPECT_TRUE(same_bytes(picture.made({.mode = mode}).file,
                                   picture.made({.mode = mode, .dither = dither}).file))
                << "mode " << static_cast<uint32_t>(mode) << ", dither "
                << static_cast<int>(dither);
        }
    }
}

} // namespace
