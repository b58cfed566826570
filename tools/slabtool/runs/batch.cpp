// The progress line is cleared before any other output and drawn again after it.
#include "tools/slabtool/runs/batch.h"

#include "tools/slabtool/runs/progress.h"
#include "tools/slabtool/runs/stop_signals.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

bool runBatch(const std::vector<std::string>& names, const BatchOptions& options,
              const BatchCalls& calls) {
    Progress progress(STDERR_FILENO, names.size(), options.quiet || options.json);
    size_t finished = 0;
    return runJobs(names.size(), options.jobs != 0 ? options.jobs : defaultJobs(),
                   {.work = calls.work,
                    .done =
                        [&](size_t file, const JobFailure& failure) {
                            progress.clear();
                            calls.done(file, failure);
                            progress.show(++finished, names[file]);
                        },
                    .tick = [&](size_t file) { progress.show(finished, names[file]); }});
}

int endOfRun(bool hasEnded, OutputFolder& folder, bool hasRejections) {
    constexpr int kRejectedStatus = 1, kSignalStatus = 128;
    if (!stopRequested()) {
        return hasRejections ? kRejectedStatus : 0;
    }
    folder.close();
    std::fflush(stdout);
    if (!hasEnded) {
        std::_Exit(kSignalStatus + stopSignal());
    }
    return kSignalStatus + stopSignal();
}
