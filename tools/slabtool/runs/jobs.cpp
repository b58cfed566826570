// Workers take the next number and report to a list, which the calling thread empties. What they share
// outlives the call: after a signal, threads may still be at work when it returns.
#include "tools/slabtool/runs/jobs.h"

#include "tools/slabtool/runs/stop_signals.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kTick = std::chrono::milliseconds(100);
// Finished jobs are reported in groups: waking the calling thread for each costs more than many jobs do.
constexpr auto kReportPeriod = std::chrono::milliseconds(10);
// A run that was interrupted ends within a second, its summary included.
constexpr auto kPatience = std::chrono::milliseconds(500);

struct Shared {
    Shared(std::function<void(size_t)> theWork, size_t theCount)
        : work(std::move(theWork))
        , count(theCount) {}

    const std::function<void(size_t)> work;
    const size_t count;
    std::mutex mutex;              // guards the rest
    std::condition_variable ended; // a thread
    size_t next = 0;               // the first job that nobody has taken
    size_t working = 0;            // threads
    std::vector<std::pair<size_t, JobFailure>> finished;
};

JobFailure attempt(const std::function<void(size_t)>& work, size_t job) {
    try {
        work(job);
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return "not enough memory";
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

// The calling thread gets the signals: what it holds back while it moves a file stays held back.
void leaveSignalsToCaller() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void runWorker(Shared& shared) {
    leaveSignalsToCaller();
    std::unique_lock lock(shared.mutex);
    while (shared.next < shared.count && !stopRequested()) {
        const size_t job = shared.next++;
        lock.unlock();
        JobFailure failure = attempt(shared.work, job);
        lock.lock();
        shared.finished.emplace_back(job, std::move(failure));
    }
    --shared.working;
    shared.ended.notify_one();
}

// The threads of one call.
class Workers {
public:
    Workers(std::shared_ptr<Shared> shared, size_t count)
        : mShared(std::move(shared)) {
        for (size_t i = 0; i < count; ++i) {
            startOne();
        }
    }
    ~Workers() {
        {
            const std::lock_guard lock(mShared->mutex);
            mShared->next = mShared->count; // also where a call has thrown
        }
        for (std::thread& thread : mThreads) {
            thread.join();
        }
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void abandon() {
        for (std::thread& thread : mThreads) {
            thread.detach();
        }
        mThreads.clear();
    }

private:
    void startOne() {
        const std::lock_guard lock(mShared->mutex);
        try {
            mThreads.emplace_back([shared = mShared] { runWorker(*shared); });
            ++mShared->working;
        } catch (const std::system_error&) {
            if (mThreads.empty()) { // a limit on threads costs speed, unless there can be none
                throw;
            }
        }
    }

    std::shared_ptr<Shared> mShared;
    std::vector<std::thread> mThreads;
};

} // namespace

unsigned defaultJobs() {
    return std::max(1U, std::thread::hardware_concurrency());
}

bool runJobs(size_t count, unsigned threads, const JobCalls& calls) {
    if (count == 0) {
        return true;
    }
    const auto shared = std::make_shared<Shared>(calls.work, count);
    Workers workers(shared, std::min<size_t>(count, std::max(1U, threads)));
    Clock::time_point nextTick = Clock::now() + kTick;
    Clock::time_point deadline = Clock::time_point::max();
    for (;;) {
        std::vector<std::pair<size_t, JobFailure>> finished;
        bool isOver = false;
        size_t latest = 0;
        {
            std::unique_lock lock(shared->mutex);
            shared->ended.wait_for(lock, kReportPeriod, [&] { return shared->working == 0; });
            finished.swap(shared->finished);
            isOver = shared->working == 0;
            latest = std::max<size_t>(shared->next, 1) - 1;
        }
        for (const auto& [job, failure] : finished) {
            calls.done(job, failure);
        }
        if (isOver) {
            return true;
        }
        const Clock::time_point now = Clock::now();
        if (now >= nextTick) {
            calls.tick(latest);
            nextTick = now + kTick;
        }
        if (stopRequested()) {
            deadline = std::min(deadline, now + kPatience);
        }
        if (now >= deadline) {
            workers.abandon();
            return false;
        }
    }
}
