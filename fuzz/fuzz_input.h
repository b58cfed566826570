// Splits a fuzzer's bytes: a few decisions from the start, the rest as data.
#pragma once

#include "fuzz/guarded_memory.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size)
        : mData(data)
        , mSize(size) {}

    size_t size() const { return mSize; }

    /// The next bytes as a number. Missing bytes are zeros.
    template <typename Number>
    Number take() {
        Number value{};
        const size_t count = mSize < sizeof value ? mSize : sizeof value;
        if (count > 0) {
            std::memcpy(&value, mData, count);
        }
        mData += count;
        mSize -= count;
        return value;
    }

    /// A number from 0 to `limit` - 1.
    uint32_t below(uint32_t limit) { return take<uint32_t>() % limit; }

    bool flag() { return (take<uint8_t>() & 1) != 0; }

    /// Up to `count` of the next bytes, in a buffer of exactly their size.
    GuardedBytes takeBytes(size_t count) {
        const size_t taken = mSize < count ? mSize : count;
        GuardedBytes bytes(mData, mData + taken);
        mData += taken;
        mSize -= taken;
        return bytes;
    }

    GuardedBytes rest() { return takeBytes(mSize); }

private:
    const uint8_t* mData;
    size_t mSize;
};

/// Ends the run, as a finding, unless `holds`.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
