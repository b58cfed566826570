// Many jobs on several threads.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

/// Why a job failed; nothing if it did not.
using JobFailure = std::optional<std::string>;

/// What `runJobs` calls. All but `work` run on the calling thread, one at a time.
struct JobCalls {
    std::function<void(size_t job)>
        work; ///< on a worker thread; an exception is that job's failure
    /// Once for each finished job, in the order in which they finish.
    std::function<void(size_t job, const JobFailure& failure)> done;
    /// About ten times a second, with the number of the job that was started last.
    std::function<void(size_t job)> tick;
};

/// One for each processor that this process may use.
unsigned defaultJobs();

/// Does the jobs 0 to count - 1, in this order, on `threads` threads. A thread holds one job at a time, so
/// that at most `threads` images are in memory.
///
/// After a signal to stop (see stop_signals.h), no further job is started, and those under way get half a
/// second. @return true if no job is under way any more. Otherwise threads are still at work on what `calls`
/// refers to: the caller writes its summary and leaves by std::_Exit.
bool runJobs(size_t count, unsigned threads, const JobCalls& calls);
