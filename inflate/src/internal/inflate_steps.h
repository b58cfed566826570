// The state machine step by step, for callers inside this library that act between the steps.
#pragma once

#include "inflate/src/internal/inflate_fault.h"
#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

/// Result of a step after which the machine continues with the new state.
inline constexpr int32_t kContinue = -1;

/// A step that rejects the stream returns this plus its fault. The sum is above every result of
/// inflate_process(), so one comparison per call finds out whether there is a fault.
inline constexpr int32_t kRejected = 16;
static_assert(kRejected > kInflateInvalid);

/// Result of a step that rejects the stream for this reason.
constexpr int32_t reject(fault_t fault) {
    return kRejected + static_cast<int32_t>(fault);
}

/// The fault in the result of a step.
constexpr fault_t fault_of(int32_t outcome) {
    return outcome > kRejected ? static_cast<fault_t>(outcome - kRejected) : fault_t::none;
}

/// The result of inflate_process() for the result of the last step.
constexpr int32_t result_of(int32_t outcome) {
    return outcome > kRejected ? kInflateInvalid : outcome;
}

/// Runs one step. @return kContinue, a result of inflate_process(), or a rejection
int32_t step(inflate_t* inflate, bitstream_t* stream);

/// inflate_process() without the fast loop, for tests that compare both. A null stream is not allowed.
int32_t process_states_only(inflate_t* inflate, bitstream_t* stream);

/// Builds the two codes of fixed-code blocks into storage of 288 and 32 symbols.
void build_fixed_codes(huffman_t* litlen, huffman_t* dist);

inline constexpr uint32_t kFixedLitlenSymbols = 288;
inline constexpr uint32_t kFixedDistSymbols = 32;

} // namespace inflate_detail
