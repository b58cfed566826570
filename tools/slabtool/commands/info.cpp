// slabtool info prints the header of a surface file as text or as JSON.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/folder_walk.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cinttypes>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

struct Entry {
    std::string path;
    std::optional<SurfaceFacts> facts; // none if the file cannot be read
    std::string error;
};

Entry inspectFile(const std::string& path) {
    try {
        const FileHead head = readHead(path, kSurfaceHeaderBytes);
        return {path, inspectSurface(head.bytes, head.size), ""};
    } catch (const Rejection& rejection) {
        return {path, std::nullopt, rejection.what()};
    }
}

std::vector<std::string> problemsOf(const Entry& entry) {
    if (!entry.facts) {
        return {entry.error};
    }
    std::vector<std::string> problems = entry.facts->faults;
    problems.insert(problems.end(), entry.facts->oddities.begin(), entry.facts->oddities.end());
    return problems;
}

std::vector<Finding> notesOf(const Entry& entry) {
    const bool hasHeader = entry.facts && entry.facts->header;
    const std::optional<Finding> note =
        hasHeader ? noteForMode(entry.facts->header->mode) : std::nullopt;
    return note ? std::vector{*note} : std::vector<Finding>();
}

uint64_t rowPadding(const SurfaceHeader& header) {
    const uint64_t used = header.usedRowBytes();
    return header.stride > used ? header.stride - used : 0;
}

uint64_t endPadding(const SurfaceFacts& facts) {
    const uint64_t used = facts.header->usedBytes();
    return facts.fileSize > used ? facts.fileSize - used : 0;
}

void printHeader(const SurfaceFacts& facts) {
    const SurfaceHeader& header = *facts.header;
    std::printf("  rotation %" PRIu32 "\n", header.rotation);
    std::printf("  mode     %" PRIu32 " (%s), %" PRIu32 " bytes a pixel\n", header.mode,
                colorModeName(header.mode), bytesPerPixel(header.colorMode()));
    std::printf("  size     %" PRIu32 " x %" PRIu32 " pixels as stored\n", header.width,
                header.height);
    std::printf("  stride   %" PRIu32 " bytes, %" PRIu64 " of them padding\n", header.stride,
                rowPadding(header));
    std::printf("  file     %" PRIu64 " bytes, %" PRIu64 " after the last row\n", facts.fileSize,
                endPadding(facts));
}

// Expects facts.
void printText(const Entry& entry) {
    const std::vector<std::string> problems = problemsOf(entry);
    std::printf("%s: %s\n", printable(entry.path).c_str(),
                problems.empty() ? "consistent" : "not consistent");
    if (entry.facts->header) {
        printHeader(*entry.facts);
    }
    for (const std::string& problem : problems) {
        std::printf("  problem: %s\n", problem.c_str());
    }
    for (const Finding& note : notesOf(entry)) {
        std::printf("  note     %s\n", textOf(note).c_str());
    }
}

void addHeader(JsonObject& object, const SurfaceFacts& facts) {
    const SurfaceHeader& header = *facts.header;
    object.add("rotation", header.rotation);
    object.add("mode", header.mode);
    object.add("modeName", colorModeName(header.mode));
    object.add("bytesPerPixel", bytesPerPixel(header.colorMode()));
    object.add("width", header.width);
    object.add("height", header.height);
    object.add("stride", header.stride);
    object.add("linePadding", rowPadding(header));
    object.add("endPadding", endPadding(facts));
}

std::string jsonOf(const Entry& entry) {
    const std::vector<std::string> problems = problemsOf(entry);
    JsonObject object;
    object.addText("file", entry.path);
    object.add("consistent", problems.empty());
    if (entry.facts) {
        object.add("bytes", entry.facts->fileSize);
        if (entry.facts->header) {
            addHeader(object, *entry.facts);
        }
    }
    object.add("problems", problems);
    object.add("notes", notesOf(entry));
    return object.text();
}

// Prints the objects as the elements of one JSON array.
class JsonArray {
public:
    ~JsonArray() { std::fputs(mIsEmpty ? "[\n]\n" : "\n]\n", stdout); }
    void print(const std::string& element) {
        std::printf("%s%s", std::exchange(mIsEmpty, false) ? "[\n" : ",\n", element.c_str());
    }

private:
    bool mIsEmpty = true;
};

} // namespace

int runInfo(const InfoRequest& request) {
    std::vector<std::string> paths;
    for (const FoundFile& file : findFiles(request.paths, kSurfaceSuffix)) {
        paths.push_back(file.path);
    }
    int status = 0;
    std::optional<JsonArray> array;
    if (request.batch.json) {
        array.emplace();
    }
    runInOrder<Entry>(
        paths, request.batch, [&](size_t file) { return inspectFile(paths[file]); },
        [&](size_t, const Entry& entry) {
            status = problemsOf(entry).empty() ? status : 1;
            if (!entry.facts) {
                std::fprintf(stderr, "slabtool: %s: %s\n", printable(entry.path).c_str(),
                             entry.error.c_str());
            }
            if (array) {
                array->print(jsonOf(entry));
            } else if (entry.facts && (!request.batch.quiet || !problemsOf(entry).empty())) {
                printText(entry);
            }
        });
    return status;
}
