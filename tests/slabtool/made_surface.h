// Helpers for tests that make surfaces: pictures as samples, and the pixels of surface files.
#pragma once

#include "tests/support/test_bytes.h"
#include "tools/slabtool/surfaces/surface_maker.h"

#include <array>
#include <string>

inline constexpr std::array kAllKinds = {Samples::Kind::Gray, Samples::Kind::GrayAlpha,
                                         Samples::Kind::Rgb, Samples::Kind::Rgba,
                                         Samples::Kind::Indexed};
/// Samples that own their bytes.
struct Picture {
    uint32_t width, height;
    Samples::Kind kind;
    byte_vector bytes;
    byte_vector paletteAlpha = {};

    Samples samples() const { return {width, height, kind, bytes, paletteAlpha}; }
    MadeSurface made(const SurfaceRequest& request) const {
        return makeSurface(samples(), request);
    }
};

inline Picture noisePicture(uint32_t width, uint32_t height, Samples::Kind kind,
                            uint32_t seed = 1) {
    Picture picture = {width, height, kind, {}, {}};
    const size_t size = size_t{width} * height * picture.samples().channels();
    picture.bytes = make_bytes(data_kind::noise, size, seed);
    return picture;
}

/// A picture whose pixels are `colorAt(x, y)`: {red, green, blue, alpha}.
template <typename ColorAt>
Picture rgbaPicture(uint32_t width, uint32_t height, const ColorAt& colorAt) {
    Picture picture = {width, height, Samples::Kind::Rgba, {}, {}};
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            for (const uint32_t sample : std::array<uint32_t, 4>(colorAt(x, y))) {
                picture.bytes.push_back(static_cast<uint8_t>(sample));
            }
        }
    }
    return picture;
}

/// The stored value of a pixel in a file without rotation.
inline uint32_t storedPixel(const MadeSurface& surface, uint32_t pixelBytes, uint32_t x,
                            uint32_t y) {
    const uint8_t* const pixel = surface.file.data() + 20 + y * surface.stride + x * pixelBytes;
    uint32_t value = 0;
    for (uint32_t i = 0; i < pixelBytes; ++i) {
        value |= uint32_t{pixel[i]} << (8 * i);
    }
    return value;
}

/// The bit fields of a mode of two bytes a pixel.
struct PackedMode {
    DsColorMode mode;
    const char* name;
    std::array<uint32_t, 3> shifts, maxima; ///< of red, green, blue
    uint32_t alphaMask;

    uint32_t field(uint32_t stored, size_t channel) const {
        return stored >> shifts[channel] & maxima[channel];
    }
};

inline constexpr std::array kPackedModes = {
    PackedMode{DsColorMode::RGB565, "RGB565", {11, 5, 0}, {31, 63, 31}, 0},
    PackedMode{DsColorMode::ARGB1555, "ARGB1555", {10, 5, 0}, {31, 31, 31}, 0x8000},
    PackedMode{DsColorMode::ARGB4444, "ARGB4444", {8, 4, 0}, {15, 15, 15}, 0xF000}};
