// Runs many jobs on several threads.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

/// The reason why a job failed; nothing if it succeeded.
using JobFailure = std::optional<std::string>;

/// Callbacks of `runJobs`. All except `work` run on the calling thread.
struct JobCalls {
    /// Runs on a worker thread. An exception is the failure of that job.
    std::function<void(size_t job)> work;
    /// Once for each finished job, in the order in which they finish.
    std::function<void(size_t job, const JobFailure& failure)> done;
    /// About ten times a second, with the number of the last started job.
    std::function<void(size_t job)> tick;
};

/// One thread for each processor that this process may use.
unsigned defaultJobs();

/// Starts the jobs 0 to count - 1 in this order on `threads` threads. Each thread has one job at a time, so at most
/// `threads` images are in memory.
///
/// After a stop signal (see stop_signals.h) no further job starts, and running jobs have half a second to end.
/// @throws std::bad_alloc if there is no memory for the result of a job
/// @return true if all threads have ended. If false, threads still use the objects that `calls` refers to: the caller
/// must print its summary and call std::_Exit.
bool runJobs(size_t count, unsigned threads, const JobCalls& calls);
