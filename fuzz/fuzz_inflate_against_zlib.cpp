// inflate_process compared with zlib: the same bytes and the same verdict for every stream, except for
// intended differences.
#include "fuzz/fuzz_input.h"
#include "inflate/src/streams.h"

#include <algorithm>
#include <zlib.h>

namespace {

constexpr uint32_t kMaxOutput = 1 << 16;

struct Outcome {
    bool complete;
    bool invalid;
    bool hasFixedBlock;        // a block of type 1, which this decoder rejects
    bool incompleteLengthCode; // accepted by this decoder in the header of a dynamic block
    GuardedBytes bytes;
};

Outcome inflateHere(const GuardedBytes& data) {
    Outcome outcome = {};
    outcome.bytes.resize(kMaxOutput);
    const auto inflate = std::make_unique<inflate_t>();
    inflate_process(inflate.get(), nullptr);
    inflate->out = outcome.bytes.data();
    inflate->outAvailable = kMaxOutput;
    bitstream_t stream = {data.data(), static_cast<uint32_t>(data.size()), 0, 0};
    const int32_t result = inflate_process(inflate.get(), &stream);
    outcome.complete = result == kInflateDone;
    outcome.invalid = result == kInflateInvalid;
    outcome.bytes.resize(inflate->totalOut);
    return outcome;
}

// Decoding runs block by block, to read the type in each block header: zlib stops after a block and
// reports how many bits of the last byte are unused.
bool nextBlockIsFixed(const z_stream& zlib, const GuardedBytes& data) {
    const size_t bit = zlib.total_in * 8 - static_cast<size_t>(zlib.data_type & 7);
    uint32_t header = 0;
    for (size_t i = 0; i < 3; ++i) {
        const size_t at = bit + i;
        if (at / 8 < data.size()) {
            header |= static_cast<uint32_t>(data[at / 8] >> (at % 8) & 1) << i;
        }
    }
    return header >> 1 == 1;
}

Outcome inflateWithZlib(GuardedBytes data) {
    Outcome outcome = {};
    outcome.bytes.resize(kMaxOutput);
    z_stream zlib = {};
    require(inflateInit2(&zlib, -15) == Z_OK);
    zlib.next_in = data.data();
    zlib.avail_in = static_cast<uInt>(data.size());
    zlib.next_out = outcome.bytes.data();
    zlib.avail_out = kMaxOutput;
    int result = Z_OK;
    while (result == Z_OK && zlib.avail_out > 0) {
        const bool isAfterBlock = (zlib.data_type & 128) != 0;
        const bool wasFinalBlock = (zlib.data_type & 64) != 0;
        if (zlib.total_in == 0 || (isAfterBlock && !wasFinalBlock)) {
            outcome.hasFixedBlock |= nextBlockIsFixed(zlib, data);
        }
        const uLong before = zlib.total_in + zlib.total_out;
        const int type = zlib.data_type;
        result = inflate(&zlib, Z_BLOCK);
        if (result == Z_OK && zlib.total_in + zlib.total_out == before && zlib.data_type == type) {
            break;
        }
    }
    outcome.complete = result == Z_STREAM_END;
    outcome.invalid = result == Z_DATA_ERROR;
    outcome.incompleteLengthCode =
        zlib.msg != nullptr && std::strcmp(zlib.msg, "invalid code lengths set") == 0;
    outcome.bytes.resize(zlib.total_out);
    inflateEnd(&zlib);
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const GuardedBytes data(bytes, bytes + size);
    const Outcome here = inflateHere(data);
    const Outcome zlib = inflateWithZlib(data);
    const size_t common = std::min(here.bytes.size(), zlib.bytes.size());
    require(std::equal(here.bytes.begin(), here.bytes.begin() + static_cast<ptrdiff_t>(common),
                       zlib.bytes.begin()));
    if (zlib.hasFixedBlock) {
        require(!here.complete);
        return 0;
    }
    const bool outputWasShort = here.bytes.size() == kMaxOutput || zlib.bytes.size() == kMaxOutput;
    if (!outputWasShort && !zlib.incompleteLengthCode) {
        require(here.complete == zlib.complete);
        if (here.complete) {
            require(here.bytes == zlib.bytes);
        }
        // If zlib rejects a stream, this decoder rejects it at the end of the input at the latest.
        require(!(zlib.complete && here.invalid) && !(here.complete && zlib.invalid));
    }
    return 0;
}
