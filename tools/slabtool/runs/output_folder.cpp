// The lock file exists during a run. If a new run finds one that is not locked, the run that made it was killed. The
// folder is searched for temporary files only then, because that takes time in a large folder.
#include "tools/slabtool/runs/output_folder.h"

#include "tools/slabtool/runs/files.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr const char* kLockName = ".surfaces.lock";

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

struct LockFile {
    int descriptor; // -1 if the file was removed while it was opened
    bool existed;
};

LockFile openLock(const fs::path& path) {
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
    LockFile file = {::open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0666), false};
    if (file.descriptor < 0 && errno == EEXIST) {
        file = {::open(path.c_str(), kFlags), true};
    }
    if (file.descriptor < 0 && errno != ENOENT) {
        rejectWithErrno("cannot be locked");
    }
    return file;
}

// Whether the open file is still the one at `path`. The previous run may have removed it in between.
bool isStillAt(const fs::path& path, int descriptor) {
    struct stat opened = {}, present = {};
    return fstat(descriptor, &opened) == 0 && lstat(path.c_str(), &present) == 0 &&
           isSameFile(opened, present);
}

void acquireLock(int descriptor) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    const int error = errno;
    ::close(descriptor);
    if (error == EWOULDBLOCK) {
        throw Rejection("another run is writing into this folder");
    }
    errno = error;
    rejectWithErrno("cannot be locked");
}

} // namespace

// A temporary file that is being written.
class OutputFolder::Writing {
public:
    Writing(OutputFolder& folder, const fs::path& path)
        : mFolder(folder) {
        const std::lock_guard guard(folder.mMutex);
        if (folder.mLock < 0) {
            throw Rejection("the run has ended");
        }
        const fs::path parent = folder.realFolder(path.parent_path());
        mTarget = parent / path.filename();
        mFile.emplace(parent, PartialFile::Writer::Batch);
        ++folder.mWriting;
    }
    ~Writing() {
        const std::lock_guard guard(mFolder.mMutex);
        mFile.reset();
        --mFolder.mWriting;
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    void finish(ByteView bytes) { finishFile(*mFile, mTarget, bytes); }

private:
    OutputFolder& mFolder;
    fs::path mTarget;
    std::optional<PartialFile> mFile;
};

OutputFolder::OutputFolder(const std::string& path) {
    namingFile(path, [&] {
        std::error_code error;
        fs::create_directories(path, error);
        mRoot = fs::canonical(path, error);
        if (error) {
            errno = error.value();
            rejectWithErrno("cannot be created");
        }
        lock();
    });
}

void OutputFolder::lock() {
    mLockPath = mRoot / kLockName;
    for (;;) {
        const LockFile file = openLock(mLockPath);
        if (file.descriptor < 0) {
            continue;
        }
        acquireLock(file.descriptor);
        if (isStillAt(mLockPath, file.descriptor)) {
            mLock = file.descriptor;
            if (file.existed) {
                removePartialFiles();
            }
            return;
        }
        ::close(file.descriptor);
    }
}

void OutputFolder::removePartialFiles() const {
    std::error_code error;
    constexpr auto kOptions = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator file(mRoot, kOptions, error), end; !error && file != end;
         file.increment(error)) {
        std::error_code ignored; // the file may have been removed meanwhile
        // Another run may be writing into a subfolder with a lock. If that run was killed, the next run there cleans
        // up.
        if (file->is_directory(ignored) && fs::exists(file->path() / kLockName, ignored)) {
            file.disable_recursion_pending();
        }
        if (PartialFile::isBatchName(file->path().filename()) &&
            file->symlink_status(ignored).type() == fs::file_type::regular) {
            fs::remove(file->path(), ignored);
        }
    }
}

void OutputFolder::write(const std::string& relativePath, ByteView bytes) {
    Writing(*this, relativePath).finish(bytes);
}

void OutputFolder::remove(const std::string& relativePath) {
    const fs::path path = mRoot / relativePath;
    std::error_code error;
    const fs::path parent = fs::canonical(path.parent_path(), error);
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
        return; // without the folder there is no file
    }
    if (error) {
        errno = error.value();
        rejectWithErrno("cannot be removed");
    }
    requireInside(parent);
    if (unlink((parent / path.filename()).c_str()) != 0 && errno != ENOENT) {
        rejectWithErrno("cannot be removed");
    }
}

void OutputFolder::close() {
    const std::lock_guard guard(mMutex);
    if (mLock < 0) {
        return;
    }
    if (mWriting > 0) {
        removePartialFiles();
    }
    unlink(mLockPath.c_str());
    ::close(mLock);
    mLock = -1;
}

// Creates the folder at `relative` if it does not exist, and returns its path without links. Each level is checked
// before the next one is created, so that nothing is created outside the output folder.
fs::path OutputFolder::realFolder(const fs::path& relative) {
    if (relative.empty()) {
        return mRoot;
    }
    const auto known = mFolders.find(relative);
    if (known != mFolders.end()) {
        return known->second;
    }
    const fs::path folder = realFolder(relative.parent_path()) / relative.filename();
    if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) {
        rejectWithErrno("its folder cannot be created");
    }
    std::error_code error;
    const fs::path real = fs::canonical(folder, error);
    if (error) {
        errno = error.value();
        rejectWithErrno("its folder cannot be created");
    }
    requireInside(real);
    mFolders.emplace(relative, real);
    return real;
}

void OutputFolder::requireInside(const fs::path& real) const {
    const auto end = std::mismatch(mRoot.begin(), mRoot.end(), real.begin(), real.end());
    if (end.first != mRoot.end()) {
        throw Rejection("a link leads out of the output folder");
    }
}
