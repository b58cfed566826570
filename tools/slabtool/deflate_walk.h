// A walk over the DEFLATE blocks of an image, for the reason why the decoder does not take them.
#pragma once

#include "tools/slabtool/files.h"

#include <cstdint>
#include <optional>
#include <string>

/// Bytes in front of the DEFLATE data; nobody looks at them.
inline constexpr size_t kZlibHeaderBytes = 2;

/// Why the product's decoder refuses image data, in plain words; nothing if it takes them.
/// @param imageData the data of all IDAT chunks in a row, at least kZlibHeaderBytes; positions in the
///                  words count from its start
/// @param lineBytes what the image's filtered lines take: the room that the decoder has
std::optional<std::string> whyDeflateRefused(ByteView imageData, uint32_t lineBytes);
