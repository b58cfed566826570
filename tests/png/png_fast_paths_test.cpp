// Every fast path of the module against the plain code beside it, on whole blocks, so that a byte
// too many shows.
#include "png/internal/png_fast_paths.h"
#include "png/internal/png_filter.h"
#include "png/internal/png_rows.h"
#include "png/internal/row_wavefront.h"
#include "png/png_crc32.h"
#include "png/png_decode.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

using namespace png_detail;

namespace {

constexpr uint32_t kNoFastPath = 0xFFFFFFFF;

// The fast paths of `mask` are left out while this lives.
class without_fast_paths {
public:
    explicit without_fast_paths(uint32_t mask) { png_leave_out_fast(mask); }
    ~without_fast_paths() { png_leave_out_fast(0); }
    without_fast_paths(const without_fast_paths&) = delete;
    without_fast_paths& operator=(const without_fast_paths&) = delete;
};

struct image {
    uint32_t channels, width, height;
    uint64_t stride;
    uint64_t room; // bytes in front of the filtered lines
};

uint64_t row_bytes(const image& image) {
    return uint64_t{image.width} * image.channels;
}

// A block of noise whose lines have filters chosen by `filter_of`.
template <typename filter_of_t>
byte_vector filtered_block(const image& image, uint32_t seed, filter_of_t filter_of) {
    const uint64_t line = row_bytes(image) + 1;
    byte_vector block = make_bytes(data_kind::noise, image.room + line * image.height, seed);
    for (uint32_t row = 0; row < image.height; ++row) {
        block[image.room + row * line] = static_cast<uint8_t>(filter_of(row));
    }
    return block;
}

struct conversion {
    png_detail::fault_t fault;
    byte_vector block;
    bool operator==(const conversion&) const = default;
};

conversion convert(const image& image, byte_vector block, uint32_t left_out) {
    const without_fast_paths without(left_out);
    const png_detail::fault_t fault =
        png_convert_rows({.block = block.data(),
                          .blockSize = block.size(),
                          .sourceOffset = image.room,
                          .stride = image.stride,
                          .width = image.width,
                          .height = image.height,
                          .samplesPerPixel = image.channels,
                          .bytesPerPixel = image.channels,
                          .exchangesRedAndBlue = image.channels >= 3});
    return {fault, std::move(block)};
}

void expect_all_alike(const image& image, const byte_vector& block) {
    const conversion plain = convert(image, block, kNoFastPath);
    for (const uint32_t left_out :
         {uint32_t{0}, uint32_t{kPngWavefrontRows}, uint32_t{kPngWideRows}}) {
        ASSERT_EQ(convert(image, block, left_out), plain)
            << image.channels << " channels, " << image.width << " x " << image.height
            << ", stride " << image.stride << ", room " << image.room << ", left out " << left_out;
    }
}

class PngFastRows : public testing::TestWithParam<uint32_t> {};

INSTANTIATE_TEST_SUITE_P(EveryPixelSize, PngFastRows, testing::Values(1, 2, 3, 4),
                         testing::PrintToStringParamName());

TEST_P(PngFastRows, EqualThePlainOnesForEveryFilterAndWidth) {
    for (uint32_t filter = 0; filter < kFilterCount; ++filter) {
        for (uint32_t width = 1; width <= 40; ++width) {
            const image image{GetParam(), width, 9, uint64_t{width} * GetParam(), 0};
            expect_all_alike(image, filtered_block(image, width, [=](uint32_t) { return filter; }));
        }
    }
}

// 5^4 groups, each behind a line of its own.
TEST_P(PngFastRows, EqualThePlainOnesForEveryFourFilters) {
    const image image{GetParam(), 7, 5, uint64_t{7} * GetParam(), 0};
    for (uint32_t group = 0; group < 625; ++group) {
        const uint32_t filters[] = {1, group % 5, group / 5 % 5, group / 25 % 5, group / 125};
        expect_all_alike(image,
                         filtered_block(image, group, [&](uint32_t row) { return filters[row]; }));
    }
}

// All three values of a Paeth prediction in every relation: each pair of neighbours to each corner.
TEST_P(PngFastRows, PredictAsThePlainOnesFromAnyNeighbours) {
    test_rng rng(41);
    const image image{GetParam(), 4096, 5, uint64_t{4096} * GetParam(), 0};
    for (int round = 0; round < 4; ++round) {
        expect_all_alike(image, filtered_block(image, rng(), [](uint32_t row) {
                             return row == 0 ? kFilterNone : kFilterPaeth;
                         }));
    }
}

TEST_P(PngFastRows, EqualThePlainOnesWhereLinesAreAtTheLimitOfWhatGoesTogether) {
    const auto limit = static_cast<uint32_t>(kWavefrontRowBytes / GetParam());
    for (const uint32_t width : {limit - 1, limit, limit + 1}) {
        const image image{GetParam(), width, 6, uint64_t{width} * GetParam(), 0};
        expect_all_alike(image,
                         filtered_block(image, width, [](uint32_t row) { return 4 - row % 2; }));
    }
}

// Surfaces made by others: lines that lie apart or overlap, and pixels that overtake their source
// behind lines with unknown filters, which take one byte.
TEST_P(PngFastRows, EqualThePlainOnesInBlocksOfAnyShape) {
    test_rng rng(42);
    for (int round = 0; round < 4000; ++round) {
        image image{GetParam(), random_between(rng, 1, 12), random_between(rng, 1, 14), 0,
                    random_between(rng, 0, 40)};
        image.stride =
            random_between(rng, 0, 2) == 0 ? random_between(rng, 0, 60) : row_bytes(image);
        const uint32_t unknown = random_between(rng, 0, 1);
        expect_all_alike(image, filtered_block(image, rng(), [&](uint32_t) {
                             return random_between(rng, 0, 4 + unknown);
                         }));
    }
}

// A decoder never hands over such a block, but the walk has words for it.
TEST_P(PngFastRows, EqualThePlainOnesWhereTheBlockEndsInsideALine) {
    const image image{GetParam(), 9, 7, uint64_t{9} * GetParam(), 200};
    for (const uint32_t filter : {kFilterUp, kFilterPaeth}) {
        byte_vector block = filtered_block(image, filter, [=](uint32_t) { return filter; });
        for (; block.size() >= image.room; block.pop_back()) {
            expect_all_alike(image, byte_vector(block));
        }
    }
}

// Multiples of such strides come round to the block's start; lines with unknown filters keep the walk
// going that far.
TEST_P(PngFastRows, EqualThePlainOnesForStridesWhoseMultiplesWrap) {
    for (const uint64_t stride : {uint64_t{1} << 62, uint64_t{1} << 63, ~uint64_t{0} / 3 + 1,
                                  ~uint64_t{0} / 4 + 3, ~uint64_t{0} - 20, ~uint64_t{0}}) {
        for (uint32_t unknown = 0; unknown < 7; ++unknown) {
            image image{GetParam(), 8, 12, stride, 100};
            byte_vector block = filtered_block(image, unknown, [](uint32_t) { return 4; });
            image.room -= unknown; // each of these lines is its filter alone
            std::fill_n(block.begin() + static_cast<ptrdiff_t>(image.room), unknown, kFilterCount);
            expect_all_alike(image, block);
        }
    }
}

TEST(PngFastCrc, EqualsThePlainOneForEveryLengthAndOffset) {
    const byte_vector bytes = make_bytes(data_kind::noise, 700, 43);
    for (const uint32_t left_out : {uint32_t{0}, uint32_t{kPngCarryLessCrc}}) {
        for (uint64_t length = 0; length <= 600; ++length) {
            const uint8_t* const start = bytes.data() + length % 17;
            const auto previous = static_cast<uint32_t>(length * 0x9E3779B9);
            uint32_t crc = 0;
            {
                const without_fast_paths without(left_out);
                crc = png_crc32(start, length, previous);
            }
            const without_fast_paths without(kNoFastPath);
            ASSERT_EQ(crc, png_crc32(start, length, previous)) << length;
        }
    }
}

} // namespace
