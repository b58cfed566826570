// A temporary file that is removed if the run fails or is interrupted.
#pragma once

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

/// A temporary file in the folder of its target. moveTo moves it there; otherwise the destructor removes it.
class PartialFile {
public:
    enum class Writer {
        Command, ///< SIGHUP, SIGINT or SIGTERM removes the file and ends the process. At most one such file at a time.
        Batch,   ///< The run handles signals. Several such files may exist, each in its own thread.
    };

    /// Creates the file under an unused name. An existing file with such a name is left alone: it belongs to another
    /// run, or is a link that another user has prepared. The name does not contain that of the target, because the
    /// result could be too long.
    PartialFile(const std::filesystem::path& folder, Writer writer);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// Open for writing; null, with errno set, if the file could not be created. The caller closes it.
    std::FILE* stream() const { return mStream; }
    const std::string& path() const { return mPath; }

    /// Whether this is the name of a batch run's temporary file.
    static bool isBatchName(const std::string& name);

    /// Moves the file and replaces `target`. @return false, with errno set, if that fails
    bool moveTo(const std::filesystem::path& target);

private:
    static constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};
    static constexpr size_t kEndingSignalCount = std::size(kEndingSignals);

    void watchSignals();
    void forgetSignals();

    Writer mWriter;
    std::string mPath;
    std::FILE* mStream = nullptr;
    struct sigaction mOldActions[kEndingSignalCount] = {};
};
