// A run over many files: several threads, progress on a terminal, results in order.
#pragma once

#include "tools/slabtool/rejection.h"
#include "tools/slabtool/runs/jobs.h"
#include "tools/slabtool/runs/output_folder.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The options that every sub-command for many files has.
struct BatchOptions {
    unsigned jobs = 0;  ///< threads; 0: one for each processor
    bool quiet = false; ///< rejections only, no progress
    bool json = false;  ///< one JSON object on a line for each file
};

/// Callbacks of `runBatch`.
struct BatchCalls {
    std::function<void(size_t file)> work; ///< on a worker thread
    /// On the calling thread, in the order in which files finish. The progress line is cleared, so it may print.
    std::function<void(size_t file, const JobFailure& failure)> done;
};

/// Processes the files 0 to names.size() - 1. The progress line shows their names.
/// @return the result of runJobs: false if threads are still working
bool runBatch(const std::vector<std::string>& names, const BatchOptions& options,
              const BatchCalls& calls);

/// Ends a run into a folder. If threads are still working, this exits the process.
/// @param hasEnded the result of runBatch
/// @return the exit status: 128 plus the signal number after a signal, otherwise 1 if a file was rejected
int endOfRun(bool hasEnded, OutputFolder& folder, bool hasRejections);

/// Like `runBatch`, for sub-commands that write no files, so that a signal may end the process at any time.
/// @param work returns a file's result; runs on a worker thread
/// @param report receives the results in the order of the files; runs on the calling thread
/// @throws Rejection with the message of an exception from `work`
template <typename Result>
void runInOrder(const std::vector<std::string>& names, const BatchOptions& options,
                const std::function<Result(size_t file)>& work,
                const std::function<void(size_t file, const Result& result)>& report) {
    std::vector<std::optional<Result>> results(
        names.size()); // no two threads access the same element
    std::vector<bool> isDone(names.size());
    size_t next = 0;
    const auto reportInOrder = [&](size_t file, const JobFailure& failure) {
        if (failure) {
            throw Rejection(*failure);
        }
        isDone[file] = true;
        for (; next < names.size() && isDone[next]; ++next) {
            report(next, *std::exchange(results[next], std::nullopt));
        }
    };
    runBatch(names, options,
             {.work = [&](size_t file) { results[file] = work(file); }, .done = reportInOrder});
}
