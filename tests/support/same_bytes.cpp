// Finds the first difference and describes its position.
#include "tests/support/same_bytes.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

// The offset of the first difference, or the size of the shorter buffer.
size_t first_difference(const byte_vector& a, const byte_vector& b) {
    const auto size = static_cast<ptrdiff_t>(std::min(a.size(), b.size()));
    return static_cast<size_t>(std::mismatch(a.begin(), a.begin() + size, b.begin()).first -
                               a.begin());
}

std::string hex(const byte_vector& bytes, uint64_t at, uint64_t count) {
    std::string text;
    for (const uint8_t byte : slice(bytes, at, count)) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ", byte);
        text += digits;
    }
    text.pop_back();
    return text;
}

testing::AssertionResult difference(const std::string& place, const byte_vector& expected,
                                    const byte_vector& got, uint64_t at, uint64_t count) {
    return testing::AssertionFailure()
           << place << ": expected " << hex(expected, at, count) << ", got " << hex(got, at, count);
}

std::string byte_of(uint64_t at, size_t size) {
    return "byte " + std::to_string(at) + " of " + std::to_string(size);
}

} // namespace

testing::AssertionResult same_bytes(const byte_vector& expected, const byte_vector& got) {
    if (expected == got) {
        return testing::AssertionSuccess();
    }
    const size_t at = first_difference(expected, got);
    if (at < std::min(expected.size(), got.size())) {
        return difference(byte_of(at, expected.size()), expected, got, at, 1)
               << (expected.size() == got.size()
                       ? ""
                       : ", which has " + std::to_string(got.size()) + " bytes");
    }
    return testing::AssertionFailure() << "expected " << expected.size() << " bytes, got "
                                       << got.size() << ", equal up to the shorter size";
}

pixel_layout_t layout_of(const DsSurface& surface) {
    return {static_cast<uint64_t>(std::max(surface.getWidth(), 0)),
            static_cast<uint64_t>(std::max(surface.getHeight(), 0)), surface.getStride(),
            surface.getBytesPerPixel()};
}

testing::AssertionResult same_pixels(const byte_vector& expected, const byte_vector& got,
                                     const pixel_layout_t& layout) {
    if (expected.size() != got.size() || expected == got) {
        return same_bytes(expected, got);
    }
    const size_t at = first_difference(expected, got);
    const std::string size = std::to_string(layout.width) + " x " + std::to_string(layout.height);
    const uint64_t row = at < layout.start || layout.stride == 0
                             ? layout.height
                             : (at - layout.start) / layout.stride;
    if (row >= layout.height) {
        return difference(byte_of(at, expected.size()) + ", outside the rows of " + size, expected,
                          got, at, 1);
    }
    const uint64_t begin = layout.start + row * layout.stride;
    const uint64_t row_bytes = layout.width * layout.pixel_bytes;
    if (at - begin >= row_bytes) {
        return difference("row " + std::to_string(row) + ", byte " +
                              std::to_string(at - begin - row_bytes) + " after the pixels of " +
                              size,
                          expected, got, at, 1);
    }
    const uint64_t column = (at - begin) / layout.pixel_bytes;
    return difference("row " + std::to_string(row) + ", column " + std::to_string(column) + " of " +
                          size,
                      expected, got, begin + column * layout.pixel_bytes, layout.pixel_bytes);
}
