// PNG filters: every filter of each of four rows, every pixel size, and every width from 1 to 40 pixels, on every
// backend, against the definition of the PNG standard byte by byte.
//
// The rows are converted in place in a buffer. It has the exact size of the filtered rows, as for a surface without
// extra bytes, where each pixel is written as close before its source as possible, or extra bytes before them.
#include "png/internal/png_rows.h"
#include "png/internal/row_backend.h"
#include "tests/support/each_backend.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_model.h"
#include "tests/support/same_bytes.h"
#include "tests/worlds/world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

using namespace png_detail;

namespace {

constexpr uint64_t kRooms[] = {0, 13};

constexpr uint8_t color_type_of(uint32_t pixel_bytes) {
    constexpr uint8_t kTypes[] = {kGray, kGrayAlpha, kRgb, kRgba};
    return kTypes[pixel_bytes - 1];
}

// Filtered rows of noise in a buffer, and the same buffer after the model has converted them.
struct rows_case_t {
    uint32_t pixel_bytes, width;
    std::vector<uint32_t> filters; // one for each row
    uint64_t room;

    uint32_t height() const { return static_cast<uint32_t>(filters.size()); }
    uint64_t row_bytes() const { return uint64_t{width} * pixel_bytes; }

    byte_vector buffer() const {
        byte_vector bytes =
            make_bytes(data_kind::noise, room + (row_bytes() + 1) * height(), width);
        for (uint32_t row = 0; row < height(); ++row) {
            bytes[room + row * (row_bytes() + 1)] = static_cast<uint8_t>(filters[row]);
        }
        return bytes;
    }
    byte_vector expected(const byte_vector& before) const {
        const row_layout_t layout{color_type_of(pixel_bytes), width, height(), row_bytes()};
        return model_rows(before, layout, slice(before, room, before.size())).bytes;
    }
    pixel_layout_t layout() const { return {width, height(), row_bytes(), pixel_bytes}; }
    std::string words() const {
        std::ostringstream text;
        text << pixel_bytes << " bytes per pixel, width " << width << ", " << room
             << " extra bytes, filters";
        for (const uint32_t filter : filters) {
            text << " " << filter;
        }
        return text.str();
    }
};

// The loop over the rows of an image.
fault_t convert_image(const rows_case_t& rows, byte_vector& buffer) {
    return png_convert_rows({.buffer = buffer.data(),
                             .bufferSize = buffer.size(),
                             .sourceOffset = rows.room,
                             .stride = rows.row_bytes(),
                             .width = rows.width,
                             .height = rows.height(),
                             .bytesPerPixel = rows.pixel_bytes});
}

// The first row alone, and the others in the wavefront for that number of rows.
bool convert_in_wavefront(const rows_case_t& rows, byte_vector& buffer) {
    const row_functions_t active = active_rows(rows.pixel_bytes);
    for (size_t i = 0; i < kWavefrontSizes.size(); ++i) {
        if (kWavefrontSizes[i] == rows.height() - 1 && active.wavefronts[i] != nullptr) {
            uint8_t* const pixels = buffer.data();
            uint8_t* const source = pixels + rows.room;
            active.first[rows.filters[0]](pixels, source + 1, nullptr, rows.row_bytes());
            active.wavefronts[i](pixels + rows.row_bytes(), source + rows.row_bytes() + 1,
                                 rows.row_bytes(), rows.row_bytes());
            return true;
        }
    }
    return false;
}

void expect_image_as_modelled(const rows_case_t& rows, World& world) {
    const byte_vector before = rows.buffer();
    const byte_vector expected = rows.expected(before);
    forEachBackend([&] {
        byte_vector got = before;
        ASSERT_EQ(convert_image(rows, got), fault_t::none) << rows.words();
        ASSERT_TRUE(same_pixels(expected, got, rows.layout())) << rows.words();
        world.count();
    });
}

void expect_wavefront_as_modelled(const rows_case_t& rows, World& world) {
    const byte_vector before = rows.buffer();
    const byte_vector expected = rows.expected(before);
    forEachBackend([&] {
        byte_vector got = before;
        if (convert_in_wavefront(rows, got)) {
            ASSERT_TRUE(same_pixels(expected, got, rows.layout())) << "wavefront, " << rows.words();
            world.count();
        }
    });
}

// The digits of a number in base 5.
std::vector<uint32_t> filters_of(uint32_t number, uint32_t rows) {
    std::vector<uint32_t> filters;
    for (uint32_t row = 0; row < rows; ++row, number /= kFilterCount) {
        filters.push_back(number % kFilterCount);
    }
    return filters;
}

std::vector<uint32_t> widths_up_to(uint32_t last) {
    std::vector<uint32_t> widths(last);
    std::iota(widths.begin(), widths.end(), 1U);
    return widths;
}

constexpr uint32_t combinations(uint32_t rows) {
    return rows == 0 ? 1 : kFilterCount * combinations(rows - 1);
}

std::vector<uint32_t> after_a_first_row(std::vector<uint32_t> filters) {
    filters.insert(filters.begin(), kFilterSub);
    return filters;
}

class FiltersWorld : public testing::TestWithParam<uint32_t> {
protected:
    // Calls `check` with every combination of filters, width and room, until a failure. A unit is one of them.
    template <typename filters_t, typename check_t>
    void for_each_case(World& world, uint32_t rows, const std::vector<uint32_t>& widths,
                       filters_t with_more, check_t check) {
        for (uint32_t number = 0; number < combinations(rows); ++number) {
            const std::vector<uint32_t> filters = with_more(filters_of(number, rows));
            for (const uint32_t width : widths) {
                for (const uint64_t room : kRooms) {
                    if (world.includesNext()) {
                        check(rows_case_t{GetParam(), width, filters, room}, world);
                    }
                    if (HasFailure()) {
                        return;
                    }
                }
            }
        }
    }
    std::string named(const char* what) const {
        return "filters, " + std::string(what) + ", pixel size " + std::to_string(GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(EveryPixelSize, FiltersWorld, testing::Values(1, 2, 3, 4),
                         testing::PrintToStringParamName());

TEST_P(FiltersWorld, EqualThePngStandardInImagesOfFourRows) {
    World world(named("images of 4 rows"));
    for_each_case(
        world, 4, widths_up_to(40), [](auto filters) { return filters; }, expect_image_as_modelled);
}

// Four rows are too few for a wavefront after the first row. Here every four rows follow two others, and are followed
// by themselves.
TEST_P(FiltersWorld, EqualThePngStandardInImagesOfTenRows) {
    World world(named("images of 10 rows"));
    for_each_case(
        world, 4, widths_up_to(40),
        [](const std::vector<uint32_t>& four) {
            std::vector<uint32_t> filters{kFilterSub, kFilterAverage};
            filters.insert(filters.end(), four.begin(), four.end());
            filters.insert(filters.end(), four.begin(), four.end());
            return filters;
        },
        expect_image_as_modelled);
}

// An image uses a wavefront only where it is faster. Here it converts every group of rows.
TEST_P(FiltersWorld, EqualThePngStandardInWavefrontsOfFourRows) {
    World world(named("wavefronts of 4 rows"));
    for_each_case(world, 4, widths_up_to(40), after_a_first_row, expect_wavefront_as_modelled);
}

// 5^8 groups. A row starts two pixels after the row above it, so the wavefront is full from 15 pixels on.
TEST_P(FiltersWorld, EqualThePngStandardInWavefrontsOfEightRows) {
    if (active_rows(GetParam()).wavefronts[0] == nullptr) {
        GTEST_SKIP() << "only AVX2 has wavefronts of 8 rows";
    }
    World world(named("wavefronts of 8 rows"));
    for_each_case(world, 8, {1, 2, 3, 7, 14, 15, 16, 17}, after_a_first_row,
                  expect_wavefront_as_modelled);
}

} // namespace
