// The CRC compared with zlib's.
#include "png/internal/carry_less_crc.h"
#include "png/internal/crc_methods.h"
#include "png/png_crc32.h"
#include "src/simd/cpu.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

uint32_t oracle_crc(const uint8_t* bytes, size_t length, uint32_t previous) {
    return static_cast<uint32_t>(crc32(previous, bytes, static_cast<uInt>(length)));
}

TEST(PngCrc32, HasTheStandardCheckValue) {
    const byte_vector digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};

    EXPECT_EQ(png_crc32(digits.data(), digits.size(), 0), 0xCBF43926U);
}

TEST(PngCrc32, ReturnsThePreviousValueForNoBytes) {
    EXPECT_EQ(png_crc32(nullptr, 0, 0), 0U);
    EXPECT_EQ(png_crc32(nullptr, 0, 0x12345678), 0x12345678U);
}

TEST(PngCrc32, EqualsZlibsForEveryLengthAndOffset) {
    const byte_vector bytes = make_bytes(data_kind::noise, 320, 60);
    for (size_t offset = 0; offset < 17; ++offset) {
        for (size_t length = 1; length <= 300; ++length) {
            const uint8_t* start = bytes.data() + offset;
            ASSERT_EQ(png_crc32(start, length, 0), oracle_crc(start, length, 0))
                << length << " bytes at " << offset;
        }
    }
}

TEST(PngCrc32, EqualsZlibsForEveryByte) {
    for (uint32_t value = 0; value < 256; ++value) {
        const uint8_t byte = static_cast<uint8_t>(value);
        ASSERT_EQ(png_crc32(&byte, 1, 0), oracle_crc(&byte, 1, 0)) << "byte " << value;
    }
}

TEST(PngCrc32, ContinuesFromAnEarlierPart) {
    const byte_vector bytes = make_bytes(data_kind::noise, 200, 61);
    const uint32_t whole = png_crc32(bytes.data(), bytes.size(), 0);
    for (size_t split = 0; split <= bytes.size(); ++split) {
        const uint32_t first = png_crc32(bytes.data(), split, 0);
        ASSERT_EQ(png_crc32(bytes.data() + split, bytes.size() - split, first), whole)
            << "split at " << split;
    }
}

TEST(PngCrc32, EqualsZlibsFromAnyPreviousValue) {
    const byte_vector bytes = make_bytes(data_kind::noise, 50, 62);
    test_rng rng(63);
    for (int round = 0; round < 200; ++round) {
        const uint32_t previous = rng();
        ASSERT_EQ(png_crc32(bytes.data(), bytes.size(), previous),
                  oracle_crc(bytes.data(), bytes.size(), previous))
            << "round " << round << ", previous value " << previous;
    }
}

TEST(PngCrc32, EqualsZlibsForAMebibyte) {
    const byte_vector bytes = make_bytes(data_kind::noise, 1 << 20, 64);

    EXPECT_EQ(png_crc32(bytes.data(), bytes.size(), 0), oracle_crc(bytes.data(), bytes.size(), 0));
}

// Every method, not only the one that this machine uses.
TEST(PngCrc32, EqualsZlibsByEachMethod) {
    const byte_vector bytes = make_bytes(data_kind::noise, 700, 43);
    for (uint64_t length = 0; length <= 600; ++length) {
        const uint8_t* const start = bytes.data() + length % 17;
        const auto previous = static_cast<uint32_t>(length * 0x9E3779B9);
        const uint32_t expected = oracle_crc(start, length, previous);
        ASSERT_EQ(png_detail::crc_by_bytes(start, length, previous), expected) << length;
        ASSERT_EQ(png_detail::crc_by_slices(start, length, previous), expected) << length;
        if (length >= png_detail::kMinCarryLessBytes &&
            ds_detail::processorHasCarryLessMultiplication()) {
            ASSERT_EQ(png_detail::crc_by_carry_less(start, length, previous), expected) << length;
        }
    }
}

} // namespace
