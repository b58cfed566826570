// The summary has counts, and names only images that are rejected or lose something.
#include "tools/slabtool/commands/convert_report.h"

#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

std::string outcomeOf(const ImageReport& image) {
    if (image.rejection) {
        return "rejected";
    }
    return image.isUpToDate ? "up-to-date" : verdictName(image.wasFixed, !image.losses.empty());
}

void printJson(const ImageReport& image, std::FILE* stream) {
    JsonObject object;
    object.addText("input", image.input);
    object.addText("output", image.output);
    object.add("outcome", outcomeOf(image));
    if (image.rejection) {
        object.add("reason", *image.rejection);
    }
    object.add("losses", image.losses);
    std::fprintf(stream, "%s\n", object.text().c_str());
}

void printLine(const ImageReport& image, std::FILE* stream) {
    std::string text = image.rejection ? "rejected: " + textOf(*image.rejection) : "with loss: ";
    const char* separator = "";
    for (const Finding& loss : image.losses) {
        text += separator + textOf(loss);
        separator = "; ";
    }
    std::fprintf(stream, "%s: %s\n", printable(image.input).c_str(), printable(text).c_str());
}

// Whether --keep-colors would avoid a loss.
bool canKeepColors(const ImageReport& image) {
    return std::any_of(image.losses.begin(), image.losses.end(), [](const Finding& loss) {
        return optionAgainst(loss) != nullptr || loss.code == kOrientationLoss;
    });
}

} // namespace

std::string verdictName(bool wasFixed, bool hasLoss) {
    return std::string(wasFixed ? "fixed" : "accepted") + (hasLoss ? "-with-loss" : "");
}

void ConvertReport::add(ImageReport image) {
    if (mJson) {
        printJson(image, mStream);
    }
    mConverted += !image.rejection && !image.isUpToDate ? 1 : 0;
    mUpToDate += image.isUpToDate ? 1 : 0;
    mFixed += image.wasFixed ? 1 : 0;
    mWithLoss += image.losses.empty() ? 0 : 1;
    mRejected += image.rejection ? 1 : 0;
    if (image.rejection || !image.losses.empty()) {
        mNotable.push_back(std::move(image));
    }
}

void ConvertReport::printSummary(size_t total) {
    if (mJson) {
        return;
    }
    // Sorted, so that the output does not depend on the order in which threads finish.
    std::sort(mNotable.begin(), mNotable.end(),
              [](const ImageReport& a, const ImageReport& b) { return a.output < b.output; });
    bool hasAvoidableLoss = false;
    for (const ImageReport& image : mNotable) {
        if (image.rejection || !mQuiet) {
            printLine(image, mStream);
        }
        hasAvoidableLoss |= canKeepColors(image);
    }
    if (mQuiet) {
        return;
    }
    std::fprintf(mStream,
                 "converted %zu, up to date %zu, fixed on the way %zu, with loss %zu, rejected %zu",
                 mConverted, mUpToDate, mFixed, mWithLoss, mRejected);
    if (mPruned != 0) {
        std::fprintf(mStream, ", pruned %zu", mPruned);
    }
    const size_t finished = mConverted + mUpToDate + mRejected;
    if (finished < total) {
        std::fprintf(mStream, ", not started %zu", total - finished);
    }
    std::fputs("\n", mStream);
    if (hasAvoidableLoss) {
        std::fprintf(mStream, "%s\n",
                     "note: --keep-colors keeps palettes, key colors and orientation");
    }
}
