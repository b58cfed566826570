// The main program of the tests: GoogleTest, and options that choose an implementation.
//
//     --backend=NAME    scalar, sse2, avx2 or neon; without it the best that the machine supports
//     --states-only     inflate without the fast loop
#include "inflate/src/internal/inflate_steps.h"
#include "src/simd/backend.h"
#include "tests/support/inflate_entry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

int main(int argc, char** argv) {
    constexpr int kUsageError = 2;
    constexpr int kSkipped = 77; // SKIP_RETURN_CODE of ctest
    constexpr std::string_view kBackends[] = {"scalar", "sse2", "avx2", "neon"};
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        constexpr std::string_view kOption = "--backend=";
        if (word == "--states-only") {
            inflate_entry = inflate_detail::process_states_only;
            continue;
        }
        if (!word.starts_with(kOption)) {
            std::fprintf(stderr, "unknown option '%s'\n", argv[i]);
            return kUsageError;
        }
        const std::string_view name = word.substr(kOption.size());
        if (std::find(std::begin(kBackends), std::end(kBackends), name) == std::end(kBackends)) {
            std::fprintf(stderr, "unknown backend '%s'\n", argv[i] + kOption.size());
            return kUsageError;
        }
        if (!ds_detail::selectBackend(name)) {
            std::printf("Skipped: no backend '%s' here\n", argv[i] + kOption.size());
            return kSkipped;
        }
    }
    const ds_detail::Backend& backend = ds_detail::backends()[ds_detail::activeBackend()];
    const testing::ScopedTrace trace(__FILE__, __LINE__,
                                     testing::Message()
                                         << "run on backend " << backend.name
                                         << (inflate_entry == inflate_process
                                                 ? ""
                                                 : ", inflate without the fast loop"));
    return RUN_ALL_TESTS();
}
