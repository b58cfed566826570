#!/usr/bin/env bash
# Runs every test. Works on a new machine: installs what is missing, checks the formatting, builds and runs the whole
# suite, optimized and under the sanitizers, and runs every fuzzer on its corpus and for a few seconds. Takes no
# arguments.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make clang-format "${test_packages[@]}"
# For the tests in Python: packages, completions, recipes, the schema of manifests.
install_missing python3 python3-distributed python3-jsonschema dpkg-dev file zsh fish ninja-build parallel openssh-client rsync groff-base bubblewrap
install_sshd

# Other versions of clang-format break lines differently.
if clang-format --version | grep -q ' version 14\.'; then
    echo "Checking the formatting"
    (cd "$tree" && find include src inflate png tools web/module tests fuzz examples bench -name '*.cpp' -o -name '*.h' -o -name '*.c' |
        xargs clang-format --dry-run --Werror)
else
    echo "Leaving out the check of the formatting, which needs clang-format 14"
fi

for preset in dev asan; do
    configure "$preset"
    build "$preset"
    echo "Testing $preset (one or two minutes)"
    (cd "$tree" && run_tests --preset "$preset")
done

"$tree/scripts/fuzz.sh" 5
