// Prefix codes: every assignment of code lengths to small alphabets, complete, incomplete and over-subscribed.
//
// The table builder and the codes of the fast loop are compared with the definition: the Kraft sum of the lengths, and
// the canonical codes of RFC 1951, 3.2.2. The same assignments in the headers of dynamic blocks, with every short body,
// are compared with a reference decoder.
#include "inflate/src/internal/fast_codes.h"
#include "inflate/src/streams.h"
#include "tests/support/deflate_maker.h"
#include "tests/worlds/inflate_check.h"
#include "tests/worlds/world.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

using namespace inflate_detail;

namespace {

// Codes are compared as strings of 15 bits.
constexpr uint32_t kFullSpace = 1U << kMaxCodeLength;

std::string words(const code_lengths& lengths) {
    std::ostringstream text;
    text << "code lengths";
    for (const uint16_t length : lengths) {
        text << " " << length;
    }
    return text.str();
}

// Calls `check` with every list of `symbols` lengths from 0 to `longest`, until a failure. A unit is one list.
template <typename check_t>
void for_each_assignment(World& world, size_t symbols, uint16_t longest, check_t check) {
    code_lengths lengths(symbols);
    for (bool has_next = true; has_next && !testing::Test::HasFailure();) {
        if (world.includesNext()) {
            check(lengths);
        }
        size_t at = 0;
        while (at < symbols && lengths[at] == longest) {
            lengths[at++] = 0;
        }
        has_next = at < symbols;
        if (has_next) {
            ++lengths[at];
        }
    }
}

// ---- The table builder

class built_code {
public:
    explicit built_code(const code_lengths& lengths) {
        huffman_attach(&m_code, m_counts.data(), m_symbols.data());
        m_left = huffman_build(&m_code, lengths.data(), static_cast<uint32_t>(lengths.size()),
                               kMaxCodeLength);
    }
    built_code(const built_code&) = delete;
    built_code& operator=(const built_code&) = delete;

    int32_t left() const { return m_left; }

    // The symbol of a string of 15 bits, the first bit highest, and the bits that it used.
    struct read_t {
        int32_t symbol;
        uint32_t bits;
        bool operator==(const read_t&) const = default;
    };
    read_t read(uint32_t string) const {
        std::array<uint8_t, 2> bytes{};
        for (uint32_t i = 0; i < kMaxCodeLength; ++i) {
            const uint32_t bit = string >> (kMaxCodeLength - 1 - i) & 1;
            bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | bit << i % 8);
        }
        bitstream_t reader{bytes.data(), bytes.size(), 0, 0};
        const int32_t symbol = huffman_decode(&m_code, &reader);
        return {symbol, 16 - bitstream_remaining(&reader)};
    }

    // The same by the limits of the fast loop, which has codes with symbols only.
    template <uint32_t limit_count>
    read_t read_fast(uint32_t string) const {
        fast_code_t fast;
        fast_code_derive(&fast, m_code);
        const uint64_t input = uint64_t{string} << (kCodeBits - kMaxCodeLength);
        if (input > fast.last) {
            return {kHuffmanInvalid, kMaxCodeLength};
        }
        const uint32_t length = fast_code_length<limit_count>(fast, input);
        const auto bits = static_cast<uint32_t>(input >> (kCodeBits - length));
        return {m_symbols.at(fast.base[length] + bits), length};
    }

private:
    std::array<uint16_t, kMaxCodeLength + 1> m_counts{};
    std::array<uint16_t, kMaxLitlenSymbols> m_symbols{};
    huffman_t m_code{};
    int32_t m_left;
};

// Of all strings of 15 bits, the number that begin with a code.
uint32_t kraft_sum(const code_lengths& lengths) {
    uint32_t sum = 0;
    for (const uint16_t length : lengths) {
        sum += length == 0 ? 0 : kFullSpace >> length;
    }
    return sum;
}

void expect_reads(const built_code& code, uint32_t string, const built_code::read_t& expected,
                  const code_lengths& lengths) {
    for (const built_code::read_t& got : {code.read(string), code.read_fast<kFewLimits>(string),
                                          code.read_fast<kManyLimits>(string)}) {
        ASSERT_EQ(got.symbol, expected.symbol)
            << words(lengths) << ", bits 0x" << std::hex << string;
        ASSERT_EQ(got.bits, expected.bits) << words(lengths) << ", bits 0x" << std::hex << string;
    }
}

// The strings that begin with a code are a range, so its ends are tested. Strings without a code follow the last code.
void expect_as_defined(const code_lengths& lengths) {
    const uint32_t sum = kraft_sum(lengths);
    const built_code code(lengths);
    if (sum > kFullSpace) {
        ASSERT_LT(code.left(), 0) << words(lengths);
        return;
    }
    const uint32_t unused = sum == 0 ? 0 : kFullSpace - sum;
    ASSERT_EQ(code.left(), static_cast<int32_t>(unused)) << words(lengths);
    if (sum == 0) {
        ASSERT_EQ(code.read(0).symbol, kHuffmanInvalid);
        return;
    }
    const prefix_code canonical(lengths);
    for (uint32_t symbol = 0; symbol < lengths.size(); ++symbol) {
        const uint32_t length = lengths[symbol];
        if (length == 0) {
            continue;
        }
        const uint32_t rest = kMaxCodeLength - length;
        const uint32_t first = canonical.code(symbol) << rest;
        const built_code::read_t expected{static_cast<int32_t>(symbol), length};
        expect_reads(code, first, expected, lengths);
        expect_reads(code, first + (1U << rest) - 1, expected, lengths);
    }
    if (unused > 0) {
        expect_reads(code, sum, {kHuffmanInvalid, kMaxCodeLength}, lengths);
        expect_reads(code, kFullSpace - 1, {kHuffmanInvalid, kMaxCodeLength}, lengths);
    }
}

struct alphabet_t {
    size_t symbols;
    uint16_t longest;
};

void PrintTo(const alphabet_t& alphabet, std::ostream* stream) {
    *stream << alphabet.symbols << " of up to " << alphabet.longest << " bits";
}

class CodeLengthsWorld : public testing::TestWithParam<alphabet_t> {};

INSTANTIATE_TEST_SUITE_P(SmallAlphabets, CodeLengthsWorld,
                         testing::Values(alphabet_t{1, 15}, alphabet_t{2, 15}, alphabet_t{3, 15},
                                         alphabet_t{4, 15}, alphabet_t{5, 15}, alphabet_t{6, 7},
                                         alphabet_t{7, 7}, alphabet_t{9, 4}, alphabet_t{12, 2}),
                         [](const auto& test) {
                             std::ostringstream name;
                             name << test.param.symbols << "_symbols_of_up_to_"
                                  << test.param.longest << "_bits";
                             return name.str();
                         });

TEST_P(CodeLengthsWorld, EqualTheDefinitionInTheTableBuilder) {
    const auto [symbols, longest] = GetParam();
    World world("code lengths, " + testing::PrintToString(GetParam()));
    for_each_assignment(world, symbols, longest, [&](const code_lengths& lengths) {
        expect_as_defined(lengths);
        world.count();
    });
}

// ---- Dynamic blocks

// Ends a stream with bytes that let the decoder use its fast functions, or after less than a byte.
struct ending_t {
    uint32_t bytes;
    bool is_compared_with_zlib; // before the end of the input, zlib rejects bits earlier
};
constexpr ending_t kEndings[] = {{0, false}, {40, true}};

void expect_stream_as_reference(World& world, const deflate_maker& start, uint32_t body,
                                uint32_t body_bits, bool zlib) {
    for (const ending_t& ending : kEndings) {
        deflate_maker maker = start;
        maker.bits(body, body_bits);
        for (uint32_t i = 0; i < ending.bytes; ++i) {
            maker.bits(i * 0x9D & 0xFF, 8);
        }
        ASSERT_TRUE(inflates_as_reference(maker.bytes()));
        if (zlib && ending.is_compared_with_zlib) {
            ASSERT_TRUE(reference_agrees_with_zlib(maker.bytes()));
        }
        world.count();
    }
}

// The code that reads the code lengths: every assignment to seven of its symbols, the three repeats included.
TEST(DynamicBlocksWorld, EqualTheReferenceInTheCodeLengthCode) {
    World world("code lengths, the code-length code");
    constexpr uint32_t kSymbols[] = {16, 17, 18, 0, 1, 8, 7};
    for_each_assignment(world, std::size(kSymbols), 7, [&](const code_lengths& lengths) {
        dynamic_header_t header = simple_header(code_lengths(257), code_lengths(1));
        header.items.clear();
        header.length_code = {};
        for (size_t i = 0; i < lengths.size(); ++i) {
            header.length_code[kSymbols[i]] = lengths[i];
        }
        const deflate_maker maker = deflate_maker().dynamic(header, block_is::last);
        expect_stream_as_reference(world, maker, 0x2C5, 11, true);
    });
}

// Symbols with and without extra bits, and the end of the block.
constexpr uint32_t kLitlens[] = {0, 255, 256, 257, 285};
constexpr uint32_t kDists[] = {0, 1, 4};
constexpr uint16_t kMaxBits = 4;
constexpr uint32_t kBodyBits = 10;

code_lengths spread(const code_lengths& lengths, const uint32_t* symbols, size_t count) {
    code_lengths all(count);
    for (size_t i = 0; i < lengths.size(); ++i) {
        all[symbols[i]] = lengths[i];
    }
    return all;
}

bool may_be_accepted(const code_lengths& lengths) {
    const uint32_t sum = kraft_sum(lengths);
    return sum == 0 || sum == kFullSpace || sum == kFullSpace / 2;
}

// Every assignment to the symbols of both codes. The accepted ones get every body of 10 bits.
TEST(DynamicBlocksWorld, EqualTheReferenceInDynamicBlocks) {
    World world("code lengths, dynamic blocks");
    for_each_assignment(
        world, std::size(kLitlens) + std::size(kDists), kMaxBits, [&](const code_lengths& both) {
            const auto middle = both.begin() + std::size(kLitlens);
            const code_lengths litlen(both.begin(), middle), dist(middle, both.end());
            const deflate_maker maker = deflate_maker().dynamic(
                simple_header(spread(litlen, kLitlens, 286), spread(dist, kDists, 5)),
                block_is::followed);
            expect_stream_as_reference(world, maker, 0x155, kBodyBits, true);
            if (!may_be_accepted(litlen) || !may_be_accepted(dist)) {
                return;
            }
            for (uint32_t body = 0; body < 1U << kBodyBits && !testing::Test::HasFailure();
                 ++body) {
                expect_stream_as_reference(world, maker, body, kBodyBits, body % 64 == 0);
            }
        });
}

} // namespace
