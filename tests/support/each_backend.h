// Runs a check with each backend, with the same inputs.
#pragma once

#include "src/simd/backend.h"

#include <gtest/gtest.h>

#include <string>

/// Activates a backend for the lifetime of this object. Every failure names it.
class WithBackend {
public:
    explicit WithBackend(const char* name)
        : mBefore(ds_detail::backends()[ds_detail::activeBackend()].name)
        , mIsSupported(ds_detail::selectBackend(name))
        , mTrace(__FILE__, __LINE__, testing::Message() << "backend " << name) {}
    ~WithBackend() { ds_detail::selectBackend(mBefore); }
    WithBackend(const WithBackend&) = delete;
    WithBackend& operator=(const WithBackend&) = delete;

    bool isSupported() const { return mIsSupported; }

private:
    std::string mBefore;
    bool mIsSupported;
    testing::ScopedTrace mTrace;
};

/// Calls `check` with every backend that this machine supports, up to the first failure.
template <typename Check>
void forEachBackend(Check check) {
    for (const ds_detail::Backend& backend : ds_detail::backends()) {
        const WithBackend with(backend.name);
        if (with.isSupported() && !testing::Test::HasFailure()) {
            check();
        }
    }
}
