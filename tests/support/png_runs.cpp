// Runs the PNG decoder on files in memory of their exact size.
#include "tests/support/png_runs.h"

#include "png/surface_from_png.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/same_bytes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace {

struct exact_file_t {
    explicit exact_file_t(const byte_vector& file)
        : bytes(new uint8_t[file.size()])
        , size(file.size()) {
        std::copy(file.begin(), file.end(), bytes.get());
    }
    std::unique_ptr<uint8_t[]> bytes;
    uint64_t size;
};

// Restores the buffers of a surface.
class surface_content {
public:
    explicit surface_content(DsSurface* surface)
        : m_surface(surface) {
        if (surface != nullptr && surface->getPixels() != nullptr) {
            m_pixels = pixel_buffer(*surface);
        }
        if (surface != nullptr && surface->getPalette() != nullptr) {
            m_palette = palette_buffer(*surface);
        }
    }
    void restore() const {
        if (!m_pixels.empty()) {
            std::memcpy(m_surface->getPixels(), m_pixels.data(), m_pixels.size());
        }
        if (!m_palette.empty()) {
            std::memcpy(m_surface->getPalette(), m_palette.data(), m_palette.size());
        }
    }

private:
    DsSurface* m_surface;
    byte_vector m_pixels, m_palette;
};

png_info_t stale_info() {
    png_info_t info;
    std::memset(static_cast<void*>(&info), kStaleByte, sizeof info);
    return info;
}

byte_vector bytes_of(const png_info_t& info) {
    byte_vector bytes(sizeof info);
    std::memcpy(bytes.data(), &info, sizeof info);
    return bytes;
}

// Every file is first decoded with a fault record: fault and result must agree.
header_outcome_t run_pass(const byte_vector& file, DsSurface* surface) {
    const exact_file_t exact(file);
    const surface_content before(surface);
    png_info_t info_with_record = stale_info();
    png_detail::fault_record_t record = {};
    const int32_t result_with_record =
        png_detail::decode(exact.bytes.get(), exact.size, &info_with_record, surface, &record);
    before.restore();

    header_outcome_t outcome{0, stale_info()};
    outcome.result = png_decode(exact.bytes.get(), exact.size, &outcome.info, surface);

    EXPECT_EQ(outcome.result, result_with_record);
    EXPECT_EQ(outcome.result, png_detail::result_of(record.fault));
    EXPECT_TRUE(same_bytes(bytes_of(outcome.info), bytes_of(info_with_record)))
        << "the information record of the run with a fault record";
    EXPECT_EQ(record.inflateFault != inflate_detail::fault_t::none,
              record.fault == png_detail::fault_t::image_data_invalid);
    EXPECT_LE(record.chunkOffset, exact.size);
    return outcome;
}

} // namespace

header_outcome_t header_pass(const byte_vector& file) {
    return run_pass(file, nullptr);
}

header_outcome_t full_pass_with_info(const byte_vector& file, DsSurface& surface) {
    return run_pass(file, &surface);
}

int32_t full_pass(const byte_vector& file, DsSurface& surface) {
    return full_pass_with_info(file, surface).result;
}

png_detail::fault_record_t record_of(const byte_vector& file, DsSurface* surface) {
    const exact_file_t exact(file);
    png_info_t info = stale_info();
    png_detail::fault_record_t record = {};
    png_detail::decode(exact.bytes.get(), exact.size, &info, surface, &record);
    return record;
}

decode_outcome_t decode_png(const byte_vector& file) {
    const header_outcome_t header = header_pass(file);
    if (header.result != kPngOk) {
        return {header.result, header.result, header.info, nullptr};
    }
    std::unique_ptr<DsSurface> surface(new DsSurface(fenced_surface_for(header.info)));
    const header_outcome_t full = full_pass_with_info(file, *surface);
    return {header.result, full.result, full.info, std::move(surface)};
}

std::ostream& operator<<(std::ostream& stream, const both_results_t& results) {
    return stream << "header pass " << results.header << ", full pass " << results.full;
}

both_results_t both_passes(const byte_vector& file) {
    DsSurface surface = roomy_surface();
    return {header_pass(file).result, full_pass(file, surface)};
}

std::unique_ptr<DsSurface> convert_png(const byte_vector& file, bool alpha_only, int32_t rotation) {
    const exact_file_t exact(file);
    return std::unique_ptr<DsSurface>(
        surface_from_png(exact.bytes.get(), exact.size, alpha_only, rotation));
}
