// The path of a command's only partial file is global, because the signal handler needs it. Signals are blocked while
// the file and the path do not match.
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

// Calls only functions that are safe in a signal handler. SA_RESETHAND has restored the default action, and the signal
// is blocked until the handler returns. After that, the raised signal ends the process, as if there were no handler.
void removeAndEnd(int signal) {
    unlink(gPartialPath.load());
    raise(signal);
}

// Blocks all signals during its lifetime. Does nothing in a batch run, whose handler only records the signal.
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

bool PartialFile::moveTo(const std::filesystem::path& target) {
    const SignalPause pause(mWriter);
    if (std::rename(mPath.c_str(), target.c_str()) != 0) {
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
            continue; // ignored, for example under nohup
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
