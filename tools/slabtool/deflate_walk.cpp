// The walk is the product's own state machine, looked at where it stops. Fixed-code blocks, at whose
// first symbol it gives up, are walked with codes lent to this one record: the process-wide ones have to
// stay unbuilt.
#include "tools/slabtool/deflate_walk.h"

#include "inflate/src/deflate_tables.h"
#include "inflate/src/streams.h"

#include <algorithm>

namespace {

constexpr uint32_t kWindowBytes = 32768; // no match reaches back further
constexpr size_t kPieceBytes = 65536;
constexpr uint32_t kBlockHeaderBits = 3;

// The codes of RFC 1951, section 3.2.6.
struct FixedCodes {
    uint16_t litlenCounts[kMaxCodeLength + 1], litlenSymbols[288];
    uint16_t distCounts[kMaxCodeLength + 1], distSymbols[32];
    huffman_t litlen, dist;

    FixedCodes() {
        uint16_t lengths[288];
        std::fill_n(lengths, 144, uint16_t{8});
        std::fill_n(lengths + 144, 112, uint16_t{9});
        std::fill_n(lengths + 256, 24, uint16_t{7});
        std::fill_n(lengths + 280, 8, uint16_t{8});
        huffman_attach(&litlen, litlenCounts, litlenSymbols);
        huffman_build(&litlen, lengths, 288, kMaxCodeLength);
        std::fill_n(lengths, kMaxDistSymbols, uint16_t{5});
        huffman_attach(&dist, distCounts, distSymbols);
        huffman_build(&dist, lengths, kMaxDistSymbols, kMaxCodeLength);
    }
};

class DeflateWalk {
public:
    DeflateWalk(ByteView imageData, uint32_t lineBytes)
        : mData(imageData)
        , mNext(kZlibHeaderBytes)
        , mRoom(lineBytes)
        , mWindow(kWindowBytes)
        , mOutput(kPieceBytes) {
        mInflate.window = mWindow.data();
        mInflate.windowSize = kWindowBytes;
        inflate_process(&mInflate, nullptr);
        giveRoom();
    }

    std::optional<std::string> findRefusal() {
        int32_t result = advance(kPieceBytes);
        uint64_t fixedBlocks = 0;
        std::string firstRange;
        for (; isAtFixedBlock(result); ++fixedBlocks) {
            const std::string range = walkFixedBlock(result);
            firstRange = fixedBlocks == 0 ? range : firstRange;
        }
        if (fixedBlocks > 1) {
            return "fixed-code DEFLATE blocks, the first of " + std::to_string(fixedBlocks) +
                   " in " + firstRange;
        }
        if (fixedBlocks == 1) {
            return "a fixed-code DEFLATE block in " + firstRange;
        }
        return describe(result);
    }

private:
    // Runs until the stream ends or stops for another reason than a piece's end, or, with pieces of a
    // single byte, until a fixed-code block has ended.
    int32_t advance(size_t pieceBytes) {
        for (;;) {
            const int32_t result = inflate_process(&mInflate, &mInput);
            const bool isBehindBlock = pieceBytes == 1 && !isInFixedBlock();
            if (isBehindBlock || !provide(result, pieceBytes)) {
                return result;
            }
        }
    }

    // Gives what the result asks for, if there is any left.
    bool provide(int32_t result, size_t pieceBytes) {
        switch (result) {
        case kInflateNeedsInput:
            return givePiece(pieceBytes);
        case kInflateNeedsOutput:
            return giveRoom();
        default:
            return false;
        }
    }

    bool givePiece(size_t pieceBytes) {
        const size_t count = std::min(pieceBytes, mData.size() - mNext);
        mInput.data = mData.data() + mNext;
        mInput.available = static_cast<uint32_t>(count);
        mNext += count;
        return count > 0;
    }

    // The decoder has room for all lines at once and cuts the match that reaches beyond their end,
    // which a window does not. So the last byte is given alone, to see which match that is.
    bool giveRoom() {
        if (mRoom == 0) {
            const bool wasCut = mCutsMatch;
            mCutsMatch = false;
            mInflate.state = wasCut ? uint16_t{kLitlenSymbol} : mInflate.state;
            return wasCut;
        }
        mCutsMatch = mRoom == 1 && mInflate.state == kMatchCopy && mInflate.length > 1;
        const uint64_t count = mRoom == 1 ? 1 : std::min<uint64_t>(mOutput.size(), mRoom - 1);
        mInflate.out = mOutput.data();
        mInflate.outAvailable = static_cast<uint32_t>(count);
        mRoom -= count;
        return true;
    }

    bool isAtFixedBlock(int32_t result) const {
        return result == kInflateInvalid && mInflate.state == kLitlenSymbol &&
               mInflate.litlenTable->maxBits == 0;
    }

    // States from the first symbol on are inside of a block; a dynamic one brings codes of its own.
    bool isInFixedBlock() const {
        return mInflate.litlenTable == &mCodes.litlen && mInflate.state >= kLitlenSymbol;
    }

    // Bits of the image data that have been used.
    uint64_t bitPosition() const {
        return uint64_t{mNext - mInput.available} * 8 - mInput.bitCount;
    }

    // Walks the block whose header has just been read. @return the bytes that it lies in
    std::string walkFixedBlock(int32_t& result) {
        const uint64_t first = (bitPosition() - kBlockHeaderBits) / 8;
        mInflate.litlenTable = &mCodes.litlen;
        mInflate.distTable = &mCodes.dist;
        mNext -= mInput.available;
        mInput.available = 0;
        result = advance(1);
        const uint64_t last = mNext - 1;
        if (!isInFixedBlock() && result == kInflateNeedsInput) {
            result = advance(kPieceBytes);
        }
        return "bytes " + std::to_string(first) + " to " + std::to_string(last) +
               " of the image data";
    }

    std::optional<std::string> describe(int32_t result) const {
        switch (result) {
        case kInflateDone:
            return std::nullopt;
        case kInflateNeedsInput:
            return "the image data end before their last DEFLATE block does";
        case kInflateNeedsOutput:
            return "the image data hold more lines than the header declares";
        default:
            return "the image data are broken at byte " + std::to_string(bitPosition() / 8) + ": " +
                   invalidity();
        }
    }

    const char* invalidity() const {
        switch (mInflate.state) {
        case kBlockHeader:
            return "a block of a type that does not exist";
        case kStoredComplement:
            return "a stored block whose length does not match its complement";
        case kDistanceExtra:
            return "a match that reaches back behind the first byte";
        case kLitlenSymbol:
        case kDistanceSymbol:
            return "bits that are no code";
        default:
            return "a block whose codes make no sense";
        }
    }

    ByteView mData;
    size_t mNext;   // the byte behind the current piece
    uint64_t mRoom; // bytes of lines that have not been given as output yet
    bool mCutsMatch = false;
    Bytes mWindow, mOutput;
    FixedCodes mCodes;
    inflate_t mInflate = {};
    bitstream_t mInput = {};
};

} // namespace

std::optional<std::string> whyDeflateRefused(ByteView imageData, uint32_t lineBytes) {
    return DeflateWalk(imageData, lineBytes).findRefusal();
}
