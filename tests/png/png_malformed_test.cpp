// Damaged files: every truncation and every changed byte of some small images gives a surface or null, the
// same in every run and (with sanitizers) without an access outside the buffers.
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <new>

namespace {

constexpr size_t kSizesBegin = 16; // width and height in the header chunk
constexpr size_t kSizesEnd = 24;

std::vector<png_maker> small_images() {
    return {
        png().gray(5, 4),
        png().gray(3, 5).trns({0, 1}).idat_split_at({4, 10}),
        png().rgb(4, 3),
        png().rgb(3, 3).trns(byte_vector(6, 2)),
        png().indexed(6, 3).palette(4).trns({1, 2, 3}).chunk_before_idat({"tEXt", {'a', 0, 'b'}}),
        png().gray_alpha(4, 4).idat_split_at({2, 4, 6}),
        png().rgba(3, 4).deflate_stream(raw_deflate(png().rgba(3, 4).filtered(), {0, 0, 15, 8}))};
}

// All that a conversion_t gives, or nothing.
struct conversion_t {
    bool has_surface = false;
    bool out_of_memory = false;
    byte_vector serialized, pixels, palette;
};

testing::AssertionResult same_conversion(const conversion_t& first, const conversion_t& second) {
    if (first.has_surface != second.has_surface || first.out_of_memory != second.out_of_memory) {
        return testing::AssertionFailure() << "a surface or none, or memory or none";
    }
    testing::AssertionResult result = same_bytes(first.serialized, second.serialized);
    if (result) {
        result = same_bytes(first.pixels, second.pixels);
    }
    return result ? same_bytes(first.palette, second.palette) : result;
}

conversion_t convert(const byte_vector& file, bool alpha_only) {
    conversion_t result;
    try {
        const auto surface = convert_png(file, alpha_only, 90);
        result.has_surface = surface != nullptr;
        if (surface != nullptr) {
            result.serialized.resize(surface->serialize(nullptr));
            surface->serialize(result.serialized.data());
            result.pixels = pixel_buffer(*surface);
            if (surface->getPalette() != nullptr) {
                result.palette = palette_buffer(*surface);
            }
        }
    } catch (const std::bad_alloc&) {
        result.out_of_memory = true;
    }
    return result;
}

// Decodes into a surface of another size, whose fences are checked.
void expect_repeatable_in_another_surface(const byte_vector& file) {
    DsSurface first = roomy_surface();
    DsSurface second = roomy_surface();
    ASSERT_EQ(full_pass(file, first), full_pass(file, second));
    ASSERT_TRUE(same_pixels(pixel_buffer(first), pixel_buffer(second), layout_of(first)));
}

void expect_repeatable(const byte_vector& file) {
    for (const bool alpha_only : {false, true}) {
        ASSERT_TRUE(same_conversion(convert(file, alpha_only), convert(file, alpha_only)))
            << (alpha_only ? "as alpha only" : "");
    }
    expect_repeatable_in_another_surface(file);
}

TEST(PngMalformed, TheOriginalImagesAreValid) {
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        EXPECT_TRUE(convert(maker.bytes(), false).has_surface);
        EXPECT_TRUE(same_bytes(maker.bytes(), with_correct_crcs(maker.bytes())));
    }
}

TEST(PngMalformed, EveryTruncationIsRejected) {
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        const byte_vector file = maker.bytes();
        for (size_t size = 0; size < file.size(); ++size) {
            ASSERT_EQ(convert_png(slice(file, 0, size)), nullptr)
                << size << " of " << file.size() << " bytes";
        }
    }
}

TEST(PngMalformed, EveryChangedByteIsRejected) {
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        const byte_vector sound = maker.bytes();
        for (size_t position = 0; position < sound.size(); ++position) {
            for (uint32_t change = 1; change < 256; change += change < 4 ? 1 : 7) {
                byte_vector file = sound;
                file[position] ^= static_cast<uint8_t>(change);
                ASSERT_EQ(convert_png(file), nullptr)
                    << "byte " << position << ", changed bits " << change;
            }
        }
    }
}

TEST(PngMalformed, EveryChangedByteWithCorrectedCrcsGivesTheSameResultTwice) {
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        const byte_vector sound = maker.bytes();
        for (size_t position = 0; position < sound.size(); ++position) {
            if (position >= kSizesBegin && position < kSizesEnd) {
                continue; // sizes are changed by the tests below
            }
            for (uint32_t value = 0; value < 256; value += position % 2 == 0 ? 3 : 5) {
                byte_vector file = sound;
                file[position] = static_cast<uint8_t>(value);
                expect_repeatable(with_correct_crcs(file));
                ASSERT_FALSE(testing::Test::HasFailure()) << "byte " << position << " is " << value;
            }
        }
    }
}

// Sizes that differ from those of the data: all values of the low bytes, because the surfaces stay small.
TEST(PngMalformed, EveryChangedLowSizeByteGivesTheSameResultTwice) {
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        for (const size_t position : {kSizesBegin + 3, kSizesEnd - 1}) {
            for (uint32_t value = 0; value < 256; ++value) {
                byte_vector file = maker.bytes();
                file[position] = static_cast<uint8_t>(value);
                expect_repeatable(with_correct_crcs(file));
                ASSERT_FALSE(testing::Test::HasFailure()) << "byte " << position << " is " << value;
            }
        }
    }
}

TEST(PngMalformed, EveryChangedSizeByteStaysInsideASurfaceOfAnotherSize) {
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        for (size_t position = kSizesBegin; position < kSizesEnd; ++position) {
            for (uint32_t value = 0; value < 256; ++value) {
                byte_vector file = maker.bytes();
                file[position] = static_cast<uint8_t>(value);
                expect_repeatable_in_another_surface(with_correct_crcs(file));
                ASSERT_FALSE(testing::Test::HasFailure()) << "byte " << position << " is " << value;
            }
        }
    }
}

TEST(PngMalformed, RandomDamageToTheImageDataGivesTheSameResultTwice) {
    test_rng rng(110);
    size_t image = 0;
    for (const png_maker& maker : small_images()) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        for (int round = 0; round < 500; ++round) {
            std::vector<png_chunk_t> chunks = maker.chunks();
            byte_vector& data = chunk_named(chunks, "IDAT").data;
            for (uint32_t changes = random_between(rng, 1, 6); changes > 0; --changes) {
                data[rng() % data.size()] = static_cast<uint8_t>(rng());
            }
            expect_repeatable(png_file(chunks));
            ASSERT_FALSE(testing::Test::HasFailure()) << "round " << round;
        }
    }
}

TEST(PngMalformed, RandomBytesAfterASignatureAreRejected) {
    test_rng rng(111);
    for (int round = 0; round < 2000; ++round) {
        byte_vector file = slice(png().gray(4, 4).bytes(), 0, rng() % 40);
        append(file, make_bytes(data_kind::noise, rng() % 100, rng()));
        ASSERT_EQ(convert_png(file), nullptr) << "round " << round;
    }
}

} // namespace
