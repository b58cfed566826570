// Draws an image in a terminal. Only terminal_picture.cpp includes libchafa.
#pragma once

#include "tools/slabtool/images/png_image.h"

#include <cstdint>
#include <string>

/// The size of a terminal. Terminals that do not tell their size in pixels have 0 there.
struct TerminalSize {
    uint32_t columns, rows; ///< at least 1
    uint32_t pixelWidth, pixelHeight;
};

/// The bytes that draw an image: pixels if the terminal can show them (by the protocol of kitty, or as sixels), else
/// half blocks. A small image is enlarged by a whole number, so that its pixels stay sharp. A large image is reduced to
/// the terminal. A checkerboard is under translucent pixels.
/// @param image not indexed
/// @param environment of the process: TERM and other variables tell what the terminal can do
std::string terminalPicture(const PngImage& image, const TerminalSize& size, char** environment);
