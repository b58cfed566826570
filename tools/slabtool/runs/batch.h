// A run over many files: several threads, progress on a terminal, results in order.
#pragma once

#include "tools/slabtool/refusal.h"
#include "tools/slabtool/runs/jobs.h"
#include "tools/slabtool/runs/output_folder.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What every sub-command for many files is asked for.
struct BatchOptions {
    unsigned jobs = 0;  ///< threads; 0: one for each processor
    bool quiet = false; ///< rejections only, no progress
    bool json = false;  ///< an object a line for each file
};

/// What `runBatch` calls.
struct BatchCalls {
    std::function<void(size_t file)> work; ///< on a worker thread
    /// On the calling thread, in the order in which files finish; the terminal is free for a message.
    std::function<void(size_t file, const JobFailure& failure)> done;
};

/// Works on the files 0 to names.size() - 1. Progress shows their names.
/// @return as runJobs: false if threads are at work still
bool runBatch(const std::vector<std::string>& names, const BatchOptions& options,
              const BatchCalls& calls);

/// Ends a run into a folder. Where threads are at work still, the process leaves here.
/// @param hasEnded what runBatch returned
/// @return the exit status: 128 and its number after a signal, otherwise 1 if a file was rejected
int endOfRun(bool hasEnded, OutputFolder& folder, bool hasRejections);

/// Works on files as `runBatch` does, for sub-commands that leave nothing behind and so end at a signal.
/// @param work gives a file's result, on a worker thread
/// @param report gets the results on the calling thread, in the order of the files
/// @throws Refusal with the words of what `work` has thrown
template <typename Result>
void runInOrder(const std::vector<std::string>& names, const BatchOptions& options,
                const std::function<Result(size_t file)>& work,
                const std::function<void(size_t file, const Result& result)>& report) {
    std::vector<std::optional<Result>> results(names.size()); // a worker touches its own
    std::vector<bool> isDone(names.size());
    size_t next = 0;
    const auto reportInOrder = [&](size_t file, const JobFailure& failure) {
        if (failure) {
            throw Refusal(*failure);
        }
        isDone[file] = true;
        for (; next < names.size() && isDone[next]; ++next) {
            report(next, *std::exchange(results[next], std::nullopt));
        }
    };
    runBatch(names, options,
             {.work = [&](size_t file) { results[file] = work(file); }, .done = reportInOrder});
}
