// The checks before the second chunk: signature, bounds and header fields, with the result of each check
// and the information record.
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_runs.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

constexpr both_results_t kBothMalformed{kPngMalformed, kPngMalformed};
constexpr both_results_t kBothUnsupported{kPngUnsupported, kPngUnsupported};
constexpr both_results_t kBothOk{kPngOk, kPngOk};

byte_vector small_file() {
    return png().gray(4, 4).bytes();
}

byte_vector file_with_header(const std::string& name, const byte_vector& data) {
    std::vector<png_chunk_t> chunks = png().gray(4, 4).chunks();
    chunks[0] = {name, data};
    return png_file(chunks);
}

bool is_untouched(const png_info_t& info) {
    png_info_t stale;
    std::memset(static_cast<void*>(&stale), kStaleByte, sizeof stale);
    return std::memcmp(&stale, &info, sizeof info) == 0;
}

TEST(PngSignature, RejectsShorterFilesAndAnEmptyOne) {
    for (size_t size = 0; size < 8; ++size) {
        EXPECT_EQ(both_passes(slice(small_file(), 0, size)), kBothMalformed) << size;
    }
}

TEST(PngSignature, RejectsAnyOtherByte) {
    for (size_t position = 0; position < 8; ++position) {
        for (uint32_t bit = 0; bit < 8; ++bit) {
            byte_vector file = small_file();
            file[position] ^= static_cast<uint8_t>(1U << bit);
            EXPECT_EQ(both_passes(file), kBothMalformed) << "byte " << position << ", bit " << bit;
        }
    }
}

TEST(PngHeader, RejectsAFileThatEndsInsideIt) {
    for (size_t size = 8; size < 33; ++size) {
        const header_outcome_t outcome = header_pass(slice(small_file(), 0, size));
        EXPECT_EQ(outcome.result, kPngMalformed) << size;
        EXPECT_TRUE(is_untouched(outcome.info)) << size;
    }
}

TEST(PngHeader, RejectsEveryLengthBeyondTheFile) {
    const uint32_t rest = static_cast<uint32_t>(small_file().size()) - 12;
    for (const uint32_t length : {rest - 7, rest, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U,
                                  0xFFFFFFF4U, 0xFFFFFFF7U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        byte_vector file = small_file();
        for (uint32_t i = 0; i < 4; ++i) {
            file[8 + i] = static_cast<uint8_t>(length >> (24 - 8 * i));
        }
        const header_outcome_t outcome = header_pass(file);
        EXPECT_EQ(outcome.result, kPngMalformed) << length;
        EXPECT_TRUE(is_untouched(outcome.info)) << length;
    }
}

TEST(PngHeader, RejectsEveryFlippedBit) {
    for (size_t position = 12; position < 33; ++position) {
        for (uint32_t bit = 0; bit < 8; ++bit) {
            byte_vector file = small_file();
            file[position] ^= static_cast<uint8_t>(1U << bit);
            const header_outcome_t outcome = header_pass(file);
            EXPECT_EQ(outcome.result, kPngMalformed) << "byte " << position << ", bit " << bit;
            EXPECT_TRUE(is_untouched(outcome.info)) << "byte " << position << ", bit " << bit;
        }
    }
}

TEST(PngHeader, MustComeFirst) {
    for (const char* name : {"IDAT", "IEND", "PLTE", "tEXt", "IHDS", "JHDR"}) {
        const byte_vector file = file_with_header(name, png().gray(4, 4).image_header());
        EXPECT_EQ(both_passes(file), kBothMalformed) << name;
        EXPECT_TRUE(is_untouched(header_pass(file).info)) << name;
    }
}

TEST(PngHeader, MustHaveThirteenBytes) {
    for (const size_t length : {0U, 1U, 12U, 14U, 26U}) {
        byte_vector data = png().gray(4, 4).image_header();
        data.resize(length);
        const byte_vector file = file_with_header("IHDR", data);
        EXPECT_EQ(both_passes(file), kBothMalformed) << length;
        EXPECT_TRUE(is_untouched(header_pass(file).info)) << length;
    }
}

TEST(PngHeader, MayBeNamedInAnyCase) {
    for (const char* name : {"ihdr", "IhDr", "iHDR", "Ihdr"}) {
        const byte_vector file = file_with_header(name, png().gray(4, 4).image_header());
        EXPECT_EQ(both_passes(file), kBothOk) << name;
    }
}

TEST(PngHeader, RejectsEmptyImages) {
    EXPECT_EQ(both_passes(png().gray(4, 4).declared_size(0, 4).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png().gray(4, 4).declared_size(4, 0).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png().gray(4, 4).declared_size(0, 0).bytes()), kBothMalformed);
}

TEST(PngHeader, AcceptsTheMaxSizesInTheHeaderPass) {
    for (const uint32_t size : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        const header_outcome_t outcome =
            header_pass(png().gray(4, 4).declared_size(size, size).bytes());
        EXPECT_EQ(outcome.result, kPngOk) << size;
        EXPECT_EQ(outcome.info.width, size) << size;
        EXPECT_EQ(outcome.info.height, size) << size;
    }
}

// A bit depth that is valid for the color type but not supported by the decoder is unsupported, not
// malformed.
TEST(PngHeader, HasAResultForEveryTypeAndDepth) {
    const auto expected = [](uint32_t type, uint32_t depth) {
        const bool small_depth = depth == 1 || depth == 2 || depth == 4;
        const bool known_type = type == kGray || type == kRgb || type == kIndexed ||
                                type == kGrayAlpha || type == kRgba;
        const bool known_depth = depth == 8 || (depth == 16 && type != kIndexed) ||
                                 (small_depth && (type == kGray || type == kIndexed));
        if (!known_type || !known_depth) {
            return kBothMalformed;
        }
        return depth == 8 ? kBothOk : kBothUnsupported;
    };
    for (uint32_t type = 0; type < 256; ++type) {
        const uint8_t color_type = static_cast<uint8_t>(type);
        for (const uint8_t depth : std::vector<uint8_t>{0, 1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17,
                                                        24, 32, 64, 128, 136, 255}) {
            png_maker maker = png().image(color_type, 2, 2).bit_depth(depth);
            EXPECT_EQ(both_passes(maker.bytes()), expected(type, depth))
                << "type " << type << ", depth " << +depth;
        }
    }
}

TEST(PngHeader, RejectsOtherCompressionAndFilterMethods) {
    for (uint32_t method = 1; method < 256; ++method) {
        const uint8_t byte = static_cast<uint8_t>(method);
        EXPECT_EQ(both_passes(png().gray(4, 4).compression_method(byte).bytes()), kBothMalformed)
            << method;
        EXPECT_EQ(both_passes(png().gray(4, 4).filter_method(byte).bytes()), kBothMalformed)
            << method;
    }
}

TEST(PngHeader, ReportsInterlacingAsUnsupported) {
    EXPECT_EQ(both_passes(png().gray(4, 4).interlace_method(1).bytes()), kBothUnsupported);
}

TEST(PngHeader, RejectsUnknownInterlaceMethods) {
    for (uint32_t method = 2; method < 256; ++method) {
        const uint8_t byte = static_cast<uint8_t>(method);
        EXPECT_EQ(both_passes(png().gray(4, 4).interlace_method(byte).bytes()), kBothMalformed)
            << method;
    }
}

TEST(PngHeader, IsMalformedIfItIsAlsoUnsupported) {
    const png_maker deep = png().gray(4, 4).bit_depth(16);
    EXPECT_EQ(both_passes(png_maker(deep).compression_method(1).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png_maker(deep).filter_method(1).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png_maker(deep).interlace_method(2).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png_maker(deep).declared_size(0, 1).bytes()), kBothMalformed);
}

TEST(PngHeader, IsUnsupportedBeforeAnyOtherChunkIsRead) {
    for (png_maker maker :
         {png().rgb(4, 4).bit_depth(16), png().indexed(4, 4).interlace_method(1)}) {
        std::vector<png_chunk_t> chunks = maker.chunks();
        chunk_named(chunks, "IDAT").crc_flips = 1;
        EXPECT_EQ(both_passes(png_file(chunks)), kBothUnsupported);
        chunks.resize(1);
        EXPECT_EQ(both_passes(png_file(chunks)), kBothUnsupported);
    }
}

TEST(PngHeader, IsUnsupportedBeforeTheSurfaceIsChecked) {
    DsSurface tiny = fenced_surface({1, 1});

    EXPECT_EQ(full_pass(png().gray(9, 9).bit_depth(16).bytes(), tiny), kPngUnsupported);
}

TEST(PngHeader, DoesNotFitBeforeAnyOtherChunkIsRead) {
    DsSurface tiny = fenced_surface({1, 1});
    std::vector<png_chunk_t> chunks = png().gray(9, 9).chunks();
    chunks.resize(1);

    EXPECT_EQ(full_pass(png_file(chunks), tiny), kPngDoesNotFit);
}

// --- The record

TEST(PngInfo, HasTheHeaderFieldsEvenIfTheyAreRejected) {
    const png_maker maker =
        png().gray(4, 4).declared_size(0, 0x01020304).bit_depth(3).declared_type(5);
    const byte_vector file =
        png_maker(maker).compression_method(7).filter_method(8).interlace_method(9).bytes();
    DsSurface surface = roomy_surface();
    for (const header_outcome_t& outcome :
         {header_pass(file), full_pass_with_info(file, surface)}) {
        EXPECT_EQ(outcome.result, kPngMalformed);
        EXPECT_EQ(outcome.info.width, 0U);
        EXPECT_EQ(outcome.info.height, 0x01020304U);
        EXPECT_EQ(outcome.info.bitDepth, 3);
        EXPECT_EQ(outcome.info.colorType, 5);
        EXPECT_EQ(outcome.info.compressionMethod, 7);
        EXPECT_EQ(outcome.info.filterMethod, 8);
        EXPECT_EQ(outcome.info.interlaceMethod, 9);
    }
}

TEST(PngInfo, HasTheHeaderFieldsOfAnUnsupportedImage) {
    const header_outcome_t outcome = header_pass(png().rgba(5, 3).bit_depth(16).bytes());

    EXPECT_EQ(outcome.result, kPngUnsupported);
    EXPECT_EQ(outcome.info.width, 5U);
    EXPECT_EQ(outcome.info.height, 3U);
    EXPECT_EQ(outcome.info.bitDepth, 16);
    EXPECT_EQ(outcome.info.colorType, kRgba);
}

TEST(PngInfo, HasTheFieldsSoFarIfALaterChunkFails) {
    png_maker maker = png().indexed(4, 4).palette(5).trns({1, 2});
    std::vector<png_chunk_t> chunks = maker.chunks();
    chunk_named(chunks, "IDAT").crc_flips = 1;

    const header_outcome_t outcome = header_pass(png_file(chunks));

    EXPECT_EQ(outcome.result, kPngMalformed);
    EXPECT_EQ(outcome.info.paletteSize, 5);
    EXPECT_EQ(outcome.info.paletteHasAlpha, 1);
    EXPECT_EQ(outcome.info.colorMode, DsColorMode::I8);
}

TEST(PngInfo, ForgetsThePaletteOfAnEarlierFile) {
    std::vector<png_chunk_t> chunks = png().indexed(4, 4).chunks();
    chunks.resize(1);

    const header_outcome_t outcome = header_pass(png_file(chunks));

    EXPECT_EQ(outcome.info.paletteSize, 0);
    EXPECT_EQ(outcome.info.paletteHasAlpha, 0);
}

TEST(PngInfo, ClearsThePaletteFieldsBeforeItChecksTheColorType) {
    const header_outcome_t outcome = header_pass(png().gray(4, 4).declared_type(5).bytes());

    EXPECT_EQ(outcome.result, kPngMalformed);
    EXPECT_EQ(outcome.info.paletteHasAlpha, 0);
    EXPECT_EQ(outcome.info.paletteSize, 0);
}

struct type_rule_t {
    uint8_t color_type;
    DsColorMode mode;
    uint16_t palette_size;
};

TEST(PngInfo, HasTheModeAndPaletteOfTheColorType) {
    for (const type_rule_t& rule :
         {type_rule_t{kGray, DsColorMode::I8, 256}, type_rule_t{kRgb, DsColorMode::RGB888, 0},
          type_rule_t{kIndexed, DsColorMode::I8, 7},
          type_rule_t{kGrayAlpha, DsColorMode::AI88, 256},
          type_rule_t{kRgba, DsColorMode::ARGB8888, 0}}) {
        SCOPED_TRACE(testing::Message() << "type " << +rule.color_type);
        png_maker maker = png().image(rule.color_type, 4, 4);
        if (rule.color_type == kIndexed) {
            maker.palette(7);
        }
        const decode_outcome_t outcome = decode_png(maker.bytes());
        EXPECT_EQ(outcome.result, kPngOk);
        EXPECT_EQ(outcome.info.colorMode, rule.mode);
        EXPECT_EQ(outcome.info.paletteSize, rule.palette_size);
        EXPECT_EQ(outcome.info.paletteHasAlpha, 0);
    }
}

TEST(PngInfo, IsTheSameAfterBothPasses) {
    const byte_vector file = png().indexed(6, 3).palette(9).trns({7, 8}).bytes();
    DsSurface surface = roomy_surface();

    const png_info_t header = header_pass(file).info;
    const png_info_t full = full_pass_with_info(file, surface).info;

    EXPECT_EQ(full.width, header.width);
    EXPECT_EQ(full.height, header.height);
    EXPECT_EQ(full.colorMode, header.colorMode);
    EXPECT_EQ(full.paletteSize, header.paletteSize);
    EXPECT_EQ(full.paletteHasAlpha, header.paletteHasAlpha);
}

} // namespace
