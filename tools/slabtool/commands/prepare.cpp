// slabtool prepare reads and writes images with libpng. zlib has no setting that rules out fixed-code blocks, so
// pngslab's decoder checks each written file, and several encoder settings are tried.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/accepted_png.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/inputs.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/runs/output_folder.h"
#include "tools/slabtool/runs/stop_signals.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

namespace {

Bytes encodeSmall(const PngImage& image) {
    std::optional<Bytes> best;
    for (const PngEffort& effort : kEfforts) {
        Bytes file = encodePng(image, effort);
        if ((!best || file.size() < best->size()) && judgePng(file, false).isAccepted) {
            best = std::move(file);
        }
    }
    return best ? *std::move(best) : encodePng(image, kStored);
}

bool isAvoided(const Finding& loss, const PngChanges& changes) {
    return (loss.code == kKeyColorLoss && changes.keyToAlpha) ||
           (loss.code == kPaletteLoss && changes.expandPalette);
}

// The result for one image.
struct Preparation {
    Bytes file = {};
    std::vector<Finding> losses = {}; // of a surface that pngslab makes of `file`
    std::optional<Finding> rejection = {};
};

Preparation prepareImage(ByteView original, const PrepareRequest& request) {
    Preparation preparation;
    const PngImage image = decodePng(original, request.changes);
    preparation.file = request.small ? encodeSmall(image) : encodeAccepted(image);
    preparation.losses = lossesOf(factsOf(original));
    std::erase_if(preparation.losses,
                  [&](const Finding& loss) { return isAvoided(loss, request.changes); });
    return preparation;
}

// One line for each loss, or one for the rejection.
std::vector<std::string> linesOf(const Preparation& preparation) {
    if (preparation.rejection) {
        return {"rejected: " + textOf(*preparation.rejection)};
    }
    std::vector<std::string> lines;
    for (const Finding& loss : preparation.losses) {
        const char* const option = optionAgainst(loss);
        const std::string fix = option != nullptr ? std::string("; ") + option + " keeps it" : "";
        lines.push_back("with loss: " + textOf(loss) + fix);
    }
    return lines;
}

void printJson(const Job& job, const Preparation& preparation) {
    JsonObject object;
    object.addText("input", job.input);
    object.addText("output", job.output);
    if (preparation.rejection) {
        object.add("outcome", "rejected");
        object.add("reason", *preparation.rejection);
    } else {
        object.add("outcome", preparation.losses.empty() ? "prepared" : "prepared-with-loss");
    }
    object.add("losses", preparation.losses);
    std::puts(object.text().c_str());
}

// A run into a folder. It lives on the heap, because threads may still use it when run() returns after a signal.
class PrepareRun {
public:
    PrepareRun(const PrepareRequest& request, JobPlan plan)
        : mRequest(request)
        , mPlan(std::move(plan))
        , mFolder(mPlan.folder)
        , mResults(mPlan.jobs.size()) {}

    int run() {
        const StopSignals signals;
        const bool hasEnded = runBatch(
            mPlan.inputs(), mRequest.batch,
            {.work = [&](size_t job) { prepare(mPlan.jobs[job], mResults[job]); },
             .done = [&](size_t job, const JobFailure& failure) { record(job, failure); }});
        if (!mRequest.batch.json) {
            printSummary();
        }
        return endOfRun(hasEnded, mFolder, mRejected != 0);
    }

private:
    // Runs on a worker thread.
    void prepare(const Job& job, Preparation& result) {
        try {
            result = prepareImage(readFile(job.input), mRequest);
            mFolder.write(job.output, result.file);
        } catch (const Rejection& rejection) {
            result = {.rejection = Finding{"unreadable", rejection.what()}};
        } catch (const std::bad_alloc&) {
            result = {.rejection = Finding{"memory", "not enough memory to prepare it"}};
        }
        result.file = {};
    }

    // Runs on the calling thread.
    void record(size_t job, const JobFailure& failure) {
        Preparation& result = mResults[job];
        if (failure) {
            result = {.rejection = Finding{"unreadable", *failure}};
        }
        ++mFinished;
        mRejected += result.rejection ? 1 : 0;
        mWithLoss += result.losses.empty() ? 0 : 1;
        if (mRequest.batch.json) {
            printJson(mPlan.jobs[job], result);
        } else if (result.rejection || !mRequest.batch.quiet) {
            for (const std::string& line : linesOf(result)) {
                std::printf("%s: %s\n", printable(mPlan.jobs[job].input).c_str(),
                            printable(line).c_str());
            }
        }
    }

    void printSummary() const {
        if (mRequest.batch.quiet) {
            return;
        }
        std::printf("prepared %zu, with loss %zu, rejected %zu", mFinished - mRejected, mWithLoss,
                    mRejected);
        if (mFinished < mPlan.jobs.size()) {
            std::printf(", not started %zu", mPlan.jobs.size() - mFinished);
        }
        std::puts("");
    }

    const PrepareRequest& mRequest;
    const JobPlan mPlan;
    OutputFolder mFolder;
    std::vector<Preparation> mResults;
    size_t mFinished = 0, mRejected = 0, mWithLoss = 0;
};

// Rejects an output folder in which an image would replace its own source.
void rejectReplacedSources(const JobPlan& plan) {
    for (const Job& job : plan.jobs) {
        std::error_code ignored;
        if (std::filesystem::equivalent(job.input, plan.folder + "/" + job.output, ignored)) {
            throw Rejection(printable(job.input) +
                            ": the prepared image would replace it; choose another folder");
        }
    }
}

void reportOne(const PrepareRequest& request, const std::string& input,
               const Preparation& preparation) {
    if (request.batch.json) {
        printJson({input, request.output, ""}, preparation);
    } else if (!request.batch.quiet) {
        for (const std::string& line : linesOf(preparation)) {
            std::fprintf(stderr, "slabtool: %s: %s\n", printable(input).c_str(), line.c_str());
        }
    }
}

Preparation prepareOne(const PrepareRequest& request, const std::string& input) {
    return namingFile(input, [&] { return prepareImage(readFile(input), request); });
}

} // namespace

int runPrepare(const PrepareRequest& request) {
    if (!request.isIntoFolder) {
        const std::string& input = request.inputs.front();
        runInOrder<Preparation>(
            {input}, request.batch, [&](size_t) { return prepareOne(request, input); },
            [&](size_t, const Preparation& preparation) {
                namingFile(request.output, [&] { writeFile(request.output, preparation.file); });
                reportOne(request, input, preparation);
            });
        return 0;
    }
    const JobPlan plan =
        planJobs(request.inputs, std::filesystem::path(request.output) / "", ".png");
    rejectReplacedSources(plan);
    return std::make_unique<PrepareRun>(request, plan)->run();
}
