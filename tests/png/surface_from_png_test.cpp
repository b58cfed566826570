// From the bytes of a file to a new surface: its mode, size, palette and pixels, and files without a
// result.
#include "png/surface_from_png.h"

#include "tests/support/deflate_maker.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_model.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <new>

// Allocations without enough memory must return null under AddressSanitizer, too.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

TEST(SurfaceFromPng, MakesAnI8SurfaceWithAGrayRampFromAGrayImage) {
    png_maker maker = png().gray(5, 3);

    const auto surface = convert_png(maker.bytes());

    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getColorMode(), DsColorMode::I8);
    EXPECT_EQ(surface->getWidth(), 5);
    EXPECT_EQ(surface->getHeight(), 3);
    EXPECT_EQ(surface->getStride(), 5U);
    EXPECT_EQ(surface->getRotation(), 0U);
    EXPECT_EQ(surface->getPaletteHasAlpha(), 0);
    ASSERT_EQ(surface->getPaletteSize(), 256);
    EXPECT_TRUE(same_pixels(maker.samples(), slice(pixel_buffer(*surface), 0, 15), {5, 3, 5, 1}));
    const byte_vector palette = palette_buffer(*surface);
    for (size_t i = 0; i < palette.size(); ++i) {
        ASSERT_EQ(palette[i], i / 3) << "byte " << i;
    }
}

TEST(SurfaceFromPng, MakesAnI8SurfaceFromAnIndexedImage) {
    png_maker maker = png().indexed(4, 2).plte({1, 2, 3, 4, 5, 6}).filter(kNone);

    const auto surface = convert_png(maker.pixels({0, 1, 0, 1, 1, 0, 1, 0}).bytes());

    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getColorMode(), DsColorMode::I8);
    EXPECT_EQ(palette_buffer(*surface), (byte_vector{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(slice(pixel_buffer(*surface), 0, 8), (byte_vector{0, 1, 0, 1, 1, 0, 1, 0}));
}

TEST(SurfaceFromPng, MakesAPaletteWithAlphaFromAnIndexedImageWithTrns) {
    const auto surface =
        convert_png(png().indexed(4, 2).plte({1, 2, 3, 4, 5, 6}).trns({7}).bytes());

    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getPaletteHasAlpha(), 1);
    EXPECT_EQ(palette_buffer(*surface), (byte_vector{3, 2, 1, 7, 6, 5, 4, 0}));
}

TEST(SurfaceFromPng, UsesTheModeOfTheColorType) {
    const auto rgb = convert_png(png().rgb(3, 2).bytes());
    const auto gray_alpha = convert_png(png().gray_alpha(3, 2).bytes());
    const auto rgba = convert_png(png().rgba(3, 2).bytes());

    EXPECT_EQ(rgb->getColorMode(), DsColorMode::RGB888);
    EXPECT_EQ(rgb->getStride(), 9U);
    EXPECT_EQ(rgb->getPalette(), nullptr);
    EXPECT_EQ(gray_alpha->getColorMode(), DsColorMode::AI88);
    EXPECT_EQ(gray_alpha->getStride(), 6U);
    EXPECT_EQ(gray_alpha->getPaletteSize(), 256);
    EXPECT_EQ(rgba->getColorMode(), DsColorMode::ARGB8888);
    EXPECT_EQ(rgba->getStride(), 12U);
    EXPECT_EQ(rgba->getPalette(), nullptr);
}

TEST(SurfaceFromPng, ReservesOneBytePerRowAfterThePixels) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const auto surface = convert_png(png().rgb(3, height).bytes());
        EXPECT_EQ(surface->getDataSize(), 9 * height + (height + 3) / 4 * 4) << height << " rows";
    }
}

TEST(SurfaceFromPng, OwnsItsBuffersAndCanBeRotated) {
    const auto surface = convert_png(png().rgb(3, 2).bytes());

    surface->rotate(90);

    EXPECT_EQ(surface->getRotation(), 90U);
}

// --- Alpha only

TEST(SurfaceFromPng, MakesAnA8SurfaceFromTheGrayValuesForAlphaOnly) {
    png_maker maker = png().gray(6, 4);

    const auto surface = convert_png(maker.bytes(), true);

    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getColorMode(), DsColorMode::A8);
    EXPECT_EQ(surface->getPaletteSize(), 0);
    EXPECT_EQ(surface->getPalette(), nullptr);
    EXPECT_EQ(surface->getStride(), 6U);
    EXPECT_TRUE(same_pixels(maker.samples(), slice(pixel_buffer(*surface), 0, 24), {6, 4, 6, 1}));
}

TEST(SurfaceFromPng, MakesAnA8SurfaceFromAGrayImageWithAKeyColor) {
    png_maker maker = png().gray(6, 4).trns({0, 5});

    const auto surface = convert_png(maker.bytes(), true);

    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getColorMode(), DsColorMode::A8);
    EXPECT_TRUE(same_pixels(maker.samples(), slice(pixel_buffer(*surface), 0, 24), {6, 4, 6, 1}));
}

// Kept on purpose: only grayscale without alpha becomes an alpha-only surface.
TEST(SurfaceFromPng, RejectsOtherTypesAsAlphaOnly) {
    for (const uint8_t type : {kRgb, kIndexed, kGrayAlpha, kRgba}) {
        EXPECT_EQ(convert_png(png().image(type, 4, 4).bytes(), true), nullptr) << +type;
    }
}

// --- Key colors

TEST(SurfaceFromPng, KeepsZerosAndInflatedBytesAfterTheRowsOfAKeyedImage) {
    for (const uint8_t type : {kGray, kRgb}) {
        for (const uint32_t height : {1U, 2U, 3U, 4U, 5U, 8U, 64U}) {
            png_maker maker =
                png().image(type, 7, height).trns(byte_vector(type == kGray ? 2 : 6, 1));
            const auto surface = convert_png(maker.bytes());
            ASSERT_NE(surface, nullptr) << "type " << +type << ", " << height << " rows";
            ASSERT_EQ(surface->getColorMode(),
                      type == kGray ? DsColorMode::AI88 : DsColorMode::ARGB8888);
            const model_buffer_t expected =
                model_rows(byte_vector(surface->getDataSize(), 0),
                           {type, 7, height, surface->getStride()}, maker.filtered());
            ASSERT_TRUE(same_pixels(expected.bytes, pixel_buffer(*surface), layout_of(*surface)))
                << "type " << +type;
        }
    }
}

TEST(SurfaceFromPng, StartsFromZeros) {
    const byte_vector raw = deflate_maker().stored({}, block_is::last).bytes();
    const auto surface = convert_png(png().rgba(50, 50).deflate_stream(raw).bytes());

    ASSERT_NE(surface, nullptr);
    EXPECT_TRUE(same_pixels(byte_vector(surface->getDataSize(), 0), pixel_buffer(*surface),
                            layout_of(*surface)));
}

TEST(SurfaceFromPng, FillsABufferOnLargePagesLikeAnyOther) {
    png_maker maker = png().gray(2100, 2000);

    const auto surface = convert_png(maker.bytes());

    ASSERT_NE(surface, nullptr);
    EXPECT_TRUE(same_pixels(maker.samples(),
                            slice(pixel_buffer(*surface), 0, maker.samples().size()),
                            layout_of(*surface)));
}

TEST(SurfaceFromPng, LeavesUnsetPaletteBytesZero) {
    const byte_vector file = png().indexed(2, 2).plte(byte_vector(30, 9)).trns({}).bytes();

    const auto surface = convert_png(file);

    ASSERT_NE(surface, nullptr);
    const byte_vector palette = palette_buffer(*surface);
    for (size_t i = 0; i < palette.size(); ++i) {
        EXPECT_EQ(palette[i], i % 4 == 3 ? 0 : 9) << "byte " << i;
    }
}

// --- Rotation

TEST(SurfaceFromPng, RotatesThePixelsBy90) {
    png_maker maker = png().gray(3, 2).filter(kNone).pixels(byte_vector{1, 2, 3, 4, 5, 6});

    const auto surface = convert_png(maker.bytes(), false, 90);

    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getRotation(), 90U);
    EXPECT_EQ(surface->getWidth(), 2);
    EXPECT_EQ(surface->getHeight(), 3);
    EXPECT_EQ(surface->getDataSize(), 6U);
    EXPECT_EQ(pixel_buffer(*surface), (byte_vector{3, 6, 2, 5, 1, 4}));
}

TEST(SurfaceFromPng, RotatesAnAlphaOnlySurfaceToo) {
    png_maker maker = png().gray(2, 1).filter(kNone).pixels(byte_vector{1, 2});

    const auto surface = convert_png(maker.bytes(), true, 90);

    EXPECT_EQ(surface->getColorMode(), DsColorMode::A8);
    EXPECT_EQ(pixel_buffer(*surface), (byte_vector{2, 1}));
}

TEST(SurfaceFromPng, DoesNotChangeThePixelsForOtherAngles) {
    png_maker maker = png().gray(3, 2);
    for (const int32_t angle : {0, 180, 270, 45, -90, 360, 450, 1}) {
        const auto surface = convert_png(maker.bytes(), false, angle);
        ASSERT_NE(surface, nullptr);
        EXPECT_EQ(surface->getRotation(), 0U) << angle;
        EXPECT_EQ(surface->getWidth(), 3) << angle;
        EXPECT_EQ(slice(pixel_buffer(*surface), 0, 6), maker.samples()) << angle;
    }
}

// --- Failures

TEST(SurfaceFromPng, ReturnsNullIfTheHeaderPassFails) {
    EXPECT_EQ(surface_from_png(nullptr, 0, false, 0), nullptr);
    EXPECT_EQ(convert_png({1, 2, 3}), nullptr);
    EXPECT_EQ(convert_png(png().gray(4, 4).bit_depth(16).bytes()), nullptr);
    EXPECT_EQ(convert_png(png().gray(4, 4).interlace_method(1).bytes()), nullptr);
}

TEST(SurfaceFromPng, ReturnsNullIfTheFullPassFails) {
    const byte_vector invalid = deflate_maker().block_header(3, block_is::last).bytes();
    for (const uint8_t type : kColorTypes) {
        EXPECT_EQ(convert_png(png().image(type, 4, 4).deflate_stream(invalid).bytes()), nullptr)
            << +type;
    }
    EXPECT_EQ(convert_png(png().gray(4, 4).deflate_stream(invalid).bytes(), true), nullptr);
}

TEST(SurfaceFromPng, ReturnsNullForATruecolorImageWithAPalette) {
    EXPECT_EQ(convert_png(png().rgb(4, 4).plte({1, 2, 3}).bytes()), nullptr);
    EXPECT_EQ(convert_png(png().rgba(4, 4).plte({1, 2, 3}).bytes()), nullptr);
}

TEST(SurfaceFromPng, ThrowsWhenTheSurfaceCannotBeAllocated) {
    struct image_size_t {
        uint32_t width, height;
    };
    for (const uint8_t type : kColorTypes) {
        for (const image_size_t& size :
             {image_size_t{0xFFFFFFFF, 0xFFFFFFFF}, image_size_t{0x7FFFFFFF, 0x7FFFFFFF},
              image_size_t{0x80000000, 1}, image_size_t{1, 0x80000000}, image_size_t{0xFFFFFFFF, 4},
              image_size_t{4, 0xFFFFFFFF}}) {
            const png_maker maker = png().image(type, 4, 4).declared_size(size.width, size.height);
            EXPECT_THROW(convert_png(maker.bytes()), std::bad_alloc)
                << +type << ": " << size.width << " x " << size.height;
        }
    }
}

TEST(SurfaceFromPng, ThrowsWhenAnAlphaOnlySurfaceCannotBeAllocated) {
    const png_maker maker = png().gray(4, 4).declared_size(0xFFFFFFFF, 0xFFFFFFFF);

    EXPECT_THROW(convert_png(maker.bytes(), true), std::bad_alloc);
}

TEST(SurfaceFromPng, RejectsAnInvalidFileBeforeItAllocates) {
    std::vector<png_chunk_t> chunks =
        png().gray(4, 4).declared_size(0xFFFFFFFF, 0xFFFFFFFF).chunks();
    chunks.back().crc_flips = 1;

    EXPECT_EQ(convert_png(png_file(chunks)), nullptr);
}

} // namespace
