// The decoder's entries for callers who want to know more than the result of png_decode().
#pragma once

#include "png/internal/png_fault.h"
#include "png/png_decode.h"

#include <cstdint>

class DsSurface;

namespace png_detail {

/// Bytes in front of the DEFLATE stream, in the first IDAT chunk. The decoder does not look at them.
inline constexpr uint32_t kZlibHeaderSize = 2;

/// Bytes of the filtered rows, cut to 32 bits as the inflate record counts.
uint32_t filtered_size(const png_info_t& info);

/// The same, not counted in 32 bits.
uint64_t uncut_filtered_size(const png_info_t& info);

/// png_decode(), which also fills `*record` unless that is null.
int32_t decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface,
               fault_record_t* record);

/// Takes the image data in place of a surface's pixel block.
struct image_data_sink_t {
    void* context;
    /// Takes the next bytes of the DEFLATE stream. @return what inflate_detail::process() would
    int32_t (*take)(void* context, const uint8_t* data, uint32_t size,
                    inflate_detail::fault_t* fault);
};

/// The full pass up to the rows, which are not converted: every check, with `sink` in place of the pixel
/// block. `surface` stands for the surface of a full pass and may have any size; its palette is filled.
/// The record's imageDataOffset stays 0.
int32_t decode_into_sink(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface,
                         const image_data_sink_t& sink, fault_record_t* record);

} // namespace png_detail
