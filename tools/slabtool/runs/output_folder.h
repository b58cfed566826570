// The output folder of a batch run. Only one run writes into it at a time, and it never contains an incomplete file.
#pragma once

#include "tools/slabtool/rejection.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

/// A locked output folder. Links in it are followed only if their target is inside. All functions are thread-safe.
class OutputFolder {
public:
    /// Creates the folder and locks it. Removes temporary files of a killed run.
    /// @throws Rejection, also if another run holds the lock
    explicit OutputFolder(const std::string& path);
    ~OutputFolder() { close(); }
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    /// Writes a temporary file and moves it to `relativePath`. An old file there survives a failure. @throws Rejection
    void write(const std::string& relativePath, ByteView bytes);

    /// Removes a file; it may be missing. @throws Rejection
    void remove(const std::string& relativePath);

    /// Unlocks the folder. A write that is still running in another thread fails, and its temporary file is removed.
    void close();

private:
    class Writing;

    std::filesystem::path realFolder(const std::filesystem::path& relative);
    void requireInside(const std::filesystem::path& real) const;
    void lock();
    void removePartialFiles() const;

    std::filesystem::path mRoot;     // without links
    std::filesystem::path mLockPath; // a member, because a destructor must not allocate
    std::mutex mMutex;               // guards the rest
    int mLock = -1;                  // the lock file's descriptor; -1 once closed
    size_t mWriting = 0;             // number of temporary files
    std::map<std::filesystem::path, std::filesystem::path>
        mFolders; // relative path -> path without links
};
