// Paths are concatenated as text. With 100,000 images, std::filesystem::path operations took longer than reading the
// folders.
#include "tools/slabtool/runs/folder_walk.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

// The type of an entry. A link to a file has the type of the file; a link to a folder has the type symlink.
fs::file_type typeOf(const std::string& path, const dirent& entry) {
    if (entry.d_type == DT_REG) {
        return fs::file_type::regular;
    }
    if (entry.d_type == DT_DIR) {
        return fs::file_type::directory;
    }
    std::error_code ignored;
    const fs::file_type own = fs::symlink_status(path, ignored).type();
    if (own != fs::file_type::symlink) {
        return own;
    }
    const fs::file_type target = fs::status(path, ignored).type();
    return target == fs::file_type::directory ? own : target;
}

// A broken link counts as a file, so that it is reported.
bool isFile(fs::file_type type) {
    return type == fs::file_type::regular || type == fs::file_type::not_found;
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

using Entries = std::vector<std::pair<std::string, fs::file_type>>;

// Uses readdir: std::filesystem needs several times as long, because it builds a path for each entry.
// @return nothing, with errno set, if the folder cannot be read
std::optional<Entries> entriesOf(const std::string& path) {
    const std::unique_ptr<DIR, FolderCloser> folder(opendir(path.c_str()));
    if (folder == nullptr) {
        return std::nullopt;
    }
    Entries entries;
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(folder.get());
        if (entry == nullptr) {
            break;
        }
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            entries.emplace_back(name, typeOf(path + name, *entry));
        }
    }
    return errno == 0 ? std::optional(std::move(entries)) : std::nullopt;
}

// Visits the files below one folder. `relative` is empty or ends in '/'.
class Walk {
public:
    Walk(const std::string& root, const std::string& suffix,
         const std::optional<FolderId>& excluded,
         const std::function<void(const std::string&)>& visit)
        : mRoot(root)
        , mSuffix(suffix)
        , mExcluded(excluded)
        , mVisit(visit) {}

    void enter(const std::string& relative) const {
        const std::optional<Entries> entries = entriesOf(mRoot + relative);
        if (!entries) {
            rejectFolder(relative);
            return;
        }
        std::vector<std::string> folders;
        for (const auto& [name, type] : *entries) {
            if (type == fs::file_type::directory) {
                folders.push_back(relative + name + "/");
            } else if (hasSuffix(name, mSuffix) && isFile(type)) {
                mVisit(relative + name);
            }
        }
        // Entered after the folder itself is closed, so that deep trees do not run out of descriptors.
        for (const std::string& folder : folders) {
            if (!mExcluded || folderId(mRoot + folder) != mExcluded) {
                enter(folder);
            }
        }
    }

private:
    void rejectFolder(const std::string& relative) const {
        if (relative.empty()) {
            rejectUnopenable(mRoot, {errno, std::generic_category()});
        }
        mVisit(relative);
    }

    const std::string &mRoot, &mSuffix;
    const std::optional<FolderId>& mExcluded;
    const std::function<void(const std::string&)>& mVisit;
};

} // namespace

std::optional<FolderId> folderId(const std::string& path) {
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    return exists ? std::optional<FolderId>({status.st_dev, status.st_ino}) : std::nullopt;
}

bool isFolder(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

void rejectUnopenable(const std::string& path, const std::error_code& error) {
    throw Rejection(printable(path) + ": cannot be opened: " + error.message());
}

bool hasSuffix(const std::string& name, const std::string& suffix) {
    return name.size() > suffix.size() &&
           std::equal(
               suffix.begin(), suffix.end(), name.end() - std::ssize(suffix),
               [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

void walkFolder(const std::string& folder, const std::string& suffix,
                const std::optional<FolderId>& excluded,
                const std::function<void(const std::string&)>& visit) {
    Walk(folder, suffix, excluded, visit).enter("");
}

std::vector<FoundFile> findFiles(const std::vector<std::string>& inputs,
                                 const std::string& suffix) {
    std::vector<FoundFile> files;
    for (const std::string& input : inputs) {
        if (!isFolder(input)) {
            files.push_back({input, fs::path(input).filename()});
            continue;
        }
        const std::string folder = input.ends_with('/') ? input : input + "/";
        const auto first = std::ssize(files);
        walkFolder(folder, suffix, std::nullopt, [&](const std::string& relativePath) {
            files.push_back({folder + relativePath, relativePath});
        });
        std::sort(files.begin() + first, files.end(), [](const FoundFile& a, const FoundFile& b) {
            return a.relativePath < b.relativePath;
        });
    }
    return files;
}
