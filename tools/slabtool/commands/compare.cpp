// slabtool compare checks the headers, then the pixels of the upright pictures. Padding is ignored.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/folder_walk.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <utility>

namespace {

struct Difference {
    uint64_t pixels = 0;
    uint32_t x = 0, y = 0; // of the first different pixel
};

Difference differenceOf(const SurfacePicture& first, const SurfacePicture& second) {
    const size_t pixelBytes = bytesPerPixel(first.header().colorMode());
    Difference difference;
    for (uint32_t y = 0; y < first.height(); ++y) {
        for (uint32_t x = 0; x < first.width(); ++x) {
            if (std::memcmp(first.pixel(x, y), second.pixel(x, y), pixelBytes) != 0 &&
                difference.pixels++ == 0) {
                difference.x = x;
                difference.y = y;
            }
        }
    }
    return difference;
}

std::string bytesOf(const SurfacePicture& picture, const Difference& difference) {
    const uint8_t* const pixel = picture.pixel(difference.x, difference.y);
    std::string text;
    for (uint32_t i = 0; i < bytesPerPixel(picture.header().colorMode()); ++i) {
        char byte[4];
        std::snprintf(byte, sizeof byte, "%s%02x", i == 0 ? "" : " ", pixel[i]);
        text += byte;
    }
    return text;
}

std::string sizeOf(const SurfacePicture& picture) {
    return std::to_string(picture.width()) + " x " + std::to_string(picture.height());
}

// The result of comparing two surface files.
struct Comparison {
    bool isEqual = false;
    std::vector<std::string> messages = {};
};

// @return whether the pixels can be compared
bool compareHeaders(const SurfacePicture& first, const SurfacePicture& second,
                    Comparison& comparison) {
    const SurfaceHeader& a = first.header();
    const SurfaceHeader& b = second.header();
    if (a.mode != b.mode) {
        comparison.messages.push_back(std::string("different color modes: ") +
                                      colorModeName(a.mode) + " and " + colorModeName(b.mode));
    }
    if (first.width() != second.width() || first.height() != second.height()) {
        comparison.messages.push_back("different sizes: " + sizeOf(first) + " and " +
                                      sizeOf(second));
        return false;
    }
    if (a.rotation != b.rotation) {
        comparison.messages.push_back("different rotations: " + std::to_string(a.rotation) +
                                      " and " + std::to_string(b.rotation));
    }
    return a.mode == b.mode;
}

// @return whether the pixels are the same
bool comparePixels(const SurfacePicture& first, const SurfacePicture& second,
                   Comparison& comparison) {
    const Difference difference = differenceOf(first, second);
    if (difference.pixels == 0) {
        return true;
    }
    comparison.messages.push_back(std::to_string(difference.pixels) + " of " +
                                  std::to_string(uint64_t{first.width()} * first.height()) +
                                  " pixels differ, the first at x " + std::to_string(difference.x) +
                                  ", y " + std::to_string(difference.y) + ": " +
                                  bytesOf(first, difference) + " and " +
                                  bytesOf(second, difference));
    return false;
}

Comparison compareFiles(const std::string& firstPath, const std::string& secondPath) {
    const SurfacePicture first = readPicture(firstPath);
    const SurfacePicture second = readPicture(secondPath);
    Comparison comparison;
    if (compareHeaders(first, second, comparison) && comparePixels(first, second, comparison)) {
        comparison.isEqual = comparison.messages.empty();
        comparison.messages.emplace_back(
            comparison.isEqual ? "equal" : "the pixels of the upright pictures are the same");
    }
    return comparison;
}

// Two files with the same relative path. A path is empty if that folder has no such file.
struct Pair {
    std::string relativePath, first, second;
};

Comparison comparePair(const Pair& pair, const CompareRequest& request) {
    const bool isUnreadable = pair.relativePath.ends_with('/'); // a folder
    if (!isUnreadable && (pair.first.empty() || pair.second.empty())) {
        return {false, {"only in " + (pair.first.empty() ? request.second : request.first)}};
    }
    try {
        if (isUnreadable) {
            readPicture(pair.first.empty() ? pair.second
                                           : pair.first); // rejects it with the reason
        }
        return compareFiles(pair.first, pair.second);
    } catch (const Rejection& rejection) {
        return {false, {rejection.what()}};
    } catch (const std::bad_alloc&) {
        return {false, {"not enough memory to compare them"}};
    }
}

std::vector<Pair> pairsOf(const CompareRequest& request) {
    std::map<std::string, Pair> pairs;
    for (const FoundFile& file : findFiles({request.first}, kSurfaceSuffix)) {
        pairs[file.relativePath].first = file.path;
    }
    for (const FoundFile& file : findFiles({request.second}, kSurfaceSuffix)) {
        pairs[file.relativePath].second = file.path;
    }
    std::vector<Pair> list;
    for (auto& [relativePath, pair] : pairs) {
        pair.relativePath = relativePath;
        list.push_back(std::move(pair));
    }
    return list;
}

void printJson(const Pair& pair, const Comparison& comparison) {
    JsonObject object;
    object.addText("first", pair.first);
    object.addText("second", pair.second);
    object.add("equal", comparison.isEqual);
    object.add("words", comparison.messages);
    std::puts(object.text().c_str());
}

void printText(const Pair& pair, const Comparison& comparison) {
    for (const std::string& message : comparison.messages) {
        std::printf("%s: %s\n", printable(pair.relativePath).c_str(), printable(message).c_str());
    }
}

int compareFolders(const CompareRequest& request) {
    const std::vector<Pair> pairs = pairsOf(request);
    std::vector<std::string> names;
    for (const Pair& pair : pairs) {
        names.push_back(pair.relativePath);
    }
    size_t different = 0;
    runInOrder<Comparison>(
        names, request.batch, [&](size_t file) { return comparePair(pairs[file], request); },
        [&](size_t file, const Comparison& comparison) {
            different += comparison.isEqual ? 0 : 1;
            if (request.batch.json) {
                printJson(pairs[file], comparison);
            } else if (!comparison.isEqual) {
                printText(pairs[file], comparison);
            }
        });
    if (!request.batch.json && !request.batch.quiet) {
        std::printf("equal %zu, different %zu\n", pairs.size() - different, different);
    }
    return different == 0 ? 0 : 1;
}

} // namespace

int runCompare(const CompareRequest& request) {
    if (isFolder(request.first) != isFolder(request.second)) {
        throw Rejection("a file and a folder cannot be compared");
    }
    if (isFolder(request.first)) {
        return compareFolders(request);
    }
    const Comparison comparison = compareFiles(request.first, request.second);
    if (request.batch.json) {
        printJson({"", request.first, request.second}, comparison);
    } else if (!comparison.isEqual || !request.batch.quiet) {
        for (const std::string& message : comparison.messages) {
            std::puts(message.c_str());
        }
    }
    return comparison.isEqual ? 0 : 1;
}
