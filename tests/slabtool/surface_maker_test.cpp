// makeSurface: pixels compared with convertPixels and formulas, header and padding, rotation, background, and every
// rejection.
#include "tools/slabtool/surfaces/surface_maker.h"

#include "src/pixel_kernels.h"
#include "tests/slabtool/made_surface.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <algorithm>

namespace {

using Kind = Samples::Kind;
using Mode = DsColorMode;

constexpr Dither kAllDithers[] = {Dither::None, Dither::Ordered, Dither::FloydSteinberg};

bool holdsGrayOrIndices(Mode mode) {
    return mode == Mode::I8 || mode == Mode::AI88;
}

bool isColor(Kind kind) {
    return kind == Kind::Rgb || kind == Kind::Rgba;
}

// Whether a picture of this kind can be a surface of this mode.
bool fits(Kind kind, Mode mode) {
    return kind == Kind::Indexed ? holdsGrayOrIndices(mode)
                                 : !(isColor(kind) && holdsGrayOrIndices(mode));
}

// The mode that has the layout of the samples, except that red and blue are swapped.
Mode coreModeOf(Kind kind) {
    switch (kind) {
    case Kind::GrayAlpha:
        return Mode::AI88;
    case Kind::Rgb:
        return Mode::RGB888;
    case Kind::Rgba:
        return Mode::ARGB8888;
    default:
        return Mode::I8;
    }
}

// The rows that convertPixels makes of a picture.
byte_vector convertedRows(const Picture& picture, Mode mode) {
    byte_vector source = picture.bytes;
    if (isColor(picture.kind)) {
        for (size_t i = 0; i < source.size(); i += picture.samples().channels()) {
            std::swap(source[i], source[i + 2]);
        }
    }
    byte_vector rows(size_t{picture.width} * picture.height * bytesPerPixel(mode));
    convertPixels(rows.data(), picture.width, mode, source.data(), picture.width,
                  coreModeOf(picture.kind), picture.width, picture.height, 0, 0);
    return rows;
}

// The rows of a surface file.
byte_vector rowsOf(const MadeSurface& surface, uint32_t storedHeight) {
    return slice(surface.file, 20, surface.stride * storedHeight);
}

testing::AssertionResult samePixels(const byte_vector& expected, const MadeSurface& surface,
                                    uint32_t width, uint32_t height, Mode mode) {
    return same_pixels(expected, rowsOf(surface, height),
                       {width, height, surface.stride, bytesPerPixel(mode)});
}

std::string caseName(Kind kind, Mode mode) {
    return "kind " + std::to_string(static_cast<int>(kind)) + ", mode " +
           colorModeName(static_cast<uint32_t>(mode));
}

void expectRejection(const std::string& reason, const Picture& picture,
                     const SurfaceRequest& request) {
    SCOPED_TRACE(caseName(picture.kind, request.mode));
    try {
        picture.made(request);
        FAIL() << "accepted; expected: " << reason;
    } catch (const Rejection& rejection) {
        EXPECT_EQ(reason, rejection.what());
    }
}

TEST(SurfaceMaker, EqualsConvertPixelsInAllModesButArgb1555) {
    for (const Mode mode : kModesWithPixels) {
        for (const Kind kind : kAllKinds) {
            if (!fits(kind, mode) || mode == Mode::ARGB1555) {
                continue;
            }
            SCOPED_TRACE(caseName(kind, mode));
            for (const uint32_t width : {1U, 2U, 7U, 33U, 64U, 200U}) {
                const Picture picture = noisePicture(width, 3, kind, width);
                EXPECT_TRUE(samePixels(convertedRows(picture, mode), picture.made({.mode = mode}),
                                       width, 3, mode));
            }
        }
    }
}

TEST(SurfaceMaker, RoundsToTheNearestLevelInArgb1555) {
    const Picture picture = rgbaPicture(256, 256, [](uint32_t x, uint32_t y) {
        return std::array{x, y, 255 - x, (x + y) & 255};
    });
    const MadeSurface surface = picture.made({.mode = Mode::ARGB1555});
    const auto nearest = [](uint32_t value) { return (2 * value * 31 + 255) / 510; };
    for (uint32_t y = 0; y < 256; ++y) {
        for (uint32_t x = 0; x < 256; ++x) {
            const uint32_t alphaBit = ((x + y) & 255) >= 128 ? 0x8000 : 0;
            ASSERT_EQ(alphaBit | nearest(x) << 10 | nearest(y) << 5 | nearest(255 - x),
                      storedPixel(surface, 2, x, y))
                << "row " << y << ", column " << x;
        }
    }
}

TEST(SurfaceMaker, KeepsIndicesAndStoresTheAlphaOfPaletteEntries) {
    const Picture picture = {4, 1, Kind::Indexed, {0, 1, 2, 255}, {7, 0}};
    const MadeSurface indices = picture.made({.mode = Mode::I8});
    EXPECT_TRUE(same_bytes({0, 1, 2, 255}, rowsOf(indices, 1)));
    EXPECT_TRUE(indices.lostAlpha);
    const MadeSurface withAlpha = picture.made({.mode = Mode::AI88});
    EXPECT_TRUE(same_bytes({0, 7, 1, 0, 2, 255, 255, 255}, rowsOf(withAlpha, 1)));
    EXPECT_FALSE(withAlpha.lostAlpha);
}

TEST(SurfaceMaker, StoresGrayValuesInA8OnRequest) {
    const Picture gray = noisePicture(9, 4, Kind::Gray);
    EXPECT_TRUE(
        same_bytes(gray.bytes, rowsOf(gray.made({.mode = Mode::A8, .alphaOnly = true}), 4)));
    EXPECT_TRUE(same_bytes(byte_vector(36, 255), rowsOf(gray.made({.mode = Mode::A8}), 4)));

    const Picture grayAlpha = {2, 1, Kind::GrayAlpha, {10, 255, 20, 128}};
    const MadeSurface values = grayAlpha.made({.mode = Mode::A8, .alphaOnly = true});
    EXPECT_TRUE(same_bytes({10, 20}, rowsOf(values, 1)));
    EXPECT_TRUE(values.lostAlpha);
    EXPECT_TRUE(same_bytes({255, 128}, rowsOf(grayAlpha.made({.mode = Mode::A8}), 1)));
}

TEST(SurfaceMaker, IgnoresAlphaOnlyInOtherModes) {
    const Picture picture = noisePicture(9, 4, Kind::Rgba);
    EXPECT_TRUE(same_bytes(picture.made({.mode = Mode::RGB565}).file,
                           picture.made({.mode = Mode::RGB565, .alphaOnly = true}).file));
}

// ---- Header, padding, rotation

TEST(SurfaceMaker, WritesHeaderAlignedRowsAndZerosAroundThem) {
    for (const Mode mode : kModesWithPixels) {
        for (const uint32_t alignment : {0U, 1U, 2U, 3U, 4U, 6U, 16U, 64U}) {
            for (const uint32_t rotation : {0U, 90U}) {
                SCOPED_TRACE(testing::Message()
                             << colorModeName(static_cast<uint32_t>(mode)) << ", alignment "
                             << alignment << ", rotation " << rotation);
                const Picture picture = noisePicture(7, 5, Kind::GrayAlpha);
                const MadeSurface surface =
                    picture.made({.mode = mode, .rotation = rotation, .rowAlignment = alignment});
                const uint32_t width = rotation == 90 ? 5 : 7, height = 12 - width;
                const uint64_t bytes = bytesPerPixel(mode);
                const uint64_t stride = modelStride(width, bytes, std::max(alignment, 1U));
                ASSERT_EQ(stride, surface.stride);
                EXPECT_EQ(0U, stride % std::max(alignment, 1U));
                EXPECT_TRUE(same_bytes(
                    makeFileHeader(rotation, mode, width, height, static_cast<uint32_t>(stride)),
                    slice(surface.file, 0, 20)));
                ASSERT_EQ((20 + stride * height + 3) / 4 * 4, surface.file.size());
                for (uint32_t y = 0; y < height; ++y) {
                    const size_t used = 20 + y * stride + width * bytes;
                    EXPECT_TRUE(same_bytes(byte_vector(stride - width * bytes),
                                           slice(surface.file, used, stride - width * bytes)))
                        << "padding of row " << y;
                }
                const size_t end = 20 + stride * height;
                EXPECT_TRUE(same_bytes(byte_vector(surface.file.size() - end),
                                       slice(surface.file, end, 3)));
            }
        }
    }
}

TEST(SurfaceMaker, RotatesThePixelsOfTheUprightSurface) {
    for (const Mode mode : kModesWithPixels) {
        for (const Dither dither : kAllDithers) {
            SCOPED_TRACE(testing::Message() << colorModeName(static_cast<uint32_t>(mode))
                                            << ", dither " << static_cast<int>(dither));
            const Picture picture = noisePicture(19, 13, Kind::GrayAlpha);
            const MadeSurface upright = picture.made({.mode = mode, .dither = dither});
            const SurfacePicture rotated(
                picture.made({.mode = mode, .dither = dither, .rotation = 90, .rowAlignment = 8})
                    .file);
            ASSERT_EQ(90U, rotated.header().rotation);
            const SurfacePicture plain(upright.file);
            for (uint32_t y = 0; y < 13; ++y) {
                for (uint32_t x = 0; x < 19; ++x) {
                    const uint8_t* const expected = plain.pixel(x, y);
                    ASSERT_TRUE(
                        std::equal(expected, expected + bytesPerPixel(mode), rotated.pixel(x, y)))
                        << "row " << y << ", column " << x;
                }
            }
            for (const uint32_t rotation : {180U, 270U}) { // without effect, as in pngslab
                EXPECT_TRUE(same_bytes(
                    upright.file,
                    picture.made({.mode = mode, .dither = dither, .rotation = rotation}).file));
            }
        }
    }
}

// ---- Background

TEST(SurfaceMaker, BlendsEveryValueAndAlphaOverTheBackgroundToTheNearestInteger) {
    const Picture picture = rgbaPicture(256, 256, [](uint32_t value, uint32_t alpha) {
        return std::array{value, 255 - value, value ^ 0x55, alpha};
    });
    for (const uint32_t background : {0x000000U, 0xFFFFFFU, 0x806040U, 0x01FE7FU}) {
        SCOPED_TRACE(testing::Message() << "background " << std::hex << background);
        const MadeSurface surface = picture.made({.mode = Mode::RGB888, .background = background});
        EXPECT_FALSE(surface.lostAlpha);
        for (uint32_t alpha = 0; alpha < 256; ++alpha) {
            for (uint32_t value = 0; value < 256; ++value) {
                const auto blend = [&](uint32_t channel, uint32_t shift) {
                    const uint32_t below = background >> shift & 255;
                    return (2 * (channel * alpha + below * (255 - alpha)) + 255) / 510 << shift;
                };
                ASSERT_EQ(blend(value, 16) | blend(255 - value, 8) | blend(value ^ 0x55, 0),
                          storedPixel(surface, 3, value, alpha))
                    << "value " << value << ", alpha " << alpha;
            }
        }
    }
}

TEST(SurfaceMaker, BlendsGrayValuesOverGray) {
    const Picture picture = {3, 1, Kind::GrayAlpha, {10, 255, 200, 0, 100, 128}};
    // (100 * 128 + 50 * 127) / 255 = 75.1
    EXPECT_TRUE(same_bytes({10, 50, 75},
                           rowsOf(picture.made({.mode = Mode::I8, .background = 0x323232}), 1)));
    EXPECT_TRUE(same_bytes(
        {10, 50, 75},
        rowsOf(picture.made({.mode = Mode::A8, .background = 0x323232, .alphaOnly = true}), 1)));
}

TEST(SurfaceMaker, FlattensBeforeItDithers) {
    const Picture picture = noisePicture(40, 30, Kind::Rgba);
    const uint32_t background = 0x8040C0;
    const MadeSurface flat = picture.made({.mode = Mode::RGB888, .background = background});
    Picture opaque = {40, 30, Kind::Rgb, rowsOf(flat, 30)};
    for (size_t i = 0; i < opaque.bytes.size(); i += 3) {
        std::swap(opaque.bytes[i], opaque.bytes[i + 2]);
    }
    for (const Dither dither : kAllDithers) {
        EXPECT_TRUE(same_bytes(
            opaque.made({.mode = Mode::RGB565, .dither = dither}).file,
            picture.made({.mode = Mode::RGB565, .background = background, .dither = dither}).file))
            << "dither " << static_cast<int>(dither);
    }
}

TEST(SurfaceMaker, IgnoresTheBackgroundForOpaquePicturesAndModesWithAlpha) {
    Picture opaque = noisePicture(11, 6, Kind::GrayAlpha);
    for (size_t i = 1; i < opaque.bytes.size(); i += 2) {
        opaque.bytes[i] = 255;
    }
    const Picture indexed = {2, 1, Kind::Indexed, {2, 3}, {0, 0}};
    const Picture translucent = noisePicture(11, 6, Kind::GrayAlpha);
    const std::pair<Picture, Mode> cases[] = {
        {opaque, Mode::RGB888},        {opaque, Mode::I8},
        {indexed, Mode::I8},           {translucent, Mode::ARGB8888},
        {translucent, Mode::ARGB1555}, {translucent, Mode::ARGB4444},
        {translucent, Mode::AI88},     {translucent, Mode::A8}};
    for (const auto& [picture, mode] : cases) {
        SCOPED_TRACE(caseName(picture.kind, mode));
        const MadeSurface surface = picture.made({.mode = mode, .background = 0x102030});
        EXPECT_TRUE(same_bytes(picture.made({.mode = mode}).file, surface.file));
        EXPECT_FALSE(surface.lostAlpha);
    }
}

TEST(SurfaceMaker, ReportsLostAlphaForOneTranslucentPixel) {
    for (const Kind kind : {Kind::GrayAlpha, Kind::Rgba}) {
        for (const Mode mode : kModesWithPixels) {
            if (!fits(kind, mode)) {
                continue;
            }
            SCOPED_TRACE(caseName(kind, mode));
            Picture picture = noisePicture(5, 4, kind);
            std::fill(picture.bytes.begin(), picture.bytes.end(), uint8_t{255});
            EXPECT_FALSE(picture.made({.mode = mode}).lostAlpha);
            picture.bytes.back() = 254;
            const bool hasNoAlpha =
                mode == Mode::RGB888 || mode == Mode::RGB565 || mode == Mode::I8;
            EXPECT_EQ(hasNoAlpha, picture.made({.mode = mode}).lostAlpha);
        }
    }
}

// ---- Rejections

TEST(SurfaceMaker, RejectsColorImagesForGrayValuesAndIndices) {
    for (const Kind kind : {Kind::Rgb, Kind::Rgba}) {
        for (const Mode mode : {Mode::I8, Mode::AI88}) {
            expectRejection(
                colorModeName(static_cast<uint32_t>(mode)) +
                    std::string(" holds gray values or palette indices, and this image "
                                "has colors; choose a mode with colors, such as RGB565"),
                noisePicture(2, 2, kind), {.mode = mode});
        }
    }
}

TEST(SurfaceMaker, RejectsColorImagesForAlphaOnly) {
    for (const Kind kind : {Kind::Rgb, Kind::Rgba}) {
        expectRejection("--alphaonly needs a grayscale image, and this image has colors; without "
                        "--alphaonly, A8 stores the alpha channel",
                        noisePicture(2, 2, kind), {.mode = Mode::A8, .alphaOnly = true});
    }
}

TEST(SurfaceMaker, RejectsColoredBackgroundsUnderGrayValues) {
    const std::string reason = "the background is not gray, and the surface holds gray values; "
                               "choose a gray background, or a mode with colors";
    const Picture picture = noisePicture(2, 2, Kind::GrayAlpha);
    for (const uint32_t background : {0x010000U, 0x000100U, 0x000001U, 0xFFFF00U, 0x808081U}) {
        expectRejection(reason, picture, {.mode = Mode::I8, .background = background});
    }
    expectRejection(reason, picture, {.mode = Mode::A8, .background = 0x010000, .alphaOnly = true});
}

TEST(SurfaceMaker, RejectsBackgroundsUnderTranslucentIndices) {
    expectRejection("a background cannot be blended with palette indices, and some pixels are "
                    "translucent; choose a mode with colors, such as RGB565",
                    {2, 1, Kind::Indexed, {0, 1}, {255, 254}},
                    {.mode = Mode::I8, .background = 0x808080});
}

TEST(SurfaceMaker, RejectsStridesBeyondTheHeader) {
    for (const uint32_t rotation : {0U, 90U}) {
        expectRejection("a row of 6442450944 bytes is too long for a surface file; choose a "
                        "smaller row alignment",
                        noisePicture(1, 1, Kind::Rgb),
                        {.mode = Mode::RGB888, .rotation = rotation, .rowAlignment = 0x80000000});
    }
}

// ---- Palettes

TEST(PaletteBytes, HasBlueGreenRedAndOptionalAlpha) {
    const std::array<uint8_t, 3> colors[] = {{1, 2, 3}, {4, 5, 6}};
    const byte_vector opaque = paletteBytes(colors, {});
    EXPECT_EQ(768U, opaque.size());
    EXPECT_TRUE(same_bytes({3, 2, 1, 6, 5, 4, 0, 0, 0}, slice(opaque, 0, 9)));
    const byte_vector alpha = {9};
    const byte_vector translucent = paletteBytes(colors, alpha);
    EXPECT_EQ(1024U, translucent.size());
    EXPECT_TRUE(same_bytes({3, 2, 1, 9, 6, 5, 4, 255, 0, 0, 0, 255}, slice(translucent, 0, 12)));
}

} // namespace
