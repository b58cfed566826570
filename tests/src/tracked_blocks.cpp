// The recording allocator of the surface tests.
#include "tests/src/tracked_blocks.h"

#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr size_t kGuardBytes = 33; // odd, so that blocks are unaligned
constexpr uint8_t kGuard = 0xA7;

TrackedBlocks* current = nullptr;

void expectUntouched(const uint8_t* guard, const char* place, size_t blockSize) {
    EXPECT_TRUE(same_bytes(byte_vector(kGuardBytes, kGuard), {guard, guard + kGuardBytes}))
        << "the guard " << place << " a block of " << blockSize << " bytes";
}

} // namespace

TrackedBlocks::TrackedBlocks() {
    EXPECT_EQ(nullptr, current);
    current = this;
}

TrackedBlocks::~TrackedBlocks() {
    const auto live = std::count_if(blocks.begin(), blocks.end(), [](void* b) { return b; });
    const auto freed = std::count_if(released.begin(), released.end(), [](void* b) { return b; });
    EXPECT_EQ(live, freed) << "blocks were left over";
    current = nullptr;
}

void* TrackedBlocks::allocate(size_t byteCount) {
    const bool fails =
        current->failure != Failure::None && current->requests.size() == current->failingRequest;
    current->requests.push_back(byteCount);
    current->blocks.push_back(nullptr);
    if (fails && current->failure == Failure::Throw) {
        throw std::bad_alloc();
    }
    if (fails || byteCount > kLargestBlock) {
        return nullptr;
    }
    auto* memory = static_cast<uint8_t*>(std::malloc(byteCount + 2 * kGuardBytes));
    std::fill_n(memory, kGuardBytes, kGuard);
    std::fill_n(memory + kGuardBytes, byteCount, kUnwritten);
    std::fill_n(memory + kGuardBytes + byteCount, kGuardBytes, kGuard);
    current->blocks.back() = memory + kGuardBytes;
    return memory + kGuardBytes;
}

void TrackedBlocks::release(void* block) {
    current->released.push_back(block);
    if (block == nullptr) {
        return;
    }
    const auto found = std::find(current->blocks.rbegin(), current->blocks.rend(), block);
    ASSERT_NE(current->blocks.rend(), found) << "not a block, or not one of these callbacks";
    const size_t size = *(current->requests.rbegin() + (found - current->blocks.rbegin()));
    auto* bytes = static_cast<uint8_t*>(block);
    expectUntouched(bytes - kGuardBytes, "in front of", size);
    expectUntouched(bytes + size, "behind", size);
    std::free(bytes - kGuardBytes);
}
