// Runs of the PNG decoder under test. Every file is in heap memory of exactly its size, so that a
// sanitizer detects every access outside. Each run also checks that the fault and the result of the
// decoder agree.
#pragma once

#include "png/internal/png_decoder.h"
#include "png/png_decode.h"
#include "src/ds_surface.h"
#include "tests/support/test_bytes.h"

#include <memory>
#include <ostream>

/// The bytes of an information record before a run.
inline constexpr uint8_t kStaleByte = 0xEE;

struct header_outcome_t {
    int32_t result;
    png_info_t info;
};

header_outcome_t header_pass(const byte_vector& file);

int32_t full_pass(const byte_vector& file, DsSurface& surface);

/// The full pass, with the information record.
header_outcome_t full_pass_with_info(const byte_vector& file, DsSurface& surface);

/// The fault record of a header pass, or with a surface of a full pass.
png_detail::fault_record_t record_of(const byte_vector& file, DsSurface* surface = nullptr);

/// Header pass, a fenced surface that fits, full pass.
struct decode_outcome_t {
    int32_t header_result;
    int32_t result; ///< of the full pass, or of the header pass if that failed
    png_info_t info;
    std::unique_ptr<DsSurface> surface; ///< null if the header pass failed
};

decode_outcome_t decode_png(const byte_vector& file);

/// Results of the header pass, and of the full pass into a surface that fits any small image.
struct both_results_t {
    int32_t header, full;
    bool operator==(const both_results_t&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const both_results_t& results);

both_results_t both_passes(const byte_vector& file);

/// surface_from_png.
std::unique_ptr<DsSurface> convert_png(const byte_vector& file, bool alpha_only = false,
                                       int32_t rotation = 0);
