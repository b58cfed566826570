// inflate_process with arbitrary bytes: as a whole, in pieces of any size that are freed after use, through a window
// with small outputs, and without the fast loop. All must agree. After every piece the record and the reader must be
// the same with and without the fast loop. The rehearsal must have the same verdict.
#include "fuzz/fuzz_input.h"
#include "inflate/src/internal/inflate_rehearsal.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <algorithm>

namespace {

// One input in eight has space for several runs of the fast loop and for the longest distance of a match.
constexpr uint32_t kSmallOutput = 1 << 12, kLargeOutput = 1 << 16;

// The output space of an input, by its seed. One input in eight has any space up to the large one.
uint32_t capacityOf(uint32_t seed) {
    switch (seed & 7) {
    case 0:
        return seed >> 16;
    case 1:
        return kLargeOutput;
    default:
        return kSmallOutput;
    }
}

struct Outcome {
    int32_t result;
    GuardedBytes bytes;

    bool operator==(const Outcome&) const = default;
};

std::unique_ptr<inflate_t> freshDecoder(uint8_t* window, uint32_t windowSize) {
    auto inflate = std::make_unique<inflate_t>();
    inflate->window = window;
    inflate->windowSize = windowSize;
    inflate_process(inflate.get(), nullptr);
    return inflate;
}

using Process = int32_t (*)(inflate_t* inflate, bitstream_t* stream);

Outcome decodeWhole(const GuardedBytes& data, uint32_t capacity,
                    Process process = inflate_process) {
    GuardedBytes bytes(capacity);
    const auto inflate = freshDecoder(nullptr, 0);
    inflate->out = bytes.data();
    inflate->outAvailable = capacity;
    bitstream_t stream = {data.data(), static_cast<uint32_t>(data.size()), 0, 0};
    const int32_t result = process(inflate.get(), &stream);
    require(inflate->totalOut + inflate->outAvailable == capacity);
    bytes.resize(inflate->totalOut);
    return {result, bytes};
}

// A decoder in direct mode that is fed piece by piece.
class PieceDecoder {
public:
    PieceDecoder(uint32_t capacity, bool statesOnly)
        : mStatesOnly(statesOnly)
        , mBytes(capacity)
        , mInflate(freshDecoder(nullptr, 0)) {
        mInflate->out = mBytes.data();
        mInflate->outAvailable = capacity;
    }

    int32_t feed(const GuardedBytes& piece) {
        mStream.data = piece.data();
        mStream.available = static_cast<uint32_t>(piece.size());
        return mStatesOnly ? inflate_detail::process_states_only(mInflate.get(), &mStream)
                           : inflate_process(mInflate.get(), &mStream);
    }

    // Whether both have the same position, state and new output, after the same piece. The output before was
    // compared after the pieces before.
    bool agreesWith(const PieceDecoder& other, uint32_t compared) const {
        const inflate_t& a = *mInflate;
        const inflate_t& b = *other.mInflate;
        const auto copiedFrom = [](const PieceDecoder& decoder) {
            const uint8_t* const from = decoder.mInflate->copyFrom;
            return from == nullptr ? -1 : from - decoder.mBytes.data();
        };
        return a.state == b.state && a.finalBlock == b.finalBlock && a.symbol == b.symbol &&
               a.count == b.count && a.length == b.length && a.distance == b.distance &&
               a.outAvailable == b.outAvailable && a.totalOut == b.totalOut &&
               copiedFrom(*this) == copiedFrom(other) && mStream.data == other.mStream.data &&
               mStream.available == other.mStream.available && mStream.bits == other.mStream.bits &&
               mStream.bitCount == other.mStream.bitCount &&
               std::equal(mBytes.begin() + compared, mBytes.begin() + a.totalOut,
                          other.mBytes.begin() + compared);
    }

    // The whole output space: nothing may be written behind the output or changed in it later.
    bool hasOutputOf(const PieceDecoder& other) const { return mBytes == other.mBytes; }

    uint32_t written() const { return mInflate->totalOut; }

    GuardedBytes bytes() const { return {mBytes.begin(), mBytes.begin() + mInflate->totalOut}; }

private:
    bool mStatesOnly;
    GuardedBytes mBytes;
    std::unique_ptr<inflate_t> mInflate;
    bitstream_t mStream{};
};

Outcome decodeInPieces(const GuardedBytes& data, uint32_t capacity, uint32_t seed) {
    PieceDecoder fast(capacity, false);
    PieceDecoder states(capacity, true);
    int32_t result = kInflateNeedsInput;
    for (size_t at = 0; result == kInflateNeedsInput && at <= data.size();) {
        seed = seed * 1664525 + 1013904223;
        const size_t longest = (seed >> 8) % 4 == 0 ? 300 + data.size() / 8 : 4 + data.size() / 256;
        const size_t size = std::min((seed >> 16) % longest, data.size() - at);
        const auto first = data.begin() + static_cast<ptrdiff_t>(at);
        const GuardedBytes piece(first, first + static_cast<ptrdiff_t>(size));
        const uint32_t before = fast.written();
        result = fast.feed(piece);
        require(states.feed(piece) == result);
        require(fast.agreesWith(states, before));
        if (at == data.size()) {
            break;
        }
        at += size;
    }
    require(fast.hasOutputOf(states));
    return {result, fast.bytes()};
}

// Small output buffers, each allocated separately, until the whole output has `limit` bytes.
Outcome decodeThroughWindow(const GuardedBytes& data, uint32_t windowSize, uint32_t limit,
                            uint32_t seed) {
    GuardedBytes window(windowSize);
    const auto inflate = freshDecoder(window.data(), windowSize);
    bitstream_t stream = {data.data(), static_cast<uint32_t>(data.size()), 0, 0};
    GuardedBytes bytes;
    int32_t result = kInflateNeedsOutput;
    while (result == kInflateNeedsOutput && bytes.size() < limit) {
        seed = seed * 1664525 + 1013904223;
        const uint32_t capacity = 1 + (seed >> 16) % 600;
        GuardedBytes output(capacity);
        inflate->out = output.data();
        inflate->outAvailable = capacity;
        result = inflate_process(inflate.get(), &stream);
        bytes.insert(bytes.end(), output.begin(), output.end() - inflate->outAvailable);
    }
    return {result, bytes};
}

// A rehearsal has the verdict of direct mode, unless there is a fixed-code block.
void checkRehearsal(const GuardedBytes& data, uint32_t capacity, int32_t expected) {
    const auto rehearsal = std::make_unique<inflate_detail::rehearsal_t>();
    inflate_detail::rehearsal_begin(rehearsal.get(), capacity);
    const int32_t result = inflate_detail::rehearsal_feed(rehearsal.get(), data.data(),
                                                          static_cast<uint32_t>(data.size()));
    require(result == expected || rehearsal->fixedBlocks > 0);
    require((rehearsal->fault != inflate_detail::fault_t::none) == (result == kInflateInvalid));
    const inflate_detail::fixed_block_t& block = rehearsal->firstFixedBlock;
    require(rehearsal->fixedBlocks == 0 ||
            (block.firstByte <= block.lastByte && block.lastByte < data.size()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    const uint32_t seed = input.take<uint32_t>();
    const uint32_t capacity = capacityOf(seed);
    const GuardedBytes data = input.rest();
    const Outcome whole = decodeWhole(data, capacity);
    require(decodeWhole(data, capacity, inflate_detail::process_states_only) == whole);
    require(decodeInPieces(data, capacity, seed) == whole);
    const uint32_t windowSize = std::max(capacity, kSmallOutput); // no distance is longer
    const Outcome windowed = decodeThroughWindow(data, windowSize, capacity, seed);
    if (whole.result != kInflateNeedsOutput && whole.bytes.size() < capacity) {
        require(windowed == whole);
    }
    decodeThroughWindow(data, 1 + seed % 300, kSmallOutput, seed);
    checkRehearsal(data, capacity, whole.result);
    return 0;
}
