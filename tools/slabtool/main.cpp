// slabtool, the companion of pngslab: the command line of its sub-commands, and how a run ends.
#include "tools/slabtool/check.h"
#include "tools/slabtool/compare.h"
#include "tools/slabtool/info.h"
#include "tools/slabtool/prepare.h"
#include "tools/slabtool/view.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <new>

namespace {

constexpr int kFine = 0, kRefused = 1, kWrongUse = 2;

void declareInfo(CLI::App& app, InfoRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("info", "Print what surface files say and whether it fits together");
    command->add_option("SURFACE", request.paths, "Surface files; - is standard input")->required();
    command->add_flag("--json", request.json, "Print a JSON array, one object a file");
    command->callback([&] { status = runInfo(request); });
}

void declareView(CLI::App& app, ViewRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("view", "Draw a surface file as a PNG, upright again");
    command->add_option("SURFACE", request.surfacePath, "The surface file; - is standard input")
        ->required();
    command->add_option("PNG", request.pngPath, "The PNG to write; - is standard output")
        ->required();
    command->callback([&] { status = runView(request); });
}

void declareCheck(CLI::App& app, CheckRequest& request, int& status) {
    CLI::App* const command = app.add_subcommand(
        "check", "Tell of every image whether pngslab takes it, why not, and what mends it");
    command->add_option("IMAGE", request.paths, "PNG files; - is standard input")->required();
    command->add_flag("--alphaonly", request.alphaOnly, "As pngslab --alphaonly would take it");
    command->callback([&] { status = runCheck(request); });
}

void declarePrepare(CLI::App& app, PrepareRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("prepare", "Make a PNG that pngslab takes, with the same pixels");
    command->add_option("IN", request.input, "Any PNG; - is standard input")->required();
    command->add_option("OUT", request.output, "The PNG to write; - is standard output")
        ->required();
    command->add_flag("--key-to-alpha", request.keyToAlpha,
                      "Turn a colour that means \"transparent\" into an alpha channel");
    command->callback([&] { status = runPrepare(request); });
}

void declareCompare(CLI::App& app, CompareRequest& request, int& status) {
    CLI::App* const command =
        app.add_subcommand("compare", "Tell whether two surface files hold the same pixels");
    command->add_option("SURFACE1", request.first, "A surface file")->required();
    command->add_option("SURFACE2", request.second, "Another one")->required();
    command->callback([&] { status = runCompare(request); });
}

// Runs the sub-command that the words name.
int run(int argc, char** argv) {
    CLI::App app("Looks at surface files, and makes PNG images fit for pngslab.", "slabtool");
    app.require_subcommand(1);
    app.footer("Exit status: 0 if all is well, 1 if a file is refused or not as it should be, 2 if "
               "the command line is wrong.");
    int status = kFine;
    InfoRequest info;
    ViewRequest view;
    CheckRequest check;
    PrepareRequest prepare;
    CompareRequest compare;
    declareInfo(app, info, status);
    declareView(app, view, status);
    declareCheck(app, check, status);
    declarePrepare(app, prepare, status);
    declareCompare(app, compare, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        return app.exit(end) == 0 ? kFine : kWrongUse; // the help screen ends here too
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    int status = kRefused;
    try {
        status = run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::fputs("slabtool: not enough memory\n", stderr);
    } catch (const std::exception& failure) { // refusals first of all
        std::fprintf(stderr, "slabtool: %s\n", failure.what());
    }
    if (std::fflush(stdout) != 0) {
        std::perror("slabtool: standard output");
        return kRefused;
    }
    return status;
}
