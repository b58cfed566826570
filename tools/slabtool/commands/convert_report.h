// The output of slabtool convert: a JSON object for each file as it finishes, or a summary at the end.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/runs/batch.h"

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

/// The result for one image.
struct ImageReport {
    std::string input, output;
    bool isUpToDate = false;
    bool wasFixed = false;
    std::vector<Finding> losses = {};
    std::optional<Finding> rejection = {};
};

/// "accepted", "accepted-with-loss", "fixed" or "fixed-with-loss".
std::string verdictName(bool wasFixed, bool hasLoss);

class ConvertReport {
public:
    /// With `json`, prints an object for each file and no summary. With `quiet`, prints rejected images only.
    ConvertReport(const BatchOptions& options, std::FILE* stream)
        : mJson(options.json)
        , mQuiet(options.quiet)
        , mStream(stream) {}

    void add(ImageReport image);
    void addPruned() { ++mPruned; }
    bool hasRejections() const { return mRejected != 0; }

    /// @param total images of the run, including those that were not started
    void printSummary(size_t total);

private:
    bool mJson, mQuiet;
    std::FILE* mStream;
    std::vector<ImageReport> mNotable; // rejected, or with loss
    size_t mConverted = 0, mUpToDate = 0, mFixed = 0, mWithLoss = 0, mRejected = 0, mPruned = 0;
};
