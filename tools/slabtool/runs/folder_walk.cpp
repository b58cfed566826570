// Paths are put together as text: with a hundred thousand images, taking each apart costs more than reading
// the folders.
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

// The type of a folder's entry. A link has that of its target, unless this is a folder.
fs::file_type typeOf(const std::string& path, const dirent& entry) {
    if (entry.d_type == DT_REG) {
        return fs::file_type::regular;
    }
    if (entry.d_type == DT_DIR) {
        return fs::file_type::directory;
    }
    std::error_code unknown;
    const fs::file_type own = fs::symlink_status(path, unknown).type();
    if (own != fs::file_type::symlink) {
        return own;
    }
    const fs::file_type target = fs::status(path, unknown).type();
    return target == fs::file_type::directory ? own : target;
}

// A link that leads nowhere counts as a file, so that it is reported.
bool isFile(fs::file_type type) {
    return type == fs::file_type::regular || type == fs::file_type::not_found;
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

using Entries = std::vector<std::pair<std::string, fs::file_type>>;

// The system's own calls: std::filesystem takes several times as long to put its paths together. Nothing, and the
// reason in errno, if the folder cannot be read.
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

// One folder after the other. `relative` is empty or ends in '/'.
class Walk {
public:
    Walk(const std::string& stem, const std::string& suffix, const std::optional<FolderId>& leftOut,
         const std::function<void(const std::string&)>& take)
        : mStem(stem)
        , mSuffix(suffix)
        , mLeftOut(leftOut)
        , mTake(take) {}

    void enter(const std::string& relative) const {
        const std::optional<Entries> entries = entriesOf(mStem + relative);
        if (!entries) {
            rejectFolder(relative);
            return;
        }
        std::vector<std::string> folders;
        for (const auto& [name, type] : *entries) {
            if (type == fs::file_type::directory) {
                folders.push_back(relative + name + "/");
            } else if (hasSuffix(name, mSuffix) && isFile(type)) {
                mTake(relative + name);
            }
        }
        // The folder above is closed by now: deep trees do not use up the descriptors.
        for (const std::string& folder : folders) {
            if (!mLeftOut || folderId(mStem + folder) != mLeftOut) {
                enter(folder);
            }
        }
    }

private:
    void rejectFolder(const std::string& relative) const {
        if (relative.empty()) {
            refuseToOpen(mStem, {errno, std::generic_category()});
        }
        mTake(relative);
    }

    const std::string &mStem, &mSuffix;
    const std::optional<FolderId>& mLeftOut;
    const std::function<void(const std::string&)>& mTake;
};

} // namespace

std::optional<FolderId> folderId(const std::string& path) {
    struct stat status = {};
    const bool isThere = stat(path.c_str(), &status) == 0;
    return isThere ? std::optional<FolderId>({status.st_dev, status.st_ino}) : std::nullopt;
}

bool isFolder(const std::string& path) {
    std::error_code unknown;
    return fs::is_directory(path, unknown);
}

void refuseToOpen(const std::string& path, const std::error_code& error) {
    throw Refusal(printable(path) + ": cannot be opened: " + error.message());
}

bool hasSuffix(const std::string& name, const std::string& suffix) {
    return name.size() > suffix.size() &&
           std::equal(
               suffix.begin(), suffix.end(), name.end() - std::ssize(suffix),
               [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

void walkFolder(const std::string& folder, const std::string& suffix,
                const std::optional<FolderId>& leftOut,
                const std::function<void(const std::string&)>& take) {
    Walk(folder, suffix, leftOut, take).enter("");
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
        walkFolder(folder, suffix, std::nullopt, [&](const std::string& place) {
            files.push_back({folder + place, place});
        });
        std::sort(files.begin() + first, files.end(),
                  [](const FoundFile& a, const FoundFile& b) { return a.place < b.place; });
    }
    return files;
}
