// whyRejected: exactly the files that the decoder rejects have a reason, and it has the position of fixed-code blocks.
#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/png_maker.h"
#include "tools/slabtool/images/png_reason.h"
#include "tools/slabtool/images/png_verdict.h"

#include <gtest/gtest.h>

#include <memory>
#include <zlib.h>

namespace {

constexpr size_t kSizesBegin = 16; // width and height in the header chunk
constexpr size_t kSizesEnd = 24;

bool decoderAccepts(const byte_vector& file) {
    const std::unique_ptr<DsSurface> surface(surface_from_png(file.data(), file.size(), false, 0));
    return surface != nullptr;
}

void expectAgreement(const byte_vector& file, const std::string& what) {
    const bool isAccepted = decoderAccepts(file);
    const auto reason = whyRejected(file);
    EXPECT_EQ(isAccepted, !reason.has_value())
        << what << ": " << (reason ? reason->text : "no reason");
    EXPECT_EQ(isAccepted, judgePng(file, false).isAccepted) << what;
}

// Images of every type, with every kind of block and of chunk.
std::vector<png_maker> smallImages() {
    const byte_vector flat(20, 9);
    return {png().gray(5, 4),
            png().gray(3, 5).trns({0, 1}).idat_split_at({4, 10}),
            png().rgb(4, 3),
            png().rgb(3, 3).palette(3),
            png().rgb(3, 3).trns(byte_vector(6, 2)),
            png().rgb(3, 3).trns(byte_vector(7, 2)),
            png().indexed(6, 3).palette(4).trns({1, 2, 3}),
            png().gray_alpha(4, 4).idat_split_at({2, 4, 6}),
            png().rgba(3, 4).compression({0, Z_DEFAULT_STRATEGY, 15, 8}),
            png().gray(5, 4).pixels(flat).compression({9, Z_FIXED, 15, 8}),
            png().gray(5, 4).compression({9, Z_FIXED, 15, 8}).idat_split_at({3, 4, 9})};
}

TEST(PngReason, AgreesWithTheDecoderOnEveryTruncation) {
    size_t number = 0;
    for (const png_maker& image : smallImages()) {
        SCOPED_TRACE(testing::Message() << "image " << number++);
        const byte_vector file = image.bytes();
        for (size_t size = 0; size <= file.size(); ++size) {
            expectAgreement(slice(file, 0, size), "size " + std::to_string(size));
        }
    }
}

TEST(PngReason, AgreesWithTheDecoderOnChangedBytes) {
    size_t number = 0;
    for (const png_maker& image : smallImages()) {
        SCOPED_TRACE(testing::Message() << "image " << number++);
        const byte_vector file = image.bytes();
        for (size_t at = 0; at < file.size(); ++at) {
            for (const uint8_t flips : byte_vector{1, 2, 4, 0x20, 0x80, 0xFF}) {
                byte_vector changed = file;
                changed[at] ^= flips;
                // Huge declared sizes have a test of their own.
                if (at < kSizesBegin || at >= kSizesEnd) {
                    expectAgreement(with_correct_crcs(changed), "byte " + std::to_string(at) +
                                                                    ", flips " +
                                                                    std::to_string(flips));
                }
            }
        }
    }
}

TEST(PngReason, AgreesWithTheDecoderForTooFewAndTooManyRows) {
    const data_kind kinds[] = {data_kind::runs, data_kind::noise};
    for (const data_kind kind : kinds) {
        for (uint32_t height = 1; height < 80; ++height) {
            png_maker image = png().gray(10, 40);
            image.filter(kNone).pixels(kind, 3);
            expectAgreement(image.declared_size(10, height).bytes(),
                            "height " + std::to_string(height));
        }
    }
}

// The last match may end after the last row, but nothing may follow it.
TEST(PngReason, AgreesWithTheDecoderOnMatchesThatReachBeyondTheEnd) {
    const dynamic_header_t header = simple_header(
        lengths_of(286, {{0, 2}, {256, 2}, {257, 2}, {285, 2}}), lengths_of(30, {{0, 1}}));
    for (uint32_t width = 1; width < 520; ++width) {
        for (const bool goesOn : {false, true}) {
            deflate_maker stream;
            stream.dynamic(header, block_is::last).literals({0}).match(258, 1);
            if (goesOn) {
                stream.match(3, 1);
            }
            stream.end();
            const byte_vector file =
                png().gray(1, 1).declared_size(width, 1).deflate_stream(stream.bytes()).bytes();
            expectAgreement(file, "width " + std::to_string(width));
        }
    }
}

TEST(PngReason, AgreesWithTheDecoderOnRandomStreams) {
    for (uint32_t seed = 0; seed < 300; ++seed) {
        test_rng rng(seed);
        made_stream_t made = random_stream(rng, 1000);
        const uint32_t size =
            random_between(rng, 1, static_cast<uint32_t>(made.content.size()) + 2);
        made.raw[rng() % made.raw.size()] ^= static_cast<uint8_t>(seed % 2 << rng() % 8);
        expectAgreement(png().gray(1, 1).declared_size(size, 1).deflate_stream(made.raw).bytes(),
                        "seed " + std::to_string(seed));
    }
}

// An image whose filtered row has `room` bytes, 2 or more, and whose image data end with the stream.
byte_vector imageOf(const byte_vector& raw, uint32_t room) {
    byte_vector data = {0x78, 0x9C};
    append(data, raw);
    return png().gray(1, 1).declared_size(room - 1, 1).idat_bytes(data).bytes();
}

TEST(PngReason, FindsAllFixedBlocksOfZlib) {
    uint32_t fixed = 0;
    for (uint32_t seed = 0; seed < 400; ++seed) {
        test_rng rng(seed);
        const byte_vector plain = make_bytes(kAllDataKinds[seed % 4], 2 + rng() % 600, seed);
        const byte_vector raw = raw_deflate(plain, random_settings(rng));
        const auto reason = whyRejected(imageOf(raw, static_cast<uint32_t>(plain.size())));
        EXPECT_EQ(contains_fixed_block(raw), reason.has_value()) << seed;
        if (reason) {
            ++fixed;
            EXPECT_TRUE(reason->text.starts_with("a fixed-code DEFLATE block in bytes ") ||
                        reason->text.find(" fixed-code DEFLATE blocks, the first one in bytes ") !=
                            std::string::npos)
                << reason->text;
        }
    }
    EXPECT_GT(fixed, 50U);
}

std::string reasonFor(const deflate_maker& stream, uint32_t room = 1000) {
    const auto reason = whyRejected(imageOf(stream.bytes(), room));
    return reason ? reason->text : "accepted";
}

TEST(PngReason, NamesTheBytesOfAFixedBlock) {
    // Three bits of header, eight for each literal, seven for the end.
    EXPECT_EQ("a fixed-code DEFLATE block in bytes 2 to 3 of the image data",
              reasonFor(deflate_maker().fixed(block_is::last).end()));
    EXPECT_EQ("a fixed-code DEFLATE block in bytes 2 to 5 of the image data",
              reasonFor(deflate_maker().fixed(block_is::last).literals({1, 2}).end()));
}

TEST(PngReason, NamesTheBytesOfAFixedBlockBetweenOthers) {
    // The stored block has 5 + 10 bytes.
    deflate_maker stream;
    stream.stored(byte_vector(10, 1), block_is::followed);
    stream.fixed(block_is::followed).literals({1, 2}).end();
    stream.stored(byte_vector(3, 1), block_is::last);
    EXPECT_EQ("a fixed-code DEFLATE block in bytes 17 to 20 of the image data", reasonFor(stream));
}

TEST(PngReason, NamesTheBytesOfAFixedBlockBeforeADynamicOne) {
    const dynamic_header_t header =
        simple_header(lengths_of(286, {{0, 1}, {256, 1}}), lengths_of(30, {{0, 1}}));
    for (const size_t literals : {0U, 1U, 2U, 5U}) { // 10 bits and 8 for each of them
        deflate_maker stream;
        stream.fixed(block_is::followed).literals(byte_vector(literals)).end();
        stream.dynamic(header, block_is::last).literals({0, 0}).end();
        EXPECT_EQ("a fixed-code DEFLATE block in bytes 2 to " + std::to_string(3 + literals) +
                      " of the image data",
                  reasonFor(stream));
    }
}

TEST(PngReason, CountsFixedBlocks) {
    deflate_maker stream;
    stream.fixed(block_is::followed).literals({1, 2}).match(3, 2).end();
    stream.fixed(block_is::followed).end();
    stream.stored({1}, block_is::followed);
    stream.fixed(block_is::last).literals({1}).end();
    EXPECT_EQ("3 fixed-code DEFLATE blocks, the first one in bytes 2 to 6 of the image data",
              reasonFor(stream));
}

TEST(PngReason, NamesATruncatedFixedBlock) {
    EXPECT_EQ("a fixed-code DEFLATE block in bytes 2 to 4 of the image data",
              reasonFor(deflate_maker().fixed(block_is::last).literals({1, 2})));
}

TEST(PngReason, DoesNotBuildTheFixedCodesOfThePngDecoder) {
    const byte_vector file = png().gray(2, 2).compression({9, Z_FIXED, 15, 8}).bytes();
    EXPECT_TRUE(whyRejected(file).has_value());
    EXPECT_FALSE(decoderAccepts(file));
}

TEST(PngReason, NamesOtherFaultsOfTheImageData) {
    const code_lengths litlen = lengths_of(286, {{0, 2}, {256, 2}, {257, 2}, {285, 2}});
    const code_lengths dist = lengths_of(30, {{0, 1}});
    const dynamic_header_t header = simple_header(litlen, dist);
    EXPECT_EQ("accepted", reasonFor(deflate_maker().stored({1, 2}, block_is::last)));
    EXPECT_EQ("the image data are invalid at byte 2: an unknown block type",
              reasonFor(deflate_maker().block_header(3, block_is::last)));
    EXPECT_EQ(
        "the image data are invalid at byte 7: a stored block whose length does not match its "
        "complement",
        reasonFor(
            deflate_maker().block_header(0, block_is::last).bits(0, 5).bits(1, 16).bits(1, 16)));
    EXPECT_NE(std::string::npos,
              reasonFor(deflate_maker().dynamic(header, block_is::last).match(3, 1))
                  .find("a match that starts before the first byte"));
    EXPECT_NE(std::string::npos, reasonFor(deflate_maker()
                                               .dynamic(header, block_is::last)
                                               .literals({0})
                                               .litlen_symbol(257)
                                               .bits(0x7FFF, 15))
                                     .find("bits that match no code"));
    const dynamic_header_t endsOnly = simple_header(lengths_of(286, {{256, 1}}), dist);
    EXPECT_NE(std::string::npos,
              reasonFor(deflate_maker().dynamic(endsOnly, block_is::last).bits(0x7FFF, 15))
                  .find("bits that match no code"));
    EXPECT_NE(std::string::npos,
              reasonFor(deflate_maker().block_header(2, block_is::last).bits(0x3FFF, 14))
                  .find("a block with invalid Huffman codes"));
    EXPECT_EQ("the image data end before the last DEFLATE block is complete",
              reasonFor(deflate_maker().stored({1, 2}, block_is::followed)));
    EXPECT_EQ("the image data have more rows than the header declares",
              reasonFor(deflate_maker().stored({1, 2, 3}, block_is::last), 2));
}

// ---- Sizes too large to allocate

std::string verdictOn(uint8_t type, uint32_t width, uint32_t height) {
    const PngVerdict verdict =
        judgePng(png().image(type, 2, 2).declared_size(width, height).bytes(), false);
    return verdict.isAccepted ? "accepted: " + verdict.surface : "rejected: " + verdict.reason.text;
}

TEST(PngVerdict, AllocatesNothingThatTheFileCannotFill) {
    EXPECT_EQ("accepted: I8, 1000000000 x 4, if pngslab can allocate 4000000004 bytes",
              verdictOn(kGray, 1000000000, 4));
    EXPECT_EQ("accepted: I8, 1 x 2147483647, if pngslab can allocate 4294967294 bytes",
              verdictOn(kGray, 1, 0x7FFFFFFF));
    EXPECT_EQ("accepted: ARGB8888, 20000 x 20000, if pngslab can allocate 1600020000 bytes",
              verdictOn(kRgba, 20000, 20000));
}

TEST(PngVerdict, MakesSurfacesUpToALimit) {
    constexpr uint32_t kFree = 16 << 20, kMax = 1 << 30; // bytes
    EXPECT_EQ("accepted: I8, 16777215 x 1", verdictOn(kGray, kFree - 1, 1));
    EXPECT_EQ("accepted: I8, 16777216 x 1, if pngslab can allocate 16777217 bytes",
              verdictOn(kGray, kFree, 1));
    const byte_vector large = png()
                                  .gray(2, 2)
                                  .declared_size(kMax, 1)
                                  .chunk_before_idat({"tEXt", byte_vector(kMax / 1000, 'a')})
                                  .bytes();
    EXPECT_EQ("I8, 1073741824 x 1, if pngslab can allocate 1073741825 bytes",
              judgePng(large, false).surface);
}

TEST(PngVerdict, RejectsMorePixelsThanCanBeCounted) {
    EXPECT_EQ("rejected: more pixels than pngslab can count: 2147483648 x 1",
              verdictOn(kGray, 0x80000000, 1));
    EXPECT_EQ("rejected: more pixels than pngslab can count: 1 x 2147483648",
              verdictOn(kGray, 1, 0x80000000));
    EXPECT_EQ("rejected: more pixels than pngslab can count: 65536 x 65536",
              verdictOn(kGray, 65536, 65536));
    EXPECT_EQ("rejected: more pixels than slabtool can test: 65535 x 131071",
              verdictOn(kGray, 65535, 131071));
    EXPECT_EQ("rejected: more pixels than pngslab can count: 4294967295 x 4294967295",
              verdictOn(kRgba, 0xFFFFFFFF, 0xFFFFFFFF));
}

// Rows with an unknown filter type have one byte each. The filtered rows of these images have a little more than
// 4 GiB, and the decoder counts modulo 4 GiB.
TEST(PngVerdict, AcceptsHugeImagesWhoseRowsAreSkipped) {
    constexpr uint8_t kUnknown = 5;
    const auto verdictOnRows = [](uint32_t width, uint32_t height, const byte_vector& rows) {
        return judgePng(
            png().gray(1, 1).declared_size(width, height).rows(rows).compression({0}).bytes(),
            false);
    };
    const PngVerdict skipped = verdictOnRows(65536, 65536, byte_vector(65536, kUnknown));
    EXPECT_TRUE(skipped.isAccepted);
    EXPECT_EQ("I8, 65536 x 65536, if pngslab can allocate 4295032832 bytes", skipped.surface);

    byte_vector oneRow(2 * 65537, kUnknown);
    oneRow[7] = 0; // a valid filter type, with the 65537 bytes after it
    EXPECT_TRUE(verdictOnRows(65537, 65537, oneRow).isAccepted);
    oneRow[65537 + 7 + 1] = 0; // one more valid row, but its bytes are missing
    EXPECT_EQ("more pixels than pngslab can count: 65537 x 65537",
              verdictOnRows(65537, 65537, oneRow).reason.text);
}

TEST(PngVerdict, FindsReasonsInHugeImages) {
    const byte_vector file =
        png().gray(2, 2).declared_size(1000000, 1000).compression({9, Z_FIXED, 15, 8}).bytes();
    const PngVerdict verdict = judgePng(file, false);
    EXPECT_FALSE(verdict.isAccepted);
    EXPECT_TRUE(verdict.reason.text.starts_with("a fixed-code DEFLATE block in bytes 2 to "));
}

} // namespace
