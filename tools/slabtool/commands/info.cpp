// slabtool info: two ways to print the same facts.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/json_text.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cinttypes>
#include <cstdio>
#include <optional>

namespace {

// A file that cannot be read has no size either.
struct Entry {
    std::string path;
    std::optional<SurfaceFacts> facts;
    std::string error;
};

Entry look(const std::string& path) {
    try {
        const FileHead head = readHead(path, kSurfaceHeaderBytes);
        return {path, inspectSurface(head.bytes, head.size), ""};
    } catch (const Refusal& refusal) {
        return {path, std::nullopt, refusal.what()};
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

uint64_t linePadding(const SurfaceHeader& header) {
    const uint64_t used = header.usedLineBytes();
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
                linePadding(header));
    std::printf("  file     %" PRIu64 " bytes, %" PRIu64 " behind the last line\n", facts.fileSize,
                endPadding(facts));
}

// Of a file that could be read.
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
}

void printHeaderJson(const SurfaceFacts& facts) {
    const SurfaceHeader& header = *facts.header;
    std::printf(", \"rotation\": %" PRIu32 ", \"mode\": %" PRIu32 ", \"modeName\": %s",
                header.rotation, header.mode, jsonText(colorModeName(header.mode)).c_str());
    std::printf(", \"bytesPerPixel\": %" PRIu32 ", \"width\": %" PRIu32 ", \"height\": %" PRIu32,
                bytesPerPixel(header.colorMode()), header.width, header.height);
    std::printf(", \"stride\": %" PRIu32 ", \"linePadding\": %" PRIu64 ", \"endPadding\": %" PRIu64,
                header.stride, linePadding(header), endPadding(facts));
}

void printJson(const Entry& entry) {
    const std::vector<std::string> problems = problemsOf(entry);
    std::printf("{\"file\": %s, \"consistent\": %s", jsonText(entry.path).c_str(),
                problems.empty() ? "true" : "false");
    if (entry.facts) {
        std::printf(", \"bytes\": %" PRIu64, entry.facts->fileSize);
        if (entry.facts->header) {
            printHeaderJson(*entry.facts);
        }
    }
    std::printf(", \"problems\": [");
    for (size_t i = 0; i < problems.size(); ++i) {
        std::printf("%s%s", i == 0 ? "" : ", ", jsonText(problems[i]).c_str());
    }
    std::printf("]}");
}

} // namespace

int runInfo(const InfoRequest& request) {
    int status = 0;
    const char* separator = "[\n";
    for (const std::string& path : request.paths) {
        const Entry entry = look(path);
        if (!problemsOf(entry).empty()) {
            status = 1;
        }
        if (!entry.facts) {
            std::fprintf(stderr, "slabtool: %s: %s\n", printable(path).c_str(),
                         entry.error.c_str());
        }
        if (request.json) {
            std::printf("%s", separator);
            printJson(entry);
            separator = ",\n";
        } else if (entry.facts) {
            printText(entry);
        }
    }
    if (request.json) {
        std::printf("\n]\n");
    }
    return status;
}
