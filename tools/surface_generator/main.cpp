// The converter's driver: one run from the arguments to the exit status. All messages go to
// standard output.
#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "src/internal/huge_pages.h"
#include "tools/surface_generator/command_line.h"
#include "tools/version.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

constexpr const char* kTitle = "Quillory Surface Generator";
constexpr const char* kProgramName = "pngslab";
constexpr const char* kMakersNotice = "Turns PNG images into surfaces that are ready to draw on.";

// Ends the run with status 0. Success and the help screen throw, as failures do.
[[noreturn]] void exitSuccess() {
    throw 0U;
}

// Ends the run with a message that is printed without the usage screen.
[[noreturn, gnu::format(printf, 1, 2)]] void throwError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    throw std::runtime_error(text);
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// A file's bytes, or the words of a surface file.
template <typename Element>
struct Buffer {
    std::unique_ptr<Element[]> data;
    size_t byteCount;
};

// The values of the command line.
struct Request {
    std::string imagePath, outputPath;
    bool alphaOnly;
    int32_t rotation; // degrees
};

void printBanner() {
    std::printf("\n\n%s v%X.%02X. %s\n\n", kTitle, kVersionMajor, kVersionMinor, kMakersNotice);
}

void declareOptions(CommandLine& commandLine) {
    commandLine.addOption("--help", "Print this help screen");
    commandLine.addOption("--image <image file>", "Input image file");
    commandLine.addOption("--rotation <90 | 180 | 270>", "Specify image rotation");
    commandLine.addOption("--alphaonly", "Generate an alpha only surface");
    commandLine.addOption("--output <output file>", "Output surface file");
}

bool parseFlag(CommandLine& commandLine, const char* name) {
    NullArgumentParser parser;
    return commandLine.getOption(name, "", parser, false);
}

bool parseValue(CommandLine& commandLine, const char* name, std::string& value) {
    StringArgumentParser parser(&value);
    return commandLine.getOption(name, "", parser, false);
}

int32_t parseRotation(CommandLine& commandLine) {
    std::string text;
    if (!parseValue(commandLine, "--rotation", text)) {
        return 0;
    }
    if (text == "90") {
        return 90;
    }
    if (text == "180") {
        return 180;
    }
    if (text == "270") {
        return 270;
    }
    throwError("invalid rotation");
}

// Parses the options in the order in which their mistakes are reported.
Request parseOptions(CommandLine& commandLine) {
    if (parseFlag(commandLine, "--help")) {
        commandLine.printUsage();
        exitSuccess();
    }
    Request request;
    if (!parseValue(commandLine, "--image", request.imagePath)) {
        throw CommandLineException("--image", "missing file name");
    }
    request.alphaOnly = parseFlag(commandLine, "--alphaonly");
    request.rotation = parseRotation(commandLine);
    if (!parseValue(commandLine, "--output", request.outputPath)) {
        throw CommandLineException("--output", "missing output file");
    }
    commandLine.checkUnused();
    return request;
}

void checkSuffix(const std::string& imagePath) {
    constexpr size_t kSuffixLength = 4;
    // Kept on purpose: for a shorter path substr throws, which ends the run abnormally.
    if (imagePath.substr(imagePath.size() - kSuffixLength, kSuffixLength) != ".png") {
        throwError("unrecognized input file");
    }
}

// Kept on purpose: both files have the same message. Only the path differs.
File openFile(const std::string& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (file == nullptr) {
        throwError("cannot open input file '%s'", path.c_str());
    }
    // The file is read or written in one piece, so a buffer would only cost a copy.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

// Reads the file in one piece. If the size cannot be determined, it becomes so large that the
// allocation fails.
Buffer<uint8_t> readWhole(std::FILE* file, const std::string& path) {
    std::fseek(file, 0, SEEK_END);
    const auto size = static_cast<size_t>(std::ftell(file));
    std::fseek(file, 0, SEEK_SET);
    Buffer<uint8_t> bytes = {std::make_unique_for_overwrite<uint8_t[]>(size), size};
    ds_detail::askForHugePages(bytes.data.get(), size);
    if (std::fread(bytes.data.get(), size, 1, file) != 1) {
        throwError("cannot read input file '%s'", path.c_str());
    }
    return bytes;
}

std::unique_ptr<DsSurface> decode(File input, const Request& request) {
    const Buffer<uint8_t> bytes = readWhole(input.get(), request.imagePath);
    input.reset();
    std::unique_ptr<DsSurface> surface(
        surface_from_png(bytes.data.get(), bytes.byteCount, request.alphaOnly, request.rotation));
    if (surface == nullptr) {
        throwError("cannot decode PNG file");
    }
    return surface;
}

Buffer<uint32_t> serialize(const DsSurface& surface) {
    const uint64_t fileSize = surface.serialize(nullptr);
    if (!std::in_range<size_t>(fileSize)) { // on 32-bit machines
        throw std::bad_alloc();
    }
    const auto size = static_cast<size_t>(fileSize);
    const size_t wordCount = size / sizeof(uint32_t);
    Buffer<uint32_t> file = {std::make_unique_for_overwrite<uint32_t[]>(wordCount), size};
    ds_detail::askForHugePages(file.data.get(), size);
    // The surface does not write the padding after its last row. It is zeroed, so that the same image
    // always gives the same file.
    file.data[wordCount - 1] = 0;
    surface.serialize(file.data.get());
    return file;
}

[[noreturn]] void convert(CommandLine& commandLine) {
    const Request request = parseOptions(commandLine);
    checkSuffix(request.imagePath);
    // The input is opened first: if it is missing, the output must not be created or truncated.
    File input = openFile(request.imagePath, "rb");
    File output = openFile(request.outputPath, "wb");
    std::unique_ptr<DsSurface> surface = decode(std::move(input), request);
    const Buffer<uint32_t> file = serialize(*surface);
    // Kept on purpose: the results of writing and closing are not checked.
    std::fwrite(file.data.get(), file.byteCount, 1, output.get());
    output.reset();
    std::printf("\nGenerated surface for '%s', size %lu bytes", request.imagePath.c_str(),
                static_cast<unsigned long>(file.byteCount));
    surface.reset();
    exitSuccess();
}

void printFailure(const CommandLineException& failure) {
    if (failure.mOption != nullptr) {
        std::printf("\n\nERROR: '%s' %s\n\n", failure.mOption, failure.what());
    } else {
        std::printf("\n\nERROR: %s\n\n", failure.what());
    }
}

} // namespace

int main(int argc, char** argv) {
    // Exceptions that are not caught below end the program abnormally, without output on standard error.
    std::set_terminate(std::abort);
    printBanner();
    CommandLine commandLine(kProgramName, argc, argv);
    declareOptions(commandLine);
    try {
        convert(commandLine);
    } catch (const CommandLineException& failure) {
        commandLine.printUsage();
        printFailure(failure);
        return 1;
    } catch (const std::runtime_error& failure) {
        std::printf("\n\nERROR: %s\n\n", failure.what());
        return 1;
    } catch (unsigned int) {
        std::puts("\n");
        return 0;
    }
}
