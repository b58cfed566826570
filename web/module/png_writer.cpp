// Writes PNG files in the browser, in place of tools/slabtool/images/png_image.cpp. The surface of an image with a key
// color contains remains of the filtered rows. So the filters and the DEFLATE blocks must be those of libpng and zlib:
// the filters are chosen here, the DEFLATE data are made by a port of zlib to JavaScript (worker/png_library.js).
#include "tools/slabtool/images/png_image.h"

#include "png/png_crc32.h"
#include "web/module/filtered_rows.h"
#include "web/module/js_bytes.h"
#include "web/module/png_chunks.h"

#include <emscripten/val.h>

using emscripten::val;

namespace {

// Strategies of zlib.
constexpr int kDefault = 0, kFiltered = 1, kRle = 3;

void appendWord(Bytes& bytes, uint32_t word) {
    for (const uint32_t shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<uint8_t>(word >> shift));
    }
}

void appendChunk(Bytes& file, const char (&type)[5], const Bytes& content) {
    appendWord(file, static_cast<uint32_t>(content.size()));
    const size_t begin = file.size();
    file.insert(file.end(), type, type + 4);
    file.insert(file.end(), content.begin(), content.end());
    appendWord(file, png_crc32(file.data() + begin, file.size() - begin, 0));
}

Bytes headerOf(const PngImage& image) {
    Bytes header;
    appendWord(header, image.width);
    appendWord(header, image.height);
    header.insert(header.end(), {8, image.colorType, 0, 0, 0});
    return header;
}

void appendPalette(Bytes& file, const PngImage& image) {
    Bytes palette;
    for (const auto& color : image.palette) {
        palette.insert(palette.end(), color.begin(), color.end());
    }
    appendChunk(file, "PLTE", palette);
}

void appendTransparency(Bytes& file, const PngImage& image) {
    if (image.keyColor) {
        Bytes content;
        for (const uint8_t sample : *image.keyColor) {
            content.insert(content.end(), {0, sample});
        }
        content.resize(image.colorType == kGrayType ? 2 : content.size());
        appendChunk(file, "tRNS", content);
    } else if (!image.paletteAlpha.empty()) {
        appendChunk(file, "tRNS", image.paletteAlpha);
    }
}

} // namespace

// As in the file that this one replaces.
const std::array<PngEffort, 4> kEfforts = {{
    {6, kRle, kAllFilters},
    {6, kFiltered, kAllFilters},
    {6, kDefault, kNoFilter},
    {6, kDefault, kAllFilters},
}};
const PngEffort kStored = {0, kDefault, kNoFilter};

Bytes encodePng(const PngImage& image, const PngEffort& effort) {
    const val compressed = val::module_property("compress")(
        bytesToJs(filteredRows(image, effort.filters)), effort.level, effort.strategy);
    Bytes file(kPngSignature.begin(), kPngSignature.end());
    appendChunk(file, "IHDR", headerOf(image));
    if (image.colorType == kIndexedType) {
        appendPalette(file, image);
    }
    appendTransparency(file, image);
    appendChunk(file, "IDAT", bytesFromJs(compressed));
    appendChunk(file, "IEND", {});
    return file;
}
