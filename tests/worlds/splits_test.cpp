// Splits: the pieces of a DEFLATE stream and the IDAT chunks of a PNG, split at every position, at every two and at every
// three positions. The result must be that of the unsplit input, as the reference decoder and the row model give it.
#include "inflate/src/streams.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_reference.h"
#include "tests/support/each_backend.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/inflate_session.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_model.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"
#include "tests/worlds/inflate_check.h"
#include "tests/worlds/world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using splits_t = std::vector<size_t>; // ascending

std::string words(const splits_t& splits) {
    std::ostringstream text;
    text << "split at";
    for (const size_t split : splits) {
        text << " " << split;
    }
    return text.str();
}

// Calls `check` with every `count` ascending positions from 0 to `size`, until a failure. A unit is such a list.
template <typename check_t>
void for_each_split(World& world, size_t size, size_t count, check_t check) {
    splits_t splits(count, 0);
    for (bool has_next = true; has_next && !testing::Test::HasFailure();) {
        if (world.includesNext()) {
            check(splits);
        }
        size_t at = 0; // the first position that can move on
        while (at < count && splits[at] == (at + 1 < count ? splits[at + 1] : size)) {
            splits[at++] = 0;
        }
        has_next = at < count;
        if (has_next) {
            ++splits[at];
        }
    }
}

// ---- Pieces of a DEFLATE stream

struct named_stream_t {
    const char* name;
    byte_vector raw;
    int32_t result = kInflateDone;
};

// A block of literals and matches with extra bits.
deflate_maker& put_matches(deflate_maker& maker, block_is place) {
    const code_lengths litlen =
        lengths_of(286, {{'a', 2}, {'b', 2}, {256, 4}, {257, 3}, {270, 4}, {285, 2}});
    const code_lengths dist = lengths_of(12, {{0, 2}, {1, 2}, {4, 2}, {11, 2}});
    test_rng rng(61);
    maker.dynamic(packed_header(rng, litlen, dist), place);
    for (const uint32_t distance : {1U, 2U, 5U, 6U, 49U}) {
        maker.literals({'a', 'b', 'a', 'a', 'b'}).match(3, 1).match(25, distance).match(258, 1);
    }
    return maker.end();
}

std::vector<named_stream_t> small_streams() {
    const byte_vector text = make_bytes(data_kind::text, 40, 62);
    deflate_maker stored, literals, matches, mixed, long_codes, fixed;
    stored.stored(slice(text, 0, 9), block_is::followed)
        .stored({}, block_is::followed)
        .stored(slice(text, 9, 20), block_is::last);
    test_rng rng(63);
    std::vector<deflate_token_t> tokens;
    for (const uint8_t byte : text) {
        tokens.push_back({byte, 0, 0});
    }
    put_random_block(literals, rng, tokens, block_is::last);
    put_matches(matches, block_is::last);
    put_matches(mixed.stored({'x'}, block_is::followed), block_is::followed);
    mixed.stored(slice(text, 0, 5), block_is::last);
    code_lengths litlen(272);
    for (uint16_t i = 0; i < 16; ++i) { // codes of 1 to 15 bits
        litlen[256 + i] = static_cast<uint16_t>(i == 15 ? 15 : i + 1);
    }
    std::swap(litlen['a'], litlen[269]);
    long_codes.dynamic(packed_header(rng, litlen, {1}), block_is::last);
    for (int i = 0; i < 8; ++i) {
        long_codes.literals({'a'}).match(13, 1).match(23, 1);
    }
    long_codes.end();
    fixed.stored({'y', 'z'}, block_is::followed).fixed(block_is::last);
    return {
        {"stored blocks", stored.bytes()},  {"literals", literals.bytes()},
        {"matches", matches.bytes()},       {"mixed blocks", mixed.bytes()},
        {"long codes", long_codes.bytes()}, {"a fixed-code block", fixed.bytes(), kInflateInvalid}};
}

// The decoder with the fast functions, or without them.
class with_decoder {
public:
    explicit with_decoder(inflate_entry_t entry)
        : m_before(std::exchange(inflate_entry, entry)) {}
    ~with_decoder() { inflate_entry = m_before; }
    with_decoder(const with_decoder&) = delete;
    with_decoder& operator=(const with_decoder&) = delete;

private:
    inflate_entry_t m_before;
};

struct expected_t {
    reference_result_t reference;
    byte_vector content;
};

expected_t expected_of(const byte_vector& raw, size_t room) {
    byte_vector output(room);
    const reference_result_t reference = reference_inflate(raw, output);
    return {reference, slice(output, 0, reference.written)};
}

testing::AssertionResult is_decoded_in_pieces(const byte_vector& raw, size_t room,
                                              const splits_t& splits, const expected_t& expected) {
    inflate_session session(room);
    int32_t result = kInflateNeedsInput;
    size_t begin = 0, fed = 0;
    for (size_t i = 0; i <= splits.size() && result == kInflateNeedsInput; ++i) {
        const size_t end = i < splits.size() ? splits[i] : raw.size();
        result = session.feed(slice(raw, begin, end - begin));
        fed = begin = end;
    }
    const size_t bits_used = fed * 8 - bitstream_remaining(&session.reader);
    if (result != expected.reference.result || bits_used != expected.reference.bits_used) {
        return testing::AssertionFailure()
               << words(splits) << ", output space " << room << ": expected result "
               << expected.reference.result << " after " << expected.reference.bits_used
               << " bits, got " << result << " after " << bits_used;
    }
    return same_bytes(expected.content, session.content()) << ", " << words(splits);
}

void expect_as_unsplit(World& world, const byte_vector& raw, size_t room, const splits_t& splits,
                       const expected_t& expected) {
    for (const auto& [name, decoder] : kInflateDecoders) {
        const with_decoder with(decoder);
        ASSERT_TRUE(is_decoded_in_pieces(raw, room, splits, expected)) << name;
        world.count();
    }
}

constexpr size_t kRoom = 4096; // enough for each stream

TEST(SplitsWorld, AreNotVisibleInDeflateStreams) {
    for (const named_stream_t& stream : small_streams()) {
        SCOPED_TRACE(stream.name);
        World world(std::string("splits, ") + stream.name);
        const expected_t expected = expected_of(stream.raw, kRoom);
        ASSERT_EQ(expected.reference.result, stream.result);
        for (size_t count = 0; count <= 3; ++count) {
            for_each_split(world, stream.raw.size(), count, [&](const splits_t& splits) {
                expect_as_unsplit(world, stream.raw, kRoom, splits, expected);
            });
        }
    }
}

TEST(SplitsWorld, AreNotVisibleWithAnyOutputSpace) {
    for (const named_stream_t& stream : small_streams()) {
        const byte_vector& raw = stream.raw;
        SCOPED_TRACE(stream.name);
        World world(std::string("splits and output spaces, ") + stream.name);
        const size_t content = expected_of(raw, kRoom).content.size();
        for (size_t room = 0; room <= content; ++room) {
            const expected_t expected = expected_of(raw, room);
            for_each_split(world, raw.size(), 1, [&](const splits_t& splits) {
                expect_as_unsplit(world, raw, room, splits, expected);
            });
        }
    }
}

// Every wrong bit: most of these streams are rejected somewhere.
TEST(SplitsWorld, AreNotVisibleInDamagedStreams) {
    for (const named_stream_t& stream : small_streams()) {
        const byte_vector& raw = stream.raw;
        SCOPED_TRACE(stream.name);
        World world(std::string("splits and wrong bits, ") + stream.name);
        for (size_t bit = 0; bit < raw.size() * 8; ++bit) {
            byte_vector damaged = raw;
            damaged[bit / 8] = static_cast<uint8_t>(damaged[bit / 8] ^ 1U << bit % 8);
            const expected_t expected = expected_of(damaged, kRoom);
            SCOPED_TRACE(testing::Message() << "wrong bit " << bit);
            for_each_split(world, raw.size(), 1, [&](const splits_t& splits) {
                expect_as_unsplit(world, damaged, kRoom, splits, expected);
            });
        }
    }
}

// ---- IDAT chunks

class IdatSplitsWorld : public testing::TestWithParam<uint8_t> {};

INSTANTIATE_TEST_SUITE_P(EveryType, IdatSplitsWorld, testing::ValuesIn(kColorTypes),
                         [](const auto& test) { return std::to_string(test.param); });

// The pixels as the row model gives them.
byte_vector modelled_pixels(const png_maker& maker, const png_info_t& info) {
    const DsSurface surface = fenced_surface_for(info);
    const row_layout_t layout{info.colorType, info.width, info.height, surface.getStride()};
    return model_rows(pixel_buffer(surface), layout, maker.filtered()).bytes;
}

// Every chunk must have two bytes.
bool has_short_chunk(const splits_t& splits, size_t size) {
    size_t begin = 0;
    for (size_t i = 0; i <= splits.size(); ++i) {
        const size_t end = i < splits.size() ? splits[i] : size;
        if (end - begin < 2) {
            return true;
        }
        begin = end;
    }
    return false;
}

TEST_P(IdatSplitsWorld, AreNotVisibleInThePixels) {
    World world("splits, IDAT chunks, color type " + std::to_string(GetParam()));
    const png_maker whole = png().image(GetParam(), 2, 5).pixels(data_kind::runs, 64);
    const size_t size = whole.image_data().size();
    const png_info_t info = header_pass(whole.bytes()).info;
    const byte_vector pixels = modelled_pixels(whole, info);
    const auto expect_as_unsplit = [&](const splits_t& splits) {
        const byte_vector file = png_maker(whole).idat_split_at(splits).bytes();
        const int32_t expected = has_short_chunk(splits, size) ? kPngMalformed : kPngOk;
        const decode_outcome_t outcome = decode_png(file);
        ASSERT_EQ(outcome.result, expected) << words(splits) << " of " << size;
        if (expected == kPngOk) {
            const auto samples = uint64_t{info.width} * samples_per_pixel(info.colorType);
            ASSERT_TRUE(
                same_pixels(pixels, pixel_buffer(*outcome.surface),
                            {info.width, info.height, samples, samples_per_pixel(info.colorType)}))
                << words(splits) << " of " << size;
        }
        world.count();
    };
    for (size_t count = 0; count <= 3; ++count) {
        forEachBackend([&] { for_each_split(world, size, count, expect_as_unsplit); });
    }
}

} // namespace
