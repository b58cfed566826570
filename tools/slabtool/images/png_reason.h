// Why pngslab rejects a PNG file, in words.
#pragma once

#include "tools/slabtool/refusal.h"

#include <optional>
#include <string>

/// Runs both passes of the product's decoder over a file, with the memory of a window in place of the pixels,
/// and puts what the decoder notes into words. @return nothing if neither pass rejects the file before
/// its rows
std::optional<std::string> whyRejected(ByteView file);
