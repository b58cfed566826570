// The converter on one backend. The first argument is --backend=NAME, the others are those of pngslab.
#include "src/simd/backend.h"

#include <cstdio>
#include <string_view>

int converterMain(int argc, char** argv); // main() of pngslab, renamed by the build

int main(int argc, char** argv) {
    constexpr int kUsageError = 2;
    constexpr int kSkipped = 77; // SKIP_RETURN_CODE of ctest
    constexpr std::string_view kOption = "--backend=";
    const std::string_view word = argc > 1 ? argv[1] : "";
    if (!word.starts_with(kOption)) {
        std::fprintf(stderr, "the first argument is not --backend=NAME\n");
        return kUsageError;
    }
    if (!ds_detail::selectBackend(word.substr(kOption.size()))) {
        std::printf("Skipped: no backend '%s' here\n", argv[1] + kOption.size());
        return kSkipped;
    }
    argv[1] = argv[0];
    return converterMain(argc - 1, argv + 1);
}
