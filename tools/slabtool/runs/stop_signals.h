// Signals that ask a batch run to end.
#pragma once

#include <csignal>
#include <iterator>

/// SIGHUP, SIGINT or SIGTERM, if one has arrived while `StopSignals` watched; otherwise 0.
int stopSignal();

inline bool stopRequested() {
    return stopSignal() != 0;
}

/// While it lives, SIGHUP, SIGINT and SIGTERM set `stopSignal` instead of ending the process. The same signal
/// a second time ends it. A signal that was ignored stays ignored, as for a run under nohup.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

private:
    static constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM};
    struct sigaction mOldActions[std::size(kSignals)] = {};
};
