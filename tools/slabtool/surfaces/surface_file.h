// Surface files from elsewhere: their header with every check that it needs, and their pixels as the
// picture that they came from.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/finding.h"
#include "tools/slabtool/refusal.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

inline constexpr size_t kSurfaceHeaderBytes = 20;

/// What names of surface files end in.
inline constexpr const char* kSurfaceSuffix = ".surface";

/// What names of palette files end in.
inline constexpr const char* kPaletteSuffix = ".palette";

/// The five words at the front of a surface file.
struct SurfaceHeader {
    uint32_t rotation, mode, width, height, stride;

    DsColorMode colorMode() const { return DsColorMode{mode}; }
    /// Bytes that the pixels of a line take.
    uint64_t usedLineBytes() const { return uint64_t{width} * bytesPerPixel(colorMode()); }
    /// Header and lines, without what rounds the size up.
    uint64_t usedBytes() const { return kSurfaceHeaderBytes + uint64_t{height} * stride; }
};

/// "RGB888", or "unknown" above 9.
const char* colorModeName(uint32_t mode);

/// What is to know about the pixels of a color mode: indices have no palette, alpha values no color.
std::optional<Finding> noteOn(uint32_t mode);

/// What a surface file's first bytes and its size say.
struct SurfaceFacts {
    uint64_t fileSize;
    std::optional<SurfaceHeader> header; ///< none in a file that is too short for one, or a PNG
    std::vector<std::string> faults;     ///< why its pixels cannot be used
    std::vector<std::string> oddities;   ///< what a converter would not have written
};

SurfaceFacts inspectSurface(ByteView head, uint64_t fileSize);

/// The picture in a surface file, upright again if the stored array is turned.
class SurfacePicture {
public:
    /// @throws Refusal naming the first fault of the file
    explicit SurfacePicture(Bytes file);

    const SurfaceHeader& header() const { return mHeader; }
    uint32_t width() const { return mWidth; }
    uint32_t height() const { return mHeight; }
    /// The stored bytes of a pixel of the picture.
    const uint8_t* pixel(uint32_t x, uint32_t y) const {
        return mFile.data() + mOrigin + x * mStepX + y * mStepY;
    }

private:
    Bytes mFile;
    SurfaceHeader mHeader;
    uint32_t mWidth, mHeight;
    int64_t mOrigin, mStepX, mStepY; // bytes
};
