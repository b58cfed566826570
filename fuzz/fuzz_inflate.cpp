// inflate_process with arbitrary bytes: as a whole, in pieces of any size that are freed after use, through a window
// with small outputs, and without the fast loop. All must agree. After every piece the record and the reader must be
// the same with and without the fast loop. The rehearsal must have the same verdict.
#include "fuzz/fuzz_input.h"
#include "inflate/src/internal/inflate_rehearsal.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <algorithm>

namespace {

constexpr uint32_t kMaxOutput = 1 << 12; // also the max distance of a match

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

using Process = int32_t (*)(inflate_t* inflate, bitstream_t* stream);

Outcome decodeWhole(const std::vector<uint8_t>& data, uint32_t capacity,
                    Process process = inflate_process) {
    std::vector<uint8_t> bytes(capacity);
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

    int32_t feed(const std::vector<uint8_t>& piece) {
        mStream.data = piece.data();
        mStream.available = static_cast<uint32_t>(piece.size());
        return mStatesOnly ? inflate_detail::process_states_only(mInflate.get(), &mStream)
                           : inflate_process(mInflate.get(), &mStream);
    }

    // Whether both have the same position and state, after the same piece.
    bool operator==(const PieceDecoder& other) const {
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
               mStream.bitCount == other.mStream.bitCount && mBytes == other.mBytes;
    }

    std::vector<uint8_t> bytes() const {
        return {mBytes.begin(), mBytes.begin() + mInflate->totalOut};
    }

private:
    bool mStatesOnly;
    std::vector<uint8_t> mBytes;
    std::unique_ptr<inflate_t> mInflate;
    bitstream_t mStream{};
};

Outcome decodeInPieces(const std::vector<uint8_t>& data, uint32_t capacity, uint32_t seed) {
    PieceDecoder fast(capacity, false);
    PieceDecoder states(capacity, true);
    int32_t result = kInflateNeedsInput;
    for (size_t at = 0; result == kInflateNeedsInput && at <= data.size();) {
        seed = seed * 1664525 + 1013904223;
        const uint32_t longest = (seed >> 8) % 4 == 0 ? 300 : 4;
        const size_t size = std::min<size_t>((seed >> 16) % longest, data.size() - at);
        const auto first = data.begin() + static_cast<ptrdiff_t>(at);
        const std::vector<uint8_t> piece(first, first + static_cast<ptrdiff_t>(size));
        result = fast.feed(piece);
        require(states.feed(piece) == result);
        require(fast == states);
        if (at == data.size()) {
            break;
        }
        at += size;
    }
    return {result, fast.bytes()};
}

// Small output buffers, each allocated separately.
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

// A rehearsal has the verdict of direct mode, unless there is a fixed-code block.
void checkRehearsal(const std::vector<uint8_t>& data, uint32_t capacity, int32_t expected) {
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
    const uint32_t capacity = (seed & 7) == 0 ? seed >> 16 : kMaxOutput;
    const std::vector<uint8_t> data = input.rest();
    const Outcome whole = decodeWhole(data, capacity);
    require(decodeWhole(data, capacity, inflate_detail::process_states_only) == whole);
    require(decodeInPieces(data, capacity, seed) == whole);
    const Outcome windowed = decodeThroughWindow(data, kMaxOutput, seed);
    const uint32_t room = std::min(capacity, kMaxOutput); // the output space of both
    if (whole.result != kInflateNeedsOutput && whole.bytes.size() < room) {
        require(windowed == whole);
    }
    decodeThroughWindow(data, 1 + seed % 300, seed);
    checkRehearsal(data, capacity, whole.result);
    return 0;
}
