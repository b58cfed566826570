// Canonical codes: the results of building, and decoding bit by bit.
#include "inflate/src/streams.h"
#include "tests/support/deflate_maker.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

// A code with its own storage, filled with old content as after a previous use.
struct stored_code_t {
    uint16_t counts[16];
    uint16_t symbols[288];
    huffman_t huffman{};

    stored_code_t() {
        std::fill(std::begin(counts), std::end(counts), static_cast<uint16_t>(0xEEEE));
        std::fill(std::begin(symbols), std::end(symbols), static_cast<uint16_t>(0xEEEE));
        huffman_attach(&huffman, counts, symbols);
    }
    stored_code_t(const stored_code_t&) = delete;
    stored_code_t& operator=(const stored_code_t&) = delete;

    int32_t build(const code_lengths& lengths, uint16_t max_bits = 15) {
        return huffman_build(&huffman, lengths.data(), static_cast<uint32_t>(lengths.size()),
                             max_bits);
    }
};

bitstream_t reader_of(const byte_vector& bytes) {
    return {bytes.data(), static_cast<uint32_t>(bytes.size()), 0, 0};
}

TEST(HuffmanAttach, StoresThePointersAndLeavesTheCodeUnbuilt) {
    uint16_t counts[16];
    uint16_t symbols[4];
    huffman_t huffman{};

    huffman_attach(&huffman, counts, symbols);

    EXPECT_EQ(huffman.counts, counts);
    EXPECT_EQ(huffman.symbols, symbols);
    EXPECT_EQ(huffman.maxBits, 0);
}

TEST(HuffmanBuild, SortsSymbolsByLengthAndThenByValue) {
    stored_code_t code;

    EXPECT_EQ(code.build({3, 3, 3, 3, 3, 2, 4, 4}), 0);

    EXPECT_EQ(code.huffman.maxBits, 15);
    EXPECT_EQ(code.counts[0], 0);
    EXPECT_EQ(code.counts[2], 1);
    EXPECT_EQ(code.counts[3], 5);
    EXPECT_EQ(code.counts[4], 2);
    EXPECT_EQ(code.counts[15], 0);
    EXPECT_EQ(std::vector<uint16_t>(code.symbols, code.symbols + 8),
              (std::vector<uint16_t>{5, 0, 1, 2, 3, 4, 6, 7}));
}

TEST(HuffmanBuild, CountsUnusedSymbolsAtLengthZero) {
    stored_code_t code;

    EXPECT_EQ(code.build({0, 1, 0, 0, 1}), 0);

    EXPECT_EQ(code.counts[0], 3);
    EXPECT_EQ(code.counts[1], 2);
    EXPECT_EQ(code.symbols[0], 1);
    EXPECT_EQ(code.symbols[1], 4);
}

TEST(HuffmanBuild, TreatsACodeWithoutSymbolsAsComplete) {
    stored_code_t code;

    EXPECT_EQ(code.build(code_lengths(30, 0)), 0);

    EXPECT_EQ(code.counts[0], 30);
    EXPECT_EQ(code.counts[1], 0);
    EXPECT_EQ(code.huffman.maxBits, 15);
}

TEST(HuffmanBuild, ReportsTheUnusedCodesOfAnIncompleteCode) {
    stored_code_t code;

    EXPECT_EQ(code.build({1}), 1 << 14);
    EXPECT_EQ(code.build({2, 2, 2}), 1 << 13);
    EXPECT_EQ(code.build({2, 2, 2}, 2), 1);
    EXPECT_EQ(code.build({1, 3}, 3), 3);
}

TEST(HuffmanBuild, ReportsAnOversubscribedCodeByANegativeNumber) {
    stored_code_t code;

    EXPECT_LT(code.build({1, 1, 1}), 0);
    EXPECT_LT(code.build({1, 1, 1, 1, 1}, 1), 0);
    EXPECT_EQ(code.build({1, 2, 2, 2}), -1);
    EXPECT_EQ(code.build({1, 2, 3, 3, 15}), -1);
}

TEST(HuffmanBuild, ReportsEveryRandomCompleteCodeAsComplete) {
    test_rng rng(3);
    for (size_t symbols = 2; symbols <= 286; ++symbols) {
        stored_code_t code;
        ASSERT_EQ(code.build(random_complete_lengths(rng, symbols, 15)), 0)
            << symbols << " symbols";
    }
}

TEST(HuffmanDecode, ReadsEverySymbolOfRandomCodes) {
    test_rng rng(4);
    for (int round = 0; round < 100; ++round) {
        const code_lengths lengths = random_complete_lengths(rng, random_between(rng, 2, 286), 15);
        const prefix_code writer_code(lengths);
        bit_writer writer;
        for (uint32_t symbol = 0; symbol < lengths.size(); ++symbol) {
            writer_code.put(writer, symbol);
        }
        stored_code_t code;
        code.build(lengths);
        bitstream_t reader = reader_of(writer.written());

        for (int32_t symbol = 0; symbol < static_cast<int32_t>(lengths.size()); ++symbol) {
            ASSERT_EQ(huffman_decode(&code.huffman, &reader), symbol) << "round " << round;
        }
        EXPECT_LT(bitstream_remaining(&reader), 8U) << "round " << round;
    }
}

TEST(HuffmanDecode, FailsWithAnUnbuiltCodeAndReadsNothing) {
    const stored_code_t code;
    const byte_vector bytes{0, 0};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(huffman_decode(&code.huffman, &reader), kHuffmanInvalid);
    EXPECT_EQ(bitstream_remaining(&reader), 16U);
}

TEST(HuffmanDecode, FailsAfterTheLongestLengthForABitPatternThatIsNoCode) {
    stored_code_t code;
    code.build({0, 1});
    const byte_vector bytes{0xFF, 0xFF, 0xFF};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(huffman_decode(&code.huffman, &reader), kHuffmanInvalid);
    EXPECT_EQ(bitstream_remaining(&reader), 24U - 15U);
}

TEST(HuffmanDecode, FailsAfterTheLongestLengthWithACodeWithoutSymbols) {
    stored_code_t code;
    code.build(code_lengths(5, 0), 7);
    const byte_vector bytes{0, 0};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(huffman_decode(&code.huffman, &reader), kHuffmanInvalid);
    EXPECT_EQ(bitstream_remaining(&reader), 16U - 7U);
}

TEST(HuffmanDecode, RequestsInputBeforeItKnowsThatAPatternIsNoCode) {
    stored_code_t code;
    code.build({1});
    const byte_vector bytes{0xFF};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(huffman_decode(&code.huffman, &reader), kHuffmanNeedsInput);
}

TEST(HuffmanDecode, KeepsTheBitsOfATruncatedCode) {
    stored_code_t code;
    code.build({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 15});
    const byte_vector bytes{0b11111110, 0xFF};
    bitstream_t reader = reader_of(bytes);
    ASSERT_EQ(huffman_decode(&code.huffman, &reader), 0);
    bitstream_extract(&reader, 1);

    EXPECT_EQ(huffman_decode(&code.huffman, &reader), kHuffmanNeedsInput);

    EXPECT_EQ(reader.available, 0U);
    EXPECT_EQ(reader.bitCount, 14U);
    EXPECT_EQ(reader.bits, 0x3FFFU);
}

TEST(HuffmanDecode, FinishesACodeWhoseFirstPiecesAreFreed) {
    stored_code_t code;
    code.build({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 15});
    bitstream_t reader{};
    for (int piece = 0; piece < 3; ++piece) {
        const auto memory = std::make_unique<uint8_t>(piece == 0 ? 0b11111000 : 0b11111111);
        reader.data = memory.get();
        reader.available = 1;
        if (piece == 0) {
            ASSERT_EQ(bitstream_extract(&reader, 3), 0U);
        }
        ASSERT_EQ(huffman_decode(&code.huffman, &reader), piece < 2 ? kHuffmanNeedsInput : 15)
            << "piece " << piece;
    }
    EXPECT_EQ(bitstream_remaining(&reader), 24U - 3U - 15U);
}

TEST(HuffmanDecode, RequestsInputWithoutAnyAndKeepsNothing) {
    stored_code_t code;
    code.build({1, 1});
    bitstream_t reader{};

    EXPECT_EQ(huffman_decode(&code.huffman, &reader), kHuffmanNeedsInput);
    EXPECT_EQ(reader.bitCount, 0U);
}

} // namespace
