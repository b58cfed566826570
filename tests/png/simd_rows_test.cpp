// The row functions of each backend compared with the scalar ones, on whole buffers, so that every excess byte is
// found; and the arithmetic of Paeth for all bytes.
#include "png/internal/png_rows.h"
#include "png/internal/row_backend.h"
#include "png/internal/scalar_rows.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"
#include "tests/support/sanitized.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#if defined(DS_HAS_AVX2_AND_SSE2)
#include <emmintrin.h>
#elif defined(DS_HAS_NEON)
#include <arm_neon.h>
#endif

using namespace png_detail;

namespace {

#if defined(DS_HAS_AVX2_AND_SSE2)
#include "src/simd/vec_sse2.h"
#define HAS_VECTORS
#elif defined(DS_HAS_NEON)
#include "src/simd/vec_neon.h"
#define HAS_VECTORS
#endif

#if defined(HAS_VECTORS)
#include "png/simd/row_functions.inl.h"

TEST(SimdFilters, PredictPaethFromAllBytes) {
    const U8 lanes = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    for (uint32_t left = 0; left < 256; left += kSanitized ? 5 : 1) {
        for (uint32_t up = 0; up < 256; ++up) {
            for (uint32_t upLeft = 0; upLeft < 256; upLeft += sizeof lanes) {
                const U8 predicted = predict_paeth(U8{} + static_cast<uint8_t>(left),
                                                   U8{} + static_cast<uint8_t>(up),
                                                   lanes + static_cast<uint8_t>(upLeft));
                for (uint32_t i = 0; i < sizeof lanes; ++i) {
                    ASSERT_EQ(predicted[i], paeth_filter_t::predict(left, up, upLeft + i))
                        << left << " " << up << " " << upLeft + i;
                }
            }
        }
    }
}

TEST(SimdFilters, AverageAllBytes) {
    for (uint32_t left = 0; left < 256; ++left) {
        for (uint32_t up = 0; up < 256; ++up) {
            const U8 predicted = ~averageUp(~(U8{} + static_cast<uint8_t>(left)),
                                            ~(U8{} + static_cast<uint8_t>(up)));
            ASSERT_EQ(predicted[0], (left + up) / 2) << left << " " << up;
        }
    }
}
#endif

struct image_t {
    uint32_t pixel_bytes, width, height;
    uint64_t stride;
    uint64_t room; // bytes before the filtered rows
    uint32_t seed;
};

uint64_t row_bytes(const image_t& image) {
    return uint64_t{image.width} * image.pixel_bytes;
}

// A buffer of noise whose rows have filters chosen by `filter_of`.
template <typename filter_of_t>
byte_vector filtered_buffer(const image_t& image, filter_of_t filter_of) {
    const uint64_t filtered = row_bytes(image) + 1;
    byte_vector buffer =
        make_bytes(data_kind::noise, image.room + filtered * image.height, image.seed);
    for (uint32_t row = 0; row < image.height; ++row) {
        buffer[image.room + row * filtered] = static_cast<uint8_t>(filter_of(row));
    }
    return buffer;
}

struct conversion_t {
    fault_t fault;
    byte_vector buffer;
};

conversion_t convert(const image_t& image, byte_vector buffer) {
    const fault_t fault = png_convert_rows({.buffer = buffer.data(),
                                            .bufferSize = buffer.size(),
                                            .sourceOffset = image.room,
                                            .stride = image.stride,
                                            .width = image.width,
                                            .height = image.height,
                                            .bytesPerPixel = image.pixel_bytes});
    return {fault, std::move(buffer)};
}

void expect_same_from_each_backend(const image_t& image, const byte_vector& buffer) {
    const conversion_t expected = [&] {
        const WithBackend scalar("scalar");
        return convert(image, buffer);
    }();
    forEachBackend([&] {
        SCOPED_TRACE(testing::Message()
                     << image.pixel_bytes << " bytes a pixel, stride " << image.stride << ", room "
                     << image.room << ", seed " << image.seed);
        const conversion_t got = convert(image, buffer);
        EXPECT_EQ(got.fault, expected.fault);
        EXPECT_TRUE(same_pixels(expected.buffer, got.buffer,
                                {image.width, image.height, image.stride, image.pixel_bytes}));
    });
}

class PngRowsOnBackends : public testing::TestWithParam<uint32_t> {};

INSTANTIATE_TEST_SUITE_P(EveryPixelSize, PngRowsOnBackends, testing::Values(1, 2, 3, 4),
                         testing::PrintToStringParamName());

TEST_P(PngRowsOnBackends, EqualTheScalarOnesForEveryFilterAndWidth) {
    for (uint32_t filter = 0; filter < kFilterCount; ++filter) {
        for (uint32_t width = 1; width <= 40; ++width) {
            const image_t image{GetParam(), width, 9, uint64_t{width} * GetParam(), 0, width};
            expect_same_from_each_backend(image,
                                          filtered_buffer(image, [=](uint32_t) { return filter; }));
        }
    }
}

// Three rows are too few for a wavefront. With a gap of one byte, every row starts one byte before its source.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesForSingleRowsAtTheMinDistance) {
    for (uint32_t filter = 0; filter < kFilterCount; ++filter) {
        for (uint32_t width = 1; width <= 70; ++width) {
            for (const uint32_t gap : {0U, 1U}) {
                const image_t image{GetParam(), width, 3, uint64_t{width} * GetParam() + gap,
                                    0,          width};
                expect_same_from_each_backend(
                    image, filtered_buffer(image, [=](uint32_t) { return filter; }));
            }
        }
    }
}

// 5^4 groups, each after a separate row.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesForEveryFourFilters) {
    for (uint32_t group = 0; group < 625; ++group) {
        const image_t image{GetParam(), 7, 5, uint64_t{7} * GetParam(), 0, group};
        const uint32_t filters[] = {1, group % 5, group / 5 % 5, group / 25 % 5, group / 125};
        expect_same_from_each_backend(
            image, filtered_buffer(image, [&](uint32_t row) { return filters[row]; }));
    }
}

TEST_P(PngRowsOnBackends, EqualTheScalarOnesForManyPaethPixels) {
    for (uint32_t seed = 41; seed < 45; ++seed) {
        const image_t image{GetParam(), 4096, 13, uint64_t{4096} * GetParam(), 0, seed};
        expect_same_from_each_backend(image, filtered_buffer(image, [](uint32_t row) {
                                          return row == 0 ? kFilterNone : kFilterPaeth;
                                      }));
    }
}

// Wide enough for several registers of pixels in every row of a wavefront.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesForMixedFilters) {
    test_rng rng(43);
    for (int round = 0; round < 400; ++round) {
        image_t image{GetParam(), random_between(rng, 14, 70), random_between(rng, 5, 27), 0, 0,
                      rng()};
        image.stride = row_bytes(image) + random_between(rng, 0, 3) / 3 * random_between(rng, 1, 9);
        image.room = random_between(rng, 0, 30);
        expect_same_from_each_backend(image, filtered_buffer(image, [&](uint32_t) {
                                          return random_between(rng, 0, 7) > 4
                                                     ? uint32_t{kFilterPaeth}
                                                     : random_between(rng, 0, 4);
                                      }));
    }
}

// Rows around the size above which they are saved in strips, and around a multiple of the strips.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesForWideRows) {
    constexpr uint64_t kStrips = uint64_t{6} * 4092;
    for (const uint64_t bytes : {wavefront_row_bytes(8), wavefront_row_bytes(4), kStrips}) {
        const auto middle = static_cast<uint32_t>(bytes / GetParam());
        for (uint32_t width = middle - 16; width <= middle + 8; ++width) {
            const image_t image{GetParam(), width, 14, uint64_t{width} * GetParam(), 0, width};
            expect_same_from_each_backend(
                image, filtered_buffer(image, [](uint32_t row) { return row < 6 ? 4 : row % 5; }));
        }
    }
}

// Up to the max distance the ends of the rows are saved. Beyond it, rows are converted one by one. Rows of the surface
// may be longer than those of the image: then the distance falls from row to row.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesForWideRowsAtEveryKindOfDistance) {
    const auto width = static_cast<uint32_t>((wavefront_row_bytes(4) + 5000) / GetParam());
    const uint64_t rowBytes = uint64_t{width} * GetParam();
    constexpr uint64_t kMaxOfEight = wavefront_max_distance(8);
    constexpr uint64_t kMaxOfFour = wavefront_max_distance(4);
    for (const uint64_t room :
         {uint64_t{0}, uint64_t{1}, uint64_t{4091}, kMaxOfEight - 20, kMaxOfEight - 12, kMaxOfEight,
          kMaxOfFour - 12, kMaxOfFour - 5, kMaxOfFour, 3 * rowBytes}) {
        for (const uint32_t gap : {0U, 1U, 2U, 300U}) {
            const image_t image{GetParam(), width, 19, rowBytes + gap, room, 7};
            expect_same_from_each_backend(
                image, filtered_buffer(image, [](uint32_t row) { return 4 - row % 5 / 4; }));
        }
    }
}

// Any surfaces: rows with gaps or overlaps, and pixels that overtake their source after rows with unknown filters,
// which use one byte.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesInBuffersOfAnyShape) {
    test_rng rng(42);
    for (int round = 0; round < 4000; ++round) {
        image_t image{GetParam(), random_between(rng, 1, 12), random_between(rng, 1, 14),
                      0,          random_between(rng, 0, 40), rng()};
        image.stride =
            random_between(rng, 0, 2) == 0 ? random_between(rng, 0, 60) : row_bytes(image);
        const uint32_t unknown = random_between(rng, 0, 1);
        expect_same_from_each_backend(image, filtered_buffer(image, [&](uint32_t) {
                                          return random_between(rng, 0, 4 + unknown);
                                      }));
    }
}

// The decoder never passes such a buffer, but the row loop rejects it.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesIfTheBufferEndsInsideARow) {
    for (const uint32_t filter : {kFilterUp, kFilterPaeth}) {
        const image_t image{GetParam(), 9, 7, uint64_t{9} * GetParam(), 200, filter};
        byte_vector buffer = filtered_buffer(image, [=](uint32_t) { return filter; });
        for (; buffer.size() >= image.room; buffer.pop_back()) {
            expect_same_from_each_backend(image, byte_vector(buffer));
        }
    }
}

// Multiples of such strides wrap to the buffer's start. Rows with unknown filters keep the loop running that far.
TEST_P(PngRowsOnBackends, EqualTheScalarOnesForStridesWhoseMultiplesWrap) {
    for (const uint64_t stride : {uint64_t{1} << 62, uint64_t{1} << 63, ~uint64_t{0} / 3 + 1,
                                  ~uint64_t{0} / 4 + 3, ~uint64_t{0} - 20, ~uint64_t{0}}) {
        for (uint32_t unknown = 0; unknown < 7; ++unknown) {
            image_t image{GetParam(), 8, 12, stride, 100, unknown};
            byte_vector buffer = filtered_buffer(image, [](uint32_t) { return 4; });
            image.room -= unknown; // each of these rows is only its filter byte
            std::fill_n(buffer.begin() + static_cast<ptrdiff_t>(image.room), unknown, kFilterCount);
            expect_same_from_each_backend(image, buffer);
        }
    }
}

} // namespace
