// Every reason for which a stream is rejected, in the order of the checks.
#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/inflate_fault.h"
#include "inflate/src/internal/inflate_steps.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <set>

using namespace inflate_detail;

namespace {

// The fault of the session's stream after `piece`.
fault_t fault_of(inflate_session& session, const byte_vector& piece) {
    session.reader.data = piece.data();
    session.reader.available = static_cast<uint32_t>(piece.size());
    fault_t fault = fault_t::count;
    const int32_t result = process(&session.state, &session.reader, &fault);
    EXPECT_EQ(result == kInflateInvalid, fault != fault_t::none);
    return fault;
}

fault_t fault_of(const deflate_maker& maker) {
    inflate_session session(1000);
    return fault_of(session, maker.bytes());
}

// More than enough zero bits follow the header.
fault_t fault_of_header(const dynamic_header_t& header) {
    return fault_of(deflate_maker().dynamic(header, block_is::last).bits(0, 32));
}

const code_lengths kLitlen = lengths_of(286, {{'a', 2}, {256, 2}, {257, 2}, {285, 2}});

dynamic_header_t small_header() {
    return simple_header(kLitlen, {1, 1});
}

// A record in a state that no stream reaches.
fault_t fault_in_state(uint16_t state, int16_t symbol) {
    inflate_session session(10);
    session.state.state = state;
    session.state.symbol = symbol;
    session.state.count = 300;
    session.state.lengthCursor = session.state.lengths + 1;
    return fault_of(session, {0, 0, 0});
}

TEST(InflateFault, IsNoneUnlessTheStreamIsRejected) {
    EXPECT_EQ(fault_of(deflate_maker().stored({1, 2}, block_is::last)), fault_t::none);
    EXPECT_EQ(fault_of(deflate_maker().stored({1, 2}, block_is::followed)), fault_t::none);
    EXPECT_EQ(fault_of(deflate_maker().stored(byte_vector(1001), block_is::last)), fault_t::none);
}

TEST(InflateFault, NamesAStateThatDoesNotExist) {
    EXPECT_EQ(fault_in_state(kStateCount, 0), fault_t::state);
}

TEST(InflateFault, NamesBlockType3) {
    EXPECT_EQ(fault_of(deflate_maker().block_header(3, block_is::last)), fault_t::block_type);
}

TEST(InflateFault, NamesAStoredLengthThatDiffersFromItsComplement) {
    EXPECT_EQ(
        fault_of(
            deflate_maker().block_header(0, block_is::last).bits(0, 5).bits(1, 16).bits(1, 16)),
        fault_t::stored_complement);
}

TEST(InflateFault, NamesAFixedCodeBlock) {
    EXPECT_EQ(fault_of(deflate_maker().fixed(block_is::last).end()), fault_t::fixed_code_block);
}

TEST(InflateFault, NamesTooManyCodes) {
    dynamic_header_t litlen = small_header();
    litlen.hlit = 30;
    dynamic_header_t dist = small_header();
    dist.hdist = 30;
    EXPECT_EQ(fault_of_header(litlen), fault_t::code_counts);
    EXPECT_EQ(fault_of_header(dist), fault_t::code_counts);
}

TEST(InflateFault, NamesAnOversubscribedCodeLengthCode) {
    dynamic_header_t header = small_header();
    header.length_code.fill(1);
    EXPECT_EQ(fault_of_header(header), fault_t::code_length_code);
}

TEST(InflateFault, NamesBitsThatAreNoCodeLengthSymbol) {
    dynamic_header_t header = small_header();
    header.length_code = {};
    header.length_code[0] = 2;
    header.items.clear();
    EXPECT_EQ(fault_of(deflate_maker().dynamic(header, block_is::last).bits(0x7FFF, 15)),
              fault_t::code_length_symbol);
}

TEST(InflateFault, NamesACodeLengthSymbolThatIsNoRepeat) {
    EXPECT_EQ(fault_in_state(kCodeLengthRepeat, 15), fault_t::code_length_kind);
    EXPECT_EQ(fault_in_state(kCodeLengthRepeat, 19), fault_t::code_length_kind);
}

TEST(InflateFault, NamesARepeatOfNothing) {
    dynamic_header_t header = small_header();
    header.items[0] = {16, 0};
    EXPECT_EQ(fault_of_header(header), fault_t::repeat_of_nothing);
}

TEST(InflateFault, NamesARepeatBeyondTheLastCodeLength) {
    dynamic_header_t header = small_header();
    header.items.back() = {17, 0};
    EXPECT_EQ(fault_of_header(header), fault_t::repeat_too_long);
}

TEST(InflateFault, NamesABlockWithoutAnEndOfBlockCode) {
    EXPECT_EQ(fault_of_header(simple_header(lengths_of(257, {{0, 1}, {1, 1}}), {1})),
              fault_t::end_of_block_missing);
}

TEST(InflateFault, NamesAnIncompleteLiteralLengthCode) {
    EXPECT_EQ(fault_of_header(simple_header(lengths_of(257, {{0, 1}, {1, 1}, {256, 1}}), {1})),
              fault_t::litlen_code);
    EXPECT_EQ(fault_of_header(simple_header(lengths_of(257, {{0, 2}, {256, 1}}), {1})),
              fault_t::litlen_code);
}

TEST(InflateFault, NamesAnIncompleteDistanceCode) {
    EXPECT_EQ(fault_of_header(simple_header(kLitlen, {1, 1, 1})), fault_t::distance_code);
    EXPECT_EQ(fault_of_header(simple_header(kLitlen, {1, 2})), fault_t::distance_code);
}

TEST(InflateFault, NamesBitsThatAreNoLiteralLengthSymbol) {
    const dynamic_header_t header = simple_header(lengths_of(257, {{256, 1}}), {1});
    EXPECT_EQ(fault_of(deflate_maker().dynamic(header, block_is::last).bits(0x7FFF, 15)),
              fault_t::litlen_symbol);
}

TEST(InflateFault, NamesASymbolWithoutALength) {
    EXPECT_EQ(fault_in_state(kLengthExtra, 29), fault_t::length_symbol);
}

TEST(InflateFault, NamesBitsThatAreNoDistanceSymbol) {
    deflate_maker maker;
    maker.dynamic(simple_header(kLitlen, {1}), block_is::last).literals({'a'});
    EXPECT_EQ(fault_of(maker.litlen_symbol(257).bits(0x7FFF, 15)), fault_t::distance_symbol);
}

TEST(InflateFault, NamesADistanceSymbolWithoutABase) {
    EXPECT_EQ(fault_in_state(kDistanceExtra, 30), fault_t::distance_without_base);
}

TEST(InflateFault, NamesADistanceTooFarBack) {
    deflate_maker maker;
    maker.dynamic(small_header(), block_is::last).literals({'a'}).match(3, 2);
    EXPECT_EQ(fault_of(maker), fault_t::distance_too_far);
}

TEST(InflateFault, AgreesWithTheResultOnDamagedStreams) {
    std::set<fault_t> seen;
    for (uint32_t seed = 0; seed < 3000; ++seed) {
        test_rng rng(seed);
        made_stream_t stream = random_stream(rng, 1000);
        const size_t damaged = rng() % std::min<size_t>(stream.raw.size(), 60);
        stream.raw[damaged] ^= static_cast<uint8_t>(1U << rng() % 8);
        inflate_session with_fault(5000);
        inflate_session without_fault(5000);

        const fault_t fault = fault_of(with_fault, stream.raw);
        const int32_t result = without_fault.feed(stream.raw);

        ASSERT_EQ(result == kInflateInvalid, fault != fault_t::none) << "byte " << damaged;
        ASSERT_TRUE(same_bytes(without_fault.content(), with_fault.content()))
            << "byte " << damaged;
        seen.insert(fault);
    }
    EXPECT_GT(seen.size(), 10U);
}

} // namespace
