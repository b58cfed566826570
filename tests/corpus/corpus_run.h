// Helpers for programs that are run by hand on a folder of images: find the images, and count the
// verdicts.
#pragma once

#include "tests/support/test_bytes.h"

#include <filesystem>
#include <functional>
#include <string>

byte_vector read_file(const std::filesystem::path& path);

/// The verdict on one image. If `is_failure`, its path is printed.
struct corpus_verdict_t {
    std::string words;
    bool is_failure;
};

using corpus_judge = std::function<corpus_verdict_t(const std::filesystem::path& path)>;

/// Calls `judge` for every PNG file below a folder and prints the number of each verdict.
/// @return the exit status: 1 if one was a failure
int run_on_corpus(const std::filesystem::path& folder, const corpus_judge& judge);
