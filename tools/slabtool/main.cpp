// slabtool, the companion of pngslab: declares the command line and sets the exit status.
#include "tools/slabtool/commands/commands.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/color_words.h"
#include "tools/version.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kSuccess = 0, kRejected = 1, kUsageError = 2;

// CLI11 splits "[a,b]" into a list if an option accepts several words. A zero byte after the bracket prevents
// that. No word of a command line contains one.
constexpr char kGuard = '\0';

// CLI11 expects the last word first.
std::vector<std::string> hideBrackets(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = argc - 1; i > 0; --i) {
        const std::string word = argv[i];
        words.push_back(word.ends_with(']') ? word + kGuard : word);
    }
    return words;
}

std::string showBrackets(std::string text) {
    std::erase(text, kGuard);
    return text;
}

std::string usageErrorMessage(const CLI::App* app, const CLI::Error& error) {
    return showBrackets(CLI::FailureMessage::simple(app, error));
}

template <typename Paths>
CLI::Option* addPaths(CLI::App* command, const char* name, Paths& paths, const char* description) {
    return command->add_option(name, paths, description)->required()->transform(showBrackets);
}

void declareJobs(CLI::App* command, BatchOptions& batch, const char* quiet) {
    command->add_option("--jobs", batch.jobs,
                        "Number of threads (default: one for each processor)");
    command->add_flag("--quiet", batch.quiet, quiet);
}

// The options of every sub-command that processes many files.
void declareBatch(CLI::App* command, BatchOptions& batch, const char* quiet, const char* json) {
    declareJobs(command, batch, quiet);
    command->add_flag("--json", batch.json, json);
}

void declareInfo(CLI::App& app, InfoRequest& request, int& status) {
    CLI::App* const command = app.add_subcommand(
        "info", "Print the headers of surface files and report inconsistent ones");
    addPaths(command, "SURFACE", request.paths,
             "Surface files and folders of them; - is standard input");
    declareBatch(command, request.batch, "Print inconsistent files only",
                 "Print a JSON array with an object for each file");
    command->callback([&] { status = runInfo(request); });
}

void declareView(CLI::App& app, ViewRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("view", "Draw a surface file upright, in the terminal or as a PNG");
    addPaths(command, "SURFACE", request.surfacePath, "The surface file; - is standard input");
    CLI::Option* const png =
        addPaths(command, "PNG", request.pngPath,
                 "The PNG to write; - is standard output. Without it, the terminal shows the "
                 "picture")
            ->required(false);
    command->add_option("--palette", request.palettePath,
                        "Draw palette indices in the colors of this file, NAME.palette");
    command->callback([&, png] {
        request.isForTerminal = png->count() == 0;
        status = runView(request);
    });
}

void declareGallery(CLI::App& app, GalleryRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("gallery", "Write a page with a picture of every surface");
    addPaths(command, "SURFACE", request.paths, "Surface files and folders of them");
    addPaths(command, "-o", request.output,
             "The page to write, for any browser; - is standard output");
    command->add_flag("--images", request.images,
                      "Show the PNG images of the folders as well, with verdict and fix");
    declareJobs(command, request.batch, "Print nothing, and show no progress");
    command->callback([&] { status = runGallery(request); });
}

void declareCheck(CLI::App& app, CheckRequest& request, int& status) {
    CLI::App* const command = app.add_subcommand(
        "check", "Report whether pngslab accepts each image; if not, why, and how to fix it");
    addPaths(command, "IMAGE", request.paths, "PNG files and folders of them; - is standard input");
    command->add_flag("--alphaonly", request.alphaOnly, "Check the images for pngslab --alphaonly");
    command->add_flag("--strict", request.strict,
                      "Exit with 1 also if an image is accepted with loss");
    declareBatch(command, request.batch, "Print only images that make the exit status 1",
                 "Print a JSON object for each image");
    command->callback([&] { status = runCheck(request); });
}

void declarePrepare(CLI::App& app, PrepareRequest& request, int& status) {
    CLI::App* const command = app.add_subcommand(
        "prepare", "Write PNG images that pngslab accepts, with the same pixels");
    addPaths(command, "PATH", request.inputs,
             "A PNG file and the PNG file to write (- is standard input or output); with "
             "--output-dir, PNG files and folders")
        ->expected(1, CLI::detail::expected_max_vector_size);
    CLI::Option* const folder = command->add_option("--output-dir", request.output,
                                                    "Write into this folder; subfolders are kept");
    command->add_flag("--key-to-alpha", request.changes.keyToAlpha,
                      "Convert a color that means \"transparent\" to an alpha channel");
    command->add_flag("--expand-palette", request.changes.expandPalette,
                      "Replace palette indices by their colors, with alpha if the palette has it");
    command->add_flag("--small", request.small,
                      "Try every setting of the encoder and keep the smallest file");
    declareBatch(command, request.batch, "Print only rejected images",
                 "Print a JSON object for each image");
    command->callback([&, folder] {
        request.isIntoFolder = folder->count() != 0;
        if (!request.isIntoFolder) {
            if (request.inputs.size() != 2) {
                throw CLI::ValidationError("PATH", "name an image and the PNG to write, or use "
                                                   "--output-dir");
            }
            request.output = request.inputs.back();
            request.inputs.pop_back();
        }
        status = runPrepare(request);
    });
}

void declareCompare(CLI::App& app, CompareRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("compare", "Report whether two surface files hold the same pixels");
    addPaths(command, "SURFACE1", request.first, "A surface file, or a folder of them");
    addPaths(command, "SURFACE2", request.second, "The surface file or folder to compare it with");
    declareBatch(command, request.batch, "Print only differences",
                 "Print a JSON object for each pair");
    command->callback([&] { status = runCompare(request); });
}

// An option whose value `parse` reads. `parse` returns nothing for an invalid word.
template <typename Value, typename Parse>
void addParsed(CLI::App* command, const char* name, Value& value, const Parse& parse,
               const char* expected, const char* description) {
    command->add_option_function<std::string>(
        name,
        [&value, parse, name, expected](const std::string& word) {
            const auto parsed = parse(word);
            if (!parsed) {
                throw CLI::ValidationError(name, printable(word) + " is not " + expected);
            }
            value = *parsed;
        },
        description);
}

// Not CLI11's conversion, which accepts -1 as the largest number.
std::optional<uint64_t> parseCount(const std::string& word) {
    uint64_t count = 0;
    const char* const end = word.data() + word.size();
    const auto [parsed, error] = std::from_chars(word.data(), end, count);
    return parsed == end && error == std::errc() ? std::optional(count) : std::nullopt;
}

void declareConversion(CLI::App* command, ConversionRequest& request) {
    addParsed(command, "--mode", request.mode, parseMode, "a color mode with pixels",
              "ARGB8888, RGB888, RGB565, ARGB1555, ARGB4444, I8, AI88 or A8");
    addParsed(command, "--background", request.background, parseColor, "a color like #RRGGBB",
              "The color under translucent pixels, for modes without alpha");
    addParsed(command, "--dither", request.dither, parseDither,
              "one of none, ordered, floyd-steinberg",
              "none, ordered or floyd-steinberg, for modes of fewer than 8 bits a channel");
    command->add_flag("--keep-colors", request.keepColors,
                      "Apply palettes, key colors and Exif orientation");
    command->add_flag("--alphaonly", request.alphaOnly,
                      "Make alpha-only surfaces of grayscale images");
    command->add_flag("--palette", request.palette, "Write NAME.palette beside indexed surfaces");
    command->add_option("--rotation", request.rotation, "Rotate the stored pixels, as pngslab does")
        ->check(CLI::IsMember({90, 180, 270}));
    command
        ->add_option("--row-alignment", request.rowAlignment,
                     "Make every stride a multiple of this many bytes")
        ->check(CLI::Range(1, 1 << 20));
    addParsed(command, "--max-pixels", request.maxPixels, parseCount, "a number of pixels",
              "Reject images that declare more pixels (default: 268435456)");
}

void declareConvert(CLI::App& app, ConvertRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("convert", "Convert images and folders of images into surface files");
    // One list for inputs and output: CLI11 would assign all paths to the first of two lists.
    addPaths(command, "PATH", request.inputs,
             "PNG files and folders, then the output: a surface file or a folder")
        ->expected(2, CLI::detail::expected_max_vector_size);
    declareConversion(command, request.conversion);
    command->add_flag("--update", request.update, "Skip images whose surface is up to date");
    command->add_flag("--prune", request.prune, "Remove surfaces whose image was removed");
    command->add_flag("--no-manifest", request.noManifest, "Do not write surfaces.json");
    declareBatch(command, request.batch, "Print only rejected images",
                 "Print a JSON object for each image as it finishes");
    command->callback([&] {
        const ConversionRequest& conversion = request.conversion;
        if (conversion.alphaOnly && conversion.mode && conversion.mode != DsColorMode::A8) {
            throw CLI::ValidationError("--alphaonly", "only makes surfaces of mode A8");
        }
        request.output = request.inputs.back();
        request.inputs.pop_back();
        status = runConvert(request);
    });
}

void declareEmbed(CLI::App& app, EmbedRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("embed", "Write surface files as arrays for C and C++");
    addPaths(command, "-o", request.name, "The files to write: NAME.h and NAME.c");
    addPaths(command, "SURFACE", request.paths, "Surface files");
    command
        ->add_option("--format", request.format,
                     "c, or asm for large sets: NAME_data.s includes the surface files in assembly")
        ->check(CLI::IsMember({kCFormat, kAssemblyFormat}));
    command->callback([&] { status = runEmbed(request); });
}

void declareManifest(CLI::App& app, ManifestRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("manifest", "Merge manifests, for example of several folders, into one");
    addPaths(command, "--merge", request.paths, "Manifests that slabtool convert has written");
    addPaths(command, "-o", request.output,
             "The manifest to write, in a folder that contains all surfaces");
    command->callback([&] { status = runManifest(request); });
}

// The number of letters to insert, remove or replace to change one word into the other.
size_t editDistance(const std::string& from, const std::string& to) {
    // row[j]: the distance from the letters of `from` so far to the first j letters of `to`.
    std::vector<size_t> row(to.size() + 1);
    for (size_t j = 0; j <= to.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row[to.size()];
}

// The sub-command to suggest for an unknown word: the closest one that differs in at most half of its letters.
// Empty if there is none.
std::string closestCommand(const CLI::App& app, const std::string& word) {
    std::string closest;
    size_t minDistance = SIZE_MAX;
    for (const CLI::App* const command : app.get_subcommands({})) {
        const std::string& name = command->get_name();
        const size_t distance = editDistance(word, name);
        if (distance < minDistance && 2 * distance <= name.size()) {
            minDistance = distance;
            closest = name;
        }
    }
    return closest;
}

bool isOwnOption(const std::string& word) {
    return word == "-h" || word == "--help" || word == "--version";
}

// Whether the first word is neither a sub-command nor an option of slabtool itself.
bool isUnknownCommand(const CLI::App& app, const std::string& word) {
    const auto commands = app.get_subcommands({});
    return !isOwnOption(word) &&
           std::none_of(commands.begin(), commands.end(),
                        [&](const CLI::App* command) { return command->get_name() == word; });
}

void reportUnknownCommand(const CLI::App& app, const std::string& word) {
    const bool isOption = word.starts_with('-');
    const std::string closest = isOption ? "" : closestCommand(app, word);
    const std::string question = closest.empty() ? "" : "; did you mean '" + closest + "'?";
    std::fprintf(stderr, "error: unknown %s '%s'%s\nRun with --help for more information.\n",
                 isOption ? "option" : "sub-command", printable(word).c_str(), question.c_str());
}

// Opens each closed standard stream. Otherwise a surface could get its descriptor, and messages would be written into
// the surface. Reads and writes fail, as on a closed stream.
void occupyClosedStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            open("/dev/null",
                 stream == STDIN_FILENO ? O_WRONLY : O_RDONLY); // gets the lowest free descriptor
        }
    }
}

// Runs the sub-command of the command line.
int run(int argc, char** argv) {
    CLI::App app(
        "Inspects surface files, fixes PNG images for pngslab, and converts folders of images.",
        "slabtool");
    app.require_subcommand(1);
    app.set_version_flag("--version", "slabtool " + versionText(), "Print the version");
    app.failure_message(usageErrorMessage);
    app.footer(
        "Exit status: 0 for success, 1 if a file is rejected, inconsistent or different, 2 if "
        "the command line is wrong.");
    int status = kSuccess;
    InfoRequest info;
    ViewRequest view;
    GalleryRequest gallery;
    CheckRequest check;
    PrepareRequest prepare;
    CompareRequest compare;
    ConvertRequest convert;
    EmbedRequest embed;
    ManifestRequest manifest;
    declareInfo(app, info, status);
    declareView(app, view, status);
    declareGallery(app, gallery, status);
    declareCheck(app, check, status);
    declarePrepare(app, prepare, status);
    declareCompare(app, compare, status);
    declareConvert(app, convert, status);
    declareEmbed(app, embed, status);
    declareManifest(app, manifest, status);
    if (argc > 1 && isUnknownCommand(app, argv[1])) {
        reportUnknownCommand(app, argv[1]);
        return kUsageError;
    }
    try {
        app.parse(hideBrackets(argc, argv));
    } catch (const CLI::ParseError& error) { // also thrown for --help
        return app.exit(error) == 0 ? kSuccess : kUsageError;
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    occupyClosedStreams();
    // Ignored, so that a write beyond the file size limit fails like a write to a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        const int status = run(argc, argv);
        std::fflush(stdout);
        if (std::ferror(stdout) == 0) { // set by any earlier write too
            return status;
        }
        std::perror("slabtool: standard output");
    } catch (const std::bad_alloc&) {
        std::fputs("slabtool: not enough memory\n", stderr);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "slabtool: %s\n", failure.what());
    }
    return kRejected;
}
