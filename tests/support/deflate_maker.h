// Makes DEFLATE streams bit by bit: with every valid choice of a compressor and every violation of the
// format.
#pragma once

#include "tests/support/test_bytes.h"

#include <array>
#include <utility>

/// Writes bit fields least significant bit first.
class bit_writer {
public:
    void bits(uint32_t value, uint32_t count);
    void align();
    void bytes(const byte_vector& bytes);
    const byte_vector& written() const { return m_bytes; }
    size_t bit_count() const { return m_bit_count; }

private:
    byte_vector m_bytes;
    size_t m_bit_count = 0;
};

using code_lengths = std::vector<uint16_t>;

/// The canonical code for a list of code lengths.
class prefix_code {
public:
    explicit prefix_code(const code_lengths& lengths);
    /// Writes the code of `symbol`, most significant bit first.
    void put(bit_writer& writer, uint32_t symbol) const;
    /// The code of a symbol that has one, as a number whose lowest bit is the last bit of the code.
    uint32_t code(uint32_t symbol) const { return m_codes.at(symbol); }

private:
    code_lengths m_lengths;
    std::vector<uint32_t> m_codes;
};

/// Lengths of a random complete code for `symbols` symbols, at most `longest` bits each; one bit if there
/// is a single symbol.
code_lengths random_complete_lengths(test_rng& rng, size_t symbols, uint16_t longest);

/// One symbol of the code-length code, with the extra bits of the repeats 16 to 18.
struct code_length_item_t {
    uint32_t symbol;
    uint32_t extra;
};

/// The header of a dynamic block. Each part is written as it is, so that tests can make it inconsistent.
struct dynamic_header_t {
    code_lengths litlen, dist;              ///< the codes that the block's symbols use
    uint32_t hlit, hdist, hclen;            ///< the three header fields
    std::array<uint16_t, 19> length_code{}; ///< lengths of the code-length code, by symbol
    std::vector<code_length_item_t> items;  ///< the items of the code lengths, in order
};

/// A header without repeats, with all 19 entries of the code-length code.
dynamic_header_t simple_header(const code_lengths& litlen, const code_lengths& dist);

/// A header with random repeats and a random code-length code.
dynamic_header_t packed_header(test_rng& rng, const code_lengths& litlen, const code_lengths& dist);

/// Code lengths for `count` symbols: zero except for the named symbols.
code_lengths lengths_of(size_t count,
                        const std::vector<std::pair<uint32_t, uint16_t>>& symbols_and_lengths);

enum class block_is { followed, last };

/// Builds a stream. Symbols are written with the codes of the last block header.
class deflate_maker {
public:
    deflate_maker& bits(uint32_t value, uint32_t count);
    deflate_maker& block_header(uint32_t type, block_is place);
    deflate_maker& stored(const byte_vector& data, block_is place);
    deflate_maker& fixed(block_is place);
    deflate_maker& dynamic(const dynamic_header_t& header, block_is place);
    deflate_maker& litlen_symbol(uint32_t symbol);
    deflate_maker& dist_symbol(uint32_t symbol);
    deflate_maker& literals(const byte_vector& values);
    deflate_maker& match(uint32_t length, uint32_t distance);
    deflate_maker& end();

    const byte_vector& bytes() const { return m_writer.written(); }
    size_t bit_count() const { return m_writer.bit_count(); }

private:
    bit_writer m_writer;
    prefix_code m_litlen{{}};
    prefix_code m_dist{{}};
};

/// A literal or a match. With `length` 0 it is the literal.
struct deflate_token_t {
    uint8_t literal;
    uint32_t length;
    uint32_t distance;
};

/// Writes one dynamic block of `tokens` with random codes that have all their symbols.
void put_random_block(deflate_maker& maker, test_rng& rng,
                      const std::vector<deflate_token_t>& tokens, block_is place);

struct made_stream_t {
    byte_vector raw;     ///< the DEFLATE stream
    byte_vector content; ///< the decoded bytes
};

/// A random stream of stored and dynamic blocks, with distances of at most `max_distance`.
made_stream_t random_stream(test_rng& rng, uint32_t max_distance);

/// `content` as one dynamic block, with matches of near distances.
byte_vector dynamic_stream_of(const byte_vector& content, uint32_t seed);
