// Comparing blocks of bytes, with a message that says where they part.
#pragma once

#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>

inline testing::AssertionResult sameBytes(const byte_vector& expected, const byte_vector& actual) {
    if (expected == actual) {
        return testing::AssertionSuccess();
    }
    if (expected.size() != actual.size()) {
        return testing::AssertionFailure()
               << actual.size() << " bytes instead of " << expected.size();
    }
    const auto [wanted, found] = std::mismatch(expected.begin(), expected.end(), actual.begin());
    return testing::AssertionFailure() << "byte " << wanted - expected.begin() << " is "
                                       << int{*found} << " instead of " << int{*wanted};
}
