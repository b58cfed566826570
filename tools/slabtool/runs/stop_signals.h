// Signals that stop a batch run.
#pragma once

#include <csignal>
#include <iterator>

/// The signal that arrived since the last `StopSignals` was constructed: SIGHUP, SIGINT or SIGTERM; 0 if none did.
int stopSignal();

inline bool stopRequested() {
    return stopSignal() != 0;
}

/// During its lifetime SIGHUP, SIGINT and SIGTERM set `stopSignal` instead of ending the process. The second arrival of
/// the same signal ends the process. An ignored signal stays ignored, for example under nohup.
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
