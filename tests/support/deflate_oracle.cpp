// The reference functions on top of zlib.
#include "tests/support/deflate_oracle.h"

#include "tests/support/deflate_maker.h"

#include <stdexcept>
#include <zlib.h>

byte_vector raw_deflate(const byte_vector& content, const deflate_settings_t& settings) {
    z_stream stream{};
    if (deflateInit2(&stream, settings.level, Z_DEFLATED, -settings.window_bits,
                     settings.memory_level, settings.strategy) != Z_OK) {
        throw std::invalid_argument("settings that zlib does not support");
    }
    byte_vector raw(deflateBound(&stream, static_cast<uLong>(content.size())) + 16);
    stream.next_in = const_cast<Bytef*>(content.data());
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = raw.data();
    stream.avail_out = static_cast<uInt>(raw.size());
    deflate(&stream, Z_FINISH);
    raw.resize(stream.total_out);
    deflateEnd(&stream);
    return raw;
}

deflate_settings_t random_settings(test_rng& rng) {
    static constexpr int kStrategies[] = {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE,
                                          Z_FIXED};
    return {static_cast<int>(rng() % 10), kStrategies[rng() % 5], static_cast<int>(9 + rng() % 7),
            static_cast<int>(1 + rng() % 9)};
}

oracle_result_t oracle_inflate(const byte_vector& raw) {
    z_stream stream{};
    inflateInit2(&stream, -15);
    stream.next_in = const_cast<Bytef*>(raw.data());
    stream.avail_in = static_cast<uInt>(raw.size());
    oracle_result_t result{};
    int status = Z_OK;
    while (status == Z_OK) {
        Bytef piece[16384];
        stream.next_out = piece;
        stream.avail_out = sizeof piece;
        status = inflate(&stream, Z_NO_FLUSH);
        result.content.insert(result.content.end(), piece, piece + sizeof piece - stream.avail_out);
    }
    result.complete = status == Z_STREAM_END;
    result.invalid = status == Z_DATA_ERROR;
    result.message = stream.msg == nullptr ? "" : stream.msg;
    inflateEnd(&stream);
    return result;
}

bool contains_fixed_block(const byte_vector& raw) {
    const auto has_type_1_at = [&raw](size_t bit) {
        const auto bit_at = [&raw](size_t at) {
            return at / 8 < raw.size() ? raw[at / 8] >> at % 8 & 1 : 0;
        };
        return bit_at(bit + 1) == 1 && bit_at(bit + 2) == 0;
    };
    z_stream stream{};
    inflateInit2(&stream, -15);
    stream.next_in = const_cast<Bytef*>(raw.data());
    stream.avail_in = static_cast<uInt>(raw.size());
    bool found = has_type_1_at(0);
    int status = Z_OK;
    while (status == Z_OK && !found) {
        Bytef piece[16384];
        stream.next_out = piece;
        stream.avail_out = sizeof piece;
        status = inflate(&stream, Z_BLOCK);
        // Bit 7: zlib has stopped before another block header. The low bits are the number of unused bits of
        // the last byte.
        if (status == Z_OK && (stream.data_type & 0xC0) == 0x80) {
            found = has_type_1_at(stream.total_in * 8 - static_cast<size_t>(stream.data_type & 7));
        }
    }
    inflateEnd(&stream);
    return found;
}

byte_vector deflate_without_fixed_codes(const byte_vector& content,
                                        const deflate_settings_t& settings) {
    byte_vector raw = raw_deflate(content, settings);
    return contains_fixed_block(raw) ? dynamic_stream_of(content, 1) : raw;
}
