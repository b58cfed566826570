#!/usr/bin/env bash
# Runs the suite under valgrind, which sees uninitialized bytes that the sanitizers do not. Slow: each
# test runs many times longer than by itself, so that the damaged images are few. No debugger may attach
# (--vgdb): the runs as nobody could not make its pipes.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make valgrind python3 libgtest-dev zlib1g-dev libpng-dev libcli11-dev nlohmann-json3-dev libxxhash-dev

folder="$tree/build/valgrind"
# Linked statically, a program keeps its allocations to itself.
quietly cmake -S "$tree" -B "$folder" -DCMAKE_BUILD_TYPE=Release -DPNGSLAB_TESTS=ON \
    -DPNGSLAB_TOOL=ON -DPNGSLAB_STATIC=OFF
quietly cmake --build "$folder" --parallel "$(nproc)"
for program in src_tests inflate_tests inflate_fixed_codes_tests png_tests tools_tests slabtool_tests; do
    echo "$program"
    # Death tests end by a signal on purpose, limits of memory leave valgrind none, and where an
    # allocation fails it has words and an end of its own.
    PNGSLAB_TEST_INPUTS=20 quietly valgrind --quiet --trace-children=yes --vgdb=no --error-exitcode=99 \
        --suppressions="$tree/tests/support/valgrind.supp" \
        "$folder/bin/$program" --gtest_brief=1 \
        --gtest_filter='-*DeathTest*:*WithoutMemory*:*LittleMemory*:*HasNoSize*:*NeverConvertAFolder*:*Faults.OfMemory*:*LargeFiles*:ConvertEquality*'
done
