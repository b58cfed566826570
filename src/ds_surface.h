// The pixel container of the library: stored pixels in one color mode, with stride, palette, clip
// and a rotation that relates the stored array to the coordinates in which callers draw.
#pragma once

#include "src/ds_color_mode.h"
#include "src/ds_region.h"

#include <cstddef>
#include <cstdint>

/// Allocates a block of `byteCount` bytes. A sum or product that does not fit 64 bits arrives as
/// SIZE_MAX. It may throw; a null result is not examined by the constructor.
using DsAllocFn = void* (*)(size_t byteCount);
/// Releases a block that the allocation callback returned.
using DsFreeFn = void (*)(void* block);

/// A rectangular array of pixels. "Stored" coordinates address that array; "caller" coordinates are
/// those of the unturned picture, which the surface maps by its rotation (90, 180 or 270 degrees
/// counter-clockwise; any other value is kept and acts as 0).
///
/// A surface owns its pixel and palette blocks exactly when it was constructed with a release
/// callback. Aliases, sub-surfaces and views own nothing: what they point into must outlive them.
/// Nothing is locked; one thread at a time may change a surface. No operation reports an error and
/// none of the blocks needs any alignment. A stored width or height below 1 is an empty surface.
class DsSurface {
public:
    /// Makes an owning surface.
    /// @param callerWidth,callerHeight size in pixels as the caller sees it; stored exchanged when
    ///                   the rotation is 90 or 270. Negative sizes ask for SIZE_MAX bytes.
    /// @param turned     the rotation in degrees.
    /// @param colorMode  a mode with pixels; one without gives stride and pitch 0.
    /// @param entryAlpha 0: palette entries are blue, green, red; 1: blue, green, red, alpha.
    /// @param entryCount entries of the palette block, which only I8 and AI88 get.
    /// @param allocate,release source and sink of the blocks. If `allocate` throws for the palette,
    ///                   the pixel block is released first.
    /// @param rowAlignment every stride is a multiple of this many bytes and of the pixel size
    ///                   (their least common multiple for powers of two); 0 counts as 1.
    /// @param reserve    extra bytes behind the last row, rounded up to a multiple of 4; above
    ///                   SIZE_MAX - 3, to SIZE_MAX - 3, which is then the size of a block without
    ///                   rows.
    DsSurface(int32_t callerWidth, int32_t callerHeight, const uint32_t& turned,
              DsColorMode colorMode, uint8_t entryAlpha, uint64_t entryCount, DsAllocFn allocate,
              DsFreeFn release, uint32_t rowAlignment, uint64_t reserve);

    /// Makes a non-owning alias of `other`: the same pixels, palette and clip, no callbacks, no
    /// alignment.
    DsSurface(const DsSurface& other);

    /// Lays a non-owning view over a surface file in memory (see `serialize`). The header is
    /// trusted: the caller makes sure that 20 bytes and height * stride more are there, and that the
    /// stride is at least width * bytes a pixel. Where it is no multiple of the pixel size, fills
    /// and copies still step by whole pixels (`getPitch`), the other operations by the stride.
    explicit DsSurface(uint8_t* file);

    /// Makes a non-owning sub-surface over `area` of `parent` (its caller coordinates), as an alias
    /// whose origin and size are the area's. The size is kept even where the area sticks out of the
    /// parent; the clip is cut to the parent's array and to its clip, so drawing stays inside. On
    /// one that sticks out, callers must not call what goes past the clip: `resetClip`, `setClip`
    /// with more than the part inside, `invert`, `replaceColor`, `copyChannels`, `replaceAlpha`, or
    /// a copy from it.
    ///
    /// Serializing a sub-surface, and decoding into it, takes `height` whole strides from its first
    /// pixel on (decoding, the extra bytes too). All of them must lie inside the block of the surface
    /// that owns the pixels, however many sub-surfaces are in between. They do if the stored area
    /// starts inside the owner's array and ends above its last row, or starts in its first column and
    /// ends with that row. An area that sticks out below goes past the block, unless extra bytes make
    /// up for it.
    DsSurface(const DsSurface& parent, const DsRect& area);

    /// Releases the palette block, then the pixel block, if a release callback was given.
    ~DsSurface();

    DsSurface& operator=(const DsSurface&) = delete;

    /// An opaque word for the owner; 0 at first.
    uint64_t getUserData() const { return userData; }
    void setUserData(uint64_t word) { userData = word; }

    uint32_t getRotation() const { return rotation; }
    /// Stored width in pixels.
    int32_t getWidth() const { return width; }
    /// Number of stored lines.
    int32_t getHeight() const { return height; }
    DsColorMode getColorMode() const { return mColorMode; }
    uint32_t getBytesPerPixel() const { return static_cast<uint32_t>(bytesPerPixel); }
    /// Bytes from one line to the next.
    uint64_t getStride() const { return stride; }
    /// Pixels from one line to the next, padding included; 0 for a mode without pixels.
    uint64_t getPitch() const { return pitch; }
    /// Line 0; each line is `getStride()` bytes further.
    uint8_t* getPixels() const { return pixels; }
    /// height * stride and the extra bytes: the pixel block, except in a sub-surface, which shares
    /// its parent's.
    uint64_t getDataSize() const { return static_cast<uint64_t>(height) * stride + extraBytes; }
    uint8_t getPaletteHasAlpha() const { return paletteHasAlpha; }
    /// The low 16 bits of the number of palette entries.
    uint16_t getPaletteSize() const { return static_cast<uint16_t>(paletteSize); }
    /// The palette block, 3 + paletteHasAlpha bytes an entry, or null.
    uint8_t* getPalette() const { return palette; }

    /// Width and height as the caller sees them.
    void getSize(int32_t& callerWidth, int32_t& callerHeight) const;
    /// (0, 0, width, height) as the caller sees them.
    DsRect getBounds() const;
    /// Limits drawing to `area` (caller coordinates), cut to the stored array. An area that misses
    /// the array leaves an empty clip: where it misses, the extent is 0 and the position is the
    /// area's left or upper stored edge, or 0 if that is negative.
    void setClip(const DsRect& area);
    /// The clip in caller coordinates.
    DsRect getClip() const;
    /// Lets drawing reach the whole stored array again.
    void resetClip();
    /// The stride in bytes that a line of `lineWidth` pixels takes in this surface.
    uint64_t computeStride(int32_t lineWidth) const;

    /// Writes the surface file into `buffer` and returns its size in bytes, a multiple of 4; a null
    /// buffer asks for the size only. The file is five little-endian 32-bit words (rotation, color
    /// mode, stored width, stored height, stride) and the stored lines with their padding. The 0 to
    /// 3 bytes that round the size up are counted but not written. Kept on purpose: neither palette
    /// nor extra bytes nor clip go into the file.
    uint64_t serialize(void* buffer) const;

    /// Caller point to stored point, as pixel positions. Integer mappings wrap.
    void mapPoint(int32_t& x, int32_t& y) const;
    /// Caller point to stored point, as positions between pixels.
    void mapPointF(float& x, float& y) const;
    /// Caller size to stored size, and back.
    void mapSize(int32_t& sizeX, int32_t& sizeY) const;
    void mapSizeF(float& sizeX, float& sizeY) const;
    /// Caller rectangle to stored rectangle.
    void mapRect(DsRect& rect) const;
    void mapRectF(DsFRect& rect) const;
    /// Stored rectangle to caller rectangle, the exact inverse of `mapRect`.
    void unmapRect(DsRect& rect) const;

    /// Turns the stored pixels by 90 degrees counter-clockwise into a new block, without extra
    /// bytes, and sets the rotation to 90, so that drawing in caller coordinates still meets the
    /// same content. Kept on purpose: any other angle, 180 and 270 included, changes nothing.
    /// Nothing happens either on a surface without callbacks, or when the allocation callback
    /// returns null.
    void rotate(int32_t degrees);

    /// Takes the alpha channel from an A8 surface, pixel by pixel in stored order, line y with line
    /// y. Asserts the mode of the source; the source must be at least as large, which is not
    /// checked. ARGB1555 pixels also have their colors encoded again by that mode's spilling rule.
    void replaceAlpha(const DsSurface& alpha_only_src);

    // Drawing. Positions are caller coordinates, colors are color words (alpha in bits 0-7, red
    // 8-15, green 16-23, blue or palette index 24-31); the clip holds for setPixel, fill and the
    // copies. Copies read the source in stored order, so both sides should have the same rotation;
    // a source never gets read outside its stored array, and may be the destination itself at the
    // same place, but must not overlap it shifted. Alpha modes: 0 takes alpha as decoded, 1 the
    // color's alpha, 2 their product over 255, any other 0.

    /// Writes one pixel.
    void setPixel(int32_t x, int32_t y, uint32_t color);
    /// Fills the clip.
    void fill(uint32_t color);
    /// Copies the whole source to (x, y), converting its pixels; A8 sources paint `color`.
    void blit(int32_t x, int32_t y, const DsSurface& source, uint32_t alphaMode, uint32_t color);
    /// Composes the whole source over the pixels at (x, y). The stored color comes out multiplied
    /// by coverage (see blendPixels).
    void blend(int32_t x, int32_t y, const DsSurface& source, uint32_t alphaMode, uint32_t color);
    /// Blends the source aligned inside `area`, which does not clip. Bits 0 and 1 of `alignFlags`:
    /// 2 right, 3 centered, else left; bits 2 and 3: 8 bottom, 12 centered, else top. (dx, dy) moves
    /// it inwards from the edge that it is aligned to, and right or down when centered.
    void blendAligned(const DsSurface& source, uint32_t alphaMode, uint32_t color,
                      const DsRect& area, uint8_t alignFlags, int32_t dx, int32_t dy);
    /// Complements every byte of every stored pixel, alpha included, whatever the clip.
    void invert();
    /// Gives the flagged channels of `replacement` to every stored pixel, whatever the clip, whose
    /// channels flagged for matching all equal those of `match`. A matching pixel is encoded again,
    /// which changes ARGB1555 pixels even with no channel replaced.
    void replaceColor(uint32_t match, bool matchAlpha, bool matchRed, bool matchGreen,
                      bool matchBlue, uint32_t replacement, bool setAlpha, bool setRed,
                      bool setGreen, bool setBlue);
    /// Takes the flagged channels of every stored pixel, whatever the clip, from the source's pixel
    /// in the same line and column, and encodes it again. The source must be at least as large,
    /// which is not checked.
    void copyChannels(const DsSurface& source, bool alpha, bool red, bool green, bool blue);

private:
    using CopyKernel = void (*)(uint8_t* destination, uint32_t destinationPitch,
                                DsColorMode destinationMode, const uint8_t* source,
                                uint32_t sourcePitch, DsColorMode sourceMode, uint32_t pixelsWide,
                                uint32_t pixelsHigh, uint32_t alphaMode, uint32_t color);

    void copyTo(int64_t x, int64_t y, const DsSurface& source, CopyKernel kernel,
                uint32_t alphaMode, uint32_t color);
    uint64_t pixelsPer(uint64_t byteCount) const;
    uint8_t* allocatePixels(int32_t lines, int32_t lineWidth, uint64_t lineStride,
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
