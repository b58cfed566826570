// Reads untrusted surface files: checks the header, and gives access to the pixels of the upright picture.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/finding.h"
#include "tools/slabtool/rejection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

inline constexpr size_t kSurfaceHeaderBytes = 20;

/// The suffix of surface files.
inline constexpr const char* kSurfaceSuffix = ".surface";

/// The suffix of palette files.
inline constexpr const char* kPaletteSuffix = ".palette";

/// The five words at the start of a surface file.
struct SurfaceHeader {
    uint32_t rotation, mode, width, height, stride;

    DsColorMode colorMode() const { return DsColorMode{mode}; }
    /// Bytes of a row's pixels, without padding.
    uint64_t usedRowBytes() const { return uint64_t{width} * bytesPerPixel(colorMode()); }
    /// Bytes of the header and the rows, without the padding at the end of the file.
    uint64_t usedBytes() const { return kSurfaceHeaderBytes + uint64_t{height} * stride; }
};

/// "RGB888", or "unknown" above 9.
const char* colorModeName(uint32_t mode);

/// A note about color modes whose pixels have no colors.
std::optional<Finding> noteForMode(uint32_t mode);

/// The result of checking a surface file.
struct SurfaceFacts {
    uint64_t fileSize;
    std::optional<SurfaceHeader> header; ///< none if the file is too short or a PNG
    std::vector<std::string> faults;     ///< reasons why its pixels cannot be used
    std::vector<std::string> oddities;   ///< other deviations from files that pngslab writes
};

/// Checks a surface file.
/// @param head the first bytes of the file; kSurfaceHeaderBytes are enough
SurfaceFacts inspectSurface(ByteView head, uint64_t fileSize);

/// The upright picture in a surface file, independent of the rotation of the stored array.
class SurfacePicture {
public:
    /// @throws Rejection with the first fault of the file
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
