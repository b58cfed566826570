// What a run of slabtool convert says: an object a file as it finishes, or a summary at the end.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/runs/batch.h"

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

/// What became of one image.
struct ImageReport {
    std::string input, output;
    bool isUpToDate = false;
    bool wasFixed = false;
    std::vector<Finding> losses = {};
    std::optional<Finding> rejection = {};
};

/// "accepted", "accepted-with-loss", "fixed" or "fixed-with-loss".
std::string verdictWord(bool wasFixed, bool hasLoss);

class ConvertReport {
public:
    /// With `json`, prints an object a file, and no summary; with `quiet`, what was rejected and nothing else.
    ConvertReport(const BatchOptions& options, std::FILE* stream)
        : mJson(options.json)
        , mQuiet(options.quiet)
        , mStream(stream) {}

    void add(ImageReport image);
    void addPruned() { ++mPruned; }
    bool hasRejections() const { return mRejected != 0; }

    /// @param total images that the run was for; those that are missing were not started
    void printSummary(size_t total);

private:
    bool mJson, mQuiet;
    std::FILE* mStream;
    std::vector<ImageReport> mNotable; // rejected, or with loss
    size_t mConverted = 0, mUpToDate = 0, mFixed = 0, mWithLoss = 0, mRejected = 0, mPruned = 0;
};
