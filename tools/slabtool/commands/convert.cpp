// slabtool convert makes surface files of images, on several threads. Every surface is written to a temporary file,
// which then replaces the old surface. So an old surface survives every failure.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/commands/convert_report.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/inputs.h"
#include "tools/slabtool/runs/manifest.h"
#include "tools/slabtool/runs/output_folder.h"
#include "tools/slabtool/runs/stop_signals.h"
#include "tools/slabtool/runs/update.h"
#include "tools/slabtool/surfaces/surface_file.h"
#include "tools/version.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

namespace {

constexpr std::chrono::seconds kSaveInterval(2);
const Finding kNoMemory = {"memory", "not enough memory to convert it"};
constexpr int kRejectedStatus = 1;

std::string withoutSuffix(const std::string& path) {
    return path.substr(0, path.size() - std::string(kSurfaceSuffix).size());
}

ManifestEntry entryOf(const Job& job, const ImageSource& source, const SurfaceMaker& maker,
                      const ConvertedImage& converted) {
    const SurfaceHeader header =
        *inspectSurface(converted.surface, converted.surface.size()).header;
    ManifestEntry entry;
    entry.name = withoutSuffix(job.output);
    entry.file = job.output;
    entry.mode = colorModeName(header.mode);
    entry.width = header.width;
    entry.height = header.height;
    entry.stride = header.stride;
    entry.rotation = header.rotation;
    entry.bytes = converted.surface.size();
    if (!converted.palette.empty()) {
        entry.palette = entry.name + kPaletteSuffix;
    }
    entry.source = source;
    entry.verdict = verdictName(converted.wasFixed, !converted.losses.empty());
    entry.options = maker.options;
    entry.tool = maker.tool;
    return entry;
}

// A run into a folder.
class FolderRun {
public:
    FolderRun(const ConvertRequest& request, const JobPlan& plan)
        : mRequest(request)
        , mPlan(plan)
        , mFolder(plan.folder)
        , mMaker{optionsText(request.conversion), versionText()}
        , mResults(plan.jobs.size())
        , mReport(request.batch, stdout) {
        if (!request.noManifest) {
            mManifest = Manifest::load(plan.folder + "/" + kManifestName);
            mOld = mManifest;
        }
    }

    int run() {
        const StopSignals signals;
        const bool hasEnded =
            runBatch(mPlan.inputs(), mRequest.batch,
                     {.work = [&](size_t job) { mResults[job] = convert(mPlan.jobs[job]); },
                      .done =
                          [&](size_t job, const JobFailure& failure) {
                              record(job, failure);
                              saveIfDue();
                          }});
        if (mRequest.prune && !stopRequested()) {
            prune();
        }
        attempt(kManifestName, [&] { save(); });
        mReport.printSummary(mPlan.jobs.size());
        for (const std::string& failure : mFailures) {
            std::fprintf(stderr, "slabtool: %s\n", failure.c_str());
        }
        return endOfRun(hasEnded, mFolder, mReport.hasRejections() || !mFailures.empty());
    }

private:
    struct Result {
        ImageReport report;
        std::optional<ManifestEntry> entry;
    };

    // Runs on a worker thread. Reads only the previous run's manifest.
    Result convert(const Job& job) {
        Result result;
        result.report.input = job.input;
        result.report.output = job.output;
        try {
            if (mRequest.update) {
                result.entry = upToDateEntry(mOld.find(job.output), job, mMaker, mPlan.folder);
                result.report.isUpToDate = result.entry.has_value();
            }
            if (!result.report.isUpToDate) {
                result.entry = convertAnew(job, result.report);
            }
        } catch (const RejectedImage& rejection) {
            result.report.rejection = rejection.reason();
        } catch (const Rejection& rejection) {
            result.report.rejection = Finding{"file", rejection.what()};
        } catch (const std::bad_alloc&) {
            result.report.rejection = kNoMemory;
        }
        return result;
    }

    ManifestEntry convertAnew(const Job& job, ImageReport& report) {
        ImageSource source = describeImage(job);
        const Bytes file = readFile(job.input);
        source.hash = contentHash(file);
        const ConvertedImage converted = convertImage(file, mRequest.conversion);
        if (!converted.palette.empty()) {
            mFolder.write(withoutSuffix(job.output) + kPaletteSuffix, converted.palette);
        }
        mFolder.write(job.output, converted.surface);
        if (converted.palette.empty()) {
            removeOldPalette(job);
        }
        report.wasFixed = converted.wasFixed;
        report.losses = converted.losses;
        return entryOf(job, source, mMaker, converted);
    }

    // The palette of the previous surface would give the new one wrong colors.
    void removeOldPalette(const Job& job) {
        const ManifestEntry* const old = mOld.find(job.output);
        const std::string palette = withoutSuffix(job.output) + kPaletteSuffix;
        if (old != nullptr && old->palette == palette) {
            mFolder.remove(palette);
        }
    }

    // Runs on the calling thread.
    void record(size_t job, const JobFailure& failure) {
        Result& result = mResults[job];
        if (failure) {
            result.report = {.input = mPlan.jobs[job].input,
                             .output = mPlan.jobs[job].output,
                             .rejection = Finding{"file", *failure}};
        }
        if (result.entry && !mRequest.noManifest) {
            mManifest.put(*std::exchange(result.entry, std::nullopt));
        }
        mReport.add(std::exchange(result.report, {}));
    }

    // Runs `work` on a file of the whole run, such as the manifest. A failure is printed after the summary.
    template <typename Work>
    void attempt(const std::string& file, const Work& work) {
        try {
            namingFile(file, work);
        } catch (const Rejection& rejection) {
            mFailures.emplace_back(rejection.what());
        }
    }

    void prune() {
        for (const ManifestEntry& entry : entriesWithoutImage(mManifest, mPlan.folder)) {
            attempt(entry.file, [&] {
                mFolder.remove(entry.file);
                if (entry.palette) {
                    mFolder.remove(*entry.palette);
                }
                mManifest.remove(entry.file);
                mReport.addPruned();
            });
        }
    }

    void saveIfDue() {
        const auto now = std::chrono::steady_clock::now();
        if (now - mSaved > kSaveInterval) {
            try {
                save();
            } catch (const Rejection&) {
                // The save at the end of the run reports the failure if it fails too.
            }
            mSaved = std::chrono::steady_clock::now();
        }
    }

    void save() {
        if (mRequest.noManifest || !mManifest.isChanged()) {
            return;
        }
        const std::string text = mManifest.text();
        mFolder.write(kManifestName, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    }

    const ConvertRequest& mRequest;
    const JobPlan& mPlan;
    OutputFolder mFolder;
    SurfaceMaker mMaker;
    Manifest mOld, mManifest;
    std::vector<Result> mResults;
    ConvertReport mReport;
    std::vector<std::string> mFailures;
    std::chrono::steady_clock::time_point mSaved = std::chrono::steady_clock::now();
};

std::string palettePathOf(const Job& job) {
    if (job.output == kStandardStream) {
        throw Rejection(std::string(kStandardStream) +
                        ": name an output file: the name of the palette file is derived from it");
    }
    const std::string palette = std::filesystem::path(job.output).replace_extension(kPaletteSuffix);
    std::error_code ignored;
    for (const std::string& other : {job.input, job.output}) {
        if (palette == other || std::filesystem::equivalent(palette, other, ignored)) {
            throw Rejection(printable(other) + ": the palette would overwrite it");
        }
    }
    return palette;
}

int convertOne(const ConvertRequest& request, const Job& job) {
    // The report must not mix with a surface on standard output.
    ConvertReport report(request.batch, job.output == kStandardStream ? stderr : stdout);
    const std::string palettePath = request.conversion.palette ? palettePathOf(job) : "";
    ImageReport image = {.input = job.input, .output = job.output};
    try {
        const Bytes file = readFile(job.input);
        const ConvertedImage converted = convertImage(file, request.conversion);
        if (!converted.palette.empty()) {
            namingFile(palettePath, [&] { writeFile(palettePath, converted.palette); });
        }
        namingFile(job.output, [&] { writeFile(job.output, converted.surface); });
        image.wasFixed = converted.wasFixed;
        image.losses = converted.losses;
    } catch (const RejectedImage& rejection) {
        image.rejection = rejection.reason();
    } catch (const Rejection& rejection) {
        image.rejection = Finding{"file", rejection.what()};
    } catch (const std::bad_alloc&) {
        image.rejection = kNoMemory;
    }
    report.add(image);
    report.printSummary(1);
    return report.hasRejections() ? kRejectedStatus : 0;
}

} // namespace

int runConvert(const ConvertRequest& request) {
    const JobPlan plan = planJobs(request.inputs, request.output, kSurfaceSuffix);
    if (plan.folder.empty()) {
        return convertOne(request, plan.jobs.front());
    }
    return std::make_unique<FolderRun>(request, plan)->run();
}
