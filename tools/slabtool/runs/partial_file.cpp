// The name of a command's only partial file is a global, since a signal handler has nothing else to go by.
// Signals are held back wherever the file and that name do not match.
#include "tools/slabtool/runs/partial_file.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <unistd.h>

namespace {

constexpr const char* kCommandPrefix = ".slabtool-";
constexpr const char* kBatchPrefix = ".surfaces-";
constexpr const char* kSuffix = ".partial";

std::atomic<const char*> gPartialPath = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free); // since a signal handler reads it

// Calls only what is safe in a signal handler. The action was reset on entry, and the signal is blocked
// until the handler returns: raised again here, it ends the process as if there were no handler.
void removeAndEnd(int signal) {
    unlink(gPartialPath.load());
    raise(signal);
}

// Holds all signals back while it lives; a batch run only notes them, so that they may come at any time.
class SignalPause {
public:
    explicit SignalPause(PartialFile::Writer writer)
        : mIsNeeded(writer == PartialFile::Writer::Command) {
        if (mIsNeeded) {
            sigset_t all;
            sigfillset(&all);
            pthread_sigmask(SIG_SETMASK, &all, &mOld);
        }
    }
    ~SignalPause() {
        if (mIsNeeded) {
            const int error = errno;
            pthread_sigmask(SIG_SETMASK, &mOld, nullptr);
            errno = error;
        }
    }
    SignalPause(const SignalPause&) = delete;
    SignalPause& operator=(const SignalPause&) = delete;

private:
    bool mIsNeeded;
    sigset_t mOld;
};

} // namespace

PartialFile::PartialFile(const std::filesystem::path& folder, Writer writer)
    : mWriter(writer) {
    const SignalPause pause(mWriter);
    const std::string prefix = writer == Writer::Batch ? kBatchPrefix : kCommandPrefix;
    for (uint64_t number = 0; mStream == nullptr; ++number) {
        mPath = folder / (prefix + std::to_string(number) + kSuffix);
        mStream = std::fopen(mPath.c_str(), "wbx");
        if (mStream == nullptr && errno != EEXIST) {
            mPath.clear();
            return;
        }
    }
    watchSignals();
}

PartialFile::~PartialFile() {
    if (mPath.empty()) {
        return;
    }
    const SignalPause pause(mWriter);
    unlink(mPath.c_str());
    forgetSignals();
}

bool PartialFile::moveTo(const std::filesystem::path& place) {
    const SignalPause pause(mWriter);
    if (std::rename(mPath.c_str(), place.c_str()) != 0) {
        return false;
    }
    forgetSignals();
    mPath.clear();
    return true;
}

bool PartialFile::isBatchName(const std::string& name) {
    return name.starts_with(kBatchPrefix) && name.ends_with(kSuffix);
}

void PartialFile::watchSignals() {
    if (mWriter == Writer::Batch) {
        return;
    }
    gPartialPath = mPath.c_str();
    for (size_t i = 0; i < kEndingSignalCount; ++i) {
        sigaction(kEndingSignals[i], nullptr, &mOldActions[i]);
        if (mOldActions[i].sa_handler != SIG_DFL) {
            continue; // a run under nohup goes on
        }
        struct sigaction action = {};
        action.sa_handler = removeAndEnd;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(kEndingSignals[i], &action, nullptr);
    }
}

void PartialFile::forgetSignals() {
    if (mWriter == Writer::Batch) {
        return;
    }
    for (size_t i = 0; i < kEndingSignalCount; ++i) {
        sigaction(kEndingSignals[i], &mOldActions[i], nullptr);
    }
    gPartialPath = nullptr;
}
