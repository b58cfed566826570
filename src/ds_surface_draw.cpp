// The operations that change pixels: single pixels, fills, copies, inversion, recoloring.
#include "src/ds_surface.h"
#include "src/internal/area.h"
#include "src/internal/pixel_loops.h"
#include "src/internal/rotation_mapping.h"
#include "src/pixel_kernels.h"

#include <algorithm>
#include <cstdint>

using namespace ds_detail;

namespace {

// ---- Hooks for drawing hardware, which would load a palette or flush here. They have no effect in
// this system, and callers rely on that.

void loadPaletteHook(const uint8_t* /*palette*/, uint64_t /*entryCount*/) {}

void drawingDoneHook() {}

// ---- Single pixels

struct PixelWriter {
    uint32_t (*encode)(const DsColor& color);
    void (*store)(uint8_t* pixel, uint32_t value);
};

constexpr auto kPixelWriters = makeModeTable<PixelWriter>([]<DsColorMode mode>() -> PixelWriter {
    return {ModeTraits<mode>::encode, storePixel<mode>};
});

// ---- Channels

struct ChannelFlags {
    bool alpha, red, green, blue;
};

// The flagged channels of `replacement`, the others of `original`.
DsColor mix(const ChannelFlags& flags, const DsColor& replacement, const DsColor& original) {
    return {flags.alpha ? replacement.alpha : original.alpha,
            flags.red ? replacement.red : original.red,
            flags.green ? replacement.green : original.green,
            flags.blue ? replacement.blue : original.blue};
}

bool equalIn(const ChannelFlags& flags, const DsColor& a, const DsColor& b) {
    return (!flags.alpha || a.alpha == b.alpha) && (!flags.red || a.red == b.red) &&
           (!flags.green || a.green == b.green) && (!flags.blue || a.blue == b.blue);
}

struct Recoloring {
    DsColor match;
    ChannelFlags matched;
    DsColor replacement;
    ChannelFlags replaced;
};

template <DsColorMode mode>
void recolorRow(uint8_t* pixel, int32_t count, const Recoloring& recoloring) {
    for (int32_t x = 0; x < count; ++x, pixel += ModeTraits<mode>::kBytes) {
        const DsColor color = ModeTraits<mode>::decode(loadPixel<mode>(pixel), {});
        if (equalIn(recoloring.matched, color, recoloring.match)) {
            storePixel<mode>(pixel, ModeTraits<mode>::encode(
                                        mix(recoloring.replaced, recoloring.replacement, color)));
        }
    }
}

using RecolorRow = void (*)(uint8_t* pixel, int32_t count, const Recoloring& recoloring);

constexpr auto kRecolorRows = makePixelModeTable<RecolorRow>(
    []<DsColorMode mode>() -> RecolorRow { return recolorRow<mode>; });

template <DsColorMode targetMode, DsColorMode sourceMode>
void copyChannelsOfRow(uint8_t* target, const uint8_t* source, int32_t count,
                       const ChannelFlags& copied) {
    for (int32_t x = 0; x < count; ++x) {
        const DsColor from = ModeTraits<sourceMode>::decode(loadPixel<sourceMode>(source), {});
        const DsColor to = ModeTraits<targetMode>::decode(loadPixel<targetMode>(target), {});
        storePixel<targetMode>(target, ModeTraits<targetMode>::encode(mix(copied, from, to)));
        target += ModeTraits<targetMode>::kBytes;
        source += ModeTraits<sourceMode>::kBytes;
    }
}

using CopyChannelsRow = void (*)(uint8_t* target, const uint8_t* source, int32_t count,
                                 const ChannelFlags& copied);

constexpr auto kCopyChannelsRows = makeModePairTable<CopyChannelsRow>(
    []<DsColorMode target, DsColorMode source>() -> CopyChannelsRow {
        return copyChannelsOfRow<target, source>;
    });

// ---- Alignment

// The start of an extent of `size` inside an area. `alignBits` are two alignment bits: 2 at the
// far end, 3 centered, else at the near end.
int64_t alignedStart(uint32_t alignBits, int64_t areaStart, int64_t areaSize, int64_t size,
                     int64_t offset) {
    switch (alignBits) {
    case 2:
        return areaStart + areaSize - size - offset;
    case 3:
        return areaStart + ((areaSize - size) >> 1) + offset;
    default:
        return areaStart + offset;
    }
}

bool hasPixels(DsColorMode mode) {
    return bytesPerPixel(mode) != 0;
}

} // namespace

void DsSurface::setPixel(int32_t x, int32_t y, uint32_t color) {
    int64_t storedX = x;
    int64_t storedY = y;
    mapPosition<int64_t>(rotation, int64_t{width} - 1, int64_t{height} - 1, storedX, storedY);
    const DsArea visible = areaOf(clip);
    if (!hasPixels(mColorMode) || storedX < visible.left || storedX >= visible.right ||
        storedY < visible.top || storedY >= visible.bottom) {
        return;
    }
    const PixelWriter& writer = kPixelWriters[static_cast<uint32_t>(mColorMode)];
    writer.store(pixelAt(storedX, storedY), writer.encode(colorFromWord(color)));
}

void DsSurface::fill(uint32_t color) {
    if (hasPixels(mColorMode) && clip.mWidth > 0 && clip.mHeight > 0) {
        const PixelWriter& writer = kPixelWriters[static_cast<uint32_t>(mColorMode)];
        fillPixels(pixelAt(clip.mX, clip.mY), static_cast<uint32_t>(pitch),
                   static_cast<uint32_t>(clip.mWidth), static_cast<uint32_t>(clip.mHeight),
                   mColorMode, writer.encode(colorFromWord(color)));
    }
    drawingDoneHook();
}

void DsSurface::copyTo(int64_t x, int64_t y, const DsSurface& source, CopyKernel kernel,
                       uint32_t alphaMode, uint32_t color) {
    int32_t sourceWidth = 0;
    int32_t sourceHeight = 0;
    source.getSize(sourceWidth, sourceHeight);
    int64_t left = x;
    int64_t top = y;
    int64_t sizeX = sourceWidth;
    int64_t sizeY = sourceHeight;
    mapRectangle<int64_t>(rotation, width, height, left, top, sizeX, sizeY);
    // If the rotations differ, the mapped size is not that of the source's stored array.
    sizeX = std::min<int64_t>(sizeX, source.width);
    sizeY = std::min<int64_t>(sizeY, source.height);
    const DsRect drawn = rectOf(intersect({left, top, left + sizeX, top + sizeY}, areaOf(clip)));
    if (drawn.mWidth == 0 || drawn.mHeight == 0) {
        return;
    }
    if (source.paletteSize != 0 && mayHavePalette(source.mColorMode)) {
        loadPaletteHook(source.palette, source.paletteSize);
    }
    kernel(pixelAt(drawn.mX, drawn.mY), static_cast<uint32_t>(pitch), mColorMode,
           source.pixelAt(drawn.mX - left, drawn.mY - top), static_cast<uint32_t>(source.pitch),
           source.mColorMode, static_cast<uint32_t>(drawn.mWidth),
           static_cast<uint32_t>(drawn.mHeight), alphaMode, color);
    drawingDoneHook();
}

void DsSurface::blit(int32_t x, int32_t y, const DsSurface& source, uint32_t alphaMode,
                     uint32_t color) {
    copyTo(x, y, source, convertPixels, alphaMode, color);
}

void DsSurface::blend(int32_t x, int32_t y, const DsSurface& source, uint32_t alphaMode,
                      uint32_t color) {
    copyTo(x, y, source, blendPixels, alphaMode, color);
}

void DsSurface::blendAligned(const DsSurface& source, uint32_t alphaMode, uint32_t color,
                             const DsRect& area, uint8_t alignFlags, int32_t dx, int32_t dy) {
    int32_t sourceWidth = 0;
    int32_t sourceHeight = 0;
    source.getSize(sourceWidth, sourceHeight);
    copyTo(alignedStart(alignFlags & 3U, area.mX, area.mWidth, sourceWidth, dx),
           alignedStart((alignFlags >> 2) & 3U, area.mY, area.mHeight, sourceHeight, dy), source,
           blendPixels, alphaMode, color);
}

void DsSurface::invert() {
    if (isEmpty()) {
        return;
    }
    const uint64_t rowBytes = static_cast<uint64_t>(width) * bytesPerPixel;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* const row = pixelAt(0, y);
        for (uint64_t i = 0; i < rowBytes; ++i) {
            row[i] = static_cast<uint8_t>(~row[i]);
        }
    }
}

void DsSurface::replaceColor(uint32_t match, bool matchAlpha, bool matchRed, bool matchGreen,
                             bool matchBlue, uint32_t replacement, bool setAlpha, bool setRed,
                             bool setGreen, bool setBlue) {
    if (!hasPixels(mColorMode) || isEmpty()) {
        return;
    }
    const Recoloring recoloring = {colorFromWord(match),
                                   {matchAlpha, matchRed, matchGreen, matchBlue},
                                   colorFromWord(replacement),
                                   {setAlpha, setRed, setGreen, setBlue}};
    const RecolorRow recolor = kRecolorRows[static_cast<uint32_t>(mColorMode)];
    for (int32_t y = 0; y < height; ++y) {
        recolor(pixelAt(0, y), width, recoloring);
    }
}

void DsSurface::copyChannels(const DsSurface& source, bool alpha, bool red, bool green, bool blue) {
    if (!hasPixels(mColorMode) || isEmpty()) {
        return;
    }
    const CopyChannelsRow copyRow = kCopyChannelsRows.at(static_cast<uint32_t>(mColorMode),
                                                         static_cast<uint32_t>(source.mColorMode));
    const ChannelFlags copied = {alpha, red, green, blue};
    for (int32_t y = 0; y < height; ++y) {
        copyRow(pixelAt(0, y), source.pixelAt(0, y), width, copied);
    }
}
