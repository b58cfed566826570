// DEFLATE streams: every stream of up to 3 bytes, and every stream of 28 bits that starts with a block of type 0, 1 or
// 2, against a reference decoder written from RFC 1951. A part is compared with zlib too.
//
// A stream that ends after 28 bits has four more bits in its last byte. They are zeros here. No stream of fewer bits is
// missing: with zeros up to the end of its last byte it is one of these streams, or one of the streams of 3 bytes.
//
// With so little input the decoder uses its state machine only. So each of the 28-bit streams is also tested before two
// tails, where it reads headers in words and enters the fast loop.
#include "tests/worlds/inflate_check.h"
#include "tests/worlds/world.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace {

constexpr uint32_t kUnit = 1U << 12; // streams
constexpr uint32_t kZlibShare = 512; // one of so many streams is compared with zlib

std::array<uint8_t, 4> bytes_of(uint32_t word) {
    return {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8),
            static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 24)};
}

TEST(InflateStreamsWorld, EqualTheReferenceUpToThreeBytes) {
    World world("inflate, every stream of up to 3 bytes");
    for (uint32_t size = 0; size <= 3; ++size) {
        const uint32_t streams = 1U << 8 * size;
        for (uint32_t first = 0; first < streams; first += kUnit) {
            if (!world.includesNext()) {
                continue;
            }
            const uint32_t end = std::min(first + kUnit, streams);
            for (uint32_t word = first; word < end; ++word) {
                const auto bytes = bytes_of(word);
                ASSERT_TRUE(inflates_as_reference(std::span(bytes).first(size)));
            }
            world.count(end - first);
        }
    }
}

// What follows the 28 bits and four zero bits.
constexpr size_t kTailSize = 36;
using tail_t = std::array<uint8_t, kTailSize>;

// Bytes without a pattern, from a linear congruential generator.
constexpr tail_t kMixedTail = [] {
    tail_t tail{};
    uint32_t state = 1;
    for (uint8_t& byte : tail) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return tail;
}();

void expect_28_bits_as_reference(World& world, std::span<const uint8_t> tail) {
    constexpr uint32_t kStreams = 1U << 28;
    constexpr uint32_t kReservedType = 3;
    std::array<uint8_t, 4 + kTailSize> stream{};
    std::copy(tail.begin(), tail.end(), stream.begin() + 4);
    const auto raw = std::span(stream).first(4 + tail.size());
    for (uint32_t first = 0; first < kStreams; first += kUnit) {
        if (!world.includesNext()) {
            continue;
        }
        for (uint32_t word = first; word < first + kUnit; ++word) {
            if ((word >> 1) % 4 == kReservedType) {
                continue;
            }
            const auto bytes = bytes_of(word);
            std::copy(bytes.begin(), bytes.end(), stream.begin());
            ASSERT_TRUE(inflates_as_reference(raw));
            world.count();
            if (word % kZlibShare == first / kUnit % kZlibShare) {
                ASSERT_TRUE(reference_agrees_with_zlib(raw));
            }
        }
    }
}

TEST(InflateStreamsWorld, EqualTheReferenceForEvery28Bits) {
    World world("inflate, every stream of 28 bits");
    expect_28_bits_as_reference(world, {});
}

TEST(InflateStreamsWorld, EqualTheReferenceForEvery28BitsBeforeZeros) {
    World world("inflate, every 28 bits before zeros");
    expect_28_bits_as_reference(world, tail_t{});
}

TEST(InflateStreamsWorld, EqualTheReferenceForEvery28BitsBeforeMixedBytes) {
    World world("inflate, every 28 bits before mixed bytes");
    expect_28_bits_as_reference(world, kMixedTail);
}

} // namespace
