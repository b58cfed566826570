// The images of a run are the files on the command line and the files in its folders.
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

// The path of a folder, without links and without a slash at its end. The folder need not exist.
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
            throw Rejection(std::string(kStandardStream) +
                            ": standard input has no name for a file in the output folder");
        }
        if (!isFolder(input)) {
            addFile(input);
            return;
        }
        const std::string folder = input.ends_with('/') ? input : input + "/";
        const std::string source = sourceFolder(input);
        walkFolder(folder, kImageSuffix, mFolderId, [&](const std::string& path) {
            mJobs.push_back({folder + path, withSuffix(path, mSuffix), source + path});
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
        const auto conflict =
            std::adjacent_find(mJobs.begin(), mJobs.end(),
                               [](const Job& a, const Job& b) { return a.output == b.output; });
        if (conflict != mJobs.end()) {
            throw Rejection(printable(conflict->input) + " and " + printable(conflict[1].input) +
                            " would both become " + printable(conflict->output));
        }
        return {mFolder, std::move(mJobs)};
    }

private:
    void addFile(const std::string& input) {
        const fs::path path(input);
        std::error_code error;
        if (!fs::exists(fs::symlink_status(path, error))) {
            rejectUnopenable(input, std::make_error_code(std::errc::no_such_file_or_directory));
        }
        const std::string name = path.filename();
        mJobs.push_back(
            {input, withSuffix(name, mSuffix), sourceFolder(path.parent_path()) + name});
    }

    // The path of a folder relative to the manifest, with a '/' at its end.
    std::string sourceFolder(const fs::path& path) {
        const fs::path folder = path.empty() ? "." : path;
        const auto known = mSources.find(folder);
        if (known != mSources.end()) {
            return known->second;
        }
        std::error_code error;
        const fs::path real = fs::canonical(folder, error);
        if (error) {
            rejectUnopenable(folder, error);
        }
        const std::string source = real.lexically_relative(mFolder) / "";
        mSources.emplace(folder, source == "./" ? "" : source);
        return mSources[folder];
    }

    fs::path mFolder;
    std::optional<FolderId> mFolderId; // none if the folder does not exist yet
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
        throw Rejection("the name of the output is empty");
    }
    const bool isIntoFolder =
        inputs.size() != 1 || output.ends_with('/') || isFolder(output) || isFolder(inputs.front());
    if (!isIntoFolder) {
        std::error_code ignored;
        if (fs::equivalent(inputs.front(), output, ignored)) {
            throw Rejection(printable(output) + ": the surface would overwrite its own image");
        }
        return {"", {{inputs.front(), output, ""}}};
    }
    Planner planner(output, suffix);
    for (const std::string& input : inputs) {
        planner.add(input);
    }
    return planner.plan();
}
