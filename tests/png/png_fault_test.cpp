// Every reason for which a file is rejected, in the order of the checks, with the chunk.
#include "tests/support/deflate_maker.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_runs.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <set>

namespace {

using png_detail::fault_record_t;
using png_detail::fault_t;

constexpr uint64_t kHeaderOffset = 8, kSecondChunkOffset = 33;

// The fault of both passes.
void expect_fault(fault_t fault, const byte_vector& file) {
    DsSurface surface = roomy_surface();
    EXPECT_EQ(record_of(file).fault, fault);
    EXPECT_EQ(record_of(file, &surface).fault, fault);
}

// A fault that only the full pass finds.
void expect_full_fault(fault_t fault, const byte_vector& file, DsSurface& surface) {
    EXPECT_EQ(record_of(file).fault, fault_t::none);
    EXPECT_EQ(record_of(file, &surface).fault, fault);
}

void expect_full_fault(fault_t fault, const byte_vector& file) {
    DsSurface surface = roomy_surface();
    expect_full_fault(fault, file, surface);
}

void expect_chunk(const fault_record_t& record, uint32_t index, uint64_t offset, uint32_t length,
                  const std::string& type) {
    EXPECT_EQ(record.chunkIndex, index);
    EXPECT_EQ(record.chunkOffset, offset);
    EXPECT_EQ(record.chunkLength, length);
    EXPECT_EQ(std::string(record.chunkType, record.chunkType + 4), type);
}

const std::string kNoType(4, '\0');

byte_vector cut(const byte_vector& file, size_t missing) {
    return slice(file, 0, file.size() - missing);
}

byte_vector stored_file(png_maker maker, const byte_vector& filtered) {
    return maker.deflate_stream(deflate_maker().stored(filtered, block_is::last).bytes()).bytes();
}

TEST(PngFault, IsNoneForValidFiles) {
    for (const uint8_t type : kColorTypes) {
        const byte_vector file = png().image(type, 3, 3).bytes();
        DsSurface surface = roomy_surface();
        EXPECT_EQ(record_of(file).fault, fault_t::none) << +type;
        EXPECT_EQ(record_of(file, &surface).fault, fault_t::none) << +type;
    }
}

// --- The signature

TEST(PngFault, NamesTheSignature) {
    byte_vector file = png().gray(2, 2).bytes();
    file[7] ^= 1;
    expect_fault(fault_t::signature, file);
    expect_fault(fault_t::signature, slice(file, 0, 7));
    expect_chunk(record_of(file), 0, 0, 0, kNoType);
}

// --- The frame of every chunk

TEST(PngFault, NamesAMissingEndChunk) {
    const byte_vector file = png().gray(2, 2).idat_bytes({1, 2, 3}).bytes();
    expect_fault(fault_t::end_chunk_missing, slice(file, 0, 8));
    expect_chunk(record_of(slice(file, 0, 8)), 1, kHeaderOffset, 0, kNoType);
    EXPECT_EQ(record_of(cut(file, 12)).fault, fault_t::end_chunk_missing);
    expect_chunk(record_of(cut(file, 12)), 3, 48, 0, kNoType);
}

TEST(PngFault, NamesATruncatedFrame) {
    const byte_vector file = png().gray(2, 2).idat_bytes({1, 2, 3}).bytes();
    for (const size_t missing : {1U, 8U, 11U}) {
        EXPECT_EQ(record_of(cut(file, missing)).fault, fault_t::chunk_frame_truncated);
        expect_chunk(record_of(cut(file, missing)), 3, 48, 0, kNoType);
    }
    expect_fault(fault_t::chunk_frame_truncated, slice(file, 0, 19));
}

TEST(PngFault, NamesATruncatedChunk) {
    const byte_vector file = png().gray(2, 2).idat_bytes({1, 2, 3}).bytes();
    expect_fault(fault_t::chunk_truncated, slice(file, 0, 32));
    expect_chunk(record_of(slice(file, 0, 32)), 1, kHeaderOffset, 13, "IHDR");
    expect_fault(fault_t::chunk_truncated, cut(file, 13));
    expect_chunk(record_of(cut(file, 13)), 2, kSecondChunkOffset, 3, "IDAT");
}

TEST(PngFault, NamesBothChecksums) {
    const png_chunk_t text = {"tEXt", {'a', 0, 'b'}, 0x10};
    const byte_vector file = png().gray(2, 2).chunk_before_idat(text).bytes();
    expect_fault(fault_t::chunk_crc, file);
    const fault_record_t record = record_of(file);
    expect_chunk(record, 2, kSecondChunkOffset, 3, "tEXt");
    EXPECT_EQ(record.storedCrc ^ record.actualCrc, 0x10U);
}

// --- The header

TEST(PngFault, NamesAMissingHeader) {
    expect_fault(fault_t::header_missing, png_file({{"tEXt", {1}}, {"IEND", {}}}));
}

TEST(PngFault, NamesAHeaderOfWrongLength) {
    expect_fault(fault_t::header_length, png_file({{"IHDR", byte_vector(14, 1)}, {"IEND", {}}}));
}

TEST(PngFault, NamesAnImageWithoutPixels) {
    expect_fault(fault_t::size_zero, png().gray(2, 2).declared_size(0, 2).bytes());
    expect_fault(fault_t::size_zero, png().gray(2, 2).declared_size(2, 0).bytes());
}

TEST(PngFault, NamesAnInvalidColorType) {
    for (const uint8_t type : byte_vector{1, 5, 7, 255}) {
        expect_fault(fault_t::color_type, png().gray(2, 2).declared_type(type).bytes());
    }
}

TEST(PngFault, NamesABitDepthNotAllowedForTheColorType) {
    expect_fault(fault_t::bit_depth, png().gray(2, 2).bit_depth(3).bytes());
    expect_fault(fault_t::bit_depth, png().rgb(2, 2).bit_depth(4).bytes());
    expect_fault(fault_t::bit_depth, png().indexed(2, 2).bit_depth(16).bytes());
}

TEST(PngFault, NamesEachInvalidMethod) {
    expect_fault(fault_t::compression_method, png().gray(2, 2).compression_method(1).bytes());
    expect_fault(fault_t::filter_method, png().gray(2, 2).filter_method(1).bytes());
    expect_fault(fault_t::interlace_method, png().gray(2, 2).interlace_method(2).bytes());
}

TEST(PngFault, NamesAnUnsupportedBitDepthBeforeInterlacing) {
    expect_fault(fault_t::bit_depth_unsupported, png().gray(2, 2).bit_depth(16).bytes());
    expect_fault(fault_t::bit_depth_unsupported,
                 png().gray(2, 2).bit_depth(16).interlace_method(1).bytes());
}

TEST(PngFault, NamesInterlacing) {
    expect_fault(fault_t::interlace_unsupported, png().gray(2, 2).interlace_method(1).bytes());
    expect_chunk(record_of(png().gray(2, 2).interlace_method(1).bytes()), 1, kHeaderOffset, 13,
                 "IHDR");
}

// --- The surface's pixel buffer

TEST(PngFault, NamesAMissingPixelBuffer) {
    const auto no_block = [](size_t) -> void* { return nullptr; };
    DsSurface surface(64, 64, 0, DsColorMode::ARGB8888, 0, 0, no_block, std::free, 1, 64);
    expect_full_fault(fault_t::pixel_buffer_missing, png().rgb(2, 2).bytes(), surface);
}

TEST(PngFault, NamesAPixelBufferThatIsTooSmall) {
    DsSurface surface = fenced_surface({131, 1});
    expect_full_fault(fault_t::pixel_buffer_too_small, png().gray(10, 12).bytes(), surface);
}

// --- The palette

TEST(PngFault, NamesAPaletteInAGrayImage) {
    expect_fault(fault_t::palette_in_gray_image, png().gray(2, 2).plte({1, 2, 3}).bytes());
    expect_fault(fault_t::palette_in_gray_image, png().gray_alpha(2, 2).plte({1, 2}).bytes());
}

TEST(PngFault, NamesASecondPalette) {
    const byte_vector file = png().indexed(2, 2).plte({1, 2, 3}).another_plte({1, 2, 3}).bytes();
    expect_fault(fault_t::palette_repeated, file);
    expect_chunk(record_of(file), 3, 48, 3, "PLTE");
}

TEST(PngFault, NamesAPaletteOfWrongLength) {
    expect_fault(fault_t::palette_length, png().indexed(2, 2).plte({1, 2, 3, 4}).bytes());
    expect_fault(fault_t::palette_length, png().indexed(2, 2).plte(byte_vector(771)).bytes());
}

TEST(PngFault, NamesAPaletteThatIsTooLargeForTheSurface) {
    DsSurface surface = fenced_surface({64, 64, DsColorMode::I8, 0, 3, 64});
    expect_full_fault(fault_t::palette_too_large, png().indexed(2, 2).palette(4).bytes(), surface);
}

TEST(PngFault, NamesASurfaceWithoutAPaletteBuffer) {
    DsSurface surface = fenced_surface({64, 64, DsColorMode::RGB888, 0, 256, 64});
    expect_full_fault(fault_t::palette_buffer_missing, png().rgb(2, 2).palette(4).bytes(), surface);
}

// --- Transparency

TEST(PngFault, NamesTransparencyAfterImageData) {
    expect_fault(fault_t::transparency_after_image_data,
                 png().gray(2, 2).chunk_after_idat({"tRNS", {0, 1}}).bytes());
}

TEST(PngFault, NamesAKeyColorOfWrongLength) {
    expect_fault(fault_t::key_color_length, png().gray(2, 2).trns({1}).bytes());
    expect_fault(fault_t::key_color_length, png().rgb(2, 2).trns({1, 2}).bytes());
}

TEST(PngFault, NamesTransparencyLongerThanThePalette) {
    expect_fault(fault_t::transparency_length,
                 png().indexed(2, 2).palette(2).trns({1, 2, 3}).bytes());
}

TEST(PngFault, NamesASurfaceWhosePaletteHasNoAlpha) {
    DsSurface surface = fenced_surface({64, 64, DsColorMode::I8, 0, 256, 64});
    expect_full_fault(fault_t::palette_without_alpha,
                      png().indexed(2, 2).palette(4).trns({1, 2}).bytes(), surface);
}

TEST(PngFault, NamesTransparencyInAnImageThatHasAlpha) {
    expect_fault(fault_t::transparency_beside_alpha, png().gray_alpha(2, 2).trns({1, 2}).bytes());
    expect_fault(fault_t::transparency_beside_alpha, png().rgba(2, 2).trns({1, 2}).bytes());
}

// --- Image data

TEST(PngFault, NamesImageDataShorterThanTwoBytes) {
    expect_fault(fault_t::image_data_length, png().gray(2, 2).idat_bytes({1}).bytes());
    const byte_vector data = png().gray(2, 2).image_data();
    EXPECT_EQ(record_of(png().gray(2, 2).idat_split_at({data.size() - 1}).bytes()).fault,
              fault_t::image_data_length);
}

TEST(PngFault, NamesImageDataBeforeThePalette) {
    std::vector<png_chunk_t> chunks = png().indexed(2, 2).palette(4).chunks();
    std::swap(chunks[1], chunks[2]);
    expect_full_fault(fault_t::image_data_before_palette, png_file(chunks));
}

TEST(PngFault, NamesMoreImageDataThanTheHeaderDeclares) {
    expect_full_fault(fault_t::image_data_overflow, stored_file(png().gray(2, 2), byte_vector(7)));
}

TEST(PngFault, NamesInvalidImageDataWithTheInflateFaultAndTheByte) {
    // Two bytes of zlib header, 5 + 3 of the stored block, and the header of a block of type 3.
    deflate_maker stream;
    stream.stored(byte_vector(3), block_is::followed).block_header(3, block_is::last);
    png_maker image = png().gray(2, 2).deflate_stream(stream.bytes());
    for (const std::vector<size_t>& splits : {std::vector<size_t>{}, {3, 6}, {10}}) {
        const byte_vector file = image.idat_split_at(splits).bytes();
        expect_full_fault(fault_t::image_data_invalid, file);
        DsSurface surface = roomy_surface();
        const fault_record_t record = record_of(file, &surface);
        SCOPED_TRACE(testing::Message() << splits.size() << " splits");
        EXPECT_EQ(record.inflateFault, inflate_detail::fault_t::block_type);
        EXPECT_EQ(record.imageDataOffset, 10U);
        EXPECT_EQ(record.chunkIndex, 2 + splits.size());
    }
}

TEST(PngFault, NamesAFixedCodeBlock) {
    const byte_vector raw = deflate_maker().fixed(block_is::last).end().bytes();
    const byte_vector file = png().gray(2, 2).deflate_stream(raw).bytes();
    expect_full_fault(fault_t::image_data_invalid, file);
    DsSurface surface = roomy_surface();
    EXPECT_EQ(record_of(file, &surface).inflateFault, inflate_detail::fault_t::fixed_code_block);
}

// --- Other chunks

TEST(PngFault, NamesASecondHeader) {
    const byte_vector header = png().gray(2, 2).image_header();
    const byte_vector file = png().gray(2, 2).chunk_before_idat({"IHDR", header}).bytes();
    expect_fault(fault_t::header_repeated, file);
    expect_chunk(record_of(file), 2, kSecondChunkOffset, 13, "IHDR");
}

TEST(PngFault, NamesAnUnknownCriticalChunkAsInTheFile) {
    const byte_vector file = png().gray(2, 2).chunk_before_idat({"AbCd", {}}).bytes();
    expect_fault(fault_t::critical_chunk_unknown, file);
    expect_chunk(record_of(file), 2, kSecondChunkOffset, 0, "AbCd");
}

// --- The end

TEST(PngFault, NamesMissingImageData) {
    std::vector<png_chunk_t> chunks = png().gray(2, 2).chunks();
    chunks.erase(chunks.begin() + 1);
    expect_fault(fault_t::image_data_missing, png_file(chunks));
}

TEST(PngFault, NamesTruncatedImageData) {
    const byte_vector raw = deflate_maker().stored(byte_vector(6), block_is::followed).bytes();
    expect_full_fault(fault_t::image_data_truncated, png().gray(2, 2).deflate_stream(raw).bytes());
}

// Only the header pass reaches this check: the full pass has stopped at the image data.
TEST(PngFault, NamesAMissingPalette) {
    std::vector<png_chunk_t> chunks = png().indexed(2, 2).chunks();
    chunks.erase(chunks.begin() + 1);
    EXPECT_EQ(record_of(png_file(chunks)).fault, fault_t::palette_missing);
}

// --- The rows

TEST(PngFault, NamesASurfaceWithoutAPaletteBufferForTheGrayRamp) {
    DsSurface surface = fenced_surface({64, 64, DsColorMode::RGB888, 0, 256, 64});
    expect_full_fault(fault_t::gray_ramp_buffer_missing, png().gray(2, 2).bytes(), surface);
}

TEST(PngFault, NamesRowsThatEndTooEarly) {
    const png_maker image = png().gray(1, 1).declared_size(1, 0x80000010);
    DsSurface surface = fenced_surface({1, 4096});
    byte_vector rows(32, kNone);
    expect_full_fault(fault_t::rows_truncated, stored_file(image, rows), surface);
    rows[0] = 5; // one row without pixels: the last filter byte has none
    expect_full_fault(fault_t::rows_truncated, stored_file(image, rows), surface);
}

TEST(PngFault, NamesRowsThatDoNotFitTheSurface) {
    DsSurface surface = fenced_surface({500, 1});
    expect_full_fault(fault_t::rows_do_not_fit, png().gray(10, 12).bytes(), surface);
}

// --- Records

TEST(PngFault, AgreesWithTheResultInEveryEntry) {
    for (size_t i = 0; i < static_cast<size_t>(fault_t::count); ++i) {
        const auto fault = static_cast<fault_t>(i);
        EXPECT_EQ(png_detail::result_of(fault) == kPngOk, fault == fault_t::none) << i;
    }
}

// Both passes for every truncation and every changed byte. Each run compares the fault with the result of
// png_decode().
TEST(PngFault, AgreesWithTheResultOfEveryDamagedFile) {
    std::set<fault_t> seen;
    size_t image = 0;
    for (const png_maker& maker :
         {png().gray(5, 4), png().rgb(3, 3).trns(byte_vector(6, 2)),
          png().indexed(6, 3).palette(4).trns({1, 2, 3}).chunk_before_idat({"tEXt", {'a', 0, 'b'}}),
          png().gray_alpha(4, 4).idat_split_at({2, 4, 6}), png().rgba(3, 4).palette(3)}) {
        SCOPED_TRACE(testing::Message() << "image " << image++);
        const byte_vector sound = maker.bytes();
        const auto look = [&](const byte_vector& file) {
            both_passes(file);
            DsSurface surface = roomy_surface();
            seen.insert(record_of(file).fault);
            seen.insert(record_of(file, &surface).fault);
        };
        for (size_t at = 0; at < sound.size(); ++at) {
            look(slice(sound, 0, at));
            for (const uint8_t flips : byte_vector{1, 2, 4, 8, 0x20, 0x80, 0xFF}) {
                byte_vector file = sound;
                file[at] ^= flips;
                look(file);
                look(with_correct_crcs(file));
                ASSERT_FALSE(testing::Test::HasFailure()) << "byte " << at << ", flips " << +flips;
            }
        }
    }
    EXPECT_GT(seen.size(), 25U);
}

TEST(PngFault, IsTheSameWithASinkForTheImageData) {
    struct counting_t {
        uint64_t bytes = 0;
        static int32_t take(void* context, const uint8_t*, uint32_t size,
                            inflate_detail::fault_t* fault) {
            static_cast<counting_t*>(context)->bytes += size;
            *fault = inflate_detail::fault_t::none;
            return kInflateDone;
        }
    };
    const auto fault_with_sink = [](const byte_vector& file, counting_t& counting) {
        DsSurface stand_in = fenced_surface({1, 1, DsColorMode::RGB888, 0, 3, 0});
        png_info_t info = {};
        fault_record_t record = {};
        png_detail::decode_into_sink(file.data(), file.size(), &info, &stand_in,
                                     {&counting, counting_t::take}, &record);
        return record.fault;
    };
    counting_t counting;
    const png_maker image = png().rgb(3, 3).idat_split_at({5, 9});
    EXPECT_EQ(fault_with_sink(image.bytes(), counting), fault_t::none);
    EXPECT_EQ(counting.bytes, image.image_data().size() - png_detail::kZlibHeaderSize);
    EXPECT_EQ(fault_with_sink(png().rgb(3, 3).palette(3).bytes(), counting),
              fault_t::palette_buffer_missing);
    EXPECT_EQ(fault_with_sink(png().rgb(3, 3).bit_depth(16).bytes(), counting),
              fault_t::bit_depth_unsupported);
}

} // namespace
