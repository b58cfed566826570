// Whether pngslab accepts a PNG file, and why not.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/refusal.h"

#include <string>
#include <vector>

struct PngVerdict {
    bool isAccepted;
    std::string surface;         ///< the surface that it becomes, if it is accepted
    Finding reason;              ///< of a rejection
    std::vector<Finding> losses; ///< of an accepted image: what the surface does not show
};

/// The verdict on a file's contents; pngslab's own decoder decides. Nothing is allocated that the file is too small
/// to fill: where it declares more, the decoder runs with the memory of a window.
PngVerdict judgePng(ByteView file, bool alphaOnly);

/// A rejection.
PngVerdict rejected(const std::string& code, const std::string& words);
