// The reasons for which the decoder rejects a file, one for each check, and a record with the position.
#pragma once

#include "inflate/src/internal/inflate_fault.h"
#include "png/png_decode.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace png_detail {

/// In the order of the checks.
enum class fault_t : uint8_t {
    none,
    signature, ///< the first eight bytes differ or are missing
    // Every chunk, the header included
    end_chunk_missing,     ///< the file ends where a chunk must begin
    chunk_frame_truncated, ///< fewer bytes are left than length, type and CRC need
    chunk_truncated,
    chunk_crc,
    // The header
    header_missing, ///< the first chunk has another type
    header_length,
    size_zero,
    color_type,
    bit_depth, ///< not allowed for the color type
    compression_method,
    filter_method,
    interlace_method,
    bit_depth_unsupported,
    interlace_unsupported,
    // The surface's pixel buffer
    pixel_buffer_missing,
    pixel_buffer_too_small,
    // PLTE
    palette_in_gray_image,
    palette_repeated,
    palette_length,
    palette_too_large, ///< for the surface
    palette_buffer_missing,
    // tRNS
    transparency_after_image_data,
    key_color_length,
    transparency_length, ///< more bytes than palette entries
    palette_without_alpha,
    transparency_beside_alpha,
    // IDAT
    image_data_length,
    image_data_before_palette,
    image_data_overflow, ///< more rows than the header declares
    image_data_invalid,  ///< see fault_record_t::inflateFault
    // Other chunks
    header_repeated,
    critical_chunk_unknown,
    // Chunks that are missing at the end
    image_data_missing,
    image_data_truncated,
    palette_missing,
    // The palette and the rows of the surface
    gray_ramp_buffer_missing,
    rows_truncated, ///< the filtered rows end too early
    rows_do_not_fit,
    count
};

/// The result of png_decode() for each fault. No other code chooses a result.
struct fault_result_t {
    fault_t fault;
    int32_t result;
};
inline constexpr fault_result_t kFaultResults[] = {
    {fault_t::none, kPngOk},
    {fault_t::signature, kPngMalformed},
    {fault_t::end_chunk_missing, kPngMalformed},
    {fault_t::chunk_frame_truncated, kPngMalformed},
    {fault_t::chunk_truncated, kPngMalformed},
    {fault_t::chunk_crc, kPngMalformed},
    {fault_t::header_missing, kPngMalformed},
    {fault_t::header_length, kPngMalformed},
    {fault_t::size_zero, kPngMalformed},
    {fault_t::color_type, kPngMalformed},
    {fault_t::bit_depth, kPngMalformed},
    {fault_t::compression_method, kPngMalformed},
    {fault_t::filter_method, kPngMalformed},
    {fault_t::interlace_method, kPngMalformed},
    {fault_t::bit_depth_unsupported, kPngUnsupported},
    {fault_t::interlace_unsupported, kPngUnsupported},
    {fault_t::pixel_buffer_missing, kPngDoesNotFit},
    {fault_t::pixel_buffer_too_small, kPngDoesNotFit},
    {fault_t::palette_in_gray_image, kPngMalformed},
    {fault_t::palette_repeated, kPngMalformed},
    {fault_t::palette_length, kPngMalformed},
    {fault_t::palette_too_large, kPngDoesNotFit},
    {fault_t::palette_buffer_missing, kPngDoesNotFit},
    {fault_t::transparency_after_image_data, kPngMalformed},
    {fault_t::key_color_length, kPngMalformed},
    {fault_t::transparency_length, kPngMalformed},
    {fault_t::palette_without_alpha, kPngDoesNotFit},
    {fault_t::transparency_beside_alpha, kPngMalformed},
    {fault_t::image_data_length, kPngMalformed},
    {fault_t::image_data_before_palette, kPngMalformed},
    {fault_t::image_data_overflow, kPngMalformed},
    {fault_t::image_data_invalid, kPngMalformed},
    {fault_t::header_repeated, kPngUnsupported},
    {fault_t::critical_chunk_unknown, kPngUnsupported},
    {fault_t::image_data_missing, kPngMalformed},
    {fault_t::image_data_truncated, kPngMalformed},
    {fault_t::palette_missing, kPngMalformed},
    {fault_t::gray_ramp_buffer_missing, kPngDoesNotFit},
    {fault_t::rows_truncated, kPngMalformed},
    {fault_t::rows_do_not_fit, kPngDoesNotFit},
};

consteval bool has_every_fault_in_order() {
    for (size_t i = 0; i < std::size(kFaultResults); ++i) {
        if (kFaultResults[i].fault != static_cast<fault_t>(i)) {
            return false;
        }
    }
    return std::size(kFaultResults) == static_cast<size_t>(fault_t::count);
}
static_assert(has_every_fault_in_order());

constexpr int32_t result_of(fault_t fault) {
    return kFaultResults[static_cast<size_t>(fault)].result;
}

/// The details of a rejection. Fields without a meaning for the fault are zero. The image's sizes and types are in the
/// caller's png_info_t.
struct fault_record_t {
    fault_t fault;
    inflate_detail::fault_t inflateFault; ///< for image_data_invalid
    /// The current or last chunk, counted from 1; 0 is the signature. For end_chunk_missing: the missing chunk, one
    /// more than the file has.
    uint32_t chunkIndex;
    uint64_t chunkOffset; ///< of the chunk's length field in the file, or the end of the file
    uint32_t chunkLength; ///< of the chunk's data; 0 if the frame is truncated
    uint8_t chunkType[4]; ///< as in the file; zeros if the frame is truncated
    uint32_t storedCrc, actualCrc; ///< for chunk_crc
    /// The position of the inflate decoder, in bytes from the start of the image data of all IDAT chunks.
    uint64_t imageDataOffset;
};

} // namespace png_detail
