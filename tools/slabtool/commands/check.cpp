// slabtool check: one line a file, and nothing that one file could do to the lines of the others.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/files.h"

#include <cstdio>
#include <new>

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
    return "; mend it by: " + words + " " + shellWord(from) + " " + shellWord(to);
}

std::string mending(const std::string& path, ByteView file, bool alphaOnly) {
    if (alphaOnly && judgePng(file, false).isTaken) {
        return "; pngslab takes it without --alphaonly";
    }
    try {
        testPng(file);
    } catch (const Refusal& refusal) {
        return "; it cannot be mended, since libpng says: " + std::string(refusal.what());
    }
    if (alphaOnly && file[kColorTypeAt] != kGreyType) {
        return "; it cannot be mended for --alphaonly, since it is not greyscale";
    }
    const std::string stem = path == kStandardStream ? "image" : stemOf(path);
    return command("slabtool prepare", path, stem + "-prepared.png");
}

// The verdict on one file, behind its name.
PngVerdict look(const std::string& path, bool alphaOnly) {
    const Bytes file = readFile(path);
    if (file.empty()) {
        return {false, "the file is empty"};
    }
    PngVerdict verdict = judgePng(file, alphaOnly);
    if (!verdict.isTaken) {
        verdict.words += mending(path, file, alphaOnly);
    } else if (path != kStandardStream && !path.ends_with(kSuffix)) {
        return {false,
                "its name does not end in .png" + command("mv -i", path, stemOf(path) + kSuffix)};
    }
    return verdict;
}

PngVerdict lookSafely(const std::string& path, bool alphaOnly) {
    try {
        return look(path, alphaOnly);
    } catch (const Refusal& refusal) {
        return {false, refusal.what()};
    } catch (const std::bad_alloc&) {
        return {false, "not enough memory to decode it"};
    }
}

} // namespace

int runCheck(const CheckRequest& request) {
    int status = 0;
    for (const std::string& path : request.paths) {
        const PngVerdict verdict = lookSafely(path, request.alphaOnly);
        std::printf("%s: %s: %s\n", printable(path).c_str(), verdict.isTaken ? "taken" : "refused",
                    printable(verdict.words).c_str());
        status = verdict.isTaken ? status : 1;
    }
    return status;
}
