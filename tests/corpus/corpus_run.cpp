// The loop over a folder, and the table of verdicts.
#include "tests/corpus/corpus_run.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>

byte_vector read_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int run_on_corpus(const std::filesystem::path& folder, const corpus_judge& judge) {
    std::map<std::string, int> counts;
    bool failed = false;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file() || entry.is_symlink() || entry.path().extension() != ".png") {
            continue;
        }
        const corpus_verdict_t verdict = judge(entry.path());
        ++counts[verdict.words];
        if (verdict.is_failure) {
            failed = true;
            std::printf("%s: %s\n", entry.path().c_str(), verdict.words.c_str());
        }
    }
    for (const auto& [words, count] : counts) {
        std::printf("%6d  %s\n", count, words.c_str());
    }
    return failed ? 1 : 0;
}
