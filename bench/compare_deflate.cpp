// Inflates the raw DEFLATE streams of PNG files with this project's decoder and with its peers, in
// turns, into memory that has been written before.
#include "bench/comparison.h"
#include "bench/options.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

namespace {

using bytes_t = std::vector<uint8_t>;
using target_t = std::span<uint8_t>;

struct stream_t {
    std::string name;
    bytes_t deflated;
    size_t inflatedSize;
};

uint32_t big_endian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// The content of all IDAT chunks, without the two bytes of the zlib header. The file is trusted.
bytes_t raw_deflate(const bytes_t& png) {
    constexpr size_t kSignatureBytes = 8;
    constexpr size_t kChunkOverhead = 12; // length, name, CRC
    constexpr size_t kZlibHeaderBytes = 2;
    bytes_t stream;
    for (size_t at = kSignatureBytes; at + kChunkOverhead <= png.size();) {
        const uint32_t length = big_endian(&png[at]);
        if (std::memcmp(&png[at + 4], "IDAT", 4) == 0) {
            const uint8_t* const content = &png[at + 8];
            stream.insert(stream.end(), content, content + length);
        }
        at += kChunkOverhead + length;
    }
    stream.erase(stream.begin(), stream.begin() + kZlibHeaderBytes);
    return stream;
}

using inflater_t = bool (*)(const bytes_t& deflated, target_t target);

template <int32_t (*process)(inflate_t* inflate, bitstream_t* stream)>
bool inflate_by_pngslab(const bytes_t& deflated, target_t target) {
    inflate_t inflate = {};
    inflate_process(&inflate, nullptr);
    inflate.out = target.data();
    inflate.outAvailable = static_cast<uint32_t>(target.size());
    bitstream_t stream = {deflated.data(), static_cast<uint32_t>(deflated.size()), 0, 0};
    return process(&inflate, &stream) == kInflateDone;
}

bool inflate_by_zlib(const bytes_t& deflated, target_t target) {
    constexpr int kRawDeflate = -15;
    z_stream stream = {};
    inflateInit2(&stream, kRawDeflate);
    stream.next_in = const_cast<uint8_t*>(deflated.data());
    stream.avail_in = static_cast<uint32_t>(deflated.size());
    stream.next_out = target.data();
    stream.avail_out = static_cast<uint32_t>(target.size());
    const int result = inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    return result == Z_STREAM_END;
}

// The decompressor is created once, as the documentation recommends.
bool inflate_by_libdeflate(const bytes_t& deflated, target_t target) {
    static libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
    size_t actual = 0;
    return libdeflate_deflate_decompress(decompressor, deflated.data(), deflated.size(),
                                         target.data(), target.size(),
                                         &actual) == LIBDEFLATE_SUCCESS;
}

struct contender_t {
    const char* name;
    inflater_t inflate;
};

constexpr contender_t kContenders[] = {
    {"pngslab", inflate_by_pngslab<inflate_process>},
    {"zlib", inflate_by_zlib},
    {"libdeflate", inflate_by_libdeflate},
    {"pngslab's states only", inflate_by_pngslab<inflate_detail::process_states_only>}};

} // namespace

// A function of its own, so that profilers can select it by name.
[[gnu::noinline]] bool run_contender(const contender_t& contender, const bytes_t& deflated,
                                     target_t target) {
    return contender.inflate(deflated, target);
}

namespace {

// The size of zlib's output for the stream.
size_t inflated_size(const bytes_t& deflated) {
    z_stream stream = {};
    inflateInit2(&stream, -15);
    stream.next_in = const_cast<uint8_t*>(deflated.data());
    stream.avail_in = static_cast<uint32_t>(deflated.size());
    bytes_t piece(size_t{1} << 20);
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = piece.data();
        stream.avail_out = static_cast<uint32_t>(piece.size());
        result = inflate(&stream, Z_NO_FLUSH);
    }
    inflateEnd(&stream);
    return stream.total_out;
}

// Whether every contender accepts the stream and gives the same bytes as the first.
bool all_agree(const stream_t& stream) {
    bytes_t first(stream.inflatedSize);
    bytes_t target(stream.inflatedSize);
    if (!kContenders[0].inflate(stream.deflated, first)) {
        return false;
    }
    for (const contender_t& contender : kContenders) {
        if (!contender.inflate(stream.deflated, target) || target != first) {
            return false;
        }
    }
    return true;
}

std::vector<stream_t> load(const std::vector<std::string>& paths) {
    std::vector<stream_t> streams;
    for (const std::string& path : paths) {
        stream_t stream = {file_name(path), raw_deflate(read_file(path)), 0};
        stream.inflatedSize = inflated_size(stream.deflated);
        if (all_agree(stream)) {
            streams.push_back(std::move(stream));
        } else {
            std::printf("(%s is left out: rejected)\n", stream.name.c_str());
        }
    }
    return streams;
}

// A target for all streams. It has been written before.
bytes_t buffer_for(const std::vector<stream_t>& streams) {
    size_t size = 0;
    for (const stream_t& stream : streams) {
        size = std::max(size, stream.inflatedSize);
    }
    return bytes_t(size);
}

void compare(const std::vector<stream_t>& streams, const comparison_options_t& options) {
    std::vector<std::string> names;
    for (const contender_t& contender : kContenders) {
        names.emplace_back(contender.name);
    }
    std::vector<std::string> titles;
    double megabytes = 0;
    for (const stream_t& stream : streams) {
        titles.push_back(stream.name);
        megabytes += 1e-6 * static_cast<double>(stream.inflatedSize);
    }
    bytes_t buffer = buffer_for(streams);
    comparison_t comparison(names, options);
    comparison.measure(titles, [&](size_t contender, size_t i) {
        const target_t target(buffer.data(), streams[i].inflatedSize);
        if (!run_contender(kContenders[contender], streams[i].deflated, target)) {
            std::abort();
        }
    });
    comparison.print_sums("raw DEFLATE, " + std::to_string(streams.size()) + " files", megabytes,
                          "MB");
}

} // namespace

int main(int argc, char** argv) {
    const comparison_options_t options = parse_comparison_options(argc, argv);
    pin_to_one_core();
    const std::vector<stream_t> streams = load(options.files);
    if (options.only.empty()) {
        compare(streams, options);
        return 0;
    }
    bytes_t buffer = buffer_for(streams);
    for (const contender_t& contender : kContenders) {
        if (options.only == contender.name) {
            for (const stream_t& stream : streams) {
                run_contender(contender, stream.deflated, {buffer.data(), stream.inflatedSize});
            }
        }
    }
}
