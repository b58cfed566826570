// slabtool check prints one line for each file. A bad file does not affect the lines of the others.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/folder_walk.h"
#include "tools/slabtool/runs/json_line.h"

#include <array>
#include <cstdio>
#include <new>
#include <optional>
#include <vector>

namespace {

constexpr const char* kSuffix = ".png"; // the only one that pngslab accepts
constexpr size_t kColorTypeOffset = 25; // of every PNG file: IHDR is the first chunk

std::string stemOf(const std::string& path) {
    const size_t folderEnd = path.find_last_of('/') + 1; // 0 without a folder
    const size_t dot = path.find_last_of('.');
    return dot != std::string::npos && dot > folderEnd ? path.substr(0, dot) : path;
}

enum Severity { kAccepted, kWithLoss, kRejected };

// The report on one image.
struct Judgment {
    Severity severity;
    std::string surface;                // description of the resulting surface
    std::optional<Finding> reason = {}; // of a rejection
    std::vector<Finding> losses = {};
    std::string fix = {};  // a command
    std::string note = {}; // why there is no command
};

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
        judgment.note =
            "it cannot be fixed, because libpng reports: " + std::string(rejection.what());
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

Judgment judge(const std::string& path, bool alphaOnly) {
    const Bytes file = readFile(path);
    if (file.empty()) {
        return {kRejected, "", Finding{"not-png", "the file is empty"}};
    }
    const PngVerdict verdict = judgePng(file, alphaOnly);
    Judgment judgment = {kRejected, "", verdict.reason};
    if (!verdict.isAccepted) {
        findFix(judgment, path, file, alphaOnly);
        return judgment;
    }
    if (path != kStandardStream && !path.ends_with(kSuffix)) {
        judgment.reason = {"file-name", "its name does not end in .png"};
        setFix(judgment, "mv -i", path, stemOf(path) + kSuffix);
        return judgment;
    }
    return acceptedImage(path, verdict);
}

Judgment judgeSafely(const std::string& path, bool alphaOnly) {
    try {
        return judge(path, alphaOnly);
    } catch (const Rejection& rejection) {
        return {kRejected, "", Finding{"unreadable", rejection.what()}};
    } catch (const std::bad_alloc&) {
        return {kRejected, "", Finding{"memory", "not enough memory to decode it"}};
    }
}

// The losses of a rejected image are those that remain after the fix.
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

void printText(const std::string& path, const Judgment& judgment) {
    constexpr std::array kVerdicts = {"accepted", "accepted with loss", "rejected"};
    std::printf("%s: %s: %s\n", printable(path).c_str(), kVerdicts[judgment.severity],
                printable(textOf(judgment)).c_str());
}

void printJson(const std::string& path, const Judgment& judgment) {
    constexpr std::array kOutcomes = {"accepted", "accepted-with-loss", "rejected"};
    Json object;
    addText(object, "input", path);
    object["outcome"] = kOutcomes[judgment.severity];
    if (judgment.reason) {
        object["reason"] = toJson(*judgment.reason);
    } else {
        object["surface"] = judgment.surface;
    }
    object["losses"] = toJson(judgment.losses);
    if (!judgment.fix.empty()) {
        addText(object, "fix", judgment.fix);
    }
    if (!judgment.note.empty()) {
        object["note"] = judgment.note;
    }
    std::puts(jsonLine(object).c_str());
}

} // namespace

int runCheck(const CheckRequest& request) {
    std::vector<std::string> paths;
    for (const FoundFile& file : findFiles(request.paths, kSuffix)) {
        paths.push_back(file.path);
    }
    const Severity maxAllowed = request.strict ? kAccepted : kWithLoss;
    std::array<size_t, 3> counts = {};
    int status = 0;
    runInOrder<Judgment>(
        paths, request.batch,
        [&](size_t file) { return judgeSafely(paths[file], request.alphaOnly); },
        [&](size_t file, const Judgment& judgment) {
            ++counts[judgment.severity];
            status = judgment.severity > maxAllowed ? 1 : status;
            if (request.batch.json) {
                printJson(paths[file], judgment);
            } else if (!request.batch.quiet || judgment.severity > maxAllowed) {
                printText(paths[file], judgment);
            }
        });
    const bool hasFolders = std::any_of(request.paths.begin(), request.paths.end(), isFolder);
    if (hasFolders && !request.batch.json && !request.batch.quiet) {
        std::printf("accepted %zu, with loss %zu, rejected %zu\n", counts[kAccepted],
                    counts[kWithLoss], counts[kRejected]);
    }
    return status;
}
