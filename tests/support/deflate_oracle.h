// zlib as the other party of the tests: a compressor with every setting and a decompressor, both
// for raw DEFLATE streams without a wrapper.
#pragma once

#include "tests/support/test_bytes.h"

#include <optional>
#include <string>

struct deflate_settings_t {
    int level = 6;
    int strategy = 0;
    int window_bits = 15;
    int memory_level = 8;
};

byte_vector raw_deflate(const byte_vector& plain, const deflate_settings_t& settings);

/// Random settings over every level, strategy, window size and memory level.
deflate_settings_t random_settings(test_rng& rng);

struct oracle_result_t {
    bool complete;     ///< the final block has ended
    bool invalid;      ///< refused; `message` says why
    byte_vector plain; ///< what was produced until then
    std::string message;
};

/// What zlib makes of `raw`.
oracle_result_t oracle_inflate(const byte_vector& raw);

/// Whether a valid stream has a block of type 1; such blocks are refused by the decoder under test.
bool contains_fixed_block(const byte_vector& raw);

/// `plain` as zlib compresses it, or, where that would take a fixed-code block, as a hand-made
/// stream of one dynamic block.
byte_vector deflate_without_fixed_codes(const byte_vector& plain,
                                        const deflate_settings_t& settings);
