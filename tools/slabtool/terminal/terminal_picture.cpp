// libchafa knows the terminals, and draws half blocks and sixels. It resamples smoothly, darkens translucent pixels,
// and counts bytes in `int`. So it gets exactly the pixels of its cells, all opaque, and does not resample them. A cell
// is the place of one character. libchafa 1.12 damages some bytes of pixels for kitty, so these are written here.
#include "tools/slabtool/terminal/terminal_picture.h"

#include "tools/slabtool/base64.h"
#include "tools/slabtool/terminal/rgb_picture.h"

#include <algorithm>
#include <cassert>
#include <chafa.h>
#include <memory>

namespace {

template <auto release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};
using TermInfo = std::unique_ptr<ChafaTermInfo, Releaser<chafa_term_info_unref>>;
using Config = std::unique_ptr<ChafaCanvasConfig, Releaser<chafa_canvas_config_unref>>;
using Canvas = std::unique_ptr<ChafaCanvas, Releaser<chafa_canvas_unref>>;
using Symbols = std::unique_ptr<ChafaSymbolMap, Releaser<chafa_symbol_map_unref>>;

struct Size {
    uint32_t width, height;
};

// ---- What the terminal can show

struct Method {
    ChafaPixelMode mode;
    ChafaCanvasMode colors;
    Size visible;        // pixels of a picture in a cell
    Size cell;           // pixels that libchafa needs for a cell
    uint32_t heightStep; // libchafa makes pictures whose height is a multiple of it
    uint32_t checkSide;  // pixels of a square of the checkerboard
};

bool has(const ChafaTermInfo* info, ChafaTermSeq sequence) {
    return chafa_term_info_have_seq(info, sequence) != 0;
}

ChafaCanvasMode colorsOf(const ChafaTermInfo* info) {
    if (has(info, CHAFA_TERM_SEQ_SET_COLOR_FGBG_DIRECT)) {
        return CHAFA_CANVAS_MODE_TRUECOLOR;
    }
    return has(info, CHAFA_TERM_SEQ_SET_COLOR_FGBG_256) ? CHAFA_CANVAS_MODE_INDEXED_240
                                                        : CHAFA_CANVAS_MODE_INDEXED_16;
}

// Multiplexers do not pass pictures on, or only with settings of the user.
bool isMultiplexer(char** environment) {
    const char* const term = g_environ_getenv(environment, "TERM");
    return term != nullptr &&
           (std::string(term).starts_with("screen") || std::string(term).starts_with("tmux"));
}

// Pixels that libchafa or kitty gets in one direction. Bounds memory and time, whatever size the terminal tells.
constexpr uint32_t kMaxSide = 4096;

Size cellOf(const TerminalSize& size) {
    if (size.pixelWidth < size.columns || size.pixelHeight < size.rows) {
        return {10, 20}; // a usual size
    }
    return {std::min(size.pixelWidth / size.columns, kMaxSide),
            std::min(size.pixelHeight / size.rows, kMaxSide)};
}

Method methodOf(const ChafaTermInfo* info, const TerminalSize& size, char** environment) {
    constexpr uint32_t kSixel = 6; // pixels in a column of six
    const Size cell = cellOf(size);
    if (!isMultiplexer(environment)) {
        if (has(info, CHAFA_TERM_SEQ_BEGIN_KITTY_IMMEDIATE_IMAGE_V1)) {
            return {CHAFA_PIXEL_MODE_KITTY, CHAFA_CANVAS_MODE_TRUECOLOR, cell, cell, 1, 8};
        }
        if (has(info, CHAFA_TERM_SEQ_BEGIN_SIXELS)) {
            return {CHAFA_PIXEL_MODE_SIXELS, CHAFA_CANVAS_MODE_TRUECOLOR, cell, cell, kSixel, 8};
        }
    }
    // A half block shows two pixels. libchafa compares symbols with 8 x 8 pixels.
    return {CHAFA_PIXEL_MODE_SYMBOLS, colorsOf(info), {1, 2}, {8, 8}, 1, 2};
}

// ---- The size of the picture

uint32_t dividedUp(uint32_t value, uint32_t divisor) {
    return (value + divisor - 1) / divisor;
}

uint32_t roundedDown(uint32_t value, uint32_t step) {
    return value / step * step;
}

// The largest picture, in pixels. The last row of the terminal is for the prompt.
Size roomOf(const TerminalSize& size, const Method& method) {
    const uint32_t columns = std::clamp(size.columns, 1U, kMaxSide / method.cell.width);
    const uint32_t rows = std::clamp(size.rows - 1, 1U, kMaxSide / method.cell.height);
    return {columns * method.visible.width,
            std::max(roundedDown(rows * method.visible.height, method.heightStep), 1U)};
}

// A side of an image that is reduced like the other side, from `from` to `to` pixels.
uint32_t reduced(uint32_t side, uint32_t from, uint32_t to) {
    return std::max(static_cast<uint32_t>(uint64_t{side} * to / from), 1U);
}

Size pictureSize(const PngImage& image, const Size& room) {
    constexpr uint32_t kMaxZoom = 8;
    const uint32_t zoom =
        std::min({room.width / image.width, room.height / image.height, kMaxZoom});
    if (zoom > 0) {
        return {image.width * zoom, image.height * zoom};
    }
    const bool isWide = uint64_t{image.width} * room.height > uint64_t{room.width} * image.height;
    return isWide ? Size{room.width, reduced(image.height, image.width, room.width)}
                  : Size{reduced(image.width, image.height, room.height), room.height};
}

// ---- The sequences

// The protocol of kitty: base64 in parts of at most 4096 characters. f=24: three bytes a pixel. q=2: no answers.
std::string kittyPicture(const RgbPicture& picture) {
    constexpr size_t kPart = 4096 / 4 * 3; // bytes
    std::string text;
    std::string keys = "a=T,f=24,q=2,s=" + std::to_string(picture.width) +
                       ",v=" + std::to_string(picture.height) + ",";
    for (ByteView rest = picture.bytes; !rest.empty();) {
        const ByteView part = rest.first(std::min(rest.size(), kPart));
        rest = rest.subspan(part.size());
        text += "\033_G" + keys + (rest.empty() ? "m=0;" : "m=1;") + base64Of(part) + "\033\\";
        keys.clear(); // only the first part has them
    }
    return text;
}

// The pixels of libchafa's cells: red, green, blue, alpha. The pixels around the picture are clear.
Bytes pixelsOfCells(const RgbPicture& picture, const Method& method, const Size& canvas) {
    Bytes pixels(size_t{canvas.width} * canvas.height * 4);
    uint8_t* target = pixels.data();
    for (uint32_t y = 0; y < canvas.height; ++y) {
        const uint32_t fromY = y * method.visible.height / method.cell.height;
        for (uint32_t x = 0; x < canvas.width; ++x, target += 4) {
            const uint32_t fromX = x * method.visible.width / method.cell.width;
            if (fromX < picture.width && fromY < picture.height) {
                std::copy_n(picture.pixel(fromX, fromY), 3, target);
                target[3] = 255;
            }
        }
    }
    return pixels;
}

Symbols halfBlocks() {
    Symbols symbols(chafa_symbol_map_new());
    chafa_symbol_map_add_by_tags(symbols.get(), CHAFA_SYMBOL_TAG_SPACE);
    chafa_symbol_map_add_by_tags(symbols.get(), CHAFA_SYMBOL_TAG_VHALF);
    return symbols;
}

Config configOf(const Method& method, const Size& cells) {
    Config config(chafa_canvas_config_new());
    chafa_canvas_config_set_geometry(config.get(), static_cast<int>(cells.width),
                                     static_cast<int>(cells.height));
    chafa_canvas_config_set_cell_geometry(config.get(), static_cast<int>(method.cell.width),
                                          static_cast<int>(method.cell.height));
    chafa_canvas_config_set_canvas_mode(config.get(), method.colors);
    chafa_canvas_config_set_pixel_mode(config.get(), method.mode);
    chafa_canvas_config_set_symbol_map(config.get(), halfBlocks().get());
    return config;
}

// Half blocks or sixels.
std::string chafaPicture(const RgbPicture& picture, const Method& method, ChafaTermInfo* info) {
    const uint32_t height = dividedUp(picture.height, method.heightStep) * method.heightStep;
    const Size cells = {dividedUp(picture.width, method.visible.width),
                        dividedUp(height, method.visible.height)};
    const Size canvasSize = {cells.width * method.cell.width,
                             roundedDown(cells.height * method.cell.height, method.heightStep)};
    const Bytes pixels = pixelsOfCells(picture, method, canvasSize);
    const Canvas canvas(chafa_canvas_new(configOf(method, cells).get()));
    chafa_canvas_draw_all_pixels(canvas.get(), CHAFA_PIXEL_RGBA8_UNASSOCIATED, pixels.data(),
                                 static_cast<int>(canvasSize.width),
                                 static_cast<int>(canvasSize.height),
                                 static_cast<int>(canvasSize.width * 4));
    GString* const printed = chafa_canvas_print(canvas.get(), info);
    const std::string text(printed->str, printed->len);
    g_string_free(printed, 1);
    return text;
}

} // namespace

std::string terminalPicture(const PngImage& image, const TerminalSize& size, char** environment) {
    assert(size.columns > 0 && size.rows > 0);
    // Pictures are small. Without threads, libchafa cannot fail to start one, which would end the process.
    chafa_set_n_threads(1);
    const TermInfo info(chafa_term_db_detect(chafa_term_db_get_default(), environment));
    const Method method = methodOf(info.get(), size, environment);
    const Size fitting = pictureSize(image, roomOf(size, method));
    const RgbPicture picture = rgbPicture(image, fitting.width, fitting.height, method.checkSide);
    const std::string text = method.mode == CHAFA_PIXEL_MODE_KITTY
                                 ? kittyPicture(picture)
                                 : chafaPicture(picture, method, info.get());
    return text + "\n";
}
