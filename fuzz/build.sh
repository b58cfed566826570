#!/usr/bin/env bash
# Builds the fuzzers in the way that public fuzzing services do: with their compiler, flags and engine, and with all that
# belongs to a fuzzer beside it. docs/fuzzing.md describes the result and how to try it.
#
#     CXX=clang++ CXXFLAGS="-O1 -fsanitize=address,fuzzer-no-link" LIB_FUZZING_ENGINE=-fsanitize=fuzzer \
#         OUT=/path/of/the/result fuzz/build.sh
#
# Services also set CC and CFLAGS; the fuzzers have no source in C. WORK is the build folder; build/fuzz-service without
# it. The programs need no shared library but those of the C and
# C++ languages, because the machines of a service that run them have no others.
set -euo pipefail

tree=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
if [ "${1:-}" = --help ] || [ "${1:-}" = -h ]; then
    sed -n '2,/^[^#]/ s/^# \{0,1\}//p' "$0"
    exit 0
fi
for name in CXX CXXFLAGS LIB_FUZZING_ENGINE OUT; do
    if [ -z "${!name:-}" ]; then
        echo "build.sh: the variable $name is missing; --help explains the script" >&2
        exit 1
    fi
done
work=${WORK:-$tree/build/fuzz-service}

# The full path of a static library, for example libz.a.
static_library() {
    $CXX -print-file-name="$1"
}

# Fails if the program $1 needs a shared library besides those of the languages.
check_libraries() {
    local others
    others=$(ldd "$1" | awk '{ print $1 }' | grep -vE '^(linux-vdso|lib(c|m|dl|rt|pthread|gcc_s|stdc\+\+|c\+\+|c\+\+abi))\.so|/ld-linux' || true)
    if [ -n "$others" ]; then
        echo "build.sh: $1 needs shared libraries: $others" >&2
        exit 1
    fi
}

# The service's flags only: a build type would add others.
cmake -S "$tree" -B "$work" -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$CXXFLAGS" \
    -DPNGSLAB_FUZZERS=ON -DPNGSLAB_TOOL=ON -DPNGSLAB_INSTALL=OFF -DPNGSLAB_STATIC=OFF \
    -DPNGSLAB_FUZZING_ENGINE="$LIB_FUZZING_ENGINE" \
    -DZLIB_LIBRARY="$(static_library libz.a)" -DPNG_LIBRARY_RELEASE="$(static_library libpng.a)"
cmake --build "$work" --target fuzzers --parallel "$(nproc)"

mkdir -p "$OUT"
while read -r name dictionary; do
    check_libraries "$work/bin/$name"
    cp "$work/bin/$name" "$OUT/$name"
    cp "$dictionary" "$OUT/$name.dict"
    cp "$tree/fuzz/corpus/${name}_seed_corpus.zip" "$OUT/"
    printf '[libfuzzer]\nmax_len = 65536\ntimeout = 10\n' >"$OUT/$name.options"
done <"$work/fuzzers.txt"
echo "$(wc -l <"$work/fuzzers.txt") fuzzers are in $OUT"
