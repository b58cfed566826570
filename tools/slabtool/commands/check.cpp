// slabtool check: one line a file, and nothing that one file could do to the lines of the others.
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

constexpr const char* kSuffix = ".png"; // pngslab goes by it
constexpr size_t kColorTypeAt = 25;     // in every PNG file

std::string stemOf(const std::string& path) {
    const size_t folderEnd = path.find_last_of('/') + 1; // 0 without a folder
    const size_t dot = path.find_last_of('.');
    return dot != std::string::npos && dot > folderEnd ? path.substr(0, dot) : path;
}

enum Severity { kAccepted, kWithLoss, kRejected };

// What there is to say about one image.
struct Judgement {
    Severity severity;
    std::string surface;                // that it becomes
    std::optional<Finding> reason = {}; // of a rejection
    std::vector<Finding> losses = {};
    std::string fix = {};  // a command
    std::string note = {}; // why there is none
};

void fixBy(Judgement& judgement, const std::string& words, const std::string& from,
           const std::string& to) {
    if (from.ends_with('\n')) {
        judgement.note = "rename it, since no command names a line break at the end";
    } else {
        judgement.fix = words + " " + shellWord(from) + " " + shellWord(to);
    }
}

// The command that writes an image with as much of the picture as can be kept.
void fixByPrepare(Judgement& judgement, const std::string& path,
                  const std::vector<Finding>& losses) {
    std::string words = "slabtool prepare";
    for (const Finding& loss : losses) {
        const char* const option = optionAgainst(loss);
        words += option != nullptr ? std::string(" ") + option : "";
    }
    const std::string stem = path == kStandardStream ? "image" : stemOf(path);
    fixBy(judgement, words, path, stem + "-prepared.png");
}

void findFix(Judgement& judgement, const std::string& path, ByteView file, bool alphaOnly) {
    if (alphaOnly && judgePng(file, false).isAccepted) {
        judgement.note = "pngslab accepts it without --alphaonly";
        return;
    }
    try {
        testPng(file);
    } catch (const Refusal& refusal) {
        judgement.note = "it cannot be fixed, since libpng says: " + std::string(refusal.what());
        return;
    }
    if (alphaOnly && file[kColorTypeAt] != kGrayType) {
        judgement.note = "it cannot be fixed for --alphaonly, since it is not grayscale";
        return;
    }
    const std::vector<Finding> losses = lossesOf(factsOf(file));
    fixByPrepare(judgement, path, losses);
    judgement.losses = losses; // of the fixed image: without what the command keeps
    std::erase_if(judgement.losses,
                  [](const Finding& loss) { return optionAgainst(loss) != nullptr; });
}

Judgement acceptedImage(const std::string& path, const PngVerdict& verdict) {
    Judgement judgement = {verdict.losses.empty() ? kAccepted : kWithLoss, verdict.surface};
    judgement.losses = verdict.losses;
    if (std::any_of(verdict.losses.begin(), verdict.losses.end(), optionAgainst)) {
        fixByPrepare(judgement, path, verdict.losses);
    }
    return judgement;
}

Judgement judge(const std::string& path, bool alphaOnly) {
    const Bytes file = readFile(path);
    if (file.empty()) {
        return {kRejected, "", Finding{"not-png", "the file is empty"}};
    }
    const PngVerdict verdict = judgePng(file, alphaOnly);
    Judgement judgement = {kRejected, "", verdict.reason};
    if (!verdict.isAccepted) {
        findFix(judgement, path, file, alphaOnly);
        return judgement;
    }
    if (path != kStandardStream && !path.ends_with(kSuffix)) {
        judgement.reason = {"file-name", "its name does not end in .png"};
        fixBy(judgement, "mv -i", path, stemOf(path) + kSuffix);
        return judgement;
    }
    return acceptedImage(path, verdict);
}

Judgement judgeSafely(const std::string& path, bool alphaOnly) {
    try {
        return judge(path, alphaOnly);
    } catch (const Refusal& refusal) {
        return {kRejected, "", Finding{"unreadable", refusal.what()}};
    } catch (const std::bad_alloc&) {
        return {kRejected, "", Finding{"memory", "not enough memory to decode it"}};
    }
}

// A rejected image's losses are those that the fix would leave.
std::string wordsOf(const Judgement& judgement) {
    std::string words = judgement.surface;
    if (judgement.reason) {
        words = textOf(*judgement.reason);
    }
    for (const Finding& loss : judgement.losses) {
        words += (judgement.reason ? "; with loss: " : "; ") + textOf(loss);
    }
    words += judgement.fix.empty() ? "" : "; fix: " + judgement.fix;
    return words + (judgement.note.empty() ? "" : "; " + judgement.note);
}

void printText(const std::string& path, const Judgement& judgement) {
    constexpr std::array kVerdicts = {"accepted", "accepted with loss", "rejected"};
    std::printf("%s: %s: %s\n", printable(path).c_str(), kVerdicts[judgement.severity],
                printable(wordsOf(judgement)).c_str());
}

void printJson(const std::string& path, const Judgement& judgement) {
    constexpr std::array kOutcomes = {"accepted", "accepted-with-loss", "rejected"};
    Json object;
    addText(object, "input", path);
    object["outcome"] = kOutcomes[judgement.severity];
    if (judgement.reason) {
        object["reason"] = toJson(*judgement.reason);
    } else {
        object["surface"] = judgement.surface;
    }
    object["losses"] = toJson(judgement.losses);
    if (!judgement.fix.empty()) {
        addText(object, "fix", judgement.fix);
    }
    if (!judgement.note.empty()) {
        object["note"] = judgement.note;
    }
    std::puts(jsonLine(object).c_str());
}

} // namespace

int runCheck(const CheckRequest& request) {
    std::vector<std::string> paths;
    for (const FoundFile& file : findFiles(request.paths, kSuffix)) {
        paths.push_back(file.path);
    }
    const Severity worstAllowed = request.strict ? kAccepted : kWithLoss;
    std::array<size_t, 3> counts = {};
    int status = 0;
    runInOrder<Judgement>(
        paths, request.batch,
        [&](size_t file) { return judgeSafely(paths[file], request.alphaOnly); },
        [&](size_t file, const Judgement& judgement) {
            ++counts[judgement.severity];
            status = judgement.severity > worstAllowed ? 1 : status;
            if (request.batch.json) {
                printJson(paths[file], judgement);
            } else if (!request.batch.quiet || judgement.severity > worstAllowed) {
                printText(paths[file], judgement);
            }
        });
    const bool hasFolders = std::any_of(request.paths.begin(), request.paths.end(), isFolder);
    if (hasFolders && !request.batch.json && !request.batch.quiet) {
        std::printf("accepted %zu, with loss %zu, rejected %zu\n", counts[kAccepted],
                    counts[kWithLoss], counts[kRejected]);
    }
    return status;
}
