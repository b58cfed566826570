// slabtool view draws a surface file as a PNG or in the terminal.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/runs/drawing.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/surface_file.h"
#include "tools/slabtool/terminal/terminal_picture.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

PngImage draw(const ViewRequest& request, const SurfacePicture& picture) {
    if (request.palettePath.empty()) {
        return drawPicture(picture);
    }
    const Palette palette =
        namingFile(request.palettePath, [&] { return paletteOf(readFile(request.palettePath)); });
    return namingFile(request.surfacePath, [&] { return drawWithPalette(picture, palette); });
}

// Standard output must be able to show the picture.
void requireTerminal(const std::string& surfacePath) {
    const auto reject = [&](const char* reason) {
        throw Rejection(std::string(reason) + "; write a PNG: slabtool view " +
                        shellWord(surfacePath) + " picture.png");
    };
    if (isatty(STDOUT_FILENO) == 0) {
        reject("standard output is not a terminal");
    }
    const char* const term = std::getenv("TERM");
    if (term == nullptr || std::string(term).empty() || std::string(term) == "dumb") {
        reject("this terminal cannot show pictures");
    }
}

// The size of the terminal on standard output. Some terminals do not tell it.
TerminalSize terminalSize() {
    constexpr TerminalSize kUsualSize = {80, 24, 0, 0};
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return kUsualSize;
    }
    return {size.ws_col, size.ws_row, size.ws_xpixel, size.ws_ypixel};
}

void show(const PngImage& image) {
    const std::string text = terminalPicture(image, terminalSize(), environ);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout); // a note must not be between the bytes of the picture
}

} // namespace

int runView(const ViewRequest& request) {
    if (request.isForTerminal) {
        requireTerminal(request.surfacePath);
    }
    const SurfacePicture picture = readPicture(request.surfacePath);
    const PngImage image = draw(request, picture);
    if (request.isForTerminal) {
        show(image);
    } else {
        const Bytes png =
            namingFile(request.surfacePath, [&] { return encodePng(image, kEfforts.front()); });
        namingFile(request.pngPath, [&] { writeFile(request.pngPath, png); });
    }
    const std::optional<Finding> note = noteForMode(picture.header().mode);
    if (note && request.palettePath.empty()) {
        std::fprintf(stderr, "slabtool: %s: note: %s; drawn as gray\n",
                     printable(request.surfacePath).c_str(), textOf(*note).c_str());
    }
    return 0;
}
