// Paths are put together as text: with a hundred thousand images, taking each apart costs more than reading
// the folders.
#include "tools/slabtool/runs/inputs.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <dirent.h>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

namespace fs = std::filesystem;

// A folder whatever its path is.
using FolderId = std::pair<dev_t, ino_t>;

std::optional<FolderId> folderId(const std::string& path) {
    struct stat status = {};
    const bool isThere = stat(path.c_str(), &status) == 0;
    return isThere ? std::optional<FolderId>({status.st_dev, status.st_ino}) : std::nullopt;
}

bool isFolder(const std::string& path) {
    std::error_code unknown;
    return fs::is_directory(path, unknown);
}

[[noreturn]] void refuse(const std::string& path, const std::error_code& error) {
    throw Refusal(printable(path) + ": cannot be opened: " + error.message());
}

bool isPngName(const std::string& name) {
    const std::string suffix = ".png";
    return name.size() > suffix.size() &&
           std::equal(
               suffix.begin(), suffix.end(), name.end() - std::ssize(suffix),
               [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

// The path of a folder without links and without a slash behind it. It may still be missing.
fs::path realPath(const std::string& folder) {
    const fs::path path = fs::weakly_canonical(fs::absolute(folder));
    return path.has_filename() ? path : path.parent_path();
}

std::string withSuffix(const std::string& name, const std::string& suffix) {
    return (isPngName(name) ? name.substr(0, name.size() - 4) : name) + suffix;
}

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

// A link that leads nowhere counts as an image, so that it is reported.
bool isImage(const std::string& name, fs::file_type type) {
    return isPngName(name) && (type == fs::file_type::regular || type == fs::file_type::not_found);
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

// The system's own calls: std::filesystem takes several times as long to put its paths together.
std::vector<std::pair<std::string, fs::file_type>> entriesOf(const std::string& path) {
    const std::unique_ptr<DIR, FolderCloser> folder(opendir(path.c_str()));
    if (folder == nullptr) {
        refuse(path, {errno, std::generic_category()});
    }
    std::vector<std::pair<std::string, fs::file_type>> entries;
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
    if (errno != 0) {
        refuse(path, {errno, std::generic_category()});
    }
    return entries;
}

// Collects the jobs of a run into a folder.
class Planner {
public:
    Planner(const std::string& output, std::string suffix)
        : mFolder(realPath(output))
        , mFolderId(folderId(output))
        , mSuffix(std::move(suffix)) {}

    void add(const std::string& input) {
        if (input == kStandardStream) {
            throw Refusal(std::string(kStandardStream) +
                          ": standard input gives no name to a surface in a folder");
        }
        if (!isFolder(input)) {
            addFile(input);
            return;
        }
        const std::string stem = input.ends_with('/') ? input : input + "/";
        walk(stem, "", sourceFolder(input));
    }

    JobPlan plan() {
        const auto byOutput = [](const Job& a, const Job& b) {
            return std::tie(a.output, a.source) < std::tie(b.output, b.source);
        };
        std::sort(mJobs.begin(), mJobs.end(), byOutput);
        const auto isSame = [](const Job& a, const Job& b) {
            return a.output == b.output && a.source == b.source;
        };
        mJobs.erase(std::unique(mJobs.begin(), mJobs.end(), isSame), mJobs.end());
        const auto clash =
            std::adjacent_find(mJobs.begin(), mJobs.end(),
                               [](const Job& a, const Job& b) { return a.output == b.output; });
        if (clash != mJobs.end()) {
            throw Refusal(printable(clash->input) + " and " + printable(clash[1].input) +
                          " would both become " + printable(clash->output));
        }
        return {mFolder, std::move(mJobs)};
    }

private:
    void addFile(const std::string& input) {
        const fs::path path(input);
        std::error_code error;
        if (!fs::exists(fs::symlink_status(path, error))) {
            refuse(input, std::make_error_code(std::errc::no_such_file_or_directory));
        }
        const std::string name = path.filename();
        mJobs.push_back(
            {input, withSuffix(name, mSuffix), sourceFolder(path.parent_path()) + name});
    }

    // `relative` is empty or ends in '/', and follows `stem` in the path to open and `source` in the manifest.
    void walk(const std::string& stem, const std::string& relative, const std::string& source) {
        std::vector<std::string> folders;
        for (const auto& [name, type] : entriesOf(stem + relative)) {
            const std::string place = relative + name;
            if (type == fs::file_type::directory) {
                folders.push_back(place + "/");
            } else if (isImage(name, type)) {
                mJobs.push_back({stem + place, withSuffix(place, mSuffix), source + place});
            }
        }
        // The folder above is closed by now: deep trees do not use up the descriptors.
        for (const std::string& folder : folders) {
            if (!mFolderId || folderId(stem + folder) != mFolderId) {
                walk(stem, folder, source);
            }
        }
    }

    // A folder as the manifest names it, with '/' behind.
    std::string sourceFolder(const fs::path& path) {
        const fs::path folder = path.empty() ? "." : path;
        const auto known = mSources.find(folder);
        if (known != mSources.end()) {
            return known->second;
        }
        std::error_code error;
        const fs::path real = fs::canonical(folder, error);
        if (error) {
            refuse(folder, error);
        }
        const std::string source = real.lexically_relative(mFolder) / "";
        mSources.emplace(folder, source == "./" ? "" : source);
        return mSources[folder];
    }

    fs::path mFolder;
    std::optional<FolderId> mFolderId; // none if it is still to be created
    std::string mSuffix;
    std::map<fs::path, std::string> mSources;
    std::vector<Job> mJobs;
};

} // namespace

JobPlan planJobs(const std::vector<std::string>& inputs, const std::string& output,
                 const std::string& suffix) {
    const bool isIntoFolder =
        inputs.size() != 1 || output.ends_with('/') || isFolder(output) || isFolder(inputs.front());
    if (!isIntoFolder) {
        std::error_code unknown;
        if (fs::equivalent(inputs.front(), output, unknown)) {
            throw Refusal(printable(output) + ": the surface would overwrite its own image");
        }
        return {"", {{inputs.front(), output, ""}}};
    }
    Planner planner(output, suffix);
    for (const std::string& input : inputs) {
        planner.add(input);
    }
    return planner.plan();
}
