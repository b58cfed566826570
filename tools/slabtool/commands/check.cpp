// slabtool check: one line a file, and nothing that one file could do to the lines of the others.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/files.h"

#include <cstdio>
#include <new>
#include <vector>

namespace {

constexpr const char* kSuffix = ".png"; // pngslab goes by it
constexpr size_t kColorTypeAt = 25;     // in every PNG file

std::string stemOf(const std::string& path) {
    const size_t folderEnd = path.find_last_of('/') + 1; // 0 without a folder
    const size_t dot = path.find_last_of('.');
    return dot != std::string::npos && dot > folderEnd ? path.substr(0, dot) : path;
}

std::string command(const std::string& words, const std::string& from, const std::string& to) {
    if (from.ends_with('\n')) {
        return "; rename it, since no command names a line break at the end";
    }
    return "; fix: " + words + " " + shellWord(from) + " " + shellWord(to);
}

// The command that writes an image with as much of the picture as can be kept.
std::string prepareCommand(const std::string& path, const std::vector<Finding>& losses) {
    std::string words = "slabtool prepare";
    for (const Finding& loss : losses) {
        const char* const option = optionAgainst(loss);
        words += option != nullptr ? std::string(" ") + option : "";
    }
    const std::string stem = path == kStandardStream ? "image" : stemOf(path);
    return command(words, path, stem + "-prepared.png");
}

std::string fixFor(const std::string& path, ByteView file, bool alphaOnly) {
    if (alphaOnly && judgePng(file, false).isAccepted) {
        return "; pngslab accepts it without --alphaonly";
    }
    try {
        testPng(file);
    } catch (const Refusal& refusal) {
        return "; it cannot be fixed, since libpng says: " + std::string(refusal.what());
    }
    if (alphaOnly && file[kColorTypeAt] != kGreyType) {
        return "; it cannot be fixed for --alphaonly, since it is not grayscale";
    }
    const std::vector<Finding> losses = lossesOf(factsOf(file));
    std::string words;
    for (const Finding& loss : losses) {
        words += optionAgainst(loss) == nullptr ? "; with loss: " + textOf(loss) : "";
    }
    return words + prepareCommand(path, losses);
}

// One image's line, behind its name.
struct Line {
    int severity; // 0: accepted, 1: with loss, 2: rejected
    std::string words;
};

Line rejectedLine(const Finding& reason, const std::string& fix) {
    return {2, "rejected: " + textOf(reason) + fix};
}

Line acceptedLine(const std::string& path, const PngVerdict& verdict) {
    if (verdict.losses.empty()) {
        return {0, "accepted: " + verdict.surface};
    }
    Line line = {1, "accepted with loss: " + verdict.surface};
    bool canKeep = false;
    for (const Finding& loss : verdict.losses) {
        line.words += "; " + textOf(loss);
        canKeep |= optionAgainst(loss) != nullptr;
    }
    line.words += canKeep ? prepareCommand(path, verdict.losses) : "";
    return line;
}

Line judge(const std::string& path, bool alphaOnly) {
    const Bytes file = readFile(path);
    if (file.empty()) {
        return rejectedLine({"not-png", "the file is empty"}, "");
    }
    const PngVerdict verdict = judgePng(file, alphaOnly);
    if (!verdict.isAccepted) {
        return rejectedLine(verdict.reason, fixFor(path, file, alphaOnly));
    }
    if (path != kStandardStream && !path.ends_with(kSuffix)) {
        return rejectedLine({"file-name", "its name does not end in .png"},
                            command("mv -i", path, stemOf(path) + kSuffix));
    }
    return acceptedLine(path, verdict);
}

Line judgeSafely(const std::string& path, bool alphaOnly) {
    try {
        return judge(path, alphaOnly);
    } catch (const Refusal& refusal) {
        return rejectedLine({"unreadable", refusal.what()}, "");
    } catch (const std::bad_alloc&) {
        return rejectedLine({"memory", "not enough memory to decode it"}, "");
    }
}

} // namespace

int runCheck(const CheckRequest& request) {
    int status = 0;
    const int worstAllowed = request.strict ? 0 : 1;
    for (const std::string& path : request.paths) {
        const Line line = judgeSafely(path, request.alphaOnly);
        std::printf("%s: %s\n", printable(path).c_str(), printable(line.words).c_str());
        status = line.severity > worstAllowed ? 1 : status;
    }
    return status;
}
