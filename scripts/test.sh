#!/usr/bin/env bash
# Runs every test on a machine that may have nothing yet: installs what is missing, checks the
# formatting, builds and runs the whole suite, optimised and under the sanitizers, and gives every fuzzer
# its corpus and a few seconds.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

install_missing g++ cmake make clang-format-14 libgtest-dev zlib1g-dev libpng-dev libcli11-dev
# For the tests in Python: packages, completions, recipes.
install_missing python3 pkg-config dpkg-dev file zsh fish ninja-build parallel openssh-client rsync
install_sshd

echo "Formatting"
(cd "$tree" && find src inflate png tools tests fuzz examples bench -name '*.cpp' -o -name '*.h' -o -name '*.c' |
    xargs clang-format-14 --dry-run --Werror)

for preset in release asan; do
    echo "Building $preset"
    configure "$preset" -DPNGSLAB_TESTS=ON -DPNGSLAB_TOOL=ON -DPNGSLAB_WARNINGS_AS_ERRORS=ON
    build "$preset"
    (cd "$tree" && ctest --preset "$preset" --parallel "$(nproc)" --progress)
done

"$tree/scripts/fuzz.sh" 5
