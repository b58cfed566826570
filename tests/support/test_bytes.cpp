// Seeded generators of test bytes.
#include "tests/support/test_bytes.h"

#include <algorithm>

uint32_t random_between(test_rng& rng, uint32_t low, uint32_t high) {
    // Not std::uniform_int_distribution: its results differ between standard libraries.
    const uint64_t span = static_cast<uint64_t>(high) - low + 1;
    return low + static_cast<uint32_t>(rng() % span);
}

namespace {

uint8_t next_byte(data_kind kind, const byte_vector& before, test_rng& rng) {
    const uint32_t random = rng();
    switch (kind) {
    case data_kind::text: {
        static constexpr char kLetters[] = "eeeettaaooiinnsshhrrdlu   .\n";
        if (before.size() > 40 && random % 16 != 0) {
            return before[before.size() - 23 - (random >> 8) % 3];
        }
        return static_cast<uint8_t>(kLetters[(random >> 8) % (sizeof kLetters - 1)]);
    }
    case data_kind::runs:
        return before.empty() || random % 32 == 0 ? static_cast<uint8_t>(random >> 8)
                                                  : before.back();
    case data_kind::gradient:
        return static_cast<uint8_t>(before.size() / 3 + (random % 8 == 0 ? 1 : 0));
    default:
        return static_cast<uint8_t>(random >> 8);
    }
}

} // namespace

byte_vector make_bytes(data_kind kind, size_t size, uint32_t seed) {
    test_rng rng(seed);
    byte_vector bytes;
    bytes.reserve(size);
    while (bytes.size() < size) {
        bytes.push_back(next_byte(kind, bytes, rng));
    }
    return bytes;
}

byte_vector slice(const byte_vector& bytes, size_t begin, size_t count) {
    const size_t first = std::min(begin, bytes.size());
    const size_t last = first + std::min(count, bytes.size() - first);
    return {bytes.begin() + static_cast<ptrdiff_t>(first),
            bytes.begin() + static_cast<ptrdiff_t>(last)};
}

void append(byte_vector& bytes, const byte_vector& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}
