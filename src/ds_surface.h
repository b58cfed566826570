// The pixel container of the library: stored pixels in one color mode, with a stride, a palette, a
// clip, and a rotation between the coordinates of callers and those of the stored array.
#pragma once

#include "src/ds_color_mode.h"
#include "src/ds_region.h"

#include <cstddef>
#include <cstdint>

/// Allocates a buffer of `byteCount` bytes. SIZE_MAX stands for a size that does not fit 64 bits. The
/// callback may throw. The constructor does not check for a null result.
using DsAllocFn = void* (*)(size_t byteCount);
/// Releases a buffer that the allocation callback returned.
using DsFreeFn = void (*)(void* block);

/// A rectangular array of pixels. "Stored" coordinates address that array. "Caller" coordinates are
/// those of the picture before rotation; the surface maps them by its rotation (90, 180 or 270
/// degrees counter-clockwise; any other value is kept and acts as 0).
///
/// A surface that was constructed with a release callback owns its pixel and palette buffers. Aliases,
/// sub-surfaces and views own nothing: the buffers that they use must outlive them. Nothing is locked:
/// only one thread at a time may change a surface. No operation reports an error. No buffer needs any
/// alignment. A surface with a stored width or height below 1 is empty.
class DsSurface {
public:
    /// Makes an owning surface.
    /// @param callerWidth,callerHeight size in pixels as the caller sees it. Rotations 90 and 270
    ///                   exchange them in the stored size. A negative size requests SIZE_MAX bytes.
    /// @param degrees    the rotation.
    /// @param colorMode  a mode without pixels gives stride and pitch 0.
    /// @param entryAlpha 0: palette entries are blue, green, red; 1: blue, green, red, alpha.
    /// @param entryCount number of palette entries; only I8 and AI88 get a palette buffer.
    /// @param allocate,release callbacks for the buffers. If `allocate` throws for the palette, the
    ///                   pixel buffer is released first.
    /// @param rowAlignment every stride is a multiple of this many bytes and of the pixel size. A power
    ///                   of two gives the smallest such stride. 0 counts as 1.
    /// @param extra      bytes after the last row, rounded up to a multiple of 4, at most to
    ///                   SIZE_MAX - 3.
    DsSurface(int32_t callerWidth, int32_t callerHeight, const uint32_t& degrees,
              DsColorMode colorMode, uint8_t entryAlpha, uint64_t entryCount, DsAllocFn allocate,
              DsFreeFn release, uint32_t rowAlignment, uint64_t extra);

    /// Makes a non-owning alias of `other`: the same pixels, palette and clip, no callbacks, no
    /// alignment.
    DsSurface(const DsSurface& other);

    /// Makes a non-owning view of a surface file in memory (see `serialize`). The header is trusted:
    /// the caller makes sure that `file` has 20 + height * stride bytes and that the stride is at
    /// least width * bytes per pixel. If the stride is not a multiple of the pixel size, fills and
    /// copies step by whole pixels (`getPitch`), the other operations by the stride.
    explicit DsSurface(uint8_t* file);

    /// Makes a non-owning sub-surface: an alias whose origin and size are those of `area`, in the
    /// caller coordinates of `parent`. The size is kept even if the area extends beyond the parent.
    /// The clip is the part of the area inside both the parent's array and the parent's clip, so
    /// drawing stays inside. If the area extends beyond the parent, callers must not use operations
    /// that ignore the clip or widen it: `resetClip`, `setClip` with more than the part inside,
    /// `invert`, `replaceColor`, `copyChannels`, `replaceAlpha`, or a copy from the sub-surface.
    ///
    /// Serializing a sub-surface reads `height` whole strides from its first pixel on. All these bytes
    /// must be inside the buffer of the surface that owns the pixels, even if the parent is itself a
    /// sub-surface. They are if the stored area starts inside the owner's array and either ends above
    /// its last row, or ends with that row and starts in the first column. For an area that extends
    /// below the last row, the owner needs enough extra bytes.
    DsSurface(const DsSurface& parent, const DsRect& area);

    /// Releases the palette buffer, then the pixel buffer, if a release callback was given.
    ~DsSurface();

    DsSurface& operator=(const DsSurface&) = delete;

    /// A word for the owner's use; 0 at first.
    uint64_t getUserData() const { return userData; }
    void setUserData(uint64_t word) { userData = word; }

    uint32_t getRotation() const { return rotation; }
    /// Stored width in pixels.
    int32_t getWidth() const { return width; }
    /// Stored height in rows.
    int32_t getHeight() const { return height; }
    DsColorMode getColorMode() const { return mColorMode; }
    uint32_t getBytesPerPixel() const { return static_cast<uint32_t>(bytesPerPixel); }
    /// Bytes from one row to the next.
    uint64_t getStride() const { return stride; }
    /// Pixels from one row to the next, padding included; 0 for a mode without pixels.
    uint64_t getPitch() const { return pitch; }
    /// Row 0. Row y starts y * `getStride()` bytes further.
    uint8_t* getPixels() const { return pixels; }
    /// height * stride and the extra bytes. This is the size of the pixel buffer, except in a
    /// sub-surface, which shares its parent's buffer.
    uint64_t getDataSize() const { return static_cast<uint64_t>(height) * stride + extraBytes; }
    uint8_t getPaletteHasAlpha() const { return paletteHasAlpha; }
    /// The low 16 bits of the number of palette entries.
    uint16_t getPaletteSize() const { return static_cast<uint16_t>(paletteSize); }
    /// The palette buffer, 3 + paletteHasAlpha bytes per entry, or null.
    uint8_t* getPalette() const { return palette; }

    /// Width and height as the caller sees them.
    void getSize(int32_t& callerWidth, int32_t& callerHeight) const;
    /// (0, 0, width, height) as the caller sees them.
    DsRect getBounds() const;
    /// Limits drawing to the part of `area` (caller coordinates) inside the stored array. An area
    /// outside the array leaves an empty clip. On an axis where the area is outside, the clip has
    /// extent 0. Its position is the area's left or upper stored edge, but at least 0.
    void setClip(const DsRect& area);
    /// The clip in caller coordinates.
    DsRect getClip() const;
    /// Sets the clip to the whole stored array.
    void resetClip();
    /// The stride in bytes of rows of `rowWidth` pixels in this surface.
    uint64_t computeStride(int32_t rowWidth) const;

    /// Writes the surface file into `buffer` and returns its size in bytes, a multiple of 4. With a
    /// null buffer, only returns the size. The file is five little-endian 32-bit words (rotation,
    /// color mode, stored width, stored height, stride) and the stored rows with their padding. The
    /// 0 to 3 bytes that round the size up are counted but not written. Kept on purpose: the file
    /// has no palette, no extra bytes and no clip.
    uint64_t serialize(void* buffer) const;

    /// Maps a pixel position from caller to stored coordinates. Integer mappings wrap.
    void mapPoint(int32_t& x, int32_t& y) const;
    /// Maps a position between pixels from caller to stored coordinates.
    void mapPointF(float& x, float& y) const;
    /// Maps a size from caller to stored coordinates, or back.
    void mapSize(int32_t& sizeX, int32_t& sizeY) const;
    void mapSizeF(float& sizeX, float& sizeY) const;
    /// Maps a rectangle from caller to stored coordinates.
    void mapRect(DsRect& rect) const;
    void mapRectF(DsFRect& rect) const;
    /// Maps a rectangle from stored to caller coordinates: the exact inverse of `mapRect`.
    void unmapRect(DsRect& rect) const;

    /// Rotates the stored pixels by 90 degrees counter-clockwise into a new buffer, without extra
    /// bytes, and sets the rotation to 90. If it was 0, caller coordinates still address the same
    /// content. Kept on purpose: any other angle, 180 and 270 included, changes nothing. A surface
    /// without callbacks does not change. If the allocation callback returns null, only a surface of
    /// width or height 0 changes.
    void rotate(int32_t degrees);

    /// Copies the alpha channel from an A8 surface: each stored pixel takes its alpha from the pixel
    /// in the same stored row and column. Asserts the mode of the source. The source must be at
    /// least as large, which is not checked. ARGB1555 pixels also have their colors encoded again by
    /// that mode's spilling rule.
    void replaceAlpha(const DsSurface& alpha_only_src);

    // Drawing. Positions are caller coordinates. Colors are color words: alpha in bits 0-7, red in
    // 8-15, green in 16-23, blue or palette index in 24-31. The clip applies to setPixel, fill and
    // the copies. Copies read the source in stored order, so both sides should have the same
    // rotation. A source is never read outside its stored array. It may be the destination itself at
    // the same position, but must not overlap it at another one. Alpha modes: 0 uses the decoded
    // alpha, 1 the color's alpha, 2 their product divided by 255. Any other mode uses alpha 0.

    /// Writes one pixel.
    void setPixel(int32_t x, int32_t y, uint32_t color);
    /// Fills the clip.
    void fill(uint32_t color);
    /// Copies the whole source to (x, y) and converts its pixels. A8 sources paint `color`.
    void blit(int32_t x, int32_t y, const DsSurface& source, uint32_t alphaMode, uint32_t color);
    /// Composes the whole source over the pixels at (x, y). The stored color is multiplied by the
    /// alpha (see blendPixels).
    void blend(int32_t x, int32_t y, const DsSurface& source, uint32_t alphaMode, uint32_t color);
    /// Blends the source, aligned inside `area`. The area does not clip. `alignFlags` & 3 is 2 for
    /// right, 3 for centered, else left. `alignFlags` & 12 is 8 for bottom, 12 for centered, else top.
    /// (dx, dy) moves the source inwards from its edge, or right and down if centered.
    void blendAligned(const DsSurface& source, uint32_t alphaMode, uint32_t color,
                      const DsRect& area, uint8_t alignFlags, int32_t dx, int32_t dy);
    /// Complements every byte of every stored pixel, alpha included. Ignores the clip.
    void invert();
    /// Recolors every stored pixel that equals `match` in all channels flagged for matching: its
    /// channels flagged for setting become those of `replacement`. Ignores the clip. A matching
    /// pixel is encoded again, which changes ARGB1555 pixels even if no channel is set.
    void replaceColor(uint32_t match, bool matchAlpha, bool matchRed, bool matchGreen,
                      bool matchBlue, uint32_t replacement, bool setAlpha, bool setRed,
                      bool setGreen, bool setBlue);
    /// Copies the flagged channels of every stored pixel from the source's pixel in the same stored
    /// row and column, and encodes the pixel again. Ignores the clip. The source must be at least as
    /// large, which is not checked.
    void copyChannels(const DsSurface& source, bool alpha, bool red, bool green, bool blue);

private:
    using CopyKernel = void (*)(uint8_t* destination, uint32_t destinationPitch,
                                DsColorMode destinationMode, const uint8_t* source,
                                uint32_t sourcePitch, DsColorMode sourceMode, uint32_t pixelsWide,
                                uint32_t pixelsHigh, uint32_t alphaMode, uint32_t color);

    void copyTo(int64_t x, int64_t y, const DsSurface& source, CopyKernel kernel,
                uint32_t alphaMode, uint32_t color);
    uint64_t wholePixelsIn(uint64_t byteCount) const;
    uint8_t* allocatePixels(int32_t rowCount, int32_t rowWidth, uint64_t rowStride,
                            uint64_t extra) const;
    void allocatePalette();
    uint8_t* pixelAt(int64_t x, int64_t y) const;
    bool isEmpty() const { return width < 1 || height < 1; }

    uint64_t userData;
    DsAllocFn allocFn;
    DsFreeFn freeFn;
    uint32_t rotation;
    int32_t width;
    int32_t height;
    DsColorMode mColorMode;
    uint64_t extraBytes;
    uint64_t alignment;
    uint64_t bytesPerPixel;
    uint64_t stride;
    uint64_t pitch;
    uint8_t paletteHasAlpha;
    uint64_t paletteSize;
    DsRect clip;
    uint8_t* pixels;
    uint8_t* palette;
};
