// The state machine step by step, for callers inside this module that act between the steps.
#pragma once

#include "inflate/src/internal/inflate_fault.h"
#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

/// What a step returns when the machine continues with the state that the step has set.
inline constexpr int32_t kGoOn = -1;

/// A step that rejects the stream returns this plus its fault. The sum lies above every result of
/// inflate_process(), so one comparison per call tells whether there is a fault.
inline constexpr int32_t kRejected = 16;
static_assert(kRejected > kInflateInvalid);

/// What the step returns that rejects the stream for this reason.
constexpr int32_t reject(fault_t fault) {
    return kRejected + static_cast<int32_t>(fault);
}

/// The fault in what a step returned.
constexpr fault_t fault_of(int32_t outcome) {
    return outcome > kRejected ? static_cast<fault_t>(outcome - kRejected) : fault_t::none;
}

/// The result of inflate_process() for what the last step returned.
constexpr int32_t result_of(int32_t outcome) {
    return outcome > kRejected ? kInflateInvalid : outcome;
}

/// Runs one step. @return kGoOn, a result of inflate_process(), or a rejection
int32_t step(inflate_t* inflate, bitstream_t* stream);

/// inflate_process() by the state machine alone, which the fast loop is held against. A null stream is not
/// allowed.
int32_t process_states_only(inflate_t* inflate, bitstream_t* stream);

/// Builds the two codes of fixed-code blocks into storage of 288 and 32 symbols.
void build_fixed_codes(huffman_t* litlen, huffman_t* dist);

inline constexpr uint32_t kFixedLitlenSymbols = 288;
inline constexpr uint32_t kFixedDistSymbols = 32;

} // namespace inflate_detail
