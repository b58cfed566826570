// The state machine in window mode, kept to what direct mode would do.
//
// Direct mode has the room for all output at once and cuts the match that reaches beyond it; whatever wants
// to write after that is rejected. Window mode would resume the match in the next buffer. So the last byte of
// the room is given alone: a match that still has more than this byte to copy at that point is the one that
// direct mode cuts.
#include "inflate/src/internal/inflate_rehearsal.h"

#include "inflate/src/internal/deflate_tables.h"

#include <algorithm>

namespace inflate_detail {
namespace {

constexpr uint32_t kBlockHeaderBits = 3;

// Bits of the stream that have been taken.
uint64_t bits_taken(const rehearsal_t& rehearsal) {
    return (rehearsal.bytesGiven - rehearsal.input.available) * 8 - rehearsal.input.bitCount;
}

// False if direct mode would reject what comes next.
bool give_room(rehearsal_t* rehearsal) {
    inflate_t& inflate = rehearsal->inflate;
    if (rehearsal->room == 0) {
        if (!rehearsal->cutsMatch) {
            return false;
        }
        rehearsal->cutsMatch = false;
        inflate.state = kLitlenSymbol; // the rest of the match is dropped
        return true;
    }
    const bool isLast = rehearsal->room == 1;
    rehearsal->cutsMatch = isLast && inflate.state == kMatchCopy && inflate.length > 1;
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

// Notes the block whose header has just been read, and lends the record the codes for it.
void enter_fixed_block(rehearsal_t* rehearsal) {
    if (rehearsal->fixedBlocks++ == 0) {
        rehearsal->firstFixedBlock.firstByte = (bits_taken(*rehearsal) - kBlockHeaderBits) / 8;
    }
    rehearsal->inflate.litlenTable = &rehearsal->fixedLitlen;
    rehearsal->inflate.distTable = &rehearsal->fixedDist;
}

// Called where the machine stands inside the block, and once at its end.
void note_last_byte(rehearsal_t* rehearsal, int32_t outcome) {
    if (rehearsal->fixedBlocks == 1) {
        // Where the input ends, the bits of an unfinished code are still in the reader.
        const bool isAtEndOfInput = outcome == kInflateNeedsInput;
        rehearsal->firstFixedBlock.lastByte =
            isAtEndOfInput ? rehearsal->bytesGiven - 1 : (bits_taken(*rehearsal) - 1) / 8;
    }
}

// Runs until the piece is used up or the stream is rejected.
int32_t run(rehearsal_t* rehearsal) {
    inflate_t& inflate = rehearsal->inflate;
    for (;;) {
        const int32_t outcome = step(&inflate, &rehearsal->input);
        if (is_in_fixed_block(*rehearsal) && (outcome != kGoOn || inflate.state == kBlockHeader)) {
            note_last_byte(rehearsal, outcome);
            if (inflate.state == kBlockHeader) {
                inflate.litlenTable = nullptr; // the next block brings its own
            }
        }
        if (fault_of(outcome) == fault_t::fixed_code_block) {
            enter_fixed_block(rehearsal);
        } else if (outcome != kGoOn && (outcome != kInflateNeedsOutput || !give_room(rehearsal))) {
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

int32_t rehearsal_take(rehearsal_t* rehearsal, const uint8_t* data, uint32_t size) {
    rehearsal->input.data = data;
    rehearsal->input.available = size;
    rehearsal->bytesGiven += size;
    const int32_t outcome = run(rehearsal);
    rehearsal->fault = fault_of(outcome);
    return result_of(outcome);
}

uint64_t rehearsal_position(const rehearsal_t& rehearsal) {
    return bits_taken(rehearsal) / 8;
}

} // namespace inflate_detail
