// The decoder names each fault, its chunk, and its place; here are only the words.
#include "tools/slabtool/images/png_reason.h"

#include "inflate/src/internal/inflate_rehearsal.h"
#include "png/internal/png_decoder.h"
#include "src/ds_surface.h"
#include "tools/slabtool/images/sparse_block.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

namespace {

using png_detail::fault_record_t;
using png_detail::fault_t;

constexpr uint64_t kChunkFrame = 12; // length, type, and checksum
constexpr const char* kUnknown = "for a reason that slabtool does not know";
constexpr const char* kUnknownCode = "unknown";

std::string number(uint64_t value) {
    return std::to_string(value);
}

std::string hex(uint32_t value) {
    char text[9];
    std::snprintf(text, sizeof text, "%08X", value);
    return text;
}

// ---- The second pass without pixels

// Takes the image data of one file.
class ImageDataRun {
public:
    explicit ImageDataRun(const png_info_t& info)
        : mState(std::make_unique<inflate_detail::rehearsal_t>()) {
        rehearsal_begin(mState.get(), png_detail::filtered_size(info));
    }

    png_detail::image_data_sink_t sink() { return {mState.get(), take}; }

    // The byte where the run stands. As in the messages, it counts from the start of the image data.
    uint64_t position() const { return toImageData(rehearsal_position(*mState)); }

    // The words for fixed-code blocks, if there are any.
    std::optional<std::string> fixedBlocks() const {
        if (mState->fixedBlocks == 0) {
            return std::nullopt;
        }
        const std::string range =
            "bytes " + number(toImageData(mState->firstFixedBlock.firstByte)) + " to " +
            number(toImageData(mState->firstFixedBlock.lastByte)) + " of the image data";
        return mState->fixedBlocks == 1 ? "a fixed-code DEFLATE block in " + range
                                        : "fixed-code DEFLATE blocks, the first of " +
                                              number(mState->fixedBlocks) + " in " + range;
    }

private:
    static uint64_t toImageData(uint64_t streamByte) {
        return png_detail::kZlibHeaderSize + streamByte;
    }

    static int32_t take(void* context, const uint8_t* data, uint32_t size,
                        inflate_detail::fault_t* fault) {
        auto* const state = static_cast<inflate_detail::rehearsal_t*>(context);
        const int32_t result = rehearsal_take(state, data, size);
        *fault = state->fault;
        return result;
    }

    std::unique_ptr<inflate_detail::rehearsal_t> mState;
};

// A surface of one pixel with the mode and the palette that the image calls for.
DsSurface standInFor(const png_info_t& info) {
    return DsSurface(1, 1, 0, info.colorMode, info.paletteHasAlpha, info.paletteSize,
                     allocateSparse, releaseSparse, 1, 0);
}

// ---- Words

std::string bitsASample(uint32_t depth) {
    return number(depth) + (depth == 1 ? " bit a sample" : " bits a sample");
}

std::string wordsOf(inflate_detail::fault_t fault) {
    using inflate_detail::fault_t;
    switch (fault) {
    case fault_t::block_type:
        return "a block of a type that does not exist";
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
        return "a block whose codes make no sense";
    case fault_t::litlen_symbol:
    case fault_t::length_symbol:
    case fault_t::distance_symbol:
    case fault_t::distance_without_base:
        return "bits that are no code";
    case fault_t::distance_too_far:
        return "a match that reaches back behind the first byte";
    case fault_t::none:
    case fault_t::state:
    case fault_t::fixed_code_block:
    case fault_t::count:
        break; // no fault, none of a stream, or the one that has words of its own
    }
    return kUnknown;
}

// The code of each fault.
const char* codeOf(fault_t fault) {
    switch (fault) {
    case fault_t::signature:
        return "not-png";
    case fault_t::end_chunk_missing:
    case fault_t::chunk_frame_truncated:
    case fault_t::chunk_truncated:
    case fault_t::image_data_missing:
    case fault_t::image_data_truncated:
        return "truncated";
    case fault_t::chunk_crc:
        return "checksum";
    case fault_t::header_missing:
    case fault_t::header_length:
    case fault_t::header_repeated:
    case fault_t::size_zero:
    case fault_t::color_type:
    case fault_t::bit_depth:
    case fault_t::compression_method:
    case fault_t::filter_method:
    case fault_t::interlace_method:
        return "header";
    case fault_t::bit_depth_unsupported:
        return "bit-depth";
    case fault_t::interlace_unsupported:
        return "interlaced";
    case fault_t::palette_in_gray_image:
    case fault_t::palette_repeated:
    case fault_t::palette_length:
    case fault_t::palette_missing:
    case fault_t::image_data_before_palette:
        return "bad-palette";
    case fault_t::palette_too_large:
    case fault_t::palette_block_missing:
        return "suggested-palette";
    case fault_t::transparency_after_image_data:
    case fault_t::transparency_beside_alpha:
    case fault_t::key_color_length:
    case fault_t::transparency_length:
        return "bad-transparency";
    case fault_t::image_data_length:
        return "short-image-data";
    case fault_t::image_data_overflow:
        return "too-many-rows";
    case fault_t::image_data_invalid:
        return "bad-image-data";
    case fault_t::critical_chunk_unknown:
        return "critical-chunk";
    case fault_t::none:
    case fault_t::pixel_block_missing:
    case fault_t::pixel_block_too_small:
    case fault_t::palette_without_alpha:
    case fault_t::gray_ramp_block_missing:
    case fault_t::rows_truncated:
    case fault_t::rows_do_not_fit:
    case fault_t::count:
        break;
    }
    return kUnknownCode;
}

class Words {
public:
    Words(const fault_record_t& record, const png_info_t& info, uint64_t fileSize)
        : mRecord(record)
        , mInfo(info)
        , mFileSize(fileSize) {}

    std::string text(uint64_t imageDataOffset) const {
        switch (mRecord.fault) {
        case fault_t::signature:
            return "not a PNG file: its first 8 bytes are others";
        case fault_t::end_chunk_missing:
            return "the file ends behind chunk " + number(mRecord.chunkIndex - 1) +
                   ", without an IEND chunk";
        case fault_t::chunk_frame_truncated:
            return "the file ends inside the frame of chunk " + number(mRecord.chunkIndex);
        case fault_t::chunk_truncated:
            return "the file ends inside " + place() + ", " + number(chunkEnd() - mFileSize) +
                   " bytes too early";
        case fault_t::chunk_crc:
            return "the checksum of " + place() + " is " + hex(mRecord.storedCrc) +
                   ", but its bytes give " + hex(mRecord.actualCrc);
        case fault_t::header_missing:
        case fault_t::header_length:
            return "the file does not begin with an IHDR chunk of 13 bytes, but with " + place();
        case fault_t::size_zero:
            return "the header declares no pixels: " + number(mInfo.width) + " x " +
                   number(mInfo.height);
        case fault_t::color_type:
            return "the header has color type " + number(mInfo.colorType) +
                   ", which does not exist";
        case fault_t::bit_depth:
            return "the header has " + bitsASample(mInfo.bitDepth) + ", which color type " +
                   number(mInfo.colorType) + " cannot have";
        case fault_t::compression_method:
        case fault_t::filter_method:
        case fault_t::interlace_method:
            return "the header has compression, filter and interlace method " +
                   number(mInfo.compressionMethod) + ", " + number(mInfo.filterMethod) + " and " +
                   number(mInfo.interlaceMethod) + ", which do not all exist";
        case fault_t::bit_depth_unsupported:
            return bitsASample(mInfo.bitDepth) + " instead of 8" +
                   (mInfo.interlaceMethod != 0 ? ", and interlaced" : "");
        case fault_t::interlace_unsupported:
            return "interlaced";
        case fault_t::palette_in_gray_image:
            return "a palette in a grayscale image: " + place();
        case fault_t::palette_repeated:
            return "a second palette: " + place();
        case fault_t::palette_length:
            return "a palette of " + number(mRecord.chunkLength) +
                   " bytes, which are not up to 256 times 3: " + place();
        case fault_t::palette_too_large:
        case fault_t::palette_block_missing:
            return "a suggested palette in a truecolor image: " + place();
        case fault_t::transparency_after_image_data:
            return "transparency behind image data: " + place();
        case fault_t::transparency_beside_alpha:
            return "transparency in an image that has alpha: " + place();
        case fault_t::key_color_length:
            return transparencyOf("the color type: ");
        case fault_t::transparency_length:
            return transparencyOf("the palette of " + number(mInfo.paletteSize) + " entries: ");
        case fault_t::image_data_length:
            return "image data of fewer than 2 bytes: " + place();
        case fault_t::image_data_before_palette:
            return "image data in front of the palette: " + place();
        case fault_t::image_data_overflow:
            return "the image data hold more lines than the header declares";
        case fault_t::image_data_invalid:
            return "the image data are broken at byte " + number(imageDataOffset) + ": " +
                   wordsOf(mRecord.inflateFault);
        case fault_t::header_repeated:
            return "a second header: " + place();
        case fault_t::critical_chunk_unknown:
            return "a critical chunk of unknown meaning: " + place();
        case fault_t::image_data_missing:
            return "there are no image data";
        case fault_t::image_data_truncated:
            return "the image data end before their last DEFLATE block does";
        case fault_t::palette_missing:
            return "an indexed image without a palette";
        case fault_t::none:
        case fault_t::pixel_block_missing:
        case fault_t::pixel_block_too_small:
        case fault_t::palette_without_alpha:
        case fault_t::gray_ramp_block_missing:
        case fault_t::rows_truncated:
        case fault_t::rows_do_not_fit:
        case fault_t::count:
            break; // no fault, or one that a surface of the right kind excludes
        }
        return kUnknown;
    }

private:
    uint64_t chunkEnd() const { return mRecord.chunkOffset + kChunkFrame + mRecord.chunkLength; }

    std::string place() const {
        std::string type(mRecord.chunkType, mRecord.chunkType + sizeof mRecord.chunkType);
        std::replace_if(
            type.begin(), type.end(),
            [](char c) { return std::isalpha(static_cast<unsigned char>(c)) == 0; }, '?');
        return "chunk " + number(mRecord.chunkIndex) + " (" + type + ", bytes " +
               number(mRecord.chunkOffset) + " to " + number(chunkEnd() - 1) + ")";
    }

    std::string transparencyOf(const std::string& what) const {
        return "transparency of " + number(mRecord.chunkLength) + " bytes, which does not fit " +
               what + place();
    }

    const fault_record_t& mRecord;
    const png_info_t& mInfo;
    uint64_t mFileSize;
};

} // namespace

std::optional<Finding> whyRejected(ByteView file) {
    png_info_t info = {};
    fault_record_t record = {};
    if (png_detail::decode(file.data(), file.size(), &info, nullptr, &record) != kPngOk) {
        return Finding{codeOf(record.fault), Words(record, info, file.size()).text(0)};
    }
    ImageDataRun run(info);
    DsSurface standIn = standInFor(info);
    const int32_t result = png_detail::decode_into_sink(file.data(), file.size(), &info, &standIn,
                                                        run.sink(), &record);
    // The decoder stops at the first fixed-code block, so nothing behind it counts.
    if (auto fixedBlocks = run.fixedBlocks()) {
        return Finding{"fixed-code-block", *fixedBlocks};
    }
    if (result != kPngOk) {
        return Finding{codeOf(record.fault), Words(record, info, file.size()).text(run.position())};
    }
    return std::nullopt;
}
