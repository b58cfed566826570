// slabtool view draws a surface file as a PNG.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/runs/drawing.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cstdio>

int runView(const ViewRequest& request) {
    const SurfacePicture picture = readPicture(request.surfacePath);
    const bool hasPalette = !request.palettePath.empty();
    Palette palette = {};
    if (hasPalette) {
        palette = namingFile(request.palettePath,
                             [&] { return paletteOf(readFile(request.palettePath)); });
    }
    const Bytes png = namingFile(request.surfacePath, [&] {
        const PngImage image =
            hasPalette ? drawWithPalette(picture, palette) : drawPicture(picture);
        return encodePng(image, kEfforts.front());
    });
    namingFile(request.pngPath, [&] { writeFile(request.pngPath, png); });
    const std::optional<Finding> note = noteForMode(picture.header().mode);
    if (note && !hasPalette) {
        std::fprintf(stderr, "slabtool: %s: note: %s; drawn as gray\n",
                     printable(request.surfacePath).c_str(), textOf(*note).c_str());
    }
    return 0;
}
