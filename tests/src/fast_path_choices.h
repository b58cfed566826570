// Runs a check with each choice of fast paths left out, so that every path meets the same inputs.
#pragma once

#include "src/fast_paths.h"

#include <gtest/gtest.h>

#include <cstdint>

/// The fast paths of `mask` are left out while this lives.
class WithoutFastPaths {
public:
    explicit WithoutFastPaths(uint32_t mask) { leaveOutFastPaths(mask); }
    ~WithoutFastPaths() { leaveOutFastPaths(0); }
    WithoutFastPaths(const WithoutFastPaths&) = delete;
    WithoutFastPaths& operator=(const WithoutFastPaths&) = delete;
};

/// Calls `check` with every set of paths left out; once something has failed, no more.
template <typename Check>
void forEachChoiceOfPaths(Check check) {
    constexpr uint32_t kAllPaths = 3;
    for (uint32_t mask = 0; mask <= kAllPaths && !testing::Test::HasFailure(); ++mask) {
        const WithoutFastPaths without(mask);
        check();
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "with the fast paths " << mask << " left out";
        }
    }
}
