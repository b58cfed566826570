// slabtool prepare: libpng reads and writes. zlib cannot be kept from fixed-code blocks, so several ways of
// writing are tried, and the product's decoder decides.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/images/png_verdict.h"
#include "tools/slabtool/runs/files.h"

#include <cstdio>
#include <optional>
#include <utility>

namespace {

void keepSmaller(std::optional<Bytes>& best, Bytes file) {
    if ((!best || file.size() < best->size()) && judgePng(file, false).isTaken) {
        best = std::move(file);
    }
}

Bytes encodeForConverter(const PngImage& image) {
    std::optional<Bytes> best;
    for (const PngEffort& effort : kEfforts) {
        keepSmaller(best, encodePng(image, effort));
    }
    return best ? *std::move(best) : encodePng(image, kStored); // which is always taken
}

void note(const std::string& path, const char* words) {
    std::fprintf(stderr, "slabtool: %s: %s\n", printable(path).c_str(), words);
}

} // namespace

int runPrepare(const PrepareRequest& request) {
    const PngImage image =
        about(request.input, [&] { return decodePng(readFile(request.input), request.changes); });
    const Bytes file = about(request.input, [&] { return encodeForConverter(image); });
    about(request.output, [&] { writeFile(request.output, file); });
    if (image.keyColor) {
        note(request.input,
             "the colour that means \"transparent\" is kept, but pngslab does not apply "
             "it; --key-to-alpha turns it into alpha");
    } else if (image.colorType == kIndexedType) {
        note(request.input, "the indices are kept, but surface files carry no palette; "
                            "--expand-palette turns them into colours");
    }
    return 0;
}
