// The decoder's results, rejections and record, for streams made bit by bit.
#include "tests/support/deflate_maker.h"
#include "tests/support/inflate_session.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

namespace {

// A small pair of codes: literals 'a' to 'd', end of block, lengths 3, 4, 11 to 12 and 258; the
// first four distances and one with extra bits.
const code_lengths kLitlen = lengths_of(
    286,
    {{'a', 3}, {'b', 3}, {'c', 3}, {'d', 3}, {256, 3}, {257, 3}, {258, 4}, {265, 4}, {285, 3}});
const code_lengths kDist = lengths_of(5, {{0, 2}, {1, 2}, {2, 2}, {3, 3}, {4, 3}});

dynamic_header_t small_header() {
    return simple_header(kLitlen, kDist);
}

byte_vector text(const char* characters) {
    const std::string string(characters);
    return {string.begin(), string.end()};
}

deflate_maker small_block() {
    deflate_maker maker;
    maker.dynamic(small_header(), block_is::last);
    return maker;
}

constexpr uint16_t kReadsCodeLengths = 12; // the state's number in the record

int32_t result_of(const deflate_maker& maker) {
    return inflate_whole(maker.bytes(), 1000).result;
}

// The result for a block with this header and more than enough zero bits after it.
int32_t result_of_header(const dynamic_header_t& header) {
    deflate_maker maker;
    maker.dynamic(header, block_is::last).bits(0, 32);
    return result_of(maker);
}

// Writes literals of 3 bits until the stream ends `bit` bits into a byte.
void pad_until(deflate_maker& maker, size_t bit) {
    while (maker.bit_count() % 8 != bit) {
        maker.literals(text("a"));
    }
}

// --- Blocks

TEST(Inflate, DecodesAStreamOfStoredBlocks) {
    deflate_maker maker;
    maker.stored(text("hello "), block_is::followed).stored(text("world"), block_is::last);

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, text("hello world"));
}

TEST(Inflate, DecodesAStoredBlockOfMaxLength) {
    const byte_vector data = make_bytes(data_kind::noise, 65535, 1);
    deflate_maker maker;
    maker.stored(data, block_is::last);

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), data.size());

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_TRUE(same_bytes(data, outcome.content));
}

TEST(Inflate, ContinuesAfterAnEmptyStoredBlock) {
    deflate_maker maker;
    maker.stored({}, block_is::followed).stored(text("x"), block_is::followed);
    maker.stored({}, block_is::last);

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 1);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, text("x"));
}

TEST(Inflate, AcceptsAnEmptyStoredBlockWithoutOutputSpace) {
    deflate_maker maker;
    maker.stored({}, block_is::last);

    EXPECT_EQ(inflate_whole(maker.bytes(), 0).result, kInflateDone);
}

TEST(Inflate, DecodesLiteralsAndMatchesOfADynamicBlock) {
    deflate_maker maker = small_block();
    maker.literals(text("abc")).match(4, 3).match(11, 1).match(3, 6).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, text("abcabcaaaaaaaaaaaaaaa"));
}

TEST(Inflate, ReusesNothingOfThePreviousBlock) {
    deflate_maker maker;
    maker.dynamic(small_header(), block_is::followed).literals(text("ab")).end();
    maker.dynamic(simple_header(lengths_of(257, {{'z', 1}, {256, 1}}), {0}), block_is::last);
    maker.literals(text("zz")).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, text("abzz"));
}

TEST(Inflate, CopiesMatchesAcrossBlocks) {
    deflate_maker maker;
    maker.stored(text("xyz"), block_is::followed);
    maker.dynamic(small_header(), block_is::last).match(3, 3).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 100).content, text("xyzxyz"));
}

TEST(Inflate, DecodesEveryLengthAndDistanceSymbol) {
    code_lengths litlen(286, 9);
    std::fill_n(litlen.begin(), 226, static_cast<uint16_t>(8)); // 226/256 + 60/512 = 1
    code_lengths all_distances(30, 5);
    all_distances[0] = all_distances[29] = 4;
    const byte_vector start = make_bytes(data_kind::noise, 33000, 2);
    deflate_maker maker;
    maker.stored(start, block_is::followed);
    maker.dynamic(simple_header(litlen, all_distances), block_is::last);
    byte_vector expected = start;
    const auto match = [&maker, &expected](uint32_t length, uint32_t distance) {
        maker.match(length, distance);
        for (uint32_t i = 0; i < length; ++i) {
            expected.push_back(expected[expected.size() - distance]);
        }
    };
    for (uint32_t length = 3; length <= 258; ++length) {
        match(length, length * 7);
    }
    for (uint32_t distance = 1; distance <= 32768; distance += distance < 300 ? 1 : 61) {
        match(3, distance);
    }
    match(258, 32768);
    maker.end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), expected.size());

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_TRUE(same_bytes(expected, outcome.content));
}

TEST(Inflate, AcceptsTheOtherEncodingOfLength258) {
    const code_lengths litlen = lengths_of(285, {{'a', 2}, {256, 2}, {284, 1}});
    deflate_maker maker;
    maker.dynamic(simple_header(litlen, {1}), block_is::last);
    maker.literals(text("a")).litlen_symbol(284).bits(31, 5).dist_symbol(0).end();

    EXPECT_TRUE(same_bytes(byte_vector(259, 'a'), inflate_whole(maker.bytes(), 1000).content));
}

TEST(Inflate, UsesRepeatsOfCodeLengthsAcrossTheTwoCodes) {
    // 254 unused symbols, 255 and 256 with 2 bits, and a repeat with 2 bits for three more symbols: one
    // literal/length symbol and the first two distances.
    dynamic_header_t header =
        simple_header(lengths_of(258, {{254, 2}, {255, 2}, {256, 2}, {257, 2}}), {2, 2, 1});
    header.items = {{18, 127}, {18, 105}, {2, 0}, {2, 0}, {16, 1}, {1, 0}};
    deflate_maker maker;
    maker.dynamic(header, block_is::last).literals({254, 255}).match(3, 2).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, (byte_vector{254, 255, 254, 255, 254}));
}

TEST(Inflate, RepeatsZeroLengthsWithCode16) {
    dynamic_header_t header = simple_header(lengths_of(257, {{'a', 1}, {256, 1}}), {0});
    header.items = {{17, 0}, {16, 3}, {18, 77}, {1, 0}, {18, 127},
                    {17, 7}, {17, 7}, {1, 0},   {0, 0}};
    deflate_maker maker;
    maker.dynamic(header, block_is::last).literals(text("aa")).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 100).content, text("aa"));
}

TEST(Inflate, AcceptsASingleDistanceCodeOfOneBit) {
    deflate_maker maker;
    maker.dynamic(simple_header(kLitlen, {0, 0, 1}), block_is::last);
    maker.literals(text("abc")).match(3, 3).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 100).content, text("abcabc"));
}

TEST(Inflate, AcceptsASingleLiteralLengthCodeOfOneBit) {
    deflate_maker maker;
    maker.dynamic(simple_header(lengths_of(257, {{256, 1}}), {0}), block_is::last).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 0).result, kInflateDone);
}

// Kept on purpose: only an over-subscribed code-length code is rejected.
TEST(Inflate, AcceptsAnIncompleteCodeLengthCode) {
    dynamic_header_t header = simple_header(lengths_of(257, {{'a', 1}, {256, 1}}), {0});
    header.length_code = {};
    header.length_code[0] = 2;
    header.length_code[1] = 2;
    header.length_code[7] = 3;
    deflate_maker maker;
    maker.dynamic(header, block_is::last).literals(text("aaa")).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, text("aaa"));
}

// --- Rejections

TEST(InflateRejects, BlockType3) {
    EXPECT_EQ(result_of(deflate_maker().block_header(3, block_is::last)), kInflateInvalid);
}

// Kept on purpose: the fixed codes stay unbuilt.
TEST(InflateRejects, AFixedCodeBlockAtItsFirstSymbol) {
    EXPECT_EQ(result_of(deflate_maker().fixed(block_is::last).end()), kInflateInvalid);
}

TEST(InflateRejects, AFixedCodeBlockAfterValidOnes) {
    deflate_maker maker;
    maker.stored(text("abc"), block_is::followed).fixed(block_is::last).literals(text("d")).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateInvalid);
    EXPECT_EQ(outcome.content, text("abc"));
}

TEST(InflateRejects, AStoredLengthThatDiffersFromItsComplement) {
    for (uint32_t bit = 0; bit < 16; ++bit) {
        deflate_maker maker;
        maker.bits(1, 8).bits(3, 16).bits((~3U & 0xFFFF) ^ 1U << bit, 16).bits(0, 24);
        EXPECT_EQ(result_of(maker), kInflateInvalid) << "bit " << bit;
    }
}

TEST(InflateRejects, MoreThan286LiteralLengthCodes) {
    for (const uint32_t field : {30U, 31U}) {
        dynamic_header_t header = small_header();
        header.hlit = field;
        EXPECT_EQ(result_of_header(header), kInflateInvalid) << field;
    }
}

TEST(InflateRejects, MoreThan30DistanceCodes) {
    for (const uint32_t field : {30U, 31U}) {
        dynamic_header_t header = small_header();
        header.hdist = field;
        EXPECT_EQ(result_of_header(header), kInflateInvalid) << field;
    }
}

TEST(InflateRejects, TooManyCodesAsSoonAsTheCountsAreRead) {
    deflate_maker maker;
    maker.block_header(2, block_is::last).bits(30, 5).bits(0, 5).bits(0, 4);

    EXPECT_EQ(result_of(maker), kInflateInvalid);
}

TEST(InflateRejects, AnOversubscribedCodeLengthCode) {
    dynamic_header_t header = small_header();
    header.length_code[18] = 4;
    EXPECT_EQ(result_of_header(header), kInflateInvalid);
}

TEST(InflateRejects, ACodeLengthCodeWithoutSymbols) {
    deflate_maker maker;
    maker.block_header(2, block_is::last).bits(0, 14).bits(0, 12).bits(0, 15);

    EXPECT_EQ(result_of(maker), kInflateInvalid);
}

TEST(InflateRejects, ABitPatternThatIsNoCodeLengthSymbol) {
    dynamic_header_t header = small_header();
    header.length_code = {};
    header.length_code[0] = 2;
    header.items.clear();
    deflate_maker maker;
    maker.dynamic(header, block_is::last).bits(0x7FFF, 15);

    EXPECT_EQ(result_of(maker), kInflateInvalid);
}

TEST(Inflate, KeepsTheLastCodeLengthSymbol) {
    deflate_maker maker;
    maker.dynamic(small_header(), block_is::last);
    inflate_session session(10);
    uint32_t seen = 0;
    for (const uint8_t byte : maker.bytes()) {
        session.feed({byte});
        if (session.state.state == kReadsCodeLengths &&
            session.state.lengthCursor > session.state.lengths) {
            // This header has one symbol for each length.
            ASSERT_EQ(session.state.lengthCursor[-1], session.state.symbol)
                << "length " << session.state.lengthCursor - session.state.lengths - 1;
            ++seen;
        }
    }
    EXPECT_GT(seen, 100U);
}

TEST(InflateRejects, ARepeatWithoutAPreviousLength) {
    // The first three lengths are zero, but there is no previous length to repeat.
    dynamic_header_t header = small_header();
    header.items.erase(header.items.begin(), header.items.begin() + 2);
    header.items[0] = {16, 0};
    deflate_maker maker;
    maker.dynamic(header, block_is::last).literals(text("abc")).end();

    EXPECT_EQ(result_of(maker), kInflateInvalid);
}

TEST(InflateRejects, RepeatsPastTheLastCodeLength) {
    for (const code_length_item_t& repeat :
         {code_length_item_t{16, 0}, code_length_item_t{17, 0}, code_length_item_t{18, 0}}) {
        dynamic_header_t header = simple_header(lengths_of(257, {{0, 1}, {256, 1}}), {0, 0, 0});
        header.items.resize(258);
        header.items.push_back(repeat);
        EXPECT_EQ(result_of_header(header), kInflateInvalid) << repeat.symbol;
    }
}

TEST(Inflate, AcceptsARepeatThatEndsWithTheLastCodeLength) {
    dynamic_header_t header = simple_header(lengths_of(257, {{0, 1}, {256, 1}}), {0, 0, 0});
    header.items.resize(257);
    header.items.push_back({17, 0});
    deflate_maker maker;
    maker.dynamic(header, block_is::last).end();

    EXPECT_EQ(result_of(maker), kInflateDone);
}

TEST(InflateRejects, ABlockWithoutAnEndOfBlockCode) {
    EXPECT_EQ(result_of_header(simple_header(lengths_of(257, {{0, 1}, {1, 1}}), {1})),
              kInflateInvalid);
}

TEST(InflateRejects, AnOversubscribedLiteralLengthCode) {
    EXPECT_EQ(result_of_header(simple_header(lengths_of(257, {{0, 1}, {1, 1}, {256, 1}}), {1})),
              kInflateInvalid);
}

TEST(InflateRejects, AnIncompleteLiteralLengthCode) {
    EXPECT_EQ(result_of_header(simple_header(lengths_of(257, {{0, 2}, {256, 1}}), {1})),
              kInflateInvalid);
}

TEST(InflateRejects, ASingleLiteralLengthCodeOfTwoBits) {
    EXPECT_EQ(result_of_header(simple_header(lengths_of(257, {{256, 2}}), {1})), kInflateInvalid);
}

TEST(InflateRejects, AnOversubscribedDistanceCode) {
    EXPECT_EQ(result_of_header(simple_header(kLitlen, {1, 1, 1})), kInflateInvalid);
}

TEST(InflateRejects, AnIncompleteDistanceCode) {
    EXPECT_EQ(result_of_header(simple_header(kLitlen, {1, 2})), kInflateInvalid);
    EXPECT_EQ(result_of_header(simple_header(kLitlen, {2})), kInflateInvalid);
}

TEST(InflateRejects, TheUnusedPatternOfASingleDistanceCode) {
    deflate_maker maker;
    maker.dynamic(simple_header(kLitlen, {1}), block_is::last);
    maker.literals(text("a")).litlen_symbol(257).bits(0x7FFF, 15);

    EXPECT_EQ(result_of(maker), kInflateInvalid);
}

// A pattern that is no code is rejected only after 15 bits of it.
TEST(Inflate, WaitsForFifteenBitsOfAPatternThatIsNoCode) {
    deflate_maker maker;
    maker.dynamic(simple_header(kLitlen, {1}), block_is::last);
    pad_until(maker, 8 - 3);
    maker.litlen_symbol(257);
    inflate_session session(100);

    EXPECT_EQ(session.feed(maker.bytes()), kInflateNeedsInput);
    EXPECT_EQ(session.feed({0xFF}), kInflateNeedsInput);
    EXPECT_EQ(session.feed({0xFF}), kInflateInvalid);
}

TEST(InflateRejects, AMatchInABlockWithoutDistances) {
    deflate_maker maker;
    maker.dynamic(simple_header(kLitlen, {0}), block_is::last);
    maker.literals(text("a")).litlen_symbol(257).bits(0, 15);

    EXPECT_EQ(result_of(maker), kInflateInvalid);
}

TEST(Inflate, AcceptsADistanceToTheFirstByte) {
    deflate_maker maker = small_block();
    maker.literals(text("abcd")).match(3, 4).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 100).content, text("abcdabc"));
}

TEST(InflateRejects, ADistanceToOneByteBeforeTheFirst) {
    deflate_maker maker = small_block();
    maker.literals(text("abc")).match(3, 4).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 100);

    EXPECT_EQ(outcome.result, kInflateInvalid);
    EXPECT_EQ(outcome.content, text("abc"));
}

TEST(InflateRejects, ACorruptStateNumber) {
    for (const uint16_t state : std::vector<uint16_t>{15, 16, 255, 65535}) {
        inflate_session session(10);
        session.state.state = state;
        EXPECT_EQ(session.feed({0, 0, 0}), kInflateInvalid) << state;
    }
}

TEST(InflateRejects, ACorruptRepeatSymbol) {
    for (const int16_t symbol : std::vector<int16_t>{-1, 0, 15, 19, 300}) {
        inflate_session session(10);
        session.state.state = 13;
        session.state.symbol = symbol;
        session.state.count = 300;
        session.state.lengthCursor = session.state.lengths + 1;
        EXPECT_EQ(session.feed({0, 0, 0}), kInflateInvalid) << symbol;
    }
}

TEST(InflateRejects, ALengthIndexBeyondTheTable) {
    for (const int16_t index : std::vector<int16_t>{29, 30, 57, 58, 1000}) {
        inflate_session session(10);
        session.state.state = 5;
        session.state.symbol = index;
        session.state.litlenTable = &session.state.dynLitlen;
        session.state.distTable = &session.state.dynDist;
        EXPECT_EQ(session.feed({0, 0, 0}), kInflateInvalid) << index;
    }
}

TEST(InflateRejects, ADistanceSymbolBeyondTheTable) {
    for (const int16_t symbol : std::vector<int16_t>{30, 31, 59, 60, 1000}) {
        inflate_session session(10);
        session.state.state = 7;
        session.state.symbol = symbol;
        EXPECT_EQ(session.feed({0, 0, 0}), kInflateInvalid) << symbol;
    }
}

// --- Running out of output

TEST(InflateOutput, KeepsALiteralPendingUntilThereIsSpace) {
    deflate_maker maker = small_block();
    maker.literals(text("ab")).end();
    inflate_session session(2);
    session.state.outAvailable = 1;

    EXPECT_EQ(session.feed(maker.bytes()), kInflateNeedsOutput);
    EXPECT_EQ(session.content(), text("a"));
    EXPECT_EQ(session.state.outAvailable, 0U);
    EXPECT_EQ(session.state.state, 8);
}

TEST(InflateOutput, RequestsOutputForAStoredByte) {
    deflate_maker maker;
    maker.stored(text("abc"), block_is::last);

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 2);

    EXPECT_EQ(outcome.result, kInflateNeedsOutput);
    EXPECT_EQ(outcome.content, text("ab"));
}

TEST(InflateOutput, RequestsInputBeforeOutputInAStoredBlock) {
    deflate_maker maker;
    maker.stored(text("abc"), block_is::last);
    const byte_vector raw = maker.bytes();

    EXPECT_EQ(inflate_whole(slice(raw, 0, raw.size() - 1), 2).result, kInflateNeedsInput);
}

TEST(InflateOutput, RequestsOutputForAMatch) {
    deflate_maker maker = small_block();
    maker.literals(text("a")).match(3, 1).end();
    inflate_session session(1);

    EXPECT_EQ(session.feed(maker.bytes()), kInflateNeedsOutput);
    EXPECT_EQ(session.state.state, 9);
    EXPECT_EQ(session.state.length, 3);
    EXPECT_EQ(session.state.distance, 1);
}

// Kept on purpose: without a window, the part of a match that does not fit is dropped.
TEST(InflateOutput, DropsTheRestOfAMatchWithoutAWindow) {
    deflate_maker maker = small_block();
    maker.literals(text("ab")).match(258, 2).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 7);

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_EQ(outcome.content, text("abababa"));
}

TEST(InflateOutput, ContinuesWithTheNextSymbolAfterADroppedRest) {
    deflate_maker maker = small_block();
    maker.literals(text("ab")).match(11, 1).literals(text("c")).end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 5);

    EXPECT_EQ(outcome.result, kInflateNeedsOutput);
    EXPECT_EQ(outcome.content, text("abbbb"));
}

TEST(InflateOutput, FinishesWithoutOutputSpaceIfNothingIsWritten) {
    deflate_maker maker = small_block();
    maker.literals(text("ab")).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 2).result, kInflateDone);
}

// --- The end of the stream

TEST(InflateEnd, DoesNotReadAfterTheFinalBlock) {
    deflate_maker maker = small_block();
    maker.literals(text("ab")).end();
    byte_vector raw = maker.bytes();
    append(raw, {0xFF, 0xFF, 0xFF, 0xFF});
    inflate_session session(2);

    EXPECT_EQ(session.feed(raw), kInflateDone);
    EXPECT_EQ(session.reader.available, 4U);
}

TEST(InflateEnd, LeavesTheBytesAfterAStoredBlock) {
    deflate_maker maker;
    maker.stored(text("ab"), block_is::last);
    byte_vector raw = maker.bytes();
    append(raw, byte_vector(9, 0x55));
    inflate_session session(2);

    EXPECT_EQ(session.feed(raw), kInflateDone);
    EXPECT_EQ(session.reader.available, 9U);
}

TEST(InflateEnd, ReturnsDoneAgainForEveryFurtherPiece) {
    deflate_maker maker;
    maker.stored(text("ab"), block_is::last);
    inflate_session session(10);
    ASSERT_EQ(session.feed(maker.bytes()), kInflateDone);

    for (const byte_vector& more : {byte_vector{}, byte_vector{0xFF}, maker.bytes()}) {
        EXPECT_EQ(session.feed(more), kInflateDone) << more.size() << " bytes";
        EXPECT_EQ(session.reader.available, more.size());
    }
    EXPECT_EQ(session.content(), text("ab"));
}

TEST(InflateEnd, DecodesAnotherStreamAfterAReset) {
    deflate_maker first = small_block();
    first.literals(text("abc")).end();
    deflate_maker second;
    second.stored(text("xy"), block_is::last);
    inflate_session session(10);
    ASSERT_EQ(session.feed(first.bytes()), kInflateDone);

    session.reset();

    EXPECT_EQ(session.state.totalOut, 0U);
    EXPECT_EQ(session.feed(second.bytes()), kInflateDone);
    EXPECT_EQ(session.content(), text("xy"));
}

TEST(InflateEnd, DecodesAgainAfterARejectionAndAReset) {
    deflate_maker good = small_block();
    good.literals(text("abc")).end();
    inflate_session session(10);
    ASSERT_EQ(session.feed({0x07}), kInflateInvalid);

    session.reset();

    EXPECT_EQ(session.feed(good.bytes()), kInflateDone);
    EXPECT_EQ(session.content(), text("abc"));
}

TEST(InflateEnd, RejectsDistancesIntoTheStreamBeforeTheReset) {
    deflate_maker first = small_block();
    first.literals(text("abc")).end();
    deflate_maker second = small_block();
    second.literals(text("a")).match(3, 2).end();
    inflate_session session(10);
    ASSERT_EQ(session.feed(first.bytes()), kInflateDone);

    session.reset();

    EXPECT_EQ(session.feed(second.bytes()), kInflateInvalid);
}

// --- The record

TEST(InflateReset, SetsUpTheRecordAndKeepsTheOutput) {
    uint8_t window[4];
    uint8_t output[4];
    inflate_t state{};
    state.window = window;
    state.windowSize = sizeof window;
    state.out = output;
    state.outAvailable = 3;
    state.state = 7;
    state.finalBlock = 1;
    state.totalOut = 99;

    EXPECT_EQ(inflate_process(&state, nullptr), kInflateDone);

    EXPECT_EQ(state.state, 0);
    EXPECT_EQ(state.finalBlock, 0);
    EXPECT_EQ(state.totalOut, 0U);
    EXPECT_EQ(state.windowPos, window);
    EXPECT_EQ(state.out, output);
    EXPECT_EQ(state.outAvailable, 3U);
    EXPECT_EQ(state.dynLitlen.counts, state.litlenCounts);
    EXPECT_EQ(state.dynLitlen.symbols, state.litlenSymbols);
    EXPECT_EQ(state.dynDist.counts, state.distCounts);
    EXPECT_EQ(state.dynDist.symbols, state.distSymbols);
}

TEST(InflateRecord, KeepsTheStateThatNeedsMoreOfAStoredBlock) {
    deflate_maker maker;
    maker.stored(text("abcd"), block_is::last);
    inflate_session session(10);
    uint16_t states[9];

    for (size_t i = 0; i < 9; ++i) {
        session.feed(slice(maker.bytes(), i, 1));
        states[i] = session.state.state;
    }

    EXPECT_EQ(std::vector<uint16_t>(states, states + 9),
              (std::vector<uint16_t>{1, 1, 2, 2, 3, 3, 3, 3, 0}));
    EXPECT_EQ(session.state.finalBlock, 1);
    EXPECT_EQ(session.state.totalOut, 4U);
    EXPECT_EQ(session.state.outAvailable, 6U);
}

TEST(InflateRecord, CountsDownAStoredBlock) {
    deflate_maker maker;
    maker.stored(text("abcd"), block_is::followed);
    inflate_session session(10);
    const uint8_t* start = session.state.out;

    session.feed(slice(maker.bytes(), 0, 7));

    EXPECT_EQ(session.state.state, 3);
    EXPECT_EQ(session.state.length, 2);
    EXPECT_EQ(session.state.finalBlock, 0);
    EXPECT_EQ(session.state.out, start + 2);
}

TEST(InflateRecord, WaitsForABlockHeaderInStateZero) {
    inflate_session session(10);

    EXPECT_EQ(session.feed({}), kInflateNeedsInput);
    EXPECT_EQ(session.state.state, 0);
}

TEST(InflateRecord, ShowsTheProgressOfADynamicHeader) {
    const dynamic_header_t header = simple_header(kLitlen, kDist);
    deflate_maker maker;
    maker.dynamic(header, block_is::last);
    inflate_session session(10);

    session.feed(slice(maker.bytes(), 0, 1));
    EXPECT_EQ(session.state.state, 10);
    EXPECT_EQ(session.state.litlenTable, &session.state.dynLitlen);
    EXPECT_EQ(session.state.distTable, &session.state.dynDist);

    // The first three bytes have 17 bits of headers and two of the 3-bit lengths.
    session.feed(slice(maker.bytes(), 1, 2));
    EXPECT_EQ(session.state.state, 11);
    EXPECT_EQ(session.state.length, 286);
    EXPECT_EQ(session.state.distance, 5);
    EXPECT_EQ(session.state.symbol, 2);
    EXPECT_EQ(session.state.count, 19 - 2);

    // 74 bits: all 19 lengths and the first zero, of 4 bits, ends in byte 10.
    session.feed(slice(maker.bytes(), 3, 7));
    EXPECT_EQ(session.state.state, 12);
    EXPECT_EQ(session.state.count, 286 + 5 - 1);
    EXPECT_EQ(session.state.lengthCursor, session.state.lengths + 1);
    EXPECT_EQ(session.state.dynLitlen.maxBits, 15);
}

TEST(InflateRecord, WaitsForRepeatBitsInState13) {
    dynamic_header_t header = simple_header(lengths_of(257, {{255, 1}, {256, 1}}), {0});
    header.length_code = {};
    header.length_code[18] = 1;
    header.length_code[1] = 2;
    header.length_code[0] = 2;
    header.items = {{18, 127}};
    deflate_maker maker;
    maker.dynamic(header, block_is::last);
    // 3 + 14 + 57 bits, and one of the code: bits 75 to 81 repeat, in bytes 9 and 10.
    inflate_session session(10);

    session.feed(slice(maker.bytes(), 0, 10));
    EXPECT_EQ(session.state.state, 13);
    EXPECT_EQ(session.state.symbol, 18);

    session.feed(slice(maker.bytes(), 10, 1));
    EXPECT_EQ(session.state.lengthCursor, session.state.lengths + 138);
}

TEST(InflateRecord, WaitsForLengthBitsInState5) {
    deflate_maker maker = small_block();
    pad_until(maker, 8 - 4);
    maker.litlen_symbol(265);
    inflate_session session(100);

    session.feed(maker.bytes());

    EXPECT_EQ(session.state.state, 5);
    EXPECT_EQ(session.state.symbol, 265 - 257);
}

TEST(InflateRecord, WaitsForADistanceInState6) {
    deflate_maker maker = small_block();
    pad_until(maker, 8 - 4 - 1);
    maker.litlen_symbol(265).bits(1, 1);
    inflate_session session(100);

    session.feed(maker.bytes());

    EXPECT_EQ(session.state.state, 6);
    EXPECT_EQ(session.state.symbol, 265 - 257);
    EXPECT_EQ(session.state.length, 12);
}

TEST(InflateRecord, WaitsForDistanceBitsInState7) {
    const code_lengths litlen = lengths_of(257 + 1, {{'a', 2}, {256, 2}, {257, 1}});
    deflate_maker maker;
    maker.stored(byte_vector(40000, 'x'), block_is::followed);
    maker.dynamic(simple_header(litlen, lengths_of(30, {{0, 1}, {29, 1}})), block_is::last);
    maker.literals(text("a")).litlen_symbol(257).dist_symbol(29);
    const size_t whole = maker.bytes().size();
    maker.bits(123, 13).end();
    inflate_session session(50000);

    EXPECT_EQ(session.feed(slice(maker.bytes(), 0, whole)), kInflateNeedsInput);
    EXPECT_EQ(session.state.state, 7);
    EXPECT_EQ(session.state.symbol, 29);
    EXPECT_EQ(session.state.length, 3);

    EXPECT_EQ(session.feed(slice(maker.bytes(), whole, whole)), kInflateDone);
    EXPECT_EQ(session.state.distance, 24577 + 123);
}

} // namespace
