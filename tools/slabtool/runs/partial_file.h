// A new file under a name of its own, which leaves nothing behind where a run fails or is ended.
#pragma once

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

/// A file that is written beside its place and moved there at the end. Without that move the destructor
/// removes it; so does SIGHUP, SIGINT or SIGTERM, which then ends the process as usual. There is at most
/// one at a time.
class PartialFile {
public:
    /// Makes the file. Its name is in use nowhere else: what exists under such a name is another run's, or
    /// a link that another user has laid out. The output's name is no part of it: together they could be
    /// too long.
    explicit PartialFile(const std::filesystem::path& folder);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// Open for writing; null, with errno set, if the file could not be made. The caller closes it.
    std::FILE* stream() const { return mStream; }
    const std::string& path() const { return mPath; }

    /// Moves the file to its place. @return false, with errno set, if that fails
    bool moveTo(const std::filesystem::path& place);

private:
    static constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};
    static constexpr size_t kEndingSignalCount = std::size(kEndingSignals);

    void watchSignals();
    void forgetSignals();

    std::string mPath;
    std::FILE* mStream = nullptr;
    struct sigaction mOldActions[kEndingSignalCount] = {};
};
