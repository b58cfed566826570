// The folder that a batch run writes into: one run at a time, and no file is there before it is complete.
#pragma once

#include "tools/slabtool/refusal.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

/// An output folder, locked. Links in it are followed only where they stay inside. All functions may be called
/// by several threads.
class OutputFolder {
public:
    /// Creates the folder and locks it. Removes what a killed run has left there.
    /// @throws Refusal, also if another run holds the lock
    explicit OutputFolder(const std::string& path);
    ~OutputFolder() { close(); }
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    /// Writes the file `place`, relative to the folder, beside its place and moves it there. What was there
    /// before stays if anything fails. @throws Refusal
    void write(const std::string& place, ByteView bytes);

    /// Removes the file `place`; it may be missing. @throws Refusal
    void remove(const std::string& place);

    /// Ends all writing and unlocks. A write that is still under way in another thread fails, and its
    /// temporary file is removed.
    void close();

private:
    class Writing;

    std::filesystem::path realFolder(const std::filesystem::path& relative);
    void requireInside(const std::filesystem::path& real) const;
    void lock();
    void removePartialFiles() const;

    std::filesystem::path mRoot; // without links
    std::mutex mMutex;           // guards the rest
    int mLock = -1;              // the lock file's descriptor; -1 once closed
    size_t mWriting = 0;         // temporary files
    std::map<std::filesystem::path, std::filesystem::path> mFolders; // those inside, without links
};
