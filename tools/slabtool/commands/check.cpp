// slabtool check prints one line for each file. A bad file does not affect the lines of the others.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/folder_walk.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/runs/judge_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace {

void printText(const std::string& path, const Judgment& judgment) {
    std::printf("%s: %s: %s\n", printable(path).c_str(), verdictText(judgment.severity),
                printable(textOf(judgment)).c_str());
}

void printJson(const std::string& path, const Judgment& judgment) {
    constexpr std::array kOutcomes = {"accepted", "accepted-with-loss", "rejected"};
    JsonObject object;
    object.addText("input", path);
    object.add("outcome", kOutcomes[judgment.severity]);
    if (judgment.reason) {
        object.add("reason", *judgment.reason);
    } else {
        object.add("surface", judgment.surface);
    }
    object.add("losses", judgment.losses);
    if (!judgment.fix.empty()) {
        object.addText("fix", judgment.fix);
    }
    if (!judgment.note.empty()) {
        object.add("note", judgment.note);
    }
    std::puts(object.text().c_str());
}

} // namespace

int runCheck(const CheckRequest& request) {
    std::vector<std::string> paths;
    for (const FoundFile& file : findFiles(request.paths, kImageSuffix)) {
        paths.push_back(file.path);
    }
    const Severity maxAllowed = request.strict ? kAccepted : kWithLoss;
    std::array<size_t, 3> counts = {};
    int status = 0;
    runInOrder<Judgment>(
        paths, request.batch,
        [&](size_t file) { return judgeFile(paths[file], request.alphaOnly); },
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
