// Reads the chunks of a PNG file that decide about its pixels.
#pragma once

#include "tools/slabtool/rejection.h"

#include <array>
#include <cstdint>
#include <vector>

inline constexpr std::array<uint8_t, 8> kPngSignature = {0x89, 'P',  'N',  'G',
                                                         '\r', '\n', 0x1A, '\n'};

/// An image that is not decoded yet.
struct ImageChunks {
    uint32_t width, height;
    uint8_t depth, colorType;
    bool isInterlaced;
    std::vector<std::array<uint8_t, 3>> palette; ///< of indexed images: red, green, blue
    ByteView transparency; ///< content of tRNS, empty if it has another size than it should
    bool
        isKeyApplied; ///< false if PLTE follows tRNS: libpng then keeps the key color and does not apply it
    Bytes file; ///< a PNG of IHDR, IDAT and IEND
};

/// Reads the chunks as libpng does. A fault in a critical chunk is a rejection; a faulty ancillary chunk is ignored.
/// The parameter must outlive `transparency`, which is a part of it. @throws Rejection
ImageChunks readChunks(ByteView file);
