// Each worker takes the next job number, and appends finished jobs to a list that the calling thread empties. The
// shared state is reference-counted: after a signal, threads may still work when runJobs returns.
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
constexpr auto kTickPeriod = std::chrono::milliseconds(100);
// Finished jobs are reported in groups: waking the calling thread for each one takes longer than a short job.
constexpr auto kReportPeriod = std::chrono::milliseconds(10);
// An interrupted run must end within a second, including its summary.
constexpr auto kStopTimeout = std::chrono::milliseconds(500);

struct Shared {
    Shared(std::function<void(size_t)> theWork, size_t theCount)
        : work(std::move(theWork))
        , count(theCount) {}

    const std::function<void(size_t)> work;
    const size_t count;
    std::mutex mutex;              // guards the rest
    std::condition_variable ended; // notified when a worker ends
    size_t next = 0;               // the first job that is not started
    size_t working = 0;            // number of workers
    std::vector<std::pair<size_t, JobFailure>> finished;
    std::exception_ptr end; // why a worker has ended: there was no memory for the result of a job
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

// Blocks the signals in this thread. The calling thread receives them; while it blocks them to move a file, no other
// thread may handle them.
void blockStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void runOne(Shared& shared, size_t job) {
    JobFailure failure = attempt(shared.work, job);
    const std::lock_guard lock(shared.mutex);
    shared.finished.emplace_back(job, std::move(failure));
}

// An exception must not leave the thread, which would end the process.
void runWorker(Shared& shared) {
    blockStopSignals();
    std::unique_lock lock(shared.mutex);
    while (shared.next < shared.count && !stopRequested()) {
        const size_t job = shared.next++;
        lock.unlock();
        std::exception_ptr end;
        try {
            runOne(shared, job);
        } catch (...) {
            end = std::current_exception();
        }
        lock.lock();
        if (end) {
            shared.end = end;
            shared.next = shared.count; // no further jobs
        }
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
            mShared->next = mShared->count; // no further jobs if a callback has thrown
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
        } catch (const std::exception&) { // no memory, or too many threads
            if (mThreads.empty()) { // fewer threads than requested are enough, but one is needed
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
    Clock::time_point nextTick = Clock::now() + kTickPeriod;
    Clock::time_point deadline = Clock::time_point::max();
    for (;;) {
        std::vector<std::pair<size_t, JobFailure>> finished;
        std::exception_ptr end;
        bool isOver = false;
        size_t latest = 0;
        {
            std::unique_lock lock(shared->mutex);
            shared->ended.wait_for(lock, kReportPeriod, [&] { return shared->working == 0; });
            finished.swap(shared->finished);
            end = shared->end;
            isOver = shared->working == 0;
            latest = std::max<size_t>(shared->next, 1) - 1;
        }
        for (const auto& [job, failure] : finished) {
            calls.done(job, failure);
        }
        if (end) {
            std::rethrow_exception(end);
        }
        if (isOver) {
            return true;
        }
        const Clock::time_point now = Clock::now();
        if (now >= nextTick) {
            calls.tick(latest);
            nextTick = now + kTickPeriod;
        }
        if (stopRequested()) {
            deadline = std::min(deadline, now + kStopTimeout);
        }
        if (now >= deadline) {
            workers.abandon();
            return false;
        }
    }
}
