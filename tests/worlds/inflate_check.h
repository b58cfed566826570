// One DEFLATE stream in the decoder under test, with the fast functions and without, against the reference decoder.
#pragma once

#include "inflate/src/internal/inflate_steps.h"
#include "tests/support/deflate_reference.h"
#include "tests/support/inflate_entry.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>

/// The decoders under test.
inline constexpr struct {
    const char* name;
    inflate_entry_t decoder;
} kInflateDecoders[] = {{"inflate_process", inflate_process},
                        {"the state machine alone", inflate_detail::process_states_only}};

/// The space for output. It is short, so that some matches do not fit.
inline constexpr size_t kInflateRoom = 400;

/// The name, the stream in hex and both results, if a decoder has another verdict or output than the reference, or stops
/// at another bit.
testing::AssertionResult inflates_as_reference(std::span<const uint8_t> raw);

/// Whether the reference agrees with zlib, apart from the differences that the reference names. zlib may reject bits
/// that are no code before it has 15 of them.
testing::AssertionResult reference_agrees_with_zlib(std::span<const uint8_t> raw);
