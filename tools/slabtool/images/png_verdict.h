// Whether pngslab accepts a PNG file; if not, the reason.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/rejection.h"

#include <string>
#include <vector>

struct PngVerdict {
    bool isAccepted;
    std::string surface;         ///< description of the surface of an accepted image
    Finding reason;              ///< of a rejection
    std::vector<Finding> losses; ///< of an accepted image
};

/// Decides with pngslab's own decoder whether it accepts a file's content. If the file declares more pixels than its
/// data could fill, the decoder runs without pixels, with the memory of a DEFLATE window.
PngVerdict judgePng(ByteView file, bool alphaOnly);

/// The verdict "rejected", with this reason.
PngVerdict rejected(const std::string& code, const std::string& text);
