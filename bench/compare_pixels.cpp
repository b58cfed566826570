// Compares the pixel operations with pixman and libyuv, in one process. Every round runs each contender
// once on the same pixels. Ratios are those of the medians and, in parentheses, of the minima (peer
// divided by ours, larger is better for us). Prints one table. Two optional arguments: a text
// that the names of rows must contain, and the name of the backend.
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include "src/simd/backend.h"
#include "src/span_fill.h"

#include <libyuv.h>
#include <pixman.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Mode = DsColorMode;
using Bytes = std::vector<uint8_t>;

// ---- Measurement

struct Contender {
    std::string name;
    std::function<void()> run;
};

// One row of the table: ours first, then the peers. `prepare` runs before every timed call.
struct Row {
    std::string name;
    uint64_t pixelCount;
    std::vector<Contender> contenders;
    std::function<void()> prepare = [] {};
};

double timeOnce(const std::function<void()>& run) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    run();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

double median(std::vector<double>& times) {
    std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
    return times[times.size() / 2];
}

std::string gFilter;

void compare(const Row& row) {
    if (row.name.find(gFilter) == std::string::npos) {
        return;
    }
    constexpr uint64_t kPixelsToDraw = 60'000'000;
    const uint64_t rounds = std::clamp<uint64_t>(kPixelsToDraw / row.pixelCount, 15, 1000);
    std::vector<std::vector<double>> times(row.contenders.size());
    for (uint64_t round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < times.size(); ++i) {
            row.prepare();
            times[i].push_back(timeOnce(row.contenders[i].run));
        }
    }
    const double ours = median(times[0]);
    const double oursMin = *std::min_element(times[0].begin(), times[0].end());
    std::printf("| %-46s | %7.3f |", row.name.c_str(), ours / static_cast<double>(row.pixelCount));
    for (size_t i = 1; i < times.size(); ++i) {
        std::printf(" %s %.2f (%.2f) |", row.contenders[i].name.c_str(), median(times[i]) / ours,
                    *std::min_element(times[i].begin(), times[i].end()) / oursMin);
    }
    std::printf("\n");
    std::fflush(stdout);
}

// ---- Pixels

struct Size {
    const char* name;
    uint32_t width, height;
    uint64_t count() const { return uint64_t{width} * height; }
};

// One size that fits the second-level cache, and one screen.
constexpr Size kSizes[] = {{"256x128", 256, 128}, {"1920x1080", 1920, 1080}};

enum class Alpha { Random, Opaque, MostlyClearOrOpaque };

Bytes randomBytes(uint64_t count, uint32_t seed) {
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random());
    }
    return bytes;
}

// A byte of coverage or alpha as in a glyph or an icon: long runs of 0 and of 255, with a few steps
// between.
uint8_t alphaInRuns(uint64_t position) {
    const uint64_t place = position % 64;
    if (place < 28) {
        return 0;
    }
    if (place < 32) {
        return static_cast<uint8_t>((place - 27) * 51);
    }
    return 255;
}

Bytes argbPixels(uint64_t count, Alpha alpha, uint32_t seed) {
    Bytes pixels = randomBytes(count * 4, seed);
    for (uint64_t i = 0; i < count; ++i) {
        uint8_t* pixel = pixels.data() + i * 4;
        if (alpha == Alpha::Opaque) {
            pixel[3] = 255;
        } else if (alpha == Alpha::MostlyClearOrOpaque) {
            pixel[3] = alphaInRuns(i);
        }
        // Pixman's colors are premultiplied, so they are never above alpha.
        for (int channel = 0; channel < 3; ++channel) {
            pixel[channel] = std::min(pixel[channel], pixel[3]);
        }
    }
    return pixels;
}

Bytes coverageOf(uint64_t count, Alpha alpha) {
    Bytes coverage = randomBytes(count, 5);
    for (uint64_t i = 0; i < count && alpha != Alpha::Random; ++i) {
        coverage[i] = alpha == Alpha::Opaque ? 255 : alphaInRuns(i);
    }
    return coverage;
}

const char* nameOf(Alpha alpha) {
    constexpr const char* kNames[] = {"random alpha", "opaque", "runs of alpha"};
    return kNames[static_cast<int>(alpha)];
}

const char* nameOf(Mode mode) {
    constexpr const char* kNames[] = {"ARGB8888", "RGB888", "RGB565", "ARGB1555", "ARGB4444",
                                      "I8",       "-",      "AI88",   "-",        "A8"};
    return kNames[static_cast<uint32_t>(mode)];
}

// ---- Pixman

using Image = std::unique_ptr<pixman_image_t, decltype(&pixman_image_unref)>;

Image pixmanImage(pixman_format_code_t format, uint32_t width, uint32_t height, void* pixels,
                  uint64_t stride) {
    return {pixman_image_create_bits(format, static_cast<int>(width), static_cast<int>(height),
                                     static_cast<uint32_t*>(pixels), static_cast<int>(stride)),
            pixman_image_unref};
}

Image pixmanImage(pixman_format_code_t format, uint32_t width, uint32_t height, Bytes& pixels) {
    return pixmanImage(format, width, height, pixels.data(), pixels.size() / height);
}

void composite(pixman_op_t operation, const Image& source, pixman_image_t* mask,
               const Image& target, const Size& size) {
    pixman_image_composite32(operation, source.get(), mask, target.get(), 0, 0, 0, 0, 0, 0,
                             static_cast<int>(size.width), static_cast<int>(size.height));
}

// The format with the same bytes in memory. I8 is compared with the palette format g8, and with libyuv's
// gray. AI88 has no format in either library.
pixman_format_code_t pixmanFormat(Mode mode) {
    switch (mode) {
    case Mode::ARGB8888:
        return PIXMAN_a8r8g8b8;
    case Mode::RGB888:
        return PIXMAN_r8g8b8;
    case Mode::RGB565:
        return PIXMAN_r5g6b5;
    case Mode::ARGB1555:
        return PIXMAN_a1r5g5b5;
    case Mode::ARGB4444:
        return PIXMAN_a4r4g4b4;
    case Mode::I8:
        return PIXMAN_g8;
    default:
        return PIXMAN_a8;
    }
}

// A palette of gray levels, with the inverse table that pixman requires.
pixman_indexed_t* grayPalette() {
    static pixman_indexed_t palette = [] {
        pixman_indexed_t gray = {};
        for (uint32_t i = 0; i < 256; ++i) {
            gray.rgba[i] = 0xFF000000U | i * 0x010101U;
        }
        for (uint32_t i = 0; i < 32768; ++i) {
            gray.ent[i] = static_cast<pixman_index_type>(i >> 7);
        }
        return gray;
    }();
    return &palette;
}

// ---- Rows

void compareFills(const Size& size) {
    for (const Mode mode : {Mode::I8, Mode::RGB565, Mode::RGB888, Mode::ARGB8888}) {
        const uint32_t pixelSize = bytesPerPixel(mode);
        const uint64_t rowBytes = uint64_t{size.width} * pixelSize;
        Bytes target(rowBytes * size.height);
        Row row = {"fill " + std::to_string(pixelSize) + " bytes, " + size.name, size.count(), {}};
        row.contenders.push_back({"", [&] {
                                      fillPixels(target.data(), size.width, size.width, size.height,
                                                 mode, 0x12345678);
                                  }});
        if (mode != Mode::RGB888) { // pixman_fill does not support three bytes
            row.contenders.push_back({"pixman", [&] {
                                          pixman_fill(reinterpret_cast<uint32_t*>(target.data()),
                                                      static_cast<int>(rowBytes / 4),
                                                      static_cast<int>(pixelSize * 8), 0, 0,
                                                      static_cast<int>(size.width),
                                                      static_cast<int>(size.height), 0x12345678);
                                      }});
        }
        row.contenders.push_back({"memset", [&] {
                                      for (uint32_t y = 0; y < size.height; ++y) {
                                          std::memset(target.data() + y * rowBytes, 0x5A, rowBytes);
                                      }
                                  }});
        compare(row);
    }
}

using YuvCopy = int (*)(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride,
                        int width, int height);

// libyuv's loop for a pair of modes, or null. Null for I8 targets: libyuv's gray is a weighted sum of colors.
YuvCopy yuvCopy(Mode target, Mode source) {
    if (target == Mode::ARGB8888) {
        switch (source) {
        case Mode::ARGB8888:
            return libyuv::ARGBCopy;
        case Mode::RGB888:
            return libyuv::RGB24ToARGB;
        case Mode::RGB565:
            return libyuv::RGB565ToARGB;
        case Mode::ARGB1555:
            return libyuv::ARGB1555ToARGB;
        case Mode::ARGB4444:
            return libyuv::ARGB4444ToARGB;
        case Mode::I8:
            return libyuv::J400ToARGB;
        default:
            return nullptr;
        }
    }
    switch (target) {
    case Mode::RGB888:
        return libyuv::ARGBToRGB24;
    case Mode::RGB565:
        return libyuv::ARGBToRGB565;
    case Mode::ARGB1555:
        return libyuv::ARGBToARGB1555;
    case Mode::ARGB4444:
        return libyuv::ARGBToARGB4444;
    case Mode::A8:
        return libyuv::ARGBExtractAlpha;
    default:
        return nullptr;
    }
}

void compareConversion(const Size& size, Mode target, Mode source) {
    const uint32_t targetSize = bytesPerPixel(target);
    const uint32_t sourceSize = bytesPerPixel(source);
    Bytes to(size.count() * targetSize);
    Bytes from = randomBytes(size.count() * sourceSize, 3);
    Row row = {std::string("convert ") + nameOf(source) + " to " + nameOf(target) + ", " +
                   size.name,
               size.count(),
               {}};
    row.contenders.push_back({"", [&] {
                                  convertPixels(to.data(), size.width, target, from.data(),
                                                size.width, source, size.width, size.height, 0,
                                                0x12345678);
                              }});
    const Image toImage = pixmanImage(pixmanFormat(target), size.width, size.height, to);
    const Image fromImage = pixmanImage(pixmanFormat(source), size.width, size.height, from);
    if (target != Mode::AI88 && source != Mode::AI88) {
        for (const auto& [mode, image] :
             {std::pair{target, toImage.get()}, std::pair{source, fromImage.get()}}) {
            if (mode == Mode::I8) {
                pixman_image_set_indexed(image, grayPalette());
            }
        }
        row.contenders.push_back(
            {"pixman", [&] { composite(PIXMAN_OP_SRC, fromImage, nullptr, toImage, size); }});
    }
    if (const YuvCopy copy = yuvCopy(target, source)) {
        row.contenders.push_back({"libyuv", [&, copy] {
                                      copy(from.data(), static_cast<int>(size.width * sourceSize),
                                           to.data(), static_cast<int>(size.width * targetSize),
                                           static_cast<int>(size.width),
                                           static_cast<int>(size.height));
                                  }});
    }
    row.contenders.push_back(
        {"memcpy", [&] { std::memcpy(to.data(), from.data(), std::min(to.size(), from.size())); }});
    compare(row);
}

void compareConversions(const Size& size) {
    for (const Mode mode : {Mode::ARGB8888, Mode::RGB888, Mode::RGB565, Mode::ARGB1555,
                            Mode::ARGB4444, Mode::I8, Mode::AI88, Mode::A8}) {
        compareConversion(size, Mode::ARGB8888, mode);
        if (mode != Mode::ARGB8888) {
            compareConversion(size, mode, Mode::ARGB8888);
        }
    }
}

void compareBlends(const Size& size) {
    for (const Alpha targetAlpha : {Alpha::Opaque, Alpha::Random}) {
        for (const Alpha sourceAlpha : {Alpha::Random, Alpha::MostlyClearOrOpaque, Alpha::Opaque}) {
            const Bytes before = argbPixels(size.count(), targetAlpha, 1);
            Bytes target = before;
            Bytes source = argbPixels(size.count(), sourceAlpha, 2);
            const Image targetImage = pixmanImage(PIXMAN_a8r8g8b8, size.width, size.height, target);
            const Image sourceImage = pixmanImage(PIXMAN_a8r8g8b8, size.width, size.height, source);
            compare({std::string("blend ") + nameOf(sourceAlpha) + " on " + nameOf(targetAlpha) +
                         ", " + size.name,
                     size.count(),
                     {{"",
                       [&] {
                           blendPixels(target.data(), size.width, Mode::ARGB8888, source.data(),
                                       size.width, Mode::ARGB8888, size.width, size.height, 0, 0);
                       }},
                      {"pixman",
                       [&] { composite(PIXMAN_OP_OVER, sourceImage, nullptr, targetImage, size); }},
                      {"libyuv",
                       [&] {
                           const auto stride = static_cast<int>(size.width * 4);
                           libyuv::ARGBBlend(source.data(), stride, target.data(), stride,
                                             target.data(), stride, static_cast<int>(size.width),
                                             static_cast<int>(size.height));
                       }}},
                     [&] { target = before; }});
        }
    }
}

// A color through coverage: as an A8 source, and as one span per row.
void compareMasks(const Size& size) {
    for (const uint32_t colorAlpha : {255U, 100U}) {
        for (const Alpha targetAlpha : {Alpha::Opaque, Alpha::Random}) {
            for (const Alpha maskAlpha : {Alpha::Random, Alpha::MostlyClearOrOpaque}) {
                const Bytes before = argbPixels(size.count(), targetAlpha, 1);
                Bytes target = before;
                Bytes mask = coverageOf(size.count(), maskAlpha);
                const uint32_t color = 0x30201000U | colorAlpha;
                const pixman_color_t premultiplied = {0x1000, 0x2000, 0x3000,
                                                      static_cast<uint16_t>(colorAlpha * 257)};
                const Image solid = {pixman_image_create_solid_fill(&premultiplied),
                                     pixman_image_unref};
                const Image maskImage = pixmanImage(PIXMAN_a8, size.width, size.height, mask);
                const Image targetImage =
                    pixmanImage(PIXMAN_a8r8g8b8, size.width, size.height, target);
                const std::string name = std::string(colorAlpha == 255 ? "opaque" : "clear") +
                                         " color, " + nameOf(maskAlpha) + " on " +
                                         nameOf(targetAlpha) + ", " + size.name;
                const Contender pixman = {
                    "pixman",
                    [&] { composite(PIXMAN_OP_OVER, solid, maskImage.get(), targetImage, size); }};
                const auto prepare = [&] { target = before; };
                const auto blendMask = [&] {
                    blendPixels(target.data(), size.width, Mode::ARGB8888, mask.data(), size.width,
                                Mode::A8, size.width, size.height, 2, color);
                };
                const auto blendSpans = [&] {
                    setBlendColor(Mode::ARGB8888, color);
                    for (uint32_t y = 0; y < size.height; ++y) {
                        blendSpan(target.data() + uint64_t{y} * size.width * 4,
                                  mask.data() + uint64_t{y} * size.width, size.width);
                    }
                };
                compare({"mask " + name, size.count(), {{"", blendMask}, pixman}, prepare});
                compare({"span " + name, size.count(), {{"", blendSpans}, pixman}, prepare});
            }
        }
    }
}

// ---- Rotation. A surface gets its new buffer from a callback, which returns one of two buffers that
// have been written before. The peers rotate the first into the second as well.

constexpr uint64_t kMaxBufferSize = uint64_t{4096} * 4096 * 4;
std::array<void*, 2> gBuffers = {};
std::array<bool, 2> gIsUsed = {};

void* allocateBuffer(size_t byteCount) {
    for (size_t i = 0; i < gBuffers.size(); ++i) {
        if (!gIsUsed[i] && byteCount <= kMaxBufferSize) {
            gIsUsed[i] = true;
            return gBuffers[i];
        }
    }
    return nullptr;
}

void releaseBuffer(void* buffer) {
    gIsUsed[buffer == gBuffers[1] ? 1 : 0] = false;
}

void compareRotations(const Size& size, Mode mode) {
    const uint32_t pixelSize = bytesPerPixel(mode);
    Bytes pixels = randomBytes(size.count() * pixelSize, 7);
    std::unique_ptr<DsSurface> surface;
    Row row = {"rotate " + std::to_string(pixelSize) + " bytes, " + size.name, size.count(), {}};
    row.prepare = [&] {
        surface = nullptr;
        const uint32_t rotation = 0;
        surface = std::make_unique<DsSurface>(static_cast<int32_t>(size.width),
                                              static_cast<int32_t>(size.height), rotation, mode, 0,
                                              0, allocateBuffer, releaseBuffer, 1, 0);
        std::memcpy(surface->getPixels(), pixels.data(), pixels.size());
    };
    row.contenders.push_back({"", [&] { surface->rotate(90); }});
    const auto* const from = static_cast<const uint8_t*>(gBuffers[0]);
    auto* const to = static_cast<uint8_t*>(gBuffers[1]);
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    const int stride = static_cast<int>(pixelSize) * width;
    const int rotatedStride = static_cast<int>(pixelSize) * height;
    const Image source = pixmanImage(pixmanFormat(mode), size.width, size.height, gBuffers[0],
                                     uint64_t{pixelSize} * size.width);
    const Image target = pixmanImage(pixmanFormat(mode), size.height, size.width, gBuffers[1],
                                     uint64_t{pixelSize} * size.height);
    const pixman_fixed_t one = pixman_fixed_1;
    const pixman_transform_t transform = {
        {{0, -one, pixman_int_to_fixed(width)}, {one, 0, 0}, {0, 0, one}}};
    pixman_image_set_transform(source.get(), &transform);
    if (pixelSize != 3) { // pixman needs half a second
        row.contenders.push_back(
            {"pixman", [&] {
                 composite(PIXMAN_OP_SRC, source, nullptr, target, {"", size.height, size.width});
             }});
    }
    if (pixelSize == 4) {
        row.contenders.push_back({"libyuv", [&] {
                                      libyuv::ARGBRotate(from, stride, to, rotatedStride, width,
                                                         height, libyuv::kRotate270);
                                  }});
    }
    if (pixelSize == 1) {
        row.contenders.push_back({"libyuv", [&] {
                                      libyuv::RotatePlane(from, stride, to, rotatedStride, width,
                                                          height, libyuv::kRotate270);
                                  }});
    }
    row.contenders.push_back({"memcpy", [&] { std::memcpy(to, from, pixels.size()); }});
    compare(row);
}

} // namespace

int main(int argumentCount, char** arguments) {
    gFilter = argumentCount > 1 ? arguments[1] : "";
    if (argumentCount > 2 && !ds_detail::selectBackend(arguments[2])) {
        std::fprintf(stderr, "no backend '%s' here\n", arguments[2]);
        return 2;
    }
    std::printf("| operation | ns per pixel | peer: ratio of medians (of minima), larger is better "
                "for us |\n| --- | --- | --- |\n");
    for (const Size& size : kSizes) {
        compareFills(size);
        compareConversions(size);
        compareBlends(size);
        compareMasks(size);
    }
    for (void*& buffer : gBuffers) {
        buffer = std::malloc(kMaxBufferSize);
        std::memset(buffer, 1, kMaxBufferSize);
    }
    for (const Size& size : {Size{"1920x1080", 1920, 1080}, Size{"4096x4096", 4096, 4096}}) {
        for (const Mode mode : {Mode::ARGB8888, Mode::RGB888, Mode::RGB565, Mode::A8}) {
            compareRotations(size, mode);
        }
    }
    for (void* buffer : gBuffers) {
        std::free(buffer);
    }
    return 0;
}
