// One DEFLATE stream in the decoder under test, with the fast functions and without, against the reference decoder.
#pragma once

#include "tests/support/deflate_reference.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>

/// The space for output. It is short, so that some matches do not fit.
inline constexpr size_t kInflateRoom = 400;

/// The name, the stream in hex and both results, if a decoder has another verdict or output than the reference, or stops
/// at another bit.
testing::AssertionResult inflates_as_reference(std::span<const uint8_t> raw);

/// Whether the reference agrees with zlib, apart from the differences that the reference names. zlib may reject bits
/// that are no code before it has 15 of them.
testing::AssertionResult reference_agrees_with_zlib(std::span<const uint8_t> raw);
