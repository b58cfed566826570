// The decoder records each fault with its chunk and offset. This file translates the record into text.
#include "tools/slabtool/images/png_reason.h"

#include "inflate/src/internal/inflate_rehearsal.h"
#include "png/internal/png_decoder.h"
#include "src/ds_surface.h"
#include "tools/slabtool/images/sparse_buffer.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

namespace {

using png_detail::fault_record_t;
using png_detail::fault_t;

constexpr uint64_t kChunkFrame = 12; // bytes of the length, type and checksum

std::string number(uint64_t value) {
    return std::to_string(value);
}

std::string hex(uint32_t value) {
    char text[9];
    std::snprintf(text, sizeof text, "%08X", value);
    return text;
}

// ---- The second pass without pixels

// Receives the image data of one file.
class ImageDataRun {
public:
    explicit ImageDataRun(const png_info_t& info)
        : mState(std::make_unique<inflate_detail::rehearsal_t>()) {
        rehearsal_begin(mState.get(), png_detail::filtered_size(info));
    }

    png_detail::image_data_sink_t sink() { return {mState.get(), consume}; }

    // The current byte, counted from the start of the image data as in the messages.
    uint64_t position() const { return toImageData(rehearsal_position(*mState)); }

    // Describes the fixed-code blocks, if there are any.
    std::optional<std::string> fixedBlocks() const {
        if (mState->fixedBlocks == 0) {
            return std::nullopt;
        }
        const std::string range =
            "bytes " + number(toImageData(mState->firstFixedBlock.firstByte)) + " to " +
            number(toImageData(mState->firstFixedBlock.lastByte)) + " of the image data";
        return mState->fixedBlocks == 1
                   ? "a fixed-code DEFLATE block in " + range
                   : number(mState->fixedBlocks) + " fixed-code DEFLATE blocks, the first one in " +
                         range;
    }

private:
    static uint64_t toImageData(uint64_t streamByte) {
        return png_detail::kZlibHeaderSize + streamByte;
    }

    static int32_t consume(void* context, const uint8_t* data, uint32_t size,
                           inflate_detail::fault_t* fault) {
        auto* const state = static_cast<inflate_detail::rehearsal_t*>(context);
        const int32_t result = rehearsal_feed(state, data, size);
        *fault = state->fault;
        return result;
    }

    std::unique_ptr<inflate_detail::rehearsal_t> mState;
};

// A surface of one pixel, with the mode and the palette of the image.
DsSurface placeholderSurface(const png_info_t& info) {
    return DsSurface(1, 1, 0, info.colorMode, info.paletteHasAlpha, info.paletteSize,
                     allocateSparse, releaseSparse, 1, 0);
}

// ---- Text

std::string bitsASample(uint32_t depth) {
    return number(depth) + (depth == 1 ? " bit a sample" : " bits a sample");
}

std::string describe(inflate_detail::fault_t fault) {
    using inflate_detail::fault_t;
    switch (fault) {
    case fault_t::block_type:
        return "an unknown block type";
    case fault_t::stored_complement:
        return "a stored block whose length does not match its complement";
    case fault_t::code_counts:
    case fault_t::code_length_code:
    case fault_t::code_length_symbol:
    case fault_t::code_length_kind:
    case fault_t::repeat_of_nothing:
    case fault_t::repeat_too_long:
    case fault_t::end_of_block_missing:
    case fault_t::litlen_code:
    case fault_t::distance_code:
        return "a block with invalid Huffman codes";
    case fault_t::litlen_symbol:
    case fault_t::length_symbol:
    case fault_t::distance_symbol:
    case fault_t::distance_without_base:
        return "bits that match no code";
    case fault_t::distance_too_far:
        return "a match that starts before the first byte";
    case fault_t::none:
    case fault_t::state:
    case fault_t::fixed_code_block:
    case fault_t::count:
        break; // no fault, none of a stream, or reported separately
    }
    return kUnknownReason.text;
}

// Translates the fault of one file into a finding.
class FaultReport {
public:
    FaultReport(const fault_record_t& record, const png_info_t& info, uint64_t fileSize)
        : mRecord(record)
        , mInfo(info)
        , mFileSize(fileSize) {}

    /// @param imageDataOffset the byte of the image data at which the decoder stopped
    Finding finding(uint64_t imageDataOffset) const {
        switch (mRecord.fault) {
        case fault_t::signature:
            return {"not-png", "not a PNG file: its first 8 bytes are not the PNG signature"};
        case fault_t::end_chunk_missing:
            return {"truncated", "the file ends after chunk " + number(mRecord.chunkIndex - 1) +
                                     ", without an IEND chunk"};
        case fault_t::chunk_frame_truncated:
            return {"truncated", "the file ends within the first " + number(kChunkFrame) +
                                     " bytes of chunk " + number(mRecord.chunkIndex)};
        case fault_t::chunk_truncated:
            return {"truncated", "the file ends inside " + chunk() + ", " +
                                     number(chunkEnd() - mFileSize) + " bytes too early"};
        case fault_t::image_data_missing:
            return {"truncated", "the file has no image data"};
        case fault_t::image_data_truncated:
            return {"truncated", "the image data end before the last DEFLATE block is complete"};
        case fault_t::chunk_crc:
            return {"checksum", "the checksum of " + chunk() + " is " + hex(mRecord.storedCrc) +
                                    ", but its bytes give " + hex(mRecord.actualCrc)};
        case fault_t::header_missing:
        case fault_t::header_length:
            return {"header",
                    "the file does not begin with an IHDR chunk of 13 bytes, but with " + chunk()};
        case fault_t::header_repeated:
            return {"header", "a second header: " + chunk()};
        case fault_t::size_zero:
            return {"header", "the header declares no pixels: " + number(mInfo.width) + " x " +
                                  number(mInfo.height)};
        case fault_t::color_type:
            return {"header", "the header has color type " + number(mInfo.colorType) +
                                  ", which does not exist"};
        case fault_t::bit_depth:
            return {"header", "the header has " + bitsASample(mInfo.bitDepth) +
                                  ", which color type " + number(mInfo.colorType) +
                                  " does not allow"};
        case fault_t::compression_method:
        case fault_t::filter_method:
        case fault_t::interlace_method:
            return {"header", "the header has an unknown method: compression " +
                                  number(mInfo.compressionMethod) + ", filter " +
                                  number(mInfo.filterMethod) + ", interlace " +
                                  number(mInfo.interlaceMethod)};
        case fault_t::bit_depth_unsupported:
            return {"bit-depth", bitsASample(mInfo.bitDepth) + " instead of 8" +
                                     (mInfo.interlaceMethod != 0 ? ", and interlaced" : "")};
        case fault_t::interlace_unsupported:
            return {"interlaced", "interlaced"};
        case fault_t::palette_in_gray_image:
            return {"bad-palette", "a palette in a grayscale image: " + chunk()};
        case fault_t::palette_repeated:
            return {"bad-palette", "a second palette: " + chunk()};
        case fault_t::palette_length:
            return {"bad-palette",
                    "a palette of " + number(mRecord.chunkLength) +
                        " bytes, which is not a multiple of 3 up to 768: " + chunk()};
        case fault_t::palette_missing:
            return {"bad-palette", "an indexed image without a palette"};
        case fault_t::image_data_before_palette:
            return {"bad-palette", "image data before the palette: " + chunk()};
        case fault_t::palette_too_large:
        case fault_t::palette_buffer_missing:
            return {"suggested-palette", "a suggested palette in a truecolor image: " + chunk()};
        case fault_t::transparency_after_image_data:
            return {"bad-transparency", "transparency after image data: " + chunk()};
        case fault_t::transparency_beside_alpha:
            return {"bad-transparency", "transparency in an image that has alpha: " + chunk()};
        case fault_t::key_color_length:
            return transparencyMismatch("the color type: ");
        case fault_t::transparency_length:
            return transparencyMismatch("the palette of " + number(mInfo.paletteSize) +
                                        " entries: ");
        case fault_t::image_data_length:
            return {"short-image-data", "image data of fewer than 2 bytes: " + chunk()};
        case fault_t::image_data_overflow:
            return {"too-many-rows", "the image data have more rows than the header declares"};
        case fault_t::image_data_invalid:
            return {"bad-image-data", "the image data are invalid at byte " +
                                          number(imageDataOffset) + ": " +
                                          describe(mRecord.inflateFault)};
        case fault_t::critical_chunk_unknown:
            return {"critical-chunk", "an unknown critical chunk: " + chunk()};
        case fault_t::none:
        case fault_t::pixel_buffer_missing:
        case fault_t::pixel_buffer_too_small:
        case fault_t::palette_without_alpha:
        case fault_t::gray_ramp_buffer_missing:
        case fault_t::rows_truncated:
        case fault_t::rows_do_not_fit:
        case fault_t::count:
            break; // no fault, or one that cannot occur with the placeholder surface
        }
        return kUnknownReason;
    }

private:
    uint64_t chunkEnd() const { return mRecord.chunkOffset + kChunkFrame + mRecord.chunkLength; }

    // "chunk 2 (IDAT, bytes 33 to 60)"
    std::string chunk() const {
        std::string type(mRecord.chunkType, mRecord.chunkType + sizeof mRecord.chunkType);
        std::replace_if(
            type.begin(), type.end(),
            [](char c) { return std::isalpha(static_cast<unsigned char>(c)) == 0; }, '?');
        return "chunk " + number(mRecord.chunkIndex) + " (" + type + ", bytes " +
               number(mRecord.chunkOffset) + " to " + number(chunkEnd() - 1) + ")";
    }

    Finding transparencyMismatch(const std::string& what) const {
        return {"bad-transparency", "transparency of " + number(mRecord.chunkLength) +
                                        " bytes, which does not fit " + what + chunk()};
    }

    const fault_record_t& mRecord;
    const png_info_t& mInfo;
    uint64_t mFileSize;
};

} // namespace

const Finding kUnknownReason = {"unknown", "slabtool does not know the reason"};

std::optional<Finding> whyRejected(ByteView file) {
    png_info_t info = {};
    fault_record_t record = {};
    if (png_detail::decode(file.data(), file.size(), &info, nullptr, &record) != kPngOk) {
        return FaultReport(record, info, file.size()).finding(0);
    }
    ImageDataRun run(info);
    DsSurface placeholder = placeholderSurface(info);
    const int32_t result = png_detail::decode_into_sink(file.data(), file.size(), &info,
                                                        &placeholder, run.sink(), &record);
    // The decoder stops at the first fixed-code block, so a later fault is not the reason.
    if (auto fixedBlocks = run.fixedBlocks()) {
        return Finding{"fixed-code-block", *fixedBlocks};
    }
    if (result != kPngOk) {
        return FaultReport(record, info, file.size()).finding(run.position());
    }
    return std::nullopt;
}
