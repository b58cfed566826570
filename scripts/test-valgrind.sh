#!/usr/bin/env bash
# Runs the suite under valgrind, which detects uses of uninitialized bytes. Each test takes many times as long as usual,
# so fewer damaged images are tried. --vgdb=no: the tests that run as nobody could not create its pipes.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make valgrind python3 "${test_packages[@]}"

folder="$tree/build/valgrind"
# valgrind does not see the allocations of a static program.
quietly cmake -S "$tree" -B "$folder" -DCMAKE_BUILD_TYPE=Release -DPNGSLAB_TESTS=ON \
    -DPNGSLAB_TOOL=ON -DPNGSLAB_STATIC=OFF
quietly cmake --build "$folder" --parallel "$(nproc)"
for program in src_tests inflate_tests inflate_fixed_codes_tests png_tests tools_tests slabtool_tests; do
    echo "$program"
    # Left out: death tests end by a signal, memory limits leave no memory for valgrind, and valgrind ends a program
    # whose allocation fails with its own message.
    PNGSLAB_TEST_INPUTS=20 quietly valgrind --quiet --trace-children=yes --vgdb=no --error-exitcode=99 \
        --suppressions="$tree/tests/support/valgrind.supp" \
        "$folder/bin/$program" --gtest_brief=1 \
        --gtest_filter='-*DeathTest*:*WithoutMemory*:*LittleMemory*:*HasNoSize*:*NeverConvertAFolder*:*LargeFiles*:ConvertEquality*'
done
