// The handler only stores the signal. The run checks it at the points where it can stop.
#include "tools/slabtool/runs/stop_signals.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<int> gSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free); // since a signal handler writes it

void storeSignal(int signal) {
    gSignal = signal;
}

} // namespace

int stopSignal() {
    return gSignal;
}

StopSignals::StopSignals() {
    gSignal = 0;
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], nullptr, &mOldActions[i]);
        if (mOldActions[i].sa_handler == SIG_IGN) {
            continue;
        }
        struct sigaction action = {};
        action.sa_handler = storeSignal;
        // SA_RESTART lets a running write continue, so that the job is completed.
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        sigaction(kSignals[i], &action, nullptr);
    }
}

StopSignals::~StopSignals() {
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], &mOldActions[i], nullptr);
    }
}
