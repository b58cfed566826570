// Reads images that pngslab accepts with its own decoder.
#pragma once

#include "tools/slabtool/images/png_image.h"

#include <optional>

/// Like decodePng, but several times as fast. @return nothing if pngslab's decoder rejects the file, or if the image
/// has a key color: its rows do not have the layout of their mode. @throws std::bad_alloc
std::optional<PngImage> decodeAccepted(ByteView file, const PngChanges& changes);
