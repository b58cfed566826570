// The reasons for which the decoder rejects a stream. Each check of the state machine has its own.
#pragma once

#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

/// One value for each check of the decoder.
enum class fault_t : uint8_t {
    none,
    state,                 ///< the record holds a state that does not exist
    block_type,            ///< block type 3
    stored_complement,     ///< a stored block's length does not match its complement
    fixed_code_block,      ///< block type 1, whose codes are not built
    code_counts,           ///< more than 286 literal/length or 30 distance codes
    code_length_code,      ///< the code-length code is over-subscribed
    code_length_symbol,    ///< bits that are no code of the code-length code
    code_length_kind,      ///< a code length symbol above 18
    repeat_of_nothing,     ///< a repeat of the previous code length, before the first one
    repeat_too_long,       ///< a repeat of a code length beyond the last one
    end_of_block_missing,  ///< a block without an end-of-block code
    litlen_code,           ///< the literal/length code is over-subscribed or incomplete
    distance_code,         ///< the distance code is over-subscribed or incomplete
    litlen_symbol,         ///< bits that are no literal/length code
    length_symbol,         ///< a symbol of the fixed code that has no length
    distance_symbol,       ///< bits that are no distance code
    distance_without_base, ///< a distance symbol above 29
    distance_too_far,      ///< a match from before the first byte of output, or before the window
    count
};

/// inflate_process(), except that a null stream is not allowed. `*fault` receives the reason for
/// kInflateInvalid and fault_t::none for every other result.
int32_t process(inflate_t* inflate, bitstream_t* stream, fault_t* fault);

} // namespace inflate_detail
