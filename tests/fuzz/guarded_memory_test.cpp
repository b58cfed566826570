// The buffers of the fuzzers: every byte is usable, and an access beside the buffer ends the program.
#include "fuzz/guarded_memory.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

constexpr size_t kSizes[] = {0, 1, 2, 3, 4, 299, 300, 301, 4095, 4096, 4097, 1 << 20};

// The compiler must not know that the access is outside.
uint8_t byteAt(const uint8_t* buffer, ptrdiff_t offset) {
    const volatile ptrdiff_t hidden = offset;
    return *static_cast<const volatile uint8_t*>(buffer + hidden);
}

} // namespace

TEST(GuardedMemory, KeepsEachBufferApart) {
    std::vector<GuardedBytes> buffers;
    for (const size_t size : kSizes) {
        buffers.emplace_back(size, static_cast<uint8_t>(buffers.size() + 1));
    }
    for (size_t i = 0; i < buffers.size(); ++i) {
        EXPECT_EQ(GuardedBytes(kSizes[i], static_cast<uint8_t>(i + 1)), buffers[i]);
    }
}

TEST(GuardedMemory, TakesReturnedMemoryAgain) {
    for (int round = 0; round < 10000; ++round) {
        for (const size_t size : kSizes) {
            void* const memory = allocateGuarded(size);
            std::memset(memory, round & 0xFF, size);
            freeGuarded(memory);
        }
    }
    freeGuarded(nullptr);
}

TEST(GuardedMemoryDeathTest, DetectsAnAccessBehindTheBuffer) {
    for (const size_t size : {1U, 2U, 4U, 299U, 4096U, 4097U}) {
        const GuardedBytes buffer(size);
        EXPECT_DEATH(byteAt(buffer.data(), static_cast<ptrdiff_t>(size)), "") << size;
    }
}

TEST(GuardedMemoryDeathTest, DetectsAnAccessBeforeABufferOfEveryThirdSize) {
    for (const size_t size : {3U, 300U, 4095U}) {
        const GuardedBytes buffer(size);
        EXPECT_DEATH(byteAt(buffer.data(), -1), "") << size;
    }
}
