// inflate_process on any bytes: whole, in pieces of any size that are gone when the next one comes,
// through a window with small outputs, and without the fast loop. All must agree.
#include "fuzz/fuzz_input.h"
#include "inflate/src/inflate_fast.h"
#include "inflate/src/streams.h"

#include <algorithm>

namespace {

constexpr uint32_t kMaxOutput = 1 << 12; // and so the furthest that a match can reach back

struct Outcome {
    int32_t result;
    std::vector<uint8_t> bytes;

    bool operator==(const Outcome&) const = default;
};

std::unique_ptr<inflate_t> freshDecoder(uint8_t* window, uint32_t windowSize) {
    auto inflate = std::make_unique<inflate_t>();
    inflate->window = window;
    inflate->windowSize = windowSize;
    inflate_process(inflate.get(), nullptr);
    return inflate;
}

Outcome decodeWhole(const std::vector<uint8_t>& data, uint32_t capacity) {
    std::vector<uint8_t> bytes(capacity);
    const auto inflate = freshDecoder(nullptr, 0);
    inflate->out = bytes.data();
    inflate->outAvailable = capacity;
    bitstream_t stream = {data.data(), static_cast<uint32_t>(data.size()), 0, 0};
    const int32_t result = inflate_process(inflate.get(), &stream);
    require(inflate->totalOut + inflate->outAvailable == capacity);
    bytes.resize(inflate->totalOut);
    return {result, bytes};
}

Outcome decodeInPieces(const std::vector<uint8_t>& data, uint32_t capacity, uint32_t seed) {
    std::vector<uint8_t> bytes(capacity);
    const auto inflate = freshDecoder(nullptr, 0);
    inflate->out = bytes.data();
    inflate->outAvailable = capacity;
    bitstream_t stream = {};
    int32_t result = kInflateNeedsInput;
    for (size_t at = 0; result == kInflateNeedsInput && at <= data.size();) {
        seed = seed * 1664525 + 1013904223;
        const uint32_t longest = (seed >> 8) % 4 == 0 ? 300 : 4;
        const size_t size = std::min<size_t>((seed >> 16) % longest, data.size() - at);
        const auto first = data.begin() + static_cast<ptrdiff_t>(at);
        const std::vector<uint8_t> piece(first, first + static_cast<ptrdiff_t>(size));
        stream.data = piece.data();
        stream.available = static_cast<uint32_t>(size);
        result = inflate_process(inflate.get(), &stream);
        if (at == data.size()) {
            break;
        }
        at += size;
    }
    bytes.resize(inflate->totalOut);
    return {result, bytes};
}

// Outputs of one to a few bytes, each in memory of its own.
Outcome decodeThroughWindow(const std::vector<uint8_t>& data, uint32_t windowSize, uint32_t seed) {
    std::vector<uint8_t> window(windowSize);
    const auto inflate = freshDecoder(window.data(), windowSize);
    bitstream_t stream = {data.data(), static_cast<uint32_t>(data.size()), 0, 0};
    std::vector<uint8_t> bytes;
    int32_t result = kInflateNeedsOutput;
    while (result == kInflateNeedsOutput && bytes.size() < kMaxOutput) {
        seed = seed * 1664525 + 1013904223;
        const uint32_t capacity = 1 + (seed >> 16) % 600;
        std::vector<uint8_t> output(capacity);
        inflate->out = output.data();
        inflate->outAvailable = capacity;
        result = inflate_process(inflate.get(), &stream);
        bytes.insert(bytes.end(), output.begin(), output.end() - inflate->outAvailable);
    }
    return {result, bytes};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    const uint32_t seed = input.take<uint32_t>();
    const uint32_t capacity = (seed & 7) == 0 ? seed >> 16 : kMaxOutput;
    const std::vector<uint8_t> data = input.rest();
    const Outcome whole = decodeWhole(data, capacity);
    inflate_leave_out_fast(true);
    require(decodeWhole(data, capacity) == whole);
    inflate_leave_out_fast(false);
    require(decodeInPieces(data, capacity, seed) == whole);
    const Outcome windowed = decodeThroughWindow(data, kMaxOutput, seed);
    if (whole.result != kInflateNeedsOutput && whole.bytes.size() < capacity) {
        require(windowed == whole);
    }
    decodeThroughWindow(data, 1 + seed % 300, seed);
    return 0;
}
