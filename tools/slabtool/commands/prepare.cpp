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
    if ((!best || file.size() < best->size()) && judgePng(file, false).isAccepted) {
        best = std::move(file);
    }
}

Bytes encodeForConverter(const PngImage& image) {
    std::optional<Bytes> best;
    for (const PngEffort& effort : kEfforts) {
        keepSmaller(best, encodePng(image, effort));
    }
    return best ? *std::move(best) : encodePng(image, kStored); // which is always accepted
}

bool isKept(const Finding& loss, const PngChanges& changes) {
    return (loss.code == kKeyColorLoss && changes.keyToAlpha) ||
           (loss.code == kPaletteLoss && changes.expandPalette);
}

// Says what pngslab will lose of the new file, and what could be done about it.
void reportLosses(const std::string& path, ByteView original, const PngChanges& changes) {
    for (const Finding& loss : lossesOf(factsOf(original))) {
        if (isKept(loss, changes)) {
            continue;
        }
        const char* const option = optionAgainst(loss);
        const std::string fix = option != nullptr ? std::string("; ") + option + " keeps it" : "";
        std::fprintf(stderr, "slabtool: %s: with loss: %s%s\n", printable(path).c_str(),
                     textOf(loss).c_str(), fix.c_str());
    }
}

} // namespace

int runPrepare(const PrepareRequest& request) {
    const Bytes original = about(request.input, [&] { return readFile(request.input); });
    const PngImage image =
        about(request.input, [&] { return decodePng(original, request.changes); });
    const Bytes file = about(request.input, [&] { return encodeForConverter(image); });
    about(request.output, [&] { writeFile(request.output, file); });
    reportLosses(request.input, original, request.changes);
    return 0;
}
