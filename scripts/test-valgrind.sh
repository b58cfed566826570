#!/usr/bin/env bash
# Runs the suite under valgrind, which sees uninitialised bytes that the sanitizers do not. Slow: each
# test runs many times longer than by itself, so that the damaged images are few. No debugger may attach
# (--vgdb): the runs as nobody could not make its pipes.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

install_missing g++ cmake make valgrind libgtest-dev zlib1g-dev libpng-dev

configure release -DPNGSLAB_TESTS=ON -DPNGSLAB_WARNINGS_AS_ERRORS=ON
build release
for program in src_tests inflate_tests inflate_fixed_codes_tests png_tests tools_tests; do
    echo "$program"
    # Death tests end by a signal on purpose, and limits of memory leave valgrind none.
    PNGSLAB_TEST_INPUTS=20 quietly valgrind --quiet --trace-children=yes --vgdb=no --error-exitcode=99 \
        --suppressions="$tree/tests/support/valgrind.supp" \
        "$tree/build/release/bin/$program" --gtest_brief=1 \
        --gtest_filter='-*DeathTest*:*WithoutMemory*:*LittleMemory*'
done
