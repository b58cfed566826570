// runJobs: runs each job once, uses at most the requested threads, and stops at a signal.
#include "tools/slabtool/rejection.h"
#include "tools/slabtool/runs/jobs.h"
#include "tools/slabtool/runs/stop_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <map>
#include <new>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

// The arguments of `done`.
using Outcomes = std::map<size_t, JobFailure>;

struct Outcome {
    bool isOver;
    Outcomes outcomes;
};

Outcome runAll(size_t count, unsigned threads, const std::function<void(size_t)>& work) {
    Outcome run = {false, {}};
    run.isOver = runJobs(count, threads,
                         {.work = work,
                          .done =
                              [&](size_t job, const JobFailure& failure) {
                                  EXPECT_TRUE(run.outcomes.emplace(job, failure).second)
                                      << "job " << job << " twice";
                              },
                          .tick = [](size_t) {}});
    return run;
}

TEST(Jobs, AreEachDoneOnce) {
    for (const unsigned threads : {1U, 2U, 7U}) {
        std::vector<std::atomic<int>> runs(1000);
        const Outcome run = runAll(runs.size(), threads, [&](size_t job) { ++runs[job]; });
        EXPECT_TRUE(run.isOver);
        EXPECT_EQ(runs.size(), run.outcomes.size()) << threads << " threads";
        EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](int count) { return count == 1; }));
    }
}

TEST(Jobs, MayBeNone) {
    EXPECT_TRUE(runAll(0, 4, [](size_t) { FAIL(); }).isOver);
}

TEST(Jobs, NeverRunOnMoreThreadsThanRequested) {
    std::atomic<int> current = 0, max = 0;
    runAll(60, 3, [&](size_t) {
        const int now = ++current;
        int seen = max;
        while (seen < now && !max.compare_exchange_weak(seen, now)) {
        }
        std::this_thread::sleep_for(1ms);
        --current;
    });
    EXPECT_EQ(3, max);
}

TEST(Jobs, StartInOrder) {
    std::vector<size_t> started;
    runAll(100, 1, [&](size_t job) { started.push_back(job); });
    EXPECT_TRUE(std::is_sorted(started.begin(), started.end()));
}

TEST(Jobs, FailAlone) {
    const Outcome run = runAll(3, 2, [](size_t job) {
        if (job == 0) {
            throw Rejection("is broken");
        }
        if (job == 1) {
            throw std::bad_alloc();
        }
    });
    EXPECT_EQ((Outcomes{{0, "is broken"}, {1, "not enough memory"}, {2, std::nullopt}}),
              run.outcomes);
}

TEST(Jobs, CallTickWhileTheyRun) {
    size_t ticks = 0;
    runJobs(1, 1,
            {.work = [](size_t) { std::this_thread::sleep_for(350ms); },
             .done = [](size_t, const JobFailure&) {},
             .tick =
                 [&](size_t job) {
                     EXPECT_EQ(0U, job);
                     ++ticks;
                 }});
    EXPECT_LE(1U, ticks);
    EXPECT_GE(4U, ticks);
}

TEST(Jobs, EndIfACallbackThrows) {
    std::atomic<size_t> started = 0;
    EXPECT_THROW(runJobs(1000, 2,
                         {.work =
                              [&](size_t) {
                                  ++started;
                                  std::this_thread::sleep_for(1ms);
                              },
                          .done = [](size_t, const JobFailure&) { throw Rejection("full"); },
                          .tick = [](size_t) {}}),
                 Rejection);
    EXPECT_GT(1000U, started);
}

TEST(Jobs, AreNotStartedAfterASignal) {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        const StopSignals watch;
        const Outcome run = runAll(100, 1, [&](size_t job) {
            if (job == 3) {
                kill(getpid(), signal); // another thread receives it
                while (!stopRequested()) {
                    std::this_thread::yield();
                }
            }
        });
        EXPECT_TRUE(run.isOver);
        EXPECT_EQ(4U, run.outcomes.size());
        EXPECT_EQ(signal, stopSignal());
    }
}

TEST(JobsDeathTest, ThatTakeLongAreAbandonedAfterASignal) {
    const auto interrupt = [] {
        const StopSignals watch;
        const auto start = std::chrono::steady_clock::now();
        const Outcome run = runAll(2, 1, [](size_t) {
            kill(getpid(), SIGINT);
            std::this_thread::sleep_for(1h);
        });
        const bool isInTime = std::chrono::steady_clock::now() - start < 1s;
        std::_Exit(!run.isOver && run.outcomes.empty() && isInTime ? 0 : 1);
    };
    EXPECT_EXIT(interrupt(), testing::ExitedWithCode(0), "");
}

TEST(JobsDeathTest, EndImmediatelyAtASecondSignal) {
    const auto interruptTwice = [] {
        const StopSignals watch;
        raise(SIGINT);
        raise(SIGINT);
    };
    EXPECT_EXIT(interruptTwice(), testing::KilledBySignal(SIGINT), "");
}

TEST(StopSignals, LeaveIgnoredSignalsIgnored) {
    const auto old = std::signal(SIGHUP, SIG_IGN);
    {
        const StopSignals watch;
        raise(SIGHUP);
        EXPECT_FALSE(stopRequested());
    }
    std::signal(SIGHUP, old);
}

TEST(StopSignals, RestoreTheOldActions) {
    { const StopSignals watch; }
    struct sigaction action = {};
    sigaction(SIGTERM, nullptr, &action);
    EXPECT_EQ(SIG_DFL, action.sa_handler);
}

} // namespace
