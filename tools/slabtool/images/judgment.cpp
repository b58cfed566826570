// Judges one image and finds the command that fixes it.
#include "tools/slabtool/images/judgment.h"

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_verdict.h"

#include <algorithm>
#include <array>
#include <new>

namespace {

constexpr size_t kColorTypeOffset = 25; // of every PNG file: IHDR is the first chunk

std::string stemOf(const std::string& path) {
    const size_t folderEnd = path.find_last_of('/') + 1; // 0 without a folder
    const size_t dot = path.find_last_of('.');
    return dot != std::string::npos && dot > folderEnd ? path.substr(0, dot) : path;
}

void setFix(Judgment& judgment, const std::string& command, const std::string& from,
            const std::string& to) {
    if (from.ends_with('\n')) {
        judgment.note = "rename it: its name ends in a line break, which shell commands drop";
    } else {
        judgment.fix = command + " " + shellWord(from) + " " + shellWord(to);
    }
}

// Sets the slabtool prepare command, with the option against each loss.
void setPrepareFix(Judgment& judgment, const std::string& path,
                   const std::vector<Finding>& losses) {
    std::string command = "slabtool prepare";
    for (const Finding& loss : losses) {
        const char* const option = optionAgainst(loss);
        command += option != nullptr ? std::string(" ") + option : "";
    }
    const std::string stem = path == kStandardStream ? "image" : stemOf(path);
    setFix(judgment, command, path, stem + "-prepared.png");
}

void findFix(Judgment& judgment, const std::string& path, ByteView file, bool alphaOnly) {
    if (alphaOnly && judgePng(file, false).isAccepted) {
        judgment.note = "pngslab accepts it without --alphaonly";
        return;
    }
    try {
        testPng(file);
    } catch (const Rejection& rejection) {
        judgment.note = std::string("it cannot be fixed, because ") + kPngLibrary +
                        " reports: " + rejection.what();
        return;
    }
    if (alphaOnly && file[kColorTypeOffset] != kGrayType) {
        judgment.note = "it cannot be fixed for --alphaonly, because it is not grayscale";
        return;
    }
    const std::vector<Finding> losses = lossesOf(factsOf(file));
    setPrepareFix(judgment, path, losses);
    judgment.losses = losses; // those that the command does not avoid
    std::erase_if(judgment.losses,
                  [](const Finding& loss) { return optionAgainst(loss) != nullptr; });
}

Judgment acceptedImage(const std::string& path, const PngVerdict& verdict) {
    Judgment judgment = {verdict.losses.empty() ? kAccepted : kWithLoss, verdict.surface};
    judgment.losses = verdict.losses;
    if (std::any_of(verdict.losses.begin(), verdict.losses.end(), optionAgainst)) {
        setPrepareFix(judgment, path, verdict.losses);
    }
    return judgment;
}

Judgment judge(const std::string& path, ByteView file, bool alphaOnly) {
    if (file.empty()) {
        return {kRejected, "", Finding{"not-png", "the file is empty"}};
    }
    const PngVerdict verdict = judgePng(file, alphaOnly);
    Judgment judgment = {kRejected, "", verdict.reason};
    if (!verdict.isAccepted) {
        findFix(judgment, path, file, alphaOnly);
        return judgment;
    }
    if (path != kStandardStream && !path.ends_with(kImageSuffix)) {
        judgment.reason = {"file-name", "its name does not end in .png"};
        setFix(judgment, "mv -i", path, stemOf(path) + kImageSuffix);
        return judgment;
    }
    return acceptedImage(path, verdict);
}

} // namespace

const Finding kNoMemory = {"memory", "not enough memory to decode it"};

const char* verdictText(Severity severity) {
    constexpr std::array kVerdicts = {"accepted", "accepted with loss", "rejected"};
    return kVerdicts[severity];
}

std::string textOf(const Judgment& judgment) {
    std::string text = judgment.surface;
    if (judgment.reason) {
        text = textOf(*judgment.reason);
    }
    for (const Finding& loss : judgment.losses) {
        text += (judgment.reason ? "; with loss: " : "; ") + textOf(loss);
    }
    text += judgment.fix.empty() ? "" : "; fix: " + judgment.fix;
    return text + (judgment.note.empty() ? "" : "; " + judgment.note);
}

Judgment judgeImage(const std::string& path, ByteView file, bool alphaOnly) {
    try {
        return judge(path, file, alphaOnly);
    } catch (const std::bad_alloc&) {
        return {kRejected, "", kNoMemory};
    }
}
