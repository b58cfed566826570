#!/usr/bin/env bash
# Builds the fuzzers as public fuzzing services do, by fuzz/build.sh, and runs each on a few inputs without any variables
# of the environment. Takes several minutes.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing cmake make clang libclang-rt-dev unzip zlib1g-dev "${tool_packages[@]}"
result=$(mktemp -d)
trap 'rm -rf "$result"' EXIT

echo "Building the fuzzers (some minutes)"
quietly env CXX=clang++ CXXFLAGS="-O1 -g -fsanitize=address,undefined,fuzzer-no-link -fno-sanitize-recover=all" \
    LIB_FUZZING_ENGINE=-fsanitize=fuzzer OUT="$result" "$tree/fuzz/build.sh"

# Fails unless the fuzzer $1 works, and has its dictionary, seeds and options beside it.
check_fuzzer() {
    local file
    for file in "$1.dict" "$1_seed_corpus.zip" "$1.options"; do
        [ -s "$result/$file" ] || fail "$file is missing"
    done
    mkdir "$result/seeds"
    unzip -q -d "$result/seeds" "$result/$1_seed_corpus.zip"
    quietly env -i "$result/$1" -runs=2000 -dict="$result/$1.dict" "$result/seeds"
    rm -r "$result/seeds"
    echo "$1 works"
}

fuzzers=("$tree"/fuzz/fuzz_*.cpp)
for source in "${fuzzers[@]}"; do
    check_fuzzer "$(basename "$source" .cpp)"
done
