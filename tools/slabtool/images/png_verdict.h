// Whether pngslab takes a PNG file, and why it does not.
#pragma once

#include "tools/slabtool/refusal.h"

#include <string>

struct PngVerdict {
    bool isTaken;
    std::string words; ///< the surface that it becomes, or the reason for the refusal
};

/// What pngslab says of a file's contents; its own decoder decides. Nothing is allocated that the file
/// is too small to fill: where it declares more, the decoder runs with the memory of a window.
PngVerdict judgePng(ByteView file, bool alphaOnly);
