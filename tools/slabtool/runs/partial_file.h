// A new file under a name of its own, which leaves nothing behind where a run fails or is ended.
#pragma once

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

/// A file that is written beside its place and moved there at the end. Without that move the destructor
/// removes it.
class PartialFile {
public:
    enum class Writer {
        Command, ///< SIGHUP, SIGINT or SIGTERM removes the file too, then ends the process as usual. There is
        ///< at most one such file at a time.
        Batch, ///< The run handles signals. There may be several such files, each in its own thread.
    };

    /// Makes the file. Its name is in use nowhere else: what exists under such a name is another run's, or
    /// a link that another user has laid out. The output's name is no part of it: together they could be
    /// too long.
    PartialFile(const std::filesystem::path& folder, Writer writer);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// Open for writing; null, with errno set, if the file could not be made. The caller closes it.
    std::FILE* stream() const { return mStream; }
    const std::string& path() const { return mPath; }

    /// Whether a batch run gives such names to its files.
    static bool isBatchName(const std::string& name);

    /// Moves the file to its place. @return false, with errno set, if that fails
    bool moveTo(const std::filesystem::path& place);

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
