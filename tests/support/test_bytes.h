// Bytes and seeded random data for tests. All tests use one type of generator, so that a failing case can
// be repeated from its seed.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

using byte_vector = std::vector<uint8_t>;

/// A random generator with the same numbers on every platform. During its lifetime every failure names its seed.
class test_rng {
public:
    explicit test_rng(uint32_t seed)
        : m_engine(seed)
        , m_trace(__FILE__, __LINE__, testing::Message() << "seed " << seed) {}
    uint32_t operator()() { return static_cast<uint32_t>(m_engine()); }

private:
    std::mt19937 m_engine;
    testing::ScopedTrace m_trace;
};

/// Kinds of data that compressors treat differently.
enum class data_kind { noise, text, runs, gradient };

inline constexpr data_kind kAllDataKinds[] = {data_kind::noise, data_kind::text, data_kind::runs,
                                              data_kind::gradient};

/// A number from `low` to `high`, inclusive.
uint32_t random_between(test_rng& rng, uint32_t low, uint32_t high);

byte_vector make_bytes(data_kind kind, size_t size, uint32_t seed);

/// `count` bytes of `bytes` from `begin` on, or fewer at its end.
byte_vector slice(const byte_vector& bytes, size_t begin, size_t count);

void append(byte_vector& bytes, const byte_vector& more);
