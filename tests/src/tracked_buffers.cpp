// The recording allocator of the surface tests.
#include "tests/src/tracked_buffers.h"

#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr size_t kGuardBytes = 33; // odd, so that buffers are unaligned
constexpr uint8_t kGuard = 0xA7;

TrackedBuffers* current = nullptr;

void expectUntouched(const uint8_t* guard, const char* place, size_t bufferSize) {
    EXPECT_TRUE(same_bytes(byte_vector(kGuardBytes, kGuard), {guard, guard + kGuardBytes}))
        << "the guard " << place << " a buffer of " << bufferSize << " bytes";
}

} // namespace

TrackedBuffers::TrackedBuffers() {
    EXPECT_EQ(nullptr, current);
    current = this;
}

TrackedBuffers::~TrackedBuffers() {
    const auto live = std::count_if(buffers.begin(), buffers.end(), [](void* b) { return b; });
    const auto freed = std::count_if(released.begin(), released.end(), [](void* b) { return b; });
    EXPECT_EQ(live, freed) << "buffers were left over";
    current = nullptr;
}

void* TrackedBuffers::allocate(size_t byteCount) {
    const bool fails =
        current->failure != Failure::None && current->requests.size() == current->failingRequest;
    current->requests.push_back(byteCount);
    current->buffers.push_back(nullptr);
    if (fails && current->failure == Failure::Throw) {
        throw std::bad_alloc();
    }
    if (fails || byteCount > kMaxBufferSize) {
        return nullptr;
    }
    auto* memory = static_cast<uint8_t*>(std::malloc(byteCount + 2 * kGuardBytes));
    std::fill_n(memory, kGuardBytes, kGuard);
    std::fill_n(memory + kGuardBytes, byteCount, kUnwritten);
    std::fill_n(memory + kGuardBytes + byteCount, kGuardBytes, kGuard);
    current->buffers.back() = memory + kGuardBytes;
    return memory + kGuardBytes;
}

void TrackedBuffers::release(void* buffer) {
    current->released.push_back(buffer);
    if (buffer == nullptr) {
        return;
    }
    const auto found = std::find(current->buffers.rbegin(), current->buffers.rend(), buffer);
    ASSERT_NE(current->buffers.rend(), found) << "not a buffer, or not one of these callbacks";
    const size_t size = *(current->requests.rbegin() + (found - current->buffers.rbegin()));
    auto* bytes = static_cast<uint8_t*>(buffer);
    expectUntouched(bytes - kGuardBytes, "in front of", size);
    expectUntouched(bytes + size, "behind", size);
    std::free(bytes - kGuardBytes);
}
