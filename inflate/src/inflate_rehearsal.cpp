// Runs the state machine in window mode and reproduces the verdict of direct mode.
//
// Direct mode has the space for all output at once. It truncates a match that extends beyond the end and rejects the
// stream if it writes more after that. Window mode would continue the match in the next buffer. So the last byte of
// output space is given separately. If a match needs more than this byte, direct mode truncates it.
#include "inflate/src/internal/inflate_rehearsal.h"

#include "inflate/src/internal/deflate_tables.h"

#include <algorithm>

namespace inflate_detail {
namespace {

constexpr uint32_t kBlockHeaderBits = 3;

// The number of bits read from the stream.
uint64_t bits_read(const rehearsal_t& rehearsal) {
    return (rehearsal.bytesGiven - rehearsal.input.available) * 8 - rehearsal.input.bitCount;
}

// Gives the record more output space. False if direct mode would reject the stream here.
bool give_room(rehearsal_t* rehearsal) {
    inflate_t& inflate = rehearsal->inflate;
    if (rehearsal->room == 0) {
        if (!rehearsal->truncatesMatch) {
            return false;
        }
        rehearsal->truncatesMatch = false;
        inflate.state = kLitlenSymbol; // the rest of the match is dropped
        return true;
    }
    const bool isLast = rehearsal->room == 1;
    rehearsal->truncatesMatch = isLast && inflate.state == kMatchCopy && inflate.length > 1;
    const uint64_t count =
        isLast ? 1 : std::min<uint64_t>(sizeof rehearsal->output, rehearsal->room - 1);
    inflate.out = rehearsal->output;
    inflate.outAvailable = static_cast<uint32_t>(count);
    rehearsal->room -= count;
    return true;
}

bool is_in_fixed_block(const rehearsal_t& rehearsal) {
    return rehearsal.inflate.litlenTable == &rehearsal.fixedLitlen;
}

// Records the block whose header has just been read, and gives the decoder the codes for it.
void enter_fixed_block(rehearsal_t* rehearsal) {
    if (rehearsal->fixedBlocks++ == 0) {
        rehearsal->firstFixedBlock.firstByte = (bits_read(*rehearsal) - kBlockHeaderBits) / 8;
    }
    rehearsal->inflate.litlenTable = &rehearsal->fixedLitlen;
    rehearsal->inflate.distTable = &rehearsal->fixedDist;
}

// Called when the machine stops inside the block, and at its end.
void set_last_byte(rehearsal_t* rehearsal, int32_t outcome) {
    if (rehearsal->fixedBlocks == 1) {
        // At the end of the input, the bits of an unfinished code are still in the reader.
        const bool isAtEndOfInput = outcome == kInflateNeedsInput;
        rehearsal->firstFixedBlock.lastByte =
            isAtEndOfInput ? rehearsal->bytesGiven - 1 : (bits_read(*rehearsal) - 1) / 8;
    }
}

// Runs until the piece is used up or the stream is rejected.
int32_t run(rehearsal_t* rehearsal) {
    inflate_t& inflate = rehearsal->inflate;
    for (;;) {
        const int32_t outcome = step(&inflate, &rehearsal->input);
        if (is_in_fixed_block(*rehearsal) &&
            (outcome != kContinue || inflate.state == kBlockHeader)) {
            set_last_byte(rehearsal, outcome);
            if (inflate.state == kBlockHeader) {
                inflate.litlenTable = nullptr; // the next block sets its own
            }
        }
        if (fault_of(outcome) == fault_t::fixed_code_block) {
            enter_fixed_block(rehearsal);
        } else if (outcome != kContinue &&
                   (outcome != kInflateNeedsOutput || !give_room(rehearsal))) {
            return outcome;
        }
    }
}

} // namespace

void rehearsal_begin(rehearsal_t* rehearsal, uint64_t room) {
    *rehearsal = {};
    huffman_attach(&rehearsal->fixedLitlen, rehearsal->fixedLitlenCounts,
                   rehearsal->fixedLitlenSymbols);
    huffman_attach(&rehearsal->fixedDist, rehearsal->fixedDistCounts, rehearsal->fixedDistSymbols);
    build_fixed_codes(&rehearsal->fixedLitlen, &rehearsal->fixedDist);
    rehearsal->inflate.window = rehearsal->window;
    rehearsal->inflate.windowSize = sizeof rehearsal->window;
    inflate_process(&rehearsal->inflate, nullptr);
    rehearsal->room = room;
    give_room(rehearsal);
}

int32_t rehearsal_feed(rehearsal_t* rehearsal, const uint8_t* data, uint32_t size) {
    rehearsal->input.data = data;
    rehearsal->input.available = size;
    rehearsal->bytesGiven += size;
    const int32_t outcome = run(rehearsal);
    rehearsal->fault = fault_of(outcome);
    return result_of(outcome);
}

uint64_t rehearsal_position(const rehearsal_t& rehearsal) {
    return bits_read(rehearsal) / 8;
}

} // namespace inflate_detail
