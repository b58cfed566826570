// Surfaces that were not made for the image: too small, without buffers, or with another shape. The
// decoder never accesses memory outside their buffers.
#include "tests/support/deflate_maker.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_model.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

byte_vector stored_file(png_maker maker, const byte_vector& filtered) {
    return maker.deflate_stream(deflate_maker().stored(filtered, block_is::last).bytes()).bytes();
}

void* no_block(size_t) {
    return nullptr;
}

// Returns a buffer for the pixels, and null for the palette, whose size is 768 bytes.
void* no_palette(size_t byte_count) {
    return byte_count == 768 ? nullptr : std::calloc(byte_count, 1);
}

TEST(PngFit, NeedsOneBytePerRowMoreThanThePixels) {
    const byte_vector file = png().gray(10, 12).bytes();
    DsSurface rows_only = fenced_surface({10, 12, DsColorMode::I8, 0, 256, 0});
    DsSurface one_short = fenced_surface({131, 1});

    EXPECT_EQ(full_pass(file, rows_only), kPngDoesNotFit);
    EXPECT_EQ(full_pass(file, one_short), kPngDoesNotFit);
}

TEST(PngFit, AcceptsABufferOfExactlyTheNeededSize) {
    png_maker maker = png().gray(10, 12);
    DsSurface surface = fenced_surface({10, 12, DsColorMode::I8, 0, 256, 12});
    ASSERT_EQ(surface.getDataSize(), 132U);

    EXPECT_EQ(full_pass(maker.bytes(), surface), kPngOk);
    EXPECT_TRUE(
        same_pixels(maker.samples(), slice(pixel_buffer(surface), 0, 120), {10, 12, 10, 1}));
}

TEST(PngFit, WritesNothingIntoASurfaceThatIsTooSmall) {
    DsSurface surface = fenced_surface({10, 10});

    EXPECT_EQ(full_pass(png().gray(10, 10).bytes(), surface), kPngDoesNotFit);

    EXPECT_TRUE(
        same_pixels(byte_vector(100, kFreshByte), pixel_buffer(surface), layout_of(surface)));
    EXPECT_TRUE(same_bytes(byte_vector(768, kFreshByte), palette_buffer(surface)));
}

TEST(PngFit, FailsWithoutAPixelBuffer) {
    for (const uint8_t type : kColorTypes) {
        DsSurface surface(64, 64, 0, DsColorMode::ARGB8888, 0, 0, no_block, std::free, 1, 64);
        EXPECT_NE(full_pass(png().image(type, 3, 3).bytes(), surface), kPngOk) << +type;
    }
}

TEST(PngFit, FailsForAGrayImageWithoutAPaletteBuffer) {
    for (const uint8_t type : {kGray, kGrayAlpha}) {
        DsSurface failed(64, 64, 0, DsColorMode::I8, 0, 256, no_palette, std::free, 1, 64);
        EXPECT_NE(full_pass(png().image(type, 3, 3).bytes(), failed), kPngOk) << +type;

        DsSurface without = fenced_surface({64, 64, DsColorMode::RGB888, 0, 256, 64});
        EXPECT_NE(full_pass(png().image(type, 3, 3).bytes(), without), kPngOk) << +type;
    }
}

TEST(PngFit, FailsIfRowsWouldBeOutsideTheBuffer) {
    DsSurface wide = fenced_surface({500, 1});
    EXPECT_NE(full_pass(png().gray(10, 12).bytes(), wide), kPngOk);

    DsSurface deep = fenced_surface({40, 3, DsColorMode::ARGB8888, 0, 0, 4});
    EXPECT_NE(full_pass(png().rgb(10, 12).bytes(), deep), kPngOk);
}

TEST(PngFit, AcceptsWideRowsThatEndInsideTheBuffer) {
    png_maker maker = png().gray(10, 2);
    DsSurface surface = fenced_surface({50, 1, DsColorMode::I8, 0, 256, 10});

    EXPECT_EQ(full_pass(maker.bytes(), surface), kPngOk);

    EXPECT_EQ(slice(pixel_buffer(surface), 0, 10), slice(maker.samples(), 0, 10));
    EXPECT_EQ(slice(pixel_buffer(surface), 50, 10), slice(maker.samples(), 10, 10));
}

// Any mode and size: the decoder uses only the buffer's size and the stride.
TEST(PngFit, FollowsTheModelInSurfacesOfAnyShape) {
    static constexpr DsColorMode kModes[] = {DsColorMode::ARGB8888, DsColorMode::RGB888,
                                             DsColorMode::RGB565,   DsColorMode::I8,
                                             DsColorMode::AI88,     DsColorMode::A8};
    test_rng rng(90);
    int decoded = 0;
    int outside = 0;
    for (int round = 0; round < 4000; ++round) {
        const uint8_t type = kColorTypes[rng() % 5];
        const uint32_t width = random_between(rng, 1, 8);
        const uint32_t height = random_between(rng, 1, 8);
        png_maker maker = png().image(type, width, height);
        byte_vector filtered = maker.filtered();
        if (rng() % 3 == 0) {
            filtered[rng() % filtered.size()] = static_cast<uint8_t>(rng() % 8);
            filtered[rng() % filtered.size()] = static_cast<uint8_t>(rng() % 8);
        }
        const DsColorMode mode = type == kIndexed ? DsColorMode::I8 : kModes[rng() % 6];
        const bool has_palette = mode == DsColorMode::I8 || mode == DsColorMode::AI88;
        DsSurface surface =
            fenced_surface({static_cast<int32_t>(random_between(rng, 4, 20)),
                            static_cast<int32_t>(random_between(rng, 1, 12)), mode, 0,
                            has_palette ? 256U : 0U, random_between(rng, 0, 100), 1U << rng() % 3});
        SCOPED_TRACE(testing::Message() << "round " << round << ", type " << +type << ", " << width
                                        << " x " << height << ", stride " << surface.getStride());
        const byte_vector file = stored_file(maker, filtered);
        if (surface.getDataSize() < filtered.size()) {
            ASSERT_EQ(full_pass(file, surface), kPngDoesNotFit);
            continue;
        }
        const model_buffer_t expected =
            model_rows(pixel_buffer(surface), {type, width, height, surface.getStride()}, filtered);
        const int32_t result = full_pass(file, surface);
        if (expected.stays_inside) {
            ASSERT_EQ(result, kPngOk);
            ASSERT_TRUE(same_pixels(expected.bytes, pixel_buffer(surface),
                                    {width, height, surface.getStride(), samples_per_pixel(type)}));
            ++decoded;
        } else {
            ASSERT_NE(result, kPngOk);
            ++outside;
        }
    }
    EXPECT_GT(decoded, 1000);
    EXPECT_GT(outside, 100);
}

// --- Sizes whose product does not fit 32 bits: the required size wraps, and the rows end outside.

struct wrapping_size_t {
    uint8_t color_type;
    uint32_t width, height;
    uint32_t room; ///< the product modulo 2^32
};

constexpr wrapping_size_t kWrappingSizes[] = {
    {kGray, 65535, 65536, 0},
    {kGray, 0xFFFFFFFF, 0xFFFFFFFF, 0},
    {kGray, 1073741848, 4, 100},
    {kGray, 1, 0x80000000, 0},
    {kGray, 0x7FFFFFFF, 2, 0},
    {kGray, 1, 0x80000010, 32},
    {kRgb, 0x55555555, 7, 0},
    {kRgba, 0x40000000, 4, 4},
    {kRgba, 0xC0000000, 100, 100},
    {kGrayAlpha, 0x80000000, 50, 50},
    {kGrayAlpha, 0x7FFFFFFF, 1, 0xFFFFFFFF},
};

TEST(PngFit, FailsIfTheRowsOfAWrappedSizeLeaveTheBuffer) {
    for (const wrapping_size_t& size : kWrappingSizes) {
        DsSurface surface = roomy_surface();
        png_maker maker = png().image(size.color_type, 1, 1).declared_size(size.width, size.height);
        const byte_vector rows(std::min(size.room, 1000U), kNone);

        const int32_t result = full_pass(stored_file(maker, rows), surface);

        EXPECT_NE(result, kPngOk) << size.width << " x " << size.height;
        EXPECT_EQ(result == kPngDoesNotFit, size.room > surface.getDataSize())
            << size.width << " x " << size.height;
    }
}

TEST(PngFit, FailsIfOnlyTheLastByteOfARowLeavesTheBuffer) {
    DsSurface surface = fenced_surface({1, 4096});
    const png_maker maker = png().gray(1, 1).declared_size(1, 0x80000010);
    // One skipped row uses one byte: the last filter byte in the buffer has no pixels after it.
    byte_vector rows(32, kNone);
    rows[0] = 5;

    EXPECT_NE(full_pass(stored_file(maker, rows), surface), kPngOk);
}

// Each skipped row uses one byte of source, but the next row's target is a whole stride further.
TEST(PngFit, FailsIfARowAfterSkippedOnesStartsOutsideTheBuffer) {
    DsSurface surface = fenced_surface({50, 2});
    byte_vector rows(100, kNone);
    std::fill_n(rows.begin(), 10, static_cast<uint8_t>(5));

    EXPECT_EQ(full_pass(stored_file(png().gray(1, 50), rows), surface), kPngDoesNotFit);
}

// Every row has the same target.
TEST(PngFit, AcceptsASurfaceWhoseStrideIsZero) {
    DsSurface surface = fenced_surface({0, 2, DsColorMode::I8, 0, 256, 4});
    png_maker maker = png().gray(1, 2);

    EXPECT_EQ(full_pass(maker.bytes(), surface), kPngOk);
    EXPECT_EQ(pixel_buffer(surface)[0], maker.samples()[1]);
}

TEST(PngFit, FailsIfTheDataOfAWrappedSizeAreTooLong) {
    DsSurface surface = roomy_surface();
    const png_maker maker = png().gray(1, 1).declared_size(1073741848, 4);

    EXPECT_EQ(full_pass(stored_file(maker, byte_vector(101, 0)), surface), kPngMalformed);
}

// Rows with an unknown filter byte use one byte and write no pixel, so that they stay inside.
TEST(PngFit, AcceptsAWrappedSizeWhoseRowsAreAllSkipped) {
    DsSurface surface = roomy_surface();
    const png_maker maker = png().rgba(1, 1).declared_size(0x40000000, 4);

    EXPECT_EQ(full_pass(stored_file(maker, byte_vector(4, 5)), surface), kPngOk);

    byte_vector expected(surface.getDataSize(), kFreshByte);
    std::fill_n(expected.end() - 4, 4, static_cast<uint8_t>(5));
    EXPECT_TRUE(same_pixels(expected, pixel_buffer(surface), layout_of(surface)));
}

} // namespace
