// Reads images with pngslab's decoder, if it accepts them.
#pragma once

#include "tools/slabtool/images/png_image.h"

#include <optional>

/// Like decodePng, but several times as fast. @return nothing if pngslab's decoder rejects the file, if the file is too
/// small for its rows, or if it has a key color: then rows do not have the layout of their mode.
/// @throws std::bad_alloc
std::optional<PngImage> decodeAccepted(ByteView file, const PngChanges& changes);
