// The decoder's functions for callers that need more than the result of png_decode().
#pragma once

#include "png/internal/png_fault.h"
#include "png/png_decode.h"

#include <cstdint>

class DsSurface;

namespace png_detail {

/// Bytes before the DEFLATE stream, in the first IDAT chunk. The decoder does not check them.
inline constexpr uint32_t kZlibHeaderSize = 2;

/// Bytes of the filtered rows, truncated to the 32 bits of the inflate record.
uint32_t filtered_size(const png_info_t& info);

/// The same in 64 bits, not truncated.
uint64_t full_filtered_size(const png_info_t& info);

/// png_decode() that also fills `*record`, unless it is null.
int32_t decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface,
               fault_record_t* record);

/// Receives the image data instead of a surface's pixel buffer.
struct image_data_sink_t {
    void* context;
    /// Processes the next bytes of the DEFLATE stream. @return a result of inflate_detail::process()
    int32_t (*process)(void* context, const uint8_t* data, uint32_t size,
                       inflate_detail::fault_t* fault);
};

/// The full pass without a pixel buffer and rows, and without their checks. `sink` gets the image data. `surface` may
/// have any size; PLTE and tRNS fill its palette. The record's imageDataOffset stays 0.
int32_t decode_into_sink(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface,
                         const image_data_sink_t& sink, fault_record_t* record);

} // namespace png_detail
