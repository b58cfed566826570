// Bit writer, canonical codes and blocks of DEFLATE streams.
#include "tests/support/deflate_maker.h"

#include <algorithm>
#include <numeric>
#include <set>

namespace {

struct extra_range_t {
    uint32_t base, extra_bits;
};

// RFC 1951, 3.2.5: the bases and extra bits of length symbols 257 to 285 and of distance symbols.
constexpr extra_range_t kLengthRanges[] = {
    {3, 0},  {4, 0},  {5, 0},  {6, 0},   {7, 0},   {8, 0},   {9, 0},   {10, 0},  {11, 1}, {13, 1},
    {15, 1}, {17, 1}, {19, 2}, {23, 2},  {27, 2},  {31, 2},  {35, 3},  {43, 3},  {51, 3}, {59, 3},
    {67, 4}, {83, 4}, {99, 4}, {115, 4}, {131, 5}, {163, 5}, {195, 5}, {227, 5}, {258, 0}};
constexpr extra_range_t kDistanceRanges[] = {
    {1, 0},     {2, 0},     {3, 0},     {4, 0},      {5, 1},      {7, 1},
    {9, 2},     {13, 2},    {17, 3},    {25, 3},     {33, 4},     {49, 4},
    {65, 5},    {97, 5},    {129, 6},   {193, 6},    {257, 7},    {385, 7},
    {513, 8},   {769, 8},   {1025, 9},  {1537, 9},   {2049, 10},  {3073, 10},
    {4097, 11}, {6145, 11}, {8193, 12}, {12289, 12}, {16385, 13}, {24577, 13}};

constexpr uint32_t kLengthCodeOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                           11, 4,  12, 3, 13, 2, 14, 1, 15};
constexpr uint32_t kEndOfBlock = 256;

template <size_t n>
uint32_t range_index(const extra_range_t (&ranges)[n], uint32_t value) {
    uint32_t index = n - 1;
    while (ranges[index].base > value) {
        --index;
    }
    return index;
}

uint32_t length_symbol(uint32_t length) {
    return 257 + range_index(kLengthRanges, length);
}

// The number of equal entries from `begin` on.
size_t run_at(const code_lengths& lengths, size_t begin) {
    size_t end = begin;
    while (end < lengths.size() && lengths[end] == lengths[begin]) {
        ++end;
    }
    return end - begin;
}

// One item for the code lengths from `begin` on, and the number of lengths that it covers.
std::pair<code_length_item_t, size_t> next_item(test_rng& rng, const code_lengths& all,
                                                size_t begin) {
    const uint32_t run = static_cast<uint32_t>(run_at(all, begin));
    const bool packs = run >= 3 && rng() % 4 != 0;
    if (packs && all[begin] == 0 && run >= 11 && rng() % 4 != 0) {
        const uint32_t covered = random_between(rng, 11, std::min(run, 138U));
        return {{18, covered - 11}, covered};
    }
    if (packs && all[begin] == 0) {
        const uint32_t covered = random_between(rng, 3, std::min(run, 10U));
        return {{17, covered - 3}, covered};
    }
    if (packs && begin > 0 && all[begin - 1] == all[begin]) {
        const uint32_t covered = random_between(rng, 3, std::min(run, 6U));
        return {{16, covered - 3}, covered};
    }
    return {{all[begin], 0}, 1};
}

uint32_t extra_bits_of(uint32_t item_symbol) {
    static constexpr uint32_t kRepeatBits[] = {2, 3, 7};
    return item_symbol < 16 ? 0 : kRepeatBits[item_symbol - 16];
}

// Random lengths for the symbols of `used`, and zero for the others of `count`.
code_lengths spread_lengths(test_rng& rng, size_t count, const std::set<uint32_t>& used) {
    const code_lengths chosen = random_complete_lengths(rng, used.size(), 15);
    code_lengths lengths(count, 0);
    size_t next = 0;
    for (const uint32_t symbol : used) {
        lengths[symbol] = chosen[next++];
    }
    return lengths;
}

std::vector<deflate_token_t> random_tokens(test_rng& rng, uint32_t max_distance,
                                           byte_vector& content) {
    std::vector<deflate_token_t> tokens;
    const uint32_t count = random_between(rng, 0, 200);
    for (uint32_t i = 0; i < count; ++i) {
        if (content.empty() || rng() % 3 == 0) {
            tokens.push_back({static_cast<uint8_t>(rng() % 7 * 31), 0, 0});
            content.push_back(tokens.back().literal);
            continue;
        }
        const uint32_t reach = std::min(max_distance, static_cast<uint32_t>(content.size()));
        const uint32_t longest = rng() % 8 == 0 ? 258 : 12;
        tokens.push_back({0, random_between(rng, 3, longest), random_between(rng, 1, reach)});
        for (uint32_t copied = 0; copied < tokens.back().length; ++copied) {
            content.push_back(content[content.size() - tokens.back().distance]);
        }
    }
    return tokens;
}

// The length of the match between `position` and `distance` bytes before it.
uint32_t match_length(const byte_vector& content, size_t position, size_t distance) {
    uint32_t length = 0;
    while (length < 258 && position + length < content.size() &&
           content[position + length] == content[position + length - distance]) {
        ++length;
    }
    return length;
}

} // namespace

void bit_writer::bits(uint32_t value, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i, ++m_bit_count) {
        if (m_bit_count % 8 == 0) {
            m_bytes.push_back(0);
        }
        m_bytes.back() =
            static_cast<uint8_t>(m_bytes.back() | ((value >> i & 1) << m_bit_count % 8));
    }
}

void bit_writer::align() {
    m_bit_count = m_bytes.size() * 8;
}

void bit_writer::bytes(const byte_vector& bytes) {
    align();
    append(m_bytes, bytes);
    align();
}

prefix_code::prefix_code(const code_lengths& lengths)
    : m_lengths(lengths)
    , m_codes(lengths.size()) {
    uint32_t next = 0;
    for (uint32_t length = 1; length <= 15; ++length, next <<= 1) {
        for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
            if (lengths[symbol] == length) {
                m_codes[symbol] = next++;
            }
        }
    }
}

void prefix_code::put(bit_writer& writer, uint32_t symbol) const {
    for (uint32_t bit = m_lengths.at(symbol); bit > 0; --bit) {
        writer.bits(m_codes[symbol] >> (bit - 1) & 1, 1);
    }
}

code_lengths random_complete_lengths(test_rng& rng, size_t symbols, uint16_t longest) {
    code_lengths lengths{static_cast<uint16_t>(symbols == 1 ? 1 : 0)};
    const bool unbalanced = rng() % 2 == 0;
    while (lengths.size() < symbols) {
        // Repeated splits of the newest leaf make long codes.
        const size_t last = lengths.size() - 1;
        const size_t leaf =
            unbalanced && lengths[last] < longest && rng() % 4 != 0 ? last : rng() % lengths.size();
        if (lengths[leaf] < longest) {
            lengths.push_back(++lengths[leaf]);
        }
    }
    return lengths;
}

code_lengths lengths_of(size_t count,
                        const std::vector<std::pair<uint32_t, uint16_t>>& symbols_and_lengths) {
    code_lengths lengths(count, 0);
    for (const auto& [symbol, length] : symbols_and_lengths) {
        lengths.at(symbol) = length;
    }
    return lengths;
}

dynamic_header_t simple_header(const code_lengths& litlen, const code_lengths& dist) {
    dynamic_header_t header{litlen,
                            dist,
                            static_cast<uint32_t>(litlen.size()) - 257,
                            static_cast<uint32_t>(dist.size()) - 1,
                            15,
                            {},
                            {}};
    // 13 codes of 4 bits and 6 of 5 bits are complete.
    std::fill_n(header.length_code.begin(), 13, static_cast<uint16_t>(4));
    std::fill_n(header.length_code.begin() + 13, 6, static_cast<uint16_t>(5));
    for (const code_lengths* lengths : {&litlen, &dist}) {
        for (const uint16_t length : *lengths) {
            header.items.push_back({length, 0});
        }
    }
    return header;
}

dynamic_header_t packed_header(test_rng& rng, const code_lengths& litlen,
                               const code_lengths& dist) {
    dynamic_header_t header = simple_header(litlen, dist);
    header.items.clear();
    header.length_code = {};
    code_lengths all = litlen;
    all.insert(all.end(), dist.begin(), dist.end());
    // At least two symbols, so that the code-length code is complete.
    std::set<uint32_t> used{0, 1};
    for (size_t begin = 0; begin < all.size();) {
        const auto [item, covered] = next_item(rng, all, begin);
        header.items.push_back(item);
        used.insert(item.symbol);
        begin += covered;
    }
    const code_lengths chosen = random_complete_lengths(rng, used.size(), 7);
    size_t next = 0;
    for (const uint32_t symbol : used) {
        header.length_code[symbol] = chosen[next++];
    }
    while (header.hclen > 0 && header.length_code[kLengthCodeOrder[header.hclen + 3]] == 0) {
        --header.hclen;
    }
    return header;
}

deflate_maker& deflate_maker::bits(uint32_t value, uint32_t count) {
    m_writer.bits(value, count);
    return *this;
}

deflate_maker& deflate_maker::block_header(uint32_t type, block_is place) {
    return bits(place == block_is::last ? 1 : 0, 1).bits(type, 2);
}

deflate_maker& deflate_maker::stored(const byte_vector& data, block_is place) {
    block_header(0, place);
    m_writer.align();
    const uint32_t length = static_cast<uint32_t>(data.size());
    bits(length, 16).bits(~length & 0xFFFF, 16);
    m_writer.bytes(data);
    return *this;
}

deflate_maker& deflate_maker::fixed(block_is place) {
    code_lengths litlen(288, 8);
    std::fill(litlen.begin() + 144, litlen.begin() + 256, static_cast<uint16_t>(9));
    std::fill(litlen.begin() + 256, litlen.begin() + 280, static_cast<uint16_t>(7));
    m_litlen = prefix_code(litlen);
    m_dist = prefix_code(code_lengths(32, 5));
    return block_header(1, place);
}

deflate_maker& deflate_maker::dynamic(const dynamic_header_t& header, block_is place) {
    block_header(2, place).bits(header.hlit, 5).bits(header.hdist, 5).bits(header.hclen, 4);
    for (uint32_t i = 0; i < header.hclen + 4; ++i) {
        bits(header.length_code[kLengthCodeOrder[i]], 3);
    }
    const prefix_code length_code({header.length_code.begin(), header.length_code.end()});
    for (const code_length_item_t& item : header.items) {
        length_code.put(m_writer, item.symbol);
        bits(item.extra, extra_bits_of(item.symbol));
    }
    m_litlen = prefix_code(header.litlen);
    m_dist = prefix_code(header.dist);
    return *this;
}

deflate_maker& deflate_maker::litlen_symbol(uint32_t symbol) {
    m_litlen.put(m_writer, symbol);
    return *this;
}

deflate_maker& deflate_maker::dist_symbol(uint32_t symbol) {
    m_dist.put(m_writer, symbol);
    return *this;
}

deflate_maker& deflate_maker::literals(const byte_vector& values) {
    for (const uint8_t value : values) {
        litlen_symbol(value);
    }
    return *this;
}

deflate_maker& deflate_maker::match(uint32_t length, uint32_t distance) {
    const extra_range_t& lengths = kLengthRanges[range_index(kLengthRanges, length)];
    const extra_range_t& distances = kDistanceRanges[range_index(kDistanceRanges, distance)];
    litlen_symbol(length_symbol(length)).bits(length - lengths.base, lengths.extra_bits);
    dist_symbol(range_index(kDistanceRanges, distance));
    return bits(distance - distances.base, distances.extra_bits);
}

deflate_maker& deflate_maker::end() {
    return litlen_symbol(kEndOfBlock);
}

void put_random_block(deflate_maker& maker, test_rng& rng,
                      const std::vector<deflate_token_t>& tokens, block_is place) {
    std::set<uint32_t> litlen_used{kEndOfBlock, rng() % 286};
    std::set<uint32_t> dist_used;
    for (const deflate_token_t& token : tokens) {
        litlen_used.insert(token.length == 0 ? token.literal : length_symbol(token.length));
        if (token.length > 0) {
            dist_used.insert(range_index(kDistanceRanges, token.distance));
        }
    }
    const code_lengths litlen =
        spread_lengths(rng, std::max(257U, *litlen_used.rbegin() + 1), litlen_used);
    const size_t dist_count = dist_used.empty() ? 1 : *dist_used.rbegin() + 1;
    const code_lengths dist =
        dist_used.empty() ? code_lengths{0} : spread_lengths(rng, dist_count, dist_used);

    maker.dynamic(packed_header(rng, litlen, dist), place);
    for (const deflate_token_t& token : tokens) {
        if (token.length == 0) {
            maker.litlen_symbol(token.literal);
        } else {
            maker.match(token.length, token.distance);
        }
    }
    maker.end();
}

made_stream_t random_stream(test_rng& rng, uint32_t max_distance) {
    deflate_maker maker;
    byte_vector content;
    const uint32_t blocks = random_between(rng, 1, 4);
    for (uint32_t block = 1; block <= blocks; ++block) {
        const block_is place = block == blocks ? block_is::last : block_is::followed;
        if (rng() % 3 == 0) {
            const byte_vector data = make_bytes(data_kind::noise, rng() % 60, rng());
            maker.stored(data, place);
            append(content, data);
        } else {
            put_random_block(maker, rng, random_tokens(rng, max_distance, content), place);
        }
    }
    return {maker.bytes(), content};
}

byte_vector dynamic_stream_of(const byte_vector& content, uint32_t seed) {
    static constexpr size_t kReach = 64;
    std::vector<deflate_token_t> tokens;
    for (size_t position = 0; position < content.size();) {
        deflate_token_t best{content[position], 0, 0};
        for (size_t distance = 1; distance <= std::min(kReach, position); ++distance) {
            const uint32_t length = match_length(content, position, distance);
            if (length >= 3 && length > best.length) {
                best = {0, length, static_cast<uint32_t>(distance)};
            }
        }
        tokens.push_back(best);
        position += std::max(best.length, 1U);
    }
    test_rng rng(seed);
    deflate_maker maker;
    put_random_block(maker, rng, tokens, block_is::last);
    return maker.bytes();
}
