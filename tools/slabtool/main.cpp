// slabtool, the companion of pngslab: the command line of its sub-commands, and how a run ends.
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

constexpr int kFine = 0, kRefused = 1, kWrongUse = 2;

// Where many words are allowed, CLI11 takes one like "[a,b]" for a list of them. A zero behind the
// bracket, which no word of a command line has by itself, keeps it from that.
constexpr char kHider = '\0';

// The words from the last to the first, as CLI11 wants them.
std::vector<std::string> hideBrackets(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = argc - 1; i > 0; --i) {
        const std::string word = argv[i];
        words.push_back(word.ends_with(']') ? word + kHider : word);
    }
    return words;
}

std::string showBrackets(std::string text) {
    std::erase(text, kHider);
    return text;
}

std::string explainWrongUse(const CLI::App* app, const CLI::Error& error) {
    return showBrackets(CLI::FailureMessage::simple(app, error));
}

// Declares the path or the paths that a sub-command wants.
template <typename Paths>
CLI::Option* addPaths(CLI::App* command, const char* name, Paths& paths, const char* description) {
    return command->add_option(name, paths, description)->required()->transform(showBrackets);
}

// What every sub-command for many files takes.
void declareBatch(CLI::App* command, BatchOptions& batch, const char* quiet, const char* json) {
    command->add_option("--jobs", batch.jobs, "Threads; one for each processor if not given");
    command->add_flag("--quiet", batch.quiet, quiet);
    command->add_flag("--json", batch.json, json);
}

void declareInfo(CLI::App& app, InfoRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("info", "Print what surface files say and whether it fits together");
    addPaths(command, "SURFACE", request.paths,
             "Surface files and folders of them; - is standard input");
    declareBatch(command, request.batch, "Print inconsistent files only",
                 "Print a JSON array, one object a file");
    command->callback([&] { status = runInfo(request); });
}

void declareView(CLI::App& app, ViewRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("view", "Draw a surface file as a PNG, upright again");
    addPaths(command, "SURFACE", request.surfacePath, "The surface file; - is standard input");
    addPaths(command, "PNG", request.pngPath, "The PNG to write; - is standard output");
    command->add_option("--palette", request.palettePath,
                        "Draw palette indices in the colors of this file, NAME.palette");
    command->callback([&] { status = runView(request); });
}

void declareCheck(CLI::App& app, CheckRequest& request, int& status) {
    CLI::App* const command = app.add_subcommand(
        "check", "Report whether pngslab accepts each image; if not, why, and how to fix it");
    addPaths(command, "IMAGE", request.paths, "PNG files and folders of them; - is standard input");
    command->add_flag("--alphaonly", request.alphaOnly, "Judge as pngslab --alphaonly does");
    command->add_flag("--strict", request.strict,
                      "Exit with 1 also if an image is accepted with loss");
    declareBatch(command, request.batch, "Print what the exit status counts only",
                 "Print a JSON object for each image");
    command->callback([&] { status = runCheck(request); });
}

void declarePrepare(CLI::App& app, PrepareRequest& request, int& status) {
    CLI::App* const command = app.add_subcommand(
        "prepare", "Write PNG images that pngslab accepts, with the same pixels");
    addPaths(command, "PATH", request.inputs,
             "Any PNG, and the PNG to write (- is standard input or output); with --output-dir, "
             "PNG files and folders")
        ->expected(1, CLI::detail::expected_max_vector_size);
    CLI::Option* const folder = command->add_option(
        "--output-dir", request.output, "Write into this folder, the trees of folders mirrored");
    command->add_flag("--key-to-alpha", request.changes.keyToAlpha,
                      "Turn a color that means \"transparent\" into an alpha channel");
    command->add_flag("--expand-palette", request.changes.expandPalette,
                      "Turn palette indices into their colors, with alpha if there is any");
    command->add_flag("--small", request.small,
                      "Try every setting of the encoder, and keep the smallest file");
    declareBatch(command, request.batch, "Print rejections only",
                 "Print a JSON object for each image");
    command->callback([&, folder] {
        request.isIntoFolder = folder->count() != 0;
        if (!request.isIntoFolder) {
            if (request.inputs.size() != 2) {
                throw CLI::ValidationError("PATH", "name an image and the PNG to write, or a "
                                                   "folder with --output-dir");
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
    addPaths(command, "SURFACE2", request.second, "Another one");
    declareBatch(command, request.batch, "Print differences only",
                 "Print a JSON object for each pair");
    command->callback([&] { status = runCompare(request); });
}

// A word that an option takes, read by `read`, which gives nothing for a wrong one.
template <typename Value, typename Read>
void addWord(CLI::App* command, const char* name, Value& value, const Read& read,
             const char* wanted, const char* description) {
    command->add_option_function<std::string>(
        name,
        [&value, read, name, wanted](const std::string& word) {
            const auto meaning = read(word);
            if (!meaning) {
                throw CLI::ValidationError(name, printable(word) + " is not " + wanted);
            }
            value = *meaning;
        },
        description);
}

// The library takes -1 for the largest number.
std::optional<uint64_t> countNamed(const std::string& word) {
    uint64_t count = 0;
    const char* const end = word.data() + word.size();
    const auto [parsed, error] = std::from_chars(word.data(), end, count);
    return parsed == end && error == std::errc() ? std::optional(count) : std::nullopt;
}

std::optional<Dither> ditherNamed(const std::string& word) {
    if (word == "none") {
        return Dither::None;
    }
    if (word == "ordered") {
        return Dither::Ordered;
    }
    return word == "floyd-steinberg" ? std::optional(Dither::FloydSteinberg) : std::nullopt;
}

void declareConversion(CLI::App* command, ConversionRequest& request) {
    addWord(command, "--mode", request.mode, modeNamed, "a color mode with pixels",
            "ARGB8888, RGB888, RGB565, ARGB1555, ARGB4444, I8, AI88 or A8");
    addWord(command, "--background", request.background, colorNamed, "a color like #RRGGBB",
            "The color under translucent pixels, for modes without alpha");
    addWord(command, "--dither", request.dither, ditherNamed,
            "one of none, ordered, floyd-steinberg",
            "none, ordered or floyd-steinberg, for modes of fewer than 8 bits a channel");
    command->add_flag("--keep-colors", request.keepColors,
                      "Apply palettes, key colors and Exif orientation");
    command->add_flag("--alphaonly", request.alphaOnly,
                      "Make alpha-only surfaces of grayscale images");
    command->add_flag("--palette", request.palette, "Write NAME.palette beside indexed surfaces");
    command->add_option("--rotation", request.rotation, "Store the surface turned, as pngslab does")
        ->check(CLI::IsMember({90, 180, 270}));
    command
        ->add_option("--row-alignment", request.rowAlignment,
                     "Start every row at a multiple of this many bytes")
        ->check(CLI::Range(1, 1 << 20));
    addWord(command, "--max-pixels", request.maxPixels, countNamed, "a number of pixels",
            "Reject images that declare more pixels (268435456)");
}

void declareConvert(CLI::App& app, ConvertRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("convert", "Convert images and folders of images into surface files");
    // One list, because CLI11 would give all paths to the first of two.
    addPaths(command, "PATH", request.inputs,
             "PNG files and folders, and last the output: a surface file or a folder")
        ->expected(2, CLI::detail::expected_max_vector_size);
    declareConversion(command, request.conversion);
    command->add_flag("--update", request.update, "Leave alone what is up to date");
    command->add_flag("--prune", request.prune, "Remove surfaces whose image is gone");
    command->add_flag("--no-manifest", request.noManifest, "Write no surfaces.json");
    declareBatch(command, request.batch, "Print rejections only",
                 "Print a JSON object for each image as it finishes");
    command->callback([&] {
        const ConversionRequest& conversion = request.conversion;
        if (conversion.alphaOnly && conversion.mode && conversion.mode != DsColorMode::A8) {
            throw CLI::ValidationError("--alphaonly", "makes surfaces of mode A8 and no other");
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
        ->add_option(
            "--format", request.format,
            "c, or asm for large sets: an assembler reads the surface files from NAME_data.s")
        ->check(CLI::IsMember({kCFormat, kAssemblyFormat}));
    command->callback([&] { status = runEmbed(request); });
}

void declareManifest(CLI::App& app, ManifestRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("manifest", "Write one manifest of several, one a folder for example");
    addPaths(command, "--merge", request.paths, "Manifests that slabtool convert has written");
    addPaths(command, "-o", request.output,
             "The manifest to write, in a folder that holds all surfaces");
    command->callback([&] { status = runManifest(request); });
}

// The number of letters to insert, remove or exchange that turn one word into the other.
size_t editDistance(const std::string& from, const std::string& to) {
    // The distances of the letters so far to each beginning of `to`.
    std::vector<size_t> row(to.size() + 1);
    for (size_t j = 0; j <= to.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t exchanged = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row[to.size()];
}

// The sub-command that a word probably means: the closest one that differs in at most half of its
// letters, or nothing.
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

// Whether the first word is neither an option of slabtool itself nor a sub-command.
bool namesNoCommand(const CLI::App& app, const std::string& word) {
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

// A closed standard stream would give its number to the next file that is opened, and messages would go into a
// surface. What takes the number instead fails like a closed stream.
void occupyClosedStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            open("/dev/null",
                 stream == STDIN_FILENO ? O_WRONLY : O_RDONLY); // the lowest free number
        }
    }
}

// Runs the sub-command that the words name.
int run(int argc, char** argv) {
    CLI::App app("Looks at surface files, and makes PNG images fit for pngslab.", "slabtool");
    app.require_subcommand(1);
    app.set_version_flag("--version", "slabtool " + versionText(), "Print the version and exit");
    app.failure_message(explainWrongUse);
    app.footer("Exit status: 0 if all is well, 1 if a file is refused or not as it should be, 2 if "
               "the command line is wrong.");
    int status = kFine;
    InfoRequest info;
    ViewRequest view;
    CheckRequest check;
    PrepareRequest prepare;
    CompareRequest compare;
    ConvertRequest convert;
    EmbedRequest embed;
    ManifestRequest manifest;
    declareInfo(app, info, status);
    declareView(app, view, status);
    declareCheck(app, check, status);
    declarePrepare(app, prepare, status);
    declareCompare(app, compare, status);
    declareConvert(app, convert, status);
    declareEmbed(app, embed, status);
    declareManifest(app, manifest, status);
    if (argc > 1 && namesNoCommand(app, argv[1])) {
        reportUnknownCommand(app, argv[1]);
        return kWrongUse;
    }
    try {
        app.parse(hideBrackets(argc, argv));
    } catch (const CLI::ParseError& end) {
        return app.exit(end) == 0 ? kFine : kWrongUse; // the help screen ends here too
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    occupyClosedStreams();
    // A write beyond the limit of a file's size then fails like one to a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        const int status = run(argc, argv);
        std::fflush(stdout);
        if (std::ferror(stdout) == 0) { // now or with an earlier line
            return status;
        }
        std::perror("slabtool: standard output");
    } catch (const std::bad_alloc&) {
        std::fputs("slabtool: not enough memory\n", stderr);
    } catch (const std::exception& failure) { // refusals first of all
        std::fprintf(stderr, "slabtool: %s\n", failure.what());
    }
    return kRefused;
}
