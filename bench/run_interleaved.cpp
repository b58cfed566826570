// Runs converters as processes, in turns for each file, on one core, and prints their times and memory.
// First checks that all of them write the same file.
//
//     run_interleaved [--rounds N] FOLDER NAME=PROGRAM... -- IMAGES...
//
// Each is run as `PROGRAM --image IMAGE --output FOLDER/NAME.surface`. A program that writes no file
// measures only the start of a process.
#include "bench/comparison.h"
#include "bench/process.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct command_t {
    std::string name, program, output;
    // Sums over the files.
    double processorSeconds, wallSeconds;
    // Max over the files, in KiB.
    double peakMemory;
};

struct request_t {
    uint32_t rounds = 5;
    std::vector<command_t> commands;
    std::vector<char*> images;
};

[[noreturn]] void stop(const std::string& message) {
    std::fprintf(stderr, "run_interleaved: %s\n", message.c_str());
    std::exit(1);
}

request_t parse(int argc, char** argv) {
    request_t request;
    int at = 1;
    if (at + 1 < argc && std::strcmp(argv[at], "--rounds") == 0) {
        request.rounds = static_cast<uint32_t>(std::strtoul(argv[at + 1], nullptr, 10));
        at += 2;
    }
    const std::string folder = at < argc ? argv[at++] : "";
    for (; at < argc && std::strcmp(argv[at], "--") != 0; ++at) {
        const std::string word = argv[at];
        const size_t equals = word.find('=');
        if (equals == std::string::npos) {
            stop("expected NAME=PROGRAM, not " + word);
        }
        const std::string name = word.substr(0, equals);
        const std::string output = folder + "/" + name + ".surface";
        request.commands.push_back({name, word.substr(equals + 1), output, 0, 0, 0});
    }
    for (++at; at < argc; ++at) {
        request.images.push_back(argv[at]);
    }
    if (request.commands.empty() || request.images.empty() || request.rounds == 0) {
        stop("[--rounds N] FOLDER NAME=PROGRAM... -- IMAGES...");
    }
    return request;
}

process_use_t run(const command_t& command, char* image) {
    std::string words[] = {command.program, "--image", "--output", command.output};
    char* arguments[] = {words[0].data(), words[1].data(), image,
                         words[2].data(), words[3].data(), nullptr};
    const process_use_t use = run_process(arguments);
    if (!use.succeeded) {
        stop(command.name + " failed on " + image);
    }
    return use;
}

// Compares in small pieces, because this process must use little memory.
bool same_content(const std::string& path, const std::string& otherPath) {
    std::FILE* const files[] = {std::fopen(path.c_str(), "rb"),
                                std::fopen(otherPath.c_str(), "rb")};
    bool same = files[0] != nullptr && files[1] != nullptr;
    static char pieces[2][1 << 14];
    size_t count = 1;
    while (same && count != 0) {
        count = std::fread(pieces[0], 1, sizeof(pieces[0]), files[0]);
        same = std::fread(pieces[1], 1, sizeof(pieces[1]), files[1]) == count &&
               std::memcmp(pieces[0], pieces[1], count) == 0;
    }
    for (std::FILE* const file : files) {
        if (file != nullptr) {
            std::fclose(file);
        }
    }
    return same;
}

void check(const request_t& request, char* image) {
    const command_t& ours = request.commands.front();
    for (const command_t& command : request.commands) {
        unlink(command.output.c_str());
        run(command, image);
        const bool wroteNone = access(command.output.c_str(), F_OK) != 0;
        if (!wroteNone && !same_content(ours.output, command.output)) {
            stop(command.name + " writes a different file for " + image);
        }
    }
}

void measure(request_t& request, char* image) {
    const size_t count = request.commands.size();
    std::vector<std::vector<double>> processor(count), wall(count), memory(count);
    for (uint32_t round = 0; round < request.rounds; ++round) {
        for (size_t turn = 0; turn < count; ++turn) {
            const size_t i = round % 2 == 0 ? turn : count - 1 - turn;
            const process_use_t use = run(request.commands[i], image);
            processor[i].push_back(use.processorSeconds);
            wall[i].push_back(use.wallSeconds);
            memory[i].push_back(use.peakMemory);
        }
    }
    for (size_t i = 0; i < count; ++i) {
        command_t& command = request.commands[i];
        command.processorSeconds += summarize(processor[i]).median;
        command.wallSeconds += summarize(wall[i]).median;
        command.peakMemory = std::max(command.peakMemory, summarize(memory[i]).median);
    }
}

void print(const request_t& request) {
    const auto files = static_cast<double>(request.images.size());
    const command_t& ours = request.commands.front();
    std::printf("\n| whole process, %6zu files        | CPU ms / file | ratio | wall ms / file | "
                "ratio | peak MiB |\n|---|---|---|---|---|---|\n",
                request.images.size());
    for (const command_t& command : request.commands) {
        std::printf("| %-32s | %13.3f | %5.2f | %14.3f | %5.2f | %8.1f |\n", command.name.c_str(),
                    1e3 * command.processorSeconds / files,
                    command.processorSeconds / ours.processorSeconds,
                    1e3 * command.wallSeconds / files, command.wallSeconds / ours.wallSeconds,
                    command.peakMemory / 1024);
    }
}

} // namespace

int main(int argc, char** argv) {
    request_t request = parse(argc, argv);
    pin_to_one_core();
    for (char* const image : request.images) {
        check(request, image);
        measure(request, image);
    }
    print(request);
}
