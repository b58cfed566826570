// The fast loop compared with the state machine: after every piece of input both must have the same
// record, the same reader and the same output buffer, to the last byte.
#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/fast_codes.h"
#include "inflate/src/internal/inflate_fast.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/internal/match_copy.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"
#include "tests/support/inspected_decoder.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

using namespace inflate_detail;

namespace {

// Long enough for the fast loop to start.
std::vector<size_t> long_pieces(test_rng& rng, size_t total) {
    std::vector<size_t> sizes;
    for (size_t covered = 0; covered < total; covered += sizes.back()) {
        sizes.push_back(random_between(rng, 40, 400));
    }
    return sizes;
}

byte_vector any_stream(test_rng& rng, size_t* content_size) {
    if (rng() % 2 == 0) {
        const made_stream_t stream = random_stream(rng, 32768);
        *content_size = stream.content.size();
        return stream.raw;
    }
    const byte_vector content =
        make_bytes(kAllDataKinds[rng() % 4], random_between(rng, 300, 6000), rng());
    *content_size = content.size();
    return deflate_without_fixed_codes(content, random_settings(rng));
}

TEST(InflateFast, EqualsTheStateMachine) {
    test_rng rng(1);
    for (int round = 0; round < 800 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        size_t size = 0;
        const byte_vector raw = any_stream(rng, &size);
        expect_same_steps(raw, size, {raw.size()});
        expect_same_steps(raw, size, long_pieces(rng, raw.size()));
        expect_same_steps(raw, size, random_pieces(rng, raw.size()));
    }
}

// The reader has the max number of bits, as after a step back. The first piece may end anywhere, also inside
// a match. The fast loop must also use bits that are not among the bytes of its own input.
TEST(InflateFast, EqualsTheStateMachineForBitsInTheReader) {
    test_rng rng(6);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        size_t size = 0;
        const byte_vector raw = any_stream(rng, &size);
        const size_t first = rng() % raw.size();
        const uint32_t held = random_between(rng, 1, 4);
        inspected_decoder fast(size, false);
        inspected_decoder states(size, true);
        const byte_vector begin = slice(raw, 0, first);
        const decoder_snapshot_t expected = states.feed(begin);
        ASSERT_TRUE(same_snapshot(expected, fast.feed(begin))) << "the first " << first << " bytes";
        // Stored bytes are read only from the input.
        if (expected.result == kInflateNeedsInput && expected.record[0] != kStoredCopy) {
            const byte_vector rest = slice(raw, first, raw.size() - first);
            ASSERT_TRUE(same_snapshot(states.feed(rest, held), fast.feed(rest, held)))
                << "the rest from " << first << " on, of which the reader holds " << held;
        }
    }
}

// Literals of two bits, so that 16 of them or fewer and an end of block use exactly the reader's 32 bits.
TEST(InflateFast, EqualsTheStateMachineIfExactlyTheBitsInTheReaderAreUsed) {
    const auto litlen = lengths_of(258, {{'a', 2}, {'b', 2}, {256, 2}, {257, 2}});
    deflate_maker begin;
    begin.dynamic(simple_header(litlen, lengths_of(1, {})), block_is::last);
    uint32_t prefix = 0;
    for (; begin.bit_count() % 8 != 0 && prefix < 4; ++prefix) {
        begin.literals({'a'});
    }
    ASSERT_EQ(0U, begin.bit_count() % 8);
    for (uint32_t literals = 0; literals <= 40; ++literals) {
        for (const uint32_t room : {literals, literals + 1, literals + 50}) {
            SCOPED_TRACE(testing::Message() << literals << " literals, room for " << room);
            deflate_maker maker = begin;
            byte_vector rest = slice(maker.literals(byte_vector(literals, 'b')).end().bytes(),
                                     begin.bytes().size(), 1000);
            rest.resize(rest.size() + 40, 0x6B);
            inspected_decoder fast(prefix + room, false);
            inspected_decoder states(prefix + room, true);
            ASSERT_TRUE(same_snapshot(states.feed(begin.bytes()), fast.feed(begin.bytes())));
            ASSERT_TRUE(same_snapshot(states.feed(rest, 4), fast.feed(rest, 4)));
        }
    }
}

TEST(InflateFast, EqualsTheStateMachineForDamagedStreams) {
    test_rng rng(2);
    for (int round = 0; round < 1200 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        size_t size = 0;
        byte_vector raw = any_stream(rng, &size);
        for (uint32_t flips = random_between(rng, 1, 4); flips > 0; --flips) {
            raw[rng() % raw.size()] ^= static_cast<uint8_t>(1U << rng() % 8);
        }
        expect_same_steps(raw, size + 700, {raw.size()});
        expect_same_steps(raw, size + 700, long_pieces(rng, raw.size()));
    }
}

// For every output size, the last match is truncated by the same rule.
TEST(InflateFast, EqualsTheStateMachineForEveryOutputSize) {
    test_rng rng(3);
    for (const data_kind kind : kAllDataKinds) {
        const byte_vector content = make_bytes(kind, 1200, rng());
        const byte_vector raw = deflate_without_fixed_codes(content, {});
        for (size_t room = 0; room <= content.size() && !HasFatalFailure(); ++room) {
            expect_same_steps(raw, room, {raw.size()});
        }
    }
}

TEST(InflateFast, EqualsTheStateMachineForEveryInputSize) {
    test_rng rng(4);
    for (const data_kind kind : kAllDataKinds) {
        const byte_vector content = make_bytes(kind, 1500, rng());
        const byte_vector raw = deflate_without_fixed_codes(content, {});
        for (size_t first = 0; first <= raw.size() && !HasFatalFailure(); ++first) {
            expect_same_steps(raw, content.size(), {first, raw.size() - first});
        }
    }
}

// If a block's codes are complete and its distances are short, any bits are valid, so that decoding continues
// for long and all pairs of symbols, extra bits and code lengths occur. In one case of four there is a single
// distance code or none.
TEST(InflateFast, EqualsTheStateMachineForRandomBits) {
    test_rng rng(7);
    for (int round = 0; round < 600 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const uint32_t litlens = random_between(rng, 258, 286);
        const uint32_t dists = random_between(rng, 2, 16);
        const code_lengths dist[] = {random_complete_lengths(rng, dists, 15),
                                     random_complete_lengths(rng, dists, 15),
                                     random_complete_lengths(rng, dists, 15),
                                     lengths_of(1, {{0, static_cast<uint16_t>(rng() % 2)}})};
        deflate_maker maker;
        maker.stored(make_bytes(data_kind::noise, 300, rng()), block_is::followed);
        maker.dynamic(simple_header(random_complete_lengths(rng, litlens, 15), dist[rng() % 4]),
                      block_is::last);
        byte_vector raw = maker.bytes();
        const byte_vector bits = make_bytes(data_kind::noise, 3000, rng());
        raw.insert(raw.end(), bits.begin(), bits.end());
        const size_t room = random_between(rng, 300, 30000);
        expect_same_steps(raw, room, {raw.size()});
        expect_same_steps(raw, room, long_pieces(rng, raw.size()));
    }
}

// A single distance code has one bit, so that half of all patterns are no code.
TEST(InflateFast, LeavesDistancePatternsWithoutACodeToTheStateMachine) {
    for (const uint32_t pattern : {0x0001U, 0x0003U, 0xFFFFU}) {
        const dynamic_header_t header = simple_header(
            lengths_of(258, {{'a', 2}, {'b', 2}, {256, 2}, {257, 2}}), lengths_of(1, {{0, 1}}));
        deflate_maker maker;
        maker.dynamic(header, block_is::last).literals(byte_vector(200, 'a'));
        maker.match(3, 1).litlen_symbol(257).bits(pattern, 16);
        maker.literals(byte_vector(400, 'b')).end();
        SCOPED_TRACE(testing::Message() << "pattern " << pattern);
        expect_same_steps(maker.bytes(), 1000, {maker.bytes().size()});
        EXPECT_EQ(kInflateInvalid, inflate_whole(maker.bytes(), 1000).result);
    }
}

// A block with only literals has no distance code, so that no bits after a length are one, not even zeros.
TEST(InflateFast, LeavesALengthWithoutADistanceCodeToTheStateMachine) {
    for (const uint8_t filler : byte_vector{0x00, 0xFF}) {
        deflate_maker maker;
        const auto litlen = lengths_of(258, {{'a', 2}, {'b', 2}, {256, 2}, {257, 2}});
        maker.dynamic(simple_header(litlen, lengths_of(1, {})), block_is::last);
        maker.literals(byte_vector(40, 'a')).litlen_symbol(257);
        byte_vector raw = maker.bytes();
        raw.resize(raw.size() + 100, filler);
        SCOPED_TRACE(testing::Message() << "filler " << int{filler});
        expect_same_steps(raw, 1000, {raw.size()});
        EXPECT_EQ(kInflateInvalid, inflate_whole(raw, 1000).result);
    }
}

// Codes of a single symbol are incomplete. The limits cannot represent them.
TEST(InflateFast, LeavesBlocksOfASingleCodeToTheStateMachine) {
    deflate_maker maker;
    const dynamic_header_t empty = simple_header(lengths_of(257, {{256, 1}}), lengths_of(1, {}));
    for (int block = 0; block < 20; ++block) {
        maker.dynamic(empty, block_is::followed).end();
    }
    maker.stored(byte_vector(300, 'a'), block_is::last);
    expect_same_steps(maker.bytes(), 1000, {maker.bytes().size()});
    EXPECT_TRUE(same_bytes(byte_vector(300, 'a'), inflate_whole(maker.bytes(), 1000).content));
}

TEST(MatchCopy, WritesTheMatchAndNothingElse) {
    for (uint32_t distance = 1; distance <= 40; ++distance) {
        for (uint32_t length = 3; length <= 258; ++length) {
            byte_vector block = make_bytes(data_kind::noise, 64 + 258 + 16, distance);
            byte_vector expected = block;
            for (uint32_t i = 0; i < length; ++i) {
                expected[64 + i] = expected[64 + i - distance];
            }
            copy_match(block.data() + 64, distance, length);
            ASSERT_TRUE(same_bytes(expected, block))
                << "distance " << distance << ", length " << length << ", written from byte 64 on";
        }
    }
}

// The limits find the same code as decoding bit by bit.
TEST(FastCodes, GiveTheLengthAndSymbolOfEveryCode) {
    test_rng rng(5);
    int codes = 0;
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const made_stream_t stream = random_stream(rng, 32768);
        inflate_session session(stream.content.size());
        session.feed(slice(stream.raw, 0, stream.raw.size() / 2));
        const huffman_t& huffman = session.state.dynLitlen;
        if (session.state.state != 4 || huffman.maxBits == 0) {
            continue;
        }
        ++codes;
        fast_code_t fast;
        fast_code_derive(&fast, huffman);
        ASSERT_EQ(~uint64_t{0}, fast.last); // all these codes are complete
        for (uint32_t top = 0; top < 1 << 16; ++top) {
            std::array<uint8_t, 2> bits{};
            for (uint32_t i = 0; i < 16; ++i) {
                bits[i / 8] = static_cast<uint8_t>(bits[i / 8] | (top >> (15 - i) & 1) << (i % 8));
            }
            bitstream_t reader = {bits.data(), 2, 0, 0};
            const int32_t symbol = huffman_decode(&huffman, &reader);
            const uint64_t lowest = uint64_t{top} << 48;
            const uint64_t highest = lowest | 0xFFFFFFFFFFFF;
            const uint32_t length = fast_code_length<kFewLimits>(fast, lowest);
            ASSERT_EQ(16 - bitstream_remaining(&reader), length) << "bits " << top;
            ASSERT_EQ(length, fast_code_length<kFewLimits>(fast, highest)) << "bits " << top;
            ASSERT_EQ(length, fast_code_length<kManyLimits>(fast, lowest)) << "bits " << top;
            ASSERT_EQ(length, fast_code_length<kManyLimits>(fast, highest)) << "bits " << top;
            const uint32_t index = fast.base[length] + (top >> (16 - length));
            ASSERT_EQ(symbol, huffman.symbols[index]) << "bits " << top;
        }
    }
    EXPECT_GT(codes, 10);
}

// One code of each length up to `shortCodes`, then codes of 9 bits for the rest of the inputs.
fast_code_t code_of_two_kinds(uint16_t shortCodes) {
    std::vector<uint16_t> lengths;
    for (uint16_t length = 1; length <= shortCodes; ++length) {
        lengths.push_back(length);
    }
    lengths.resize(lengths.size() + (size_t{1} << (9 - shortCodes)), 9);
    std::array<uint16_t, kMaxCodeLength + 1> counts{};
    std::vector<uint16_t> symbols(lengths.size());
    huffman_t huffman = {};
    huffman_attach(&huffman, counts.data(), symbols.data());
    EXPECT_EQ(0, huffman_build(&huffman, lengths.data(), static_cast<uint32_t>(lengths.size()), 9));
    fast_code_t fast;
    fast_code_derive(&fast, huffman);
    return fast;
}

TEST(FastCodes, NeedManyLimitsIfAnEighthOfTheInputsHasLongCodes) {
    EXPECT_TRUE(code_of_two_kinds(1).needs_many_limits());
    EXPECT_TRUE(code_of_two_kinds(3).needs_many_limits());  // exactly an eighth
    EXPECT_FALSE(code_of_two_kinds(4).needs_many_limits()); // a sixteenth
    EXPECT_FALSE(code_of_two_kinds(9).needs_many_limits());
}

} // namespace
