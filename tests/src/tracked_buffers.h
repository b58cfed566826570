// Allocation callbacks for surfaces under test. They record allocations and releases, put guard bytes around
// every buffer, and can fail on request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Records the calls of `allocate` and `release` during its lifetime. Only one object may exist at a time. Its
/// destructor fails the test if a buffer was not released.
///
/// Buffers start at odd addresses, because surfaces must work on buffers without any alignment. Their initial
/// bytes are 0xCD, so that unwritten bytes are detected. Requests above kMaxBufferSize are only recorded and
/// return null.
class TrackedBuffers {
public:
    static constexpr size_t kMaxBufferSize = size_t{1} << 24;
    static constexpr uint8_t kUnwritten = 0xCD;
    enum class Failure { None, Null, Throw };

    TrackedBuffers();
    ~TrackedBuffers();
    TrackedBuffers(const TrackedBuffers&) = delete;
    TrackedBuffers& operator=(const TrackedBuffers&) = delete;

    static void* allocate(size_t byteCount);
    static void release(void* buffer);

    std::vector<size_t> requests; ///< byte counts, in order
    std::vector<void*> buffers;   ///< the result of each request
    std::vector<void*> released;  ///< in order
    /// The failure of the request number `failingRequest`, counted from 0.
    Failure failure = Failure::None;
    size_t failingRequest = 0;
};
