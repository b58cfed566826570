// Small worlds: inputs that are few enough to test all of them, each against an independent model.
//
//     build/dev/bin/small_worlds                             every case, one line for each world
//     build/dev/bin/small_worlds --gtest_filter='Filters*'   one world
//     scripts/test-worlds.sh                                 every case, one process for each processor
//
// PNGSLAB_WORLD_STRIDE=n tests only every n-th unit of a world. The unit is named where the world is counted. The daily
// tests run such slices, so that the program cannot become outdated.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// The cases of one world. When it ends, it prints their number and the time.
class World {
public:
    explicit World(std::string name);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// Whether the next unit belongs to the slice that is tested.
    bool includesNext() { return mUnits++ % mStride == 0; }
    /// Counts cases that have been compared with the model. A case is one input on one backend.
    void count(uint64_t cases = 1) { mCases += cases; }

private:
    std::string mName;
    uint64_t mStride;
    uint64_t mUnits = 0;
    uint64_t mCases = 0;
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};
