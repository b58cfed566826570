// The wide fill at both register widths.
#include "src/wide_fill.h"

#include "src/fast_paths.h"
#include "src/wide_lanes.h"

namespace {

// A run of three registers: the same bytes again, whatever the pixel's size.
template <typename Bytes>
struct Run {
    static constexpr uint32_t kSize = 3 * sizeof(Bytes);
    static_assert(kSize % 3 == 0 && kSize % 4 == 0 && kSize + sizeof(Bytes) <= kFillPattern);

    Bytes first, second, third;

    DS_INLINE explicit Run(const uint8_t* pattern) {
        std::memcpy(&first, pattern, sizeof first);
        std::memcpy(&second, pattern + sizeof(Bytes), sizeof second);
        std::memcpy(&third, pattern + 2 * sizeof(Bytes), sizeof third);
    }

    DS_INLINE void store(uint8_t* to) const {
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + sizeof(Bytes), &second, sizeof second);
        std::memcpy(to + 2 * sizeof(Bytes), &third, sizeof third);
    }
};

// The first and the last run are stored where they fall, those between on whole registers: stores
// across cache lines cost twice (with 32-byte registers, 1.6 times as fast as unaligned 16 bytes). A
// line is a whole number of pixels, and so is a run, so the last one starts with a pixel like the first.
template <typename Bytes>
DS_INLINE void fill(uint8_t* line, uint64_t byteCount, const uint8_t* pattern) {
    constexpr uint32_t kSize = Run<Bytes>::kSize;
    if (byteCount < kSize) {
        std::memcpy(line, pattern, byteCount);
        return;
    }
    const Run<Bytes> whole(pattern);
    whole.store(line);
    uint8_t* const last = line + (byteCount - kSize);
    const uint64_t skipped = -reinterpret_cast<uintptr_t>(line) % sizeof(Bytes);
    const Run<Bytes> turned(pattern + skipped);
    for (uint8_t* to = line + skipped; to <= last; to += kSize) {
        turned.store(to);
    }
    whole.store(last);
}

void fill128(uint8_t* line, uint64_t byteCount, const uint8_t* pattern) {
    fill<FourLanes::Bytes>(line, byteCount, pattern);
}

DS_TARGET_256 void fill256(uint8_t* line, uint64_t byteCount, const uint8_t* pattern) {
    fill<EightLanes::Bytes>(line, byteCount, pattern);
}

} // namespace

WideFill wideFill() {
    if (mayTakeFastPath(DsFastPath::Wide256)) {
        return fill256;
    }
    return mayTakeFastPath(DsFastPath::Wide128) ? fill128 : nullptr;
}
