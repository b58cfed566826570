// The comparison of one stream.
#include "tests/worlds/inflate_check.h"

#include "inflate/src/streams.h"
#include "tests/support/deflate_oracle.h"

#include <array>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>

namespace {

using output_t = std::array<uint8_t, kInflateRoom>;

struct outcome_t {
    int32_t result;
    size_t written, bits_used;
};

outcome_t run(inflate_entry_t decoder, std::span<const uint8_t> raw, output_t& output) {
    inflate_t state{};
    inflate_process(&state, nullptr);
    state.out = output.data();
    state.outAvailable = kInflateRoom;
    bitstream_t reader{raw.data(), static_cast<uint32_t>(raw.size()), 0, 0};
    const int32_t result = decoder(&state, &reader);
    return {result, state.totalOut, raw.size() * 8 - bitstream_remaining(&reader)};
}

std::string hex(std::span<const uint8_t> bytes) {
    std::ostringstream text;
    for (const uint8_t byte : bytes) {
        text << std::hex << std::setw(2) << std::setfill('0') << +byte;
    }
    return text.str();
}

std::string words(const outcome_t& outcome, const output_t& output) {
    return "result " + std::to_string(outcome.result) + " after " +
           std::to_string(outcome.bits_used) + " bits, output '" +
           hex(std::span(output).first(outcome.written)) + "'";
}

} // namespace

testing::AssertionResult inflates_as_reference(std::span<const uint8_t> raw) {
    output_t expected_output;
    const reference_result_t reference = reference_inflate(raw, expected_output);
    const outcome_t expected{reference.result, reference.written, reference.bits_used};
    for (const auto& [name, decoder] : kInflateDecoders) {
        output_t output;
        const outcome_t got = run(decoder, raw, output);
        if (got.result != expected.result || got.written != expected.written ||
            got.bits_used != expected.bits_used ||
            std::memcmp(output.data(), expected_output.data(), got.written) != 0) {
            return testing::AssertionFailure()
                   << name << ", stream " << hex(raw) << ": expected "
                   << words(expected, expected_output) << ", got " << words(got, output);
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult reference_agrees_with_zlib(std::span<const uint8_t> raw) {
    byte_vector output(size_t{1} << 16);
    const reference_result_t reference = reference_inflate(raw, output);
    const oracle_result_t zlib = oracle_inflate({raw.begin(), raw.end()});
    if (reference.has_fixed_block || reference.has_incomplete_code_length_code) {
        return testing::AssertionSuccess();
    }
    const bool is_invalid = reference.result == kInflateInvalid;
    const bool may_be_invalid = is_invalid || reference.result == kInflateNeedsInput;
    output.resize(reference.written);
    const bool agree = (reference.result == kInflateDone) == zlib.complete &&
                       (zlib.invalid ? may_be_invalid : !is_invalid) &&
                       (!zlib.complete || output == zlib.content);
    return agree ? testing::AssertionSuccess()
                 : testing::AssertionFailure()
                       << "stream " << hex(raw) << ": reference " << reference.result << ", zlib '"
                       << zlib.message << "', " << zlib.content.size() << " bytes";
}
