// What the programs that are run by hand on a folder of images share: finding the images, and counting
// what is said of them.
#pragma once

#include "tests/support/test_bytes.h"

#include <filesystem>
#include <functional>
#include <string>

byte_vector read_file(const std::filesystem::path& path);

/// What is said of one image; `is_failure` puts its path on the screen.
struct corpus_verdict_t {
    std::string words;
    bool is_failure;
};

using corpus_judge = std::function<corpus_verdict_t(const std::filesystem::path& path)>;

/// Asks `judge` of every PNG file below a folder and prints how often each verdict came.
/// @return the exit status: 1 if one was a failure
int run_on_corpus(const std::filesystem::path& folder, const corpus_judge& judge);
