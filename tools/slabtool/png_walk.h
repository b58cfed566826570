// A walk over the chunks of a PNG file, for the reason why the decoder does not take it.
#pragma once

#include "tools/slabtool/files.h"

#include <optional>
#include <string>

/// Why the product's decoder refuses a file, in plain words; nothing if it takes it.
std::optional<std::string> whyPngRefused(ByteView file);
