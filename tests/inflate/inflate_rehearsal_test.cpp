// The rehearsal agrees with direct mode on every stream without fixed-code blocks, and finds those blocks.
#include "inflate/src/internal/inflate_rehearsal.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

using inflate_detail::fault_t;
using inflate_detail::rehearsal_t;

struct rehearsal_outcome_t {
    int32_t result;
    fault_t fault;
    uint64_t position, fixed_blocks, first_byte, last_byte;
};

rehearsal_outcome_t rehearse(const byte_vector& raw, uint64_t room,
                             const std::vector<size_t>& piece_sizes = {}) {
    const auto rehearsal = std::make_unique<rehearsal_t>();
    inflate_detail::rehearsal_begin(rehearsal.get(), room);
    int32_t result = kInflateNeedsInput;
    std::vector<size_t> sizes = piece_sizes;
    sizes.push_back(raw.size());
    for (size_t at = 0, i = 0; i < sizes.size() && result == kInflateNeedsInput; ++i) {
        const byte_vector piece = slice(raw, at, std::min(sizes[i], raw.size() - at));
        result = inflate_detail::rehearsal_feed(rehearsal.get(), piece.data(),
                                                static_cast<uint32_t>(piece.size()));
        at += piece.size();
    }
    return {result,
            rehearsal->fault,
            rehearsal_position(*rehearsal),
            rehearsal->fixedBlocks,
            rehearsal->firstFixedBlock.firstByte,
            rehearsal->firstFixedBlock.lastByte};
}

// The result, fault and position of direct mode.
rehearsal_outcome_t decode(const byte_vector& raw, size_t room) {
    inflate_session session(room);
    session.reader.data = raw.data();
    session.reader.available = static_cast<uint32_t>(raw.size());
    fault_t fault = fault_t::count;
    const int32_t result = inflate_detail::process(&session.state, &session.reader, &fault);
    const uint64_t bits_read =
        (raw.size() - session.reader.available) * 8 - session.reader.bitCount;
    return {result, fault, bits_read / 8, 0, 0, 0};
}

void expect_agreement(const byte_vector& raw, size_t room, const std::vector<size_t>& piece_sizes,
                      const std::string& name) {
    const rehearsal_outcome_t expected = decode(raw, room);
    const rehearsal_outcome_t actual = rehearse(raw, room, piece_sizes);
    if (expected.fault == fault_t::fixed_code_block) {
        EXPECT_GT(actual.fixed_blocks, 0U) << name;
        return;
    }
    EXPECT_EQ(actual.result, expected.result) << name;
    EXPECT_EQ(actual.fault, expected.fault) << name;
    EXPECT_EQ(actual.position, expected.position) << name;
    EXPECT_EQ(actual.fixed_blocks, 0U) << name;
}

TEST(InflateRehearsal, AgreesWithDirectModeOnRandomAndDamagedStreams) {
    for (uint32_t seed = 0; seed < 1000; ++seed) {
        test_rng rng(seed);
        made_stream_t stream = random_stream(rng, 1000);
        stream.raw[rng() % stream.raw.size()] ^= static_cast<uint8_t>(seed % 2 << rng() % 8);
        const size_t room =
            random_between(rng, 0, static_cast<uint32_t>(stream.content.size()) + 2);
        expect_agreement(stream.raw, room, random_pieces(rng, stream.raw.size()),
                         "seed " + std::to_string(seed));
    }
}

TEST(InflateRehearsal, AgreesWithDirectModeOnStreamsLongerThanTheWindow) {
    for (const data_kind kind : kAllDataKinds) {
        const byte_vector content = make_bytes(kind, 200000, 5);
        const byte_vector raw = raw_deflate(content, {});
        for (const size_t room : {content.size() - 1, content.size(), content.size() + 1}) {
            expect_agreement(raw, room, {},
                             "kind " + std::to_string(static_cast<int>(kind)) + ", room " +
                                 std::to_string(room));
        }
    }
}

// The last match may extend beyond the output space, but no output may follow it.
TEST(InflateRehearsal, AgreesWithDirectModeOnMatchesBeyondTheOutputSpace) {
    const dynamic_header_t header = simple_header(
        lengths_of(286, {{0, 2}, {256, 2}, {257, 2}, {285, 2}}), lengths_of(30, {{0, 1}}));
    for (size_t room = 0; room < 520; ++room) {
        for (const bool goes_on : {false, true}) {
            deflate_maker maker;
            maker.dynamic(header, block_is::last).literals({0}).match(258, 1);
            if (goes_on) {
                maker.match(3, 1);
            }
            expect_agreement(maker.end().bytes(), room, {},
                             "room " + std::to_string(room) + (goes_on ? ", two matches" : ""));
        }
    }
}

TEST(InflateRehearsal, FindsFixedBlocksOfZlibAnywhere) {
    uint32_t found = 0;
    for (uint32_t seed = 0; seed < 400; ++seed) {
        test_rng rng(seed);
        const byte_vector content = make_bytes(kAllDataKinds[seed % 4], 1 + rng() % 600, seed);
        const byte_vector raw = raw_deflate(content, random_settings(rng));

        const rehearsal_outcome_t outcome =
            rehearse(raw, content.size(), random_pieces(rng, raw.size()));

        EXPECT_EQ(outcome.result, kInflateDone) << "seed " << seed;
        EXPECT_EQ(outcome.fixed_blocks != 0, contains_fixed_block(raw)) << "seed " << seed;
        found += outcome.fixed_blocks != 0 ? 1 : 0;
    }
    EXPECT_GT(found, 50U);
}

void expect_fixed_block(const deflate_maker& maker, uint64_t count, uint64_t first, uint64_t last) {
    for (const std::vector<size_t>& pieces : {std::vector<size_t>{}, {1, 1, 1, 1, 1, 1, 1, 1}}) {
        const rehearsal_outcome_t outcome = rehearse(maker.bytes(), 1000, pieces);
        EXPECT_EQ(outcome.fixed_blocks, count) << pieces.size() << " short pieces";
        EXPECT_EQ(outcome.first_byte, first) << pieces.size() << " short pieces";
        EXPECT_EQ(outcome.last_byte, last) << pieces.size() << " short pieces";
    }
}

TEST(InflateRehearsal, NamesTheBytesOfTheFirstFixedBlock) {
    // Three bits for the header, eight for each literal, seven for the end.
    expect_fixed_block(deflate_maker().fixed(block_is::last).end(), 1, 0, 1);
    expect_fixed_block(deflate_maker().fixed(block_is::last).literals({1, 2}).end(), 1, 0, 3);
    // The stored block has 5 + 10 bytes.
    deflate_maker between;
    between.stored(byte_vector(10, 1), block_is::followed);
    between.fixed(block_is::followed).literals({1, 2}).end();
    between.stored(byte_vector(3, 1), block_is::last);
    expect_fixed_block(between, 1, 15, 18);
    deflate_maker several;
    several.fixed(block_is::followed).literals({1, 2}).match(3, 2).end();
    several.fixed(block_is::followed).end();
    several.stored({1}, block_is::followed);
    several.fixed(block_is::last).literals({1}).end();
    expect_fixed_block(several, 3, 0, 4);
}

TEST(InflateRehearsal, NamesTheBytesOfAnInvalidFixedBlock) {
    expect_fixed_block(deflate_maker().fixed(block_is::last).literals({1, 2}), 1, 0, 2);
    deflate_maker without_length;
    without_length.fixed(block_is::last).literals({1}).litlen_symbol(286).bits(0, 32);
    expect_fixed_block(without_length, 1, 0, 2);
    deflate_maker too_far;
    too_far.fixed(block_is::last).literals({1}).match(3, 2).bits(0, 32);
    expect_fixed_block(too_far, 1, 0, 2);
}

TEST(InflateRehearsal, DoesNotBuildTheProcessWideFixedCodes) {
    const byte_vector raw = deflate_maker().fixed(block_is::last).end().bytes();
    EXPECT_EQ(rehearse(raw, 10).result, kInflateDone);
    EXPECT_EQ(inflate_whole(raw, 10).result, kInflateInvalid);
}

} // namespace
