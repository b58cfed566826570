// The loop over the chunks: bounds, CRCs and names, and the rules of the known chunks.
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

namespace {

constexpr both_results_t kBothOk{kPngOk, kPngOk};
constexpr both_results_t kBothMalformed{kPngMalformed, kPngMalformed};
constexpr both_results_t kBothUnsupported{kPngUnsupported, kPngUnsupported};
// Only the full pass reads it.
constexpr both_results_t kFullMalformed{kPngOk, kPngMalformed};

png_maker small_indexed() {
    return png().indexed(6, 5).palette(4).pixels(byte_vector(30, 2));
}

// A file with every kind of chunk that the decoder knows, and two unknown ones.
std::vector<png_chunk_t> all_chunks() {
    return small_indexed()
        .trns({9, 8})
        .chunk_before_idat({"tEXt", {'a', 0, 'b'}})
        .chunk_after_idat({"tIME", byte_vector(7, 1)})
        .chunks();
}

// The results for an image with this chunk before its IDAT.
both_results_t with_chunk(const std::string& name, const byte_vector& data = {1, 2, 3}) {
    return both_passes(png().rgb(4, 4).chunk_before_idat({name, data}).bytes());
}

// --- Bounds and CRCs

TEST(PngChunks, OfEveryKindTogetherAreAccepted) {
    EXPECT_EQ(both_passes(png_file(all_chunks())), kBothOk);
}

TEST(PngChunks, AreRejectedWithAnyFlippedBitInNameDataOrCrc) {
    const std::vector<png_chunk_t> chunks = all_chunks();
    const byte_vector sound = png_file(chunks);
    size_t begin = 8;
    for (const png_chunk_t& chunk : chunks) {
        const size_t end = begin + 12 + chunk.data.size();
        for (size_t position = begin + 4; position < end; ++position) {
            for (uint32_t bit = 0; bit < 8; ++bit) {
                byte_vector file = sound;
                file[position] ^= static_cast<uint8_t>(1U << bit);
                ASSERT_EQ(both_passes(file), kBothMalformed)
                    << chunk.name << ", byte " << position << " of the file, bit " << bit;
            }
        }
        begin = end;
    }
}

TEST(PngChunks, AreRejectedForTheirCrcBeforeTheirName) {
    std::vector<png_chunk_t> chunks = png().gray(4, 4).chunks();
    chunks.insert(chunks.begin() + 1, {"CRIT", {}, 1});

    EXPECT_EQ(both_passes(png_file(chunks)), kBothMalformed);
}

TEST(PngChunks, AreRejectedInTheirOrder) {
    std::vector<png_chunk_t> chunks = png().gray(4, 4).chunks();
    chunks.insert(chunks.begin() + 1, {"CRIT", {}});
    chunk_named(chunks, "IDAT").crc_flips = 1;

    EXPECT_EQ(both_passes(png_file(chunks)), kBothUnsupported);
}

TEST(PngChunks, AreRejectedAtEveryTruncation) {
    const byte_vector file = png_file(all_chunks());
    for (size_t size = 0; size < file.size(); ++size) {
        ASSERT_EQ(both_passes(slice(file, 0, size)), kBothMalformed) << size << " bytes";
    }
}

TEST(PngChunks, AreRejectedWithEveryLengthBeyondTheFile) {
    const byte_vector sound = png().gray(4, 4).bytes();
    const uint32_t rest = static_cast<uint32_t>(sound.size()) - 33 - 4;
    for (const uint32_t length :
         {rest - 7, rest, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFF4U, 0xFFFFFFF7U,
          0xFFFFFFF8U, 0xFFFFFFFBU, 0xFFFFFFFCU, 0xFFFFFFFFU}) {
        byte_vector file = sound;
        for (uint32_t i = 0; i < 4; ++i) {
            file[33 + i] = static_cast<uint8_t>(length >> (24 - 8 * i));
        }
        EXPECT_EQ(both_passes(file), kBothMalformed) << length;
    }
}

TEST(PngChunks, MustEndWithIend) {
    std::vector<png_chunk_t> chunks = png().gray(4, 4).chunks();
    chunks.pop_back();

    EXPECT_EQ(both_passes(png_file(chunks)), kBothMalformed);
}

TEST(PngChunks, AfterIendAreIgnored) {
    byte_vector file = png().gray(4, 4).bytes();
    append(file, chunk_bytes({"CRIT", {1}, 1}));
    append(file, {0, 0, 0});

    EXPECT_EQ(both_passes(file), kBothOk);
}

TEST(PngIend, MayHaveData) {
    std::vector<png_chunk_t> chunks = png().gray(4, 4).chunks();
    chunks.back().data = {1, 2, 3};

    EXPECT_EQ(both_passes(png_file(chunks)), kBothOk);
}

// --- Names

TEST(PngChunkNames, AreKnownInAnyCase) {
    std::vector<png_chunk_t> chunks = all_chunks();
    chunk_named(chunks, "PLTE").name = "plTe";
    chunk_named(chunks, "tRNS").name = "TrnS";
    chunk_named(chunks, "IDAT").name = "idat";
    chunk_named(chunks, "IEND").name = "iENd";
    DsSurface expected = roomy_surface();
    DsSurface surface = roomy_surface();

    EXPECT_EQ(full_pass(png_file(all_chunks()), expected), kPngOk);
    EXPECT_EQ(full_pass(png_file(chunks), surface), kPngOk);

    EXPECT_TRUE(same_pixels(pixel_buffer(expected), pixel_buffer(surface), layout_of(surface)));
    EXPECT_TRUE(same_bytes(palette_buffer(expected), palette_buffer(surface)));
}

TEST(PngChunkNames, AreKnownInEveryCaseOfEveryLetter) {
    for (const char* name : {"PLTE", "tRNS", "IDAT", "IEND"}) {
        for (uint32_t letters = 0; letters < 16; ++letters) {
            std::vector<png_chunk_t> chunks = all_chunks();
            png_chunk_t& chunk = chunk_named(chunks, name);
            for (size_t i = 0; i < 4; ++i) {
                chunk.name[i] = static_cast<char>(chunk.name[i] ^ (letters >> i & 1 ? 0x20 : 0));
            }
            EXPECT_EQ(both_passes(png_file(chunks)), kBothOk) << chunk.name;
        }
    }
}

TEST(PngChunkNames, UnknownCriticalOnesAreUnsupported) {
    for (const char* name : {"CRIT", "Crit", "IDAU", "PLTF", "\x01xyz", "\xD0xyz", "@@@@"}) {
        EXPECT_EQ(with_chunk(name), kBothUnsupported) << name;
    }
}

TEST(PngChunkNames, UnknownAncillaryOnesAreSkipped) {
    for (const char* name : {"tEXt", "anci", "aNCI", "\x20xyz", "\xFFxyz", "gAMA"}) {
        EXPECT_EQ(with_chunk(name), kBothOk) << name;
        EXPECT_EQ(with_chunk(name, {}), kBothOk) << name;
    }
}

TEST(PngChunkNames, ASecondHeaderIsAnUnknownChunk) {
    const byte_vector header = png().rgb(4, 4).image_header();
    EXPECT_EQ(with_chunk("IHDR", header), kBothUnsupported);
    EXPECT_EQ(with_chunk("Ihdr", header), kBothUnsupported);
    EXPECT_EQ(with_chunk("ihdr", header), kBothOk);
    EXPECT_EQ(with_chunk("iHDR", header), kBothOk);
}

// --- PLTE

TEST(PngPlte, IsRejectedInGrayImages) {
    EXPECT_EQ(both_passes(png().gray(4, 4).plte({1, 2, 3}).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png().gray_alpha(4, 4).plte({1, 2, 3}).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(png().gray(4, 4).plte({}).bytes()), kBothMalformed);
}

TEST(PngPlte, IsRejectedTwice) {
    EXPECT_EQ(both_passes(small_indexed().another_plte({1, 2, 3}).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(small_indexed().another_plte({}).bytes()), kBothMalformed);
}

TEST(PngPlte, MayFollowEmptyOnes) {
    const byte_vector file =
        png().indexed(4, 4).plte({}).another_plte({}).another_plte({1, 2, 3}).bytes();

    EXPECT_EQ(both_passes(file), kBothOk);
    EXPECT_EQ(header_pass(file).info.paletteSize, 1);
}

TEST(PngPlte, IsRejectedUnlessItHasWholeEntriesAndAtMost256) {
    for (size_t length = 1; length <= 780; ++length) {
        const byte_vector file = png().indexed(2, 2).plte(byte_vector(length, 5)).bytes();
        EXPECT_EQ(both_passes(file), length % 3 == 0 && length <= 768 ? kBothOk : kBothMalformed)
            << length;
    }
}

TEST(PngPlte, IsRequiredForAnIndexedImage) {
    std::vector<png_chunk_t> chunks = png().indexed(4, 4).chunks();
    chunks.erase(chunks.begin() + 1);

    EXPECT_EQ(both_passes(png_file(chunks)), kBothMalformed);
    EXPECT_EQ(both_passes(png().indexed(4, 4).palette(0).bytes()), kBothMalformed);
}

TEST(PngPlte, AfterTheImageDataIsMissingOnlyInTheFullPass) {
    std::vector<png_chunk_t> chunks = png().indexed(4, 4).chunks();
    std::swap(chunks[1], chunks[2]);

    EXPECT_EQ(both_passes(png_file(chunks)), kFullMalformed);
}

TEST(PngPlte, IsWrittenAsBlueGreenRed) {
    DsSurface surface = fenced_surface({4, 4, DsColorMode::I8, 0, 3, 4});
    const byte_vector file = png().indexed(4, 4).plte({1, 2, 3, 4, 5, 6}).bytes();

    EXPECT_EQ(full_pass(file, surface), kPngOk);

    const uint8_t k = kFreshByte;
    EXPECT_EQ(palette_buffer(surface), (byte_vector{3, 2, 1, 6, 5, 4, k, k, k}));
}

TEST(PngPlte, DoesNotChangeTheAlphaOfItsEntries) {
    DsSurface surface = fenced_surface({4, 4, DsColorMode::I8, 1, 3, 4});
    const byte_vector file = png().indexed(4, 4).plte({1, 2, 3, 4, 5, 6}).bytes();

    EXPECT_EQ(full_pass(file, surface), kPngOk);

    const uint8_t k = kFreshByte;
    EXPECT_EQ(palette_buffer(surface), (byte_vector{3, 2, 1, k, 6, 5, 4, k, k, k, k, k}));
}

TEST(PngPlte, DoesNotFitASmallerPalette) {
    DsSurface surface = fenced_surface({6, 5, DsColorMode::I8, 0, 3, 5});

    EXPECT_EQ(full_pass(small_indexed().bytes(), surface), kPngDoesNotFit);
}

TEST(PngPlte, IsComparedWithTheLow16BitsOfThePaletteSize) {
    DsSurface surface = fenced_surface({6, 5, DsColorMode::I8, 0, 65536 + 3, 5});

    EXPECT_EQ(full_pass(small_indexed().bytes(), surface), kPngDoesNotFit);
}

TEST(PngPlte, DoesNotFitASurfaceWithoutAPalette) {
    DsSurface surface = fenced_surface({6, 5, DsColorMode::A8, 0, 256, 5});

    EXPECT_EQ(full_pass(small_indexed().bytes(), surface), kPngDoesNotFit);
}

TEST(PngPlte, IsCheckedForItsLengthBeforeTheSurface) {
    DsSurface surface = fenced_surface({6, 5, DsColorMode::A8, 0, 0, 5});
    const byte_vector file = png().indexed(6, 5).plte({1, 2}).bytes();

    EXPECT_EQ(full_pass(file, surface), kPngMalformed);
}

// Kept on purpose: the surface of a truecolor image cannot store a suggested palette.
TEST(PngPlte, OfATruecolorImageFailsTheFullPass) {
    for (png_maker maker : {png().rgb(4, 4), png().rgba(4, 4)}) {
        const decode_outcome_t outcome = decode_png(maker.plte(byte_vector(30, 1)).bytes());
        EXPECT_EQ(outcome.header_result, kPngOk);
        EXPECT_EQ(outcome.info.paletteSize, 10);
        EXPECT_EQ(outcome.result, kPngDoesNotFit);
    }
}

TEST(PngPlte, OfATruecolorImageFailsTheFullPassEvenEmpty) {
    const decode_outcome_t outcome = decode_png(png().rgb(4, 4).plte({}).bytes());

    EXPECT_EQ(outcome.header_result, kPngOk);
    EXPECT_EQ(outcome.result, kPngDoesNotFit);
}

// --- The gray ramp

TEST(PngGrayRamp, FillsThePaletteOfGrayImages) {
    for (png_maker maker : {png().gray(4, 4), png().gray_alpha(4, 4)}) {
        const decode_outcome_t outcome = decode_png(maker.bytes());
        ASSERT_EQ(outcome.result, kPngOk);
        const byte_vector palette = palette_buffer(*outcome.surface);
        ASSERT_EQ(palette.size(), 768U);
        for (size_t i = 0; i < 768; ++i) {
            ASSERT_EQ(palette[i], i / 3) << "byte " << i;
        }
    }
}

TEST(PngGrayRamp, IsOpaqueWhereEntriesHaveAlpha) {
    DsSurface surface = fenced_surface({4, 4, DsColorMode::I8, 1, 3, 4});

    EXPECT_EQ(full_pass(png().gray(4, 4).bytes(), surface), kPngOk);

    EXPECT_EQ(palette_buffer(surface), (byte_vector{0, 0, 0, 255, 1, 1, 1, 255, 2, 2, 2, 255}));
}

TEST(PngGrayRamp, IsAsLongAsTheLow16BitsOfThePaletteSize) {
    DsSurface surface = fenced_surface({4, 4, DsColorMode::I8, 0, 65536 + 2, 4});

    EXPECT_EQ(full_pass(png().gray(4, 4).bytes(), surface), kPngOk);

    const uint8_t* palette = surface.getPalette();
    EXPECT_EQ(byte_vector(palette, palette + 7), (byte_vector{0, 0, 0, 1, 1, 1, kFreshByte}));
}

TEST(PngGrayRamp, IsNotWrittenForOtherTypes) {
    DsSurface surface = fenced_surface({16, 16, DsColorMode::I8, 0, 2, 16});

    EXPECT_EQ(full_pass(png().rgb(4, 4).bytes(), surface), kPngOk);

    EXPECT_EQ(palette_buffer(surface), byte_vector(6, kFreshByte));
}

TEST(PngGrayRamp, IsNotNeededByASurfaceWithoutAPalette) {
    DsSurface surface = fenced_surface({4, 4, DsColorMode::A8, 0, 0, 4});

    EXPECT_EQ(full_pass(png().gray(4, 4).bytes(), surface), kPngOk);
}

// --- tRNS

TEST(PngTrns, IsRejectedAfterTheImageData) {
    const png_chunk_t for_type[] = {
        {"tRNS", {0, 1}}, {}, {"tRNS", byte_vector(6, 0)}, {"tRNS", {1}}};
    for (const uint8_t type : {kGray, kRgb, kIndexed}) {
        const byte_vector file = png().image(type, 4, 4).chunk_after_idat(for_type[type]).bytes();
        EXPECT_EQ(both_passes(file), kBothMalformed) << +type;
    }
}

TEST(PngTrns, IsRejectedInImagesWithAlpha) {
    for (const size_t length : {0U, 1U, 2U, 6U, 8U}) {
        const byte_vector data(length, 1);
        EXPECT_EQ(both_passes(png().gray_alpha(4, 4).trns(data).bytes()), kBothMalformed) << length;
        EXPECT_EQ(both_passes(png().rgba(4, 4).trns(data).bytes()), kBothMalformed) << length;
    }
}

TEST(PngTrns, HasTwoBytesInGrayAndSixInTruecolorImages) {
    for (size_t length = 0; length <= 12; ++length) {
        const byte_vector data(length, 0);
        EXPECT_EQ(both_passes(png().gray(4, 4).trns(data).bytes()),
                  length == 2 ? kBothOk : kBothMalformed)
            << length;
        EXPECT_EQ(both_passes(png().rgb(4, 4).trns(data).bytes()),
                  length == 6 ? kBothOk : kBothMalformed)
            << length;
    }
}

TEST(PngTrns, ChangesTheModeOfGrayAndTruecolorImages) {
    const png_info_t gray = header_pass(png().gray(4, 4).trns({0, 1}).bytes()).info;
    EXPECT_EQ(gray.colorMode, DsColorMode::AI88);
    EXPECT_EQ(gray.paletteHasAlpha, 0);
    EXPECT_EQ(gray.paletteSize, 256);

    const png_info_t rgb = header_pass(png().rgb(4, 4).trns(byte_vector(6, 0)).bytes()).info;
    EXPECT_EQ(rgb.colorMode, DsColorMode::ARGB8888);
    EXPECT_EQ(rgb.paletteHasAlpha, 0);
    EXPECT_EQ(rgb.paletteSize, 0);
}

TEST(PngTrns, MayBeRepeated) {
    EXPECT_EQ(both_passes(png().gray(4, 4).trns({0, 1}).trns({0, 2}).bytes()), kBothOk);
    const byte_vector six(6, 0);
    EXPECT_EQ(both_passes(png().rgb(4, 4).trns(six).trns(six).bytes()), kBothOk);
    EXPECT_EQ(both_passes(small_indexed().trns({1, 2, 3}).trns({4}).bytes()), kBothOk);
}

TEST(PngTrns, HasAtMostAsManyBytesAsThePaletteHasEntries) {
    for (size_t length = 0; length <= 8; ++length) {
        EXPECT_EQ(both_passes(small_indexed().trns(byte_vector(length, 7)).bytes()),
                  length <= 4 ? kBothOk : kBothMalformed)
            << length;
    }
    EXPECT_EQ(both_passes(png().indexed(4, 4).palette(2).trns({1, 2, 3}).bytes()), kBothMalformed);
}

TEST(PngTrns, MayPrecedeThePaletteOnlyIfItIsEmpty) {
    EXPECT_EQ(both_passes(small_indexed().chunk_before_palette({"tRNS", {}}).bytes()), kBothOk);
    EXPECT_EQ(both_passes(small_indexed().chunk_before_palette({"tRNS", {1}}).bytes()),
              kBothMalformed);
}

TEST(PngTrns, AddsAlphaToThePalette) {
    for (const byte_vector& data : {byte_vector{}, byte_vector{5}}) {
        const png_info_t info = header_pass(small_indexed().trns(data).bytes()).info;
        EXPECT_EQ(info.paletteHasAlpha, 1);
        EXPECT_EQ(info.colorMode, DsColorMode::I8);
    }
}

TEST(PngTrns, IsWrittenAsTheFourthByteOfItsEntriesOnly) {
    const byte_vector file = png().indexed(4, 4).plte({1, 2, 3, 4, 5, 6}).trns({9}).bytes();

    const decode_outcome_t outcome = decode_png(file);

    ASSERT_EQ(outcome.result, kPngOk);
    EXPECT_EQ(palette_buffer(*outcome.surface), (byte_vector{3, 2, 1, 9, 6, 5, 4, kFreshByte}));
}

TEST(PngTrns, IsOverwrittenByALaterOne) {
    const byte_vector file =
        png().indexed(4, 4).plte({1, 2, 3, 4, 5, 6}).trns({9, 8}).trns({7}).bytes();

    const decode_outcome_t outcome = decode_png(file);

    ASSERT_EQ(outcome.result, kPngOk);
    EXPECT_EQ(palette_buffer(*outcome.surface), (byte_vector{3, 2, 1, 7, 6, 5, 4, 8}));
}

TEST(PngTrns, DoesNotFitAPaletteWithoutAlpha) {
    DsSurface surface = fenced_surface({6, 5, DsColorMode::I8, 0, 256, 5});

    EXPECT_EQ(full_pass(small_indexed().trns({1}).bytes(), surface), kPngDoesNotFit);
}

TEST(PngTrns, OfATypeWithoutPaletteNeedsNoPaletteAlpha) {
    DsSurface surface = fenced_surface({6, 5, DsColorMode::AI88, 0, 256, 5});

    EXPECT_EQ(full_pass(png().gray(6, 5).trns({0, 1}).bytes(), surface), kPngOk);
}

} // namespace
