// zlib as the reference of the tests: a compressor with every setting and a decompressor, for raw DEFLATE
// streams without a wrapper.
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

byte_vector raw_deflate(const byte_vector& content, const deflate_settings_t& settings);

/// Random settings over every level, strategy, window size and memory level.
deflate_settings_t random_settings(test_rng& rng);

struct oracle_result_t {
    bool complete;       ///< the final block has ended
    bool invalid;        ///< rejected; `message` is the reason
    byte_vector content; ///< the output so far
    std::string message;
};

/// The result of zlib for `raw`.
oracle_result_t oracle_inflate(const byte_vector& raw);

/// Whether a valid stream has a block of type 1. The decoder under test rejects such blocks.
bool contains_fixed_block(const byte_vector& raw);

/// `content` compressed by zlib. If that has a fixed-code block, a stream of one dynamic block instead.
byte_vector deflate_without_fixed_codes(const byte_vector& content,
                                        const deflate_settings_t& settings);
