// Allocation callbacks for surfaces under test: they record what was asked for and given back,
// fence every block with guard bytes, and can be told to fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Records the traffic of `allocate` and `release` while it lives; at most one lives at a time. Its
/// destructor fails the test if a block was left over.
///
/// Blocks start at odd addresses, since surfaces promise to work on blocks without any alignment,
/// and hold 0xCD at first, so that bytes nobody wrote are told from written ones. Requests beyond
/// kLargestBlock are only recorded and get a null block.
class TrackedBlocks {
public:
    static constexpr size_t kLargestBlock = size_t{1} << 24;
    static constexpr uint8_t kUnwritten = 0xCD;
    enum class Failure { None, Null, Throw };

    TrackedBlocks();
    ~TrackedBlocks();
    TrackedBlocks(const TrackedBlocks&) = delete;
    TrackedBlocks& operator=(const TrackedBlocks&) = delete;

    static void* allocate(size_t byteCount);
    static void release(void* block);

    std::vector<size_t> requests; ///< byte counts, in order
    std::vector<void*> blocks;    ///< what each request got
    std::vector<void*> released;  ///< in order
    /// What the request with the number `failingRequest` (counted from 0) gets.
    Failure failure = Failure::None;
    size_t failingRequest = 0;
};
