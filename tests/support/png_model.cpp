// The row model. It is simple, and every access is checked.
#include "tests/support/png_model.h"

#include "tests/support/png_maker.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

class row_model {
public:
    row_model(byte_vector& buffer, const row_layout_t& layout, uint64_t source)
        : m_buffer(buffer)
        , m_layout(layout)
        , m_pixel_bytes(samples_per_pixel(layout.color_type))
        , m_source(source) {}

    void run() {
        for (uint64_t row = 0; row < m_layout.height; ++row) {
            const uint8_t filter = m_buffer.at(m_source++);
            if (filter <= kPaeth) {
                convert_row(row, filter);
            }
        }
    }

private:
    void convert_row(uint64_t row, uint8_t filter) {
        for (uint64_t x = 0; x < m_layout.width; ++x) {
            const uint64_t target = row * m_layout.stride + x * m_pixel_bytes;
            std::array<uint8_t, 4> pixel{};
            for (uint32_t channel = 0; channel < m_pixel_bytes; ++channel) {
                const uint64_t at = target + channel;
                const uint64_t above = at - m_layout.stride;
                const int left = x > 0 ? m_buffer.at(at - m_pixel_bytes) : 0;
                const int up = row > 0 ? m_buffer.at(above) : 0;
                const int up_left = x > 0 && row > 0 ? m_buffer.at(above - m_pixel_bytes) : 0;
                const uint8_t source = m_buffer.at(m_source + sample_of(channel));
                pixel.at(channel) =
                    static_cast<uint8_t>(source + predict_sample(filter, left, up, up_left));
            }
            m_source += m_pixel_bytes;
            for (uint32_t channel = 0; channel < m_pixel_bytes; ++channel) {
                m_buffer.at(target + channel) = pixel.at(channel);
            }
        }
    }

    // Red and blue are exchanged.
    uint32_t sample_of(uint32_t channel) const {
        return m_pixel_bytes >= 3 && channel < 3 ? 2 - channel : channel;
    }

    byte_vector& m_buffer;
    row_layout_t m_layout;
    uint32_t m_pixel_bytes;
    uint64_t m_source;
};

} // namespace

model_buffer_t model_rows(const byte_vector& buffer, const row_layout_t& layout,
                          const byte_vector& filtered) {
    const uint64_t row_bytes =
        static_cast<uint64_t>(layout.width) * samples_per_pixel(layout.color_type) + 1;
    // The size of the decompressed rows is a 32-bit number that wraps.
    const uint64_t room = static_cast<uint32_t>(row_bytes * layout.height);
    model_buffer_t result{true, buffer};
    const uint64_t source = buffer.size() - room;
    std::copy_n(filtered.begin(), std::min<uint64_t>(filtered.size(), room),
                result.bytes.begin() + static_cast<ptrdiff_t>(source));
    try {
        row_model(result.bytes, layout, source).run();
    } catch (const std::out_of_range&) {
        result.stays_inside = false;
    }
    return result;
}
