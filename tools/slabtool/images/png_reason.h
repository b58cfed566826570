// Why pngslab rejects a PNG file, by code and words.
#pragma once

#include "tools/slabtool/images/png_loss.h"
#include "tools/slabtool/refusal.h"

#include <optional>

/// Runs both passes of the product's decoder over a file, with the memory of a window in place of the pixels,
/// and puts what the decoder notes into words. docs/slabtool.md lists the codes. @return nothing if neither pass rejects the file before
/// its rows
std::optional<Finding> whyRejected(ByteView file);
