// The handler does no more than to remember the signal; the run looks at it wherever it may end.
#include "tools/slabtool/runs/stop_signals.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<int> gSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free); // since a signal handler writes it

void remember(int signal) {
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
        action.sa_handler = remember;
        // Restarted: a write under way goes on, since each job is either done or not.
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        sigaction(kSignals[i], &action, nullptr);
    }
}

StopSignals::~StopSignals() {
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], &mOldActions[i], nullptr);
    }
}
