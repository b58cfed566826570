// The count of a world's cases.
#include "tests/worlds/world.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <utility>

World::World(std::string name)
    : mName(std::move(name))
    , mStride(1) {
    const char* const wish = std::getenv("PNGSLAB_WORLD_STRIDE");
    if (wish != nullptr) {
        mStride = std::strtoull(wish, nullptr, 10);
    }
    if (mStride == 0) {
        ADD_FAILURE() << "PNGSLAB_WORLD_STRIDE is no number above 0";
        mStride = 1;
    }
}

World::~World() {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - mStart;
    const bool hasFailure = testing::Test::HasFailure();
    EXPECT_TRUE(mCases > 0 || hasFailure) << mName << " has no case";
    std::printf("%-44s %14llu cases %7.1f s%s\n", mName.c_str(),
                static_cast<unsigned long long>(mCases), elapsed.count(),
                hasFailure ? ", stopped at a failure" : "");
    std::fflush(stdout);
}
