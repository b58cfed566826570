// Files come from the command line and from a walk through its folders.
#include "tools/slabtool/runs/inputs.h"

#include "tools/slabtool/runs/folder_walk.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

namespace fs = std::filesystem;

const std::string kImageSuffix = ".png";

// The path of a folder without links and without a slash behind it. It may still be missing.
fs::path realPath(const std::string& folder) {
    const fs::path path = fs::weakly_canonical(fs::absolute(folder));
    return path.has_filename() ? path : path.parent_path();
}

std::string withSuffix(const std::string& name, const std::string& suffix) {
    const std::string stem =
        hasSuffix(name, kImageSuffix) ? name.substr(0, name.size() - kImageSuffix.size()) : name;
    return stem + suffix;
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
                          ": standard input gives no name to a file in a folder");
        }
        if (!isFolder(input)) {
            addFile(input);
            return;
        }
        const std::string stem = input.ends_with('/') ? input : input + "/";
        const std::string source = sourceFolder(input);
        walkFolder(stem, kImageSuffix, mFolderId, [&](const std::string& place) {
            mJobs.push_back({stem + place, withSuffix(place, mSuffix), source + place});
        });
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
            refuseToOpen(input, std::make_error_code(std::errc::no_such_file_or_directory));
        }
        const std::string name = path.filename();
        mJobs.push_back(
            {input, withSuffix(name, mSuffix), sourceFolder(path.parent_path()) + name});
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
            refuseToOpen(folder, error);
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

std::vector<std::string> JobPlan::inputs() const {
    std::vector<std::string> paths;
    paths.reserve(jobs.size());
    for (const Job& job : jobs) {
        paths.push_back(job.input);
    }
    return paths;
}

JobPlan planJobs(const std::vector<std::string>& inputs, const std::string& output,
                 const std::string& suffix) {
    if (output.empty()) {
        throw Refusal("the name of the output is empty");
    }
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
